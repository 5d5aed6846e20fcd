// Directory search (FindFirstFileA, FindNextFileA, FindClose) over opendir/readdir.
// Contract: the whole directory is read and matched when the search starts, so a
// search sees one consistent listing in case-insensitive name order; handles are
// numbers in a table, so a stale or foreign handle is refused, never followed.
#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "zevutil/platform/FileFind.h"
#include "zevutil/platform/Host.h"
#include "zevutil/platform/Locale.h"

namespace zev {

namespace {

enum class Tok : unsigned char { Lit, Star, DosStar, DosQm, DosDot };
struct Token {
  Tok kind;
  char ch;
};

std::atomic<bool> g_shortNames{false};

// Rewrites a search pattern into the matcher's tokens, the way the old platform
// rewrote its wildcards before matching.
std::vector<Token> CompilePattern(const char* pat) {
  std::vector<Token> out;
  size_t n = std::strlen(pat);
  if (n == 3 && std::memcmp(pat, "*.*", 3) == 0) {
    out.push_back({Tok::Star, 0});
    return out;
  }
  for (size_t i = 0; i < n; ++i) {
    char c = pat[i];
    char next = i + 1 < n ? pat[i + 1] : '\0';
    if (c == '?') out.push_back({Tok::DosQm, 0});
    else if (c == '.' && (next == '?' || next == '*')) out.push_back({Tok::DosDot, 0});
    else if (c == '*' && next == '.') out.push_back({Tok::DosStar, 0});
    else if (c == '*') out.push_back({Tok::Star, 0});
    else out.push_back({Tok::Lit, c});
  }
  // Path normalisation drops trailing dots, so "*." asks for names without one.
  size_t keep = out.size();
  while (keep > 0 && out[keep - 1].kind == Tok::Lit && out[keep - 1].ch == '.') --keep;
  if (keep > 0) out.resize(keep);
  return out;
}

bool Matches(const std::vector<Token>& pat, const char* name) {
  const size_t L = std::strlen(name);
  // "." and ".." have no extension: a '*' before '.' may run over them.
  const bool dotsOnly = std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
  std::ptrdiff_t lastDot = -1;
  if (!dotsOnly)
    for (size_t j = 0; j < L; ++j)
      if (name[j] == '.') lastDot = std::ptrdiff_t(j);
  // next[j]: tokens i+1.. match name[j..]; cur[j]: tokens i.. match name[j..].
  std::vector<char> next(L + 1, 0), cur(L + 1, 0);
  next[L] = 1;
  for (size_t i = pat.size(); i-- > 0;) {
    const Token& t = pat[i];
    for (size_t j = L + 1; j-- > 0;) {
      bool m = false;
      bool atEnd = j == L;
      switch (t.kind) {
        case Tok::Lit:
          m = !atEnd && Cp1252Upper(name[j]) == Cp1252Upper(t.ch) && next[j + 1];
          break;
        case Tok::Star:
          m = next[j] || (!atEnd && cur[j + 1]);
          break;
        case Tok::DosStar:
          m = next[j] || (!atEnd && std::ptrdiff_t(j) != lastDot && cur[j + 1]);
          break;
        case Tok::DosQm:
          if (atEnd || name[j] == '.') m = next[j];
          else m = next[j + 1];
          break;
        case Tok::DosDot:
          if (atEnd) m = next[j];
          else m = name[j] == '.' && next[j + 1];
          break;
      }
      cur[j] = m;
    }
    std::swap(cur, next);
  }
  return next[0] != 0;
}

bool IsLegalShortName(const char* name) {
  if (!*name || std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0) return false;
  const char* dot = std::strchr(name, '.');
  if (dot && std::strchr(dot + 1, '.')) return false;
  size_t base = dot ? size_t(dot - name) : std::strlen(name);
  size_t ext = dot ? std::strlen(dot + 1) : 0;
  if (base < 1 || base > 8 || ext > 3 || (dot && ext == 0)) return false;
  for (const char* p = name; *p; ++p)
    if (p != dot && std::strchr(" +,;=[].", *p)) return false;
  return true;
}

void CleanAliasPart(const char* begin, const char* end, size_t max, std::string& out) {
  for (const char* p = begin; p < end && out.size() < max; ++p) {
    if (*p == ' ' || *p == '.') continue;
    out += std::strchr("+,;=[]", *p) ? '_' : Cp1252Upper(*p);
  }
}

std::uint64_t ToFileTime(const struct timespec& ts) {
  // Seconds between 1601-01-01 and 1970-01-01.
  constexpr std::int64_t kEpochDelta = 11644473600LL;
  std::int64_t ticks = (std::int64_t(ts.tv_sec) + kEpochDelta) * 10000000LL + ts.tv_nsec / 100;
  return ticks < 0 ? 0 : std::uint64_t(ticks);
}

void SetFileTime(FILETIME& ft, const struct timespec& ts) {
  std::uint64_t v = ToFileTime(ts);
  ft.dwLowDateTime = DWORD(v & 0xFFFFFFFFu);
  ft.dwHighDateTime = DWORD(v >> 32);
}

struct Search {
  std::vector<WIN32_FIND_DATAA> results;
  size_t next = 0;
};

struct SearchTable {
  std::mutex lock;
  std::unordered_map<std::uintptr_t, Search> open;
  std::uintptr_t counter = 0x1000;
};

SearchTable& Searches() {
  static SearchTable table;
  return table;
}

bool SortBefore(const WIN32_FIND_DATAA& a, const WIN32_FIND_DATAA& b) {
  auto rank = [](const char* n) { return std::strcmp(n, ".") == 0 ? 0 : std::strcmp(n, "..") == 0 ? 1 : 2; };
  int ra = rank(a.cFileName), rb = rank(b.cFileName);
  if (ra != rb) return ra < rb;
  int c = Cp1252CompareNoCase(a.cFileName, b.cFileName);
  if (c != 0) return c < 0;
  return std::strcmp(a.cFileName, b.cFileName) < 0;  // names differing in case only
}

}  // namespace

BOOL SetShortNameEmulation(BOOL on) { return g_shortNames.exchange(on != 0) ? TRUE : FALSE; }

void MakeShortNameAlias(const char* name, char out[14]) {
  out[0] = '\0';
  if (!name || IsLegalShortName(name)) return;
  const char* start = name;
  while (*start == '.') ++start;
  const char* end = start + std::strlen(start);
  const char* dot = std::strrchr(start, '.');
  std::string base, ext;
  CleanAliasPart(start, dot ? dot : end, 6, base);
  if (base.empty()) base.push_back('_');
  if (dot) CleanAliasPart(dot + 1, end, 3, ext);
  std::string alias = base + "~1";
  if (!ext.empty()) alias += "." + ext;
  std::memcpy(out, alias.c_str(), alias.size() + 1);
}

BOOL MatchFilePattern(const char* pattern, const char* name) {
  if (!pattern || !name) return FALSE;
  return Matches(CompilePattern(pattern), name) ? TRUE : FALSE;
}

HANDLE FindFirstFileA(const char* pattern, WIN32_FIND_DATAA* data) {
  if (!pattern || !data) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return INVALID_HANDLE_VALUE;
  }
  std::string path(pattern);
  std::replace(path.begin(), path.end(), '\\', '/');
  size_t slash = path.rfind('/');
  std::string dir = slash == std::string::npos ? std::string(".") : path.substr(0, slash + 1);
  std::string pat = slash == std::string::npos ? path : path.substr(slash + 1);
  if (pat.empty()) {
    SetLastError(ERROR_FILE_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
  }
  if (pat.size() >= size_t(MAX_PATH)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return INVALID_HANDLE_VALUE;
  }
  std::vector<Token> tokens = CompilePattern(pat.c_str());
  DIR* d = ::opendir(dir.c_str());
  if (!d) {
    SetLastError(errno == ENOENT || errno == ENOTDIR ? ERROR_PATH_NOT_FOUND : ErrnoToWin32(errno));
    return INVALID_HANDLE_VALUE;
  }
  const bool isRoot = dir.find_first_not_of('/') == std::string::npos;
  const bool shortNames = g_shortNames.load();
  std::string base = dir.back() == '/' ? dir : dir + "/";
  Search search;
  while (struct dirent* e = ::readdir(d)) {
    const char* name = e->d_name;
    bool dots = std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
    if (dots && isRoot) continue;
    if (std::strlen(name) >= size_t(MAX_PATH)) continue;
    char alias[14];
    MakeShortNameAlias(name, alias);
    if (!Matches(tokens, name) && !(shortNames && alias[0] && Matches(tokens, alias))) continue;
    struct stat st {};
    std::string full = base + name;
    if (::stat(full.c_str(), &st) != 0 && ::lstat(full.c_str(), &st) != 0) continue;  // gone meanwhile
    WIN32_FIND_DATAA f{};
    if (S_ISDIR(st.st_mode)) f.dwFileAttributes |= FILE_ATTRIBUTE_DIRECTORY;
    if ((st.st_mode & S_IWUSR) == 0) f.dwFileAttributes |= FILE_ATTRIBUTE_READONLY;
    if (f.dwFileAttributes == 0) f.dwFileAttributes = FILE_ATTRIBUTE_NORMAL;
    SetFileTime(f.ftCreationTime, st.st_mtim);
    SetFileTime(f.ftLastAccessTime, st.st_atim);
    SetFileTime(f.ftLastWriteTime, st.st_mtim);
    std::uint64_t size = S_ISDIR(st.st_mode) ? 0 : std::uint64_t(st.st_size);
    f.nFileSizeHigh = DWORD(size >> 32);
    f.nFileSizeLow = DWORD(size & 0xFFFFFFFFu);
    std::strcpy(f.cFileName, name);
    if (shortNames) std::strcpy(f.cAlternateFileName, alias);
    search.results.push_back(f);
  }
  ::closedir(d);
  if (search.results.empty()) {
    SetLastError(ERROR_FILE_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
  }
  std::sort(search.results.begin(), search.results.end(), SortBefore);
  *data = search.results[0];
  search.next = 1;
  SearchTable& t = Searches();
  std::lock_guard<std::mutex> g(t.lock);
  std::uintptr_t id = t.counter++;
  t.open.emplace(id, std::move(search));
  SetLastError(ERROR_SUCCESS);
  return reinterpret_cast<HANDLE>(id);
}

BOOL FindNextFileA(HANDLE handle, WIN32_FIND_DATAA* data) {
  SearchTable& t = Searches();
  std::lock_guard<std::mutex> g(t.lock);
  auto it = t.open.find(reinterpret_cast<std::uintptr_t>(handle));
  if (it == t.open.end() || !data) {
    SetLastError(it == t.open.end() ? ERROR_INVALID_HANDLE : ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  Search& s = it->second;
  if (s.next >= s.results.size()) {
    SetLastError(ERROR_NO_MORE_FILES);
    return FALSE;
  }
  *data = s.results[s.next++];
  return TRUE;
}

BOOL FindClose(HANDLE handle) {
  SearchTable& t = Searches();
  std::lock_guard<std::mutex> g(t.lock);
  if (t.open.erase(reinterpret_cast<std::uintptr_t>(handle)) == 0) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  return TRUE;
}

}  // namespace zev
