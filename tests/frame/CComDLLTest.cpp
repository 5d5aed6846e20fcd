// Load state, the component entry points, the type-library stand-ins, CComDLL and
// its "comcnt" file.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "FrameTestUtil.h"
#include "frame/ModuleState.h"
#include "frame/TypeLibImage.h"
#include "zevutil/CComDLL.h"
#include "zevutil/VqeReportStream.h"

using namespace zev;

namespace {
constexpr GUID kTestLib = {0x12345678, 0x9ABC, 0xDEF0, {1, 2, 3, 4, 5, 6, 7, 8}};

void Put32(std::vector<BYTE>& img, size_t at, DWORD v) {
  for (int i = 0; i < 4; ++i) img[at + size_t(i)] = BYTE(v >> (8 * i));
}

// A binary type library holding only what the loader reads: header, segment
// directory and a GUID table with the library's identifier.
std::vector<BYTE> TypeLibImage(const GUID& libid, DWORD lcid, DWORD syskind, WORD major, WORD minor,
                               bool helpDll = false, DWORD typeInfos = 0) {
  const size_t header = 0x54 + (helpDll ? 4 : 0) + 4 * typeInfos;
  const size_t guidTable = header + 15 * 16;
  std::vector<BYTE> img(guidTable + 24, 0);
  Put32(img, 0x00, 0x5446534D);
  Put32(img, 0x04, 0x00010002);
  Put32(img, 0x08, 0);  // the identifier is the first GUID entry
  Put32(img, 0x0C, lcid);
  Put32(img, 0x10, lcid);
  Put32(img, 0x14, 0x40 | syskind | (helpDll ? 0x100 : 0));
  Put32(img, 0x18, DWORD(major) | (DWORD(minor) << 16));
  Put32(img, 0x20, typeInfos);
  Put32(img, header + 5 * 16, DWORD(guidTable));
  Put32(img, header + 5 * 16 + 4, 24);
  std::memcpy(&img[guidTable], &libid, sizeof libid);
  return img;
}

void WriteBytes(const std::string& path, const std::vector<BYTE>& bytes) {
  std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}

class CountingModule : public CComDLL {
 public:
  using CComDLL::CComDLL;
  static void SetLeaks(LONG n) { ComLeakCount() = n; }
};
}  // namespace

TEST(LibraryFrame, LoadedState) {
  EXPECT_EQ(g_ZevModule.nInitialized, 1);
  EXPECT_EQ(GuidToString(g_ZevModule.libid), "{AAFFD37B-644C-4F2C-9D65-BD16452CF24A}");
  ASSERT_NE(g_ZevModule.pObjMap, nullptr);
  EXPECT_EQ(g_ZevModule.pObjMap[0].pclsid, nullptr);  // the class table is empty
  // The report stream's slot comes first, and the loading thread has a block in it;
  // the window-hook slot holds the loading thread's hook table (made by the toolkit's
  // factory) beside its small block.
  ASSERT_NE(g_dwVqeTlsIndex, TLS_OUT_OF_INDEXES);
  EXPECT_LT(g_dwVqeTlsIndex, g_dwWindowHookTlsIndex);
  EXPECT_NE(TlsGetValue(g_dwVqeTlsIndex), nullptr);
  EXPECT_NE(g_pfnCreateWindowHookTable, nullptr);
  EXPECT_NE(TlsGetValue(g_dwWindowHookTlsIndex), nullptr);
  EXPECT_NE(g_pWindowHookBlock, nullptr);
  // Other reasons do nothing.
  EXPECT_EQ(DllMain(g_ZevModule.hInst, DLL_THREAD_ATTACH, nullptr), TRUE);
  EXPECT_EQ(g_ZevModule.nInitialized, 1);
}

TEST(LibraryFrame, UnloadThenSecondLoadFindsTheSlotsSet) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        const DWORD slot = g_dwVqeTlsIndex;
        DllMain(g_ZevModule.hInst, DLL_PROCESS_DETACH, nullptr);
        bool unloaded = g_ZevModule.nInitialized == 0 && VqErr.GetMsg() == nullptr && g_pWindowHookBlock == nullptr;
        DllMain(g_ZevModule.hInst, DLL_PROCESS_ATTACH, nullptr);
        // The slot variable was not reset, so no new slot or block is made.
        bool reloaded = g_ZevModule.nInitialized == 1 && g_dwVqeTlsIndex == slot && VqErr.GetMsg() == nullptr;
        std::exit(unloaded && reloaded ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST(LibraryFrame, ClassObjectsAndUnloading) {
  const GUID classes[] = {GUID_NULL, kTestLib, LIBID_ZevUtil};
  for (const GUID& clsid : classes) {
    SCOPED_TRACE(GuidToString(clsid).GetString());
    void* p = &p;
    EXPECT_EQ(DllGetClassObject(clsid, IID_IClassFactory, &p), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(p, nullptr);
    EXPECT_EQ(DllGetClassObject(clsid, IID_IUnknown, nullptr), E_POINTER);
  }
  EXPECT_EQ(DllCanUnloadNow(), S_OK);
  ZevModuleLock();
  EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
  ZevModuleUnlock();
  EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

TEST(LibraryFrame, ExtensionChainGrowsByOnePerCall) {
  const int before = AfxGetDynLinkLibraryCount();
  EXPECT_GE(before, 1);  // the library's own record from load
  InitZevUtilDLL();
  InitZevUtilDLL();
  EXPECT_EQ(AfxGetDynLinkLibraryCount(), before + 2);
  ASSERT_NE(AfxGetDynLinkLibraryChain(), nullptr);
  EXPECT_EQ(AfxGetDynLinkLibraryChain()->m_hModule, g_ZevModule.hInst);
}

TEST(LibraryFrame, RegisterServerWithoutTypeLibraryFails) {
  // Neither the library's file nor a .tlb beside it holds a type library.
  EXPECT_EQ(DllRegisterServer(), TYPE_E_CANTLOADLIBRARY);
  EXPECT_EQ(DllUnregisterServer(), S_OK);
}

TEST(TypeLibrary, PathsBesideTheModule) {
  struct Case { const char* module; const char* tlb; const char* helpDir; };
  const Case cases[] = {
      {"/opt/zev/libzevutil.so.0", "/opt/zev/libzevutil.so.tlb", "/opt/zev/"},
      {"/opt/zev.d/module", "/opt/zev.d/module.tlb", "/opt/zev.d/"},
      {"C:\\Zev\\ZevUtil.dll", "C:\\Zev\\ZevUtil.tlb", "C:\\Zev\\"},
      {"C:ZevUtil.dll", "C:ZevUtil.tlb", "C:"},
      {"plain", "plain.tlb", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.module);
    EXPECT_EQ(std::string(TypeLibPathBeside(c.module)), c.tlb);
    EXPECT_EQ(std::string(HelpDirOf(c.module)), c.helpDir);
  }
}

TEST(TypeLibrary, LoadsAttributesOrFails) {
  TLIBATTR attr{};
  std::vector<BYTE> good = TypeLibImage(kTestLib, 0x409, SYS_WIN32, 2, 7);
  ASSERT_TRUE(ParseTypeLibImage(good.data(), good.size(), attr));
  EXPECT_EQ(attr.guid, kTestLib);
  EXPECT_EQ(attr.lcid, 0x409u);
  EXPECT_EQ(attr.syskind, SYS_WIN32);
  EXPECT_EQ(attr.wMajorVerNum, 2);
  EXPECT_EQ(attr.wMinorVerNum, 7);
  std::vector<BYTE> withExtras = TypeLibImage(kTestLib, 0, SYS_WIN64, 1, 0, true, 3);
  ASSERT_TRUE(ParseTypeLibImage(withExtras.data(), withExtras.size(), attr));
  EXPECT_EQ(attr.guid, kTestLib);
  EXPECT_EQ(attr.syskind, SYS_WIN64);

  struct Case { const char* name; std::vector<BYTE> bytes; };
  std::vector<BYTE> badMagic = good, cut = good, farGuid = good, manyInfos = good;
  badMagic[0] = 'N';
  cut.resize(good.size() - 9);  // ends inside the identifier
  Put32(farGuid, 0x08, 0x7FFFFFF0);
  Put32(manyInfos, 0x20, 0x40000000);
  const Case bad[] = {{"empty", {}}, {"magic", badMagic}, {"cut", cut}, {"guid offset", farGuid},
                      {"type infos", manyInfos}, {"header only", std::vector<BYTE>(good.begin(), good.begin() + 0x54)}};
  zevtest::ScratchDir dir;
  for (const Case& c : bad) {
    SCOPED_TRACE(c.name);
    EXPECT_FALSE(ParseTypeLibImage(c.bytes.data(), c.bytes.size(), attr));
    WriteBytes(dir / "bad.tlb", c.bytes);
    ITypeLib* lib = reinterpret_cast<ITypeLib*>(&attr);
    EXPECT_EQ(LoadTypeLib((dir / "bad.tlb").c_str(), &lib), TYPE_E_CANTLOADLIBRARY);
    EXPECT_EQ(lib, nullptr);
  }
  ITypeLib* lib = nullptr;
  EXPECT_EQ(LoadTypeLib((dir / "missing.tlb").c_str(), &lib), TYPE_E_CANTLOADLIBRARY);
}

TEST(TypeLibrary, RegistersFromTheFileBesideTheModule) {
  zevtest::ScratchDir dir;
  const std::string module = dir / "libcomp.so.3";
  WriteBytes(module, {0x7F, 'E', 'L', 'F'});
  WriteBytes(dir / "libcomp.so.tlb", TypeLibImage(kTestLib, 0, SYS_WIN32, 1, 2));
  ASSERT_EQ(RegisterTypeLibOfModule(module.c_str()), S_OK);
  auto registered = GetRegisteredTypeLibs();
  auto it = std::find_if(registered.begin(), registered.end(), [](const RegisteredTypeLib& r) { return r.attr.guid == kTestLib; });
  ASSERT_NE(it, registered.end());
  EXPECT_EQ(std::string(it->strPath), dir / "libcomp.so.tlb");
  EXPECT_EQ(std::string(it->strHelpDir), dir.path().string() + "/");
  EXPECT_EQ(it->attr.wMinorVerNum, 2);
  EXPECT_EQ(UnregisterTypeLibOfModule(module.c_str()), S_OK);
  EXPECT_EQ(UnregisterTypeLibOfModule(module.c_str()), TYPE_E_REGISTRYACCESS);
  EXPECT_EQ(UnRegisterTypeLib(kTestLib, 1, 2, 0, SYS_WIN32), TYPE_E_REGISTRYACCESS);
}

TEST(CComDLL, NamesAndTheLeakFile) {
  EXPECT_EQ(std::string(CComDLL().GetModuleName()), "NO NAME");
  CComDLL assigned;
  assigned = CComDLL("Analysis");
  EXPECT_EQ(std::string(assigned.GetModuleName()), "Analysis");

  zevtest::ScratchDir dir;
  const auto oldCwd = std::filesystem::current_path();
  std::filesystem::current_path(dir.path());
  CountingModule module("Collector");
  EXPECT_EQ(module.InitInstance(), TRUE);
  EXPECT_EQ(module.ExitInstance(), 0);
  const bool fileWithoutLeaks = std::filesystem::exists("comcnt");
  CountingModule::SetLeaks(3);
  module.ExitInstance();
  CountingModule::SetLeaks(12345);
  CountingModule(nullptr).ExitInstance();
  module.InitInstance();  // back to 0
  module.ExitInstance();
  const std::string text = zevtest::ReadFile("comcnt");
  std::filesystem::current_path(oldCwd);
  EXPECT_FALSE(fileWithoutLeaks);
  EXPECT_EQ(text,
            "Collector       number of com object leaks:   3\n"
            "NO NAME         number of com object leaks:12345\n");
}
