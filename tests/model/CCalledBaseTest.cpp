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

TEST(CCalledBase, DefaultsCopyAndRecord) {
  const CCalledBase fresh;
  EXPECT_EQ(fresh.m_lInserted, 1);
  EXPECT_EQ(fresh.m_lPeakFlags, 1);
  EXPECT_EQ(fresh.m_Code.code, '\0');

  const CCalledBase b = Sample();
  CCalledBase copy(b);
  const Bytes stored = Stored([&](CArchive& ar) { copy.Serialize(ar); });
  ASSERT_EQ(stored.size(), size_t(CCalledBase::kStoredBytes));
  EXPECT_EQ(stored, Head(8300, b).Put(b.m_fQualityValue).Put(b.m_fSpare).Put(b.m_lDataPoint).bytes());

  copy.SetDefaultValues();
  EXPECT_EQ(copy.m_lInserted, 1);
  EXPECT_EQ(copy.m_lBaseNumber, 0);
  Loader in(stored);
  copy.Serialize(in.ar());
  EXPECT_EQ(Stored([&](CArchive& ar) { copy.Serialize(ar); }), stored);
}

TEST(CCalledBase, ReaderVersionRules) {
  const CCalledBase b = Sample();
  const Bytes block8 = {0xDE, 0xAD, 0xBE, 0xEF, 0xDE, 0xAD, 0xBE, 0xEF};
  struct Case {
    LONG version;
    bool quality, spareAndPoint, obsolete;
  };
  const Case cases[] = {
      {-1, false, false, true},  {8000, false, false, true}, {8099, false, false, true},
      {8100, true, false, true}, {8101, false, false, true}, {8199, false, false, true},
      {8200, true, true, true},  {8201, true, true, false},  {8300, true, true, false},
      {9999, true, true, false},
  };
  const LONG derived = 42;  // the peak 41.9995 plus 0.001, truncated
  for (const Case& c : cases) {
    SCOPED_TRACE(c.version);
    ByteBuilder record = Head(c.version, b);
    if (c.quality) record.Put(b.m_fQualityValue);
    if (c.spareAndPoint) record.Put(b.m_fSpare).Put(b.m_lDataPoint);
    if (c.obsolete) record.Raw(block8);
    record.Put<LONG>(0x5A5A5A5A);

    CCalledBase read;
    read.m_fQualityValue = 99.0f;
    read.m_fSpare = 99.0f;
    Loader in(record.bytes());
    read.Serialize(in.ar());
    EXPECT_EQ(read.m_lBaseNumber, b.m_lBaseNumber);
    EXPECT_EQ(read.m_Code.code, 'G');
    EXPECT_EQ(read.m_fScore[2], 0.75f);
    EXPECT_EQ(read.m_Point2, b.m_Point2);
    EXPECT_EQ(read.m_lPeakFlags, -2);
    EXPECT_EQ(read.m_fQualityValue, c.quality ? 33.0f : 0.0f);
    EXPECT_EQ(read.m_fSpare, c.spareAndPoint ? 7.0f : 0.0f);
    EXPECT_EQ(read.m_lDataPoint, c.spareAndPoint ? 4242 : derived);
    LONG sentinel = 0;
    in.ar() >> sentinel;
    EXPECT_EQ(sentinel, 0x5A5A5A5A);
  }
}

TEST(CCalledBase, ReaderSurvivesOddValues) {
  CCalledBase odd = Sample();
  odd.m_Peak.x = std::nanf("");
  Bytes nanRecord = Head(8000, odd).Raw(Bytes(8, 0)).bytes();
  odd.m_Peak.x = 3e9f;
  Bytes hugeRecord = Head(8000, odd).Raw(Bytes(8, 0)).bytes();
  for (const Bytes& r : {nanRecord, hugeRecord}) {
    CCalledBase read;
    Loader in(r);
    read.Serialize(in.ar());
    EXPECT_EQ(read.m_lDataPoint, INT_MIN);
  }
  // A record cut anywhere in its fixed fields ends in the archive's exception; the
  // trailing obsolete block may be short.
  const Bytes full = Head(8000, Sample()).Raw(Bytes(8, 0)).bytes();
  for (size_t cut : {size_t(0), size_t(3), size_t(20), size_t(40), size_t(60)}) {
    SCOPED_TRACE(cut);
    CCalledBase read;
    EXPECT_TRUE(ThrowsEndOfFile([&] {
      Loader in(Bytes(full.begin(), full.begin() + long(cut)));
      read.Serialize(in.ar());
    }));
  }
  CCalledBase read;
  Loader in(Bytes(full.begin(), full.end() - 5));
  read.Serialize(in.ar());
  EXPECT_EQ(read.m_lPeakFlags, -2);
}

TEST(CCalledBase, GetMaxQualityIndex) {
  struct Case {
    char code;
    float a, c, g, t;
    int want;
  };
  const Case cases[] = {
      {'A', 0, 9, 9, 9, 0}, {'T', 9, 0, 0, 0, 3}, {'c', 9, 0, 0, 0, 1},  // plain bases by letter
      {'N', 0, 7, 7, 1, 1},  // ties go to the lower index
      {'R', 1, 2, 3, 4, 3}, {'N', 0, 0, 0, 0, 0}, {'N', -1, -2, -3, -4, 0},
      {'\0', 0, 0, 0, 0.5f, 3}, {'-', 2, 1, 0, 0, 0},
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
