// File paths kept in four parts and as a whole (CxFilePath, CtFilePath), the record
// of a directory search (CxFileStatus), the list a name mask finds (CFileStatusList),
// and FileExists.
#pragma once
#include "zevutil/platform/CString.h"
#include "zevutil/platform/Collections.h"
#include "zevutil/platform/FileFind.h"

namespace zev {

// A path as drive, directory, base name and extension, and as the full path. Every
// setter joins the parts with _makepath and splits the result again with
// _splitpath (or the other way round), so both views agree and are normalised: a
// directory gets its trailing '\'. A plain block of characters, copied as such.
class CxFilePath {
 public:
  CxFilePath(const char* path = nullptr);  // NOLINT: implicit as it always was
  void Reset();

  const char* GetDrive() const { return m_szDrive; }
  const char* GetDir() const { return m_szDir; }
  const char* GetBasename() const { return m_szBasename; }
  const char* GetExt() const { return m_szExt; }
  const char* GetFullpath() const { return m_szFullpath; }
  operator const char*() const { return m_szFullpath; }  // NOLINT

  void SetDrive(const char* drive);        // at most 2 characters
  void SetDir(const char* dir);            // at most 255
  void SetBasename(const char* basename);  // at most 255
  void SetExt(const char* ext);            // at most 255
  void SetFullpath(const char* path);      // at most 259

 protected:
  void merge(int noSplit);
  void split(int noMerge);

  char m_szDrive[_MAX_DRIVE];
  char m_szDir[_MAX_DIR];
  char m_szBasename[_MAX_FNAME];
  char m_szExt[_MAX_EXT];
  char m_szFullpath[_MAX_PATH];
};

// CxFilePath with the full path first, and the replacement of characters that a
// file name may not hold.
class CtFilePath {
 public:
  CtFilePath(const char* path = nullptr);  // NOLINT
  void Reset();

  const char* GetDrive() const { return m_szDrive; }
  const char* GetDir() const { return m_szDir; }
  const char* GetBasename() const { return m_szBasename; }
  const char* GetExt() const { return m_szExt; }
  const char* GetFullpath() const { return m_szFullpath; }
  operator const char*() const { return m_szFullpath; }  // NOLINT

  void SetDrive(const char* drive);
  void SetDir(const char* dir);
  // With replaceIllegal, the name's illegal characters become '_'.
  void SetBasename(const char* basename, int replaceIllegal = 0);
  void SetExt(const char* ext);
  void SetFullpath(const char* path);
  // Replaces each of \ / : * ? " < > | in the base name by '_'.
  void ReplaceIllegalBasenameCharacters();

 protected:
  void merge(int noSplit);
  void split(int noMerge);

  char m_szFullpath[_MAX_PATH];
  char m_szDrive[_MAX_DRIVE];
  char m_szDir[_MAX_DIR];
  char m_szBasename[_MAX_FNAME];
  char m_szExt[_MAX_EXT];
};

// What a directory search reports about one file: exactly the platform's record.
class CxFileStatus : public WIN32_FIND_DATAA {
 public:
  CxFileStatus() : WIN32_FIND_DATAA{} {}
  const char* GetFilename() const { return cFileName; }
  const char* Get8_3filename() const { return cAlternateFileName; }
  // The file name up to its last '.', or all of it.
  CString GetBasename() const;
  // The name from one character before its last '.' on ("a.txt" gives "a.txt",
  // "file.txt" gives "e.txt"); empty without a '.'.
  CString GetExtension() const;
};
static_assert(sizeof(CxFileStatus) == sizeof(WIN32_FIND_DATAA), "exactly the platform's record");

// The files a name mask finds, as owned entries (the array grows by 10).
class CFileStatusList : public CArray<CxFileStatus*, CxFileStatus*> {
 public:
  // Stores both masks and searches when a mask is given.
  explicit CFileStatusList(const char* mask = nullptr, UINT attributes = 0);
  CFileStatusList(const CFileStatusList& other);
  CFileStatusList& operator=(const CFileStatusList& other);
  ~CFileStatusList() override;

  CFileStatusList& SetNameMask(const char* mask);
  CFileStatusList& SetAttrMask(UINT attributes);  // stored only; the search ignores it
  const CString& GetNameMask() const { return m_strNameMask; }
  UINT GetAttrMask() const { return m_nAttrMask; }
  // The mask "*.*" and the attribute mask 0.
  void SetDefaultValues();
  // Empties the list, then Append().
  int Refresh();
  // Searches with the name mask and keeps the files whose extension (from the last
  // '.') equals the mask's, ignoring case. Returns how many files the search found,
  // kept or not; 0 for an empty mask.
  int Append();

 protected:
  void DeleteEntries();

  CString m_strNameMask;
  UINT m_nAttrMask;
};

// Nonzero if a directory search for path finds anything: a file, a directory, or a
// match of a wildcard.
BOOL FileExists(const char* path);

}  // namespace zev
