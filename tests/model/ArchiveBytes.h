// Test helpers: the bytes an object writes to a memory archive, a loading archive over
// given bytes, and a little-endian builder for hand-made records.
#pragma once
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "zevutil/CMemArchive.h"

namespace zev::testhelp {

using Bytes = std::vector<BYTE>;

inline Bytes Stored(const std::function<void(CArchive&)>& write) {
  CMemArchive ar(CArchive::store);
  write(ar);
  return Bytes(ar.GetDataPtr(), ar.GetDataPtr() + ar.GetDataSize());
}

// A loading archive over a copy of the bytes.
class Loader {
 public:
  explicit Loader(const Bytes& bytes) : m_ar(CArchive::load) {
    if (!bytes.empty()) m_ar.SetData(bytes.data(), ULONG(bytes.size()));
  }
  CMemArchive& ar() { return m_ar; }
  ULONG Remaining() { return m_ar.GetSizeOfDataRemaining(); }

 private:
  CMemArchive m_ar;
};

class ByteBuilder {
 public:
  template <class T>
  ByteBuilder& Put(T v) {
    const BYTE* raw = reinterpret_cast<const BYTE*>(&v);
    m_bytes.insert(m_bytes.end(), raw, raw + sizeof(T));
    return *this;
  }
  ByteBuilder& Str(const std::string& s) {  // the CString form of a short text
    m_bytes.push_back(BYTE(s.size()));
    m_bytes.insert(m_bytes.end(), s.begin(), s.end());
    return *this;
  }
  ByteBuilder& Raw(const Bytes& b) {
    m_bytes.insert(m_bytes.end(), b.begin(), b.end());
    return *this;
  }
  const Bytes& bytes() const { return m_bytes; }

 private:
  Bytes m_bytes;
};

// True when f throws the archive's end-of-file exception (which is deleted).
inline bool ThrowsEndOfFile(const std::function<void()>& f) {
  try {
    f();
  } catch (CArchiveException* e) {
    const bool eof = e->m_cause == CArchiveException::endOfFile;
    e->Delete();
    return eof;
  }
  return false;
}

}  // namespace zev::testhelp
