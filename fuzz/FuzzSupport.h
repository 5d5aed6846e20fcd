// Shared by the fuzzers: a failed check that stops the run, and a scratch folder for
// the readers that take a file name.
#pragma once
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace zevfuzz {

// Stops the run where a property does not hold, so the fuzzer keeps the input.
inline void Check(bool ok) {
  if (!ok) __builtin_trap();
}

// A folder for this process (in memory when /dev/shm is there), removed with what it
// holds when the process exits. Keep one in a function-local static.
struct ScratchFolder {
  std::filesystem::path path;
  explicit ScratchFolder(const std::string& prefix) {
    std::error_code ec;
    std::filesystem::path base =
        std::filesystem::is_directory("/dev/shm", ec) ? "/dev/shm" : std::filesystem::temp_directory_path();
    path = base / (prefix + std::to_string(::getpid()));
    std::filesystem::create_directories(path);
  }
  ~ScratchFolder() {
    std::error_code ec;
    std::filesystem::remove_all(path, ec);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
};

// Replaces the file with the bytes.
inline void WriteFile(const std::filesystem::path& file, const std::uint8_t* data, std::size_t size) {
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(data), std::streamsize(size));
}

}  // namespace zevfuzz
