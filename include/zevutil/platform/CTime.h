// CTime and CTimeSpan: seconds since 1970 UTC, shown in local time through the C library.
// Stored in an archive as 4 bytes. Tests that pin local times set TZ first.
#pragma once
#include <ctime>

#include "zevutil/platform/CString.h"

namespace zev {

struct SYSTEMTIME {
  WORD wYear, wMonth, wDayOfWeek, wDay, wHour, wMinute, wSecond, wMilliseconds;
};

class CTimeSpan {
 public:
  CTimeSpan() = default;
  CTimeSpan(std::int64_t seconds) : m_span(seconds) {}  // NOLINT
  CTimeSpan(LONG days, int hours, int mins, int secs)
      : m_span(std::int64_t(days) * 86400 + std::int64_t(hours) * 3600 + mins * 60 + secs) {}
  std::int64_t GetTotalSeconds() const { return m_span; }
  std::int64_t GetTotalMinutes() const { return m_span / 60; }
  std::int64_t GetTotalHours() const { return m_span / 3600; }
  std::int64_t GetDays() const { return m_span / 86400; }
  LONG GetHours() const { return LONG(GetTotalHours() - GetDays() * 24); }
  LONG GetMinutes() const { return LONG(GetTotalMinutes() - GetTotalHours() * 60); }
  LONG GetSeconds() const { return LONG(m_span - GetTotalMinutes() * 60); }
  CTimeSpan operator+(CTimeSpan o) const { return m_span + o.m_span; }
  CTimeSpan operator-(CTimeSpan o) const { return m_span - o.m_span; }
  auto operator<=>(const CTimeSpan&) const = default;

 private:
  std::int64_t m_span = 0;
};

class CTime {
 public:
  CTime() = default;
  CTime(std::int64_t t) : m_time(t) {}  // NOLINT: implicit as in the framework
  // Local date and time, normalised by mktime as the old runtime did in release
  // builds: (2000,13,1) is 2001-01-01. A time before 1970 or after 3000 gives -1.
  CTime(int year, int month, int day, int hour, int min, int sec, int nDST = -1);
  // A DOS date and time. Kept: CTime(2000, 1, 1) resolves here, as it always did.
  CTime(WORD dosDate, WORD dosTime, int nDST = -1);
  // Years before 1900 give the time 0.
  CTime(const SYSTEMTIME& st, int nDST = -1);

  static CTime GetCurrentTime();

  std::int64_t GetTime() const { return m_time; }
  // Broken-down local (or UTC) time; null when the time can't be converted.
  struct tm* GetLocalTm(struct tm* out) const;
  struct tm* GetGmtTm(struct tm* out) const;
  int GetYear() const;
  int GetMonth() const;
  int GetDay() const;
  int GetHour() const;
  int GetMinute() const;
  int GetSecond() const;
  int GetDayOfWeek() const;  // 1 = Sunday
  BOOL GetAsSystemTime(SYSTEMTIME& st) const;

  // strftime in the C library's current locale, with the old runtime's extras:
  // %c is "MM/dd/yy HH:mm:ss", %#c the long form, %#d and kin drop leading zeros.
  // An unconvertible time or a result over 128 characters gives an empty string.
  CString Format(const char* fmt) const;
  CString FormatGmt(const char* fmt) const;

  CTimeSpan operator-(CTime o) const { return m_time - o.m_time; }
  CTime operator-(CTimeSpan s) const { return m_time - s.GetTotalSeconds(); }
  CTime operator+(CTimeSpan s) const { return m_time + s.GetTotalSeconds(); }
  CTime& operator+=(CTimeSpan s) { m_time += s.GetTotalSeconds(); return *this; }
  CTime& operator-=(CTimeSpan s) { m_time -= s.GetTotalSeconds(); return *this; }
  auto operator<=>(const CTime&) const = default;

 private:
  std::int64_t m_time = 0;
};

// strftime with the translation above, used by CTime and COleDateTime.
CString FormatTm(const char* fmt, const struct tm& tm);

}  // namespace zev
