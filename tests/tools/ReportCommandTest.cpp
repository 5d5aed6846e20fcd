// The report command as a user runs it: the base table exported as text against the
// peer oracles, the trimming report read back from the PDF (poppler's pdftotext) for a
// public read with pieces of it planted in made-up vectors, several traces in one
// document, and bad traces and vector files.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "ExportOracle.h"
#include "ReadTrimming.h"
#include "RunProgram.h"
#include "TraceModel.h"

namespace fs = std::filesystem;

namespace {

using zevrun::ReadFile;
using zevrun::Result;
using zevrun::RunZev;
using zevrun::WriteFile;

const std::string kTraces = zevoracle::SharedDir() + "/testdata/traces/";
const std::string k3730 = kTraces + "biopython_3730.ab1";

std::string Shell(const std::string& cmd) {
  std::string out;
  FILE* p = popen(cmd.c_str(), "r");
  if (!p) return out;
  char buf[65536];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
  pclose(p);
  return out;
}

int PageCount(const fs::path& pdf) {
  const std::string info = Shell("pdfinfo '" + pdf.string() + "' 2>/dev/null");
  std::smatch m;
  return std::regex_search(info, m, std::regex(R"(Pages:\s+(\d+))")) ? std::stoi(m[1]) : -1;
}

// The text of one page as lines in reading order, each with its runs of blanks made
// one blank; empty lines left out.
std::vector<std::string> PageLines(const fs::path& pdf, int page) {
  const std::string n = std::to_string(page);
  std::stringstream text(Shell("pdftotext -layout -f " + n + " -l " + n + " '" + pdf.string() + "' - 2>/dev/null"));
  std::vector<std::string> lines;
  std::string line;
  while (std::getline(text, line)) {
    line = std::regex_replace(line, std::regex(R"([\s\f]+)"), " ");
    line = std::regex_replace(line, std::regex(R"(^ | $)"), "");
    if (!line.empty()) lines.push_back(line);
  }
  return lines;
}

// The body of a page: its lines between the header line and the footer line.
std::vector<std::string> Body(const std::vector<std::string>& lines) {
  if (lines.size() < 2) return {};
  return std::vector<std::string>(lines.begin() + 1, lines.end() - 1);
}

std::string Letters(const std::string& path) {
  zevcli::TraceSequence t = zevcli::LoadTraceSequence(path);
  zev::CString text;
  t.sequence.GetBaseSequenceText(text);
  return text.str();
}

char Complement(char c) {
  static const std::string from = "ACGTMRWSYKN", to = "TGCAKYWSRMN";
  const size_t at = from.find(c);
  return at == std::string::npos ? c : to[at];
}

std::string ReverseComplement(const std::string& s) {
  std::string out(s.rbegin(), s.rend());
  for (char& c : out) c = Complement(c);
  return out;
}

// A letter that differs from the read's letters at and beside position i (where the
// read has them), so that a flank never lets a planted hit grow past its piece.
char Unlike(const std::string& read, long i) {
  for (char c : std::string("ACGT")) {
    bool clash = false;
    for (long d = -1; d <= 1; ++d)
      if (i + d >= 0 && i + d < long(read.size()) && read[size_t(i + d)] == c) clash = true;
    if (!clash) return c;
  }
  return 'A';
}

// A made-up vector around read[at, at + len): flanks of n letters unlike the read beside
// the piece, in the read's orientation or reverse-complemented.
std::string PlantedVector(const std::string& read, long at, long len, long n, bool reverse) {
  std::string v;
  for (long i = at - n; i < at; ++i) v += Unlike(read, i);
  v += read.substr(size_t(at), size_t(len));
  for (long i = at + len; i < at + len + n; ++i) v += Unlike(read, i);
  return reverse ? ReverseComplement(v) : v;
}

// The lines of an alignment block as pdftotext gives them (runs of blanks made one).
std::vector<std::string> Block(long subjectPos, const std::string& subject, const std::string& marks, long otherPos,
                               const std::string& other) {
  return {"S " + std::to_string(subjectPos) + " " + subject, marks, "V/O " + std::to_string(otherPos) + " " + other};
}

// The program's own lines of standard error (a sanitizer may add its summary).
std::vector<std::string> OwnLines(const std::string& err) {
  std::vector<std::string> lines;
  std::stringstream in(err);
  std::string line;
  while (std::getline(in, line))
    if (line.rfind("zevutil: ", 0) == 0) lines.push_back(line);
  return lines;
}

std::string Bars(size_t n) { return std::string(n, '|'); }

class ReportCommand : public ::testing::Test {
 protected:
  void SetUp() override { dir = zevrun::FreshScratch("report_command"); }
  fs::path dir;
};

TEST_F(ReportCommand, ExportedTablesMatchThePeers) {
  if (!zevoracle::HavePython()) GTEST_SKIP() << "python3 is not installed";
  const std::vector<zevoracle::OracleRow> rows = zevoracle::PrimaryOracles("phd");
  ASSERT_FALSE(rows.empty());
  std::vector<std::string> all = {"report"};
  std::string joined;
  for (const zevoracle::OracleRow& r : rows) {
    SCOPED_TRACE(r.trace);
    const fs::path ours = dir / (fs::path(r.trace).filename().string() + ".txt");
    Result res = RunZev({"report", kTraces + r.trace, "--export", ours.string()});
    ASSERT_EQ(res.status, 0) << res.err;
    std::string report;
    // BioPerl writes the word "unknown" for the quality of a base it cannot score.
    EXPECT_EQ(zevoracle::Compare(ours, r.oracle, "--exact-txt --eol crlf --unknown-ok", report), 0) << report;
    all.push_back(kTraces + r.trace);
    joined += ReadFile(ours);
  }
  // Several traces: their tables one after the other, each with its heading.
  const fs::path together = dir / "all.txt";
  all.insert(all.end(), {"--export", together.string()});
  Result res = RunZev(all);
  ASSERT_EQ(res.status, 0) << res.err;
  EXPECT_EQ(ReadFile(together), joined);
}

// Pieces of a public read planted in made-up vectors: where each lies decides its trim
// type, and the report's lines give the library's lengths and the alignment blocks.
// Positions count in the quality-trimmed read (quality trimming keeps bases 15 to 1090
// of this one, so report position = read index - 14 + 1), as the library renumbers it.
TEST_F(ReportCommand, TrimmingReportLinesForPlantedVectors) {
  const std::string read = Letters(k3730);
  ASSERT_EQ(read.size(), 1165u);
  auto R = [&](long at, long len) { return read.substr(size_t(at), size_t(len)); };
  struct Case {
    const char* name;
    std::string vector;
    std::vector<std::string> want;  // after the two length lines
  };
  // One read base missing from the vector (a T between Gs, so that the gap has one
  // place only): a gap in the V/O row of the first block, so the second block's V/O
  // position moves on by 79.
  std::string gapped = PlantedVector(read, 300, 100, 30, false);
  gapped.erase(30 + 38, 1);
  std::string gappedRow = R(300, 100);
  gappedRow[38] = '-';
  std::string gappedMarks = Bars(100);
  gappedMarks[38] = ' ';
  std::string endMarks = Bars(60);
  endMarks[50] = ':';  // the read's R stands against the same code in the vector
  std::vector<Case> cases = {
      {"start", PlantedVector(read, 20, 60, 30, false),
       {"Length after Sequence-based Trimming: 1010", "Vector/Other Subsequence Name: v",
        "Trim type: Left (5') end match", "Enabled: Yes"}},
      {"end", PlantedVector(read, 1040, 60, 30, false),
       {"Length after Sequence-based Trimming: 1026", "Vector/Other Subsequence Name: v",
        "Trim type: Right (3') end match", "Enabled: Yes"}},
      {"middle, two blocks", PlantedVector(read, 500, 100, 30, false),
       {"Length after Sequence-based Trimming: 1076", "Vector/Other Subsequence Name: v", "Trim type: Internal match",
        "Enabled: Yes"}},
      {"middle, reverse strand", PlantedVector(read, 700, 60, 30, true),
       {"Length after Sequence-based Trimming: 1076", "Vector/Other Subsequence Name: v (reverse complement)",
        "Trim type: Internal match", "Enabled: Yes"}},
      {"middle, a gap", gapped,
       {"Length after Sequence-based Trimming: 1076", "Vector/Other Subsequence Name: v", "Trim type: Internal match",
        "Enabled: Yes"}},
  };
  auto append = [](std::vector<std::string>& to, const std::vector<std::string>& lines) {
    to.insert(to.end(), lines.begin(), lines.end());
  };
  append(cases[0].want, Block(7, R(20, 60), Bars(60), 31, R(20, 60)));
  // The read holds a second copy of 22 letters of the piece further on.
  append(cases[0].want, {"Vector/Other Subsequence Name: v", "Trim type: Internal match", "Enabled: Yes"});
  append(cases[0].want, Block(753, R(766, 22), Bars(22), 57, R(766, 22)));
  append(cases[1].want, Block(1027, R(1040, 60), endMarks, 31, R(1040, 60)));
  append(cases[2].want, Block(487, R(500, 80), Bars(80), 31, R(500, 80)));
  append(cases[2].want, Block(567, R(580, 20), Bars(20), 111, R(580, 20)));
  append(cases[3].want, Block(687, R(700, 60), Bars(60), 31, R(700, 60)));
  append(cases[4].want, Block(287, R(300, 80), gappedMarks.substr(0, 80), 31, gappedRow.substr(0, 80)));
  append(cases[4].want, Block(367, R(380, 20), gappedMarks.substr(80), 110, gappedRow.substr(80)));
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string fasta = WriteFile(dir / "v.fasta", ">v made up\n" + c.vector + "\n");
    const fs::path pdf = dir / "trim.pdf";
    Result r = RunZev({"report", k3730, "--trimming", "--vector", fasta, "--pdf", pdf.string()});
    ASSERT_EQ(r.status, 0) << r.err;
    ASSERT_EQ(PageCount(pdf), 1);
    std::vector<std::string> want = {"Original Sequence Length: 1165", "Length after Quality Trimming: 1076"};
    append(want, c.want);
    EXPECT_EQ(Body(PageLines(pdf, 1)), want);
  }
}

TEST_F(ReportCommand, WithoutTrimmingOrMatches) {
  struct Case {
    const char* name;
    std::vector<std::string> args;
    std::vector<std::string> want;
  };
  const std::string fasta = WriteFile(dir / "far.fasta", ">far\n" + std::string(60, 'A') + "\n");
  const Case cases[] = {
      {"quality trimming only", {k3730}, {"Original Sequence Length: 1165", "Length after Quality Trimming: 1076"}},
      {"a stricter cutoff", {k3730, "--trim-cutoff", "0.01"},
       {"Original Sequence Length: 1165", "Length after Quality Trimming: 1037"}},
      {"a vector that matches nothing", {k3730, "--vector", fasta},
       {"Original Sequence Length: 1165", "Length after Quality Trimming: 1076"}},
      // No quality values: no quality range, and nothing else to report.
      {"no qualities", {kTraces + "emboss_abiview.abi"}, {"No Trimming Computed"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const fs::path pdf = dir / "plain.pdf";
    std::vector<std::string> args = {"report", "--trimming", "--pdf", pdf.string()};
    args.insert(args.end(), c.args.begin(), c.args.end());
    Result r = RunZev(args);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(Body(PageLines(pdf, 1)), c.want);
  }
}

// Every trace starts a page whose header names its file and sample; the summary, the
// trimming report and the table follow one another.
TEST_F(ReportCommand, SeveralTracesInOneDocument) {
  const fs::path pdf = dir / "two.pdf";
  const std::string scf = kTraces + "bioperl_chad100.scf";
  Result r = RunZev({"report", k3730, scf, "--trimming", "--header", "--pdf", pdf.string()});
  ASSERT_EQ(r.status, 0) << r.err;
  ASSERT_EQ(PageCount(pdf), 2);
  const std::vector<std::string> first = PageLines(pdf, 1), second = PageLines(pdf, 2);
  ASSERT_GE(first.size(), 3u);
  ASSERT_GE(second.size(), 3u);
  EXPECT_EQ(first[0], "biopython_3730.ab1 Trace Sample: 226032_C-ME-18_pCAGseqF");
  EXPECT_EQ(second[0], "bioperl_chad100.scf Trace Sample: ML4942R");
  EXPECT_EQ(first[1], "File: " + k3730);
  EXPECT_NE(std::find(first.begin(), first.end(), "Quality trimming: bases 15 to 1090 kept (1076), cutoff 0.05"),
            first.end());
  EXPECT_NE(std::find(second.begin(), second.end(), "Original Sequence Length: 761"), second.end());
  EXPECT_NE(second.back().find("Page: 2"), std::string::npos) << second.back();

  // The table: its heading on every page (twice on its first, under the one the page
  // top gives), 1165 rows, and PNG pages drawn for a range of them.
  const fs::path table = dir / "table.pdf";
  r = RunZev({"report", k3730, "--pdf", table.string()});
  ASSERT_EQ(r.status, 0) << r.err;
  const int pages = PageCount(table);
  ASSERT_GT(pages, 10);
  const std::string heading = "Number Base A C G T CallScore QualValue Migration DataPoint Insert Edit";
  const std::vector<std::string> p1 = Body(PageLines(table, 1)), last = Body(PageLines(table, pages));
  ASSERT_GE(p1.size(), 3u);
  EXPECT_EQ(p1[0], heading);
  EXPECT_EQ(p1[1], heading);
  EXPECT_EQ(p1[2], "1 G 0 0 20 0 20.00 20 0.01 2 No No");
  EXPECT_EQ(last.front(), heading);
  EXPECT_EQ(last.back().substr(0, 7), "1165 C ") << last.back();
  const fs::path png = dir / "png";
  r = RunZev({"report", k3730, "--png", png.string(), "--dpi", "30", "--pages", "2-3"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(fs::exists(png / "page-1.png"));
  EXPECT_TRUE(fs::exists(png / "page-2.png"));
  EXPECT_FALSE(fs::exists(png / "page-3.png"));
}

// The status of a report of several parts on a terminal (util-linux's script gives the
// program one): every page of the document, in order, not only its start and end.
TEST_F(ReportCommand, StatusShowsEveryPageOfTheDocument) {
  if (Shell("command -v script").empty()) GTEST_SKIP() << "script (util-linux) is not installed";
  const fs::path pdf = dir / "status.pdf";
  const std::string zev = ZEV_BINARY_DIR "/tools/zevutil/zevutil";
  const std::string cmd = "DISPLAY= script -qec \"'" + zev + "' report '" + k3730 + "' '" + kTraces +
                          "bioperl_chad100.scf' --header --trimming --table --dialog --pdf '" + pdf.string() +
                          "'\" /dev/null </dev/null 2>&1";
  const std::string out = Shell(cmd);
  const int pages = PageCount(pdf);
  ASSERT_GT(pages, 3) << out;
  std::vector<std::string> shown, want;
  const std::regex page(R"(zevutil report: (Page \d+))");
  for (auto it = std::sregex_iterator(out.begin(), out.end(), page); it != std::sregex_iterator(); ++it)
    shown.push_back((*it)[1]);
  for (int i = 1; i <= pages; ++i) want.push_back("Page " + std::to_string(i));
  EXPECT_EQ(shown, want) << out;
}

TEST_F(ReportCommand, BadInput) {
  const std::string good = k3730;
  const std::string empty = WriteFile(dir / "empty.scf", "");
  const std::string cut = WriteFile(dir / "cut.ab1", ReadFile(k3730).substr(0, 300));
  const std::string noBases = kTraces + "fraggler_multiplex.fsa";
  const std::string noQual = kTraces + "emboss_abiview.abi";
  const std::string vEmpty = WriteFile(dir / "empty.fasta", "");
  const std::string vText = WriteFile(dir / "notes.fasta", "a plain note\nACGT\n");
  const std::string vLower = WriteFile(dir / "lower.fasta", ">low\nacgtnnrykm\nacgt\n");
  const fs::path pdf = dir / "bad.pdf", txt = dir / "bad.txt";
  struct Case {
    const char* name;
    std::vector<std::string> args;
    int status;
    std::vector<std::string> err;  // one stderr line each, in order
    int pages;                     // of the PDF; 0: no PDF written
  };
  const Case cases[] = {
      {"an empty trace", {empty, good}, 2, {"zevutil: '" + empty + "' is empty"}, 1},
      {"a damaged trace", {cut, good}, 2, {"zevutil: cannot read '" + cut + "' as ABIF: damaged or unsupported"}, 1},
      {"a trace without bases", {good, noBases}, 2, {"zevutil: '" + noBases + "': no called bases, nothing to report"}, 1},
      {"a trace without qualities", {noQual},
       0, {"zevutil: '" + noQual + "': no quality values in the file; every quality is 0"}, 1},
      {"only bad traces", {empty, cut}, 2,
       {"zevutil: '" + empty + "' is empty", "zevutil: cannot read '" + cut + "' as ABIF: damaged or unsupported"}, 0},
      {"a missing trace", {(dir / "none.ab1").string(), good}, 2,
       {"zevutil: cannot read '" + (dir / "none.ab1").string() + "'"}, 1},
      {"an empty vector file", {good, "--vector", vEmpty}, 2,
       {"zevutil: '" + vEmpty + "' holds no sequence: it is empty"}, 0},
      {"a vector file that is not FASTA", {good, "--vector", vText}, 2,
       {"zevutil: '" + vText + "' is not FASTA: its first line does not begin with '>'"}, 0},
      {"lower case and IUB codes", {good, "--vector", vLower}, 0, {}, 1},
      {"a cutoff out of range", {good, "--trim-cutoff", "1.5"}, 2,
       {"zevutil: --trim-cutoff must lie between 0 and 1, not 1.500000"}, 0},
      {"export with paper", {good, "--export", txt.string()}, 2,
       {"zevutil: --export writes a text file instead of paper: no --pdf, --png or --printer with it"}, 0},
      {"a range past the end", {good, "--pages", "40-41"}, 2,
       {"zevutil: no page in the range 40-41: the report has 17 page(s)"}, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    fs::remove(pdf);
    std::vector<std::string> args = {"report", "--trimming", "--table", "--pdf", pdf.string()};
    args.insert(args.end(), c.args.begin(), c.args.end());
    Result r = RunZev(args);
    EXPECT_EQ(r.status, c.status) << r.err;
    EXPECT_EQ(OwnLines(r.err), c.err);
    if (c.pages)
      EXPECT_GE(PageCount(pdf), c.pages);
    else
      EXPECT_FALSE(fs::exists(pdf));
  }
  // An export that cannot be written leaves nothing, not even its temporary file.
  const fs::path noDir = dir / "no" / "such" / "out.txt";
  Result r = RunZev({"report", good, "--export", noDir.string()});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.err.rfind("zevutil: cannot write '" + noDir.string() + "'", 0), 0u) << r.err;
  EXPECT_FALSE(fs::exists(noDir.parent_path()));
  // The trimming report is paper only.
  r = RunZev({"report", good, "--trimming", "--export", txt.string()});
  EXPECT_EQ(r.status, 2);
  EXPECT_FALSE(fs::exists(txt));
  for (const auto& e : fs::directory_iterator(dir))
    EXPECT_EQ(e.path().filename().string().find(".part"), std::string::npos) << e.path();
}

// The trimming set up for the library: no quality range without quality values, and
// the range and matches replaced, not added to, on a second call.
TEST(ReadTrimming, SetsTheRangeAndTheMatchesOnce) {
  zevcli::TraceSequence t = zevcli::LoadTraceSequence(k3730);
  zevcli::ReadTrimmingOptions o;
  const std::string read = Letters(k3730);
  const std::vector<zevcli::VectorRecord> vectors = {{"v", PlantedVector(read, 500, 60, 30, false)}};
  for (int round = 0; round < 2; ++round) {
    SCOPED_TRACE(round);
    zevcli::ReadTrimmingResult r = zevcli::SetReadTrimming(t.sequence, o, vectors);
    EXPECT_TRUE(r.qualityRange);
    EXPECT_EQ(r.mott.first, 14);
    EXPECT_EQ(r.mott.last, 1089);
    EXPECT_EQ(r.matches, 1);
    EXPECT_EQ(t.sequence.GetNumContaminantMatches(false), 1);
  }
  zevcli::TraceSequence none = zevcli::LoadTraceSequence(kTraces + "emboss_abiview.abi");
  EXPECT_FALSE(zevcli::SetReadTrimming(none.sequence, o, {}).qualityRange);
  EXPECT_FALSE(none.sequence.HasQualityTrimRange());
}

}  // namespace
