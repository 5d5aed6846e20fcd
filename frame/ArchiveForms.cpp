// Counted text, wide text and the two bounded string readers.
#include <algorithm>
#include <cstring>
#include <vector>

#include "zevutil/CMemArchive.h"
#include "zevutil/VqeReportStream.h"

namespace zev {

namespace {
// Long texts are read in pieces of this size, so that a stored length never makes
// us allocate more than what the archive actually delivers.
constexpr size_t kReadChunk = 64 * 1024;

void ReadExactly(CArchive& ar, void* out, size_t bytes) {
  if (bytes && ar.Read(out, UINT(bytes)) != bytes)
    AfxThrowArchiveException(CArchiveException::endOfFile, ar.m_strFileName);
}
}  // namespace

CArchive& operator<<(CArchive& ar, const char* text) {
  if (!text) AfxThrowInvalidArgException();
  DWORD n = DWORD(std::strlen(text));
  ar << n;
  ar.Write(text, n);
  return ar;
}

CArchive& operator>>(CArchive& ar, BndChars& target) {
  DWORD n;
  ar >> n;
  // Only what fits in the target is kept; the rest is read and dropped, so the whole
  // text is consumed. A target with no room (null or capacity below 1) takes nothing.
  const size_t cap = (target.m_pszBuffer && target.m_nCapacity > 0) ? size_t(target.m_nCapacity) : 0;
  const size_t keep = std::min<size_t>(n, cap);
  std::vector<char> text(keep + 1, '\0');
  ReadExactly(ar, text.data(), keep);
  char skip[1024];
  for (size_t left = size_t(n) - keep; left > 0;) {
    size_t k = std::min(left, sizeof skip);
    ReadExactly(ar, skip, k);
    left -= k;
  }
  if (cap) {
    std::strncpy(target.m_pszBuffer, text.data(), cap);
    target.m_pszBuffer[cap - 1] = '\0';
  }
  return ar;
}

CArchive& operator<<(CArchive& ar, const _bstr_t& text) {
  DWORD n = text.length();
  ar << n;
  const OLECHAR* units = text.GetBSTR();
  for (DWORD i = 0; i < n; ++i) ar << WORD(units[i]);
  return ar;
}

CArchive& operator>>(CArchive& ar, _bstr_t& text) {
  DWORD n;
  ar >> n;
  std::vector<OLECHAR> units;
  for (size_t done = 0; done < n;) {
    size_t k = std::min<size_t>(kReadChunk, size_t(n) - done);
    units.resize(done + k);
    ReadExactly(ar, units.data() + done, k * sizeof(OLECHAR));
    done += k;
  }
  BSTR s = SysAllocStringLen(units.empty() ? nullptr : units.data(), n);
  if (!s) AfxThrowMemoryException();
  text = _bstr_t(s, false);
  return ar;
}

CArchive& CSAR_extract::Extract(CArchive& ar) {
  CString text;
  ar >> text;
  if (m_pszBuffer && m_nSize > 0) m_pszBuffer[0] = '\0';
  if (unsigned(text.GetLength()) >= m_nSize) VqErr << "Bad string length in CSAR_extract(CArchive &)" << VqeThrow;
  // Reached with a text that does not fit only where VqeThrow does not throw (a thread
  // with no report block): the copy is then cut to the buffer instead of overrunning it.
  if (m_pszBuffer && m_nSize > 0) {
    size_t n = std::min<size_t>(std::strlen(text.GetString()), m_nSize - 1);
    std::memcpy(m_pszBuffer, text.GetString(), n);
    m_pszBuffer[n] = '\0';
  }
  return ar;
}

}  // namespace zev
