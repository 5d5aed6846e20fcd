// The import and export file choice of COutputObject shown with the window layer's file
// chooser.
#pragma once
#include "zevutil/COutputObject.h"
#include "zevutil/platform/FileChooser.h"

namespace zev {

// The chooser request for a transfer choice: open or save, its filters, the proposed name,
// the filter shown first, and the overwrite and must-exist rules of its flags.
FileChooserRequest TransferFileRequest(const TransferFileDialogState& state);

// Shows the chooser for the choice and writes the answer back: the chosen path (on save
// without the chosen filter's extension, which the caller appends) and filter. IDOK or
// IDCANCEL.
int ShowTransferFileChooser(TransferFileDialogState& state);

// Installs ShowTransferFileChooser as COutputObject's transfer file dialog when the calling
// thread's windows are shown on a display, or always when 'evenWithoutDisplay' (headless
// runs that script the chooser's answers). Returns whether it was installed.
bool InstallTransferFileChooser(bool evenWithoutDisplay = false);

}  // namespace zev
