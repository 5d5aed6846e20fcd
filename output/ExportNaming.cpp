// Export file naming: the extension of each export type (which an installation may
// change in section "EXPORT" of the application profile), the cleaning of names, the
// numbering that avoids a clash with an existing file, the naming of a CRV export (five
// files under one number) and the plain open or save choice.
//
// These are statics of COutputObject and live beside it: StartExportObject completes
// its file name with them, and the output library may not call into the export one
// (whose dialogs use them too).
#include <cstring>
#include <mutex>
#include <utility>

#include "zevutil/COutputObject.h"
#include "zevutil/platform/CFile.h"
#include "zevutil/platform/Host.h"
#include "zevutil/platform/Profile.h"

namespace zev {

namespace {

constexpr const char kExportSection[] = "EXPORT";
// Characters a file name may not hold on the old platform.
constexpr const char kIllegalNameChars[] = "\\/:*?\"<>|";
constexpr const char kTraceOrderName[] = "_CRV_TRACE_ORDER.txt";

// An exact test for one name: no wildcard matching, a folder counts as taken.
bool NameExists(const CString& name) {
  CFileStatus status;
  return CFile::GetStatus(name, status) != FALSE;
}

bool EndsWithNoCase(const CString& text, const CString& tail) {
  if (tail.IsEmpty() || tail.GetLength() > text.GetLength()) return false;
  return text.Right(tail.GetLength()).CompareNoCase(tail) == 0;
}

// path without a trailing ext (any case); the whole path when it does not carry ext.
CString StemOf(const CString& path, const char* ext) {
  CString e(ext);
  if (EndsWithNoCase(path, e)) return path.Left(path.GetLength() - e.GetLength());
  return path;
}

std::mutex& DialogLock() {
  static std::mutex* m = new std::mutex;
  return *m;
}
TransferFileDialog& Dialog() {
  static TransferFileDialog* d = new TransferFileDialog;
  return *d;
}

}  // namespace

CString COutputObject::GetUserSuppliedExportExtension(const char* key, const char* defaultExt) {
  CString fallback(defaultExt);
  if (!key) return fallback;
  CString value = GetProfileString(kExportSection, key, fallback);
  // A value that would make a path of its own (or an illegal name) is not taken.
  if (value.FindOneOf(kIllegalNameChars) >= 0) return fallback;
  return value;
}

CString COutputObject::GetExportExtension(EEXPORT_TYPE t, int bWithDot) {
  CString ext;
  switch (t) {
    case EXPORT_TEXT: ext = GetUserSuppliedExportExtension("TXT_EXT", "txt"); break;
    case EXPORT_SEQ: ext = GetUserSuppliedExportExtension("SEQ_EXT", "seq"); break;
    case EXPORT_FASTA: ext = GetUserSuppliedExportExtension("FASTA_EXT", "fasta"); break;
    case EXPORT_SCF2:
    case EXPORT_SCF3: ext = GetUserSuppliedExportExtension("SCF_EXT", "scf"); break;
    case EXPORT_ORI: ext = "ori"; break;
    case EXPORT_PHRED: ext = GetUserSuppliedExportExtension("PHD_EXT", "scf.phd.1"); break;
    case EXPORT_ESD: ext = GetUserSuppliedExportExtension("ESD_EXT", "esd"); break;
    case EXPORT_ABI: ext = GetUserSuppliedExportExtension("ABI_EXT", "abi"); break;
    case EXPORT_CRV: ext = GetUserSuppliedExportExtension("CRV_EXT", "CRV"); break;
    default: break;  // the ZEV format and every other type: no extension
  }
  if (bWithDot && !ext.IsEmpty()) ext = "." + ext;
  return ext;
}

void COutputObject::StickOnAppropriateExtension() {
  CString ext = GetExportExtension(m_eOutputType, TRUE);
  if (ext.IsEmpty()) return;
  if (EndsWithNoCase(m_strTransferFile, ext)) return;
  m_strTransferFile += ext;
}

void COutputObject::UnIllegalifyTheFilename(CString& name) {
  // The name is cleaned in a path-sized copy: a longer text is cut to what fits
  // instead of running past the buffer.
  CString copy = name.GetLength() > _MAX_PATH - 1 ? name.Left(_MAX_PATH - 1) : name;
  for (const char* c = kIllegalNameChars; *c; ++c) copy.Replace(*c, '_');
  name = copy;
}

void COutputObject::NameClashResolve(CString& path, const char* ext) {
  if (!ext) ext = "";
  CString stem = StemOf(path, ext);
  CString candidate = path;
  for (int n = 1; NameExists(candidate); ++n) candidate.Format("%s_%d%s", stem.GetString(), n, ext);
  path = candidate;
}

void COutputObject::NameClashResolve(CString& path, EEXPORT_TYPE t) {
  NameClashResolve(path, GetExportExtension(t, TRUE));
}

void COutputObject::NameClashResolveCRV(CString& path, const char* ext) {
  if (!ext) ext = "";
  CString stem = StemOf(path, ext);
  const char* s = stem.GetString();
  int suffix = 0;
  CString name;
  // kept: the number only grows; dye files tested before it grew are not tested again.
  for (int d = 1; d <= 4; ++d) {
    if (suffix < 1)
      name.Format("%s_D%d%s", s, d, ext);
    else
      name.Format("%s_%d_D%d%s", s, suffix, d, ext);
    while (NameExists(name)) name.Format("%s_%d_D%d%s", s, ++suffix, d, ext);
  }
  // kept: two underscores before "CRV", one more than in the name the CRV writer uses.
  if (suffix < 1)
    name.Format("%s_%s", s, kTraceOrderName);
  else
    name.Format("%s_%d_%s", s, suffix, kTraceOrderName);
  while (NameExists(name)) name.Format("%s_%d_%s", s, ++suffix, kTraceOrderName);
  if (suffix > 0) path.Format("%s_%d%s", s, suffix, ext);
}

int COutputObject::CheckExistFileNameCRV(CString& path, const char* ext) {
  if (!ext) ext = "";
  CString stem = StemOf(path, ext);
  CString list, name;
  auto note = [&list](const CString& existing) {
    if (!list.IsEmpty()) list += ",\n";
    list += existing;
  };
  for (int d = 1; d <= 4; ++d) {
    name.Format("%s_D%d%s", stem.GetString(), d, ext);
    if (NameExists(name)) note(name);
  }
  name = stem + kTraceOrderName;
  if (NameExists(name)) note(name);
  if (list.IsEmpty()) return 0;
  CString text = "CRV export will overwrite the following existed file names:\n\n";
  text += list;
  text += "\n\n";
  text += "Click [OK] to overwrite files. Click [Cancel] to abort CRV export.\n";
  return MessageBoxA(nullptr, text, "CRV Export", MB_OKCANCEL) == IDOK ? 0 : 1;
}

TransferFileDialog COutputObject::SetTransferFileDialog(TransferFileDialog dialog) {
  std::lock_guard<std::mutex> guard(DialogLock());
  TransferFileDialog old = std::move(Dialog());
  Dialog() = std::move(dialog);
  return old;
}

int COutputObject::GetTransferFileInfoImp(CString& path, int& type, FileType* types, int count, int bOpen,
                                          const char* defaultName) {
  if (!types || count < 0) count = 0;
  TransferFileDialogState state;
  for (int i = 0; i < count; ++i) {
    // The fixed-size fields are read up to their size even without a NUL.
    CString name(types[i].m_szName, int(strnlen(types[i].m_szName, sizeof types[i].m_szName)));
    CString ext(types[i].m_szExtension, int(strnlen(types[i].m_szExtension, sizeof types[i].m_szExtension)));
    state.filter.AppendFormat("%s (*.%s)|*.%s|", name.GetString(), ext.GetString(), ext.GetString());
  }
  state.filter += "|";
  state.fileName = defaultName;
  UnIllegalifyTheFilename(state.fileName);
  state.bOpen = bOpen ? 1 : 0;
  state.flags = bOpen ? TransferFileDialogState::kFileMustExist | TransferFileDialogState::kHideReadOnly
                      : TransferFileDialogState::kOverwritePrompt | TransferFileDialogState::kHideReadOnly;
  state.title = bOpen ? "Import" : "Export";

  TransferFileDialog dialog;
  {
    std::lock_guard<std::mutex> guard(DialogLock());
    dialog = Dialog();
  }
  int answer = dialog ? dialog(state) : IDCANCEL;
  if (answer != IDOK || state.filterIndex < 1 || state.filterIndex > count) return 0;
  const FileType& chosen = types[state.filterIndex - 1];
  path = state.fileName;
  type = chosen.m_eType;
  if (!bOpen)
    path += CString(chosen.m_szExtension, int(strnlen(chosen.m_szExtension, sizeof chosen.m_szExtension)));
  return 1;
}

}  // namespace zev
