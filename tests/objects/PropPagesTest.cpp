// Property records and the properties sheet model: pages present in sheet order,
// labels and texts, the property list, cleanup, the general page filled through the
// object's interface, and the read-only buttons.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "zevutil/PropPages.h"

using namespace zev;

namespace {

std::vector<std::string> Captions(const CComObjectPropertiesDlg& dlg) {
  std::vector<std::string> out;
  for (int i = 0; i < dlg.GetPageCount(); ++i) out.push_back(dlg.GetPage(i)->m_strCaption.str());
  return out;
}

std::vector<std::string> Labels(const CPropertyPageModel& page) {
  std::vector<std::string> out;
  for (const auto& f : page.GetFields()) out.push_back(f.m_strLabel.str());
  return out;
}

struct Records {
  GeneralPage general;
  ResultGeneralPage result;
  SampleGeneralPage sample;
  NotesPage notes;
  PropList props;
  MethodInfo method;
  AnalysisInfo analysis;
  FAnalysisInfo frag;
  ConsumableInfo consumable;
  FragLocusTagList loci;
  AlignmentInfo alignment;
};

}  // namespace

TEST(PropPagesTest, PagesPresentFollowSheetOrder) {
  Records r;
  using Set = void (*)(PropPages&, Records&);
  struct Case {
    const char* name;
    std::vector<Set> records;
    std::vector<std::string> captions;
  };
  const Set general = [](PropPages& p, Records& r) { p.m_pGeneral = &r.general; };
  const Set notes = [](PropPages& p, Records& r) { p.m_pNotes = &r.notes; };
  const Set props = [](PropPages& p, Records& r) { p.m_pProperties = &r.props; };
  const Set frag = [](PropPages& p, Records& r) { p.m_pFragAnalysis = &r.frag; };
  const Set consumable = [](PropPages& p, Records& r) { p.m_pConsumable = &r.consumable; };
  const Set alignment = [](PropPages& p, Records& r) { p.m_pAlignment = &r.alignment; };
  const Set all = [](PropPages& p, Records& r) {
    p = {&r.general, &r.result,   &r.sample,     &r.notes, &r.props,    &r.method,
         &r.analysis, &r.frag, &r.consumable, &r.loci, &r.alignment};
  };
  const Case cases[] = {
      {"none", {}, {}},
      {"one", {notes}, {"Notes"}},
      // Alignment comes before the fragment pages although its record is the last.
      {"alignment first", {consumable, frag, alignment}, {"Alignment", "Fragment Analysis", "Consumables"}},
      {"general and property set", {props, general}, {"General", "Property Set"}},
      {"all",
       {all},
       {"General", "Result General", "Sample General", "Notes", "Property Set", "Method", "Analysis", "Alignment",
        "Fragment Analysis", "Locus Tags", "Consumables"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    PropPages pages;
    for (Set s : c.records) s(pages, r);
    CComObjectPropertiesDlg dlg(pages, 1, 2, 3);
    EXPECT_EQ(dlg.GetTitle().str(), "Properties");
    EXPECT_EQ(Captions(dlg), c.captions);
    EXPECT_EQ(dlg.GetPage(dlg.GetPageCount()), nullptr);
    EXPECT_EQ(dlg.GetPage(-1), nullptr);
  }
}

TEST(PropPagesTest, PagesShowLabelsAndTextsInFieldOrder) {
  ::setenv("TZ", "UTC", 1);
  ::tzset();
  Records r;
  r.general.m_strObjectName = "Run 7";
  r.general.m_strDatabase = "Lab";
  r.general.m_Modified = CTime(2024, 3, 5, 14, 7, 9);
  r.general.m_strProject = "P";
  r.general.m_strSerialNumber = "S1";
  r.general.m_strType = "Sample";
  r.general.m_strBarcode = "BC";
  r.general.m_strLastText = "hidden";
  r.sample.m_Collected = CTime(2023, 12, 31, 23, 59, 58);
  r.sample.m_strSubject = "subj";
  r.alignment.m_strThirdValue = "third";
  r.consumable.m_strBufferLotNumber = "lot";
  r.frag.AddFragment("75");
  r.frag.AddFragment("100");
  r.loci.m_Tags.Add("D8S1179");
  PropPages pages;
  pages.m_pGeneral = &r.general;
  pages.m_pSampleGeneral = &r.sample;
  pages.m_pAlignment = &r.alignment;
  pages.m_pConsumable = &r.consumable;
  pages.m_pFragAnalysis = &r.frag;
  pages.m_pLocusTags = &r.loci;
  CComObjectPropertiesDlg dlg(pages, 4, 5, 6);
  ASSERT_EQ(dlg.GetPageCount(), 6);

  const CPropertyPageModel& g = *dlg.GetPage(0);
  EXPECT_EQ(g.m_strTitle.str(), "Run 7");
  EXPECT_EQ(g.m_nSheetArgs[0] + g.m_nSheetArgs[1] * 10 + g.m_nSheetArgs[2] * 100, 654);
  std::vector<std::pair<std::string, std::string>> got;
  for (const auto& f : g.GetFields()) got.push_back({f.m_strLabel.str(), f.m_strText.str()});
  const std::vector<std::pair<std::string, std::string>> want = {
      {"Database:", "Lab"},          {"Modified:", "Tuesday, March 05, 2024 14:07:09"},
      {"Project:", "P"},             {"Cap Array Serial No:", "S1"},
      {"Type:", "Sample"},           {"Sample Plate Barcode:", "BC"}};
  EXPECT_EQ(got, want);

  const CPropertyPageModel& s = *dlg.GetPage(1);
  EXPECT_EQ(Labels(s), (std::vector<std::string>{"Database:", "Collection Date:", "Project:", "Type:", "Sample Plate:",
                                                 "Sample Position:", "Operator Name:", "ZEV System Name:",
                                                 "Firmware Version:", "Instrument S/N:",
                                                 "Data Collection\nSoftware Version:", "Sample Plate Barcode:",
                                                 "Sample Subject ID:"}));
  EXPECT_EQ(s.GetFields()[1].m_strText.str(), "Sunday, December 31, 2023 23:59:58");
  EXPECT_EQ(s.GetFields().back().m_strText.str(), "subj");

  struct Count {
    int page;
    std::size_t fields;
    std::string third, last;
  };
  const Count counts[] = {{2, 14, "", "Min. Substring Length:"},
                          {3, 10, "Std. Mobility Reference:", "Y-Variable:"},
                          {5, 13, "Internal Diameter of Capillary:", "Buffer Lot Number: "}};
  for (const auto& c : counts) {
    SCOPED_TRACE(c.last);
    auto labels = Labels(*dlg.GetPage(c.page));
    ASSERT_EQ(labels.size(), c.fields);
    EXPECT_EQ(labels[2], c.third);
    EXPECT_EQ(labels.back(), c.last);
  }
  EXPECT_EQ(dlg.GetPage(2)->GetFields()[2].m_strText.str(), "third");
  EXPECT_EQ(dlg.GetPage(3)->m_strListLabel.str(), "Std. Fragments Used:");
  EXPECT_EQ(dlg.GetPage(3)->m_ListItems, (std::vector<CString>{"75", "100"}));
  EXPECT_EQ(dlg.GetPage(4)->m_ListItems, (std::vector<CString>{"D8S1179"}));
  EXPECT_EQ(dlg.GetPage(5)->GetFields().back().m_strText.str(), "lot");
}

TEST(PropPagesTest, PropertyListReadsNewestFirstAndThePageFollowsTheRecord) {
  PropList list;
  list.Add("first", "1");
  list.Add("second", "2");
  PropPages pages;
  pages.m_pProperties = &list;
  CComObjectPropertiesDlg dlg(pages, 0, 0, 0);
  EXPECT_EQ(Labels(*dlg.GetPage(0)), (std::vector<std::string>{"second", "first"}));
  // The page keeps the record, not a copy of it.
  list.Add("third", "3");
  EXPECT_EQ(Labels(*dlg.GetPage(0)), (std::vector<std::string>{"third", "second", "first"}));

  PropList copy(list);
  list.Add("fourth", "4");
  EXPECT_EQ(copy.GetCount(), 3);
  EXPECT_EQ(list.GetCount(), 4);
  copy = list;
  EXPECT_EQ(copy.GetHead()->m_strName.str(), "fourth");
}

TEST(PropPagesTest, CleanupEmptiesAndCanRepeat) {
  FAnalysisInfo info;
  info.Cleanup();
  info.AddFragment("50");
  info.AddFragment("60");
  FAnalysisInfo copy(info);
  info.Cleanup();
  info.Cleanup();
  EXPECT_EQ(info.m_StdFragments.GetSize(), 0);
  ASSERT_EQ(copy.m_StdFragments.GetSize(), 2);  // a copy owns its own fragments
  EXPECT_EQ(static_cast<CString*>(copy.m_StdFragments[1])->str(), "60");

  FragLocusTagList loci;
  loci.m_Tags.Add("A");
  loci.Cleanup();
  loci.Cleanup();
  EXPECT_EQ(loci.m_Tags.GetSize(), 0);
}

namespace {

// A stored object that answers the general page's accessors.
class FakeObject : public IPersistence, public IPersistenceGeneral {
 public:
  std::string name = "object", database = "db", project = "proj", serial = "sn", type = "t";
  bool general = true;
  bool failProject = false;
  int refs = 0;

  HRESULT QueryInterface(REFIID riid, void** ppv) override {
    if (general && riid == IID_IPersistenceGeneral) {
      *ppv = static_cast<IPersistenceGeneral*>(this);
      ++refs;
      return S_OK;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
  }
  ULONG AddRef() override { return ULONG(++refs); }
  ULONG Release() override { return ULONG(--refs); }
  HRESULT put_DatabaseName(BSTR) override { return S_OK; }
  HRESULT put_ObName(BSTR) override { return S_OK; }
  HRESULT put_ObToken(LONG) override { return S_OK; }
  HRESULT put_ObType(LONG) override { return S_OK; }
  HRESULT put_ObAttrFlags(LONG) override { return S_OK; }
  HRESULT put_DatabaseIndex(LONG) override { return S_OK; }
  HRESULT put_ObBarCode(BSTR) override { return S_OK; }
  HRESULT put_ObSubjectID(BSTR) override { return S_OK; }

  static BSTR Wide(const std::string& s) {
    std::u16string w(s.begin(), s.end());
    return SysAllocStringLen(w.data(), UINT(w.size()));
  }
  HRESULT get_ObName(BSTR* v) override { return *v = Wide(name), S_OK; }
  HRESULT get_DatabaseName(BSTR* v) override { return *v = Wide(database), S_OK; }
  HRESULT get_ModifiedTime(LONGLONG* s) override { return *s = 86400, S_OK; }
  HRESULT get_Project(BSTR* v) override {
    if (failProject) return *v = nullptr, E_FAIL;
    return *v = Wide(project), S_OK;
  }
  HRESULT get_SerialNumber(BSTR* v) override { return *v = Wide(serial), S_OK; }
  HRESULT get_Type(BSTR* v) override { return *v = Wide(type), S_OK; }
  HRESULT get_Value(int i, LONG* v) override { return *v = 10 + i, S_OK; }
};

}  // namespace

TEST(PropPagesTest, GeneralPageFillsThroughTheObjectAndCutsLongTexts) {
  struct Case {
    const char* name;
    std::string objectName;
    bool general, failProject;
    int result;
    std::string wantName, wantProject;
  };
  const std::string longName(300, 'x');
  const Case cases[] = {
      {"plain", "Sample 1", true, false, 1, "Sample 1", "proj"},
      {"cut to 256", longName, true, false, 1, std::string(256, 'x'), "proj"},
      {"exactly 256", std::string(256, 'y'), true, false, 1, std::string(256, 'y'), "proj"},
      {"failing accessor keeps the field", "n", true, true, 1, "n", "old"},
      {"no interface", "n", false, false, 0, "old", "old"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    FakeObject obj;
    obj.name = c.objectName;
    obj.general = c.general;
    obj.failProject = c.failProject;
    GeneralPage page;
    page.m_strObjectName = "old";
    page.m_strProject = "old";
    EXPECT_EQ(page.GetFromIPersistence(&obj), c.result);
    EXPECT_EQ(page.m_strObjectName.str(), c.wantName);
    EXPECT_EQ(page.m_strProject.str(), c.wantProject);
    EXPECT_EQ(obj.refs, 0);  // the interface it asked for is released
    if (c.result) {
      EXPECT_EQ(page.m_Modified.GetTime(), 86400);
      EXPECT_EQ(page.m_lValue[0] + page.m_lValue[1] + page.m_lValue[2], 33);
    }
  }
  EXPECT_EQ(GeneralPage().GetFromIPersistence(nullptr), 0);
}

TEST(PropPagesTest, InitDialogLeavesOnlyCloseAndHelp) {
  PropPages none;
  CComObjectPropertiesDlg dlg(none, 0, 0, 0);
  EXPECT_FALSE(dlg.ContinueModal());
  // Texts compare without regard to case; only buttons change.
  dlg.Controls().push_back({"button", "cAnCeL", true});
  dlg.Controls().push_back({"Static", "OK", true});
  dlg.Controls().push_back({"Button", "Helper", true});
  EXPECT_TRUE(dlg.OnInitDialog());
  struct Want {
    const char* text;
    bool visible;
  };
  const Want want[] = {{"OK", false},     {"&Close", true}, {"&Apply", false}, {"&Help", true},
                       {"&Close", true},  {"OK", true},     {"Helper", true}};
  ASSERT_EQ(dlg.Controls().size(), std::size(want));
  for (std::size_t i = 0; i < std::size(want); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(dlg.Controls()[i].m_strText.str(), want[i].text);
    EXPECT_EQ(dlg.Controls()[i].m_bVisible, want[i].visible);
  }
  EXPECT_TRUE(dlg.ContinueModal());
  dlg.OnWindowDestroyed();
  EXPECT_FALSE(dlg.ContinueModal());
}
