// CTime over the C library's mktime/localtime.
#include "zevutil/platform/CTime.h"

#include <cstring>
#include <ctime>
#include <mutex>
#include <string>

#include "platform/CivilDays.h"

namespace zev {

namespace {
// The old runtime accepted only results from 1970 to 3000.
constexpr std::int64_t kMaxTime = 32535215999;  // 3000-12-31 23:59:59 UTC

// mktime re-reads the zone (a stat of its file) on every call, which costs more than
// the rest of reading a trace's run dates. localtime_r does not, so where the answer
// cannot depend on how mktime resolves a clock change, the time is found with
// localtime_r instead: the local fields, normalised as mktime normalises them, must be
// those of the time found, the daylight flag asked for (if any) must be the one in
// force, and the zone's offset must be the same a day before and a day after, so no
// change is near. Anything else is left to mktime. The zone is read once first, as
// mktime would have done.
bool MakeTimeWithoutChange(int year, int month, int day, int hour, int min, int sec, int nDST, std::int64_t& out) {
  static std::once_flag zoneRead;
  std::call_once(zoneRead, [] { tzset(); });
  const std::int64_t months = std::int64_t(month) - 1;
  const std::int64_t y = std::int64_t(year) + (months >= 0 ? months / 12 : (months - 11) / 12);
  const int m = int(months - (y - year) * 12) + 1;
  const std::int64_t local = (civil::DaysFromCivil(y, unsigned(m), 1) + std::int64_t(day) - 1) * 86400 + std::int64_t(hour) * 3600 +
                             std::int64_t(min) * 60 + sec;
  constexpr std::int64_t kDay = 86400;
  if (local < 2 * kDay || local > kMaxTime - 2 * kDay) return false;
  std::time_t t = std::time_t(local);
  struct tm tm {};
  for (int i = 0;; ++i) {
    if (i == 3 || !localtime_r(&t, &tm)) return false;
    const std::time_t next = std::time_t(local - tm.tm_gmtoff);
    if (next == t) break;
    t = next;
  }
  long long wantYear;
  int wantMonth, wantDay;
  civil::CivilFromDays(local / kDay, wantYear, wantMonth, wantDay);
  const std::int64_t secOfDay = local % kDay;
  if (tm.tm_year + std::int64_t(1900) != wantYear || tm.tm_mon + 1 != wantMonth || tm.tm_mday != wantDay ||
      tm.tm_hour != secOfDay / 3600 || tm.tm_min != secOfDay / 60 % 60 || tm.tm_sec != secOfDay % 60)
    return false;
  if (nDST >= 0 && (nDST > 0) != (tm.tm_isdst > 0)) return false;
  for (std::time_t near : {t - kDay, t + kDay}) {
    struct tm other {};
    if (!localtime_r(&near, &other) || other.tm_gmtoff != tm.tm_gmtoff || other.tm_isdst != tm.tm_isdst) return false;
  }
  out = std::int64_t(t);
  return true;
}

std::int64_t MakeTime(int year, int month, int day, int hour, int min, int sec, int nDST) {
  std::int64_t fast;
  if (MakeTimeWithoutChange(year, month, day, hour, min, sec, nDST, fast)) return fast;
  struct tm tm {};
  tm.tm_year = year - 1900;
  tm.tm_mon = month - 1;
  tm.tm_mday = day;
  tm.tm_hour = hour;
  tm.tm_min = min;
  tm.tm_sec = sec;
  tm.tm_isdst = nDST;
  std::time_t t = std::mktime(&tm);
  if (t == std::time_t(-1) || t < 0 || t > kMaxTime) return -1;
  return std::int64_t(t);
}
}  // namespace

CTime::CTime(int year, int month, int day, int hour, int min, int sec, int nDST)
    : m_time(MakeTime(year, month, day, hour, min, sec, nDST)) {}

CTime::CTime(WORD dosDate, WORD dosTime, int nDST)
    : m_time(MakeTime((dosDate >> 9) + 1980, (dosDate >> 5) & 15, dosDate & 31, dosTime >> 11,
                      (dosTime >> 5) & 0x3F, (dosTime & 0x1F) * 2, nDST)) {}

CTime::CTime(const SYSTEMTIME& st, int nDST) {
  if (st.wYear < 1900) {
    m_time = 0;
    return;
  }
  m_time = MakeTime(st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond, nDST);
}

CTime CTime::GetCurrentTime() { return CTime(std::int64_t(std::time(nullptr))); }

struct tm* CTime::GetLocalTm(struct tm* out) const {
  if (!out || m_time < 0) return nullptr;
  std::time_t t = std::time_t(m_time);
  return localtime_r(&t, out);
}

struct tm* CTime::GetGmtTm(struct tm* out) const {
  if (!out || m_time < 0) return nullptr;
  std::time_t t = std::time_t(m_time);
  return gmtime_r(&t, out);
}

#define ZEV_TM_FIELD(expr)             \
  struct tm tm {};                     \
  if (!GetLocalTm(&tm)) return 0;      \
  return expr;

int CTime::GetYear() const { ZEV_TM_FIELD(tm.tm_year + 1900) }
int CTime::GetMonth() const { ZEV_TM_FIELD(tm.tm_mon + 1) }
int CTime::GetDay() const { ZEV_TM_FIELD(tm.tm_mday) }
int CTime::GetHour() const { ZEV_TM_FIELD(tm.tm_hour) }
int CTime::GetMinute() const { ZEV_TM_FIELD(tm.tm_min) }
int CTime::GetSecond() const { ZEV_TM_FIELD(tm.tm_sec) }
int CTime::GetDayOfWeek() const { ZEV_TM_FIELD(tm.tm_wday + 1) }
#undef ZEV_TM_FIELD

BOOL CTime::GetAsSystemTime(SYSTEMTIME& st) const {
  struct tm tm {};
  if (!GetLocalTm(&tm)) return FALSE;
  st.wYear = WORD(tm.tm_year + 1900);
  st.wMonth = WORD(tm.tm_mon + 1);
  st.wDayOfWeek = WORD(tm.tm_wday);
  st.wDay = WORD(tm.tm_mday);
  st.wHour = WORD(tm.tm_hour);
  st.wMinute = WORD(tm.tm_min);
  st.wSecond = WORD(tm.tm_sec);
  st.wMilliseconds = 0;
  return TRUE;
}

CString FormatTm(const char* fmt, const struct tm& tm) {
  if (!fmt) return CString();
  std::string f;
  for (const char* p = fmt; *p; ++p) {
    if (*p != '%') { f += *p; continue; }
    char n = p[1];
    if (n == '\0') { f += '%'; break; }
    if (n == '#') {
      char c = p[2];
      if (c == '\0') break;
      if (c == 'c') f += "%A, %B %d, %Y %H:%M:%S";
      else if (c == 'x') f += "%A, %B %d, %Y";
      else if (std::strchr("dHIjmMSUwWyY", c)) { f += "%-"; f += c; }
      else { f += '%'; f += c; }
      p += 2;
      continue;
    }
    if (n == 'c') f += "%m/%d/%y %H:%M:%S";
    else { f += '%'; f += n; }
    ++p;
  }
  char buf[129];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  size_t n = std::strftime(buf, sizeof buf, f.c_str(), &tm);
#pragma GCC diagnostic pop
  if (n == 0) return CString();
  return CString(buf, int(n));
}

CString CTime::Format(const char* fmt) const {
  struct tm tm {};
  if (!GetLocalTm(&tm)) return CString();
  return FormatTm(fmt, tm);
}

CString CTime::FormatGmt(const char* fmt) const {
  struct tm tm {};
  if (!GetGmtTm(&tm)) return CString();
  return FormatTm(fmt, tm);
}

}  // namespace zev
