// The files of an export, made from one read trace and its called bases as the library
// holds them: the base table, sequence text, FASTA with its QUAL, phred's PHD beside an
// SCF, the raw data as text, and the binary trace formats.
#pragma once
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "TraceRead.h"
#include "zevutil/CBaseSequence.h"

namespace zevcli {

// One base of the exported read, after any trimming.
struct ExportBase {
  char letter = 'N';
  float quality = 0.0f;
  std::uint32_t peak = 0;
  std::array<std::uint8_t, 4> probs{};  // A C G T, as an SCF carries them
  long index = 0;                       // the base's index in the read as the file held it
};

// What an export of one input works from.
struct ExportRead {
  std::string path;
  Trace trace;
  zev::CBaseSequence sequence;  // the called bases, trimmed when trimming is applied
  std::string title;            // sample name, or the file's stem when it has none
  std::vector<ExportBase> bases;
  std::size_t basesBefore = 0;  // called bases in the file
  bool trimmed = false;
  long trimFirst = 0, trimLast = -1;  // kept range in the file's base indices
  double trimCutoff = 0.0;
};

// Reads the trace and fills the sequence (each base remembers its index in the file,
// so that trimming may renumber it). Throws CommandError when the file can't be read.
void LoadExportRead(const std::string& path, ExportRead& read);
// Fills bases (and the kept range) from the sequence as it now stands.
void CollectBases(ExportRead& read);

// Text with its line ends made eol ("\n" or "\r\n"); LF, CR LF and CR are all taken.
std::string WithLineEnds(const std::string& text, const std::string& eol);

// ">title", then the bases 60 a line.
std::string FastaText(const ExportRead& read, const std::string& eol);
// The bases 60 a line, without a title.
std::string SeqText(const ExportRead& read, const std::string& eol);
// phred's PHD layout: the comment block names chromatFile (the SCF beside it), the
// trace's sample range and the trim, then one "base quality peak" line a base.
std::string PhdText(const ExportRead& read, const std::string& chromatFile, const std::string& eol);
// The raw data (the analysed channels when the file has no raw data): one row per
// sample, one tab-separated column per channel.
std::string OriText(const Trace& trace, const std::string& eol);
// The trace cut to the exported bases, with four probabilities a base: the file's own
// when it has them, else the call's quality in its channel, or in all four for a call
// other than A, C, G, T.
Trace ExportedTrace(const ExportRead& read);

// The library's base table export of the sequence (CR LF lines). The library completes
// path with the table's extension when it lacks it; returns the name it wrote, or an
// empty text when the file could not be written.
std::string WriteBaseTable(ExportRead& read, const std::string& path);
// The library's QUAL file of the sequence into path, headed by title. False on failure.
bool WriteQuality(ExportRead& read, const std::string& path, const std::string& title);

}  // namespace zevcli
