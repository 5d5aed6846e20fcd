// CExportObjectDialog: the export of one object type into a folder. Which formats are
// offered for the object, which options exist and which each format forces, what is
// tested at OK and what persists in section "EXPORT" of the application profile.
// CExportReportDef is the report definition the choices are handed to.
#pragma once
#include <vector>

#include "zevutil/COutputDef.h"
#include "zevutil/COutputObject.h"
#include "zevutil/CZevDirectoryDialog.h"

namespace zev {

// The export choices as a report definition receives them. Applications derive their
// concrete report definitions from it; as a component object it counts references
// like any other (made with new when references are handed out).
class CExportReportDef : public CBaseReportDef {
 public:
  HRESULT QueryInterface(REFIID riid, void** ppv) override { return _InternalQueryInterface(riid, ppv); }
  ULONG AddRef() override { return InternalAddRef(); }
  ULONG Release() override { return InternalRelease(); }
  LONG GetObjType() override { return 0; }
  LONG Copy(const CBaseObject& from) override;
  LONG GetObjID(CObSeqID&) const override { return 0; }

  int m_bHeader = 0;
  int m_bSampleData = 0;
  int m_bSequenceResults = 0;
  int m_bBaseSequence = 0;
  int m_bQualityParameters = 0;
  int m_bAlignmentResults = 0;
  int m_bAlignmentAccuracy = 0;
  CString m_strPath;
  EEXPORT_TYPE m_eFilter = EXPORT_NONE;
  int m_bApplyTriming = 1;
};

class CExportObjectDialog : public CZevDirectoryDialog {
 public:
  // Control ids. The check boxes carry the option labels as their text.
  enum : int {
    IDC_EXPORT_HEADER = 13101,         // "Header"
    IDC_EXPORT_RAW_DATA,               // "Raw Data"
    IDC_EXPORT_RESULT_DATA,            // "Result Data"
    IDC_EXPORT_RESULT_OUTPUT,          // "Result Output"
    IDC_EXPORT_QUALITY,                // "Quality Parameters"
    IDC_EXPORT_ALIGN_RESULTS,          // "Alignment Results"
    IDC_EXPORT_ALIGN_ACCURACY,         // "Alignment Accuracy"
    IDC_EXPORT_REMOVE_SUFFIX,          // "Remove ZEV Tracking Suffix"
    IDC_EXPORT_RESOLVE,                // "Resolve Filename Conflicts"
    IDC_EXPORT_APPLY_TRIMMING,         // "Apply Trimming"
    IDC_EXPORT_GADB,                   // "Migrate To GADB"
    IDC_EXPORT_MIN_LENGTH_LABEL,       // "Export Only\n    If Sequence >"
    IDC_EXPORT_MIN_LENGTH,             // the number field of the spin edit
    IDC_EXPORT_MIN_LENGTH_SPIN,        // its arrows
    IDC_EXPORT_MIN_LENGTH_UNIT,        // "  nt"
    IDC_EXPORT_NOTE,                   // "No Elements for This Object Type"
    IDC_EXPORT_GROUP_ELEMENTS,         // "Sample Elements"
    IDC_EXPORT_GROUP_OPTIONS,          // "Options"
  };
  static constexpr int kMinLengthLow = -1;
  static constexpr int kMinLengthHigh = 1000;

  // Loads the persisted choices, builds the filter rows for the object type and the
  // filter text. A null title becomes "Export".
  CExportObjectDialog(CWnd* parent, LONG objectType, int bFixedFolder, const char* path, const char* title,
                      int bOfferZev, int bOfferOri, int bShowGadb, int bPersist, int bOfferAbi, int bOfferCrv);

  // Reads "Filter" always, the other keys of section "EXPORT" only when persisting,
  // and caches each filter's extension.
  void Load();
  // Nothing unless persisting; then the chosen filter and every option key.
  void Save();

  // The filter rows offered, in order.
  const std::vector<FileType>& GetFilterTypes() const { return m_FilterTypes; }
  // The row chosen (0-based), -1 when no row is offered.
  int GetFilterPos() const { return m_nFilterPos; }
  // The type of the row chosen; EXPORT_NONE without rows.
  EEXPORT_TYPE GetExportFileType() const;
  // Copies the choices into def when it is a CExportReportDef and objectType is 10002
  // or 10008; 1 when copied, else 0 and def untouched.
  int GetReportDef(CBaseReportDef& def, int objectType) const;

  // A nonzero value shows the minimum-length field.
  void SetBatchExportFormat(int on) { m_bBatchFormat = on ? 1 : 0; }
  // Trimming is done already: Apply Trimming stays checked and greyed.
  void SetTrimmingAlreadyApplied(int on) { m_bTrimmingAlreadyApplied = on ? 1 : 0; }

  // Sets every control from the fields, as the dialog opens. Options set after the
  // constructor (batch format, trimming applied, alignment) take effect here.
  void OnInitDialog() override;

  // ---- events a window forwards ----
  // Another filter row chosen in the type list.
  void OnSelChangeFilter(int pos);
  // A check box clicked: toggles it when it is shown and enabled (1), else 0.
  int OnClickCheckBox(int id);
  // Text typed; the minimum-length field takes only numbers in its range.
  void OnEditText(int id, const char* text) override;
  // One step of the spin arrows (+1 or -1), held to the range.
  void OnSpinMinLength(int delta);
  // The same events by control id: the filter list, check boxes, the spin arrows.
  void OnSelChange(int id, int row, int selected) override;
  int OnClick(int id) override { return OnClickCheckBox(id); }
  void OnSpin(int id, int delta) override;

  // Fixes the option states for the chosen filter; previousFilter is the type chosen
  // before (-1 at start).
  void EnableOptionsBasedOnFileType(int previousFilter);
  // Which options exist for the object type (and, for 10008, the filter).
  void ShowCheckBoxesBasedOnObjectType();
  // Under SCF, Result Output and Quality Parameters follow Result Data.
  void OnCheckAnalyzedData();
  // A number outside the field's range: says so and keeps the last good value.
  virtual void OnSpinEditError(double value);

  // The options, as read at OK (or loaded).
  EEXPORT_TYPE m_eFilter = EXPORT_NONE;
  int m_bHeader = 0;
  int m_bSampleData = 0;
  int m_bSequenceResults = 0;
  int m_bBaseSequence = 0;
  int m_bQualityParameters = 0;
  int m_bAlignmentResults = 0;
  int m_bAlignmentAccuracy = 0;
  int m_bRemoveExtensions = 0;
  int m_bResolveConflicts = 0;
  int m_bGADB = 0;
  int m_bApplyTriming = 1;
  int m_nMinAutoExportSeqLength = 0;
  LONG m_lObjectType;
  int m_bShowAlignment = 0;
  int m_bTrimCheckSaved = 0;
  int m_bOfferZev, m_bOfferOri, m_bOfferAbi, m_bOfferCrv;
  int m_bShowGadb;
  int m_bBatchFormat = 0;
  int m_bTrimmingAlreadyApplied = 0;
  // The extension of each filter, cached at Load.
  CString m_strScfExt, m_strTxtExt, m_strSeqExt, m_strFastaExt, m_strPhdExt, m_strEsdExt, m_strAbiExt,
      m_strCrvExt;

 protected:
  int OnFileNameOK() override;
  // The filter rows for the object type and offer flags.
  void InitFilterTypes();
  // The filter text and the preselected row.
  void SetupFilterString();

 private:
  void AddRow(const char* name, const CString& ext, EEXPORT_TYPE type);
  void BuildControls();
  void ShowMinLength(int show);
  void EnableMinLength(int enable);
  CString MinLengthText(int value) const;

  std::vector<FileType> m_FilterTypes;
  int m_nFilterPos = -1;
};

}  // namespace zev
