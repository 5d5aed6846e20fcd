// lzss: compress and expand files with the library's LZSS block compressor.
// grep: print the lines of files that the library's regular expression engine matches.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
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
  bool count = false;
  std::string replacement;
  bool replace = false;
};

// Finds the match of one line (terminated at 'size'); false when there is none. 'at' and
// 'len' give the match in the line; 'replaced' the template's expansion when one is asked for.
bool MatchLine(zev::CRegExp& re, const GrepOptions& o, const char* line, std::size_t size, int& at, int& len,
               std::string& replaced) {
  const int upper = o.ignoreCase ? 1 : 0;
  const int lastIndex = int(size) - 1;
  if (o.last)
    at = re.ReverseRegFind(line, 0, lastIndex, upper);
  else if (o.ignoreCase)
    at = re.RegFind(line, 0, lastIndex, upper);
  else
    at = re.RegFind(line);
  if (at < 0) return false;
  if (o.count) return true;
  const char *start = nullptr, *stop = nullptr;
  re.GetFindStartStop(start, stop);
  len = start && stop ? int(stop - start) : 0;
  if (o.replace) {
    // The template reads the text of the last forward search; after a reverse search,
    // search the match itself again so that its groups are there to read.
    if (o.last) re.RegFind(line, at, len > 0 ? at + len - 1 : lastIndex, upper);
    FreeString text(re.GetReplaceString(o.replacement.c_str()), &std::free);
    replaced = text ? text.get() : "";
  }
  return true;
}

// Searches one line and prints it as asked; counts it when it matches.
void GrepLine(zev::CRegExp& re, const GrepOptions& o, const char* line, std::size_t size, const std::string& prefix,
              long& matched) {
  int at = -1, len = 0;
  std::string replaced;
  if (!MatchLine(re, o, line, size, at, len, replaced)) return;
  ++matched;
  if (o.count) return;
  std::fwrite(prefix.data(), 1, prefix.size(), stdout);
  if (o.onlyMatch && o.replace) {
    std::fwrite(replaced.data(), 1, replaced.size(), stdout);
  } else if (o.onlyMatch) {
    const std::size_t from = std::min(size, std::size_t(at));
    std::fwrite(line + from, 1, std::min(size - from, std::size_t(len)), stdout);
  } else if (o.replace) {
    const std::size_t after = std::min(size, std::size_t(at) + std::size_t(len));
    std::fwrite(line, 1, std::min(size, std::size_t(at)), stdout);
    std::fwrite(replaced.data(), 1, replaced.size(), stdout);
    std::fwrite(line + after, 1, size - after, stdout);
  } else {
    std::fwrite(line, 1, size, stdout);
  }
  std::fputc('\n', stdout);
}

void GrepStream(zev::CRegExp& re, const GrepOptions& o, std::istream& in, const std::string& prefix, long& matched) {
  std::string line;
  while (std::getline(in, line)) GrepLine(re, o, line.c_str(), line.size(), prefix, matched);
  if (in.bad()) throw CommandError("read error");
}

// The lines of a buffer that the search may write into: each is terminated in place for
// the search, and the byte put back afterwards, so that no line is copied. Lines before
// the next place that holds what every match must hold are passed over unsearched (they
// cannot match). Returns where the unfinished last line begins (the end when there is
// none); with 'final' that line is searched too.
char* GrepBuffer(zev::CRegExp& re, const GrepOptions& o, char* p, char* end, bool final, const std::string& prefix,
                 long& matched) {
  const int upper = o.ignoreCase ? 1 : 0;
  while (p < end) {
    const char* next = re.FindCandidate(p, end, upper);
    if (next == end) {
      if (final) return end;
      char* last = static_cast<char*>(memrchr(p, '\n', std::size_t(end - p)));
      return last ? last + 1 : p;
    }
    if (next != p)
      if (char* before = static_cast<char*>(memrchr(p, '\n', std::size_t(next - p)))) p = before + 1;
    char* nl = static_cast<char*>(std::memchr(p, '\n', std::size_t(end - p)));
    if (!nl && !final) return p;
    char* stop = nl ? nl : end;
    const char kept = *stop;  // the byte after the data is the buffer's own
    *stop = '\0';
    GrepLine(re, o, p, std::size_t(stop - p), prefix, matched);
    *stop = kept;
    p = nl ? nl + 1 : end;
  }
  return end;
}

// Reads the file a block at a time, searching the whole lines of each block.
void GrepFile(zev::CRegExp& re, const GrepOptions& o, const std::string& name, const std::string& prefix,
              long& matched) {
  std::unique_ptr<std::FILE, decltype(&std::fclose)> file(std::fopen(name.c_str(), "rb"), &std::fclose);
  if (!file) throw CommandError("cannot read '" + name + "'");
  std::vector<char> buffer(std::size_t(1) << 18);
  std::size_t have = 0;  // bytes of an unfinished line kept at the front
  for (;;) {
    if (buffer.size() - have < 4096) buffer.resize(buffer.size() * 2);  // a very long line
    const std::size_t got = std::fread(buffer.data() + have, 1, buffer.size() - 1 - have, file.get());
    if (got == 0 && std::ferror(file.get())) throw CommandError("cannot read '" + name + "'");
    const bool final = got == 0;
    char* begin = buffer.data();
    char* end = begin + have + got;
    char* rest = GrepBuffer(re, o, begin, end, final, prefix, matched);
    if (final) return;
    have = std::size_t(end - rest);
    std::memmove(begin, rest, have);
  }
}

void RunGrep(const GrepOptions& o) {
  zev::CRegExp re;
  char error[128] = "";
  if (!re.RegComp(o.pattern.c_str(), o.ignoreCase ? 1 : 0, error))
    throw CommandError("bad pattern '" + o.pattern + "': " + (error[0] ? error : "empty pattern"));
  bool any = false;
  const bool named = o.files.size() > 1;
  if (o.files.empty()) {
    long matched = 0;
    GrepStream(re, o, std::cin, "", matched);
    if (o.count) std::printf("%ld\n", matched);
    any = matched > 0;
  } else {
    for (const auto& name : o.files) {
      long matched = 0;
      GrepFile(re, o, name, named ? name + ":" : "", matched);
      if (o.count) std::printf("%s%ld\n", named ? (name + ":").c_str() : "", matched);
      any |= matched > 0;
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
  grep->add_flag("-c,--count", o->count, "print only the number of matching lines (of each file)");
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
