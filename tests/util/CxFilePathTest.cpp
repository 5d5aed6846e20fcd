// File paths in parts, search records, status lists and FileExists.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "platform/HostTestSupport.h"
#include "zevutil/CxFilePath.h"

using namespace zev;

namespace {

template <class Path>
void CheckParts(const Path& p, const char* drive, const char* dir, const char* base, const char* ext, const char* full) {
  EXPECT_STREQ(p.GetDrive(), drive);
  EXPECT_STREQ(p.GetDir(), dir);
  EXPECT_STREQ(p.GetBasename(), base);
  EXPECT_STREQ(p.GetExt(), ext);
  EXPECT_STREQ(p.GetFullpath(), full);
  EXPECT_STREQ(static_cast<const char*>(p), full);
}

template <class Path>
void PathsKeepPartsAndWholeInStep() {
  Path p("c:/data/run.ab1");
  CheckParts(p, "c:", "/data/", "run", ".ab1", "c:/data/run.ab1");
  p.SetDir("results");  // no separator: _makepath adds '\', and the directory reads back normalised
  CheckParts(p, "c:", "results\\", "run", ".ab1", "c:results\\run.ab1");
  p.SetExt("txt");
  CheckParts(p, "c:", "results\\", "run", ".txt", "c:results\\run.txt");
  p.SetDrive("dzz");
  CheckParts(p, "d:", "results\\", "run", ".txt", "d:results\\run.txt");
  p.SetFullpath("/tmp/a.b.c");
  CheckParts(p, "", "/tmp/", "a.b", ".c", "/tmp/a.b.c");
  p.Reset();
  CheckParts(p, "", "", "", "", "");
  Path empty(nullptr);
  CheckParts(empty, "", "", "", "", "");
  Path copy = p;  // a block copy
  copy.SetFullpath("x.y");
  EXPECT_STREQ(p.GetFullpath(), "");

  Path q("/tmp/");
  std::string longName(300, 'n');
  if constexpr (std::is_same_v<Path, CtFilePath>) q.SetBasename(longName.c_str(), 0);
  else q.SetBasename(longName.c_str());
  EXPECT_EQ(std::strlen(q.GetBasename()), 255u);
  EXPECT_EQ(std::strlen(q.GetFullpath()), 259u);  // the join stops at the full path's size
  q.SetFullpath(std::string(400, 'f').c_str());  // 259 kept, split into a name of 255, joined again
  EXPECT_EQ(std::strlen(q.GetBasename()), 255u);
  EXPECT_EQ(std::strlen(q.GetFullpath()), 255u);
}

TEST(CxFilePath, PartsAndWholeStayInStep) { PathsKeepPartsAndWholeInStep<CxFilePath>(); }
TEST(CtFilePath, PartsAndWholeStayInStep) { PathsKeepPartsAndWholeInStep<CtFilePath>(); }

TEST(CtFilePath, IllegalCharactersInTheBaseName) {
  struct Case {
    const char* name;
    int replace;
    const char* want;
  } cases[] = {
      {"a:b", 1, "a_b"}, {"a:b", 0, "a:b"}, {"q?\"<>|*", 1, "q______"}, {"plain-name_1", 1, "plain-name_1"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CtFilePath p("/out/x.txt");
    p.SetBasename(c.name, c.replace);
    EXPECT_STREQ(p.GetBasename(), c.want);
    EXPECT_EQ(std::string(p.GetFullpath()), std::string("/out/") + c.want + ".txt");
  }
}

TEST(CxFileStatus, NameParts) {
  struct Case {
    const char* name;
    const char* base;
    const char* ext;
  } cases[] = {
      {"a.b.txt", "a.b", "b.txt"}, {"a.txt", "a", "a.txt"},   {"file.txt", "file", "e.txt"},
      {"noext", "noext", ""},      {".bashrc", "", ""},        {"trail.", "trail", "l."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CxFileStatus s;
    std::strcpy(s.cFileName, c.name);
    EXPECT_STREQ(s.GetBasename(), c.base);
    EXPECT_STREQ(s.GetExtension(), c.ext);
    EXPECT_STREQ(s.GetFilename(), c.name);
  }
}

class FileStatusList : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* n : {"a.htm", "a.html", "b.HTM", "c.txt", "d.vq1"}) zevtest::WriteBytes(dir / n, "x");
  }
  void TearDown() override { SetShortNameEmulation(FALSE); }
  static std::vector<std::string> Names(const CFileStatusList& l) {
    std::vector<std::string> out;
    for (INT_PTR i = 0; i < l.GetSize(); ++i) out.push_back(l[i]->GetFilename());
    return out;
  }
  zevtest::TempDir dir;
};

TEST_F(FileStatusList, KeepsFilesWhoseExtensionIsTheMasks) {
  using V = std::vector<std::string>;
  struct Case {
    const char* mask;
    bool shortNames;
    int found;
    V kept;
  } cases[] = {
      {"*.htm", false, 2, V{"a.htm", "b.HTM"}},
      {"*.htm", true, 3, V{"a.htm", "b.HTM"}},  // a.html comes through its short name and is dropped
      {"*.*", false, 7, V{}},                   // a wildcard extension compares as text
      {"*.vq*", false, 1, V{}},
      {"*.vq1", false, 1, V{"d.vq1"}},
      {"*.none", false, 0, V{}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.mask) + (c.shortNames ? " with short names" : ""));
    SetShortNameEmulation(c.shortNames);
    CFileStatusList list;
    list.SetNameMask((dir / c.mask).c_str());
    EXPECT_EQ(list.Append(), c.found);
    EXPECT_EQ(Names(list), c.kept);
  }
}

TEST_F(FileStatusList, RefreshCopyAndDefaults) {
  CFileStatusList list((dir / "*.htm").c_str(), 0x10);
  EXPECT_EQ(list.GetSize(), 2);
  EXPECT_EQ(list.GetAttrMask(), 0x10u);
  EXPECT_EQ(list.Append(), 2);  // appends again
  EXPECT_EQ(list.GetSize(), 4);
  CFileStatusList copy(list);
  EXPECT_EQ(Names(copy), Names(list));
  EXPECT_NE(copy[0], list[0]);  // entries of its own
  list.SetNameMask((dir / "*.xyz").c_str());
  EXPECT_EQ(list.Refresh(), 0);
  EXPECT_EQ(list.GetSize(), 0);
  list = copy;
  EXPECT_EQ(list.GetSize(), 4);
  list.SetNameMask("");
  EXPECT_EQ(list.Refresh(), 0);  // an empty mask searches nothing
  list.SetDefaultValues();
  EXPECT_STREQ(list.GetNameMask(), "*.*");
  EXPECT_EQ(list.GetAttrMask(), 0u);
  CFileStatusList none;
  EXPECT_EQ(none.GetSize(), 0);
  EXPECT_STREQ(none.GetNameMask(), "");
}

TEST_F(FileStatusList, FileExistsMeansTheSearchFindsSomething) {
  ::mkdir((dir / "folder").c_str(), 0755);
  struct Case {
    std::string path;
    BOOL want;
  } cases[] = {
      {dir / "c.txt", TRUE},  {dir / "C.TXT", TRUE},     {dir / "folder", TRUE}, {dir / "*.vq?", TRUE},
      {dir / "nope", FALSE},  {dir / "nope/x", FALSE},  {dir.path() + "/", FALSE}, {"", FALSE},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    EXPECT_EQ(FileExists(c.path.c_str()), c.want);
  }
  EXPECT_EQ(FileExists(nullptr), FALSE);
}

}  // namespace
