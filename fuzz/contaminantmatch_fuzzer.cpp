// Contaminant match records read one after another; each one read is shifted about and
// stored again, and the stored form must read back to the same bytes.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "zevutil/CMemArchive.h"
#include "zevutil/ContaminantMatch.h"

using namespace zev;

namespace {
CByteArray Store(ContaminantMatch& m) {
  CMemArchive out(CArchive::store);
  m.Serialize(out);
  CByteArray bytes;
  out.GetData(bytes);
  return bytes;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CMemArchive ar(CArchive::load);
  if (size > 0) ar.SetData(data, ULONG(size));
  try {
    for (int i = 0; i < 64; ++i) {
      ContaminantMatch m;
      m.Serialize(ar);
      CByteArray first = Store(m);
      CMemArchive in(CArchive::load);
      in.SetData(first.GetData(), ULONG(first.GetSize()));
      ContaminantMatch again;
      again.Serialize(in);
      CByteArray second = Store(again);
      if (second.GetSize() != first.GetSize() ||
          std::memcmp(first.GetData(), second.GetData(), size_t(first.GetSize())))
        __builtin_trap();
      m.Length();
      m.InSeq(m.m_lSeqEnd);
      m.Shift(m.m_lSeqBegin);
      m.Shift(LONG(0u - DWORD(m.m_lSeqEnd)));  // wraps like the stored 32-bit value
    }
  } catch (CException* e) {
    e->Delete();
  }
  return 0;
}
