// Load and unload of the library: the component module object, the report stream's
// slot, the window-hook slot and the extension chain, in the order callers rely on.
#include <cstdlib>
#include <new>

#include "frame/ModuleState.h"
#include "zevutil/CComDLL.h"
#include "zevutil/platform/Host.h"

namespace zev {

DWORD g_dwWindowHookTlsIndex = TLS_OUT_OF_INDEXES;
void* g_pWindowHookBlock = nullptr;
WindowHookTableCreate g_pfnCreateWindowHookTable = nullptr;
WindowHookTableDestroy g_pfnDestroyWindowHookTable = nullptr;

namespace {
// The window-hook table made at load, so that unload can destroy it from any thread.
void* g_pWindowHookLoadTable = nullptr;
constexpr size_t kWindowHookBlockSize = 16;

// The class table: empty, its first row is the end row.
ZevClassTableRow g_ZevObjectMap[] = {{}};

// A failed step never fails a load; its error is read and deliberately not acted on.
constexpr bool kTraceLoadErrors = false;

void AttachProcess(HINSTANCE instance) {
  ZevModuleInit(g_ZevObjectMap, instance, &LIBID_ZevUtil);
  DisableThreadLibraryCalls(instance);

  // The report stream's block, for the loading thread only. A slot that is already
  // set (a second load) is left as it is. The block is zeroed, so stale heap bytes can
  // never pass for an initialised block; the first stream operation initialises it.
  if (g_dwVqeTlsIndex == TLS_OUT_OF_INDEXES) {
    g_dwVqeTlsIndex = TlsAlloc();
    if (g_dwVqeTlsIndex != TLS_OUT_OF_INDEXES) {
      g_pVqeLoadBlock = static_cast<VqeThreadBlock*>(std::calloc(1, sizeof(VqeThreadBlock)));
      TlsSetValue(g_dwVqeTlsIndex, g_pVqeLoadBlock);
    }
  }

  if (g_dwWindowHookTlsIndex == TLS_OUT_OF_INDEXES) {
    g_dwWindowHookTlsIndex = TlsAlloc();
    if (g_dwWindowHookTlsIndex != TLS_OUT_OF_INDEXES) {
      g_pWindowHookBlock = std::malloc(kWindowHookBlockSize);
      g_pWindowHookLoadTable = g_pfnCreateWindowHookTable ? g_pfnCreateWindowHookTable() : nullptr;
      TlsSetValue(g_dwWindowHookTlsIndex, g_pWindowHookLoadTable);
    }
  }

  AfxInitExtensionModule(g_ZevUtilExtensionDLL, instance);
  new (std::nothrow) CDynLinkLibrary(g_ZevUtilExtensionDLL);  // the chain owns it
}

void DetachProcess() {
  if (g_dwVqeTlsIndex != TLS_OUT_OF_INDEXES) {
    // The buffers go with the block, so nothing of the stream outlives the library.
    VqeReleaseBlock(g_pVqeLoadBlock);
    std::free(g_pVqeLoadBlock);
    g_pVqeLoadBlock = nullptr;
    TlsFree(g_dwVqeTlsIndex);
  }
  if (g_dwWindowHookTlsIndex != TLS_OUT_OF_INDEXES) {
    if (g_pWindowHookLoadTable && g_pfnDestroyWindowHookTable) g_pfnDestroyWindowHookTable(g_pWindowHookLoadTable);
    g_pWindowHookLoadTable = nullptr;
    std::free(g_pWindowHookBlock);
    g_pWindowHookBlock = nullptr;
    TlsFree(g_dwWindowHookTlsIndex);
  }
  // kept: the slot variables keep their values, so a second load allocates no slots.
  ZevModuleTerm();
}
}  // namespace

void SetWindowHookTableFactory(WindowHookTableCreate create, WindowHookTableDestroy destroy) {
  g_pfnCreateWindowHookTable = create;
  g_pfnDestroyWindowHookTable = destroy;
}

BOOL DllMain(HINSTANCE instance, DWORD reason, void*) {
  if (reason == DLL_PROCESS_ATTACH)
    AttachProcess(instance);
  else if (reason == DLL_PROCESS_DETACH)
    DetachProcess();
  DWORD err = GetLastError();
  if (kTraceLoadErrors && err != 0) TraceOut("Error in ZevUtil.DllMain() -> GetLastError() returned 0x%x\n", err);
  return TRUE;
}

}  // namespace zev
