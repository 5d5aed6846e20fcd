// CChannelIDList: a list of (source, type) channel names kept sorted by source and type,
// with walks by source and conversions to and from sets of seq channel numbers.
#pragma once
#include "zevutil/CBitVector.h"
#include "zevutil/CChannelDef.h"
#include "zevutil/platform/Collections.h"

namespace zev {

class CChannelIDList : public CList<VQ_DATACHANNEL_ID, VQ_DATACHANNEL_ID> {
 public:
  CChannelIDList() : CList(10) {}
  CChannelIDList(const CChannelIDList& other) : CList(10) { *this = other; }
  ~CChannelIDList() override = default;

  // Inserts after the last entry not greater than id, walking from the tail; nothing
  // when that entry equals id; at the tail when there is no such entry (so an id
  // below all others goes last). Returns the position of the new or equal entry.
  POSITION AddChannel(const VQ_DATACHANNEL_ID& id);
  POSITION AddChannel(LONG source, LONG type) { return AddChannel(VQ_DATACHANNEL_ID{source, type}); }
  // Removes the first equal entry, if any.
  void RemoveChannel(const VQ_DATACHANNEL_ID& id);
  void RemoveChannel(LONG source, LONG type) { RemoveChannel(VQ_DATACHANNEL_ID{source, type}); }
  int IsChannelPresent(const VQ_DATACHANNEL_ID& id) const;
  int IsChannelPresent(LONG source, LONG type) const { return IsChannelPresent(VQ_DATACHANNEL_ID{source, type}); }
  // Membership of a seq channel number in GetBitVector's set.
  int IsChannelPresent(int seq) const;

  // The source's type list from ZevSourceTypeTable, or null for an unknown source.
  const LONG* GetTypeList(LONG source) const;
  void AddSource(LONG source);
  void RemoveSource(LONG source);

  // -1 for a null pos; otherwise the source at pos, moving pos past the entries that
  // directly follow with the same source.
  LONG GetNextDataSource(POSITION& pos) const;
  int GetNumberOfSources() const;
  int IsSourcePresent(LONG source) const;
  // Clears v and adds each source number.
  void GetSourceVector(CBitVector& v) const;
  // The next entry of that source at or after pos; pos moves on to the entry of that
  // source after it, or null. Source -1, type -1 and a null pos when there is none.
  VQ_DATACHANNEL_ID GetNextChannelForSource(POSITION& pos, LONG source) const;
  // -1 for a null pos; otherwise the seq channel of the entry at pos, moving on.
  int GetNextSeqChannel(POSITION& pos) const;

  void GetBitVector(CBitVector& v) const;
  void GetTypeVector(CBitVector& v) const;
  // Types of one source; a source of -1 means all.
  void GetTypeVector(LONG source, CBitVector& v) const;
  int GetNumberOfTypes(LONG source) const;

  virtual void Destroy();
  virtual VQ_DATACHANNEL_ID ConvertToVQChannel(int seq) const;
  virtual int ConvertToSeq(const VQ_DATACHANNEL_ID& id) const;

  CChannelIDList& operator=(const CChannelIDList& other);
  // Each member of the set, ascending, converted to an entry.
  CChannelIDList& operator=(const CBitVector& channels);
  // Same count and every entry of other present here, in any order.
  int operator==(const CChannelIDList& other) const;
  // Same count as the set's members, and every member present, the walk ending at the
  // first member that is not above 0.
  int operator==(const CBitVector& channels) const;
  // Add or remove each of other's entries here, in place; they return this list.
  CChannelIDList& operator+(const CChannelIDList& other);
  CChannelIDList& operator-(const CChannelIDList& other);
  CChannelIDList& operator+=(const CChannelIDList& other) { return *this + other; }
  CChannelIDList& operator-=(const CChannelIDList& other) { return *this - other; }

  // The list's stored form: the count, then 8 raw bytes (source, type) per entry.
  // Loading appends in stored order, without sorting or a test for duplicates.
  using CList::Serialize;
};

}  // namespace zev
