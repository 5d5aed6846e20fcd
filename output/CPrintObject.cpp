// CPrintObject: a print job from the caller's call to the last page: start, the loop
// of page starts and blocks of graphics and text, the end; embedded and window-hosted
// jobs; the status display and its cancel.
#include "zevutil/CPrintObject.h"

#include <algorithm>
#include <new>
#include <utility>
#include <vector>

#include "zevutil/SafeString.h"

namespace zev {

namespace {
constexpr char kDefaultTitle[] = "ZEV Report";
constexpr UINT kViewMaxPage = 9999;  // the host's page count is not known in advance

// The jobs of this thread whose status display is up, by the output information they
// print into. Objects embedded in such a job start its pages through handlers of their
// own; they find the job here so that their pages reach the same display.
std::vector<std::pair<const COutputInfo*, CPrintObject*>>& StatusJobs() {
  thread_local std::vector<std::pair<const COutputInfo*, CPrintObject*>> jobs;
  return jobs;
}

CPrintObject* FindStatusJob(const COutputInfo* info) {
  const auto& jobs = StatusJobs();
  // The latest first: an info is only reused after its job has ended.
  for (auto it = jobs.rbegin(); it != jobs.rend(); ++it)
    if (it->first == info) return it->second;
  return nullptr;
}

void ForgetStatusJob(const CPrintObject* job) {
  auto& jobs = StatusJobs();
  jobs.erase(std::remove_if(jobs.begin(), jobs.end(), [job](const auto& j) { return j.second == job; }), jobs.end());
}
}  // namespace

CPrintObject::CPrintObject() = default;

CPrintObject::~CPrintObject() {
  if (m_bStatusShown) ForgetStatusJob(this);
  delete m_pPrintHandler;
  delete m_pObjectDef;
}

int CPrintObject::EnsureHandler() {
  if (!m_pPrintHandler) m_pPrintHandler = new (std::nothrow) CPrintHandler;
  return m_pPrintHandler ? 1 : 0;
}

void CPrintObject::SetDefaultValues() {
  m_bEmbedded = 0;
  m_bInteractive = 0;
  m_pParentWnd = nullptr;
  if (m_pPrintHandler) m_pPrintHandler->SetDefaultValues();
  m_eOutputType = EXPORT_NONE;
  m_strDocTitle = kDefaultTitle;
}

void CPrintObject::SetPrintFromView(int bInteractive, CWnd* parent, const char* title) {
  m_bInteractive = bInteractive;
  m_pParentWnd = parent;
  m_strDocTitle = title ? title : kDefaultTitle;
}

// ---- the format ----

void CPrintObject::GetDefaultPageFormat(CPageFormatDef& format) {
  format.SetDefaultValues();
  int bUse = 1;
  const CString title = GetDefaultTitle(bUse);
  if (!bUse)
    format.m_strHeader1 = title;
  else
    InsertStringInMiddleOfLine1(format, title);
}

void CPrintObject::CreatePageFormatTitle(CPageFormatDef& format, const char* title) {
  GetDefaultPageFormat(format);
  if (title) InsertStringInMiddleOfLine1(format, title);
}

void CPrintObject::InsertStringInMiddleOfLine1(CPageFormatDef& format, const char* text) {
  if (!text) return;
  CString left, middle, right;
  SplitTemplate(format.m_strHeader1, left, middle, right);
  if (!middle.IsEmpty()) return;
  int bUse = 1;
  // kept: the argument only decides whether this runs; the object's title goes in.
  middle = GetDefaultTitle(bUse);
  if (!bUse) {
    left.Empty();
    right.Empty();
  }
  format.m_strHeader1 = left + "\t" + middle + "\t" + right;
}

// ---- whole jobs ----

int CPrintObject::PrintObject(const COutputDeviceDef& device, const char* title) {
  CPrintFpuGuard guard("PrintObject");
  CPageFormatDef format;
  format.m_device = device;
  CreatePageFormatTitle(format, title);
  return PrintObject(format, CObjectOutputDef());
}

int CPrintObject::PrintObject(CPageFormatDef& format, const CObjectOutputDef& def) {
  int ok = StartPrintObject(format, def, m_bInteractive);
  if (ok) ok = DoObjectPrintout();
  if (!EndPrintObject()) ok = 0;
  return ok;
}

int CPrintObject::PrintEmbeddedObject(const CPageFormatDef& format, const CObjectOutputDef& def,
                                      COutputInfo* info) {
  m_bInteractive = 0;
  int ok = StartPrintEmbeddedObject(format, def, info);
  if (ok) ok = DoObjectPrintout();
  if (!EndPrintEmbeddedObject()) ok = 0;
  return ok;
}

int CPrintObject::StartPrintObject(CPageFormatDef& format, const CObjectOutputDef& def, int bInteractive) {
  m_bInteractive = bInteractive;
  m_strLastError.Empty();
  m_nLastPagesLaidOut = m_nLastPagesOutput = 0;
  if (!EnsureHandler()) return 0;
  m_eOutputType = EXPORT_PRINTER;
  m_bEmbedded = 0;
  m_pageFormat = format;
  InitialProcessPageFormat(m_pageFormat);
  delete m_pObjectDef;
  m_pObjectDef = def.CreateClone();
  OnInitializeOutputObject();
  int ok = bInteractive ? m_pPrintHandler->PreparePrintDocument(m_pageFormat, bInteractive, &AbortProc)
                        : m_pPrintHandler->PreparePrintDocument(m_pageFormat, 0, nullptr);
  COutputInfo* info = Info();
  if (ok && info) {
    if (!bInteractive) {
      info->m_pDisabledFrame = nullptr;
    } else {
      // No frame window to disable in this process; the status display stands in.
      info->m_pDisabledFrame = nullptr;
      CreateStatusDlg();
    }
    ok = m_pPrintHandler->StartPrintDocument();
  }
  if (ok && info) {
    int bNewPageFirst = 0;
    OnStartOutput(info, bNewPageFirst);
    m_bNewPageFirst = bNewPageFirst;
    if (bInteractive && info->m_pCancelFlag) *info->m_pCancelFlag = 0;
  }
  return ok;
}

int CPrintObject::StartPrintEmbeddedObject(const CPageFormatDef& format, const CObjectOutputDef& def,
                                           COutputInfo* info) {
  if (!info) return 0;
  m_bInteractive = info->m_bInteractive;
  if (!EnsureHandler()) return 0;
  m_bEmbedded = 1;
  m_pageFormat = format;
  InitialProcessPageFormat(m_pageFormat);
  delete m_pObjectDef;
  m_pObjectDef = def.CreateClone();
  OnInitializeOutputObject();
  m_pPrintHandler->StartPrintOutput(m_pageFormat, info);
  // The pages this object starts are pages of the host's job: they show on its display.
  m_pPrintHandler->SetStatusJob(FindStatusJob(info));
  int bNewPageFirst = 0;
  OnStartOutput(info, bNewPageFirst);
  m_bNewPageFirst = bNewPageFirst;
  return IsOutputCancelled() ? 0 : 1;
}

int CPrintObject::EndPrintEmbeddedObject() {
  if (!m_pPrintHandler) return 0;
  const int ok = m_pPrintHandler->EndPrintEmbeddedOutput();
  m_pPrintHandler->SetStatusJob(nullptr);
  return ok;
}

void CPrintObject::KeepJobFigures() {
  COutputInfo* info = Info();
  if (!info) return;
  m_nLastPagesLaidOut = info->m_nPage;
  m_nLastPagesOutput = m_pPrintHandler->GetDevicePagesStarted();
  if (info->m_bFailed || info->m_szErrorMsg[0]) m_strLastError = info->m_szErrorMsg;
}

int CPrintObject::EndPrintObject() {
  int ok = 1;
  if (m_pPrintHandler) ok = m_pPrintHandler->EndPrintDocument(0);
  KeepJobFigures();
  if (m_bInteractive) {
    if (COutputInfo* info = Info()) info->m_pDisabledFrame = nullptr;
    DeleteStatusDlg(nullptr);
  }
  if (m_pPrintHandler) m_pPrintHandler->ReleasePrintDocument();
  return ok;
}

// ---- the page loop ----

int CPrintObject::DoObjectPrintout() {
  COutputInfo* info = Info();
  if (!info || IsOutputCancelled()) return 0;
  if (m_bNewPageFirst && info->m_bPageOpen) info->m_bNewPageNeeded = 1;
  int ok = 1, more = 1;
  while (ok && more) {
    if (IsNewPageRequired(info)) {
      ok = StartNewPage(1);
      more = !IsOutputEnded(info);
    }
    if (ok && more) {
      ok = PrintNextBlock(more);
      if (more) more = !IsOutputEnded(info);
    }
  }
  if (ok && !m_bInteractive && IsNewPageRequired(info)) m_pPrintHandler->EndPrintPage();
  return ok;
}

int CPrintObject::PrintNextBlock(int& bMore) {
  COutputInfo* info = Info();
  if (!info || IsOutputCancelled()) return 0;
  CPrintFpuGuard guard("PrintNextBlock");
  int ok = OutputGraphics(info);
  guard.Check("OutputGraphics");
  if (!ok) return 0;
  if (!IsNewPageRequired(info) && !IsOutputEnded(info)) {
    guard.Check("IsNewPageRequired");
    if (IsTextOutputRequired(info)) ok = PrintTextBlock(0);
    guard.Check("PrintTextBlock");
  }
  (void)bMore;
  return ok && !IsOutputCancelled() ? 1 : 0;
}

int CPrintObject::PrintTextBlock(const CString& text) {
  if (text.IsEmpty()) return 1;
  m_strText = text;
  return PrintTextBlock(1);
}

int CPrintObject::PrintTextBlock(int bOneString) {
  COutputInfo* info = Info();
  if (!info || IsOutputCancelled()) return 0;
  CPrintHandler* h = m_pPrintHandler;
  const ZevTextContext ctx = h->CreateTextContext();
  int ok = 1, go = 1, bMore = 0, bCont = 0, hadMore = 0;
  LONG savedStop = 0;
  while (ok && go) {
    if (m_strText.IsEmpty()) {
      hadMore = GetTextOutput(info, m_strText);
      bMore = 0;
      bCont = 0;
    }
    // A stop given by GetTextOutput must not lose the string being printed: it is held
    // back until the string's last line is out.
    savedStop |= info->m_bStopOutput;
    info->m_bStopOutput = 0;
    ok = h->PrintOneLineFromTextString(m_strText, bMore, bCont, bOneString);
    if (IsOutputCancelled()) {
      ok = 0;
      break;
    }
    if (bCont) CSTrimLeftTabs(m_strText);
    if (!m_strText.IsEmpty()) {
      if (bMore) bCont = 1;  // lines after the first of a string go under the indent
    } else {
      info->m_bStopOutput = savedStop;
      savedStop = 0;
      ++info->m_nStringIndex;
      go = !bOneString && hadMore && !IsOutputEnded(info);
    }
    if (IsNewPageRequired(info)) {
      if (info->m_bPageOpen) ok = h->EndPrintPage();
      if (IsOutputEnded(info)) {
        m_strText.Empty();
        go = 0;
      } else if (ok && go) {
        OnStartNewPage(info);
        ok = h->StartPrintPage();
        if (ok) OnTopOfPage(info);
      }
    }
  }
  if (ok) h->SetTextContext(ctx);
  return ok;
}

int CPrintObject::StartNewPage(int bCheckEnd) {
  COutputInfo* info = Info();
  if (!info || IsOutputCancelled()) return 0;
  int ok = 1;
  if (info->m_bPageOpen) ok = m_pPrintHandler->EndPrintPage();
  if (bCheckEnd && ok && IsOutputEnded(info)) return ok;
  OnStartNewPage(info);
  ok = m_pPrintHandler->StartPrintPage();
  if (ok) OnTopOfPage(info);
  return ok;
}

void CPrintObject::SignalNewPage() {
  if (COutputInfo* info = Info()) info->m_bNewPageNeeded = 1;
}

void CPrintObject::SignalStopOutput() {
  if (COutputInfo* info = Info()) info->m_bStopOutput = 1;
}

int CPrintObject::PrintHeading(unsigned level, const char* title, const char* text) {
  COutputInfo* info = Info();
  if (!m_pPrintHandler || !info) return 0;
  if (info->m_bNewPageNeeded) {
    const int ok = StartNewPage(0);
    if (!ok || IsOutputEnded(info)) return ok;
  }
  int ok = m_pPrintHandler->PrintHeading(level, title, text);
  const LONG didNotFit = info->m_bNewPageNeeded;
  info->m_bNewPageNeeded = 0;
  if (didNotFit) {
    // Once more on a new page, where it fits.
    ok = StartNewPage(0);
    if (ok && !IsOutputEnded(info)) ok = m_pPrintHandler->PrintHeading(level, title, text);
  }
  return ok;
}

// ---- geometry forwarders ----

void CPrintObject::GetOutputRect(CRect& rect, LONG& y) {
  if (COutputInfo* info = Info()) {
    rect = info->m_rectOutput;
    y = info->m_nCurrentY;
  }
}

void CPrintObject::SetOutputRect(const CRect& rect, LONG y, int bFixed) {
  if (COutputInfo* info = Info()) {
    info->m_rectOutput = rect;
    info->m_nCurrentY = y;
    info->m_bFixedOutputRect = bFixed;
  }
}

void CPrintObject::SetOutputRect(const CRect& rect, int bFixed) { SetOutputRect(rect, rect.top, bFixed); }

void CPrintObject::SetIndent(int lp) { if (m_pPrintHandler) m_pPrintHandler->SetIndent(lp); }
void CPrintObject::SetIndent(double inches) { if (m_pPrintHandler) m_pPrintHandler->SetIndent(inches); }
void CPrintObject::SetIndent(const char* text) { if (m_pPrintHandler) m_pPrintHandler->SetIndent(text); }
void CPrintObject::SetLeftMargin(int lp) { if (m_pPrintHandler) m_pPrintHandler->SetLeftMargin(lp); }
void CPrintObject::SetLeftMargin(double inches) { if (m_pPrintHandler) m_pPrintHandler->SetLeftMargin(inches); }
void CPrintObject::SetRightMargin(int lp) { if (m_pPrintHandler) m_pPrintHandler->SetRightMargin(lp); }
void CPrintObject::SetRightMargin(double inches) { if (m_pPrintHandler) m_pPrintHandler->SetRightMargin(inches); }
void CPrintObject::SetDefaultTab(double inches) { if (m_pPrintHandler) m_pPrintHandler->SetDefaultTab(inches); }
void CPrintObject::SetTabStops(const double* inches, int count) {
  if (m_pPrintHandler) m_pPrintHandler->SetTabStops(inches, count);
}
COutputInfo* CPrintObject::GetOutputInfoPtr() { return Info(); }

int CPrintObject::IsPrintPreview() { return m_pPrintHandler ? m_pPrintHandler->IsPrintPreview() : 0; }
int CPrintObject::IsOutputDisabled() { return m_pPrintHandler ? m_pPrintHandler->IsOutputDisabled() : 0; }
int CPrintObject::IsOutputCancelled() { return m_pPrintHandler ? m_pPrintHandler->IsOutputCancelled() : 0; }
CDC* CPrintObject::GetPrintDC() { return m_pPrintHandler ? m_pPrintHandler->GetPrintDC() : nullptr; }

int CPrintObject::IsPastLastPage(COutputInfo* info) {
  if (!info) info = Info();
  if (!info || !info->m_pPrintInfo) return 0;
  if (info->IsPrintPreview()) return UINT(info->m_nPage) > info->m_pPrintInfo->m_nCurPage ? 1 : 0;
  return info->m_nPage >= 0 && UINT(info->m_nPage) > info->GetToPage() ? 1 : 0;
}

// ---- printing hosted by a window ----

int CPrintObject::OnBeginPrintingFromView(CDC* dc, CPrintInfo* printInfo, const char* title) {
  CPageFormatDef format;
  CreatePageFormatTitle(format, title);
  return OnBeginPrintingFromView(dc, printInfo, format, CObjectOutputDef());
}

int CPrintObject::OnBeginPrintingFromView(CDC* dc, CPrintInfo* printInfo, CPageFormatDef& format,
                                          const CObjectOutputDef& def) {
  m_bInteractive = 1;
  if (!EnsureHandler()) return 0;
  LONG* flag = GetThreadCancelFlag();
  *flag = 0;
  m_pageFormat = format;
  InitialProcessPageFormat(m_pageFormat);
  delete m_pObjectDef;
  m_pObjectDef = def.CreateClone();
  OnInitializeOutputObject();
  int ok = m_pPrintHandler->StartPrintFromView(dc, printInfo, m_pageFormat);
  COutputInfo* info = Info();
  if (ok && info) {
    int bNewPageFirst = 0;
    OnStartOutput(info, bNewPageFirst);
    m_bNewPageFirst = bNewPageFirst;
    info->m_bDevicePageStarted = 1;  // the host starts the device pages
    if (info->m_pCancelFlag) *info->m_pCancelFlag = 0;
  }
  if (printInfo) printInfo->SetMaxPage(kViewMaxPage);
  return ok;
}

int CPrintObject::OnPrintFromView(CDC*, CPrintInfo* printInfo) {
  COutputInfo* info = Info();
  if (!info) return 0;
  info->SetDefaultValues();
  info->m_eOutputType = EXPORT_PRINTER;
  info->m_bInteractive = 1;
  info->m_bNewPageNeeded = 1;
  info->m_bStopOutput = 0;
  info->m_bFixedOutputRect = 0;
  info->m_bDevicePageStarted = 1;
  if (info->IsPrintPreview() && info->m_pPrintInfo) info->m_bOutputDisabled = info->m_pPrintInfo->m_nCurPage > 1;
  int ok = DoObjectPrintout();
  if (ok) ok = m_pPrintHandler->FinalEndPrintPage(0);
  if (printInfo) {
    if (!info->IsPrintPreview()) printInfo->m_bContinuePrinting = FALSE;  // one call prints everything
    const UINT reached = UINT(info->m_nPage);
    if (printInfo->GetMaxPage() == kViewMaxPage || printInfo->GetMaxPage() < reached) printInfo->SetMaxPage(reached);
  }
  return ok;
}

int CPrintObject::OnEndPrintingFromView() {
  if (!m_pPrintHandler || !Info()) return 0;
  KeepJobFigures();
  return m_pPrintHandler->EndPrintFromView();
}

// ---- the abort procedure and the status display ----

BOOL CPrintObject::AbortProc(HDC, int) {
  // The flag is read once. A process without windows has no message queue to pump, so
  // the answer is always "go on": a cancel travels by the flag, which the print loop
  // reads, not by this answer.
  (void)*GetThreadCancelFlag();
  return TRUE;
}

void CPrintObject::CreateStatusDlg() {
  COutputInfo* info = Info();
  if (!info) return;
  LONG* flag = info->m_pCancelFlag ? info->m_pCancelFlag : GetThreadCancelFlag();
  *flag = 0;
  CString title = m_strDocTitle.IsEmpty() ? CString(kDefaultTitle) : m_strDocTitle;
  if (title.GetLength() > 30) title = title.Left(30);
  const CString& printer = m_pPrintHandler->m_device.m_strPrinterName;
  const CString& port = m_pPrintHandler->m_device.m_strPortName;
  const CString shownPrinter = printer.IsEmpty() ? CString("Default Printer") : printer;
  const CString shownPort = port.IsEmpty() ? CString("Default Port") : port;
  PrintStatusInfo status;
  status.event = PrintStatusEvent::Open;
  status.title = title;
  status.printer = shownPrinter;
  status.port = shownPort;
  status.cancelFlag = flag;
  status.job = this;
  NotifyPrintStatus(status);
  m_pPrintHandler->SetStatusJob(this);
  ForgetStatusJob(this);
  StatusJobs().emplace_back(info, this);
  m_bStatusShown = true;
}

void CPrintObject::DeleteStatusDlg(CWnd*) {
  if (!m_bStatusShown) return;
  PrintStatusInfo status;
  status.event = PrintStatusEvent::Close;
  status.job = this;
  NotifyPrintStatus(status);
  if (m_pPrintHandler) m_pPrintHandler->SetStatusJob(nullptr);
  ForgetStatusJob(this);
  m_bStatusShown = false;
}

}  // namespace zev
