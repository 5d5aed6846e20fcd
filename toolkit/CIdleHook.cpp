// Idle hooks and their root: one hidden window's 100-ms timer ticks every hook, and each
// hook decides by the 32-bit tick count whether it is due.
#include "zevutil/CIdleHook.h"

#include <algorithm>

#include "zevutil/platform/Host.h"

namespace zev {

namespace {

// The root lives as long as the process; hooks in static storage may be destroyed after
// the library's other globals, so the root is never destroyed under them.
bool g_bRootGone = false;

}  // namespace

CIdleHookRoot& GetIdleHook() {
  static CIdleHookRoot* root = new CIdleHookRoot;
  return *root;
}

CIdleHook::CIdleHook() { GetIdleHook().LinkHook(*this); }

CIdleHook::CIdleHook(const CIdleHook& other) {
  GetIdleHook().LinkHook(*this);
  *this = other;
}

CIdleHook& CIdleHook::operator=(const CIdleHook& other) {
  m_nTickFrequency = other.m_nTickFrequency;
  m_nLastTick = other.m_nLastTick;
  m_bEnabled = other.m_bEnabled;
  m_pCallback = other.m_pCallback;
  m_pCallbackData = other.m_pCallbackData;
  return *this;
}

CIdleHook::~CIdleHook() {
  if (!g_bRootGone) GetIdleHook().UnlinkHook(*this);
}

BOOL CIdleHook::OnIdleTick() {
  const ULONG tick = GetTickCount();
  // The counter wrapped: start over from here.
  if (tick < m_nLastTick) m_nLastTick = tick;
  // kept: unsigned arithmetic, so in the first TickFrequency milliseconds after the
  // counter starts the hook is due at once.
  if (ULONG(tick - m_nTickFrequency) <= m_nLastTick) return FALSE;
  if (m_pCallback && m_bEnabled) m_pCallback(m_pCallbackData);
  m_nLastTick = tick;
  return TRUE;
}

CIdleHook& CIdleHook::Enable(int enable) {
  m_bEnabled = enable;
  return *this;
}

CIdleHook& CIdleHook::SetTickFrequency(ULONG milliseconds) {
  m_nTickFrequency = milliseconds;
  return *this;
}

CIdleHook& CIdleHook::SetCallback(Callback callback, void* data) {
  m_pCallback = callback;
  m_pCallbackData = data;
  return *this;
}

CIdleHookRoot::~CIdleHookRoot() {
  g_bRootGone = true;
  // The window may outlive the layer's state at process end: it is let go, not destroyed.
  Detach();
}

void CIdleHookRoot::Init() {
  if (m_bTimerRunning) return;
  // There is no framework parent to hide it under: the window is a hidden top-level
  // window of the thread, made once and kept after Exit.
  if (!m_hWnd) CreateEx(0, nullptr, "IdleHookHiddenWindow", WS_POPUP, 0, 0, 0, 0, nullptr);
  m_nTimerID = SetTimer(kTimerId, kTimerPeriod);
  m_bTimerRunning = TRUE;
}

void CIdleHookRoot::Exit() {
  if (!m_bTimerRunning) return;
  KillTimer(m_nTimerID);
  m_bTimerRunning = FALSE;
}

void CIdleHookRoot::LinkHook(CIdleHook& hook) {
  if (std::find(m_Hooks.begin(), m_Hooks.end(), &hook) == m_Hooks.end()) m_Hooks.push_back(&hook);
}

void CIdleHookRoot::UnlinkHook(CIdleHook& hook) {
  auto it = std::find(m_Hooks.begin(), m_Hooks.end(), &hook);
  if (it != m_Hooks.end()) m_Hooks.erase(it);
}

BOOL CIdleHookRoot::FindHook(CIdleHook* hook, UINT& index) const {
  for (std::size_t i = 0; i < m_Hooks.size(); ++i) {
    if (m_Hooks[i] == hook) {
      index = UINT(i);
      return TRUE;
    }
  }
  return FALSE;
}

void CIdleHookRoot::OnTick() {
  // By index: a hook that links or unlinks hooks from its tick must not break the walk.
  for (std::size_t i = 0; i < m_Hooks.size(); ++i) m_Hooks[i]->OnIdleTick();
  // Idle time is when temporary window objects go, as callers of FromHandle expect.
  CWnd::DeleteTempMap();
}

void CIdleHookRoot::OnTimer(UINT_PTR) { OnTick(); }

LRESULT CIdleHookRoot::WindowProc(UINT msg, WPARAM wParam, LPARAM lParam) {
  if (msg == WM_TIMER) {
    OnTimer(UINT_PTR(wParam));
    return 0;
  }
  return CWnd::WindowProc(msg, wParam, lParam);
}

}  // namespace zev
