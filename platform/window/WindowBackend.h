// The interface between the window layer and a backend that mirrors its windows on screen.
//
// Contract
// - The layer is the source of truth. Every call "down" (WindowBackend's members) tells the
//   backend of a change the layer has already made to its records; the backend reads what it
//   needs through the read functions below (never through SendMessage, so that subclasses and
//   hooks see no traffic of the backend's own). Down calls come on the window's own thread.
//   The layer reports every change to its records, whatever caused it, so a change that came
//   up from the backend comes back down too: a backend ignores one its widget already shows.
// - The backend feeds user input "up" through the Input* functions, on the window's thread:
//   * Notifications are sent at once, as a control procedure sends them: InputClick on a
//     button gives the check logic and WM_COMMAND/BN_CLICKED to the parent; InputText updates
//     the layer's text and then sends EN_UPDATE and EN_CHANGE; InputSelect on a list, combo or
//     tab updates the selection and sends LBN_SELCHANGE, CBN_SELCHANGE or TCN_SELCHANGING and
//     TCN_SELCHANGE; InputClose sends WM_CLOSE. Hooks of WH_GETMESSAGE do not see these.
//   * Raw keys go through the queue: InputKey posts WM_KEYDOWN (or WM_KEYUP, WM_CHAR) with a
//     token naming the native event. The hooks, subclasses and IsDialogMessage see the message;
//     when it reaches the default procedure of a standard control unchanged, the layer calls
//     ReinjectInput(token) and the backend hands the native event to its widget. A message that
//     was spoilt or handled never gets there: the layer calls DropInput(token) instead, once
//     the message is done with. Each token gets exactly one of the two calls. WM_KEYUP and the
//     WM_SYSKEY* messages carry tokens the same way. The layer never inserts the character of a
//     tokened key itself (nor of the WM_CHAR that TranslateMessage makes from it): the widget
//     does, on reinjection, and reports the new text through InputText.
//   * Every Input* function refuses (returns FALSE, does nothing) when the window is dead,
//     disabled, or has a disabled ancestor (a disabled owner of a modal dialog refuses input
//     without greying: the backend should not grey top-level windows).
// - Every loop is the layer's. GetMessage/WaitMessage call Wait(deadline) when the thread's
//   queue is empty; Wait pumps native events (their handlers call the Input* functions) and
//   returns when HasQueuedMessages() is true or the clock has reached the deadline.
//   PeekMessage calls Poll() once. PostMessage from any thread calls Wake(threadId). A backend
//   that serves one thread only (GTK) calls DefaultWait on the others.
// - The clock is GetClock(). On a virtual clock, a Wait that would sleep until a deadline
//   moves the clock there instead (the null backend does; DefaultWait does too).
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "zevutil/platform/FileChooser.h"
#include "zevutil/platform/Window.h"

namespace zev::wnd {

inline constexpr ULONGLONG kNoDeadline = ~ULONGLONG(0);

// What kind of control a window is, from its class and style.
enum class ControlKind {
  Window,       // any other class (top-level frames, custom controls)
  Dialog,       // the dialog class
  PushButton,   // "Button": push, default push
  CheckBox,     // "Button": check box, 3-state (auto or not)
  RadioButton,  // "Button": radio (auto or not)
  GroupBox,     // "Button": group box
  Edit,         // "Edit"
  Static,       // "Static"
  ListBox,      // "ListBox"
  ComboBox,     // "ComboBox"
  Progress,     // "msctls_progress32"
  Tab,          // "SysTabControl32"
};

// What changed in a control; 'index' names the item where that makes sense, else -1.
enum class StateChange {
  Check,         // button check state (GetControlView().check)
  ItemInserted,  // list, combo or tab item inserted at index
  ItemDeleted,   // item at index removed
  ItemsReset,    // all items removed
  ItemChanged,   // text of the tab item at index
  Selection,     // list, combo or tab selection (index: the new current selection or -1)
  Progress,      // progress range or position
  TextLimit,     // edit or combo text limit
  EditSelection, // edit selection
  ReadOnly,      // ES_READONLY changed
  Style,         // style or extended style (other than visible and disabled)
  Font,          // WM_SETFONT
  Icon,          // STM_SETICON
  DefaultButton, // BS_DEFPUSHBUTTON gained or lost
  DropDown,      // combo list shown or hidden
};

// A copy of what a backend needs to mirror a window.
struct WindowView {
  HWND hwnd = nullptr;
  HWND parent = nullptr;  // a child's parent, else null
  HWND owner = nullptr;   // a top-level window's owner, else null
  std::string className;
  ControlKind kind = ControlKind::Window;
  DWORD style = 0;
  DWORD exStyle = 0;
  int id = 0;
  std::string text;
  RECT rect{};        // window rectangle: in the parent's client coordinates, or the screen's
  RECT clientRect{};  // client rectangle in screen coordinates
  bool visible = false;  // the window's own WS_VISIBLE
  bool enabled = true;   // the window's own WS_DISABLED is clear
  DWORD threadId = 0;
};

// A copy of a control's state.
struct ControlView {
  ControlKind kind = ControlKind::Window;
  UINT check = 0;                    // buttons
  std::vector<std::string> items;    // list, combo, tab
  std::vector<int> selected;         // list: selected items; combo, tab: the current one
  int curSel = -1;                   // list (single), combo, tab
  int rangeLow = 0, rangeHigh = 100, pos = 0;  // progress
  int textLimit = 0;                 // edit, combo
  int selStart = 0, selEnd = 0;      // edit
  bool droppedDown = false;          // combo
  HFONT font = nullptr;
  HICON icon = nullptr;
};

class WindowBackend {
 public:
  virtual ~WindowBackend() = default;
  virtual const char* Name() const = 0;

  // ---- told of changes ----
  // The record is complete; WM_NCCREATE has not been sent yet. A backend may wait to make a
  // native peer until the window is first shown.
  virtual void WindowCreated(HWND hwnd) = 0;
  // After WM_NCDESTROY, children before their parent; the record is still readable.
  virtual void WindowDestroyed(HWND hwnd) = 0;
  virtual void WindowMoved(HWND hwnd) = 0;
  virtual void WindowShown(HWND hwnd, bool visible) = 0;
  virtual void WindowEnabled(HWND hwnd, bool enabled) = 0;
  virtual void WindowTextChanged(HWND hwnd) = 0;
  virtual void WindowParentChanged(HWND hwnd) = 0;
  virtual void WindowZOrderChanged(HWND hwnd) = 0;
  virtual void ControlChanged(HWND hwnd, StateChange what, int index) = 0;
  virtual void FocusChanged(HWND newFocus) = 0;
  // A modal loop starts (modal true) or ends for 'dialog' owned by 'owner' (may be null).
  virtual void ModalChanged(HWND dialog, HWND owner, bool modal) = 0;
  virtual void Invalidated(HWND hwnd) = 0;
  // UpdateWindow / RedrawWindow(RDW_UPDATENOW): draw now.
  virtual void UpdateNow(HWND hwnd) = 0;
  virtual void Beep(UINT type) = 0;

  // ---- asked ----
  // Size of text in the window's font (wrapWidth > 0: wrapped at that many pixels).
  virtual SIZE MeasureText(HWND hwnd, const char* text, int wrapWidth) = 0;
  // Base units (average character width, line height) of a font; null face: the dialog font.
  virtual SIZE DialogBaseUnits(const char* face, int pointSize) = 0;

  // ---- waiting ----
  virtual void Wait(ULONGLONG deadline) = 0;
  virtual void Poll() = 0;
  virtual void Wake(DWORD threadId) = 0;

  // ---- raw input ----
  virtual void ReinjectInput(std::uintptr_t token) = 0;
  virtual void DropInput(std::uintptr_t token) = 0;

  // ---- common dialogs ----
  // Shows a file or folder chooser owned by 'owner' (a top-level window of the layer, or
  // null), runs the layer's loop until the person answers and stores IDOK or IDCANCEL in
  // *result. False when this backend has no chooser of its own.
  virtual bool ChooseFile(HWND owner, FileChooserRequest& req, int* result) {
    (void)owner, (void)req, (void)result;
    return false;
  }
  // Writes what the display shows of a top-level window as a PNG; false when it cannot.
  virtual bool SaveWindowImage(HWND topLevel, const char* pngPath) {
    (void)topLevel, (void)pngPath;
    return false;
  }
};

// The backend in use. The first call picks one: the host's (CreateHostWindowBackend) unless
// ZEVUTIL_WINDOW_BACKEND=null is set or the host has none, else the null backend.
WindowBackend& Backend();
// Installs a backend for the process (null: the null backend); returns the previous one.
// Install before any window exists.
WindowBackend* SetBackend(WindowBackend* backend);
// The host's backend (GTK when a display opens), or null. Defined in platform/host: by the GTK
// backend, or by its stand-in (answering null) in builds without GTK.
WindowBackend* CreateHostWindowBackend();

// ---- reading the layer (no messages are sent) ----
bool GetWindowView(HWND hwnd, WindowView* view);
bool GetControlView(HWND hwnd, ControlView* view);
ControlKind KindOf(HWND hwnd);
// The thread's queue has a posted, sent or input message, or WM_QUIT is pending.
bool HasQueuedMessages();
// The earliest due time of the calling thread's timers, or kNoDeadline.
ULONGLONG NextTimerDue();
// Waits on the calling thread's queue (a condition variable) until HasQueuedMessages() or the
// deadline; on a virtual clock moves the clock to the deadline instead of sleeping.
void DefaultWait(ULONGLONG deadline);

// ---- input from the user ----
BOOL InputClick(HWND control);
BOOL InputDoubleClick(HWND control);
BOOL InputText(HWND control, const char* text);
BOOL InputSelect(HWND control, int index);
// Multiple-selection list: sets or clears one item's selection.
BOOL InputSelectItem(HWND control, int index, bool selected);
BOOL InputDropDown(HWND combo, bool shown);
BOOL InputClose(HWND topLevel);
BOOL InputFocus(HWND hwnd);
// Posts a key message to 'target' (usually GetFocus()). 'ch' is the character the key makes
// (0 for none); TranslateMessage turns it into WM_CHAR.
BOOL InputKey(HWND target, UINT message, WPARAM virtualKey, LPARAM keyData, UINT ch, std::uintptr_t token);
// The user (or the window manager) moved or sized a top-level window: the new window rectangle.
BOOL InputMoved(HWND topLevel, const RECT& windowRect);
// Whether input to the window is allowed now (live, enabled, all ancestors enabled).
bool InputAllowed(HWND hwnd);

}  // namespace zev::wnd
