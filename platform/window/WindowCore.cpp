// Window records: the handle registry, classes, creation and destruction with their messages,
// procedures and long values, properties, the tree, and the default window procedure.
#include <algorithm>
#include <cstring>

#include "window/WindowImpl.h"

namespace zev {

inline constexpr DWORD ERROR_INVALID_WINDOW_HANDLE = 1400;
inline constexpr DWORD ERROR_INVALID_INDEX = 1413;
inline constexpr DWORD ERROR_CLASS_ALREADY_EXISTS = 1410;
inline constexpr DWORD ERROR_CANNOT_FIND_WND_CLASS = 1407;
inline constexpr DWORD ERROR_TLW_WITH_WSCHILD = 1406;

namespace wnd {

namespace {

// Handle values start above the pseudo-handle of the desktop and the special values.
constexpr DWORD kDesktopHandle = 0x00010010;
constexpr DWORD kFirstHandle = 0x00010020;

struct Registry {
  std::mutex m;
  std::unordered_map<DWORD, Wnd*> all;
  std::unordered_map<DWORD, std::weak_ptr<MessageQueue>> queues;
  DWORD next = kFirstHandle;
  std::vector<std::unique_ptr<WndClass>> classes;
  ATOM nextAtom = 0xC000;
  bool builtIns = false;
};

Registry& Reg() {
  static Registry* r = new Registry;  // never destroyed: windows of late threads still look it up
  return *r;
}

std::string Lower(const char* s) {
  std::string r = s ? s : "";
  for (char& c : r) c = char(std::tolower(static_cast<unsigned char>(c)));
  return r;
}

bool EqualNoCase(const std::string& a, const char* b) {
  if (!b) return false;
  std::size_t n = std::strlen(b);
  if (n != a.size()) return false;
  for (std::size_t i = 0; i < n; ++i)
    if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
      return false;
  return true;
}

std::string PropKey(LPCSTR name) {
  if (IS_INTRESOURCE(name)) return "#" + std::to_string(reinterpret_cast<std::uintptr_t>(name));
  return Lower(name);
}

DWORD NewHandleLocked(Registry& r) {
  for (;;) {
    DWORD v = r.next;
    r.next += 2;
    if (r.next < kFirstHandle) r.next = kFirstHandle;  // wrapped: start over above the specials
    if (!r.all.count(v)) return v;
  }
}

// The main thread's state outlives its thread-local holder: objects destroyed at exit
// (hooks, windows of static objects) still reach it. It stays reachable from here.
ThreadState* g_mainState = nullptr;
// States made after a thread's holder is gone (a thread-local destructor running late).
std::vector<ThreadState*>* g_lateStates = nullptr;

thread_local ThreadState* t_state = nullptr;
thread_local bool t_holderGone = false;
struct ThreadHolder {
  std::unique_ptr<ThreadState> state;
  ~ThreadHolder() {
    t_holderGone = true;
    if (state && state->tid == GetCurrentProcessId()) {
      g_mainState = state.release();
      return;
    }
    t_state = nullptr;
    state.reset();
  }
};
thread_local ThreadHolder t_holder;

void SendParentNotify(Wnd* w, UINT event) {
  Wnd* c = w;
  HWND h = w->hwnd;
  UINT_PTR id = w->id;
  while (c && !c->dead && (c->style & WS_CHILD) && !(c->exStyle & WS_EX_NOPARENTNOTIFY) && c->parent) {
    Wnd* p = c->parent;
    Send(p, WM_PARENTNOTIFY, MAKEWPARAM(WORD(event), WORD(id)), reinterpret_cast<LPARAM>(h));
    c = p;
  }
}

void SendDestroyTree(Wnd* w) {
  if (w->dead) return;
  BusyGuard g(w);
  Send(w, WM_DESTROY, 0, 0);
  std::vector<Wnd*> kids = w->children;
  for (Wnd* c : kids)
    if (!c->dead && std::find(w->children.begin(), w->children.end(), c) != w->children.end()) {
      c->destroying = true;
      SendDestroyTree(c);
    }
}

void Unlink(Wnd* w) {
  ThreadState& ts = *w->thread;
  if (w->parent) {
    auto& v = w->parent->children;
    v.erase(std::remove(v.begin(), v.end(), w), v.end());
    w->parent = nullptr;
  } else {
    auto& v = ts.topLevels;
    v.erase(std::remove(v.begin(), v.end(), w), v.end());
  }
  for (Wnd* t : ts.topLevels)
    if (t->owner == w) t->owner = nullptr;
  w->owner = nullptr;
}

void MarkDead(Wnd* w) {
  ThreadState& ts = *w->thread;
  RemoveTimersOf(ts, w->handle);
  if (ts.focus == w->hwnd) ts.focus = nullptr;
  if (ts.active == w->hwnd) ts.active = nullptr;
  if (ts.capture == w->hwnd) ts.capture = nullptr;
  ts.windows.erase(w->handle);
  {
    std::lock_guard<std::mutex> g(Reg().m);
    Reg().all.erase(w->handle);
  }
  w->dead = true;
}

void FreeTree(Wnd* w) {
  if (w->dead) return;
  BusyGuard g(w);
  std::vector<Wnd*> kids = w->children;
  for (Wnd* c : kids)
    if (!c->dead) FreeTree(c);
  Send(w, WM_NCDESTROY, 0, 0);
  Backend().WindowDestroyed(w->hwnd);
  Unlink(w);
  MarkDead(w);
}

}  // namespace

// ---- threads and registry ----

ThreadState::ThreadState() : tid(GetCurrentThreadId()), queue(std::make_shared<MessageQueue>()) {
  queue->threadId = tid;
  std::lock_guard<std::mutex> g(Reg().m);
  Reg().queues[tid] = queue;
}

ThreadState::~ThreadState() {
  // A thread that ends takes its windows with it, without messages: its procedures may
  // reach thread-local objects that are gone already.
  std::vector<Wnd*> all;
  for (auto& [h, w] : windows) all.push_back(w);
  {
    std::lock_guard<std::mutex> g(Reg().m);
    for (Wnd* w : all) Reg().all.erase(w->handle);
    auto it = Reg().queues.find(tid);
    if (it != Reg().queues.end() && it->second.lock() == queue) Reg().queues.erase(it);
  }
  for (Wnd* w : all) {
    w->dead = true;
    if (w->busy == 0) delete w;
  }
  windows.clear();
  std::deque<SentMsg*> waiting;
  {
    std::lock_guard<std::mutex> g(queue->m);
    queue->alive = false;
    waiting.swap(queue->sent);
    for (QueuedMsg& qm : queue->posted)
      if (qm.token) Backend().DropInput(qm.token);
    queue->posted.clear();
  }
  for (SentMsg* s : waiting) {
    auto sender = s->sender;
    {
      std::lock_guard<std::mutex> g(sender->m);
      s->result = 0;
      s->done = true;
    }
    sender->cv.notify_all();
  }
  for (auto& chain : hooks)
    for (HookRec* h : chain) delete h;
}

ThreadState& Thread() {
  if (!t_state) {
    if (t_holderGone) {
      auto* late = new ThreadState;  // kept: the thread is ending and nothing would free it
      std::lock_guard<std::mutex> g(Reg().m);
      if (!g_lateStates) g_lateStates = new std::vector<ThreadState*>;
      g_lateStates->push_back(late);
      t_state = late;
    } else {
      t_holder.state = std::make_unique<ThreadState>();
      t_state = t_holder.state.get();
    }
  }
  return *t_state;
}

std::mutex& RegistryMutex() { return Reg().m; }

Wnd* FindAnyLocked(DWORD handle) {
  auto it = Reg().all.find(handle);
  return it == Reg().all.end() ? nullptr : it->second;
}

std::shared_ptr<MessageQueue> QueueOfThreadLocked(DWORD tid) {
  auto it = Reg().queues.find(tid);
  return it == Reg().queues.end() ? nullptr : it->second.lock();
}

BusyGuard::~BusyGuard() {
  if (--m_w->busy == 0 && m_w->dead) delete m_w;
}

Wnd* Get(HWND h) {
  Wnd* w = Thread().Find(h);
  if (!w) SetLastError(ERROR_INVALID_WINDOW_HANDLE);
  return w;
}

LRESULT CallProc(Wnd* w, WNDPROC proc, UINT msg, WPARAM wParam, LPARAM lParam) {
  if (!proc) return 0;
  BusyGuard g(w);
  return proc(w->hwnd, msg, wParam, lParam);
}

Wnd* TopLevelOf(Wnd* w) {
  while (w && w->parent && (w->style & WS_CHILD)) w = w->parent;
  return w;
}

bool IsDescendant(const Wnd* ancestor, const Wnd* w) {
  for (const Wnd* p = w ? w->parent : nullptr; p; p = p->parent)
    if (p == ancestor) return true;
  return false;
}

void NotifyParent(Wnd* ctl, UINT code) {
  if (ctl->dead || !ctl->parent) return;
  Send(ctl->parent, WM_COMMAND, MAKEWPARAM(WORD(ctl->id), WORD(code)), reinterpret_cast<LPARAM>(ctl->hwnd));
}

bool IsDialog(const Wnd* w) { return w && w->dlg != nullptr; }

// ---- classes ----

ControlKind KindFor(const WndClass* cls, DWORD style) {
  if (!cls) return ControlKind::Window;
  if (cls->kind != ControlKind::PushButton) return cls->kind;
  switch (style & BS_TYPEMASK) {
    case BS_CHECKBOX:
    case BS_AUTOCHECKBOX:
    case BS_3STATE:
    case BS_AUTO3STATE:
      return ControlKind::CheckBox;
    case BS_RADIOBUTTON:
    case BS_AUTORADIOBUTTON:
      return ControlKind::RadioButton;
    case BS_GROUPBOX:
      return ControlKind::GroupBox;
    default:
      return ControlKind::PushButton;
  }
}

namespace {
void AddBuiltInLocked(Registry& r, const char* name, WNDPROC proc, ControlKind kind, int extra, ATOM atom = 0) {
  auto c = std::make_unique<WndClass>();
  c->name = name;
  c->atom = atom ? atom : r.nextAtom++;
  c->wc.style = CS_GLOBALCLASS | CS_DBLCLKS;
  c->wc.lpfnWndProc = proc;
  c->wc.cbWndExtra = extra;
  c->wc.lpszClassName = c->name.c_str();
  c->kind = kind;
  c->builtIn = true;
  r.classes.push_back(std::move(c));
}
}  // namespace

void EnsureBuiltInClasses() {
  Registry& r = Reg();
  std::lock_guard<std::mutex> g(r.m);
  if (r.builtIns) return;
  r.builtIns = true;
  AddBuiltInLocked(r, "#32770", DefDlgProcA, ControlKind::Dialog, DLGWINDOWEXTRA, 0x8002);
  AddBuiltInLocked(r, "Button", CALLBACK_ButtonProc, ControlKind::PushButton, 0);
  AddBuiltInLocked(r, "Edit", CALLBACK_EditProc, ControlKind::Edit, 0);
  AddBuiltInLocked(r, "Static", CALLBACK_StaticProc, ControlKind::Static, 0);
  AddBuiltInLocked(r, "ListBox", CALLBACK_ListBoxProc, ControlKind::ListBox, 0);
  AddBuiltInLocked(r, "ComboBox", CALLBACK_ComboBoxProc, ControlKind::ComboBox, 0);
  AddBuiltInLocked(r, "msctls_progress32", CALLBACK_ProgressProc, ControlKind::Progress, 0);
  AddBuiltInLocked(r, "SysTabControl32", CALLBACK_TabProc, ControlKind::Tab, 0);
}

WndClass* FindClass(LPCSTR name) {
  EnsureBuiltInClasses();
  std::lock_guard<std::mutex> g(Reg().m);
  for (auto& c : Reg().classes) {
    if (IS_INTRESOURCE(name) ? c->atom == ATOM(reinterpret_cast<std::uintptr_t>(name)) : EqualNoCase(c->name, name))
      return c.get();
  }
  return nullptr;
}

void FreeRecord(Wnd* w) {
  if (w->busy == 0) delete w;
}

}  // namespace wnd

using namespace wnd;

ATOM RegisterClassA(const WNDCLASSA* wc) {
  if (!wc || !wc->lpszClassName || IS_INTRESOURCE(wc->lpszClassName)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  if (FindClass(wc->lpszClassName)) {
    SetLastError(ERROR_CLASS_ALREADY_EXISTS);
    return 0;
  }
  auto c = std::make_unique<WndClass>();
  c->name = wc->lpszClassName;
  c->wc = *wc;
  c->wc.lpszClassName = c->name.c_str();
  c->wc.lpszMenuName = nullptr;
  if (c->wc.cbWndExtra < 0) c->wc.cbWndExtra = 0;
  std::lock_guard<std::mutex> g(RegistryMutex());
  auto& r = Reg();
  c->atom = r.nextAtom++;
  ATOM a = c->atom;
  r.classes.push_back(std::move(c));
  return a;
}

BOOL UnregisterClassA(LPCSTR className, HINSTANCE) {
  WndClass* c = FindClass(className);
  if (!c || c->builtIn) return FALSE;
  std::lock_guard<std::mutex> g(RegistryMutex());
  for (auto& [h, w] : Reg().all)
    if (w->cls == c) return FALSE;  // still in use
  auto& v = Reg().classes;
  v.erase(std::remove_if(v.begin(), v.end(), [&](const std::unique_ptr<WndClass>& p) { return p.get() == c; }),
          v.end());
  return TRUE;
}

BOOL GetClassInfoA(HINSTANCE, LPCSTR className, WNDCLASSA* wc) {
  WndClass* c = FindClass(className);
  if (!c) {
    SetLastError(ERROR_CANNOT_FIND_WND_CLASS);
    return FALSE;
  }
  if (wc) *wc = c->wc;
  return TRUE;
}

int GetClassNameA(HWND hwnd, LPSTR name, int maxCount) {
  Wnd* w = Get(hwnd);
  if (!w || !name || maxCount <= 0) return 0;
  int n = std::min<int>(int(w->cls->name.size()), maxCount - 1);
  std::memcpy(name, w->cls->name.data(), std::size_t(n));
  name[n] = 0;
  return n;
}

HWND CreateWindowExA(DWORD exStyle, LPCSTR className, LPCSTR windowName, DWORD style, int x, int y, int width,
                     int height, HWND parent, HMENU menu, HINSTANCE instance, LPVOID param) {
  WndClass* cls = FindClass(className);
  if (!cls) {
    SetLastError(ERROR_CANNOT_FIND_WND_CLASS);
    return nullptr;
  }
  ThreadState& ts = Thread();
  Wnd* parentW = nullptr;
  Wnd* ownerW = nullptr;
  if (style & WS_CHILD) {
    parentW = ts.Find(parent);
    if (!parentW) {
      SetLastError(parent ? ERROR_INVALID_WINDOW_HANDLE : ERROR_TLW_WITH_WSCHILD);
      return nullptr;
    }
  } else if (parent && parent != HWND_MESSAGE) {
    ownerW = ts.Find(parent);
    if (!ownerW) {
      SetLastError(ERROR_INVALID_WINDOW_HANDLE);
      return nullptr;
    }
    ownerW = TopLevelOf(ownerW);
  }
  if (!(style & (WS_CHILD | WS_POPUP))) style |= WS_CAPTION | WS_CLIPSIBLINGS;
  if (x == CW_USEDEFAULT) {
    x = parentW ? 0 : 26;
    y = parentW ? 0 : 26;
  }
  if (width == CW_USEDEFAULT) {
    width = parentW ? 0 : GetSystemMetrics(SM_CXSCREEN) / 2;
    height = parentW ? 0 : GetSystemMetrics(SM_CYSCREEN) / 2;
  }
  const bool show = (style & WS_VISIBLE) != 0;

  Wnd* w = new Wnd;
  {
    std::lock_guard<std::mutex> g(RegistryMutex());
    w->handle = NewHandleLocked(Reg());
    w->hwnd = ToHwnd(w->handle);
    w->thread = &ts;
    Reg().all[w->handle] = w;
  }
  ts.windows[w->handle] = w;
  w->cls = cls;
  w->style = style & ~WS_VISIBLE;
  w->exStyle = exStyle;
  w->id = (style & WS_CHILD) ? reinterpret_cast<UINT_PTR>(menu) : 0;
  w->parent = parentW;
  w->owner = ownerW;
  w->text = windowName && !IS_INTRESOURCE(windowName) ? windowName : "";
  w->rect = {x, y, x + std::max(width, 0), y + std::max(height, 0)};
  w->proc = cls->wc.lpfnWndProc;
  w->instance = instance;
  w->extra.assign(std::size_t(std::max(cls->wc.cbWndExtra, 0)), 0);
  w->kind = KindFor(cls, style);
  if (w->kind == ControlKind::Dialog || cls->wc.cbWndExtra >= DLGWINDOWEXTRA) {
    if (w->kind == ControlKind::Dialog) w->dlg = std::make_unique<DialogData>();
  }
  w->ctl.limit = w->kind == ControlKind::ComboBox ? 0x7FFFFFFE : 30000;
  SIZE bu = Backend().DialogBaseUnits(nullptr, 0);
  w->ctl.itemHeight = bu.cy;
  if (parentW)
    parentW->children.push_back(w);
  else
    ts.topLevels.insert(ts.topLevels.begin(), w);
  Backend().WindowCreated(w->hwnd);

  HWND h = w->hwnd;
  CREATESTRUCTA cs{param, instance, menu, parent, height, width, y, x, LONG(style), windowName, className, exStyle};
  {
    BusyGuard g(w);
    if (!Send(w, WM_NCCREATE, 0, reinterpret_cast<LPARAM>(&cs))) {
      if (!w->dead) DestroyWindow(h);
      return nullptr;
    }
    if (w->dead) return nullptr;
    if (Send(w, WM_CREATE, 0, reinterpret_cast<LPARAM>(&cs)) == -1) {
      if (!w->dead) DestroyWindow(h);
      return nullptr;
    }
    if (w->dead) return nullptr;
    SIZE cl = ClientSize(w);
    Send(w, WM_SIZE, SIZE_RESTORED, MAKELPARAM(WORD(cl.cx), WORD(cl.cy)));
    if (w->dead) return nullptr;
    POINT o = ClientOrigin(w);
    if (w->parent) {
      POINT po = ClientOrigin(w->parent);
      o.x -= po.x;
      o.y -= po.y;
    }
    Send(w, WM_MOVE, 0, MAKELPARAM(WORD(o.x), WORD(o.y)));
    if (w->dead) return nullptr;
    SendParentNotify(w, WM_CREATE);
    if (w->dead) return nullptr;
  }
  if (show) ShowWindow(h, SW_SHOW);
  return IsWindow(h) ? h : nullptr;
}

BOOL DestroyWindow(HWND hwnd) {
  Wnd* w = Get(hwnd);
  if (!w) return FALSE;
  if (w->destroying) return TRUE;
  BusyGuard g(w);
  ThreadState& ts = *w->thread;
  w->destroying = true;
  SendParentNotify(w, WM_DESTROY);
  if (w->dead) return TRUE;
  if (w->style & WS_VISIBLE) {
    w->style &= ~WS_VISIBLE;
    Backend().WindowShown(hwnd, false);
  }
  if (!w->parent) {
    std::vector<HWND> owned;
    for (Wnd* t : ts.topLevels)
      if (t->owner == w) owned.push_back(t->hwnd);
    for (HWND o : owned) DestroyWindow(o);
  }
  if (Wnd* f = ts.Find(ts.focus); f && (f == w || IsDescendant(w, f))) {
    ts.focus = nullptr;
    Backend().FocusChanged(nullptr);
  }
  const bool wakeModalLoop = w->dlg && w->dlg->inModalLoop;
  SendDestroyTree(w);
  FreeTree(w);
  // A modal loop looks at its window only after a message arrives.
  if (wakeModalLoop) PostMessageA(nullptr, WM_NULL, 0, 0);
  return TRUE;
}

BOOL IsWindow(HWND hwnd) {
  std::uintptr_t v = reinterpret_cast<std::uintptr_t>(hwnd);
  if (v == 0 || v > 0xFFFFFFFFu) return FALSE;
  if (v == kDesktopHandle) return TRUE;
  if (Thread().Find(hwnd)) return TRUE;
  std::lock_guard<std::mutex> g(RegistryMutex());
  return FindAnyLocked(DWORD(v)) ? TRUE : FALSE;
}

std::size_t CountThreadWindows() { return Thread().windows.size(); }

// ---- procedures and long values ----

LRESULT CallWindowProcA(WNDPROC proc, HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  if (!proc) return 0;
  if (Wnd* w = Thread().Find(hwnd)) return CallProc(w, proc, msg, wParam, lParam);
  return proc(hwnd, msg, wParam, lParam);
}

LONG_PTR GetWindowLongPtrA(HWND hwnd, int index) {
  Wnd* w = Get(hwnd);
  if (!w) return 0;
  switch (index) {
    case GWLP_WNDPROC: return reinterpret_cast<LONG_PTR>(w->proc);
    case GWLP_HINSTANCE: return reinterpret_cast<LONG_PTR>(w->instance);
    case GWLP_HWNDPARENT:
      return reinterpret_cast<LONG_PTR>(w->parent ? w->parent->hwnd : w->owner ? w->owner->hwnd : nullptr);
    case GWLP_ID: return LONG_PTR(w->id);
    case GWL_STYLE: return LONG_PTR(LONG(w->style));
    case GWL_EXSTYLE: return LONG_PTR(LONG(w->exStyle));
    case GWLP_USERDATA: return w->userData;
    default: break;
  }
  if (w->dlg && index == DWLP_MSGRESULT) return w->dlg->msgResult;
  if (w->dlg && index == DWLP_DLGPROC) return reinterpret_cast<LONG_PTR>(w->dlg->proc);
  if (w->dlg && index == DWLP_USER) return w->dlg->user;
  if (index >= 0 && std::size_t(index) + sizeof(LONG_PTR) <= w->extra.size()) {
    LONG_PTR v;
    std::memcpy(&v, w->extra.data() + index, sizeof v);
    return v;
  }
  SetLastError(ERROR_INVALID_INDEX);
  return 0;
}

LONG_PTR SetWindowLongPtrA(HWND hwnd, int index, LONG_PTR value) {
  Wnd* w = Get(hwnd);
  if (!w) return 0;
  LONG_PTR old = GetWindowLongPtrA(hwnd, index);
  switch (index) {
    case GWLP_WNDPROC: w->proc = reinterpret_cast<WNDPROC>(value); return old;
    case GWLP_HINSTANCE: w->instance = reinterpret_cast<HINSTANCE>(value); return old;
    case GWLP_HWNDPARENT:
      if (!w->parent) {
        Wnd* o = Thread().Find(reinterpret_cast<HWND>(value));
        w->owner = o ? TopLevelOf(o) : nullptr;
      }
      return old;
    case GWLP_ID: w->id = UINT_PTR(value); return old;
    case GWL_STYLE:
    case GWL_EXSTYLE: ChangeStyle(w, index, DWORD(value)); return old;
    case GWLP_USERDATA: w->userData = value; return old;
    default: break;
  }
  if (w->dlg && index == DWLP_MSGRESULT) { w->dlg->msgResult = value; return old; }
  if (w->dlg && index == DWLP_DLGPROC) { w->dlg->proc = reinterpret_cast<DLGPROC>(value); return old; }
  if (w->dlg && index == DWLP_USER) { w->dlg->user = value; return old; }
  if (index >= 0 && std::size_t(index) + sizeof(LONG_PTR) <= w->extra.size()) {
    std::memcpy(w->extra.data() + index, &value, sizeof value);
    return old;
  }
  SetLastError(ERROR_INVALID_INDEX);
  return 0;
}

LONG GetWindowLongA(HWND hwnd, int index) { return LONG(GetWindowLongPtrA(hwnd, index)); }

LONG SetWindowLongA(HWND hwnd, int index, LONG value) {
  if (index == GWLP_WNDPROC || index == GWLP_HINSTANCE || index == GWLP_HWNDPARENT ||
      (index == DWLP_DLGPROC && Thread().Find(hwnd) && Thread().Find(hwnd)->dlg)) {
    SetLastError(ERROR_INVALID_INDEX);  // a pointer does not fit
    return 0;
  }
  if (index == GWL_STYLE || index == GWL_EXSTYLE) return LONG(SetWindowLongPtrA(hwnd, index, LONG_PTR(DWORD(value))));
  return LONG(SetWindowLongPtrA(hwnd, index, value));
}

BOOL SetPropA(HWND hwnd, LPCSTR name, HANDLE data) {
  Wnd* w = Get(hwnd);
  if (!w || !name) return FALSE;
  std::string k = PropKey(name);
  for (auto& p : w->props)
    if (p.first == k) {
      p.second = data;
      return TRUE;
    }
  w->props.emplace_back(std::move(k), data);
  return TRUE;
}

HANDLE GetPropA(HWND hwnd, LPCSTR name) {
  Wnd* w = Thread().Find(hwnd);
  if (!w || !name) return nullptr;
  std::string k = PropKey(name);
  for (auto& p : w->props)
    if (p.first == k) return p.second;
  return nullptr;
}

HANDLE RemovePropA(HWND hwnd, LPCSTR name) {
  Wnd* w = Thread().Find(hwnd);
  if (!w || !name) return nullptr;
  std::string k = PropKey(name);
  for (auto it = w->props.begin(); it != w->props.end(); ++it)
    if (it->first == k) {
      HANDLE d = it->second;
      w->props.erase(it);
      return d;
    }
  return nullptr;
}

// ---- the default procedure ----

LRESULT DefWindowProcA(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  Wnd* w = Thread().Find(hwnd);
  if (!w) return 0;
  switch (msg) {
    case WM_NCCREATE:
      return TRUE;
    case WM_SETTEXT: {
      const char* t = reinterpret_cast<const char*>(lParam);
      w->text = t ? t : "";
      Backend().WindowTextChanged(hwnd);
      return TRUE;
    }
    case WM_GETTEXT: {
      char* buf = reinterpret_cast<char*>(lParam);
      if (!buf || wParam == 0) return 0;
      std::size_t n = std::min<std::size_t>(w->text.size(), std::size_t(wParam) - 1);
      std::memcpy(buf, w->text.data(), n);
      buf[n] = 0;
      return LRESULT(n);
    }
    case WM_GETTEXTLENGTH:
      return LRESULT(w->text.size());
    case WM_CLOSE:
      DestroyWindow(hwnd);
      return 0;
    case WM_SYSCOMMAND:
      if ((wParam & 0xFFF0) == SC_CLOSE) Send(w, WM_CLOSE, 0, 0);
      return 0;
    case WM_WINDOWPOSCHANGED: {
      const WINDOWPOS* wp = reinterpret_cast<const WINDOWPOS*>(lParam);
      if (!wp) return 0;
      if (!(wp->flags & SWP_NOMOVE)) {
        POINT o = ClientOrigin(w);
        if (w->parent) {
          POINT po = ClientOrigin(w->parent);
          o.x -= po.x;
          o.y -= po.y;
        }
        Send(w, WM_MOVE, 0, MAKELPARAM(WORD(o.x), WORD(o.y)));
      }
      if (!(wp->flags & SWP_NOSIZE) && !w->dead) {
        SIZE cl = ClientSize(w);
        Send(w, WM_SIZE, SIZE_RESTORED, MAKELPARAM(WORD(cl.cx), WORD(cl.cy)));
      }
      return 0;
    }
    case WM_SETFONT:
      w->font = reinterpret_cast<HFONT>(wParam);
      Backend().ControlChanged(hwnd, StateChange::Font, -1);
      return 0;
    case WM_GETFONT:
      return reinterpret_cast<LRESULT>(w->font);
    case WM_NOTIFYFORMAT:
      return 1;  // NFR_ANSI
    case WM_QUERYENDSESSION:
    case WM_QUERYOPEN:
      return TRUE;
    case WM_CONTEXTMENU:
    case WM_HELP:
      if (w->parent && (w->style & WS_CHILD)) return Send(w->parent, msg, wParam, lParam);
      return 0;
    case WM_KEYDOWN:
    case WM_KEYUP:
    case WM_CHAR:
    case WM_SYSKEYDOWN:
    case WM_SYSKEYUP:
    case WM_SYSCHAR:
      ReinjectCurrentInput(hwnd, msg, wParam, lParam);
      if (msg == WM_SYSKEYDOWN && wParam == VK_F4 && !w->parent) Send(w, WM_SYSCOMMAND, SC_CLOSE, 0);
      return 0;
    default:
      return 0;
  }
}

// ---- the tree ----

HWND GetParent(HWND hwnd) {
  Wnd* w = Get(hwnd);
  if (!w) return nullptr;
  if ((w->style & WS_CHILD) && w->parent) return w->parent->hwnd;
  if ((w->style & WS_POPUP) && w->owner) return w->owner->hwnd;
  return nullptr;
}

HWND SetParent(HWND child, HWND newParent) {
  Wnd* w = Get(child);
  if (!w) return nullptr;
  Wnd* np = nullptr;
  if (newParent && newParent != GetDesktopWindow()) {
    np = Get(newParent);
    if (!np || np == w || IsDescendant(w, np)) return nullptr;
  }
  ThreadState& ts = *w->thread;
  HWND old = w->parent ? w->parent->hwnd : GetDesktopWindow();
  if (w->parent) {
    auto& v = w->parent->children;
    v.erase(std::remove(v.begin(), v.end(), w), v.end());
  } else {
    ts.topLevels.erase(std::remove(ts.topLevels.begin(), ts.topLevels.end(), w), ts.topLevels.end());
  }
  w->parent = np;
  if (np) {
    np->children.insert(np->children.begin(), w);  // goes on top, as a newly parented window does
    w->owner = nullptr;
  } else {
    ts.topLevels.insert(ts.topLevels.begin(), w);
  }
  Backend().WindowParentChanged(child);
  return old;
}

HWND GetAncestor(HWND hwnd, UINT flags) {
  Wnd* w = Get(hwnd);
  if (!w) return nullptr;
  switch (flags) {
    case GA_PARENT:
      return w->parent ? w->parent->hwnd : GetDesktopWindow();
    case GA_ROOT:
      return TopLevelOf(w)->hwnd;
    case GA_ROOTOWNER: {
      Wnd* t = TopLevelOf(w);
      while (t->owner) t = t->owner;
      return t->hwnd;
    }
    default:
      return nullptr;
  }
}

HWND GetWindow(HWND hwnd, UINT cmd) {
  Wnd* w = Get(hwnd);
  if (!w) return nullptr;
  if (cmd == GW_CHILD) return w->children.empty() ? nullptr : w->children.front()->hwnd;
  if (cmd == GW_OWNER) return w->owner ? w->owner->hwnd : nullptr;
  if (cmd == GW_ENABLEDPOPUP) return nullptr;
  const std::vector<Wnd*>& sib = w->parent ? w->parent->children : w->thread->topLevels;
  auto it = std::find(sib.begin(), sib.end(), w);
  if (it == sib.end()) return nullptr;
  switch (cmd) {
    case GW_HWNDFIRST: return sib.front()->hwnd;
    case GW_HWNDLAST: return sib.back()->hwnd;
    case GW_HWNDNEXT: return it + 1 == sib.end() ? nullptr : (*(it + 1))->hwnd;
    case GW_HWNDPREV: return it == sib.begin() ? nullptr : (*(it - 1))->hwnd;
    default: return nullptr;
  }
}

HWND GetTopWindow(HWND hwnd) {
  if (!hwnd) {
    ThreadState& ts = Thread();
    return ts.topLevels.empty() ? nullptr : ts.topLevels.front()->hwnd;
  }
  return GetWindow(hwnd, GW_CHILD);
}

HWND GetDesktopWindow() { return ToHwnd(kDesktopHandle); }

HWND GetDlgItem(HWND dlg, int id) {
  Wnd* w = Get(dlg);
  if (!w) return nullptr;
  for (Wnd* c : w->children)
    if (c->id == UINT_PTR(UINT(id)) || c->id == UINT_PTR(id)) return c->hwnd;
  return nullptr;
}

int GetDlgCtrlID(HWND hwnd) {
  Wnd* w = Get(hwnd);
  return w ? int(w->id) : 0;
}

BOOL IsChild(HWND parent, HWND hwnd) {
  ThreadState& ts = Thread();
  Wnd* p = ts.Find(parent);
  Wnd* w = ts.Find(hwnd);
  if (!p || !w) return FALSE;
  for (Wnd* c = w; c && (c->style & WS_CHILD); c = c->parent)
    if (c->parent == p) return TRUE;
  return FALSE;
}

namespace {
void CollectTree(const Wnd* w, std::vector<HWND>& out) {
  for (const Wnd* c : w->children) {
    out.push_back(c->hwnd);
    CollectTree(c, out);
  }
}
}  // namespace

BOOL EnumChildWindows(HWND parent, WNDENUMPROC proc, LPARAM lParam) {
  Wnd* w = Get(parent);
  if (!w || !proc) return FALSE;
  std::vector<HWND> all;
  CollectTree(w, all);
  for (HWND h : all)
    if (Thread().Find(h) && !proc(h, lParam)) break;
  return TRUE;
}

BOOL EnumWindows(WNDENUMPROC proc, LPARAM lParam) {
  if (!proc) return FALSE;
  std::vector<HWND> all;
  for (Wnd* w : Thread().topLevels) all.push_back(w->hwnd);
  for (HWND h : all)
    if (Thread().Find(h) && !proc(h, lParam)) return FALSE;
  return TRUE;
}

BOOL EnumThreadWindows(DWORD threadId, WNDENUMPROC proc, LPARAM lParam) {
  if (threadId != Thread().tid) return FALSE;
  return EnumWindows(proc, lParam);
}

HWND FindWindowExA(HWND parent, HWND childAfter, LPCSTR className, LPCSTR windowName) {
  ThreadState& ts = Thread();
  const std::vector<Wnd*>* list = &ts.topLevels;
  if (parent && parent != GetDesktopWindow()) {
    Wnd* p = Get(parent);
    if (!p) return nullptr;
    list = &p->children;
  }
  bool started = childAfter == nullptr;
  for (Wnd* w : *list) {
    if (!started) {
      started = w->hwnd == childAfter;
      continue;
    }
    if (className && !(IS_INTRESOURCE(className) ? w->cls->atom == ATOM(reinterpret_cast<std::uintptr_t>(className))
                                                  : EqualNoCase(w->cls->name, className)))
      continue;
    if (windowName && w->text != windowName) continue;
    return w->hwnd;
  }
  return nullptr;
}

HWND FindWindowA(LPCSTR className, LPCSTR windowName) { return FindWindowExA(nullptr, nullptr, className, windowName); }

DWORD GetWindowThreadProcessId(HWND hwnd, DWORD* processId) {
  std::uintptr_t v = reinterpret_cast<std::uintptr_t>(hwnd);
  if (v == 0 || v > 0xFFFFFFFFu) return 0;
  DWORD tid = 0;
  if (Wnd* w = Thread().Find(hwnd)) {
    tid = w->thread->tid;
  } else {
    std::lock_guard<std::mutex> g(RegistryMutex());
    if (Wnd* a = FindAnyLocked(DWORD(v))) tid = a->thread->tid;
  }
  if (tid && processId) *processId = GetCurrentProcessId();
  return tid;
}

}  // namespace zev
