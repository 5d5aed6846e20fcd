// lzss: compress and expand files with the library's LZSS block compressor.
// grep: print the lines of files that the library's regular expression engine matches.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "Commands.h"
#include "zevutil/CRegExp.h"
#include "zevutil/VqDataCompressor.h"

namespace zevcli {

namespace {

using FreeString = std::unique_ptr<char, decltype(&std::free)>;

void WriteOutput(const std::string& path, const std::string& bytes) {
  if (path == "-") {
    std::fwrite(bytes.data(), 1, bytes.size(), stdout);
    std::fflush(stdout);
    if (std::ferror(stdout)) throw CommandError("cannot write to standard output");
    return;
  }
  WriteFileAtomically(path, bytes);
}

void RunLzss(const std::string& mode, const std::string& in, const std::string& out) {
  const std::string data = ReadWholeFile(in);
  if (data.size() > 0xFFFFFFF0u) throw CommandError("'" + in + "' is too large for one block (4 GiB)");
  zev::CLZSS_Compressor lz;
  void* block = nullptr;
  zev::ULONG size = 0;
  if (mode == "compress")
    lz.CompressBlock(block, size, data.data(), zev::ULONG(data.size()));
  else
    lz.DecompressBlock(block, size, data.data(), zev::ULONG(data.size()));
  std::unique_ptr<void, decltype(&std::free)> owner(block, &std::free);
  WriteOutput(out, std::string(static_cast<const char*>(block), size));
  if (out != "-")
    std::printf("%s: %zu bytes -> %s: %lu bytes\n", in.c_str(), data.size(), out.c_str(),
                static_cast<unsigned long>(size));
}

struct GrepOptions {
  std::string pattern;
  std::vector<std::string> files;
  bool ignoreCase = false;
  bool onlyMatch = false;
  bool last = false;
  std::string replacement;
  bool replace = false;
};

// Finds the match of one line; false when there is none. 'at' and 'len' give the match
// in the line; 'replaced' the template's expansion when one is asked for.
bool MatchLine(zev::CRegExp& re, const GrepOptions& o, const std::string& line, int& at, int& len,
               std::string& replaced) {
  const int upper = o.ignoreCase ? 1 : 0;
  const int lastIndex = int(line.size()) - 1;
  if (o.last)
    at = re.ReverseRegFind(line.c_str(), 0, lastIndex, upper);
  else if (o.ignoreCase)
    at = re.RegFind(line.c_str(), 0, lastIndex, upper);
  else
    at = re.RegFind(line.c_str());
  if (at < 0) return false;
  const char *start = nullptr, *stop = nullptr;
  re.GetFindStartStop(start, stop);
  len = start && stop ? int(stop - start) : 0;
  if (o.replace) {
    // The template reads the text of the last forward search; after a reverse search,
    // search the match itself again so that its groups are there to read.
    if (o.last) re.RegFind(line.c_str(), at, len > 0 ? at + len - 1 : lastIndex, upper);
    FreeString text(re.GetReplaceString(o.replacement.c_str()), &std::free);
    replaced = text ? text.get() : "";
  }
  return true;
}

void GrepStream(zev::CRegExp& re, const GrepOptions& o, std::istream& in, const std::string& prefix,
                bool& any) {
  std::string line;
  while (std::getline(in, line)) {
    int at = -1, len = 0;
    std::string replaced;
    if (!MatchLine(re, o, line, at, len, replaced)) continue;
    any = true;
    std::string shown;
    if (o.onlyMatch)
      shown = o.replace ? replaced : line.substr(size_t(at), size_t(len));
    else if (o.replace)
      shown = line.substr(0, size_t(at)) + replaced + line.substr(std::min(line.size(), size_t(at) + size_t(len)));
    else
      shown = line;
    std::fwrite(prefix.data(), 1, prefix.size(), stdout);
    std::fwrite(shown.data(), 1, shown.size(), stdout);
    std::fputc('\n', stdout);
  }
  if (in.bad()) throw CommandError("read error");
}

void RunGrep(const GrepOptions& o) {
  zev::CRegExp re;
  char error[128] = "";
  if (!re.RegComp(o.pattern.c_str(), o.ignoreCase ? 1 : 0, error))
    throw CommandError("bad pattern '" + o.pattern + "': " + (error[0] ? error : "empty pattern"));
  bool any = false;
  const bool named = o.files.size() > 1;
  if (o.files.empty()) {
    GrepStream(re, o, std::cin, "", any);
  } else {
    for (const auto& name : o.files) {
      std::string data = ReadWholeFile(name);
      std::istringstream in(std::move(data));
      GrepStream(re, o, in, named ? name + ":" : "", any);
    }
  }
  std::fflush(stdout);
  ExitStatus() = any ? 0 : 1;
}

}  // namespace

void AddCodecCommands(CLI::App& app) {
  auto* lzss = app.add_subcommand("lzss", "Compress or expand a file as one LZSS block (N 4096, F 18)");
  lzss->require_subcommand(1);
  for (const char* mode : {"compress", "expand"}) {
    auto* sub = lzss->add_subcommand(mode, std::string(mode) + " IN into OUT ('-' for standard input or output)");
    auto in = std::make_shared<std::string>();
    auto out = std::make_shared<std::string>();
    sub->add_option("IN", *in, "input file")->required();
    sub->add_option("OUT", *out, "output file, written through a temporary name")->required();
    sub->callback([mode = std::string(mode), in, out] { RunLzss(mode, *in, *out); });
  }

  auto o = std::make_shared<GrepOptions>();
  auto* grep = app.add_subcommand(
      "grep",
      "Print the lines that match PATTERN (standard input without FILE). Exit status 0 when a line "
      "matched, 1 when none did, 2 on error");
  grep->add_option("PATTERN", o->pattern, "the regular expression")->required();
  grep->add_option("FILE", o->files, "files to search");
  grep->add_flag("-i,--ignore-case", o->ignoreCase,
                 "compile the pattern and search each line upper-cased (code page 1252); "
                 "replacement groups then come out upper-cased");
  grep->add_flag("-o,--only-matching", o->onlyMatch, "print only the matched text (or its replacement)");
  grep->add_flag("-r,--last", o->last, "use the last match in each line, found by bisection from the end");
  grep->add_option("--replace", o->replacement,
                   "print the line with the match replaced by TEMPLATE: & is the match, \\1..\\9 a group, "
                   "\\\\ a backslash, \\& an ampersand (with -r, the groups are those of a search of the "
                   "last match alone)")
      ->type_name("TEMPLATE");
  grep->callback([o, grep] {
    o->replace = grep->count("--replace") > 0;
    RunGrep(*o);
  });
}

}  // namespace zevcli
