// The layer's side of the backend interface: picking the backend, the read views, and user
// input coming up from the backend as the notifications a control procedure sends.
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>

#include "window/WindowImpl.h"

namespace zev::wnd {

namespace {

std::atomic<WindowBackend*> g_backend{nullptr};
std::mutex g_pickLock;

// The window input goes to must be live, enabled and under enabled ancestors; a disabled
// top-level window (the owner of a modal dialog) refuses input this way too.
Wnd* Target(HWND h) {
  Wnd* w = Thread().Find(h);
  if (!w) return nullptr;
  for (Wnd* c = w; c; c = (c->style & WS_CHILD) ? c->parent : nullptr)
    if (c->style & WS_DISABLED) return nullptr;
  return w;
}

void NotifyWm(Wnd* w, UINT code) {
  if (w->dead || !w->parent) return;
  NMHDR nm{w->hwnd, w->id, code};
  Send(w->parent, WM_NOTIFY, w->id, reinterpret_cast<LPARAM>(&nm));
}

}  // namespace

WindowBackend& Backend() {
  WindowBackend* b = g_backend.load(std::memory_order_acquire);
  if (b) return *b;
  std::lock_guard<std::mutex> g(g_pickLock);
  b = g_backend.load(std::memory_order_acquire);
  if (!b) {
    const char* env = std::getenv("ZEVUTIL_WINDOW_BACKEND");
    if (!env || std::strcmp(env, "null") != 0) b = CreateHostWindowBackend();
    if (!b) b = NullBackendInstance();
    g_backend.store(b, std::memory_order_release);
  }
  return *b;
}

WindowBackend* SetBackend(WindowBackend* backend) {
  std::lock_guard<std::mutex> g(g_pickLock);
  return g_backend.exchange(backend ? backend : NullBackendInstance(), std::memory_order_acq_rel);
}

// ---- read views ----

ControlKind KindOf(HWND hwnd) {
  Wnd* w = Thread().Find(hwnd);
  return w ? w->kind : ControlKind::Window;
}

bool GetWindowView(HWND hwnd, WindowView* v) {
  Wnd* w = Thread().Find(hwnd);
  if (!w || !v) return false;
  v->hwnd = hwnd;
  v->parent = w->parent ? w->parent->hwnd : nullptr;
  v->owner = w->owner ? w->owner->hwnd : nullptr;
  v->className = w->cls->name;
  v->kind = w->kind;
  v->style = w->style;
  v->exStyle = w->exStyle;
  v->id = int(w->id);
  v->text = w->text;
  v->rect = w->rect;
  POINT o = ClientOrigin(w);
  SIZE s = ClientSize(w);
  v->clientRect = {o.x, o.y, o.x + s.cx, o.y + s.cy};
  v->visible = (w->style & WS_VISIBLE) != 0;
  v->enabled = (w->style & WS_DISABLED) == 0;
  v->threadId = w->thread->tid;
  return true;
}

bool GetControlView(HWND hwnd, ControlView* v) {
  Wnd* w = Thread().Find(hwnd);
  if (!w || !v) return false;
  const ControlData& c = w->ctl;
  *v = ControlView{};
  v->kind = w->kind;
  v->check = c.check;
  for (const ListItem& it : c.items) v->items.push_back(it.text);
  if (w->kind == ControlKind::ListBox && (w->style & (LBS_MULTIPLESEL | LBS_EXTENDEDSEL))) {
    for (int i = 0; i < int(c.items.size()); ++i)
      if (c.items[std::size_t(i)].selected) v->selected.push_back(i);
    v->curSel = c.caret;
  } else {
    v->curSel = c.curSel;
    if (c.curSel >= 0) v->selected.push_back(c.curSel);
  }
  v->rangeLow = c.low;
  v->rangeHigh = c.high;
  v->pos = c.pos;
  v->textLimit = c.limit;
  v->selStart = c.selStart;
  v->selEnd = c.selEnd;
  v->droppedDown = c.dropped;
  v->font = w->font;
  v->icon = c.icon;
  return true;
}

bool InputAllowed(HWND hwnd) { return Target(hwnd) != nullptr; }

// ---- input ----

BOOL InputClick(HWND control) {
  Wnd* w = Target(control);
  if (!w) return FALSE;
  BusyGuard g(w);
  switch (w->kind) {
    case ControlKind::PushButton:
    case ControlKind::CheckBox:
    case ControlKind::RadioButton:
      ButtonClicked(w);
      return TRUE;
    case ControlKind::GroupBox:
      return TRUE;
    case ControlKind::Static:
      if (w->style & SS_NOTIFY) NotifyParent(w, STN_CLICKED);
      return TRUE;
    case ControlKind::Tab:
      NotifyWm(w, NM_CLICK);
      return TRUE;
    default:
      return TRUE;
  }
}

BOOL InputDoubleClick(HWND control) {
  Wnd* w = Target(control);
  if (!w) return FALSE;
  BusyGuard g(w);
  switch (w->kind) {
    case ControlKind::PushButton:
    case ControlKind::CheckBox:
    case ControlKind::RadioButton:
      ButtonClicked(w);
      if (!w->dead && (w->style & BS_NOTIFY)) NotifyParent(w, BN_DOUBLECLICKED);
      return TRUE;
    case ControlKind::Static:
      if (w->style & SS_NOTIFY) NotifyParent(w, STN_DBLCLK);
      return TRUE;
    case ControlKind::ListBox:
      if (w->style & LBS_NOTIFY) NotifyParent(w, LBN_DBLCLK);
      return TRUE;
    case ControlKind::ComboBox:
      NotifyParent(w, CBN_DBLCLK);
      return TRUE;
    case ControlKind::Tab:
      NotifyWm(w, NM_DBLCLK);
      return TRUE;
    default:
      return TRUE;
  }
}

BOOL InputText(HWND control, const char* text) {
  Wnd* w = Target(control);
  if (!w) return FALSE;
  if (w->kind != ControlKind::Edit && w->kind != ControlKind::ComboBox) return FALSE;
  if (w->kind == ControlKind::Edit && (w->style & ES_READONLY)) return FALSE;
  if (w->kind == ControlKind::ComboBox && (w->style & 3) == CBS_DROPDOWNLIST) return FALSE;
  std::string t = text ? text : "";
  if (int(t.size()) > w->ctl.limit) t.resize(std::size_t(w->ctl.limit));
  if (t == w->text) return TRUE;
  w->ctl.selStart = w->ctl.selEnd = int(t.size());
  UserSetText(w, t);
  return TRUE;
}

BOOL InputSelect(HWND control, int index) {
  Wnd* w = Target(control);
  if (!w) return FALSE;
  BusyGuard g(w);
  ControlData& c = w->ctl;
  const int n = int(c.items.size());
  if (index < 0 || index >= n) return FALSE;
  switch (w->kind) {
    case ControlKind::ListBox:
      if (w->style & LBS_NOSEL) return FALSE;
      if (w->style & (LBS_MULTIPLESEL | LBS_EXTENDEDSEL)) {
        c.items[std::size_t(index)].selected = !c.items[std::size_t(index)].selected;
        c.caret = index;
      } else {
        c.curSel = index;
        c.caret = index;
      }
      Backend().ControlChanged(control, StateChange::Selection, index);
      if (w->style & LBS_NOTIFY) NotifyParent(w, LBN_SELCHANGE);
      return TRUE;
    case ControlKind::ComboBox:
      c.curSel = index;
      w->text = c.items[std::size_t(index)].text;
      c.selStart = 0;
      c.selEnd = int(w->text.size());
      Backend().ControlChanged(control, StateChange::Selection, index);
      Backend().WindowTextChanged(control);
      NotifyParent(w, CBN_SELCHANGE);
      if (!w->dead && c.dropped) {
        NotifyParent(w, CBN_SELENDOK);
        if (w->dead) return TRUE;
        c.dropped = false;
        Backend().ControlChanged(control, StateChange::DropDown, -1);
        NotifyParent(w, CBN_CLOSEUP);
      }
      return TRUE;
    case ControlKind::Tab: {
      if (index == c.curSel) return TRUE;
      if (w->parent) {
        NMHDR nm{control, w->id, TCN_SELCHANGING};
        if (Send(w->parent, WM_NOTIFY, w->id, reinterpret_cast<LPARAM>(&nm))) {
          // Refused: the backend shows the old tab again.
          Backend().ControlChanged(control, StateChange::Selection, c.curSel);
          return FALSE;
        }
        if (w->dead) return TRUE;
      }
      c.curSel = index;
      Backend().ControlChanged(control, StateChange::Selection, index);
      NotifyWm(w, TCN_SELCHANGE);
      return TRUE;
    }
    default:
      return FALSE;
  }
}

BOOL InputSelectItem(HWND control, int index, bool selected) {
  Wnd* w = Target(control);
  if (!w || w->kind != ControlKind::ListBox || !(w->style & (LBS_MULTIPLESEL | LBS_EXTENDEDSEL))) return FALSE;
  if (index < 0 || index >= int(w->ctl.items.size())) return FALSE;
  w->ctl.items[std::size_t(index)].selected = selected;
  w->ctl.caret = index;
  Backend().ControlChanged(control, StateChange::Selection, index);
  if (w->style & LBS_NOTIFY) NotifyParent(w, LBN_SELCHANGE);
  return TRUE;
}

BOOL InputDropDown(HWND combo, bool shown) {
  Wnd* w = Target(combo);
  if (!w || w->kind != ControlKind::ComboBox) return FALSE;
  if (w->ctl.dropped == shown) return TRUE;
  BusyGuard g(w);
  if (shown) NotifyParent(w, CBN_DROPDOWN);
  if (w->dead) return TRUE;
  w->ctl.dropped = shown;
  Backend().ControlChanged(combo, StateChange::DropDown, -1);
  if (!shown) {
    NotifyParent(w, CBN_SELENDCANCEL);
    if (!w->dead) NotifyParent(w, CBN_CLOSEUP);
  }
  return TRUE;
}

BOOL InputClose(HWND topLevel) {
  Wnd* w = Target(topLevel);
  if (!w) return FALSE;
  Send(w, WM_CLOSE, 0, 0);
  return TRUE;
}

BOOL InputFocus(HWND hwnd) {
  if (!Target(hwnd)) return FALSE;
  if (GetFocus() == hwnd) return TRUE;
  return SetFocus(hwnd) != hwnd || GetFocus() == hwnd ? TRUE : FALSE;
}

BOOL InputMoved(HWND topLevel, const RECT& r) {
  Wnd* w = Thread().Find(topLevel);
  if (!w || w->parent) return FALSE;
  return SetWindowPos(topLevel, nullptr, r.left, r.top, r.right - r.left, r.bottom - r.top,
                      SWP_NOZORDER | SWP_NOACTIVATE);
}

}  // namespace zev::wnd
