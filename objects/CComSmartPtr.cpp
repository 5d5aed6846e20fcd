// Smart pointers to component objects, the long-keyed map of them and the table by channel.
#include "zevutil/CComSmartPtr.h"

namespace zev {

// ---- CComSmartPtr ----

CComSmartPtr::CComSmartPtr(TIUnknown* target) : Target(target) { TAdd(); }

CComSmartPtr::CComSmartPtr(const CComSmartPtr& other) : CObject(other), Target(other.Target) { TAdd(); }

CComSmartPtr::~CComSmartPtr() { TRelease(); }

CComSmartPtr& CComSmartPtr::operator=(const CComSmartPtr& other) {
  // kept: the target held before is not released; callers assign only to empty pointers
  Target = other.Target;
  TAdd();
  return *this;
}

BOOL CComSmartPtr::operator==(void* p) const { return static_cast<void*>(Target) == p ? TRUE : FALSE; }

BOOL CComSmartPtr::operator!=(void* p) const { return static_cast<void*>(Target) != p ? TRUE : FALSE; }

void CComSmartPtr::Delete() { TRelease(); }

LONG CComSmartPtr::GetObjType() const { return Target ? Target->GetObjType() : 0; }

void CComSmartPtr::Kill() { Target = nullptr; }

void CComSmartPtr::TCopy(TIUnknown* other) {
  if (other == Target) return;
  TIUnknown* old = Target;
  Target = other;
  TAdd();
  TRelease(old);
}

void CComSmartPtr::TAdd() {
  if (Target) Target->AddRef();
}

void CComSmartPtr::TRelease() {
  if (Target) {
    // Forget the target first: its Release may delete the object that holds this pointer.
    TIUnknown* target = Target;
    Target = nullptr;
    target->Release();
  }
}

void CComSmartPtr::TRelease(TIUnknown* p) {
  if (p) p->Release();
}

// ---- CGenericComSmartPtr ----

CGenericComSmartPtr& CGenericComSmartPtr::operator=(const CGenericComSmartPtr& other) {
  (void)GetObjType();  // the types are read as a debugging check; they change nothing
  (void)other.GetObjType();
  CComSmartPtr::operator=(other);
  return *this;
}

CComSmartPtr* CGenericComSmartPtr::ClonePtr() const { return new CGenericComSmartPtr(*this); }

void CGenericComSmartPtr::CopyPtr(CComSmartPtr& to) const {
  (void)GetObjType();
  (void)to.GetObjType();
  to.CComSmartPtr::operator=(*this);
}

// ---- CMapLongToPSmartPtr ----

CMapLongToPSmartPtr::~CMapLongToPSmartPtr() { RemoveAll(); }

void CMapLongToPSmartPtr::DestroyValue(CComSmartPtr* value) {
  if (!value) return;
  value->Delete();
  delete value;
}

void CMapLongToPSmartPtr::SetAt(LONG key, CComSmartPtr* value) {
  CComSmartPtr* old = nullptr;
  if (Base::Lookup(key, old) && old) {
    // Storing the same pointer again must not destroy what is then stored.
    if (old == value) return;
    RemoveKey(key);
  }
  Base::SetAt(key, value);
}

BOOL CMapLongToPSmartPtr::RemoveKey(LONG key) {
  CComSmartPtr* value = nullptr;
  if (!Base::Lookup(key, value)) return FALSE;
  Base::RemoveKey(key);
  DestroyValue(value);
  return TRUE;
}

void CMapLongToPSmartPtr::RemoveAll() {
  // Take the values out first: releasing a target may reach back into this map.
  CArray<CComSmartPtr*, CComSmartPtr*> values;
  LONG key = 0;
  CComSmartPtr* value = nullptr;
  for (POSITION pos = GetStartPosition(); pos;) {
    GetNextAssoc(pos, key, value);
    values.Add(value);
  }
  Base::RemoveAll();
  for (INT_PTR i = 0; i < values.GetSize(); ++i) DestroyValue(values[i]);
}

void CMapLongToPSmartPtr::Destroy() {
  if (!IsEmpty()) RemoveAll();
}

void CMapLongToPSmartPtr::Kill() {
  if (IsEmpty()) return;
  LONG key = 0;
  CComSmartPtr* value = nullptr;
  for (POSITION pos = GetStartPosition(); pos;) {
    GetNextAssoc(pos, key, value);
    if (value) value->Kill();
  }
  RemoveAll();
}

// ---- CIUnknownArray ----

CIUnknownArray::CIUnknownArray() {
  for (auto& p : Interfaces) p = nullptr;
}

CIUnknownArray::CIUnknownArray(const CIUnknownArray& other) : ChanList(other.ChanList) {
  for (int i = 0; i < kChannels; ++i) Interfaces[i] = other.Interfaces[i] ? other.Interfaces[i]->ClonePtr() : nullptr;
}

CIUnknownArray& CIUnknownArray::operator=(const CIUnknownArray& other) {
  if (this == &other) return *this;
  for (int i = 0; i < kChannels; ++i) {
    CComSmartPtr* old = Interfaces[i];
    Interfaces[i] = other.Interfaces[i] ? other.Interfaces[i]->ClonePtr() : nullptr;
    delete old;
  }
  ChanList = other.ChanList;
  return *this;
}

CIUnknownArray::~CIUnknownArray() {
  for (auto& p : Interfaces) {
    delete p;
    p = nullptr;
  }
}

LONG CIUnknownArray::AddInterface(int channel, CComSmartPtr* value) {
  if (!InRange(channel)) return kBadChannel;
  CComSmartPtr* old = Interfaces[channel];
  if (value) {
    Interfaces[channel] = value->ClonePtr();
    ChanList += channel;
  } else {
    Interfaces[channel] = nullptr;
    ChanList -= channel;
  }
  // The old entry goes last, so that adding the pointer an entry already holds
  // keeps the target alive.
  delete old;
  return 0;
}

LONG CIUnknownArray::RemoveInterface(int channel) {
  if (!InRange(channel)) return kBadChannel;
  CComSmartPtr* old = Interfaces[channel];
  Interfaces[channel] = nullptr;
  delete old;
  ChanList -= channel;
  return 0;
}

CComSmartPtr* CIUnknownArray::GetInterface(int channel) const {
  return InRange(channel) ? Interfaces[channel] : nullptr;
}

CComSmartPtr* CIUnknownArray::GetFirstInterface(int& channel) {
  channel = ChanList.GetFirstSet();
  return GetInterface(channel);
}

CComSmartPtr* CIUnknownArray::GetNextInterface(int& channel) {
  channel = ChanList.GetNextSet();
  return GetInterface(channel);
}

int CIUnknownArray::GetNumberOfMembers() const { return ChanList.GetNumberOfMembers(); }

LONG CIUnknownArray::SetChanList(const CBitVector& channels) {
  ChanList = channels;
  return 0;
}

LONG CIUnknownArray::GetChanList(CBitVector& channels) const {
  channels = ChanList;
  return 0;
}

void CIUnknownArray::Destroy() {
  for (auto& p : Interfaces) {
    delete p;
    p = nullptr;
  }
  ChanList.RemoveAll();
}

}  // namespace zev
