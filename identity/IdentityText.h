// Text helpers shared by the identifier classes: fixed fields and leading numbers.
#pragma once
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "zevutil/platform/Types.h"

namespace zev::identity {

// Copies text into a fixed field of size bytes: at most size - 1 characters and a
// NUL. Null empties the field. The source may overlap the field.
inline void CopyText(char* field, std::size_t size, const char* text) {
  if (!text) {
    field[0] = '\0';
    return;
  }
  std::size_t n = strnlen(text, size - 1);
  std::memmove(field, text, n);
  field[n] = '\0';
  field[size - 1] = '\0';
}

template <std::size_t N>
void CopyText(char (&field)[N], const char* text) {
  CopyText(field, N, text);
}

// The leading decimal number of a text as the old 32-bit runtime read it: blanks, a
// sign and digits, clamped to the 32-bit range; 0 when there is none. end (if given)
// points behind the number, or at the text itself when there is none.
inline LONG LeadingNumber(const char* text, const char** end = nullptr) {
  char* stop = nullptr;
  long long v = std::strtoll(text, &stop, 10);
  if (end) *end = stop;
  if (v > INT32_MAX) return INT32_MAX;
  if (v < INT32_MIN) return INT32_MIN;
  return LONG(v);
}

}  // namespace zev::identity
