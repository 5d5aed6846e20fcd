// CCrv: trace-order lines, the files Write makes and their bytes, and reading a
// curve file back into one list.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "CScfTestSupport.h"
#include "zevutil/CCrv.h"

using namespace zev;
using zevtest::LoadBytes;
using zevtest::SaveBytes;

namespace {

std::filesystem::path Dir(const std::string& name) {
  auto d = zevtest::ScratchDir("zev_crv") / name;
  std::filesystem::remove_all(d);
  std::filesystem::create_directories(d);
  return d;
}

std::vector<BYTE> Words(std::initializer_list<LONG> words, bool magic = true) {
  std::vector<BYTE> b;
  auto put = [&b](LONG v) {
    for (int i = 0; i < 4; ++i) b.push_back(BYTE(DWORD(v) >> (8 * i)));
  };
  auto it = words.begin();
  if (magic) {
    put(11);
    b.insert(b.end(), CCrv::kMagic, CCrv::kMagic + 11);
  }
  for (; it != words.end(); ++it) put(*it);
  return b;
}

// One result with the given dyes on and curves of n values, value = 1000 * dye + i.
void AddResult(CCrv& crv, const char* name, std::vector<int> dyes, unsigned n, bool append = true) {
  int active[4] = {dyes[0], dyes[1], dyes[2], dyes[3]};
  ASSERT_TRUE(crv.SetSamplesize(n, active));
  for (unsigned i = 0; i < n; ++i) crv.SetSample(int(i), 1000 + LONG(i), 2000 + LONG(i), 3000 + LONG(i), 4000 + LONG(i));
  if (append) crv.AppendDataArrays();
  crv.AppendResultNames(name);
}

std::string Text(const std::filesystem::path& p) {
  auto b = LoadBytes(p);
  return std::string(b.begin(), b.end());
}

}  // namespace

TEST(CCrv, TraceOrderLines) {
  struct Case { const char* name; std::vector<int> dyes; const char* line; };
  const Case cases[] = {
      {"run 1   ", {1, 0, 1, 0}, "run 1 with D1 D3 "},
      {"all", {1, 1, 1, 1}, "all with D1 D2 D3 D4 "},
      {"last only\t", {0, 0, 0, 1}, "last only with D4 "},
      {"none", {0, 0, 0, 0}, "none without active dyes"},
      {"", {1, 1, 1, 1}, nullptr},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CCrv crv;
    int active[4] = {c.dyes[0], c.dyes[1], c.dyes[2], c.dyes[3]};
    crv.SetSamplesize(0, active);
    crv.AppendResultNames(c.name);
    ASSERT_EQ(crv.GetResultNameCount(), c.line ? 1 : 0);
    if (c.line) {
      EXPECT_EQ(crv.GetResultName(0), c.line);
    }
  }
}

TEST(CCrv, WriteMakesOneFilePerDyeAndTheTraceOrder) {
  auto dir = Dir("write");
  CCrv crv;
  AddResult(crv, "first", {1, 1, 0, 0}, 3);
  AddResult(crv, "second", {1, 0, 0, 0}, 2);
  AddResult(crv, "never appended", {1, 1, 0, 0}, 4, false);
  AddResult(crv, "empty curve", {1, 0, 0, 0}, 0);  // size 0: no new curve; the pending one goes in
  ASSERT_TRUE(crv.Write((dir / "run.CRV").c_str()));
  EXPECT_STREQ(crv.GetFileName(), (dir / "run").c_str());

  std::vector<std::string> files;
  for (auto& e : std::filesystem::directory_iterator(dir)) files.push_back(e.path().filename().string());
  std::sort(files.begin(), files.end());
  EXPECT_EQ(files, std::vector<std::string>({"run_CRV_TRACE_ORDER.txt", "run_D1.CRV", "run_D2.CRV"}));
  EXPECT_EQ(Text(dir / "run_CRV_TRACE_ORDER.txt"),
            "first with D1 D2 \r\nsecond with D1 \r\nnever appended with D1 D2 \r\nempty curve with D1 \r\n");
  // The curve of "never appended" was still pending when "empty curve" appended.
  EXPECT_EQ(LoadBytes(dir / "run_D1.CRV"), Words({3, 3, 1000, 1001, 1002, 2, 1000, 1001, 4, 1000, 1001, 1002, 1003}));
  EXPECT_EQ(LoadBytes(dir / "run_D2.CRV"), Words({1, 3, 2000, 2001, 2002}));
}

TEST(CCrv, PathsAndBaseNames) {
  struct Case { const char* path; const char* base; };
  const Case cases[] = {
      {"run.CRV", "run"},
      {"run.crv", "run.crv"},       // the search is case-sensitive
      {"a.CRV.bak", "a.CRV"},       // kept: the last four characters go, whatever they are
      {"old.CRV_v2", "old.CR"},
      {"plain", "plain"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    auto dir = Dir("paths");
    CCrv crv;
    AddResult(crv, "r", {1, 0, 0, 0}, 1);
    ASSERT_TRUE(crv.Write((dir / c.path).c_str()));
    EXPECT_STREQ(crv.GetFileName(), (dir / c.base).c_str());
    EXPECT_TRUE(std::filesystem::exists(dir / (std::string(c.base) + "_CRV_TRACE_ORDER.txt")));
    EXPECT_TRUE(std::filesystem::exists(dir / (std::string(c.base) + "_D1.CRV")));
  }
}

TEST(CCrv, NothingToWriteStillMakesTheTraceOrderFile) {
  auto dir = Dir("empty");
  CCrv crv;
  ASSERT_TRUE(crv.Write((dir / "nothing").c_str()));
  EXPECT_EQ(Text(dir / "nothing_CRV_TRACE_ORDER.txt"), "");
  EXPECT_FALSE(std::filesystem::exists(dir / "nothing_D1.CRV"));
  CCrv named;
  AddResult(named, "x", {1, 0, 0, 0}, 1);
  EXPECT_FALSE(named.Write("/nonexistent-dir/x"));
  CFileStatus st;
  EXPECT_FALSE(named.GetFileStatus(st));
  // The trace-order file is opened untested: with no names and no curves nothing is
  // written, so nothing fails, wherever the path leads.
  CCrv nothing;
  EXPECT_TRUE(nothing.Write("/nonexistent-dir/x"));
}

TEST(CCrv, ReadingCurveFiles) {
  // Every case reads into an object that already read one curve of two values.
  const std::vector<BYTE> earlier = Words({1, 2, 5, 6});
  struct Case {
    const char* name;
    std::vector<BYTE> bytes;
    bool ok;
    unsigned curves;   // GetNumbCurve
    int listed;        // curves in the first list
    unsigned longest;  // GetMaximumSampleSize
    unsigned last;     // GetSampleSize
  };
  const Case cases[] = {
      {"two curves", Words({2, 3, 1, 2, 3, 1, -7}), true, 2, 2, 3, 1},
      {"wrong length word: the longest stays", Words({12, 0}, false), true, 0, 0, 2, 2},
      {"wrong magic", [] { auto b = Words({1, 1, 5}); b[5] = 'X'; return b; }(), true, 0, 0, 2, 2},
      {"empty", {}, true, 0, 0, 2, 2},
      {"negative number of curves", Words({-4, 1, 5}), true, 0, 0, 0, 2},
      {"negative count skipped", Words({2, -5, 1, 8}), true, 2, 1, 1, 1},
      {"zero count skipped", Words({3, 2, 5, 6, 0, 1, 9}), true, 3, 2, 2, 1},
      {"truncated curve reads zeros", Words({1, 4, 1, 2}), true, 1, 1, 4, 4},
      {"one curve of count 100 with two values present", Words({1, 100, 7, 8}), true, 1, 1, 100, 100},
      {"more curves claimed than held", Words({0x7FFFFFFF, 1, 9}), true, 0x7FFFFFFF, 1, 1, 1},
      {"a count past the allocation limit: as it was", Words({1, 0x40000000, 1}), false, 1, 1, 2, 2},
      {"a count just past the limit", Words({1, (256 << 20) / 4 + 1}), false, 1, 1, 2, 2},
      // The limit holds for all the curves of a file together.
      {"a count at the limit after a good curve", Words({2, 1, 4, (256 << 20) / 4}), false, 1, 1, 2, 2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    auto path = Dir("read") / "in.CRV";
    SaveBytes(path, c.bytes);
    CCrv r;
    ASSERT_TRUE(r.ReadFromMemory(earlier.data(), earlier.size()));
    EXPECT_EQ(r.Read(path.c_str()), c.ok);
    EXPECT_EQ(r.GetNumbCurve(), c.curves);
    EXPECT_EQ(r.GetCurveCount(0), c.listed);
    EXPECT_EQ(r.GetMaximumSampleSize(), c.longest);
    EXPECT_EQ(r.GetSampleSize(), c.last);
  }

  // A short curve holds what the file has, then zeros.
  CCrv r;
  auto b = Words({1, 100, 7, 8});
  ASSERT_TRUE(r.ReadFromMemory(b.data(), b.size()));
  std::vector<LONG> want(100, 0);
  want[0] = 7;
  want[1] = 8;
  ASSERT_NE(r.GetCurve(0, 0), nullptr);
  EXPECT_EQ(r.GetCurve(0, 0)->values, want);
  // A trailing part of a value reads with zeros for the missing bytes.
  b.push_back(0x2A);
  ASSERT_TRUE(r.ReadFromMemory(b.data(), b.size()));
  EXPECT_EQ(r.GetCurve(0, 0)->values[2], 0x2A);
  EXPECT_EQ(r.GetCurve(0, 0)->values[3], 0);
}

TEST(CCrv, GetSampleWalksTheCurvesAndPadsShortOnes) {
  CCrv r;
  auto b = Words({3, 3, 10, 11, 12, 1, 20, 2, 30, 31});
  ASSERT_TRUE(r.ReadFromMemory(b.data(), b.size()));
  struct Case { int i; bool ok; std::vector<LONG> row; };
  const Case cases[] = {
      {0, true, {10, 20, 30}}, {1, true, {11, 0, 31}}, {2, true, {12, 0, 0}}, {3, false, {-1, -1, -1}}, {-1, false, {-1, -1, -1}}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.i);
    LONG out[3] = {-1, -1, -1};
    EXPECT_EQ(r.GetSample(c.i, out), c.ok);
    EXPECT_EQ(std::vector<LONG>(out, out + 3), c.row);
  }
  // Curves of every dye file land in the first list; the others stay empty.
  for (int d = 1; d < 4; ++d) EXPECT_EQ(r.GetCurveCount(d), 0);
}

TEST(CCrv, SetSampleBoundsAndActiveDyes) {
  CCrv crv;
  int dyes[4] = {0, 1, 0, 0};
  ASSERT_TRUE(crv.SetSamplesize(2, dyes));
  for (int i : {-1, 0, 1, 2}) EXPECT_EQ(crv.SetSample(i, 1, 2, 3, 4), i == 0 || i == 1) << i;
  // A dye switched on without a new sample size has no curve to fill.
  int more[4] = {1, 1, 0, 0};
  ASSERT_TRUE(crv.SetSamplesize(0, more));
  EXPECT_TRUE(crv.SetSample(1, 7, 8, 9, 10));
  crv.AppendDataArrays();
  EXPECT_EQ(crv.GetCurveCount(0), 0);
  ASSERT_EQ(crv.GetCurveCount(1), 1);
  EXPECT_EQ(crv.GetCurve(1, 0)->values, std::vector<LONG>({2, 8}));
}

TEST(CCrv, GetFileStatsReadsNothingButReleases) {
  auto dir = Dir("stats");
  auto b = Words({1, 2, 5, 6});
  SaveBytes(dir / "s.CRV", b);
  CCrv r;
  ASSERT_TRUE(r.Read((dir / "s.CRV").c_str()));
  ASSERT_EQ(r.GetCurveCount(0), 1);
  ASSERT_TRUE(r.GetFileStats((dir / "s.CRV").c_str()));
  EXPECT_EQ(r.GetCurveCount(0), 0);
  EXPECT_EQ(r.GetNumbCurve(), 0u);
  CFileStatus st;
  ASSERT_TRUE(r.GetFileStatus(st));
  EXPECT_EQ(st.m_size, LONGLONG(b.size()));
  EXPECT_FALSE(r.GetFileStats((dir / "missing.CRV").c_str()));
  EXPECT_FALSE(r.Read((dir / "missing.CRV").c_str()));
}
