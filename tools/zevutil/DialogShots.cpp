// Unattended dialog steps and pictures for the dialog commands.
#include "DialogShots.h"

#include <cstdio>
#include <memory>

#include "zevutil/CPrintStatusDlg.h"
#include "zevutil/platform/FileChooser.h"
#include "zevutil/platform/WindowMessageBox.h"
#include "zevutil/platform/WindowImage.h"

namespace zevcli {

namespace {

struct Armed {
  std::function<HWND()> find;
  std::vector<ShotStep> steps;
  std::size_t next = 0;
  int settle = 0;
  UINT_PTR timer = 0;
};
Armed* g_armed = nullptr;

void Tick(HWND, UINT, UINT_PTR, DWORD) {
  Armed* a = g_armed;
  if (!a) return;
  HWND w = a->find ? a->find() : nullptr;
  if (!w || !zev::IsWindowVisible(w)) {
    a->settle = 0;
    return;
  }
  if (a->settle++ < 1) return;  // one more period to be laid out and drawn
  if (a->next < a->steps.size()) {
    ShotStep& s = a->steps[a->next++];
    if (!s.png.empty()) {
      if (!zev::SaveWindowImage(w, s.png.c_str())) std::fprintf(stderr, "zevutil: could not save '%s'\n", s.png.c_str());
    } else if (s.act) {
      s.act(w);
    }
  }
  if (a->next >= a->steps.size() && g_armed == a) {
    zev::KillTimer(nullptr, a->timer);
    g_armed = nullptr;
    delete a;
  }
}

}  // namespace

void ArmShotSteps(std::function<HWND()> find, std::vector<ShotStep> steps, unsigned periodMs) {
  if (g_armed) {
    zev::KillTimer(nullptr, g_armed->timer);
    delete g_armed;
  }
  g_armed = new Armed{std::move(find), std::move(steps)};
  g_armed->timer = zev::SetTimer(nullptr, 0, periodMs, Tick);
}

std::string ShotName(const std::string& base, const std::string& suffix) {
  std::string b = base;
  if (b.size() > 4 && b.compare(b.size() - 4, 4, ".png") == 0) b.resize(b.size() - 4);
  return suffix.empty() ? b + ".png" : b + "-" + suffix + ".png";
}

bool DisplayOrSay(const char* insteadText) {
  if (zev::WindowsOnScreen()) return true;
  std::fprintf(stderr, "zevutil: no display to show the dialog on; %s\n", insteadText);
  return false;
}

namespace {

BOOL FindStatusWindow(HWND w, zev::LPARAM found) {
  if (zev::IsWindowVisible(w) && zev::GetDlgItem(w, zev::IDC_PRINTSTATUS_PAGE)) {
    *reinterpret_cast<HWND*>(found) = w;
    return zev::FALSE;
  }
  return zev::TRUE;
}

}  // namespace

zev::PrintStatusHandler& StatusWindows() {
  static auto* h = new zev::PrintStatusHandler;  // used until the process ends
  return *h;
}

const zev::PrintStatusHandler& PrintStatusDialogHandler() { return StatusWindows(); }

void UsePrintStatusDialog(const std::string& shot) {
  if (!DisplayOrSay("the print status goes to the terminal")) return;
  // The status windows take the events from the handler they replace, then it is put back:
  // the print run installs its own and hands the events on.
  zev::PrintStatusHandler before = zev::SetPrintStatusHandler({});
  zev::UsePrintStatusWindows();
  zev::PrintStatusHandler windows = zev::SetPrintStatusHandler(before);
  auto taken = std::make_shared<bool>(false);
  auto picture = [taken, shot] {
    HWND w = nullptr;
    zev::EnumThreadWindows(zev::GetCurrentThreadId(), FindStatusWindow, zev::LPARAM(&w));
    if (!w) return;
    *taken = true;
    if (!zev::SaveWindowImage(w, ShotName(shot, "status").c_str()))
      std::fprintf(stderr, "zevutil: could not save the print status picture\n");
  };
  StatusWindows() = [windows, taken, shot, picture](const zev::PrintStatusInfo& status) {
    // At the first page; a job whose pages do not report goes in the picture as it closes.
    const bool want = !shot.empty() && !*taken;
    if (want && status.event == zev::PrintStatusEvent::Close) picture();
    if (windows) windows(status);
    if (want && status.event == zev::PrintStatusEvent::Page) picture();
  };
}

}  // namespace zevcli
