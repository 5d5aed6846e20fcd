// Helpers shared by the ABIF reader and writer: tag matching, checked seeks and
// allocations, and the in-memory image of a file being written.
#pragma once
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <vector>

#include "formats/ByteCursor.h"
#include "formats/ByteOrder.h"
#include "zevutil/CAbi.h"

namespace zev {
namespace abif {

struct TagName {
  char tag[5];
  LONG number;
};

// The directory of a written sequence file, in this order.
inline constexpr TagName kSequenceTags[CAbi::kSequenceRecordCount] = {
    {"DATA", 1}, {"DATA", 2}, {"DATA", 3},  {"DATA", 4},  {"DATA", 5}, {"DATA", 6}, {"DATA", 7},
    {"DATA", 8}, {"DATA", 9}, {"DATA", 10}, {"DATA", 11}, {"DATA", 12}, {"AEPt", 1}, {"AEPt", 2},
    {"FWO_", 1}, {"CpEP", 1}, {"LANE", 1},  {"MCHN", 1},  {"PBAS", 1}, {"PBAS", 2}, {"PDMF", 1},
    {"PDMF", 2}, {"PLOC", 1}, {"PLOC", 2},  {"Rate", 1},  {"Scan", 1}, {"RUND", 1}, {"RUND", 2},
    {"RUNT", 1}, {"RUNT", 2}, {"SMPL", 1},  {"S/N%", 1},  {"SPAC", 1}};

// The directory of a written fragment file, in this order.
inline constexpr TagName kFragmentTags[CAbi::kFragmentRecordCount] = {
    {"DATA", 1}, {"DATA", 2}, {"DATA", 3},  {"DATA", 4},  {"DATA", 5},  {"DATA", 6}, {"DATA", 7},
    {"DATA", 8}, {"DATA", 9}, {"DATA", 10}, {"DATA", 11}, {"DATA", 12}, {"APFN", 1}, {"CpEP", 1},
    {"FWO_", 1}, {"GELN", 1}, {"LANE", 1},  {"LANS", 1},  {"MCHN", 1},  {"MTRX", 4}, {"MTXF", 4},
    {"OffS", 1}, {"OffS", 2}, {"OffS", 3},  {"OffS", 4},  {"PEAK", 1},  {"PEAK", 2}, {"PEAK", 3},
    {"PEAK", 4}, {"PK_#", 1}, {"PK_#", 2},  {"PK_#", 3},  {"PK_#", 4},  {"Rate", 1}, {"RUND", 1},
    {"RUND", 2}, {"RUNT", 1}, {"RUNT", 2},  {"ScSt", 1},  {"SdPk", 1},  {"SdPk", 2}, {"SdPk", 3},
    {"SdPk", 4}, {"Scan", 1}, {"SpNm", 1},  {"StdF", 1}};

// The slot of every tag of a table, found by a hash of its name and number: the
// tables are searched once per directory record of every file read.
class TagLookup {
 public:
  template <std::size_t N>
  constexpr explicit TagLookup(const TagName (&tags)[N]) {
    for (Bucket& b : m_buckets) b = Bucket{};
    for (std::size_t i = 0; i < N; ++i) {
      const std::uint32_t name = Name(tags[i].tag);
      std::size_t h = Hash(name, tags[i].number);
      while (m_buckets[h].slot >= 0) {
        if (m_buckets[h].name == name && m_buckets[h].number == tags[i].number) throw "a tag stands twice";
        h = (h + 1) % kBuckets;
      }
      m_buckets[h] = Bucket{name, tags[i].number, int(i)};
    }
  }
  int Find(const char* tag, LONG number) const {
    const std::uint32_t name = LoadU32(reinterpret_cast<const std::uint8_t*>(tag));
    for (std::size_t h = Hash(name, number);; h = (h + 1) % kBuckets) {
      const Bucket& b = m_buckets[h];
      if (b.slot < 0) return -1;
      if (b.name == name && b.number == number) return b.slot;
    }
  }

 private:
  static constexpr std::size_t kBuckets = 128;  // over twice the larger table: short probes
  struct Bucket {
    std::uint32_t name = 0;
    LONG number = 0;
    int slot = -1;
  };
  static constexpr std::uint32_t Name(const char* tag) {
    return std::uint32_t(std::uint8_t(tag[0])) << 24 | std::uint32_t(std::uint8_t(tag[1])) << 16 |
           std::uint32_t(std::uint8_t(tag[2])) << 8 | std::uint8_t(tag[3]);
  }
  static constexpr std::size_t Hash(std::uint32_t name, LONG number) {
    return std::size_t(((name ^ (std::uint32_t(number) * 0x9E3779B1u)) * 0x85EBCA6Bu) >> 25);
  }
  Bucket m_buckets[kBuckets];
};

inline constexpr TagLookup kSequenceLookup{kSequenceTags};
inline constexpr TagLookup kFragmentLookup{kFragmentTags};

// The slot of a tag in the table of the given size, or -1. The names of a table are
// never swapped, so this also finds a slot of a table that a Write left swapped.
inline int TagIndex(int tableSize, const char* tag, LONG number) {
  return tableSize == CAbi::kSequenceRecordCount   ? kSequenceLookup.Find(tag, number)
         : tableSize == CAbi::kFragmentRecordCount ? kFragmentLookup.Find(tag, number)
                                                   : -1;
}

inline bool TagIs(const Abi_flag_record& r, const char* tag, LONG number) {
  return std::memcmp(r.TagName, tag, 4) == 0 && r.TagNumber == number;
}

inline Abi_flag_record MakeRecord(const char* tag, LONG number) {
  Abi_flag_record r{};
  std::memcpy(r.TagName, tag, 4);
  r.TagNumber = number;
  return r;
}

inline void SetRecord(Abi_flag_record* r, WORD type, WORD size, LONG count, LONG dataSize, LONG data) {
  if (!r) return;
  r->ElementType = type;
  r->ElementSize = size;
  r->NumElements = count;
  r->DataSize = dataSize;
  r->DataOffset = data;
}

// 32-bit arithmetic that wraps as the old platform's did, without signed overflow.
inline LONG AddWrap(LONG a, LONG b) { return LONG(DWORD(a) + DWORD(b)); }
inline LONG MulWrap(LONG a, LONG b) { return LONG(DWORD(a) * DWORD(b)); }

inline DWORD Swap32(DWORD v) {
  return (v >> 24) | ((v >> 8) & 0xFF00u) | ((v << 8) & 0xFF0000u) | (v << 24);
}

// Moves to a data offset of the file. A negative offset fails as a file seek would.
inline void SeekData(ByteCursor& in, LONG offset) {
  if (offset < 0) AfxThrowFileException(CFileException::badSeek);
  in.Seek(std::size_t(offset));
}

// An array read from the file is allocated only when the file could hold its data:
// count elements of bytesEach bytes each. Anything larger fails as the allocation of
// an absurd size did, and so does a negative count.
inline void CheckFileCanFill(const ByteCursor& in, std::int64_t count, std::size_t bytesEach) {
  if (count < 0 || std::uint64_t(count) * bytesEach > in.Size()) AfxThrowMemoryException();
}

// The index of a trace letter in the slots A, C, G, T; -1 for any other letter.
inline int SlotOfLetter(char letter) {
  switch (letter) {
    case 'A': return 0;
    case 'C': return 1;
    case 'G': return 2;
    case 'T': return 3;
    default: return -1;
  }
}

// The element at index i of an array, or null when i is negative, reaches the count or
// lies past what the array holds. An array holds fewer than its count only after misuse
// (a table swapped by Write, a table rebuilt over an array); the peak lists have no count
// but their own size.
template <class Array>
auto Element(const Array& array, int i, LONG count = std::numeric_limits<LONG>::max()) -> decltype(array.get()) {
  return i >= 0 && i < count && std::size_t(i) < array.n ? array.get() + i : nullptr;
}

// A pascal string at the record's offset: a length byte and that many characters,
// cut at a NUL byte.
CString ReadPascalString(ByteCursor& in, const Abi_flag_record& rec);

// Four channels of n big-endian values into n records of four host-order slots.
void InterleaveChannels(const std::uint8_t* const source[4], std::size_t n, AbiTraceRecord* out);

}  // namespace abif

// A new array, zeroed unless the caller fills every element itself.
template <class T>
void CAbi::SharedArray<T>::allocate(std::size_t count, bool zeroed) {
  reset();
  if (count == 0) return;
  try {
    p = std::shared_ptr<T[]>(zeroed ? new T[count]() : new T[count]);
  } catch (const std::bad_alloc&) {
    AfxThrowMemoryException();
  }
  n = count;
}

// The file being written: the data area as it goes out from the write cursor, one
// block after the other, and the 128-byte header that is written at 0 last.
class CAbi::Image {
 public:
  explicit Image(LONG cursor) : m_cursor(cursor) { m_data.reserve(1 << 16); }

  // Where the record's data goes: the cursor as it stands. The file position moves
  // with the bytes actually written, the cursor only by what the record states.
  LONG Cursor() const { return m_cursor; }
  void Advance(LONG dataSize) { m_cursor = abif::AddWrap(m_cursor, dataSize); }

  void Put(const void* p, std::size_t n) {
    const auto* b = static_cast<const std::uint8_t*>(p);
    m_data.insert(m_data.end(), b, b + n);
  }
  void PutU8(std::uint8_t v) { m_data.push_back(v); }
  void PutU16(std::uint16_t v) { StoreU16(Grow(2), v); }
  void PutU32(std::uint32_t v) { StoreU32(Grow(4), v); }
  // Room for n more bytes, to be filled in place; returns where they start.
  std::uint8_t* Grow(std::size_t n) {
    std::size_t at = m_data.size();
    m_data.resize(at + n);
    return m_data.data() + at;
  }

  const std::vector<std::uint8_t>& Data() const { return m_data; }
  std::uint8_t* Header() { return m_header; }

 private:
  LONG m_cursor;
  std::vector<std::uint8_t> m_data;
  std::uint8_t m_header[128] = {};
};

}  // namespace zev
