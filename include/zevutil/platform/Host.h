// Host services the library's logic reaches through: thread-local slots, ticks,
// memory queries, the thread's last error and its text, the message box and the
// trace sink.
// Each is backed by the host (POSIX) in platform/host/.
#pragma once
#include <cstdarg>
#include <cstddef>
#include <functional>
#include <string>

#include "zevutil/platform/Types.h"

namespace zev {

// ---- thread-local slots ----
inline constexpr DWORD TLS_OUT_OF_INDEXES = 0xFFFFFFFF;
// A new slot, or TLS_OUT_OF_INDEXES; every thread starts with null in it.
DWORD TlsAlloc();
BOOL TlsFree(DWORD index);
void* TlsGetValue(DWORD index);  // null for an invalid slot
BOOL TlsSetValue(DWORD index, void* value);

// ---- time and threads ----
// Milliseconds since boot, truncated to 32 bits (wraps after about 49.7 days).
DWORD GetTickCount();
// Test hook: an offset added to every tick count, so the wrap can be tested.
void SetTickCountOffset(DWORD offset);
DWORD GetCurrentThreadId();
DWORD GetCurrentProcessId();
void Sleep(DWORD ms);

// ---- memory ----
// True when all of [p, p + size) can be read by this process, found out without
// touching the memory: a range in a page that is unmapped or has no read access gives
// false instead of a fault. A null pointer or a range that wraps gives false; a
// non-null pointer with size 0 gives true. Costs one system call for up to 128 pages.
bool IsReadableRange(const void* p, std::size_t size);
// The bytes that may be used in a block of the heap (from malloc, calloc or realloc):
// at least what was asked for. 0 for null. The block must come from the heap.
std::size_t HeapBlockSize(void* block);

// ---- last error ----
DWORD GetLastError();
void SetLastError(DWORD code);
// Maps a host errno value to the platform's error code.
DWORD ErrnoToWin32(int err);
// System text of an error code, ending in "\r\n"; empty for an unknown code.
std::string SystemErrorText(DWORD code);

inline constexpr DWORD FORMAT_MESSAGE_ALLOCATE_BUFFER = 0x100;
inline constexpr DWORD FORMAT_MESSAGE_IGNORE_INSERTS = 0x200;
inline constexpr DWORD FORMAT_MESSAGE_FROM_STRING = 0x400;
inline constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;
// FROM_SYSTEM only. With ALLOCATE_BUFFER, 'buffer' is a char** that receives a
// block to be freed with LocalFree. Returns the length without the NUL, or 0 with
// the last error ERROR_MR_MID_NOT_FOUND for an unknown code.
DWORD FormatMessageA(DWORD flags, const void* source, DWORD messageId, DWORD languageId, char* buffer,
                     DWORD size, va_list* args);
void* LocalFree(void* mem);

// ---- message box ----
inline constexpr UINT MB_OK = 0x0, MB_OKCANCEL = 0x1, MB_ABORTRETRYIGNORE = 0x2, MB_YESNOCANCEL = 0x3,
                      MB_YESNO = 0x4, MB_RETRYCANCEL = 0x5, MB_ICONHAND = 0x10, MB_ICONSTOP = 0x10,
                      MB_ICONERROR = 0x10, MB_ICONQUESTION = 0x20, MB_ICONEXCLAMATION = 0x30,
                      MB_ICONWARNING = 0x30, MB_ICONINFORMATION = 0x40, MB_ICONASTERISK = 0x40,
                      MB_DEFBUTTON1 = 0x0, MB_DEFBUTTON2 = 0x100, MB_DEFBUTTON3 = 0x200,
                      MB_APPLMODAL = 0x0, MB_SYSTEMMODAL = 0x1000, MB_TASKMODAL = 0x2000;
inline constexpr int IDOK = 1, IDCANCEL = 2, IDABORT = 3, IDRETRY = 4, IDIGNORE = 5, IDYES = 6, IDNO = 7,
                     IDTRYAGAIN = 10, IDCONTINUE = 11;

// A message box handler: text, caption, style -> the button pressed.
using MessageBoxHandler = std::function<int(HWND owner, const char* text, const char* caption, UINT style)>;
// Shows a message box through the current handler and blocks until it answers.
// The default handler, when standard input and error are a terminal, prints the
// caption and text on stderr and asks for the button; otherwise it prints them on
// stderr and answers the default button (the first one unless MB_DEFBUTTONn says otherwise).
int MessageBoxA(HWND owner, const char* text, const char* caption, UINT style);
// Installs a handler; an empty one restores the default. Returns the previous one.
MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler);
// The default button's answer for a style.
int DefaultMessageBoxAnswer(UINT style);

// ---- trace sink ----
// Receives the library's diagnostic trace lines. The default does nothing at all.
using TraceHandler = std::function<void(const char* text)>;
TraceHandler SetTraceHandler(TraceHandler handler);
// Formats (with the old platform's printf rules) and hands the text to the sink.
void TraceOut(const char* fmt, ...);
bool HasTraceHandler();

}  // namespace zev

namespace zev {

// ---- modules ----
inline constexpr DWORD DLL_PROCESS_DETACH = 0, DLL_PROCESS_ATTACH = 1, DLL_THREAD_ATTACH = 2,
                       DLL_THREAD_DETACH = 3;
// The module that holds the given address (the library's own when null).
HMODULE GetModuleOfAddress(const void* address);
// The module's file path, at most size - 1 characters; returns the length, 0 on failure.
DWORD GetModuleFileNameA(HMODULE module, char* buffer, DWORD size);
// Thread attach/detach notifications do not exist on this host; kept for the call site.
BOOL DisableThreadLibraryCalls(HMODULE module);

}  // namespace zev
