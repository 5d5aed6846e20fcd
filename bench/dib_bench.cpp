// Bitmap and palette speed: ReplaceColor on a 4096 x 4096 image against a naive loop
// over GetPixelAddress measured in the same run (ratio ours / naive), and
// MergeDibPalette over 50 images of 1024 x 1024, in megapixels per second.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <random>
#include <vector>

#include "bench/BenchSupport.h"
#include "zevutil/CDib.h"

namespace {

using zev::CDib;

// An image whose pixels spread over `colours` table entries of distinct colours.
std::unique_ptr<CDib> MakeImage(int side, int colours, unsigned seed) {
  auto dib = std::make_unique<CDib>();
  dib->Create(side, side, 256);
  std::mt19937 rng(seed);
  for (int i = 0; i < 256; ++i) dib->GetColorTable()[i] = zev::QRGB(zev::BYTE(i), zev::BYTE(seed), zev::BYTE(rng()));
  zev::BYTE* bits = dib->GetBits();
  for (std::size_t i = 0; i < dib->GetBitsSize(); ++i) bits[i] = zev::BYTE(rng() % unsigned(colours));
  return dib;
}

CDib& BigImage() {
  static std::unique_ptr<CDib> dib = MakeImage(4096, 64, 7);
  return *dib;
}

zev::COLORREF TableColour(const CDib& dib, int i) { return dib.GetTableColor(i); }

void BM_ReplaceColor(benchmark::State& state) {
  CDib& dib = BigImage();
  const zev::COLORREF a = TableColour(dib, 5), b = TableColour(dib, 6);
  zev::DWORD count = 0;
  zev::CRect rect;
  bool flip = false;
  for (auto _ : state) {
    // Back and forth, so that every pass finds the same work.
    dib.ReplaceColor(flip ? b : a, flip ? a : b, count, rect, 1, 0);
    flip = !flip;
    benchmark::DoNotOptimize(count);
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * 4096 * 4096);
}

// The plain way: every pixel through GetPixelAddress, with the same bookkeeping.
void NaiveReplace(CDib& dib, int from, int to, zev::DWORD& count, zev::CRect& rect) {
  count = 0;
  int lowX = dib.GetWidth(), lowY = dib.GetHeight(), highX = 0, highY = 0;
  for (int y = 0; y < dib.GetHeight(); ++y)
    for (int x = 0; x < dib.GetWidth(); ++x) {
      zev::BYTE* p = dib.GetPixelAddress(x, y);
      if (*p != from) continue;
      *p = zev::BYTE(to);
      ++count;
      lowX = std::min(lowX, x);
      highX = std::max(highX, x);
      lowY = std::min(lowY, y);
      highY = std::max(highY, y);
    }
  rect = zev::CRect(lowX, lowY, highX, highY);
}

void BM_NaiveReplace(benchmark::State& state) {
  CDib& dib = BigImage();
  zev::DWORD count = 0;
  zev::CRect rect;
  bool flip = false;
  for (auto _ : state) {
    NaiveReplace(dib, flip ? 6 : 5, flip ? 5 : 6, count, rect);
    flip = !flip;
    benchmark::DoNotOptimize(count);
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * 4096 * 4096);
}

void BM_MergeDibPalette50(benchmark::State& state) {
  static std::vector<std::unique_ptr<CDib>> images = [] {
    std::vector<std::unique_ptr<CDib>> v;
    for (unsigned i = 0; i < 50; ++i) v.push_back(MakeImage(1024, 48, 100 + i));
    return v;
  }();
  int lost = 0;
  for (auto _ : state) {
    zev::CDibPal pal;
    pal.CreateEmptyIdentityPalette();
    zev::PalMergeResult r;
    for (auto& dib : images) {
      pal.MergeDibPalette(dib.get(), &r);
      lost += r.lost;
    }
    benchmark::DoNotOptimize(lost);
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * 50 * 1024 * 1024);
}

BENCHMARK(BM_ReplaceColor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_NaiveReplace)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MergeDibPalette50)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  if (!benchsupport::Initialize(argc, argv, {"--benchmark_repetitions=3"})) return 1;
  benchsupport::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  const double ours = reporter.Best("BM_ReplaceColor", "items_per_second") / 1e6;
  const double naive = reporter.Best("BM_NaiveReplace", "items_per_second") / 1e6;
  const double merge = reporter.Best("BM_MergeDibPalette50", "items_per_second") / 1e6;
  if (ours > 0 && naive > 0)
    std::printf("\nReplaceColor 4096x4096: ours %.0f Mpixel/s, naive loop %.0f Mpixel/s, ratio (ours/naive) %.2f%s\n",
                ours, naive, ours / naive, ours >= 500 ? "" : "  (below 500 Mpixel/s)");
  if (merge > 0) std::printf("MergeDibPalette 50 x 1024x1024: %.0f Mpixel/s\n", merge);
  benchmark::Shutdown();
  return 0;
}
