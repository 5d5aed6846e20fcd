// The property records and the properties sheet model: which pages a PropPages
// record gives, in sheet order, with each page's labels and texts, and the button
// changes that leave the sheet only to be closed.
#include "zevutil/PropPages.h"
#include "zevutil/platform/Window.h"

#include <string>

namespace zev {

// ---- records ----

int GeneralPage::GetFromIPersistence(IPersistence* object) {
  if (!object) return 0;
  IPersistenceGeneral* source = nullptr;
  if (object->QueryInterface(IID_IPersistenceGeneral, reinterpret_cast<void**>(&source)) < 0 || !source) return 0;
  // Each text comes as a new wide string: narrowed, cut to kMaxText and freed.
  auto text = [&](HRESULT (IPersistenceGeneral::*get)(BSTR*), CString& field) {
    BSTR value = nullptr;
    HRESULT hr = (source->*get)(&value);
    if (hr < 0) {
      SysFreeString(value);
      return;
    }
    _bstr_t owned(value, false);
    const char* narrow = static_cast<const char*>(owned);
    field = narrow ? CString(std::string(narrow).substr(0, kMaxText).c_str()) : CString();
  };
  text(&IPersistenceGeneral::get_ObName, m_strObjectName);
  text(&IPersistenceGeneral::get_DatabaseName, m_strDatabase);
  LONGLONG seconds = 0;
  if (source->get_ModifiedTime(&seconds) >= 0) m_Modified = CTime(std::int64_t(seconds));
  text(&IPersistenceGeneral::get_Project, m_strProject);
  text(&IPersistenceGeneral::get_SerialNumber, m_strSerialNumber);
  text(&IPersistenceGeneral::get_Type, m_strType);
  for (int i = 0; i < 3; ++i) {
    LONG v = 0;
    if (source->get_Value(i, &v) >= 0) m_lValue[i] = v;
  }
  source->Release();
  return 1;
}

void PropList::Add(CString name, CString value) {
  Node* node = new Node;
  node->m_strName = name;
  node->m_strValue = value;
  node->m_pNext = m_pHead;
  m_pHead = node;
}

int PropList::GetCount() const {
  int n = 0;
  for (const Node* p = m_pHead; p; p = p->m_pNext) ++n;
  return n;
}

void PropList::Clear() {
  while (m_pHead) {
    Node* next = m_pHead->m_pNext;
    delete m_pHead;
    m_pHead = next;
  }
}

PropList& PropList::operator=(const PropList& other) {
  if (this == &other) return *this;
  Clear();
  Node** tail = &m_pHead;
  for (const Node* p = other.m_pHead; p; p = p->m_pNext) {
    *tail = new Node{p->m_strName, p->m_strValue, nullptr};
    tail = &(*tail)->m_pNext;
  }
  return *this;
}

FAnalysisInfo& FAnalysisInfo::operator=(const FAnalysisInfo& other) {
  if (this == &other) return *this;
  Cleanup();
  m_strParameterSet = other.m_strParameterSet;
  m_strDyeMobilityCalibration = other.m_strDyeMobilityCalibration;
  m_strStdMobilityReference = other.m_strStdMobilityReference;
  m_strStandard = other.m_strStandard;
  m_strSlopeThreshold = other.m_strSlopeThreshold;
  m_strIncludePeaks = other.m_strIncludePeaks;
  m_strIdentifyAlleles = other.m_strIdentifyAlleles;
  m_strDyeUsed = other.m_strDyeUsed;
  m_strModelUsed = other.m_strModelUsed;
  m_strYVariable = other.m_strYVariable;
  for (INT_PTR i = 0; i < other.m_StdFragments.GetSize(); ++i)
    m_StdFragments.Add(new CString(*static_cast<const CString*>(other.m_StdFragments.GetAt(i))));
  return *this;
}

void FAnalysisInfo::Cleanup() {
  for (INT_PTR i = 0; i < m_StdFragments.GetSize(); ++i) delete static_cast<CString*>(m_StdFragments.GetAt(i));
  m_StdFragments.RemoveAll();
}

// ---- the sheet ----

std::vector<PropField> CPropertyPageModel::GetFields() const {
  if (!m_pPropList) return m_Fields;
  std::vector<PropField> out;
  for (const PropList::Node* p = m_pPropList->GetHead(); p; p = p->m_pNext) out.push_back({p->m_strName, p->m_strValue});
  return out;
}

namespace {

template <class Record>
struct LabelledText {
  const char* label;
  CString Record::*field;
};

template <class Record, std::size_t N>
void AddTexts(CPropertyPageModel& page, const Record& r, const LabelledText<Record> (&table)[N]) {
  for (const auto& row : table) page.m_Fields.push_back({row.label, r.*(row.field)});
}

CString TimeText(const CTime& t) { return t.Format(CComObjectPropertiesDlg::kTimeFormat); }

const LabelledText<ResultGeneralPage> kResultTail[] = {
    {"Sample Name:", &ResultGeneralPage::m_strSampleName},
    {"Sample Plate:", &ResultGeneralPage::m_strSamplePlate},
    {"Sample Position:", &ResultGeneralPage::m_strSamplePosition},
    {"Operator Name:", &ResultGeneralPage::m_strOperator},
    {"ZEV System Name:", &ResultGeneralPage::m_strSystemName},
    {"Firmware Version:", &ResultGeneralPage::m_strFirmware},
    {"Instrument S/N:", &ResultGeneralPage::m_strInstrumentSerial},
    {"Data Collection\nSoftware Version:", &ResultGeneralPage::m_strCollectionSoftware},
    {"Sample Plate Barcode:", &ResultGeneralPage::m_strBarcode},
    {"Sample Subject ID:", &ResultGeneralPage::m_strSubject},
};

const LabelledText<SampleGeneralPage> kSampleTail[] = {
    {"Sample Plate:", &SampleGeneralPage::m_strSamplePlate},
    {"Sample Position:", &SampleGeneralPage::m_strSamplePosition},
    {"Operator Name:", &SampleGeneralPage::m_strOperator},
    {"ZEV System Name:", &SampleGeneralPage::m_strSystemName},
    {"Firmware Version:", &SampleGeneralPage::m_strFirmware},
    {"Instrument S/N:", &SampleGeneralPage::m_strInstrumentSerial},
    {"Data Collection\nSoftware Version:", &SampleGeneralPage::m_strCollectionSoftware},
    {"Sample Plate Barcode:", &SampleGeneralPage::m_strBarcode},
    {"Sample Subject ID:", &SampleGeneralPage::m_strSubject},
};

const LabelledText<MethodInfo> kMethod[] = {
    {"Method:", &MethodInfo::m_strMethod},
    {"Capillary Temperature:", &MethodInfo::m_strCapillaryTemperature},
    {"Wait for Temperature:", &MethodInfo::m_strWaitForTemperature},
    {"Denature Temperature:", &MethodInfo::m_strDenatureTemperature},
    {"Denature Duration:", &MethodInfo::m_strDenatureDuration},
    {"Pause Duration:", &MethodInfo::m_strPauseDuration},
    {"Inject Voltage:", &MethodInfo::m_strInjectVoltage},
    {"Inject Duration:", &MethodInfo::m_strInjectDuration},
    {"Stage 1 Primary Voltage:", &MethodInfo::m_strStage1PrimaryVoltage},
    {"Stage 1 Ramp Duration:", &MethodInfo::m_strStage1RampDuration},
    {"Stage 2 Separation Voltage:", &MethodInfo::m_strStage2SeparationVoltage},
    {"Stage 2 Start Time:", &MethodInfo::m_strStage2StartTime},
    {"Stage 2 Ramp Duration:", &MethodInfo::m_strStage2RampDuration},
    {"Total Separation Duration:", &MethodInfo::m_strTotalSeparationDuration},
};

const LabelledText<AnalysisInfo> kAnalysis[] = {
    {"Analysis Parameter Set", &AnalysisInfo::m_strParameterSet},
    {"N Threshold:", &AnalysisInfo::m_strNThreshold},
    {"Analysis Start Time:", &AnalysisInfo::m_strStartTime},
    {"Analysis End Time:", &AnalysisInfo::m_strEndTime},
    {"PCR Product:", &AnalysisInfo::m_strPcrProduct},
    {"Color Calibration:", &AnalysisInfo::m_strColorCalibration},
    {"% Threshold:", &AnalysisInfo::m_strPercentThreshold},
    {"Delay:", &AnalysisInfo::m_strDelay},
    {"Signal to Noise:", &AnalysisInfo::m_strSignalToNoise},
    {"Minimum Duration:", &AnalysisInfo::m_strMinimumDuration},
    {"Pre-peak Reduction:", &AnalysisInfo::m_strPrePeakReduction},
    {"Detect Heterozygotes:", &AnalysisInfo::m_strDetectHeterozygotes},
    {"Average Peak Spacing:", &AnalysisInfo::m_strAveragePeakSpacing},
    {"Height Ratio:", &AnalysisInfo::m_strHeightRatio},
    {"Sensitivity:", &AnalysisInfo::m_strSensitivity},
    {"Base Range:", &AnalysisInfo::m_strBaseRange},
    {"Before Last Called Base:", &AnalysisInfo::m_strBeforeLastCalledBase},
    {"Automatic Alignment:", &AnalysisInfo::m_strAutomaticAlignment},
};

const LabelledText<FAnalysisInfo> kFragAnalysis[] = {
    {"Analysis Parameter Set", &FAnalysisInfo::m_strParameterSet},
    {"Dye Mobility Calibration:", &FAnalysisInfo::m_strDyeMobilityCalibration},
    {"Std. Mobility Reference:", &FAnalysisInfo::m_strStdMobilityReference},
    {"Standard:", &FAnalysisInfo::m_strStandard},
    {"Slope Threshold:", &FAnalysisInfo::m_strSlopeThreshold},
    {"Include Peaks:", &FAnalysisInfo::m_strIncludePeaks},
    {"Identify Alleles:", &FAnalysisInfo::m_strIdentifyAlleles},
    {"Dye Used:", &FAnalysisInfo::m_strDyeUsed},
    {"Model Used:", &FAnalysisInfo::m_strModelUsed},
    {"Y-Variable:", &FAnalysisInfo::m_strYVariable},
};

// kept: several labels end in a blank, as the page has always shown them.
const LabelledText<ConsumableInfo> kConsumable[] = {
    {"Buffer Part Number: ", &ConsumableInfo::m_strBufferPartNumber},
    {"Days on Instrument:", &ConsumableInfo::m_strDaysOnInstrument},
    {"Internal Diameter of Capillary:", &ConsumableInfo::m_strCapillaryInternalDiameter},
    {"Length of Capillary to Detector:", &ConsumableInfo::m_strCapillaryLengthToDetector},
    {"Capillary Array Part Number:", &ConsumableInfo::m_strCapArrayPartNumber},
    {"Number of Runs:", &ConsumableInfo::m_strNumberOfRuns},
    {"Capillary Array Serial Number:", &ConsumableInfo::m_strCapArraySerialNumber},
    {"Total Length of Capillary:", &ConsumableInfo::m_strCapillaryTotalLength},
    {"Hours on Instrument:", &ConsumableInfo::m_strHoursOnInstrument},
    {"Gel Part Number:", &ConsumableInfo::m_strGelPartNumber},
    {"Gel Lot Number: ", &ConsumableInfo::m_strGelLotNumber},
    {"Gel Algorithm Type: ", &ConsumableInfo::m_strGelAlgorithmType},
    {"Buffer Lot Number: ", &ConsumableInfo::m_strBufferLotNumber},
};

// The third value has no label of its own: it shows with an empty one.
const LabelledText<AlignmentInfo> kAlignment[] = {
    {"Template Name:", &AlignmentInfo::m_strTemplateName},
    {"Cutoff Accuracy:", &AlignmentInfo::m_strCutoffAccuracy},
    {"", &AlignmentInfo::m_strThirdValue},
    {"Match Score:", &AlignmentInfo::m_strMatchScore},
    {"Mismatch Score:", &AlignmentInfo::m_strMismatchScore},
    {"Insert Start:", &AlignmentInfo::m_strInsertStart},
    {"Insert Extend:", &AlignmentInfo::m_strInsertExtend},
    {"Delete Start:", &AlignmentInfo::m_strDeleteStart},
    {"Delete Extend:", &AlignmentInfo::m_strDeleteExtend},
    {"Find Match Substrings:", &AlignmentInfo::m_strFindMatchSubstrings},
    {"Find Local Alignment:", &AlignmentInfo::m_strFindLocalAlignment},
    {"Left Edge Free:", &AlignmentInfo::m_strLeftEdgeFree},
    {"Right Edge Free:", &AlignmentInfo::m_strRightEdgeFree},
    {"Min. Substring Length:", &AlignmentInfo::m_strMinSubstringLength},
};

}  // namespace

CComObjectPropertiesDlg::CComObjectPropertiesDlg(PropPages& pages, int arg1, int arg2, int arg3, CWnd* parent)
    : m_strTitle("Properties"), m_pParent(parent) {
  auto add = [&](const char* caption) {
    m_Pages.push_back(new CPropertyPageModel);
    m_Pages.back()->m_strCaption = caption;
    return m_Pages.back();
  };
  auto general = [&](CPropertyPageModel* p) {
    p->m_nSheetArgs[0] = arg1;
    p->m_nSheetArgs[1] = arg2;
    p->m_nSheetArgs[2] = arg3;
  };
  if (const GeneralPage* r = pages.m_pGeneral) {
    CPropertyPageModel* p = add("General");
    general(p);
    p->m_strTitle = r->m_strObjectName;
    p->m_Fields = {{"Database:", r->m_strDatabase},         {"Modified:", TimeText(r->m_Modified)},
                   {"Project:", r->m_strProject},           {"Cap Array Serial No:", r->m_strSerialNumber},
                   {"Type:", r->m_strType},                 {"Sample Plate Barcode:", r->m_strBarcode}};
  }
  if (const ResultGeneralPage* r = pages.m_pResultGeneral) {
    CPropertyPageModel* p = add("Result General");
    general(p);
    p->m_strTitle = r->m_strObjectName;
    p->m_Fields = {{"Database:", r->m_strDatabase},
                   {"Modified:", TimeText(r->m_Modified)},
                   {"Collection Date:", TimeText(r->m_Collected)},
                   {"Project:", r->m_strProject},
                   {"Type:", r->m_strType}};
    AddTexts(*p, *r, kResultTail);
  }
  if (const SampleGeneralPage* r = pages.m_pSampleGeneral) {
    CPropertyPageModel* p = add("Sample General");
    general(p);
    p->m_strTitle = r->m_strObjectName;
    p->m_Fields = {{"Database:", r->m_strDatabase},
                   {"Collection Date:", TimeText(r->m_Collected)},
                   {"Project:", r->m_strProject},
                   {"Type:", r->m_strType}};
    AddTexts(*p, *r, kSampleTail);
  }
  if (const NotesPage* r = pages.m_pNotes) add("Notes")->m_Fields = {{"Note:", r->m_strNote}};
  if (const PropList* r = pages.m_pProperties) add("Property Set")->m_pPropList = r;
  if (const MethodInfo* r = pages.m_pMethod) AddTexts(*add("Method"), *r, kMethod);
  if (const AnalysisInfo* r = pages.m_pAnalysis) AddTexts(*add("Analysis"), *r, kAnalysis);
  if (const AlignmentInfo* r = pages.m_pAlignment) AddTexts(*add("Alignment"), *r, kAlignment);
  if (const FAnalysisInfo* r = pages.m_pFragAnalysis) {
    CPropertyPageModel* p = add("Fragment Analysis");
    AddTexts(*p, *r, kFragAnalysis);
    p->m_strListLabel = "Std. Fragments Used:";
    for (INT_PTR i = 0; i < r->m_StdFragments.GetSize(); ++i)
      p->m_ListItems.push_back(*static_cast<const CString*>(r->m_StdFragments.GetAt(i)));
  }
  if (const FragLocusTagList* r = pages.m_pLocusTags) {
    CPropertyPageModel* p = add("Locus Tags");
    p->m_strListLabel = "Locus Tags";
    for (INT_PTR i = 0; i < r->m_Tags.GetSize(); ++i) p->m_ListItems.push_back(r->m_Tags.GetAt(i));
  }
  if (const ConsumableInfo* r = pages.m_pConsumable) AddTexts(*add("Consumables"), *r, kConsumable);

  // The standard buttons of a property sheet, as its window creates them.
  for (const char* text : {"OK", "Cancel", "&Apply", "Help"}) m_Controls.push_back({"Button", text, true});
}

CComObjectPropertiesDlg::~CComObjectPropertiesDlg() {
  if (m_hWnd && IsWindow(m_hWnd)) DestroyWindow(m_hWnd);
  for (CPropertyPageModel* p : m_Pages) delete p;
}

const CPropertyPageModel* CComObjectPropertiesDlg::GetPage(int index) const {
  return index >= 0 && index < GetPageCount() ? m_Pages[std::size_t(index)] : nullptr;
}

BOOL CComObjectPropertiesDlg::OnInitDialog() {
  for (SheetControl& c : m_Controls) {
    if (c.m_strClass.CompareNoCase("Button") != 0) continue;
    if (c.m_strText.CompareNoCase("OK") == 0 || c.m_strText.CompareNoCase("&Apply") == 0)
      c.m_bVisible = false;
    else if (c.m_strText.CompareNoCase("Cancel") == 0)
      c.m_strText = "&Close";
    else if (c.m_strText.CompareNoCase("Help") == 0)
      c.m_strText = "&Help";
  }
  m_bWindowExists = true;
  return TRUE;
}

}  // namespace zev
