// Component-runtime basics: GUIDs, IUnknown, IDispatch, BSTR and _bstr_t.
// OLECHAR is 16-bit, as on the old platform.
#pragma once
#include <atomic>
#include <cstring>
#include <string>

#include "zevutil/platform/CException.h"

namespace zev {

struct GUID {
  DWORD Data1;
  WORD Data2;
  WORD Data3;
  BYTE Data4[8];
};
using IID = GUID;
using CLSID = GUID;
using REFIID = const IID&;
using REFCLSID = const CLSID&;
using REFGUID = const GUID&;
using LCID = DWORD;

inline bool IsEqualGUID(REFGUID a, REFGUID b) { return std::memcmp(&a, &b, sizeof(GUID)) == 0; }
inline bool operator==(REFGUID a, REFGUID b) { return IsEqualGUID(a, b); }
inline bool operator!=(REFGUID a, REFGUID b) { return !IsEqualGUID(a, b); }
inline constexpr GUID GUID_NULL = {0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}};
// {00000000-0000-0000-C000-000000000046}
inline constexpr IID IID_IUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
// {00020400-0000-0000-C000-000000000046}
inline constexpr IID IID_IDispatch = {0x00020400, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
// {00000001-0000-0000-C000-000000000046}
inline constexpr IID IID_IClassFactory = {0x00000001, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

// "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" in upper case.
CString GuidToString(REFGUID g);
// Parses the form above (braces optional); false on any other text.
bool StringToGuid(const char* text, GUID& out);

struct IUnknown {
  virtual HRESULT QueryInterface(REFIID riid, void** ppv) = 0;
  virtual ULONG AddRef() = 0;
  virtual ULONG Release() = 0;

 protected:
  ~IUnknown() = default;
};

struct ITypeInfo;
using DISPID = LONG;
struct IDispatch : IUnknown {
  virtual HRESULT GetTypeInfoCount(UINT* count) = 0;
  virtual HRESULT GetTypeInfo(UINT index, LCID lcid, ITypeInfo** info) = 0;

 protected:
  ~IDispatch() = default;
};

struct IClassFactory : IUnknown {
  virtual HRESULT CreateInstance(IUnknown* outer, REFIID riid, void** ppv) = 0;
  virtual HRESULT LockServer(BOOL lock) = 0;

 protected:
  ~IClassFactory() = default;
};

// ---- BSTR ----
using OLECHAR = char16_t;
using BSTR = OLECHAR*;
// A string of exactly len units (copied from src when given), NUL-ended, with its
// length kept in front of it. Null on allocation failure.
BSTR SysAllocStringLen(const OLECHAR* src, UINT len);
BSTR SysAllocString(const OLECHAR* src);
void SysFreeString(BSTR s);
UINT SysStringLen(BSTR s);
UINT SysStringByteLen(BSTR s);

// _bstr_t: a shared, reference-counted BSTR with a cached 8-bit form. 8-bit text
// widens byte for byte; units above 0xFF narrow to '?'.
class _bstr_t {
 public:
  _bstr_t() = default;
  _bstr_t(const _bstr_t& o) : m_data(o.m_data) { if (m_data) m_data->AddRef(); }
  _bstr_t(const char* s);      // NOLINT: implicit as in the runtime
  _bstr_t(const OLECHAR* s);   // NOLINT
  _bstr_t(BSTR s, bool copy);  // copy false takes ownership
  ~_bstr_t() { Release(); }
  _bstr_t& operator=(const _bstr_t& o);
  _bstr_t& operator=(const char* s) { return *this = _bstr_t(s); }

  UINT length() const { return m_data ? SysStringLen(m_data->m_wstr) : 0; }
  BSTR GetBSTR() const { return m_data ? m_data->m_wstr : nullptr; }
  BSTR copy(bool fromOwn = true) const;
  void Assign(BSTR s);
  void Attach(BSTR s);
  BSTR Detach();
  operator const OLECHAR*() const { return GetBSTR(); }  // NOLINT
  operator const char*() const;                            // NOLINT: null for a null string
  bool operator!() const { return m_data == nullptr || m_data->m_wstr == nullptr; }
  _bstr_t& operator+=(const _bstr_t& s);
  friend bool operator==(const _bstr_t& a, const _bstr_t& b);
  friend bool operator!=(const _bstr_t& a, const _bstr_t& b) { return !(a == b); }

 private:
  struct Data {
    std::atomic<long> m_ref{1};
    BSTR m_wstr = nullptr;
    mutable std::string* m_str = nullptr;
    explicit Data(BSTR w) : m_wstr(w) {}
    ~Data() { SysFreeString(m_wstr); delete m_str; }
    void AddRef() { m_ref.fetch_add(1, std::memory_order_relaxed); }
    void Release() { if (m_ref.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this; }
  };
  void Release() { if (m_data) m_data->Release(); m_data = nullptr; }
  Data* m_data = nullptr;
};

}  // namespace zev
