// export --dialog: the export option dialog for the inputs' object type, and the progress
// window of the batch whose cancel stops it between files.
#pragma once
#include <cstddef>
#include <memory>
#include <string>

#include "zevutil/COutputObject.h"

namespace zevcli {

// What the dialog decides; in: the command line's choice, shown as the dialog's start.
struct ExportDialogChoice {
  zev::EEXPORT_TYPE type = zev::EXPORT_NONE;
  std::string outDir;
  int minLength = -1;
  bool resolve = false;
  bool applyTrimming = false;
};

// Shows the dialog (on a display; without one says so and keeps the choice) and returns
// false when the person cancelled it. 'shot' (unattended runs): save its picture as
// SHOT.png, then press OK.
bool ChooseExportInDialog(ExportDialogChoice& choice, const std::string& shot);

// The batch's progress window; without a display, nothing is shown and Next always goes on.
class ExportProgressWindow {
 public:
  ExportProgressWindow(std::size_t total, const std::string& shot);
  ~ExportProgressWindow();
  // Shows the next file; false once the person has cancelled (and confirmed).
  bool Next(const std::string& path);

 private:
  struct Impl;
  std::unique_ptr<Impl> m;
};

}  // namespace zevcli
