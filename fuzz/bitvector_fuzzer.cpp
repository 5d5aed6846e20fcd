// Bit vectors from any bytes: the archive reader (which skips its block), the block
// reader with whatever size and cursor it claims, and every walk and comparison on it.
#include <cstddef>
#include <cstdint>

#include "zevutil/CBitVector.h"
#include "zevutil/CMemArchive.h"

using namespace zev;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CBitVector v;
  CMemArchive ar(CArchive::load);
  if (size > 0) ar.SetData(data, ULONG(size));
  try {
    v.Serialize(ar);
    if (v.GetNumberOfMembers() != 0) __builtin_trap();  // skipped, not loaded
  } catch (CException* e) {
    e->Delete();
  }

  CByteArray block;
  for (std::size_t i = 0; i < size; ++i) block.Add(data[i]);
  v << block;
  int walked = 0;
  for (int n = v.GetFirstSet(); n != -1; n = v.GetNextSet()) {
    if (n < 0 || n > 127 || ++walked > 128) __builtin_trap();
  }
  if (walked != v.GetNumberOfMembers()) __builtin_trap();
  int positions = 0;
  for (POSITION p = v.GetFirstPosition(); p;) {
    int n = v.GetNext(p);
    if (n < 0 || n > 127 || ++positions > 128) __builtin_trap();
  }
  // A position taken from the input must not lead the walk astray either.
  if (size >= 4) {
    POSITION p = reinterpret_cast<POSITION>(std::uintptr_t(data[0] | data[1] << 8 | data[2] << 16 | data[3] << 24));
    for (int guard = 0; p && guard < 200; ++guard) v.GetNext(p);
    if (p) __builtin_trap();
  }
  CBitVector w;
  w += size > 0 ? data[0] : 0;
  (void)(v <= w);
  (void)(v >= w);
  (void)(v == w);
  CBitVector d = v - w;
  CBitVector e = w - v;
  unsigned char table[32];
  v.GetBitTable(int(size % 40), table);
  e.SetBitTable(int(size % 40), table);
  CByteArray again;
  d >> again;
  if (again.GetSize() != CBitVector::kBlockBytes) __builtin_trap();
  return 0;
}
