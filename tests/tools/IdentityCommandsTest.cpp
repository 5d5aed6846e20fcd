// The id and version commands, run as a user runs them: printed fields, JSON,
// errors and exit status.
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "RunProgram.h"

namespace fs = std::filesystem;

namespace {

using zevrun::Result;
using zevrun::RunZev;

nlohmann::json Json(const Result& r) {
  EXPECT_EQ(r.status, 0) << r.err;
  return nlohmann::json::parse(r.out, nullptr, false);
}

}  // namespace

TEST(IdentityCommands, IdParseAndToken) {
  nlohmann::json j = Json(RunZev({"id", "parse", "LONGSAMPLENAME_NUMBER_7.B12_04031214AB", "--json"}));
  EXPECT_EQ(j, nlohmann::json::parse(R"({"name": "LONGSAMPLENAME_NUMBER_7.B12_04031214AB", "cell": 23, "unique": 27,
      "old": false, "reduced": {"10": "LONGSA...", "24": "LONGS....B12_04031214AB",
      "32": "LONGSAMPLENAM....B12_04031214AB"}})"));
  j = Json(RunZev({"id", "token", "10000 SAMPLE.A1", "--json"}));
  EXPECT_EQ(j, nlohmann::json::parse(R"({"class": "CSampleID", "type": 10000, "name": "SAMPLE.A1",
      "token": "10000 SAMPLE.A1",
      "stored": "10 27 00 00 09 53 41 4d 50 4c 45 2e 41 31 ff ff ff ff 00 00 00 00 00 00 00 00 00 00 00 00"})"));
  Result text = RunZev({"id", "token", "8123"});
  EXPECT_EQ(text.out, "class    CInstrumentID\ntype     8123\nname     \ntoken    8123 \n"
                      "stored   bb 1f 00 00 00 40 1f 00 00 00 00 00 00\n");
  Result bad = RunZev({"id", "token", "0 Zero"});
  EXPECT_EQ(bad.status, 2);
  EXPECT_EQ(bad.err, "zevutil: not a token (it must start with a non-zero type number): '0 Zero'\n");
}

TEST(IdentityCommands, VersionOfOurOwnFiles) {
  Result program = RunZev({"--version"});  // "zevutil 0.1.0"
  for (const std::string file : {ZEV_BINARY_DIR "/libzevutil.so", ZEV_BINARY_DIR "/tools/zevutil/zevutil"}) {
    SCOPED_TRACE(file);
    nlohmann::json j = Json(RunZev({"version", file, "--json"}));
    EXPECT_EQ(j["product"], "ZevUtil");
    EXPECT_EQ(j["complete"], true);
    EXPECT_NE(program.out.find(j["version"].get<std::string>()), std::string::npos);
  }
  const fs::path text = zevrun::Scratch("identity_commands") / "plain.txt";
  zevrun::WriteFile(text, "no version here\n");
  Result r = RunZev({"version", text.string()});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.err, "zevutil: no version resource in '" + text.string() + "'\n");
}
