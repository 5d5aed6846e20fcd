// Dialogs and the standard controls on the null backend, driven by the scripted user: modal
// loops, nested loops, disabled owners, destruction inside handlers, radio groups, keys through
// the hook chain, and each control's messages and notifications.
#include <gtest/gtest.h>

#include "WindowTestSupport.h"

namespace zev {
namespace {

using namespace testing_window;
using Strings = std::vector<std::string>;

constexpr int kEdit = 101, kRadioA = 110, kRadioB = 111, kRadioC = 112, kRadioX = 113, kRadioY = 114,
              kManual = 115, kCheck = 120, kNested = 130, kList = 140, kCombo = 141, kTab = 142, kProgress = 143;

DialogTemplate TestTemplate(DWORD extraStyle = 0) {
  DialogTemplate t(DS_MODALFRAME | WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_VISIBLE | extraStyle, 0, 0, 200, 120,
                   "Test");
  t.LText("Name:", 100, 5, 5, 40, 8)
      .EditText(kEdit, 50, 5, 100, 12, ES_AUTOHSCROLL)
      .AutoRadioButton("A", kRadioA, 5, 20, 40, 10, WS_GROUP | WS_TABSTOP)
      .AutoRadioButton("B", kRadioB, 5, 30, 40, 10)
      .AutoRadioButton("C", kRadioC, 5, 40, 40, 10)
      .AutoRadioButton("X", kRadioX, 60, 20, 40, 10, WS_GROUP | WS_TABSTOP)
      .AutoRadioButton("Y", kRadioY, 60, 30, 40, 10)
      .RadioButton("Manual", kManual, 60, 40, 40, 10)
      .AutoCheckBox("Check", kCheck, 5, 55, 60, 10, WS_GROUP)
      .PushButton("Nested", kNested, 5, 100, 40, 14)
      .DefPushButton("OK", IDOK, 100, 100, 40, 14)
      .PushButton("Cancel", IDCANCEL, 150, 100, 40, 14);
  return t;
}

// What the dialog procedure saw, and what it does on a command.
struct DialogLog {
  std::vector<std::pair<int, int>> commands;  // (id, code)
  std::vector<UINT> notifyCodes;
  HWND dlg = nullptr;
  HWND initFocus = nullptr;
  int initCount = 0;
  bool destroyOnCancel = false;
  bool vetoTabChange = false;
  std::function<void(HWND)> onNested;
};
DialogLog* g_log = nullptr;

INT_PTR TestDlgProc(HWND h, UINT m, WPARAM w, LPARAM l) {
  switch (m) {
    case WM_INITDIALOG:
      g_log->dlg = h;
      g_log->initFocus = reinterpret_cast<HWND>(w);
      ++g_log->initCount;
      return TRUE;
    case WM_COMMAND: {
      int id = LOWORD(DWORD(w)), code = HIWORD(DWORD(w));
      g_log->commands.emplace_back(id, code);
      if (id == kNested && g_log->onNested) g_log->onNested(h);
      if (id == IDCANCEL && g_log->destroyOnCancel) {
        DestroyWindow(h);
        return TRUE;
      }
      if (id == IDOK || id == IDCANCEL) EndDialog(h, id);
      return TRUE;
    }
    case WM_NOTIFY: {
      const NMHDR* nm = reinterpret_cast<const NMHDR*>(l);
      g_log->notifyCodes.push_back(nm->code);
      if (nm->code == TCN_SELCHANGING && g_log->vetoTabChange) {
        SetWindowLongPtrA(h, DWLP_MSGRESULT, TRUE);
        return TRUE;
      }
      return FALSE;
    }
    default:
      return FALSE;
  }
}

class WindowDialogTest : public WindowFixture {
 protected:
  void SetUp() override {
    WindowFixture::SetUp();
    log = DialogLog{};
    g_log = &log;
  }
  void TearDown() override {
    g_log = nullptr;
    WindowFixture::TearDown();
  }
  HWND Modeless() {
    DialogTemplate t = TestTemplate();
    return CreateDialogIndirectParamA(nullptr, &t, nullptr, TestDlgProc, 0);
  }
  HWND Item(int id) { return GetDlgItem(log.dlg, id); }
  // The loop of a modeless dialog, until the queue is empty.
  void PumpDialog(HWND dlg) {
    MSG m;
    while (PeekMessageA(&m, nullptr, 0, 0, PM_REMOVE))
      if (!IsDialogMessageA(dlg, &m)) {
        TranslateMessage(&m);
        DispatchMessageA(&m);
      }
  }
  int Commands(int id, int code) {
    int n = 0;
    for (auto& c : log.commands) n += c.first == id && c.second == code;
    return n;
  }
  DialogLog log;
};

TEST_F(WindowDialogTest, ModalLoopEndsWithEndDialogAndGivesTheOwnerBack) {
  struct Case {
    const char* name;
    std::function<void(DialogLog&)> act;
    INT_PTR result;
  };
  const Case cases[] = {
      {"click OK", [](DialogLog& l) { ScriptedUser::Click(GetDlgItem(l.dlg, IDOK)); }, IDOK},
      {"click Cancel", [](DialogLog& l) { ScriptedUser::Click(GetDlgItem(l.dlg, IDCANCEL)); }, IDCANCEL},
      {"Escape", [](DialogLog&) { ScriptedUser::PressKey(VK_ESCAPE); }, IDCANCEL},
      {"Enter goes to the default button", [](DialogLog&) { ScriptedUser::PressKey(VK_RETURN, '\r'); }, IDOK},
      {"window closed", [](DialogLog& l) { ScriptedUser::Close(l.dlg); }, IDCANCEL},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    log = DialogLog{};
    HWND owner = Top("owner", WS_POPUP | WS_VISIBLE);
    HWND ownerButton = Child(owner, 55, 0, "Button", BS_PUSHBUTTON, "Owner's");
    bool ownerDisabled = false, visible = false, refused = false;
    ScriptedUser::Script([&] {
      ownerDisabled = !IsWindowEnabled(owner);
      visible = IsWindowVisible(log.dlg);
      refused = !ScriptedUser::Click(ownerButton);  // a disabled owner takes no clicks
      c.act(log);
    });
    Journal().clear();
    DialogTemplate t = TestTemplate();
    INT_PTR r = DialogBoxIndirectParamA(nullptr, &t, owner, TestDlgProc, 0);
    EXPECT_EQ(r, c.result);
    EXPECT_TRUE(ownerDisabled);
    EXPECT_TRUE(visible);
    EXPECT_TRUE(refused);
    EXPECT_TRUE(IsWindowEnabled(owner));
    EXPECT_FALSE(IsWindow(log.dlg));
    EXPECT_EQ(log.initCount, 1);
    EXPECT_EQ(log.initFocus, GetDlgItem(log.dlg, kEdit) ? GetDlgItem(log.dlg, kEdit) : log.initFocus);
    EXPECT_EQ(WouldBlockCount(), 0);
    int idle = 0, ownerCommands = 0;
    for (const Seen& s : Journal()) {
      idle += s.hwnd == owner && s.msg == WM_ENTERIDLE;
      ownerCommands += s.hwnd == owner && s.msg == WM_COMMAND;
    }
    EXPECT_GE(idle, 1);
    EXPECT_EQ(ownerCommands, 0);
    DestroyWindow(owner);
  }
}

TEST_F(WindowDialogTest, NestedModalLoopFromAClickHandler) {
  HWND owner = Top("owner", WS_POPUP | WS_VISIBLE);
  INT_PTR inner = 0;
  bool outerDisabledDuringInner = false;
  HWND outer = nullptr;
  log.onNested = [&](HWND dlg) {
    outer = dlg;
    ScriptedUser::Script([&] {
      outerDisabledDuringInner = !IsWindowEnabled(outer);
      ScriptedUser::Click(GetDlgItem(g_log->dlg, IDOK));  // the inner dialog's OK
    });
    DialogTemplate t = TestTemplate();
    inner = DialogBoxIndirectParamA(nullptr, &t, dlg, TestDlgProc, 0);
    g_log->dlg = dlg;
    ScriptedUser::Script([&] { ScriptedUser::Click(GetDlgItem(outer, IDCANCEL)); });
  };
  ScriptedUser::Script([&] { ScriptedUser::Click(GetDlgItem(log.dlg, kNested)); });
  DialogTemplate t = TestTemplate();
  INT_PTR r = DialogBoxIndirectParamA(nullptr, &t, owner, TestDlgProc, 0);
  EXPECT_EQ(inner, IDOK);
  EXPECT_EQ(r, IDCANCEL);
  EXPECT_TRUE(outerDisabledDuringInner);
  EXPECT_TRUE(IsWindowEnabled(owner));
  EXPECT_EQ(CountThreadWindows(), 1u);  // the owner
  EXPECT_EQ(WouldBlockCount(), 0);
}

TEST_F(WindowDialogTest, DestroyingTheDialogInsideItsOwnHandler) {
  log.destroyOnCancel = true;
  HWND dlg = Modeless();
  ASSERT_TRUE(dlg);
  EXPECT_TRUE(IsWindowVisible(dlg));
  EXPECT_TRUE(ScriptedUser::Click(GetDlgItem(dlg, IDCANCEL)));
  EXPECT_FALSE(IsWindow(dlg));
  EXPECT_EQ(CountThreadWindows(), 0u);
  // The same inside a modal loop: the loop ends when its window goes.
  ScriptedUser::Script([&] { ScriptedUser::Click(GetDlgItem(log.dlg, IDCANCEL)); });
  DialogTemplate t = TestTemplate();
  EXPECT_EQ(DialogBoxIndirectParamA(nullptr, &t, nullptr, TestDlgProc, 0), 0);
  EXPECT_EQ(CountThreadWindows(), 0u);
  EXPECT_EQ(WouldBlockCount(), 0);
  PumpPending();
  // A loop with nothing left to wait for is reported, not hung.
  SetWouldBlockHandler([] { PostQuitMessage(-1); });
  log.destroyOnCancel = false;
  EXPECT_EQ(DialogBoxIndirectParamA(nullptr, &t, nullptr, TestDlgProc, 0), 0);
  EXPECT_EQ(WouldBlockCount(), 1);
  MSG m;
  EXPECT_TRUE(PeekMessageA(&m, nullptr, 0, 0, PM_REMOVE));
  EXPECT_EQ(m.message, UINT(WM_QUIT));  // passed on to the outer loop
}

TEST_F(WindowDialogTest, DialogGeometryComesFromDialogUnits) {
  HWND dlg = Modeless();
  RECT r;
  GetClientRect(dlg, &r);
  EXPECT_EQ(r.right, 200 * 6 / 4);
  EXPECT_EQ(r.bottom, 120 * 13 / 8);
  GetWindowRect(Item(IDOK), &r);
  POINT o{0, 0};
  ClientToScreen(dlg, &o);
  EXPECT_EQ(r.left - o.x, 100 * 6 / 4);
  EXPECT_EQ(r.bottom - r.top, 14 * 13 / 8);
  RECT du{4, 8, 8, 16};
  MapDialogRect(dlg, &du);
  EXPECT_EQ(du.left, 6);
  EXPECT_EQ(du.top, 13);
  EXPECT_EQ(du.right, 12);
  EXPECT_EQ(du.bottom, 26);
  EXPECT_TRUE(GetWindowLongA(Item(IDOK), GWL_EXSTYLE) & WS_EX_NOPARENTNOTIFY);
  EXPECT_EQ(SendMessageA(dlg, DM_GETDEFID, 0, 0), LRESULT(MAKELONG(IDOK, DC_HASDEFID)));
  SendMessageA(dlg, DM_SETDEFID, IDCANCEL, 0);
  EXPECT_EQ(GetWindowLongA(Item(IDCANCEL), GWL_STYLE) & BS_TYPEMASK, LONG(BS_DEFPUSHBUTTON));
  EXPECT_EQ(GetWindowLongA(Item(IDOK), GWL_STYLE) & BS_TYPEMASK, LONG(BS_PUSHBUTTON));
  char cls[32];
  GetClassNameA(dlg, cls, sizeof cls);
  EXPECT_STREQ(cls, "#32770");
  // The focus starts on the first tab stop; Tab walks the stops and wraps.
  EXPECT_EQ(GetFocus(), Item(kEdit));
  const int order[] = {kRadioA, kRadioX, kCheck, kNested, IDOK, IDCANCEL, kEdit};
  for (int id : order) {
    ScriptedUser::PressKey(VK_TAB);
    PumpDialog(dlg);
    EXPECT_EQ(GetFocus(), Item(id)) << id;
  }
  // Shift walks back.
  ScriptedUser::KeyDown(VK_LSHIFT);
  ScriptedUser::PressKey(VK_TAB);
  PumpDialog(dlg);
  EXPECT_LT(GetKeyState(VK_SHIFT), 0);
  EXPECT_EQ(GetFocus(), Item(IDCANCEL));
  ScriptedUser::KeyUp(VK_LSHIFT);
  PumpDialog(dlg);
  EXPECT_EQ(GetKeyState(VK_SHIFT), 0);
}

TEST_F(WindowDialogTest, AutoRadioButtonsClearOnlyTheirOwnGroup) {
  HWND dlg = Modeless();
  ASSERT_TRUE(dlg);
  struct Step {
    const char* name;
    int click;
    std::vector<int> checked;  // ids of every checked radio button afterwards
  };
  const Step steps[] = {
      {"first of group 1", kRadioA, {kRadioA}},
      {"second group untouched", kRadioX, {kRadioA, kRadioX}},
      {"sibling clears A", kRadioC, {kRadioC, kRadioX}},
      {"Y clears X", kRadioY, {kRadioC, kRadioY}},
      {"a manual radio checks nothing by itself", kManual, {kRadioC, kRadioY}},
  };
  for (const Step& s : steps) {
    SCOPED_TRACE(s.name);
    log.commands.clear();
    ASSERT_TRUE(ScriptedUser::Click(Item(s.click)));
    EXPECT_EQ(Commands(s.click, BN_CLICKED), 1);
    std::vector<int> checked;
    for (int id : {kRadioA, kRadioB, kRadioC, kRadioX, kRadioY, kManual})
      if (IsDlgButtonChecked(dlg, id)) checked.push_back(id);
    EXPECT_EQ(checked, s.checked);
  }
  // A checked radio button becomes the group's tab stop.
  EXPECT_TRUE(GetWindowLongA(Item(kRadioC), GWL_STYLE) & WS_TABSTOP);
  EXPECT_FALSE(GetWindowLongA(Item(kRadioA), GWL_STYLE) & WS_TABSTOP);
  EXPECT_EQ(SendMessageA(Item(kRadioX), WM_GETDLGCODE, 0, 0), LRESULT(DLGC_BUTTON | DLGC_RADIOBUTTON));
  // CheckRadioButton sets a range by id; arrows move within a group and click auto radios.
  CheckRadioButton(dlg, kRadioX, kManual, kManual);
  EXPECT_EQ(IsDlgButtonChecked(dlg, kManual), BST_CHECKED);
  EXPECT_EQ(IsDlgButtonChecked(dlg, kRadioY), BST_UNCHECKED);
  SetFocus(Item(kRadioA));
  ScriptedUser::PressKey(VK_DOWN);
  PumpDialog(dlg);
  EXPECT_EQ(GetFocus(), Item(kRadioB));
  EXPECT_EQ(IsDlgButtonChecked(dlg, kRadioB), BST_CHECKED);
  EXPECT_EQ(IsDlgButtonChecked(dlg, kRadioC), BST_UNCHECKED);
  EXPECT_EQ(GetNextDlgGroupItem(dlg, Item(kRadioC), FALSE), Item(kRadioA));  // wraps in the group
  // Check boxes: automatic toggling, and a disabled one takes no click.
  ScriptedUser::Click(Item(kCheck));
  EXPECT_EQ(IsDlgButtonChecked(dlg, kCheck), BST_CHECKED);
  SendMessageA(Item(kCheck), BM_CLICK, 0, 0);
  EXPECT_EQ(IsDlgButtonChecked(dlg, kCheck), BST_UNCHECKED);
  EnableWindow(Item(kCheck), FALSE);
  EXPECT_FALSE(ScriptedUser::Click(Item(kCheck)));
  EXPECT_EQ(IsDlgButtonChecked(dlg, kCheck), BST_UNCHECKED);
}

// Spoils one key by changing the message number, as a message-queue client does.
LRESULT SpoilX(int code, WPARAM w, LPARAM l) {
  MSG* m = reinterpret_cast<MSG*>(l);
  if (m->message == WM_KEYDOWN && m->wParam == 'X') m->message = RegisterWindowMessageA("ZEV#GetMessageHook");
  return CallNextHookEx(nullptr, code, w, l);
}

TEST_F(WindowDialogTest, TypedKeysPassTheHooksBeforeTheEditGetsThem) {
  HWND dlg = Modeless();
  HHOOK hook = SetWindowsHookExA(WH_GETMESSAGE, SpoilX, nullptr, GetCurrentThreadId());
  SetNullBackendLogging(true);
  ASSERT_TRUE(ScriptedUser::Type(Item(kEdit), "axb"));
  EXPECT_EQ(GetWindowTextString(Item(kEdit)), "");  // nothing happens until the loop runs
  PumpDialog(dlg);
  EXPECT_EQ(GetWindowTextString(Item(kEdit)), "ab");
  EXPECT_EQ(Commands(kEdit, EN_CHANGE), 2);
  EXPECT_EQ(Commands(kEdit, EN_UPDATE), 2);
  int reinjected = 0, dropped = 0;
  for (const std::string& s : TakeNullBackendLog()) {
    reinjected += s.rfind("reinject", 0) == 0;
    dropped += s.rfind("drop", 0) == 0;
  }
  EXPECT_EQ(reinjected, 2);
  EXPECT_EQ(dropped, 1);
  UnhookWindowsHookEx(hook);
}

TEST_F(WindowDialogTest, EditControlMessagesAndNotifications) {
  HWND dlg = Modeless();
  HWND e = Item(kEdit);
  // Text set by code notifies too; text typed by the user marks the control modified.
  SetWindowTextA(e, "hello");
  EXPECT_EQ(Commands(kEdit, EN_CHANGE), 1);
  EXPECT_FALSE(SendMessageA(e, EM_GETMODIFY, 0, 0));
  ScriptedUser::SetText(e, "hello world");
  EXPECT_EQ(Commands(kEdit, EN_CHANGE), 2);
  EXPECT_TRUE(SendMessageA(e, EM_GETMODIFY, 0, 0));
  ASSERT_GE(log.commands.size(), 2u);
  EXPECT_EQ(log.commands[log.commands.size() - 2].second, int(EN_UPDATE));  // update comes before change

  struct Case {
    const char* name;
    std::function<void()> act;
    std::string text;
    int maxText;
  };
  const Case cases[] = {
      {"select and replace", [&] { SendMessageA(e, EM_SETSEL, 0, 5);
                                   SendMessageA(e, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>("bye")); },
       "bye world", 0},
      {"select all with -1", [&] { SendMessageA(e, EM_SETSEL, 0, -1);
                                   SendMessageA(e, WM_CHAR, 'Z', 0); }, "Z", 0},
      {"limit stops typing", [&] { SendMessageA(e, EM_LIMITTEXT, 3, 0);
                                   SendMessageA(e, EM_SETSEL, 1, 1);
                                   for (char ch : std::string("abc")) SendMessageA(e, WM_CHAR, WPARAM(ch), 0); },
       "Zab", 1},
      {"backspace", [&] { SendMessageA(e, WM_CHAR, 8, 0); }, "Za", 0},
      {"limit does not bind code", [&] { SetWindowTextA(e, "longer than three"); }, "longer than three", 0},
      {"read-only refuses the user", [&] { SendMessageA(e, EM_SETREADONLY, TRUE, 0);
                                           ScriptedUser::SetText(e, "no"); }, "longer than three", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    log.commands.clear();
    c.act();
    EXPECT_EQ(GetWindowTextString(e), c.text);
    EXPECT_EQ(Commands(kEdit, EN_MAXTEXT), c.maxText);
  }
  DWORD a = 0, b = 0;
  SendMessageA(e, EM_SETSEL, 2, 6);
  EXPECT_EQ(SendMessageA(e, EM_GETSEL, reinterpret_cast<WPARAM>(&a), reinterpret_cast<LPARAM>(&b)),
            LRESULT(MAKELONG(2, 6)));
  EXPECT_EQ(a, 2u);
  EXPECT_EQ(b, 6u);
  EXPECT_EQ(SendMessageA(e, EM_GETLIMITTEXT, 0, 0), 3);
  EXPECT_EQ(SendMessageA(e, WM_GETDLGCODE, 0, 0), LRESULT(DLGC_WANTCHARS | DLGC_HASSETSEL | DLGC_WANTARROWS));
  // Dialog item helpers over the same control.
  struct IntCase {
    const char* text;
    BOOL isSigned;
    UINT value;
    BOOL ok;
  };
  const IntCase ints[] = {{"42", FALSE, 42, TRUE},       {"  -7", TRUE, UINT(-7), TRUE}, {"-7", FALSE, 0, FALSE},
                          {"12x", TRUE, 0, FALSE},       {"", TRUE, 0, FALSE},          {"4294967295", FALSE, 4294967295u, TRUE},
                          {"2147483648", TRUE, 0, FALSE}, {"8 ", TRUE, 8, TRUE}};
  for (const IntCase& c : ints) {
    SCOPED_TRACE(c.text);
    SetDlgItemTextA(dlg, kEdit, c.text);
    BOOL ok = 2;
    EXPECT_EQ(GetDlgItemInt(dlg, kEdit, &ok, c.isSigned), c.value);
    EXPECT_EQ(ok, c.ok);
  }
  SetDlgItemInt(dlg, kEdit, UINT(-12), TRUE);
  char buf[8];
  EXPECT_EQ(GetDlgItemTextA(dlg, kEdit, buf, 3), 2u);
  EXPECT_STREQ(buf, "-1");
}

TEST_F(WindowDialogTest, ListBoxAndComboBox) {
  HWND dlg = Modeless();
  HWND lb = CreateWindowExA(0, "ListBox", "", WS_CHILD | LBS_NOTIFY | LBS_SORT, 0, 0, 50, 50, dlg,
                            reinterpret_cast<HMENU>(kList), nullptr, nullptr);
  for (const char* s : {"pear", "Apple", "fig", "apricot"}) SendMessageA(lb, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(s));
  char buf[32];
  Strings items;
  for (int i = 0; i < SendMessageA(lb, LB_GETCOUNT, 0, 0); ++i) {
    SendMessageA(lb, LB_GETTEXT, WPARAM(i), reinterpret_cast<LPARAM>(buf));
    items.push_back(buf);
  }
  EXPECT_EQ(items, (Strings{"Apple", "apricot", "fig", "pear"}));
  struct Case {
    const char* name;
    UINT msg;
    WPARAM w;
    const char* text;
    LRESULT result;
  };
  const Case cases[] = {
      {"prefix search ignores case", LB_FINDSTRING, WPARAM(-1), "AP", 0},
      {"search starts after the given item", LB_FINDSTRING, 0, "ap", 1},
      {"search wraps", LB_FINDSTRING, 3, "ap", 0},
      {"exact search", LB_FINDSTRINGEXACT, WPARAM(-1), "FIG", 2},
      {"no match", LB_FINDSTRING, WPARAM(-1), "kiwi", LB_ERR},
      {"out of range text", LB_GETTEXTLEN, 9, nullptr, LB_ERR},
      {"no selection yet", LB_GETCURSEL, 0, nullptr, LB_ERR},
      {"select -1 clears and says LB_ERR", LB_SETCURSEL, WPARAM(-1), nullptr, LB_ERR},
      {"select", LB_SETCURSEL, 2, nullptr, 2},
      {"delete before the selection", LB_DELETESTRING, 0, nullptr, 3},
      {"selection moved up", LB_GETCURSEL, 0, nullptr, 1},
      {"multi-select calls fail", LB_GETSELCOUNT, 0, nullptr, LB_ERR},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(SendMessageA(lb, c.msg, c.w, reinterpret_cast<LPARAM>(c.text)), c.result);
  }
  EXPECT_EQ(Commands(kList, LBN_SELCHANGE), 0);  // code changes do not notify
  EXPECT_TRUE(ScriptedUser::Select(lb, 0));
  EXPECT_EQ(Commands(kList, LBN_SELCHANGE), 1);
  EXPECT_EQ(SendMessageA(lb, LB_GETCURSEL, 0, 0), 0);
  ScriptedUser::DoubleClick(lb);
  EXPECT_EQ(Commands(kList, LBN_DBLCLK), 1);

  HWND cb = CreateWindowExA(0, "ComboBox", "", WS_CHILD | CBS_DROPDOWNLIST, 0, 0, 50, 50, dlg,
                            reinterpret_cast<HMENU>(kCombo), nullptr, nullptr);
  for (const char* s : {"one", "two", "three"}) SendMessageA(cb, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(s));
  EXPECT_EQ(SendMessageA(cb, CB_SETCURSEL, 1, 0), 1);
  EXPECT_EQ(GetWindowTextString(cb), "two");
  EXPECT_EQ(SendMessageA(cb, CB_SETCURSEL, 7, 0), CB_ERR);
  EXPECT_EQ(GetWindowTextString(cb), "");
  EXPECT_EQ(SendMessageA(cb, WM_SETTEXT, 0, reinterpret_cast<LPARAM>("THREE")), TRUE);  // picks the item
  EXPECT_EQ(SendMessageA(cb, CB_GETCURSEL, 0, 0), 2);
  EXPECT_EQ(SendMessageA(cb, WM_SETTEXT, 0, reinterpret_cast<LPARAM>("four")), CB_ERR);
  EXPECT_FALSE(ScriptedUser::SetText(cb, "typed"));  // a drop-down list has no edit
  SendMessageA(cb, CB_SHOWDROPDOWN, TRUE, 0);
  log.commands.clear();
  ScriptedUser::Select(cb, 0);
  EXPECT_EQ(log.commands, (std::vector<std::pair<int, int>>{{kCombo, int(CBN_SELCHANGE)},
                                                            {kCombo, int(CBN_SELENDOK)},
                                                            {kCombo, int(CBN_CLOSEUP)}}));
  EXPECT_EQ(GetWindowTextString(cb), "one");
  EXPECT_EQ(SendMessageA(cb, CB_GETLBTEXTLEN, 2, 0), 5);
  EXPECT_EQ(SendMessageA(cb, CB_DELETESTRING, 0, 0), 2);
  EXPECT_EQ(SendMessageA(cb, CB_GETCURSEL, 0, 0), CB_ERR);
}

TEST_F(WindowDialogTest, ProgressBarAndTabControl) {
  HWND dlg = Modeless();
  HWND pb = CreateWindowExA(0, "msctls_progress32", "", WS_CHILD, 0, 0, 50, 10, dlg,
                            reinterpret_cast<HMENU>(kProgress), nullptr, nullptr);
  struct Case {
    const char* name;
    UINT msg;
    WPARAM w;
    LPARAM l;
    LRESULT result;
    int pos;
  };
  const Case cases[] = {
      {"default range", PBM_GETRANGE, FALSE, 0, 100, 0},
      {"set position", PBM_SETPOS, 40, 0, 0, 40},
      {"clamped to the range", PBM_SETPOS, 150, 0, 40, 100},
      {"32-bit range gives the old one", PBM_SETRANGE32, 10, 50, LRESULT(MAKELONG(0, 100)), 50},
      {"delta", PBM_DELTAPOS, WPARAM(-30), 0, 50, 20},
      {"step", PBM_SETSTEP, 25, 0, 10, 20},
      {"step it", PBM_STEPIT, 0, 0, 20, 45},
      {"stepping past the end starts over", PBM_STEPIT, 0, 0, 45, 30},
      {"16-bit range", PBM_SETRANGE, 0, MAKELPARAM(0, 200), LRESULT(MAKELONG(10, 50)), 30},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(SendMessageA(pb, c.msg, c.w, c.l), c.result);
    EXPECT_EQ(SendMessageA(pb, PBM_GETPOS, 0, 0), c.pos);
  }

  HWND tab = CreateWindowExA(0, "SysTabControl32", "", WS_CHILD, 0, 0, 200, 100, dlg,
                             reinterpret_cast<HMENU>(kTab), nullptr, nullptr);
  EXPECT_EQ(SendMessageA(tab, TCM_GETCURSEL, 0, 0), -1);
  for (const char* s : {"General", "Colours", "Output"}) {
    TCITEMA it{};
    it.mask = TCIF_TEXT | TCIF_PARAM;
    it.pszText = const_cast<char*>(s);
    it.lParam = LPARAM(s[0]);
    SendMessageA(tab, TCM_INSERTITEMA, WPARAM(SendMessageA(tab, TCM_GETITEMCOUNT, 0, 0)), reinterpret_cast<LPARAM>(&it));
  }
  EXPECT_EQ(SendMessageA(tab, TCM_GETCURSEL, 0, 0), 0);  // the first tab is current
  EXPECT_EQ(SendMessageA(tab, TCM_SETCURSEL, 2, 0), 0);
  EXPECT_TRUE(log.notifyCodes.empty());  // code changes do not notify
  ScriptedUser::Select(tab, 1);
  EXPECT_EQ(log.notifyCodes, (std::vector<UINT>{TCN_SELCHANGING, TCN_SELCHANGE}));
  EXPECT_EQ(SendMessageA(tab, TCM_GETCURSEL, 0, 0), 1);
  log.vetoTabChange = true;
  log.notifyCodes.clear();
  EXPECT_FALSE(ScriptedUser::Select(tab, 0));
  EXPECT_EQ(log.notifyCodes, (std::vector<UINT>{TCN_SELCHANGING}));
  EXPECT_EQ(SendMessageA(tab, TCM_GETCURSEL, 0, 0), 1);
  char text[16];
  TCITEMA it{};
  it.mask = TCIF_TEXT | TCIF_PARAM;
  it.pszText = text;
  it.cchTextMax = 4;
  ASSERT_TRUE(SendMessageA(tab, TCM_GETITEMA, 1, reinterpret_cast<LPARAM>(&it)));
  EXPECT_STREQ(text, "Col");
  EXPECT_EQ(it.lParam, LPARAM('C'));
  EXPECT_TRUE(SendMessageA(tab, TCM_DELETEITEM, 1, 0));
  EXPECT_EQ(SendMessageA(tab, TCM_GETCURSEL, 0, 0), -1);
  RECT r{0, 0, 200, 100};
  SendMessageA(tab, TCM_ADJUSTRECT, FALSE, reinterpret_cast<LPARAM>(&r));
  EXPECT_GT(r.top, 0);
  SendMessageA(tab, TCM_ADJUSTRECT, TRUE, reinterpret_cast<LPARAM>(&r));
  EXPECT_EQ(r.top, 0);
  EXPECT_EQ(r.right, 200);
}

}  // namespace
}  // namespace zev
