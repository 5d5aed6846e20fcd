// Clients of a thread's message queue: one WH_GETMESSAGE hook per thread serves every
// client made on that thread, and a client may spoil a message for everybody after it.
#include <algorithm>
#include <map>
#include <vector>

#include "zevutil/CWinHookBase.h"
#include "zevutil/platform/Host.h"
#include "zevutil/platform/Sync.h"

namespace zev {

int GetMsgHook::sm_nHooks = 0;

namespace {

// Library-wide, keyed by thread id, all behind one critical section made at first use.
// None of them is ever destroyed, so a client that outlives the library's globals is safe.
struct MsgHookState {
  std::map<DWORD, std::vector<GetMsgHook*>> clients;
  std::map<DWORD, HHOOK> hooks;
  UINT spoiltMessage = 0;
};
MsgHookState& State() {
  static MsgHookState* state = new MsgHookState;
  return *state;
}
CCriticalSection& Lock() {
  static CCriticalSection* cs = new CCriticalSection;
  return *cs;
}

}  // namespace

void GetMsgHook::lock(int enter) {
  if (enter) Lock().Lock();
  else Lock().Unlock();
}

UINT GetMsgHook::GetSpoiltMessage() {
  lock(1);
  UINT msg = State().spoiltMessage;
  lock(0);
  return msg;
}

GetMsgHook::GetMsgHook() {
  lock(1);
  const DWORD thread = GetCurrentThreadId();
  auto& state = State();
  auto it = state.clients.find(thread);
  if (it == state.clients.end()) {
    it = state.clients.emplace(thread, std::vector<GetMsgHook*>{}).first;
    it->second.reserve(10);
    state.hooks[thread] = SetWindowsHookExA(WH_GETMESSAGE, &GetMsgHook::StaticHook, nullptr, thread);
  }
  if (!state.spoiltMessage) state.spoiltMessage = RegisterWindowMessageA("ZEV#GetMessageHook");
  it->second.push_back(this);
  ++sm_nHooks;
  lock(0);
}

GetMsgHook::~GetMsgHook() {
  lock(1);
  const DWORD thread = GetCurrentThreadId();
  auto& state = State();
  auto it = state.clients.find(thread);
  if (it != state.clients.end()) {
    auto& list = it->second;
    auto pos = std::find(list.begin(), list.end(), this);
    if (pos != list.end()) {
      list.erase(pos);
      --sm_nHooks;
    }
    if (list.empty()) {
      state.clients.erase(it);
      auto h = state.hooks.find(thread);
      if (h != state.hooks.end()) {
        HHOOK hook = h->second;
        state.hooks.erase(h);
        UnhookWindowsHookEx(hook);
      }
    }
  }
  lock(0);
}

BOOL GetMsgHook::OnMessage(MSG&) { return FALSE; }

LRESULT GetMsgHook::CallNextHook(int code, WPARAM wParam, LPARAM lParam) {
  lock(1);
  auto& hooks = State().hooks;
  auto it = hooks.find(GetCurrentThreadId());
  HHOOK hook = it == hooks.end() ? nullptr : it->second;
  lock(0);
  return CallNextHookEx(hook, code, wParam, lParam);
}

LRESULT GetMsgHook::StaticHook(int code, WPARAM wParam, LPARAM lParam) {
  // The lock is held only to copy the client list: a client may make or destroy clients
  // from OnMessage, and one destroyed meanwhile is skipped.
  const DWORD thread = GetCurrentThreadId();
  std::vector<GetMsgHook*> clients;
  UINT spoilt = 0;
  lock(1);
  auto it = State().clients.find(thread);
  if (it != State().clients.end()) clients = it->second;
  spoilt = State().spoiltMessage;
  lock(0);

  auto* msg = reinterpret_cast<MSG*>(lParam);
  if (msg) {
    for (GetMsgHook* client : clients) {
      lock(1);
      auto live = State().clients.find(thread);
      bool alive = live != State().clients.end() &&
                   std::find(live->second.begin(), live->second.end(), client) != live->second.end();
      lock(0);
      if (!alive) continue;
      if (client->OnMessage(*msg)) {
        msg->message = spoilt;
        break;
      }
    }
  }
  return CallNextHook(code, wParam, lParam);
}

}  // namespace zev
