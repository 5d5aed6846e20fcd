// Colour tables read from any bytes (any count, any record), then looked up, copied
// and stored again.
#include "ObjectFuzzSupport.h"
#include "zevutil/CGraphicsInfoArray.h"

using namespace zev;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CGraphicsInfoArray colors;
  const bool ok = zevfuzz::ReadAll(colors, data, size);
  if (colors.GetSize() > INT_PTR(size / 8)) __builtin_trap();  // one entry per record read
  for (int seq = -2; seq <= 130; ++seq) (void)colors.LookUpChannelColor(seq, seq & 1);
  ULONG out[14];
  colors.GetStandardDisplayColors(out, 14);
  colors.GetScanPrintColors(out, 14);
  CGraphicsInfoArray copy(colors);
  copy.SetPrintFromDisplay();
  if (copy.GetSize() < kNumDataIDs) __builtin_trap();
  if (ok) zevfuzz::CheckFixedPoint(colors);
  colors.FillArrayWithDefs();
  zevfuzz::CheckFixedPoint(colors);
  return 0;
}
