// CBaseImpOutputObject: an inner object of a component object that is also an output
// object, so that a print or export job can hold it while its outer object's other
// holders let go.
//
// Lifetime. While ManagesOwnLife is 1 (from construction) every reference taken on the
// object is forwarded to the outer object, as for any inner object, and also counted in
// OwnRefs; the outer object's lock is held across each decision. A release then:
//   - when the outer object holds fewer than 2 references (it is about to go): hands
//     its reference to the outer object, which deletes itself, clears ManagesOwnLife
//     and deletes this object too;
//   - otherwise takes 1 from OwnRefs; at 0 nobody holds the object any more: it hands
//     the outer object its reference back and deletes itself; else it only forwards
//     the release.
// Without an outer object the pending references stand for the outer count. An object
// that deletes itself first leaves its outer object's maps, so the outer object never
// deletes it a second time. With ManagesOwnLife 0 it is a plain inner object.
//
// As for every component object, the concrete class supplies QueryInterface, AddRef
// and Release (normally through InternalAddRef and InternalRelease) and GetTextOutput.
#pragma once
#include "zevutil/COutputObject.h"
#include "zevutil/TIUnknown.h"

namespace zev {

class CBaseImpOutputObject : public CBaseImpObject, public COutputObject {
 public:
  CBaseImpOutputObject();
  ~CBaseImpOutputObject() override;

  // Outer lock (with an outer object), the inner object's forward, one more own
  // reference. Returns what the forward returned.
  ULONG InternalAddRef() override;
  // See the lifetime rules above. Always 1.
  ULONG InternalRelease() override;

  // Does nothing.
  void Init();
  // Stores the outer object and passes every pending reference on to it; those
  // references were counted in OwnRefs when they were taken, and are not again.
  void Init(CBaseObject* base);

  LONG ManagesOwnLife;
  LONG OwnRefs;

 private:
  // Removes this object from the outer object's inner objects and kept smart pointers,
  // so that the outer object's end does not delete or release it. Under the outer lock.
  void LeaveOuterObject();
};

}  // namespace zev
