// Load and unload of the library.
#include "zevutil/platform/Host.h"

namespace zev {
BOOL DllMain(HINSTANCE, DWORD, void*) { return TRUE; }
}  // namespace zev
