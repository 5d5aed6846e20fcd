// Shared by the window layer tests: a fixture on the null backend and a virtual clock, and a
// window class whose procedure records every message it gets.
#pragma once
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "zevutil/platform/Window.h"
#include "zevutil/platform/WindowTesting.h"

namespace zev::testing_window {

struct Seen {
  HWND hwnd;
  UINT msg;
  WPARAM wParam;
  LPARAM lParam;
};

inline std::vector<Seen>& Journal() {
  static std::vector<Seen> j;
  return j;
}

// Records the message, then answers as the default procedure does.
inline LRESULT RecorderProc(HWND h, UINT m, WPARAM w, LPARAM l) {
  Journal().push_back({h, m, w, l});
  return DefWindowProcA(h, m, w, l);
}

inline const char* kRecorder = "ZevTestRecorder";

inline void RegisterRecorder() {
  WNDCLASSA wc{};
  wc.lpfnWndProc = RecorderProc;
  wc.lpszClassName = kRecorder;
  wc.cbWndExtra = 16;
  RegisterClassA(&wc);  // once per process; later calls fail harmlessly
}

// The messages of one kind the journal holds, in order, as "name:window" pairs.
inline std::string Name(UINT m) {
  switch (m) {
    case WM_NCCREATE: return "NCCREATE";
    case WM_CREATE: return "CREATE";
    case WM_SIZE: return "SIZE";
    case WM_MOVE: return "MOVE";
    case WM_PARENTNOTIFY: return "PARENTNOTIFY";
    case WM_DESTROY: return "DESTROY";
    case WM_NCDESTROY: return "NCDESTROY";
    case WM_SHOWWINDOW: return "SHOWWINDOW";
    case WM_COMMAND: return "COMMAND";
    case WM_NOTIFY: return "NOTIFY";
    case WM_TIMER: return "TIMER";
    case WM_SETFOCUS: return "SETFOCUS";
    case WM_KILLFOCUS: return "KILLFOCUS";
    case WM_ENABLE: return "ENABLE";
    default: {
      char buf[16];
      std::snprintf(buf, sizeof buf, "0x%X", m);
      return buf;
    }
  }
}

class WindowFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    UseNullWindowBackend();
    ResetWindowTestState();
    SetClock(&clock);
    RegisterRecorder();
    Journal().clear();
  }
  void TearDown() override {
    ResetWindowTestState();
    Journal().clear();
  }

  HWND Top(const char* title = "top", DWORD style = WS_OVERLAPPEDWINDOW) {
    return CreateWindowExA(0, kRecorder, title, style, 10, 20, 300, 200, nullptr, nullptr, nullptr, nullptr);
  }
  HWND Child(HWND parent, int id, DWORD ex = 0, const char* cls = kRecorder, DWORD style = 0,
             const char* text = "") {
    return CreateWindowExA(ex, cls, text, WS_CHILD | WS_VISIBLE | style, 5, 5, 80, 20, parent,
                           reinterpret_cast<HMENU>(std::uintptr_t(id)), nullptr, nullptr);
  }
  // "NAME:label" for each journal entry whose message is in 'keep', labelling windows.
  std::vector<std::string> Trace(const std::vector<UINT>& keep, const std::vector<std::pair<HWND, std::string>>& labels) {
    std::vector<std::string> out;
    for (const Seen& s : Journal()) {
      bool wanted = false;
      for (UINT k : keep) wanted |= k == s.msg;
      if (!wanted) continue;
      std::string label = "?";
      for (auto& [h, n] : labels)
        if (h == s.hwnd) label = n;
      std::string e = Name(s.msg) + ":" + label;
      if (s.msg == WM_PARENTNOTIFY) e += "(" + std::to_string(LOWORD(DWORD(s.wParam))) + "," +
                                        std::to_string(HIWORD(DWORD(s.wParam))) + ")";
      out.push_back(e);
    }
    return out;
  }

  ManualClock clock{1000};
};

}  // namespace zev::testing_window
