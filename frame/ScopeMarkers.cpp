// Scope markers for the trace (CScopeMsg, CTimeStub) and the checks ZevVerifyX and
// ZevVerifyPtr. Everything here writes to the trace sink only.
#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstring>

#include "zevutil/VqeReportStream.h"
#include "zevutil/platform/Host.h"

namespace zev {

// ---- CScopeMsg ----

int CScopeMsg::sm_nDepth = 0;

namespace {
constexpr int kScopeMsgSize = 512;
constexpr int kMaxScopeIndent = 18;

const CString& StartPrefix() {
  static const CString prefix(">> Start: ");
  return prefix;
}
const CString& StopPrefix() {
  static const CString prefix("<<  Stop: ");
  return prefix;
}
}  // namespace

CScopeMsg::CScopeMsg(const char* format, ...) : m_pszMsg(new char[kScopeMsgSize]()) {
  if (format) {
    va_list args;
    va_start(args, format);
    vsnprintf_win(m_pszMsg.get(), kScopeMsgSize, format, args);
    va_end(args);
  }
  TraceAtDepth(sm_nDepth, (StartPrefix() + m_pszMsg.get()).GetString());
  ++sm_nDepth;
}

CScopeMsg::~CScopeMsg() {
  --sm_nDepth;
  TraceAtDepth(sm_nDepth, (StopPrefix() + m_pszMsg.get()).GetString());
}

void CScopeMsg::TraceAtDepth(int depth, const char* text) {
  char tabs[kMaxScopeIndent + 1];
  int n = std::clamp(depth, 0, kMaxScopeIndent);
  std::memset(tabs, '\t', size_t(n));
  tabs[n] = '\0';
  TraceOut("%s%s\n", tabs, text);
}

// ---- CTimeStub ----

DWORD CTimeStub::sm_dwLastMark = 0;
DWORD CTimeStub::sm_dwLevel0Start = 0;
int CTimeStub::sm_nNestLevel = 0;

namespace {
char g_szIndent[64];
}

const char* CTimeStub::doIndent(int level) {
  // 4 blanks per level, at most 63 in all.
  int n = int(std::clamp<long long>(4LL * level, 0, sizeof g_szIndent - 1));
  std::memset(g_szIndent, ' ', size_t(n));
  g_szIndent[n] = '\0';
  return g_szIndent;
}

CTimeStub::CTimeStub(const char* format, ...) {
  if (format) {
    char buf[256];
    va_list args;
    va_start(args, format);
    vsnprintf_win(buf, sizeof buf, format, args);
    va_end(args);
    m_strLabel = buf;
  }
  doIndent(sm_nNestLevel);
  m_dwStart = GetTickCount();
  if (sm_nNestLevel == 0) sm_dwLevel0Start = m_dwStart;
  TraceOut("||StartStubLevel %2d, tick=%6d dmark=%5d %s\n", sm_nNestLevel, int(m_dwStart - sm_dwLevel0Start),
           int(m_dwStart - sm_dwLastMark), m_strLabel.GetString());
  sm_dwLastMark = m_dwStart;
  ++sm_nNestLevel;
}

CTimeStub::~CTimeStub() {
  DWORD now = GetTickCount();
  --sm_nNestLevel;
  doIndent(sm_nNestLevel);
  TraceOut("--StopStubLevel %2d, dMark=%5d  elapsed %5d  %s\n", sm_nNestLevel, int(now - sm_dwLastMark),
           int(now - m_dwStart), m_strLabel.GetString());
  sm_dwLastMark = now;
}

// ---- checks ----

BOOL ZevVerifyX(BOOL value, const char* file, int line, BOOL quiet) {
  if (value) return TRUE;
  if (!quiet) TraceOut("ZevVerifyX failure detected in file %s, line %d\n", file ? file : "", line);
  return FALSE;
}

BOOL ZevVerifyPtr(const void* ptr, UINT size, const char* file, int line, BOOL quiet) {
  // The host is asked whether the range can be read; the memory itself is never
  // touched, so an unmapped or unreadable address answers 0 instead of faulting.
  if (IsReadableRange(ptr, size)) return TRUE;
  if (!quiet) TraceOut("ZevVerifyPtr failure detected in file %s, line %d\n", file ? file : "", line);
  return FALSE;
}

}  // namespace zev
