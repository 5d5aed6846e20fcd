// Reads a VqSamplePropertySet (name, then dictionary) from arbitrary bytes; whatever
// reads must store and read back to the same name, entries, checksum and bytes.
#include "ObjectFuzzSupport.h"

using namespace zev;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > (1u << 20)) return 0;
  VqSamplePropertySet d;
  if (!zevfuzz::ReadAll(d, data, size)) return 0;
  zevfuzz::CheckFixedPoint(d, [](const VqSamplePropertySet& a, const VqSamplePropertySet& b) {
    return zevfuzz::SameEntries(a, b) && a.GetName() == b.GetName();
  });
  return 0;
}
