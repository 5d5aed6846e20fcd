// The called base: its 81-byte record byte for byte, the reader's rules for every
// older version, and the pick of the best-scoring base.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>

#include "ArchiveBytes.h"
#include "zevutil/CCalledBase.h"

using namespace zev;
using namespace zev::testhelp;

namespace {

CCalledBase Sample() {
  CCalledBase b;
  b.m_lInserted = 0;
  b.m_lEdited = 1;
  b.m_lBaseNumber = 0x01020304;
  b.m_Code = 'G';
  b.m_fCallScore = 1.5f;
  b.m_fScore[0] = 0.25f;
  b.m_fScore[1] = 0.5f;
  b.m_fScore[2] = 0.75f;
  b.m_fScore[3] = 1.0f;
  b.m_Peak = CFloatPoint(41.9995f, 2.0f);
  b.m_Point2 = CFloatPoint(3.0f, 4.0f);
  b.m_fMigrationTime = 600.0f;
  b.m_fExtra[0] = 5.0f;
  b.m_fExtra[1] = 6.0f;
  b.m_lPeakFlags = -2;
  b.m_fQualityValue = 33.0f;
  b.m_fSpare = 7.0f;
  b.m_lDataPoint = 4242;
  return b;
}

// Fields 1 to 12 of a record, for any version.
ByteBuilder Head(LONG version, const CCalledBase& b) {
  ByteBuilder out;
  out.Put(version).Put(b.m_lInserted).Put(b.m_lEdited).Put(b.m_lBaseNumber).Put(b.m_Code.code).Put(b.m_fCallScore);
  for (float s : b.m_fScore) out.Put(s);
  out.Put(b.m_Peak.x).Put(b.m_Peak.y).Put(b.m_Point2.x).Put(b.m_Point2.y).Put(b.m_fMigrationTime);
  out.Put(b.m_fExtra[0]).Put(b.m_fExtra[1]).Put(b.m_lPeakFlags);
  return out;
}

}  // namespace

TEST(CCalledBase, RecordOfTheCurrentVersion) {
  const CCalledBase fresh;
  EXPECT_EQ(fresh.m_lInserted, 1);  // a new base counts as inserted
  EXPECT_EQ(fresh.m_lPeakFlags, 1);
  CCalledBase copy(Sample());
  const Bytes stored = Stored([&](CArchive& ar) { copy.Serialize(ar); });
  ASSERT_EQ(stored.size(), size_t(CCalledBase::kStoredBytes));
  EXPECT_EQ(stored, Head(8300, copy).Put(copy.m_fQualityValue).Put(copy.m_fSpare).Put(copy.m_lDataPoint).bytes());
  copy.SetDefaultValues();
  Loader in(stored);
  copy.Serialize(in.ar());
  EXPECT_EQ(Stored([&](CArchive& ar) { copy.Serialize(ar); }), stored);
}

TEST(CCalledBase, ReaderVersionRules) {
  const CCalledBase b = Sample();
  struct Case {
    LONG version;
    bool quality, spareAndPoint, obsolete;
  };
  const Case cases[] = {
      {-1, false, false, true},  {8099, false, false, true}, {8100, true, false, true},
      {8101, false, false, true}, {8199, false, false, true}, {8200, true, true, true},
      {8201, true, true, false},  {8300, true, true, false},  {9999, true, true, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.version);
    ByteBuilder record = Head(c.version, b);
    if (c.quality) record.Put(b.m_fQualityValue);
    if (c.spareAndPoint) record.Put(b.m_fSpare).Put(b.m_lDataPoint);
    if (c.obsolete) record.Raw(Bytes(8, 0xEE));
    CCalledBase read;
    read.m_fQualityValue = read.m_fSpare = 99.0f;
    Loader in(record.Put<LONG>(0x5A5A5A5A).bytes());
    read.Serialize(in.ar());
    EXPECT_EQ(read.m_Point2, b.m_Point2);
    EXPECT_EQ(read.m_lPeakFlags, -2);
    EXPECT_EQ(read.m_fQualityValue, c.quality ? 33.0f : 0.0f);
    EXPECT_EQ(read.m_fSpare, c.spareAndPoint ? 7.0f : 0.0f);
    EXPECT_EQ(read.m_lDataPoint, c.spareAndPoint ? 4242 : 42);  // else the peak 41.9995 + 0.001, truncated
    LONG sentinel = 0;
    in.ar() >> sentinel;
    EXPECT_EQ(sentinel, 0x5A5A5A5A);
  }
  // A peak that no integer holds gives the old platform's 0x80000000.
  CCalledBase odd = Sample();
  odd.m_Peak.x = std::nanf("");
  CCalledBase read;
  Loader nan(Head(8000, odd).Raw(Bytes(8, 0)).bytes());
  read.Serialize(nan.ar());
  EXPECT_EQ(read.m_lDataPoint, INT_MIN);
  // Cut in the fixed fields: the archive's exception; a short obsolete block is no error.
  const Bytes full = Head(8000, b).Raw(Bytes(8, 0)).bytes();
  EXPECT_TRUE(ThrowsEndOfFile([&] {
    Loader cut(Bytes(full.begin(), full.begin() + 60));
    read.Serialize(cut.ar());
  }));
  Loader shortBlock(Bytes(full.begin(), full.end() - 5));
  read.Serialize(shortBlock.ar());
  EXPECT_EQ(read.m_lPeakFlags, -2);
}

TEST(CCalledBase, GetMaxQualityIndex) {
  struct Case {
    char code;
    float a, c, g, t;
    int want;
  };
  const Case cases[] = {
      {'T', 9, 0, 0, 0, 3}, {'c', 9, 0, 0, 0, 1},  // plain bases by letter
      {'N', 0, 7, 7, 1, 1},                       // ties go to the lower index
      {'R', 1, 2, 3, 4, 3}, {'N', -1, -2, -3, -4, 0}, {'\0', 0, 0, 0, 0.5f, 3},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << "'" << c.code << "' " << c.a << " " << c.c << " " << c.g << " " << c.t);
    CCalledBase b;
    b.m_Code = c.code;
    b.m_fScore[0] = c.a;
    b.m_fScore[1] = c.c;
    b.m_fScore[2] = c.g;
    b.m_fScore[3] = c.t;
    EXPECT_EQ(b.GetMaxQualityIndex(), c.want);
  }
}
