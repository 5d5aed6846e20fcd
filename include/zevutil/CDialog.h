// The dialog object of the window toolkit: a window object (CWnd) made from a dialog template
// that runs modal in its own loop or modeless, with the usual virtual hooks (OnInitDialog,
// OnOK, OnCancel, OnCommand) and the exchange of data between controls and members.
#pragma once
#include <string>

#include "zevutil/platform/CString.h"
#include "zevutil/platform/Window.h"
#include "zevutil/platform/Wnd.h"

namespace zev {

class CDialog;

// One direction of a data exchange between a dialog's controls and its members.
class CDataExchange {
 public:
  CDataExchange(CDialog* dlg, BOOL saveAndValidate) : m_bSaveAndValidate(saveAndValidate), m_pDlgWnd(dlg) {}
  BOOL m_bSaveAndValidate;  // TRUE: controls to members
  CDialog* m_pDlgWnd;
};

// Exchanges the text of control 'id' with 'value'.
void DDX_Text(CDataExchange* pDX, int id, CString& value);

class CDialog : public CWnd {
 public:
  // A modeless dialog: Create names the template.
  CDialog();
  // A dialog of a registered template (by name or number) owned by 'parent'.
  explicit CDialog(LPCSTR templateName, CWnd* parent = nullptr);
  explicit CDialog(UINT templateId, CWnd* parent = nullptr);
  // Destroys a window that is still there.
  ~CDialog() override;

  // Modeless: makes the window from the template under 'parent' (the template's WS_VISIBLE
  // shows it). FALSE when the template is unknown, the object has a window already, or the
  // dialog could not be made.
  virtual BOOL Create(LPCSTR templateName, CWnd* parent = nullptr);
  virtual BOOL Create(UINT templateId, CWnd* parent = nullptr);

  // Modal: disables the owner's top-level window, makes the dialog, shows it once the queue
  // first runs empty and runs the loop while ContinueModal() answers TRUE; then enables the
  // owner again, destroys the dialog and answers the result of EndDialog (-1 when the
  // dialog could not be made).
  virtual INT_PTR DoModal();
  // Ends a modal dialog with 'result' (the loop stops after the current message); hides a
  // modeless one.
  void EndDialog(int result);
  // TRUE while the modal loop should go on.
  virtual BOOL ContinueModal();
  virtual void EndModalLoop(int result);

  // Controls to members (TRUE) or members to controls (FALSE) through DoDataExchange.
  BOOL UpdateData(BOOL saveAndValidate = TRUE);
  // Centres the window on 'alternateOwner', else on its owner, else on the screen.
  void CenterWindow(CWnd* alternateOwner = nullptr);
  // Moves the dialog's focus to a control (as tabbing would).
  void GotoDlgCtrl(HWND control);

  virtual BOOL OnInitDialog();  // the base exchanges data into the controls and answers TRUE
  virtual void OnOK();          // the base takes the data out and ends with IDOK
  virtual void OnCancel();      // the base ends with IDCANCEL

  LPCSTR m_lpszTemplateName = nullptr;
  CWnd* m_pParentWnd = nullptr;

 protected:
  virtual void DoDataExchange(CDataExchange* pDX) { (void)pDX; }
  // WM_COMMAND: the base sends IDOK to OnOK and IDCANCEL to OnCancel and answers TRUE for
  // them; other commands answer FALSE (the default processing then follows).
  virtual BOOL OnCommand(WPARAM wParam, LPARAM lParam);
  // WM_CLOSE: the base does the default processing (which asks for IDCANCEL).
  virtual void OnClose();
  LRESULT WindowProc(UINT msg, WPARAM wParam, LPARAM lParam) override;
  LRESULT DefWindowProc(UINT msg, WPARAM wParam, LPARAM lParam) override;
  // The default processing of the message being handled (nothing outside a message).
  LRESULT Default();

  int m_nModalResult = -1;

 private:
  static INT_PTR DialogProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);
  static LRESULT SubclassProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam);
  void TakeOver(HWND hwnd);
  BOOL CreateFromTemplate(const DialogTemplate& tmpl, HWND parent);
  const DialogTemplate* FindTemplate() const;

  std::string m_templateKey;  // the name, or empty for a number
  UINT m_nIDTemplate = 0;
  WNDPROC m_pfnDialogSuper = nullptr;
  MSG m_current{};
  bool m_bHasCurrent = false;
  bool m_bContinueModal = false;
};

}  // namespace zev
