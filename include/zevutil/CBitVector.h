// CBitVector: a fixed set of the integers 0 to 127 (in practice channel numbers), with a
// built-in cursor for GetFirstSet/GetNextSet walks and a stateless POSITION walk.
#pragma once
#include "zevutil/platform/CArchive.h"
#include "zevutil/platform/Collections.h"
#include "zevutil/platform/Types.h"

namespace zev {

class CBitVector {
 public:
  static constexpr int kTableBytes = 16;
  static constexpr int kTableBits = kTableBytes * 8;
  // Bytes of the block written by operator>>: table byte count, table, cursor.
  static constexpr int kBlockBytes = 4 + kTableBytes + 4;

  CBitVector();
  CBitVector(const CBitVector& other);
  CBitVector& operator=(const CBitVector& other);
  virtual ~CBitVector();

  // Zeroes the bits; size back to 128, cursor to 0.
  void RemoveAll();
  // Every bit set (nonzero value) or clear; the cursor stays.
  CBitVector& SetAll(int value);

  // Both store n as the cursor. += sets the bit and returns 1, -= clears it and returns 0.
  // A number outside 0..127 changes no bit.
  int operator+=(int n);
  int operator-=(int n);
  // 1 if n is a member, else 0 (always 0 outside 0..127).
  int operator==(int n) const;
  int operator[](int n) const;
  int operator!=(int n) const;

  // Same size and same sixteen table bytes; the cursor takes no part.
  int operator==(const CBitVector& v) const;
  int operator!=(const CBitVector& v) const;
  // Subset: this size not above v's and every member of this in v.
  int operator<=(const CBitVector& v) const;
  // Superset: this size not below v's and every member of v in this.
  int operator>=(const CBitVector& v) const;
  // The members of this that are not in v. Walks this vector's own cursor, which ends at -1.
  CBitVector operator-(const CBitVector& v);

  // The size (128), not the number of members.
  int GetCount() const { return m_nSize; }
  int GetNumberOfMembers() const;

  // Cursor walk: GetFirstSet restarts, GetNextSet scans on from cursor + 1.
  // Each returns the member found (and keeps it as cursor), or -1 at the end.
  int GetFirstSet();
  int GetNextSet();
  int GetCursor() const { return m_nCursor; }

  // Stateless walk: GetFirstPosition gives the lowest member's position (null if
  // empty); GetNext returns the member at pos and moves pos to the next one, or null.
  POSITION GetFirstPosition() const;
  int GetNext(POSITION& pos) const;

  // Copy table bytes out or in (at most the sixteen the table has). SetBitTable
  // sets the cursor to 0 and keeps the size.
  void GetBitTable(int bytes, unsigned char* out) const;
  void SetBitTable(int bytes, const unsigned char* in);

  // The 24-byte block: table byte count (16), the table, the cursor; little-endian.
  CByteArray& operator>>(CByteArray& out) const;
  // Reads such a block: size becomes 8 times its byte count, the table bytes are
  // copied (cursor 0), then the cursor is taken from the word after the table.
  CBitVector& operator<<(const CByteArray& in);

  // Storing writes a LONG 24 and the block. Loading reads a LONG n and skips n bytes:
  // the vector keeps its members (callers that need them read the block themselves).
  void Serialize(CArchive& ar);

 protected:
  int TestBit(int n) const;
  // Bits past the table never exist, whatever the size says.
  int ScanLimit() const { return m_nSize < kTableBits ? m_nSize : kTableBits; }

  unsigned char m_Bits[kTableBytes];
  int m_nSize;
  int m_nCursor;
};

}  // namespace zev
