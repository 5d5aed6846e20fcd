// A picture of a window as it is on screen, for demonstrations and for people who look at
// what a run showed.
#pragma once
#include "zevutil/platform/Types.h"

namespace zev {

// Saves what the display shows of the top-level window as a PNG file. False without a
// display, for a window that is not shown yet, or when the file cannot be written.
bool SaveWindowImage(HWND topLevel, const char* pngPath);

}  // namespace zev
