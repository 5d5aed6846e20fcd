// The error report stream: the per-thread block behind VqErr, the << operators, the
// functors and the library's global stream objects.
#include "zevutil/VqeReportStream.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <string>

#include "frame/ModuleState.h"
#include "zevutil/platform/Host.h"

namespace zev {

DWORD g_dwVqeTlsIndex = TLS_OUT_OF_INDEXES;
VqeThreadBlock* g_pVqeLoadBlock = nullptr;

namespace {

// The stream object constructed last.
VqeReportStream* g_pVqeLastStream = nullptr;

// The block the last stream operation found in the slot. Only the loading thread ever
// gets past the slot test, so only that thread writes it.
VqeThreadBlock* g_pVqeCurrentBlock = nullptr;

// The slot test every operation opens with: the calling thread's block, initialised
// on first use, or null when the thread has none.
VqeThreadBlock* GuardBlock(VqeReportStream& stream) {
  if (g_dwVqeTlsIndex == TLS_OUT_OF_INDEXES) return nullptr;
  auto* block = static_cast<VqeThreadBlock*>(TlsGetValue(g_dwVqeTlsIndex));
  if (!block) return nullptr;
  g_pVqeCurrentBlock = block;
  if (block->dwMagic != kVqeBlockMagic) stream.tlInit();
  return block;
}

// Length of a NUL-ended text in a buffer, never looking past the buffer's last byte.
size_t BoundedLen(const char* buf, size_t cap) {
  const void* nul = std::memchr(buf, 0, cap);
  return nul ? size_t(static_cast<const char*>(nul) - buf) : cap;
}

VqeThreadBlock* SlotBlock() {
  if (g_dwVqeTlsIndex == TLS_OUT_OF_INDEXES) return nullptr;
  return static_cast<VqeThreadBlock*>(TlsGetValue(g_dwVqeTlsIndex));
}

// Appends text to a NUL-ended buffer of the given capacity. A text that does not fit
// is cut by its own length: at most capacity - n - 1 of its n bytes are taken.
// kept: a long text keeps only as much as that rule leaves, not all the room there is.
// Where that count would run past the buffer, it stops at the buffer's last byte.
void AppendBounded(char* buf, DWORD cap, const char* text) {
  if (!buf || !text || cap == 0) return;
  size_t n = std::strlen(text);
  size_t m = BoundedLen(buf, cap - 1);
  if (n + m < cap) {
    std::memcpy(buf + m, text, n + 1);
    return;
  }
  size_t take = (n + 1 >= cap) ? n : std::min<size_t>(n, cap - n - 1);
  take = std::min(take, size_t(cap) - 1 - m);
  std::memcpy(buf + m, text, take);
  buf[m + take] = '\0';
  buf[cap - 1] = '\0';
}

std::mutex& LogPathLock() {
  static std::mutex* m = new std::mutex;
  return *m;
}
std::string& LogPathOverride() {
  static std::string* s = new std::string;
  return *s;
}

// The log place when none is set: the XDG state folder, else under the home folder.
std::string DefaultLogFilePath() {
  const char* state = std::getenv("XDG_STATE_HOME");
  if (state && state[0] == '/') return std::string(state) + "/zevutil/VqeLog.txt";
  const char* home = std::getenv("HOME");
  if (home && home[0]) return std::string(home) + "/.local/state/zevutil/VqeLog.txt";
  return "VqeLog.txt";
}

void WriteLogFile(const char* text) {
  std::string path;
  bool isDefault;
  {
    std::lock_guard<std::mutex> g(LogPathLock());
    isDefault = LogPathOverride().empty();
    path = isDefault ? DefaultLogFilePath() : LogPathOverride();
  }
  if (isDefault) {
    std::error_code ec;
    std::filesystem::path dir = std::filesystem::path(path).parent_path();
    if (!dir.empty()) std::filesystem::create_directories(dir, ec);
  }
  // "w" discards what the file held: the log keeps the last report only.
  std::FILE* f = std::fopen(path.c_str(), "w");
  if (!f) return;
  std::fputs(text ? text : "", f);
  std::fclose(f);
}

}  // namespace

// ---- the library's global objects, in their construction order ----

VqeReportStream VqErr;
VqeThrowFunctor VqeThrow;
namespace {
// What members and formatting functors hand back on a thread with no block, so that
// a << chain stays well-formed there.
VqeReportStream g_VqeFallbackStream;
VqePrependFunctor g_VqeFallbackPrepend;
VqePrintfFunctor g_VqeFallbackPrintf;
// Releases the calling thread's buffers when the library's globals are destroyed.
struct VqeExitCleanup {
  VqeExitCleanup() = default;
  VqeExitCleanup(const VqeExitCleanup&) = delete;
  VqeExitCleanup& operator=(const VqeExitCleanup&) = delete;
  ~VqeExitCleanup() { VqeReportStream::ThreadCleanup(); }
};
VqeExitCleanup g_VqeExitCleanup;
}  // namespace
VqeLastErrorFunctor VqeLastError;
VqeReportFunctor VqeReport(VQE_REPORT_TRACE);
VqeReportFunctor VqeTrace(VQE_REPORT_KEEP | VQE_REPORT_TRACE_ONCE);
VqePrependFunctor VqePrepend;
VqePrintfFunctor VqePrintf;

// ---- the block ----

void VqeReleaseBlock(VqeThreadBlock* block) {
  if (!block || block->dwMagic != kVqeBlockMagic) return;
  block->dwMagic = 0;
  if (!block->pszMsg) return;
  std::free(block->pszMsg);
  std::free(block->pszScratch);
  std::free(block->pszTitle);
  delete[] block->pCodes;
  block->pszMsg = block->pszScratch = block->pszTitle = nullptr;
  block->pCodes = nullptr;
  block->nCodeCount = 0;
}

void VqeReportStream::tlInit() {
  VqeThreadBlock* block = SlotBlock();
  if (!block || block->dwMagic == kVqeBlockMagic) return;
  std::memset(block, 0, sizeof *block);
  block->dwMagic = kVqeBlockMagic;
  block->pCodes = new (std::nothrow) VqErrorCode[kVqeCodeCapacity];
  block->nCodeCapacity = block->pCodes ? kVqeCodeCapacity : 0;
  block->pszTitle = static_cast<char*>(std::calloc(kVqeTitleCapacity, 1));
  block->nTitleCapacity = block->pszTitle ? kVqeTitleCapacity : 0;
  block->pszMsg = static_cast<char*>(std::calloc(kVqeMsgCapacity, 1));
  block->pszScratch = static_cast<char*>(std::calloc(kVqeMsgCapacity, 1));
  if (!block->pszMsg || !block->pszScratch) {
    // Without both text buffers the block holds no message at all.
    std::free(block->pszMsg);
    std::free(block->pszScratch);
    block->pszMsg = block->pszScratch = nullptr;
  }
  block->nMsgCapacity = block->pszMsg ? kVqeMsgCapacity : 0;
  block->dwThreadId = GetCurrentThreadId();
  TraceOut("VqeReportStream initialized for thread %X\n", block->dwThreadId);
}

void VqeReportStream::InitThread() { tlInit(); }

void VqeReportStream::Cleanup() { ThreadCleanup(); }

void VqeReportStream::ThreadCleanup() { VqeReleaseBlock(SlotBlock()); }

// ---- the stream ----

VqeReportStream::VqeReportStream() { g_pVqeLastStream = this; }
VqeReportStream::VqeReportStream(const VqeReportStream&) { g_pVqeLastStream = this; }

VqeReportStream& VqeReportStream::AppendMsg(const char* text) {
  VqeThreadBlock* b = GuardBlock(*this);
  if (!b) return g_VqeFallbackStream;
  AppendBounded(b->pszMsg, b->nMsgCapacity, text);
  return *this;
}

VqeReportStream& VqeReportStream::AppendTitle(const char* text) {
  VqeThreadBlock* b = GuardBlock(*this);
  if (!b) return g_VqeFallbackStream;
  AppendBounded(b->pszTitle, b->nTitleCapacity, text);
  return *this;
}

VqeReportStream& VqeReportStream::PrependMsg(const char* text) {
  VqeThreadBlock* b = GuardBlock(*this);
  if (!b) return g_VqeFallbackStream;
  if (!text || !b->pszMsg) return *this;
  const size_t cap = b->nMsgCapacity;
  size_t n = std::strlen(text);
  size_t m = BoundedLen(b->pszMsg, cap - 1);
  if (n + m < cap) {
    // The buffers swap roles, so each text is copied once.
    std::swap(b->pszMsg, b->pszScratch);
    std::memcpy(b->pszMsg, text, n);
    std::memcpy(b->pszMsg + n, b->pszScratch, m + 1);
    return *this;
  }
  std::memcpy(b->pszScratch, b->pszMsg, m + 1);
  // The new text stays whole as far as it fits and the old one fills what room is
  // left; a new text longer than the buffer is cut rather than copied past its end.
  size_t head = std::min(n, cap - 1);
  std::memcpy(b->pszMsg, text, head);
  size_t tail = std::min(m, cap - 1 - head);
  std::memcpy(b->pszMsg + head, b->pszScratch, tail);
  b->pszMsg[head + tail] = '\0';
  b->pszMsg[cap - 1] = '\0';
  return *this;
}

VqeReportStream& VqeReportStream::AppendErrCode(const VqErrorCode& code) {
  VqeThreadBlock* b = GuardBlock(*this);
  if (!b) return g_VqeFallbackStream;
  if (b->nCodeCount < b->nCodeCapacity) b->pCodes[b->nCodeCount++] = code;
  return *this;
}

VqeReportStream& VqeReportStream::Flush() {
  VqeThreadBlock* b = GuardBlock(*this);
  if (!b) return g_VqeFallbackStream;
  if (b->pszMsg) b->pszMsg[0] = '\0';
  if (b->pszTitle) b->pszTitle[0] = '\0';
  b->nCodeCount = 0;
  return *this;
}

const char* VqeReportStream::GetMsg() {
  VqeThreadBlock* b = GuardBlock(*this);
  return b ? b->pszMsg : nullptr;
}

const char* VqeReportStream::GetTitle() {
  VqeThreadBlock* b = GuardBlock(*this);
  return b ? b->pszTitle : nullptr;
}

VqErrorCode* VqeReportStream::GetCodes() {
  VqeThreadBlock* b = GuardBlock(*this);
  return b ? b->pCodes : nullptr;
}

UINT VqeReportStream::GetCodeCount() {
  VqeThreadBlock* b = GuardBlock(*this);
  return b ? b->nCodeCount : 0;
}

int VqeReportStream::DoReport(DWORD flags) {
  VqeThreadBlock* b = GuardBlock(*this);
  if (!b) return 0;
  const char* msg = b->pszMsg ? b->pszMsg : "";
  if (b->pszTitle && b->pszTitle[0] == '\0') AppendBounded(b->pszTitle, b->nTitleCapacity, "Error");
  int result = 0;
  if (flags != 0) {
    bool traced = false;
    if (flags & VQE_REPORT_TRACE) {
      TraceOut("%s\n", msg);
      traced = true;
    }
    // The box is modal: the log below is written only after it has been answered.
    if (flags & VQE_REPORT_BOX)
      result = MessageBoxA(nullptr, msg, b->pszTitle ? b->pszTitle : "Error", MB_OK | MB_ICONWARNING);
    if ((flags & VQE_REPORT_TRACE_ONCE) && !traced) TraceOut("%s\n", msg);
    if (flags & VQE_REPORT_LOG) WriteLogFile(msg);
  }
  if (!(flags & VQE_REPORT_KEEP)) Flush();
  return result;
}

void VqeReportStream::SetLogFilePath(const char* path) {
  std::lock_guard<std::mutex> g(LogPathLock());
  LogPathOverride() = path ? path : "";
}

CString VqeReportStream::GetLogFilePath() {
  std::lock_guard<std::mutex> g(LogPathLock());
  return CString(LogPathOverride().empty() ? DefaultLogFilePath() : LogPathOverride());
}

// ---- << operators ----

VqeReportStream& operator<<(VqeReportStream& stream, const char* text) {
  stream.AppendMsg(text);
  return stream;
}

VqeReportStream& operator<<(VqeReportStream& stream, const int& value) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "%d", value);
  stream.AppendMsg(buf);
  return stream;
}

VqeReportStream& operator<<(VqeReportStream& stream, const VqErrorCode& code) {
  stream.AppendErrCode(code);
  return stream;
}

VqeReportStream& operator<<(VqeReportStream& stream, const VqeStreamFunctor& functor) {
  return functor(stream);
}

VqeReportStream& operator<<(VqeReportStream& stream, CException* e) {
  if (!e) return stream;
  char text[128] = {};
  if (e->GetErrorMessage(text, 127, nullptr)) stream.AppendMsg(text);
  e->Delete();
  return stream;
}

// ---- functors ----

VqeReportStream& VqeStreamFunctor::operator()(VqeReportStream& stream) const { return stream; }

VqeReportStream& VqeReportFunctor::operator()(VqeReportStream& stream) const {
  if (!GuardBlock(stream)) return stream;
  stream.DoReport(m_dwFlags);
  return stream;
}

VqeReportStream& VqeThrowFunctor::operator()(VqeReportStream& stream) const {
  // kept: on a thread with no block nothing is thrown and the caller's code runs on.
  if (!GuardBlock(stream)) return stream;
  throw new CException(TRUE);
}

VqeReportStream& VqeLastErrorFunctor::operator()(VqeReportStream& stream) const {
  DWORD code = GetLastError();  // read first, so that the slot test cannot disturb it
  if (!GuardBlock(stream)) return stream;
  char* text = nullptr;
  if (FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code, 0x400,
                     reinterpret_cast<char*>(&text), 0, nullptr) &&
      text)
    stream << static_cast<const char*>(text);
  if (text) LocalFree(text);
  return stream;
}

namespace {
constexpr size_t kFunctorBufSize = 512;

void FormatInto(char* buf, const char* format, va_list args) {
  if (!format) {
    buf[0] = '\0';
    return;
  }
  // Formatted with a bound: a text longer than the buffer is cut at 511 characters
  // rather than written past the buffer's end.
  vsnprintf_win(buf, kFunctorBufSize, format, args);
}
}  // namespace

VqePrintfFunctor::VqePrintfFunctor() {
  // The buffer is made only where the stream works; operator()(format) makes it later.
  if (GuardBlock(VqErr)) m_pBuffer = std::shared_ptr<char[]>(new char[kFunctorBufSize]());
}

VqeReportStream& VqePrintfFunctor::operator()(VqeReportStream& stream) const {
  if (!GuardBlock(stream)) return stream;
  if (m_pBuffer) stream.AppendMsg(m_pBuffer.get());
  return stream;
}

VqePrintfFunctor& VqePrintfFunctor::operator()(const char* format, ...) {
  if (!GuardBlock(VqErr)) return g_VqeFallbackPrintf;
  if (!m_pBuffer) m_pBuffer = std::shared_ptr<char[]>(new char[kFunctorBufSize]());
  va_list args;
  va_start(args, format);
  FormatInto(m_pBuffer.get(), format, args);
  va_end(args);
  return *this;
}

VqePrependFunctor::VqePrependFunctor() : m_pBuffer(new char[kFunctorBufSize]()) {}

VqeReportStream& VqePrependFunctor::operator()(VqeReportStream& stream) const {
  if (!GuardBlock(stream)) return stream;
  stream.PrependMsg(m_pBuffer.get());
  return stream;
}

VqePrependFunctor& VqePrependFunctor::operator()(const char* format, ...) {
  if (!GuardBlock(VqErr)) return g_VqeFallbackPrepend;
  va_list args;
  va_start(args, format);
  FormatInto(m_pBuffer.get(), format, args);
  va_end(args);
  return *this;
}

}  // namespace zev
