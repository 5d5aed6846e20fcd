// A match array read from any bytes, then used as a sequence uses it: sorted both ways,
// inserted into, copied, stored and read back.
#include "ObjectFuzzSupport.h"
#include "zevutil/ContaminantMatch.h"

using namespace zev;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ContaminantMatchArray array(2);
  if (!zevfuzz::ReadAll(array, data, size)) return 0;
  array.SortByBegin();
  array.SortForApply();
  ContaminantMatchArray copy(0);
  copy.Copy(array);
  zevfuzz::CheckFixedPoint(copy);
  ContaminantMatch extra;
  extra.m_dScore = array.GetSize() ? array[0]->m_dScore : 1.0;
  array.Insert(extra);
  array.Insert(ContaminantMatch());
  array.Reset(0);
  array.Insert(extra);
  if (array.GetSize() != 0) __builtin_trap();
  return 0;
}
