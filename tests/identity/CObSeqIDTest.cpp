// CObSeqID: the name grammar and its extensions, reduced display forms, tokens,
// equality and ordering, the persistence hand-over and the stored form.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "IdentityTestUtil.h"

using namespace zev;
using zevtest::Bytes;

TEST(CObSeqIDGrammar, ParseNameFindsExtensionsFromTheRight) {
  struct Case {
    const char* name;
    int found, cell, unique;
  };
  const Case cases[] = {
      {"SAMPLE.A1_04031214AB", 1, 6, 9},
      {"SAMPLE.A1", 0, 6, -1},          // below 11 characters only a cell location is looked for
      {"ABC_04131214AB", 0, -1, -1},    // month 13
      {"ABC_04030014AB", 0, -1, -1},    // day 0
      {"ABC_04031224AB", 0, -1, -1},    // hour 24
      {"ABC_04033100AB", 1, -1, 3},
      {"ABC_04031214A-", 0, -1, -1},
      {"SAMPLE_031214AB", 1, -1, 6},    // no year digits
      {"S.B12_04031214AB", 1, 1, 5},    // two-digit cell
      {"P.Q12X_04031214AB", 1, -1, 6},  // the cell must stand right in front
      {"_04031214AB", 0, -1, -1},       // at position 0 the extension is never reached
      {".A12", 0, 0, -1},
      {".A1", 0, -1, -1},               // below 4 characters nothing is looked for
      {"SAMPLE.\xC9" "1", 0, -1, -1},   // ASCII letters only
      {"A.B1_04031214AB.C2", 0, 15, -1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    int cell = 99, unique = 99;
    EXPECT_EQ(CObSeqID::ParseName(c.name, cell, unique), c.found);
    EXPECT_EQ(cell, c.cell);
    EXPECT_EQ(unique, c.unique);
  }
}

TEST(CObSeqIDGrammar, RemoveCellLocationStaticAndMemberDifferAtPositionZero) {
  const char* cases[][3] = {{"S.A1_04031214AB", "S", "S"}, {".A12", "", ".A12"}, {"PLAIN", "PLAIN", "PLAIN"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c[0]);
    char buffer[64];
    std::strcpy(buffer, c[0]);
    CObSeqID::RemoveCellLocationExtension(buffer);
    EXPECT_STREQ(buffer, c[1]);
    CString text(c[0]);
    CObSeqID::RemoveCellLocationExtension(text);
    EXPECT_STREQ(text, c[1]);
    CObSeqID id(c[0]);
    id.RemoveCellLocationExtension();
    EXPECT_STREQ(id.ObName, c[2]);
  }
}

TEST(CObSeqIDGrammar, ReducedIDStringKeepsTheDistinguishingTail) {
  const std::string name20 = "ABCDEFGHIJKLMNOPQRST", long127(127, 'Q');
  struct Case {
    std::string text;
    int size;
    std::string expected;
  };
  const std::vector<Case> cases = {
      {name20, 10, "ABCDEF..."},
      {name20, 21, name20},
      {name20, 20, "ABCDEFGHIJKLMNOP..."},
      {"VERYLONGSAMPLENAME.A1_04031214AB", 24, "VERYLO....A1_04031214AB"},  // tail from the cell
      {"VERYLONGSAMPLENAME_04031214AB", 24, "VERYLONGS..._04031214AB"},    // from the extension
      {"ABCDEFGHIJKLMNOPQRSTUVWXYZ0123", 24, "ABCDEFGHIJ...UVWXYZ0123"},  // the last ten
      {long127, 200, long127},                                             // size limited to 128
      {name20, 0, ""},
      {"", 10, ""},
      {"ABCDE", 2, "..."},  // no room for a head
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text + " / " + std::to_string(c.size));
    CString out("stale");
    CObSeqID::GetReducedIDString(out, c.text.c_str(), c.size);
    EXPECT_EQ(out.str(), c.expected);
  }
}

TEST(CObSeqIDGrammar, AddExtensionCutsThePlainNameAndKeepsTheCellLocation) {
  const std::string ext = "_04031214AB";
  struct Case {
    std::string name, ext, expected;
  };
  const std::vector<Case> cases = {
      {std::string(127, 'A'), ext, std::string(116, 'A') + ext},
      {std::string(123, 'A') + ".B12", ext, std::string(112, 'A') + ".B12" + ext},
      {"ABCD.E1", std::string(123, 'x'), "A.E1" + std::string(123, 'x')},
      {"ABCD.E1", std::string(124, 'x'), "ABC" + std::string(124, 'x')},  // the cell is not behind the cut
      {"ABC", std::string(200, 'x'), std::string(127, 'x')},              // longer than the field
      {"ABC", "::old", "ABC::old"},
      {"", ext, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name + " + " + c.ext);
    CObSeqID id(nullptr, 1, 1, 0);
    id.SetObName(c.name.c_str());
    id.AddExtension(c.ext.c_str());
    EXPECT_EQ(std::string(id.ObName), c.expected);
  }
}

TEST(CObSeqIDGrammar, UniqueAndOldExtensions) {
  enum Op { kRemoveUnique, kAddOld, kAddOldTwice, kRemoveOld };
  struct Case {
    const char* name;
    BOOL unique;
    Op op;
    const char* after;
  };
  const Case cases[] = {
      {"S.A1_04031214AB", 1, kRemoveUnique, "S.A1"},
      {"S.A1_04031214AB", 1, kAddOld, "S.A1_04031214AB"},
      {"S::old", 1, kRemoveUnique, "S"},  // the old extension counts as a unique one
      {"::old", 0, kRemoveOld, "::old"},  // at position 0 it is no extension
      {"::old", 0, kAddOld, "::old::old"},
      {"S", 0, kAddOldTwice, "S::old"},
      {"S_031214AB::old", 1, kRemoveUnique, "S_031214AB"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CObSeqID id(c.name);
    EXPECT_EQ(id.IsUniqueExtensionPresent(), c.unique);
    if (c.op == kRemoveUnique) id.RemoveUniqueExtension();
    if (c.op == kAddOld || c.op == kAddOldTwice) id.AddOldExtension();
    if (c.op == kAddOldTwice) id.AddOldExtension();
    if (c.op == kRemoveOld) id.RemoveOldExtension();
    EXPECT_STREQ(id.ObName, c.after);
  }
}

TEST(CObSeqIDGrammar, UniqueExtensionCountsTheHourInStepsOf28Tenths) {
  zevtest::ScopedTimeZone tz("UTC");
  const std::pair<int, const char*> cases[] = {
      {0, "_0403121400"}, {2, "_0403121400"}, {3, "_0403121401"}, {60, "_040312140L"}, {3599, "_04031214ZP"}};
  for (const auto& [seconds, expected] : cases) {
    SCOPED_TRACE(seconds);
    CString ext;
    CObSeqID::MakeUniqueExtension(ext, CTime(2004, 3, 12, 14, seconds / 60, seconds % 60));
    EXPECT_STREQ(ext, expected);
  }
  CObSeqID id("RUN.H12");  // a fresh extension reads back, and is added once
  id.CreateAndAddExtension();
  int cell, unique;
  EXPECT_EQ(id.ParseName(cell, unique), 1);
  EXPECT_EQ(unique, 7);
  std::string once = id.ObName;
  id.CreateAndAddExtension();
  EXPECT_EQ(once, id.ObName);
}

TEST(CObSeqID, TokensRoundTripThroughTheTypeNumber) {
  const std::tuple<const char*, BOOL, const char*> cases[] = {
      {"10000 SAMPLE A", 1, "SAMPLE A"}, {"10000", 1, ""}, {"10000x", 1, ""},
      {"10000  two", 1, " two"},         {"10001 OTHER", 0, "KEEP"}, {"", 0, "KEEP"}};
  for (const auto& [token, result, name] : cases) {
    SCOPED_TRACE(token);
    CSampleID id("KEEP");
    EXPECT_EQ(id.FromToken(token), result);
    EXPECT_STREQ(id.ObName, name);
  }
  CString token;
  CObSeqID("SAMPLE A", 1, 10000, 0).GetToken(token);
  EXPECT_STREQ(token, "10000 SAMPLE A");
}

TEST(CObSeqID, EqualityIgnoresTokenTimeAndFlagBits) {
  struct Case {
    const char* what;
    void (*change)(CObSeqID&);
    bool equal;
  };
  const Case cases[] = {
      {"token", [](CObSeqID& b) { b.ObToken = 99; }, true},
      {"time", [](CObSeqID& b) { b.ObTime = CTime(0); }, true},
      {"flag bits", [](CObSeqID& b) { b.ObAttrFlags |= 0x7F000000; }, true},
      {"index bits", [](CObSeqID& b) { b.ObAttrFlags += 1; }, false},
      {"name", [](CObSeqID& b) { b.SetObName("n"); }, false},
      {"subject", [](CObSeqID& b) { b.SetObSubjectID("x"); }, false},
      {"database case", [](CObSeqID& b) { std::strcpy(b.DatabaseName, "db"); }, false},
      {"database index", [](CObSeqID& b) { b.DatabaseIndex = 1; }, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    CObSeqID a("N", 5, 3001, 0x00000005, "B", "S");
    std::strcpy(a.DatabaseName, "DB");
    CObSeqID b(a);
    c.change(b);
    EXPECT_EQ(a == b, c.equal);
    EXPECT_EQ(a != b, !c.equal);
  }
  zevtest::ScopedTimeZone tz("America/New_York");
  EXPECT_STREQ(CObSeqID().ObTime.Format("%Y-%m-%d %H:%M:%S"), "1972-01-01 00:00:00");
  CObSeqID a, b;
  std::strcpy(a.DatabaseName, "Main");
  std::strcpy(b.DatabaseName, "MAIN");
  EXPECT_EQ(a.CompareDatabase(b), 1);
}

TEST(CObSeqID, OrderingIsIndexThenTypeThenLocaleName) {
  struct Case {
    const char* what;
    LONG flagsA, typeA;
    const char* nameA;
    LONG flagsB, typeB;
    const char* nameB;
    int order;
  };
  const Case cases[] = {
      {"index first", 1, 9000, "z", 2, 1, "a", -1},
      {"flag bits ignored", 0x01000003, 1, "a", 2, 1, "a", 1},
      {"type next", 0, 1002, "z", 0, 3001, "a", -1},
      {"lower before upper", 0, 1, "a", 0, 1, "B", -1},
      {"digits are text", 0, 1, "file10", 0, 1, "file9", -1},
      {"same keys, another database", 0, 1, "a", 0, 1, "a", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    CObSeqID a(c.nameA, 1, c.typeA, c.flagsA), b(c.nameB, 2, c.typeB, c.flagsB);
    std::strcpy(b.DatabaseName, "another");
    EXPECT_EQ(a < b, c.order < 0);
    EXPECT_EQ(a <= b, c.order <= 0);
    EXPECT_EQ(a > b, c.order > 0);
    EXPECT_EQ(a >= b, c.order >= 0);
  }
}

namespace {
// Records what SetIPersistenceParameters hands over, reading texts as it gets them.
struct RecordingPersistence : IPersistence {
  std::vector<std::string> calls;
  HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG AddRef() override { return 1; }
  ULONG Release() override { return 1; }
  HRESULT Text(const char* slot, BSTR v) {
    DWORD length = reinterpret_cast<const DWORD*>(v)[-1];
    calls.push_back(std::string(slot) + "=" + std::string(v, v + length) + "/" + std::to_string(length));
    return S_OK;
  }
  HRESULT Number(const char* slot, LONG v) {
    calls.push_back(std::string(slot) + "=" + std::to_string(v));
    return S_OK;
  }
  HRESULT put_DatabaseName(BSTR v) override { return Text("DatabaseName", v); }
  HRESULT put_ObName(BSTR v) override { return Text("ObName", v); }
  HRESULT put_ObToken(LONG v) override { return Number("ObToken", v); }
  HRESULT put_ObType(LONG v) override { return Number("ObType", v); }
  HRESULT put_ObAttrFlags(LONG v) override { return Number("ObAttrFlags", v); }
  HRESULT put_DatabaseIndex(LONG v) override { return Number("DatabaseIndex", v); }
  HRESULT put_ObBarCode(BSTR v) override { return Text("ObBarCode", v); }
  HRESULT put_ObSubjectID(BSTR v) override { return Text("ObSubjectID", v); }
};
}  // namespace

TEST(CObSeqID, PersistenceParametersGoInSlotOrderWithCharacterCounts) {
  CObSeqID id("Sample \xE9", 12, 10000, 0x01000007, "BC-1", "");
  std::strcpy(id.DatabaseName, "MainDB");
  id.DatabaseIndex = 2;
  RecordingPersistence p;
  id.SetIPersistenceParameters(&p);
  const std::vector<std::string> expected = {
      "DatabaseName=MainDB/6", "ObName=Sample \xE9/8", "ObToken=12",       "ObType=10000",
      "ObAttrFlags=16777223",  "DatabaseIndex=2",      "ObBarCode=BC-1/4", "ObSubjectID=/0"};
  EXPECT_EQ(p.calls, expected);
}

TEST(CObSeqIDStoredForm, BaseFormByteForByteAndShortData) {
  CObSeqID id("AB", 7, 3001, 0x01000005, "not stored", "not stored");
  std::strcpy(id.DatabaseName, "not stored");
  const std::vector<BYTE> bytes = Bytes({0xB9, 0x0B, 0, 0, 2, 'A', 'B', 7, 0, 0, 0, 5, 0, 0, 1});
  EXPECT_EQ(zevtest::StoredBytes(id), bytes);
  auto back = zevtest::LoadID(bytes);
  ASSERT_TRUE(back);
  EXPECT_TRUE(*back == CObSeqID("AB", 7, 3001, 0x01000005));
  for (std::size_t keep = 0; keep < bytes.size(); ++keep) {
    SCOPED_TRACE(keep);
    EXPECT_FALSE(zevtest::LoadID(std::vector<BYTE>(bytes.begin(), bytes.begin() + long(keep))));
  }
  // A loaded name longer than the field is cut to 127 characters.
  std::vector<BYTE> longer = Bytes({0xB9, 0x0B, 0, 0, 0xFF, 0x2C, 0x01});
  longer.insert(longer.end(), 300, BYTE('y'));
  longer.insert(longer.end(), 8, 0);
  back = zevtest::LoadID(longer);
  ASSERT_TRUE(back);
  EXPECT_EQ(std::string(back->ObName), std::string(127, 'y'));
}
