// Listening to other windows' messages: per-window hooks through one common window
// procedure (CWinHookBase), a funnel of chosen control messages into one WM_COMMAND
// (CWinHookFunnel), per-thread clients of the message queue (GetMsgHook), and groups of
// windows handled and moved together (CWindowArray, CWindowMover).
#pragma once
#include <map>
#include <vector>

#include "zevutil/platform/Types.h"
#include "zevutil/platform/Window.h"

namespace zev {

class CWnd;
class CWinHookBase;

// A hook handler: window, message, wParam, lParam and where the result goes (it starts at
// 0). A non-zero answer means handled: later hooks and the window's own procedure do not run.
using WINHOOKPROC = BOOL (CWinHookBase::*)(HWND, UINT, WPARAM, LPARAM, LRESULT*);

// Hooks on windows of the calling thread. The first hook on a window replaces its procedure
// by a common one, which calls the hook for the message, then the all-message hooks newest
// first, then the window's previous procedure if none of them handled it. Hooks work on the
// thread that loaded the library; elsewhere every operation answers 0 or does nothing.
class CWinHookBase {
 public:
  CWinHookBase() = default;
  CWinHookBase(const CWinHookBase&) {}
  CWinHookBase& operator=(const CWinHookBase&) { return *this; }
  virtual ~CWinHookBase();

  // The handler a null handler stands for. The base handles nothing.
  virtual BOOL defWndProcHook(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam, LRESULT* pResult);
  // Called once per owner when a window's hooks go with the window (after WM_NCDESTROY).
  virtual void OnRemoveHooks(HWND hwnd);

  // Hooks one message of a window; a later hook for the same window and message replaces
  // this one, whoever owns it. 0 for a dead window, message 0, or no hook table.
  BOOL AddMsgHook(HWND hwnd, UINT message, WINHOOKPROC handler = nullptr);
  // Hooks every message of a window. 0 for a dead window or no hook table.
  BOOL AddHwndHook(HWND hwnd, WINHOOKPROC handler = nullptr);
  // Removes every hook of this object from every window.
  void RemoveHooks();
  // The window's procedure from before its first hook; 0 when the window has no hooks.
  LRESULT CallOriginalWndproc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
};

// A growing array of window handles, with operations on all of them. The operations
// return the array.
class CWindowArray {
 public:
  CWindowArray() = default;
  virtual ~CWindowArray() = default;

  CWindowArray& AddHwnd(HWND hwnd);
  CWindowArray& operator<<(HWND hwnd) { return AddHwnd(hwnd); }
  CWindowArray& AddControl(HWND parent, UINT id);
  CWindowArray& Flush();
  CWindowArray& SetArray(const HWND* windows, UINT count);
  // Looks every id up in 'parent'; when one is missing the array stays as it was.
  CWindowArray& SetArray(HWND parent, const UINT* ids, UINT count);
  // 0 when a handle is not a window or, with noDuplicates, occurs twice; otherwise 1.
  BOOL ValidateAll(int noDuplicates) const;
  CWindowArray& AssertValid(int) { return *this; }
  CWindowArray& DestroyWindows(int flush);
  CWindowArray& ShowWindows(int show);
  CWindowArray& EnableWindows(int enable);
  CWindowArray& SetAllParent(HWND parent);

  int GetSize() const { return int(m_Windows.size()); }
  HWND GetAt(int i) const { return m_Windows[std::size_t(i)]; }
  HWND operator[](int i) const { return GetAt(i); }

 protected:
  std::vector<HWND> m_Windows;
};

// Watches chosen messages of some windows and reports each match to a parent window as
// WM_COMMAND with wParam the notify command and lParam 0. It only listens: the window's
// own procedure still gets the message.
class CWinHookFunnel : public CWindowArray, public CWinHookBase {
 public:
  struct tFilter {
    HWND Window;
    UINT Message;
    BOOL UseParam;
    DWORD Param;
  };

  CWinHookFunnel() = default;
  ~CWinHookFunnel() override = default;

  // An invalid window leaves the notify parent as it is.
  CWinHookFunnel& SetParent(HWND parent);
  CWinHookFunnel& SetParent(CWnd* parent);
  CWinHookFunnel& SetNotifyCommand(UINT command);
  CWinHookFunnel& AddHwnd(HWND hwnd);
  CWinHookFunnel& operator<<(HWND hwnd) { return AddHwnd(hwnd); }
  // A control of the notify parent.
  CWinHookFunnel& AddControl(UINT id);
  CWinHookFunnel& operator<<(UINT id) { return AddControl(id); }

  // Watches 'message' on a window. With useParam, wParam must equal param as well; for
  // WM_NOTIFY the low 16 bits of param are the wParam and the high 16 bits the code of
  // the notification header. An invalid window is ignored.
  CWinHookFunnel& AddHook(HWND hwnd, UINT message, int useParam, DWORD param);
  CWinHookFunnel& AddHook(UINT id, UINT message, int useParam, DWORD param);
  CWinHookFunnel& AddHookAll(UINT message, int useParam, DWORD param);
  // Watches the notify parent for a control's WM_COMMAND or WM_NOTIFY code; any other
  // message is watched on the parent without a parameter.
  CWinHookFunnel& AddNotifyHook(UINT id, UINT code, UINT message);

  // The message being reported, valid while the notify parent handles the WM_COMMAND.
  const MSG& GetCurrentMessage() const { return m_CurrentMessage; }
  BOOL IsInNotify() const { return m_bInNotify; }
  HWND GetNotifyParent() const { return m_hNotifyParent; }
  UINT GetNotifyCommand() const { return m_nNotifyCommand; }

  BOOL defWndProcHook(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam, LRESULT* pResult) override;

 protected:
  HWND m_hNotifyParent = nullptr;
  DWORD m_nNotifyCommand = 0;
  std::map<HWND, std::vector<tFilter>> m_Filters;
  BOOL m_bInNotify = FALSE;
  MSG m_CurrentMessage{};
};

// A client of the calling thread's message queue: OnMessage sees each message as it is
// taken from the queue. A client that answers non-zero spoils the message (its number
// becomes a private registered message that nobody handles) and later clients miss it.
// Make and destroy a client on the same thread.
class GetMsgHook {
 public:
  GetMsgHook();
  GetMsgHook(const GetMsgHook&) = delete;
  GetMsgHook& operator=(const GetMsgHook&) = delete;
  virtual ~GetMsgHook();

  virtual BOOL OnMessage(MSG& msg);

  // Passes a hook call on along the current thread's hook chain.
  static LRESULT CallNextHook(int code, WPARAM wParam, LPARAM lParam);
  // Enters (non-zero) or leaves (zero) the lock that guards every thread's clients.
  static void lock(int enter);
  // The message number a spoilt message gets ("ZEV#GetMessageHook"); 0 before the first client.
  static UINT GetSpoiltMessage();

  // Live clients in the process.
  static int sm_nHooks;

 private:
  static LRESULT StaticHook(int code, WPARAM wParam, LPARAM lParam);
};

// Moves a group of windows of one parent. Per axis: 0 leaves it, 1 moves by the value,
// 2 puts the near edge (top, left) at the value, 3 the far edge (bottom, right), 4 centres
// on the value. Without the lock each window is placed alone; with it the group moves as
// one and keeps its inner layout.
class CWindowMover : public CWindowArray {
 public:
  enum EV_OPT { EV_NONE = 0, EV_OFFSET = 1, EV_TOP = 2, EV_BOTTOM = 3, EV_CENTER = 4 };
  enum EH_OPT { EH_NONE = 0, EH_OFFSET = 1, EH_LEFT = 2, EH_RIGHT = 3, EH_CENTER = 4 };

  explicit CWindowMover(HWND parent = nullptr) : m_hParent(parent) {}

  CWindowMover& SetParent(HWND parent) {
    m_hParent = parent;
    return *this;
  }
  HWND GetParent() const { return m_hParent; }
  // A control of the parent.
  CWindowMover& operator<<(UINT id);
  CWindowMover& operator<<(HWND hwnd) {
    AddHwnd(hwnd);
    return *this;
  }
  CWindowMover& SetVertical(EV_OPT option, int value, int lock);
  CWindowMover& SetHorizontal(EH_OPT option, int value, int lock);
  // Moves the windows (with repaint, keeping their sizes); stops at the first handle that
  // is not a window.
  void DoMove();

 protected:
  HWND m_hParent = nullptr;
  LONG m_nVerticalOption = 0;
  LONG m_nVerticalValue = 0;
  LONG m_nVerticalLock = 0;
  LONG m_nHorizontalOption = 0;
  LONG m_nHorizontalValue = 0;
  LONG m_nHorizontalLock = 0;
};

}  // namespace zev
