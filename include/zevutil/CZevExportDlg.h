// CZevExportDlg: the file dialog that exports a list of objects into a folder, or
// imports files. Which filters a list can take, the translation between the filters
// shown and the full list, the last choice kept in section "DataAnalysisApp", and the
// tests at OK.
#pragma once
#include <cstdint>
#include <vector>

#include "zevutil/CObSeqIDList.h"
#include "zevutil/COutputObject.h"
#include "zevutil/CZevDirectoryDialog.h"

namespace zev {

class CZevExportDlg : public CDialogModel {
 public:
  // Control ids.
  enum : int {
    IDC_ZEXP_FILTER = 13201,  // the file types shown
    IDC_ZEXP_FOLDER,          // the folder
    IDC_ZEXP_FILENAME,        // the name field ("JUNK.JNK" when exporting)
    IDC_ZEXP_OBJECTS,         // the objects the chosen filter can take (export)
    IDC_ZEXP_RAW_DATA,        // "Raw Data" (export)
  };
  // The name field's placeholder while a folder is chosen for an export.
  static constexpr const char* kPlaceholder = "JUNK.JNK";
  // The most filter rows the offer mask can hold.
  static constexpr int kMaxFilters = 32;

  CZevExportDlg(const CObSeqID& id, CWnd* parent, int bExport);
  CZevExportDlg(const CObSeqIDList& ids, CWnd* parent, int bExport);
  virtual ~CZevExportDlg() = default;
  CZevExportDlg(const CZevExportDlg&) = delete;
  CZevExportDlg& operator=(const CZevExportDlg&) = delete;

  // The chosen filter's type after OK; EXPORT_NONE before.
  EEXPORT_TYPE GetExportType() const { return m_eExportType; }
  // The objects: after an export OK, the selected ones.
  CObSeqIDList& GetObSeqIDList() { return m_IDList; }
  // The raw data option as the user left it.
  int GetSampleDataCheckBox() const { return m_bSampleData; }
  // 0 keeps the raw data option hidden for every filter.
  void DisplayRawDataCheckbox(int show) { m_bDisplayRawData = show ? 1 : 0; }
  void AddFilterType(FileType& type);
  void ResetFilterTypes() { m_FilterTypes.clear(); }
  const std::vector<FileType>& GetFilterTypes() const { return m_FilterTypes; }
  int IsExport() const { return m_bExport; }

  // Whether a filter type can take an object type.
  static int CanFilterTakeObject(int filterType, LONG objectType);

  // Which filters are offered, the filter text, the last choice; the object list.
  // Filter rows added or reset after the constructor take effect here.
  void OnInitDialog() override;
  // Bit i set: row i of the full list is offered.
  std::uint32_t GetOfferMask() const { return m_nOfferMask; }
  // Filter indices count from 1, as the file dialog's do; 0 stands for none.
  // The full-list index of a shown index, 0 when there is no such shown row.
  int ConvertIndex(int shownIndex) const;
  // The shown index of a full-list index, 0 when that row is not offered.
  int UnconvertIndex(int fullIndex) const;
  // The shown filter chosen (0 means the first).
  int GetFilterIndex() const { return m_nFilterIndex; }
  // The folder chosen, after an export OK.
  const CString& GetPath() const { return m_strPath; }
  // The files chosen, after an import OK.
  const std::vector<CString>& GetFileNames() const { return m_FileNames; }
  // The filter text handed to the file dialog, each '|' a NUL.
  const std::string& GetFilterString() const { return m_strFilter; }

  // ---- events a window forwards ----
  // Another shown filter chosen (index from 1).
  void OnSelChangeFilter(int shownIndex);
  // A row of the object list selected or deselected.
  void OnSelectObject(int row, int selected);
  // The raw data option clicked: toggles it when it is shown (1), else 0.
  int OnClickRawData();
  // Text typed into the folder or name field.
  void OnEditText(int id, const char* text) override;
  // The file dialog's multi-selection buffer: "folder\0name\0name\0\0", or one full
  // path and "\0\0".
  void SetFileNameBuffer(const char* buffer, size_t size);
  // The same events by control id. The filter list's rows count from 0 here.
  void OnSelChange(int id, int row, int selected) override;
  int OnClick(int id) override { return id == IDC_ZEXP_RAW_DATA ? OnClickRawData() : 0; }
  void OnSpin(int, int) override {}
  // "Export" or "Import".
  CString GetCaption() const override { return m_bExport ? "Export" : "Import"; }
  // OK pressed: 1 when the dialog closes, 0 when it stays open.
  int OnOK() override;
  void OnCancel() override { m_nResult = 2; }
  int GetResult() const override { return m_nResult; }

  CDialogControlModel& Controls() override { return m_Controls; }
  const CDialogControlModel& Controls() const { return m_Controls; }

 protected:
  // 0 accepts, 1 keeps the dialog open.
  virtual int OnFileNameOK();
  void InitFilterTypes();
  void ExportDlgSetup();
  // Refills the object list from the objects the chosen filter can take.
  void SetListBasedOnType();

 private:
  void Construct();
  void AddRow(const char* name, const char* ext, EEXPORT_TYPE type);
  EEXPORT_TYPE ChosenType() const;

  CWnd* m_pParent;
  int m_bExport;
  CObSeqIDList m_IDList;
  std::vector<FileType> m_FilterTypes;
  std::uint32_t m_nOfferMask = 0;
  int m_nFilterIndex = 0;
  EEXPORT_TYPE m_eExportType = EXPORT_NONE;
  int m_bSampleData = 0;
  int m_bDisplayRawData = 1;
  CString m_strPath;
  CString m_strFolder;
  CString m_strFileName;
  std::vector<char> m_FileBuffer;
  std::vector<CString> m_FileNames;
  std::vector<CObSeqID*> m_Listed;  // the objects in the list, owned by m_IDList
  std::string m_strFilter;
  int m_nResult = 0;
  CDialogControlModel m_Controls;
};

}  // namespace zev
