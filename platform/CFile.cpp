// CFile over the host file service, CMemFile in memory, CStdioFile by lines.
#include "zevutil/platform/CFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

#include "platform/host/HostFile.h"

namespace zev {

IMPLEMENT_DYNAMIC(CFile, CObject)
IMPLEMENT_DYNAMIC(CMemFile, CFile)
IMPLEMENT_DYNAMIC(CStdioFile, CFile)

CFile::CFile() = default;

CFile::CFile(const char* fileName, UINT openFlags) {
  CFileException e;
  if (!Open(fileName, openFlags, &e)) AfxThrowFileException(e.m_cause, e.m_lOsError, e.m_strFileName);
}

CFile::~CFile() {
  if (m_hFile >= 0 && m_bCloseOnDelete) Abort();
}

BOOL CFile::Open(const char* fileName, UINT flags, CFileException* error) {
  if (m_hFile >= 0) Abort();
  m_strFileName = fileName;
  UINT access = flags & 3;
  bool read = access == modeRead || access == modeReadWrite;
  bool write = access == modeWrite || access == modeReadWrite;
  bool create = (flags & modeCreate) != 0;
  bool truncate = create && !(flags & modeNoTruncate);
  int err = 0;
  m_bNameHasNoLinks = false;
  int fd = fileName ? host::FileOpen(fileName, read, write, create, truncate, &err, &m_bNameHasNoLinks) : -1;
  if (fd < 0) {
    if (!fileName) err = EINVAL;
    if (error) {
      error->m_cause = CFileException::OsErrorToException(err);
      error->m_lOsError = err;
      error->m_strFileName = fileName;
    }
    return FALSE;
  }
  m_hFile = fd;
  m_bCloseOnDelete = TRUE;
  return TRUE;
}

void CFile::Close() {
  if (m_hFile < 0) return;
  int err = 0;
  bool ok = host::FileClose(m_hFile, &err);
  m_hFile = -1;
  m_bCloseOnDelete = FALSE;
  if (!ok) AfxThrowFileException(CFileException::OsErrorToException(err), err, m_strFileName);
}

void CFile::Abort() {
  if (m_hFile >= 0) host::FileClose(m_hFile, nullptr);
  m_hFile = -1;
  m_bCloseOnDelete = FALSE;
}

UINT CFile::Read(void* buf, UINT count) {
  if (count == 0) return 0;
  if (m_hFile < 0) AfxThrowFileException(CFileException::invalidFile, -1, m_strFileName);
  int err = 0;
  std::int64_t n = host::FileRead(m_hFile, buf, count, &err);
  if (n < 0) AfxThrowFileException(CFileException::OsErrorToException(err), err, m_strFileName);
  return UINT(n);
}

void CFile::Write(const void* buf, UINT count) {
  if (count == 0) return;
  if (m_hFile < 0) AfxThrowFileException(CFileException::invalidFile, -1, m_strFileName);
  int err = 0;
  if (host::FileWrite(m_hFile, buf, count, &err) < 0)
    AfxThrowFileException(CFileException::OsErrorToException(err), err, m_strFileName);
}

ULONGLONG CFile::Seek(LONGLONG offset, UINT from) {
  int err = 0;
  std::int64_t r = m_hFile >= 0 ? host::FileSeek(m_hFile, offset, int(from), &err) : -1;
  if (r < 0) AfxThrowFileException(CFileException::badSeek, err, m_strFileName);
  return ULONGLONG(r);
}

ULONGLONG CFile::GetLength() const {
  int err = 0;
  std::int64_t r = m_hFile >= 0 ? host::FileSize(m_hFile, &err) : -1;
  if (r < 0) AfxThrowFileException(CFileException::invalidFile, err, m_strFileName);
  return ULONGLONG(r);
}

void CFile::SetLength(ULONGLONG len) {
  int err = 0;
  if (m_hFile < 0 || !host::FileTruncate(m_hFile, std::int64_t(len), &err))
    AfxThrowFileException(CFileException::OsErrorToException(err), err, m_strFileName);
}

ULONGLONG CFile::GetPosition() const {
  int err = 0;
  std::int64_t r = m_hFile >= 0 ? host::FileSeek(m_hFile, 0, current, &err) : -1;
  if (r < 0) AfxThrowFileException(CFileException::badSeek, err, m_strFileName);
  return ULONGLONG(r);
}

void CFile::Flush() {
  if (m_hFile >= 0) host::FileSync(m_hFile, nullptr);
}

CString CFile::GetFileName() const {
  const char* s = m_strFileName.GetString();
  const char* slash = std::strrchr(s, '/');
  const char* back = std::strrchr(s, '\\');
  const char* cut = std::max(slash, back);
  return CString(cut ? cut + 1 : s);
}

static void FillStatusFromStat(const host::FileStatInfo& info, CFileStatus& status) {
  status.m_ctime = CTime(info.ctime);
  status.m_mtime = CTime(info.mtime);
  status.m_atime = CTime(info.atime);
  status.m_size = info.size;
  status.m_attribute = BYTE((info.isDir ? CFile::directory : 0) | (info.readOnly ? CFile::readOnly : 0));
}

BOOL CFile::GetStatus(CFileStatus& status) const {
  host::FileStatInfo info;
  if (m_hFile >= 0) WritePendingQuietly();
  if (m_hFile < 0 || !host::FileStatFd(m_hFile, info, nullptr)) return FALSE;
  FillStatusFromStat(info, status);
  if (!(m_bNameHasNoLinks && host::FullPathWithoutLinks(m_strFileName, status.m_szFullName, sizeof status.m_szFullName)) &&
      !host::FullPathOfOpenFile(m_hFile, m_strFileName, status.m_szFullName, sizeof status.m_szFullName))
    status.m_szFullName[0] = '\0';
  return TRUE;
}

BOOL CFile::GetStatus(const char* fileName, CFileStatus& status) {
  host::FileStatInfo info;
  if (!host::FileStatPath(fileName, info, nullptr)) return FALSE;
  FillStatusFromStat(info, status);
  if (!host::FullPath(fileName, status.m_szFullName, sizeof status.m_szFullName)) status.m_szFullName[0] = '\0';
  return TRUE;
}

void CFile::Remove(const char* fileName) {
  int err = 0;
  if (!host::FileRemove(fileName, &err))
    AfxThrowFileException(CFileException::OsErrorToException(err), err, fileName);
}

void CFile::Rename(const char* oldName, const char* newName) {
  int err = 0;
  if (!host::FileRename(oldName, newName, &err))
    AfxThrowFileException(CFileException::OsErrorToException(err), err, oldName);
}

UINT CFile::GetBufferPtr(UINT, UINT, void**, void**) { return 0; }

// ---- CMemFile ----

UINT CMemFile::GetBufferPtr(UINT command, UINT count, void** bufStart, void** bufMax) {
  if (command == bufferCheck) return bufferDirect;
  if (command == bufferCommit) {
    m_nPosition += count;
    if (m_nPosition > m_nFileSize) m_nFileSize = m_nPosition;
    return 0;
  }
  if (command == bufferWrite && m_nPosition + count > m_nBufferSize) GrowFile(m_nPosition + count);
  BYTE* start = m_lpBuffer + m_nPosition;
  BYTE* max;
  if (command == bufferWrite) {
    max = m_lpBuffer + std::min(m_nBufferSize, m_nPosition + count);
  } else {
    size_t want = count == UINT(-1) ? m_nBufferSize - m_nPosition : count;
    size_t end = m_nPosition >= m_nFileSize ? m_nPosition : std::min(m_nFileSize, m_nPosition + want);
    max = m_lpBuffer + end;
    m_nPosition = end;
  }
  if (bufStart) *bufStart = start;
  if (bufMax) *bufMax = max;
  return UINT(max - start);
}

CMemFile::CMemFile(UINT growBytes) : m_nGrowBytes(growBytes) {}

CMemFile::CMemFile(BYTE* buffer, UINT size, UINT growBytes) : m_nGrowBytes(growBytes) {
  Attach(buffer, size, growBytes);
}

CMemFile::~CMemFile() {
  if (m_lpBuffer) Close();
}

void CMemFile::Attach(BYTE* buffer, UINT size, UINT growBytes) {
  m_nGrowBytes = growBytes;
  m_nPosition = 0;
  m_nBufferSize = size;
  m_nFileSize = growBytes == 0 ? size : 0;
  m_lpBuffer = buffer;
  m_bAutoDelete = FALSE;
}

BYTE* CMemFile::Detach() {
  BYTE* b = m_lpBuffer;
  m_lpBuffer = nullptr;
  m_nFileSize = m_nBufferSize = m_nPosition = 0;
  return b;
}

void CMemFile::Close() {
  m_nGrowBytes = 0;
  m_nPosition = 0;
  m_nBufferSize = 0;
  m_nFileSize = 0;
  if (m_lpBuffer && m_bAutoDelete) Free(m_lpBuffer);
  m_lpBuffer = nullptr;
}

BYTE* CMemFile::Alloc(size_t bytes) { return static_cast<BYTE*>(std::malloc(bytes)); }
BYTE* CMemFile::Realloc(BYTE* block, size_t bytes) { return static_cast<BYTE*>(std::realloc(block, bytes)); }
void CMemFile::Free(BYTE* block) { std::free(block); }

void CMemFile::GrowFile(size_t newLen) {
  if (newLen <= m_nBufferSize) return;
  if (m_nGrowBytes == 0) AfxThrowMemoryException();  // a fixed buffer can't grow
  size_t n = m_nBufferSize;
  while (n < newLen) {
    size_t next = n + m_nGrowBytes;
    // Grow geometrically past a step so that big files don't grow quadratically;
    // the buffer still only ever grows in whole steps.
    if (n >= 64 * m_nGrowBytes) next = n + ((n / 2) / m_nGrowBytes + 1) * m_nGrowBytes;
    if (next < n) AfxThrowMemoryException();
    n = next;
  }
  BYTE* p = m_lpBuffer ? Realloc(m_lpBuffer, n) : Alloc(n);
  if (!p) AfxThrowMemoryException();
  m_lpBuffer = p;
  m_nBufferSize = n;
}

UINT CMemFile::Read(void* buf, UINT count) {
  if (count == 0 || m_nPosition >= m_nFileSize) return 0;
  size_t n = std::min<size_t>(count, m_nFileSize - m_nPosition);
  std::memcpy(buf, m_lpBuffer + m_nPosition, n);
  m_nPosition += n;
  return UINT(n);
}

void CMemFile::Write(const void* buf, UINT count) {
  if (count == 0) return;
  size_t end = m_nPosition + count;
  if (end > m_nBufferSize) GrowFile(end);
  std::memcpy(m_lpBuffer + m_nPosition, buf, count);
  m_nPosition = end;
  if (m_nPosition > m_nFileSize) m_nFileSize = m_nPosition;
}

ULONGLONG CMemFile::Seek(LONGLONG offset, UINT from) {
  LONGLONG base = from == begin ? 0 : from == current ? LONGLONG(m_nPosition) : LONGLONG(m_nFileSize);
  LONGLONG pos = base + offset;
  if (pos < 0) AfxThrowFileException(CFileException::badSeek);
  if (size_t(pos) > m_nBufferSize) GrowFile(size_t(pos));
  m_nPosition = size_t(pos);
  return ULONGLONG(pos);
}

void CMemFile::SetLength(ULONGLONG newLength) {
  if (newLength > m_nBufferSize) GrowFile(size_t(newLength));
  if (m_nPosition > newLength) m_nPosition = size_t(newLength);
  m_nFileSize = size_t(newLength);
}

// ---- CStdioFile ----

CStdioFile::~CStdioFile() {
  if (m_hFile >= 0 && m_bCloseOnDelete) Abort();
}

BOOL CStdioFile::Open(const char* fileName, UINT openFlags, CFileException* error) {
  if (m_hFile >= 0) Abort();
  m_mode = BufferMode::idle;
  m_nBufUsed = m_nBufPos = 0;
  m_bText = (openFlags & typeBinary) == 0;
  return CFile::Open(fileName, openFlags & ~UINT(typeText | typeBinary), error);
}

bool CStdioFile::EnsureBuffer() {
  if (!m_pBuffer) m_pBuffer.reset(new (std::nothrow) char[kBufferSize]);
  return m_pBuffer != nullptr;
}

bool CStdioFile::WritePending(int* err) const {
  if (m_mode != BufferMode::writing) return true;
  const UINT n = m_nBufUsed;
  m_mode = BufferMode::idle;
  m_nBufUsed = m_nBufPos = 0;
  return n == 0 || host::FileWrite(m_hFile, m_pBuffer.get(), n, err) >= 0;
}

void CStdioFile::WritePendingQuietly() const {
  if (m_mode != BufferMode::writing || m_nBufUsed == 0) return;
  // On failure the bytes stay held, so that Close still reports the error.
  if (host::FileWrite(m_hFile, m_pBuffer.get(), m_nBufUsed, nullptr) < 0) return;
  m_mode = BufferMode::idle;
  m_nBufUsed = m_nBufPos = 0;
}

void CStdioFile::EndBufferedSpell() {
  if (m_mode == BufferMode::writing) {
    int err = 0;
    if (!WritePending(&err)) AfxThrowFileException(CFileException::OsErrorToException(err), err, m_strFileName);
  } else if (m_mode == BufferMode::reading) {
    const UINT unread = m_nBufUsed - m_nBufPos;
    m_mode = BufferMode::idle;
    m_nBufUsed = m_nBufPos = 0;
    int err = 0;
    if (unread && host::FileSeek(m_hFile, -std::int64_t(unread), current, &err) < 0)
      AfxThrowFileException(CFileException::badSeek, err, m_strFileName);
  }
}

void CStdioFile::Close() {
  if (m_hFile < 0) return;
  int err = 0;
  const bool written = WritePending(&err);
  m_mode = BufferMode::idle;
  m_nBufUsed = m_nBufPos = 0;
  if (!written) {
    CFile::Abort();
    AfxThrowFileException(CFileException::OsErrorToException(err), err, m_strFileName);
  }
  CFile::Close();
}

void CStdioFile::Abort() {
  if (m_hFile >= 0) WritePending(nullptr);
  m_mode = BufferMode::idle;
  m_nBufUsed = m_nBufPos = 0;
  CFile::Abort();
}

void CStdioFile::Write(const void* buf, UINT count) {
  if (count == 0) return;
  if (m_hFile < 0) AfxThrowFileException(CFileException::invalidFile, -1, m_strFileName);
  if (m_mode == BufferMode::reading) EndBufferedSpell();
  if (m_mode == BufferMode::writing && m_nBufUsed + count > kBufferSize) EndBufferedSpell();
  if (count >= kBufferSize || !EnsureBuffer()) {
    CFile::Write(buf, count);
    return;
  }
  m_mode = BufferMode::writing;
  std::memcpy(m_pBuffer.get() + m_nBufUsed, buf, count);
  m_nBufUsed += count;
}

UINT CStdioFile::Read(void* buf, UINT count) {
  if (count == 0) return 0;
  if (m_hFile < 0) AfxThrowFileException(CFileException::invalidFile, -1, m_strFileName);
  if (m_mode == BufferMode::writing) EndBufferedSpell();
  char* out = static_cast<char*>(buf);
  UINT done = 0;
  if (m_mode == BufferMode::reading) {
    done = std::min(count, m_nBufUsed - m_nBufPos);
    std::memcpy(out, m_pBuffer.get() + m_nBufPos, done);
    m_nBufPos += done;
    if (done == count) return done;
    m_mode = BufferMode::idle;
    m_nBufUsed = m_nBufPos = 0;
  }
  const UINT rest = count - done;
  if (rest >= kBufferSize || !EnsureBuffer()) return done + CFile::Read(out + done, rest);
  const UINT got = CFile::Read(m_pBuffer.get(), kBufferSize);
  const UINT n = std::min(rest, got);
  std::memcpy(out + done, m_pBuffer.get(), n);
  if (got > n) {
    m_mode = BufferMode::reading;
    m_nBufUsed = got;
    m_nBufPos = n;
  }
  return done + n;
}

ULONGLONG CStdioFile::Seek(LONGLONG offset, UINT from) {
  if (m_hFile >= 0) EndBufferedSpell();
  return CFile::Seek(offset, from);
}

ULONGLONG CStdioFile::GetPosition() const {
  const ULONGLONG system = CFile::GetPosition();
  if (m_mode == BufferMode::writing) return system + m_nBufUsed;
  if (m_mode == BufferMode::reading) return system - (m_nBufUsed - m_nBufPos);
  return system;
}

ULONGLONG CStdioFile::GetLength() const {
  const ULONGLONG length = CFile::GetLength();
  if (m_mode != BufferMode::writing) return length;
  return std::max(length, CFile::GetPosition() + m_nBufUsed);
}

void CStdioFile::SetLength(ULONGLONG newLength) {
  if (m_hFile >= 0) EndBufferedSpell();
  CFile::SetLength(newLength);
}

void CStdioFile::Flush() {
  if (m_hFile >= 0) EndBufferedSpell();
  CFile::Flush();
}

void CStdioFile::WriteString(const char* text) {
  if (!text) AfxThrowInvalidArgException();
  if (!m_bText) {
    Write(text, UINT(std::strlen(text)));
    return;
  }
  // Each run up to a "\n" goes out as it is, the "\n" as "\r\n".
  for (const char* p = text;;) {
    const char* nl = std::strchr(p, '\n');
    const std::size_t run = nl ? std::size_t(nl - p) : std::strlen(p);
    if (run) Write(p, UINT(run));
    if (!nl) break;
    Write("\r\n", 2);
    p = nl + 1;
  }
}

char* CStdioFile::ReadString(char* buf, UINT max) {
  if (!buf || max == 0) return nullptr;
  UINT n = 0;
  char ch;
  bool any = false;
  while (n + 1 < max && Read(&ch, 1) == 1) {
    any = true;
    if (m_bText && ch == '\r') continue;
    buf[n++] = ch;
    if (ch == '\n') break;
  }
  buf[n] = '\0';
  return any ? buf : nullptr;
}

BOOL CStdioFile::ReadString(CString& line) {
  line.Empty();
  char ch;
  bool any = false;
  while (Read(&ch, 1) == 1) {
    any = true;
    if (ch == '\n') break;
    line += ch;
  }
  if (m_bText && line.GetLength() && line[line.GetLength() - 1] == '\r') line = line.Left(line.GetLength() - 1);
  return any ? TRUE : FALSE;
}

}  // namespace zev
