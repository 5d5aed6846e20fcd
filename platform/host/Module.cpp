// Module identity through the dynamic loader (dladdr).
#include <dlfcn.h>

#include <cstring>

#include "zevutil/platform/Host.h"

namespace zev {

namespace {
int g_anchor;  // an address inside this library
}

HMODULE GetModuleOfAddress(const void* address) {
  Dl_info info{};
  if (!dladdr(address ? address : &g_anchor, &info)) return nullptr;
  return info.dli_fbase;
}

DWORD GetModuleFileNameA(HMODULE module, char* buffer, DWORD size) {
  if (!buffer || size == 0) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return 0;
  }
  Dl_info info{};
  const void* probe = module ? module : static_cast<const void*>(&g_anchor);
  if (!dladdr(probe, &info) || !info.dli_fname) {
    SetLastError(ERROR_INVALID_HANDLE);
    buffer[0] = '\0';
    return 0;
  }
  std::strncpy(buffer, info.dli_fname, size - 1);
  buffer[size - 1] = '\0';
  return DWORD(std::strlen(buffer));
}

BOOL DisableThreadLibraryCalls(HMODULE) { return TRUE; }

}  // namespace zev
