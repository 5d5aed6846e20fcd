// COutputObject's import and export file choice through the window layer's chooser.
#include "zevutil/TransferFileChooser.h"

#include <string>

#include "zevutil/platform/Host.h"
#include "zevutil/platform/WindowMessageBox.h"

namespace zev {

FileChooserRequest TransferFileRequest(const TransferFileDialogState& state) {
  FileChooserRequest req;
  req.mode = state.bOpen ? FileChooserRequest::Mode::Open : FileChooserRequest::Mode::Save;
  req.title = state.title.GetString();
  req.filters = ParseFileFilter(state.filter.GetString());
  req.filterIndex = state.filterIndex;
  req.initialPath = state.fileName.GetString();
  req.overwritePrompt = (state.flags & TransferFileDialogState::kOverwritePrompt) != 0;
  req.mustExist = (state.flags & TransferFileDialogState::kFileMustExist) != 0;
  return req;
}

int ShowTransferFileChooser(TransferFileDialogState& state) {
  FileChooserRequest req = TransferFileRequest(state);
  if (ChooseFile(nullptr, req) != IDOK) return IDCANCEL;
  std::string path = req.path;
  if (!state.bOpen && req.filterIndex >= 1 && req.filterIndex <= int(req.filters.size())) {
    // The caller appends the type's extension to a saved name: a name typed with it
    // would otherwise carry it twice.
    std::string suffix = req.filters[std::size_t(req.filterIndex - 1)].second;
    if (auto semi = suffix.find(';'); semi != std::string::npos) suffix.resize(semi);
    // The filter reads "*." and then the extension the caller appends.
    if (suffix.rfind("*.", 0) == 0) suffix.erase(0, 2);
    if (!suffix.empty() && path.size() > suffix.size() && path.compare(path.size() - suffix.size(), suffix.size(), suffix) == 0)
      path.resize(path.size() - suffix.size());
  }
  state.fileName = path.c_str();
  state.filterIndex = req.filterIndex;
  return IDOK;
}

bool InstallTransferFileChooser(bool evenWithoutDisplay) {
  if (!evenWithoutDisplay && !WindowsOnScreen()) return false;
  COutputObject::SetTransferFileDialog(ShowTransferFileChooser);
  return true;
}

}  // namespace zev
