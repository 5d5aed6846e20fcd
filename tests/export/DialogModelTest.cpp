// Both export dialogs driven through the one interface a window layer binds to: a
// script of user actions by control id, then the states a window would mirror.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ExportTestUtil.h"
#include "zevutil/CExportObjectDialog.h"
#include "zevutil/CZevExportDlg.h"

using namespace zev;

namespace {

using DialogModelBinding = zevtest::ExportDialogTest;

struct Action {
  enum Kind { Select, Click, Type, Spin, Ok } kind;
  int id;
  int arg = 0;  // row, spin step, or the expected OnClick/OnOK answer
  const char* text = nullptr;
  int expect = -1;  // answer expected from Click and Ok; -1: not looked at
};

void Play(CDialogModel& dlg, const std::vector<Action>& script) {
  for (const Action& a : script) {
    SCOPED_TRACE(testing::Message() << "action " << int(a.kind) << " on " << a.id);
    int answer = -1;
    switch (a.kind) {
      case Action::Select: dlg.OnSelChange(a.id, a.arg, 1); break;
      case Action::Click: answer = dlg.OnClick(a.id); break;
      case Action::Type: dlg.OnEditText(a.id, a.text); break;
      case Action::Spin: dlg.OnSpin(a.id, a.arg); break;
      case Action::Ok: answer = dlg.OnOK(); break;
    }
    if (a.expect >= 0) {
      EXPECT_EQ(answer, a.expect);
    }
  }
}

TEST_F(DialogModelBinding, ScriptsDriveBothDialogsById) {
  using D = CExportObjectDialog;
  using X = CZevExportDlg;
  struct Case {
    const char* what;
    std::function<std::unique_ptr<CDialogModel>()> make;
    std::vector<Action> script;
    std::function<void(CDialogModel&)> check;
  };
  const Case cases[] = {
      {"options: SCF 2.10 with results, longer reads only",
       [] {
         auto d = std::make_unique<D>(nullptr, 10002, 0, "/out/run", nullptr, 1, 1, 0, 0, 1, 1);
         d->SetBatchExportFormat(1);
         return d;
       },
       {{Action::Select, D::IDC_DIR_FILTER, 1},
        {Action::Click, D::IDC_EXPORT_RESULT_OUTPUT, 0, nullptr, 0},  // greyed under SCF
        {Action::Ok, 0, 0, nullptr, 0},                               // neither raw nor result data
        {Action::Click, D::IDC_EXPORT_RESULT_DATA, 0, nullptr, 1},
        {Action::Spin, D::IDC_EXPORT_MIN_LENGTH_SPIN, 1},
        {Action::Spin, D::IDC_EXPORT_MIN_LENGTH_SPIN, 1},
        {Action::Type, D::IDC_DIR_FILENAME, 0, "sample 7"},
        {Action::Ok, 0, 0, nullptr, 1}},
       [](CDialogModel& m) {
         auto& d = static_cast<D&>(m);
         EXPECT_EQ(d.GetCaption(), "Export");
         EXPECT_EQ(d.GetExportFileType(), EXPORT_SCF2);
         EXPECT_EQ(d.m_bBaseSequence + d.m_bQualityParameters + d.m_bSequenceResults, 3);
         EXPECT_EQ(d.m_nMinAutoExportSeqLength, 2);
         EXPECT_EQ(d.GetPathName(), "/out/sample 7.scf");
       }},
      {"objects: text with raw data",
       [] {
         CObSeqIDList list;
         for (const char* name : {"r1", "r2"}) {
           CObSeqID id(name, 0, 10002, 0);
           list.AddTail(list.CloneElement(&id));
         }
         return std::make_unique<X>(list, nullptr, 1);
       },
       {{Action::Select, X::IDC_ZEXP_FILTER, 3},
        {Action::Click, X::IDC_ZEXP_RAW_DATA, 0, nullptr, 1},
        {Action::Ok, 0, 0, nullptr, 0},  // nothing selected yet
        {Action::Select, X::IDC_ZEXP_OBJECTS, 1},
        {Action::Type, X::IDC_ZEXP_FOLDER, 0, "/out"},
        {Action::Ok, 0, 0, nullptr, 1}},
       [](CDialogModel& m) {
         auto& d = static_cast<X&>(m);
         EXPECT_EQ(d.GetCaption(), "Export");
         EXPECT_EQ(d.GetExportType(), EXPORT_TEXT);
         EXPECT_EQ(d.GetSampleDataCheckBox(), 1);
         EXPECT_EQ(d.GetPath(), "/out");
         ASSERT_EQ(d.GetObSeqIDList().GetCount(), 1);
         EXPECT_STREQ(d.GetObSeqIDList().GetHead()->ObName, "r2");
       }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    auto dlg = c.make();
    dlg->OnInitDialog();
    // What a window creates: every control of the layout has an id and a kind.
    for (const DialogControl& ctl : dlg->Controls().Controls()) EXPECT_NE(ctl.m_nID, 0);
    Play(*dlg, c.script);
    EXPECT_EQ(dlg->GetResult(), 1);
    c.check(*dlg);
  }
}

}  // namespace
