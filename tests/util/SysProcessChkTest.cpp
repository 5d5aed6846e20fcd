// SysProcessChk: the name rules and lookups in the live process table.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "platform/HostTestSupport.h"

#include "zevutil/SysProcessChk.h"

using namespace zev;

namespace {

// Records the name handed to the table lookup.
class Recorder : public SysProcessChk {
 public:
  explicit Recorder(int longNames) { m_bLongNames = longNames; }
  CString seen;

 protected:
  BOOL FindProcesses(CString& name) override {
    seen = name;
    return TRUE;
  }
};

TEST(SysProcessChk, NameRules) {
  struct Case {
    const char* name;
    int longNames;
    const char* looked;
  } cases[] = {
      {"abc.exe", 0, "abc"},
      {"abc", 0, "abc"},
      {".exe", 0, ".exe"},  // at the start it stays
      {"abc.EXE", 0, "abc.EXE"},  // the cut is case-sensitive
      {"abc.exe.bak", 0, "abc"},
      {"abcdefghijklmnopqrst", 0, "abcdefghijklmno"},
      {"abcdefghijklmnopqrst", 1, "abcdefghijklmnopqrst"},
      {"abcdefghijklmnopqrst.exe", 0, "abcdefghijklmno"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Recorder r(c.longNames);
    EXPECT_TRUE(r.IsProcessExist(c.name));
    EXPECT_STREQ(r.seen, c.looked);
  }
  Recorder r(0);
  EXPECT_FALSE(r.IsProcessExist(nullptr));
  EXPECT_STREQ(r.seen, "");
}

TEST(SysProcessChk, FindsRunningProcesses) {
  SysProcessChk chk;
  EXPECT_TRUE(chk.Init());
  EXPECT_STREQ(chk.GetLastError(), "");
  // This test program is running, under its own name, in any case.
  EXPECT_TRUE(chk.IsProcessExist("zev_util_tests"));
  EXPECT_TRUE(chk.IsProcessExist("ZEV_UTIL_TESTS.exe"));
  EXPECT_FALSE(chk.IsProcessExist("no-such-process-name-here"));
  EXPECT_FALSE(chk.IsProcessExist(""));
  EXPECT_STREQ(chk.GetLastError(), "");  // a missing process is no failure

  // A program with a long name: the system keeps 15 characters as its command name.
  zevtest::TempDir dir;
  std::string exe = dir / "a_very_long_process_name_x";
  std::filesystem::copy_file("/bin/sleep", exe);
  std::filesystem::permissions(exe, std::filesystem::perms::owner_all);
  pid_t child = ::fork();
  if (child == 0) {
    ::execl(exe.c_str(), exe.c_str(), "30", static_cast<char*>(nullptr));
    ::_exit(127);
  }
  ASSERT_GT(child, 0);
  bool seen = false;
  for (int i = 0; i < 200 && !seen; ++i) {
    seen = chk.IsProcessExist("a_very_long_process_name_x");
    if (!seen) ::usleep(10000);
  }
  SysProcessChk shortNames;  // not initialised: names are cut to 15 characters
  struct Case {
    SysProcessChk* checker;
    const char* name;
    BOOL want;
  } cases[] = {
      {&chk, "a_very_long_process_name_x", TRUE},        {&chk, "A_VERY_LONG_PROCESS_NAME_X.exe", TRUE},
      {&chk, "a_very_long_process_name_y", FALSE},       {&shortNames, "a_very_long_process_name_y", TRUE},
      {&shortNames, "a_very_long_pro", TRUE},             {&chk, "a_very_long", FALSE},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.name) + (c.checker == &chk ? " (long names)" : " (short names)"));
    EXPECT_EQ(c.checker->IsProcessExist(c.name), c.want);
  }
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, 0);
  EXPECT_FALSE(chk.IsProcessExist("a_very_long_process_name_x"));
}

}  // namespace
