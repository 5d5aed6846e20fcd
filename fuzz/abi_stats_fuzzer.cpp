// Header and directory only: GetFileStats of any bytes.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>

#include "zevutil/CAbi.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::string path =
      (std::filesystem::temp_directory_path() / ("zev_abi_stats_fuzz_" + std::to_string(std::random_device{}()))).string();
  static const struct Cleanup {
    ~Cleanup() { std::remove(path.c_str()); }
  } cleanup;
  FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) return 0;
  if (size) std::fwrite(data, 1, size, f);
  std::fclose(f);
  unsigned int samples = 0, raw = 0;
  zev::CAbi abi;
  abi.GetFileStats(path.c_str(), samples, raw);
  zev::CAbi fragment;
  fragment.SetFragmentFile(1);
  fragment.GetFileStats(path.c_str(), samples, raw);
  return 0;
}
