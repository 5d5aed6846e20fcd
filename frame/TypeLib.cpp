// Type libraries: loading the attributes of a binary type library and an in-process
// record of registrations, which stand in for the component runtime's registry.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <fstream>
#include <mutex>
#include <vector>

#include "formats/ByteCursor.h"
#include "frame/ModuleState.h"
#include "frame/TypeLibImage.h"
#include "zevutil/CComDLL.h"

namespace zev {

// ---- reading the binary form ----

namespace {
constexpr std::uint32_t kMsftMagic = 0x5446534D;  // "MSFT"
constexpr size_t kHeaderSize = 0x54;
constexpr std::uint32_t kHelpDllFlag = 0x100;
constexpr size_t kSegmentCount = 15;
constexpr size_t kGuidSegment = 5;
// Type libraries are small; a larger file is not read.
constexpr size_t kMaxImageSize = 64u << 20;
}  // namespace

bool ParseTypeLibImage(const BYTE* data, size_t size, TLIBATTR& attr) {
  ByteCursor c(data, size);
  if (!c.CanRead(kHeaderSize) || c.U32() != kMsftMagic) return false;
  c.Seek(8);
  std::int32_t posGuid = c.I32();
  std::uint32_t lcid = c.U32();
  c.U32();  // second locale
  std::uint32_t varFlags = c.U32();
  std::uint32_t version = c.U32();
  std::uint32_t flags = c.U32();
  std::uint32_t typeInfoCount = c.U32();
  c.Seek(kHeaderSize);
  if ((varFlags & kHelpDllFlag) && !c.Skip(4)) return false;
  if (!c.CanReadArray(typeInfoCount, 4) || !c.Skip(size_t(typeInfoCount) * 4)) return false;
  if (!c.CanReadArray(kSegmentCount, 16)) return false;
  c.Skip(kGuidSegment * 16);
  std::int32_t guidOffset = c.I32();
  std::int32_t guidLength = c.I32();
  if (guidOffset < 0 || guidLength < 0 || posGuid < 0 || std::int64_t(posGuid) + 16 > guidLength) return false;
  if (!c.RangeInside(std::uint64_t(guidOffset) + std::uint64_t(posGuid), 16)) return false;
  c.Seek(size_t(guidOffset) + size_t(posGuid));
  attr.guid.Data1 = c.U32();
  attr.guid.Data2 = c.U16();
  attr.guid.Data3 = c.U16();
  c.Read(attr.guid.Data4, 8);
  attr.lcid = lcid;
  attr.syskind = SYSKIND(varFlags & 0xF);
  attr.wMajorVerNum = WORD(version & 0xFFFF);
  attr.wMinorVerNum = WORD(version >> 16);
  attr.wLibFlags = WORD(flags & 0xFFFF);
  return !c.Overrun();
}

namespace {

class CTypeLibStandIn final : public ITypeLib {
 public:
  explicit CTypeLibStandIn(const TLIBATTR& attr) : m_attr(attr) {}
  HRESULT QueryInterface(REFIID riid, void** ppv) override {
    if (!ppv) return E_POINTER;
    if (riid == IID_IUnknown) {
      *ppv = static_cast<IUnknown*>(this);
      AddRef();
      return S_OK;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
  }
  ULONG AddRef() override { return ++m_nRef; }
  ULONG Release() override {
    ULONG n = --m_nRef;
    if (n == 0) delete this;
    return n;
  }
  HRESULT GetLibAttr(TLIBATTR** attr) override {
    if (!attr) return E_INVALIDARG;
    *attr = new (std::nothrow) TLIBATTR(m_attr);
    return *attr ? S_OK : E_OUTOFMEMORY;
  }
  void ReleaseTLibAttr(TLIBATTR* attr) override { delete attr; }

 private:
  ~CTypeLibStandIn() = default;
  TLIBATTR m_attr;
  std::atomic<ULONG> m_nRef{1};
};

std::mutex g_registryLock;
std::vector<RegisteredTypeLib>& Registrations() {
  static auto* list = new std::vector<RegisteredTypeLib>;
  return *list;
}

bool SameLibrary(const TLIBATTR& a, REFGUID libid, WORD major, WORD minor, LCID lcid, SYSKIND syskind) {
  return a.guid == libid && a.wMajorVerNum == major && a.wMinorVerNum == minor && a.lcid == lcid &&
         a.syskind == syskind;
}

}  // namespace

HRESULT LoadTypeLib(const char* file, ITypeLib** lib) {
  if (!lib) return E_POINTER;
  *lib = nullptr;
  if (!file || !*file) return TYPE_E_CANTLOADLIBRARY;
  std::ifstream in(file, std::ios::binary);
  char magic[4] = {};
  if (!in.read(magic, 4) || std::memcmp(magic, "MSFT", 4) != 0) return TYPE_E_CANTLOADLIBRARY;
  in.seekg(0, std::ios::end);
  std::streamoff size = in.tellg();
  if (size <= 0 || std::uint64_t(size) > kMaxImageSize) return TYPE_E_CANTLOADLIBRARY;
  std::vector<BYTE> image(static_cast<size_t>(size));
  in.seekg(0);
  if (!in.read(reinterpret_cast<char*>(image.data()), size)) return TYPE_E_CANTLOADLIBRARY;
  TLIBATTR attr{};
  if (!ParseTypeLibImage(image.data(), image.size(), attr)) return TYPE_E_CANTLOADLIBRARY;
  *lib = new (std::nothrow) CTypeLibStandIn(attr);
  return *lib ? S_OK : E_OUTOFMEMORY;
}

HRESULT RegisterTypeLib(ITypeLib* lib, const char* fullPath, const char* helpDir) {
  if (!lib || !fullPath) return E_INVALIDARG;
  TLIBATTR* attr = nullptr;
  HRESULT hr = lib->GetLibAttr(&attr);
  if (FAILED(hr)) return hr;
  RegisteredTypeLib entry{*attr, CString(fullPath), CString(helpDir)};
  lib->ReleaseTLibAttr(attr);
  std::lock_guard<std::mutex> g(g_registryLock);
  auto& list = Registrations();
  const TLIBATTR& a = entry.attr;
  auto it = std::find_if(list.begin(), list.end(), [&](const RegisteredTypeLib& r) {
    return SameLibrary(r.attr, a.guid, a.wMajorVerNum, a.wMinorVerNum, a.lcid, a.syskind);
  });
  if (it != list.end())
    *it = entry;
  else
    list.push_back(entry);
  return S_OK;
}

HRESULT UnRegisterTypeLib(REFGUID libid, WORD major, WORD minor, LCID lcid, SYSKIND syskind) {
  std::lock_guard<std::mutex> g(g_registryLock);
  auto& list = Registrations();
  auto it = std::find_if(list.begin(), list.end(), [&](const RegisteredTypeLib& r) {
    return SameLibrary(r.attr, libid, major, minor, lcid, syskind);
  });
  if (it == list.end()) return TYPE_E_REGISTRYACCESS;
  list.erase(it);
  return S_OK;
}

std::vector<RegisteredTypeLib> GetRegisteredTypeLibs() {
  std::lock_guard<std::mutex> g(g_registryLock);
  return Registrations();
}

// ---- the module's type library ----

namespace {
size_t FileNameStart(const char* path) {
  size_t start = 0;
  for (size_t i = 0; path[i]; ++i)
    if (path[i] == '\\' || path[i] == '/' || path[i] == ':') start = i + 1;
  return start;
}

// Loads the type library from the module's file, or else from the .tlb beside it.
HRESULT LoadModuleTypeLib(const char* modulePath, ITypeLib** lib, CString& loadedFrom) {
  loadedFrom = modulePath ? modulePath : "";
  HRESULT hr = LoadTypeLib(loadedFrom, lib);
  if (SUCCEEDED(hr)) return hr;
  loadedFrom = TypeLibPathBeside(modulePath);
  return LoadTypeLib(loadedFrom, lib);
}
}  // namespace

CString TypeLibPathBeside(const char* modulePath) {
  CString path(modulePath ? modulePath : "");
  int nameStart = int(FileNameStart(path));
  int dot = path.ReverseFind('.');
  if (dot >= nameStart) path = path.Left(dot);
  return path + ".tlb";
}

CString HelpDirOf(const char* path) {
  if (!path) return CString();
  return CString(path, int(FileNameStart(path)));
}

HRESULT RegisterTypeLibOfModule(const char* modulePath) {
  ITypeLib* lib = nullptr;
  CString loadedFrom;
  HRESULT hr = LoadModuleTypeLib(modulePath, &lib, loadedFrom);
  if (FAILED(hr)) return hr;
  hr = RegisterTypeLib(lib, loadedFrom, HelpDirOf(loadedFrom));
  lib->Release();
  return hr;
}

HRESULT UnregisterTypeLibOfModule(const char* modulePath) {
  ITypeLib* lib = nullptr;
  CString loadedFrom;
  HRESULT hr = LoadModuleTypeLib(modulePath, &lib, loadedFrom);
  if (FAILED(hr)) return hr;
  TLIBATTR* attr = nullptr;
  hr = lib->GetLibAttr(&attr);
  if (SUCCEEDED(hr)) {
    // The runtime's unregistration is always at hand here.
    hr = UnRegisterTypeLib(attr->guid, attr->wMajorVerNum, attr->wMinorVerNum, attr->lcid, attr->syskind);
    lib->ReleaseTLibAttr(attr);
  }
  lib->Release();
  return hr;
}

}  // namespace zev
