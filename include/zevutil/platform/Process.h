// The system's version and its table of running processes.
#pragma once
#include "zevutil/platform/Types.h"

namespace zev {

inline constexpr DWORD VER_PLATFORM_WIN32s = 0;
inline constexpr DWORD VER_PLATFORM_WIN32_WINDOWS = 1;
inline constexpr DWORD VER_PLATFORM_WIN32_NT = 2;

struct OSVERSIONINFOA {
  DWORD dwOSVersionInfoSize;
  DWORD dwMajorVersion;
  DWORD dwMinorVersion;
  DWORD dwBuildNumber;
  DWORD dwPlatformId;
  char szCSDVersion[128];
};

// Describes this host as a system of the NT family whose version is the kernel's
// release (major.minor, the patch level as build number); szCSDVersion holds the
// system's name. FALSE with ERROR_INVALID_PARAMETER when the record's size field
// is not set to sizeof(OSVERSIONINFOA).
BOOL GetVersionExA(OSVERSIONINFOA* info);

// Whether the process table reports names in full (not cut to 15 characters).
BOOL ProcessTableHasLongNames();

// Whether a process of the given name runs: 1 when one does, 0 when none does, -1
// when the process table can't be read. A process answers to its command name (cut
// to 15 characters by the system), the base name of its executable and the base
// name of its first argument, each also without a ".exe" ending; names compare
// without regard to case.
int FindProcessByName(const char* name);

}  // namespace zev
