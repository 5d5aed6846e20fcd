// Thread-local slots over pthread keys, thread and process ids, sleeping.
#include <pthread.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <mutex>
#include <vector>

#include "zevutil/platform/Host.h"

namespace zev {

namespace {
// Slots are kept in a table so that a freed index can be told from a live one.
struct SlotTable {
  std::mutex lock;
  std::vector<pthread_key_t> keys;
  std::vector<bool> live;
};
SlotTable& Slots() {
  static SlotTable* t = new SlotTable;  // never destroyed: slots outlive static destruction
  return *t;
}
}  // namespace

DWORD TlsAlloc() {
  SlotTable& t = Slots();
  std::lock_guard<std::mutex> g(t.lock);
  pthread_key_t key;
  if (pthread_key_create(&key, nullptr) != 0) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return TLS_OUT_OF_INDEXES;
  }
  for (size_t i = 0; i < t.live.size(); ++i)
    if (!t.live[i]) {
      t.keys[i] = key;
      t.live[i] = true;
      return DWORD(i);
    }
  t.keys.push_back(key);
  t.live.push_back(true);
  return DWORD(t.keys.size() - 1);
}

BOOL TlsFree(DWORD index) {
  SlotTable& t = Slots();
  std::lock_guard<std::mutex> g(t.lock);
  if (index >= t.live.size() || !t.live[index]) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  pthread_key_delete(t.keys[index]);
  t.live[index] = false;
  return TRUE;
}

void* TlsGetValue(DWORD index) {
  SlotTable& t = Slots();
  pthread_key_t key;
  {
    std::lock_guard<std::mutex> g(t.lock);
    if (index >= t.live.size() || !t.live[index]) {
      SetLastError(ERROR_INVALID_PARAMETER);
      return nullptr;
    }
    key = t.keys[index];
  }
  return pthread_getspecific(key);
}

BOOL TlsSetValue(DWORD index, void* value) {
  SlotTable& t = Slots();
  pthread_key_t key;
  {
    std::lock_guard<std::mutex> g(t.lock);
    if (index >= t.live.size() || !t.live[index]) {
      SetLastError(ERROR_INVALID_PARAMETER);
      return FALSE;
    }
    key = t.keys[index];
  }
  return pthread_setspecific(key, value) == 0 ? TRUE : FALSE;
}

DWORD GetCurrentThreadId() { return DWORD(::syscall(SYS_gettid)); }
DWORD GetCurrentProcessId() { return DWORD(::getpid()); }

void Sleep(DWORD ms) {
  struct timespec ts {};
  ts.tv_sec = ms / 1000;
  ts.tv_nsec = long(ms % 1000) * 1000000L;
  while (nanosleep(&ts, &ts) != 0) {
  }
}

}  // namespace zev
