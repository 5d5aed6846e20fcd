// The memory archive: write and read back, positions, block access, comparison and copy.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "FrameTestUtil.h"
#include "zevutil/CMemArchive.h"

using namespace zev;

namespace {
std::vector<BYTE> DataOf(const CMemArchive& ar) {
  const BYTE* p = ar.GetDataPtr();
  return std::vector<BYTE>(p, p + ar.GetDataSize());
}

bool ThrowsEndOfFile(const std::function<void()>& f) {
  try {
    f();
  } catch (CArchiveException* e) {
    bool eof = e->m_cause == CArchiveException::endOfFile;
    e->Delete();
    return eof;
  }
  return false;
}
}  // namespace

TEST(CMemArchive, WriteThenSetModeLoadReadsEverythingBack) {
  CMemArchive ar(CArchive::store);
  CTime when(std::int64_t(1700000000));
  ar << BYTE(0xAB) << WORD(0x1234) << int(-5) << 2.5 << CString("name") << when;
  ar << "counted";
  ar.SetMode(CArchive::load);
  EXPECT_TRUE(ar.IsLoading());
  BYTE b = 0;
  WORD w = 0;
  int i = 0;
  double d = 0;
  CString s;
  CTime t;
  char text[16];
  BndChars counted(text, sizeof text);
  ar >> b >> w >> i >> d >> s >> t >> counted;
  EXPECT_EQ(b, 0xAB);
  EXPECT_EQ(w, 0x1234);
  EXPECT_EQ(i, -5);
  EXPECT_EQ(d, 2.5);
  EXPECT_EQ(s, "name");
  EXPECT_EQ(t.GetTime(), when.GetTime());
  EXPECT_STREQ(text, "counted");
  EXPECT_EQ(ar.GetSizeOfDataRemaining(), 0u);
  EXPECT_TRUE(ThrowsEndOfFile([&] { ar >> b; }));
}

TEST(CMemArchive, PositionsAcrossBufferWindows) {
  // 10000 values cross the 4096-byte window and the 1024-byte grow step many times.
  constexpr int kCount = 10000;
  CMemArchive ar(CArchive::store);
  for (int i = 0; i < kCount; ++i) ar << i;
  EXPECT_EQ(ar.GetSizeOfDataRemaining(), 0u);  // storing: the position is the end
  EXPECT_EQ(ar.GetDataSize(), ULONG(kCount * 4));
  ar.SetMode(CArchive::load);
  for (int i = 0; i < kCount; ++i) {
    if (i % 1500 == 0) {
      ASSERT_EQ(ar.GetSizeOfDataRemaining(), ULONG((kCount - i) * 4)) << i;
    }
    int v = -1;
    ar >> v;
    ASSERT_EQ(v, i);
  }
  EXPECT_EQ(ar.GetSizeOfDataRemaining(), 0u);
}

TEST(CMemArchive, BlockAccessMidStreamKeepsWritingAndReading) {
  CMemArchive ar(CArchive::store);
  ar << DWORD(1);
  EXPECT_EQ(ar.GetDataSize(), 4u);
  ar << DWORD(2);
  EXPECT_EQ(DataOf(ar), zevtest::Bytes({1, 0, 0, 0, 2, 0, 0, 0}));
  ar.SetMode(CArchive::load);
  DWORD v = 0;
  ar >> v;
  EXPECT_EQ(ar.GetSizeOfDataRemaining(), 4u);
  EXPECT_EQ(ar.GetCurrentPointer(), ar.GetDataPtr() + 4);
  ar >> v;  // reading goes on after a block access
  EXPECT_EQ(v, 2u);
  // Back to storing: writing goes on at the end of the data.
  ar.SetMode(CArchive::store);
  ar << DWORD(3);
  EXPECT_EQ(ar.GetDataSize(), 12u);
  ar.SetMode(CArchive::load);
  DWORD all[3] = {};
  ar >> all[0] >> all[1] >> all[2];
  EXPECT_EQ(all[2], 3u);
}

TEST(CMemArchive, SetDataAndAttachReplaceTheData) {
  const BYTE source[] = {7, 0, 0, 0, 9, 0, 0, 0};
  struct Case { const char* name; UINT mode; bool attach; };
  const Case cases[] = {{"SetData load", CArchive::load, false}, {"SetData store", CArchive::store, false},
                        {"Attach load", CArchive::load, true}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CMemArchive ar(c.mode);
    if (c.mode == CArchive::store) ar << DWORD(0xDEAD);  // a window into the old buffer
    if (c.attach) {
      auto* owned = static_cast<BYTE*>(std::malloc(sizeof source));
      std::memcpy(owned, source, sizeof source);
      ar.Attach(owned, sizeof source);
      EXPECT_EQ(ar.GetDataPtr(), owned);
    } else {
      ar.SetData(source, sizeof source);
      EXPECT_NE(ar.GetDataPtr(), source);
    }
    EXPECT_EQ(DataOf(ar), std::vector<BYTE>(source, source + sizeof source));
    if (c.mode == CArchive::store) {
      EXPECT_EQ(ar.GetSizeOfDataRemaining(), 0u);
      ar << DWORD(11);  // appends
      ar.SetMode(CArchive::load);
    }
    DWORD a = 0, b = 0;
    ar >> a >> b;
    EXPECT_EQ(a, 7u);
    EXPECT_EQ(b, 9u);
  }
  // Data of size 0 changes nothing.
  CMemArchive ar(CArchive::load);
  ar.SetData(source, sizeof source);
  ar.SetData(nullptr, 0);
  EXPECT_EQ(ar.GetDataSize(), ULONG(sizeof source));
}

TEST(CMemArchive, ComparisonCopyAndChecksum) {
  CMemArchive a(CArchive::store), b(CArchive::load), c(CArchive::store), empty(CArchive::store);
  a.Write("123456789", 9);
  b.SetData(reinterpret_cast<const BYTE*>("123456789"), 9);
  c.Write("123456780", 9);
  EXPECT_TRUE(a == b);  // the mode is not compared
  EXPECT_FALSE(a != b);
  EXPECT_TRUE(a != c);
  EXPECT_TRUE(a != empty);
  EXPECT_EQ(a.GetCRC().GetCRC(), 0x340BC6D9u);  // CRC-32 check value, not inverted
  EXPECT_EQ(empty.GetCRC().GetCRC(), 0xFFFFFFFFu);

  CByteArray bytes;
  EXPECT_EQ(a.GetData(bytes), 9u);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes.GetData()), 9), "123456789");

  CMemArchive copy(CArchive::load);
  copy = a;
  EXPECT_TRUE(copy == a);
  EXPECT_TRUE(copy.IsStoring());
  copy << BYTE('!');
  EXPECT_EQ(copy.GetDataSize(), 10u);
  EXPECT_EQ(a.GetDataSize(), 9u);
  CMemArchive& self = copy;
  copy = self;
  EXPECT_EQ(copy.GetDataSize(), 10u);
  // kept: an empty source leaves the data as it was.
  copy = empty;
  EXPECT_EQ(copy.GetDataSize(), 10u);
}
