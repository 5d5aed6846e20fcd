// The suite's dialog bases: CZevDlg (modal or modeless, reporting its end), CZevMsgBox (a
// self-deleting notice) and CInputBoxDlg (two text fields).
#include "zevutil/CZevDlg.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "zevutil/CFlexMessageBox.h"
#include "zevutil/platform/Host.h"

namespace zev {

// ---- CZevDlg ----

CZevDlg::CZevDlg(char* templateName, const char* title, CWnd* parent)
    : CDialog(templateName, parent), m_strTitle(title ? title : ""), m_pNotifyTarget(parent), m_pParent(parent) {}

CZevDlg::CZevDlg(unsigned int templateId, const char* title, CWnd* parent)
    : CDialog(templateId, parent), m_strTitle(title ? title : ""), m_pNotifyTarget(parent), m_pParent(parent) {}

CZevDlg::CZevDlg() : m_bModeless(TRUE) {}

BOOL CZevDlg::Create(const char* templateName, const char* title, CWnd* notifyTarget, CWnd* parent,
                     int disableParent, unsigned int notifyID) {
  if (notifyTarget && !notifyTarget->IsWindow()) return FALSE;
  if (parent && !parent->IsWindow()) return FALSE;
  m_strTitle = title ? title : "";
  m_pNotifyTarget = notifyTarget;
  m_pParent = parent;
  m_bDisableParent = disableParent;
  m_wNotifyID = WORD(notifyID);
  m_bModeless = TRUE;
  return CDialog::Create(templateName, notifyTarget);
}

BOOL CZevDlg::Create(unsigned int templateId, const char* title, CWnd* notifyTarget, CWnd* parent,
                     int disableParent, unsigned int notifyID) {
  return Create(MAKEINTRESOURCEA(WORD(templateId)), title, notifyTarget, parent, disableParent, notifyID);
}

INT_PTR CZevDlg::DoModal() {
  m_bModeless = FALSE;
  m_bDisableParent = FALSE;
  m_nResult = -1;
  INT_PTR r = CDialog::DoModal();
  m_nResult = int(r);
  return r;
}

BOOL CZevDlg::ContinueModal() {
  if (!m_hWnd || !::zev::IsWindow(m_hWnd)) return FALSE;
  return CDialog::ContinueModal();
}

BOOL CZevDlg::OnInitDialog() {
  if (!m_strTitle.IsEmpty()) SetWindowText(m_strTitle);
  if (m_bDisableParent && m_pParent) {
    m_bParentWasEnabled = m_pParent->IsWindowEnabled();
    if (m_bParentWasEnabled) m_pParent->EnableWindow(FALSE);
  }
  return CDialog::OnInitDialog();
}

BOOL CZevDlg::OnCommand(WPARAM wParam, LPARAM lParam) {
  if (LOWORD(DWORD(wParam)) == IDABORT && HIWORD(DWORD(wParam)) == BN_CLICKED) {
    OnAbort();
    return TRUE;
  }
  return CDialog::OnCommand(wParam, lParam);
}

void CZevDlg::OnOK() { CloseDlg(IDOK); }
void CZevDlg::OnCancel() { CloseDlg(IDCANCEL); }
void CZevDlg::OnClose() { CloseDlg(8); }
void CZevDlg::OnAbort() { CloseDlg(IDABORT); }

void CZevDlg::CloseDlg(unsigned int id) {
  m_nResult = int(id);
  if (!m_bModeless) {
    if (id == IDOK)
      CDialog::OnOK();
    else if (id == IDCANCEL)
      CDialog::OnCancel();
    else
      Default();  // kept: a modal close by the close box turns into Cancel, an abort does nothing more
    return;
  }
  UpdateData(TRUE);
  if (m_pNotifyTarget && m_pNotifyTarget->IsWindow())
    PostMessageA(m_pNotifyTarget->GetSafeHwnd(), WM_COMMAND, MAKEWPARAM(m_wNotifyID, WORD(id + ZEVDLG_NOTIFY_OFFSET)),
                 reinterpret_cast<LPARAM>(m_hWnd));
  if (m_bDisableParent && m_pParent && m_bParentWasEnabled && m_pParent->IsWindow()) m_pParent->EnableWindow(TRUE);
  if (m_pParent && m_pParent->IsWindow()) ::zev::SetFocus(m_pParent->GetSafeHwnd());
  DestroyWindow();
}

BOOL CZevDlg::SpinEditVerify(int control, double minimum, double maximum, int decimals) {
  HWND item = ::zev::GetDlgItem(m_hWnd, control);
  const double value = std::atof(GetWindowTextString(item).c_str());
  if (value >= minimum && value <= maximum) return TRUE;
  char message[256];
  if (decimals == 0) {
    std::snprintf(message, sizeof message, "Please enter a value between %.0f and %.0f", minimum, maximum);
  } else {
    char format[96];
    std::snprintf(format, sizeof format, "Please enter a value between %%.%df and %%.%df", decimals, decimals);
    std::snprintf(message, sizeof message, format, minimum, maximum);
  }
  MessageBoxA(m_hWnd, message, m_strTitle.IsEmpty() ? nullptr : m_strTitle.GetString(), MB_OK | MB_ICONEXCLAMATION);
  if (item) {
    ::zev::SetFocus(item);
    GotoDlgCtrl(item);
  }
  return FALSE;
}

// ---- CZevMsgBox ----

CZevMsgBox::CZevMsgBox(int large, unsigned int message)
    : CDialog(large ? IDD_ZEVMSGBOX : IDD_ZEVMSGBOX_SMALL),
      m_nTemplateID(large ? IDD_ZEVMSGBOX : IDD_ZEVMSGBOX_SMALL),
      m_nLarge(large),
      m_nPostMessage(message) {}

CZevMsgBox::CZevMsgBox(unsigned int templateId)
    : CDialog(templateId ? templateId : IDD_ZEVMSGBOX), m_nTemplateID(templateId ? templateId : IDD_ZEVMSGBOX) {}

BOOL CZevMsgBox::DisplayMessage(const CString& text, unsigned int style, CWnd* owner) {
  m_strMessage = text;
  m_nStyle = int(style);
  m_pOwner = owner;
  if (!Create(m_nTemplateID, owner)) return FALSE;
  ShowWindow(SW_SHOW);
  return TRUE;
}

BOOL CZevMsgBox::OnInitDialog() {
  CDialog::OnInitDialog();
  SetDlgItemTextA(m_hWnd, IDC_ZEVMSGBOX_TEXT, m_strMessage);
  if (m_strTitle.IsEmpty()) {
    // Without an owner the title is the application's main window's: the active one.
    HWND from = m_pOwner ? m_pOwner->GetSafeHwnd() : GetActiveWindow();
    if (from && from != m_hWnd) m_strTitle = GetWindowTextString(from).c_str();
  }
  SetWindowText(m_strTitle);
  HICON icon = nullptr;
  switch (m_nStyle & MB_ICONMASK) {
    case MB_ICONHAND: icon = LoadIconA(nullptr, IDI_HAND); break;
    case MB_ICONQUESTION: icon = LoadIconA(nullptr, IDI_QUESTION); break;
    case MB_ICONEXCLAMATION: icon = LoadIconA(nullptr, IDI_EXCLAMATION); break;
    case MB_ICONASTERISK: icon = LoadIconA(nullptr, IDI_ASTERISK); break;
    default:
      icon = LoadIconA(GetModuleOfAddress(nullptr), MAKEINTRESOURCEA(0x7F00));
      if (!icon) icon = LoadIconA(nullptr, IDI_HAND);
      break;
  }
  m_hIcon = ::zev::GetDlgItem(m_hWnd, IDC_ZEVMSGBOX_ICON);
  if (m_hIcon) SendMessageA(m_hIcon, STM_SETICON, reinterpret_cast<WPARAM>(icon), 0);
  if (m_pOwner) CenterWindow(m_pOwner);
  return TRUE;
}

void CZevMsgBox::OnOK() {
  if (m_nPostMessage && m_pOwner && m_pOwner->IsWindow())
    PostMessageA(m_pOwner->GetSafeHwnd(), m_nPostMessage, 0, 0);
  DestroyWindow();
}

// Escape and the close box close the notice without the OK message.
void CZevMsgBox::OnCancel() { DestroyWindow(); }

void CZevMsgBox::PostNcDestroy() { delete this; }

// ---- CInputBoxDlg ----

CInputBoxDlg::CInputBoxDlg(CWnd* parent) : CDialog(IDD_INPUTBOX, parent) {}

void CInputBoxDlg::DoDataExchange(CDataExchange* pDX) {
  DDX_Text(pDX, IDC_INPUTBOX_FIRST, m_strFirst);
  DDX_Text(pDX, IDC_INPUTBOX_SECOND, m_strSecond);
}

}  // namespace zev
