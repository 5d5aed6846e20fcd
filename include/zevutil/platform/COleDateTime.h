// COleDateTime: a date and time as a DATE (days since 1899-12-30 00:00, the
// fraction being the time of day), valid for the years 100 to 9999.
#pragma once
#include <ctime>

#include "zevutil/platform/CString.h"
#include "zevutil/platform/CTime.h"

namespace zev {

using DATE = double;

class COleDateTime {
 public:
  enum DateTimeStatus { error = -1, valid = 0, invalid = 1, null = 2 };

  COleDateTime() = default;  // valid, 1899-12-30 00:00:00
  COleDateTime(DATE dt) : m_dt(dt) {}  // NOLINT: implicit as in the framework
  // Checks the parts without normalising them: 30 February makes the status invalid.
  COleDateTime(int year, int month, int day, int hour, int min, int sec) { SetDateTime(year, month, day, hour, min, sec); }
  COleDateTime(const SYSTEMTIME& st);  // NOLINT
  // Seconds since 1970 in local time.
  explicit COleDateTime(std::time_t t);
  COleDateTime(const CTime& t) : COleDateTime(std::time_t(t.GetTime())) {}  // NOLINT

  static COleDateTime GetCurrentTime();

  // 0 on success, 1 (and the status invalid) for parts out of range.
  int SetDateTime(int year, int month, int day, int hour, int min, int sec);
  DateTimeStatus GetStatus() const { return m_status; }
  void SetStatus(DateTimeStatus s) { m_status = s; }
  operator DATE() const { return m_dt; }  // NOLINT

  // The parts of a valid date (-1 otherwise). GetDayOfWeek: 1 is Sunday.
  int GetYear() const;
  int GetMonth() const;
  int GetDay() const;
  int GetHour() const;
  int GetMinute() const;
  int GetSecond() const;
  int GetDayOfWeek() const;
  int GetDayOfYear() const;
  BOOL GetAsSystemTime(SYSTEMTIME& st) const;
  // The broken-down time (tm_isdst -1); false unless the status is valid.
  bool GetAsTm(struct tm& out) const;

  // strftime codes, with the old runtime's extras as CTime::Format has them. A null
  // status gives "", an invalid one "Invalid DateTime".
  CString Format(const char* fmt) const;

  DATE m_dt = 0.0;
  DateTimeStatus m_status = valid;
};

}  // namespace zev
