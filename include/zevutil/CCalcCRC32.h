// CCalcCRC32: the library's running checksum: reflected CRC-32, polynomial 0xEDB88320,
// start value 0xFFFFFFFF by default, no final inversion.
#pragma once
#include "zevutil/platform/Types.h"

namespace zev {

class CCalcCRC32 {
 public:
  explicit CCalcCRC32(ULONG initial = 0xFFFFFFFF);
  CCalcCRC32(const CCalcCRC32&) = default;
  CCalcCRC32& operator=(const CCalcCRC32&) = default;

  // The current value becomes the initial value.
  CCalcCRC32& Reset() { m_crc = m_initial; return *this; }
  // Runs the bytes through the checksum; returns the object so that calls chain.
  CCalcCRC32& CalcBlock(const void* data, ULONG bytes);
  ULONG GetCRC() const { return m_crc; }
  CCalcCRC32& SetCRC(ULONG crc) { m_crc = crc; return *this; }
  bool operator==(const CCalcCRC32& o) const { return m_crc == o.m_crc; }
  bool operator==(ULONG v) const { return m_crc == v; }

  // The class-wide byte table, filled when the first instance is constructed.
  static ULONG sm_CRCTable[256];
  static BOOL sm_bTableInit;

 protected:
  static void initCRC_table();

  ULONG m_crc;
  ULONG m_initial;
};

}  // namespace zev
