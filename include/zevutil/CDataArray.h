// Run data of one channel: CDataArray, a uniformly sampled series over a time axis
// (start, end, rate) with its axis arithmetic and sums, and CDataScaleInfo, the rule
// that maps a raw value to a stored one.
#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>

#include "zevutil/platform/Types.h"

namespace zev {

// The form of one sample.
enum EDATAVALUETYPE : LONG {
  DATAVALUE_LONG = 1,
  DATAVALUE_FLOAT = 2,
  DATAVALUE_DOUBLE = 3,
  DATAVALUE_BLOCK = 4,  // no sample form of its own; 32 bytes a point
  DATAVALUE_USHORT = 5,
};

// Bytes a point as GetDataSize counts them: 4, 4, 8, 32, 2 for the types 1 to 5, and
// 4 for any other value.
int DataValueSize(EDATAVALUETYPE type);

class CDataScaleInfo {
 public:
  CDataScaleInfo() = default;
  CDataScaleInfo(const CDataScaleInfo&) = default;
  CDataScaleInfo& operator=(const CDataScaleInfo&) = default;
  virtual ~CDataScaleInfo() = default;

  // Scales input by the mode (1: range to scale with the ends held, 2: range to scale,
  // 3: unchanged, 4: times scale plus offset, 5: held in range, then times scale plus
  // offset, others: unchanged), sets l, f and d to -1, then stores the value in the
  // output of the type: l (1, truncated), f (2), d (3), u (5, truncated). Type 4 and
  // others store nothing more, and u is touched only by type 5.
  void ScalePoint(EDATAVALUETYPE type, double input, LONG& l, float& f, double& d, unsigned short& u) const;

  LONG m_lMode = 0;
  float m_fScale = 2000000.0f;
  float m_fMinimum = 0.0f;
  float m_fMaximum = 1.0f;
  float m_fOffset = 0.0f;
};

class CDataArray {
 public:
  CDataArray() = default;
  // Copies every field, the data pointer and both flags included: the copy shares the
  // samples, and the last owner to go frees them.
  CDataArray(const CDataArray& other) = default;
  CDataArray& operator=(const CDataArray& other) = default;
  // Not virtual, as the array was never deleted through a base. Frees owned samples
  // unless a copy still shares them.
  ~CDataArray();

  // 0 before start, the point count after end, else (time - start) * rate + 1e-8
  // truncated (the small addition keeps a time made from an index on that index).
  virtual LONG RunIndex(double time) const;
  // 0.0 when the rate is not above zero; else index / rate + start, held within start and end.
  virtual double RunTime(LONG index) const;
  // The defaults of every field, except the data pointer and the two flags.
  virtual void SetDefaultValues();
  // Start, end, rate and increment (1 / rate, 0 for a rate not above zero); returns the point count.
  virtual LONG GetAxisLimits(double& start, double& end, double& rate, double& increment) const;
  // Writes the run times from index first to index last, every step-th (step above 1),
  // not past end, to out; returns how many. 0 without points or with a rate or
  // increment not above zero. A null out counts without writing.
  virtual LONG GetAxisValues(int step, LONG first, LONG last, double* out) const;
  // The same between two run times, converted by RunIndex.
  virtual LONG GetAxisValues(int step, double first, double last, double* out) const;
  virtual double GetArrayRate() const;
  // 1 / GetArrayRate(), or 0.0 when that is not above zero.
  virtual double GetArrayIncrement() const;
  // Stores the rate, then the two-argument form.
  virtual void SetAxisLimits(double& start, double& end, double& rate);
  // Stores start and end; the current index is held within 0 and the point count and
  // the current time becomes its run time.
  virtual void SetAxisLimits(double& start, double& end);

  // Frees the present samples if owned, then holds data: a non-null pointer clears
  // the self-allocated flag and takes owned; null sets both flags. Owned samples
  // must come from malloc: they are freed with free().
  void SetDataPointer(void* data, int owned);
  void* GetDataPointer() const { return m_pData; }
  // 0 without data; else (last index - first index + 1) times the bytes a point.
  LONG GetDataSize() const;

  // Sums of the samples from index first to index last, both included: types 1 and 5
  // as LONG samples, 2 as float, others as double; the floating sums get 0.5 added.
  // There is no range test: the caller vouches for every index of samples that it
  // gave through SetDataPointer(data, 0) or put in m_pData. Samples that the array owns
  // are read only inside their heap block; indices outside it count as 0. Without
  // data every sum is 0 (0.5 for the floating ones).
  LONG LSumDataPoint(LONG first, LONG last) const;
  float FSumDataPoint(LONG first, LONG last) const;
  double DSumDataPoint(LONG first, LONG last) const;
  // The same between two run times, converted by RunIndex.
  LONG LSumDataPoint(double first, double last) const;
  float FSumDataPoint(double first, double last) const;
  double DSumDataPoint(double first, double last) const;

  EDATAVALUETYPE m_eValueType = DATAVALUE_DOUBLE;
  LONG m_lChannelTag = -1;
  LONG m_lWords[3] = {0, 0, 0};
  double m_dStart = 0.0;
  double m_dEnd = 0.0;
  double m_dRate = 0.0;
  double m_dSecondAxis[3] = {0.0, 0.0, 0.0};
  CDataScaleInfo m_Scale;
  LONG m_lPointCount = 0;
  LONG m_lFirstIndex = 0;
  LONG m_lLastIndex = 0;
  LONG m_lCurrentIndex = 0;
  double m_dCurrentTime = 0.0;
  LONG m_lTailWords[2] = {0, 0};
  void* m_pData = nullptr;
  LONG m_bSelfAllocated = 1;
  LONG m_bOwned = 1;
  LONG m_lTailTag = -1;

 private:
  // The bytes of the owned heap block that a sum may read, or -1 when the samples are
  // the caller's (no bound).
  std::int64_t OwnedBytes() const;
  // The owners' share of owned samples; copies share it.
  std::shared_ptr<void> m_pOwner;
  // The usable size of the owned block, taken when it was handed over.
  std::size_t m_nOwnedBytes = 0;
};

}  // namespace zev
