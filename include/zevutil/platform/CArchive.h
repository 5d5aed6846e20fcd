// CArchive: the framework's buffered binary stream over a CFile. Numbers are stored
// little-endian with no alignment or tag; strings in the CString length-prefixed form.
// Reading past the end throws CArchiveException* (endOfFile).
#pragma once
#include <bit>
#include <cstring>

#include "zevutil/platform/CFile.h"

namespace zev {

class CArchive {
 public:
  enum Mode : UINT { store = 0, load = 1, bNoFlushOnDelete = 2, bNoByteSwap = 4 };

  CArchive(CFile* file, UINT mode, int bufSize = 4096, void* buf = nullptr);
  virtual ~CArchive();
  CArchive(const CArchive&) = delete;
  CArchive& operator=(const CArchive&) = delete;

  BOOL IsLoading() const { return (m_nMode & load) != 0; }
  BOOL IsStoring() const { return (m_nMode & load) == 0; }
  BOOL IsBufferEmpty() const { return m_lpBufCur == m_lpBufMax; }
  CFile* GetFile() const { return m_pFile; }

  // Reads up to count bytes; fewer only at the end of the data.
  UINT Read(void* buf, UINT count);
  void Write(const void* buf, UINT count);
  // Storing: writes the buffer to the file. Loading: gives back unread bytes to the file.
  void Flush();
  // Makes at least bytesNeeded bytes available, or throws endOfFile.
  void FillBuffer(UINT bytesNeeded);
  void Close();
  void Abort();  // closes without flushing; never throws

  // Counts: a word below 0xFFFF, else 0xFFFF and a 4-byte value.
  void WriteCount(DWORD count);
  DWORD ReadCount();

  // Text lines, for archives of text.
  void WriteString(const char* s);
  BOOL ReadString(CString& s);

  // Typed numbers. int/LONG/DWORD are 4 bytes; a plain (64-bit) long has no operator on purpose.
  CArchive& operator<<(BYTE v) { return Put(v); }
  CArchive& operator<<(char v) { return Put(v); }
  CArchive& operator<<(signed char v) { return Put(v); }
  CArchive& operator<<(WORD v) { return Put(v); }
  CArchive& operator<<(SHORT v) { return Put(v); }
  CArchive& operator<<(int v) { return Put(v); }
  CArchive& operator<<(UINT v) { return Put(v); }
  CArchive& operator<<(float v) { return Put(v); }
  CArchive& operator<<(double v) { return Put(v); }
  CArchive& operator<<(LONGLONG v) { return Put(v); }
  CArchive& operator<<(ULONGLONG v) { return Put(v); }
  CArchive& operator>>(BYTE& v) { return Get(v); }
  CArchive& operator>>(char& v) { return Get(v); }
  CArchive& operator>>(signed char& v) { return Get(v); }
  CArchive& operator>>(WORD& v) { return Get(v); }
  CArchive& operator>>(SHORT& v) { return Get(v); }
  CArchive& operator>>(int& v) { return Get(v); }
  CArchive& operator>>(UINT& v) { return Get(v); }
  CArchive& operator>>(float& v) { return Get(v); }
  CArchive& operator>>(double& v) { return Get(v); }
  CArchive& operator>>(LONGLONG& v) { return Get(v); }
  CArchive& operator>>(ULONGLONG& v) { return Get(v); }

  // Serialises an object through its virtual Serialize.
  CArchive& operator<<(CObject& obj) { obj.Serialize(*this); return *this; }

  UINT m_nMode;
  int m_nBufSize;
  CFile* m_pFile;
  BYTE* m_lpBufCur = nullptr;
  BYTE* m_lpBufMax = nullptr;
  BYTE* m_lpBufStart = nullptr;
  CString m_strFileName;

 protected:
  template <class T>
  CArchive& Put(T v) {
    if (IsLoading()) AfxThrowArchiveException(CArchiveException::readOnly, m_strFileName);
    if (m_lpBufCur == nullptr || size_t(m_lpBufMax - m_lpBufCur) < sizeof(T)) {
      Flush();
      // A closed archive has no buffer left to write into.
      if (m_lpBufCur == nullptr || size_t(m_lpBufMax - m_lpBufCur) < sizeof(T))
        AfxThrowArchiveException(CArchiveException::genericException, m_strFileName);
    }
    std::memcpy(m_lpBufCur, &v, sizeof(T));  // the host is little-endian, as the stored form
    m_lpBufCur += sizeof(T);
    return *this;
  }
  template <class T>
  CArchive& Get(T& v) {
    if (!IsLoading()) AfxThrowArchiveException(CArchiveException::writeOnly, m_strFileName);
    if (m_lpBufCur == nullptr || size_t(m_lpBufMax - m_lpBufCur) < sizeof(T))
      FillBuffer(UINT(sizeof(T) - size_t(m_lpBufMax - m_lpBufCur)));
    std::memcpy(&v, m_lpBufCur, sizeof(T));
    m_lpBufCur += sizeof(T);
    return *this;
  }

 private:
  bool m_bDirectBuffer = false;
  bool m_bUserBuf = false;
  BYTE* m_lpOwnBuf = nullptr;
};

static_assert(std::endian::native == std::endian::little, "stored forms assume a little-endian host");

// CTime: 4 bytes of seconds since 1970.
CArchive& operator<<(CArchive& ar, const CTime& t);
CArchive& operator>>(CArchive& ar, CTime& t);
// CString: length prefix (1, 3 or 7 bytes) and the bytes, no NUL. The reader also
// takes the 16-bit marker (0xFF, 0xFFFE) and narrows such text to 8 bits.
CArchive& operator<<(CArchive& ar, const CString& s);
CArchive& operator>>(CArchive& ar, CString& s);
// Writes a string in CString form from a pointer (null stores as empty).
void WriteCStringForm(CArchive& ar, const char* s, size_t len);

}  // namespace zev
