// The component object layer: outer objects with their lock, count, header and inner
// objects, and inner objects that forward their counts to the outer one.
#include "zevutil/TIUnknown.h"

#include "zevutil/CComSmartPtr.h"
#include "zevutil/CObSeqID.h"
#include "zevutil/CObjHeader.h"
#include "zevutil/platform/Host.h"

namespace zev {

// ---- TIUnknown ----

TIUnknown::~TIUnknown() = default;

HRESULT TIUnknown::GetTypeInfoCount(UINT*) { return 0; }
HRESULT TIUnknown::GetTypeInfo(UINT, LCID, ITypeInfo**) { return 0; }
HRESULT TIUnknown::GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) { return 0; }
HRESULT TIUnknown::Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) { return 0; }

const _ATL_INTMAP_ENTRY* TIUnknown::_GetEntries() {
  static const _ATL_INTMAP_ENTRY entries[] = {{&IID_IUnknown, 0}, {nullptr, 0}};
  return entries;
}

HRESULT TIUnknown::_InternalQueryInterface(REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  *ppv = nullptr;
  for (const _ATL_INTMAP_ENTRY* e = _GetEntries(); e->piid; ++e) {
    if (*e->piid == riid) {
      IUnknown* found = reinterpret_cast<IUnknown*>(reinterpret_cast<DWORD_PTR>(this) + e->dw);
      found->AddRef();
      *ppv = found;
      return S_OK;
    }
  }
  return E_NOINTERFACE;
}

IUnknown* TIUnknown::_GetRawUnknown() {
  return reinterpret_cast<IUnknown*>(reinterpret_cast<DWORD_PTR>(this) + _GetEntries()->dw);
}

// ---- CBaseObject ----

CBaseObject::CBaseObject()
    : Modified(0), ObjectState(0), RefCount(0), Lock(new CCriticalSection), ObjHeader(nullptr) {}

CBaseObject::~CBaseObject() {
  delete Lock;
  delete ObjHeader;
}

ULONG CBaseObject::InternalAddRef() {
  Lock->Lock();
  LONG count = ++RefCount;
  Lock->Unlock();
  return ULONG(count);
}

ULONG CBaseObject::InternalRelease() {
  Lock->Lock();
  if (RefCount > 0) --RefCount;
  if (RefCount < 1) {
    Lock->Unlock();
    delete this;
  } else {
    Lock->Unlock();
  }
  // kept: callers never relied on a count here, so none is given
  return 1;
}

LONG CBaseObject::Erase() {
  if (!ObjHeader) ObjHeader = new CObjHeader;
  ObjHeader->SetDefaultValues(CTime::GetCurrentTime());
  ObjectState = 0;
  Modified = 0;
  return 0;
}

LONG CBaseObject::SetDefaultValues() { return CBaseObject::Erase(); }

LONG CBaseObject::SetObjInfo(const CObjInfo& info) {
  if (!ObjHeader) return kNoHeader;
  ObjHeader->SetObjInfo(info);
  Modified = 1;
  return 0;
}

LONG CBaseObject::GetObjInfo(CObjInfo& info) const {
  if (!ObjHeader) return kNoHeader;
  ObjHeader->GetObjInfo(info);
  return 0;
}

void CBaseObject::Init(CObjHeader* header) {
  if (!header) header = new CObjHeader;
  if (ObjHeader != header) delete ObjHeader;
  ObjHeader = header;
}

LONG CBaseObject::SetProjectID(const CProjectID& id) {
  if (!ObjHeader || !ObjHeader->ObjInfo) return kNoHeader;
  CObjInfo& info = *ObjHeader->ObjInfo;
  if (info.Created.InitialProject[0] == '\0') info.Created.SetNames(id.ObName, nullptr);
  info.Modified.SetNames(id.ObName, nullptr);
  return 0;
}

LONG CBaseObject::GetProjectID(CProjectID& id) const {
  if (!ObjHeader || !ObjHeader->ObjInfo) return kNoHeader;
  id.SetObName(ObjHeader->ObjInfo->Modified.InitialProject);
  return 0;
}

void CBaseObject::GetProjectString(CString& out) const {
  if (ObjHeader && ObjHeader->ObjInfo)
    out = ObjHeader->ObjInfo->Modified.InitialProject;
  else
    out.Empty();
}

// ---- CBaseComObject ----

CBaseComObject::CBaseComObject() : ImpObjects(10), ImpSmartPtrs(nullptr) {}

CBaseComObject::~CBaseComObject() {
  CBaseComObject::ReleaseImpSmartPtrs();
  delete ImpSmartPtrs;
  ImpSmartPtrs = nullptr;
  CBaseComObject::ReleaseImpObjects();
}

void CBaseComObject::Init(CObjHeader* header) {
  CBaseObject::Init(header);
  if (!ImpSmartPtrs) ImpSmartPtrs = new CMapLongToPSmartPtr;
}

void CBaseComObject::Init(CBaseImpObject* imp, LONG key, CObjHeader* header) {
  Init(header);
  AddImpObject(imp, key);
}

void CBaseComObject::Serialize(CArchive&) {
  MessageBoxA(nullptr, "Base Com Object Serialize", nullptr, MB_ICONINFORMATION);
}

void CBaseComObject::DisplayProperties() {
  MessageBoxA(nullptr, "Base Com Object Properties", nullptr, MB_ICONINFORMATION);
}

LONG CBaseComObject::ExportToVqFile(CString&) {
  MessageBoxA(nullptr, "Base Com Object ExportToVqFile", nullptr, MB_ICONINFORMATION);
  return 0;
}

LONG CBaseComObject::ImportFromVqFile(CString&, LONG) {
  MessageBoxA(nullptr, "Base Com Object ImportFromVqFile", nullptr, MB_ICONINFORMATION);
  return 0;
}

CBaseImpObject* CBaseComObject::CreateImpObject(LONG) { return nullptr; }

CComSmartPtr* CBaseComObject::CreateImpSmartPtr(LONG key, CBaseImpObject*) {
  return key == 0 ? CreateBaseSmartPtr() : nullptr;
}

CComSmartPtr* CBaseComObject::CreateBaseSmartPtr() { return nullptr; }

CBaseImpObject* CBaseComObject::GetImpObjectPtr(LONG key) {
  if (key == 0) return nullptr;
  CSingleLock hold(Lock, TRUE);
  CBaseImpObject* object = nullptr;
  if (!ImpObjects.Lookup(key, object)) {
    object = CreateImpObject(key);
    // kept: an object made for the reserved key is handed out without being kept
    if (object) AddImpObject(object, key);
  }
  return object;
}

CComSmartPtr* CBaseComObject::GetImpSmartPtr(LONG key) {
  CSingleLock hold(Lock, TRUE);
  // Before Init there is no map to keep a new pointer in.
  if (!ImpSmartPtrs) return nullptr;
  CComSmartPtr* pointer = nullptr;
  if (!ImpSmartPtrs->Lookup(key, pointer)) {
    const LONG saved = RefCount;
    if (key == 0) {
      pointer = CreateBaseSmartPtr();
    } else if (CBaseImpObject* object = GetImpObjectPtr(key)) {
      pointer = CreateImpSmartPtr(key, object);
    }
    if (pointer) AddImpSmartPtr(pointer, key);
    RefCount = saved;
    // kept: a pointer made for the reserved key is handed out without being kept
  }
  return pointer;
}

void CBaseComObject::AddImpObject(CBaseImpObject* object, LONG key) {
  if (!object || key == kReservedImpKey) return;
  CSingleLock hold(Lock, TRUE);
  ImpObjects.SetAt(key, object);
}

void CBaseComObject::AddImpSmartPtr(CComSmartPtr* pointer, LONG key) {
  if (!pointer || key == kReservedImpKey) return;
  CSingleLock hold(Lock, TRUE);
  if (ImpSmartPtrs) ImpSmartPtrs->SetAt(key, pointer);
}

void CBaseComObject::ReleaseImpObjects() {
  LONG key = 0;
  CBaseImpObject* object = nullptr;
  for (POSITION pos = ImpObjects.GetStartPosition(); pos;) {
    ImpObjects.GetNextAssoc(pos, key, object);
    delete object;
  }
  ImpObjects.RemoveAll();
}

void CBaseComObject::ReleaseImpSmartPtrs() {
  if (!ImpSmartPtrs) return;
  // A pointer on the object itself, or on one of its inner objects, took a reference
  // that GetImpSmartPtr handed back at once: it is forgotten, not released. Pointers
  // on other objects hold real references and release them.
  LONG key = 0;
  CComSmartPtr* pointer = nullptr;
  for (POSITION pos = ImpSmartPtrs->GetStartPosition(); pos;) {
    ImpSmartPtrs->GetNextAssoc(pos, key, pointer);
    if (!pointer || !pointer->GetTarget()) continue;
    TIUnknown* target = pointer->GetTarget();
    auto* inner = dynamic_cast<CBaseImpObject*>(target);
    if (target == static_cast<TIUnknown*>(this) || (inner && inner->BaseObject == this)) pointer->Kill();
  }
  ImpSmartPtrs->Destroy();
}

// ---- CBaseImpObject ----

CBaseImpObject::CBaseImpObject() : BaseObject(nullptr), PendingRefs(0) {}

CBaseImpObject::~CBaseImpObject() = default;

LONG CBaseImpObject::GetObjType() { return BaseObject ? BaseObject->GetObjType() : 0; }

ULONG CBaseImpObject::InternalAddRef() {
  if (BaseObject) return BaseObject->AddRef();
  return ULONG(++PendingRefs);
}

ULONG CBaseImpObject::InternalRelease() {
  if (PendingRefs > 0) {
    --PendingRefs;
    return 1;
  }
  return BaseObject ? BaseObject->Release() : 1;
}

LONG CBaseImpObject::Erase() { return BaseObject ? BaseObject->Erase() : kNoHeader; }

LONG CBaseImpObject::SetDefaultValues() { return BaseObject ? BaseObject->SetDefaultValues() : kNoHeader; }

void CBaseImpObject::Init() {}

void CBaseImpObject::Init(CBaseObject* base) {
  BaseObject = base;
  while (PendingRefs > 0) {
    InternalAddRef();
    --PendingRefs;
  }
}

LONG CBaseImpObject::GetProjectID(CProjectID& id) const {
  return BaseObject ? BaseObject->GetProjectID(id) : kNoHeader;
}

LONG CBaseImpObject::SetProjectID(const CProjectID& id) {
  return BaseObject ? BaseObject->SetProjectID(id) : kNoHeader;
}

void CBaseImpObject::GetProjectString(CString& out) const {
  if (BaseObject)
    BaseObject->GetProjectString(out);
  else
    out.Empty();
}

}  // namespace zev
