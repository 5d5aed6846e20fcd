// Counted texts read through BndChars targets of a capacity chosen by the first byte,
// until the data runs out.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "zevutil/CMemArchive.h"

using namespace zev;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  // 0..127 as is, the rest as small negative or zero capacities.
  LONG capacity = data[0] < 128 ? LONG(data[0]) : -LONG(data[0] - 128);
  CMemArchive ar(CArchive::load);
  ar.SetData(data + 1, ULONG(size - 1));
  std::vector<char> buf(capacity > 0 ? size_t(capacity) : 1, 'Z');
  try {
    for (int i = 0; i < 64; ++i) {
      BndChars target(buf.data(), capacity);
      ar >> target;
      if (capacity > 0 && std::memchr(buf.data(), 0, buf.size()) == nullptr) __builtin_trap();
      if (ar.GetSizeOfDataRemaining() > ar.GetDataSize()) __builtin_trap();
    }
  } catch (CException* e) {
    e->Delete();
  }
  return 0;
}
