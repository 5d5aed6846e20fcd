// SysProcessChk: is a process of a given name running?
#pragma once
#include "zevutil/platform/CString.h"

namespace zev {

class SysProcessChk {
 public:
  SysProcessChk() = default;
  virtual ~SysProcessChk() = default;

  // Checks the system: a system of the NT family at version 4 or above, else the
  // last error "Unsupported OS version" and 0. Turns on full-length names where the
  // system reports them. Returns 1.
  BOOL Init();
  // Nonzero if a process of that name runs. A ".exe" after the first character cuts
  // the name there; without long names it is cut to 15 characters. Null gives 0.
  BOOL IsProcessExist(const char* name);
  // The text of the last failure; a process that does not run is no failure.
  CString GetLastError() const { return m_strLastError; }

 protected:
  // Looks the name up in the process table; 0 with a last-error text on failure.
  virtual BOOL FindProcesses(CString& name);

  CString m_strLastError;
  int m_bLongNames = 0;
};

}  // namespace zev
