// The print handler's layout pinned to the unit on a test device whose characters are
// all 10 units wide and 20 high, on a 10-inch square page of exactly 600 units per inch:
// geometry, tab stops, line breaks, header rows, fitted header parts, page ranges.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "zevutil/CPrintHandler.h"

using namespace zev;

namespace {

struct TestHandler : CPrintHandler {
  using CPrintHandler::CheckFromToPages;
  using CPrintHandler::ComputeOutputRect;
  using CPrintHandler::GetFormattedString;
  using CPrintHandler::LeftFit;
  using CPrintHandler::PrintFooter;
  using CPrintHandler::PrintHeader;
};

constexpr char kPrinter[] = "zevtest-layout";

class OnTestDevice : public ::testing::Test {
 protected:
  void SetUp() override {
    TestDeviceOptions opts;
    opts.horzRes = opts.vertRes = 6000;
    opts.horzSize = opts.vertSize = 254;  // 600 units per inch exactly
    log = opts.log;
    RegisterTestPrinter(kPrinter, opts);
    fmt.m_device.m_strPrinterName = kPrinter;
    ASSERT_EQ(h.PreparePrintDocument(fmt, 0, nullptr), 1);
    ASSERT_EQ(h.StartPrintDocument(), 1);
    info = h.GetOutputInfo();
    ASSERT_NE(info, nullptr);
  }
  void TearDown() override {
    h.EndPrintDocument(1);
    h.ReleasePrintDocument();
    UnregisterTestPrinter(kPrinter);
  }
  // Narrows the body to `chars` characters from the left edge (75).
  void NarrowTo(int chars) {
    h.ComputeOutputRect(h.GetPrintDC());
    h.SetRightMargin(info->m_rectOutput.right - 75 - chars * 10);
  }

  CPageFormatDef fmt;
  TestHandler h;
  COutputInfo* info = nullptr;
  std::shared_ptr<TestDeviceLog> log;
};

}  // namespace

TEST_F(OnTestDevice, UnitsAndBodyRectangle) {
  EXPECT_DOUBLE_EQ(h.GetXLPperInch(), 600.0);
  EXPECT_EQ(h.InchesToLP(0.125, 1.0), CPoint(75, 600));
  EXPECT_EQ(h.GetDefaultTab(), 300.0);
  struct Case {
    const char *h2, *h3, *f2, *f3;
    int top, y, bottom;
  };
  // Half an inch of header band, plus a third of it for each further filled line.
  for (const Case& c : {Case{"", "", "", "", 375, 475, 5625}, Case{"x", "", "", "", 475, 575, 5625},
                        Case{"", "x", "", "", 475, 575, 5625}, Case{"x", "x", "", "", 575, 675, 5625},
                        Case{"", "", "x", "", 375, 475, 5525}, Case{"", "", "x", "x", 375, 475, 5425}}) {
    SCOPED_TRACE(::testing::Message() << c.h2 << "|" << c.h3 << "|" << c.f2 << "|" << c.f3);
    h.m_strHeader2 = c.h2;
    h.m_strHeader3 = c.h3;
    h.m_strFooter2 = c.f2;
    h.m_strFooter3 = c.f3;
    h.ComputeOutputRect(h.GetPrintDC());
    EXPECT_EQ(info->m_rectPage, CRect(75, 75, 5925, 5925));
    EXPECT_EQ(info->m_rectOutput, CRect(75, c.top, 5925, c.bottom));
    EXPECT_EQ(info->m_nCurrentY, c.y);
    EXPECT_EQ(info->m_nTopY, c.y);
    EXPECT_EQ(info->m_nBottomY, c.bottom);
  }
  // A fixed rectangle is kept; only the first line moves under the header.
  info->m_bFixedOutputRect = 1;
  info->m_rectOutput = CRect(100, 1000, 2000, 3000);
  h.ComputeOutputRect(h.GetPrintDC());
  EXPECT_EQ(info->m_rectOutput, CRect(100, 1000, 2000, 3000));
  EXPECT_EQ(info->m_nCurrentY, 1100);
}

TEST_F(OnTestDevice, TabStops) {
  struct Case {
    std::vector<double> stops;
    int x, next, right;
  };
  const Case cases[] = {
      {{}, 0, 300, 0},   {{}, 299, 300, 0},  {{}, 300, 600, 0},  // on a multiple: the next one
      {{}, 301, 600, 0}, {{1, -3}, 0, 600, 0}, {{1, -3}, 600, 1800, 1},
      {{1, -3}, 1800, 2100, 0},  // past the stops: the default tab
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.stops.size() << " stops, x " << c.x);
    h.SetTabStops(c.stops.data(), int(c.stops.size()));
    int bRight = -1;
    EXPECT_EQ(h.GetNextTabstop(c.x, bRight), c.next);
    EXPECT_EQ(bRight, c.right);
  }
  const double stops[] = {1, -3};
  h.SetTabStops(stops, 2);
  int bRight = 0;
  // "ab" ends at 95, the tab goes to 600, the right-aligned column adds no width and
  // its end goes on to the default tab after 1800.
  EXPECT_EQ(h.GetNextXPos(75, "ab", bRight), 95);
  EXPECT_EQ(h.GetNextXPos(75, "ab\tcd", bRight), 620);
  EXPECT_EQ(h.GetNextXPos(75, "ab\tcd\tef", bRight), 2100);
  h.SetDefaultTab(-1.0);  // a negative default tab is none
  EXPECT_EQ(h.GetDefaultTab(), 0.0);
  h.SetTabStops(nullptr, 0);
  EXPECT_EQ(h.GetNextTabstop(4000, bRight), 4000);
}

TEST_F(OnTestDevice, LineBreaks) {
  NarrowTo(20);
  struct Case {
    const char* text;
    std::vector<std::string> lines;
  };
  const Case cases[] = {
      {"hello world foo bar baz", {"hello world foo bar", "baz"}},
      {"abcdefghijklmnopqrstuvwxyz", {"abcdefghijklmnopqrst", "uvwxyz"}},  // a long word goes by letters
      {"ab\rcd", {"ab", "cd"}},
      {"\rabc", {"", "abc"}},  // a leading break prints an empty line first
      {"one\ntwo", {"onetwo"}},
      // A blank run loses one blank per step; the rest is trimmed after the cut.
      {"aaaa bbbb cccc dddd    eeee", {"aaaa bbbb cccc dddd ", "eeee"}},
      {"aaaa bbbbbbbbbbbbbbbbbbb x", {"aaaa", "bbbbbbbbbbbbbbbbbbb", "x"}},
      // The first tab is a hard stop: behind it the text shrinks a letter at a time.
      {"a\tbbbbbbbbbbbbbbbbbbbbbbbb", {"a\tbbbbbbbbbbbbbbb", "bbbbbbbbb"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    h.SetDefaultTab(0.1);  // tab stops every 60 units
    CString text = c.text;
    std::vector<std::string> got;
    for (int guard = 0; guard < 10 && (got.empty() || !text.IsEmpty()); ++guard)
      got.push_back(h.ExtractLineToFitPage(75, text).str());
    EXPECT_EQ(got, c.lines);
  }
}

TEST_F(OnTestDevice, NothingFitsStillEnds) {
  h.ComputeOutputRect(h.GetPrintDC());
  h.SetLeftMargin(6000);  // margins wider than the page
  EXPECT_EQ(info->GetOutputWidth(1), 0);
  CString text = "abc def";
  int lines = 0;
  while (!text.IsEmpty() && lines < 100) {
    h.ExtractLineToFitPage(info->GetLeftEdge(0), text);
    ++lines;
  }
  EXPECT_EQ(lines, 6);  // one character per line, the blank trimmed away
}

TEST_F(OnTestDevice, MegabyteLineIsCutQuickly) {
  NarrowTo(100);
  CString text(std::string(100000, 'x') + " tail");
  int lines = 0;
  CString first;
  while (!text.IsEmpty()) {
    CString line = h.ExtractLineToFitPage(75, text);
    if (lines++ == 0) first = line;
  }
  EXPECT_EQ(first.GetLength(), 100);
  EXPECT_EQ(lines, 1001);
}

TEST_F(OnTestDevice, RightAlignedColumnsAndRecordedLine) {
  ASSERT_EQ(h.StartPrintPage(), 1);
  const double stops[] = {1, -3};
  h.SetTabStops(stops, 2);
  log->calls.clear();
  for (const char* line : {"name\t12\tnote", "longer name\t12345"}) ASSERT_EQ(h.PrintOneLine(75, line, 0), 1);
  const std::vector<TestDrawCall> texts = log->Texts();
  ASSERT_EQ(texts.size(), 5u);
  EXPECT_EQ(texts[0].text, "name");
  EXPECT_EQ(texts[0].x, 75);
  EXPECT_EQ(texts[0].y, 475);
  for (int i : {1, 4}) {
    SCOPED_TRACE(i);
    EXPECT_EQ(texts[size_t(i)].kind, TestDrawCall::kExtTextOut);
    EXPECT_EQ(texts[size_t(i)].x, 1800);  // both columns end at 3 inches
    EXPECT_EQ(texts[size_t(i)].align & TA_RIGHT, TA_RIGHT);
    EXPECT_TRUE(texts[size_t(i)].clipped);
    EXPECT_EQ(texts[size_t(i)].clip.left, 600);
    EXPECT_EQ(texts[size_t(i)].clip.right, 1800);
  }
  EXPECT_EQ(texts[2].text, "note");
  EXPECT_EQ(texts[2].x, 1800);
  EXPECT_EQ(texts[4].y, 495);
  EXPECT_EQ(info->m_nCurrentY, 515);
}

TEST_F(OnTestDevice, HeaderRowPositionsAndParts) {
  CBitmap logo;
  const bool haveLogo = logo.LoadBitmap(0x2AFA) != 0;
  struct Case {
    std::vector<const char*> rows;
    std::vector<int> ys;
  };
  // T = page top + output top; h = 20.
  const Case cases[] = {
      {{"L\tM\tR"}, {215}},                     // T = 450: (T - h + 1) / 2
      {{"L\tM\tR", "two"}, {250, 280}},         // T = 550: (2T - 5h + 1) / 4, step 3h/2
      {{"L\tM\tR", "two", "three"}, {290, 315, 340}},  // T = 650: (2T - 7h + 1) / 4, step 5h/4
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.rows.size());
    h.m_strHeader1 = c.rows[0];
    h.m_strHeader2 = c.rows.size() > 1 ? c.rows[1] : "";
    h.m_strHeader3 = c.rows.size() > 2 ? c.rows[2] : "";
    h.ComputeOutputRect(h.GetPrintDC());
    log->calls.clear();
    ASSERT_EQ(h.PrintHeader(), 1);
    const std::vector<TestDrawCall> texts = log->Texts();
    ASSERT_EQ(texts.size(), c.rows.size() + 2);
    const int side = info->m_rectOutput.top - 75;
    const int left = haveLogo ? 75 + side + 40 : 75, right = 5925 - 20;
    EXPECT_EQ(texts[0].text, "L");
    EXPECT_EQ(texts[0].x, left);
    EXPECT_EQ(texts[1].text, "M");
    EXPECT_EQ(texts[1].x, (left + right) / 2);
    EXPECT_EQ(texts[1].align & TA_CENTER, TA_CENTER);
    EXPECT_EQ(texts[2].text, "R");
    EXPECT_EQ(texts[2].x, right);
    for (size_t i = 0; i < c.ys.size(); ++i) EXPECT_EQ(texts[i == 0 ? 0 : i + 2].y, c.ys[i]) << i;
  }
}

TEST_F(OnTestDevice, FittedHeaderParts) {
  CDC* dc = h.GetPrintDC();
  struct Case {
    const char *left, *middle, *right;
    int width;
    const char *outLeft, *outRight;
  };
  const Case cases[] = {
      {"left", "", "", 200, "left", ""},
      {"abcdefghijklmnopqrstuvwxyz0123", "", "", 200, "abcdefghijklmnopq...", ""},  // takes the whole width
      {"abcdefghijklmnopqrstuvwxyz0123", "mid", "", 200, "abc...", ""},  // half the rest, less two blanks
      {"aaaa", "", "bbbb", 200, "aaaa", "bbbb"},
      {"aaaaaaaaaaaaaaa", "", "bbbbbbbbbbbbbbb", 200, "...", "bbbbbbbbbbbbbbb"},
      {"aaaa", "", "bbbbbbbbbbbbbbbbbbbbbbbbb", 200, "", "bbbbbbbbbbbbbbbbb..."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.left << "|" << c.middle << "|" << c.right);
    CString l = c.left, m = c.middle, r = c.right;
    const CString all = h.GetFormattedString(l, m, r, dc, c.width, 0);
    EXPECT_EQ(l, c.outLeft);
    EXPECT_EQ(r, c.outRight);
    EXPECT_EQ(all, l + m + r);
  }
  CString s = "abcdefghij";
  h.LeftFit(s, 100, dc, 2);  // room 100 - 20 of padding: five letters and the dots
  EXPECT_EQ(s, "abcde...");
}

TEST_F(OnTestDevice, PageAndDateOnceEach) {
  info->m_nPage = 3;
  CString s = "%Page of %Page";
  h.Format(s, 1);
  EXPECT_EQ(s, "3 of %Page");
  CString d = "%Date|%Date";
  h.Format(d, 0);
  EXPECT_EQ(d.Find("%Date"), d.GetLength() - 5);
  EXPECT_NE(d.Left(1), "%");
  CString l, m, r;
  SplitTemplate("a\tb\tc\td", l, m, r);
  EXPECT_EQ(r, "c\td");  // further tabs stay in the right part
}

TEST_F(OnTestDevice, PageRangeDecisions) {
  info->m_pPrintInfo->SetFromPage(3);
  info->m_pPrintInfo->SetToPage(4);
  struct Case {
    unsigned page;
    int in, past;
  };
  for (const Case& c : {Case{1, 0, 0}, Case{2, 0, 0}, Case{3, 1, 0}, Case{4, 1, 0}, Case{5, 0, 1},
                        Case{0xFFFFFFFFu, 0, 1}}) {
    SCOPED_TRACE(c.page);
    int past = -1;
    EXPECT_EQ(h.CheckFromToPages(c.page, past), c.in);
    EXPECT_EQ(past, c.past);
  }
  // A preview renders its page, lets the next run on disabled, and stops after that.
  info->m_pPrintInfo->m_bPreview = TRUE;
  info->m_pPrintInfo->m_nCurPage = 2;
  for (const Case& c : {Case{1, 0, 0}, Case{2, 1, 0}, Case{3, 0, 0}, Case{4, 0, 1}}) {
    SCOPED_TRACE(c.page);
    int past = -1;
    EXPECT_EQ(h.CheckFromToPages(c.page, past), c.in);
    EXPECT_EQ(past, c.past);
  }
}

TEST(PrintHandler, WithoutADevice) {
  CPrintHandler h;
  EXPECT_EQ(h.InchesToLP(1, 1), CPoint(0, 0));
  EXPECT_EQ(h.GetXLPperInch(), 1.0);
  EXPECT_EQ(h.NeedNewPage(), 0);
  EXPECT_EQ(h.EndPrintDocument(0), 0);
  CString t = "x";
  int more = 1;
  EXPECT_EQ(h.PrintOneLineFromTextString(t, more, 0, 1), 1);
  COutputInfo info(EXPORT_NONE);
  info.m_rectOutput = CRect(0, 0, 100, 500);
  info.m_nLeftMargin = 80;
  info.m_nRightMargin = 40;
  info.m_nIndent = 10;
  EXPECT_EQ(info.GetOutputWidth(0), 0);
  EXPECT_EQ(info.GetOutputRect(1), CRect(80, 0, 80, 500));  // no width, indent ignored
  info.m_nRightMargin = 0;
  EXPECT_EQ(info.GetOutputRect(1), CRect(90, 0, 100, 500));
  EXPECT_EQ(info.GetLeftEdge(1), 90);
  info.m_bNewPageNeeded = 0;
  info.m_nCurrentY = 480;
  EXPECT_EQ(info.NeedNewPage(19), 0);
  EXPECT_EQ(info.NeedNewPage(20), 1);  // exactly at the bottom
  EXPECT_EQ(info.GetToPage(), 0xFFFFFFFFu);
  EXPECT_EQ(info.GetFromPage(), 1u);
}

TEST(PrintHandler, FpuGuardPutsTheControlWordBack) {
  const unsigned int before = _control87(0, 0);
  {
    CPrintFpuGuard guard("PrintOneLine");
    EXPECT_EQ(guard.Check("nothing changed"), 1);
    _control87(_PC_24, MCW_PC);  // a driver that leaves the precision changed
    if ((_control87(0, 0) & MCW_PC) == _PC_24) {
      EXPECT_EQ(guard.Check("OutputGraphics", 0), 0);
      EXPECT_EQ(_control87(0, 0) & MCW_PC, _PC_24);  // not put back without bRestore
    }
  }
  EXPECT_EQ(_control87(0, 0), before);
  {
    CPrintFpuGuard guard("PrintHeader");
    _control87(_RC_CHOP, MCW_RC);
  }
  // kept: the restore mask 0xF001F leaves the rounding bits as the driver left them.
  EXPECT_EQ(_control87(0, 0) & MCW_RC, _RC_CHOP);
  _control87(before, MCW_RC);
  EXPECT_EQ(_control87(0, 0), before);
}

TEST(OutputInfo, ErrorTextsAndTheThreadsCancelFlag) {
  COutputInfo info(EXPORT_TEXT);
  ASSERT_NE(info.m_pFile, nullptr);
  EXPECT_EQ(info.m_pPrintInfo, nullptr);
  info.SetErrorMsg(std::string(300, 'e').c_str(), 1);
  EXPECT_EQ(info.m_bFailed, 1);
  EXPECT_EQ(std::string(info.m_szErrorMsg), std::string(255, 'e'));
  info.SetErrorMsg(0);
  EXPECT_EQ(info.m_bFailed, 0);
  info.SetErrorMsg(DWORD(ERROR_FILE_NOT_FOUND), 1);
  EXPECT_NE(info.m_szErrorMsg[0], '\0');
  info.SetErrorMsg(static_cast<CException*>(nullptr), 0);  // nothing happens
  EXPECT_EQ(info.m_bFailed, 1);

  // Each thread has its own flag; a released flag is followed by a fresh, clear one.
  LONG* mine = info.m_pCancelFlag;
  EXPECT_EQ(mine, GetThreadCancelFlag());
  LONG* theirs = nullptr;
  std::thread([&] { theirs = GetThreadCancelFlag(); }).join();
  EXPECT_NE(theirs, mine);
  *mine = 1;
  {
    COutputInfo other(EXPORT_NONE);
    EXPECT_EQ(*other.m_pCancelFlag, 1);
  }  // its destructor releases this thread's flag
  EXPECT_EQ(*GetThreadCancelFlag(), 0);
  EXPECT_EQ(*mine, 1);  // still readable by the job that points at it
}
