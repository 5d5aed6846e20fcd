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
  for (LONG i = 0; i < a.GetSize(); ++i) out += std::string(out.empty() ? "" : " ") + a[i]->m_strName.GetString();
  return out;
}

}  // namespace

TEST(QualityTrimRange, ShiftDropsOrClampsAndStateToggles) {
  struct Case {
    LONG begin, end, state, delta;
    LONG wantBegin, wantEnd, wantState;
  };
  const Case cases[] = {
      {5, 9, 1, 3, 8, 12, 1},
      {5, 9, 1, -5, 0, 4, 1},
      {5, 9, 1, -6, 0, 3, 1},   // begin would be -1: clamped
      {5, 9, 2, -9, 0, 0, 2},   // end reaches 0: still there
      {5, 9, 1, -10, -5, -1, 0},  // wholly before the sequence: dropped, values kept
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.begin << ".." << c.end << " by " << c.delta);
    QualityTrimRange r{c.begin, c.end, c.state};
    r.Shift(c.delta);
    EXPECT_EQ(r.m_lBegin, c.wantBegin);
    EXPECT_EQ(r.m_lEnd, c.wantEnd);
    EXPECT_EQ(r.m_lState, c.wantState);
  }
  struct Toggle {
    LONG state;
    bool applied;
    LONG want;
  };
  for (const Toggle& t : {Toggle{0, true, 0}, Toggle{0, false, 0}, Toggle{1, true, 2}, Toggle{1, false, 1},
                          Toggle{2, false, 1}, Toggle{2, true, 2}}) {
    QualityTrimRange r{0, 4, t.state};
    r.SetApplied(t.applied);
    EXPECT_EQ(r.m_lState, t.want) << t.state << " " << t.applied;
    EXPECT_EQ(r.IsApplied() != 0, t.want == 2);
  }
}

TEST(ContaminantMatch, ShiftAndLength) {
  struct Case {
    const char* name;
    ContaminantMatch m;
    LONG delta;
    LONG begin, end, offset, type, length;
  };
  const Case cases[] = {
      {"moves up", Match(1, 3, 7, 2), 4, 7, 11, 2, 1, 5},
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
  }
  const ContaminantMatch m = Match(1, 3, 7);
  for (LONG p : {2, 3, 7, 8}) EXPECT_EQ(m.InSeq(p), p >= 3 && p <= 7) << p;
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
      {"fills in score order", 3,
       {{5, "a", "a", 5}, {9, "b", "b a", 5}, {7, "c", "b c a", 5}, {1, "d", "b c a", 5}}},
      {"better one pushes the last out", 2,
       {{9, "a", "a", 9}, {5, "b", "a b", 5}, {7, "c", "a c", 7}, {7, "d", "a d", 7}, {3, "e", "a d", 7}}},
      {"below the bar with room appends", 2, {{5, "a", "a", 5}, {3, "b", "a b", 3}}},
      {"equal to the last goes ahead of it", 3, {{5, "a", "a", 5}, {5, "b", "b a", 5}, {5, "c", "c b a", 5}}},
      {"a negative score in an empty array", 2, {{-1, "a", "a", -1}, {-2, "b", "a b", -2}}},
      {"limit 0 takes nothing", 0, {{5, "a", "", 0}, {-5, "b", "", 0}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ContaminantMatchArray a(c.limit);
    for (const Step& s : c.steps) {
      SCOPED_TRACE(s.name);
      a.Insert(Match(1, 0, 1, -1, s.score, s.name));
      EXPECT_EQ(Names(a), s.want);
      EXPECT_EQ(a.GetLowestScore(), s.lowest);
    }
  }
}

TEST(ContaminantMatchArray, ResetCopyAndIndexing) {
  ContaminantMatchArray a(2);
  a.Insert(Match(1, 0, 4, -1, 9, "x"));
  a.SetApplied(true);
  ContaminantMatchArray b(7);
  b.Copy(a);
  a[0]->m_lSeqBegin = 3;  // a deep copy: b keeps its own
  EXPECT_EQ(b[0]->m_lSeqBegin, 0);
  EXPECT_EQ(b.GetLimit(), 2);
  EXPECT_TRUE(b.IsApplied());
  EXPECT_EQ(b.GetLowestScore(), 9);
  EXPECT_EQ(b.At(1), nullptr);
  EXPECT_EQ(b.At(-1), nullptr);

  a.Reset(0);
  EXPECT_EQ(a.GetSize(), 0);
  EXPECT_FALSE(a.IsApplied());
  a.Insert(Match(1, 0, 4, -1, 9, "y"));
  EXPECT_EQ(a.GetSize(), 0);
}

TEST(ContaminantMatchArray, Sorts) {
  ContaminantMatchArray a(10);
  // Inserted by score; names say where each must end up.
  a.Insert(Match(1, 5, 9, -1, 1, "L5"));
  a.Insert(Match(1, 2, 9, -1, 2, "L2"));
  a.Insert(Match(2, 10, 19, 4, 3, "R14"));   // key 10 + 4
  a.Insert(Match(2, 12, 19, 0, 4, "R12"));   // offset 0 adds nothing
  a.Insert(Match(2, 13, 19, -1, 5, "R13"));
  a.Insert(Match(3, 8, 9, -1, 6, "I8"));
  a.Insert(Match(0, 1, 2, -1, 7, "V1"));
  a.Insert(Match(3, 4, 5, -1, 8, "I4"));
  a.SortForApply();
  EXPECT_EQ(Names(a), "I4 I8 R12 R13 R14 L2 L5 V1");

  ContaminantMatchArray b(10);
  b.Insert(Match(1, 5, 9, -1, 1, "b5s1"));
  b.Insert(Match(1, 5, 9, -1, 3, "b5s3y"));
  b.Insert(Match(1, 5, 9, -1, 3, "b5s3x"));
  b.Insert(Match(1, 2, 9, -1, 0, "b2s0"));
  b.Insert(Match(1, 9, 9, -1, 9, "b9s9"));
  b.SortByBegin();
  EXPECT_EQ(Names(b), "b2s0 b5s3x b5s3y b5s1 b9s9");
}

TEST(ContaminantMatch, StoredFormAndVersions) {
  ContaminantMatch m = Match(2, 10, 20, 3, 1.5, "vec");
  m.m_lOtherBegin = 100;
  m.m_lOtherEnd = 110;
  m.m_strSeqAlignment = "AC-T";
  m.m_strOtherAlignment = "ACGT";
  m.m_strAlignmentMarks = "|| |";
  m.m_bEnabled = false;
  m.m_dWork[0] = 4.0;
  m.m_sWork = 9;
  const Bytes stored = Stored([&](CArchive& ar) { m.Serialize(ar); });
  const Bytes expected = ByteBuilder()
                             .Put<SHORT>(1).Put<SHORT>(2).Str("vec").Put(1.5)
                             .Put<LONG>(10).Put<LONG>(20).Put<LONG>(100).Put<LONG>(110)
                             .Str("AC-T").Str("ACGT").Str("|| |").Put<SHORT>(0).Put<LONG>(3)
                             .bytes();
  EXPECT_EQ(stored, expected);

  struct Case {
    const char* name;
    Bytes bytes;
    bool changed;
    LONG offset;
    bool enabled;
  };
  const Bytes body = ByteBuilder().Put<SHORT>(1).Str("v").Put(2.0).Put<LONG>(1).Put<LONG>(2).Put<LONG>(3)
                         .Put<LONG>(4).Str("").Str("").Str("").Put<SHORT>(7).bytes();
  auto withVersion = [&](SHORT v, bool offset) {
    ByteBuilder b;
    b.Put(v).Raw(body);
    if (offset) b.Put<LONG>(55);
    return b.Put<LONG>(0x5A5A5A5A).bytes();
  };
  const Case cases[] = {
      {"version 1", withVersion(1, true), true, 55, true},
      {"version 0 has no offset", withVersion(0, false), true, -1, true},
      {"a negative version reads as 0", withVersion(-3, false), true, -1, true},
      {"version 2 reads nothing more", withVersion(2, false), false, 0, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Loader in(c.bytes);
    ContaminantMatch read = Match(3, 8, 9, 8, 0, "old");
    read.m_bEnabled = false;
    read.Serialize(in.ar());
    if (!c.changed) {
      EXPECT_EQ(read.m_strName, "old");
      EXPECT_EQ(in.Remaining(), c.bytes.size() - 2);
      continue;
    }
    EXPECT_EQ(read.m_lType, 1);
    EXPECT_EQ(read.m_strName, "v");
    EXPECT_EQ(read.m_lSeqBegin, 1);
    EXPECT_EQ(read.m_lSeqEnd, 2);
    EXPECT_EQ(read.m_lOtherEnd, 4);
    EXPECT_EQ(read.m_lTrimOffset, c.offset);
    EXPECT_EQ(read.m_bEnabled, c.enabled);  // any nonzero short is true
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
  const Bytes expected = ByteBuilder().Put<SHORT>(1).Put<LONG>(2).Put(6.0).Put<SHORT>(2)
                             .Raw(first).Raw(second).Put<SHORT>(1).bytes();
  EXPECT_EQ(stored, expected);

  ContaminantMatchArray back(5);
  back.Insert(Match(3, 1, 1, -1, 1, "old"));
  Loader in(stored);
  back.Serialize(in.ar());
  EXPECT_EQ(Names(back), "a b");
  EXPECT_EQ(back.GetLimit(), 2);
  EXPECT_EQ(back.GetLowestScore(), 6.0);
  EXPECT_TRUE(back.IsApplied());
  EXPECT_EQ(Stored([&](CArchive& ar) { back.Serialize(ar); }), stored);

  // Version 0 has no applied flag; negative and future versions leave the array alone.
  struct Case {
    SHORT version;
    bool read;
  };
  for (const Case& c : {Case{0, true}, Case{-1, false}, Case{2, false}}) {
    SCOPED_TRACE(c.version);
    ByteBuilder b;
    b.Put(c.version).Put<LONG>(4).Put(1.0).Put<SHORT>(1).Raw(first);
    ContaminantMatchArray target(9);
    target.Insert(Match(3, 1, 1, -1, 1, "old"));
    target.SetApplied(true);
    Loader l(b.Put<SHORT>(1).bytes());
    target.Serialize(l.ar());
    EXPECT_EQ(Names(target), c.read ? "a" : "old");
    EXPECT_EQ(target.GetLimit(), c.read ? 4 : 9);
    EXPECT_EQ(target.IsApplied(), !c.read);
  }
}
