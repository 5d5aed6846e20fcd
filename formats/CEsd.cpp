// CEsd: reading and writing ESD run data files. The whole file is read into memory;
// the trailer is its last 632 bytes, the records start at offset 0.
#include "zevutil/CEsd.h"

#include <cstring>
#include <new>

#include "formats/ByteCursor.h"
#include "formats/ByteOrder.h"
#include "formats/ReadLimits.h"
#include "formats/TraceFile.h"

namespace zev {

namespace {
constexpr std::size_t kRecordSize = 20;
constexpr std::size_t kSampleName = 0, kSampleNameSize = 24;
constexpr std::size_t kOperatorName = 24, kOperatorNameSize = 30;
constexpr std::size_t kSpecSepMx = 294;
constexpr std::size_t kBaseOrder = 358, kBaseOrderSize = 10;
constexpr std::size_t kFormatTag = 450, kTrailerLink = 454, kTrailerLinkBase = 458;
constexpr std::size_t kRawFlag = 596, kVersion = 604, kLines = 616, kScanRate = 620;
constexpr std::size_t kFileType = 624, kCapillaries = 625, kCapUsage = 626, kScaleByte = 627;
constexpr std::size_t kSecurityCode = 628;
}  // namespace

CEsd::CEsd() : m_pFileStatus(std::make_shared<CFileStatus>()) { std::memset(m_Trailer, 0, sizeof m_Trailer); }

CEsd::~CEsd() = default;

// ---- trailer fields ----

CString CEsd::Text(std::size_t offset) const {
  // kept: the text runs to the first NUL, past the end of its own field if need be;
  // it stops at the end of the trailer.
  if (offset >= sizeof m_Trailer) return CString();
  std::size_t end = offset;
  while (end < sizeof m_Trailer && m_Trailer[end] != 0) ++end;
  return CString(reinterpret_cast<const char*>(m_Trailer + offset), int(end - offset));
}

DWORD CEsd::Word(std::size_t offset) const {
  if (offset > sizeof m_Trailer - 4) return 0;
  return LoadU32LE(m_Trailer + offset);
}

float CEsd::Float(std::size_t offset) const {
  DWORD w = Word(offset);
  float f;
  std::memcpy(&f, &w, 4);
  return f;
}

void CEsd::PutWord(std::size_t offset, DWORD v) { StoreU32LE(m_Trailer + offset, v); }

CString CEsd::GetBaseOrder(int i) const {
  // The index is not checked against 0..3; one that leads outside the trailer gives
  // an empty text instead of reading beyond the object.
  long long offset = (long long)kBaseOrder + (long long)i * (long long)kBaseOrderSize;
  if (offset < 0 || offset >= (long long)sizeof m_Trailer) return CString();
  return Text(std::size_t(offset));
}

float CEsd::GetSpecSepMx(int row, int column) const {
  // As GetBaseOrder: unchecked indices, but nothing is read outside the trailer.
  long long offset = (long long)kSpecSepMx + 4 * ((long long)row * 4 + column);
  if (offset < 0 || offset > (long long)sizeof m_Trailer - 4) return 0.0f;
  return Float(std::size_t(offset));
}

void CEsd::SetSampleName(const CString& name) {
  std::strncpy(reinterpret_cast<char*>(m_Trailer + kSampleName), name.GetString(), kSampleNameSize);
}

void CEsd::SetOperatorName(const CString& name) {
  std::strncpy(reinterpret_cast<char*>(m_Trailer + kOperatorName), name.GetString(), kOperatorNameSize);
}

// ---- building ----

int CEsd::InitRawDataSizeAndArray(ULONG lines, ULONG) {
  // kept: every raw file made here is marked "A11" over any name set before.
  std::memcpy(m_Trailer + kSampleName, "A11", 4);
  PutWord(kRawFlag, 1);
  PutWord(kVersion, 0x3F8CCCCD);  // 1.1f
  PutWord(kLines, lines);
  PutWord(kScanRate, 0);
  m_Trailer[kFileType] = 1;
  m_Trailer[kCapillaries] = 96;
  m_Trailer[kCapUsage] = 2;
  PutWord(kSecurityCode, 0);
  PutWord(kTrailerLinkBase, 0);
  PutWord(kTrailerLink, kTrailerSize);
  m_pRawData.reset();
  if (lines) m_pRawData = std::make_shared<std::vector<EsdRawData>>(lines);
  return 1;
}

int CEsd::InitProcessedDataSizeAndArray(ULONG lines, ULONG scanRate) {
  PutWord(kLines, lines);
  PutWord(kScanRate, scanRate);
  PutWord(kRawFlag, 0);
  PutWord(kTrailerLinkBase, 0);
  PutWord(kTrailerLink, kTrailerSize);
  std::memcpy(m_Trailer + kFormatTag, "ESD1", 4);
  m_pProcessedData.reset();
  if (lines) m_pProcessedData = std::make_shared<std::vector<EsdProcessedData>>(lines);
  return 1;
}

int CEsd::InitCurrentScaleFactor(ULONG scale) {
  m_Trailer[kScaleByte] = BYTE(scale);
  return 1;
}

// The number of lines bounds every index; the array's own size bounds it too, since
// the array may be absent or left from an earlier, shorter file.
BOOL CEsd::SetRawData(int i, LONG v1, LONG v2, LONG v3, LONG v4, LONG v5) {
  if (i < 0 || ULONG(i) >= GetNumberOfLines() || !m_pRawData || size_t(i) >= m_pRawData->size()) return FALSE;
  (*m_pRawData)[size_t(i)] = {{v1, v2, v3, v4, v5}};
  return TRUE;
}

BOOL CEsd::GetRawData(int i, LONG& v1, LONG& v2, LONG& v3, LONG& v4, LONG& v5) const {
  if (i < 0 || ULONG(i) >= GetNumberOfLines() || !m_pRawData || size_t(i) >= m_pRawData->size()) return FALSE;
  const EsdRawData& r = (*m_pRawData)[size_t(i)];
  v1 = r.v[0]; v2 = r.v[1]; v3 = r.v[2]; v4 = r.v[3]; v5 = r.v[4];
  return TRUE;
}

BOOL CEsd::SetProcessedData(int i, LONG n, float f1, float f2, float f3, float f4) {
  if (i < 0 || ULONG(i) >= GetNumberOfLines() || !m_pProcessedData || size_t(i) >= m_pProcessedData->size())
    return FALSE;
  (*m_pProcessedData)[size_t(i)] = {n, {f1, f2, f3, f4}};
  return TRUE;
}

BOOL CEsd::GetProcessedData(int i, LONG& n, float& f1, float& f2, float& f3, float& f4) const {
  if (i < 0 || ULONG(i) >= GetNumberOfLines() || !m_pProcessedData || size_t(i) >= m_pProcessedData->size())
    return FALSE;
  const EsdProcessedData& r = (*m_pProcessedData)[size_t(i)];
  n = r.n; f1 = r.f[0]; f2 = r.f[1]; f3 = r.f[2]; f4 = r.f[3];
  return TRUE;
}

// ---- reading ----

void CEsd::ParseTrailer(const BYTE* data, std::size_t size) {
  m_lFileLength = LONG(DWORD(size));
  if (size < sizeof m_Trailer) return;  // kept: a short file leaves the trailer as it was
  std::memcpy(m_Trailer, data + size - sizeof m_Trailer, sizeof m_Trailer);
}

void CEsd::ParseDataPoints(const BYTE* data, std::size_t size) {
  const ULONG lines = GetNumberOfLines();
  if (!lines) return;
  // A claim too large to be allocated safely takes the path of a failed allocation.
  if (!ClaimAllowed(std::uint64_t(lines) * kRecordSize, size)) throw new CMemoryException;
  ByteCursor cur(data, size);
  // A short read raises nothing: a record area shorter than the trailer claims reads
  // trailer bytes as data, and past the end of the file the records read as zeros.
  // The array of the other kind stays.
  if (IsRawData()) {
    auto raw = std::make_shared<std::vector<EsdRawData>>(lines);
    for (EsdRawData& r : *raw) {
      if (cur.AtEnd()) break;  // the rest stays zero
      for (LONG& v : r.v) v = cur.I32();
    }
    m_pRawData = std::move(raw);
  } else {
    auto proc = std::make_shared<std::vector<EsdProcessedData>>(lines);
    for (EsdProcessedData& r : *proc) {
      if (cur.AtEnd()) break;
      r.n = cur.I32();
      for (float& f : r.f) f = cur.F32();
    }
    m_pProcessedData = std::move(proc);
  }
}

BOOL CEsd::ReadFromMemory(const void* data, std::size_t size) {
  m_bStatusValid = FALSE;
  return tracefile::Guarded<CEsdException>([&] {
    ParseTrailer(static_cast<const BYTE*>(data), size);
    ParseDataPoints(static_cast<const BYTE*>(data), size);
    return TRUE;
  });
}

BOOL CEsd::GetFileStatsFromMemory(const void* data, std::size_t size, LONG& lines) {
  lines = 0;
  m_bStatusValid = FALSE;
  std::memset(m_Trailer, 0, sizeof m_Trailer);
  ParseTrailer(static_cast<const BYTE*>(data), size);
  lines = LONG(GetNumberOfLines());
  return TRUE;
}

BOOL CEsd::Read(const CString& path) {
  m_strFileName = path;
  return tracefile::WithFile<CEsdException>(*m_pFileStatus, m_bStatusValid, [&](CFile& file) {
    std::vector<BYTE> bytes;
    if (!tracefile::OpenAndReadAll(file, path, bytes)) return FALSE;
    ParseTrailer(bytes.data(), bytes.size());
    ParseDataPoints(bytes.data(), bytes.size());
    return TRUE;
  });
}

BOOL CEsd::GetFileStats(const CString& path, LONG& lines) {
  lines = 0;
  m_strFileName = path;
  BOOL ok = tracefile::WithFile<CEsdException>(*m_pFileStatus, m_bStatusValid, [&](CFile& file) {
    if (!file.Open(path, CFile::modeRead | CFile::typeBinary)) return FALSE;
    // The trailer is cleared once the file is open, before anything is read from it.
    std::memset(m_Trailer, 0, sizeof m_Trailer);
    std::vector<BYTE> bytes;
    ReadAllBytes(file, bytes);
    ParseTrailer(bytes.data(), bytes.size());
    return TRUE;
  });
  if (ok) lines = LONG(GetNumberOfLines());
  return ok;
}

BOOL CEsd::GetFileStatus(CFileStatus& status) const {
  if (!m_bStatusValid) return FALSE;
  status = *m_pFileStatus;
  return TRUE;
}

// ---- writing ----

void CEsd::Serialize(std::vector<BYTE>& out) const {
  const ULONG lines = GetNumberOfLines();
  const bool raw = IsRawData();
  // Records that no array holds cannot be written.
  std::size_t held = raw ? (m_pRawData ? m_pRawData->size() : 0) : (m_pProcessedData ? m_pProcessedData->size() : 0);
  if (lines > held) throw new CMemoryException;
  out.resize(std::size_t(lines) * kRecordSize + sizeof m_Trailer);
  BYTE* p = out.data();
  auto put = [&p](DWORD v) {
    StoreU32LE(p, v);
    p += 4;
  };
  for (ULONG i = 0; i < lines; ++i) {
    if (raw) {
      for (LONG v : (*m_pRawData)[i].v) put(DWORD(v));
    } else {
      const EsdProcessedData& r = (*m_pProcessedData)[i];
      put(DWORD(r.n));
      for (float f : r.f) {
        DWORD w;
        std::memcpy(&w, &f, 4);
        put(w);
      }
    }
  }
  std::memcpy(p, m_Trailer, sizeof m_Trailer);
}

BOOL CEsd::WriteToMemory(std::vector<BYTE>& out) const {
  return tracefile::SerializeToMemory<CEsdException>(out, [this](std::vector<BYTE>& bytes) { Serialize(bytes); });
}

BOOL CEsd::Write(const CString& path) {
  m_strFileName = path;
  return tracefile::SerializeToFile<CEsdException>(path, *m_pFileStatus, m_bStatusValid,
                                                   [this](std::vector<BYTE>& bytes) { Serialize(bytes); });
}

}  // namespace zev
