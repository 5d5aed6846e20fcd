// Runs the zevutil program through the shell for the command tests.
#include "RunProgram.h"

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace zevrun {

namespace {

// The test process's own scratch folder (one per process, so tests run side by side
// never share a file).
fs::path ScratchRoot() {
  const char* env = std::getenv("ZEV_TEST_TMP");
  return fs::absolute(env && *env ? fs::path(env) : fs::temp_directory_path());
}

// The text quoted for a POSIX shell: in single quotes, each ' written as '\''.
std::string Quote(const std::string& s) {
  std::string q = "'";
  for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return q + "'";
}

}  // namespace

Result RunZev(const std::vector<std::string>& args, const RunOptions& options) {
  // Standard error goes to a file beside the tests' folders, never inside one, so that
  // a test may check that a command left nothing behind.
  const fs::path errFile = ScratchRoot() / "zevutil-stderr.txt";
  fs::create_directories(errFile.parent_path());
  std::string cmd;
  if (!options.workDir.empty()) cmd += "cd " + Quote(options.workDir) + " && ";
  for (const auto& [name, value] : options.env) cmd += name + "=" + Quote(value) + " ";
  cmd += Quote(ZEV_BINARY_DIR "/tools/zevutil/zevutil");
  for (const auto& a : args) cmd += " " + Quote(a);
  cmd += " 2>" + Quote(errFile.string());
  if (!options.stdinFile.empty()) cmd += " <" + Quote(options.stdinFile);
  Result r{-1, "", ""};
  FILE* p = popen(cmd.c_str(), "r");
  if (!p) return r;
  char buf[65536];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, p)) > 0) r.out.append(buf, n);
  const int raw = pclose(p);
  r.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  r.err = ReadFile(errFile);
  std::error_code ec;
  fs::remove(errFile, ec);
  return r;
}

Result RunZev(const std::vector<std::string>& args, const std::string& stdinFile) {
  RunOptions options;
  options.stdinFile = stdinFile;
  return RunZev(args, options);
}

fs::path Scratch(const std::string& name) {
  const fs::path dir = ScratchRoot() / name;
  fs::create_directories(dir);
  return dir;
}

fs::path FreshScratch(const std::string& name) {
  fs::remove_all(ScratchRoot() / name);
  return Scratch(name);
}

std::string ReadFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string WriteFile(const fs::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
  return path.string();
}

std::string Joined(const std::vector<std::string>& args) {
  std::string text;
  for (const auto& a : args) text += (text.empty() ? "" : " ") + a;
  return text;
}

}  // namespace zevrun
