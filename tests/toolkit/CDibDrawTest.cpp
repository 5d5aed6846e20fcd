// Bitmaps on devices: CDib drawing, StretchDIBits and CreateDIBitmap map indices through
// the colour table; the built-in logo and registered resources load through the BMP
// decoder. The test device records each blit's pixels as colours.
#include <gtest/gtest.h>

#include <vector>

#include "zevutil/CDib.h"

using namespace zev;

namespace {

// A test context with an open page, so that blits draw.
struct PageDC {
  PageDC() : dc(CreateTestDC(TestDeviceOptions{})) {
    CDC::FromHandle(dc)->StartDoc("bitmaps");
    CDC::FromHandle(dc)->StartPage();
  }
  ~PageDC() { DeleteDC(dc); }
  const TestDrawCall& LastBlt() const {
    static const TestDrawCall none;
    auto log = GetTestDeviceLog(dc);
    for (auto it = log->calls.rbegin(); it != log->calls.rend(); ++it)
      if (it->kind == TestDrawCall::kBlt) return *it;
    return none;
  }
  HDC dc;
};

// Every pixel of the image as the table gives it, rows from the top.
std::vector<COLORREF> ColoursOf(const CDib& dib, int top = 0, int rows = -1) {
  std::vector<COLORREF> out;
  if (rows < 0) rows = dib.GetHeight();
  for (int y = top; y < top + rows; ++y)
    for (int x = 0; x < dib.GetWidth(); ++x) out.push_back(dib.GetPixelColor(x, y));
  return out;
}

// Width x height, value (x + 2y) mod the table, over a table of distinct colours.
CDib Pattern(int width, int height, int colours, UINT usage = DIB_RGB_COLORS) {
  CDib dib;
  EXPECT_TRUE(dib.Create(width, height, colours, usage));
  if (usage == DIB_RGB_COLORS)
    for (int i = 0; i < colours; ++i) dib.GetColorTable()[i] = QRGB(BYTE(40 * i + 3), BYTE(255 - 30 * i), BYTE(7 * i));
  else
    for (int i = 0; i < colours; ++i) dib.GetIndexTable()[i] = WORD(250 - i);  // the palette's top entries
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) *dib.GetPixelAddress(x, y) = BYTE((x + 2 * y) % colours);
  return dib;
}

}  // namespace

TEST(CDibDraw, DrawingMapsEveryIndexThroughTheTable) {
  struct Case {
    const char* name;
    CDib dib;
  } cases[] = {
      {"colour table, odd width", Pattern(5, 3, 4)},
      {"index table through the system palette", Pattern(6, 2, 3, DIB_PAL_COLORS)},
      {"one entry", Pattern(1, 1, 1)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    PageDC page;
    ASSERT_TRUE(c.dib.Draw(page.dc, CRect(100, 200, 150, 230)));
    const TestDrawCall& call = page.LastBlt();
    EXPECT_EQ(CRect(call.x, call.y, call.x2, call.y2), CRect(100, 200, 150, 230));
    EXPECT_EQ(call.srcWidth, c.dib.GetWidth());
    EXPECT_EQ(call.srcHeight, c.dib.GetHeight());
    EXPECT_EQ(call.pixels, ColoursOf(c.dib));

    // The same through a bitmap object in a memory context.
    HBITMAP bmp = c.dib.CreateBitmap();
    ASSERT_NE(bmp, nullptr);
    BITMAP bm{};
    ASSERT_EQ(GetObjectA(bmp, sizeof bm, &bm), int(sizeof bm));
    EXPECT_EQ(bm.bmBitsPixel, 8);
    EXPECT_EQ(bm.bmWidthBytes, LONG(c.dib.GetStorageWidth()));
    HDC mem = CreateCompatibleDC(page.dc);
    SelectObject(mem, bmp);
    ASSERT_TRUE(StretchBlt(page.dc, 0, 0, 10, 10, mem, 0, 0, c.dib.GetWidth(), c.dib.GetHeight(), SRCCOPY));
    EXPECT_EQ(page.LastBlt().pixels, ColoursOf(c.dib));
    DeleteDC(mem);
    DeleteObject(bmp);
  }
  PageDC page;
  EXPECT_FALSE(CDib().Draw(page.dc, CRect(0, 0, 5, 5)));
  EXPECT_EQ(CDib().CreateBitmap(), nullptr);
}

TEST(CDibDraw, StretchDIBitsCountsSourceRowsFromTheBottomOfABottomUpImage) {
  CDib dib = Pattern(4, 6, 5);
  CDib::DibInfo info{};
  dib.DrawingInfo(info);
  const auto* bmi = reinterpret_cast<const BITMAPINFO*>(&info);
  struct Case {
    const char* name;
    int ySrc, hSrc;
    int topRow;  // the first row drawn, counted from the top
  } cases[] = {{"bottom two rows", 0, 2, 4}, {"top two rows", 4, 2, 0}, {"middle row", 2, 1, 3}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    PageDC page;
    EXPECT_EQ(StretchDIBits(page.dc, 0, 0, 40, 40, 0, c.ySrc, 4, c.hSrc, dib.GetBits(), bmi, DIB_RGB_COLORS, SRCCOPY),
              c.hSrc);
    EXPECT_EQ(page.LastBlt().pixels, ColoursOf(dib, c.topRow, c.hSrc));
  }

  // Layouts the device layer does not draw.
  PageDC page;
  EXPECT_EQ(StretchDIBits(page.dc, 0, 0, 4, 4, 0, 0, 4, 6, dib.GetBits(), bmi, DIB_PAL_COLORS, SRCCOPY), 0);
  CDib::DibInfo deep = info;
  deep.header.biBitCount = 24;
  EXPECT_EQ(StretchDIBits(page.dc, 0, 0, 4, 4, 0, 0, 4, 6, dib.GetBits(), reinterpret_cast<const BITMAPINFO*>(&deep),
                          DIB_RGB_COLORS, SRCCOPY),
            0);
  EXPECT_EQ(StretchDIBits(nullptr, 0, 0, 4, 4, 0, 0, 4, 6, dib.GetBits(), bmi, DIB_RGB_COLORS, SRCCOPY), 0);
  EXPECT_EQ(CreateDIBitmap(nullptr, &deep.header, CBM_INIT, dib.GetBits(), bmi, DIB_RGB_COLORS), nullptr);

  // Without CBM_INIT the pixels are all index 0.
  HBITMAP blank = CreateDIBitmap(nullptr, &info.header, 0, nullptr, bmi, DIB_RGB_COLORS);
  ASSERT_NE(blank, nullptr);
  HDC mem = CreateCompatibleDC(page.dc);
  SelectObject(mem, blank);
  BitBlt(page.dc, 0, 0, 4, 6, mem, 0, 0, SRCCOPY);
  EXPECT_EQ(page.LastBlt().pixels, std::vector<COLORREF>(24, dib.GetTableColor(0)));
  DeleteDC(mem);
  DeleteObject(blank);
}

TEST(CDibDraw, BitmapResourcesLoadThroughTheBmpDecoder) {
  // The built-in logo: the same image through LoadBitmapA and CDib, drawn from its table.
  CDib logo;
  ASSERT_TRUE(logo.LoadResource(IDB_ZEV_LOGO));
  EXPECT_EQ(logo.GetWidth(), 64);
  EXPECT_EQ(logo.GetHeight(), 64);
  CBitmap bitmap;
  ASSERT_TRUE(bitmap.LoadBitmap(IDB_ZEV_LOGO));
  PageDC page;
  ASSERT_TRUE(DrawBitmap(page.dc, 0, 0, 64, 64, bitmap));
  EXPECT_EQ(page.LastBlt().pixels, ColoursOf(logo));

  // A registered resource is found by both, replaced when registered again, and gone
  // when removed; bytes that are no BMP load as nothing.
  constexpr UINT kId = 0x3001;
  std::vector<BYTE> bytes;
  ASSERT_TRUE(Pattern(3, 2, 2).WriteBmp(bytes));
  CDib::RegisterBitmapResource(kId, bytes.data(), bytes.size());
  struct Step {
    const char* name;
    int width;  // 0: nothing loads
  };
  std::vector<BYTE> wider;
  ASSERT_TRUE(Pattern(7, 2, 2).WriteBmp(wider));
  const BYTE junk[] = {'B', 'M', 1, 2, 3};
  for (const Step& s : {Step{"registered", 3}, Step{"registered again", 7}, Step{"not a bitmap", 0},
                        Step{"removed", 0}}) {
    SCOPED_TRACE(s.name);
    if (s.width == 7) RegisterBitmapResource(kId, wider.data(), wider.size());
    if (s.name[0] == 'n') RegisterBitmapResource(kId, junk, sizeof junk);
    if (s.name[0] == 'r' && s.width == 0) RegisterBitmapResource(kId, nullptr, 0);
    HBITMAP h = LoadBitmapA(nullptr, MAKEINTRESOURCE(int(kId)));
    CDib dib;
    EXPECT_EQ(dib.LoadResource(kId), s.width != 0);
    EXPECT_EQ(h != nullptr, s.width != 0);
    if (!h) continue;
    BITMAP bm{};
    GetObjectA(h, sizeof bm, &bm);
    EXPECT_EQ(bm.bmWidth, s.width);
    EXPECT_EQ(dib.GetWidth(), s.width);
    DeleteObject(h);
  }
  EXPECT_EQ(LoadBitmapA(nullptr, MAKEINTRESOURCE(0x2AFB)), nullptr);
  EXPECT_EQ(LoadBitmapA(nullptr, "IDB_ZEV_LOGO"), nullptr);  // only numbered resources exist
}
