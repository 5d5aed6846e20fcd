// CDynVariable: a named value that is a string, an integer or a real, kept as text so
// that one kind of object carries any of them; CDynVarMap: such values by name, owned.
#pragma once
#include "zevutil/platform/CString.h"
#include "zevutil/platform/Collections.h"
#include "zevutil/platform/Types.h"

namespace zev {

class CDynVariable {
 public:
  enum ETYPE : int { eNone = 0, eString = 1, eInteger = 2, eReal = 3 };

  CDynVariable();
  CDynVariable(const char* name, const char* value);
  CDynVariable(const char* name, int value);
  CDynVariable(const char* name, double value);
  CDynVariable(const CDynVariable& other);
  virtual ~CDynVariable();
  // Drops name and value, then duplicates those of the other and takes its type.
  CDynVariable& operator=(const CDynVariable& other);

  const char* GetName() const { return m_pszName; }
  void SetName(const char* name);
  ETYPE GetType() const { return m_eType; }
  // Takes a type of 0 to 3 and ignores any other; the text stays as it is.
  void SetType(ETYPE type);

  void SetValue(const char* value);  // type 1; a null value is kept as no text
  void SetValue(int value);          // type 2, text as "%d"
  void SetValue(double value);       // type 3, text as "%lf"

  // Each clears its argument and returns 1 only when the variable has that type.
  int GetValue(CString& value) const;
  int GetValue(int& value) const;
  int GetValue(double& value) const;

  // Read the text whatever the type; unreadable or missing text gives 0.
  operator int() const;
  operator double() const;
  // The text itself, null when there is none.
  operator const char*() const { return m_pszValue; }

  // Frees the value, and the name too unless keepName; the type becomes 0.
  void Reset(int keepName);

 protected:
  char* m_pszValue = nullptr;  // from the C allocator
  char* m_pszName = nullptr;   // from the C allocator
  ETYPE m_eType = eNone;
};

// A string-keyed map of pointers that deletes what it holds when it is the owner.
template <class TYPE>
class TOwnerMapStringToPtr : public CMapStringToPtr {
 public:
  explicit TOwnerMapStringToPtr(INT_PTR blockSize = 10, BOOL owner = TRUE)
      : CMapStringToPtr(blockSize), m_bOwner(owner) {}
  ~TOwnerMapStringToPtr() override { RemoveAll(); }

  void RemoveAll() {
    if (m_bOwner) {
      CString key;
      void* value = nullptr;
      for (POSITION pos = GetStartPosition(); pos;) {
        GetNextAssoc(pos, key, value);
        delete static_cast<TYPE*>(value);
      }
    }
    CMapStringToPtr::RemoveAll();
  }
  using CMapStringToPtr::GetNextAssoc;
  using CMapStringToPtr::Lookup;
  BOOL Lookup(const char* key, TYPE*& value) const {
    void* p = nullptr;
    if (!CMapStringToPtr::Lookup(key, p)) return FALSE;
    value = static_cast<TYPE*>(p);
    return TRUE;
  }
  void GetNextAssoc(POSITION& pos, CString& key, TYPE*& value) const {
    void* p = nullptr;
    CMapStringToPtr::GetNextAssoc(pos, key, p);
    value = static_cast<TYPE*>(p);
  }

 protected:
  BOOL m_bOwner;
};

class CDynVarMap : public TOwnerMapStringToPtr<CDynVariable> {
 public:
  CDynVarMap() : TOwnerMapStringToPtr<CDynVariable>(10, TRUE) {}
  CDynVarMap(const CDynVarMap& other);
  // Deletes every variable held, then stores a copy of each of the other's.
  CDynVarMap& operator=(const CDynVarMap& other);
  ~CDynVarMap() override = default;
};

}  // namespace zev
