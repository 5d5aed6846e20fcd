// CAbi, the parts shared by sequence and fragment files: the Read and Write frame, the
// header and directory, the analysed, raw and voltage traces, counts and accessors.
#include "zevutil/CAbi.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <string>

#include "formats/CAbiInternal.h"
#include "formats/TraceFile.h"

namespace zev {

using abif::CheckFileCanFill;
using abif::SeekData;
using abif::TagIs;

namespace {

// Slots of the tag tables common to both kinds: DATA 1 to 12 come first in each.
constexpr int kRawDataTag = 0;    // DATA 1-4
constexpr int kVcptDataTag = 4;   // DATA 5-8
constexpr int kSampleTag = 8;     // DATA 9-12

// Takes the file at path whole (and its status, when asked) and hands it to use with a
// big-endian cursor over its bytes. Gives 0 when the file cannot be opened or read, is
// no ABIF file, or asks for more memory than there is.
template <class Use>
int ReadWholeFile(const CString& path, CFileStatus* status, Use&& use) {
  return tracefile::Guarded<CabiException>([&] {
    tracefile::FileInMemory file;
    if (!file.Load(path, status)) return 0;
    ByteCursor in(file.Data(), file.Size(), true);
    use(in);
    return 1;
  });
}

Abi_flag_record ParseRecord(const std::uint8_t* p) {
  Abi_flag_record r;
  std::memcpy(r.TagName, p, 4);
  r.TagNumber = LONG(LoadU32(p + 4));
  r.ElementType = LoadU16(p + 8);
  r.ElementSize = LoadU16(p + 10);
  r.NumElements = LONG(LoadU32(p + 12));
  r.DataSize = LONG(LoadU32(p + 16));
  r.DataOffset = LONG(LoadU32(p + 20));
  r.DataHandle = LONG(LoadU32(p + 24));
  return r;
}

Abi_flag_record ParseRecord(ByteCursor& in) {
  std::uint8_t raw[28];
  in.Read(raw, sizeof raw);
  return ParseRecord(raw);
}

void StoreRecord(std::uint8_t* p, const Abi_flag_record& r) {
  std::memcpy(p, r.TagName, 4);
  StoreU32(p + 4, DWORD(r.TagNumber));
  StoreU16(p + 8, r.ElementType);
  StoreU16(p + 10, r.ElementSize);
  StoreU32(p + 12, DWORD(r.NumElements));
  StoreU32(p + 16, DWORD(r.DataSize));
  StoreU32(p + 20, DWORD(r.DataOffset));
  StoreU32(p + 24, DWORD(r.DataHandle));
}

// Reverses every numeric field of a record in place; the name stays as it is.
void ByteSwapRecord(Abi_flag_record& r) {
  r.TagNumber = LONG(abif::Swap32(DWORD(r.TagNumber)));
  r.ElementType = WORD((r.ElementType >> 8) | (r.ElementType << 8));
  r.ElementSize = WORD((r.ElementSize >> 8) | (r.ElementSize << 8));
  r.NumElements = LONG(abif::Swap32(DWORD(r.NumElements)));
  r.DataSize = LONG(abif::Swap32(DWORD(r.DataSize)));
  r.DataOffset = LONG(abif::Swap32(DWORD(r.DataOffset)));
  r.DataHandle = LONG(abif::Swap32(DWORD(r.DataHandle)));
}

// The default run start and stop come from the framework's three-argument constructor,
// which takes (1, 1, 2000) and (1, 2, 2000) as a DOS date and time with a daylight flag
// of 2000; kept: written files have always carried them. Asking the C library for a
// daylight time in a zone without one is slow, so the pair is made once per time zone.
void DefaultRunTimes(CTime& start, CTime& stop) {
  static std::mutex lock;
  static bool made = false;
  static std::string zone;
  static CTime cachedStart, cachedStop;
  const char* tz = std::getenv("TZ");
  std::string key = tz ? std::string("TZ=") + tz : std::string();  // empty: no TZ set
  std::lock_guard<std::mutex> guard(lock);
  if (!made || zone != key) {
    cachedStart = CTime(1, 1, 2000);
    cachedStop = CTime(1, 2, 2000);
    zone = key;
    made = true;
  }
  start = cachedStart;
  stop = cachedStop;
}

}  // namespace

CAbi::CAbi() { DefaultRunTimes(m_runStart, m_runStop); }

CAbi::~CAbi() {
  m_pFileStatus.reset();
  InitMemberData();
}

// Kept: the six kind and content flags are not cleared; callers rely on them building up
// across reads on one object.
void CAbi::InitMemberData() {
  m_dirRecord = Abi_flag_record{};
  m_strBaseSequence.Empty();
  m_bases.reset();
  m_samples.reset();
  m_rawData.reset();
  m_vcptData.reset();
  m_peaks.reset();
  m_standardPeaks.reset();
  m_directory.reset();
  m_pTagTable.reset();
  m_nTagTableSize = 0;
}

// ---- Read ----

int CAbi::Read(const CString& path) {
  m_strFileName = path;
  m_bStatusValid = 0;
  CFileStatus status;
  return ReadWholeFile(path, &status, [&](ByteCursor& in) {
    InitMemberData();
    ParseFile(in, false);
    if (!m_pFileStatus) m_pFileStatus = std::make_shared<CFileStatus>();
    *m_pFileStatus = status;
    m_bStatusValid = 1;
  });
}

int CAbi::GetFileStats(const CString& path, unsigned int& samples, unsigned int& rawData) {
  samples = 0;
  rawData = 0;
  m_bStatusValid = 0;
  return ReadWholeFile(path, nullptr, [&](ByteCursor& in) {
    InitMemberData();
    ParseFile(in, true);
    if (m_bSequenceFile || m_bFragmentFile) samples = unsigned(GetSampleCount());
    rawData = unsigned(GetRawDataCount());
  });
}

void CAbi::ParseFile(ByteCursor& in, bool directoryOnly) {
  ReadHeader(in);
  ReadFlagRecords(in);
  // Kept: sequence wins over fragment, and the kind flags accumulate across reads.
  if (m_bSequenceFile) {
    ReadSequenceFlagRecords();
    if (directoryOnly) return;
    ReadComments(in);
    ReadBases(in);
    ReadSample(in);
  } else if (m_bFragmentFile) {
    ReadFragmentFlagRecords();
    if (directoryOnly) return;
    ReadFragmentComments(in);
    ReadSample(in);
    ReadMatrix(in);
    ReadPeakInfo(in);
  }
  if (directoryOnly) return;
  ReadRawData(in);
  ReadCvpt(in);
}

void CAbi::ReadHeader(ByteCursor& in) {
  in.Seek(0);
  char magic[4];
  in.Read(magic, 4);
  if (std::memcmp(magic, "ABIF", 4) != 0) throw CabiException("This is not ABI file!!!");
  in.Seek(6);  // the version word is not looked at
  m_dirRecord = ParseRecord(in);
}

void CAbi::ReadFlagRecords(ByteCursor& in) {
  LONG count = m_dirRecord.NumElements;
  if (count <= 0) return;
  CheckFileCanFill(in, count, 28);
  m_directory.allocate(std::size_t(count));
  SeekData(in, m_dirRecord.DataOffset);
  Abi_flag_record* dir = m_directory.get();
  std::size_t whole = std::min<std::size_t>(std::size_t(count), in.Remaining() / 28);
  const std::uint8_t* p = in.Data() + in.Tell();
  for (std::size_t i = 0; i < whole; ++i) dir[i] = ParseRecord(p + 28 * i);
  in.Skip(whole * 28);
  for (std::size_t i = whole; i < std::size_t(count); ++i) dir[i] = ParseRecord(in);  // zeros past the end

  // The kind is decided by whichever of the two tags comes first.
  for (std::size_t i = 0; i < std::size_t(count); ++i) {
    if (std::memcmp(dir[i].TagName, "AEPt", 4) == 0) {
      m_bSequenceFile = 1;
      return;
    }
    if (std::memcmp(dir[i].TagName, "PEAK", 4) == 0) {
      m_bFragmentFile = 1;
      return;
    }
  }
  m_bRawDataFile = 1;
}

void CAbi::ReadFlagRecordsInto(int tableSize) {
  if (tableSize == kSequenceRecordCount)
    InitialSeqFlagRecords();
  else
    InitialFragFlagRecords();
  Abi_flag_record* table = m_pTagTable.get();
  bool taken[kFragmentRecordCount] = {};
  const Abi_flag_record* dir = m_directory.get();
  for (std::size_t i = 0; i < m_directory.n; ++i) {
    const Abi_flag_record& r = dir[i];
    // Kept: a record whose data field is 0 counts as absent, even an inline value of 0.
    if (r.DataOffset == 0) continue;
    // The table was just made, so its names are those of its kind.
    int s = abif::TagIndex(tableSize, r.TagName, r.TagNumber);
    if (s >= 0 && !taken[s]) {
      table[s] = r;  // of duplicate records the first wins
      taken[s] = true;
    }
  }
  for (int k = 0; k < 4; ++k)
    if (table[kRawDataTag + k].NumElements > 0) m_bHasRawData = 1;
}

void CAbi::ReadSequenceFlagRecords() {
  ReadFlagRecordsInto(kSequenceRecordCount);
  for (int k = 0; k < 4; ++k)
    if (m_pTagTable[kSampleTag + k].NumElements > 0) m_bHasSequenceResult = 1;
}

void CAbi::ReadFragmentFlagRecords() {
  ReadFlagRecordsInto(kFragmentRecordCount);
  for (int k = 0; k < 4; ++k)
    if (m_pTagTable[kSampleTag + k].NumElements > 0) m_bHasFragmentResult = 1;
}

void CAbi::ReadTrace(ByteCursor& in, int firstTag, LONG count, SharedArray<AbiTraceRecord>& array,
                     WORD fill, bool byTraceOrder) {
  if (count == 0) return;
  CheckFileCanFill(in, count, 2);
  std::size_t n = std::size_t(count);
  array.allocate(n, false);
  AbiTraceRecord* data = array.get();
  CString order = byTraceOrder ? TraceOrderOrDefault() : CString("ACGT");

  // Which channel lands in which slot, and how far: a letter other than A, C, G, T
  // drops its channel. The voltage array is sized by its first channel; a longer later
  // one is cut there rather than run past the array.
  int slotOf[4];
  std::size_t covered[4] = {0, 0, 0, 0};
  for (int k = 0; k < 4; ++k) {
    const Abi_flag_record& rec = m_pTagTable[firstTag + k];
    slotOf[k] = rec.NumElements > 0 ? abif::SlotOfLetter(order[k]) : -1;
    if (slotOf[k] >= 0) covered[slotOf[k]] = std::max(covered[slotOf[k]], std::min<std::size_t>(std::size_t(rec.NumElements), n));
  }
  // The common case: each slot fed by one channel that covers the whole array inside
  // the file. Then the four channels are interleaved in one pass.
  const std::uint8_t* source[4] = {};
  int feeding[4] = {0, 0, 0, 0};
  for (int k = 0; k < 4; ++k)
    if (slotOf[k] >= 0) ++feeding[slotOf[k]];
  bool direct = true;
  for (int k = 0; k < 4 && direct; ++k) {
    if (slotOf[k] < 0) continue;
    const Abi_flag_record& rec = m_pTagTable[firstTag + k];
    direct = rec.DataOffset >= 0 && covered[slotOf[k]] == n && std::size_t(rec.NumElements) >= n &&
             in.RangeInside(std::uint64_t(rec.DataOffset), 2 * std::uint64_t(n)) && feeding[slotOf[k]] == 1;
    source[slotOf[k]] = in.Data() + rec.DataOffset;
  }
  for (int s = 0; s < 4 && direct; ++s) direct = feeding[s] == 1;
  if (direct) {
    abif::InterleaveChannels(source, n, data);
    return;
  }

  // Every slot gets the fill past what its channels reach; each value is written once.
  for (int s = 0; s < 4; ++s)
    for (std::size_t j = covered[s]; j < n; ++j) data[j].Slot[s] = fill;
  for (int k = 0; k < 4; ++k) {
    const Abi_flag_record& rec = m_pTagTable[firstTag + k];
    if (rec.NumElements <= 0) continue;
    SeekData(in, rec.DataOffset);
    int slot = slotOf[k];
    if (slot < 0) continue;
    std::size_t m = std::min<std::size_t>(std::size_t(rec.NumElements), n);
    std::size_t whole = std::min(m, in.Remaining() / 2);
    const std::uint8_t* p = in.Data() + in.Tell();
    for (std::size_t j = 0; j < whole; ++j) data[j].Slot[slot] = LoadU16(p + 2 * j);
    in.Skip(2 * whole);
    for (std::size_t j = whole; j < m; ++j) data[j].Slot[slot] = in.U16();  // zeros past the end
  }
}

void CAbi::ReadSample(ByteCursor& in) { ReadTrace(in, kSampleTag, GetSampleCount(), m_samples, 1, true); }

void CAbi::ReadRawData(ByteCursor& in) { ReadTrace(in, kRawDataTag, GetRawDataCount(), m_rawData, 0, true); }

void CAbi::ReadCvpt(ByteCursor& in) { ReadTrace(in, kVcptDataTag, GetVcptCount(), m_vcptData, 0, false); }

void CAbi::ReadRunTime(LONG number, CTime& time) {
  const Abi_flag_record* date = Record("RUND", number);
  const Abi_flag_record* clock = Record("RUNT", number);
  if (!date || !clock || date->NumElements <= 0 || clock->NumElements <= 0) return;
  DWORD d = DWORD(date->DataOffset);
  DWORD t = DWORD(clock->DataOffset);
  time = CTime(int(d >> 16), int((d >> 8) & 0xFF), int(d & 0xFF), int(t >> 24), int((t >> 16) & 0xFF),
               int((t >> 8) & 0xFF), -1);
}

// ---- Write ----

int CAbi::Write(const CString& path) {
  m_strFileName = path;
  m_bStatusValid = 0;
  CFile file;
  int ok = tracefile::Guarded<CabiException>([&] {
    CFileException error;
    if (!file.Open(path, CFile::modeCreate | CFile::modeWrite | CFile::typeBinary, &error))
      AfxThrowFileException(error.m_cause, error.m_lOsError, path);
    file.Seek(m_nWriteCursor, CFile::begin);
    Image out(m_nWriteCursor);
    if (m_bSequenceFile) {
      WriteComments(out);
      WriteBases(out);
    } else if (m_bFragmentFile) {
      WritePeakInfo(out);
      WriteComments_Fragment(out);
      WriteMatrix(out);
    }
    WriteSample(out);
    WriteRawData(out);
    WriteVcptData(out);
    WriteFlagsRecords(out);
    WriteHeader(out);
    m_nWriteCursor = out.Cursor();  // kept: never goes back to 128, so a Write is good once

    WriteAllBytes(file, out.Data().data(), out.Data().size());
    file.Seek(0, CFile::begin);
    file.Write(out.Header(), 128);
    if (!m_pFileStatus) m_pFileStatus = std::make_shared<CFileStatus>();
    file.GetStatus(*m_pFileStatus);
    m_bStatusValid = 1;
    file.Close();
    return 1;
  });
  if (!ok) file.Abort();
  return ok;
}

void CAbi::WriteTrace(Image& out, int firstTag, LONG count, const SharedArray<AbiTraceRecord>& array) {
  if (count <= 0 || !m_pTagTable) return;
  // Only what the array holds goes out: a count beyond it (a table left swapped by an
  // earlier Write) would have read past the array.
  std::size_t m = std::min<std::size_t>(std::size_t(count), array.n);
  const AbiTraceRecord* data = array.get();
  for (int k = 0; k < 4; ++k) {
    Abi_flag_record& rec = m_pTagTable[firstTag + k];
    rec.DataOffset = out.Cursor();
    std::uint8_t* p = out.Grow(2 * m);
    for (std::size_t j = 0; j < m; ++j) StoreU16(p + 2 * j, data[j].Slot[k]);
    out.Advance(rec.DataSize);
  }
}

// Slot 0 to 3 go out as DATA 9 to 12 whatever the trace order, while the reader maps
// them by it; kept: callers who set another order pass their channels in that order.
void CAbi::WriteSample(Image& out) { WriteTrace(out, kSampleTag, GetSampleCount(), m_samples); }

void CAbi::WriteRawData(Image& out) { WriteTrace(out, kRawDataTag, GetRawDataCount(), m_rawData); }

void CAbi::WriteVcptData(Image& out) { WriteTrace(out, kVcptDataTag, GetVcptCount(), m_vcptData); }

void CAbi::WriteFlagsRecords(Image& out) {
  int count = m_bSequenceFile ? kSequenceRecordCount : m_bFragmentFile ? kFragmentRecordCount : 0;
  if (count == 0) return;  // a file of neither kind has no directory
  m_dirRecord = abif::MakeRecord("tdir", 1);
  abif::SetRecord(&m_dirRecord, 1023, 28, count, count * 28, out.Cursor());
  m_dirRecord.DataHandle = 0;
  // A table of the other kind (or none at all) is padded with empty records where the
  // old code read past it.
  std::uint8_t* p = out.Grow(std::size_t(count) * 28);
  for (int i = 0; i < count; ++i) {
    Abi_flag_record rec{};
    if (m_pTagTable && i < m_nTagTableSize) rec = m_pTagTable[i];
    StoreRecord(p + 28 * i, rec);
    // Kept: the table stays byte-swapped in memory after a Write, so the counts read
    // back swapped and writing the same table again is not supported.
    if (m_pTagTable && i < m_nTagTableSize) ByteSwapRecord(m_pTagTable[i]);
  }
  out.Advance(count * 28);
}

void CAbi::WriteHeader(Image& out) {
  std::uint8_t* h = out.Header();
  std::memcpy(h, "ABIF.e", 6);
  StoreRecord(h + 6, m_dirRecord);
  ByteSwapRecord(m_dirRecord);  // swapped in place, as the table is
  std::memset(h + 34, 0x46, 94);
}

void CAbi::WritePascalString(Image& out, const char* tag, LONG number, const CString& text) {
  Abi_flag_record* rec = Record(tag, number);
  if (!rec) return;
  // The length byte holds the low eight bits of the length, but the whole text goes
  // out: kept: for a text above 255 characters the cursor falls behind the file.
  BYTE length = BYTE(text.GetLength() & 0xFF);
  abif::SetRecord(rec, 18, 1, length + 1, length + 1, out.Cursor());
  out.PutU8(length);
  out.Put(text.GetString(), std::size_t(text.GetLength()));
  out.Advance(rec->DataSize);
}

void CAbi::WriteScanRate(Image& out) {
  Abi_flag_record* rec = Record("Rate", 1);
  if (!rec) return;
  abif::SetRecord(rec, 1024, 1, 12, 12, out.Cursor());
  for (LONG v : m_scanRate.lRate) out.PutU32(DWORD(v));
  out.Advance(rec->DataSize);
}

void CAbi::SetRunTimeRecords() {
  const CTime* times[2] = {&m_runStart, &m_runStop};
  for (int i = 0; i < 2; ++i) {
    struct tm tm {};
    if (!times[i]->GetLocalTm(&tm)) tm = {};
    DWORD year = DWORD(tm.tm_year + 1900) & 0xFFFF;
    DWORD date = (year << 16) | (DWORD(tm.tm_mon + 1) & 0xFF) << 8 | (DWORD(tm.tm_mday) & 0xFF);
    DWORD clock = (DWORD(tm.tm_hour) & 0xFF) << 24 | (DWORD(tm.tm_min) & 0xFF) << 16 | (DWORD(tm.tm_sec) & 0xFF) << 8;
    abif::SetRecord(Record("RUND", i + 1), 10, 4, 1, 4, LONG(date));
    abif::SetRecord(Record("RUNT", i + 1), 11, 4, 1, 4, LONG(clock));
  }
}

// ---- The tag table ----

Abi_flag_record* CAbi::Record(const char* tag, LONG number) {
  if (!m_pTagTable) return nullptr;
  int i = abif::TagIndex(m_nTagTableSize, tag, number);
  return i < 0 ? nullptr : &m_pTagTable[i];
}

LONG CAbi::RecordCount(const char* tag, LONG number) {
  const Abi_flag_record* rec = Record(tag, number);
  return rec ? rec->NumElements : 0;
}

const Abi_flag_record* CAbi::Present(const char* tag, LONG number) {
  const Abi_flag_record* rec = Record(tag, number);
  return rec && rec->NumElements > 0 ? rec : nullptr;
}

LONG CAbi::DataCount(int first, int channels, bool largest) {
  if (!m_pTagTable || m_nTagTableSize < first + channels) return 0;
  LONG count = m_pTagTable[first].NumElements;
  if (largest)
    for (int k = 1; k < channels; ++k) count = std::max(count, m_pTagTable[first + k].NumElements);
  return count;
}

int CAbi::GetSampleCount() {
  if (!m_bHasSequenceResult && !m_bHasFragmentResult) return 0;
  return DataCount(kSampleTag, 4, true);
}

int CAbi::GetRawDataCount() {
  if (!m_bHasRawData) return 0;
  return DataCount(kRawDataTag, 4, true);
}

int CAbi::GetVcptCount() {
  if (!m_bHasRawData && !m_bHasSequenceResult && !m_bHasFragmentResult) return 0;
  return DataCount(kVcptDataTag, 1, false);
}

// ---- Building ----

static void FillTraceRecords(Abi_flag_record* table, int first, unsigned int n) {
  for (int k = 0; k < 4; ++k)
    abif::SetRecord(&table[first + k], 4, 2, LONG(n), abif::MulWrap(LONG(n), 2), table[first + k].DataOffset);
}

int CAbi::InitSampleSizeAndArray(unsigned int n) {
  if (m_bSequenceFile)
    m_bHasSequenceResult = 1;
  else if (m_bFragmentFile)
    m_bHasFragmentResult = 1;
  // Without a tag table there is nothing to fill; the array is still made.
  if (m_pTagTable) FillTraceRecords(m_pTagTable.get(), kSampleTag, n);
  m_samples.allocate(n);
  return 1;
}

int CAbi::InitRawDataSizeAndArray(unsigned int n) {
  m_bHasRawData = 1;
  if (m_pTagTable) FillTraceRecords(m_pTagTable.get(), kRawDataTag, n);
  m_rawData.allocate(n);
  return 1;
}

int CAbi::InitVcptDataSizeAndArray(unsigned int n) {
  if (m_pTagTable) FillTraceRecords(m_pTagTable.get(), kVcptDataTag, n);
  m_vcptData.allocate(n);
  return 1;
}

// ---- Element access ----

namespace {
int StorePoint(AbiTraceRecord* at, AbiTraceRecord point) {
  if (!at) return 0;
  *at = point;
  return 1;
}

int LoadPoint(const AbiTraceRecord* at, unsigned short& v0, unsigned short& v1, unsigned short& v2,
              unsigned short& v3) {
  if (!at) return 0;
  v0 = at->Slot[0], v1 = at->Slot[1], v2 = at->Slot[2], v3 = at->Slot[3];
  return 1;
}
}  // namespace

int CAbi::SetSample(int i, unsigned short a, unsigned short c, unsigned short g, unsigned short t) {
  return StorePoint(abif::Element(m_samples, i, GetSampleCount()), AbiTraceRecord{{a, c, g, t}});
}

int CAbi::GetSample(int i, unsigned short& a, unsigned short& c, unsigned short& g, unsigned short& t) {
  return LoadPoint(abif::Element(m_samples, i, GetSampleCount()), a, c, g, t);
}

int CAbi::SetRawData(int i, unsigned short a, unsigned short c, unsigned short g, unsigned short t) {
  return StorePoint(abif::Element(m_rawData, i, GetRawDataCount()), AbiTraceRecord{{a, c, g, t}});
}

int CAbi::GetRawData(int i, unsigned short& a, unsigned short& c, unsigned short& g, unsigned short& t) {
  return LoadPoint(abif::Element(m_rawData, i, GetRawDataCount()), a, c, g, t);
}

int CAbi::SetVcptData(int i, unsigned short v0, unsigned short v1, unsigned short v2, unsigned short v3) {
  return StorePoint(abif::Element(m_vcptData, i, GetVcptCount()), AbiTraceRecord{{v0, v1, v2, v3}});
}

int CAbi::GetVcptData(int i, unsigned short& v0, unsigned short& v1, unsigned short& v2, unsigned short& v3) {
  return LoadPoint(abif::Element(m_vcptData, i, GetVcptCount()), v0, v1, v2, v3);
}

int CAbi::SetBase(int i, unsigned short position, char base) {
  AbiBaseRecord* r = abif::Element(m_bases, i, GetBaseCount());
  if (!r) return 0;
  r->Position = position;
  r->Base = base;
  return 1;
}

int CAbi::GetBase(int i, unsigned short& position, char& base) {
  const AbiBaseRecord* r = abif::Element(m_bases, i, GetBaseCount());
  if (!r) return 0;
  position = r->Position;
  base = r->Base;
  return 1;
}

// ---- Values ----

int CAbi::GetFileStatus(CFileStatus& status) {
  if (!m_bStatusValid || !m_pFileStatus) return 0;
  status = *m_pFileStatus;
  return 1;
}

void CAbi::GetScaleFactor(unsigned short* factors) {
  if (factors) std::copy(m_nScaleFactor, m_nScaleFactor + 4, factors);
}

void CAbi::SetScaleFactor(const unsigned short* factors) {
  if (factors) std::copy(factors, factors + 4, m_nScaleFactor);
}

void CAbi::SetTraceOrder(const CString& order) {
  for (int i = 0; i < 4; ++i) m_szTraceOrder[i] = i < order.GetLength() ? order[i] : '\0';
}

// The four letters have no terminator of their own; they end at the first NUL or after
// four characters, where the old code read on into the next field.
CString CAbi::TraceOrderText() const {
  int n = 0;
  while (n < 4 && m_szTraceOrder[n]) ++n;
  return CString(m_szTraceOrder, n);
}

CString CAbi::TraceOrderOrDefault() const {
  CString order = TraceOrderText();
  return order.IsEmpty() ? CString("ACGT") : order;
}

CString CAbi::GetTraceOrder() {
  // Kept: a trace order set by the caller reads back empty until a Read or Write has
  // filled the FWO_ record.
  if (RecordCount("FWO_", 1) <= 0) return CString();
  return TraceOrderText();
}

int CAbi::GetDirectoryCount() { return int(m_directory.n); }

int CAbi::GetDirectoryEntry(int i, Abi_flag_record& record) {
  if (i < 0 || std::size_t(i) >= m_directory.n) return 0;
  record = m_directory.get()[i];
  return 1;
}

// ---- Dates ----

CTime CAbi::GetTimeFromString(CString text) {
  int month = 1, day = 1, year = 2000, hour = 0, minute = 0, second = 0;
  text.Trim();
  // The next blank-separated token, cut from the front of the text.
  auto nextToken = [&text]() {
    int blank = text.Find(' ');
    CString token = blank < 0 ? text : text.Left(blank);
    text = blank < 0 ? CString() : text.Mid(blank);
    text.TrimLeft();
    return token;
  };

  CString name = nextToken();
  name.MakeUpper();
  static const struct { const char* name; int month; } kMonths[] = {
      {"JANUARY", 1}, {"JAN", 1}, {"FEBRUARY", 2}, {"FEB", 2}, {"MARCH", 3}, {"MAR", 3},
      {"APRIL", 4}, {"APR", 4}, {"MAY", 5}, {"JUNE", 6}, {"JUN", 6}, {"JULY", 7}, {"JUL", 7},
      {"AUGUST", 8}, {"AUG", 8}, {"SEPTEMBER", 9}, {"SEPT", 9}, {"OCTOBER", 10}, {"OCT", 10},
      {"NOVEMBER", 11}, {"NOV", 11}, {"DECEMBER", 12}, {"DEC", 12}};
  for (const auto& m : kMonths)
    if (name == m.name) month = m.month;

  // The year's four-byte buffer lies right before the day's, and the year is converted
  // from the day's buffer. Kept: a four-character year spills its terminator there and
  // reads as 0, a shorter one reads as the day. Copies stop at the end of the two
  // buffers, where the old code went on into its neighbours.
  char scratch[8] = {};
  auto copyInto = [&scratch](int at, const CString& token) {
    int i = 0;
    for (; i < token.GetLength() && at + i < 8; ++i) scratch[at + i] = token[i];
    if (at + i < 8) scratch[at + i] = '\0';
  };
  auto dayBuffer = [&scratch]() {
    std::string s(scratch + 4, strnlen(scratch + 4, 4));
    return std::atoi(s.c_str());
  };
  copyInto(4, nextToken());
  day = dayBuffer();
  copyInto(0, nextToken());
  year = dayBuffer();

  CString clock = text;
  hour = std::atoi(clock.Left(2));
  minute = std::atoi(clock.Mid(3, 2));
  second = std::atoi(clock.Mid(6, 2));
  // Kept: the arguments go to the constructor in this order, as they always did.
  return CTime(month, day, year, hour, minute, second, -1);
}

}  // namespace zev
