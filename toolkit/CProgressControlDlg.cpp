// The modeless progress window: the worker shows each step with DisplayNext and asks
// Continue whether to go on; Cancel asks it to stop.
#include <cstring>
#include <string>

#include "zevutil/CFlexMessageBox.h"
#include "zevutil/CZevDlg.h"
#include "zevutil/platform/Host.h"

namespace zev {

CProgressControlDlg::CProgressControlDlg() : CDialog(IDD_PROGRESSCONTROL) {}

CProgressControlDlg::CProgressControlDlg(const char* title, CWnd* owner, int hideCancel)
    : CDialog(IDD_PROGRESSCONTROL, owner) {
  CreateProgressDialog(title, owner, hideCancel);
  m_nTotalCount = 1;
}

BOOL CProgressControlDlg::CreateProgressDialog(const char* title, CWnd* owner, int hideCancel) {
  m_bContinue = 1;
  m_nTotalCount = 0;
  m_nPosition = 0;
  m_pOwner = owner;
  m_bHideCancel = hideCancel;
  if (!Create(IDD_PROGRESSCONTROL, owner)) return FALSE;
  if (hideCancel) ::zev::ShowWindow(::zev::GetDlgItem(m_hWnd, IDCANCEL), SW_HIDE);
  SetWindowText(title ? title : "");
  return TRUE;
}

BOOL CProgressControlDlg::OnInitDialog() {
  CDialog::OnInitDialog();
  m_hProgress = ::zev::GetDlgItem(m_hWnd, IDC_PROGRESS_BAR);
  SendMessageA(m_hProgress, PBM_SETRANGE32, 0, 100);
  if (m_bHideCancel) {
    // Without the button the bar takes its place up to the button's right edge.
    RECT bar{}, button{};
    GetWindowRect(m_hProgress, &bar);
    GetWindowRect(::zev::GetDlgItem(m_hWnd, IDCANCEL), &button);
    MapWindowPoints(nullptr, m_hWnd, reinterpret_cast<POINT*>(&bar), 2);
    MapWindowPoints(nullptr, m_hWnd, reinterpret_cast<POINT*>(&button), 2);
    MoveWindow(m_hProgress, bar.left, bar.top, button.right - bar.left, bar.bottom - bar.top, TRUE);
  }
  return TRUE;
}

int CProgressControlDlg::Continue() {
  // A message that destroys the window deletes this object (here or in the question's own
  // loop): the flag on the stack tells.
  bool alive = true;
  bool* outer = m_pAlive;
  m_pAlive = &alive;
  auto gone = [&] {
    if (outer) *outer = false;
    return 0;
  };
  MSG msg;
  while (m_hWnd && PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {
    if (msg.message == WM_QUIT) {
      // The application's loop must still see it.
      PostQuitMessage(int(msg.wParam));
      break;
    }
    if (!IsDialogMessageA(m_hWnd, &msg)) {
      TranslateMessage(&msg);
      DispatchMessageA(&msg);
    }
    if (!alive) return gone();
  }
  if (!m_hWnd || !::zev::IsWindow(m_hWnd)) {
    m_pAlive = outer;
    return 0;
  }
  if (!m_bContinue) {
    const char* text = "Are you sure you want to cancel?";
    const char* title = "Cancel operation";
    const UINT style = MB_YESNO | MB_ICONQUESTION;
    int answer = m_pOwner && m_pOwner->IsWindow() ? MessageBoxA(m_pOwner->GetSafeHwnd(), text, title, style)
                                                  : MessageBoxA(nullptr, text, title, style);
    if (!alive) return gone();
    // Yes leaves the flag down, so a later call asks again.
    if (answer != IDYES) m_bContinue = 1;
  }
  m_pAlive = outer;
  return m_bContinue;
}

void CProgressControlDlg::DisplayNext(const char* text) {
  if (!m_hWnd) return;
  BringWindowToTop(m_hWnd);
  HWND line = ::zev::GetDlgItem(m_hWnd, IDC_PROGRESS_TEXT);
  SetWindowTextA(line, text ? text : "");
  UpdateWindow(line);
  ++m_nPosition;
  const int pos = (m_nTotalCount == 0 || m_nPosition > m_nTotalCount) ? 100 : m_nPosition * 100 / m_nTotalCount;
  SendMessageA(m_hProgress, PBM_SETPOS, WPARAM(pos), 0);
}

void CProgressControlDlg::FormatNDisplayNext(const char* format, const char* text) {
  if (!m_hWnd) return;
  std::string cut(text ? text : "", 0, 511);
  HWND line = ::zev::GetDlgItem(m_hWnd, IDC_PROGRESS_TEXT);
  RECT client{};
  GetClientRect(line, &client);
  const int limit = client.right * 3 / 2;
  std::string shown;
  for (;;) {
    shown = FormatWinF(format ? format : "%s", cut.c_str());
    SIZE sz{};
    GetWindowTextExtent(line, shown.c_str(), 0, &sz);
    if (sz.cx <= limit) break;
    // Ten characters off the end, marked by "...". A text of ten or fewer becomes "..." (the
    // cut cannot start before the text), and once cutting changes nothing the loop stops:
    // a format whose own part is too wide would otherwise never end.
    std::string next = cut.substr(0, cut.size() > 10 ? cut.size() - 10 : 0) + "...";
    if (next == cut) break;
    cut = next;
  }
  DisplayNext(shown.c_str());
}

void CProgressControlDlg::OnOK() {
  // No OK button: Enter does not end the window while the worker runs.
}

void CProgressControlDlg::OnCancel() {
  m_bContinue = 0;
  HWND line = ::zev::GetDlgItem(m_hWnd, IDC_PROGRESS_TEXT);
  SetWindowTextA(line, "Cancelling...Please Wait...");
  RedrawWindow(line, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
}

void CProgressControlDlg::PostNcDestroy() {
  m_hProgress = nullptr;
  if (m_pAlive) *m_pAlive = false;
  delete this;
}

}  // namespace zev
