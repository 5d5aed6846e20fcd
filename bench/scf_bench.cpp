// SCF files: CScf::Read against io_lib's read_reading() and against a plain read of
// the same public sample files (open, read into memory, close), in the same run,
// printed as files per second and the ratios ours / floor (the goal is 0.5 or more)
// and ours / io_lib (the goal is 1.5 or more), each the best of the repetitions (run
// in random order, so that a busy spell of the machine does not fall on one reader);
// and CScf::Write of a 3.00 file from memory, printed as MB/s of file output (the goal
// is 500 or more), written to /dev/shm when it exists.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include "bench/BenchSupport.h"
#include "bench/FileReadBench.h"
#include "zevutil/CScf.h"

namespace {

// The good SCF sample files of the manifest (the deliberately broken ones left out), by
// their canonical names (see benchsupport::SampleDir).
const std::vector<std::string>& Files() {
  static const std::vector<std::string> files = [] {
    std::vector<std::string> out;
    const std::string dir = benchsupport::SampleDir() + "/";
    std::ifstream in(dir + "MANIFEST.tsv");
    std::string line;
    std::getline(in, line);
    while (std::getline(in, line)) {
      std::vector<std::string> cols;
      std::stringstream ls(line);
      std::string col;
      while (std::getline(ls, col, '\t')) cols.push_back(col);
      if (cols.size() < 10 || cols[5].rfind("SCF", 0) != 0 || cols[9].find("BROKEN") != std::string::npos) continue;
      std::string path = dir + cols[0];
      zev::CScf scf;
      if (benchsupport::IoLibReads(path, TT_SCF) && scf.Read(path.c_str())) out.push_back(path);
    }
    return out;
  }();
  return files;
}

void BM_CScfRead(benchmark::State& state) {
  benchsupport::ReadEachFile<zev::CScf>(state, Files(), "CScf::Read failed",
                                        [](zev::CScf& scf) { return scf.GetSampleSize(); });
}

void BM_IoLibRead(benchmark::State& state) { benchsupport::ReadEachFileWithIoLib(state, Files(), TT_SCF); }

void BM_PlainRead(benchmark::State& state) { benchsupport::ReadEachFilePlain(state, Files()); }

// A large 3.00 file: the biggest sample file's content, with raw data beside it.
void FillForWriting(zev::CScf& scf) {
  const auto& files = Files();
  std::string biggest;
  std::uintmax_t size = 0;
  for (const auto& f : files)
    if (std::filesystem::file_size(f) > size) size = std::filesystem::file_size(f), biggest = f;
  zev::CScf src;
  src.Read(biggest.c_str());
  scf.SetVersion300();
  for (zev::POSITION p = src.GetFirstCommentPosition(); p;) scf.AddComment(src.GetNextComment(p));
  unsigned n = src.GetSampleSize();
  scf.InitSampleSizeAndArray(n, 1, 1);
  scf.InitRawDataSizeAndArray(n, 4, 2);
  for (unsigned i = 0; i < n; ++i) {
    unsigned short v[4] = {0, 0, 0, 0};
    src.GetSample(int(i), v[0], v[1], v[2], v[3]);
    scf.SetSample(int(i), v[0], v[1], v[2], v[3]);
    scf.SetRawData(int(i), v[3], v[2], v[1], v[0]);
  }
  scf.InitBaseSizeAndArray(src.GetBaseSize());
  for (unsigned i = 0; i < src.GetBaseSize(); ++i) {
    unsigned int peak;
    unsigned char a, c, g, t;
    char base;
    src.GetBase(int(i), peak, a, c, g, t, base);
    scf.SetBase(int(i), peak, a, c, g, t, base);
  }
}

std::string OutputPath() {
  std::error_code ec;
  std::filesystem::path dir = std::filesystem::is_directory("/dev/shm", ec) ? "/dev/shm" : std::filesystem::temp_directory_path();
  return (dir / ("zev_scf_bench_" + std::to_string(::getpid()) + ".scf")).string();
}

void BM_CScfWrite300(benchmark::State& state) {
  zev::CScf scf;
  FillForWriting(scf);
  const std::string path = OutputPath();
  std::int64_t bytes = 0;
  for (auto _ : state) {
    if (!scf.Write(path.c_str())) {
      state.SkipWithError("CScf::Write failed");
      break;
    }
    bytes = std::int64_t(std::filesystem::file_size(path));
  }
  std::filesystem::remove(path);
  state.SetBytesProcessed(std::int64_t(state.iterations()) * bytes);
  state.counters["file_bytes"] = double(bytes);
}

void BM_CScfWrite300ToMemory(benchmark::State& state) {
  zev::CScf scf;
  FillForWriting(scf);
  std::vector<zev::BYTE> out;
  for (auto _ : state) {
    scf.WriteToMemory(out);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(out.size()));
}

BENCHMARK(BM_CScfRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IoLibRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlainRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CScfWrite300)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_CScfWrite300ToMemory)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
  if (!benchsupport::Initialize(argc, argv, {"--benchmark_repetitions=6", "--benchmark_enable_random_interleaving=true"})) return 1;
  if (Files().empty()) {
    std::fprintf(stderr, "scf_bench: no SCF sample files that both readers accept\n");
    return 1;
  }
  benchsupport::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  double ours = reporter.Best("BM_CScfRead", "items_per_second");
  double peer = reporter.Best("BM_IoLibRead", "items_per_second");
  double floor = reporter.Best("BM_PlainRead", "items_per_second");
  double write = reporter.Best("BM_CScfWrite300", "bytes_per_second") / 1e6;
  std::printf("\nSCF read, %zu files:\n", Files().size());
  benchsupport::PrintReadRatios("SCF read", ours, floor, peer, 0.5);
  if (peer > 0) std::printf("SCF read: ours/io_lib %.2f (goal >= 1.50)\n", ours / peer);
  std::printf("SCF 3.00 write: %.0f MB/s of file output (goal >= 500)\n", write);
  benchmark::Shutdown();
  return 0;
}
