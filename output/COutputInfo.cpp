// COutputInfo: the state of one job, its geometry queries, resources and failure text;
// the per-thread cancel flag; the base behaviour of COutputFunctions.
#include "zevutil/COutputInfo.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "zevutil/platform/CArchive.h"
#include "zevutil/platform/Host.h"

namespace zev {

// ---- the per-thread cancel flag ----

namespace {
struct ThreadCancelFlags {
  std::unique_ptr<LONG> current;
  // Retired flags stay alive until the thread ends: a job may still point at one.
  std::vector<std::unique_ptr<LONG>> retired;
};
thread_local ThreadCancelFlags t_flags;
}  // namespace

LONG* GetThreadCancelFlag() {
  if (!t_flags.current) t_flags.current = std::make_unique<LONG>(0);
  return t_flags.current.get();
}

void ReleaseThreadCancelFlag() {
  // Kept alive, not freed: a job of this thread may still point at it (a few bytes per job).
  if (t_flags.current) t_flags.retired.push_back(std::move(t_flags.current));
}

// ---- COutputInfo ----

COutputInfo::COutputInfo(EEXPORT_TYPE type) {
  SetDefaultValues();
  m_eOutputType = type;
  m_bOwnsResources = 1;
  if (type == EXPORT_PRINTER)
    m_pPrintInfo = new CPrintInfo;
  else if (type != EXPORT_NONE)
    m_pFile = new CFile;
}

COutputInfo::COutputInfo(CDC* dc, CPrintInfo* printInfo) {
  SetDefaultValues();
  m_eOutputType = EXPORT_PRINTER;
  m_pDC = dc;
  m_pPrintInfo = printInfo;
  m_bOwnsResources = 0;
}

COutputInfo::~COutputInfo() {
  if (m_bOwnsResources) {
    DeletePrintInfo();
    DeleteArchiveFile(0);
  }
  ReleaseThreadCancelFlag();
}

void COutputInfo::SetDefaultValues() {
  m_eOutputType = EXPORT_NONE;
  m_bFixedOutputRect = 0;
  m_nIndent = m_nLeftMargin = m_nRightMargin = 0;
  m_nStringIndex = 0;
  m_nPage = m_nPagesThisOutput = 0;
  m_nCurrentY = m_nTopY = m_nBottomY = 0;
  m_bFailed = 0;
  m_szErrorMsg[0] = '\0';
  m_bStopOutput = m_bPageOpen = m_bDevicePageStarted = 0;
  m_bHeaderPrinted = m_bFooterPrinted = 0;
  m_bOutputDisabled = m_bInteractive = 0;
  m_bHeaderEnabled = m_bFooterEnabled = m_bNewPageNeeded = 1;
  m_pCancelFlag = GetThreadCancelFlag();
  m_pStatusDlg = nullptr;
  m_pDisabledFrame = nullptr;
  m_savedTextContext.m_bValid = 0;
}

CRect COutputInfo::GetOutputRect(int bIndent) const {
  CRect r = m_rectOutput;
  int x0 = m_rectOutput.left + m_nLeftMargin;
  int x1 = m_rectOutput.right - m_nRightMargin;
  if (x1 < x0) {
    x1 = x0;  // margins wider than the rectangle: no width, and the indent is ignored
  } else if (bIndent) {
    x0 += m_nIndent;
    if (x1 < x0) x1 = x0;
  }
  r.left = x0;
  r.right = x1;
  return r;
}

int COutputInfo::GetOutputWidth(int bIndent) const {
  long long w = (long long)m_rectOutput.Width() - m_nLeftMargin - m_nRightMargin;
  if (bIndent) w -= m_nIndent;
  return w < 0 ? 0 : int(std::min<long long>(w, 0x7FFFFFFF));
}

int COutputInfo::GetLeftEdge(int bIndent) const {
  return m_rectOutput.left + m_nLeftMargin + (bIndent ? m_nIndent : 0);
}

int COutputInfo::GetRightEdge() const { return m_rectOutput.right - m_nRightMargin; }

int COutputInfo::NeedNewPage(int height) const {
  // kept: measured against the output rectangle's bottom, not m_nBottomY.
  return (m_bNewPageNeeded || (long long)m_nCurrentY + height >= m_rectOutput.bottom) ? 1 : 0;
}

int COutputInfo::IsPrintPreview() const { return m_pPrintInfo && m_pPrintInfo->m_bPreview ? 1 : 0; }

UINT COutputInfo::GetFromPage() const { return m_pPrintInfo ? m_pPrintInfo->GetFromPage() : 1u; }

UINT COutputInfo::GetToPage() const { return m_pPrintInfo ? m_pPrintInfo->GetToPage() : 0xFFFFFFFFu; }

void COutputInfo::CreatePrintDC() {
  DeletePrintDC();
  m_pDC = new CDC;
}

void COutputInfo::DeletePrintDC() {
  if (!m_pDC) return;
  // The wrapper goes; the device handle is the print information's to destroy.
  m_pDC->Detach();
  delete m_pDC;
  m_pDC = nullptr;
}

void COutputInfo::DeletePrintInfo() {
  DeletePrintDC();
  delete m_pPrintInfo;
  m_pPrintInfo = nullptr;
}

void COutputInfo::CreateArchive() {
  delete m_pArchive;
  m_pArchive = nullptr;
  if (m_pFile) m_pArchive = new CArchive(m_pFile, CArchive::store, 4096);
}

void COutputInfo::DeleteArchive(int bAbort) {
  if (!m_pArchive) return;
  if (bAbort || m_bFailed) {
    m_pArchive->Abort();
  } else {
    try {
      m_pArchive->Close();
    } catch (CException* e) {
      SetErrorMsg(e, 1);
      e->Delete();
    }
  }
  delete m_pArchive;
  m_pArchive = nullptr;
}

void COutputInfo::DeleteArchiveFile(int bAbort) {
  DeleteArchive(bAbort);
  if (!m_pFile) return;
  if (m_pFile->IsOpen()) {
    if (!bAbort && !m_bFailed) {
      try {
        m_pFile->Close();
      } catch (CException* e) {
        SetErrorMsg(e, 1);
        e->Delete();
        m_pFile->Abort();
      }
    } else {
      m_pFile->Abort();
    }
  }
  delete m_pFile;
  m_pFile = nullptr;
}

void COutputInfo::SetErrorMsg(int bFailed) {
  if (bFailed)
    SetErrorMsg(GetLastError(), bFailed);
  else
    m_bFailed = 0;
}

void COutputInfo::SetErrorMsg(DWORD code, int bFailed) {
  m_bFailed = bFailed;
  m_szErrorMsg[0] = '\0';
  FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code, 0, m_szErrorMsg, sizeof m_szErrorMsg, nullptr);
  m_szErrorMsg[sizeof m_szErrorMsg - 1] = '\0';
}

void COutputInfo::SetErrorMsg(const char* text, int bFailed) {
  m_bFailed = bFailed;
  if (!text) text = "";
  std::strncpy(m_szErrorMsg, text, sizeof m_szErrorMsg - 1);
  m_szErrorMsg[sizeof m_szErrorMsg - 1] = '\0';
}

void COutputInfo::SetErrorMsg(CException* e, int bFailed) {
  if (!e) return;
  m_bFailed = bFailed;
  m_szErrorMsg[0] = '\0';
  e->GetErrorMessage(m_szErrorMsg, sizeof m_szErrorMsg);
  m_szErrorMsg[sizeof m_szErrorMsg - 1] = '\0';
}

// ---- COutputFunctions ----

void COutputFunctions::OnStartOutput(COutputInfo* info, int& bNewPageFirst) {
  bNewPageFirst = 0;
  if (!info) return;
  info->m_bHeaderEnabled = 1;
  info->m_bFooterEnabled = 1;
  info->m_nStringIndex = 0;
}

CString COutputFunctions::GetDefaultTitle(int& bUseDefault) {
  bUseDefault = 1;
  return CString();
}

int COutputFunctions::IsNewPageRequired(COutputInfo* info, int height) {
  return info ? info->NeedNewPage(height) : 0;
}

int COutputFunctions::IsNewPageRequired(COutputInfo* info) { return info ? info->NeedNewPage() : 0; }

int COutputFunctions::IsOutputEnded(COutputInfo* info) {
  if (!info) return 0;
  if (info->m_pCancelFlag && *info->m_pCancelFlag == 1) return 1;
  if (IsNewPageRequired(info) && !info->m_bPageOpen && info->m_nPage >= 0 &&
      UINT(info->m_nPage) >= info->GetToPage())
    return 1;
  if (info->m_bStopOutput) return 1;
  return info->m_nStringIndex >= GetNumberOfTextStrings() ? 1 : 0;
}

}  // namespace zev
