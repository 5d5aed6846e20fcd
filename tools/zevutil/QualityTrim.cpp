// The modified Mott trim over phred qualities: the best-scoring stretch of
// (cutoff - 10^(-q/10)), found in one pass that restarts whenever the sum drops below 0.
#include "QualityTrim.h"

#include <cmath>
#include <string>

#include "Commands.h"

namespace zevcli {

MottRange ComputeMottRange(const std::vector<double>& qualities, double cutoff) {
  if (!(cutoff > 0.0 && cutoff < 1.0))
    throw CommandError("the trim cutoff must lie between 0 and 1, not " + std::to_string(cutoff));
  MottRange best;
  double sum = 0.0;
  long start = 0;
  for (std::size_t i = 0; i < qualities.size(); ++i) {
    sum += cutoff - std::pow(10.0, -qualities[i] / 10.0);
    if (sum < 0.0) {
      sum = 0.0;
      start = long(i) + 1;
      continue;
    }
    if (sum > best.score) {
      best.score = sum;
      best.first = start;
      best.last = long(i);
    }
  }
  return best;
}

MottRange SetMottTrimRange(zev::CBaseSequence& sequence, double cutoff) {
  std::vector<double> q;
  std::vector<zev::LONG> numbers;
  for (zev::POSITION p = sequence.GetHeadPosition(); p;) {
    const zev::CCalledBase* b = sequence.GetNext(p);
    q.push_back(b->m_fQualityValue);
    numbers.push_back(b->m_lBaseNumber);
  }
  MottRange r = ComputeMottRange(q, cutoff);
  if (numbers.empty()) return r;
  if (r.Length() == 0)
    sequence.SetQualityTrimRange(numbers.front(), numbers.front() - 1);
  else
    sequence.SetQualityTrimRange(numbers[std::size_t(r.first)], numbers[std::size_t(r.last)]);
  return r;
}

}  // namespace zevcli
