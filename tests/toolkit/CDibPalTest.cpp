// Identity palettes and merges: the stock colours, the colour cube, merges of colour
// lists and of images into free and full palettes, the bitmap merge and the shared
// system palette.
#include <gtest/gtest.h>

#include <vector>

#include "zevutil/CDib.h"

using namespace zev;

namespace {

const COLORREF kStock[20] = {
    RGB(0, 0, 0),       RGB(128, 0, 0),     RGB(0, 128, 0),     RGB(128, 128, 0),   RGB(0, 0, 128),
    RGB(128, 0, 128),   RGB(0, 128, 128),   RGB(192, 192, 192), RGB(192, 220, 192), RGB(166, 202, 240),
    RGB(255, 251, 240), RGB(160, 160, 164), RGB(128, 128, 128), RGB(255, 0, 0),     RGB(0, 255, 0),
    RGB(255, 255, 0),   RGB(0, 0, 255),     RGB(255, 0, 255),   RGB(0, 255, 255),   RGB(255, 255, 255),
};

COLORREF EntryColor(const CPalette& pal, int i) {
  const PALETTEENTRY& e = pal.Entries()[i];
  return RGB(e.peRed, e.peGreen, e.peBlue);
}

// count colours that no identity palette holds: green and blue never reach 0 in the cube.
std::vector<DWORD> NewColours(int count, int salt = 0) {
  std::vector<DWORD> v;
  for (int i = 0; i < count; ++i) v.push_back(RGB(BYTE(i), BYTE(salt), 1));
  return v;
}

std::vector<int> UsedFlags(const CDibPal& pal) { return std::vector<int>(pal.m_used, pal.m_used + 256); }

CDib DibOf(const std::vector<COLORREF>& table, const std::vector<BYTE>& pixels) {
  CDib dib;
  EXPECT_TRUE(dib.Create(int(pixels.size()), 1, int(table.size())));
  for (std::size_t i = 0; i < table.size(); ++i)
    dib.GetColorTable()[i] = QRGB(GetRValue(table[i]), GetGValue(table[i]), GetBValue(table[i]));
  for (std::size_t x = 0; x < pixels.size(); ++x) *dib.GetPixelAddress(int(x), 0) = pixels[x];
  return dib;
}

}  // namespace

namespace zev {
bool operator==(const PalMergeResult& a, const PalMergeResult& b) {
  return a.total == b.total && a.asked == b.asked && a.added == b.added && a.moved == b.moved && a.lost == b.lost;
}
std::ostream& operator<<(std::ostream& os, const PalMergeResult& r) {
  return os << "{total " << r.total << ", asked " << r.asked << ", added " << r.added << ", moved " << r.moved
            << ", lost " << r.lost << "}";
}
}  // namespace zev

TEST(CDibPal, IdentityPaletteHasStockEndsAndACubeBetween) {
  CDibPal pal;
  ASSERT_TRUE(pal.CreateEmptyIdentityPalette());
  ASSERT_EQ(GetStockPaletteEntries(nullptr, 0), 20);
  ASSERT_EQ(pal.GetEntryCount(), 256);
  EXPECT_EQ(pal.m_bIdentity, 1);
  EXPECT_EQ(pal.m_nStaticCount, 10);
  EXPECT_EQ(pal.m_nSize, 256);
  EXPECT_EQ(pal.m_nNextFree, 10);
  std::vector<int> used(256, 0);
  for (int i = 0; i < 10; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(EntryColor(pal, i), kStock[i]);
    EXPECT_EQ(EntryColor(pal, 246 + i), kStock[10 + i]);
    used[std::size_t(i)] = used[std::size_t(246 + i)] = 1;
  }
  EXPECT_EQ(UsedFlags(pal), used);
  // The cube walks r 1..6, g 1..7, b 1..7 with r outermost: 255/6 and 255/7 steps.
  const std::pair<int, COLORREF> cube[] = {
      {10, RGB(42, 36, 36)},  {11, RGB(42, 36, 72)},   {16, RGB(42, 36, 255)},
      {17, RGB(42, 72, 36)},  {59, RGB(85, 36, 36)},   {245, RGB(212, 218, 182)},
  };
  for (auto [i, c] : cube) {
    SCOPED_TRACE(i);
    EXPECT_EQ(EntryColor(pal, i), c);
  }
  for (int i = 10; i < 246; ++i)
    for (int s = 0; s < 20; ++s) EXPECT_NE(EntryColor(pal, i), kStock[s]) << "entry " << i << " stock " << s;
}

TEST(CDibPal, MergeColorsIntoAFreshIdentityPalette) {
  struct Case {
    const char* name;
    std::vector<DWORD> colours;
    PalMergeResult result;
    int nextFree;
    std::vector<std::pair<int, COLORREF>> entries;
  } cases[] = {
      {"a new colour takes the first free entry", {RGB(1, 2, 3)}, {21, 1, 1, 1, 0}, 11, {{10, RGB(1, 2, 3)}}},
      {"a stock colour is shared", {RGB(255, 0, 0)}, {20, 1, 0, 1, 0}, 10, {{249, RGB(255, 0, 0)}}},
      {"the same colour twice takes one entry", {RGB(1, 2, 3), RGB(1, 2, 3)}, {21, 2, 1, 2, 0}, 11, {}},
      // Stock colours at their own positions are not moved; a cube colour is swapped
      // down to the free entry, which here is its source position.
      {"a cube colour is claimed in place",
       {kStock[0], kStock[1], kStock[2], kStock[3], kStock[4], kStock[5], kStock[6], kStock[7], kStock[8], kStock[9],
        RGB(85, 36, 36)},
       {21, 11, 1, 0, 0},
       11,
       {{10, RGB(85, 36, 36)}, {59, RGB(42, 36, 36)}}},
      {"a null list merges nothing", {}, {20, 0, 0, 0, 0}, 10, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CDibPal pal;
    ASSERT_TRUE(pal.CreateEmptyIdentityPalette());
    pal.m_bChanged = 1;
    PalMergeResult r;
    EXPECT_EQ(pal.MergeColors(c.colours.empty() ? nullptr : c.colours.data(), int(c.colours.size()), &r),
              c.colours.empty() ? 0 : 1);
    EXPECT_EQ(r, c.result);
    EXPECT_EQ(pal.m_nNextFree, c.nextFree);
    for (auto [i, colour] : c.entries) EXPECT_EQ(EntryColor(pal, i), colour) << "entry " << i;
    if (!c.colours.empty()) {
      EXPECT_EQ(pal.m_bChanged, 0);
      EXPECT_EQ(pal.Entries()[10].peFlags, c.nextFree > 10 ? PC_NOCOLLAPSE : 0);
    }
  }
}

TEST(CDibPal, MergeColorsIntoAFullPaletteLosesTheRestAndKeepsStaticEntries) {
  CDibPal pal;
  ASSERT_TRUE(pal.CreateEmptyIdentityPalette());
  PalMergeResult r;
  std::vector<DWORD> first = NewColours(240);
  ASSERT_TRUE(pal.MergeColors(first.data(), 240, &r));
  EXPECT_EQ(r, (PalMergeResult{256, 240, 236, 236, 4}));
  EXPECT_EQ(pal.m_nNextFree, 246);
  std::vector<DWORD> more = {RGB(7, 7, 7), kStock[13], RGB(8, 8, 8)};
  ASSERT_TRUE(pal.MergeColors(more.data(), 3, &r));
  // Full from the start: nothing is tried, every colour stays lost.
  EXPECT_EQ(r, (PalMergeResult{256, 3, 0, 0, 3}));
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(EntryColor(pal, i), kStock[i]);
    EXPECT_EQ(EntryColor(pal, 246 + i), kStock[10 + i]);
    EXPECT_EQ(pal.Entries()[i].peFlags, 0);
  }
  EXPECT_EQ(EntryColor(pal, 245), first[235]);
}

TEST(CDibPal, MergeDibPaletteAsksOnlyForUsedEntries) {
  struct Case {
    const char* name;
    int prefill;  // new colours merged first
    std::vector<COLORREF> table;
    std::vector<BYTE> pixels;
    PalMergeResult result;
  } cases[] = {
      // Entries 0 and 2 are used; 2 is new and lands on entry 10.
      {"unused entries are skipped", 0, {RGB(0, 0, 0), RGB(5, 5, 5), RGB(6, 6, 6)}, {0, 2, 2, 0}, {21, 2, 1, 1, 0}},
      {"pixels beyond the table ask nothing", 0, {RGB(5, 5, 5)}, {0, 9}, {21, 1, 1, 1, 0}},
      // Full palette: the inexact ones are lost, the stock red and the earlier new
      // colour are shared (both moved), and the walk goes on past the losses.
      {"full palette",
       236,
       {RGB(7, 7, 7), RGB(255, 0, 0), RGB(8, 8, 8), RGB(3, 0, 1)},
       {0, 1, 2, 3},
       {256, 4, 0, 2, 2}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CDibPal pal;
    ASSERT_TRUE(pal.CreateEmptyIdentityPalette());
    if (c.prefill) {
      std::vector<DWORD> fill = NewColours(c.prefill);
      ASSERT_TRUE(pal.MergeColors(fill.data(), c.prefill, nullptr));
    }
    CDib dib = DibOf(c.table, c.pixels);
    PalMergeResult r;
    EXPECT_TRUE(pal.MergeDibPalette(&dib, &r));
    EXPECT_EQ(r, c.result);
  }
  CDibPal pal;
  ASSERT_TRUE(pal.CreateEmptyIdentityPalette());
  CDib noTable;
  ASSERT_TRUE(noTable.Create(2, 2, 0));
  PalMergeResult untouched{1, 2, 3, 4, 5};
  EXPECT_FALSE(pal.MergeDibPalette(&noTable, &untouched));
  EXPECT_FALSE(pal.MergeDibPalette(nullptr, &untouched));
  EXPECT_EQ(untouched, (PalMergeResult{1, 2, 3, 4, 5}));
}

TEST(CDibPal, PlainPaletteMergesFromEntryZero) {
  CDibPal pal;  // not an identity palette: made black on first merge
  std::vector<DWORD> colours = {RGB(1, 1, 1), RGB(2, 2, 2)};
  PalMergeResult r;
  ASSERT_TRUE(pal.MergeColors(colours.data(), 2, &r));
  EXPECT_EQ(pal.GetEntryCount(), 256);
  EXPECT_EQ(EntryColor(pal, 0), RGB(1, 1, 1));
  EXPECT_EQ(EntryColor(pal, 1), RGB(2, 2, 2));
  EXPECT_EQ(r, (PalMergeResult{12, 2, 2, 0, 0}));
}

TEST(CPaletteMerge, AddsBitmapsUntilTheCountTheLimitOrABadEntry) {
  // Three built-in bitmaps, each a 2x1 image with a different pair of colours.
  std::vector<unsigned int> ids;
  for (unsigned int id = 9001; id <= 9003; ++id) {
    CDib dib = DibOf({RGB(BYTE(id), 1, 1), RGB(BYTE(id), 2, 2)}, {0, 1});
    std::vector<BYTE> bmp;
    ASSERT_TRUE(dib.WriteBmp(bmp));
    CDib::RegisterBitmapResource(id, bmp.data(), bmp.size());
    ids.push_back(id);
  }
  struct Case {
    const char* name;
    std::vector<unsigned int> resources;
    int repeat;
    BOOL result;
    int count;
  } cases[] = {
      {"all", {9001, 9002, 9003}, 1, 1, 3},
      {"stops at an unknown resource", {9001, 9002, 4242, 9003}, 1, 0, 2},
      {"at most fifty", {9001, 9002, 9003}, 18, 1, 50},
      {"an empty list", {}, 1, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CPaletteMerge merge;
    std::vector<unsigned int> list;
    for (int k = 0; k < c.repeat; ++k) list.insert(list.end(), c.resources.begin(), c.resources.end());
    EXPECT_EQ(merge.AddBitmaps(list.empty() ? nullptr : list.data(), int(list.size())), c.result);
    EXPECT_EQ(merge.GetBitmapCount(), c.count);
    if (c.count >= 3) {
      // The first three bring six new colours; the repeats share them.
      EXPECT_EQ(merge.GetResult(2)->total, 26);
      EXPECT_EQ(merge.GetResult(c.count - 1)->added, c.count > 3 ? 0 : 2);
    }
  }
  CPaletteMerge merge;
  const char* paths[] = {"/nonexistent/a.bmp"};
  EXPECT_FALSE(merge.AddBitmaps(paths, 1));
  EXPECT_FALSE(merge.AddBitmaps(static_cast<const char**>(nullptr), 1));
  EXPECT_TRUE(merge.InitIdentityPalette());
  EXPECT_EQ(merge.GetPalette()->m_nNextFree, 10);
}

TEST(CPaletteManager, OneSharedIdentityPalette) {
  CDibPal* a = CPaletteManager::GetSystemPalette();
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a, CPaletteManager::GetSystemPalette());
  EXPECT_EQ(a->m_bIdentity, 1);
  EXPECT_EQ(a->GetEntryCount(), 256);
}
