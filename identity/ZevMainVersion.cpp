// CZevVersionID::GetZevMainVersion: the installed suite's version from the registry.
#include <cstdlib>
#include <cstring>
#include <vector>

#include "zevutil/CZevVersionID.h"
#include "zevutil/platform/Registry.h"

namespace zev {

BOOL CZevVersionID::GetZevMainVersion() {
  static const char kSuiteKey[] = "SOFTWARE\\Halvorn Ostrava, Inc.\\ZEV 5500";
  // Reads a value of at most 32 bytes as a NUL-ended text.
  auto readText = [](HKEY key, const char* name, char (&out)[33]) {
    DWORD type = 0, size = 32;
    std::memset(out, 0, sizeof out);
    return RegQueryValueExA(key, name, nullptr, &type, reinterpret_cast<BYTE*>(out), &size) == ERROR_SUCCESS;
  };
  HKEY suite = nullptr;
  if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, kSuiteKey, 0, KEY_READ, &suite) != ERROR_SUCCESS) return FALSE;
  char install[33];
  bool ok = readText(suite, "LastInstallVersion", install);
  RegCloseKey(suite);
  if (!ok) return FALSE;

  CString path;
  path.Format("%s\\%s", kSuiteKey, install);
  HKEY release = nullptr;
  if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, path, 0, KEY_READ, &release) != ERROR_SUCCESS) return FALSE;
  char full[33];
  ok = readText(release, "FullVersion", full);
  RegCloseKey(release);
  if (!ok) return FALSE;

  // "major.minor.build": every piece up to the last is read; the first three count.
  std::vector<int> pieces;
  for (const char* p = full;;) {
    pieces.push_back(std::atoi(p));
    p = std::strchr(p, '.');
    if (!p) break;
    ++p;
  }
  int major = pieces[0];
  int minor = pieces.size() > 1 ? pieces[1] : 0;
  int build = pieces.size() > 2 ? pieces[2] : 0;
  VersionMS = (DWORD(major) << 16) | (DWORD(minor) & 0xFFFF);
  VersionLS = DWORD(build);
  return TRUE;
}

}  // namespace zev
