// The run-time state of one print or export job (COutputInfo), the device text state
// saved across page breaks (ZevTextContext), the per-thread cancel flag, and the
// callback interface of anything that can be output (COutputFunctions).
#pragma once
#include "zevutil/COutputDef.h"
#include "zevutil/platform/CException.h"
#include "zevutil/platform/CFile.h"
#include "zevutil/platform/Gdi.h"

namespace zev {

class CArchive;
class CWnd;

// The device state that is saved and restored around text.
struct ZevTextContext {
  LONG m_bValid = 0;  // nonzero when filled from a device
  LONG m_nMapMode = 0;
  LONG m_nBkMode = 0;
  LONG m_nTextAlign = 0;
  LONG m_nCharExtra = 0;
  LONG m_nBkColor = 0;
  LONG m_nTextColor = 0;
  CFont* m_pFont = nullptr;  // wrapper of the current font object
  HFONT m_hFont = nullptr;   // handle of that font
};

// The calling thread's cancel flag (1 means cancelled), made with the value 0 on
// first use. ReleaseThreadCancelFlag retires it: the next use makes a fresh one.
// A retired flag stays readable until the thread ends, so a job that still points at
// it never reads freed memory.
LONG* GetThreadCancelFlag();
void ReleaseThreadCancelFlag();

class COutputInfo {
 public:
  // Owns what it creates: a CPrintInfo for the printer, an unopened CFile for an export.
  explicit COutputInfo(EEXPORT_TYPE type);
  // A job hosted by a window: type printer, both pointers kept, nothing owned.
  COutputInfo(CDC* dc, CPrintInfo* printInfo);
  // When it owns: DeletePrintInfo and DeleteArchiveFile(0). Always retires the
  // calling thread's cancel flag.
  virtual ~COutputInfo();
  COutputInfo(const COutputInfo&) = delete;
  COutputInfo& operator=(const COutputInfo&) = delete;

  // Resets the job counters and flags; keeps the device context, print information,
  // archive, file and both rectangles.
  void SetDefaultValues();

  // Geometry of the body area.
  CRect GetOutputRect(int bIndent) const;
  int GetOutputWidth(int bIndent) const;
  int GetLeftEdge(int bIndent) const;
  int GetRightEdge() const;
  // True when a new page is flagged or current y + height reaches the output bottom.
  int NeedNewPage(int height = 0) const;
  int IsAtTopOfPage() const { return m_nCurrentY <= m_nTopY ? 1 : 0; }
  int IsAtBottomOfPage() const { return m_nCurrentY >= m_nBottomY ? 1 : 0; }
  int IsPrintPreview() const;
  UINT GetFromPage() const;  // 1 without print information
  UINT GetToPage() const;    // 0xFFFFFFFF without print information

  // Resources.
  void CreatePrintDC();
  void DeletePrintDC();
  void DeletePrintInfo();
  void CreateArchive();
  void DeleteArchive(int bAbort);
  void DeleteArchiveFile(int bAbort);

  // Failure text, always zero-terminated and at most 255 characters.
  void SetErrorMsg(int bFailed);                  // the thread's last error, or only clears the flag
  void SetErrorMsg(DWORD code, int bFailed);      // the system's text for the code
  void SetErrorMsg(const char* text, int bFailed);
  void SetErrorMsg(CException* e, int bFailed);   // null does nothing

  EEXPORT_TYPE m_eOutputType = EXPORT_NONE;
  CDC* m_pDC = nullptr;
  CPrintInfo* m_pPrintInfo = nullptr;
  CArchive* m_pArchive = nullptr;
  CFile* m_pFile = nullptr;
  CRect m_rectPage;
  CRect m_rectOutput;
  LONG m_bFixedOutputRect = 0;
  LONG m_nIndent = 0;
  LONG m_nLeftMargin = 0;
  LONG m_nRightMargin = 0;
  LONG m_nStringIndex = 0;
  LONG m_nPage = 0;
  LONG m_nPagesThisOutput = 0;
  LONG m_nCurrentY = 0;
  LONG m_nTopY = 0;
  LONG m_nBottomY = 0;
  LONG m_bFailed = 0;
  char m_szErrorMsg[256] = {};
  LONG m_bStopOutput = 0;
  LONG m_bPageOpen = 0;
  LONG m_bDevicePageStarted = 0;
  LONG m_bHeaderEnabled = 1;
  LONG m_bFooterEnabled = 1;
  LONG m_bHeaderPrinted = 0;
  LONG m_bFooterPrinted = 0;
  LONG m_bNewPageNeeded = 1;
  LONG m_bOutputDisabled = 0;
  LONG m_bInteractive = 0;
  LONG* m_pCancelFlag = nullptr;
  CWnd* m_pStatusDlg = nullptr;
  CWnd* m_pDisabledFrame = nullptr;
  ZevTextContext m_savedTextContext;
  LONG m_bOwnsResources = 0;
};

// The interface of anything that can be output. Only GetTextOutput is required.
class COutputFunctions {
 public:
  virtual ~COutputFunctions() = default;
  // The next line of text; false at the end.
  virtual int GetTextOutput(COutputInfo* info, CString& text) = 0;
  virtual void OnInitializeOutputObject() {}
  // Out value 0; with an info, header and footer enabled and string index 0.
  virtual void OnStartOutput(COutputInfo* info, int& bNewPageFirst);
  // Empty text, out value 1.
  virtual CString GetDefaultTitle(int& bUseDefault);
  virtual void OnStartNewPage(COutputInfo*) {}
  virtual void OnTopOfPage(COutputInfo*) {}
  virtual int OutputGraphics(COutputInfo*) { return 1; }
  virtual int IsTextOutputRequired(COutputInfo*) { return 1; }
  virtual LONG GetNumberOfTextStrings() { return 0x7FFFFFFF; }
  virtual int IsNewPageRequired(COutputInfo* info, int height);
  virtual int IsNewPageRequired(COutputInfo* info);
  // Cancelled (flag exactly 1), past the last requested page with no page open,
  // stopped, or every string printed.
  virtual int IsOutputEnded(COutputInfo* info);
};

}  // namespace zev
