// CRegistryValue: one named value in the registry, and typed values that keep
// their data in an allocated cell (TRegistryValue, CRegistryString, CRegistryBinary).
#pragma once
#include <cstring>
#include <type_traits>

#include "zevutil/platform/CString.h"
#include "zevutil/platform/Collections.h"
#include "zevutil/platform/Registry.h"

namespace zev {

class CRegistryValue {
 public:
  // The local key starts closed.
  CRegistryValue(const char* key = nullptr, const char* value = nullptr, HKEY root = HKEY_CURRENT_USER,
                 DWORD type = REG_BINARY);
  // Takes root, names and type; opens a key of its own if the source has one open.
  CRegistryValue(const CRegistryValue& other);
  CRegistryValue& operator=(const CRegistryValue& other);
  virtual ~CRegistryValue();  // closes an open local key

  CRegistryValue& SetKeyName(const char* key);
  CRegistryValue& SetValueName(const char* value);
  CRegistryValue& SetRootKey(HKEY root);
  // Closes an open local key and keeps the given one.
  void SetLocalKey(HKEY key);

  HKEY GetRootKey() const { return m_hRootKey; }
  const CString& GetKeyName() const { return m_strKeyName; }
  const CString& GetValueName() const { return m_strValueName; }
  DWORD GetType() const { return m_dwType; }
  HKEY GetLocalKey() const { return m_hLocalKey; }

  // Writes getData()'s bytes with the value's type, creating the key if needed.
  // Nonzero on success; 0 when there is no data or the registry refuses.
  BOOL Save();
  // Reads the value through onAllocRead and onReadData. Nonzero once data was
  // handed over; 0 for a missing key or value, an empty value, or a size the
  // subclass does not take.
  BOOL Read();

 protected:
  // The data to save (null for none) and its size; releaseData follows a save.
  virtual BYTE* getData(DWORD& size);
  virtual void releaseData();
  // How many bytes to read of a value of the given size (0: none).
  virtual DWORD onAllocRead(DWORD size);
  // The bytes read, in a block made with new BYTE[]. Nonzero: the subclass keeps the
  // block and frees it with delete[]; zero: Read frees it.
  virtual BOOL onReadData(BYTE* data, DWORD size);

  // Opens the key with full access; creates it unless mustExist. Nonzero on success.
  BOOL openLocalKey(int mustExist);

  HKEY m_hRootKey;
  CString m_strKeyName;
  CString m_strValueName;
  DWORD m_dwType;
  HKEY m_hLocalKey = nullptr;

 private:
  void CopyFrom(const CRegistryValue& other);
};

// A value of a fixed-size type, stored as its bytes (REG_DWORD for a DWORD, binary
// for a colour or a record). Read takes only a value of exactly sizeof(T) bytes.
template <class T, DWORD RegType = REG_BINARY>
class TRegistryValue : public CRegistryValue {
  static_assert(std::is_trivially_copyable_v<T>, "stored as raw bytes");

 public:
  TRegistryValue(const char* key = nullptr, const char* value = nullptr, HKEY root = HKEY_CURRENT_USER,
                 const T& initial = T())
      : CRegistryValue(key, value, root, RegType), m_pValue(new T(initial)) {}
  TRegistryValue(const TRegistryValue& o) : CRegistryValue(o), m_pValue(new T(*o.m_pValue)) {}
  TRegistryValue& operator=(const TRegistryValue& o) {
    CRegistryValue::operator=(o);
    *m_pValue = *o.m_pValue;
    return *this;
  }
  ~TRegistryValue() override { delete m_pValue; }

  const T& GetValue() const { return *m_pValue; }
  void SetValue(const T& v) { *m_pValue = v; }
  operator T() const { return *m_pValue; }  // NOLINT

 protected:
  BYTE* getData(DWORD& size) override {
    size = DWORD(sizeof(T));
    return reinterpret_cast<BYTE*>(m_pValue);
  }
  DWORD onAllocRead(DWORD) override { return DWORD(sizeof(T)); }
  BOOL onReadData(BYTE* data, DWORD size) override {
    if (size == sizeof(T)) std::memcpy(static_cast<void*>(m_pValue), data, sizeof(T));
    return FALSE;
  }

  T* m_pValue;
};

using CRegistryDWord = TRegistryValue<DWORD, REG_DWORD>;

// A text value (REG_SZ), saved with its NUL; a read takes the bytes up to the first NUL.
class CRegistryString : public CRegistryValue {
 public:
  CRegistryString(const char* key = nullptr, const char* value = nullptr, HKEY root = HKEY_CURRENT_USER,
                  const char* initial = nullptr);
  CRegistryString(const CRegistryString& o);
  CRegistryString& operator=(const CRegistryString& o);
  ~CRegistryString() override;

  const CString& GetValue() const { return *m_pValue; }
  void SetValue(const char* v) { *m_pValue = v; }

 protected:
  BYTE* getData(DWORD& size) override;
  DWORD onAllocRead(DWORD size) override;
  BOOL onReadData(BYTE* data, DWORD size) override;

  CString* m_pValue;
};

// Binary data of any length (REG_BINARY).
class CRegistryBinary : public CRegistryValue {
 public:
  CRegistryBinary(const char* key = nullptr, const char* value = nullptr, HKEY root = HKEY_CURRENT_USER);
  CRegistryBinary(const CRegistryBinary& o);
  CRegistryBinary& operator=(const CRegistryBinary& o);
  ~CRegistryBinary() override;

  const CByteArray& GetValue() const { return *m_pValue; }
  void SetValue(const BYTE* data, DWORD size);

 protected:
  BYTE* getData(DWORD& size) override;
  DWORD onAllocRead(DWORD size) override;
  BOOL onReadData(BYTE* data, DWORD size) override;

  CByteArray* m_pValue;
};

}  // namespace zev
