// Idle hooks on virtual time: the due test with its unsigned arithmetic and wrap rule, the
// 100-ms granularity of the shared timer, and the root's hook list.
#include <gtest/gtest.h>

#include <vector>

#include "ToolkitTestSupport.h"
#include "zevutil/CIdleHook.h"

namespace zev::test {
namespace {

// Notes the tick count of every callback.
struct Firings {
  std::vector<DWORD> ticks;
  static void Note(void* self) { static_cast<Firings*>(self)->ticks.push_back(GetTickCount()); }
};

class IdleHookTest : public WindowFixture {
 protected:
  void SetUp() override {
    WindowFixture::SetUp();
    SetClock(&clock);
  }
  void TearDown() override {
    GetIdleHook().Exit();
    SetClock(nullptr);
    WindowFixture::TearDown();
  }
  // Runs the virtual clock forward in 10-ms steps, pumping due timers.
  void RunFor(ULONGLONG ms) {
    for (ULONGLONG t = 0; t < ms; t += 10) {
      clock.Advance(10);
      PumpPending();
    }
  }
  ManualClock clock{0};
};

// A hook that answers whatever the base does and keeps the tick count it was called at.
struct CountingHook : CIdleHook {
  BOOL OnIdleTick() override {
    calls.push_back(GetTickCount());
    return CIdleHook::OnIdleTick();
  }
  std::vector<DWORD> calls;
};

TEST_F(IdleHookTest, DueTestUsesUnsignedTicksAndRestartsAfterAWrap) {
  struct Case {
    const char* name;
    ULONGLONG now;
    ULONG frequency, lastTick;
    int enabled;
    bool withCallback;
    BOOL fired;
    bool calledBack;
    ULONG lastAfter;
  } cases[] = {
      {"not yet due", 10'000, 1000, 9'500, 1, true, FALSE, false, 9'500},
      {"exactly one period is not enough", 10'000, 1000, 9'000, 1, true, FALSE, false, 9'000},
      {"one millisecond more", 10'001, 1000, 9'000, 1, true, TRUE, true, 10'001},
      {"disabled still fires and advances", 10'001, 1000, 9'000, 0, true, TRUE, false, 10'001},
      {"no callback still fires", 10'001, 1000, 9'000, 1, false, TRUE, false, 10'001},
      {"within the first period after start: due at once", 300, 1000, 0, 1, true, TRUE, true, 300},
      {"frequency 0: due when the count moved", 500, 0, 499, 1, true, TRUE, true, 500},
      {"frequency 0: not when it stood still", 500, 0, 500, 1, true, FALSE, false, 500},
      {"count wrapped below the first period: due at once", (1ull << 32) + 50, 250, 0xFFFFFF00u, 1, true, TRUE, true, 50},
      {"count wrapped past the first period: restarts there", (1ull << 32) + 600, 250, 0xFFFFFF00u, 1, true, FALSE, false, 600},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    clock.Set(c.now);
    struct Probe : CIdleHook {
      void Prime(ULONG last) { m_nLastTick = last; }
    } hook;
    Firings firings;
    hook.SetTickFrequency(c.frequency).Enable(c.enabled);
    if (c.withCallback) hook.SetCallback(&Firings::Note, &firings);
    hook.Prime(c.lastTick);
    EXPECT_EQ(hook.OnIdleTick(), c.fired);
    EXPECT_EQ(!firings.ticks.empty(), c.calledBack);
    EXPECT_EQ(hook.GetLastTick(), c.lastAfter);
  }
}

TEST_F(IdleHookTest, AHookFiresOnTheFirstTimerTickAfterItsPeriod) {
  clock.Set(100'000);
  CIdleHook hook;
  Firings firings;
  hook.SetTickFrequency(250).SetCallback(&Firings::Note, &firings).Enable(1);
  GetIdleHook().Init();
  RunFor(1'500);
  // The 100-ms timer rounds 250 ms up to 300 ms.
  EXPECT_EQ(firings.ticks, (std::vector<DWORD>{100'100, 100'400, 100'700, 101'000, 101'300}));
}

TEST_F(IdleHookTest, TheHookRestartsWhenTheTickCountWraps) {
  clock.Set((1ull << 32) - 410);
  CIdleHook hook;
  Firings firings;
  hook.SetTickFrequency(250).SetCallback(&Firings::Note, &firings).Enable(1);
  GetIdleHook().Init();
  RunFor(1'000);
  // kept: within the first period of the new count the unsigned test passes at every
  // tick (90, 190); from there it is one period again.
  EXPECT_EQ(firings.ticks, (std::vector<DWORD>{0xFFFFFFFFu - 309, 0xFFFFFFFFu - 9, 90, 190, 490}));
}

TEST_F(IdleHookTest, ADefaultHookNeverCallsBackUntilEnabledWithACallback) {
  clock.Set(50'000);
  CountingHook hook;
  Firings firings;
  GetIdleHook().Init();
  RunFor(2'000);
  EXPECT_EQ(hook.calls.size(), 20u) << "ticked every 100 ms";
  EXPECT_EQ(hook.GetLastTick(), 51'200u) << "a disabled hook still fires and moves on";
  hook.SetCallback(&Firings::Note, &firings);
  RunFor(1'100);
  EXPECT_TRUE(firings.ticks.empty());
  hook.Enable(1);
  RunFor(1'100);
  EXPECT_EQ(firings.ticks, (std::vector<DWORD>{53'400}));
}

TEST_F(IdleHookTest, RootKeepsOneEntryPerHookInLinkOrderAndOneTimer) {
  CIdleHookRoot& root = GetIdleHook();
  const int before = root.GetHookCount();
  UINT index = 0;
  {
    CountingHook a, b;
    root.LinkHook(a);
    EXPECT_EQ(root.GetHookCount(), before + 2);
    ASSERT_TRUE(root.FindHook(&b, index));
    EXPECT_EQ(index, UINT(before + 1));
    root.UnlinkHook(a);
    EXPECT_FALSE(root.FindHook(&a, index));
    root.LinkHook(a);
    ASSERT_TRUE(root.FindHook(&a, index));
    EXPECT_EQ(index, UINT(before + 1)) << "linked again at the end";

    clock.Set(5'000);
    a.SetTickFrequency(0);
    root.Init();
    root.Init();
    EXPECT_TRUE(root.IsTimerRunning());
    EXPECT_EQ(root.GetTimerID(), CIdleHookRoot::kTimerId);
    RunFor(300);
    EXPECT_EQ(a.calls, (std::vector<DWORD>{5'100, 5'200, 5'300})) << "one timer, one tick per 100 ms";
    root.Exit();
    EXPECT_FALSE(root.IsTimerRunning());
    RunFor(300);
    EXPECT_EQ(a.calls.size(), 3u);
    EXPECT_TRUE(IsWindow(root.m_hWnd)) << "the window stays after Exit";
    char title[64] = {};
    GetWindowTextA(root.m_hWnd, title, 64);
    EXPECT_STREQ(title, "IdleHookHiddenWindow");
    EXPECT_FALSE(IsWindowVisible(root.m_hWnd));
  }
  EXPECT_EQ(root.GetHookCount(), before);
}

TEST_F(IdleHookTest, CopiesAreLinkedAndCarryTheSettings) {
  CIdleHook a;
  int data = 0;
  a.SetTickFrequency(42).Enable(1).SetCallback(&Firings::Note, &data);
  CIdleHook b(a);
  UINT index = 0;
  EXPECT_TRUE(GetIdleHook().FindHook(&b, index));
  EXPECT_EQ(b.GetTickFrequency(), 42u);
  EXPECT_TRUE(b.IsEnabled());
}

}  // namespace
}  // namespace zev::test
