// The funnel: chosen messages of many windows reported to one parent as one WM_COMMAND.
#include "zevutil/CWinHookBase.h"
#include "zevutil/platform/Wnd.h"

namespace zev {

CWinHookFunnel& CWinHookFunnel::SetParent(HWND parent) {
  if (IsWindow(parent)) m_hNotifyParent = parent;
  return *this;
}

CWinHookFunnel& CWinHookFunnel::SetParent(CWnd* parent) { return SetParent(parent ? parent->m_hWnd : nullptr); }

CWinHookFunnel& CWinHookFunnel::SetNotifyCommand(UINT command) {
  m_nNotifyCommand = command;
  return *this;
}

CWinHookFunnel& CWinHookFunnel::AddHwnd(HWND hwnd) {
  CWindowArray::AddHwnd(hwnd);
  return *this;
}

CWinHookFunnel& CWinHookFunnel::AddControl(UINT id) { return AddHwnd(GetDlgItem(m_hNotifyParent, int(id))); }

CWinHookFunnel& CWinHookFunnel::AddHook(HWND hwnd, UINT message, int useParam, DWORD param) {
  if (!IsWindow(hwnd)) return *this;
  auto it = m_Filters.find(hwnd);
  if (it == m_Filters.end()) {
    it = m_Filters.emplace(hwnd, std::vector<tFilter>{}).first;
    it->second.reserve(10);
    AddHwndHook(hwnd);
  }
  it->second.push_back(tFilter{hwnd, message, useParam ? TRUE : FALSE, param});
  return *this;
}

CWinHookFunnel& CWinHookFunnel::AddHook(UINT id, UINT message, int useParam, DWORD param) {
  return AddHook(GetDlgItem(m_hNotifyParent, int(id)), message, useParam, param);
}

CWinHookFunnel& CWinHookFunnel::AddHookAll(UINT message, int useParam, DWORD param) {
  std::vector<HWND> windows = m_Windows;
  for (HWND hwnd : windows) AddHook(hwnd, message, useParam, param);
  return *this;
}

CWinHookFunnel& CWinHookFunnel::AddNotifyHook(UINT id, UINT code, UINT message) {
  if (message == WM_COMMAND || message == WM_NOTIFY)
    return AddHook(m_hNotifyParent, message, 1, (id & 0xFFFF) | (code << 16));
  return AddHook(m_hNotifyParent, message, 1, 0);
}

BOOL CWinHookFunnel::defWndProcHook(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam, LRESULT*) {
  auto it = m_Filters.find(hwnd);
  if (it == m_Filters.end()) return FALSE;
  bool matched = false;
  for (const tFilter& f : it->second) {
    if (f.Message != message) continue;
    if (f.UseParam) {
      if (message == WM_NOTIFY) {
        const auto* header = reinterpret_cast<const NMHDR*>(lParam);
        // Notification codes are compared on their low 16 bits, the width the filter keeps.
        if (!header || wParam != (f.Param & 0xFFFF) || (header->code & 0xFFFF) != (f.Param >> 16)) continue;
      } else if (wParam != f.Param) {
        continue;
      }
    }
    matched = true;
    break;
  }
  if (matched) {
    m_bInNotify = TRUE;
    m_CurrentMessage = MSG{hwnd, message, wParam, lParam, GetMessageTime(), POINT{0, 0}};
    SendMessageA(m_hNotifyParent, WM_COMMAND, WPARAM(m_nNotifyCommand), 0);
    m_bInNotify = FALSE;
  }
  // Only listening: the window's own procedure runs as well.
  return FALSE;
}

}  // namespace zev
