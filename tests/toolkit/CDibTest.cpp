// 8-bit bitmaps: pixel addressing, colour lookup, palette matching and colour
// replacement on both kinds of colour table.
#include <gtest/gtest.h>

#include <vector>

#include "zevutil/CDib.h"

using namespace zev;

namespace {

void FreshSystemPalette() { ASSERT_TRUE(CPaletteManager::GetSystemPalette()->CreateEmptyIdentityPalette()); }

// A width x height image whose table holds the colours given, all pixels at fill.
CDib MakeDib(int width, int height, std::vector<COLORREF> colours, BYTE fill = 0) {
  CDib dib;
  EXPECT_TRUE(dib.Create(width, height, int(colours.size())));
  for (std::size_t i = 0; i < colours.size(); ++i)
    dib.GetColorTable()[i] = QRGB(GetRValue(colours[i]), GetGValue(colours[i]), GetBValue(colours[i]));
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) *dib.GetPixelAddress(x, y) = fill;
  return dib;
}

}  // namespace

TEST(CDib, StorageWidthPadsRowsToFourBytes) {
  const std::pair<int, DWORD> cases[] = {{1, 4}, {3, 4}, {4, 4}, {5, 8}, {8, 8}, {9, 12}, {1023, 1024}};
  for (auto [width, stride] : cases) {
    SCOPED_TRACE(width);
    CDib dib;
    ASSERT_TRUE(dib.Create(width, 2, 0));
    EXPECT_EQ(dib.GetStorageWidth(), stride);
    EXPECT_EQ(dib.GetBitsSize(), std::size_t(stride) * 2);
  }
}

TEST(CDib, PixelAddressCountsRowsFromTheTopOverBottomUpStorage) {
  CDib dib;
  ASSERT_TRUE(dib.Create(5, 3, 2));  // stride 8
  for (std::size_t i = 0; i < dib.GetBitsSize(); ++i) dib.GetBits()[i] = BYTE(i);
  struct Case {
    int x, y;
    long offset;  // -1: no address
  } cases[] = {
      {0, 0, 16}, {4, 0, 20}, {0, 2, 0}, {4, 2, 4}, {2, 1, 10},        // rows stored bottom up
      {5, 0, -1}, {0, 3, -1}, {5, 3, -1}, {-1, 0, -1}, {0, -1, -1},  // outside
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << "(" << c.x << "," << c.y << ")");
    BYTE* p = dib.GetPixelAddress(c.x, c.y);
    if (c.offset < 0) {
      EXPECT_EQ(p, nullptr);
      EXPECT_EQ(dib.GetPixelValue(c.x, c.y), 0);
      EXPECT_EQ(dib.GetPixelColor(c.x, c.y), 0u);
    } else {
      EXPECT_EQ(p, dib.GetBits() + c.offset);
      EXPECT_EQ(dib.GetPixelValue(c.x, c.y), BYTE(c.offset));
    }
  }
  CDib empty;
  EXPECT_EQ(empty.GetPixelAddress(0, 0), nullptr);
}

TEST(CDib, PixelColorComesFromTheTableWithRedLow) {
  CDib dib = MakeDib(2, 2, {RGB(1, 2, 3), RGB(200, 100, 50)});
  *dib.GetPixelAddress(1, 0) = 1;
  *dib.GetPixelAddress(0, 1) = 7;  // beyond the table
  EXPECT_EQ(dib.GetPixelColor(0, 0), 0x030201u);
  EXPECT_EQ(dib.GetPixelColor(1, 0), 0x3264C8u);
  EXPECT_EQ(dib.GetPixelColor(0, 1), 0u);
}

TEST(CDib, ColorIndexAndNearestColorIndex) {
  // Entries 1 and 3 are equal; 10,0,0 and 0,10,0 are equally far from black.
  CDib dib = MakeDib(1, 1, {RGB(10, 0, 0), RGB(50, 50, 50), RGB(0, 10, 0), RGB(50, 50, 50)});
  struct Case {
    const char* name;
    COLORREF colour;
    int exact, nearest;
  } cases[] = {
      {"first of two equal entries", RGB(50, 50, 50), 1, 1},
      {"absent, equally near entries 0 and 2", RGB(0, 0, 0), -1, 0},
      {"absent, nearest the grey", RGB(45, 52, 49), -1, 1},
      {"high byte ignored", 0xFF00000Au, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(dib.GetColorIndex(c.colour), c.exact);
    EXPECT_EQ(dib.GetNearestColorIndex(c.colour), c.nearest);
  }
  CDib empty, noTable;
  ASSERT_TRUE(noTable.Create(2, 2, 0));
  EXPECT_EQ(empty.GetColorIndex(0), -1);
  EXPECT_EQ(empty.GetNearestColorIndex(0), -1);
  EXPECT_EQ(noTable.GetColorIndex(0), -1);
  EXPECT_EQ(noTable.GetNearestColorIndex(0), 0);
}

TEST(CDib, ColorsUsedCountsTableEntriesThatPixelsUse) {
  CDib dib = MakeDib(3, 2, {0, 1, 2, 3, 4}, 2);
  *dib.GetPixelAddress(0, 0) = 4;
  *dib.GetPixelAddress(1, 1) = 9;  // not a table entry
  dib.GetBits()[3] = 1;            // padding byte: not a pixel
  int used[256];
  EXPECT_EQ(dib.GetColorsUsed(used), 2);
  EXPECT_EQ(std::vector<int>(used, used + 6), (std::vector<int>{0, 0, 1, 0, 1, 0}));
  EXPECT_EQ(used[9], 0);
}

TEST(MatchPaletteEntry, FirstEqualEntryWithoutFlags) {
  PALETTEENTRY entries[] = {{1, 2, 3, 0}, {9, 8, 7, 4}, {4, 5, 6, 0}, {9, 8, 7, 0}};
  struct Case {
    const char* name;
    PALETTEENTRY colour;
    int result, index;
  } cases[] = {
      {"first of two", {9, 8, 7, 0}, 1, 1},
      {"flags not compared", {4, 5, 6, 1}, 1, 2},
      {"absent", {3, 2, 1, 0}, 0, 0},
  };
  CPalette pal;
  std::vector<BYTE> mem(sizeof(LOGPALETTE) + 3 * sizeof(PALETTEENTRY));
  auto* log = reinterpret_cast<LOGPALETTE*>(mem.data());
  log->palVersion = 0x300;
  log->palNumEntries = 4;
  std::copy(std::begin(entries), std::end(entries), log->palPalEntry);
  ASSERT_TRUE(pal.CreatePalette(log));
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    int index = 77;
    EXPECT_EQ(MatchPaletteEntry(entries, 4, c.colour, index), c.result);
    EXPECT_EQ(index, c.index);
    // The RGBQUAD forms read blue first.
    RGBQUAD q = QRGB(c.colour.peRed, c.colour.peGreen, c.colour.peBlue);
    EXPECT_EQ(q.rgbBlue, c.colour.peBlue);
    index = 77;
    EXPECT_EQ(MatchPaletteEntry(entries, 4, q, index), c.result);
    EXPECT_EQ(index, c.index);
    index = 77;
    EXPECT_EQ(MatchPaletteEntry(&pal, q, index), c.result);
    EXPECT_EQ(index, c.index);
  }
  int index = 5;
  EXPECT_EQ(MatchPaletteEntry(static_cast<CPalette*>(nullptr), QRGB(1, 2, 3), index), 0);
  EXPECT_EQ(index, 0);
  // A colour whose red and blue are swapped is a different colour.
  EXPECT_EQ(MatchPaletteEntry(entries, 4, RGBQUAD{1, 2, 3, 0}, index), 0);
}

TEST(CDib, ReplaceColorCountsPixelsAndReportsTheExchangedRectangle) {
  FreshSystemPalette();
  const COLORREF kRed = RGB(255, 0, 0), kGreen = RGB(0, 255, 0), kBlue = RGB(0, 0, 255);
  struct Pixel {
    int x, y;
    BYTE v;
  };
  struct Case {
    const char* name;
    int width, height;
    std::vector<Pixel> pixels;  // on a background of index 0 (black)
    COLORREF oldColour;
    int exactOld;
    BOOL result;
    DWORD count;
    CRect rect;
  } cases[] = {
      // Stored rows 3 and 1, columns 1 and 4: left 1, top 4-1-1, right 3, bottom 4-4-1.
      {"two pixels", 6, 4, {{1, 0, 1}, {4, 2, 1}}, kRed, 1, 1, 2, CRect(1, 2, 3, -1)},
      {"one pixel at the top left", 6, 4, {{0, 0, 1}}, kRed, 1, 1, 1, CRect(3, 3, 3, 3)},
      // The lowest row starts at the width: a match on stored row 5 of a 2-wide image
      // leaves it at 2.
      {"tall and narrow", 2, 10, {{0, 4, 1}}, kRed, 1, 1, 1, CRect(2, 9, 5, 9)},
      {"no such pixel", 6, 4, {}, kRed, 1, 1, 0, CRect()},
      {"absent old colour, exact", 6, 4, {{1, 1, 1}}, RGB(1, 2, 3), 1, 0, 0, CRect()},
      // Not exact: the nearest entry (black, index 0) is replaced.
      {"absent old colour, nearest", 3, 2, {{1, 1, 1}}, RGB(1, 2, 3), 0, 1, 5, CRect(0, 1, 1, -1)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CDib dib = MakeDib(c.width, c.height, {0, kRed, kGreen, kBlue});
    for (const Pixel& p : c.pixels) *dib.GetPixelAddress(p.x, p.y) = p.v;
    DWORD count = 99;
    CRect rect(7, 7, 9, 9);
    EXPECT_EQ(dib.ReplaceColor(c.oldColour, kBlue, count, rect, c.exactOld, 0), c.result);
    EXPECT_EQ(count, c.count);
    EXPECT_EQ(rect, c.rect);
    if (c.result && c.count && c.oldColour == kRed) {
      for (const Pixel& p : c.pixels) EXPECT_EQ(dib.GetPixelValue(p.x, p.y), 3);
    }
  }
}

TEST(CDib, ReplaceColorAlsoRewritesPaddingWithoutCountingIt) {
  FreshSystemPalette();
  CDib dib = MakeDib(5, 2, {0, RGB(255, 0, 0)});  // stride 8: three padding bytes a row
  DWORD count = 0;
  CRect rect;
  ASSERT_TRUE(dib.ReplaceColor(0, RGB(255, 0, 0), count, rect, 1, 0));
  EXPECT_EQ(count, 10u);
  for (std::size_t i = 0; i < dib.GetBitsSize(); ++i) EXPECT_EQ(dib.GetBits()[i], 1) << i;
}

TEST(CDib, ReplaceColorFindsANewColourThroughTheSystemPalette) {
  // Table: black, red, green, yellow-ish; the pixels use entries 1 and 2.
  struct Case {
    const char* name;
    COLORREF newColour;
    int mergeNew;
    BOOL result;
    int newIndex;        // pixel value of former red pixels
    COLORREF tableColor;  // table colour at newIndex afterwards
  } cases[] = {
      {"in the table already", RGB(0, 255, 0), 0, 1, 2, RGB(0, 255, 0)},
      // A stock colour at system entry 3, which the image does not use: written there.
      {"system entry free in the image", RGB(128, 128, 0), 0, 1, 3, RGB(128, 128, 0)},
      // System entry 1 is used by the image: entry 0 is overwritten instead.
      {"system entry used in the image", RGB(128, 0, 0), 0, 1, 0, RGB(128, 0, 0)},
      {"not in the system palette", RGB(10, 20, 30), 0, 0, 1, RGB(255, 0, 0)},
      // Merged at system entry 10, beyond the table of 4: entry 0 again.
      {"merged into the system palette", RGB(10, 20, 30), 1, 1, 0, RGB(10, 20, 30)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    FreshSystemPalette();
    CDib dib = MakeDib(4, 3, {0, RGB(255, 0, 0), RGB(0, 255, 0), RGB(9, 9, 9)}, 2);
    *dib.GetPixelAddress(1, 1) = 1;
    *dib.GetPixelAddress(2, 2) = 1;
    DWORD count = 0;
    CRect rect;
    EXPECT_EQ(dib.ReplaceColor(RGB(255, 0, 0), c.newColour, count, rect, 1, c.mergeNew), c.result);
    EXPECT_EQ(count, c.result ? 2u : 0u);
    EXPECT_EQ(dib.GetPixelValue(1, 1), c.newIndex);
    EXPECT_EQ(dib.GetTableColor(c.newIndex), c.tableColor);
  }
  int used = CPaletteManager::GetSystemPalette()->m_used[10];
  EXPECT_EQ(used, 1);
  FreshSystemPalette();
}

TEST(CDib, ReplaceColorInAnIndexTableUsesSystemPalettePositions) {
  // The identity palette holds dark red at 1, the cube's (42,36,255) at 16 and white
  // at 255; the pixels hold palette positions.
  const COLORREF kDarkRed = RGB(128, 0, 0), kCube16 = RGB(42, 36, 255);
  struct Case {
    const char* name;
    COLORREF oldColour, newColour;
    int exactOld, mergeNew;
    BOOL result;
    DWORD count;
  } cases[] = {
      {"to an entry past the table: it grows for the call", kDarkRed, kCube16, 1, 0, 1, 3},
      {"beyond twice the entries", kDarkRed, RGB(255, 255, 255), 1, 0, 0, 0},
      {"inexact old, exact wanted", RGB(120, 0, 0), kCube16, 1, 0, 0, 0},
      {"inexact old taken as nearest", RGB(120, 0, 0), kCube16, 0, 0, 1, 3},
      {"inexact new refused", kDarkRed, RGB(42, 36, 250), 1, 0, 0, 0},
      {"inexact new taken as nearest", kDarkRed, RGB(42, 36, 250), 1, 1, 1, 3},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    FreshSystemPalette();
    CDib dib;
    ASSERT_TRUE(dib.Create(4, 2, 16, DIB_PAL_COLORS));
    *dib.GetPixelAddress(0, 0) = 1;
    *dib.GetPixelAddress(3, 0) = 1;
    *dib.GetPixelAddress(3, 1) = 1;
    DWORD count = 0;
    CRect rect;
    EXPECT_EQ(dib.ReplaceColor(c.oldColour, c.newColour, count, rect, c.exactOld, c.mergeNew), c.result);
    EXPECT_EQ(count, c.count);
    EXPECT_EQ(dib.GetNumColors(), 16);
    EXPECT_EQ(dib.GetPixelValue(3, 1), c.count ? 16 : 1);
    if (c.count) {
      EXPECT_EQ(rect, CRect(0, 1, 1, -2));
    }
  }
}
