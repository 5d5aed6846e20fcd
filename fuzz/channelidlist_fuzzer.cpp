// Channel lists read from any bytes (appended unsorted, as stored), then walked by
// source, converted to bit vectors and combined.
#include <cstddef>
#include <cstdint>

#include "zevutil/CChannelIDList.h"
#include "zevutil/CMemArchive.h"

using namespace zev;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CMemArchive ar(CArchive::load);
  if (size > 0) ar.SetData(data, ULONG(size));
  CChannelIDList list;
  try {
    list.Serialize(ar);
  } catch (CException* e) {
    e->Delete();
  }
  if (list.GetCount() > 1 + LONG(size) / 8) __builtin_trap();  // never more entries than bytes allow
  INT_PTR steps = 0;
  for (POSITION p = list.GetHeadPosition(); p; ++steps) {
    list.GetNextDataSource(p);
    if (steps > list.GetCount()) __builtin_trap();
  }
  list.GetNumberOfSources();
  CBitVector sources, types, seqs;
  list.GetSourceVector(sources);
  list.GetTypeVector(types);
  list.GetBitVector(seqs);
  if (!list.IsEmpty()) {
    const LONG source = list.GetHead().Source;
    steps = 0;
    for (POSITION p = list.GetHeadPosition(); p; ++steps) {
      list.GetNextChannelForSource(p, source);
      if (steps > list.GetCount()) __builtin_trap();
    }
    list.GetNumberOfTypes(source);
    list.RemoveSource(source);
    list.AddSource(source);
  }
  (void)(list == seqs);
  CChannelIDList copy(list);
  copy = seqs;
  copy + list;
  (void)(copy == list);
  copy - list;
  CMemArchive out(CArchive::store);
  list.Serialize(out);
  return 0;
}
