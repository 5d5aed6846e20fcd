// IUBCODE: the one-character value of a called base, one of the fifteen letters of the
// IUB/IUPAC nucleotide ambiguity alphabet or NUL for no code, with its table-driven logic:
// the bases a letter stands for, its complement, heterozygosity, and merging two calls.
#pragma once
#include "zevutil/platform/CString.h"
#include "zevutil/platform/Types.h"

namespace zev {

// One row of the code table.
struct IUBCODEDef {
  char code;       // the upper case letter; NUL in the null row
  int nBases;      // how many of the four bases the letter stands for
  int nMap;        // the bases as bits: A 1, C 2, G 4, T 8
  int nComplement; // row index of the complementary letter
};

// The stored byte is never checked or changed on the way in: any byte may be held,
// lower case letters, '-', blank and NUL included. Letters are looked up without
// regard to case (ASCII only). Nothing here reports or throws an error; unknown
// letters and indices give the "no such code" values listed at each function.
//
// The row index is the base index: rows 0 to 3 are A, C, G, T, so per-base arrays
// can be indexed by it. Row 15 is the null row (NUL, no bases). Searches by letter
// and by map cover rows 0 to 14 only; searches by index, and GetBaseIndex, see row 15
// too, which is why NUL has a base index (15) but no map.
class IUBCODE {
 public:
  // The sixteen rows in base-index order.
  static const IUBCODEDef sm_CodeTable[16];
  static constexpr int kNullRow = 15;
  // The map of a letter or index that is not in the table: every bit but the low four.
  static constexpr int kNoMap = -16;

  IUBCODE() : code('\0') {}
  IUBCODE(char c) : code(c) {}                          // NOLINT: implicit by design
  IUBCODE(const char* p) : code(p ? *p : '\0') {}       // NOLINT: the first character, NUL for null
  IUBCODE(const IUBCODE&) = default;
  IUBCODE& operator=(const IUBCODE&) = default;
  IUBCODE& operator=(char c) { code = c; return *this; }

  // Exact byte comparison: 'a' and 'A' differ although they name the same row.
  bool operator==(const IUBCODE& o) const { return code == o.code; }
  bool operator!=(const IUBCODE& o) const { return code != o.code; }
  bool operator==(char c) const { return code == c; }
  bool operator!=(char c) const { return code != c; }

  operator char() const { return code; }  // NOLINT
  operator char&() { return code; }       // NOLINT
  // The stored byte's address; not a terminated string.
  operator char*() { return &code; }      // NOLINT
  // The base index. Only a const object reaches it: for a non-const one the language
  // prefers the char& conversion even for an int target, so use GetBaseIndex() there.
  operator int() const { return GetBaseIndex(code); }  // NOLINT

  // Bit map of the letter (rows 0-14), or kNoMap.
  static int GetCodeMap(char c);
  int GetCodeMap() const { return GetCodeMap(code); }
  // Bit map of row 0-15 (15 gives 0), or kNoMap for another index.
  static int GetCodeMapForIndex(int index);
  // A copy of the letter's row (rows 0-14), or of the null row.
  static IUBCODEDef GetCodeDef(char c);
  IUBCODEDef GetCodeDef() const { return GetCodeDef(code); }
  // A copy of row 0-15, or of the null row for another index.
  static IUBCODEDef GetCodeDefForIndex(int index);

  // Nonzero for a letter of rows 0-14 in either case; NUL, blank and '-' are not valid.
  static BOOL IsValidCode(char c) { return GetCodeMap(c) >= 0 ? TRUE : FALSE; }
  BOOL IsValidCode() const { return IsValidCode(code); }
  // Nonzero when the letter stands for more than one base (R to N).
  static BOOL IsHetroCode(char c) { return GetCodeDef(c).nBases > 1 ? TRUE : FALSE; }
  BOOL IsHetroCode() const { return IsHetroCode(code); }

  // Row of the letter among all sixteen rows (NUL gives 15), or -1.
  static int GetBaseIndex(char c);
  int GetBaseIndex() const { return GetBaseIndex(code); }
  // Letter of row 0-15 (15 gives NUL), or NUL for another index.
  static char GetBaseChar(int index);
  // Complement row of the letter's row (NUL gives 0), or -1 for a letter not in the table.
  static int GetComplimentIndex(char c);
  int GetComplimentIndex() const { return GetComplimentIndex(code); }
  // Takes an index, not a letter: the letter of that row's complement row (15 gives
  // 'A'), or NUL for an index outside 0-15.
  static char GetComplimentChar(int index);
  // Letter of the first row 0-14 whose map equals the argument, or a blank.
  static char GetBaseCharFromMap(int map);

  // True when both codes are valid and their maps share a base.
  bool Matches(char c) const;
  // True when both codes are valid and every base of the argument is in this code.
  bool Contains(char c) const;
  // Replaces the code by its complement letter (upper case). A byte that is in no row
  // stays as it is; NUL, the null row, becomes 'A'.
  void MakeCompliment();

  // The letter for the union of both maps when both codes are valid, otherwise NUL.
  IUBCODE operator|(const IUBCODE& o) const;
  // The same with the operand as a map: needs a valid code and a map that is not
  // negative. Bits above the low four are not masked, so they give a blank.
  IUBCODE operator|(int map) const;
  IUBCODE& operator|=(const IUBCODE& o) { return *this = *this | o; }
  IUBCODE& operator|=(int map) { return *this = *this | map; }

  // Writes every table letter whose bases overlap the code's, in table order, upper
  // case if upper is nonzero, lower case otherwise, and a terminator. The buffer must
  // hold 16 characters. Returns the buffer (null for a null buffer, untouched); an
  // invalid code gives the empty string.
  static char* GetMatchingString(char c, int upper, char* buffer);
  char* GetMatchingString(int upper, char* buffer) const { return GetMatchingString(code, upper, buffer); }
  static CString GetMatchingString(char c, int upper);
  CString GetMatchingString(int upper) const { return GetMatchingString(code, upper); }

  char code;
};

static_assert(sizeof(IUBCODE) == 1, "an IUBCODE is exactly one byte");

}  // namespace zev
