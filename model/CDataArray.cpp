// A channel's sampled series: axis arithmetic, data block and sums, and value scaling.
#include "zevutil/CDataArray.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "zevutil/platform/Host.h"

namespace zev {

namespace {

// Truncation to 32 bits as the old platform's processor did it: a value that has no
// 32-bit form (too large, or not a number) gives 0x80000000.
LONG TruncToLong(double v) {
  if (!(v > -2147483649.0 && v < 2147483648.0)) return LONG(INT32_MIN);
  return LONG(v);
}

// One sample of the given C type at index i (negative ones lie before data), read
// without alignment demands.
template <class T>
T SampleAt(const void* data, std::int64_t i) {
  T v;
  std::memcpy(&v, static_cast<const unsigned char*>(data) + std::ptrdiff_t(i) * std::ptrdiff_t(sizeof(T)), sizeof(T));
  return v;
}

}  // namespace

int DataValueSize(EDATAVALUETYPE type) {
  switch (type) {
    case DATAVALUE_LONG: return 4;
    case DATAVALUE_FLOAT: return 4;
    case DATAVALUE_DOUBLE: return 8;
    case DATAVALUE_BLOCK: return 32;
    case DATAVALUE_USHORT: return 2;
    default: return 4;
  }
}

// ---- CDataScaleInfo ----

void CDataScaleInfo::ScalePoint(EDATAVALUETYPE type, double input, LONG& l, float& f, double& d,
                                unsigned short& u) const {
  const double scale = m_fScale, minimum = m_fMinimum, maximum = m_fMaximum, offset = m_fOffset;
  double v = input;
  switch (m_lMode) {
    case 1:
      if (input >= maximum)
        v = scale + offset;
      else if (input <= minimum)
        v = offset;
      else
        v = scale * ((input - minimum) / (maximum - minimum)) + offset;
      break;
    case 2: v = scale * ((input - minimum) / (maximum - minimum)) + offset; break;
    case 4: v = scale * input + offset; break;
    case 5: {
      double held = input;
      if (held < minimum) held = minimum;
      if (held > maximum) held = maximum;
      v = scale * held + offset;
      break;
    }
    default: break;  // 3 and unknown modes: unchanged
  }
  l = -1;
  f = -1.0f;
  d = -1.0;
  switch (type) {
    case DATAVALUE_LONG: l = TruncToLong(v); break;
    case DATAVALUE_FLOAT: f = float(v); break;
    case DATAVALUE_DOUBLE: d = v; break;
    case DATAVALUE_USHORT: u = static_cast<unsigned short>(TruncToLong(v)); break;
    default: break;
  }
}

// ---- CDataArray ----

CDataArray::~CDataArray() = default;  // m_pOwner frees owned samples with the last sharer

LONG CDataArray::RunIndex(double time) const {
  if (time < m_dStart) return 0;
  if (time > m_dEnd) return m_lPointCount;
  return TruncToLong((time - m_dStart) * m_dRate + 1e-8);
}

double CDataArray::RunTime(LONG index) const {
  if (!(m_dRate > 0.0)) return 0.0;
  double t = double(index) / m_dRate + m_dStart;
  if (t < m_dStart) t = m_dStart;
  if (t > m_dEnd) t = m_dEnd;
  return t;
}

void CDataArray::SetDefaultValues() {
  m_eValueType = DATAVALUE_DOUBLE;
  m_lChannelTag = -1;
  for (auto& w : m_lWords) w = 0;
  m_dStart = m_dEnd = m_dRate = 0.0;
  for (auto& a : m_dSecondAxis) a = 0.0;
  m_Scale = CDataScaleInfo();
  m_lPointCount = m_lFirstIndex = m_lLastIndex = m_lCurrentIndex = 0;
  m_dCurrentTime = 0.0;
  for (auto& w : m_lTailWords) w = 0;
  m_lTailTag = -1;
}

LONG CDataArray::GetAxisLimits(double& start, double& end, double& rate, double& increment) const {
  start = m_dStart;
  end = m_dEnd;
  rate = m_dRate;
  increment = m_dRate > 0.0 ? 1.0 / m_dRate : 0.0;
  return m_lPointCount;
}

LONG CDataArray::GetAxisValues(int step, LONG first, LONG last, double* out) const {
  double start, end, rate, increment;
  const LONG points = GetAxisLimits(start, end, rate, increment);
  if (points < 1 || !(rate > 0.0) || !(increment > 0.0)) return 0;
  double t = RunTime(first);
  const double limit = RunTime(last);
  if (step > 1) increment *= step;
  LONG count = 0;
  while (t <= limit && t <= end) {
    if (out) *out++ = t;
    ++count;
    const double next = t + increment;
    if (next == t) break;  // an increment too small to move t would never end
    t = next;
  }
  return count;
}

LONG CDataArray::GetAxisValues(int step, double first, double last, double* out) const {
  return GetAxisValues(step, RunIndex(first), RunIndex(last), out);
}

double CDataArray::GetArrayRate() const { return m_dRate; }

double CDataArray::GetArrayIncrement() const {
  const double rate = GetArrayRate();
  return rate > 0.0 ? 1.0 / rate : 0.0;
}

void CDataArray::SetAxisLimits(double& start, double& end, double& rate) {
  m_dRate = rate;
  SetAxisLimits(start, end);
}

void CDataArray::SetAxisLimits(double& start, double& end) {
  m_dStart = start;
  m_dEnd = end;
  if (m_lCurrentIndex > m_lPointCount) m_lCurrentIndex = m_lPointCount;
  if (m_lCurrentIndex < 0) m_lCurrentIndex = 0;
  m_dCurrentTime = RunTime(m_lCurrentIndex);
}

void CDataArray::SetDataPointer(void* data, int owned) {
  // Dropping this array's share frees the samples unless a copy still holds them.
  m_pOwner.reset();
  m_nOwnedBytes = 0;
  if (data) {
    m_pData = data;
    m_bSelfAllocated = 0;
    m_bOwned = owned;
    if (owned) {
      m_pOwner = std::shared_ptr<void>(data, [](void* p) { std::free(p); });
      m_nOwnedBytes = HeapBlockSize(data);
    }
  } else {
    m_pData = nullptr;
    m_bSelfAllocated = 1;
    m_bOwned = 1;
  }
}

LONG CDataArray::GetDataSize() const {
  if (!m_pData) return 0;
  const std::int64_t size = (std::int64_t(m_lLastIndex) - m_lFirstIndex + 1) * DataValueSize(m_eValueType);
  return LONG(std::uint32_t(std::uint64_t(size)));
}

// The sums read sample i from the start of the data, for i from first to last, with
// no range test. Samples that the caller keeps (given with owned 0, or put straight in
// m_pData) are the caller's, and the caller vouches for every index summed, as the old
// loop demanded. Only a heap block handed over for the array to own and free has a
// size the array knows; there, indices outside the block count as 0, which leaves
// every sum over samples that exist unchanged.
namespace {

struct Sums {
  std::uint32_t l = 0;  // wraps as the old 32-bit sum did
  float f = 0.0f;
  double d = 0.0;
};

template <class T, class Add>
void SumRange(const void* data, std::int64_t heldBytes, LONG first, LONG last, Add&& add) {
  std::int64_t from = first, to = last;
  if (heldBytes >= 0) {  // owned samples: only what the block holds
    if (from < 0) from = 0;
    const std::int64_t held = heldBytes / std::int64_t(sizeof(T));
    if (to >= held) to = held - 1;
  }
  // A 64-bit index, so that a last index of the largest LONG ends the loop.
  for (std::int64_t i = from; i <= to; ++i) add(SampleAt<T>(data, i));
}

}  // namespace

std::int64_t CDataArray::OwnedBytes() const {
  // A pointer put in m_pData by hand, over owned samples, is the caller's again.
  return m_pOwner && m_pOwner.get() == m_pData ? std::int64_t(m_nOwnedBytes) : -1;
}

static Sums SumSamples(const CDataArray& a, std::int64_t heldBytes, LONG first, LONG last) {
  Sums s;
  if (!a.m_pData) return s;  // no samples to read: a null pointer is never followed
  switch (a.m_eValueType) {
    case DATAVALUE_LONG:
    case DATAVALUE_USHORT:
      // kept: two-byte samples are summed as four-byte ones, as callers expect
      SumRange<LONG>(a.m_pData, heldBytes, first, last, [&s](LONG v) { s.l += std::uint32_t(v); });
      break;
    case DATAVALUE_FLOAT:
      // Each step is added in double precision and stored back in float.
      SumRange<float>(a.m_pData, heldBytes, first, last, [&s](float v) { s.f = float(double(s.f) + v); });
      break;
    default:
      SumRange<double>(a.m_pData, heldBytes, first, last, [&s](double v) { s.d += v; });
      break;
  }
  return s;
}

LONG CDataArray::LSumDataPoint(LONG first, LONG last) const {
  const Sums s = SumSamples(*this, OwnedBytes(), first, last);
  switch (m_eValueType) {
    case DATAVALUE_LONG:
    case DATAVALUE_USHORT: return LONG(s.l);
    case DATAVALUE_FLOAT: return TruncToLong(double(s.f) + 0.5);
    default: return TruncToLong(s.d + 0.5);
  }
}

float CDataArray::FSumDataPoint(LONG first, LONG last) const {
  const Sums s = SumSamples(*this, OwnedBytes(), first, last);
  switch (m_eValueType) {
    case DATAVALUE_LONG:
    case DATAVALUE_USHORT: return float(LONG(s.l));
    // kept: 0.5 is added to the floating sums although nothing is rounded after it
    case DATAVALUE_FLOAT: return float(double(s.f) + 0.5);
    default: return float(s.d + 0.5);
  }
}

double CDataArray::DSumDataPoint(LONG first, LONG last) const {
  const Sums s = SumSamples(*this, OwnedBytes(), first, last);
  switch (m_eValueType) {
    case DATAVALUE_LONG:
    case DATAVALUE_USHORT: return double(LONG(s.l));
    case DATAVALUE_FLOAT: return double(s.f) + 0.5;  // kept: as FSumDataPoint
    default: return s.d + 0.5;
  }
}

LONG CDataArray::LSumDataPoint(double first, double last) const {
  return LSumDataPoint(RunIndex(first), RunIndex(last));
}

float CDataArray::FSumDataPoint(double first, double last) const {
  return FSumDataPoint(RunIndex(first), RunIndex(last));
}

double CDataArray::DSumDataPoint(double first, double last) const {
  return DSumDataPoint(RunIndex(first), RunIndex(last));
}

}  // namespace zev
