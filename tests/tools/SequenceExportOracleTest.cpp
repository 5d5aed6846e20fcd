// The base table and QUAL file of every public trace with a peer oracle, exported by the
// library's sequence output object and checked by compare_export.py: bases, quality
// values and data points against the peers, and the library's own layouts to the byte.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "ExportOracle.h"
#include "RunProgram.h"
#include "TraceModel.h"
#include "zevutil/CBaseSequenceOutputObject.h"

namespace fs = std::filesystem;

namespace {

const std::string kShared = zevoracle::SharedDir();

using zevoracle::Compare;
using zevoracle::HavePython;
using zevoracle::OracleRow;
using zevoracle::PrimaryOracles;

class SequenceExportOracle : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!HavePython()) GTEST_SKIP() << "python3 is not installed";
    dir = zevrun::FreshScratch("seq_export_oracle");
  }
  fs::path dir;
};

TEST_F(SequenceExportOracle, TextTableMatchesThePeers) {
  const std::vector<OracleRow> rows = PrimaryOracles("phd");
  ASSERT_FALSE(rows.empty());
  for (const OracleRow& r : rows) {
    SCOPED_TRACE(r.trace);
    zevcli::TraceSequence t = zevcli::LoadTraceSequence(kShared + "/testdata/traces/" + r.trace);
    zev::CBaseSequenceOutputObject obj(t.sequence);
    const fs::path ours = dir / (fs::path(r.trace).filename().string() + ".txt");
    ASSERT_EQ(obj.ExportObject(zev::EXPORT_TEXT, ours.c_str(), zev::CObjectOutputDef()), 1);
    std::string report;
    // BioPerl writes the word "unknown" for the quality of a base it cannot score.
    EXPECT_EQ(Compare(ours, r.oracle, "--exact-txt --eol crlf --unknown-ok", report), 0) << report;
  }
}

// The comparison has teeth: one data point off, or a row not in the exact layout, fails.
TEST_F(SequenceExportOracle, ADamagedTableFails) {
  zevcli::TraceSequence t = zevcli::LoadTraceSequence(kShared + "/testdata/traces/biopython_3730.ab1");
  zev::CBaseSequenceOutputObject obj(t.sequence);
  const fs::path ours = dir / "damaged.txt";
  ASSERT_EQ(obj.ExportObject(zev::EXPORT_TEXT, ours.c_str(), zev::CObjectOutputDef()), 1);
  const std::string good = zevrun::ReadFile(ours);
  struct Case {
    const char* name;
    const char* from;
    const char* to;
  };
  for (const Case& c : std::vector<Case>{{"data point", "\t0.01\t2\tNo", "\t0.01\t3\tNo"},
                                         {"layout", "\t20.00\t20\t", "\t20.0\t20\t"}}) {
    SCOPED_TRACE(c.name);
    std::string bad = good;
    const size_t at = bad.find(c.from);
    ASSERT_NE(at, std::string::npos);
    bad.replace(at, std::string(c.from).size(), c.to);
    zevrun::WriteFile(ours, bad);
    std::string report;
    EXPECT_NE(Compare(ours, "biopython_3730.ab1.phd", "--exact-txt --eol crlf", report), 0) << report;
  }
}

TEST_F(SequenceExportOracle, QualFileMatchesThePeersByteForByte) {
  const std::vector<OracleRow> rows = PrimaryOracles("qual");
  ASSERT_FALSE(rows.empty());
  for (const OracleRow& r : rows) {
    SCOPED_TRACE(r.trace);
    zevcli::TraceSequence t = zevcli::LoadTraceSequence(kShared + "/testdata/traces/" + r.trace);
    zev::CBaseSequenceOutputObject obj(t.sequence);
    const fs::path ours = dir / (fs::path(r.trace).filename().string() + ".qual");
    const std::string title = ">" + (t.sampleName.empty() ? fs::path(r.trace).filename().string() : t.sampleName);
    ASSERT_EQ(obj.ExportToQualityFile(ours.c_str(), title.c_str()), 1);
    std::string report;
    EXPECT_EQ(Compare(ours, r.oracle, "--exact-qual --eol crlf", report), 0) << report;
  }
}

}  // namespace
