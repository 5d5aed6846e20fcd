// The bit vector: membership, both walks, comparisons, the 24-byte block and the
// skipping reader.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "zevutil/CBitVector.h"
#include "zevutil/platform/CArchive.h"

using namespace zev;

namespace {

CBitVector Of(std::initializer_list<int> members) {
  CBitVector v;
  for (int m : members) v += m;
  return v;
}

std::vector<int> CursorWalk(CBitVector& v) {
  std::vector<int> out;
  for (int n = v.GetFirstSet(); n != -1; n = v.GetNextSet()) out.push_back(n);
  return out;
}

std::vector<int> PositionWalk(const CBitVector& v) {
  std::vector<int> out;
  for (POSITION p = v.GetFirstPosition(); p;) out.push_back(v.GetNext(p));
  return out;
}

}  // namespace

TEST(CBitVector, WalksAgreeOnMembersAtByteBoundaries) {
  const std::vector<std::vector<int>> sets = {
      {}, {0}, {127}, {7, 8}, {0, 15, 16, 63, 64, 120, 127}, {1, 2, 3, 4, 5, 6, 7, 8, 9},
  };
  for (const auto& set : sets) {
    SCOPED_TRACE(::testing::PrintToString(set));
    CBitVector v;
    for (int m : set) v += m;
    EXPECT_EQ(CursorWalk(v), set);
    EXPECT_EQ(v.GetCursor(), -1);
    EXPECT_EQ(PositionWalk(v), set);
    EXPECT_EQ(v.GetNumberOfMembers(), int(set.size()));
    EXPECT_EQ(v.GetCount(), 128);
    for (int n = 0; n < 128; ++n) {
      const bool in = std::find(set.begin(), set.end(), n) != set.end();
      ASSERT_EQ(v == n, in ? 1 : 0) << n;
      ASSERT_EQ(v[n], in ? 1 : 0) << n;
      ASSERT_EQ(v != n, in ? 0 : 1) << n;
    }
  }
  CBitVector empty;
  EXPECT_EQ(empty.GetFirstPosition(), nullptr);
  EXPECT_EQ(empty.GetFirstSet(), -1);
}

TEST(CBitVector, PositionsPackByteFromOneAndBit) {
  CBitVector v = Of({0, 13});
  POSITION p = v.GetFirstPosition();
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p), 0x00000001u);  // byte 1, bit 0
  EXPECT_EQ(v.GetNext(p), 0);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p), 0x00050002u);  // byte 2, bit 5
  EXPECT_EQ(v.GetNext(p), 13);
  EXPECT_EQ(p, nullptr);
  POSITION none = nullptr;  // a walk that has not begun reports 0
  EXPECT_EQ(v.GetNext(none), 0);
}

TEST(CBitVector, CursorMovesWithEveryEdit) {
  CBitVector v = Of({3, 10, 20});
  EXPECT_EQ(v.GetFirstSet(), 3);
  v += 15;  // the walk resumes from the added bit
  EXPECT_EQ(v.GetNextSet(), 20);
  v -= 5;
  EXPECT_EQ(v.GetCursor(), 5);
  EXPECT_EQ(v.GetNextSet(), 10);
  EXPECT_EQ((v += 99), 1);
  EXPECT_EQ((v -= 99), 0);
  v.SetAll(1);
  EXPECT_EQ(v.GetCursor(), 99);  // SetAll keeps the cursor
  std::vector<int> all;
  for (int n = v.GetFirstSet(); n != -1; n = v.GetNextSet()) all.push_back(n);
  ASSERT_EQ(all.size(), 128u);
  EXPECT_EQ(all.front(), 0);
  EXPECT_EQ(all.back(), 127);
  v.SetAll(0);
  EXPECT_EQ(v.GetNumberOfMembers(), 0);
  // Numbers outside the table change nothing but the cursor.
  CBitVector w;
  w += 128;
  w += -1;
  EXPECT_EQ(w.GetNumberOfMembers(), 0);
  EXPECT_EQ(w.GetCursor(), -1);
  EXPECT_EQ(w[128], 0);
}

TEST(CBitVector, Comparisons) {
  struct Case {
    const char* name;
    CBitVector a, b;
    int eq, le, ge;
  };
  CBitVector otherCursor = Of({1, 2});
  otherCursor.GetFirstSet();
  CBitVector smaller;
  CByteArray block;
  Of({1}) >> block;
  block[0] = 8;  // eight table bytes: size 64
  smaller << block;
  const Case cases[] = {
      {"equal sets, other cursors", Of({1, 2}), otherCursor, 1, 1, 1},
      {"empty against any", CBitVector(), Of({5, 90}), 0, 1, 0},
      {"proper subset", Of({5}), Of({5, 90}), 0, 1, 0},
      {"superset", Of({5, 90}), Of({5}), 0, 0, 1},
      {"disjoint", Of({4}), Of({6}), 0, 0, 0},
      {"same members, smaller size", smaller, Of({1}), 0, 1, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.a == c.b, c.eq);
    EXPECT_EQ(c.a != c.b, 1 - c.eq);
    EXPECT_EQ(c.a <= c.b, c.le);
    EXPECT_EQ(c.a >= c.b, c.ge);
  }
}

TEST(CBitVector, DifferenceWalksItsOwnCursor) {
  struct Case {
    std::vector<int> a, b, expected;
    int cursor;
  };
  const Case cases[] = {
      {{1, 5, 9}, {}, {1, 5, 9}, 9},
      {{1, 5, 9}, {9}, {1, 5}, 5},
      {{1, 5}, {1, 5}, {}, 0},
      {{}, {3}, {}, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::PrintToString(c.a) + " - " + ::testing::PrintToString(c.b));
    CBitVector a, b;
    for (int m : c.a) a += m;
    for (int m : c.b) b += m;
    CBitVector d = a - b;
    EXPECT_EQ(a.GetCursor(), -1);
    EXPECT_EQ(d.GetCursor(), c.cursor);
    EXPECT_EQ(PositionWalk(d), c.expected);
  }
}

TEST(CBitVector, BlockFormAndReadBack) {
  CBitVector v = Of({0, 9, 127});
  v -= 200;  // cursor 200, no bit
  CByteArray block;
  v >> block;
  const std::vector<BYTE> expected = {16, 0, 0, 0,  0x01, 0x02, 0, 0, 0, 0, 0, 0,
                                      0,  0, 0, 0,  0,    0,    0, 0x80, 200, 0, 0, 0};
  ASSERT_EQ(block.GetSize(), 24);
  EXPECT_EQ(std::vector<BYTE>(block.begin(), block.end()), expected);

  CBitVector back;
  back << block;
  EXPECT_EQ(back == v, 1);
  EXPECT_EQ(back.GetCursor(), 200);

  // A block naming fewer bytes copies only those and sets the size from them.
  CBitVector partial = Of({100});
  CByteArray shortBlock;
  for (BYTE b : {2, 0, 0, 0, 0xFF, 0x01, 7, 0, 0, 0}) shortBlock.Add(b);
  partial << shortBlock;
  EXPECT_EQ(partial.GetCount(), 16);
  EXPECT_EQ(partial.GetCursor(), 7);
  EXPECT_EQ(PositionWalk(partial), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 100}));
  EXPECT_EQ(partial.GetNumberOfMembers(), 9);  // members are counted below the size only

  std::vector<unsigned char> table(20, 0xAA);
  v.GetBitTable(20, table.data());
  EXPECT_EQ(table[0], 0x01);
  EXPECT_EQ(table[15], 0x80);
  EXPECT_EQ(table[16], 0xAA);  // nothing past the sixteen table bytes
  CBitVector set;
  set += 50;
  const unsigned char in[2] = {0x03, 0x00};
  set.SetBitTable(2, in);
  EXPECT_EQ(set.GetCursor(), 0);
  EXPECT_EQ(PositionWalk(set), (std::vector<int>{0, 1, 50}));
}

TEST(CBitVector, SerializeWritesTwentyEightBytesAndReadingSkipsThem) {
  CBitVector v = Of({2, 64});
  CMemFile f;
  {
    CArchive ar(&f, CArchive::store);
    v.Serialize(ar);
    ar << LONG(0x12345678);
  }
  ASSERT_EQ(f.GetLength(), 32u);
  f.SeekToBegin();
  std::vector<BYTE> bytes(32);
  f.Read(bytes.data(), 32);
  EXPECT_EQ(bytes[0], 24);
  EXPECT_EQ(bytes[4], 16);
  EXPECT_EQ(bytes[8], 0x04);

  f.SeekToBegin();
  CArchive ar(&f, CArchive::load);
  CBitVector other = Of({77});
  other.Serialize(ar);
  EXPECT_EQ(PositionWalk(other), std::vector<int>{77});
  LONG after = 0;
  ar >> after;
  EXPECT_EQ(after, 0x12345678);
}
