// CCriticalSection (recursive, as the platform's) and CSingleLock.
#pragma once
#include <mutex>

#include "zevutil/platform/Types.h"

namespace zev {

class CCriticalSection {
 public:
  CCriticalSection() = default;
  CCriticalSection(const CCriticalSection&) = delete;
  CCriticalSection& operator=(const CCriticalSection&) = delete;
  // Re-entrant on one thread; always succeeds.
  BOOL Lock() { m_mutex.lock(); return TRUE; }
  BOOL Unlock() { m_mutex.unlock(); return TRUE; }
  std::recursive_mutex& native() { return m_mutex; }

 private:
  std::recursive_mutex m_mutex;
};

// Holds a critical section for a scope when initialLock is true.
class CSingleLock {
 public:
  explicit CSingleLock(CCriticalSection* cs, BOOL initialLock = FALSE) : m_cs(cs) {
    if (initialLock) Lock();
  }
  ~CSingleLock() { Unlock(); }
  CSingleLock(const CSingleLock&) = delete;
  CSingleLock& operator=(const CSingleLock&) = delete;
  BOOL Lock() {
    if (m_cs && !m_locked) { m_cs->Lock(); m_locked = true; }
    return TRUE;
  }
  BOOL Unlock() {
    if (m_cs && m_locked) { m_cs->Unlock(); m_locked = false; }
    return TRUE;
  }
  BOOL IsLocked() const { return m_locked ? TRUE : FALSE; }

 private:
  CCriticalSection* m_cs;
  bool m_locked = false;
};

}  // namespace zev
