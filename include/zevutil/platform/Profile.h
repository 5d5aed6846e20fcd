// INI profiles (GetPrivateProfileStringA and kin) and the application profile
// (GetProfileInt and kin).
//
// Reading follows the old platform: CR, LF or CRLF end a line; lines are trimmed;
// "[name]" starts a section (text after the first ']' is ignored); a key line splits
// at its first '='; ';' starts a comment line only at the start of a line (there are
// no inline comments, and '#' is an ordinary character); section and key names
// match case-insensitively (code page 1252), with spaces around the arguments
// stripped; only the first section of a name is searched and the first key of a
// name wins; one pair of matching outer quotes (' or ") is removed from a value.
//
// Writing edits the file's text: a value is replaced in place keeping the key's
// spelling, a new key goes after the section's last entry, a new section is
// appended; every other line stays byte for byte, new lines end in CRLF. A write
// takes an exclusive lock on "<file>.lock" beside the file, writes a temporary file
// and renames it over the old one, so readers never see half a file and writers in
// other processes lose nothing.
//
// A file name without a '/' or '\' lives in the profile folder (the old platform's
// Windows directory): $XDG_CONFIG_HOME/zevutil, with $XDG_CONFIG_HOME defaulting to
// $HOME/.config, unless SetProfileDirectory names another. Other names are taken as
// paths, '\' read as '/'. Bytes are passed through unchanged.
#pragma once
#include <string>

#include "zevutil/platform/CString.h"
#include "zevutil/platform/Types.h"

namespace zev {

// Copies the value of key in section into ret (nSize bytes with the NUL) and returns
// its length. A longer value is cut to nSize - 1 characters with ERROR_MORE_DATA;
// nSize 0 returns 0 and leaves ret alone. A missing file, section or key gives the
// default (null means ""; its trailing spaces removed), a missing file with
// ERROR_FILE_NOT_FOUND. "k=" gives "", not the default.
// A null key lists the section's key names, a null section all section names, each
// with its NUL and a final NUL; a list that does not fit is cut with two NULs and
// returns nSize - 2 (0 with a zero-filled buffer below 3 bytes).
DWORD GetPrivateProfileStringA(const char* section, const char* key, const char* defaultValue, char* ret,
                               DWORD nSize, const char* fileName);
// The value read as an integer: optional sign, decimal digits or 0x and hex digits,
// stopping at the first other character, modulo 2^32 ("-1" gives 0xFFFFFFFF, "B42"
// gives 0). A missing key or an empty value gives the default.
UINT GetPrivateProfileIntA(const char* section, const char* key, INT defaultValue, const char* fileName);
// Sets key to value; a null value deletes the key, a null key the section (comment
// lines in it stay). A missing file is created (FALSE with ERROR_PATH_NOT_FOUND when
// its folder is missing). A null section fails with ERROR_FILE_NOT_FOUND.
BOOL WritePrivateProfileStringA(const char* section, const char* key, const char* value, const char* fileName);
// All section names, as GetPrivateProfileStringA with a null section gives them.
DWORD GetPrivateProfileSectionNamesA(char* ret, DWORD nSize, const char* fileName);

// The profile folder: where file names without a path live. Null restores the default.
void SetProfileDirectory(const char* dir);
std::string GetProfileDirectory();
// The profile folder's path with its NUL, as the old platform's GetWindowsDirectoryA
// reported its folder: the length without NUL, or the size needed when it does not fit.
UINT GetWindowsDirectoryA(char* buffer, UINT size);
// The file a profile name stands for (as the calls above resolve it).
std::string ResolveProfilePath(const char* fileName);

// ---- the application profile ----
// By default the application profile is the INI file "<program name>.INI" in the
// profile folder, the program name being the running executable's base name.
// SetApplicationProfile names another file (null restores the default).
void SetApplicationProfile(const char* iniFile);
std::string GetApplicationProfile();
// Keeps the application profile in the registry instead, under
// HKEY_CURRENT_USER\Software\<company>\<application>\<section>, with integers as
// REG_DWORD and strings as REG_SZ. A null company returns to the INI file.
void SetApplicationRegistryKey(const char* company, const char* application);

// In the INI file: GetPrivateProfileIntA. In the registry: a REG_DWORD value, else the default.
UINT GetProfileInt(const char* section, const char* entry, int defaultValue);
// Writes the value in signed decimal (or as a REG_DWORD).
BOOL WriteProfileInt(const char* section, const char* entry, int value);
// The string (up to 4095 characters from an INI file), or the default; a null default means "".
CString GetProfileString(const char* section, const char* entry, const char* defaultValue = nullptr);
// Writes the string; a null value deletes the entry, a null entry the whole section.
BOOL WriteProfileString(const char* section, const char* entry, const char* value);

}  // namespace zev
