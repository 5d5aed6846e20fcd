// The run's -ogram data objects by channel, and the run-time spans over channels.
#include "zevutil/CBaseOgramData.h"

namespace zev {

CBaseOgramDataArray::OgramPtr& CBaseOgramDataArray::Typed(CComSmartPtr* entry) {
  if (auto* typed = dynamic_cast<OgramPtr*>(entry)) return *typed;
  // A caller may have put a target into the null pointer through the reference.
  if (!m_NullPtr.IsNull()) m_NullPtr.TRelease();
  return m_NullPtr;
}

LONG CBaseOgramDataArray::AddInterface(int channel, OgramPtr& value) {
  return CIUnknownArray::AddInterface(channel, &value);
}

LONG CBaseOgramDataArray::AddInterface(const VQ_DATACHANNEL_ID& channel, OgramPtr& value) {
  return AddInterface(VQToSeq(channel), value);
}

LONG CBaseOgramDataArray::RemoveInterface(int channel) { return CIUnknownArray::RemoveInterface(channel); }

LONG CBaseOgramDataArray::RemoveInterface(const VQ_DATACHANNEL_ID& channel) {
  return RemoveInterface(VQToSeq(channel));
}

CBaseOgramDataArray::OgramPtr& CBaseOgramDataArray::GetInterface(int channel) {
  return Typed(CIUnknownArray::GetInterface(channel));
}

CBaseOgramDataArray::OgramPtr& CBaseOgramDataArray::GetInterface(const VQ_DATACHANNEL_ID& channel) {
  return GetInterface(VQToSeq(channel));
}

CBaseOgramDataArray::OgramPtr& CBaseOgramDataArray::GetFirstInterface(int& channel) {
  return Typed(CIUnknownArray::GetFirstInterface(channel));
}

CBaseOgramDataArray::OgramPtr& CBaseOgramDataArray::GetNextInterface(int& channel) {
  return Typed(CIUnknownArray::GetNextInterface(channel));
}

CBaseOgramDataArray::OgramPtr& CBaseOgramDataArray::GetFirstInterface(VQ_DATACHANNEL_ID& channel) {
  int seq = -1;
  OgramPtr& entry = GetFirstInterface(seq);
  channel = SeqToVQChannel(seq);
  return entry;
}

CBaseOgramDataArray::OgramPtr& CBaseOgramDataArray::GetNextInterface(VQ_DATACHANNEL_ID& channel) {
  int seq = -1;
  OgramPtr& entry = GetNextInterface(seq);
  channel = SeqToVQChannel(seq);
  return entry;
}

LONG CBaseOgramDataArray::Span(bool shared, double& start, double& end, LONG& points, CBitVector* channels,
                               LONG arg, int flag) {
  start = 0.0;
  end = 0.0;
  points = 0;
  // Walk a copy, so that neither the caller's set nor the array's keeps a moved cursor.
  CBitVector set = channels ? *channels : ChanList;
  bool first = true;
  for (int ch = set.GetFirstSet(); ch >= 0; ch = set.GetNextSet()) {
    CBaseOgramData* data = GetInterface(ch).get();
    if (!data) continue;
    double s = 0.0, e = 0.0;
    LONG n = 0;
    data->GetRunTimeLimits(s, e, n, arg, flag);
    if (first) {
      start = s;
      end = e;
      points = n;
      first = false;
    } else if (shared) {
      if (s > start) start = s;
      if (e < end) end = e;
      if (n < points) points = n;
    } else {
      if (s < start) start = s;
      if (e > end) end = e;
      if (n > points) points = n;
    }
  }
  return 0;
}

LONG CBaseOgramDataArray::GetMinRunTimePoints(double& start, double& end, LONG& points, CBitVector* channels,
                                              LONG arg, int flag) {
  return Span(true, start, end, points, channels, arg, flag);
}

LONG CBaseOgramDataArray::GetMaxRunTimePoints(double& start, double& end, LONG& points, CBitVector* channels,
                                              LONG arg, int flag) {
  return Span(false, start, end, points, channels, arg, flag);
}

}  // namespace zev
