// CExportHandler: the text side of an export job. It owns the job's info (or borrows
// another job's for an embedded export), opens the file of a text type, writes lines
// through the archive and keeps the failure of the last job after its info is gone.
#include <new>

#include "zevutil/COutputObject.h"
#include "zevutil/platform/CArchive.h"

namespace zev {

namespace {
// Types whose files the concrete objects write themselves: no file is opened for them.
bool IsBinaryExport(EEXPORT_TYPE t) {
  switch (t) {
    case EXPORT_SCF2:
    case EXPORT_SCF3:
    case EXPORT_ZEV:
    case EXPORT_PHRED:
    case EXPORT_ESD:
    case EXPORT_ABI:
    case EXPORT_CRV:
      return true;
    default:
      return false;
  }
}
}  // namespace

CExportHandler::CExportHandler() : m_pLock(std::make_unique<CCriticalSection>()) {}

CExportHandler::~CExportHandler() { DeleteOutputInfo(); }

void CExportHandler::SetDefaultValues() {
  if (m_pOutputInfo) m_pOutputInfo->SetDefaultValues();
  m_strLastError.Empty();
  m_bLastFailed = 0;
  m_strLastFile.Empty();
}

void CExportHandler::DeleteOutputInfo() {
  CSingleLock lock(m_pLock.get(), TRUE);
  if (m_pOutputInfo && m_bOwnsInfo) {
    m_bLastFailed = m_pOutputInfo->m_bFailed;
    m_strLastError = m_pOutputInfo->m_szErrorMsg;
    delete m_pOutputInfo;
  }
  m_pOutputInfo = nullptr;
  m_bOwnsInfo = 0;
}

int CExportHandler::StartExportDocument(EEXPORT_TYPE t, const char* path) {
  if (t < EXPORT_TEXT || !path) return 0;
  COutputInfo* info = nullptr;
  {
    CSingleLock lock(m_pLock.get(), TRUE);
    DeleteOutputInfo();
    m_pOutputInfo = new (std::nothrow) COutputInfo(t);
    m_bOwnsInfo = m_pOutputInfo ? 1 : 0;
    info = m_pOutputInfo;
    if (info) info->m_bStopOutput = 0;
  }
  if (!info) return 0;
  if (IsBinaryExport(t)) return 1;

  CFileException error;
  if (!info->m_pFile || !info->m_pFile->Open(path, CFile::modeCreate | CFile::modeWrite, &error)) {
    info->SetErrorMsg(&error, 1);
    info->DeleteArchiveFile(1);
    DeleteOutputInfo();
    return 0;
  }
  info->CreateArchive();
  if (!info->m_pArchive) {
    DeleteOutputInfo();
    return 0;
  }
  return 1;
}

int CExportHandler::StartExportOutput(COutputInfo* info) {
  CSingleLock lock(m_pLock.get(), TRUE);
  DeleteOutputInfo();
  m_pOutputInfo = info;
  m_bOwnsInfo = 0;
  if (info) {
    info->m_bStopOutput = 0;
    info->m_nStringIndex = 0;
    info->m_bHeaderEnabled = 1;
    info->m_bFooterEnabled = 1;
  }
  return info ? 1 : 0;
}

int CExportHandler::EndExportOutput() {
  if (!m_pOutputInfo) return 0;
  m_pOutputInfo->m_bStopOutput = 0;
  // A borrowed info is the outer job's, which may be gone before this handler is used
  // again: it is forgotten here rather than left dangling.
  if (!m_bOwnsInfo) {
    CSingleLock lock(m_pLock.get(), TRUE);
    m_pOutputInfo = nullptr;
  }
  return 1;
}

int CExportHandler::EndExportDocument(int) {
  // Only a text job has a file of ours to close; a binary job's info stays.
  COutputInfo* info = m_pOutputInfo;
  if (info && info->m_pFile && info->m_pFile->IsOpen()) {
    info->DeleteArchiveFile(0);
    DeleteOutputInfo();
  }
  return 1;
}

int CExportHandler::OutputTextString(CString& s) {
  COutputInfo* info = m_pOutputInfo;
  if (!info || !info->m_pArchive) return 0;
  // A write error comes back as the archive's exception, to the caller.
  info->m_pArchive->Write(s.GetString(), UINT(s.GetLength()));
  info->m_pArchive->Write("\r\n", 2);
  s.Empty();
  return 1;
}

int CExportHandler::OutputHeading(unsigned, const char* title, const char* text) {
  CString line(title);
  const bool text_export = m_pOutputInfo && m_pOutputInfo->m_eOutputType == EXPORT_TEXT;
  line += text_export ? "\t" : ": ";
  line += text;
  return OutputTextString(line);
}

}  // namespace zev
