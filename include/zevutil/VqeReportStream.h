// VqeReportStream: the error report stream. Code builds a message piece by piece,
// VqErr << "text" << 5 << VqErrorCode(-3), and ends the chain with a functor that
// decides what happens: VqeReport, VqeTrace, VqeThrow, VqePrepend(...), VqePrintf(...).
// Also the scope markers CScopeMsg and CTimeStub and the checks ZevVerifyX/ZevVerifyPtr.
//
// Where the text lives. Message (8192 bytes), title (256 bytes) and up to 10 codes
// are held in a per-thread block. Only the thread that loaded the library has a
// block; on every other thread the whole stream does nothing at all: texts are
// dropped, GetMsg() is null, GetCodeCount() is 0, and VqeThrow does NOT throw, so
// the code after it runs on (callers must expect that).
//
// Where a report goes (DoReport flags, handled in this order):
//   0x01 trace    the message and "\n" to the trace sink (zev::TraceOut; its default
//                 does nothing, install a sink with zev::SetTraceHandler)
//   0x10 box      zev::MessageBoxA(no owner, message, title, MB_OK|MB_ICONWARNING);
//                 the box is answered before anything else happens
//   0x04 trace    as 0x01, unless 0x01 already traced
//   0x08 log      the message, with no line end, replaces the content of the log file
//   0x02 keep     without it, the block is cleared after the report
// The title defaults to "Error".
//
// The log file. It holds the last logged report only. Its default place is
// $XDG_STATE_HOME/zevutil/VqeLog.txt, or ~/.local/state/zevutil/VqeLog.txt when
// XDG_STATE_HOME is unset or empty (the folder is created when the log is written).
// VqeReportStream::SetLogFilePath moves it; a log that cannot be written is ignored.
#pragma once
#include <memory>

#include "zevutil/platform/CException.h"
#include "zevutil/platform/CString.h"
#include "zevutil/platform/Types.h"

namespace zev {

// One numeric code of a report.
class VqErrorCode {
 public:
  VqErrorCode(int code = 0) : m_nCode(code) {}  // NOLINT: implicit, so that codes stream as values
  VqErrorCode& operator=(int code) {
    m_nCode = code;
    return *this;
  }
  operator int&() { return m_nCode; }  // NOLINT
  operator const int&() const { return m_nCode; }  // NOLINT

 private:
  int m_nCode;
};

class VqeReportStream;

// Base of the stream functors: streaming one into VqErr calls it with the stream.
class VqeStreamFunctor {
 public:
  VqeStreamFunctor() = default;
  VqeStreamFunctor(const VqeStreamFunctor&) = default;
  VqeStreamFunctor& operator=(const VqeStreamFunctor&) = default;
  virtual VqeReportStream& operator()(VqeReportStream& stream) const;
  virtual ~VqeStreamFunctor() = default;
};

// Report flags of DoReport.
inline constexpr DWORD VQE_REPORT_TRACE = 0x01;
inline constexpr DWORD VQE_REPORT_KEEP = 0x02;
inline constexpr DWORD VQE_REPORT_TRACE_ONCE = 0x04;
inline constexpr DWORD VQE_REPORT_LOG = 0x08;
inline constexpr DWORD VQE_REPORT_BOX = 0x10;

// The stream. It holds no data of its own: everything is in the calling thread's block.
class VqeReportStream {
 public:
  VqeReportStream();
  // Copying and assigning do nothing: there is nothing in the object to copy.
  VqeReportStream(const VqeReportStream&);
  VqeReportStream& operator=(const VqeReportStream&) { return *this; }
  virtual ~VqeReportStream() = default;

  // Sends the gathered report where the flags say (see the file comment) and clears
  // it unless VQE_REPORT_KEEP is set. Returns the message box's answer; 0 when no box
  // was shown or the thread has no block.
  virtual int DoReport(DWORD flags);

  // Each returns this stream, or the library's fallback stream when the thread has no block.
  // A text that does not fit is cut; the message never holds more than 8191 characters.
  VqeReportStream& AppendMsg(const char* text);
  VqeReportStream& AppendTitle(const char* text);
  // Puts the text in front of the message; when both do not fit, the new text stays
  // whole (as far as it fits) and the old message is cut at the end.
  VqeReportStream& PrependMsg(const char* text);
  // Adds a code; the eleventh and later codes are dropped.
  VqeReportStream& AppendErrCode(const VqErrorCode& code);
  // Empties message and title and drops the codes.
  VqeReportStream& Flush();

  // The current texts and codes; null (and 0) when the thread has no block.
  const char* GetMsg();
  const char* GetTitle();
  VqErrorCode* GetCodes();
  UINT GetCodeCount();

  // Initialise the calling thread's block. They create no block: a thread without
  // one stays without one.
  void tlInit();
  void InitThread();
  // Release the buffers of the calling thread's block (the block itself stays).
  void Cleanup();
  static void ThreadCleanup();

  // Where reports with VQE_REPORT_LOG go. Null or "" restores the default place.
  static void SetLogFilePath(const char* path);
  // The log file in use: the path set, or the default place described above.
  static CString GetLogFilePath();
};

VqeReportStream& operator<<(VqeReportStream& stream, const char* text);
// Appends the number as "%d".
VqeReportStream& operator<<(VqeReportStream& stream, const int& value);
VqeReportStream& operator<<(VqeReportStream& stream, const VqErrorCode& code);
VqeReportStream& operator<<(VqeReportStream& stream, const VqeStreamFunctor& functor);
// Appends the exception's message (if it has one) and deletes the exception.
VqeReportStream& operator<<(VqeReportStream& stream, CException* e);

// Calls DoReport with its flags.
class VqeReportFunctor : public VqeStreamFunctor {
 public:
  explicit VqeReportFunctor(DWORD flags = VQE_REPORT_TRACE) : m_dwFlags(flags) {}
  VqeReportStream& operator()(VqeReportStream& stream) const override;
  // Sets the flags of this object and returns it: VqErr << VqeReport(0x10) changes
  // VqeReport itself for every later use.
  VqeReportFunctor& operator()(DWORD flags) {
    m_dwFlags = flags;
    return *this;
  }
  DWORD GetReportFlags() const { return m_dwFlags; }
  void SetReportFlags(DWORD flags) { m_dwFlags = flags; }

 private:
  DWORD m_dwFlags;
};

// Throws a new CException* (the handler deletes it); message and codes stay in the
// block for the handler to read. On a thread with no block it does not throw.
class VqeThrowFunctor : public VqeStreamFunctor {
 public:
  VqeReportStream& operator()(VqeReportStream& stream) const override;
};

// Appends the system's text for the thread's last error.
class VqeLastErrorFunctor : public VqeStreamFunctor {
 public:
  VqeReportStream& operator()(VqeReportStream& stream) const override;
};

// A formatted text for a << chain: VqErr << VqePrintf("%d of %d", i, n). The text is
// formatted into a 512-byte buffer held by the functor (longer texts are cut at 511
// characters), so it lives only until the functor's next use. Copies share the buffer.
class VqePrintfFunctor : public VqeStreamFunctor {
 public:
  VqePrintfFunctor();
  VqeReportStream& operator()(VqeReportStream& stream) const override;  // AppendMsg(buffer)
  // Formats into the buffer; returns this functor, or the fallback one when the
  // thread has no block.
  VqePrintfFunctor& operator()(const char* format, ...);
  const char* GetBuffer() const { return m_pBuffer.get(); }

 private:
  std::shared_ptr<char[]> m_pBuffer;
};

// As VqePrintfFunctor, but puts the formatted text in front of the message.
class VqePrependFunctor : public VqeStreamFunctor {
 public:
  VqePrependFunctor();
  VqeReportStream& operator()(VqeReportStream& stream) const override;  // PrependMsg(buffer)
  VqePrependFunctor& operator()(const char* format, ...);
  const char* GetBuffer() const { return m_pBuffer.get(); }

 private:
  std::shared_ptr<char[]> m_pBuffer;
};

// The library's stream and functors.
extern VqeReportStream VqErr;
extern VqeThrowFunctor VqeThrow;
extern VqeLastErrorFunctor VqeLastError;
extern VqeReportFunctor VqeReport;  // flags 0x01: trace, then clear
extern VqeReportFunctor VqeTrace;   // flags 0x06: trace and keep
extern VqePrependFunctor VqePrepend;
extern VqePrintfFunctor VqePrintf;

// Marks a scope in the trace: ">> Start: text" at construction and "<<  Stop: text" at
// destruction, indented by one tab per open scope (at most 18).
class CScopeMsg {
 public:
  explicit CScopeMsg(const char* format, ...);
  virtual ~CScopeMsg();
  // Not copyable: each object owns its text and stands for one open scope.
  CScopeMsg(const CScopeMsg&) = delete;
  CScopeMsg& operator=(const CScopeMsg&) = delete;
  const char* GetMsg() const { return m_pszMsg.get(); }
  // The number of scopes open now.
  static int GetDepth() { return sm_nDepth; }

 private:
  static void TraceAtDepth(int depth, const char* text);

  std::unique_ptr<char[]> m_pszMsg;
  static int sm_nDepth;
};

// Marks a timed scope in the trace with tick counts: the start, the time since the
// previous mark and, at the end, the time elapsed in the scope.
class CTimeStub {
 public:
  explicit CTimeStub(const char* format = nullptr, ...);
  virtual ~CTimeStub();
  // Copying copies the label and the start tick.
  CTimeStub(const CTimeStub&) = default;
  CTimeStub& operator=(const CTimeStub&) = default;
  const CString& GetLabel() const { return m_strLabel; }
  DWORD GetStartTick() const { return m_dwStart; }

  static DWORD sm_dwLastMark;
  static DWORD sm_dwLevel0Start;
  static int sm_nNestLevel;

 protected:
  // Fills the library-wide indent buffer with 4 blanks per level (at most 63) and returns it.
  static const char* doIndent(int level);

  CString m_strLabel;
  DWORD m_dwStart = 0;
};

// 1 when the value is non-zero; otherwise 0, and unless quiet a trace line naming file and line.
BOOL ZevVerifyX(BOOL value, const char* file, int line, BOOL quiet = FALSE);
// 1 when [ptr, ptr + size) can be read, as the host tells without the memory being
// touched (a non-null pointer with size 0 counts as readable). Otherwise 0 (null,
// wrapping, unmapped or unreadable) and, unless quiet, a trace line.
BOOL ZevVerifyPtr(const void* ptr, UINT size, const char* file, int line, BOOL quiet = FALSE);

}  // namespace zev
