// Reading ABIF files: CAbi::Read against io_lib's read_reading() on the same public
// sample files, in the same run. Prints files per second of each and the ratio
// (ours / io_lib); the goal is 2.0 or more.
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

}  // namespace

BENCHMARK(BM_CAbiRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IoLibRead)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
  if (!benchsupport::Initialize(argc, argv)) return 1;
  std::printf("ABIF files read by both: %zu\n", Files().size());
  if (Files().empty()) return 1;
  benchsupport::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  double ours = reporter.Last("BM_CAbiRead", "items_per_second");
  double peer = reporter.Last("BM_IoLibRead", "items_per_second");
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
