// Memory questions asked of the host: whether a range of the process's own memory can
// be read (without touching it), and how large a heap block is.
//
// Readability is asked of the kernel: process_vm_readv on the own process copies one
// byte of every page the range touches into a scratch buffer, and a page that is
// unmapped or not readable ends the copy short instead of raising a fault. Where that
// call is not allowed (a sandbox may forbid it), a write of the same bytes into a pipe
// answers the same question.
#include <fcntl.h>
#include <malloc.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

#include "zevutil/platform/Host.h"

namespace zev {

namespace {

std::uintptr_t PageSize() {
  static const std::uintptr_t size = [] {
    const long p = sysconf(_SC_PAGESIZE);
    return p > 0 ? std::uintptr_t(p) : std::uintptr_t(4096);
  }();
  return size;
}

enum class Probe { Readable, Unreadable, Unknown };

// Walks the pages from the one holding first to the one holding last; each call of
// take gets up to kBatch addresses, one in each page, and answers for them.
constexpr std::size_t kBatch = 128;

template <class Take>
Probe ForEachPageBatch(std::uintptr_t first, std::uintptr_t last, Take&& take) {
  const std::uintptr_t mask = ~(PageSize() - 1);
  const std::uintptr_t lastPage = last & mask;
  std::uintptr_t at = first;
  for (;;) {
    std::uintptr_t batch[kBatch];
    std::size_t n = 0;
    bool done = false;
    while (n < kBatch && !done) {
      batch[n++] = at;
      done = (at & mask) == lastPage;
      if (!done) at = (at & mask) + PageSize();
    }
    const Probe p = take(batch, n);
    if (p != Probe::Readable || done) return p;
  }
}

Probe ProbeByVmRead(std::uintptr_t first, std::uintptr_t last) {
  const pid_t self = getpid();
  return ForEachPageBatch(first, last, [self](const std::uintptr_t* at, std::size_t n) {
    char scratch[kBatch];
    iovec local{scratch, n};
    iovec remote[kBatch];
    for (std::size_t i = 0; i < n; ++i) remote[i] = {reinterpret_cast<void*>(at[i]), 1};
    const ssize_t got = process_vm_readv(self, &local, 1, remote, n, 0);
    if (got < 0) return errno == EFAULT ? Probe::Unreadable : Probe::Unknown;
    // The copy stops at the first page that cannot be read.
    return std::size_t(got) == n ? Probe::Readable : Probe::Unreadable;
  });
}

Probe ProbeByPipe(std::uintptr_t first, std::uintptr_t last) {
  int fds[2];
  if (pipe2(fds, O_CLOEXEC | O_NONBLOCK) != 0) return Probe::Unknown;
  const Probe p = ForEachPageBatch(first, last, [&fds](const std::uintptr_t* at, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
      ssize_t w;
      do w = write(fds[1], reinterpret_cast<const void*>(at[i]), 1);
      while (w < 0 && errno == EINTR);
      if (w < 0) return errno == EFAULT ? Probe::Unreadable : Probe::Unknown;
      char sink;
      if (read(fds[0], &sink, 1) != 1) return Probe::Unknown;
    }
    return Probe::Readable;
  });
  close(fds[0]);
  close(fds[1]);
  return p;
}

}  // namespace

bool IsReadableRange(const void* p, std::size_t size) {
  if (!p) return false;
  if (size == 0) return true;
  const std::uintptr_t first = reinterpret_cast<std::uintptr_t>(p);
  const std::uintptr_t last = first + (size - 1);
  if (last < first) return false;  // wraps around the address space
  Probe r = ProbeByVmRead(first, last);
  if (r == Probe::Unknown) r = ProbeByPipe(first, last);
  // With no way to ask, a range that passed the checks above counts as readable.
  return r != Probe::Unreadable;
}

std::size_t HeapBlockSize(void* block) {
  return block ? malloc_usable_size(block) : 0;
}

}  // namespace zev
