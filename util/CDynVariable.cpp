// CDynVariable and CDynVarMap: typed values kept as text, and their owning map.
#include "zevutil/CDynVariable.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "zevutil/platform/CException.h"

namespace zev {

namespace {

char* Duplicate(const char* s) {
  char* copy = ::strdup(s);
  if (!copy) AfxThrowMemoryException();
  return copy;
}

char* Zeroed(size_t bytes) {
  char* block = static_cast<char*>(std::calloc(bytes, 1));
  if (!block) AfxThrowMemoryException();
  return block;
}

}  // namespace

CDynVariable::CDynVariable() = default;

CDynVariable::CDynVariable(const char* name, const char* value) {
  SetName(name);
  SetValue(value);
}

CDynVariable::CDynVariable(const char* name, int value) {
  SetName(name);
  SetValue(value);
}

CDynVariable::CDynVariable(const char* name, double value) {
  SetName(name);
  SetValue(value);
}

CDynVariable::CDynVariable(const CDynVariable& other) { *this = other; }

CDynVariable::~CDynVariable() { Reset(0); }

CDynVariable& CDynVariable::operator=(const CDynVariable& other) {
  if (this == &other) return *this;
  Reset(0);
  if (other.m_pszValue) m_pszValue = Duplicate(other.m_pszValue);
  if (other.m_pszName) m_pszName = Duplicate(other.m_pszName);
  m_eType = other.m_eType;
  return *this;
}

void CDynVariable::SetName(const char* name) {
  std::free(m_pszName);
  m_pszName = nullptr;
  if (name) m_pszName = Duplicate(name);
}

void CDynVariable::SetType(ETYPE type) {
  if (type >= eNone && type <= eReal) m_eType = type;
}

void CDynVariable::Reset(int keepName) {
  std::free(m_pszValue);
  m_pszValue = nullptr;
  if (!keepName) {
    std::free(m_pszName);
    m_pszName = nullptr;
  }
  m_eType = eNone;
}

void CDynVariable::SetValue(const char* value) {
  Reset(1);
  if (value) m_pszValue = Duplicate(value);
  m_eType = eString;
}

void CDynVariable::SetValue(int value) {
  Reset(1);
  m_pszValue = Zeroed(15);
  std::snprintf(m_pszValue, 15, "%d", value);
  m_eType = eInteger;
}

void CDynVariable::SetValue(double value) {
  Reset(1);
  // 110 bytes hold every "%lf" text up to about 1e100; a larger number gets the room
  // it needs rather than a cut text.
  const int needed = std::snprintf(nullptr, 0, "%lf", value);
  const size_t size = needed >= 110 ? size_t(needed) + 1 : 110;
  m_pszValue = Zeroed(size);
  std::snprintf(m_pszValue, size, "%lf", value);
  m_eType = eReal;
}

int CDynVariable::GetValue(CString& value) const {
  value.Empty();
  if (m_eType != eString) return 0;
  value = m_pszValue;
  return 1;
}

int CDynVariable::GetValue(int& value) const {
  value = 0;
  if (m_eType != eInteger) return 0;
  value = int(*this);
  return 1;
}

int CDynVariable::GetValue(double& value) const {
  value = 0.0;
  if (m_eType != eReal) return 0;
  value = double(*this);
  return 1;
}

CDynVariable::operator int() const {
  int value = 0;
  std::sscanf(m_pszValue ? m_pszValue : "", "%d", &value);
  return value;
}

CDynVariable::operator double() const {
  double value = 0.0;
  std::sscanf(m_pszValue ? m_pszValue : "", "%lf", &value);
  return value;
}

CDynVarMap::CDynVarMap(const CDynVarMap& other) : CDynVarMap() { *this = other; }

CDynVarMap& CDynVarMap::operator=(const CDynVarMap& other) {
  if (this == &other) return *this;
  RemoveAll();
  CString key;
  CDynVariable* value = nullptr;
  for (POSITION pos = other.GetStartPosition(); pos;) {
    other.GetNextAssoc(pos, key, value);
    SetAt(key, value ? new CDynVariable(*value) : nullptr);
  }
  return *this;
}

}  // namespace zev
