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

TEST(IUBCODE, TableMatchesTheBasesAndTheirPairing) {
  for (int i = 0; i < 15; ++i) {
    SCOPED_TRACE(kLetters[i]);
    const IUBCODEDef& row = IUBCODE::sm_CodeTable[i];
    EXPECT_EQ(row.code, kLetters[i]);
    EXPECT_EQ(row.nMap, MapOf(kBases[i]));
    EXPECT_EQ(row.nBases, int(std::strlen(kBases[i])));
    EXPECT_EQ(row.nComplement, RowOfMap(ComplementMap(row.nMap)));
  }
  const IUBCODEDef& null = IUBCODE::sm_CodeTable[15];
  EXPECT_EQ(null.code, '\0');
  EXPECT_EQ(null.nBases, 0);
  EXPECT_EQ(null.nMap, 0);
  EXPECT_EQ(null.nComplement, 0);
}

// Every byte through every letter look-up: case folding is ASCII only, and the null
// row is seen by the index searches but not by the letter ones.
TEST(IUBCODE, LetterLookupsOverAllBytes) {
  for (int byte = 0; byte < 256; ++byte) {
    SCOPED_TRACE(Show(byte));
    const char c = char(byte);
    const int row = LetterRow(byte);
    const int expectMap = row >= 0 ? MapOf(kBases[row]) : -16;
    const int expectIndex = row >= 0 ? row : (byte == 0 ? 15 : -1);

    EXPECT_EQ(IUBCODE::GetCodeMap(c), expectMap);
    EXPECT_EQ(IUBCODE(c).GetCodeMap(), expectMap);
    EXPECT_EQ(IUBCODE::IsValidCode(c), row >= 0 ? 1 : 0);
    EXPECT_EQ(IUBCODE::IsHetroCode(c), (row >= 4) ? 1 : 0);
    EXPECT_EQ(IUBCODE::GetBaseIndex(c), expectIndex);
    const IUBCODE constCode(c);
    EXPECT_EQ(int(constCode), expectIndex);

    IUBCODEDef def = IUBCODE::GetCodeDef(c);
    EXPECT_EQ(def.code, row >= 0 ? kLetters[row] : '\0');  // NUL too gets the null row
    EXPECT_EQ(def.nMap, row >= 0 ? expectMap : 0);

    int expectComplementRow = expectIndex < 0 ? -1 : expectIndex == 15 ? 0 : RowOfMap(ComplementMap(expectMap));
    EXPECT_EQ(IUBCODE::GetComplimentIndex(c), expectComplementRow);

    IUBCODE once(c);
    once.MakeCompliment();
    char expectOnce = expectComplementRow < 0 ? c : kLetters[expectComplementRow];
    EXPECT_EQ(once.code, expectOnce);
    IUBCODE twice = once;
    twice.MakeCompliment();
    // Upper case letters come back; lower case ones come back upper case; NUL does not
    // come back (A, then T); bytes of no row are never touched.
    char expectTwice = row >= 0 ? kLetters[row] : byte == 0 ? 'T' : c;
    EXPECT_EQ(twice.code, expectTwice);
  }
}

TEST(IUBCODE, IndexLookups) {
  const int indices[] = {INT_MIN, -16, -1, 0, 1, 2, 3, 4, 9, 14, 15, 16, 17, 255, INT_MAX};
  for (int index : indices) {
    SCOPED_TRACE(index);
    const bool inTable = index >= 0 && index < 16;
    const char letter = index >= 0 && index < 15 ? kLetters[index] : '\0';
    const int map = index >= 0 && index < 15 ? MapOf(kBases[index]) : index == 15 ? 0 : -16;
    EXPECT_EQ(IUBCODE::GetCodeMapForIndex(index), map);
    EXPECT_EQ(IUBCODE::GetBaseChar(index), letter);
    IUBCODEDef def = IUBCODE::GetCodeDefForIndex(index);
    EXPECT_EQ(def.code, letter);
    EXPECT_EQ(def.nMap, inTable ? map : 0);
    char complement = !inTable ? '\0' : index == 15 ? 'A' : kLetters[RowOfMap(ComplementMap(map))];
    EXPECT_EQ(IUBCODE::GetComplimentChar(index), complement);
  }
}

TEST(IUBCODE, CharFromMap) {
  for (int map = -20; map <= 40; ++map) {
    SCOPED_TRACE(map);
    int row = map >= 1 && map <= 15 ? RowOfMap(map) : -1;
    EXPECT_EQ(IUBCODE::GetBaseCharFromMap(map), row >= 0 ? kLetters[row] : ' ');
  }
}

// All byte pairs through the set operations and the or-operators.
TEST(IUBCODE, SetOperationsOverAllPairs) {
  for (int a = 0; a < 256; ++a) {
    const int ra = LetterRow(a);
    for (int b = 0; b < 256; ++b) {
      const int rb = LetterRow(b);
      const IUBCODE ca{char(a)}, cb{char(b)};
      const bool valid = ra >= 0 && rb >= 0;
      const int ma = valid ? MapOf(kBases[ra]) : 0, mb = valid ? MapOf(kBases[rb]) : 0;
      const bool matches = valid && (ma & mb) != 0;
      const bool contains = valid && (ma & mb) == mb;
      const char merged = valid ? kLetters[RowOfMap(ma | mb)] : '\0';
      IUBCODE inPlace = ca;
      inPlace |= cb;
      if (ca.Matches(char(b)) != matches || ca.Contains(char(b)) != contains || (ca | cb).code != merged ||
          inPlace.code != merged)
        FAIL() << Show(a) << " with " << Show(b) << ": matches " << ca.Matches(char(b)) << " contains "
               << ca.Contains(char(b)) << " or " << Show((ca | cb).code) << " in place " << Show(inPlace.code);
    }
  }
  // The readable cases.
  EXPECT_TRUE(IUBCODE('R').Matches('M'));
  EXPECT_FALSE(IUBCODE('R').Matches('Y'));
  EXPECT_TRUE(IUBCODE('R').Contains('A'));
  EXPECT_FALSE(IUBCODE('R').Contains('M'));
  EXPECT_TRUE(IUBCODE('a').Matches('A'));
  EXPECT_EQ((IUBCODE('R') | IUBCODE('c')).code, 'V');
}

TEST(IUBCODE, OrWithAMap) {
  for (int byte = 0; byte < 256; ++byte) {
    const int row = LetterRow(byte);
    for (int map = -17; map <= 40; ++map) {
      char expect = (row < 0 || map < 0) ? '\0' : ((MapOf(kBases[row]) | map) <= 15 ? kLetters[RowOfMap(MapOf(kBases[row]) | map)] : ' ');
      IUBCODE code{char(byte)};
      IUBCODE inPlace = code;
      inPlace |= map;
      if ((code | map).code != expect || inPlace.code != expect)
        FAIL() << Show(byte) << " | " << map << " gave " << Show((code | map).code) << ", |= gave "
               << Show(inPlace.code);
    }
  }
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
    std::memset(buffer, 'x', sizeof buffer);
    EXPECT_EQ(std::string(IUBCODE(char(byte)).GetMatchingString(0, buffer)), lower);
    EXPECT_EQ(IUBCODE::GetMatchingString(char(byte), 1), upper.c_str());
    EXPECT_EQ(IUBCODE(char(byte)).GetMatchingString(0), lower.c_str());
  }
  EXPECT_EQ(IUBCODE::GetMatchingString('A', 1), "ARMWDHVN");
  EXPECT_EQ(IUBCODE::GetMatchingString('r', 1), "AGRKMSWBDHVN");
  EXPECT_EQ(IUBCODE::GetMatchingString('N', 0), "acgtrykmswbdhvn");
  EXPECT_EQ(IUBCODE::GetMatchingString('A', 1, nullptr), nullptr);
}

TEST(IUBCODE, ValueSemantics) {
  EXPECT_EQ(IUBCODE().code, '\0');
  EXPECT_EQ(IUBCODE(static_cast<const char*>(nullptr)).code, '\0');
  EXPECT_EQ(IUBCODE("GAT").code, 'G');
  EXPECT_FALSE(IUBCODE('a') == IUBCODE('A'));
  EXPECT_TRUE(IUBCODE('a') != IUBCODE('A'));
  EXPECT_TRUE(IUBCODE('-') == '-');

  IUBCODE code('c');
  char& ref = code;
  ref = 'K';
  EXPECT_EQ(code.code, 'K');
  char* p = code;
  EXPECT_EQ(p, &code.code);
  code = 'y';
  EXPECT_EQ(char(code), 'y');
  EXPECT_EQ(code.GetBaseIndex(), 5);
}
