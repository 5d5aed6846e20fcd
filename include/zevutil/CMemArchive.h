// The library's stored forms beyond the framework's own (counted text, wide text),
// the bounded string readers BndChars and CSAR_extract, and CMemArchive, the archive
// in memory with which objects become byte blocks and back.
//
// Stored forms (all little-endian, no alignment, no tag):
//   counted text  4-byte length n, then the n bytes, no NUL
//   wide text     4-byte length n in 16-bit units, then the n units, no NUL
//   CString       1, 3 or 7 bytes of length, then the bytes (see CArchive.h)
// A length larger than what the archive still holds fails with CArchiveException*
// (endOfFile); it is never allocated up front.
#pragma once
#include <memory>

#include "zevutil/CCalcCRC32.h"
#include "zevutil/platform/CArchive.h"
#include "zevutil/platform/Collections.h"
#include "zevutil/platform/Com.h"

namespace zev {

// ---- counted and wide text ----

// Writes the counted text. A null pointer throws CInvalidArgException*.
CArchive& operator<<(CArchive& ar, const char* text);
// Writes the wide text; a null _bstr_t stores the length 0.
CArchive& operator<<(CArchive& ar, const _bstr_t& text);
// Reads a wide text into a string of exactly the stored number of units.
CArchive& operator>>(CArchive& ar, _bstr_t& text);

// A bounded target for reading a counted text: a buffer and its capacity in bytes.
struct BndChars {
  BndChars(char* buffer, LONG capacity) : m_pszBuffer(buffer), m_nCapacity(capacity) {}
  char* m_pszBuffer;
  LONG m_nCapacity;
};
// Reads a counted text into the target, cut silently to capacity - 1 characters (the
// text ends at its first NUL; the rest of the buffer is zero-filled). The whole text is
// consumed, so the archive stays in step. A target with no room takes nothing.
CArchive& operator>>(CArchive& ar, BndChars& target);

// A bounded target for reading a CString form: unlike BndChars, a text that does not
// fit is an error.
class CSAR_extract {
 public:
  CSAR_extract(char* buffer, unsigned size) : m_pszBuffer(buffer), m_nSize(size) {}
  CSAR_extract(const CSAR_extract&) = default;
  CSAR_extract& operator=(const CSAR_extract&) = default;

  // Reads one CString form into the buffer. A text of size characters or more does
  // VqErr << "Bad string length in CSAR_extract(CArchive &)" << VqeThrow, which
  // throws a CException* and leaves the buffer empty. On a thread where VqeThrow does
  // not throw, the text is copied cut to the buffer. Returns the archive.
  CArchive& Extract(CArchive& ar);

  char* m_pszBuffer;
  unsigned m_nSize;
};

// ---- CMemArchive ----

// The memory file under a CMemArchive: grows by 1024 bytes, shows the start of its
// buffer, and owns any buffer attached to it (freed with free()).
class CMemArchiveFile : public CMemFile {
 public:
  CMemArchiveFile() : CMemFile(1024) {}
  BYTE* GetBufferStart() const { return m_lpBuffer; }
  // Takes over the buffer (malloc'ed, or null) holding size bytes of data, frees the
  // one held before, and grows by growBytes from now on (0: fixed size).
  void AttachOwned(BYTE* buffer, UINT size, UINT growBytes);
};

namespace detail {
// Holds the memory file so that it exists before the archive that uses it is built.
struct CMemArchiveFileHolder {
  std::unique_ptr<CMemArchiveFile> m_pMemFile = std::make_unique<CMemArchiveFile>();
};
}  // namespace detail

// An archive in memory, with a 4096-byte window on the memory file's buffer.
//
// Positions: the block access functions (GetDataSize, GetDataPtr, GetData, GetCRC,
// comparison) first bring the data up to date with the archive: what was written is
// committed, what was read is accounted for. SetMode between storing and loading
// repositions: to load, what was written is committed and reading starts at the
// beginning of the data; to store, writing goes on at the end of the data. SetData
// and Attach start reading at the beginning (a storing archive appends at the end).
class CMemArchive : private detail::CMemArchiveFileHolder, public CArchive {
 public:
  explicit CMemArchive(UINT mode);
  // Not copyable: copy by assignment.
  CMemArchive(const CMemArchive&) = delete;
  ~CMemArchive() override;

  // Sets the mode word (CArchive::store or CArchive::load); see the positions above.
  CMemArchive& SetMode(int mode);
  // Replaces the data by a copy of size bytes; a size of 0 changes nothing.
  void SetData(const unsigned char* data, ULONG size);
  // Replaces the data by the caller's buffer (malloc'ed), which the archive then owns.
  // Its size is fixed: writing past its end throws CMemoryException*.
  void Attach(unsigned char* data, ULONG size);

  ULONG GetDataSize() const;
  const BYTE* GetDataPtr() const;
  // Copies the data into the array; returns its size.
  ULONG GetData(CByteArray& out) const;
  // The archive's current read or write pointer (null before the first access).
  BYTE* GetCurrentPointer() { return m_lpBufCur; }
  // The bytes from the current position to the end of the data (0 when storing).
  ULONG GetSizeOfDataRemaining();
  // CRC-32 over the data, from the start value 0xFFFFFFFF.
  CCalcCRC32 GetCRC() const;

  // Equal when the data are equal, byte for byte; the mode is not compared.
  BOOL operator==(const CMemArchive& other) const;
  BOOL operator!=(const CMemArchive& other) const { return !(*this == other); }
  // Copies the other's data (by SetData) and takes over its mode.
  CMemArchive& operator=(const CMemArchive& other);

  CMemArchiveFile* GetMemFile() const { return m_pMemFile.get(); }

 private:
  // Brings the memory file up to date with the archive window and leaves an empty
  // window at the file's position.
  void Settle() const;
  // An empty window at the memory file's current position.
  void ResetWindow();
  // The start of reading (loading) or the end of the data (storing).
  void PositionForMode();
};

}  // namespace zev
