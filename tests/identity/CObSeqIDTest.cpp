// CObSeqID: the name grammar and its extensions, reduced display forms, tokens,
// equality and ordering, the persistence hand-over and the stored form.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "IdentityTestUtil.h"
#include "zevutil/CObSeqID.h"

using namespace zev;
using zevtest::Bytes;

TEST(CObSeqIDGrammar, ParseNameFindsExtensionsFromTheRight) {
  struct Case {
    const char* name;
    int found, cell, unique;
  };
  const Case cases[] = {
      {"SAMPLE.A1_04031214AB", 1, 6, 9},
      {"SAMPLE.A1", 0, 6, -1},        // below 11 characters: only a cell location is looked for
      {"ABC_04131214AB", 0, -1, -1},  // month 13
      {"ABC_04030014AB", 0, -1, -1},  // day 0
      {"ABC_04033114AB", 1, -1, 3},   // day 31
      {"ABC_04031224AB", 0, -1, -1},  // hour 24
      {"ABC_04031200AB", 1, -1, 3},   // hour 0
      {"ABC_04031214A-", 0, -1, -1},  // the last two must be letters or digits
      {"SAMPLE_031214AB", 1, -1, 6},  // no year digits
      {"X12_031214AB", 1, -1, 3},
      {"S.B12_04031214AB", 1, 1, 5},  // two-digit cell
      {"P.Q12X_04031214AB", 1, -1, 6},  // the cell must stand right in front
      {"NAME.Q12", 0, 4, -1},
      {"_04031214AB", 0, -1, -1},     // an extension at position 0 is never reached
      {"A.B1", 0, 1, -1},
      {".A12", 0, 0, -1},
      {".A1", 0, -1, -1},             // below 4 characters nothing is looked for
      {"abc", 0, -1, -1},
      {"", 0, -1, -1},
      {"NAME.A1::old", 0, -1, -1},
      {"SAMPLE.\xC9" "1", 0, -1, -1},  // letters are ASCII letters
      {"A.B1_04031214AB.C2", 0, 15, -1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    int cell = 99, unique = 99;
    EXPECT_EQ(CObSeqID::ParseName(c.name, cell, unique), c.found);
    EXPECT_EQ(cell, c.cell);
    EXPECT_EQ(unique, c.unique);
    EXPECT_EQ(CObSeqID::IsCellLocationExtensionPresent(c.name), c.cell >= 0 ? 1 : 0);
  }
  int cell = 0, unique = 0;
  EXPECT_EQ(CObSeqID::ParseName(nullptr, cell, unique), 0);
  EXPECT_EQ(cell, -1);
}

TEST(CObSeqIDGrammar, RemoveCellLocationStaticAndMemberDifferAtPositionZero) {
  struct Case {
    const char* name;
    const char* byStatic;
    const char* byMember;
  };
  const Case cases[] = {
      {"S.A1_04031214AB", "S", "S"},
      {"SAMPLE.A1", "SAMPLE", "SAMPLE"},
      {".A12", "", ".A12"},
      {"PLAIN", "PLAIN", "PLAIN"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    char buffer[64];
    std::strcpy(buffer, c.name);
    CObSeqID::RemoveCellLocationExtension(buffer);
    EXPECT_STREQ(buffer, c.byStatic);
    CString text(c.name);
    CObSeqID::RemoveCellLocationExtension(text);
    EXPECT_STREQ(text, c.byStatic);
    CObSeqID id(c.name);
    id.RemoveCellLocationExtension();
    EXPECT_STREQ(id.ObName, c.byMember);
  }
}

TEST(CObSeqIDGrammar, ReducedIDStringKeepsTheDistinguishingTail) {
  const std::string name20 = "ABCDEFGHIJKLMNOPQRST";
  const std::string long127(127, 'Q');
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
      {"VERYLONGSAMPLENAME_04031214AB", 24, "VERYLONGS..._04031214AB"},    // tail from the extension
      {"ABCDEFGHIJKLMNOPQRSTUVWXYZ0123", 24, "ABCDEFGHIJ...UVWXYZ0123"},  // last ten without one
      {"ABCDEFGHIJKLMNOPQRSTUVWXYZ0123", 32, "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123"},
      {long127, 200, long127},  // the size is limited to 128
      {long127 + "Z", 0, ""},
      {"", 10, ""},
      {"ABCDE", 2, "..."},  // no room for a head
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text + " / " + std::to_string(c.size));
    CString out("stale");
    CObSeqID::GetReducedIDString(out, c.text.c_str(), c.size);
    EXPECT_EQ(out.str(), c.expected);
    if (c.size >= 4 && c.size <= int(c.text.size())) {
      EXPECT_EQ(out.GetLength(), c.size - 1);
    }
  }
  CString out("stale");
  CObSeqID::GetReducedIDString(out, nullptr, 10);
  EXPECT_TRUE(out.IsEmpty());
  CObSeqID id(name20.c_str());
  id.GetReducedIDString(out, 10);
  EXPECT_STREQ(out, "ABCDEF...");
}

TEST(CObSeqIDGrammar, AddExtensionCutsThePlainNameAndKeepsTheCellLocation) {
  const std::string ext11 = "_04031214AB";
  struct Case {
    std::string name, ext, expected;
  };
  const std::vector<Case> cases = {
      {std::string(127, 'A'), ext11, std::string(116, 'A') + ext11},
      {std::string(123, 'A') + ".B12", ext11, std::string(112, 'A') + ".B12" + ext11},
      {std::string(100, 'A') + ".B1", ext11, std::string(100, 'A') + ".B1" + ext11},  // fits
      {"ABCD.E1", std::string(123, 'x'), "A.E1" + std::string(123, 'x')},
      {"ABCD.E1", std::string(124, 'x'), "ABC" + std::string(124, 'x')},  // cell not behind the cut
      {"AB.C1", std::string(125, 'x'), "AB" + std::string(125, 'x')},
      {"ABC", std::string(200, 'x'), std::string(127, 'x')},  // an extension longer than the field
      {"ABC", "::old", "ABC::old"},
      {"", ext11, ""},  // an empty name takes no extension
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name + " + " + c.ext);
    CObSeqID id(nullptr, 1, 1, 0);
    id.SetObName(c.name.c_str());
    id.AddExtension(c.ext.c_str());
    EXPECT_EQ(std::string(id.ObName), c.expected);
    EXPECT_LE(std::strlen(id.ObName), 127u);
  }
  CObSeqID id("NAME");
  id.AddExtension(nullptr);
  EXPECT_STREQ(id.ObName, "NAME");
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
      {"S::old", 1, kRemoveUnique, "S"},  // the old extension counts as a unique one here
      {"S::old", 1, kRemoveOld, "S"},
      {"::old", 0, kRemoveOld, "::old"},  // at position 0 it is not an extension
      {"::old", 0, kAddOld, "::old::old"},
      {"S", 0, kAddOldTwice, "S::old"},
      {"S_031214AB::old", 1, kRemoveUnique, "S_031214AB"},
      {"PLAIN", 0, kRemoveUnique, "PLAIN"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CObSeqID id(c.name);
    EXPECT_EQ(id.IsUniqueExtensionPresent(), c.unique);
    switch (c.op) {
      case kRemoveUnique: id.RemoveUniqueExtension(); break;
      case kAddOld: id.AddOldExtension(); break;
      case kAddOldTwice: id.AddOldExtension(); id.AddOldExtension(); break;
      case kRemoveOld: id.RemoveOldExtension(); break;
    }
    EXPECT_STREQ(id.ObName, c.after);
  }
}

TEST(CObSeqIDGrammar, UniqueExtensionCountsTheHourInStepsOf28Tenths) {
  zevtest::ScopedTimeZone tz("UTC");
  struct Case {
    int minute, second;
    const char* expected;
  };
  const Case cases[] = {
      {0, 0, "_0403121400"},  {0, 2, "_0403121400"},  {0, 3, "_0403121401"},
      {1, 0, "_040312140L"},  {10, 0, "_040312145Y"}, {59, 59, "_04031214ZP"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.minute) + ":" + std::to_string(c.second));
    CString ext;
    CObSeqID::MakeUniqueExtension(ext, CTime(2004, 3, 12, 14, c.minute, c.second));
    EXPECT_STREQ(ext, c.expected);
  }
  // A fresh extension is one the grammar reads back, and is added only once.
  CObSeqID id("RUN.H12");
  id.CreateAndAddExtension();
  int cell, unique;
  EXPECT_EQ(id.ParseName(cell, unique), 1);
  EXPECT_EQ(cell, 3);
  EXPECT_EQ(unique, 7);
  std::string once = id.ObName;
  id.CreateAndAddExtension();
  EXPECT_EQ(once, id.ObName);
}

TEST(CObSeqID, ConstructorsSetTheirFields) {
  zevtest::ScopedTimeZone tz("America/New_York");
  const std::string tooLong(300, 'n');
  struct Case {
    const char* what;
    CObSeqID id;
    const char *name, *bar, *subject;
    LONG token, type, index, flags;
  };
  const Case cases[] = {
      {"default", CObSeqID(), "", "", "", -1, -1, 0, 0},
      {"name", CObSeqID("N"), "N", "", "", -1, -1, 0, 0},
      {"null name", CObSeqID(static_cast<const char*>(nullptr)), "Default", "", "", -1, -1, 0, 0},
      {"name index", CObSeqID("N", 4), "N", "", "", -1, -1, 4, 0},
      {"token form", CObSeqID(nullptr, 7, 3001, 0x01000002), "", "", "", 7, 3001, 0, 0x01000002},
      {"bar subject", CObSeqID("B", "S"), "", "B", "S", -1, -1, 0, 0},
      {"name bar subject", CObSeqID(nullptr, "B", "S"), "Default", "B", "S", -1, -1, 0, 0},
      {"name index bar subject", CObSeqID("N", 2, "B", "S"), "N", "B", "S", -1, -1, 2, 0},
      {"full", CObSeqID("N", 7, 8123, 3, "B", "S"), "N", "B", "S", 7, 8123, 0, 3},
      {"cut", CObSeqID(tooLong.c_str()), nullptr, "", "", -1, -1, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    if (c.name)
      EXPECT_STREQ(c.id.ObName, c.name);
    else
      EXPECT_EQ(std::string(c.id.ObName), tooLong.substr(0, 127));
    EXPECT_STREQ(c.id.ObBarCode, c.bar);
    EXPECT_STREQ(c.id.ObSubjectID, c.subject);
    EXPECT_STREQ(c.id.DatabaseName, "");
    EXPECT_EQ(c.id.ObToken, c.token);
    EXPECT_EQ(c.id.ObType, c.type);
    EXPECT_EQ(c.id.DatabaseIndex, c.index);
    EXPECT_EQ(c.id.ObAttrFlags, c.flags);
    EXPECT_EQ(c.id.ObTime.Format("%Y-%m-%d %H:%M:%S"), CString("1972-01-01 00:00:00"));
    EXPECT_EQ(c.id.ObSeqType(), 0);
  }
}

TEST(CObSeqID, TokensRoundTripThroughTheTypeNumber) {
  struct Case {
    const char* token;
    BOOL result;
    const char* name;
  };
  const Case cases[] = {
      {"10000 SAMPLE A", 1, "SAMPLE A"},  // the whole rest, blanks included
      {"10000", 1, ""},
      {"10000x", 1, ""},  // no blank behind the number
      {"10000  two", 1, " two"},
      {"10001 OTHER", 0, "KEEP"},
      {"", 0, "KEEP"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.token);
    CSampleID id("KEEP");
    EXPECT_EQ(id.FromToken(c.token), c.result);
    EXPECT_STREQ(id.ObName, c.name);
  }
  CSampleID id("KEEP");
  EXPECT_EQ(id.FromToken(nullptr), 0);
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
      {"type", [](CObSeqID& b) { b.ObType = 3002; }, false},
      {"name", [](CObSeqID& b) { b.SetObName("n"); }, false},
      {"bar code", [](CObSeqID& b) { b.SetObBarCode("x"); }, false},
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
  CObSeqID a, b;
  std::strcpy(a.DatabaseName, "Main");
  std::strcpy(b.DatabaseName, "MAIN");
  EXPECT_EQ(a.CompareDatabase(b), 1);
  b.DatabaseIndex = 2;
  EXPECT_EQ(a.CompareDatabase(b), 0);
}

TEST(CObSeqID, OrderingIsIndexThenTypeThenLocaleName) {
  struct Case {
    const char* what;
    LONG flagsA, typeA;
    const char* nameA;
    LONG flagsB, typeB;
    const char* nameB;
    int order;  // -1 a before b, 0 same keys, +1 after
  };
  const Case cases[] = {
      {"index first", 1, 9000, "z", 2, 1, "a", -1},
      {"flag bits ignored", 0x01000003, 1, "a", 2, 1, "a", 1},
      {"type next", 0, 1002, "z", 0, 3001, "a", -1},
      {"lower before upper", 0, 1, "a", 0, 1, "B", -1},
      {"digits are text", 0, 1, "file10", 0, 1, "file9", -1},
      {"hyphen counts last", 0, 1, "coop", 0, 1, "co-op", -1},
      {"same keys", 0, 1, "a", 0, 1, "a", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    CObSeqID a(c.nameA, 1, c.typeA, c.flagsA), b(c.nameB, 2, c.typeB, c.flagsB);
    std::strcpy(b.DatabaseName, "another database");
    EXPECT_EQ(a < b, c.order < 0);
    EXPECT_EQ(a <= b, c.order <= 0);
    EXPECT_EQ(a > b, c.order > 0);
    EXPECT_EQ(a >= b, c.order >= 0);
    EXPECT_EQ(b < a, c.order > 0);
  }
}

TEST(CObSeqID, AssignmentCopiesEveryFieldAndValidateChangesNothing) {
  CObSeqID a("N", 5, 3001, 0x7F000005, "B", "S");
  std::strcpy(a.DatabaseName, "DB");
  a.DatabaseIndex = 3;
  a.ObTime = CTime(1000);
  CObSeqID b;
  b = a;
  EXPECT_STREQ(b.DatabaseName, "DB");
  EXPECT_EQ(b.ObAttrFlags, 0x7F000005);
  EXPECT_EQ(b.ObToken, 5);
  EXPECT_EQ(b.DatabaseIndex, 3);
  EXPECT_EQ(b.ObTime, CTime(1000));
  EXPECT_EQ(ValidateComName(b), 1);
  EXPECT_STREQ(b.ObName, "N");

  b.SetDefaultValues();  // type and database stay
  EXPECT_EQ(b.ObType, 3001);
  EXPECT_STREQ(b.DatabaseName, "DB");
  EXPECT_EQ(b.ObToken, -1);
  EXPECT_EQ(b.ObAttrFlags, 0);
  EXPECT_STREQ(b.ObBarCode, "");
  EXPECT_EQ(b.DatabaseIndex, 0);

  int stops[10] = {7, 7};
  EXPECT_EQ(a.AreTabStopsInIDString(), 0);
  EXPECT_EQ(a.GetIDStringTabStops(stops), 0);
  EXPECT_EQ(stops[0], 0);
  CString text;
  EXPECT_EQ(a.GetIDString(text), 1);
  EXPECT_STREQ(text, "N");
}

namespace {
// Records what SetIPersistenceParameters hands over, reading texts as it gets them.
struct RecordingPersistence : IPersistence {
  std::vector<std::string> calls;
  HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG AddRef() override { return 1; }
  ULONG Release() override { return 1; }
  void Text(const char* slot, BSTR value) {
    DWORD length = reinterpret_cast<const DWORD*>(value)[-1];
    std::string text;
    for (DWORD i = 0; i < length; ++i) text += char(value[i]);
    EXPECT_EQ(value[length], 0);
    calls.push_back(std::string(slot) + "=" + text + "/" + std::to_string(length));
  }
  void Number(const char* slot, LONG v) { calls.push_back(std::string(slot) + "=" + std::to_string(v)); }
  HRESULT put_DatabaseName(BSTR v) override { Text("DatabaseName", v); return S_OK; }
  HRESULT put_ObName(BSTR v) override { Text("ObName", v); return S_OK; }
  HRESULT put_ObToken(LONG v) override { Number("ObToken", v); return S_OK; }
  HRESULT put_ObType(LONG v) override { Number("ObType", v); return S_OK; }
  HRESULT put_ObAttrFlags(LONG v) override { Number("ObAttrFlags", v); return S_OK; }
  HRESULT put_DatabaseIndex(LONG v) override { Number("DatabaseIndex", v); return S_OK; }
  HRESULT put_ObBarCode(BSTR v) override { Text("ObBarCode", v); return S_OK; }
  HRESULT put_ObSubjectID(BSTR v) override { Text("ObSubjectID", v); return S_OK; }
};
}  // namespace

TEST(CObSeqID, PersistenceParametersGoInSlotOrderWithCharacterCounts) {
  CObSeqID id("Sample \xE9", 12, 10000, 0x01000007, "BC-1", "");
  std::strcpy(id.DatabaseName, "MainDB");
  id.DatabaseIndex = 2;
  RecordingPersistence p;
  id.SetIPersistenceParameters(&p);
  const std::vector<std::string> expected = {
      "DatabaseName=MainDB/6", "ObName=Sample \xE9/8", "ObToken=12",     "ObType=10000",
      "ObAttrFlags=16777223",  "DatabaseIndex=2",      "ObBarCode=BC-1/4", "ObSubjectID=/0"};
  EXPECT_EQ(p.calls, expected);
  id.SetIPersistenceParameters(nullptr);
}

TEST(CObSeqIDStoredForm, BaseFormByteForByte) {
  struct Case {
    const char* what;
    CObSeqID id;
    std::vector<BYTE> bytes;
  };
  const std::string name200(200, 'x');
  std::vector<BYTE> cut = Bytes({0xB9, 0x0B, 0, 0, 127});
  cut.insert(cut.end(), 127, BYTE('x'));
  zevtest::Append(cut, Bytes({0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0}));
  const std::vector<Case> cases = {
      {"plain", CObSeqID("AB", 7, 3001, 0x01000005),
       Bytes({0xB9, 0x0B, 0, 0, 2, 'A', 'B', 7, 0, 0, 0, 5, 0, 0, 1})},
      {"default", CObSeqID(), Bytes({0xFF, 0xFF, 0xFF, 0xFF, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0})},
      {"name cut to 127", CObSeqID(name200.c_str(), -1, 3001, 0), cut},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    CObSeqID id = c.id;
    std::strcpy(id.DatabaseName, "not stored");
    id.SetObBarCode("not stored");
    EXPECT_EQ(zevtest::StoredBytes(id), c.bytes);
    auto back = zevtest::LoadID(c.bytes);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->ObType, c.id.ObType);
    EXPECT_STREQ(back->ObName, c.id.ObName);
    EXPECT_EQ(back->ObToken, c.id.ObToken);
    EXPECT_EQ(back->ObAttrFlags, c.id.ObAttrFlags);
    EXPECT_STREQ(back->ObBarCode, "");
  }
}

TEST(CObSeqIDStoredForm, ALongerLoadedNameIsCutAndShortDataThrows) {
  std::vector<BYTE> bytes = Bytes({0xB9, 0x0B, 0, 0, 0xFF, 0x2C, 0x01});  // a 300-character name
  bytes.insert(bytes.end(), 300, BYTE('y'));
  zevtest::Append(bytes, Bytes({1, 0, 0, 0, 2, 0, 0, 0}));
  auto id = zevtest::LoadID(bytes);
  ASSERT_TRUE(id);
  EXPECT_EQ(std::string(id->ObName), std::string(127, 'y'));
  EXPECT_EQ(id->ObToken, 1);
  EXPECT_EQ(id->ObAttrFlags, 2);
  for (size_t keep : {size_t(0), size_t(3), size_t(4), bytes.size() - 1}) {
    SCOPED_TRACE(keep);
    EXPECT_FALSE(zevtest::LoadID(std::vector<BYTE>(bytes.begin(), bytes.begin() + long(keep))));
  }
}
