// CRegExp against PCRE2 (with its JIT) and RE2 on the same 10 MB of report-like lines:
// each engine tells for every line whether the pattern matches it, and the counts of
// matching lines must agree. Patterns: a literal, a literal behind .*, class runs, word
// alternations, groups of classes with alternations, patterns anchored with ^, a required
// character at the end, numbers with a literal dot, and a case-blind search. Prints each
// engine's MB/s and our ratio to the faster peer; the target is 1.0 or more everywhere.
#define PCRE2_CODE_UNIT_WIDTH 8
#include <benchmark/benchmark.h>
#include <pcre2.h>
#include <re2/re2.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "bench/BenchSupport.h"
#include "bench/text_corpus.h"
#include "zevutil/CRegExp.h"

namespace {

constexpr size_t kTextBytes = 10 * 1000 * 1000;

struct Pattern {
  const char* text;
  bool ignoreCase;
  const char* kind;
};

// Written in the common subset: no escapes but a quoted character, no newlines in the
// text, so that all three engines mean the same by each pattern.
const Pattern kPatterns[] = {
    {"capillary", false, "literal"},
    {".*spectral", false, "leading .*"},
    {"[0-9]+", false, "class run"},
    {"[a-z]+ing", false, "class run + literal"},
    {"ladder|allele|marker", false, "word alternation"},
    {"([a-z]+) (of|in|at) ([a-z]+)", false, "class groups + alternation"},
    {"[a-z]+ed (data|scan|trace)", false, "class run + alternation"},
    {"^the", false, "anchored literal"},
    {"^[a-z]+ [0-9]+", false, "anchored classes"},
    {"[a-z][a-z0-9]*:", false, "late required char"},
    {"[0-9]+\\.[0-9]+", false, "number with dot"},
    {"CAPILLARY|matrix", true, "case-blind"},
};
constexpr int kPatternCount = int(sizeof kPatterns / sizeof kPatterns[0]);

const std::vector<std::string>& Lines() {
  static const std::vector<std::string> lines = bench_text::MakeLines(kTextBytes, 11);
  return lines;
}

std::map<std::pair<std::string, int>, long>& Counts() {
  static std::map<std::pair<std::string, int>, long> counts;
  return counts;
}

void Finish(benchmark::State& state, const char* engine, long matched) {
  Counts()[{engine, int(state.range(0))}] = matched;
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kTextBytes));
  state.counters["lines_matched"] = double(matched);
}

void BM_CRegExp(benchmark::State& state) {
  const Pattern& p = kPatterns[state.range(0)];
  zev::CRegExp re;
  if (!re.RegComp(p.text, p.ignoreCase ? 1 : 0)) {
    state.SkipWithError("pattern does not compile");
    return;
  }
  const auto& lines = Lines();
  long matched = 0;
  for (auto _ : state) {
    matched = 0;
    if (p.ignoreCase) {
      // The case-blind search works on an upper-cased copy of the stretch.
      for (const auto& line : lines) matched += re.RegFind(line.c_str(), 0, int(line.size()) - 1, 1) >= 0;
    } else {
      for (const auto& line : lines) matched += re.RegFind(line.c_str()) >= 0;
    }
    benchmark::DoNotOptimize(matched);
  }
  Finish(state, "ours", matched);
}

void BM_Pcre2Jit(benchmark::State& state) {
  const Pattern& p = kPatterns[state.range(0)];
  int error = 0;
  PCRE2_SIZE offset = 0;
  pcre2_code* code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(p.text), PCRE2_ZERO_TERMINATED,
                                   p.ignoreCase ? PCRE2_CASELESS : 0, &error, &offset, nullptr);
  if (!code) {
    state.SkipWithError("PCRE2 refuses the pattern");
    return;
  }
  if (pcre2_jit_compile(code, PCRE2_JIT_COMPLETE) != 0) {
    pcre2_code_free(code);
    state.SkipWithError("PCRE2 JIT not available");
    return;
  }
  pcre2_match_data* md = pcre2_match_data_create_from_pattern(code, nullptr);
  const auto& lines = Lines();
  long matched = 0;
  for (auto _ : state) {
    matched = 0;
    for (const auto& line : lines)
      matched += pcre2_jit_match(code, reinterpret_cast<PCRE2_SPTR>(line.data()), line.size(), 0, 0, md, nullptr) >= 0;
    benchmark::DoNotOptimize(matched);
  }
  pcre2_match_data_free(md);
  pcre2_code_free(code);
  Finish(state, "pcre2", matched);
}

void BM_RE2(benchmark::State& state) {
  const Pattern& p = kPatterns[state.range(0)];
  RE2::Options options;
  options.set_case_sensitive(!p.ignoreCase);
  options.set_log_errors(false);
  const RE2 re(p.text, options);
  if (!re.ok()) {
    state.SkipWithError("RE2 refuses the pattern");
    return;
  }
  const auto& lines = Lines();
  long matched = 0;
  for (auto _ : state) {
    matched = 0;
    for (const auto& line : lines) matched += RE2::PartialMatch(line, re);
    benchmark::DoNotOptimize(matched);
  }
  Finish(state, "re2", matched);
}

void Patterns(benchmark::internal::Benchmark* b) {
  for (int i = 0; i < kPatternCount; ++i) b->Arg(i);
  b->Unit(benchmark::kMillisecond);
}

}  // namespace

BENCHMARK(BM_CRegExp)->Apply(Patterns);
BENCHMARK(BM_Pcre2Jit)->Apply(Patterns);
BENCHMARK(BM_RE2)->Apply(Patterns);

int main(int argc, char** argv) {
  if (!benchsupport::Initialize(argc, argv, {"--benchmark_repetitions=3", "--benchmark_min_time=0.3"})) return 1;
  benchsupport::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("\n%-30s %-28s %9s %9s %9s %8s %s\n", "pattern", "kind", "ours", "pcre2-jit", "re2", "ratio",
              "lines matched");
  int status = 0;
  double worst = 0;
  const char* worstPattern = nullptr;
  for (int i = 0; i < kPatternCount; ++i) {
    const std::string arg = "/" + std::to_string(i);
    const double ours = reporter.Best("BM_CRegExp" + arg);
    const double pcre = reporter.Best("BM_Pcre2Jit" + arg);
    const double re2 = reporter.Best("BM_RE2" + arg);
    if (ours <= 0 || pcre <= 0 || re2 <= 0) continue;  // filtered out of this run
    const long oursCount = Counts()[{"ours", i}];
    const long pcreCount = Counts()[{"pcre2", i}];
    const long re2Count = Counts()[{"re2", i}];
    const double ratio = ours / std::max(pcre, re2);
    const bool agree = oursCount == pcreCount && oursCount == re2Count;
    std::string shown = kPatterns[i].text;
    if (kPatterns[i].ignoreCase) shown += " (-i)";
    std::printf("%-30s %-28s %9.1f %9.1f %9.1f %7.2fx %ld%s%s\n", shown.c_str(), kPatterns[i].kind, ours / 1e6,
                pcre / 1e6, re2 / 1e6, ratio, oursCount, ratio >= 1.0 ? "" : "  BELOW TARGET",
                agree ? "" : "  MATCH COUNTS DIFFER");
    if (!agree) {
      std::printf("    counts: ours %ld, pcre2 %ld, re2 %ld\n", oursCount, pcreCount, re2Count);
      status = 1;  // engines that disagree on the lines they match are an error
    }
    if (!worstPattern || ratio < worst) {
      worst = ratio;
      worstPattern = kPatterns[i].text;
    }
  }
  if (worstPattern) std::printf("worst ratio (ours / faster peer): %.2fx on %s\n", worst, worstPattern);
  benchmark::Shutdown();
  return status;
}
