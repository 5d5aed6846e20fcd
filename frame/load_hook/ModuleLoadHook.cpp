// The library's load and unload hooks. This file is linked last, so that its
// constructor runs after every other global object of the library is built, as the
// module loader did; its destructor runs first at unload.
#include "zevutil/platform/Host.h"

namespace zev {
BOOL DllMain(HINSTANCE instance, DWORD reason, void* reserved);
}

namespace {
struct ModuleLoadHook {
  ModuleLoadHook() { zev::DllMain(zev::GetModuleOfAddress(this), zev::DLL_PROCESS_ATTACH, nullptr); }
  ~ModuleLoadHook() { zev::DllMain(zev::GetModuleOfAddress(this), zev::DLL_PROCESS_DETACH, nullptr); }
};
ModuleLoadHook g_moduleLoadHook;
}  // namespace

// Referenced by the static library's link options so that a static link keeps the hook.
extern "C" {
int zev_module_load_hook = 1;
}
