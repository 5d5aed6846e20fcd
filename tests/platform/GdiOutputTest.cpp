// What the built-in destinations write, read back the way a reader sees it: page
// counts and sizes (pdfinfo), text positions against measured widths (pdftotext
// -bbox), fonts (pdffonts), PNG pages against poppler's rendering of the same PDF,
// and no file at all after an abort or a failure. Also: any bytes drawn as text.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <random>

#include "HostTestSupport.h"
#include "PrintTestSupport.h"
#include "zevutil/platform/Gdi.h"
#include "zevutil/platform/Print.h"

using namespace zev;
namespace fs = std::filesystem;

namespace {

constexpr double kPt = 72.0 / 600.0;  // points per device unit

HFONT Font(const char* face, int heightUnits, int weight = FW_NORMAL, bool italic = false) {
  return CreateFontA(-heightUnits, 0, 0, 0, weight, italic, 0, 0, DEFAULT_CHARSET, 0, 0, 0, 0x24, face);
}

// A document on a built-in destination; the context is deleted at the end.
struct Doc {
  HDC dc = nullptr;
  Doc(const char* dest, const std::string& output, short paper = DMPAPER_A4, short orient = DMORIENT_PORTRAIT) {
    DEVMODEA dm{};
    dm.dmFields = DM_ORIENTATION | DM_PAPERSIZE;
    dm.dmPaperSize = paper;
    dm.dmOrientation = orient;
    dc = CreateDCA(nullptr, dest, nullptr, &dm);
    DOCINFOA di{sizeof(DOCINFOA), "test document", output.c_str(), nullptr, 0};
    started = dc && StartDocA(dc, &di) > 0;
  }
  ~Doc() { DeleteDC(dc); }
  int End() { return EndDoc(dc); }
  bool started = false;
};

std::vector<std::string> Listing(const std::string& dir) {
  std::vector<std::string> names;
  for (const auto& e : fs::directory_iterator(dir)) names.push_back(e.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

TEST(GdiOutput, PdfPagesHaveThePaperSize) {
  ZEV_NEED_POPPLER();
  zevtest::TempDir dir;
  struct Case {
    short paper, orient;
    int pages;
    const char* size;
  } cases[] = {
      {DMPAPER_A4, 1, 1, "595.32 x 841.92 pts (A4)"},
      {DMPAPER_LETTER, 1, 3, "612 x 792 pts (letter)"},
      {DMPAPER_LETTER, 2, 2, "792 x 612 pts (letter)"},
      {DMPAPER_A5, 2, 1, "595.32 x 419.52 pts"},
      {DMPAPER_LEGAL, 1, 1, "612 x 1008 pts"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.paper) + "/" + std::to_string(c.orient));
    std::string pdf = dir / "paper.pdf";
    {
      Doc doc(kPrintToPdfName, pdf, c.paper, c.orient);
      ASSERT_TRUE(doc.started);
      for (int p = 0; p < c.pages; ++p) {
        ASSERT_GT(StartPage(doc.dc), 0);
        Rectangle(doc.dc, 0, 0, GetDeviceCaps(doc.dc, HORZRES), GetDeviceCaps(doc.dc, VERTRES));
        ASSERT_GT(EndPage(doc.dc), 0);
      }
      ASSERT_GT(doc.End(), 0);
    }
    EXPECT_EQ(zevtest::PdfInfo(pdf, "Pages"), std::to_string(c.pages));
    EXPECT_EQ(zevtest::PdfInfo(pdf, "Page size"), c.size);
  }
  EXPECT_EQ(Listing(dir.path()), std::vector<std::string>{"paper.pdf"});  // no temporary left
}

TEST(GdiOutput, MeasuredWidthIsDrawnWidth) {
  ZEV_NEED_POPPLER();
  zevtest::TempDir dir;
  std::string pdf = dir / "text.pdf";
  struct Case {
    const char* face;
    int weight;
    bool italic;
    const char* word;  // one word, so pdftotext gives one box
  } cases[] = {
      {"Arial", 400, false, "Wavelength"},        {"Arial", 700, false, "AVATAR,Tokyo"},
      {"Courier New", 400, false, "ACGT-ttga"},   {"Times New Roman", 400, true, "Fluorescence"},
      {"Times New Roman", 700, false, "\xB5l\xE9\xE8"},  // code page 1252: µlée
      {"No Such Face 42", 400, false, "Fallback"},
  };
  std::vector<long> extents;
  {
    Doc doc(kPrintToPdfName, pdf);
    ASSERT_TRUE(doc.started);
    StartPage(doc.dc);
    int y = 600;
    for (const Case& c : cases) {
      HFONT f = Font(c.face, 100, c.weight, c.italic);
      HGDIOBJ old = SelectObject(doc.dc, f);
      SIZE s{};
      int n = int(std::strlen(c.word));
      GetTextExtentPoint32A(doc.dc, c.word, n, &s);
      extents.push_back(s.cx);
      // The same word left-aligned at x and right-aligned at x + its width.
      SetTextAlign(doc.dc, TA_LEFT | TA_TOP);
      TextOutA(doc.dc, 600, y, c.word, n);
      SetTextAlign(doc.dc, TA_RIGHT | TA_TOP);
      TextOutA(doc.dc, 3000 + s.cx, y, c.word, n);
      SetTextAlign(doc.dc, TA_CENTER | TA_TOP);
      TextOutA(doc.dc, 4000, y + 150, c.word, n);
      y += 400;
      SelectObject(doc.dc, old);
      DeleteObject(f);
    }
    EndPage(doc.dc);
    ASSERT_GT(doc.End(), 0);
  }
  std::vector<zevtest::PdfWord> words = zevtest::PdfWords(pdf);
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    const Case& c = cases[i];
    SCOPED_TRACE(c.face);
    std::vector<const zevtest::PdfWord*> found;
    for (const zevtest::PdfWord& w : words)
      if (std::fabs(w.yMin - (600 + 400 * int(i)) * kPt) < 12 || std::fabs(w.yMin - (750 + 400 * int(i)) * kPt) < 12)
        found.push_back(&w);
    ASSERT_EQ(found.size(), 3u);
    double width = extents[i] * kPt;
    EXPECT_NEAR(found[0]->xMin, 600 * kPt, 0.05);
    // The right edge carries the rounding of the last glyph's width in the PDF: under a unit.
    EXPECT_NEAR(found[0]->xMax - found[0]->xMin, width, kPt);
    EXPECT_NEAR(found[1]->xMin, 3000 * kPt, 0.05);  // right-aligned: starts where the left one would
    EXPECT_NEAR(found[1]->xMax, (3000 + extents[i]) * kPt, kPt);
    EXPECT_NEAR((found[2]->xMin + found[2]->xMax) / 2, 4000 * kPt, 0.1);
  }
  EXPECT_NE(zevtest::FindWord(words, "\xC2\xB5l\xC3\xA9\xC3\xA8"), nullptr);  // µlée read back as UTF-8

  std::string fonts = zevtest::Run("pdffonts '" + pdf + "' 2>/dev/null");
  for (const char* face : {"LiberationSans", "LiberationSans-Bold", "LiberationMono", "LiberationSerif-Italic",
                           "LiberationSerif-Bold"})
    EXPECT_NE(fonts.find(std::string("+") + face + " "), std::string::npos) << face << "\n" << fonts;
}

TEST(GdiOutput, FontMetricsBehave) {
  HDC dc = CreateDCA(nullptr, kPrintToPdfName, nullptr, nullptr);
  ASSERT_NE(dc, nullptr);
  auto width = [&](const char* face, const char* s, int height = 100, int weight = 400) {
    HFONT f = Font(face, height, weight);
    HGDIOBJ old = SelectObject(dc, f);
    SIZE sz{};
    GetTextExtentPoint32A(dc, s, int(std::strlen(s)), &sz);
    SelectObject(dc, old);
    DeleteObject(f);
    return sz.cx;
  };
  EXPECT_EQ(width("Courier New", "iiii"), width("Courier New", "MMMM"));  // fixed pitch
  EXPECT_LT(width("Arial", "iiii"), width("Arial", "MMMM"));
  EXPECT_GT(width("Arial", "Bold", 100, 700), width("Arial", "Bold", 100, 400));
  EXPECT_EQ(width("Arial", "ab") + width("Arial", "cd"), width("Arial", "abcd"));  // no kerning
  EXPECT_EQ(width("Arial", "AV") + width("Arial", "A"), width("Arial", "AVA"));
  EXPECT_NEAR(width("Arial", "abcdefghij", 200), 2 * width("Arial", "abcdefghij", 100), 10);
  // Liberation Mono: 0.6 em per character.
  EXPECT_NEAR(width("Courier New", "0123456789", 100), 600, 10);

  struct Case {
    int height;
    int tmMin, tmMax;
  } cases[] = {{-100, 110, 120}, {100, 99, 101}, {0, 90, 100}, {-1, 1, 3}, {-2000000000, 20000, 24000}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.height);
    HFONT f = CreateFontA(c.height, 0, 0, 0, 400, 0, 0, 0, 1, 0, 0, 0, 0, "Arial");
    HGDIOBJ old = SelectObject(dc, f);
    TEXTMETRICA tm{};
    ASSERT_TRUE(GetTextMetricsA(dc, &tm));
    EXPECT_GE(tm.tmHeight, c.tmMin);
    EXPECT_LE(tm.tmHeight, c.tmMax);
    EXPECT_EQ(tm.tmHeight, tm.tmAscent + tm.tmDescent);
    SIZE sz{};
    GetTextExtentPoint32A(dc, "X", 1, &sz);
    EXPECT_EQ(sz.cy, tm.tmHeight);
    SelectObject(dc, old);
    DeleteObject(f);
  }
  DeleteDC(dc);
}

TEST(GdiOutput, PngPagesMatchThePdfRendering) {
  ZEV_NEED_POPPLER();
  if (!zevtest::HaveTool("python3")) GTEST_SKIP() << "python3 is needed to read PNG pages";
  zevtest::TempDir dir;
  const int dpi = 36;
  SetPngOutputDpi(dpi);
  auto draw = [](HDC dc, int page) {
    StartPage(dc);
    HFONT f = Font("Arial", 200, FW_BOLD);
    SelectObject(dc, f);
    TextOutA(dc, 700, 900, page == 1 ? "First page" : "Second", page == 1 ? 10 : 6);
    HBRUSH black = static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH));
    RECT box{3000, 5000 + 300 * page, 3600, 5600 + 300 * page};
    FillRect(dc, &box, black);
    // Clipped text may not reach past its rectangle.
    RECT clip{600, 2000, 1200, 2300};
    ExtTextOutA(dc, 600, 2000, ETO_CLIPPED, &clip, "WWWWWWWWWWWWWWWWWWWW", 20, nullptr);
    HBITMAP logo = LoadBitmapA(nullptr, MAKEINTRESOURCE(IDB_ZEV_LOGO));
    DrawBitmap(dc, 300, 300, 300, 300, logo);
    DeleteObject(logo);
    SelectObject(dc, GetStockObject(SYSTEM_FONT));
    DeleteObject(f);
    EndPage(dc);
  };
  std::string pngDir = dir / "pages", pdf = dir / "same.pdf";
  for (const char* dest : {kPrintToPngName, kPrintToPdfName}) {
    Doc doc(dest, dest == kPrintToPngName ? pngDir : pdf);
    ASSERT_TRUE(doc.started) << dest;
    draw(doc.dc, 1);
    draw(doc.dc, 2);
    ASSERT_GT(doc.End(), 0);
  }
  SetPngOutputDpi(150);
  EXPECT_EQ(Listing(pngDir), (std::vector<std::string>{"page-1.png", "page-2.png"}));
  zevtest::Run("pdftoppm -r " + std::to_string(dpi) + " -png '" + pdf + "' '" + (dir / "ref") + "'");
  for (int page = 1; page <= 2; ++page) {
    SCOPED_TRACE(page);
    zevtest::InkBox ours = zevtest::PngInk(pngDir + "/page-" + std::to_string(page) + ".png");
    zevtest::InkBox ref = zevtest::PngInk(dir / ("ref-" + std::to_string(page) + ".png"));
    EXPECT_EQ(ours.width, 298);  // A4 at 36 dpi, rounded up as poppler does
    EXPECT_EQ(ours.height, 421);
    EXPECT_EQ(ref.width, ours.width);
    EXPECT_NEAR(ours.x0, ref.x0, 1);
    EXPECT_NEAR(ours.y0, ref.y0, 1);
    EXPECT_NEAR(ours.x1, ref.x1, 1);
    EXPECT_NEAR(ours.y1, ref.y1, 1);
    EXPECT_NEAR(double(ours.ink), double(ref.ink), 0.1 * double(ref.ink));
    // The filled box's bottom right corner is the last ink: (3600, 5600 + 300 page) at 36 dpi.
    EXPECT_NEAR(ours.x1, 3600 * dpi / 600, 1);
    EXPECT_NEAR(ours.y1, (5600 + 300 * page) * dpi / 600, 1);
  }
}

TEST(GdiOutput, AbortAndFailureLeaveNoFile) {
  zevtest::TempDir dir;
  enum Step { kAfterStart, kInPage, kAfterPage, kDeleteOpen };
  for (const char* dest : {kPrintToPdfName, kPrintToPngName}) {
    for (Step step : {kAfterStart, kInPage, kAfterPage, kDeleteOpen}) {
      SCOPED_TRACE(std::string(dest) + " step " + std::to_string(step));
      std::string out = dir / "out";
      Doc doc(dest, out);
      ASSERT_TRUE(doc.started);
      if (step != kAfterStart) {
        StartPage(doc.dc);
        TextOutA(doc.dc, 100, 100, "gone", 4);
        if (step != kInPage) EndPage(doc.dc);
      }
      if (step == kDeleteOpen) {
        DeleteDC(doc.dc);
        doc.dc = nullptr;
      } else {
        EXPECT_GT(AbortDoc(doc.dc), 0);
        EXPECT_LT(EndDoc(doc.dc), 0);  // nothing left to end
      }
      std::vector<std::string> left = Listing(dir.path());
      if (dest == kPrintToPngName && !left.empty()) {
        EXPECT_EQ(left, std::vector<std::string>{"out"});  // the folder, empty
        EXPECT_TRUE(Listing(out).empty());
        fs::remove_all(out);
      } else {
        EXPECT_TRUE(left.empty());
      }
    }
  }
  // Failures to start: a folder that is not there, no output name, a file as a PNG folder.
  struct Case {
    const char* dest;
    std::string output;
  } bad[] = {{kPrintToPdfName, dir / "missing/sub/x.pdf"},
             {kPrintToPdfName, ""},
             {kPrintToPngName, ""},
             {kPrintToPngName, dir / "afile"}};
  zevtest::WriteBytes(dir / "afile", "x");
  for (const Case& c : bad) {
    SCOPED_TRACE(c.output);
    Doc doc(c.dest, c.output);
    EXPECT_FALSE(doc.started);
  }
  EXPECT_EQ(Listing(dir.path()), std::vector<std::string>{"afile"});
}

TEST(GdiOutput, DrawingOutsidePagesIsDropped) {
  ZEV_NEED_POPPLER();
  zevtest::TempDir dir;
  std::string pdf = dir / "range.pdf";
  {
    Doc doc(kPrintToPdfName, pdf);
    ASSERT_TRUE(doc.started);
    HFONT f = Font("Arial", 100);
    SelectObject(doc.dc, f);
    for (int page = 1; page <= 5; ++page) {
      bool inRange = page == 3 || page == 4;
      std::string text = "page" + std::to_string(page);
      if (inRange) StartPage(doc.dc);
      TextOutA(doc.dc, 600, 600, text.c_str(), int(text.size()));  // laid out on every page
      if (inRange) EndPage(doc.dc);
    }
    SelectObject(doc.dc, GetStockObject(SYSTEM_FONT));
    DeleteObject(f);
    ASSERT_GT(doc.End(), 0);
  }
  EXPECT_EQ(zevtest::PdfInfo(pdf, "Pages"), "2");
  std::vector<zevtest::PdfWord> words = zevtest::PdfWords(pdf);
  ASSERT_EQ(words.size(), 2u);
  EXPECT_EQ(words[0].text, "page3");
  EXPECT_EQ(words[0].page, 1);
  EXPECT_EQ(words[1].text, "page4");
  EXPECT_EQ(words[1].page, 2);
}

TEST(GdiOutput, AnyBytesDrawAsText) {
  zevtest::TempDir dir;
  std::string pdf = dir / "bytes.pdf";
  std::mt19937 rng(12);
  {
    Doc doc(kPrintToPdfName, pdf);
    ASSERT_TRUE(doc.started);
    StartPage(doc.dc);
    const int heights[] = {-100, 0, 1, -1, 40000, -2147483647 - 1, 2147483647};
    const char* faces[] = {"Arial", "", "\xFF\xFE bad face \x01", "Courier New"};
    for (int i = 0; i < 200; ++i) {
      std::string s(std::size_t(rng() % 600), '\0');
      for (char& ch : s) ch = char(rng() & 0xFF);
      HFONT f = CreateFontA(heights[i % 7], 0, 0, 0, int(rng() % 1200) - 100, i & 1, i & 2, i & 4, 1, 0, 0, 0, 0,
                            faces[i % 4]);
      HGDIOBJ old = SelectObject(doc.dc, f);
      SetTextAlign(doc.dc, UINT(rng() % 32));
      SetTextCharacterExtra(doc.dc, int(rng() % 5) - 2);
      SIZE sz{};
      EXPECT_TRUE(GetTextExtentPoint32A(doc.dc, s.data(), int(s.size()), &sz));
      RECT clip{int(rng() % 5000) - 100, int(rng() % 7000), int(rng() % 5000), int(rng() % 7000)};
      TextOutA(doc.dc, int(rng() % 6000) - 500, int(rng() % 8000) - 500, s.data(), int(s.size()));
      ExtTextOutA(doc.dc, int(rng() % 5000), int(rng() % 7000), ETO_CLIPPED | ETO_OPAQUE, &clip, s.data(),
                  UINT(s.size()), nullptr);
      SelectObject(doc.dc, old);
      DeleteObject(f);
    }
    EXPECT_FALSE(TextOutA(doc.dc, 0, 0, nullptr, 5));
    EXPECT_FALSE(TextOutA(doc.dc, 0, 0, "x", -1));
    EndPage(doc.dc);
    ASSERT_GT(doc.End(), 0);
  }
  if (zevtest::HaveTool("pdfinfo")) {
    int rc = -1;
    EXPECT_EQ(zevtest::PdfInfo(pdf, "Pages", &rc), "1");
    EXPECT_EQ(rc, 0);
  }
}

TEST(GdiOutput, ExtremeCoordinatesAreSafe) {
  zevtest::TempDir dir;
  Doc doc(kPrintToPdfName, dir / "extreme.pdf");
  ASSERT_TRUE(doc.started);
  StartPage(doc.dc);
  HDC mem = CreateCompatibleDC(doc.dc);
  HBITMAP logo = LoadBitmapA(nullptr, MAKEINTRESOURCE(IDB_ZEV_LOGO));
  HGDIOBJ oldBmp = SelectObject(mem, logo);
  const int big = 2147483647, small = -2147483647 - 1;
  const int values[] = {small, -1, 0, 1, 3000, big};
  for (int mode : {MM_TEXT, MM_TWIPS}) {
    SetMapMode(doc.dc, mode);
    for (int a : values) {
      for (int b : values) {
        SCOPED_TRACE(std::to_string(mode) + ": " + std::to_string(a) + ", " + std::to_string(b));
        EXPECT_TRUE(Rectangle(doc.dc, a, b, b, a));
        EXPECT_TRUE(RoundRect(doc.dc, a, a, b, b, a, b));
        EXPECT_TRUE(Ellipse(doc.dc, b, a, a, b));
        EXPECT_TRUE(StretchBlt(doc.dc, a, b, a, b, mem, b, a, b, a, SRCCOPY));
        EXPECT_TRUE(BitBlt(doc.dc, a, b, b, a, mem, a, b, SRCCOPY));
        RECT r{a, b, b, a};
        EXPECT_TRUE(DrawEdge(doc.dc, &r, EDGE_SUNKEN, BF_RECT | BF_ADJUST));
        EXPECT_TRUE(MoveToEx(doc.dc, a, b, nullptr));
        EXPECT_TRUE(LineTo(doc.dc, b, a));
        SetTextAlign(doc.dc, TA_UPDATECP | TA_RIGHT);
        EXPECT_TRUE(TextOutA(doc.dc, a, b, "xyz", 3));
        SetTextAlign(doc.dc, TA_LEFT);
        IntersectClipRect(doc.dc, a, b, b, a);
        EXPECT_TRUE(ExtTextOutA(doc.dc, a, b, ETO_CLIPPED, &r, "clip", 4, nullptr));
        SelectClipRgn(doc.dc, nullptr);
        POINT p{a, b};
        DPtoLP(doc.dc, &p, 1);
        LPtoDP(doc.dc, &p, 1);
        CRect cr(a, b, b, a);
        (void)cr.Width(), (void)cr.Height();
      }
    }
  }
  SelectObject(mem, oldBmp);
  DeleteObject(logo);
  DeleteDC(mem);
  EndPage(doc.dc);
  EXPECT_GT(doc.End(), 0);
}
