// CString: the framework's 8-bit string value. Byte-transparent (no encoding is
// assumed), never throws on any byte, comparisons are ordinal as in the framework.
#pragma once
#include <cstdarg>
#include <string>
#include <string_view>

#include "zevutil/platform/Types.h"

namespace zev {

class CString {
 public:
  CString() = default;
  CString(const CString&) = default;
  CString(CString&&) noexcept = default;
  CString(const char* s) : m_str(s ? s : "") {}                        // NOLINT: implicit as in the framework
  CString(const char* s, int n) : m_str(s ? std::string(s, n > 0 ? size_t(n) : 0) : std::string()) {}
  CString(char ch, int repeat = 1) : m_str(repeat > 0 ? size_t(repeat) : 0, ch) {}
  CString(const unsigned char* s) : CString(reinterpret_cast<const char*>(s)) {}
  explicit CString(std::string s) : m_str(std::move(s)) {}
  explicit CString(std::string_view s) : m_str(s) {}

  CString& operator=(const CString&) = default;
  CString& operator=(CString&&) noexcept = default;
  CString& operator=(const char* s) { m_str = s ? s : ""; return *this; }
  CString& operator=(char ch) { m_str.assign(1, ch); return *this; }

  // Length up to the first NUL is what the framework reports after ReleaseBuffer;
  // the stored length is kept exactly otherwise.
  int GetLength() const { return int(m_str.size()); }
  bool IsEmpty() const { return m_str.empty(); }
  void Empty() { m_str.clear(); }
  char GetAt(int i) const { return (i >= 0 && size_t(i) < m_str.size()) ? m_str[size_t(i)] : '\0'; }
  void SetAt(int i, char ch) { if (i >= 0 && size_t(i) < m_str.size()) m_str[size_t(i)] = ch; }
  char operator[](int i) const { return GetAt(i); }
  operator const char*() const { return m_str.c_str(); }  // NOLINT: implicit as in the framework
  const char* GetString() const { return m_str.c_str(); }
  const std::string& str() const { return m_str; }
  std::string_view view() const { return m_str; }

  CString& operator+=(const CString& s) { m_str += s.m_str; return *this; }
  CString& operator+=(const char* s) { if (s) m_str += s; return *this; }
  CString& operator+=(char ch) { m_str += ch; return *this; }
  void Append(const char* s, int n) { if (s && n > 0) m_str.append(s, size_t(n)); }
  void AppendChar(char ch) { m_str += ch; }

  friend CString operator+(const CString& a, const CString& b) { return CString(a.m_str + b.m_str); }
  friend CString operator+(const CString& a, const char* b) { CString r(a); r += b; return r; }
  friend CString operator+(const char* a, const CString& b) { CString r(a); r += b; return r; }
  friend CString operator+(const CString& a, char b) { CString r(a); r += b; return r; }
  friend CString operator+(char a, const CString& b) { CString r(a); r += b; return r; }

  // Ordinal byte comparison (strcmp on unsigned bytes).
  int Compare(const char* s) const;
  // ASCII-only case folding, as _stricmp in the "C" locale.
  int CompareNoCase(const char* s) const;
  int Collate(const char* s) const { return Compare(s); }
  int CollateNoCase(const char* s) const { return CompareNoCase(s); }

  friend bool operator==(const CString& a, const CString& b) { return a.m_str == b.m_str; }
  friend bool operator==(const CString& a, const char* b) { return a.Compare(b) == 0; }
  friend bool operator==(const char* a, const CString& b) { return b.Compare(a) == 0; }
  friend bool operator!=(const CString& a, const CString& b) { return !(a == b); }
  friend bool operator!=(const CString& a, const char* b) { return !(a == b); }
  friend bool operator!=(const char* a, const CString& b) { return !(b == a); }
  friend bool operator<(const CString& a, const CString& b) { return a.Compare(b) < 0; }
  friend bool operator<(const CString& a, const char* b) { return a.Compare(b) < 0; }
  friend bool operator>(const CString& a, const CString& b) { return a.Compare(b) > 0; }
  friend bool operator>(const CString& a, const char* b) { return a.Compare(b) > 0; }
  friend bool operator<=(const CString& a, const CString& b) { return a.Compare(b) <= 0; }
  friend bool operator>=(const CString& a, const CString& b) { return a.Compare(b) >= 0; }

  CString Mid(int first) const;
  CString Mid(int first, int count) const;
  CString Left(int count) const;
  CString Right(int count) const;
  CString SpanIncluding(const char* set) const;
  CString SpanExcluding(const char* set) const;

  CString& MakeUpper();  // ASCII a-z only, as the CRT "C" locale does
  CString& MakeLower();
  CString& MakeReverse();

  CString& TrimLeft();   // isspace characters
  CString& TrimRight();
  CString& Trim() { TrimRight(); return TrimLeft(); }
  CString& TrimLeft(char ch);
  CString& TrimRight(char ch);
  CString& TrimLeft(const char* set);
  CString& TrimRight(const char* set);
  CString& Trim(const char* set) { TrimRight(set); return TrimLeft(set); }

  int Replace(char oldCh, char newCh);
  int Replace(const char* oldText, const char* newText);
  int Remove(char ch);
  int Insert(int index, char ch);
  int Insert(int index, const char* s);
  int Delete(int index, int count = 1);

  int Find(char ch, int start = 0) const;
  int Find(const char* s, int start = 0) const;
  int ReverseFind(char ch) const;
  int FindOneOf(const char* set) const;

  // printf-style formatting with the old platform's rules: %ld/%lu/%lx take 32-bit
  // values, %I64d and kin take 64-bit values, %Id pointer-sized ones.
  void Format(const char* fmt, ...);
  void FormatV(const char* fmt, va_list args);
  void AppendFormat(const char* fmt, ...);

  // Direct buffer access: GetBuffer gives at least minLength writable bytes plus a
  // NUL; ReleaseBuffer(-1) takes the length up to the first NUL.
  char* GetBuffer(int minLength = 0);
  char* GetBufferSetLength(int length);
  void ReleaseBuffer(int newLength = -1);
  void FreeExtra() { m_str.shrink_to_fit(); }
  void Preallocate(int n) { if (n > 0) m_str.reserve(size_t(n)); }

 private:
  std::string m_str;
};

// Translates a format of the old platform's printf into the host's and formats it.
std::string FormatWin(const char* fmt, va_list args);
std::string FormatWinF(const char* fmt, ...);
// vsnprintf with the same translation; returns what vsnprintf returns.
int vsnprintf_win(char* buf, size_t size, const char* fmt, va_list args);
int snprintf_win(char* buf, size_t size, const char* fmt, ...);

}  // namespace zev
