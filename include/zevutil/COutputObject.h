// COutputObject: what a domain object derives from to be printed, exported and
// imported through one text interface (GetTextOutput). m_eOutputType decides the
// road: below 1 the print object's pages, 1 or more a file through CExportHandler.
// CExportHandler carries out the text side of an export: the job's info, its file and
// archive, and the failure text that outlives the job.
#pragma once
#include <cstdint>
#include <functional>
#include <memory>

#include "zevutil/CPrintObject.h"
#include "zevutil/platform/Sync.h"

namespace zev {

// One filter entry of the export and import file choices: the name shown, the
// extension (without a dot, as the filter "*.ext" and a save name take it) and the type.
struct FileType {
  char m_szName[_MAX_PATH] = {};
  char m_szExtension[_MAX_PATH] = {};
  EEXPORT_TYPE m_eType = EXPORT_NONE;
};

// The plain open or save choice that GetTransferFileInfoImp shows: what it asks for, and
// what the user answered. The window layer installs the dialog that shows it
// (COutputObject::SetTransferFileDialog).
struct TransferFileDialogState {
  static constexpr DWORD kOverwritePrompt = 0x2;  // save: ask before replacing a file
  static constexpr DWORD kHideReadOnly = 0x4;     // no "open read-only" check box
  static constexpr DWORD kFileMustExist = 0x1000; // open: only an existing file is accepted
  int bOpen = 0;
  DWORD flags = 0;
  CString title;    // "Import" or "Export"
  CString filter;   // "Name (*.ext)|*.ext|" per entry and a closing "|"
  CString fileName; // in: the proposed name; out: the chosen path
  int filterIndex = 1;  // in: the filter shown first; out: the chosen one, counted from 1
};
// Shows the choice and returns the button pressed (IDOK or IDCANCEL).
using TransferFileDialog = std::function<int(TransferFileDialogState&)>;

// What a running import reads. The library only stores it; the concrete objects give
// the values.
enum EIMPORT_TYPE : std::int32_t { IMPORT_NONE = -1 };
static_assert(sizeof(EIMPORT_TYPE) == 4, "stored and passed as a 32-bit value");

class CExportHandler {
 public:
  CExportHandler();
  ~CExportHandler();
  CExportHandler(const CExportHandler&) = delete;
  CExportHandler& operator=(const CExportHandler&) = delete;

  // Resets the info if there is one; empties the last failure and the last file.
  void SetDefaultValues();

  // A new owned info of type t. Text types open path for writing and put an archive
  // on it; binary types open nothing (their objects write the file themselves).
  // False for a type below 1, a null path or a file that can't be created (the text
  // then stands in GetLastErrorMsg).
  int StartExportDocument(EEXPORT_TYPE t, const char* path);
  // Adopts another job's info without owning it: an embedded export.
  int StartExportOutput(COutputInfo* info);
  // False without an info; else clears the stop flag and forgets a borrowed info.
  int EndExportOutput();
  // Closes the text file of the job and releases its info; always 1. A binary job keeps
  // its info until the next job or the handler's end.
  int EndExportDocument(int bAbort);
  // Writes s and CR LF through the archive and empties s. 0 without an info or archive.
  int OutputTextString(CString& s);
  // One line: title, a tab for text export and ": " for any other type, then text.
  int OutputHeading(unsigned level, const char* title, const char* text);
  // Releases an owned info, keeping its failure flag and text; forgets the pointer.
  void DeleteOutputInfo();

  COutputInfo* GetOutputInfo() const { return m_pOutputInfo; }
  LONG GetLastFailed() const { return m_bLastFailed; }
  const CString& GetLastErrorMsg() const { return m_strLastError; }

  COutputInfo* m_pOutputInfo = nullptr;
  LONG m_bLastFailed = 0;
  CString m_strLastError;
  LONG m_bOwnsInfo = 0;
  CString m_strLastFile;
  std::unique_ptr<CCriticalSection> m_pLock;
};

class COutputObject : public CPrintObject {
 public:
  COutputObject();
  ~COutputObject() override;

  void SignalStopOutput() override;
  // The layout setters mean something on paper only: an export ignores them.
  void SetIndent(int lp) override;
  void SetIndent(double inches) override;
  void SetIndent(const char* text) override;
  void SetLeftMargin(int lp) override;
  void SetLeftMargin(double inches) override;
  void SetRightMargin(int lp) override;
  void SetRightMargin(double inches) override;
  void SetDefaultTab(double inches) override;
  void SetTabStops(const double* inches, int count) override;
  // Printing: the print handler's info. Exporting: the export handler's, or null.
  COutputInfo* GetOutputInfoPtr() override;

  // The user's choice of a file to export to or import from: GetTransferFileInfoImp.
  virtual int GetTransferFileInfo(CString& path, int& type, FileType* types, int count, int bOpen,
                                  const char* defaultName);
  // The formats an object writes itself; 0 here.
  virtual int GenericExport(EEXPORT_TYPE, const char*, int) { return 0; }
  // A whole export job into the file path: start, loop, end. 1 for success.
  virtual int ExportObject(EEXPORT_TYPE t, const char* path, const CObjectOutputDef& def);
  // An export into the open job of another object.
  virtual int ExportEmbeddedObject(const CObjectOutputDef& def, COutputInfo* info);
  virtual void AbortExport() {}
  // Completes m_strTransferFile with the dotted extension of m_eOutputType, unless the
  // name already ends in it (in any case) or the type has no extension.
  virtual void StickOnAppropriateExtension();
  virtual int ImportObject(EIMPORT_TYPE t, const char* path);
  virtual void AbortImport() {}

  // ---- export file naming (stateless) ----
  // The extension of a type: the profile's value in section "EXPORT" or the default,
  // empty for a type without one. bWithDot puts a "." before a non-empty extension.
  static CString GetExportExtension(EEXPORT_TYPE t, int bWithDot);
  // The application profile's text for key in section "EXPORT"; defaultExt when it is
  // missing or holds any of \ / : * ? " < > |. A stored empty text stays empty.
  static CString GetUserSuppliedExportExtension(const char* key, const char* defaultExt);
  // Replaces each of \ / : * ? " < > | by '_'. At most _MAX_PATH - 1 characters are kept.
  static void UnIllegalifyTheFilename(CString& name);
  // The first of path, stem_1ext, stem_2ext, ... that names no existing file, the stem
  // being path without a trailing ext (in any case).
  static void NameClashResolve(CString& path, const char* ext);
  // The same with the dotted extension of t.
  static void NameClashResolve(CString& path, EEXPORT_TYPE t);
  // One number free for the four dye files stem[_n]_Dd.ext and the trace-order file
  // stem[_n]__CRV_TRACE_ORDER.txt: path becomes stem_n.ext, or stays without a clash.
  static void NameClashResolveCRV(CString& path, const char* ext);
  // Asks before a CRV export overwrites files (stem_Dd.ext, stem_CRV_TRACE_ORDER.txt).
  // Nonzero when the user declined; 0 when nothing is overwritten or OK was pressed.
  static int CheckExistFileNameCRV(CString& path, const char* ext);
  // An open (bOpen) or save choice among count filter entries, proposing defaultName
  // cleaned. 1 with path and type set when the user confirmed a filter; else 0. A save
  // path gets the entry's extension appended as it stands (no dot is added).
  static int GetTransferFileInfoImp(CString& path, int& type, FileType* types, int count, int bOpen,
                                    const char* defaultName);
  // Installs the dialog GetTransferFileInfoImp shows; an empty one (the start state)
  // answers every choice with IDCANCEL. Returns the previous one.
  static TransferFileDialog SetTransferFileDialog(TransferFileDialog dialog);

  CExportHandler* GetExportHandler() const { return m_pExportHandler; }
  const CString& GetTransferFile() const { return m_strTransferFile; }

 protected:
  virtual int StartExportObject(EEXPORT_TYPE t, const char* path, const CObjectOutputDef& def);
  virtual int StartExportEmbeddedObject(const CObjectOutputDef& def, COutputInfo* info);
  virtual int DoObjectExport();
  virtual int EndExportEmbeddedObject();
  virtual int EndExportObject();
  // One string to the current output: printed as a block, or written as a line.
  virtual int OutputTextString(CString& s);
  virtual int StartImportObject(EIMPORT_TYPE t, const char* path);
  virtual int DoObjectImport() { return 1; }
  virtual int EndImportObject() { return 1; }

  int IsExporting() const { return m_eOutputType >= EXPORT_TEXT ? 1 : 0; }

 public:
  EIMPORT_TYPE m_eImportType = IMPORT_NONE;
  CString m_strTransferFile;
  CExportHandler* m_pExportHandler = nullptr;

 private:
  int EnsureExportHandler();
  void ShowExportFailure();
};

}  // namespace zev
