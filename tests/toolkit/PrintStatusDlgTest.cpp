// The print job's status window on the null backend: what it shows, its cancel that sets the
// flag at once and swaps the button for the "Cancelled" line, the parent it disables, and a
// whole print job cancelled from it between pages.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ToolkitTestSupport.h"
#include "zevutil/CPrintObject.h"
#include "zevutil/CPrintStatusDlg.h"
#include "zevutil/platform/Gdi.h"
#include "zevutil/platform/WindowMessageBox.h"

namespace zev::test {
namespace {

int g_job = 0;  // its address names the job

PrintStatusInfo Event(PrintStatusEvent e, LONG* flag, const char* title = "", const char* page = "") {
  PrintStatusInfo s;
  s.event = e;
  s.title = title;
  s.printer = "Print to PDF";
  s.port = "Default Port";
  s.page = page;
  s.cancelFlag = flag;
  s.job = &g_job;
  return s;
}

class PrintStatusTest : public WindowFixture {
 protected:
  void SetUp() override {
    WindowFixture::SetUp();
    SetNullTextMetrics(6, 13);
    owner = MakeTop();
    SetActiveWindow(owner);
  }
  HWND Item(int id) const { return GetDlgItem(windows.Find(&g_job)->GetSafeHwnd(), id); }
  std::string Text(int id) const { return GetWindowTextString(Item(id)); }
  HWND owner = nullptr;
  PrintStatusWindows windows;
};

TEST_F(PrintStatusTest, ShowsTheJobAndCutsTheTitleTo30) {
  struct Case {
    const char* title;
    const char* shown;
  };
  const Case cases[] = {{"Sequence report", "Sequence report"},
                        {"A title of exactly thirty char", "A title of exactly thirty char"},
                        {"A title of thirty-one character", "A title of thirty-one characte"},
                        {"", ""}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.title);
    LONG flag = 7;
    windows(Event(PrintStatusEvent::Open, &flag, c.title));
    ASSERT_NE(windows.Find(&g_job), nullptr);
    HWND self = windows.Find(&g_job)->GetSafeHwnd();
    EXPECT_TRUE(IsWindowVisible(self));
    EXPECT_EQ(GetWindowTextString(self), "Printing");
    EXPECT_EQ(flag, 0) << "opening clears the flag";
    EXPECT_EQ(Text(IDC_PRINTSTATUS_TITLE), c.shown);
    EXPECT_EQ(Text(IDC_PRINTSTATUS_PRINTER), "Print to PDF");
    EXPECT_EQ(Text(IDC_PRINTSTATUS_PORT), "Default Port");
    EXPECT_TRUE(IsWindowVisible(Item(IDCANCEL)));
    EXPECT_FALSE(IsWindowVisible(Item(IDC_PRINTSTATUS_CANCELLED)));
    EXPECT_FALSE(IsWindowEnabled(owner)) << "the active window is the parent, disabled while printing";
    for (const char* page : {"Page 1", "Page 2"}) {
      windows(Event(PrintStatusEvent::Page, &flag, "", page));
      EXPECT_EQ(Text(IDC_PRINTSTATUS_PAGE), page);
    }
    windows(Event(PrintStatusEvent::Close, &flag));
    EXPECT_EQ(windows.Find(&g_job), nullptr);
    EXPECT_FALSE(IsWindow(self));
    EXPECT_TRUE(IsWindowEnabled(owner));
    EXPECT_EQ(flag, 0);
  }
}

TEST_F(PrintStatusTest, CancelSetsTheFlagAtOnceAndShowsTheSecondLine) {
  struct Case {
    const char* what;
    void (*press)(HWND dlg, HWND cancel);
  };
  const Case cases[] = {
      {"the button", [](HWND, HWND cancel) { ScriptedUser::Click(cancel); }},
      {"the close box", [](HWND dlg, HWND) { ScriptedUser::Close(dlg); }},
      {"Escape", [](HWND dlg, HWND) { SendMessageA(dlg, WM_COMMAND, IDCANCEL, 0); }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    LONG flag = 0;
    windows(Event(PrintStatusEvent::Open, &flag, "Report"));
    HWND self = windows.Find(&g_job)->GetSafeHwnd();
    c.press(self, Item(IDCANCEL));
    EXPECT_EQ(flag, 1) << "no question is asked";
    EXPECT_FALSE(IsWindowVisible(Item(IDCANCEL)));
    EXPECT_FALSE(IsWindowEnabled(Item(IDCANCEL)));
    EXPECT_TRUE(IsWindowVisible(Item(IDC_PRINTSTATUS_CANCELLED)));
    EXPECT_EQ(Text(IDC_PRINTSTATUS_CANCELLED), "Cancelled");
    EXPECT_TRUE(IsWindow(self)) << "the window stays until the job ends";
    windows(Event(PrintStatusEvent::Close, &flag));
    EXPECT_FALSE(IsWindow(self));
    EXPECT_TRUE(IsWindowEnabled(owner));
  }
}

TEST_F(PrintStatusTest, WithoutADisplayTheEventsGoToTheHandlerBefore) {
  std::vector<int> seen;
  PrintStatusHandler old = SetPrintStatusHandler([&](const PrintStatusInfo& s) { seen.push_back(int(s.event)); });
  PrintStatusHandler mine = UsePrintStatusWindows();
  ASSERT_FALSE(WindowsOnScreen());
  LONG flag = 0;
  NotifyPrintStatus(Event(PrintStatusEvent::Open, &flag, "Report"));
  NotifyPrintStatus(Event(PrintStatusEvent::Page, &flag, "", "Page 1"));
  NotifyPrintStatus(Event(PrintStatusEvent::Close, &flag));
  EXPECT_EQ(seen, (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(CountThreadWindows(), 1u) << "only the owner";
  SetPrintStatusHandler(old);
  (void)mine;
}

// A whole job: the user's press of Cancel after the first page is seen when the second page
// starts, and the job ends there.
class Lines : public CPrintObject {
 public:
  int asked = 0;
  int GetTextOutput(COutputInfo*, CString& text) override {
    text = ("line " + std::to_string(asked++)).c_str();
    return asked < 2000 ? 1 : 0;
  }
};

TEST_F(PrintStatusTest, APrintJobStopsWhenItsCancelIsPressed) {
  TestDeviceOptions opts;
  opts.horzRes = opts.vertRes = 6000;
  opts.horzSize = opts.vertSize = 254;
  RegisterTestPrinter("zevtest-status", opts);
  std::vector<std::string> pages;
  PrintStatusHandler old = SetPrintStatusHandler([&](const PrintStatusInfo& s) {
    windows(s);
    if (s.event != PrintStatusEvent::Page) return;
    pages.push_back(s.page);
    // Between pages the user presses Cancel; the next page's status pumps the press in.
    CPrintStatusDlg* dlg = windows.Find(s.job);
    ASSERT_NE(dlg, nullptr);
    if (pages.size() == 1) PostMessageA(dlg->GetSafeHwnd(), WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), 0);
  });
  CPageFormatDef fmt;
  fmt.m_device.m_strPrinterName = "zevtest-status";
  Lines obj;
  obj.SetPrintFromView(1, nullptr, "Status test");
  EXPECT_EQ(obj.PrintObject(fmt, CObjectOutputDef()), 0) << "cancelled";
  SetPrintStatusHandler(old);
  UnregisterTestPrinter("zevtest-status");
  EXPECT_EQ(pages, (std::vector<std::string>{"Page 1", "Page 2"}));
  EXPECT_LT(obj.asked, 2 * 257 + 1);
  EXPECT_EQ(windows.Find(&obj), nullptr);
  EXPECT_EQ(CountThreadWindows(), 1u) << "the status window is gone";
  EXPECT_TRUE(IsWindowEnabled(owner));
}

}  // namespace
}  // namespace zev::test
