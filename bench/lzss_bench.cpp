// CLZSS_Compressor against a straightforward port of the classic tree coder, on the same
// text-like and random buffers of 1 MiB and 16 MiB; the streams are identical, so only
// the implementations differ, and each run checks that they are byte for byte. Prints
// MB/s and the ratio (ours / classic) per case; targets: 1.5 for compression (2.0 for
// text), 1.5 for expansion (expanding 16 MiB of random data writes into a fresh block of
// two and a half times the packed size, and the first touch of its pages bounds it).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bench/BenchSupport.h"
#include "bench/classic_lzss.h"
#include "bench/text_corpus.h"
#include "zevutil/VqDataCompressor.h"

namespace {

using Bytes = std::vector<unsigned char>;

enum Kind { kText = 0, kRandom = 1 };
constexpr int64_t kSizes[] = {1 << 20, 16 << 20};
const char* const kKindNames[] = {"text", "random"};

const Bytes& Plain(int kind, size_t bytes) {
  static std::map<std::pair<int, size_t>, Bytes> cache;
  Bytes& b = cache[{kind, bytes}];
  if (b.empty()) {
    if (kind == kText) {
      std::string t = bench_text::Make(bytes, 7);
      b.assign(t.begin(), t.end());
    } else {
      b.resize(bytes);
      std::mt19937_64 gen(bytes);
      for (auto& c : b) c = static_cast<unsigned char>(gen());
    }
  }
  return b;
}

const Bytes& Packed(int kind, size_t bytes) {
  static std::map<std::pair<int, size_t>, Bytes> cache;
  Bytes& b = cache[{kind, bytes}];
  if (b.empty()) {
    classic_lzss::Coder classic;
    const Bytes& in = Plain(kind, bytes);
    b = classic.Encode(in.data(), in.size());
  }
  return b;
}

void BM_Compress(benchmark::State& state) {
  const Bytes& in = Plain(int(state.range(0)), size_t(state.range(1)));
  zev::CLZSS_Compressor lz;
  for (auto _ : state) {
    void* out = nullptr;
    zev::ULONG size = 0;
    lz.CompressBlock(out, size, in.data(), zev::ULONG(in.size()));
    benchmark::DoNotOptimize(out);
    std::free(out);
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(in.size()));
}

void BM_ClassicCompress(benchmark::State& state) {
  const Bytes& in = Plain(int(state.range(0)), size_t(state.range(1)));
  auto classic = std::make_unique<classic_lzss::Coder>();
  for (auto _ : state) {
    Bytes out = classic->Encode(in.data(), in.size());
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(in.size()));
}

// Expansion is measured in bytes produced, the same for both.
void BM_Expand(benchmark::State& state) {
  const Bytes& in = Packed(int(state.range(0)), size_t(state.range(1)));
  zev::CLZSS_Compressor lz;
  for (auto _ : state) {
    void* out = nullptr;
    zev::ULONG size = 0;
    lz.DecompressBlock(out, size, in.data(), zev::ULONG(in.size()));
    benchmark::DoNotOptimize(out);
    std::free(out);
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * state.range(1));
}

void BM_ClassicExpand(benchmark::State& state) {
  const Bytes& in = Packed(int(state.range(0)), size_t(state.range(1)));
  auto classic = std::make_unique<classic_lzss::Coder>();
  for (auto _ : state) {
    Bytes out = classic->Decode(in.data(), in.size());
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * state.range(1));
}

void Args(benchmark::internal::Benchmark* b) {
  for (int kind : {kText, kRandom})
    for (int64_t size : kSizes) b->Args({kind, size});
  b->Unit(benchmark::kMillisecond);
}

}  // namespace

BENCHMARK(BM_Compress)->Apply(Args);
BENCHMARK(BM_ClassicCompress)->Apply(Args);
BENCHMARK(BM_Expand)->Apply(Args);
BENCHMARK(BM_ClassicExpand)->Apply(Args);

int main(int argc, char** argv) {
  // Repetitions of ours and of the classic coder take turns in a random order, so that a
  // spell of load on a shared machine slows both rather than one of them.
  if (!benchsupport::Initialize(argc, argv,
                                {"--benchmark_repetitions=5", "--benchmark_enable_random_interleaving=true"}))
    return 1;
  benchsupport::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("\n");
  struct Pair {
    const char* what;
    const char* ours;
    const char* peer;
    double target;
  } pairs[] = {{"compress", "BM_Compress", "BM_ClassicCompress", 1.5},
               {"expand", "BM_Expand", "BM_ClassicExpand", 1.5}};
  for (const auto& p : pairs)
    for (int kind : {kText, kRandom})
      for (int64_t size : kSizes) {
        const double target = std::string(p.what) == "compress" && kind == kText ? 2.0 : p.target;
        char suffix[64];
        std::snprintf(suffix, sizeof suffix, "/%d/%lld", kind, static_cast<long long>(size));
        const double ours = reporter.Best(std::string(p.ours) + suffix);
        const double peer = reporter.Best(std::string(p.peer) + suffix);
        if (ours <= 0 || peer <= 0) continue;  // filtered out of this run
        const double ratio = ours / peer;
        std::printf("lzss %-8s %-6s %2lld MiB: ours %7.1f MB/s, classic %7.1f MB/s, ratio (ours/classic) %.2f%s\n",
                    p.what, kKindNames[kind], static_cast<long long>(size >> 20), ours / 1e6, peer / 1e6, ratio,
                    ratio >= target ? "" : "  BELOW TARGET");
      }
  // Our stream of every input against the classic coder's.
  for (int kind : {kText, kRandom})
    for (int64_t size : kSizes) {
      const Bytes& in = Plain(kind, size_t(size));
      const Bytes& classic = Packed(kind, size_t(size));
      zev::CLZSS_Compressor lz;
      void* out = nullptr;
      zev::ULONG outSize = 0;
      lz.CompressBlock(out, outSize, in.data(), zev::ULONG(in.size()));
      const bool same = out && outSize == classic.size() && std::memcmp(out, classic.data(), outSize) == 0;
      std::free(out);
      std::printf("lzss stream  %-6s %2lld MiB: %zu bytes, %s\n", kKindNames[kind], static_cast<long long>(size >> 20),
                  classic.size(), same ? "byte-identical to the classic coder's" : "DIFFERS from the classic coder's");
    }
  benchmark::Shutdown();
  // A ratio below its target is flagged above; the exit status stays 0 so that a run of
  // all the benchmarks goes on to the others.
  return 0;
}
