// The host part of a resolved font, shared by FontFace.cpp (which builds it) and
// CairoDevice.cpp (which draws with it).
#pragma once
#include <cstdint>
#include <string>

#include "zevutil/platform/Types.h"

namespace zev::gdi {

struct HostFont {
  void* scaled = nullptr;         // cairo_scaled_font_t at 600 dpi, unhinted
  unsigned long glyph[256] = {};  // glyph of each code page 1252 byte (0: missing glyph)
  ~HostFont();
};

// Unicode of each code page 1252 byte, 0 for control bytes and unassigned codes.
extern const std::uint16_t kCp1252[256];
// The bytes as UTF-8; a byte without a character becomes U+FFFD.
std::string Cp1252ToUtf8(const BYTE* s, int n);

}  // namespace zev::gdi
