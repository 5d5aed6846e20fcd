// The dialog object: template lookup, modal loop, the route of a dialog's messages to the
// object's virtual functions, and the data exchange.
#include "zevutil/CDialog.h"

#include "ToolkitTemplates.h"
#include "zevutil/CFlexMessageBox.h"

namespace zev {

namespace {
// The dialog object whose window is being made on this thread, until the window's first
// message reaches the dialog procedure.
thread_local CDialog* t_pDialogInit = nullptr;
}  // namespace

void DDX_Text(CDataExchange* pDX, int id, CString& value) {
  if (!pDX || !pDX->m_pDlgWnd) return;
  HWND dlg = pDX->m_pDlgWnd->GetSafeHwnd();
  if (pDX->m_bSaveAndValidate)
    value = GetWindowTextString(GetDlgItem(dlg, id)).c_str();
  else
    SetDlgItemTextA(dlg, id, value);
}

// The first dialog of the process also makes MessageBoxA show its window form.
CDialog::CDialog() {
  RegisterToolkitTemplates();
  UseFlexMessageBoxes();
}

CDialog::CDialog(LPCSTR templateName, CWnd* parent) : m_pParentWnd(parent) {
  RegisterToolkitTemplates();
  UseFlexMessageBoxes();
  if (IS_INTRESOURCE(templateName)) {
    m_nIDTemplate = UINT(reinterpret_cast<std::uintptr_t>(templateName));
    m_lpszTemplateName = MAKEINTRESOURCEA(WORD(m_nIDTemplate));
  } else {
    m_templateKey = templateName;
    m_lpszTemplateName = m_templateKey.c_str();
  }
}

CDialog::CDialog(UINT templateId, CWnd* parent) : CDialog(MAKEINTRESOURCEA(WORD(templateId)), parent) {}

CDialog::~CDialog() {
  if (m_hWnd && ::zev::IsWindow(m_hWnd)) {
    // The window must not outlive the object its messages go to.
    HWND hwnd = m_hWnd;
    ::zev::DestroyWindow(hwnd);
  }
}

const DialogTemplate* CDialog::FindTemplate() const {
  if (!m_lpszTemplateName) return nullptr;
  return FindDialogTemplate(m_lpszTemplateName);
}

void CDialog::TakeOver(HWND hwnd) {
  if (m_hWnd == hwnd) return;
  Attach(hwnd);
  m_pfnDialogSuper =
      reinterpret_cast<WNDPROC>(SetWindowLongPtrA(hwnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&SubclassProc)));
}

BOOL CDialog::CreateFromTemplate(const DialogTemplate& tmpl, HWND parent) {
  if (m_hWnd) return FALSE;
  CDialog* outer = t_pDialogInit;
  t_pDialogInit = this;
  HWND hwnd = CreateDialogIndirectParamA(nullptr, &tmpl, parent, &DialogProc, reinterpret_cast<LPARAM>(this));
  t_pDialogInit = outer;
  return hwnd && m_hWnd == hwnd;
}

BOOL CDialog::Create(LPCSTR templateName, CWnd* parent) {
  if (templateName) {
    if (IS_INTRESOURCE(templateName)) {
      m_templateKey.clear();
      m_nIDTemplate = UINT(reinterpret_cast<std::uintptr_t>(templateName));
      m_lpszTemplateName = templateName;
    } else {
      m_templateKey = templateName;
      m_lpszTemplateName = m_templateKey.c_str();
    }
  }
  if (parent) m_pParentWnd = parent;
  const DialogTemplate* t = FindTemplate();
  if (!t) return FALSE;
  DialogTemplate copy = *t;
  return CreateFromTemplate(copy, m_pParentWnd ? m_pParentWnd->GetSafeHwnd() : nullptr);
}

BOOL CDialog::Create(UINT templateId, CWnd* parent) { return Create(MAKEINTRESOURCEA(WORD(templateId)), parent); }

INT_PTR CDialog::DoModal() {
  const DialogTemplate* t = FindTemplate();
  if (!t || m_hWnd) return -1;
  DialogTemplate hidden = *t;
  const bool wantVisible = (hidden.header.style & WS_VISIBLE) != 0;
  hidden.header.style &= ~WS_VISIBLE;

  HWND owner = m_pParentWnd ? m_pParentWnd->GetSafeHwnd() : nullptr;
  HWND top = owner && ::zev::IsWindow(owner) ? GetAncestor(owner, GA_ROOT) : nullptr;
  bool enableOwner = false;
  if (top && ::zev::IsWindowEnabled(top)) {
    ::zev::EnableWindow(top, FALSE);
    enableOwner = true;
  }
  m_nModalResult = -1;
  m_bContinueModal = true;
  if (CreateFromTemplate(hidden, top)) {
    HWND self = m_hWnd;
    bool shown = !wantVisible || ::zev::IsWindowVisible(self);
    MSG msg;
    while (m_bContinueModal && ContinueModal()) {
      if (!PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {
        if (!shown) {
          shown = true;
          ::zev::ShowWindow(self, SW_SHOWNORMAL);
          continue;
        }
        if (top) SendMessageA(top, WM_ENTERIDLE, MSGF_DIALOGBOX, reinterpret_cast<LPARAM>(self));
        if (!m_bContinueModal || !ContinueModal()) break;
        if (!GetMessageA(&msg, nullptr, 0, 0)) {
          PostQuitMessage(int(msg.wParam));
          break;
        }
      } else if (msg.message == WM_QUIT) {
        PostQuitMessage(int(msg.wParam));
        break;
      }
      if (!::zev::IsWindow(self)) break;
      if (!IsDialogMessageA(self, &msg)) {
        TranslateMessage(&msg);
        DispatchMessageA(&msg);
      }
    }
  }
  m_bContinueModal = false;
  if (enableOwner && ::zev::IsWindow(top)) ::zev::EnableWindow(top, TRUE);
  if (m_hWnd) {
    HWND self = m_hWnd;
    ::zev::ShowWindow(self, SW_HIDE);
    if (top && ::zev::IsWindow(top)) SetActiveWindow(top);
    ::zev::DestroyWindow(self);
  }
  return m_nModalResult;
}

void CDialog::EndDialog(int result) {
  m_nModalResult = result;
  if (m_bContinueModal) EndModalLoop(result);
  if (m_hWnd) ::zev::EndDialog(m_hWnd, result);
}

BOOL CDialog::ContinueModal() { return m_bContinueModal ? TRUE : FALSE; }

void CDialog::EndModalLoop(int result) {
  m_nModalResult = result;
  m_bContinueModal = false;
  if (m_hWnd) PostMessageA(m_hWnd, WM_NULL, 0, 0);  // wakes the loop
}

BOOL CDialog::UpdateData(BOOL saveAndValidate) {
  if (!m_hWnd) return FALSE;
  CDataExchange dx(this, saveAndValidate);
  DoDataExchange(&dx);
  return TRUE;
}

void CDialog::CenterWindow(CWnd* alternateOwner) {
  if (!m_hWnd) return;
  HWND around = alternateOwner ? alternateOwner->GetSafeHwnd() : ::zev::GetParent(m_hWnd);
  RECT area{0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
  if (around && ::zev::IsWindow(around)) GetWindowRect(around, &area);
  RECT r{};
  GetWindowRect(m_hWnd, &r);
  const int w = r.right - r.left, h = r.bottom - r.top;
  int x = area.left + ((area.right - area.left) - w) / 2;
  int y = area.top + ((area.bottom - area.top) - h) / 2;
  // Keep the whole window on the screen.
  const int sw = GetSystemMetrics(SM_CXSCREEN), sh = GetSystemMetrics(SM_CYSCREEN);
  if (x + w > sw) x = sw - w;
  if (y + h > sh) y = sh - h;
  if (x < 0) x = 0;
  if (y < 0) y = 0;
  SetWindowPos(m_hWnd, nullptr, x, y, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void CDialog::GotoDlgCtrl(HWND control) {
  if (m_hWnd && control) SendMessageA(m_hWnd, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(control), TRUE);
}

BOOL CDialog::OnInitDialog() {
  UpdateData(FALSE);
  return TRUE;
}

void CDialog::OnOK() {
  if (!UpdateData(TRUE)) return;
  EndDialog(IDOK);
}

void CDialog::OnCancel() { EndDialog(IDCANCEL); }

BOOL CDialog::OnCommand(WPARAM wParam, LPARAM) {
  const int id = LOWORD(DWORD(wParam));
  const int code = HIWORD(DWORD(wParam));
  if (code != BN_CLICKED) return FALSE;
  if (id == IDOK) {
    OnOK();
    return TRUE;
  }
  if (id == IDCANCEL) {
    OnCancel();
    return TRUE;
  }
  return FALSE;
}

void CDialog::OnClose() { Default(); }

LRESULT CDialog::Default() {
  if (!m_bHasCurrent || !m_hWnd) return 0;
  return DefWindowProc(m_current.message, m_current.wParam, m_current.lParam);
}

LRESULT CDialog::DefWindowProc(UINT msg, WPARAM wParam, LPARAM lParam) {
  if (!m_hWnd) return 0;
  return m_pfnDialogSuper ? CallWindowProcA(m_pfnDialogSuper, m_hWnd, msg, wParam, lParam)
                          : DefDlgProcA(m_hWnd, msg, wParam, lParam);
}

LRESULT CDialog::WindowProc(UINT msg, WPARAM wParam, LPARAM lParam) {
  switch (msg) {
    case WM_COMMAND:
      if (OnCommand(wParam, lParam)) return 0;
      return Default();
    case WM_CLOSE:
      OnClose();
      return 0;
    default:
      return Default();
  }
}

INT_PTR CDialog::DialogProc(HWND hwnd, UINT msg, WPARAM, LPARAM lParam) {
  auto* dlg = static_cast<CDialog*>(CWnd::FromHandlePermanent(hwnd));
  if (!dlg && t_pDialogInit) {
    // The first message the dialog procedure sees (WM_SETFONT or WM_INITDIALOG): from now on
    // the window's messages go through the object.
    dlg = t_pDialogInit;
    t_pDialogInit = nullptr;
    dlg->TakeOver(hwnd);
  }
  if (msg == WM_INITDIALOG) {
    if (!dlg) dlg = reinterpret_cast<CDialog*>(lParam);
    if (!dlg) return TRUE;
    if (dlg->m_hWnd != hwnd) dlg->TakeOver(hwnd);
    return dlg->OnInitDialog();
  }
  return FALSE;
}

LRESULT CDialog::SubclassProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  auto* dlg = static_cast<CDialog*>(CWnd::FromHandlePermanent(hwnd));
  if (!dlg) return DefDlgProcA(hwnd, msg, wParam, lParam);
  MSG saved = dlg->m_current;
  bool hadCurrent = dlg->m_bHasCurrent;
  dlg->m_current = MSG{hwnd, msg, wParam, lParam, 0, {0, 0}};
  dlg->m_bHasCurrent = true;
  LRESULT result = dlg->WindowProc(msg, wParam, lParam);
  if (msg == WM_NCDESTROY) {
    // The handler may have deleted the object; only a still-mapped object is told.
    dlg = static_cast<CDialog*>(CWnd::FromHandlePermanent(hwnd));
    if (dlg) {
      dlg->m_bHasCurrent = false;
      dlg->m_bContinueModal = false;
      dlg->Detach();
      dlg->m_pfnDialogSuper = nullptr;
      dlg->PostNcDestroy();  // may delete the object
    }
    return result;
  }
  if (CWnd::FromHandlePermanent(hwnd) == dlg) {
    dlg->m_current = saved;
    dlg->m_bHasCurrent = hadCurrent;
  }
  return result;
}

}  // namespace zev
