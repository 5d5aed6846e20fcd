// CZevDateTime: dates and times as text in the user's date and time style.
#pragma once
#include <ctime>

#include "zevutil/platform/COleDateTime.h"
#include "zevutil/platform/CString.h"
#include "zevutil/platform/CTime.h"

namespace zev {

class CZevDateTime {
 public:
  // Writes the strftime format of the system's short date and time style into
  // buffer ("%m/%d/%y %H:%M:%S" for month-day-year with '/' and ':') and returns
  // buffer. A null buffer returns null; a size below 40 writes an empty string.
  static char* DateTimeFormatString(char* buffer, int size);
  static CString DateTimeFormatString();

  // The current time, or the given one, formatted with DateTimeFormatString().
  static CString DateTimeFormat();
  static CString DateTimeFormat(const SYSTEMTIME& time);
  static CString DateTimeFormat(const CTime& time);
  static CString DateTimeFormat(const COleDateTime& time);
  // Seconds since 1970, shown in local time.
  static CString DateTimeFormat(LONG time);
  // A broken-down time (years since 1900, months from 0); null gives "".
  static CString DateTimeFormat(const struct tm* time);
};

}  // namespace zev
