// Shared by the object-header fuzzers: reading any bytes into a record, and the
// fixed point of the stored form (what is written once reads back and writes the same).
#pragma once
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "zevutil/CMemArchive.h"
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

// Writing, reading that back and writing again gives the same bytes.
template <class T>
void CheckFixedPoint(T& record) {
  const zev::CByteArray first = Store(record);
  T again;
  if (!ReadAll(again, first.GetData(), size_t(first.GetSize()))) __builtin_trap();
  const zev::CByteArray second = Store(again);
  if (first.GetSize() != second.GetSize() ||
      (first.GetSize() > 0 && std::memcmp(first.GetData(), second.GetData(), size_t(first.GetSize())) != 0))
    __builtin_trap();
}

}  // namespace zevfuzz
