// The base table of a 100,000-base sequence as the tab-delimited text export, written
// through the library (CBaseSequenceOutputObject through CExportHandler into a file),
// against a plain snprintf/fwrite loop writing the same bytes in the same run. Prints
// both rates in MB of output per second and the ratio ours / peer. Target: 50 MB/s or
// more for ours. Before timing, the two files are compared byte for byte.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "bench/BenchSupport.h"
#include "zevutil/CBaseSequenceOutputObject.h"

using namespace zev;

namespace {

constexpr int kBases = 100000;

std::string TempPath(const char* name) {
  return (std::filesystem::temp_directory_path() / name).string();
}

std::string ReadAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Varied values, so that the rows have the widths of a real read: scores up to two
// digits, migration times of a few minutes, data points into the ten thousands, a
// few inserted and edited bases.
const CBaseSequence& Sequence() {
  static const CBaseSequence* seq = [] {
    auto* s = new CBaseSequence;
    for (int i = 0; i < kBases; ++i) {
      auto* b = new CCalledBase;
      b->m_lBaseNumber = i;
      b->m_Code = "ACGT"[(i * 7 + i / 3) & 3];
      for (int c = 0; c < 4; ++c) b->m_fScore[c] = float((i * (c + 3)) % 97) * 0.75f;
      b->m_fCallScore = float(i % 61) + 0.37f;
      b->m_fQualityValue = float((i * 13) % 62);
      b->m_fMigrationTime = i % 500 == 0 ? 0.0f : 600.0f + float(i) * 0.11f;
      b->m_lDataPoint = 1200 + i * 12;
      b->m_lInserted = i % 997 == 0;
      b->m_lEdited = i % 389 == 0;
      s->AddTail(b);
    }
    return s;
  }();
  return *seq;
}

bool ExportOurs(const std::string& path) {
  CBaseSequenceOutputObject obj(const_cast<CBaseSequence&>(Sequence()));
  return obj.ExportObject(EXPORT_TEXT, path.c_str(), CObjectOutputDef()) == 1;
}

// The same rows by hand: the heading, then one snprintf per base, CR LF after each line.
bool ExportPeer(const std::string& path) {
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) return false;
  std::fputs(CBaseSequenceOutputObject::kExportHeading, f);
  std::fputs("\r\n", f);
  char row[512];
  int index = 0;
  const CBaseSequence& seq = Sequence();
  for (POSITION pos = seq.GetHeadPosition(); pos; ++index) {
    const CCalledBase* b = seq.GetNext(pos);
    const float minutes = b->m_fMigrationTime > 0.0f ? float(b->m_fMigrationTime / 60.0) : 0.0f;
    const int n = std::snprintf(row, sizeof row, "%i\t%c\t%.0f\t%.0f\t%.0f\t%.0f\t%.2f\t%.0f\t%.2f\t%i\t%s\t%s\r\n",
                                index + 1, char(b->m_Code), double(b->m_fScore[0]), double(b->m_fScore[1]),
                                double(b->m_fScore[2]), double(b->m_fScore[3]), double(b->m_fCallScore),
                                double(b->m_fQualityValue), double(minutes), int(b->m_lDataPoint),
                                b->m_lInserted ? "Yes" : "No", b->m_lEdited ? "Yes" : "No");
    std::fwrite(row, 1, size_t(n), f);
  }
  return std::fclose(f) == 0;
}

std::int64_t OutputBytes() {
  static const std::int64_t bytes = [] {
    const std::string path = TempPath("zev_base_table_size.txt");
    ExportPeer(path);
    const auto size = std::int64_t(std::filesystem::file_size(path));
    std::filesystem::remove(path);
    return size;
  }();
  return bytes;
}

void BM_BaseTable_Export(benchmark::State& state) {
  const std::string path = TempPath("zev_base_table_ours.txt");
  for (auto _ : state)
    if (!ExportOurs(path)) state.SkipWithError("the export failed");
  state.SetBytesProcessed(state.iterations() * OutputBytes());
  std::filesystem::remove(path);
}

void BM_BaseTable_Snprintf(benchmark::State& state) {
  const std::string path = TempPath("zev_base_table_peer.txt");
  for (auto _ : state)
    if (!ExportPeer(path)) state.SkipWithError("the peer failed");
  state.SetBytesProcessed(state.iterations() * OutputBytes());
  std::filesystem::remove(path);
}

}  // namespace

BENCHMARK(BM_BaseTable_Export)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BaseTable_Snprintf)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
  if (!benchsupport::Initialize(argc, argv, {"--benchmark_repetitions=3"})) return 1;
  {
    const std::string ours = TempPath("zev_base_table_check_ours.txt");
    const std::string peer = TempPath("zev_base_table_check_peer.txt");
    const bool same = ExportOurs(ours) && ExportPeer(peer) && ReadAll(ours) == ReadAll(peer);
    std::filesystem::remove(ours);
    std::filesystem::remove(peer);
    if (!same) {
      std::fprintf(stderr, "the export and the peer wrote different bytes\n");
      return 1;
    }
    std::printf("base table of %d bases: %lld bytes of text, the same from both\n", kBases,
                static_cast<long long>(OutputBytes()));
  }
  benchsupport::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  int status = 0;
  const double ours = reporter.Best("BM_BaseTable_Export"), peer = reporter.Best("BM_BaseTable_Snprintf");
  if (ours > 0) {
    std::printf("text export  %.1f MB/s (target 50 or more)%s\n", ours / 1e6, ours >= 50e6 ? "" : "  BELOW TARGET");
    if (ours < 50e6) status = 1;
  }
  if (peer > 0) std::printf("snprintf     %.1f MB/s\n", peer / 1e6);
  if (ours > 0 && peer > 0) std::printf("ours/peer rate ratio %.2f\n", ours / peer);
  benchmark::Shutdown();
  return status;
}
