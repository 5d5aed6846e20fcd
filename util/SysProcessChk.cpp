// SysProcessChk over the host's process table.
#include "zevutil/SysProcessChk.h"

#include <cstring>

#include "zevutil/platform/Process.h"

namespace zev {

BOOL SysProcessChk::Init() {
  OSVERSIONINFOA info{};
  info.dwOSVersionInfoSize = sizeof info;
  if (!GetVersionExA(&info) || info.dwPlatformId != VER_PLATFORM_WIN32_NT || info.dwMajorVersion < 4) {
    m_strLastError = "Unsupported OS version";
    return FALSE;
  }
  // Kept: version 5.1 exactly reports names in full; elsewhere the host says whether it does.
  if ((info.dwMajorVersion == 5 && info.dwMinorVersion == 1) || ProcessTableHasLongNames()) m_bLongNames = 1;
  return TRUE;
}

BOOL SysProcessChk::IsProcessExist(const char* name) {
  if (!name) return FALSE;
  CString wanted(name);
  // Kept: the cut is case-sensitive and ignores a ".exe" at the very start.
  const char* exe = std::strstr(name, ".exe");
  if (exe && exe != name) wanted = wanted.Left(int(exe - name));
  if (!m_bLongNames && wanted.GetLength() > 15) wanted = wanted.Left(15);
  return FindProcesses(wanted);
}

BOOL SysProcessChk::FindProcesses(CString& name) {
  if (name.IsEmpty()) return FALSE;
  int found = FindProcessByName(name);
  if (found < 0) {
    m_strLastError = "Could Not Obtain Performance Data";
    return FALSE;
  }
  return found ? TRUE : FALSE;
}

}  // namespace zev
