// Shared by the fuzzers of stored records: reading any bytes into a record, and the
// fixed point of the stored form (what is written once reads back and writes the same).
#pragma once
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "FuzzSupport.h"
#include "zevutil/CMemArchive.h"
#include "zevutil/VqDictionary.h"
#include "zevutil/VqeReportStream.h"

namespace zevfuzz {

// Reads the record from the bytes; true when the whole read succeeded.
template <class T>
bool ReadAll(T& record, const std::uint8_t* data, std::size_t size) {
  zev::CMemArchive ar(zev::CArchive::load);
  if (size > 0) ar.SetData(data, zev::ULONG(size));
  bool ok = true;
  try {
    record.Serialize(ar);
  } catch (zev::CException* e) {
    e->Delete();
    ok = false;
  }
  zev::VqErr.Flush();  // a failed read leaves its report in the block
  return ok;
}

template <class T>
zev::CByteArray Store(T& record) {
  zev::CMemArchive out(zev::CArchive::store);
  record.Serialize(out);
  zev::CByteArray bytes;
  out.GetData(bytes);
  return bytes;
}

// Writing, reading that back and writing again gives the same bytes; the record read
// back must also be same(record, again).
template <class T, class Same>
void CheckFixedPoint(T& record, Same same) {
  const zev::CByteArray first = Store(record);
  T again;
  Check(ReadAll(again, first.GetData(), size_t(first.GetSize())));
  Check(same(record, again));
  const zev::CByteArray second = Store(again);
  Check(first.GetSize() == second.GetSize() &&
        (first.GetSize() == 0 || std::memcmp(first.GetData(), second.GetData(), size_t(first.GetSize())) == 0));
}

template <class T>
void CheckFixedPoint(T& record) {
  CheckFixedPoint(record, [](const T&, const T&) { return true; });
}

// Two dictionaries hold the same keys and values in the same order, and the same checksum.
inline bool SameEntries(const zev::VqDictionary& a, const zev::VqDictionary& b) {
  if (a.GetCount() != b.GetCount() || a.GetCRC() != b.GetCRC()) return false;
  for (unsigned i = 0; i < unsigned(a.GetCount()); ++i) {
    zev::CString va, vb;
    zev::CString ka(a.GetAt(i, va)), kb(b.GetAt(i, vb));
    if (ka != kb || va != vb) return false;
  }
  return true;
}

}  // namespace zevfuzz
