// Host file service over POSIX file descriptors.
#include "platform/host/HostFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#if defined(SYS_openat2) && __has_include(<linux/openat2.h>)
#include <linux/openat2.h>
#define ZEV_HAVE_OPENAT2 1
#endif

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace zev::host {

namespace {
inline void SetErr(int* err) {
  if (err) *err = errno;
}
void FillStat(const struct stat& st, FileStatInfo& out) {
  out.ctime = st.st_ctime;
  out.mtime = st.st_mtime;
  out.atime = st.st_atime;
  out.size = st.st_size;
  out.isDir = S_ISDIR(st.st_mode);
  out.isRegular = S_ISREG(st.st_mode);
  out.readOnly = (st.st_mode & S_IWUSR) == 0;
}
}  // namespace

namespace {
int OpenNoLinks(const char* path, int flags, bool create, int* err, bool* noLinks) {
  if (noLinks) *noLinks = false;
  int fd = -1;
#ifdef ZEV_HAVE_OPENAT2
  // A lookup that refuses links: when it succeeds the full name needs no lookup of its
  // own later. Any failure (a link on the way, an older system) opens as usual, which
  // also gives the usual error.
  struct open_how how {};
  how.flags = std::uint64_t(flags);
  how.mode = create ? 0666 : 0;
  how.resolve = RESOLVE_NO_SYMLINKS;
  if (path) fd = int(::syscall(SYS_openat2, AT_FDCWD, path, &how, sizeof how));
  if (fd >= 0 && noLinks) *noLinks = true;
#endif
  if (fd < 0) fd = ::open(path, flags, 0666);
  if (fd < 0) SetErr(err);
  return fd;
}
}  // namespace

int FileOpenToRead(const char* path, int* err, bool* noLinks) {
  return OpenNoLinks(path, O_RDONLY | O_CLOEXEC, false, err, noLinks);
}

int FileOpen(const char* path, bool read, bool write, bool create, bool truncate, int* err, bool* noLinks) {
  int flags = O_CLOEXEC;
  if (read && write) flags |= O_RDWR;
  else if (write) flags |= O_WRONLY;
  else flags |= O_RDONLY;
  if (create) flags |= O_CREAT;
  if (truncate) flags |= O_TRUNC;
  int fd = OpenNoLinks(path, flags, create, err, noLinks);
  if (fd < 0) return -1;
  struct stat st {};
  if (::fstat(fd, &st) == 0 && S_ISDIR(st.st_mode)) {
    ::close(fd);
    if (err) *err = EISDIR;
    return -1;
  }
  return fd;
}

std::int64_t FileRead(int fd, void* buf, std::size_t n, int* err) {
  std::size_t done = 0;
  while (done < n) {
    ssize_t r = ::read(fd, static_cast<char*>(buf) + done, n - done);
    if (r < 0) {
      if (errno == EINTR) continue;
      SetErr(err);
      return -1;
    }
    if (r == 0) break;
    done += std::size_t(r);
  }
  return std::int64_t(done);
}

std::int64_t FileReadUpTo(int fd, void* buf, std::size_t n, int* err) {
  for (;;) {
    ssize_t r = ::read(fd, buf, n);
    if (r >= 0) return std::int64_t(r);
    if (errno != EINTR) {
      SetErr(err);
      return -1;
    }
  }
}

std::int64_t FileWrite(int fd, const void* buf, std::size_t n, int* err) {
  std::size_t done = 0;
  while (done < n) {
    ssize_t r = ::write(fd, static_cast<const char*>(buf) + done, n - done);
    if (r < 0) {
      if (errno == EINTR) continue;
      SetErr(err);
      return -1;
    }
    done += std::size_t(r);
  }
  return std::int64_t(done);
}

std::int64_t FileSeek(int fd, std::int64_t off, int whence, int* err) {
  int w = whence == 0 ? SEEK_SET : whence == 1 ? SEEK_CUR : SEEK_END;
  off_t r = ::lseek(fd, off_t(off), w);
  if (r < 0) { SetErr(err); return -1; }
  return std::int64_t(r);
}

std::int64_t FileSize(int fd, int* err) {
  struct stat st {};
  if (::fstat(fd, &st) != 0) { SetErr(err); return -1; }
  return std::int64_t(st.st_size);
}

bool FileTruncate(int fd, std::int64_t len, int* err) {
  if (::ftruncate(fd, off_t(len)) != 0) { SetErr(err); return false; }
  return true;
}

bool FileSync(int fd, int* err) {
  if (::fsync(fd) != 0 && errno != EINVAL) { SetErr(err); return false; }
  return true;
}

bool FileClose(int fd, int* err) {
  if (::close(fd) != 0) { SetErr(err); return false; }
  return true;
}

bool FileStatPath(const char* path, FileStatInfo& out, int* err) {
  struct stat st {};
  if (!path || ::stat(path, &st) != 0) { SetErr(err); return false; }
  FillStat(st, out);
  return true;
}

bool FileStatFd(int fd, FileStatInfo& out, int* err) {
  struct stat st {};
  if (::fstat(fd, &st) != 0) { SetErr(err); return false; }
  FillStat(st, out);
  return true;
}

bool FileRemove(const char* path, int* err) {
  if (::unlink(path) != 0) { SetErr(err); return false; }
  return true;
}

bool FileRename(const char* from, const char* to, int* err) {
  if (std::rename(from, to) != 0) { SetErr(err); return false; }
  return true;
}

bool FullPath(const char* path, char* out, std::size_t outSize) {
  if (!path || !out || outSize == 0) return false;
  char buf[PATH_MAX];
  const char* src = path;
  if (::realpath(path, buf)) src = buf;
  std::strncpy(out, src, outSize - 1);
  out[outSize - 1] = '\0';
  return true;
}

bool FullPathOfOpenFile(int fd, const char* path, char* out, std::size_t outSize) {
  if (!out || outSize == 0) return false;
  // /proc names the open file as realpath() names its path, without a lookup per
  // component; a file removed since it was opened, or no /proc, falls back.
  char link[40];
  std::snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
  char buf[PATH_MAX];
  ssize_t n = fd >= 0 ? ::readlink(link, buf, sizeof buf - 1) : -1;
  static constexpr char kDeleted[] = " (deleted)";
  constexpr std::size_t kDeletedLength = sizeof kDeleted - 1;
  if (n <= 0 || std::size_t(n) >= sizeof buf - 1 || buf[0] != '/' ||
      (std::size_t(n) >= kDeletedLength && std::memcmp(buf + n - kDeletedLength, kDeleted, kDeletedLength) == 0))
    return FullPath(path, out, outSize);
  buf[n] = '\0';
  std::strncpy(out, buf, outSize - 1);
  out[outSize - 1] = '\0';
  return true;
}

bool FullPathWithoutLinks(const char* path, char* out, std::size_t outSize) {
  if (!path || !*path || !out || outSize == 0) return false;
  std::string full;
  if (path[0] != '/') {
    char cwd[PATH_MAX];
    if (!::getcwd(cwd, sizeof cwd) || cwd[0] != '/') return false;
    full = cwd;
    full += '/';
  }
  full += path;
  // Without links, "." and ".." are resolved on the text, as realpath() then does.
  std::string resolved;
  std::size_t i = 0;
  while (i < full.size()) {
    std::size_t end = full.find('/', i);
    if (end == std::string::npos) end = full.size();
    std::string_view part(full.data() + i, end - i);
    if (part == "..") {
      std::size_t slash = resolved.rfind('/');
      resolved.resize(slash == std::string::npos ? 0 : slash);
    } else if (!part.empty() && part != ".") {
      resolved += '/';
      resolved += part;
    }
    i = end + 1;
  }
  if (resolved.empty()) resolved.push_back('/');
  if (resolved.size() >= PATH_MAX) return false;  // too long for realpath()
  std::strncpy(out, resolved.c_str(), outSize - 1);
  out[outSize - 1] = '\0';
  return true;
}

}  // namespace zev::host
