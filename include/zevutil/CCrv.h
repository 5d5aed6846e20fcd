// CCrv: curve files of an outside analysis package (magic "BN-CRV-v1.0"). Collects
// the traces of several results and writes one file per dye plus a text file naming
// the result of each curve in order; reads one curve file back into a single list.
#pragma once
#include <cstddef>
#include <memory>
#include <vector>

#include "zevutil/platform/CFile.h"
#include "zevutil/platform/CString.h"
#include "zevutil/platform/Collections.h"

namespace zev {

// One curve: a count and that many signed values.
struct CrvCurve {
  std::vector<LONG> values;
  LONG Count() const { return LONG(values.size()); }
};

// The format's own failure. No operation raises it; the file operations catch it.
class CCrvException {
 public:
  explicit CCrvException(const CString& message = CString()) : m_strMessage(message) {}
  const CString& GetMessage() const { return m_strMessage; }

 private:
  CString m_strMessage;
};

class CCrv {
 public:
  static constexpr const char* kMagic = "BN-CRV-v1.0";
  static constexpr int kMagicLength = 11;
  static constexpr int kDyes = 4;

  CCrv();
  virtual ~CCrv();
  CCrv(const CCrv&) = delete;
  CCrv& operator=(const CCrv&) = delete;

  // Copies the four dye flags when given; with n above 0 sets the sample size and
  // makes a new current curve of n values for each active dye. False when a curve
  // can't be allocated (the ones made so far stay).
  bool SetSamplesize(unsigned int n, int* activeDyes);
  // Stores each value in the current curve of its dye, for active dyes only. False
  // when i is negative or not below the sample size.
  bool SetSample(int i, LONG d1, LONG d2, LONG d3, LONG d4);
  // Moves each active dye's current curve to the end of that dye's list.
  int AppendDataArrays();
  // Adds a trace-order line: the name trimmed on the right, then " with " and
  // "D<n> " per active dye, or " without active dyes". An empty name adds nothing.
  void AppendResultNames(CString name);

  // Writes <base>_CRV_TRACE_ORDER.txt and <base>_D<n>.CRV for each dye with curves;
  // a ".CRV" in the path cuts its last four characters to make the base.
  BOOL Write(const CString& path);
  // Reads one curve file; every curve lands in the first dye's list. A wrong magic
  // reads as success with no curves. False when the file can't be opened or a count
  // needs more values than the file could hold.
  BOOL Read(const CString& path);
  BOOL ReadFromMemory(const void* data, std::size_t size);
  // Fills out[j] for each curve j with its i-th value (0 past its end). False when i
  // is negative or not below the maximum sample size.
  BOOL GetSample(int i, LONG* out) const;
  // Opens the file, releases all member data and captures the status; reads nothing.
  BOOL GetFileStats(const CString& path);
  BOOL GetFileStatus(CFileStatus& status) const;
  CString GetFileName() const { return m_strFileName; }

  unsigned int GetSampleSize() const { return m_nSampleSize; }
  unsigned int GetNumbCurve() const { return m_nNumbCurve; }
  void SetNumbCurve(unsigned int n) { m_nNumbCurve = n; }
  unsigned int GetMaximumSampleSize() const { return m_nMaximumSampleSize; }

  // What the object holds, for inspection.
  int GetCurveCount(int dye) const;
  const CrvCurve* GetCurve(int dye, int j) const;
  int GetResultNameCount() const { return int(m_ResultNames.GetSize()); }
  CString GetResultName(int i) const {
    return i >= 0 && i < m_ResultNames.GetSize() ? m_ResultNames.GetAt(i) : CString();
  }

  // The file's integers are little-endian as the host has them; these are not used.
  static unsigned int ByteSwap(unsigned int v) {
    return (v >> 24) | ((v >> 8) & 0xFF00u) | ((v << 8) & 0xFF0000u) | (v << 24);
  }
  static LONG ByteSwap(LONG v) { return LONG(ByteSwap(static_cast<unsigned int>(v))); }

 private:
  void ReleaseMemberData();
  void Parse(const BYTE* data, std::size_t size);
  int WriteResultNamesToFile(CString base);
  int WriteToFile(const CString& name, int dye);

  CString m_strFileName;
  BOOL m_bStatusValid = FALSE;
  std::unique_ptr<CFileStatus> m_pFileStatus;
  unsigned int m_nSampleSize = 0;
  unsigned int m_nNumbCurve = 0;
  unsigned int m_nMaximumSampleSize = 0;
  int m_bActiveDyes[kDyes] = {};
  std::unique_ptr<CrvCurve> m_pCurrentCurve[kDyes];
  std::vector<std::unique_ptr<CrvCurve>> m_CurveList[kDyes];
  CStringArray m_ResultNames;
};

}  // namespace zev
