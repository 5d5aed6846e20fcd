// The window layer: window records, classes and procedures, one message queue per thread,
// the per-thread message hook chain, timers on a replaceable clock, dialogs built from
// templates written in code, and the standard controls as class procedures.
//
// The layer holds all window state and runs every message loop itself; a backend (GTK when
// a display is there, otherwise the null backend) only mirrors it on screen and feeds user
// input back as messages. Handles are 32-bit counters that are not reused soon. A window
// belongs to the thread that made it: only IsWindow, PostMessageA and SendMessageA may be
// called with a window of another thread (SendMessageA then waits until the owner's loop
// has run it).
#pragma once
#include <atomic>
#include <cstddef>
#include <string>
#include <vector>

#include "zevutil/platform/Host.h"
#include "zevutil/platform/Types.h"
#include "zevutil/platform/WinTypes.h"
#include "zevutil/platform/WindowMessages.h"

namespace zev {

// ---- handles and records ----
using ATOM = WORD;
using HHOOK = void*;
using HMENU = void*;
using HICON = void*;
using HCURSOR = void*;
using LONG_PTR = std::intptr_t;
using ULONG_PTR = std::uintptr_t;


struct MSG {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  DWORD time;
  POINT pt;
};
using LPMSG = MSG*;

using WNDPROC = LRESULT (*)(HWND, UINT, WPARAM, LPARAM);
using DLGPROC = INT_PTR (*)(HWND, UINT, WPARAM, LPARAM);
using HOOKPROC = LRESULT (*)(int code, WPARAM, LPARAM);
using TIMERPROC = void (*)(HWND, UINT, UINT_PTR, DWORD);
using WNDENUMPROC = BOOL (*)(HWND, LPARAM);

struct WNDCLASSA {
  UINT style;
  WNDPROC lpfnWndProc;
  int cbClsExtra;
  int cbWndExtra;
  HINSTANCE hInstance;
  HICON hIcon;
  HCURSOR hCursor;
  HBRUSH hbrBackground;
  LPCSTR lpszMenuName;
  LPCSTR lpszClassName;
};

struct CREATESTRUCTA {
  LPVOID lpCreateParams;
  HINSTANCE hInstance;
  HMENU hMenu;
  HWND hwndParent;
  int cy;
  int cx;
  int y;
  int x;
  LONG style;
  LPCSTR lpszName;
  LPCSTR lpszClass;
  DWORD dwExStyle;
};

struct WINDOWPOS {
  HWND hwnd;
  HWND hwndInsertAfter;
  int x;
  int y;
  int cx;
  int cy;
  UINT flags;
};

struct STYLESTRUCT {
  DWORD styleOld;
  DWORD styleNew;
};

// The header of every WM_NOTIFY.
struct NMHDR {
  HWND hwndFrom;
  UINT_PTR idFrom;
  UINT code;
};

struct TCITEMA {
  UINT mask;
  DWORD dwState;
  DWORD dwStateMask;
  LPSTR pszText;
  int cchTextMax;
  int iImage;
  LPARAM lParam;
};

struct PBRANGE {
  int iLow;
  int iHigh;
};

// Special window handles.
inline HWND const HWND_DESKTOP = nullptr;
inline HWND const HWND_TOP = nullptr;
inline HWND const HWND_BOTTOM = reinterpret_cast<HWND>(std::intptr_t(1));
inline HWND const HWND_TOPMOST = reinterpret_cast<HWND>(std::intptr_t(-1));
inline HWND const HWND_NOTOPMOST = reinterpret_cast<HWND>(std::intptr_t(-2));
inline HWND const HWND_MESSAGE = reinterpret_cast<HWND>(std::intptr_t(-3));
inline HWND const HWND_BROADCAST = reinterpret_cast<HWND>(std::intptr_t(0xFFFF));

// Integer resource names and class atoms.
inline bool IS_INTRESOURCE(LPCSTR p) { return (reinterpret_cast<std::uintptr_t>(p) >> 16) == 0; }
inline LPSTR MAKEINTRESOURCEA(WORD id) { return reinterpret_cast<LPSTR>(std::uintptr_t(id)); }
inline LPSTR MAKEINTATOM(WORD atom) { return reinterpret_cast<LPSTR>(std::uintptr_t(atom)); }
// The atom of the dialog class "#32770".
inline LPCSTR const WC_DIALOG = reinterpret_cast<LPCSTR>(std::uintptr_t(0x8002));
// System icons for LoadIconA(nullptr, ...).
inline LPCSTR const IDI_APPLICATION = reinterpret_cast<LPCSTR>(std::uintptr_t(32512));
inline LPCSTR const IDI_HAND = reinterpret_cast<LPCSTR>(std::uintptr_t(32513));
inline LPCSTR const IDI_QUESTION = reinterpret_cast<LPCSTR>(std::uintptr_t(32514));
inline LPCSTR const IDI_EXCLAMATION = reinterpret_cast<LPCSTR>(std::uintptr_t(32515));
inline LPCSTR const IDI_ASTERISK = reinterpret_cast<LPCSTR>(std::uintptr_t(32516));
inline LPCSTR const IDI_WINLOGO = reinterpret_cast<LPCSTR>(std::uintptr_t(32517));
inline LPCSTR const IDI_WARNING = IDI_EXCLAMATION;
inline LPCSTR const IDI_ERROR = IDI_HAND;
inline LPCSTR const IDI_INFORMATION = IDI_ASTERISK;
inline LPCSTR const IDC_ARROW = reinterpret_cast<LPCSTR>(std::uintptr_t(32512));
inline LPCSTR const IDC_IBEAM = reinterpret_cast<LPCSTR>(std::uintptr_t(32513));
inline LPCSTR const IDC_WAIT = reinterpret_cast<LPCSTR>(std::uintptr_t(32514));

inline constexpr WPARAM MAKEWPARAM(WORD lo, WORD hi) { return WPARAM(MAKELONG(lo, hi)); }
inline constexpr LPARAM MAKELPARAM(WORD lo, WORD hi) { return LPARAM(MAKELONG(lo, hi)); }
inline constexpr LRESULT MAKELRESULT(WORD lo, WORD hi) { return LRESULT(MAKELONG(lo, hi)); }
inline constexpr int GET_X_LPARAM(LPARAM l) { return int(SHORT(LOWORD(DWORD(l)))); }
inline constexpr int GET_Y_LPARAM(LPARAM l) { return int(SHORT(HIWORD(DWORD(l)))); }

// ---- the clock ----
// All times of the layer (GetTickCount, timer due times, message times) read one clock.
// Tests install a ManualClock to run timers in virtual time: a loop that would wait for a
// timer moves the manual clock to the timer's due time instead of sleeping.
class Clock {
 public:
  virtual ~Clock() = default;
  // Milliseconds on a 64-bit count that does not wrap; GetTickCount gives its low 32 bits.
  virtual ULONGLONG Now() const = 0;
  // True when time moves only when told to.
  virtual bool IsVirtual() const { return false; }
  // A virtual clock moves forward to 'ms' (never backwards); a real one ignores the call.
  virtual void AdvanceTo(ULONGLONG ms) { (void)ms; }
};

// Milliseconds since the host started, plus the offset of SetTickCountOffset.
class SystemClock : public Clock {
 public:
  ULONGLONG Now() const override;
};

// Time that moves only when a test (or a waiting loop) moves it; safe to read from any thread.
class ManualClock : public Clock {
 public:
  explicit ManualClock(ULONGLONG start = 0);
  ULONGLONG Now() const override;
  bool IsVirtual() const override { return true; }
  void AdvanceTo(ULONGLONG ms) override;
  void Set(ULONGLONG ms);
  void Advance(ULONGLONG ms);

 private:
  std::atomic<ULONGLONG> m_now;
};

// The clock in use (the system clock unless one was installed).
Clock& GetClock();
// Installs a clock (null restores the system clock); returns the previous one. The caller
// keeps the clock alive while it is installed.
Clock* SetClock(Clock* clock);

// ---- classes ----
// Registers a class for the process. The name is compared without regard to case. Returns
// an atom from 0xC000 up, or 0 when a class of that name exists (ERROR_CLASS_ALREADY_EXISTS).
ATOM RegisterClassA(const WNDCLASSA* wc);
BOOL UnregisterClassA(LPCSTR className, HINSTANCE instance);
BOOL GetClassInfoA(HINSTANCE instance, LPCSTR className, WNDCLASSA* wc);
// The class name, at most maxCount - 1 characters; returns the length copied, 0 on failure.
int GetClassNameA(HWND hwnd, LPSTR name, int maxCount);

// ---- lifetime ----
// Sends WM_NCCREATE, WM_CREATE, WM_SIZE and WM_MOVE, then WM_PARENTNOTIFY to the parent
// (and on up the chain of child windows) unless WS_EX_NOPARENTNOTIFY is set, then shows the
// window when WS_VISIBLE is set. 'menu' is the control id of a child. Null on failure (unknown
// class, a child without a parent, WM_NCCREATE answering FALSE or WM_CREATE answering -1).
HWND CreateWindowExA(DWORD exStyle, LPCSTR className, LPCSTR windowName, DWORD style, int x, int y, int width,
                     int height, HWND parent, HMENU menu, HINSTANCE instance, LPVOID param);
inline HWND CreateWindowA(LPCSTR className, LPCSTR windowName, DWORD style, int x, int y, int width, int height,
                          HWND parent, HMENU menu, HINSTANCE instance, LPVOID param) {
  return CreateWindowExA(0, className, windowName, style, x, y, width, height, parent, menu, instance, param);
}
// Sends WM_PARENTNOTIFY (unless WS_EX_NOPARENTNOTIFY), destroys owned windows, sends
// WM_DESTROY to the window and then its children (parent first), WM_NCDESTROY to the
// children and then the window (children first). Timers of the windows die with them. Safe
// inside the window's own procedure: the handle is dead at once, the record is freed when the
// last procedure running on it returns.
BOOL DestroyWindow(HWND hwnd);
// True for a live window of any thread.
BOOL IsWindow(HWND hwnd);

// ---- procedures and long values ----
LRESULT DefWindowProcA(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);
LRESULT CallWindowProcA(WNDPROC proc, HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);
// GWLP_WNDPROC (set returns the previous procedure), GWLP_USERDATA, GWLP_ID, GWL_STYLE,
// GWL_EXSTYLE, GWLP_HWNDPARENT, GWLP_HINSTANCE; on a dialog DWLP_MSGRESULT, DWLP_DLGPROC and
// DWLP_USER; other offsets from 0 up index the class's extra window bytes. 0 with
// ERROR_INVALID_INDEX for an unknown index. Changing GWL_STYLE or GWL_EXSTYLE sends
// WM_STYLECHANGING and WM_STYLECHANGED.
LONG_PTR GetWindowLongPtrA(HWND hwnd, int index);
LONG_PTR SetWindowLongPtrA(HWND hwnd, int index, LONG_PTR value);
LONG GetWindowLongA(HWND hwnd, int index);
LONG SetWindowLongA(HWND hwnd, int index, LONG value);
// Properties: names are compared without regard to case; an integer atom is a name too.
BOOL SetPropA(HWND hwnd, LPCSTR name, HANDLE data);
HANDLE GetPropA(HWND hwnd, LPCSTR name);
HANDLE RemovePropA(HWND hwnd, LPCSTR name);

// ---- messages ----
// Same thread: a direct call of the window procedure. Another thread's window: the message
// waits in that thread's queue of sent messages until its loop runs it, and this thread
// runs messages sent to it meanwhile. 0 for a window that is not live.
LRESULT SendMessageA(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);
// Thread-safe; wakes the owner's loop. A null window posts to the calling thread.
BOOL PostMessageA(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);
BOOL PostThreadMessageA(DWORD threadId, UINT msg, WPARAM wParam, LPARAM lParam);
// WM_QUIT is made once the posted messages are taken.
void PostQuitMessage(int exitCode);
// Waits for a message: sent messages first, then posted and input messages in order, then
// WM_QUIT, then one WM_TIMER of a due timer. The thread's WH_GETMESSAGE hooks get the MSG,
// newest first, before it is returned, and may change it. Returns 0 for WM_QUIT, -1 for a
// bad window filter. 'hwnd' limits to that window and its children; min/max limit the numbers.
BOOL GetMessageA(MSG* msg, HWND hwnd, UINT msgFilterMin, UINT msgFilterMax);
// As GetMessageA without waiting; PM_NOREMOVE leaves the message in the queue.
BOOL PeekMessageA(MSG* msg, HWND hwnd, UINT msgFilterMin, UINT msgFilterMax, UINT removeMsg);
// Waits until the queue has a message (or a timer is due).
BOOL WaitMessage();
// Posts WM_CHAR for a WM_KEYDOWN that came from a character key. TRUE when it did.
BOOL TranslateMessage(const MSG* msg);
// Calls the procedure (a WM_TIMER with a TIMERPROC calls that). 0 for a dead window.
LRESULT DispatchMessageA(const MSG* msg);
// Keyboard handling of a dialog (Tab, arrows in groups, Enter, Escape), asking each control
// with WM_GETDLGCODE; other messages for the dialog or its descendants are dispatched.
// TRUE when the message was for the dialog, FALSE otherwise.
BOOL IsDialogMessageA(HWND dlg, MSG* msg);
// A number from 0xC000 to 0xFFFF, the same for the same string (compared without case);
// 0 for an empty or null string.
UINT RegisterWindowMessageA(LPCSTR name);
// The state of a key as the messages taken from the queue so far left it: negative (the high
// bit set) while it is down. VK_SHIFT, VK_CONTROL and VK_MENU follow either side's key.
SHORT GetKeyState(int virtualKey);
DWORD GetMessageTime();
LONG GetMessagePos();
BOOL InSendMessage();

// ---- hooks ----
// WH_GETMESSAGE and WH_MSGFILTER, for the calling thread (threadId 0 or the current thread's
// id); the newest hook is called first. Null with ERROR_INVALID_PARAMETER otherwise.
HHOOK SetWindowsHookExA(int idHook, HOOKPROC proc, HINSTANCE instance, DWORD threadId);
BOOL UnhookWindowsHookEx(HHOOK hook);
// Calls the hook after 'hook' in its chain; 0 at the end of the chain.
LRESULT CallNextHookEx(HHOOK hook, int code, WPARAM wParam, LPARAM lParam);
// Runs the thread's WH_MSGFILTER hooks; TRUE when one of them answered non-zero.
BOOL CallMsgFilterA(MSG* msg, int code);

// ---- timers ----
// A window timer (the same window and id replace the timer) or, with a null window, a
// thread timer with a new id. The period is at least USER_TIMER_MINIMUM. WM_TIMER is made
// only when the queue has nothing else, at most one per timer each time the queue is
// checked; its lParam is the TIMERPROC, which DispatchMessageA calls instead of the procedure.
// Returns the id (non-zero), or 0 for a window that is not live.
UINT_PTR SetTimer(HWND hwnd, UINT_PTR id, UINT elapse, TIMERPROC proc);
BOOL KillTimer(HWND hwnd, UINT_PTR id);

// ---- the tree ----
HWND GetParent(HWND hwnd);  // the parent of a child, the owner of a popup, else null
HWND SetParent(HWND child, HWND newParent);
HWND GetAncestor(HWND hwnd, UINT flags);
HWND GetWindow(HWND hwnd, UINT cmd);
HWND GetTopWindow(HWND hwnd);
HWND GetDesktopWindow();
HWND GetDlgItem(HWND dlg, int id);  // immediate children only
int GetDlgCtrlID(HWND hwnd);
BOOL IsChild(HWND parent, HWND hwnd);
// All descendants, depth first in creation (z) order, until the callback answers FALSE.
BOOL EnumChildWindows(HWND parent, WNDENUMPROC proc, LPARAM lParam);
// The calling thread's top-level windows.
BOOL EnumWindows(WNDENUMPROC proc, LPARAM lParam);
BOOL EnumThreadWindows(DWORD threadId, WNDENUMPROC proc, LPARAM lParam);
HWND FindWindowA(LPCSTR className, LPCSTR windowName);
HWND FindWindowExA(HWND parent, HWND childAfter, LPCSTR className, LPCSTR windowName);
DWORD GetWindowThreadProcessId(HWND hwnd, DWORD* processId);

// ---- geometry ----
// Window rectangles in screen coordinates; client rectangles start at 0,0. Non-client sizes
// (caption, frames, edges) come from the system metrics table.
BOOL GetWindowRect(HWND hwnd, RECT* rect);
BOOL GetClientRect(HWND hwnd, RECT* rect);
// Returns the horizontal offset in the low word and the vertical in the high word. A null
// window means the screen.
int MapWindowPoints(HWND from, HWND to, POINT* points, UINT count);
BOOL ScreenToClient(HWND hwnd, POINT* point);
BOOL ClientToScreen(HWND hwnd, POINT* point);
// Sends WM_WINDOWPOSCHANGING and WM_WINDOWPOSCHANGED (whose default sends WM_MOVE and WM_SIZE).
BOOL MoveWindow(HWND hwnd, int x, int y, int width, int height, BOOL repaint);
BOOL SetWindowPos(HWND hwnd, HWND insertAfter, int x, int y, int cx, int cy, UINT flags);
BOOL AdjustWindowRectEx(RECT* rect, DWORD style, BOOL menu, DWORD exStyle);
BOOL BringWindowToTop(HWND hwnd);
// From the metrics table; 0 for an unknown index.
int GetSystemMetrics(int index);
// Replaces one entry of the metrics table (a backend gives the real screen; tests pin values).
void SetSystemMetric(int index, int value);
// The base units of the dialog font: width in the low word, height in the high word.
LONG GetDialogBaseUnits();
// Dialog units to pixels with the dialog's base units: x * bx / 4, y * by / 8.
BOOL MapDialogRect(HWND dlg, RECT* rect);
// Width and height of 'text' in the window's font, wrapped at wrapWidth pixels when that is
// above 0; answered by the backend, which draws the text. FALSE for a dead window.
BOOL GetWindowTextExtent(HWND hwnd, LPCSTR text, int wrapWidth, SIZE* size);

// Geometry helpers.
BOOL SetRect(RECT* rect, int left, int top, int right, int bottom);
BOOL SetRectEmpty(RECT* rect);
BOOL CopyRect(RECT* dst, const RECT* src);
BOOL OffsetRect(RECT* rect, int dx, int dy);
BOOL InflateRect(RECT* rect, int dx, int dy);
BOOL IsRectEmpty(const RECT* rect);
BOOL PtInRect(const RECT* rect, POINT pt);
BOOL EqualRect(const RECT* a, const RECT* b);
BOOL IntersectRect(RECT* dst, const RECT* a, const RECT* b);
BOOL UnionRect(RECT* dst, const RECT* a, const RECT* b);

// ---- state ----
// Returns whether the window was visible before. Sends WM_SHOWWINDOW when that changes.
BOOL ShowWindow(HWND hwnd, int cmdShow);
// Returns non-zero when the window was disabled before. Sends WM_ENABLE when that changes; a
// disabled window loses the focus.
BOOL EnableWindow(HWND hwnd, BOOL enable);
// The window and all its ancestors are visible / the window is enabled.
BOOL IsWindowVisible(HWND hwnd);
BOOL IsWindowEnabled(HWND hwnd);
// Sends WM_KILLFOCUS to the old and WM_SETFOCUS to the new focus; fails (null) for a
// disabled window or one of another thread. Returns the previous focus.
HWND SetFocus(HWND hwnd);
HWND GetFocus();
HWND GetActiveWindow();
HWND SetActiveWindow(HWND hwnd);
HWND GetForegroundWindow();
BOOL SetForegroundWindow(HWND hwnd);
HWND GetCapture();
HWND SetCapture(HWND hwnd);
BOOL ReleaseCapture();
// Through WM_SETTEXT / WM_GETTEXT / WM_GETTEXTLENGTH, so subclasses see them.
BOOL SetWindowTextA(HWND hwnd, LPCSTR text);
int GetWindowTextA(HWND hwnd, LPSTR text, int maxCount);
int GetWindowTextLengthA(HWND hwnd);
// The window's text as a string (a convenience of this layer).
std::string GetWindowTextString(HWND hwnd);
BOOL InvalidateRect(HWND hwnd, const RECT* rect, BOOL erase);
BOOL UpdateWindow(HWND hwnd);
BOOL RedrawWindow(HWND hwnd, const RECT* rect, void* region, UINT flags);
inline constexpr UINT RDW_INVALIDATE = 0x0001, RDW_INTERNALPAINT = 0x0002, RDW_ERASE = 0x0004,
                      RDW_ALLCHILDREN = 0x0080, RDW_UPDATENOW = 0x0100, RDW_ERASENOW = 0x0200,
                      RDW_FRAME = 0x0400;
BOOL MessageBeep(UINT type);
HICON LoadIconA(HINSTANCE instance, LPCSTR name);
HCURSOR LoadCursorA(HINSTANCE instance, LPCSTR name);

// ---- dialog items ----
LRESULT SendDlgItemMessageA(HWND dlg, int id, UINT msg, WPARAM wParam, LPARAM lParam);
BOOL SetDlgItemTextA(HWND dlg, int id, LPCSTR text);
UINT GetDlgItemTextA(HWND dlg, int id, LPSTR text, int maxCount);
BOOL SetDlgItemInt(HWND dlg, int id, UINT value, BOOL isSigned);
// Leading blanks and a sign (when signed) are allowed; *translated is FALSE for no number or
// an overflow.
UINT GetDlgItemInt(HWND dlg, int id, BOOL* translated, BOOL isSigned);
BOOL CheckDlgButton(HWND dlg, int id, UINT check);
UINT IsDlgButtonChecked(HWND dlg, int id);
// Checks 'check' and clears every other button whose id is in first..last.
BOOL CheckRadioButton(HWND dlg, int firstId, int lastId, int checkId);
// The next (or previous) control with WS_TABSTOP, visible and enabled, wrapping around.
HWND GetNextDlgTabItem(HWND dlg, HWND ctl, BOOL previous);
// The next (or previous) control of the WS_GROUP group that holds 'ctl', wrapping within it.
HWND GetNextDlgGroupItem(HWND dlg, HWND ctl, BOOL previous);

// ---- dialogs ----
// A dialog template written in code, in dialog units. Controls get WS_CHILD and
// WS_EX_NOPARENTNOTIFY when the dialog is made; the dialog font gives the base units.
struct DLGTEMPLATE {
  DWORD style;
  DWORD dwExtendedStyle;
  WORD cdit;
  short x;
  short y;
  short cx;
  short cy;
};
struct DLGITEMTEMPLATE {
  DWORD style;
  DWORD dwExtendedStyle;
  short x;
  short y;
  short cx;
  short cy;
  WORD id;
};

class DialogTemplate {
 public:
  struct Item {
    DLGITEMTEMPLATE tmpl;
    std::string className;  // "Button", "Edit", ... or a registered class
    std::string text;
  };

  DialogTemplate() = default;
  DialogTemplate(DWORD style, short x, short y, short cx, short cy, const char* caption, DWORD exStyle = 0);
  DialogTemplate& SetFont(const char* face, WORD pointSize);
  DialogTemplate& SetClassName(const char* className);  // default: the dialog class
  // Any control; WS_CHILD | WS_VISIBLE are added, as for every control of a template (hide
  // one with ShowWindow after creation).
  DialogTemplate& Control(const char* text, WORD id, const char* className, DWORD style, short x, short y,
                          short cx, short cy, DWORD exStyle = 0);
  // The usual resource statements, with the default extra styles of each (WS_TABSTOP for
  // push buttons, check boxes and edits, WS_GROUP for text, WS_BORDER for edits and lists).
  DialogTemplate& PushButton(const char* text, WORD id, short x, short y, short cx, short cy, DWORD style = 0);
  DialogTemplate& DefPushButton(const char* text, WORD id, short x, short y, short cx, short cy,
                                DWORD style = 0);
  DialogTemplate& CheckBox(const char* text, WORD id, short x, short y, short cx, short cy, DWORD style = 0);
  DialogTemplate& AutoCheckBox(const char* text, WORD id, short x, short y, short cx, short cy,
                               DWORD style = 0);
  DialogTemplate& RadioButton(const char* text, WORD id, short x, short y, short cx, short cy,
                              DWORD style = 0);
  DialogTemplate& AutoRadioButton(const char* text, WORD id, short x, short y, short cx, short cy,
                                  DWORD style = 0);
  DialogTemplate& GroupBox(const char* text, WORD id, short x, short y, short cx, short cy, DWORD style = 0);
  DialogTemplate& LText(const char* text, WORD id, short x, short y, short cx, short cy, DWORD style = 0);
  DialogTemplate& CText(const char* text, WORD id, short x, short y, short cx, short cy, DWORD style = 0);
  DialogTemplate& RText(const char* text, WORD id, short x, short y, short cx, short cy, DWORD style = 0);
  DialogTemplate& Icon(const char* iconName, WORD id, short x, short y, DWORD style = 0);
  DialogTemplate& EditText(WORD id, short x, short y, short cx, short cy, DWORD style = 0);
  DialogTemplate& ListBox(WORD id, short x, short y, short cx, short cy, DWORD style = 0);
  DialogTemplate& ComboBox(WORD id, short x, short y, short cx, short cy, DWORD style = 0);

  DLGTEMPLATE header{};
  std::string caption;
  std::string className;
  std::string fontFace;
  WORD pointSize = 0;
  std::vector<Item> items;
};
using LPCDLGTEMPLATEA = const DialogTemplate*;

// Templates by resource id or name, for the ...ParamA forms (the suite's dialogs name theirs).
void RegisterDialogTemplate(LPCSTR name, const DialogTemplate& tmpl);
const DialogTemplate* FindDialogTemplate(LPCSTR name);

// A modeless dialog: creates the window hidden, the controls in template order, sends
// WM_SETFONT, then WM_INITDIALOG (wParam the first tab stop, lParam 'param') to the dialog
// procedure; a TRUE answer puts the focus on that control. Shown at the end when the
// template has WS_VISIBLE. Null on failure.
HWND CreateDialogIndirectParamA(HINSTANCE instance, LPCDLGTEMPLATEA tmpl, HWND parent, DLGPROC proc,
                                LPARAM param);
HWND CreateDialogParamA(HINSTANCE instance, LPCSTR templateName, HWND parent, DLGPROC proc, LPARAM param);
// A modal dialog: disables the owner, runs the modal loop (WM_ENTERIDLE to the owner whenever
// the queue runs empty, IsDialogMessageA, dispatch) until EndDialog, re-enables the owner,
// destroys the dialog and returns EndDialog's result; -1 when the dialog could not be made.
// A WM_QUIT ends the loop and is posted again.
INT_PTR DialogBoxIndirectParamA(HINSTANCE instance, LPCDLGTEMPLATEA tmpl, HWND owner, DLGPROC proc,
                                LPARAM param);
INT_PTR DialogBoxParamA(HINSTANCE instance, LPCSTR templateName, HWND owner, DLGPROC proc, LPARAM param);
// Marks the dialog ended with 'result', re-enables its owner, hides it and wakes the loop.
BOOL EndDialog(HWND dlg, INT_PTR result);
// The dialog class's procedure: calls the DLGPROC; when that answers FALSE, does the default
// dialog handling (WM_CLOSE becomes IDCANCEL, DM_GETDEFID/DM_SETDEFID, WM_NEXTDLGCTL, focus).
LRESULT DefDlgProcA(HWND dlg, UINT msg, WPARAM wParam, LPARAM lParam);

// ---- windows of a thread ----
// Number of live windows of the calling thread (a convenience for tests and leak checks).
std::size_t CountThreadWindows();

}  // namespace zev
