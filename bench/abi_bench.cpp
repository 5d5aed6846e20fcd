// Reading ABIF files: CAbi::Read against io_lib's read_reading() and against a plain
// read of the same public sample files (open, read into memory, close), in the same
// run. Prints files per second of each and the ratios: ours / floor (the goal is 0.5
// or more) and ours / io_lib (the goal is 2.0 or more). Each ratio takes the best of
// the repetitions, which run in random order so that a busy spell of the machine does
// not fall on one reader.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/BenchSupport.h"
#include "bench/FileReadBench.h"
#include "zevutil/CAbi.h"

namespace {

// The sample ABIF files that both readers accept, by their canonical names (see
// benchsupport::SampleDir).
const std::vector<std::string>& Files() {
  static const std::vector<std::string> files = [] {
    std::vector<std::string> all, both;
    for (const auto& e : std::filesystem::directory_iterator(benchsupport::SampleDir())) {
      std::string ext = e.path().extension().string();
      if (ext == ".ab1" || ext == ".abi" || ext == ".fsa") all.push_back(e.path().string());
    }
    std::sort(all.begin(), all.end());
    for (const std::string& f : all) {
      zev::CAbi abi;
      if (benchsupport::IoLibReads(f, TT_ABI) && abi.Read(f.c_str()) && abi.GetSampleCount() > 0) both.push_back(f);
    }
    return both;
  }();
  return files;
}

void BM_CAbiRead(benchmark::State& state) {
  benchsupport::ReadEachFile<zev::CAbi>(state, Files(), "CAbi::Read failed",
                                        [](zev::CAbi& abi) { return abi.GetSampleCount(); });
}

void BM_IoLibRead(benchmark::State& state) { benchsupport::ReadEachFileWithIoLib(state, Files(), TT_ABI); }

void BM_PlainRead(benchmark::State& state) { benchsupport::ReadEachFilePlain(state, Files()); }

}  // namespace

BENCHMARK(BM_CAbiRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IoLibRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlainRead)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
  if (!benchsupport::Initialize(argc, argv, {"--benchmark_repetitions=6", "--benchmark_enable_random_interleaving=true"})) return 1;
  std::printf("ABIF files read by both: %zu\n", Files().size());
  if (Files().empty()) return 1;
  benchsupport::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  double ours = reporter.Best("BM_CAbiRead", "items_per_second");
  double peer = reporter.Best("BM_IoLibRead", "items_per_second");
  double floor = reporter.Best("BM_PlainRead", "items_per_second");
  int status = 0;
  if (!benchsupport::PrintReadRatios("ABIF read", ours, floor, peer, 0.5)) status = 1;
  if (peer > 0 && ours / peer < 2.0) {
    std::printf("ABIF read: ours/io_lib below its goal of 2.0\n");
    status = 1;
  }
  benchmark::Shutdown();
  return status;
}
