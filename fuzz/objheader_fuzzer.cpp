// Object headers read from any bytes; copies, project queries and the stored form.
#include "ObjectFuzzSupport.h"
#include "zevutil/CObjHeader.h"

using namespace zev;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CObjHeader header;
  const bool ok = zevfuzz::ReadAll(header, data, size);
  if (!header.ObjInfo) __builtin_trap();  // a read always leaves an info block
  CString created, modified;
  header.GetProjects(created, modified);
  CObjHeader copy(header);
  copy.SetBarcode(created);
  copy.SetSubjectID(modified);
  if (ok) zevfuzz::CheckFixedPoint(header);
  zevfuzz::CheckFixedPoint(copy);
  return 0;
}
