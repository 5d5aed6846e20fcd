// CZevDateTime: the format string from the locale, and every way to format a time.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "zevutil/CZevDateTime.h"

using namespace zev;

namespace {

class ZevDateTime : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* tz = std::getenv("TZ");
    m_oldTz = tz ? tz : "";
    m_hadTz = tz != nullptr;
    ::setenv("TZ", "UTC", 1);
    ::tzset();
  }
  void TearDown() override {
    if (m_hadTz) ::setenv("TZ", m_oldTz.c_str(), 1);
    else ::unsetenv("TZ");
    ::tzset();
  }
  std::string m_oldTz;
  bool m_hadTz = false;
};

TEST_F(ZevDateTime, FormatStringFollowsTheLocale) {
  // The tests run in the "C" locale: month, day, year with '/' and ':'.
  EXPECT_STREQ(CZevDateTime::DateTimeFormatString(), "%m/%d/%y %H:%M:%S");
  char buf[40];
  EXPECT_EQ(CZevDateTime::DateTimeFormatString(buf, 40), buf);
  EXPECT_STREQ(buf, "%m/%d/%y %H:%M:%S");
  char small[39] = "untouched";
  EXPECT_EQ(CZevDateTime::DateTimeFormatString(small, 39), small);
  EXPECT_STREQ(small, "");
  EXPECT_EQ(CZevDateTime::DateTimeFormatString(nullptr, 100), nullptr);
}

TEST_F(ZevDateTime, EveryFormOfTimeGivesTheSameText) {
  // 2001-02-03 04:05:06 UTC
  const LONG seconds = 981173106;
  struct tm tm {};
  tm.tm_year = 101;
  tm.tm_mon = 1;
  tm.tm_mday = 3;
  tm.tm_hour = 4;
  tm.tm_min = 5;
  tm.tm_sec = 6;
  SYSTEMTIME st{2001, 2, 6, 3, 4, 5, 6, 789};
  const char* want = "02/03/01 04:05:06";
  EXPECT_STREQ(CZevDateTime::DateTimeFormat(seconds), want);
  EXPECT_STREQ(CZevDateTime::DateTimeFormat(CTime(std::int64_t(seconds))), want);
  EXPECT_STREQ(CZevDateTime::DateTimeFormat(&tm), want);
  EXPECT_STREQ(CZevDateTime::DateTimeFormat(st), want);
  EXPECT_STREQ(CZevDateTime::DateTimeFormat(COleDateTime(2001, 2, 3, 4, 5, 6)), want);
  EXPECT_STREQ(CZevDateTime::DateTimeFormat(static_cast<const struct tm*>(nullptr)), "");
  EXPECT_EQ(CZevDateTime::DateTimeFormat().GetLength(), 17);
}

}  // namespace
