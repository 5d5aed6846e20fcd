// Palette PNG images (colour type 3) to and from memory, kept as indices.
// The only code that talks to libpng; without it both calls return 0.
#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

namespace zev::host {

struct PalettePngImage {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> palette;  // red, green, blue for each entry (1 to 256 entries)
  std::vector<std::uint8_t> pixels;   // rows top down, width indices each
};

// True when the library was built with libpng.
bool PngSupported();
// Decodes a PNG of colour type 3 (any bit depth, as 8-bit indices). Returns 1, or 0
// for anything else, a damaged file, or one whose pixels would outgrow its data.
int DecodePalettePng(const std::uint8_t* data, std::size_t size, PalettePngImage& image);
// Encodes 8-bit indices with the palette. Returns 1, or 0.
int EncodePalettePng(const PalettePngImage& image, std::vector<std::uint8_t>& out);

}  // namespace zev::host
