// The import and export file choice through the window layer's chooser, headless: the
// request built from the choice, the filter string's parsing, the scripted person's answer
// written back, and a save name typed with its extension not getting it twice.
#include <gtest/gtest.h>

#include <string>

#include "zevutil/TransferFileChooser.h"
#include "zevutil/platform/WindowTesting.h"

using namespace zev;

namespace {

class TransferFileChooser : public ::testing::Test {
 protected:
  void SetUp() override {
    UseNullWindowBackend();
    m_old = COutputObject::SetTransferFileDialog({});
  }
  void TearDown() override {
    COutputObject::SetTransferFileDialog(m_old);
    ResetWindowTestState();
  }
  TransferFileDialog m_old;
};

}  // namespace

TEST_F(TransferFileChooser, FilterStringsBecomeNamePatternPairs) {
  using Pairs = std::vector<std::pair<std::string, std::string>>;
  const struct {
    const char* filter;
    Pairs want;
  } cases[] = {
      {"SCF (*.scf)|*.scf|Text (*.txt)|*.txt||", {{"SCF (*.scf)", "*.scf"}, {"Text (*.txt)", "*.txt"}}},
      {"All|*.*", {{"All", "*.*"}}},
      {"Odd|*.a|Lonely", {{"Odd", "*.a"}}},
      {"|", {}},
      {"", {}},
      {nullptr, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.filter ? c.filter : "(null)");
    EXPECT_EQ(ParseFileFilter(c.filter), c.want);
  }
}

TEST_F(TransferFileChooser, ThePersonsAnswerComesBackThroughTheOutputObject) {
  ASSERT_FALSE(InstallTransferFileChooser()) << "no display: nothing is installed";
  ASSERT_TRUE(InstallTransferFileChooser(true));
  FileType types[] = {{"SCF (Ver 3.00)", ".scf", EXPORT_SCF3}, {"Text (Tab Delimited)", ".txt", EXPORT_TEXT}};
  const struct {
    const char* name;
    int bOpen;
    int answer, index;
    const char* typed;
    int result;
    const char* path;
    int type;
  } cases[] = {
      {"save, typed without extension", 0, IDOK, 2, "/out/run", 1, "/out/run.txt", EXPORT_TEXT},
      {"save, typed with the filter's extension", 0, IDOK, 1, "/out/run.scf", 1, "/out/run.scf", EXPORT_SCF3},
      {"save, another extension stays", 0, IDOK, 1, "/out/run.txt", 1, "/out/run.txt.scf", EXPORT_SCF3},
      {"open: as chosen", 1, IDOK, 2, "/in/a.scf", 1, "/in/a.scf", EXPORT_TEXT},
      {"cancel", 0, IDCANCEL, 1, "/out/run", 0, "-", -1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    FileChooserRequest seen;
    ScriptFileChooser([&](FileChooserRequest& r) {
      seen = r;
      r.filterIndex = c.index;
      r.path = c.typed;
      return c.answer;
    });
    CString path = "-";
    int type = -1;
    EXPECT_EQ(COutputObject::GetTransferFileInfoImp(path, type, types, 2, c.bOpen, "run 1"), c.result);
    EXPECT_EQ(std::string(path), c.path);
    EXPECT_EQ(type, c.type);
    EXPECT_EQ(PendingFileChooserAnswers(), 0u);
    // What the chooser was asked for.
    EXPECT_EQ(seen.mode, c.bOpen ? FileChooserRequest::Mode::Open : FileChooserRequest::Mode::Save);
    EXPECT_EQ(seen.title, c.bOpen ? "Import" : "Export");
    ASSERT_EQ(seen.filters.size(), 2u);
    EXPECT_EQ(seen.filters[1].second, "*..txt");
    EXPECT_EQ(seen.initialPath, "run 1");
    EXPECT_EQ(seen.overwritePrompt, !c.bOpen);
    EXPECT_EQ(seen.mustExist, c.bOpen != 0);
  }
  // No answer scripted: the person cancelled.
  CString path = "-";
  int type = -1;
  EXPECT_EQ(COutputObject::GetTransferFileInfoImp(path, type, types, 2, 0, "x"), 0);
}
