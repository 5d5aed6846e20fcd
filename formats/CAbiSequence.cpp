// CAbi, sequence files: the 33-record tag table, the comment records, the called bases.
#include <algorithm>
#include <string>

#include "formats/CAbiInternal.h"
#include "zevutil/CAbi.h"

namespace zev {

using abif::CheckFileCanFill;
using abif::SeekData;
using abif::SetRecord;

void CAbi::InitialSeqFlagRecords() {
  // A new table replaces the old one; a copy that shares the old one keeps it.
  m_pTagTable = std::shared_ptr<Abi_flag_record[]>(new Abi_flag_record[kSequenceRecordCount]());
  m_nTagTableSize = kSequenceRecordCount;
  for (int i = 0; i < kSequenceRecordCount; ++i)
    m_pTagTable[i] = abif::MakeRecord(abif::kSequenceTags[i].tag, abif::kSequenceTags[i].number);
}

int CAbi::InitBaseSizeAndArray(unsigned int b) {
  LONG n = LONG(b);
  for (LONG number = 1; number <= 2; ++number) {
    SetRecord(Record("PBAS", number), 2, 1, n, n, 0);
    SetRecord(Record("PLOC", number), 4, 2, n, abif::MulWrap(n, 2), 0);
  }
  m_bases.allocate(b);
  return 1;
}

int CAbi::GetBaseCount() {
  if (!m_bHasSequenceResult) return 0;
  return RecordCount("PBAS", 2);
}

// ---- Reading ----

// A pascal string: one length byte and that many characters, cut at a NUL byte. Kept:
// the data field is always taken as an offset, so a text short enough to stand inline
// in its directory entry is looked for elsewhere and usually reads empty.
CString abif::ReadPascalString(ByteCursor& in, const Abi_flag_record& rec) {
  SeekData(in, rec.DataOffset);
  std::size_t length = in.U8();
  std::string text = in.Bytes(length);
  std::size_t nul = text.find('\0');
  if (nul != std::string::npos) text.resize(nul);
  return CString(std::move(text));
}

void CAbi::ReadComments(ByteCursor& in) {
  if (auto* rec = Present("SMPL", 1)) m_strSampleName = abif::ReadPascalString(in, *rec);
  if (auto* rec = Present("CpEP", 1)) m_nCpEPValue = int(DWORD(rec->DataOffset) >> 24);
  // Kept: only bits 16 to 23 are taken, so a lane above 255 loses its high byte.
  if (auto* rec = Present("LANE", 1)) m_nLaneNumber = int((DWORD(rec->DataOffset) >> 16) & 0xFF);
  if (auto* rec = Present("MCHN", 1)) m_strMachineName = abif::ReadPascalString(in, *rec);
  if (auto* rec = Present("PDMF", 1)) m_strDyeMobilityFile = abif::ReadPascalString(in, *rec);
  if (auto* rec = Present("Rate", 1)) {
    SeekData(in, rec->DataOffset);
    for (LONG& v : m_scanRate.lRate) v = in.I32();
  }
  if (auto* rec = Present("Scan", 1)) m_nScanNumber = WORD(DWORD(rec->DataOffset) >> 16);
  ReadRunTime(1, m_runStart);
  ReadRunTime(2, m_runStop);
  if (auto* rec = Present("FWO_", 1)) StoreU32(reinterpret_cast<std::uint8_t*>(m_szTraceOrder), DWORD(rec->DataOffset));
  if (auto* rec = Present("S/N%", 1)) {
    SeekData(in, rec->DataOffset);
    CString order = TraceOrderOrDefault();
    for (int i = 0; i < 4; ++i) {
      WORD value = in.U16();
      int slot = abif::SlotOfLetter(order[i]);
      if (slot >= 0) m_nScaleFactor[slot] = value;
    }
  }
  if (auto* rec = Present("SPAC", 1)) {
    DWORD bits = DWORD(rec->DataOffset);
    std::memcpy(&m_fAverageBaseSpace, &bits, 4);
  }
}

void CAbi::ReadBases(ByteCursor& in) {
  LONG count = GetBaseCount();
  if (count == 0) return;
  CheckFileCanFill(in, count, 3);
  std::size_t n = std::size_t(count);
  m_bases.allocate(n, false);  // every record is filled below
  AbiBaseRecord* bases = m_bases.get();
  const Abi_flag_record* letters = Record("PBAS", 2);
  const Abi_flag_record* positions = Record("PLOC", 2);

  std::string sequence(n, '\0');
  SeekData(in, letters->DataOffset);
  in.Read(sequence.data(), n);  // zeros past the end
  SeekData(in, positions->DataOffset);
  std::size_t whole = std::min(n, in.Remaining() / 2);
  const std::uint8_t* p = in.Data() + in.Tell();
  for (std::size_t j = 0; j < whole; ++j) bases[j].Position = LoadU16(p + 2 * j);
  in.Skip(2 * whole);
  for (std::size_t j = whole; j < n; ++j) bases[j].Position = in.U16();
  for (std::size_t j = 0; j < n; ++j) bases[j].Base = sequence[j];
  m_strBaseSequence += CString(std::move(sequence));
}

// ---- Writing ----

void CAbi::WriteComments(Image& out) {
  if (!TraceOrderText().IsEmpty())
    SetRecord(Record("FWO_", 1), 2, 1, 4, 4, LONG(LoadU32(reinterpret_cast<const std::uint8_t*>(m_szTraceOrder))));
  SetRecord(Record("CpEP", 1), 1, 1, 1, 1, LONG(0x01000000));
  SetRecord(Record("LANE", 1), 4, 2, 1, 2, LONG(DWORD(WORD(m_nLaneNumber)) << 16));
  WritePascalString(out, "MCHN", 1, m_strMachineName);
  WriteScanRate(out);
  SetRecord(Record("Scan", 1), 4, 2, 1, 2, LONG(DWORD(m_nScanNumber) << 16));
  SetRunTimeRecords();
  SetOtherFlags_Sequence(out);
}

void CAbi::SetOtherFlags_Sequence(Image& out) {
  SetRecord(Record("AEPt", 1), 4, 2, 1, 2, 0);
  // SMPL and PDMF go out even when empty, as a single length byte of 0.
  WritePascalString(out, "SMPL", 1, m_strSampleName);
  WritePascalString(out, "PDMF", 1, m_strDyeMobilityFile);
  if (Abi_flag_record* rec = Record("S/N%", 1)) {
    // Slots go out in the order A, C, G, T; kept: the reader maps them by the trace order.
    SetRecord(rec, 4, 2, 4, 8, out.Cursor());
    for (WORD factor : m_nScaleFactor) out.PutU16(factor);
    out.Advance(rec->DataSize);
  }
  DWORD bits;
  std::memcpy(&bits, &m_fAverageBaseSpace, 4);
  SetRecord(Record("SPAC", 1), 7, 4, 1, 4, LONG(bits));
}

void CAbi::WriteBases(Image& out) {
  LONG count = GetBaseCount();
  if (count <= 0) return;
  std::size_t n = std::min<std::size_t>(std::size_t(count), m_bases.n);
  const AbiBaseRecord* bases = m_bases.get();
  for (LONG number = 1; number <= 2; ++number) {
    Abi_flag_record* rec = Record("PLOC", number);
    rec->DataOffset = out.Cursor();
    std::uint8_t* p = out.Grow(2 * n);
    for (std::size_t j = 0; j < n; ++j) StoreU16(p + 2 * j, bases[j].Position);
    out.Advance(rec->DataSize);
  }
  for (LONG number = 1; number <= 2; ++number) {
    Abi_flag_record* rec = Record("PBAS", number);
    rec->DataOffset = out.Cursor();
    std::uint8_t* p = out.Grow(n);
    for (std::size_t j = 0; j < n; ++j) p[j] = std::uint8_t(bases[j].Base);
    out.Advance(rec->DataSize);
  }
}

}  // namespace zev
