// Palette PNG reader: any bytes read without a fault; what reads must write, read back
// to the same indices and table, and write again to the same bytes.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "zevutil/CDib.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  zev::CDib dib;
  if (!dib.ReadPng(data, size)) return 0;
  if (dib.GetNumColors() < 1 || dib.GetNumColors() > 256) std::abort();
  std::vector<zev::BYTE> first, second;
  if (!dib.WritePng(first)) std::abort();
  zev::CDib again;
  if (!again.ReadPng(first.data(), first.size())) std::abort();
  if (again.GetWidth() != dib.GetWidth() || again.GetHeight() != dib.GetHeight() ||
      again.GetNumColors() != dib.GetNumColors() ||
      std::memcmp(again.GetColorTable(), dib.GetColorTable(), sizeof(zev::RGBQUAD) * std::size_t(dib.GetNumColors())) != 0)
    std::abort();
  for (int y = 0; y < dib.GetHeight(); ++y)
    if (std::memcmp(again.GetPixelAddress(0, y), dib.GetPixelAddress(0, y), std::size_t(dib.GetWidth())) != 0)
      std::abort();
  if (!again.WritePng(second) || second != first) std::abort();
  return 0;
}
