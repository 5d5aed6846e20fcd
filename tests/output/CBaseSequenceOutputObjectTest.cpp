// The base table (text export rows and paper rows with their headings), the QUAL file
// and the trimming report, checked to the byte on small hand-made sequences.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "zevutil/CBaseSequenceOutputObject.h"
#include "zevutil/platform/Gdi.h"

using namespace zev;

namespace {

std::string Scratch(const std::string& name) {
  const char* dir = std::getenv("ZEV_TEST_TMP");
  return std::string(dir ? dir : "/tmp") + "/seqout_" + name;
}

std::string ReadAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

struct BaseSpec {
  char code;
  float a, c, g, t, call, qv, seconds;
  LONG dataPoint;
  LONG inserted, edited;
};

CBaseSequence MakeSequence(const std::vector<BaseSpec>& rows) {
  CBaseSequence seq;
  LONG number = 0;
  for (const BaseSpec& s : rows) {
    CCalledBase b;
    b.m_lBaseNumber = number++;
    b.m_Code = s.code;
    b.m_fScore[0] = s.a;
    b.m_fScore[1] = s.c;
    b.m_fScore[2] = s.g;
    b.m_fScore[3] = s.t;
    b.m_fCallScore = s.call;
    b.m_fQualityValue = s.qv;
    b.m_fMigrationTime = s.seconds;
    b.m_lDataPoint = s.dataPoint;
    b.m_lInserted = s.inserted;
    b.m_lEdited = s.edited;
    seq.Insert(b, 0);
  }
  return seq;
}

// Equal bases with quality values 1, 2, 3, ... in order.
CBaseSequence Ramp(int count) {
  std::vector<BaseSpec> rows;
  for (int i = 0; i < count; ++i) rows.push_back({'A', 0, 0, 0, 0, 0, float(i + 1), 0, 0, 0, 0});
  return MakeSequence(rows);
}

const std::string kExportHead =
    "Base Number\tBase\tScore A\tScore C\tScore G\tScore T\tCall Score\tQuality Value\t"
    "Migration Time\tData Point\tInserted\tEdited\r\n";
const std::string kPaperHead = "Number Base   A   C   G   T CallScore QualValue Migration DataPoint Insert Edit";

TEST(CBaseSequenceOutputObject, TextExportRowsAreExact) {
  struct Case {
    const char* name;
    std::vector<BaseSpec> bases;
    std::string rows;
  };
  const std::vector<Case> cases = {
      {"empty sequence: heading only", {}, ""},
      {"rounding, minutes, flags",
       {{'G', 12.5f, 3.49f, 99.6f, 0.0f, 0.456f, 38.5f, 90.0f, 1234, 0, 1},
        {'N', 1, 2, 3, 4, 1.005f, 7.0f, 0.0f, -5, 1, 0}},
       "1\tG\t12\t3\t100\t0\t0.46\t38\t1.50\t1234\tNo\tYes\r\n"
       "2\tN\t1\t2\t3\t4\t1.00\t7\t0.00\t-5\tYes\tNo\r\n"},
      {"negative migration time prints 0.00",
       {{'T', 0, 0, 0, 0, 0, 0, -30.0f, 0, 0, 0}},
       "1\tT\t0\t0\t0\t0\t0.00\t0\t0.00\t0\tNo\tNo\r\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CBaseSequence seq = MakeSequence(c.bases);
    CBaseSequenceOutputObject obj(seq);
    const std::string path = Scratch("table.txt");
    ASSERT_EQ(obj.ExportObject(EXPORT_TEXT, path.c_str(), CObjectOutputDef()), 1);
    EXPECT_EQ(ReadAll(path), kExportHead + c.rows);
    EXPECT_EQ(obj.m_nBaseIndex, int(c.bases.size()));
  }
}

TEST(CBaseSequenceOutputObject, PaperRowsAndTheDoubleHeading) {
  TestDeviceOptions opts;
  RegisterTestPrinter("zevtest-seqout", opts);
  CPageFormatDef fmt;
  fmt.m_device.m_strPrinterName = "zevtest-seqout";
  CBaseSequence seq = MakeSequence({{'G', 12.5f, 3.49f, 99.6f, 0.0f, 0.456f, 38.5f, 90.0f, 1234, 0, 1},
                                    {'C', 0, 80, 0, 0, 12.25f, 40, 600.0f, 7, 1, 0}});
  CBaseSequenceOutputObject obj(seq);
  ASSERT_EQ(obj.PrintObject(fmt, CObjectOutputDef()), 1);
  std::vector<std::string> body;
  for (const TestDrawCall& t : opts.log->Texts())
    if (t.text == kPaperHead || t.text.find("Yes") != std::string::npos) body.push_back(t.text);
  const std::vector<std::string> want = {
      kPaperHead,
      kPaperHead,  // kept: the page's heading and the table's own heading
      "     1    G  12   3 100   0      0.46        38      1.50      1234     No  Yes",
      "     2    C   0  80   0   0     12.25        40     10.00         7    Yes   No",
  };
  EXPECT_EQ(body, want);

  // Later pages carry the heading once, at their top.
  opts.log->Clear();
  CBaseSequence longSeq = Ramp(1200);
  CBaseSequenceOutputObject longObj(longSeq);
  ASSERT_EQ(longObj.PrintObject(fmt, CObjectOutputDef()), 1);
  std::vector<int> headingsPerPage(size_t(opts.log->startPage) + 1, 0);
  for (const TestDrawCall& t : opts.log->Texts())
    if (t.text == kPaperHead) ++headingsPerPage[size_t(t.page)];
  ASSERT_GE(opts.log->startPage, 3);
  EXPECT_EQ(headingsPerPage[1], 2);
  for (int p = 2; p <= opts.log->startPage; ++p) EXPECT_EQ(headingsPerPage[size_t(p)], 1) << "page " << p;
  UnregisterTestPrinter("zevtest-seqout");
}

TEST(CBaseSequenceOutputObject, MissingBaseLeavesNoRowAndNumberingGoesOn) {
  CBaseSequence seq = Ramp(3);
  CBaseSequenceOutputObject obj(seq);
  obj.m_nBaseCount = 4;  // one more than the list holds: index 3 finds nothing
  COutputInfo info(EXPORT_PRINTER);
  std::vector<std::string> rows;
  for (int i = 0; i < 4; ++i) {
    CString text;
    EXPECT_EQ(obj.GetTextOutput(&info, text), 1);
    rows.push_back(text.GetString());
  }
  EXPECT_EQ(rows[3], "");
  EXPECT_EQ(obj.m_nBaseIndex, 4);
  CString text;
  EXPECT_EQ(obj.GetTextOutput(nullptr, text), 0);
}

TEST(CBaseSequenceOutputObject, QualityFileLayout) {
  struct Case {
    const char* name;
    int count;
    int held;  // bases in the list; the indices from here up to count find nothing
    std::string bytes;
  };
  auto values = [](int from, int to) {
    std::string s;
    char buf[16];
    for (int v = from; v <= to; ++v) {
      std::snprintf(buf, sizeof buf, "%3d ", v);
      s += buf;
    }
    return s;
  };
  const std::vector<Case> cases = {
      {"empty", 0, 0, ">t\r\n\r\n"},
      {"short", 3, 3, ">t\r\n  1   2   3 \r\n"},
      {"exactly twenty", 20, 20, ">t\r\n" + values(1, 20) + "\r\n\r\n"},
      {"twenty-one", 21, 21, ">t\r\n" + values(1, 20) + "\r\n" + values(21, 21) + "\r\n"},
      // The break after index 19 comes even though index 19 found no base.
      {"missing bases across the break", 22, 19, ">t\r\n" + values(1, 19) + "\r\n\r\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CBaseSequence seq = Ramp(c.held);
    CBaseSequenceOutputObject obj(seq);
    obj.m_nBaseCount = c.count;
    const std::string path = Scratch("q.qual");
    ASSERT_EQ(obj.ExportToQualityFile(path.c_str(), ">t"), 1);
    EXPECT_EQ(ReadAll(path), c.bytes);
  }
  CBaseSequence seq = Ramp(2);
  CBaseSequenceOutputObject obj(seq);
  EXPECT_EQ(obj.ExportToQualityFile(Scratch("no such dir/q.qual").c_str(), ">t"), 0);
}

// ---- the trimming report ----

class ReportProbe : public CBaseSequenceTrimmingOutputObject {
 public:
  using CBaseSequenceTrimmingOutputObject::CBaseSequenceTrimmingOutputObject;
  using CBaseSequenceTrimmingOutputObject::CountAlpha;
  void SignalStopOutput() override { stopped = true; }
  bool stopped = false;
};

// Every line the report gives on paper, until it stops.
std::vector<std::string> Report(CBaseSequence& seq, int originalLength) {
  ReportProbe obj(seq, originalLength);
  COutputInfo info(EXPORT_PRINTER);
  std::vector<std::string> lines;
  for (int guard = 0; guard < 200; ++guard) {
    CString text;
    EXPECT_EQ(obj.GetTextOutput(&info, text), 1);
    if (obj.stopped) {
      EXPECT_EQ(text.GetString(), std::string());
      break;
    }
    lines.push_back(text.GetString());
  }
  return lines;
}

// Matches are kept best score first: give them descending scores.
ContaminantMatch Match(const char* name, LONG type, bool enabled, LONG seqBegin, LONG otherBegin,
                       const std::string& s, const std::string& marks, const std::string& v, double score = 50) {
  ContaminantMatch m;
  m.m_dScore = score;
  m.m_strName = name;
  m.m_lType = type;
  m.m_bEnabled = enabled;
  m.m_lSeqBegin = seqBegin;
  m.m_lSeqEnd = seqBegin + LONG(s.size()) - 1;
  m.m_lOtherBegin = otherBegin;
  m.m_lOtherEnd = otherBegin + LONG(v.size()) - 1;
  m.m_strSeqAlignment = s.c_str();
  m.m_strAlignmentMarks = marks.c_str();
  m.m_strOtherAlignment = v.c_str();
  return m;
}

TEST(CBaseSequenceTrimmingOutputObject, ReportLines) {
  const std::string s81 = std::string(40, 'A') + "--" + std::string(39, 'C');  // 79 letters, 81 columns
  const std::string m81(81, '|');
  const std::string v81 = std::string(80, 'G') + "T";
  const std::string s80(80, 'T');
  struct Case {
    const char* name;
    bool hasQ;
    std::vector<ContaminantMatch> matches;
    std::vector<std::string> lines;
  };
  const std::vector<Case> cases = {
      {"no trimming", false, {}, {"No Trimming Computed"}},
      {"quality only", true, {}, {"Original Sequence Length: 50", "Length after Quality Trimming: 6"}},
      {"one match of 80 columns, bad trim type",
       false,
       {Match("pUC", 7, false, 0, 9, s80, std::string(80, '|'), s80)},
       {"Original Sequence Length: 50", "Length after Sequence-based Trimming: 10", "",
        "Vector/Other Subsequence Name: pUC", "Trim type: ", "Enabled: No",
        "S       1 " + s80, "          " + std::string(80, '|'), "V/O    10 " + s80, ""}},
      {"two matches, quality range, a gapped 81-column alignment",
       true,
       {Match("left", ContaminantMatch::typeLeft, true, 4, 0, s81, m81, v81),
        Match("inner", ContaminantMatch::typeInternal, true, 20, 2, "AC-G", "|| |", "ACTG", 10)},
       {"Original Sequence Length: 50", "Length after Quality Trimming: 6",
        "Length after Sequence-based Trimming: 10", "", "Vector/Other Subsequence Name: left",
        "Trim type: Left (5') end match", "Enabled: Yes", "S       5 " + s81.substr(0, 80),
        "          " + m81.substr(0, 80), "V/O     1 " + v81.substr(0, 80), "",
        // the second block starts 78 letters on (two gaps) on the subject side
        "S      83 C", "          |", "V/O    81 T", "", "", "Vector/Other Subsequence Name: inner",
        "Trim type: Internal match", "Enabled: Yes", "S      21 AC-G", "          || |", "V/O     3 ACTG", ""}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CBaseSequence seq = Ramp(10);
    if (c.hasQ) seq.SetQualityTrimRange(2, 7);
    for (const ContaminantMatch& m : c.matches) seq.AddContaminantMatch(m);
    ASSERT_EQ(seq.GetNumContaminantMatches(false), int(c.matches.size()));
    EXPECT_EQ(Report(seq, 50), c.lines);
  }
}

TEST(CBaseSequenceTrimmingOutputObject, RefusesExportsAndCountsLettersOnly) {
  CBaseSequence seq;
  ReportProbe obj(seq, 0);
  CString text = "x";
  EXPECT_EQ(obj.GetTextOutput(nullptr, text), 0);
  obj.m_eOutputType = EXPORT_TEXT;
  COutputInfo info(EXPORT_PRINTER);
  EXPECT_EQ(obj.GetTextOutput(&info, text), 0);
  EXPECT_EQ(obj.m_nLineIndex, 0);
  struct Case {
    const char* text;
    int letters;
  };
  for (const Case& c : std::vector<Case>{{"", 0}, {"AC-GT", 4}, {"--..||  ", 0}, {"nN*x1", 3}}) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(ReportProbe::CountAlpha(c.text), c.letters);
  }
}

}  // namespace

namespace {

// A table asked for its rows in order reads each base once from the list's cursor; a
// list changed between rows falls back to the walk by index.
TEST(CBaseSequenceOutputObject, RowsFollowTheListWhenItChangesMidTable) {
  CBaseSequence seq = Ramp(4);
  CBaseSequenceOutputObject obj(seq);
  COutputInfo info(EXPORT_PRINTER);
  obj.m_eOutputType = EXPORT_TEXT;
  CString text;
  obj.GetTextOutput(&info, text);
  EXPECT_EQ(std::string(text.GetString()).substr(0, 11), "1\tA\t0\t0\t0\t0");
  seq.Delete(1, 1);  // the second base goes; the others move down
  obj.GetTextOutput(&info, text);
  EXPECT_NE(std::string(text.GetString()).find("\t3\t0.00"), std::string::npos) << text.GetString();
  obj.GetTextOutput(&info, text);
  EXPECT_NE(std::string(text.GetString()).find("\t4\t0.00"), std::string::npos) << text.GetString();
  obj.GetTextOutput(&info, text);
  EXPECT_EQ(obj.m_nBaseIndex, 4);
}

}  // namespace

namespace {

// A whole print job of the report ends by itself after the last line.
TEST(CBaseSequenceTrimmingOutputObject, PrintJobEndsAfterTheLastLine) {
  TestDeviceOptions opts;
  RegisterTestPrinter("zevtest-trimreport", opts);
  CPageFormatDef fmt;
  fmt.m_device.m_strPrinterName = "zevtest-trimreport";
  CBaseSequence seq = Ramp(10);
  seq.SetQualityTrimRange(0, 3);
  CBaseSequenceTrimmingOutputObject obj(seq, 12);
  ASSERT_EQ(obj.PrintObject(fmt, CObjectOutputDef()), 1);
  std::vector<std::string> drawn;
  for (const TestDrawCall& t : opts.log->Texts())
    if (t.text.rfind("Original", 0) == 0 || t.text.rfind("Length", 0) == 0) drawn.push_back(t.text);
  EXPECT_EQ(drawn, std::vector<std::string>({"Original Sequence Length: 12", "Length after Quality Trimming: 4"}));
  EXPECT_EQ(obj.m_nLineIndex, 3);
  UnregisterTestPrinter("zevtest-trimreport");
}

}  // namespace

namespace {

// The report is for paper: exported as text it writes nothing, and the export ends on
// its end test (every one of the 0x7FFFFFFF strings counted as done) without running
// through them one by one.
TEST(CBaseSequenceTrimmingOutputObject, TextExportIsEmptyAndEnds) {
  CBaseSequence seq = Ramp(10);
  seq.SetQualityTrimRange(0, 3);
  for (const char* name : {"plain.txt", "again.txt"}) {
    SCOPED_TRACE(name);
    CBaseSequenceTrimmingOutputObject obj(seq, 12);
    const std::string path = Scratch(std::string("trimexport_") + name);
    ASSERT_EQ(obj.ExportObject(EXPORT_TEXT, path.c_str(), CObjectOutputDef()), 1);
    EXPECT_TRUE(std::ifstream(path).good());
    EXPECT_EQ(ReadAll(path), "");
    EXPECT_EQ(obj.m_nLineIndex, 0);
  }
  // Embedded in another job, it leaves that job's string index where the loop ends.
  COutputInfo outer(EXPORT_TEXT);
  CBaseSequenceTrimmingOutputObject obj(seq, 12);
  EXPECT_EQ(obj.ExportEmbeddedObject(CObjectOutputDef(), &outer), 1);
  EXPECT_EQ(outer.m_nStringIndex, 0x7FFFFFFF);
  EXPECT_EQ(outer.m_bStopOutput, 0);
}

}  // namespace

namespace {

// Export rows are written without printf; they must be printf's bytes all the same:
// halfway cases of both precisions, signed zeros, negatives that round to zero, huge,
// tiny and non-finite values, odd letters and data points, and a sweep of random bit
// patterns, each row compared with the one snprintf makes of the same values.
TEST(CBaseSequenceOutputObject, TextExportRowsAreThoseOfPrintf) {
  const float inf = std::numeric_limits<float>::infinity();
  const float nan = std::numeric_limits<float>::quiet_NaN();
  std::vector<float> values = {0.0f,    -0.0f,  0.5f,    1.5f,     2.5f,     -0.5f,     -0.4f,  0.125f,
                               0.375f,  0.005f, 0.015f,  0.025f,   0.045f,   1.005f,    99.995f, 1e30f,
                               3.4e38f, 1e-45f, 1.2e-38f, -1e-20f, 123456.785f, 0.994999f, inf,  -inf,
                               nan,     -nan,   59.99f,  -59.995f};
  std::mt19937 random(20261123);
  for (int i = 0; i < 4000; ++i) {
    std::uint32_t bits = random();
    float f;
    std::memcpy(&f, &bits, sizeof f);
    values.push_back(f);
    values.push_back(float(random() % 200000) / 1000.0f);  // plain scores with three decimals
  }
  const std::vector<char> codes = {'A', 'C', 'G', 'T', 'N', '-', 'y', '\0', '\xb5'};
  const std::vector<LONG> points = {0, -1, 7, 0x7FFFFFFF, LONG(0x80000000u)};
  CBaseSequence seq;
  std::string want = kExportHead;
  for (size_t i = 0; i < values.size(); ++i) {
    CCalledBase b;
    b.m_lBaseNumber = LONG(i);
    b.m_Code = codes[i % codes.size()];
    for (int s = 0; s < 4; ++s) b.m_fScore[s] = values[(i + size_t(s)) % values.size()];
    b.m_fCallScore = values[(i + 4) % values.size()];
    b.m_fQualityValue = values[(i + 5) % values.size()];
    b.m_fMigrationTime = values[(i + 6) % values.size()];
    b.m_lDataPoint = points[i % points.size()];
    b.m_lInserted = LONG(i % 2);
    b.m_lEdited = LONG(i % 3 == 0);
    seq.AddTail(new CCalledBase(b));
    const float minutes = b.m_fMigrationTime > 0.0f ? float(b.m_fMigrationTime / 60.0) : 0.0f;
    char row[1024];
    const int n = std::snprintf(row, sizeof row, "%i\t%c\t%.0f\t%.0f\t%.0f\t%.0f\t%.2f\t%.0f\t%.2f\t%i\t%s\t%s\r\n",
                                int(i) + 1, char(b.m_Code), double(b.m_fScore[0]), double(b.m_fScore[1]),
                                double(b.m_fScore[2]), double(b.m_fScore[3]), double(b.m_fCallScore),
                                double(b.m_fQualityValue), double(minutes), int(b.m_lDataPoint),
                                b.m_lInserted ? "Yes" : "No", b.m_lEdited ? "Yes" : "No");
    ASSERT_GT(n, 0);
    ASSERT_LT(n, int(sizeof row));
    want.append(row, size_t(n));
  }
  ASSERT_EQ(seq.GetCount(), INT_PTR(values.size()));
  CBaseSequenceOutputObject obj(seq);
  const std::string path = Scratch("printf_rows.txt");
  ASSERT_EQ(obj.ExportObject(EXPORT_TEXT, path.c_str(), CObjectOutputDef()), 1);
  const std::string got = ReadAll(path);
  ASSERT_EQ(got.size(), want.size());
  size_t line = 0;
  for (size_t at = 0, end = 0; at < want.size(); at = end + 2, ++line) {
    end = want.find("\r\n", at);
    if (got.compare(at, end - at + 2, want, at, end - at + 2) != 0) {
      ADD_FAILURE() << "row " << line << ": got " << got.substr(at, end - at) << ", printf gives "
                    << want.substr(at, end - at);
      break;
    }
  }
  EXPECT_EQ(got, want);
}

}  // namespace
