// Placeholder bodies of the window layer, so that code written against it links; replaced
// module by module by the real layer.
#include "window/WindowBackend.h"

#pragma GCC diagnostic ignored "-Wunused-parameter"
#include "zevutil/platform/WindowTesting.h"

namespace zev {

ATOM RegisterClassA(const WNDCLASSA* wc) { return {}; }
BOOL UnregisterClassA(LPCSTR className, HINSTANCE instance) { return {}; }
BOOL GetClassInfoA(HINSTANCE instance, LPCSTR className, WNDCLASSA* wc) { return {}; }
int GetClassNameA(HWND hwnd, LPSTR name, int maxCount) { return {}; }
HWND CreateWindowExA(DWORD exStyle, LPCSTR className, LPCSTR windowName, DWORD style, int x, int y, int width, int height, HWND parent, HMENU menu, HINSTANCE instance, LPVOID param) { return {}; }
BOOL DestroyWindow(HWND hwnd) { return {}; }
BOOL IsWindow(HWND hwnd) { return {}; }
LRESULT DefWindowProcA(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) { return {}; }
LRESULT CallWindowProcA(WNDPROC proc, HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) { return {}; }
LONG_PTR GetWindowLongPtrA(HWND hwnd, int index) { return {}; }
LONG_PTR SetWindowLongPtrA(HWND hwnd, int index, LONG_PTR value) { return {}; }
LONG GetWindowLongA(HWND hwnd, int index) { return {}; }
LONG SetWindowLongA(HWND hwnd, int index, LONG value) { return {}; }
BOOL SetPropA(HWND hwnd, LPCSTR name, HANDLE data) { return {}; }
HANDLE GetPropA(HWND hwnd, LPCSTR name) { return {}; }
HANDLE RemovePropA(HWND hwnd, LPCSTR name) { return {}; }
LRESULT SendMessageA(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) { return {}; }
BOOL PostMessageA(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) { return {}; }
BOOL PostThreadMessageA(DWORD threadId, UINT msg, WPARAM wParam, LPARAM lParam) { return {}; }
void PostQuitMessage(int exitCode) {}
BOOL GetMessageA(MSG* msg, HWND hwnd, UINT msgFilterMin, UINT msgFilterMax) { return {}; }
BOOL PeekMessageA(MSG* msg, HWND hwnd, UINT msgFilterMin, UINT msgFilterMax, UINT removeMsg) { return {}; }
BOOL WaitMessage() { return {}; }
BOOL TranslateMessage(const MSG* msg) { return {}; }
LRESULT DispatchMessageA(const MSG* msg) { return {}; }
BOOL IsDialogMessageA(HWND dlg, MSG* msg) { return {}; }
UINT RegisterWindowMessageA(LPCSTR name) { return {}; }
DWORD GetMessageTime() { return {}; }
LONG GetMessagePos() { return {}; }
BOOL InSendMessage() { return {}; }
HHOOK SetWindowsHookExA(int idHook, HOOKPROC proc, HINSTANCE instance, DWORD threadId) { return {}; }
BOOL UnhookWindowsHookEx(HHOOK hook) { return {}; }
LRESULT CallNextHookEx(HHOOK hook, int code, WPARAM wParam, LPARAM lParam) { return {}; }
BOOL CallMsgFilterA(MSG* msg, int code) { return {}; }
UINT_PTR SetTimer(HWND hwnd, UINT_PTR id, UINT elapse, TIMERPROC proc) { return {}; }
BOOL KillTimer(HWND hwnd, UINT_PTR id) { return {}; }
HWND GetParent(HWND hwnd) { return {}; }
HWND SetParent(HWND child, HWND newParent) { return {}; }
HWND GetAncestor(HWND hwnd, UINT flags) { return {}; }
HWND GetWindow(HWND hwnd, UINT cmd) { return {}; }
HWND GetTopWindow(HWND hwnd) { return {}; }
HWND GetDesktopWindow() { return {}; }
HWND GetDlgItem(HWND dlg, int id) { return {}; }
int GetDlgCtrlID(HWND hwnd) { return {}; }
BOOL IsChild(HWND parent, HWND hwnd) { return {}; }
BOOL EnumChildWindows(HWND parent, WNDENUMPROC proc, LPARAM lParam) { return {}; }
BOOL EnumWindows(WNDENUMPROC proc, LPARAM lParam) { return {}; }
BOOL EnumThreadWindows(DWORD threadId, WNDENUMPROC proc, LPARAM lParam) { return {}; }
HWND FindWindowA(LPCSTR className, LPCSTR windowName) { return {}; }
HWND FindWindowExA(HWND parent, HWND childAfter, LPCSTR className, LPCSTR windowName) { return {}; }
DWORD GetWindowThreadProcessId(HWND hwnd, DWORD* processId) { return {}; }
BOOL GetWindowRect(HWND hwnd, RECT* rect) { return {}; }
BOOL GetClientRect(HWND hwnd, RECT* rect) { return {}; }
int MapWindowPoints(HWND from, HWND to, POINT* points, UINT count) { return {}; }
BOOL ScreenToClient(HWND hwnd, POINT* point) { return {}; }
BOOL ClientToScreen(HWND hwnd, POINT* point) { return {}; }
BOOL MoveWindow(HWND hwnd, int x, int y, int width, int height, BOOL repaint) { return {}; }
BOOL SetWindowPos(HWND hwnd, HWND insertAfter, int x, int y, int cx, int cy, UINT flags) { return {}; }
BOOL AdjustWindowRectEx(RECT* rect, DWORD style, BOOL menu, DWORD exStyle) { return {}; }
BOOL BringWindowToTop(HWND hwnd) { return {}; }
int GetSystemMetrics(int index) { return {}; }
void SetSystemMetric(int index, int value) {}
LONG GetDialogBaseUnits() { return {}; }
BOOL MapDialogRect(HWND dlg, RECT* rect) { return {}; }
BOOL GetWindowTextExtent(HWND hwnd, LPCSTR text, int wrapWidth, SIZE* size) { return {}; }
BOOL SetRect(RECT* rect, int left, int top, int right, int bottom) { return {}; }
BOOL SetRectEmpty(RECT* rect) { return {}; }
BOOL CopyRect(RECT* dst, const RECT* src) { return {}; }
BOOL OffsetRect(RECT* rect, int dx, int dy) { return {}; }
BOOL InflateRect(RECT* rect, int dx, int dy) { return {}; }
BOOL IsRectEmpty(const RECT* rect) { return {}; }
BOOL PtInRect(const RECT* rect, POINT pt) { return {}; }
BOOL EqualRect(const RECT* a, const RECT* b) { return {}; }
BOOL IntersectRect(RECT* dst, const RECT* a, const RECT* b) { return {}; }
BOOL UnionRect(RECT* dst, const RECT* a, const RECT* b) { return {}; }
BOOL ShowWindow(HWND hwnd, int cmdShow) { return {}; }
BOOL EnableWindow(HWND hwnd, BOOL enable) { return {}; }
BOOL IsWindowVisible(HWND hwnd) { return {}; }
BOOL IsWindowEnabled(HWND hwnd) { return {}; }
HWND SetFocus(HWND hwnd) { return {}; }
HWND GetFocus() { return {}; }
HWND GetActiveWindow() { return {}; }
HWND SetActiveWindow(HWND hwnd) { return {}; }
HWND GetForegroundWindow() { return {}; }
BOOL SetForegroundWindow(HWND hwnd) { return {}; }
HWND GetCapture() { return {}; }
HWND SetCapture(HWND hwnd) { return {}; }
BOOL ReleaseCapture() { return {}; }
BOOL SetWindowTextA(HWND hwnd, LPCSTR text) { return {}; }
int GetWindowTextA(HWND hwnd, LPSTR text, int maxCount) { return {}; }
int GetWindowTextLengthA(HWND hwnd) { return {}; }
std::string GetWindowTextString(HWND hwnd) { return {}; }
BOOL InvalidateRect(HWND hwnd, const RECT* rect, BOOL erase) { return {}; }
BOOL UpdateWindow(HWND hwnd) { return {}; }
BOOL RedrawWindow(HWND hwnd, const RECT* rect, void* region, UINT flags) { return {}; }
BOOL MessageBeep(UINT type) { return {}; }
HICON LoadIconA(HINSTANCE instance, LPCSTR name) { return {}; }
HCURSOR LoadCursorA(HINSTANCE instance, LPCSTR name) { return {}; }
LRESULT SendDlgItemMessageA(HWND dlg, int id, UINT msg, WPARAM wParam, LPARAM lParam) { return {}; }
BOOL SetDlgItemTextA(HWND dlg, int id, LPCSTR text) { return {}; }
UINT GetDlgItemTextA(HWND dlg, int id, LPSTR text, int maxCount) { return {}; }
BOOL SetDlgItemInt(HWND dlg, int id, UINT value, BOOL isSigned) { return {}; }
UINT GetDlgItemInt(HWND dlg, int id, BOOL* translated, BOOL isSigned) { return {}; }
BOOL CheckDlgButton(HWND dlg, int id, UINT check) { return {}; }
UINT IsDlgButtonChecked(HWND dlg, int id) { return {}; }
BOOL CheckRadioButton(HWND dlg, int firstId, int lastId, int checkId) { return {}; }
HWND GetNextDlgTabItem(HWND dlg, HWND ctl, BOOL previous) { return {}; }
HWND GetNextDlgGroupItem(HWND dlg, HWND ctl, BOOL previous) { return {}; }
void RegisterDialogTemplate(LPCSTR name, const DialogTemplate& tmpl) {}
const DialogTemplate* FindDialogTemplate(LPCSTR name) { return {}; }
HWND CreateDialogIndirectParamA(HINSTANCE instance, LPCDLGTEMPLATEA tmpl, HWND parent, DLGPROC proc, LPARAM param) { return {}; }
HWND CreateDialogParamA(HINSTANCE instance, LPCSTR templateName, HWND parent, DLGPROC proc, LPARAM param) { return {}; }
INT_PTR DialogBoxIndirectParamA(HINSTANCE instance, LPCDLGTEMPLATEA tmpl, HWND owner, DLGPROC proc, LPARAM param) { return {}; }
INT_PTR DialogBoxParamA(HINSTANCE instance, LPCSTR templateName, HWND owner, DLGPROC proc, LPARAM param) { return {}; }
BOOL EndDialog(HWND dlg, INT_PTR result) { return {}; }
LRESULT DefDlgProcA(HWND dlg, UINT msg, WPARAM wParam, LPARAM lParam) { return {}; }
std::size_t CountThreadWindows() { return {}; }

void UseNullWindowBackend() {}
void SetNullTextMetrics(int charWidth, int lineHeight) {}
void SetNullBackendLogging(bool on) {}
std::vector<std::string> TakeNullBackendLog() { return {}; }
int PumpPending() { return {}; }
WouldBlockHandler SetWouldBlockHandler(WouldBlockHandler handler) { return {}; }
int WouldBlockCount() { return {}; }
void ResetWindowTestState() {}

}  // namespace zev

namespace zev::wnd {

WindowBackend* SetBackend(WindowBackend* backend) { return {}; }
bool GetWindowView(HWND hwnd, WindowView* view) { return {}; }
bool GetControlView(HWND hwnd, ControlView* view) { return {}; }
ControlKind KindOf(HWND hwnd) { return {}; }
bool HasQueuedMessages() { return {}; }
ULONGLONG NextTimerDue() { return {}; }
void DefaultWait(ULONGLONG deadline) {}
BOOL InputClick(HWND control) { return {}; }
BOOL InputDoubleClick(HWND control) { return {}; }
BOOL InputText(HWND control, const char* text) { return {}; }
BOOL InputSelect(HWND control, int index) { return {}; }
BOOL InputSelectItem(HWND control, int index, bool selected) { return {}; }
BOOL InputDropDown(HWND combo, bool shown) { return {}; }
BOOL InputClose(HWND topLevel) { return {}; }
BOOL InputFocus(HWND hwnd) { return {}; }
BOOL InputKey(HWND target, UINT message, WPARAM virtualKey, LPARAM keyData, UINT ch, std::uintptr_t token) { return {}; }
BOOL InputMoved(HWND topLevel, const RECT& windowRect) { return {}; }
bool InputAllowed(HWND hwnd) { return {}; }

}  // namespace zev::wnd

namespace zev {

DialogTemplate::DialogTemplate(DWORD style, short x, short y, short cx, short cy, const char* caption_,
                               DWORD exStyle)
    : header{style, exStyle, 0, x, y, cx, cy}, caption(caption_ ? caption_ : "") {}
DialogTemplate& DialogTemplate::SetFont(const char* face, WORD size) {
  fontFace = face ? face : "";
  pointSize = size;
  return *this;
}
DialogTemplate& DialogTemplate::SetClassName(const char* name) {
  className = name ? name : "";
  return *this;
}
DialogTemplate& DialogTemplate::Control(const char* text, WORD id, const char* cls, DWORD style, short x,
                                        short y, short cx, short cy, DWORD exStyle) {
  items.push_back({{style, exStyle, x, y, cx, cy, id}, cls ? cls : "", text ? text : ""});
  header.cdit = WORD(items.size());
  return *this;
}
DialogTemplate& DialogTemplate::PushButton(const char* t, WORD id, short x, short y, short cx, short cy, DWORD s) {
  return Control(t, id, "Button", BS_PUSHBUTTON | WS_TABSTOP | s, x, y, cx, cy);
}
DialogTemplate& DialogTemplate::DefPushButton(const char* t, WORD id, short x, short y, short cx, short cy,
                                              DWORD s) {
  return Control(t, id, "Button", BS_DEFPUSHBUTTON | WS_TABSTOP | s, x, y, cx, cy);
}
DialogTemplate& DialogTemplate::CheckBox(const char* t, WORD id, short x, short y, short cx, short cy, DWORD s) {
  return Control(t, id, "Button", BS_CHECKBOX | WS_TABSTOP | s, x, y, cx, cy);
}
DialogTemplate& DialogTemplate::AutoCheckBox(const char* t, WORD id, short x, short y, short cx, short cy,
                                             DWORD s) {
  return Control(t, id, "Button", BS_AUTOCHECKBOX | WS_TABSTOP | s, x, y, cx, cy);
}
DialogTemplate& DialogTemplate::RadioButton(const char* t, WORD id, short x, short y, short cx, short cy,
                                            DWORD s) {
  return Control(t, id, "Button", BS_RADIOBUTTON | s, x, y, cx, cy);
}
DialogTemplate& DialogTemplate::AutoRadioButton(const char* t, WORD id, short x, short y, short cx, short cy,
                                                DWORD s) {
  return Control(t, id, "Button", BS_AUTORADIOBUTTON | s, x, y, cx, cy);
}
DialogTemplate& DialogTemplate::GroupBox(const char* t, WORD id, short x, short y, short cx, short cy, DWORD s) {
  return Control(t, id, "Button", BS_GROUPBOX | s, x, y, cx, cy);
}
DialogTemplate& DialogTemplate::LText(const char* t, WORD id, short x, short y, short cx, short cy, DWORD s) {
  return Control(t, id, "Static", SS_LEFT | WS_GROUP | s, x, y, cx, cy);
}
DialogTemplate& DialogTemplate::CText(const char* t, WORD id, short x, short y, short cx, short cy, DWORD s) {
  return Control(t, id, "Static", SS_CENTER | WS_GROUP | s, x, y, cx, cy);
}
DialogTemplate& DialogTemplate::RText(const char* t, WORD id, short x, short y, short cx, short cy, DWORD s) {
  return Control(t, id, "Static", SS_RIGHT | WS_GROUP | s, x, y, cx, cy);
}
DialogTemplate& DialogTemplate::Icon(const char* name, WORD id, short x, short y, DWORD s) {
  return Control(name, id, "Static", SS_ICON | s, x, y, 0, 0);
}
DialogTemplate& DialogTemplate::EditText(WORD id, short x, short y, short cx, short cy, DWORD s) {
  return Control("", id, "Edit", ES_LEFT | WS_BORDER | WS_TABSTOP | s, x, y, cx, cy);
}
DialogTemplate& DialogTemplate::ListBox(WORD id, short x, short y, short cx, short cy, DWORD s) {
  return Control("", id, "ListBox", LBS_NOTIFY | WS_BORDER | s, x, y, cx, cy);
}
DialogTemplate& DialogTemplate::ComboBox(WORD id, short x, short y, short cx, short cy, DWORD s) {
  return Control("", id, "ComboBox", s, x, y, cx, cy);
}

BOOL ScriptedUser::Click(HWND) { return FALSE; }
BOOL ScriptedUser::DoubleClick(HWND) { return FALSE; }
BOOL ScriptedUser::Type(HWND, const char*) { return FALSE; }
BOOL ScriptedUser::PressKey(UINT, char) { return FALSE; }
BOOL ScriptedUser::SetText(HWND, const char*) { return FALSE; }
BOOL ScriptedUser::Select(HWND, int) { return FALSE; }
BOOL ScriptedUser::Close(HWND) { return FALSE; }
BOOL ScriptedUser::Focus(HWND) { return FALSE; }
void ScriptedUser::Script(std::function<void()>) {}
std::size_t ScriptedUser::PendingSteps() { return 0; }
void ScriptedUser::ClearScript() {}

}  // namespace zev

namespace zev::wnd {
WindowBackend& Backend() { static WindowBackend* b = nullptr; return *b; }
// Weak: the GTK backend's definition takes its place when it is built.
__attribute__((weak)) WindowBackend* CreateHostWindowBackend() { return nullptr; }
}  // namespace zev::wnd
