// A font read from any bytes; a clean read must store and read back unchanged.
#include "ObjectFuzzSupport.h"
#include "zevutil/COutputDef.h"

using namespace zev;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FontDef record;
  if (zevfuzz::ReadAll(record, data, size)) zevfuzz::CheckFixedPoint(record);
  return 0;
}
