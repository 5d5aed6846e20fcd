// Scope markers in the trace and the verify checks.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include "FrameTestUtil.h"
#include "zevutil/VqeReportStream.h"

using namespace zev;
using zevtest::EventLog;

TEST(CScopeMsg, IndentFollowsDepthUpToEighteenTabs) {
  constexpr int kLevels = 31;
  EventLog log;
  {
    std::vector<std::unique_ptr<CScopeMsg>> scopes;
    for (int d = 0; d < kLevels; ++d) scopes.push_back(std::make_unique<CScopeMsg>("level %d", d));
    EXPECT_EQ(CScopeMsg::GetDepth(), kLevels);
    EXPECT_STREQ(scopes.back()->GetMsg(), "level 30");
    while (!scopes.empty()) scopes.pop_back();
  }
  EXPECT_EQ(CScopeMsg::GetDepth(), 0);
  ASSERT_EQ(log.events.size(), size_t(2 * kLevels));
  for (int d = 0; d < kLevels; ++d) {
    SCOPED_TRACE(d);
    std::string tabs(size_t(std::min(d, 18)), '\t');
    EXPECT_EQ(log.events[size_t(d)], "T:" + tabs + ">> Start: level " + std::to_string(d) + "\n");
    EXPECT_EQ(log.events[size_t(2 * kLevels - 1 - d)], "T:" + tabs + "<<  Stop: level " + std::to_string(d) + "\n");
  }
  // The text is cut at 511 characters.
  CScopeMsg longOne("%s", std::string(700, 'L').c_str());
  EXPECT_EQ(std::string(longOne.GetMsg()), std::string(511, 'L'));
}

TEST(CTimeStub, TracesStartAndStopWithLevels) {
  EventLog log;
  {
    CTimeStub outer("outer %d", 1);
    CTimeStub inner;
    EXPECT_EQ(CTimeStub::sm_nNestLevel, 2);
    EXPECT_EQ(CTimeStub::sm_dwLevel0Start, outer.GetStartTick());
  }
  EXPECT_EQ(CTimeStub::sm_nNestLevel, 0);
  const std::regex start(R"(T:\|\|StartStubLevel ( \d), tick= *(\d+) dmark= *-?\d+ (.*)\n)");
  const std::regex stop(R"(T:--StopStubLevel ( \d), dMark= *\d+  elapsed +\d+  (.*)\n)");
  const char* expect[][2] = {{" 0", "outer 1"}, {" 1", ""}, {" 1", ""}, {" 0", "outer 1"}};
  ASSERT_EQ(log.events.size(), 4u);
  for (size_t i = 0; i < 4; ++i) {
    SCOPED_TRACE(log.events[i]);
    std::smatch m;
    ASSERT_TRUE(std::regex_match(log.events[i], m, i < 2 ? start : stop));
    EXPECT_EQ(m[1], expect[i][0]);
    EXPECT_EQ(m[m.size() - 1], expect[i][1]);
    if (i == 0) {
      EXPECT_EQ(m[2], "0");  // level 0 starts its own clock
    }
  }
}

// Pages of the test's own: 200 readable ones (more than the host asks about in one
// call), then one without access, then a hole where a page was unmapped.
class ProbePages {
 public:
  static constexpr size_t kReadable = 200;
  ProbePages() : m_page(size_t(sysconf(_SC_PAGESIZE))) {
    void* p = mmap(nullptr, (kReadable + 2) * m_page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (p == MAP_FAILED) return;
    m_base = static_cast<char*>(p);
    mprotect(Page(kReadable), m_page, PROT_NONE);
    munmap(Page(kReadable + 1), m_page);
  }
  ~ProbePages() {
    if (m_base) munmap(m_base, (kReadable + 1) * m_page);
  }
  bool ok() const { return m_base != nullptr; }
  char* Page(size_t i) const { return m_base + i * m_page; }
  UINT PageSize() const { return UINT(m_page); }

 private:
  size_t m_page;
  char* m_base = nullptr;
};

TEST(ZevVerify, ResultsAndTraceLines) {
  int value = 0;
  ProbePages pages;
  ASSERT_TRUE(pages.ok());
  char* const noAccess = pages.Page(ProbePages::kReadable);
  char* const hole = pages.Page(ProbePages::kReadable + 1);
  const UINT all = UINT(ProbePages::kReadable) * pages.PageSize();
  const std::vector<char> heap(100000);
  struct Case { const char* name; bool ptr; const void* p; UINT size; BOOL quiet; BOOL expect; };
  const Case cases[] = {
      {"true value", false, &value, 1, FALSE, TRUE},
      {"false value", false, nullptr, 0, FALSE, FALSE},
      {"false value, quiet", false, nullptr, 0, TRUE, FALSE},
      {"object", true, &value, sizeof value, FALSE, TRUE},
      {"empty range", true, &value, 0, FALSE, TRUE},
      {"null", true, nullptr, 4, FALSE, FALSE},
      {"null, empty", true, nullptr, 0, FALSE, FALSE},
      {"wrapping", true, reinterpret_cast<const void*>(UINTPTR_MAX - 2), 16, FALSE, FALSE},
      {"up to the last byte: not user memory", true, reinterpret_cast<const void*>(UINTPTR_MAX - 15), 16, FALSE,
       FALSE},
      {"wrapping, quiet", true, reinterpret_cast<const void*>(UINTPTR_MAX), 2, TRUE, FALSE},
      {"unmapped low address", true, reinterpret_cast<const void*>(0x10), 4, FALSE, FALSE},
      {"unmapped low address, quiet", true, reinterpret_cast<const void*>(0x10), 1, TRUE, FALSE},
      {"unmapped, empty range", true, reinterpret_cast<const void*>(0x10), 0, FALSE, TRUE},
      {"every readable page", true, pages.Page(0), all, FALSE, TRUE},
      {"last byte before the closed page", true, noAccess - 1, 1, FALSE, TRUE},
      {"one byte into the closed page", true, noAccess - 1, 2, FALSE, FALSE},
      {"readable pages running into the closed one", true, pages.Page(1), all, FALSE, FALSE},
      {"inside the closed page", true, noAccess + 100, 8, FALSE, FALSE},
      {"unmapped hole", true, hole, 1, FALSE, FALSE},
      {"heap block", true, heap.data(), UINT(heap.size()), FALSE, TRUE},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EventLog log;
    BOOL r = c.ptr ? ZevVerifyPtr(c.p, c.size, "check.cpp", 42, c.quiet)
                   : ZevVerifyX(c.p != nullptr, "check.cpp", 42, c.quiet);
    EXPECT_EQ(r, c.expect);
    std::vector<std::string> expect;
    if (!c.expect && !c.quiet)
      expect.push_back(std::string("T:") + (c.ptr ? "ZevVerifyPtr" : "ZevVerifyX") +
                       " failure detected in file check.cpp, line 42\n");
    EXPECT_EQ(log.events, expect);
  }
}
