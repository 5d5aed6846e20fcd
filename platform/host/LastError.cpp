// The thread's last error, its system text, and the errno mapping.
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "zevutil/platform/Host.h"

namespace zev {

namespace {
thread_local DWORD t_lastError = 0;

struct ErrorText {
  DWORD code;
  const char* text;
};
// The system's en-US texts of the codes the library meets.
constexpr ErrorText kTexts[] = {
    {0, "The operation completed successfully."},
    {1, "Incorrect function."},
    {2, "The system cannot find the file specified."},
    {3, "The system cannot find the path specified."},
    {4, "The system cannot open the file."},
    {5, "Access is denied."},
    {6, "The handle is invalid."},
    {8, "Not enough memory resources are available to process this command."},
    {11, "An attempt was made to load a program with an incorrect format."},
    {13, "The data is invalid."},
    {14, "Not enough memory resources are available to complete this operation."},
    {15, "The system cannot find the drive specified."},
    {18, "There are no more files."},
    {21, "The device is not ready."},
    {29, "The system cannot write to the specified device."},
    {30, "The system cannot read from the specified device."},
    {31, "A device attached to the system is not functioning."},
    {32, "The process cannot access the file because it is being used by another process."},
    {33, "The process cannot access the file because another process has locked a portion of the file."},
    {38, "Reached the end of the file."},
    {39, "The disk is full."},
    {80, "The file exists."},
    {87, "The parameter is incorrect."},
    {112, "There is not enough space on the disk."},
    {122, "The data area passed to a system call is too small."},
    {123, "The filename, directory name, or volume label syntax is incorrect."},
    {161, "The specified path is invalid."},
    {183, "Cannot create a file when that file already exists."},
    {206, "The filename or extension is too long."},
    {234, "More data is available."},
    {259, "No more data is available."},
    {1009, "The configuration registry database is corrupt."},
    {1010, "The configuration registry key is invalid."},
    {1011, "The configuration registry key could not be opened."},
    {1012, "The configuration registry key could not be read."},
    {1013, "The configuration registry key could not be written."},
    {1015, "The registry is corrupted. The structure of one of the files containing registry data is corrupted, or the system's memory image of the file is corrupted, or the file could not be recovered because the alternate copy or log was absent or corrupted."},
};
}  // namespace

DWORD GetLastError() { return t_lastError; }
void SetLastError(DWORD code) { t_lastError = code; }

DWORD ErrnoToWin32(int err) {
  switch (err) {
    case 0: return ERROR_SUCCESS;
    case ENOENT: return ERROR_FILE_NOT_FOUND;
    case ENOTDIR: return ERROR_PATH_NOT_FOUND;
    case EACCES: case EPERM: case EROFS: return ERROR_ACCESS_DENIED;
    case EBADF: return ERROR_INVALID_HANDLE;
    case ENOMEM: return ERROR_NOT_ENOUGH_MEMORY;
    case EINVAL: return ERROR_INVALID_PARAMETER;
    case EEXIST: return ERROR_ALREADY_EXISTS;
    case ENOSPC: return 112;
    case ENAMETOOLONG: return 206;
    case EBUSY: case ETXTBSY: return ERROR_SHARING_VIOLATION;
    case EIO: return 31;
    default: return 1;
  }
}

std::string SystemErrorText(DWORD code) {
  for (const ErrorText& e : kTexts)
    if (e.code == code) return std::string(e.text) + "\r\n";
  return std::string();
}

DWORD FormatMessageA(DWORD flags, const void*, DWORD messageId, DWORD, char* buffer, DWORD size, va_list*) {
  if (!(flags & FORMAT_MESSAGE_FROM_SYSTEM) || !buffer) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  std::string text = SystemErrorText(messageId);
  if (text.empty()) {
    SetLastError(ERROR_MR_MID_NOT_FOUND);
    return 0;
  }
  if (flags & FORMAT_MESSAGE_ALLOCATE_BUFFER) {
    char* block = static_cast<char*>(std::malloc(text.size() + 1));
    if (!block) {
      SetLastError(ERROR_NOT_ENOUGH_MEMORY);
      return 0;
    }
    std::memcpy(block, text.c_str(), text.size() + 1);
    *reinterpret_cast<char**>(buffer) = block;
    return DWORD(text.size());
  }
  if (size <= text.size()) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return 0;
  }
  std::memcpy(buffer, text.c_str(), text.size() + 1);
  return DWORD(text.size());
}

void* LocalFree(void* mem) {
  std::free(mem);
  return nullptr;
}

}  // namespace zev
