// Directory search with the old platform's wildcard rules, and path split and join.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <string>
#include <vector>

#include "platform/HostTestSupport.h"
#include "zevutil/platform/FileFind.h"
#include "zevutil/platform/Host.h"

using namespace zev;
using zevtest::TempDir;

namespace {

std::vector<std::string> Search(const std::string& pattern, DWORD* error = nullptr) {
  std::vector<std::string> names;
  WIN32_FIND_DATAA fd;
  HANDLE h = FindFirstFileA(pattern.c_str(), &fd);
  if (h == INVALID_HANDLE_VALUE) {
    if (error) *error = GetLastError();
    return names;
  }
  do names.push_back(fd.cFileName);
  while (FindNextFileA(h, &fd));
  EXPECT_EQ(GetLastError(), ERROR_NO_MORE_FILES);
  EXPECT_TRUE(FindClose(h));
  return names;
}

using Names = std::vector<std::string>;

class DirSearch : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* n : {"README", "a.txt", "A.TXT2", "b.html", "file.txt", "file1.txt", "file12.txt", "x[1].txt",
                          ".hidden", "Zeta.TXT"})
      zevtest::WriteBytes(dir / n, n);
    ::mkdir((dir / "sub.d").c_str(), 0755);
  }
  void TearDown() override { SetShortNameEmulation(FALSE); }
  TempDir dir;
};

TEST_F(DirSearch, WildcardsFollowTheOldPlatform) {
  struct Case {
    const char* pattern;
    bool shortNames;
    Names want;
  } cases[] = {
      {"*.*", false, {".", "..", ".hidden", "a.txt", "A.TXT2", "b.html", "file.txt", "file1.txt", "file12.txt",
                      "README", "sub.d", "x[1].txt", "Zeta.TXT"}},
      {"*", false, {".", "..", ".hidden", "a.txt", "A.TXT2", "b.html", "file.txt", "file1.txt", "file12.txt",
                    "README", "sub.d", "x[1].txt", "Zeta.TXT"}},
      {"*.", false, {".", "..", "README"}},
      {"file?.txt", false, {"file.txt", "file1.txt"}},
      {"x[1].txt", false, {"x[1].txt"}},
      {"*.TXT", false, {"a.txt", "file.txt", "file1.txt", "file12.txt", "x[1].txt", "Zeta.TXT"}},
      {"*.TXT", true, {"a.txt", "A.TXT2", "file.txt", "file1.txt", "file12.txt", "x[1].txt", "Zeta.TXT"}},
      {"*.htm", false, {}},
      {"*.htm", true, {"b.html"}},
      {"readme", false, {"README"}},
      {"*1*", false, {"file1.txt", "file12.txt", "x[1].txt"}},
      {"?.*", false, {".", "..", ".hidden", "a.txt", "A.TXT2", "b.html"}},  // '?' may match nothing before a '.'
      {".*", false, {".", "..", ".hidden"}},
      {"*.d", false, {"sub.d"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.pattern) + (c.shortNames ? " with short names" : ""));
    SetShortNameEmulation(c.shortNames);
    DWORD err = 0;
    EXPECT_EQ(Search(dir / c.pattern, &err), c.want);
    if (c.want.empty()) {
      EXPECT_EQ(err, ERROR_FILE_NOT_FOUND);
    }
  }
}

TEST_F(DirSearch, PatternMatcherCases) {
  struct Case {
    const char* pattern;
    const char* name;
    bool match;
  } cases[] = {
      {"a.?", "a", true},          {"a.?", "a.", true},           {"a.?", "a.x", true},
      {"a.?", "a.xy", false},      {"*.txt", "a.b.txt", true},     {"*.txt", "a.txt.bak", false},
      {"*.txt", "txt", false},     {"??", "a", true},              {"??", "abc", false},
      {"*.*", "noext", true},      {"*.", "a.b", false},           {"file.", "file", true},
      {"A*Z", "abcz", true},       {"\xE9*", "\xC9t\xE9", true},     {"[ab]", "a", false},
      {"a*.*", "abc", true},       {"*.tx?", "a.tx", true},        {"*.tx?", "a.txtt", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.pattern) + " vs " + c.name);
    EXPECT_EQ(MatchFilePattern(c.pattern, c.name) != 0, c.match);
  }
  struct Alias {
    const char* name;
    const char* alias;
  } aliases[] = {{"a.txt", ""}, {"README", ""}, {"A.TXT2", "A~1.TXT"}, {"page.html", "PAGE~1.HTM"},
                 {"long name here.jpeg", "LONGNA~1.JPE"}, {".hidden", "HIDDEN~1"}, {"a+b.c", "A_B~1.C"}};
  for (const Alias& a : aliases) {
    SCOPED_TRACE(a.name);
    char out[14];
    MakeShortNameAlias(a.name, out);
    EXPECT_STREQ(out, a.alias);
  }
}

TEST_F(DirSearch, RecordsAndErrors) {
  zevtest::WriteBytes(dir / "five.bin", "12345");
  ::chmod((dir / "five.bin").c_str(), 0444);
  WIN32_FIND_DATAA fd;
  HANDLE h = FindFirstFileA((dir / "FIVE.BIN").c_str(), &fd);
  ASSERT_NE(h, INVALID_HANDLE_VALUE);
  EXPECT_STREQ(fd.cFileName, "five.bin");
  EXPECT_EQ(fd.nFileSizeLow, 5u);
  EXPECT_EQ(fd.nFileSizeHigh, 0u);
  EXPECT_EQ(fd.dwFileAttributes, FILE_ATTRIBUTE_READONLY);
  struct stat st {};
  ::stat((dir / "five.bin").c_str(), &st);
  unsigned long long ft = (unsigned long long)fd.ftLastWriteTime.dwHighDateTime << 32 | fd.ftLastWriteTime.dwLowDateTime;
  EXPECT_EQ(ft / 10000000ull, (unsigned long long)st.st_mtime + 11644473600ull);
  EXPECT_FALSE(FindNextFileA(h, &fd));
  EXPECT_EQ(GetLastError(), ERROR_NO_MORE_FILES);
  EXPECT_TRUE(FindClose(h));
  EXPECT_FALSE(FindClose(h));
  EXPECT_FALSE(FindNextFileA(h, &fd));
  EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);

  h = FindFirstFileA((dir.path() + "\\sub.d").c_str(), &fd);  // '\' separates too
  ASSERT_NE(h, INVALID_HANDLE_VALUE);
  EXPECT_EQ(fd.dwFileAttributes, FILE_ATTRIBUTE_DIRECTORY);
  FindClose(h);
  struct Fail {
    std::string pattern;
    DWORD error;
  } fails[] = {{dir / "nothing*", ERROR_FILE_NOT_FOUND},
               {dir / "missing/*.*", ERROR_PATH_NOT_FOUND},
               {dir / "a.txt/*", ERROR_PATH_NOT_FOUND},
               {dir.path() + "/", ERROR_FILE_NOT_FOUND}};
  for (const Fail& f : fails) {
    SCOPED_TRACE(f.pattern);
    EXPECT_EQ(FindFirstFileA(f.pattern.c_str(), &fd), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), f.error);
  }
}

TEST(PathSplit, SplitsIntoFourParts) {
  struct Case {
    const char* path;
    const char* drive;
    const char* dir;
    const char* fname;
    const char* ext;
  } cases[] = {
      {"a.b.c", "", "", "a.b", ".c"},
      {".bashrc", "", "", "", ".bashrc"},
      {"file.", "", "", "file", "."},
      {"..", "", "", ".", "."},
      {"dir.x\\file", "", "dir.x\\", "file", ""},
      {"C:", "C:", "", "", ""},
      {"1:x", "1:", "", "x", ""},
      {"\\\\srv\\share\\f.txt", "", "\\\\srv\\share\\", "f", ".txt"},
      {"c:/a/b", "c:", "/a/", "b", ""},
      {"/tmp\\mixed/seps.tar.gz", "", "/tmp\\mixed/", "seps.tar", ".gz"},
      {"", "", "", "", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    char drive[_MAX_DRIVE], dirp[_MAX_DIR], fname[_MAX_FNAME], ext[_MAX_EXT];
    _splitpath(c.path, drive, dirp, fname, ext);
    EXPECT_STREQ(drive, c.drive);
    EXPECT_STREQ(dirp, c.dir);
    EXPECT_STREQ(fname, c.fname);
    EXPECT_STREQ(ext, c.ext);
    _splitpath(c.path, nullptr, nullptr, nullptr, nullptr);  // any output may be null
  }
  // Over-long parts are cut to their buffers, as the old runtime did.
  std::string longDir = "/" + std::string(300, 'd') + "/f.e";
  char dirp[_MAX_DIR], fname[_MAX_FNAME];
  _splitpath(longDir.c_str(), nullptr, dirp, fname, nullptr);
  EXPECT_EQ(std::string(dirp), longDir.substr(0, 255));
  EXPECT_STREQ(fname, "f");
}

TEST(PathSplit, JoinsFourParts) {
  struct Case {
    const char* drive;
    const char* dir;
    const char* fname;
    const char* ext;
    const char* want;
  } cases[] = {
      {"c:\\", "dir", "file", "ext", "c:dir\\file.ext"},
      {"c", nullptr, nullptr, nullptr, "c:"},
      {"foo", nullptr, "x", ".y", "f:x.y"},
      {nullptr, "\\dir", nullptr, nullptr, "\\dir\\"},
      {nullptr, nullptr, "\\file", nullptr, "\\file"},
      {nullptr, "/tmp/", "a", "txt", "/tmp/a.txt"},
      {nullptr, "a\\", "b", "", "a\\b"},
      {nullptr, nullptr, nullptr, nullptr, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.want);
    char out[_MAX_PATH];
    _makepath(out, c.drive, c.dir, c.fname, c.ext);
    EXPECT_STREQ(out, c.want);
  }
  std::string big(250, 'x');
  char out[_MAX_PATH + 8];
  std::memset(out, '#', sizeof out);
  _makepath(out, "c", big.c_str(), big.c_str(), big.c_str());
  EXPECT_EQ(std::strlen(out), size_t(_MAX_PATH - 1));
  EXPECT_EQ(out[_MAX_PATH], '#');
}

}  // namespace
