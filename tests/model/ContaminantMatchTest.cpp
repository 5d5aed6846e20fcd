// Trim range and contaminant match records: shifting, the bounded score-ordered array,
// the two sorts and the stored forms with their version rules.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ArchiveBytes.h"
#include "zevutil/ContaminantMatch.h"

using namespace zev;
using namespace zev::testhelp;

namespace {

ContaminantMatch Match(LONG type, LONG begin, LONG end, LONG offset = -1, double score = 0, const char* name = "") {
  ContaminantMatch m;
  m.m_lType = type;
  m.m_lSeqBegin = begin;
  m.m_lSeqEnd = end;
  m.m_lTrimOffset = offset;
  m.m_dScore = score;
  m.m_strName = name;
  return m;
}

std::string Names(const ContaminantMatchArray& a) {
  std::string out;
  for (LONG i = 0; i < a.GetSize(); ++i) out += std::string(i ? " " : "") + a[i]->m_strName.GetString();
  return out;
}

}  // namespace

TEST(ContaminantMatch, ShiftOfRangeAndMatch) {
  struct Case {
    const char* name;
    ContaminantMatch m;
    LONG delta;
    LONG begin, end, offset, type, length;
  };
  const Case cases[] = {
      {"lands on 0", Match(1, 3, 7, 2), -3, 0, 4, 2, 1, 5},
      {"straddles: offset shrinks", Match(2, 3, 7, 5), -4, 0, 3, 4, 2, 4},
      {"straddles: offset floors at 0", Match(2, 3, 7, 1), -5, 0, 2, 0, 2, 3},
      {"straddles: no offset stays none", Match(1, 3, 7, -1), -5, 0, 2, -1, 1, 3},
      {"end on 0 survives", Match(3, 3, 7, 4), -7, 0, 0, 0, 3, 1},
      {"wholly cut: void", Match(1, 3, 7, 2), -8, -5, -1, 2, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ContaminantMatch m = c.m;
    m.Shift(c.delta);
    EXPECT_EQ(m.m_lSeqBegin, c.begin);
    EXPECT_EQ(m.m_lSeqEnd, c.end);
    EXPECT_EQ(m.m_lTrimOffset, c.offset);
    EXPECT_EQ(m.m_lType, c.type);
    EXPECT_EQ(m.Length(), c.length);
    // The range follows the same rule, and drops to state 0 where a match turns void.
    QualityTrimRange r{c.m.m_lSeqBegin, c.m.m_lSeqEnd, 1};
    r.Shift(c.delta);
    EXPECT_EQ(r.m_lBegin, c.begin);
    EXPECT_EQ(r.m_lState, c.type ? 1 : 0);
  }
  QualityTrimRange none{0, 4, 0};
  none.SetApplied(true);
  EXPECT_EQ(none.m_lState, 0);
}

TEST(ContaminantMatchArray, InsertKeepsBestWithinLimit) {
  struct Step {
    double score;
    const char* name;
    const char* want;  // names in array order after the insert
    double lowest;
  };
  struct Case {
    const char* name;
    LONG limit;
    std::vector<Step> steps;
  };
  const Case cases[] = {
      {"better one pushes the last out", 2,
       {{9, "a", "a", 9}, {5, "b", "a b", 5}, {7, "c", "a c", 7}, {7, "d", "a d", 7}, {3, "e", "a d", 7}}},
      {"below the bar with room appends", 3, {{5, "a", "a", 5}, {3, "b", "a b", 3}, {4, "c", "a c b", 3}}},
      {"equal to the last goes ahead of it", 3, {{5, "a", "a", 5}, {5, "b", "b a", 5}}},
      {"limit 0 takes nothing", 0, {{5, "a", "", 0}, {-5, "b", "", 0}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ContaminantMatchArray a(c.limit);
    for (const Step& s : c.steps) {
      a.Insert(Match(1, 0, 1, -1, s.score, s.name));
      EXPECT_EQ(Names(a), s.want) << s.name;
      EXPECT_EQ(a.GetLowestScore(), s.lowest) << s.name;
    }
  }
  ContaminantMatchArray a(2);
  a.Insert(Match(1, 0, 4, -1, 9, "x"));
  a.SetApplied(true);
  ContaminantMatchArray b(7);
  b.Copy(a);
  a[0]->m_lSeqBegin = 3;  // deep: the copy keeps its own
  EXPECT_EQ(b[0]->m_lSeqBegin, 0);
  EXPECT_TRUE(b.IsApplied());
  EXPECT_EQ(b.At(1), nullptr);
}

TEST(ContaminantMatchArray, Sorts) {
  ContaminantMatchArray a(10);
  for (const ContaminantMatch& m : {Match(1, 5, 9, -1, 1, "L5"), Match(1, 2, 9, -1, 2, "L2"),
                                    Match(2, 10, 19, 4, 3, "R14"),  // key 10 + offset 4
                                    Match(2, 12, 19, 0, 4, "R12"),  // offset 0 adds nothing
                                    Match(2, 13, 19, -1, 5, "R13"), Match(3, 8, 9, -1, 6, "I8"),
                                    Match(0, 1, 2, -1, 7, "V1"), Match(3, 4, 5, -1, 8, "I4")})
    a.Insert(m);
  a.SortForApply();
  EXPECT_EQ(Names(a), "I4 I8 R12 R13 R14 L2 L5 V1");
  a.Reset(10);
  for (const ContaminantMatch& m : {Match(1, 5, 9, -1, 1, "b5s1"), Match(1, 5, 9, -1, 3, "b5s3y"),
                                    Match(1, 5, 9, -1, 3, "b5s3x"), Match(1, 2, 9, -1, 0, "b2s0")})
    a.Insert(m);
  a.SortByBegin();
  EXPECT_EQ(Names(a), "b2s0 b5s3x b5s3y b5s1");
}

TEST(ContaminantMatch, StoredFormAndVersions) {
  ContaminantMatch m = Match(2, 10, 20, 3, 1.5, "vec");
  m.m_lOtherBegin = 100;
  m.m_lOtherEnd = 110;
  m.m_strSeqAlignment = "AC-T";
  m.m_strAlignmentMarks = "|| |";
  m.m_bEnabled = false;
  m.m_dWork[0] = 4.0;  // never stored
  EXPECT_EQ(Stored([&](CArchive& ar) { m.Serialize(ar); }),
            ByteBuilder().Put<SHORT>(1).Put<SHORT>(2).Str("vec").Put(1.5).Put<LONG>(10).Put<LONG>(20)
                .Put<LONG>(100).Put<LONG>(110).Str("AC-T").Str("").Str("|| |").Put<SHORT>(0).Put<LONG>(3).bytes());

  const Bytes body = ByteBuilder().Str("v").Put(2.0).Put<LONG>(1).Put<LONG>(2).Put<LONG>(3).Put<LONG>(4)
                         .Str("").Str("").Str("").Put<SHORT>(7).bytes();
  struct Case {
    SHORT version;
    bool read, offset;
  };
  for (const Case& c : {Case{1, true, true}, Case{0, true, false}, Case{-3, true, false}, Case{2, false, false}}) {
    SCOPED_TRACE(c.version);
    ByteBuilder b;
    b.Put(c.version).Put<SHORT>(1).Raw(body);
    if (c.offset) b.Put<LONG>(55);
    Loader in(b.Put<LONG>(0x5A5A5A5A).bytes());
    ContaminantMatch read = Match(3, 8, 9, 8, 0, "old");
    read.m_bEnabled = false;
    read.Serialize(in.ar());
    if (!c.read) {  // only the version was taken
      EXPECT_EQ(read.m_strName, "old");
      EXPECT_EQ(in.Remaining(), b.bytes().size() - 2);
      continue;
    }
    EXPECT_EQ(read.m_lType, 1);
    EXPECT_EQ(read.m_lSeqEnd, 2);
    EXPECT_EQ(read.m_lTrimOffset, c.offset ? 55 : -1);
    EXPECT_TRUE(read.m_bEnabled);  // any nonzero short
    LONG sentinel = 0;
    in.ar() >> sentinel;
    EXPECT_EQ(sentinel, 0x5A5A5A5A);
  }
}

TEST(ContaminantMatchArray, StoredFormAndVersions) {
  ContaminantMatchArray a(2);
  a.Insert(Match(1, 0, 4, 2, 8, "a"));
  a.Insert(Match(2, 30, 39, -1, 6, "b"));
  a.SetApplied(true);
  const Bytes stored = Stored([&](CArchive& ar) { a.Serialize(ar); });
  const Bytes first = Stored([&](CArchive& ar) { a[0]->Serialize(ar); });
  const Bytes second = Stored([&](CArchive& ar) { a[1]->Serialize(ar); });
  EXPECT_EQ(stored, ByteBuilder().Put<SHORT>(1).Put<LONG>(2).Put(6.0).Put<SHORT>(2).Raw(first).Raw(second)
                        .Put<SHORT>(1).bytes());

  // Version 0 has no applied flag; negative and future versions leave the array alone.
  struct Case {
    SHORT version;
    bool read;
  };
  for (const Case& c : {Case{1, true}, Case{0, true}, Case{-1, false}, Case{2, false}}) {
    SCOPED_TRACE(c.version);
    ContaminantMatchArray target(9);
    target.Insert(Match(3, 1, 1, -1, 1, "old"));
    target.SetApplied(c.version != 1);
    Loader in(ByteBuilder().Put(c.version).Put<LONG>(4).Put(1.0).Put<SHORT>(1).Raw(first).Put<SHORT>(1).bytes());
    target.Serialize(in.ar());
    EXPECT_EQ(Names(target), c.read ? "a" : "old");
    EXPECT_EQ(target.GetLimit(), c.read ? 4 : 9);
    EXPECT_EQ(target.IsApplied(), c.version != 0);
  }
}
