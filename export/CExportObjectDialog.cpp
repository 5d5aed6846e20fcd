// The export option dialog as a model: filter rows per object type, the options each
// filter forces, the tests at OK and the keys of section "EXPORT".
#include "zevutil/CExportObjectDialog.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "zevutil/platform/Host.h"
#include "zevutil/platform/Profile.h"

namespace zev {

namespace {

constexpr const char kSection[] = "EXPORT";

constexpr LONG kSampleData = 10001;
constexpr LONG kSequenceResult = 10002;
constexpr LONG kGalvoScan = 10006;
constexpr LONG kSampleResult = 10008;

// What a filter does to one option. "Hide" may be added to any of them.
enum Cell : int {
  Free = 0,      // left to the user
  On = 1,        // checked and greyed
  Off = 2,       // cleared and greyed
  OffFree = 3,   // cleared, left to the user
  AsResult = 4,  // Result Data's check, greyed
  Keep = 5,      // untouched
  Hide = 0x10,
};

// The seven element options, in the order of the table columns.
constexpr int kElements[7] = {
    CExportObjectDialog::IDC_EXPORT_HEADER,       CExportObjectDialog::IDC_EXPORT_RAW_DATA,
    CExportObjectDialog::IDC_EXPORT_RESULT_DATA,  CExportObjectDialog::IDC_EXPORT_RESULT_OUTPUT,
    CExportObjectDialog::IDC_EXPORT_QUALITY,      CExportObjectDialog::IDC_EXPORT_ALIGN_RESULTS,
    CExportObjectDialog::IDC_EXPORT_ALIGN_ACCURACY,
};

// One row of the option table: the filters and object types it covers (a list that
// starts with its marker covers all) and the state of each element option. The first
// row that matches wins.
constexpr int kAnyFilter = -100;
constexpr LONG kNoObject = -100;
struct OptionRow {
  int filters[2];
  LONG objects[3];
  int cells[7];

  // The markers only fill the lists: they never match a value.
  bool Covers(int filter, LONG object) const {
    bool f = filters[0] == kAnyFilter;
    for (int x : filters) f = f || (x != kAnyFilter && x == filter);
    bool o = objects[0] == kNoObject;
    for (LONG x : objects) o = o || (x != kNoObject && x == object);
    return f && o;
  }
};

constexpr int AnyF = kAnyFilter;
constexpr LONG AnyO = kNoObject, No = kNoObject;
const OptionRow kOptionTable[] = {
    {{EXPORT_TEXT, AnyF}, {kSampleData, kGalvoScan, No}, {Free, On, Free, Free, Free, Free, Free}},
    {{EXPORT_TEXT, AnyF}, {kSampleResult, No, No}, {OffFree, Off, OffFree, On, Off, Off, Off}},
    {{EXPORT_TEXT, AnyF}, {AnyO, No, No}, {Free, Free, Free, Free, Free, Free, Free}},
    {{EXPORT_SEQ, AnyF}, {AnyO, No, No}, {Off, Off, Off, On, Off, Off, Off}},
    {{EXPORT_FASTA, AnyF}, {AnyO, No, No}, {Off, Off, Off, On, On, Off, Off}},
    {{EXPORT_SCF2, EXPORT_SCF3}, {kSampleData, kGalvoScan, No}, {On, On, Free, AsResult, AsResult, Off, Off}},
    {{EXPORT_SCF2, EXPORT_SCF3}, {kSampleResult, No, No}, {On, On, Free | Hide, AsResult | Hide, AsResult, Off, Off}},
    {{EXPORT_SCF2, EXPORT_SCF3}, {AnyO, No, No}, {On, Free, Free, AsResult, AsResult, Off, Off}},
    {{EXPORT_ESD, AnyF}, {kSampleResult, kSampleData, kSequenceResult}, {Off, On, Off, Off, Off, Off, Off}},
    {{EXPORT_ABI, AnyF}, {kSampleData, No, No},
     {On, On, Keep | Hide, Keep | Hide, Keep | Hide, Keep | Hide, Keep | Hide}},
    {{EXPORT_ABI, AnyF}, {kSequenceResult, kSampleResult, No}, {On, On, On, On, Keep | Hide, Keep | Hide, Keep | Hide}},
    {{EXPORT_CRV, AnyF}, {kSampleResult, No, No},
     {Keep | Hide, Keep | Hide, On, Keep | Hide, Keep | Hide, Keep | Hide, Keep | Hide}},
    {{AnyF, AnyF}, {kSampleData, kSequenceResult, kSampleResult}, {On, On, On, On, On, Off, Off}},
    {{AnyF, AnyF}, {AnyO, No, No}, {Off, Off, On, On, On, Off, Off}},
};

bool EndsWithNoCase(const CString& text, const CString& tail) {
  if (tail.GetLength() > text.GetLength()) return false;
  return text.Right(tail.GetLength()).CompareNoCase(tail) == 0;
}

int ReadInt(const char* key, int def) { return int(GetProfileInt(kSection, key, def)); }

}  // namespace

LONG CExportReportDef::Copy(const CBaseObject& from) {
  const auto* other = dynamic_cast<const CExportReportDef*>(&from);
  if (!other || other == this) return 0;
  m_bHeader = other->m_bHeader;
  m_bSampleData = other->m_bSampleData;
  m_bSequenceResults = other->m_bSequenceResults;
  m_bBaseSequence = other->m_bBaseSequence;
  m_bQualityParameters = other->m_bQualityParameters;
  m_bAlignmentResults = other->m_bAlignmentResults;
  m_bAlignmentAccuracy = other->m_bAlignmentAccuracy;
  m_strPath = other->m_strPath;
  m_eFilter = other->m_eFilter;
  m_bApplyTriming = other->m_bApplyTriming;
  return 0;
}

CExportObjectDialog::CExportObjectDialog(CWnd* parent, LONG objectType, int bFixedFolder, const char* path,
                                         const char* title, int bOfferZev, int bOfferOri, int bShowGadb,
                                         int bPersist, int bOfferAbi, int bOfferCrv)
    : CZevDirectoryDialog(parent, bFixedFolder, path, title ? title : "Export", bPersist),
      m_lObjectType(objectType),
      m_bOfferZev(bOfferZev),
      m_bOfferOri(bOfferOri),
      m_bOfferAbi(bOfferAbi),
      m_bOfferCrv(bOfferCrv),
      m_bShowGadb(bShowGadb) {
  BuildControls();
  Load();
  InitFilterTypes();
  SetupFilterString();
}

void CExportObjectDialog::BuildControls() {
  using K = DialogControlKind;
  CDialogControlModel& c = m_Controls;
  c.AddControl(IDC_EXPORT_GROUP_ELEMENTS, K::Group, "Sample Elements");
  c.AddControl(IDC_EXPORT_HEADER, K::Check, "Header");
  c.AddControl(IDC_EXPORT_RAW_DATA, K::Check, "Raw Data");
  c.AddControl(IDC_EXPORT_RESULT_DATA, K::Check, "Result Data");
  c.AddControl(IDC_EXPORT_RESULT_OUTPUT, K::Check, "Result Output");
  c.AddControl(IDC_EXPORT_QUALITY, K::Check, "Quality Parameters");
  c.AddControl(IDC_EXPORT_ALIGN_RESULTS, K::Check, "Alignment Results");
  c.AddControl(IDC_EXPORT_ALIGN_ACCURACY, K::Check, "Alignment Accuracy");
  c.AddControl(IDC_EXPORT_NOTE, K::Label, "No Elements for This Object Type");
  c.AddControl(IDC_EXPORT_GROUP_OPTIONS, K::Group, "Options");
  c.AddControl(IDC_EXPORT_REMOVE_SUFFIX, K::Check, "Remove ZEV Tracking Suffix");
  c.AddControl(IDC_EXPORT_RESOLVE, K::Check, "Resolve Filename Conflicts");
  c.AddControl(IDC_EXPORT_APPLY_TRIMMING, K::Check, "Apply Trimming");
  c.AddControl(IDC_EXPORT_GADB, K::Check, "Migrate To GADB");
  c.AddControl(IDC_EXPORT_MIN_LENGTH_LABEL, K::Label, "Export Only\n    If Sequence >");
  c.AddControl(IDC_EXPORT_MIN_LENGTH, K::Edit, "0");
  c.AddControl(IDC_EXPORT_MIN_LENGTH_SPIN, K::Spin, "");
  c.AddControl(IDC_EXPORT_MIN_LENGTH_UNIT, K::Label, "  nt");
}

// ---- persistence ----

namespace {

// The persisted choices: key, member and the value an empty profile gives.
struct PersistedChoice {
  const char* key;
  int CExportObjectDialog::*member;
  int fallback;
};
constexpr PersistedChoice kPersisted[] = {
    {"Header", &CExportObjectDialog::m_bHeader, 0},
    {"SampleData", &CExportObjectDialog::m_bSampleData, 0},
    {"SequenceResults", &CExportObjectDialog::m_bSequenceResults, 0},
    {"BaseSequence", &CExportObjectDialog::m_bBaseSequence, 0},
    {"QualityParameters", &CExportObjectDialog::m_bQualityParameters, 0},
    {"AlignmentResults", &CExportObjectDialog::m_bAlignmentResults, 0},
    {"AlignmentAccuracy", &CExportObjectDialog::m_bAlignmentAccuracy, 0},
    {"RemoveExtensions", &CExportObjectDialog::m_bRemoveExtensions, 0},
    {"ResolveConflicts", &CExportObjectDialog::m_bResolveConflicts, 0},
    {"GADB", &CExportObjectDialog::m_bGADB, 0},
    {"ApplyTriming", &CExportObjectDialog::m_bApplyTriming, 1},
    {"MinAutoExportSeqLength", &CExportObjectDialog::m_nMinAutoExportSeqLength, 0},
};

}  // namespace

void CExportObjectDialog::Load() {
  m_eFilter = EEXPORT_TYPE(ReadInt("Filter", -1));
  if (m_bPersist) {
    for (const PersistedChoice& c : kPersisted) this->*c.member = ReadInt(c.key, c.fallback);
  }
  m_strScfExt = COutputObject::GetExportExtension(EXPORT_SCF3, 0);
  m_strTxtExt = COutputObject::GetExportExtension(EXPORT_TEXT, 0);
  m_strSeqExt = COutputObject::GetExportExtension(EXPORT_SEQ, 0);
  m_strFastaExt = COutputObject::GetExportExtension(EXPORT_FASTA, 0);
  m_strPhdExt = COutputObject::GetExportExtension(EXPORT_PHRED, 0);
  m_strEsdExt = COutputObject::GetExportExtension(EXPORT_ESD, 0);
  m_strAbiExt = COutputObject::GetExportExtension(EXPORT_ABI, 0);
  m_strCrvExt = COutputObject::GetExportExtension(EXPORT_CRV, 0);
}

void CExportObjectDialog::Save() {
  if (!m_bPersist) return;
  m_eFilter = GetExportFileType();
  WriteProfileInt(kSection, "Filter", m_eFilter);
  for (const PersistedChoice& c : kPersisted) WriteProfileInt(kSection, c.key, this->*c.member);
}

// ---- filter rows ----

void CExportObjectDialog::AddRow(const char* name, const CString& ext, EEXPORT_TYPE type) {
  FileType f;
  std::strncpy(f.m_szName, name, sizeof f.m_szName - 1);
  std::strncpy(f.m_szExtension, ext.GetString(), sizeof f.m_szExtension - 1);
  f.m_eType = type;
  m_FilterTypes.push_back(f);
}

void CExportObjectDialog::InitFilterTypes() {
  m_FilterTypes.clear();
  auto scf3 = [&] { AddRow("SCF (Ver 3.00)", m_strScfExt, EXPORT_SCF3); };
  auto scf2 = [&] { AddRow("SCF (Ver 2.10)", m_strScfExt, EXPORT_SCF2); };
  auto txt = [&] { AddRow("Text (Tab Delimited)", m_strTxtExt, EXPORT_TEXT); };
  auto seq = [&] { AddRow("SEQ (Sequence Text only)", m_strSeqExt, EXPORT_SEQ); };
  auto fasta = [&] { AddRow("FASTA (FASTA and QUAL)", m_strFastaExt, EXPORT_FASTA); };
  auto phred = [&] { AddRow("PHRED (PHRED and SCF)", m_strPhdExt, EXPORT_PHRED); };
  auto zev = [&] { AddRow("ZEV", "vq*", EXPORT_ZEV); };
  auto ori = [&] { AddRow("ORI (Raw Data Text only)", "ori", EXPORT_ORI); };
  auto esd = [&] { AddRow("ESD", m_strEsdExt, EXPORT_ESD); };
  auto abi = [&] { AddRow("ABI", m_strAbiExt, EXPORT_ABI); };
  auto crv = [&] { AddRow("CRV", m_strCrvExt, EXPORT_CRV); };

  switch (m_lObjectType) {
    case kSequenceResult:
      scf3(), scf2(), txt(), seq(), fasta(), phred(), esd();
      if (m_bOfferAbi) abi();
      if (m_bOfferZev) zev();
      if (m_bOfferOri) ori();
      break;
    case kSampleData:
      scf3(), scf2(), txt(), esd();
      if (m_bOfferAbi) abi();
      if (m_bOfferZev) zev();
      if (m_bOfferOri) ori();
      break;
    case kSampleResult:
      scf3(), scf2(), txt(), esd();
      if (m_bOfferCrv) crv();
      // kept: here ABI needs a positive flag, where the other types take any nonzero one
      if (m_bOfferAbi > 0) abi();
      if (m_bOfferZev) zev();
      break;
    case -1:
      zev();
      break;
    case 1002:
    case 3001:
    case kGalvoScan:
    case 14000:
    case 14010:
      txt();
      if (m_bOfferZev) zev();
      break;
    default:
      if (m_bOfferZev) zev();
      break;
  }
}

void CExportObjectDialog::SetupFilterString() {
  std::vector<std::pair<CString, CString>> rows;
  for (const FileType& f : m_FilterTypes) rows.emplace_back(f.m_szName, f.m_szExtension);
  SetFilterString(rows);
  m_nFilterPos = m_FilterTypes.empty() ? -1 : 0;
  for (size_t i = 0; i < m_FilterTypes.size(); ++i) {
    if (m_FilterTypes[i].m_eType == m_eFilter) {
      m_nFilterPos = int(i);
      break;
    }
  }
  m_Controls.Control(IDC_DIR_FILTER).m_nSel = m_nFilterPos;
}

EEXPORT_TYPE CExportObjectDialog::GetExportFileType() const {
  if (m_nFilterPos < 0 || size_t(m_nFilterPos) >= m_FilterTypes.size()) return EXPORT_NONE;
  return m_FilterTypes[size_t(m_nFilterPos)].m_eType;
}

int CExportObjectDialog::GetReportDef(CBaseReportDef& def, int objectType) const {
  if (objectType != kSequenceResult && objectType != kSampleResult) return 0;
  auto* out = dynamic_cast<CExportReportDef*>(&def);
  if (!out) return 0;
  out->m_bHeader = m_bHeader;
  out->m_bSampleData = m_bSampleData;
  out->m_bSequenceResults = m_bSequenceResults;
  out->m_bBaseSequence = m_bBaseSequence;
  out->m_bQualityParameters = m_bQualityParameters;
  out->m_bAlignmentResults = m_bAlignmentResults;
  out->m_bAlignmentAccuracy = m_bAlignmentAccuracy;
  out->m_strPath = GetPathName();
  out->m_eFilter = m_eFilter;
  out->m_bApplyTriming = m_bApplyTriming;
  return 1;
}

// ---- control states ----

CString CExportObjectDialog::MinLengthText(int value) const {
  CString s;
  s.Format("%d", value);
  return s;
}

void CExportObjectDialog::ShowMinLength(int show) {
  for (int id : {IDC_EXPORT_MIN_LENGTH_LABEL, IDC_EXPORT_MIN_LENGTH, IDC_EXPORT_MIN_LENGTH_SPIN,
                 IDC_EXPORT_MIN_LENGTH_UNIT})
    m_Controls.Show(id, show);
}

void CExportObjectDialog::EnableMinLength(int enable) {
  for (int id : {IDC_EXPORT_MIN_LENGTH_LABEL, IDC_EXPORT_MIN_LENGTH, IDC_EXPORT_MIN_LENGTH_SPIN,
                 IDC_EXPORT_MIN_LENGTH_UNIT})
    m_Controls.Enable(id, enable);
}

void CExportObjectDialog::OnInitDialog() {
  CDialogControlModel& c = m_Controls;
  c.SetCheck(IDC_EXPORT_HEADER, m_bHeader);
  c.SetCheck(IDC_EXPORT_RAW_DATA, m_bSampleData);
  c.SetCheck(IDC_EXPORT_RESULT_DATA, m_bSequenceResults);
  c.SetCheck(IDC_EXPORT_RESULT_OUTPUT, m_bBaseSequence);
  c.SetCheck(IDC_EXPORT_QUALITY, m_bQualityParameters);
  c.SetCheck(IDC_EXPORT_ALIGN_RESULTS, m_bAlignmentResults);
  c.SetCheck(IDC_EXPORT_ALIGN_ACCURACY, m_bAlignmentAccuracy);
  c.SetCheck(IDC_EXPORT_REMOVE_SUFFIX, m_bRemoveExtensions);
  c.SetCheck(IDC_EXPORT_RESOLVE, m_bResolveConflicts);
  // The alignment options are part of the dialog only when asked for.
  c.Control(IDC_EXPORT_ALIGN_RESULTS).m_bExists = m_bShowAlignment ? 1 : 0;
  c.Control(IDC_EXPORT_ALIGN_ACCURACY).m_bExists = m_bShowAlignment ? 1 : 0;
  ShowCheckBoxesBasedOnObjectType();

  ShowMinLength(m_bBatchFormat);
  if (m_bBatchFormat) c.SetText(IDC_EXPORT_MIN_LENGTH, MinLengthText(m_nMinAutoExportSeqLength));

  c.SetCheck(IDC_EXPORT_APPLY_TRIMMING, m_bApplyTriming || m_bTrimmingAlreadyApplied);
  c.Enable(IDC_EXPORT_APPLY_TRIMMING, !m_bTrimmingAlreadyApplied);

  c.SetCheck(IDC_EXPORT_GADB, m_bShowGadb ? m_bGADB : 0);
  c.Show(IDC_EXPORT_GADB, m_bShowGadb);

  EnableOptionsBasedOnFileType(-1);
}

void CExportObjectDialog::ShowCheckBoxesBasedOnObjectType() {
  enum { H, R, Res, Out, Q, Al, Rem, Resolve, Note, Trim, kCount };
  static constexpr int ids[kCount] = {IDC_EXPORT_HEADER,      IDC_EXPORT_RAW_DATA,  IDC_EXPORT_RESULT_DATA,
                                      IDC_EXPORT_RESULT_OUTPUT, IDC_EXPORT_QUALITY, 0,
                                      IDC_EXPORT_REMOVE_SUFFIX, IDC_EXPORT_RESOLVE, IDC_EXPORT_NOTE,
                                      IDC_EXPORT_APPLY_TRIMMING};
  int show[kCount] = {};
  switch (m_lObjectType) {
    case kSequenceResult:
      show[H] = show[R] = show[Res] = show[Out] = show[Q] = show[Al] = show[Rem] = show[Resolve] = 1;
      show[Trim] = 1;
      break;
    case 0:
      show[Note] = 1;
      break;
    case kSampleData:
      show[H] = show[R] = show[Rem] = show[Resolve] = 1;
      break;
    case kGalvoScan:
      show[H] = show[Rem] = show[Resolve] = show[Note] = 1;
      break;
    case kSampleResult: {
      show[H] = show[R] = show[Rem] = show[Resolve] = 1;
      EEXPORT_TYPE f = GetExportFileType();
      if (f == EXPORT_CRV) {
        show[Res] = 1;
        show[H] = show[R] = 0;
      } else if (f != EXPORT_SCF2 && f != EXPORT_SCF3 && f != EXPORT_ESD) {
        show[Res] = show[Out] = 1;
      }
      break;
    }
    default:
      show[Resolve] = show[Note] = 1;
      break;
  }
  for (int i = 0; i < kCount; ++i)
    if (ids[i]) m_Controls.Show(ids[i], show[i]);
  m_Controls.Show(IDC_EXPORT_ALIGN_RESULTS, show[Al] && m_bShowAlignment);
  m_Controls.Show(IDC_EXPORT_ALIGN_ACCURACY, show[Al] && m_bShowAlignment);
}

void CExportObjectDialog::EnableOptionsBasedOnFileType(int previousFilter) {
  CDialogControlModel& c = m_Controls;
  const EEXPORT_TYPE filter = GetExportFileType();
  if (filter == EXPORT_ZEV) {
    if (!m_bTrimmingAlreadyApplied && previousFilter != EXPORT_ZEV) {
      m_bTrimCheckSaved = c.GetCheck(IDC_EXPORT_APPLY_TRIMMING);
      c.SetCheck(IDC_EXPORT_APPLY_TRIMMING, 0);
      c.Enable(IDC_EXPORT_APPLY_TRIMMING, 0);
    }
    EnableMinLength(0);
  } else {
    if (!m_bTrimmingAlreadyApplied) {
      if (previousFilter == EXPORT_ZEV) c.SetCheck(IDC_EXPORT_APPLY_TRIMMING, m_bTrimCheckSaved);
      c.Enable(IDC_EXPORT_APPLY_TRIMMING, 1);
    }
    EnableMinLength(1);
  }

  const OptionRow* row = nullptr;
  for (const OptionRow& r : kOptionTable) {
    if (r.Covers(filter, m_lObjectType)) {
      row = &r;
      break;
    }
  }
  if (!row) return;  // the last row takes everything
  for (int i = 0; i < 7; ++i) {
    const int id = kElements[i];
    const int cell = row->cells[i];
    switch (cell & ~Hide) {
      case Free:
        c.Enable(id, 1);
        break;
      case On:
        c.SetCheck(id, 1);
        c.Enable(id, 0);
        break;
      case Off:
        c.SetCheck(id, 0);
        c.Enable(id, 0);
        break;
      case OffFree:
        c.SetCheck(id, 0);
        c.Enable(id, 1);
        break;
      case AsResult:
        c.SetCheck(id, c.GetCheck(IDC_EXPORT_RESULT_DATA));
        c.Enable(id, 0);
        break;
      default:
        break;
    }
    if (cell & Hide) c.Show(id, 0);
  }
}

void CExportObjectDialog::OnCheckAnalyzedData() {
  const EEXPORT_TYPE filter = GetExportFileType();
  if (filter != EXPORT_SCF2 && filter != EXPORT_SCF3) return;
  const int check = m_Controls.GetCheck(IDC_EXPORT_RESULT_DATA);
  m_Controls.SetCheck(IDC_EXPORT_RESULT_OUTPUT, check);
  m_Controls.SetCheck(IDC_EXPORT_QUALITY, check);
}

// ---- events ----

void CExportObjectDialog::OnSelChangeFilter(int pos) {
  if (pos < 0 || size_t(pos) >= m_FilterTypes.size() || pos == m_nFilterPos) return;
  const EEXPORT_TYPE previous = GetExportFileType();
  m_nFilterPos = pos;
  m_Controls.Control(IDC_DIR_FILTER).m_nSel = pos;
  ShowCheckBoxesBasedOnObjectType();
  EnableOptionsBasedOnFileType(previous);
}

void CExportObjectDialog::OnSelChange(int id, int row, int) {
  if (id == IDC_DIR_FILTER) OnSelChangeFilter(row);
}

void CExportObjectDialog::OnSpin(int id, int delta) {
  if (id == IDC_EXPORT_MIN_LENGTH_SPIN || id == IDC_EXPORT_MIN_LENGTH) OnSpinMinLength(delta);
}

int CExportObjectDialog::OnClickCheckBox(int id) {
  DialogControl* ctl = m_Controls.Find(id);
  if (!ctl || ctl->m_eKind != DialogControlKind::Check || !ctl->IsVisible() || !ctl->m_bEnabled) return 0;
  ctl->m_bChecked = !ctl->m_bChecked;
  if (id == IDC_EXPORT_RESULT_DATA) OnCheckAnalyzedData();
  return 1;
}

void CExportObjectDialog::OnEditText(int id, const char* text) {
  if (id != IDC_EXPORT_MIN_LENGTH) {
    CZevDirectoryDialog::OnEditText(id, text);
    return;
  }
  DialogControl& field = m_Controls.Control(id);
  if (!field.IsVisible() || !field.m_bEnabled) return;
  // An empty or partial entry ("", "-") is kept while typing and reads as 0 at OK.
  const char* s = text ? text : "";
  char* end = nullptr;
  const double value = std::strtod(s, &end);
  if (end != s && (value < kMinLengthLow || value > kMinLengthHigh || std::isnan(value))) {
    OnSpinEditError(value);
    return;
  }
  field.m_strText = s;
}

void CExportObjectDialog::OnSpinMinLength(int delta) {
  DialogControl& field = m_Controls.Control(IDC_EXPORT_MIN_LENGTH);
  if (!field.IsVisible() || !field.m_bEnabled) return;
  long long v = std::strtoll(field.m_strText, nullptr, 10) + (delta > 0 ? 1 : delta < 0 ? -1 : 0);
  if (v < kMinLengthLow) v = kMinLengthLow;
  if (v > kMinLengthHigh) v = kMinLengthHigh;
  field.m_strText = MinLengthText(int(v));
}

void CExportObjectDialog::OnSpinEditError(double) {
  CString msg;
  msg.Format("Please enter a value between %d and %d", kMinLengthLow, kMinLengthHigh);
  MessageBoxA(nullptr, msg, m_strTitle, MB_OK | MB_ICONEXCLAMATION);
}

int CExportObjectDialog::OnFileNameOK() {
  const CDialogControlModel& c = m_Controls;
  m_bHeader = c.GetCheck(IDC_EXPORT_HEADER);
  m_bSampleData = c.GetCheck(IDC_EXPORT_RAW_DATA);
  m_bSequenceResults = c.GetCheck(IDC_EXPORT_RESULT_DATA);
  m_bBaseSequence = c.GetCheck(IDC_EXPORT_RESULT_OUTPUT);
  m_bQualityParameters = c.GetCheck(IDC_EXPORT_QUALITY);
  m_bAlignmentResults = c.GetCheck(IDC_EXPORT_ALIGN_RESULTS);
  m_bAlignmentAccuracy = c.GetCheck(IDC_EXPORT_ALIGN_ACCURACY);
  m_bRemoveExtensions = c.GetCheck(IDC_EXPORT_REMOVE_SUFFIX);
  m_bResolveConflicts = c.GetCheck(IDC_EXPORT_RESOLVE);
  m_bGADB = c.GetCheck(IDC_EXPORT_GADB);
  if (!m_bTrimmingAlreadyApplied) m_bApplyTriming = c.GetCheck(IDC_EXPORT_APPLY_TRIMMING);
  if (m_bBatchFormat) {
    // The field holds only values in range; the number is cut to an integer.
    const double v = std::strtod(c.GetText(IDC_EXPORT_MIN_LENGTH), nullptr);
    m_nMinAutoExportSeqLength = int(std::trunc(std::fmax(kMinLengthLow, std::fmin(kMinLengthHigh, v))));
  }

  const EEXPORT_TYPE filter = GetExportFileType();
  const CString ext = m_nFilterPos >= 0 ? CString(m_FilterTypes[size_t(m_nFilterPos)].m_szExtension) : CString();
  if (!m_bFixedFolder && !ext.IsEmpty()) {
    if ((filter == EXPORT_SCF2 || filter == EXPORT_SCF3) && !m_bSampleData && !m_bSequenceResults) {
      MessageBoxA(nullptr, "Please select raw data or result data to export", m_strTitle, MB_OK | MB_ICONEXCLAMATION);
      return 1;
    }
    if (filter == EXPORT_CRV && m_strFileName.CompareNoCase("DEFAULT") == 0) {
      MessageBoxA(nullptr,
                  "\"DEFAULT\" is not a valid file name for CRV export.\n Please provide a specific file name for "
                  "exporting CRV format",
                  m_strTitle, MB_OK | MB_ICONEXCLAMATION);
      return 1;
    }
    // A folder without a name (each object names its own file) stays a folder.
    if (filter != EXPORT_ZEV && !m_strFileName.IsEmpty()) {
      CString path = GetPathName();
      const CString dotted = "." + ext;
      if (!EndsWithNoCase(path, dotted)) path += dotted;
      CString name;
      SetPathname(path, name);
    }
  }
  Save();
  return 0;
}

}  // namespace zev
