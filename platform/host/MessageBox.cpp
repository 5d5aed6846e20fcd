// The message box and trace sink: replaceable handlers. The default message box is the
// toolkit's window box when the toolkit installed one and a display shows this thread's
// windows; otherwise it asks on the terminal when there is one and answers the default
// button when there is none. The default trace sink does nothing.
#include <strings.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "zevutil/platform/CString.h"
#include "zevutil/platform/Host.h"
#include "zevutil/platform/WindowMessageBox.h"
#include "window/WindowBackend.h"

namespace zev {

namespace {
std::mutex g_handlerLock;
MessageBoxHandler& BoxHandler() {
  static MessageBoxHandler* h = new MessageBoxHandler;
  return *h;
}
std::atomic<WindowMessageBoxFn> g_windowBox{nullptr};
TraceHandler& TraceSink() {
  static TraceHandler* h = new TraceHandler;
  return *h;
}

struct Button {
  const char* label;
  int id;
};
std::vector<Button> ButtonsOf(UINT style) {
  switch (style & 0xF) {
    case MB_OKCANCEL: return {{"OK", IDOK}, {"Cancel", IDCANCEL}};
    case MB_ABORTRETRYIGNORE: return {{"Abort", IDABORT}, {"Retry", IDRETRY}, {"Ignore", IDIGNORE}};
    case MB_YESNOCANCEL: return {{"Yes", IDYES}, {"No", IDNO}, {"Cancel", IDCANCEL}};
    case MB_YESNO: return {{"Yes", IDYES}, {"No", IDNO}};
    case MB_RETRYCANCEL: return {{"Retry", IDRETRY}, {"Cancel", IDCANCEL}};
    default: return {{"OK", IDOK}};
  }
}

int TerminalBox(const char* text, const char* caption, UINT style) {
  std::vector<Button> buttons = ButtonsOf(style);
  int def = DefaultMessageBoxAnswer(style);
  std::fprintf(stderr, "[%s] %s\n", caption ? caption : "", text ? text : "");
  bool interactive = ::isatty(STDIN_FILENO) && ::isatty(STDERR_FILENO);
  if (!interactive || buttons.size() == 1) {
    for (const Button& b : buttons)
      if (b.id == def) std::fprintf(stderr, "  -> %s\n", b.label);
    return def;
  }
  for (;;) {
    std::fprintf(stderr, "  ");
    for (size_t i = 0; i < buttons.size(); ++i)
      std::fprintf(stderr, "%s[%zu] %s%s", i ? "  " : "", i + 1, buttons[i].label,
                   buttons[i].id == def ? " (default)" : "");
    std::fprintf(stderr, ": ");
    std::fflush(stderr);
    char line[64];
    if (!std::fgets(line, sizeof line, stdin)) return def;
    if (line[0] == '\n') return def;
    unsigned long n = std::strtoul(line, nullptr, 10);
    if (n >= 1 && n <= buttons.size()) return buttons[n - 1].id;
    for (const Button& b : buttons)
      if (::strncasecmp(line, b.label, std::strlen(b.label)) == 0) return b.id;
  }
}
}  // namespace

int DefaultMessageBoxAnswer(UINT style) {
  std::vector<Button> buttons = ButtonsOf(style);
  size_t which = (style & 0xF00) >> 8;
  if (which >= buttons.size()) which = 0;
  return buttons[which].id;
}

int MessageBoxA(HWND owner, const char* text, const char* caption, UINT style) {
  MessageBoxHandler h;
  {
    std::lock_guard<std::mutex> g(g_handlerLock);
    h = BoxHandler();
  }
  if (h) return h(owner, text, caption, style);
  if (WindowMessageBoxFn box = g_windowBox.load(std::memory_order_acquire); box && WindowMessageBoxAvailable())
    if (int answer = box(owner, text, caption, style)) return answer;
  return TerminalBox(text, caption, style);
}

MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler) {
  std::lock_guard<std::mutex> g(g_handlerLock);
  MessageBoxHandler old = std::move(BoxHandler());
  BoxHandler() = std::move(handler);
  return old;
}

WindowMessageBoxFn SetWindowMessageBox(WindowMessageBoxFn fn) {
  return g_windowBox.exchange(fn, std::memory_order_acq_rel);
}

bool WindowsOnScreen() {
  // Only the display backend shows windows, and it serves the thread that opened the
  // display: the main thread in the suite's programs. Elsewhere a window would wait unseen.
  // The thread is asked first: the backend is picked (and the display opened) by the first
  // thread that asks for it, which must not be a worker.
  return ::gettid() == ::getpid() && std::strcmp(wnd::Backend().Name(), "null") != 0;
}

bool WindowMessageBoxAvailable() { return g_windowBox.load(std::memory_order_acquire) && WindowsOnScreen(); }

TraceHandler SetTraceHandler(TraceHandler handler) {
  std::lock_guard<std::mutex> g(g_handlerLock);
  TraceHandler old = std::move(TraceSink());
  TraceSink() = std::move(handler);
  return old;
}

bool HasTraceHandler() {
  std::lock_guard<std::mutex> g(g_handlerLock);
  return bool(TraceSink());
}

void TraceOut(const char* fmt, ...) {
  TraceHandler h;
  {
    std::lock_guard<std::mutex> g(g_handlerLock);
    h = TraceSink();
  }
  if (!h) return;  // the default sink does nothing
  va_list ap;
  va_start(ap, fmt);
  std::string text = FormatWin(fmt, ap);
  va_end(ap);
  h(text.c_str());
}

}  // namespace zev
