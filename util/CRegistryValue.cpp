// CRegistryValue and its typed values.
#include "zevutil/CRegistryValue.h"

#include <memory>
#include <new>

namespace zev {

CRegistryValue::CRegistryValue(const char* key, const char* value, HKEY root, DWORD type)
    : m_hRootKey(root), m_strKeyName(key), m_strValueName(value), m_dwType(type) {}

CRegistryValue::CRegistryValue(const CRegistryValue& other)
    : m_hRootKey(other.m_hRootKey),
      m_strKeyName(other.m_strKeyName),
      m_strValueName(other.m_strValueName),
      m_dwType(other.m_dwType) {
  CopyFrom(other);
}

CRegistryValue& CRegistryValue::operator=(const CRegistryValue& other) {
  if (this == &other) return *this;
  m_hRootKey = other.m_hRootKey;
  m_strKeyName = other.m_strKeyName;
  m_strValueName = other.m_strValueName;
  m_dwType = other.m_dwType;
  CopyFrom(other);
  return *this;
}

void CRegistryValue::CopyFrom(const CRegistryValue& other) {
  SetLocalKey(nullptr);
  if (other.m_hLocalKey) {
    HKEY own = nullptr;
    if (RegOpenKeyExA(other.m_hLocalKey, "", 0, KEY_ALL_ACCESS, &own) == ERROR_SUCCESS) m_hLocalKey = own;
  }
}

CRegistryValue::~CRegistryValue() { SetLocalKey(nullptr); }

CRegistryValue& CRegistryValue::SetKeyName(const char* key) {
  m_strKeyName = key;
  return *this;
}

CRegistryValue& CRegistryValue::SetValueName(const char* value) {
  m_strValueName = value;
  return *this;
}

CRegistryValue& CRegistryValue::SetRootKey(HKEY root) {
  m_hRootKey = root;
  return *this;
}

void CRegistryValue::SetLocalKey(HKEY key) {
  if (m_hLocalKey) RegCloseKey(m_hLocalKey);
  m_hLocalKey = key;
}

BYTE* CRegistryValue::getData(DWORD&) { return nullptr; }
void CRegistryValue::releaseData() {}
DWORD CRegistryValue::onAllocRead(DWORD size) { return size; }
BOOL CRegistryValue::onReadData(BYTE*, DWORD) { return FALSE; }

BOOL CRegistryValue::openLocalKey(int mustExist) {
  if (m_hLocalKey) return TRUE;
  if (!m_hRootKey || m_strKeyName.IsEmpty()) return FALSE;
  HKEY key = nullptr;
  if (RegOpenKeyExA(m_hRootKey, m_strKeyName, 0, KEY_ALL_ACCESS, &key) == ERROR_SUCCESS) {
    m_hLocalKey = key;
    return TRUE;
  }
  if (mustExist) return FALSE;
  DWORD disposition = 0;
  if (RegCreateKeyExA(m_hRootKey, m_strKeyName, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, &key,
                      &disposition) != ERROR_SUCCESS)
    return FALSE;
  m_hLocalKey = key;
  return TRUE;
}

BOOL CRegistryValue::Save() {
  if (!openLocalKey(0)) return FALSE;
  DWORD size = 0;
  BYTE* data = getData(size);
  if (!data || size == 0) return FALSE;
  LONG result = RegSetValueExA(m_hLocalKey, m_strValueName, 0, m_dwType, data, size);
  releaseData();
  return result == ERROR_SUCCESS ? TRUE : FALSE;
}

BOOL CRegistryValue::Read() {
  if (!openLocalKey(1)) return FALSE;
  DWORD type = 0, size = 0;
  if (RegQueryValueExA(m_hLocalKey, m_strValueName, nullptr, &type, nullptr, &size) != ERROR_SUCCESS || size == 0)
    return FALSE;
  DWORD want = onAllocRead(size);
  if (want == 0 || want > size) return FALSE;
  BYTE* block = new (std::nothrow) BYTE[want];
  if (!block) return FALSE;
  DWORD got = want;
  if (RegQueryValueExA(m_hLocalKey, m_strValueName, nullptr, &type, block, &got) != ERROR_SUCCESS || got == 0) {
    delete[] block;
    return FALSE;
  }
  if (!onReadData(block, got)) delete[] block;
  return TRUE;
}

// ---- CRegistryString ----

CRegistryString::CRegistryString(const char* key, const char* value, HKEY root, const char* initial)
    : CRegistryValue(key, value, root, REG_SZ), m_pValue(new CString(initial)) {}

CRegistryString::CRegistryString(const CRegistryString& o) : CRegistryValue(o), m_pValue(new CString(*o.m_pValue)) {}

CRegistryString& CRegistryString::operator=(const CRegistryString& o) {
  CRegistryValue::operator=(o);
  *m_pValue = *o.m_pValue;
  return *this;
}

CRegistryString::~CRegistryString() { delete m_pValue; }

BYTE* CRegistryString::getData(DWORD& size) {
  size = DWORD(m_pValue->GetLength() + 1);
  return reinterpret_cast<BYTE*>(const_cast<char*>(m_pValue->GetString()));
}

DWORD CRegistryString::onAllocRead(DWORD size) { return size; }

BOOL CRegistryString::onReadData(BYTE* data, DWORD size) {
  const char* text = reinterpret_cast<const char*>(data);
  DWORD n = 0;
  while (n < size && text[n]) ++n;
  *m_pValue = CString(text, int(n));
  return FALSE;
}

// ---- CRegistryBinary ----

CRegistryBinary::CRegistryBinary(const char* key, const char* value, HKEY root)
    : CRegistryValue(key, value, root, REG_BINARY), m_pValue(new CByteArray) {}

CRegistryBinary::CRegistryBinary(const CRegistryBinary& o) : CRegistryValue(o), m_pValue(new CByteArray(*o.m_pValue)) {}

CRegistryBinary& CRegistryBinary::operator=(const CRegistryBinary& o) {
  CRegistryValue::operator=(o);
  m_pValue->Copy(*o.m_pValue);
  return *this;
}

CRegistryBinary::~CRegistryBinary() { delete m_pValue; }

void CRegistryBinary::SetValue(const BYTE* data, DWORD size) {
  m_pValue->SetSize(data ? INT_PTR(size) : 0);
  if (data && size) std::memcpy(m_pValue->GetData(), data, size);
}

BYTE* CRegistryBinary::getData(DWORD& size) {
  size = DWORD(m_pValue->GetSize());
  return m_pValue->GetData();
}

DWORD CRegistryBinary::onAllocRead(DWORD size) { return size; }

BOOL CRegistryBinary::onReadData(BYTE* data, DWORD size) {
  SetValue(data, size);
  return FALSE;
}

}  // namespace zev
