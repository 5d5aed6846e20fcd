// The window form of MessageBoxA. The platform cannot call the window toolkit, so the toolkit
// hands it a function to call; MessageBoxA uses it only when no handler was installed with
// SetMessageBoxHandler and a display backend shows the calling thread's windows.
#pragma once
#include "zevutil/platform/Types.h"

namespace zev {

// Shows the box as a window and answers the button pressed, or 0 when it could not (the
// terminal box then asks instead).
using WindowMessageBoxFn = int (*)(HWND owner, const char* text, const char* caption, UINT style);

// Installs the window form (null removes it); returns the previous one. Thread-safe.
WindowMessageBoxFn SetWindowMessageBox(WindowMessageBoxFn fn);

// Whether MessageBoxA on the calling thread would show the window form now.
bool WindowMessageBoxAvailable();

// Whether a display backend shows the calling thread's windows (the GTK backend serves the
// main thread, which opened the display); false on the null backend.
bool WindowsOnScreen();

}  // namespace zev
