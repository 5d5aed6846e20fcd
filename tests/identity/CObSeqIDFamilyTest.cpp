// The identifier family: the four factories, default names and numbers, copies, the
// stored form of the sample results, and the orderings of results and samples.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <typeindex>
#include <vector>

#include "IdentityTestUtil.h"
#include "zevutil/CObSeqID.h"
#include "zevutil/CZevVersionID.h"

using namespace zev;
using zevtest::Bytes;

namespace {
std::type_index TypeOf(const CObSeqID& id) { return std::type_index(typeid(id)); }
template <class T>
std::type_index Type() {
  return std::type_index(typeid(T));
}
}  // namespace

TEST(CObSeqIDFactory, ByNumber) {
  struct Case {
    LONG type;
    std::type_index cls;
    const char* name;
  };
  const Case cases[] = {
      {1002, Type<CAnalysisParametersID>(), "DefaultSequenceAnalysisParameters"},
      {1007, Type<CTemplateID>(), ""},
      {3001, Type<CMethodID>(), "Default"},
      {10000, Type<CSampleID>(), ""},
      {10001, Type<CSampleDataID>(), ""},
      {10002, Type<CSequenceResultID>(), ""},
      {10006, Type<CGalvoScanDataID>(), ""},
      {10008, Type<CObSeqID>(), ""},  // only the copying factory knows 10008
      {11001, Type<CColorCalibID>(), "DefaultColorCalibration"},
      {11002, Type<CMobilityCalibID>(), "DefaultMobilityCalibration"},
      {14000, Type<CSampleTableID>(), "Default"},
      {14010, Type<CSampleTableResultID>(), "Default"},
      {16001, Type<CObSeqID>(), ""},  // not in the factory
      {41001, Type<CProjectID>(), ""},
      {8000, Type<CInstrumentID>(), "Default"},
      {8123, Type<CInstrumentID>(), "Default"},
      {8999, Type<CInstrumentID>(), "Default"},
      {9000, Type<CObSeqID>(), ""},
      {-8000, Type<CObSeqID>(), ""},
      {5002, Type<CObSeqID>(), ""},  // system and version are not built by number
      {5006, Type<CObSeqID>(), ""},
      {5, Type<CObSeqID>(), ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.type);
    std::unique_ptr<CObSeqID> id(CObSeqID::CreateNewID(c.type));
    ASSERT_TRUE(id);
    EXPECT_EQ(TypeOf(*id), c.cls);
    EXPECT_EQ(id->ObType, c.type);
    EXPECT_STREQ(id->ObName, c.name);
    EXPECT_EQ(id->ObToken, c.type / 1000 == 8 ? 8000 : -1);
  }
}

TEST(CObSeqIDFactory, ByToken) {
  struct Case {
    const char* token;
    bool made;
    std::type_index cls;
    LONG type;
    const char* name;
  };
  const Case cases[] = {
      {"10000 SAMPLE.A1 x", true, Type<CSampleID>(), 10000, "SAMPLE.A1 x"},
      {"10001", true, Type<CSampleDataID>(), 10001, ""},  // no name: empty, not refused
      {"8123 Unit 4", true, Type<CInstrumentID>(), 8123, "Unit 4"},
      {"5006 Suite", true, Type<CObSeqID>(), 5006, "Suite"},
      {"  3001 M", true, Type<CMethodID>(), 3001, "M"},
      {"0 Zero", false, Type<CObSeqID>(), 0, nullptr},
      {"Sample", false, Type<CObSeqID>(), 0, nullptr},
      {"", false, Type<CObSeqID>(), 0, nullptr},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.token);
    std::unique_ptr<CObSeqID> id(CObSeqID::CreateNewID(c.token));
    ASSERT_EQ(bool(id), c.made);
    if (!id) continue;
    EXPECT_EQ(TypeOf(*id), c.cls);
    EXPECT_EQ(id->ObType, c.type);
    EXPECT_STREQ(id->ObName, c.name);
  }
  EXPECT_EQ(CObSeqID::CreateNewID(static_cast<const char*>(nullptr)), nullptr);
}

TEST(CObSeqIDFactory, CopiesKeepTheirClassAndFields) {
  CSequenceResultID result("R");
  result.ResultMajor = 4;
  CSequenceResultID second(result);
  second.ObType = 10008;
  CSampleID sample("S");
  sample.ResultType = 10002;
  sample.SampleData.SetObName("D");
  CZevVersionID version;
  struct Case {
    const char* what;
    const CObSeqID* source;
    std::type_index cls;
    LONG type;
  };
  CObSeqID plain10008("P", 1, 10008, 0), plain10000("P", 1, 10000, 0), plain8123("P", 1, 8123, 0);
  const Case cases[] = {
      {"sample", &sample, Type<CSampleID>(), 10000},
      {"result", &result, Type<CSequenceResultID>(), 10002},
      {"second result kind", &second, Type<CSequenceResultID>(), 10008},
      {"plain 10008", &plain10008, Type<CSequenceResultID>(), 10008},
      {"plain 10000", &plain10000, Type<CSampleID>(), 10000},
      {"plain 8123", &plain8123, Type<CInstrumentID>(), 8123},
      {"version", &version, Type<CObSeqID>(), 5006},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::unique_ptr<CObSeqID> copy(CObSeqID::CreateNewID(c.source));
    ASSERT_TRUE(copy);
    EXPECT_EQ(TypeOf(*copy), c.cls);
    EXPECT_EQ(copy->ObType, c.type);
    EXPECT_STREQ(copy->ObName, c.source->ObName);
    EXPECT_EQ(copy->ObToken, c.source->ObToken);
  }
  std::unique_ptr<CObSeqID> copy(CObSeqID::CreateNewID(&second));
  EXPECT_EQ(static_cast<CSequenceResultID&>(*copy).ResultMajor, 4);
  copy.reset(CObSeqID::CreateNewID(&sample));
  EXPECT_EQ(static_cast<CSampleID&>(*copy).ResultType, 10002);
  EXPECT_STREQ(static_cast<CSampleID&>(*copy).SampleData.ObName, "D");
  EXPECT_EQ(CObSeqID::CreateNewID(static_cast<const CObSeqID*>(nullptr)), nullptr);
}

TEST(CObSeqIDFamily, DefaultsOfEachClass) {
  struct Case {
    const char* what;
    std::function<CObSeqID*()> make;
    LONG type;
    const char* name;
  };
  const Case cases[] = {
      {"analysis parameters", [] { return new CAnalysisParametersID; }, 1002, "DefaultSequenceAnalysisParameters"},
      {"analysis parameters, null name", [] { return new CAnalysisParametersID(nullptr); }, 1002, "Default"},
      {"analysis parameters, index", [] { return new CAnalysisParametersID("A", 3); }, 1002, "A"},
      {"template", [] { return new CTemplateID; }, 1007, ""},
      {"method", [] { return new CMethodID; }, 3001, "Default"},
      {"colour calibration", [] { return new CColorCalibID; }, 11001, "DefaultColorCalibration"},
      {"mobility calibration", [] { return new CMobilityCalibID("M"); }, 11002, "M"},
      {"sample table", [] { return new CSampleTableID("B", "S"); }, 14000, ""},
      {"sample table result", [] { return new CSampleTableResultID(CSampleTableID("T", 2)); }, 14010, "T"},
      {"property set", [] { return new CSamplePropertySetID; }, 16001, ""},
      {"project", [] { return new CProjectID("P"); }, 41001, "P"},
      {"galvo scan", [] { return new CGalvoScanDataID; }, 10006, ""},
      {"sequence result", [] { return new CSequenceResultID("R", "B", "S"); }, 10002, "R"},
      {"sample data", [] { return new CSampleDataID("D", 1, "B", "S"); }, 10001, "D"},
      {"sample", [] { return new CSampleID("S", 2); }, 10000, "S"},
      {"instrument", [] { return new CInstrumentID(8123, nullptr); }, 8123, "Default"},
      {"version", [] { return new CZevVersionID; }, 5006, "Software Version Alpha 0"},
      {"system", [] { return new CSystemID; }, 8000, "Default"},  // the constructors' 5002 does not stay
      {"system with number", [] { return new CSystemID(5002, "Sys"); }, 8000, "Sys"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::unique_ptr<CObSeqID> id(c.make());
    EXPECT_EQ(id->ObType, c.type);
    EXPECT_STREQ(id->ObName, c.name);
    EXPECT_EQ(id->ObSeqType(), 0);
    // A copy takes the number of its source: assignment follows the constructor.
    std::unique_ptr<CObSeqID> clone(id->CloneID());
    EXPECT_EQ(TypeOf(*clone), TypeOf(*id));
    EXPECT_EQ(clone->ObType, c.type);
    EXPECT_TRUE(*clone == *id);
  }
}

TEST(CObSeqIDFamily, OwnSetDefaultValues) {
  CColorCalibID colour("Mine");
  colour.SetObBarCode("kept");
  colour.ObToken = 5;
  colour.SetDefaultValues();
  EXPECT_STREQ(colour.ObName, "DefaultColorCalibration");
  EXPECT_STREQ(colour.ObBarCode, "kept");
  EXPECT_EQ(colour.ObToken, -1);
  EXPECT_EQ(colour.ObType, 11001);

  CTemplateID tmpl("T");
  tmpl.ObType = 1;
  tmpl.SetDefaultValues();
  EXPECT_STREQ(tmpl.ObName, "");
  EXPECT_EQ(tmpl.ObType, 1007);

  CSampleTableID table("T");
  table.ObType = 1;
  table.SetDefaultID(nullptr);
  EXPECT_STREQ(table.ObName, "Default");
  EXPECT_EQ(table.ObType, 14000);

  CSampleID sample("S");
  sample.ResultType = 10002;
  sample.ResultMajor = 3;
  sample.SampleData.SetObName("D");
  sample.SetDefaultValues();
  EXPECT_EQ(sample.ObType, 10000);
  EXPECT_EQ(sample.ResultType, 0);
  EXPECT_EQ(sample.ResultMajor, 0);
  EXPECT_STREQ(sample.SampleData.ObName, "");
}

TEST(CObSeqIDFamily, CopyIDByTypeNumber) {
  CSampleID sample("S");
  sample.ResultType = 10002;
  CSequenceResultID second("R");
  second.ObType = 10008;
  second.ResultMajor = 6;
  struct Case {
    const char* what;
    const CObSeqID* from;
    std::function<CObSeqID*()> target;
    const char* name;
    LONG type;
    std::function<void(const CObSeqID&)> extra;
  };
  const Case cases[] = {
      {"sample to another type: nothing", &sample, [] { return new CSampleDataID("T"); }, "T", 10001, nullptr},
      {"sample to a sample: everything", &sample, [] { return new CSampleID("T"); }, "S", 10000,
       [](const CObSeqID& t) { EXPECT_EQ(static_cast<const CSampleID&>(t).ResultType, 10002); }},
      {"result to another type: its identifier and number", &second, [] { return new CSampleDataID("T"); }, "R",
       10008, [](const CObSeqID& t) { EXPECT_EQ(static_cast<const CSampleDataID&>(t).ResultMajor, 0); }},
      {"result to the same number: everything", &second,
       [] {
         auto* r = new CSequenceResultID("T");
         r->ObType = 10008;
         return r;
       },
       "R", 10008, [](const CObSeqID& t) { EXPECT_EQ(static_cast<const CSequenceResultID&>(t).ResultMajor, 6); }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::unique_ptr<CObSeqID> target(c.target());
    c.from->CopyID(*target);
    EXPECT_STREQ(target->ObName, c.name);
    EXPECT_EQ(target->ObType, c.type);
    if (c.extra) c.extra(*target);
  }
}

TEST(CObSeqIDFamily, SampleConversions) {
  CSampleDataID data("D", 1);
  data.ResultMajor = 4;
  CSampleID fromData(data);
  EXPECT_EQ(fromData.ObType, 10000);
  EXPECT_EQ(fromData.ResultType, 10001);
  EXPECT_STREQ(fromData.ObName, "D");
  EXPECT_EQ(fromData.ResultMajor, 4);
  EXPECT_TRUE(fromData.SampleData == data);

  CSequenceResultID result("R");
  result.ResultMinor = 9;
  CSampleID fromResult(result);
  EXPECT_EQ(fromResult.ResultType, 10002);
  EXPECT_EQ(fromResult.SampleData.ObType, 10001);
  EXPECT_STREQ(fromResult.SampleData.ObName, "R");
  EXPECT_EQ(fromResult.SampleData.ResultMinor, 9);

  // Back to a result: the whole result part, the sample's number included.
  std::unique_ptr<CSequenceResultID> back(fromResult.CreateSequenceResultID());
  EXPECT_EQ(back->ObType, 10000);
  EXPECT_EQ(back->ResultMinor, 9);
  CSequenceResultID byValue = fromResult;
  EXPECT_EQ(byValue.ObType, 10000);
  std::unique_ptr<CSampleDataID> dataBack(fromData.CreateSampleDataID());
  EXPECT_TRUE(*dataBack == data);
  EXPECT_EQ(CSampleDataID(fromData).ResultMajor, 4);

  // SetResultIDs takes the identifier part only.
  CSampleID set("old");
  set.ResultMajor = 1;
  set.SetResultIDs(result, data);
  EXPECT_STREQ(set.ObName, "R");
  EXPECT_EQ(set.ObType, 10000);
  EXPECT_EQ(set.ResultType, 10002);
  EXPECT_EQ(set.ResultMinor, 0);
  EXPECT_EQ(set.ResultMajor, 1);
  EXPECT_TRUE(set.SampleData == data);

  CSequenceResultID kept(data);  // keeps the number of its source
  EXPECT_EQ(kept.ObType, 10001);
}

TEST(CObSeqIDStoredForm, SampleResultsAddMajorThenMinor) {
  CSampleDataID data("D");
  data.ObToken = 3;
  data.ResultMajor = 2;
  data.ResultMinor = 0x01020304;
  const std::vector<BYTE> expected = Bytes({0x11, 0x27, 0, 0, 1, 'D', 3, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 4, 3, 2, 1});
  EXPECT_EQ(zevtest::StoredBytes(data), expected);
  auto back = zevtest::LoadID(expected);
  ASSERT_TRUE(back);
  ASSERT_EQ(TypeOf(*back), Type<CSampleDataID>());
  EXPECT_EQ(static_cast<CSampleDataID&>(*back).ResultMajor, 2);
  EXPECT_EQ(static_cast<CSampleDataID&>(*back).ResultMinor, 0x01020304);

  // A sample stores no ResultType and no SampleData.
  CSampleID sample(CSequenceResultID("S"));
  sample.ResultMajor = 7;
  std::vector<BYTE> stored = zevtest::StoredBytes(sample);
  EXPECT_EQ(stored.size(), 4 + 2 + 4 + 4 + 8u);
  auto loaded = zevtest::LoadID(stored);
  ASSERT_TRUE(loaded);
  ASSERT_EQ(TypeOf(*loaded), Type<CSampleID>());
  const auto& s = static_cast<const CSampleID&>(*loaded);
  EXPECT_EQ(s.ResultType, 0);
  EXPECT_EQ(s.ResultMajor, 7);
  EXPECT_TRUE(s.SampleData == CSampleDataID());

  // Storing through the factory makes a default identifier.
  CMemArchive ar(CArchive::store);
  std::unique_ptr<CObSeqID> made(CObSeqID::CreateNewID(ar));
  EXPECT_EQ(TypeOf(*made), Type<CObSeqID>());
  EXPECT_EQ(made->ObType, -1);
}

namespace {
struct Orders {
  bool lt, le, gt, ge;
};
Orders OrdersOf(const CObSeqID& a, const CObSeqID& b) { return {a < b, a <= b, a > b, a >= b}; }
void ExpectOrders(const Orders& got, const Orders& want) {
  EXPECT_EQ(got.lt, want.lt) << "<";
  EXPECT_EQ(got.le, want.le) << "<=";
  EXPECT_EQ(got.gt, want.gt) << ">";
  EXPECT_EQ(got.ge, want.ge) << ">=";
}
constexpr Orders kLess{true, true, false, false};
constexpr Orders kGreater{false, false, true, true};
constexpr Orders kSame{false, true, false, true};
}  // namespace

TEST(CObSeqIDOrdering, SampleResults) {
  struct Case {
    const char* what;
    std::function<void(CSampleDataID&, CSampleDataID&)> setup;
    Orders expected;
  };
  const Case cases[] = {
      {"major decides", [](CSampleDataID& a, CSampleDataID& b) { a.ResultMajor = 1; b.ResultMajor = 2; }, kLess},
      {"then minor", [](CSampleDataID& a, CSampleDataID& b) { a.ResultMinor = 1; b.ResultMinor = 0; }, kGreater},
      {"all equal", [](CSampleDataID&, CSampleDataID&) {}, kSame},
      {"identifiers differ: the base ordering",
       [](CSampleDataID& a, CSampleDataID& b) { a.SetObName("a"); b.SetObName("b"); a.ResultMajor = 9; }, kLess},
      // Same keys but different identifiers: <= answers as the base <.
      {"bar codes differ", [](CSampleDataID&, CSampleDataID& b) { b.SetObBarCode("x"); }, {false, false, false, true}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    CSampleDataID a("same"), b("same");
    c.setup(a, b);
    ExpectOrders(OrdersOf(a, b), c.expected);                    // through the virtual operators
    ExpectOrders({a < b, a <= b, a > b, a >= b}, c.expected);  // the non-virtual set directly
  }
  CSampleDataID data("z");
  CSequenceResultID result("a");
  ExpectOrders(OrdersOf(data, result), kLess);  // other types: number 10001 before 10002
}

TEST(CObSeqIDOrdering, SamplesSortByResultTypeFromHighToLow) {
  struct Case {
    const char* what;
    std::function<CObSeqID*()> other;
    std::function<void(CSampleID&)> setup;
    Orders expected;
  };
  auto sample = [](const char* name, const char* data, LONG resultType) {
    auto* s = new CSampleID(name);
    s->SampleData.SetObName(data);
    s->ResultType = resultType;
    return s;
  };
  const Case cases[] = {
      {"not a result: the base ordering", [] { return new CMethodID("m"); }, nullptr, kGreater},
      {"a result type below this one's", [] { return new CSampleDataID("d"); },
       [](CSampleID& s) { s.ResultType = 10002; }, kLess},
      {"a result type above this one's", [] { return new CSampleDataID("d"); }, nullptr, kGreater},
      {"the same result type", [] { return new CSampleDataID("d"); }, [](CSampleID& s) { s.ResultType = 10001; },
       kSame},
      {"sample data differ", [&] { return sample("a", "D2", 0); },
       [](CSampleID& s) { s.SetObName("z"); s.SampleData.SetObName("D1"); }, kLess},
      {"own data named as itself", [&] { return sample("b", "D", 10006); },
       [](CSampleID& s) { s.SetObName("D"); s.SampleData.SetObName("D"); s.ResultType = 1; }, kLess},
      {"higher result type first", [&] { return sample("b", "D", 10006); },
       [](CSampleID& s) { s.SetObName("a"); s.SampleData.SetObName("D"); s.ResultType = 10002; }, kGreater},
      {"then the result keys", [&] { return sample("b", "D", 10002); },
       [](CSampleID& s) { s.SetObName("b"); s.SampleData.SetObName("D"); s.ResultType = 10002; s.ResultMajor = 1; },
       kGreater},
      {"a 10000 that is no sample", [] { return new CObSeqID("a", 1, 10000, 0); },
       [](CSampleID& s) { s.SetObName("b"); }, kGreater},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::unique_ptr<CObSeqID> other(c.other());
    CSampleID s("s");
    if (c.setup) c.setup(s);
    ExpectOrders(OrdersOf(s, *other), c.expected);
  }
}
