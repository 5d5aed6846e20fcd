// CAbi fragment files: the 46-record layout, peaks, standard peaks, the matrix with its
// scaled write and truncating read, the analysis parameter block.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "CAbiTestSupport.h"

using namespace zev;
using namespace abitest;

namespace {

AbiPeak_parameters MakePeak(int seed) {
  AbiPeak_parameters p{};
  p.lField0 = -seed;
  p.wField4 = WORD(0xA000 + seed);
  p.lField6 = 0x01020304 * seed;
  p.lField10 = 1000 + seed;
  p.wField14 = WORD(seed);
  p.wField16 = WORD(2 * seed);
  p.lField18 = 3 * seed;
  p.lField22 = 4 * seed;
  p.fField26 = 1.5f * float(seed);
  p.wField30 = WORD(5 * seed);
  for (int i = 0; i < 64; ++i) p.bField32[i] = BYTE(seed + i);
  return p;
}

// The peak records are packed: tests compare copies of their fields, never references.

// A fragment object with two peaks in channel 1 and one in channel 3.
void BuildFragment(CAbi& abi, bool withSamples) {
  abi.SetFragmentFile(1);
  abi.InitialFragFlagRecords();
  abi.InitPeakInfoArray(2, 0, 1, 0);
  if (withSamples) {
    abi.InitSampleSizeAndArray(2);
    abi.SetSample(0, 1, 2, 3, 4);
    abi.SetSample(1, 5, 6, 7, 8);
  }
  for (int i = 0; i < 3; ++i) {
    AbiPeak_parameters p = MakePeak(i + 1);
    abi.SetPeakInfo(i, p);
  }
  abi.InitStandardPeakInfoArray(3, true, false, false, false);
  AbiStandardPeak sp{7, -8, 9};
  abi.SetStandardPeakInfo(2, sp);
  abi.SetStandardChannel(4);
  abi.SetSampleName("Frag sample");
  abi.SetMachineName("M-3100");
  abi.SetFragParameterFileName("params.prm");
  abi.SetMatrixFileName("matrix.mtx");
  abi.SetLaneNumber(300);
  const float matrix[16] = {1.0f, 0.999f, -1.5f, 0.85f, 2.0f, 1e9f, 0, 0, 0, 0, 0, 0, 0, 0, 0, 4.25f};
  abi.SetMatrix(matrix);
}

}  // namespace

TEST(CAbiFragment, WrittenFileHasTheFixedLayout) {
  CAbi abi;
  BuildFragment(abi, true);
  std::string path = TempPath("layout.fsa");
  ASSERT_TRUE(abi.Write(path.c_str()));
  Bytes file = FileBytes(path);
  EXPECT_EQ(BE32(file, 18), 46u);
  EXPECT_EQ(BE32(file, 22), 1288u);
  ASSERT_EQ(file.size(), BE32(file, 26) + 1288u);

  // Data order: PEAK 1-4, SpNm, (GELN empty), Rate, MCHN, APFN, (StdF empty), MTXF,
  // LANS, MTRX, DATA 9-12.
  auto dir = Directory(file);
  ASSERT_EQ(dir.size(), 46u);
  ExpectEntries(dir, {
      {"PEAK1", 1024, 96, 2, 192, 128}, {"PEAK2", 1024, 96, 0, 0, 320}, {"PEAK3", 1024, 96, 1, 96, 320},
      {"PEAK4", 1024, 96, 0, 0, 416},   {"SpNm1", 18, 1, 12, 12, 416},  {"GELN1", 0, 0, 0, 0, 0},
      {"Rate1", 1024, 1, 12, 12, 428}, {"MCHN1", 18, 1, 7, 7, 440},    {"APFN1", 18, 1, 11, 11, 447},
      {"StdF1", 0, 0, 0, 0, 0},         {"MTXF4", 18, 1, 11, 11, 458},  {"LANS1", 1024, 136, 1, 136, 469},
      {"MTRX4", 4, 2, 16, 32, 605},     {"DATA9", 4, 2, 2, 4, 637},     {"DATA12", 4, 2, 2, 4, 649},
      {"CpEP1", 1, 1, 1, 1, 0x01000000}, {"FWO_1", 0, 0, 0, 0, 0},      {"LANE1", 4, 2, 1, 2, 300u << 16},
      {"ScSt1", 4, 4, 1, 4, 0},         {"SdPk1", 1, 1, 24, 0, 0},      {"SdPk2", 1, 1, 0, 0, 0},
      {"OffS1", 0, 0, 0, 0, 0},         {"PK_#4", 0, 0, 0, 0, 0},       {"RUND1", 10, 4, 1, 4, std::nullopt},
  });
  EXPECT_EQ(dir["APFN1"].position, 12u);
  EXPECT_EQ(dir["StdF1"].position, 45u);

  // Peak numbers go out big-endian at their unaligned offsets; channel 3 follows channel 1.
  EXPECT_EQ(BE32(file, 128), 0xFFFFFFFFu);
  EXPECT_EQ(BE32(file, 128 + 6), 0x01020304u);
  EXPECT_EQ(BE32(file, 128 + 26), 0x3FC00000u);  // 1.5f
  EXPECT_EQ(file[128 + 95], 64);
  EXPECT_EQ(BE32(file, 320), std::uint32_t(-3));

  // The analysis parameter block and the matrix.
  const Bytes lans(file.begin() + 469, file.begin() + 605);
  EXPECT_EQ(Bytes(lans.begin(), lans.begin() + 5), Bytes({0, 9, 0, 4, 20}));
  EXPECT_EQ(std::string(lans.begin() + 5, lans.begin() + 26), std::string("<Analysis Parameter>\0", 21));
  EXPECT_EQ(Bytes(lans.begin() + 26, lans.end()), Bytes(110, 0));
  // 1.0, 0.999, -1.5, 0.85, 2.0, a value beyond 32 bits (the processor's 0x80000000
  // cut to 16 bits), zeros, 4.25.
  const Bytes matrix(file.begin() + 605, file.begin() + 637);
  EXPECT_EQ(matrix, Words({1000, 999, -1500, 850, 2000, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 4250}));
  EXPECT_EQ(Bytes(file.begin() + 637, file.begin() + 641), Words({1, 5}));
}

TEST(CAbiFragment, ReadBackKeepsTheAsymmetries) {
  CAbi writer;
  BuildFragment(writer, true);
  writer.SetTraceOrder("GATC");
  std::string path = TempPath("readback.fsa");
  ASSERT_TRUE(writer.Write(path.c_str()));

  CAbi reader;
  reader.SetGelName("kept gel");
  reader.SetDataOffSet(77);
  ASSERT_TRUE(reader.Read(path.c_str()));
  EXPECT_TRUE(reader.IsFragmentFile());
  EXPECT_FALSE(reader.IsSequenceFile());
  EXPECT_TRUE(reader.HasFragmentResult());
  EXPECT_EQ(reader.GetSampleName(), CString("Frag sample"));
  EXPECT_EQ(reader.GetMachineName(), CString("M-3100"));
  EXPECT_EQ(reader.GetFragParameterFileName(), CString("params.prm"));
  EXPECT_EQ(reader.GetMatrixFileName(), CString("matrix.mtx"));
  EXPECT_EQ(reader.GetSizeStandardFileName(), CString());
  EXPECT_EQ(reader.GetGelName(), CString("kept gel"));  // an empty GELN record is absent
  EXPECT_EQ(reader.GetDataOffSet(), 77);                // so is a ScSt of 0
  EXPECT_EQ(reader.GetLaneNumber(), 44);
  EXPECT_EQ(reader.GetStandardChannel(), 4);
  EXPECT_EQ(reader.GetTraceOrder(), CString("GATC"));

  EXPECT_EQ(reader.GetPeakListCount(), 3);
  const int perChannel[4] = {reader.GetNumbPeakInChannel1(), reader.GetNumbPeakInChannel2(),
                             reader.GetNumbPeakInChannel3(), reader.GetNumbPeakInChannel4()};
  EXPECT_EQ(perChannel[0], 2);
  EXPECT_EQ(perChannel[1], 0);
  EXPECT_EQ(perChannel[2], 1);
  EXPECT_EQ(perChannel[3], 0);
  for (int i = 0; i < 3; ++i) {
    SCOPED_TRACE(i);
    AbiPeak_parameters got{}, want = MakePeak(i + 1);
    reader.GetPeakInfo(i, got);
    EXPECT_EQ(0, std::memcmp(&got, &want, sizeof got));
  }
  // Standard peaks stay in memory: the SdPk records carry a count and no data.
  EXPECT_EQ(writer.GetStandardPeakCount(), (24 << 24) / 8);  // the writer's table is left swapped
  EXPECT_EQ(reader.GetStandardPeakCount(), 0);

  // Matrix rows written A, C, G, T are read by the trace order G, A, T, C; each value
  // is divided by 1000 in integers before it becomes a float.
  float m[16];
  reader.GetMatrix(m);
  const float want[16] = {2, 0, 0, 0, 0, 0, 0, 4, 1, 0, -1, 0, 0, 0, 0, 0};
  for (int i = 0; i < 16; ++i) EXPECT_EQ(m[i], want[i]) << i;
  // Samples go by the trace order too.
  unsigned short v[4];
  ASSERT_TRUE(reader.GetSample(1, v[0], v[1], v[2], v[3]));
  EXPECT_EQ(v[0], 6);
  EXPECT_EQ(v[2], 5);
}

TEST(CAbiFragment, CountsNeedTheFragmentResult) {
  // No samples: the peaks are read, but every count reads 0 while the flag is down.
  CAbi writer;
  BuildFragment(writer, false);
  std::string path = TempPath("noresult.fsa");
  ASSERT_TRUE(writer.Write(path.c_str()));
  CAbi reader;
  ASSERT_TRUE(reader.Read(path.c_str()));
  EXPECT_TRUE(reader.IsFragmentFile());
  EXPECT_FALSE(reader.HasFragmentResult());
  EXPECT_EQ(reader.GetNumbPeakInChannel3(), 0);
  EXPECT_EQ(reader.GetPeakListCount(), 0);
  AbiPeak_parameters got{}, want = MakePeak(3);
  reader.GetPeakInfo(2, got);
  EXPECT_EQ(0, std::memcmp(&got, &want, sizeof got));

  // A file without any peak still lists the four PEAK records, so it reads as a
  // fragment file.
  CAbi empty;
  empty.SetFragmentFile(1);
  empty.InitialFragFlagRecords();
  ASSERT_TRUE(empty.Write(path.c_str()));
  auto dir = Directory(FileBytes(path));
  EXPECT_EQ(dir["PEAK1"].data, 128u);
  EXPECT_EQ(dir["SpNm1"].count, 0);
  CAbi again;
  ASSERT_TRUE(again.Read(path.c_str()));
  EXPECT_TRUE(again.IsFragmentFile());

  // Standard peaks count once the flag is up.
  CAbi built;
  built.SetFragmentFile(1);
  built.InitialFragFlagRecords();
  built.InitStandardPeakInfoArray(3, false, true, false, true);
  EXPECT_EQ(built.GetStandardPeakCount(), 0);
  built.SetFragmentResultFlag(1);
  EXPECT_EQ(built.GetStandardPeakCount(), 3);
}

TEST(CAbiFragment, PeakAccessorsStayInsideTheList) {
  CAbi abi;
  abi.SetFragmentFile(1);
  abi.InitialFragFlagRecords();
  abi.InitPeakInfoArray(1, 1, 0, 0);
  abi.InitStandardPeakInfoArray(1, true, false, false, false);
  AbiPeak_parameters peak = MakePeak(9), out = MakePeak(4);
  AbiStandardPeak sp{1, 2, 3}, spOut{4, 5, 6};
  for (int i : {-1, 2, 1000000}) {  // refused, where the old guards let every index through
    abi.SetPeakInfo(i, peak), abi.GetPeakInfo(i, out);
    abi.SetStandardPeakInfo(i, sp), abi.GetStandardPeakInfo(i, spOut);
    EXPECT_EQ(LONG(out.lField10), 1004) << i;
    EXPECT_EQ(LONG(spOut.lField2), 5) << i;
  }
  abi.SetPeakInfo(1, peak), abi.GetPeakInfo(1, out);
  EXPECT_EQ(LONG(out.lField10), 1009);
  abi.InitPeakInfoArray(-5, 1, 0, 0);  // a negative total makes an empty list
  out = MakePeak(4);
  abi.GetPeakInfo(0, out);
  EXPECT_EQ(LONG(out.lField10), 1004);
}

TEST(CAbiFragment, CraftedPeakAndMatrixRecords) {
  // Peaks of two channels read into one list, channel 1 first; a matrix of fewer than
  // 16 values fills what it has; a short LANS block leaves the rest as it was.
  Bytes peaks;
  for (int seed : {1, 2, 3}) {
    Bytes one(96, 0);
    one[3] = std::uint8_t(seed);
    peaks.insert(peaks.end(), one.begin(), one.end());
  }
  std::vector<FileEntry> entries = {
      {"PEAK", 2, 1024, 96, 1, Bytes(peaks.begin() + 192, peaks.end())},
      {"PEAK", 1, 1024, 96, 2, Bytes(peaks.begin(), peaks.begin() + 192)},
      {"MTRX", 4, 4, 2, 6, Words({1500, 800, -2500, 3000, 1999, 7000})},
      {"LANS", 1, 1024, 136, 1, Words({3, 6})},
      {"PEAK", 3, 1024, 96, -1, Bytes(96, 0)},
  };
  std::string path = TempPath("crafted.fsa");
  PutFile(path, BuildAbif(entries));
  CAbi abi;
  abi.SetStandardChannel(2);
  ASSERT_TRUE(abi.Read(path.c_str()));
  abi.SetFragmentResultFlag(1);
  EXPECT_EQ(abi.GetPeakListCount(), 2);  // 2 + 1 - 1: the list is sized by the total
  AbiPeak_parameters p{};
  abi.GetPeakInfo(0, p);
  EXPECT_EQ(LONG(p.lField0), 1);
  abi.GetPeakInfo(1, p);
  EXPECT_EQ(LONG(p.lField0), 2);  // the channel 2 peak did not fit
  float m[16];
  abi.GetMatrix(m);
  const float want[16] = {1, 0, -2, 3, 1, 7, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  for (int i = 0; i < 16; ++i) EXPECT_EQ(m[i], want[i]) << i;
  EXPECT_EQ(abi.GetStandardChannel(), 6);
}
