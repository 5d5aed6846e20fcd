// The channel list: its sorted insert, the walks by source, and the conversions to and
// from sets of seq channel numbers.
#include "zevutil/CChannelIDList.h"

#include <vector>

namespace zev {

namespace {

bool Greater(const VQ_DATACHANNEL_ID& a, const VQ_DATACHANNEL_ID& b) {
  return a.Source > b.Source || (a.Source == b.Source && a.Type > b.Type);
}

// The longest type list taken from the table, and the most rows scanned.
constexpr int kMaxTypes = 64;
constexpr int kMaxSourceRows = 128;

}  // namespace

POSITION CChannelIDList::AddChannel(const VQ_DATACHANNEL_ID& id) {
  POSITION pos = GetTailPosition();
  while (pos) {
    POSITION at = pos;
    const VQ_DATACHANNEL_ID& entry = GetPrev(pos);
    if (!Greater(entry, id)) {
      if (entry == id) return at;
      return InsertAfter(at, id);
    }
  }
  // kept: an id below every entry goes to the tail, not the head; the source walks
  // read the list in its actual order.
  return AddTail(id);
}

void CChannelIDList::RemoveChannel(const VQ_DATACHANNEL_ID& id) {
  if (POSITION pos = Find(id)) RemoveAt(pos);
}

int CChannelIDList::IsChannelPresent(const VQ_DATACHANNEL_ID& id) const { return Find(id) ? 1 : 0; }

int CChannelIDList::IsChannelPresent(int seq) const {
  CBitVector v;
  GetBitVector(v);
  return v[seq];
}

const LONG* CChannelIDList::GetTypeList(LONG source) const {
  for (int row = 0; row < kMaxSourceRows && ZevSourceTypeTable[row].lSource != -1; ++row)
    if (ZevSourceTypeTable[row].lSource == source) return ZevSourceTypeTable[row].pTypeList;
  return nullptr;
}

void CChannelIDList::AddSource(LONG source) {
  if (const LONG* types = GetTypeList(source))
    for (int i = 0; i < kMaxTypes && types[i] != -1; ++i) AddChannel(source, types[i]);
}

void CChannelIDList::RemoveSource(LONG source) {
  if (const LONG* types = GetTypeList(source))
    for (int i = 0; i < kMaxTypes && types[i] != -1; ++i) RemoveChannel(source, types[i]);
}

LONG CChannelIDList::GetNextDataSource(POSITION& pos) const {
  if (!pos) return -1;
  const LONG source = GetNext(pos).Source;
  while (pos && GetAt(pos).Source == source) GetNext(pos);
  return source;
}

int CChannelIDList::GetNumberOfSources() const {
  int count = 0;
  for (POSITION pos = GetHeadPosition(); pos;) {
    GetNextDataSource(pos);
    ++count;
  }
  return count;
}

int CChannelIDList::IsSourcePresent(LONG source) const {
  for (POSITION pos = GetHeadPosition(); pos;)
    if (GetNextDataSource(pos) == source) return 1;
  return 0;
}

void CChannelIDList::GetSourceVector(CBitVector& v) const {
  v.RemoveAll();
  for (POSITION pos = GetHeadPosition(); pos;) v += int(GetNextDataSource(pos));
}

VQ_DATACHANNEL_ID CChannelIDList::GetNextChannelForSource(POSITION& pos, LONG source) const {
  while (pos) {
    const VQ_DATACHANNEL_ID id = GetNext(pos);
    if (id.Source == source) {
      while (pos && GetAt(pos).Source != source) GetNext(pos);
      return id;
    }
  }
  return VQ_DATACHANNEL_ID{-1, -1};
}

int CChannelIDList::GetNextSeqChannel(POSITION& pos) const {
  if (!pos) return -1;
  return ConvertToSeq(GetNext(pos));
}

void CChannelIDList::GetBitVector(CBitVector& v) const {
  v.RemoveAll();
  for (POSITION pos = GetHeadPosition(); pos;) v += ConvertToSeq(GetNext(pos));
}

void CChannelIDList::GetTypeVector(CBitVector& v) const { GetTypeVector(-1, v); }

void CChannelIDList::GetTypeVector(LONG source, CBitVector& v) const {
  v.RemoveAll();
  for (POSITION pos = GetHeadPosition(); pos;) {
    const VQ_DATACHANNEL_ID& id = GetNext(pos);
    if (source == -1 || id.Source == source) v += int(id.Type);
  }
}

int CChannelIDList::GetNumberOfTypes(LONG source) const {
  CBitVector v;
  GetTypeVector(source, v);
  return v.GetNumberOfMembers();
}

void CChannelIDList::Destroy() { RemoveAll(); }

VQ_DATACHANNEL_ID CChannelIDList::ConvertToVQChannel(int seq) const { return SeqToVQChannel(seq); }

int CChannelIDList::ConvertToSeq(const VQ_DATACHANNEL_ID& id) const { return VQToSeq(id); }

CChannelIDList& CChannelIDList::operator=(const CChannelIDList& other) {
  if (this == &other) return *this;
  Destroy();
  for (POSITION pos = other.GetHeadPosition(); pos;) AddTail(other.GetNext(pos));
  return *this;
}

CChannelIDList& CChannelIDList::operator=(const CBitVector& channels) {
  Destroy();
  for (POSITION pos = channels.GetFirstPosition(); pos;) AddTail(ConvertToVQChannel(channels.GetNext(pos)));
  return *this;
}

int CChannelIDList::operator==(const CChannelIDList& other) const {
  if (GetCount() != other.GetCount()) return 0;
  for (POSITION pos = other.GetHeadPosition(); pos;)
    if (!IsChannelPresent(other.GetNext(pos))) return 0;
  return 1;
}

int CChannelIDList::operator==(const CBitVector& channels) const {
  if (channels.GetNumberOfMembers() != GetCount()) return 0;
  // kept: the walk stops at the first member that is not above 0, so with channel 0
  // in the set equal counts are enough.
  for (POSITION pos = channels.GetFirstPosition(); pos;) {
    const int seq = channels.GetNext(pos);
    if (seq <= 0) break;
    if (!IsChannelPresent(seq)) return 0;
  }
  return 1;
}

CChannelIDList& CChannelIDList::operator+(const CChannelIDList& other) {
  // Taken first, so that adding a list to itself walks no list it changes.
  std::vector<VQ_DATACHANNEL_ID> entries;
  for (POSITION pos = other.GetHeadPosition(); pos;) entries.push_back(other.GetNext(pos));
  for (const VQ_DATACHANNEL_ID& id : entries) AddChannel(id);
  return *this;
}

CChannelIDList& CChannelIDList::operator-(const CChannelIDList& other) {
  std::vector<VQ_DATACHANNEL_ID> entries;
  for (POSITION pos = other.GetHeadPosition(); pos;) entries.push_back(other.GetNext(pos));
  for (const VQ_DATACHANNEL_ID& id : entries) RemoveChannel(id);
  return *this;
}

}  // namespace zev
