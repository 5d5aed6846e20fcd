// Built instead of the GTK backend when GTK 3 is not available: the host has no display,
// so the window layer keeps its null backend.
#include "window/WindowBackend.h"

namespace zev::wnd {

WindowBackend* CreateHostWindowBackend() { return nullptr; }

}  // namespace zev::wnd
