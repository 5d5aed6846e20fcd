// ESD trailer statistics of any bytes, without a fault.
#include <cstdint>

#include "zevutil/CEsd.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  zev::CEsd esd;
  zev::LONG lines = 0;
  esd.GetFileStatsFromMemory(data, size, lines);
  (void)esd.GetRunID();
  return 0;
}
