// The colors and calib commands, run as a user runs them: the colour table on a fresh
// store, a set colour kept across runs and per user, the dead-time values of an INI
// file, and the one-line errors.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "RunProgram.h"
#include "platform/HostTestSupport.h"

namespace fs = std::filesystem;

namespace {

using zevrun::Result;

class ObjectCommands : public ::testing::Test {
 protected:
  // Runs zevutil with the registry in this test's folder.
  Result Run(const std::vector<std::string>& args) {
    zevrun::RunOptions options;
    options.env = {{"ZEVUTIL_REGISTRY_DIR", dir / "registry"}};
    return zevrun::RunZev(args, options);
  }

  nlohmann::json Colors(const std::vector<std::string>& extra = {}) {
    std::vector<std::string> args = {"colors", "--json"};
    args.insert(args.end(), extra.begin(), extra.end());
    const Result r = Run(args);
    EXPECT_EQ(r.status, 0) << r.err;
    return nlohmann::json::parse(r.out, nullptr, false);
  }

  zevtest::TempDir dir;
};

}  // namespace

TEST_F(ObjectCommands, ColorsOnAFreshStoreShowTheDefaults) {
  const Result text = Run({"colors"});
  ASSERT_EQ(text.status, 0) << text.err;
  EXPECT_NE(text.out.find("  6  DYEAID               FF2020  0x2020FF  stored\n"), std::string::npos) << text.out;
  EXPECT_NE(text.out.find(" 33  QUALITYID            000080  0x800000  stored\n"), std::string::npos);

  const nlohmann::json j = Colors();
  ASSERT_EQ(j["colors"].size(), 34u);
  EXPECT_TRUE(j["user"].is_null());
  struct Case {
    int id;
    const char* name;
    const char* rgb;
  };
  const Case cases[] = {{0, "TITLEID", "000000"}, {3, "DESKID", "C0C0C0"}, {16, "CURRENT6ID", "FF8040"},
                        {31, "SCANBID", "FF2020"}, {32, "PRINTTOTALCURRENTID", "808080"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(j["colors"][size_t(c.id)]["name"], c.name);
    EXPECT_EQ(j["colors"][size_t(c.id)]["rgb"], c.rgb);
    EXPECT_EQ(j["colors"][size_t(c.id)]["stored"], true);
  }
}

TEST_F(ObjectCommands, ASetColourIsKeptAcrossRunsAndPerUser) {
  ASSERT_EQ(Run({"colors", "--set", "dyeaid=00ff00", "--set", "GRIDID=#123456"}).status, 0);
  nlohmann::json j = Colors();
  EXPECT_EQ(j["colors"][6]["rgb"], "00FF00");
  EXPECT_EQ(j["colors"][6]["colorref"], 0x00FF00);
  EXPECT_EQ(j["colors"][5]["rgb"], "123456");
  EXPECT_EQ(j["colors"][5]["colorref"], 0x563412);

  // A user starts from the built-in defaults, not from the system's settings.
  j = Colors({"--user", "ann"});
  EXPECT_EQ(j["user"], "ann");
  EXPECT_EQ(j["colors"][6]["rgb"], "FF2020");
  EXPECT_EQ(j["colors"][6]["stored"], false);
  ASSERT_EQ(Run({"colors", "--user", "ann", "--set", "QUALITYID=0000FF"}).status, 0);
  j = Colors({"--user", "ann"});
  EXPECT_EQ(j["colors"][33]["rgb"], "0000FF");
  EXPECT_EQ(Colors()["colors"][33]["rgb"], "000080");
}

TEST_F(ObjectCommands, ColourErrorsAreOneLineAndChangeNothing) {
  struct Case {
    std::vector<std::string> args;
    const char* message;
  };
  const Case cases[] = {
      {{"colors", "--set", "NOSUCH=000000"}, "zevutil: unknown colour name 'NOSUCH'"},
      {{"colors", "--set", "DYEAID=12345"}, "zevutil: colour '12345' is not six hexadecimal digits RRGGBB"},
      {{"colors", "--set", "DYEAID=00FF00", "--set", "DYEAID"}, "zevutil: --set needs NAME=RRGGBB, not 'DYEAID'"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message);
    const Result r = Run(c.args);
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.err.rfind(c.message, 0), 0u) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1);
    EXPECT_TRUE(r.out.empty());
  }
  EXPECT_EQ(Colors()["colors"][6]["rgb"], "FF2020");
}

TEST_F(ObjectCommands, CalibPrintsTheDeadTimeValuesOfAFile) {
  const fs::path ini = dir / "instrument.ini";
  zevrun::WriteFile(ini, "[INSTRUMENT]\r\nDeadtime=25.0\r\nDeadtimeThreshold=20\r\nSaturation=1000 2000\r\n");
  const Result text = Run({"calib", ini.string()});
  ASSERT_EQ(text.status, 0) << text.err;
  EXPECT_NE(text.out.find("Deadtime            25\n"), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("Saturation [1]      lower 1000  upper 2000"), std::string::npos);
  EXPECT_NE(text.out.find("In use              [1]\n"), std::string::npos);

  const fs::path refused = dir / "refused.ini";
  zevrun::WriteFile(refused, "[INSTRUMENT]\nDeadtime=5\nSaturation=1 2\n");
  const Result json = Run({"calib", "--json", refused.string()});
  ASSERT_EQ(json.status, 0) << json.err;
  const auto j = nlohmann::json::parse(json.out);
  EXPECT_EQ(j["in_file"]["Deadtime"], "5");
  EXPECT_TRUE(j["in_file"]["DeadtimeThreshold"].is_null());
  EXPECT_EQ(j["deadtime"], 15.75);  // one character counts as absent
  EXPECT_EQ(j["saturation_lower"][0], 64000.0);
  EXPECT_EQ(j["saturation_in_use"], 0);

  const Result missing = Run({"calib", dir / "none.ini"});
  EXPECT_EQ(missing.status, 2);
  EXPECT_EQ(missing.err.rfind("zevutil: cannot read '", 0), 0u);
}
