// Display and print colours: CGraphicsInfoArray, the table of the colours of every
// trace, label and background, indexed by DataIDType, separately for screen and
// print; loaded from and saved to the registry per user, with the colour of a
// channel looked up through the channel numbering.
//
// Colours are COLORREF values: red in the low byte, then green, then blue.
//
// Registry (current user root): "Software\Halvorn Instruments\Zevatron\<user>\ColorInfo",
// with "SystemDefaults" for a null user; one 4-byte binary value per DataIDType,
// named as GetDataIDName gives it.
//
// Stored form: version 210, record size 24, the count (all LONG), then per entry the
// CColorInfo record: version 110, record size 12, ID, colour.
#pragma once
#include "zevutil/CChannelDef.h"
#include "zevutil/platform/CArchive.h"
#include "zevutil/platform/CObject.h"
#include "zevutil/platform/CString.h"
#include "zevutil/platform/Collections.h"

namespace zev {

enum DataIDType : LONG {
  TITLEID = 0,
  XLABELID,
  YLABELID,
  DESKID,
  GRAPHID,
  GRIDID,
  DYEAID,
  DYECID,
  DYEGID,
  DYETID,
  IUBID,
  CURRENT1ID,
  CURRENT2ID,
  CURRENT3ID,
  CURRENT4ID,
  CURRENT5ID,
  CURRENT6ID,
  CURRENT7ID,
  CURRENT8ID,
  TOTALCURRENTID,
  VOLTAGEID,
  TEMPERATUREID,
  PRINTDYEAID,
  PRINTDYECID,
  PRINTDYEGID,
  PRINTDYETID,
  PRINTIUBID,
  PRINTCURRENTID,
  PRINTVOLTID,
  PRINTTEMPID,
  SCANAID,
  SCANBID,
  PRINTTOTALCURRENTID,
  QUALITYID,
};
inline constexpr int kNumDataIDs = 34;
inline constexpr int kNumStandardColors = 12;
// Whenever a colour is asked for what has none.
inline constexpr COLORREF kFallbackColor = 0x2020FF;

// The defaults of the twelve standard positions.
extern const ULONG ZEV_DEFAULT_COLORS[kNumStandardColors];

class CColorInfo : public CObject {
 public:
  static constexpr LONG kVersion = 110;
  static constexpr LONG kRecordSize = 12;

  CColorInfo() = default;
  CColorInfo(DataIDType id, COLORREF color) : ID(id), Color(color) {}
  CColorInfo(const CColorInfo&) = default;
  CColorInfo& operator=(const CColorInfo&) = default;
  ~CColorInfo() override = default;

  // Reading a record whose version and size are not 110 and 12 leaves both fields alone.
  void Serialize(CArchive& ar) override;

  DataIDType ID = TITLEID;
  COLORREF Color = kFallbackColor;
};

class CGraphicsInfoArray {
 public:
  static constexpr LONG kVersion = 210;
  static constexpr LONG kRecordSize = 24;

  // 34 entries with the default colours.
  CGraphicsInfoArray();
  // Each source entry is assigned over this array's entry of the same index.
  CGraphicsInfoArray(const CGraphicsInfoArray& other);
  CGraphicsInfoArray& operator=(const CGraphicsInfoArray& other);
  virtual ~CGraphicsInfoArray();

  // Each of the 34 default rows is assigned over its entry, or added where the array
  // does not reach that far.
  void FillArrayWithDefs();
  // Removes and deletes every entry.
  void EmptyArrayInfo();
  // The registry value name of an ID; "" for a value outside the 34.
  static const char* GetDataIDName(DataIDType id);
  // The default colour of an ID; the fallback for a value outside the 34.
  static COLORREF GetDefaultColor(DataIDType id);

  // The colour of an ID's entry; the fallback where there is no entry.
  COLORREF GetGraphicsInfoColor(DataIDType id) const;
  // Sets the colour of an ID's entry; nothing where there is no entry.
  void SetGraphicsInfoColor(DataIDType id, COLORREF color);
  INT_PTR GetSize() const { return m_Array.GetSize(); }
  // The entry at an index, or null.
  const CColorInfo* GetAt(INT_PTR index) const;

  // "CURRENT1ID" to "CURRENT8ID" for the sources 0 to 7; otherwise the fallback.
  COLORREF GetCurrentGraphicsInfoColor(VQDATASOURCE source) const;
  // The dye colours for types 0 to 3 (the scan colours for 0 and 1 when scan is
  // nonzero), voltage for 5 and 9, temperature for 6; otherwise the fallback.
  COLORREF GetChanGraphicsInfoColor(VQDATATYPE type, int scan) const;
  // The colour of a seq channel: a capillary's current (types 4 and 8) or its channel
  // colour; the instrument's channel colour without scan; the fallback otherwise.
  COLORREF LookUpChannelColor(int seq, int scan) const;

  // Fill out with count colours by standard position (taken modulo 12); return out.
  ULONG* GetStandardDisplayColors(ULONG* out, int count) const;
  ULONG* GetStandardPrintColors(ULONG* out, int count) const;
  // Store up to twelve colours by standard position.
  void SetStandardDisplayColors(const ULONG* in, int count);
  void SetStandardPrintColors(const ULONG* in, int count);
  // As the print forms, except that positions 0 and 1 both use "SCANAID".
  ULONG* GetScanPrintColors(ULONG* out, int count) const;
  void SetScanPrintColors(const ULONG* in, int count);
  // Compare the colours of the twelve standard positions.
  BOOL AreDisplayColorsEqual(const CGraphicsInfoArray& other) const;
  BOOL ArePrintColorsEqual(const CGraphicsInfoArray& other) const;
  // Copy colours between the nine display and print pairs.
  void SetPrintFromDisplay();
  void SetDisplayFromPrint();

  // Fills the defaults, then reads each value found in the user's key (null: the
  // system defaults). A load of the system defaults that misses any value saves the
  // complete set there. Returns 1.
  BOOL Load(const char* user);
  // Writes the 34 values to the user's key (null: the system defaults). Returns 0,
  // whatever the registry says.
  BOOL Save(const char* user) const;
  // The registry key of a user's colours (null: the system defaults).
  static CString GetRegistryKey(const char* user);

  // Reading empties the array first; a version and size other than 210 and 24 leave
  // it empty. Entries are read as they come, so a count larger than the data ends
  // with the archive's end-of-file exception and the entries read so far.
  virtual void Serialize(CArchive& ar);

 protected:
  CColorInfo* Entry(INT_PTR index) const;
  ULONG* GetColors(const LONG* ids, ULONG* out, int count) const;
  void SetColors(const LONG* ids, const ULONG* in, int count);
  BOOL ColorsEqual(const LONG* ids, const CGraphicsInfoArray& other) const;

  CObArray m_Array;  // owned CColorInfo entries, the index being the DataIDType
};

}  // namespace zev
