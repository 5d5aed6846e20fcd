// CTime over the C library's mktime/localtime.
#include "zevutil/platform/CTime.h"

#include <cstring>
#include <string>

namespace zev {

namespace {
// The old runtime accepted only results from 1970 to 3000.
constexpr std::int64_t kMaxTime = 32535215999;  // 3000-12-31 23:59:59 UTC

std::int64_t MakeTime(int year, int month, int day, int hour, int min, int sec, int nDST) {
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
