// CString forms read through CSAR_extract targets of a size chosen by the first byte,
// until the data runs out.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "zevutil/CMemArchive.h"
#include "zevutil/VqeReportStream.h"

using namespace zev;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  unsigned capacity = data[0];
  CMemArchive ar(CArchive::load);
  ar.SetData(data + 1, ULONG(size - 1));
  std::vector<char> buf(capacity + 1, 'Z');  // one byte more, which must stay untouched
  for (int i = 0; i < 64; ++i) {
    try {
      CSAR_extract(buf.data(), capacity).Extract(ar);
      if (std::strlen(buf.data()) >= capacity) __builtin_trap();
    } catch (CArchiveException* e) {
      e->Delete();
      break;
    } catch (CException* e) {
      e->Delete();  // a text too long for the target; the archive is still in step
      VqErr.Flush();
    }
    if (buf[capacity] != 'Z') __builtin_trap();
  }
  return 0;
}
