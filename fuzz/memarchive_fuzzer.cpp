// A memory archive read by a mix of typed reads: the first bytes choose the reads,
// the rest is the data. Between reads the block functions must stay consistent.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "FuzzSupport.h"
#include "zevutil/CMemArchive.h"
#include "zevutil/VqeReportStream.h"

using namespace zev;
using zevfuzz::Check;

namespace {
void ReadOne(CMemArchive& ar, std::uint8_t op) {
  switch (op % 16) {
    case 0: { BYTE v; ar >> v; break; }
    case 1: { WORD v; ar >> v; break; }
    case 2: { int v; ar >> v; break; }
    case 3: { double v; ar >> v; break; }
    case 4: { CString s; ar >> s; break; }
    case 5: { char buf[32]; BndChars t(buf, sizeof buf); ar >> t; break; }
    case 6: { _bstr_t t; ar >> t; break; }
    case 7: {
      char buf[16];
      try {
        CSAR_extract(buf, sizeof buf).Extract(ar);
      } catch (CArchiveException*) {
        throw;
      } catch (CException* e) {
        e->Delete();
        VqErr.Flush();
      }
      break;
    }
    case 8: ar.ReadCount(); break;
    case 9: { CTime t; ar >> t; break; }
    case 10: { BYTE buf[40]; ar.Read(buf, op % 40); break; }
    case 11: {
      // A copy holds the same bytes and the same checksum.
      CMemArchive copy(CArchive::load);
      copy = ar;
      Check(copy == ar);
      Check(copy.GetCRC() == ar.GetCRC());
      break;
    }
    case 12: {
      // Append a little at the end and come back to reading from the start.
      ULONG size = ar.GetDataSize();
      ar.SetMode(CArchive::store);
      ar << WORD(op);
      ar.SetMode(CArchive::load);
      Check(ar.GetDataSize() == size + 2);
      Check(ar.GetSizeOfDataRemaining() == size + 2);
      break;
    }
    case 13: { CByteArray bytes; Check(ar.GetData(bytes) == ar.GetDataSize()); break; }
    default: { float v; ar >> v; break; }
  }
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  size_t nOps = size ? data[0] % 32 : 0;
  if (size < 1 + nOps) return 0;
  const std::uint8_t* ops = data + 1;
  CMemArchive ar(CArchive::load);
  ar.SetData(ops + nOps, ULONG(size - 1 - nOps));
  try {
    for (size_t i = 0; i < nOps; ++i) {
      ReadOne(ar, ops[i]);
      Check(ar.GetSizeOfDataRemaining() <= ar.GetDataSize());
    }
  } catch (CException* e) {
    e->Delete();
  }
  return 0;
}
