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
  fs::path text = Scratch() / "plain.txt";
  std::ofstream(text) << "no version here\n";
  Result r = RunZev({"version", text.string()});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.err, "zevutil: no version resource in '" + text.string() + "'\n");
}
