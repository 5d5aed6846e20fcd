// The id and version commands, run as a user runs them: printed fields, JSON,
// errors and exit status.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

struct Result {
  int status;
  std::string out;
  std::string err;
};

fs::path Scratch() {
  const char* env = std::getenv("ZEV_TEST_TMP");
  fs::path dir = fs::path(env && *env ? env : fs::temp_directory_path().string()) / "identity_commands";
  fs::create_directories(dir);
  return dir;
}

std::string Quote(const std::string& s) {
  std::string q = "'";
  for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return q + "'";
}

Result RunZev(const std::vector<std::string>& args) {
  std::string cmd = Quote(ZEV_BINARY_DIR "/tools/zevutil/zevutil");
  for (const auto& a : args) cmd += " " + Quote(a);
  fs::path errFile = Scratch() / "stderr.txt";
  cmd += " 2>" + Quote(errFile.string());
  Result r{-1, "", ""};
  FILE* p = popen(cmd.c_str(), "r");
  if (!p) return r;
  char buf[4096];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, p)) > 0) r.out.append(buf, n);
  int raw = pclose(p);
  r.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  std::ifstream e(errFile, std::ios::binary);
  r.err.assign(std::istreambuf_iterator<char>(e), std::istreambuf_iterator<char>());
  return r;
}

nlohmann::json Json(const Result& r) {
  EXPECT_EQ(r.status, 0) << r.err;
  return nlohmann::json::parse(r.out, nullptr, false);
}

}  // namespace

TEST(IdentityCommands, IdParseShowsTheGrammar) {
  struct Case {
    const char* name;
    int cell, unique;
    bool old;
    const char *r10, *r24;
  };
  const Case cases[] = {
      {"SAMPLE.A1_04031214AB", 6, 9, false, "SAMPLE...", "SAMPLE.A1_04031214AB"},
      {"LONGSAMPLENAME_NUMBER_7.B12_04031214AB", 23, 27, false, "LONGSA...", "LONGS....B12_04031214AB"},
      {"Plate::old", -1, -1, true, "Plate:...", "Plate::old"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    nlohmann::json j = Json(RunZev({"id", "parse", c.name, "--json"}));
    EXPECT_EQ(j["cell"], c.cell);
    EXPECT_EQ(j["unique"], c.unique);
    EXPECT_EQ(j["old"], c.old);
    EXPECT_EQ(j["reduced"]["10"], c.r10);
    EXPECT_EQ(j["reduced"]["24"], c.r24);
  }
  Result text = RunZev({"id", "parse", "SAMPLE.A1_04031214AB"});
  EXPECT_EQ(text.status, 0);
  EXPECT_NE(text.out.find("cell     6\nunique   9\n"), std::string::npos) << text.out;
}

TEST(IdentityCommands, IdTokenShowsClassAndStoredForm) {
  struct Case {
    const char* token;
    const char* cls;
    int type;
    const char* name;
    const char* stored;
  };
  const Case cases[] = {
      {"10000 SAMPLE.A1", "CSampleID", 10000, "SAMPLE.A1",
       "10 27 00 00 09 53 41 4d 50 4c 45 2e 41 31 ff ff ff ff 00 00 00 00 00 00 00 00 00 00 00 00"},
      {"3001 Method", "CMethodID", 3001, "Method", "b9 0b 00 00 06 4d 65 74 68 6f 64 ff ff ff ff 00 00 00 00"},
      {"8123", "CInstrumentID", 8123, "", "bb 1f 00 00 00 40 1f 00 00 00 00 00 00"},
      {"16001 Set", "CObSeqID", 16001, "Set", "81 3e 00 00 03 53 65 74 ff ff ff ff 00 00 00 00"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.token);
    nlohmann::json j = Json(RunZev({"id", "token", c.token, "--json"}));
    EXPECT_EQ(j["class"], c.cls);
    EXPECT_EQ(j["type"], c.type);
    EXPECT_EQ(j["name"], c.name);
    EXPECT_EQ(j["stored"], c.stored);
  }
  for (const char* bad : {"0 Zero", "Sample"}) {
    SCOPED_TRACE(bad);
    Result r = RunZev({"id", "token", bad});
    EXPECT_EQ(r.status, 2);
    EXPECT_TRUE(r.out.empty());
    EXPECT_NE(r.err.find("not a token"), std::string::npos) << r.err;
  }
}

TEST(IdentityCommands, VersionOfOurOwnFiles) {
  for (const std::string file : {ZEV_BINARY_DIR "/libzevutil.so", ZEV_BINARY_DIR "/tools/zevutil/zevutil"}) {
    SCOPED_TRACE(file);
    nlohmann::json j = Json(RunZev({"version", file, "--json"}));
    EXPECT_EQ(j["product"], "ZevUtil");
    EXPECT_EQ(j["complete"], true);
    EXPECT_EQ(j["name"].get<std::string>().rfind("ZevUtil Version ", 0), 0u);
    Result version = RunZev({"--version"});
    // "zevutil 0.1.0" against "0.1"
    EXPECT_NE(version.out.find(j["version"].get<std::string>()), std::string::npos);
  }
  fs::path text = Scratch() / "plain.txt";
  std::ofstream(text) << "no version here\n";
  for (const std::string& file : {text.string(), (Scratch() / "missing.dll").string()}) {
    SCOPED_TRACE(file);
    Result r = RunZev({"version", file});
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.err, "zevutil: no version resource in '" + file + "'\n");
  }
}
