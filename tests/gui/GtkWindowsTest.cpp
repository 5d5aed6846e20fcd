// Real windows: the window layer's dialogs shown through the GTK backend on a private X
// server, driven with real mouse and key events (XTEST) and checked against the layer.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/window/WindowBackend.h"
#include "zevutil/platform/Window.h"
#include "zevutil/platform/WindowTesting.h"
// GLib's TRUE and FALSE macros come after the layer's constants of the same names.
#include "gui/LayerLoop.h"
#include "gui/XInput.h"
#include "gui/XvfbEnvironment.h"
#include "platform/host/GtkBackendAccess.h"

namespace zev {
namespace {

using gtkhost::PeerControl;
using gtkhost::PeerWidget;

constexpr WORD kIdApply = 101, kIdCheck = 102, kIdRadio1 = 103, kIdRadio2 = 104, kIdEdit = 105, kIdLabel = 106,
               kIdList = 107, kIdCombo = 108, kIdProgress = 109, kIdTab = 110, kIdGroup = 111,
               kIdManual = 112;

// What the dialog procedure saw, for the assertions.
struct Seen {
  std::vector<std::pair<int, int>> commands;  // (id, code) of each WM_COMMAND and WM_NOTIFY
  std::function<void(HWND, int, int)> onCommand;
  int Count(int id, int code) const {
    int n = 0;
    for (auto& c : commands) n += c.first == id && c.second == code;
    return n;
  }
};
Seen* g_seen = nullptr;
bool g_vetoTabChange = false;  // the dialog answers TCN_SELCHANGING with TRUE

INT_PTR DlgProc(HWND dlg, UINT msg, WPARAM wParam, LPARAM lParam) {
  if (msg == WM_INITDIALOG) return 1;
  if (msg == WM_COMMAND && g_seen) {
    int id = LOWORD(DWORD(wParam)), code = HIWORD(DWORD(wParam));
    g_seen->commands.push_back({id, code});
    if (g_seen->onCommand) g_seen->onCommand(dlg, id, code);
    return 1;
  }
  if (msg == WM_NOTIFY && g_seen) {
    const auto* nm = reinterpret_cast<const NMHDR*>(lParam);
    g_seen->commands.push_back({int(nm->idFrom), int(nm->code)});
    if (nm->code == TCN_SELCHANGING && g_vetoTabChange) {
      SetWindowLongPtrA(dlg, DWLP_MSGRESULT, TRUE);
      return 1;
    }
  }
  return 0;
}

DialogTemplate MainTemplate() {
  DialogTemplate t(WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | WS_VISIBLE, 20, 20, 250, 160,
                   "Export settings");
  t.PushButton("&Apply settings", kIdApply, 8, 8, 70, 14)
      .AutoCheckBox("Keep &existing files", kIdCheck, 8, 28, 100, 10)
      .AutoRadioButton("&Numbered", kIdRadio1, 8, 42, 60, 10, WS_GROUP)
      .AutoRadioButton("&Dated", kIdRadio2, 72, 42, 60, 10)
      .EditText(kIdEdit, 8, 56, 110, 12, ES_AUTOHSCROLL)
      .LText("Files that exist already are kept, and new ones get a numbered suffix.", kIdLabel, 124, 8, 118, 30)
      .ListBox(kIdList, 124, 42, 118, 40, WS_VSCROLL | LBS_NOTIFY)
      .ComboBox(kIdCombo, 8, 72, 110, 60, CBS_DROPDOWNLIST | WS_VSCROLL)
      .Control("", kIdProgress, "msctls_progress32", WS_CHILD | WS_VISIBLE, 8, 90, 110, 8)
      .Control("", kIdTab, "SysTabControl32", WS_CHILD | WS_VISIBLE, 124, 88, 118, 40)
      .GroupBox("Output", kIdGroup, 4, 104, 114, 24)
      .CheckBox("&Manual check box", kIdManual, 10, 114, 100, 10)
      .DefPushButton("OK", IDOK, 136, 138, 50, 14)
      .PushButton("Cancel", IDCANCEL, 192, 138, 50, 14);
  return t;
}

DialogTemplate BoxTemplate(const char* caption, short x, short y) {
  DialogTemplate t(WS_POPUP | WS_CAPTION | DS_MODALFRAME | WS_VISIBLE, x, y, 140, 50, caption);
  t.LText("A nested box, opened from a click.", kIdLabel, 8, 8, 124, 10).DefPushButton("OK", IDOK, 45, 28, 50, 14);
  return t;
}

ULONGLONG Now() { return GetClock().Now(); }

using zevtest::RunUntil;

// Lets the window appear and settle: mapped, laid out and drawn.
void Settle(HWND dlg, int ms = 150) {
  RunUntil([&] {
    GtkWidget* w = PeerWidget(dlg);
    return w && gtk_widget_get_mapped(w);
  });
  ULONGLONG end = Now() + ULONGLONG(ms);
  RunUntil([&] { return Now() >= end; }, ms + 100);
}

RECT RectInDialog(HWND ctl, HWND dlg) {
  RECT r{};
  GetWindowRect(ctl, &r);
  MapWindowPoints(nullptr, dlg, reinterpret_cast<POINT*>(&r), 2);
  return r;
}

class GtkWindows : public ::testing::Test {
 protected:
  void SetUp() override {
    ZEV_REQUIRE_DISPLAY();
    ASSERT_STREQ(wnd::Backend().Name(), "gtk") << "the display opened, so the GTK backend should serve";
    g_seen = &m_seen;
  }
  void TearDown() override {
    g_seen = nullptr;
    ResetWindowTestState();
  }
  HWND MakeMain() {
    static const DialogTemplate t = MainTemplate();
    HWND dlg = CreateDialogIndirectParamA(nullptr, &t, nullptr, DlgProc, 0);
    EXPECT_NE(dlg, nullptr);
    return dlg;
  }
  Seen m_seen;
};

TEST_F(GtkWindows, EveryControlGetsExactlyItsRectangleAndItsContentFits) {
  HWND dlg = MakeMain();
  ASSERT_TRUE(dlg);
  HWND list = GetDlgItem(dlg, kIdList);
  for (const char* s : {"run_0001.ab1", "run_0002.ab1", "run_0003.scf"}) SendMessageA(list, LB_ADDSTRING, 0, LPARAM(s));
  HWND combo = GetDlgItem(dlg, kIdCombo);
  for (const char* s : {"Numbered suffix", "Date suffix"}) SendMessageA(combo, CB_ADDSTRING, 0, LPARAM(s));
  SendMessageA(combo, CB_SETCURSEL, 0, 0);
  SendDlgItemMessageA(dlg, kIdProgress, PBM_SETPOS, 40, 0);
  TCITEMA tab{TCIF_TEXT, 0, 0, const_cast<char*>("General"), 0, -1, 0};
  SendDlgItemMessageA(dlg, kIdTab, TCM_INSERTITEMA, 0, LPARAM(&tab));
  tab.pszText = const_cast<char*>("Files");
  SendDlgItemMessageA(dlg, kIdTab, TCM_INSERTITEMA, 1, LPARAM(&tab));
  SetDlgItemTextA(dlg, kIdEdit, "/data/export");
  Settle(dlg);

  // The top-level's content is exactly the client area.
  RECT client{};
  GetClientRect(dlg, &client);
  GtkWidget* content = gtk_bin_get_child(GTK_BIN(PeerWidget(dlg)));
  GtkAllocation ca;
  gtk_widget_get_allocation(content, &ca);
  EXPECT_EQ(ca.width, client.right);
  EXPECT_EQ(ca.height, client.bottom);

  for (WORD id : {kIdApply, kIdCheck, kIdRadio1, kIdRadio2, kIdEdit, kIdLabel, kIdList, kIdCombo, kIdProgress, kIdTab,
                  kIdGroup, kIdManual, WORD(IDOK), WORD(IDCANCEL)}) {
    HWND ctl = GetDlgItem(dlg, id);
    char cls[64] = {};
    GetClassNameA(ctl, cls, sizeof cls);
    SCOPED_TRACE(std::string(cls) + " " + std::to_string(id));
    GtkWidget* w = PeerWidget(ctl);
    ASSERT_NE(w, nullptr);
    RECT r = RectInDialog(ctl, dlg);
    GtkAllocation a;
    gtk_widget_get_allocation(w, &a);
    EXPECT_EQ(a.x, r.left);
    EXPECT_EQ(a.y, r.top);
    EXPECT_EQ(a.width, r.right - r.left);
    // A combo box's rectangle holds its dropped list; the closed box takes its top part.
    if (id == kIdCombo) {
      EXPECT_LE(a.height, r.bottom - r.top);
    } else {
      EXPECT_EQ(a.height, r.bottom - r.top);
    }
    // The theme never asks for more than the rectangle: the compact style holds.
    GtkRequisition minimum, natural;
    gtk_widget_get_preferred_size(w, &minimum, &natural);
    EXPECT_LE(minimum.width, a.width);
    int natH = 0, minH = 0;
    gtk_widget_get_preferred_height_for_width(w, a.width, &minH, &natH);
    EXPECT_LE(natH, a.height) << "natural height at the given width";
    // A wrapping label's natural width is its text on one line; it wraps to its rectangle.
    if (id != kIdLabel) {
      EXPECT_LE(natural.width, a.width);
    }
  }

  // Captions are measured by the layout that draws them, and fit their controls.
  for (WORD id : {kIdApply, kIdCheck, kIdRadio1, WORD(IDOK)}) {
    HWND ctl = GetDlgItem(dlg, id);
    SCOPED_TRACE(GetWindowTextString(ctl));
    SIZE sz{};
    ASSERT_TRUE(GetWindowTextExtent(ctl, GetWindowTextString(ctl).c_str(), 0, &sz));
    RECT r = RectInDialog(ctl, dlg);
    EXPECT_GT(sz.cx, 0);
    EXPECT_LE(sz.cx, r.right - r.left);
    EXPECT_LE(sz.cy, r.bottom - r.top);
  }

  // The layer's state is what the widgets show.
  EXPECT_STREQ(gtk_entry_get_text(GTK_ENTRY(PeerControl(GetDlgItem(dlg, kIdEdit)))), "/data/export");
  EXPECT_EQ(gtk_tree_model_iter_n_children(gtk_tree_view_get_model(GTK_TREE_VIEW(PeerControl(list))), nullptr), 3);
  EXPECT_EQ(gtk_combo_box_get_active(GTK_COMBO_BOX(PeerControl(combo))), 0);
  EXPECT_DOUBLE_EQ(gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(PeerControl(GetDlgItem(dlg, kIdProgress)))), 0.4);
  EXPECT_EQ(gtk_notebook_get_n_pages(GTK_NOTEBOOK(PeerControl(GetDlgItem(dlg, kIdTab)))), 2);
  EXPECT_TRUE(zevtest::Screenshot(PeerWidget(dlg), "controls.png"));
}

TEST_F(GtkWindows, LayerCallsShowInTheWidgets) {
  HWND dlg = MakeMain();
  ASSERT_TRUE(dlg);
  HWND list = GetDlgItem(dlg, kIdList);
  for (const char* s : {"a", "b", "c"}) SendMessageA(list, LB_ADDSTRING, 0, LPARAM(s));
  Settle(dlg, 50);
  auto item = [&](WORD id) { return GetDlgItem(dlg, id); };
  struct Case {
    const char* what;
    std::function<void()> act;
    std::function<bool()> shown;
  };
  const Case cases[] = {
      {"disabled control is greyed", [&] { EnableWindow(item(kIdCheck), FALSE); },
       [&] { return !gtk_widget_get_sensitive(PeerWidget(item(kIdCheck))); }},
      {"hidden control", [&] { ShowWindow(item(kIdLabel), SW_HIDE); },
       [&] { return !gtk_widget_get_visible(PeerWidget(item(kIdLabel))); }},
      {"caption with a mnemonic", [&] { SetWindowTextA(item(kIdApply), "&Run && stop"); },
       [&] { return std::string(gtk_button_get_label(GTK_BUTTON(PeerControl(item(kIdApply))))) == "_Run & stop"; }},
      {"moved control", [&] { MoveWindow(item(kIdEdit), 10, 100, 80, 20, TRUE); },
       [&] {
         GtkAllocation a;
         gtk_widget_get_allocation(PeerWidget(item(kIdEdit)), &a);
         return a.x == 10 && a.y == 100 && a.width == 80 && a.height == 20;
       }},
      {"checked box", [&] { CheckDlgButton(dlg, kIdCheck, BST_CHECKED); },
       [&] { return gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(PeerControl(item(kIdCheck)))) != 0; }},
      {"list selection", [&] { SendMessageA(list, LB_SETCURSEL, 2, 0); },
       [&] {
         GtkTreeModel* m = nullptr;
         GtkTreeIter it;
         GtkTreeSelection* sel = gtk_tree_view_get_selection(GTK_TREE_VIEW(PeerControl(list)));
         if (!gtk_tree_selection_get_selected(sel, &m, &it)) return false;
         GtkTreePath* path = gtk_tree_model_get_path(m, &it);
         int row = gtk_tree_path_get_indices(path)[0];
         gtk_tree_path_free(path);
         return row == 2;
       }},
      {"list item deleted", [&] { SendMessageA(list, LB_DELETESTRING, 0, 0); },
       [&] { return gtk_tree_model_iter_n_children(gtk_tree_view_get_model(GTK_TREE_VIEW(PeerControl(list))), nullptr) == 2; }},
      {"full progress", [&] { SendDlgItemMessageA(dlg, kIdProgress, PBM_SETPOS, 100, 0); },
       [&] { return gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(PeerControl(item(kIdProgress)))) == 1.0; }},
      {"window title", [&] { SetWindowTextA(dlg, "Renamed"); },
       [&] { return std::string(gtk_window_get_title(GTK_WINDOW(PeerWidget(dlg)))) == "Renamed"; }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    c.act();
    EXPECT_TRUE(RunUntil(c.shown, 1000, dlg));
  }
  // Nothing the layer did came back as a notification of a user's change.
  EXPECT_EQ(m_seen.Count(kIdList, LBN_SELCHANGE), 0);
  EXPECT_EQ(m_seen.Count(kIdCheck, BN_CLICKED), 0);
}

TEST_F(GtkWindows, ClicksArriveAsButtonNotificationsAndTheLayerOwnsRadioGroups) {
  HWND dlg = MakeMain();
  ASSERT_TRUE(dlg);
  CheckRadioButton(dlg, kIdRadio1, kIdRadio2, kIdRadio1);
  Settle(dlg);
  struct Case {
    WORD id;
    UINT check1, check2;  // IsDlgButtonChecked of radio 1 and 2 afterwards
  };
  const Case cases[] = {{kIdApply, 1, 0},  {kIdCheck, 1, 0},  {kIdRadio2, 0, 1},
                        {kIdRadio1, 1, 0}, {kIdRadio1, 1, 0}, {kIdManual, 1, 0}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.id);
    int before = m_seen.Count(c.id, BN_CLICKED);
    ASSERT_TRUE(zevtest::ClickWidget(PeerWidget(GetDlgItem(dlg, c.id))));
    EXPECT_TRUE(RunUntil([&] { return m_seen.Count(c.id, BN_CLICKED) > before; }, 3000, dlg));
    EXPECT_EQ(m_seen.Count(c.id, BN_CLICKED), before + 1);
    EXPECT_EQ(IsDlgButtonChecked(dlg, kIdRadio1), c.check1);
    EXPECT_EQ(IsDlgButtonChecked(dlg, kIdRadio2), c.check2);
    // The widgets show the layer's group logic, not GTK's.
    EXPECT_EQ(bool(gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(PeerControl(GetDlgItem(dlg, kIdRadio1))))), c.check1 == 1);
    EXPECT_EQ(bool(gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(PeerControl(GetDlgItem(dlg, kIdRadio2))))), c.check2 == 1);
  }
  EXPECT_EQ(IsDlgButtonChecked(dlg, kIdCheck), 1u);
  EXPECT_TRUE(gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(PeerControl(GetDlgItem(dlg, kIdCheck)))));
  // A check box that is not automatic only reports the click; GTK's own toggle is undone.
  EXPECT_EQ(IsDlgButtonChecked(dlg, kIdManual), 0u);
  EXPECT_FALSE(gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(PeerControl(GetDlgItem(dlg, kIdManual)))));
}

// A client of the message hook that spoils one key: the key never reaches the edit.
UINT g_spoil = 0;
bool g_spoilX = false;
HHOOK g_hook = nullptr;
std::vector<WPARAM> g_keysSeen;
LRESULT SpoilX(int code, WPARAM wParam, LPARAM lParam) {
  auto* m = reinterpret_cast<MSG*>(lParam);
  if (code == HC_ACTION && m->message == WM_KEYDOWN) {
    g_keysSeen.push_back(m->wParam);
    if (g_spoilX && m->wParam == 'X') m->message = g_spoil;
  }
  return CallNextHookEx(g_hook, code, wParam, lParam);
}

TEST_F(GtkWindows, TypedTextReachesTheLayerUnlessTheMessageHookSpoilsIt) {
  HWND dlg = MakeMain();
  ASSERT_TRUE(dlg);
  HWND edit = GetDlgItem(dlg, kIdEdit);
  Settle(dlg);
  struct Case {
    const char* typed;
    bool hook;
    const char* expect;
  };
  const Case cases[] = {{"abc", false, "abc"}, {"axb", true, "ab"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.typed);
    SetWindowTextA(edit, "");
    m_seen.commands.clear();
    g_keysSeen.clear();
    g_spoilX = c.hook;
    g_spoil = RegisterWindowMessageA("ZEV#GetMessageHook");
    g_hook = SetWindowsHookExA(WH_GETMESSAGE, SpoilX, nullptr, GetCurrentThreadId());
    ASSERT_TRUE(g_hook);
    ASSERT_TRUE(zevtest::ClickWidget(PeerWidget(edit)));
    RunUntil([&] { return GetFocus() == edit; }, 2000, dlg);
    EXPECT_EQ(GetFocus(), edit);
    zevtest::TypeText(c.typed);
    EXPECT_TRUE(RunUntil([&] { return GetWindowTextString(edit) == c.expect && g_keysSeen.size() >= 3; }, 3000, dlg));
    // Give a spoilt key time to show up, if it were going to.
    ULONGLONG end = Now() + 100;
    RunUntil([&] { return Now() >= end; }, 300, dlg);
    if (g_hook) UnhookWindowsHookEx(g_hook), g_hook = nullptr;
    EXPECT_EQ(GetWindowTextString(edit), c.expect);
    EXPECT_STREQ(gtk_entry_get_text(GTK_ENTRY(PeerControl(edit))), c.expect);
    EXPECT_EQ(m_seen.Count(kIdEdit, EN_CHANGE), int(std::string(c.expect).size()));
    EXPECT_EQ(g_keysSeen, (std::vector<WPARAM>{WPARAM(std::toupper(c.typed[0])), WPARAM(std::toupper(c.typed[1])),
                                               WPARAM(std::toupper(c.typed[2]))}));
  }
  EXPECT_TRUE(zevtest::Screenshot(PeerWidget(dlg), "typed.png"));
}

// The nested box records itself and closes with 7 on OK.
HWND g_box = nullptr;
INT_PTR BoxProc(HWND dlg, UINT msg, WPARAM wParam, LPARAM) {
  if (msg == WM_INITDIALOG) {
    g_box = dlg;
    return 1;
  }
  if (msg == WM_COMMAND && LOWORD(DWORD(wParam)) == IDOK) {
    EndDialog(dlg, 7);
    return 1;
  }
  return 0;
}

// A thread timer whose procedure runs a test's script step by step, inside whatever loop
// is running (the modal loop of a nested box included).
std::function<void()> g_tick;
void TickProc(HWND, UINT, UINT_PTR, DWORD) {
  if (g_tick) g_tick();
}

TEST_F(GtkWindows, ANestedModalLoopFromAClickDisablesItsOwnerWithoutGreying) {
  HWND dlg = MakeMain();
  ASSERT_TRUE(dlg);
  Settle(dlg);
  g_box = nullptr;
  INT_PTR answer = -99;
  int ownerClicksDuringModal = -1, ownerClicksBefore = 0;
  bool ownerLooksEnabled = false, ownerDisabled = false;
  int step = 0;
  bool started = false;
  m_seen.onCommand = [&](HWND owner, int id, int code) {
    if (id != kIdApply || code != BN_CLICKED || started) return;
    started = true;
    // Still inside GTK's click handler: a modal box with its own loop. The script clicks
    // the disabled owner's button, takes a screenshot, then clicks the box's OK.
    static const DialogTemplate t = BoxTemplate("Nested", 60, 40);
    g_tick = [&, owner] {
      GtkWidget* bw = g_box ? PeerWidget(g_box) : nullptr;
      if (!bw || !gtk_widget_get_mapped(bw)) return;
      ++step;
      if (step == 2) {
        ownerDisabled = !IsWindowEnabled(owner);
        ownerClicksBefore = m_seen.Count(kIdApply, BN_CLICKED);
        zevtest::ClickWidget(PeerWidget(GetDlgItem(owner, kIdApply)));
      } else if (step == 5) {
        ownerClicksDuringModal = m_seen.Count(kIdApply, BN_CLICKED) - ownerClicksBefore;
        ownerLooksEnabled = gtk_widget_is_sensitive(PeerWidget(GetDlgItem(owner, kIdApply)));
        zevtest::Screenshot(PeerWidget(g_box), "nested.png");
        zevtest::ClickWidget(PeerWidget(GetDlgItem(g_box, IDOK)));
      }
    };
    UINT_PTR timer = SetTimer(nullptr, 0, 50, TickProc);
    answer = DialogBoxIndirectParamA(nullptr, &t, owner, BoxProc, 0);
    KillTimer(nullptr, timer);
    g_tick = nullptr;
  };
  ASSERT_TRUE(zevtest::ClickWidget(PeerWidget(GetDlgItem(dlg, kIdApply))));
  EXPECT_TRUE(RunUntil([&] { return answer != -99; }, 8000, dlg));
  EXPECT_EQ(answer, 7);
  EXPECT_TRUE(ownerDisabled);
  EXPECT_EQ(ownerClicksDuringModal, 0) << "the disabled owner took a click";
  EXPECT_TRUE(ownerLooksEnabled) << "the owner's controls were greyed";
  EXPECT_TRUE(IsWindowEnabled(dlg));
  EXPECT_FALSE(IsWindow(g_box));
  // The owner takes clicks again.
  int before = m_seen.Count(kIdApply, BN_CLICKED);
  m_seen.onCommand = nullptr;
  ASSERT_TRUE(zevtest::ClickWidget(PeerWidget(GetDlgItem(dlg, kIdApply))));
  EXPECT_TRUE(RunUntil([&] { return m_seen.Count(kIdApply, BN_CLICKED) > before; }, 3000, dlg));
}

TEST_F(GtkWindows, AWindowDestroyedInsideItsOwnClickHandlerGoesCleanly) {
  struct Case {
    WORD id;  // the control whose click destroys the dialog
    const char* what;
  };
  const Case cases[] = {{IDCANCEL, "push button"}, {kIdCheck, "check box"}, {kIdRadio2, "radio button"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    size_t windowsBefore = CountThreadWindows();
    HWND dlg = MakeMain();
    ASSERT_TRUE(dlg);
    Settle(dlg, 50);
    m_seen.onCommand = [&](HWND d, int id, int code) {
      if (id == c.id && code == BN_CLICKED) DestroyWindow(d);
    };
    ASSERT_TRUE(zevtest::ClickWidget(PeerWidget(GetDlgItem(dlg, c.id))));
    EXPECT_TRUE(RunUntil([&] { return !IsWindow(dlg); }, 3000));
    // Let GTK finish the emission and whatever follows it.
    ULONGLONG end = Now() + 50;
    RunUntil([&] { return Now() >= end; }, 200);
    EXPECT_EQ(PeerWidget(dlg), nullptr);
    EXPECT_EQ(CountThreadWindows(), windowsBefore);
    m_seen.onCommand = nullptr;
  }
}

TEST_F(GtkWindows, APostFromAWorkerThreadWakesTheLoopWaitingInGtk) {
  HWND dlg = MakeMain();
  ASSERT_TRUE(dlg);
  Settle(dlg, 20);
  constexpr UINT kDone = WM_APP + 5;
  std::atomic<int> posted{0};
  int received = 0;
  // Subclass-free: the dialog procedure ignores WM_APP, so count at the loop.
  std::thread worker([&] {
    for (int i = 0; i < 20; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
      PostMessageA(dlg, kDone, WPARAM(i), 0);
      ++posted;
    }
  });
  // No timer here: only the posts can wake GetMessage.
  ULONGLONG start = Now();
  MSG m;
  while (received < 20 && Now() - start < 5000 && GetMessageA(&m, nullptr, 0, 0) > 0) {
    if (m.message == kDone) {
      EXPECT_EQ(m.wParam, WPARAM(received));
      ++received;
    }
    DispatchMessageA(&m);
  }
  worker.join();
  EXPECT_EQ(received, 20);
  EXPECT_LT(Now() - start, 3000u) << "posts from the worker should wake the loop at once";
}

TEST_F(GtkWindows, ClosingTheWindowAndPickingARowOrATabGoThroughTheLayer) {
  HWND dlg = MakeMain();
  ASSERT_TRUE(dlg);
  HWND list = GetDlgItem(dlg, kIdList);
  for (const char* s : {"first", "second", "third"}) SendMessageA(list, LB_ADDSTRING, 0, LPARAM(s));
  HWND tabs = GetDlgItem(dlg, kIdTab);
  for (const char* s : {"General", "Files"}) {
    TCITEMA item{TCIF_TEXT, 0, 0, const_cast<char*>(s), 0, -1, 0};
    SendMessageA(tabs, TCM_INSERTITEMA, WPARAM(SendMessageA(tabs, TCM_GETITEMCOUNT, 0, 0)), LPARAM(&item));
  }
  Settle(dlg);
  // A click on the second tab: the layer's selection moves and the parent hears of it.
  GtkNotebook* nb = GTK_NOTEBOOK(PeerControl(tabs));
  ASSERT_TRUE(zevtest::ClickWidget(gtk_notebook_get_tab_label(nb, gtk_notebook_get_nth_page(nb, 1))));
  EXPECT_TRUE(RunUntil([&] { return m_seen.Count(kIdTab, int(TCN_SELCHANGE)) > 0; }, 3000, dlg));
  EXPECT_EQ(m_seen.Count(kIdTab, int(TCN_SELCHANGING)), 1);
  EXPECT_EQ(SendMessageA(tabs, TCM_GETCURSEL, 0, 0), 1);
  EXPECT_EQ(gtk_notebook_get_current_page(nb), 1);
  // A parent that refuses the change keeps the page where it is.
  g_vetoTabChange = true;
  ASSERT_TRUE(zevtest::ClickWidget(gtk_notebook_get_tab_label(nb, gtk_notebook_get_nth_page(nb, 0))));
  EXPECT_TRUE(RunUntil([&] { return m_seen.Count(kIdTab, int(TCN_SELCHANGING)) > 1; }, 3000, dlg));
  g_vetoTabChange = false;
  EXPECT_EQ(m_seen.Count(kIdTab, int(TCN_SELCHANGE)), 1);
  EXPECT_EQ(SendMessageA(tabs, TCM_GETCURSEL, 0, 0), 1);
  EXPECT_EQ(gtk_notebook_get_current_page(nb), 1);
  // A click on the second row's centre.
  GtkTreeView* tv = GTK_TREE_VIEW(PeerControl(list));
  GdkRectangle cell;
  GtkTreePath* path = gtk_tree_path_new_from_indices(1, -1);
  gtk_tree_view_get_cell_area(tv, path, nullptr, &cell);
  gtk_tree_path_free(path);
  int bx = 0, by = 0;
  gtk_tree_view_convert_bin_window_to_widget_coords(tv, cell.x + cell.width / 2, cell.y + cell.height / 2, &bx, &by);
  int ox = 0, oy = 0;
  gdk_window_get_origin(gtk_widget_get_window(GTK_WIDGET(tv)), &ox, &oy);
  GtkAllocation a;
  gtk_widget_get_allocation(GTK_WIDGET(tv), &a);
  zevtest::ClickAt(ox + (gtk_widget_get_has_window(GTK_WIDGET(tv)) ? 0 : a.x) + bx,
                   oy + (gtk_widget_get_has_window(GTK_WIDGET(tv)) ? 0 : a.y) + by);
  EXPECT_TRUE(RunUntil([&] { return m_seen.Count(kIdList, LBN_SELCHANGE) > 0; }, 3000, dlg));
  EXPECT_EQ(SendMessageA(list, LB_GETCURSEL, 0, 0), 1);
  // The window manager's close button is a delete event: WM_CLOSE, which a dialog turns into
  // IDCANCEL.
  GdkEvent* ev = gdk_event_new(GDK_DELETE);
  ev->any.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(PeerWidget(dlg))));
  gtk_main_do_event(ev);
  gdk_event_free(ev);
  EXPECT_TRUE(RunUntil([&] { return m_seen.Count(IDCANCEL, BN_CLICKED) > 0; }, 2000, dlg));
}

}  // namespace
}  // namespace zev
