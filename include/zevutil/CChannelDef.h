// Channels of a run: the (source, type) name of a trace, its sequential channel number
// (source * 11 + type) and its physical index, with the conversions, the constant tables
// and CChannelDef, the record of which logical channels a data set has and where each lies.
#pragma once
#include "zevutil/CBitVector.h"
#include "zevutil/platform/CArchive.h"
#include "zevutil/platform/Types.h"

namespace zev {

// Sources 0 to 7 are the capillaries, 8 the instrument as a whole.
using VQDATASOURCE = LONG;
// Types 0 to 3 are the dyes A, C, G, T; then current, voltage, temperature and others.
using VQDATATYPE = LONG;
using SEQCHANNEL_TYPE = LONG;
using ZEVPHYSICALINDEX = int;

inline constexpr LONG ZEV_NUM_DATATYPES = 11;       // ties the seq channel number to (source, type)
inline constexpr VQDATASOURCE ZEV_SYSTEM_SOURCE = 8;  // the instrument as a whole
inline constexpr int ZEV_MAX_CHANNELS = 129;        // logical channel numbers 0 to 128

struct VQ_DATACHANNEL_ID {
  VQDATASOURCE Source;
  VQDATATYPE Type;

  friend bool operator==(const VQ_DATACHANNEL_ID& a, const VQ_DATACHANNEL_ID& b) {
    return a.Source == b.Source && a.Type == b.Type;
  }
  friend bool operator!=(const VQ_DATACHANNEL_ID& a, const VQ_DATACHANNEL_ID& b) { return !(a == b); }
};
static_assert(sizeof(VQ_DATACHANNEL_ID) == 8, "stored as 8 raw bytes");

// One row of the source table: a source and its type list, ended by -1.
struct SOURCE_TYPE_LIST {
  VQDATASOURCE lSource;
  const LONG* pTypeList;
};

// source * 11 + type when type is below 11, else -1 (the lower bound is not tested).
int VQToSeq(const VQ_DATACHANNEL_ID& id);
int VQToSeq(LONG source, LONG type);
// Source seq / 11 and type seq % 11, with truncating division.
VQ_DATACHANNEL_ID SeqToVQChannel(int seq);

// The types of a capillary source (0 to 10) and of the instrument source (5 to 10), each ended by -1.
extern const LONG ZevCapTypeList[12];
extern const LONG ZevSysTypeList[7];
// Rows for sources 0 to 8, ended by a row with source -1 and no list.
extern const SOURCE_TYPE_LIST ZevSourceTypeTable[10];
// The physical index of each type in the default definition: the dyes lie as T, G, C, A.
extern const ZEVPHYSICALINDEX DEFAULT_PHYSCHANNELDEF[11];

class CChannelDef {
 public:
  CChannelDef();
  // Takes the channels, clamps count to 0..129 and numbers the channels physically from 0.
  CChannelDef(SEQCHANNEL_TYPE type, CBitVector& channels, int count, LONG layoutTag);
  // The same, with all 129 components as given.
  CChannelDef(SEQCHANNEL_TYPE type, CBitVector& channels, int count, int (&components)[129], LONG layoutTag);
  CChannelDef(const CChannelDef&) = default;
  CChannelDef& operator=(const CChannelDef&) = default;
  // Not virtual, as in the original layout: a definition is never deleted through a base.
  ~CChannelDef() = default;

  // Type, channel set and each present channel's component; not the tag or the count.
  int operator==(const CChannelDef& other) const;
  int operator!=(const CChannelDef& other) const { return (*this == other) ? 0 : 1; }

  // Clears the set and the components and sets the type. With empty zero the definition
  // holds channel 0 at physical index 0 and a count of 1, otherwise a count of 0.
  void Init(SEQCHANNEL_TYPE type, int empty);
  void Destroy() {}
  // Gives each channel of the set, ascending, the next physical index from 0.
  void SetDefaultComponentArray();

  // Adds the channel only for a physical index in 0..128. The count stays.
  void AddChannel(int channel, int physical);
  void RemoveChannel(int channel);
  // Returns the channel's old physical index and adds it with the new one.
  int SetPhysComponent(int channel, int physical);
  int IsChannelPresent(int channel) const;
  int IsPhysChannelPresent(int physical) const;
  // The lowest channel with this physical index, or -1.
  int GetChannel(int physical) const;
  // The channel's physical index, or -1 when it is not present.
  int GetPhysChannel(int channel) const;
  // order lists, by physical index, the logical channel there (the inverse of the components).
  void SetComponentArray(int (&order)[129]);
  void GetComponentArray(int (&order)[129]) const;

  // Merges another definition of the same type: side by side when the layouts differ.
  CChannelDef& operator+=(const CChannelDef& other);
  // Removes the other's channels (same type only); components and count stay.
  CChannelDef& operator-=(const CChannelDef& other);

  // Version 14001: type, channel set (bit-vector form), layout tag, count, components
  // 0 to 127. Loading leaves component 128 and, as the bit-vector reader skips its
  // block, the channel set as they were.
  virtual void Serialize(CArchive& ar);
  static constexpr LONG kVersion = 14001;

  SEQCHANNEL_TYPE GetType() const { return m_Type; }
  const CBitVector& GetChannels() const { return m_Channels; }
  LONG GetLayoutTag() const { return m_lLayoutTag; }
  void SetLayoutTag(LONG tag) { m_lLayoutTag = tag; }
  LONG GetComponentCount() const { return m_lComponentCount; }
  void SetComponentCount(LONG count) { m_lComponentCount = count; }
  int GetComponent(int channel) const { return InRange(channel) ? m_nComponents[channel] : -1; }

 protected:
  static bool InRange(int n) { return n >= 0 && n < ZEV_MAX_CHANNELS; }
  // The count, limited to the slots the component array has.
  int CountLimit() const;

  SEQCHANNEL_TYPE m_Type = 0;
  CBitVector m_Channels;
  LONG m_lLayoutTag = -1;
  LONG m_lComponentCount = 0;
  int m_nComponents[ZEV_MAX_CHANNELS];
};

// Init(0, 1), layout tag 8010, count 11, and types 0 to 10 of source 0 at their default
// physical indices. Returns def.
CChannelDef& CreateDefaultZEVChannelDef(CChannelDef& def);

}  // namespace zev
