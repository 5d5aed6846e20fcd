// Dialog commands run unattended (the demo and people trying them under Xvfb): once the
// dialog is on screen and drawn, steps act as the person would, and pictures are saved.
#pragma once
#include <functional>
#include <string>
#include <vector>

#include "zevutil/platform/Print.h"
#include "zevutil/platform/Window.h"

namespace zevcli {

using zev::HWND;
using zev::UINT;
using zev::UINT_PTR;
using zev::DWORD;
using zev::BOOL;

// One step: what to do with the dialog's window, or a picture of it saved to 'png'.
struct ShotStep {
  std::string png;                  // non-empty: save the picture
  std::function<void(HWND)> act;    // otherwise: act on the window
};

// Runs the steps, one each 'periodMs' once 'find' answers a visible window, on a thread
// timer of the calling thread (the dialog's own loop runs it). A picture that cannot be
// saved is said on stderr.
void ArmShotSteps(std::function<HWND()> find, std::vector<ShotStep> steps, unsigned periodMs = 250);

// The picture file for '--shot BASE' and a suffix: BASE.png, or BASE-suffix.png.
std::string ShotName(const std::string& base, const std::string& suffix);

// True when the thread's windows are shown on a display; otherwise says why on stderr,
// one line, naming what happens instead.
bool DisplayOrSay(const char* insteadText);

}  // namespace zevcli

namespace zevcli {

// print --dialog: the print status window serves the jobs of this run when there is a
// display (otherwise says so, and the status goes where it went). With 'shot', a picture
// of the window is saved at its first page as SHOT-status.png.
void UsePrintStatusDialog(const std::string& shot);
// The status window's handler once UsePrintStatusDialog installed it (empty before): a
// print run that takes the status events for itself hands them on to it.
const zev::PrintStatusHandler& PrintStatusDialogHandler();

}  // namespace zevcli
