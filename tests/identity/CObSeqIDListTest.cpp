// Identifier lists and the owning containers: sorted insert, searches, tree levels,
// ownership and cloning, and unique map keys.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <typeindex>
#include <vector>

#include "zevutil/CObSeq.h"
#include "zevutil/CObSeqIDList.h"

using namespace zev;

namespace {

// Index of a position in a list, -1 for null.
int IndexOf(const CObSeqIDList& list, POSITION pos) {
  if (!pos) return -1;
  int i = 0;
  for (POSITION p = list.GetHeadPosition(); p; ++i) {
    if (p == pos) return i;
    list.GetNext(p);
  }
  return -2;  // not a position of this list
}

std::vector<LONG> Tokens(const CObSeqIDList& list) {
  std::vector<LONG> out;
  for (POSITION p = list.GetHeadPosition(); p;) out.push_back(list.GetNext(p)->ObToken);
  return out;
}

// An element that records its destruction.
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
      {"locale order of names", {CObSeqID("B", 1, 1, 0), CObSeqID("a", 2, 1, 0), CObSeqID("_", 3, 1, 0)},
       {3, 2, 1}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    CObSeqIDList list;
    for (const CObSeqID& id : c.inserted) {
      POSITION pos = list.Insert(&id);
      EXPECT_NE(list.GetAt(pos), &id);  // a clone went in
      EXPECT_EQ(list.GetAt(pos)->ObToken, id.ObToken);
    }
    EXPECT_EQ(Tokens(list), c.tokens);
  }
  CSampleIDList samples;
  CSampleID sample("S");
  sample.ResultType = 10002;
  samples.Insert(&sample);
  auto* stored = dynamic_cast<CSampleID*>(samples.GetHead());
  ASSERT_NE(stored, nullptr);
  EXPECT_EQ(stored->ResultType, 10002);
  EXPECT_EQ(samples.Insert(nullptr), nullptr);
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
  struct Case {
    const char* what;
    POSITION found;
    int index;
  };
  const Case cases[] = {
      {"token", list.FindToken(12), 2},
      {"missing token", list.FindToken(99), -1},
      {"whole flags", list.FindObIndex(7), 1},
      {"type", list.FindType(1002), 1},
      {"name", list.FindName("alpha"), 0},
      {"name is case-sensitive", list.FindName("ALPHA"), -1},
      {"name without case", list.FindNameI("beta"), 1},
      {"flag bits all set", list.FindAttrFlags(3, 0), 0},
      {"flags exact", list.FindAttrFlags(3, 1), 2},
      {"flags 7 inside 0x01000007", list.FindAttrFlags(7, 0), 1},
      {"match ignores token and flag bits", list.FindMatch(&match), 2},
      {"match needs the database", list.FindMatch(&e0) , 0},
      {"next type", list.FindNextType(p1, 1002), 3},
      {"next name", list.FindNextName(p0, "alpha"), 2},
      {"next name without case", list.FindNextNameI(p1, "BETA"), 3},
      {"next flags from null", list.FindNextAttrFlags(nullptr, 3, 0), 0},
      {"next flags", list.FindNextAttrFlags(p0, 3, 0), 1},
      {"next type from null", list.FindNextType(nullptr, 1002), -1},
      {"null name", list.FindName(nullptr), -1},
      {"null match", list.FindMatch(nullptr), -1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(IndexOf(list, c.found), c.index);
  }
  EXPECT_EQ(list.GetAtName("Beta")->ObToken, 11);
  EXPECT_EQ(list.GetAtToken(13)->ObType, 1002);
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
  EXPECT_EQ(std::type_index(typeid(*list.GetTail())), std::type_index(typeid(CMethodID)));  // cloned as the list's class
  EXPECT_STREQ(list.GetTail()->ObName, "new");
  // The answer is reversed and nothing is ever removed.
  EXPECT_EQ(list.RemoveAtToken(1), 0);
  EXPECT_EQ(list.RemoveAtToken(9), 1);
  EXPECT_EQ(list.GetCount(), 2);
}

TEST(CObSeqIDList, NodeLevels) {
  CObSeqIDList list;
  CObSeqID leveled("a", 0x0305, 1, OBATTR_NODELEVEL), plain("b", 7, 1, 0);
  POSITION pl = list.AddTail(new CObSeqID(leveled));
  POSITION pp = list.AddTail(new CObSeqID(plain));
  EXPECT_EQ(list.GetNodeLevel(pl), 5);
  EXPECT_EQ(list.GetNodeLevel(pp), 1);
  EXPECT_EQ(list.GetNodeLevel(POSITION(nullptr)), 10000);
  EXPECT_EQ(list.GetNodeLevel(list.GetHead()), 5);
  EXPECT_EQ(list.GetNodeLevel(&plain), 10000);  // not an element of the list

  // A sample list marks a sample on first sight: 2 when the next one's data differ.
  CSampleIDList samples;
  CSampleID s1("s1"), s2("s2"), s3("s3");
  s1.SampleData.SetObName("D1");
  s2.SampleData.SetObName("D2");
  s3.SampleData.SetObName("D2");
  s3.ObToken = 0x0104;
  POSITION q1 = samples.AddTail(new CSampleID(s1));
  POSITION q2 = samples.AddTail(new CSampleID(s2));
  POSITION q3 = samples.AddTail(new CSampleID(s3));
  POSITION q4 = samples.AddTail(new CMethodID("m"));
  struct Case {
    const char* what;
    POSITION pos;
    int level;
  };
  const Case cases[] = {
      {"data differ from the next", q1, 2},
      {"marked now: the token's low byte", q1, 0xFF},
      {"next has the same data", q2, 1},
      {"next is no sample", q3, 1},
      {"second look at the third", q3, 4},
      {"not a sample", q4, 1},
      {"null", nullptr, 10000},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(samples.GetNodeLevel(c.pos), c.level);
  }
  EXPECT_TRUE(samples.GetAt(q2)->ObAttrFlags & OBATTR_NODELEVEL);
}

TEST(CObSeqIDList, FindNextSampleDataWalksOn) {
  CSampleIDList samples;
  const char* data[] = {"D1", "D2", "D1"};
  for (int i = 0; i < 3; ++i) {
    CSampleID s("s");
    s.ObToken = i;
    s.SampleData.SetObName(data[i]);
    samples.AddTail(new CSampleID(s));
  }
  samples.AddTail(static_cast<CObSeqID*>(nullptr));
  CSampleDataID want("D1");
  POSITION pos = nullptr;
  std::vector<LONG> found;
  while (CSampleID* s = samples.FindNextSampleData(pos, &want)) found.push_back(s->ObToken);
  EXPECT_EQ(found, (std::vector<LONG>{0, 2}));
  EXPECT_EQ(pos, nullptr);
  EXPECT_EQ(samples.FindNextSampleData(pos, nullptr), nullptr);
}

TEST(CObSeqIDList, CopiesCloneAndCarryTheListAttributes) {
  CInstrumentIDList source;
  source.ListParam1 = 3;
  source.ListParam2 = -4;
  source.ListID.SetObName("instruments");
  CInstrumentID unit(8123, "Unit");
  source.Insert(&unit);
  CObSeqID foreign("F", 1, 8000, 0);
  source.Insert(&foreign);  // becomes an instrument identifier

  CInstrumentIDList copy(source);
  EXPECT_EQ(copy.ListParam1, 3);
  EXPECT_EQ(copy.ListParam2, -4);
  EXPECT_STREQ(copy.ListID.ObName, "instruments");
  ASSERT_EQ(copy.GetCount(), 2);
  for (POSITION p = copy.GetHeadPosition(), q = source.GetHeadPosition(); p;) {
    CObSeqID* a = copy.GetNext(p);
    CObSeqID* b = source.GetNext(q);
    EXPECT_NE(a, b);
    EXPECT_TRUE(*a == *b);
    EXPECT_NE(dynamic_cast<CInstrumentID*>(a), nullptr);
  }
  CObSeqIDList assigned;
  assigned.AddTail(new CObSeqID("old"));
  assigned = copy;
  EXPECT_EQ(Tokens(assigned), Tokens(source));
  EXPECT_NE(dynamic_cast<CInstrumentID*>(assigned.GetHead()), nullptr);  // the base clones by class

  // Through the typed-list protocol.
  CSeqList& protocol = copy;
  CObSeqIDList target;
  protocol.CloneList(&target);
  EXPECT_EQ(target.GetCount(), 2);
  target.Destroy();
  EXPECT_TRUE(target.IsEmpty());

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
  array.Add(nullptr);
  struct Case {
    const char* what;
    INT_PTR found, index;
  };
  const Case cases[] = {
      {"last of two tokens", array.FindToken(1), 2},
      {"byte-wise name", array.FindName("A"), 1},
      {"name", array.FindName("a"), 2},
      {"missing", array.FindName("b"), -1},
      {"null name", array.FindName(nullptr), -1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(c.found, c.index);
  }
  EXPECT_EQ(array.GetAt(3), nullptr);
  EXPECT_EQ(array.GetAtToken(2), array[1]);
  EXPECT_EQ(array.GetAtName("zz"), nullptr);
  array.Destroy();
  EXPECT_EQ(array.GetSize(), 0);
}

TEST(CObSeqContainers, CopiesShareAndTheLastOwnerDestroys) {
  std::vector<int> log;
  {
    CObSeqArray array;
    array.Add(new Tracked(&log, 1));
    array.Add(nullptr);
    array.Add(new Tracked(&log, 2));
    {
      CObSeqArray copy(array);
      EXPECT_EQ(copy.GetSize(), 3);
      copy.Add(new Tracked(&log, 3));
    }
    EXPECT_TRUE(log.empty());
    EXPECT_EQ(array.GetSize(), 4);  // the copy shared the container
  }
  EXPECT_EQ(log, (std::vector<int>{3, 2, 1}));  // from the upper bound down

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
    EXPECT_EQ(static_cast<Tracked*>(stack.Peek())->id, 2);
    std::unique_ptr<CObSeq> top(stack.Pop());
    EXPECT_EQ(static_cast<Tracked*>(top.get())->id, 2);
    stack.Push(new Tracked(&log, 3));
  }
  EXPECT_EQ(log, (std::vector<int>{2, 1, 3}));  // the popped one first, then the stack from its tail

  log.clear();
  {
    CObSeqStringMap map;
    map.SetAt("a", new Tracked(&log, 1));
    map.SetAt("b", nullptr);
    CObSeqWordMap words;
    words.SetAt(1, new Tracked(&log, 2));
  }
  EXPECT_EQ(log.size(), 2u);
}

TEST(CObSeqContainers, CloneThroughTheSubclassHooks) {
  struct Value : CObSeq {
    explicit Value(int v) : v(v) {}
    int v;
  };
  struct ValueList : CObSeqList {
    CObSeq* CloneElement(const CObSeq* e) const override { return new Value(static_cast<const Value*>(e)->v); }
  };
  struct ValueMap : CObSeqWordMap {
    CObSeq* CloneElement(CObSeq* const e) const override { return new Value(static_cast<const Value*>(e)->v); }
  };
  ValueList list, target;
  list.AddTail(new Value(1));
  list.AddTail(nullptr);
  list.AddTail(new Value(2));
  target.AddTail(new Value(9));
  list.CloneList(&target);
  ASSERT_EQ(target.GetCount(), 2);
  EXPECT_EQ(static_cast<Value*>(target.GetHead())->v, 1);
  EXPECT_NE(target.GetHead(), list.GetHead());

  ValueMap map, copy;
  map.SetAt(4, new Value(4));
  map.CloneMap(&copy);
  CObSeq* got = nullptr;
  ASSERT_TRUE(copy.Lookup(4, got));
  EXPECT_EQ(static_cast<Value*>(got)->v, 4);

  TSeqList<std::string> strings;
  strings.AddTail(new std::string("x"));
  TSeqList<std::string> other(strings);
  EXPECT_NE(other.GetHead(), strings.GetHead());
  EXPECT_EQ(*other.GetHead(), "x");
}

TEST(CObSeqContainers, WordMapUniqueKeyIsTheOneBehindTheFreeOne) {
  struct Case {
    const char* what;
    std::vector<WORD> used;
    WORD start;
    BOOL result;
    WORD key;
  };
  const Case cases[] = {
      {"empty map", {}, 5, 1, 5},
      {"free key", {1}, 5, 1, 5},
      {"5 and 6 in use", {5, 6}, 5, 1, 8},
      {"5 in use", {5}, 5, 1, 7},
      {"up to the limit", {15998, 15999}, 15998, 0, 15998},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    CObSeqWordMap map;
    for (WORD k : c.used) map.SetAt(k, nullptr);
    WORD key = c.start;
    EXPECT_EQ(map.FindUniqueKey(key), c.result);
    EXPECT_EQ(key, c.key);
  }
}

TEST(CObSeqContainers, StringMapUniqueKeyAppendsANumber) {
  struct Case {
    const char* what;
    std::vector<std::string> used;
    const char* start;
    BOOL result;
    const char* key;
  };
  std::vector<std::string> all{"key"};
  for (int i = 1; i <= 999; ++i) all.push_back("key:" + std::to_string(i));
  const Case cases[] = {
      {"empty map", {}, "key", 1, "key"},
      {"free key", {"other"}, "key", 1, "key"},
      {"key and key:1 in use", {"key", "key:1"}, "key", 1, "key:2"},
      {"key in use", {"key"}, "key", 1, "key:1"},
      {"every number in use", all, "key", 0, "key"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    CObSeqStringMap map;
    CObSeqStringPtrMap ptrs;
    for (const std::string& k : c.used) {
      map.SetAt(k.c_str(), nullptr);
      ptrs.SetAt(k.c_str(), nullptr);
    }
    char buffer[16];
    std::strcpy(buffer, c.start);
    EXPECT_EQ(map.FindUniqueKey(buffer), c.result);
    EXPECT_STREQ(buffer, c.key);
    CString text(c.start);
    EXPECT_EQ(ptrs.FindUniqueKey(text), c.result);
    EXPECT_STREQ(text, c.key);
  }
}
