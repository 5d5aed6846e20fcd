// The registry: a persistent tree of keys with typed values, under two roots
// (current user, local machine), shared by all processes and kept across runs.
//
// Each root lives in its own store file (an SQLite database). Unless the
// application sets another location with RegSetStoreLocation, the stores are
//   $XDG_CONFIG_HOME/zevutil/registry/user.db      HKEY_CURRENT_USER
//   $XDG_CONFIG_HOME/zevutil/registry/machine.db   HKEY_LOCAL_MACHINE
// with $XDG_CONFIG_HOME defaulting to $HOME/.config. A store is created when first
// written. Every change is one transaction: concurrent processes lose nothing, and
// a process killed in the middle of a change leaves the previous state.
//
// Key and value names are case-insensitive (code page 1252 folding) and keep the
// case they were created with; '\' separates key path components. Values keep
// their type and their exact bytes.
//
// Results are the platform's error codes (ERROR_SUCCESS is 0). A store that can't
// be opened gives ERROR_CANTOPEN, a damaged file or one that is not a store
// ERROR_BADDB, a failed read or write ERROR_CANTREAD or ERROR_CANTWRITE, a
// read-only store on write ERROR_ACCESS_DENIED.
#pragma once
#include <string>

#include "zevutil/platform/FileFind.h"
#include "zevutil/platform/Types.h"

namespace zev {

inline HKEY const HKEY_CLASSES_ROOT = reinterpret_cast<HKEY>(std::uintptr_t(0x80000000u));
inline HKEY const HKEY_CURRENT_USER = reinterpret_cast<HKEY>(std::uintptr_t(0x80000001u));
inline HKEY const HKEY_LOCAL_MACHINE = reinterpret_cast<HKEY>(std::uintptr_t(0x80000002u));
inline HKEY const HKEY_USERS = reinterpret_cast<HKEY>(std::uintptr_t(0x80000003u));

using REGSAM = DWORD;
inline constexpr REGSAM KEY_QUERY_VALUE = 0x0001;
inline constexpr REGSAM KEY_SET_VALUE = 0x0002;
inline constexpr REGSAM KEY_CREATE_SUB_KEY = 0x0004;
inline constexpr REGSAM KEY_ENUMERATE_SUB_KEYS = 0x0008;
inline constexpr REGSAM KEY_NOTIFY = 0x0010;
inline constexpr REGSAM KEY_CREATE_LINK = 0x0020;
inline constexpr REGSAM KEY_READ = 0x20019;
inline constexpr REGSAM KEY_WRITE = 0x20006;
inline constexpr REGSAM KEY_EXECUTE = 0x20019;
inline constexpr REGSAM KEY_ALL_ACCESS = 0xF003F;

inline constexpr DWORD REG_NONE = 0;
inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_EXPAND_SZ = 2;
inline constexpr DWORD REG_BINARY = 3;
inline constexpr DWORD REG_DWORD = 4;
inline constexpr DWORD REG_DWORD_BIG_ENDIAN = 5;
inline constexpr DWORD REG_MULTI_SZ = 7;
inline constexpr DWORD REG_QWORD = 11;

inline constexpr DWORD REG_OPTION_NON_VOLATILE = 0;
inline constexpr DWORD REG_CREATED_NEW_KEY = 1;
inline constexpr DWORD REG_OPENED_EXISTING_KEY = 2;

inline constexpr DWORD ERROR_KEY_DELETED = 1018;

// Opens an existing key; never creates one. A null or empty subKey on a root gives
// the root itself; on an open key, a new handle to the same key; "\" on a root a
// new handle to the root. A subKey starting with '\' otherwise gives
// ERROR_BAD_PATHNAME. A missing key gives ERROR_FILE_NOT_FOUND and *result null.
// Only HKEY_CURRENT_USER and HKEY_LOCAL_MACHINE are roots here; the others give
// ERROR_INVALID_HANDLE. The access mask is checked by later calls.
LONG RegOpenKeyExA(HKEY key, const char* subKey, DWORD options, REGSAM access, HKEY* result);
LONG RegOpenKeyA(HKEY key, const char* subKey, HKEY* result);
// Opens the key, or creates it with all missing keys on its path. *disposition,
// when given, is REG_CREATED_NEW_KEY or REG_OPENED_EXISTING_KEY. A nonzero reserved
// gives ERROR_INVALID_PARAMETER. The class and security arguments are ignored.
LONG RegCreateKeyExA(HKEY key, const char* subKey, DWORD reserved, char* keyClass, DWORD options, REGSAM access,
                     const void* security, HKEY* result, DWORD* disposition);
LONG RegCreateKeyA(HKEY key, const char* subKey, HKEY* result);
// Reads a value (a null or empty name is the key's default value). Without data,
// *cbData receives the size. A buffer smaller than the value gives ERROR_MORE_DATA,
// the size in *cbData and the buffer untouched. A missing value gives
// ERROR_FILE_NOT_FOUND, with *cbData set to 0 when data is null.
LONG RegQueryValueExA(HKEY key, const char* valueName, DWORD* reserved, DWORD* type, BYTE* data, DWORD* cbData);
// Stores exactly cbData bytes (0 is allowed) with the given type; needs KEY_SET_VALUE.
// For a string pass its length with the NUL.
LONG RegSetValueExA(HKEY key, const char* valueName, DWORD reserved, DWORD type, const BYTE* data, DWORD cbData);
LONG RegDeleteValueA(HKEY key, const char* valueName);
// Deletes a key that has no subkeys (ERROR_ACCESS_DENIED when it has).
LONG RegDeleteKeyA(HKEY key, const char* subKey);
// Deletes a key with everything below it; a null subKey empties the key itself.
LONG RegDeleteTreeA(HKEY key, const char* subKey);
// The index-th subkey name in case-insensitive order; *cchName holds the buffer's
// size in characters on entry and the name's length on return. ERROR_NO_MORE_ITEMS
// past the end, ERROR_MORE_DATA when the name does not fit. The class is empty and
// the time is zero.
LONG RegEnumKeyExA(HKEY key, DWORD index, char* name, DWORD* cchName, DWORD* reserved, char* keyClass,
                   DWORD* cchClass, FILETIME* lastWriteTime);
// The index-th value in the order the values were created, with its type and data
// as RegQueryValueExA gives them.
LONG RegEnumValueA(HKEY key, DWORD index, char* valueName, DWORD* cchValueName, DWORD* reserved, DWORD* type,
                   BYTE* data, DWORD* cbData);
// Counts of subkeys and values, and the longest subkey name, value name and data.
LONG RegQueryInfoKeyA(HKEY key, DWORD* subKeys, DWORD* maxSubKeyLen, DWORD* values, DWORD* maxValueNameLen,
                      DWORD* maxValueLen);
// Changes are written when made; kept for callers that flush.
LONG RegFlushKey(HKEY key);
// Closes a key opened by the calls above; closing a root does nothing.
LONG RegCloseKey(HKEY key);

// Points a root at another store file (null restores the default location).
// Keys already open keep using the store they were opened in. Returns
// ERROR_INVALID_HANDLE for a root other than the two above.
LONG RegSetStoreLocation(HKEY root, const char* path);
// The store file a root uses now (empty for an unknown root).
std::string RegGetStoreLocation(HKEY root);
// The default location of a root's store.
std::string RegDefaultStoreLocation(HKEY root);
// Checks the store's structure: ERROR_SUCCESS for a sound or not yet created store,
// ERROR_BADDB for a damaged one, ERROR_CANTOPEN when it can't be opened.
LONG RegVerifyStore(HKEY root);

}  // namespace zev
