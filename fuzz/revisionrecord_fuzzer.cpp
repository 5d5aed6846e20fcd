// Revision records read from any bytes; a clean read must store and read back unchanged.
#include "ObjectFuzzSupport.h"
#include "zevutil/CObjHeader.h"

using namespace zev;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CRevisionRecord rec;
  const bool ok = zevfuzz::ReadAll(rec, data, size);
  // Whatever was read, the texts stay inside their fields.
  if (strnlen(rec.Project, sizeof rec.Project) == sizeof rec.Project) __builtin_trap();
  if (strnlen(rec.System, sizeof rec.System) == sizeof rec.System) __builtin_trap();
  CRevisionRecord copy(rec);
  copy.SetNames(rec.System, rec.Project);
  if (ok) zevfuzz::CheckFixedPoint(rec);
  return 0;
}
