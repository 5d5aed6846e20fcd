// CException and its kin. As in the framework they are thrown by pointer
// (throw new CFileException(...)) and the handler releases them with Delete().
#pragma once
#include "zevutil/platform/CObject.h"
#include "zevutil/platform/CString.h"

namespace zev {

class CException : public CObject {
  DECLARE_DYNAMIC(CException)
 public:
  // autoDelete: Delete() frees the object (true for exceptions made with new).
  explicit CException(BOOL autoDelete = TRUE) : m_bAutoDelete(autoDelete) {}
  ~CException() override = default;

  // Copies the message (at most maxLen - 1 characters and a NUL); false when there is none.
  virtual BOOL GetErrorMessage(char* error, UINT maxLen, UINT* helpContext = nullptr) const;
  // The message as text; empty when there is none.
  CString GetMessageText() const;
  // Frees the exception if it was made on the heap to be thrown.
  void Delete();

  BOOL m_bAutoDelete;
};

class CSimpleException : public CException {
  DECLARE_DYNAMIC(CSimpleException)
 public:
  using CException::CException;
};

class CMemoryException : public CSimpleException {
  DECLARE_DYNAMIC(CMemoryException)
 public:
  CMemoryException() = default;
  BOOL GetErrorMessage(char* error, UINT maxLen, UINT* helpContext = nullptr) const override;
};

class CNotSupportedException : public CSimpleException {
  DECLARE_DYNAMIC(CNotSupportedException)
 public:
  CNotSupportedException() = default;
  BOOL GetErrorMessage(char* error, UINT maxLen, UINT* helpContext = nullptr) const override;
};

class CInvalidArgException : public CSimpleException {
  DECLARE_DYNAMIC(CInvalidArgException)
 public:
  CInvalidArgException() = default;
  BOOL GetErrorMessage(char* error, UINT maxLen, UINT* helpContext = nullptr) const override;
};

class CUserException : public CSimpleException {
  DECLARE_DYNAMIC(CUserException)
 public:
  CUserException() = default;
};

class CFileException : public CException {
  DECLARE_DYNAMIC(CFileException)
 public:
  enum {
    none, genericException, fileNotFound, badPath, tooManyOpenFiles, accessDenied,
    invalidFile, removeCurrentDir, directoryFull, badSeek, hardIO, sharingViolation,
    lockViolation, diskFull, endOfFile
  };
  explicit CFileException(int cause = none, LONG osError = -1, const char* fileName = nullptr)
      : m_cause(cause), m_lOsError(osError), m_strFileName(fileName) {}
  BOOL GetErrorMessage(char* error, UINT maxLen, UINT* helpContext = nullptr) const override;
  // Maps a host errno value to a cause.
  static int OsErrorToException(LONG osError);

  int m_cause;
  LONG m_lOsError;
  CString m_strFileName;
};

class CArchiveException : public CException {
  DECLARE_DYNAMIC(CArchiveException)
 public:
  enum { none, genericException, readOnly, endOfFile, writeOnly, badIndex, badClass, badSchema };
  explicit CArchiveException(int cause = none, const char* fileName = nullptr)
      : m_cause(cause), m_strFileName(fileName) {}
  BOOL GetErrorMessage(char* error, UINT maxLen, UINT* helpContext = nullptr) const override;

  int m_cause;
  CString m_strFileName;
};

[[noreturn]] void AfxThrowMemoryException();
[[noreturn]] void AfxThrowNotSupportedException();
[[noreturn]] void AfxThrowInvalidArgException();
[[noreturn]] void AfxThrowUserException();
[[noreturn]] void AfxThrowFileException(int cause, LONG osError = -1, const char* fileName = nullptr);
[[noreturn]] void AfxThrowArchiveException(int cause, const char* fileName = nullptr);

// Deletes an exception caught by pointer (what the framework's END_CATCH does).
inline void DeleteException(CException* e) {
  if (e) e->Delete();
}

}  // namespace zev
