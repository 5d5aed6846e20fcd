// PropPages: the read-only property records an object fills to show its properties,
// and CComObjectPropertiesDlg, the properties sheet as a plain model of pages and
// controls (label and text pairs, lists, the sheet's buttons) that a window shows.
#pragma once
#include <vector>

#include "zevutil/IPersistence.h"
#include "zevutil/platform/CString.h"
#include "zevutil/platform/CTime.h"
#include "zevutil/platform/Collections.h"
#include "zevutil/platform/Com.h"
#include "zevutil/platform/Types.h"
#include "zevutil/platform/WinTypes.h"

namespace zev {

class CWnd;

// {5A455602-2D01-4B1E-9F3A-6C2E1D0B7A11}
inline constexpr IID IID_IPersistenceGeneral = {0x5A455602, 0x2D01, 0x4B1E, {0x9F, 0x3A, 0x6C, 0x2E, 0x1D, 0x0B, 0x7A, 0x11}};

// The read side of a stored object's interface, reached from its IPersistence by
// QueryInterface: one accessor per field of the general page, in the page's order.
// Each text is returned as a new BSTR that the caller frees.
struct IPersistenceGeneral : IUnknown {
  virtual HRESULT get_ObName(BSTR* value) = 0;
  virtual HRESULT get_DatabaseName(BSTR* value) = 0;
  virtual HRESULT get_ModifiedTime(LONGLONG* seconds) = 0;
  virtual HRESULT get_Project(BSTR* value) = 0;
  virtual HRESULT get_SerialNumber(BSTR* value) = 0;
  virtual HRESULT get_Type(BSTR* value) = 0;
  virtual HRESULT get_Value(int index, LONG* value) = 0;  // index 0 to 2

 protected:
  ~IPersistenceGeneral() = default;
};

struct GeneralPage {
  static constexpr int kMaxText = 256;  // texts from the interface are cut to this

  CString m_strObjectName;  // the page's title line
  CString m_strDatabase;
  CTime m_Modified;
  CString m_strProject;
  CString m_strSerialNumber;
  CString m_strType;
  LONG m_lValue[3] = {0, 0, 0};  // not shown as text
  CString m_strBarcode;
  CString m_strLastText;  // not shown on the page

  // Fills name, database, modified time, project, serial number, type and the three
  // values through the object's IPersistenceGeneral. Returns 0 (record unchanged)
  // when the object has no such interface, else 1; a field whose accessor fails
  // stays as it was.
  int GetFromIPersistence(IPersistence* object);
};

struct ResultGeneralPage {
  CString m_strObjectName;
  CString m_strDatabase;
  CTime m_Modified;
  CTime m_Collected;
  CString m_strProject;
  CString m_strType;
  LONG m_lValue[3] = {0, 0, 0};
  CString m_strSampleName;
  CString m_strSamplePlate;
  CString m_strSamplePosition;
  CString m_strOperator;
  CString m_strSystemName;
  CString m_strFirmware;
  CString m_strInstrumentSerial;
  CString m_strCollectionSoftware;
  CString m_strBarcode;
  CString m_strSubject;
};

struct SampleGeneralPage {
  CString m_strObjectName;
  CString m_strDatabase;
  CTime m_Collected;
  CString m_strProject;
  CString m_strType;
  LONG m_lValue[3] = {0, 0, 0};
  CString m_strSamplePlate;
  CString m_strSamplePosition;
  CString m_strOperator;
  CString m_strSystemName;
  CString m_strFirmware;
  CString m_strInstrumentSerial;
  CString m_strCollectionSoftware;
  CString m_strBarcode;
  CString m_strSubject;
};

struct NotesPage {
  CString m_strNote;
};

// Name and value pairs, newest first. Copies are deep.
class PropList {
 public:
  struct Node {
    CString m_strName;
    CString m_strValue;
    Node* m_pNext = nullptr;
  };

  PropList() = default;
  PropList(const PropList& other) { *this = other; }
  PropList& operator=(const PropList& other);
  ~PropList() { Clear(); }

  // Puts the pair at the front.
  void Add(CString name, CString value);
  const Node* GetHead() const { return m_pHead; }
  int GetCount() const;
  // Does nothing: the property set is filled by the caller.
  int GetFromIPersistence(IPersistence*) { return 1; }

 private:
  void Clear();
  Node* m_pHead = nullptr;
};

struct MethodInfo {
  CString m_strMethod;
  CString m_strCapillaryTemperature;
  CString m_strWaitForTemperature;
  CString m_strDenatureTemperature;
  CString m_strDenatureDuration;
  CString m_strPauseDuration;
  CString m_strInjectVoltage;
  CString m_strInjectDuration;
  CString m_strStage1PrimaryVoltage;
  CString m_strStage1RampDuration;
  CString m_strStage2SeparationVoltage;
  CString m_strStage2StartTime;
  CString m_strStage2RampDuration;
  CString m_strTotalSeparationDuration;
};

struct AnalysisInfo {
  CString m_strParameterSet;
  CString m_strNThreshold;
  CString m_strStartTime;
  CString m_strEndTime;
  CString m_strPcrProduct;
  CString m_strColorCalibration;
  CString m_strPercentThreshold;
  CString m_strDelay;
  CString m_strSignalToNoise;
  CString m_strMinimumDuration;
  CString m_strPrePeakReduction;
  CString m_strDetectHeterozygotes;
  CString m_strAveragePeakSpacing;
  CString m_strHeightRatio;
  CString m_strSensitivity;
  CString m_strBaseRange;
  CString m_strBeforeLastCalledBase;
  CString m_strAutomaticAlignment;
};

// The fragment analysis texts and the standard fragments used. The fragments are
// heap-allocated CString objects that the record owns once added; Cleanup deletes
// them. Copies are deep, so each copy cleans up its own.
struct FAnalysisInfo {
  FAnalysisInfo() = default;
  FAnalysisInfo(const FAnalysisInfo& other) { *this = other; }
  FAnalysisInfo& operator=(const FAnalysisInfo& other);
  ~FAnalysisInfo() { Cleanup(); }

  // Adds a fragment text to the list.
  void AddFragment(const char* text) { m_StdFragments.Add(new CString(text)); }
  // Deletes every fragment and empties the array; harmless when already empty.
  void Cleanup();

  CString m_strParameterSet;
  CString m_strDyeMobilityCalibration;
  CString m_strStdMobilityReference;
  CString m_strStandard;
  CString m_strSlopeThreshold;
  CString m_strIncludePeaks;
  CString m_strIdentifyAlleles;
  CString m_strDyeUsed;
  CString m_strModelUsed;
  CString m_strYVariable;
  CPtrArray m_StdFragments;  // CString* items
};

struct ConsumableInfo {
  CString m_strBufferPartNumber;
  CString m_strDaysOnInstrument;
  CString m_strCapillaryInternalDiameter;
  CString m_strCapillaryLengthToDetector;
  CString m_strCapArrayPartNumber;
  CString m_strNumberOfRuns;
  CString m_strCapArraySerialNumber;
  CString m_strCapillaryTotalLength;
  CString m_strHoursOnInstrument;
  CString m_strGelPartNumber;
  CString m_strGelLotNumber;
  CString m_strGelAlgorithmType;
  CString m_strBufferLotNumber;
};

struct FragLocusTagList {
  void Cleanup() { m_Tags.RemoveAll(); }
  CStringArray m_Tags;
};

struct AlignmentInfo {
  CString m_strTemplateName;
  CString m_strCutoffAccuracy;
  CString m_strThirdValue;  // shown without a label of its own
  CString m_strMatchScore;
  CString m_strMismatchScore;
  CString m_strInsertStart;
  CString m_strInsertExtend;
  CString m_strDeleteStart;
  CString m_strDeleteExtend;
  CString m_strFindMatchSubstrings;
  CString m_strFindLocalAlignment;
  CString m_strLeftEdgeFree;
  CString m_strRightEdgeFree;
  CString m_strMinSubstringLength;
};

// The pages an object asks for; a null record is a page left out. The records stay
// the caller's.
struct PropPages {
  GeneralPage* m_pGeneral = nullptr;
  ResultGeneralPage* m_pResultGeneral = nullptr;
  SampleGeneralPage* m_pSampleGeneral = nullptr;
  NotesPage* m_pNotes = nullptr;
  PropList* m_pProperties = nullptr;
  MethodInfo* m_pMethod = nullptr;
  AnalysisInfo* m_pAnalysis = nullptr;
  FAnalysisInfo* m_pFragAnalysis = nullptr;
  ConsumableInfo* m_pConsumable = nullptr;
  FragLocusTagList* m_pLocusTags = nullptr;
  AlignmentInfo* m_pAlignment = nullptr;
};

// One label and its text on a page.
struct PropField {
  CString m_strLabel;
  CString m_strText;
};

// One page of the sheet: its tab caption, the title line, the label and text pairs
// in page order, and at most one list with its label.
class CPropertyPageModel {
 public:
  CString m_strCaption;
  CString m_strTitle;  // the object's name, on the general pages
  int m_nSheetArgs[3] = {0, 0, 0};  // the sheet's three integers, on the general pages
  std::vector<PropField> m_Fields;
  CString m_strListLabel;
  std::vector<CString> m_ListItems;

  // The pairs shown: the property set page reads its record each time, since it
  // keeps the record rather than a copy.
  std::vector<PropField> GetFields() const;

 private:
  friend class CComObjectPropertiesDlg;
  const PropList* m_pPropList = nullptr;
};

// One child control of the sheet window.
struct SheetControl {
  CString m_strClass;  // "Button", "Static", ...
  CString m_strText;
  bool m_bVisible = true;
};

class CComObjectPropertiesDlg {
 public:
  static constexpr const char* kTimeFormat = "%A, %B %d, %Y %H:%M:%S";

  // Builds a page for each record present, in sheet order: General, Result General,
  // Sample General, Notes, Property Set, Method, Analysis, Alignment, Fragment
  // Analysis, Locus Tags, Consumables. The records must outlive this call, and the
  // property list the whole dialog.
  CComObjectPropertiesDlg(PropPages& pages, int arg1, int arg2, int arg3, CWnd* parent = nullptr);
  CComObjectPropertiesDlg(const CComObjectPropertiesDlg&) = delete;
  CComObjectPropertiesDlg& operator=(const CComObjectPropertiesDlg&) = delete;
  virtual ~CComObjectPropertiesDlg();

  const CString& GetTitle() const { return m_strTitle; }
  int GetPageCount() const { return int(m_Pages.size()); }
  // The page at index, or null.
  const CPropertyPageModel* GetPage(int index) const;
  CWnd* GetParent() const { return m_pParent; }

  // The sheet window's children; a new sheet has the standard buttons "OK", "Cancel",
  // "&Apply" and "Help". A window layer may add its own before OnInitDialog.
  std::vector<SheetControl>& Controls() { return m_Controls; }
  // Makes the sheet read-only: hides "OK" and "&Apply" and renames "Cancel" to
  // "&Close" and "Help" to "&Help", comparing button texts without regard to case.
  virtual BOOL OnInitDialog();

  // True while the sheet's window exists; the modal loop stops once it is gone.
  virtual BOOL ContinueModal() { return m_bWindowExists ? TRUE : FALSE; }
  void OnWindowCreated() { m_bWindowExists = true; }
  void OnWindowDestroyed() { m_bWindowExists = false; }

  // The sheet as a window (PropSheetWindow.cpp): a tab for each page, the page's labels
  // and texts (nothing editable), and the sheet's buttons as OnInitDialog leaves them.
  // DoModal shows it and returns IDCANCEL once it is closed, or -1 when the window cannot
  // be made; Create makes it modeless and shown (null on failure), and closing destroys it.
  // A null owner means the parent's window, if there is a parent.
  INT_PTR DoModal(HWND owner = nullptr);
  HWND Create(HWND owner = nullptr);
  HWND GetSafeHwnd() const { return m_hWnd; }
  // The child window that holds page 'index' (its labels, texts and list), or null.
  HWND GetPageWindow(int index) const;
  // The tab control's id, and the first id of a page's controls: each row is a label
  // (kFirstFieldId + 2 * row) and its text (+1); the title line and the list have their own.
  static constexpr int kTabId = 0x3020, kApplyId = 0x3021, kTitleId = 0x3FF, kFirstFieldId = 0x400,
                       kListLabelId = 0x7FE, kListId = 0x7FF;

 private:
  static INT_PTR SheetProc(HWND dlg, UINT msg, WPARAM wParam, LPARAM lParam);
  void BuildWindow(HWND dlg);
  void ShowPage(int index);
  HWND m_hWnd = nullptr;
  std::vector<HWND> m_PageWnds;
  bool m_bModal = false;

  CString m_strTitle;
  std::vector<CPropertyPageModel*> m_Pages;  // owned
  std::vector<SheetControl> m_Controls;
  CWnd* m_pParent;
  bool m_bWindowExists = false;
};

}  // namespace zev
