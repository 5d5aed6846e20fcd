// IUB codes over every byte: the expected table is derived here from the bases each
// letter stands for (and base pairing for complements), not copied from the library.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

#include "zevutil/IUBCODE.h"

using namespace zev;

namespace {

const char kLetters[] = "ACGTRYKMSWBDHVN";  // table order
const char* const kBases[] = {"A", "C", "G", "T", "AG", "CT", "GT", "AC", "CG", "AT", "CGT", "AGT", "ACT", "ACG", "ACGT"};

int MapOf(const std::string& bases) {
  int m = 0;
  for (char b : bases) m |= b == 'A' ? 1 : b == 'C' ? 2 : b == 'G' ? 4 : 8;
  return m;
}

// Row of the letter with exactly this map, or -1.
int RowOfMap(int map) {
  for (int i = 0; i < 15; ++i)
    if (MapOf(kBases[i]) == map) return i;
  return -1;
}

// The pairing partner of each base: A-T, C-G.
int ComplementMap(int map) {
  return ((map & 1) ? 8 : 0) | ((map & 8) ? 1 : 0) | ((map & 2) ? 4 : 0) | ((map & 4) ? 2 : 0);
}

// Table row of a byte by letter (either case, ASCII only), -1 if none.
int LetterRow(int byte) {
  int u = (byte >= 'a' && byte <= 'z') ? byte - 32 : byte;
  const char* p = u ? std::strchr(kLetters, u) : nullptr;
  return p ? int(p - kLetters) : -1;
}

std::string Show(int byte) { return testing::PrintToString(static_cast<unsigned char>(byte)); }

}  // namespace

// Every byte through every letter look-up: case folding is ASCII only, and the null
// row is seen by the index searches but not by the letter ones.
TEST(IUBCODE, LetterLookupsOverAllBytes) {
  for (int byte = 0; byte < 256; ++byte) {
    SCOPED_TRACE(Show(byte));
    const char c = char(byte);
    const int row = LetterRow(byte);
    const int map = row >= 0 ? MapOf(kBases[row]) : -16;
    const int index = row >= 0 ? row : (byte == 0 ? 15 : -1);
    EXPECT_EQ(IUBCODE(c).GetCodeMap(), map);
    EXPECT_EQ(IUBCODE::IsValidCode(c), row >= 0 ? 1 : 0);
    EXPECT_EQ(IUBCODE::IsHetroCode(c), row >= 4 ? 1 : 0);
    EXPECT_EQ(IUBCODE::GetBaseIndex(c), index);
    const IUBCODE constCode(c);
    EXPECT_EQ(int(constCode), index);
    // NUL too gets the null row here.
    const IUBCODEDef def = IUBCODE::GetCodeDef(c);
    EXPECT_EQ(def.code, row >= 0 ? kLetters[row] : '\0');
    EXPECT_EQ(def.nMap, row >= 0 ? map : 0);
    EXPECT_EQ(def.nBases, row >= 0 ? int(std::strlen(kBases[row])) : 0);

    const int complementRow = index < 0 ? -1 : index == 15 ? 0 : RowOfMap(ComplementMap(map));
    EXPECT_EQ(IUBCODE::GetComplimentIndex(c), complementRow);
    EXPECT_EQ(def.nComplement, row >= 0 ? complementRow : 0);
    IUBCODE once(c);
    once.MakeCompliment();
    EXPECT_EQ(once.code, complementRow < 0 ? c : kLetters[complementRow]);
    // Twice: upper case letters come back, lower case ones come back upper case, NUL
    // does not (A, then T), and bytes of no row are never touched.
    once.MakeCompliment();
    EXPECT_EQ(once.code, row >= 0 ? kLetters[row] : byte == 0 ? 'T' : c);
  }
}

TEST(IUBCODE, IndexAndMapLookups) {
  for (int index : {INT_MIN, -16, -1, 0, 1, 2, 3, 4, 9, 14, 15, 16, 255, INT_MAX}) {
    SCOPED_TRACE(index);
    const bool inTable = index >= 0 && index < 16;
    const char letter = index >= 0 && index < 15 ? kLetters[index] : '\0';
    const int map = index >= 0 && index < 15 ? MapOf(kBases[index]) : index == 15 ? 0 : -16;
    EXPECT_EQ(IUBCODE::GetCodeMapForIndex(index), map);
    EXPECT_EQ(IUBCODE::GetBaseChar(index), letter);
    EXPECT_EQ(IUBCODE::GetCodeDefForIndex(index).code, letter);
    EXPECT_EQ(IUBCODE::GetCodeDefForIndex(index).nMap, inTable ? map : 0);
    char complement = !inTable ? '\0' : index == 15 ? 'A' : kLetters[RowOfMap(ComplementMap(map))];
    EXPECT_EQ(IUBCODE::GetComplimentChar(index), complement);
  }
  // By map, only rows 0-14 are searched: 0 and anything above 15 give a blank.
  for (int map = -20; map <= 40; ++map) {
    int row = map >= 1 && map <= 15 ? RowOfMap(map) : -1;
    EXPECT_EQ(IUBCODE::GetBaseCharFromMap(map), row >= 0 ? kLetters[row] : ' ') << map;
  }
}

// All byte pairs through the set operations and the or-operators, and every byte or'ed
// with maps from -17 to 40 (bits above the low four give a blank).
TEST(IUBCODE, SetOperationsAndMerging) {
  for (int a = 0; a < 256; ++a) {
    const int ra = LetterRow(a);
    const IUBCODE ca{char(a)};
    for (int b = 0; b < 256; ++b) {
      const int rb = LetterRow(b);
      const IUBCODE cb{char(b)};
      const bool valid = ra >= 0 && rb >= 0;
      const int ma = valid ? MapOf(kBases[ra]) : 0, mb = valid ? MapOf(kBases[rb]) : 0;
      const char merged = valid ? kLetters[RowOfMap(ma | mb)] : '\0';
      IUBCODE inPlace = ca;
      inPlace |= cb;
      if (ca.Matches(char(b)) != (valid && (ma & mb) != 0) || ca.Contains(char(b)) != (valid && (ma & mb) == mb) ||
          (ca | cb).code != merged || inPlace.code != merged)
        FAIL() << Show(a) << " with " << Show(b);
    }
    for (int map = -17; map <= 40; ++map) {
      const int m = ra >= 0 && map >= 0 ? MapOf(kBases[ra]) | map : -1;
      const char expect = m < 0 ? '\0' : m <= 15 ? kLetters[RowOfMap(m)] : ' ';
      IUBCODE inPlace = ca;
      inPlace |= map;
      if ((ca | map).code != expect || inPlace.code != expect) FAIL() << Show(a) << " | " << map;
    }
  }
  EXPECT_TRUE(IUBCODE('R').Matches('M'));
  EXPECT_FALSE(IUBCODE('R').Contains('M'));
  EXPECT_EQ((IUBCODE('R') | IUBCODE('c')).code, 'V');
}

TEST(IUBCODE, MatchingStrings) {
  for (int byte = 0; byte < 256; ++byte) {
    SCOPED_TRACE(Show(byte));
    const int row = LetterRow(byte);
    std::string upper, lower;
    if (row >= 0)
      for (int i = 0; i < 15; ++i)
        if (MapOf(kBases[i]) & MapOf(kBases[row])) {
          upper += kLetters[i];
          lower += char(kLetters[i] + 32);
        }
    char buffer[16];
    std::memset(buffer, 'x', sizeof buffer);
    EXPECT_EQ(IUBCODE::GetMatchingString(char(byte), 1, buffer), buffer);
    EXPECT_EQ(std::string(buffer), upper);
    EXPECT_EQ(IUBCODE(char(byte)).GetMatchingString(0), lower.c_str());
  }
  EXPECT_EQ(IUBCODE::GetMatchingString('r', 1), "AGRKMSWBDHVN");
  EXPECT_EQ(IUBCODE::GetMatchingString('A', 1, nullptr), nullptr);
}

TEST(IUBCODE, ValueSemantics) {
  EXPECT_EQ(IUBCODE().code, '\0');
  EXPECT_EQ(IUBCODE(static_cast<const char*>(nullptr)).code, '\0');
  EXPECT_EQ(IUBCODE("GAT").code, 'G');
  EXPECT_TRUE(IUBCODE('a') != IUBCODE('A'));  // exact bytes, although both are row 0
  IUBCODE code('c');
  char& ref = code;
  ref = 'K';
  EXPECT_EQ(static_cast<char*>(code), &code.code);
  EXPECT_EQ(code.code, 'K');
}
