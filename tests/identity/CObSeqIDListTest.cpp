// Identifier lists and the owning containers: sorted insert, searches, tree levels,
// ownership and cloning, and unique map keys.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "zevutil/CObSeqIDList.h"

using namespace zev;

namespace {

int IndexOf(const CObSeqIDList& list, POSITION pos) {
  int i = 0;
  for (POSITION p = list.GetHeadPosition(); p && pos; ++i, list.GetNext(p))
    if (p == pos) return i;
  return -1;
}

std::vector<LONG> Tokens(const CObSeqIDList& list) {
  std::vector<LONG> out;
  for (POSITION p = list.GetHeadPosition(); p;) out.push_back(list.GetNext(p)->ObToken);
  return out;
}

// An element that logs its destruction.
struct Tracked : CObSeq {
  Tracked(std::vector<int>* log, int id) : log(log), id(id) {}
  ~Tracked() override { log->push_back(id); }
  std::vector<int>* log;
  int id;
};

}  // namespace

TEST(CObSeqIDList, InsertKeepsAscendingOrderAndArrivalAmongEquals) {
  struct Case {
    const char* what;
    std::vector<CObSeqID> inserted;
    std::vector<LONG> tokens;
  };
  const std::vector<Case> cases = {
      {"by index, then type, then name",
       {CObSeqID("b", 1, 3001, 2), CObSeqID("a", 2, 3001, 2), CObSeqID("z", 3, 1002, 2), CObSeqID("z", 4, 9, 1)},
       {4, 3, 2, 1}},
      {"equal keys in order of arrival", {CObSeqID("a", 1, 1, 0), CObSeqID("a", 2, 1, 0), CObSeqID("a", 3, 1, 0)},
       {1, 2, 3}},
      {"flag bits do not count", {CObSeqID("a", 1, 1, 0x01000000), CObSeqID("a", 2, 1, 0)}, {1, 2}},
      {"locale order of names", {CObSeqID("B", 1, 1, 0), CObSeqID("a", 2, 1, 0), CObSeqID("_", 3, 1, 0)}, {3, 2, 1}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    CObSeqIDList list;
    for (const CObSeqID& id : c.inserted) EXPECT_NE(list.GetAt(list.Insert(&id)), &id);  // a clone goes in
    EXPECT_EQ(Tokens(list), c.tokens);
  }
}

TEST(CObSeqIDList, SearchesFromTheHead) {
  CObSeqIDList list;
  CObSeqID e0("alpha", 10, 3001, 0x01000003), e1("Beta", 11, 1002, 7), e2("alpha", 12, 3001, 3),
      e3("BETA", 13, 1002, 0x01000007);
  std::strcpy(e0.DatabaseName, "DB");
  for (CObSeqID* e : {&e0, &e1, &e2, &e3}) list.AddTail(new CObSeqID(*e));
  list.AddTail(static_cast<CObSeqID*>(nullptr));  // null elements are skipped
  const POSITION p0 = list.FindIndex(0), p1 = list.FindIndex(1);
  CObSeqID match(e2);
  match.ObToken = 99;
  match.ObAttrFlags |= 0x10000000;
  const std::tuple<const char*, POSITION, int> cases[] = {
      {"token", list.FindToken(12), 2},
      {"whole flags", list.FindObIndex(7), 1},
      {"type", list.FindType(1002), 1},
      {"name", list.FindName("alpha"), 0},
      {"name is case-sensitive", list.FindName("ALPHA"), -1},
      {"name without case", list.FindNameI("beta"), 1},
      {"flag bits all set", list.FindAttrFlags(3, 0), 0},
      {"flags exact", list.FindAttrFlags(3, 1), 2},
      {"match ignores token and flag bits", list.FindMatch(&match), 2},
      {"next type", list.FindNextType(p1, 1002), 3},
      {"next name", list.FindNextName(p0, "alpha"), 2},
      {"next name without case", list.FindNextNameI(p1, "BETA"), 3},
      {"next flags from null", list.FindNextAttrFlags(nullptr, 3, 0), 0},
      {"next flags", list.FindNextAttrFlags(p0, 3, 0), 1},
      {"next type from null", list.FindNextType(nullptr, 1002), -1},
  };
  for (const auto& [what, found, index] : cases) {
    SCOPED_TRACE(what);
    EXPECT_EQ(IndexOf(list, found), index);
  }
  EXPECT_EQ(list.GetAtName("Beta")->ObToken, 11);
  EXPECT_EQ(list.GetAtToken(1), nullptr);
}

TEST(CObSeqIDList, ReplaceAndTheReversedRemove) {
  CMethodIDList list;
  CMethodID a("a"), b("b");
  a.ObToken = 1;
  b.ObToken = 2;
  list.Insert(&a);
  list.Insert(&b);
  CObSeqID other("new", 5, 3001, 0);
  EXPECT_EQ(list.ReplaceAtToken(2, &other), 1);
  EXPECT_EQ(list.ReplaceAtToken(7, &other), 0);
  EXPECT_EQ(Tokens(list), (std::vector<LONG>{1, 5}));
  EXPECT_NE(dynamic_cast<CMethodID*>(list.GetTail()), nullptr);  // cloned as the list's class
  EXPECT_EQ(list.RemoveAtToken(1), 0);  // kept: reversed, and nothing is removed
  EXPECT_EQ(list.RemoveAtToken(9), 1);
  EXPECT_EQ(list.GetCount(), 2);
}

TEST(CObSeqIDList, NodeLevels) {
  CObSeqIDList list;
  POSITION leveled = list.AddTail(new CObSeqID("a", 0x0305, 1, OBATTR_NODELEVEL));
  POSITION plain = list.AddTail(new CObSeqID("b", 7, 1, 0));
  CObSeqID outside;
  EXPECT_EQ(list.GetNodeLevel(leveled), 5);
  EXPECT_EQ(list.GetNodeLevel(plain), 1);
  EXPECT_EQ(list.GetNodeLevel(POSITION(nullptr)), 10000);
  EXPECT_EQ(list.GetNodeLevel(&outside), 10000);

  // A sample list marks a sample on first sight: 2 when the next one's data differ.
  CSampleIDList samples;
  const char* data[] = {"D1", "D2", "D2"};
  std::vector<POSITION> at;
  for (int i = 0; i < 3; ++i) {
    CSampleID s("s");
    s.SampleData.SetObName(data[i]);
    s.ObToken = i == 2 ? 0x0104 : -1;
    at.push_back(samples.AddTail(new CSampleID(s)));
  }
  at.push_back(samples.AddTail(new CMethodID("m")));
  const std::tuple<const char*, POSITION, int> cases[] = {
      {"data differ from the next", at[0], 2},
      {"marked now: the token's low byte", at[0], 0xFF},
      {"next has the same data", at[1], 1},
      {"next is no sample", at[2], 1},
      {"second look", at[2], 4},
      {"not a sample", at[3], 1},
  };
  for (const auto& [what, pos, level] : cases) {
    SCOPED_TRACE(what);
    EXPECT_EQ(samples.GetNodeLevel(pos), level);
  }
  // FindNextSampleData walks on behind each find.
  samples.AddTail(static_cast<CObSeqID*>(nullptr));
  samples.GetAt(at[2])->ObToken = 2;
  CSampleDataID want("D2");
  POSITION pos = nullptr;
  std::vector<LONG> found;
  while (CSampleID* s = samples.FindNextSampleData(pos, &want)) found.push_back(s->ObToken);
  EXPECT_EQ(found, (std::vector<LONG>{-1, 2}));
  EXPECT_EQ(pos, nullptr);
}

TEST(CObSeqIDList, CopiesCloneAndCarryTheListAttributes) {
  CInstrumentIDList source;
  source.ListParam1 = 3;
  source.ListID.SetObName("instruments");
  CInstrumentID unit(8123, "Unit");
  CObSeqID foreign("F", 1, 8000, 0);
  source.Insert(&unit);
  source.Insert(&foreign);  // becomes an instrument identifier
  CInstrumentIDList copy(source);
  EXPECT_EQ(copy.ListParam1, 3);
  EXPECT_STREQ(copy.ListID.ObName, "instruments");
  EXPECT_EQ(Tokens(copy), Tokens(source));
  for (POSITION p = copy.GetHeadPosition(), q = source.GetHeadPosition(); p;) {
    CObSeqID* a = copy.GetNext(p);
    EXPECT_NE(a, source.GetNext(q));
    EXPECT_NE(dynamic_cast<CInstrumentID*>(a), nullptr);
  }
  CObSeqIDList target;
  target.AddTail(new CObSeqID("old"));
  static_cast<const CSeqList&>(copy).CloneList(&target);  // through the typed-list protocol
  EXPECT_EQ(Tokens(target), Tokens(source));

  CMethodQuery query;
  CMethodIDList methods;
  methods.AddTail(new CMethodID("m"));
  EXPECT_EQ(query.DoQuery(methods), 0);
  EXPECT_TRUE(methods.IsEmpty());
}

TEST(CObSeqIDArray, SearchesFromTheUpperBound) {
  CObSeqIDArray array;
  array.Add(new CObSeqID("a", 1, 1, 0));
  array.Add(new CObSeqID("A", 2, 1, 0));
  array.Add(new CObSeqID("a", 1, 1, 0));
  array.Add(new CMethodQuery);  // a CObSeq that is no identifier
  EXPECT_EQ(array.FindToken(1), 2);
  EXPECT_EQ(array.FindName("A"), 1);  // byte-wise
  EXPECT_EQ(array.FindName("b"), -1);
  EXPECT_EQ(array.GetAt(3), nullptr);
  EXPECT_EQ(array.GetAtToken(2), array[1]);
}

TEST(CObSeqContainers, CopiesShareAndTheLastOwnerDestroys) {
  std::vector<int> log;
  {
    CObSeqArray array;
    array.Add(new Tracked(&log, 1));
    array.Add(nullptr);
    {
      CObSeqArray copy(array);
      copy.Add(new Tracked(&log, 2));
    }
    EXPECT_TRUE(log.empty());
    EXPECT_EQ(array.GetSize(), 3);  // the copy shared the container
  }
  EXPECT_EQ(log, (std::vector<int>{2, 1}));  // from the upper bound down
  log.clear();
  {
    CObSeqList list;
    for (int i = 1; i <= 3; ++i) list.AddTail(new Tracked(&log, i));
    CObSeqList shared = list;
    shared.Destroy();  // from the tail
    EXPECT_TRUE(list.IsEmpty());
  }
  EXPECT_EQ(log, (std::vector<int>{3, 2, 1}));
  log.clear();
  {
    CObSeqStack stack;
    stack.Push(new Tracked(&log, 1));
    stack.Push(new Tracked(&log, 2));
    std::unique_ptr<CObSeq> top(stack.Pop());
    EXPECT_EQ(static_cast<Tracked*>(top.get())->id, 2);
    CObSeqStringMap map;
    map.SetAt("a", new Tracked(&log, 3));
  }
  EXPECT_EQ(log, (std::vector<int>{3, 2, 1}));
}

TEST(CObSeqContainers, UniqueMapKeys) {
  const std::tuple<std::vector<WORD>, WORD, BOOL, WORD> words[] = {
      {{}, 5, 1, 5}, {{1}, 5, 1, 5}, {{5, 6}, 5, 1, 8}, {{5}, 5, 1, 7}, {{15998, 15999}, 15998, 0, 15998}};
  for (const auto& [used, start, result, key] : words) {
    SCOPED_TRACE(start);
    CObSeqWordMap map;
    for (WORD k : used) map.SetAt(k, nullptr);
    WORD got = start;
    EXPECT_EQ(map.FindUniqueKey(got), result);
    EXPECT_EQ(got, key);  // kept: the one behind the free value
  }
  std::vector<std::string> all{"key"};
  for (int i = 1; i <= 999; ++i) all.push_back("key:" + std::to_string(i));
  const std::tuple<std::vector<std::string>, BOOL, const char*> strings[] = {
      {{}, 1, "key"}, {{"key", "key:1"}, 1, "key:2"}, {{"key"}, 1, "key:1"}, {all, 0, "key"}};
  for (const auto& [used, result, key] : strings) {
    SCOPED_TRACE(key);
    CObSeqStringMap map;
    CObSeqStringPtrMap ptrs;
    for (const std::string& k : used) {
      map.SetAt(k.c_str(), nullptr);
      ptrs.SetAt(k.c_str(), nullptr);
    }
    char buffer[16] = "key";
    EXPECT_EQ(map.FindUniqueKey(buffer), result);
    EXPECT_STREQ(buffer, key);
    CString text("key");
    EXPECT_EQ(ptrs.FindUniqueKey(text), result);
    EXPECT_STREQ(text, key);
  }
}
