// The status window of a running print job: document title, printer, port and page, with a
// cancel button that sets the job's cancel flag at once. It serves the platform's print
// status events, so the print object shows it without knowing of windows.
#pragma once
#include <map>
#include <memory>

#include "zevutil/CZevDlg.h"
#include "zevutil/platform/Print.h"

namespace zev {

// The template and its controls.
inline constexpr const char* IDD_PRINTSTATUS = "IDD_PRINTSTATUS";
inline constexpr int IDC_PRINTSTATUS_TITLE = 12501, IDC_PRINTSTATUS_PRINTER = 12502, IDC_PRINTSTATUS_PORT = 12503,
                     IDC_PRINTSTATUS_PAGE = 12504, IDC_PRINTSTATUS_CANCELLED = 12505;

class CPrintStatusDlg : public CZevDlg {
 public:
  CPrintStatusDlg() = default;

  // Makes and shows the window, disabling 'parent' while it is up (when it was enabled), and
  // clears the cancel flag. A title beyond 30 characters is cut to 30. FALSE when the window
  // could not be made.
  BOOL Open(const char* title, const char* printer, const char* port, LONG* cancelFlag, CWnd* parent);
  // Shows the page text ("Page 3") and runs the waiting messages, so that a press of the
  // cancel button is seen between pages.
  void SetPage(const char* text);
  // Runs the waiting messages for the window. FALSE once the window is gone.
  BOOL PumpMessages();
  // Gives the parent back its enabled state and destroys the window.
  void Close();

 protected:
  // Sets the cancel flag to 1 without asking, disables and hides the cancel button and shows
  // the "Cancelled" line in its place. The window stays until the job ends.
  void OnCancel() override;
  // Enter does not end the job's window.
  void OnOK() override {}
  // The close box is a cancel too.
  void OnClose() override { OnCancel(); }

  LONG* m_pCancelFlag = nullptr;
};

// Serves the print status events with a CPrintStatusDlg per job. Each Open makes a window
// whose parent is the window active at that moment; Page shows the page and runs the waiting
// messages; Close takes the window down.
class PrintStatusWindows {
 public:
  void operator()(const PrintStatusInfo& status);
  // The window of a job that is open, or null.
  CPrintStatusDlg* Find(void* job) const;

 private:
  std::map<void*, std::unique_ptr<CPrintStatusDlg>> m_jobs;
};

// Installs a print status handler that shows the status window when this thread's windows
// are on screen and hands the events to the handler it replaced otherwise. Returns that
// previous handler (give it back to SetPrintStatusHandler to undo).
PrintStatusHandler UsePrintStatusWindows();

}  // namespace zev
