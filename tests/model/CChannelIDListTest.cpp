// The channel list: its sorted insert and kept quirk, the walks by source, the bit
// vector conversions and comparisons, and the stored form.
#include <gtest/gtest.h>

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
      {"after its lower neighbour", {{1, 0}, {1, 5}}, {1, 2}, {{1, 0}, {1, 2}, {1, 5}}},
      {"source before type", {{0, 9}, {2, 0}}, {1, 10}, {{0, 9}, {1, 10}, {2, 0}}},
      {"duplicate ignored", {{1, 0}, {1, 5}}, {1, 5}, {{1, 0}, {1, 5}}},
      {"below everything goes last", {{1, 0}}, {0, 0}, {{1, 0}, {0, 0}}},
      // Searched from the tail, so an out-of-order tail lets a duplicate in.
      {"after an out-of-order tail", {{1, 1}, {0, 3}}, {1, 1}, {{1, 1}, {0, 3}, {1, 1}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CChannelIDList list = ListOf(c.start);
    POSITION at = list.AddChannel(c.add.first, c.add.second);
    EXPECT_EQ(Entries(list), c.want);
    EXPECT_EQ(list.GetAt(at), (VQ_DATACHANNEL_ID{c.add.first, c.add.second}));
  }
}

TEST(CChannelIDList, SourcesAndWalks) {
  CChannelIDList list;
  list.AddSource(8);
  list.AddChannel(2, 3);
  list.AddSource(42);  // unknown: nothing
  EXPECT_EQ(list.GetCount(), 7);
  EXPECT_EQ(list.GetNumberOfTypes(-1), 7);
  EXPECT_EQ(list.GetNumberOfTypes(2), 1);
  EXPECT_EQ(list.IsChannelPresent(VQToSeq(8, 10)), 1);
  list.RemoveSource(8);
  EXPECT_EQ(Entries(list), (Ids{{2, 3}}));

  // The walks go by the list's actual order.
  const CChannelIDList mixed = ListOf({{1, 0}, {1, 4}, {3, 2}, {1, 7}, {0, 0}});
  std::vector<LONG> sources;
  for (POSITION p = mixed.GetHeadPosition(); p;) sources.push_back(mixed.GetNextDataSource(p));
  EXPECT_EQ(sources, (std::vector<LONG>{1, 3, 1, 0}));
  EXPECT_EQ(mixed.GetNumberOfSources(), 4);
  struct Case {
    LONG source;
    Ids want;
  };
  for (const Case& c : {Case{1, {{1, 0}, {1, 4}, {1, 7}}}, Case{3, {{3, 2}}}, Case{5, {}}}) {
    SCOPED_TRACE(c.source);
    Ids got;
    for (POSITION p = mixed.GetHeadPosition(); p;) {
      VQ_DATACHANNEL_ID id = mixed.GetNextChannelForSource(p, c.source);
      if (id.Source == -1) {
        EXPECT_EQ(id, (VQ_DATACHANNEL_ID{-1, -1}));
        EXPECT_EQ(p, nullptr);
        break;
      }
      got.emplace_back(id.Source, id.Type);
      EXPECT_TRUE(!p || mixed.GetAt(p).Source == c.source);  // pos rests on that source's next entry
    }
    EXPECT_EQ(got, c.want);
  }
  std::vector<int> seqs;
  for (POSITION p = mixed.GetHeadPosition(); p;) seqs.push_back(mixed.GetNextSeqChannel(p));
  EXPECT_EQ(seqs, (std::vector<int>{11, 15, 35, 18, 0}));
}

TEST(CChannelIDList, BitVectorsAndComparisons) {
  CBitVector v;
  for (int seq : {0, 12, 98}) v += seq;
  CChannelIDList list;
  list = v;
  EXPECT_EQ(Entries(list), (Ids{{0, 0}, {1, 1}, {8, 10}}));

  const CChannelIDList without0 = ListOf({{1, 1}, {8, 10}});
  struct Case {
    const char* name;
    std::vector<int> members;
    int equal;
  };
  for (const Case& c : {Case{"same members", {12, 98}, 1}, Case{"one differs", {12, 97}, 0},
                        Case{"another count", {12}, 0},
                        // the walk ends at channel 0, so then only the count matters
                        Case{"with channel 0", {0, 50}, 1}}) {
    SCOPED_TRACE(c.name);
    CBitVector w;
    for (int m : c.members) w += m;
    EXPECT_EQ(without0 == w, c.equal);
  }
  EXPECT_EQ(ListOf({{8, 10}, {1, 1}}) == without0, 1);
  EXPECT_EQ(ListOf({{8, 10}, {1, 2}}) == without0, 0);

  CChannelIDList sum = ListOf({{1, 1}});
  EXPECT_EQ(&(sum + ListOf({{2, 0}, {0, 3}})), &sum);  // in place
  EXPECT_EQ(Entries(sum), (Ids{{1, 1}, {2, 0}, {0, 3}}));
  sum -= sum;
  EXPECT_TRUE(sum.IsEmpty());
}

TEST(CChannelIDList, StoredFormAppendsWithoutSorting) {
  CChannelIDList list = ListOf({{2, 3}, {1, 10}});
  const Bytes stored = Stored([&](CArchive& ar) { list.Serialize(ar); });
  EXPECT_EQ(stored, ByteBuilder().Put<WORD>(2).Put<LONG>(2).Put<LONG>(3).Put<LONG>(1).Put<LONG>(10).bytes());
  Loader in(stored);
  list.Serialize(in.ar());
  EXPECT_EQ(Entries(list), (Ids{{2, 3}, {1, 10}, {2, 3}, {1, 10}}));

  CChannelIDList victim;
  EXPECT_TRUE(ThrowsEndOfFile([&] {
    Loader lying(ByteBuilder().Put<WORD>(0xFFFF).Put<DWORD>(0x7FFFFFFF).Put<LONG>(1).Put<LONG>(2).bytes());
    victim.Serialize(lying.ar());
  }));
  EXPECT_EQ(Entries(victim), (Ids{{1, 2}}));
}
