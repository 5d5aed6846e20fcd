// Library-wide state of the frame, shared by the load/unload code, the report stream
// and the component entry points: the thread-local slots, the per-thread report
// block and the component module object with its (empty) class table.
#pragma once
#include "zevutil/VqeReportStream.h"
#include "zevutil/platform/Com.h"
#include "zevutil/platform/Host.h"
#include "zevutil/platform/Sync.h"

namespace zev {

// ---- report stream ----

inline constexpr DWORD kVqeBlockMagic = 0x40928534;
inline constexpr DWORD kVqeCodeCapacity = 10;
inline constexpr DWORD kVqeMsgCapacity = 8192;
inline constexpr DWORD kVqeTitleCapacity = 256;

// The report stream's per-thread block. Allocated at load for the loading thread only,
// initialised by the first stream operation, its buffers released by Cleanup.
struct VqeThreadBlock {
  DWORD nCodeCount;
  DWORD nCodeCapacity;
  VqErrorCode* pCodes;
  char* pszMsg;
  char* pszScratch;
  char* pszTitle;
  DWORD nMsgCapacity;
  DWORD nTitleCapacity;
  DWORD dwMagic;
  DWORD dwThreadId;
};

// The slot of the per-thread block; TLS_OUT_OF_INDEXES until the library is loaded.
// It keeps its value after unload: a second load finds it set and allocates nothing.
extern DWORD g_dwVqeTlsIndex;
// The block allocated at load, so that unload can free it from any thread.
extern VqeThreadBlock* g_pVqeLoadBlock;
// Releases the buffers of a block (magic cleared); the block itself stays.
void VqeReleaseBlock(VqeThreadBlock* block);

// ---- window-hook slot ----

// The window toolkit supplies the per-thread window-hook table through these
// functions, registered from one of its global objects (which are built before the
// load hook runs). Without them the slot is allocated but holds no table.
using WindowHookTableCreate = void* (*)();
using WindowHookTableDestroy = void (*)(void* table);
void SetWindowHookTableFactory(WindowHookTableCreate create, WindowHookTableDestroy destroy);

extern DWORD g_dwWindowHookTlsIndex;
// The small heap block that lives from load to unload beside the window-hook slot.
extern void* g_pWindowHookBlock;
extern WindowHookTableCreate g_pfnCreateWindowHookTable;
extern WindowHookTableDestroy g_pfnDestroyWindowHookTable;

// ---- extension chain ----

struct AFX_EXTENSION_MODULE;
// The library's record on the extension chain.
extern AFX_EXTENSION_MODULE g_ZevUtilExtensionDLL;

// ---- component module object ----

// One row of the class table; the row with a null class identifier ends the table.
struct ZevClassTableRow {
  const CLSID* pclsid;
  HRESULT (*pfnUpdateRegistry)(BOOL bRegister);
  HRESULT (*pfnGetClassObject)(void* pvCreator, REFIID riid, void** ppv);  // class-factory creator
  HRESULT (*pfnCreateInstance)(void* pvOuter, REFIID riid, void** ppv);    // instance creator
  IUnknown* pCF;                                                           // cached class factory
  DWORD dwRegister;
  const char* (*pfnGetObjectDescription)();
  const void* (*pfnGetCategoryMap)();
  void (*pfnObjectMain)(bool bStarting);
  BOOL (*pfnIsHidden)();  // a hidden class is not registered
};

struct ZevComModule {
  UINT cbSize = 0;
  DWORD dwVersion = 0;
  HINSTANCE hInst = nullptr;
  HINSTANCE hInstResource = nullptr;
  HINSTANCE hInstTypeLib = nullptr;
  LONG nLockCnt = 0;
  // Created at load and destroyed at unload, in this order: type-information,
  // window-creation, class-table. Only the class-table section is ever entered.
  CCriticalSection* pcsTypeInfo = nullptr;
  CCriticalSection* pcsWindowCreate = nullptr;
  CCriticalSection* pcsObjMap = nullptr;
  ZevClassTableRow* pObjMap = nullptr;
  GUID libid = GUID_NULL;
  int nInitialized = 0;  // the state flag: 1 while loaded
};

extern ZevComModule g_ZevModule;
// {AAFFD37B-644C-4F2C-9D65-BD16452CF24A}
inline constexpr GUID LIBID_ZevUtil = {0xAAFFD37B, 0x644C, 0x4F2C, {0x9D, 0x65, 0xBD, 0x16, 0x45, 0x2C, 0xF2, 0x4A}};

void ZevModuleInit(ZevClassTableRow* table, HINSTANCE instance, const GUID* libid);
void ZevModuleTerm();

// The library-wide count of leaked component objects, written by CComDLL.
extern LONG g_nComLeakCount;

// The type library's file beside a module: the last extension (from the last '.')
// replaced by ".tlb", or ".tlb" appended when the name has none.
CString TypeLibPathBeside(const char* modulePath);
// The help directory of a module path: everything before its file name (which starts
// behind the last '\', '/' or ':').
CString HelpDirOf(const char* path);
// Loads the module's type library by the two tries (the module itself, then the .tlb
// file beside it) and registers it (or unregisters it). Returns the load or
// registration result.
HRESULT RegisterTypeLibOfModule(const char* modulePath);
HRESULT UnregisterTypeLibOfModule(const char* modulePath);

}  // namespace zev
