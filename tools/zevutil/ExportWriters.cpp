// The files of an export: texts made here, the base table and QUAL through the
// library's sequence output object.
#include "ExportWriters.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <filesystem>

#include "TraceModel.h"
#include "zevutil/CBaseSequenceOutputObject.h"

namespace zevcli {

namespace {

constexpr std::size_t kBasesPerLine = 60;

int Channel(char base) {
  switch (base) {
    case 'A': case 'a': return 0;
    case 'C': case 'c': return 1;
    case 'G': case 'g': return 2;
    case 'T': case 't': return 3;
    default: return -1;
  }
}

std::uint8_t ProbabilityOf(float quality) {
  return static_cast<std::uint8_t>(std::clamp(quality + 0.5f, 0.0f, 255.0f));
}

void AppendBases(std::string& out, const ExportRead& read, const std::string& eol) {
  for (std::size_t i = 0; i < read.bases.size(); i += kBasesPerLine) {
    for (std::size_t k = i; k < std::min(read.bases.size(), i + kBasesPerLine); ++k) out += read.bases[k].letter;
    out += eol;
  }
}

}  // namespace

void LoadExportRead(const std::string& path, ExportRead& read) {
  read.path = path;
  read.trace = ReadTrace(path);
  FillBaseSequence(read.trace, read.sequence);
  // Trimming renumbers the bases; the second point, which the library only carries,
  // keeps each base's index in the file.
  zev::POSITION pos = read.sequence.GetHeadPosition();
  for (long i = 0; pos; ++i) read.sequence.BaseList::GetNext(pos)->m_Point2 = zev::CFloatPoint(float(i), 0.0f);
  read.basesBefore = read.trace.bases.size();
  std::string name;
  for (char c : read.trace.name) name += (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) ? '_' : c;
  read.title = name.empty() ? std::filesystem::path(path).stem().string() : name;
  CollectBases(read);
}

void CollectBases(ExportRead& read) {
  read.bases.clear();
  read.bases.reserve(std::size_t(read.sequence.GetCount()));
  const Trace& t = read.trace;
  zev::POSITION pos = read.sequence.GetHeadPosition();
  while (pos) {
    const zev::CCalledBase* b = read.sequence.BaseList::GetNext(pos);
    ExportBase e;
    e.letter = char(b->m_Code);
    e.quality = b->m_fQualityValue;
    e.peak = std::uint32_t(std::max<zev::LONG>(0, b->m_lDataPoint));
    e.index = long(b->m_Point2.x);
    const std::size_t at = std::size_t(std::max(0L, e.index));
    const bool own = at < t.probs.size() &&
                     std::any_of(t.probs[at].begin(), t.probs[at].end(), [](std::uint8_t p) { return p != 0; });
    if (own) {
      e.probs = t.probs[at];
    } else {
      // SCF has no per-base quality: the call's channel carries it, and for an
      // ambiguous call every channel does, so that no reader loses it.
      const int ch = Channel(e.letter);
      for (int k = 0; k < 4; ++k) e.probs[std::size_t(k)] = (ch < 0 || k == ch) ? ProbabilityOf(e.quality) : 0;
    }
    read.bases.push_back(e);
  }
  if (!read.bases.empty()) {
    read.trimFirst = read.bases.front().index;
    read.trimLast = read.bases.back().index;
  } else {
    read.trimFirst = 0;
    read.trimLast = -1;
  }
}

std::string WithLineEnds(const std::string& text, const std::string& eol) {
  std::string out;
  out.reserve(text.size() + text.size() / 32);
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\r') {
      if (i + 1 < text.size() && text[i + 1] == '\n') ++i;
      out += eol;
    } else if (c == '\n') {
      out += eol;
    } else {
      out += c;
    }
  }
  return out;
}

std::string FastaText(const ExportRead& read, const std::string& eol) {
  std::string out = ">" + read.title + eol;
  AppendBases(out, read, eol);
  return out;
}

std::string SeqText(const ExportRead& read, const std::string& eol) {
  std::string out;
  AppendBases(out, read, eol);
  return out;
}

std::string PhdText(const ExportRead& read, const std::string& chromatFile, const std::string& eol) {
  std::string out;
  auto line = [&](const std::string& s) {
    out += s;
    out += eol;
  };
  char buf[160];
  line("BEGIN_SEQUENCE " + read.title);
  line("");
  line("BEGIN_COMMENT");
  line("");
  line("CHROMAT_FILE: " + chromatFile);
  line("ABI_THUMBPRINT: 0");
  line("CALL_METHOD: " + read.trace.format);
  line("QUALITY_LEVELS: 99");
  const std::time_t now = std::time(nullptr);
  std::tm tm{};
  localtime_r(&now, &tm);
  std::strftime(buf, sizeof buf, "%a %b %e %H:%M:%S %Y", &tm);
  line(std::string("TIME: ") + buf);
  const std::size_t samples = read.trace.Samples();
  line("TRACE_ARRAY_MIN_INDEX: 0");
  std::snprintf(buf, sizeof buf, "TRACE_ARRAY_MAX_INDEX: %ld", long(samples) - 1);
  line(buf);
  if (read.trimmed) {
    // The lines below hold the kept bases; TRIM says where they stood in the read.
    std::snprintf(buf, sizeof buf, "TRIM: %ld %ld %.4f", read.trimFirst, read.trimLast, read.trimCutoff);
    line(buf);
  }
  line("CHEM: unknown");
  line("DYE: unknown");
  line("");
  line("END_COMMENT");
  line("");
  line("BEGIN_DNA");
  for (const ExportBase& b : read.bases) {
    const char letter = char(std::tolower(static_cast<unsigned char>(b.letter)));
    std::snprintf(buf, sizeof buf, "%c %.0f %u", letter, double(b.quality), unsigned(b.peak));
    line(buf);
  }
  line("END_DNA");
  line("");
  line("END_SEQUENCE");
  return out;
}

std::string OriText(const Trace& trace, const std::string& eol) {
  const auto& ch = trace.raw[0].empty() ? trace.channels : trace.raw;
  std::string out;
  out.reserve(ch[0].size() * 24);
  char buf[64];
  for (std::size_t i = 0; i < ch[0].size(); ++i) {
    std::snprintf(buf, sizeof buf, "%u\t%u\t%u\t%u", unsigned(ch[0][i]), unsigned(ch[1][i]), unsigned(ch[2][i]),
                  unsigned(ch[3][i]));
    out += buf;
    out += eol;
  }
  return out;
}

Trace ExportedTrace(const ExportRead& read) {
  Trace t = read.trace;
  t.bases.clear();
  t.peaks.clear();
  t.probs.clear();
  t.quality.clear();
  for (const ExportBase& b : read.bases) {
    t.bases += b.letter;
    t.peaks.push_back(b.peak);
    t.probs.push_back(b.probs);
    t.quality.push_back(ProbabilityOf(b.quality));
  }
  return t;
}

std::string WriteBaseTable(ExportRead& read, const std::string& path) {
  zev::CBaseSequenceOutputObject obj(read.sequence);
  if (!obj.ExportObject(zev::EXPORT_TEXT, path.c_str(), zev::CObjectOutputDef())) return "";
  return obj.GetTransferFile().str();
}

bool WriteQuality(ExportRead& read, const std::string& path, const std::string& title) {
  zev::CBaseSequenceOutputObject obj(read.sequence);
  return obj.ExportToQualityFile(zev::CString(path.c_str()), zev::CString(title.c_str())) != 0;
}

}  // namespace zevcli
