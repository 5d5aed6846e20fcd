// The channel list: its sorted insert and kept quirk, the walks by source, the bit
// vector conversions and comparisons, and the stored form.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ArchiveBytes.h"
#include "zevutil/CChannelIDList.h"

using namespace zev;
using namespace zev::testhelp;

namespace {

using Ids = std::vector<std::pair<LONG, LONG>>;

Ids Entries(const CChannelIDList& list) {
  Ids out;
  for (POSITION p = list.GetHeadPosition(); p;) {
    const VQ_DATACHANNEL_ID& id = list.GetNext(p);
    out.emplace_back(id.Source, id.Type);
  }
  return out;
}

CChannelIDList ListOf(const Ids& ids) {
  CChannelIDList list;
  for (auto [s, t] : ids) list.AddTail(VQ_DATACHANNEL_ID{s, t});
  return list;
}

}  // namespace

TEST(CChannelIDList, AddChannelKeepsSortOrderExceptBelowAll) {
  struct Case {
    const char* name;
    Ids start;
    std::pair<LONG, LONG> add;
    Ids want;
  };
  const Case cases[] = {
      {"into empty", {}, {3, 4}, {{3, 4}}},
      {"after its lower neighbour", {{1, 0}, {1, 5}}, {1, 2}, {{1, 0}, {1, 2}, {1, 5}}},
      {"at the tail", {{1, 0}}, {2, 0}, {{1, 0}, {2, 0}}},
      {"duplicate is ignored", {{1, 0}, {1, 5}}, {1, 5}, {{1, 0}, {1, 5}}},
      {"below everything goes last", {{1, 0}}, {0, 0}, {{1, 0}, {0, 0}}},
      {"source beats type", {{0, 9}, {2, 0}}, {1, 10}, {{0, 9}, {1, 10}, {2, 0}}},
      {"found from the tail in an unsorted list", {{5, 0}, {1, 0}}, {3, 0}, {{5, 0}, {1, 0}, {3, 0}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CChannelIDList list = ListOf(c.start);
    POSITION at = list.AddChannel(c.add.first, c.add.second);
    EXPECT_EQ(Entries(list), c.want);
    ASSERT_NE(at, nullptr);
    EXPECT_EQ(list.GetAt(at), (VQ_DATACHANNEL_ID{c.add.first, c.add.second}));
  }
}

TEST(CChannelIDList, SourcesAndTypes) {
  CChannelIDList list;
  list.AddSource(8);
  list.AddChannel(2, 0);
  list.AddChannel(2, 3);
  list.AddChannel(0, 1);
  list.AddSource(42);  // unknown: nothing
  EXPECT_EQ(list.GetCount(), 6 + 3);
  EXPECT_EQ(list.GetTypeList(8), ZevSysTypeList);
  EXPECT_EQ(list.GetTypeList(-1), nullptr);
  EXPECT_EQ(list.GetNumberOfSources(), 3);
  EXPECT_EQ(list.IsSourcePresent(2), 1);
  EXPECT_EQ(list.IsSourcePresent(3), 0);
  CBitVector sources;
  list.GetSourceVector(sources);
  std::vector<int> got;
  for (POSITION p = sources.GetFirstPosition(); p;) got.push_back(sources.GetNext(p));
  EXPECT_EQ(got, (std::vector<int>{0, 2, 8}));
  EXPECT_EQ(list.GetNumberOfTypes(-1), 9);  // 1, 0, 3, 5..10: distinct types
  EXPECT_EQ(list.GetNumberOfTypes(2), 2);
  EXPECT_EQ(list.GetNumberOfTypes(5), 0);
  EXPECT_EQ(list.IsChannelPresent(2, 3), 1);
  EXPECT_EQ(list.IsChannelPresent(VQToSeq(8, 10)), 1);
  EXPECT_EQ(list.IsChannelPresent(VQToSeq(8, 4)), 0);
  list.RemoveSource(8);
  // (2, 0) and (0, 1) each came below everything there and went to the tail.
  EXPECT_EQ(Entries(list), (Ids{{2, 0}, {2, 3}, {0, 1}}));
  list.RemoveChannel(2, 0);
  list.RemoveChannel(2, 0);
  EXPECT_EQ(Entries(list), (Ids{{2, 3}, {0, 1}}));
}

TEST(CChannelIDList, Walks) {
  // An unsorted list: the walks go by the actual order.
  const CChannelIDList list = ListOf({{1, 0}, {1, 4}, {3, 2}, {1, 7}, {0, 0}});
  std::vector<LONG> sources;
  for (POSITION p = list.GetHeadPosition(); p;) sources.push_back(list.GetNextDataSource(p));
  EXPECT_EQ(sources, (std::vector<LONG>{1, 3, 1, 0}));
  POSITION none = nullptr;
  EXPECT_EQ(list.GetNextDataSource(none), -1);

  struct Case {
    LONG source;
    Ids want;
  };
  for (const Case& c : {Case{1, {{1, 0}, {1, 4}, {1, 7}}}, Case{3, {{3, 2}}}, Case{5, {}}}) {
    SCOPED_TRACE(c.source);
    Ids got;
    POSITION p = list.GetHeadPosition();
    while (p) {
      VQ_DATACHANNEL_ID id = list.GetNextChannelForSource(p, c.source);
      if (id.Source == -1) {
        EXPECT_EQ(id.Type, -1);
        EXPECT_EQ(p, nullptr);
        break;
      }
      got.emplace_back(id.Source, id.Type);
      if (p) {
        EXPECT_EQ(list.GetAt(p).Source, c.source);  // pos rests on the next entry of the source
      }
    }
    EXPECT_EQ(got, c.want);
  }

  std::vector<int> seqs;
  for (POSITION p = list.GetHeadPosition(); p;) seqs.push_back(list.GetNextSeqChannel(p));
  EXPECT_EQ(seqs, (std::vector<int>{11, 15, 35, 18, 0}));
  EXPECT_EQ(list.GetNextSeqChannel(none), -1);
}

TEST(CChannelIDList, BitVectorsAndListComparisons) {
  CBitVector v;
  for (int seq : {0, 12, 98}) v += seq;
  CChannelIDList list;
  list = v;
  EXPECT_EQ(Entries(list), (Ids{{0, 0}, {1, 1}, {8, 10}}));
  CBitVector back;
  list.GetBitVector(back);
  EXPECT_EQ(back == v, 1);

  struct Case {
    const char* name;
    std::vector<int> members;
    int equal;
  };
  const CChannelIDList without0 = ListOf({{1, 1}, {8, 10}});
  const Case cases[] = {
      {"same members", {12, 98}, 1},
      {"one differs", {12, 97}, 0},
      {"different count", {12}, 0},
      // The walk stops at channel 0, so only the count matters then.
      {"with channel 0 anything of that count", {0, 50}, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CBitVector w;
    for (int m : c.members) w += m;
    EXPECT_EQ(without0 == w, c.equal);
  }

  CChannelIDList shuffled = ListOf({{8, 10}, {1, 1}});
  EXPECT_EQ(shuffled == without0, 1);
  CChannelIDList other = ListOf({{8, 10}, {1, 2}});
  EXPECT_EQ(other == without0, 0);

  CChannelIDList sum = ListOf({{1, 1}});
  CChannelIDList& same = sum + ListOf({{0, 3}, {1, 1}, {2, 0}});
  EXPECT_EQ(&same, &sum);
  // (0, 3) went to the tail; the walk from there then finds it below (1, 1) and (2, 0),
  // so the out-of-order tail lets (1, 1) in twice.
  EXPECT_EQ(Entries(sum), (Ids{{1, 1}, {0, 3}, {1, 1}, {2, 0}}));
  sum -= ListOf({{1, 1}, {7, 7}});
  EXPECT_EQ(Entries(sum), (Ids{{0, 3}, {1, 1}, {2, 0}}));
  sum -= sum;
  EXPECT_TRUE(sum.IsEmpty());

  CChannelIDList copy(without0);
  EXPECT_EQ(Entries(copy), Entries(without0));
}

TEST(CChannelIDList, StoredFormAppendsWithoutSorting) {
  const CChannelIDList list = ListOf({{2, 3}, {1, 10}});
  const Bytes stored = Stored([&](CArchive& ar) { const_cast<CChannelIDList&>(list).Serialize(ar); });
  const Bytes expected =
      ByteBuilder().Put<WORD>(2).Put<LONG>(2).Put<LONG>(3).Put<LONG>(1).Put<LONG>(10).bytes();
  EXPECT_EQ(stored, expected);

  CChannelIDList target = ListOf({{2, 3}, {5, 0}});
  Loader in(stored);
  target.Serialize(in.ar());
  EXPECT_EQ(Entries(target), (Ids{{2, 3}, {5, 0}, {2, 3}, {1, 10}}));

  Bytes lying = ByteBuilder().Put<WORD>(0xFFFF).Put<DWORD>(0x7FFFFFFF).Put<LONG>(1).Put<LONG>(2).bytes();
  CChannelIDList victim;
  EXPECT_TRUE(ThrowsEndOfFile([&] {
    Loader l(lying);
    victim.Serialize(l.ar());
  }));
  EXPECT_EQ(Entries(victim), (Ids{{1, 2}}));
}
