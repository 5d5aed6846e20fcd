// SCF header statistics: the two headers of any bytes, without a fault.
#include <cstdint>

#include "zevutil/CScf.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  zev::CScf scf;
  unsigned int samples = 0, raw = 0;
  scf.GetFileStatsFromMemory(data, size, samples, raw);
  (void)scf.GetVersion();
  return 0;
}
