// The reg, ini and ps commands, run as a user runs them: output, errors and exit status.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "RunProgram.h"
#include "platform/HostTestSupport.h"

namespace {

using zevrun::Result;

class HostCommands : public ::testing::Test {
 protected:
  // Runs zevutil in the scratch folder with the registry stores kept there.
  Result Run(const std::vector<std::string>& args) {
    zevrun::RunOptions options;
    options.workDir = dir.path();
    options.env = {{"ZEVUTIL_REGISTRY_DIR", dir / "reg"}};
    return zevrun::RunZev(args, options);
  }
  zevtest::TempDir dir;
};

// One command of a sequence and what it gives.
struct Step {
  std::vector<std::string> args;
  int status;
  std::string out;
};

TEST_F(HostCommands, RegSetsGetsListsAndDeletes) {
  const Step steps[] = {
      {{"reg", "set", "Software\\Test", "Name", "caf\xE9"}, 0, ""},
      {{"reg", "set", "Software\\Test", "Count", "0x2A", "--type", "dword"}, 0, ""},
      {{"reg", "set", "Software\\Test", "Bin", "00 FF,0a", "--type", "binary"}, 0, ""},
      {{"reg", "set", "Software\\Test", "Multi", "a", "b", "--type", "multi_sz"}, 0, ""},
      {{"reg", "set", "Software\\Test", "", "default"}, 0, ""},
      {{"reg", "set", "Software\\Test\\Sub", "x", "y"}, 0, ""},
      {{"reg", "get", "SOFTWARE\\test", "name"}, 0, "caf\xE9\n"},
      {{"reg", "get", "Software\\Test", "Count"}, 0, "42\n"},
      {{"reg", "get", "Software\\Test", "Bin"}, 0, "00 ff 0a\n"},
      {{"reg", "get", "Software\\Test"}, 0, "default\n"},
      {{"reg", "list", "Software\\Test"}, 0,
       "Sub\\\nName\tREG_SZ\tcaf\xE9\nCount\tREG_DWORD\t42\nBin\tREG_BINARY\t00 ff 0a\nMulti\tREG_MULTI_SZ\ta b\n"
       "(default)\tREG_SZ\tdefault\n"},
      {{"reg", "delete", "Software\\Test", "Count"}, 0, ""},
      {{"reg", "delete", "Software\\Test\\Sub"}, 0, ""},
      {{"reg", "list", "Software\\Test"}, 0,
       "Name\tREG_SZ\tcaf\xE9\nBin\tREG_BINARY\t00 ff 0a\nMulti\tREG_MULTI_SZ\ta b\n(default)\tREG_SZ\tdefault\n"},
      {{"reg", "list", "Software\\Test", "--root", "machine"}, 2, ""},
      {{"reg", "--root", "machine", "set", "SOFTWARE\\Vendor", "LastInstallVersion", "5.1"}, 0, ""},
      {{"reg", "get", "SOFTWARE\\Vendor", "LastInstallVersion", "--root", "machine"}, 0, "5.1\n"},
  };
  for (const Step& s : steps) {
    SCOPED_TRACE(zevrun::Joined(s.args));
    Result r = Run(s.args);
    EXPECT_EQ(r.status, s.status) << r.err;
    if (s.status == 0) {
      EXPECT_EQ(r.out, s.out);
      EXPECT_EQ(r.err, "");
    }
  }
  Result j = Run({"reg", "list", "Software\\Test", "--json"});
  ASSERT_EQ(j.status, 0);
  auto doc = nlohmann::json::parse(j.out);
  EXPECT_EQ(doc["values"][0]["data"], "caf\xC3\xA9");  // code page 1252 shown as UTF-8
  EXPECT_EQ(doc["values"][1]["data"], "00ff0a");
  EXPECT_EQ(doc["values"][2]["data"], nlohmann::json::array({"a", "b"}));
}

TEST_F(HostCommands, RegErrorsAreOneLineWithStatusTwo) {
  zevtest::WriteBytes(dir / "bad", "not a database");
  struct Case {
    std::vector<std::string> args;
    std::string err;
  } cases[] = {
      {{"reg", "get", "Nothing", "x"}, "zevutil: no key 'Nothing' under HKEY_CURRENT_USER\n"},
      {{"reg", "set", "K", "v", "12x", "--type", "dword"}, "zevutil: '12x' is not a number that fits the type\n"},
      {{"reg", "set", "K", "v", "4294967296", "--type", "dword"},
       "zevutil: '4294967296' is not a number that fits the type\n"},
      {{"reg", "set", "K", "v", "abc", "--type", "binary"}, "zevutil: hex data needs two digits per byte\n"},
      {{"reg", "set", "K", "v", "a", "b"}, "zevutil: a sz value takes one DATA argument\n"},
      {{"reg", "set", "K", "v", "x", "--type", "float"}, "zevutil: unknown type 'float'\n"},
      {{"reg", "delete", "\\"}, "zevutil: refusing to delete a whole root\n"},
      {{"reg", "--store", dir / "bad", "get", "K"}, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.args[1] + " " + c.args[2]);
    Result r = Run(c.args);
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.out, "");
    if (!c.err.empty()) {
      EXPECT_EQ(r.err, c.err);
    }
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
  }
  // A store folder that holds something else than a store: the file is named.
  std::filesystem::create_directories(dir / "badstore");
  zevtest::WriteBytes(dir / "badstore/user.db", "SQLite format 3 but not really, just text that goes on and on....");
  Result r = Run({"reg", "--store", dir / "badstore", "get", "K"});
  EXPECT_EQ(r.status, 2);
  EXPECT_NE(r.err.find("corrupt"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("badstore/user.db"), std::string::npos) << r.err;
}

TEST_F(HostCommands, IniGetSetListDelete) {
  zevtest::WriteBytes(dir / "p.ini", "; kept\r\n[EXPORT]\r\nTXT_EXT = txt\r\n");
  const Step steps[] = {
      {{"ini", "get", "p.ini", "export", "txt_ext"}, 0, "txt\n"},
      {{"ini", "set", "p.ini", "EXPORT", "TXT_EXT", "log"}, 0, ""},
      {{"ini", "set", "p.ini", "INSTRUMENT", "Deadtime", "1.5"}, 0, ""},
      {{"ini", "list", "p.ini"}, 0, "[EXPORT]\n[INSTRUMENT]\n"},
      {{"ini", "list", "p.ini", "EXPORT"}, 0, "TXT_EXT=log\n"},
      {{"ini", "get", "p.ini", "EXPORT", "missing"}, 2, ""},
      {{"ini", "get", "absent.ini", "a", "b"}, 2, ""},
      {{"ini", "delete", "p.ini", "INSTRUMENT"}, 0, ""},
      {{"ini", "set", "no/such/dir/x.ini", "a", "b", "c"}, 2, ""},
  };
  for (const Step& s : steps) {
    SCOPED_TRACE(zevrun::Joined(s.args));
    Result r = Run(s.args);
    EXPECT_EQ(r.status, s.status) << r.err;
    EXPECT_EQ(r.out, s.out);
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), s.status ? 1 : 0) << r.err;
  }
  EXPECT_EQ(zevtest::ReadBytes(dir / "p.ini"), "; kept\r\n[EXPORT]\r\nTXT_EXT=log\r\n");
  Result j = Run({"ini", "get", "--json", "p.ini", "EXPORT", "TXT_EXT"});
  ASSERT_EQ(j.status, 0);
  EXPECT_EQ(nlohmann::json::parse(j.out)["value"], "log");
}

TEST_F(HostCommands, PsExitStatusTellsWhetherTheProcessRuns) {
  struct Case {
    std::string name;
    int status;
    std::string out;
  } cases[] = {
      {"zev_tools_tests", 0, "zev_tools_tests is running\n"},
      {"zev_tools_tests.exe", 0, "zev_tools_tests.exe is running\n"},
      {"surely-not-running-anywhere", 1, "surely-not-running-anywhere is not running\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Result r = Run({"ps", c.name});
    EXPECT_EQ(r.status, c.status);
    EXPECT_EQ(r.out, c.out);
    EXPECT_EQ(r.err, "");
  }
  Result j = Run({"ps", "--json", "zev_tools_tests"});
  EXPECT_EQ(nlohmann::json::parse(j.out)["running"], true);
  EXPECT_EQ(Run({"ps"}).status, 2);
}

}  // namespace
