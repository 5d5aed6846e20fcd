// CPrintObject: the print driver of an output object. It runs the loop that asks the
// object for graphics and text and turns what it gets into pages through its
// CPrintHandler: standalone jobs, jobs embedded in another's page, and jobs hosted by
// a window that owns the device context.
#pragma once
#include <memory>

#include "zevutil/CPrintHandler.h"

namespace zev {

class CPrintObject : public COutputFunctions {
 public:
  CPrintObject();
  ~CPrintObject() override;
  CPrintObject(const CPrintObject&) = delete;
  CPrintObject& operator=(const CPrintObject&) = delete;

  // The default format with the object's title in the middle of the first header line.
  virtual void GetDefaultPageFormat(CPageFormatDef& format);
  virtual void SetPrintFromView(int bInteractive, CWnd* parent, const char* title);
  // A whole job: start, page loop, end. 1 for success; a failure text stays in the info
  // until the end releases it (see GetLastErrorMsg).
  virtual int PrintObject(CPageFormatDef& format, const CObjectOutputDef& def);
  virtual int PrintObject(const COutputDeviceDef& device, const char* title);
  virtual int PrintEmbeddedObject(const CPageFormatDef& format, const CObjectOutputDef& def, COutputInfo* info);
  virtual void AbortPrintout() {}
  virtual int PrintReport() { return 0; }
  virtual int OnBeginPrintingFromView(CDC* dc, CPrintInfo* printInfo, CPageFormatDef& format,
                                      const CObjectOutputDef& def);
  virtual int OnBeginPrintingFromView(CDC* dc, CPrintInfo* printInfo, const char* title);
  virtual int OnPrintFromView(CDC* dc, CPrintInfo* printInfo);
  virtual int OnEndPrintingFromView();
  virtual void SetDefaultValues();
  virtual int StartPrintObject(CPageFormatDef& format, const CObjectOutputDef& def, int bInteractive);
  virtual int StartPrintEmbeddedObject(const CPageFormatDef& format, const CObjectOutputDef& def,
                                       COutputInfo* info);
  virtual int DoObjectPrintout();
  virtual int EndPrintEmbeddedObject();
  virtual int EndPrintObject();
  virtual void InitialProcessPageFormat(CPageFormatDef&) {}
  virtual void CreatePageFormatTitle(CPageFormatDef& format, const char* title);
  virtual void GetOutputRect(CRect& rect, LONG& y);
  virtual void SetOutputRect(const CRect& rect, LONG y, int bFixed);
  virtual void SetOutputRect(const CRect& rect, int bFixed);
  virtual int PrintNextBlock(int& bMore);
  virtual int PrintTextBlock(const CString& text);
  virtual int PrintTextBlock(int bOneString);
  virtual int StartNewPage(int bCheckEnd);
  virtual void SignalNewPage();
  virtual void SignalStopOutput();
  virtual int PrintHeading(unsigned level, const char* title, const char* text);

  virtual void SetIndent(int lp);
  virtual void SetIndent(double inches);
  virtual void SetIndent(const char* text);
  virtual void SetLeftMargin(int lp);
  virtual void SetLeftMargin(double inches);
  virtual void SetRightMargin(int lp);
  virtual void SetRightMargin(double inches);
  virtual void SetDefaultTab(double inches);
  virtual void SetTabStops(const double* inches, int count);
  virtual COutputInfo* GetOutputInfoPtr();

  int IsPrintPreview();
  int IsOutputDisabled();
  int IsOutputCancelled();
  int IsPastLastPage(COutputInfo* info);
  CDC* GetPrintDC();
  void InsertStringInMiddleOfLine1(CPageFormatDef& format, const char* text);
  void CreateStatusDlg();
  void DeleteStatusDlg(CWnd* parent);

  void SetDocTitle(const char* title) { m_strDocTitle = title ? title : "ZEV Report"; }
  const CString& GetDocTitle() const { return m_strDocTitle; }
  CPrintHandler* GetPrintHandler() const { return m_pPrintHandler; }
  // Pages laid out by the last job (in and out of the range) and pages sent to the
  // device; the failure text of the last job. Kept after the job is released.
  LONG GetPagesLaidOut() const { return m_nLastPagesLaidOut; }
  LONG GetPagesOutput() const { return m_nLastPagesOutput; }
  const CString& GetLastErrorMsg() const { return m_strLastError; }

  // The abort procedure given to the device in an interactive job.
  static BOOL AbortProc(HDC dc, int code);

  EEXPORT_TYPE m_eOutputType = EXPORT_NONE;
  LONG m_bEmbedded = 0;
  LONG m_bInteractive = 0;
  CPageFormatDef m_pageFormat;
  CObjectOutputDef* m_pObjectDef = nullptr;
  CPrintHandler* m_pPrintHandler = nullptr;
  LONG m_bNewPageFirst = 0;
  CString m_strText;
  CWnd* m_pParentWnd = nullptr;
  CString m_strDocTitle = "ZEV Report";

 private:
  int EnsureHandler();
  COutputInfo* Info() const { return m_pPrintHandler ? m_pPrintHandler->GetOutputInfo() : nullptr; }
  void KeepJobFigures();

  bool m_bStatusShown = false;
  LONG m_nLastPagesLaidOut = 0;
  LONG m_nLastPagesOutput = 0;
  CString m_strLastError;
};

}  // namespace zev
