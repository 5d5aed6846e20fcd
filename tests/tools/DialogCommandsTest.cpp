// The dialog commands without a display: props writes the sheet's pages as text, export
// --dialog and print --dialog do what the command line says; each says so in one line.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "RunProgram.h"

namespace fs = std::filesystem;
using zevrun::RunOptions;
using zevrun::RunZev;

namespace {

const std::string kTraces = std::string(ZEV_SHARED_DIR) + "/testdata/traces";
const RunOptions kNoDisplay{"", "", {{"ZEVUTIL_WINDOW_BACKEND", "null"}, {"DISPLAY", ""}}};

int Lines(const std::string& s) {
  int n = 0;
  for (char c : s) n += c == '\n';
  return n;
}

}  // namespace

TEST(DialogCommands, PropsWritesThePagesAsTextWithoutADisplay) {
  struct Case {
    const char* trace;
    std::vector<std::string> want;  // in this order in the output
  };
  const Case cases[] = {
      {"sangerseqR_heterozygous.ab1",
       {"Properties", "[General]", "sangerseqR_heterozygous.ab1", "Type:", "ABIF", "[Result General]",
        "Sample Name:", "B11_F", "Sample Position:", "4", "ZEV System Name:", "3730-01-1522-008", "[Notes]",
        "Note:", "NAME=B11_F"}},
      {"bioperl_version3.scf", {"[General]", "Type:", "SCF", "[Result General]", "[Notes]"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.trace);
    auto r = RunZev({"props", kTraces + "/" + c.trace}, kNoDisplay);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(Lines(r.err), 1);
    EXPECT_NE(r.err.find("no display"), std::string::npos) << r.err;
    std::size_t at = 0;
    for (const std::string& w : c.want) {
      std::size_t next = r.out.find(w, at);
      ASSERT_NE(next, std::string::npos) << "'" << w << "' after offset " << at << " in\n" << r.out;
      at = next + w.size();
    }
    // --text asks for the same without the line about the display.
    auto t = RunZev({"props", "--text", kTraces + "/" + c.trace}, kNoDisplay);
    EXPECT_EQ(t.status, 0);
    EXPECT_EQ(t.out, r.out);
    EXPECT_EQ(t.err, "");
  }
  auto bad = RunZev({"props", kTraces + "/MANIFEST.tsv"}, kNoDisplay);
  EXPECT_EQ(bad.status, 2);
  EXPECT_EQ(Lines(bad.err), 1);
}

TEST(DialogCommands, ExportAndPrintDialogsFallBackToTheCommandLine) {
  const fs::path out = zevrun::FreshScratch("dialog-fallback");
  auto e = RunZev({"export", kTraces + "/bioperl_version3.scf", "--dialog", "--format", "fasta", "--out", out.string()},
                  kNoDisplay);
  ASSERT_EQ(e.status, 0) << e.err;
  EXPECT_TRUE(fs::exists(out / "bioperl_version3.fasta"));
  EXPECT_NE(e.err.find("no display"), std::string::npos);
  // Without --dialog the format must be given.
  auto none = RunZev({"export", kTraces + "/bioperl_version3.scf", "--out", out.string()}, kNoDisplay);
  EXPECT_EQ(none.status, 2);
  EXPECT_NE(none.err.find("--format"), std::string::npos) << none.err;

  const std::string text = zevrun::WriteFile(out / "lines.txt", "one\ntwo\nthree\n");
  auto p = RunZev({"print", text, "--pdf", (out / "lines.pdf").string(), "--dialog"}, kNoDisplay);
  ASSERT_EQ(p.status, 0) << p.err;
  EXPECT_TRUE(fs::exists(out / "lines.pdf"));
  EXPECT_NE(p.err.find("no display"), std::string::npos);
}
