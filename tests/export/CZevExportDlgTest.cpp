// The export/import file dialog driven as a user would: the filters a list of objects
// can take, the shown/full index translation, the "DataAnalysisApp" keys, the folder
// placeholder and the duplicate-names question.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "ExportTestUtil.h"
#include "zevutil/CZevExportDlg.h"

using namespace zev;
using X = CZevExportDlg;

namespace {

class ZevExportDlg : public zevtest::ExportDialogTest {
 protected:
  static CObSeqIDList List(std::initializer_list<std::pair<const char*, LONG>> ids) {
    CObSeqIDList list;
    for (auto [name, type] : ids) {
      CObSeqID id(name, 0, type, 0);
      list.AddTail(list.CloneElement(&id));
    }
    return list;
  }
  static std::vector<int> ShownTypes(const X& d) {
    std::vector<int> t;
    for (int shown = 1; d.ConvertIndex(shown); ++shown)
      t.push_back(d.GetFilterTypes()[size_t(d.ConvertIndex(shown) - 1)].m_eType);
    return t;
  }
  static std::vector<std::string> Names(CObSeqIDList& list) {
    std::vector<std::string> names;
    for (POSITION p = list.GetHeadPosition(); p;) names.emplace_back(list.GetNext(p)->ObName);
    return names;
  }
};

TEST_F(ZevExportDlg, FilterListsOfExportAndImport) {
  struct Row {
    std::string name, ext;
    int type;
  };
  const std::vector<Row> exportRows = {
      {"SCF (Ver 3.00)", "scf", 5}, {"SCF (Ver 2.10)", "scf", 4}, {"ZEV", "vq*", 6},
      {"Text (Tab Delimited)", "txt", 1}, {"SEQ (Sequence Text only)", "seq", 2},
      {"FASTA (FASTA and QUAL)", "fasta", 3}, {"ESD", "esd", 12}, {"ABI", "abi", 13}, {"CRV", "CRV", 14}};
  const std::vector<Row> importRows = {{"SCF Files", "scf", 5}, {"ZEV", "vq*", 6},
      {"Text (Tab Delimited)", "txt", 1}, {"SEQ (Sequence Text only)", "seq", 2},
      {"FASTA (FASTA and QUAL)", "fasta", 3}, {"ESD", "esd", 12}, {"ABI", "abi", 13}};
  for (int exporting : {1, 0}) {
    SCOPED_TRACE(exporting ? "export" : "import");
    X d(CObSeqID("a", 0, 10002, 0), nullptr, exporting);
    const auto& want = exporting ? exportRows : importRows;
    ASSERT_EQ(d.GetFilterTypes().size(), want.size());
    for (size_t i = 0; i < want.size(); ++i) {
      EXPECT_EQ(d.GetFilterTypes()[i].m_szName, want[i].name);
      EXPECT_EQ(d.GetFilterTypes()[i].m_szExtension, want[i].ext);
      EXPECT_EQ(d.GetFilterTypes()[i].m_eType, want[i].type);
    }
    EXPECT_EQ(d.Controls().Control(X::IDC_ZEXP_OBJECTS).m_bExists, exporting);
    EXPECT_EQ(d.Controls().GetText(X::IDC_ZEXP_FILENAME), exporting ? "JUNK.JNK" : "");
  }

  // Rows can be replaced; a caller's entry without its NULs is cut inside its fields.
  X d(CObSeqID("a", 0, 10002, 0), nullptr, 1);
  d.ResetFilterTypes();
  FileType own;
  std::memset(own.m_szName, 'n', sizeof own.m_szName);
  std::strcpy(own.m_szExtension, "txt");
  own.m_eType = EXPORT_TEXT;
  d.AddFilterType(own);
  ASSERT_EQ(d.GetFilterTypes().size(), 1u);
  EXPECT_EQ(std::strlen(d.GetFilterTypes()[0].m_szName), sizeof own.m_szName - 1);
  d.OnInitDialog();
  EXPECT_EQ(ShownTypes(d), std::vector<int>{EXPORT_TEXT});
}

TEST_F(ZevExportDlg, WhichObjectsAFilterTakes) {
  const LONG types[] = {1002, 3001, 10001, 10002, 10006, 10008, 14000, 14010, 41001};
  struct Case {
    int filter;
    std::vector<LONG> takes;
  };
  const Case cases[] = {
      {1, {1002, 3001, 10001, 10002, 10006, 10008, 14000, 41001}},
      {2, {10002}}, {3, {10002}},
      {4, {10001, 10002, 10008}}, {5, {10001, 10002, 10008}}, {12, {10001, 10002, 10008}}, {13, {10001, 10002, 10008}},
      {6, {1002, 3001, 10001, 10002, 10006, 10008, 14000, 14010, 41001}},
      {14, {10008}}, {7, {}}, {8, {}}, {0, {}}, {-1, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.filter);
    std::vector<LONG> takes;
    for (LONG t : types)
      if (X::CanFilterTakeObject(c.filter, t)) takes.push_back(t);
    EXPECT_EQ(takes, c.takes);
  }
}

TEST_F(ZevExportDlg, FiltersShownForAListAndTheIndexTranslation) {
  const int S3 = 5, S2 = 4, Z = 6, T = 1, Q = 2, F = 3, E = 12, A = 13, C = 14;
  struct Case {
    const char* what;
    CObSeqIDList list;
    int exporting;
    std::vector<int> shown;
    std::vector<int> convert;    // ConvertIndex of 1.. (and one past the end: 0)
    std::vector<int> unconvert;  // UnconvertIndex of 1..9, 0 and 10
  };
  const Case cases[] = {
      {"sample data", List({{"a", 10001}}), 1, {S3, S2, Z, T, E, A}, {1, 2, 3, 4, 7, 8, 0},
       {1, 2, 3, 4, 0, 0, 5, 6, 0, 0, 0}},
      {"results", List({{"a", 10002}, {"b", 10008}}), 1, {S3, S2, Z, T, Q, F, E, A, C},
       {1, 2, 3, 4, 5, 6, 7, 8, 9, 0}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 0}},
      {"table results", List({{"a", 14010}}), 1, {Z}, {3, 0}, {0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0}},
      {"method and sample result", List({{"m", 3001}, {"r", 10008}}), 1, {S3, S2, Z, T, E, A, C},
       {1, 2, 3, 4, 7, 8, 9, 0}, {1, 2, 3, 4, 0, 0, 5, 6, 7, 0, 0}},
      {"empty list", List({}), 1, {}, {0}, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
      {"import", List({{"a", 10002}}), 0, {S3, Z, E}, {1, 2, 6, 0}, {1, 2, 0, 0, 0, 3, 0, 0, 0, 0, 0}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    X d(c.list, nullptr, c.exporting);
    d.OnInitDialog();
    EXPECT_EQ(ShownTypes(d), c.shown);
    for (size_t i = 0; i < c.convert.size(); ++i) EXPECT_EQ(d.ConvertIndex(int(i) + 1), c.convert[i]) << i + 1;
    EXPECT_EQ(d.ConvertIndex(0), 0);
    EXPECT_EQ(d.ConvertIndex(-3), 0);
    for (int full = 1; full <= 9; ++full) EXPECT_EQ(d.UnconvertIndex(full), c.unconvert[size_t(full - 1)]) << full;
    EXPECT_EQ(d.UnconvertIndex(0), 0);
    EXPECT_EQ(d.UnconvertIndex(10), 0);
    EXPECT_EQ(d.UnconvertIndex(33), 0);
    EXPECT_EQ(d.Controls().Control(X::IDC_ZEXP_FILTER).m_Items.size(), c.shown.size());
  }
  X d(List({{"a", 10001}}), nullptr, 1);
  d.OnInitDialog();
  EXPECT_EQ(d.GetFilterString().substr(0, 36), std::string("SCF (Ver 3.00) (*.scf)\0*.scf\0SCF (Ve", 36));
  EXPECT_EQ(d.GetFilterString().back(), '\0');
}

TEST_F(ZevExportDlg, LastFilterAndRawDataPersistUnderDataAnalysisApp) {
  struct Case {
    int stored;  // -100: no key
    CObSeqIDList list;
    int index;            // shown index chosen at start (0: the first)
    EEXPORT_TYPE listed;  // the filter the object list is built for
  };
  const Case cases[] = {
      {-100, List({{"a", 10002}}), 1, EXPORT_SCF3},
      {6, List({{"a", 10002}}), 6, EXPORT_FASTA},
      {6, List({{"a", 10001}}), 0, EXPORT_SCF3},  // FASTA not offered for sample data
      {9, List({{"a", 10008}}), 7, EXPORT_CRV},
      {40, List({{"a", 10008}}), 0, EXPORT_SCF3},
      {-2, List({{"a", 10008}}), 0, EXPORT_SCF3},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.stored);
    if (c.stored == -100) std::filesystem::remove(profile);
    else WriteSection("DataAnalysisApp", {{"LastExportFilterSelected", c.stored}});
    X d(c.list, nullptr, 1);
    d.OnInitDialog();
    EXPECT_EQ(d.GetFilterIndex(), c.index);
    EXPECT_EQ(d.Controls().Control(X::IDC_ZEXP_FILTER).m_nSel, c.index ? c.index - 1 : 0);
    EXPECT_EQ(d.Controls().Control(X::IDC_ZEXP_OBJECTS).m_Items, std::vector<CString>{"a"});
    d.OnSelectObject(0, 1);
    ASSERT_EQ(d.OnOK(), 1);
    EXPECT_EQ(d.GetExportType(), c.listed);
  }

  // The user's filter and raw data choice are written back as full-list positions.
  std::filesystem::remove(profile);
  X d(List({{"s", 10001}, {"r", 10002}, {"t", 14010}}), nullptr, 1);
  d.OnInitDialog();
  auto& ctl = d.Controls();
  EXPECT_EQ(ctl.Control(X::IDC_ZEXP_RAW_DATA).IsVisible(), 1);
  EXPECT_EQ(ctl.Control(X::IDC_ZEXP_OBJECTS).m_Items, (std::vector<CString>{"s", "r"}));
  d.OnSelChangeFilter(5);  // SCF3 SCF2 ZEV TXT [SEQ] FASTA ESD ABI
  EXPECT_EQ(ctl.Control(X::IDC_ZEXP_OBJECTS).m_Items, std::vector<CString>{"r"});
  EXPECT_EQ(ctl.Control(X::IDC_ZEXP_RAW_DATA).IsVisible(), 0);
  EXPECT_EQ(d.OnClickRawData(), 0);
  d.OnSelChangeFilter(3);  // ZEV takes everything
  EXPECT_EQ(ctl.Control(X::IDC_ZEXP_OBJECTS).m_Items, (std::vector<CString>{"s", "r", "t"}));
  d.OnSelChangeFilter(4);
  EXPECT_EQ(ctl.Control(X::IDC_ZEXP_OBJECTS).m_Items, (std::vector<CString>{"s", "r"}));
  EXPECT_EQ(d.OnClickRawData(), 1);
  d.OnSelectObject(1, 1);
  ASSERT_EQ(d.OnOK(), 1);
  EXPECT_EQ(d.GetExportType(), EXPORT_TEXT);
  EXPECT_EQ(d.GetSampleDataCheckBox(), 1);
  EXPECT_EQ(GetProfileInt("DataAnalysisApp", "LastExportFilterSelected", 0), 4u);
  EXPECT_EQ(GetProfileInt("DataAnalysisApp", "LastExportSampleDataIncluded", 0), 1u);
  EXPECT_EQ(Names(d.GetObSeqIDList()), std::vector<std::string>{"r"});

  X again(List({{"s", 10001}, {"r", 10002}}), nullptr, 1);
  again.DisplayRawDataCheckbox(0);
  again.OnInitDialog();
  EXPECT_EQ(again.GetFilterIndex(), 4);
  EXPECT_EQ(again.GetSampleDataCheckBox(), 1);
  EXPECT_EQ(again.Controls().Control(X::IDC_ZEXP_RAW_DATA).IsVisible(), 0);
}

TEST_F(ZevExportDlg, OkChecksTheSelectionAndCutsThePlaceholder) {
  struct Case {
    const char* what;
    std::vector<int> selected;
    int answer;
    const char* folder;
    const char* name;
    int closes;
    int asked;
    std::vector<std::string> after;
    const char* path;
  };
  const Case cases[] = {
      {"nothing selected", {}, IDYES, "/data/out", "JUNK.JNK", 0, 0, {"a", "b", "a"}, ""},
      {"distinct names", {0, 1}, IDNO, "/data/out", "JUNK.JNK", 1, 0, {"a", "b"}, "/data/out"},
      {"duplicates declined", {0, 2}, IDNO, "/data/out", "JUNK.JNK", 0, 1, {"a", "b", "a"}, ""},
      {"duplicates accepted", {0, 1, 2}, IDYES, "/data/out", "JUNK.JNK", 1, 1, {"a", "b", "a"}, "/data/out"},
      {"duplicates cancelled", {2, 0}, IDCANCEL, "/data/out", "JUNK.JNK", 0, 1, {"a", "b", "a"}, ""},
      {"backslash folder", {1}, IDYES, "C:\\runs\\", "JUNK.JNK", 1, 0, {"b"}, "C:\\runs"},
      {"placeholder in lower case", {1}, IDYES, "/data/out", "junk.jnk", 1, 0, {"b"}, "/data/out"},
      {"a name typed", {1}, IDYES, "/data/out", "mine", 1, 0, {"b"}, "/data/out/mine"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    boxes.clear();
    answer = c.answer;
    X d(List({{"a", 10002}, {"b", 10002}, {"a", 10001}}), nullptr, 1);
    d.OnInitDialog();
    for (int row : c.selected) d.OnSelectObject(row, 1);
    d.OnEditText(X::IDC_ZEXP_FOLDER, c.folder);
    d.OnEditText(X::IDC_ZEXP_FILENAME, c.name);
    EXPECT_EQ(d.OnOK(), c.closes);
    EXPECT_EQ(d.GetResult(), c.closes);
    ASSERT_EQ(boxes.size(), size_t(c.asked));
    if (c.asked) {
      EXPECT_EQ(boxes[0], "There are duplicate names selected. Continue?");
      EXPECT_EQ(styles[0] & 0xF, MB_YESNO);
    }
    EXPECT_EQ(Names(d.GetObSeqIDList()), c.after);
    EXPECT_EQ(d.GetPath(), c.path);
    EXPECT_EQ(d.GetExportType(), c.closes ? EXPORT_SCF3 : EXPORT_NONE);
  }

  // Deselecting takes a row back out.
  X d(List({{"a", 10002}, {"b", 10002}}), nullptr, 1);
  d.OnInitDialog();
  d.OnSelectObject(0, 1);
  d.OnSelectObject(0, 0);
  d.OnSelectObject(7, 1);  // no such row
  EXPECT_TRUE(d.Controls().Control(X::IDC_ZEXP_OBJECTS).m_Selected.empty());
  EXPECT_EQ(d.OnOK(), 0);
}

TEST_F(ZevExportDlg, ImportReadsTheMultiSelectionBuffer) {
  struct Case {
    const char* what;
    std::string buffer;
    const char* typed;
    int closes;
    std::vector<std::string> files;
  };
  const Case cases[] = {
      {"several", std::string("/in\0a.scf\0b.esd\0\0", 17), "", 1, {"/in/a.scf", "/in/b.esd"}},
      {"one", std::string("/in/a.scf\0\0", 11), "", 1, {"/in/a.scf"}},
      {"no terminator", std::string("/in/a.scf", 9), "", 1, {"/in/a.scf"}},
      {"empty, name typed", "", "c.scf", 1, {"/in/c.scf"}},
      {"empty", "", "", 0, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    X d(CObSeqID("x", 0, 10002, 0), nullptr, 0);
    d.OnInitDialog();
    d.OnSelChangeFilter(3);  // SCF Files, ZEV, ESD
    d.OnEditText(X::IDC_ZEXP_FOLDER, "/in");
    d.OnEditText(X::IDC_ZEXP_FILENAME, c.typed);
    d.SetFileNameBuffer(c.buffer.data(), c.buffer.size());
    EXPECT_EQ(d.OnOK(), c.closes);
    std::vector<std::string> files;
    for (const CString& f : d.GetFileNames()) files.emplace_back(f.GetString());
    EXPECT_EQ(files, c.files);
    EXPECT_EQ(d.GetExportType(), c.closes ? EXPORT_ESD : EXPORT_NONE);
  }
}

}  // namespace
