// IUBCODE: the code table and the look-ups, set operations and matching strings over it.
#include "zevutil/IUBCODE.h"

namespace zev {

const IUBCODEDef IUBCODE::sm_CodeTable[16] = {
    {'A', 1, 0x1, 3},  {'C', 1, 0x2, 2},  {'G', 1, 0x4, 1},  {'T', 1, 0x8, 0},
    {'R', 2, 0x5, 5},  {'Y', 2, 0xA, 4},  {'K', 2, 0xC, 7},  {'M', 2, 0x3, 6},
    {'S', 2, 0x6, 8},  {'W', 2, 0x9, 9},  {'B', 3, 0xE, 13}, {'D', 3, 0xD, 12},
    {'H', 3, 0xB, 11}, {'V', 3, 0x7, 10}, {'N', 4, 0xF, 14}, {'\0', 0, 0x0, 0},
};

namespace {

// The C library's toupper in the "C" locale: ASCII letters only, any byte accepted.
char UpperAscii(char c) { return (c >= 'a' && c <= 'z') ? char(c - 'a' + 'A') : c; }
char LowerAscii(char c) { return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c; }

bool IsTableIndex(int index) { return index >= 0 && index < 16; }

// First row below `rows` holding the letter (either case), or -1.
int FindLetter(char c, int rows) {
  char u = UpperAscii(c);
  for (int i = 0; i < rows; ++i)
    if (IUBCODE::sm_CodeTable[i].code == u) return i;
  return -1;
}

// Letter and map searches stop before the null row; the base-index search includes it.
constexpr int kLetterRows = 15;
constexpr int kAllRows = 16;

}  // namespace

int IUBCODE::GetCodeMap(char c) {
  int row = FindLetter(c, kLetterRows);
  return row < 0 ? kNoMap : sm_CodeTable[row].nMap;
}

int IUBCODE::GetCodeMapForIndex(int index) {
  return IsTableIndex(index) ? sm_CodeTable[index].nMap : kNoMap;
}

IUBCODEDef IUBCODE::GetCodeDef(char c) {
  int row = FindLetter(c, kLetterRows);
  return sm_CodeTable[row < 0 ? kNullRow : row];
}

IUBCODEDef IUBCODE::GetCodeDefForIndex(int index) {
  return sm_CodeTable[IsTableIndex(index) ? index : kNullRow];
}

int IUBCODE::GetBaseIndex(char c) { return FindLetter(c, kAllRows); }

char IUBCODE::GetBaseChar(int index) { return IsTableIndex(index) ? sm_CodeTable[index].code : '\0'; }

int IUBCODE::GetComplimentIndex(char c) {
  int row = GetBaseIndex(c);
  return row < 0 ? -1 : sm_CodeTable[row].nComplement;
}

char IUBCODE::GetComplimentChar(int index) {
  return IsTableIndex(index) ? sm_CodeTable[sm_CodeTable[index].nComplement].code : '\0';
}

char IUBCODE::GetBaseCharFromMap(int map) {
  // Kept: the null row is not searched, so a map of 0 gives a blank rather than NUL.
  for (int i = 0; i < kLetterRows; ++i)
    if (sm_CodeTable[i].nMap == map) return sm_CodeTable[i].code;
  return ' ';
}

bool IUBCODE::Matches(char c) const {
  int other = GetCodeMap(c);
  int mine = GetCodeMap(code);
  if (other < 0 || mine < 0) return false;
  return (other & mine) != 0;
}

bool IUBCODE::Contains(char c) const {
  int other = GetCodeMap(c);
  int mine = GetCodeMap(code);
  if (other < 0 || mine < 0) return false;
  return (other & mine) == other;
}

void IUBCODE::MakeCompliment() {
  // Kept: NUL is found as the null row here, so it turns into 'A' (its complement row 0).
  int row = GetBaseIndex(code);
  if (row >= 0) code = sm_CodeTable[sm_CodeTable[row].nComplement].code;
}

IUBCODE IUBCODE::operator|(const IUBCODE& o) const {
  if (!IsValidCode(code) || !IsValidCode(o.code)) return IUBCODE('\0');
  return IUBCODE(GetBaseCharFromMap(GetCodeMap(code) | GetCodeMap(o.code)));
}

IUBCODE IUBCODE::operator|(int map) const {
  // Kept: the operand is not limited to four bits, so any higher bit yields a blank.
  if (!IsValidCode(code) || map < 0) return IUBCODE('\0');
  return IUBCODE(GetBaseCharFromMap(GetCodeMap(code) | map));
}

char* IUBCODE::GetMatchingString(char c, int upper, char* buffer) {
  if (buffer == nullptr) return nullptr;
  buffer[0] = '\0';
  int map = GetCodeMap(c);
  if (map < 0) return buffer;
  int n = 0;
  for (int i = 0; i < kLetterRows; ++i) {
    if ((sm_CodeTable[i].nMap & map) == 0) continue;
    char letter = sm_CodeTable[i].code;
    buffer[n++] = upper ? letter : LowerAscii(letter);
  }
  buffer[n] = '\0';
  return buffer;
}

CString IUBCODE::GetMatchingString(char c, int upper) {
  char buffer[16];
  return CString(GetMatchingString(c, upper, buffer));
}

}  // namespace zev
