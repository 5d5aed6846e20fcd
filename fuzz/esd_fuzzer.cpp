// ESD reader: any bytes read without a fault; whatever reads and writes again must
// read back with the same number of lines.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "zevutil/CEsd.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  zev::CEsd esd;
  if (!esd.ReadFromMemory(data, size)) return 0;
  zev::LONG v[5];
  float f[4];
  for (zev::ULONG i = 0; i < esd.GetNumberOfLines() && i < 4096; ++i) {
    esd.GetRawData(int(i), v[0], v[1], v[2], v[3], v[4]);
    esd.GetProcessedData(int(i), v[0], f[0], f[1], f[2], f[3]);
  }
  for (int i = -1; i <= 4; ++i) {
    (void)esd.GetBaseOrder(i);
    for (int j = -1; j <= 4; ++j) (void)esd.GetSpecSepMx(i, j);
  }
  (void)esd.GetSampleName();
  (void)esd.GetPlateID();
  // The round trip is checked where the records fit in a few megabytes: a claim of
  // millions of lines that the file does not hold would only spend the run writing
  // and reading back zeros.
  std::vector<zev::BYTE> out;
  if (esd.GetNumberOfLines() <= (zev::ULONG(1) << 18) && esd.WriteToMemory(out)) {
    zev::CEsd again;
    if (!again.ReadFromMemory(out.data(), out.size()) || again.GetNumberOfLines() != esd.GetNumberOfLines())
      std::abort();
  }
  return 0;
}
