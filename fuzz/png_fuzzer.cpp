// Palette PNG reader: any bytes read without a fault; what reads must write, read back
// to the same indices and table, and write again to the same bytes. Chunk checksums
// are made right before reading, so that mutations reach past the CRC test.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "zevutil/CDib.h"

namespace {

std::uint32_t Crc32(const std::uint8_t* p, std::size_t n) {
  std::uint32_t c = 0xFFFFFFFFu;
  for (std::size_t i = 0; i < n; ++i) {
    c ^= p[i];
    for (int k = 0; k < 8; ++k) c = (c >> 1) ^ (0xEDB88320u & (0u - (c & 1u)));
  }
  return ~c;
}

// Rewrites the CRC of every whole chunk after the signature.
void FixChunkCrcs(std::vector<std::uint8_t>& b) {
  std::size_t pos = 8;
  while (pos + 12 <= b.size()) {
    std::size_t len = (std::size_t(b[pos]) << 24) | (std::size_t(b[pos + 1]) << 16) | (std::size_t(b[pos + 2]) << 8) | b[pos + 3];
    if (len > b.size() - pos - 12) break;
    std::uint32_t crc = Crc32(b.data() + pos + 4, len + 4);
    std::size_t at = pos + 8 + len;
    b[at] = std::uint8_t(crc >> 24);
    b[at + 1] = std::uint8_t(crc >> 16);
    b[at + 2] = std::uint8_t(crc >> 8);
    b[at + 3] = std::uint8_t(crc);
    pos = at + 4;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::uint8_t> input(data, data + size);
  FixChunkCrcs(input);
  zev::CDib dib;
  if (!dib.ReadPng(input.data(), input.size())) return 0;
  if (dib.GetNumColors() < 1 || dib.GetNumColors() > 256) std::abort();
  std::vector<zev::BYTE> first, second;
  if (!dib.WritePng(first)) std::abort();
  zev::CDib again;
  if (!again.ReadPng(first.data(), first.size())) std::abort();
  // Pixels beyond the table widen the written palette with black entries.
  if (again.GetWidth() != dib.GetWidth() || again.GetHeight() != dib.GetHeight() ||
      again.GetNumColors() < dib.GetNumColors() ||
      std::memcmp(again.GetColorTable(), dib.GetColorTable(), sizeof(zev::RGBQUAD) * std::size_t(dib.GetNumColors())) != 0)
    std::abort();
  for (int y = 0; y < dib.GetHeight(); ++y)
    if (std::memcmp(again.GetPixelAddress(0, y), dib.GetPixelAddress(0, y), std::size_t(dib.GetWidth())) != 0)
      std::abort();
  if (!again.WritePng(second) || second != first) std::abort();
  return 0;
}
