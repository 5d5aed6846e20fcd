// CEsd: the trailer's fields at their offsets, raw and processed records, files
// shorter than the trailer, and shared copies.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "CScfTestSupport.h"
#include "zevutil/CEsd.h"

using namespace zev;
using zevtest::LoadBytes;
using zevtest::SaveBytes;

namespace {

std::filesystem::path Tmp(const std::string& name) { return zevtest::ScratchDir("zev_esd") / name; }

DWORD LE32(const std::vector<BYTE>& b, size_t off) {
  return DWORD(b[off]) | DWORD(b[off + 1]) << 8 | DWORD(b[off + 2]) << 16 | DWORD(b[off + 3]) << 24;
}
void Put32(std::vector<BYTE>& b, size_t off, DWORD v) {
  for (int i = 0; i < 4; ++i) b[off + size_t(i)] = BYTE(v >> (8 * i));
}
void PutFloat(std::vector<BYTE>& b, size_t off, float f) {
  DWORD w;
  std::memcpy(&w, &f, 4);
  Put32(b, off, w);
}
void PutText(std::vector<BYTE>& b, size_t off, const char* s) { std::memcpy(&b[off], s, std::strlen(s)); }

}  // namespace

TEST(CEsd, RawFileLayout) {
  CEsd e;
  e.SetSampleName("a longer earlier name");
  ASSERT_EQ(e.InitRawDataSizeAndArray(3, 5), 1);
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(e.SetRawData(i, i, -i, 100 * i, 0x7FFFFFFF, -0x7FFFFFFF - 1));
  std::vector<BYTE> f;
  ASSERT_TRUE(e.WriteToMemory(f));
  ASSERT_EQ(f.size(), 3u * 20 + 632);
  const size_t t = 60;
  // kept: "A11" is copied over the earlier name, whose tail stays behind its NUL.
  EXPECT_EQ(std::string(f.begin() + t, f.begin() + t + 8), std::string("A11\0nger", 8));
  const std::pair<size_t, DWORD> words[] = {{454, 632}, {458, 0}, {596, 1}, {604, 0x3F8CCCCD}, {616, 3},
                                            {620, 0}, {628, 0}};
  for (auto [off, want] : words) EXPECT_EQ(LE32(f, t + off), want) << "trailer offset " << off;
  EXPECT_EQ(f[t + 624], 1);
  EXPECT_EQ(f[t + 625], 96);
  EXPECT_EQ(f[t + 626], 2);
  EXPECT_EQ(LE32(f, 40 + 8), 200u);
  EXPECT_EQ(LE32(f, 40 + 16), 0x80000000u);

  // Write, read back, write again: the same bytes.
  auto path = Tmp("raw.esd");
  ASSERT_TRUE(e.Write(path.c_str()));
  EXPECT_EQ(LoadBytes(path), f);
  CEsd r;
  ASSERT_TRUE(r.Read(path.c_str()));
  EXPECT_EQ(r.GetFileLength(), 692);
  EXPECT_TRUE(r.IsRawData());
  EXPECT_TRUE(r.IsDWORDFile());
  EXPECT_EQ(r.GetSampleName(), "A11");
  EXPECT_FLOAT_EQ(r.GetVersion(), 1.1f);
  LONG v[5];
  ASSERT_TRUE(r.GetRawData(2, v[0], v[1], v[2], v[3], v[4]));
  EXPECT_EQ(std::vector<LONG>(v, v + 5), std::vector<LONG>({2, -2, 200, 0x7FFFFFFF, -0x7FFFFFFF - 1}));
  float fl[4];
  EXPECT_FALSE(r.GetProcessedData(0, v[0], fl[0], fl[1], fl[2], fl[3]));
  std::vector<BYTE> again;
  ASSERT_TRUE(r.WriteToMemory(again));
  EXPECT_EQ(again, f);
}

TEST(CEsd, ProcessedFileRoundTrip) {
  CEsd e;
  ASSERT_EQ(e.InitProcessedDataSizeAndArray(2, 20), 1);
  e.InitCurrentScaleFactor(0x1234);
  e.SetSampleName("sample");
  e.SetOperatorName("operator");
  ASSERT_TRUE(e.SetProcessedData(0, 7, 1.5f, -2.25f, 0.0f, 1e30f));
  ASSERT_TRUE(e.SetProcessedData(1, -1, 3.0f, 4.0f, 5.0f, 6.0f));
  auto path = Tmp("proc.esd");
  ASSERT_TRUE(e.Write(path.c_str()));
  auto f = LoadBytes(path);
  ASSERT_EQ(f.size(), 40u + 632);
  EXPECT_EQ(std::string(f.begin() + 40 + 450, f.begin() + 40 + 454), "ESD1");
  EXPECT_EQ(LE32(f, 40 + 620), 20u);

  CEsd r;
  ASSERT_TRUE(r.Read(path.c_str()));
  CFileStatus st;
  ASSERT_TRUE(r.GetFileStatus(st));
  EXPECT_EQ(st.m_size, 672);
  EXPECT_FALSE(r.IsRawData());
  EXPECT_EQ(r.GetCurrentScaleFactor(), 0x34);
  EXPECT_EQ(r.GetDummy(), 0x34);
  EXPECT_EQ(r.GetOperatorName(), "operator");
  LONG n;
  float v[4];
  ASSERT_TRUE(r.GetProcessedData(0, n, v[0], v[1], v[2], v[3]));
  EXPECT_EQ(n, 7);
  EXPECT_EQ(std::vector<float>(v, v + 4), std::vector<float>({1.5f, -2.25f, 0.0f, 1e30f}));
  LONG raw[5];
  EXPECT_FALSE(r.GetRawData(0, raw[0], raw[1], raw[2], raw[3], raw[4]));
  std::vector<BYTE> again;
  ASSERT_TRUE(r.WriteToMemory(again));
  EXPECT_EQ(again, f);
}

TEST(CEsd, EveryTrailerFieldAtItsOffset) {
  std::vector<BYTE> t(632, 0);
  PutText(t, 0, "SAMPLE");
  PutText(t, 24, "OPERATOR");
  const std::pair<size_t, float> floats[] = {{54, 15.5f}, {58, 3600}, {62, 10}, {66, 1.6f}, {70, 50},
                                             {78, 600}, {82, 650}, {266, 1}, {270, 2}, {274, 3},
                                             {278, 4}, {282, 15}, {286, 5}, {290, 180}, {604, 2.5f}};
  for (auto [off, v] : floats) PutFloat(t, off, v);
  Put32(t, 74, DWORD(-3));
  PutText(t, 86, "BSA");
  PutText(t, 116, "BSB");
  PutText(t, 146, "F1");
  PutText(t, 176, "F2");
  PutText(t, 206, "F3");
  PutText(t, 236, "F4");
  for (int i = 0; i < 16; ++i) PutFloat(t, 294 + 4 * size_t(i), float(i) / 4);
  const char* order[4] = {"G", "A", "T", "C"};
  for (int i = 0; i < 4; ++i) PutText(t, 358 + 10 * size_t(i), order[i]);
  PutText(t, 398, "INSTRUMENT-7");
  PutText(t, 420, "PARAMS");
  PutText(t, 568, "R0042");
  PutText(t, 574, "PLATE-9");
  Put32(t, 592, 41);
  Put32(t, 596, 2);  // anything but 1 is processed
  Put32(t, 600, 1);
  Put32(t, 608, DWORD(-100));
  Put32(t, 612, 200);
  Put32(t, 616, 0);
  Put32(t, 620, 25);
  t[624] = 3; t[625] = 16; t[626] = 4; t[627] = 9;
  Put32(t, 628, 0xDEADBEEF);

  CEsd e;
  ASSERT_TRUE(e.ReadFromMemory(t.data(), t.size()));
  const std::pair<const char*, float> gotFloats[] = {
      {"run voltage", e.GetRunVoltage()}, {"run time", e.GetRunTime()}, {"injection time", e.GetInjectionTime()},
      {"injection voltage", e.GetInjectionVoltage()}, {"temperature", e.GetTemperature()},
      {"pmt 1", e.GetPMTVoltage1()}, {"pmt 2", e.GetPMTVoltage2()}, {"fill", e.GetFillTime()},
      {"flush 1", e.GetFlushTime1()}, {"flush 2", e.GetFlushTime2()}, {"flush 3", e.GetFlushTime3()},
      {"prerun voltage", e.GetPrerunVoltage()}, {"relaxation", e.GetRelaxationTime()},
      {"prerun time", e.GetPrerunTime()}, {"version", e.GetVersion()}};
  for (size_t i = 0; i < std::size(floats); ++i) {
    SCOPED_TRACE(gotFloats[i].first);
    EXPECT_EQ(gotFloats[i].second, floats[i].second);
  }
  const std::pair<CString, const char*> texts[] = {
      {e.GetSampleName(), "SAMPLE"}, {e.GetOperatorName(), "OPERATOR"}, {e.GetBeamSplitterA(), "BSA"},
      {e.GetBeamSplitterB(), "BSB"}, {e.GetFilter1(), "F1"}, {e.GetFilter2(), "F2"}, {e.GetFilter3(), "F3"},
      {e.GetFilter4(), "F4"}, {e.GetInstID(), "INSTRUMENT-7"}, {e.GetParamSetName(), "PARAMS"},
      {e.GetRunID(), "R0042"}, {e.GetPlateID(), "PLATE-9"}, {e.GetBaseOrder(0), "G"}, {e.GetBaseOrder(3), "C"}};
  for (const auto& [got, want] : texts) EXPECT_EQ(got, want);
  EXPECT_EQ(e.GetLazerIndex(), -3);
  EXPECT_EQ(e.GetSpecSepMx(0, 0), 0.0f);
  EXPECT_EQ(e.GetSpecSepMx(2, 3), 11.0f / 4);
  EXPECT_EQ(e.GetPrevRunID(), 41u);
  EXPECT_FALSE(e.IsRawData());
  EXPECT_TRUE(e.IsSaturated());
  EXPECT_EQ(e.GetRunStartTime(), -100);
  EXPECT_EQ(e.GetRunStopTime(), 200);
  EXPECT_EQ(e.GetScanRate(), 25u);
  EXPECT_EQ(std::vector<int>({e.GetFileType(), e.GetNumberOfCapillaries(), e.GetCapUsage(), e.GetDummy()}),
            std::vector<int>({3, 16, 4, 9}));
  EXPECT_EQ(e.GetSecurityCode(), 0xDEADBEEFu);
  EXPECT_EQ(CEsd::GetTrailerStructSize(), 632);

  // Unchecked indices read only inside the trailer.
  EXPECT_EQ(e.GetBaseOrder(4), "INSTRUMENT-7");  // the field after the base order
  EXPECT_EQ(e.GetBaseOrder(-100), "");
  EXPECT_EQ(e.GetBaseOrder(1000), "");
  EXPECT_EQ(e.GetSpecSepMx(100, 100), 0.0f);
  EXPECT_EQ(e.GetSpecSepMx(-100, 0), 0.0f);
}

TEST(CEsd, TextFieldsRunOnWhenFull) {
  struct Case { const char* sample; const char* op; const char* want; };
  const Case cases[] = {
      {"short", "OPER", "short"},
      {"exactly-24-characters-xx", "OPER", "exactly-24-characters-xxOPER"},
      {"longer-than-24-characters-in-all", "", "longer-than-24-character"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.sample);
    CEsd e;
    e.SetOperatorName(c.op);
    e.SetSampleName(c.sample);
    EXPECT_EQ(e.GetSampleName(), c.want);
  }
  CEsd e;
  e.SetOperatorName(std::string(40, 'o').c_str());
  EXPECT_EQ(e.GetOperatorName(), CString(std::string(30, 'o').c_str()));
}

TEST(CEsd, FilesOfEveryLength) {
  CEsd source;
  source.InitProcessedDataSizeAndArray(4, 10);
  source.SetSampleName("ABCD");
  for (int i = 0; i < 4; ++i) source.SetProcessedData(i, i, float(i), 0, 0, 0);
  std::vector<BYTE> good;
  ASSERT_TRUE(source.WriteToMemory(good));
  auto claiming = [&](DWORD lines) {
    auto b = good;
    Put32(b, b.size() - 632 + 616, lines);
    return b;
  };

  std::vector<BYTE> claims40(632, 0);
  Put32(claims40, 616, 40);
  Put32(claims40, 620, 0x12345678);  // the scan rate: read as the count of record 31

  // Each case reads into an object whose trailer already claims some processed lines
  // (3 unless said otherwise). A short read is no failure: what the file lacks reads
  // as zeros. Only a claim too large to allocate fails, after the trailer was read.
  struct Case {
    const char* name;
    std::vector<BYTE> bytes;
    bool ok;
    ULONG lines;  // GetNumberOfLines afterwards
    ULONG earlier = 3;
    int probe = -1;    // a record to look at afterwards
    DWORD count = 0;   // its first word
  };
  const Case cases[] = {
      {"good", good, true, 4, 3, 3, 3},
      {"shorter than the trailer: trailer kept, records read from it", std::vector<BYTE>(100, 7), true, 3, 3, 2,
       0x07070707},
      {"100 bytes into an object holding 10 lines", std::vector<BYTE>(100, 7), true, 10, 10, 4, 0x07070707},
      {"100 bytes into 10 lines: past the file, zeros", std::vector<BYTE>(100, 7), true, 10, 10, 5, 0},
      {"shorter than the kept records", std::vector<BYTE>(40, 7), true, 3, 3, 2, 0},
      {"empty", {}, true, 3, 3, 0, 0},
      {"exactly a trailer, no lines", std::vector<BYTE>(632, 0), true, 0},
      {"632 bytes whose trailer claims 40 lines", claims40, true, 40, 3, 31, 0x12345678},
      {"632 bytes claiming 40 lines: the last ones are zeros", claims40, true, 40, 3, 39, 0},
      {"records past the end of the file", claiming(1000), true, 1000, 3, 999, 0},
      {"record area shorter than claimed", claiming(10), true, 10},
      {"a claim just past the allocation limit", claiming((256u << 20) / 20 + 1), false, (256u << 20) / 20 + 1},
      {"the largest claim", claiming(0xFFFFFFFF), false, 0xFFFFFFFF},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    auto path = Tmp("len.esd");
    SaveBytes(path, c.bytes);
    CEsd e;
    std::vector<BYTE> earlier(632 + 20 * c.earlier, 0);
    Put32(earlier, 20 * c.earlier + 616, c.earlier);
    ASSERT_TRUE(e.ReadFromMemory(earlier.data(), earlier.size()));
    EXPECT_EQ(e.Read(path.c_str()), c.ok);
    EXPECT_EQ(e.GetFileLength(), LONG(c.bytes.size()));
    EXPECT_EQ(e.GetNumberOfLines(), c.lines);
    if (c.probe >= 0) {
      LONG n = -1;
      float f[4];
      ASSERT_TRUE(e.GetProcessedData(c.probe, n, f[0], f[1], f[2], f[3]));
      EXPECT_EQ(DWORD(n), c.count);
    }
  }

  // Where the records claimed run into the trailer, its bytes read as data.
  auto b = claiming(10);
  CEsd e;
  ASSERT_TRUE(e.ReadFromMemory(b.data(), b.size()));
  LONG n;
  float f[4];
  ASSERT_TRUE(e.GetProcessedData(3, n, f[0], f[1], f[2], f[3]));
  EXPECT_EQ(f[0], 3.0f);
  ASSERT_TRUE(e.GetProcessedData(4, n, f[0], f[1], f[2], f[3]));
  EXPECT_EQ(DWORD(n), 0x44434241u);  // "ABCD"
  // A file shorter than the trailer: the records come from what it holds.
  std::vector<BYTE> shortFile(200, 7);
  ASSERT_TRUE(e.ReadFromMemory(shortFile.data(), shortFile.size()));
  ASSERT_TRUE(e.GetProcessedData(4, n, f[0], f[1], f[2], f[3]));
  EXPECT_EQ(DWORD(n), 0x07070707u);
}

TEST(CEsd, RecordIndexBounds) {
  CEsd e;
  e.InitRawDataSizeAndArray(2, 0);
  LONG v[5];
  for (int i : {-1, 0, 1, 2}) {
    SCOPED_TRACE(i);
    bool in = i == 0 || i == 1;
    EXPECT_EQ(e.SetRawData(i, 1, 2, 3, 4, 5), in);
    EXPECT_EQ(e.GetRawData(i, v[0], v[1], v[2], v[3], v[4]), in);
    // No processed array: false even inside the number of lines.
    EXPECT_FALSE(e.SetProcessedData(i, 1, 0, 0, 0, 0));
  }
}

TEST(CEsd, CopiesShareTheirArrays) {
  auto copy = std::make_unique<CEsd>();
  {
    CEsd original;
    original.InitRawDataSizeAndArray(1, 0);
    *copy = original;
    ASSERT_TRUE(copy->SetRawData(0, 5, 6, 7, 8, 9));
    LONG v[5];
    ASSERT_TRUE(original.GetRawData(0, v[0], v[1], v[2], v[3], v[4]));
    EXPECT_EQ(v[4], 9);
  }
  LONG v[5];
  ASSERT_TRUE(copy->GetRawData(0, v[0], v[1], v[2], v[3], v[4]));
  EXPECT_EQ(v[0], 5);
}

TEST(CEsd, GetFileStatsReadsOnlyTheTrailer) {
  CEsd w;
  w.InitRawDataSizeAndArray(3, 0);
  auto path = Tmp("stats.esd");
  ASSERT_TRUE(w.Write(path.c_str()));
  auto shortPath = Tmp("short.esd");
  SaveBytes(shortPath, std::vector<BYTE>(10, 1));

  CEsd e;
  LONG lines = -1;
  ASSERT_TRUE(e.GetFileStats(path.c_str(), lines));
  EXPECT_EQ(lines, 3);
  LONG v[5];
  EXPECT_FALSE(e.GetRawData(0, v[0], v[1], v[2], v[3], v[4]));  // no records read
  // A short file clears the trailer all the same.
  ASSERT_TRUE(e.GetFileStats(shortPath.c_str(), lines));
  EXPECT_EQ(lines, 0);
  EXPECT_EQ(e.GetSampleName(), "");
  lines = 5;
  EXPECT_FALSE(e.GetFileStats("/nonexistent-dir/x.esd", lines));
  EXPECT_EQ(lines, 0);
  EXPECT_FALSE(e.Read("/nonexistent-dir/x.esd"));
  EXPECT_FALSE(e.Write("/nonexistent-dir/x.esd"));
  CFileStatus st;
  EXPECT_FALSE(e.GetFileStatus(st));
}
