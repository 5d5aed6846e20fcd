// The trace bridge of the zevutil program: traces into CBaseSequence with the file's
// qualities, Mott quality trimming against Biopython's abi-trim reads, vector search
// against a plain Smith-Waterman and on reads with known inserts, and bad input.
#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "Commands.h"
#include "QualityTrim.h"
#include "RunProgram.h"
#include "TraceModel.h"
#include "VectorSearch.h"

using namespace zevcli;

namespace {

const std::string kTraces = ZEV_SHARED_DIR "/testdata/traces/";
const std::string kOracle = ZEV_SHARED_DIR "/testdata/export-oracle/";

std::string Slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

// The letters and numbers of a one-record FASTA or QUAL file.
std::string FastaLetters(const std::string& path) {
  std::string out, line;
  std::istringstream in(Slurp(path));
  while (std::getline(in, line))
    if (!line.empty() && line[0] != '>')
      for (char c : line)
        if (c > ' ') out += c;
  return out;
}
std::vector<int> QualNumbers(const std::string& path) {
  std::vector<int> out;
  std::string line;
  std::istringstream in(Slurp(path));
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '>') continue;
    std::istringstream l(line);
    int v;
    while (l >> v) out.push_back(v);
  }
  return out;
}

std::string Letters(const zev::CBaseSequence& s) {
  zev::CString t;
  s.GetBaseSequenceText(t);
  return t.str();
}

std::string Error(const std::function<void()>& f) {
  try {
    f();
  } catch (const CommandError& e) {
    return e.what();
  }
  return "";
}

// A repeatable pseudo-random DNA string.
std::string RandomDna(std::size_t n, std::uint32_t seed) {
  std::string s(n, 'A');
  for (auto& c : s) {
    seed = seed * 1664525u + 1013904223u;
    c = "ACGT"[(seed >> 24) & 3];
  }
  return s;
}

char Other(char c) { return c == 'A' ? 'C' : 'A'; }

}  // namespace

// ---- traces into the model ----

TEST(TraceBridgeTest, QualitiesComeFromTheFileAsThePeersReadThem) {
  struct Case {
    const char* trace;
    const char* oracle;  // Biopython for ABIF (PCON2), io_lib for SCF
    const char* format;
  };
  const Case cases[] = {
      {"biopython_3730.ab1", "biopython_3730.ab1", "ABIF"},
      {"biopython_3100.ab1", "biopython_3100.ab1", "ABIF"},
      {"seqtrace_forward.ab1", "seqtrace_forward.ab1", "ABIF"},
      {"bioperl_chad100.scf", "bioperl_chad100.scf", "SCF"},
      {"bioperl_version3.scf", "bioperl_version3.scf", "SCF"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.trace);
    TraceSequence t = LoadTraceSequence(kTraces + c.trace);
    EXPECT_EQ(t.format.substr(0, 3), std::string(c.format).substr(0, 3));
    EXPECT_TRUE(t.hasQuality);
    EXPECT_TRUE(t.warnings.empty()) << t.warnings.front();
    EXPECT_EQ(Letters(t.sequence), FastaLetters(kOracle + c.oracle + std::string(".fasta")));
    std::vector<int> q;
    for (zev::POSITION p = t.sequence.GetHeadPosition(); p;) {
      const zev::CCalledBase* b = t.sequence.GetNext(p);
      q.push_back(int(b->m_fQualityValue));
      EXPECT_EQ(b->m_fCallScore, b->m_fQualityValue);
      EXPECT_EQ(float(b->m_lDataPoint), b->m_Peak.x);
      EXPECT_EQ(b->m_lInserted, 0);
    }
    EXPECT_EQ(q, QualNumbers(kOracle + c.oracle + std::string(".qual")));
    // Migration times follow the peaks where the run's times give a scan's length.
    const zev::CCalledBase* first = t.sequence.GetHead();
    const zev::CCalledBase* last = t.sequence.GetTail();
    if (t.format == "ABIF") {
      EXPECT_GT(first->m_fMigrationTime, 0.0f);
      EXPECT_GT(last->m_fMigrationTime, first->m_fMigrationTime);
      EXPECT_LT(last->m_fMigrationTime, 4 * 3600.0f);
    } else {
      EXPECT_EQ(last->m_fMigrationTime, 0.0f);
    }
  }
}

TEST(TraceBridgeTest, FilesWithoutBasesOrQualitiesLoadWithAWarning) {
  struct Case {
    const char* trace;
    std::string warning;
  };
  const Case cases[] = {
      {"biopython_310.ab1", "every quality value in the file is 0"},
      {"biopython_test.fsa", "no called bases"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.trace);
    TraceSequence t = LoadTraceSequence(kTraces + c.trace);
    EXPECT_FALSE(t.hasQuality);
    ASSERT_FALSE(t.warnings.empty());
    EXPECT_EQ(t.warnings.back(), c.warning);
  }
}

TEST(TraceBridgeTest, UnreadableTracesThrowOneClearLine) {
  auto dir = zevrun::FreshScratch("trace_bridge/bad");
  const std::string empty = zevrun::WriteFile(dir / "empty.ab1", "");
  const std::string text = zevrun::WriteFile(dir / "notes.txt", "not a trace\n");
  const std::string cut = zevrun::WriteFile(dir / "cut.scf", Slurp(kTraces + "bioperl_chad100.scf").substr(0, 200));
  struct Case {
    std::string path, message;
  };
  const Case cases[] = {
      {empty, "'" + empty + "' is not an SCF, ABIF, ESD or CRV file"},
      {text, "'" + text + "' is not an SCF, ABIF, ESD or CRV file"},
      {cut, "cannot read '" + cut + "' as SCF: bad version, or counts that do not fit the file"},
      {(dir / "missing.scf").string(), "cannot read '" + (dir / "missing.scf").string() + "'"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    EXPECT_EQ(Error([&] { LoadTraceSequence(c.path); }), c.message);
  }
}

// ---- Mott trimming ----

TEST(TraceBridgeTest, MottKeepsTheBestScoringStretch) {
  struct Case {
    const char* name;
    std::vector<double> q;
    double cutoff;
    long first, last;
  };
  const Case cases[] = {
      {"empty", {}, 0.05, 0, -1},
      {"all bad", {0, 5, 10, 0}, 0.05, 0, -1},
      {"all good", {30, 30, 30}, 0.05, 0, 2},
      {"bad ends", {2, 3, 40, 40, 40, 40, 4, 2}, 0.05, 2, 5},
      // Two good stretches: the one that scores more wins even though it comes later.
      {"second stretch better", {30, 30, 0, 0, 0, 0, 40, 40, 40, 40, 40}, 0.05, 6, 10},
      // A single poor base inside good ones is kept when it costs less than its neighbours gave.
      {"poor base bridged", {40, 40, 40, 40, 40, 40, 13, 40, 40}, 0.05, 0, 8},
      // A looser cutoff keeps a poorer base (q 12 has p 0.063).
      {"cutoff matters", {12, 12, 12}, 0.1, 0, 2},
      {"cutoff matters strict", {12, 12, 12}, 0.05, 0, -1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    MottRange r = ComputeMottRange(c.q, c.cutoff);
    EXPECT_EQ(r.first, c.first);
    EXPECT_EQ(r.last, c.last);
  }
  for (double bad : {0.0, -0.1, 1.0, 2.0}) {
    SCOPED_TRACE(bad);
    EXPECT_NE(Error([&] { ComputeMottRange({30}, bad); }).find("trim cutoff must lie between 0 and 1"),
              std::string::npos);
  }
}

// Biopython's abi-trim differs from the plain algorithm in three ways: it never keeps
// the first base, it leaves out the best stretch's last base, and its start is the
// first base after which the running sum stays above 0, not the start of the best
// stretch. Where those coincide its read is ours less our last base.
TEST(TraceBridgeTest, MottAgreesWithBiopythonWhereTheAlgorithmsCoincide) {
  struct Case {
    const char* trace;
    bool coincide;  // false: Biopython's start is an earlier stretch than the best one
  };
  const Case cases[] = {
      {"biopython_3730.ab1", true},     {"biopython_3100.ab1", true},      {"seqtrace_forward.ab1", true},
      {"sangerseqR_heterozygous.ab1", true},
      {"nimabif_A_forward.ab1", false}, {"biopython_nonascii_encoding.ab1", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.trace);
    TraceSequence t = LoadTraceSequence(kTraces + c.trace);
    std::string letters = Letters(t.sequence);
    MottRange r = SetMottTrimRange(t.sequence);
    ASSERT_GT(r.Length(), 1);
    std::string oracle = FastaLetters(kOracle + c.trace + std::string(".trim.fasta"));
    std::string ours = letters.substr(std::size_t(r.first), std::size_t(r.Length()));
    std::string oursLessLast = ours.substr(0, ours.size() - 1);
    if (c.coincide) {
      EXPECT_EQ(oursLessLast, oracle);
    } else {
      // Same end; Biopython starts at an earlier, weaker stretch.
      ASSERT_GT(oracle.size(), oursLessLast.size());
      EXPECT_EQ(oracle.substr(oracle.size() - oursLessLast.size()), oursLessLast);
    }
    // The library's trimming keeps exactly the range.
    EXPECT_EQ(t.sequence.GetQualityTrimRange().m_lBegin, r.first);
    t.sequence.ApplyQualityTrimming();
    EXPECT_EQ(Letters(t.sequence), ours);
  }
  // A read whose qualities are all 0 trims to nothing, and the library keeps nothing.
  TraceSequence zero = LoadTraceSequence(kTraces + "biopython_310.ab1");
  EXPECT_EQ(SetMottTrimRange(zero.sequence).Length(), 0);
  zero.sequence.ApplyQualityTrimming();
  EXPECT_EQ(zero.sequence.GetCount(), 0);
  EXPECT_EQ(FastaLetters(kOracle + "biopython_310.ab1.trim.fasta"), "");
}

// ---- vector search ----

TEST(TraceBridgeTest, StripedSearchScoresAsThePlainOne) {
  struct Scores {
    const char* name;
    AlignmentScores s;
  };
  const Scores sets[] = {{"default", {}}, {"cheap gaps", {1, -1, 0, 1}}, {"dear gaps", {5, -4, 10, 1}}};
  for (const auto& set : sets)
    for (std::uint32_t seed = 1; seed <= 25; ++seed) {
      SCOPED_TRACE(std::string(set.name) + " seed " + std::to_string(seed));
      std::string read = RandomDna(std::size_t(1 + seed * 37 % 300), seed);
      std::string other = RandomDna(std::size_t(1 + seed * 53 % 400), seed + 1000);
      // A shared stretch with an insertion and a deletion in it, and an IUB code.
      if (read.size() > 60 && other.size() > 80) {
        std::string shared = other.substr(10, 60);
        shared.insert(20, "GG");
        shared.erase(40, 3);
        shared[5] = 'N';
        read.replace(read.size() / 3, shared.size() < read.size() / 2 ? shared.size() : read.size() / 2, shared);
      }
      EXPECT_EQ(BestLocalScore(read, other, set.s).score, BestLocalScorePlain(read, other, set.s).score);
    }
}

namespace {

// A read made of random bases with copies of vector stretches put in, each fenced by
// bases that differ from the vector's neighbours, so a hit ends exactly where it should.
struct Insert {
  long at;          // read position of the copy
  long from, len;   // vector stretch
  bool reverse;     // the copy is the stretch's reverse complement
};

std::string RevComp(const std::string& s) {
  std::string out(s.rbegin(), s.rend());
  for (char& c : out) c = c == 'A' ? 'T' : c == 'T' ? 'A' : c == 'C' ? 'G' : 'C';
  return out;
}

std::string BuildRead(std::size_t size, const std::string& vector, const std::vector<Insert>& inserts) {
  std::string read = RandomDna(size, 77);
  for (const auto& in : inserts) {
    std::string piece = vector.substr(std::size_t(in.from), std::size_t(in.len));
    std::string before = in.from >= 4 ? vector.substr(std::size_t(in.from - 4), 4) : "";
    std::string after = vector.substr(std::size_t(in.from + in.len), 4);
    if (in.reverse) {
      piece = RevComp(piece);
      std::string b = RevComp(after), a = RevComp(before);
      before = b, after = a;
    }
    read.replace(std::size_t(in.at), piece.size(), piece);
    for (std::size_t k = 0; k < before.size() && in.at - 4 + long(k) >= 0; ++k)
      read[std::size_t(in.at - 4) + k] = Other(before[k]);
    for (std::size_t k = 0; k < after.size() && in.at + in.len + long(k) < long(read.size()); ++k)
      read[std::size_t(in.at + in.len) + k] = Other(after[k]);
  }
  return read;
}

zev::CBaseSequence SequenceOf(const std::string& letters) {
  zevcli::Trace t;
  t.bases = letters;
  t.peaks.assign(letters.size(), 0);
  t.quality.assign(letters.size(), 40);
  zev::CBaseSequence s;
  FillBaseSequence(t, s);
  return s;
}

}  // namespace

TEST(TraceBridgeTest, InsertsAtStartEndAndMiddleGiveTheThreeTrimTypes) {
  const std::string vector = RandomDna(400, 5);
  const std::vector<VectorRecord> vectors = {{"pTest", vector}};
  struct Want {
    long type, begin, end, otherBegin, otherEnd;
    const char* name;
  };
  struct Case {
    const char* name;
    std::vector<Insert> inserts;
    std::vector<Want> want;  // by read begin
  };
  const Case cases[] = {
      {"start", {{0, 50, 60, false}}, {{1, 0, 59, 50, 109, "pTest"}}},
      {"start after a few bases", {{12, 50, 60, false}}, {{1, 12, 71, 50, 109, "pTest"}}},
      {"end", {{540, 200, 60, false}}, {{2, 540, 599, 200, 259, "pTest"}}},
      {"middle", {{250, 120, 50, false}}, {{3, 250, 299, 120, 169, "pTest"}}},
      // Reverse strand: vector coordinates count along the reverse complement.
      {"middle reversed", {{250, 120, 50, true}}, {{3, 250, 299, 400 - 170, 400 - 121, "pTest (reverse complement)"}}},
      {"all three",
       {{0, 10, 40, false}, {300, 150, 45, false}, {560, 300, 40, false}},
       {{1, 0, 39, 10, 49, "pTest"}, {3, 300, 344, 150, 194, "pTest"}, {2, 560, 599, 300, 339, "pTest"}}},
      {"none", {}, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::string read = BuildRead(600, vector, c.inserts);
    auto matches = FindContaminants(read, vectors, {}, 0, long(read.size()) - 1);
    ASSERT_EQ(matches.size(), c.want.size());
    for (std::size_t i = 0; i < matches.size(); ++i) {
      SCOPED_TRACE(i);
      const auto& m = matches[i];
      const auto& w = c.want[i];
      EXPECT_EQ(m.m_lType, w.type);
      EXPECT_EQ(m.m_lSeqBegin, w.begin);
      EXPECT_EQ(m.m_lSeqEnd, w.end);
      EXPECT_EQ(m.m_lOtherBegin, w.otherBegin);
      EXPECT_EQ(m.m_lOtherEnd, w.otherEnd);
      EXPECT_EQ(m.m_strName.str(), w.name);
      std::size_t len = std::size_t(w.end - w.begin + 1);
      EXPECT_EQ(m.m_strSeqAlignment.str(), read.substr(std::size_t(w.begin), len));
      EXPECT_EQ(m.m_strAlignmentMarks.str(), std::string(len, '|'));
      EXPECT_EQ(m.m_dScore, 2.0 * double(len));
    }
  }
}

TEST(TraceBridgeTest, MatchesGoIntoTheSequenceAndTheLibraryTrimsThem) {
  const std::string vector = RandomDna(400, 5);
  std::string read = BuildRead(600, vector, {{0, 10, 40, false}, {300, 150, 45, false}, {560, 300, 40, false}});
  zev::CBaseSequence seq = SequenceOf(read);
  EXPECT_EQ(AddVectorMatches(seq, {{"pTest", vector}}, {}), 3);
  ASSERT_EQ(seq.GetNumContaminantMatches(false), 3);
  // Best first, as the array keeps them.
  EXPECT_GE(seq.GetContaminantMatch(0)->m_dScore, seq.GetContaminantMatch(1)->m_dScore);
  seq.ApplyContaminantTrimming('N');
  std::string want = read.substr(40, 520);
  want.replace(300 - 40, 45, std::string(45, 'N'));
  EXPECT_EQ(Letters(seq), want);
}

TEST(TraceBridgeTest, GapsAndIubCodesShowInTheRows) {
  const std::string vector = RandomDna(300, 9);
  std::string piece = vector.substr(100, 80);
  piece.erase(30, 2);   // two vector bases missing from the read
  piece.insert(60, "T");  // one read base not in the vector
  piece[10] = 'N';
  std::string read = RandomDna(200, 3) + piece + RandomDna(200, 4);
  // Lower case and an IUB code in the vector file.
  std::string fasta = ">lower case vector\n";
  std::string lower = vector;
  for (char& ch : lower) ch = char(ch + 32);
  lower[150] = 'n';
  fasta += lower.substr(0, 150) + "\n" + lower.substr(150) + "\n";
  auto vectors = ParseFasta(fasta, "v.fa");
  ASSERT_EQ(vectors.size(), 1u);
  EXPECT_EQ(vectors[0].name, "lower");
  auto hits = FindVectorHits(read, vectors[0], {});
  ASSERT_GE(hits.size(), 1u);
  const VectorHit& h = hits[0];
  EXPECT_FALSE(h.reverse);
  EXPECT_EQ(h.readRow.size(), h.otherRow.size());
  EXPECT_EQ(h.marks.size(), h.readRow.size());
  EXPECT_NE(h.readRow.find("--"), std::string::npos);  // vector bases the read lacks
  EXPECT_NE(h.otherRow.find('-'), std::string::npos);  // a read base the vector lacks
  EXPECT_NE(h.marks.find(':'), std::string::npos);  // N against a base
  std::string readLetters;
  for (char ch : h.readRow)
    if (ch != '-') readLetters += ch;
  EXPECT_EQ(readLetters, read.substr(std::size_t(h.readBegin), std::size_t(h.readEnd - h.readBegin + 1)));
}

TEST(TraceBridgeTest, VectorFilesThatAreNotFastaSayWhy) {
  struct Case {
    const char* name;
    std::string text;
    std::string error;  // empty: parses
    std::vector<std::string> letters;
  };
  const Case cases[] = {
      {"empty", "", "'v.fa' holds no sequence: it is empty", {}},
      {"blank lines", "\n \n\t\n", "'v.fa' holds no sequence: it is empty", {}},
      {"no title", "ACGT\n", "'v.fa' is not FASTA: its first line does not begin with '>'", {}},
      {"binary", std::string("\x01\x02\x03", 3), "'v.fa' is not FASTA: its first line does not begin with '>'", {}},
      {"record without bases", ">a\n>b\nAC\n", "'v.fa': the sequence 'a' holds no bases", {}},
      {"last without bases", ">a\nAC\n>b\n", "'v.fa': the sequence 'b' holds no bases", {}},
      {"bad letter", ">a\nACGJ\n", "'v.fa' line 2: 'J' is not a base letter", {}},
      {"two records, CRLF, case, U, gaps, numbers",
       ">one first\r\nacgu\r\n; comment\r\n>two\r\n1 AC-GT*\r\nnry\r\n",
       "",
       {"ACGT", "ACGTNRY"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::vector<VectorRecord> got;
    EXPECT_EQ(Error([&] { got = ParseFasta(c.text, "v.fa"); }), c.error);
    std::vector<std::string> letters;
    for (const auto& r : got) letters.push_back(r.letters);
    EXPECT_EQ(letters, c.letters);
  }
  EXPECT_EQ(Error([] { ReadVectorFile("/nonexistent/v.fa"); }), "cannot read '/nonexistent/v.fa'");
}
