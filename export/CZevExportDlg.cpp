// The export and import file dialog as a model: its filter rows, which rows a list of
// objects can use, the shown/full index translation, the "DataAnalysisApp" keys and
// the tests at OK.
#include "zevutil/CZevExportDlg.h"

#include <algorithm>
#include <cstring>

#include "zevutil/platform/Host.h"
#include "zevutil/platform/Profile.h"

namespace zev {

namespace {

constexpr const char kAppSection[] = "DataAnalysisApp";
constexpr const char kLastFilterKey[] = "LastExportFilterSelected";
constexpr const char kSampleDataKey[] = "LastExportSampleDataIncluded";

bool EndsWithNoCase(const CString& text, const char* tail) {
  const int n = int(std::strlen(tail));
  return n <= text.GetLength() && text.Right(n).CompareNoCase(tail) == 0;
}

bool IsSeparator(char c) { return c == '/' || c == '\\'; }

CString JoinPath(const CString& folder, const CString& name) {
  if (name.IsEmpty()) return folder;
  if (folder.IsEmpty()) return name;
  if (IsSeparator(folder[folder.GetLength() - 1])) return folder + name;
  return folder + "/" + name;
}

}  // namespace

CZevExportDlg::CZevExportDlg(const CObSeqID& id, CWnd* parent, int bExport) : m_pParent(parent), m_bExport(bExport) {
  m_IDList.AddTail(m_IDList.CloneElement(&id));
  Construct();
}

CZevExportDlg::CZevExportDlg(const CObSeqIDList& ids, CWnd* parent, int bExport)
    : m_pParent(parent), m_bExport(bExport), m_IDList(ids) {
  Construct();
}

void CZevExportDlg::Construct() {
  using K = DialogControlKind;
  m_Controls.AddControl(IDC_ZEXP_FILTER, K::Combo, "");
  m_Controls.AddControl(IDC_ZEXP_FOLDER, K::Edit, "");
  m_Controls.AddControl(IDC_ZEXP_FILENAME, K::Edit, m_bExport ? kPlaceholder : "");
  m_Controls.AddControl(IDC_ZEXP_OBJECTS, K::List, "").m_bExists = m_bExport ? 1 : 0;
  m_Controls.AddControl(IDC_ZEXP_RAW_DATA, K::Check, "Raw Data").m_bExists = m_bExport ? 1 : 0;
  if (m_bExport) m_strFileName = kPlaceholder;
  InitFilterTypes();
}

void CZevExportDlg::AddRow(const char* name, const char* ext, EEXPORT_TYPE type) {
  FileType f;
  std::strncpy(f.m_szName, name, sizeof f.m_szName - 1);
  std::strncpy(f.m_szExtension, ext, sizeof f.m_szExtension - 1);
  f.m_eType = type;
  m_FilterTypes.push_back(f);
}

void CZevExportDlg::AddFilterType(FileType& type) {
  FileType f = type;
  // A caller's entry may lack its NULs: the copy always ends inside its fields.
  f.m_szName[sizeof f.m_szName - 1] = '\0';
  f.m_szExtension[sizeof f.m_szExtension - 1] = '\0';
  m_FilterTypes.push_back(f);
}

void CZevExportDlg::InitFilterTypes() {
  m_FilterTypes.clear();
  if (m_bExport) {
    AddRow("SCF (Ver 3.00)", "scf", EXPORT_SCF3);
    AddRow("SCF (Ver 2.10)", "scf", EXPORT_SCF2);
  } else {
    AddRow("SCF Files", "scf", EXPORT_SCF3);
  }
  AddRow("ZEV", "vq*", EXPORT_ZEV);
  AddRow("Text (Tab Delimited)", "txt", EXPORT_TEXT);
  AddRow("SEQ (Sequence Text only)", "seq", EXPORT_SEQ);
  AddRow("FASTA (FASTA and QUAL)", "fasta", EXPORT_FASTA);
  AddRow("ESD", "esd", EXPORT_ESD);
  AddRow("ABI", "abi", EXPORT_ABI);
  if (m_bExport) AddRow("CRV", "CRV", EXPORT_CRV);
}

int CZevExportDlg::CanFilterTakeObject(int filterType, LONG objectType) {
  switch (filterType) {
    case EXPORT_TEXT:
      return objectType != 14010 ? 1 : 0;
    case EXPORT_SEQ:
    case EXPORT_FASTA:
      return objectType == 10002 ? 1 : 0;
    case EXPORT_SCF2:
    case EXPORT_SCF3:
    case EXPORT_ESD:
    case EXPORT_ABI:
      return objectType == 10001 || objectType == 10002 || objectType == 10008 ? 1 : 0;
    case EXPORT_ZEV:
      return 1;
    case EXPORT_CRV:
      return objectType == 10008 ? 1 : 0;
    default:
      return 0;
  }
}

void CZevExportDlg::ExportDlgSetup() {
  m_nOfferMask = 0;
  const int n = std::min<int>(int(m_FilterTypes.size()), kMaxFilters);
  for (int i = 0; i < n; ++i) {
    const FileType& f = m_FilterTypes[size_t(i)];
    bool offer = false;
    if (m_bExport) {
      for (POSITION pos = m_IDList.GetHeadPosition(); pos && !offer;) {
        const CObSeqID* id = m_IDList.GetNext(pos);
        offer = id && CanFilterTakeObject(f.m_eType, id->ObType);
      }
    } else {
      CString ext(f.m_szExtension);
      offer = ext.CompareNoCase("fasta") != 0 && ext.CompareNoCase("seq") != 0 && ext.CompareNoCase("txt") != 0 &&
              ext.CompareNoCase("abi") != 0;
    }
    if (offer) m_nOfferMask |= std::uint32_t(1) << i;
  }
}

int CZevExportDlg::ConvertIndex(int shownIndex) const {
  if (shownIndex < 1) return 0;
  int seen = 0;
  for (int i = 0; i < kMaxFilters; ++i) {
    if (m_nOfferMask & (std::uint32_t(1) << i)) {
      if (++seen == shownIndex) return i + 1;
    }
  }
  return 0;
}

int CZevExportDlg::UnconvertIndex(int fullIndex) const {
  if (fullIndex < 1 || fullIndex > kMaxFilters || !(m_nOfferMask & (std::uint32_t(1) << (fullIndex - 1)))) return 0;
  int shown = 0;
  for (int i = 0; i < fullIndex; ++i)
    if (m_nOfferMask & (std::uint32_t(1) << i)) ++shown;
  return shown;
}

EEXPORT_TYPE CZevExportDlg::ChosenType() const {
  // Index 0 is the file dialog's "first row".
  const int full = ConvertIndex(m_nFilterIndex ? m_nFilterIndex : 1);
  if (full < 1 || size_t(full) > m_FilterTypes.size()) return EXPORT_NONE;
  return m_FilterTypes[size_t(full - 1)].m_eType;
}

void CZevExportDlg::OnInitDialog() {
  ExportDlgSetup();
  std::string text;
  DialogControl& combo = m_Controls.Control(IDC_ZEXP_FILTER);
  combo.m_Items.clear();
  for (int shown = 1;; ++shown) {
    const int full = ConvertIndex(shown);
    if (!full) break;
    const FileType& f = m_FilterTypes[size_t(full - 1)];
    CString row;
    row.Format("%s (*.%s)|*.%s|", f.m_szName, f.m_szExtension, f.m_szExtension);
    text += row.str();
    CString item;
    item.Format("%s (*.%s)", f.m_szName, f.m_szExtension);
    combo.m_Items.push_back(item);
  }
  text += '|';
  std::replace(text.begin(), text.end(), '|', '\0');
  m_strFilter = text;

  m_nFilterIndex = UnconvertIndex(int(GetProfileInt(kAppSection, kLastFilterKey, 1)));
  combo.m_nSel = combo.m_Items.empty() ? -1 : std::max(m_nFilterIndex, 1) - 1;
  m_bSampleData = int(GetProfileInt(kAppSection, kSampleDataKey, 0)) ? 1 : 0;
  m_Controls.SetCheck(IDC_ZEXP_RAW_DATA, m_bSampleData);
  SetListBasedOnType();
}

void CZevExportDlg::SetListBasedOnType() {
  const EEXPORT_TYPE type = ChosenType();
  m_Listed.clear();
  DialogControl& list = m_Controls.Control(IDC_ZEXP_OBJECTS);
  list.m_Items.clear();
  list.m_Selected.clear();
  for (POSITION pos = m_IDList.GetHeadPosition(); pos;) {
    CObSeqID* id = m_IDList.GetNext(pos);
    if (id && CanFilterTakeObject(type, id->ObType)) {
      m_Listed.push_back(id);
      CString shown;
      id->GetIDString(shown);
      list.m_Items.push_back(shown);
    }
  }
  const bool raw = m_bDisplayRawData && (type == EXPORT_TEXT || type == EXPORT_SCF2 || type == EXPORT_SCF3 ||
                                         type == EXPORT_ESD || type == EXPORT_ABI);
  m_Controls.Show(IDC_ZEXP_RAW_DATA, raw);
}

void CZevExportDlg::OnSelChangeFilter(int shownIndex) {
  if (!ConvertIndex(shownIndex)) return;
  m_nFilterIndex = shownIndex;
  m_Controls.Control(IDC_ZEXP_FILTER).m_nSel = shownIndex - 1;
  SetListBasedOnType();
}

void CZevExportDlg::OnSelChange(int id, int row, int selected) {
  if (id == IDC_ZEXP_FILTER) OnSelChangeFilter(row + 1);
  if (id == IDC_ZEXP_OBJECTS) OnSelectObject(row, selected);
}

void CZevExportDlg::OnSelectObject(int row, int selected) {
  DialogControl& list = m_Controls.Control(IDC_ZEXP_OBJECTS);
  if (row < 0 || size_t(row) >= list.m_Items.size()) return;
  auto it = std::find(list.m_Selected.begin(), list.m_Selected.end(), row);
  if (selected && it == list.m_Selected.end()) {
    list.m_Selected.insert(std::upper_bound(list.m_Selected.begin(), list.m_Selected.end(), row), row);
  } else if (!selected && it != list.m_Selected.end()) {
    list.m_Selected.erase(it);
  }
}

int CZevExportDlg::OnClickRawData() {
  DialogControl& c = m_Controls.Control(IDC_ZEXP_RAW_DATA);
  if (!c.IsVisible() || !c.m_bEnabled) return 0;
  c.m_bChecked = !c.m_bChecked;
  m_bSampleData = c.m_bChecked;
  return 1;
}

void CZevExportDlg::OnEditText(int id, const char* text) {
  DialogControl* c = m_Controls.Find(id);
  if (!c || !c->m_bEnabled) return;
  c->m_strText = text;
  if (id == IDC_ZEXP_FOLDER) m_strFolder = text;
  if (id == IDC_ZEXP_FILENAME) m_strFileName = text;
}

void CZevExportDlg::SetFileNameBuffer(const char* buffer, size_t size) {
  m_FileBuffer.assign(buffer, buffer + (buffer ? size : 0));
}

int CZevExportDlg::OnOK() {
  if (m_nResult) return 1;
  if (OnFileNameOK() != 0) return 0;
  m_nResult = 1;
  return 1;
}

int CZevExportDlg::OnFileNameOK() {
  if (m_bExport) {
    const DialogControl& list = m_Controls.Control(IDC_ZEXP_OBJECTS);
    if (list.m_Selected.empty()) return 1;
    std::vector<CObSeqID*> chosen;
    for (int row : list.m_Selected)
      if (row >= 0 && size_t(row) < m_Listed.size()) chosen.push_back(m_Listed[size_t(row)]);
    if (chosen.empty()) return 1;
    bool duplicate = false;
    for (size_t i = 0; i < chosen.size() && !duplicate; ++i)
      for (size_t j = i + 1; j < chosen.size() && !duplicate; ++j)
        duplicate = std::strcmp(chosen[i]->ObName, chosen[j]->ObName) == 0;
    // Asked before the list changes, so that staying open keeps everything as it was.
    if (duplicate) {
      const int answer = MessageBoxA(nullptr, "There are duplicate names selected. Continue?", GetCaption(),
                                     MB_YESNO | MB_ICONQUESTION);
      if (answer != IDYES) return 1;
    }
    CObSeqIDList selected;
    for (CObSeqID* id : chosen) selected.AddTail(selected.CloneElement(id));
    m_IDList = selected;
    // A folder is chosen: the placeholder name and the separator before it go.
    CString path = JoinPath(m_strFolder, m_strFileName);
    if (EndsWithNoCase(path, kPlaceholder)) {
      path = path.Left(path.GetLength() - int(std::strlen(kPlaceholder)));
      if (!path.IsEmpty() && IsSeparator(path[path.GetLength() - 1])) path = path.Left(path.GetLength() - 1);
    }
    m_strPath = path;
  } else {
    // The buffer holds a folder and names, or a single full path.
    std::vector<CString> parts;
    size_t start = 0;
    for (size_t i = 0; i <= m_FileBuffer.size(); ++i) {
      if (i == m_FileBuffer.size() || m_FileBuffer[i] == '\0') {
        if (i == start) break;
        parts.emplace_back(&m_FileBuffer[start], int(i - start));
        start = i + 1;
      }
    }
    if (parts.empty() && !m_strFileName.IsEmpty()) parts.push_back(JoinPath(m_strFolder, m_strFileName));
    if (parts.empty()) return 1;
    m_FileNames.clear();
    if (parts.size() == 1) {
      m_FileNames.push_back(parts[0]);
    } else {
      for (size_t i = 1; i < parts.size(); ++i) m_FileNames.push_back(JoinPath(parts[0], parts[i]));
    }
  }
  m_eExportType = ChosenType();
  WriteProfileInt(kAppSection, kLastFilterKey, ConvertIndex(m_nFilterIndex ? m_nFilterIndex : 1));
  WriteProfileInt(kAppSection, kSampleDataKey, m_bSampleData);
  SetListBasedOnType();
  return 0;
}

}  // namespace zev
