// Called-base records read one after another until the data runs out; every record
// read is written again and must read back to the same bytes.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "zevutil/CCalledBase.h"
#include "zevutil/CMemArchive.h"

using namespace zev;

namespace {
void CheckRoundTrip(CCalledBase& base) {
  CMemArchive out(CArchive::store);
  base.Serialize(out);
  if (out.GetDataSize() != ULONG(CCalledBase::kStoredBytes)) __builtin_trap();
  CByteArray first;
  out.GetData(first);
  CMemArchive in(CArchive::load);
  in.SetData(first.GetData(), ULONG(first.GetSize()));
  CCalledBase again;
  again.Serialize(in);
  CMemArchive out2(CArchive::store);
  again.Serialize(out2);
  CByteArray second;
  out2.GetData(second);
  if (second.GetSize() != first.GetSize() || std::memcmp(first.GetData(), second.GetData(), size_t(first.GetSize())))
    __builtin_trap();
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CMemArchive ar(CArchive::load);
  if (size > 0) ar.SetData(data, ULONG(size));
  CCalledBase base;
  try {
    for (int i = 0; i < 256; ++i) {
      base.Serialize(ar);
      base.GetMaxQualityIndex();
      CheckRoundTrip(base);
    }
  } catch (CException* e) {
    e->Delete();
  }
  return 0;
}
