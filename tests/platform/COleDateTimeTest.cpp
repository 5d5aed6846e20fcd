// COleDateTime: DATE values, calendar parts, validation and formatting.
#include <gtest/gtest.h>

#include "zevutil/platform/COleDateTime.h"

using namespace zev;

namespace {

TEST(COleDateTime, CalendarAndValidation) {
  struct Case {
    int y, mo, d, h, mi, s;
    double date;
  } cases[] = {
      {1899, 12, 30, 0, 0, 0, 0.0},     {1900, 1, 1, 0, 0, 0, 2.0},      {2000, 1, 1, 12, 0, 0, 36526.5},
      {1899, 12, 29, 6, 0, 0, -1.25},   {100, 1, 1, 0, 0, 0, -657434.0}, {9999, 12, 31, 0, 0, 0, 2958465.0},
      {2024, 2, 29, 23, 59, 59, 45351.0 + 86399.0 / 86400.0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.date);
    COleDateTime t(c.y, c.mo, c.d, c.h, c.mi, c.s);
    EXPECT_EQ(t.GetStatus(), COleDateTime::valid);
    EXPECT_NEAR(double(t), c.date, 1e-9);
    COleDateTime back(c.date);
    EXPECT_EQ(back.GetYear(), c.y);
    EXPECT_EQ(back.GetMonth(), c.mo);
    EXPECT_EQ(back.GetDay(), c.d);
    EXPECT_EQ(back.GetHour(), c.h);
    EXPECT_EQ(back.GetMinute(), c.mi);
    EXPECT_EQ(back.GetSecond(), c.s);
  }
  EXPECT_EQ(COleDateTime(2000, 1, 1, 0, 0, 0).GetDayOfWeek(), 7);  // a Saturday
  const int invalid[][6] = {{2001, 2, 29, 0, 0, 0}, {2000, 2, 30, 0, 0, 0}, {99, 1, 1, 0, 0, 0},
                            {2000, 13, 1, 0, 0, 0}, {2000, 1, 1, 24, 0, 0}, {2000, 1, 1, 0, 60, 0}};
  for (const auto& p : invalid) {
    COleDateTime t(p[0], p[1], p[2], p[3], p[4], p[5]);
    EXPECT_EQ(t.GetStatus(), COleDateTime::invalid) << p[0] << "-" << p[1] << "-" << p[2];
    EXPECT_STREQ(t.Format("%Y"), "Invalid DateTime");
  }
  COleDateTime n;
  n.SetStatus(COleDateTime::null);
  EXPECT_STREQ(n.Format("%Y"), "");
  EXPECT_STREQ(COleDateTime(1999, 3, 19, 22, 15, 0).Format("%A, %B %d, %Y %H:%M:%S"), "Friday, March 19, 1999 22:15:00");
  SYSTEMTIME st{};
  ASSERT_TRUE(COleDateTime(2004, 7, 4, 1, 2, 3).GetAsSystemTime(st));
  EXPECT_EQ(st.wYear, 2004);
  EXPECT_EQ(st.wDayOfWeek, 0);  // a Sunday
  EXPECT_EQ(COleDateTime(st).m_dt, COleDateTime(2004, 7, 4, 1, 2, 3).m_dt);
}

}  // namespace
