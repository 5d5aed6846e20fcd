// The dialog assistant on a recording dialog: wrapping controls by window class, the
// dirty and enable-on-modify rules, radio groups, notifications seen before the dialog,
// and the command-update route.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>

#include "ToolkitTestSupport.h"
#include "zevutil/CDialogAssistant.h"

namespace zev::test {
namespace {

enum : UINT {
  kCheck = 101,
  kRadio1 = 201,
  kRadio2 = 202,
  kRadio3 = 203,
  kRadioNextGroup = 204,
  kEdit = 301,
  kStatic = 401,
  kCustom = 501,
  kPush = 601,
};

// The dialog: answers command updates for controls it has a rule for.
class TestDialog : public CWnd {
 public:
  BOOL OnCmdMsg(UINT nID, int nCode, void* pExtra, void*) override {
    if (nCode != CN_UPDATE_COMMAND_UI) return FALSE;
    auto* ui = static_cast<CCtrlCmdUI*>(pExtra);
    updates[nID] = ui->GetCtrlData();
    auto it = enableRule.find(nID);
    if (it == enableRule.end()) return FALSE;
    ui->Enable(it->second);
    return TRUE;
  }
  std::map<UINT, CDlgCtrlBase*> updates;
  std::map<UINT, BOOL> enableRule;
};

// The dialog's procedure records what reaches the dialog past the assistant.
INT_PTR RecordingDlgProc(HWND hwnd, UINT msg, WPARAM w, LPARAM l) {
  Log().push_back({hwnd, msg, w, l});
  return FALSE;
}

class DialogAssistantTest : public WindowFixture {
 protected:
  void SetUp() override {
    WindowFixture::SetUp();
    // Made from a template, whose controls do not notify their parent.
    DialogTemplate t(WS_POPUP | WS_VISIBLE, 0, 0, 200, 160, "assisted");
    t.AutoCheckBox("check", kCheck, 5, 5, 60, 10)
        .AutoRadioButton("one", kRadio1, 5, 20, 60, 10, WS_GROUP)
        .AutoRadioButton("two", kRadio2, 5, 35, 60, 10)
        .RadioButton("three", kRadio3, 5, 50, 60, 10)
        .AutoRadioButton("other group", kRadioNextGroup, 5, 65, 60, 10, WS_GROUP)
        .EditText(kEdit, 80, 5, 60, 12)
        .LText("", kStatic, 80, 20, 60, 10)
        .Control("", kCustom, RecorderClass(), WS_VISIBLE, 80, 35, 60, 10)
        .PushButton("", kPush, 80, 50, 60, 14);
    dlg.Attach(CreateDialogIndirectParamA(nullptr, &t, nullptr, &RecordingDlgProc, 0));
    Log().clear();
  }
  void TearDown() override {
    ResetWindowTestState();
    dlg.Detach();
    WindowFixture::TearDown();
  }
  HWND Item(UINT id) { return GetDlgItem(dlg, int(id)); }
  UINT Checked(UINT id) { return UINT(SendMessageA(Item(id), BM_GETCHECK, 0, 0)); }
  TestDialog dlg;
};

TEST_F(DialogAssistantTest, InitDialogWrapsRegisteredClassesAndOpensParentNotification) {
  CDialogAssistant assist(&dlg);
  assist.InitDialog();
  struct Case {
    UINT id;
    const char* wrapper;  // null: not wrapped
    int buttonKind;
  } cases[] = {
      {kCheck, "CDlgCtrlButton", CDlgCtrlButton::kindCheckBox},
      {kRadio1, "CDlgCtrlButton", CDlgCtrlButton::kindRadioButton},
      {kRadio3, "CDlgCtrlButton", CDlgCtrlButton::kindRadioButton},
      {kPush, "CDlgCtrlButton", CDlgCtrlButton::kindPushButton},
      {kEdit, "CDlgCtrlEdit", -1},
      {kStatic, "CDlgCtrlStatic", -1},
      {kCustom, nullptr, -1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.id);
    CDlgCtrlBase* ctrl = assist.GetCtrlData(c.id);
    const bool wrapped = (GetWindowLongPtrA(Item(c.id), GWL_EXSTYLE) & WS_EX_NOPARENTNOTIFY) == 0;
    if (!c.wrapper) {
      EXPECT_EQ(ctrl, nullptr);
      EXPECT_FALSE(wrapped);
      continue;
    }
    ASSERT_NE(ctrl, nullptr);
    EXPECT_STREQ(ctrl->GetRuntimeClass()->m_lpszClassName, c.wrapper);
    EXPECT_EQ(ctrl->GetHwnd(), Item(c.id));
    EXPECT_EQ(ctrl->GetID(), c.id);
    EXPECT_EQ(ctrl->GetAssist(), &assist);
    EXPECT_EQ(&assist[c.id], ctrl);
    EXPECT_TRUE(wrapped);
    if (c.buttonKind >= 0) {
      EXPECT_EQ(static_cast<CDlgCtrlButton*>(ctrl)->GetButtonKind(), c.buttonKind);
    }
  }
  EXPECT_EQ(assist.GetControlCount(), 8);
  EXPECT_EQ(assist.GetTickFrequency(), 500u);
  EXPECT_EQ(dlg.updates.size(), 8u) << "every wrapper went through the command-update route";
  EXPECT_EQ(dlg.updates[kEdit], assist.GetCtrlData(kEdit));
}

TEST_F(DialogAssistantTest, AddControlRefusesBadIdsAndUnknownWindows) {
  CDialogAssistant assist(&dlg);
  for (UINT id : {0u, 65536u, 65536u + UINT(kEdit), 999u, UINT(kCustom)}) {
    SCOPED_TRACE(id);
    assist.AddControl(id);
    EXPECT_EQ(assist.GetControlCount(), 0);
  }
  assist.AddControl(kEdit);
  EXPECT_EQ(assist.GetControlCount(), 1);
  assist.RemoveControl(kEdit);
  EXPECT_EQ(assist.GetCtrlData(kEdit), nullptr);
  EXPECT_EQ(CDialogAssistant::CreateDlgCtrlData("NoSuchClass"), nullptr);
  // An id without a wrapper gives one that acts on no window.
  assist[kEdit].SetValue(7);
  EXPECT_EQ(assist[kEdit].GetHwnd(), nullptr);
  EXPECT_EQ(GetWindowTextString(Item(kEdit)), "");
}

TEST_F(DialogAssistantTest, DirtyRules) {
  // Each step: who (assistant or a wrapper), what, and the state after it.
  enum Op { kAssistDirty, kAssistDirtyAll, kWrapperDirty, kMaskUp, kMaskDown };
  struct Step {
    Op op;
    int value;
    BOOL modified;
    BOOL editDirty;
    int mask;
  };
  struct Case {
    const char* name;
    std::vector<Step> steps;
  } cases[] = {
      {"set and clear the flag alone", {{kAssistDirty, 1, 1, 0, 0}, {kAssistDirty, 0, 0, 0, 0}}},
      // kept: each wrapper's SetDirty(0) marks the assistant modified again.
      {"clearing all leaves the flag set", {{kAssistDirtyAll, 0, 1, 0, 0}, {kAssistDirty, 0, 0, 0, 0}}},
      {"a wrapper marks the assistant whatever its value", {{kWrapperDirty, 0, 1, 0, 0}, {kAssistDirty, 0, 0, 0, 0},
                                                             {kWrapperDirty, 1, 1, 1, 0}}},
      {"the mask freezes both flags", {{kMaskUp, 0, 0, 0, 1}, {kAssistDirty, 1, 0, 0, 1}, {kWrapperDirty, 1, 0, 0, 1},
                                       {kAssistDirtyAll, 1, 0, 0, 1}, {kMaskUp, 0, 0, 0, 2}, {kMaskDown, 0, 0, 0, 1},
                                       {kMaskDown, 0, 0, 0, 0}, {kMaskDown, 0, 0, 0, 0}, {kWrapperDirty, 1, 1, 1, 0}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CDialogAssistant assist(&dlg);
    assist.InitDialog();
    CDlgCtrlBase* edit = assist.GetCtrlData(kEdit);
    ASSERT_NE(edit, nullptr);
    int n = 0;
    for (const Step& s : c.steps) {
      SCOPED_TRACE(++n);
      switch (s.op) {
        case kAssistDirty: assist.SetDirty(s.value, 0); break;
        case kAssistDirtyAll: assist.SetDirty(s.value, 1); break;
        case kWrapperDirty: edit->SetDirty(s.value); break;
        case kMaskUp: assist.SetModifyMask(1); break;
        case kMaskDown: assist.SetModifyMask(0); break;
      }
      EXPECT_EQ(assist.IsModified(), s.modified);
      EXPECT_EQ(edit->IsDirty(), s.editDirty);
      EXPECT_EQ(assist.GetModifyMask(), s.mask);
    }
  }
}

TEST_F(DialogAssistantTest, EnableOnModifyFollowsTheFlagAndANewEntryForcesTheNextUpdate) {
  CDialogAssistant assist(&dlg);
  assist.InitDialog();
  assist.AddEnableOnModify(kPush).UpdateCtrlStates();
  EXPECT_FALSE(IsWindowEnabled(Item(kPush)));
  EnableWindow(Item(kPush), TRUE);
  assist.UpdateCtrlStates();
  EXPECT_TRUE(IsWindowEnabled(Item(kPush))) << "the flag did not change: the list is left alone";
  assist.AddEnableOnModify(kStatic).UpdateCtrlStates();
  EXPECT_FALSE(IsWindowEnabled(Item(kPush))) << "a new entry re-applies the whole list";
  EXPECT_FALSE(IsWindowEnabled(Item(kStatic)));
  assist.SetDirty(1, 0).UpdateCtrlStates();
  EXPECT_TRUE(IsWindowEnabled(Item(kPush)));
  EXPECT_TRUE(IsWindowEnabled(Item(kStatic)));
  // The dialog's update handler has the last word on a control.
  dlg.enableRule[kPush] = FALSE;
  assist.UpdateCtrlStates();
  EXPECT_FALSE(IsWindowEnabled(Item(kPush)));
}

TEST_F(DialogAssistantTest, ButtonValuesAndRadioGroups) {
  CDialogAssistant assist(&dlg);
  assist.InitDialog();
  struct Case {
    const char* name;
    UINT button;
    int value;
    UINT before[5];  // check states of kCheck, kRadio1..3, kRadioNextGroup before
    UINT after[5];
  } cases[] = {
      {"check box on", kCheck, 1, {0, 0, 0, 0, 0}, {1, 0, 0, 0, 0}},
      {"check box off", kCheck, 0, {1, 0, 0, 0, 0}, {0, 0, 0, 0, 0}},
      {"third of the group", kRadio1, 2, {0, 1, 0, 0, 1}, {0, 0, 0, 1, 1}},
      {"first of the group", kRadio1, 0, {0, 0, 1, 1, 0}, {0, 1, 0, 0, 0}},
      {"index past the group clears it", kRadio1, 7, {0, 1, 0, 0, 1}, {0, 0, 0, 0, 1}},
      {"walk starts at this button", kRadio2, 0, {0, 1, 0, 1, 0}, {0, 1, 1, 0, 0}},
      {"push button ignores it", kPush, 1, {0, 0, 0, 0, 0}, {0, 0, 0, 0, 0}},
  };
  const UINT ids[5] = {kCheck, kRadio1, kRadio2, kRadio3, kRadioNextGroup};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    for (int i = 0; i < 5; ++i) SendMessageA(Item(ids[i]), BM_SETCHECK, c.before[i], 0);
    Log().clear();
    assist[c.button].SetValue(c.value);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(Checked(ids[i]), c.after[i]) << ids[i];
    EXPECT_FALSE(assist[c.button].IsNotifyMasked()) << "the mask is lowered again";
    EXPECT_FALSE(assist.IsModified());
    EXPECT_EQ(GetWindowTextString(Item(kPush)), "");
  }
}

TEST_F(DialogAssistantTest, TextValuesUseTheFormat) {
  CDialogAssistant assist(&dlg);
  assist.InitDialog();
  struct Case {
    const char* format;
    bool number;
    const char* expected;
  } cases[] = {
      {nullptr, true, "-42"},      {"%05d", true, "-0042"}, {"", true, "-42"},
      {nullptr, false, "abc"},     {"[%s]", false, "[abc]"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.expected);
    CDlgCtrlBase& edit = assist[kEdit];
    edit.SetFormat(c.format);
    if (c.number) edit.SetValue(-42);
    else edit.SetValue("abc");
    EXPECT_EQ(GetWindowTextString(Item(kEdit)), c.expected);
  }
}

TEST_F(DialogAssistantTest, ParentNotificationsAreSeenBeforeTheDialog) {
  CDialogAssistant assist(&dlg);
  assist.InitDialog();
  struct Case {
    const char* name;
    UINT control;
    bool masked;
    bool reachesDialog;
    BOOL modified;
  } cases[] = {
      {"check box click marks the dialog", kCheck, false, true, 1},
      {"radio click marks the dialog", kRadio2, false, true, 1},
      {"push button click does not", kPush, false, true, 0},
      {"masked click is swallowed", kCheck, true, false, 0},
      {"unwrapped control passes", kCustom, false, true, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    assist.SetDirty(0, 0);
    Log().clear();
    if (c.masked) assist[c.control].SetNotifyMask(1);
    const WPARAM w = MAKEWPARAM(WORD(c.control), BN_CLICKED);
    SendMessageA(dlg, WM_COMMAND, w, reinterpret_cast<LPARAM>(Item(c.control)));
    EXPECT_EQ(CountSeen(dlg, WM_COMMAND, (long long)w), c.reachesDialog ? 1 : 0);
    EXPECT_EQ(assist.IsModified(), c.modified);
    if (c.masked) assist[c.control].SetNotifyMask(0);
  }
  // A user's click goes the same way.
  assist.SetDirty(0, 0);
  ASSERT_TRUE(ScriptedUser::Click(Item(kCheck)));
  EXPECT_EQ(Checked(kCheck), 1u);
  EXPECT_TRUE(assist.IsModified());
}

TEST_F(DialogAssistantTest, ControlsMadeAndDestroyedLaterAreFollowed) {
  CDialogAssistant assist(&dlg);
  assist.InitDialog();
  HWND later = MakeChild(dlg, "ListBox", 701);
  ASSERT_NE(assist.GetCtrlData(701), nullptr);
  EXPECT_STREQ(assist.GetCtrlData(701)->GetRuntimeClass()->m_lpszClassName, "CDlgCtrlListBox");
  EXPECT_EQ(CountSeen(dlg, WM_PARENTNOTIFY), 1) << "the dialog still gets the message";
  DestroyWindow(later);
  EXPECT_EQ(assist.GetCtrlData(701), nullptr);
  // A window that died without telling: the next rescan drops its wrapper.
  HWND silent = MakeChild(dlg, "Edit", 702, 0, WS_EX_NOPARENTNOTIFY);
  assist.AddControl(702);
  SetWindowLongPtrA(silent, GWL_EXSTYLE, WS_EX_NOPARENTNOTIFY);
  DestroyWindow(silent);
  ASSERT_NE(assist.GetCtrlData(702), nullptr);
  assist.RescanControls();
  EXPECT_EQ(assist.GetCtrlData(702), nullptr);
}

TEST_F(DialogAssistantTest, RegisteredControlClassesStayForLaterAssistants) {
  WNDCLASSA wc{};
  wc.lpfnWndProc = &RecorderProc;
  wc.lpszClassName = "ZevGauge";
  RegisterClassA(&wc);
  MakeChild(dlg, "ZevGauge", 801);
  CDialogAssistant::RegisterControlClass("ZevGauge", "CDlgCtrlListBox");
  CDialogAssistant::RegisterControlClass("ZevGauge", "NoSuchWrapper");
  std::unique_ptr<CDlgCtrlBase> made(CDialogAssistant::CreateDlgCtrlData("ZevGauge"));
  ASSERT_NE(made, nullptr);
  EXPECT_STREQ(made->GetRuntimeClass()->m_lpszClassName, "CDlgCtrlListBox") << "an unknown name changes nothing";
  CDialogAssistant::RegisterControlClass("ZevGauge", "CDlgCtrlStatic");
  { CDialogAssistant first(&dlg); }
  CDialogAssistant second(&dlg);
  second.InitDialog();
  ASSERT_NE(second.GetCtrlData(801), nullptr);
  EXPECT_STREQ(second.GetCtrlData(801)->GetRuntimeClass()->m_lpszClassName, "CDlgCtrlStatic");
}

TEST_F(DialogAssistantTest, IdleTicksRunTheUpdatePass) {
  ManualClock clock(10'000);
  SetClock(&clock);
  CDialogAssistant assist(&dlg);
  assist.InitDialog();
  assist.AddEnableOnModify(kPush);
  GetIdleHook().Init();
  for (int i = 0; i < 6; ++i) {
    clock.Advance(100);
    PumpPending();
  }
  EXPECT_FALSE(IsWindowEnabled(Item(kPush)));
  assist.SetDirty(1, 0);
  for (int i = 0; i < 6; ++i) {
    clock.Advance(100);
    PumpPending();
  }
  EXPECT_TRUE(IsWindowEnabled(Item(kPush)));
  GetIdleHook().Exit();
  SetClock(nullptr);
}

}  // namespace
}  // namespace zev::test
