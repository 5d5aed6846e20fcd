// Reads a VqDictionary from arbitrary bytes; whatever reads must store and read back
// to the same entries, checksum and bytes.
#include "ObjectFuzzSupport.h"

using namespace zev;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > (1u << 20)) return 0;
  VqDictionary d;
  if (!zevfuzz::ReadAll(d, data, size)) return 0;
  zevfuzz::CheckFixedPoint(d, zevfuzz::SameEntries);
  return 0;
}
