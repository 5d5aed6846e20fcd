// The layer's one clock: GetTickCount, timer due times and message times all read it.
#include <atomic>
#include <chrono>

#include "zevutil/platform/Window.h"

namespace zev {

namespace {

std::atomic<DWORD> g_tickOffset{0};
SystemClock g_systemClock;
std::atomic<Clock*> g_clock{&g_systemClock};

}  // namespace

ULONGLONG SystemClock::Now() const {
  // The steady clock counts from the host's start on Linux; the offset lets a caller move the
  // 32-bit tick count near its wrap.
  auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::steady_clock::now().time_since_epoch());
  return ULONGLONG(ms.count()) + g_tickOffset.load(std::memory_order_relaxed);
}

ManualClock::ManualClock(ULONGLONG start) : m_now(start) {}

ULONGLONG ManualClock::Now() const { return m_now.load(std::memory_order_acquire); }

void ManualClock::AdvanceTo(ULONGLONG ms) {
  ULONGLONG cur = m_now.load(std::memory_order_relaxed);
  while (cur < ms && !m_now.compare_exchange_weak(cur, ms, std::memory_order_acq_rel)) {
  }
}

void ManualClock::Set(ULONGLONG ms) { m_now.store(ms, std::memory_order_release); }

void ManualClock::Advance(ULONGLONG ms) { m_now.fetch_add(ms, std::memory_order_acq_rel); }

Clock& GetClock() { return *g_clock.load(std::memory_order_acquire); }

Clock* SetClock(Clock* clock) {
  Clock* prev = g_clock.exchange(clock ? clock : &g_systemClock, std::memory_order_acq_rel);
  return prev;
}

DWORD GetTickCount() { return DWORD(GetClock().Now()); }

void SetTickCountOffset(DWORD offset) { g_tickOffset.store(offset, std::memory_order_relaxed); }

}  // namespace zev
