// The base sequence: searches in both number directions, the editing rules with the
// trim range and matches carried along, reverse complement, text, valid range, quality
// means, and the order and effects of quality and contaminant trimming.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <string>
#include <vector>

#include "zevutil/CBaseSequence.h"

using namespace zev;

namespace {

using Numbers = std::vector<LONG>;

// Bases with the given numbers and codes, in list order, as a base caller leaves them.
void Fill(CBaseSequence& seq, const Numbers& numbers, const std::string& codes) {
  for (size_t i = 0; i < numbers.size(); ++i) {
    auto* b = new CCalledBase;
    b->m_lInserted = 0;
    b->m_lBaseNumber = numbers[i];
    b->m_Code = codes[i];
    seq.AddTail(b);
  }
}

Numbers Iota(LONG first, size_t count) {
  Numbers n(count);
  std::iota(n.begin(), n.end(), first);
  return n;
}

Numbers NumbersOf(const CBaseSequence& seq) {
  Numbers out;
  for (POSITION p = seq.GetHeadPosition(); p;) out.push_back(seq.GetNext(p)->m_lBaseNumber);
  return out;
}

std::string TextOf(const CBaseSequence& seq) {
  CString text;
  EXPECT_EQ(seq.GetBaseSequenceText(text), 1);
  return text.str();
}

// The code of the base at pos, or '-' for a null position.
char CodeAt(const CBaseSequence& seq, POSITION pos) { return pos ? seq.GetAt(pos)->m_Code.code : '-'; }

ContaminantMatch Match(LONG type, LONG begin, LONG end, LONG offset = -1, double score = 1, bool enabled = true) {
  ContaminantMatch m;
  m.m_lType = type;
  m.m_lSeqBegin = begin;
  m.m_lSeqEnd = end;
  m.m_lTrimOffset = offset;
  m.m_dScore = score;
  m.m_bEnabled = enabled;
  return m;
}

// The trim range's and the first match's begin and end.
std::vector<LONG> Carried(const CBaseSequence& seq) {
  const ContaminantMatch* m = seq.GetContaminantMatch(0);
  return {seq.GetQualityTrimRange().m_lBegin, seq.GetQualityTrimRange().m_lEnd, m->m_lSeqBegin, m->m_lSeqEnd};
}

}  // namespace

TEST(CBaseSequence, SearchesInBothDirections) {
  struct Case {
    int number;
    char ceil, floor, exact;
    int index;  // in the ascending list
  };
  // Numbers 1, 2, 5 with codes A, C, G; the reversed list holds them as 5, 2, 1.
  const Case cases[] = {{0, 'A', '-', '-', -1}, {1, 'A', 'A', 'A', 0}, {3, 'G', 'C', '-', -1},
                        {5, 'G', 'G', 'G', 2},  {6, '-', 'G', '-', -1}};
  for (bool reversed : {false, true}) {
    CBaseSequence seq;
    Fill(seq, reversed ? Numbers{5, 2, 1} : Numbers{1, 2, 5}, reversed ? "GCA" : "ACG");
    for (const Case& c : cases) {
      SCOPED_TRACE(::testing::Message() << (reversed ? "reversed, " : "ascending, ") << c.number);
      POSITION pos = reinterpret_cast<POSITION>(1);
      auto code = [&](CCalledBase* b) { return b ? b->m_Code.code : '-'; };
      EXPECT_EQ(code(seq.FindCeilBaseNumber(c.number, pos)), c.ceil);
      EXPECT_EQ(CodeAt(seq, pos), c.ceil);
      EXPECT_EQ(code(seq.FindFloorBaseNumber(c.number, pos)), c.floor);
      EXPECT_EQ(CodeAt(seq, pos), c.floor);
      EXPECT_EQ(code(seq.FindBaseNumber(c.number, pos)), c.exact);
      EXPECT_EQ(CodeAt(seq, pos), c.exact);
      EXPECT_EQ(seq.GetIndexFromBaseNumber(c.number), c.index < 0 ? -1 : (reversed ? 2 - c.index : c.index));
    }
    POSITION pos;
    EXPECT_EQ(seq.FindBaseIndex(3, pos), nullptr);
    EXPECT_EQ(pos, nullptr);
    EXPECT_EQ(seq.FindBaseIndex(-1, pos), nullptr);
    EXPECT_EQ(seq.FindBaseIndex(0, pos)->m_lBaseNumber, reversed ? 5 : 1);
  }
}

TEST(CBaseSequence, FindNextAndPrevCodeSkipTheBaseBehindAHit) {
  struct Case {
    const char* codes;
    char code;
    int exact;
    std::vector<int> next, prev;  // list indices of the hits of successive calls
  };
  const Case cases[] = {
      {"AAA", 'A', 1, {0, 2}, {2, 0}},   {"AAAA", 'A', 1, {0, 2}, {3, 1}}, {"CACA", 'A', 1, {1, 3}, {3, 1}},
      {"RAT", 'A', 0, {0}, {1}},  // R stands for A or G
      {"aA", 'A', 1, {1}, {1}},   // exact compares the bytes
      {"aA", 'A', 0, {0}, {1}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.codes << " exact " << c.exact);
    CBaseSequence seq;
    Fill(seq, Iota(0, std::strlen(c.codes)), c.codes);
    for (bool forward : {true, false}) {
      std::vector<int> hits;
      POSITION pos = nullptr;
      do {
        CCalledBase* b = forward ? seq.FindNextCode(pos, c.code, c.exact) : seq.FindPrevCode(pos, c.code, c.exact);
        if (!b) {
          EXPECT_EQ(pos, nullptr);
          break;
        }
        hits.push_back(b->m_lBaseNumber);
      } while (pos);
      EXPECT_EQ(hits, forward ? c.next : c.prev) << (forward ? "next" : "prev");
    }
  }
}

TEST(CBaseSequence, InsertCarriesRangeAndMatches) {
  struct Case {
    const char* name;
    bool reversed;
    LONG number;
    int renumber;
    Numbers numbers;
    const char* text;
    LONG rangeBegin, rangeEnd, matchBegin, matchEnd;  // afterward
  };
  // Start: numbers 1, 2, 5 (codes A, C, G), range 2..5, match 2..4. New bases read 'x'.
  const Case cases[] = {
      {"same number kept: overwrites, nothing else moves", false, 2, 0, {1, 2, 5}, "AxG", 2, 5, 2, 4},
      {"same number renumbered: pushes it and all above up", false, 2, 1, {1, 2, 3, 6}, "AxCG", 3, 6, 3, 5},
      {"one above range and match begin", false, 3, 1, {1, 2, 3, 5}, "ACxG", 2, 6, 2, 5},
      {"in a gap: no renumbering", false, 4, 1, {1, 2, 4, 5}, "ACxG", 2, 6, 2, 5},
      {"at range end, past match end", false, 5, 1, {1, 2, 5, 6}, "ACxG", 2, 6, 2, 4},
      {"just past range end", false, 6, 1, {1, 2, 5, 6}, "ACGx", 2, 5, 2, 4},
      {"below all", false, 0, 1, {0, 1, 2, 5}, "xACG", 3, 6, 3, 5},
      {"above all", false, 9, 0, {1, 2, 5, 9}, "ACGx", 2, 5, 2, 4},
      {"reversed, same number kept", true, 2, 0, {5, 2, 1}, "GxA", 2, 5, 2, 4},
      {"reversed, same number renumbered", true, 2, 1, {6, 3, 2, 1}, "GCxA", 3, 6, 3, 5},
      {"reversed, in a gap", true, 4, 1, {5, 4, 2, 1}, "GxCA", 2, 6, 2, 5},
      {"reversed, below all", true, 0, 1, {5, 2, 1, 0}, "GCAx", 3, 6, 3, 5},
      {"reversed, above all", true, 9, 1, {9, 5, 2, 1}, "xGCA", 2, 5, 2, 4},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CBaseSequence seq;
    Fill(seq, c.reversed ? Numbers{5, 2, 1} : Numbers{1, 2, 5}, c.reversed ? "GCA" : "ACG");
    seq.SetQualityTrimRange(2, 5);
    seq.AddContaminantMatch(Match(1, 2, 4));
    CCalledBase base;
    base.m_lBaseNumber = c.number;
    base.m_Code = 'x';
    base.m_lInserted = 0;
    POSITION at = seq.Insert(base, c.renumber);
    EXPECT_EQ(CodeAt(seq, at), 'x');
    EXPECT_EQ(NumbersOf(seq), c.numbers);
    EXPECT_EQ(TextOf(seq), c.text);
    EXPECT_EQ(Carried(seq), (std::vector<LONG>{c.rangeBegin, c.rangeEnd, c.matchBegin, c.matchEnd}));
  }
}

TEST(CBaseSequence, DeleteCarriesRangeAndMatches) {
  struct Case {
    const char* name;
    bool reversed;
    LONG number;
    int renumber;
    Numbers numbers;
    const char* text;
    char result;
    LONG rangeBegin, rangeEnd, matchBegin, matchEnd;
  };
  // Start: numbers 0..4 with codes A C G T N (reversed: the same bases from 4 down),
  // range 1..3, match 2..3.
  const Case cases[] = {
      {"lowest, renumbered", false, 0, 1, {0, 1, 2, 3}, "CGTN", '-', 0, 2, 1, 2},
      {"highest, renumbered: nothing follows", false, 4, 1, {0, 1, 2, 3}, "ACGT", 'T', 1, 3, 2, 3},
      {"middle, renumbered", false, 2, 1, {0, 1, 2, 3}, "ACTN", 'T', 1, 2, 2, 2},
      {"middle, kept", false, 2, 0, {0, 1, 3, 4}, "ACTN", 'T', 1, 2, 2, 2},
      {"at range begin, below match begin", false, 1, 0, {0, 2, 3, 4}, "AGTN", 'G', 1, 2, 1, 2},
      {"at range and match end", false, 3, 0, {0, 1, 2, 4}, "ACGN", 'N', 1, 2, 2, 2},
      {"unknown number", false, 7, 1, {0, 1, 2, 3, 4}, "ACGTN", '-', 1, 3, 2, 3},
      {"reversed, lowest, renumbered", true, 0, 1, {3, 2, 1, 0}, "NTGC", '-', 0, 2, 1, 2},
      {"reversed, highest, renumbered", true, 4, 1, {3, 2, 1, 0}, "TGCA", 'T', 1, 3, 2, 3},
      {"reversed, middle, renumbered", true, 2, 1, {3, 2, 1, 0}, "NTCA", 'T', 1, 2, 2, 2},
      {"reversed, middle, kept", true, 2, 0, {4, 3, 1, 0}, "NTCA", 'T', 1, 2, 2, 2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CBaseSequence seq;
    Fill(seq, c.reversed ? Numbers{4, 3, 2, 1, 0} : Numbers{0, 1, 2, 3, 4}, c.reversed ? "NTGCA" : "ACGTN");
    seq.SetQualityTrimRange(1, 3);
    seq.AddContaminantMatch(Match(1, 2, 3));
    POSITION result = seq.Delete(c.number, c.renumber);
    EXPECT_EQ(CodeAt(seq, result), c.result);
    EXPECT_EQ(NumbersOf(seq), c.numbers);
    EXPECT_EQ(TextOf(seq), c.text);
    EXPECT_EQ(Carried(seq), (std::vector<LONG>{c.rangeBegin, c.rangeEnd, c.matchBegin, c.matchEnd}));
  }
}

TEST(CBaseSequence, AppliedRangeAndMatchesStayPut) {
  CBaseSequence seq;
  Fill(seq, {0, 1, 2, 3}, "ACGT");
  seq.SetQualityTrimRange(1, 3);
  seq.GetQualityTrimRange().SetApplied(true);
  seq.AddContaminantMatch(Match(1, 1, 3));
  seq.GetContaminantMatches().SetApplied(true);
  CCalledBase b;
  seq.Insert(b, 1);  // number 0: everything moves up
  seq.Delete(3, 1);
  EXPECT_EQ(NumbersOf(seq), (Numbers{0, 1, 2, 3}));
  EXPECT_EQ(seq.GetQualityTrimRange().m_lBegin, 1);
  EXPECT_EQ(seq.GetContaminantMatch(0)->m_lSeqEnd, 3);
  seq.Renumber(2, 10);
  seq.Renumber(7, 10);  // no such base
  seq.Renumber(POSITION(nullptr), -1);
  EXPECT_EQ(NumbersOf(seq), (Numbers{-1, 0, 11, 12}));
}

TEST(CBaseSequence, MakeReverseComplimentTwiceRestoresOrder) {
  CBaseSequence seq;
  Fill(seq, {0, 1, 2, 3}, "ACgN");
  const float peaks[] = {10.0f, 20.5f, 30.0f, 0.0f};
  int i = 0;
  for (POSITION p = seq.GetHeadPosition(); p; ++i) {
    CCalledBase* b = seq.GetNext(p);
    b->m_Peak.x = peaks[i];
    for (int s = 0; s < 4; ++s) b->m_fScore[s] = float(10 * i + s);
  }
  seq.GetAt(seq.FindIndex(2))->m_lInserted = 1;
  seq.SetQualityTrimRange(1, 2);

  seq.MakeReverseCompliment(100, 123.0f);
  EXPECT_EQ(NumbersOf(seq), (Numbers{3, 2, 1, 0}));
  EXPECT_EQ(TextOf(seq), "NcGT");  // the inserted base still reads lower case
  struct Want {
    float peak;
    LONG point;
    float scoreA;
  };
  i = 0;
  for (const Want& w : {Want{99, 99, 33}, Want{69, 69, 23}, Want{78.5f, 78, 13}, Want{89, 89, 3}}) {
    const CCalledBase* b = seq.GetAt(seq.FindIndex(i++));
    EXPECT_EQ(b->m_Peak.x, w.peak);
    EXPECT_EQ(b->m_lDataPoint, w.point);
    EXPECT_EQ(b->m_fScore[0], w.scoreA);  // A and T, C and G trade places
    EXPECT_EQ(b->m_fScore[2], w.scoreA - 2);
  }
  EXPECT_EQ(seq.GetQualityTrimRange().m_lEnd, 2);

  seq.MakeReverseCompliment(100);
  EXPECT_EQ(NumbersOf(seq), (Numbers{0, 1, 2, 3}));
  EXPECT_EQ(TextOf(seq), "ACgN");
  EXPECT_EQ(seq.GetAt(seq.FindIndex(2))->m_Code.code, 'G');  // the letter itself is upper case now
  EXPECT_EQ(seq.GetAt(seq.FindIndex(1))->m_Peak.x, 20.5f);
}

TEST(CBaseSequence, TextValidRangeAndQualityMeans) {
  CBaseSequence seq;
  EXPECT_EQ(TextOf(seq), "");
  EXPECT_EQ(seq.GetLastValidBase(), -1);
  EXPECT_EQ(seq.GetValidCount(), 0);
  Fill(seq, Iota(0, 5), "ACGTN");
  seq.GetAt(seq.FindIndex(1))->m_lEdited = 1;
  seq.GetAt(seq.FindIndex(4))->m_lInserted = 1;
  char buffer[8];
  EXPECT_EQ(seq.GetBaseSequenceText(buffer, 3), 1);
  EXPECT_STREQ(buffer, "AcG");
  seq.GetBaseSequenceText(buffer, 7);
  EXPECT_STREQ(buffer, "AcGTn");
  EXPECT_EQ(seq.GetBaseSequenceText(nullptr, 3), 0);

  struct Valid {
    LONG first, last;
    int wantFirst, wantLast;
  };
  for (const Valid& v : {Valid{1, 3, 1, 3}, Valid{0, 0, 0, 4}, Valid{5, 2, 0, 2}, Valid{3, 2, 3, 4}}) {
    SCOPED_TRACE(::testing::Message() << v.first << ".." << v.last);
    seq.SetFirstValidBase(v.first);
    seq.SetLastValidBase(v.last);
    EXPECT_EQ(seq.GetFirstValidBase(), v.wantFirst);
    EXPECT_EQ(seq.GetLastValidBase(), v.wantLast);
    EXPECT_EQ(seq.GetValidCount(), v.wantLast - v.wantFirst + 1);
  }

  int i = 1;
  for (POSITION p = seq.GetHeadPosition(); p; ++i) {
    CCalledBase* b = seq.GetNext(p);
    b->m_fCallScore = float(i);
    for (int s = 0; s < 4; ++s) b->m_fScore[s] = float(i * (s + 1));
  }
  struct Mean {
    int first, last;
    double call;
  };
  for (const Mean& m : {Mean{1, 1, 2.0}, Mean{3, 99, 4.5}, Mean{-5, 1, 1.5}, Mean{3, 2, 0.0}, Mean{5, 9, 0.0}}) {
    SCOPED_TRACE(::testing::Message() << m.first << ".." << m.last);
    double call = -1, scores[4] = {-1, -1, -1, -1};
    seq.ComputeQualityValues(m.first, m.last, call, scores);
    EXPECT_DOUBLE_EQ(call, m.call);
    EXPECT_DOUBLE_EQ(scores[3], m.call * 4);
  }
}

TEST(CBaseSequence, CopiesAreDeep) {
  CBaseSequence seq;
  Fill(seq, {0, 1}, "AC");
  seq.AddContaminantMatch(Match(2, 1, 1));
  CBaseSequence copy(seq);
  seq.GetHead()->m_Code = 'T';
  seq.GetContaminantMatches()[0]->m_lSeqBegin = 0;
  EXPECT_EQ(TextOf(copy), "AC");
  EXPECT_EQ(copy.GetContaminantMatch(0)->m_lSeqBegin, 1);
  copy = seq;
  EXPECT_EQ(TextOf(copy), "TC");
}

TEST(CBaseSequence, QualityTrimming) {
  struct Case {
    const char* name;
    bool reversed;
    QualityTrimRange range;
    bool matchesApplied;
    const char* text;
    Numbers numbers;
    LONG matchBegin, matchEnd, matchOffset, matchType;
  };
  // Ten bases 0..9 reading ABCDEFGHIJ, one left match 3..5 with trim offset 1.
  const Case cases[] = {
      {"keeps the range and numbers it from 0", false, {2, 6, 1}, false, "CDEFG", {0, 1, 2, 3, 4}, 1, 3, 1, 1},
      {"begin 0 renumbers and shifts nothing", false, {0, 4, 1}, false, "ABCDE", {0, 1, 2, 3, 4}, 3, 5, 1, 1},
      {"the end may lie past the sequence", false, {5, 20, 1}, false, "FGHIJ", {0, 1, 2, 3, 4}, 0, 0, 0, 1},
      {"a match wholly cut goes void", false, {7, 9, 1}, false, "HIJ", {0, 1, 2}, -4, -2, 1, 0},
      {"applied matches stay", false, {2, 6, 1}, true, "CDEFG", {0, 1, 2, 3, 4}, 3, 5, 1, 1},
      {"no range: nothing", false, {2, 6, 0}, false, "ABCDEFGHIJ", Iota(0, 10), 3, 5, 1, 1},
      {"already applied: nothing", false, {2, 6, 2}, false, "ABCDEFGHIJ", Iota(0, 10), 3, 5, 1, 1},
      // The range is taken as list indices, and renumbering runs from the lowest number.
      {"reversed list", true, {2, 6, 1}, false, "HGFED", {5, 4, 3, 2, 1}, 1, 3, 1, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CBaseSequence seq;
    Numbers numbers = Iota(0, 10);
    if (c.reversed) std::reverse(numbers.begin(), numbers.end());
    Fill(seq, numbers, c.reversed ? "JIHGFEDCBA" : "ABCDEFGHIJ");
    seq.GetQualityTrimRange() = c.range;
    seq.AddContaminantMatch(Match(1, 3, 5, 1));
    seq.GetContaminantMatches().SetApplied(c.matchesApplied);
    EXPECT_EQ(seq.ApplyQualityTrimming(), 1);
    EXPECT_EQ(TextOf(seq), c.text);
    EXPECT_EQ(NumbersOf(seq), c.numbers);
    const ContaminantMatch* m = seq.GetContaminantMatch(0);
    EXPECT_EQ((std::vector<LONG>{m->m_lSeqBegin, m->m_lSeqEnd, m->m_lTrimOffset, m->m_lType}),
              (std::vector<LONG>{c.matchBegin, c.matchEnd, c.matchOffset, c.matchType}));
    // The range keeps its numbering from before the trim.
    EXPECT_EQ(seq.GetQualityTrimRange().m_lBegin, c.range.m_lBegin);
    EXPECT_EQ(seq.GetQualityTrimRange().m_lState, c.range.m_lState == 0 ? 0 : 2);
  }
}

TEST(CBaseSequence, ContaminantTrimmingOrder) {
  const LONG I = 3, L = 1, R = 2;
  auto M = [](LONG type, LONG b, LONG e, LONG offset = -1, bool enabled = true) {
    return Match(type, b, e, offset, 1, enabled);
  };
  struct Case {
    const char* name;
    std::vector<ContaminantMatch> matches;
    const char* text;  // numbered from 0 afterward
    QualityTrimRange range;
  };
  // Twenty bases 0..19 reading A to T; internal matches mask with '*'.
  const Case cases[] = {
      {"left", {M(L, 0, 4)}, "FGHIJKLMNOPQRST", {}},
      {"left: the trim offset sets the cut", {M(L, 2, 9, 3)}, "FGHIJKLMNOPQRST", {}},
      {"right runs to the end", {M(R, 15, 17)}, "ABCDEFGHIJKLMNO", {}},
      {"right: the trim offset moves the cut", {M(R, 13, 19, 2)}, "ABCDEFGHIJKLMNO", {}},
      {"the right with the lower key cuts, the other is void", {M(R, 12, 19, 5), M(R, 15, 19)}, "ABCDEFGHIJKLMNO", {}},
      {"internal masks and removes nothing", {M(I, 3, 5)}, "ABC***GHIJKLMNOPQRST", {}},
      {"internal masks before a left cut", {M(I, 6, 7), M(L, 0, 4)}, "F**IJKLMNOPQRST", {}},
      {"right before left", {M(L, 0, 4), M(R, 15, 19)}, "FGHIJKLMNO", {}},
      {"a later left is moved down", {M(L, 3, 8), M(L, 0, 4)}, "JKLMNOPQRST", {}},
      {"a later left inside the cut goes void", {M(L, 2, 5), M(L, 0, 9)}, "KLMNOPQRST", {}},
      {"a straddling left loses the cut part of its offset", {M(L, 3, 9, 4), M(L, 0, 4)}, "HIJKLMNOPQRST", {}},
      {"a disabled left changes nothing, not even later ones", {M(L, 0, 9, -1, false), M(L, 2, 5)},
       "GHIJKLMNOPQRST", {}},
      {"disabled internal and right", {M(I, 0, 2, -1, false), M(R, 10, 19, -1, false)}, "ABCDEFGHIJKLMNOPQRST",
       {}},
      {"void match", {M(0, 0, 4)}, "ABCDEFGHIJKLMNOPQRST", {}},
      {"quality trimming comes first", {M(L, 3, 6)}, "HIJKLMNOPQR", {2, 17, 1}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CBaseSequence seq;
    Fill(seq, Iota(0, 20), "ABCDEFGHIJKLMNOPQRST");
    seq.GetContaminantMatches().Reset(4);
    for (const ContaminantMatch& m : c.matches) seq.AddContaminantMatch(m);
    seq.GetQualityTrimRange() = c.range;
    const LONG firstBegin = seq.GetContaminantMatch(0)->m_lSeqBegin;
    EXPECT_EQ(seq.ApplyContaminantTrimming('*'), 1);
    EXPECT_EQ(TextOf(seq), c.text);
    EXPECT_EQ(NumbersOf(seq), Iota(0, std::strlen(c.text)));
    EXPECT_TRUE(seq.GetContaminantMatches().IsApplied());
    if (!c.range.IsPresent()) {  // the work is done on a copy: the sequence's matches stay
      EXPECT_EQ(seq.GetContaminantMatch(0)->m_lSeqBegin, firstBegin);
    }
  }
}

TEST(CBaseSequence, ContaminantTrimmingHappensOnce) {
  CBaseSequence seq;
  Fill(seq, Iota(0, 6), "ACGTAC");
  seq.GetAt(seq.FindIndex(1))->m_lEdited = 1;
  seq.AddContaminantMatch(Match(3, 1, 2, -1, 5));
  seq.AddContaminantMatch(Match(1, 0, 0, -1, 4, false));
  EXPECT_EQ(seq.GetNumContaminantMatches(true), 1);
  seq.ApplyContaminantTrimming('N');
  EXPECT_EQ(TextOf(seq), "AnNTAC");  // masking keeps the edited flag
  seq.GetAt(seq.FindIndex(2))->m_Code = 'G';
  seq.ApplyContaminantTrimming('N');
  EXPECT_EQ(TextOf(seq), "AnGTAC");
  seq.RemoveContaminantMatches();
  seq.AddContaminantMatch(Match(1, 0, 3, -1, 9));
  EXPECT_EQ(seq.GetNumContaminantMatches(false), 0);  // limit 0 until set again
}
