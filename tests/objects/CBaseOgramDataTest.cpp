// The run's -ogram data objects by channel: channel-named access, the null entry,
// and the shared and covering run-time spans over channels.
#include <gtest/gtest.h>

#include <vector>

#include "zevutil/CBaseOgramData.h"

using namespace zev;

namespace {

// A channel's data that only answers its limits (and records the pass-through arguments).
class Ogram : public CBaseOgramData {
 public:
  Ogram(double start, double end, LONG points) : m_start(start), m_end(end), m_points(points) {}
  HRESULT QueryInterface(REFIID riid, void** ppv) override { return _InternalQueryInterface(riid, ppv); }
  ULONG AddRef() override { return InternalAddRef(); }
  ULONG Release() override { return InternalRelease(); }
  LONG GetRunTimeLimits(double& start, double& end, LONG& points, LONG arg, int flag) override {
    start = m_start;
    end = m_end;
    points = m_points;
    lastArg = arg;
    lastFlag = flag;
    return 0;
  }
  LONG lastArg = 0;
  int lastFlag = 0;

 private:
  double m_start, m_end;
  LONG m_points;
};

}  // namespace

TEST(CBaseOgramDataArray, ChannelsByNumberAndByName) {
  Ogram a(0, 10, 100), b(1, 9, 80);
  CBaseOgramDataArray arr;
  TComSmartPtr<CBaseOgramData> pa(&a), pb(&b);
  EXPECT_EQ(arr.AddInterface(VQ_DATACHANNEL_ID{1, 2}, pa), 0);  // seq 13
  EXPECT_EQ(arr.AddInterface(40, pb), 0);
  EXPECT_EQ(arr.AddInterface(128, pb), kBadChannel);
  EXPECT_EQ(arr.GetInterface(13).get(), &a);
  EXPECT_EQ(arr.GetInterface(VQ_DATACHANNEL_ID{3, 7}).get(), &b);  // 3 * 11 + 7 = 40

  // Channels without an entry, in range or not, give a reference to a null pointer.
  for (int ch : {0, 127, 128, -1}) {
    SCOPED_TRACE(ch);
    EXPECT_TRUE(arr.GetInterface(ch).IsNull());
  }

  VQ_DATACHANNEL_ID id{};
  std::vector<VQ_DATACHANNEL_ID> walked;
  for (auto* p = &arr.GetFirstInterface(id); !p->IsNull(); p = &arr.GetNextInterface(id)) walked.push_back(id);
  ASSERT_EQ(walked.size(), 2u);
  EXPECT_EQ(walked[0], (VQ_DATACHANNEL_ID{1, 2}));
  EXPECT_EQ(walked[1], (VQ_DATACHANNEL_ID{3, 7}));

  EXPECT_EQ(arr.RemoveInterface(VQ_DATACHANNEL_ID{1, 2}), 0);
  EXPECT_TRUE(arr.GetInterface(13).IsNull());
  CBaseOgramDataArray copy(arr);
  EXPECT_EQ(copy.GetInterface(40).get(), &b);
  arr.Destroy();
  EXPECT_EQ(arr.GetNumberOfMembers(), 0);
}

TEST(CBaseOgramDataArray, SharedAndCoveringSpans) {
  Ogram a(0.0, 10.0, 1000), b(1.5, 12.0, 900), c(-1.0, 8.0, 1200);
  CBaseOgramDataArray arr;
  TComSmartPtr<CBaseOgramData> pa(&a), pb(&b), pc(&c);
  arr.AddInterface(2, pa);
  arr.AddInterface(20, pb);
  arr.AddInterface(90, pc);

  CBitVector ab, withGap, none;
  ab += 2;
  ab += 20;
  withGap += 20;
  withGap += 5;  // no entry: skipped
  none += 6;
  struct Case {
    const char* name;
    CBitVector* set;
    bool shared;
    double start, end;
    LONG points;
  };
  const Case cases[] = {
      {"all shared", nullptr, true, 1.5, 8.0, 900},  {"all covering", nullptr, false, -1.0, 12.0, 1200},
      {"two shared", &ab, true, 1.5, 10.0, 900},     {"two covering", &ab, false, 0.0, 12.0, 1000},
      {"gap skipped", &withGap, true, 1.5, 12.0, 900}, {"none answers", &none, true, 0.0, 0.0, 0},
      {"none answers", &none, false, 0.0, 0.0, 0},
  };
  for (const auto& k : cases) {
    SCOPED_TRACE(k.name);
    double start = 99, end = 99;
    LONG points = 99;
    const LONG r = k.shared ? arr.GetMinRunTimePoints(start, end, points, k.set, 17, 3)
                            : arr.GetMaxRunTimePoints(start, end, points, k.set, 17, 3);
    EXPECT_EQ(r, 0);
    EXPECT_DOUBLE_EQ(start, k.start);
    EXPECT_DOUBLE_EQ(end, k.end);
    EXPECT_EQ(points, k.points);
  }
  EXPECT_EQ(b.lastArg, 17);
  EXPECT_EQ(b.lastFlag, 3);
}
