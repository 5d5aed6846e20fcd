// BMP reader: any bytes read without a fault; what reads must write, read back to the
// same pixels and table, and write again to the same bytes.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "zevutil/CDib.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  zev::CDib dib;
  if (!dib.ReadBmp(data, size)) return 0;
  if (dib.GetBitsSize() != std::size_t(dib.GetStorageWidth()) * std::size_t(dib.GetHeight())) std::abort();
  int used[256];
  (void)dib.GetColorsUsed(used);
  (void)dib.GetPixelColor(dib.GetWidth() - 1, 0);
  std::vector<zev::BYTE> first, second;
  if (!dib.WriteBmp(first)) std::abort();
  zev::CDib again;
  if (!again.ReadBmp(first.data(), first.size())) std::abort();
  if (again.GetWidth() != dib.GetWidth() || again.GetHeight() != dib.GetHeight() ||
      again.GetNumColors() != dib.GetNumColors() ||
      std::memcmp(again.GetBits(), dib.GetBits(), dib.GetBitsSize()) != 0)
    std::abort();
  if (!again.WriteBmp(second) || second != first) std::abort();
  return 0;
}
