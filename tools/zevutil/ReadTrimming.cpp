// Quality and vector trimming of a read, set up for the library to apply.
#include "ReadTrimming.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "Commands.h"

namespace zevcli {

void AddReadTrimmingOptions(CLI::App& command, ReadTrimmingOptions& o) {
  command.add_option("--trim-cutoff", o.trimCutoff,
                     "quality trimming: keep the stretch that scores best by cutoff minus each base's error "
                     "probability (default 0.05)")
      ->type_name("P");
  command.add_option("--vector", o.vectorFile, "sequence-based trimming against the vectors of this FASTA file")
      ->type_name("FILE.fasta");
  command.add_option("--match", o.scores.match, "alignment score of a matching base (default 2)");
  command.add_option("--mismatch", o.scores.mismatch, "alignment score of a mismatch (default -3)");
  command.add_option("--gap-open", o.scores.gapOpen, "cost of opening a gap (default 5)");
  command.add_option("--gap-extend", o.scores.gapExtend, "cost of each base of a gap (default 2)");
  command.add_option("--min-score", o.minScore, "the lowest score a vector hit may have (default 40)");
}

void CheckReadTrimmingOptions(const ReadTrimmingOptions& o) {
  if (!(o.trimCutoff > 0.0 && o.trimCutoff < 1.0))
    throw CommandError("--trim-cutoff must lie between 0 and 1, not " + std::to_string(o.trimCutoff));
  if (o.scores.match < 1 || o.scores.match > 100) throw CommandError("--match must lie between 1 and 100");
  if (o.scores.mismatch > -1 || o.scores.mismatch < -100) throw CommandError("--mismatch must lie between -100 and -1");
  if (o.scores.gapOpen < 0 || o.scores.gapOpen > 1000 || o.scores.gapExtend < 1 || o.scores.gapExtend > 1000)
    throw CommandError("--gap-open must lie between 0 and 1000 and --gap-extend between 1 and 1000");
  if (o.minScore < 1) throw CommandError("--min-score must be at least 1");
}

std::vector<VectorRecord> LoadVectors(const ReadTrimmingOptions& o) {
  if (o.vectorFile.empty()) return {};
  return ReadVectorFile(o.vectorFile);
}

ReadTrimmingResult SetReadTrimming(zev::CBaseSequence& sequence, const ReadTrimmingOptions& o,
                                   const std::vector<VectorRecord>& vectors) {
  ReadTrimmingResult result;
  sequence.GetQualityTrimRange() = zev::QualityTrimRange();
  sequence.RemoveContaminantMatches();
  bool anyQuality = false;
  for (zev::POSITION p = sequence.GetHeadPosition(); p && !anyQuality;)
    anyQuality = sequence.GetNext(p)->m_fQualityValue > 0.0f;
  if (anyQuality) {
    result.mott = SetMottTrimRange(sequence, o.trimCutoff);
    result.qualityRange = true;
  }
  if (!vectors.empty()) {
    VectorSearchOptions search;
    search.scores = o.scores;
    search.minScore = o.minScore;
    result.matches = AddVectorMatches(sequence, vectors, search);
  }
  return result;
}

}  // namespace zevcli
