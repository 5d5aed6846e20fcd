// Reads a VqSamplePropertySet (name, then dictionary) from arbitrary bytes; whatever
// reads must store and read back to the same name, entries, checksum and bytes.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "zevutil/CMemArchive.h"
#include "zevutil/VqDictionary.h"
#include "zevutil/VqeReportStream.h"

using namespace zev;

namespace {

std::vector<BYTE> Store(CObject& obj) {
  CMemArchive ar(CArchive::store);
  obj.Serialize(ar);
  const BYTE* p = ar.GetDataPtr();
  return std::vector<BYTE>(p, p + ar.GetDataSize());
}

// Loads obj from the bytes through a memory archive; false when the read threw.
bool Load(CObject& obj, const BYTE* data, size_t size) {
  CMemArchive ar(CArchive::load);
  ar.SetData(data, ULONG(size));
  try {
    obj.Serialize(ar);
    return true;
  } catch (CException* e) {
    e->Delete();
    VqErr.Flush();
    return false;
  }
}

bool SameEntries(const VqDictionary& a, const VqDictionary& b) {
  if (a.GetCount() != b.GetCount() || a.GetCRC() != b.GetCRC()) return false;
  for (unsigned i = 0; i < unsigned(a.GetCount()); ++i) {
    CString va, vb;
    CString ka(a.GetAt(i, va)), kb(b.GetAt(i, vb));
    if (ka != kb || va != vb) return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > (1u << 20)) return 0;
  VqSamplePropertySet d;
  if (!Load(d, data, size)) return 0;
  std::vector<BYTE> stored = Store(d);
  VqSamplePropertySet back;
  if (!Load(back, stored.data(), stored.size()) || !SameEntries(d, back) || d.GetName() != back.GetName() ||
      Store(back) != stored)
    std::abort();
  return 0;
}
