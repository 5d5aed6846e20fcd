// Channel naming: the conversions between (source, type) and seq channel numbers, the
// exported tables, and the channel definition with its merge and stored form.
#include "zevutil/CChannelDef.h"

#include <algorithm>

namespace zev {

const LONG ZevCapTypeList[12] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, -1};
const LONG ZevSysTypeList[7] = {5, 6, 7, 8, 9, 10, -1};
const SOURCE_TYPE_LIST ZevSourceTypeTable[10] = {
    {0, ZevCapTypeList}, {1, ZevCapTypeList}, {2, ZevCapTypeList}, {3, ZevCapTypeList},
    {4, ZevCapTypeList}, {5, ZevCapTypeList}, {6, ZevCapTypeList}, {7, ZevCapTypeList},
    {8, ZevSysTypeList}, {-1, nullptr},
};
const ZEVPHYSICALINDEX DEFAULT_PHYSCHANNELDEF[11] = {3, 2, 1, 0, 4, 5, 6, 7, 8, 9, 10};

int VQToSeq(LONG source, LONG type) {
  // kept: only the upper bound of the type is tested, so (1, -1) gives 10
  if (type >= ZEV_NUM_DATATYPES) return -1;
  return int(static_cast<DWORD>(source) * DWORD(ZEV_NUM_DATATYPES) + static_cast<DWORD>(type));
}

int VQToSeq(const VQ_DATACHANNEL_ID& id) { return VQToSeq(id.Source, id.Type); }

VQ_DATACHANNEL_ID SeqToVQChannel(int seq) { return VQ_DATACHANNEL_ID{seq / ZEV_NUM_DATATYPES, seq % ZEV_NUM_DATATYPES}; }

CChannelDef& CreateDefaultZEVChannelDef(CChannelDef& def) {
  def.Init(0, 1);
  def.SetLayoutTag(8010);
  def.SetComponentCount(11);
  for (int i = 0; i < 11; ++i) def.AddChannel(VQToSeq(0, i), DEFAULT_PHYSCHANNELDEF[i]);
  return def;
}

// ---- CChannelDef ----

CChannelDef::CChannelDef() { Init(0, 1); }

CChannelDef::CChannelDef(SEQCHANNEL_TYPE type, CBitVector& channels, int count, LONG layoutTag)
    : m_Type(type), m_Channels(channels), m_lLayoutTag(layoutTag),
      m_lComponentCount(std::clamp(count, 0, ZEV_MAX_CHANNELS)) {
  SetDefaultComponentArray();
}

CChannelDef::CChannelDef(SEQCHANNEL_TYPE type, CBitVector& channels, int count, int (&components)[129],
                         LONG layoutTag)
    : m_Type(type), m_Channels(channels), m_lLayoutTag(layoutTag),
      m_lComponentCount(std::clamp(count, 0, ZEV_MAX_CHANNELS)) {
  std::copy(components, components + ZEV_MAX_CHANNELS, m_nComponents);
}

int CChannelDef::CountLimit() const { return int(std::clamp<LONG>(m_lComponentCount, 0, ZEV_MAX_CHANNELS)); }

int CChannelDef::operator==(const CChannelDef& other) const {
  if (m_Type != other.m_Type || m_Channels != other.m_Channels) return 0;
  for (POSITION pos = m_Channels.GetFirstPosition(); pos;) {
    const int channel = m_Channels.GetNext(pos);
    if (GetComponent(channel) != other.GetComponent(channel)) return 0;
  }
  return 1;
}

void CChannelDef::Init(SEQCHANNEL_TYPE type, int empty) {
  m_Channels.RemoveAll();
  m_Type = type;
  std::fill(m_nComponents, m_nComponents + ZEV_MAX_CHANNELS, -1);
  if (empty == 0) {
    AddChannel(0, 0);
    m_lComponentCount = 1;
  } else {
    m_lComponentCount = 0;
  }
}

void CChannelDef::SetDefaultComponentArray() {
  std::fill(m_nComponents, m_nComponents + ZEV_MAX_CHANNELS, -1);
  int physical = 0;
  for (POSITION pos = m_Channels.GetFirstPosition(); pos;) m_nComponents[m_Channels.GetNext(pos)] = physical++;
}

void CChannelDef::AddChannel(int channel, int physical) {
  if (!InRange(physical)) return;
  m_Channels += channel;
  // A channel number outside the array names no slot: the component is dropped.
  if (InRange(channel)) m_nComponents[channel] = physical;
}

void CChannelDef::RemoveChannel(int channel) {
  m_Channels -= channel;
  if (InRange(channel)) m_nComponents[channel] = -1;
}

int CChannelDef::SetPhysComponent(int channel, int physical) {
  const int old = GetComponent(channel);
  AddChannel(channel, physical);
  return old;
}

int CChannelDef::IsChannelPresent(int channel) const { return m_Channels[channel]; }

int CChannelDef::IsPhysChannelPresent(int physical) const { return GetChannel(physical) >= 0 ? 1 : 0; }

int CChannelDef::GetChannel(int physical) const {
  for (POSITION pos = m_Channels.GetFirstPosition(); pos;) {
    const int channel = m_Channels.GetNext(pos);
    if (m_nComponents[channel] == physical) return channel;
  }
  return -1;
}

int CChannelDef::GetPhysChannel(int channel) const { return m_Channels[channel] ? GetComponent(channel) : -1; }

void CChannelDef::SetComponentArray(int (&order)[129]) {
  for (int i = 0, n = CountLimit(); i < n; ++i)
    if (InRange(order[i])) m_nComponents[order[i]] = i;
}

void CChannelDef::GetComponentArray(int (&order)[129]) const {
  std::fill(order, order + ZEV_MAX_CHANNELS, -1);
  for (int i = 0, n = CountLimit(); i < n; ++i)
    if (InRange(m_nComponents[i])) order[m_nComponents[i]] = i;
}

CChannelDef& CChannelDef::operator+=(const CChannelDef& other) {
  if (m_Type != other.m_Type) return *this;
  const bool compatible = m_lLayoutTag == other.m_lLayoutTag || m_lLayoutTag == -1 || other.m_lLayoutTag == -1;
  long long offset = 0;
  if (compatible) {
    m_lComponentCount = std::max(m_lComponentCount, other.m_lComponentCount);
  } else {
    m_lLayoutTag = -1;
    offset = m_lComponentCount;
    m_lComponentCount = LONG(std::min<long long>(static_cast<long long>(m_lComponentCount) + other.m_lComponentCount,
                                                 ZEV_MAX_CHANNELS));
  }
  const CBitVector theirs = other.m_Channels;  // other may be this definition
  for (POSITION pos = theirs.GetFirstPosition(); pos;) m_Channels += theirs.GetNext(pos);
  int components[ZEV_MAX_CHANNELS];
  std::copy(other.m_nComponents, other.m_nComponents + ZEV_MAX_CHANNELS, components);
  for (int i = 0, n = other.CountLimit(); i < n; ++i) {
    if (compatible) {
      if (m_nComponents[i] < 0) m_nComponents[i] = components[i];
    } else if (i + offset >= 0 && i + offset < ZEV_MAX_CHANNELS) {
      m_nComponents[i + offset] = components[i];
    }
  }
  return *this;
}

CChannelDef& CChannelDef::operator-=(const CChannelDef& other) {
  if (m_Type != other.m_Type) return *this;
  const CBitVector theirs = other.m_Channels;
  for (POSITION pos = theirs.GetFirstPosition(); pos;) m_Channels -= theirs.GetNext(pos);
  return *this;
}

void CChannelDef::Serialize(CArchive& ar) {
  if (ar.IsStoring()) {
    ar << kVersion << m_Type;
    m_Channels.Serialize(ar);
    ar << m_lLayoutTag << m_lComponentCount;
    for (int i = 0; i < ZEV_MAX_CHANNELS - 1; ++i) ar << LONG(m_nComponents[i]);
    return;
  }
  LONG version = 0;  // read and not checked
  ar >> version >> m_Type;
  // kept: the bit-vector reader skips its block, so the channel set stays as it was.
  m_Channels.Serialize(ar);
  ar >> m_lLayoutTag >> m_lComponentCount;
  // Component 128 is not stored and keeps its value.
  for (int i = 0; i < ZEV_MAX_CHANNELS - 1; ++i) {
    LONG c = 0;
    ar >> c;
    m_nComponents[i] = c;
  }
}

}  // namespace zev
