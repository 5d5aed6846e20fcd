// Contaminant match records read one after another; each one read is shifted about and
// stored again, and the stored form must read back to the same bytes.
#include "ObjectFuzzSupport.h"
#include "zevutil/ContaminantMatch.h"

using namespace zev;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CMemArchive ar(CArchive::load);
  if (size > 0) ar.SetData(data, ULONG(size));
  try {
    for (int i = 0; i < 64; ++i) {
      ContaminantMatch m;
      m.Serialize(ar);
      zevfuzz::CheckFixedPoint(m);
      m.Length();
      m.InSeq(m.m_lSeqEnd);
      m.Shift(m.m_lSeqBegin);
      m.Shift(LONG(0u - DWORD(m.m_lSeqEnd)));  // wraps like the stored 32-bit value
    }
  } catch (CException* e) {
    e->Delete();
  }
  return 0;
}
