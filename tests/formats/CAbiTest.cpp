// CAbi sequence files and the shared container: the written layout byte for byte, the
// reader's rules for kinds, channels and absent records, damaged input, and copies.
#include <gtest/gtest.h>

#include <cstring>

#include "CAbiTestSupport.h"
#include "formats/CAbiInternal.h"

using namespace zev;
using namespace abitest;

namespace {

// A sequence object with every value the writer carries set to something recognisable.
void BuildFullSequence(CAbi& abi, const char* traceOrder) {
  BuildSequence(abi, 3, 4);
  abi.SetSampleName("SampleName");
  abi.SetMachineName("Machine-7");
  abi.SetDyeMobilityCorrectFile("dye.mob");
  abi.SetTraceOrder(traceOrder);
  abi.SetLaneNumber(12);
  abi.SetScanNumber(3);
  abi.SetScanRate(250);
  const unsigned short scale[4] = {11, 22, 33, 44};
  abi.SetScaleFactor(scale);
  abi.SetAverageBaseSpace(12.5f);
  abi.SetRunDateTime(CTime(2021, 3, 4, 5, 6, 7), CTime(2021, 3, 4, 8, 9, 10));
}

}  // namespace

TEST(CAbi, WrittenSequenceFileHasTheFixedLayout) {
  ScopedTZ tz("UTC");
  CAbi abi;
  BuildFullSequence(abi, "GATC");
  std::string path = TempPath("layout.ab1");
  ASSERT_TRUE(abi.Write(path.c_str()));
  Bytes file = FileBytes(path);

  // Header: magic and version bytes, the tdir record, then the fill byte.
  ASSERT_EQ(file.size(), 249u + 924u);
  EXPECT_EQ(std::string(file.begin(), file.begin() + 10), std::string("ABIF.etdir"));
  EXPECT_EQ(BE32(file, 10), 1u);
  EXPECT_EQ(BE16(file, 14), 1023);
  EXPECT_EQ(BE16(file, 16), 28);
  EXPECT_EQ(BE32(file, 18), 33u);
  EXPECT_EQ(BE32(file, 22), 924u);
  EXPECT_EQ(BE32(file, 26), 249u);
  EXPECT_EQ(BE32(file, 30), 0u);
  for (std::size_t i = 34; i < 128; ++i) ASSERT_EQ(file[i], 0x46) << i;

  // Every record in directory order; data offsets follow the data area's own order:
  // MCHN, Rate, SMPL, PDMF, S/N%, PLOC 1-2, PBAS 1-2, DATA 9-12, DATA 1-4.
  auto dir = Directory(file);
  ASSERT_EQ(dir.size(), 33u);
  ExpectEntries(dir, {
      {"DATA1", 4, 2, 3, 6, 225},  {"DATA2", 4, 2, 3, 6, 231},  {"DATA3", 4, 2, 3, 6, 237},
      {"DATA4", 4, 2, 3, 6, 243},  {"DATA5", 0, 0, 0, 0, 0},    {"DATA8", 0, 0, 0, 0, 0},
      {"DATA9", 4, 2, 3, 6, 201},  {"DATA10", 4, 2, 3, 6, 207}, {"DATA11", 4, 2, 3, 6, 213},
      {"DATA12", 4, 2, 3, 6, 219}, {"AEPt1", 4, 2, 1, 2, 0},    {"AEPt2", 0, 0, 0, 0, 0},
      {"FWO_1", 2, 1, 4, 4, 0x47415443}, {"CpEP1", 1, 1, 1, 1, 0x01000000},
      {"LANE1", 4, 2, 1, 2, 12u << 16},  {"MCHN1", 18, 1, 10, 10, 128},
      {"PBAS1", 2, 1, 4, 4, 193},  {"PBAS2", 2, 1, 4, 4, 197},  {"PDMF1", 18, 1, 8, 8, 161},
      {"PDMF2", 0, 0, 0, 0, 0},    {"PLOC1", 4, 2, 4, 8, 177},  {"PLOC2", 4, 2, 4, 8, 185},
      {"Rate1", 1024, 1, 12, 12, 138}, {"Scan1", 4, 2, 1, 2, 3u << 16},
      {"RUND1", 10, 4, 1, 4, (2021u << 16) | (3 << 8) | 4}, {"RUND2", 10, 4, 1, 4, (2021u << 16) | (3 << 8) | 4},
      {"RUNT1", 11, 4, 1, 4, 0x05060700}, {"RUNT2", 11, 4, 1, 4, 0x08090A00},
      {"SMPL1", 18, 1, 11, 11, 150}, {"S/N%1", 4, 2, 4, 8, 169}, {"SPAC1", 7, 4, 1, 4, 0x41480000},
  });
  EXPECT_EQ(dir["DATA1"].position, 0u);
  EXPECT_EQ(dir["AEPt1"].position, 12u);
  EXPECT_EQ(dir["SPAC1"].position, 32u);

  // The data blocks themselves.
  EXPECT_EQ(std::string(file.begin() + 128, file.begin() + 138), std::string("\x09Machine-7"));
  EXPECT_EQ(BE32(file, 138), 0u);
  EXPECT_EQ(BE32(file, 142), 250u);
  EXPECT_EQ(std::string(file.begin() + 150, file.begin() + 161), std::string("\x0ASampleName"));
  EXPECT_EQ(std::string(file.begin() + 161, file.begin() + 169), std::string("\x07" "dye.mob"));
  EXPECT_EQ(Bytes(file.begin() + 169, file.begin() + 177), Words({11, 22, 33, 44}));
  EXPECT_EQ(Bytes(file.begin() + 177, file.begin() + 193), Bytes(Words({5, 12, 19, 26, 5, 12, 19, 26})));
  EXPECT_EQ(std::string(file.begin() + 193, file.begin() + 201), std::string("ACGTACGT"));
  // Slots go out in storage order whatever the trace order: DATA 9 is slot A.
  EXPECT_EQ(Bytes(file.begin() + 201, file.begin() + 207), Words({0, 1, 2}));
  EXPECT_EQ(Bytes(file.begin() + 219, file.begin() + 225), Words({300, 301, 302}));
  EXPECT_EQ(Bytes(file.begin() + 243, file.begin() + 249), Words({40000, 40001, 40002}));

  // What the writer leaves behind: the FWO_ record is filled, the table stays swapped.
  EXPECT_EQ(abi.GetTraceOrder(), CString("GATC"));
  EXPECT_EQ(abi.GetSampleCount(), 3 << 24);
  CFileStatus status;
  ASSERT_TRUE(abi.GetFileStatus(status));
  EXPECT_EQ(status.m_size, LONGLONG(file.size()));
}

TEST(CAbi, ReadBackMapsChannelsAndScalesByTraceOrder) {
  ScopedTZ tz("UTC");
  struct Case {
    const char* order;
    unsigned short sampleAtZero[4];  // slots A, C, G, T of sample 0 after reading
    unsigned short scale[4];
    const char* readOrder;
  };
  // Written A=0, C=100, G=200, T=300 and scale 11, 22, 33, 44 in slot order; the reader
  // gives the i-th channel to the i-th letter.
  const Case cases[] = {
      {"", {0, 100, 200, 300}, {11, 22, 33, 44}, ""},
      {"ACGT", {0, 100, 200, 300}, {11, 22, 33, 44}, "ACGT"},
      {"GATC", {100, 300, 0, 200}, {22, 44, 11, 33}, "GATC"},
      {"AXGT", {0, 1, 200, 300}, {11, 1, 33, 44}, "AXGT"},  // a foreign letter drops its channel
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.order);
    CAbi writer;
    BuildFullSequence(writer, c.order);
    std::string path = TempPath("order.ab1");
    ASSERT_TRUE(writer.Write(path.c_str()));
    CAbi reader;
    ASSERT_TRUE(reader.Read(path.c_str()));
    EXPECT_TRUE(reader.IsSequenceFile());
    EXPECT_TRUE(reader.HasSequenceResult());
    EXPECT_TRUE(reader.HasRawData());
    EXPECT_EQ(reader.GetTraceOrder(), CString(c.readOrder));
    unsigned short s[4], scale[4];
    ASSERT_TRUE(reader.GetSample(0, s[0], s[1], s[2], s[3]));
    for (int k = 0; k < 4; ++k) EXPECT_EQ(s[k], c.sampleAtZero[k]) << k;
    reader.GetScaleFactor(scale);
    for (int k = 0; k < 4; ++k) EXPECT_EQ(scale[k], c.scale[k]) << k;
    // Every other value is checked by the byte-for-byte rewrite below.
    EXPECT_EQ(reader.GetSampleCount(), 3);
    EXPECT_EQ(reader.GetRawDataCount(), 3);
    EXPECT_EQ(reader.GetVcptCount(), 0);
  }
}

TEST(CAbi, ReadThenRebuildWritesTheSameBytes) {
  ScopedTZ tz("UTC");
  CAbi first;
  BuildFullSequence(first, "ACGT");
  first.InitVcptDataSizeAndArray(3);
  for (int i = 0; i < 3; ++i) first.SetVcptData(i, WORD(7 * i), WORD(8 * i), WORD(9 * i), WORD(10 * i));
  std::string a = TempPath("rebuild_a.ab1"), b = TempPath("rebuild_b.ab1");
  ASSERT_TRUE(first.Write(a.c_str()));

  CAbi read, again;
  ASSERT_TRUE(read.Read(a.c_str()));
  ASSERT_EQ(read.GetVcptCount(), 3);
  EXPECT_EQ(read.GetCpEPValue(), 1);
  CopyForWriting(read, again, false);
  ASSERT_TRUE(again.Write(b.c_str()));
  EXPECT_EQ(FileBytes(a), FileBytes(b));
}

TEST(CAbi, LongTextsOutrunTheCursor) {
  CAbi abi;
  BuildSequence(abi, 1, 1);
  abi.SetSampleName(CString('x', 300));
  std::string path = TempPath("long_text.ab1");
  ASSERT_TRUE(abi.Write(path.c_str()));
  Bytes file = FileBytes(path);
  // The length byte keeps the low eight bits and the cursor moves by it plus one, but
  // the whole text goes out: every later offset, the directory's too, falls 256 short.
  std::size_t directory = file.size() - 924;
  EXPECT_EQ(BE32(file, 26), directory - 256);
  auto dir = Directory(file, std::int64_t(directory));
  const Entry& smpl = dir["SMPL1"];
  EXPECT_EQ(smpl.data, 141u);  // after the empty MCHN (1 byte) and Rate (12)
  EXPECT_EQ(smpl.count, 45);
  EXPECT_EQ(smpl.dataSize, 45);
  EXPECT_EQ(file[141], 44);
  EXPECT_EQ(std::string(file.begin() + 142, file.begin() + 442), std::string(300, 'x'));
  EXPECT_EQ(dir["PDMF1"].data, 141u + 45);
  EXPECT_EQ(file[442], 0);  // the empty PDMF text, written where the file stands
  EXPECT_EQ(dir["PDMF1"].count, 1);
}

TEST(CAbi, LaneAndTraceOrderInlineValues) {
  CAbi abi;
  BuildSequence(abi, 1, 1);
  abi.SetLaneNumber(300);
  std::string path = TempPath("lane.ab1");
  ASSERT_TRUE(abi.Write(path.c_str()));
  auto dir = Directory(FileBytes(path));
  EXPECT_EQ(dir["LANE1"].data, 300u << 16);
  // An empty trace order writes no FWO_ data.
  EXPECT_EQ(dir["FWO_1"].count, 0);
  EXPECT_EQ(dir["FWO_1"].data, 0u);

  CAbi reader;
  reader.SetLaneNumber(7);
  ASSERT_TRUE(reader.Read(path.c_str()));
  EXPECT_EQ(reader.GetLaneNumber(), 44);  // only the low byte of the lane survives
  EXPECT_EQ(reader.GetTraceOrder(), CString());

  // A lane of 0 is written inline as 0, and a record whose data field is 0 is absent.
  CAbi zero;
  BuildSequence(zero, 1, 1);
  ASSERT_TRUE(zero.Write(path.c_str()));
  EXPECT_EQ(Directory(FileBytes(path))["LANE1"].count, 1);
  ASSERT_TRUE(reader.Read(path.c_str()));
  EXPECT_EQ(reader.GetLaneNumber(), 44);
}

TEST(CAbi, ReaderRulesOnCraftedDirectories) {
  const Bytes two = Words({5, 6});
  struct Case {
    const char* name;
    std::vector<FileEntry> entries;
    int seq, frag, raw;
    int samples, rawCount, bases;
    const char* sampleName;
    const char* baseSequence = "";
  };
  const Case cases[] = {
      {"PEAK before AEPt is a fragment file",
       {{"PEAK", 1, 1024, 96, 0, {}, 4}, {"AEPt", 1, 4, 2, 1, Words({1})}}, 0, 1, 0, 0, 0, 0, ""},
      {"AEPt before PEAK is a sequence file",
       {{"AEPt", 1, 4, 2, 1, Words({1})}, {"PEAK", 1, 1024, 96, 0, {}, 4}}, 1, 0, 0, 0, 0, 0, ""},
      {"neither tag: a raw data file with nothing read",
       {{"DATA", 1, 4, 2, 2, two}, {"SMPL", 1, 18, 1, 6, Pascal("named")}}, 0, 0, 1, 0, 0, 0, ""},
      {"a record whose data field is 0 is absent; the next duplicate fills the slot",
       {{"AEPt", 1, 4, 2, 1, Words({0})},
        {"SMPL", 1, 18, 1, 6, Pascal("first"), 0},
        {"SMPL", 1, 18, 1, 7, Pascal("second")},
        {"SMPL", 1, 18, 1, 6, Pascal("third")}},
       1, 0, 0, 0, 0, 0, "second"},
      {"bases come from PBAS 2 and PLOC 2 only",
       {{"AEPt", 1, 4, 2, 1, Words({1})},
        {"PBAS", 1, 2, 1, 6, Text("XXXXXX")},
        {"PBAS", 2, 2, 1, 5, Text("ACGTN")},
        {"PLOC", 2, 4, 2, 5, Words({1, 2, 3, 4, 5})},
        {"DATA", 9, 4, 2, 2, two}},
       1, 0, 0, 2, 0, 5, "", "ACGTN"},
      {"bases need the sequence-result flag: no DATA 9-12, no bases",
       {{"AEPt", 1, 4, 2, 1, Words({1})}, {"PBAS", 2, 2, 1, 5, Text("ACGTN")}}, 1, 0, 0, 0, 0, 0, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::string path = TempPath("crafted.ab1");
    PutFile(path, BuildAbif(c.entries));
    CAbi abi;
    ASSERT_TRUE(abi.Read(path.c_str()));
    EXPECT_EQ(abi.IsSequenceFile(), c.seq);
    EXPECT_EQ(abi.IsFragmentFile(), c.frag);
    EXPECT_EQ(abi.IsRawDataFile(), c.raw);
    EXPECT_EQ(abi.GetSampleCount(), c.samples);
    EXPECT_EQ(abi.GetRawDataCount(), c.rawCount);
    EXPECT_EQ(abi.GetBaseCount(), c.bases);
    EXPECT_EQ(abi.GetSampleName(), CString(c.sampleName));
    EXPECT_EQ(abi.GetBaseSequence(), CString(c.baseSequence));
    EXPECT_EQ(abi.GetDirectoryCount(), int(c.entries.size()));
    EXPECT_EQ(abi.GetFlagRecordCount(), c.seq ? 33 : c.frag ? 46 : 0);
  }
}

TEST(CAbi, MissingAndShortChannelsKeepTheirFill) {
  // DATA 9 is absent, DATA 10 is shorter than the rest; DATA 1 alone carries raw data.
  std::vector<FileEntry> entries = {
      {"AEPt", 1, 4, 2, 1, Words({1})},
      {"DATA", 10, 4, 2, 1, Words({7})},
      {"DATA", 11, 4, 2, 3, Words({8, 9, 10})},
      {"DATA", 12, 4, 2, 3, Words({11, 12, 13})},
      {"DATA", 1, 4, 2, 3, Words({20, 21, 22})},
  };
  std::string path = TempPath("fill.ab1");
  PutFile(path, BuildAbif(entries));
  CAbi abi;
  ASSERT_TRUE(abi.Read(path.c_str()));
  ASSERT_EQ(abi.GetSampleCount(), 3);
  const unsigned short samples[3][4] = {{1, 7, 8, 11}, {1, 1, 9, 12}, {1, 1, 10, 13}};
  const unsigned short raw[3][4] = {{20, 0, 0, 0}, {21, 0, 0, 0}, {22, 0, 0, 0}};
  for (int i = 0; i < 3; ++i) {
    SCOPED_TRACE(i);
    unsigned short v[4];
    ASSERT_TRUE(abi.GetSample(i, v[0], v[1], v[2], v[3]));
    EXPECT_EQ(0, std::memcmp(v, samples[i], sizeof v));
    ASSERT_TRUE(abi.GetRawData(i, v[0], v[1], v[2], v[3]));
    EXPECT_EQ(0, std::memcmp(v, raw[i], sizeof v));
  }
  unsigned short v[4];
  EXPECT_FALSE(abi.GetSample(-1, v[0], v[1], v[2], v[3]));
  EXPECT_FALSE(abi.GetSample(3, v[0], v[1], v[2], v[3]));
  EXPECT_FALSE(abi.SetRawData(3, 0, 0, 0, 0));
  EXPECT_FALSE(abi.GetVcptData(0, v[0], v[1], v[2], v[3]));
}

TEST(CAbi, DamagedFilesFailOrReadWhatIsThere) {
  const Bytes two = Words({5, 6});
  const std::vector<FileEntry> good = {{"AEPt", 1, 4, 2, 1, Words({1})}, {"DATA", 9, 4, 2, 2, two}};
  auto withDirectory = [&](std::uint32_t count, std::uint32_t offset) {
    Bytes f = BuildAbif(good);
    for (int i = 0; i < 4; ++i) f[18 + i] = std::uint8_t(count >> (24 - 8 * i)), f[26 + i] = std::uint8_t(offset >> (24 - 8 * i));
    return f;
  };
  Bytes truncated = BuildAbif(good);
  truncated.resize(truncated.size() - 20);  // the last entry loses its data field
  // Read's result and the sample count it leaves (what was read before a failure
  // stays), then the same for GetFileStats, which stops after the directory.
  struct Case {
    const char* name;
    Bytes file;
    int ok, samples, statsOk, statsSamples;
  };
  const Case cases[] = {
      {"empty file", {}, 0, 0, 0, 0},
      {"not ABIF", Text("This is not an ABIF file at all"), 0, 0, 0, 0},
      {"header only", Text("ABIF"), 1, 0, 1, 0},
      {"negative directory offset", withDirectory(2, 0x80000000u), 0, 0, 0, 0},
      {"directory count beyond the file", withDirectory(0x7FFFFFFF, 0), 0, 0, 0, 0},
      {"negative directory count", withDirectory(0xFFFFFFFF, 0), 1, 0, 1, 0},
      {"directory past the end", withDirectory(2, 0x7FFFFFF0), 1, 0, 1, 0},
      {"directory cut short", truncated, 1, 0, 1, 0},
      {"negative data offset", BuildAbif({good[0], {"DATA", 9, 4, 2, 3, {}, 0x80000000}}), 0, 3, 1, 3},
      {"data past the end reads as zeros", BuildAbif({good[0], {"DATA", 9, 4, 2, 3, {}, 0x7FFFFFF0}}), 1, 3, 1, 3},
      {"count beyond the file", BuildAbif({good[0], {"DATA", 9, 4, 2, 0x10000000, two}}), 0, 0x10000000, 1,
       0x10000000},
      {"negative counts raise no result flag",
       BuildAbif({good[0], {"DATA", 9, 4, 2, -5, two}, {"DATA", 10, 4, 2, -1, two}}), 1, 0, 1, 0},
      {"negative base count", BuildAbif({good[0], good[1], {"PBAS", 2, 2, 1, -4, Text("ACGTACGT")}}), 0, 2, 1, 2},
      {"matrix count beyond the file",
       BuildAbif({{"PEAK", 1, 1024, 96, 0, {}, 4}, {"MTRX", 4, 4, 2, 0x40000000, two}}), 0, 0, 1, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::string path = TempPath("damaged.ab1");
    PutFile(path, c.file);
    CAbi abi;
    EXPECT_EQ(abi.Read(path.c_str()), c.ok);
    CFileStatus status;
    EXPECT_EQ(abi.GetFileStatus(status), c.ok);
    EXPECT_EQ(abi.GetSampleCount(), c.samples);
    unsigned int samples = 99, raw = 99;
    CAbi stats;
    EXPECT_EQ(stats.GetFileStats(path.c_str(), samples, raw), c.statsOk);
    EXPECT_EQ(samples, unsigned(c.statsSamples));
    EXPECT_EQ(raw, 0u);
  }
  CAbi abi;
  EXPECT_FALSE(abi.Read("/nonexistent-dir/none.ab1"));
  EXPECT_FALSE(abi.Write("/nonexistent-dir/none.ab1"));
  EXPECT_EQ(abi.GetFileName(), CString("/nonexistent-dir/none.ab1"));
}

TEST(CAbi, FlagsAccumulateAcrossReads) {
  std::string seqPath = TempPath("acc_seq.ab1"), fragPath = TempPath("acc_frag.fsa");
  CAbi seq;
  BuildSequence(seq, 2, 2);
  seq.SetTraceOrder("GATC");
  ASSERT_TRUE(seq.Write(seqPath.c_str()));
  CAbi frag;
  frag.SetFragmentFile(1);
  frag.InitialFragFlagRecords();
  frag.InitSampleSizeAndArray(2);
  frag.InitPeakInfoArray(1, 0, 0, 0);
  frag.SetSample(0, 0, 100, 200, 300);
  ASSERT_TRUE(frag.Write(fragPath.c_str()));

  CAbi abi;
  ASSERT_TRUE(abi.Read(seqPath.c_str()));
  ASSERT_TRUE(abi.Read(fragPath.c_str()));
  // The sequence flag stays up, so the fragment file is read as a sequence file.
  EXPECT_TRUE(abi.IsSequenceFile());
  EXPECT_TRUE(abi.IsFragmentFile());
  EXPECT_EQ(abi.GetFlagRecordCount(), 33);
  EXPECT_EQ(abi.GetPeakListCount(), 0);
  EXPECT_EQ(abi.GetSampleCount(), 2);
  // The trace order of the first file is still applied, though its record is empty now.
  EXPECT_EQ(abi.GetTraceOrder(), CString());
  unsigned short v[4];
  ASSERT_TRUE(abi.GetSample(0, v[0], v[1], v[2], v[3]));
  EXPECT_EQ(v[2], 0);  // DATA 9 (slot A of the writer, value 0) went to G
  EXPECT_EQ(v[0], 100);

  unsigned int samples = 0, raw = 0;
  CAbi stats;
  ASSERT_TRUE(stats.GetFileStats(seqPath.c_str(), samples, raw));
  EXPECT_EQ(samples, 2u);
  EXPECT_EQ(raw, 2u);
}

TEST(CAbi, BuildingNeedsTheTableAndTheResultFlag) {
  CAbi abi;
  EXPECT_EQ(abi.GetFlagRecords(), nullptr);
  unsigned short scale[4];
  abi.GetScaleFactor(scale);
  EXPECT_EQ(scale[0] + scale[1] + scale[2] + scale[3], 4);
  EXPECT_FLOAT_EQ(abi.GetAveragebaseSpace(), 1.0f);
  CTime start, stop;
  abi.GetRunDateTime(start, stop);
  EXPECT_EQ(start, CTime(WORD(1), WORD(1), 2000));
  EXPECT_EQ(stop, CTime(WORD(1), WORD(2), 2000));

  abi.SetSequenceFile(1);
  abi.InitialSeqFlagRecords();
  abi.InitBaseSizeAndArray(2);
  // The base count reads 0 until the sequence-result flag is up.
  EXPECT_FALSE(abi.SetBase(0, 1, 'A'));
  abi.SetSequenceResultFlag(1);
  EXPECT_TRUE(abi.SetBase(1, 1, 'A'));
  EXPECT_FALSE(abi.SetBase(2, 1, 'A'));
  // A caller's trace order reads back empty until a Write fills the record.
  abi.SetTraceOrder("TACGX");
  EXPECT_EQ(abi.GetTraceOrder(), CString());
  ASSERT_TRUE(abi.Write(TempPath("order_set.ab1").c_str()));
  EXPECT_EQ(abi.GetTraceOrder(), CString("TACG"));
}

TEST(CAbi, CopiesShareTheirArrays) {
  CAbi a;
  BuildSequence(a, 3, 2);
  CAbi b(a);
  ASSERT_TRUE(b.SetSample(0, 9, 9, 9, 9));
  unsigned short v[4];
  ASSERT_TRUE(a.GetSample(0, v[0], v[1], v[2], v[3]));
  EXPECT_EQ(v[0], 9);
  // A new array in one object shows its count through the shared table; the other
  // keeps its own array and is bounded by both.
  a.InitSampleSizeAndArray(1);
  EXPECT_EQ(b.GetSampleCount(), 1);
  ASSERT_TRUE(b.GetSample(0, v[0], v[1], v[2], v[3]));
  EXPECT_EQ(v[0], 9);
  a.InitSampleSizeAndArray(10);
  EXPECT_FALSE(b.GetSample(5, v[0], v[1], v[2], v[3]));
  CAbi c;
  c = b;
  EXPECT_EQ(c.GetBaseCount(), 2);
  EXPECT_EQ(c.GetFlagRecords(), a.GetFlagRecords());
}

TEST(CAbi, TimeFromStringGivesWhatItAlwaysGave) {
  // Month, day and year go to the constructor as year, month and day, and the year
  // is converted from the day's buffer: every sane text gives an invalid time.
  const char* texts[] = {"January 5 2001 12:34:56", "  sept 30 99 01:02:03  ", "Foo 1 2 3", "", "Dec",
                         "DEC 31 2000123456789 23:59:59", "MAY 123456789 1 00:00:00"};
  CAbi abi;
  for (const char* text : texts) {
    SCOPED_TRACE(text);
    EXPECT_EQ(abi.GetTimeFromString(text).GetTime(), -1);
  }
}

// The channel interleave against the plain per-value loop, at lengths on both sides of
// each block size the vector paths use, from channels that start at odd addresses.
TEST(CAbiInterleave, MatchesValueByValue) {
  for (std::size_t n : {0, 1, 7, 8, 9, 15, 16, 17, 31, 32, 33, 100, 1029}) {
    SCOPED_TRACE(n);
    std::vector<std::uint8_t> bytes(8 * n + 1);
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = std::uint8_t(i * 37 + (i >> 8) * 11 + 5);
    const std::uint8_t* source[4] = {bytes.data() + 1, bytes.data() + 1 + 2 * n, bytes.data() + 1 + 4 * n,
                                     bytes.data() + 1 + 6 * n};
    std::vector<AbiTraceRecord> out(n + 1, AbiTraceRecord{{0xDEAD, 0xDEAD, 0xDEAD, 0xDEAD}});
    abif::InterleaveChannels(source, n, out.data());
    for (std::size_t j = 0; j < n; ++j)
      for (int s = 0; s < 4; ++s)
        ASSERT_EQ(out[j].Slot[s], WORD(source[s][2 * j] << 8 | source[s][2 * j + 1])) << j << " " << s;
    EXPECT_EQ(out[n].Slot[0], 0xDEAD);  // nothing written past the end
  }
}
