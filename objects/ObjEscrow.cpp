// The process-wide object hand-over desk.
#include "zevutil/ObjEscrow.h"

#include <cstring>
#include <new>
#include <string>
#include <vector>

namespace zev {

namespace {

// Case-insensitive over ASCII only, as the runtime's _stricmp in the "C" locale.
bool SameTypeName(const std::string& a, const char* b) {
  size_t n = std::strlen(b);
  if (a.size() != n) return false;
  for (size_t i = 0; i < n; ++i) {
    unsigned char x = static_cast<unsigned char>(a[i]), y = static_cast<unsigned char>(b[i]);
    if (x >= 'A' && x <= 'Z') x = static_cast<unsigned char>(x + 32);
    if (y >= 'A' && y <= 'Z') y = static_cast<unsigned char>(y + 32);
    if (x != y) return false;
  }
  return true;
}

}  // namespace

struct ObjEscrow::Impl {
  struct ObjectRecord {
    std::string Key;
    void* Object = nullptr;
    bool Owned = false;
  };
  struct TypeRecord {
    std::string TypeName;  // as first registered
    Disposer Dispose = nullptr;
    std::vector<ObjectRecord*> Objects;
  };

  std::vector<TypeRecord*> Types;

  ~Impl() {
    for (TypeRecord* type : Types) {
      for (ObjectRecord* rec : type->Objects) {
        Dispose(*type, *rec);
        delete rec;
      }
      type->Objects.clear();
    }
    for (TypeRecord* type : Types) delete type;
    Types.clear();
  }

  TypeRecord* FindType(const char* name) const {
    if (!name) return nullptr;
    for (TypeRecord* type : Types)
      if (SameTypeName(type->TypeName, name)) return type;
    return nullptr;
  }

  static size_t FindKey(const TypeRecord& type, const char* key) {
    const char* k = key ? key : "";
    for (size_t i = 0; i < type.Objects.size(); ++i)
      if (type.Objects[i]->Key == k) return i;
    return size_t(-1);
  }

  // Frees an owned object through the type's disposer (or operator delete) and
  // clears the record's pointer in any case.
  static void Dispose(const TypeRecord& type, ObjectRecord& rec) {
    if (rec.Object && rec.Owned) {
      if (type.Dispose)
        type.Dispose(type.TypeName.c_str(), rec.Object);
      else
        ::operator delete(rec.Object);
    }
    rec.Object = nullptr;
  }
};

ObjEscrow::ObjEscrow() : m_pImpl(new Impl) {}

ObjEscrow::~ObjEscrow() { Terminate(); }

bool ObjEscrow::RegisterType(const char* type, Disposer disposer) {
  if (!m_pImpl || !type || !*type) return false;
  if (Impl::TypeRecord* known = m_pImpl->FindType(type)) {
    known->Dispose = disposer;
    return true;
  }
  auto* rec = new Impl::TypeRecord;
  rec->TypeName = type;
  rec->Dispose = disposer;
  m_pImpl->Types.push_back(rec);
  return false;
}

bool ObjEscrow::AddObj(const char* type, const char* key, void* object, bool owned) {
  Impl::TypeRecord* t = m_pImpl ? m_pImpl->FindType(type) : nullptr;
  if (!t) return false;
  size_t i = Impl::FindKey(*t, key);
  if (i == size_t(-1)) {
    auto* rec = new Impl::ObjectRecord;
    rec->Key = key ? key : "";
    rec->Object = object;
    rec->Owned = owned;
    t->Objects.push_back(rec);
    return true;
  }
  Impl::ObjectRecord& rec = *t->Objects[i];
  if (rec.Object != object) Impl::Dispose(*t, rec);
  rec.Object = object;
  rec.Owned = owned;
  return true;
}

void* ObjEscrow::GetObj(const char* type, const char* key) const {
  Impl::TypeRecord* t = m_pImpl ? m_pImpl->FindType(type) : nullptr;
  if (!t) return nullptr;
  size_t i = Impl::FindKey(*t, key);
  return i == size_t(-1) ? nullptr : t->Objects[i]->Object;
}

void* ObjEscrow::ReleaseObj(const char* type, const char* key) {
  Impl::TypeRecord* t = m_pImpl ? m_pImpl->FindType(type) : nullptr;
  if (!t) return nullptr;
  size_t i = Impl::FindKey(*t, key);
  if (i == size_t(-1)) return nullptr;
  Impl::ObjectRecord* rec = t->Objects[i];
  void* object = rec->Object;
  t->Objects.erase(t->Objects.begin() + std::ptrdiff_t(i));
  delete rec;
  return object;
}

bool ObjEscrow::DeleteObj(const char* type, const char* key) {
  Impl::TypeRecord* t = m_pImpl ? m_pImpl->FindType(type) : nullptr;
  if (!t) return false;
  size_t i = Impl::FindKey(*t, key);
  if (i == size_t(-1)) return false;
  Impl::ObjectRecord* rec = t->Objects[i];
  t->Objects.erase(t->Objects.begin() + std::ptrdiff_t(i));
  Impl::Dispose(*t, *rec);
  delete rec;
  return true;
}

void ObjEscrow::Terminate() {
  Impl* impl = m_pImpl;
  m_pImpl = nullptr;
  delete impl;
}

ObjEscrow& GetObjEscrow() {
  static ObjEscrow escrow;
  return escrow;
}

}  // namespace zev
