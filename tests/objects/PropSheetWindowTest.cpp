// The properties sheet as a window on the null backend: the tabs are the pages present in
// sheet order, each page window holds its labels and texts in order, nothing can be edited,
// the sheet ends with "&Close" and "&Help" only, a tab picked by the user shows its page,
// and closing ends the modal loop.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "zevutil/PropPages.h"
#include "zevutil/platform/Window.h"
#include "zevutil/platform/WindowTesting.h"

using namespace zev;

namespace {

class PropSheetWindow : public ::testing::Test {
 protected:
  void SetUp() override {
    UseNullWindowBackend();
    SetNullTextMetrics(6, 13);
  }
  void TearDown() override { ResetWindowTestState(); }
};

std::vector<std::string> TabTexts(HWND tab) {
  std::vector<std::string> out;
  int n = int(SendMessageA(tab, TCM_GETITEMCOUNT, 0, 0));
  for (int i = 0; i < n; ++i) {
    char buf[64] = {};
    TCITEMA item{};
    item.mask = TCIF_TEXT;
    item.pszText = buf;
    item.cchTextMax = sizeof buf;
    SendMessageA(tab, TCM_GETITEMA, WPARAM(i), LPARAM(&item));
    out.push_back(buf);
  }
  return out;
}

// The texts of a page window's children in creation order.
std::vector<std::string> ChildTexts(HWND page) {
  std::vector<std::string> out;
  for (HWND c = GetWindow(page, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT)) out.push_back(GetWindowTextString(c));
  return out;
}

RECT ChildRect(HWND c) {
  RECT r{};
  GetWindowRect(c, &r);
  MapWindowPoints(nullptr, GetParent(c), reinterpret_cast<POINT*>(&r), 2);
  return r;
}

}  // namespace

TEST_F(PropSheetWindow, TabsAndPagesShowThePagesPresentWithTheirLabelsAndTexts) {
  GeneralPage general;
  general.m_strObjectName = "run_0001.ab1";
  general.m_strDatabase = "Local";
  general.m_strProject = "Demo";
  general.m_strType = "Sample";
  NotesPage notes;
  notes.m_strNote = "first line\r\nsecond line";
  PropList props;
  props.Add("Lane", "7");
  FragLocusTagList loci;
  loci.m_Tags.Add("D8S1179");
  loci.m_Tags.Add("D21S11");
  PropPages pages;
  pages.m_pGeneral = &general;
  pages.m_pNotes = &notes;
  pages.m_pProperties = &props;
  pages.m_pLocusTags = &loci;
  CComObjectPropertiesDlg dlg(pages, 0, 0, 0);
  HWND sheet = dlg.Create();
  ASSERT_NE(sheet, nullptr);
  EXPECT_EQ(GetWindowTextString(sheet), "Properties");
  HWND tab = GetDlgItem(sheet, CComObjectPropertiesDlg::kTabId);
  ASSERT_NE(tab, nullptr);
  EXPECT_EQ(TabTexts(tab), (std::vector<std::string>{"General", "Notes", "Property Set", "Locus Tags"}));

  struct Case {
    int page;
    std::vector<std::string> texts;  // label, text, label, text ... as the page shows them
  };
  const std::string modified = dlg.GetPage(0)->m_Fields[1].m_strText.str();
  const Case cases[] = {
      {0,
       {"run_0001.ab1", "Database:", "Local", "Modified:", modified, "Project:", "Demo", "Cap Array Serial No:", "",
        "Type:", "Sample", "Sample Plate Barcode:", ""}},
      {1, {"Note:", "first line\r\nsecond line"}},
      {2, {"Lane", "7"}},
      {3, {"Locus Tags", ""}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.page);
    HWND page = dlg.GetPageWindow(c.page);
    ASSERT_NE(page, nullptr);
    EXPECT_EQ(ChildTexts(page), c.texts);
    // Nothing on a page takes typing: texts are static, a note's edit is read-only.
    for (HWND ch = GetWindow(page, GW_CHILD); ch; ch = GetWindow(ch, GW_HWNDNEXT)) {
      char cls[32] = {};
      GetClassNameA(ch, cls, sizeof cls);
      if (std::string(cls) == "Edit") EXPECT_TRUE(GetWindowLongA(ch, GWL_STYLE) & ES_READONLY);
      else EXPECT_TRUE(std::string(cls) == "Static" || std::string(cls) == "ListBox") << cls;
    }
  }
  HWND list = GetDlgItem(dlg.GetPageWindow(3), CComObjectPropertiesDlg::kListId);
  EXPECT_EQ(SendMessageA(list, LB_GETCOUNT, 0, 0), 2);

  // Only the first page shows; picking a tab as a user would shows its page alone.
  EXPECT_TRUE(IsWindowVisible(dlg.GetPageWindow(0)));
  EXPECT_FALSE(IsWindowVisible(dlg.GetPageWindow(2)));
  ASSERT_TRUE(ScriptedUser::Select(tab, 2));
  for (int i = 0; i < 4; ++i) EXPECT_EQ(IsWindowVisible(dlg.GetPageWindow(i)) != 0, i == 2) << i;

  // The buttons after OnInitDialog: "OK" and "&Apply" hidden, "&Close" and "&Help" shown.
  struct Button {
    int id;
    const char* text;
    bool visible;
  };
  for (const Button& b : {Button{IDOK, "OK", false}, Button{IDCANCEL, "&Close", true},
                          Button{CComObjectPropertiesDlg::kApplyId, "&Apply", false}, Button{IDHELP, "&Help", true}}) {
    SCOPED_TRACE(b.text);
    HWND h = GetDlgItem(sheet, b.id);
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(GetWindowTextString(h), b.text);
    EXPECT_EQ(IsWindowVisible(h) != 0, b.visible);
  }
  // The model saw the same child windows.
  int buttons = 0;
  for (const SheetControl& c : dlg.Controls()) buttons += c.m_strClass == "Button" && c.m_bVisible;
  EXPECT_EQ(buttons, 2);

  // Help leaves the sheet open; Close destroys the modeless window.
  EXPECT_TRUE(ScriptedUser::Click(GetDlgItem(sheet, IDHELP)));
  EXPECT_TRUE(IsWindow(sheet));
  EXPECT_TRUE(dlg.ContinueModal());
  EXPECT_TRUE(ScriptedUser::Click(GetDlgItem(sheet, IDCANCEL)));
  EXPECT_FALSE(IsWindow(sheet));
  EXPECT_FALSE(dlg.ContinueModal());
  EXPECT_EQ(dlg.GetSafeHwnd(), nullptr);
}

TEST_F(PropSheetWindow, LayoutHoldsEveryTextWithoutOverlap) {
  // Fixed metrics: 6 px a character, 13 px a line, so every size can be checked by hand.
  ResultGeneralPage result;
  result.m_strObjectName = "A sample whose name is long enough to need more than one line on the page title";
  result.m_strOperator = "operator";
  result.m_strSubject = std::string(120, 'x').c_str();  // wraps within the text column
  ConsumableInfo consumable;
  PropPages pages;
  pages.m_pResultGeneral = &result;
  pages.m_pConsumable = &consumable;
  CComObjectPropertiesDlg dlg(pages, 0, 0, 0);
  HWND sheet = dlg.Create();
  ASSERT_NE(sheet, nullptr);
  RECT display{};
  GetClientRect(dlg.GetPageWindow(0), &display);
  for (int p = 0; p < dlg.GetPageCount(); ++p) {
    HWND page = dlg.GetPageWindow(p);
    SCOPED_TRACE(dlg.GetPage(p)->m_strCaption.str());
    RECT prev{0, 0, 0, 0};
    for (HWND c = GetWindow(page, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT)) {
      std::string text = GetWindowTextString(c);
      SCOPED_TRACE(text);
      RECT r = ChildRect(c);
      // Inside the page.
      EXPECT_GE(r.left, 0);
      EXPECT_LE(r.right, display.right);
      EXPECT_LE(r.bottom, display.bottom);
      // The text fits its rectangle at the rectangle's width.
      SIZE s{};
      const bool wraps = (GetWindowLongA(c, GWL_STYLE) & SS_TYPEMASK) != SS_LEFTNOWORDWRAP;
      GetWindowTextExtent(c, text.empty() ? " " : text.c_str(), wraps ? r.right - r.left : 0, &s);
      EXPECT_LE(s.cx, r.right - r.left);
      EXPECT_LE(s.cy, r.bottom - r.top);
      // A label starts a row below the previous row; its text sits beside it.
      if (r.left <= prev.left) {
        EXPECT_GE(r.top, prev.bottom);
      }
      if (r.left <= prev.left || prev.right == 0) prev = r;
    }
  }
  // The subject wraps to three lines of the 320-px text column.
  HWND page = dlg.GetPageWindow(0);
  HWND subject = nullptr;
  for (HWND c = GetWindow(page, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT))
    if (GetWindowTextString(c) == std::string(120, 'x')) subject = c;
  ASSERT_NE(subject, nullptr);
  RECT r = ChildRect(subject);
  EXPECT_EQ(r.right - r.left, 320);
  EXPECT_EQ(r.bottom - r.top, 3 * 13 + 2);
  // The buttons stand right-aligned under the tab control, Close before Help.
  RECT close = ChildRect(GetDlgItem(sheet, IDCANCEL)), help = ChildRect(GetDlgItem(sheet, IDHELP));
  RECT tab = ChildRect(GetDlgItem(sheet, CComObjectPropertiesDlg::kTabId)), client{};
  GetClientRect(sheet, &client);
  EXPECT_LT(close.right, help.left);
  EXPECT_EQ(help.right, client.right - 8);
  EXPECT_GE(close.top, tab.bottom);
  EXPECT_LE(close.bottom, client.bottom);
}

TEST_F(PropSheetWindow, ModalSheetRunsUntilTheUserClosesIt) {
  struct Case {
    const char* name;
    bool escape;  // Escape instead of a click on "&Close"
  };
  for (const Case& c : {Case{"close button", false}, Case{"escape key", true}}) {
    SCOPED_TRACE(c.name);
    NotesPage notes;
    PropPages pages;
    pages.m_pNotes = &notes;
    CComObjectPropertiesDlg dlg(pages, 0, 0, 0);
    bool sawWindow = false;
    ScriptedUser::Script([&] {
      sawWindow = dlg.GetSafeHwnd() && IsWindowVisible(dlg.GetSafeHwnd());
      if (c.escape)
        ScriptedUser::PressKey(VK_ESCAPE);
      else
        ScriptedUser::Click(GetDlgItem(dlg.GetSafeHwnd(), IDCANCEL));
    });
    EXPECT_EQ(dlg.DoModal(), IDCANCEL);
    EXPECT_TRUE(sawWindow);
    EXPECT_EQ(dlg.GetSafeHwnd(), nullptr);
    EXPECT_EQ(WouldBlockCount(), 0);
    EXPECT_EQ(CountThreadWindows(), 0u);
  }
}

TEST_F(PropSheetWindow, SheetWithoutPagesStillCloses) {
  PropPages none;
  CComObjectPropertiesDlg dlg(none, 0, 0, 0);
  HWND sheet = dlg.Create();
  ASSERT_NE(sheet, nullptr);
  EXPECT_EQ(SendMessageA(GetDlgItem(sheet, CComObjectPropertiesDlg::kTabId), TCM_GETITEMCOUNT, 0, 0), 0);
  EXPECT_EQ(dlg.GetPageWindow(0), nullptr);
  ScriptedUser::Close(sheet);
  PumpPending();
  EXPECT_FALSE(IsWindow(sheet));
}
