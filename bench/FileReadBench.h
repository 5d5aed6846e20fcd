// Shared by the benchmarks that read sample files with our readers and with io_lib's
// read_reading() in the same run: each iteration reads every file once.
#pragma once
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

extern "C" {
#include <io_lib/Read.h>
}

namespace benchsupport {

// True when read_reading() reads the file as the given io_lib format (TT_ABI, TT_SCF, ...).
inline bool IoLibReads(const std::string& path, int format) {
  Read* r = read_reading(const_cast<char*>(path.c_str()), format);
  if (!r) return false;
  read_deallocate(r);
  return true;
}

// Reads each file into a fresh Reader; keep(reader) gives a value of what was read, so
// that the read cannot be optimized away.
template <class Reader, class Keep>
void ReadEachFile(benchmark::State& state, const std::vector<std::string>& files, const char* failure, Keep keep) {
  for (auto _ : state) {
    for (const std::string& f : files) {
      Reader reader;
      if (!reader.Read(f.c_str())) state.SkipWithError(failure);
      benchmark::DoNotOptimize(keep(reader));
    }
  }
  state.SetItemsProcessed(std::int64_t(state.iterations()) * std::int64_t(files.size()));
}

// Reads each file with read_reading() as the given io_lib format.
inline void ReadEachFileWithIoLib(benchmark::State& state, const std::vector<std::string>& files, int format) {
  for (auto _ : state) {
    for (const std::string& f : files) {
      Read* r = read_reading(const_cast<char*>(f.c_str()), format);
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

}  // namespace benchsupport
