// Shared by the benchmarks that read sample files with our readers, with io_lib's
// read_reading() and with a plain read of the bytes (the floor) in the same run: each
// iteration reads every file once.
#pragma once
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

extern "C" {
#include <io_lib/Read.h>
}

namespace benchsupport {

// The folder of the public sample traces by its canonical name: links on the way to a
// checkout (a work tree beside the shared data) would otherwise add their own lookups
// to every reader's figures, ours and the peer's alike, and make them depend on where
// the checkout lies.
inline std::string SampleDir() {
  std::error_code ec;
  std::filesystem::path dir = std::filesystem::canonical(ZEV_SHARED_DIR "/testdata/traces", ec);
  return ec ? std::string(ZEV_SHARED_DIR "/testdata/traces") : dir.string();
}

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

// The floor: each file opened, its size taken, its bytes read into fresh memory, and
// closed, with nothing looked at. No reader can be faster than this.
inline void ReadEachFilePlain(benchmark::State& state, const std::vector<std::string>& files) {
  for (auto _ : state) {
    for (const std::string& f : files) {
      int fd = ::open(f.c_str(), O_RDONLY | O_CLOEXEC);
      struct stat st {};
      if (fd < 0 || ::fstat(fd, &st) != 0) {
        if (fd >= 0) ::close(fd);
        state.SkipWithError("open failed");
        break;
      }
      std::size_t size = std::size_t(st.st_size), have = 0;
      std::unique_ptr<char[]> bytes(new char[size ? size : 1]);
      while (have < size) {
        ssize_t n = ::read(fd, bytes.get() + have, size - have);
        if (n <= 0) break;
        have += std::size_t(n);
      }
      ::close(fd);
      benchmark::DoNotOptimize(bytes.get());
      benchmark::DoNotOptimize(have);
    }
  }
  state.SetItemsProcessed(std::int64_t(state.iterations()) * std::int64_t(files.size()));
}

// Prints ours against the floor and the peer: "<what>: ours N files/s, floor N files/s,
// io_lib N files/s, ours/floor R (goal >= G), ours/io_lib R". Gives false when a rate
// is missing or ours/floor is below its goal.
inline bool PrintReadRatios(const char* what, double ours, double floor, double peer, double floorGoal) {
  if (ours <= 0 || floor <= 0 || peer <= 0) {
    std::printf("%s: a rate is missing (ours %.0f, floor %.0f, io_lib %.0f)\n", what, ours, floor, peer);
    return false;
  }
  const double toFloor = ours / floor;
  std::printf("%s: ours %.0f files/s, floor %.0f files/s, io_lib %.0f files/s, ours/floor %.2f (goal >= %.2f)%s, "
              "ours/io_lib %.2f\n",
              what, ours, floor, peer, toFloor, floorGoal, toFloor >= floorGoal ? "" : "  BELOW GOAL", ours / peer);
  return toFloor >= floorGoal;
}

}  // namespace benchsupport
