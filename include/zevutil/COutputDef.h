// Output definitions: what a print or export job produces (EEXPORT_TYPE), the fonts,
// the printer, the page furniture, the per-object options and the notification
// format family. Plain values with their stored forms.
#pragma once
#include "zevutil/CBitVector.h"
#include "zevutil/TIUnknown.h"
#include "zevutil/platform/CArchive.h"
#include "zevutil/platform/CObject.h"
#include "zevutil/platform/CString.h"
#include "zevutil/platform/Types.h"

namespace zev {

class CWnd;

// What a job produces. Every value above zero is an export; 9 to 11 mean nothing.
enum EEXPORT_TYPE : std::int32_t {
  EXPORT_NONE = -1,
  EXPORT_PRINTER = 0,
  EXPORT_TEXT = 1,
  EXPORT_SEQ = 2,
  EXPORT_FASTA = 3,
  EXPORT_SCF2 = 4,
  EXPORT_SCF3 = 5,
  EXPORT_ZEV = 6,
  EXPORT_ORI = 7,
  EXPORT_PHRED = 8,
  EXPORT_ESD = 12,
  EXPORT_ABI = 13,
  EXPORT_CRV = 14,
};
static_assert(sizeof(EEXPORT_TYPE) == 4, "stored and passed as a 32-bit value");

// A font as a user chose it: face, size in tenths of a point, weight 100..900.
struct FontDef {
  CString m_strFaceName = "Arial";
  LONG m_nSize = 100;
  LONG m_nWeight = 400;
  LONG m_bItalic = 0;
  LONG m_bUnderline = 0;

  FontDef() = default;
  FontDef(const char* face, LONG size, LONG weight, LONG italic, LONG underline)
      : m_strFaceName(face), m_nSize(size), m_nWeight(weight), m_bItalic(italic), m_bUnderline(underline) {}

  // Version 310, face, size, weight, italic, underline. Loading another version
  // leaves the font untouched and reads nothing more.
  void Serialize(CArchive& ar);

  friend bool operator==(const FontDef& a, const FontDef& b) {
    return a.m_strFaceName == b.m_strFaceName && a.m_nSize == b.m_nSize && a.m_nWeight == b.m_nWeight &&
           a.m_bItalic == b.m_bItalic && a.m_bUnderline == b.m_bUnderline;
  }
};

// The printer: names, orientation and paper codes as the device mode carries them,
// and a file to print to. An empty printer name means the system default.
class COutputDeviceDef {
 public:
  COutputDeviceDef() { SetDefaultValues(); }
  COutputDeviceDef(const COutputDeviceDef&) = default;
  virtual ~COutputDeviceDef() = default;
  virtual COutputDeviceDef& operator=(const COutputDeviceDef& other);
  // Version 510 (read and not looked at), driver, printer, port, orientation, paper, file.
  virtual void Serialize(CArchive& ar);
  virtual void SetDefaultValues();
  // Opens the printer by name to see that it exists. Returns 1 when it opens or the
  // name is empty; else 0 with bBad set and msg "Invalid printer %s" (error 87) or
  // "Error %lu". bOfferNewPrinter lets the user pick another printer; the result stays
  // 0 and a confirmed choice clears bBad.
  virtual int Validate(CString& msg, int& bBad, int bShowMessage, int bOfferNewPrinter, CWnd* parent);

  CString m_strDriverName;
  CString m_strPrinterName;
  CString m_strPortName;
  SHORT m_nOrientation = 1;
  SHORT m_nPaperSize = 1;
  CString m_strFileName;
};

// The page furniture of a job: device, three fonts and six header/footer templates.
class CPageFormatDef {
 public:
  CPageFormatDef() { CPageFormatDef::SetDefaultValues(); }
  CPageFormatDef(const CPageFormatDef&) = default;
  virtual ~CPageFormatDef() = default;
  virtual CPageFormatDef& operator=(const CPageFormatDef& other);
  // Version 410, the six templates, the device, body/header/footer fonts. Loading
  // another version stops at once: neither device nor fonts are read.
  virtual void Serialize(CArchive& ar);
  virtual void SetDefaultValues();
  // Empties msg, clears bBad and validates the device.
  virtual int Validate(CString& msg, int& bBad, int bShowMessage, int bOfferNewPrinter, CWnd* parent);

  // The printer choice alone, as "PrintDlg_..." keys of a profile file.
  void Save(const char* file, const char* section) const;
  void Load(const char* file, const char* section);

  COutputDeviceDef m_device;
  FontDef m_fontBody;
  FontDef m_fontHeader;
  FontDef m_fontFooter;
  CString m_strHeader1, m_strHeader2, m_strHeader3;
  CString m_strFooter1, m_strFooter2, m_strFooter3;
};

// Per-object options; their meaning belongs to the concrete output objects.
class CObjectOutputDef {
 public:
  CObjectOutputDef() = default;
  CObjectOutputDef(const CObjectOutputDef&) = default;
  virtual ~CObjectOutputDef() = default;
  virtual CObjectOutputDef& operator=(const CObjectOutputDef& other);
  virtual void SetDefaultValues();
  virtual CObjectOutputDef* CreateClone() const;
  // Version 240 and the two options; another version reads nothing more.
  virtual void Serialize(CArchive& ar);

  LONG m_nOption1 = 1;
  LONG m_nOption2 = 1;
};

// Options of a data plot: two scale blocks and the active channels.
class CDataPlotDef {
 public:
  CDataPlotDef() = default;
  CDataPlotDef(const CDataPlotDef&) = default;
  virtual ~CDataPlotDef() = default;
  virtual CDataPlotDef& operator=(const CDataPlotDef& other);
  // Version 1000, the fields at their widths, then the channel set. Another version
  // reads nothing more.
  virtual void Serialize(CArchive& ar);
  virtual void SetDefaultValues();
  virtual int AreAnyChannelsActive();

  LONG m_nPlotOption1 = 1;
  ULONG m_nPlotOption2 = 1;
  double m_dScale1A = 0;
  LONG m_nScale1 = 0;
  double m_dScale1B = 0;
  double m_dScale2A = 0;
  LONG m_nScale2 = 0;
  double m_dScale2B = 0;
  double m_dPlotExtra = 0;
  CBitVector m_channels;
};

// Abstract base of report definitions: the type through which export choices reach a
// concrete report definition.
class CBaseReportDef : public CBaseComObject {
 public:
  CBaseReportDef() = default;
  ~CBaseReportDef() override = default;
};

// Base of the format family; holds nothing.
class COutputFormat : public CObject {
  DECLARE_DYNAMIC(COutputFormat)
 public:
  COutputFormat() = default;
  COutputFormat(const COutputFormat&) = default;
  COutputFormat& operator=(const COutputFormat&) = default;
  ~COutputFormat() override = default;
  virtual COutputFormat* CreateClone() const;
  virtual int Load(CArchive& ar);  // 0, reads nothing
  virtual int Save(CArchive& ar);  // 0, writes nothing
  virtual COutputFormat& SetDefaultValues();
  virtual int Validate(CString& msg, int& bBad, int bShowMessage, int bOfferNewPrinter, CWnd* parent);
};

// One row of a notification format.
struct CNotifyFormatEntry {
  CString m_strText;
  SHORT m_nField0 = 0, m_nField1 = 0, m_nField2 = 0, m_nField3 = 0, m_nField4 = 0, m_nField5 = 0;
  SHORT m_nValuesA[12] = {};
  SHORT m_nValuesB[12] = {};
};

// A fixed table of 50 notification entries.
class CNotifyFormat : public COutputFormat {
  DECLARE_DYNAMIC(CNotifyFormat)
 public:
  static constexpr int kEntries = 50;

  CNotifyFormat() { CNotifyFormat::SetDefaultValues(); }
  CNotifyFormat(const CNotifyFormat&) = default;
  ~CNotifyFormat() override = default;
  COutputFormat* CreateClone() const override;
  // Resets, then reads version 21002 (as saved) or 21001 (eight int32 per entry, the
  // second and sixth dropped, no second value block). Another version is reported as
  // "Unexpected version in CNotifyFormat::Load" and throws. Returns 0.
  int Load(CArchive& ar) override;
  // Version 21002 and the 50 entries. Returns 0.
  int Save(CArchive& ar) override;
  COutputFormat& SetDefaultValues() override;
  virtual CNotifyFormat& operator=(const CNotifyFormat& other);

  CNotifyFormatEntry m_entries[kEntries];
};

}  // namespace zev
