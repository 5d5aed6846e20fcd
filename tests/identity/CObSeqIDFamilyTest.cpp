// The identifier family: the factories, default names and numbers, copies, the
// stored form of the sample results, and the orderings of results and samples.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <typeindex>
#include <vector>

#include "IdentityTestUtil.h"
#include "zevutil/CZevVersionID.h"

using namespace zev;
using zevtest::Bytes;

namespace {
template <class T>
std::type_index Type() {
  return std::type_index(typeid(T));
}
std::type_index TypeOf(const CObSeqID& id) { return std::type_index(typeid(id)); }
}  // namespace

TEST(CObSeqIDFactory, ByNumberAndByToken) {
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
      {8123, Type<CInstrumentID>(), "Default"},
      {8999, Type<CInstrumentID>(), "Default"},
      {9000, Type<CObSeqID>(), ""},
      {5006, Type<CObSeqID>(), ""},  // version and system are not built by number
      {5, Type<CObSeqID>(), ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.type);
    std::unique_ptr<CObSeqID> id(CObSeqID::CreateNewID(c.type));
    EXPECT_EQ(TypeOf(*id), c.cls);
    EXPECT_EQ(id->ObType, c.type);
    EXPECT_STREQ(id->ObName, c.name);
    // The same through a token, which names it.
    std::string token = std::to_string(c.type) + " N 1";
    std::unique_ptr<CObSeqID> named(CObSeqID::CreateNewID(token.c_str()));
    EXPECT_EQ(TypeOf(*named), c.cls);
    EXPECT_EQ(named->ObType, c.type);
    EXPECT_STREQ(named->ObName, "N 1");
  }
  for (const char* token : {"0 Zero", "Sample", "", static_cast<const char*>(nullptr)})
    EXPECT_EQ(CObSeqID::CreateNewID(token), nullptr) << (token ? token : "(null)");
  std::unique_ptr<CObSeqID> unnamed(CObSeqID::CreateNewID("10001"));
  EXPECT_STREQ(unnamed->ObName, "");
}

TEST(CObSeqIDFactory, CopiesKeepTheirClassAndFields) {
  CSequenceResultID second("R");
  second.ObType = 10008;
  second.ResultMajor = 4;
  CSampleID sample("S");
  sample.ResultType = 10002;
  CObSeqID plain10008("P", 1, 10008, 0), plain10000("P", 1, 10000, 0), plain8123("P", 1, 8123, 0);
  CZevVersionID version;
  const std::tuple<const CObSeqID*, std::type_index, LONG> cases[] = {
      {&sample, Type<CSampleID>(), 10000},
      {&second, Type<CSequenceResultID>(), 10008},
      {&plain10008, Type<CSequenceResultID>(), 10008},
      {&plain10000, Type<CSampleID>(), 10000},
      {&plain8123, Type<CInstrumentID>(), 8123},
      {&version, Type<CObSeqID>(), 5006},
  };
  for (const auto& [source, cls, type] : cases) {
    SCOPED_TRACE(source->ObName);
    std::unique_ptr<CObSeqID> copy(CObSeqID::CreateNewID(source));
    EXPECT_EQ(TypeOf(*copy), cls);
    EXPECT_EQ(copy->ObType, type);
    EXPECT_STREQ(copy->ObName, source->ObName);
    EXPECT_EQ(copy->ObToken, source->ObToken);
  }
  std::unique_ptr<CObSeqID> copy(CObSeqID::CreateNewID(&second));
  EXPECT_EQ(static_cast<CSequenceResultID&>(*copy).ResultMajor, 4);
  EXPECT_EQ(CObSeqID::CreateNewID(static_cast<const CObSeqID*>(nullptr)), nullptr);
}

TEST(CObSeqIDFamily, ConstructorsAndClonesKeepTheNumber) {
  const std::tuple<std::function<CObSeqID*()>, LONG, const char*> cases[] = {
      {[] { return new CAnalysisParametersID(nullptr); }, 1002, "Default"},
      {[] { return new CMobilityCalibID("M", 2); }, 11002, "M"},
      {[] { return new CSampleTableID("B", "S"); }, 14000, ""},  // bar code and subject
      {[] { return new CSampleTableResultID(CSampleTableID("T")); }, 14010, "T"},
      {[] { return new CSamplePropertySetID; }, 16001, ""},
      {[] { return new CInstrumentID(8123, nullptr); }, 8123, "Default"},
      {[] { return new CSystemID(5002, "Sys"); }, 8000, "Sys"},  // a system carries 8000
  };
  for (const auto& [make, type, name] : cases) {
    std::unique_ptr<CObSeqID> id(make());
    SCOPED_TRACE(type);
    EXPECT_EQ(id->ObType, type);
    EXPECT_STREQ(id->ObName, name);
    std::unique_ptr<CObSeqID> clone(id->CloneID());
    EXPECT_EQ(TypeOf(*clone), TypeOf(*id));
    EXPECT_TRUE(*clone == *id);
  }
  CColorCalibID colour("Mine");  // its own defaults leave the bar code
  colour.SetObBarCode("kept");
  colour.SetDefaultValues();
  EXPECT_STREQ(colour.ObName, "DefaultColorCalibration");
  EXPECT_STREQ(colour.ObBarCode, "kept");
}

TEST(CObSeqIDFamily, CopyIDByTypeNumber) {
  CSampleID sample("S");
  sample.ResultType = 10002;
  CSequenceResultID second("R");
  second.ObType = 10008;
  second.ResultMajor = 6;
  auto result10008 = [] {
    auto* r = new CSequenceResultID("T");
    r->ObType = 10008;
    return static_cast<CObSeqID*>(r);
  };
  struct Case {
    const char* what;
    const CObSeqID* from;
    std::function<CObSeqID*()> target;
    const char* name;
    LONG type;
    LONG extra;  // ResultType of a sample target, ResultMajor of a result target
  };
  const Case cases[] = {
      {"sample to another type: nothing", &sample, [] { return new CSampleDataID("T"); }, "T", 10001, 0},
      {"sample to a sample: everything", &sample, [] { return new CSampleID("T"); }, "S", 10000, 10002},
      {"result to another type: identifier and number", &second, [] { return new CSampleDataID("T"); }, "R", 10008, 0},
      {"result to its number: everything", &second, result10008, "R", 10008, 6},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::unique_ptr<CObSeqID> target(c.target());
    c.from->CopyID(*target);
    EXPECT_STREQ(target->ObName, c.name);
    EXPECT_EQ(target->ObType, c.type);
    if (auto* s = dynamic_cast<CSampleID*>(target.get())) {
      EXPECT_EQ(s->ResultType, c.extra);
    } else if (auto* r = dynamic_cast<CSampleResultID*>(target.get())) {
      EXPECT_EQ(r->ResultMajor, c.extra);
    }
  }
}

TEST(CObSeqIDFamily, SampleConversions) {
  CSampleDataID data("D", 1);
  data.ResultMajor = 4;
  CSampleID fromData(data);
  EXPECT_EQ(fromData.ObType, 10000);
  EXPECT_EQ(fromData.ResultType, 10001);
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

  CSampleID set("old");  // SetResultIDs takes the identifier part only
  set.ResultMajor = 1;
  set.SetResultIDs(result, data);
  EXPECT_STREQ(set.ObName, "R");
  EXPECT_EQ(set.ResultType, 10002);
  EXPECT_EQ(set.ResultMinor, 0);
  EXPECT_EQ(set.ResultMajor, 1);
  EXPECT_TRUE(set.SampleData == data);
  EXPECT_EQ(CSequenceResultID(data).ObType, 10001);  // keeps the number of its source
}

TEST(CObSeqIDStoredForm, SampleResultsAddMajorThenMinor) {
  CSampleDataID data("D");
  data.ObToken = 3;
  data.ResultMajor = 2;
  data.ResultMinor = 0x01020304;
  const std::vector<BYTE> expected = Bytes({0x11, 0x27, 0, 0, 1, 'D', 3, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 4, 3, 2, 1});
  EXPECT_EQ(zevtest::StoredBytes(data), expected);
  auto back = zevtest::LoadID(expected);
  ASSERT_EQ(TypeOf(*back), Type<CSampleDataID>());
  EXPECT_EQ(static_cast<CSampleDataID&>(*back).ResultMinor, 0x01020304);

  // A sample stores no ResultType and no SampleData.
  CSampleID sample(CSequenceResultID("S"));
  sample.ResultMajor = 7;
  auto loaded = zevtest::LoadID(zevtest::StoredBytes(sample));
  ASSERT_EQ(TypeOf(*loaded), Type<CSampleID>());
  const auto& s = static_cast<const CSampleID&>(*loaded);
  EXPECT_EQ(s.ResultType, 0);
  EXPECT_EQ(s.ResultMajor, 7);
  EXPECT_TRUE(s.SampleData == CSampleDataID());

  CMemArchive ar(CArchive::store);  // storing, the factory makes a default identifier
  std::unique_ptr<CObSeqID> made(CObSeqID::CreateNewID(ar));
  EXPECT_EQ(TypeOf(*made), Type<CObSeqID>());
}

namespace {
struct Orders {
  bool lt, le, gt, ge;
  bool operator==(const Orders&) const = default;
};
Orders OrdersOf(const CObSeqID& a, const CObSeqID& b) { return {a < b, a <= b, a > b, a >= b}; }
void PrintTo(const Orders& o, std::ostream* os) { *os << "< " << o.lt << " <= " << o.le << " > " << o.gt << " >= " << o.ge; }
constexpr Orders kLess{true, true, false, false}, kGreater{false, false, true, true}, kSame{false, true, false, true};
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
      // Same keys, different identifiers: <= answers as the base <.
      {"bar codes differ", [](CSampleDataID&, CSampleDataID& b) { b.SetObBarCode("x"); }, {false, false, false, true}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    CSampleDataID a("same"), b("same");
    c.setup(a, b);
    EXPECT_EQ(OrdersOf(a, b), c.expected);                           // the virtual operators
    EXPECT_EQ(Orders({a < b, a <= b, a > b, a >= b}), c.expected);  // the result set directly
  }
  EXPECT_EQ(OrdersOf(CSampleDataID("z"), CSequenceResultID("a")), kLess);  // another number: 10001 first
}

TEST(CObSeqIDOrdering, SamplesSortByResultTypeFromHighToLow) {
  auto sample = [](const char* name, const char* data, LONG resultType) {
    auto* s = new CSampleID(name);
    s->SampleData.SetObName(data);
    s->ResultType = resultType;
    return static_cast<CObSeqID*>(s);
  };
  struct Case {
    const char* what;
    std::function<CObSeqID*()> other;
    const char *name, *data;
    LONG resultType, major;
    Orders expected;
  };
  const Case cases[] = {
      {"not a result: the base ordering", [] { return new CMethodID("m"); }, "s", "", 0, 0, kGreater},
      {"a lower result type", [] { return new CSampleDataID("d"); }, "s", "", 10002, 0, kLess},
      {"a higher result type", [] { return new CSampleDataID("d"); }, "s", "", 0, 0, kGreater},
      {"the same result type", [] { return new CSampleDataID("d"); }, "s", "", 10001, 0, kSame},
      {"sample data differ", [&] { return sample("a", "D2", 0); }, "z", "D1", 0, 0, kLess},
      {"own data named as itself", [&] { return sample("b", "D", 10006); }, "D", "D", 1, 0, kLess},
      {"higher result type first", [&] { return sample("b", "D", 10006); }, "a", "D", 10002, 0, kGreater},
      {"then the result keys", [&] { return sample("b", "D", 10002); }, "b", "D", 10002, 1, kGreater},
      {"a 10000 that is no sample", [] { return new CObSeqID("a", 1, 10000, 0); }, "b", "", 0, 0, kGreater},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::unique_ptr<CObSeqID> other(c.other());
    CSampleID s(c.name);
    s.SampleData.SetObName(c.data);
    s.ResultType = c.resultType;
    s.ResultMajor = c.major;
    EXPECT_EQ(OrdersOf(s, *other), c.expected);
  }
}
