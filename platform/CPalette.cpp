// CPalette and the default palette's stock colours, as plain data.
#include "zevutil/platform/Palette.h"

#include <algorithm>

namespace zev {

namespace {
// The default palette: the first ten stock colours, then the last ten.
constexpr PALETTEENTRY kStock[kStockPaletteEntries] = {
    {0, 0, 0, 0},       {128, 0, 0, 0},     {0, 128, 0, 0},     {128, 128, 0, 0},   {0, 0, 128, 0},
    {128, 0, 128, 0},   {0, 128, 128, 0},   {192, 192, 192, 0}, {192, 220, 192, 0}, {166, 202, 240, 0},
    {255, 251, 240, 0}, {160, 160, 164, 0}, {128, 128, 128, 0}, {255, 0, 0, 0},     {0, 255, 0, 0},
    {255, 255, 0, 0},   {0, 0, 255, 0},     {255, 0, 255, 0},   {0, 255, 255, 0},   {255, 255, 255, 0},
};
}  // namespace

int GetStockPaletteEntries(PALETTEENTRY* out, int max) {
  if (out)
    for (int i = 0; i < max && i < kStockPaletteEntries; ++i) out[i] = kStock[i];
  return kStockPaletteEntries;
}

BOOL GetDisplayPaletteCaps(int& size, int& reserved) {
  // X11 and Wayland displays are true colour: there is no hardware palette to share.
  size = 0;
  reserved = 0;
  return FALSE;
}

BOOL CPalette::CreatePalette(const LOGPALETTE* logPalette) {
  if (m_created || !logPalette || logPalette->palNumEntries == 0) return FALSE;
  const PALETTEENTRY* first = logPalette->palPalEntry;
  m_entries.assign(first, first + logPalette->palNumEntries);
  m_created = true;
  return TRUE;
}

BOOL CPalette::DeleteObject() {
  if (!m_created) return FALSE;
  m_entries.clear();
  m_created = false;
  return TRUE;
}

UINT CPalette::GetPaletteEntries(UINT start, UINT count, PALETTEENTRY* entries) const {
  if (start >= m_entries.size()) return 0;
  UINT n = std::min<UINT>(count, UINT(m_entries.size()) - start);
  if (entries) std::copy_n(m_entries.begin() + start, n, entries);
  return n;
}

UINT CPalette::SetPaletteEntries(UINT start, UINT count, const PALETTEENTRY* entries) {
  if (start >= m_entries.size() || !entries) return 0;
  UINT n = std::min<UINT>(count, UINT(m_entries.size()) - start);
  std::copy_n(entries, n, m_entries.begin() + start);
  return n;
}

BOOL CPalette::ResizePalette(UINT count) {
  if (!m_created || count == 0 || count > 65535) return FALSE;
  m_entries.resize(count, PALETTEENTRY{0, 0, 0, 0});
  return TRUE;
}

UINT CPalette::GetNearestPaletteIndex(COLORREF colour) const {
  const int r = GetRValue(colour), g = GetGValue(colour), b = GetBValue(colour);
  UINT best = 0;
  long bestDist = -1;
  for (UINT i = 0; i < m_entries.size(); ++i) {
    const PALETTEENTRY& e = m_entries[i];
    long d = long(e.peRed - r) * (e.peRed - r) + long(e.peGreen - g) * (e.peGreen - g) +
             long(e.peBlue - b) * (e.peBlue - b);
    if (bestDist < 0 || d < bestDist) {
      bestDist = d;
      best = i;
      if (d == 0) break;
    }
  }
  return best;
}

}  // namespace zev
