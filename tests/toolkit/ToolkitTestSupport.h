// Shared by the toolkit tests: a fixture on the null window backend, and a window class
// whose procedure records what reaches it.
#pragma once
#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

#include "zevutil/platform/Window.h"
#include "zevutil/platform/WindowTesting.h"

namespace zev::test {

// One message that reached a recording window's own procedure.
struct Seen {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
};

// The class "ZevRecorder": its procedure appends every message to Log() and passes it to
// DefWindowProcA, except WM_USER and above, which it answers with 1000 + the message offset.
inline std::vector<Seen>& Log() {
  static std::vector<Seen> log;
  return log;
}
inline LRESULT RecorderProc(HWND hwnd, UINT msg, WPARAM w, LPARAM l) {
  {
    // Windows of worker threads record too.
    static std::mutex mutex;
    std::lock_guard<std::mutex> lock(mutex);
    Log().push_back({hwnd, msg, w, l});
  }
  if (msg >= WM_USER && msg < 0xC000) return 1000 + LRESULT(msg - WM_USER);
  return DefWindowProcA(hwnd, msg, w, l);
}
inline const char* RecorderClass() {
  static const bool registered = [] {
    WNDCLASSA wc{};
    wc.lpfnWndProc = &RecorderProc;
    wc.lpszClassName = "ZevRecorder";
    RegisterClassA(&wc);
    return true;
  }();
  (void)registered;
  return "ZevRecorder";
}
// How many times 'msg' reached 'hwnd''s own procedure (with the wParam, when one is given).
inline int CountSeen(HWND hwnd, UINT msg, long long wParam = -1) {
  int n = 0;
  for (const Seen& s : Log())
    if (s.hwnd == hwnd && s.message == msg && (wParam < 0 || s.wParam == WPARAM(wParam))) ++n;
  return n;
}

class WindowFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    UseNullWindowBackend();
    Log().clear();
  }
  void TearDown() override {
    ResetWindowTestState();
    Log().clear();
  }
  // A top-level recording window at (100, 50) whose client area is 400 x 300.
  HWND MakeTop() {
    return CreateWindowExA(0, RecorderClass(), "top", WS_POPUP, 100, 50, 400, 300, nullptr, nullptr, nullptr,
                           nullptr);
  }
  HWND MakeChild(HWND parent, const char* cls, UINT id, DWORD style = 0, DWORD exStyle = 0, RECT r = {0, 0, 20, 10}) {
    return CreateWindowExA(exStyle, cls, "", WS_CHILD | WS_VISIBLE | style, r.left, r.top, r.right - r.left,
                           r.bottom - r.top, parent, reinterpret_cast<HMENU>(UINT_PTR(id)), nullptr, nullptr);
  }
};

}  // namespace zev::test
