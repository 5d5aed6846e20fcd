// The system version (uname) and the process table (/proc).
// Contract: the table is read afresh on each call; processes that end or deny access
// while it is read are skipped; only small bounded reads are made per process.
#include <dirent.h>
#include <fcntl.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

#include "zevutil/platform/Host.h"
#include "zevutil/platform/Locale.h"
#include "zevutil/platform/Process.h"

namespace zev {

namespace {

// Reads up to max bytes of a small /proc file.
std::string ReadSmallFile(const std::string& path, size_t max) {
  std::string out;
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return out;
  out.resize(max);
  size_t got = 0;
  while (got < max) {
    ssize_t n = ::read(fd, out.data() + got, max - got);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    got += size_t(n);
  }
  ::close(fd);
  out.resize(got);
  return out;
}

std::string BaseName(const std::string& path) {
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

bool NameMatches(std::string candidate, const char* name) {
  if (candidate.empty()) return false;
  if (Cp1252CompareNoCase(candidate.c_str(), name) == 0) return true;
  // Programs run through a compatibility layer show their ".exe" name.
  if (candidate.size() > 4 && Cp1252CompareNoCase(candidate.c_str() + candidate.size() - 4, ".exe") == 0) {
    candidate.resize(candidate.size() - 4);
    return Cp1252CompareNoCase(candidate.c_str(), name) == 0;
  }
  return false;
}

bool IsPidName(const char* s) {
  if (!*s) return false;
  for (; *s; ++s)
    if (*s < '0' || *s > '9') return false;
  return true;
}

}  // namespace

BOOL GetVersionExA(OSVERSIONINFOA* info) {
  if (!info || info->dwOSVersionInfoSize != sizeof(OSVERSIONINFOA)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  struct utsname u {};
  if (::uname(&u) != 0) {
    SetLastError(ErrnoToWin32(errno));
    return FALSE;
  }
  char* end = nullptr;
  unsigned long major = std::strtoul(u.release, &end, 10);
  unsigned long minor = (end && *end == '.') ? std::strtoul(end + 1, &end, 10) : 0;
  unsigned long build = (end && *end == '.') ? std::strtoul(end + 1, &end, 10) : 0;
  info->dwMajorVersion = DWORD(major);
  info->dwMinorVersion = DWORD(minor);
  info->dwBuildNumber = DWORD(build);
  info->dwPlatformId = VER_PLATFORM_WIN32_NT;
  std::memset(info->szCSDVersion, 0, sizeof info->szCSDVersion);
  std::strncpy(info->szCSDVersion, u.sysname, sizeof info->szCSDVersion - 1);
  return TRUE;
}

BOOL ProcessTableHasLongNames() { return TRUE; }

int FindProcessByName(const char* name) {
  if (!name || !*name) return 0;
  DIR* d = ::opendir("/proc");
  if (!d) return -1;
  int found = 0;
  while (!found) {
    struct dirent* e = ::readdir(d);
    if (!e) break;
    if (!IsPidName(e->d_name)) continue;
    std::string dir = std::string("/proc/") + e->d_name;
    std::string comm = ReadSmallFile(dir + "/comm", 64);
    if (!comm.empty() && comm.back() == '\n') comm.pop_back();
    if (NameMatches(comm, name)) {
      found = 1;
      break;
    }
    std::string cmdline = ReadSmallFile(dir + "/cmdline", 4096);
    std::string argv0(cmdline.c_str());  // up to the first NUL
    if (NameMatches(BaseName(argv0), name)) {
      found = 1;
      break;
    }
    char target[PATH_MAX];
    ssize_t n = ::readlink((dir + "/exe").c_str(), target, sizeof target - 1);
    if (n > 0) {
      target[n] = '\0';
      std::string exe = target;
      const char* deleted = " (deleted)";
      if (exe.size() > std::strlen(deleted) && exe.compare(exe.size() - std::strlen(deleted), std::string::npos, deleted) == 0)
        exe.resize(exe.size() - std::strlen(deleted));
      if (NameMatches(BaseName(exe), name)) found = 1;
    }
  }
  ::closedir(d);
  return found;
}

}  // namespace zev
