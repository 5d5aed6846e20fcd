// One message queue per thread: sending (a direct call on the same thread, a wait for the
// owner's loop across threads), posting (thread-safe, wakes the loop), taking messages in their
// order with the WH_GETMESSAGE hook chain, timers on the layer's clock, dispatch and the raw
// input behind the message being dispatched.
#include <algorithm>
#include <chrono>
#include <cstring>

#include "window/WindowImpl.h"

namespace zev {

using namespace wnd;

namespace wnd {

namespace {

bool Matches(const MSG& m, ThreadState& ts, HWND filter, UINT lo, UINT hi) {
  if (lo || hi) {
    if (m.message < lo || m.message > hi) return false;
  }
  if (filter == reinterpret_cast<HWND>(std::intptr_t(-1))) return m.hwnd == nullptr;
  if (filter && m.hwnd != filter) {
    Wnd* f = ts.Find(filter);
    Wnd* w = ts.Find(m.hwnd);
    if (!f || !w || !IsDescendant(f, w)) return false;
  }
  return true;
}

int ChainIndex(int type) { return type == WH_GETMESSAGE ? 0 : type == WH_MSGFILTER ? 1 : -1; }

LRESULT CallFrom(ThreadState& ts, int chainIndex, std::size_t from, int code, WPARAM w, LPARAM l) {
  // 'from' counts down: the newest hook sits at the back.
  std::vector<HookRec*>& chain = ts.hooks[chainIndex];
  for (std::size_t i = from; i-- > 0;) {
    HookRec* h = chain[i];
    if (h->removed) continue;
    ++ts.hookDepth;
    ts.hookCalls.emplace_back(chainIndex, i);
    LRESULT r = h->proc(code, w, l);
    ts.hookCalls.pop_back();
    --ts.hookDepth;
    return r;
  }
  return 0;
}

void CompactHooks(ThreadState& ts) {
  if (ts.hookDepth > 0 || !ts.hooksDirty) return;
  for (auto& chain : ts.hooks) {
    auto gone = std::stable_partition(chain.begin(), chain.end(), [](HookRec* h) { return !h->removed; });
    for (auto it = gone; it != chain.end(); ++it) delete *it;
    chain.erase(gone, chain.end());
  }
  ts.hooksDirty = false;
}

LRESULT RunHooks(ThreadState& ts, int type, int code, WPARAM w, LPARAM l) {
  const int idx = ChainIndex(type);
  if (ts.hooks[idx].empty()) return 0;
  LRESULT r = CallFrom(ts, idx, ts.hooks[idx].size(), code, w, l);
  CompactHooks(ts);
  return r;
}

// Key messages leave their key's state behind for GetKeyState.
void NoteKey(ThreadState& ts, const MSG& m) {
  bool down;
  if (m.message == WM_KEYDOWN || m.message == WM_SYSKEYDOWN)
    down = true;
  else if (m.message == WM_KEYUP || m.message == WM_SYSKEYUP)
    down = false;
  else
    return;
  const UINT vk = UINT(m.wParam) & 0xFF;
  ts.keyDown[vk] = down;
  if (vk == VK_LSHIFT || vk == VK_RSHIFT) ts.keyDown[VK_SHIFT] = down;
  if (vk == VK_LCONTROL || vk == VK_RCONTROL) ts.keyDown[VK_CONTROL] = down;
  if (vk == VK_LMENU || vk == VK_RMENU) ts.keyDown[VK_MENU] = down;
}

// Takes the next message for the filter, or answers false.
bool Take(ThreadState& ts, MSG* out, HWND filter, UINT lo, UINT hi, UINT flags) {
  ProcessSentMessages(ts);
  const bool remove = (flags & PM_REMOVE) != 0;
  if (remove) DropPendingInput(ts);
  bool found = false;
  QueuedMsg taken;
  {
    MessageQueue& q = *ts.queue;
    std::lock_guard<std::mutex> g(q.m);
    for (auto it = q.posted.begin(); it != q.posted.end(); ++it) {
      if (!Matches(it->msg, ts, filter, lo, hi)) continue;
      taken = *it;
      if (remove) q.posted.erase(it);
      found = true;
      break;
    }
    if (!found && q.quit && ((!lo && !hi) || (WM_QUIT >= lo && WM_QUIT <= hi))) {
      taken.msg = MSG{nullptr, WM_QUIT, WPARAM(q.quitCode), 0, DWORD(GetClock().Now()), {0, 0}};
      if (remove) q.quit = false;
      found = true;
    }
  }
  if (!found && !ts.timers.empty()) {
    const ULONGLONG now = GetClock().Now();
    Timer* best = nullptr;
    for (Timer& t : ts.timers) {
      if (t.due > now) continue;
      MSG probe{ToHwnd(t.hwnd), WM_TIMER, t.id, 0, 0, {0, 0}};
      if (!Matches(probe, ts, filter, lo, hi)) continue;
      if (!best || t.due < best->due) best = &t;
    }
    if (best) {
      taken.msg = MSG{ToHwnd(best->hwnd), WM_TIMER, best->id, reinterpret_cast<LPARAM>(best->proc), DWORD(now),
                      {0, 0}};
      if (remove) best->due = now + best->period;
      found = true;
    }
  }
  if (!found) return false;
  *out = taken.msg;
  ts.lastTime = out->time;
  if (remove) NoteKey(ts, taken.msg);
  if (remove && (taken.token || taken.ch || taken.nativeChar))
    ts.pending = {taken.msg, taken.token, taken.ch, taken.token != 0, taken.nativeChar};
  if (!ts.hooks[0].empty()) RunHooks(ts, WH_GETMESSAGE, HC_ACTION, remove ? PM_REMOVE : PM_NOREMOVE,
                                     reinterpret_cast<LPARAM>(out));
  return true;
}

// The character a key makes when no native event says (keys posted by code).
UINT CharOfKey(WPARAM vk) {
  if (vk >= 'A' && vk <= 'Z') return UINT(vk - 'A' + 'a');
  if (vk >= '0' && vk <= '9') return UINT(vk);
  switch (vk) {
    case VK_SPACE: return ' ';
    case VK_RETURN: return '\r';
    case VK_BACK: return 8;
    case VK_TAB: return 9;
    case VK_ESCAPE: return 27;
    default: return 0;
  }
}

}  // namespace

void Push(const std::shared_ptr<MessageQueue>& q, QueuedMsg qm, bool wake) {
  {
    std::lock_guard<std::mutex> g(q->m);
    if (!q->alive) {
      if (qm.token) Backend().DropInput(qm.token);
      return;
    }
    q->posted.push_back(qm);
  }
  q->cv.notify_one();
  if (wake) Backend().Wake(q->threadId);
}

void ProcessSentMessages(ThreadState& ts) {
  for (;;) {
    SentMsg* s;
    {
      std::lock_guard<std::mutex> g(ts.queue->m);
      if (ts.queue->sent.empty()) return;
      s = ts.queue->sent.front();
      ts.queue->sent.pop_front();
    }
    LRESULT r = 0;
    if (Wnd* w = ts.Find(s->hwnd)) {
      ++ts.inSend;
      r = Send(w, s->msg, s->wParam, s->lParam);
      --ts.inSend;
    }
    auto sender = s->sender;
    {
      std::lock_guard<std::mutex> g(sender->m);
      s->result = r;
      s->done = true;
    }
    sender->cv.notify_all();
  }
}

void DropPendingInput(ThreadState& ts) {
  if (ts.pending.token) Backend().DropInput(ts.pending.token);
  ts.pending = {};
}

void RemoveTimersOf(ThreadState& ts, DWORD handle) {
  ts.timers.erase(std::remove_if(ts.timers.begin(), ts.timers.end(), [&](const Timer& t) { return t.hwnd == handle; }),
                  ts.timers.end());
}

InputFrame* CurrentInput(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  ThreadState& ts = Thread();
  if (ts.frames.empty()) return nullptr;
  InputFrame& f = ts.frames.back();
  if (f.Any() && f.original.hwnd == hwnd && f.original.message == msg &&
      f.original.wParam == wParam && f.original.lParam == lParam)
    return &f;
  return nullptr;
}

bool ReinjectCurrentInput(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  InputFrame* f = CurrentInput(hwnd, msg, wParam, lParam);
  if (!f || !f->token) return false;
  std::uintptr_t token = f->token;
  f->token = 0;
  Backend().ReinjectInput(token);
  return true;
}

bool HasQueuedMessages() {
  ThreadState& ts = Thread();
  std::lock_guard<std::mutex> g(ts.queue->m);
  return ts.queue->ReadyLocked();
}

ULONGLONG NextTimerDue() {
  ULONGLONG best = kNoDeadline;
  for (const Timer& t : Thread().timers) best = std::min(best, t.due);
  return best;
}

void DefaultWait(ULONGLONG deadline) {
  ThreadState& ts = Thread();
  MessageQueue& q = *ts.queue;
  Clock& clock = GetClock();
  std::unique_lock<std::mutex> lk(q.m);
  if (q.ReadyLocked()) return;
  if (deadline == kNoDeadline) {
    q.cv.wait(lk, [&] { return q.ReadyLocked(); });
    return;
  }
  ULONGLONG now = clock.Now();
  if (now >= deadline) return;
  if (clock.IsVirtual()) {
    lk.unlock();
    clock.AdvanceTo(deadline);
    return;
  }
  auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(deadline - now);
  q.cv.wait_until(lk, until, [&] { return q.ReadyLocked(); });
}

}  // namespace wnd

// ---- sending and posting ----

LRESULT SendMessageA(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  ThreadState& ts = Thread();
  if (Wnd* w = ts.Find(hwnd)) return Send(w, msg, wParam, lParam);
  std::uintptr_t v = reinterpret_cast<std::uintptr_t>(hwnd);
  if (v == 0 || v > 0xFFFFFFFFu) return 0;
  std::shared_ptr<MessageQueue> target;
  {
    std::lock_guard<std::mutex> g(RegistryMutex());
    Wnd* a = FindAnyLocked(DWORD(v));
    if (!a) return 0;
    target = a->thread->queue;
  }
  SentMsg sm{hwnd, msg, wParam, lParam, 0, false, ts.queue};
  {
    std::lock_guard<std::mutex> g(target->m);
    if (!target->alive) return 0;
    target->sent.push_back(&sm);
  }
  target->cv.notify_all();
  Backend().Wake(target->threadId);
  for (;;) {
    ProcessSentMessages(ts);
    std::unique_lock<std::mutex> lk(ts.queue->m);
    ts.queue->cv.wait(lk, [&] { return sm.done || !ts.queue->sent.empty(); });
    if (sm.done) return sm.result;
  }
}

BOOL PostMessageA(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
  ThreadState& ts = Thread();
  QueuedMsg qm;
  qm.msg = MSG{hwnd, msg, wParam, lParam, DWORD(GetClock().Now()), {0, 0}};
  if (!hwnd || ts.Find(hwnd)) {
    Push(ts.queue, qm, false);
    return TRUE;
  }
  std::uintptr_t v = reinterpret_cast<std::uintptr_t>(hwnd);
  if (v > 0xFFFFFFFFu) return FALSE;
  std::shared_ptr<MessageQueue> target;
  {
    std::lock_guard<std::mutex> g(RegistryMutex());
    Wnd* a = FindAnyLocked(DWORD(v));
    if (!a) {
      SetLastError(1400);  // ERROR_INVALID_WINDOW_HANDLE
      return FALSE;
    }
    target = a->thread->queue;
  }
  Push(target, qm, true);
  return TRUE;
}

BOOL PostThreadMessageA(DWORD threadId, UINT msg, WPARAM wParam, LPARAM lParam) {
  ThreadState& ts = Thread();
  QueuedMsg qm;
  qm.msg = MSG{nullptr, msg, wParam, lParam, DWORD(GetClock().Now()), {0, 0}};
  if (threadId == ts.tid) {
    Push(ts.queue, qm, false);
    return TRUE;
  }
  std::shared_ptr<MessageQueue> target;
  {
    std::lock_guard<std::mutex> g(RegistryMutex());
    target = QueueOfThreadLocked(threadId);
  }
  if (!target) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  Push(target, qm, true);
  return TRUE;
}

void PostQuitMessage(int exitCode) {
  MessageQueue& q = *Thread().queue;
  {
    std::lock_guard<std::mutex> g(q.m);
    q.quit = true;
    q.quitCode = exitCode;
  }
  q.cv.notify_one();
}

// ---- taking messages ----

BOOL GetMessageA(MSG* msg, HWND hwnd, UINT lo, UINT hi) {
  if (!msg) return -1;
  ThreadState& ts = Thread();
  if (hwnd && hwnd != reinterpret_cast<HWND>(std::intptr_t(-1)) && !ts.Find(hwnd)) {
    SetLastError(1400);
    return -1;
  }
  for (;;) {
    if (Take(ts, msg, hwnd, lo, hi, PM_REMOVE)) return msg->message != WM_QUIT;
    ULONGLONG due = kNoDeadline;
    for (const Timer& t : ts.timers) {
      MSG probe{ToHwnd(t.hwnd), WM_TIMER, t.id, 0, 0, {0, 0}};
      if (Matches(probe, ts, hwnd, lo, hi)) due = std::min(due, t.due);
    }
    Backend().Wait(due);
  }
}

BOOL PeekMessageA(MSG* msg, HWND hwnd, UINT lo, UINT hi, UINT removeMsg) {
  if (!msg) return FALSE;
  ThreadState& ts = Thread();
  Backend().Poll();
  return Take(ts, msg, hwnd, lo, hi, removeMsg) ? TRUE : FALSE;
}

BOOL WaitMessage() {
  ThreadState& ts = Thread();
  ProcessSentMessages(ts);
  if (HasQueuedMessages()) return TRUE;
  ULONGLONG due = NextTimerDue();
  if (due != kNoDeadline && due <= GetClock().Now()) return TRUE;
  Backend().Wait(due);
  return TRUE;
}

BOOL TranslateMessage(const MSG* msg) {
  if (!msg || (msg->message != WM_KEYDOWN && msg->message != WM_SYSKEYDOWN)) return FALSE;
  ThreadState& ts = Thread();
  UINT ch = 0;
  bool native = false;
  // A raw key carries its character; the frame or the pending input names it.
  const InputFrame* f = nullptr;
  if (!ts.frames.empty() && ts.frames.back().original.hwnd == msg->hwnd &&
      ts.frames.back().original.message == msg->message && ts.frames.back().original.wParam == msg->wParam &&
      ts.frames.back().original.lParam == msg->lParam)
    f = &ts.frames.back();
  else if (ts.pending.original.hwnd == msg->hwnd && ts.pending.original.message == msg->message &&
           ts.pending.original.wParam == msg->wParam && ts.pending.original.lParam == msg->lParam)
    f = &ts.pending;
  if (f && f->ch) {
    ch = f->ch;
    native = f->raw;
  }
  if (!native) ch = CharOfKey(msg->wParam);
  if (!ch) return FALSE;
  QueuedMsg qm;
  qm.msg = MSG{msg->hwnd, msg->message == WM_SYSKEYDOWN ? WM_SYSCHAR : WM_CHAR, WPARAM(ch), msg->lParam,
               DWORD(GetClock().Now()), {0, 0}};
  qm.nativeChar = native;
  Push(ts.queue, qm, false);
  return TRUE;
}

LRESULT DispatchMessageA(const MSG* msg) {
  if (!msg) return 0;
  ThreadState& ts = Thread();
  if (msg->message == WM_TIMER && msg->lParam) {
    // Only a proc that a live timer names is called.
    TIMERPROC proc = reinterpret_cast<TIMERPROC>(msg->lParam);
    DWORD h = DWORD(reinterpret_cast<std::uintptr_t>(msg->hwnd));
    for (const Timer& t : ts.timers)
      if (t.proc == proc && t.hwnd == h && t.id == msg->wParam) {
        proc(msg->hwnd, WM_TIMER, msg->wParam, DWORD(GetClock().Now()));
        return 0;
      }
    return 0;
  }
  Wnd* w = ts.Find(msg->hwnd);
  const bool withInput = ts.pending.Any();
  if (withInput) {
    ts.frames.push_back(ts.pending);
    ts.pending = {};
  }
  LRESULT r = w ? Send(w, msg->message, msg->wParam, msg->lParam) : 0;
  if (withInput) {
    InputFrame f = ts.frames.back();
    ts.frames.pop_back();
    if (f.token) Backend().DropInput(f.token);
  }
  return r;
}

UINT RegisterWindowMessageA(LPCSTR name) {
  if (!name || !*name) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  static std::mutex m;
  static std::vector<std::string>* names = new std::vector<std::string>;
  std::string key = name;
  for (char& c : key) c = char(std::tolower(static_cast<unsigned char>(c)));
  std::lock_guard<std::mutex> g(m);
  for (std::size_t i = 0; i < names->size(); ++i)
    if ((*names)[i] == key) return UINT(0xC000 + i);
  if (names->size() >= 0x4000) return 0;
  names->push_back(key);
  return UINT(0xC000 + names->size() - 1);
}

DWORD GetMessageTime() { return Thread().lastTime; }
SHORT GetKeyState(int virtualKey) {
  return Thread().keyDown[unsigned(virtualKey) & 0xFF] ? SHORT(0x8000) : SHORT(0);
}
LONG GetMessagePos() { return 0; }
BOOL InSendMessage() { return Thread().inSend > 0 ? TRUE : FALSE; }

// ---- hooks ----

HHOOK SetWindowsHookExA(int idHook, HOOKPROC proc, HINSTANCE, DWORD threadId) {
  ThreadState& ts = Thread();
  int idx = ChainIndex(idHook);
  if (idx < 0 || !proc || (threadId != 0 && threadId != ts.tid)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  HookRec* h = new HookRec{idHook, proc, &ts, false};
  ts.hooks[idx].push_back(h);
  return h;
}

BOOL UnhookWindowsHookEx(HHOOK hook) {
  ThreadState& ts = Thread();
  for (auto& chain : ts.hooks)
    for (HookRec* h : chain)
      if (h == hook && !h->removed) {
        h->removed = true;
        ts.hooksDirty = true;
        CompactHooks(ts);
        return TRUE;
      }
  SetLastError(ERROR_INVALID_PARAMETER);
  return FALSE;
}

LRESULT CallNextHookEx(HHOOK hook, int code, WPARAM wParam, LPARAM lParam) {
  ThreadState& ts = Thread();
  for (int c = 0; c < 2; ++c) {
    auto& chain = ts.hooks[c];
    auto it = std::find(chain.begin(), chain.end(), static_cast<HookRec*>(hook));
    if (it != chain.end()) return CallFrom(ts, c, std::size_t(it - chain.begin()), code, wParam, lParam);
  }
  // A hook that passes no handle of its own (or a stale one) goes on from where it runs.
  if (!ts.hookCalls.empty()) {
    auto [c, i] = ts.hookCalls.back();
    return CallFrom(ts, c, i, code, wParam, lParam);
  }
  return 0;
}

BOOL CallMsgFilterA(MSG* msg, int code) {
  ThreadState& ts = Thread();
  if (ts.hooks[1].empty()) return FALSE;
  return RunHooks(ts, WH_MSGFILTER, code, 0, reinterpret_cast<LPARAM>(msg)) ? TRUE : FALSE;
}

// ---- timers ----

UINT_PTR SetTimer(HWND hwnd, UINT_PTR id, UINT elapse, TIMERPROC proc) {
  ThreadState& ts = Thread();
  DWORD h = 0;
  if (hwnd) {
    Wnd* w = Get(hwnd);
    if (!w) return 0;
    h = w->handle;
  }
  elapse = std::clamp(elapse, USER_TIMER_MINIMUM, USER_TIMER_MAXIMUM);
  const ULONGLONG due = GetClock().Now() + elapse;
  if (!hwnd) {
    // A thread timer: a new id unless 'id' names one of this thread's timers.
    bool known = false;
    for (const Timer& t : ts.timers) known |= t.hwnd == 0 && t.id == id && id != 0;
    if (!known) {
      do {
        id = ts.nextThreadTimer++;
        if (ts.nextThreadTimer == 0) ts.nextThreadTimer = 1;
      } while (std::any_of(ts.timers.begin(), ts.timers.end(), [&](const Timer& t) { return t.hwnd == 0 && t.id == id; }));
    }
  }
  for (Timer& t : ts.timers)
    if (t.hwnd == h && t.id == id) {
      t.period = elapse;
      t.due = due;
      t.proc = proc;
      return id ? id : 1;
    }
  ts.timers.push_back(Timer{h, id, elapse, due, proc});
  return id ? id : 1;
}

BOOL KillTimer(HWND hwnd, UINT_PTR id) {
  ThreadState& ts = Thread();
  DWORD h = DWORD(reinterpret_cast<std::uintptr_t>(hwnd));
  auto it = std::find_if(ts.timers.begin(), ts.timers.end(), [&](const Timer& t) { return t.hwnd == h && t.id == id; });
  if (it == ts.timers.end()) return FALSE;
  ts.timers.erase(it);
  return TRUE;
}

// ---- raw key input ----

namespace wnd {

BOOL InputKey(HWND target, UINT message, WPARAM virtualKey, LPARAM keyData, UINT ch, std::uintptr_t token) {
  ThreadState& ts = Thread();
  if (!InputAllowed(target)) {
    if (token) Backend().DropInput(token);
    return FALSE;
  }
  QueuedMsg qm;
  qm.msg = MSG{target, message, virtualKey, keyData, DWORD(GetClock().Now()), {0, 0}};
  qm.token = token;
  qm.ch = (message == WM_KEYDOWN || message == WM_SYSKEYDOWN) ? ch : 0;
  Push(ts.queue, qm, false);
  return TRUE;
}

}  // namespace wnd

}  // namespace zev
