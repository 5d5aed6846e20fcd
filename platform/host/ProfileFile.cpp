// INI profiles with the old platform's reading and writing rules, and the
// application profile.
// Contract: reads take the file as it is on disk (writers replace it whole, so a
// read never sees a half-written file); a write holds an exclusive flock on
// "<file>.lock" for its read-modify-write, writes "<file>.~<pid>.<n>" and renames it
// over the file. Any bytes parse; files above 64 MiB are refused as unreadable.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zevutil/platform/Host.h"
#include "zevutil/platform/Locale.h"
#include "zevutil/platform/Profile.h"
#include "zevutil/platform/Registry.h"

namespace zev {

namespace {

constexpr size_t kMaxProfileBytes = size_t(64) << 20;

// ---- parsing ----

enum class LineKind { Blank, Comment, Section, Entry };

struct Line {
  size_t begin = 0;   // first byte of the line
  size_t end = 0;     // end of its text, before the line end
  size_t next = 0;    // first byte after the line end
  LineKind kind = LineKind::Blank;
  std::string name;   // section name, or key name of an entry
  std::string value;  // an entry's value, quotes removed
  bool hasEquals = false;
};

bool IsLineBlank(char c) { return c == ' ' || c == '\t' || c == '\v' || c == '\f' || c == '\r' || c == '\n'; }
bool IsFieldBlank(char c) { return c == ' ' || c == '\t' || c == '\v'; }

std::string_view Trim(std::string_view s, bool (*blank)(char)) {
  while (!s.empty() && blank(s.front())) s.remove_prefix(1);
  while (!s.empty() && blank(s.back())) s.remove_suffix(1);
  return s;
}

std::string_view TrimSpaces(std::string_view s) {
  while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
  while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
  return s;
}

std::string Unquote(std::string_view v) {
  if (v.size() >= 2 && (v.front() == '"' || v.front() == '\'') && v.back() == v.front())
    v = v.substr(1, v.size() - 2);
  return std::string(v);
}

std::vector<Line> ParseLines(const std::string& text) {
  std::vector<Line> lines;
  size_t pos = 0;
  while (pos < text.size()) {
    Line ln;
    ln.begin = pos;
    size_t e = pos;
    while (e < text.size() && text[e] != '\r' && text[e] != '\n') ++e;
    ln.end = e;
    if (e < text.size()) {
      if (text[e] == '\r' && e + 1 < text.size() && text[e + 1] == '\n') e += 2;
      else e += 1;
    }
    ln.next = e;
    pos = e;
    std::string_view body = Trim(std::string_view(text).substr(ln.begin, ln.end - ln.begin), IsLineBlank);
    if (body.empty()) {
      ln.kind = LineKind::Blank;
    } else if (body.front() == ';') {
      ln.kind = LineKind::Comment;
    } else if (body.front() == '[') {
      ln.kind = LineKind::Section;
      std::string_view inner = body.substr(1);
      size_t close = inner.find(']');
      if (close != std::string_view::npos) inner = inner.substr(0, close);
      ln.name = std::string(Trim(inner, IsLineBlank));
    } else {
      ln.kind = LineKind::Entry;
      size_t eq = body.find('=');
      ln.hasEquals = eq != std::string_view::npos;
      ln.name = std::string(Trim(body.substr(0, eq), IsFieldBlank));
      if (ln.hasEquals) ln.value = Unquote(Trim(body.substr(eq + 1), IsFieldBlank));
    }
    lines.push_back(std::move(ln));
  }
  return lines;
}

bool SameName(const std::string& a, std::string_view b) {
  return Cp1252CompareNoCase(a.c_str(), std::string(b).c_str()) == 0;
}

// The first section of that name: index of its header, or -1.
ptrdiff_t FindSection(const std::vector<Line>& lines, std::string_view name) {
  for (size_t i = 0; i < lines.size(); ++i)
    if (lines[i].kind == LineKind::Section && SameName(lines[i].name, name)) return ptrdiff_t(i);
  return -1;
}

// One past the last line of the section whose header is at index sec.
size_t SectionEnd(const std::vector<Line>& lines, size_t sec) {
  size_t i = sec + 1;
  while (i < lines.size() && lines[i].kind != LineKind::Section) ++i;
  return i;
}

ptrdiff_t FindKey(const std::vector<Line>& lines, size_t sec, std::string_view key) {
  size_t end = SectionEnd(lines, sec);
  for (size_t i = sec + 1; i < end; ++i)
    if (lines[i].kind == LineKind::Entry && lines[i].hasEquals && SameName(lines[i].name, key)) return ptrdiff_t(i);
  return -1;
}

// ---- files ----

// Reads the whole file; ERROR_SUCCESS, or the error (ERROR_FILE_NOT_FOUND for none).
DWORD ReadProfileFile(const std::string& path, std::string& text) {
  text.clear();
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return errno == ENOENT || errno == ENOTDIR ? ERROR_FILE_NOT_FOUND : ErrnoToWin32(errno);
  struct stat st {};
  if (::fstat(fd, &st) != 0 || S_ISDIR(st.st_mode) || std::uint64_t(st.st_size) > kMaxProfileBytes) {
    ::close(fd);
    return ERROR_ACCESS_DENIED;
  }
  char buf[65536];
  for (;;) {
    ssize_t n = ::read(fd, buf, sizeof buf);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      int err = errno;
      ::close(fd);
      return ErrnoToWin32(err);
    }
    if (n == 0) break;
    if (text.size() + size_t(n) > kMaxProfileBytes) {
      ::close(fd);
      return ERROR_ACCESS_DENIED;
    }
    text.append(buf, size_t(n));
  }
  ::close(fd);
  return ERROR_SUCCESS;
}

bool WriteAll(int fd, const std::string& data) {
  size_t done = 0;
  while (done < data.size()) {
    ssize_t n = ::write(fd, data.data() + done, data.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += size_t(n);
  }
  return true;
}

std::atomic<unsigned> g_tempCounter{0};

// Replaces the file with text through a temporary file in the same folder.
DWORD ReplaceFile(const std::string& path, const std::string& text, const struct stat* old) {
  std::string tmp = path + ".~" + std::to_string(::getpid()) + "." + std::to_string(g_tempCounter++);
  int fd = ::open(tmp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (fd < 0) return ErrnoToWin32(errno);
  bool ok = WriteAll(fd, text);
  if (ok && old) ok = ::fchmod(fd, old->st_mode & 07777) == 0 || errno == EPERM;
  if (ok) ok = ::fsync(fd) == 0;
  int err = errno;
  ok = ::close(fd) == 0 && ok;
  if (ok && ::rename(tmp.c_str(), path.c_str()) == 0) return ERROR_SUCCESS;
  if (!err) err = errno;
  ::unlink(tmp.c_str());
  return ErrnoToWin32(err ? err : EIO);
}

// An exclusive lock on the sidecar lock file, held for one read-modify-write.
class ProfileLock {
 public:
  explicit ProfileLock(const std::string& path) {
    std::string lockPath = path + ".lock";
    m_fd = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (m_fd < 0) {
      m_error = ErrnoToWin32(errno);
      return;
    }
    while (::flock(m_fd, LOCK_EX) != 0) {
      if (errno != EINTR) {
        m_error = ErrnoToWin32(errno);
        break;
      }
    }
  }
  ~ProfileLock() {
    if (m_fd >= 0) ::close(m_fd);  // closing releases the lock
  }
  ProfileLock(const ProfileLock&) = delete;
  ProfileLock& operator=(const ProfileLock&) = delete;
  DWORD Error() const { return m_error; }

 private:
  int m_fd = -1;
  DWORD m_error = ERROR_SUCCESS;
};

// ---- settings ----

struct Settings {
  std::mutex lock;
  std::string profileDir;  // empty: the default
  std::string appProfile;  // empty: the default
  std::string company, application;
};

Settings& Config() {
  static Settings s;
  return s;
}

std::string DefaultProfileDirectory() {
  const char* xdg = std::getenv("XDG_CONFIG_HOME");
  std::string base;
  if (xdg && xdg[0] == '/') base = xdg;
  else if (const char* home = std::getenv("HOME"); home && home[0]) base = std::string(home) + "/.config";
  else base = ".config";
  return base + "/zevutil";
}

std::string ProgramBaseName() {
  char buf[PATH_MAX + 1];
  ssize_t n = ::readlink("/proc/self/exe", buf, PATH_MAX);
  if (n <= 0) return "application";
  buf[n] = '\0';
  const char* slash = std::strrchr(buf, '/');
  std::string name = slash ? slash + 1 : buf;
  size_t dot = name.rfind('.');
  if (dot != std::string::npos && dot > 0) name.resize(dot);
  return name.empty() ? "application" : name;
}

// Copies a value into the caller's buffer by the truncation rules.
DWORD CopyValue(std::string_view value, char* ret, DWORD nSize) {
  size_t n = value.size();
  if (n > nSize - 1) {
    n = nSize - 1;
    SetLastError(ERROR_MORE_DATA);
  } else {
    SetLastError(ERROR_SUCCESS);
  }
  if (n) std::memcpy(ret, value.data(), n);
  ret[n] = '\0';
  return DWORD(n);
}

// Copies a list of names, each with its NUL, and a final NUL.
DWORD CopyList(const std::vector<std::string>& names, char* ret, DWORD nSize) {
  if (nSize < 3) {
    std::memset(ret, 0, nSize);
    return 0;
  }
  size_t pos = 0;
  for (const std::string& n : names) {
    if (pos + n.size() + 1 > size_t(nSize) - 1) {
      size_t room = size_t(nSize) - 2 > pos ? size_t(nSize) - 2 - pos : 0;
      if (room) std::memcpy(ret + pos, n.data(), room);
      ret[nSize - 2] = '\0';
      ret[nSize - 1] = '\0';
      SetLastError(ERROR_MORE_DATA);
      return nSize - 2;
    }
    if (!n.empty()) std::memcpy(ret + pos, n.data(), n.size());
    pos += n.size();
    ret[pos++] = '\0';
  }
  ret[pos] = '\0';
  return DWORD(pos);
}

// The value of section/key in text, if there is one.
std::optional<std::string> LookUp(const std::string& text, std::string_view section, std::string_view key) {
  if (key.empty() || key.front() == ';') return std::nullopt;
  std::vector<Line> lines = ParseLines(text);
  ptrdiff_t sec = FindSection(lines, section);
  if (sec < 0) return std::nullopt;
  ptrdiff_t k = FindKey(lines, size_t(sec), key);
  if (k < 0) return std::nullopt;
  return lines[size_t(k)].value;
}

std::string LineEndFor(const std::string& text) {
  return !text.empty() && text.back() != '\n' && text.back() != '\r' ? "\r\n" : "";
}

// Applies one write to the text; false when nothing changes.
bool EditProfile(std::string& text, std::string_view section, const char* key, const char* value) {
  std::vector<Line> lines = ParseLines(text);
  ptrdiff_t sec = FindSection(lines, section);
  if (!key) {
    if (sec < 0) return false;
    // The header and the section's entries go; comments and blank lines stay.
    size_t end = SectionEnd(lines, size_t(sec));
    std::string out = text.substr(0, lines[size_t(sec)].begin);
    for (size_t i = size_t(sec) + 1; i < end; ++i)
      if (lines[i].kind != LineKind::Entry) out.append(text, lines[i].begin, lines[i].next - lines[i].begin);
    if (end < lines.size()) out.append(text, lines[end].begin, std::string::npos);
    text = std::move(out);
    return true;
  }
  std::string k(TrimSpaces(key));
  if (!value) {
    if (sec < 0 || k.empty() || k.front() == ';') return false;
    ptrdiff_t found = FindKey(lines, size_t(sec), k);
    if (found < 0) return false;
    const Line& ln = lines[size_t(found)];
    text.erase(ln.begin, ln.next - ln.begin);
    return true;
  }
  if (sec < 0) {
    text += LineEndFor(text) + "[" + std::string(section) + "]\r\n" + k + "=" + value + "\r\n";
    return true;
  }
  ptrdiff_t found = (k.empty() || k.front() == ';') ? -1 : FindKey(lines, size_t(sec), k);
  if (found >= 0) {
    // The value changes in place; the key keeps its spelling and the line its end.
    const Line& ln = lines[size_t(found)];
    text.replace(ln.begin, ln.end - ln.begin, ln.name + "=" + value);
    return true;
  }
  size_t after = size_t(sec);
  size_t end = SectionEnd(lines, size_t(sec));
  for (size_t i = size_t(sec) + 1; i < end; ++i)
    if (lines[i].kind == LineKind::Entry) after = i;
  const Line& ln = lines[after];
  std::string insert = k + "=" + value + "\r\n";
  if (ln.next == ln.end) insert = "\r\n" + insert;  // the last line had no line end
  text.insert(ln.next, insert);
  return true;
}

std::string ToSlashes(std::string p) {
  for (char& c : p)
    if (c == '\\') c = '/';
  return p;
}

}  // namespace

// ---- locations ----

void SetProfileDirectory(const char* dir) {
  Settings& s = Config();
  std::lock_guard<std::mutex> g(s.lock);
  s.profileDir = dir ? ToSlashes(dir) : std::string();
}

std::string GetProfileDirectory() {
  Settings& s = Config();
  std::lock_guard<std::mutex> g(s.lock);
  return s.profileDir.empty() ? DefaultProfileDirectory() : s.profileDir;
}

UINT GetWindowsDirectoryA(char* buffer, UINT size) {
  std::string dir = GetProfileDirectory();
  if (!buffer || size < dir.size() + 1) return UINT(dir.size() + 1);
  std::memcpy(buffer, dir.c_str(), dir.size() + 1);
  return UINT(dir.size());
}

std::string ResolveProfilePath(const char* fileName) {
  std::string name = fileName ? std::string(fileName) : std::string("win.ini");
  if (name.find_first_of("/\\") != std::string::npos) return ToSlashes(name);
  std::string dir = GetProfileDirectory();
  if (!dir.empty() && dir.back() != '/') dir += '/';
  return dir + name;
}

// ---- private profiles ----

DWORD GetPrivateProfileStringA(const char* section, const char* key, const char* defaultValue, char* ret,
                               DWORD nSize, const char* fileName) {
  if (!ret || nSize == 0) return 0;
  std::string_view def = defaultValue ? std::string_view(defaultValue) : std::string_view();
  while (!def.empty() && def.back() == ' ') def.remove_suffix(1);
  std::string text;
  DWORD err = ReadProfileFile(ResolveProfilePath(fileName), text);
  if (!section) {
    std::vector<std::string> names;
    if (err == ERROR_SUCCESS)
      for (const Line& ln : ParseLines(text))
        if (ln.kind == LineKind::Section) names.push_back(ln.name);
    DWORD n = CopyList(names, ret, nSize);
    if (err != ERROR_SUCCESS) SetLastError(err);
    return n;
  }
  std::string_view sec = TrimSpaces(section);
  if (err != ERROR_SUCCESS) {
    DWORD n = CopyValue(def, ret, nSize);
    SetLastError(err);
    return n;
  }
  if (!key) {
    std::vector<Line> lines = ParseLines(text);
    ptrdiff_t s = FindSection(lines, sec);
    std::vector<std::string> names;
    if (s >= 0) {
      size_t end = SectionEnd(lines, size_t(s));
      for (size_t i = size_t(s) + 1; i < end; ++i)
        if (lines[i].kind == LineKind::Entry && lines[i].hasEquals) names.push_back(lines[i].name);
    }
    if (names.empty()) return CopyValue(def, ret, nSize);
    return CopyList(names, ret, nSize);
  }
  std::optional<std::string> v = LookUp(text, sec, TrimSpaces(key));
  return CopyValue(v ? std::string_view(*v) : def, ret, nSize);
}

DWORD GetPrivateProfileSectionNamesA(char* ret, DWORD nSize, const char* fileName) {
  return GetPrivateProfileStringA(nullptr, nullptr, nullptr, ret, nSize, fileName);
}

UINT GetPrivateProfileIntA(const char* section, const char* key, INT defaultValue, const char* fileName) {
  if (!section || !key) return UINT(defaultValue);
  std::string text;
  DWORD err = ReadProfileFile(ResolveProfilePath(fileName), text);
  if (err != ERROR_SUCCESS) {
    SetLastError(err);
    return UINT(defaultValue);
  }
  std::optional<std::string> v = LookUp(text, TrimSpaces(section), TrimSpaces(key));
  if (!v || v->empty()) return UINT(defaultValue);
  std::string_view s = Trim(*v, IsFieldBlank);
  bool negative = false;
  if (!s.empty() && (s.front() == '+' || s.front() == '-')) {
    negative = s.front() == '-';
    s.remove_prefix(1);
  }
  UINT result = 0;  // unsigned arithmetic wraps modulo 2^32, as the old platform did
  if (s.size() > 2 && s[0] == '0' && (s[1] == 'x' || s[1] == 'X')) {
    for (char c : s.substr(2)) {
      int d = (c >= '0' && c <= '9') ? c - '0' : (c >= 'a' && c <= 'f') ? c - 'a' + 10 : (c >= 'A' && c <= 'F') ? c - 'A' + 10 : -1;
      if (d < 0) break;
      result = result * 16 + UINT(d);
    }
  } else {
    for (char c : s) {
      if (c < '0' || c > '9') break;
      result = result * 10 + UINT(c - '0');
    }
  }
  return negative ? 0u - result : result;
}

BOOL WritePrivateProfileStringA(const char* section, const char* key, const char* value, const char* fileName) {
  if (!section) {
    SetLastError(ERROR_FILE_NOT_FOUND);
    return FALSE;
  }
  std::string path = ResolveProfilePath(fileName);
  // Write through a symbolic link to the file it names, keeping the link.
  struct stat lst {};
  if (::lstat(path.c_str(), &lst) == 0 && S_ISLNK(lst.st_mode)) {
    char real[PATH_MAX];
    if (::realpath(path.c_str(), real)) path = real;
  }
  std::string dir = path.substr(0, path.rfind('/') == std::string::npos ? 0 : path.rfind('/') + 1);
  struct stat dst {};
  if (::stat(dir.empty() ? "." : dir.c_str(), &dst) != 0 || !S_ISDIR(dst.st_mode)) {
    SetLastError(ERROR_PATH_NOT_FOUND);
    return FALSE;
  }
  ProfileLock lock(path);
  if (lock.Error() != ERROR_SUCCESS) {
    SetLastError(lock.Error());
    return FALSE;
  }
  std::string text;
  DWORD err = ReadProfileFile(path, text);
  bool isNew = err == ERROR_FILE_NOT_FOUND;
  if (err != ERROR_SUCCESS && !isNew) {
    SetLastError(err);
    return FALSE;
  }
  if (!EditProfile(text, TrimSpaces(section), key, value)) return TRUE;
  struct stat old {};
  bool hadFile = !isNew && ::stat(path.c_str(), &old) == 0;
  err = ReplaceFile(path, text, hadFile ? &old : nullptr);
  if (err != ERROR_SUCCESS) {
    SetLastError(err);
    return FALSE;
  }
  // Kept: a new file reports "not found" although the write succeeded, as callers saw it.
  SetLastError(isNew ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS);
  return TRUE;
}

// ---- the application profile ----

void SetApplicationProfile(const char* iniFile) {
  Settings& s = Config();
  std::lock_guard<std::mutex> g(s.lock);
  s.appProfile = iniFile ? std::string(iniFile) : std::string();
}

std::string GetApplicationProfile() {
  std::string name;
  {
    Settings& s = Config();
    std::lock_guard<std::mutex> g(s.lock);
    name = s.appProfile;
  }
  return ResolveProfilePath((name.empty() ? ProgramBaseName() + ".INI" : name).c_str());
}

void SetApplicationRegistryKey(const char* company, const char* application) {
  Settings& s = Config();
  std::lock_guard<std::mutex> g(s.lock);
  s.company = company ? company : "";
  s.application = application ? application : ProgramBaseName();
}

namespace {
// The registry key of the application profile, or "" in INI mode.
std::string AppRegistryKey() {
  Settings& s = Config();
  std::lock_guard<std::mutex> g(s.lock);
  if (s.company.empty()) return {};
  return "Software\\" + s.company + "\\" + s.application;
}

// Reads a value of the given type from the application's section key.
bool ReadAppValue(const std::string& appKey, const char* section, const char* entry, DWORD wantType,
                  std::string& out) {
  if (!section || !entry) return false;
  HKEY k = nullptr;
  if (RegOpenKeyExA(HKEY_CURRENT_USER, (appKey + "\\" + section).c_str(), 0, KEY_READ, &k) != ERROR_SUCCESS)
    return false;
  DWORD type = 0, size = 0;
  bool ok = RegQueryValueExA(k, entry, nullptr, &type, nullptr, &size) == ERROR_SUCCESS && type == wantType;
  if (ok) {
    out.assign(size, '\0');
    ok = RegQueryValueExA(k, entry, nullptr, &type, reinterpret_cast<BYTE*>(out.data()), &size) == ERROR_SUCCESS &&
         type == wantType;
    out.resize(size);
  }
  RegCloseKey(k);
  return ok;
}

BOOL WriteAppValue(const std::string& appKey, const char* section, const char* entry, DWORD type,
                   const void* data, DWORD size) {
  if (!section) return FALSE;
  if (!entry) {
    HKEY app = nullptr;
    if (RegOpenKeyExA(HKEY_CURRENT_USER, appKey.c_str(), 0, KEY_ALL_ACCESS, &app) != ERROR_SUCCESS) return TRUE;
    LONG e = RegDeleteTreeA(app, section);
    RegCloseKey(app);
    return e == ERROR_SUCCESS || e == LONG(ERROR_FILE_NOT_FOUND);
  }
  HKEY k = nullptr;
  if (RegCreateKeyExA(HKEY_CURRENT_USER, (appKey + "\\" + section).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                      &k, nullptr) != ERROR_SUCCESS)
    return FALSE;
  LONG e = data ? RegSetValueExA(k, entry, 0, type, static_cast<const BYTE*>(data), size) : RegDeleteValueA(k, entry);
  RegCloseKey(k);
  return e == ERROR_SUCCESS || (!data && e == LONG(ERROR_FILE_NOT_FOUND));
}
}  // namespace

UINT GetProfileInt(const char* section, const char* entry, int defaultValue) {
  std::string appKey = AppRegistryKey();
  if (appKey.empty()) return GetPrivateProfileIntA(section, entry, defaultValue, GetApplicationProfile().c_str());
  std::string v;
  if (!ReadAppValue(appKey, section, entry, REG_DWORD, v) || v.size() != 4) return UINT(defaultValue);
  DWORD d;
  std::memcpy(&d, v.data(), 4);
  return d;
}

BOOL WriteProfileInt(const char* section, const char* entry, int value) {
  std::string appKey = AppRegistryKey();
  if (appKey.empty()) {
    std::string text = std::to_string(value);
    return WritePrivateProfileStringA(section, entry, text.c_str(), GetApplicationProfile().c_str());
  }
  DWORD d = DWORD(value);
  return WriteAppValue(appKey, section, entry, REG_DWORD, &d, 4);
}

CString GetProfileString(const char* section, const char* entry, const char* defaultValue) {
  std::string appKey = AppRegistryKey();
  if (appKey.empty()) {
    char buf[4096];
    DWORD n = GetPrivateProfileStringA(section, entry, defaultValue ? defaultValue : "", buf, sizeof buf,
                                       GetApplicationProfile().c_str());
    (void)n;
    return CString(buf);  // up to the first NUL, also for a list of names
  }
  std::string v;
  if (!ReadAppValue(appKey, section, entry, REG_SZ, v)) return CString(defaultValue);
  return CString(v.c_str());  // up to the NUL
}

BOOL WriteProfileString(const char* section, const char* entry, const char* value) {
  std::string appKey = AppRegistryKey();
  if (appKey.empty()) return WritePrivateProfileStringA(section, entry, value, GetApplicationProfile().c_str());
  return WriteAppValue(appKey, section, entry, REG_SZ, value, value ? DWORD(std::strlen(value) + 1) : 0);
}

}  // namespace zev
