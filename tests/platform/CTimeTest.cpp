// CTime: construction rules of the old runtime, local-time formatting, the stored width.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "zevutil/platform/CArchive.h"
#include "zevutil/platform/CTime.h"

using namespace zev;

namespace {
// Pins the time zone for one test and restores it after.
class ZoneGuard {
 public:
  explicit ZoneGuard(const char* tz) {
    const char* old = std::getenv("TZ");
    m_had = old != nullptr;
    if (old) m_old = old;
    setenv("TZ", tz, 1);
    tzset();
  }
  ~ZoneGuard() {
    if (m_had) setenv("TZ", m_old.c_str(), 1);
    else unsetenv("TZ");
    tzset();
  }

 private:
  bool m_had = false;
  std::string m_old;
};
}  // namespace

TEST(CTime, ConstructionFollowsTheOldRuntime) {
  ZoneGuard tz("UTC");
  struct Case { const char* name; CTime t; const char* want; };
  const Case cases[] = {
      // Three ints pick the DOS date constructor: 1983-14-16 normalises, and the
      // forced daylight flag takes an hour off.
      {"three ints are a DOS date", CTime(2000, 1, 1), "1984-02-15 23:00:02"},
      {"plain", CTime(1999, 3, 19, 22, 15, 0), "1999-03-19 22:15:00"},
      {"month 13 normalises", CTime(2000, 13, 1, 0, 0, 0), "2001-01-01 00:00:00"},
      {"day 0 normalises", CTime(2000, 1, 0, 0, 0, 0), "1999-12-31 00:00:00"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_STREQ(c.t.Format("%Y-%m-%d %H:%M:%S"), c.want);
  }
  EXPECT_EQ(CTime(1969, 12, 31, 0, 0, 0).GetTime(), -1);
  EXPECT_EQ(CTime(0, 1, 1, 0, 0, 0).GetTime(), -1);
  EXPECT_STREQ(CTime(std::int64_t(-1)).Format("%Y"), "");
}

TEST(CTime, FormatExtras) {
  ZoneGuard tz("UTC");
  CTime t(1999, 3, 19, 22, 15, 0);
  EXPECT_STREQ(t.Format("%c"), "03/19/99 22:15:00");
  EXPECT_STREQ(t.Format("%A, %B %d, %Y %H:%M:%S"), "Friday, March 19, 1999 22:15:00");
  EXPECT_STREQ(t.Format("%y%m%d%H"), "99031922");
  EXPECT_STREQ(CTime(2001, 2, 3, 4, 5, 6).Format("%#d/%#m"), "3/2");
  EXPECT_EQ(t.GetDayOfWeek(), 6);
}

TEST(CTime, LocalZoneShiftsFields) {
  ZoneGuard tz("America/New_York");
  EXPECT_STREQ(CTime(std::int64_t(0)).Format("%x"), "12/31/69");
  EXPECT_STREQ(CTime(2000, 1, 1).Format("%Y-%m-%d %H:%M:%S"), "1984-02-15 23:00:02");
}

TEST(CTime, StoredAsFourBytes) {
  CMemFile f;
  {
    CArchive ar(&f, CArchive::store);
    ar << CTime(std::int64_t(1000000000));
  }
  EXPECT_EQ(f.GetLength(), 4u);
  f.SeekToBegin();
  CArchive ar(&f, CArchive::load);
  CTime back;
  ar >> back;
  EXPECT_EQ(back.GetTime(), 1000000000);
}
