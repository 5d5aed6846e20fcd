// Version, instrument and system identifiers: defaults, version texts, equality,
// firmware numbers, version resources of PE and ELF files (ours included), hostile
// images, and the suite's version in the registry.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "IdentityTestUtil.h"
#include "VersionImages.h"
#include "identity/VersionResource.h"
#include "zevutil/CZevVersionID.h"
#include "zevutil/platform/Registry.h"

using namespace zev;
using zevtest::ByteVec;
using zevtest::VersionSpec;

namespace {

const std::vector<std::pair<std::string, std::string>> kSuiteStrings = {
    {"CompanyName", "Halvorn Ostrava, Inc."},
    {"ProductName", "SeqSuite"},
    {"SpecialBuild", "beta 2"},
    {"LegalCopyright", "Copyright (C) 1998-2004 Halvorn Ostrava, Inc."},
};

VersionSpec SuiteSpec() {
  VersionSpec spec;
  auto [ms, ls] = zevtest::FileTimeOf(1079100000);  // 2004-03-12 14:00:00 UTC
  spec.dateMS = ms;
  spec.dateLS = ls;
  spec.strings = kSuiteStrings;
  return spec;
}

void WriteFile(const std::string& path, const ByteVec& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}

std::string ProjectVersion() {
  std::ifstream in(std::string(ZEV_SOURCE_DIR) + "/CMakeLists.txt");
  std::stringstream text;
  text << in.rdbuf();
  std::smatch m;
  std::string s = text.str();
  if (!std::regex_search(s, m, std::regex(R"(project\(ZevUtil VERSION (\d+)\.(\d+)\.(\d+))"))) return "";
  return m[1].str() + "." + m[2].str() + "." + m[3].str();
}

}  // namespace

TEST(CZevVersionID, DefaultsAndVersionTexts) {
  CZevVersionID v;
  EXPECT_STREQ(v.ObName, "Software Version Alpha 0");
  EXPECT_EQ(v.ObToken, 5006);
  EXPECT_EQ(v.ObType, 5006);
  EXPECT_STREQ(v.ProductName, "Default");
  EXPECT_STREQ(v.SpecialBuild, "");
  EXPECT_EQ(v.FileTime, CTime(0));

  struct Case {
    DWORD ms, ls;
    const char* special;
    const char *shortForm, *longForm, *id;
  };
  const Case cases[] = {
      {0x00050001, 3, "beta 2", "5.1", "5.1.3 beta 2", "Default Version 5.1.3 beta 2"},
      {0x00050001, 3, "", "5.1", "5.1.3 ", "Default Version 5.1.3 "},  // no special build: a trailing blank
      {0xFFFFFFFF, 0xFFFFFFFF, "x", "65535.65535", "65535.65535.4294967295 x", "Default Version 65535.65535.4294967295 x"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.longForm);
    v.VersionMS = c.ms;
    v.VersionLS = c.ls;
    std::strcpy(v.SpecialBuild, c.special);
    CString text;
    EXPECT_EQ(v.GetVersionString(text, 1), int(std::strlen(c.shortForm)));
    EXPECT_STREQ(text, c.shortForm);
    EXPECT_EQ(v.GetVersionString(text, 0), int(std::strlen(c.longForm)));
    EXPECT_STREQ(text, c.longForm);
    EXPECT_EQ(v.GetIDString(text), int(std::strlen(c.id)));
    EXPECT_STREQ(text, c.id);
  }
  // Defaults keep the version numbers.
  v.SetObName("x");
  std::strcpy(v.ProductName, "P");
  v.SetDefaultID(nullptr);
  EXPECT_STREQ(v.ObName, "Software Version Alpha 0");
  EXPECT_STREQ(v.ProductName, "Default");
  EXPECT_EQ(v.VersionMS, 0xFFFFFFFFu);
  CZevVersionID numbered(7, nullptr);
  EXPECT_EQ(numbered.ObType, 7);
  EXPECT_EQ(numbered.ObToken, 7);
  EXPECT_STREQ(numbered.ObName, "Software Version Alpha 0");
  CString token;
  numbered.GetToken(token);
  EXPECT_STREQ(token, "7 Software Version Alpha 0");
  EXPECT_EQ(numbered.FromToken("7 Other"), 1);
  EXPECT_STREQ(numbered.ObName, "Other");
}

TEST(CZevVersionID, EqualityByTypeAndNameAndTheLessOrEqualQuirk) {
  CZevVersionID a, b;
  b.VersionMS = 9;  // not compared
  EXPECT_TRUE(a == b);
  b.SetObName("other");
  EXPECT_TRUE(a != b);
  CZevVersionID c(a);
  EXPECT_FALSE(a <= c);  // kept: <= answers as <
  EXPECT_TRUE(a >= c);
  const CObSeqID& base = a;
  CZevVersionID d(a);
  d.ObToken = 1;
  std::strcpy(d.DatabaseName, "db");
  EXPECT_TRUE(a == d);      // the shadowing operator: type and name only
  EXPECT_FALSE(base == d);  // through the base: every field

  CSystemID s1, s2;
  EXPECT_TRUE(s1 == s2);
  s2.SystemVersion.SetObName("SeqSuite Version 5.1.3 ");
  EXPECT_TRUE(s1 != s2);  // same names, other versions
  EXPECT_FALSE(s1 <= s1);

  CInstrumentID i1, i2(8123, "Default");
  EXPECT_TRUE(i1 != i2);
  i2.ObType = 8000;
  EXPECT_TRUE(i1 == i2);
  EXPECT_FALSE(i1 <= i2);
}

TEST(CZevVersionID, InstrumentAndSystemDefaults) {
  CInstrumentID instrument;
  EXPECT_EQ(instrument.ObType, 8000);
  EXPECT_EQ(instrument.ObToken, 8000);
  EXPECT_STREQ(instrument.ObName, "Default");
  EXPECT_STREQ(instrument.InstrumentSerial, "N/A");
  EXPECT_STREQ(instrument.InstrumentFirmware, "N/A");
  EXPECT_STREQ(instrument.InstrumentInfo, "N/A");
  EXPECT_NEAR(double(instrument.InstrumentTime), double(CTime::GetCurrentTime().GetTime()), 5.0);
  CInstrumentID numbered(8123, "Unit");
  EXPECT_EQ(numbered.ObType, 8123);
  EXPECT_EQ(numbered.ObToken, 8123);
  numbered.SetDefaultID(nullptr);
  EXPECT_EQ(numbered.ObType, 8000);
  EXPECT_STREQ(numbered.ObName, "Default");

  CSystemID system;
  EXPECT_EQ(system.ObType, 8000);  // the number of an instrument, as it always was
  EXPECT_EQ(system.ObToken, 5002);
  EXPECT_STREQ(system.SystemVendor, "Halvorn");
  EXPECT_STREQ(system.SystemCompany, "Halvorn Ostrava, Inc.");
  EXPECT_STREQ(system.SystemOption, "None");
  EXPECT_STREQ(system.SystemVersion.ObName, "Software Version Alpha 0");
  CString text;
  system.GetIDString(text);
  EXPECT_STREQ(text, "Default");
  int stops[10] = {5};
  EXPECT_EQ(system.AreTabStopsInIDString(), 0);
  EXPECT_EQ(system.GetIDStringTabStops(stops), 0);
  EXPECT_EQ(stops[0], 0);
}

TEST(CZevVersionID, FirmwareVersionNumber) {
  struct Case {
    const char* firmware;
    const char* number;
    int simulated;
  };
  const Case cases[] = {
      {"X 2.13b", "2.13", 0},
      {"N/A", "", 0},
      {"Simulated 1.0", "1.0", 1},
      {"SIMULATE", "", 1},
      {"FW 12 then 3.4", "3.4", 0},  // a stretch without a dotted digit is passed over
      {"1.2.3 build", "1.2.3", 0},
      {"1.0", "1.0", 0},
      {"v12", "", 0},
      {"ab1.", "", 0},
      {"2.", "", 0},
      {"", "", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.firmware);
    CInstrumentID id;
    std::strcpy(id.InstrumentFirmware, c.firmware);
    CString out("stale");
    int simulated = 0;
    id.GetFirmwareVersionNumber(out, &simulated);
    EXPECT_STREQ(out, c.number);
    EXPECT_EQ(simulated, c.simulated);
    id.GetFirmwareVersionNumber(out, nullptr);
    EXPECT_STREQ(out, c.number);
  }
  CInstrumentID id;
  int simulated = 7;  // never set to 0 here
  CString out;
  id.GetFirmwareVersionNumber(out, &simulated);
  EXPECT_EQ(simulated, 7);
}

TEST(CZevVersionIDFile, ReadsPeVersionResources) {
  zevtest::ScopedTimeZone tz("UTC");
  zevtest::ScratchDir dir;
  auto with = [](std::function<void(VersionSpec&)> change) {
    VersionSpec spec = SuiteSpec();
    change(spec);
    return zevtest::VersionBlock(spec);
  };
  auto without = [](const std::string& key) {
    return [key](VersionSpec& s) {
      std::erase_if(s.strings, [&](const auto& kv) { return kv.first == key; });
    };
  };
  auto setCopyright = [](const std::string& text) {
    return [text](VersionSpec& s) {
      for (auto& kv : s.strings)
        if (kv.first == "LegalCopyright") kv.second = text;
    };
  };
  struct Case {
    const char* what;
    ByteVec image;
    BOOL result;
    const char* name;
    int year;
  };
  const ByteVec full = zevtest::VersionBlock(SuiteSpec());
  const Case cases[] = {
      {"PE32", zevtest::PeImage(full, false), 1, "SeqSuite Version 5.1.3 beta 2", 2004},
      {"PE32+", zevtest::PeImage(full, true), 1, "SeqSuite Version 5.1.3 beta 2", 2004},
      {"no special build", zevtest::PeImage(with(without("SpecialBuild")), false), 1, "SeqSuite Version 5.1.3 ", 2004},
      {"no product name", zevtest::PeImage(with(without("ProductName")), false), 0, " Version 5.1.3 beta 2", 2004},
      {"no copyright", zevtest::PeImage(with(without("LegalCopyright")), false), 0, "SeqSuite Version 5.1.3 beta 2",
       -1},
      {"spaced range", zevtest::PeImage(with(setCopyright("(C) 1998 - 2005 Halvorn")), false), 1,
       "SeqSuite Version 5.1.3 beta 2", 2005},
      {"year at the end", zevtest::PeImage(with(setCopyright("Copyright 2003-2005")), false), 1,
       "SeqSuite Version 5.1.3 beta 2", -1},
      {"no range", zevtest::PeImage(with(setCopyright("Copyright 2005 Halvorn")), false), 1,
       "SeqSuite Version 5.1.3 beta 2", -1},
      {"keys in other case",
       zevtest::PeImage(with([](VersionSpec& s) {
                          for (auto& kv : s.strings)
                            if (kv.first == "ProductName") kv.first = "PRODUCTNAME";
                        }),
                        false),
       1, "SeqSuite Version 5.1.3 beta 2", 2004},
      {"another string table", zevtest::PeImage(with([](VersionSpec& s) { s.table = "040904E4"; }), false), 0,
       " Version 5.1.3 ", -1},
      {"no fixed information", zevtest::PeImage(with([](VersionSpec& s) { s.signature = 0; }), false), 0,
       "SeqSuite Version 0.0.0 beta 2", 2004},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::string path = dir / "suite.exe";
    WriteFile(path, c.image);
    CZevVersionID v;
    int year = -1;
    EXPECT_EQ(v.ReadFileVersion(path.data(), &year), c.result);
    EXPECT_STREQ(v.ObName, c.name);
    EXPECT_EQ(year, c.year);
    if (std::string(c.what).rfind("no fixed", 0) != 0) {
      EXPECT_EQ(v.VersionMS, 0x00050001u);
      EXPECT_EQ(v.VersionLS, 3u);
      EXPECT_EQ(v.FileTime.FormatGmt("%Y-%m-%d %H:%M:%S"), CString("2004-03-12 14:00:00"));
    }
  }
  // Without a year to find, the copyright is not required.
  WriteFile(dir / "suite.exe", zevtest::PeImage(with(without("LegalCopyright")), false));
  std::string path = dir / "suite.exe";
  CZevVersionID v;
  EXPECT_EQ(v.ReadFileVersion(path.data(), nullptr), 1);
}

TEST(CZevVersionIDFile, FilesWithoutVersionLeaveTheIdentifierAlone) {
  zevtest::ScratchDir dir;
  struct Case {
    const char* what;
    ByteVec bytes;
  };
  ByteVec text(200, 'x');
  const Case cases[] = {
      {"empty file", {}},
      {"text file", text},
      {"PE without resources", zevtest::PeImage({}, false, false)},
      {"PE with an empty resource directory", zevtest::PeImage({}, false, true)},
      {"ELF without our note", zevtest::ElfImage(SuiteSpec(), true, false, 1, "GNU")},
      {"ELF with a note of another type", zevtest::ElfImage(SuiteSpec(), true, false, 2)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::string path = dir / "file.bin";
    WriteFile(path, c.bytes);
    CZevVersionID v;
    v.SetObName("unchanged");
    int year = -1;
    EXPECT_EQ(v.ReadFileVersion(path.data(), &year), 0);
    EXPECT_STREQ(v.ObName, "unchanged");
    EXPECT_EQ(year, -1);
  }
  CZevVersionID v;
  std::string missing = dir / "missing.dll";
  EXPECT_EQ(v.ReadFileVersion(missing.data(), nullptr), 0);
  EXPECT_EQ(v.ReadFileVersion(nullptr, nullptr), 0);
  EXPECT_STREQ(v.ObName, "Software Version Alpha 0");
}

TEST(CZevVersionIDFile, ReadsOurElfNote) {
  zevtest::ScopedTimeZone tz("UTC");
  zevtest::ScratchDir dir;
  struct Case {
    const char* what;
    bool wide, big;
  };
  const Case cases[] = {{"64-bit little-endian section", true, false}, {"32-bit big-endian segment", false, true}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::string path = dir / "lib.so";
    WriteFile(path, zevtest::ElfImage(SuiteSpec(), c.wide, c.big));
    CZevVersionID v;
    int year = 0;
    EXPECT_EQ(v.ReadFileVersion(path.data(), &year), 1);
    EXPECT_STREQ(v.ObName, "SeqSuite Version 5.1.3 beta 2");
    EXPECT_EQ(year, 2004);
    EXPECT_EQ(v.FileTime.FormatGmt("%Y-%m-%d"), CString("2004-03-12"));
  }

  // Our own library and program carry our name and version.
  const std::string version = ProjectVersion();
  ASSERT_FALSE(version.empty());
  for (std::string file : {std::string(ZEV_BINARY_DIR) + "/libzevutil.so",
                           std::string(ZEV_BINARY_DIR) + "/tools/zevutil/zevutil"}) {
    SCOPED_TRACE(file);
    if (!std::ifstream(file)) GTEST_SKIP() << "not built: " << file;
    CZevVersionID v;
    int year = 0;
    EXPECT_EQ(v.ReadFileVersion(file.data(), &year), 1);
    EXPECT_STREQ(v.ProductName, "ZevUtil");
    CString text;
    v.GetVersionString(text, 0);
    EXPECT_EQ(text.str().substr(0, version.size() + 1), version + " ");
    EXPECT_GE(year, 2026);
    EXPECT_GT(v.FileTime.GetTime(), 1700000000);
  }
}

TEST(CZevVersionIDFile, VersionBlocksFromBothSourcesAnswerAlike) {
  // The library's own writer and the test's writer give blocks that read the same.
  VersionSpec spec = SuiteSpec();
  identity::FixedFileInfo fixed;
  fixed.dwProductVersionMS = spec.productMS;
  fixed.dwProductVersionLS = spec.productLS;
  fixed.dwFileDateMS = spec.dateMS;
  fixed.dwFileDateLS = spec.dateLS;
  std::vector<BYTE> ours = identity::BuildVersionBlock(fixed, spec.strings);
  std::vector<BYTE> theirs = zevtest::VersionBlock(spec);
  for (const std::vector<BYTE>* block : {&ours, &theirs}) {
    identity::FixedFileInfo info;
    ASSERT_TRUE(identity::QueryFixedFileInfo(*block, info));
    EXPECT_EQ(info.dwProductVersionMS, spec.productMS);
    EXPECT_EQ(info.dwFileDateLS, spec.dateLS);
    for (const auto& [key, value] : spec.strings) {
      std::string got;
      ASSERT_TRUE(identity::QueryVersionString(*block, ("\\StringFileInfo\\040904B0\\" + key).c_str(), got)) << key;
      EXPECT_EQ(got, value);
    }
    std::string got;
    EXPECT_FALSE(identity::QueryVersionString(*block, "\\StringFileInfo\\040904B0\\Missing", got));
    EXPECT_TRUE(identity::QueryVersionString(*block, "\\VarFileInfo\\Translation", got));
  }
  // Code page 1252 text survives the trip through UTF-16.
  std::vector<BYTE> block = identity::BuildVersionBlock(fixed, {{"LegalCopyright", "\xA9 2004 \x80 Ostrava"}});
  std::string got;
  ASSERT_TRUE(identity::QueryVersionString(block, "\\StringFileInfo\\040904B0\\LegalCopyright", got));
  EXPECT_EQ(got, "\xA9 2004 \x80 Ostrava");
}

TEST(CZevVersionIDFile, HostileImagesGiveNoVersion) {
  // Every prefix of a good image, and images with bytes changed, are read safely. A
  // prefix keeps the version only when it holds the whole block (a PE's section
  // padding may go); an ELF image needs the note and the fields of its section
  // header that say where the note is (the last 24 bytes of the entry may go).
  const ByteVec block0 = zevtest::VersionBlock(SuiteSpec());
  const std::size_t peDataEnd = 0x200 + 0x58 + block0.size();
  struct Case {
    const char* what;
    ByteVec image;
    std::size_t shortestGood;
  };
  const Case cases[] = {
      {"PE32", zevtest::PeImage(block0, false), peDataEnd},
      {"PE32+", zevtest::PeImage(block0, true), peDataEnd},
      {"ELF64", zevtest::ElfImage(SuiteSpec(), true, false), zevtest::ElfImage(SuiteSpec(), true, false).size() - 24},
      {"ELF32", zevtest::ElfImage(SuiteSpec(), false, true), 0},
  };
  std::uint32_t seed = 12345;
  auto next = [&] { return seed = seed * 1103515245u + 12345u; };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const ByteVec& image = c.image;
    const std::size_t shortest = c.shortestGood ? c.shortestGood : image.size();
    std::vector<BYTE> block;
    ASSERT_TRUE(identity::ExtractVersionBlock(image.data(), image.size(), block));
    for (std::size_t n = 0; n < image.size(); ++n) {
      ByteVec prefix(image.begin(), image.begin() + long(n));
      ASSERT_EQ(identity::ExtractVersionBlock(prefix.data(), prefix.size(), block), n >= shortest) << n;
    }
    for (int round = 0; round < 2000; ++round) {
      ByteVec changed = image;
      for (int k = 0; k < 4; ++k) changed[next() % changed.size()] = BYTE(next() >> 16);
      if (identity::ExtractVersionBlock(changed.data(), changed.size(), block)) {
        identity::FixedFileInfo info;
        std::string text;
        identity::QueryFixedFileInfo(block, info);
        identity::QueryVersionString(block, "\\StringFileInfo\\040904B0\\ProductName", text);
      }
    }
  }
  // Blocks with lengths that lie.
  std::vector<BYTE> block = block0;
  for (std::size_t at : {std::size_t(0), std::size_t(2), std::size_t(92), std::size_t(96)}) {
    for (unsigned v : {0u, 5u, 6u, 0xFFFFu}) {
      std::vector<BYTE> bad = block;
      zevtest::Set16(bad, at, v);
      std::string text;
      identity::FixedFileInfo info;
      identity::QueryFixedFileInfo(bad, info);
      identity::QueryVersionString(bad, "\\StringFileInfo\\040904B0\\ProductName", text);
    }
  }
}

TEST(CZevVersionIDFile, PeerReadsOurPeFixtures) {
  // pefile (Debian's python3-pefile) reads the version resources of our fixtures.
  if (std::system("/usr/bin/python3 -c 'import pefile' >/dev/null 2>&1") != 0)
    GTEST_SKIP() << "python3-pefile is not installed";
  zevtest::ScratchDir dir;
  for (bool plus : {false, true}) {
    SCOPED_TRACE(plus ? "PE32+" : "PE32");
    std::string path = dir / "peer.exe";
    WriteFile(path, zevtest::PeImage(zevtest::VersionBlock(SuiteSpec()), plus));
    std::string script = dir / "peer.py";
    std::ofstream(script) << "import pefile, sys\n"
                             "pe = pefile.PE(sys.argv[1])\n"
                             "ffi = pe.VS_FIXEDFILEINFO[0]\n"
                             "print('%08x %08x %08x' % (ffi.ProductVersionMS, ffi.ProductVersionLS, ffi.FileDateLS))\n"
                             "for fi in pe.FileInfo[0]:\n"
                             "  for st in getattr(fi, 'StringTable', []):\n"
                             "    print(st.LangID.decode())\n"
                             "    for k, v in sorted(st.entries.items()):\n"
                             "      print(k.decode() + '=' + v.decode())\n";
    FILE* p = popen(("/usr/bin/python3 " + script + " " + path).c_str(), "r");
    ASSERT_NE(p, nullptr);
    std::string out;
    char buf[256];
    while (std::fgets(buf, sizeof buf, p)) out += buf;
    ASSERT_EQ(pclose(p), 0) << out;
    char fixed[64];
    std::snprintf(fixed, sizeof fixed, "%08x %08x %08x\n", 0x00050001u, 3u, SuiteSpec().dateLS);
    EXPECT_EQ(out,
              std::string(fixed) +
                  "040904B0\n"
                  "CompanyName=Halvorn Ostrava, Inc.\n"
                  "LegalCopyright=Copyright (C) 1998-2004 Halvorn Ostrava, Inc.\n"
                  "ProductName=SeqSuite\n"
                  "SpecialBuild=beta 2\n");
  }
}

TEST(CZevVersionIDRegistry, ReadsTheInstalledSuiteVersion) {
  zevtest::ScratchDir dir;
  const char* suite = "SOFTWARE\\Halvorn Ostrava, Inc.\\ZEV 5500";
  auto setText = [](const std::string& key, const char* name, const char* value) {
    HKEY k = nullptr;
    ASSERT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, key.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &k, nullptr),
              LONG(ERROR_SUCCESS));
    RegSetValueExA(k, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value), DWORD(std::strlen(value) + 1));
    RegCloseKey(k);
  };
  struct Case {
    const char* what;
    const char* install;  // null: no LastInstallVersion
    const char* full;     // null: no FullVersion
    BOOL result;
    DWORD ms, ls;
  };
  const Case cases[] = {
      {"major.minor.build", "5.1", "5.1.3", 1, 0x00050001, 3},
      {"more pieces", "6.0", "6.0.1234.7", 1, 0x00060000, 1234},
      {"major only", "7", "7", 1, 0x00070000, 0},
      {"no full version", "8.0", nullptr, 0, 0xAAAA, 0xBBBB},
      {"no install entry", nullptr, "9.9.9", 0, 0xAAAA, 0xBBBB},
  };
  int n = 0;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::string store = dir / ("machine" + std::to_string(n++) + ".db");
    ASSERT_EQ(RegSetStoreLocation(HKEY_LOCAL_MACHINE, store.c_str()), LONG(ERROR_SUCCESS));
    setText(suite, "Other", "x");
    if (c.install) setText(suite, "LastInstallVersion", c.install);
    if (c.full) setText(std::string(suite) + "\\" + (c.install ? c.install : "9.9"), "FullVersion", c.full);
    CZevVersionID v;
    v.VersionMS = 0xAAAA;
    v.VersionLS = 0xBBBB;
    EXPECT_EQ(v.GetZevMainVersion(), c.result);
    EXPECT_EQ(v.VersionMS, c.ms);
    EXPECT_EQ(v.VersionLS, c.ls);
  }
  std::string empty = dir / "empty.db";
  RegSetStoreLocation(HKEY_LOCAL_MACHINE, empty.c_str());
  CZevVersionID v;
  EXPECT_EQ(v.GetZevMainVersion(), 0);  // no store at all
  RegSetStoreLocation(HKEY_LOCAL_MACHINE, nullptr);
}
