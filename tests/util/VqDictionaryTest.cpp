// The dictionary's stored forms byte for byte, the versionless form, bad versions, and
// the checksum rules of SetEntry that callers depend on.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "zevutil/CMemArchive.h"
#include "zevutil/VqDictionary.h"
#include "zevutil/VqeReportStream.h"

using namespace zev;

namespace {

using Bytes = std::vector<BYTE>;

Bytes Le32(ULONG v) { return {BYTE(v), BYTE(v >> 8), BYTE(v >> 16), BYTE(v >> 24)}; }
Bytes Str(const std::string& s) {  // CString form of a short text
  Bytes b(s.size() + 1, BYTE(s.size()));
  std::copy(s.begin(), s.end(), b.begin() + 1);
  return b;
}
Bytes Cat(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const auto& p : parts) out.insert(out.end(), p.begin(), p.end());
  return out;
}

Bytes Store(CObject& obj) {
  CMemArchive ar(CArchive::store);
  obj.Serialize(ar);
  return Bytes(ar.GetDataPtr(), ar.GetDataPtr() + ar.GetDataSize());
}

void Load(CObject& obj, const Bytes& bytes) {
  CMemArchive ar(CArchive::load);
  ar.SetData(bytes.data(), ULONG(bytes.size()));
  obj.Serialize(ar);
}

// Runs the load and gives back the report stream's text of the CException* it threw,
// or "<none>" when nothing was thrown.
std::string LoadError(CObject& obj, const Bytes& bytes) {
  try {
    Load(obj, bytes);
  } catch (CException* e) {
    e->Delete();
    std::string msg = VqErr.GetMsg() ? VqErr.GetMsg() : "";
    VqErr.Flush();
    return msg;
  }
  return "<none>";
}

ULONG CrcOf(const std::string& s) { return CCalcCRC32().CalcBlock(s.data(), ULONG(s.size())).GetCRC(); }

using EntryList = std::vector<std::pair<std::string, std::string>>;

EntryList Entries(const VqDictionary& d) {
  EntryList out;
  for (unsigned i = 0; i < unsigned(d.GetCount()); ++i) {
    CString value;
    const char* key = d.GetAt(i, value);
    out.emplace_back(key ? key : "<null>", value.str());
  }
  return out;
}

}  // namespace

TEST(VqDictionary, StoredFormsByteForByte) {
  VqDictionary empty;
  VqDictionary two;
  two.SetEntry("a", "1");
  two.SetEntry("bc", "xyz");
  VqSamplePropertySet named;
  named.SetName("S1").SetEntry("Dye Set", "Z_BigDye");

  struct Case {
    const char* name;
    CObject* obj;
    Bytes expected;
  } cases[] = {
      {"empty", &empty, Cat({Le32(150001), Le32(0), Le32(0xFFFFFFFF)})},
      {"two entries", &two,
       Cat({{0xF1, 0x49, 0x02, 0x00}, Le32(2), Str("a"), Str("1"), Str("bc"), Str("xyz"), Le32(0x5EDAAC6D)})},
      {"property set", &named,
       Cat({Str("S1"), Le32(150001), Le32(1), Str("Dye Set"), Str("Z_BigDye"), Le32(0x892C8FBB)})},
  };
  for (auto& c : cases) EXPECT_EQ(Store(*c.obj), c.expected) << c.name;
}

// What is written reads back to the same entries, checksum and bytes, including texts
// that need the long length prefix or hold bytes a C string would stop at.
TEST(VqDictionary, RoundTrip) {
  VqSamplePropertySet original;
  original.SetName(std::string(300, 'n').c_str());
  original.SetEntry("Run Module", std::string(70000, 'v').c_str());
  original.SetEntry("k\xE9y", "");
  original.SetEntry("", "empty key");
  Bytes stored = Store(original);

  VqSamplePropertySet back;
  back.SetName("old").SetEntry("stale", "entry");
  Load(back, stored);
  EXPECT_EQ(back.GetName(), original.GetName());
  EXPECT_EQ(Entries(back), Entries(original));
  EXPECT_EQ(back.GetCRC(), original.GetCRC());
  EXPECT_EQ(Store(back), stored);

  // A text with a NUL inside (only an archive can carry one) survives a second round.
  Bytes withNul = Cat({Le32(1), {3, 'a', 0, 'b'}, {2, 0, 'z'}, Le32(7)});
  VqDictionary d;
  Load(d, withNul);
  EXPECT_EQ(Store(d), Cat({Le32(150001), withNul}));
}

// The first word picks the form: 150001, then the count; below 250 (unsigned) it is
// itself the count; anything else is refused with the dictionary left untouched.
TEST(VqDictionary, FirstWordDecidesTheForm) {
  const Bytes abEntries = Cat({Str("a"), Str("1"), Str("b"), Str("2"), Str("c"), Str("3")});
  struct Case {
    const char* name;
    Bytes bytes;
    std::string error;  // "" when the read succeeds
    int count;
    ULONG crc;
  } cases[] = {
      {"old form, three", Cat({Le32(3), abEntries, Le32(0xDEADBEEF)}), "", 3, 0xDEADBEEF},
      {"old form, none", Cat({Le32(0), Le32(0x12345678)}), "", 0, 0x12345678},
      {"versioned", Cat({Le32(150001), Le32(3), abEntries, Le32(0x0BADF00D)}), "", 3, 0x0BADF00D},
      {"versioned, negative count", Cat({Le32(150001), Le32(ULONG(-5)), Le32(42)}), "", 0, 42},
      {"250", Cat({Le32(250), abEntries}), "Unexpected version in VqDictionary::Serialize", 1, 0},
      {"150000", Cat({Le32(150000), Le32(0), Le32(0)}), "Unexpected version in VqDictionary::Serialize", 1, 0},
      {"150002", Cat({Le32(150002), Le32(0), Le32(0)}), "Unexpected version in VqDictionary::Serialize", 1, 0},
      {"-1", Cat({Le32(0xFFFFFFFF), Le32(0), Le32(0)}), "Unexpected version in VqDictionary::Serialize", 1, 0},
  };
  for (auto& c : cases) {
    SCOPED_TRACE(c.name);
    VqDictionary d;
    d.SetEntry("before", "x");
    const ULONG before = d.GetCRC();
    std::string error = LoadError(d, c.bytes);
    if (c.error.empty()) {
      EXPECT_EQ(error, "<none>");
      EXPECT_EQ(d.GetCount(), c.count);
      EXPECT_EQ(d.GetCRC(), c.crc);  // as written, never recalculated
    } else {
      EXPECT_EQ(error, c.error);
      EXPECT_EQ(d.GetCount(), 1);
      EXPECT_EQ(d.GetCRC(), before);
      EXPECT_STREQ(d.Lookup("before", nullptr), "before");
    }
  }
  VqDictionary three;
  Load(three, Cat({Le32(3), abEntries, Le32(1)}));
  const EntryList expected = {{"a", "1"}, {"b", "2"}, {"c", "3"}};
  EXPECT_EQ(Entries(three), expected);
}

// Short data ends in the archive's end-of-file exception, even when the count claims
// billions of entries.
TEST(VqDictionary, TruncatedInput) {
  const Bytes cases[] = {
      {},
      {0xF1, 0x49},
      Cat({Le32(150001)}),
      Cat({Le32(150001), Le32(0x7FFFFFFF), Str("k")}),
      Cat({Le32(2), Str("k"), Str("v")}),
      Cat({Le32(1), Str("k"), Str("v"), {0, 0}}),
      Cat({Le32(1), {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}}),  // a 2 GiB string announced
  };
  for (const auto& bytes : cases) {
    VqDictionary d;
    try {
      Load(d, bytes);
      ADD_FAILURE() << "no exception for " << bytes.size() << " bytes";
    } catch (CException* e) {
      EXPECT_TRUE(e->IsKindOf(RUNTIME_CLASS(CArchiveException))) << bytes.size() << " bytes";
      e->Delete();
    }
  }
}

TEST(VqDictionary, SetEntryKeysAndChecksum) {
  struct Step {
    const char* key;
    const char* value;
  };
  struct Case {
    const char* name;
    std::vector<Step> steps;
    EntryList entries;
    std::string checksummed;  // the bytes the checksum was last run over
  } cases[] = {
      {"plain", {{"a", "1"}, {"b", " 2 "}}, {{"a", "1"}, {"b", " 2 "}}, "a1b 2 "},
      // A new value under an existing key does not reach the checksum.
      {"replace", {{"a", "1"}, {"a", "changed"}}, {{"a", "changed"}}, "a1"},
      // ...until a later addition recalculates it over everything.
      {"replace then add", {{"a", "1"}, {"a", "2"}, {"b", "3"}}, {{"a", "2"}, {"b", "3"}}, "a2b3"},
      // The lookup uses the untrimmed key: " a " misses "a" and adds a second "a".
      {"padded duplicate", {{"a", "1"}, {" a ", "2"}}, {{"a", "1"}, {"a", "2"}}, "a1a2"},
      // Trailing: any C isspace. Leading: blank, CR, tab, LF and backspace only.
      {"trim sets", {{"\b\t x\v\f \r\n", "v"}}, {{"x", "v"}}, "xv"},
      {"vertical tab leads", {{"\vx", "v"}}, {{"\vx", "v"}}, "\vxv"},
      {"backspace trails", {{"x\b", "v"}}, {{"x\b", "v"}}, "x\bv"},
      {"high bytes", {{"\xA0x\xA0", "v"}}, {{"\xA0x\xA0", "v"}}, "\xA0x\xA0v"},
      {"null key", {{nullptr, "v"}}, {}, ""},
      {"null value", {{"k", nullptr}}, {{"k", ""}}, "k"},
  };
  for (auto& c : cases) {
    SCOPED_TRACE(c.name);
    VqDictionary d;
    for (const auto& s : c.steps) d.SetEntry(s.key, s.value);
    EXPECT_EQ(Entries(d), c.entries);
    EXPECT_EQ(d.GetCRC(), CrcOf(c.checksummed));
  }
  // Two dictionaries that differ only in a replaced value compare equal.
  VqDictionary x, y;
  x.SetEntry("k", "1");
  y.SetEntry("k", "1");
  y.SetEntry("k", "2");
  EXPECT_TRUE(x == y);
  y.SetEntry("other", "");
  EXPECT_TRUE(x != y);
}

TEST(VqDictionary, LookupGetAtCopyAndClear) {
  VqDictionary d;
  d.SetEntry(" a ", "1");
  d.SetEntry("b", "2");
  d.SetEntry("b", "3");  // checksum now stale: it still covers "a1b2"
  unsigned index = 99;
  EXPECT_EQ(d.Lookup(" a ", index), nullptr);  // stored trimmed, looked up exactly
  EXPECT_EQ(d.Lookup("B", index), nullptr);
  EXPECT_EQ(d.Lookup(nullptr, index), nullptr);
  EXPECT_EQ(index, 99u);
  EXPECT_STREQ(d.Lookup("b", index), "b");
  EXPECT_EQ(index, 1u);
  EXPECT_STREQ(d.Lookup("a", nullptr), "a");

  CString value("untouched");
  EXPECT_EQ(d.GetAt(2, value), nullptr);
  EXPECT_EQ(d.GetAt(~0u, value), nullptr);
  EXPECT_EQ(value, "untouched");
  EXPECT_STREQ(d.GetAt(0, nullptr), "a");
  EXPECT_STREQ(d.GetAt(1, value), "b");
  EXPECT_EQ(value, "3");

  VqDictionary b;
  b.SetEntry("other", "x");
  b = d;  // arrays copied, checksum taken as it stands
  EXPECT_EQ(Entries(b), Entries(d));
  EXPECT_EQ(b.GetCRC(), CrcOf("a1b2"));
  VqDictionary c(d);
  c.SetEntry("more", "");
  EXPECT_EQ(d.GetCount(), 2);  // a deep copy
  EXPECT_EQ(&c.RemoveAll(), &c);
  EXPECT_EQ(c.GetCount(), 0);
  EXPECT_EQ(c.GetCRC(), 0xFFFFFFFFu);
}

TEST(VqSamplePropertySet, NameTakesNoPartInDictionaryOperations) {
  VqSamplePropertySet s1, s2;
  s1.SetName("first").SetEntry("k", "v");
  s2.SetName("second").SetEntry("k", "v");
  EXPECT_TRUE(s1 == s2);
  VqDictionary plain;
  plain.SetEntry("p", "q");
  s1 = plain;  // the dictionary only
  EXPECT_EQ(s1.GetName(), "first");
  EXPECT_TRUE(s1 == plain);
  s1 = s2;  // name and dictionary
  EXPECT_EQ(s1.GetName(), "second");
  EXPECT_EQ(Entries(s1), Entries(s2));
  // A bad version after the name: the name has already been read.
  EXPECT_EQ(LoadError(s1, Cat({Str("new"), Le32(777), Le32(0)})), "Unexpected version in VqDictionary::Serialize");
  EXPECT_EQ(s1.GetName(), "new");
  EXPECT_EQ(Entries(s1), Entries(s2));
}
