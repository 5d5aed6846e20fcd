// COleDateTime: DATE values to and from calendar parts (proleptic Gregorian).
#include "zevutil/platform/COleDateTime.h"

#include <cmath>

#include "platform/CivilDays.h"

namespace zev {

namespace {

using civil::DaysFromCivil;

constexpr long long kDateEpochFromUnix = -25569;  // 1899-12-30 in days from 1970-01-01
constexpr double kMinDate = -657434.0;             // 0100-01-01
constexpr double kMaxDate = 2958465.99999;         // 9999-12-31 23:59:59

bool IsLeap(int y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }
int DaysInMonth(int y, int m) {
  static const int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return m == 2 && IsLeap(y) ? 29 : kDays[m - 1];
}

struct Parts {
  int year, month, day, hour, minute, second, dayOfWeek, dayOfYear;
};

bool Split(DATE dt, Parts& p) {
  if (!(dt >= kMinDate && dt <= kMaxDate)) return false;
  // The whole part counts days toward zero; the fraction is always the time of day.
  double whole = std::trunc(dt);
  long long days = (long long)whole;
  long long secs = std::llround(std::fabs(dt - whole) * 86400.0);
  if (secs >= 86400) {
    secs -= 86400;
    ++days;
  }
  long long unixDays = days + kDateEpochFromUnix;
  long long year = 0;
  civil::CivilFromDays(unixDays, year, p.month, p.day);
  p.year = int(year);
  p.hour = int(secs / 3600);
  p.minute = int(secs / 60 % 60);
  p.second = int(secs % 60);
  p.dayOfWeek = int(((unixDays % 7) + 11) % 7);  // 1970-01-01 was a Thursday; 0 = Sunday
  p.dayOfYear = int(unixDays - DaysFromCivil(p.year, 1, 1)) + 1;
  return true;
}

}  // namespace

COleDateTime::COleDateTime(const SYSTEMTIME& st) {
  SetDateTime(st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond);
}

COleDateTime::COleDateTime(std::time_t t) {
  struct tm tm {};
  if (!localtime_r(&t, &tm)) {
    m_status = invalid;
    return;
  }
  SetDateTime(tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec);
}

COleDateTime COleDateTime::GetCurrentTime() { return COleDateTime(std::time(nullptr)); }

int COleDateTime::SetDateTime(int year, int month, int day, int hour, int min, int sec) {
  if (year < 100 || year > 9999 || month < 1 || month > 12 || day < 1 || day > DaysInMonth(year, month) ||
      hour < 0 || hour > 23 || min < 0 || min > 59 || sec < 0 || sec > 59) {
    m_status = invalid;
    return 1;
  }
  long long days = DaysFromCivil(year, unsigned(month), unsigned(day)) - kDateEpochFromUnix;
  double frac = (hour * 3600.0 + min * 60.0 + sec) / 86400.0;
  m_dt = days >= 0 ? double(days) + frac : double(days) - frac;
  m_status = valid;
  return 0;
}

#define ZEV_OLE_PART(name, field)        \
  int COleDateTime::name() const {       \
    Parts p;                             \
    if (m_status != valid || !Split(m_dt, p)) return -1; \
    return field;                        \
  }
ZEV_OLE_PART(GetYear, p.year)
ZEV_OLE_PART(GetMonth, p.month)
ZEV_OLE_PART(GetDay, p.day)
ZEV_OLE_PART(GetHour, p.hour)
ZEV_OLE_PART(GetMinute, p.minute)
ZEV_OLE_PART(GetSecond, p.second)
ZEV_OLE_PART(GetDayOfWeek, p.dayOfWeek + 1)
ZEV_OLE_PART(GetDayOfYear, p.dayOfYear)
#undef ZEV_OLE_PART

BOOL COleDateTime::GetAsSystemTime(SYSTEMTIME& st) const {
  Parts p;
  if (m_status != valid || !Split(m_dt, p)) return FALSE;
  st = SYSTEMTIME{WORD(p.year), WORD(p.month), WORD(p.dayOfWeek), WORD(p.day),
                  WORD(p.hour), WORD(p.minute), WORD(p.second), 0};
  return TRUE;
}

bool COleDateTime::GetAsTm(struct tm& out) const {
  Parts p;
  if (m_status != valid || !Split(m_dt, p)) return false;
  out = tm{};
  out.tm_year = p.year - 1900;
  out.tm_mon = p.month - 1;
  out.tm_mday = p.day;
  out.tm_hour = p.hour;
  out.tm_min = p.minute;
  out.tm_sec = p.second;
  out.tm_wday = p.dayOfWeek;
  out.tm_yday = p.dayOfYear - 1;
  out.tm_isdst = -1;
  return true;
}

CString COleDateTime::Format(const char* fmt) const {
  if (m_status == null) return CString();
  struct tm tm {};
  if (m_status != valid || !GetAsTm(tm)) return CString("Invalid DateTime");
  return FormatTm(fmt ? fmt : "", tm);
}

}  // namespace zev
