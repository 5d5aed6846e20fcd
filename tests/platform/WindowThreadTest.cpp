// Worker threads and the loading thread's queue: posts from several workers while the loop
// pumps (each worker's order kept, nothing lost), sends that wait for the owner's loop, thread
// messages, and windows that die with their thread. Runs under ThreadSanitizer in make tsan.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "WindowTestSupport.h"

namespace zev {
namespace {

using namespace testing_window;

constexpr UINT kWork = WM_APP + 1, kDone = WM_APP + 2, kAsk = WM_APP + 3;

struct Tally {
  std::vector<std::vector<WPARAM>> perWorker;
  int done = 0;
  int asked = 0;
};
Tally* g_tally = nullptr;

LRESULT CountingProc(HWND h, UINT m, WPARAM w, LPARAM l) {
  switch (m) {
    case kWork:
      g_tally->perWorker[std::size_t(l)].push_back(w);
      return 0;
    case kDone:
      ++g_tally->done;
      return 0;
    case kAsk:
      ++g_tally->asked;
      return LRESULT(w * 2);
    default:
      return DefWindowProcA(h, m, w, l);
  }
}

class WindowThreadTest : public WindowFixture {
 protected:
  void SetUp() override {
    WindowFixture::SetUp();
    SetClock(nullptr);  // real time: the workers wake the loop, nothing is scripted
    static bool registered = [] {
      WNDCLASSA wc{};
      wc.lpfnWndProc = CountingProc;
      wc.lpszClassName = "ZevTestCounter";
      return RegisterClassA(&wc) != 0;
    }();
    (void)registered;
    g_tally = &tally;
  }
  void TearDown() override {
    g_tally = nullptr;
    WindowFixture::TearDown();
  }
  Tally tally;
};

TEST_F(WindowThreadTest, PostsFromWorkersArriveInOrderWhileTheLoopPumps) {
  constexpr int kWorkers = 3, kEach = 5000;
  HWND h = CreateWindowExA(0, "ZevTestCounter", "", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
  ASSERT_TRUE(h);
  tally.perWorker.resize(kWorkers);
  std::atomic<int> answers{0};
  std::vector<std::thread> workers;
  for (int k = 0; k < kWorkers; ++k)
    workers.emplace_back([h, k, &answers] {
      for (int i = 0; i < kEach; ++i) {
        ASSERT_TRUE(PostMessageA(h, kWork, WPARAM(i), LPARAM(k)));
        if (i % 1000 == 0 && SendMessageA(h, kAsk, WPARAM(i), 0) == LRESULT(2 * i)) ++answers;
      }
      PostMessageA(h, kDone, 0, 0);
    });
  MSG m;
  while (tally.done < kWorkers && GetMessageA(&m, nullptr, 0, 0) > 0) DispatchMessageA(&m);
  for (auto& t : workers) t.join();
  for (int k = 0; k < kWorkers; ++k) {
    SCOPED_TRACE(k);
    ASSERT_EQ(tally.perWorker[std::size_t(k)].size(), std::size_t(kEach));
    for (int i = 0; i < kEach; ++i) ASSERT_EQ(tally.perWorker[std::size_t(k)][std::size_t(i)], WPARAM(i));
  }
  EXPECT_EQ(answers.load(), kWorkers * kEach / 1000);
  EXPECT_EQ(tally.asked, kWorkers * kEach / 1000);
  DestroyWindow(h);
}

TEST_F(WindowThreadTest, ThreadMessagesAndWindowsOfEndedThreads) {
  const DWORD mainId = GetCurrentThreadId();
  HWND theirs = nullptr;
  std::thread worker([&] {
    theirs = CreateWindowExA(0, "ZevTestCounter", "", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
    EXPECT_TRUE(PostThreadMessageA(mainId, kDone, 7, 0));
    // The thread ends with its window still there: the window goes with it.
  });
  worker.join();
  MSG m;
  ASSERT_TRUE(GetMessageA(&m, nullptr, 0, 0));
  EXPECT_EQ(m.hwnd, nullptr);
  EXPECT_EQ(m.message, kDone);
  EXPECT_EQ(m.wParam, 7u);
  EXPECT_NE(theirs, nullptr);
  EXPECT_FALSE(IsWindow(theirs));
  EXPECT_FALSE(PostMessageA(theirs, kWork, 0, 0));
  EXPECT_EQ(SendMessageA(theirs, kAsk, 1, 0), 0);
  EXPECT_FALSE(PostThreadMessageA(0x7FFFFFF0u, kDone, 0, 0));
}

}  // namespace
}  // namespace zev
