// Delimited-field quoting and parsing, and the CString trim helpers.
#include "zevutil/SafeString.h"

#include <cstring>
#include <string>

namespace zev {

CString SafeOutputString(const CString& text, const char* special) {
  const char* s = text.GetString();
  const int len = text.GetLength();
  bool needsQuotes = false;
  for (int i = 0; i < len && !needsQuotes; ++i) {
    char c = s[i];
    needsQuotes = c == '"' || c == '\r' || c == '\n' || (special && c && std::strchr(special, c));
  }
  if (!needsQuotes) return text;
  std::string out = "\"";
  for (int i = 0; i < len; ++i) {
    char c = s[i];
    if (c == '\n') out += ' ';
    else if (c == '"') out += "\"\"";
    else if (c != '\r') out += c;
  }
  out += '"';
  return CString(std::move(out));
}

namespace {
bool IsDelimiter(char c, const char* extra) {
  return c == '\t' || c == '\r' || c == '\n' || (c && extra && std::strchr(extra, c));
}
}  // namespace

char* ParseSafeString(char*& cursor, const char* delimiters) {
  if (!cursor || !*cursor) return cursor;
  char* p = cursor;
  if (IsDelimiter(*p, delimiters)) {
    // An empty field: skip its delimiter. Kept: a CR takes the character after it
    // along, whatever it is, as callers reading CRLF lines expect; the terminator is
    // never stepped over, though a CR may end the buffer.
    char* start = p;
    if (*p == '\r' && p[1]) ++p;
    ++p;
    *start = '\0';
    cursor = p;
    return start;
  }
  while (*p == ' ') ++p;
  char* field = p;
  bool quoted = *p == '"';
  if (quoted) {
    char* dst = p;
    char* src = p + 1;
    while (*src && *src != '\r' && *src != '\n') {
      if (*src == '"') {
        if (src[1] != '"') break;  // the closing quote
        ++src;                     // "" stands for one quote
      }
      *dst++ = *src++;
    }
    *dst = '\0';
    p = src;
  }
  char* delim = p;
  while (*delim && !IsDelimiter(*delim, delimiters)) ++delim;
  if (!*delim) {
    cursor = delim;  // no delimiter: the field runs to the end, trailing blanks kept
    return field;
  }
  char* delimEnd = delim;
  if (*delim == '\r' && delim[1]) delimEnd = delim + 1;  // kept: CR and any next character
  if (!quoted) {
    char* end = delim;
    while (end > field && end[-1] == ' ') --end;
    *end = '\0';
  }
  cursor = delimEnd + 1;
  return field;
}

void CSTrimLeftChar(CString& text, char c) {
  int n = 0;
  while (n < text.GetLength() && text[n] == c) ++n;
  if (n) text = text.Mid(n);
}

void CSTrimLeftSpaces(CString& text) { CSTrimLeftChar(text, ' '); }
void CSTrimLeftTabs(CString& text) { CSTrimLeftChar(text, '\t'); }

void CSTrimRightSpacesAndTabs(CString& text) {
  int n = text.GetLength();
  while (n > 0 && (text[n - 1] == ' ' || text[n - 1] == '\t')) --n;
  if (n != text.GetLength()) text = text.Left(n);
}

void CSTrimLeftAndRight(CString& text) {
  CSTrimRightSpacesAndTabs(text);
  // Kept: only blanks go at the left; callers rely on a leading tab surviving.
  CSTrimLeftSpaces(text);
}

}  // namespace zev
