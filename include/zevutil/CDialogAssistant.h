// The dialog assistant: typed wrappers for a dialog's controls, a modified flag with the
// controls enabled only while modified, and a periodic command-update pass, all attached
// to a dialog from outside through a window hook and an idle hook.
#pragma once
#include <map>
#include <memory>
#include <vector>

#include "zevutil/CIdleHook.h"
#include "zevutil/CWinHookBase.h"
#include "zevutil/platform/CObject.h"
#include "zevutil/platform/CString.h"
#include "zevutil/platform/Wnd.h"

namespace zev {

class CDialogAssistant;

// The wrapper of one control of an assisted dialog.
class CDlgCtrlBase : public CObject {
  DECLARE_DYNCREATE(CDlgCtrlBase)

 public:
  CDlgCtrlBase() = default;
  ~CDlgCtrlBase() override = default;

  // A handle that is not a live window changes nothing; otherwise keeps the handle and its
  // control id and clears the dirty flag.
  virtual void Attach(HWND hwnd);
  virtual void SetAssist(CDialogAssistant* assistant);
  // Sets the window text from the number by the format ("%d" when none is set).
  virtual void SetValue(int value);
  // Sets the window text from the text by the format ("%s" when none is set).
  virtual void SetValue(const char* value);
  // Whether the parent's message is a notification for this wrapper (WM_NOTIFY, WM_COMMAND).
  virtual BOOL IsParentNotify(UINT message, WPARAM wParam, LPARAM lParam);
  // Before the dialog sees a notification; a non-zero answer keeps it from the dialog.
  virtual BOOL PreParentNotify(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* pResult);
  // After it; 'called' tells whether the dialog's procedure ran.
  virtual void PostParentNotify(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* pResult, BOOL called);
  virtual void SetFormat(const char* format);
  virtual void Enable(int enable);
  virtual void Show(int show);
  virtual BOOL IsDirty();
  // Keeps the flag and marks the assistant modified, whatever the value; nothing while
  // the assistant's modify mask is raised.
  virtual void SetDirty(int dirty);
  // Counts up (non-zero) or down, stopping at 0.
  virtual void SetNotifyMask(int on);
  virtual BOOL IsNotifyMasked();

  // Runs the command-update route for this control with the target.
  void DoUpdateCommandUI(CCmdTarget* target);
  HWND GetHwnd() const { return m_hWnd; }
  UINT GetID() const { return m_nID; }
  CWnd* GetWnd() const { return CWnd::FromHandle(m_hWnd); }
  CDialogAssistant* GetAssist() const { return m_pAssistant; }
  BOOL IsInNotify() const { return m_bInNotify; }

 protected:
  CString m_strFormat;
  BOOL m_bFormatSet = FALSE;
  BOOL m_bDirty = FALSE;
  BOOL m_bInNotify = FALSE;
  UINT m_nID = 0;
  HWND m_hWnd = nullptr;
  CDialogAssistant* m_pAssistant = nullptr;
  int m_nNotifyMask = 0;
};

class CDlgCtrlComboBox : public CDlgCtrlBase {
  DECLARE_DYNCREATE(CDlgCtrlComboBox)
};
class CDlgCtrlStatic : public CDlgCtrlBase {
  DECLARE_DYNCREATE(CDlgCtrlStatic)
};
class CDlgCtrlEdit : public CDlgCtrlBase {
  DECLARE_DYNCREATE(CDlgCtrlEdit)
};
class CDlgCtrlListBox : public CDlgCtrlBase {
  DECLARE_DYNCREATE(CDlgCtrlListBox)
};

// A button: push button, check box or radio button by its style. A check box or radio
// button that the user clicks marks the dialog dirty.
class CDlgCtrlButton : public CDlgCtrlBase {
  DECLARE_DYNCREATE(CDlgCtrlButton)

 public:
  enum { kindNone = 0, kindPushButton = 1, kindCheckBox = 2, kindRadioButton = 3 };

  void Attach(HWND hwnd) override;
  // A check box takes the value as its check state; a radio button as the index of the
  // button to check in its group, counted from this button; a push button ignores it.
  void SetValue(int value) override;
  using CDlgCtrlBase::SetValue;
  BOOL PreParentNotify(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* pResult) override;
  int GetButtonKind() const { return m_nButtonKind; }

 protected:
  int m_nButtonKind = kindNone;
};

// The command-update record of a control: CCmdUI with the control's wrapper.
class CCtrlCmdUI : public CCmdUI {
 public:
  void SetCtrlData(CDlgCtrlBase* data) { m_pCtrlData = data; }
  CDlgCtrlBase* GetCtrlData() const { return m_pCtrlData; }

 protected:
  CDlgCtrlBase* m_pCtrlData = nullptr;
};

// Attach to a dialog (the parent) and call InitDialog once its controls exist.
class CDialogAssistant : public CWinHookBase, public CIdleHook {
 public:
  explicit CDialogAssistant(CWnd* parent = nullptr);
  // Shares the control table and the enable-on-modify list with the source.
  CDialogAssistant(const CDialogAssistant& other);
  CDialogAssistant& operator=(const CDialogAssistant&) = delete;
  ~CDialogAssistant() override;

  CDialogAssistant& SetAssistParent(CWnd* parent);
  // With a live parent: wraps its controls, updates them, ticks every 500 ms and starts
  // seeing the parent's messages first.
  CDialogAssistant& InitDialog();
  // Wraps the parent's control of that id (1 to 65535) when its window class is registered.
  CDialogAssistant& AddControl(UINT id);
  CDialogAssistant& RemoveControl(UINT id);
  // Drops wrappers of dead windows, then wraps every child not yet wrapped.
  CDialogAssistant& RescanControls();
  // The listed controls are enabled exactly while the dialog is modified.
  CDialogAssistant& AddEnableOnModify(UINT id);
  CDialogAssistant& UpdateCtrlStates();
  // No effect while the modify mask is raised. 'all' passes the value to every wrapper,
  // each of which marks the dialog modified again.
  CDialogAssistant& SetDirty(int dirty, int all);
  CDialogAssistant& SetModifyMask(int on);
  int GetModifyMask() const { return m_nModifyMask; }
  BOOL IsModified() const { return m_bModified; }
  CDlgCtrlBase* GetCtrlData(UINT id) const;
  // The wrapper of the id; for an id without one, a detached wrapper that acts on no window.
  CDlgCtrlBase& operator[](UINT id) const;
  CWnd* GetAssistParent() const { return m_pParent; }
  int GetControlCount() const { return int(m_pControls->size()); }

  // A new wrapper for a window class, or null when the class is not registered.
  static CDlgCtrlBase* CreateDlgCtrlData(const char* windowClass);
  // Wraps windows of 'windowClass' in the wrapper class named 'runtimeClass' (a known
  // CDlgCtrlBase class: the five built in or one made known by RegisterDlgCtrlClass). An
  // unknown name does nothing. Rows stay for the life of the process.
  static void RegisterControlClass(const char* windowClass, const char* runtimeClass);
  // Makes a wrapper class (derived from CDlgCtrlBase, dynamically creatable) known by name.
  static void RegisterDlgCtrlClass(const CRuntimeClass* runtimeClass);

  BOOL defWndProcHook(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam, LRESULT* pResult) override;
  BOOL OnIdleTick() override;

 protected:
  virtual BOOL OnParentWmCommand(WPARAM wParam, LPARAM lParam, LRESULT* pResult);
  virtual BOOL OnParentWmNotify(WPARAM wParam, LPARAM lParam, LRESULT* pResult);
  virtual BOOL OnWmParentNotify(WPARAM wParam, LPARAM lParam, LRESULT* pResult);

 private:
  using ControlTable = std::map<UINT, std::shared_ptr<CDlgCtrlBase>>;
  BOOL OnParentNotification(UINT message, UINT id, WPARAM wParam, LPARAM lParam, LRESULT* pResult);
  HWND ParentHwnd() const { return m_pParent ? m_pParent->m_hWnd : nullptr; }

  std::shared_ptr<ControlTable> m_pControls;
  CWnd* m_pParent = nullptr;
  BOOL m_bModified = FALSE;
  int m_nLastEnableState = -1;
  int m_nModifyMask = 0;
  std::shared_ptr<std::vector<UINT>> m_pEnableOnModify;

  static int sm_nInstanceCount;
};

}  // namespace zev
