// The export dialogs as windows on the null backend, driven as a person would (clicks,
// picks, typing, the spin arrows, Browse, OK): each action reaches the model, and after it
// every control's window shows what the model says (shown, greyed, checked, text, rows).
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ExportTestUtil.h"
#include "zevutil/CExportObjectDialog.h"
#include "zevutil/CZevExportDlg.h"
#include "zevutil/DialogModelWindow.h"
#include "zevutil/platform/FileChooser.h"
#include "zevutil/platform/Window.h"
#include "zevutil/platform/WindowTesting.h"

using namespace zev;

namespace {

class DialogModelWindowTest : public zevtest::ExportDialogTest {
 protected:
  void SetUp() override {
    zevtest::ExportDialogTest::SetUp();
    UseNullWindowBackend();
  }
  void TearDown() override {
    ResetWindowTestState();
    zevtest::ExportDialogTest::TearDown();
  }
};

// Every control of the model against its window.
void ExpectMirrored(CDialogModel& m, HWND dlg) {
  for (const DialogControl& c : m.Controls().Controls()) {
    HWND h = GetDlgItem(dlg, c.m_nID);
    SCOPED_TRACE(testing::Message() << "control " << c.m_nID << " '" << c.m_strText.GetString() << "'");
    if (!c.m_bExists) {
      EXPECT_EQ(h, nullptr);
      continue;
    }
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(IsWindowVisible(h) != 0, c.IsVisible() != 0);
    EXPECT_EQ(IsWindowEnabled(h) != 0, c.m_bEnabled != 0);
    switch (c.m_eKind) {
      case DialogControlKind::Check:
        EXPECT_EQ(SendMessageA(h, BM_GETCHECK, 0, 0), c.m_bChecked ? 1 : 0);
        [[fallthrough]];
      case DialogControlKind::Label:
      case DialogControlKind::Edit:
        EXPECT_EQ(GetWindowTextString(h), c.m_strText.GetString());
        break;
      case DialogControlKind::Combo:
        EXPECT_EQ(SendMessageA(h, CB_GETCOUNT, 0, 0), LRESULT(c.m_Items.size()));
        EXPECT_EQ(SendMessageA(h, CB_GETCURSEL, 0, 0), c.m_nSel);
        break;
      case DialogControlKind::List:
        EXPECT_EQ(SendMessageA(h, LB_GETCOUNT, 0, 0), LRESULT(c.m_Items.size()));
        EXPECT_EQ(SendMessageA(h, LB_GETSELCOUNT, 0, 0), LRESULT(c.m_Selected.size()));
        break;
      default:
        break;
    }
  }
}

}  // namespace

TEST_F(DialogModelWindowTest, OptionDialogFollowsTheModelThroughEveryFilterAndOption) {
  using D = CExportObjectDialog;
  D model(nullptr, 10002, 0, "/out/run", nullptr, 1, 1, 0, 0, 1, 1);
  model.SetBatchExportFormat(1);
  CDialogModelWindow win(model);
  HWND dlg = win.Create();
  ASSERT_NE(dlg, nullptr);
  EXPECT_EQ(GetWindowTextString(dlg), "Export");
  ExpectMirrored(model, dlg);

  // Every filter in turn, then every option that can be clicked under it, twice.
  HWND filter = GetDlgItem(dlg, D::IDC_DIR_FILTER);
  const int rows = int(SendMessageA(filter, CB_GETCOUNT, 0, 0));
  ASSERT_GT(rows, 3);
  for (int row = 0; row < rows; ++row) {
    SCOPED_TRACE(testing::Message() << "filter row " << row);
    ASSERT_TRUE(ScriptedUser::Select(filter, row));
    EXPECT_EQ(model.GetFilterPos(), row);
    ExpectMirrored(model, dlg);
    for (const DialogControl& c : model.Controls().Controls()) {
      if (c.m_eKind != DialogControlKind::Check || !c.IsVisible() || !c.m_bEnabled) continue;
      const int before = c.m_bChecked;
      const int id = c.m_nID;
      ASSERT_TRUE(ScriptedUser::Click(GetDlgItem(dlg, id)));
      EXPECT_NE(model.Controls().GetCheck(id), before) << id;
      ExpectMirrored(model, dlg);
      ASSERT_TRUE(ScriptedUser::Click(GetDlgItem(dlg, id)));
      ExpectMirrored(model, dlg);
    }
  }
  // A greyed option refuses the click as the window refuses it.
  ASSERT_TRUE(ScriptedUser::Select(filter, 1));  // SCF 2.10: Result Output follows Result Data
  if (!model.Controls().Control(D::IDC_EXPORT_RESULT_OUTPUT).m_bEnabled) {
    EXPECT_FALSE(ScriptedUser::Click(GetDlgItem(dlg, D::IDC_EXPORT_RESULT_OUTPUT)));
  }

  // The spin arrows and the number field with its range.
  HWND up = GetDlgItem(dlg, D::IDC_EXPORT_MIN_LENGTH_SPIN);
  HWND down = GetDlgItem(dlg, D::IDC_EXPORT_MIN_LENGTH_SPIN + CDialogModelWindow::kSpinDownOffset);
  HWND field = GetDlgItem(dlg, D::IDC_EXPORT_MIN_LENGTH);
  ASSERT_TRUE(up && down && field);
  EXPECT_TRUE(IsWindowVisible(field));
  const struct {
    const char* what;
    std::function<void()> act;
    const char* text;  // the field afterwards
    std::size_t boxes;  // messages said so far
  } steps[] = {
      {"up", [&] { ScriptedUser::Click(up); }, "1", 0},
      {"up again", [&] { ScriptedUser::Click(up); }, "2", 0},
      {"down", [&] { ScriptedUser::Click(down); }, "1", 0},
      {"typed in range", [&] { ScriptedUser::SetText(field, "999"); }, "999", 0},
      {"typed past the range", [&] { ScriptedUser::SetText(field, "1001"); }, "999", 1},
  };
  for (const auto& s : steps) {
    SCOPED_TRACE(s.what);
    s.act();
    EXPECT_EQ(GetWindowTextString(field), s.text);
    EXPECT_EQ(boxes.size(), s.boxes);
    ExpectMirrored(model, dlg);
  }

  // Browse puts the chosen folder into the folder field and the model.
  HWND browse = GetDlgItem(dlg, CDialogModelWindow::kBrowseId);
  ASSERT_NE(browse, nullptr);
  std::string asked;
  ScriptFileChooser([&](FileChooserRequest& r) {
    asked = r.initialPath;
    EXPECT_EQ(r.mode, FileChooserRequest::Mode::Folder);
    r.path = "/data/exports";
    return IDOK;
  });
  ASSERT_TRUE(ScriptedUser::Click(browse));
  EXPECT_EQ(asked, "/out");
  EXPECT_EQ(model.GetFolder(), "/data/exports");
  ExpectMirrored(model, dlg);

  // OK as the model decides: kept open while nothing is chosen to export, then closed.
  ScriptedUser::Select(filter, 1);
  for (int id : {D::IDC_EXPORT_RAW_DATA, D::IDC_EXPORT_RESULT_DATA})
    if (model.Controls().GetCheck(id)) ScriptedUser::Click(GetDlgItem(dlg, id));
  const std::size_t said = boxes.size();
  ASSERT_TRUE(ScriptedUser::Click(GetDlgItem(dlg, IDOK)));
  EXPECT_TRUE(IsWindow(dlg));
  EXPECT_EQ(boxes.size(), said + 1);
  ScriptedUser::Click(GetDlgItem(dlg, D::IDC_EXPORT_RESULT_DATA));
  ScriptedUser::SetText(GetDlgItem(dlg, D::IDC_DIR_FILENAME), "sample 7");
  ASSERT_TRUE(ScriptedUser::Click(GetDlgItem(dlg, IDOK)));
  EXPECT_FALSE(IsWindow(dlg));
  EXPECT_EQ(win.GetEndResult(), IDOK);
  EXPECT_EQ(model.GetResult(), 1);
  EXPECT_EQ(model.GetExportFileType(), EXPORT_SCF2);
  EXPECT_EQ(model.m_nMinAutoExportSeqLength, 999);
  EXPECT_EQ(model.GetPathName(), "/data/exports/sample 7.scf");
}

TEST_F(DialogModelWindowTest, BatchDialogPicksObjectsAndEndsModally) {
  using X = CZevExportDlg;
  CObSeqIDList list;
  for (const char* name : {"r1", "r2", "r3"}) {
    CObSeqID id(name, 0, 10002, 0);
    list.AddTail(list.CloneElement(&id));
  }
  X model(list, nullptr, 1);
  CDialogModelWindow win(model);
  ScriptedUser::Script([&] {
    HWND dlg = win.GetSafeHwnd();
    ASSERT_NE(dlg, nullptr);
    ExpectMirrored(model, dlg);
    ScriptedUser::Select(GetDlgItem(dlg, X::IDC_ZEXP_FILTER), 3);
    ScriptedUser::Click(GetDlgItem(dlg, X::IDC_ZEXP_RAW_DATA));
    ScriptedUser::Click(GetDlgItem(dlg, IDOK));  // nothing selected yet: stays
    EXPECT_TRUE(IsWindow(dlg));
    HWND objects = GetDlgItem(dlg, X::IDC_ZEXP_OBJECTS);
    EXPECT_EQ(SendMessageA(objects, LB_GETCOUNT, 0, 0), 3);
    ScriptedUser::Select(objects, 1);
    ScriptedUser::SetText(GetDlgItem(dlg, X::IDC_ZEXP_FOLDER), "/out");
    ExpectMirrored(model, dlg);
    ScriptedUser::Click(GetDlgItem(dlg, IDOK));
  });
  EXPECT_EQ(win.DoModal(), IDOK);
  EXPECT_EQ(WouldBlockCount(), 0);
  EXPECT_EQ(model.GetExportType(), EXPORT_TEXT);
  EXPECT_EQ(model.GetSampleDataCheckBox(), 1);
  EXPECT_EQ(model.GetPath(), "/out");
  ASSERT_EQ(model.GetObSeqIDList().GetCount(), 1);
  EXPECT_STREQ(model.GetObSeqIDList().GetHead()->ObName, "r2");

  // Cancel from the keyboard ends it too.
  X again(list, nullptr, 1);
  CDialogModelWindow win2(again);
  ScriptedUser::Script([] { ScriptedUser::PressKey(VK_ESCAPE); });
  EXPECT_EQ(win2.DoModal(), IDCANCEL);
  EXPECT_EQ(again.GetResult(), 2);
}
