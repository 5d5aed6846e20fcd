// The flexible message box: buttons added by id, the layout that fits the box to its prompt
// and buttons, the commands that end it or are held back by a hook, and the window form of
// the platform's MessageBoxA.
#include "zevutil/CFlexMessageBox.h"

#include <algorithm>
#include <mutex>
#include <vector>

#include "zevutil/platform/Host.h"
#include "zevutil/platform/WindowMessageBox.h"

namespace zev {

CFlexMessageBox::CFlexMessageBox(CWnd* parent) : CDialog("IDD_FLEXMSGBOX", parent) {}

CFlexMessageBox& CFlexMessageBox::AddButton(const char* caption, int id) {
  if (id == -1) id = ++m_nNextAutoID;
  if (m_Buttons.count(id)) return *this;
  tButton& b = m_Buttons[id];
  b.m_strCaption = caption ? caption : "";
  b.m_nID = id;
  b.m_nOrder = m_nNextOrder++;
  return *this;
}

CFlexMessageBox& CFlexMessageBox::SetDefaultButton(int id) {
  auto it = m_Buttons.find(id);
  if (it != m_Buttons.end()) it->second.m_nFlags |= 1;
  return *this;
}

CFlexMessageBox& CFlexMessageBox::SetCancelID(int id) {
  m_nCancelID = id;
  return *this;
}

CFlexMessageBox& CFlexMessageBox::SetTitle(const char* title) {
  m_strTitle = title ? title : "";
  return *this;
}

CFlexMessageBox& CFlexMessageBox::SetPrompt(const char* prompt) {
  m_strPrompt = prompt ? prompt : "";
  return *this;
}

CFlexMessageBox& CFlexMessageBox::SetAutoWidth(int on, int aspect) {
  m_bAutoWidth = on;
  m_nAspect = aspect;
  return *this;
}

CFlexMessageBox& CFlexMessageBox::HookButton(int id, HookFn hook, LONG data) {
  auto it = m_Buttons.find(id);
  if (it != m_Buttons.end()) {
    it->second.m_pfnHook = hook;
    it->second.m_lHookData = data;
  }
  return *this;
}

int CFlexMessageBox::calcButtonWidth(tButton& button) {
  SIZE sz{};
  GetWindowTextExtent(button.m_hButton, button.m_strCaption, 0, &sz);
  const int least = m_rectButton.right - m_rectButton.left;
  button.m_nWidth = std::max<int>(sz.cx + 2 * m_nBaseUnit, least);
  return button.m_nWidth;
}

BOOL CFlexMessageBox::OnInitDialog() {
  CDialog::OnInitDialog();
  HWND self = m_hWnd;

  // The template's two buttons give the button rectangle and the gap between buttons.
  HWND first = ::zev::GetDlgItem(self, IDOK), second = ::zev::GetDlgItem(self, IDCANCEL);
  RECT r2{};
  GetWindowRect(first, &m_rectButton);
  GetWindowRect(second, &r2);
  m_nButtonGap = r2.left - m_rectButton.right;
  MapWindowPoints(nullptr, self, reinterpret_cast<POINT*>(&m_rectButton), 2);
  ::zev::DestroyWindow(first);
  ::zev::DestroyWindow(second);
  SendMessageA(self, DM_SETDEFID, 0, 0);  // the template's default button is gone

  m_nBaseUnit = LOWORD(DWORD(GetDialogBaseUnits()));
  const int buttonHeight = m_rectButton.bottom - m_rectButton.top;

  // The buttons, in the order they were added (which is also the tab order).
  std::vector<tButton*> order;
  for (auto& [id, b] : m_Buttons) order.push_back(&b);
  std::sort(order.begin(), order.end(), [](const tButton* a, const tButton* b) { return a->m_nOrder < b->m_nOrder; });
  const LRESULT font = SendMessageA(self, WM_GETFONT, 0, 0);
  int sumWidths = 0, count = 0;
  tButton* defaultButton = nullptr;
  for (tButton* b : order) {
    const DWORD style = WS_CHILD | WS_VISIBLE | WS_TABSTOP | ((b->m_nFlags & 1) ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON);
    b->m_hButton = CreateWindowExA(0, "Button", b->m_strCaption, style, m_rectButton.left, m_rectButton.top,
                                   m_rectButton.right - m_rectButton.left, buttonHeight, self,
                                   reinterpret_cast<HMENU>(std::uintptr_t(WORD(b->m_nID))), nullptr, nullptr);
    SendMessageA(b->m_hButton, WM_SETFONT, WPARAM(font), FALSE);
    sumWidths += calcButtonWidth(*b);
    ++count;
    if ((b->m_nFlags & 1) && !defaultButton) defaultButton = b;
  }

  // The prompt: one pass at its own line breaks, or, with auto width, growing the height by
  // a fifth until the text wrapped at aspect x height fits in that height.
  HWND prompt = ::zev::GetDlgItem(self, IDC_FLEXMSGBOX_PROMPT);
  SetWindowTextA(prompt, m_strPrompt);
  int h = buttonHeight;
  const int aspect = m_nAspect < 1 ? 3 : m_nAspect;
  SIZE text{};
  for (;;) {
    const int wrap = m_bAutoWidth ? h * aspect : 0;
    GetWindowTextExtent(prompt, m_strPrompt, wrap, &text);
    if (!m_bAutoWidth || text.cy <= h) break;
    // A growth of at least one pixel: a tiny template button would otherwise never grow.
    h += std::max(h / 5, 1);
  }

  // kept: the dialog frame's width is counted once although the window has two sides;
  // callers' layouts were made with this width.
  const int rowWidth = (count - 1) * m_nButtonGap + sumWidths;
  const int width = std::max<int>(text.cx, rowWidth) + 6 * m_nBaseUnit + GetSystemMetrics(SM_CXDLGFRAME);
  const int height = text.cy + 4 * m_nBaseUnit + buttonHeight + 2 * GetSystemMetrics(SM_CYDLGFRAME) +
                     GetSystemMetrics(SM_CYCAPTION);
  RECT wr{};
  GetWindowRect(self, &wr);
  MoveWindow(self, wr.left, wr.top, width, height, TRUE);
  CenterWindow();

  RECT client{};
  GetClientRect(self, &client);
  int x = client.right / 2 - rowWidth / 2;
  const int y = client.bottom - buttonHeight - m_nBaseUnit;
  for (tButton* b : order) {
    MoveWindow(b->m_hButton, x, y, b->m_nWidth, buttonHeight, TRUE);
    x += b->m_nWidth + m_nButtonGap;
  }
  if (defaultButton) {
    SendMessageA(self, DM_SETDEFID, WPARAM(WORD(defaultButton->m_nID)), 0);
    ::zev::SetFocus(defaultButton->m_hButton);
  }
  MoveWindow(prompt, client.right / 2 - text.cx / 2, m_nBaseUnit, text.cx, text.cy, TRUE);
  SetWindowTextA(self, m_strTitle);
  return FALSE;  // the focus is set
}

BOOL CFlexMessageBox::OnCommand(WPARAM wParam, LPARAM) {
  int id = LOWORD(DWORD(wParam));
  if (id == IDCANCEL) {
    if (m_nCancelID == -1) return TRUE;
    id = m_nCancelID;
  }
  auto it = m_Buttons.find(id);
  if (it != m_Buttons.end() && it->second.m_pfnHook && it->second.m_pfnHook(it->second.m_lHookData, id)) return TRUE;
  EndDialog(id);
  return TRUE;
}

// ---- the window form of MessageBoxA ----

int FlexMessageBox(HWND owner, const char* text, const char* caption, UINT style) {
  struct Btn {
    const char* caption;
    int id;
  };
  std::vector<Btn> buttons;
  switch (style & MB_TYPEMASK) {
    case MB_OKCANCEL: buttons = {{"OK", IDOK}, {"Cancel", IDCANCEL}}; break;
    case MB_ABORTRETRYIGNORE: buttons = {{"&Abort", IDABORT}, {"&Retry", IDRETRY}, {"&Ignore", IDIGNORE}}; break;
    case MB_YESNOCANCEL: buttons = {{"&Yes", IDYES}, {"&No", IDNO}, {"Cancel", IDCANCEL}}; break;
    case MB_YESNO: buttons = {{"&Yes", IDYES}, {"&No", IDNO}}; break;
    case MB_RETRYCANCEL: buttons = {{"&Retry", IDRETRY}, {"Cancel", IDCANCEL}}; break;
    default: buttons = {{"OK", IDOK}}; break;
  }
  CFlexMessageBox box(owner ? CWnd::FromHandle(owner) : nullptr);
  for (const Btn& b : buttons) box.AddButton(b.caption, b.id);
  box.SetDefaultButton(DefaultMessageBoxAnswer(style));
  // Escape answers Cancel, or OK on a box with OK alone; a box without either has to be
  // answered with a button.
  int cancel = -1;
  for (const Btn& b : buttons)
    if (b.id == IDCANCEL) cancel = IDCANCEL;
  if (buttons.size() == 1) cancel = IDOK;
  box.SetCancelID(cancel);
  box.SetTitle(caption ? caption : "Error");
  box.SetPrompt(text ? text : "");
  box.SetAutoWidth(TRUE, 0);
  INT_PTR answer = box.DoModal();
  return answer > 0 ? int(answer) : 0;
}

void UseFlexMessageBoxes() {
  static std::once_flag once;
  std::call_once(once, [] { SetWindowMessageBox(&FlexMessageBox); });
}

}  // namespace zev
