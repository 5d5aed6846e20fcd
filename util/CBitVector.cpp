// CBitVector: the 128-bit member table, its cursor and POSITION walks, and its stored block.
#include "zevutil/CBitVector.h"

#include <cstdint>
#include <cstring>

namespace zev {

namespace {

// A POSITION of the stateless walk packs the byte number (from 1) in the low half
// and the bit number (0 to 7) in the high half.
POSITION PackPosition(int byteNumber, int bit) {
  return reinterpret_cast<POSITION>(static_cast<std::uintptr_t>(MAKELONG(WORD(byteNumber), WORD(bit))));
}

void PutLong(BYTE* p, LONG v) { std::memcpy(p, &v, 4); }

// Reads four little-endian bytes at offset; bytes past the end of the block count as 0.
LONG GetLongAt(const CByteArray& block, long long offset) {
  BYTE b[4] = {0, 0, 0, 0};
  for (int i = 0; i < 4; ++i) {
    long long at = offset + i;
    if (at >= 0 && at < block.GetSize()) b[i] = block[INT_PTR(at)];
  }
  LONG v;
  std::memcpy(&v, b, 4);
  return v;
}

}  // namespace

CBitVector::CBitVector() : m_nSize(kTableBits), m_nCursor(0) { std::memset(m_Bits, 0, sizeof m_Bits); }

CBitVector::CBitVector(const CBitVector& other) : m_nSize(other.m_nSize), m_nCursor(other.m_nCursor) {
  std::memcpy(m_Bits, other.m_Bits, sizeof m_Bits);
}

CBitVector& CBitVector::operator=(const CBitVector& other) {
  std::memcpy(m_Bits, other.m_Bits, sizeof m_Bits);
  m_nSize = other.m_nSize;
  m_nCursor = other.m_nCursor;
  return *this;
}

CBitVector::~CBitVector() = default;

void CBitVector::RemoveAll() {
  std::memset(m_Bits, 0, sizeof m_Bits);
  m_nSize = kTableBits;
  m_nCursor = 0;
}

CBitVector& CBitVector::SetAll(int value) {
  std::memset(m_Bits, value ? 0xFF : 0x00, sizeof m_Bits);
  return *this;
}

// Numbers outside the table are the caller's mistake; they touch no memory here.
int CBitVector::operator+=(int n) {
  m_nCursor = n;
  if (n >= 0 && n < kTableBits) m_Bits[n >> 3] = BYTE(m_Bits[n >> 3] | (1u << (n & 7)));
  return 1;
}

int CBitVector::operator-=(int n) {
  m_nCursor = n;
  if (n >= 0 && n < kTableBits) m_Bits[n >> 3] = BYTE(m_Bits[n >> 3] & ~(1u << (n & 7)));
  return 0;
}

int CBitVector::TestBit(int n) const {
  if (n < 0 || n >= kTableBits) return 0;
  return (m_Bits[n >> 3] >> (n & 7)) & 1;
}

int CBitVector::operator==(int n) const { return TestBit(n); }
int CBitVector::operator[](int n) const { return TestBit(n); }
int CBitVector::operator!=(int n) const { return TestBit(n) ? 0 : 1; }

int CBitVector::operator==(const CBitVector& v) const {
  return m_nSize == v.m_nSize && std::memcmp(m_Bits, v.m_Bits, sizeof m_Bits) == 0 ? 1 : 0;
}

int CBitVector::operator!=(const CBitVector& v) const { return (*this == v) ? 0 : 1; }

int CBitVector::operator<=(const CBitVector& v) const {
  if (m_nSize > v.m_nSize) return 0;
  for (int n = 0, limit = ScanLimit(); n < limit; ++n)
    if (TestBit(n) && !v.TestBit(n)) return 0;
  return 1;
}

int CBitVector::operator>=(const CBitVector& v) const {
  if (m_nSize < v.m_nSize) return 0;
  for (int n = 0, limit = v.ScanLimit(); n < limit; ++n)
    if (v.TestBit(n) && !TestBit(n)) return 0;
  return 1;
}

CBitVector CBitVector::operator-(const CBitVector& v) {
  CBitVector result;
  for (int n = GetFirstSet(); n != -1; n = GetNextSet())
    if (!v.TestBit(n)) result += n;
  return result;
}

int CBitVector::GetNumberOfMembers() const {
  int count = 0;
  for (int n = 0, limit = ScanLimit(); n < limit; ++n) count += TestBit(n);
  return count;
}

int CBitVector::GetFirstSet() {
  m_nCursor = -1;
  return GetNextSet();
}

int CBitVector::GetNextSet() {
  const int limit = ScanLimit();
  // A cursor below -1 (stored by += or -= with a negative number) scans from 0 all the same.
  int n = m_nCursor < -1 ? 0 : (m_nCursor >= limit ? limit : m_nCursor + 1);
  for (; n < limit; ++n) {
    if (TestBit(n)) {
      m_nCursor = n;
      return n;
    }
  }
  m_nCursor = -1;
  return -1;
}

POSITION CBitVector::GetFirstPosition() const {
  POSITION pos = nullptr;
  GetNext(pos);
  return pos;
}

int CBitVector::GetNext(POSITION& pos) const {
  int result = 0;
  int byteNumber = 1;
  int bit = 0;
  if (pos) {
    const DWORD packed = DWORD(reinterpret_cast<std::uintptr_t>(pos));
    byteNumber = LOWORD(packed);
    bit = HIWORD(packed);
    result = byteNumber * 8 + bit - 8;
    if (++bit > 7) {
      bit = 0;
      ++byteNumber;
    }
    if (byteNumber < 1) {  // not a position this walk hands out: start from the first byte
      byteNumber = 1;
      bit = 0;
    }
  }
  for (; byteNumber <= kTableBytes; ++byteNumber, bit = 0) {
    for (; bit < 8; ++bit) {
      if ((m_Bits[byteNumber - 1] >> bit) & 1) {
        pos = PackPosition(byteNumber, bit);
        return result;
      }
    }
  }
  pos = nullptr;
  return result;
}

void CBitVector::GetBitTable(int bytes, unsigned char* out) const {
  if (!out || bytes <= 0) return;
  std::memcpy(out, m_Bits, size_t(bytes < kTableBytes ? bytes : kTableBytes));
}

void CBitVector::SetBitTable(int bytes, const unsigned char* in) {
  if (in && bytes > 0) std::memcpy(m_Bits, in, size_t(bytes < kTableBytes ? bytes : kTableBytes));
  m_nCursor = 0;
}

CByteArray& CBitVector::operator>>(CByteArray& out) const {
  out.SetSize(kBlockBytes);
  BYTE* p = out.GetData();
  PutLong(p, kTableBytes);
  std::memcpy(p + 4, m_Bits, kTableBytes);
  PutLong(p + 4 + kTableBytes, m_nCursor);
  return out;
}

CBitVector& CBitVector::operator<<(const CByteArray& in) {
  const LONG bytes = GetLongAt(in, 0);
  m_nSize = int(DWORD(bytes) * 8u);  // 32-bit arithmetic, as the stored count is
  // A block may claim more table bytes than the table holds or than it carries:
  // only what fits on both sides is copied.
  long long avail = in.GetSize() - 4;
  long long take = bytes;
  if (take > kTableBytes) take = kTableBytes;
  if (take > avail) take = avail;
  if (take > 0) std::memcpy(m_Bits, in.GetData() + 4, size_t(take));
  m_nCursor = int(GetLongAt(in, 4 + static_cast<long long>(bytes)));
  return *this;
}

void CBitVector::Serialize(CArchive& ar) {
  if (ar.IsStoring()) {
    CByteArray block;
    *this >> block;
    ar << LONG(block.GetSize());
    ar.Write(block.GetData(), UINT(block.GetSize()));
    return;
  }
  // kept: the stored members are skipped, not loaded; owners rely on the vector
  // keeping what it held.
  LONG length = 0;
  ar >> length;
  DWORD remaining = DWORD(length);
  BYTE scratch[256];
  while (remaining > 0) {
    const UINT chunk = remaining < sizeof scratch ? UINT(remaining) : UINT(sizeof scratch);
    const UINT got = ar.Read(scratch, chunk);
    remaining -= got;
    if (got < chunk) break;  // the data ended: a short read is not an error here
  }
}

}  // namespace zev
