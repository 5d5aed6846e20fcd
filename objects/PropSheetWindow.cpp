// The properties sheet as a window: a tab control with one tab per page of the model, a
// child window per page holding its labels and texts, and the sheet's buttons, which
// OnInitDialog turns into "&Close" and "&Help". Every text is shown read-only: labels and
// values are static text, a note is a read-only edit, a list shows without selection.
//
// Sizes come from measuring the texts with the font that draws them, so that nothing is
// cut: the label column is as wide as the widest label of any page, a value wraps within
// its column and its row grows to hold it, and the sheet is as large as its largest page.
#include <algorithm>

#include "zevutil/PropPages.h"
#include "zevutil/platform/Window.h"
#include "zevutil/platform/Wnd.h"

namespace zev {

namespace {

constexpr char kPageClass[] = "ZevPropertyPage";
constexpr int kMargin = 8;        // around the tab control and between it and the buttons
constexpr int kPagePad = 8;       // inside a page
constexpr int kColumnGap = 8;     // between a label and its text
constexpr int kRowGap = 3;
constexpr int kMinTextWidth = 180, kMaxTextWidth = 320;
constexpr int kButtonGap = 6;
constexpr int kNoteLines = 8;     // the note's edit shows this many lines at most before scrolling
constexpr int kListRows = 6;

LRESULT PageProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) { return DefWindowProcA(hwnd, msg, wParam, lParam); }

void RegisterPageClass() {
  static const bool done = [] {
    WNDCLASSA wc{};
    wc.lpfnWndProc = PageProc;
    wc.lpszClassName = kPageClass;
    RegisterClassA(&wc);  // 0 when it exists already: fine
    return true;
  }();
  (void)done;
}

SIZE Measure(HWND hwnd, const CString& text, int wrap = 0) {
  SIZE s{0, 0};
  GetWindowTextExtent(hwnd, text.IsEmpty() ? " " : static_cast<const char*>(text), wrap, &s);
  return s;
}

HWND Child(HWND parent, const char* cls, const char* text, DWORD style, int id, const RECT& r, DWORD ex = 0) {
  return CreateWindowExA(ex | WS_EX_NOPARENTNOTIFY, cls, text, WS_CHILD | style, r.left, r.top, r.right - r.left,
                         r.bottom - r.top, parent, reinterpret_cast<HMENU>(std::intptr_t(id)), nullptr, nullptr);
}

}  // namespace

HWND CComObjectPropertiesDlg::GetPageWindow(int index) const {
  return index >= 0 && index < int(m_PageWnds.size()) ? m_PageWnds[std::size_t(index)] : nullptr;
}

void CComObjectPropertiesDlg::ShowPage(int index) {
  for (int i = 0; i < int(m_PageWnds.size()); ++i) ShowWindow(m_PageWnds[std::size_t(i)], i == index ? SW_SHOW : SW_HIDE);
}

void CComObjectPropertiesDlg::BuildWindow(HWND dlg) {
  RegisterPageClass();
  const int lineH = Measure(dlg, "Ag").cy;
  const int rowH = lineH + 2;

  // The widest label and the widest value of every page give the two columns.
  int labelW = 0, valueW = 0;
  std::vector<std::vector<PropField>> fields;
  for (const CPropertyPageModel* p : m_Pages) {
    fields.push_back(p->GetFields());
    for (const PropField& f : fields.back()) {
      labelW = std::max<int>(labelW, Measure(dlg, f.m_strLabel).cx);
      valueW = std::max<int>(valueW, Measure(dlg, f.m_strText).cx);
    }
    if (!p->m_strListLabel.IsEmpty()) labelW = std::max<int>(labelW, Measure(dlg, p->m_strListLabel).cx);
  }
  labelW += 2;
  const int textW = std::clamp(valueW + 2, kMinTextWidth, kMaxTextWidth);
  const int innerW = labelW + kColumnGap + textW;

  // Pages are laid out in page coordinates first; the tab control's size follows.
  struct Placed {
    const char* cls;
    CString text;
    DWORD style;
    DWORD ex;
    int id;
    RECT r;
  };
  std::vector<std::vector<Placed>> pages(m_Pages.size());
  int pageH = 0;
  for (std::size_t i = 0; i < m_Pages.size(); ++i) {
    const CPropertyPageModel& p = *m_Pages[i];
    std::vector<Placed>& out = pages[i];
    int y = kPagePad;
    const DWORD text = SS_LEFT | SS_NOPREFIX | WS_GROUP;
    const DWORD label = SS_LEFTNOWORDWRAP | SS_NOPREFIX | WS_GROUP;
    if (!p.m_strTitle.IsEmpty()) {
      int h = std::max(rowH, int(Measure(dlg, p.m_strTitle, innerW).cy) + 2);
      out.push_back({"Static", p.m_strTitle, text, 0, kTitleId, {kPagePad, y, kPagePad + innerW, y + h}});
      y += h + 2 * kRowGap;
    }
    int row = 0;
    for (const PropField& f : fields[i]) {
      const int x = kPagePad, tx = kPagePad + labelW + kColumnGap;
      const int id = kFirstFieldId + 2 * row++;
      const bool note = p.m_strCaption == "Notes";
      // A label may hold a line break of its own.
      const int labelH = std::max(rowH, int(Measure(dlg, f.m_strLabel).cy) + 2);
      int h = labelH;
      if (note) {
        // A note may be long: a read-only edit that scrolls.
        int need = Measure(dlg, f.m_strText, textW - 24).cy + 8;
        h = std::max(labelH, std::clamp(need, 3 * lineH + 8, kNoteLines * lineH + 8));
        out.push_back({"Static", f.m_strLabel, label, 0, id, {x, y, x + labelW, y + labelH}});
        out.push_back({"Edit", f.m_strText, ES_MULTILINE | ES_READONLY | WS_VSCROLL | WS_BORDER | WS_TABSTOP, 0, id + 1,
                       {tx, y, tx + textW, y + h}});
      } else {
        h = std::max(labelH, int(Measure(dlg, f.m_strText, textW).cy) + 2);
        out.push_back({"Static", f.m_strLabel, label, 0, id, {x, y, x + labelW, y + labelH}});
        out.push_back({"Static", f.m_strText, text, 0, id + 1, {tx, y, tx + textW, y + h}});
      }
      y += h + kRowGap;
    }
    if (!p.m_strListLabel.IsEmpty()) {
      out.push_back({"Static", p.m_strListLabel, text, 0, kListLabelId, {kPagePad, y, kPagePad + innerW, y + rowH}});
      y += rowH + kRowGap;
      int h = kListRows * (lineH + 4) + 4;
      out.push_back({"ListBox", "", LBS_NOSEL | LBS_NOINTEGRALHEIGHT | WS_VSCROLL | WS_BORDER | WS_TABSTOP, 0, kListId,
                     {kPagePad, y, kPagePad + innerW, y + h}});
      y += h + kRowGap;
    }
    pageH = std::max(pageH, y + kPagePad - kRowGap);
  }
  const int pageW = innerW + 2 * kPagePad;
  pageH = std::max(pageH, 4 * rowH);

  // The tab control around the pages: TCM_ADJUSTRECT gives its size for that display area.
  RECT area{0, 0, pageW, pageH};
  HWND tab = Child(dlg, "SysTabControl32", "", WS_VISIBLE | WS_TABSTOP | WS_CLIPSIBLINGS, kTabId, {0, 0, 10, 10});
  for (std::size_t i = 0; i < m_Pages.size(); ++i) {
    TCITEMA item{};
    item.mask = TCIF_TEXT;
    item.pszText = const_cast<char*>(static_cast<const char*>(m_Pages[i]->m_strCaption));
    SendMessageA(tab, TCM_INSERTITEMA, WPARAM(i), LPARAM(&item));
  }
  SendMessageA(tab, TCM_ADJUSTRECT, TRUE, LPARAM(&area));
  // The tabs themselves must fit on one row.
  int tabsW = 0;
  for (const CPropertyPageModel* p : m_Pages) tabsW += Measure(dlg, p->m_strCaption).cx + 16;
  int tabW = std::max<int>(area.right - area.left, tabsW + 8), tabH = area.bottom - area.top;
  MoveWindow(tab, kMargin, kMargin, tabW, tabH, FALSE);
  RECT display{0, 0, tabW, tabH};
  SendMessageA(tab, TCM_ADJUSTRECT, FALSE, LPARAM(&display));
  OffsetRect(&display, kMargin, kMargin);

  for (std::size_t i = 0; i < pages.size(); ++i) {
    HWND page = Child(dlg, kPageClass, m_Pages[i]->m_strCaption, WS_CLIPSIBLINGS, int(100 + i), display,
                      WS_EX_CONTROLPARENT);
    m_PageWnds.push_back(page);
    for (const Placed& c : pages[i]) {
      HWND h = Child(page, c.cls, c.text, WS_VISIBLE | c.style, c.id, c.r, c.ex);
      if (c.id == kListId)
        for (const CString& s : m_Pages[i]->m_ListItems) SendMessageA(h, LB_ADDSTRING, 0, LPARAM(static_cast<const char*>(s)));
    }
  }

  // The sheet's standard buttons, then OnInitDialog over the sheet's child windows.
  const int btnH = lineH + 10;
  for (auto [text, id] : {std::pair<const char*, int>{"OK", IDOK}, {"Cancel", IDCANCEL}, {"&Apply", kApplyId},
                          {"Help", IDHELP}})
    Child(dlg, "Button", text, WS_VISIBLE | WS_TABSTOP | BS_PUSHBUTTON, id, {0, 0, 75, btnH});
  std::vector<HWND> children;
  m_Controls.clear();
  for (HWND c = GetWindow(dlg, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT)) {
    char cls[128] = {};
    GetClassNameA(c, cls, sizeof cls);
    children.push_back(c);
    m_Controls.push_back({cls, GetWindowTextString(c).c_str(), (GetWindowLongA(c, GWL_STYLE) & WS_VISIBLE) != 0});
  }
  OnInitDialog();
  for (std::size_t i = 0; i < children.size() && i < m_Controls.size(); ++i) {
    const SheetControl& c = m_Controls[i];
    if (GetWindowTextString(children[i]) != static_cast<const char*>(c.m_strText))
      SetWindowTextA(children[i], c.m_strText);
    bool shown = (GetWindowLongA(children[i], GWL_STYLE) & WS_VISIBLE) != 0;
    if (shown != c.m_bVisible) ShowWindow(children[i], c.m_bVisible ? SW_SHOW : SW_HIDE);
  }

  // The buttons left standing go to the right under the tab control, in their order.
  const int clientW = tabW + 2 * kMargin;
  const int btnY = kMargin + tabH + kMargin;
  std::vector<HWND> shownButtons;
  for (HWND c : children) {
    char cls[16] = {};
    GetClassNameA(c, cls, sizeof cls);
    if (CString(cls).CompareNoCase("Button") == 0 && (GetWindowLongA(c, GWL_STYLE) & WS_VISIBLE)) shownButtons.push_back(c);
  }
  int x = clientW - kMargin;
  for (auto it = shownButtons.rbegin(); it != shownButtons.rend(); ++it) {
    int w = std::max<int>(75, Measure(dlg, GetWindowTextString(*it).c_str()).cx + 20);
    x -= w;
    MoveWindow(*it, x, btnY, w, btnH, FALSE);
    x -= kButtonGap;
  }

  RECT wr{0, 0, clientW, btnY + btnH + kMargin};
  AdjustWindowRectEx(&wr, DWORD(GetWindowLongA(dlg, GWL_STYLE)), FALSE, DWORD(GetWindowLongA(dlg, GWL_EXSTYLE)));
  int w = wr.right - wr.left, h = wr.bottom - wr.top;
  SetWindowPos(dlg, nullptr, std::max(0, (GetSystemMetrics(SM_CXSCREEN) - w) / 2),
               std::max(0, (GetSystemMetrics(SM_CYSCREEN) - h) / 2), w, h, SWP_NOZORDER | SWP_NOACTIVATE);
  ShowPage(m_Pages.empty() ? -1 : 0);
  if (!shownButtons.empty()) SetFocus(shownButtons.front());
}

INT_PTR CComObjectPropertiesDlg::SheetProc(HWND dlg, UINT msg, WPARAM wParam, LPARAM lParam) {
  auto* self = reinterpret_cast<CComObjectPropertiesDlg*>(GetWindowLongPtrA(dlg, DWLP_USER));
  switch (msg) {
    case WM_INITDIALOG:
      self = reinterpret_cast<CComObjectPropertiesDlg*>(lParam);
      SetWindowLongPtrA(dlg, DWLP_USER, LONG_PTR(lParam));
      self->m_hWnd = dlg;
      self->OnWindowCreated();
      self->BuildWindow(dlg);
      return FALSE;  // the focus is set: on the first button
    case WM_NOTIFY: {
      const auto* nm = reinterpret_cast<const NMHDR*>(lParam);
      if (self && nm && nm->idFrom == UINT_PTR(kTabId) && nm->code == TCN_SELCHANGE)
        self->ShowPage(int(SendMessageA(nm->hwndFrom, TCM_GETCURSEL, 0, 0)));
      return FALSE;
    }
    case WM_COMMAND:
      if (self && LOWORD(DWORD(wParam)) == IDCANCEL) {
        if (self->m_bModal)
          EndDialog(dlg, IDCANCEL);
        else
          DestroyWindow(dlg);
        return TRUE;
      }
      return FALSE;  // the hidden OK and Apply and the Help button do nothing: the sheet only shows
    case WM_DESTROY:
      if (self) {
        self->m_hWnd = nullptr;
        self->m_PageWnds.clear();
        self->OnWindowDestroyed();
        SetWindowLongPtrA(dlg, DWLP_USER, 0);
      }
      return FALSE;
    default:
      return FALSE;
  }
}

namespace {

DialogTemplate SheetTemplate(const CString& title) {
  // The size is set when the pages are known.
  return DialogTemplate(WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME, 0, 0, 100, 60, title);
}

HWND OwnerFor(HWND owner, CWnd* parent) { return owner ? owner : parent ? parent->GetSafeHwnd() : nullptr; }

}  // namespace

INT_PTR CComObjectPropertiesDlg::DoModal(HWND owner) {
  if (m_hWnd) return -1;
  DialogTemplate t = SheetTemplate(m_strTitle);
  t.header.style |= WS_VISIBLE;
  m_bModal = true;
  INT_PTR r = DialogBoxIndirectParamA(nullptr, &t, OwnerFor(owner, m_pParent), SheetProc, LPARAM(this));
  m_bModal = false;
  return r;
}

HWND CComObjectPropertiesDlg::Create(HWND owner) {
  if (m_hWnd) return nullptr;
  DialogTemplate t = SheetTemplate(m_strTitle);
  m_bModal = false;
  HWND dlg = CreateDialogIndirectParamA(nullptr, &t, OwnerFor(owner, m_pParent), SheetProc, LPARAM(this));
  if (dlg) ShowWindow(dlg, SW_SHOW);
  return dlg;
}

}  // namespace zev
