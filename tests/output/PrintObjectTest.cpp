// Whole print jobs on the recording test device (10 x 20 units a character, a 10-inch
// page of 600 units per inch, 257 body lines a page): pages and footers, page ranges,
// strings that cross a page, stops, headings that do not fit, the status display and
// its cancel, printing hosted by a window.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "zevutil/CPrintObject.h"
#include "zevutil/platform/Host.h"

using namespace zev;

namespace {

constexpr char kPrinter[] = "zevtest-job";
constexpr int kLinesPerPage = 257;

// Prints its lines; hooks let a test act at chosen points.
class LinesObject : public CPrintObject {
 public:
  std::vector<std::string> lines;
  int asked = 0;
  int stopAt = -1;                 // SignalStopOutput while handing out this string
  unsigned from = 0, to = 0;       // page range set at the start
  int indent = 0;
  bool headingAtBottom = false;

  int GetTextOutput(COutputInfo*, CString& text) override {
    const int i = asked++;
    if (i >= int(lines.size())) return 0;
    text = lines[size_t(i)].c_str();
    if (i == stopAt) SignalStopOutput();
    return i + 1 < int(lines.size()) ? 1 : 0;
  }
  LONG GetNumberOfTextStrings() override { return LONG(lines.size()); }
  void OnStartOutput(COutputInfo* info, int& bNewPageFirst) override {
    CPrintObject::OnStartOutput(info, bNewPageFirst);
    if (from && info->m_pPrintInfo) {
      info->m_pPrintInfo->SetFromPage(from);
      info->m_pPrintInfo->SetToPage(to);
    }
    if (indent) SetIndent(indent);
  }
  int OutputGraphics(COutputInfo* info) override {
    if (headingAtBottom && info->m_nPage == 1) {
      headingAtBottom = false;
      info->m_nCurrentY = 5610;  // a heading 20 high no longer fits above 5625
      return PrintHeading(1, "Title", "text");
    }
    return 1;
  }
};

std::vector<std::string> Numbered(int n) {
  std::vector<std::string> v;
  for (int i = 0; i < n; ++i) v.push_back("line " + std::to_string(i));
  return v;
}

class PrintJob : public ::testing::Test {
 protected:
  void SetUp() override {
    TestDeviceOptions opts;
    opts.horzRes = opts.vertRes = 6000;
    opts.horzSize = opts.vertSize = 254;
    log = opts.log;
    RegisterTestPrinter(kPrinter, opts);
    fmt.m_device.m_strPrinterName = kPrinter;
  }
  void TearDown() override { UnregisterTestPrinter(kPrinter); }

  int Run(LinesObject& obj) { return obj.PrintObject(fmt, CObjectOutputDef()); }
  // The texts drawn on a device page, in order.
  std::vector<TestDrawCall> OnPage(int page) const {
    std::vector<TestDrawCall> out;
    for (const TestDrawCall& c : log->Texts())
      if (c.page == page) out.push_back(c);
    return out;
  }
  static bool Has(const std::vector<TestDrawCall>& texts, const std::string& s) {
    for (const TestDrawCall& c : texts)
      if (c.text == s) return true;
    return false;
  }

  CPageFormatDef fmt;
  std::shared_ptr<TestDeviceLog> log;
};

}  // namespace

TEST_F(PrintJob, PagesFootersAndRanges) {
  struct Case {
    int lines;
    unsigned from, to;
    std::vector<int> pages;  // document pages that reach the device
  };
  const Case cases[] = {
      {1, 0, 0, {1}},
      {kLinesPerPage, 0, 0, {1}},
      {kLinesPerPage + 1, 0, 0, {1, 2}},
      {600, 0, 0, {1, 2, 3}},
      {1200, 3, 4, {3, 4}},  // pages 1 and 2 laid out, not drawn
      {1200, 5, 9, {5}},     // a range past the end prints what there is
      {600, 7, 9, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.lines << " lines, pages " << c.from << "-" << c.to);
    log->Clear();
    LinesObject obj;
    obj.lines = Numbered(c.lines);
    obj.from = c.from;
    obj.to = c.to;
    EXPECT_EQ(Run(obj), 1);
    EXPECT_EQ(log->startPage, int(c.pages.size()));
    EXPECT_EQ(log->endPage, int(c.pages.size()));
    EXPECT_EQ(log->endDoc, 1);
    EXPECT_EQ(obj.GetPagesOutput(), LONG(c.pages.size()));
    for (size_t i = 0; i < c.pages.size(); ++i) {
      const std::vector<TestDrawCall> texts = OnPage(int(i) + 1);
      EXPECT_TRUE(Has(texts, "Page: " + std::to_string(c.pages[i]))) << "device page " << i + 1;
      // The first body line of document page p is line (p - 1) * 257.
      const std::string first = "line " + std::to_string((c.pages[i] - 1) * kLinesPerPage);
      EXPECT_TRUE(Has(texts, first)) << first;
      for (const TestDrawCall& t : texts) {
        if (t.text == first) {
          EXPECT_EQ(t.y, 475);
        }
      }
    }
  }
}

TEST_F(PrintJob, NoTextStartsNoPage) {
  LinesObject obj;
  EXPECT_EQ(Run(obj), 1);
  EXPECT_EQ(log->startPage, 0);
  EXPECT_EQ(obj.asked, 0);
}

TEST_F(PrintJob, StringCrossingAPageContinuesUnderTheIndent) {
  LinesObject obj;
  obj.lines = Numbered(kLinesPerPage - 1);
  std::string longText;
  for (int i = 0; i < 150; ++i) longText += "wordwordw ";  // 1500 characters: three lines
  obj.lines.push_back(longText);
  obj.lines.push_back("after");
  obj.indent = 300;
  EXPECT_EQ(Run(obj), 1);
  EXPECT_EQ(obj.asked, int(obj.lines.size()));  // the string was not asked for again
  const std::vector<TestDrawCall> page2 = OnPage(2);
  ASSERT_GE(page2.size(), 3u);
  size_t firstBody = 0;
  while (firstBody < page2.size() && page2[firstBody].y < 475) ++firstBody;
  ASSERT_LT(firstBody + 2, page2.size());
  EXPECT_EQ(page2[firstBody].x, 375);  // the continuation goes under the indent
  EXPECT_EQ(page2[firstBody].y, 475);
  EXPECT_EQ(page2[firstBody + 1].x, 375);
  EXPECT_EQ(page2[firstBody + 2].text, "after");
  EXPECT_EQ(page2[firstBody + 2].x, 75);
}

TEST_F(PrintJob, StopInsideGetTextOutputFinishesTheString) {
  LinesObject obj;
  obj.lines = Numbered(10);
  std::string longText;
  for (int i = 0; i < 150; ++i) longText += "wordwordw ";
  obj.lines[5] = longText;
  obj.stopAt = 5;
  EXPECT_EQ(Run(obj), 1);
  EXPECT_EQ(obj.asked, 6);
  const std::vector<TestDrawCall> texts = OnPage(1);
  int wordLines = 0;
  for (const TestDrawCall& t : texts)
    if (t.text.rfind("wordwordw", 0) == 0) ++wordLines;
  EXPECT_EQ(wordLines, 3);
  EXPECT_FALSE(Has(texts, "line 6"));
}

TEST_F(PrintJob, HeadingThatDoesNotFitGoesOnceToTheNextPage) {
  LinesObject obj;
  obj.lines = {"body"};
  obj.headingAtBottom = true;
  EXPECT_EQ(Run(obj), 1);
  int count = 0;
  for (const TestDrawCall& t : log->Texts())
    if (t.text == "Title: text") {
      ++count;
      EXPECT_EQ(t.page, 2);
      EXPECT_EQ(t.y, 475);
    }
  EXPECT_EQ(count, 1);
}

TEST_F(PrintJob, StatusDisplayAndCancel) {
  std::vector<std::string> events;
  auto old = SetPrintStatusHandler([&](const PrintStatusInfo& s) {
    if (s.event == PrintStatusEvent::Open)
      events.push_back(std::string("open ") + s.title + "|" + s.printer + "|" + s.port);
    else if (s.event == PrintStatusEvent::Page) {
      events.push_back(s.page);
      if (std::string(s.page) == "Page 2") *s.cancelFlag = 1;  // the user's cancel
    } else
      events.push_back("close");
  });
  LinesObject obj;
  obj.lines = Numbered(2000);
  obj.SetPrintFromView(1, nullptr, "A title of thirty-one character");
  EXPECT_EQ(Run(obj), 0);
  SetPrintStatusHandler(old);
  const std::vector<std::string> expected = {
      "open A title of thirty-one characte|zevtest-job|Default Port", "Page 1", "Page 2", "close"};
  EXPECT_EQ(events, expected);
  EXPECT_LE(log->startPage, 2);
  EXPECT_LT(obj.asked, 2 * kLinesPerPage + 1);
}

// A document made of objects printed embedded in its job, each starting its pages
// through a handler of its own: every page reaches the document's status display.
class PartsDocument : public CPrintObject {
 public:
  std::vector<LinesObject*> parts;
  int GetTextOutput(COutputInfo*, CString& text) override {
    text.Empty();
    return 0;
  }
  int DoObjectPrintout() override {
    COutputInfo* info = GetOutputInfoPtr();
    for (LinesObject* part : parts) {
      info->m_bNewPageNeeded = 1;
      if (!part->PrintEmbeddedObject(m_pageFormat, CObjectOutputDef(), info)) return 0;
    }
    return IsOutputCancelled() ? 0 : 1;
  }
};

TEST_F(PrintJob, EmbeddedPartsShowTheirPagesOnTheDocumentsStatus) {
  struct Case {
    const char* name;
    std::vector<int> partLines;
    std::string cancelAt;  // the user cancels when this page shows
    std::vector<std::string> pages;
    int result;
  };
  const std::vector<Case> cases = {
      {"three parts", {300, 10, 600}, "", {"Page 1", "Page 2", "Page 3", "Page 4", "Page 5", "Page 6"}, 1},
      {"cancel in the second part", {300, 600}, "Page 3", {"Page 1", "Page 2", "Page 3"}, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    log->Clear();
    std::vector<std::string> events;
    std::vector<const void*> jobs;
    auto old = SetPrintStatusHandler([&](const PrintStatusInfo& s) {
      jobs.push_back(s.job);
      if (s.event == PrintStatusEvent::Open) {
        events.push_back("open");
      } else if (s.event == PrintStatusEvent::Page) {
        events.push_back(s.page);
        if (c.cancelAt == s.page) *s.cancelFlag = 1;
      } else {
        events.push_back("close");
      }
    });
    std::vector<LinesObject> objects(c.partLines.size());
    PartsDocument doc;
    for (size_t i = 0; i < objects.size(); ++i) {
      objects[i].lines = Numbered(c.partLines[i]);
      doc.parts.push_back(&objects[i]);
    }
    doc.SetPrintFromView(1, nullptr, "report");
    EXPECT_EQ(doc.PrintObject(fmt, CObjectOutputDef()), c.result);
    SetPrintStatusHandler(old);

    std::vector<std::string> expected = {"open"};
    expected.insert(expected.end(), c.pages.begin(), c.pages.end());
    expected.push_back("close");
    EXPECT_EQ(events, expected);
    for (const void* job : jobs) EXPECT_EQ(job, static_cast<const void*>(&doc));
    if (c.result) {
      EXPECT_EQ(log->startPage, int(c.pages.size()));
    }

    // The display went down with the job: the parts printed on their own report nothing.
    events.clear();
    auto quiet = SetPrintStatusHandler([&](const PrintStatusInfo&) { events.push_back("event"); });
    LinesObject alone;
    alone.lines = Numbered(300);
    EXPECT_EQ(Run(alone), 1);
    SetPrintStatusHandler(quiet);
    EXPECT_TRUE(events.empty());
  }
}

TEST_F(PrintJob, UnknownPrinterFailsWithItsName) {
  std::string box;
  auto old = SetMessageBoxHandler([&](HWND, const char* text, const char*, UINT) {
    box = text;
    return IDOK;
  });
  fmt.m_device.m_strPrinterName = "no-such-printer-here";
  LinesObject obj;
  obj.lines = Numbered(3);
  EXPECT_EQ(Run(obj), 0);
  SetMessageBoxHandler(old);
  EXPECT_EQ(box, "OpenPrinter FAILED\nInvalid printer no-such-printer-here");
  CString msg;
  int bad = 0;
  EXPECT_EQ(fmt.Validate(msg, bad, 0, 0, nullptr), 0);
  EXPECT_EQ(bad, 1);
  EXPECT_EQ(msg, "Invalid printer no-such-printer-here");
  fmt.m_device.m_strPrinterName.Empty();
  EXPECT_EQ(fmt.Validate(msg, bad, 1, 0, nullptr), 1);  // the default needs no check
}

TEST_F(PrintJob, PreviewHostedByAWindow) {
  struct Case {
    UINT curPage;
    std::vector<std::string> footers;
  };
  for (const Case& c : {Case{1, {"Page: 1"}}, Case{2, {"Page: 2"}}}) {
    SCOPED_TRACE(c.curPage);
    TestDeviceOptions opts;
    opts.horzRes = opts.vertRes = 6000;
    opts.horzSize = opts.vertSize = 254;
    CDC dc;
    dc.Attach(CreateTestDC(opts));
    CPrintInfo pi;
    pi.m_bPreview = TRUE;
    pi.m_nCurPage = c.curPage;
    LinesObject obj;
    obj.lines = Numbered(1200);
    ASSERT_EQ(obj.OnBeginPrintingFromView(&dc, &pi, "view"), 1);
    EXPECT_EQ(pi.GetMaxPage(), 9999u);
    EXPECT_EQ(obj.OnPrintFromView(&dc, &pi), 1);
    EXPECT_EQ(pi.GetMaxPage(), c.curPage + 1);  // the page reached: the one after the preview's
    EXPECT_EQ(obj.OnEndPrintingFromView(), 1);
    std::vector<std::string> footers;
    for (const TestDrawCall& t : opts.log->Texts())
      if (t.text.rfind("Page: ", 0) == 0) footers.push_back(t.text);
    EXPECT_EQ(footers, c.footers);
    EXPECT_EQ(opts.log->startPage, 0);  // the host starts the device pages
  }
}

TEST_F(PrintJob, EmbeddedObjectPrintsIntoTheHostsPage) {
  // The host hands its job state to a nested object on its first page.
  struct Host : LinesObject {
    LinesObject inner;
    int innerResult = -1;
    int OutputGraphics(COutputInfo* info) override {
      if (innerResult < 0) {
        // The nested job counts its strings on the shared state: the host keeps its own.
        const LONG index = info->m_nStringIndex;
        innerResult = inner.PrintEmbeddedObject(CPageFormatDef(), CObjectOutputDef(), info);
        info->m_nStringIndex = index;
      }
      return 1;
    }
  } host;
  host.lines = {"host 0", "host 1"};
  host.inner.lines = {"inner 0", "inner 1", "inner 2"};
  EXPECT_EQ(Run(host), 1);
  EXPECT_EQ(host.innerResult, 1);
  std::vector<std::string> body;
  std::vector<int> ys;
  for (const TestDrawCall& t : OnPage(1))
    if (t.y >= 475 && t.y < 5625) {
      body.push_back(t.text);
      ys.push_back(t.y);
    }
  EXPECT_EQ(body, (std::vector<std::string>{"inner 0", "inner 1", "inner 2", "host 0", "host 1"}));
  EXPECT_EQ(ys, (std::vector<int>{475, 495, 515, 535, 555}));
  EXPECT_EQ(log->startPage, 1);
}

TEST(PrintToPdf, OutOfRangePaperAndOrientationGiveADocumentOrAClearFailure) {
  const std::string dir = std::getenv("ZEV_TEST_TMP") ? std::getenv("ZEV_TEST_TMP") : "/tmp";
  struct Case {
    short paper, orientation;
  };
  for (const Case& c : {Case{999, 1}, Case{-5, 2}, Case{9, 7}, Case{0, -1}, Case{11, 2}}) {
    SCOPED_TRACE(::testing::Message() << c.paper << "/" << c.orientation);
    const std::string pdf = dir + "/paper" + std::to_string(c.paper) + "_" + std::to_string(c.orientation) + ".pdf";
    std::remove(pdf.c_str());
    CPageFormatDef fmt;
    fmt.m_device.m_strPrinterName = kPrintToPdfName;
    fmt.m_device.m_strFileName = pdf.c_str();
    fmt.m_device.m_nPaperSize = c.paper;
    fmt.m_device.m_nOrientation = c.orientation;
    LinesObject obj;
    obj.lines = Numbered(100);
    auto old = SetMessageBoxHandler([](HWND, const char*, const char*, UINT style) { return DefaultMessageBoxAnswer(style); });
    const int ok = obj.PrintObject(fmt, CObjectOutputDef());
    SetMessageBoxHandler(old);
    FILE* f = std::fopen(pdf.c_str(), "rb");
    EXPECT_EQ(ok == 1, f != nullptr);
    if (f) {
      char head[5] = {};
      EXPECT_EQ(std::fread(head, 1, 4, f), 4u);
      EXPECT_STREQ(head, "%PDF");
      std::fclose(f);
    }
    std::remove(pdf.c_str());
  }
}
