// Quality trimming by the modified Mott algorithm: each base scores cutoff minus its
// error probability 10^(-q/10), and the read keeps its highest-scoring stretch.
#pragma once
#include <vector>

#include "zevutil/CBaseSequence.h"

namespace zevcli {

constexpr double kDefaultTrimCutoff = 0.05;

// List indices first .. last of the stretch kept, both included; last < first when
// no base scores above 0 (nothing is kept). Of equal best scores the first to end wins.
struct MottRange {
  long first = 0;
  long last = -1;
  double score = 0.0;
  long Length() const { return last >= first ? last - first + 1 : 0; }
};

// Throws CommandError for a cutoff outside (0, 1).
MottRange ComputeMottRange(const std::vector<double>& qualities, double cutoff = kDefaultTrimCutoff);

// Computes the range over the quality values of the sequence's bases in list order and
// holds it as the sequence's quality trim range, in base numbers (an empty stretch
// gives begin = the first base's number and end one below it). Nothing is set for an
// empty sequence. ApplyQualityTrimming then cuts the read to it.
MottRange SetMottTrimRange(zev::CBaseSequence& sequence, double cutoff = kDefaultTrimCutoff);

}  // namespace zevcli
