// Loads libcups by its interface name and looks up each call the print code makes.
#include "CupsLibrary.h"

#if ZEVUTIL_HAVE_CUPS
#include <dlfcn.h>

#include <mutex>

namespace zev::gdi {

const CupsLibrary* Cups() {
  static CupsLibrary library;
  static const CupsLibrary* loaded = nullptr;
  static std::once_flag once;
  std::call_once(once, [] {
    void* handle = ::dlopen("libcups.so.2", RTLD_NOW | RTLD_LOCAL);
    if (!handle) return;
    bool all = true;
#define ZEV_CUPS_LOOKUP(name)                                                              \
  library.name = reinterpret_cast<decltype(library.name)>(::dlsym(handle, #name));        \
  all = all && library.name != nullptr;
    ZEV_CUPS_FUNCTIONS(ZEV_CUPS_LOOKUP)
#undef ZEV_CUPS_LOOKUP
    // A library without one of the calls is one we cannot use; it stays loaded, since
    // unloading CUPS is not something it promises to survive.
    if (all) loaded = &library;
  });
  return loaded;
}

}  // namespace zev::gdi
#endif
