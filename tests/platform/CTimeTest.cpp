// CTime: construction rules of the old runtime, local-time formatting, the stored width.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <vector>

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

// Local times resolve as mktime resolves them, in zones with and without clock
// changes (whole, half-hour and 45-minute offsets; southern summers), on random days
// and on the hours around each zone's changes, with every daylight flag, and with
// fields that need normalising.
TEST(CTime, LocalTimesResolveAsMktime) {
  auto viaMktime = [](int y, int mo, int d, int h, int mi, int s, int dst) -> std::int64_t {
    struct tm tm {};
    tm.tm_year = y - 1900, tm.tm_mon = mo - 1, tm.tm_mday = d, tm.tm_hour = h, tm.tm_min = mi, tm.tm_sec = s;
    tm.tm_isdst = dst;
    std::time_t t = std::mktime(&tm);
    return t == std::time_t(-1) || t < 0 || t > 32535215999 ? -1 : std::int64_t(t);
  };
  std::uint32_t seed = 99;
  auto next = [&seed](std::uint32_t mod) { return seed = seed * 1103515245u + 12345u, (seed >> 8) % mod; };
  int compared = 0;
  for (const char* zone : {"UTC", "America/New_York", "Europe/London", "Australia/Lord_Howe", "Asia/Kolkata",
                           "Pacific/Chatham", "America/Sao_Paulo"}) {
    ZoneGuard tz(zone);
    struct Fields { int y, mo, d, h, mi, s; };
    std::vector<Fields> cases = {{1970, 1, 1, 0, 0, 0}, {1970, 1, 3, 0, 0, 0}, {2000, 13, 1, 0, 0, 0},
                                 {2000, 1, 0, 25, 61, 61}, {2000, 0, 31, -1, 0, -1}, {3000, 12, 31, 23, 59, 59},
                                 {3000, 12, 30, 0, 0, 0}, {2038, 1, 19, 3, 14, 8}, {1969, 12, 31, 23, 59, 59}};
    for (int i = 0; i < 300; ++i)
      cases.push_back({int(1970 + next(1031)), int(1 + next(12)), int(1 + next(28)), int(next(24)), int(next(60)),
                       int(next(60))});
    // Every quarter hour of the days of each change of the zone between 1990 and 2030.
    for (std::int64_t t = 631152000; t < 1893456000; t += 86400) {
      std::time_t a = std::time_t(t), b = std::time_t(t + 86400);
      struct tm ta {}, tb {};
      localtime_r(&a, &ta);
      localtime_r(&b, &tb);
      if (ta.tm_gmtoff == tb.tm_gmtoff) continue;
      // Both local days, including the hour that is skipped or repeated.
      for (const struct tm* day : {&ta, &tb})
        for (int h = 0; h < 24; ++h)
          for (int mi : {0, 15, 30, 45}) cases.push_back({day->tm_year + 1900, day->tm_mon + 1, day->tm_mday, h, mi, 0});
    }
    for (const Fields& f : cases)
      for (int dst : {-1, 0, 1}) {
        ASSERT_EQ(CTime(f.y, f.mo, f.d, f.h, f.mi, f.s, dst).GetTime(), viaMktime(f.y, f.mo, f.d, f.h, f.mi, f.s, dst))
            << zone << " " << f.y << "-" << f.mo << "-" << f.d << " " << f.h << ":" << f.mi << ":" << f.s << " dst "
            << dst;
        ++compared;
      }
  }
  EXPECT_GT(compared, 10000);
}
