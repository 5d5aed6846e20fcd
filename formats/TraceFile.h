// The frame that the trace-file readers and writers share: what their failures turn
// into, and how a named file is opened, read, written, closed and stat'ed.
#pragma once
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <vector>

#include "formats/ByteCursor.h"
#include "platform/host/HostFile.h"
#include "zevutil/platform/CFile.h"

namespace zev {
namespace tracefile {

// Runs body and gives its result, or FALSE when it throws what reading or writing a
// trace file can throw: a file or memory exception (released here), the format's own
// exception, or a failed allocation. Anything else goes on to the caller.
template <class FormatException, class Body>
BOOL Guarded(Body&& body) {
  try {
    return body() ? TRUE : FALSE;
  } catch (CFileException* e) {
    e->Delete();
  } catch (const FormatException&) {
    // The message is not shown anywhere.
  } catch (CMemoryException* e) {
    e->Delete();
  } catch (const std::bad_alloc&) {
  }
  return FALSE;
}

// A Read or Write on a named file. body is given a file that is not open yet; it opens
// and uses it, and returns FALSE to give up quietly. When body succeeds, the file's
// status is kept in status, the file is closed and statusValid set. When it gives up
// or throws, the file is closed without further errors, statusValid stays FALSE (it is
// cleared first, so a failure never leaves the status of an earlier success valid) and
// the result is FALSE.
template <class FormatException, class Body>
BOOL WithFile(CFileStatus& status, BOOL& statusValid, Body&& body) {
  statusValid = FALSE;
  CFile file;
  BOOL ok = Guarded<FormatException>([&]() -> BOOL {
    if (!body(file)) return FALSE;
    file.GetStatus(status);
    file.Close();
    statusValid = TRUE;
    return TRUE;
  });
  file.Abort();  // nothing left to close after a success
  return ok;
}

// Opens path for reading and takes the whole file into bytes. False when it cannot be
// opened; a read error throws as the file's Read does.
inline bool OpenAndReadAll(CFile& file, const CString& path, std::vector<BYTE>& bytes) {
  if (!file.Open(path, CFile::modeRead | CFile::typeBinary)) return false;
  ReadAllBytes(file, bytes);
  return true;
}

// A named file taken whole for a reader: opened, its bytes read into a buffer that the
// thread keeps for the next file, its status taken, and closed before the bytes are
// looked at. Reading many files one after the other is the common case; a buffer that
// grew large is let go.
class FileInMemory {
 public:
  FileInMemory() {
    Buffer& shared = ThreadBuffer();
    m_buffer = shared.inUse ? &m_own : &shared;  // a second one at a time gets its own
    m_buffer->inUse = true;
  }
  ~FileInMemory() {
    m_buffer->inUse = false;
    if (m_buffer->capacity > kKeep) {
      m_buffer->bytes.reset();
      m_buffer->capacity = 0;
    }
  }
  FileInMemory(const FileInMemory&) = delete;
  FileInMemory& operator=(const FileInMemory&) = delete;

  // Reads the file at path; status, when given, receives its status as the open file
  // has it after the read (which may have moved its access time). False when the file
  // cannot be opened or is a folder. A failed read or close throws as CFile's do, and a
  // size beyond the memory there is as a failed allocation. A file that shrank
  // meanwhile reads short, which is no error.
  //
  // The first read fills what the buffer holds; the one stat after it gives both the
  // status and the size, so a file that fitted costs an open, a read, a stat and a
  // close. Only what the size counts is taken, as from a file whose size was known first.
  bool Load(const CString& path, CFileStatus* status) {
    m_size = 0;
    int err = 0;
    bool noLinks = false;
    OpenFile file{host::FileOpenToRead(path, &err, &noLinks)};
    if (file.fd < 0) return false;
    if (m_buffer->capacity == 0) Reserve(kFirst);
    std::int64_t n = host::FileReadUpTo(file.fd, m_buffer->bytes.get(), m_buffer->capacity, &err);
    if (n < 0) {
      if (err == EISDIR) return false;
      ThrowFileError(err, path);
    }
    m_size = std::size_t(n);
    host::FileStatInfo info;
    if (!host::FileStatFd(file.fd, info, &err)) ThrowFileError(err, path);
    const ULONGLONG length = ULONGLONG(std::max<std::int64_t>(info.size, 0));
    if (m_size > length) m_size = std::size_t(length);
    if (m_size < length) {
      // Past the buffer, or read short before the end: the rest after what is there.
      Reserve(length, m_size);
      while (m_size < length) {
        std::size_t chunk = std::size_t(std::min<ULONGLONG>(length - m_size, 1u << 30));
        n = host::FileRead(file.fd, m_buffer->bytes.get() + m_size, chunk, &err);
        if (n < 0) ThrowFileError(err, path);
        if (n == 0) break;
        m_size += std::size_t(n);
      }
      if (status && !host::FileStatFd(file.fd, info, &err)) ThrowFileError(err, path);
    }
    if (status) FillStatus(info, file.fd, path, noLinks, *status);
    const int fd = file.fd;
    file.fd = -1;
    if (!host::FileClose(fd, &err)) ThrowFileError(err, path);
    return true;
  }

  const BYTE* Data() const { return m_buffer->bytes.get(); }
  std::size_t Size() const { return m_size; }

 private:
  static constexpr std::size_t kKeep = std::size_t(16) << 20;
  static constexpr std::size_t kFirst = std::size_t(256) << 10;  // most traces fit
  struct Buffer {
    std::unique_ptr<BYTE[]> bytes;
    std::size_t capacity = 0;
    bool inUse = false;
  };
  // Closes a file left open when a read throws.
  struct OpenFile {
    int fd;
    ~OpenFile() {
      if (fd >= 0) host::FileClose(fd, nullptr);
    }
  };
  static Buffer& ThreadBuffer() {
    thread_local Buffer buffer;
    return buffer;
  }
  [[noreturn]] static void ThrowFileError(int err, const CString& path) {
    AfxThrowFileException(CFileException::OsErrorToException(err), err, path);
  }
  static void FillStatus(const host::FileStatInfo& info, int fd, const CString& path, bool noLinks,
                         CFileStatus& status) {
    status.m_ctime = CTime(info.ctime);
    status.m_mtime = CTime(info.mtime);
    status.m_atime = CTime(info.atime);
    status.m_size = info.size;
    status.m_attribute = BYTE((info.isDir ? CFile::directory : 0) | (info.readOnly ? CFile::readOnly : 0));
    if (!(noLinks && host::FullPathWithoutLinks(path, status.m_szFullName, sizeof status.m_szFullName)) &&
        !host::FullPathOfOpenFile(fd, path, status.m_szFullName, sizeof status.m_szFullName))
      status.m_szFullName[0] = '\0';
  }
  // Makes room for length bytes, keeping the first keep bytes there are.
  void Reserve(ULONGLONG length, std::size_t keep = 0) {
    if (length <= m_buffer->capacity) return;
    std::unique_ptr<BYTE[]> bigger;
    if (keep == 0) {  // nothing to keep: let the old one go first
      m_buffer->bytes.reset();
      m_buffer->capacity = 0;
    }
    try {
      if (length > std::numeric_limits<std::size_t>::max()) throw std::bad_alloc();
      bigger.reset(new BYTE[std::size_t(length)]);
    } catch (const std::bad_alloc&) {
      m_buffer->bytes.reset();
      m_buffer->capacity = 0;
      AfxThrowMemoryException();
    }
    if (keep) std::memcpy(bigger.get(), m_buffer->bytes.get(), keep);
    m_buffer->bytes = std::move(bigger);
    m_buffer->capacity = std::size_t(length);
  }

  Buffer* m_buffer;
  Buffer m_own;
  std::size_t m_size = 0;
};

// Fills out with what serialize(out) makes; on failure out is emptied and the result
// is FALSE.
template <class FormatException, class Serialize>
BOOL SerializeToMemory(std::vector<BYTE>& out, Serialize&& serialize) {
  BOOL ok = Guarded<FormatException>([&] {
    serialize(out);
    return TRUE;
  });
  if (!ok) out.clear();
  return ok;
}

// Writes what serialize(bytes) makes to a new file at path, in the frame of WithFile.
// The bytes are made first, so nothing is created when that fails.
template <class FormatException, class Serialize>
BOOL SerializeToFile(const CString& path, CFileStatus& status, BOOL& statusValid, Serialize&& serialize) {
  return WithFile<FormatException>(status, statusValid, [&](CFile& file) {
    std::vector<BYTE> bytes;
    serialize(bytes);
    if (!file.Open(path, CFile::modeCreate | CFile::modeWrite | CFile::typeBinary)) return FALSE;
    WriteAllBytes(file, bytes.data(), bytes.size());
    return TRUE;
  });
}

}  // namespace tracefile
}  // namespace zev
