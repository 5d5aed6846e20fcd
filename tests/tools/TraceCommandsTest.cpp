// The dump and convert commands, run as a user runs them: formats told by content,
// JSON that parses, conversions that carry the trace across, and failures that write
// nothing and say one line.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "RunProgram.h"
#include "zevutil/CScf.h"

namespace fs = std::filesystem;

namespace {

using zevrun::Result;
using zevrun::RunZev;

// The named folder, emptied at each call.
fs::path Scratch(const std::string& sub) { return zevrun::FreshScratch("trace_commands/" + sub); }

const std::string kDemo = ZEV_SOURCE_DIR "/examples/data/demo.scf";
const std::string kSamples = ZEV_SHARED_DIR "/testdata/traces/";

nlohmann::json DumpJson(const std::string& file, bool full = false) {
  std::vector<std::string> args = {"dump", file, "--json"};
  if (full) args.push_back("--full");
  Result r = RunZev(args);
  EXPECT_EQ(r.status, 0) << r.err;
  return nlohmann::json::parse(r.out);
}

// The trace of an SCF file as the library reads it.
struct ScfContent {
  std::string bases;
  std::vector<unsigned> peaks;
  std::vector<std::vector<unsigned short>> samples;
};
ScfContent ReadScf(const std::string& path) {
  zev::CScf s;
  ScfContent c;
  EXPECT_TRUE(s.Read(path.c_str())) << path;
  for (unsigned i = 0; i < s.GetBaseSize(); ++i) {
    unsigned peak;
    unsigned char x;
    char b;
    s.GetBase(int(i), peak, x, x, x, x, b);
    c.bases += b;
    c.peaks.push_back(peak);
  }
  for (unsigned i = 0; i < s.GetSampleSize(); ++i) {
    unsigned short v[4];
    s.GetSample(int(i), v[0], v[1], v[2], v[3]);
    c.samples.push_back({v[0], v[1], v[2], v[3]});
  }
  return c;
}

}  // namespace

TEST(TraceCommands, DumpTellsTheFormatFromTheContent) {
  fs::path dir = Scratch("detect");
  // Names that say nothing, or the wrong thing, about the content.
  fs::copy_file(kDemo, dir / "trace.bin");
  ASSERT_EQ(RunZev({"convert", kDemo, (dir / "esd.scf").string(), "--to", "esd"}).status, 0);
  ASSERT_EQ(RunZev({"convert", kDemo, (dir / "set").string(), "--to", "crv"}).status, 0);
  fs::rename(dir / "set_D3.CRV", dir / "curves.dat");
  struct Case { fs::path file; const char* format; };
  const Case cases[] = {
      {dir / "trace.bin", "SCF"},
      {dir / "esd.scf", "ESD"},
      {dir / "curves.dat", "CRV"},
      {kSamples + "biopython_3730.ab1", "ABIF"},
      {kSamples + "bioperl_version2.scf", "SCF"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.file.string());
    auto d = DumpJson(c.file.string());
    EXPECT_EQ(d.value("format", ""), c.format);
  }
}

TEST(TraceCommands, DumpShowsWhatWasRead) {
  auto d = DumpJson(kDemo);
  EXPECT_EQ(d["version"], "3.00");
  EXPECT_EQ(d["header"]["bases"], 64);
  EXPECT_EQ(d["sequence"], "GATTACAGGCTTAACGTCCATGGAATTCGCTAGCAGTCAAGCTTGGACTGACCTAGTTACGGAT");
  EXPECT_EQ(d["comments"][0], "NAME=zev-demo-0001");
  EXPECT_EQ(d["bases"].size(), 20u);
  EXPECT_EQ(d["bases"][1]["peak"], 37);
  EXPECT_EQ(d["channels"]["A"].size(), 10u);
  EXPECT_EQ(d["private"]["barcode"], "DEMO-0001");

  auto full = DumpJson(kDemo, true);
  EXPECT_EQ(full["bases"].size(), 64u);
  EXPECT_EQ(full["channels"]["T"].size(), full["header"]["samples"].get<size_t>());

  Result text = RunZev({"dump", kDemo});
  ASSERT_EQ(text.status, 0);
  for (const char* want : {"format: SCF", "sequence: GATTACAGG", "bases (20 shown):", "channels (10 shown):",
                           "subject ID: synthetic chromatogram", "--full"})
    EXPECT_NE(text.out.find(want), std::string::npos) << want;

  // An ABIF file: its directory, run data and called bases.
  auto abif = DumpJson(kSamples + "biopython_3730.ab1");
  EXPECT_EQ(abif["directory"].size(), 123u);
  EXPECT_EQ(abif["counts"]["bases"], 1165);
  EXPECT_FALSE(abif["run"]["sample name"].get<std::string>().empty());
}

TEST(TraceCommands, ConvertCarriesTheTraceAcross) {
  const ScfContent demo = ReadScf(kDemo);
  ASSERT_EQ(demo.bases.size(), 64u);
  struct Case {
    const char* name;
    std::vector<std::string> steps;  // target formats, in order, ending in an SCF
    bool bases;                      // whether bases and peaks survive the chain
  };
  const Case cases[] = {
      {"scf3 to scf2", {"scf2"}, true},
      {"through abif", {"abif", "scf3"}, true},
      {"through abif twice", {"abif", "scf2", "abif", "scf3"}, true},
      {"through esd", {"esd", "scf2"}, false},
      {"through crv", {"crv", "scf3"}, false},
      {"everything", {"scf2", "abif", "esd", "crv", "scf3"}, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    fs::path dir = Scratch("convert");
    std::string in = kDemo;
    for (size_t i = 0; i < c.steps.size(); ++i) {
      std::string out = (dir / ("step" + std::to_string(i))).string();
      Result r = RunZev({"convert", in, out, "--to", c.steps[i]});
      ASSERT_EQ(r.status, 0) << r.err;
      EXPECT_NE(r.out.find("wrote"), std::string::npos);
      in = c.steps[i] == "crv" ? out + "_D1.CRV" : out;
    }
    ScfContent got = ReadScf(in);
    EXPECT_EQ(got.samples, demo.samples);
    if (c.bases) {
      EXPECT_EQ(got.bases, demo.bases);
      EXPECT_EQ(got.peaks, demo.peaks);
    } else {
      EXPECT_EQ(got.bases, "");
    }
  }
}

TEST(TraceCommands, BundledAbifCopyIsTheConvertedDemo) {
  fs::path dir = Scratch("bundled");
  ASSERT_EQ(RunZev({"convert", kDemo, (dir / "demo.ab1").string(), "--to", "abif"}).status, 0);
  EXPECT_EQ(zevrun::ReadFile(dir / "demo.ab1"), zevrun::ReadFile(ZEV_SOURCE_DIR "/examples/data/demo.ab1"));
}

TEST(TraceCommands, FailuresWriteNothingAndSayOneLine) {
  fs::path dir = Scratch("fail");
  zevrun::WriteFile(dir / "notes.txt", "not a trace\n");
  const std::string out = (dir / "out.scf").string();
  struct Case { const char* name; std::vector<std::string> args; const char* says; };
  const Case cases[] = {
      {"missing input", {"convert", (dir / "missing.scf").string(), out, "--to", "scf3"}, "cannot read"},
      {"not a trace", {"convert", (dir / "notes.txt").string(), out, "--to", "scf3"}, "is not an SCF, ABIF, ESD or CRV file"},
      {"damaged SCF", {"convert", kSamples + "seqtrace_error-wrong_version.scf", out, "--to", "scf2"}, "as SCF"},
      {"unknown target", {"convert", kDemo, out, "--to", "ztr"}, "--to"},
      {"unwritable target", {"convert", kDemo, (dir / "no/such/dir/out.scf").string(), "--to", "scf3"}, "cannot write"},
      {"unwritable abif", {"convert", kDemo, (dir / "no/such/dir/out.ab1").string(), "--to", "abif"}, "cannot write"},
      {"unwritable crv", {"convert", kDemo, (dir / "no/such/dir/set").string(), "--to", "crv"}, "cannot write"},
      {"dump of text", {"dump", (dir / "notes.txt").string()}, "is not an SCF, ABIF, ESD or CRV file"},
      {"dump of a damaged file", {"dump", kSamples + "generated/gen_3730_emboss_nosamples.scf"}, "as SCF"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Result r = RunZev(c.args);
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    EXPECT_NE(r.err.find(c.says), std::string::npos) << r.err;
    // Nothing written: only the text file is in the folder.
    std::vector<std::string> left;
    for (const auto& e : fs::recursive_directory_iterator(dir)) left.push_back(e.path().filename().string());
    EXPECT_EQ(left, std::vector<std::string>({"notes.txt"}));
  }
}
