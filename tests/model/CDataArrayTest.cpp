// A channel's sampled series: axis arithmetic, data size and ownership, the sums with
// their kept rounding and width rules, and value scaling.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <optional>
#include <vector>

#include "zevutil/CDataArray.h"
#include "zevutil/platform/Host.h"

using namespace zev;

namespace {

CDataArray Axis(double start, double end, double rate, LONG points) {
  CDataArray a;
  a.m_lPointCount = points;
  a.SetAxisLimits(start, end, rate);
  return a;
}

// A malloc'ed copy of the values, owned by the array, with the indices that cover it.
// The heap may round the block up; that slack is zeroed, so sums past the values
// read zeros up to the block's end.
template <class T>
void Hold(CDataArray& a, EDATAVALUETYPE type, const std::vector<T>& values, LONG points) {
  void* block = std::malloc(values.size() * sizeof(T));
  std::memset(block, 0, HeapBlockSize(block));
  std::memcpy(block, values.data(), values.size() * sizeof(T));
  a.m_eValueType = type;
  a.m_lFirstIndex = 0;
  a.m_lLastIndex = points - 1;
  a.SetDataPointer(block, 1);
}

}  // namespace

TEST(CDataArray, AxisArithmetic) {
  const CDataArray a = Axis(0.0, 10.0, 100.0, 1001);
  struct IndexCase {
    double time;
    LONG index;
  };
  const IndexCase indices[] = {{2.5, 250}, {-1.0, 0}, {11.0, 1001}, {0.0, 0}, {10.0, 1000}, {0.29, 29}};
  for (const auto& c : indices) {
    SCOPED_TRACE(c.time);
    EXPECT_EQ(a.RunIndex(c.time), c.index);
  }
  // A time made from an index gives that index back.
  for (LONG i = 0; i <= 1000; ++i) ASSERT_EQ(a.RunIndex(a.RunTime(i)), i) << i;
  EXPECT_DOUBLE_EQ(a.RunTime(2000), 10.0);  // held at end
  EXPECT_DOUBLE_EQ(a.RunTime(-5), 0.0);     // and at start
  EXPECT_DOUBLE_EQ(a.GetArrayIncrement(), 0.01);

  double s, e, r, inc;
  EXPECT_EQ(a.GetAxisLimits(s, e, r, inc), 1001);
  EXPECT_DOUBLE_EQ(inc, 0.01);

  const CDataArray flat = Axis(0.0, 10.0, 0.0, 1001);
  EXPECT_DOUBLE_EQ(flat.RunTime(50), 0.0);
  EXPECT_DOUBLE_EQ(flat.GetArrayIncrement(), 0.0);
  double out[4] = {};
  EXPECT_EQ(flat.GetAxisValues(1, LONG(0), LONG(3), out), 0);
  EXPECT_EQ(Axis(0.0, 10.0, 100.0, 0).GetAxisValues(1, LONG(0), LONG(3), out), 0);  // no points
}

TEST(CDataArray, AxisValuesBySteps) {
  const CDataArray a = Axis(0.0, 2.5, 4.0, 11);  // quarter steps, exact in binary
  struct Case {
    int step;
    LONG first, last;
    std::vector<double> values;
  };
  const Case cases[] = {
      {1, 0, 3, {0.0, 0.25, 0.5, 0.75}},
      {3, 0, 10, {0.0, 0.75, 1.5, 2.25}},
      {0, 8, 20, {2.0, 2.25, 2.5}},  // the limit is held at end; a step below 2 is 1
      {1, 5, 4, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.step * 1000 + c.first);
    double out[16] = {};
    ASSERT_EQ(a.GetAxisValues(c.step, c.first, c.last, out), LONG(c.values.size()));
    for (size_t i = 0; i < c.values.size(); ++i) EXPECT_DOUBLE_EQ(out[i], c.values[i]) << i;
  }
  EXPECT_EQ(a.GetAxisValues(2, 0.5, 1.5, nullptr), 3);  // by run times; null only counts
}

TEST(CDataArray, LimitsMoveTheCursor) {
  CDataArray a;
  a.m_lPointCount = 50;
  a.m_lCurrentIndex = 80;
  double start = 1.0, end = 2.0, rate = 100.0;
  a.SetAxisLimits(start, end, rate);
  EXPECT_EQ(a.m_lCurrentIndex, 50);
  EXPECT_DOUBLE_EQ(a.m_dCurrentTime, 1.5);
  a.m_lCurrentIndex = -4;
  a.SetAxisLimits(start, end);
  EXPECT_EQ(a.m_lCurrentIndex, 0);
  EXPECT_DOUBLE_EQ(a.m_dCurrentTime, 1.0);
}

TEST(CDataArray, DataSizeOwnershipAndDefaults) {
  CDataArray a;
  a.m_lFirstIndex = 0;
  a.m_lLastIndex = 9;
  EXPECT_EQ(a.GetDataSize(), 0);  // no data, whatever the indices
  LONG outside[10] = {};
  a.SetDataPointer(outside, 0);  // not owned: never freed
  EXPECT_EQ(a.m_bSelfAllocated, 0);
  EXPECT_EQ(a.m_bOwned, 0);
  struct Case {
    LONG type;
    LONG size;
  };
  const Case sizes[] = {{1, 40}, {2, 40}, {3, 80}, {4, 320}, {5, 20}, {0, 40}, {9, 40}};
  for (const auto& c : sizes) {
    SCOPED_TRACE(c.type);
    a.m_eValueType = static_cast<EDATAVALUETYPE>(c.type);
    EXPECT_EQ(a.GetDataSize(), c.size);
  }

  // Copies share owned samples; they are freed once, by the last one to go.
  std::optional<CDataArray> copy(std::in_place);
  {
    CDataArray owner;
    Hold<double>(owner, DATAVALUE_DOUBLE, {1.0, 2.0}, 2);
    *copy = owner;
    EXPECT_EQ(copy->GetDataPointer(), owner.GetDataPointer());
    EXPECT_EQ(copy->m_bOwned, 1);
  }
  EXPECT_DOUBLE_EQ(copy->DSumDataPoint(LONG(0), LONG(1)), 3.5);
  CDataArray second(*copy);
  copy.reset();
  second.SetDataPointer(nullptr, 0);
  EXPECT_EQ(second.GetDataPointer(), nullptr);
  EXPECT_EQ(second.m_bSelfAllocated, 1);
  EXPECT_EQ(second.m_bOwned, 1);

  // Defaults leave the data and its flags alone.
  a.m_lChannelTag = 4;
  a.m_dRate = 3.0;
  a.m_Scale.m_lMode = 2;
  a.SetDefaultValues();
  EXPECT_EQ(a.m_lChannelTag, -1);
  EXPECT_EQ(a.m_eValueType, DATAVALUE_DOUBLE);
  EXPECT_DOUBLE_EQ(a.m_dRate, 0.0);
  EXPECT_EQ(a.m_Scale.m_lMode, 0);
  EXPECT_EQ(a.GetDataPointer(), static_cast<void*>(outside));
  EXPECT_EQ(a.m_bOwned, 0);
}

TEST(CDataArray, SumsByValueType) {
  CDataArray longs, shorts, floats, doubles, fiveOwned;
  Hold<LONG>(longs, DATAVALUE_LONG, {1, 2, 3, -10}, 4);
  // kept: two-byte samples are summed as four-byte ones, the 8 bytes as two LONGs.
  Hold<unsigned short>(shorts, DATAVALUE_USHORT, {1, 2, 3, 4}, 4);
  Hold<float>(floats, DATAVALUE_FLOAT, {1.25f, 2.5f}, 2);
  Hold<double>(doubles, DATAVALUE_DOUBLE, {1.2, 2.2}, 2);
  Hold<LONG>(fiveOwned, DATAVALUE_LONG, {1, 2, 3, 4, 5}, 1);  // the indices describe one point

  // The caller's samples are summed with no range test: the indices that the array
  // holds, or the block they describe, play no part.
  LONG callerLongBuffer[] = {100, 200, 1, 2, 3, 4, 5, 300};
  const LONG* fiveLongs = callerLongBuffer + 2;
  CDataArray callerLongs;
  callerLongs.m_eValueType = DATAVALUE_LONG;
  callerLongs.SetDataPointer(const_cast<LONG*>(fiveLongs), 0);
  unsigned short callerShortBuffer[] = {1, 2, 3, 4, 5, 6, 7, 8};
  CDataArray callerShorts;
  callerShorts.m_eValueType = DATAVALUE_USHORT;
  callerShorts.SetDataPointer(callerShortBuffer, 0);
  float callerFloatBuffer[] = {0.5f, 1.25f, 2.5f, 4.0f};
  CDataArray callerFloats;
  callerFloats.m_eValueType = DATAVALUE_FLOAT;
  callerFloats.SetDataPointer(callerFloatBuffer + 1, 0);
  double callerDoubleBuffer[] = {1.2, 2.2, 3.2};
  CDataArray callerDoubles;
  callerDoubles.m_eValueType = static_cast<EDATAVALUETYPE>(4);  // no form of its own: summed as double
  callerDoubles.SetDataPointer(callerDoubleBuffer, 0);
  // A pointer put in by hand over owned samples is the caller's too.
  CDataArray handSet;
  Hold<LONG>(handSet, DATAVALUE_LONG, {9}, 1);
  handSet.m_pData = callerLongBuffer;
  struct Case {
    const char* name;
    const CDataArray* a;
    LONG first, last;
    LONG l;
    float f;
    double d;
  };
  const Case cases[] = {
      {"longs", &longs, 0, 2, 6, 6.0f, 6.0},
      {"longs all", &longs, 0, 3, -4, -4.0f, -4.0},
      {"longs reversed", &longs, 2, 1, 0, 0.0f, 0.0},
      {"shorts as longs", &shorts, 0, 1, 131073 + 262147, 393220.0f, 393220.0},
      {"shorts past the block", &shorts, 0, 3, 393220, 393220.0f, 393220.0},
      {"floats", &floats, 0, 1, 4, 4.25f, 4.25},
      {"doubles", &doubles, 0, 1, 3, 3.9f, 3.9},
      {"doubles from -5", &doubles, -5, 0, 1, 1.7f, 1.7},
      {"owned: five samples, indices left at 0", &fiveOwned, 0, 4, 15, 15.0f, 15.0},
      {"owned: far past the block", &fiveOwned, 3, 0x7FFFFFFF, 9, 9.0f, 9.0},
      {"caller: five samples, indices left at 0", &callerLongs, 0, 4, 15, 15.0f, 15.0},
      {"caller: from before the pointer", &callerLongs, -2, 0, 301, 301.0f, 301.0},
      {"caller: past what the indices describe", &callerLongs, 4, 5, 305, 305.0f, 305.0},
      {"caller: shorts as four longs", &callerShorts, 0, 3,
       LONG(0x00020001u + 0x00040003u + 0x00060005u + 0x00080007u), 1310736.0f, 1310736.0},
      {"caller: floats from before the pointer", &callerFloats, -1, 2, 8, 8.75f, 8.75},
      {"caller: type 4 as doubles", &callerDoubles, 0, 2, 7, 7.1f, 7.1},
      {"caller: reversed", &callerLongs, 3, 2, 0, 0.0f, 0.0},
      {"hand-set pointer over owned samples", &handSet, 0, 7, 615, 615.0f, 615.0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.a->LSumDataPoint(c.first, c.last), c.l);
    EXPECT_FLOAT_EQ(c.a->FSumDataPoint(c.first, c.last), c.f);
    EXPECT_NEAR(c.a->DSumDataPoint(c.first, c.last), c.d, 1e-12);
  }
  // The run-time forms convert through RunIndex first.
  double start = 0.0, end = 1.0, rate = 2.0;
  longs.m_lPointCount = 4;
  longs.SetAxisLimits(start, end, rate);
  EXPECT_EQ(longs.LSumDataPoint(0.0, 1.0), 6);
  EXPECT_FLOAT_EQ(longs.FSumDataPoint(0.5, 1.0), 5.0f);
  EXPECT_DOUBLE_EQ(longs.DSumDataPoint(0.0, 0.0), 1.0);
}

TEST(CDataScaleInfo, ScalePointByModeAndType) {
  CDataScaleInfo s;
  s.m_fScale = 100.0f;
  s.m_fMinimum = 2.0f;
  s.m_fMaximum = 4.0f;
  s.m_fOffset = 5.0f;
  struct Case {
    LONG mode;
    double input;
    double v;
  };
  const Case cases[] = {
      {1, 4.0, 105.0}, {1, 9.0, 105.0}, {1, 2.0, 5.0}, {1, 1.0, 5.0}, {1, 3.0, 55.0},
      {2, 3.0, 55.0},  {2, 6.0, 205.0}, {3, 3.5, 3.5}, {4, 3.0, 305.0}, {5, 9.0, 405.0},
      {5, 0.0, 205.0}, {5, 3.0, 305.0}, {0, 7.25, 7.25}, {8, -2.0, -2.0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.mode * 100 + c.input);
    s.m_lMode = c.mode;
    LONG l = 0;
    float f = 0;
    double d = 0;
    unsigned short u = 9;
    s.ScalePoint(DATAVALUE_DOUBLE, c.input, l, f, d, u);
    EXPECT_DOUBLE_EQ(d, c.v);
    EXPECT_EQ(l, -1);
    EXPECT_FLOAT_EQ(f, -1.0f);
    EXPECT_EQ(u, 9);  // touched only by type 5
  }

  s.m_lMode = 3;
  struct TypeCase {
    LONG type;
    LONG l;
    float f;
    double d;
    unsigned short u;
  };
  const TypeCase types[] = {
      {1, 1234, -1.0f, -1.0, 7},  {2, -1, 1234.75f, -1.0, 7}, {3, -1, -1.0f, 1234.75, 7},
      {4, -1, -1.0f, -1.0, 7},    {5, -1, -1.0f, -1.0, 1234}, {6, -1, -1.0f, -1.0, 7},
  };
  for (const auto& c : types) {
    SCOPED_TRACE(c.type);
    LONG l = 0;
    float f = 0;
    double d = 0;
    unsigned short u = 7;
    s.ScalePoint(static_cast<EDATAVALUETYPE>(c.type), 1234.75, l, f, d, u);
    EXPECT_EQ(l, c.l);
    EXPECT_FLOAT_EQ(f, c.f);
    EXPECT_DOUBLE_EQ(d, c.d);
    EXPECT_EQ(u, c.u);
  }
  // The defaults: no scaling, scale 2e6 over the range 0..1.
  const CDataScaleInfo defaults;
  EXPECT_EQ(defaults.m_lMode, 0);
  EXPECT_FLOAT_EQ(defaults.m_fScale, 2000000.0f);
  EXPECT_FLOAT_EQ(defaults.m_fMaximum, 1.0f);
}
