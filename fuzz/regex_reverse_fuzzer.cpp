// ReverseRegFind with any stretch bounds: four bytes each give start and end (any int),
// then the pattern up to the first newline and the text after it. The result must lie in
// the clamped stretch (or one past it, for an empty match at its end), and the results
// read afterwards must stay inside what the engine owns.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "zevutil/CRegExp.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 9 || size > 8192) return 0;
  std::int32_t start, end;
  std::memcpy(&start, data, 4);
  std::memcpy(&end, data + 4, 4);
  const int upper = data[8] & 1;
  std::string rest(reinterpret_cast<const char*>(data) + 9, size - 9);
  const std::size_t nl = rest.find('\n');
  const std::string pattern = rest.substr(0, nl);
  const std::string text = nl == std::string::npos ? std::string("abcabc") : rest.substr(nl + 1);

  static char error[256];
  zev::CRegExp re;
  if (!re.RegComp(pattern.c_str(), upper, error)) return 0;
  const int len = int(std::strlen(text.c_str()));
  const int found = re.ReverseRegFind(text.c_str(), start, end, upper);
  if (found != -1) {
    const int lo = start < 0 ? 0 : start;
    const int hi = end > len - 1 ? len - 1 : end;
    if (found < lo || found > hi + 1) std::abort();
    const char *s = nullptr, *e = nullptr;
    re.GetFindStartStop(s, e);
    if (!s || !e || e < s) std::abort();
  }
  for (int g = 0; g < 10; ++g) std::free(re.GetTaggedString(g));
  std::free(re.GetReplaceString("&\\1\\\\"));
  return 0;
}
