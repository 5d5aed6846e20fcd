// File paths in parts, directory search records and lists, FileExists.
#include "zevutil/CxFilePath.h"

#include <cstring>
#include <string>

namespace zev {

namespace {

// Copies at most max characters of src (null is "") into dst and terminates it.
template <size_t N>
void CopyLimited(char (&dst)[N], const char* src, size_t max) {
  static_assert(N > 0);
  if (max > N - 1) max = N - 1;
  size_t n = src ? strnlen(src, max) : 0;
  std::memmove(dst, src ? src : "", n);
  dst[n] = '\0';
}

constexpr const char* kIllegalNameChars = "\\/:*?\"<>|";

// Joins the parts into the full path and, unless noSplit, splits the join again
// into the parts. The full path keeps at most 259 characters, where the old join ran
// past its array; the parts come from the whole join, as they did then.
void JoinParts(char (&full)[_MAX_PATH], char (&drive)[_MAX_DRIVE], char (&dir)[_MAX_DIR],
               char (&base)[_MAX_FNAME], char (&ext)[_MAX_EXT], int noSplit) {
  std::string joined = MakePath(drive, dir, base, ext);
  CopyLimited(full, joined.c_str(), 259);
  if (!noSplit) _splitpath(joined.c_str(), drive, dir, base, ext);
}

}  // namespace

// ---- CxFilePath ----

CxFilePath::CxFilePath(const char* path) {
  Reset();
  SetFullpath(path);
}

void CxFilePath::Reset() {
  m_szDrive[0] = m_szDir[0] = m_szBasename[0] = m_szExt[0] = m_szFullpath[0] = '\0';
}

void CxFilePath::merge(int noSplit) {
  JoinParts(m_szFullpath, m_szDrive, m_szDir, m_szBasename, m_szExt, noSplit);
}

void CxFilePath::split(int noMerge) {
  _splitpath(m_szFullpath, m_szDrive, m_szDir, m_szBasename, m_szExt);
  if (!noMerge) merge(1);
}

void CxFilePath::SetDrive(const char* drive) {
  CopyLimited(m_szDrive, drive, 2);
  merge(0);
}

void CxFilePath::SetDir(const char* dir) {
  CopyLimited(m_szDir, dir, 255);
  merge(0);
}

void CxFilePath::SetBasename(const char* basename) {
  CopyLimited(m_szBasename, basename, 255);
  merge(0);
}

void CxFilePath::SetExt(const char* ext) {
  CopyLimited(m_szExt, ext, 255);
  merge(0);
}

void CxFilePath::SetFullpath(const char* path) {
  CopyLimited(m_szFullpath, path, 259);
  split(0);
}

// ---- CtFilePath ----

CtFilePath::CtFilePath(const char* path) {
  Reset();
  SetFullpath(path);
}

void CtFilePath::Reset() {
  m_szDrive[0] = m_szDir[0] = m_szBasename[0] = m_szExt[0] = m_szFullpath[0] = '\0';
}

void CtFilePath::merge(int noSplit) {
  JoinParts(m_szFullpath, m_szDrive, m_szDir, m_szBasename, m_szExt, noSplit);
}

void CtFilePath::split(int noMerge) {
  _splitpath(m_szFullpath, m_szDrive, m_szDir, m_szBasename, m_szExt);
  if (!noMerge) merge(1);
}

void CtFilePath::SetDrive(const char* drive) {
  CopyLimited(m_szDrive, drive, 2);
  merge(0);
}

void CtFilePath::SetDir(const char* dir) {
  CopyLimited(m_szDir, dir, 255);
  merge(0);
}

void CtFilePath::SetBasename(const char* basename, int replaceIllegal) {
  CopyLimited(m_szBasename, basename, 255);
  if (replaceIllegal) ReplaceIllegalBasenameCharacters();
  else merge(0);
}

void CtFilePath::SetExt(const char* ext) {
  CopyLimited(m_szExt, ext, 255);
  merge(0);
}

void CtFilePath::SetFullpath(const char* path) {
  CopyLimited(m_szFullpath, path, 259);
  split(0);
}

void CtFilePath::ReplaceIllegalBasenameCharacters() {
  for (char* p = m_szBasename; *p; ++p)
    if (std::strchr(kIllegalNameChars, *p)) *p = '_';
  merge(0);
}

// ---- CxFileStatus ----

CString CxFileStatus::GetBasename() const {
  CString name(cFileName, int(strnlen(cFileName, sizeof cFileName)));
  int dot = name.ReverseFind('.');
  return dot < 0 ? name : name.Left(dot);
}

CString CxFileStatus::GetExtension() const {
  CString name(cFileName, int(strnlen(cFileName, sizeof cFileName)));
  int dot = name.ReverseFind('.');
  if (dot < 0) return CString();
  // Kept: the text starts one character before the period, as callers expect. A
  // period at the very start has nothing before it in the name: the result is empty,
  // as the zero byte ahead of the name always gave.
  if (dot == 0) return CString();
  return name.Mid(dot - 1);
}

// ---- CFileStatusList ----

namespace {
// From the last '.' on, or the whole text when it has none.
CString ExtensionPart(const CString& text) {
  int dot = text.ReverseFind('.');
  return dot < 0 ? text : text.Mid(dot);
}
}  // namespace

CFileStatusList::CFileStatusList(const char* mask, UINT attributes)
    : m_strNameMask(mask), m_nAttrMask(attributes) {
  SetSize(0, 10);
  if (mask) Refresh();
}

CFileStatusList::CFileStatusList(const CFileStatusList& other)
    : CArray(), m_strNameMask(other.m_strNameMask), m_nAttrMask(other.m_nAttrMask) {
  *this = other;
}

CFileStatusList& CFileStatusList::operator=(const CFileStatusList& other) {
  if (this == &other) return *this;
  // The copy holds entries of its own: sharing them would free them twice.
  DeleteEntries();
  SetSize(0, 10);
  for (INT_PTR i = 0; i < other.GetSize(); ++i) Add(other[i] ? new CxFileStatus(*other[i]) : nullptr);
  m_strNameMask = other.m_strNameMask;
  m_nAttrMask = other.m_nAttrMask;
  return *this;
}

CFileStatusList::~CFileStatusList() { DeleteEntries(); }

void CFileStatusList::DeleteEntries() {
  for (INT_PTR i = 0; i < GetSize(); ++i) delete ElementAt(i);
  RemoveAll();
}

CFileStatusList& CFileStatusList::SetNameMask(const char* mask) {
  m_strNameMask = mask;
  return *this;
}

CFileStatusList& CFileStatusList::SetAttrMask(UINT attributes) {
  m_nAttrMask = attributes;
  return *this;
}

void CFileStatusList::SetDefaultValues() {
  m_strNameMask = "*.*";
  m_nAttrMask = 0;
}

int CFileStatusList::Refresh() {
  DeleteEntries();
  return Append();
}

int CFileStatusList::Append() {
  if (m_strNameMask.IsEmpty()) return 0;
  const CString maskExt = ExtensionPart(m_strNameMask);
  CxFileStatus* entry = new CxFileStatus;
  HANDLE search = FindFirstFileA(m_strNameMask, entry);
  if (search == INVALID_HANDLE_VALUE) {
    delete entry;
    return 0;
  }
  int count = 0;
  do {
    // Kept: the extension compares as literal text, so "*.*" keeps nothing; this
    // drops what the search let through by a short name (*.htm finding a.html).
    if (ExtensionPart(CString(entry->GetFilename())).CompareNoCase(maskExt) == 0) {
      Add(entry);
      entry = new CxFileStatus;
    }
    ++count;
  } while (FindNextFileA(search, entry));
  FindClose(search);
  delete entry;
  return count;
}

BOOL FileExists(const char* path) {
  WIN32_FIND_DATAA data;
  HANDLE search = FindFirstFileA(path, &data);
  if (search == INVALID_HANDLE_VALUE) return FALSE;
  FindClose(search);
  return TRUE;
}

}  // namespace zev
