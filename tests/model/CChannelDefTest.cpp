// Channel naming and the channel definition: conversions, tables, the default
// definition, component arrays, merging and the stored form.
#include <gtest/gtest.h>

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
  const Case cases[] = {
      {0, 0, 0}, {0, 10, 10}, {1, 0, 11}, {8, 10, 98}, {2, 11, -1}, {0, -1, -1}, {1, -1, 10}, {7, 3, 80},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.source << "," << c.type);
    EXPECT_EQ(VQToSeq(c.source, c.type), c.seq);
    EXPECT_EQ(VQToSeq(VQ_DATACHANNEL_ID{c.source, c.type}), c.seq);
    if (c.type >= 0 && c.type < 11) {
      VQ_DATACHANNEL_ID back = SeqToVQChannel(c.seq);
      EXPECT_EQ(back.Source, c.source);
      EXPECT_EQ(back.Type, c.type);
    }
  }
  VQ_DATACHANNEL_ID negative = SeqToVQChannel(-12);  // truncating division
  EXPECT_EQ(negative.Source, -1);
  EXPECT_EQ(negative.Type, -1);
}

TEST(Channels, Tables) {
  EXPECT_EQ(std::vector<LONG>(ZevCapTypeList, ZevCapTypeList + 12),
            (std::vector<LONG>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, -1}));
  EXPECT_EQ(std::vector<LONG>(ZevSysTypeList, ZevSysTypeList + 7), (std::vector<LONG>{5, 6, 7, 8, 9, 10, -1}));
  for (int row = 0; row < 8; ++row) {
    EXPECT_EQ(ZevSourceTypeTable[row].lSource, row);
    EXPECT_EQ(ZevSourceTypeTable[row].pTypeList, ZevCapTypeList);
  }
  EXPECT_EQ(ZevSourceTypeTable[8].pTypeList, ZevSysTypeList);
  EXPECT_EQ(ZevSourceTypeTable[9].lSource, -1);
  EXPECT_EQ(ZevSourceTypeTable[9].pTypeList, nullptr);
  EXPECT_EQ(std::vector<int>(DEFAULT_PHYSCHANNELDEF, DEFAULT_PHYSCHANNELDEF + 11),
            (std::vector<int>{3, 2, 1, 0, 4, 5, 6, 7, 8, 9, 10}));
}

TEST(CChannelDef, DefaultDefinitionAndLookups) {
  CChannelDef def;
  EXPECT_EQ(def.GetLayoutTag(), -1);
  EXPECT_EQ(def.GetComponentCount(), 0);
  EXPECT_EQ(def.GetChannels().GetNumberOfMembers(), 0);
  CreateDefaultZEVChannelDef(def);
  EXPECT_EQ(def.GetLayoutTag(), 8010);
  EXPECT_EQ(def.GetComponentCount(), 11);
  struct Case {
    int channel, phys, channelAtPhys;
  };
  for (const Case& c : {Case{0, 3, 3}, Case{3, 0, 0}, Case{1, 2, 2}, Case{4, 4, 4}, Case{10, 10, 10},
                        Case{11, -1, -1}, Case{128, -1, -1}}) {
    SCOPED_TRACE(c.channel);
    EXPECT_EQ(def.GetPhysChannel(c.channel), c.phys);
    EXPECT_EQ(def.GetChannel(c.channel), c.channelAtPhys);  // physical index = channel number here
    EXPECT_EQ(def.IsPhysChannelPresent(c.channel), c.channelAtPhys >= 0 ? 1 : 0);
  }

  // Physical indices outside 0..128 add nothing at all.
  for (int phys : {-1, 129}) {
    CChannelDef d;
    d.AddChannel(5, phys);
    EXPECT_EQ(d.IsChannelPresent(5), 0) << phys;
  }
  CChannelDef d;
  d.AddChannel(5, 128);
  EXPECT_EQ(d.GetPhysChannel(5), 128);
  EXPECT_EQ(d.SetPhysComponent(5, 7), 128);
  EXPECT_EQ(d.SetPhysComponent(6, 8), -1);
  d.RemoveChannel(5);
  EXPECT_EQ(d.IsChannelPresent(5), 0);
  EXPECT_EQ(d.GetComponent(5), -1);
  EXPECT_EQ(d.GetComponentCount(), 0);  // the count is never touched by these

  d.Init(4, 0);  // not empty: channel 0 at 0
  EXPECT_EQ(d.GetType(), 4);
  EXPECT_EQ(d.GetComponentCount(), 1);
  EXPECT_EQ(d.GetPhysChannel(0), 0);
  EXPECT_EQ(d.GetPhysChannel(6), -1);
}

TEST(CChannelDef, ConstructorsAndComponentArrays) {
  CBitVector set;
  for (int ch : {2, 5, 40}) set += ch;
  CChannelDef def(1, set, 200, 77);
  EXPECT_EQ(def.GetComponentCount(), 129);  // clamped
  EXPECT_EQ(def.GetPhysChannel(2), 0);
  EXPECT_EQ(def.GetPhysChannel(5), 1);
  EXPECT_EQ(def.GetPhysChannel(40), 2);
  CChannelDef negative(1, set, -4, 77);
  EXPECT_EQ(negative.GetComponentCount(), 0);

  int components[129];
  std::fill(components, components + 129, -1);
  components[2] = 9;
  components[128] = 4;
  CChannelDef given(1, set, 3, components, 5);
  EXPECT_EQ(given.GetComponent(2), 9);
  EXPECT_EQ(given.GetComponent(128), 4);
  EXPECT_EQ(given.GetPhysChannel(5), -1);

  // GetComponentArray inverts the logical channels below the count only.
  CChannelDef inv(0, set, 6, 0);  // 2 -> 0, 5 -> 1, 40 -> 2
  int order[129];
  inv.GetComponentArray(order);
  EXPECT_EQ(order[0], 2);
  EXPECT_EQ(order[1], 5);
  EXPECT_EQ(order[2], -1);  // channel 40 lies beyond the count of 6
  int byPhys[129];
  std::fill(byPhys, byPhys + 129, -1);
  byPhys[0] = 7;  // physical 0 holds channel 7
  byPhys[3] = 130;  // out of range: ignored
  byPhys[6] = 1;  // index 6 is beyond the count: ignored
  inv.SetComponentArray(byPhys);
  EXPECT_EQ(inv.GetComponent(7), 0);
  EXPECT_EQ(inv.GetComponent(1), -1);
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
    std::vector<std::pair<int, int>> components;  // (slot, value) to check
  };
  const Case cases[] = {
      {"same layout: gaps filled, count the greater", make({{0, 0}, {2, 2}}, 8010, 3),
       make({{0, 5}, {1, 1}, {3, 3}}, 8010, 4), 8010, 4, {{0, 0}, {1, 1}, {2, 2}, {3, 3}}},
      {"one side untagged counts as same", make({{0, 0}}, -1, 1), make({{1, 1}}, 9, 2), -1, 2, {{0, 0}, {1, 1}}},
      {"different layouts go side by side", make({{0, 0}, {1, 1}}, 1, 2), make({{0, 0}, {1, 1}}, 2, 2), -1, 4,
       {{0, 0}, {1, 1}, {2, 0}, {3, 1}}},
      {"side by side stops at 129", make({{0, 0}}, 1, 128), make({{0, 4}, {1, 6}}, 2, 2), -1, 129,
       {{128, 4}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CChannelDef a = c.a;
    a += c.b;
    EXPECT_EQ(a.GetLayoutTag(), c.tag);
    EXPECT_EQ(a.GetComponentCount(), c.count);
    for (auto [slot, value] : c.components) EXPECT_EQ(a.GetComponent(slot), value) << slot;
    EXPECT_EQ((a.GetChannels() >= c.b.GetChannels()), 1);
  }
  CChannelDef other = make({{0, 0}}, 1, 1, 2);
  CChannelDef a = make({{5, 5}}, 1, 1);
  a += other;  // another type: nothing happens
  EXPECT_EQ(a.IsChannelPresent(0), 0);
  a -= other;
  EXPECT_EQ(a.IsChannelPresent(5), 1);
  CChannelDef same = make({{5, 5}}, 1, 1);
  a -= same;
  EXPECT_EQ(a.IsChannelPresent(5), 0);
  EXPECT_EQ(a.GetComponent(5), 5);  // components stay

  // Equality: type, set and present channels' components; not tag, count or stray slots.
  CChannelDef x = make({{1, 1}}, 1, 1), y = make({{1, 1}}, 2, 9);
  EXPECT_EQ(x == y, 1);
  y.AddChannel(1, 2);
  EXPECT_EQ(x != y, 1);
  CChannelDef z = make({{1, 1}, {2, 2}}, 1, 1);
  z -= make({{2, 9}}, 1, 1);  // channel 2 leaves the set, its slot keeps 2
  EXPECT_EQ(z.GetComponent(2), 2);
  EXPECT_EQ(x == z, 1);
  CChannelDef t = make({{1, 1}}, 1, 1, 3);
  EXPECT_EQ(x == t, 0);
}

TEST(CChannelDef, StoredFormSkipsTheChannelSetAndSlot128) {
  CChannelDef def;
  CreateDefaultZEVChannelDef(def);
  const Bytes stored = Stored([&](CArchive& ar) { def.Serialize(ar); });
  ASSERT_EQ(stored.size(), 4u + 4 + 28 + 4 + 4 + 128 * 4);
  CBitVector channels = def.GetChannels();
  const Bytes setForm = Stored([&](CArchive& ar) { channels.Serialize(ar); });
  ByteBuilder expected;
  expected.Put<LONG>(14001).Put<LONG>(0).Raw(setForm).Put<LONG>(8010).Put<LONG>(11);
  for (int i = 0; i < 128; ++i) expected.Put<LONG>(i < 11 ? DEFAULT_PHYSCHANNELDEF[i] : -1);
  EXPECT_EQ(stored, expected.bytes());

  CChannelDef back;
  back.Init(5, 1);
  back.AddChannel(50, 128);  // the set and slot 128 are not loaded
  back.AddChannel(128, 77);
  Loader in(stored);
  back.Serialize(in.ar());
  EXPECT_EQ(in.Remaining(), 0u);
  EXPECT_EQ(back.GetType(), 0);
  EXPECT_EQ(back.GetLayoutTag(), 8010);
  EXPECT_EQ(back.GetComponentCount(), 11);
  EXPECT_EQ(back.GetComponent(0), 3);
  EXPECT_EQ(back.GetComponent(50), -1);
  EXPECT_EQ(back.GetComponent(128), 77);
  EXPECT_EQ(back.IsChannelPresent(50), 1);
  EXPECT_EQ(back.IsChannelPresent(0), 0);

  Bytes truncated(stored.begin(), stored.end() - 1);
  CChannelDef victim;
  EXPECT_TRUE(ThrowsEndOfFile([&] {
    Loader l(truncated);
    victim.Serialize(l.ar());
  }));
}
