// Export file naming against a private application profile and real files in a scratch
// folder: the extension of every type with and without stored values, the values that
// are refused, completing and cleaning names, the clash numbering of single files and of
// CRV sets, the CRV overwrite question and the open/save choice.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "zevutil/COutputObject.h"
#include "zevutil/platform/Host.h"
#include "zevutil/platform/Profile.h"

using namespace zev;
namespace fs = std::filesystem;

namespace {

class ExportNaming : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* base = std::getenv("ZEV_TEST_TMP");
    dir = fs::path(base ? base : "/tmp") / ("naming_" + std::string(
        ::testing::UnitTest::GetInstance()->current_test_info()->name()));
    fs::remove_all(dir);
    fs::create_directories(dir);
    profile = dir / "app.ini";
    SetApplicationProfile(profile.c_str());
  }
  void TearDown() override {
    SetApplicationProfile(nullptr);
    fs::remove_all(dir);
  }
  // Writes the profile anew: each pair a key of section "EXPORT" and its value line.
  void Profile(const std::vector<std::pair<std::string, std::string>>& keys) {
    std::ofstream out(profile, std::ios::binary | std::ios::trunc);
    out << "[EXPORT]\r\n";
    for (const auto& [k, v] : keys) out << k << "=" << v << "\r\n";
  }
  // Empties the scratch folder but for the profile, then creates the named files.
  void Files(const std::vector<std::string>& names) {
    for (const auto& e : fs::directory_iterator(dir))
      if (e.path() != profile) fs::remove_all(e.path());
    for (const auto& n : names) std::ofstream(dir / n) << "x";
  }
  std::string In(const std::string& name) const { return (dir / name).string(); }

  fs::path dir, profile;
};

// Sets a type and a name and asks the object to complete it.
class NamedObject : public COutputObject {
 public:
  CString Complete(EEXPORT_TYPE t, const char* name) {
    m_eOutputType = t;
    m_strTransferFile = name;
    StickOnAppropriateExtension();
    return m_strTransferFile;
  }
  int GetTextOutput(COutputInfo*, CString& text) override {
    text = "line";
    SignalStopOutput();
    return 0;
  }
};

struct ExtRow {
  int type;
  const char* key;    // null: not configurable
  const char* stored;  // what the full profile below holds for key
  const char* def;
};
const ExtRow kExtTable[] = {
    {-1, nullptr, nullptr, ""},          {0, nullptr, nullptr, ""},
    {1, "TXT_EXT", "tab", "txt"},        {2, "SEQ_EXT", "sq", "seq"},
    {3, "FASTA_EXT", "fa", "fasta"},     {4, "SCF_EXT", "ztr", "scf"},
    {5, "SCF_EXT", "ztr", "scf"},        {6, nullptr, nullptr, ""},
    {7, nullptr, nullptr, "ori"},        {8, "PHD_EXT", "phd.1", "scf.phd.1"},
    {9, nullptr, nullptr, ""},           {10, nullptr, nullptr, ""},
    {11, nullptr, nullptr, ""},          {12, "ESD_EXT", "Esd2", "esd"},
    {13, "ABI_EXT", "ab1", "abi"},       {14, "CRV_EXT", "crv", "CRV"},
    {15, nullptr, nullptr, ""},
};

TEST_F(ExportNaming, ExtensionOfEveryTypeFromDefaultsAndProfile) {
  // Keys nobody reads are stored too: types without a key must not pick them up.
  const std::vector<std::pair<std::string, std::string>> full = {
      {"TXT_EXT", "tab"}, {"SEQ_EXT", "sq"},    {"FASTA_EXT", "fa"},  {"SCF_EXT", "ztr"},
      {"PHD_EXT", "phd.1"}, {"ESD_EXT", "Esd2"}, {"ABI_EXT", "ab1"}, {"CRV_EXT", "crv"},
      {"ORI_EXT", "raw"}, {"ZEV_EXT", "vq"}};
  for (const bool stored : {false, true}) {
    if (stored) Profile(full); else fs::remove(profile);
    for (const ExtRow& r : kExtTable) {
      SCOPED_TRACE(testing::Message() << "type " << r.type << (stored ? " stored" : " default"));
      const std::string ext = stored && r.stored ? r.stored : r.def;
      EXPECT_EQ(std::string(COutputObject::GetExportExtension(EEXPORT_TYPE(r.type), FALSE)), ext);
      EXPECT_EQ(std::string(COutputObject::GetExportExtension(EEXPORT_TYPE(r.type), TRUE)),
                ext.empty() ? "" : "." + ext);
    }
  }
}

TEST_F(ExportNaming, StoredValuesThatAreRefusedOrKept) {
  const struct {
    const char* line;  // the value as it stands in the file; null: key absent
    bool refused;      // the default is taken instead
    const char* value;  // else the extension
  } cases[] = {
      {nullptr, true, ""},   {"sc/f", true, ""},    {"sc\\f", true, ""},  {"c:scf", true, ""},
      {"*.scf", true, ""},   {"sc?", true, ""},     {"\"a\"b\"", true, ""}, {"<scf", true, ""},
      {"scf>", true, ""},    {"a|b", true, ""},     {"../x", true, ""},    {"", false, ""},
      {"\"\"", false, ""},   {"SCF", false, "SCF"}, {"scf.gz", false, "scf.gz"},
      {"\"q\"", false, "q"}, {"a b", false, "a b"}, {".scf", false, ".scf"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line ? c.line : "(absent)");
    if (c.line) Profile({{"SCF_EXT", c.line}}); else Profile({});
    const std::string ext = c.refused ? "scf" : c.value;
    EXPECT_EQ(std::string(COutputObject::GetExportExtension(EXPORT_SCF3, FALSE)), ext);
    // An empty stored text: the type has no extension at all, not even a lone dot.
    EXPECT_EQ(std::string(COutputObject::GetExportExtension(EXPORT_SCF3, TRUE)), ext.empty() ? "" : "." + ext);
    EXPECT_EQ(std::string(COutputObject::GetUserSuppliedExportExtension("SCF_EXT", "dflt")),
              c.refused ? "dflt" : c.value);
  }
  EXPECT_EQ(std::string(COutputObject::GetUserSuppliedExportExtension(nullptr, "d")), "d");
  EXPECT_EQ(std::string(COutputObject::GetUserSuppliedExportExtension("NONE", nullptr)), "");
}

TEST_F(ExportNaming, CompletingTheTransferFile) {
  const struct {
    EEXPORT_TYPE type;
    const char* name;
    const char* result;
  } cases[] = {
      {EXPORT_TEXT, "run", "run.txt"},
      {EXPORT_TEXT, "run.txt", "run.txt"},
      {EXPORT_TEXT, "RUN.TXT", "RUN.TXT"},
      {EXPORT_TEXT, "run.TxT", "run.TxT"},
      {EXPORT_TEXT, "run.txt.bak", "run.txt.bak.txt"},
      {EXPORT_TEXT, "runtxt", "runtxt.txt"},
      {EXPORT_TEXT, "", ".txt"},
      {EXPORT_PHRED, "run.scf", "run.scf.scf.phd.1"},
      {EXPORT_PHRED, "run.phd.1", "run.phd.1.scf.phd.1"},
      {EXPORT_PHRED, "run.SCF.PHD.1", "run.SCF.PHD.1"},
      {EXPORT_SCF2, "run.scf", "run.scf"},
      {EXPORT_ORI, "run", "run.ori"},
      {EXPORT_CRV, "run.crv", "run.crv"},
      {EXPORT_ZEV, "run", "run"},
      {EXPORT_PRINTER, "run", "run"},
      {EEXPORT_TYPE(10), "run", "run"},
  };
  NamedObject obj;
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.type << " " << c.name);
    EXPECT_EQ(std::string(obj.Complete(c.type, c.name)), c.result);
  }
  // An empty stored extension adds nothing; a stored one replaces the default.
  Profile({{"TXT_EXT", ""}, {"SEQ_EXT", "Text"}});
  EXPECT_EQ(std::string(obj.Complete(EXPORT_TEXT, "run")), "run");
  EXPECT_EQ(std::string(obj.Complete(EXPORT_SEQ, "run.TEXT")), "run.TEXT");
  EXPECT_EQ(std::string(obj.Complete(EXPORT_SEQ, "run.seq")), "run.seq.Text");

  // An export job opens the completed name.
  Profile({{"TXT_EXT", "tab"}});
  ASSERT_EQ(obj.ExportObject(EXPORT_TEXT, In("plain").c_str(), CObjectOutputDef()), 1);
  EXPECT_EQ(std::string(obj.GetTransferFile()), In("plain.tab"));
  EXPECT_TRUE(fs::exists(In("plain.tab")));
  EXPECT_FALSE(fs::exists(In("plain")));
}

TEST_F(ExportNaming, CleaningNames) {
  const std::string longName(300, 'a');
  const struct {
    std::string in, out;
  } cases[] = {
      {"a\\b/c:d*e?f\"g<h>i|j", "a_b_c_d_e_f_g_h_i_j"},
      {"plain name.txt", "plain name.txt"},
      {"", ""},
      {"||", "__"},
      {"caf\xe9 #1.seq", "caf\xe9 #1.seq"},
      {longName, std::string(259, 'a')},
      {std::string(258, 'b') + "/x", std::string(258, 'b') + "_"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.in.substr(0, 40));
    CString s(c.in.c_str());
    COutputObject::UnIllegalifyTheFilename(s);
    EXPECT_EQ(std::string(s), c.out);
  }
}

TEST_F(ExportNaming, NameClashResolveNumbersUntilFree) {
  const struct {
    std::vector<std::string> existing;
    const char* path;
    const char* ext;
    const char* result;
  } cases[] = {
      {{}, "run.txt", ".txt", "run.txt"},
      {{"other.txt"}, "run", ".txt", "run"},
      {{"run.txt"}, "run.txt", ".txt", "run_1.txt"},
      {{"run.txt", "run_1.txt"}, "run.txt", ".txt", "run_2.txt"},
      {{"run.txt", "run_2.txt"}, "run.txt", ".txt", "run_1.txt"},
      {{"RUN.TXT"}, "RUN.TXT", ".txt", "RUN_1.txt"},
      {{"run"}, "run", ".txt", "run_1.txt"},
      {{"run"}, "run", "", "run_1"},
      {{"run.txt"}, "run.txt", "", "run.txt_1"},
      {{"run.scf.phd.1"}, "run.scf.phd.1", ".scf.phd.1", "run_1.scf.phd.1"},
      {{"run.fasta", "run_1.FASTA"}, "run.fasta", ".FASTA", "run_2.FASTA"},
      // Names are looked up as they are spelled: the host's file names have case.
      {{"run.fasta", "run_1.fasta"}, "run.fasta", ".FASTA", "run_1.FASTA"},
      // The test is for the exact name: a '*' is a character, not a pattern.
      {{"run.txt"}, "r*.txt", ".txt", "r*.txt"},
      {{"r?n.txt"}, "r?n.txt", ".txt", "r?n_1.txt"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.path << " ext '" << c.ext << "'");
    Files(c.existing);
    CString path = In(c.path).c_str();
    COutputObject::NameClashResolve(path, c.ext);
    EXPECT_EQ(std::string(path), In(c.result));
  }
  // A folder of that name is taken too.
  Files({});
  fs::create_directory(dir / "run.txt");
  CString path = In("run.txt").c_str();
  COutputObject::NameClashResolve(path, ".txt");
  EXPECT_EQ(std::string(path), In("run_1.txt"));
}

TEST_F(ExportNaming, NameClashResolveByType) {
  Profile({{"FASTA_EXT", "fa"}});
  const struct {
    std::vector<std::string> existing;
    EEXPORT_TYPE type;
    const char* path;
    const char* result;
  } cases[] = {
      {{}, EXPORT_FASTA, "x.fa", "x.fa"},
      {{"x.fa"}, EXPORT_FASTA, "x.fa", "x_1.fa"},
      {{"x.fasta"}, EXPORT_FASTA, "x.fasta", "x.fasta_1.fa"},
      {{"x.scf.phd.1", "x_1.scf.phd.1"}, EXPORT_PHRED, "x.scf.phd.1", "x_2.scf.phd.1"},
      {{"x.ori"}, EXPORT_ORI, "x.ori", "x_1.ori"},
      {{"x"}, EXPORT_ZEV, "x", "x_1"},
      {{"x.crv"}, EXPORT_CRV, "x.crv", "x_1.CRV"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    Files(c.existing);
    CString path = In(c.path).c_str();
    COutputObject::NameClashResolve(path, c.type);
    EXPECT_EQ(std::string(path), In(c.result));
  }
}

TEST_F(ExportNaming, CrvSetTakesOneGrowingNumber) {
  const struct {
    const char* name;
    std::vector<std::string> existing;
    const char* path;
    const char* result;
  } cases[] = {
      {"no clash", {}, "run.CRV", "run.CRV"},
      {"first dye file", {"run_D1.CRV"}, "run.CRV", "run_1.CRV"},
      {"last dye file", {"run_D4.CRV"}, "run.CRV", "run_1.CRV"},
      {"dye files of two numbers", {"run_D1.CRV", "run_1_D2.CRV"}, "run.CRV", "run_2.CRV"},
      {"one-underscore order file is not looked at", {"run_CRV_TRACE_ORDER.txt"}, "run.CRV", "run.CRV"},
      {"two-underscore order file", {"run__CRV_TRACE_ORDER.txt"}, "run.CRV", "run_1.CRV"},
      {"order file under the number", {"run_D2.CRV", "run_1__CRV_TRACE_ORDER.txt"}, "run.CRV", "run_2.CRV"},
      // The number found at dye 3 is not tested against dye 1 again.
      {"an earlier dye is not retested", {"run_D3.CRV", "run_1_D1.CRV"}, "run.CRV", "run_1.CRV"},
      {"numbered files alone are no clash", {"run_1_D1.CRV", "run_1__CRV_TRACE_ORDER.txt"}, "run.CRV", "run.CRV"},
      {"extension in another case", {"run_D1.CRV"}, "run.crv", "run_1.CRV"},
      {"path without the extension", {"run_D1.CRV"}, "run", "run_1.CRV"},
      {"the plain name itself does not count", {"run.CRV"}, "run.CRV", "run.CRV"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Files(c.existing);
    CString path = In(c.path).c_str();
    COutputObject::NameClashResolveCRV(path, ".CRV");
    EXPECT_EQ(std::string(path), In(c.result));
  }
}

TEST_F(ExportNaming, CrvOverwriteQuestion) {
  struct Box {
    std::string text, caption;
    UINT style;
  };
  std::vector<Box> boxes;
  int answer = IDOK;
  MessageBoxHandler old = SetMessageBoxHandler([&](HWND, const char* text, const char* caption, UINT style) {
    boxes.push_back({text, caption ? caption : "(null)", style});
    return answer;
  });
  const std::string head = "CRV export will overwrite the following existed file names:\n\n";
  const std::string tail = "\n\nClick [OK] to overwrite files. Click [Cancel] to abort CRV export.\n";
  const struct {
    const char* name;
    std::vector<std::string> existing;
    const char* path;
    int answer;
    int result;
    std::vector<std::string> listed;  // empty: no box
  } cases[] = {
      {"nothing to overwrite", {}, "run.CRV", IDOK, 0, {}},
      {"two-underscore order file is not looked at", {"run__CRV_TRACE_ORDER.txt"}, "run.CRV", IDCANCEL, 0, {}},
      {"numbered set is not looked at", {"run_1_D1.CRV"}, "run.CRV", IDCANCEL, 0, {}},
      {"one dye file, OK", {"run_D2.CRV"}, "run.CRV", IDOK, 0, {"run_D2.CRV"}},
      {"one dye file, Cancel", {"run_D2.CRV"}, "run.CRV", IDCANCEL, 1, {"run_D2.CRV"}},
      {"any other answer declines", {"run_D2.CRV"}, "run.CRV", IDNO, 1, {"run_D2.CRV"}},
      {"only the order file", {"run_CRV_TRACE_ORDER.txt"}, "run.CRV", IDCANCEL, 1, {"run_CRV_TRACE_ORDER.txt"}},
      {"the whole set in order",
       {"run_CRV_TRACE_ORDER.txt", "run_D4.CRV", "run_D1.CRV", "run_D3.CRV", "run_D2.CRV"},
       "run.crv", IDOK, 0,
       {"run_D1.CRV", "run_D2.CRV", "run_D3.CRV", "run_D4.CRV", "run_CRV_TRACE_ORDER.txt"}},
      {"path without the extension", {"run_D1.CRV"}, "run", IDCANCEL, 1, {"run_D1.CRV"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Files(c.existing);
    boxes.clear();
    answer = c.answer;
    CString path = In(c.path).c_str();
    EXPECT_EQ(COutputObject::CheckExistFileNameCRV(path, ".CRV"), c.result);
    EXPECT_EQ(std::string(path), In(c.path));  // the path is never changed
    if (c.listed.empty()) {
      EXPECT_TRUE(boxes.empty());
      continue;
    }
    ASSERT_EQ(boxes.size(), 1u);
    std::string list;
    for (const auto& n : c.listed) list += (list.empty() ? "" : ",\n") + In(n);
    EXPECT_EQ(boxes[0].text, head + list + tail);
    EXPECT_EQ(boxes[0].caption, "CRV Export");
    EXPECT_EQ(boxes[0].style, MB_OKCANCEL);
  }
  // The box's own default answer is OK: the files are overwritten.
  SetMessageBoxHandler([](HWND, const char*, const char*, UINT style) { return DefaultMessageBoxAnswer(style); });
  Files({"run_D1.CRV"});
  CString path = In("run.CRV").c_str();
  EXPECT_EQ(COutputObject::CheckExistFileNameCRV(path, ".CRV"), 0);
  SetMessageBoxHandler(old);
}

TEST_F(ExportNaming, OpenOrSaveChoice) {
  FileType types[] = {{"SCF (Ver 3.00)", "scf", EXPORT_SCF3},
                      {"Text (Tab Delimited)", "txt", EXPORT_TEXT},
                      {"ZEV", "vq*", EXPORT_ZEV},
                      {"Dotted", ".abi", EXPORT_ABI}};
  const std::string filter4 =
      "SCF (Ver 3.00) (*.scf)|*.scf|Text (Tab Delimited) (*.txt)|*.txt|ZEV (*.vq*)|*.vq*|Dotted (*..abi)|*..abi||";
  TransferFileDialogState seen;
  int shown = 0;
  const struct {
    const char* name;
    int count, bOpen;
    const char* defaultName;
    int answer, index;  // what the user does
    const char* chosen;
    int result;
    const char* path;  // after the call; "-": untouched
    int type;          // after the call; -99: untouched
  } cases[] = {
      {"save, first filter: extension without a dot", 4, 0, "a:b", IDOK, 1, "/out/run", 1, "/out/runscf", 5},
      {"save, entry with its own dot", 4, 0, "x", IDOK, 4, "/out/run", 1, "/out/run.abi", 13},
      {"save keeps an extension that is there", 4, 0, "x", IDOK, 2, "/out/run.txt", 1, "/out/run.txttxt", 1},
      {"open: path as chosen", 4, 1, "x", IDOK, 3, "/in/run.vq1", 1, "/in/run.vq1", 6},
      {"cancel", 4, 0, "x", IDCANCEL, 1, "/out/run", 0, "-", -99},
      {"filter index 0", 4, 1, "x", IDOK, 0, "/in/run", 0, "-", -99},
      {"filter index past the list", 2, 0, "x", IDOK, 3, "/out/run", 0, "-", -99},
      {"no entries", 0, 0, "x", IDOK, 1, "/out/run", 0, "-", -99},
  };
  TransferFileDialog oldDialog;
  const auto install = [&](int answer, int index, const char* chosen) {
    COutputObject::SetTransferFileDialog([&seen, &shown, answer, index, chosen](TransferFileDialogState& s) {
      seen = s;
      ++shown;
      s.filterIndex = index;
      s.fileName = chosen;
      return answer;
    });
  };
  oldDialog = COutputObject::SetTransferFileDialog({});
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    install(c.answer, c.index, c.chosen);
    shown = 0;
    CString path = "-";
    int type = -99;
    EXPECT_EQ(COutputObject::GetTransferFileInfoImp(path, type, types, c.count, c.bOpen, c.defaultName), c.result);
    EXPECT_EQ(std::string(path), c.path);
    EXPECT_EQ(type, c.type);
    ASSERT_EQ(shown, 1);
    EXPECT_EQ(seen.bOpen, c.bOpen);
    EXPECT_EQ(seen.flags, c.bOpen ? 0x1004u : 6u);
    EXPECT_EQ(std::string(seen.title), c.bOpen ? "Import" : "Export");
    EXPECT_EQ(seen.filterIndex, 1);
  }
  // The filter string and the cleaned proposal as the dialog gets them.
  install(IDCANCEL, 1, "");
  CString path;
  int type = 0;
  COutputObject::GetTransferFileInfoImp(path, type, types, 4, 0, "r\\u/n:1*?\"<>|.txt");
  EXPECT_EQ(std::string(seen.filter), filter4);
  EXPECT_EQ(std::string(seen.fileName), "r_u_n_1______.txt");
  COutputObject::GetTransferFileInfoImp(path, type, types, 0, 1, nullptr);
  EXPECT_EQ(std::string(seen.filter), "|");
  EXPECT_EQ(std::string(seen.fileName), "");
  COutputObject::GetTransferFileInfoImp(path, type, nullptr, 3, 1, "n");
  EXPECT_EQ(std::string(seen.filter), "|");
  // Fields filled to the last byte without a NUL are read up to their size.
  FileType full;
  std::memset(full.m_szName, 'n', sizeof full.m_szName);
  std::memset(full.m_szExtension, 'e', sizeof full.m_szExtension);
  full.m_eType = EXPORT_SEQ;
  COutputObject::GetTransferFileInfoImp(path, type, &full, 1, 0, "n");
  const std::string n(260, 'n'), e(260, 'e');
  EXPECT_EQ(std::string(seen.filter), n + " (*." + e + ")|*." + e + "||");

  // The object's own choice goes the same way.
  install(IDOK, 2, "/out/v");
  NamedObject obj;
  EXPECT_EQ(obj.GetTransferFileInfo(path, type, types, 4, 0, "d"), 1);
  EXPECT_EQ(std::string(path), "/out/vtxt");
  EXPECT_EQ(type, 1);

  // Without a dialog installed the choice is cancelled.
  COutputObject::SetTransferFileDialog({});
  path = "-";
  EXPECT_EQ(obj.GetTransferFileInfo(path, type, types, 4, 1, "d"), 0);
  EXPECT_EQ(std::string(path), "-");
  COutputObject::SetTransferFileDialog(oldDialog);
}

}  // namespace
