// Reading written export files back: the texts by their own layouts, the trace formats
// through the library's readers.
#include "ExportVerify.h"

#include <cmath>
#include <sstream>
#include <vector>

#include "Commands.h"

namespace zevcli {

namespace {

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> out;
  std::string cur;
  for (char c : text) {
    if (c == '\n') {
      if (!cur.empty() && cur.back() == '\r') cur.pop_back();
      out.push_back(cur);
      cur.clear();
    } else {
      cur += c;
    }
  }
  if (!cur.empty()) out.push_back(cur);
  return out;
}

std::vector<std::string> Split(const std::string& line, char sep) {
  std::vector<std::string> out;
  std::string cell;
  std::stringstream s(line);
  while (std::getline(s, cell, sep)) out.push_back(cell);
  return out;
}

std::string Letters(const ExportRead& read) {
  std::string s;
  for (const auto& b : read.bases) s += b.letter;
  return s;
}

long Rounded(float q) { return std::lround(double(q)); }

std::string Compare(const std::string& what, const std::string& path, std::size_t i, const std::string& got,
                    const std::string& want) {
  return "'" + path + "': " + what + " " + std::to_string(i + 1) + " reads " + got + ", written " + want;
}

std::string CheckText(const UnitFile& f, const ExportRead& read) {
  const std::vector<std::string> lines = Lines(ReadWholeFile(f.path));
  const std::string want = Letters(read);
  if (f.kind == "fasta" || f.kind == "seq") {
    std::string got;
    std::size_t from = 0;
    if (f.kind == "fasta") {
      if (lines.empty() || lines[0] != ">" + read.title) return "'" + f.path + "': the title line differs";
      from = 1;
    }
    for (std::size_t i = from; i < lines.size(); ++i) got += lines[i];
    if (got != want) return "'" + f.path + "': the bases differ";
    return "";
  }
  if (f.kind == "qual") {
    if (lines.empty() || lines[0] != ">" + read.title) return "'" + f.path + "': the title line differs";
    std::vector<long> got;
    for (std::size_t i = 1; i < lines.size(); ++i)
      for (const auto& t : Split(lines[i], ' '))
        if (!t.empty()) got.push_back(std::stol(t));
    if (got.size() != read.bases.size()) return "'" + f.path + "': " + std::to_string(got.size()) + " values";
    for (std::size_t i = 0; i < got.size(); ++i)
      if (got[i] != Rounded(read.bases[i].quality))
        return Compare("quality", f.path, i, std::to_string(got[i]), std::to_string(Rounded(read.bases[i].quality)));
    return "";
  }
  if (f.kind == "phd" || f.kind == "txt") {
    std::size_t n = 0;
    bool dna = false;
    for (const auto& line : lines) {
      std::vector<std::string> cells;
      if (f.kind == "phd") {
        if (line == "BEGIN_DNA") dna = true;
        if (line == "END_DNA") dna = false;
        if (!dna || line == "BEGIN_DNA") continue;
        std::vector<std::string> p = Split(line, ' ');
        if (p.size() != 3) return "'" + f.path + "': a DNA line without base, quality and peak";
        cells = {p[0], p[1], p[2]};
      } else {
        std::vector<std::string> p = Split(line, '\t');
        if (p.size() < 10 || p[0] == "Base Number") continue;
        cells = {p[1], p[7], p[9]};
      }
      if (n >= read.bases.size()) return "'" + f.path + "': more bases than written";
      const ExportBase& b = read.bases[n];
      if (cells[0].size() != 1 || std::toupper(static_cast<unsigned char>(cells[0][0])) !=
                                      std::toupper(static_cast<unsigned char>(b.letter)))
        return Compare("base", f.path, n, cells[0], std::string(1, b.letter));
      if (std::stol(cells[1]) != Rounded(b.quality))
        return Compare("quality", f.path, n, cells[1], std::to_string(Rounded(b.quality)));
      if (std::stoul(cells[2]) != b.peak) return Compare("peak", f.path, n, cells[2], std::to_string(b.peak));
      ++n;
    }
    if (n != read.bases.size()) return "'" + f.path + "': " + std::to_string(n) + " bases";
    return "";
  }
  return "";
}

std::string CheckChannels(const std::string& path, const Trace& got, const Trace& want, bool raw) {
  const auto& w = raw && !want.raw[0].empty() ? want.raw : want.channels;
  if (got.channels[0].size() != w[0].size())
    return "'" + path + "': " + std::to_string(got.channels[0].size()) + " samples, written " +
           std::to_string(w[0].size());
  for (int k = 0; k < 4; ++k)
    if (got.channels[std::size_t(k)] != w[std::size_t(k)]) return "'" + path + "': the samples differ";
  return "";
}

std::string CheckTrace(const UnitFile& f, const ExportRead& read) {
  if (f.kind == "crv trace order") return "";
  const Trace got = ReadTrace(f.path);
  if (f.kind == "crv") {
    const std::size_t dye = std::size_t(f.ext[2] - '1');
    if (got.channels[0] != read.trace.channels[dye]) return "'" + f.path + "': the curve differs";
    return "";
  }
  if (f.kind == "esd") return CheckChannels(f.path, got, read.trace, false);
  if (got.bases != Letters(read)) return "'" + f.path + "': the bases differ";
  for (std::size_t i = 0; i < read.bases.size(); ++i) {
    if (i >= got.peaks.size() || got.peaks[i] != read.bases[i].peak)
      return Compare("peak", f.path, i, i < got.peaks.size() ? std::to_string(got.peaks[i]) : "nothing",
                     std::to_string(read.bases[i].peak));
    if (f.kind != "abi" && (i >= got.probs.size() || got.probs[i] != read.bases[i].probs))
      return "'" + f.path + "': the probabilities of base " + std::to_string(i + 1) + " differ";
  }
  return CheckChannels(f.path, got, read.trace, false);
}

}  // namespace

std::string VerifyUnit(const ExportUnit& unit, const ExportRead& read, zev::EEXPORT_TYPE type) {
  for (const UnitFile& f : unit.files) {
    std::string problem;
    try {
      if (f.kind == "ori") {
        const std::vector<std::string> lines = Lines(ReadWholeFile(f.path));
        const auto& ch = read.trace.raw[0].empty() ? read.trace.channels : read.trace.raw;
        if (lines.size() != ch[0].size()) problem = "'" + f.path + "': " + std::to_string(lines.size()) + " rows";
        for (std::size_t i = 0; problem.empty() && i < lines.size(); ++i) {
          std::vector<std::string> p = Split(lines[i], '\t');
          for (std::size_t k = 0; problem.empty() && k < 4; ++k)
            if (p.size() != 4 || std::stoul(p[k]) != ch[k][i]) problem = "'" + f.path + "': row " + std::to_string(i + 1) + " differs";
        }
      } else if (type == zev::EXPORT_TEXT || type == zev::EXPORT_SEQ || type == zev::EXPORT_FASTA ||
                 f.kind == "phd") {
        problem = CheckText(f, read);
      } else {
        problem = CheckTrace(f, read);
      }
    } catch (const CommandError& e) {
      problem = e.what();
    } catch (const std::exception&) {
      problem = "'" + f.path + "' does not read back";
    }
    if (!problem.empty()) return problem;
  }
  return "";
}

}  // namespace zevcli
