// Dialog models without windows: the state of each control of an option dialog (exists,
// shown, enabled, checked, text, list items) kept by control id, and CZevDirectoryDialog,
// the folder-and-name choice the export option dialog builds on. A window layer creates
// one control per entry, mirrors the states after each event it forwards, and keeps no
// logic of its own.
#pragma once
#include <string>
#include <vector>

#include "zevutil/platform/CString.h"
#include "zevutil/platform/Types.h"

namespace zev {

class CWnd;

// What a control is, so that a window layer knows what to create for it.
enum class DialogControlKind { Check, Label, Group, Edit, Spin, Combo, List };

// One control of a dialog model.
struct DialogControl {
  int m_nID = 0;
  DialogControlKind m_eKind = DialogControlKind::Label;
  int m_bExists = 1;   // part of this dialog's layout at all
  int m_bShown = 1;
  int m_bEnabled = 1;
  int m_bChecked = 0;  // check boxes
  CString m_strText;   // caption, or the text of an edit field
  std::vector<CString> m_Items;  // combo and list rows
  std::vector<int> m_Selected;   // list rows selected (by row), combo row in m_nSel
  int m_nSel = -1;

  // Shown and part of the layout: what the user sees.
  int IsVisible() const { return m_bExists && m_bShown ? 1 : 0; }
};

// The controls of one dialog, in layout order.
class CDialogControlModel {
 public:
  // Adds a control; an id that exists already is replaced.
  DialogControl& AddControl(int id, DialogControlKind kind, const char* text);
  // The control by id; null when the dialog has none of that id.
  DialogControl* Find(int id);
  const DialogControl* Find(int id) const;
  // The control by id; an unknown id gives a detached control that is not part of the
  // layout (exists 0), so that callers need no null test.
  DialogControl& Control(int id);
  const DialogControl& Control(int id) const;
  const std::vector<DialogControl>& Controls() const { return m_Controls; }

  void Show(int id, int show) { Control(id).m_bShown = show ? 1 : 0; }
  void Enable(int id, int enable) { Control(id).m_bEnabled = enable ? 1 : 0; }
  void SetCheck(int id, int check) { Control(id).m_bChecked = check ? 1 : 0; }
  int GetCheck(int id) const { return Control(id).m_bChecked; }
  void SetText(int id, const char* text) { Control(id).m_strText = text; }
  const CString& GetText(int id) const { return Control(id).m_strText; }

 private:
  std::vector<DialogControl> m_Controls;
  mutable DialogControl m_Detached;
};

// What a window layer sees of a dialog model: its controls and the events it forwards.
// One generic window can show any model: create a widget per control, forward each
// user action, then mirror every control's state again.
class CDialogModel {
 public:
  virtual ~CDialogModel() = default;
  virtual CDialogControlModel& Controls() = 0;
  virtual CString GetCaption() const = 0;
  // Sets the controls from the model's fields, as the window opens.
  virtual void OnInitDialog() = 0;
  // A row of a combo (chosen) or list (selected or deselected) changed; rows count from 0.
  virtual void OnSelChange(int id, int row, int selected) = 0;
  // A check box clicked: 1 when it toggled, 0 when it is hidden or greyed.
  virtual int OnClick(int id) = 0;
  // Text typed into an edit field.
  virtual void OnEditText(int id, const char* text) = 0;
  // One step of spin arrows (+1 or -1).
  virtual void OnSpin(int id, int delta) = 0;
  // OK: 1 when the dialog closes, 0 when it stays open. Cancel always closes.
  virtual int OnOK() = 0;
  virtual void OnCancel() = 0;
  // 1 after OK, 2 after Cancel, 0 while open.
  virtual int GetResult() const = 0;
};

// The folder choice with a file name field and a filter list: the state a directory
// dialog keeps. The choosing itself is window work; the model holds the answers.
class CZevDirectoryDialog : public CDialogModel {
 public:
  // Control ids of the choice itself.
  static constexpr int IDC_DIR_FOLDER = 13001;    // folder being shown
  static constexpr int IDC_DIR_FILENAME = 13002;  // name field
  static constexpr int IDC_DIR_FILTER = 13003;    // file type list

  // path is the folder and the proposed file name ("/data/out/run"); a path that ends in
  // a separator proposes no name. bFixedFolder keeps the folder from being changed.
  CZevDirectoryDialog(CWnd* parent, int bFixedFolder, const char* path, const char* title, int bPersist);
  virtual ~CZevDirectoryDialog() = default;
  CZevDirectoryDialog(const CZevDirectoryDialog&) = delete;
  CZevDirectoryDialog& operator=(const CZevDirectoryDialog&) = delete;

  // Splits path at its last '/' or '\' into folder and file name; name receives the
  // file name. A path without a separator is all name and keeps the folder.
  void SetPathname(const CString& path, CString& name);
  // Folder and name joined with '/', or the folder alone when the name is empty.
  CString GetPathName() const;
  const CString& GetFolder() const { return m_strFolder; }
  const CString& GetFileName() const { return m_strFileName; }
  const CString& GetTitle() const { return m_strTitle; }
  int IsFixedFolder() const { return m_bFixedFolder; }
  int IsPersist() const { return m_bPersist; }
  CWnd* GetParent() const { return m_pParent; }

  // The filter text handed to the file dialog: "Name (*.ext)|*.ext|" per row and a
  // closing "|", each '|' turned into a NUL.
  const std::string& GetFilterString() const { return m_strFilter; }

  // ---- events a window forwards ----
  CString GetCaption() const override { return m_strTitle; }
  void OnInitDialog() override {}
  void OnSelChange(int, int, int) override {}
  int OnClick(int) override { return 0; }
  // The user typed text into an edit field (folder or name included).
  void OnEditText(int id, const char* text) override;
  void OnSpin(int, int) override {}
  // OK pressed: 1 when the dialog closes (OnFileNameOK accepted), 0 when it stays open.
  int OnOK() override;
  // Cancel pressed: the dialog closes with nothing read or saved.
  void OnCancel() override { m_nResult = 2; }
  int GetResult() const override { return m_nResult; }

  CDialogControlModel& Controls() override { return m_Controls; }
  const CDialogControlModel& Controls() const { return m_Controls; }

 protected:
  // Run at OK: 0 accepts, anything else keeps the dialog open.
  virtual int OnFileNameOK() { return 0; }
  // Builds the filter text from rows of name and extension, in a buffer of 512 bytes.
  void SetFilterString(const std::vector<std::pair<CString, CString>>& rows);

  CWnd* m_pParent;
  int m_bFixedFolder;
  int m_bPersist;
  CString m_strTitle;
  CString m_strFolder;
  CString m_strFileName;
  std::string m_strFilter;
  int m_nResult = 0;
  CDialogControlModel m_Controls;
};

}  // namespace zev
