// The bridge from a trace file to the library's model: one CBaseSequence per trace,
// whatever its format, with the file's own quality values.
#include "TraceModel.h"

#include <algorithm>

namespace zevcli {

namespace {

// The channel of a called letter, or -1 for one other than A, C, G or T.
int Channel(char base) {
  switch (base) {
    case 'A': case 'a': return 0;
    case 'C': case 'c': return 1;
    case 'G': case 'g': return 2;
    case 'T': case 't': return 3;
    default: return -1;
  }
}

}  // namespace

void FillBaseSequence(const Trace& trace, zev::CBaseSequence& sequence) {
  sequence.Destroy();
  for (std::size_t i = 0; i < trace.bases.size(); ++i) {
    zev::CCalledBase b;
    b.m_lInserted = 0;  // called by the instrument's analysis, not added by hand
    b.m_lEdited = 0;
    b.m_lBaseNumber = zev::LONG(i);
    char letter = trace.bases[i];
    b.m_Code = zev::IUBCODE(letter);
    float q = i < trace.quality.size() ? float(trace.quality[i]) : 0.0f;
    int ch = Channel(letter);
    bool probs = i < trace.probs.size() &&
                 std::any_of(trace.probs[i].begin(), trace.probs[i].end(), [](std::uint8_t p) { return p != 0; });
    for (int k = 0; k < 4; ++k) b.m_fScore[k] = probs ? float(trace.probs[i][std::size_t(k)]) : (k == ch ? q : 0.0f);
    b.m_fCallScore = q;
    b.m_fQualityValue = q;
    std::uint32_t peak = i < trace.peaks.size() ? trace.peaks[i] : 0;
    float height = 0.0f;
    if (ch >= 0 && peak < trace.channels[std::size_t(ch)].size()) height = trace.channels[std::size_t(ch)][peak];
    b.m_Peak = zev::CFloatPoint(float(peak), height);
    b.m_lDataPoint = zev::LONG(peak);
    b.m_fMigrationTime = float(peak * trace.secondsPerScan);
    sequence.AddTail(new zev::CCalledBase(b));
  }
  sequence.SetFirstValidBase(0);
  sequence.SetLastValidBase(zev::LONG(trace.bases.size()) - 1);
}

TraceSequence LoadTraceSequence(const std::string& path) {
  Trace t = ReadTrace(path);
  TraceSequence out;
  out.path = path;
  out.format = t.format;
  out.sampleName = t.name;
  FillBaseSequence(t, out.sequence);
  out.warnings = t.warnings;
  out.hasQuality = std::any_of(t.quality.begin(), t.quality.end(), [](std::uint8_t q) { return q != 0; });
  if (t.bases.empty())
    out.warnings.push_back("no called bases");
  else if (t.quality.empty())
    out.warnings.push_back("no quality values in the file; every quality is 0");
  else if (!out.hasQuality)
    out.warnings.push_back("every quality value in the file is 0");
  return out;
}

}  // namespace zevcli
