// CRV reader: any bytes read without a fault, and every sample of what was read can
// be fetched.
#include <cstdint>
#include <vector>

#include "zevutil/CCrv.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  zev::CCrv crv;
  if (!crv.ReadFromMemory(data, size)) return 0;
  std::vector<zev::LONG> row(std::size_t(crv.GetCurveCount(0)) + 1);
  for (unsigned i = 0; i < crv.GetMaximumSampleSize() && i < 4096; ++i) crv.GetSample(int(i), row.data());
  return 0;
}
