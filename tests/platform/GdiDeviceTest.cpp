// Device contexts without output: units per paper and orientation, the system paper,
// destinations by name, drawing objects and their lifetimes, the context state, the
// fixed-cell test device and its log, and the floating-point control word.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "HostTestSupport.h"
#include "zevutil/platform/Gdi.h"
#include "zevutil/platform/Host.h"
#include "zevutil/platform/Print.h"

using namespace zev;

namespace {

// Sets an environment variable for the scope of a test.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const char* value) : m_name(name) {
    if (const char* old = std::getenv(name)) m_old = old, m_had = true;
    if (value) ::setenv(name, value, 1);
    else ::unsetenv(name);
  }
  ~ScopedEnv() {
    if (m_had) ::setenv(m_name.c_str(), m_old.c_str(), 1);
    else ::unsetenv(m_name.c_str());
  }

 private:
  std::string m_name, m_old;
  bool m_had = false;
};

DEVMODEA Mode(short paper, short orientation) {
  DEVMODEA dm{};
  dm.dmSize = sizeof(dm);
  dm.dmFields = DM_ORIENTATION | DM_COPIES;  // as callers narrow it: the paper still counts
  dm.dmPaperSize = paper;
  dm.dmOrientation = orientation;
  dm.dmCopies = 1;
  return dm;
}

}  // namespace

TEST(GdiDevice, UnitsFollowPaperAndOrientation) {
  ScopedEnv size("PAPERSIZE", "a4");
  struct Case {
    short paper, orient;
    int hres, vres, hmm, vmm;
  } cases[] = {
      {DMPAPER_A4, 1, 4961, 7016, 210, 297},   {DMPAPER_A4, 2, 7016, 4961, 297, 210},
      {DMPAPER_LETTER, 1, 5100, 6600, 216, 279}, {DMPAPER_LETTER, 2, 6600, 5100, 279, 216},
      {DMPAPER_LEGAL, 1, 5100, 8400, 216, 356},  {DMPAPER_A3, 1, 7016, 9921, 297, 420},
      {DMPAPER_A5, 1, 3496, 4961, 148, 210},     {DMPAPER_A5, 2, 4961, 3496, 210, 148},
      // Unknown codes and orientations fall back to the system paper, upright.
      {0, 1, 4961, 7016, 210, 297},              {999, 7, 4961, 7016, 210, 297},
      {-3, 0, 4961, 7016, 210, 297},
  };
  for (const char* dest : {kPrintToPdfName, kPrintToPngName}) {
    for (const Case& c : cases) {
      SCOPED_TRACE(std::string(dest) + " paper " + std::to_string(c.paper) + " orientation " +
                   std::to_string(c.orient));
      DEVMODEA dm = Mode(c.paper, c.orient);
      HDC dc = CreateDCA(nullptr, dest, nullptr, &dm);
      ASSERT_NE(dc, nullptr);
      EXPECT_EQ(GetDeviceCaps(dc, HORZRES), c.hres);
      EXPECT_EQ(GetDeviceCaps(dc, VERTRES), c.vres);
      EXPECT_EQ(GetDeviceCaps(dc, HORZSIZE), c.hmm);
      EXPECT_EQ(GetDeviceCaps(dc, VERTSIZE), c.vmm);
      EXPECT_EQ(GetDeviceCaps(dc, LOGPIXELSX), 600);
      EXPECT_EQ(GetDeviceCaps(dc, LOGPIXELSY), 600);
      EXPECT_EQ(GetDeviceCaps(dc, PHYSICALOFFSETX), 0);
      EXPECT_NE(GetDeviceCaps(dc, RASTERCAPS) & RC_STRETCHBLT, 0);
      EXPECT_NE(GetDeviceCaps(dc, RASTERCAPS) & RC_BITBLT, 0);
      DeleteDC(dc);
    }
  }
}

TEST(GdiDevice, SystemPaperFromPapersizeFile) {
  zevtest::TempDir dir;
  struct Case {
    const char* env;   // PAPERSIZE, or null
    const char* file;  // PAPERCONF contents, or null for a missing file
    short paper;
  } cases[] = {
      {nullptr, "# the system paper\n\n  letter  \n", DMPAPER_LETTER},
      {nullptr, "A5\n", DMPAPER_A5},
      {nullptr, "legal", DMPAPER_LEGAL},
      {nullptr, "tabloid-ish\n", DMPAPER_A4},  // unknown names give A4
      {nullptr, nullptr, DMPAPER_A4},
      {"letter", "a5\n", DMPAPER_LETTER},  // the variable wins over the file
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.env ? c.env : "-") + " / " + (c.file ? c.file : "(none)"));
    std::string path = dir / "papersize";
    std::remove(path.c_str());
    if (c.file) zevtest::WriteBytes(path, c.file);
    ScopedEnv conf("PAPERCONF", path.c_str());
    ScopedEnv size("PAPERSIZE", c.env);
    EXPECT_EQ(GetSystemDefaultPaper(), c.paper);
    HDC dc = CreateDCA(nullptr, kPrintToPdfName, nullptr, nullptr);
    int w = 0, h = 0, wmm = 0, hmm = 0;
    ASSERT_TRUE(GetPaperSize600(c.paper, w, h, wmm, hmm));
    EXPECT_EQ(GetDeviceCaps(dc, HORZRES), w);
    EXPECT_EQ(GetDeviceCaps(dc, VERTRES), h);
    DeleteDC(dc);
  }
}

TEST(GdiDevice, DestinationsByName) {
  HANDLE h = nullptr;
  for (const char* name : {"Print to PDF", "print to png", "PRINT TO PDF"}) {
    SCOPED_TRACE(name);
    ASSERT_TRUE(OpenPrinterA(name, &h, nullptr));
    EXPECT_EQ(DocumentPropertiesA(nullptr, h, nullptr, nullptr, nullptr, 0), LONG(sizeof(DEVMODEA)));
    DEVMODEA dm{};
    DEVMODEA in{};
    in.dmFields = DM_ORIENTATION;
    in.dmOrientation = DMORIENT_LANDSCAPE;
    EXPECT_EQ(DocumentPropertiesA(nullptr, h, nullptr, &dm, &in, DM_OUT_BUFFER | DM_IN_BUFFER), IDOK);
    EXPECT_EQ(dm.dmOrientation, DMORIENT_LANDSCAPE);
    EXPECT_EQ(dm.dmCopies, 1);
    EXPECT_NE(dm.dmFields & DM_PAPERSIZE, 0u);
    EXPECT_TRUE(ClosePrinter(h));
  }
  EXPECT_FALSE(ClosePrinter(h));  // already closed
  for (const char* name : {"No such printer here", "Print to PDF ", "Print"}) {
    SCOPED_TRACE(name);
    SetLastError(0);
    EXPECT_FALSE(OpenPrinterA(name, &h, nullptr));
    EXPECT_EQ(h, nullptr);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    SetLastError(0);
    EXPECT_EQ(CreateDCA(nullptr, name, nullptr, nullptr), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  }
  std::vector<PrintDestination> all = EnumPrintDestinations();
  ASSERT_GE(all.size(), 2u);
  EXPECT_STREQ(all[0].name, "Print to PDF");
  EXPECT_STREQ(all[1].name, "Print to PNG");
  EXPECT_TRUE(all[0].builtin && all[1].builtin);
}

TEST(GdiDevice, ObjectsOutliveNothingTheyShouldNot) {
  HDC dc = CreateTestDC(TestDeviceOptions{});
  HFONT a = CreateFontA(-100, 0, 0, 0, 700, 1, 0, 0, 1, 0, 0, 0, 0x24, "Arial");
  HFONT b = CreateFontA(-50, 0, 0, 0, 400, 0, 0, 0, 1, 0, 0, 0, 0x24, "Courier New");
  HGDIOBJ stock = SelectObject(dc, a);
  EXPECT_EQ(GetObjectType(stock), DWORD(OBJ_FONT));  // the context's default font
  EXPECT_EQ(SelectObject(dc, b), HGDIOBJ(a));
  EXPECT_EQ(SelectObject(dc, a), HGDIOBJ(b));
  LOGFONTA lf{};
  EXPECT_EQ(GetObjectA(a, sizeof(lf), &lf), int(sizeof(lf)));
  EXPECT_EQ(lf.lfHeight, -100);
  EXPECT_EQ(lf.lfWeight, 700);
  EXPECT_STREQ(lf.lfFaceName, "Arial");

  // Deleting a selected font: the handle is no longer an object, the context still works.
  EXPECT_TRUE(DeleteObject(a));
  EXPECT_EQ(GetObjectType(a), 0u);
  SIZE s{};
  EXPECT_TRUE(GetTextExtentPoint32A(dc, "abc", 3, &s));
  EXPECT_EQ(s.cx, 30);
  EXPECT_EQ(SelectObject(dc, a), nullptr);  // a dead handle is refused
  SelectObject(dc, b);                      // frees the deleted font
  EXPECT_TRUE(DeleteObject(b));             // selected: kept until deselected
  EXPECT_EQ(GetObjectType(b), 0u);
  SelectObject(dc, GetStockObject(SYSTEM_FONT));

  // Stock objects stay whatever is done to them.
  EXPECT_TRUE(DeleteObject(GetStockObject(BLACK_PEN)));
  EXPECT_EQ(GetObjectType(GetStockObject(BLACK_PEN)), DWORD(OBJ_PEN));
  EXPECT_EQ(GetObjectType(GetStockObject(LTGRAY_BRUSH)), DWORD(OBJ_BRUSH));
  EXPECT_EQ(GetStockObject(9), nullptr);
  EXPECT_EQ(GetObjectType(dc), DWORD(OBJ_DC));

  // Wrappers: a permanent one is found from its handle; a temporary one otherwise.
  {
    CFont f;
    ASSERT_TRUE(f.CreatePointFont(100, "Times New Roman"));
    EXPECT_EQ(CFont::FromHandle(f), &f);
    CDC* cdc = CDC::FromHandle(dc);
    CFont* old = cdc->SelectObject(&f);
    ASSERT_NE(old, nullptr);
    EXPECT_EQ(cdc->GetCurrentFont(), &f);
    EXPECT_EQ(cdc->SelectObject(old), &f);
    f.GetLogFont(&lf);
    EXPECT_EQ(lf.lfHeight, -83);  // 10 points at 600 dpi
  }
  CPen pen(PS_SOLID, 3, RGB(1, 2, 3));
  LOGPEN lp{};
  EXPECT_EQ(pen.GetObject(sizeof(lp), &lp), int(sizeof(lp)));
  EXPECT_EQ(lp.lopnWidth.x, 3);
  EXPECT_EQ(lp.lopnColor, RGB(1, 2, 3));
  CBitmap logo;
  ASSERT_TRUE(logo.LoadBitmap(IDB_ZEV_LOGO));
  BITMAP bm{};
  logo.GetBitmap(&bm);
  EXPECT_GT(bm.bmWidth, 16);
  EXPECT_GT(bm.bmHeight, 16);
  EXPECT_EQ(LoadBitmapA(nullptr, MAKEINTRESOURCE(0x2AFB)), nullptr);
  EXPECT_TRUE(DeleteDC(dc));
  EXPECT_FALSE(DeleteDC(dc));
  EXPECT_EQ(GetDeviceCaps(dc, HORZRES), 0);
}

TEST(GdiDevice, StateSavedAndMapped) {
  HDC dc = CreateTestDC(TestDeviceOptions{});
  EXPECT_EQ(GetMapMode(dc), MM_TEXT);
  EXPECT_EQ(GetBkMode(dc), OPAQUE);
  int level = SaveDC(dc);
  EXPECT_EQ(level, 1);
  SetTextAlign(dc, TA_RIGHT);
  SetBkMode(dc, TRANSPARENT);
  SetTextColor(dc, RGB(255, 0, 0));
  SetTextCharacterExtra(dc, 2);
  SIZE s{};
  GetTextExtentPoint32A(dc, "abcd", 4, &s);
  EXPECT_EQ(s.cx, 48);  // 4 x (10 + 2)
  EXPECT_TRUE(RestoreDC(dc, -1));
  EXPECT_EQ(GetTextAlign(dc), TA_LEFT);
  EXPECT_EQ(GetBkMode(dc), OPAQUE);
  EXPECT_EQ(GetTextColor(dc), 0u);
  EXPECT_EQ(GetTextCharacterExtra(dc), 0);
  EXPECT_FALSE(RestoreDC(dc, 1));  // nothing saved any more
  EXPECT_EQ(SetBkMode(dc, 7), 0);  // not a mode

  struct Case {
    int mode;
    POINT dev, log;
  } cases[] = {
      {MM_TEXT, {600, 1200}, {600, 1200}},
      {MM_LOMETRIC, {600, 1200}, {254, -508}},   // 0.1 mm, y up
      {MM_HIMETRIC, {600, 600}, {2540, -2540}},  // 0.01 mm
      {MM_LOENGLISH, {600, 300}, {100, -50}},    // 0.01 inch
      {MM_TWIPS, {600, 600}, {1440, -1440}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.mode);
    SetMapMode(dc, c.mode);
    POINT p = c.dev;
    ASSERT_TRUE(DPtoLP(dc, &p, 1));
    EXPECT_EQ(p.x, c.log.x);
    EXPECT_EQ(p.y, c.log.y);
    ASSERT_TRUE(LPtoDP(dc, &p, 1));
    EXPECT_EQ(p.x, c.dev.x);
    EXPECT_EQ(p.y, c.dev.y);
  }
  EXPECT_EQ(SetMapMode(dc, 0), 0);
  DeleteDC(dc);
}

TEST(GdiDevice, TestDeviceRecordsWhatWasAsked) {
  TestDeviceOptions opt;
  opt.charWidth = 7;
  opt.charHeight = 13;
  HDC dc = CreateTestDC(opt);
  std::shared_ptr<TestDeviceLog> log = GetTestDeviceLog(dc);
  ASSERT_EQ(log, opt.log);
  CDC* cdc = CDC::FromHandle(dc);
  struct Case {
    const char* text;
    int n;
    CSize size;
  } cases[] = {{"", 0, {0, 13}}, {"a", 1, {7, 13}}, {"a\tb\0c", 5, {35, 13}}, {"\xFF\x80", 2, {14, 13}}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.n);
    EXPECT_EQ(cdc->GetTextExtent(c.text, c.n), c.size);
  }
  TEXTMETRICA tm{};
  ASSERT_TRUE(cdc->GetTextMetrics(&tm));
  EXPECT_EQ(tm.tmHeight, 13);
  EXPECT_EQ(tm.tmAveCharWidth, 7);

  DOCINFOA doc{sizeof(DOCINFOA), "Doc", "/tmp/nowhere.pdf", nullptr, 0};
  EXPECT_GT(cdc->StartDoc(&doc), 0);
  cdc->TextOut(5, 6, "off page", 8);  // before StartPage: recorded on page 0, never drawn
  EXPECT_GT(cdc->StartPage(), 0);
  cdc->SetTextAlign(TA_RIGHT);
  CRect clip(10, 20, 110, 33);
  cdc->ExtTextOut(110, 20, ETO_CLIPPED, &clip, "right", 5, nullptr);
  cdc->SetTextAlign(TA_LEFT);
  cdc->MoveTo(1, 2);
  cdc->LineTo(3, 4);
  CRect edge(0, 0, 50, 60);
  cdc->DrawEdge(&edge, EDGE_BUMP, BF_RECT);
  EXPECT_GT(cdc->EndPage(), 0);
  EXPECT_GT(cdc->EndDoc(), 0);

  EXPECT_EQ(log->startDoc, 1);
  EXPECT_EQ(log->startPage, 1);
  EXPECT_EQ(log->endPage, 1);
  EXPECT_EQ(log->endDoc, 1);
  EXPECT_EQ(log->output, "/tmp/nowhere.pdf");
  std::vector<TestDrawCall> texts = log->Texts();
  ASSERT_EQ(texts.size(), 2u);
  EXPECT_EQ(texts[0].text, "off page");
  EXPECT_EQ(texts[0].page, 0);
  EXPECT_EQ(texts[1].kind, TestDrawCall::kExtTextOut);
  EXPECT_EQ(texts[1].text, "right");
  EXPECT_EQ(texts[1].x, 110);
  EXPECT_EQ(texts[1].align, TA_RIGHT);
  EXPECT_TRUE(texts[1].clipped);
  EXPECT_EQ(CRect(texts[1].clip), clip);
  EXPECT_EQ(texts[1].page, 1);
  const TestDrawCall& line = log->calls[log->calls.size() - 4];
  EXPECT_EQ(line.kind, TestDrawCall::kLineTo);
  EXPECT_EQ(line.x, 1);
  EXPECT_EQ(line.y2, 4);
  EXPECT_EQ(log->calls[log->calls.size() - 3].options, EDGE_BUMP | (BF_RECT << 16));
  DeleteDC(dc);
  EXPECT_EQ(log->calls.size(), 9u);  // the log outlives the context
}

TEST(GdiDevice, TestPrinterFailuresAndProtocol) {
  struct Case {
    const char* name;
    int failStartDoc, failStartPage, failEndPage;
    int startDoc, page1, endPage1, page2;
  } cases[] = {
      {"all good", 0, 0, 0, 1, 1, 1, 1},
      {"start doc fails", 1, 0, 0, -1, -1, -1, -1},
      {"second page fails", 0, 2, 0, 1, 1, 1, -1},
      {"first end page fails", 0, 0, 1, 1, 1, -1, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    TestDeviceOptions opt;
    opt.failStartDoc = c.failStartDoc;
    opt.failStartPage = c.failStartPage;
    opt.failEndPage = c.failEndPage;
    RegisterTestPrinter("zev test printer", opt);
    HANDLE h = nullptr;
    ASSERT_TRUE(OpenPrinterA("zev test printer", &h, nullptr));
    ClosePrinter(h);
    DEVMODEA dm = Mode(DMPAPER_A4, DMORIENT_LANDSCAPE);
    HDC dc = CreateDCA(nullptr, "zev test printer", nullptr, &dm);
    ASSERT_NE(dc, nullptr);
    EXPECT_EQ(GetDeviceCaps(dc, HORZRES), 7016);  // landscape swaps the axes
    DOCINFOA doc{sizeof(DOCINFOA), "x", nullptr, nullptr, 0};
    EXPECT_EQ(StartDocA(dc, &doc) > 0 ? 1 : -1, c.startDoc);
    EXPECT_EQ(StartPage(dc) > 0 ? 1 : -1, c.page1);
    EXPECT_EQ(EndPage(dc) > 0 ? 1 : -1, c.endPage1);
    EXPECT_EQ(StartPage(dc) > 0 ? 1 : -1, c.page2);
    EndPage(dc);
    AbortDoc(dc);
    DeleteDC(dc);
  }
  UnregisterTestPrinter("zev test printer");
  HANDLE h = nullptr;
  EXPECT_FALSE(OpenPrinterA("zev test printer", &h, nullptr));
}

TEST(GdiDevice, AbortProcCanStopTheJob) {
  static int calls;
  calls = 0;
  HDC dc = CreateTestDC(TestDeviceOptions{});
  SetAbortProc(dc, [](HDC, int) -> BOOL { return ++calls < 2; });
  DOCINFOA doc{sizeof(DOCINFOA), "x", nullptr, nullptr, 0};
  ASSERT_GT(StartDocA(dc, &doc), 0);
  StartPage(dc);
  EXPECT_GT(EndPage(dc), 0);
  StartPage(dc);
  EXPECT_EQ(EndPage(dc), SP_APPABORT);
  EXPECT_LT(EndDoc(dc), 0);
  EXPECT_EQ(GetTestDeviceLog(dc)->abortDoc, 1);
  DeleteDC(dc);
}

TEST(GdiDevice, GlobalMemoryAndPrintRecords) {
  HGLOBAL g = GlobalAlloc(GMEM_MOVEABLE, 40);
  ASSERT_NE(g, nullptr);
  EXPECT_EQ(GlobalSize(g), 40u);
  auto* p = static_cast<unsigned char*>(GlobalLock(g));
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(p[39], 0);
  GlobalUnlock(g);
  EXPECT_EQ(GlobalFree(g), nullptr);
  EXPECT_EQ(GlobalLock(g), nullptr);

  CPrintInfo info;
  EXPECT_EQ(info.GetMinPage(), 1u);
  EXPECT_EQ(info.GetMaxPage(), 0xFFFFu);
  EXPECT_EQ(info.m_nCurPage, 1u);
  EXPECT_TRUE(info.m_bContinuePrinting);
  info.SetFromPage(3);
  info.SetToPage(4);
  EXPECT_EQ(info.m_pPD->m_pd.nFromPage, 3);
  EXPECT_EQ(info.GetToPage(), 4u);

  // A dialog answered by a handler that chooses "Print to PDF".
  PrintDialogHandler old = SetPrintDialogHandler([](CPrintDialog& d) -> INT_PTR {
    if (d.m_pd.hDevNames) GlobalFree(d.m_pd.hDevNames);
    const char names[] = "\x08\0\x09\0\x16\0\0\0\0Print to PDF\0FILE:/tmp/x.pdf";
    d.m_pd.hDevNames = GlobalAlloc(GMEM_MOVEABLE, sizeof(names));
    std::memcpy(GlobalLock(d.m_pd.hDevNames), names, sizeof(names));
    GlobalUnlock(d.m_pd.hDevNames);
    return IDOK;
  });
  CPrintDialog dlg(FALSE, PD_RETURNDC);
  EXPECT_EQ(dlg.DoModal(), IDOK);
  EXPECT_STREQ(dlg.GetDeviceName(), "Print to PDF");
  EXPECT_STREQ(dlg.GetPortName(), "FILE:/tmp/x.pdf");
  EXPECT_NE(dlg.GetPrinterDC(), nullptr);
  GlobalFree(dlg.m_pd.hDevNames);
  if (dlg.m_pd.hDevMode) GlobalFree(dlg.m_pd.hDevMode);
  SetPrintDialogHandler(old);
}

TEST(GdiDevice, StatusHandlerIsReplaceable) {
  std::vector<std::string> seen;
  PrintStatusHandler old = SetPrintStatusHandler([&](const PrintStatusInfo& s) {
    seen.push_back(std::string(s.title) + "|" + s.printer + "|" + s.port + "|" + s.page);
    if (s.cancelFlag && s.event == PrintStatusEvent::Page) *s.cancelFlag = 1;
  });
  LONG cancel = 0;
  PrintStatusInfo info;
  info.title = "T";
  info.printer = "P";
  info.port = "Q";
  info.cancelFlag = &cancel;
  NotifyPrintStatus(info);
  info.event = PrintStatusEvent::Page;
  info.page = "Page 2";
  NotifyPrintStatus(info);
  EXPECT_EQ(cancel, 1);
  EXPECT_EQ(seen, (std::vector<std::string>{"T|P|Q|", "T|P|Q|Page 2"}));
  SetPrintStatusHandler(old);
  NotifyPrintStatus(info);  // the default shows nothing
  EXPECT_EQ(seen.size(), 2u);
}

TEST(GdiDevice, FloatingPointControlWordRoundTrips) {
  unsigned int start = _control87(0, 0);
  EXPECT_EQ(start & MCW_EM & ~_EM_DENORMAL, MCW_EM & ~_EM_DENORMAL);  // all exceptions masked by default
  struct Case {
    unsigned int value, mask;
  } cases[] = {{_RC_CHOP, MCW_RC}, {_RC_UP, MCW_RC}, {_RC_DOWN, MCW_RC}, {_PC_24, MCW_PC}, {_PC_64, MCW_PC}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.value);
    unsigned int now = _control87(c.value, c.mask);
    EXPECT_EQ(now & c.mask, c.value);
    EXPECT_EQ(now & ~c.mask, start & ~c.mask);
    _control87(start, 0xF001F | MCW_RC);  // the restore a print guard does
    EXPECT_EQ(_control87(0, 0), start);
  }
  volatile double third = 1.0 / 3.0;
  EXPECT_DOUBLE_EQ(third * 3.0, 1.0);
}
