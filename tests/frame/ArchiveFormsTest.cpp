// Stored forms of counted text, wide text and CString, and the two bounded readers.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "FrameTestUtil.h"
#include "zevutil/CMemArchive.h"
#include "zevutil/VqeReportStream.h"

using namespace zev;
using zevtest::Bytes;
using zevtest::Concat;
using zevtest::Stored;

namespace {
// A load-mode archive over the given bytes.
struct Loaded {
  explicit Loaded(const std::vector<BYTE>& bytes) : ar(CArchive::load) {
    if (!bytes.empty()) ar.SetData(bytes.data(), ULONG(bytes.size()));
  }
  CMemArchive ar;
};

int ArchiveCause(const std::function<void()>& f) {
  try {
    f();
  } catch (CArchiveException* e) {
    int cause = e->m_cause;
    e->Delete();
    return cause;
  }
  return -1;
}
}  // namespace

TEST(ArchiveForms, CountedTextBytes) {
  struct Case { std::string text; std::vector<BYTE> prefix; };
  const Case cases[] = {
      {"", Bytes({0, 0, 0, 0})},
      {"abc", Bytes({3, 0, 0, 0})},
      {std::string(300, 'q'), Bytes({0x2C, 0x01, 0, 0})},
      {"\xE9\xFF tail", Bytes({7, 0, 0, 0})},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text.size());
    EXPECT_EQ(Stored([&](CArchive& ar) { ar << c.text.c_str(); }), Concat(c.prefix, c.text));
  }
  bool rejected = false;
  try {
    Stored([](CArchive& ar) { ar << static_cast<const char*>(nullptr); });
  } catch (CInvalidArgException* e) {
    rejected = true;
    e->Delete();
  }
  EXPECT_TRUE(rejected);
}

TEST(ArchiveForms, WideTextBytesAndRoundTrip) {
  struct Case { const char* name; _bstr_t text; std::vector<BYTE> bytes; };
  const OLECHAR euro[] = {0x20AC, 'x', 0};
  const Case cases[] = {
      {"null", _bstr_t(), Bytes({0, 0, 0, 0})},
      {"empty", _bstr_t(""), Bytes({0, 0, 0, 0})},
      {"ab", _bstr_t("ab"), Bytes({2, 0, 0, 0, 'a', 0, 'b', 0})},
      {"wide unit", _bstr_t(euro), Bytes({2, 0, 0, 0, 0xAC, 0x20, 'x', 0})},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::vector<BYTE> bytes = Stored([&](CArchive& ar) { ar << c.text; });
    EXPECT_EQ(bytes, c.bytes);
    Loaded in(bytes);
    _bstr_t back("something else");
    in.ar >> back;
    ASSERT_EQ(back.length(), c.text.length());
    EXPECT_NE(back.GetBSTR(), nullptr);  // a read always yields a string, empty or not
    if (c.text.length()) {
      EXPECT_EQ(0, std::memcmp(back.GetBSTR(), c.text.GetBSTR(), c.text.length() * 2));
    }
  }
}

TEST(ArchiveForms, CStringFormsThroughMemoryArchive) {
  struct Case { size_t len; std::vector<BYTE> prefix; };
  const Case cases[] = {
      {0, Bytes({0x00})},
      {254, Bytes({0xFE})},
      {255, Bytes({0xFF, 0xFF, 0x00})},
      {0xFFFD, Bytes({0xFF, 0xFD, 0xFF})},
      {0xFFFE, Bytes({0xFF, 0xFF, 0xFF, 0xFE, 0xFF, 0x00, 0x00})},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.len);
    CString s(std::string(c.len, 'k'));
    std::vector<BYTE> bytes = Stored([&](CArchive& ar) { ar << s << DWORD(0xC0FFEE); });
    ASSERT_EQ(bytes.size(), c.prefix.size() + c.len + 4);
    EXPECT_TRUE(std::equal(c.prefix.begin(), c.prefix.end(), bytes.begin()));
    Loaded in(bytes);
    CString back;
    DWORD sentinel = 0;
    in.ar >> back >> sentinel;
    EXPECT_EQ(back, s);
    EXPECT_EQ(sentinel, 0xC0FFEEu);
  }
}

TEST(ArchiveForms, BndCharsCutsAndStaysInStep) {
  struct Case { std::string text; LONG capacity; std::string expect; };
  const Case cases[] = {
      {std::string(300, 'a'), 256, std::string(255, 'a')},
      {"short", 256, "short"},
      {std::string(255, 'b'), 256, std::string(255, 'b')},
      {std::string(256, 'c'), 256, std::string(255, 'c')},
      {"", 8, ""},
      {"xyz", 1, ""},
      {std::string("ab\0cd", 5), 8, "ab"},  // the text ends at its first NUL
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text.size());
    std::vector<BYTE> bytes = Stored([&](CArchive& ar) {
      ar << DWORD(c.text.size());
      ar.Write(c.text.data(), UINT(c.text.size()));
      ar << DWORD(0xC0FFEE);
    });
    Loaded in(bytes);
    std::vector<char> buf(size_t(c.capacity), 'Z');
    BndChars target(buf.data(), c.capacity);
    DWORD sentinel = 0;
    in.ar >> target >> sentinel;
    EXPECT_EQ(std::string(buf.data()), c.expect);
    // Behind the text the buffer is zero-filled to its end.
    for (size_t i = c.expect.size(); i < buf.size(); ++i) ASSERT_EQ(buf[i], '\0') << i;
    EXPECT_EQ(sentinel, 0xC0FFEEu);
  }
  // A target with no room consumes the text and writes nothing.
  for (LONG capacity : {0, -5}) {
    SCOPED_TRACE(capacity);
    Loaded in(Stored([](CArchive& ar) { ar << "hello" << DWORD(7); }));
    char guard = 'G';
    BndChars target(&guard, capacity);
    DWORD next = 0;
    in.ar >> target >> next;
    EXPECT_EQ(guard, 'G');
    EXPECT_EQ(next, 7u);
  }
}

TEST(ArchiveForms, LengthsBeyondTheDataFailWithoutAllocating) {
  // Each stores a huge length with only a few bytes behind it.
  const std::vector<BYTE> huge = Bytes({0xF0, 0xFF, 0xFF, 0xFF, 'a', 'b', 'c'});
  const std::vector<BYTE> cstr = Bytes({0xFF, 0xFF, 0xFF, 0xF0, 0xFF, 0xFF, 0x7F, 'a'});
  char buf[16];
  struct Case { const char* name; std::function<void()> read; };
  const Case cases[] = {
      {"counted text", [&] { Loaded in(huge); BndChars t(buf, 16); in.ar >> t; }},
      {"wide text", [&] { Loaded in(huge); _bstr_t t; in.ar >> t; }},
      {"CSAR_extract", [&] { Loaded in(cstr); CSAR_extract(buf, 16).Extract(in.ar); }},
      {"truncated length", [&] { Loaded in(Bytes({5, 0})); BndChars t(buf, 16); in.ar >> t; }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(ArchiveCause(c.read), CArchiveException::endOfFile);
  }
}

TEST(ArchiveForms, CSARExtractLimits) {
  struct Case { unsigned size; size_t len; bool fits; };
  const Case cases[] = {{8, 7, true}, {8, 8, false}, {8, 300, false}, {128, 127, true},
                        {128, 128, false}, {1, 0, true}, {0, 0, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.size << "/" << c.len);
    VqErr.Flush();
    std::string text(c.len, 'x');
    Loaded in(Stored([&](CArchive& ar) { ar << CString(text) << DWORD(99); }));
    std::vector<char> buf(c.size + 1, 'Z');  // one spare byte to catch an overrun
    CSAR_extract target(buf.data(), c.size);
    bool threw = false;
    try {
      target.Extract(in.ar);
    } catch (CException* e) {
      threw = true;
      e->Delete();
    }
    EXPECT_EQ(threw, !c.fits);
    EXPECT_EQ(buf[c.size], 'Z');
    if (c.fits) {
      EXPECT_EQ(std::string(buf.data()), text);
      DWORD next = 0;
      in.ar >> next;
      EXPECT_EQ(next, 99u);
    } else {
      if (c.size) {
        EXPECT_EQ(buf[0], '\0');
      }
      EXPECT_STREQ(VqErr.GetMsg(), "Bad string length in CSAR_extract(CArchive &)");
    }
  }
  VqErr.Flush();
}

TEST(ArchiveForms, CSARExtractCutsWhereNothingIsThrown) {
  // A thread with no report block: VqeThrow does not throw and the copy goes on, cut.
  std::vector<BYTE> bytes = Stored([](CArchive& ar) { ar << CString("abcdefghij"); });
  char buf[9] = "########";
  bool threw = false;
  std::thread worker([&] {
    Loaded in(bytes);
    try {
      CSAR_extract(buf, 4).Extract(in.ar);
    } catch (CException* e) {
      threw = true;
      e->Delete();
    }
  });
  worker.join();
  EXPECT_FALSE(threw);
  EXPECT_STREQ(buf, "abc");
  EXPECT_EQ(buf[4], '#');
}
