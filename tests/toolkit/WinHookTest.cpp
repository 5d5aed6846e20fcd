// Window hooks: dispatch order and results, replacement, record removal, the funnel's
// filters, message-queue clients that spoil messages, and window groups.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "ToolkitTestSupport.h"
#include "zevutil/CWinHookBase.h"
#include "zevutil/platform/Wnd.h"

namespace zev::test {
namespace {

std::string g_trace;

// A hook owner whose handler notes its name and answers as told.
class NamedHook : public CWinHookBase {
 public:
  explicit NamedHook(std::string name, BOOL answer = FALSE, LRESULT result = 0)
      : name(std::move(name)), answer(answer), result(result) {}
  BOOL defWndProcHook(HWND, UINT, WPARAM, LPARAM, LRESULT* pResult) override {
    g_trace += name + " ";
    if (answer) *pResult = result;
    return answer;
  }
  BOOL Other(HWND, UINT, WPARAM, LPARAM, LRESULT*) {
    g_trace += name + "* ";
    return FALSE;
  }
  void OnRemoveHooks(HWND) override { ++removed; }
  std::string name;
  BOOL answer;
  LRESULT result;
  int removed = 0;
};

std::string TraceWithOriginal(HWND hwnd, UINT msg) {
  return g_trace + (CountSeen(hwnd, msg) ? "orig" : "");
}

class WinHookTest : public WindowFixture {
 protected:
  void SetUp() override {
    WindowFixture::SetUp();
    g_trace.clear();
  }
};

TEST_F(WinHookTest, OneMessageHookThenAllMessageHooksNewestFirstThenTheWindow) {
  // -1: no one-message hook.
  struct Case {
    const char* name;
    int msgAnswer;
    BOOL firstAnswer, lastAnswer;
    UINT sent;
    const char* trace;
    LRESULT result;
  } cases[] = {
      {"nobody handles", 0, FALSE, FALSE, WM_USER, "M L F orig", 1000},
      {"one-message hook handles", 1, FALSE, FALSE, WM_USER, "M ", 77},
      {"last-added handles", -1, FALSE, TRUE, WM_USER, "L ", 22},
      {"first-added handles", -1, TRUE, FALSE, WM_USER, "L F ", 11},
      {"both would handle", -1, TRUE, TRUE, WM_USER, "L ", 22},
      {"hook for another message", 1, FALSE, FALSE, WM_USER + 1, "L F orig", 1001},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    g_trace.clear();
    Log().clear();
    HWND hwnd = MakeTop();
    NamedHook first("F", c.firstAnswer, 11), last("L", c.lastAnswer, 22), msg("M", c.msgAnswer == 1, 77);
    ASSERT_TRUE(first.AddHwndHook(hwnd));
    ASSERT_TRUE(last.AddHwndHook(hwnd));
    if (c.msgAnswer >= 0) {
      ASSERT_TRUE(msg.AddMsgHook(hwnd, WM_USER));
    }
    EXPECT_EQ(SendMessageA(hwnd, c.sent, 0, 0), c.result);
    EXPECT_EQ(TraceWithOriginal(hwnd, c.sent), c.trace);
    DestroyWindow(hwnd);
  }
}

TEST_F(WinHookTest, AddingRefusesDeadWindowsAndMessageZero) {
  HWND hwnd = MakeTop();
  NamedHook h("H");
  EXPECT_FALSE(h.AddMsgHook(hwnd, 0));
  EXPECT_FALSE(h.AddMsgHook(nullptr, WM_USER));
  EXPECT_FALSE(h.AddHwndHook(reinterpret_cast<HWND>(UINT_PTR(0x7777))));
  EXPECT_EQ(h.CallOriginalWndproc(hwnd, WM_USER, 0, 0), 0) << "no record, no call";
  EXPECT_EQ(GetWindowLongPtrA(hwnd, GWLP_WNDPROC), reinterpret_cast<LONG_PTR>(&RecorderProc));
}

TEST_F(WinHookTest, OnlyTheLoadingThreadHasAHookTable) {
  BOOL added = TRUE;
  LONG_PTR procBefore = 0, procAfter = 0;
  std::thread worker([&] {
    HWND hwnd = MakeTop();
    NamedHook h("H");
    procBefore = GetWindowLongPtrA(hwnd, GWLP_WNDPROC);
    added = h.AddHwndHook(hwnd) || h.AddMsgHook(hwnd, WM_USER);
    procAfter = GetWindowLongPtrA(hwnd, GWLP_WNDPROC);
    DestroyWindow(hwnd);
  });
  worker.join();
  EXPECT_FALSE(added);
  EXPECT_EQ(procAfter, procBefore);
}

TEST_F(WinHookTest, ALaterHookForTheSameMessageReplacesTheEarlierWhoeverOwnsIt) {
  HWND hwnd = MakeTop();
  NamedHook a("A", TRUE, 1), b("B", FALSE);
  a.AddMsgHook(hwnd, WM_USER);
  b.AddMsgHook(hwnd, WM_USER, static_cast<WINHOOKPROC>(&NamedHook::Other));
  EXPECT_EQ(SendMessageA(hwnd, WM_USER, 0, 0), 1000);
  EXPECT_EQ(g_trace, "B* ");
  // A's hook is gone: removing A's hooks leaves B's in place.
  a.RemoveHooks();
  g_trace.clear();
  SendMessageA(hwnd, WM_USER, 0, 0);
  EXPECT_EQ(g_trace, "B* ");
}

TEST_F(WinHookTest, CallOriginalWndprocReachesTheWindowPastItsHooks) {
  HWND hwnd = MakeTop();
  NamedHook h("H", TRUE, 5);
  h.AddHwndHook(hwnd);
  EXPECT_EQ(SendMessageA(hwnd, WM_USER + 3, 0, 0), 5);
  EXPECT_EQ(CountSeen(hwnd, WM_USER + 3), 0);
  EXPECT_EQ(h.CallOriginalWndproc(hwnd, WM_USER + 3, 0, 0), 1003);
  EXPECT_EQ(CountSeen(hwnd, WM_USER + 3), 1);
}

TEST_F(WinHookTest, RemovingTheLastHookGivesTheWindowItsProcedureBack) {
  HWND one = MakeTop(), two = MakeTop();
  const LONG_PTR original = GetWindowLongPtrA(one, GWLP_WNDPROC);
  {
    NamedHook a("A"), b("B");
    a.AddHwndHook(one);
    a.AddMsgHook(two, WM_USER);
    b.AddMsgHook(one, WM_USER + 1);
    EXPECT_NE(GetWindowLongPtrA(one, GWLP_WNDPROC), original);
    a.RemoveHooks();
    EXPECT_NE(GetWindowLongPtrA(one, GWLP_WNDPROC), original) << "B still hooks it";
    EXPECT_EQ(GetWindowLongPtrA(two, GWLP_WNDPROC), original);
    EXPECT_EQ(a.removed, 0) << "only a window's end tells the owners";
  }  // B's destructor removes its hooks
  EXPECT_EQ(GetWindowLongPtrA(one, GWLP_WNDPROC), original);
  g_trace.clear();
  SendMessageA(one, WM_USER + 1, 0, 0);
  EXPECT_EQ(g_trace, "");
}

TEST_F(WinHookTest, AfterWmNcDestroyTheRecordIsGoneAndEachOwnerHearsOnce) {
  HWND hwnd = MakeTop(), other = MakeTop();
  NamedHook a("A"), b("B"), c("C");
  a.AddHwndHook(hwnd);
  a.AddMsgHook(hwnd, WM_USER);
  b.AddMsgHook(hwnd, WM_USER + 1);
  b.AddHwndHook(hwnd);
  c.AddHwndHook(other);
  DestroyWindow(hwnd);
  EXPECT_EQ(CountSeen(hwnd, WM_NCDESTROY), 1) << "the window's own procedure ran";
  EXPECT_EQ(a.removed, 1);
  EXPECT_EQ(b.removed, 1);
  EXPECT_EQ(c.removed, 0);
  a.RemoveHooks();
  b.RemoveHooks();
  EXPECT_EQ(a.removed + b.removed, 2);
  g_trace.clear();
  SendMessageA(other, WM_USER, 0, 0);
  EXPECT_EQ(g_trace, "C ");
}

TEST_F(WinHookTest, AHandlerMayRemoveHooksWhileTheyAreBeingCalled) {
  HWND hwnd = MakeTop();
  struct SelfRemoving : NamedHook {
    using NamedHook::NamedHook;
    BOOL defWndProcHook(HWND h, UINT m, WPARAM w, LPARAM l, LRESULT* r) override {
      BOOL answer = NamedHook::defWndProcHook(h, m, w, l, r);
      RemoveHooks();
      victim->RemoveHooks();
      return answer;
    }
    CWinHookBase* victim = nullptr;
  };
  NamedHook first("F");
  SelfRemoving last("L");
  last.victim = &first;
  first.AddHwndHook(hwnd);
  last.AddHwndHook(hwnd);
  EXPECT_EQ(SendMessageA(hwnd, WM_USER, 0, 0), 1000);
  EXPECT_EQ(TraceWithOriginal(hwnd, WM_USER), "L orig");
  EXPECT_EQ(GetWindowLongPtrA(hwnd, GWLP_WNDPROC), reinterpret_cast<LONG_PTR>(&RecorderProc));
}

// ---- the funnel ----

struct FunnelReport {
  int count = 0;
  MSG current{};
  BOOL inNotify = FALSE;
};
FunnelReport g_report;
CWinHookFunnel* g_funnel = nullptr;
constexpr UINT kNotifyCommand = 900;

LRESULT FunnelParentProc(HWND hwnd, UINT msg, WPARAM w, LPARAM l) {
  if (msg == WM_COMMAND && w == kNotifyCommand && g_funnel) {
    ++g_report.count;
    g_report.current = g_funnel->GetCurrentMessage();
    g_report.inNotify = g_funnel->IsInNotify();
  }
  return RecorderProc(hwnd, msg, w, l);
}

TEST_F(WinHookTest, FunnelReportsMatchingMessagesToItsParentAndOnlyListens) {
  HWND parent = MakeTop();
  SetWindowLongPtrA(parent, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&FunnelParentProc));
  HWND any = MakeChild(parent, RecorderClass(), 11), exact = MakeChild(parent, RecorderClass(), 12);
  CWinHookFunnel funnel;
  g_funnel = &funnel;
  funnel.SetParent(parent).SetNotifyCommand(kNotifyCommand);
  funnel.SetParent(reinterpret_cast<HWND>(UINT_PTR(0x7777)));  // not a window: ignored
  ASSERT_EQ(funnel.GetNotifyParent(), parent);
  funnel.AddHook(any, WM_USER, 0, 99);
  funnel.AddHook(12u, WM_USER, 1, 5);
  funnel.AddNotifyHook(40, BN_CLICKED + 3, WM_COMMAND);
  funnel.AddNotifyHook(41, TCN_SELCHANGE, WM_NOTIFY);
  funnel.AddNotifyHook(0, 0, WM_USER + 2);
  funnel.AddHook(reinterpret_cast<HWND>(UINT_PTR(0x7777)), WM_USER, 0, 0);  // ignored

  NMHDR tabChange{nullptr, 41, UINT(TCN_SELCHANGE)}, tabOther{nullptr, 41, UINT(TCN_SELCHANGING)};
  struct Case {
    const char* name;
    HWND to;
    UINT msg;
    WPARAM w;
    const NMHDR* header;
    int reports;
  } cases[] = {
      {"no parameter: any wParam", any, WM_USER, 12345, nullptr, 1},
      {"no parameter: other message", any, WM_USER + 1, 0, nullptr, 0},
      {"parameter equal", exact, WM_USER, 5, nullptr, 1},
      {"parameter different", exact, WM_USER, 6, nullptr, 0},
      {"command of the control and code", parent, WM_COMMAND, MAKEWPARAM(40, 3), nullptr, 1},
      {"command with another code", parent, WM_COMMAND, MAKEWPARAM(40, 0), nullptr, 0},
      {"notify id and code", parent, WM_NOTIFY, 41, &tabChange, 1},
      {"notify with another code", parent, WM_NOTIFY, 41, &tabOther, 0},
      {"notify from another id", parent, WM_NOTIFY, 42, &tabChange, 0},
      {"other message on the parent: wParam 0", parent, WM_USER + 2, 0, nullptr, 1},
      {"other message on the parent: wParam not 0", parent, WM_USER + 2, 8, nullptr, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    g_report = {};
    Log().clear();
    LPARAM l = reinterpret_cast<LPARAM>(c.header);
    SendMessageA(c.to, c.msg, c.w, l);
    EXPECT_EQ(g_report.count, c.reports);
    EXPECT_EQ(CountSeen(c.to, c.msg, (long long)c.w), 1) << "the window's procedure still runs";
    if (c.reports) {
      EXPECT_TRUE(g_report.inNotify);
      EXPECT_EQ(g_report.current.hwnd, c.to);
      EXPECT_EQ(g_report.current.message, c.msg);
      EXPECT_EQ(g_report.current.wParam, c.w);
      EXPECT_EQ(g_report.current.lParam, l);
    }
    EXPECT_FALSE(funnel.IsInNotify());
  }
  g_funnel = nullptr;
}

TEST_F(WinHookTest, FunnelAddHookAllWatchesEveryWindowOfItsArray) {
  HWND parent = MakeTop();
  SetWindowLongPtrA(parent, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&FunnelParentProc));
  HWND a = MakeChild(parent, RecorderClass(), 21), b = MakeChild(parent, RecorderClass(), 22);
  CWinHookFunnel funnel;
  g_funnel = &funnel;
  g_report = {};
  funnel.SetParent(parent).SetNotifyCommand(kNotifyCommand);
  funnel << 21u << b;
  funnel.AddHookAll(WM_USER + 4, 0, 0);
  SendMessageA(a, WM_USER + 4, 0, 0);
  SendMessageA(b, WM_USER + 4, 0, 0);
  EXPECT_EQ(g_report.count, 2);
  EXPECT_EQ(funnel.GetSize(), 2);
  g_funnel = nullptr;
}

// ---- message-queue clients ----

class QueueClient : public GetMsgHook {
 public:
  QueueClient(std::string name, WPARAM spoil) : name(std::move(name)), spoil(spoil) {}
  BOOL OnMessage(MSG& msg) override {
    if (msg.message != WM_USER + 7) return FALSE;
    g_trace += name + std::to_string(msg.wParam) + " ";
    return msg.wParam == spoil;
  }
  std::string name;
  WPARAM spoil;
};

TEST_F(WinHookTest, AQueueClientThatAnswersSpoilsTheMessageForEverybodyAfterIt) {
  HWND hwnd = MakeTop();
  const int before = GetMsgHook::sm_nHooks;
  {
    QueueClient a("a", 2), b("b", 3);
    EXPECT_EQ(GetMsgHook::sm_nHooks, before + 2);
    const UINT spoilt = GetMsgHook::GetSpoiltMessage();
    EXPECT_EQ(spoilt, RegisterWindowMessageA("ZEV#GetMessageHook"));
    for (WPARAM w = 1; w <= 3; ++w) PostMessageA(hwnd, WM_USER + 7, w, 0);
    PumpPending();
    EXPECT_EQ(g_trace, "a1 b1 a2 a3 b3 ");
    EXPECT_EQ(CountSeen(hwnd, WM_USER + 7, 1), 1);
    EXPECT_EQ(CountSeen(hwnd, WM_USER + 7, 2), 0);
    EXPECT_EQ(CountSeen(hwnd, WM_USER + 7, 3), 0);
    EXPECT_EQ(CountSeen(hwnd, spoilt, 2), 1);
    EXPECT_EQ(CountSeen(hwnd, spoilt, 3), 1);
  }
  EXPECT_EQ(GetMsgHook::sm_nHooks, before);
  // With the last client gone the thread's hook is gone too.
  g_trace.clear();
  PostMessageA(hwnd, WM_USER + 7, 2, 0);
  PumpPending();
  EXPECT_EQ(g_trace, "");
  EXPECT_EQ(CountSeen(hwnd, WM_USER + 7, 2), 1);
}

TEST_F(WinHookTest, EachThreadHasItsOwnQueueClients) {
  // Each worker's client spoils every message of its own thread and sees no other's.
  struct Spoiler : GetMsgHook {
    BOOL OnMessage(MSG& msg) override {
      if (msg.message == WM_USER + 7) ++seen;
      return msg.message == WM_USER + 7;
    }
    int seen = 0;
  };
  int seen[2] = {}, reached[2] = {};
  auto work = [&](int k) {
    HWND hwnd = MakeTop();
    {
      Spoiler client;
      for (int i = 0; i < 50; ++i) PostMessageA(hwnd, WM_USER + 7, WPARAM(k), 0);
      PumpPending();
      seen[k] = client.seen;
    }
    PostMessageA(hwnd, WM_USER + 7, WPARAM(k), 0);
    PumpPending();
    DestroyWindow(hwnd);
  };
  std::thread a(work, 0), b(work, 1);
  a.join();
  b.join();
  for (const Seen& s : Log())
    if (s.message == WM_USER + 7) ++reached[s.wParam];
  EXPECT_EQ(seen[0], 50);
  EXPECT_EQ(seen[1], 50);
  EXPECT_EQ(reached[0], 1) << "only the message after the client went";
  EXPECT_EQ(reached[1], 1);
}

// ---- window groups ----

TEST_F(WinHookTest, WindowArraySetArrayAndValidate) {
  HWND parent = MakeTop();
  HWND a = MakeChild(parent, RecorderClass(), 31), b = MakeChild(parent, RecorderClass(), 32);
  CWindowArray arr;
  const UINT good[] = {31, 32}, bad[] = {31, 99};
  arr.SetArray(parent, good, 2);
  ASSERT_EQ(arr.GetSize(), 2);
  arr.SetArray(parent, bad, 2);
  EXPECT_EQ(arr.GetSize(), 2) << "a missing id leaves the array as it was";
  EXPECT_EQ(arr[1], b);
  struct Case {
    const char* name;
    std::vector<HWND> windows;
    int noDuplicates;
    BOOL valid;
  } cases[] = {
      {"distinct", {a, b}, 1, TRUE},
      {"duplicate allowed", {a, b, a}, 0, TRUE},
      {"duplicate refused", {a, b, a}, 1, FALSE},
      {"dead handle", {a, reinterpret_cast<HWND>(UINT_PTR(0x7777))}, 0, FALSE},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    arr.SetArray(c.windows.data(), UINT(c.windows.size()));
    EXPECT_EQ(arr.ValidateAll(c.noDuplicates), c.valid);
  }
  arr.SetArray(parent, good, 2).EnableWindows(0);
  EXPECT_FALSE(IsWindowEnabled(a));
  EXPECT_FALSE(IsWindowEnabled(b));
  arr.DestroyWindows(1);
  EXPECT_FALSE(IsWindow(a));
  EXPECT_EQ(arr.GetSize(), 0);
}

RECT RectIn(HWND hwnd, HWND parent) {
  RECT r;
  GetWindowRect(hwnd, &r);
  MapWindowPoints(nullptr, parent, reinterpret_cast<POINT*>(&r), 2);
  return r;
}

TEST_F(WinHookTest, WindowMoverPlacesAloneOrAsAGroup) {
  using V = CWindowMover::EV_OPT;
  using H = CWindowMover::EH_OPT;
  // Two windows: 20x10 at (10,20) and 40x30 at (50,60); their union is (10,20)-(90,90).
  struct Case {
    const char* name;
    V v;
    int vValue, vLock;
    H h;
    int hValue, hLock;
    RECT first, second;
  } cases[] = {
      {"nothing", V::EV_NONE, 5, 0, H::EH_NONE, 5, 0, {10, 20, 30, 30}, {50, 60, 90, 90}},
      {"move by", V::EV_OFFSET, 5, 0, H::EH_OFFSET, -3, 0, {7, 25, 27, 35}, {47, 65, 87, 95}},
      {"tops and lefts at", V::EV_TOP, 100, 0, H::EH_LEFT, 0, 0, {0, 100, 20, 110}, {0, 100, 40, 130}},
      {"bottoms and rights at", V::EV_BOTTOM, 100, 0, H::EH_RIGHT, 200, 0, {180, 90, 200, 100}, {160, 70, 200, 100}},
      {"centred alone", V::EV_CENTER, 100, 0, H::EH_CENTER, 100, 0, {90, 95, 110, 105}, {80, 85, 120, 115}},
      {"group top", V::EV_TOP, 0, 1, H::EH_NONE, 0, 0, {10, 0, 30, 10}, {50, 40, 90, 70}},
      {"group bottom", V::EV_BOTTOM, 100, 1, H::EH_NONE, 0, 0, {10, 30, 30, 40}, {50, 70, 90, 100}},
      {"group centre", V::EV_CENTER, 100, 1, H::EH_NONE, 0, 0, {10, 65, 30, 75}, {50, 105, 90, 135}},
      // kept: the horizontal lock reads the vertical option, here "top": value less left.
      {"group right reads the vertical option", V::EV_TOP, 20, 1, H::EH_RIGHT, 100, 1, {100, 20, 120, 30}, {140, 60, 180, 90}},
      {"group left with vertical none", V::EV_NONE, 0, 1, H::EH_LEFT, 100, 1, {10, 20, 30, 30}, {50, 60, 90, 90}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    HWND parent = MakeTop();
    HWND a = MakeChild(parent, RecorderClass(), 1, 0, 0, {10, 20, 30, 30});
    HWND b = MakeChild(parent, RecorderClass(), 2, 0, 0, {50, 60, 90, 90});
    CWindowMover mover(parent);
    mover << 1u << 2u;
    mover.SetVertical(c.v, c.vValue, c.vLock).SetHorizontal(c.h, c.hValue, c.hLock).DoMove();
    RECT ra = RectIn(a, parent), rb = RectIn(b, parent);
    EXPECT_TRUE(EqualRect(&ra, &c.first)) << ra.left << "," << ra.top << "," << ra.right << "," << ra.bottom;
    EXPECT_TRUE(EqualRect(&rb, &c.second)) << rb.left << "," << rb.top << "," << rb.right << "," << rb.bottom;
    DestroyWindow(parent);
  }
}

}  // namespace
}  // namespace zev::test
