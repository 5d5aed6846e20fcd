// Geometry (rectangles, non-client sizes from the metrics table, moves and z order), showing,
// enabling, focus, activation, window text and the dialog-unit conversions.
#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>

#include "window/WindowImpl.h"

namespace zev {

using namespace wnd;

namespace {

// The classic metrics of a 96-dpi desktop; a backend replaces the screen size.
using MetricsTable = std::array<std::atomic<int>, SM_CMETRICS>;
MetricsTable& Metrics() {
  static MetricsTable* table = [] {
    auto* tp = new MetricsTable;  // never destroyed: read until the process ends
    MetricsTable& t = *tp;
    for (auto& v : t) v.store(0);
    const std::pair<int, int> init[] = {
        {SM_CXSCREEN, 1024},      {SM_CYSCREEN, 768},      {SM_CXVSCROLL, 16},       {SM_CYHSCROLL, 16},
        {SM_CYCAPTION, 19},       {SM_CXBORDER, 1},        {SM_CYBORDER, 1},         {SM_CXDLGFRAME, 3},
        {SM_CYDLGFRAME, 3},       {SM_CYVTHUMB, 16},       {SM_CXHTHUMB, 16},        {SM_CXICON, 32},
        {SM_CYICON, 32},          {SM_CXCURSOR, 32},       {SM_CYCURSOR, 32},        {SM_CYMENU, 19},
        {SM_CXFULLSCREEN, 1024},  {SM_CYFULLSCREEN, 749},  {SM_CYVSCROLL, 16},       {SM_CXHSCROLL, 16},
        {SM_CXMIN, 112},          {SM_CYMIN, 27},          {SM_CXSIZE, 18},          {SM_CYSIZE, 18},
        {SM_CXFRAME, 4},          {SM_CYFRAME, 4},         {SM_CXMINTRACK, 112},     {SM_CYMINTRACK, 27},
        {SM_CXDOUBLECLK, 4},      {SM_CYDOUBLECLK, 4},     {SM_CXEDGE, 2},           {SM_CYEDGE, 2},
        {SM_CXSMICON, 16},        {SM_CYSMICON, 16},       {SM_CYSMCAPTION, 15},     {SM_CXMAXIMIZED, 1032},
        {SM_CYMAXIMIZED, 776},    {SM_CXMENUCHECK, 13},    {SM_CYMENUCHECK, 13},     {SM_CXVIRTUALSCREEN, 1024},
        {SM_CYVIRTUALSCREEN, 768}, {SM_CMONITORS, 1},
    };
    for (auto [i, v] : init) t[std::size_t(i)].store(v);
    return tp;
  }();
  return *table;
}

bool IsDesktop(HWND h) { return h == GetDesktopWindow(); }

RECT ScreenRect() { return {0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)}; }

void Reorder(Wnd* w, HWND after) {
  std::vector<Wnd*>& sib = w->parent ? w->parent->children : w->thread->topLevels;
  auto it = std::find(sib.begin(), sib.end(), w);
  if (it == sib.end()) return;
  sib.erase(it);
  if (after == HWND_TOP || after == HWND_TOPMOST || after == HWND_NOTOPMOST) {
    sib.insert(sib.begin(), w);
  } else if (after == HWND_BOTTOM) {
    sib.push_back(w);
  } else {
    auto at = std::find_if(sib.begin(), sib.end(), [&](Wnd* s) { return s->hwnd == after; });
    sib.insert(at == sib.end() ? sib.begin() : at + 1, w);
  }
  Backend().WindowZOrderChanged(w->hwnd);
}

}  // namespace

namespace wnd {

RECT NonClientInsets(DWORD style, DWORD exStyle) {
  RECT r{0, 0, 0, 0};
  AdjustWindowRectEx(&r, style, FALSE, exStyle);
  return {-r.left, -r.top, r.right, r.bottom};
}

POINT ClientOrigin(const Wnd* w) {
  RECT in = NonClientInsets(w->style, w->exStyle);
  POINT p{w->rect.left + in.left, w->rect.top + in.top};
  if (w->parent) {
    POINT o = ClientOrigin(w->parent);
    p.x += o.x;
    p.y += o.y;
  }
  return p;
}

SIZE ClientSize(const Wnd* w) {
  RECT in = NonClientInsets(w->style, w->exStyle);
  LONG cx = (w->rect.right - w->rect.left) - in.left - in.right;
  LONG cy = (w->rect.bottom - w->rect.top) - in.top - in.bottom;
  return {std::max<LONG>(cx, 0), std::max<LONG>(cy, 0)};
}

void ChangeStyle(Wnd* w, int index, DWORD value) {
  const DWORD old = index == GWL_STYLE ? w->style : w->exStyle;
  STYLESTRUCT ss{old, value};
  BusyGuard g(w);
  Send(w, WM_STYLECHANGING, WPARAM(index), reinterpret_cast<LPARAM>(&ss));
  if (w->dead) return;
  if (index == GWL_STYLE) {
    w->style = ss.styleNew;
    w->kind = KindFor(w->cls, w->style);
  } else {
    w->exStyle = ss.styleNew;
  }
  const DWORD changed = old ^ ss.styleNew;
  if (index == GWL_STYLE && (changed & WS_VISIBLE)) Backend().WindowShown(w->hwnd, (ss.styleNew & WS_VISIBLE) != 0);
  if (index == GWL_STYLE && (changed & WS_DISABLED))
    Backend().WindowEnabled(w->hwnd, (ss.styleNew & WS_DISABLED) == 0);
  if (index == GWL_EXSTYLE || (changed & ~(WS_VISIBLE | WS_DISABLED)))
    Backend().ControlChanged(w->hwnd, StateChange::Style, -1);
  Send(w, WM_STYLECHANGED, WPARAM(index), reinterpret_cast<LPARAM>(&ss));
}

}  // namespace wnd

// ---- metrics ----

int GetSystemMetrics(int index) {
  if (index < 0 || index >= SM_CMETRICS) return 0;
  return Metrics()[std::size_t(index)].load(std::memory_order_relaxed);
}

void SetSystemMetric(int index, int value) {
  if (index < 0 || index >= SM_CMETRICS) return;
  Metrics()[std::size_t(index)].store(value, std::memory_order_relaxed);
}

LONG GetDialogBaseUnits() {
  SIZE bu = Backend().DialogBaseUnits(nullptr, 0);
  return LONG(MAKELONG(WORD(bu.cx), WORD(bu.cy)));
}

BOOL MapDialogRect(HWND dlg, RECT* rect) {
  Wnd* w = Get(dlg);
  if (!w || !rect) return FALSE;
  SIZE bu = w->dlg ? w->dlg->baseUnits : Backend().DialogBaseUnits(nullptr, 0);
  auto mx = [&](LONG v) { return LONG((std::int64_t(v) * bu.cx) / 4); };
  auto my = [&](LONG v) { return LONG((std::int64_t(v) * bu.cy) / 8); };
  rect->left = mx(rect->left);
  rect->right = mx(rect->right);
  rect->top = my(rect->top);
  rect->bottom = my(rect->bottom);
  return TRUE;
}

BOOL GetWindowTextExtent(HWND hwnd, LPCSTR text, int wrapWidth, SIZE* size) {
  if (!Get(hwnd) || !size) return FALSE;
  *size = Backend().MeasureText(hwnd, text ? text : "", wrapWidth);
  return TRUE;
}

BOOL AdjustWindowRectEx(RECT* rect, DWORD style, BOOL menu, DWORD exStyle) {
  if (!rect) return FALSE;
  auto inflate = [&](int dx, int dy) {
    rect->left -= dx;
    rect->right += dx;
    rect->top -= dy;
    rect->bottom += dy;
  };
  const bool dlgFrame = (exStyle & WS_EX_DLGMODALFRAME) || ((style & WS_DLGFRAME) && !(style & WS_THICKFRAME));
  const bool thickFrame = (style & WS_THICKFRAME) && (style & (WS_DLGFRAME | WS_BORDER)) != WS_DLGFRAME;
  const bool thinFrame = (style & WS_BORDER) || !(style & (WS_CHILD | WS_POPUP));
  if ((exStyle & (WS_EX_STATICEDGE | WS_EX_DLGMODALFRAME)) == WS_EX_STATICEDGE) {
    inflate(GetSystemMetrics(SM_CXBORDER), GetSystemMetrics(SM_CYBORDER));
  } else if (thickFrame) {
    inflate(GetSystemMetrics(SM_CXFRAME), GetSystemMetrics(SM_CYFRAME));
  } else if (dlgFrame) {
    inflate(GetSystemMetrics(SM_CXDLGFRAME), GetSystemMetrics(SM_CYDLGFRAME));
  } else if (thinFrame) {
    inflate(GetSystemMetrics(SM_CXBORDER), GetSystemMetrics(SM_CYBORDER));
  }
  if ((style & WS_CAPTION) == WS_CAPTION)
    rect->top -= GetSystemMetrics((exStyle & WS_EX_TOOLWINDOW) ? SM_CYSMCAPTION : SM_CYCAPTION);
  if (menu) rect->top -= GetSystemMetrics(SM_CYMENU);
  if (exStyle & WS_EX_CLIENTEDGE) inflate(GetSystemMetrics(SM_CXEDGE), GetSystemMetrics(SM_CYEDGE));
  return TRUE;
}

// ---- rectangles ----

BOOL GetWindowRect(HWND hwnd, RECT* rect) {
  if (!rect) return FALSE;
  if (IsDesktop(hwnd)) {
    *rect = ScreenRect();
    return TRUE;
  }
  Wnd* w = Get(hwnd);
  if (!w) return FALSE;
  *rect = w->rect;
  if (w->parent) OffsetRect(rect, ClientOrigin(w->parent).x, ClientOrigin(w->parent).y);
  return TRUE;
}

BOOL GetClientRect(HWND hwnd, RECT* rect) {
  if (!rect) return FALSE;
  if (IsDesktop(hwnd)) {
    *rect = ScreenRect();
    return TRUE;
  }
  Wnd* w = Get(hwnd);
  if (!w) return FALSE;
  SIZE s = ClientSize(w);
  *rect = {0, 0, s.cx, s.cy};
  return TRUE;
}

int MapWindowPoints(HWND from, HWND to, POINT* points, UINT count) {
  POINT a{0, 0}, b{0, 0};
  if (from && !IsDesktop(from)) {
    Wnd* w = Get(from);
    if (!w) return 0;
    a = ClientOrigin(w);
  }
  if (to && !IsDesktop(to)) {
    Wnd* w = Get(to);
    if (!w) return 0;
    b = ClientOrigin(w);
  }
  const LONG dx = a.x - b.x, dy = a.y - b.y;
  for (UINT i = 0; points && i < count; ++i) {
    points[i].x += dx;
    points[i].y += dy;
  }
  SetLastError(0);
  return int(MAKELONG(WORD(SHORT(dx)), WORD(SHORT(dy))));
}

BOOL ScreenToClient(HWND hwnd, POINT* point) {
  Wnd* w = Get(hwnd);
  if (!w || !point) return FALSE;
  POINT o = ClientOrigin(w);
  point->x -= o.x;
  point->y -= o.y;
  return TRUE;
}

BOOL ClientToScreen(HWND hwnd, POINT* point) {
  Wnd* w = Get(hwnd);
  if (!w || !point) return FALSE;
  POINT o = ClientOrigin(w);
  point->x += o.x;
  point->y += o.y;
  return TRUE;
}

BOOL SetWindowPos(HWND hwnd, HWND insertAfter, int x, int y, int cx, int cy, UINT flags) {
  Wnd* w = Get(hwnd);
  if (!w) return FALSE;
  BusyGuard g(w);
  WINDOWPOS wp{hwnd, insertAfter, x, y, cx, cy, flags};
  if (flags & SWP_NOMOVE) {
    wp.x = w->rect.left;
    wp.y = w->rect.top;
  }
  if (flags & SWP_NOSIZE) {
    wp.cx = w->rect.right - w->rect.left;
    wp.cy = w->rect.bottom - w->rect.top;
  }
  if (!(flags & SWP_NOSENDCHANGING)) Send(w, WM_WINDOWPOSCHANGING, 0, reinterpret_cast<LPARAM>(&wp));
  if (w->dead) return FALSE;
  wp.cx = std::max(wp.cx, 0);
  wp.cy = std::max(wp.cy, 0);
  const bool moved = wp.x != w->rect.left || wp.y != w->rect.top;
  const bool sized = wp.cx != w->rect.right - w->rect.left || wp.cy != w->rect.bottom - w->rect.top;
  bool changed = moved || sized;
  if (!moved) wp.flags |= SWP_NOMOVE;
  if (!sized) wp.flags |= SWP_NOSIZE;
  w->rect = {wp.x, wp.y, wp.x + wp.cx, wp.y + wp.cy};
  if (changed) Backend().WindowMoved(hwnd);
  if (!(wp.flags & SWP_NOZORDER)) {
    Reorder(w, wp.hwndInsertAfter);
    changed = true;
  }
  if ((wp.flags & SWP_SHOWWINDOW) && !(w->style & WS_VISIBLE)) {
    w->style |= WS_VISIBLE;
    Backend().WindowShown(hwnd, true);
    changed = true;
  } else if ((wp.flags & SWP_HIDEWINDOW) && (w->style & WS_VISIBLE)) {
    w->style &= ~WS_VISIBLE;
    Backend().WindowShown(hwnd, false);
    changed = true;
  }
  if (changed) Send(w, WM_WINDOWPOSCHANGED, 0, reinterpret_cast<LPARAM>(&wp));
  return TRUE;
}

BOOL MoveWindow(HWND hwnd, int x, int y, int width, int height, BOOL repaint) {
  return SetWindowPos(hwnd, nullptr, x, y, width, height,
                      SWP_NOZORDER | SWP_NOACTIVATE | (repaint ? 0u : SWP_NOREDRAW));
}

BOOL BringWindowToTop(HWND hwnd) {
  return SetWindowPos(hwnd, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
}

BOOL SetRect(RECT* r, int left, int top, int right, int bottom) {
  if (!r) return FALSE;
  *r = {left, top, right, bottom};
  return TRUE;
}
BOOL SetRectEmpty(RECT* r) { return SetRect(r, 0, 0, 0, 0); }
BOOL CopyRect(RECT* dst, const RECT* src) {
  if (!dst || !src) return FALSE;
  *dst = *src;
  return TRUE;
}
BOOL OffsetRect(RECT* r, int dx, int dy) {
  if (!r) return FALSE;
  r->left += dx;
  r->right += dx;
  r->top += dy;
  r->bottom += dy;
  return TRUE;
}
BOOL InflateRect(RECT* r, int dx, int dy) {
  if (!r) return FALSE;
  r->left -= dx;
  r->right += dx;
  r->top -= dy;
  r->bottom += dy;
  return TRUE;
}
BOOL IsRectEmpty(const RECT* r) { return !r || r->right <= r->left || r->bottom <= r->top; }
BOOL PtInRect(const RECT* r, POINT p) {
  return r && p.x >= r->left && p.x < r->right && p.y >= r->top && p.y < r->bottom;
}
BOOL EqualRect(const RECT* a, const RECT* b) {
  return a && b && a->left == b->left && a->top == b->top && a->right == b->right && a->bottom == b->bottom;
}
BOOL IntersectRect(RECT* dst, const RECT* a, const RECT* b) {
  if (!dst || !a || !b) return FALSE;
  RECT r{std::max(a->left, b->left), std::max(a->top, b->top), std::min(a->right, b->right),
         std::min(a->bottom, b->bottom)};
  if (IsRectEmpty(&r)) {
    SetRectEmpty(dst);
    return FALSE;
  }
  *dst = r;
  return TRUE;
}
BOOL UnionRect(RECT* dst, const RECT* a, const RECT* b) {
  if (!dst || !a || !b) return FALSE;
  if (IsRectEmpty(a)) {
    *dst = *b;
  } else if (IsRectEmpty(b)) {
    *dst = *a;
  } else {
    *dst = {std::min(a->left, b->left), std::min(a->top, b->top), std::max(a->right, b->right),
            std::max(a->bottom, b->bottom)};
  }
  return !IsRectEmpty(dst);
}

// ---- showing, enabling, focus ----

BOOL ShowWindow(HWND hwnd, int cmdShow) {
  Wnd* w = Get(hwnd);
  if (!w) return FALSE;
  BusyGuard g(w);
  const bool was = (w->style & WS_VISIBLE) != 0;
  const bool show = cmdShow != SW_HIDE;
  if (show != was) {
    Send(w, WM_SHOWWINDOW, show ? TRUE : FALSE, 0);
    if (w->dead) return was;
    if (show)
      w->style |= WS_VISIBLE;
    else
      w->style &= ~WS_VISIBLE;
    Backend().WindowShown(hwnd, show);
  }
  ThreadState& ts = *w->thread;
  if (!w->parent) {
    if (show && cmdShow != SW_SHOWNOACTIVATE && cmdShow != SW_SHOWNA && cmdShow != SW_SHOWMINNOACTIVE)
      SetActiveWindow(hwnd);
    else if (!show && ts.active == hwnd)
      ts.active = nullptr;
  }
  return was ? TRUE : FALSE;
}

BOOL EnableWindow(HWND hwnd, BOOL enable) {
  Wnd* w = Get(hwnd);
  if (!w) return FALSE;
  BusyGuard g(w);
  const bool wasDisabled = (w->style & WS_DISABLED) != 0;
  if (enable && wasDisabled) {
    w->style &= ~WS_DISABLED;
    Backend().WindowEnabled(hwnd, true);
    Send(w, WM_ENABLE, TRUE, 0);
  } else if (!enable && !wasDisabled) {
    Send(w, WM_CANCELMODE, 0, 0);
    if (w->dead) return FALSE;
    w->style |= WS_DISABLED;
    ThreadState& ts = *w->thread;
    if (Wnd* f = ts.Find(ts.focus); f && (f == w || IsDescendant(w, f))) SetFocus(nullptr);
    if (w->dead) return FALSE;
    Backend().WindowEnabled(hwnd, false);
    Send(w, WM_ENABLE, FALSE, 0);
  }
  return wasDisabled ? TRUE : FALSE;
}

BOOL IsWindowVisible(HWND hwnd) {
  Wnd* w = Thread().Find(hwnd);
  if (!w) return FALSE;
  for (; w; w = (w->style & WS_CHILD) ? w->parent : nullptr)
    if (!(w->style & WS_VISIBLE)) return FALSE;
  return TRUE;
}

BOOL IsWindowEnabled(HWND hwnd) {
  Wnd* w = Thread().Find(hwnd);
  return w && !(w->style & WS_DISABLED) ? TRUE : FALSE;
}

HWND SetFocus(HWND hwnd) {
  ThreadState& ts = Thread();
  HWND old = ts.Find(ts.focus) ? ts.focus : nullptr;
  Wnd* w = nullptr;
  if (hwnd) {
    w = Get(hwnd);
    if (!w) return nullptr;
    for (Wnd* c = w; c; c = (c->style & WS_CHILD) ? c->parent : nullptr)
      if (c->style & WS_DISABLED) return nullptr;
  }
  if (old == hwnd) return old;
  if (Wnd* o = ts.Find(old)) Send(o, WM_KILLFOCUS, reinterpret_cast<WPARAM>(hwnd), 0);
  if (w && w->dead) return old;
  ts.focus = hwnd;
  if (w) ts.active = TopLevelOf(w)->hwnd;
  Backend().FocusChanged(hwnd);
  if (w) Send(w, WM_SETFOCUS, reinterpret_cast<WPARAM>(old), 0);
  return old;
}

HWND GetFocus() {
  ThreadState& ts = Thread();
  return ts.Find(ts.focus) ? ts.focus : nullptr;
}

HWND GetActiveWindow() {
  ThreadState& ts = Thread();
  return ts.Find(ts.active) ? ts.active : nullptr;
}

HWND SetActiveWindow(HWND hwnd) {
  ThreadState& ts = Thread();
  HWND old = GetActiveWindow();
  Wnd* w = hwnd ? Get(hwnd) : nullptr;
  if (hwnd && !w) return nullptr;
  if (w) w = TopLevelOf(w);
  HWND nu = w ? w->hwnd : nullptr;
  if (nu == old) return old;
  if (Wnd* o = ts.Find(old)) Send(o, WM_ACTIVATE, WA_INACTIVE, reinterpret_cast<LPARAM>(nu));
  ts.active = nu;
  if (w && !w->dead) Send(w, WM_ACTIVATE, WA_ACTIVE, reinterpret_cast<LPARAM>(old));
  return old;
}

HWND GetForegroundWindow() { return GetActiveWindow(); }
BOOL SetForegroundWindow(HWND hwnd) {
  if (!Get(hwnd)) return FALSE;
  SetActiveWindow(hwnd);
  return TRUE;
}

HWND GetCapture() {
  ThreadState& ts = Thread();
  return ts.Find(ts.capture) ? ts.capture : nullptr;
}

HWND SetCapture(HWND hwnd) {
  ThreadState& ts = Thread();
  HWND old = GetCapture();
  if (hwnd && !Get(hwnd)) return old;
  ts.capture = hwnd;
  if (old && old != hwnd)
    if (Wnd* o = ts.Find(old)) Send(o, WM_CAPTURECHANGED, 0, reinterpret_cast<LPARAM>(hwnd));
  return old;
}

BOOL ReleaseCapture() {
  SetCapture(nullptr);
  return TRUE;
}

// ---- text ----

BOOL SetWindowTextA(HWND hwnd, LPCSTR text) {
  if (!IsWindow(hwnd)) return FALSE;
  return SendMessageA(hwnd, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text)) ? TRUE : FALSE;
}

int GetWindowTextA(HWND hwnd, LPSTR text, int maxCount) {
  if (!text || maxCount <= 0) return 0;
  text[0] = 0;
  if (!IsWindow(hwnd)) return 0;
  return int(SendMessageA(hwnd, WM_GETTEXT, WPARAM(maxCount), reinterpret_cast<LPARAM>(text)));
}

int GetWindowTextLengthA(HWND hwnd) {
  if (!IsWindow(hwnd)) return 0;
  return int(SendMessageA(hwnd, WM_GETTEXTLENGTH, 0, 0));
}

std::string GetWindowTextString(HWND hwnd) {
  int n = GetWindowTextLengthA(hwnd);
  if (n <= 0) return {};
  std::string s(std::size_t(n) + 1, '\0');
  int got = GetWindowTextA(hwnd, s.data(), n + 1);
  s.resize(std::size_t(std::max(got, 0)));
  return s;
}

// ---- drawing, sounds, resources ----

BOOL InvalidateRect(HWND hwnd, const RECT*, BOOL) {
  if (!hwnd) return TRUE;
  if (!Get(hwnd)) return FALSE;
  Backend().Invalidated(hwnd);
  return TRUE;
}

BOOL UpdateWindow(HWND hwnd) {
  if (!Get(hwnd)) return FALSE;
  Backend().UpdateNow(hwnd);
  return TRUE;
}

BOOL RedrawWindow(HWND hwnd, const RECT*, void*, UINT flags) {
  if (hwnd && !Get(hwnd)) return FALSE;
  if (!hwnd) return TRUE;
  if (flags & (RDW_INVALIDATE | RDW_ERASE | RDW_FRAME)) Backend().Invalidated(hwnd);
  if (flags & (RDW_UPDATENOW | RDW_ERASENOW)) Backend().UpdateNow(hwnd);
  return TRUE;
}

BOOL MessageBeep(UINT type) {
  Backend().Beep(type);
  return TRUE;
}

HICON LoadIconA(HINSTANCE, LPCSTR name) {
  // System icons are named by their numbers; the handle carries the number for the backend.
  if (!name) return nullptr;
  if (IS_INTRESOURCE(name)) return reinterpret_cast<HICON>(const_cast<char*>(name));
  return nullptr;
}

HCURSOR LoadCursorA(HINSTANCE, LPCSTR name) {
  if (!name || !IS_INTRESOURCE(name)) return nullptr;
  return reinterpret_cast<HCURSOR>(const_cast<char*>(name));
}

}  // namespace zev
