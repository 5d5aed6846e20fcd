// A match array read from any bytes, then used as a sequence uses it: sorted both ways,
// inserted into, copied, stored and read back.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "zevutil/CMemArchive.h"
#include "zevutil/ContaminantMatch.h"

using namespace zev;

namespace {
CByteArray Store(ContaminantMatchArray& a) {
  CMemArchive out(CArchive::store);
  a.Serialize(out);
  CByteArray bytes;
  out.GetData(bytes);
  return bytes;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CMemArchive ar(CArchive::load);
  if (size > 0) ar.SetData(data, ULONG(size));
  ContaminantMatchArray array(2);
  try {
    array.Serialize(ar);
  } catch (CException* e) {
    e->Delete();
    return 0;
  }
  array.SortByBegin();
  array.SortForApply();
  ContaminantMatchArray copy(0);
  copy.Copy(array);
  CByteArray first = Store(copy);
  CMemArchive in(CArchive::load);
  in.SetData(first.GetData(), ULONG(first.GetSize()));
  ContaminantMatchArray again(5);
  again.Serialize(in);
  CByteArray second = Store(again);
  if (second.GetSize() != first.GetSize() || std::memcmp(first.GetData(), second.GetData(), size_t(first.GetSize())))
    __builtin_trap();
  ContaminantMatch extra;
  extra.m_dScore = array.GetSize() ? array[0]->m_dScore : 1.0;
  array.Insert(extra);
  array.Insert(ContaminantMatch());
  array.Reset(0);
  array.Insert(extra);
  if (array.GetSize() != 0) __builtin_trap();
  return 0;
}
