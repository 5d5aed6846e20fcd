// Reads any bytes as an ABIF file three ways (fresh, and with the sequence or the
// fragment kind already set, so every branch of the reader meets every input), walks
// everything that was read, then writes the object back out.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>

#include "zevutil/CAbi.h"

namespace {

// Scratch files of this process (parallel fuzzing jobs each get their own).
const std::string& ScratchPath(const char* what) {
  static const std::string tag = std::to_string(std::random_device{}());
  static const std::string in = (std::filesystem::temp_directory_path() / ("zev_abi_fuzz_in_" + tag)).string();
  static const std::string out = (std::filesystem::temp_directory_path() / ("zev_abi_fuzz_out_" + tag)).string();
  static const struct Cleanup {
    ~Cleanup() {
      std::remove(in.c_str());
      std::remove(out.c_str());
    }
  } cleanup;
  return what[0] == 'i' ? in : out;
}

void Walk(zev::CAbi& abi) {
  unsigned short a, c, g, t, pos;
  char base;
  for (int i = 0; abi.GetSample(i, a, c, g, t); ++i) {
  }
  for (int i = 0; abi.GetRawData(i, a, c, g, t); ++i) {
  }
  for (int i = 0; abi.GetVcptData(i, a, c, g, t); ++i) {
  }
  for (int i = 0; abi.GetBase(i, pos, base); ++i) {
  }
  zev::AbiPeak_parameters peak{};
  int peaks = abi.GetPeakListCount();
  for (int i = 0; i < peaks && i < 4096; ++i) abi.GetPeakInfo(i, peak);
  zev::AbiStandardPeak sp{};
  int standard = abi.GetStandardPeakCount();
  for (int i = 0; i < standard && i < 4096; ++i) abi.GetStandardPeakInfo(i, sp);
  zev::Abi_flag_record rec;
  for (int i = 0; abi.GetDirectoryEntry(i, rec); ++i) {
  }
  float matrix[16];
  abi.GetMatrix(matrix);
  (void)abi.GetTraceOrder();
  (void)abi.GetBaseSequence();
  (void)abi.GetSampleName();
  (void)abi.GetNumbPeakInChannel1();
  (void)abi.GetNumbPeakInChannel4();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FILE* f = std::fopen(ScratchPath("in").c_str(), "wb");
  if (!f) return 0;
  if (size) std::fwrite(data, 1, size, f);
  std::fclose(f);
  for (int preset = 0; preset < 3; ++preset) {
    zev::CAbi abi;
    if (preset == 1) abi.SetSequenceFile(1);
    if (preset == 2) abi.SetFragmentFile(1);
    if (abi.Read(ScratchPath("in").c_str())) {
      Walk(abi);
      zev::CAbi copy(abi);
      if (copy.GetSampleCount() < (1 << 20)) copy.Write(ScratchPath("out").c_str());
    }
  }
  return 0;
}
