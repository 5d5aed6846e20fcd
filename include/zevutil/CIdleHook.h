// Idle processing: small timers (CIdleHook) served by one hidden window with one
// 100-millisecond timer (CIdleHookRoot, GetIdleHook()).
#pragma once
#include <vector>

#include "zevutil/platform/Types.h"
#include "zevutil/platform/Wnd.h"

namespace zev {

// A callback run at most every TickFrequency milliseconds while enabled. A hook is linked
// to the root for its whole life; make and destroy hooks on the thread of the user
// interface.
class CIdleHook {
 public:
  using Callback = void (*)(void*);

  CIdleHook();
  CIdleHook(const CIdleHook& other);
  CIdleHook& operator=(const CIdleHook& other);
  virtual ~CIdleHook();

  // Runs the callback when at least TickFrequency milliseconds have passed since the last
  // firing (by the 32-bit tick count). Returns 1 when the hook fired, enabled or not; 0
  // when it was not due.
  virtual BOOL OnIdleTick();

  CIdleHook& Enable(int enable);
  CIdleHook& SetTickFrequency(ULONG milliseconds);
  CIdleHook& SetCallback(Callback callback, void* data);

  ULONG GetTickFrequency() const { return m_nTickFrequency; }
  ULONG GetLastTick() const { return m_nLastTick; }
  BOOL IsEnabled() const { return m_bEnabled; }

 protected:
  ULONG m_nTickFrequency = 1000;
  ULONG m_nLastTick = 0;
  BOOL m_bEnabled = FALSE;
  Callback m_pCallback = nullptr;
  void* m_pCallbackData = nullptr;
};

// The hidden window "IdleHookHiddenWindow" whose timer (id 1927, every 100 ms) ticks every
// linked hook in order of linking. The application calls Init once it pumps messages.
class CIdleHookRoot : public CWnd {
 public:
  static constexpr UINT_PTR kTimerId = 1927;
  static constexpr UINT kTimerPeriod = 100;

  CIdleHookRoot() = default;
  ~CIdleHookRoot() override;

  // Makes the hidden window (once) and starts the timer, unless it is running.
  void Init();
  // Stops the timer if it is running; the window stays.
  void Exit();
  // Adds a hook at the end unless it is linked already.
  void LinkHook(CIdleHook& hook);
  void UnlinkHook(CIdleHook& hook);
  // 1 with the hook's index, or 0.
  BOOL FindHook(CIdleHook* hook, UINT& index) const;
  // Ticks every linked hook, in order of linking, then frees the thread's temporary window objects.
  void OnTick();

  BOOL IsTimerRunning() const { return m_bTimerRunning; }
  UINT_PTR GetTimerID() const { return m_nTimerID; }
  int GetHookCount() const { return int(m_Hooks.size()); }

 protected:
  LRESULT WindowProc(UINT msg, WPARAM wParam, LPARAM lParam) override;
  // The timer dies with the window: a later Init makes both again.
  void PostNcDestroy() override { m_bTimerRunning = FALSE; }
  void OnTimer(UINT_PTR id);

  std::vector<CIdleHook*> m_Hooks;
  BOOL m_bTimerRunning = FALSE;
  UINT_PTR m_nTimerID = 0;
};

// The process-wide root, made at first use.
CIdleHookRoot& GetIdleHook();

}  // namespace zev
