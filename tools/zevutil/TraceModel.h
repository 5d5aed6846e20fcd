// The bridge from a trace file to the library's model: the called bases of any trace
// format as a CBaseSequence, with the quality values the file holds.
#pragma once
#include <string>
#include <vector>

#include "TraceRead.h"
#include "zevutil/CBaseSequence.h"

namespace zevcli {

struct TraceSequence {
  std::string path;
  std::string format;      // "ABIF", "SCF 3.00", ...
  std::string sampleName;  // empty when the format has none
  zev::CBaseSequence sequence;
  bool hasQuality = false;  // false: every quality value is 0
  std::vector<std::string> warnings;  // one line each, without the file name
};

// Base i of the trace becomes base number i: its letter, its per-channel scores (SCF
// probabilities; for ABIF the quality in the called base's channel), the call's
// quality as call score and quality value, its peak as data point and peak position
// (with the called channel's height there), and its migration time where the run
// times give one. Replaces what the sequence held.
void FillBaseSequence(const Trace& trace, zev::CBaseSequence& sequence);

// Reads the file (format told by content) into a sequence. A file without bases or
// without quality values still loads and says so in warnings; a file that cannot be
// read throws CommandError.
TraceSequence LoadTraceSequence(const std::string& path);

}  // namespace zevcli
