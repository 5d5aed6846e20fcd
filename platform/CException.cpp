// CObject's run-time record and the exception family.
#include "zevutil/platform/CException.h"

#include <cstring>

namespace zev {

const CRuntimeClass CObject::classCObject = {"CObject", int(sizeof(CObject)), 0xFFFF, nullptr, nullptr};
const CRuntimeClass* CObject::GetRuntimeClass() const { return &classCObject; }
void CObject::Serialize(CArchive&) {}

IMPLEMENT_DYNAMIC(CException, CObject)
IMPLEMENT_DYNAMIC(CSimpleException, CException)
IMPLEMENT_DYNAMIC(CMemoryException, CSimpleException)
IMPLEMENT_DYNAMIC(CNotSupportedException, CSimpleException)
IMPLEMENT_DYNAMIC(CInvalidArgException, CSimpleException)
IMPLEMENT_DYNAMIC(CUserException, CSimpleException)
IMPLEMENT_DYNAMIC(CFileException, CException)
IMPLEMENT_DYNAMIC(CArchiveException, CException)

namespace {
BOOL CopyMessage(const char* text, char* error, UINT maxLen) {
  if (!error || maxLen == 0) return FALSE;
  std::strncpy(error, text, maxLen - 1);
  error[maxLen - 1] = '\0';
  return TRUE;
}
}  // namespace

BOOL CException::GetErrorMessage(char* error, UINT maxLen, UINT* helpContext) const {
  if (helpContext) *helpContext = 0;
  if (error && maxLen) *error = '\0';
  return FALSE;
}

CString CException::GetMessageText() const {
  char buf[512];
  if (!GetErrorMessage(buf, sizeof buf)) return CString();
  return CString(buf);
}

void CException::Delete() {
  if (m_bAutoDelete > 0) delete this;
}

BOOL CMemoryException::GetErrorMessage(char* error, UINT maxLen, UINT* helpContext) const {
  if (helpContext) *helpContext = 0;
  return CopyMessage("Out of memory.", error, maxLen);
}

BOOL CNotSupportedException::GetErrorMessage(char* error, UINT maxLen, UINT* helpContext) const {
  if (helpContext) *helpContext = 0;
  return CopyMessage("An unsupported operation was attempted.", error, maxLen);
}

BOOL CInvalidArgException::GetErrorMessage(char* error, UINT maxLen, UINT* helpContext) const {
  if (helpContext) *helpContext = 0;
  return CopyMessage("Encountered an improper argument.", error, maxLen);
}

int CFileException::OsErrorToException(LONG osError) {
  switch (osError) {
    case 0: return none;
    case 2: return fileNotFound;      // ENOENT
    case 13: case 1: return accessDenied;  // EACCES, EPERM
    case 20: return badPath;          // ENOTDIR
    case 24: case 23: return tooManyOpenFiles;
    case 21: return invalidFile;      // EISDIR
    case 28: return diskFull;         // ENOSPC
    case 29: return badSeek;          // ESPIPE
    case 5: return hardIO;            // EIO
    case 16: case 26: return sharingViolation;
    default: return genericException;
  }
}

BOOL CFileException::GetErrorMessage(char* error, UINT maxLen, UINT* helpContext) const {
  static const char* const kText[] = {
      "No error occurred.", "An unspecified error occurred while accessing %s.",
      "%s was not found.", "%s contains an invalid path.",
      "%s could not be opened because there are too many open files.", "Access to %s was denied.",
      "An invalid file handle was associated with %s.",
      "%s could not be removed because it is the current directory.",
      "%s could not be created because the directory is full.", "Seek failed on %s",
      "A hardware I/O error was reported while accessing %s.",
      "A sharing violation occurred while accessing %s.", "A locking violation occurred while accessing %s.",
      "Disk full while accessing %s.", "An attempt was made to access %s past its end."};
  if (helpContext) *helpContext = 0;
  int c = (m_cause >= 0 && m_cause <= endOfFile) ? m_cause : genericException;
  const char* name = m_strFileName.IsEmpty() ? "an unnamed file" : m_strFileName.GetString();
  CString text;
  text.Format(kText[c], name);
  return CopyMessage(text, error, maxLen);
}

BOOL CArchiveException::GetErrorMessage(char* error, UINT maxLen, UINT* helpContext) const {
  static const char* const kText[] = {
      "No error occurred.", "An unexpected error occurred while reading %s.",
      "An attempt was made to write to %s while it was open for reading.",
      "An attempt was made to access %s past its end.",
      "An attempt was made to read from %s while it was open for writing.",
      "%s has a bad format.", "%s contained an unexpected object.", "%s contains an incorrect schema."};
  if (helpContext) *helpContext = 0;
  int c = (m_cause >= 0 && m_cause <= badSchema) ? m_cause : genericException;
  const char* name = m_strFileName.IsEmpty() ? "an unnamed file" : m_strFileName.GetString();
  CString text;
  text.Format(kText[c], name);
  return CopyMessage(text, error, maxLen);
}

void AfxThrowMemoryException() { throw new CMemoryException(); }
void AfxThrowNotSupportedException() { throw new CNotSupportedException(); }
void AfxThrowInvalidArgException() { throw new CInvalidArgException(); }
void AfxThrowUserException() { throw new CUserException(); }
void AfxThrowFileException(int cause, LONG osError, const char* fileName) {
  throw new CFileException(cause, osError, fileName);
}
void AfxThrowArchiveException(int cause, const char* fileName) { throw new CArchiveException(cause, fileName); }

}  // namespace zev
