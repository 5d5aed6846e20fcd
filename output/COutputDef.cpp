// Output definitions: defaults, stored forms and the profile form of the printer choice.
#include "zevutil/COutputDef.h"

#include <cstdio>

#include "zevutil/VqeReportStream.h"
#include "zevutil/platform/Host.h"
#include "zevutil/platform/Print.h"
#include "zevutil/platform/Profile.h"

namespace zev {

namespace {
constexpr LONG kFontVersion = 310;
constexpr LONG kDeviceVersion = 510;
constexpr LONG kPageFormatVersion = 410;
constexpr LONG kObjectDefVersion = 240;
constexpr LONG kDataPlotVersion = 1000;
constexpr LONG kNotifyVersion = 21002;
constexpr LONG kNotifyOldVersion = 21001;
}  // namespace

// ---- FontDef ----

void FontDef::Serialize(CArchive& ar) {
  if (ar.IsStoring()) {
    ar << kFontVersion << m_strFaceName << m_nSize << m_nWeight << m_bItalic << m_bUnderline;
    return;
  }
  LONG version = 0;
  ar >> version;
  if (version != kFontVersion) return;
  ar >> m_strFaceName >> m_nSize >> m_nWeight >> m_bItalic >> m_bUnderline;
}

// ---- COutputDeviceDef ----

COutputDeviceDef& COutputDeviceDef::operator=(const COutputDeviceDef& other) {
  if (this != &other) {
    m_strDriverName = other.m_strDriverName;
    m_strPrinterName = other.m_strPrinterName;
    m_strPortName = other.m_strPortName;
    m_nOrientation = other.m_nOrientation;
    m_nPaperSize = other.m_nPaperSize;
    m_strFileName = other.m_strFileName;
  }
  return *this;
}

void COutputDeviceDef::SetDefaultValues() {
  m_strDriverName.Empty();
  m_strPrinterName.Empty();
  m_strPortName.Empty();
  m_nOrientation = 1;
  m_nPaperSize = 1;
  m_strFileName.Empty();
}

void COutputDeviceDef::Serialize(CArchive& ar) {
  if (ar.IsStoring()) {
    ar << kDeviceVersion << m_strDriverName << m_strPrinterName << m_strPortName << WORD(m_nOrientation)
       << WORD(m_nPaperSize) << m_strFileName;
    return;
  }
  LONG version = 0;  // read and not looked at
  ar >> version >> m_strDriverName >> m_strPrinterName >> m_strPortName;
  WORD orientation = 0, paper = 0;
  ar >> orientation >> paper;
  m_nOrientation = SHORT(orientation);
  m_nPaperSize = SHORT(paper);
  ar >> m_strFileName;
}

int COutputDeviceDef::Validate(CString& msg, int& bBad, int bShowMessage, int bOfferNewPrinter, CWnd* parent) {
  msg.Empty();
  bBad = 0;
  if (m_strPrinterName.IsEmpty()) return 1;  // the system default needs no check
  if (bOfferNewPrinter) bShowMessage = 0;
  HANDLE printer = nullptr;
  if (OpenPrinterA(m_strPrinterName, &printer, nullptr)) {
    ClosePrinter(printer);
    return 1;
  }
  const DWORD err = GetLastError();
  bBad = 1;
  if (err == ERROR_INVALID_PARAMETER)
    msg.Format("Invalid printer %s", m_strPrinterName.GetString());
  else
    msg.Format("Error %lu", (unsigned long)err);
  if (bShowMessage) MessageBoxA(nullptr, CString("Printer open failure") + ": " + msg, nullptr, MB_OK | MB_ICONEXCLAMATION);
  if (bOfferNewPrinter) {
    CString ask;
    // kept: the message's spelling is the one users know.
    ask.Format("Invalid printer %s specifed.\nPress OK to select new printer, or CANCEL", m_strPrinterName.GetString());
    if (MessageBoxA(nullptr, ask, nullptr, MB_OKCANCEL) == IDOK) {
      CPrintDialog dialog(FALSE, 0x14000C, parent);
      if (dialog.DoModal() == IDOK) {
        m_strDriverName = dialog.GetDriverName();
        m_strPrinterName = dialog.GetDeviceName();
        m_strPortName = dialog.GetPortName();
        if (DEVMODEA* dm = dialog.GetDevMode()) {
          m_nOrientation = dm->dmOrientation;
          m_nPaperSize = dm->dmPaperSize;
          GlobalUnlock(dialog.m_pd.hDevMode);
        }
        bBad = 0;
        if (dialog.m_pd.hDevMode) GlobalFree(dialog.m_pd.hDevMode);
        if (dialog.m_pd.hDevNames) GlobalFree(dialog.m_pd.hDevNames);
        dialog.m_pd.hDevMode = dialog.m_pd.hDevNames = nullptr;
      }
    }
  }
  return 0;  // kept: 0 even after a new choice; the caller reads bBad
}

// ---- CPageFormatDef ----

CPageFormatDef& CPageFormatDef::operator=(const CPageFormatDef& other) {
  if (this != &other) {
    m_device = other.m_device;
    m_fontBody = other.m_fontBody;
    m_fontHeader = other.m_fontHeader;
    m_fontFooter = other.m_fontFooter;
    m_strHeader1 = other.m_strHeader1;
    m_strHeader2 = other.m_strHeader2;
    m_strHeader3 = other.m_strHeader3;
    m_strFooter1 = other.m_strFooter1;
    m_strFooter2 = other.m_strFooter2;
    m_strFooter3 = other.m_strFooter3;
  }
  return *this;
}

void CPageFormatDef::SetDefaultValues() {
  m_device.SetDefaultValues();
  m_fontBody = FontDef();
  m_fontHeader = m_fontBody;
  m_fontHeader.m_nSize = 100;
  m_fontHeader.m_nWeight = 700;
  // kept: the footer font is a copy of the header font, so footers are bold too.
  m_fontFooter = m_fontHeader;
  m_strHeader1 = "Zevatron\t\tProjectName";
  m_strHeader2.Empty();
  m_strHeader3.Empty();
  m_strFooter1 = "%Date\t\tPage: %Page";
  m_strFooter2.Empty();
  m_strFooter3.Empty();
}

void CPageFormatDef::Serialize(CArchive& ar) {
  if (ar.IsStoring()) {
    ar << kPageFormatVersion << m_strHeader1 << m_strHeader2 << m_strHeader3 << m_strFooter1 << m_strFooter2
       << m_strFooter3;
  } else {
    LONG version = 0;
    ar >> version;
    if (version != kPageFormatVersion) return;
    ar >> m_strHeader1 >> m_strHeader2 >> m_strHeader3 >> m_strFooter1 >> m_strFooter2 >> m_strFooter3;
  }
  m_device.Serialize(ar);
  m_fontBody.Serialize(ar);
  m_fontHeader.Serialize(ar);
  m_fontFooter.Serialize(ar);
}

int CPageFormatDef::Validate(CString& msg, int& bBad, int bShowMessage, int bOfferNewPrinter, CWnd* parent) {
  msg.Empty();
  bBad = 0;
  return m_device.Validate(msg, bBad, bShowMessage, bOfferNewPrinter, parent);
}

void CPageFormatDef::Save(const char* file, const char* section) const {
  char number[32];
  WritePrivateProfileStringA(section, "PrintDlg_DriverName", m_device.m_strDriverName, file);
  WritePrivateProfileStringA(section, "PrintDlg_PrinterName", m_device.m_strPrinterName, file);
  WritePrivateProfileStringA(section, "PrintDlg_PortName", m_device.m_strPortName, file);
  std::snprintf(number, sizeof number, "%d", int(m_device.m_nOrientation));
  WritePrivateProfileStringA(section, "PrintDlg_Orientation", number, file);
  std::snprintf(number, sizeof number, "%d", int(m_device.m_nPaperSize));
  WritePrivateProfileStringA(section, "PrintDlg_PaperSize", number, file);
  WritePrivateProfileStringA(section, "PrintDlg_Filename", m_device.m_strFileName, file);
}

void CPageFormatDef::Load(const char* file, const char* section) {
  char buffer[256];
  // A name is taken only when the profile gives at least one character.
  auto loadName = [&](const char* key, CString& target) {
    buffer[0] = '\0';
    if (GetPrivateProfileStringA(section, key, "", buffer, 255, file) > 0 && buffer[0] != '\0') target = buffer;
  };
  loadName("PrintDlg_DriverName", m_device.m_strDriverName);
  loadName("PrintDlg_PrinterName", m_device.m_strPrinterName);
  loadName("PrintDlg_PortName", m_device.m_strPortName);
  // kept: orientation and paper are always assigned, so a missing key resets them to 1.
  m_device.m_nOrientation = SHORT(GetPrivateProfileIntA(section, "PrintDlg_Orientation", 1, file));
  m_device.m_nPaperSize = SHORT(GetPrivateProfileIntA(section, "PrintDlg_PaperSize", 1, file));
  loadName("PrintDlg_Filename", m_device.m_strFileName);
}

// ---- CObjectOutputDef ----

CObjectOutputDef& CObjectOutputDef::operator=(const CObjectOutputDef& other) {
  m_nOption1 = other.m_nOption1;
  m_nOption2 = other.m_nOption2;
  return *this;
}

void CObjectOutputDef::SetDefaultValues() {
  m_nOption1 = 1;
  m_nOption2 = 1;
}

CObjectOutputDef* CObjectOutputDef::CreateClone() const { return new CObjectOutputDef(*this); }

void CObjectOutputDef::Serialize(CArchive& ar) {
  if (ar.IsStoring()) {
    ar << kObjectDefVersion << m_nOption1 << m_nOption2;
    return;
  }
  LONG version = 0;
  ar >> version;
  if (version != kObjectDefVersion) return;
  ar >> m_nOption1 >> m_nOption2;
}

// ---- CDataPlotDef ----

CDataPlotDef& CDataPlotDef::operator=(const CDataPlotDef& other) {
  if (this != &other) {
    m_nPlotOption1 = other.m_nPlotOption1;
    m_nPlotOption2 = other.m_nPlotOption2;
    m_dScale1A = other.m_dScale1A;
    m_nScale1 = other.m_nScale1;
    m_dScale1B = other.m_dScale1B;
    m_dScale2A = other.m_dScale2A;
    m_nScale2 = other.m_nScale2;
    m_dScale2B = other.m_dScale2B;
    m_dPlotExtra = other.m_dPlotExtra;
    m_channels = other.m_channels;
  }
  return *this;
}

void CDataPlotDef::SetDefaultValues() { *this = CDataPlotDef(); }

int CDataPlotDef::AreAnyChannelsActive() { return m_channels.GetNumberOfMembers() > 0 ? 1 : 0; }

void CDataPlotDef::Serialize(CArchive& ar) {
  if (ar.IsStoring()) {
    ar << kDataPlotVersion << m_nPlotOption1 << m_nPlotOption2 << m_dScale1A << m_nScale1 << m_dScale1B
       << m_dScale2A << m_nScale2 << m_dScale2B << m_dPlotExtra;
  } else {
    LONG version = 0;
    ar >> version;
    if (version != kDataPlotVersion) return;
    ar >> m_nPlotOption1 >> m_nPlotOption2 >> m_dScale1A >> m_nScale1 >> m_dScale1B >> m_dScale2A >> m_nScale2 >>
        m_dScale2B >> m_dPlotExtra;
  }
  m_channels.Serialize(ar);
}

// ---- COutputFormat and CNotifyFormat ----

IMPLEMENT_DYNAMIC(COutputFormat, CObject)
IMPLEMENT_DYNAMIC(CNotifyFormat, COutputFormat)

COutputFormat* COutputFormat::CreateClone() const { return new COutputFormat(*this); }
int COutputFormat::Load(CArchive&) { return 0; }
int COutputFormat::Save(CArchive&) { return 0; }
COutputFormat& COutputFormat::SetDefaultValues() { return *this; }
int COutputFormat::Validate(CString& msg, int& bBad, int, int, CWnd*) {
  msg.Empty();
  bBad = 0;
  return 1;
}

COutputFormat* CNotifyFormat::CreateClone() const { return new CNotifyFormat(*this); }

CNotifyFormat& CNotifyFormat::operator=(const CNotifyFormat& other) {
  if (this != &other)
    for (int i = 0; i < kEntries; ++i) m_entries[i] = other.m_entries[i];
  return *this;
}

COutputFormat& CNotifyFormat::SetDefaultValues() {
  for (CNotifyFormatEntry& e : m_entries) e = CNotifyFormatEntry();
  return *this;
}

int CNotifyFormat::Save(CArchive& ar) {
  ar << kNotifyVersion;
  for (const CNotifyFormatEntry& e : m_entries) {
    ar << e.m_strText << WORD(e.m_nField0) << WORD(e.m_nField1) << WORD(e.m_nField2) << WORD(e.m_nField3)
       << WORD(e.m_nField4) << WORD(e.m_nField5);
    for (SHORT v : e.m_nValuesA) ar << WORD(v);
    for (SHORT v : e.m_nValuesB) ar << WORD(v);
  }
  return 0;
}

int CNotifyFormat::Load(CArchive& ar) {
  SetDefaultValues();
  LONG version = 0;
  ar >> version;
  auto readShort = [&ar]() {
    WORD w = 0;
    ar >> w;
    return SHORT(w);
  };
  if (version == kNotifyVersion) {
    for (CNotifyFormatEntry& e : m_entries) {
      ar >> e.m_strText;
      SHORT* fields[6] = {&e.m_nField0, &e.m_nField1, &e.m_nField2, &e.m_nField3, &e.m_nField4, &e.m_nField5};
      for (SHORT* f : fields) *f = readShort();
      for (SHORT& v : e.m_nValuesA) v = readShort();
      for (SHORT& v : e.m_nValuesB) v = readShort();
    }
  } else if (version == kNotifyOldVersion) {
    for (CNotifyFormatEntry& e : m_entries) {
      ar >> e.m_strText;
      LONG n[8] = {};
      for (LONG& v : n) ar >> v;
      // The second and sixth numbers of the old form have no place any more.
      e.m_nField0 = SHORT(n[0]);
      e.m_nField1 = SHORT(n[2]);
      e.m_nField2 = SHORT(n[3]);
      e.m_nField3 = SHORT(n[4]);
      e.m_nField4 = SHORT(n[6]);
      e.m_nField5 = SHORT(n[7]);
      for (SHORT& v : e.m_nValuesA) v = readShort();
    }
  } else {
    VqErr << "Unexpected version in CNotifyFormat::Load" << VqeThrow;
  }
  return 0;
}

}  // namespace zev
