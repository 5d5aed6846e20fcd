// Runs the zevutil program as a user runs it, from a shell, and captures what it
// printed and its exit status; plus the scratch folders and whole-file reads and
// writes that the command tests share.
#pragma once
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace zevrun {

struct Result {
  int status;  // the exit status, or -1 when the program did not exit normally
  std::string out;
  std::string err;
};

struct RunOptions {
  std::string stdinFile;  // standard input comes from this file when set
  std::string workDir;    // the program runs in this folder when set
  std::vector<std::pair<std::string, std::string>> env;  // set for the program alone
};

// Runs zevutil with the arguments, each quoted for the shell.
Result RunZev(const std::vector<std::string>& args, const RunOptions& options);

// The same with standard input from the file when one is named.
Result RunZev(const std::vector<std::string>& args, const std::string& stdinFile = "");

// <test scratch folder>/name, created when missing.
std::filesystem::path Scratch(const std::string& name);

// The same folder, emptied first.
std::filesystem::path FreshScratch(const std::string& name);

// The whole file; empty when it cannot be read.
std::string ReadFile(const std::filesystem::path& path);

// Replaces the file with the bytes; returns its path.
std::string WriteFile(const std::filesystem::path& path, const std::string& bytes);

// The arguments joined by blanks, to name a step in a trace.
std::string Joined(const std::vector<std::string>& args);

}  // namespace zevrun
