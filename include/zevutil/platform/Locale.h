// Locale items (GetLocaleInfoA) and the fixed code page 1252 case mapping that
// every case-insensitive name match of the host services uses.
#pragma once
#include "zevutil/platform/Types.h"

namespace zev {

using LCID = DWORD;
using LCTYPE = DWORD;

inline constexpr LCID LOCALE_USER_DEFAULT = 0x0400;
inline constexpr LCID LOCALE_SYSTEM_DEFAULT = 0x0800;
inline constexpr LCID LCID_EN_US = 0x0409;
inline constexpr LCID LCID_EN_GB = 0x0809;
inline constexpr LCID LCID_DE_DE = 0x0407;
inline constexpr LCID LCID_JA_JP = 0x0411;

inline constexpr LCTYPE LOCALE_SDATE = 0x1D;
inline constexpr LCTYPE LOCALE_STIME = 0x1E;
inline constexpr LCTYPE LOCALE_SSHORTDATE = 0x1F;
inline constexpr LCTYPE LOCALE_IDATE = 0x21;
inline constexpr LCTYPE LOCALE_ITIME = 0x23;
inline constexpr LCTYPE LOCALE_STIMEFORMAT = 0x1003;

inline constexpr DWORD ERROR_INVALID_FLAGS = 1004;

// Copies one locale item with its NUL into data and returns the count including the
// NUL. With cchData 0 it returns the size needed and writes nothing. A buffer too
// small gives 0 with ERROR_INSUFFICIENT_BUFFER; an unknown item ERROR_INVALID_FLAGS;
// an unknown locale ERROR_INVALID_PARAMETER.
//
// en-US, en-GB, de-DE and ja-JP answer from a built-in table. The user and system
// defaults answer from the C library's current time locale (LC_TIME, as the
// application set it with setlocale): a known locale name uses the table, another
// one is derived from its date and time formats, and the "C" locale, or one that
// can't be read, answers the en-US values.
int GetLocaleInfoA(LCID locale, LCTYPE type, char* data, int cchData);
// The locale the defaults stand for: one of the table's LCIDs, or en-US.
LCID GetUserDefaultLCID();
LCID GetSystemDefaultLCID();

// Code page 1252 case mapping, the same in every host locale: a-z, the accented
// letters 0xE0-0xFE except 0xF7, and the pairs 0x9A/0x8A, 0x9C/0x8C, 0x9E/0x8E,
// 0xFF/0x9F. 0xDF and 0xB5 have no single-byte capital and stay.
char Cp1252Upper(char c);
char Cp1252Lower(char c);
// Case-insensitive comparison of two byte strings under that mapping (upper-cased
// bytes compared unsigned): <0, 0 or >0.
int Cp1252CompareNoCase(const char* a, const char* b);

// Upper- or lower-cases the string in place and returns it. A pointer whose value
// fits in 16 bits is a single character instead: it is converted and returned in
// the low byte of the pointer value.
char* CharUpperA(char* text);
char* CharLowerA(char* text);
// Converts the first length bytes in place; returns the count.
DWORD CharUpperBuffA(char* text, DWORD length);
DWORD CharLowerBuffA(char* text, DWORD length);

}  // namespace zev
