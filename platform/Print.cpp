// The spooler calls, printer device contexts, movable global memory, the print
// dialog and print information wrappers, paper sizes and the print-status handler.
// Destinations are found and drawn on by the host (platform/host/PrintSpooler.cpp and
// CairoDevice.cpp); test printers are served here.
#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <mutex>

#include "GdiInternal.h"
#include "zevutil/platform/Host.h"

namespace zev {

namespace gdi {
namespace {

struct Paper {
  short code;
  double w, h;  // millimetres
  const char* pwg;
};
// Inch papers are given in exact millimetres (inches x 25.4).
const Paper kPapers[] = {
    {DMPAPER_LETTER, 215.9, 279.4, "na_letter_8.5x11in"},
    {2, 215.9, 279.4, "na_letter_8.5x11in"},  // letter small
    {DMPAPER_TABLOID, 279.4, 431.8, "na_ledger_11x17in"},
    {4, 431.8, 279.4, "na_ledger_11x17in"},  // ledger: tabloid lying down
    {DMPAPER_LEGAL, 215.9, 355.6, "na_legal_8.5x14in"},
    {6, 139.7, 215.9, "na_invoice_5.5x8.5in"},
    {DMPAPER_EXECUTIVE, 184.15, 266.7, "na_executive_7.25x10.5in"},
    {DMPAPER_A3, 297, 420, "iso_a3_297x420mm"},
    {DMPAPER_A4, 210, 297, "iso_a4_210x297mm"},
    {10, 210, 297, "iso_a4_210x297mm"},  // A4 small
    {DMPAPER_A5, 148, 210, "iso_a5_148x210mm"},
    {12, 250, 353, "jis_b4_257x364mm"},
    {DMPAPER_B5, 182, 257, "jis_b5_182x257mm"},
};

const Paper* FindPaper(short code) {
  for (const Paper& p : kPapers)
    if (p.code == code) return &p;
  return nullptr;
}

int MmToDev(double mm) { return int(std::lround(mm * kDeviceDpi / 25.4)); }

PageGeometry GeometryOf(const Paper& p) {
  PageGeometry g;
  g.horzRes = g.physWidth = MmToDev(p.w);
  g.vertRes = g.physHeight = MmToDev(p.h);
  g.horzSize = int(std::lround(p.w));
  g.vertSize = int(std::lround(p.h));
  return g;
}

void SwapAxes(PageGeometry& g) {
  std::swap(g.horzRes, g.vertRes);
  std::swap(g.physWidth, g.physHeight);
  std::swap(g.offsetX, g.offsetY);
  std::swap(g.horzSize, g.vertSize);
}

// The paper code for a CUPS media size (hundredths of a mm), or 0.
short PaperForSize(int w100, int h100) {
  for (const Paper& p : kPapers)
    if (std::abs(int(std::lround(p.w * 100)) - w100) <= 100 && std::abs(int(std::lround(p.h * 100)) - h100) <= 100)
      return p.code;
  return 0;
}

// ---- printer handles ----
struct PrinterHandle {
  static constexpr std::uint32_t kMagic = 0x70726E31;
  std::uint32_t magic = kMagic;
  std::string name;
  bool test = false;
  DestinationInfo dest;
};
PrinterHandle* PrinterOf(HANDLE h) {
  if (!IsLiveHandle(h) || MagicOf(h) != PrinterHandle::kMagic) return nullptr;
  return static_cast<PrinterHandle*>(h);
}

// ---- global memory ----
struct GlobalBlock {
  static constexpr std::uint32_t kMagic = 0x676D6231;
  std::uint32_t magic = kMagic;
  int locks = 0;
  std::vector<char> data;
};
GlobalBlock* BlockOf(HGLOBAL h) {
  if (!IsLiveHandle(h) || MagicOf(h) != GlobalBlock::kMagic) return nullptr;
  return static_cast<GlobalBlock*>(h);
}

std::atomic<int> g_pngDpi{150};

std::mutex& HandlerLock() {
  static auto* m = new std::mutex;
  return *m;
}
PrintStatusHandler& StatusHandler() {
  static auto* h = new PrintStatusHandler;
  return *h;
}
PrintDialogHandler& DialogHandler() {
  static auto* h = new PrintDialogHandler;
  return *h;
}

// Finds a test printer or a host destination; sets the last error on failure.
bool Find(const char* name, PrinterHandle& out) {
  std::string n = name ? name : "";
  TestDeviceOptions opt;
  if (!n.empty() && FindTestPrinter(n, opt)) {
    out.name = n;
    out.test = true;
    out.dest.kind = DestinationInfo::kTest;
    out.dest.name = n;
    return true;
  }
  DWORD err = ERROR_INVALID_PARAMETER;
  if (!HostFindDestination(n, out.dest, err)) {
    SetLastError(err);
    return false;
  }
  out.name = out.dest.name;
  return true;
}

short DefaultPaperOf(const DestinationInfo& d) {
  if (d.havePage) {
    short code = PaperForSize(int(std::lround(d.page.physWidth * 2540.0 / kDeviceDpi)),
                              int(std::lround(d.page.physHeight * 2540.0 / kDeviceDpi)));
    if (code) return code;
  }
  return GetSystemDefaultPaper();
}

void FillDevMode(const PrinterHandle& p, DEVMODEA& dm) {
  dm = DEVMODEA{};
  std::strncpy(dm.dmDeviceName, p.name.c_str(), CCHDEVICENAME - 1);
  dm.dmSpecVersion = 0x401;
  dm.dmSize = sizeof(DEVMODEA);
  dm.dmFields = DM_ORIENTATION | DM_PAPERSIZE | DM_COPIES | DM_PRINTQUALITY | DM_YRESOLUTION;
  dm.dmOrientation = DMORIENT_PORTRAIT;
  dm.dmPaperSize = p.test ? DMPAPER_A4 : DefaultPaperOf(p.dest);
  dm.dmScale = 100;
  dm.dmCopies = 1;
  int dpi = p.dest.kind == DestinationInfo::kPng ? GetPngOutputDpi() : kDeviceDpi;
  dm.dmPrintQuality = short(dpi);
  dm.dmYResolution = short(dpi);
}

void MergeDevMode(DEVMODEA& dm, const DEVMODEA& in) {
  if (in.dmFields & DM_ORIENTATION) dm.dmOrientation = in.dmOrientation;
  if (in.dmFields & DM_PAPERSIZE) dm.dmPaperSize = in.dmPaperSize;
  if (in.dmFields & DM_COPIES) dm.dmCopies = in.dmCopies;
  if (in.dmFields & DM_PRINTQUALITY) dm.dmPrintQuality = in.dmPrintQuality;
  if (in.dmFields & DM_YRESOLUTION) dm.dmYResolution = in.dmYResolution;
}

HGLOBAL MakeDevNames(const std::string& device, const std::string& port, bool isDefault) {
  std::string driver = "zevutil";
  std::size_t size = sizeof(DEVNAMES) + driver.size() + device.size() + port.size() + 3;
  HGLOBAL h = GlobalAlloc(GHND, size);
  auto* dn = static_cast<DEVNAMES*>(GlobalLock(h));
  if (!dn) return nullptr;
  char* base = reinterpret_cast<char*>(dn);
  WORD off = sizeof(DEVNAMES);
  dn->wDriverOffset = off;
  std::memcpy(base + off, driver.c_str(), driver.size() + 1);
  off = WORD(off + driver.size() + 1);
  dn->wDeviceOffset = off;
  std::memcpy(base + off, device.c_str(), device.size() + 1);
  off = WORD(off + device.size() + 1);
  dn->wOutputOffset = off;
  std::memcpy(base + off, port.c_str(), port.size() + 1);
  dn->wDefault = isDefault ? DN_DEFAULTPRN : 0;
  GlobalUnlock(h);
  return h;
}

}  // namespace
}  // namespace gdi

// ---- paper ----
BOOL GetPaperSize600(short paper, int& width, int& height, int& widthMm, int& heightMm) {
  const gdi::Paper* p = gdi::FindPaper(paper);
  if (!p) return FALSE;
  gdi::PageGeometry g = gdi::GeometryOf(*p);
  width = g.horzRes, height = g.vertRes, widthMm = g.horzSize, heightMm = g.vertSize;
  return TRUE;
}

short GetSystemDefaultPaper() {
  std::string name = gdi::HostSystemPaperName();
  for (const gdi::Paper& p : gdi::kPapers) {
    std::string pwg = p.pwg;  // "iso_a4_210x297mm": the second word is the paper's name
    std::size_t a = pwg.find('_'), b = pwg.find('_', a + 1);
    if (!name.empty() && pwg.compare(a + 1, b - a - 1, name) == 0) return p.code;
  }
  return DMPAPER_A4;
}

void SetPngOutputDpi(int dpi) { gdi::g_pngDpi = std::clamp(dpi, 10, 2400); }
int GetPngOutputDpi() { return gdi::g_pngDpi; }
bool HavePrintSpooler() { return gdi::HostHaveCups(); }

// ---- destinations ----
std::vector<PrintDestination> EnumPrintDestinations() {
  std::vector<PrintDestination> out;
  for (const char* n : {kPrintToPdfName, kPrintToPngName}) {
    PrintDestination d;
    d.name = n;
    d.builtin = true;
    d.state = "idle";
    const gdi::Paper* p = gdi::FindPaper(GetSystemDefaultPaper());
    d.media = p ? p->pwg : "";
    d.info = n == kPrintToPdfName ? "PDF file" : "PNG page images";
    out.push_back(d);
  }
  for (PrintDestination& d : gdi::HostEnumCupsDestinations()) out.push_back(d);
  return out;
}

BOOL GetDefaultPrinterName(CString& name) {
  gdi::DestinationInfo d;
  DWORD err = 0;
  if (!gdi::HostFindDestination("", d, err)) return FALSE;
  name = d.name.c_str();
  return TRUE;
}

// ---- spooler ----
BOOL OpenPrinterA(const char* name, HANDLE* printer, PRINTER_DEFAULTSA*) {
  if (printer) *printer = nullptr;
  auto p = std::make_unique<gdi::PrinterHandle>();
  if (!gdi::Find(name, *p)) return FALSE;
  if (!printer) return TRUE;
  gdi::RegisterHandle(p.get());
  *printer = p.release();
  return TRUE;
}

BOOL ClosePrinter(HANDLE printer) {
  gdi::PrinterHandle* p = gdi::PrinterOf(printer);
  if (!p) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  gdi::UnregisterHandle(p);
  p->magic = 0;
  delete p;
  return TRUE;
}

LONG DocumentPropertiesA(HWND, HANDLE printer, char*, DEVMODEA* out, const DEVMODEA* in, DWORD mode) {
  gdi::PrinterHandle* p = gdi::PrinterOf(printer);
  if (!p) {
    SetLastError(ERROR_INVALID_HANDLE);
    return -1;
  }
  if (mode == 0) return LONG(sizeof(DEVMODEA));
  if (!(mode & DM_OUT_BUFFER)) return IDOK;
  if (!out) return -1;
  DEVMODEA dm;
  gdi::FillDevMode(*p, dm);
  if ((mode & DM_IN_BUFFER) && in) gdi::MergeDevMode(dm, *in);
  *out = dm;
  return IDOK;
}

HDC CreateDCA(const char*, const char* device, const char* output, const DEVMODEA* dm) {
  gdi::PrinterHandle p;
  if (!gdi::Find(device, p)) return nullptr;
  if (p.test) {
    TestDeviceOptions opt;
    gdi::FindTestPrinter(p.name, opt);
    std::unique_ptr<gdi::Surface> s = gdi::NewTestSurface(opt);
    if (dm && dm->dmOrientation == DMORIENT_LANDSCAPE) gdi::SwapAxes(s->geom);
    return gdi::NewContext(std::move(s));
  }
  // Paper and orientation count whenever they hold a known value: callers narrow
  // dmFields after filling them.
  short code = dm && gdi::FindPaper(dm->dmPaperSize) ? dm->dmPaperSize : gdi::DefaultPaperOf(p.dest);
  const gdi::Paper* paper = gdi::FindPaper(code);
  gdi::PageGeometry page = gdi::GeometryOf(*paper);
  std::string media = paper->pwg;
  if (p.dest.kind == gdi::DestinationInfo::kCups) {
    gdi::PageGeometry cupsPage;
    std::string cupsMedia;
    if (gdi::HostCupsMediaForPaper(p.dest.name, int(std::lround(paper->w * 100)), int(std::lround(paper->h * 100)),
                                   cupsMedia, cupsPage)) {
      page = cupsPage;
      media = cupsMedia;
    }
  }
  if (dm && dm->dmOrientation == DMORIENT_LANDSCAPE) gdi::SwapAxes(page);
  int copies = dm && (dm->dmFields & DM_COPIES) && dm->dmCopies > 0 ? dm->dmCopies : 1;
  int dpi = dm && (dm->dmFields & DM_PRINTQUALITY) && dm->dmPrintQuality > 0 ? dm->dmPrintQuality
                                                                               : GetPngOutputDpi();
  std::unique_ptr<gdi::Surface> s = gdi::HostCreateSurface(p.dest, page, media, copies, std::clamp(dpi, 10, 2400));
  if (!s) {
    SetLastError(50);  // ERROR_NOT_SUPPORTED
    return nullptr;
  }
  // A port beginning with "FILE" names the default output file after its colon.
  auto isFilePort = [](const char* o) {
    static const char kFile[] = "FILE";
    for (int i = 0; i < 4; ++i)
      if (!o[i] || (o[i] & ~0x20) != kFile[i]) return false;
    return true;
  };
  if (output && isFilePort(output)) {
    const char* colon = std::strchr(output, ':');
    if (colon && colon[1]) s->defaultOutput = colon + 1;
  }
  return gdi::NewContext(std::move(s));
}

// ---- global memory ----
HGLOBAL GlobalAlloc(UINT, std::size_t bytes) {
  if (bytes > (std::size_t(1) << 30)) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  auto* b = new gdi::GlobalBlock;
  b->data.assign(bytes, 0);  // always zeroed: no uninitialised bytes reach a caller
  gdi::RegisterHandle(b);
  return b;
}

void* GlobalLock(HGLOBAL mem) {
  gdi::GlobalBlock* b = gdi::BlockOf(mem);
  if (!b) return nullptr;
  ++b->locks;
  return b->data.empty() ? nullptr : b->data.data();  // a block of no bytes has no memory
}

BOOL GlobalUnlock(HGLOBAL mem) {
  gdi::GlobalBlock* b = gdi::BlockOf(mem);
  if (!b || b->locks == 0) return FALSE;
  return --b->locks > 0;
}

HGLOBAL GlobalFree(HGLOBAL mem) {
  gdi::GlobalBlock* b = gdi::BlockOf(mem);
  if (!b) return mem;
  gdi::UnregisterHandle(b);
  b->magic = 0;
  delete b;
  return nullptr;
}

std::size_t GlobalSize(HGLOBAL mem) {
  gdi::GlobalBlock* b = gdi::BlockOf(mem);
  return b ? b->data.size() : 0;
}

// ---- print dialog ----
BOOL GetPrinterDeviceDefaults(PRINTDLGA* pd) {
  if (!pd) return FALSE;
  HANDLE h = nullptr;
  if (!OpenPrinterA("", &h, nullptr)) return FALSE;
  gdi::PrinterHandle* p = gdi::PrinterOf(h);
  if (pd->hDevMode) GlobalFree(pd->hDevMode);
  if (pd->hDevNames) GlobalFree(pd->hDevNames);
  pd->hDevMode = GlobalAlloc(GHND, sizeof(DEVMODEA));
  if (auto* dm = static_cast<DEVMODEA*>(GlobalLock(pd->hDevMode))) {
    gdi::FillDevMode(*p, *dm);
    GlobalUnlock(pd->hDevMode);
  }
  pd->hDevNames = gdi::MakeDevNames(p->name, "", true);
  ClosePrinter(h);
  return TRUE;
}

PrintDialogHandler SetPrintDialogHandler(PrintDialogHandler handler) {
  std::lock_guard<std::mutex> lock(gdi::HandlerLock());
  PrintDialogHandler old = std::move(gdi::DialogHandler());
  gdi::DialogHandler() = std::move(handler);
  return old;
}

CPrintDialog::CPrintDialog(BOOL bPrintSetupOnly, DWORD flags, CWnd* parent) : m_pParentWnd(parent) {
  m_pd.lStructSize = sizeof(PRINTDLGA);
  m_pd.Flags = flags | (bPrintSetupOnly ? PD_PRINTSETUP : 0);
  m_pd.nCopies = 1;
}

CPrintDialog::~CPrintDialog() {
  if (m_pd.hDC) ::zev::DeleteDC(m_pd.hDC);
}

INT_PTR CPrintDialog::DoModal() {
  PrintDialogHandler handler;
  {
    std::lock_guard<std::mutex> lock(gdi::HandlerLock());
    handler = gdi::DialogHandler();
  }
  if (!m_pd.hDevNames && !GetPrinterDeviceDefaults(&m_pd) && !handler) return IDCANCEL;
  INT_PTR r = handler ? handler(*this) : (m_pd.hDevNames ? IDOK : IDCANCEL);
  if (r == IDOK && (m_pd.Flags & (PD_RETURNDC | PD_RETURNIC)) && !m_pd.hDC) CreatePrinterDC();
  return r;
}

BOOL CPrintDialog::GetDefaults() {
  if (!GetPrinterDeviceDefaults(&m_pd)) return FALSE;
  if (m_pd.Flags & PD_RETURNDC) CreatePrinterDC();
  return TRUE;
}

DEVMODEA* CPrintDialog::GetDevMode() const { return static_cast<DEVMODEA*>(GlobalLock(m_pd.hDevMode)); }

namespace {
CString NameAt(HGLOBAL names, WORD DEVNAMES::*field) {
  auto* dn = static_cast<DEVNAMES*>(GlobalLock(names));
  if (!dn) return CString();
  std::size_t size = GlobalSize(names);
  WORD off = dn->*field;
  CString s;
  if (off < size) {
    const char* p = reinterpret_cast<const char*>(dn) + off;
    s = CString(p, int(strnlen(p, size - off)));
  }
  GlobalUnlock(names);
  return s;
}
}  // namespace

CString CPrintDialog::GetDriverName() const { return NameAt(m_pd.hDevNames, &DEVNAMES::wDriverOffset); }
CString CPrintDialog::GetDeviceName() const { return NameAt(m_pd.hDevNames, &DEVNAMES::wDeviceOffset); }
CString CPrintDialog::GetPortName() const { return NameAt(m_pd.hDevNames, &DEVNAMES::wOutputOffset); }

HDC CPrintDialog::CreatePrinterDC() {
  if (!m_pd.hDevNames) return nullptr;
  CString device = GetDeviceName(), port = GetPortName();
  DEVMODEA* dm = GetDevMode();
  HDC dc = CreateDCA(nullptr, device, port, dm);
  if (dm) GlobalUnlock(m_pd.hDevMode);
  if (m_pd.hDC) ::zev::DeleteDC(m_pd.hDC);
  m_pd.hDC = dc;
  return dc;
}

CPrintInfo::CPrintInfo() : m_pPD(new CPrintDialog(FALSE, PD_ALLPAGES | PD_USEDEVMODECOPIES | PD_NOSELECTION)) {
  SetMinPage(1);
  SetMaxPage(0xFFFF);
  SetFromPage(1);
  SetToPage(0xFFFF);
}

CPrintInfo::~CPrintInfo() { delete m_pPD; }

// ---- status ----
PrintStatusHandler SetPrintStatusHandler(PrintStatusHandler handler) {
  std::lock_guard<std::mutex> lock(gdi::HandlerLock());
  PrintStatusHandler old = std::move(gdi::StatusHandler());
  gdi::StatusHandler() = std::move(handler);
  return old;
}

void NotifyPrintStatus(const PrintStatusInfo& status) {
  PrintStatusHandler h;
  {
    std::lock_guard<std::mutex> lock(gdi::HandlerLock());
    h = gdi::StatusHandler();
  }
  if (h) h(status);
}

}  // namespace zev
