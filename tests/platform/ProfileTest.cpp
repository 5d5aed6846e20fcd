// INI profiles: reading rules, buffer results, integer parsing, text-preserving
// writes, the application profile, concurrent writers and killed writers.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "platform/HostTestSupport.h"
#include "zevutil/platform/Host.h"
#include "zevutil/platform/Profile.h"
#include "zevutil/platform/Registry.h"

using namespace zev;
using zevtest::TempDir;

namespace {

class Profile : public ::testing::Test {
 protected:
  std::string File(const std::string& bytes, const char* name = "t.ini") {
    std::string p = dir / name;
    zevtest::WriteBytes(p, bytes);
    return p;
  }
  static std::string Get(const std::string& file, const char* sec, const char* key, const char* def = "DEF",
                         DWORD size = 256, DWORD* ret = nullptr) {
    std::vector<char> buf(size + 1, '#');
    DWORD n = GetPrivateProfileStringA(sec, key, def, buf.data(), size, file.c_str());
    if (ret) *ret = n;
    return std::string(buf.data(), n);
  }
  TempDir dir;
};

TEST_F(Profile, ReadsByTheOldPlatformsRules) {
  std::string f = File(
      "; comment\r\n"
      "orphan=before any section\r\n"
      "[S]\r\n"
      "Name= \" v \" \r\n"
      "k=v ;c\n"
      "semi=;x\n"
      ";hidden=1\n"
      "#hash=2\n"
      "  Spaced Key \t=\t value  \r"
      "empty=\n"
      "dup=first\n"
      "dup=second\n"
      "single='a'\n"
      "mixed=\"a'\n"
      "lone=\"\n"
      "nested='\"a\"'\n"
      "noequals\n"
      "[S]\n"
      "later=invisible\n"
      "[ T ] trailing text\n"
      "x=1\n"
      "[]\n"
      "blank=section\n"
      "[unclosed\n"
      "u=2\n"
      "[\xC9T\xC9]\n"
      "\xE9=accent\n");
  struct Case {
    const char* sec;
    const char* key;
    const char* want;
  } cases[] = {
      {"s", "NAME", " v "},       {"S", "k", "v ;c"},          {"S", "semi", ";x"},
      {"S", ";hidden", "DEF"},    {"S", "#hash", "2"},         {"S", "Spaced Key", "value"},
      {"S", "empty", ""},         {"S", "dup", "first"},       {"S", "single", "a"},
      {"S", "mixed", "\"a'"},     {"S", "lone", "\""},         {"S", "nested", "\"a\""},
      {"S", "noequals", "DEF"},   {"S", "later", "DEF"},       {"S", "orphan", "DEF"},
      {"T", "x", "1"},            {"", "blank", "section"},    {"unclosed", "u", "2"},
      {" S ", " k ", "v ;c"},     {"\tS", "k", "DEF"},         {"S", "", "DEF"},
      {"\xE9t\xe9", "\xC9", "accent"}, {"Missing", "k", "DEF"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.sec) + "/" + c.key);
    EXPECT_EQ(Get(f, c.sec, c.key), c.want);
  }
}

TEST_F(Profile, BufferResultsAndDefaults) {
  std::string f = File("[S]\r\nk=val1\r\na=1\r\nbb=2\r\nccc=3\r\n[T]\r\n[U]\r\n");
  // want: the exact bytes written, NULs included.
  struct Case {
    const char* name;
    const char* sec;
    const char* key;
    const char* def;
    DWORD size;
    std::string want;
    DWORD ret;
  } cases[] = {
      {"fits", "S", "k", nullptr, 5, std::string("val1\0", 5), 4},
      {"cut", "S", "k", nullptr, 4, std::string("val\0", 4), 3},
      {"one byte", "S", "k", nullptr, 1, std::string("\0", 1), 0},
      {"default trailing spaces", "S", "none", "d  ", 10, std::string("d\0", 2), 1},
      {"default keeps leading blank and tab", "S", "none", " d\t ", 10, std::string(" d\t\0", 4), 3},
      {"null default", "S", "none", nullptr, 10, std::string("\0", 1), 0},
      {"keys", "S", nullptr, nullptr, 64, std::string("k\0a\0bb\0ccc\0\0", 12), 11},
      {"keys cut", "S", nullptr, nullptr, 8, std::string("k\0a\0bb\0\0", 8), 6},
      {"sections", nullptr, nullptr, nullptr, 64, std::string("S\0T\0U\0\0", 7), 6},
      {"sections cut", nullptr, nullptr, nullptr, 5, std::string("S\0T\0\0", 5), 3},
      {"list below three bytes", nullptr, nullptr, nullptr, 2, std::string("\0\0", 2), 0},
      {"empty section gives the default", "T", nullptr, "dd", 64, std::string("dd\0", 3), 2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::vector<char> buf(c.size + 4, '#');
    DWORD n = GetPrivateProfileStringA(c.sec, c.key, c.def, buf.data(), c.size, f.c_str());
    EXPECT_EQ(n, c.ret);
    EXPECT_EQ(std::string(buf.data(), c.want.size()), c.want);
    EXPECT_EQ(buf[c.size], '#');  // nothing beyond the buffer
  }
  char untouched[4] = {'x', 'y', 'z', 0};
  EXPECT_EQ(GetPrivateProfileStringA("S", "k", "d", untouched, 0, f.c_str()), 0u);
  EXPECT_STREQ(untouched, "xyz");
  SetLastError(0);
  EXPECT_EQ(Get(dir / "absent.ini", "S", "k"), "DEF");
  EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
}

TEST_F(Profile, IntegersParseLikeTheOldPlatform) {
  std::string f = File("[N]\nneg=-1\nhex=0x1A\nupper=0XfF\ntail=42A\nalpha=abc\nwrap=4294967297\nplus=+7\n"
                       "quoted=\"12\"\nspace= 5 \nempty=\nbig=-4294967295\nbadhex=0xZ\n");
  struct Case {
    const char* key;
    UINT want;
  } cases[] = {
      {"neg", 4294967295u}, {"hex", 26},   {"upper", 255}, {"tail", 42}, {"alpha", 0},     {"wrap", 1},
      {"plus", 7},          {"quoted", 12}, {"space", 5}, {"empty", 99}, {"missing", 99}, {"big", 1},
      {"badhex", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.key);
    EXPECT_EQ(GetPrivateProfileIntA("N", c.key, 99, f.c_str()), c.want);
  }
  EXPECT_EQ(int(GetPrivateProfileIntA("N", "missing", -3, f.c_str())), -3);
}

TEST_F(Profile, WritesProduceTheOldPlatformsBytes) {
  std::string f = dir / "new.ini";
  SetLastError(0);
  EXPECT_TRUE(WritePrivateProfileStringA("App", "key", "val", f.c_str()));
  EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);  // created, and reported as not found
  EXPECT_EQ(zevtest::ReadBytes(f), "[App]\r\nkey=val\r\n");

  std::string g = dir / "apps.ini";
  const char* writes[][3] = {{"App1", "key1", "string1"}, {"App1", "key2", "string2"}, {"App1", "key3", "string3"},
                             {"App2", "key4", "string4"}, {"App3", "key5", "string5"}};
  for (auto& w : writes) EXPECT_TRUE(WritePrivateProfileStringA(w[0], w[1], w[2], g.c_str()));
  EXPECT_EQ(zevtest::ReadBytes(g),
            "[App1]\r\nkey1=string1\r\nkey2=string2\r\nkey3=string3\r\n[App2]\r\nkey4=string4\r\n[App3]\r\nkey5=string5\r\n");

  EXPECT_FALSE(WritePrivateProfileStringA("S", "k", "v", (dir / "no/such/dir.ini").c_str()));
  EXPECT_EQ(GetLastError(), ERROR_PATH_NOT_FOUND);
  EXPECT_FALSE(WritePrivateProfileStringA(nullptr, "k", "v", f.c_str()));
  EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
}

TEST_F(Profile, EditsKeepEveryOtherLine) {
  const std::string original =
      "; top comment\n"
      "[Sec]\n"
      "TestKey = a\n"
      "\n"
      "; inside\n"
      "other=1\n"
      "; after the last key\n"
      "[Next]\r\n"
      "z=9";  // no line end at the end of the file
  struct Case {
    const char* name;
    const char* sec;
    const char* key;
    const char* value;
    std::string want;
  } cases[] = {
      {"replace keeps spelling", "sec", "TESTKEY", "b",
       "; top comment\n[Sec]\nTestKey=b\n\n; inside\nother=1\n; after the last key\n[Next]\r\nz=9"},
      {"new key after the last key", "Sec", "added", " spaced ",
       "; top comment\n[Sec]\nTestKey = a\n\n; inside\nother=1\nadded= spaced \r\n; after the last key\n[Next]\r\nz=9"},
      {"new key after an unended line", "Next", "y", "8",
       "; top comment\n[Sec]\nTestKey = a\n\n; inside\nother=1\n; after the last key\n[Next]\r\nz=9\r\ny=8\r\n"},
      {"new section", "Third", "k", "v",
       "; top comment\n[Sec]\nTestKey = a\n\n; inside\nother=1\n; after the last key\n[Next]\r\nz=9\r\n[Third]\r\nk=v\r\n"},
      {"delete key", "Sec", "other", nullptr,
       "; top comment\n[Sec]\nTestKey = a\n\n; inside\n; after the last key\n[Next]\r\nz=9"},
      {"delete section keeps its comments", "Sec", nullptr, nullptr,
       "; top comment\n\n; inside\n; after the last key\n[Next]\r\nz=9"},
      {"comment key", "Sec", ";note", "x",
       "; top comment\n[Sec]\nTestKey = a\n\n; inside\nother=1\n;note=x\r\n; after the last key\n[Next]\r\nz=9"},
      {"delete missing key changes nothing", "Sec", "none", nullptr, original},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::string f = File(original);
    EXPECT_TRUE(WritePrivateProfileStringA(c.sec, c.key, c.value, f.c_str()));
    EXPECT_EQ(zevtest::ReadBytes(f), c.want);
  }
  std::string f = File("[S]\r\nk=1\r\n");
  EXPECT_TRUE(WritePrivateProfileStringA("S", "k", nullptr, f.c_str()));
  EXPECT_EQ(zevtest::ReadBytes(f), "[S]\r\n");
}

TEST_F(Profile, NamesWithoutAPathLiveInTheProfileFolder) {
  SetProfileDirectory(dir.path().c_str());
  EXPECT_TRUE(WritePrivateProfileStringA("S", "k", "folder", "plain.ini"));
  EXPECT_EQ(zevtest::ReadBytes(dir / "plain.ini"), "[S]\r\nk=folder\r\n");
  char buf[300];
  EXPECT_EQ(GetWindowsDirectoryA(buf, sizeof buf), dir.path().size());
  EXPECT_EQ(std::string(buf), dir.path());
  EXPECT_EQ(ResolveProfilePath("a\\b.ini"), "a/b.ini");
  SetProfileDirectory(nullptr);
  EXPECT_NE(GetProfileDirectory(), dir.path());
}

TEST_F(Profile, ApplicationProfileInAnIniFileOrTheRegistry) {
  SetApplicationProfile((dir / "app.ini").c_str());
  EXPECT_TRUE(WriteProfileInt("EXPORT", "Filter", -5));
  EXPECT_TRUE(WriteProfileString("EXPORT", "TXT_EXT", "log"));
  EXPECT_EQ(zevtest::ReadBytes(dir / "app.ini"), "[EXPORT]\r\nFilter=-5\r\nTXT_EXT=log\r\n");
  EXPECT_EQ(int(GetProfileInt("export", "filter", 3)), -5);
  EXPECT_EQ(GetProfileInt("EXPORT", "missing", 3), 3u);
  EXPECT_STREQ(GetProfileString("EXPORT", "txt_ext", "txt"), "log");
  EXPECT_STREQ(GetProfileString("EXPORT", "missing"), "");

  RegSetStoreLocation(HKEY_CURRENT_USER, (dir / "user.db").c_str());
  SetApplicationRegistryKey("Company", "App");
  EXPECT_TRUE(WriteProfileInt("EXPORT", "Filter", 7));
  EXPECT_TRUE(WriteProfileString("EXPORT", "Ext", "seq"));
  EXPECT_EQ(GetProfileInt("EXPORT", "Filter", 0), 7u);
  EXPECT_EQ(GetProfileInt("EXPORT", "Ext", 4), 4u);  // not a REG_DWORD
  EXPECT_STREQ(GetProfileString("EXPORT", "Ext"), "seq");
  HKEY k = nullptr;
  ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\Company\\App\\EXPORT", 0, KEY_READ, &k), 0);
  DWORD type = 0, size = 0;
  EXPECT_EQ(RegQueryValueExA(k, "Filter", nullptr, &type, nullptr, &size), 0);
  EXPECT_EQ(type, REG_DWORD);
  EXPECT_EQ(size, 4u);
  RegCloseKey(k);
  EXPECT_TRUE(WriteProfileString("EXPORT", "Ext", nullptr));
  EXPECT_STREQ(GetProfileString("EXPORT", "Ext", "gone"), "gone");
  EXPECT_TRUE(WriteProfileString("EXPORT", nullptr, nullptr));
  EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\Company\\App\\EXPORT", 0, KEY_READ, &k),
            LONG(ERROR_FILE_NOT_FOUND));
  SetApplicationRegistryKey(nullptr, nullptr);
  EXPECT_EQ(int(GetProfileInt("EXPORT", "Filter", 3)), -5);  // back to the INI file
  SetApplicationProfile(nullptr);
}

// Several processes write distinct keys of one file at the same time; afterwards
// every key holds its last value.
TEST_F(Profile, ConcurrentWritersLoseNothing) {
  constexpr int kProcesses = 4, kKeys = 6, kRounds = 10;
  std::string f = dir / "shared.ini";
  zevtest::WriteBytes(f, "; shared by several writers\r\n[Common]\r\nkeep=me\r\n");
  auto started = std::chrono::steady_clock::now();
  std::vector<pid_t> children;
  for (int p = 0; p < kProcesses; ++p) {
    children.push_back(zevtest::RunChild([&, p] {
      for (int r = 0; r < kRounds; ++r)
        for (int k = 0; k < kKeys; ++k) {
          std::string key = "p" + std::to_string(p) + "k" + std::to_string(k);
          std::string value = std::to_string(r);
          // Half the keys share a section, half have one per process.
          std::string sec = k % 2 ? "Common" : "Proc" + std::to_string(p);
          if (!WritePrivateProfileStringA(sec.c_str(), key.c_str(), value.c_str(), f.c_str())) return 1;
        }
      return 0;
    }));
  }
  for (pid_t c : children) EXPECT_EQ(zevtest::WaitChild(c), 0);
  double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
  int lost = 0;
  for (int p = 0; p < kProcesses; ++p)
    for (int k = 0; k < kKeys; ++k) {
      std::string sec = k % 2 ? "Common" : "Proc" + std::to_string(p);
      std::string key = "p" + std::to_string(p) + "k" + std::to_string(k);
      if (Get(f, sec.c_str(), key.c_str()) != std::to_string(kRounds - 1)) ++lost;
    }
  EXPECT_EQ(lost, 0);
  EXPECT_EQ(Get(f, "Common", "keep"), "me");
  std::printf("[profile concurrency] %d processes, %d writes, %d keys, %d lost, %.2f s\n", kProcesses,
              kProcesses * kKeys * kRounds, kProcesses * kKeys, lost, seconds);
}

// A writer killed with SIGKILL mid-loop leaves a whole file: each line is one the
// writer wrote, and the counter's keys all hold their values.
TEST_F(Profile, WriterKilledMidLoopLeavesAWholeFile) {
  for (int round = 0; round < 3; ++round) {
    SCOPED_TRACE(round);
    std::string f = dir / ("crash" + std::to_string(round) + ".ini");
    zevtest::KillMidLoop(
        [&](int i) {
          std::string v = std::to_string(i);
          if (!WritePrivateProfileStringA("Keys", ("k" + v).c_str(), v.c_str(), f.c_str())) return 1;
          return WritePrivateProfileStringA("State", "counter", v.c_str(), f.c_str()) ? 0 : 1;
        },
        std::chrono::milliseconds(10 + 30 * round));
    std::string text = zevtest::ReadBytes(f);
    EXPECT_TRUE(std::regex_match(text, std::regex("\\[Keys\\]\r\n(k[0-9]+=[0-9]+\r\n)+\\[State\\]\r\ncounter=[0-9]+\r\n")))
        << text.substr(0, 200);
    int counter = int(GetPrivateProfileIntA("State", "counter", -1, f.c_str()));
    EXPECT_GE(counter, 10);
    for (int i = 0; i <= counter; ++i) EXPECT_EQ(Get(f, "Keys", ("k" + std::to_string(i)).c_str()), std::to_string(i));
    EXPECT_TRUE(WritePrivateProfileStringA("State", "after", "1", f.c_str()));  // the lock was released
  }
}

}  // namespace
