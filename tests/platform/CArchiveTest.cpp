// Archive stored forms, byte for byte, and the memory file underneath.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "zevutil/platform/CArchive.h"
#include "zevutil/platform/Collections.h"

using namespace zev;

namespace {
std::vector<BYTE> Stored(const std::function<void(CArchive&)>& write) {
  CMemFile f;
  {
    CArchive ar(&f, CArchive::store);
    write(ar);
  }
  f.SeekToBegin();
  std::vector<BYTE> out(size_t(f.GetLength()));
  if (!out.empty()) f.Read(out.data(), UINT(out.size()));
  return out;
}
std::vector<BYTE> Prefix(std::initializer_list<int> b) {
  std::vector<BYTE> v;
  for (int x : b) v.push_back(BYTE(x));
  return v;
}
}  // namespace

TEST(CArchive, CStringLengthPrefixes) {
  struct Case { size_t len; std::vector<BYTE> prefix; };
  const Case cases[] = {
      {0, Prefix({0x00})},
      {3, Prefix({0x03})},
      {254, Prefix({0xFE})},
      {255, Prefix({0xFF, 0xFF, 0x00})},
      {300, Prefix({0xFF, 0x2C, 0x01})},
      {0xFFFD, Prefix({0xFF, 0xFD, 0xFF})},
      {0xFFFE, Prefix({0xFF, 0xFF, 0xFF, 0xFE, 0xFF, 0x00, 0x00})},
      {0x10000, Prefix({0xFF, 0xFF, 0xFF, 0x00, 0x00, 0x01, 0x00})},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.len);
    CString s(std::string(c.len, 'x'));
    std::vector<BYTE> bytes = Stored([&](CArchive& ar) { ar << s; });
    ASSERT_EQ(bytes.size(), c.prefix.size() + c.len);
    EXPECT_TRUE(std::equal(c.prefix.begin(), c.prefix.end(), bytes.begin()));
    // and back
    CMemFile f;
    f.Write(bytes.data(), UINT(bytes.size()));
    f.SeekToBegin();
    CArchive ar(&f, CArchive::load);
    CString back;
    ar >> back;
    EXPECT_EQ(back.GetLength(), int(c.len));
  }
}

TEST(CArchive, NumbersAndCounts) {
  std::vector<BYTE> bytes = Stored([](CArchive& ar) {
    ar << BYTE(1) << WORD(0x0302) << LONG(-1) << DWORD(0x07060504) << float(1.0f) << double(2.0);
    ar.WriteCount(0xFFFE);
    ar.WriteCount(0xFFFF);
    ar << CTime(std::int64_t(0x01020304));
  });
  const std::vector<BYTE> want = Prefix({1, 2, 3, 0xFF, 0xFF, 0xFF, 0xFF, 4, 5, 6, 7, 0, 0, 0x80, 0x3F,
                                         0, 0, 0, 0, 0, 0, 0, 0x40, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                         0, 0, 4, 3, 2, 1});
  EXPECT_EQ(bytes, want);
}

TEST(CArchive, WideMarkerReadsSixteenBitText) {
  const std::vector<BYTE> wide = Prefix({0xFF, 0xFE, 0xFF, 0x03, 'a', 0, 'b', 0, 0x34, 0x12});
  CMemFile f;
  f.Write(wide.data(), UINT(wide.size()));
  f.SeekToBegin();
  CArchive ar(&f, CArchive::load);
  CString s;
  ar >> s;
  EXPECT_STREQ(s, "ab?");
}

TEST(CArchive, ReadingPastTheEndThrowsArchiveException) {
  // A string whose length exceeds the data: the exception, not a huge allocation.
  const std::vector<BYTE> hostile = Prefix({0xFF, 0xFF, 0xFF, 0xF0, 0xFF, 0xFF, 0x7F, 'a'});
  CMemFile f;
  f.Write(hostile.data(), UINT(hostile.size()));
  f.SeekToBegin();
  CArchive ar(&f, CArchive::load);
  CString s;
  try {
    ar >> s;
    FAIL() << "no exception";
  } catch (CArchiveException* e) {
    EXPECT_EQ(e->m_cause, CArchiveException::endOfFile);
    e->Delete();
  }
}

TEST(Collections, ListPositionsAndSearch) {
  CList<int, int> l(3);
  for (int i = 0; i < 8; ++i) l.AddTail(i);
  POSITION p = l.Find(5);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(l.Find(5, p), nullptr);
  EXPECT_EQ(l.FindIndex(8), nullptr);
  EXPECT_EQ(l.FindIndex(-1), nullptr);
  l.InsertBefore(nullptr, -1);
  l.InsertAfter(nullptr, 99);
  EXPECT_EQ(l.GetHead(), -1);
  EXPECT_EQ(l.GetTail(), 99);
  l.RemoveAt(p);
  std::vector<int> seen;
  for (POSITION q = l.GetHeadPosition(); q;) seen.push_back(l.GetNext(q));
  EXPECT_EQ(seen, (std::vector<int>{-1, 0, 1, 2, 3, 4, 6, 7, 99}));
}

TEST(Collections, MapIterationFollowsBucketsNewestFirst) {
  CMapWordToPtr m;
  for (WORD k = 1; k <= 40; ++k) m.SetAt(k, reinterpret_cast<void*>(std::uintptr_t(k)));
  std::vector<int> order;
  for (POSITION p = m.GetStartPosition(); p;) {
    WORD k;
    void* v;
    m.GetNextAssoc(p, k, v);
    order.push_back(k);
  }
  std::vector<int> want;
  for (int k = 15; k >= 1; --k) want.push_back(k);
  for (int k = 31; k >= 16; --k) want.push_back(k);
  for (int k = 40; k >= 32; --k) want.push_back(k);
  EXPECT_EQ(order, want);
}

TEST(Collections, StringListRoundTripAppends) {
  CStringList a;
  a.AddTail("one");
  a.AddTail(CString(std::string(300, 'z')));
  CMemFile f;
  {
    CArchive ar(&f, CArchive::store);
    a.Serialize(ar);
  }
  f.SeekToBegin();
  CStringList b;
  b.AddTail("zero");
  CArchive ar(&f, CArchive::load);
  b.Serialize(ar);
  ASSERT_EQ(b.GetCount(), 3);
  EXPECT_STREQ(b.GetHead(), "zero");
  EXPECT_EQ(b.GetTail().GetLength(), 300);
}
