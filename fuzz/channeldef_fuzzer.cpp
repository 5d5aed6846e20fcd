// Channel definitions read from any bytes (counts and components as found), then
// merged, compared and turned into component arrays.
#include <cstddef>
#include <cstdint>

#include "zevutil/CChannelDef.h"
#include "zevutil/CMemArchive.h"

using namespace zev;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CMemArchive ar(CArchive::load);
  if (size > 0) ar.SetData(data, ULONG(size));
  CChannelDef def;
  CreateDefaultZEVChannelDef(def);
  try {
    def.Serialize(ar);
  } catch (CException* e) {
    e->Delete();
  }
  int order[129];
  def.GetComponentArray(order);
  for (int i = 0; i < 129; ++i) def.GetChannel(order[i]);
  def.SetComponentArray(order);
  for (int ch = -1; ch <= 129; ++ch) {
    def.GetPhysChannel(ch);
    def.IsPhysChannelPresent(ch);
  }
  CChannelDef other;
  CreateDefaultZEVChannelDef(other);
  // A tag that differs from the one read in its lowest bit: any value read (even the
  // largest) gives another valid tag, where adding one would overflow.
  other.SetLayoutTag(def.GetLayoutTag() ^ 1);
  CChannelDef merged = def;
  merged += other;
  merged += merged;
  other += def;
  (void)(merged == def);
  merged -= def;
  CMemArchive out(CArchive::store);
  merged.Serialize(out);
  return 0;
}
