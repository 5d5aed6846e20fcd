// Directory search with the old platform's wildcard rules (FindFirstFileA and kin),
// and path split and join in four parts (_splitpath, _makepath).
#pragma once
#include <string>

#include "zevutil/platform/Types.h"

namespace zev {

// 100-nanosecond ticks since 1601-01-01 UTC, split in two 32-bit halves.
struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};

inline constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x01;
inline constexpr DWORD FILE_ATTRIBUTE_HIDDEN = 0x02;
inline constexpr DWORD FILE_ATTRIBUTE_SYSTEM = 0x04;
inline constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
inline constexpr DWORD FILE_ATTRIBUTE_ARCHIVE = 0x20;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;

// The record a directory search fills for each file.
struct WIN32_FIND_DATAA {
  DWORD dwFileAttributes;
  FILETIME ftCreationTime;
  FILETIME ftLastAccessTime;
  FILETIME ftLastWriteTime;
  DWORD nFileSizeHigh;
  DWORD nFileSizeLow;
  DWORD dwReserved0;
  DWORD dwReserved1;
  char cFileName[MAX_PATH];
  char cAlternateFileName[14];
};
static_assert(sizeof(WIN32_FIND_DATAA) == 320, "the platform's record size");

inline HANDLE const INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-1));

// Starts a search for the files matching the last part of 'pattern' in the
// directory it names (the current directory when it names none). Both '/' and '\'
// separate directories; a POSIX path is used as it is.
//
// Matching follows the old platform: case-insensitive (code page 1252); '*' any run
// of characters; '?' one character, or nothing before a '.' or at the end; "*.*"
// everything; a '*' before a '.' stops at the name's last '.'; a '.' before '?' or
// '*' also matches the end of the name; a trailing '.' asks for names without one;
// '[', ']' are ordinary characters. "." and ".." are reported for a directory other
// than the root. Results come in case-insensitive name order.
//
// Fills *data with the first match and returns a handle for FindNextFileA. Failure
// gives INVALID_HANDLE_VALUE with the last error ERROR_FILE_NOT_FOUND (nothing
// matches), ERROR_PATH_NOT_FOUND (no such directory) or ERROR_INVALID_PARAMETER.
HANDLE FindFirstFileA(const char* pattern, WIN32_FIND_DATAA* data);
// The next match; FALSE with ERROR_NO_MORE_FILES at the end, ERROR_INVALID_HANDLE
// for a handle that is not an open search.
BOOL FindNextFileA(HANDLE search, WIN32_FIND_DATAA* data);
BOOL FindClose(HANDLE search);

// Short (8.3) name emulation, off by default: when on, a name that is not a legal
// 8.3 name also matches through its alias (up to six characters, "~1", and the first
// three characters of the last extension, upper-cased), which cAlternateFileName
// then holds. Returns the previous setting.
BOOL SetShortNameEmulation(BOOL on);
// The alias a long name gets under the emulation; empty for a legal 8.3 name.
void MakeShortNameAlias(const char* name, char out[14]);
// Whether a name matches a search pattern (the last part of a path) by the rules above.
BOOL MatchFilePattern(const char* pattern, const char* name);

// Splits a path into drive ("X:" when the second character is ':'), directory (up to
// and including the last '/' or '\'), file name and extension (from the last '.').
// Any output may be null; each holds at most _MAX_DRIVE, _MAX_DIR, _MAX_FNAME and
// _MAX_EXT bytes with its NUL, longer parts being cut, as the old runtime did.
void _splitpath(const char* path, char* drive, char* dir, char* fname, char* ext);
// Joins the parts: the drive's first character and ':', the directory with a '\'
// added unless it ends in '/' or '\', the name, and the extension with a '.' added
// unless it has one. 'path' receives at most _MAX_PATH bytes with its NUL.
void _makepath(char* path, const char* drive, const char* dir, const char* fname, const char* ext);
// The same join without a length limit.
std::string MakePath(const char* drive, const char* dir, const char* fname, const char* ext);

}  // namespace zev
