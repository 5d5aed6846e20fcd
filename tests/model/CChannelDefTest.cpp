// Channel numbering and the channel definition: conversions, the default definition,
// component arrays, merging and the stored form.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "ArchiveBytes.h"
#include "zevutil/CChannelDef.h"

using namespace zev;
using namespace zev::testhelp;

TEST(Channels, Conversions) {
  struct Case {
    LONG source, type;
    int seq;
  };
  for (const Case& c : {Case{0, 0, 0}, Case{1, 0, 11}, Case{8, 10, 98}, Case{2, 11, -1}, Case{0, -1, -1},
                        Case{1, -1, 10}}) {
    SCOPED_TRACE(::testing::Message() << c.source << "," << c.type);
    EXPECT_EQ(VQToSeq(VQ_DATACHANNEL_ID{c.source, c.type}), c.seq);
    if (c.type >= 0 && c.type < 11) {
      EXPECT_EQ(SeqToVQChannel(c.seq), (VQ_DATACHANNEL_ID{c.source, c.type}));
    }
  }
  EXPECT_EQ(SeqToVQChannel(-12), (VQ_DATACHANNEL_ID{-1, -1}));  // truncating division
}

TEST(CChannelDef, DefaultDefinitionAndEdits) {
  CChannelDef def;
  CreateDefaultZEVChannelDef(def);
  EXPECT_EQ(def.GetLayoutTag(), 8010);
  EXPECT_EQ(def.GetComponentCount(), 11);
  struct Case {
    int channel, phys;
  };
  for (const Case& c : {Case{0, 3}, Case{3, 0}, Case{1, 2}, Case{4, 4}, Case{10, 10}, Case{11, -1}}) {
    EXPECT_EQ(def.GetPhysChannel(c.channel), c.phys) << c.channel;
    if (c.phys >= 0) {
      EXPECT_EQ(def.GetChannel(c.phys), c.channel) << c.channel;
    }
  }
  EXPECT_EQ(def.GetChannel(11), -1);

  CChannelDef d;
  d.AddChannel(5, -1);  // physical indices outside 0..128 add nothing, not even to the set
  d.AddChannel(5, 129);
  EXPECT_EQ(d.IsChannelPresent(5), 0);
  d.AddChannel(5, 128);
  EXPECT_EQ(d.SetPhysComponent(5, 7), 128);
  EXPECT_EQ(d.SetPhysComponent(6, 8), -1);
  d.RemoveChannel(5);
  EXPECT_EQ(d.GetComponent(5), -1);
  EXPECT_EQ(d.GetComponentCount(), 0);  // edits never touch the count
  d.Init(4, 0);                         // not empty: channel 0 at 0, count 1
  EXPECT_EQ(d.GetComponentCount(), 1);
  EXPECT_EQ(d.GetPhysChannel(0), 0);
  EXPECT_EQ(d.GetPhysChannel(6), -1);
}

TEST(CChannelDef, ComponentArraysAreInverseAndBoundByTheCount) {
  CBitVector set;
  for (int ch : {2, 5, 40}) set += ch;
  EXPECT_EQ(CChannelDef(1, set, 200, 77).GetComponentCount(), 129);
  CChannelDef def(0, set, 6, 0);  // 2 -> 0, 5 -> 1, 40 -> 2
  EXPECT_EQ(def.GetPhysChannel(40), 2);
  int order[129];
  def.GetComponentArray(order);
  EXPECT_EQ(order[0], 2);
  EXPECT_EQ(order[1], 5);
  EXPECT_EQ(order[2], -1);  // channel 40 lies beyond the count of 6
  std::fill(order, order + 129, -1);
  order[0] = 7;    // physical 0 holds channel 7
  order[3] = 130;  // no such channel: ignored
  order[6] = 1;    // beyond the count: ignored
  def.SetComponentArray(order);
  EXPECT_EQ(def.GetComponent(7), 0);
  EXPECT_EQ(def.GetComponent(1), -1);
}

TEST(CChannelDef, MergeAndCompare) {
  auto make = [](std::initializer_list<std::pair<int, int>> chans, LONG tag, LONG count, LONG type = 0) {
    CChannelDef d;
    d.Init(type, 1);
    for (auto [ch, phys] : chans) d.AddChannel(ch, phys);
    d.SetLayoutTag(tag);
    d.SetComponentCount(count);
    return d;
  };
  struct Case {
    const char* name;
    CChannelDef a, b;
    LONG tag, count;
    std::vector<std::pair<int, int>> components;  // (slot, value)
  };
  const Case cases[] = {
      {"same layout: gaps filled, count the greater", make({{0, 0}, {2, 2}}, 8010, 3),
       make({{0, 5}, {1, 1}, {3, 3}}, 8010, 4), 8010, 4, {{0, 0}, {1, 1}, {2, 2}, {3, 3}}},
      {"an untagged side counts as the same layout", make({{0, 0}}, -1, 1), make({{1, 1}}, 9, 2), -1, 2, {{1, 1}}},
      {"other layouts go side by side", make({{0, 0}, {1, 1}}, 1, 2), make({{0, 0}, {1, 1}}, 2, 2), -1, 4,
       {{0, 0}, {1, 1}, {2, 0}, {3, 1}}},
      {"side by side stops at 129", make({{0, 0}}, 1, 128), make({{0, 4}, {1, 6}}, 2, 2), -1, 129, {{128, 4}}},
      {"another type: nothing", make({{5, 5}}, 1, 1), make({{0, 0}}, 1, 1, 2), 1, 1, {{0, -1}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CChannelDef a = c.a;
    a += c.b;
    EXPECT_EQ(a.GetLayoutTag(), c.tag);
    EXPECT_EQ(a.GetComponentCount(), c.count);
    for (auto [slot, value] : c.components) EXPECT_EQ(a.GetComponent(slot), value) << slot;
    EXPECT_EQ((a.GetChannels() >= c.b.GetChannels()), a.GetType() == c.b.GetType() ? 1 : 0);
  }
  // Equality looks at type, set and present channels' components only.
  CChannelDef x = make({{1, 1}}, 1, 1), y = make({{1, 1}, {2, 2}}, 2, 9);
  y -= make({{2, 9}}, 5, 5);  // channel 2 leaves the set; its slot keeps 2
  EXPECT_EQ(y.GetComponent(2), 2);
  EXPECT_EQ(x == y, 1);
  y.AddChannel(1, 3);
  EXPECT_EQ(x != y, 1);
  EXPECT_EQ(x == make({{1, 1}}, 1, 1, 3), 0);
}

TEST(CChannelDef, StoredFormSkipsTheChannelSetAndSlot128) {
  CChannelDef def;
  CreateDefaultZEVChannelDef(def);
  CBitVector channels = def.GetChannels();
  ByteBuilder expected;
  expected.Put<LONG>(14001).Put<LONG>(0).Raw(Stored([&](CArchive& ar) { channels.Serialize(ar); }));
  expected.Put<LONG>(8010).Put<LONG>(11);
  for (int i = 0; i < 128; ++i) expected.Put<LONG>(i < 11 ? DEFAULT_PHYSCHANNELDEF[i] : -1);
  const Bytes stored = Stored([&](CArchive& ar) { def.Serialize(ar); });
  EXPECT_EQ(stored, expected.bytes());

  CChannelDef back;
  back.Init(5, 1);
  back.AddChannel(50, 128);
  back.AddChannel(128, 77);
  Loader in(stored);
  back.Serialize(in.ar());
  EXPECT_EQ(in.Remaining(), 0u);
  EXPECT_EQ(back.GetType(), 0);
  EXPECT_EQ(back.GetComponentCount(), 11);
  EXPECT_EQ(back.GetComponent(0), 3);
  EXPECT_EQ(back.GetComponent(50), -1);
  EXPECT_EQ(back.GetComponent(128), 77);
  EXPECT_EQ(back.IsChannelPresent(50), 1);  // the old set
  EXPECT_EQ(back.IsChannelPresent(0), 0);
  EXPECT_TRUE(ThrowsEndOfFile([&] {
    Loader cut(Bytes(stored.begin(), stored.end() - 1));
    back.Serialize(cut.ar());
  }));
}
