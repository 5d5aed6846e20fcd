// COutputObject: one text interface for paper, export and import. Every operation
// with a print and an export form branches on m_eOutputType (below 1 is paper).
#include "zevutil/COutputObject.h"

#include <new>

#include "zevutil/platform/Host.h"
#include "zevutil/platform/Wnd.h"

namespace zev {

COutputObject::COutputObject() : m_pExportHandler(new (std::nothrow) CExportHandler) {}

COutputObject::~COutputObject() { delete m_pExportHandler; }

int COutputObject::EnsureExportHandler() {
  if (!m_pExportHandler) m_pExportHandler = new (std::nothrow) CExportHandler;
  return m_pExportHandler ? 1 : 0;
}

// ---- operations with a print and an export form ----

void COutputObject::SignalStopOutput() {
  if (COutputInfo* info = GetOutputInfoPtr()) info->m_bStopOutput = 1;
}

COutputInfo* COutputObject::GetOutputInfoPtr() {
  if (!IsExporting()) return CPrintObject::GetOutputInfoPtr();
  return m_pExportHandler ? m_pExportHandler->GetOutputInfo() : nullptr;
}

void COutputObject::SetIndent(int lp) { if (!IsExporting()) CPrintObject::SetIndent(lp); }
void COutputObject::SetIndent(double inches) { if (!IsExporting()) CPrintObject::SetIndent(inches); }
void COutputObject::SetIndent(const char* text) { if (!IsExporting()) CPrintObject::SetIndent(text); }
void COutputObject::SetLeftMargin(int lp) { if (!IsExporting()) CPrintObject::SetLeftMargin(lp); }
void COutputObject::SetLeftMargin(double inches) { if (!IsExporting()) CPrintObject::SetLeftMargin(inches); }
void COutputObject::SetRightMargin(int lp) { if (!IsExporting()) CPrintObject::SetRightMargin(lp); }
void COutputObject::SetRightMargin(double inches) { if (!IsExporting()) CPrintObject::SetRightMargin(inches); }
void COutputObject::SetDefaultTab(double inches) { if (!IsExporting()) CPrintObject::SetDefaultTab(inches); }
void COutputObject::SetTabStops(const double* inches, int count) {
  if (!IsExporting()) CPrintObject::SetTabStops(inches, count);
}

int COutputObject::OutputTextString(CString& s) {
  if (!IsExporting()) return m_pPrintHandler ? PrintTextBlock(s) : 1;
  return m_pExportHandler ? m_pExportHandler->OutputTextString(s) : 1;
}

// ---- file naming ----
// The naming operations themselves are in ExportNaming.cpp.

int COutputObject::GetTransferFileInfo(CString& path, int& type, FileType* types, int count, int bOpen,
                                       const char* defaultName) {
  return GetTransferFileInfoImp(path, type, types, count, bOpen, defaultName);
}

// ---- export ----

int COutputObject::ExportObject(EEXPORT_TYPE t, const char* path, const CObjectOutputDef& def) {
  int ok = StartExportObject(t, path, def);
  if (ok) ok = DoObjectExport();
  if (!EndExportObject()) ok = 0;
  return ok;
}

int COutputObject::ExportEmbeddedObject(const CObjectOutputDef& def, COutputInfo* info) {
  int ok = StartExportEmbeddedObject(def, info);
  if (ok) ok = DoObjectExport();
  if (!EndExportEmbeddedObject()) ok = 0;
  return ok;
}

int COutputObject::StartExportObject(EEXPORT_TYPE t, const char* path, const CObjectOutputDef& def) {
  if (t < EXPORT_TEXT || !path) return 0;
  if (!EnsureExportHandler()) return 0;
  m_eOutputType = t;
  m_bEmbedded = 0;
  m_strTransferFile = path;
  StickOnAppropriateExtension();
  delete m_pObjectDef;
  m_pObjectDef = def.CreateClone();
  if (!m_pExportHandler->StartExportDocument(t, m_strTransferFile)) {
    ShowExportFailure();
    return 0;
  }
  int bNewPageFirst = 0;
  OnStartOutput(m_pExportHandler->GetOutputInfo(), bNewPageFirst);
  m_bNewPageFirst = bNewPageFirst;
  return 1;
}

void COutputObject::ShowExportFailure() {
  const CString& text = m_pExportHandler->GetLastErrorMsg();
  // An object hosted by a window tells the user; a windowless one traces the text.
  if (m_pParentWnd)
    MessageBoxA(m_pParentWnd->GetSafeHwnd(), text, nullptr, MB_OK | MB_ICONSTOP);
  else
    TraceOut("%s\n", text.GetString());
}

int COutputObject::StartExportEmbeddedObject(const CObjectOutputDef& def, COutputInfo* info) {
  if (!info || info->m_eOutputType < EXPORT_TEXT) return 0;
  if (!EnsureExportHandler()) return 0;
  m_eOutputType = info->m_eOutputType;
  m_bEmbedded = 1;
  delete m_pObjectDef;
  m_pObjectDef = def.CreateClone();
  m_pExportHandler->StartExportOutput(info);
  int bNewPageFirst = 0;
  OnStartOutput(info, bNewPageFirst);
  m_bNewPageFirst = bNewPageFirst;
  return 1;
}

int COutputObject::DoObjectExport() {
  COutputInfo* info = GetOutputInfoPtr();
  if (!info) return 0;  // no job: nothing to ask the object for
  int more = 1, ok = 1, hadMore = 0;
  while (more && ok) {
    // Text left over from an earlier, interrupted output continues under three blanks.
    if (!m_strText.IsEmpty())
      m_strText = "   " + m_strText;
    else
      hadMore = GetTextOutput(info, m_strText);
    // An empty string is no line at all.
    if (!m_strText.IsEmpty()) ok = OutputTextString(m_strText);
    if (m_strText.IsEmpty()) {
      more = hadMore;
      ++info->m_nStringIndex;
    }
    // kept: the end test decides alone; a 0 from GetTextOutput does not end the loop,
    // objects end it with SignalStopOutput or their number of strings.
    if (ok) more = !IsOutputEnded(info);
  }
  return ok;
}

int COutputObject::EndExportEmbeddedObject() {
  return m_pExportHandler ? m_pExportHandler->EndExportOutput() : 0;
}

int COutputObject::EndExportObject() {
  return m_pExportHandler ? m_pExportHandler->EndExportDocument(0) : 0;
}

// ---- import ----

int COutputObject::ImportObject(EIMPORT_TYPE t, const char* path) {
  int ok = StartImportObject(t, path);
  if (ok) ok = DoObjectImport();
  if (!EndImportObject()) ok = 0;
  return ok;
}

int COutputObject::StartImportObject(EIMPORT_TYPE t, const char* path) {
  if (t < 0 || !path) return 0;
  m_eImportType = t;
  m_strTransferFile = path;
  return 1;
}

}  // namespace zev
