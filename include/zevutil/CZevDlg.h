// Dialog bases of the suite: a dialog that runs modal or modeless and reports its end to
// another window (CZevDlg), a self-deleting modeless notice (CZevMsgBox), a two-field entry
// form (CInputBoxDlg) and a modeless progress window with a cooperative cancel
// (CProgressControlDlg).
#pragma once
#include "zevutil/CDialog.h"
#include "zevutil/platform/CString.h"
#include "zevutil/platform/Types.h"

namespace zev {

// Templates and their controls.
inline constexpr UINT IDD_INPUTBOX = 11022, IDD_PROGRESSCONTROL = 11023, IDD_ZEVMSGBOX = 11401,
                      IDD_ZEVMSGBOX_SMALL = 11402;
inline constexpr int IDC_INPUTBOX_FIRST = 12006, IDC_INPUTBOX_SECOND = 12007, IDC_PROGRESS_TEXT = 12019,
                     IDC_PROGRESS_BAR = 12020, IDC_ZEVMSGBOX_ICON = 12401, IDC_ZEVMSGBOX_TEXT = 12402;
// What a modeless CZevDlg adds to its end id in the high word of the WM_COMMAND it posts.
inline constexpr UINT ZEVDLG_NOTIFY_OFFSET = 800;

class CZevDlg : public CDialog {
 public:
  // Modal forms; the parent is also the window told of the end.
  CZevDlg(char* templateName, const char* title = nullptr, CWnd* parent = nullptr);
  CZevDlg(unsigned int templateId, const char* title = nullptr, CWnd* parent = nullptr);
  // Modeless form: Create makes the window.
  CZevDlg();

  // Makes the modeless dialog under 'notifyTarget'. FALSE when a window pointer is given and
  // is not a live window, or the dialog could not be made. With 'disableParent', 'parent' is
  // disabled while the dialog is up (when it was enabled).
  BOOL Create(const char* templateName, const char* title, CWnd* notifyTarget, CWnd* parent, int disableParent,
              unsigned int notifyID);
  BOOL Create(unsigned int templateId, const char* title, CWnd* notifyTarget, CWnd* parent, int disableParent,
              unsigned int notifyID);

  INT_PTR DoModal() override;
  BOOL ContinueModal() override;

  void OnOK() override;
  void OnCancel() override;
  virtual void OnAbort();

  // Ends the dialog with 'id': modal through the base OnOK (1), OnCancel (2) or the default
  // processing of the message being handled; modeless by taking the data out, posting
  // WM_COMMAND (notify id, id + 800) to the notify target, giving the parent back its
  // enabled state and the focus, and destroying the window.
  virtual void CloseDlg(unsigned int id);

  // TRUE when the number in the control is within minimum..maximum (inclusive); otherwise
  // says so in a message box ("Please enter a value between ..." with 'decimals' places),
  // puts the focus on the control and answers FALSE.
  BOOL SpinEditVerify(int control, double minimum, double maximum, int decimals);

  int GetResult() const { return m_nResult; }
  BOOL IsModeless() const { return m_bModeless; }

 protected:
  BOOL OnInitDialog() override;
  BOOL OnCommand(WPARAM wParam, LPARAM lParam) override;
  void OnClose() override;

  CString m_strTitle;
  int m_nResult = 0;
  BOOL m_bModeless = FALSE;
  BOOL m_bDisableParent = FALSE;
  WORD m_wNotifyID = 0;
  CWnd* m_pNotifyTarget = nullptr;
  CWnd* m_pParent = nullptr;
  BOOL m_bParentWasEnabled = TRUE;
};

// A modeless notice that deletes itself once its window is gone: always made with new.
class CZevMsgBox : public CDialog {
 public:
  // Template 11401 when 'large' is true, else 11402; OK posts 'message' (when not 0) to the
  // owner.
  CZevMsgBox(int large, unsigned int message);
  // The given template (11401 for 0); OK posts nothing.
  explicit CZevMsgBox(unsigned int templateId = 0);

  void SetTitle(const CString& title) { m_strTitle = title; }
  // Makes and shows the notice. The icon follows the style's MB_ICON... bits. FALSE when the
  // window could not be made (the object then stays for the caller to delete).
  BOOL DisplayMessage(const CString& text, unsigned int style, CWnd* owner);

 protected:
  BOOL OnInitDialog() override;
  void OnOK() override;
  void OnCancel() override;
  void PostNcDestroy() override;

  HWND m_hIcon = nullptr;
  CString m_strMessage;
  CWnd* m_pOwner = nullptr;
  int m_nStyle = 0;
  CString m_strTitle;
  UINT m_nTemplateID = IDD_ZEVMSGBOX;
  int m_nLarge = 0;
  UINT m_nPostMessage = 0;
};

// Two text fields exchanged with controls 12006 and 12007; what they hold is the caller's.
class CInputBoxDlg : public CDialog {
 public:
  explicit CInputBoxDlg(CWnd* parent = nullptr);
  CString m_strFirst;
  CString m_strSecond;

 protected:
  void DoDataExchange(CDataExchange* pDX) override;
};

// A modeless progress window: a text line, a bar and a cancel button that asks the worker,
// through Continue, to stop. It deletes itself once its window is gone.
class CProgressControlDlg : public CDialog {
 public:
  // Makes the window at once (total count 1).
  CProgressControlDlg(const char* title, CWnd* owner, int hideCancel);
  CProgressControlDlg();
  // Makes the window of an object built by the default constructor (total count 0).
  BOOL CreateProgressDialog(const char* title, CWnd* owner, int hideCancel);

  // Runs every waiting message, then answers whether to go on: 0 when the window is gone;
  // after a cancel, asks "Are you sure you want to cancel?" (yes stops, no goes on).
  int Continue();
  // Shows the text, counts the position up and moves the bar.
  void DisplayNext(const char* text);
  // Formats 'text' into 'format' (one %s), cutting the text by ten characters at a time (and
  // marking the cut with "...") until it fits in one and a half widths of the text line.
  void FormatNDisplayNext(const char* format, const char* text);

  void SetTotalCount(int count) { m_nTotalCount = count; }
  int GetTotalCount() const { return m_nTotalCount; }
  int GetPosition() const { return m_nPosition; }
  void SetContinue(int on) { m_bContinue = on; }
  void Reset() { m_nPosition = 0; }

 protected:
  BOOL OnInitDialog() override;
  void OnOK() override;
  void OnCancel() override;
  void PostNcDestroy() override;

  HWND m_hProgress = nullptr;
  // Set while Continue runs its messages: one of them may end the window and so the object.
  bool* m_pAlive = nullptr;
  int m_bContinue = 1;
  int m_bHideCancel = 0;
  int m_nTotalCount = 1;
  int m_nPosition = 0;
  CWnd* m_pOwner = nullptr;
};

}  // namespace zev
