// The called base's record: the version rules of its reader and the score pick.
#include "zevutil/CCalledBase.h"

#include <cmath>
#include <limits>

namespace zev {

LONG TruncateToLong(double value) {
  if (!(value > -2147483649.0 && value < 2147483648.0)) return std::numeric_limits<LONG>::min();
  return LONG(value);
}

void CFloatPoint::Serialize(CArchive& ar) {
  if (ar.IsStoring())
    ar << x << y;
  else
    ar >> x >> y;
}

void CCalledBase::Serialize(CArchive& ar) {
  if (ar.IsStoring()) {
    ar << kVersion << m_lInserted << m_lEdited << m_lBaseNumber << m_Code.code << m_fCallScore;
    ar.Write(m_fScore, sizeof m_fScore);
    m_Peak.Serialize(ar);
    m_Point2.Serialize(ar);
    ar << m_fMigrationTime << m_fExtra[0] << m_fExtra[1] << m_lPeakFlags << m_fQualityValue << m_fSpare
       << m_lDataPoint;
    return;
  }
  LONG version = 0;
  ar >> version >> m_lInserted >> m_lEdited >> m_lBaseNumber >> m_Code.code >> m_fCallScore;
  ar.Read(m_fScore, sizeof m_fScore);
  m_Peak.Serialize(ar);
  m_Point2.Serialize(ar);
  ar >> m_fMigrationTime >> m_fExtra[0] >> m_fExtra[1] >> m_lPeakFlags;

  m_fSpare = 0.0f;
  m_lDataPoint = TruncateToLong(double(m_Peak.x) + 0.001);
  if (version < 8200) {
    if (version == 8100)
      ar >> m_fQualityValue;
    else
      m_fQualityValue = 0.0f;
  } else {
    ar >> m_fQualityValue >> m_fSpare >> m_lDataPoint;
  }
  if (version < 8201) {
    BYTE obsolete[8];
    ar.Read(obsolete, sizeof obsolete);
  }
}

int CCalledBase::GetMaxQualityIndex() const {
  const int index = m_Code.GetBaseIndex();
  if (index >= 0 && index <= 3) return index;
  int best = 0;
  float bestValue = 0.0f;
  for (int i = 0; i < 4; ++i) {
    if (m_fScore[i] > bestValue) {
      bestValue = m_fScore[i];
      best = i;
    }
  }
  return best;
}

}  // namespace zev
