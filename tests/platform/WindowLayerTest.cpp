// The window layer's core on the null backend: creation and destruction order, handles,
// subclassing, sending and posting, the message hook chain, timers and the virtual clock.
#include <gtest/gtest.h>

#include <set>

#include "WindowTestSupport.h"

namespace zev {
namespace {

using namespace testing_window;
using Strings = std::vector<std::string>;

class WindowLayerTest : public WindowFixture {};

TEST_F(WindowLayerTest, CreationAndDestructionMessagesComeInOrder) {
  HWND p = Top("parent", WS_POPUP);
  HWND c1 = Child(p, 10);
  HWND g = Child(c1, 11);
  HWND c2 = Child(p, 12, WS_EX_NOPARENTNOTIFY);
  ASSERT_TRUE(p && c1 && g && c2);
  const std::vector<std::pair<HWND, std::string>> labels = {{p, "P"}, {c1, "C1"}, {g, "G"}, {c2, "C2"}};
  const std::vector<UINT> lifetime = {WM_NCCREATE, WM_CREATE,  WM_SIZE,    WM_MOVE,
                                      WM_PARENTNOTIFY, WM_DESTROY, WM_NCDESTROY};
  EXPECT_EQ(Trace(lifetime, labels),
            (Strings{"NCCREATE:P", "CREATE:P", "SIZE:P", "MOVE:P",
                     "NCCREATE:C1", "CREATE:C1", "SIZE:C1", "MOVE:C1", "PARENTNOTIFY:P(1,10)",
                     // a grandchild reports to every ancestor that does not opt out
                     "NCCREATE:G", "CREATE:G", "SIZE:G", "MOVE:G", "PARENTNOTIFY:C1(1,11)", "PARENTNOTIFY:P(1,11)",
                     "NCCREATE:C2", "CREATE:C2", "SIZE:C2", "MOVE:C2"}));

  Journal().clear();
  ASSERT_TRUE(DestroyWindow(c1));
  EXPECT_EQ(Trace(lifetime, labels),
            (Strings{"PARENTNOTIFY:P(2,10)", "DESTROY:C1", "DESTROY:G", "NCDESTROY:G", "NCDESTROY:C1"}));
  Journal().clear();
  ASSERT_TRUE(DestroyWindow(p));
  EXPECT_EQ(Trace(lifetime, labels), (Strings{"DESTROY:P", "DESTROY:C2", "NCDESTROY:C2", "NCDESTROY:P"}));
  for (HWND h : {p, c1, g, c2}) EXPECT_FALSE(IsWindow(h));
  EXPECT_EQ(CountThreadWindows(), 0u);
}

TEST_F(WindowLayerTest, HandlesAre32BitCountersNotReusedSoon) {
  std::set<std::uintptr_t> seen;
  for (int i = 0; i < 50; ++i) {
    HWND h = Top();
    ASSERT_NE(h, nullptr);
    std::uintptr_t v = reinterpret_cast<std::uintptr_t>(h);
    EXPECT_LE(v, 0xFFFFFFFFu);
    EXPECT_TRUE(seen.insert(v).second) << "handle reused: " << v;
    DestroyWindow(h);
    EXPECT_FALSE(IsWindow(h));
    EXPECT_EQ(GetWindowLongPtrA(h, GWLP_USERDATA), 0);
  }
}

TEST_F(WindowLayerTest, FailedCreationLeavesNoWindow) {
  struct Case {
    const char* name;
    LRESULT ncCreate;
    LRESULT create;
  };
  static LRESULT s_nc, s_cr;
  WNDCLASSA wc{};
  wc.lpszClassName = "ZevTestRefuser";
  wc.lpfnWndProc = [](HWND h, UINT m, WPARAM w, LPARAM l) -> LRESULT {
    if (m == WM_NCCREATE) return s_nc;
    if (m == WM_CREATE) return s_cr;
    return DefWindowProcA(h, m, w, l);
  };
  RegisterClassA(&wc);
  for (const Case& c : {Case{"nccreate FALSE", FALSE, 0}, Case{"create -1", TRUE, -1}, Case{"fine", TRUE, 0}}) {
    SCOPED_TRACE(c.name);
    s_nc = c.ncCreate;
    s_cr = c.create;
    HWND h = CreateWindowExA(0, "zevtestrefuser", "", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(h != nullptr, c.create == 0 && c.ncCreate);
    EXPECT_EQ(CountThreadWindows(), h ? 1u : 0u);
    if (h) DestroyWindow(h);
  }
  EXPECT_EQ(CreateWindowExA(0, "NoSuchClass", "", 0, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr), nullptr);
  EXPECT_EQ(CreateWindowExA(0, kRecorder, "", WS_CHILD, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr), nullptr);
}

// Subclass procedures log their name and pass the message on.
std::vector<std::string> g_calls;
WNDPROC g_prevA, g_prevB;
LRESULT SubA(HWND h, UINT m, WPARAM w, LPARAM l) {
  if (m == WM_USER) g_calls.push_back("A");
  if (m == WM_USER + 1) return 77;  // handled here: the original never sees it
  return CallWindowProcA(g_prevA, h, m, w, l);
}
LRESULT SubB(HWND h, UINT m, WPARAM w, LPARAM l) {
  if (m == WM_USER) g_calls.push_back("B");
  return CallWindowProcA(g_prevB, h, m, w, l);
}

TEST_F(WindowLayerTest, SubclassingChainsThroughThePreviousProcedure) {
  HWND h = Top();
  g_calls.clear();
  g_prevA = reinterpret_cast<WNDPROC>(SetWindowLongPtrA(h, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(SubA)));
  EXPECT_EQ(g_prevA, RecorderProc);
  g_prevB = reinterpret_cast<WNDPROC>(SetWindowLongPtrA(h, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(SubB)));
  EXPECT_EQ(g_prevB, SubA);
  EXPECT_EQ(GetWindowLongPtrA(h, GWLP_WNDPROC), reinterpret_cast<LONG_PTR>(SubB));
  Journal().clear();
  SendMessageA(h, WM_USER, 1, 2);
  EXPECT_EQ(g_calls, (Strings{"B", "A"}));
  ASSERT_EQ(Journal().size(), 1u);  // the original came last
  EXPECT_EQ(SendMessageA(h, WM_USER + 1, 0, 0), 77);
  EXPECT_EQ(Journal().size(), 1u);
  // Long values and properties.
  EXPECT_EQ(SetWindowLongPtrA(h, GWLP_USERDATA, 1234), 0);
  EXPECT_EQ(GetWindowLongPtrA(h, GWLP_USERDATA), 1234);
  EXPECT_EQ(SetWindowLongPtrA(h, 8, -5), 0);  // class extra bytes
  EXPECT_EQ(GetWindowLongPtrA(h, 8), -5);
  EXPECT_EQ(GetWindowLongPtrA(h, 64), 0);
  EXPECT_EQ(GetLastError(), 1413u);
  int obj = 0;
  EXPECT_TRUE(SetPropA(h, "ZevObject", &obj));
  EXPECT_EQ(GetPropA(h, "zevobject"), &obj);
  EXPECT_EQ(RemovePropA(h, "ZEVOBJECT"), &obj);
  EXPECT_EQ(GetPropA(h, "ZevObject"), nullptr);
}

TEST_F(WindowLayerTest, StyleChangesSendStyleMessages) {
  HWND p = Top("p", WS_POPUP);
  HWND c = Child(p, 3, WS_EX_NOPARENTNOTIFY);
  Journal().clear();
  LONG_PTR old = SetWindowLongPtrA(c, GWL_EXSTYLE, GetWindowLongPtrA(c, GWL_EXSTYLE) & ~LONG_PTR(WS_EX_NOPARENTNOTIFY));
  EXPECT_EQ(DWORD(old) & WS_EX_NOPARENTNOTIFY, WS_EX_NOPARENTNOTIFY);
  EXPECT_EQ(Trace({WM_STYLECHANGING, WM_STYLECHANGED}, {{c, "C"}}), (Strings{"0x7C:C", "0x7D:C"}));
  Journal().clear();
  DestroyWindow(c);  // now it reports its end to the parent
  EXPECT_EQ(Trace({WM_PARENTNOTIFY}, {{p, "P"}}), (Strings{"PARENTNOTIFY:P(2,3)"}));
}

TEST_F(WindowLayerTest, SendIsADirectCallAndPostsComeBackInOrder) {
  HWND h = Top();
  Journal().clear();
  EXPECT_EQ(SendMessageA(h, WM_SETTEXT, 0, reinterpret_cast<LPARAM>("sent")), TRUE);
  ASSERT_EQ(Journal().size(), 1u);  // no queue involved
  EXPECT_EQ(GetWindowTextString(h), "sent");
  EXPECT_FALSE(PeekMessageA(nullptr, nullptr, 0, 0, PM_REMOVE));

  for (UINT i = 0; i < 5; ++i) PostMessageA(h, WM_USER + i, i, 0);
  PostMessageA(nullptr, WM_APP, 9, 0);  // a thread message
  MSG m;
  ASSERT_TRUE(PeekMessageA(&m, nullptr, 0, 0, PM_NOREMOVE));
  EXPECT_EQ(m.message, WM_USER);
  // Filters: by number range, and thread messages only.
  ASSERT_TRUE(PeekMessageA(&m, nullptr, WM_USER + 3, WM_USER + 3, PM_REMOVE));
  EXPECT_EQ(m.message, WM_USER + 3);
  ASSERT_TRUE(PeekMessageA(&m, reinterpret_cast<HWND>(std::intptr_t(-1)), 0, 0, PM_REMOVE));
  EXPECT_EQ(m.message, WM_APP);
  std::vector<UINT> got;
  Journal().clear();
  while (PeekMessageA(&m, nullptr, 0, 0, PM_REMOVE)) {
    got.push_back(m.message);
    DispatchMessageA(&m);
  }
  EXPECT_EQ(got, (std::vector<UINT>{WM_USER, WM_USER + 1, WM_USER + 2, WM_USER + 4}));
  EXPECT_EQ(Journal().size(), 4u);
  // WM_QUIT comes after everything posted before it.
  PostMessageA(h, WM_USER, 0, 0);
  PostQuitMessage(3);
  PostMessageA(h, WM_USER + 1, 0, 0);
  std::vector<UINT> order;
  while (GetMessageA(&m, nullptr, 0, 0)) order.push_back(m.message);
  EXPECT_EQ(order, (std::vector<UINT>{WM_USER, WM_USER + 1}));
  EXPECT_EQ(m.message, WM_QUIT);
  EXPECT_EQ(m.wParam, 3u);
  EXPECT_EQ(RegisterWindowMessageA("ZEV#GetMessageHook"), RegisterWindowMessageA("zev#getmessagehook"));
  EXPECT_GE(RegisterWindowMessageA("ZEV#GetMessageHook"), 0xC000u);
  EXPECT_NE(RegisterWindowMessageA("another"), RegisterWindowMessageA("ZEV#GetMessageHook"));
}

// Hooks that log and may change what they see.
std::vector<std::string> g_hookLog;
HHOOK g_hooks[3];
UINT g_spoilWith = 0;
template <int N>
LRESULT HookN(int code, WPARAM w, LPARAM l) {
  MSG* m = reinterpret_cast<MSG*>(l);
  g_hookLog.push_back(std::to_string(N) + ":" + Name(m->message) + (w == PM_REMOVE ? "" : "(peek)"));
  if (N == 2 && g_spoilWith && m->message == WM_USER) m->message = g_spoilWith;
  if (N == 2 && m->message == WM_USER + 5) return 0;  // stops the chain
  return CallNextHookEx(g_hooks[N], code, w, l);
}

TEST_F(WindowLayerTest, GetMessageHooksRunNewestFirstAndMayRewrite) {
  HWND h = Top();
  g_hookLog.clear();
  g_hooks[0] = SetWindowsHookExA(WH_GETMESSAGE, HookN<0>, nullptr, GetCurrentThreadId());
  g_hooks[1] = SetWindowsHookExA(WH_GETMESSAGE, HookN<1>, nullptr, 0);
  g_hooks[2] = SetWindowsHookExA(WH_GETMESSAGE, HookN<2>, nullptr, GetCurrentThreadId());
  ASSERT_TRUE(g_hooks[0] && g_hooks[1] && g_hooks[2]);
  EXPECT_EQ(SetWindowsHookExA(WH_GETMESSAGE, HookN<0>, nullptr, GetCurrentThreadId() + 1), nullptr);

  struct Case {
    const char* name;
    UINT posted;
    UINT spoil;
    UINT expectMsg;
    Strings expectLog;
  };
  const UINT spoilt = RegisterWindowMessageA("ZEV#GetMessageHook");
  const Case cases[] = {
      {"plain", WM_USER + 1, 0, WM_USER + 1, {"2:0x401", "1:0x401", "0:0x401"}},
      {"rewritten by the newest", WM_USER, spoilt, spoilt, {"2:0x400", "1:" + Name(spoilt), "0:" + Name(spoilt)}},
      {"chain stopped", WM_USER + 5, 0, WM_USER + 5, {"2:0x405"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    g_hookLog.clear();
    g_spoilWith = c.spoil;
    PostMessageA(h, c.posted, 0, 0);
    MSG m;
    ASSERT_TRUE(GetMessageA(&m, nullptr, 0, 0));
    EXPECT_EQ(m.message, c.expectMsg);
    EXPECT_EQ(g_hookLog, c.expectLog);
  }
  // Sent messages pass no hook; a peek without removal says so.
  g_hookLog.clear();
  SendMessageA(h, WM_USER, 0, 0);
  EXPECT_TRUE(g_hookLog.empty());
  PostMessageA(h, WM_USER + 2, 0, 0);
  MSG m;
  PeekMessageA(&m, nullptr, 0, 0, PM_NOREMOVE);
  EXPECT_EQ(g_hookLog.front(), "2:0x402(peek)");
  PumpPending();
  // Unhooking the middle one leaves the others in order.
  EXPECT_TRUE(UnhookWindowsHookEx(g_hooks[1]));
  EXPECT_FALSE(UnhookWindowsHookEx(g_hooks[1]));
  g_hookLog.clear();
  PostMessageA(h, WM_USER + 1, 0, 0);
  PumpPending();
  EXPECT_EQ(g_hookLog, (Strings{"2:0x401", "0:0x401"}));
  g_spoilWith = 0;
}

// A timer procedure that records the tick count it is given.
std::vector<DWORD> g_ticks;
void TickProc(HWND, UINT, UINT_PTR, DWORD now) { g_ticks.push_back(now); }

TEST_F(WindowLayerTest, TimersFireOnlyWhenTheQueueIsEmpty) {
  HWND h = Top();
  ASSERT_EQ(SetTimer(h, 7, 100, nullptr), 7u);
  PostMessageA(h, WM_USER, 0, 0);
  PostMessageA(h, WM_USER + 1, 0, 0);
  clock.Advance(350);  // several periods have passed
  MSG m;
  std::vector<UINT> order;
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(GetMessageA(&m, nullptr, 0, 0));
    order.push_back(m.message);
  }
  EXPECT_EQ(order, (std::vector<UINT>{WM_USER, WM_USER + 1, WM_TIMER}));
  EXPECT_EQ(m.wParam, 7u);
  EXPECT_EQ(m.hwnd, h);
  // One WM_TIMER per check, however late: the next one is a full period away.
  EXPECT_FALSE(PeekMessageA(&m, nullptr, 0, 0, PM_REMOVE));
  // GetMessage with only a timer pending moves virtual time to its due time.
  const ULONGLONG before = clock.Now();
  ASSERT_TRUE(GetMessageA(&m, nullptr, 0, 0));
  EXPECT_EQ(m.message, UINT(WM_TIMER));
  EXPECT_EQ(clock.Now(), before + 100);

  // Same window and id replace the timer; the period is at least USER_TIMER_MINIMUM.
  SetTimer(h, 7, 1, nullptr);
  clock.Advance(9);
  EXPECT_FALSE(PeekMessageA(&m, nullptr, WM_TIMER, WM_TIMER, PM_REMOVE));
  clock.Advance(1);
  EXPECT_TRUE(PeekMessageA(&m, nullptr, WM_TIMER, WM_TIMER, PM_REMOVE));
  EXPECT_TRUE(KillTimer(h, 7));
  EXPECT_FALSE(KillTimer(h, 7));

  // Thread timers get fresh ids; DispatchMessage calls their procedure.
  g_ticks.clear();
  UINT_PTR a = SetTimer(nullptr, 0, 50, TickProc);
  UINT_PTR b = SetTimer(nullptr, 0, 50, TickProc);
  EXPECT_NE(a, 0u);
  EXPECT_NE(a, b);
  KillTimer(nullptr, b);
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(GetMessageA(&m, nullptr, 0, 0));
    DispatchMessageA(&m);
  }
  EXPECT_EQ(g_ticks.size(), 3u);
  KillTimer(nullptr, a);
  // A window's timers die with it.
  SetTimer(h, 1, 100, nullptr);
  DestroyWindow(h);
  clock.Advance(1000);
  EXPECT_FALSE(PeekMessageA(&m, nullptr, 0, 0, PM_REMOVE));
}

TEST_F(WindowLayerTest, TickCountWrapsAt32BitsWhileTimersKeepTheirPeriod) {
  clock.Set(0xFFFFFF00ull);
  EXPECT_EQ(GetTickCount(), 0xFFFFFF00u);
  g_ticks.clear();
  UINT_PTR id = SetTimer(nullptr, 0, 100, TickProc);
  MSG m;
  for (int i = 0; i < 4; ++i) {
    ASSERT_TRUE(GetMessageA(&m, nullptr, 0, 0));
    DispatchMessageA(&m);
  }
  EXPECT_EQ(g_ticks, (std::vector<DWORD>{0xFFFFFF64u, 0xFFFFFFC8u, 0x2Cu, 0x90u}));
  KillTimer(nullptr, id);
  // The system clock comes back when the test clock goes.
  SetClock(nullptr);
  DWORD t = GetTickCount();
  EXPECT_NE(&GetClock(), &clock);
  EXPECT_FALSE(GetClock().IsVirtual());
  EXPECT_LE(GetTickCount() - t, 1000u);
  SetClock(&clock);
}

// A procedure that destroys its own window in the middle of handling a message.
LRESULT SelfDestroyProc(HWND h, UINT m, WPARAM w, LPARAM l) {
  if (m == WM_USER) {
    DestroyWindow(h);
    // The record stays readable for this procedure but the handle is dead.
    return IsWindow(h) ? -1 : GetWindowLongPtrA(h, GWLP_USERDATA) + 5;
  }
  return DefWindowProcA(h, m, w, l);
}

TEST_F(WindowLayerTest, AWindowMayDestroyItselfInsideItsOwnHandler) {
  HWND p = Top("p", WS_POPUP);
  HWND c = Child(p, 1);
  SetWindowLongPtrA(c, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(SelfDestroyProc));
  SetWindowLongPtrA(p, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(SelfDestroyProc));
  PostMessageA(c, WM_USER, 0, 0);
  PostMessageA(c, WM_USER + 1, 0, 0);  // to a window that will be gone
  EXPECT_EQ(PumpPending(), 2);
  EXPECT_FALSE(IsWindow(c));
  EXPECT_TRUE(IsWindow(p));
  EXPECT_EQ(SendMessageA(p, WM_USER, 0, 0), 5);
  EXPECT_FALSE(IsWindow(p));
  EXPECT_EQ(CountThreadWindows(), 0u);
}

TEST_F(WindowLayerTest, TreeAndGeometryFollowTheRecords) {
  SetSystemMetric(SM_CYCAPTION, 20);
  HWND p = CreateWindowExA(0, kRecorder, "p", WS_POPUP | WS_CAPTION, 100, 50, 200, 150, nullptr, nullptr, nullptr,
                           nullptr);
  HWND a = Child(p, 1);
  HWND b = Child(p, 2, WS_EX_CLIENTEDGE);
  HWND b1 = Child(b, 3);
  EXPECT_EQ(GetWindow(p, GW_CHILD), a);
  EXPECT_EQ(GetWindow(a, GW_HWNDNEXT), b);
  EXPECT_EQ(GetWindow(b, GW_HWNDPREV), a);
  EXPECT_EQ(GetWindow(b, GW_HWNDNEXT), nullptr);
  EXPECT_EQ(GetDlgItem(p, 2), b);
  EXPECT_EQ(GetDlgItem(p, 3), nullptr);  // only direct children
  EXPECT_EQ(GetDlgCtrlID(b1), 3);
  EXPECT_TRUE(IsChild(p, b1));
  EXPECT_FALSE(IsChild(a, b1));
  EXPECT_EQ(GetParent(b1), b);
  EXPECT_EQ(GetAncestor(b1, GA_ROOT), p);
  std::vector<HWND> all;
  EnumChildWindows(p, [](HWND h, LPARAM l) { reinterpret_cast<std::vector<HWND>*>(l)->push_back(h); return TRUE; },
                   reinterpret_cast<LPARAM>(&all));
  EXPECT_EQ(all, (std::vector<HWND>{a, b, b1}));

  // A popup with a caption and a dialog frame: 3-pixel frame, 20-pixel caption.
  RECT r;
  GetClientRect(p, &r);
  EXPECT_EQ(r.right, 200 - 2 * 3);
  EXPECT_EQ(r.bottom, 150 - 2 * 3 - 20);
  POINT pt{0, 0};
  ClientToScreen(b, &pt);  // child at 5,5 with a 2-pixel client edge
  EXPECT_EQ(pt.x, 100 + 3 + 5 + 2);
  EXPECT_EQ(pt.y, 50 + 3 + 20 + 5 + 2);
  GetWindowRect(b1, &r);
  EXPECT_EQ(r.left, pt.x + 5);
  POINT q[1] = {{1, 1}};
  int off = MapWindowPoints(b1, p, q, 1);
  EXPECT_EQ(q[0].x, 1 + 2 + 5 + 5);
  EXPECT_EQ(LOWORD(DWORD(off)), 12);
  Journal().clear();
  MoveWindow(a, 40, 30, 60, 10, TRUE);
  EXPECT_EQ(Trace({WM_WINDOWPOSCHANGING, WM_WINDOWPOSCHANGED, WM_MOVE, WM_SIZE}, {{a, "A"}}),
            (Strings{"0x46:A", "0x47:A", "MOVE:A", "SIZE:A"}));
  GetWindowRect(a, &r);
  EXPECT_EQ(r.right - r.left, 60);
  SetWindowPos(a, HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
  EXPECT_EQ(GetWindow(p, GW_CHILD), b);
  EXPECT_EQ(SetParent(b1, a), b);
  EXPECT_EQ(GetParent(b1), a);
  // Dialog units use the dialog font's base units (6 x 13 on the null backend).
  EXPECT_EQ(GetDialogBaseUnits(), LONG(MAKELONG(6, 13)));
  SetSystemMetric(SM_CYCAPTION, 19);
}

TEST_F(WindowLayerTest, StateChangesReachTheBackend) {
  HWND p = Top("p", WS_POPUP);
  HWND c = Child(p, 5, 0, "Button", BS_AUTOCHECKBOX, "Check");
  HWND l = Child(p, 6, 0, "ListBox", LBS_NOTIFY);
  HWND g = Child(p, 7, 0, "msctls_progress32");
  char hx[16];
  std::snprintf(hx, sizeof hx, "0x%x", unsigned(reinterpret_cast<std::uintptr_t>(c)));
  const std::string C = hx;
  std::snprintf(hx, sizeof hx, "0x%x", unsigned(reinterpret_cast<std::uintptr_t>(l)));
  const std::string L = hx;
  std::snprintf(hx, sizeof hx, "0x%x", unsigned(reinterpret_cast<std::uintptr_t>(g)));
  const std::string G = hx;
  SetNullBackendLogging(true);
  SetWindowTextA(c, "Again");
  EnableWindow(c, FALSE);
  EnableWindow(c, TRUE);
  ShowWindow(c, SW_HIDE);
  MoveWindow(c, 1, 2, 30, 40, TRUE);
  SendMessageA(c, BM_SETCHECK, BST_CHECKED, 0);
  SendMessageA(l, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>("one"));
  SendMessageA(l, LB_SETCURSEL, 0, 0);
  SendMessageA(g, PBM_SETPOS, 40, 0);
  EXPECT_EQ(TakeNullBackendLog(),
            (Strings{"text " + C + " Again", "enable " + C + " 0", "enable " + C + " 1", "show " + C + " 0",
                     "move " + C + " 1,2,31,42", "check " + C + " 1", "insert " + L + " 0", "select " + L + " 0",
                     "progress " + G + " 40"}));
  DestroyWindow(p);
  Strings log = TakeNullBackendLog();
  ASSERT_EQ(log.size(), 4u);  // children first
  EXPECT_EQ(log[0], "destroy " + C);
}

}  // namespace
}  // namespace zev

namespace zev {
namespace {

using namespace testing_window;

int g_filterCalls = 0;
LRESULT MsgFilter(int code, WPARAM w, LPARAM l) {
  ++g_filterCalls;
  const MSG* m = reinterpret_cast<const MSG*>(l);
  if (code == MSGF_DIALOGBOX && m->message == WM_USER + 9) return TRUE;  // eaten
  return CallNextHookEx(nullptr, code, w, l);
}

TEST_F(WindowLayerTest, FocusShowAndEnableSendTheirMessages) {
  HWND p = Top("p", WS_POPUP | WS_VISIBLE);
  HWND a = Child(p, 1);
  HWND e = Child(p, 2, 0, "Edit", WS_TABSTOP, "");
  HWND b = Child(p, 3, 0, "Button", BS_PUSHBUTTON | BS_NOTIFY, "B");
  const std::vector<std::pair<HWND, std::string>> labels = {{p, "P"}, {a, "A"}, {e, "E"}, {b, "B"}};
  struct Case {
    const char* name;
    std::function<void()> act;
    std::vector<std::string> trace;
    HWND focus;
  };
  const Case cases[] = {
      {"focus a window", [&] { SetFocus(a); }, {"SETFOCUS:A"}, a},
      {"an edit reports its focus", [&] { SetFocus(e); }, {"KILLFOCUS:A", "COMMAND:P(E,EN_SETFOCUS)"}, e},
      {"a notifying button too", [&] { SetFocus(b); },
       {"COMMAND:P(E,EN_KILLFOCUS)", "COMMAND:P(B,BN_SETFOCUS)"}, b},
      {"disabling the focus takes it away", [&] { EnableWindow(b, FALSE); },
       {"COMMAND:P(B,BN_KILLFOCUS)"}, nullptr},
      {"a disabled window takes no focus", [&] { EXPECT_EQ(SetFocus(b), nullptr); }, {}, nullptr},
      {"hiding the parent hides the child from view", [&] { EXPECT_TRUE(ShowWindow(p, SW_HIDE)); },
       {"SHOWWINDOW:P"}, nullptr},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Journal().clear();
    c.act();
    std::vector<std::string> got;
    for (const Seen& s : Journal()) {
      std::string who = "?";
      for (auto& [h, n] : labels)
        if (h == s.hwnd) who = n;
      if (s.msg == WM_SETFOCUS || s.msg == WM_KILLFOCUS || s.msg == WM_SHOWWINDOW) {
        got.push_back(Name(s.msg) + ":" + who);
      } else if (s.msg == WM_COMMAND) {
        std::string from = "?";
        for (auto& [h, n] : labels)
          if (h == reinterpret_cast<HWND>(s.lParam)) from = n;
        const UINT code = HIWORD(DWORD(s.wParam));
        const char* cn = code == EN_SETFOCUS    ? "EN_SETFOCUS"
                         : code == EN_KILLFOCUS ? "EN_KILLFOCUS"
                         : code == BN_SETFOCUS  ? "BN_SETFOCUS"
                         : code == BN_KILLFOCUS ? "BN_KILLFOCUS"
                                                : "other";
        got.push_back("COMMAND:" + who + "(" + from + "," + cn + ")");
      }
    }
    EXPECT_EQ(got, c.trace);
    EXPECT_EQ(GetFocus(), c.focus);
  }
  EXPECT_FALSE(IsWindowVisible(a));
  EXPECT_TRUE(GetWindowLongA(a, GWL_STYLE) & WS_VISIBLE);
  EXPECT_TRUE(EnableWindow(b, TRUE));  // it was disabled
  EXPECT_FALSE(EnableWindow(b, TRUE));
}

TEST_F(WindowLayerTest, MessageFilterHooksSeeDialogKeysFirst) {
  DialogTemplate t(WS_POPUP, 0, 0, 100, 50, "d");
  t.PushButton("OK", IDOK, 5, 5, 40, 14);
  HWND dlg = CreateDialogIndirectParamA(nullptr, &t, nullptr, nullptr, 0);
  ASSERT_TRUE(dlg);
  HHOOK h = SetWindowsHookExA(WH_MSGFILTER, MsgFilter, nullptr, 0);
  g_filterCalls = 0;
  MSG eaten{dlg, WM_USER + 9, 0, 0, 0, {0, 0}};
  MSG passed{dlg, WM_USER + 8, 0, 0, 0, {0, 0}};
  MSG elsewhere{nullptr, WM_USER + 9, 0, 0, 0, {0, 0}};
  Journal().clear();
  EXPECT_TRUE(IsDialogMessageA(dlg, &eaten));
  EXPECT_TRUE(IsDialogMessageA(dlg, &passed));
  EXPECT_FALSE(IsDialogMessageA(dlg, &elsewhere));
  EXPECT_EQ(g_filterCalls, 2);
  UnhookWindowsHookEx(h);
  EXPECT_FALSE(CallMsgFilterA(&eaten, MSGF_DIALOGBOX));
}

}  // namespace
}  // namespace zev
