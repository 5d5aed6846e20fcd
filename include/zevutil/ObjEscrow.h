// ObjEscrow: a process-wide hand-over desk. One module leaves an object under a type
// name and a key; another fetches it. The escrow knows nothing of the objects: it
// keeps them as void* and disposes of owned ones with the disposer registered for
// their type (or the library's operator delete when the type has none).
//
// Type names compare without regard to ASCII case, keys exactly; both are searched
// in order of arrival. Nothing is locked: callers keep all escrow traffic on one
// thread or serialise it.
#pragma once

namespace zev {

class ObjEscrow {
 public:
  using Disposer = void (*)(const char* type, void* object);

  ObjEscrow();
  // Terminate().
  ~ObjEscrow();
  ObjEscrow(const ObjEscrow&) = delete;
  ObjEscrow& operator=(const ObjEscrow&) = delete;

  // False for a null or empty name (nothing is done). Otherwise the disposer is
  // stored, and the result says whether the type was known already: false for a new
  // type, true when an existing one had its disposer replaced.
  bool RegisterType(const char* type, Disposer disposer);
  // False for an unknown type (the object stays the caller's). A new key adds a
  // record; a used key with another object first disposes of the stored one; then
  // the record holds object and owned. True.
  bool AddObj(const char* type, const char* key, void* object, bool owned);
  // The stored object, which stays in escrow; null for an unknown type or key.
  void* GetObj(const char* type, const char* key) const;
  // Hands the object over: returns it and forgets the record without disposing of it.
  // Null for an unknown type or key.
  void* ReleaseObj(const char* type, const char* key);
  // Disposes of the object and forgets the record; false for an unknown type or key.
  bool DeleteObj(const char* type, const char* key);
  // Disposes of every object, type by type in order of registration, and forgets
  // everything. Safe to call twice; afterwards every operation fails as for an
  // unknown type.
  void Terminate();

 private:
  struct Impl;
  Impl* m_pImpl;
};

// The one process-wide escrow, built on the first call and destroyed with the
// library's global objects.
ObjEscrow& GetObjEscrow();

}  // namespace zev
