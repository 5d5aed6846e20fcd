// The layer's own message loop for the real-window tests.
#pragma once

#include <functional>

#include "zevutil/platform/Window.h"
#include "zevutil/platform/WindowTesting.h"

namespace zevtest {

// Runs the layer's loop (GetMessage, IsDialogMessage for 'dlg', dispatch) until 'done'
// or the time is up; a thread timer keeps the loop turning while nothing else arrives.
inline bool RunUntil(const std::function<bool()>& done, int ms = 3000, zev::HWND dlg = nullptr) {
  using namespace zev;
  UINT_PTR tick = SetTimer(nullptr, 0, 10, nullptr);
  ULONGLONG end = GetClock().Now() + ULONGLONG(ms);
  MSG m;
  while (!done() && GetClock().Now() < end) {
    if (GetMessageA(&m, nullptr, 0, 0) <= 0) break;
    if (dlg && IsWindow(dlg) && IsDialogMessageA(dlg, &m)) continue;
    TranslateMessage(&m);
    DispatchMessageA(&m);
  }
  KillTimer(nullptr, tick);
  return done();
}

}  // namespace zevtest
