// CComDLL and the library's entry points: load and unload (DllMain), the extension
// chain (InitZevUtilDLL) and the four entry points of the in-process component server,
// whose class table is empty.
//
// Load and unload. The library's load hook calls DllMain(PROCESS_ATTACH) after all of
// its global objects are built, and DllMain(PROCESS_DETACH) before they are destroyed.
// Load sets up, in this order: the component module object; the report stream's slot
// with the loading thread's block (only that thread ever has one, see
// VqeReportStream.h); the window-hook slot with its small block; the extension chain.
// Unload frees the report stream's slot, then the window-hook slot, and terminates
// the module object last.
//
// Stand-ins for what this host does not have:
// - The extension chain is a process-wide, counted chain of CDynLinkLibrary records
//   on the library's AFX_EXTENSION_MODULE record. It only grows; records live until
//   the process ends.
// - Type libraries: LoadTypeLib accepts a file in the binary type-library form (it
//   starts with "MSFT") and reads its attributes (identifier, locale, system kind,
//   version); any other file, or none, fails with TYPE_E_CANTLOADLIBRARY.
//   RegisterTypeLib and UnRegisterTypeLib keep a list in the process, which
//   GetRegisteredTypeLibs shows; nothing is written anywhere.
#pragma once
#include <vector>

#include "zevutil/platform/CString.h"
#include "zevutil/platform/Com.h"
#include "zevutil/platform/Types.h"

namespace zev {

// ---- entry points ----

// Load (DLL_PROCESS_ATTACH) and unload (DLL_PROCESS_DETACH) of the library; other
// reasons do nothing. Always returns TRUE, also when a step failed.
BOOL DllMain(HINSTANCE instance, DWORD reason, void* reserved);
// Adds one more CDynLinkLibrary record of this library to the extension chain, for a
// further application module that uses the library's resources. Call once per module;
// records are never removed.
void InitZevUtilDLL();
// S_FALSE (1) while the module is locked, S_OK (0) otherwise.
HRESULT DllCanUnloadNow();
// The class factory of a class of the table: E_POINTER for a null out pointer,
// CLASS_E_CLASSNOTAVAILABLE for a class that is not there (every class, as the table is empty).
HRESULT DllGetClassObject(REFCLSID clsid, REFIID riid, void** ppv);
// Registers the class table, then the type library found in the module's own file or
// in the ".tlb" file beside it. Returns the first failure, e.g. TYPE_E_CANTLOADLIBRARY
// when neither holds a type library.
HRESULT DllRegisterServer();
// Unregisters the class table (failures ignored) and the type library. Returns S_OK.
HRESULT DllUnregisterServer();

// Component objects and servers lock the module while they live.
LONG ZevModuleLock();
LONG ZevModuleUnlock();

// ---- CComDLL ----

// The base of an application's own module object.
class CComDLL {
 public:
  // A null name stands as "NO NAME".
  explicit CComDLL(const char* name = nullptr);
  CComDLL(const CComDLL& other) = default;
  CComDLL& operator=(const CComDLL& other) = default;
  virtual ~CComDLL() = default;

  // Sets the library's leaked-object count to 0; returns 1.
  virtual BOOL InitInstance();
  // If objects leaked, appends "<name> number of com object leaks:<count>" as one line
  // to the file "comcnt" in the current directory. Returns 0.
  virtual int ExitInstance();

  const CString& GetModuleName() const { return m_strModuleName; }

 protected:
  // The library-wide count of leaked component objects, kept by the module's objects.
  static LONG& ComLeakCount();

  CString m_strModuleName;
};

// ---- the extension chain ----

struct AFX_EXTENSION_MODULE {
  BOOL bInitialized = FALSE;
  HMODULE hModule = nullptr;
  HMODULE hResource = nullptr;
};
// Records the module in its extension record. Returns TRUE.
BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE& state, HMODULE module);

class CDynLinkLibrary {
 public:
  // Links a new record for the module at the head of the process-wide chain.
  explicit CDynLinkLibrary(AFX_EXTENSION_MODULE& state);
  CDynLinkLibrary(const CDynLinkLibrary&) = delete;
  CDynLinkLibrary& operator=(const CDynLinkLibrary&) = delete;
  virtual ~CDynLinkLibrary() = default;

  HMODULE m_hModule;
  HMODULE m_hResource;
  CDynLinkLibrary* m_pNextDLL;
};
// The head of the chain and the number of records on it.
CDynLinkLibrary* AfxGetDynLinkLibraryChain();
int AfxGetDynLinkLibraryCount();

// ---- type libraries ----

inline constexpr HRESULT TYPE_E_REGISTRYACCESS = HRESULT(0x8002801Cu);

enum SYSKIND { SYS_WIN16 = 0, SYS_WIN32 = 1, SYS_MAC = 2, SYS_WIN64 = 3 };

struct TLIBATTR {
  GUID guid;
  LCID lcid;
  SYSKIND syskind;
  WORD wMajorVerNum;
  WORD wMinorVerNum;
  WORD wLibFlags;
};

struct ITypeLib : IUnknown {
  virtual HRESULT GetLibAttr(TLIBATTR** attr) = 0;
  virtual void ReleaseTLibAttr(TLIBATTR* attr) = 0;

 protected:
  ~ITypeLib() = default;
};

// Loads the type library held in the file. TYPE_E_CANTLOADLIBRARY when there is none.
HRESULT LoadTypeLib(const char* file, ITypeLib** lib);
HRESULT RegisterTypeLib(ITypeLib* lib, const char* fullPath, const char* helpDir);
// TYPE_E_REGISTRYACCESS when no such library is registered.
HRESULT UnRegisterTypeLib(REFGUID libid, WORD major, WORD minor, LCID lcid, SYSKIND syskind);

struct RegisteredTypeLib {
  TLIBATTR attr;
  CString strPath;
  CString strHelpDir;
};
std::vector<RegisteredTypeLib> GetRegisteredTypeLibs();

}  // namespace zev
