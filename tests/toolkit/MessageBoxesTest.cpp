// The message boxes and dialog bases on the null backend, whose fixed text metrics (6 x 13
// pixels a character) make every size computable by hand: the flexible box's layout, its
// buttons, cancel id and hooks; the modal and modeless dialog base with its end notice; the
// self-deleting notice; the input box; the progress window's cancel question and text cuts.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "ToolkitTestSupport.h"
#include "zevutil/CFlexMessageBox.h"
#include "zevutil/CZevDlg.h"
#include "zevutil/platform/Host.h"
#include "zevutil/platform/WindowMessageBox.h"

namespace zev::test {
namespace {

RECT ClientRectOf(HWND ctl) {
  RECT r{};
  GetWindowRect(ctl, &r);
  MapWindowPoints(nullptr, GetParent(ctl), reinterpret_cast<POINT*>(&r), 2);
  return r;
}

// What the person at the screen does once a modal box is up, given the box.
using Act = std::function<void(HWND)>;

void ClickId(HWND dlg, int id) { ScriptedUser::Click(GetDlgItem(dlg, id)); }

// Runs 'acts' one per wait of the box's loop; the box is found through the object.
void ScriptOn(CWnd* wnd, std::vector<Act> acts) {
  for (Act& a : acts) ScriptedUser::Script([wnd, a] { a(wnd->GetSafeHwnd()); });
}

// A message box handler that records the question and gives a scripted answer.
struct BoxRecorder {
  explicit BoxRecorder(std::vector<int> answers = {}) : m_answers(std::move(answers)) {
    m_old = SetMessageBoxHandler([this](HWND owner, const char* text, const char* caption, UINT style) {
      asked.push_back({owner, text ? text : "", caption ? caption : "", style});
      if (m_next < m_answers.size()) return m_answers[m_next++];
      return DefaultMessageBoxAnswer(style);
    });
  }
  ~BoxRecorder() { SetMessageBoxHandler(m_old); }
  struct Asked {
    HWND owner;
    std::string text, caption;
    UINT style;
  };
  std::vector<Asked> asked;

 private:
  std::vector<int> m_answers;
  std::size_t m_next = 0;
  MessageBoxHandler m_old;
};

class MessageBoxes : public WindowFixture {
 protected:
  void SetUp() override {
    WindowFixture::SetUp();
    SetNullTextMetrics(6, 13);
  }
};

// ---- the flexible box ----

// What one flexible box looks like once set up, computed by hand from the template (buttons
// 50 x 14 units with a gap of 8 units: 75 x 22 pixels 12 apart; base unit 6), the system
// metrics (dialog frame 3, caption 19) and the prompt's wrapping.
struct LayoutCase {
  const char* what;
  const char* prompt;
  std::vector<const char*> captions;
  int autoWidth, aspect;
  int windowW, windowH;            // window size
  RECT promptRect;                  // the prompt control, in client coordinates
  std::vector<RECT> buttons;        // in order of adding
};

TEST_F(MessageBoxes, FlexibleBoxFitsItsPromptAndButtons) {
  const LayoutCase cases[] = {
      // Row 2 x 75 + 12 = 162; width 162 + 6 x 6 + 3 (the frame once) = 201; height 13 + 24 +
      // 22 + 2 x 3 + 19 = 84; client 195 x 59; the row starts at 97 - 81 = 16.
      {"two buttons wider than the text", "Hello", {"OK", "Cancel"}, 0, 0, 201, 84,
       {82, 6, 112, 19}, {{16, 31, 91, 53}, {103, 31, 178, 53}}},
      // No button: a row of minus one gap, so the text alone sets the width.
      {"no button", "Hello", {}, 0, 0, 30 + 36 + 3, 84, {16, 6, 46, 19}, {}},
      // Auto width at aspect 3: height 22, 26, 31, 37, 44 until the wrapped text (3 lines of
      // at most 19 characters at 22 characters a line) fits.
      {"auto width, aspect 3", "The quick brown fox jumps over the lazy dog", {"OK"}, 1, 0, 114 + 39, 39 + 24 + 22 + 25,
       {16, 6, 130, 45}, {{36, 57, 111, 79}}},
      // Aspect 5: at height 22 the text wraps at 110 pixels into 3 lines; at 26, into 2 of
      // at most 25 characters.
      {"auto width, aspect 5", "The quick brown fox jumps over the lazy dog", {"Retry", "Stop"}, 1, 5, 201, 26 + 24 + 22 + 25,
       {22, 6, 172, 32}, {{16, 44, 91, 66}, {103, 44, 178, 66}}},
      // Without auto width the text keeps its own lines; a long caption widens its button
      // to 21 x 6 + 2 x 6 = 138.
      {"own line breaks, a long caption", "Line one\nSecond line here", {"Yes", "No", "A much longer caption"}, 0, 0,
       75 + 75 + 138 + 24 + 39, 26 + 24 + 22 + 25, {124, 6, 220, 32},
       {{16, 44, 91, 66}, {103, 44, 178, 66}, {190, 44, 328, 66}}},
  };
  for (const LayoutCase& c : cases) {
    SCOPED_TRACE(c.what);
    CFlexMessageBox box;
    for (const char* cap : c.captions) box.AddButton(cap);
    box.SetPrompt(c.prompt).SetAutoWidth(c.autoWidth, c.aspect).SetCancelID(77);
    bool checked = false;
    ScriptOn(&box, {[&](HWND dlg) {
      checked = true;
      RECT wr{};
      GetWindowRect(dlg, &wr);
      EXPECT_EQ(wr.right - wr.left, c.windowW);
      EXPECT_EQ(wr.bottom - wr.top, c.windowH);
      // Centred on the 1024 x 768 screen.
      EXPECT_EQ(wr.left, (1024 - c.windowW) / 2);
      EXPECT_EQ(wr.top, (768 - c.windowH) / 2);
      RECT p = ClientRectOf(GetDlgItem(dlg, IDC_FLEXMSGBOX_PROMPT));
      EXPECT_TRUE(EqualRect(&p, &c.promptRect)) << p.left << "," << p.top << "," << p.right << "," << p.bottom;
      EXPECT_EQ(GetWindowTextString(GetDlgItem(dlg, IDC_FLEXMSGBOX_PROMPT)), c.prompt);
      // The template's buttons are gone; ours sit where the layout put them.
      std::vector<RECT> got;
      for (auto& [id, b] : box.Buttons()) {
        (void)id;
        got.resize(std::max<std::size_t>(got.size(), std::size_t(b.m_nOrder) + 1));
        got[std::size_t(b.m_nOrder)] = ClientRectOf(b.m_hButton);
      }
      ASSERT_EQ(got.size(), c.buttons.size());
      for (std::size_t i = 0; i < got.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_TRUE(EqualRect(&got[i], &c.buttons[i]))
            << got[i].left << "," << got[i].top << "," << got[i].right << "," << got[i].bottom;
      }
      EXPECT_EQ(box.GetButtonGap(), 12);
      EXPECT_EQ(box.GetBaseUnit(), 6);
      EXPECT_EQ(GetWindowTextString(dlg), "Data Manager");
      PostMessageA(dlg, WM_CLOSE, 0, 0);
    }});
    // The close box is the cancel command.
    EXPECT_EQ(box.DoModal(), 77);
    EXPECT_TRUE(checked);
    EXPECT_EQ(CountThreadWindows(), 0u);
  }
}

TEST_F(MessageBoxes, ButtonsAreAddedOnceWithAutomaticIdsFrom10001) {
  CFlexMessageBox box;
  box.AddButton("First").AddButton("Second").AddButton("Named", 42).AddButton("Again", 42).AddButton("Third", -1);
  box.SetDefaultButton(10002).SetDefaultButton(999).HookButton(999, [](LONG, int) { return 1; }, 5);
  struct Expect {
    int id;
    const char* caption;
    int order;
    int flags;
  };
  const Expect expect[] = {{42, "Named", 2, 0}, {10001, "First", 0, 0}, {10002, "Second", 1, 1}, {10003, "Third", 3, 0}};
  ASSERT_EQ(box.Buttons().size(), std::size(expect));
  for (const Expect& e : expect) {
    SCOPED_TRACE(e.id);
    auto it = box.Buttons().find(e.id);
    ASSERT_NE(it, box.Buttons().end());
    EXPECT_STREQ(it->second.m_strCaption, e.caption);
    EXPECT_EQ(it->second.m_nOrder, e.order);
    EXPECT_EQ(it->second.m_nFlags, e.flags);
    EXPECT_EQ(it->second.m_pfnHook, nullptr);
  }
  EXPECT_EQ(box.GetCancelID(), IDCANCEL);
}

// The hook keeps the box open while it answers TRUE: it lets the third press through.
int g_hookCalls = 0;
LONG g_hookData = 0;
int g_hookId = 0;
int HoldTwice(LONG data, int id) {
  g_hookData = data;
  g_hookId = id;
  return ++g_hookCalls <= 2;
}

TEST_F(MessageBoxes, CommandsEndTheBoxUnlessACancelOfMinusOneOrAHookHoldsIt) {
  struct Case {
    const char* what;
    int cancelId;
    int hooked;  // the button id with the hook, or 0
    std::vector<Act> acts;
    INT_PTR result;
    int hookCalls;
  };
  auto escape = [](HWND) { ScriptedUser::PressKey(VK_ESCAPE); };
  auto close = [](HWND dlg) { ScriptedUser::Close(dlg); };
  auto enter = [](HWND) { ScriptedUser::PressKey(VK_RETURN); };
  auto click = [](int id) { return [id](HWND dlg) { ClickId(dlg, id); }; };
  auto command = [](int id) { return [id](HWND dlg) { PostMessageA(dlg, WM_COMMAND, WPARAM(id), 0); }; };
  const Case cases[] = {
      {"a button ends with its id", IDCANCEL, 0, {click(10001)}, 10001, 0},
      {"Enter presses the default button", IDCANCEL, 0, {enter}, 10002, 0},
      {"Escape answers the cancel id", IDCANCEL, 0, {escape}, IDCANCEL, 0},
      {"the close box answers the cancel id", 55, 0, {close}, 55, 0},
      {"a cancel id of -1 ignores Escape and the close box", -1, 0, {escape, close, click(10001)}, 10001, 0},
      {"an id without a button ends the box too", IDCANCEL, 0, {command(4321)}, 4321, 0},
      {"a hook holds the box twice", IDCANCEL, 10001, {click(10001), click(10001), click(10001)}, 10001, 3},
      {"a hook on the cancel id's button sees the cancel id", 10001, 10001, {escape, escape, escape}, 10001, 3},
      {"other buttons pass the hook by", IDCANCEL, 10001, {click(10002)}, 10002, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    g_hookCalls = 0;
    g_hookId = 0;
    CFlexMessageBox box;
    box.AddButton("&Keep").AddButton("&Drop").SetDefaultButton(10002).SetCancelID(c.cancelId).SetPrompt("Keep the file?");
    if (c.hooked) box.HookButton(c.hooked, HoldTwice, 1234);
    ScriptOn(&box, c.acts);
    EXPECT_EQ(box.DoModal(), c.result);
    EXPECT_EQ(ScriptedUser::PendingSteps(), 0u) << "the box ended early";
    ScriptedUser::ClearScript();
    EXPECT_EQ(g_hookCalls, c.hookCalls);
    if (c.hookCalls) {
      EXPECT_EQ(g_hookData, 1234);
      EXPECT_EQ(g_hookId, c.hooked);
    }
    EXPECT_EQ(WouldBlockCount(), 0);
  }
}

TEST_F(MessageBoxes, TheMessageBoxFormTakesItsButtonsFromTheStyle) {
  struct Case {
    UINT style;
    std::vector<Act> acts;
    int answer;
  };
  auto escape = [](HWND) { ScriptedUser::PressKey(VK_ESCAPE); };
  auto enter = [](HWND) { ScriptedUser::PressKey(VK_RETURN); };
  auto clickText = [](const char* caption) {
    return [caption](HWND) {
      HWND dlg = FindWindowA(nullptr, "Export");
      for (HWND c = GetWindow(dlg, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT))
        if (GetWindowTextString(c) == caption) ScriptedUser::Click(c);
    };
  };
  const Case cases[] = {
      {MB_OK, {escape}, IDOK},
      {MB_OKCANCEL, {enter}, IDOK},
      {MB_OKCANCEL, {escape}, IDCANCEL},
      {MB_YESNOCANCEL | MB_DEFBUTTON2, {enter}, IDNO},
      {MB_YESNO, {escape, clickText("&Yes")}, IDYES},
      {MB_ABORTRETRYIGNORE | MB_DEFBUTTON3, {enter}, IDIGNORE},
      {MB_RETRYCANCEL | MB_ICONQUESTION, {clickText("&Retry")}, IDRETRY},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.style);
    for (const Act& a : c.acts) ScriptedUser::Script([a] { a(nullptr); });
    EXPECT_EQ(FlexMessageBox(nullptr, "Overwrite the existing file?", "Export", c.style), c.answer);
    EXPECT_EQ(ScriptedUser::PendingSteps(), 0u);
    ScriptedUser::ClearScript();
  }
  // The null backend shows nothing, so MessageBoxA keeps its terminal form here.
  UseFlexMessageBoxes();
  EXPECT_FALSE(WindowMessageBoxAvailable());
}

// ---- the dialog base ----

constexpr int kEdit = 1001;
constexpr const char* kTestTemplate = "ZEVDLG_TEST";

void RegisterTestTemplate() {
  DialogTemplate t(WS_POPUP | WS_CAPTION | DS_MODALFRAME | WS_VISIBLE, 0, 0, 160, 60, "Settings");
  t.EditText(kEdit, 7, 7, 60, 12)
      .DefPushButton("OK", IDOK, 7, 40, 40, 14)
      .PushButton("Cancel", IDCANCEL, 55, 40, 40, 14)
      .PushButton("Abort", IDABORT, 103, 40, 40, 14);
  RegisterDialogTemplate(kTestTemplate, t);
}

class ZevDlgTest : public MessageBoxes {
 protected:
  void SetUp() override {
    MessageBoxes::SetUp();
    RegisterTestTemplate();
  }
};

TEST_F(ZevDlgTest, ModalEndsThroughTheBaseAndKeepsTheResult) {
  struct Case {
    const char* what;
    std::vector<Act> acts;
    INT_PTR result;
  };
  auto click = [](int id) { return [id](HWND dlg) { ClickId(dlg, id); }; };
  const Case cases[] = {
      {"OK", {click(IDOK)}, IDOK},
      {"Cancel", {click(IDCANCEL)}, IDCANCEL},
      {"the close box becomes Cancel", {[](HWND dlg) { ScriptedUser::Close(dlg); }}, IDCANCEL},
      {"Abort only notes the id", {click(IDABORT), click(IDOK)}, IDOK},
      // The loop stops as soon as the window is gone.
      {"destroyed from outside", {[](HWND dlg) {
         DestroyWindow(dlg);
         PostMessageA(nullptr, WM_NULL, 0, 0);
       }}, -1},
  };
  HWND owner = MakeTop();
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    CWnd parent(owner);
    CZevDlg dlg(const_cast<char*>(kTestTemplate), "Run settings", &parent);
    std::string title;
    bool ownerDisabled = false;
    ScriptOn(&dlg, {[&](HWND d) {
      title = GetWindowTextString(d);
      ownerDisabled = !IsWindowEnabled(owner);
    }});
    for (const Act& a : c.acts) ScriptOn(&dlg, {a});
    EXPECT_EQ(dlg.DoModal(), c.result);
    EXPECT_EQ(dlg.GetResult(), int(c.result));
    EXPECT_EQ(title, "Run settings");
    EXPECT_TRUE(ownerDisabled);
    EXPECT_TRUE(IsWindowEnabled(owner));
    EXPECT_FALSE(dlg.IsModeless());
    EXPECT_EQ(ScriptedUser::PendingSteps(), 0u);
    ScriptedUser::ClearScript();
    parent.Detach();
  }
}

TEST_F(ZevDlgTest, ModelessPostsItsEndToTheNotifyTargetAndGivesTheParentBack) {
  struct Case {
    const char* what;
    std::function<void(HWND)> act;
    WORD endId;
    bool parentEnabledBefore;
  };
  const Case cases[] = {
      {"OK", [](HWND d) { ClickId(d, IDOK); }, IDOK, true},
      {"Cancel", [](HWND d) { ClickId(d, IDCANCEL); }, IDCANCEL, true},
      {"Abort", [](HWND d) { ClickId(d, IDABORT); }, IDABORT, true},
      {"the close box", [](HWND d) { SendMessageA(d, WM_CLOSE, 0, 0); }, 8, true},
      {"a parent disabled before stays disabled", [](HWND d) { ClickId(d, IDOK); }, IDOK, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Log().clear();
    HWND target = MakeTop(), parentWnd = MakeTop();
    CWnd notify(target), parent(parentWnd);
    if (!c.parentEnabledBefore) EnableWindow(parentWnd, FALSE);
    CZevDlg dlg;
    EXPECT_TRUE(dlg.IsModeless());
    ASSERT_TRUE(dlg.Create(kTestTemplate, "Live view", &notify, &parent, TRUE, 4242));
    HWND self = dlg.GetSafeHwnd();
    EXPECT_EQ(GetParent(self), target) << "made under the notify target";
    EXPECT_EQ(GetWindowTextString(self), "Live view");
    EXPECT_FALSE(IsWindowEnabled(parentWnd));
    SetDlgItemTextA(self, kEdit, "12");
    c.act(self);
    PumpPending();
    EXPECT_FALSE(IsWindow(self));
    EXPECT_EQ(dlg.GetSafeHwnd(), nullptr);
    EXPECT_EQ(dlg.GetResult(), int(c.endId));
    EXPECT_EQ(bool(IsWindowEnabled(parentWnd)), c.parentEnabledBefore);
    if (c.parentEnabledBefore) {
      EXPECT_EQ(GetFocus(), parentWnd);
    }
    EXPECT_EQ(CountSeen(target, WM_COMMAND, LONG_PTR(MAKEWPARAM(4242, WORD(c.endId + 800)))), 1);
    for (const Seen& s : Log())
      if (s.hwnd == target && s.message == WM_COMMAND) {
        EXPECT_EQ(s.lParam, reinterpret_cast<LPARAM>(self));
      }
    notify.Detach();
    parent.Detach();
    DestroyWindow(target);
    DestroyWindow(parentWnd);
  }
}

TEST_F(ZevDlgTest, CreateRefusesWindowsThatAreGone) {
  HWND top = MakeTop();
  CWnd live(top);
  HWND deadHandle = MakeTop();
  DestroyWindow(deadHandle);
  CWnd dead(deadHandle);
  struct Case {
    const char* what;
    CWnd* target;
    CWnd* parent;
    BOOL made;
  };
  const Case cases[] = {{"dead notify target", &dead, &live, FALSE},
                        {"dead parent", &live, &dead, FALSE},
                        {"neither given", nullptr, nullptr, TRUE},
                        {"both live", &live, &live, TRUE}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    CZevDlg dlg;
    EXPECT_EQ(dlg.Create(kTestTemplate, nullptr, c.target, c.parent, FALSE, 1), c.made);
    EXPECT_EQ(dlg.GetSafeHwnd() != nullptr, bool(c.made));
  }
  live.Detach();
  dead.Detach();
}

TEST_F(ZevDlgTest, SpinEditVerifyAcceptsTheBoundsAndExplainsTheRange) {
  struct Case {
    const char* text;
    double minimum, maximum;
    int decimals;
    BOOL ok;
    const char* message;
  };
  const Case cases[] = {
      {"5", 1, 10, 0, TRUE, nullptr},
      {"1", 1, 10, 0, TRUE, nullptr},
      {"10", 1, 10, 0, TRUE, nullptr},
      {"10.0001", 1, 10, 0, FALSE, "Please enter a value between 1 and 10"},
      {"0", 1, 10, 0, FALSE, "Please enter a value between 1 and 10"},
      {"abc", 1, 10, 0, FALSE, "Please enter a value between 1 and 10"},
      {"2.6", 1.25, 2.5, 2, FALSE, "Please enter a value between 1.25 and 2.50"},
      {"2.5", 1.25, 2.5, 2, TRUE, nullptr},
      {"-1", 0, 0.5, 1, FALSE, "Please enter a value between 0.0 and 0.5"},
      {"7", 2.5, 6.5, 0, FALSE, "Please enter a value between 2 and 6"},  // %.0f rounds half to even
  };
  CZevDlg dlg;
  ASSERT_TRUE(dlg.Create(kTestTemplate, "Limits", nullptr, nullptr, FALSE, 1));
  HWND edit = GetDlgItem(dlg.GetSafeHwnd(), kEdit);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    SetFocus(GetDlgItem(dlg.GetSafeHwnd(), IDOK));
    SetWindowTextA(edit, c.text);
    BoxRecorder boxes;
    EXPECT_EQ(dlg.SpinEditVerify(kEdit, c.minimum, c.maximum, c.decimals), c.ok);
    if (c.message) {
      ASSERT_EQ(boxes.asked.size(), 1u);
      EXPECT_EQ(boxes.asked[0].text, c.message);
      EXPECT_EQ(GetFocus(), edit);
    } else {
      EXPECT_TRUE(boxes.asked.empty());
      EXPECT_NE(GetFocus(), edit);
    }
  }
}

// ---- the notice ----

int g_noticesDeleted = 0;
class CountedNotice : public CZevMsgBox {
 public:
  using CZevMsgBox::CZevMsgBox;
  ~CountedNotice() override { ++g_noticesDeleted; }
};

TEST_F(MessageBoxes, TheNoticeShowsItsIconAndDeletesItselfOnceItsWindowIsGone) {
  struct Case {
    const char* what;
    std::function<CountedNotice*()> make;
    UINT style;
    LPCSTR icon;
    int clientW;                  // from the template: 260 or 200 units wide
    std::function<void(HWND)> end;
    bool posted;
  };
  constexpr UINT kDone = WM_APP + 7;
  auto ok = [](HWND d) { ClickId(d, IDOK); };
  const Case cases[] = {
      {"large, error icon, OK posts", [] { return new CountedNotice(TRUE, kDone); }, MB_ICONHAND, IDI_HAND, 390, ok, true},
      {"small, question", [] { return new CountedNotice(FALSE, kDone); }, MB_ICONQUESTION, IDI_QUESTION, 300, ok, true},
      {"warning, no message to post", [] { return new CountedNotice(0u); }, MB_ICONEXCLAMATION, IDI_EXCLAMATION, 390, ok,
       false},
      {"information, small by number", [] { return new CountedNotice(IDD_ZEVMSGBOX_SMALL); }, MB_ICONASTERISK,
       IDI_ASTERISK, 300, ok, false},
      {"no icon style: the module's icon", [] { return new CountedNotice(TRUE, kDone); }, MB_OK, IDI_APPLICATION, 390,
       ok, true},
      {"Escape closes without the message", [] { return new CountedNotice(TRUE, kDone); }, 0x50, IDI_APPLICATION, 390,
       [](HWND d) { SendMessageA(d, WM_COMMAND, IDCANCEL, 0); }, false},
      {"destroyed from outside", [] { return new CountedNotice(TRUE, kDone); }, MB_ICONHAND, IDI_HAND, 390,
       [](HWND d) { DestroyWindow(d); }, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Log().clear();
    g_noticesDeleted = 0;
    HWND ownerWnd = MakeTop();
    SetWindowTextA(ownerWnd, "Instrument control");
    CWnd owner(ownerWnd);
    CountedNotice* notice = c.make();
    ASSERT_TRUE(notice->DisplayMessage("The run has finished.", c.style, &owner));
    HWND self = notice->GetSafeHwnd();
    EXPECT_TRUE(IsWindowVisible(self));
    EXPECT_EQ(GetWindowTextString(GetDlgItem(self, IDC_ZEVMSGBOX_TEXT)), "The run has finished.");
    EXPECT_EQ(GetWindowTextString(self), "Instrument control") << "the title comes from the owner";
    EXPECT_EQ(SendDlgItemMessageA(self, IDC_ZEVMSGBOX_ICON, STM_GETICON, 0, 0),
              reinterpret_cast<LRESULT>(LoadIconA(nullptr, c.icon)));
    RECT client{};
    GetClientRect(self, &client);
    EXPECT_EQ(client.right, c.clientW);
    // Centred on its owner (400 x 300 client at 100, 50).
    RECT ow{}, nw{};
    GetWindowRect(ownerWnd, &ow);
    GetWindowRect(self, &nw);
    EXPECT_EQ((nw.left + nw.right) / 2, (ow.left + ow.right) / 2);
    c.end(self);
    PumpPending();
    EXPECT_FALSE(IsWindow(self));
    EXPECT_EQ(g_noticesDeleted, 1);
    EXPECT_EQ(CountSeen(ownerWnd, kDone), c.posted ? 1 : 0);
    owner.Detach();
    DestroyWindow(ownerWnd);
  }
}

TEST_F(MessageBoxes, TheNoticeKeepsAGivenTitle) {
  auto* notice = new CZevMsgBox(FALSE, 0);
  notice->SetTitle("Backup");
  ASSERT_TRUE(notice->DisplayMessage("Done.", MB_ICONASTERISK, nullptr));
  HWND self = notice->GetSafeHwnd();
  EXPECT_EQ(GetWindowTextString(self), "Backup");
  DestroyWindow(self);
  EXPECT_FALSE(IsWindow(self));
}

// ---- the input box ----

TEST_F(MessageBoxes, InputBoxExchangesItsTwoFields) {
  struct Case {
    const char* what;
    const char* first;
    const char* second;
    int end;
    INT_PTR result;
    const char* firstAfter;
    const char* secondAfter;
  };
  const Case cases[] = {
      {"OK takes both fields", "Run 12", "cap 3", IDOK, IDOK, "Run 12", "cap 3"},
      {"OK with empty fields", "", "", IDOK, IDOK, "", ""},
      {"Cancel keeps the old values", "Run 12", "cap 3", IDCANCEL, IDCANCEL, "old first", "old second"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    CInputBoxDlg dlg;
    dlg.m_strFirst = "old first";
    dlg.m_strSecond = "old second";
    std::string shownFirst;
    ScriptOn(&dlg, {[&](HWND d) {
      shownFirst = GetWindowTextString(GetDlgItem(d, IDC_INPUTBOX_FIRST));
      ScriptedUser::SetText(GetDlgItem(d, IDC_INPUTBOX_FIRST), c.first);
      ScriptedUser::SetText(GetDlgItem(d, IDC_INPUTBOX_SECOND), c.second);
      ClickId(d, c.end);
    }});
    EXPECT_EQ(dlg.DoModal(), c.result);
    EXPECT_EQ(shownFirst, "old first") << "the fields go into the controls first";
    EXPECT_STREQ(dlg.m_strFirst, c.firstAfter);
    EXPECT_STREQ(dlg.m_strSecond, c.secondAfter);
  }
}

// ---- the progress window ----

int g_progressDeleted = 0;
class CountedProgress : public CProgressControlDlg {
 public:
  using CProgressControlDlg::CProgressControlDlg;
  ~CountedProgress() override { ++g_progressDeleted; }
};

int BarPos(CProgressControlDlg* dlg) {
  return int(SendDlgItemMessageA(dlg->GetSafeHwnd(), IDC_PROGRESS_BAR, PBM_GETPOS, 0, 0));
}

TEST_F(MessageBoxes, ProgressMovesByPositionOverTotal) {
  struct Case {
    const char* what;
    bool byDefaultConstructor;
    int total;  // set before the steps, or -1 to keep the constructor's
    std::vector<int> bar;
  };
  const Case cases[] = {
      {"made at once: total 1", false, -1, {100, 100}},
      {"made later: total 0 shows 100", true, -1, {100, 100}},
      {"total 4, then past it", false, 4, {25, 50, 75, 100, 100}},
      {"total 3 rounds down", true, 3, {33, 66, 100, 100}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    CProgressControlDlg* dlg = nullptr;
    if (c.byDefaultConstructor) {
      dlg = new CProgressControlDlg;
      ASSERT_TRUE(dlg->CreateProgressDialog("Exporting", nullptr, FALSE));
      EXPECT_EQ(dlg->GetTotalCount(), 0);
    } else {
      dlg = new CProgressControlDlg("Exporting", nullptr, FALSE);
      EXPECT_EQ(dlg->GetTotalCount(), 1);
    }
    HWND self = dlg->GetSafeHwnd();
    ASSERT_TRUE(self);
    EXPECT_EQ(GetWindowTextString(self), "Exporting");
    EXPECT_TRUE(IsWindowVisible(GetDlgItem(self, IDCANCEL)));
    if (c.total >= 0) dlg->SetTotalCount(c.total);
    for (std::size_t i = 0; i < c.bar.size(); ++i) {
      SCOPED_TRACE(i);
      std::string text = "file " + std::to_string(i);
      dlg->DisplayNext(text.c_str());
      EXPECT_EQ(dlg->GetPosition(), int(i) + 1);
      EXPECT_EQ(BarPos(dlg), c.bar[i]);
      EXPECT_EQ(GetWindowTextString(GetDlgItem(self, IDC_PROGRESS_TEXT)), text);
    }
    dlg->Reset();
    EXPECT_EQ(dlg->GetPosition(), 0);
    DestroyWindow(self);
  }
}

TEST_F(MessageBoxes, ProgressWithoutCancelWidensItsBar) {
  auto* dlg = new CProgressControlDlg("Reading", nullptr, TRUE);
  HWND self = dlg->GetSafeHwnd();
  HWND cancel = GetDlgItem(self, IDCANCEL);
  EXPECT_FALSE(IsWindowVisible(cancel));
  RECT bar = ClientRectOf(GetDlgItem(self, IDC_PROGRESS_BAR)), button = ClientRectOf(cancel);
  EXPECT_EQ(bar.right, button.right);
  EXPECT_EQ(bar.left, 7 * 6 / 4);
  DestroyWindow(self);
}

TEST_F(MessageBoxes, CancelAsksWhetherToStopAndYesKeepsAsking) {
  struct Case {
    const char* what;
    std::vector<int> answers;     // to the question, in order
    std::vector<int> continues;   // what each Continue after the click answers
    std::size_t questions;
  };
  const Case cases[] = {
      {"no: go on, ask no more", {IDNO}, {1, 1}, 1},
      {"yes: stop, and a later call asks again", {IDYES, IDYES}, {0, 0}, 2},
      {"yes, then no", {IDYES, IDNO}, {0, 1, 1}, 2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    g_progressDeleted = 0;
    HWND ownerWnd = MakeTop();
    CWnd owner(ownerWnd);
    auto* dlg = new CountedProgress("Exporting", &owner, FALSE);
    HWND self = dlg->GetSafeHwnd();
    BoxRecorder boxes(c.answers);
    EXPECT_EQ(dlg->Continue(), 1);
    EXPECT_TRUE(boxes.asked.empty());
    // A click on Cancel arrives while the worker is between steps.
    PostMessageA(self, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), 0);
    for (std::size_t i = 0; i < c.continues.size(); ++i) {
      SCOPED_TRACE(i);
      EXPECT_EQ(dlg->Continue(), c.continues[i]);
      if (i == 0) {
        EXPECT_EQ(GetWindowTextString(GetDlgItem(self, IDC_PROGRESS_TEXT)), "Cancelling...Please Wait...");
      }
    }
    ASSERT_EQ(boxes.asked.size(), c.questions);
    for (const auto& q : boxes.asked) {
      EXPECT_EQ(q.text, "Are you sure you want to cancel?");
      EXPECT_EQ(q.caption, "Cancel operation");
      EXPECT_EQ(q.style, UINT(MB_YESNO | MB_ICONQUESTION));
      EXPECT_EQ(q.owner, ownerWnd);
    }
    EXPECT_TRUE(IsWindow(self)) << "the window stays until the worker is done";
    DestroyWindow(self);
    EXPECT_EQ(g_progressDeleted, 1);
    owner.Detach();
    DestroyWindow(ownerWnd);
  }
}

// A WM_TIMER of a live timer carries its procedure: this one ends the progress window.
HWND g_doomed = nullptr;
void DestroyDoomed(HWND, UINT, UINT_PTR, DWORD) { DestroyWindow(g_doomed); }

TEST_F(MessageBoxes, ProgressDeletesItselfWhenItsWindowGoesEvenInsideContinue) {
  g_progressDeleted = 0;
  auto* dlg = new CountedProgress;
  ASSERT_TRUE(dlg->CreateProgressDialog("Copying", nullptr, FALSE));
  g_doomed = dlg->GetSafeHwnd();
  // The window goes while Continue runs its messages: Continue answers 0 and touches
  // nothing of the deleted object (ASan would say so).
  SetTimer(g_doomed, 1, 60000, &DestroyDoomed);
  PostMessageA(g_doomed, WM_TIMER, 1, reinterpret_cast<LPARAM>(&DestroyDoomed));
  PostMessageA(g_doomed, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), 0);
  BoxRecorder boxes;
  EXPECT_EQ(dlg->Continue(), 0);
  EXPECT_FALSE(IsWindow(g_doomed));
  EXPECT_EQ(g_progressDeleted, 1);
  EXPECT_TRUE(boxes.asked.empty());
  PumpPending();  // the Cancel posted to the window that is gone
}

TEST_F(MessageBoxes, FormatNDisplayNextCutsTenCharactersAtATime) {
  // The text line is 226 units = 339 pixels wide: texts up to 508 pixels (84 characters)
  // pass.
  auto digits = [](std::size_t n) {
    std::string s;
    for (std::size_t i = 0; i < n; ++i) s += char('0' + i % 10);
    return s;
  };
  struct Case {
    const char* what;
    std::string format;
    std::string text;
    std::string shown;
  };
  const std::string d80 = digits(80), d100 = digits(100), d600 = digits(600);
  const Case cases[] = {
      {"fits as it is", "Exporting %s", digits(74), "Exporting " + digits(74)},
      {"one cut", "Exporting %s", d80, "Exporting " + d80.substr(0, 70) + "..."},
      // 100 -> 90+3 -> 83+3 -> 76+3 -> 69+3: each pass cuts the earlier "..." too.
      {"several cuts", "Exporting %s", d100, "Exporting " + d100.substr(0, 69) + "..."},
      // Only the first 511 characters are taken.
      // Only the first 511 characters are taken: 61 cuts of 7 leave 81 of them and "...".
      {"a long text", "%s", d600, d600.substr(0, 81) + "..."},
      {"a short text on a line too narrow for the format", std::string(90, '#') + "%s", "abcdefgh",
       std::string(90, '#') + "..."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    auto* dlg = new CProgressControlDlg("Exporting", nullptr, FALSE);
    HWND self = dlg->GetSafeHwnd();
    dlg->FormatNDisplayNext(c.format.c_str(), c.text.c_str());
    EXPECT_EQ(GetWindowTextString(GetDlgItem(self, IDC_PROGRESS_TEXT)), c.shown);
    EXPECT_EQ(dlg->GetPosition(), 1);
    DestroyWindow(self);
  }
}

}  // namespace
}  // namespace zev::test
