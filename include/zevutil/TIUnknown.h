// The component object layer: TIUnknown, the root of every component object;
// CBaseObject and CBaseComObject, the outer object that owns the header, the lock,
// the reference count and the inner objects; CBaseImpObject, an inner object that
// passes all reference counting up to its outer object, so that the whole lives and
// dies as one.
//
// Reference counts. The outer object's count is guarded by its own recursive lock;
// InternalRelease deletes the object once the count falls below 1. An inner object
// forwards AddRef and Release to its outer object; references taken before it knows
// its outer object wait in PendingRefs and are passed on by Init(base).
//
// Inner objects are kept by a long key, made on first use by GetImpObjectPtr through
// the virtual CreateImpObject. The key 100 is reserved and never stored.
//
// Results: component operations return 0 or a negative code; kNoHeader (-30993)
// means the object has no header.
#pragma once
#include "zevutil/platform/CArchive.h"
#include "zevutil/platform/CString.h"
#include "zevutil/platform/Collections.h"
#include "zevutil/platform/Com.h"
#include "zevutil/platform/Sync.h"

namespace zev {

class CObjHeader;
class CObjInfo;
class CProjectID;
class CObSeqID;
class CComSmartPtr;
class CMapLongToPSmartPtr;

// Argument blocks of the dispatch operations; the base forms never look into them.
struct DISPPARAMS;
struct VARIANT;
struct EXCEPINFO;
using LPOLESTR = OLECHAR*;

// The component layer's result codes.
inline constexpr LONG kNoHeader = -30993;         // 0xFFFF86EF: the object has no header
inline constexpr LONG kBadChannel = -30996;       // 0xFFFF86EC: a channel outside 0..127
inline constexpr LONG kReservedImpKey = 100;      // never stored as an inner object's key

// One row of an interface map: the interface, and where it lies from the object's start.
struct _ATL_INTMAP_ENTRY {
  const IID* piid;
  DWORD_PTR dw;
};

class TIUnknown : public IUnknown {
 public:
  // Left to each concrete class.
  HRESULT QueryInterface(REFIID riid, void** ppv) override = 0;
  ULONG AddRef() override = 0;
  ULONG Release() override = 0;
  virtual ~TIUnknown();
  // The dispatch operations do nothing and return 0.
  virtual HRESULT GetTypeInfoCount(UINT* count);
  virtual HRESULT GetTypeInfo(UINT index, LCID lcid, ITypeInfo** info);
  virtual HRESULT GetIDsOfNames(REFIID riid, LPOLESTR* names, UINT count, LCID lcid, DISPID* ids);
  virtual HRESULT Invoke(DISPID id, REFIID riid, LCID lcid, WORD flags, DISPPARAMS* params, VARIANT* result,
                         EXCEPINFO* exception, UINT* argError);
  // The stored-object type number of the object.
  virtual LONG GetObjType() = 0;

  // The interface map: one row, IUnknown at offset 0, ended by a null row.
  static const _ATL_INTMAP_ENTRY* _GetEntries();
  // Looks riid up in the map: S_OK with an added reference, E_NOINTERFACE (and a null
  // *ppv) when it is not there, E_POINTER for a null ppv.
  HRESULT _InternalQueryInterface(REFIID riid, void** ppv);
  // The IUnknown of the map's first row, without a reference.
  IUnknown* _GetRawUnknown();
  IUnknown* GetUnknown() { return _GetRawUnknown(); }

 protected:
  TIUnknown() = default;
  TIUnknown(const TIUnknown&) = default;
  TIUnknown& operator=(const TIUnknown&) = default;

  // The lock of the single-thread model: locking and unlocking do nothing.
  struct SingleThreadLock {
    void Lock() {}
    void Unlock() {}
  };
  SingleThreadLock m_critsec;
};

class CBaseObject : public TIUnknown {
 public:
  CBaseObject();
  CBaseObject(const CBaseObject&) = delete;
  CBaseObject& operator=(const CBaseObject&) = delete;
  // Deletes the lock and the header.
  ~CBaseObject() override;

  // Adds 1 to RefCount under the lock and returns the new count.
  virtual ULONG InternalAddRef();
  // Takes 1 from RefCount (if above 0) under the lock; below 1 the object deletes
  // itself. Always returns 1, not the count.
  virtual ULONG InternalRelease();
  // Both make the header if it is missing, reset it to its defaults at the current
  // time, clear ObjectState and Modified, and return 0.
  virtual LONG Erase();
  virtual LONG SetDefaultValues();
  // Copies the other object's content into this one; each concrete class decides what that is.
  virtual LONG Copy(const CBaseObject& from) = 0;
  // kNoHeader without a header; otherwise hands info to the header, sets Modified, 0.
  virtual LONG SetObjInfo(const CObjInfo& info);
  // kNoHeader without a header; otherwise reads the header's info, 0.
  virtual LONG GetObjInfo(CObjInfo& info) const;
  // The identifier of the object; each concrete class supplies it.
  virtual LONG GetObjID(CObSeqID& id) const = 0;

  // Takes over header, which then belongs to the object; null makes a new one.
  void Init(CObjHeader* header = nullptr);

  // Needs a header with an info block (kNoHeader otherwise). The name goes to the
  // Modified record's project, and to the Created record's too while that is empty.
  LONG SetProjectID(const CProjectID& id);
  // The name from the Modified record's InitialProject; the identifier stays as it is
  // without a header or info block.
  LONG GetProjectID(CProjectID& id) const;
  // The same text; empty when there is none.
  void GetProjectString(CString& out) const;

  LONG Modified;
  LONG ObjectState;
  LONG RefCount;
  CCriticalSection* Lock;  // owned
  CObjHeader* ObjHeader;   // owned; null until Init
};

class CBaseImpObject;

class CBaseComObject : public CBaseObject {
 public:
  CBaseComObject();
  // Releases the smart pointers and deletes their map, then deletes the inner objects.
  ~CBaseComObject() override;

  // The base forms say on the screen that a concrete class did not override them:
  // an information box (style 64) with the system's default caption.
  virtual void Serialize(CArchive& ar);                              // "Base Com Object Serialize"
  virtual void DisplayProperties();                                  // "Base Com Object Properties"
  virtual LONG ExportToVqFile(CString& file);                        // "... ExportToVqFile", 0
  virtual LONG ImportFromVqFile(CString& file, LONG flags);          // "... ImportFromVqFile", 0
  // Makes the inner object for a key; null here.
  virtual CBaseImpObject* CreateImpObject(LONG key);
  // CreateBaseSmartPtr() for the key 0, null otherwise.
  virtual CComSmartPtr* CreateImpSmartPtr(LONG key, CBaseImpObject* object);
  // A smart pointer on the object itself; null here.
  virtual CComSmartPtr* CreateBaseSmartPtr();
  // The inner object of a key, made and kept on first use; null for the key 0 (without
  // taking the lock) or when none can be made. An object made for the reserved key
  // 100 is handed out but not kept: the caller then owns it.
  virtual CBaseImpObject* GetImpObjectPtr(LONG key);
  // The smart pointer of a key, made and kept on first use (the key 0 gives the base
  // smart pointer). Making one leaves RefCount as it was: a pointer the object holds
  // on itself must not keep it alive. Null before Init or when none can be made. A
  // pointer made for the reserved key 100 is handed out but not kept: the caller owns
  // it, and as its reference was handed back, must Kill it before deleting it.
  virtual CComSmartPtr* GetImpSmartPtr(LONG key);
  // Store under the key; a null value or the key 100 is ignored. AddImpObject takes
  // ownership of the object; AddImpSmartPtr of the pointer, replacing (and deleting)
  // one stored under the key before.
  virtual void AddImpObject(CBaseImpObject* object, LONG key);
  virtual void AddImpSmartPtr(CComSmartPtr* pointer, LONG key);
  // Deletes every inner object and empties the map.
  virtual void ReleaseImpObjects();
  // Deletes every kept smart pointer. Those on the object itself or its inner objects
  // are not released (GetImpSmartPtr handed their references back when it made
  // them); those on other objects release theirs.
  virtual void ReleaseImpSmartPtrs();

  // CBaseObject::Init and the smart-pointer map.
  void Init(CObjHeader* header = nullptr);
  // The same, and AddImpObject(imp, key).
  void Init(CBaseImpObject* imp, LONG key, CObjHeader* header);

  CMap<LONG, LONG, CBaseImpObject*, CBaseImpObject*> ImpObjects;  // owned values
  CMapLongToPSmartPtr* ImpSmartPtrs;                              // owned; made by Init
};

class CBaseImpObject : public TIUnknown {
 public:
  CBaseImpObject();
  CBaseImpObject(const CBaseImpObject&) = delete;
  CBaseImpObject& operator=(const CBaseImpObject&) = delete;
  ~CBaseImpObject() override;

  // The outer object's type; 0 without one.
  LONG GetObjType() override;
  // With an outer object, its AddRef; without, one more pending reference (the result
  // is the pending count).
  virtual ULONG InternalAddRef();
  // A pending reference is dropped first (result 1); otherwise the outer object's
  // Release, or 1 without one.
  virtual ULONG InternalRelease();
  // Forward to the outer object; kNoHeader without one.
  virtual LONG Erase();
  virtual LONG SetDefaultValues();

  // Does nothing.
  void Init();
  // Stores the outer object (not owned) and passes on every pending reference.
  void Init(CBaseObject* base);

  // Forward to the outer object; kNoHeader (or nothing) without one.
  LONG GetProjectID(CProjectID& id) const;
  LONG SetProjectID(const CProjectID& id);
  void GetProjectString(CString& out) const;

  CBaseObject* BaseObject;  // not owned
  // References taken before BaseObject was known. Not locked: an inner object is
  // attached before other threads see it.
  LONG PendingRefs;
};

}  // namespace zev
