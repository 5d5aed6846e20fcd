// Framework-shaped wrappers over the window layer: the command target, the window object
// (CWnd) that gets a window's messages as virtual calls, and the command-update route
// (CCmdUI) through which a target sets a control's state.
#pragma once
#include "zevutil/platform/CObject.h"
#include "zevutil/platform/Types.h"
#include "zevutil/platform/Window.h"

namespace zev {

class CCmdUI;

// Notification codes of OnCmdMsg.
inline constexpr int CN_COMMAND = 0;
inline constexpr int CN_UPDATE_COMMAND_UI = -1;

// Something that commands and command updates are routed to. The base handles nothing; a
// dialog answers CN_UPDATE_COMMAND_UI for a control id by calling the CCmdUI it is given
// (pExtra) and returning TRUE.
class CCmdTarget : public CObject {
 public:
  CCmdTarget() = default;
  ~CCmdTarget() override = default;
  virtual BOOL OnCmdMsg(UINT nID, int nCode, void* pExtra, void* pHandlerInfo);
};

// A window object. Create/CreateEx make a window and route its messages to WindowProc;
// Attach only wraps a handle (messages keep going to the window's own procedure). A
// window object is used on the thread that made its window.
class CWnd : public CCmdTarget {
 public:
  CWnd() = default;
  explicit CWnd(HWND hwnd) : m_hWnd(hwnd) {}
  ~CWnd() override;
  CWnd(const CWnd&) = delete;
  CWnd& operator=(const CWnd&) = delete;

  // Makes the window and routes its messages through WindowProc from WM_CREATE on. A null
  // class name uses the layer's plain window class. FALSE when the window was not made or
  // this object already has one.
  BOOL CreateEx(DWORD exStyle, LPCSTR className, LPCSTR windowName, DWORD style, int x, int y, int width,
                int height, HWND parent, UINT id = 0, LPVOID param = nullptr);
  BOOL Create(LPCSTR className, LPCSTR windowName, DWORD style, const RECT& rect, CWnd* parent, UINT id);
  // Destroys the window made by Create; the object stays.
  virtual BOOL DestroyWindow();

  // Wraps a handle without taking its messages; FALSE when the object already has one.
  BOOL Attach(HWND hwnd);
  HWND Detach();

  HWND GetSafeHwnd() const { return m_hWnd; }
  operator HWND() const { return m_hWnd; }
  // The object of a window: the one that made or wraps it, otherwise a temporary object of
  // the calling thread, valid until the thread's next idle tick (or DeleteTempMap, which
  // frees the thread's temporary objects). Null for a null handle.
  static CWnd* FromHandle(HWND hwnd);
  // The object that made or wraps the window, or null.
  static CWnd* FromHandlePermanent(HWND hwnd);
  static void DeleteTempMap();

  // Plain operations on the window.
  BOOL IsWindow() const { return ::zev::IsWindow(m_hWnd); }
  CWnd* GetDlgItem(int id) const { return FromHandle(::zev::GetDlgItem(m_hWnd, id)); }
  int GetDlgCtrlID() const { return ::zev::GetDlgCtrlID(m_hWnd); }
  CWnd* GetParent() const { return FromHandle(::zev::GetParent(m_hWnd)); }
  BOOL EnableWindow(BOOL enable = TRUE) { return ::zev::EnableWindow(m_hWnd, enable); }
  BOOL ShowWindow(int cmdShow) { return ::zev::ShowWindow(m_hWnd, cmdShow); }
  BOOL IsWindowEnabled() const { return ::zev::IsWindowEnabled(m_hWnd); }
  BOOL IsWindowVisible() const { return ::zev::IsWindowVisible(m_hWnd); }
  void SetWindowText(LPCSTR text) { ::zev::SetWindowTextA(m_hWnd, text); }
  LRESULT SendMessage(UINT msg, WPARAM wParam = 0, LPARAM lParam = 0) {
    return ::zev::SendMessageA(m_hWnd, msg, wParam, lParam);
  }
  UINT_PTR SetTimer(UINT_PTR id, UINT elapse, TIMERPROC proc = nullptr) {
    return ::zev::SetTimer(m_hWnd, id, elapse, proc);
  }
  BOOL KillTimer(UINT_PTR id) { return ::zev::KillTimer(m_hWnd, id); }

  HWND m_hWnd = nullptr;

 protected:
  // Every message of a window made by Create. The base passes it to DefWindowProc.
  virtual LRESULT WindowProc(UINT msg, WPARAM wParam, LPARAM lParam);
  // The procedure the window had before this object took its messages.
  virtual LRESULT DefWindowProc(UINT msg, WPARAM wParam, LPARAM lParam);
  // After WM_NCDESTROY, once the handle is detached.
  virtual void PostNcDestroy() {}

 private:
  static LRESULT ObjectWndProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);
  WNDPROC m_pfnSuper = nullptr;
  bool m_bOwnsMessages = false;  // made by Create: its messages come to WindowProc
  bool m_bTemporary = false;     // made by FromHandle for a window nobody wraps
};

// The state of one user-interface item during a command update: a control (m_pOther)
// whose id is m_nID. The set operations act on the control.
class CCmdUI {
 public:
  CCmdUI() = default;
  virtual ~CCmdUI() = default;

  virtual void Enable(BOOL bOn = TRUE);
  virtual void SetCheck(int nCheck = 1);  // 0 clear, 1 checked, 2 indeterminate
  virtual void SetRadio(BOOL bOn = TRUE);
  virtual void SetText(LPCSTR text);

  // Asks the target to update this item. With bDisableIfNoHndler set, an item whose
  // target neither updated its enabled state nor handles its command is disabled.
  // Returns whether the target handled the update.
  BOOL DoUpdate(CCmdTarget* pTarget, BOOL bDisableIfNoHndler);

  UINT m_nID = 0;
  UINT m_nIndex = 0;
  void* m_pMenu = nullptr;
  void* m_pSubMenu = nullptr;
  CWnd* m_pOther = nullptr;
  BOOL m_bEnableChanged = FALSE;
  BOOL m_bContinueRouting = FALSE;
  UINT m_nIndexMax = 0;
};

}  // namespace zev
