// CCalcCRC32::CalcBlock against zlib's crc32() on the same 1 MiB and 64 MiB buffers,
// then the throughput ratio (ours / zlib) per size; a ratio of 1.0 or more is the goal.
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "bench/BenchSupport.h"
#include "frame/CCalcCRC32Kernels.h"
#include "zevutil/CCalcCRC32.h"

namespace {

const std::vector<unsigned char>& Buffer(size_t bytes) {
  static std::map<size_t, std::vector<unsigned char>> buffers;
  auto& b = buffers[bytes];
  if (b.empty()) {
    b.resize(bytes);
    std::mt19937_64 gen(bytes);
    for (auto& c : b) c = static_cast<unsigned char>(gen());
  }
  return b;
}

void BM_CalcBlock(benchmark::State& state) {
  const auto& buf = Buffer(size_t(state.range(0)));
  zev::CCalcCRC32 crc;
  for (auto _ : state) {
    crc.Reset().CalcBlock(buf.data(), zev::ULONG(buf.size()));
    benchmark::DoNotOptimize(crc.GetCRC());
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * state.range(0));
}

void BM_Zlib(benchmark::State& state) {
  const auto& buf = Buffer(size_t(state.range(0)));
  for (auto _ : state) {
    uLong c = crc32(0L, buf.data(), uInt(buf.size()));
    benchmark::DoNotOptimize(c);
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * state.range(0));
}

// The portable fallback, for information: what a CPU without PCLMULQDQ gets.
void BM_Slicing16(benchmark::State& state) {
  const auto& buf = Buffer(size_t(state.range(0)));
  for (auto _ : state) {
    zev::ULONG c = zev::crc32_kernels::Slicing16(0xFFFFFFFF, buf.data(), buf.size());
    benchmark::DoNotOptimize(c);
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * state.range(0));
}

constexpr int64_t kSizes[] = {1 << 20, 64 << 20};

}  // namespace

BENCHMARK(BM_CalcBlock)->Arg(kSizes[0])->Arg(kSizes[1]);
BENCHMARK(BM_Zlib)->Arg(kSizes[0])->Arg(kSizes[1]);
BENCHMARK(BM_Slicing16)->Arg(kSizes[0])->Arg(kSizes[1]);

int main(int argc, char** argv) {
  if (!benchsupport::Initialize(argc, argv)) return 1;
  benchsupport::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("\nCalcBlock kernel: %s\n", zev::crc32_kernels::HaveClmul() ? "carry-less multiply" : "slicing-by-16");
  int status = 0;
  for (int64_t size : kSizes) {
    std::string arg = std::to_string(size);
    double ours = reporter.Mean("BM_CalcBlock/" + arg);
    double zlib = reporter.Mean("BM_Zlib/" + arg);
    if (ours <= 0 || zlib <= 0) continue;  // filtered out of this run
    double ratio = ours / zlib;
    std::printf("crc32 %3lld MiB: ours %.2f GiB/s, zlib %.2f GiB/s, ratio (ours/zlib) %.2f%s\n",
                static_cast<long long>(size >> 20), ours / double(1 << 30), zlib / double(1 << 30), ratio,
                ratio >= 1.0 ? "" : "  BELOW TARGET 1.0");
    if (ratio < 1.0) status = 1;
  }
  benchmark::Shutdown();
  return status;
}
