// The lzss and grep commands, run as a user runs them: output files, printed lines,
// errors and exit status.
#include <gtest/gtest.h>

#include <algorithm>

#include <filesystem>
#include <string>
#include <vector>

#include "RunProgram.h"

namespace fs = std::filesystem;

namespace {

using zevrun::ReadFile;
using zevrun::Result;
using zevrun::RunZev;
using zevrun::WriteFile;

fs::path Scratch() { return zevrun::Scratch("codec_commands"); }

}  // namespace

TEST(LzssCommand, CompressesToTheReferenceStreamAndBack) {
  const fs::path dir = std::string(ZEV_SHARED_DIR) + "/testdata/lzss";
  const fs::path packed = Scratch() / "text4097.lz";
  const fs::path back = Scratch() / "text4097.out";
  Result c = RunZev({"lzss", "compress", (dir / "text4097.bin").string(), packed.string()});
  ASSERT_EQ(c.status, 0) << c.err;
  EXPECT_EQ(ReadFile(packed), ReadFile(dir / "text4097.lzss"));
  EXPECT_NE(c.out.find("4097 bytes"), std::string::npos) << c.out;
  Result e = RunZev({"lzss", "expand", packed.string(), back.string()});
  ASSERT_EQ(e.status, 0) << e.err;
  EXPECT_EQ(ReadFile(back), ReadFile(dir / "text4097.bin"));

  // Standard input to standard output: the bytes alone.
  Result pipe = RunZev({"lzss", "expand", "-", "-"}, (dir / "one_X.lzss").string());
  EXPECT_EQ(pipe.status, 0);
  EXPECT_EQ(pipe.out, "X");
}

TEST(LzssCommand, FailuresLeaveNoOutput) {
  const fs::path out = Scratch() / "never.lz";
  fs::remove(out);
  struct Case {
    const char* name;
    std::vector<std::string> args;
    const char* message;
  } cases[] = {
      {"missing input", {"lzss", "compress", (Scratch() / "absent").string(), out.string()}, "cannot read"},
      {"unwritable output", {"lzss", "compress", "-", (Scratch() / "no/such/dir/x").string()}, "cannot write"},
      {"no mode", {"lzss"}, "subcommand"},
      {"unknown mode", {"lzss", "squeeze", "a", "b"}, ""},
  };
  const fs::path empty = Scratch() / "empty.txt";
  WriteFile(empty, "");
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Result r = RunZev(c.args, empty.string());
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
    EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << "one line: " << r.err;
  }
  EXPECT_FALSE(fs::exists(out));
}

TEST(GrepCommand, PrintsMatchingLinesAsAsked) {
  const fs::path a = Scratch() / "a.txt";
  const fs::path b = Scratch() / "b.txt";
  WriteFile(a, "Peak at 120\nno peaks here\nPEAK at 7 and peak at 9\n\n");
  WriteFile(b, "base 1\npeak 2\n");
  struct Case {
    const char* name;
    std::vector<std::string> args;
    int status;
    std::string out;
  } cases[] = {
      {"plain", {"grep", "peak", a.string()}, 0, "no peaks here\nPEAK at 7 and peak at 9\n"},
      {"ignore case", {"grep", "-i", "peak at", a.string()}, 0, "Peak at 120\nPEAK at 7 and peak at 9\n"},
      {"only the match", {"grep", "-o", "[0-9]+", a.string()}, 0, "120\n7\n"},
      // the last place a match starts: the final digit of 120
      {"last match", {"grep", "-r", "-o", "[0-9]+", a.string()}, 0, "0\n9\n"},
      {"replace", {"grep", "--replace", "<\\1>", "at ([0-9]+)", a.string()}, 0,
       "Peak <120>\nPEAK <7> and peak at 9\n"},
      {"replace the last", {"grep", "-r", "--replace", "#", "[0-9]+", a.string()}, 0,
       "Peak at 12#\nPEAK at 7 and peak at #\n"},
      {"replace only", {"grep", "-o", "--replace", "\\1", "at ([0-9]+)", a.string()}, 0, "120\n7\n"},
      {"empty lines match an empty-matching pattern", {"grep", "-o", "^$", a.string()}, 0, "\n"},
      {"several files are named", {"grep", "peak", a.string(), b.string()}, 0,
       a.string() + ":no peaks here\n" + a.string() + ":PEAK at 7 and peak at 9\n" + b.string() + ":peak 2\n"},
      {"no match", {"grep", "trough", a.string()}, 1, ""},
      {"count", {"grep", "-c", "peak", a.string()}, 0, "2\n"},
      {"count of each file", {"grep", "-c", "peak", a.string(), b.string()}, 0,
       a.string() + ":2\n" + b.string() + ":1\n"},
      {"count of none", {"grep", "-c", "trough", a.string()}, 1, "0\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Result r = RunZev(c.args);
    EXPECT_EQ(r.status, c.status) << r.err;
    EXPECT_EQ(r.out, c.out);
  }
  Result in = RunZev({"grep", "-o", "a.e"}, b.string());  // standard input
  EXPECT_EQ(in.out, "ase\n");
  EXPECT_EQ(RunZev({"grep", "-c", "[0-9]"}, b.string()).out, "2\n");
  // A last line without its newline is a line; a NUL ends what the search sees of a line.
  const fs::path c = Scratch() / "c.txt";
  WriteFile(c, std::string("peak\0x\nx\0peak\npeak", 18));
  EXPECT_EQ(RunZev({"grep", "-c", "peak", c.string()}).out, "2\n");
}

TEST(GrepCommand, SparseMatchesAcrossReadBlocks) {
  // Many lines, few matching, some of them across the places where the file is read in
  // blocks, and the last one without its newline: the lines passed over unsearched never
  // include a matching one, with and without case.
  const fs::path f = Scratch() / "sparse.txt";
  std::string text, want;
  long count = 0;
  for (int i = 0; text.size() < 700000; ++i) {
    std::string line = "line " + std::to_string(i) + " of plain text without the word";
    if (i % 997 == 0 || (text.size() % 262144) > 262100) line += i % 2 ? " Needle:" + std::to_string(i) : " needle:7";
    text += line + '\n';
    if (line.find("eedle:") != std::string::npos) want += line + '\n', ++count;
  }
  text += "last needle:9";
  want += "last needle:9\n";
  ++count;
  WriteFile(f, text);
  EXPECT_EQ(RunZev({"grep", "-c", "[Nn]eedle:[0-9]+", f.string()}).out, std::to_string(count) + "\n");
  EXPECT_EQ(RunZev({"grep", "-i", "NEEDLE:", f.string()}).out, want);
  EXPECT_EQ(RunZev({"grep", "-c", "needle", f.string()}).out,
            std::to_string(count - long(std::count(want.begin(), want.end(), 'N'))) + "\n");
}

TEST(GrepCommand, ReportsBadPatternsAndFiles) {
  struct Case {
    std::vector<std::string> args;
    const char* message;
  } cases[] = {
      {{"grep", "a**", "x"}, "Nested *?+"},
      {{"grep", "(ab", "x"}, "Unterminated ()"},
      {{"grep", "", "x"}, "empty pattern"},
      {{"grep", "a", (Scratch() / "absent").string()}, "cannot read"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args[1]);
    Result r = RunZev(c.args);
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
  }
}
