// Text-like test data for the codec benchmarks: lines of words drawn with a skewed
// frequency from a small vocabulary, with numbers and punctuation, as run logs and
// reports have. Deterministic for a given seed.
#pragma once
#include <cstddef>
#include <random>
#include <string>
#include <vector>

namespace bench_text {

inline std::string Make(std::size_t bytes, unsigned seed) {
  static const char* const kWords[] = {
      "the", "of", "and", "a", "to", "in", "is", "was", "for", "on", "with", "as", "by", "at", "from",
      "base", "called", "trace", "peak", "signal", "quality", "capillary", "run", "sample", "dye",
      "mobility", "spectral", "calibration", "matrix", "noise", "baseline", "height", "width", "spacing",
      "analysis", "sequence", "fragment", "size", "standard", "ladder", "allele", "marker", "panel",
      "instrument", "voltage", "current", "temperature", "injection", "polymer", "array", "channel",
      "scan", "data", "raw", "processed", "mixed", "edited", "trimmed", "clear", "range", "low", "high",
      "start", "stop", "read", "length", "score", "value", "result", "project", "plate", "well"};
  constexpr int kCount = int(sizeof kWords / sizeof kWords[0]);
  std::mt19937 rng(seed);
  std::geometric_distribution<int> rank(0.08);
  std::string out;
  out.reserve(bytes + 64);
  std::size_t lineStart = 0;
  while (out.size() < bytes) {
    const unsigned roll = rng() % 100;
    if (roll < 6) {
      out += std::to_string(rng() % 5000);
      if (roll < 2) {
        out += '.';
        out += std::to_string(rng() % 100);
      }
    } else {
      std::string w = kWords[rank(rng) % kCount];
      if (roll == 99) w[0] = char(w[0] - 'a' + 'A');
      out += w;
    }
    const unsigned punct = rng() % 20;
    if (punct == 0) out += ",";
    if (punct == 1) out += ".";
    if (out.size() - lineStart > 60 + rng() % 20) {
      out += '\n';
      lineStart = out.size();
    } else {
      out += ' ';
    }
  }
  out.resize(bytes);
  return out;
}

// The same text cut into lines (without their line feeds).
inline std::vector<std::string> MakeLines(std::size_t bytes, unsigned seed) {
  const std::string text = Make(bytes, seed);
  std::vector<std::string> out;
  std::size_t at = 0;
  while (at < text.size()) {
    std::size_t nl = text.find('\n', at);
    if (nl == std::string::npos) nl = text.size();
    out.push_back(text.substr(at, nl - at));
    at = nl + 1;
  }
  return out;
}

}  // namespace bench_text
