// lstrcmpA and lstrcmpiA: the old platform's locale-aware string order ("word sort"
// of the default table) over 8-bit code page 1252 text.
//
// The order compares four keys in turn: letters and symbols by primary weight
// (symbols before digits before letters, case-blind, accents on their base letter,
// Æ Œ ß Þ expanded to two letters), then accents, then case (lower before upper),
// then hyphens, apostrophes and control characters, which count only when all else
// is equal. Digits are not numeric ("file10" < "file9"). NUL-ended texts; a null
// pointer sorts before every text and equals another null.
#pragma once
#include "zevutil/platform/Types.h"

namespace zev {

// -1, 0 or +1. Texts that differ only in ignorable characters (the soft hyphen) or
// in an expansion ("Æ" and "AE") compare equal.
int lstrcmpA(const char* a, const char* b);
// As lstrcmpA, with upper and lower case equal.
int lstrcmpiA(const char* a, const char* b);
// A total order: lstrcmpA, and where that says equal, the unsigned bytes decide. Use it
// to sort and to test identity, so that only identical texts compare equal.
int CollateTotalA(const char* a, const char* b);

}  // namespace zev
