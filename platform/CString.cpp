// CString and the printf translation of the old platform's format language.
#include "zevutil/platform/CString.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>

namespace zev {

namespace {
inline unsigned char uc(char c) { return static_cast<unsigned char>(c); }
inline char asciiUpper(char c) { return (c >= 'a' && c <= 'z') ? char(c - 32) : c; }
inline char asciiLower(char c) { return (c >= 'A' && c <= 'Z') ? char(c + 32) : c; }
inline bool isSpace(char c) { return std::isspace(uc(c)) != 0; }
}  // namespace

int CString::Compare(const char* s) const {
  int r = std::strcmp(m_str.c_str(), s ? s : "");
  return r < 0 ? -1 : (r > 0 ? 1 : 0);
}

int CString::CompareNoCase(const char* s) const {
  const char* a = m_str.c_str();
  const char* b = s ? s : "";
  for (;; ++a, ++b) {
    int ca = uc(asciiLower(*a)), cb = uc(asciiLower(*b));
    if (ca != cb) return ca < cb ? -1 : 1;
    if (ca == 0) return 0;
  }
}

CString CString::Mid(int first) const { return Mid(first, GetLength() - std::max(first, 0)); }

CString CString::Mid(int first, int count) const {
  if (first < 0) first = 0;
  if (count < 0) count = 0;
  if (first >= GetLength()) return CString();
  count = std::min(count, GetLength() - first);
  return CString(m_str.substr(size_t(first), size_t(count)));
}

CString CString::Left(int count) const {
  if (count <= 0) return CString();
  return CString(m_str.substr(0, std::min<size_t>(size_t(count), m_str.size())));
}

CString CString::Right(int count) const {
  if (count <= 0) return CString();
  size_t n = std::min<size_t>(size_t(count), m_str.size());
  return CString(m_str.substr(m_str.size() - n));
}

CString CString::SpanIncluding(const char* set) const {
  size_t n = std::strspn(m_str.c_str(), set ? set : "");
  return CString(m_str.substr(0, n));
}

CString CString::SpanExcluding(const char* set) const {
  size_t n = std::strcspn(m_str.c_str(), set ? set : "");
  return CString(m_str.substr(0, n));
}

CString& CString::MakeUpper() { for (char& c : m_str) c = asciiUpper(c); return *this; }
CString& CString::MakeLower() { for (char& c : m_str) c = asciiLower(c); return *this; }
CString& CString::MakeReverse() { std::reverse(m_str.begin(), m_str.end()); return *this; }

CString& CString::TrimLeft() {
  size_t i = 0;
  while (i < m_str.size() && isSpace(m_str[i])) ++i;
  m_str.erase(0, i);
  return *this;
}
CString& CString::TrimRight() {
  size_t n = m_str.size();
  while (n > 0 && isSpace(m_str[n - 1])) --n;
  m_str.resize(n);
  return *this;
}
CString& CString::TrimLeft(char ch) {
  size_t i = 0;
  while (i < m_str.size() && m_str[i] == ch) ++i;
  m_str.erase(0, i);
  return *this;
}
CString& CString::TrimRight(char ch) {
  size_t n = m_str.size();
  while (n > 0 && m_str[n - 1] == ch) --n;
  m_str.resize(n);
  return *this;
}
CString& CString::TrimLeft(const char* set) {
  if (!set) return *this;
  size_t i = 0;
  while (i < m_str.size() && m_str[i] != '\0' && std::strchr(set, m_str[i])) ++i;
  m_str.erase(0, i);
  return *this;
}
CString& CString::TrimRight(const char* set) {
  if (!set) return *this;
  size_t n = m_str.size();
  while (n > 0 && m_str[n - 1] != '\0' && std::strchr(set, m_str[n - 1])) --n;
  m_str.resize(n);
  return *this;
}

int CString::Replace(char oldCh, char newCh) {
  int n = 0;
  if (oldCh == newCh) return 0;
  for (char& c : m_str)
    if (c == oldCh) { c = newCh; ++n; }
  return n;
}

int CString::Replace(const char* oldText, const char* newText) {
  if (!oldText || !*oldText) return 0;
  std::string from(oldText), to(newText ? newText : "");
  std::string out;
  int n = 0;
  size_t pos = 0;
  for (;;) {
    size_t hit = m_str.find(from, pos);
    if (hit == std::string::npos) break;
    out.append(m_str, pos, hit - pos);
    out += to;
    pos = hit + from.size();
    ++n;
  }
  if (n) {
    out.append(m_str, pos, std::string::npos);
    m_str.swap(out);
  }
  return n;
}

int CString::Remove(char ch) {
  size_t before = m_str.size();
  m_str.erase(std::remove(m_str.begin(), m_str.end(), ch), m_str.end());
  return int(before - m_str.size());
}

int CString::Insert(int index, char ch) {
  index = std::clamp(index, 0, GetLength());
  m_str.insert(size_t(index), 1, ch);
  return GetLength();
}

int CString::Insert(int index, const char* s) {
  index = std::clamp(index, 0, GetLength());
  if (s) m_str.insert(size_t(index), s);
  return GetLength();
}

int CString::Delete(int index, int count) {
  if (index < 0) index = 0;
  if (count > 0 && index < GetLength()) m_str.erase(size_t(index), size_t(count));
  return GetLength();
}

int CString::Find(char ch, int start) const {
  if (start < 0 || size_t(start) >= m_str.size()) return -1;
  // The framework searches the NUL-ended text.
  const char* base = m_str.c_str();
  const char* p = std::strchr(base + start, ch);
  return (p && ch != '\0') ? int(p - base) : -1;
}

int CString::Find(const char* s, int start) const {
  if (!s || start < 0 || size_t(start) > m_str.size()) return -1;
  const char* base = m_str.c_str();
  const char* p = std::strstr(base + start, s);
  return p ? int(p - base) : -1;
}

int CString::ReverseFind(char ch) const {
  const char* base = m_str.c_str();
  const char* p = std::strrchr(base, ch);
  return (p && ch != '\0') ? int(p - base) : -1;
}

int CString::FindOneOf(const char* set) const {
  if (!set) return -1;
  const char* base = m_str.c_str();
  const char* p = std::strpbrk(base, set);
  return p ? int(p - base) : -1;
}

char* CString::GetBuffer(int minLength) {
  if (minLength > GetLength()) m_str.resize(size_t(minLength));
  return m_str.data();
}

char* CString::GetBufferSetLength(int length) {
  m_str.resize(size_t(std::max(length, 0)));
  return m_str.data();
}

void CString::ReleaseBuffer(int newLength) {
  if (newLength < 0) newLength = int(std::strlen(m_str.c_str()));
  m_str.resize(size_t(std::min(newLength, GetLength())));
}

// Rewrites one conversion of the old platform's printf format into the host's:
// 'l' before an integer conversion means 32-bit, I64 means 64-bit, I means pointer-sized.
static std::string TranslateFormat(const char* fmt) {
  std::string out;
  out.reserve(std::strlen(fmt) + 8);
  const char* p = fmt;
  while (*p) {
    if (*p != '%') { out += *p++; continue; }
    out += *p++;
    if (*p == '%') { out += *p++; continue; }
    // flags, width, precision
    while (*p && std::strchr("-+ #0", *p)) out += *p++;
    while (*p && (std::isdigit(uc(*p)) || *p == '*')) out += *p++;
    if (*p == '.') {
      out += *p++;
      while (*p && (std::isdigit(uc(*p)) || *p == '*')) out += *p++;
    }
    // length modifiers
    if (p[0] == 'I' && p[1] == '6' && p[2] == '4') { out += "ll"; p += 3; }
    else if (p[0] == 'I' && p[1] == '3' && p[2] == '2') { p += 3; }
    else if (p[0] == 'I') { out += 'z'; ++p; }
    else if (p[0] == 'l' && p[1] == 'l') { out += "ll"; p += 2; }
    else if (p[0] == 'l') {
      ++p;
      // %ls and %lc would be wide; the old platform's 'l' on integers is 32-bit
      if (*p && std::strchr("diouxX", *p)) { /* int-sized */ }
      else if (*p == 'f' || *p == 'e' || *p == 'g' || *p == 'E' || *p == 'G') { /* same as double */ }
      else out += 'l';
    }
    else if (p[0] == 'h' && p[1] == 'h') { out += "hh"; p += 2; }
    else if (p[0] == 'h') { out += 'h'; ++p; }
    else if (p[0] == 'L') { out += 'L'; ++p; }
    if (*p) out += *p++;
  }
  return out;
}

std::string FormatWin(const char* fmt, va_list args) {
  if (!fmt) return std::string();
  std::string f = TranslateFormat(fmt);
  va_list copy;
  va_copy(copy, args);
  char small[512];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  int n = std::vsnprintf(small, sizeof small, f.c_str(), copy);
  va_end(copy);
  if (n < 0) return std::string();
  if (size_t(n) < sizeof small) return std::string(small, size_t(n));
  std::string big(size_t(n) + 1, '\0');
  va_copy(copy, args);
  std::vsnprintf(big.data(), big.size(), f.c_str(), copy);
#pragma GCC diagnostic pop
  va_end(copy);
  big.resize(size_t(n));
  return big;
}

std::string FormatWinF(const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  std::string s = FormatWin(fmt, ap);
  va_end(ap);
  return s;
}

int vsnprintf_win(char* buf, size_t size, const char* fmt, va_list args) {
  std::string f = TranslateFormat(fmt ? fmt : "");
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  return std::vsnprintf(buf, size, f.c_str(), args);
#pragma GCC diagnostic pop
}

int snprintf_win(char* buf, size_t size, const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  int n = vsnprintf_win(buf, size, fmt, ap);
  va_end(ap);
  return n;
}

void CString::FormatV(const char* fmt, va_list args) { m_str = FormatWin(fmt, args); }

void CString::Format(const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  m_str = FormatWin(fmt, ap);
  va_end(ap);
}

void CString::AppendFormat(const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  m_str += FormatWin(fmt, ap);
  va_end(ap);
}

}  // namespace zev
