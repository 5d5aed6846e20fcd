// CPrintHandler, document half: the printer, the document and page protocol, the
// requested page range, where body text goes, units and fonts. CPrintFpuGuard.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "zevutil/CPrintHandler.h"
#include "zevutil/platform/Host.h"

namespace zev {

namespace {

constexpr DWORD kPromptUserFlag = 2;  // the print information asks the user for a printer
constexpr char kDocumentName[] = "Halvorn ZEV";
// The framework's start-printing failure message.
constexpr char kStartPrintFailed[] = "The document could not be started on the printer.";

int Trunc(double v) {
  if (!(v == v)) return 0;
  if (v >= 2147483647.0) return 0x7FFFFFFF;
  if (v <= -2147483648.0) return int(0x80000000u);
  return int(std::trunc(v));
}

// Replaces every "%Date" keyword of the six templates once, for the whole document.
void FormatDates(CPrintHandler& h, CPageFormatDef& fmt) {
  for (CString* t : {&fmt.m_strHeader1, &fmt.m_strHeader2, &fmt.m_strHeader3, &fmt.m_strFooter1,
                     &fmt.m_strFooter2, &fmt.m_strFooter3})
    h.Format(*t, 0);
}

}  // namespace

// ---- CPrintFpuGuard ----

CPrintFpuGuard::CPrintFpuGuard(const char* name) : m_strName(name), m_nControlWord(_control87(0, 0)) {}

CPrintFpuGuard::~CPrintFpuGuard() { Check(m_strName, 1); }

int CPrintFpuGuard::Check(const char*, int bRestore) {
  const unsigned int now = _control87(0, 0);
  if (now == m_nControlWord) return 1;
  if (bRestore) _control87(m_nControlWord, 0xF001F);
  return 0;
}

// ---- construction and defaults ----

CPrintHandler::CPrintHandler() : m_pInfoLock(std::make_unique<CCriticalSection>()) {
  CPrintHandler::SetDefaultValues();
}

CPrintHandler::~CPrintHandler() {
  ReleaseResources();
  DeleteOutputInfo();
}

void CPrintHandler::SetDefaultValues() {
  CPageFormatDef::SetDefaultValues();
  if (m_pOutputInfo) m_pOutputInfo->SetDefaultValues();
  m_nPagesEnded = 0;
  m_dDefaultTab = 0;
  m_nTabStopCount = 0;
  m_pTabStops.reset();
}

void CPrintHandler::DeleteOutputInfo() {
  CSingleLock lock(m_pInfoLock.get(), TRUE);
  if (m_pOutputInfo && m_bOwnsInfo) delete m_pOutputInfo;
  m_pOutputInfo = nullptr;
  m_bOwnsInfo = 0;
}

int CPrintHandler::IsOutputCancelled() {
  COutputInfo* info = m_pOutputInfo;
  if (!info || !info->m_pCancelFlag || *info->m_pCancelFlag == 0) return 0;
  info->m_bStopOutput = 1;
  return 1;
}

int CPrintHandler::IsOutputDisabled() {
  if (IsOutputCancelled()) return 1;
  return m_pOutputInfo ? m_pOutputInfo->m_bOutputDisabled : 0;
}

// ---- preparing the document ----

int CPrintHandler::PreparePrintDocument(CPageFormatDef& fmt, int bInteractive, PRINT_ABORTPROC abortProc) {
  CPrintFpuGuard guard("PreparePrintDocument");
  {
    CSingleLock lock(m_pInfoLock.get(), TRUE);
    DeleteOutputInfo();
    m_pOutputInfo = new COutputInfo(EXPORT_PRINTER);
    m_bOwnsInfo = 1;
  }
  COutputInfo* info = m_pOutputInfo;
  if (!info || !info->m_pPrintInfo) return 0;
  m_nDevicePagesStarted = 0;
  FormatDates(*this, fmt);
  CPageFormatDef::operator=(fmt);
  // kept: the defaults also set the type back to none; the object keeps its own type.
  info->SetDefaultValues();
  info->m_bInteractive = bInteractive;
  info->m_bNewPageNeeded = 1;
  info->m_bStopOutput = 0;
  info->m_bFixedOutputRect = 0;
  CPrintInfo* pi = info->m_pPrintInfo;
  pi->m_dwFlags &= ~kPromptUserFlag;

  if (!m_device.m_strDriverName.IsEmpty() || !m_device.m_strPrinterName.IsEmpty() ||
      !m_device.m_strPortName.IsEmpty()) {
    const CString printer = m_device.m_strPrinterName;
    const CString port = m_device.m_strPortName;
    HANDLE hPrinter = nullptr;
    if (!OpenPrinterA(const_cast<char*>(printer.GetString()), &hPrinter, nullptr)) {
      const DWORD err = GetLastError();
      CString msg;
      if (err == ERROR_INVALID_PARAMETER)
        msg.Format("OpenPrinter FAILED\nInvalid printer %s", printer.GetString());
      else
        msg.Format("OpenPrinter FAILED: %lu", (unsigned long)err);
      MessageBoxA(nullptr, msg, nullptr, MB_OK | MB_ICONEXCLAMATION);
      return 0;
    }
    const LONG size = DocumentPropertiesA(nullptr, hPrinter, const_cast<char*>(printer.GetString()), nullptr,
                                          nullptr, 0);
    HGLOBAL block = size > 0 ? GlobalAlloc(GMEM_MOVEABLE, std::size_t(size)) : nullptr;
    DEVMODE* dm = block ? static_cast<DEVMODE*>(GlobalLock(block)) : nullptr;
    if (!dm || DocumentPropertiesA(nullptr, hPrinter, const_cast<char*>(printer.GetString()), dm, nullptr,
                                   DM_OUT_BUFFER) != IDOK) {
      if (dm) GlobalUnlock(block);
      if (block) GlobalFree(block);
      ClosePrinter(hPrinter);
      return 0;
    }
    dm->dmOrientation = m_device.m_nOrientation;
    dm->dmPaperSize = m_device.m_nPaperSize;
    dm->dmCopies = 1;
    dm->dmFields |= 0x101;
    CString upperPort = port;
    upperPort.MakeUpper();
    const char* output = upperPort.Find("FILE") == 0 ? port.GetString() : nullptr;
    HDC hdc = CreateDCA(nullptr, printer, output, dm);
    GlobalUnlock(block);
    GlobalFree(block);
    ClosePrinter(hPrinter);
    if (!hdc) {
      MessageBoxA(nullptr, kStartPrintFailed, nullptr, MB_OK | MB_ICONEXCLAMATION);
      return 0;
    }
    pi->m_bDirect = TRUE;
    pi->m_pPD->m_pd.hDC = hdc;
  } else if (bInteractive) {
    pi->m_dwFlags |= kPromptUserFlag;
  }

  if (!OnPreparePrinting()) return 0;  // the user cancelled: no error
  info->CreatePrintDC();
  info->m_pDC->Attach(pi->m_pPD->m_pd.hDC);
  info->m_pDC->m_bPrinting = TRUE;
  OnBeginPrinting();
  CreateResources(info->m_pDC);
  if (bInteractive && abortProc) info->m_pDC->SetAbortProc(abortProc);
  return 1;
}

int CPrintHandler::DoPreparePrinting() {
  COutputInfo* info = m_pOutputInfo;
  if (!info || !info->m_pPrintInfo) return 0;
  CPrintInfo* pi = info->m_pPrintInfo;
  CPrintDialog* pd = pi->m_pPD;
  auto keepNames = [&] {
    m_device.m_strDriverName = pd->GetDriverName();
    m_device.m_strPrinterName = pd->GetDeviceName();
    m_device.m_strPortName = pd->GetPortName();
  };
  if (!pi->m_bPreview && !pi->m_bDirect && (pi->m_dwFlags & kPromptUserFlag)) {
    pd->m_pd.nFromPage = WORD(pi->GetMinPage());
    pd->m_pd.nToPage = WORD(pi->GetMaxPage());
    if (pd->DoModal() != IDOK) return 0;
    if (!pd->m_pd.hDC && !pd->CreatePrinterDC()) return 0;
    keepNames();
  } else if (!pd->m_pd.hDC) {
    if (!GetPrinterDeviceDefaults(&pd->m_pd) && pd->DoModal() != IDOK) return 0;
    if (!pd->m_pd.hDC && !pd->CreatePrinterDC()) return 0;
    keepNames();
  }
  if (!pd->m_pd.hDC) return 0;
  pd->m_pd.nFromPage = WORD(pi->GetMinPage());
  pd->m_pd.nToPage = WORD(pi->GetMaxPage());
  return 1;
}

void CPrintHandler::OnBeginPrinting() {
  if (m_pOutputInfo && m_pOutputInfo->m_pPrintInfo) m_pOutputInfo->m_pPrintInfo->m_lpUserData = nullptr;
}

void CPrintHandler::ClampPages() {
  CPrintInfo* pi = m_pOutputInfo ? m_pOutputInfo->m_pPrintInfo : nullptr;
  if (!pi) return;
  const UINT lo = pi->GetMinPage(), hi = pi->GetMaxPage();
  pi->SetToPage(std::min(std::max(pi->GetToPage(), lo), hi));
  pi->SetFromPage(std::min(std::max(pi->GetFromPage(), lo), hi));
}

int CPrintHandler::StartPrintDocument() {
  CPrintFpuGuard guard("StartPrintDocument");
  COutputInfo* info = m_pOutputInfo;
  if (!info || !info->m_pDC || !info->m_pPrintInfo) return 0;
  char output[261] = {};
  DOCINFO doc{};
  doc.cbSize = 20;
  doc.lpszDocName = kDocumentName;
  if (!m_device.m_strFileName.IsEmpty()) {
    std::strncpy(output, m_device.m_strFileName, sizeof output - 1);
    doc.lpszOutput = output;
  }
  if (info->m_pDC->StartDoc(&doc) == -1) {
    OnEndPrinting();
    info->DeletePrintDC();
    MessageBoxA(nullptr, kStartPrintFailed, nullptr, MB_OK | MB_ICONEXCLAMATION);
    return 0;
  }
  ClampPages();
  SetDefaultTab(0.5);
  return 1;
}

// ---- pages ----

int CPrintHandler::CheckFromToPages(unsigned page, int& bPast) {
  bPast = 0;
  COutputInfo* info = m_pOutputInfo;
  if (!info) return 1;
  unsigned from = info->GetFromPage(), to = info->GetToPage(), slack = 0;
  if (info->IsPrintPreview()) {
    from = to = info->m_pPrintInfo->m_nCurPage;
    slack = 1;
  }
  if (page < from) return 0;
  if (page <= to) return 1;
  // Unsigned: a to-page of 0xFFFFFFFF plus the slack wraps, as on the old platform.
  if (page > to + slack) bPast = 1;
  return 0;
}

int CPrintHandler::StartPageAndRestoreDC(int bRestore) {
  CPrintFpuGuard guard("StartPageAndRestoreDC");
  CDC* dc = GetPrintDC();
  if (!dc) return 1;
  if (dc->StartPage() < 0) return 0;
  ++m_nDevicePagesStarted;
  // A device may forget its state at a page break.
  if (bRestore && m_pOutputInfo->m_savedTextContext.m_bValid) SetTextContext(m_pOutputInfo->m_savedTextContext);
  return 1;
}

int CPrintHandler::StartPrintPage() {
  COutputInfo* info = m_pOutputInfo;
  if (!info || !info->m_pPrintInfo || !info->m_pDC) return 0;
  if (IsOutputCancelled()) {
    info->m_bStopOutput = 1;
    return 0;
  }
  if (info->m_bPageOpen && !EndPrintPage()) {
    info->m_bFailed = 1;
    return 0;
  }
  info->m_bHeaderPrinted = 0;
  info->m_bFooterPrinted = 0;
  ++info->m_nPage;
  ++info->m_nPagesThisOutput;
  if (m_pStatusJob) {
    char page[32];
    std::snprintf(page, sizeof page, "Page %ld", long(info->m_nPage));
    PrintStatusInfo status;
    status.event = PrintStatusEvent::Page;
    status.page = page;
    status.cancelFlag = info->m_pCancelFlag;
    status.job = m_pStatusJob;
    NotifyPrintStatus(status);
  }
  int bPast = 0;
  info->m_bOutputDisabled = CheckFromToPages(unsigned(info->m_nPage), bPast) ? 0 : 1;
  if (bPast) {
    info->m_bNewPageNeeded = 0;
    info->m_bStopOutput = 1;
    return 1;  // past the last requested page: the document is over, no error
  }
  if (!info->m_bDevicePageStarted && !info->m_bOutputDisabled && !IsPrintPreview()) {
    info->m_bDevicePageStarted = 1;
    if (!StartPageAndRestoreDC(1)) {
      info->m_bFailed = 1;
      return 0;
    }
  }
  info->m_bPageOpen = 1;
  ComputeOutputRect(info->m_pDC);
  if (info->m_bHeaderEnabled && !info->m_bHeaderPrinted && PrintHeader()) info->m_bHeaderPrinted = 1;
  info->m_bNewPageNeeded = 0;
  return 1;
}

int CPrintHandler::EndPrintPage() {
  CPrintFpuGuard guard("EndPrintPage");
  COutputInfo* info = m_pOutputInfo;
  if (!info) return 0;
  if (info->m_bStopOutput) return 1;
  if (IsOutputCancelled()) return 0;
  int bPast = 0;
  const int bNextOut = CheckFromToPages(unsigned(info->m_nPage) + 1u, bPast);
  if (bPast) {
    // No footer and the device page stays open: EndPrintDocument closes it.
    info->m_bStopOutput = 1;
    return 1;
  }
  const int footer = PrintFooter();
  ++m_nPagesEnded;
  info->m_bPageOpen = 0;
  info->m_bNewPageNeeded = 1;
  if (info->m_bDevicePageStarted) info->m_savedTextContext = GetTextContext();
  if (!IsPrintPreview() && !info->m_bOutputDisabled) {
    if (!info->m_pDC) return 0;
    if (info->m_bDevicePageStarted) {
      info->m_bDevicePageStarted = 0;
      if (info->m_pDC->EndPage() < 0) {
        info->m_bFailed = 1;
        return 0;
      }
    }
  }
  if (IsOutputCancelled()) return 0;
  // kept: the next page's range answer, as "output disabled", is the in-range flag.
  info->m_bOutputDisabled = bNextOut ? 0 : 1;
  return footer;
}

int CPrintHandler::FinalEndPrintPage(int bEndDevicePage) {
  CPrintFpuGuard guard("FinalEndPrintPage");
  COutputInfo* info = m_pOutputInfo;
  if (!info || info->m_bFailed || !info->m_bPageOpen) return 1;
  int footer = 1;
  if (!IsOutputCancelled()) footer = PrintFooter();
  ++m_nPagesEnded;
  info->m_bPageOpen = 0;
  if (bEndDevicePage && footer && info->m_bDevicePageStarted) {
    if (!info->m_pDC) return 0;
    info->m_bDevicePageStarted = 0;
    if (info->m_pDC->EndPage() < 0) {
      info->m_bFailed = 1;
      return 0;
    }
  }
  return footer;
}

int CPrintHandler::EndPrintDocument(int bAbort) {
  CPrintFpuGuard guard("EndPrintDocument");
  COutputInfo* info = m_pOutputInfo;
  if (!info) return 0;
  if (!info->m_pDC) return 1;
  if (bAbort || info->m_bFailed) return 0;  // no EndDoc: deleting the context abandons it
  if (!FinalEndPrintPage(1)) return 0;
  return info->m_pDC->EndDoc() >= 0 ? 1 : 0;
}

void CPrintHandler::ReleasePrintDocument() {
  if (GetPrintDC()) OnEndPrinting();
  DeleteOutputInfo();
}

// ---- printing hosted by a window, and embedded printing ----

int CPrintHandler::StartPrintFromView(CDC* dc, CPrintInfo* printInfo, CPageFormatDef& fmt) {
  if (!dc || !printInfo) return 0;
  {
    CSingleLock lock(m_pInfoLock.get(), TRUE);
    DeleteOutputInfo();
    m_pOutputInfo = new COutputInfo(dc, printInfo);
    m_bOwnsInfo = 1;  // the info is ours; the context and print information are the host's
  }
  FormatDates(*this, fmt);
  CPageFormatDef::operator=(fmt);
  m_pOutputInfo->m_bInteractive = 1;
  m_pOutputInfo->m_bNewPageNeeded = 1;
  OnBeginPrinting();
  ClampPages();
  SetDefaultTab(0.5);
  return 1;
}

int CPrintHandler::EndPrintFromView() {
  if (!m_pOutputInfo || !m_pOutputInfo->m_pDC) return 0;
  OnEndPrinting();
  DeleteOutputInfo();
  return 1;
}

int CPrintHandler::StartPrintOutput(const CPageFormatDef& fmt, COutputInfo* info) {
  CPageFormatDef::operator=(fmt);
  {
    CSingleLock lock(m_pInfoLock.get(), TRUE);
    DeleteOutputInfo();
    m_pOutputInfo = info;
    m_bOwnsInfo = 0;
  }
  if (!info) return 0;
  if (IsOutputCancelled()) return 0;
  info->m_bStopOutput = 0;
  if (info->m_pDC) {
    CreateResources(info->m_pDC);
    info->m_nIndent = info->m_nLeftMargin = info->m_nRightMargin = 0;
    SetDefaultTab(0.5);
    SetTabStops(nullptr, 0);
    info->m_nStringIndex = 0;
    info->m_nPagesThisOutput = 0;
    info->m_bHeaderEnabled = info->m_bFooterEnabled = 1;
    info->m_bFixedOutputRect = 0;
  }
  return 1;
}

int CPrintHandler::EndPrintEmbeddedOutput() {
  if (!m_pOutputInfo || !m_pOutputInfo->m_pDC) return 0;
  ReleaseResources();
  m_pOutputInfo->m_bStopOutput = 0;
  DeleteOutputInfo();
  return 1;
}

// ---- geometry and units ----

void CPrintHandler::ComputeOutputRect(CDC* dc) {
  CPrintFpuGuard guard("ComputeOutputRect");
  COutputInfo* info = m_pOutputInfo;
  if (!info || !dc) return;
  CRect page(0, 0, dc->GetDeviceCaps(HORZRES), dc->GetDeviceCaps(VERTRES));
  dc->DPtoLP(&page);
  const CPoint eighth = InchesToLP(0.125, 0.125);
  page.DeflateRect(eighth.x, eighth.y);
  info->m_rectPage = page;
  if (info->m_pPrintInfo) info->m_pPrintInfo->m_rectDraw = page;
  if (!info->m_bFixedOutputRect) info->m_rectOutput = page;
  info->m_nCurrentY = info->m_rectOutput.top;
  const int band = InchesToLP(0.5, 0.5).y;
  const int line = Trunc(band / 3.0 + 0.5);
  if (info->m_bHeaderEnabled) {
    if (!info->m_bFixedOutputRect) {
      info->m_rectOutput.top += band;
      if (!m_strHeader2.IsEmpty()) info->m_rectOutput.top += line;
      if (!m_strHeader3.IsEmpty()) info->m_rectOutput.top += line;
    }
    info->m_nCurrentY = info->m_rectOutput.top + line;
  }
  if (info->m_bFooterEnabled && !info->m_bFixedOutputRect) {
    info->m_rectOutput.bottom -= band;
    if (!m_strFooter2.IsEmpty()) info->m_rectOutput.bottom -= line;
    if (!m_strFooter3.IsEmpty()) info->m_rectOutput.bottom -= line;
  }
  info->m_nTopY = info->m_nCurrentY;
  info->m_nBottomY = info->m_rectOutput.bottom;
}

double CPrintHandler::GetXLPperInch() {
  CPrintFpuGuard guard("GetXLPperInch");
  CDC* dc = GetPrintDC();
  if (!dc) return 1.0;
  const int mm = dc->GetDeviceCaps(HORZSIZE);
  return mm > 0 ? dc->GetDeviceCaps(HORZRES) * 25.4 / mm : 1.0;
}

double CPrintHandler::GetYLPperInch() {
  CPrintFpuGuard guard("GetYLPperInch");
  CDC* dc = GetPrintDC();
  if (!dc) return 1.0;
  const int mm = dc->GetDeviceCaps(VERTSIZE);
  return mm > 0 ? dc->GetDeviceCaps(VERTRES) * 25.4 / mm : 1.0;
}

CPoint CPrintHandler::InchesToLP(double x, double y) {
  CPrintFpuGuard guard("InchesToLP");
  CDC* dc = GetPrintDC();
  if (!dc) return CPoint(0, 0);
  CPoint p(Trunc(GetXLPperInch() * x + 0.5), Trunc(GetYLPperInch() * y + 0.5));
  dc->DPtoLP(&p);
  return p;
}

void CPrintHandler::SetIndent(int lp) {
  if (m_pOutputInfo && lp >= 0) m_pOutputInfo->m_nIndent = lp;
}
void CPrintHandler::SetIndent(double inches) {
  if (m_pOutputInfo) m_pOutputInfo->m_nIndent = inches > 0 ? InchesToLP(inches, inches).x : 0;
}
void CPrintHandler::SetIndent(const char* text) {
  if (!m_pOutputInfo) return;
  if (!text) {
    m_pOutputInfo->m_nIndent = 0;
    return;
  }
  int bRight = 0;
  // kept: an absolute x taken as the indent, so following lines go under the label's end.
  m_pOutputInfo->m_nIndent = GetNextXPos(m_pOutputInfo->GetLeftEdge(0), text, bRight);
}
void CPrintHandler::SetLeftMargin(int lp) {
  if (m_pOutputInfo && lp >= 0) m_pOutputInfo->m_nLeftMargin = lp;
}
void CPrintHandler::SetLeftMargin(double inches) {
  if (m_pOutputInfo) m_pOutputInfo->m_nLeftMargin = inches > 0 ? InchesToLP(inches, inches).x : 0;
}
void CPrintHandler::SetRightMargin(int lp) {
  if (m_pOutputInfo && lp >= 0) m_pOutputInfo->m_nRightMargin = lp;
}
void CPrintHandler::SetRightMargin(double inches) {
  if (m_pOutputInfo) m_pOutputInfo->m_nRightMargin = inches > 0 ? InchesToLP(inches, inches).x : 0;
}

void CPrintHandler::SetDefaultTab(double inches) { m_dDefaultTab = inches >= 0 ? GetXLPperInch() * inches : 0; }

void CPrintHandler::SetTabStops(const double* inches, int count) {
  m_pTabStops.reset();
  m_nTabStopCount = 0;
  if (count <= 0 || !inches) return;
  m_pTabStops = std::make_unique<LONG[]>(size_t(count));
  for (int i = 0; i < count; ++i) {
    const double v = inches[i];
    const LONG stop = InchesToLP(std::fabs(v), std::fabs(v)).x;
    m_pTabStops[i] = v < 0 ? -stop : stop;
  }
  m_nTabStopCount = count;
}

// ---- fonts and pen ----

void CPrintHandler::CreateResources(CDC* dc) {
  if (!m_pBodyFont) CreateHandlerFont(m_pBodyFont, m_fontBody, dc);
  if (!m_pHeaderFont) CreateHandlerFont(m_pHeaderFont, m_fontHeader, dc);
  // kept: the footer font is built from the header definition.
  if (!m_pFooterFont) CreateHandlerFont(m_pFooterFont, m_fontHeader, dc);
  if (!m_pRulePen) m_pRulePen = new CPen(PS_SOLID, 3, RGB(0, 0, 0));
}

void CPrintHandler::ReleaseResources() {
  delete m_pBodyFont;
  m_pBodyFont = nullptr;
  delete m_pHeaderFont;
  m_pHeaderFont = nullptr;
  delete m_pFooterFont;
  m_pFooterFont = nullptr;
  delete m_pRulePen;
  m_pRulePen = nullptr;
}

void CPrintHandler::CreateBodyFont(const FontDef& def) {
  m_fontBody = def;
  CreateHandlerFont(m_pBodyFont, m_fontBody, nullptr);
  m_bBodyFontChanged = 1;
}

void CPrintHandler::CreateHeaderFont(const FontDef& def) {
  m_fontHeader = def;
  CreateHandlerFont(m_pHeaderFont, m_fontHeader, nullptr);
}

void CPrintHandler::CreateFooterFont(const FontDef& def) {
  m_fontFooter = def;
  // kept: the footer font is built from the header definition.
  CreateHandlerFont(m_pFooterFont, m_fontHeader, nullptr);
}

void CPrintHandler::CreateHandlerFont(CFont*& font, const FontDef& def, CDC* dc) {
  CPrintFpuGuard guard("CreateHandlerFont");
  if (!dc) dc = GetPrintDC();
  if (!dc) return;
  dc->SetMapMode(MM_TEXT);
  const double scaleY = dc->GetDeviceCaps(LOGPIXELSY) / 72.0;
  const double scaleX = dc->GetDeviceCaps(LOGPIXELSX) / 72.0;
  delete font;
  font = nullptr;
  CPoint p(Trunc(def.m_nSize * scaleX), Trunc(def.m_nSize * scaleY));
  dc->DPtoLP(&p);
  const double absY = std::fabs(double(p.y));
  const int height = -Trunc(absY / 10.0 + 0.5);
  font = new CFont;
  if (!font->CreateFont(height, 0, 0, 0, def.m_nWeight, BYTE(def.m_bItalic), BYTE(def.m_bUnderline), 0, 1, 0, 0,
                        0, 0x24, def.m_strFaceName)) {
    delete font;
    font = nullptr;
  }
}

}  // namespace zev
