// CDib: pixel access, colour lookup and colour replacement of 8-bit bitmaps, and the
// palette matching helpers.
#include "zevutil/CDib.h"

#include <algorithm>
#include <cstring>

namespace zev {

namespace {

constexpr int kMaxTable = 256;
// Larger images are refused, so that row arithmetic stays inside 32 bits.
constexpr long long kMaxBitsBytes = 1LL << 30;

inline bool SameRgb(const PALETTEENTRY& a, const PALETTEENTRY& b) {
  return a.peRed == b.peRed && a.peGreen == b.peGreen && a.peBlue == b.peBlue;
}

inline COLORREF RgbOf(const RGBQUAD& q) { return RGB(q.rgbRed, q.rgbGreen, q.rgbBlue); }
inline COLORREF RgbOf(const PALETTEENTRY& e) { return RGB(e.peRed, e.peGreen, e.peBlue); }
inline COLORREF Rgb24(DWORD c) { return c & 0xFFFFFF; }

inline long Distance(COLORREF a, COLORREF b) {
  long dr = long(GetRValue(a)) - GetRValue(b);
  long dg = long(GetGValue(a)) - GetGValue(b);
  long db = long(GetBValue(a)) - GetBValue(b);
  return dr * dr + dg * dg + db * db;
}

}  // namespace

RGBQUAD QRGB(BYTE red, BYTE green, BYTE blue) { return RGBQUAD{blue, green, red, 0}; }

int MatchPaletteEntry(PALETTEENTRY* entries, int count, PALETTEENTRY colour, int& index) {
  index = 0;
  if (!entries) return 0;
  for (int i = 0; i < count; ++i)
    if (SameRgb(entries[i], colour)) {
      index = i;
      return 1;
    }
  return 0;
}

int MatchPaletteEntry(PALETTEENTRY* entries, int count, RGBQUAD colour, int& index) {
  return MatchPaletteEntry(entries, count, PALETTEENTRY{colour.rgbRed, colour.rgbGreen, colour.rgbBlue, 0}, index);
}

int MatchPaletteEntry(CPalette* palette, RGBQUAD colour, int& index) {
  index = 0;
  if (!palette) return 0;
  std::vector<PALETTEENTRY> entries(std::size_t(palette->GetEntryCount()));
  if (entries.empty()) return 0;
  palette->GetPaletteEntries(0, UINT(entries.size()), entries.data());
  return MatchPaletteEntry(entries.data(), int(entries.size()), colour, index);
}

BOOL CDib::Allocate(int width, int height, int numColors, UINT usage) {
  Destroy();
  if (width <= 0 || height <= 0 || numColors < 0 || numColors > kMaxTable) return FALSE;
  if (usage != DIB_RGB_COLORS && usage != DIB_PAL_COLORS) return FALSE;
  long long stride = ((long long)width + 3) & ~3LL;
  if (stride * height > kMaxBitsBytes) return FALSE;
  m_width = width;
  m_height = height;
  m_numColors = numColors;
  m_usage = usage;
  m_bits.assign(std::size_t(stride * height), 0);
  if (usage == DIB_RGB_COLORS) {
    m_colors.assign(std::size_t(numColors), RGBQUAD{0, 0, 0, 0});
  } else {
    m_indices.resize(std::size_t(numColors));
    for (int i = 0; i < numColors; ++i) m_indices[std::size_t(i)] = WORD(i);
  }
  return TRUE;
}

BOOL CDib::Create(int width, int height, int numColors, UINT usage) {
  return Allocate(width, height, numColors, usage);
}

void CDib::Destroy() {
  m_width = m_height = m_numColors = 0;
  m_usage = DIB_RGB_COLORS;
  m_colors.clear();
  m_indices.clear();
  m_bits.clear();
}

DWORD CDib::GetStorageWidth() const { return (DWORD(m_width) + 3) & ~DWORD(3); }

BYTE* CDib::GetPixelAddress(int x, int y) const {
  // Negative coordinates are refused too: they would address memory before the bits.
  if (m_bits.empty() || x < 0 || y < 0 || x >= m_width || y >= m_height) return nullptr;
  return const_cast<BYTE*>(m_bits.data()) + std::size_t(m_height - y - 1) * GetStorageWidth() + std::size_t(x);
}

BYTE CDib::GetPixelValue(int x, int y) const {
  const BYTE* p = GetPixelAddress(x, y);
  return p ? *p : 0;
}

COLORREF CDib::GetTableColor(int i) const {
  if (i < 0 || i >= m_numColors) return 0;
  if (m_usage == DIB_RGB_COLORS) return RgbOf(m_colors[std::size_t(i)]);
  CDibPal* pal = CPaletteManager::GetSystemPalette();
  int slot = m_indices[std::size_t(i)];
  return slot < pal->GetEntryCount() ? RgbOf(pal->Entries()[slot]) : 0;
}

COLORREF CDib::GetPixelColor(int x, int y) const {
  if (!GetPixelAddress(x, y)) return 0;
  return GetTableColor(GetPixelValue(x, y));
}

int CDib::GetColorIndex(DWORD colour) const {
  if (m_bits.empty()) return -1;
  const COLORREF want = Rgb24(colour);
  for (int i = 0; i < m_numColors; ++i)
    if (GetTableColor(i) == want) return i;
  return -1;
}

int CDib::GetNearestColorIndex(DWORD colour) const {
  if (m_bits.empty()) return -1;
  long best = 10000000;
  int bestIndex = 0;
  for (int i = 0; i < m_numColors; ++i) {
    long d = Distance(GetTableColor(i), colour);
    if (d < best) {  // only a smaller distance wins: the first of equals stays
      best = d;
      bestIndex = i;
    }
  }
  return bestIndex;
}

int CDib::GetColorsUsed(int* used) const {
  std::size_t hist[256] = {};
  const BYTE* row = m_bits.data();
  const DWORD stride = GetStorageWidth();
  for (int y = 0; y < m_height; ++y, row += stride)
    for (int x = 0; x < m_width; ++x) ++hist[row[x]];
  int n = 0;
  for (int i = 0; i < 256; ++i) {
    int u = (i < m_numColors && hist[i] != 0) ? 1 : 0;
    if (used) used[i] = u;
    n += u;
  }
  return n;
}

BOOL CDib::ReplaceColor(DWORD oldColour, DWORD newColour, DWORD& count, CRect& rect, int exactOld, int mergeNew) {
  count = 0;
  rect.SetRectEmpty();
  CDibPal* sys = CPaletteManager::GetSystemPalette();
  int oldIndex = 0;
  int newIndex = 0;
  if (m_usage == DIB_RGB_COLORS) {
    oldIndex = GetColorIndex(oldColour);
    if (oldIndex < 0) {
      if (exactOld) return FALSE;
      oldIndex = GetNearestColorIndex(oldColour);
    }
    newIndex = GetColorIndex(newColour);
    if (newIndex < 0) {
      if (!sys || m_numColors < 1) return FALSE;
      const COLORREF want = Rgb24(newColour);
      int idx = int(sys->GetNearestPaletteIndex(want));
      if (RgbOf(sys->Entries()[idx]) != want) {
        if (!mergeNew) return FALSE;
        const DWORD one = want;
        sys->MergeColors(&one, 1, nullptr);
        idx = int(sys->GetNearestPaletteIndex(want));
      }
      int used[256];
      GetColorsUsed(used);
      // kept: an entry that the image already uses is not taken; entry 0 is
      // overwritten instead, as callers have always seen.
      if (idx >= m_numColors || used[idx]) idx = 0;
      m_colors[std::size_t(idx)] = QRGB(GetRValue(want), GetGValue(want), GetBValue(want));
      newIndex = idx;
    }
    return ReplaceInBits(oldIndex, newIndex, count, rect);
  }

  // An index table: pixel values are compared with palette positions directly.
  if (!sys) return FALSE;
  const PALETTEENTRY* entries = sys->Entries();
  oldIndex = int(sys->GetNearestPaletteIndex(Rgb24(oldColour)));
  if (exactOld && RgbOf(entries[oldIndex]) != Rgb24(oldColour)) return FALSE;
  newIndex = int(sys->GetNearestPaletteIndex(Rgb24(newColour)));
  if (!mergeNew && RgbOf(entries[newIndex]) != Rgb24(newColour)) return FALSE;
  if (newIndex > 2 * m_numColors - 1) return FALSE;
  const int recorded = m_numColors;
  if (newIndex >= m_numColors) {
    // The table grows for this replacement only (an index table fits twice as many
    // entries in the room of a colour table); the recorded count is put back after.
    for (int i = int(m_indices.size()); i <= newIndex; ++i) m_indices.push_back(WORD(i));
    m_numColors = newIndex + 1;
  }
  BOOL ok = ReplaceInBits(oldIndex, newIndex, count, rect);
  m_numColors = recorded;
  return ok;
}

BOOL CDib::ReplaceInBits(int oldIndex, int newIndex, DWORD& count, CRect& rect) {
  const BYTE from = BYTE(oldIndex);
  const BYTE to = BYTE(newIndex);
  const int stride = int(GetStorageWidth());
  const int width = m_width;
  // kept: the lowest row starts at the width and the lowest column at the height.
  int lowRow = m_width, lowCol = m_height, highRow = 0, highCol = 0;
  DWORD total = 0;
  BYTE* row = m_bits.data();
  for (int y = 0; y < m_height; ++y, row += stride) {
    // Count first (a loop the compiler turns into vector compares), then replace
    // the whole stored row, padding bytes included.
    unsigned n = 0;
    for (int x = 0; x < width; ++x) n += row[x] == from;
    if (n) {
      int first = 0;
      while (row[first] != from) ++first;
      int last = width - 1;
      while (row[last] != from) --last;
      total += n;
      lowRow = std::min(lowRow, y);
      highRow = std::max(highRow, y);
      lowCol = std::min(lowCol, first);
      highCol = std::max(highCol, last);
    }
    if (n || stride != width)
      for (int x = 0; x < stride; ++x) row[x] = row[x] == from ? to : row[x];
  }
  count = total;
  if (total) {
    // kept: rows and columns stand exchanged in the rectangle; callers expect it so.
    rect.left = lowRow;
    rect.top = m_height - lowCol - 1;
    rect.right = highRow;
    rect.bottom = m_height - highCol - 1;
  }
  return TRUE;
}

}  // namespace zev
