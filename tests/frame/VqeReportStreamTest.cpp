// The error report stream: cut rules, codes, report flags in order, the log file, the
// functors, and a thread without a block.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "FrameTestUtil.h"
#include "zevutil/VqeReportStream.h"

using namespace zev;
using zevtest::EventLog;

namespace {
class ReportStream : public testing::Test {
 protected:
  void SetUp() override { VqErr.Flush(); }
  void TearDown() override {
    VqErr.Flush();
    VqeReport.SetReportFlags(VQE_REPORT_TRACE);
    VqeReportStream::SetLogFilePath(nullptr);
  }
  static std::string Msg() { return VqErr.GetMsg(); }
};

// Sets an environment variable for a scope (null unsets it).
class EnvVar {
 public:
  EnvVar(const char* name, const char* value) : m_name(name) {
    if (const char* old = std::getenv(name)) m_old = old;
    Set(value);
  }
  ~EnvVar() { Set(m_old ? m_old->c_str() : nullptr); }
  EnvVar(const EnvVar&) = delete;
  EnvVar& operator=(const EnvVar&) = delete;

 private:
  void Set(const char* value) {
    if (value)
      setenv(m_name, value, 1);
    else
      unsetenv(m_name);
  }
  const char* m_name;
  std::optional<std::string> m_old;
};
}  // namespace

TEST_F(ReportStream, StreamsTextNumbersAndReports) {
  EventLog log;
  VqErr << "count " << 5 << " of " << -12;
  EXPECT_EQ(Msg(), "count 5 of -12");
  VqErr << VqeTrace;  // traces and keeps
  EXPECT_EQ(Msg(), "count 5 of -12");
  VqErr << VqeReport;  // traces and clears
  EXPECT_EQ(Msg(), "");
  EXPECT_EQ(log.events, (std::vector<std::string>{"T:count 5 of -12\n", "T:count 5 of -12\n"}));
}

TEST_F(ReportStream, AppendCutRules) {
  // existing length, appended length -> resulting length. A text that does not fit
  // keeps capacity - n - 1 of its bytes, and never more than the room left.
  struct Case { size_t have, add, expect; };
  const Case cases[] = {{0, 8191, 8191}, {0, 8192, 8191},   {0, 9000, 8191},  {100, 8100, 191},
                        {4000, 5000, 7191}, {8000, 500, 8191}, {8191, 1, 8191}, {8190, 1, 8191}};
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.have << "+" << c.add);
    VqErr.Flush();
    VqErr << std::string(c.have, 'o').c_str() << std::string(c.add, 'n').c_str();
    std::string m = Msg();
    ASSERT_EQ(m.size(), c.expect);
    EXPECT_EQ(m, std::string(c.have, 'o') + std::string(c.expect - c.have, 'n'));
  }
  struct TitleCase { size_t have, add, expect; };
  for (const TitleCase& c : {TitleCase{0, 300, 255}, TitleCase{100, 200, 155}, TitleCase{10, 20, 30}}) {
    SCOPED_TRACE(testing::Message() << "title " << c.have << "+" << c.add);
    VqErr.Flush();
    VqErr.AppendTitle(std::string(c.have, 't').c_str()).AppendTitle(std::string(c.add, 'u').c_str());
    EXPECT_EQ(std::string(VqErr.GetTitle()).size(), c.expect);
  }
}

TEST_F(ReportStream, PrependKeepsTheNewTextWhole) {
  struct Case { size_t have, add, keptOld; };
  const Case cases[] = {{5, 6, 5}, {8000, 191, 8000}, {8000, 500, 7691}, {100, 8191, 0}, {100, 9000, 0}};
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.add << " before " << c.have);
    VqErr.Flush();
    VqErr << std::string(c.have, 'o').c_str();
    VqErr.PrependMsg(std::string(c.add, 'n').c_str());
    size_t added = std::min<size_t>(c.add, 8191);
    EXPECT_EQ(Msg(), std::string(added, 'n') + std::string(c.keptOld, 'o'));
  }
  VqErr.Flush();
  VqErr << "old";
  VqErr << VqePrepend("%d:%s ", 7, "new");
  EXPECT_EQ(Msg(), "7:new old");
}

TEST_F(ReportStream, CodesStopAtTen) {
  for (int i = 0; i < 12; ++i) VqErr << VqErrorCode(100 + i);
  ASSERT_EQ(VqErr.GetCodeCount(), 10u);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(int(VqErr.GetCodes()[i]), 100 + i);
  VqErr.Flush();
  EXPECT_EQ(VqErr.GetCodeCount(), 0u);
}

TEST_F(ReportStream, ReportFlagsActInOrder) {
  zevtest::ScratchDir dir;
  const std::string logPath = dir / "VqeLog.txt";
  VqeReportStream::SetLogFilePath(logPath.c_str());
  const std::string box = "B:msg|Error|48";
  struct Case { DWORD flags; std::vector<std::string> events; int result; bool logged; bool kept; };
  const Case cases[] = {
      {0x00, {}, 0, false, false},
      {0x01, {"T:msg\n"}, 0, false, false},
      {0x02, {}, 0, false, true},
      {0x04, {"T:msg\n"}, 0, false, false},
      {0x05, {"T:msg\n"}, 0, false, false},
      {0x10, {box}, 7, false, false},
      {0x14, {box, "T:msg\n"}, 7, false, false},  // the box comes before the second trace
      {0x15, {"T:msg\n", box}, 7, false, false},
      {0x18, {box}, 7, true, false},  // the log is written after the box is answered
      {0x08, {}, 0, true, false},
      {0x1F, {"T:msg\n", box}, 7, true, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "flags 0x" << std::hex << c.flags);
    std::filesystem::remove(logPath);
    EventLog log(7);
    bool logExistedAtBox = false;
    log.onBox = [&] { logExistedAtBox = std::filesystem::exists(logPath); };
    VqErr.Flush();
    VqErr << "msg";
    EXPECT_EQ(VqErr.DoReport(c.flags), c.result);
    EXPECT_EQ(log.events, c.events);
    EXPECT_FALSE(logExistedAtBox);
    EXPECT_EQ(std::filesystem::exists(logPath), c.logged);
    if (c.logged) {
      EXPECT_EQ(zevtest::ReadFile(logPath), "msg");
    }
    EXPECT_EQ(Msg(), c.kept ? "msg" : "");
    EXPECT_STREQ(VqErr.GetTitle(), c.kept ? "Error" : "");
  }
}

TEST_F(ReportStream, BoxShowsTheOwnTitleAndLogKeepsTheLastReport) {
  zevtest::ScratchDir dir;
  const std::string logPath = dir / "VqeLog.txt";
  VqeReportStream::SetLogFilePath(logPath.c_str());
  EventLog log;
  VqErr.AppendTitle("Import");
  VqErr << "first" << VqeReport(VQE_REPORT_BOX | VQE_REPORT_LOG);
  // kept: a flags argument changes VqeReport itself.
  EXPECT_EQ(VqeReport.GetReportFlags(), VQE_REPORT_BOX | VQE_REPORT_LOG);
  VqErr << "second report" << VqeReport;
  EXPECT_EQ(log.events, (std::vector<std::string>{"B:first|Import|48", "B:second report|Error|48"}));
  EXPECT_EQ(zevtest::ReadFile(logPath), "second report");
}

TEST_F(ReportStream, LogFileDefaultPlace) {
  struct Case { const char* state; const char* home; std::string expect; };
  const Case cases[] = {
      {"/var/st", "/home/u", "/var/st/zevutil/VqeLog.txt"},
      {nullptr, "/home/u", "/home/u/.local/state/zevutil/VqeLog.txt"},
      {"", "/home/u", "/home/u/.local/state/zevutil/VqeLog.txt"},
      {"relative", "/home/u", "/home/u/.local/state/zevutil/VqeLog.txt"},
      {nullptr, nullptr, "VqeLog.txt"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.expect);
    EnvVar state("XDG_STATE_HOME", c.state), home("HOME", c.home);
    EXPECT_EQ(std::string(VqeReportStream::GetLogFilePath()), c.expect);
  }
  VqeReportStream::SetLogFilePath("/elsewhere/log.txt");
  EXPECT_EQ(std::string(VqeReportStream::GetLogFilePath()), "/elsewhere/log.txt");
  VqeReportStream::SetLogFilePath("");
  zevtest::ScratchDir dir;
  EnvVar state("XDG_STATE_HOME", dir.path().c_str());
  VqErr << "to the default log" << VqeReport(VQE_REPORT_LOG);  // creates the folder
  EXPECT_EQ(zevtest::ReadFile(dir / "zevutil/VqeLog.txt"), "to the default log");
}

TEST_F(ReportStream, ThrowKeepsTheMessageForTheHandler) {
  bool caught = false;
  try {
    VqErr << "bad version " << 3 << VqErrorCode(-30993) << VqeThrow;
  } catch (CException* e) {
    caught = true;
    EXPECT_TRUE(e->m_bAutoDelete);
    e->Delete();
  }
  EXPECT_TRUE(caught);
  EXPECT_EQ(Msg(), "bad version 3");
  ASSERT_EQ(VqErr.GetCodeCount(), 1u);
  EXPECT_EQ(int(VqErr.GetCodes()[0]), -30993);
}

TEST_F(ReportStream, ExceptionsAndLastErrorAppendTheirTexts) {
  auto* e = new CFileException(CFileException::fileNotFound, 2, "missing.dat");
  const std::string text = e->GetMessageText().GetString();
  ASSERT_FALSE(text.empty());
  VqErr << e;  // and deletes it
  EXPECT_EQ(Msg(), text.substr(0, 126));  // asked for with a 127-byte buffer
  VqErr.Flush();
  VqErr << new CException;  // no message: nothing appended
  EXPECT_EQ(Msg(), "");

  for (DWORD code : {DWORD(ERROR_FILE_NOT_FOUND), DWORD(ERROR_ACCESS_DENIED), DWORD(0x7FFF1234)}) {
    SCOPED_TRACE(code);
    VqErr.Flush();
    SetLastError(code);
    VqErr << VqeLastError;
    EXPECT_EQ(Msg(), std::string(SystemErrorText(code)));
  }
}

TEST_F(ReportStream, PrintfFunctorFormatsIntoItsBuffer) {
  VqErr << "[" << VqePrintf("%d-%s-%ld", 5, "x", LONG(-7)) << "]";
  EXPECT_EQ(Msg(), "[5-x--7]");
  VqePrintfFunctor copy = VqePrintf;
  VqePrintf("%s", std::string(600, 'w').c_str());
  EXPECT_EQ(std::string(copy.GetBuffer()), std::string(511, 'w'));  // copies share the buffer, cut at 511
}

TEST_F(ReportStream, CleanedBlockComesBackOnNextUse) {
  VqErr << "before";
  VqErr.Cleanup();
  ASSERT_NE(VqErr.GetMsg(), nullptr);
  EXPECT_EQ(Msg(), "");
  VqErr << "after";
  EXPECT_EQ(Msg(), "after");
}

TEST_F(ReportStream, ThreadWithoutBlockDoesNothing) {
  VqErr << "main thread text";
  EventLog log;
  struct Seen {
    const char* msg = "unset";
    const char* title = "unset";
    VqErrorCode* codes = reinterpret_cast<VqErrorCode*>(1);
    UINT count = 99;
    int report = 99;
    bool threw = false;
    bool fallbackStream = false;
    bool fallbackPrintf = false;
  } seen;
  std::thread worker([&] {
    VqErr.tlInit();
    VqErr.InitThread();
    seen.fallbackStream = &VqErr.AppendMsg("lost") != &VqErr;
    seen.fallbackPrintf = &VqePrintf("%d", 1) != &VqePrintf;
    try {
      VqErr << "worker " << 1 << VqErrorCode(4) << VqePrepend("p") << VqeThrow << VqeTrace;
    } catch (CException* e) {
      seen.threw = true;
      e->Delete();
    }
    seen.report = VqErr.DoReport(0x1F);
    seen.msg = VqErr.GetMsg();
    seen.title = VqErr.GetTitle();
    seen.codes = VqErr.GetCodes();
    seen.count = VqErr.GetCodeCount();
  });
  worker.join();
  EXPECT_FALSE(seen.threw);
  EXPECT_EQ(seen.msg, nullptr);
  EXPECT_EQ(seen.title, nullptr);
  EXPECT_EQ(seen.codes, nullptr);
  EXPECT_EQ(seen.count, 0u);
  EXPECT_EQ(seen.report, 0);
  EXPECT_TRUE(seen.fallbackStream);
  EXPECT_TRUE(seen.fallbackPrintf);
  EXPECT_TRUE(log.events.empty());
  EXPECT_EQ(Msg(), "main thread text");
}
