// Host file service: open, read, write, seek, size, truncate, stat, remove, rename.
// Contract: every call returns -1 (or false) on failure and stores the errno value
// in *err when err is given; nothing throws.
#pragma once
#include <cstddef>
#include <cstdint>

namespace zev::host {

struct FileStatInfo {
  std::int64_t ctime = 0, mtime = 0, atime = 0;
  std::int64_t size = 0;
  bool isDir = false;
  bool isRegular = false;
  bool readOnly = false;
};

// Where the system can, the path is looked up without following links; *noLinks (when
// given) tells whether that succeeded, so that the path holds no link at all.
int FileOpen(const char* path, bool read, bool write, bool create, bool truncate, int* err,
             bool* noLinks = nullptr);
// Opens path for reading only, as FileOpen does but without its check that path names
// no folder: for a caller that reads at once, where reading a folder fails with EISDIR.
int FileOpenToRead(const char* path, int* err, bool* noLinks = nullptr);
std::int64_t FileRead(int fd, void* buf, std::size_t n, int* err);
// One read of up to n bytes (retried when interrupted): fewer than asked from a regular
// file means its end, which saves the read that would give 0.
std::int64_t FileReadUpTo(int fd, void* buf, std::size_t n, int* err);
std::int64_t FileWrite(int fd, const void* buf, std::size_t n, int* err);
std::int64_t FileSeek(int fd, std::int64_t off, int whence, int* err);
std::int64_t FileSize(int fd, int* err);
bool FileTruncate(int fd, std::int64_t len, int* err);
bool FileSync(int fd, int* err);
bool FileClose(int fd, int* err);
bool FileStatPath(const char* path, FileStatInfo& out, int* err);
bool FileStatFd(int fd, FileStatInfo& out, int* err);
bool FileRemove(const char* path, int* err);
bool FileRename(const char* from, const char* to, int* err);
// Absolute form of a path (the path itself when it can't be resolved).
bool FullPath(const char* path, char* out, std::size_t outSize);
// The same for the file open on fd, which path named: the system's own name of the open
// file in one call where it has one, else FullPath(path). Both resolve every link.
bool FullPathOfOpenFile(int fd, const char* path, char* out, std::size_t outSize);
// The same for a path known to hold no link (see FileOpen), worked out from its text and,
// for a relative path, the working directory: what FullPath gives, without a lookup.
// False when it cannot be worked out that way.
bool FullPathWithoutLinks(const char* path, char* out, std::size_t outSize);

}  // namespace zev::host
