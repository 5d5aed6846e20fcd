// The layer's side of the file and folder choosers: the backend shows its own when it
// has one; otherwise a scripted answer (headless tests) stands in, and none means cancel.
#include <deque>
#include <mutex>

#include "window/WindowImpl.h"
#include "zevutil/platform/FileChooser.h"
#include "zevutil/platform/WindowImage.h"

namespace zev {

namespace {

std::mutex g_scriptLock;
std::deque<FileChooserAnswer>& Script() {
  static auto* q = new std::deque<FileChooserAnswer>;  // never destroyed: used until exit
  return *q;
}

}  // namespace

bool SaveWindowImage(HWND topLevel, const char* pngPath) {
  return topLevel && pngPath && IsWindow(topLevel) && wnd::Backend().SaveWindowImage(topLevel, pngPath);
}

int ChooseFile(HWND owner, FileChooserRequest& req) {
  if (req.filterIndex < 1 || req.filterIndex > int(req.filters.size())) req.filterIndex = 1;
  if (owner) owner = GetAncestor(owner, GA_ROOT);
  int result = IDCANCEL;
  if (wnd::Backend().ChooseFile(owner, req, &result)) return result;
  FileChooserAnswer answer;
  {
    std::lock_guard<std::mutex> g(g_scriptLock);
    if (!Script().empty()) {
      answer = std::move(Script().front());
      Script().pop_front();
    }
  }
  if (!answer) return IDCANCEL;
  result = answer(req);
  if (result != IDOK || req.path.empty()) return IDCANCEL;
  return IDOK;
}

std::vector<std::pair<std::string, std::string>> ParseFileFilter(const char* filter) {
  std::vector<std::pair<std::string, std::string>> out;
  if (!filter) return out;
  std::vector<std::string> parts;
  std::string cur;
  for (const char* p = filter; *p; ++p) {
    if (*p == '|') {
      parts.push_back(cur);
      cur.clear();
    } else {
      cur += *p;
    }
  }
  if (!cur.empty()) parts.push_back(cur);
  for (std::size_t i = 0; i + 1 < parts.size(); i += 2)
    if (!parts[i].empty() || !parts[i + 1].empty()) out.emplace_back(parts[i], parts[i + 1]);
  return out;
}

void ScriptFileChooser(FileChooserAnswer answer) {
  std::lock_guard<std::mutex> g(g_scriptLock);
  Script().push_back(std::move(answer));
}

std::size_t PendingFileChooserAnswers() {
  std::lock_guard<std::mutex> g(g_scriptLock);
  return Script().size();
}

void ClearFileChooserScript() {
  std::lock_guard<std::mutex> g(g_scriptLock);
  Script().clear();
}

}  // namespace zev
