// Object info blocks (both versions) read from any bytes, then edited and stored.
#include "ObjectFuzzSupport.h"
#include "zevutil/CObjHeader.h"

using namespace zev;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CObjInfo info;
  const bool ok = zevfuzz::ReadAll(info, data, size);
  if (ok) zevfuzz::CheckFixedPoint(info);
  CObjInfo edited(info);
  const CTime when(0);
  edited.SetEditValues(info.Created.Project, nullptr, &when);
  zevfuzz::CheckFixedPoint(edited);
  return 0;
}
