// Compiles any pattern and runs it over any text: the first byte chooses the options,
// the pattern runs to the first newline, the text is the rest. Every search and result
// call must finish without touching memory it does not own, a failed compile must say
// why, and equivalent searches must agree.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "zevutil/CRegExp.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1 || size > 8192) return 0;
  const unsigned options = data[0];
  std::string rest(reinterpret_cast<const char*>(data) + 1, size - 1);
  const std::size_t nl = rest.find('\n');
  const std::string pattern = rest.substr(0, nl);
  const std::string text = nl == std::string::npos ? std::string() : rest.substr(nl + 1);
  const int upper = options & 1;

  static char error[256];  // outlives every engine below, as the contract asks
  error[0] = '\0';
  zev::CRegExp re;
  if (!re.RegComp(pattern.c_str(), upper, error)) {
    if (pattern.c_str()[0] && error[0] == '\0') std::abort();
    return 0;
  }
  const int at = re.RegFind(text.c_str());
  const std::size_t len = std::strlen(text.c_str());
  if (at < -1 || at > int(len)) std::abort();
  if (at >= 0 && std::size_t(at) + std::size_t(re.GetFindLen()) > len) std::abort();
  for (int g = -1; g <= 10; ++g) std::free(re.GetTaggedString(g));
  std::free(re.GetReplaceString("<&|\\1\\2\\9\\0\\\\\\&\\q>"));

  const int start = int(options >> 1) % 7 - 2;
  const int end = int(len) - int(options >> 4) % 5;
  const int within = re.RegFind(text.c_str(), start, end, upper);
  if (within != -1 && (within < 0 || within > int(len))) std::abort();
  zev::CRegExp copy(re);  // shares the program; both must die cleanly
  copy.RegFind(text.c_str());
  std::free(copy.GetReplaceString("&"));

  // The search's shortcuts must never change a result. The same pattern inside a group,
  // or with an alternative that cannot match, takes other paths to the same match; and
  // without '^' a search from a later start up to the match finds the same match.
  const int first = re.RegFind(text.c_str());
  const int firstLen = re.GetFindLen();
  const bool sentinelFree = text.find('\x01') == std::string::npos;
  for (const std::string& variant : {"(" + pattern + ")", pattern + "|\x01\x02"}) {
    zev::CRegExp other;
    if (!sentinelFree || !other.RegComp(variant.c_str(), upper, error)) continue;
    if (other.RegFind(text.c_str()) != first || other.GetFindLen() != firstLen) std::abort();
  }
  if (pattern.find('^') == std::string::npos && first > 0) {
    const std::size_t skip = std::size_t(options >> 3) % std::size_t(first + 1);
    if (re.RegFind(text.c_str() + skip) != first - int(skip) || re.GetFindLen() != firstLen) std::abort();
  }

  // The text as lines, walked as a line search walks it (from each candidate place back
  // to its line's start): no line that matches may be passed over. The lines are read
  // from an unterminated copy of exactly their size.
  std::unique_ptr<char[]> lines(new char[text.size() ? text.size() : 1]);
  std::memcpy(lines.get(), text.data(), text.size());
  const char* p = lines.get();
  const char* const stop = p + text.size();
  auto lineEnd = [stop](const char* from) {
    const void* nl = std::memchr(from, '\n', std::size_t(stop - from));
    return nl ? static_cast<const char*>(nl) : stop;
  };
  auto matches = [&](const char* from, const char* to) {
    const std::string line(from, to);
    return upper ? re.RegFind(line.c_str(), 0, int(line.size()) - 1, 1) >= 0 : re.RegFind(line.c_str()) >= 0;
  };
  auto after = [stop](const char* e) { return e == stop ? stop : e + 1; };
  while (p < stop) {
    const char* next = re.FindCandidate(p, stop, upper);
    if (next < p || next > stop) std::abort();
    // Every line that ends before the candidate's line is passed over; all of them when
    // there is no candidate.
    for (const char* e; p < stop && ((e = lineEnd(p)) < next || next == stop); p = after(e))
      if (matches(p, e)) std::abort();
    if (p < stop) p = after(lineEnd(p));
  }
  return 0;
}
