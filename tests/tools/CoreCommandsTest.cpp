// The crc and iub commands, run as a user runs them: output, errors and exit status.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "RunProgram.h"
#include "zevutil/CCalcCRC32.h"

namespace fs = std::filesystem;

namespace {

using zevrun::Result;
using zevrun::RunZev;
using zevrun::WriteFile;

fs::path Scratch() { return zevrun::Scratch("core_commands"); }

std::string Hex8(zev::ULONG v) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "%08X", unsigned(v));
  return buf;
}

}  // namespace

TEST(CrcCommand, ChecksumsFilesAndStandardInput) {
  // Three buffers of the 1 MiB read block cross block boundaries inside the command.
  std::string big(3 * (1 << 20) + 11, '\0');
  std::mt19937 gen(7);
  for (auto& c : big) c = char(gen());
  const std::string bigCrc = Hex8(zev::CCalcCRC32().CalcBlock(big.data(), zev::ULONG(big.size())).GetCRC());

  const std::string check = WriteFile(Scratch() / "check.txt", "123456789");
  const std::string empty = WriteFile(Scratch() / "empty.bin", "");
  const std::string large = WriteFile(Scratch() / "big.bin", big);

  Result r = RunZev({"crc", check, empty, large});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "340BC6D9  " + check + "\nFFFFFFFF  " + empty + "\n" + bigCrc + "  " + large + "\n");
  EXPECT_EQ(r.err, "");

  r = RunZev({"crc", "-"}, check);
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "340BC6D9  -\n");
}

// Failures: one line on stderr (naming the file, for crc) and exit status 2; crc still
// checksums the other files.
TEST(CoreCommands, Failures) {
  const std::string check = WriteFile(Scratch() / "check2.txt", "123456789");
  const std::string missing = (Scratch() / "no such file").string();
  struct Case {
    std::vector<std::string> args;
    std::string out;
    std::string named;
  } cases[] = {
      {{"crc", missing, check}, "340BC6D9  " + check + "\n", missing},
      {{"crc", Scratch().string(), check}, "340BC6D9  " + check + "\n", Scratch().string()},
      {{"crc"}, "", ""},
      {{"iub", "AG"}, "", "'AG'"},
      {{"iub"}, "", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args.back());
    Result r = RunZev(c.args);
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.out, c.out);
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    EXPECT_NE(r.err.find(c.named), std::string::npos) << r.err;
  }
}

TEST(IubCommand, TextTable) {
  Result r = RunZev({"iub", "A", "r", "N", "-", ""});
  ASSERT_EQ(r.status, 0) << r.err;
  const std::vector<std::vector<std::string>> rows = {
      {"code", "valid", "hetero", "map", "bases", "complement", "matching"},
      {"A", "yes", "no", "0x1", "A", "T", "ARMWDHVN"},
      {"r", "yes", "yes", "0x5", "AG", "Y", "AGRKMSWBDHVN"},
      {"N", "yes", "yes", "0xF", "ACGT", "N", "ACGTRYKMSWBDHVN"},
      {"-", "no", "no", "-16", "-", "-", "-"},
      {"0x00", "no", "no", "-16", "-", "A", "-"},  // NUL: no map, yet its complement is A
  };
  std::istringstream lines(r.out);
  std::string line;
  for (const auto& expected : rows) {
    ASSERT_TRUE(std::getline(lines, line));
    SCOPED_TRACE(line);
    std::istringstream words(line);
    std::vector<std::string> got{std::istream_iterator<std::string>(words), {}};
    EXPECT_EQ(got, expected);
  }
  EXPECT_FALSE(std::getline(lines, line));
}

TEST(IubCommand, Json) {
  Result r = RunZev({"iub", "--json", "Y", "x"});
  ASSERT_EQ(r.status, 0) << r.err;
  auto j = nlohmann::json::parse(r.out);
  ASSERT_EQ(j.size(), 2u);
  EXPECT_EQ(j[0], nlohmann::json({{"code", "Y"}, {"byte", 89}, {"valid", true}, {"heterozygous", true},
                                  {"map", 10}, {"baseIndex", 5}, {"bases", "CT"}, {"complement", "R"},
                                  {"matching", "CTYKMSWBDHVN"}}));
  EXPECT_EQ(j[1]["valid"], false);
  EXPECT_EQ(j[1]["map"], -16);
  EXPECT_EQ(j[1]["baseIndex"], -1);
  EXPECT_EQ(j[1]["complement"], "x");
}
