// The colour table of screen and print, its registry form and its stored form.
#include "zevutil/CGraphicsInfoArray.h"

#include <memory>

#include "zevutil/CRegistryValue.h"

namespace zev {

namespace {

struct DefaultRow {
  const char* name;
  COLORREF color;
};

// Index = DataIDType.
constexpr DefaultRow kDefaults[kNumDataIDs] = {
    {"TITLEID", 0x000000},        {"XLABELID", 0x000000},       {"YLABELID", 0x000000},
    {"DESKID", 0xC0C0C0},         {"GRAPHID", 0xFFFFFF},        {"GRIDID", 0x000000},
    {"DYEAID", 0x2020FF},         {"DYECID", 0x000000},         {"DYEGID", 0x00A000},
    {"DYETID", 0xFF0000},         {"IUBID", 0x808080},          {"CURRENT1ID", 0x2020FF},
    {"CURRENT2ID", 0x00A000},     {"CURRENT3ID", 0xFF0000},     {"CURRENT4ID", 0xFF00FF},
    {"CURRENT5ID", 0x00FFFF},     {"CURRENT6ID", 0x4080FF},     {"CURRENT7ID", 0xFFFF00},
    {"CURRENT8ID", 0x828200},     {"TOTALCURRENTID", 0x808080}, {"VOLTAGEID", 0xFF0000},
    {"TEMPERATUREID", 0xFF0000},  {"PRINTDYEAID", 0x2020FF},    {"PRINTDYECID", 0x000000},
    {"PRINTDYEGID", 0x00A000},    {"PRINTDYETID", 0xFF0000},    {"PRINTIUBID", 0x808080},
    {"PRINTCURRENTID", 0x2020FF}, {"PRINTVOLTID", 0xFF0000},    {"PRINTTEMPID", 0xFF0000},
    {"SCANAID", 0xFF0000},        {"SCANBID", 0x2020FF},        {"PRINTTOTALCURRENTID", 0x808080},
    {"QUALITYID", 0x800000},
};

// The twelve standard positions: positions 4, 5 and 7 come again at 8, 9 and 10.
constexpr LONG kDisplayIDs[kNumStandardColors] = {DYEAID,   DYECID,    DYEGID,         DYETID,
                                                   CURRENT1ID, VOLTAGEID, TEMPERATUREID, TOTALCURRENTID,
                                                   CURRENT1ID, VOLTAGEID, TOTALCURRENTID, IUBID};
constexpr LONG kPrintIDs[kNumStandardColors] = {PRINTDYEAID,    PRINTDYECID, PRINTDYEGID,        PRINTDYETID,
                                                 PRINTCURRENTID, PRINTVOLTID, PRINTTEMPID,        PRINTTOTALCURRENTID,
                                                 PRINTCURRENTID, PRINTVOLTID, PRINTTOTALCURRENTID, PRINTIUBID};
// kept: both scan positions use "SCANAID", so "SCANBID" is never reached here
constexpr LONG kScanPrintIDs[kNumStandardColors] = {SCANAID,        SCANAID,     PRINTDYEGID,        PRINTDYETID,
                                                     PRINTCURRENTID, PRINTVOLTID, PRINTTEMPID,        PRINTTOTALCURRENTID,
                                                     PRINTCURRENTID, PRINTVOLTID, PRINTTOTALCURRENTID, PRINTIUBID};

// Display and print IDs that go together when colours are copied between them.
constexpr LONG kColorPairs[9][2] = {{DYEAID, PRINTDYEAID},         {DYECID, PRINTDYECID},
                                    {DYEGID, PRINTDYEGID},         {DYETID, PRINTDYETID},
                                    {CURRENT1ID, PRINTCURRENTID},  {VOLTAGEID, PRINTVOLTID},
                                    {TEMPERATUREID, PRINTTEMPID},  {IUBID, PRINTIUBID},
                                    {TOTALCURRENTID, PRINTTOTALCURRENTID}};

using ColorValue = TRegistryValue<DWORD, REG_BINARY>;

}  // namespace

const ULONG ZEV_DEFAULT_COLORS[kNumStandardColors] = {0x2020FF, 0x000000, 0x00A000, 0xFF0000, 0x2020FF, 0xFF0000,
                                                      0xFF0000, 0x808080, 0x2020FF, 0xFF0000, 0x808080, 0x808080};

// ---- CColorInfo ----

void CColorInfo::Serialize(CArchive& ar) {
  if (ar.IsStoring()) {
    ar << kVersion << kRecordSize << LONG(ID) << DWORD(Color);
    return;
  }
  LONG version = 0, size = 0;
  ar >> version >> size;
  if (version != kVersion || size != kRecordSize) return;
  LONG id = 0;
  DWORD color = 0;
  ar >> id >> color;
  ID = static_cast<DataIDType>(id);
  Color = color;
}

// ---- CGraphicsInfoArray ----

CGraphicsInfoArray::CGraphicsInfoArray() {
  m_Array.SetSize(kNumDataIDs);
  for (INT_PTR i = 0; i < kNumDataIDs; ++i) m_Array[i] = new CColorInfo;
  FillArrayWithDefs();
}

CGraphicsInfoArray::CGraphicsInfoArray(const CGraphicsInfoArray& other) : CGraphicsInfoArray() { *this = other; }

CGraphicsInfoArray& CGraphicsInfoArray::operator=(const CGraphicsInfoArray& other) {
  if (this == &other) return *this;
  for (INT_PTR i = 0; i < other.m_Array.GetSize(); ++i) {
    const CColorInfo* src = other.Entry(i);
    if (!src) continue;
    // The source can be longer than 34 after reading a stored form: grow to match.
    if (CColorInfo* dst = Entry(i))
      *dst = *src;
    else
      m_Array.SetAtGrow(i, new CColorInfo(*src));
  }
  return *this;
}

CGraphicsInfoArray::~CGraphicsInfoArray() { EmptyArrayInfo(); }

CColorInfo* CGraphicsInfoArray::Entry(INT_PTR index) const {
  if (index < 0 || index >= m_Array.GetSize()) return nullptr;
  return static_cast<CColorInfo*>(m_Array.GetAt(index));
}

const CColorInfo* CGraphicsInfoArray::GetAt(INT_PTR index) const { return Entry(index); }

void CGraphicsInfoArray::FillArrayWithDefs() {
  for (int id = 0; id < kNumDataIDs; ++id) {
    const auto dataId = static_cast<DataIDType>(id);
    if (CColorInfo* e = Entry(id)) {
      e->ID = dataId;
      e->Color = kDefaults[id].color;
    } else {
      // An index inside the array whose slot is empty is filled too.
      m_Array.SetAtGrow(id, new CColorInfo(dataId, kDefaults[id].color));
    }
  }
}

void CGraphicsInfoArray::EmptyArrayInfo() {
  for (INT_PTR i = 0; i < m_Array.GetSize(); ++i) delete static_cast<CColorInfo*>(m_Array[i]);
  m_Array.RemoveAll();
}

const char* CGraphicsInfoArray::GetDataIDName(DataIDType id) {
  return id >= 0 && id < kNumDataIDs ? kDefaults[id].name : "";
}

COLORREF CGraphicsInfoArray::GetDefaultColor(DataIDType id) {
  return id >= 0 && id < kNumDataIDs ? kDefaults[id].color : kFallbackColor;
}

COLORREF CGraphicsInfoArray::GetGraphicsInfoColor(DataIDType id) const {
  const CColorInfo* e = Entry(id);
  return e ? e->Color : kFallbackColor;
}

void CGraphicsInfoArray::SetGraphicsInfoColor(DataIDType id, COLORREF color) {
  if (CColorInfo* e = Entry(id)) e->Color = color;
}

COLORREF CGraphicsInfoArray::GetCurrentGraphicsInfoColor(VQDATASOURCE source) const {
  if (source < 0 || source > 7) return kFallbackColor;
  return GetGraphicsInfoColor(static_cast<DataIDType>(CURRENT1ID + source));
}

COLORREF CGraphicsInfoArray::GetChanGraphicsInfoColor(VQDATATYPE type, int scan) const {
  switch (type) {
    case 0: return GetGraphicsInfoColor(scan ? SCANAID : DYEAID);
    case 1: return GetGraphicsInfoColor(scan ? SCANBID : DYECID);
    case 2: return GetGraphicsInfoColor(DYEGID);
    case 3: return GetGraphicsInfoColor(DYETID);
    case 5:
    case 9: return GetGraphicsInfoColor(VOLTAGEID);
    case 6: return GetGraphicsInfoColor(TEMPERATUREID);
    default: return kFallbackColor;
  }
}

COLORREF CGraphicsInfoArray::LookUpChannelColor(int seq, int scan) const {
  const VQ_DATACHANNEL_ID ch = SeqToVQChannel(seq);
  if (ch.Source >= 0 && ch.Source <= 7) {
    if (ch.Type == 4 || ch.Type == 8) return GetCurrentGraphicsInfoColor(ch.Source);
    return GetChanGraphicsInfoColor(ch.Type, scan);
  }
  // The instrument as a whole has no scan colours.
  if (ch.Source == ZEV_SYSTEM_SOURCE) return GetChanGraphicsInfoColor(ch.Type, 0);
  return kFallbackColor;
}

ULONG* CGraphicsInfoArray::GetColors(const LONG* ids, ULONG* out, int count) const {
  for (int i = 0; i < count; ++i) out[i] = GetGraphicsInfoColor(static_cast<DataIDType>(ids[i % kNumStandardColors]));
  return out;
}

void CGraphicsInfoArray::SetColors(const LONG* ids, const ULONG* in, int count) {
  for (int i = 0; i < count && i < kNumStandardColors; ++i)
    SetGraphicsInfoColor(static_cast<DataIDType>(ids[i]), in[i]);
}

BOOL CGraphicsInfoArray::ColorsEqual(const LONG* ids, const CGraphicsInfoArray& other) const {
  for (int i = 0; i < kNumStandardColors; ++i) {
    const auto id = static_cast<DataIDType>(ids[i]);
    if (GetGraphicsInfoColor(id) != other.GetGraphicsInfoColor(id)) return FALSE;
  }
  return TRUE;
}

ULONG* CGraphicsInfoArray::GetStandardDisplayColors(ULONG* out, int count) const { return GetColors(kDisplayIDs, out, count); }
ULONG* CGraphicsInfoArray::GetStandardPrintColors(ULONG* out, int count) const { return GetColors(kPrintIDs, out, count); }
ULONG* CGraphicsInfoArray::GetScanPrintColors(ULONG* out, int count) const { return GetColors(kScanPrintIDs, out, count); }
void CGraphicsInfoArray::SetStandardDisplayColors(const ULONG* in, int count) { SetColors(kDisplayIDs, in, count); }
void CGraphicsInfoArray::SetStandardPrintColors(const ULONG* in, int count) { SetColors(kPrintIDs, in, count); }
void CGraphicsInfoArray::SetScanPrintColors(const ULONG* in, int count) { SetColors(kScanPrintIDs, in, count); }

BOOL CGraphicsInfoArray::AreDisplayColorsEqual(const CGraphicsInfoArray& other) const {
  return ColorsEqual(kDisplayIDs, other);
}

BOOL CGraphicsInfoArray::ArePrintColorsEqual(const CGraphicsInfoArray& other) const {
  return ColorsEqual(kPrintIDs, other);
}

void CGraphicsInfoArray::SetPrintFromDisplay() {
  for (const auto& pair : kColorPairs)
    SetGraphicsInfoColor(static_cast<DataIDType>(pair[1]), GetGraphicsInfoColor(static_cast<DataIDType>(pair[0])));
}

void CGraphicsInfoArray::SetDisplayFromPrint() {
  for (const auto& pair : kColorPairs)
    SetGraphicsInfoColor(static_cast<DataIDType>(pair[0]), GetGraphicsInfoColor(static_cast<DataIDType>(pair[1])));
}

CString CGraphicsInfoArray::GetRegistryKey(const char* user) {
  CString key = "Software\\Halvorn Instruments\\Zevatron\\";
  key += user ? user : "SystemDefaults";
  key += "\\ColorInfo";
  return key;
}

BOOL CGraphicsInfoArray::Load(const char* user) {
  FillArrayWithDefs();
  const CString key = GetRegistryKey(user);
  bool missing = false;
  for (int id = 0; id < kNumDataIDs; ++id) {
    const auto dataId = static_cast<DataIDType>(id);
    ColorValue value(key, GetDataIDName(dataId), HKEY_CURRENT_USER, GetGraphicsInfoColor(dataId));
    if (value.Read())
      SetGraphicsInfoColor(dataId, value.GetValue());
    else
      missing = true;
  }
  if (!user && missing) Save(nullptr);
  return 1;
}

BOOL CGraphicsInfoArray::Save(const char* user) const {
  const CString key = GetRegistryKey(user);
  for (int id = 0; id < kNumDataIDs; ++id) {
    const auto dataId = static_cast<DataIDType>(id);
    ColorValue value(key, GetDataIDName(dataId), HKEY_CURRENT_USER, GetGraphicsInfoColor(dataId));
    value.Save();
  }
  // kept: callers were never told whether the registry took the values
  return 0;
}

void CGraphicsInfoArray::Serialize(CArchive& ar) {
  if (ar.IsStoring()) {
    ar << kVersion << kRecordSize << LONG(m_Array.GetSize());
    for (INT_PTR i = 0; i < m_Array.GetSize(); ++i) {
      if (CColorInfo* e = Entry(i))
        e->Serialize(ar);
      else
        CColorInfo().Serialize(ar);
    }
    return;
  }
  EmptyArrayInfo();
  LONG version = 0, size = 0;
  ar >> version >> size;
  if (version != kVersion || size != kRecordSize) return;
  LONG count = 0;
  ar >> count;
  // One entry per record read: the archive runs out long before a false count could
  // make the array large.
  for (LONG i = 0; i < count; ++i) {
    auto entry = std::make_unique<CColorInfo>();
    entry->Serialize(ar);
    m_Array.Add(entry.release());
  }
}

}  // namespace zev
