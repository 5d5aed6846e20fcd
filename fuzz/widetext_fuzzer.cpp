// Wide texts read until the data runs out; each one read is written again and must
// give back exactly the bytes it was read from.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "zevutil/CMemArchive.h"

using namespace zev;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CMemArchive ar(CArchive::load);
  ar.SetData(data, ULONG(size));
  try {
    for (int i = 0; i < 64; ++i) {
      ULONG before = ar.GetSizeOfDataRemaining();
      _bstr_t text;
      ar >> text;
      ULONG used = before - ar.GetSizeOfDataRemaining();
      if (used != 4 + 2 * text.length()) __builtin_trap();
      CMemArchive out(CArchive::store);
      out << text;
      if (out.GetDataSize() != used) __builtin_trap();
      const BYTE* from = data + (size - before);
      if (std::memcmp(out.GetDataPtr(), from, used) != 0) __builtin_trap();
    }
  } catch (CException* e) {
    e->Delete();
  }
  return 0;
}
