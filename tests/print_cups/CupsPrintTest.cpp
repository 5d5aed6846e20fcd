// Printing to CUPS queues against a real, private scheduler: one cupsd for the whole
// binary, started with the shared test script (file queues that write PDF, nothing
// under /etc touched) and stopped at exit. Printing by name, the default queue, an
// unknown name, the queue's media, and a cancel that leaves no output.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "../platform/PrintTestSupport.h"
#include "zevutil/platform/Gdi.h"
#include "zevutil/platform/Host.h"
#include "zevutil/platform/Print.h"

using namespace zev;
namespace fs = std::filesystem;

namespace {

std::string g_skip;  // why the scheduler is not there, when it is not
std::string g_dir;   // the scheduler's folder; queues write to g_dir/out/<queue>.pdf
pid_t g_pid = 0;

std::string Script() { return std::string(ZEV_SHARED_DIR) + "/tools/cups-ci.sh"; }

// Runs a shell line with the scheduler's environment.
std::string Shell(const std::string& line, int* rc = nullptr) {
  return zevtest::Run("bash -c '. \"" + Script() + "\"; export CUPS_SERVER=\"" + g_dir + "/cups.sock\" CUPS_CI_DIR=\"" +
                          g_dir + "\"; " + line + "' 2>&1",
                      rc);
}

class Scheduler : public ::testing::Environment {
 public:
  void SetUp() override {
    if (!HavePrintSpooler()) {
      g_skip = "the library was built without CUPS";
      return;
    }
    if (::geteuid() != 0) {
      g_skip = "the private cupsd needs root";
      return;
    }
    if (!fs::exists("/usr/sbin/cupsd") || !zevtest::HaveTool("lpadmin")) {
      g_skip = "cups-daemon or cups-client is not installed";
      return;
    }
    if (!fs::exists(Script())) {
      g_skip = "the CUPS test script is missing: " + Script();
      return;
    }
    g_dir = "/tmp/zev-cups-" + std::to_string(::getpid());
    int rc = -1;
    std::string out = zevtest::Run("bash -c '. \"" + Script() + "\"; cups_start \"" + g_dir +
                                       "\" >/dev/null || exit 1; echo PID=$CUPS_CI_PID; "
                                       "cups_add_file_queue zevtest default && cups_add_file_queue zevother' 2>&1",
                                   &rc);
    std::size_t at = out.find("PID=");
    if (at != std::string::npos) g_pid = pid_t(std::atol(out.c_str() + at + 4));
    if (rc != 0 || g_pid <= 0) {
      g_skip = "the private cupsd did not start: " + out;
      return;
    }
    // Every CUPS call of this process goes to the private scheduler.
    ::setenv("CUPS_SERVER", (g_dir + "/cups.sock").c_str(), 1);
    ::unsetenv("LPDEST");
    ::unsetenv("PRINTER");
  }
  void TearDown() override {
    if (g_pid > 0) {
      ::kill(g_pid, SIGTERM);
      for (int i = 0; i < 200 && ::kill(g_pid, 0) == 0; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    if (!g_dir.empty()) fs::remove_all(g_dir);
  }
};
const auto* g_env = ::testing::AddGlobalTestEnvironment(new Scheduler);

#define ZEV_NEED_CUPSD()                    \
  do {                                      \
    if (!g_skip.empty()) GTEST_SKIP() << g_skip; \
  } while (0)

// Waits until the scheduler has no pending job.
bool WaitIdle() {
  for (int i = 0; i < 500; ++i) {
    if (Shell("lpstat -o").empty()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return false;
}

std::string Output(const char* queue) { return g_dir + "/out/" + queue + ".pdf"; }

// Prints 'pages' pages, each with "<tag> page N", to a destination.
int PrintJob(const char* dest, const char* tag, int pages, short paper = 0, short orient = DMORIENT_PORTRAIT) {
  DEVMODEA dm{};
  dm.dmFields = DM_ORIENTATION | DM_COPIES;
  dm.dmOrientation = orient;
  dm.dmPaperSize = paper;
  dm.dmCopies = 1;
  HDC dc = CreateDCA(nullptr, dest, nullptr, &dm);
  if (!dc) return -100;
  DOCINFOA doc{sizeof(DOCINFOA), tag, nullptr, nullptr, 0};
  int job = StartDocA(dc, &doc);
  if (job <= 0) {
    DeleteDC(dc);
    return -101;
  }
  HFONT f = CreateFontA(-100, 0, 0, 0, 400, 0, 0, 0, 1, 0, 0, 0, 0x24, "Arial");
  SelectObject(dc, f);
  for (int p = 1; p <= pages; ++p) {
    StartPage(dc);
    std::string text = std::string(tag) + " page " + std::to_string(p);
    TextOutA(dc, 300, 300, text.c_str(), int(text.size()));
    EndPage(dc);
  }
  int r = EndDoc(dc);
  SelectObject(dc, GetStockObject(SYSTEM_FONT));
  DeleteObject(f);
  DeleteDC(dc);
  return r > 0 ? job : -102;
}

}  // namespace

TEST(CupsPrint, ByNameAndDefault) {
  ZEV_NEED_CUPSD();
  ZEV_NEED_POPPLER();
  struct Case {
    const char* dest;    // as asked
    const char* queue;   // the queue that prints it
    const char* tag;
    int pages;
    short paper;
    const char* size;
    short orient = DMORIENT_PORTRAIT;
  } cases[] = {
      {"zevother", "zevother", "Named", 2, 0, "595 x 842 pts (A4)"},
      {"", "zevtest", "Default", 3, 0, "595 x 842 pts (A4)"},
      {"zevtest", "zevtest", "Letter", 1, DMPAPER_LETTER, "612 x 792 pts (letter)"},
      // A landscape document reaches the portrait paper turned a quarter left, once.
      {"zevother", "zevother", "Landscape", 1, DMPAPER_A4, "595 x 842 pts (A4)", DMORIENT_LANDSCAPE},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.tag);
    fs::remove(Output(c.queue));
    ASSERT_GT(PrintJob(c.dest, c.tag, c.pages, c.paper, c.orient), 0);
    ASSERT_TRUE(WaitIdle());
    ASSERT_TRUE(fs::exists(Output(c.queue)));
    EXPECT_EQ(zevtest::PdfInfo(Output(c.queue), "Pages"), std::to_string(c.pages));
    std::string size = zevtest::PdfInfo(Output(c.queue), "Page size");
    EXPECT_EQ(size, c.size);  // the queue's own filter rewrites the PDF with the PPD's sizes
    std::vector<zevtest::PdfWord> words = zevtest::PdfWords(Output(c.queue));
    const zevtest::PdfWord* last = zevtest::FindWord(words, std::to_string(c.pages), c.pages);
    EXPECT_NE(last, nullptr);
    // Where it was drawn: 300 units (36 points) from the page's top left.
    const zevtest::PdfWord* tag = zevtest::FindWord(words, c.tag, 1);
    ASSERT_NE(tag, nullptr);
    EXPECT_NEAR(tag->xMin, 36, 2);
    if (c.orient == DMORIENT_LANDSCAPE) {
      EXPECT_NEAR(tag->yMax, 842 - 36, 4);  // the landscape top is the paper's left edge
      EXPECT_LT(tag->xMax - tag->xMin, tag->yMax - tag->yMin);
    } else {
      EXPECT_NEAR(tag->yMin, 36, 4);
      EXPECT_GT(tag->xMax - tag->xMin, tag->yMax - tag->yMin);
    }
  }
}

TEST(CupsPrint, QueuesAndTheirMedia) {
  ZEV_NEED_CUPSD();
  CString name;
  ASSERT_TRUE(GetDefaultPrinterName(name));
  EXPECT_STREQ(name, "zevtest");
  std::vector<PrintDestination> all = EnumPrintDestinations();
  int seen = 0;
  for (const PrintDestination& d : all) {
    if (d.builtin) continue;
    SCOPED_TRACE(d.name.GetString());
    ++seen;
    EXPECT_EQ(d.isDefault, std::string(d.name) == "zevtest");
    // The test queue's A4 has no margins, which CUPS names borderless.
    EXPECT_EQ(std::string(d.media).rfind("iso_a4_210x297mm", 0), 0u) << d.media.GetString();
    EXPECT_STREQ(d.state, "idle");
  }
  EXPECT_EQ(seen, 2);

  // The device takes its page from the queue: A4 and the printable area it reports.
  HDC dc = CreateDCA(nullptr, "zevother", nullptr, nullptr);
  ASSERT_NE(dc, nullptr);
  EXPECT_EQ(GetDeviceCaps(dc, LOGPIXELSX), 600);
  EXPECT_NEAR(GetDeviceCaps(dc, PHYSICALWIDTH), 4961, 5);  // the queue's A4 is 595 x 842 points
  EXPECT_NEAR(GetDeviceCaps(dc, PHYSICALHEIGHT), 7016, 5);
  EXPECT_LE(GetDeviceCaps(dc, HORZRES) + 2 * GetDeviceCaps(dc, PHYSICALOFFSETX), GetDeviceCaps(dc, PHYSICALWIDTH) + 2);
  EXPECT_GT(GetDeviceCaps(dc, HORZRES), 4000);
  DeleteDC(dc);

  HANDLE h = nullptr;
  ASSERT_TRUE(OpenPrinterA("zevother", &h, nullptr));
  DEVMODEA dm{};
  EXPECT_EQ(DocumentPropertiesA(nullptr, h, nullptr, &dm, nullptr, DM_OUT_BUFFER), IDOK);
  EXPECT_EQ(dm.dmPaperSize, DMPAPER_A4);
  EXPECT_STREQ(dm.dmDeviceName, "zevother");
  ClosePrinter(h);
}

TEST(CupsPrint, UnknownNamesAndNoDefault) {
  ZEV_NEED_CUPSD();
  for (const char* name : {"nosuchqueue", "zevtest2", "zev test"}) {
    SCOPED_TRACE(name);
    HANDLE h = nullptr;
    SetLastError(0);
    EXPECT_FALSE(OpenPrinterA(name, &h, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(CreateDCA(nullptr, name, nullptr, nullptr), nullptr);
  }
  // A default that names no queue is no default: the choice fails.
  ::setenv("LPDEST", "nosuchqueue", 1);
  HANDLE h = nullptr;
  SetLastError(0);
  EXPECT_FALSE(OpenPrinterA("", &h, nullptr));
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  PRINTDLGA pd{};
  EXPECT_FALSE(GetPrinterDeviceDefaults(&pd));
  // LPDEST chooses the default among the queues.
  ::setenv("LPDEST", "zevother", 1);
  CString name;
  EXPECT_TRUE(GetDefaultPrinterName(name));
  EXPECT_STREQ(name, "zevother");
  ::unsetenv("LPDEST");
}

TEST(CupsPrint, CancelLeavesNoOutput) {
  ZEV_NEED_CUPSD();
  enum How { kAbortDoc, kDeleteDC };
  for (How how : {kAbortDoc, kDeleteDC}) {
    SCOPED_TRACE(how);
    fs::remove(Output("zevother"));
    HDC dc = CreateDCA(nullptr, "zevother", nullptr, nullptr);
    ASSERT_NE(dc, nullptr);
    DOCINFOA doc{sizeof(DOCINFOA), "cancelled", nullptr, nullptr, 0};
    int job = StartDocA(dc, &doc);
    ASSERT_GT(job, 0);
    for (int p = 0; p < 3; ++p) {
      StartPage(dc);
      TextOutA(dc, 300, 300, "never printed", 13);
      EndPage(dc);
    }
    if (how == kAbortDoc) {
      EXPECT_GT(AbortDoc(dc), 0);
      EXPECT_LT(EndDoc(dc), 0);
    }
    DeleteDC(dc);
    ASSERT_TRUE(WaitIdle());
    EXPECT_FALSE(fs::exists(Output("zevother")));
    std::string state = Shell("lpstat -W completed -o zevother");
    EXPECT_NE(state.find("zevother-" + std::to_string(job)), std::string::npos) << state;
  }
  // The queue still prints after a cancel.
  ASSERT_GT(PrintJob("zevother", "After", 1), 0);
  ASSERT_TRUE(WaitIdle());
  EXPECT_TRUE(fs::exists(Output("zevother")));
}
