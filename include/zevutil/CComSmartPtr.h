// Reference-holding pointers to component objects and the collections that keep
// them: CComSmartPtr (the non-template base, so that containers of them can be
// exported), CGenericComSmartPtr, the typed TComSmartPtr<T>, CMapLongToPSmartPtr
// (pointers by long key, owned) and CIUnknownArray (pointers by channel 0..127).
//
// None of these lock anything: a smart pointer belongs to one thread, and the
// target's count is guarded by the target's own lock.
#pragma once
#include "zevutil/CBitVector.h"
#include "zevutil/TIUnknown.h"
#include "zevutil/platform/CObject.h"

namespace zev {

class CComSmartPtr : public CObject {
 public:
  CComSmartPtr() = default;
  // Holds target and adds a reference to it.
  explicit CComSmartPtr(TIUnknown* target);
  CComSmartPtr(const CComSmartPtr& other);
  // Releases the target.
  ~CComSmartPtr() override;

  // Takes the other's target and adds a reference, without releasing the target held
  // before: assign only to an empty pointer, and replace with TCopy.
  CComSmartPtr& operator=(const CComSmartPtr& other);

  // Compare the target with p.
  virtual BOOL operator==(void* p) const;
  virtual BOOL operator!=(void* p) const;
  // Releases the target (TRelease).
  virtual void Delete();
  // 0 without a target, else the target's type.
  virtual LONG GetObjType() const;
  // A new pointer of the same class holding a further reference.
  virtual CComSmartPtr* ClonePtr() const = 0;
  // Makes to hold this pointer's target (by operator=).
  virtual void CopyPtr(CComSmartPtr& to) const = 0;
  // Forgets the target without releasing it: for a target that has gone already.
  virtual void Kill();
  // Holds other instead of the present target: adds a reference to other first, then
  // releases the old one, so that a shared object stays alive. Nothing when other is
  // the present target.
  virtual void TCopy(TIUnknown* other);

  // AddRef on the target, if any.
  void TAdd();
  // Release on the target, if any, and forget it.
  void TRelease();
  // Release on p, if not null; the target stays.
  void TRelease(TIUnknown* p);

  TIUnknown* GetTarget() const { return Target; }

 protected:
  TIUnknown* Target = nullptr;
};

class CGenericComSmartPtr : public CComSmartPtr {
 public:
  CGenericComSmartPtr() = default;
  explicit CGenericComSmartPtr(TIUnknown* target) : CComSmartPtr(target) {}
  CGenericComSmartPtr(const CGenericComSmartPtr& other) = default;
  ~CGenericComSmartPtr() override = default;
  // As CComSmartPtr::operator= (the object types are looked at, to no effect).
  CGenericComSmartPtr& operator=(const CGenericComSmartPtr& other);

  CComSmartPtr* ClonePtr() const override;
  void CopyPtr(CComSmartPtr& to) const override;
};

// A typed smart pointer over an interface class T derived from TIUnknown.
template <class T>
class TComSmartPtr : public CGenericComSmartPtr {
 public:
  TComSmartPtr() = default;
  explicit TComSmartPtr(T* target) : CGenericComSmartPtr(target) {}
  TComSmartPtr(const TComSmartPtr& other) = default;
  ~TComSmartPtr() override = default;
  TComSmartPtr& operator=(const TComSmartPtr& other) {
    CGenericComSmartPtr::operator=(other);
    return *this;
  }

  // The target as a T; null without one (or for a target of another class).
  T* get() const { return dynamic_cast<T*>(Target); }
  T* operator->() const { return get(); }
  T& operator*() const { return *get(); }
  explicit operator bool() const { return Target != nullptr; }
  bool IsNull() const { return Target == nullptr; }

  CComSmartPtr* ClonePtr() const override { return new TComSmartPtr(*this); }
};

// Smart pointers by long key, owned: removing an entry, and destroying the map,
// calls Delete on the value and then deletes it.
class CMapLongToPSmartPtr : public CMap<LONG, LONG, CComSmartPtr*, CComSmartPtr*> {
  using Base = CMap<LONG, LONG, CComSmartPtr*, CComSmartPtr*>;

 public:
  CMapLongToPSmartPtr() : Base(10) {}
  ~CMapLongToPSmartPtr() override;

  // Removes the entry of a key holding a non-null value (destroying that value), then
  // stores value. Storing the pointer already held changes nothing.
  void SetAt(LONG key, CComSmartPtr* value);
  BOOL RemoveKey(LONG key);
  void RemoveAll();

  // Removes all entries, if there are any.
  virtual void Destroy();
  // Kills every value first, so that nothing is released, then removes all: for a
  // map whose targets have gone.
  virtual void Kill();

 private:
  static void DestroyValue(CComSmartPtr* value);
};

// Smart pointers by channel number 0..127: the table owns clones of what it is given,
// and ChanList says which channels are in use.
class CIUnknownArray {
 public:
  static constexpr int kChannels = 128;

  CIUnknownArray();
  // Each entry becomes the source entry's clone; the channel set is copied.
  CIUnknownArray(const CIUnknownArray& other);
  CIUnknownArray& operator=(const CIUnknownArray& other);
  // Deletes the entries.
  virtual ~CIUnknownArray();

  // kBadChannel outside 0..127. Stores value's clone (the caller keeps value) and
  // sets the bit, or with null clears entry and bit; the old entry is deleted. 0.
  LONG AddInterface(int channel, CComSmartPtr* value);
  // kBadChannel outside 0..127; otherwise clears and deletes the entry, clears the bit, 0.
  LONG RemoveInterface(int channel);
  // The entry, or null out of range.
  CComSmartPtr* GetInterface(int channel) const;
  // Walk the channel set by its cursor: channel becomes the next member (-1 past the
  // end) and the result is its entry (null past the end).
  CComSmartPtr* GetFirstInterface(int& channel);
  CComSmartPtr* GetNextInterface(int& channel);
  int GetNumberOfMembers() const;
  // Copy the channel set; entries are not touched, so set and entries can disagree
  // (the walk goes by the set). Both return 0.
  LONG SetChanList(const CBitVector& channels);
  LONG GetChanList(CBitVector& channels) const;
  // Deletes all 128 entries and empties the channel set.
  void Destroy();

 protected:
  static bool InRange(int channel) { return channel >= 0 && channel < kChannels; }

  CBitVector ChanList;
  CComSmartPtr* Interfaces[kChannels];
};

}  // namespace zev
