// Helpers shared by the trace-file tests: scratch paths, whole-file I/O, running a
// peer program, and reading io_lib's scf_dump listing back into values.
#pragma once
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace zevtest {

inline std::filesystem::path ScratchDir(const std::string& sub) {
  const char* base = std::getenv("ZEV_TEST_TMP");
  std::filesystem::path dir = base && *base ? std::filesystem::path(base) : std::filesystem::temp_directory_path();
  dir /= sub;
  std::filesystem::create_directories(dir);
  return dir;
}

inline std::vector<unsigned char> LoadBytes(const std::filesystem::path& p) {
  std::ifstream in(p, std::ios::binary);
  return std::vector<unsigned char>((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

inline void SaveBytes(const std::filesystem::path& p, const std::vector<unsigned char>& bytes) {
  std::ofstream out(p, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}

// Runs a shell command; gives its standard output and sets status to its exit code.
inline std::string RunCommand(const std::string& cmd, int* status = nullptr) {
  std::string out;
  FILE* p = ::popen(cmd.c_str(), "r");
  if (!p) {
    if (status) *status = -1;
    return out;
  }
  char buf[65536];
  std::size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
  int rc = ::pclose(p);
  if (status) *status = WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
  return out;
}

inline bool HaveProgram(const char* name) {
  return std::system((std::string("command -v ") + name + " >/dev/null 2>&1").c_str()) == 0;
}

inline std::string Quote(const std::string& s) {
  std::string q = "'";
  for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return q + "'";
}

// What io_lib's scf_dump lists for one file.
struct ScfListing {
  bool ok = false;
  std::vector<unsigned long> header;  // the numeric header lines in order (version skipped)
  std::string version;
  struct Base {
    char letter;
    unsigned peak;
    std::array<unsigned, 4> prob;
  };
  std::vector<Base> bases;
  std::array<std::vector<unsigned>, 4> traces;  // A, C, G, T
  std::vector<std::string> comments;
};

inline ScfListing ScfDump(const std::filesystem::path& file) {
  ScfListing l;
  int status = 0;
  std::string text = RunCommand("scf_dump " + Quote(file.string()) + " 2>/dev/null", &status);
  if (status != 0 || text.rfind("[Header]", 0) != 0) return l;
  std::istringstream in(text);
  std::string line, section;
  while (std::getline(in, line)) {
    if (line.size() > 2 && line.front() == '[' && line.back() == ']') {
      section = line;
      continue;
    }
    if (section == "[Comments]") {
      l.comments.push_back(line);
      continue;
    }
    if (line.empty()) continue;
    if (section == "[Header]") {
      if (line.find("# version") != std::string::npos)
        l.version = line.substr(0, line.find('\t'));
      else
        l.header.push_back(std::stoul(line));
    } else if (section == "[Bases]") {
      ScfListing::Base b{};
      std::istringstream ls(line);
      ls >> b.letter >> b.peak >> b.prob[0] >> b.prob[1] >> b.prob[2] >> b.prob[3];
      l.bases.push_back(b);
    } else {
      static const char* names[4] = {"[A_Trace]", "[C_Trace]", "[G_Trace]", "[T_Trace]"};
      for (int c = 0; c < 4; ++c)
        if (section == names[c]) l.traces[c].push_back(unsigned(std::stoul(line)));
    }
  }
  // scf_dump ends the comment block with what follows its last newline.
  while (!l.comments.empty() && l.comments.back().empty()) l.comments.pop_back();
  l.ok = true;
  return l;
}

}  // namespace zevtest
