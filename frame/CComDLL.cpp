// The component module object and the server's entry points, CComDLL, and the
// extension chain that stands in for the application framework's.
#include "zevutil/CComDLL.h"

#include <cstdio>
#include <mutex>
#include <new>

#include "frame/ModuleState.h"
#include "zevutil/platform/Host.h"

namespace zev {

ZevComModule g_ZevModule;
LONG g_nComLeakCount = 0;

// ---- module object ----

void ZevModuleInit(ZevClassTableRow* table, HINSTANCE instance, const GUID* libid) {
  g_ZevModule.cbSize = sizeof(ZevComModule);
  g_ZevModule.dwVersion = 1;
  g_ZevModule.hInst = g_ZevModule.hInstResource = g_ZevModule.hInstTypeLib = instance;
  g_ZevModule.nLockCnt = 0;
  g_ZevModule.pcsTypeInfo = new CCriticalSection;
  g_ZevModule.pcsWindowCreate = new CCriticalSection;
  g_ZevModule.pcsObjMap = new CCriticalSection;
  g_ZevModule.pObjMap = table;
  g_ZevModule.nInitialized = 1;
  for (ZevClassTableRow* row = table; row && row->pclsid; ++row)
    if (row->pfnObjectMain) row->pfnObjectMain(true);
  if (libid) g_ZevModule.libid = *libid;
}

void ZevModuleTerm() {
  for (ZevClassTableRow* row = g_ZevModule.pObjMap; row && row->pclsid; ++row) {
    if (row->pCF) row->pCF->Release();
    row->pCF = nullptr;
    if (row->pfnObjectMain) row->pfnObjectMain(false);
  }
  delete g_ZevModule.pcsTypeInfo;
  delete g_ZevModule.pcsWindowCreate;
  delete g_ZevModule.pcsObjMap;
  g_ZevModule.pcsTypeInfo = g_ZevModule.pcsWindowCreate = g_ZevModule.pcsObjMap = nullptr;
  g_ZevModule.nInitialized = 0;
}

LONG ZevModuleLock() { return ++g_ZevModule.nLockCnt; }
LONG ZevModuleUnlock() { return --g_ZevModule.nLockCnt; }

// ---- entry points ----

HRESULT DllCanUnloadNow() { return g_ZevModule.nLockCnt != 0 ? S_FALSE : S_OK; }

HRESULT DllGetClassObject(REFCLSID clsid, REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  *ppv = nullptr;
  HRESULT hr = S_OK;
  for (ZevClassTableRow* row = g_ZevModule.pObjMap; row && row->pclsid; ++row) {
    if (!row->pfnGetClassObject || !IsEqualGUID(clsid, *row->pclsid)) continue;
    if (!row->pCF && g_ZevModule.pcsObjMap) {
      CSingleLock lock(g_ZevModule.pcsObjMap, TRUE);
      if (!row->pCF)
        hr = row->pfnGetClassObject(reinterpret_cast<void*>(row->pfnCreateInstance), IID_IUnknown,
                                    reinterpret_cast<void**>(&row->pCF));
    }
    if (row->pCF) hr = row->pCF->QueryInterface(riid, ppv);
    break;
  }
  if (*ppv == nullptr && hr == S_OK) hr = CLASS_E_CLASSNOTAVAILABLE;
  return hr;
}

namespace {
CString ModuleFileName() {
  char path[_MAX_PATH] = {};
  GetModuleFileNameA(g_ZevModule.hInstTypeLib, path, _MAX_PATH);
  return CString(path);
}
}  // namespace

HRESULT DllRegisterServer() {
  for (ZevClassTableRow* row = g_ZevModule.pObjMap; row && row->pclsid; ++row) {
    if (row->pfnIsHidden && row->pfnIsHidden()) continue;
    if (row->pfnUpdateRegistry) {
      HRESULT hr = row->pfnUpdateRegistry(TRUE);
      if (FAILED(hr)) return hr;
    }
    // Component categories have no counterpart here: the map is fetched and nothing more.
    if (row->pfnGetCategoryMap) row->pfnGetCategoryMap();
  }
  return RegisterTypeLibOfModule(ModuleFileName());
}

HRESULT DllUnregisterServer() {
  for (ZevClassTableRow* row = g_ZevModule.pObjMap; row && row->pclsid; ++row) {
    if (row->pfnIsHidden && row->pfnIsHidden()) continue;
    if (row->pfnUpdateRegistry) row->pfnUpdateRegistry(FALSE);
  }
  UnregisterTypeLibOfModule(ModuleFileName());
  return S_OK;
}

// ---- CComDLL ----

CComDLL::CComDLL(const char* name) : m_strModuleName(name ? name : "NO NAME") {}

LONG& CComDLL::ComLeakCount() { return g_nComLeakCount; }

BOOL CComDLL::InitInstance() {
  g_nComLeakCount = 0;
  return TRUE;
}

int CComDLL::ExitInstance() {
  if (g_nComLeakCount != 0) {
    if (std::FILE* f = std::fopen("comcnt", "a+")) {
      std::fprintf(f, "%-15s number of com object leaks:%4d\n", m_strModuleName.GetString(), int(g_nComLeakCount));
      std::fclose(f);
    }
  }
  TraceOut("%s terminating\n", m_strModuleName.GetString());
  return 0;
}

// ---- extension chain ----

namespace {
std::mutex g_chainLock;
CDynLinkLibrary* g_pDynLinkChain = nullptr;
int g_nDynLinkCount = 0;
}  // namespace

BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE& state, HMODULE module) {
  state.hModule = state.hResource = module;
  state.bInitialized = TRUE;
  return TRUE;
}

CDynLinkLibrary::CDynLinkLibrary(AFX_EXTENSION_MODULE& state)
    : m_hModule(state.hModule), m_hResource(state.hResource), m_pNextDLL(nullptr) {
  std::lock_guard<std::mutex> g(g_chainLock);
  m_pNextDLL = g_pDynLinkChain;
  g_pDynLinkChain = this;
  ++g_nDynLinkCount;
}

CDynLinkLibrary* AfxGetDynLinkLibraryChain() {
  std::lock_guard<std::mutex> g(g_chainLock);
  return g_pDynLinkChain;
}

int AfxGetDynLinkLibraryCount() {
  std::lock_guard<std::mutex> g(g_chainLock);
  return g_nDynLinkCount;
}

AFX_EXTENSION_MODULE g_ZevUtilExtensionDLL;

// The chain owns the record.
void InitZevUtilDLL() { new (std::nothrow) CDynLinkLibrary(g_ZevUtilExtensionDLL); }

}  // namespace zev
