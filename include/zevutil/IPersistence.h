// IPersistence: the interface through which the database component receives an
// identifier's fields (CObSeqID::SetIPersistenceParameters). The library only calls
// it; the database component implements it.
#pragma once
#include "zevutil/platform/Com.h"

namespace zev {

// {5A455601-2D01-4B1E-9F3A-6C2E1D0B7A11}
inline constexpr IID IID_IPersistence = {0x5A455601, 0x2D01, 0x4B1E, {0x9F, 0x3A, 0x6C, 0x2E, 0x1D, 0x0B, 0x7A, 0x11}};

// The eight put operations, in the order of the interface's slots. A text arrives as
// a BSTR-shaped pointer into a buffer the caller reuses: the 32-bit word in front of
// it holds the length in characters, and the text (at most 512 characters) follows
// as 16-bit units and a NUL. Use or copy it before returning.
struct IPersistence : IUnknown {
  virtual HRESULT put_DatabaseName(BSTR value) = 0;
  virtual HRESULT put_ObName(BSTR value) = 0;
  virtual HRESULT put_ObToken(LONG value) = 0;
  virtual HRESULT put_ObType(LONG value) = 0;
  virtual HRESULT put_ObAttrFlags(LONG value) = 0;
  virtual HRESULT put_DatabaseIndex(LONG value) = 0;
  virtual HRESULT put_ObBarCode(BSTR value) = 0;
  virtual HRESULT put_ObSubjectID(BSTR value) = 0;

 protected:
  ~IPersistence() = default;
};

}  // namespace zev
