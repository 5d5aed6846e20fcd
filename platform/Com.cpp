// GUID text forms, BSTR allocation and _bstr_t.
#include "zevutil/platform/Com.h"

#include <cstdio>
#include <cstdlib>

namespace zev {

CString GuidToString(REFGUID g) {
  CString s;
  s.Format("{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", unsigned(g.Data1), unsigned(g.Data2),
           unsigned(g.Data3), g.Data4[0], g.Data4[1], g.Data4[2], g.Data4[3], g.Data4[4], g.Data4[5],
           g.Data4[6], g.Data4[7]);
  return s;
}

bool StringToGuid(const char* text, GUID& out) {
  if (!text) return false;
  std::string t(text);
  if (t.size() == 38 && t.front() == '{' && t.back() == '}') t = t.substr(1, 36);
  if (t.size() != 36) return false;
  static const int dashes[] = {8, 13, 18, 23};
  BYTE b[16];
  int n = 0;
  for (size_t i = 0; i < t.size();) {
    if (i == 8 || i == 13 || i == 18 || i == 23) {
      if (t[i] != '-') return false;
      ++i;
      continue;
    }
    auto hex = [](char c) -> int {
      if (c >= '0' && c <= '9') return c - '0';
      if (c >= 'a' && c <= 'f') return c - 'a' + 10;
      if (c >= 'A' && c <= 'F') return c - 'A' + 10;
      return -1;
    };
    int hi = hex(t[i]), lo = hex(t[i + 1]);
    if (hi < 0 || lo < 0) return false;
    b[n++] = BYTE(hi * 16 + lo);
    i += 2;
  }
  (void)dashes;
  out.Data1 = (DWORD(b[0]) << 24) | (DWORD(b[1]) << 16) | (DWORD(b[2]) << 8) | b[3];
  out.Data2 = WORD((b[4] << 8) | b[5]);
  out.Data3 = WORD((b[6] << 8) | b[7]);
  std::memcpy(out.Data4, b + 8, 8);
  return true;
}

BSTR SysAllocStringLen(const OLECHAR* src, UINT len) {
  if (len > 0x3FFFFFFF) return nullptr;
  char* block = static_cast<char*>(std::malloc(sizeof(DWORD) + (size_t(len) + 1) * sizeof(OLECHAR)));
  if (!block) return nullptr;
  DWORD bytes = DWORD(len * sizeof(OLECHAR));
  std::memcpy(block, &bytes, sizeof bytes);
  BSTR s = reinterpret_cast<BSTR>(block + sizeof(DWORD));
  if (src) std::memcpy(s, src, size_t(len) * sizeof(OLECHAR));
  else std::memset(s, 0, size_t(len) * sizeof(OLECHAR));
  s[len] = 0;
  return s;
}

BSTR SysAllocString(const OLECHAR* src) {
  if (!src) return nullptr;
  UINT n = 0;
  while (src[n]) ++n;
  return SysAllocStringLen(src, n);
}

void SysFreeString(BSTR s) {
  if (s) std::free(reinterpret_cast<char*>(s) - sizeof(DWORD));
}

UINT SysStringByteLen(BSTR s) {
  if (!s) return 0;
  DWORD bytes;
  std::memcpy(&bytes, reinterpret_cast<char*>(s) - sizeof(DWORD), sizeof bytes);
  return bytes;
}

UINT SysStringLen(BSTR s) { return SysStringByteLen(s) / sizeof(OLECHAR); }

_bstr_t::_bstr_t(const char* s) {
  if (!s) return;
  size_t n = std::strlen(s);
  BSTR w = SysAllocStringLen(nullptr, UINT(n));
  if (!w) AfxThrowMemoryException();
  for (size_t i = 0; i < n; ++i) w[i] = OLECHAR(static_cast<unsigned char>(s[i]));
  m_data = new Data(w);
}

_bstr_t::_bstr_t(const OLECHAR* s) {
  if (!s) return;
  BSTR w = SysAllocString(s);
  if (!w) AfxThrowMemoryException();
  m_data = new Data(w);
}

_bstr_t::_bstr_t(BSTR s, bool copy) {
  if (!copy) {
    m_data = new Data(s);
    return;
  }
  if (!s) return;
  BSTR w = SysAllocStringLen(s, SysStringLen(s));
  if (!w) AfxThrowMemoryException();
  m_data = new Data(w);
}

_bstr_t& _bstr_t::operator=(const _bstr_t& o) {
  if (m_data != o.m_data) {
    Release();
    m_data = o.m_data;
    if (m_data) m_data->AddRef();
  }
  return *this;
}

BSTR _bstr_t::copy(bool fromOwn) const {
  BSTR w = GetBSTR();
  if (!fromOwn || !w) return w;
  return SysAllocStringLen(w, SysStringLen(w));
}

void _bstr_t::Assign(BSTR s) { *this = _bstr_t(s, true); }

void _bstr_t::Attach(BSTR s) {
  Release();
  m_data = new Data(s);
}

BSTR _bstr_t::Detach() {
  if (!m_data) return nullptr;
  BSTR w = m_data->m_wstr;
  if (m_data->m_ref.load() == 1) {
    m_data->m_wstr = nullptr;
    Release();
    return w;
  }
  BSTR c = SysAllocStringLen(w, SysStringLen(w));
  Release();
  return c;
}

_bstr_t::operator const char*() const {
  if (!m_data || !m_data->m_wstr) return nullptr;
  if (!m_data->m_str) {
    UINT n = SysStringLen(m_data->m_wstr);
    std::string* s = new std::string(n, '\0');
    for (UINT i = 0; i < n; ++i) {
      OLECHAR c = m_data->m_wstr[i];
      (*s)[i] = c < 0x100 ? char(c) : '?';
    }
    m_data->m_str = s;
  }
  return m_data->m_str->c_str();
}

_bstr_t& _bstr_t::operator+=(const _bstr_t& s) {
  UINT a = length(), b = s.length();
  BSTR w = SysAllocStringLen(nullptr, a + b);
  if (!w) AfxThrowMemoryException();
  if (a) std::memcpy(w, GetBSTR(), a * sizeof(OLECHAR));
  if (b) std::memcpy(w + a, s.GetBSTR(), b * sizeof(OLECHAR));
  Attach(w);
  return *this;
}

bool operator==(const _bstr_t& a, const _bstr_t& b) {
  UINT n = a.length();
  if (n != b.length()) return false;
  if (n == 0) return true;
  return std::memcmp(a.GetBSTR(), b.GetBSTR(), n * sizeof(OLECHAR)) == 0;
}

}  // namespace zev
