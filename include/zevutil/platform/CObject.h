// CObject and the run-time class records of the framework.
#pragma once
#include "zevutil/platform/Types.h"

namespace zev {

class CObject;
class CArchive;

// Run-time class record: name, size, schema, creator and base class.
struct CRuntimeClass {
  const char* m_lpszClassName;
  int m_nObjectSize;
  UINT m_wSchema;
  CObject* (*m_pfnCreateObject)();
  const CRuntimeClass* m_pBaseClass;

  CObject* CreateObject() const { return m_pfnCreateObject ? m_pfnCreateObject() : nullptr; }
  bool IsDerivedFrom(const CRuntimeClass* base) const {
    for (const CRuntimeClass* c = this; c; c = c->m_pBaseClass)
      if (c == base) return true;
    return false;
  }
};

class CObject {
 public:
  virtual ~CObject() = default;
  virtual const CRuntimeClass* GetRuntimeClass() const;
  virtual void Serialize(CArchive& ar);
  virtual bool IsSerializable() const { return GetRuntimeClass()->m_wSchema != 0xFFFF; }
  bool IsKindOf(const CRuntimeClass* cls) const { return GetRuntimeClass()->IsDerivedFrom(cls); }

  static const CRuntimeClass classCObject;

 protected:
  CObject() = default;
  CObject(const CObject&) = default;
  CObject& operator=(const CObject&) = default;
};

#define RUNTIME_CLASS(name) (&name::class##name)

#define DECLARE_DYNAMIC(name)                                     \
 public:                                                          \
  static const ::zev::CRuntimeClass class##name;                  \
  const ::zev::CRuntimeClass* GetRuntimeClass() const override;

#define DECLARE_DYNCREATE(name) \
  DECLARE_DYNAMIC(name)         \
  static ::zev::CObject* CreateObject();

#define DECLARE_SERIAL(name) DECLARE_DYNCREATE(name)

#define ZEV_IMPLEMENT_RUNTIMECLASS(name, base, schema, create)                                 \
  const ::zev::CRuntimeClass name::class##name = {#name, int(sizeof(name)), schema, create,    \
                                                  RUNTIME_CLASS(base)};                        \
  const ::zev::CRuntimeClass* name::GetRuntimeClass() const { return RUNTIME_CLASS(name); }

#define IMPLEMENT_DYNAMIC(name, base) ZEV_IMPLEMENT_RUNTIMECLASS(name, base, 0xFFFF, nullptr)
#define IMPLEMENT_DYNCREATE(name, base)                              \
  ::zev::CObject* name::CreateObject() { return new name; }         \
  ZEV_IMPLEMENT_RUNTIMECLASS(name, base, 0xFFFF, name::CreateObject)
#define IMPLEMENT_SERIAL(name, base, schema)                         \
  ::zev::CObject* name::CreateObject() { return new name; }         \
  ZEV_IMPLEMENT_RUNTIMECLASS(name, base, schema, name::CreateObject)

}  // namespace zev
