// CAbi against public sample files and real peers: every sample goes through Read, the
// good ones give what Biopython (or io_lib, where Biopython gives up) reads from them,
// and Biopython reads what CAbi writes with the same values.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "CAbiTestSupport.h"

using namespace zev;
using namespace abitest;
using nlohmann::json;

namespace {

const std::string kTraces = ZEV_SHARED_DIR "/testdata/traces/";

std::string RunCommand(const std::string& command) {
  std::string out;
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return out;
  char buf[65536];
  std::size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, pipe)) > 0) out.append(buf, n);
  pclose(pipe);
  return out;
}

bool HaveBiopython() { return std::system("/usr/bin/python3 -c 'import Bio.SeqIO' >/dev/null 2>&1") == 0; }

// What Biopython's ABIF parser reads from each file, keyed by path.
json Biopython(const std::vector<std::string>& paths) {
  std::string command = "/usr/bin/python3 " ZEV_SOURCE_DIR "/tests/formats/abi_peer.py";
  for (const std::string& p : paths) command += " '" + p + "'";
  return json::parse(RunCommand(command));
}

// The rows of the sample manifest that are ABIF files or pretend to be.
struct Sample {
  std::string file, format, traits;
};
std::vector<Sample> AbifSamples() {
  std::vector<Sample> samples;
  std::ifstream in(kTraces + "MANIFEST.tsv");
  std::string line;
  std::getline(in, line);
  while (std::getline(in, line)) {
    std::vector<std::string> cols;
    std::stringstream ss(line);
    for (std::string col; std::getline(ss, col, '\t');) cols.push_back(col);
    if (cols.size() < 9) continue;
    if (cols[5].find("ABIF") != std::string::npos || cols[5] == "not a trace") samples.push_back({cols[0], cols[5], cols[8]});
  }
  return samples;
}

std::string LocalDate(const CTime& t, const char* format) { return std::string(t.Format(format).GetString()); }

// The sample values of one channel against the peer's list; past its end, the fill.
void ExpectChannel(const json& values, int count, int slot, unsigned short fill,
                   int (CAbi::*get)(int, unsigned short&, unsigned short&, unsigned short&, unsigned short&),
                   CAbi& abi) {
  ASSERT_GE(slot, 0);
  for (int j = 0; j < count; ++j) {
    unsigned short v[4];
    ASSERT_TRUE((abi.*get)(j, v[0], v[1], v[2], v[3]));
    int want = j < int(values.size()) ? values[std::size_t(j)].get<int>() : fill;
    ASSERT_EQ(std::int16_t(v[slot]), std::int16_t(want)) << "slot " << slot << " at " << j;
  }
}

int SlotOf(char letter) { return std::string("ACGT").find(letter) == std::string::npos ? -1 : int(std::string("ACGT").find(letter)); }

}  // namespace

TEST(CAbiPeer, EverySampleFileReads) {
  auto samples = AbifSamples();
  ASSERT_GE(samples.size(), 20u);
  for (const Sample& s : samples) {
    SCOPED_TRACE(s.file);
    std::string path = kTraces + s.file;
    bool broken = s.format.find("broken") != std::string::npos;
    int wantOk = s.format == "not a trace" || s.file == "seqtrace_error-wrong_version.ab1" ? 0 : 1;
    CAbi abi;
    ASSERT_EQ(abi.Read(path.c_str()), wantOk);
    if (!wantOk) continue;
    bool sequence = s.traits.find("AEPt=yes") != std::string::npos || broken;
    EXPECT_EQ(abi.IsSequenceFile(), sequence ? 1 : 0);
    EXPECT_EQ(abi.IsFragmentFile(), 0);  // none of them has a PEAK record
    EXPECT_EQ(abi.IsRawDataFile(), sequence ? 0 : 1);
    std::size_t entries = s.traits.find("entries=");
    if (entries != std::string::npos) {
      EXPECT_EQ(abi.GetDirectoryCount(), std::stoi(s.traits.substr(entries + 8)));
    }
    if (sequence) {
      EXPECT_GT(abi.GetSampleCount(), 0);
      EXPECT_GT(abi.GetBaseCount(), 0);
      EXPECT_EQ(abi.GetBaseSequence().GetLength(), abi.GetBaseCount());
    } else {
      EXPECT_EQ(abi.GetSampleCount() + abi.GetRawDataCount() + abi.GetBaseCount(), 0);
    }
    unsigned int samplesSeen = 0, raw = 0;
    CAbi stats;
    ASSERT_TRUE(stats.GetFileStats(path.c_str(), samplesSeen, raw));
    EXPECT_EQ(samplesSeen, unsigned(abi.GetSampleCount()));
    EXPECT_EQ(raw, unsigned(abi.GetRawDataCount()));
  }
}

TEST(CAbiPeer, SampleFilesReadAsBiopythonReadsThem) {
  if (!HaveBiopython()) GTEST_SKIP() << "no /usr/bin/python3 with Biopython";
  std::vector<std::string> paths;
  for (const Sample& s : AbifSamples())
    if (s.traits.find("AEPt=yes") != std::string::npos) paths.push_back(kTraces + s.file);
  json peer = Biopython(paths);
  int compared = 0;
  for (const std::string& path : paths) {
    SCOPED_TRACE(path);
    const json& p = peer.at(path);
    if (p.contains("error")) continue;  // those are checked against io_lib below
    ++compared;
    const json& tags = p["tags"];
    const json& sizes = p["sizes"];
    CAbi abi;
    ASSERT_TRUE(abi.Read(path.c_str()));
    EXPECT_EQ(abi.GetDirectoryCount(), p["entries"].get<int>());

    std::string letters = tags["PBAS2"];
    EXPECT_EQ(std::string(abi.GetBaseSequence().GetString()), letters);
    ASSERT_EQ(abi.GetBaseCount(), int(letters.size()));
    for (int i = 0; i < abi.GetBaseCount(); ++i) {
      unsigned short pos;
      char base;
      ASSERT_TRUE(abi.GetBase(i, pos, base));
      ASSERT_EQ(std::int16_t(pos), tags["PLOC2"][std::size_t(i)].get<int>()) << i;
    }

    std::string order = tags["FWO_1"];
    ASSERT_EQ(std::string(abi.GetTraceOrder().GetString()), order);
    for (int k = 0; k < 4; ++k) {
      int slot = SlotOf(order[std::size_t(k)]);
      std::string data = "DATA" + std::to_string(9 + k), raw = "DATA" + std::to_string(1 + k);
      if (tags.contains(data)) ExpectChannel(tags[data], abi.GetSampleCount(), slot, 1, &CAbi::GetSample, abi);
      if (tags.contains(raw)) ExpectChannel(tags[raw], abi.GetRawDataCount(), slot, 0, &CAbi::GetRawData, abi);
      std::string volt = "DATA" + std::to_string(5 + k);
      int vcpt = abi.GetVcptCount();
      if (tags.contains(volt) && vcpt > 0) {
        json cut = json::array();
        for (int j = 0; j < vcpt && j < int(tags[volt].size()); ++j) cut.push_back(tags[volt][std::size_t(j)]);
        ExpectChannel(cut, vcpt, k, 0, &CAbi::GetVcptData, abi);
      }
    }

    // Texts stored at an offset read as they stand; one short enough to sit inline in
    // the directory entry is looked for at the offset its bytes spell, and reads empty.
    struct Text {
      const char* tag;
      CString value;
    };
    const Text texts[] = {{"SMPL1", abi.GetSampleName()},
                          {"MCHN1", abi.GetMachineName()},
                          {"PDMF1", abi.GetDyeMobilityCorrectFile()}};
    for (const Text& t : texts) {
      if (!tags.contains(t.tag)) continue;
      std::string want = sizes[t.tag].get<int>() > 4 ? tags[t.tag].get<std::string>() : "";
      EXPECT_EQ(std::string(t.value.GetString()), want) << t.tag;
    }
    if (tags.contains("LANE1")) {
      EXPECT_EQ(abi.GetLaneNumber(), tags["LANE1"].get<int>() & 0xFF);
    }
    if (tags.contains("Scan1") && sizes["Scan1"] == 2) {
      EXPECT_EQ(abi.GetScanNumber(), tags["Scan1"].get<int>());
    }
    if (tags.contains("SPAC1")) {
      EXPECT_FLOAT_EQ(abi.GetAveragebaseSpace(), tags["SPAC1"].get<float>());
    }
    if (tags.contains("S/N%1")) {
      unsigned short scale[4];
      abi.GetScaleFactor(scale);
      for (int k = 0; k < 4; ++k) EXPECT_EQ(std::int16_t(scale[SlotOf(order[std::size_t(k)])]), tags["S/N%1"][std::size_t(k)].get<int>());
    }
    if (tags.contains("RUND1") && tags.contains("RUNT1")) {
      CTime start, stop;
      abi.GetRunDateTime(start, stop);
      EXPECT_EQ(LocalDate(start, "%Y-%m-%d %H:%M:%S"), tags["RUND1"].get<std::string>() + " " + tags["RUNT1"].get<std::string>());
      EXPECT_EQ(LocalDate(stop, "%Y-%m-%d %H:%M:%S"), tags["RUND2"].get<std::string>() + " " + tags["RUNT2"].get<std::string>());
    }
  }
  EXPECT_GE(compared, 9);
}

TEST(CAbiPeer, FilesBiopythonRejectsReadAsIoLibReadsThem) {
  if (std::system("command -v trace_dump >/dev/null 2>&1") != 0) GTEST_SKIP() << "no io_lib trace_dump";
  // Each file: what io_lib prints under [Bases], one "letter position ..." line a base.
  // io_lib shows N as '-'.
  for (const char* file : {"emboss_abiview.abi", "nimabif_hetero.ab1", "seqtrace_error-bad_index.ab1"}) {
    SCOPED_TRACE(file);
    std::string path = kTraces + file;
    std::stringstream dump(RunCommand("trace_dump '" + path + "' 2>/dev/null"));
    std::string line;
    while (std::getline(dump, line) && line != "[Bases]") {
    }
    CAbi abi;
    ASSERT_TRUE(abi.Read(path.c_str()));
    int i = 0;
    while (std::getline(dump, line) && !line.empty() && line[0] != '[') {
      char letter = line[0];
      int position = std::stoi(line.substr(2, 5));
      unsigned short pos;
      char base;
      ASSERT_TRUE(abi.GetBase(i, pos, base)) << i;
      EXPECT_EQ(base == 'N' ? '-' : base, letter) << i;
      EXPECT_EQ(pos, position) << i;
      ++i;
    }
    EXPECT_EQ(i, abi.GetBaseCount());
    EXPECT_GT(i, 200);
  }
}

TEST(CAbiPeer, BiopythonReadsWhatWeWrite) {
  if (!HaveBiopython()) GTEST_SKIP() << "no /usr/bin/python3 with Biopython";
  ScopedTZ tz("UTC");
  const int n = 400, nb = 40;
  CAbi abi;
  BuildSequence(abi, n, nb);
  abi.InitVcptDataSizeAndArray(n);
  for (int i = 0; i < n; ++i) abi.SetVcptData(i, WORD(i), WORD(2 * i), WORD(3 * i), WORD(4 * i));
  abi.SetTraceOrder("GATC");
  abi.SetSampleName("Sample-0042_forward");
  abi.SetMachineName("Bench instrument 7");
  abi.SetDyeMobilityCorrectFile("POP7_BigDye.mob");
  abi.SetLaneNumber(77);
  abi.SetScanNumber(12345);
  const unsigned short scale[4] = {500, 388, 300, 461};
  abi.SetScaleFactor(scale);
  abi.SetAverageBaseSpace(14.25f);
  abi.SetRunDateTime(CTime(2009, 12, 12, 9, 56, 53), CTime(2009, 12, 12, 11, 44, 49));
  std::string ours = TempPath("peer_written.ab1");
  ASSERT_TRUE(abi.Write(ours.c_str()));

  json p = Biopython({ours})[ours];
  ASSERT_FALSE(p.contains("error")) << p.dump();
  const json& tags = p["tags"];
  EXPECT_EQ(p["entries"], 33);
  std::string letters;
  json positions = json::array();
  for (int i = 0; i < nb; ++i) letters += "ACGTN"[i % 5], positions.push_back(5 + 7 * i);
  for (const char* tag : {"PBAS1", "PBAS2"}) EXPECT_EQ(tags[tag], letters) << tag;
  for (const char* tag : {"PLOC1", "PLOC2"}) EXPECT_EQ(tags[tag], positions) << tag;
  // DATA 1-4 raw, 5-8 voltage, 9-12 analysed, each in slot order.
  for (int k = 0; k < 4; ++k) {
    json raw = json::array(), volt = json::array(), analysed = json::array();
    for (int i = 0; i < n; ++i) {
      analysed.push_back(100 * k + i);
      raw.push_back(std::int16_t(k == 3 ? 40000 + i : 1000 * (k + 1) + i));
      volt.push_back((k + 1) * i);
    }
    EXPECT_EQ(tags["DATA" + std::to_string(1 + k)], raw) << k;
    EXPECT_EQ(tags["DATA" + std::to_string(5 + k)], volt) << k;
    EXPECT_EQ(tags["DATA" + std::to_string(9 + k)], analysed) << k;
  }
  EXPECT_EQ(tags["SMPL1"], "Sample-0042_forward");
  EXPECT_EQ(tags["MCHN1"], "Bench instrument 7");
  EXPECT_EQ(tags["PDMF1"], "POP7_BigDye.mob");
  EXPECT_EQ(tags["LANE1"], 77);
  EXPECT_EQ(tags["Scan1"], 12345);
  EXPECT_EQ(tags["CpEP1"], 1);
  EXPECT_EQ(tags["RUND1"], "2009-12-12");
  EXPECT_EQ(tags["RUND2"], "2009-12-12");
  EXPECT_EQ(tags["RUNT1"], "09:56:53");
  EXPECT_EQ(tags["RUNT2"], "11:44:49");
  EXPECT_EQ(tags["S/N%1"], json({500, 388, 300, 461}));
  EXPECT_EQ(tags["SPAC1"], 14.25);
  EXPECT_EQ(tags["FWO_1"], "GATC");
}

TEST(CAbiPeer, ARealReadRewrittenReadsTheSameInBiopython) {
  if (!HaveBiopython()) GTEST_SKIP() << "no /usr/bin/python3 with Biopython";
  // The caller who keeps the file's trace order passes channels in that order.
  std::string original = kTraces + "biopython_3730.ab1", ours = TempPath("rewritten_3730.ab1");
  CAbi in, out;
  ASSERT_TRUE(in.Read(original.c_str()));
  ASSERT_EQ(in.GetTraceOrder(), CString("GATC"));
  CopyForWriting(in, out, true);
  ASSERT_TRUE(out.Write(ours.c_str()));

  json peer = Biopython({original, ours});
  const json& a = peer[original]["tags"];
  const json& b = peer[ours]["tags"];
  for (const char* tag : {"PBAS2", "PLOC2", "DATA1", "DATA2", "DATA3", "DATA4", "DATA9", "DATA10", "DATA11", "DATA12",
                          "SMPL1", "FWO_1"}) {
    SCOPED_TRACE(tag);
    EXPECT_EQ(a[tag], b[tag]);
  }
}
