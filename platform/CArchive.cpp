// CArchive: buffered, or direct on a memory file, as the framework does it.
#include "zevutil/platform/CArchive.h"

#include <algorithm>
#include <cstdlib>
#include <string>

namespace zev {

CArchive::CArchive(CFile* file, UINT mode, int bufSize, void* buf)
    : m_nMode(mode), m_nBufSize(bufSize < 128 ? 128 : bufSize), m_pFile(file) {
  if (!file) AfxThrowInvalidArgException();
  m_strFileName = file->GetFilePath();
  m_bDirectBuffer = (file->GetBufferPtr(CFile::bufferCheck) & CFile::bufferDirect) != 0;
  if (!m_bDirectBuffer) {
    if (buf) {
      m_lpBufStart = static_cast<BYTE*>(buf);
      m_bUserBuf = true;
    } else {
      m_lpOwnBuf = static_cast<BYTE*>(std::malloc(size_t(m_nBufSize)));
      if (!m_lpOwnBuf) AfxThrowMemoryException();
      m_lpBufStart = m_lpOwnBuf;
    }
    m_lpBufMax = m_lpBufStart + m_nBufSize;
    m_lpBufCur = IsLoading() ? m_lpBufMax : m_lpBufStart;
  }
  // Direct mode: all three pointers stay null until the first Flush or FillBuffer.
}

CArchive::~CArchive() {
  try {
    if (m_pFile && !(m_nMode & bNoFlushOnDelete)) Close();
  } catch (CException* e) {
    e->Delete();
  }
  Abort();
}

void CArchive::Abort() {
  std::free(m_lpOwnBuf);
  m_lpOwnBuf = nullptr;
  m_lpBufStart = m_lpBufCur = m_lpBufMax = nullptr;
  m_pFile = nullptr;
}

void CArchive::Close() {
  if (!m_pFile) return;
  Flush();
  m_pFile = nullptr;
  // No pointer into the file's memory survives the close.
  m_lpBufStart = m_lpBufCur = m_lpBufMax = nullptr;
}

void CArchive::Flush() {
  if (!m_pFile) return;  // closed: nothing to flush (writers check for room afterwards)
  if (IsLoading()) {
    // Give back what was buffered and not read, so the file position is exact.
    if (m_lpBufMax != m_lpBufCur) m_pFile->Seek(-LONGLONG(m_lpBufMax - m_lpBufCur), CFile::current);
    m_lpBufCur = m_lpBufMax;
    return;
  }
  if (m_bDirectBuffer) {
    if (m_lpBufCur != m_lpBufStart) m_pFile->GetBufferPtr(CFile::bufferCommit, UINT(m_lpBufCur - m_lpBufStart));
    void *start = nullptr, *max = nullptr;
    m_pFile->GetBufferPtr(CFile::bufferWrite, UINT(m_nBufSize), &start, &max);
    m_lpBufStart = m_lpBufCur = static_cast<BYTE*>(start);
    m_lpBufMax = static_cast<BYTE*>(max);
    return;
  }
  if (m_lpBufCur != m_lpBufStart) m_pFile->Write(m_lpBufStart, UINT(m_lpBufCur - m_lpBufStart));
  m_lpBufCur = m_lpBufStart;
}

void CArchive::FillBuffer(UINT bytesNeeded) {
  if (!IsLoading()) AfxThrowArchiveException(CArchiveException::writeOnly, m_strFileName);
  if (!m_pFile) AfxThrowArchiveException(CArchiveException::genericException, m_strFileName);
  size_t unused = size_t(m_lpBufMax - m_lpBufCur);
  size_t total = unused + bytesNeeded;
  if (m_bDirectBuffer) {
    if (unused) m_pFile->Seek(-LONGLONG(unused), CFile::current);
    void *start = nullptr, *max = nullptr;
    UINT want = UINT(std::max<size_t>(size_t(m_nBufSize), total));
    UINT got = m_pFile->GetBufferPtr(CFile::bufferRead, want, &start, &max);
    m_lpBufStart = m_lpBufCur = static_cast<BYTE*>(start);
    m_lpBufMax = static_cast<BYTE*>(max);
    if (got < total) AfxThrowArchiveException(CArchiveException::endOfFile, m_strFileName);
    return;
  }
  // Move the unread tail to the front and read behind it.
  if (unused && m_lpBufCur != m_lpBufStart) std::memmove(m_lpBufStart, m_lpBufCur, unused);
  size_t have = unused;
  size_t cap = size_t(m_nBufSize);
  if (total > cap) AfxThrowArchiveException(CArchiveException::genericException, m_strFileName);
  while (have < cap) {
    UINT n = m_pFile->Read(m_lpBufStart + have, UINT(cap - have));
    if (n == 0) break;
    have += n;
    if (have >= total) break;
  }
  m_lpBufCur = m_lpBufStart;
  m_lpBufMax = m_lpBufStart + have;
  if (have < total) AfxThrowArchiveException(CArchiveException::endOfFile, m_strFileName);
}

UINT CArchive::Read(void* buf, UINT count) {
  if (count == 0) return 0;
  if (!IsLoading()) AfxThrowArchiveException(CArchiveException::writeOnly, m_strFileName);
  BYTE* out = static_cast<BYTE*>(buf);
  UINT done = 0;
  while (done < count) {
    size_t avail = size_t(m_lpBufMax - m_lpBufCur);
    if (avail == 0) {
      try {
        FillBuffer(1);
      } catch (CArchiveException* e) {
        if (e->m_cause != CArchiveException::endOfFile) throw;
        e->Delete();  // a short read is no error
        break;
      }
      continue;
    }
    size_t n = std::min<size_t>(avail, count - done);
    std::memcpy(out + done, m_lpBufCur, n);
    m_lpBufCur += n;
    done += UINT(n);
  }
  return done;
}

void CArchive::Write(const void* buf, UINT count) {
  if (count == 0) return;
  if (IsLoading()) AfxThrowArchiveException(CArchiveException::readOnly, m_strFileName);
  const BYTE* in = static_cast<const BYTE*>(buf);
  if (!m_bDirectBuffer && count >= UINT(m_nBufSize)) {
    if (!m_pFile) AfxThrowArchiveException(CArchiveException::genericException, m_strFileName);
    Flush();
    m_pFile->Write(in, count);
    return;
  }
  UINT done = 0;
  while (done < count) {
    size_t room = m_lpBufCur ? size_t(m_lpBufMax - m_lpBufCur) : 0;
    if (room == 0) {
      if (!m_pFile) AfxThrowArchiveException(CArchiveException::genericException, m_strFileName);
      Flush();
      continue;
    }
    size_t n = std::min<size_t>(room, count - done);
    std::memcpy(m_lpBufCur, in + done, n);
    m_lpBufCur += n;
    done += UINT(n);
  }
}

void CArchive::WriteCount(DWORD count) {
  if (count < 0xFFFF) {
    *this << WORD(count);
  } else {
    *this << WORD(0xFFFF);
    *this << DWORD(count);
  }
}

DWORD CArchive::ReadCount() {
  WORD w;
  *this >> w;
  if (w != 0xFFFF) return w;
  DWORD d;
  *this >> d;
  return d;
}

void CArchive::WriteString(const char* s) {
  if (s) Write(s, UINT(std::strlen(s)));
}

BOOL CArchive::ReadString(CString& s) {
  s.Empty();
  char ch;
  bool any = false;
  while (Read(&ch, 1) == 1) {
    any = true;
    if (ch == '\n') break;
    if (ch != '\r') s += ch;
  }
  return any ? TRUE : FALSE;
}

CArchive& operator<<(CArchive& ar, const CTime& t) { return ar << DWORD(std::uint64_t(t.GetTime())); }

CArchive& operator>>(CArchive& ar, CTime& t) {
  DWORD v;
  ar >> v;
  t = CTime(std::int64_t(LONG(v)));
  return ar;
}

void WriteCStringForm(CArchive& ar, const char* s, size_t len) {
  if (!s) len = 0;
  if (len < 255) {
    ar << BYTE(len);
  } else if (len < 0xFFFE) {
    ar << BYTE(0xFF) << WORD(len);
  } else {
    ar << BYTE(0xFF) << WORD(0xFFFF) << DWORD(len);
  }
  ar.Write(s, UINT(len));
}

CArchive& operator<<(CArchive& ar, const CString& s) {
  WriteCStringForm(ar, s.GetString(), size_t(s.GetLength()));
  return ar;
}

namespace {
// Reads a length prefix; sets wide when the 16-bit marker precedes it.
DWORD ReadStringLength(CArchive& ar, bool& wide) {
  wide = false;
  for (int marker = 0; marker < 2; ++marker) {
    BYTE b;
    ar >> b;
    if (b < 0xFF) return b;
    WORD w;
    ar >> w;
    if (w == 0xFFFE) {
      wide = true;  // the text that follows is 16-bit; its own prefix comes next
      continue;
    }
    if (w < 0xFFFF) return w;
    DWORD d;
    ar >> d;
    return d;
  }
  // Two markers in a row are no string form.
  AfxThrowArchiveException(CArchiveException::badIndex, ar.m_strFileName);
}

// Reads n units in chunks, so that a length larger than the data never allocates
// more than what the archive actually holds.
void ReadChunked(CArchive& ar, std::string& out, size_t bytes) {
  out.clear();
  constexpr size_t kChunk = 1 << 16;
  while (out.size() < bytes) {
    size_t n = std::min(kChunk, bytes - out.size());
    size_t at = out.size();
    out.resize(at + n);
    if (ar.Read(out.data() + at, UINT(n)) != n)
      AfxThrowArchiveException(CArchiveException::endOfFile, ar.m_strFileName);
  }
}
}  // namespace

CArchive& operator>>(CArchive& ar, CString& s) {
  bool wide = false;
  DWORD len = ReadStringLength(ar, wide);
  std::string raw;
  ReadChunked(ar, raw, wide ? size_t(len) * 2 : size_t(len));
  if (wide) {
    std::string narrow(len, '\0');
    for (size_t i = 0; i < len; ++i) {
      unsigned u = unsigned(BYTE(raw[2 * i])) | (unsigned(BYTE(raw[2 * i + 1])) << 8);
      narrow[i] = u < 0x100 ? char(u) : '?';
    }
    raw.swap(narrow);
  }
  s = CString(std::move(raw));
  return ar;
}

}  // namespace zev
