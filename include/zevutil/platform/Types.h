// Basic types of the old 32-bit desktop data model, fixed-width on every host.
#pragma once
#include <cstddef>
#include <cstdint>

namespace zev {

// The old platform's long is 32-bit; these keep records and stored forms at their sizes.
using BOOL = int;
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using UINT = unsigned int;
using INT = int;
using SHORT = std::int16_t;
using USHORT = std::uint16_t;
using LONGLONG = long long;  // not int64_t: a plain long must find no archive operator
using ULONGLONG = unsigned long long;
using HRESULT = std::int32_t;
using LPSTR = char*;
using LPCSTR = const char*;
using LPVOID = void*;
using LPCVOID = const void*;
using LPBYTE = BYTE*;
using UINT_PTR = std::uintptr_t;
using INT_PTR = std::intptr_t;
using DWORD_PTR = std::uintptr_t;
using WPARAM = std::uintptr_t;
using LPARAM = std::intptr_t;
using LRESULT = std::intptr_t;
using COLORREF = DWORD;
using HANDLE = void*;
using HINSTANCE = void*;
using HMODULE = void*;
using HWND = void*;
using HKEY = void*;

inline constexpr BOOL TRUE = 1;
inline constexpr BOOL FALSE = 0;

// Opaque position handle of the framework collections: a node pointer or an index + 1.
struct __POSITION {};
using POSITION = __POSITION*;
inline POSITION const BEFORE_START_POSITION = reinterpret_cast<POSITION>(static_cast<std::intptr_t>(-1));

static_assert(sizeof(LONG) == 4 && sizeof(DWORD) == 4 && sizeof(WORD) == 2, "32-bit data model");

inline constexpr DWORD MAKELONG(WORD lo, WORD hi) { return DWORD(lo) | (DWORD(hi) << 16); }
inline constexpr WORD LOWORD(DWORD v) { return WORD(v & 0xFFFF); }
inline constexpr WORD HIWORD(DWORD v) { return WORD(v >> 16); }
inline constexpr BYTE LOBYTE(WORD v) { return BYTE(v & 0xFF); }
inline constexpr BYTE HIBYTE(WORD v) { return BYTE(v >> 8); }
inline constexpr COLORREF RGB(BYTE r, BYTE g, BYTE b) { return COLORREF(r) | (COLORREF(g) << 8) | (COLORREF(b) << 16); }
inline constexpr BYTE GetRValue(COLORREF c) { return BYTE(c & 0xFF); }
inline constexpr BYTE GetGValue(COLORREF c) { return BYTE((c >> 8) & 0xFF); }
inline constexpr BYTE GetBValue(COLORREF c) { return BYTE((c >> 16) & 0xFF); }

inline constexpr int _MAX_PATH = 260;
inline constexpr int _MAX_DRIVE = 3;
inline constexpr int _MAX_DIR = 256;
inline constexpr int _MAX_FNAME = 256;
inline constexpr int _MAX_EXT = 256;
inline constexpr int MAX_PATH = 260;

// Result codes of the component runtime.
inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = HRESULT(0x80004001u);
inline constexpr HRESULT E_NOINTERFACE = HRESULT(0x80004002u);
inline constexpr HRESULT E_POINTER = HRESULT(0x80004003u);
inline constexpr HRESULT E_FAIL = HRESULT(0x80004005u);
inline constexpr HRESULT E_UNEXPECTED = HRESULT(0x8000FFFFu);
inline constexpr HRESULT E_OUTOFMEMORY = HRESULT(0x8007000Eu);
inline constexpr HRESULT E_INVALIDARG = HRESULT(0x80070057u);
inline constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = HRESULT(0x80040111u);
inline constexpr HRESULT TYPE_E_CANTLOADLIBRARY = HRESULT(0x80029C4Au);
inline constexpr bool SUCCEEDED(HRESULT hr) { return hr >= 0; }
inline constexpr bool FAILED(HRESULT hr) { return hr < 0; }

// Error codes kept in the thread's last error.
inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr DWORD ERROR_BAD_FORMAT = 11;
inline constexpr DWORD ERROR_NO_MORE_FILES = 18;
inline constexpr DWORD ERROR_SHARING_VIOLATION = 32;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr DWORD ERROR_BAD_PATHNAME = 161;
inline constexpr DWORD ERROR_ALREADY_EXISTS = 183;
inline constexpr DWORD ERROR_MORE_DATA = 234;
inline constexpr DWORD ERROR_NO_MORE_ITEMS = 259;
inline constexpr DWORD ERROR_MR_MID_NOT_FOUND = 317;
inline constexpr DWORD ERROR_BADDB = 1009;
inline constexpr DWORD ERROR_BADKEY = 1010;
inline constexpr DWORD ERROR_CANTOPEN = 1011;
inline constexpr DWORD ERROR_CANTREAD = 1012;
inline constexpr DWORD ERROR_CANTWRITE = 1013;
inline constexpr DWORD ERROR_REGISTRY_CORRUPT = 1015;

}  // namespace zev
