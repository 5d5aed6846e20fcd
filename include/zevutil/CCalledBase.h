// CCalledBase: one base of a called sequence: its letter, per-base scores, trace
// position and editing history, with its 81-byte stored record.
#pragma once
#include "zevutil/IUBCODE.h"
#include "zevutil/platform/CArchive.h"
#include "zevutil/platform/Types.h"

namespace zev {

// A point of two floats, stored as the two values in order.
struct CFloatPoint {
  CFloatPoint() = default;
  CFloatPoint(float px, float py) : x(px), y(py) {}
  void Serialize(CArchive& ar);
  bool operator==(const CFloatPoint& o) const { return x == o.x && y == o.y; }

  float x = 0.0f;
  float y = 0.0f;
};

class CCalledBase {
 public:
  static constexpr LONG kVersion = 8300;
  static constexpr int kStoredBytes = 81;  // a record of the current version

  CCalledBase() = default;
  CCalledBase(const CCalledBase& other) { *this = other; }
  CCalledBase& operator=(const CCalledBase& other) = default;
  virtual ~CCalledBase() = default;

  // Writes the current version. Reads any version: fields a version lacks get their
  // derived or zero values, and a version above the current one reads as the current.
  virtual void Serialize(CArchive& ar);

  // Back to the defaults of a new base (which counts as inserted).
  void SetDefaultValues() { *this = CCalledBase(); }
  // The base index of a plain A, C, G or T; otherwise the index of the greatest score,
  // the lower index on ties, 0 when no score is above zero.
  int GetMaxQualityIndex() const;

  LONG m_lInserted = 1;  // nonzero for a base added by hand; whoever fills in a call clears it
  LONG m_lEdited = 0;    // nonzero for a base whose letter was changed
  LONG m_lBaseNumber = 0;
  IUBCODE m_Code;
  float m_fCallScore = 0.0f;
  float m_fScore[4] = {0.0f, 0.0f, 0.0f, 0.0f};  // A, C, G, T
  CFloatPoint m_Peak;    // x: the peak's position in data points
  CFloatPoint m_Point2;  // carried and stored
  float m_fMigrationTime = 0.0f;  // seconds
  float m_fExtra[2] = {0.0f, 0.0f};  // carried and stored
  LONG m_lPeakFlags = 1;             // carried and stored
  float m_fQualityValue = 0.0f;
  float m_fSpare = 0.0f;  // carried and stored; zero in records older than 8200
  LONG m_lDataPoint = 0;  // integer trace position
};

// A float truncated toward zero to a 32-bit integer; NaN and values outside the
// range give 0x80000000, as the old platform's conversion does.
LONG TruncateToLong(double value);

}  // namespace zev
