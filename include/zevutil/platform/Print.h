// Printing in the old platform's shapes: the device mode and document records, the
// spooler calls (OpenPrinterA, DocumentPropertiesA, StartDocA, ...), movable global
// memory, the print information and print dialog wrappers, the floating-point control
// word, the list of destinations and the replaceable print-status handler.
//
// Destinations are every CUPS queue, by name, and two built-ins that exist with or
// without CUPS: "Print to PDF" (the document's output names the PDF file) and "Print to
// PNG" (the output names a folder that receives page-1.png, page-2.png, ...). An empty
// name means the CUPS default destination.
#pragma once
#include <functional>
#include <vector>

#include "zevutil/platform/CString.h"
#include "zevutil/platform/Gdi.h"
#include "zevutil/platform/Types.h"

namespace zev {

inline constexpr const char* kPrintToPdfName = "Print to PDF";
inline constexpr const char* kPrintToPngName = "Print to PNG";

// ---- device mode ----
inline constexpr int CCHDEVICENAME = 32, CCHFORMNAME = 32;
inline constexpr DWORD DM_ORIENTATION = 0x1, DM_PAPERSIZE = 0x2, DM_PAPERLENGTH = 0x4, DM_PAPERWIDTH = 0x8,
                       DM_SCALE = 0x10, DM_COPIES = 0x100, DM_DEFAULTSOURCE = 0x200, DM_PRINTQUALITY = 0x400,
                       DM_COLOR = 0x800, DM_DUPLEX = 0x1000, DM_YRESOLUTION = 0x2000, DM_COLLATE = 0x8000,
                       DM_FORMNAME = 0x10000;
inline constexpr short DMORIENT_PORTRAIT = 1, DMORIENT_LANDSCAPE = 2;
inline constexpr short DMPAPER_LETTER = 1, DMPAPER_LEGAL = 5, DMPAPER_EXECUTIVE = 7, DMPAPER_A3 = 8,
                       DMPAPER_A4 = 9, DMPAPER_A5 = 11, DMPAPER_B5 = 13, DMPAPER_TABLOID = 3;

// The printer part of the old device mode. On "Print to PNG", dmPrintQuality (with
// DM_PRINTQUALITY) is the resolution of the pages in dpi. Paper and orientation are
// taken whenever they hold a known value, whatever dmFields says, because callers
// narrow the mask after filling them.
struct DEVMODEA {
  char dmDeviceName[CCHDEVICENAME];
  WORD dmSpecVersion;
  WORD dmDriverVersion;
  WORD dmSize;
  WORD dmDriverExtra;
  DWORD dmFields;
  short dmOrientation;  // 1 portrait, 2 landscape
  short dmPaperSize;    // DMPAPER_...; 0 with dmPaperLength/Width in tenths of a mm
  short dmPaperLength;
  short dmPaperWidth;
  short dmScale;
  short dmCopies;
  short dmDefaultSource;
  short dmPrintQuality;
  short dmColor;
  short dmDuplex;
  short dmYResolution;
  short dmTTOption;
  short dmCollate;
  char dmFormName[CCHFORMNAME];
  WORD dmLogPixels;
  DWORD dmBitsPerPel;
  DWORD dmPelsWidth;
  DWORD dmPelsHeight;
  DWORD dmNup;
  DWORD dmDisplayFrequency;
};
using DEVMODE = DEVMODEA;
using LPDEVMODE = DEVMODEA*;

// Driver, device and port names at byte offsets from the start of the block.
struct DEVNAMES {
  WORD wDriverOffset;
  WORD wDeviceOffset;
  WORD wOutputOffset;
  WORD wDefault;
};
inline constexpr WORD DN_DEFAULTPRN = 0x1;

// ---- document ----
struct DOCINFOA {
  int cbSize;
  const char* lpszDocName;
  const char* lpszOutput;  // a file (PDF) or, on "Print to PNG", a folder; null: the queue
  const char* lpszDatatype;
  DWORD fwType;
};
using DOCINFO = DOCINFOA;
using LPDOCINFO = DOCINFOA*;
int StartDocA(HDC dc, const DOCINFOA* doc);  // a job id > 0, or <= 0 on failure
int EndDoc(HDC dc);    // > 0; the file is in place (renamed) or the CUPS job submitted
int AbortDoc(HDC dc);  // no file is left, a CUPS job is cancelled
int StartPage(HDC dc);
int EndPage(HDC dc);
// The procedure is called with the context at each page end; a 0 answer aborts the job.
int SetAbortProc(HDC dc, ABORTPROC proc);
inline constexpr int SP_ERROR = -1, SP_APPABORT = -2, SP_USERABORT = -3, SP_OUTOFDISK = -4;

// ---- spooler ----
struct PRINTER_DEFAULTSA {
  char* pDatatype;
  DEVMODEA* pDevMode;
  DWORD DesiredAccess;
};
// Opens a destination for settings queries. An unknown name fails with the last error
// ERROR_INVALID_PARAMETER (87); an empty or null name is the default destination, and
// fails the same way when there is none.
BOOL OpenPrinterA(const char* name, HANDLE* printer, PRINTER_DEFAULTSA* defaults);
BOOL ClosePrinter(HANDLE printer);
inline constexpr DWORD DM_UPDATE = 1, DM_COPY = 2, DM_PROMPT = 4, DM_MODIFY = 8, DM_OUT_BUFFER = DM_COPY,
                       DM_IN_PROMPT = DM_PROMPT, DM_IN_BUFFER = DM_MODIFY;
// mode 0: the size of the device mode. DM_OUT_BUFFER: fills 'out' with the destination's
// defaults (merged with 'in' under DM_IN_BUFFER); returns IDOK (1). Negative on failure.
LONG DocumentPropertiesA(HWND owner, HANDLE printer, char* deviceName, DEVMODEA* out, const DEVMODEA* in,
                         DWORD mode);

// ---- movable global memory ----
inline constexpr UINT GMEM_FIXED = 0x0, GMEM_MOVEABLE = 0x2, GMEM_ZEROINIT = 0x40, GHND = 0x42, GPTR = 0x40;
HGLOBAL GlobalAlloc(UINT flags, std::size_t bytes);
void* GlobalLock(HGLOBAL mem);
BOOL GlobalUnlock(HGLOBAL mem);
HGLOBAL GlobalFree(HGLOBAL mem);  // null on success
std::size_t GlobalSize(HGLOBAL mem);

// ---- print dialog ----
struct PRINTDLGA {
  DWORD lStructSize;
  HWND hwndOwner;
  HGLOBAL hDevMode;   // DEVMODEA
  HGLOBAL hDevNames;  // DEVNAMES
  HDC hDC;
  DWORD Flags;
  WORD nFromPage;
  WORD nToPage;
  WORD nMinPage;
  WORD nMaxPage;
  WORD nCopies;
  HINSTANCE hInstance;
};
using PRINTDLG = PRINTDLGA;
inline constexpr DWORD PD_ALLPAGES = 0x0, PD_SELECTION = 0x1, PD_PAGENUMS = 0x2, PD_NOSELECTION = 0x4,
                       PD_NOPAGENUMS = 0x8, PD_COLLATE = 0x10, PD_PRINTTOFILE = 0x20, PD_PRINTSETUP = 0x40,
                       PD_NOWARNING = 0x80, PD_RETURNDC = 0x100, PD_RETURNIC = 0x200, PD_RETURNDEFAULT = 0x400,
                       PD_USEDEVMODECOPIES = 0x40000, PD_HIDEPRINTTOFILE = 0x100000, PD_NONETWORKBUTTON = 0x200000;

class CPrintDialog {
 public:
  explicit CPrintDialog(BOOL bPrintSetupOnly,
                        DWORD flags = PD_ALLPAGES | PD_USEDEVMODECOPIES | PD_NOPAGENUMS | PD_HIDEPRINTTOFILE |
                                      PD_NOSELECTION,
                        CWnd* parent = nullptr);
  virtual ~CPrintDialog();  // deletes m_pd.hDC; the two global blocks belong to the caller
  CPrintDialog(const CPrintDialog&) = delete;
  CPrintDialog& operator=(const CPrintDialog&) = delete;

  PRINTDLGA m_pd{};

  // Asks through the print dialog handler (see SetPrintDialogHandler); IDOK or IDCANCEL.
  virtual INT_PTR DoModal();
  // Fills hDevMode and hDevNames with the default destination (and hDC with
  // PD_RETURNDC); FALSE when there is none.
  BOOL GetDefaults();
  DEVMODEA* GetDevMode() const;  // locked view of hDevMode, or null
  CString GetDriverName() const;
  CString GetDeviceName() const;
  CString GetPortName() const;
  HDC GetPrinterDC() const { return m_pd.hDC; }
  // A context from hDevMode and hDevNames (kept in m_pd.hDC too), or null.
  HDC CreatePrinterDC();
  int GetCopies() const { return m_pd.nCopies; }
  BOOL PrintAll() const { return (m_pd.Flags & (PD_SELECTION | PD_PAGENUMS)) == 0; }
  BOOL PrintRange() const { return (m_pd.Flags & PD_PAGENUMS) != 0; }
  BOOL PrintSelection() const { return (m_pd.Flags & PD_SELECTION) != 0; }
  int GetFromPage() const { return m_pd.nFromPage; }
  int GetToPage() const { return m_pd.nToPage; }
  CWnd* m_pParentWnd = nullptr;
};

// The print dialog of a process without windows: receives the dialog (names and device
// mode filled with the current choice or the default) and answers IDOK or IDCANCEL. The
// default handler answers IDOK when a default destination exists, else IDCANCEL.
using PrintDialogHandler = std::function<INT_PTR(CPrintDialog& dialog)>;
PrintDialogHandler SetPrintDialogHandler(PrintDialogHandler handler);  // empty: the default

// The application's printer defaults: fills pd.hDevMode/hDevNames (allocating them
// when null) with the default destination; FALSE when there is none.
BOOL GetPrinterDeviceDefaults(PRINTDLGA* pd);

// ---- print information ----
inline constexpr DWORD PRINTFLAG_MAYBOTHERUSER = 0x1, PRINTFLAG_PROMPTUSER = 0x2,
                       PRINTFLAG_USERSUPPLIEDFILE = 0x4, PRINTFLAG_DONTUSEPRINTDIALOG = 0x8;

class CPrintInfo {
 public:
  // A print dialog with pages 1..0xFFFF, current page 1, continue printing set.
  CPrintInfo();
  ~CPrintInfo();  // deletes the dialog and a context it still holds
  CPrintInfo(const CPrintInfo&) = delete;
  CPrintInfo& operator=(const CPrintInfo&) = delete;

  CPrintDialog* m_pPD = nullptr;
  BOOL m_bDocObject = FALSE;
  DWORD m_dwFlags = 0;
  UINT m_nOffsetPage = 0;
  UINT m_nJobNumber = 0;
  BOOL m_bPreview = FALSE;
  BOOL m_bDirect = FALSE;
  BOOL m_bContinuePrinting = TRUE;
  UINT m_nCurPage = 1;
  UINT m_nNumPreviewPages = 1;
  CString m_strPageDesc;
  void* m_lpUserData = nullptr;
  CRect m_rectDraw;

  void SetMinPage(UINT n) { m_pPD->m_pd.nMinPage = WORD(n); }
  void SetMaxPage(UINT n) { m_pPD->m_pd.nMaxPage = WORD(n); }
  UINT GetMinPage() const { return m_pPD->m_pd.nMinPage; }
  UINT GetMaxPage() const { return m_pPD->m_pd.nMaxPage; }
  void SetFromPage(UINT n) { m_pPD->m_pd.nFromPage = WORD(n); }
  void SetToPage(UINT n) { m_pPD->m_pd.nToPage = WORD(n); }
  UINT GetFromPage() const { return m_pPD->m_pd.nFromPage; }
  UINT GetToPage() const { return m_pPD->m_pd.nToPage; }
  UINT GetOffsetPage() const { return m_nOffsetPage; }
};

// ---- destinations ----
struct PrintDestination {
  CString name;
  bool isDefault = false;
  bool builtin = false;  // "Print to PDF" / "Print to PNG"
  CString state;         // "idle", "processing", "stopped" (a built-in: "idle")
  CString media;         // default media, e.g. "iso_a4_210x297mm"
  CString info;          // description
};
// The built-ins first, then every CUPS destination. Never fails: without CUPS (or with
// no scheduler) the list holds the built-ins.
std::vector<PrintDestination> EnumPrintDestinations();
// The name of the default destination; FALSE when there is none.
BOOL GetDefaultPrinterName(CString& name);
// Resolution of "Print to PNG" pages when the device mode gives none (default 150).
void SetPngOutputDpi(int dpi);
int GetPngOutputDpi();
// The paper used when nothing is chosen: /etc/papersize ("a4", "letter", ...), else A4.
// Returns a DMPAPER_ code.
short GetSystemDefaultPaper();
// Device size of a paper code at 600 dpi (portrait); FALSE for an unknown code.
BOOL GetPaperSize600(short paper, int& width, int& height, int& widthMm, int& heightMm);
// Whether CUPS support is built in.
bool HavePrintSpooler();

// ---- print status ----
// The status display of a running job, in a process without windows. Open comes with
// title, printer, port and the cancel flag; Page with the page text ("Page 3"); Close
// at the end. The handler may set *cancelFlag to 1 at any time to cancel the job.
enum class PrintStatusEvent { Open, Page, Close };
struct PrintStatusInfo {
  PrintStatusEvent event = PrintStatusEvent::Open;
  const char* title = "";
  const char* printer = "";
  const char* port = "";
  const char* page = "";
  LONG* cancelFlag = nullptr;
  void* job = nullptr;  // identifies the job across the three events
};
using PrintStatusHandler = std::function<void(const PrintStatusInfo& status)>;
// Installs a handler; an empty one restores the default (which shows nothing).
// Returns the previous one.
PrintStatusHandler SetPrintStatusHandler(PrintStatusHandler handler);
void NotifyPrintStatus(const PrintStatusInfo& status);

// ---- floating-point control word ----
inline constexpr unsigned int _EM_INEXACT = 0x1, _EM_UNDERFLOW = 0x2, _EM_OVERFLOW = 0x4,
                              _EM_ZERODIVIDE = 0x8, _EM_INVALID = 0x10, _EM_DENORMAL = 0x80000,
                              MCW_EM = 0x8001F;
inline constexpr unsigned int _RC_NEAR = 0x0, _RC_DOWN = 0x100, _RC_UP = 0x200, _RC_CHOP = 0x300,
                              MCW_RC = 0x300;
inline constexpr unsigned int _PC_64 = 0x0, _PC_53 = 0x10000, _PC_24 = 0x20000, MCW_PC = 0x30000;
inline constexpr unsigned int _IC_PROJECTIVE = 0x0, _IC_AFFINE = 0x40000, MCW_IC = 0x40000;
inline constexpr unsigned int _CW_DEFAULT = _RC_NEAR | _PC_53 | _EM_INVALID | _EM_ZERODIVIDE | _EM_OVERFLOW |
                                            _EM_UNDERFLOW | _EM_INEXACT | _EM_DENORMAL;
// Reads and, for the bits in 'mask', sets the floating-point control word in the old
// layout (a set _EM_ bit masks that exception). Backed by <fenv.h> (rounding, trapped
// exceptions) and on x86 also the x87 precision; bits the host lacks read as default.
unsigned int _control87(unsigned int newValue, unsigned int mask);

}  // namespace zev
