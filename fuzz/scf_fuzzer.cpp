// SCF reader: any bytes read without a fault; whatever reads and writes again must
// read back.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "zevutil/CScf.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  zev::CScf scf;
  if (!scf.ReadFromMemory(data, size)) return 0;
  unsigned int peak;
  unsigned char a, c, g, t;
  char base;
  unsigned short s[4];
  for (unsigned i = 0; i < scf.GetBaseSize() && i < 4096; ++i) scf.GetBase(int(i), peak, a, c, g, t, base);
  for (unsigned i = 0; i < scf.GetSampleSize() && i < 4096; ++i) scf.GetSample(int(i), s[0], s[1], s[2], s[3]);
  for (unsigned i = 0; i < scf.GetRawDataSize() && i < 4096; ++i) scf.GetRawData(int(i), s[0], s[1], s[2], s[3]);
  for (unsigned i = 0; i < scf.GetCvtDataSize() && i < 4096; ++i) scf.GetCvtData(int(i), a, c, g);
  for (zev::POSITION p = scf.GetFirstCommentPosition(); p;) scf.GetNextComment(p);
  (void)scf.GetVersion();
  const char* text;
  scf.GetBarcode(text);
  scf.GetSubjectID(text);
  std::vector<zev::BYTE> out;
  if (scf.WriteToMemory(out)) {
    zev::CScf again;
    if (!again.ReadFromMemory(out.data(), out.size())) std::abort();
  }
  return 0;
}
