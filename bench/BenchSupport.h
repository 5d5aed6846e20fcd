// Shared by the benchmark programs: the command line with default repetitions, and a
// console reporter that keeps each run's rates so that main can print ratios against a
// peer measured in the same run.
#pragma once
#include <benchmark/benchmark.h>

#include <algorithm>
#include <initializer_list>
#include <map>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

namespace benchsupport {

// Parses the benchmark flags, adding each of the given defaults (e.g.
// "--benchmark_repetitions=5") unless the command line names that flag itself. False,
// with the leftover arguments reported, when something on the command line is not
// understood.
inline bool Initialize(int argc, char** argv, std::initializer_list<const char*> defaults = {}) {
  static std::vector<char*> args;  // lives as long as main's own arguments
  args.assign(argv, argv + argc);
  for (const char* flag : defaults) {
    const std::string name = std::string(flag).substr(0, std::string(flag).find('='));
    bool given = false;
    for (int i = 1; i < argc; ++i) given |= std::string(argv[i]).rfind(name, 0) == 0;
    if (!given) args.push_back(const_cast<char*>(flag));
  }
  args.push_back(nullptr);
  int count = int(args.size()) - 1;
  benchmark::Initialize(&count, args.data());
  return !benchmark::ReportUnrecognizedArguments(count, args.data());
}

// Prints the usual table and keeps, for every benchmark, each repetition's value of its
// rate counters ("bytes_per_second", "items_per_second") and of "cpu_time" (adjusted to
// the benchmark's time unit). Each lookup gives 0 for a benchmark that did not run, or
// that ran into an error, so that a filtered run skips its ratio.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const auto& r : runs) {
      if (r.run_type != Run::RT_Iteration || r.error_occurred) continue;
      m_values[{r.benchmark_name(), "cpu_time"}].push_back(r.GetAdjustedCPUTime());
      for (const char* key : {"bytes_per_second", "items_per_second"}) {
        auto it = r.counters.find(key);
        if (it != r.counters.end()) m_values[{r.benchmark_name(), key}].push_back(double(it->second.value));
      }
    }
  }

  // The highest value over the repetitions: on a shared machine the fastest run is the
  // one least disturbed.
  double Best(const std::string& name, const char* key = "bytes_per_second") const {
    const std::vector<double>* v = Values(name, key);
    return v ? *std::max_element(v->begin(), v->end()) : 0.0;
  }

  // The mean over the repetitions.
  double Mean(const std::string& name, const char* key = "bytes_per_second") const {
    const std::vector<double>* v = Values(name, key);
    return v ? std::accumulate(v->begin(), v->end(), 0.0) / double(v->size()) : 0.0;
  }

  // The value of the last repetition.
  double Last(const std::string& name, const char* key = "bytes_per_second") const {
    const std::vector<double>* v = Values(name, key);
    return v ? v->back() : 0.0;
  }

 private:
  const std::vector<double>* Values(const std::string& name, const char* key) const {
    auto it = m_values.find({name, key});
    return it == m_values.end() || it->second.empty() ? nullptr : &it->second;
  }

  std::map<std::pair<std::string, std::string>, std::vector<double>> m_values;
};

}  // namespace benchsupport
