// CZevDateTime: the locale's date order and separators turned into a strftime format.
#include "zevutil/CZevDateTime.h"

#include <cstdio>
#include <cstring>

#include "zevutil/platform/Locale.h"

namespace zev {

char* CZevDateTime::DateTimeFormatString(char* buffer, int size) {
  if (!buffer) return nullptr;
  if (size < 40) {
    if (size > 0) buffer[0] = '\0';
    return buffer;
  }
  char order[3] = "";
  // Kept: a failed separator query leaves "//" as the date separator, doubling it.
  char dateSep[3] = "//";
  char timeSep[3] = ":";
  const int orderOk = GetLocaleInfoA(LOCALE_SYSTEM_DEFAULT, LOCALE_IDATE, order, 2);
  GetLocaleInfoA(LOCALE_SYSTEM_DEFAULT, LOCALE_SDATE, dateSep, 2);
  GetLocaleInfoA(LOCALE_SYSTEM_DEFAULT, LOCALE_STIME, timeSep, 2);
  const char* pattern = "%%m%s%%d%s%%y %%H%s%%M%s%%S";
  if (orderOk && order[0] == '1') pattern = "%%d%s%%m%s%%y %%H%s%%M%s%%S";
  else if (orderOk && order[0] == '2') pattern = "%%y%s%%m%s%%d %%H%s%%M%s%%S";
  std::snprintf(buffer, size_t(size), pattern, dateSep, dateSep, timeSep, timeSep);
  if (std::strlen(buffer) < 14) std::snprintf(buffer, size_t(size), "%s", "%m/%d/%y %H:%M:%S");
  return buffer;
}

CString CZevDateTime::DateTimeFormatString() {
  char buffer[64];
  return CString(DateTimeFormatString(buffer, int(sizeof buffer)));
}

CString CZevDateTime::DateTimeFormat() { return DateTimeFormat(COleDateTime::GetCurrentTime()); }

CString CZevDateTime::DateTimeFormat(const SYSTEMTIME& time) { return DateTimeFormat(COleDateTime(time)); }

CString CZevDateTime::DateTimeFormat(const CTime& time) { return time.Format(DateTimeFormatString()); }

CString CZevDateTime::DateTimeFormat(const COleDateTime& time) { return time.Format(DateTimeFormatString()); }

CString CZevDateTime::DateTimeFormat(LONG time) { return DateTimeFormat(CTime(std::int64_t(time))); }

CString CZevDateTime::DateTimeFormat(const struct tm* time) {
  if (!time) return CString();
  return DateTimeFormat(COleDateTime(time->tm_year + 1900, time->tm_mon + 1, time->tm_mday, time->tm_hour,
                                     time->tm_min, time->tm_sec));
}

}  // namespace zev
