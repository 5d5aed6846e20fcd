// CAbi, fragment files: the 46-record tag table, peaks and standard peaks, the colour
// matrix and the analysis parameter block.
#include <algorithm>
#include <cmath>

#include "formats/CAbiInternal.h"
#include "zevutil/CAbi.h"

namespace zev {

using abif::CheckFileCanFill;
using abif::SeekData;
using abif::SetRecord;

namespace {


constexpr std::size_t kPeakBytes = 96;
constexpr std::size_t kAnalysisBytes = sizeof(AbiAnaly_parameter);

void LoadPeak(const std::uint8_t* p, AbiPeak_parameters& peak) {
  peak.lField0 = LONG(LoadU32(p));
  peak.wField4 = LoadU16(p + 4);
  peak.lField6 = LONG(LoadU32(p + 6));
  peak.lField10 = LONG(LoadU32(p + 10));
  peak.wField14 = LoadU16(p + 14);
  peak.wField16 = LoadU16(p + 16);
  peak.lField18 = LONG(LoadU32(p + 18));
  peak.lField22 = LONG(LoadU32(p + 22));
  DWORD bits = LoadU32(p + 26);
  std::memcpy(&peak.fField26, &bits, 4);
  peak.wField30 = LoadU16(p + 30);
  std::memcpy(peak.bField32, p + 32, 64);
}

void StorePeak(std::uint8_t* p, const AbiPeak_parameters& peak) {
  StoreU32(p, DWORD(peak.lField0));
  StoreU16(p + 4, peak.wField4);
  StoreU32(p + 6, DWORD(peak.lField6));
  StoreU32(p + 10, DWORD(peak.lField10));
  StoreU16(p + 14, peak.wField14);
  StoreU16(p + 16, peak.wField16);
  StoreU32(p + 18, DWORD(peak.lField18));
  StoreU32(p + 22, DWORD(peak.lField22));
  DWORD bits;
  std::memcpy(&bits, &peak.fField26, 4);
  StoreU32(p + 26, bits);
  StoreU16(p + 30, peak.wField30);
  std::memcpy(p + 32, peak.bField32, 64);
}

// The block as it stands in the file: the two words big-endian, the rest as it is.
void StoreAnalysis(std::uint8_t* p, const AbiAnaly_parameter& a) {
  std::memcpy(p, &a, kAnalysisBytes);
  StoreU16(p, a.wParameter);
  StoreU16(p + 2, a.wStandardChannel);
}

void LoadAnalysis(const std::uint8_t* p, AbiAnaly_parameter& a) {
  std::memcpy(&a, p, kAnalysisBytes);
  a.wParameter = LoadU16(p);
  a.wStandardChannel = LoadU16(p + 2);
}

// A matrix value as it goes out: scaled by 1000, truncated and cut to 16 bits. A value
// out of the integer range gives what the processor's conversion gave (0x80000000),
// where C++ would leave it undefined.
WORD MatrixWord(float value) {
  double scaled = double(value) * 1000.0;
  std::int32_t whole = (scaled > -2147483649.0 && scaled < 2147483648.0) ? std::int32_t(scaled) : INT32_MIN;
  return WORD(std::uint32_t(whole));
}

}  // namespace

void CAbi::InitialFragFlagRecords() {
  m_pTagTable = std::shared_ptr<Abi_flag_record[]>(new Abi_flag_record[kFragmentRecordCount]());
  m_nTagTableSize = kFragmentRecordCount;
  for (int i = 0; i < kFragmentRecordCount; ++i)
    m_pTagTable[i] = abif::MakeRecord(abif::kFragmentTags[i].tag, abif::kFragmentTags[i].number);
}

int CAbi::InitPeakInfoArray(int p1, int p2, int p3, int p4) {
  int counts[4] = {p1, p2, p3, p4};
  for (int k = 0; k < 4; ++k) {
    Abi_flag_record* rec = Record("PEAK", k + 1);
    if (rec) SetRecord(rec, 1024, 96, counts[k], abif::MulWrap(counts[k], 96), rec->DataOffset);
  }
  // A negative total makes an empty list rather than a failed allocation.
  std::int64_t total = std::int64_t(p1) + p2 + p3 + p4;
  m_peaks.allocate(total > 0 ? std::size_t(total) : 0);
  return 1;
}

int CAbi::InitStandardPeakInfoArray(int s, bool b1, bool b2, bool b3, bool b4) {
  bool flags[4] = {b1, b2, b3, b4};
  for (int k = 0; k < 4; ++k) {
    Abi_flag_record* rec = Record("SdPk", k + 1);
    // The count is 8 per standard peak and the data size 0. Kept: the records go out
    // with no data, so standard peaks live in memory only.
    if (rec) SetRecord(rec, 1, 1, flags[k] ? abif::MulWrap(s, 8) : 0, 0, rec->DataOffset);
  }
  m_standardPeaks.allocate(s > 0 ? std::size_t(s) : 0);
  return 1;
}

int CAbi::GetPeakListCount() {
  if (!m_bHasFragmentResult) return 0;
  LONG total = 0;
  for (LONG k = 1; k <= 4; ++k) total = abif::AddWrap(total, RecordCount("PEAK", k));
  return total;
}

int CAbi::GetNumbPeakInChannel1() { return m_bHasFragmentResult ? RecordCount("PEAK", 1) : 0; }
int CAbi::GetNumbPeakInChannel2() { return m_bHasFragmentResult ? RecordCount("PEAK", 2) : 0; }
int CAbi::GetNumbPeakInChannel3() { return m_bHasFragmentResult ? RecordCount("PEAK", 3) : 0; }
int CAbi::GetNumbPeakInChannel4() { return m_bHasFragmentResult ? RecordCount("PEAK", 4) : 0; }

int CAbi::GetStandardPeakCount() {
  if (!m_bHasFragmentResult) return 0;
  for (LONG k = 1; k <= 4; ++k) {
    LONG count = RecordCount("SdPk", k);
    if (count != 0) return count / 8;
  }
  return 0;
}

// The guards of the peak accessors refused no index; here an index outside the list is
// refused instead of reaching past it, and every index inside behaves as before.
void CAbi::SetPeakInfo(int i, AbiPeak_parameters& peak) {
  if (auto* at = abif::Element(m_peaks, i)) *at = peak;
}

void CAbi::GetPeakInfo(int i, AbiPeak_parameters& peak) {
  if (auto* at = abif::Element(m_peaks, i)) peak = *at;
}

void CAbi::SetStandardPeakInfo(int i, AbiStandardPeak& peak) {
  if (auto* at = abif::Element(m_standardPeaks, i)) *at = peak;
}

void CAbi::GetStandardPeakInfo(int i, AbiStandardPeak& peak) {
  if (auto* at = abif::Element(m_standardPeaks, i)) peak = *at;
}

void CAbi::SetStandardChannel(int channel) {
  m_analysisParameter = AbiAnaly_parameter{};
  m_analysisParameter.wParameter = 9;
  m_analysisParameter.wStandardChannel = WORD(channel);
  m_analysisParameter.bTextLength = 20;
  std::memcpy(m_analysisParameter.szText, "<Analysis Parameter>", 21);
}

void CAbi::GetMatrix(float* matrix) {
  if (matrix) std::copy(m_fMatrix, m_fMatrix + 16, matrix);
}

void CAbi::SetMatrix(const float* matrix) {
  if (matrix) std::copy(matrix, matrix + 16, m_fMatrix);
}

// ---- Reading ----

void CAbi::ReadFragmentComments(ByteCursor& in) {
  if (auto* rec = Present("SpNm", 1)) m_strSampleName = abif::ReadPascalString(in, *rec);
  if (auto* rec = Present("APFN", 1)) m_strFragParameterFile = abif::ReadPascalString(in, *rec);
  if (auto* rec = Present("CpEP", 1)) m_nCpEPValue = int(DWORD(rec->DataOffset) >> 24);
  if (auto* rec = Present("GELN", 1)) m_strGelName = abif::ReadPascalString(in, *rec);
  // Kept: only bits 16 to 23 are taken, so a lane above 255 loses its high byte.
  if (auto* rec = Present("LANE", 1)) m_nLaneNumber = int((DWORD(rec->DataOffset) >> 16) & 0xFF);
  if (auto* rec = Present("LANS", 1)) {
    // As many bytes as the record states, but never more than the block holds; the
    // rest of the block keeps what it had.
    SeekData(in, rec->DataOffset);
    std::size_t n = std::min<std::size_t>(DWORD(rec->DataSize), kAnalysisBytes);
    std::uint8_t raw[kAnalysisBytes];
    StoreAnalysis(raw, m_analysisParameter);
    in.Read(raw, n);
    LoadAnalysis(raw, m_analysisParameter);
  }
  if (auto* rec = Present("MCHN", 1)) m_strMachineName = abif::ReadPascalString(in, *rec);
  if (auto* rec = Present("MTXF", 4)) m_strMatrixFile = abif::ReadPascalString(in, *rec);
  if (auto* rec = Present("Rate", 1)) {
    SeekData(in, rec->DataOffset);
    for (LONG& v : m_scanRate.lRate) v = in.I32();
  }
  if (auto* rec = Present("StdF", 1)) m_strSizeStandardFile = abif::ReadPascalString(in, *rec);
  if (auto* rec = Present("Scan", 1)) m_nScanNumber = WORD(DWORD(rec->DataOffset) >> 16);
  ReadRunTime(1, m_runStart);
  ReadRunTime(2, m_runStop);
  if (auto* rec = Present("FWO_", 1)) StoreU32(reinterpret_cast<std::uint8_t*>(m_szTraceOrder), DWORD(rec->DataOffset));
  // Kept: tested on the field itself, not on the count.
  if (auto* rec = Record("ScSt", 1); rec && rec->DataOffset != 0) m_nDataOffset = rec->DataOffset;
}

void CAbi::ReadMatrix(ByteCursor& in) {
  const Abi_flag_record* rec = Present("MTRX", 4);
  if (!rec) return;
  CheckFileCanFill(in, rec->NumElements, 2);
  SeekData(in, rec->DataOffset);
  CString order = TraceOrderOrDefault();
  // Rows of four go to the row of their letter; rows past the fourth have none.
  std::size_t values = std::min<std::size_t>(std::size_t(rec->NumElements), 16);
  for (std::size_t i = 0; i < values; ++i) {
    std::int16_t value = in.I16();
    int slot = abif::SlotOfLetter(order[int(i / 4)]);
    // Kept: integer division first, so 1500 reads as 1.0 and 800 as 0.0.
    if (slot >= 0) m_fMatrix[slot * 4 + int(i % 4)] = float(value / 1000);
  }
}

void CAbi::ReadPeakInfo(ByteCursor& in) {
  LONG counts[4];
  LONG total = 0;
  for (int k = 0; k < 4; ++k) {
    counts[k] = RecordCount("PEAK", k + 1);
    total = abif::AddWrap(total, counts[k]);
  }
  if (total <= 0) return;
  for (LONG count : counts)
    if (count > 0) CheckFileCanFill(in, count, kPeakBytes);
  m_peaks.allocate(std::size_t(total));
  AbiPeak_parameters* peaks = m_peaks.get();
  std::size_t at = 0;
  for (int k = 0; k < 4; ++k) {
    if (counts[k] <= 0) continue;
    SeekData(in, Record("PEAK", k + 1)->DataOffset);
    // Each channel follows the last; the list is sized by the total, and a channel that
    // would pass its end (some other count negative) stops there.
    std::size_t n = std::min<std::size_t>(std::size_t(counts[k]), m_peaks.n - at);
    for (std::size_t j = 0; j < n; ++j, ++at) {
      std::uint8_t raw[kPeakBytes];
      in.Read(raw, kPeakBytes);
      LoadPeak(raw, peaks[at]);
    }
  }
}

// ---- Writing ----

void CAbi::WritePeakInfo(Image& out) {
  const AbiPeak_parameters* peaks = m_peaks.get();
  std::size_t at = 0;
  for (LONG k = 1; k <= 4; ++k) {
    Abi_flag_record* rec = Record("PEAK", k);
    if (!rec) continue;
    // Kept: a channel without peaks still gets the cursor as its data offset.
    rec->DataOffset = out.Cursor();
    std::size_t n = rec->NumElements > 0 ? std::min<std::size_t>(std::size_t(rec->NumElements), m_peaks.n - at) : 0;
    std::uint8_t* p = out.Grow(n * kPeakBytes);
    for (std::size_t j = 0; j < n; ++j, ++at) StorePeak(p + j * kPeakBytes, peaks[at]);
    out.Advance(rec->DataSize);
  }
}

void CAbi::WriteComments_Fragment(Image& out) {
  SetRecord(Record("CpEP", 1), 1, 1, 1, 1, LONG(0x01000000));
  if (!TraceOrderText().IsEmpty())
    SetRecord(Record("FWO_", 1), 2, 1, 4, 4, LONG(LoadU32(reinterpret_cast<const std::uint8_t*>(m_szTraceOrder))));
  SetRecord(Record("Scan", 1), 4, 2, 1, 2, LONG(DWORD(m_nScanNumber) << 16));
  SetRunTimeRecords();
  // Kept: unlike the sequence side, an empty text leaves its record as the table had it.
  if (!m_strSampleName.IsEmpty()) WritePascalString(out, "SpNm", 1, m_strSampleName);
  if (!m_strGelName.IsEmpty()) WritePascalString(out, "GELN", 1, m_strGelName);
  WriteScanRate(out);
  if (!m_strMachineName.IsEmpty()) WritePascalString(out, "MCHN", 1, m_strMachineName);
  SetOtherFlags_Fragment(out);
}

void CAbi::SetOtherFlags_Fragment(Image& out) {
  SetRecord(Record("LANE", 1), 4, 2, 1, 2, LONG(DWORD(WORD(m_nLaneNumber)) << 16));
  SetRecord(Record("ScSt", 1), 4, 4, 1, 4, m_nDataOffset);
  if (!m_strFragParameterFile.IsEmpty()) WritePascalString(out, "APFN", 1, m_strFragParameterFile);
  if (!m_strSizeStandardFile.IsEmpty()) WritePascalString(out, "StdF", 1, m_strSizeStandardFile);
  if (!m_strMatrixFile.IsEmpty()) WritePascalString(out, "MTXF", 4, m_strMatrixFile);
  if (Abi_flag_record* rec = Record("LANS", 1)) {
    SetRecord(rec, 1024, 136, 1, 136, out.Cursor());
    StoreAnalysis(out.Grow(kAnalysisBytes), m_analysisParameter);
    out.Advance(rec->DataSize);
  }
}

void CAbi::WriteMatrix(Image& out) {
  Abi_flag_record* rec = Record("MTRX", 4);
  if (!rec) return;
  SetRecord(rec, 4, 2, 16, 32, out.Cursor());
  // Storage order, rows A, C, G, T, whatever the trace order; kept: the reader maps
  // the rows by it.
  for (float value : m_fMatrix) out.PutU16(MatrixWord(value));
  out.Advance(rec->DataSize);
}

}  // namespace zev
