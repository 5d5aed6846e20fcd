// The toolkit's message boxes and dialog bases as real windows: each shown through the GTK
// backend with nothing clipped, driven by real clicks and keys (XTEST) to the same results as
// the headless tests, and photographed.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/window/WindowBackend.h"
#include "zevutil/CFlexMessageBox.h"
#include "zevutil/CPrintStatusDlg.h"
#include "zevutil/CZevDlg.h"
#include "zevutil/platform/Host.h"
#include "zevutil/platform/Window.h"
#include "zevutil/platform/WindowMessageBox.h"
#include "zevutil/platform/WindowTesting.h"
// GLib's TRUE and FALSE macros come after the layer's constants of the same names.
#include "gui/LayerLoop.h"
#include "gui/XInput.h"
#include "gui/XvfbEnvironment.h"
#include "platform/host/GtkBackendAccess.h"

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <gdk/gdkx.h>

namespace zev {
namespace {

using gtkhost::PeerControl;
using gtkhost::PeerWidget;

ULONGLONG Now() { return GetClock().Now(); }

using zevtest::RunUntil;

bool Mapped(HWND hwnd) {
  GtkWidget* w = hwnd && IsWindow(hwnd) ? PeerWidget(hwnd) : nullptr;
  return w && gtk_widget_get_mapped(w);
}

// Mapped, then a little longer so that it is drawn.
void Settle(HWND dlg, int ms = 150) {
  RunUntil([&] { return Mapped(dlg); });
  ULONGLONG end = Now() + ULONGLONG(ms);
  RunUntil([&] { return Now() >= end; }, ms + 100);
}

// Every visible control gets exactly its layer rectangle, asks for no more than it (a
// wrapping label at its width), and shows its text within it.
void ExpectNothingClipped(HWND dlg) {
  for (HWND c = GetWindow(dlg, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT)) {
    if (!IsWindowVisible(c)) continue;
    SCOPED_TRACE("control " + std::to_string(GetDlgCtrlID(c)) + " \"" + GetWindowTextString(c) + "\"");
    GtkWidget* w = PeerWidget(c);
    ASSERT_NE(w, nullptr);
    RECT r{};
    GetWindowRect(c, &r);
    MapWindowPoints(nullptr, dlg, reinterpret_cast<POINT*>(&r), 2);
    GtkAllocation a;
    gtk_widget_get_allocation(w, &a);
    EXPECT_EQ(a.x, r.left);
    EXPECT_EQ(a.y, r.top);
    EXPECT_EQ(a.width, r.right - r.left);
    EXPECT_EQ(a.height, r.bottom - r.top);
    int minH = 0, natH = 0, minW = 0, natW = 0;
    gtk_widget_get_preferred_height_for_width(w, a.width, &minH, &natH);
    gtk_widget_get_preferred_width(w, &minW, &natW);
    EXPECT_LE(natH, a.height) << "natural height at the given width";
    EXPECT_LE(minW, a.width);
    GtkWidget* inner = PeerControl(c);
    if (inner && GTK_IS_LABEL(inner)) {
      int lw = 0, lh = 0;
      pango_layout_get_pixel_size(gtk_label_get_layout(GTK_LABEL(inner)), &lw, &lh);
      EXPECT_LE(lw, a.width) << "text within its label";
      EXPECT_LE(lh, a.height) << "text within its label";
    } else {
      EXPECT_LE(natW, a.width);
    }
  }
}

// A thread timer whose procedure runs a script step by step inside whatever loop runs.
std::function<void()> g_tick;
void TickProc(HWND, UINT, UINT_PTR, DWORD) {
  if (g_tick) g_tick();
}
struct Ticking {
  explicit Ticking(std::function<void()> f) {
    g_tick = std::move(f);
    timer = SetTimer(nullptr, 0, 40, TickProc);
  }
  ~Ticking() {
    KillTimer(nullptr, timer);
    g_tick = nullptr;
  }
  UINT_PTR timer;
};

HWND ButtonCaptioned(HWND dlg, const char* caption) {
  for (HWND c = GetWindow(dlg, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT))
    if (GetWindowTextString(c) == caption) return c;
  return nullptr;
}

class MessageBoxWindows : public ::testing::Test {
 protected:
  void SetUp() override {
    ZEV_REQUIRE_DISPLAY();
    ASSERT_STREQ(wnd::Backend().Name(), "gtk");
  }
  void TearDown() override { ResetWindowTestState(); }
};

int g_hookCalls = 0;
int HoldOnce(LONG, int) { return ++g_hookCalls == 1; }

TEST_F(MessageBoxWindows, FlexibleBoxFitsItsTextAndAnswersTheClickedButton) {
  struct Case {
    const char* shot;
    const char* prompt;
    int autoWidth;
    std::vector<const char*> captions;
    const char* click;  // caption clicked (twice when hooked)
    bool hooked;
    INT_PTR result;
  };
  const Case cases[] = {
      {"flex_message_box.png",
       "The run folder already holds 96 sample files from an earlier run. Keep them, replace them with the "
       "new files, or stop the export?",
       1, {"&Keep", "&Replace all", "Stop the export"}, "&Replace all", false, 10002},
      {"flex_message_box_lines.png", "Line one of the prompt\nand a second, longer line of the prompt", 0,
       {"OK"}, "OK", true, 10001},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.shot);
    g_hookCalls = 0;
    CFlexMessageBox box;
    for (const char* cap : c.captions) box.AddButton(cap);
    box.SetDefaultButton(10001).SetPrompt(c.prompt).SetTitle("Export").SetAutoWidth(c.autoWidth, 0);
    if (c.hooked) box.HookButton(10001, HoldOnce, 0);
    int step = 0, clicks = 0;
    bool stillOpenAfterHook = false;
    Ticking t([&] {
      HWND dlg = box.GetSafeHwnd();
      if (!Mapped(dlg)) return;
      ++step;
      if (step == 4) {
        ExpectNothingClipped(dlg);
        EXPECT_EQ(GetFocus(), GetDlgItem(dlg, 10001)) << "the default button has the focus";
        zevtest::Screenshot(PeerWidget(dlg), c.shot);
      }
      if (step == 5 || (c.hooked && step == 9)) {
        if (step == 9) stillOpenAfterHook = IsWindow(dlg) != 0;
        ++clicks;
        zevtest::ClickWidget(PeerWidget(ButtonCaptioned(dlg, c.click)));
      }
      if (step > 100) box.EndDialog(-2);  // never hang the run
    });
    EXPECT_EQ(box.DoModal(), c.result);
    EXPECT_EQ(clicks, c.hooked ? 2 : 1);
    if (c.hooked) {
      EXPECT_EQ(g_hookCalls, 2);
      EXPECT_TRUE(stillOpenAfterHook);
    }
  }
}

TEST_F(MessageBoxWindows, MessageBoxAShowsTheFlexibleBoxOnScreen) {
  UseFlexMessageBoxes();
  EXPECT_TRUE(WindowMessageBoxAvailable());
  struct Case {
    UINT style;
    const char* click;  // null: press Escape
    int answer;
  };
  const Case cases[] = {{MB_YESNOCANCEL | MB_ICONQUESTION, "&No", IDNO},
                        {MB_OKCANCEL, nullptr, IDCANCEL},
                        {MB_RETRYCANCEL | MB_DEFBUTTON2, "&Retry", IDRETRY}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.style);
    int step = 0;
    Ticking t([&] {
      HWND dlg = FindWindowA(nullptr, "Data Manager");
      if (!Mapped(dlg)) return;
      ++step;
      if (step == 4 && c.style == cases[0].style) {
        ExpectNothingClipped(dlg);
        zevtest::Screenshot(PeerWidget(dlg), "message_box.png");
      }
      if (step == 5) {
        if (c.click) {
          zevtest::ClickWidget(PeerWidget(ButtonCaptioned(dlg, c.click)));
        } else {
          // Without a window manager the keyboard follows the pointer: point at the box first.
          Display* d = gdk_x11_display_get_xdisplay(gdk_display_get_default());
          int x = 0, y = 0;
          zevtest::WidgetCentre(PeerWidget(GetDlgItem(dlg, IDC_FLEXMSGBOX_PROMPT)), &x, &y);
          XTestFakeMotionEvent(d, -1, x, y, 0);
          KeyCode kc = XKeysymToKeycode(d, GDK_KEY_Escape);
          XTestFakeKeyEvent(d, kc, True, 0);
          XTestFakeKeyEvent(d, kc, False, 0);
          XSync(d, False);
        }
      }
      if (step > 100) DestroyWindow(dlg);
    });
    EXPECT_EQ(MessageBoxA(nullptr, "Save the changes to the sample sheet before closing?", "Data Manager", c.style),
              c.answer);
  }
}

TEST_F(MessageBoxWindows, InputBoxTakesWhatIsTyped) {
  CInputBoxDlg dlg;
  dlg.m_strFirst = "";
  dlg.m_strSecond = "cap 3";
  int step = 0;
  Ticking t([&] {
    HWND d = dlg.GetSafeHwnd();
    if (!Mapped(d)) return;
    ++step;
    HWND first = GetDlgItem(d, IDC_INPUTBOX_FIRST);
    if (step == 3) zevtest::ClickWidget(PeerWidget(first));
    if (step == 6 && GetFocus() == first) zevtest::TypeText("run 12");
    if (step == 12) {
      ExpectNothingClipped(d);
      zevtest::Screenshot(PeerWidget(d), "input_box.png");
      zevtest::ClickWidget(PeerWidget(GetDlgItem(d, IDOK)));
    }
    if (step > 100) dlg.EndDialog(-2);
  });
  EXPECT_EQ(dlg.DoModal(), IDOK);
  EXPECT_STREQ(dlg.m_strFirst, "run 12");
  EXPECT_STREQ(dlg.m_strSecond, "cap 3");
}

int g_noticesDeleted = 0;
class CountedNotice : public CZevMsgBox {
 public:
  using CZevMsgBox::CZevMsgBox;
  ~CountedNotice() override { ++g_noticesDeleted; }
};

TEST_F(MessageBoxWindows, NoticeShowsItsIconAndGoesOnOk) {
  struct Case {
    int large;
    UINT style;
    const char* icon;
    const char* shot;
  };
  const Case cases[] = {{TRUE, MB_ICONEXCLAMATION, "dialog-warning", "notice_large.png"},
                        {FALSE, MB_ICONASTERISK, "dialog-information", "notice_small.png"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.shot);
    g_noticesDeleted = 0;
    auto* notice = new CountedNotice(c.large, 0);
    notice->SetTitle("Run finished");
    ASSERT_TRUE(notice->DisplayMessage("The run has finished. 96 samples were analysed and stored in the "
                                       "database.",
                                       c.style, nullptr));
    HWND self = notice->GetSafeHwnd();
    Settle(self);
    ExpectNothingClipped(self);
    const gchar* name = nullptr;
    gtk_image_get_icon_name(GTK_IMAGE(PeerWidget(GetDlgItem(self, IDC_ZEVMSGBOX_ICON))), &name, nullptr);
    EXPECT_STREQ(name, c.icon);
    EXPECT_TRUE(zevtest::Screenshot(PeerWidget(self), c.shot));
    ASSERT_TRUE(zevtest::ClickWidget(PeerWidget(GetDlgItem(self, IDOK))));
    EXPECT_TRUE(RunUntil([&] { return !IsWindow(self); }, 3000, self));
    EXPECT_EQ(g_noticesDeleted, 1);
  }
}

TEST_F(MessageBoxWindows, ProgressCancelAsksAndYesStopsTheWorker) {
  UseFlexMessageBoxes();
  auto* dlg = new CProgressControlDlg("Exporting samples", nullptr, FALSE);
  HWND self = dlg->GetSafeHwnd();
  dlg->SetTotalCount(200);
  Settle(self);
  int step = 0;
  bool asked = false;
  std::string lineAtQuestion;
  // The worker: one step every 10 ms, asking Continue between steps. A timer drives the
  // person: a screenshot, a click on Cancel, then Yes in the question box.
  Ticking t([&] {
    ++step;
    HWND box = FindWindowA(nullptr, "Cancel operation");
    if (step == 6) {
      ExpectNothingClipped(self);
      zevtest::Screenshot(PeerWidget(self), "progress.png");
      zevtest::ClickWidget(PeerWidget(GetDlgItem(self, IDCANCEL)));
    }
    if (Mapped(box) && !asked) {
      static int seen = 0;
      if (++seen < 4) return;
      seen = 0;
      asked = true;
      lineAtQuestion = GetWindowTextString(GetDlgItem(self, IDC_PROGRESS_TEXT));
      EXPECT_EQ(GetWindowTextString(GetDlgItem(box, IDC_FLEXMSGBOX_PROMPT)), "Are you sure you want to cancel?");
      ExpectNothingClipped(box);
      zevtest::Screenshot(PeerWidget(box), "progress_cancel_question.png");
      zevtest::ClickWidget(PeerWidget(ButtonCaptioned(box, "&Yes")));
    }
  });
  int done = 0;
  bool stopped = false;
  ULONGLONG end = Now() + 20000;
  for (; done < 200 && !stopped && Now() < end; ++done) {
    std::string file = "/data/runs/2026-11-23/plate_A/sample_" + std::to_string(done) + "_long_name_for_the_export.ab1";
    dlg->FormatNDisplayNext("Exporting %s", file.c_str());
    // The step's work, with the window kept alive.
    for (int i = 0; i < 5 && !stopped; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
      stopped = !dlg->Continue();
    }
  }
  EXPECT_LT(done, 200) << "the cancel should stop the worker";
  EXPECT_TRUE(asked);
  EXPECT_EQ(lineAtQuestion, "Cancelling...Please Wait...");
  EXPECT_TRUE(IsWindow(self)) << "the window stays until the worker is done";
  DestroyWindow(self);
}

// The window told of a modeless dialog's end.
std::vector<std::pair<int, int>> g_notices;  // (low word, high word) of each WM_COMMAND
LRESULT NoticeTargetProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  if (msg == WM_COMMAND) g_notices.push_back({LOWORD(DWORD(wParam)), HIWORD(DWORD(wParam))});
  return DefWindowProcA(hwnd, msg, wParam, lParam);
}

// The thread's flexible box, found by its prompt control.
HWND FlexBoxOnScreen() {
  HWND found = nullptr;
  EnumWindows(
      [](HWND w, LPARAM l) -> BOOL {
        if (!GetDlgItem(w, IDC_FLEXMSGBOX_PROMPT)) return TRUE;
        *reinterpret_cast<HWND*>(l) = w;
        return FALSE;
      },
      reinterpret_cast<LPARAM>(&found));
  return found;
}

TEST_F(MessageBoxWindows, ModelessDialogChecksItsNumberAndReportsItsEnd) {
  UseFlexMessageBoxes();
  static const ATOM cls = [] {
    WNDCLASSA wc{};
    wc.lpfnWndProc = NoticeTargetProc;
    wc.lpszClassName = "ZevNoticeTarget";
    return RegisterClassA(&wc);
  }();
  ASSERT_TRUE(cls);
  g_notices.clear();
  HWND targetWnd = CreateWindowExA(0, "ZevNoticeTarget", "main", WS_POPUP, 0, 0, 200, 100, nullptr, nullptr,
                                   nullptr, nullptr);
  CWnd target(targetWnd);
  CZevDlg dlg;
  ASSERT_TRUE(dlg.Create(IDD_INPUTBOX, "Capillaries", &target, &target, TRUE, 77));
  HWND self = dlg.GetSafeHwnd();
  HWND edit = GetDlgItem(self, IDC_INPUTBOX_FIRST);
  EXPECT_FALSE(IsWindowEnabled(targetWnd));
  Settle(self);
  ASSERT_TRUE(zevtest::ClickWidget(PeerWidget(edit)));
  EXPECT_TRUE(RunUntil([&] { return GetFocus() == edit; }, 2000, self));
  zevtest::TypeText("42");
  EXPECT_TRUE(RunUntil([&] { return GetWindowTextString(edit) == "42"; }, 3000, self));
  // Out of range: the flexible box says so; OK there gives the focus back to the field.
  std::string said;
  int step = 0;
  BOOL verified = TRUE;
  {
    Ticking t([&] {
      HWND box = FlexBoxOnScreen();
      if (!Mapped(box)) return;
      if (++step == 4) {
        said = GetWindowTextString(GetDlgItem(box, IDC_FLEXMSGBOX_PROMPT));
        ExpectNothingClipped(box);
        zevtest::Screenshot(PeerWidget(box), "spin_verify_message.png");
        zevtest::ClickWidget(PeerWidget(ButtonCaptioned(box, "OK")));
      }
    });
    verified = dlg.SpinEditVerify(IDC_INPUTBOX_FIRST, 1, 10, 0);
  }
  EXPECT_FALSE(verified);
  EXPECT_EQ(said, "Please enter a value between 1 and 10");
  EXPECT_EQ(GetFocus(), edit);
  EXPECT_TRUE(dlg.SpinEditVerify(IDC_INPUTBOX_FIRST, 1, 42, 0)) << "a bound itself is within";
  EXPECT_EQ(FlexBoxOnScreen(), nullptr);
  Settle(self);  // redrawn where the box was
  ExpectNothingClipped(self);
  EXPECT_TRUE(zevtest::Screenshot(PeerWidget(self), "modeless_dialog.png"));
  ASSERT_TRUE(zevtest::ClickWidget(PeerWidget(GetDlgItem(self, IDOK))));
  EXPECT_TRUE(RunUntil([&] { return !g_notices.empty(); }, 3000));
  EXPECT_FALSE(IsWindow(self));
  ASSERT_EQ(g_notices.size(), 1u);
  EXPECT_EQ(g_notices[0], std::make_pair(77, IDOK + 800));
  EXPECT_TRUE(IsWindowEnabled(targetWnd));
  target.Detach();
  DestroyWindow(targetWnd);
}

TEST_F(MessageBoxWindows, PrintStatusShowsTheJobAndItsCancelSetsTheFlag) {
  PrintStatusHandler old = UsePrintStatusWindows();
  ASSERT_TRUE(WindowsOnScreen());
  int job = 0;
  LONG flag = 9;
  PrintStatusInfo s;
  s.job = &job;
  s.cancelFlag = &flag;
  s.event = PrintStatusEvent::Open;
  s.title = "Sequence report: plate_A run ";  // 29 characters, as the print object cut it
  s.printer = "Print to PDF";
  s.port = "Default Port";
  NotifyPrintStatus(s);
  EXPECT_EQ(flag, 0);
  HWND dlg = FindWindowA(nullptr, "Printing");
  ASSERT_TRUE(dlg);
  s.event = PrintStatusEvent::Page;
  s.page = "Page 3";
  NotifyPrintStatus(s);
  Settle(dlg);
  ExpectNothingClipped(dlg);
  EXPECT_TRUE(zevtest::Screenshot(PeerWidget(dlg), "print_status.png"));
  ASSERT_TRUE(zevtest::ClickWidget(PeerWidget(GetDlgItem(dlg, IDCANCEL))));
  // The job pumps its messages at each new page.
  ULONGLONG end = Now() + 3000;
  while (flag == 0 && Now() < end) {
    s.page = "Page 4";
    NotifyPrintStatus(s);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  EXPECT_EQ(flag, 1);
  HWND cancelled = GetDlgItem(dlg, IDC_PRINTSTATUS_CANCELLED);
  Settle(dlg, 100);
  EXPECT_TRUE(gtk_widget_get_visible(PeerWidget(cancelled)));
  EXPECT_FALSE(gtk_widget_get_visible(PeerWidget(GetDlgItem(dlg, IDCANCEL))));
  ExpectNothingClipped(dlg);
  EXPECT_TRUE(zevtest::Screenshot(PeerWidget(dlg), "print_status_cancelled.png"));
  s.event = PrintStatusEvent::Close;
  NotifyPrintStatus(s);
  EXPECT_FALSE(IsWindow(dlg));
  SetPrintStatusHandler(old);
}

}  // namespace
}  // namespace zev
