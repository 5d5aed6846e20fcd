// Inside the device layer: 8-bit device-independent bitmaps. The BMP decoder that both
// LoadBitmapA (for the bitmaps built into the library) and CDib use, and the table of
// built-in bitmap resources generated at build time from platform/res/.
#pragma once
#include <cstddef>
#include <memory>
#include <vector>

#include "GdiDevice.h"
#include "zevutil/platform/Palette.h"

namespace zev::gdi {

// A decoded 8-bit bitmap, laid out as in memory: rows bottom up, padded to four bytes.
struct PackedDib {
  int width = 0;
  int height = 0;
  std::vector<RGBQUAD> colors;
  std::vector<BYTE> bits;  // stride * height bytes
  LONG xPelsPerMeter = 0;
  LONG yPelsPerMeter = 0;
  DWORD Stride() const { return DWORD((width + 3) & ~3); }
};

// Largest pixel store accepted, so that row arithmetic stays inside 32 bits.
inline constexpr long long kMaxDibBitsBytes = 1LL << 30;

// Reads an 8-bit BMP file: the 40-byte (or longer) and the 12-byte header, uncompressed
// or RLE8, bottom up or top down. Any bytes are safe; false for anything else.
bool DecodeBmp(const BYTE* data, std::size_t size, PackedDib& out);

// A drawable bitmap of indices mapped through a colour table (top-down rows of width
// bytes, no padding).
std::shared_ptr<BitmapData> IndexedBitmap(int width, int height, std::vector<RGBQUAD> colors,
                                          std::vector<BYTE> topDownPixels);

// One bitmap built into the library: the bytes of a BMP file under an ID.
struct EmbeddedBitmap {
  UINT id;
  const BYTE* data;
  std::size_t size;
};
// Defined by the generated resource table.
extern const EmbeddedBitmap kEmbeddedBitmaps[];
extern const std::size_t kEmbeddedBitmapCount;

}  // namespace zev::gdi
