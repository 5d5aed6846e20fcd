// Choosing a file or a folder: the common file dialogs of the window layer. On a display
// the backend shows its own chooser (GTK's file chooser), waited for in the layer's own
// modal loop with the owner disabled meanwhile; without one, a test's scripted answer
// stands in for the person, and with no answer scripted the choice counts as cancelled.
#pragma once
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "zevutil/platform/Types.h"
#include "zevutil/platform/WinTypes.h"

namespace zev {

struct FileChooserRequest {
  enum class Mode { Open, Save, Folder };
  Mode mode = Mode::Open;
  std::string title;
  // Name and patterns of each filter, for example {"ABIF files (*.ab1)", "*.ab1;*.abi"}.
  std::vector<std::pair<std::string, std::string>> filters;
  int filterIndex = 1;       // in: the filter shown first; out: the one chosen; from 1
  std::string initialPath;   // in: a proposed file name or path; for a folder, the folder
  bool overwritePrompt = false;  // save: ask before replacing a file
  bool mustExist = false;        // open: only an existing file is accepted
  std::string path;              // out: the chosen file or folder
};

// Shows the chooser owned by 'owner' and returns IDOK (with req.path set) or IDCANCEL.
int ChooseFile(HWND owner, FileChooserRequest& req);

// The old platform's filter string, "Name|patterns|" per entry, as pairs; a trailing
// empty entry or an odd last part is dropped.
std::vector<std::pair<std::string, std::string>> ParseFileFilter(const char* filter);

// Headless runs: the next chooser shown without a display calls the oldest queued answer,
// which fills in the request as the person would and returns IDOK or IDCANCEL.
using FileChooserAnswer = std::function<int(FileChooserRequest&)>;
void ScriptFileChooser(FileChooserAnswer answer);
std::size_t PendingFileChooserAnswers();
void ClearFileChooserScript();

}  // namespace zev
