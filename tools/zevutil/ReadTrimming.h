// Trimming of a loaded read, shared by the commands that report or export it: the
// modified Mott range over its quality values and the vector hits of a FASTA file,
// held in the sequence as its quality trim range and contaminant matches, so that the
// library's own trimming cuts the read and reports its lengths.
#pragma once
#include <string>
#include <vector>

#include "QualityTrim.h"
#include "VectorSearch.h"
#include "zevutil/CBaseSequence.h"

namespace CLI {
class App;
}

namespace zevcli {

struct ReadTrimmingOptions {
  double trimCutoff = kDefaultTrimCutoff;  // error probability a kept base may have on average
  std::string vectorFile;                  // FASTA of vectors and other sequences; empty: none
  AlignmentScores scores;                  // match, mismatch, gap open, gap extend
  int minScore = VectorSearchOptions().minScore;  // a hit must score at least this
};

// --trim-cutoff, --vector, --match, --mismatch, --gap-open, --gap-extend, --min-score.
void AddReadTrimmingOptions(CLI::App& command, ReadTrimmingOptions& options);

// Throws CommandError for a cutoff outside (0, 1), a match score below 1, a mismatch
// score above -1, negative gap costs or a threshold below 1.
void CheckReadTrimmingOptions(const ReadTrimmingOptions& options);

// The vector file's sequences; none without a file. Throws CommandError naming the
// file when it cannot be read or is not FASTA (lower case and IUB codes are letters).
std::vector<VectorRecord> LoadVectors(const ReadTrimmingOptions& options);

struct ReadTrimmingResult {
  bool qualityRange = false;  // false: the read has no quality values, so no range
  MottRange mott;             // list indices of the kept stretch
  int matches = 0;            // contaminant matches given to the sequence
};

// Replaces the sequence's quality trim range and contaminant matches: the Mott range
// over its quality values (none when every value is 0, which means the file had
// none) and one match per vector hit, typed left, right or internal by where it lies
// in the kept region. Nothing is cut here: ApplyContaminantTrimming does that.
ReadTrimmingResult SetReadTrimming(zev::CBaseSequence& sequence, const ReadTrimmingOptions& options,
                                   const std::vector<VectorRecord>& vectors);

// The mask that internal matches put on the bases they cover.
constexpr char kContaminantMask = 'N';

}  // namespace zevcli
