// The control wrappers of the dialog assistant: the common base and the button with its
// kinds and radio groups.
#include "zevutil/CDialogAssistant.h"

namespace zev {

IMPLEMENT_DYNCREATE(CDlgCtrlBase, CObject)
IMPLEMENT_DYNCREATE(CDlgCtrlComboBox, CDlgCtrlBase)
IMPLEMENT_DYNCREATE(CDlgCtrlStatic, CDlgCtrlBase)
IMPLEMENT_DYNCREATE(CDlgCtrlEdit, CDlgCtrlBase)
IMPLEMENT_DYNCREATE(CDlgCtrlListBox, CDlgCtrlBase)
IMPLEMENT_DYNCREATE(CDlgCtrlButton, CDlgCtrlBase)

void CDlgCtrlBase::Attach(HWND hwnd) {
  if (!IsWindow(hwnd)) return;
  m_hWnd = hwnd;
  m_nID = UINT(GetDlgCtrlID(hwnd));
  m_bDirty = FALSE;
}

void CDlgCtrlBase::SetAssist(CDialogAssistant* assistant) { m_pAssistant = assistant; }

void CDlgCtrlBase::SetValue(int value) {
  CString text;
  text.Format(m_bFormatSet ? static_cast<const char*>(m_strFormat) : "%d", value);
  SetWindowTextA(m_hWnd, text);
}

void CDlgCtrlBase::SetValue(const char* value) {
  CString text;
  text.Format(m_bFormatSet ? static_cast<const char*>(m_strFormat) : "%s", value ? value : "");
  SetWindowTextA(m_hWnd, text);
}

BOOL CDlgCtrlBase::IsParentNotify(UINT message, WPARAM, LPARAM) {
  return message == WM_NOTIFY || message == WM_COMMAND;
}

BOOL CDlgCtrlBase::PreParentNotify(UINT, WPARAM, LPARAM, LRESULT*) {
  m_bInNotify = TRUE;
  return FALSE;
}

void CDlgCtrlBase::PostParentNotify(UINT, WPARAM, LPARAM, LRESULT*, BOOL) { m_bInNotify = FALSE; }

void CDlgCtrlBase::SetFormat(const char* format) {
  m_strFormat = format ? format : "";
  m_bFormatSet = !m_strFormat.IsEmpty();
}

void CDlgCtrlBase::Enable(int enable) { EnableWindow(m_hWnd, enable ? TRUE : FALSE); }

void CDlgCtrlBase::Show(int show) { ShowWindow(m_hWnd, show ? SW_SHOW : SW_HIDE); }

BOOL CDlgCtrlBase::IsDirty() { return m_bDirty; }

void CDlgCtrlBase::SetDirty(int dirty) {
  if (m_pAssistant && m_pAssistant->GetModifyMask() > 0) return;
  m_bDirty = dirty;
  // kept: the assistant is marked modified even when the wrapper is made clean.
  if (m_pAssistant) m_pAssistant->SetDirty(1, 0);
}

void CDlgCtrlBase::SetNotifyMask(int on) {
  if (on) ++m_nNotifyMask;
  else if (m_nNotifyMask > 0) --m_nNotifyMask;
}

BOOL CDlgCtrlBase::IsNotifyMasked() { return m_nNotifyMask != 0; }

void CDlgCtrlBase::DoUpdateCommandUI(CCmdTarget* target) {
  CCtrlCmdUI ui;
  ui.m_nID = m_nID;
  ui.m_pOther = GetWnd();
  ui.SetCtrlData(this);
  ui.DoUpdate(target, FALSE);
}

void CDlgCtrlButton::Attach(HWND hwnd) {
  CDlgCtrlBase::Attach(hwnd);
  switch (GetWindowLongPtrA(m_hWnd, GWL_STYLE) & 0xFF) {
    case 2: case 3: case 5: case 6:
      m_nButtonKind = kindCheckBox;
      break;
    case 4: case 9:
      m_nButtonKind = kindRadioButton;
      break;
    default:
      m_nButtonKind = kindPushButton;
      break;
  }
}

namespace {

// Keeps a wrapper's notifications masked for a scope, also when it is left by an exception.
class NotifyMaskScope {
 public:
  explicit NotifyMaskScope(CDlgCtrlBase& ctrl) : m_ctrl(ctrl) { m_ctrl.SetNotifyMask(1); }
  ~NotifyMaskScope() { m_ctrl.SetNotifyMask(0); }
  NotifyMaskScope(const NotifyMaskScope&) = delete;
  NotifyMaskScope& operator=(const NotifyMaskScope&) = delete;

 private:
  CDlgCtrlBase& m_ctrl;
};

}  // namespace

void CDlgCtrlButton::SetValue(int value) {
  NotifyMaskScope mask(*this);
  if (m_nButtonKind == kindCheckBox) {
    SendMessageA(m_hWnd, BM_SETCHECK, WPARAM(value), 0);
  } else if (m_nButtonKind == kindRadioButton) {
    // The group: this button and the windows after it while each is a radio button
    // without the group style.
    HWND member = m_hWnd;
    for (int i = 0; member; ++i) {
      SendMessageA(member, BM_SETCHECK, i == value ? BST_CHECKED : BST_UNCHECKED, 0);
      HWND next = GetWindow(member, GW_HWNDNEXT);
      if (!next || !(SendMessageA(next, WM_GETDLGCODE, 0, 0) & DLGC_RADIOBUTTON) ||
          (GetWindowLongPtrA(next, GWL_STYLE) & WS_GROUP))
        break;
      member = next;
    }
  }
}

BOOL CDlgCtrlButton::PreParentNotify(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* pResult) {
  CDlgCtrlBase::PreParentNotify(message, wParam, lParam, pResult);
  if (IsNotifyMasked()) return TRUE;
  if (message == WM_COMMAND && HIWORD(DWORD(wParam)) == 0 &&
      (m_nButtonKind == kindCheckBox || m_nButtonKind == kindRadioButton))
    SetDirty(1);
  return FALSE;
}

}  // namespace zev
