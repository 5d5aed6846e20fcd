// Reading ABIF files: CAbi::Read against io_lib's read_reading() on the same public
// sample files, in the same run. Prints files per second of each and the ratio
// (ours / io_lib); the goal is 2.0 or more.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

extern "C" {
#include <io_lib/Read.h>
}

#include "zevutil/CAbi.h"

namespace {

// The sample ABIF files that both readers accept.
const std::vector<std::string>& Files() {
  static const std::vector<std::string> files = [] {
    std::vector<std::string> all, both;
    for (const auto& e : std::filesystem::directory_iterator(ZEV_SHARED_DIR "/testdata/traces")) {
      std::string ext = e.path().extension().string();
      if (ext == ".ab1" || ext == ".abi" || ext == ".fsa") all.push_back(e.path().string());
    }
    std::sort(all.begin(), all.end());
    for (const std::string& f : all) {
      zev::CAbi abi;
      Read* r = read_reading(const_cast<char*>(f.c_str()), TT_ABI);
      if (r && abi.Read(f.c_str()) && abi.GetSampleCount() > 0) both.push_back(f);
      if (r) read_deallocate(r);
    }
    return both;
  }();
  return files;
}

void BM_CAbiRead(benchmark::State& state) {
  const auto& files = Files();
  for (auto _ : state) {
    for (const std::string& f : files) {
      zev::CAbi abi;
      if (!abi.Read(f.c_str())) state.SkipWithError("CAbi::Read failed");
      benchmark::DoNotOptimize(abi.GetSampleCount());
    }
  }
  state.SetItemsProcessed(std::int64_t(state.iterations()) * std::int64_t(files.size()));
}

void BM_IoLibRead(benchmark::State& state) {
  const auto& files = Files();
  for (auto _ : state) {
    for (const std::string& f : files) {
      Read* r = read_reading(const_cast<char*>(f.c_str()), TT_ABI);
      if (!r) {
        state.SkipWithError("read_reading failed");
        break;
      }
      benchmark::DoNotOptimize(r->NPoints);
      read_deallocate(r);
    }
  }
  state.SetItemsProcessed(std::int64_t(state.iterations()) * std::int64_t(files.size()));
}

// Prints the usual table and remembers each run's rate for the ratio.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const auto& r : runs) {
      if (r.run_type != Run::RT_Iteration || r.error_occurred) continue;
      auto it = r.counters.find("items_per_second");
      if (it != r.counters.end()) m_rates[r.benchmark_name()] = it->second.value;
    }
  }
  double Rate(const std::string& name) const {
    auto it = m_rates.find(name);
    return it == m_rates.end() ? 0.0 : it->second;
  }

 private:
  std::map<std::string, double> m_rates;
};

}  // namespace

BENCHMARK(BM_CAbiRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IoLibRead)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  std::printf("ABIF files read by both: %zu\n", Files().size());
  if (Files().empty()) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  double ours = reporter.Rate("BM_CAbiRead"), peer = reporter.Rate("BM_IoLibRead");
  int status = 0;
  if (ours > 0 && peer > 0) {
    double ratio = ours / peer;
    std::printf("ABIF read: CAbi %.0f files/s, io_lib %.0f files/s, ratio (ours/io_lib) %.2f%s\n", ours, peer, ratio,
                ratio >= 2.0 ? "" : "  BELOW TARGET 2.0");
    if (ratio < 2.0) status = 1;
  }
  benchmark::Shutdown();
  return status;
}
