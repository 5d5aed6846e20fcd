// CCrv: building, writing and reading curve files. A curve file is little-endian:
// the magic's length (11), the magic, the number of curves, then each curve as a
// count and that many signed 32-bit values.
#include "zevutil/CCrv.h"

#include <cstdint>
#include <cstring>
#include <new>

#include "formats/ByteCursor.h"
#include "formats/ByteOrder.h"
#include "formats/ReadLimits.h"
#include "formats/TraceFile.h"

namespace zev {

CCrv::CCrv() : m_pFileStatus(std::make_unique<CFileStatus>()) {}

CCrv::~CCrv() = default;

void CCrv::ReleaseMemberData() {
  m_ResultNames.RemoveAll();
  for (auto& list : m_CurveList) list.clear();
  m_nNumbCurve = 0;
}

int CCrv::GetCurveCount(int dye) const {
  return dye >= 0 && dye < kDyes ? int(m_CurveList[dye].size()) : 0;
}

const CrvCurve* CCrv::GetCurve(int dye, int j) const {
  if (dye < 0 || dye >= kDyes || j < 0 || size_t(j) >= m_CurveList[dye].size()) return nullptr;
  return m_CurveList[dye][size_t(j)].get();
}

// ---- building ----

bool CCrv::SetSamplesize(unsigned int n, int* activeDyes) {
  if (activeDyes)
    for (int d = 0; d < kDyes; ++d) m_bActiveDyes[d] = activeDyes[d];
  if (n == 0) return true;
  m_nSampleSize = n;
  for (int d = 0; d < kDyes; ++d) {
    if (!m_bActiveDyes[d]) continue;
    try {
      auto curve = std::make_unique<CrvCurve>();
      curve->values.resize(n);
      // A current curve that was never appended is replaced (and freed).
      m_pCurrentCurve[d] = std::move(curve);
    } catch (const std::bad_alloc&) {
      return false;
    }
  }
  return true;
}

bool CCrv::SetSample(int i, LONG d1, LONG d2, LONG d3, LONG d4) {
  if (i < 0 || unsigned(i) >= m_nSampleSize) return false;
  const LONG v[kDyes] = {d1, d2, d3, d4};
  for (int d = 0; d < kDyes; ++d) {
    // A dye switched on after its curves were made has no current curve, and one
    // made before a larger sample size is shorter: neither is written past.
    CrvCurve* c = m_pCurrentCurve[d].get();
    if (m_bActiveDyes[d] && c && size_t(i) < c->values.size()) c->values[size_t(i)] = v[d];
  }
  return true;
}

int CCrv::AppendDataArrays() {
  for (int d = 0; d < kDyes; ++d)
    if (m_bActiveDyes[d] && m_pCurrentCurve[d]) m_CurveList[d].push_back(std::move(m_pCurrentCurve[d]));
  return 1;
}

void CCrv::AppendResultNames(CString name) {
  if (name.IsEmpty()) return;
  name.TrimRight();
  bool any = false;
  for (int d = 0; d < kDyes; ++d) {
    if (!m_bActiveDyes[d]) continue;
    if (!any) name += " with ";
    any = true;
    // kept: every dye mark ends in a blank, the last one too.
    name.AppendFormat("D%d ", d + 1);
  }
  if (!any) name += " without active dyes";
  m_ResultNames.Add(name);
}

// ---- writing ----

int CCrv::WriteResultNamesToFile(CString base) {
  base.TrimRight();
  base += "_CRV_TRACE_ORDER.txt";
  return tracefile::WithFile<CCrvException>(*m_pFileStatus, m_bStatusValid, [&](CFile& file) {
    // The open is not tested: an unwritable path fails at the first write.
    file.Open(base, CFile::modeCreate | CFile::modeWrite);
    std::string text;
    for (const CString& line : m_ResultNames) {
      text += line.str();
      text += "\r\n";
    }
    WriteAllBytes(file, reinterpret_cast<const BYTE*>(text.data()), text.size());
    return TRUE;
  });
}

int CCrv::WriteToFile(const CString& name, int dye) {
  return tracefile::WithFile<CCrvException>(*m_pFileStatus, m_bStatusValid, [&](CFile& file) {
    // The open is not tested: an unwritable path fails at the seek.
    file.Open(name, CFile::modeCreate | CFile::modeWrite | CFile::typeBinary);
    file.Seek(0, CFile::begin);
    const auto& list = m_CurveList[dye];
    std::vector<BYTE> bytes;
    auto put = [&bytes](DWORD v) {
      BYTE word[4];
      StoreU32LE(word, v);
      bytes.insert(bytes.end(), word, word + 4);
    };
    if (!list.empty()) {
      put(DWORD(kMagicLength));
      bytes.insert(bytes.end(), kMagic, kMagic + kMagicLength);
      put(DWORD(list.size()));
    }
    // A curve of no values is left out, though the number of curves counts it.
    for (const auto& curve : list) {
      if (curve->values.empty()) continue;
      put(DWORD(curve->Count()));
      for (LONG v : curve->values) put(DWORD(v));
    }
    WriteAllBytes(file, bytes.data(), bytes.size());
    file.Flush();
    return TRUE;
  });
}

BOOL CCrv::Write(const CString& path) {
  m_strFileName.Empty();
  m_strFileName = path;
  // kept: a ".CRV" anywhere after the first character cuts the last four
  // characters, whatever they are.
  if (m_strFileName.Find(".CRV") > 0) m_strFileName = m_strFileName.Left(m_strFileName.GetLength() - 4);
  int ok = WriteResultNamesToFile(m_strFileName);
  for (int d = 0; ok && d < kDyes; ++d) {
    if (m_CurveList[d].empty()) continue;
    CString name;
    name.Format("%s_D%d.CRV", m_strFileName.GetString(), d + 1);
    ok = WriteToFile(name, d);
  }
  return ok;
}

// ---- reading ----

void CCrv::Parse(const BYTE* data, std::size_t size) {
  // The curves are read aside and taken over at the end, so that a failed allocation
  // leaves the object as it was, and a good read replaces everything at once.
  ByteCursor cur(data, size);
  std::vector<std::unique_ptr<CrvCurve>> curves;
  bool headerGood = false;
  unsigned int numbCurve = 0, sampleSize = m_nSampleSize, largest = 0;
  std::uint64_t claimed = 0;  // bytes of all the curves so far
  // Header: a wrong magic reads as a file without curves.
  if (cur.U32() == DWORD(kMagicLength) && cur.CanRead(kMagicLength) &&
      std::memcmp(cur.Peek(kMagicLength), kMagic, kMagicLength) == 0) {
    headerGood = true;
    cur.Skip(kMagicLength);
    const LONG n = cur.I32();
    numbCurve = n < 1 ? 0 : unsigned(n);
  }
  for (unsigned int k = 0; headerGood && k < numbCurve; ++k) {
    // Past the end every count reads as 0 and is skipped: stop there.
    if (cur.AtEnd()) break;
    const LONG count = cur.I32();
    if (count <= 0) continue;
    // A short read raises nothing: the values the file lacks read as 0. Claims too
    // large to allocate safely take the path of a failed allocation.
    claimed += std::uint64_t(count) * 4;
    if (!ClaimAllowed(claimed, size)) throw new CMemoryException;
    auto curve = std::make_unique<CrvCurve>();
    curve->values.resize(size_t(count));
    for (LONG& v : curve->values) {
      if (cur.AtEnd()) break;
      v = cur.I32();
    }
    curves.push_back(std::move(curve));
    sampleSize = unsigned(count);
    if (unsigned(count) > largest) largest = unsigned(count);
  }

  ReleaseMemberData();
  m_nNumbCurve = numbCurve;
  m_CurveList[0] = std::move(curves);
  m_nSampleSize = sampleSize;
  // kept: a file with a wrong magic leaves the maximum sample size as it was.
  if (headerGood) m_nMaximumSampleSize = largest;
}

BOOL CCrv::ReadFromMemory(const void* data, std::size_t size) {
  m_bStatusValid = FALSE;
  return tracefile::Guarded<CCrvException>([&] {
    Parse(static_cast<const BYTE*>(data), size);
    return TRUE;
  });
}

BOOL CCrv::Read(const CString& path) {
  m_strFileName.Empty();
  m_strFileName = path;
  return tracefile::WithFile<CCrvException>(*m_pFileStatus, m_bStatusValid, [&](CFile& file) {
    std::vector<BYTE> bytes;
    if (!tracefile::OpenAndReadAll(file, path, bytes)) {
      // The open is not tested: the failure shows at the first seek, after the
      // member data has been released.
      ReleaseMemberData();
      return FALSE;
    }
    Parse(bytes.data(), bytes.size());
    return TRUE;
  });
}

BOOL CCrv::GetSample(int i, LONG* out) const {
  if (i < 0 || unsigned(i) >= m_nMaximumSampleSize || !out) return FALSE;
  // Curves beyond the first list's end don't exist and leave their entries alone.
  size_t n = m_CurveList[0].size();
  if (m_nNumbCurve < n) n = m_nNumbCurve;
  for (size_t j = 0; j < n; ++j) {
    const CrvCurve* c = m_CurveList[0][j].get();
    if (!c) continue;
    // 0 where the curve has no i-th value.
    out[j] = size_t(i) < c->values.size() ? c->values[size_t(i)] : 0;
  }
  return TRUE;
}

BOOL CCrv::GetFileStats(const CString& path) {
  m_strFileName = path;
  return tracefile::WithFile<CCrvException>(*m_pFileStatus, m_bStatusValid, [&](CFile& file) {
    if (!file.Open(path, CFile::modeRead | CFile::typeBinary)) return FALSE;
    ReleaseMemberData();
    return TRUE;
  });
}

BOOL CCrv::GetFileStatus(CFileStatus& status) const {
  if (!m_bStatusValid) return FALSE;
  status = *m_pFileStatus;
  return TRUE;
}

}  // namespace zev
