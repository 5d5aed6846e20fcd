// The bit vector: both walks, the cursor, comparisons, the 24-byte block and the
// reader that skips it.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "zevutil/CBitVector.h"
#include "zevutil/CMemArchive.h"

using namespace zev;

namespace {

CBitVector Of(std::initializer_list<int> members) {
  CBitVector v;
  for (int m : members) v += m;
  return v;
}

std::vector<int> Walk(const CBitVector& v) {
  std::vector<int> out;
  for (POSITION p = v.GetFirstPosition(); p;) out.push_back(v.GetNext(p));
  return out;
}

}  // namespace

TEST(CBitVector, WalksAgreeAtByteBoundaries) {
  for (const std::vector<int>& set : std::vector<std::vector<int>>{{}, {0}, {127}, {7, 8}, {0, 15, 16, 64, 127}}) {
    SCOPED_TRACE(::testing::PrintToString(set));
    CBitVector v;
    for (int m : set) v += m;
    std::vector<int> cursor;
    for (int n = v.GetFirstSet(); n != -1; n = v.GetNextSet()) cursor.push_back(n);
    EXPECT_EQ(cursor, set);
    EXPECT_EQ(v.GetCursor(), -1);
    EXPECT_EQ(Walk(v), set);
    EXPECT_EQ(v.GetNumberOfMembers(), int(set.size()));
    EXPECT_EQ(v.GetCount(), 128);
  }
  CBitVector v = Of({0, 13});
  POSITION p = v.GetFirstPosition();
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p), 0x00000001u);  // byte 1, bit 0
  v.GetNext(p);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p), 0x00050002u);  // byte 2, bit 5
}

TEST(CBitVector, CursorFollowsEveryEdit) {
  CBitVector v = Of({3, 10, 20});
  EXPECT_EQ(v.GetFirstSet(), 3);
  v += 15;  // the walk resumes from the added bit
  EXPECT_EQ(v.GetNextSet(), 20);
  EXPECT_EQ((v -= 5), 0);
  EXPECT_EQ(v.GetNextSet(), 10);
  EXPECT_EQ((v += 200), 1);  // outside the table: only the cursor moves
  EXPECT_EQ(v.GetNumberOfMembers(), 4);
  v.SetAll(1);
  EXPECT_EQ(v.GetCursor(), 200);
  EXPECT_EQ(v.GetFirstSet(), 0);
  EXPECT_EQ(v.GetNumberOfMembers(), 128);
}

TEST(CBitVector, Comparisons) {
  CBitVector otherCursor = Of({1, 2});
  otherCursor.GetFirstSet();
  CByteArray block;
  Of({1}) >> block;
  block[0] = 8;  // eight table bytes: size 64
  CBitVector smaller;
  smaller << block;
  struct Case {
    const char* name;
    CBitVector a, b;
    int eq, le, ge;
  };
  const Case cases[] = {
      {"equal sets, other cursors", Of({1, 2}), otherCursor, 1, 1, 1},
      {"empty against any", CBitVector(), Of({5, 90}), 0, 1, 0},
      {"superset", Of({5, 90}), Of({5}), 0, 0, 1},
      {"disjoint", Of({4}), Of({6}), 0, 0, 0},
      {"same members, smaller size", smaller, Of({1}), 0, 1, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.a == c.b, c.eq);
    EXPECT_EQ(c.a <= c.b, c.le);
    EXPECT_EQ(c.a >= c.b, c.ge);
  }
  struct Diff {
    CBitVector a, b;
    std::vector<int> members;
    int cursor;
  };
  for (Diff d : {Diff{Of({1, 5, 9}), CBitVector(), {1, 5, 9}, 9}, Diff{Of({1, 5, 9}), Of({9}), {1, 5}, 5},
                 Diff{Of({1, 5}), Of({1, 5}), {}, 0}}) {
    CBitVector r = d.a - d.b;
    EXPECT_EQ(Walk(r), d.members);
    EXPECT_EQ(r.GetCursor(), d.cursor);
    EXPECT_EQ(d.a.GetCursor(), -1);
  }
}

TEST(CBitVector, BlockAndSerialize) {
  CBitVector v = Of({0, 9, 127});
  v -= 200;
  CByteArray block;
  v >> block;
  const std::vector<BYTE> expected = {16, 0, 0, 0, 0x01, 0x02, 0, 0, 0, 0, 0, 0, 0, 0,
                                      0,  0, 0, 0, 0,    0x80, 200, 0, 0, 0};
  EXPECT_EQ(std::vector<BYTE>(block.begin(), block.end()), expected);

  // A block naming fewer bytes copies those and sets the size from them; the rest stays.
  CBitVector partial = Of({100});
  CByteArray shortBlock;
  for (BYTE b : {2, 0, 0, 0, 0xFF, 0x01, 7, 0, 0, 0}) shortBlock.Add(b);
  partial << shortBlock;
  EXPECT_EQ(partial.GetCount(), 16);
  EXPECT_EQ(partial.GetCursor(), 7);
  EXPECT_EQ(Walk(partial), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 100}));
  EXPECT_EQ(partial.GetNumberOfMembers(), 9);  // counted below the size only

  CMemArchive ar(CArchive::store);
  v.Serialize(ar);
  ar << LONG(0x12345678);
  ASSERT_EQ(ar.GetDataSize(), 32u);
  EXPECT_EQ(ar.GetDataPtr()[0], 24);
  EXPECT_EQ(0, std::memcmp(ar.GetDataPtr() + 4, block.GetData(), 24));
  ar.SetMode(CArchive::load);
  CBitVector other = Of({77});
  other.Serialize(ar);  // skipped, not loaded
  EXPECT_EQ(Walk(other), std::vector<int>{77});
  LONG after = 0;
  ar >> after;
  EXPECT_EQ(after, 0x12345678);
}
