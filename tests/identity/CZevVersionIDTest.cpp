// Version, instrument and system identifiers: version texts, equality, firmware
// numbers, version resources of PE and ELF files (ours included), hostile images,
// and the suite's version in the registry.
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
using zevtest::VersionFields;

namespace {

VersionFields SuiteFields() {
  VersionFields fields;
  std::tie(fields.dateMS, fields.dateLS) = zevtest::FileTimeOf(1079100000);  // 2004-03-12 14:00:00 UTC
  fields.strings = {{"CompanyName", "Halvorn Ostrava, Inc."},
                  {"ProductName", "SeqSuite"},
                  {"SpecialBuild", "beta 2"},
                  {"LegalCopyright", "Copyright (C) 1998-2004 Halvorn Ostrava, Inc."}};
  return fields;
}

std::string WriteFile(const zevtest::ScratchDir& dir, const ByteVec& bytes) {
  std::string path = dir / "image.bin";
  std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
  return path;
}

}  // namespace

TEST(CZevVersionID, VersionTextsEqualityAndDefaults) {
  struct Case {
    DWORD ms, ls;
    const char *special, *shortForm, *id;
  };
  const Case cases[] = {
      {0x00050001, 3, "beta 2", "5.1", "Default Version 5.1.3 beta 2"},
      {0x00050001, 3, "", "5.1", "Default Version 5.1.3 "},  // no special build: a trailing blank
      {0xFFFFFFFF, 0xFFFFFFFF, "x", "65535.65535", "Default Version 65535.65535.4294967295 x"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.id);
    CZevVersionID v;
    v.VersionMS = c.ms;
    v.VersionLS = c.ls;
    std::strcpy(v.SpecialBuild, c.special);
    CString text;
    EXPECT_EQ(v.GetVersionString(text, 1), int(std::strlen(c.shortForm)));
    EXPECT_STREQ(text, c.shortForm);
    EXPECT_EQ(v.GetIDString(text), int(std::strlen(c.id)));
    EXPECT_STREQ(text, c.id);
    v.SetDefaultID(nullptr);  // the defaults keep the numbers
    EXPECT_EQ(v.VersionMS, c.ms);
    EXPECT_STREQ(v.ObName, "Software Version Alpha 0");
  }
  CZevVersionID a, d;
  d.ObToken = 1;
  std::strcpy(d.DatabaseName, "db");
  EXPECT_TRUE(a == d);                                // the shadowing operator: type and name
  EXPECT_FALSE(static_cast<const CObSeqID&>(a) == d);  // through the base: every field
  EXPECT_FALSE(a <= d);                               // kept: <= answers as <
  EXPECT_TRUE(a >= d);

  CSystemID s1, s2;
  EXPECT_EQ(s1.ObType, 8000);  // kept: a system carries the instrument number
  EXPECT_STREQ(s1.SystemCompany, "Halvorn Ostrava, Inc.");
  EXPECT_TRUE(s1 == s2);
  s2.SystemVersion.SetObName("SeqSuite Version 5.1.3 ");
  EXPECT_TRUE(s1 != s2);  // same names, other versions
  CInstrumentID i1, i2(8123, "Default");
  EXPECT_TRUE(i1 != i2);
  EXPECT_STREQ(i2.InstrumentFirmware, "N/A");
  EXPECT_NEAR(double(i2.InstrumentTime), double(CTime::GetCurrentTime().GetTime()), 5.0);
}

TEST(CZevVersionID, FirmwareVersionNumber) {
  const std::tuple<const char*, const char*, int> cases[] = {
      {"X 2.13b", "2.13", 0}, {"N/A", "", 0},      {"Simulated 1.0", "1.0", 1}, {"SIMULATE", "", 1},
      {"FW 12 then 3.4", "3.4", 0},  // a stretch without a dotted digit is passed over
      {"1.2.3 build", "1.2.3", 0}, {"v12", "", 0}, {"ab1.", "", 0},             {"", "", 0},
  };
  for (const auto& [firmware, number, simulatedFlag] : cases) {
    SCOPED_TRACE(firmware);
    CInstrumentID id;
    std::strcpy(id.InstrumentFirmware, firmware);
    CString out("stale");
    int simulated = 0;
    id.GetFirmwareVersionNumber(out, &simulated);
    EXPECT_STREQ(out, number);
    EXPECT_EQ(simulated, simulatedFlag);
  }
}

TEST(CZevVersionIDFile, ReadsPeVersionResources) {
  zevtest::ScopedTimeZone tz("UTC");
  zevtest::ScratchDir dir;
  auto with = [](std::function<void(VersionFields&)> change, bool plus = false) {
    VersionFields fields = SuiteFields();
    change(fields);
    return zevtest::PeImage(zevtest::VersionBlock(fields), plus);
  };
  auto setString = [](const std::string& key, const char* text) {
    return [=](VersionFields& s) {
      std::erase_if(s.strings, [&](const auto& kv) { return kv.first == key; });
      if (text) s.strings.emplace_back(key, text);
    };
  };
  struct Case {
    const char* what;
    ByteVec image;
    BOOL result;
    const char* name;
    int year;
  };
  const Case cases[] = {
      {"PE32", with([](VersionFields&) {}), 1, "SeqSuite Version 5.1.3 beta 2", 2004},
      {"PE32+", with([](VersionFields&) {}, true), 1, "SeqSuite Version 5.1.3 beta 2", 2004},
      {"no special build", with(setString("SpecialBuild", nullptr)), 1, "SeqSuite Version 5.1.3 ", 2004},
      {"no product name", with(setString("ProductName", nullptr)), 0, " Version 5.1.3 beta 2", 2004},
      {"no copyright", with(setString("LegalCopyright", nullptr)), 0, "SeqSuite Version 5.1.3 beta 2", -1},
      {"spaced range", with(setString("LegalCopyright", "(C) 1998 - 2005 Halvorn")), 1,
       "SeqSuite Version 5.1.3 beta 2", 2005},
      {"year at the end", with(setString("LegalCopyright", "Copyright 2003-2005")), 1,
       "SeqSuite Version 5.1.3 beta 2", -1},
      {"keys in other case",
       with([&](VersionFields& s) { setString("ProductName", nullptr)(s), setString("PRODUCTNAME", "SeqSuite")(s); }), 1,
       "SeqSuite Version 5.1.3 beta 2", 2004},
      {"another string table", with([](VersionFields& s) { s.table = "040904E4"; }), 0, " Version 5.1.3 ", -1},
      {"no fixed information", with([](VersionFields& s) { s.signature = 0; }), 0, "SeqSuite Version 0.0.0 beta 2",
       2004},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::string path = WriteFile(dir, c.image);
    CZevVersionID v;
    int year = -1;
    EXPECT_EQ(v.ReadFileVersion(path.data(), &year), c.result);
    EXPECT_STREQ(v.ObName, c.name);
    EXPECT_EQ(year, c.year);
    if (v.VersionMS) {
      EXPECT_STREQ(v.FileTime.FormatGmt("%Y-%m-%d %H:%M:%S"), "2004-03-12 14:00:00");
    }
  }
  std::string path = WriteFile(dir, with(setString("LegalCopyright", nullptr)));
  CZevVersionID v;
  EXPECT_EQ(v.ReadFileVersion(path.data(), nullptr), 1);  // without a year to find, no copyright needed
}

TEST(CZevVersionIDFile, FilesWithoutVersionLeaveTheIdentifierAlone) {
  zevtest::ScratchDir dir;
  const ByteVec images[] = {{},
                            ByteVec(200, 'x'),
                            zevtest::PeImage({}, false, false),
                            zevtest::PeImage({}, false, true),
                            zevtest::ElfImage(SuiteFields(), true, false, 1, "GNU"),
                            zevtest::ElfImage(SuiteFields(), true, false, 2)};
  for (const ByteVec& image : images) {
    SCOPED_TRACE(image.size());
    std::string path = WriteFile(dir, image);
    CZevVersionID v;
    v.SetObName("unchanged");
    EXPECT_EQ(v.ReadFileVersion(path.data(), nullptr), 0);
    EXPECT_STREQ(v.ObName, "unchanged");
  }
  std::string missing = dir / "missing.dll";
  CZevVersionID v;
  EXPECT_EQ(v.ReadFileVersion(missing.data(), nullptr), 0);
  EXPECT_EQ(v.ReadFileVersion(nullptr, nullptr), 0);
}

TEST(CZevVersionIDFile, ReadsElfNotesOursIncluded) {
  zevtest::ScopedTimeZone tz("UTC");
  zevtest::ScratchDir dir;
  VersionFields latin = SuiteFields();
  latin.strings[3].second = "\xA9 1998-2004 Halvorn";  // code page 1252 survives the trip through UTF-16
  for (bool wide : {true, false}) {
    SCOPED_TRACE(wide ? "64-bit little-endian section" : "32-bit big-endian segment");
    std::string path = WriteFile(dir, zevtest::ElfImage(latin, wide, !wide));
    CZevVersionID v;
    int year = 0;
    EXPECT_EQ(v.ReadFileVersion(path.data(), &year), 1);
    EXPECT_STREQ(v.ObName, "SeqSuite Version 5.1.3 beta 2");
    EXPECT_EQ(year, 2004);
    EXPECT_STREQ(v.FileTime.FormatGmt("%Y-%m-%d"), "2004-03-12");
  }
  // Our own library and program carry our product name and version.
  std::ifstream cmake(std::string(ZEV_SOURCE_DIR) + "/CMakeLists.txt");
  std::stringstream text;
  text << cmake.rdbuf();
  std::smatch m;
  std::string source = text.str();
  ASSERT_TRUE(std::regex_search(source, m, std::regex(R"(project\(ZevUtil VERSION (\d+\.\d+\.\d+))")));
  for (std::string file : {std::string(ZEV_BINARY_DIR) + "/libzevutil.so", std::string(ZEV_BINARY_DIR) + "/tools/zevutil/zevutil"}) {
    SCOPED_TRACE(file);
    if (!std::ifstream(file)) continue;  // not built in this configuration
    CZevVersionID v;
    int year = 0;
    EXPECT_EQ(v.ReadFileVersion(file.data(), &year), 1);
    EXPECT_STREQ(v.ProductName, "ZevUtil");
    CString version;
    v.GetVersionString(version, 0);
    EXPECT_EQ(version.str().substr(0, m[1].length() + 1), m[1].str() + " ");
    EXPECT_GE(year, 2026);
  }
}

TEST(CZevVersionIDFile, HostileImagesGiveNoVersion) {
  // A prefix keeps the version only when it holds the whole block (a PE's section
  // padding may go), or for ELF the note and the part of its section header that
  // says where the note is (the last 24 bytes may go). Changed bytes read safely.
  const ByteVec block = zevtest::VersionBlock(SuiteFields());
  const ByteVec elf64 = zevtest::ElfImage(SuiteFields(), true, false), elf32 = zevtest::ElfImage(SuiteFields(), false, true);
  const std::pair<ByteVec, std::size_t> cases[] = {{zevtest::PeImage(block, false), 0x258 + block.size()},
                                                   {zevtest::PeImage(block, true), 0x258 + block.size()},
                                                   {elf64, elf64.size() - 24},
                                                   {elf32, elf32.size()}};
  std::uint32_t seed = 12345;
  auto next = [&] { return seed = seed * 1103515245u + 12345u; };
  for (const auto& [image, shortest] : cases) {
    SCOPED_TRACE(image.size());
    std::vector<BYTE> found;
    for (std::size_t n = 0; n <= image.size(); ++n)
      ASSERT_EQ(identity::ExtractVersionBlock(image.data(), n, found), n >= shortest) << n;
    for (int round = 0; round < 2000; ++round) {
      ByteVec changed = image;
      for (int k = 0; k < 4; ++k) changed[next() % changed.size()] = BYTE(next() >> 16);
      std::string text;
      if (identity::ExtractVersionBlock(changed.data(), changed.size(), found))
        identity::QueryVersionString(found, "\\StringFileInfo\\040904B0\\ProductName", text);
    }
  }
  for (std::size_t at : {0, 2, 92, 96}) {  // node lengths that lie
    for (unsigned v : {0u, 5u, 6u, 0xFFFFu}) {
      std::vector<BYTE> bad = block;
      zevtest::Set(bad, at, v, 2);
      std::string text;
      identity::QueryVersionString(bad, "\\StringFileInfo\\040904B0\\ProductName", text);
    }
  }
}

TEST(CZevVersionIDFile, PeerReadsOurPeFixtures) {
  // Debian's python3-pefile reads the version resources of our fixtures as we do.
  if (std::system("/usr/bin/python3 -c 'import pefile' >/dev/null 2>&1") != 0)
    GTEST_SKIP() << "python3-pefile is not installed";
  zevtest::ScratchDir dir;
  std::string script = dir / "peer.py";
  std::ofstream(script) << "import pefile, sys\n"
                           "pe = pefile.PE(sys.argv[1])\n"
                           "f = pe.VS_FIXEDFILEINFO[0]\n"
                           "print('%08x %08x %08x' % (f.ProductVersionMS, f.ProductVersionLS, f.FileDateLS))\n"
                           "for fi in pe.FileInfo[0]:\n"
                           "  for st in getattr(fi, 'StringTable', []):\n"
                           "    print(st.LangID.decode())\n"
                           "    for k, v in sorted(st.entries.items()): print(k.decode() + '=' + v.decode())\n";
  char fixed[64];
  std::snprintf(fixed, sizeof fixed, "00050001 00000003 %08x\n", SuiteFields().dateLS);
  for (bool plus : {false, true}) {
    SCOPED_TRACE(plus ? "PE32+" : "PE32");
    std::string path = WriteFile(dir, zevtest::PeImage(zevtest::VersionBlock(SuiteFields()), plus));
    FILE* p = popen(("/usr/bin/python3 " + script + " " + path).c_str(), "r");
    ASSERT_NE(p, nullptr);
    std::string out;
    char buf[256];
    while (std::fgets(buf, sizeof buf, p)) out += buf;
    ASSERT_EQ(pclose(p), 0) << out;
    EXPECT_EQ(out, std::string(fixed) +
                       "040904B0\nCompanyName=Halvorn Ostrava, Inc.\n"
                       "LegalCopyright=Copyright (C) 1998-2004 Halvorn Ostrava, Inc.\n"
                       "ProductName=SeqSuite\nSpecialBuild=beta 2\n");
  }
}

TEST(CZevVersionIDRegistry, ReadsTheInstalledSuiteVersion) {
  zevtest::ScratchDir dir;
  const std::string suite = "SOFTWARE\\Halvorn Ostrava, Inc.\\ZEV 5500";
  auto setText = [](const std::string& key, const char* name, const char* value) {
    HKEY k = nullptr;
    ASSERT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, key.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &k, nullptr),
              LONG(ERROR_SUCCESS));
    RegSetValueExA(k, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value), DWORD(std::strlen(value) + 1));
    RegCloseKey(k);
  };
  struct Case {
    const char* install;  // null: no LastInstallVersion
    const char* full;     // null: no FullVersion
    BOOL result;
    DWORD ms, ls;
  };
  const Case cases[] = {
      {"5.1", "5.1.3", 1, 0x00050001, 3},
      {"6.0", "6.0.1234.7", 1, 0x00060000, 1234},
      {"7", "7", 1, 0x00070000, 0},
      {"8.0", nullptr, 0, 0xAAAA, 0xBBBB},
      {nullptr, "9.9.9", 0, 0xAAAA, 0xBBBB},
  };
  int n = 0;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.full ? c.full : "(none)");
    std::string store = dir / ("machine" + std::to_string(n++) + ".db");
    ASSERT_EQ(RegSetStoreLocation(HKEY_LOCAL_MACHINE, store.c_str()), LONG(ERROR_SUCCESS));
    setText(suite, "Other", "x");
    if (c.install) setText(suite, "LastInstallVersion", c.install);
    if (c.full) setText(suite + "\\" + (c.install ? c.install : "9.9"), "FullVersion", c.full);
    CZevVersionID v;
    v.VersionMS = 0xAAAA;
    v.VersionLS = 0xBBBB;
    EXPECT_EQ(v.GetZevMainVersion(), c.result);
    EXPECT_EQ(v.VersionMS, c.ms);
    EXPECT_EQ(v.VersionLS, c.ls);
  }
  RegSetStoreLocation(HKEY_LOCAL_MACHINE, nullptr);
}
