// Private to the window layer: window records, the per-thread state (queue, timers, hooks,
// focus) and the process-wide registry of handles, classes and message names.
#pragma once
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "window/WindowBackend.h"
#include "zevutil/platform/Window.h"

namespace zev::wnd {

struct ThreadState;

struct WndClass {
  std::string name;
  ATOM atom = 0;
  WNDCLASSA wc{};
  ControlKind kind = ControlKind::Window;  // the built-in classes' kind
  bool builtIn = false;
};

struct ListItem {
  std::string text;
  LPARAM data = 0;
  bool selected = false;
};

// State of the standard controls; which fields count depends on the kind.
struct ControlData {
  UINT check = 0;
  UINT pushed = 0;
  std::vector<ListItem> items;  // list, combo, tab
  int curSel = -1;
  int caret = 0;
  int anchor = -1;
  int topIndex = 0;
  int itemHeight = 0;
  int limit = 0;
  int selStart = 0, selEnd = 0;
  bool modified = false;
  char passwordChar = 0;
  int low = 0, high = 100, pos = 0, step = 10;
  bool dropped = false;
  HICON icon = nullptr;
};

struct DialogData {
  DLGPROC proc = nullptr;
  LRESULT msgResult = 0;
  LONG_PTR user = 0;
  bool ended = false;
  INT_PTR result = 0;
  HWND disabledOwner = nullptr;  // the owner EndDialog must enable again
  HWND focusSave = nullptr;      // the control that had the focus when the dialog lost it
  bool inModalLoop = false;      // a modal loop runs on it (destroying it must wake the loop)
  SIZE baseUnits{6, 13};
  int defId = 0;
  std::string fontFace;
  int pointSize = 0;
};

struct Wnd {
  HWND hwnd = nullptr;
  DWORD handle = 0;
  WndClass* cls = nullptr;
  ThreadState* thread = nullptr;
  DWORD style = 0;
  DWORD exStyle = 0;
  UINT_PTR id = 0;  // control id of a child
  Wnd* parent = nullptr;  // children only
  Wnd* owner = nullptr;   // top-level windows only
  std::vector<Wnd*> children;  // z order: the first is the top, creation order for controls
  std::string text;
  RECT rect{};  // window rectangle in the parent's client coordinates, or the screen's
  WNDPROC proc = nullptr;
  LONG_PTR userData = 0;
  HINSTANCE instance = nullptr;
  HFONT font = nullptr;
  std::vector<std::pair<std::string, HANDLE>> props;
  std::vector<unsigned char> extra;
  ControlKind kind = ControlKind::Window;
  ControlData ctl;
  std::unique_ptr<DialogData> dlg;
  int busy = 0;            // procedures running on this record
  bool destroying = false; // DestroyWindow has started
  bool dead = false;       // the handle no longer names it; freed when busy drops to 0
};

// Keeps a record alive while a procedure runs on it.
class BusyGuard {
 public:
  explicit BusyGuard(Wnd* w) : m_w(w) { ++m_w->busy; }
  ~BusyGuard();
  BusyGuard(const BusyGuard&) = delete;
  BusyGuard& operator=(const BusyGuard&) = delete;

 private:
  Wnd* m_w;
};

struct QueuedMsg {
  MSG msg{};
  std::uintptr_t token = 0;  // a backend's native input event
  UINT ch = 0;               // the character a raw key makes
  bool nativeChar = false;   // WM_CHAR made by TranslateMessage from a raw key the widget types itself
};

struct MessageQueue;

// A message sent from another thread, waiting for the owner's loop.
struct SentMsg {
  HWND hwnd;
  UINT msg;
  WPARAM wParam;
  LPARAM lParam;
  LRESULT result = 0;
  bool done = false;
  std::shared_ptr<MessageQueue> sender;
};

struct MessageQueue {
  std::mutex m;
  std::condition_variable cv;
  std::deque<QueuedMsg> posted;
  std::deque<SentMsg*> sent;
  bool quit = false;
  int quitCode = 0;
  bool alive = true;
  DWORD threadId = 0;
  bool ReadyLocked() const { return !posted.empty() || !sent.empty() || quit; }
};

struct Timer {
  DWORD hwnd = 0;  // handle value, 0 for a thread timer
  UINT_PTR id = 0;
  UINT period = 0;
  ULONGLONG due = 0;
  TIMERPROC proc = nullptr;
};

struct HookRec {
  int type = 0;
  HOOKPROC proc = nullptr;
  ThreadState* thread = nullptr;
  bool removed = false;
};

// The raw input behind the message being dispatched.
struct InputFrame {
  MSG original{};  // as taken from the queue, before the hooks
  std::uintptr_t token = 0;
  UINT ch = 0;              // the character of a raw key
  bool raw = false;         // the message came from the backend's raw input
  bool nativeChar = false;  // a WM_CHAR that the widget types itself
  bool Any() const { return token || ch || raw || nativeChar; }
};

struct ThreadState {
  ThreadState();
  ~ThreadState();
  DWORD tid = 0;
  std::shared_ptr<MessageQueue> queue;
  std::unordered_map<DWORD, Wnd*> windows;  // live windows of this thread
  std::vector<Wnd*> topLevels;              // z order, the first on top
  std::vector<Timer> timers;
  UINT_PTR nextThreadTimer = 1;
  std::vector<HookRec*> hooks[2];  // [0] WH_GETMESSAGE, [1] WH_MSGFILTER; the newest last
  int hookDepth = 0;
  bool hooksDirty = false;
  std::vector<std::pair<int, std::size_t>> hookCalls;  // (chain, index) of each hook running
  HWND focus = nullptr;
  HWND active = nullptr;
  HWND capture = nullptr;
  DWORD lastTime = 0;
  bool keyDown[256] = {};
  // The last message taken with its raw input still unclaimed, and the stack of dispatches.
  InputFrame pending;
  std::vector<InputFrame> frames;
  int inSend = 0;

  Wnd* Find(HWND h) const {
    std::uintptr_t v = reinterpret_cast<std::uintptr_t>(h);
    if (v == 0 || v > 0xFFFFFFFFu) return nullptr;
    auto it = windows.find(DWORD(v));
    return it == windows.end() ? nullptr : it->second;
  }
};

// The calling thread's state, made on first use.
ThreadState& Thread();

// ---- process-wide registry ----
std::mutex& RegistryMutex();
// A live window of any thread, looked up under the registry lock; the caller holds the lock.
Wnd* FindAnyLocked(DWORD handle);
std::shared_ptr<MessageQueue> QueueOfThreadLocked(DWORD tid);

// ---- records ----
inline HWND ToHwnd(DWORD v) { return reinterpret_cast<HWND>(std::uintptr_t(v)); }
// A live window of the calling thread, or null (with ERROR_INVALID_WINDOW_HANDLE).
Wnd* Get(HWND h);
WndClass* FindClass(LPCSTR name);
void EnsureBuiltInClasses();
LRESULT CallProc(Wnd* w, WNDPROC proc, UINT msg, WPARAM wParam, LPARAM lParam);
inline LRESULT Send(Wnd* w, UINT msg, WPARAM wParam, LPARAM lParam) {
  return CallProc(w, w->proc, msg, wParam, lParam);
}
ControlKind KindFor(const WndClass* cls, DWORD style);
// The top-level window that holds w (w itself for a top-level).
Wnd* TopLevelOf(Wnd* w);
bool IsDescendant(const Wnd* ancestor, const Wnd* w);
// Sends WM_COMMAND (code, control) to the control's parent.
void NotifyParent(Wnd* ctl, UINT code);
void FreeRecord(Wnd* w);

// ---- geometry ----
RECT NonClientInsets(DWORD style, DWORD exStyle);
// The client area's top-left corner in screen coordinates.
POINT ClientOrigin(const Wnd* w);
SIZE ClientSize(const Wnd* w);
void ChangeStyle(Wnd* w, int index, DWORD value);

// ---- messages ----
void Push(const std::shared_ptr<MessageQueue>& q, QueuedMsg qm, bool wake);
void ProcessSentMessages(ThreadState& ts);
void DropPendingInput(ThreadState& ts);
void RemoveTimersOf(ThreadState& ts, DWORD handle);
// The raw input behind (hwnd, msg, wParam, lParam) if that is the message being dispatched.
InputFrame* CurrentInput(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);
// A standard control's default procedure reached a raw key: hand it to the widget.
bool ReinjectCurrentInput(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);

// ---- controls ----
LRESULT CALLBACK_ButtonProc(HWND, UINT, WPARAM, LPARAM);
LRESULT CALLBACK_EditProc(HWND, UINT, WPARAM, LPARAM);
LRESULT CALLBACK_StaticProc(HWND, UINT, WPARAM, LPARAM);
LRESULT CALLBACK_ListBoxProc(HWND, UINT, WPARAM, LPARAM);
LRESULT CALLBACK_ComboBoxProc(HWND, UINT, WPARAM, LPARAM);
LRESULT CALLBACK_ProgressProc(HWND, UINT, WPARAM, LPARAM);
LRESULT CALLBACK_TabProc(HWND, UINT, WPARAM, LPARAM);
// The edit text after the user typed 'ch' (or a key such as VK_BACK) at the selection;
// false when the key changes nothing.
bool ApplyKeyToText(Wnd* w, UINT vk, UINT ch, std::string* text);
// Sets a control's text as user input does (limit, EN_UPDATE, EN_CHANGE).
void UserSetText(Wnd* w, const std::string& text);
// Checks a radio button and clears the other automatic radio buttons of its WS_GROUP group.
void CheckRadioInGroup(Wnd* w);
// The members of w's group: from the nearest sibling at or before w with WS_GROUP up to the
// next sibling with WS_GROUP.
std::vector<Wnd*> GroupOf(Wnd* w);
// A click on a button: the automatic check logic, then BN_CLICKED to the parent.
void ButtonClicked(Wnd* w);

// ---- dialogs ----
bool IsDialog(const Wnd* w);

// ---- null backend ----
WindowBackend* NullBackendInstance();

}  // namespace zev::wnd
