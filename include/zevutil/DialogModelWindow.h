// The export dialogs as windows: one generic window shows any dialog model (the export
// option dialog, the batch export dialog, the folder choice). It makes a control per entry
// of the model, forwards each thing the person does to the model, then copies every
// control's state back from it, so that options appear, disappear, grey and follow each
// other exactly as the model says. A folder field gets a "Browse..." button that opens
// the folder chooser; the spin field's arrows are two small buttons.
#pragma once
#include <vector>

#include "zevutil/CZevDirectoryDialog.h"
#include "zevutil/platform/Types.h"

namespace zev {

class CDialogModelWindow {
 public:
  // Ids of the window's own controls, beside the model's.
  static constexpr int kBrowseId = 0x3F00;       // "Browse..." beside the folder field
  static constexpr int kSpinDownOffset = 0x4000;  // the lower arrow: the spin's id plus this
  static constexpr int kCaptionOffset = 0x2000;   // a field's caption: the field's id plus this

  // The model is initialised (OnInitDialog) when the window opens, and must outlive it.
  explicit CDialogModelWindow(CDialogModel& model) : m_Model(model) {}
  CDialogModelWindow(const CDialogModelWindow&) = delete;
  CDialogModelWindow& operator=(const CDialogModelWindow&) = delete;
  ~CDialogModelWindow();

  // Runs the dialog until OK is accepted (IDOK) or it is cancelled (IDCANCEL); -1 when the
  // window cannot be made.
  INT_PTR DoModal(HWND owner = nullptr);
  // The same window, modeless and shown; it destroys itself when OK is accepted or on cancel.
  HWND Create(HWND owner = nullptr);
  HWND GetSafeHwnd() const { return m_hWnd; }
  // IDOK or IDCANCEL once the window has ended, else 0.
  int GetEndResult() const { return m_nEnd; }

  // Copies every control's state from the model into its window.
  void Mirror();

 private:
  static INT_PTR DlgProc(HWND dlg, UINT msg, WPARAM wParam, LPARAM lParam);
  void Build(HWND dlg);
  void OnCommand(int id, int code);
  void End(int result);
  int FolderFieldId() const;

  CDialogModel& m_Model;
  HWND m_hWnd = nullptr;
  bool m_bModal = false;
  bool m_bMirroring = false;
  int m_nEnd = 0;
};

}  // namespace zev
