// CDibPal: the identity palette and the merging of colours into it; CPaletteManager.
#include "zevutil/CDib.h"

#include <algorithm>
#include <memory>

namespace zev {

namespace {

inline COLORREF RgbOf(const PALETTEENTRY& e) { return RGB(e.peRed, e.peGreen, e.peBlue); }

// Nearest entry by squared distance, the first of equals.
int Nearest(const std::vector<PALETTEENTRY>& entries, COLORREF colour) {
  const int r = GetRValue(colour), g = GetGValue(colour), b = GetBValue(colour);
  int best = 0;
  long bestDist = -1;
  for (int i = 0; i < int(entries.size()); ++i) {
    const PALETTEENTRY& e = entries[std::size_t(i)];
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

std::unique_ptr<BYTE[]> MakeLogPalette(const std::vector<PALETTEENTRY>& entries) {
  std::size_t bytes = sizeof(LOGPALETTE) + sizeof(PALETTEENTRY) * (entries.size() ? entries.size() - 1 : 0);
  std::unique_ptr<BYTE[]> mem(new BYTE[bytes]());
  auto* log = reinterpret_cast<LOGPALETTE*>(mem.get());
  log->palVersion = 0x300;
  log->palNumEntries = WORD(entries.size());
  std::copy(entries.begin(), entries.end(), log->palPalEntry);
  return mem;
}

}  // namespace

BOOL CDibPal::CreateEmptyIdentityPalette() {
  std::fill(std::begin(m_used), std::end(m_used), 0);
  m_bChanged = 0;
  m_nSize = 256;
  m_nStaticCount = 10;
  int hwSize = 0, hwReserved = 0;
  if (GetDisplayPaletteCaps(hwSize, hwReserved) && hwSize >= 2) {
    m_nSize = std::min(hwSize, 256);
    m_nStaticCount = hwReserved / 2;
  }

  PALETTEENTRY stock[kStockPaletteEntries];
  const int nStock = std::min(GetStockPaletteEntries(stock, kStockPaletteEntries), kStockPaletteEntries);
  if (nStock < 2 * m_nStaticCount || 2 * m_nStaticCount > m_nSize) return FALSE;

  std::vector<PALETTEENTRY> entries(std::size_t(m_nSize), PALETTEENTRY{0, 0, 0, 0});
  for (int i = 0; i < m_nStaticCount; ++i) {
    entries[std::size_t(i)] = stock[i];
    entries[std::size_t(m_nSize - m_nStaticCount + i)] = stock[nStock - m_nStaticCount + i];
    m_used[i] = 1;
    m_used[m_nSize - m_nStaticCount + i] = 1;
  }

  // The middle gets a colour cube as defaults that merges may overwrite.
  int pos = m_nStaticCount;
  const int end = m_nSize - m_nStaticCount;
  for (int r = 1; r <= 6 && pos < end; ++r)
    for (int g = 1; g <= 7 && pos < end; ++g)
      for (int b = 1; b <= 7 && pos < end; ++b) {
        PALETTEENTRY e{BYTE(r * 255 / 6), BYTE(g * 255 / 7), BYTE(b * 255 / 7), 0};
        bool isStock = false;
        for (int s = 0; s < nStock && !isStock; ++s)
          isStock = RgbOf(stock[s]) == RgbOf(e);
        if (!isStock) entries[std::size_t(pos++)] = e;
      }

  DeleteObject();
  auto log = MakeLogPalette(entries);
  if (!CreatePalette(reinterpret_cast<LOGPALETTE*>(log.get()))) return FALSE;
  m_nNextFree = m_nStaticCount;
  m_bIdentity = 1;
  return TRUE;
}

std::vector<PALETTEENTRY> CDibPal::LoadEntries() {
  const int size = std::clamp(m_nSize, 1, 256);
  if (!GetSafeHandle()) {
    std::vector<PALETTEENTRY> black(std::size_t(size), PALETTEENTRY{0, 0, 0, 0});
    auto log = MakeLogPalette(black);
    CreatePalette(reinterpret_cast<LOGPALETTE*>(log.get()));
  } else if (GetEntryCount() < size) {
    ResizePalette(UINT(size));
  }
  std::vector<PALETTEENTRY> entries(static_cast<std::size_t>(GetEntryCount()));
  GetPaletteEntries(0, UINT(entries.size()), entries.data());
  entries.resize(std::size_t(size), PALETTEENTRY{0, 0, 0, 0});
  return entries;
}

void CDibPal::StoreEntries(const std::vector<PALETTEENTRY>& entries) {
  SetPaletteEntries(0, UINT(entries.size()), entries.data());
}

int CDibPal::AdvancePastUsed(int next, int last) const {
  while (next <= last && next < 256 && m_used[next]) ++next;
  return next;
}

void CDibPal::FillResult(PalMergeResult* result, int asked, int added, int moved, int lost) const {
  if (!result) return;
  result->total = m_nStaticCount + m_nNextFree;
  result->asked = asked;
  result->added = added;
  result->moved = moved;
  result->lost = lost;
}

void CDibPal::MergeRange(int size, int* next, int* last) const {
  *last = size - 1;
  *next = 0;
  if (m_bIdentity) {
    *last -= m_nStaticCount;
    *next = m_nStaticCount;
  }
  *next = AdvancePastUsed(*next, *last);
}

int CDibPal::ClaimEntry(std::vector<PALETTEENTRY>& entries, COLORREF colour, int next, int last, int* added) {
  int idx = Nearest(entries, colour);
  if (RgbOf(entries[std::size_t(idx)]) == colour) {
    if (!m_used[idx]) {
      if (idx > next) {
        std::swap(entries[std::size_t(idx)], entries[std::size_t(next)]);
        idx = next;
      }
      entries[std::size_t(idx)].peFlags = PC_NOCOLLAPSE;
      m_used[idx] = 1;
      ++*added;
    }
    return idx;
  }
  if (next > last) return -1;
  entries[std::size_t(next)] = PALETTEENTRY{GetRValue(colour), GetGValue(colour), GetBValue(colour), PC_NOCOLLAPSE};
  m_used[next] = 1;
  ++*added;
  return next;
}

BOOL CDibPal::MergeColors(const DWORD* colours, int count, PalMergeResult* result) {
  if (!colours || count < 1) {
    FillResult(result, 0, 0, 0, 0);
    return FALSE;
  }
  std::vector<PALETTEENTRY> entries = LoadEntries();
  int added = 0, moved = 0, lost = count;
  int next = 0, last = 0;
  MergeRange(int(entries.size()), &next, &last);
  for (int i = 0; i < count && next <= last; ++i) {
    --lost;
    const int idx = ClaimEntry(entries, colours[i] & 0xFFFFFF, next, last, &added);
    if (idx != i) ++moved;
    next = AdvancePastUsed(next, last);
  }
  m_nNextFree = next;
  StoreEntries(entries);
  m_bChanged = 0;
  FillResult(result, count, added, moved, lost);
  return TRUE;
}

BOOL CDibPal::MergeDibPalette(CDib* dib, PalMergeResult* result) {
  if (!dib || dib->GetNumColors() < 1) return FALSE;
  int used[256];
  const int asked = dib->GetColorsUsed(used);
  const int nTable = std::min(dib->GetNumColors(), 256);

  std::vector<PALETTEENTRY> entries = LoadEntries();
  int added = 0, moved = 0, lost = 0;
  int next = 0, last = 0;
  MergeRange(int(entries.size()), &next, &last);
  // Every used entry gets its chance: a full palette still shares exact colours.
  for (int i = 0; i < nTable; ++i) {
    if (!used[i]) continue;
    const int idx = ClaimEntry(entries, dib->GetTableColor(i), next, last, &added);
    if (idx < 0) {
      ++lost;
      continue;
    }
    if (idx != i) ++moved;
    next = AdvancePastUsed(next, last);
  }
  m_nNextFree = next;
  StoreEntries(entries);
  m_bChanged = 0;
  FillResult(result, asked, added, moved, lost);
  return TRUE;
}

CDibPal* CPaletteManager::GetSystemPalette() {
  // Made once, on first use, and shared by the whole process.
  static CDibPal* const palette = [] {
    auto* p = new CDibPal;
    p->CreateEmptyIdentityPalette();
    return p;
  }();
  return palette;
}

}  // namespace zev
