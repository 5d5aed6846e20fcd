// COutputObject: what a domain object derives from to be printed, exported and
// imported through one text interface (GetTextOutput). m_eOutputType decides the
// road: below 1 the print object's pages, 1 or more a file through CExportHandler.
// CExportHandler carries out the text side of an export: the job's info, its file and
// archive, and the failure text that outlives the job.
#pragma once
#include <cstdint>
#include <memory>

#include "zevutil/CPrintObject.h"
#include "zevutil/platform/Sync.h"

namespace zev {

// One filter entry of the export and import file choices.
struct FileType;

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

  // The user's choice of a file to export to or import from. Until the file-naming
  // operations are in place no choice is made: 0, path and type untouched.
  virtual int GetTransferFileInfo(CString& path, int& type, FileType* types, int count, int bOpen,
                                  const char* defaultName);
  // The formats an object writes itself; 0 here.
  virtual int GenericExport(EEXPORT_TYPE, const char*, int) { return 0; }
  // A whole export job into the file path: start, loop, end. 1 for success.
  virtual int ExportObject(EEXPORT_TYPE t, const char* path, const CObjectOutputDef& def);
  // An export into the open job of another object.
  virtual int ExportEmbeddedObject(const CObjectOutputDef& def, COutputInfo* info);
  virtual void AbortExport() {}
  // Completes m_strTransferFile with the extension of the export type. Until the
  // file-naming operations are in place the name is used as given.
  virtual void StickOnAppropriateExtension();
  virtual int ImportObject(EIMPORT_TYPE t, const char* path);
  virtual void AbortImport() {}

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
