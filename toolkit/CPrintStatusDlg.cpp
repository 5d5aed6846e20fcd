// The print job's status window and the print status handler that shows it.
#include "zevutil/CPrintStatusDlg.h"

#include "zevutil/CFlexMessageBox.h"
#include "zevutil/platform/WindowMessageBox.h"

namespace zev {

BOOL CPrintStatusDlg::Open(const char* title, const char* printer, const char* port, LONG* cancelFlag,
                           CWnd* parent) {
  if (parent && !parent->IsWindow()) parent = nullptr;
  if (!Create(IDD_PRINTSTATUS, nullptr, nullptr, parent, TRUE, 0)) return FALSE;
  m_pCancelFlag = cancelFlag;
  if (m_pCancelFlag) *m_pCancelFlag = 0;
  CString shown = title ? title : "";
  if (shown.GetLength() > 30) shown = shown.Left(30);
  SetDlgItemTextA(m_hWnd, IDC_PRINTSTATUS_TITLE, shown);
  SetDlgItemTextA(m_hWnd, IDC_PRINTSTATUS_PRINTER, printer ? printer : "");
  SetDlgItemTextA(m_hWnd, IDC_PRINTSTATUS_PORT, port ? port : "");
  ::zev::ShowWindow(::zev::GetDlgItem(m_hWnd, IDC_PRINTSTATUS_CANCELLED), SW_HIDE);
  if (parent) CenterWindow(parent);
  PumpMessages();
  return TRUE;
}

void CPrintStatusDlg::SetPage(const char* text) {
  if (!m_hWnd) return;
  HWND page = ::zev::GetDlgItem(m_hWnd, IDC_PRINTSTATUS_PAGE);
  SetWindowTextA(page, text ? text : "");
  UpdateWindow(page);
  PumpMessages();
}

BOOL CPrintStatusDlg::PumpMessages() {
  MSG msg;
  while (m_hWnd && PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {
    if (msg.message == WM_QUIT) {
      PostQuitMessage(int(msg.wParam));  // for the application's own loop
      break;
    }
    if (!IsDialogMessageA(m_hWnd, &msg)) {
      TranslateMessage(&msg);
      DispatchMessageA(&msg);
    }
  }
  return m_hWnd != nullptr;
}

void CPrintStatusDlg::Close() {
  if (m_hWnd) CloseDlg(IDOK);
}

void CPrintStatusDlg::OnCancel() {
  if (m_pCancelFlag) *m_pCancelFlag = 1;
  HWND cancel = ::zev::GetDlgItem(m_hWnd, IDCANCEL);
  ::zev::EnableWindow(cancel, FALSE);
  ::zev::ShowWindow(cancel, SW_HIDE);
  HWND cancelled = ::zev::GetDlgItem(m_hWnd, IDC_PRINTSTATUS_CANCELLED);
  ::zev::ShowWindow(cancelled, SW_SHOW);
  UpdateWindow(cancelled);
}

void PrintStatusWindows::operator()(const PrintStatusInfo& status) {
  switch (status.event) {
    case PrintStatusEvent::Open: {
      auto dlg = std::make_unique<CPrintStatusDlg>();
      HWND active = GetActiveWindow();
      CWnd* parent = active ? CWnd::FromHandle(active) : nullptr;
      if (dlg->Open(status.title, status.printer, status.port, status.cancelFlag, parent))
        m_jobs[status.job] = std::move(dlg);
      break;
    }
    case PrintStatusEvent::Page:
      if (CPrintStatusDlg* dlg = Find(status.job)) dlg->SetPage(status.page);
      break;
    case PrintStatusEvent::Close: {
      auto it = m_jobs.find(status.job);
      if (it == m_jobs.end()) break;
      it->second->Close();
      m_jobs.erase(it);
      break;
    }
  }
}

CPrintStatusDlg* PrintStatusWindows::Find(void* job) const {
  auto it = m_jobs.find(job);
  return it == m_jobs.end() ? nullptr : it->second.get();
}

PrintStatusHandler UsePrintStatusWindows() {
  auto previous = std::make_shared<PrintStatusHandler>();
  auto windows = std::make_shared<PrintStatusWindows>();
  *previous = SetPrintStatusHandler([previous, windows](const PrintStatusInfo& status) {
    // A job keeps the form it opened with.
    if (windows->Find(status.job) || (status.event == PrintStatusEvent::Open && WindowsOnScreen())) {
      (*windows)(status);
      return;
    }
    if (*previous) (*previous)(status);
  });
  UseFlexMessageBoxes();
  return *previous;
}

}  // namespace zev
