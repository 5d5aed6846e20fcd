// Notification formats read from any bytes (both versions); a clean read saves in the
// current form, which loads back and saves to the same bytes.
#include "ObjectFuzzSupport.h"
#include "zevutil/COutputDef.h"

using namespace zev;

namespace {
bool LoadAll(CNotifyFormat& fmt, const std::uint8_t* data, std::size_t size) {
  CMemArchive ar(CArchive::load);
  if (size > 0) ar.SetData(data, ULONG(size));
  bool ok = true;
  try {
    fmt.Load(ar);
  } catch (CException* e) {
    e->Delete();
    ok = false;
  }
  VqErr.Flush();
  return ok;
}

CByteArray Saved(CNotifyFormat& fmt) {
  CMemArchive out(CArchive::store);
  fmt.Save(out);
  CByteArray bytes;
  out.GetData(bytes);
  return bytes;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CNotifyFormat fmt;
  if (!LoadAll(fmt, data, size)) return 0;
  const CByteArray first = Saved(fmt);
  CNotifyFormat again;
  zevfuzz::Check(LoadAll(again, first.GetData(), size_t(first.GetSize())));
  const CByteArray second = Saved(again);
  zevfuzz::Check(first.GetSize() == second.GetSize() &&
                 std::memcmp(first.GetData(), second.GetData(), size_t(first.GetSize())) == 0);
  return 0;
}
