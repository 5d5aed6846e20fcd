// A message box with any number of buttons that sizes itself to its prompt, and the route by
// which the platform's MessageBoxA shows one when windows are on screen.
#pragma once
#include <map>

#include "zevutil/CDialog.h"
#include "zevutil/platform/CString.h"
#include "zevutil/platform/Types.h"

namespace zev {

// The template's controls: the two template buttons that give the button rectangle and the
// gap between buttons (both destroyed when the box is set up), and the prompt.
inline constexpr int IDC_FLEXMSGBOX_PROMPT = 12001;

class CFlexMessageBox : public CDialog {
 public:
  // Answers TRUE to keep the box open after its button was pressed.
  using HookFn = int (*)(LONG data, int id);

  struct tButton {
    CString m_strCaption;
    int m_nFlags = 0;  // bit 0: the default button
    int m_nID = 0;
    int m_nOrder = 0;  // order of adding
    HWND m_hButton = nullptr;
    int m_nWidth = 0;  // in pixels, once the box is set up
    LONG m_lHookData = 0;
    HookFn m_pfnHook = nullptr;
  };

  explicit CFlexMessageBox(CWnd* parent = nullptr);

  // An id of -1 takes the next automatic id (10001, 10002, ...). An id that exists already
  // changes nothing.
  CFlexMessageBox& AddButton(const char* caption, int id = -1);
  // Unknown ids do nothing.
  CFlexMessageBox& SetDefaultButton(int id);
  // The answer for the cancel command (Escape, the close box); -1 makes it do nothing.
  CFlexMessageBox& SetCancelID(int id);
  CFlexMessageBox& SetTitle(const char* title);
  CFlexMessageBox& SetPrompt(const char* prompt);
  // With auto width on, the prompt wraps in a box about 'aspect' (3 when below 1) times as
  // wide as it is high; off, it keeps its own line breaks.
  CFlexMessageBox& SetAutoWidth(int on, int aspect = 0);
  CFlexMessageBox& HookButton(int id, HookFn hook, LONG data);

  INT_PTR DoModal() override { return CDialog::DoModal(); }

  // What the box looks like once set up (tests and callers that place things by it).
  const std::map<int, tButton>& Buttons() const { return m_Buttons; }
  int GetButtonGap() const { return m_nButtonGap; }
  int GetBaseUnit() const { return m_nBaseUnit; }
  const RECT& GetButtonRect() const { return m_rectButton; }
  int GetCancelID() const { return m_nCancelID; }

 protected:
  BOOL OnInitDialog() override;
  BOOL OnCommand(WPARAM wParam, LPARAM lParam) override;
  // The caption's width in the button's font plus two base units, at least the template
  // button's width.
  int calcButtonWidth(tButton& button);

  std::map<int, tButton> m_Buttons;
  int m_nNextAutoID = 10000;
  int m_nNextOrder = 0;
  int m_nCancelID = IDCANCEL;
  CString m_strPrompt;
  CString m_strTitle = "Data Manager";
  int m_bAutoWidth = 0;
  int m_nAspect = 0;
  RECT m_rectButton{};
  int m_nButtonGap = 0;
  int m_nBaseUnit = 0;
};

// The message box of MessageBoxA as a flexible box: the buttons of the style (MB_OK ...
// MB_RETRYCANCEL) with their usual ids, MB_DEFBUTTONn as the default, Cancel (or OK on a box
// with OK alone) as the cancel answer. Answers the button pressed, 0 when no box was made.
int FlexMessageBox(HWND owner, const char* text, const char* caption, UINT style);

// Makes MessageBoxA show FlexMessageBox when this thread's windows are on screen (a display
// backend serves them); without one it keeps asking on the terminal. The toolkit calls this
// when its first dialog is made; calling it again does nothing.
void UseFlexMessageBoxes();

}  // namespace zev
