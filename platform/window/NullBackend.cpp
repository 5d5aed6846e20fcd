// The null backend (nothing is shown; fixed text metrics; virtual time moves when a loop
// would wait), the scripted user that drives it through the backend input path, and the
// helpers of headless tests.
#include <cstdio>
#include <deque>
#include <map>

#include "window/WindowImpl.h"
#include "zevutil/platform/WindowTesting.h"

namespace zev {

using namespace wnd;

namespace {

const char* ChangeName(StateChange c) {
  switch (c) {
    case StateChange::Check: return "check";
    case StateChange::ItemInserted: return "insert";
    case StateChange::ItemDeleted: return "delete";
    case StateChange::ItemsReset: return "reset";
    case StateChange::ItemChanged: return "item";
    case StateChange::Selection: return "select";
    case StateChange::Progress: return "progress";
    case StateChange::TextLimit: return "limit";
    case StateChange::EditSelection: return "editsel";
    case StateChange::ReadOnly: return "readonly";
    case StateChange::Style: return "style";
    case StateChange::Font: return "font";
    case StateChange::Icon: return "icon";
    case StateChange::DefaultButton: return "default";
    case StateChange::DropDown: return "dropdown";
  }
  return "?";
}

unsigned HandleValue(HWND h) { return unsigned(reinterpret_cast<std::uintptr_t>(h)); }

struct KeyEvent {
  HWND hwnd;
  UINT vk;
  UINT ch;
};

void DefaultWouldBlock() {
  std::fputs("window layer: a loop would wait with nothing that could wake it (no script step, no timer)\n",
             stderr);
  PostQuitMessage(-1);
}

class NullBackend final : public WindowBackend {
 public:
  const char* Name() const override { return "null"; }

  void WindowCreated(HWND h) override {
    if (!Logging()) return;
    WindowView v;
    GetWindowView(h, &v);
    Log("create 0x%x %s", HandleValue(h), v.className.c_str());
  }
  void WindowDestroyed(HWND h) override { Log("destroy 0x%x", HandleValue(h)); }
  void WindowMoved(HWND h) override {
    if (!Logging()) return;
    WindowView v;
    GetWindowView(h, &v);
    Log("move 0x%x %d,%d,%d,%d", HandleValue(h), int(v.rect.left), int(v.rect.top), int(v.rect.right),
        int(v.rect.bottom));
  }
  void WindowShown(HWND h, bool on) override { Log("show 0x%x %d", HandleValue(h), on ? 1 : 0); }
  void WindowEnabled(HWND h, bool on) override { Log("enable 0x%x %d", HandleValue(h), on ? 1 : 0); }
  void WindowTextChanged(HWND h) override {
    if (!Logging()) return;
    WindowView v;
    GetWindowView(h, &v);
    Log("text 0x%x %s", HandleValue(h), v.text.c_str());
  }
  void WindowParentChanged(HWND h) override { Log("parent 0x%x", HandleValue(h)); }
  void WindowZOrderChanged(HWND h) override { Log("zorder 0x%x", HandleValue(h)); }
  void ControlChanged(HWND h, StateChange what, int index) override {
    if (!Logging()) return;
    ControlView v;
    GetControlView(h, &v);
    int value = index;
    if (what == StateChange::Check) value = int(v.check);
    if (what == StateChange::Progress) value = v.pos;
    Log("%s 0x%x %d", ChangeName(what), HandleValue(h), value);
  }
  void FocusChanged(HWND h) override { Log("focus 0x%x", HandleValue(h)); }
  void ModalChanged(HWND dlg, HWND owner, bool on) override {
    Log("modal 0x%x 0x%x %d", HandleValue(dlg), HandleValue(owner), on ? 1 : 0);
  }
  void Invalidated(HWND h) override { Log("invalidate 0x%x", HandleValue(h)); }
  void UpdateNow(HWND h) override { Log("update 0x%x", HandleValue(h)); }
  void Beep(UINT type) override { Log("beep %u", type); }

  SIZE MeasureText(HWND, const char* text, int wrapWidth) override {
    int cw, lh;
    Metrics(&cw, &lh);
    std::string t = text ? text : "";
    int lines = 0, widest = 0;
    std::size_t start = 0;
    for (;;) {
      std::size_t nl = t.find('\n', start);
      std::string line = t.substr(start, nl == std::string::npos ? std::string::npos : nl - start);
      if (!line.empty() && line.back() == '\r') line.pop_back();
      if (wrapWidth > 0 && cw > 0) {
        // Greedy word wrap on whole characters.
        const int perLine = std::max(1, wrapWidth / cw);
        std::size_t pos = 0;
        do {
          std::size_t take = std::min<std::size_t>(std::size_t(perLine), line.size() - pos);
          if (pos + take < line.size()) {
            std::size_t sp = line.rfind(' ', pos + take);
            if (sp != std::string::npos && sp > pos) take = sp - pos + 1;
          }
          std::string piece = line.substr(pos, take);
          while (!piece.empty() && piece.back() == ' ') piece.pop_back();
          widest = std::max(widest, int(piece.size()) * cw);
          ++lines;
          pos += take;
        } while (pos < line.size());
      } else {
        widest = std::max(widest, int(line.size()) * cw);
        ++lines;
      }
      if (nl == std::string::npos) break;
      start = nl + 1;
    }
    return {widest, lines * lh};
  }
  SIZE DialogBaseUnits(const char*, int) override {
    int cw, lh;
    Metrics(&cw, &lh);
    return {cw, lh};
  }

  void Wait(ULONGLONG deadline) override {
    if (HasQueuedMessages()) return;
    if (std::function<void()> step = NextStep()) {
      step();
      return;
    }
    Clock& clock = GetClock();
    if (clock.IsVirtual()) {
      if (deadline != kNoDeadline) {
        clock.AdvanceTo(deadline);
        return;
      }
      WouldBlockHandler h;
      {
        std::lock_guard<std::mutex> g(m_lock);
        ++m_wouldBlock;
        h = m_wouldBlockHandler;
      }
      if (h)
        h();
      else
        DefaultWouldBlock();
      return;
    }
    DefaultWait(deadline);
  }
  void Poll() override {}
  void Wake(DWORD) override {}

  void ReinjectInput(std::uintptr_t token) override {
    KeyEvent k;
    if (!TakeToken(token, &k)) return;
    Log("reinject 0x%x %u", HandleValue(k.hwnd), k.vk);
    // What the widget would do with the key.
    Wnd* w = Thread().Find(k.hwnd);
    if (!w) return;
    switch (w->kind) {
      case ControlKind::Edit:
      case ControlKind::ComboBox: {
        std::string t;
        if (ApplyKeyToText(w, k.vk, k.ch, &t)) UserSetText(w, t);
        break;
      }
      case ControlKind::PushButton:
      case ControlKind::CheckBox:
      case ControlKind::RadioButton:
        if (k.vk == VK_SPACE) InputClick(k.hwnd);
        break;
      case ControlKind::ListBox: {
        int cur = int(SendMessageA(k.hwnd, LB_GETCURSEL, 0, 0));
        int n = int(SendMessageA(k.hwnd, LB_GETCOUNT, 0, 0));
        if (k.vk == VK_DOWN && cur + 1 < n) InputSelect(k.hwnd, cur + 1);
        if (k.vk == VK_UP && cur > 0) InputSelect(k.hwnd, cur - 1);
        break;
      }
      default:
        break;
    }
  }
  void DropInput(std::uintptr_t token) override {
    KeyEvent k;
    if (TakeToken(token, &k)) Log("drop 0x%x %u", HandleValue(k.hwnd), k.vk);
  }

  // ---- for the scripted user and the tests ----
  std::uintptr_t NewToken(HWND h, UINT vk, UINT ch) {
    std::lock_guard<std::mutex> g(m_lock);
    std::uintptr_t t = ++m_nextToken;
    m_tokens[t] = {h, vk, ch};
    return t;
  }
  void SetMetrics(int cw, int lh) {
    std::lock_guard<std::mutex> g(m_lock);
    m_cw = cw;
    m_lh = lh;
  }
  void SetLogging(bool on) {
    std::lock_guard<std::mutex> g(m_lock);
    m_logging = on;
  }
  std::vector<std::string> TakeLog() {
    std::lock_guard<std::mutex> g(m_lock);
    std::vector<std::string> out;
    out.swap(m_log);
    return out;
  }
  void AddStep(std::function<void()> step) {
    std::lock_guard<std::mutex> g(m_lock);
    m_script.push_back(std::move(step));
  }
  std::size_t Steps() {
    std::lock_guard<std::mutex> g(m_lock);
    return m_script.size();
  }
  void ClearSteps() {
    std::lock_guard<std::mutex> g(m_lock);
    m_script.clear();
  }
  WouldBlockHandler SetWouldBlock(WouldBlockHandler h) {
    std::lock_guard<std::mutex> g(m_lock);
    WouldBlockHandler old = std::move(m_wouldBlockHandler);
    m_wouldBlockHandler = std::move(h);
    return old;
  }
  int WouldBlocks() {
    std::lock_guard<std::mutex> g(m_lock);
    return m_wouldBlock;
  }
  void ResetCounters() {
    std::lock_guard<std::mutex> g(m_lock);
    m_wouldBlock = 0;
    m_tokens.clear();
  }

 private:
  bool Logging() {
    std::lock_guard<std::mutex> g(m_lock);
    return m_logging;
  }
  template <typename... A>
  void Log(const char* fmt, A... args) {
    std::lock_guard<std::mutex> g(m_lock);
    if (!m_logging) return;
    char buf[512];
    std::snprintf(buf, sizeof buf, fmt, args...);
    m_log.emplace_back(buf);
  }
  void Metrics(int* cw, int* lh) {
    std::lock_guard<std::mutex> g(m_lock);
    *cw = m_cw;
    *lh = m_lh;
  }
  std::function<void()> NextStep() {
    std::lock_guard<std::mutex> g(m_lock);
    if (m_script.empty()) return {};
    std::function<void()> s = std::move(m_script.front());
    m_script.pop_front();
    return s;
  }
  bool TakeToken(std::uintptr_t token, KeyEvent* out) {
    std::lock_guard<std::mutex> g(m_lock);
    auto it = m_tokens.find(token);
    if (it == m_tokens.end()) return false;
    *out = it->second;
    m_tokens.erase(it);
    return true;
  }

  std::mutex m_lock;
  int m_cw = 6, m_lh = 13;
  bool m_logging = false;
  std::vector<std::string> m_log;
  std::deque<std::function<void()>> m_script;
  std::map<std::uintptr_t, KeyEvent> m_tokens;
  std::uintptr_t m_nextToken = 0;
  WouldBlockHandler m_wouldBlockHandler;
  int m_wouldBlock = 0;
};

NullBackend& Null() {
  static NullBackend* b = new NullBackend;  // lives as long as any thread may call it
  return *b;
}

UINT VirtualKeyOf(char c) {
  if (c >= 'a' && c <= 'z') return UINT(c - 'a' + 'A');
  if ((c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) return UINT(c);
  switch (c) {
    case ' ': return VK_SPACE;
    case '\r':
    case '\n': return VK_RETURN;
    case '\t': return VK_TAB;
    case '\b': return VK_BACK;
    case 27: return VK_ESCAPE;
    default: return 0xBA;  // an OEM key
  }
}

BOOL SendKey(HWND target, UINT vk, UINT ch) {
  std::uintptr_t token = Null().NewToken(target, vk, ch);
  if (!InputKey(target, WM_KEYDOWN, vk, 1, ch, token)) return FALSE;
  InputKey(target, WM_KEYUP, vk, LPARAM(0xC0000001u), 0, 0);
  return TRUE;
}

}  // namespace

namespace wnd {
WindowBackend* NullBackendInstance() { return &Null(); }
}  // namespace wnd

void UseNullWindowBackend() { SetBackend(&Null()); }
void SetNullTextMetrics(int charWidth, int lineHeight) { Null().SetMetrics(charWidth, lineHeight); }
void SetNullBackendLogging(bool on) { Null().SetLogging(on); }
std::vector<std::string> TakeNullBackendLog() { return Null().TakeLog(); }
WouldBlockHandler SetWouldBlockHandler(WouldBlockHandler handler) { return Null().SetWouldBlock(std::move(handler)); }
int WouldBlockCount() { return Null().WouldBlocks(); }

int PumpPending() {
  int n = 0;
  MSG m;
  while (n < 1000000 && PeekMessageA(&m, nullptr, 0, 0, PM_REMOVE)) {
    if (m.message == WM_QUIT) {
      PostQuitMessage(int(m.wParam));
      break;
    }
    TranslateMessage(&m);
    DispatchMessageA(&m);
    ++n;
  }
  return n;
}

void ResetWindowTestState() {
  ClearFileChooserScript();
  ThreadState& ts = Thread();
  std::vector<HWND> tops;
  for (Wnd* w : ts.topLevels) tops.push_back(w->hwnd);
  for (HWND h : tops)
    if (IsWindow(h)) DestroyWindow(h);
  {
    std::lock_guard<std::mutex> g(ts.queue->m);
    ts.queue->posted.clear();
    ts.queue->quit = false;
  }
  ts.timers.clear();
  if (ts.hookDepth == 0)
    for (auto& chain : ts.hooks) {
      for (HookRec* h : chain) delete h;
      chain.clear();
    }
  ts.pending = {};
  ts.frames.clear();
  ts.focus = ts.active = ts.capture = nullptr;
  Null().ClearSteps();
  Null().SetLogging(false);
  Null().TakeLog();
  Null().SetWouldBlock({});
  Null().ResetCounters();
  Null().SetMetrics(6, 13);
  SetClock(nullptr);
}

// ---- the scripted user ----

BOOL ScriptedUser::Click(HWND control) { return InputClick(control); }
BOOL ScriptedUser::DoubleClick(HWND control) { return InputDoubleClick(control); }

BOOL ScriptedUser::Type(HWND control, const char* text) {
  if (!InputAllowed(control) || !text) return FALSE;
  if (GetFocus() != control && !InputFocus(control)) return FALSE;
  for (const char* p = text; *p; ++p)
    if (!SendKey(control, VirtualKeyOf(*p), UINT(static_cast<unsigned char>(*p)))) return FALSE;
  return TRUE;
}

BOOL ScriptedUser::PressKey(UINT virtualKey, char ch) {
  HWND target = GetFocus();
  if (!target) target = GetActiveWindow();
  if (!target) return FALSE;
  return SendKey(target, virtualKey, UINT(static_cast<unsigned char>(ch)));
}

BOOL ScriptedUser::KeyDown(UINT virtualKey) {
  HWND target = GetFocus() ? GetFocus() : GetActiveWindow();
  return target ? InputKey(target, WM_KEYDOWN, virtualKey, 1, 0, Null().NewToken(target, virtualKey, 0)) : FALSE;
}

BOOL ScriptedUser::KeyUp(UINT virtualKey) {
  HWND target = GetFocus() ? GetFocus() : GetActiveWindow();
  return target ? InputKey(target, WM_KEYUP, virtualKey, LPARAM(0xC0000001u), 0, 0) : FALSE;
}

BOOL ScriptedUser::SetText(HWND control, const char* text) { return InputText(control, text); }
BOOL ScriptedUser::Select(HWND control, int index) { return InputSelect(control, index); }
BOOL ScriptedUser::Close(HWND topLevel) { return InputClose(topLevel); }
BOOL ScriptedUser::Focus(HWND hwnd) { return InputFocus(hwnd); }
void ScriptedUser::Script(std::function<void()> step) { Null().AddStep(std::move(step)); }
std::size_t ScriptedUser::PendingSteps() { return Null().Steps(); }
void ScriptedUser::ClearScript() { Null().ClearSteps(); }

}  // namespace zev
