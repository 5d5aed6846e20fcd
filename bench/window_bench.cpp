// Window layer throughput on the null backend: SendMessage through a subclassed window with
// three message hooks installed, PostMessage + GetMessage + DispatchMessage round trips, and
// timer dispatch on virtual time. No peer exists; the figures are printed in messages per second.
#include <benchmark/benchmark.h>

#include <cstdio>

#include "BenchSupport.h"
#include "zevutil/platform/Window.h"
#include "zevutil/platform/WindowTesting.h"

namespace {

using namespace zev;

WNDPROC g_original = nullptr;
std::uint64_t g_sink = 0;

LRESULT CountingProc(HWND h, UINT m, WPARAM w, LPARAM l) {
  if (m >= WM_USER) {
    g_sink += w;
    return 1;
  }
  return DefWindowProcA(h, m, w, l);
}

LRESULT Subclass(HWND h, UINT m, WPARAM w, LPARAM l) { return CallWindowProcA(g_original, h, m, w, l); }

HHOOK g_hooks[3];
template <int N>
LRESULT PassOn(int code, WPARAM w, LPARAM l) {
  return CallNextHookEx(g_hooks[N], code, w, l);
}

// A window of the counting class, subclassed once, with three WH_GETMESSAGE hooks.
struct Setup {
  Setup(bool hooks) {
    UseNullWindowBackend();
    ResetWindowTestState();
    static bool registered = [] {
      WNDCLASSA wc{};
      wc.lpfnWndProc = CountingProc;
      wc.lpszClassName = "BenchCounter";
      return RegisterClassA(&wc) != 0;
    }();
    (void)registered;
    hwnd = CreateWindowExA(0, "BenchCounter", "", WS_POPUP, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
    g_original = reinterpret_cast<WNDPROC>(SetWindowLongPtrA(hwnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(Subclass)));
    if (hooks) {
      g_hooks[0] = SetWindowsHookExA(WH_GETMESSAGE, PassOn<0>, nullptr, GetCurrentThreadId());
      g_hooks[1] = SetWindowsHookExA(WH_GETMESSAGE, PassOn<1>, nullptr, GetCurrentThreadId());
      g_hooks[2] = SetWindowsHookExA(WH_GETMESSAGE, PassOn<2>, nullptr, GetCurrentThreadId());
    }
  }
  ~Setup() { ResetWindowTestState(); }
  HWND hwnd = nullptr;
};

void BM_SendSubclassedThreeHooks(benchmark::State& state) {
  Setup s(true);
  WPARAM i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(SendMessageA(s.hwnd, WM_USER, ++i, 0));
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_SendSubclassedThreeHooks);

void RoundTrips(benchmark::State& state, bool hooks) {
  Setup s(hooks);
  MSG m;
  WPARAM i = 0;
  for (auto _ : state) {
    PostMessageA(s.hwnd, WM_USER, ++i, 0);
    GetMessageA(&m, nullptr, 0, 0);
    DispatchMessageA(&m);
  }
  state.SetItemsProcessed(state.iterations());
}
void BM_PostGetDispatch(benchmark::State& state) { RoundTrips(state, false); }
void BM_PostGetDispatchThreeHooks(benchmark::State& state) { RoundTrips(state, true); }
BENCHMARK(BM_PostGetDispatch);
BENCHMARK(BM_PostGetDispatchThreeHooks);

void TimerTick(HWND, UINT, UINT_PTR, DWORD now) { g_sink += now; }

// Each GetMessage finds the queue empty, moves the virtual clock to the timer's due time and
// makes the WM_TIMER; DispatchMessage calls the timer procedure.
void BM_TimerDispatchVirtualTime(benchmark::State& state) {
  Setup s(false);
  ManualClock clock(0);
  SetClock(&clock);
  SetTimer(s.hwnd, 1, 100, TimerTick);
  MSG m;
  for (auto _ : state) {
    GetMessageA(&m, nullptr, 0, 0);
    DispatchMessageA(&m);
  }
  state.SetItemsProcessed(state.iterations());
  KillTimer(s.hwnd, 1);
  SetClock(nullptr);
}
BENCHMARK(BM_TimerDispatchVirtualTime);

}  // namespace

int main(int argc, char** argv) {
  if (!benchsupport::Initialize(argc, argv, {"--benchmark_repetitions=3"})) return 1;
  benchsupport::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("\nWindow layer, null backend (best of the repetitions):\n");
  const std::pair<const char*, const char*> rows[] = {
      {"BM_SendSubclassedThreeHooks", "SendMessage, subclassed, 3 hooks installed"},
      {"BM_PostGetDispatch", "PostMessage + GetMessage + DispatchMessage"},
      {"BM_PostGetDispatchThreeHooks", "the same through 3 WH_GETMESSAGE hooks"},
      {"BM_TimerDispatchVirtualTime", "WM_TIMER made and dispatched (virtual time)"},
  };
  for (auto [name, what] : rows) {
    double rate = reporter.Best(name, "items_per_second");
    if (rate > 0) std::printf("  %-48s %12.0f messages/s  (%.0f ns each)\n", what, rate, 1e9 / rate);
  }
  benchmark::Shutdown();
  return 0;
}
