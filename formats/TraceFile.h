// The frame that the trace-file readers and writers share: what their failures turn
// into, and how a named file is opened, read, written, closed and stat'ed.
#pragma once
#include <algorithm>
#include <memory>
#include <new>
#include <vector>

#include "formats/ByteCursor.h"
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
  // cannot be opened. A failed read or close throws as CFile's do, and a size beyond
  // the memory there is as a failed allocation. A file that shrank meanwhile reads
  // short, which is no error.
  bool Load(const CString& path, CFileStatus* status) {
    m_size = 0;
    CFile file;
    if (!file.Open(path, CFile::modeRead | CFile::typeBinary)) return false;
    const ULONGLONG length = file.GetLength();
    Reserve(length);
    while (m_size < length) {
      UINT chunk = UINT(std::min<ULONGLONG>(length - m_size, 1u << 30));
      UINT n = file.Read(m_buffer->bytes.get() + m_size, chunk);
      if (n == 0) break;
      m_size += n;
    }
    if (status) file.GetStatus(*status);
    file.Close();
    return true;
  }

  const BYTE* Data() const { return m_buffer->bytes.get(); }
  std::size_t Size() const { return m_size; }

 private:
  static constexpr std::size_t kKeep = std::size_t(16) << 20;
  struct Buffer {
    std::unique_ptr<BYTE[]> bytes;
    std::size_t capacity = 0;
    bool inUse = false;
  };
  static Buffer& ThreadBuffer() {
    thread_local Buffer buffer;
    return buffer;
  }
  void Reserve(ULONGLONG length) {
    if (length <= m_buffer->capacity) return;
    m_buffer->bytes.reset();
    m_buffer->capacity = 0;
    try {
      if (length > std::numeric_limits<std::size_t>::max()) throw std::bad_alloc();
      m_buffer->bytes.reset(new BYTE[std::size_t(length)]);
    } catch (const std::bad_alloc&) {
      AfxThrowMemoryException();
    }
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
