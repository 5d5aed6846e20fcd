// Headless running of the window layer: the null backend (nothing is shown, text is measured
// with fixed metrics), a scripted user that acts through the same input path a real backend
// uses, a synchronous pump, and a log of what the backend was told.
#pragma once
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "zevutil/platform/Window.h"

namespace zev {

// Makes the null backend the process's backend. Call before any window exists (tests call it
// in their set-up; it is harmless to call again).
void UseNullWindowBackend();

// Text metrics of the null backend: each character is charWidth pixels wide, each line
// lineHeight pixels high; the dialog base units are charWidth x lineHeight. Default 6 x 13.
void SetNullTextMetrics(int charWidth, int lineHeight);

// What the null backend was told, one line per call ("create 0x10004 Button",
// "text 0x10004 OK", "check 0x10004 1", ...), kept while logging is on.
void SetNullBackendLogging(bool on);
std::vector<std::string> TakeNullBackendLog();

// Dispatches everything queued for the calling thread, plus timers that are due, without
// waiting; returns the number of messages dispatched. Stops at WM_QUIT and leaves it queued.
int PumpPending();

// Called when a loop of the calling thread would wait with nothing that could wake it: no
// script step, no timer, and a virtual clock (a deadlock in a headless test). The default
// handler writes a line on stderr and posts WM_QUIT so that the loop ends. Returns the
// previous handler; an empty one restores the default.
using WouldBlockHandler = std::function<void()>;
WouldBlockHandler SetWouldBlockHandler(WouldBlockHandler handler);
// How many times a loop would have blocked (reset by ResetWindowTestState).
int WouldBlockCount();

// Destroys the calling thread's windows, empties its queue, removes its timers and hooks,
// clears the script and the log, and puts the system clock back. For test fixtures.
void ResetWindowTestState();

// A person at the screen, for headless tests. Each action goes through the backend input path
// (so disabled windows and disabled owners refuse it: the action then answers FALSE).
class ScriptedUser {
 public:
  // Clicks a button, static, list item (Select) and so on: for a button, the check logic and
  // BN_CLICKED to the parent, at once.
  static BOOL Click(HWND control);
  static BOOL DoubleClick(HWND control);
  // Types text key by key: each character is queued as WM_KEYDOWN (the virtual key) that
  // TranslateMessage turns into WM_CHAR; when the WM_KEYDOWN reaches the edit's default
  // procedure unspoilt, the character goes into the text (EN_UPDATE, EN_CHANGE). Needs a
  // running loop or PumpPending to take effect. The target gets the focus first.
  static BOOL Type(HWND control, const char* text);
  // One key (for example VK_RETURN, VK_ESCAPE, VK_TAB) to the focus window, queued.
  static BOOL PressKey(UINT virtualKey, char ch = 0);
  // A key held down or let go (for example VK_SHIFT around a PressKey(VK_TAB)), queued.
  static BOOL KeyDown(UINT virtualKey);
  static BOOL KeyUp(UINT virtualKey);
  // The whole text at once, as a paste: the layer's text changes, then EN_UPDATE, EN_CHANGE.
  static BOOL SetText(HWND control, const char* text);
  // Picks an item of a list, combo or tab control (with its notifications).
  static BOOL Select(HWND control, int index);
  // Asks a top-level window to close (WM_CLOSE).
  static BOOL Close(HWND topLevel);
  static BOOL Focus(HWND hwnd);

  // Steps run, one at a time and in order, whenever a loop of the calling thread would wait
  // for input: what the person does next.
  static void Script(std::function<void()> step);
  static std::size_t PendingSteps();
  static void ClearScript();
};

}  // namespace zev
