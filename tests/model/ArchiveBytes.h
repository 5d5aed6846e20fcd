// Test helpers: what an object writes to a memory archive, a reader over given bytes,
// and a little-endian byte builder for hand-made records.
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
  CByteArray data;
  ar.GetData(data);
  return Bytes(data.begin(), data.end());
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

// Builds a record by appending values in their little-endian stored forms.
class ByteBuilder {
 public:
  template <class T>
  ByteBuilder& Put(T v) {
    BYTE raw[sizeof(T)];
    std::memcpy(raw, &v, sizeof(T));
    m_bytes.insert(m_bytes.end(), raw, raw + sizeof(T));
    return *this;
  }
  ByteBuilder& Str(const std::string& s) {  // CString form, short texts only
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

// Runs f, which must throw the archive's end-of-file exception; deletes it.
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
