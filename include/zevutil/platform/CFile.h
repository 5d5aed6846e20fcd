// CFile, CMemFile, CStdioFile and CFileStatus. Failures throw CFileException* as
// in the framework, except Open, which returns false and fills the exception given.
#pragma once
#include "zevutil/platform/CException.h"
#include "zevutil/platform/CTime.h"

#include <memory>

namespace zev {

struct CFileStatus {
  CTime m_ctime;
  CTime m_mtime;
  CTime m_atime;
  LONGLONG m_size = 0;
  BYTE m_attribute = 0;  // 0x01 read-only, 0x10 directory, 0x80 normal
  char m_szFullName[_MAX_PATH] = {};
};

class CFile : public CObject {
  DECLARE_DYNAMIC(CFile)
 public:
  enum OpenFlags : UINT {
    modeRead = 0x0000, modeWrite = 0x0001, modeReadWrite = 0x0002,
    shareCompat = 0x0000, shareExclusive = 0x0010, shareDenyWrite = 0x0020,
    shareDenyRead = 0x0030, shareDenyNone = 0x0040, modeNoInherit = 0x0080,
    modeCreate = 0x1000, modeNoTruncate = 0x2000, typeText = 0x4000, typeBinary = 0x8000
  };
  enum SeekPosition { begin = 0, current = 1, end = 2 };
  // Direct buffer access (GetBufferPtr), as a memory file gives it to an archive.
  enum BufferCommand { bufferRead, bufferWrite, bufferCommit, bufferCheck };
  enum BufferFlags { bufferDirect = 1, bufferBlocking = 2 };
  enum Attribute { normal = 0x00, readOnly = 0x01, hidden = 0x02, system = 0x04, volume = 0x08,
                   directory = 0x10, archive = 0x20 };

  CFile();
  // Opens the file; throws CFileException* on failure.
  CFile(const char* fileName, UINT openFlags);
  ~CFile() override;
  CFile(const CFile&) = delete;
  CFile& operator=(const CFile&) = delete;

  // Returns false on failure and, if given, fills *error (cause, errno, name).
  virtual BOOL Open(const char* fileName, UINT openFlags, CFileException* error = nullptr);
  virtual void Close();
  virtual void Abort();  // closes, ignoring errors; never throws
  virtual UINT Read(void* buf, UINT count);
  virtual void Write(const void* buf, UINT count);
  virtual ULONGLONG Seek(LONGLONG offset, UINT from);
  virtual ULONGLONG GetLength() const;
  virtual void SetLength(ULONGLONG newLength);
  virtual ULONGLONG GetPosition() const;
  virtual void Flush();
  // 0 for a file without direct buffering; see CMemFile.
  virtual UINT GetBufferPtr(UINT command, UINT count = 0, void** bufStart = nullptr, void** bufMax = nullptr);
  void SeekToBegin() { Seek(0, begin); }
  ULONGLONG SeekToEnd() { return Seek(0, end); }
  virtual CString GetFilePath() const { return m_strFileName; }
  virtual CString GetFileName() const;
  BOOL GetStatus(CFileStatus& status) const;
  bool IsOpen() const { return m_hFile >= 0; }

  static BOOL GetStatus(const char* fileName, CFileStatus& status);
  static void Remove(const char* fileName);                  // throws on failure
  static void Rename(const char* oldName, const char* newName);  // throws on failure

 protected:
  int m_hFile = -1;
  BOOL m_bCloseOnDelete = FALSE;
  CString m_strFileName;
  bool m_bNameHasNoLinks = false;  // the open looked the name up without following a link

  // Hands bytes a derived class still holds to the system before the status is read;
  // quiet, as a status query never throws.
  virtual void WritePendingQuietly() const {}
};

// A file in memory: grows by the grow step (0 means a fixed, caller-given buffer).
class CMemFile : public CFile {
  DECLARE_DYNAMIC(CMemFile)
 public:
  explicit CMemFile(UINT growBytes = 1024);
  CMemFile(BYTE* buffer, UINT size, UINT growBytes = 0);
  ~CMemFile() override;

  void Attach(BYTE* buffer, UINT size, UINT growBytes = 0);
  BYTE* Detach();

  BOOL Open(const char*, UINT, CFileException* = nullptr) override { return FALSE; }
  void Close() override;
  void Abort() override { Close(); }
  UINT Read(void* buf, UINT count) override;
  void Write(const void* buf, UINT count) override;
  ULONGLONG Seek(LONGLONG offset, UINT from) override;
  ULONGLONG GetLength() const override { return m_nFileSize; }
  void SetLength(ULONGLONG newLength) override;
  ULONGLONG GetPosition() const override { return m_nPosition; }
  void Flush() override {}
  // Gives the archive direct access to the buffer: bufferRead hands out up to count
  // bytes at the position and moves past them, bufferWrite reserves count bytes,
  // bufferCommit accepts count written bytes, bufferCheck answers bufferDirect.
  UINT GetBufferPtr(UINT command, UINT count = 0, void** bufStart = nullptr, void** bufMax = nullptr) override;
  CString GetFilePath() const override { return CString(); }
  CString GetFileName() const override { return CString(); }

 protected:
  virtual BYTE* Alloc(size_t bytes);
  virtual BYTE* Realloc(BYTE* block, size_t bytes);
  virtual void Free(BYTE* block);
  virtual void GrowFile(size_t newLen);

  size_t m_nGrowBytes;
  size_t m_nPosition = 0;
  size_t m_nBufferSize = 0;
  size_t m_nFileSize = 0;
  BYTE* m_lpBuffer = nullptr;
  BOOL m_bAutoDelete = TRUE;
};

// A text file read and written by lines, through a buffer as a stream is: writes reach
// the system when the buffer fills, on Flush, Seek, SetLength, a read, Close, Abort and
// destruction; positions and lengths count the bytes still held. A write the system
// refuses surfaces at the call that hands it over.
class CStdioFile : public CFile {
  DECLARE_DYNAMIC(CStdioFile)
 public:
  CStdioFile() = default;
  CStdioFile(const char* fileName, UINT openFlags) : CFile(fileName, openFlags) {}
  ~CStdioFile() override;
  // Writes the text; in text mode "\n" becomes "\r\n".
  virtual void WriteString(const char* text);
  // Reads one line into buf (at most max - 1 characters, the "\n" kept); null at end.
  virtual char* ReadString(char* buf, UINT max);
  // Reads one line without its end; false at end of file.
  virtual BOOL ReadString(CString& line);
  BOOL Open(const char* fileName, UINT openFlags, CFileException* error = nullptr) override;
  void Close() override;
  void Abort() override;
  UINT Read(void* buf, UINT count) override;
  void Write(const void* buf, UINT count) override;
  ULONGLONG Seek(LONGLONG offset, UINT from) override;
  ULONGLONG GetLength() const override;
  void SetLength(ULONGLONG newLength) override;
  ULONGLONG GetPosition() const override;
  void Flush() override;

 protected:
  void WritePendingQuietly() const override;

 private:
  static constexpr UINT kBufferSize = 4096;
  enum class BufferMode { idle, reading, writing };
  bool EnsureBuffer();
  // Writes what the buffer holds; false (buffer emptied, errno in *err) on failure.
  bool WritePending(int* err) const;
  // Ends a reading or writing spell: writes what is held (throwing on failure) or
  // moves the system position back over bytes read ahead and not yet used.
  void EndBufferedSpell();

  bool m_bText = true;
  mutable std::unique_ptr<char[]> m_pBuffer;
  mutable BufferMode m_mode = BufferMode::idle;
  mutable UINT m_nBufUsed = 0;  // bytes held to write, or read ahead
  mutable UINT m_nBufPos = 0;   // next byte to hand out when reading
};

}  // namespace zev
