// CPrintHandler: the engine between an output object and a device context. It owns the
// job state of one print document (printer, document and page protocol, page ranges,
// where body text goes, units) and lays out text (lines, tabs, header and footer
// templates, headings). CPrintFpuGuard keeps the floating-point control state across
// device calls.
#pragma once
#include <memory>

#include "zevutil/COutputInfo.h"
#include "zevutil/platform/Sync.h"

namespace zev {

// Saves the floating-point control word on entry and puts it back on exit when a call
// into a device changed it. The name and labels are kept for diagnosis only.
class CPrintFpuGuard {
 public:
  explicit CPrintFpuGuard(const char* name);
  ~CPrintFpuGuard();
  CPrintFpuGuard(const CPrintFpuGuard&) = delete;
  CPrintFpuGuard& operator=(const CPrintFpuGuard&) = delete;
  // 1 when the control word is as it was; 0 when it had changed (and, with bRestore,
  // it is put back).
  int Check(const char* label, int bRestore = 1);

 private:
  CString m_strName;
  unsigned int m_nControlWord;
};

using PRINT_ABORTPROC = BOOL (*)(HDC, int);

class CPrintHandler : public CPageFormatDef {
 public:
  CPrintHandler();
  ~CPrintHandler() override;
  CPrintHandler(const CPrintHandler&) = delete;
  CPrintHandler& operator=(const CPrintHandler&) = delete;

  void SetDefaultValues() override;

  // ---- document and pages; 1 for success ----
  int PreparePrintDocument(CPageFormatDef& fmt, int bInteractive, PRINT_ABORTPROC abortProc);
  int StartPrintDocument();
  int StartPrintPage();
  int EndPrintPage();
  int FinalEndPrintPage(int bEndDevicePage);
  int EndPrintDocument(int bAbort);
  void ReleasePrintDocument();
  int StartPrintFromView(CDC* dc, CPrintInfo* printInfo, CPageFormatDef& fmt);
  int EndPrintFromView();
  int StartPrintOutput(const CPageFormatDef& fmt, COutputInfo* info);
  int EndPrintEmbeddedOutput();

  int NeedNewPage() const { return m_pOutputInfo ? m_pOutputInfo->NeedNewPage() : 0; }
  int NeedNewPage(int height) const { return m_pOutputInfo ? m_pOutputInfo->NeedNewPage(height) : 0; }
  int IsPrintPreview() const { return m_pOutputInfo ? m_pOutputInfo->IsPrintPreview() : 0; }
  // Cancelled, or the current page lies outside the requested range.
  int IsOutputDisabled();
  int IsPrintFromView() const { return m_pOutputInfo && !m_bOwnsInfo ? 1 : 0; }
  // Reads the thread's cancel flag through the info; a set flag also stops the output.
  int IsOutputCancelled();
  COutputInfo* GetOutputInfo() const { return m_pOutputInfo; }

  // ---- units ----
  CPoint InchesToLP(double x, double y);
  double GetXLPperInch();
  double GetYLPperInch();
  void SetIndent(int lp);
  void SetIndent(double inches);
  void SetIndent(const char* text);
  void SetLeftMargin(int lp);
  void SetLeftMargin(double inches);
  void SetRightMargin(int lp);
  void SetRightMargin(double inches);
  void SetDefaultTab(double inches);
  void SetTabStops(const double* inches, int count);
  int GetTabStopCount() const { return m_nTabStopCount; }
  const LONG* GetTabStops() const { return m_pTabStops.get(); }
  double GetDefaultTab() const { return m_dDefaultTab; }
  LONG GetPagesEnded() const { return m_nPagesEnded; }
  // Device pages started since the document was prepared.
  LONG GetDevicePagesStarted() const { return m_nDevicePagesStarted; }

  // ---- fonts ----
  void CreateBodyFont(const FontDef& def);
  void CreateHeaderFont(const FontDef& def);
  // Stores def but builds the footer font from the header definition.
  void CreateFooterFont(const FontDef& def);
  void CreateHandlerFont(CFont*& font, const FontDef& def, CDC* dc);
  CFont* BodyFont() const { return m_pBodyFont; }
  CFont* HeaderFont() const { return m_pHeaderFont; }
  CFont* FooterFont() const { return m_pFooterFont; }

  // ---- text ----
  ZevTextContext GetTextContext();
  void SetTextContext(const ZevTextContext& ctx);
  ZevTextContext CreateTextContext();
  int PrintOneLineFromTextString(CString& text, int& bMore, int bIndent, int bOwnContext);
  int PrintOneLine(int x, const CString& line, int bIndent);
  CString ExtractLineToFitPage(int x, CString& text);
  CString ExtractLineToFitWidth(CString& text, int bIndent);
  int RemoveWordFromEnd(CString& line);
  int DoesTextFitOnPage(int x, const CString& text);
  int GetNextTabstop(int x, int& bRight);
  int GetNextXPos(int x, const CString& text, int& bRight);
  int PrintHeading(unsigned level, const char* title, const char* text);
  int PrintHeading0(const char* title, const char* text);
  int PrintHeading1(const char* title, const char* text);
  int PrintHeadingDefault(const char* title, const char* text);
  CString GetFormattedString(const CString& tmpl);
  // Replaces the first "%Date", and with bPage the first "%Page"; a second stays.
  void Format(CString& s, int bPage);
  // Prints text into rect, broken by character where it does not fit; returns the y below.
  int PrintTextInRectangle(CDC* dc, const CRect& rect, const CString& text);

  // The job whose status display shows each new page ("Page %ld"); null for none.
  void SetStatusJob(void* job) { m_pStatusJob = job; }

  CDC* GetPrintDC() const { return m_pOutputInfo ? m_pOutputInfo->m_pDC : nullptr; }

 protected:
  int DoPreparePrinting();
  int OnPreparePrinting() { return DoPreparePrinting(); }
  void OnBeginPrinting();
  void OnEndPrinting() { ReleaseResources(); }
  void CreateResources(CDC* dc);
  void ReleaseResources();
  void DeleteOutputInfo();
  int StartPageAndRestoreDC(int bRestore);
  void ComputeOutputRect(CDC* dc);
  int CheckFromToPages(unsigned page, int& bPast);
  CString ExtractLineToFitWidth(CString& text, CDC* dc, int width);
  CString GetFormattedString(CString& left, CString& middle, CString& right, CDC* dc, int width, int bFormat);
  CString GetFormattedString(const CString& tmpl, CDC* dc, int width, int bFormat);
  void LeftFit(CString& s, int space, CDC* dc, int pad);
  void RightFit(CString& s, int space, CDC* dc, int pad);
  int PrintHeader();
  int PrintLogo(CDC* dc, CRect rect);
  int PrintFooter();
  int TextHeight(CDC* dc);
  void ClampPages();

  COutputInfo* m_pOutputInfo = nullptr;
  LONG m_bOwnsInfo = 0;
  CFont* m_pBodyFont = nullptr;
  LONG m_bBodyFontChanged = 0;
  CFont* m_pHeaderFont = nullptr;
  CFont* m_pFooterFont = nullptr;
  CPen* m_pRulePen = nullptr;
  LONG m_nPagesEnded = 0;
  LONG m_nDevicePagesStarted = 0;
  double m_dDefaultTab = 0;
  LONG m_nTabStopCount = 0;
  std::unique_ptr<LONG[]> m_pTabStops;
  std::unique_ptr<CCriticalSection> m_pInfoLock;
  void* m_pStatusJob = nullptr;
};

// Splits a header or footer template at its first two tabs: left, middle and the rest.
void SplitTemplate(const CString& tmpl, CString& left, CString& middle, CString& right);

}  // namespace zev
