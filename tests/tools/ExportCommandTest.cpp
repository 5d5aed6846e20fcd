// zevutil export as a user runs it: the public traces against the peers' oracles and
// read back by the peers themselves, the naming and numbering of whole file sets,
// the options, and bad input.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "RunProgram.h"
#include "TraceRead.h"

namespace fs = std::filesystem;
using zevrun::ReadFile;
using zevrun::RunZev;
using zevrun::WriteFile;

namespace {

const std::string kShared = ZEV_SHARED_DIR;
const std::string kTraces = kShared + "/testdata/traces";
const std::string kOracles = kShared + "/testdata/export-oracle";
const std::string kPython = "/usr/bin/python3";  // the system's, where Debian's Biopython lives

bool Have(const std::string& probe) { return std::system((probe + " >/dev/null 2>&1").c_str()) == 0; }

// Runs a shell command; its output lands in out.
int Shell(const std::string& cmd, std::string& out, const fs::path& scratch) {
  const fs::path log = scratch / "shell.out";
  const int rc = std::system((cmd + " >'" + log.string() + "' 2>&1").c_str());
  out = ReadFile(log);
  return WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
}

std::vector<std::vector<std::string>> IndexRows() {
  std::vector<std::vector<std::string>> rows;
  std::ifstream in(kOracles + "/INDEX.tsv");
  std::string line;
  while (std::getline(in, line)) {
    std::vector<std::string> f;
    std::stringstream s(line);
    std::string cell;
    while (std::getline(s, cell, '\t')) f.push_back(cell);
    rows.push_back(f);
  }
  return rows;
}

// An oracle folder holding only the primary oracles of the traces whose names end in
// one of the suffixes: traces that share a stem are exported into separate folders.
fs::path OracleSubset(const fs::path& dir, const std::vector<std::string>& suffixes, std::set<std::string>& traces) {
  fs::create_directories(dir);
  const auto rows = IndexRows();
  std::ofstream index(dir / "INDEX.tsv");
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const auto& f = rows[i];
    bool take = i == 0;
    for (const auto& s : suffixes)
      take = take || (f.size() > 3 && f[1] == "primary" && f[2].size() > s.size() &&
                      f[2].compare(f[2].size() - s.size(), s.size(), s) == 0);
    if (!take) continue;
    std::string line;
    for (std::size_t k = 0; k < f.size(); ++k) line += (k ? "\t" : "") + f[k];
    index << line << "\n";
    if (i) {
      fs::create_symlink(kOracles + "/" + f[0], dir / f[0]);
      traces.insert(kTraces + "/" + f[2]);
    }
  }
  return dir;
}

class ExportCommand : public ::testing::Test {
 protected:
  void SetUp() override { dir = zevrun::FreshScratch("export_command"); }
  // A copy of a public trace under another name.
  std::string Copy(const std::string& trace, const fs::path& to) {
    fs::create_directories(to.parent_path());
    fs::copy_file(kTraces + "/" + trace, to, fs::copy_options::overwrite_existing);
    return to.string();
  }
  fs::path dir;
};

TEST_F(ExportCommand, PublicTracesMatchThePeersOracles) {
  if (!Have("python3 -c pass")) GTEST_SKIP() << "python3 is not installed";
  const std::string compare = "python3 '" + kShared + "/tools/compare_export.py'";
  struct Group {
    const char* name;
    std::vector<std::string> suffixes;
  };
  for (const Group& g : {Group{"abif", {".ab1", ".abi"}}, Group{"scf", {".scf"}}}) {
    SCOPED_TRACE(g.name);
    std::set<std::string> traces;
    const fs::path oracles = OracleSubset(dir / (std::string("oracle_") + g.name), g.suffixes, traces);
    const fs::path out = dir / g.name;
    fs::create_directories(out);
    std::vector<std::string> args(traces.begin(), traces.end());
    ASSERT_FALSE(args.empty());
    for (const char* format : {"fasta", "phred"}) {
      std::vector<std::string> a = {"export", "--format", format, "--out", out.string(), "--verify"};
      a.insert(a.end(), args.begin(), args.end());
      const auto r = RunZev(a);
      ASSERT_EQ(r.status, 0) << r.err;
    }
    // Bases, qualities and peaks against every primary oracle of the group (phred writes
    // lower case, io_lib '-' for N in FASTA, BioPerl the word "unknown" for no quality).
    std::string report;
    EXPECT_EQ(Shell(compare + " --ours-dir '" + out.string() + "' --oracle-dir '" + oracles.string() +
                        "' --name qual={stem}.fasta.qual --name fastq={stem}.fasta --fold-case --n-dash --unknown-ok",
                    report, dir),
              0)
        << report;
    EXPECT_NE(report.find(" 0 failed"), std::string::npos) << report;
    // The QUAL files to the byte in the library's layout.
    std::ofstream pairs(dir / "pairs.tsv");
    for (const auto& t : traces) {
      const std::string stem = fs::path(t).stem().string();
      if (fs::exists(oracles / (fs::path(t).filename().string() + ".qual")))
        pairs << (out / (stem + ".fasta.qual")).string() << "\t"
              << (oracles / (fs::path(t).filename().string() + ".qual")).string() << "\n";
    }
    pairs.close();
    EXPECT_EQ(Shell(compare + " --pairs '" + (dir / "pairs.tsv").string() + "' --exact-qual --eol crlf", report, dir), 0)
        << report;
  }
}

TEST_F(ExportCommand, PeersReadWhatWeWrite) {
  const std::vector<std::string> traces = {"biopython_3730.ab1", "nimabif_hetero.ab1", "bioperl_version2.scf",
                                           "seqtrace_forward.scf"};
  for (const auto& trace : traces) {
    SCOPED_TRACE(trace);
    const zevcli::Trace src = zevcli::ReadTrace(kTraces + "/" + trace);
    const std::string stem = fs::path(trace).stem().string();
    // io_lib reads both SCF versions: each base's letter, peak and the called channel's
    // probability (for an ambiguous call, every channel's).
    if (Have("command -v scf_dump")) {
      for (const char* format : {"scf2", "scf3"}) {
        SCOPED_TRACE(format);
        const fs::path out = dir / format;
        fs::create_directories(out);
        ASSERT_EQ(RunZev({"export", kTraces + "/" + trace, "--format", format, "--out", out.string()}).status, 0);
        std::string dump;
        ASSERT_EQ(Shell("scf_dump '" + (out / (stem + ".scf")).string() + "'", dump, dir), 0);
        std::stringstream s(dump.substr(dump.find("[Bases]") + 8));
        std::string line;
        std::size_t i = 0;
        while (std::getline(s, line) && !line.empty() && line[0] != '[') {
          std::stringstream l(line);
          char base;
          unsigned peak, p[4];
          l >> base >> peak >> p[0] >> p[1] >> p[2] >> p[3];
          ASSERT_LT(i, src.bases.size());
          EXPECT_EQ(base, src.bases[i]) << "base " << i;
          EXPECT_EQ(peak, src.peaks[i]) << "base " << i;
          const unsigned q = i < src.quality.size() ? src.quality[i] : 0;
          const unsigned best = std::max({p[0], p[1], p[2], p[3]});
          const unsigned own =
              i < src.probs.size() ? std::max({src.probs[i][0], src.probs[i][1], src.probs[i][2], src.probs[i][3]}) : 0;
          EXPECT_EQ(best, own ? own : q) << "base " << i;
          if (!own && std::string("ACGT").find(base) == std::string::npos) {
            EXPECT_TRUE(p[0] == q && p[1] == q && p[2] == q && p[3] == q) << "ambiguous base " << i;
          }
          ++i;
        }
        EXPECT_EQ(i, src.bases.size());
      }
    }
    // Biopython reads our ABIF (bases and peaks) and our PHD (bases, qualities, peaks).
    if (Have(kPython + " -c 'import Bio'")) {
      const fs::path out = dir / "bio";
      fs::create_directories(out);
      ASSERT_EQ(RunZev({"export", kTraces + "/" + trace, "--format", "abi", "--out", out.string(), "--overwrite"}).status,
                0);
      ASSERT_EQ(RunZev({"export", kTraces + "/" + trace, "--format", "phred", "--out", out.string(), "--overwrite"}).status,
                0);
      const fs::path script = WriteFile(
          dir / "read.py",
          "import sys\nfrom Bio import SeqIO\n"
          "a = SeqIO.read(sys.argv[1], 'abi')\n"
          "print(str(a.seq))\nprint(' '.join(map(str, a.annotations['abif_raw']['PLOC2'])))\n"
          "p = SeqIO.read(sys.argv[2], 'phd')\n"
          "print(str(p.seq).upper())\nprint(' '.join(map(str, p.letter_annotations['phred_quality'])))\n"
          "print(' '.join(map(str, p.letter_annotations['peak_location'])))\n");
      std::string got;
      ASSERT_EQ(Shell(kPython + " '" + script.string() + "' '" + (out / (stem + ".abi")).string() + "' '" +
                          (out / (stem + ".scf.phd.1")).string() + "'",
                      got, dir),
                0)
          << got;
      std::string peaks, quals;
      for (std::size_t i = 0; i < src.bases.size(); ++i) {
        peaks += (i ? " " : "") + std::to_string(src.peaks[i]);
        quals += (i ? " " : "") + std::to_string(i < src.quality.size() ? src.quality[i] : 0);
      }
      std::string upper = src.bases;
      for (char& c : upper) c = char(std::toupper(static_cast<unsigned char>(c)));
      EXPECT_EQ(got, src.bases + "\n" + peaks + "\n" + upper + "\n" + quals + "\n" + peaks + "\n");
    }
  }
}

TEST_F(ExportCommand, NamesAndNumbersWholeFileSets) {
  struct Case {
    const char* name;
    const char* format;
    std::vector<std::string> existing;  // files present before the export
    std::vector<std::string> options;
    int status;
    std::vector<std::string> written;  // files the export must have made
    const char* message;               // part of the error line
  };
  const std::vector<Case> cases = {
      {"no clash", "fasta", {}, {}, 0, {"run.fasta", "run.fasta.qual"}, ""},
      {"an existing FASTA is not overwritten", "fasta", {"run.fasta"}, {}, 2, {},
       "'OUT/run.fasta' exists; not overwritten"},
      {"a lone QUAL numbers the pair", "fasta", {"run.fasta.qual"}, {"--resolve-conflicts"}, 0,
       {"run_1.fasta", "run_1.fasta.qual"}, ""},
      {"one number for the pair", "fasta", {"run.fasta", "run_1.fasta.qual"}, {"--resolve-conflicts"}, 0,
       {"run_2.fasta", "run_2.fasta.qual"}, ""},
      {"overwrite replaces", "fasta", {"run.fasta", "run.fasta.qual"}, {"--overwrite"}, 0,
       {"run.fasta", "run.fasta.qual"}, ""},
      {"the SCF numbers the PHD", "phred", {"run.scf"}, {"--resolve-conflicts"}, 0,
       {"run_1.scf.phd.1", "run_1.scf"}, ""},
      {"CRV asks before overwriting", "crv", {"run_D2.CRV", "run_CRV_TRACE_ORDER.txt"}, {}, 2, {},
       "CRV export will overwrite the following existed file names: OUT/run_D2.CRV, OUT/run_CRV_TRACE_ORDER.txt "
       "Click [OK] to overwrite files. Click [Cancel] to abort CRV export."},
      {"CRV set numbered as one", "crv", {"run_D3.CRV"}, {"--resolve-conflicts"}, 0,
       {"run_1_D1.CRV", "run_1_D4.CRV", "run_1_CRV_TRACE_ORDER.txt"}, ""},
      // The library's numbering looks for a trace-order name with two underscores; the
      // one the writer makes is still never overwritten.
      {"CRV trace order file kept", "crv", {"run_CRV_TRACE_ORDER.txt"}, {"--resolve-conflicts"}, 0,
       {"run_1_D1.CRV", "run_1_CRV_TRACE_ORDER.txt"}, ""},
      {"both flags", "fasta", {}, {"--resolve-conflicts", "--overwrite"}, 2, {}, "exclude each other"},
  };
  const std::string src = Copy("biopython_3730.ab1", dir / "in" / "run.ab1");
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const fs::path out = zevrun::FreshScratch("export_naming");
    for (const auto& e : c.existing) WriteFile(out / e, "keep me");
    std::vector<std::string> args = {"export", src, "--format", c.format, "--out", out.string()};
    args.insert(args.end(), c.options.begin(), c.options.end());
    const auto r = RunZev(args);
    EXPECT_EQ(r.status, c.status) << r.err;
    for (const auto& w : c.written) EXPECT_TRUE(fs::exists(out / w)) << w << "\n" << r.out;
    const bool overwriting = std::find(c.options.begin(), c.options.end(), "--overwrite") != c.options.end();
    for (const auto& e : c.existing)
      if (!overwriting || c.status) {
        EXPECT_EQ(ReadFile(out / e), "keep me") << e;
      }
    std::string msg = c.message;
    for (std::size_t at; (at = msg.find("OUT")) != std::string::npos;) msg.replace(at, 3, out.string());
    EXPECT_NE(r.err.find(msg), std::string::npos) << r.err;
    if (c.status == 0) {
      EXPECT_EQ(r.err, "");
    }
    for (const auto& e : fs::directory_iterator(out))
      EXPECT_EQ(e.path().filename().string().find(".zevtmp"), std::string::npos) << "left behind: " << e.path();
  }
  // The PHD names the SCF it was numbered with.
  const fs::path out = zevrun::FreshScratch("export_naming");
  WriteFile(out / "run.scf.phd.1", "keep me");
  ASSERT_EQ(RunZev({"export", src, "--format", "phred", "--out", out.string(), "--resolve-conflicts"}).status, 0);
  EXPECT_NE(ReadFile(out / "run_1.scf.phd.1").find("\nCHROMAT_FILE: run_1.scf\n"), std::string::npos);
}

TEST_F(ExportCommand, StemsNamesAndProfileExtensions) {
  const std::string a = Copy("biopython_3730.ab1", dir / "a" / "run.ab1");
  const std::string b = Copy("seqtrace_forward.ab1", dir / "b" / "run.ab1");
  const std::string odd = Copy("biopython_3730.ab1", dir / "c" / "a\\b:c*d?e\"f<g>h|i.ab1");
  const fs::path profile = WriteFile(dir / "export.ini",
                                     "[EXPORT]\nFASTA_EXT=fa\nSCF_EXT=../up\nPHD_EXT=phd.1\nTXT_EXT=\n");
  struct Case {
    const char* name;
    std::vector<std::string> args;
    int status;
    std::vector<std::string> written;
    const char* message;
  };
  const std::vector<Case> cases = {
      {"same stem, numbered", {a, b, "--format", "fasta", "--resolve-conflicts"}, 0,
       {"run.fasta", "run_1.fasta", "run_1.fasta.qual"}, ""},
      {"same stem, refused", {a, b, "--format", "fasta"}, 2, {"run.fasta"}, "'OUT/run.fasta' exists"},
      {"same stem, never overwritten within a run", {a, b, "--format", "seq", "--overwrite"}, 2, {"run.seq"},
       "was written by an earlier input of this export"},
      {"illegal characters cleaned", {odd, "--format", "seq"}, 0, {"a_b_c_d_e_f_g_h_i.seq"}, ""},
      {"profile extension", {a, "--format", "fasta", "--profile", profile.string()}, 0, {"run.fa", "run.fa.qual"}, ""},
      {"a separator in an extension falls back", {a, "--format", "phred", "--profile", profile.string()}, 0,
       {"run.phd.1", "run.scf"}, ""},
      {"an empty extension stays empty", {a, "--format", "txt", "--profile", profile.string()}, 0, {"run"}, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const fs::path out = zevrun::FreshScratch("export_stems");
    std::vector<std::string> args = {"export", "--out", out.string()};
    args.insert(args.end(), c.args.begin(), c.args.end());
    const auto r = RunZev(args);
    EXPECT_EQ(r.status, c.status) << r.err;
    for (const auto& w : c.written) EXPECT_TRUE(fs::exists(out / w)) << w << "\n" << r.out << r.err;
    std::string msg = c.message;
    for (std::size_t at; (at = msg.find("OUT")) != std::string::npos;) msg.replace(at, 3, out.string());
    EXPECT_NE(r.err.find(msg), std::string::npos) << r.err;
  }
}

TEST_F(ExportCommand, BadInputGetsOneLineAndTheRestExports) {
  const std::string good = kTraces + "/biopython_3730.ab1";
  const std::string bytes = ReadFile(good);
  const std::string truncated = WriteFile(dir / "in" / "truncated.ab1", bytes.substr(0, 2000));
  const std::string empty = WriteFile(dir / "in" / "empty.scf", "");
  const std::string missing = (dir / "in" / "missing.ab1").string();
  struct Case {
    std::string input;
    const char* message;
  };
  const std::vector<Case> cases = {
      {kTraces + "/biopython_fake.ab1", "is not an SCF, ABIF, ESD or CRV file"},
      {kTraces + "/biopython_test.fsa", "no called bases (a fragment or raw-data file)"},
      {kTraces + "/seqtrace_error-wrong_version.scf", "cannot read"},
      {kTraces + "/seqtrace_error-missing_bases.scf", "is the byte 0x0A, not a base letter"},
      {truncated, "truncated.ab1"},
      {empty, "empty.scf"},
      {missing, "cannot read"},
  };
  const fs::path out = dir / "out";
  fs::create_directories(out);
  std::vector<std::string> args = {"export", "--format", "fasta", "--out", out.string(), good};
  for (const auto& c : cases) args.push_back(c.input);
  const auto r = RunZev(args);
  EXPECT_EQ(r.status, 2);
  EXPECT_TRUE(fs::exists(out / "biopython_3730.fasta"));
  std::stringstream lines(r.err);
  std::vector<std::string> errs;
  for (std::string l; std::getline(lines, l);) errs.push_back(l);
  ASSERT_EQ(errs.size(), cases.size()) << r.err;
  for (std::size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(cases[i].input);
    EXPECT_EQ(errs[i].rfind("zevutil: export: ", 0), 0u) << errs[i];
    EXPECT_NE(errs[i].find(cases[i].message), std::string::npos) << errs[i];
  }
  // Only the good input's pair is there: nothing half-written.
  std::set<std::string> names;
  for (const auto& e : fs::directory_iterator(out)) names.insert(e.path().filename().string());
  EXPECT_EQ(names, (std::set<std::string>{"biopython_3730.fasta", "biopython_3730.fasta.qual"}));

  // An output folder that is missing or takes no file fails once, before any input.
  for (const std::string& folder : {(dir / "nowhere").string(), std::string("/proc")}) {
    SCOPED_TRACE(folder);
    const auto f = RunZev({"export", "--format", "seq", "--out", folder, good});
    EXPECT_EQ(f.status, 2);
    EXPECT_NE(f.err.find("output folder '" + folder + "'"), std::string::npos) << f.err;
    EXPECT_EQ(std::count(f.err.begin(), f.err.end(), '\n'), 1);
  }
}

TEST_F(ExportCommand, OptionsShapeTheOutput) {
  const std::string trace = kTraces + "/biopython_3730.ab1";
  const fs::path list = WriteFile(dir / "list.txt", "# two traces\n" + trace + "\n\n" + kTraces + "/bioperl_chad100.scf\n");
  struct Case {
    const char* name;
    std::vector<std::string> args;
    std::vector<std::pair<std::string, std::string>> contains;  // file (or "stdout") and text
    std::vector<std::pair<std::string, std::string>> lacks;
  };
  const std::vector<Case> cases = {
      {"library line ends", {trace, "--format", "fasta"},
       {{"biopython_3730.fasta", "\r\n"}, {"biopython_3730.fasta.qual", "\r\n"}}, {}},
      {"--eol lf", {trace, "--format", "fasta", "--eol", "lf"}, {},
       {{"biopython_3730.fasta", "\r"}, {"biopython_3730.fasta.qual", "\r"}}},
      {"--eol crlf", {trace, "--format", "phred", "--eol", "crlf"}, {{"biopython_3730.scf.phd.1", "END_DNA\r\n"}}, {}},
      {"base table", {trace, "--format", "txt"},
       {{"biopython_3730.txt", "Base Number\tBase\tScore A"}, {"biopython_3730.txt", "\r\n1\tG\t0\t0\t20\t0\t20.00\t20\t0.01\t2\tNo\tNo\r\n"}},
       {}},
      {"raw data text", {trace, "--format", "ori"}, {{"biopython_3730.ori", "\t"}}, {}},
      {"list file", {"@" + list.string(), "--format", "seq"}, {{"bioperl_chad100.seq", ""}, {"biopython_3730.seq", ""}}, {}},
      {"dry run", {trace, "--format", "fasta", "--dry-run"}, {{"stdout", "would write"}},
       {{"biopython_3730.fasta", ""}}},
      {"trimming stated", {trace, "--format", "phred", "--apply-trimming", "--json"},
       {{"stdout", "\"bases before trimming\": 1165"}, {"stdout", "\"trim\""},
        {"biopython_3730.scf.phd.1", "\nTRIM: "}},
       {}},
      {"minimum length", {trace, "--format", "seq", "--min-length", "1165"}, {{"stdout", "skipped"}},
       {{"biopython_3730.seq", ""}}},
      {"all-zero quality warned", {kTraces + "/biopython_310.ab1", "--format", "fasta", "--json"},
       {{"stdout", "every quality value is 0"}}, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const fs::path out = zevrun::FreshScratch("export_options");
    std::vector<std::string> args = {"export", "--out", out.string(), "--verify"};
    args.insert(args.end(), c.args.begin(), c.args.end());
    const auto r = RunZev(args);
    EXPECT_EQ(r.status, 0) << r.err;
    auto text = [&](const std::string& f) { return f == "stdout" ? r.out : ReadFile(out / f); };
    for (const auto& [f, t] : c.contains) {
      if (f != "stdout") {
        EXPECT_TRUE(fs::exists(out / f)) << f;
      }
      EXPECT_NE(text(f).find(t), std::string::npos) << f << " lacks " << t;
    }
    for (const auto& [f, t] : c.lacks) {
      if (t.empty()) {
        EXPECT_FALSE(fs::exists(out / f)) << f;
      } else {
        EXPECT_EQ(text(f).find(t), std::string::npos) << f << " has " << t;
      }
    }
  }
  // Trimming cuts every output alike: the FASTA holds as many bases as the JSON says.
  const fs::path out = zevrun::FreshScratch("export_options");
  const auto r = RunZev({"export", trace, "--format", "fasta", "--apply-trimming", "--json", "--out", out.string()});
  ASSERT_EQ(r.status, 0) << r.err;
  const std::size_t at = r.out.find("\"bases after trimming\": ");
  ASSERT_NE(at, std::string::npos);
  const long after = std::stol(r.out.substr(at + 24));
  EXPECT_LT(after, 1165);
  std::string fasta = ReadFile(out / "biopython_3730.fasta");
  fasta = fasta.substr(fasta.find('\n') + 1);
  EXPECT_EQ(long(std::count_if(fasta.begin(), fasta.end(), [](char ch) { return std::isalpha(ch); })), after);
}

}  // namespace
