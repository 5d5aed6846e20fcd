// An inner output object: counts the references its jobs hold, so that it goes when
// nobody holds it, and survives the release of its outer object's other holders.
#include "zevutil/CBaseImpOutputObject.h"

#include <vector>

#include "zevutil/CComSmartPtr.h"

namespace zev {

CBaseImpOutputObject::CBaseImpOutputObject() : ManagesOwnLife(1), OwnRefs(0) {}

CBaseImpOutputObject::~CBaseImpOutputObject() = default;

void CBaseImpOutputObject::Init() { CBaseImpObject::Init(); }

void CBaseImpOutputObject::Init(CBaseObject* base) { CBaseImpObject::Init(base); }

ULONG CBaseImpOutputObject::InternalAddRef() {
  if (!ManagesOwnLife) return CBaseImpObject::InternalAddRef();
  CCriticalSection* lock = BaseObject ? BaseObject->Lock : nullptr;
  if (lock) lock->Lock();
  // Init passes the pending references on through this function while PendingRefs is
  // still above 0; they were counted here when they were taken.
  const bool passingPending = BaseObject && PendingRefs > 0;
  const ULONG result = CBaseImpObject::InternalAddRef();
  if (!passingPending) ++OwnRefs;
  if (lock) lock->Unlock();
  return result;
}

ULONG CBaseImpOutputObject::InternalRelease() {
  if (!ManagesOwnLife) return CBaseImpObject::InternalRelease();
  CBaseObject* outer = BaseObject;
  CCriticalSection* lock = outer ? outer->Lock : nullptr;
  if (lock) lock->Lock();
  const LONG count = outer ? outer->RefCount : PendingRefs;
  if (count < 2) {
    // This is the last reference to the whole: the outer object deletes itself on the
    // forwarded release, and this object goes after it. It leaves the outer object
    // first, as the outer object's end deletes its inner objects.
    LeaveOuterObject();
    if (lock) lock->Unlock();
    CBaseImpObject::InternalRelease();
    ManagesOwnLife = 0;
    delete this;
    return 1;
  }
  if (OwnRefs > 0) --OwnRefs;
  if (OwnRefs == 0) {
    // Nobody holds this object any more, while others still hold the outer object. The
    // outer reference that came with the last own reference goes back with it, else
    // the outer object could never go; with 2 or more references held it survives.
    LeaveOuterObject();
    CBaseImpObject::InternalRelease();
    delete this;
  } else {
    CBaseImpObject::InternalRelease();
  }
  if (lock) lock->Unlock();
  return 1;
}

void CBaseImpOutputObject::LeaveOuterObject() {
  auto* outer = dynamic_cast<CBaseComObject*>(BaseObject);
  if (!outer) return;
  CBaseImpObject* self = this;
  CSingleLock hold(outer->Lock, TRUE);

  std::vector<LONG> keys;
  LONG key = 0;
  CBaseImpObject* object = nullptr;
  for (POSITION pos = outer->ImpObjects.GetStartPosition(); pos;) {
    outer->ImpObjects.GetNextAssoc(pos, key, object);
    if (object == self) keys.push_back(key);
  }
  for (LONG k : keys) outer->ImpObjects.RemoveKey(k);

  // A smart pointer the outer object keeps on this object had its reference handed
  // back when it was made: it is forgotten without a release.
  if (CMapLongToPSmartPtr* pointers = outer->ImpSmartPtrs) {
    keys.clear();
    CComSmartPtr* pointer = nullptr;
    for (POSITION pos = pointers->GetStartPosition(); pos;) {
      pointers->GetNextAssoc(pos, key, pointer);
      if (pointer && pointer->GetTarget() == static_cast<TIUnknown*>(self)) {
        pointer->Kill();
        keys.push_back(key);
      }
    }
    for (LONG k : keys) pointers->RemoveKey(k);
  }
}

}  // namespace zev
