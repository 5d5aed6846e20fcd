// -ogram data of a run: CBaseOgramData, the interface of an inner component object
// that holds one channel's data, and CBaseOgramDataArray, such objects for a whole
// run by channel number, with the run-time spans over several channels at once.
#pragma once
#include "zevutil/CBitVector.h"
#include "zevutil/CChannelDef.h"
#include "zevutil/CComSmartPtr.h"
#include "zevutil/CDataArray.h"
#include "zevutil/TIUnknown.h"

namespace zev {

class CBaseOgramData : public CBaseImpObject {
 public:
  CBaseOgramData() = default;
  ~CBaseOgramData() override = default;

  void Init() { CBaseImpObject::Init(); }
  void Init(CBaseObject* base) { CBaseImpObject::Init(base); }

  // The channel's run-time limits and point count. The last two arguments come
  // untouched from the caller of GetMinRunTimePoints or GetMaxRunTimePoints.
  virtual LONG GetRunTimeLimits(double& start, double& end, LONG& points, LONG arg, int flag) = 0;
};

class CBaseOgramDataArray : public CIUnknownArray {
 public:
  using OgramPtr = TComSmartPtr<CBaseOgramData>;

  CBaseOgramDataArray() = default;
  CBaseOgramDataArray(const CBaseOgramDataArray& other) : CIUnknownArray(other) {}
  CBaseOgramDataArray& operator=(const CBaseOgramDataArray& other) {
    CIUnknownArray::operator=(other);
    return *this;
  }
  ~CBaseOgramDataArray() override = default;

  // As CIUnknownArray (kBadChannel outside 0..127); the channel forms convert by VQToSeq.
  LONG AddInterface(int channel, OgramPtr& value);
  LONG AddInterface(const VQ_DATACHANNEL_ID& channel, OgramPtr& value);
  LONG RemoveInterface(int channel);
  LONG RemoveInterface(const VQ_DATACHANNEL_ID& channel);
  // The entry, or a reference to the null smart pointer where there is none.
  OgramPtr& GetInterface(int channel);
  OgramPtr& GetInterface(const VQ_DATACHANNEL_ID& channel);
  // Walk the channels in use in ascending order; the null smart pointer at the end.
  // The channel forms give the number converted by SeqToVQChannel.
  OgramPtr& GetFirstInterface(int& channel);
  OgramPtr& GetNextInterface(int& channel);
  OgramPtr& GetFirstInterface(VQ_DATACHANNEL_ID& channel);
  OgramPtr& GetNextInterface(VQ_DATACHANNEL_ID& channel);
  void Destroy() { CIUnknownArray::Destroy(); }

  // The span all the channels share (latest start, earliest end, fewest points) and
  // the span that covers them all (earliest start, latest end, most points), over
  // channels or, when null, the channels in use. Channels without an entry are
  // skipped; with none that answers, all three are 0. Both return 0.
  LONG GetMinRunTimePoints(double& start, double& end, LONG& points, CBitVector* channels, LONG arg, int flag);
  LONG GetMaxRunTimePoints(double& start, double& end, LONG& points, CBitVector* channels, LONG arg, int flag);

 private:
  OgramPtr& Typed(CComSmartPtr* entry);
  LONG Span(bool shared, double& start, double& end, LONG& points, CBitVector* channels, LONG arg, int flag);

  // Always null: what GetInterface returns where there is no entry. Reset before each
  // use, as a caller holding the reference could have changed it.
  OgramPtr m_NullPtr;
};

}  // namespace zev
