// Instrument calibration: the dead-time values an INI file gives (and the ones it
// cannot), defaults and updates, and the flat twins as plain blocks.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "zevutil/CInstrumentCalib.h"

using namespace zev;
namespace fs = std::filesystem;

namespace {

fs::path ScratchFile(const std::string& name) {
  const char* base = std::getenv("ZEV_TEST_TMP");
  fs::path dir = fs::path(base && *base ? base : fs::temp_directory_path().string()) / "calib_tests";
  fs::create_directories(dir);
  return dir / (name + std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()) + ".ini");
}

std::string Slurp(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

}  // namespace

TEST(CDeadtimeCalib, ValuesFromAnIniFile) {
  struct Case {
    const char* name;
    const char* body;  // the INSTRUMENT section's lines
    double deadtime, threshold, lower0, upper0, lower1, upper1;
  };
  const Case cases[] = {
      {"one character is absent", "Deadtime=5\r\n", 15.75, 20, 64000, 128000, 40000, 80000},
      {"two characters are read", "Deadtime=5.0\r\n", 5.0, 20, 64000, 128000, 40000, 80000},
      {"40 is too large", "Deadtime=40\r\nDeadtimeThreshold=1\r\nSaturation=1 2\r\n", 15.75, 20, 64000, 128000,
       40000, 80000},
      {"negative", "Deadtime=-1.5\r\nDeadtimeThreshold=1\r\n", 15.75, 20, 64000, 128000, 40000, 80000},
      {"above the threshold sets element 1", "Deadtime=25.0\r\nDeadtimeThreshold=20.0\r\nSaturation=1000 2000\r\n",
       25.0, 20, 64000, 128000, 1000, 2000},
      {"below sets element 0", "Deadtime=15.0\r\nDeadtimeThreshold=20.0\r\nSaturation=1000 2000\r\n", 15.0, 20,
       1000, 2000, 40000, 80000},
      {"threshold moves the choice", "Deadtime=15.0\r\nDeadtimeThreshold=10.5\r\nSaturation=7 8\r\n", 15.0, 10.5,
       64000, 128000, 7, 8},
      {"one saturation number changes nothing", "Deadtime=12.5\r\nSaturation=1000\r\n", 12.5, 20, 64000, 128000,
       40000, 80000},
      {"negative threshold is ignored", "Deadtime=39.9\r\nDeadtimeThreshold=-2\r\n", 39.9, 20, 64000, 128000, 40000,
       80000},
      {"text reads as zero", "Deadtime=ab\r\n", 0.0, 20, 64000, 128000, 40000, 80000},
      {"other section", "[OTHER]\r\nDeadtime=5.0\r\n", 15.75, 20, 64000, 128000, 40000, 80000},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const fs::path file = ScratchFile("calib");
    const std::string text = std::string(std::strncmp(c.body, "[", 1) == 0 ? "" : "[INSTRUMENT]\r\n") + c.body;
    std::ofstream(file, std::ios::binary) << text;
    CInstrumentCalib calib;
    calib.LoadINIFileValues(file.c_str());
    const CDeadtimeCalib& d = calib.Deadtime;
    EXPECT_DOUBLE_EQ(d.Deadtime, c.deadtime);
    EXPECT_DOUBLE_EQ(d.DeadtimeThreshold, c.threshold);
    EXPECT_DOUBLE_EQ(d.SaturationLower[0], c.lower0);
    EXPECT_DOUBLE_EQ(d.SaturationUpper[0], c.upper0);
    EXPECT_DOUBLE_EQ(d.SaturationLower[1], c.lower1);
    EXPECT_DOUBLE_EQ(d.SaturationUpper[1], c.upper1);
    // Saving writes nothing back.
    calib.Deadtime.Deadtime = 1.0;
    calib.SaveINIFileValues(file.c_str());
    EXPECT_EQ(Slurp(file), text);
    fs::remove(file);
  }
  CDeadtimeCalib d;
  d.LoadINIFileValues(nullptr);
  d.LoadINIFileValues(ScratchFile("missing").c_str());
  EXPECT_DOUBLE_EQ(d.Deadtime, 15.75);
}

TEST(CInstrumentCalib, UpdatesKeepOnlyTheDeadTime) {
  CInstrumentCalib c;
  const double coefficients[4] = {0.09375, 0.0625, 0.03125, 0.0};
  c.Deadtime.Deadtime = 3.5;
  c.Deadtime.Value2 = 99;
  c.Deadtime.SaturationLower[1] = 1;
  c.Limit = 5;
  c.Coefficients[3] = 7;
  c.Capillary.SetCapillaryID("CAP-1");
  c.Buffer.Texts[1] = "buffer";
  c.UpdateToCurrentValues();
  EXPECT_DOUBLE_EQ(c.Deadtime.Deadtime, 3.5);
  EXPECT_DOUBLE_EQ(c.Deadtime.Value2, 10.0);
  EXPECT_DOUBLE_EQ(c.Deadtime.SaturationLower[1], 40000.0);
  EXPECT_DOUBLE_EQ(c.Limit, 131070.0);
  for (int i = 0; i < 4; ++i) EXPECT_DOUBLE_EQ(c.Coefficients[i], coefficients[i]) << i;
  EXPECT_STREQ(c.Capillary.CapillaryID, "CAP-1");  // capillary and buffer stay
  EXPECT_EQ(c.Buffer.Texts[1], "buffer");

  // From an identifier: the ID is copied and the calibration takes its defaults.
  CInstrumentCalib fromId(CInstrumentID(8123, "Unit 7"));
  EXPECT_STREQ(fromId.Instrument.ObName, "Unit 7");
  EXPECT_EQ(fromId.Instrument.ObType, 8123);
  EXPECT_DOUBLE_EQ(fromId.Deadtime.Deadtime, 15.75);
  c.SetDefaultValues();
  EXPECT_STREQ(c.Capillary.CapillaryID, "");
  EXPECT_TRUE(c.Buffer.Texts[1].IsEmpty());
}

TEST(CapillaryCalib, TextsAreCutTo48) {
  CapillaryCalib cap;
  const std::string sixty(60, 'c');
  cap.SetCapillaryID(sixty.c_str());
  EXPECT_EQ(std::string(cap.CapillaryID), std::string(48, 'c'));
  cap.SetCapillaryStrings(nullptr, "one", nullptr, sixty.c_str());  // nulls leave fields alone
  EXPECT_EQ(std::strlen(cap.CapillaryID), 48u);
  EXPECT_STREQ(cap.CapillaryStrings[0], "one");
  EXPECT_STREQ(cap.CapillaryStrings[1], "");
  EXPECT_EQ(std::strlen(cap.CapillaryStrings[2]), 48u);
  EXPECT_EQ(cap.TimeStamp, cap.InstalledTime);

  cap.Texts[0] = sixty.c_str();
  CapillaryCalibMap map{};
  map = cap;
  EXPECT_EQ(std::strlen(map.Texts[0]), 48u);
}

TEST(InstrumentCalibMap, FlatFormCopiesAsABlockAndComesBack) {
  CInstrumentCalib src(CInstrumentID(8001, "Instrument A"));
  std::strcpy(src.Instrument.InstrumentSerial, "SN-42");
  src.Instrument.InstrumentTime = 123456;
  src.Capillary.SetCapillaryStrings("ARRAY", "s1", "s2", "s3");
  src.Capillary.Values[1] = 2.5;
  src.Capillary.Counters[0] = 17;
  src.Capillary.Texts[2] = "third";
  src.Buffer.Texts[0] = "POP";
  src.Deadtime.Deadtime = 22.25;
  src.Deadtime.SaturationUpper[1] = 5;
  src.Constant1 = 0.5;
  src.Coefficients[2] = 9;

  InstrumentCalibMap map{};
  EXPECT_EQ(&Map(src, map), &map);
  InstrumentCalibMap block;
  std::memcpy(&block, &map, sizeof block);  // what the flat form is for

  CInstrumentCalib back;
  back = block;
  EXPECT_STREQ(back.Instrument.ObName, "Instrument A");
  EXPECT_EQ(back.Instrument.ObType, 8001);
  EXPECT_STREQ(back.Instrument.InstrumentSerial, "SN-42");
  EXPECT_EQ(back.Instrument.InstrumentTime, 123456);
  EXPECT_STREQ(back.Capillary.CapillaryID, "ARRAY");
  EXPECT_STREQ(back.Capillary.CapillaryStrings[2], "s3");
  EXPECT_DOUBLE_EQ(back.Capillary.Values[1], 2.5);
  EXPECT_EQ(back.Capillary.Counters[0], 17);
  EXPECT_EQ(back.Capillary.InstalledTime, src.Capillary.InstalledTime);
  EXPECT_EQ(back.Capillary.Texts[2], "third");
  EXPECT_EQ(back.Buffer.Texts[0], "POP");
  EXPECT_DOUBLE_EQ(back.Deadtime.Deadtime, 22.25);
  EXPECT_DOUBLE_EQ(back.Deadtime.SaturationUpper[1], 5.0);
  EXPECT_DOUBLE_EQ(back.Constant1, 0.5);
  EXPECT_DOUBLE_EQ(back.Coefficients[2], 9.0);

  // A field filled to the brim (no NUL) still comes back cut, never overrun.
  std::memset(block.Capillary.CapillaryID, 'z', sizeof block.Capillary.CapillaryID);
  std::memset(block.Instrument.ObName, 'n', sizeof block.Instrument.ObName);
  back = block;
  EXPECT_EQ(std::strlen(back.Capillary.CapillaryID), 48u);
  EXPECT_EQ(std::strlen(back.Instrument.ObName), 127u);
}
