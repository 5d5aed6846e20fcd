// Display and print colours: standard positions, channel colours, the registry
// per user and the system defaults, and the stored form.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "model/ArchiveBytes.h"
#include "zevutil/CGraphicsInfoArray.h"
#include "zevutil/platform/Registry.h"

using namespace zev;
using zev::testhelp::ByteBuilder;
using zev::testhelp::Bytes;
using zev::testhelp::Loader;
using zev::testhelp::Stored;
namespace fs = std::filesystem;

namespace {

std::vector<ULONG> Display(const CGraphicsInfoArray& g, int count) {
  std::vector<ULONG> out(size_t(count), 0xDEAD);
  EXPECT_EQ(g.GetStandardDisplayColors(out.data(), count), out.data());
  return out;
}

std::vector<ULONG> Print(const CGraphicsInfoArray& g, int count) {
  std::vector<ULONG> out(size_t(count), 0xDEAD);
  g.GetStandardPrintColors(out.data(), count);
  return out;
}

}  // namespace

TEST(CGraphicsInfoArray, DefaultsAndNames) {
  const CGraphicsInfoArray g;
  ASSERT_EQ(g.GetSize(), 34);
  const std::vector<ULONG> standard(ZEV_DEFAULT_COLORS, ZEV_DEFAULT_COLORS + 12);
  EXPECT_EQ(Display(g, 12), standard);  // the default table gives the standard defaults
  EXPECT_EQ(Print(g, 12), standard);
  for (LONG outside : {34, -1}) {
    SCOPED_TRACE(outside);
    EXPECT_STREQ(CGraphicsInfoArray::GetDataIDName(static_cast<DataIDType>(outside)), "");
    EXPECT_EQ(g.GetGraphicsInfoColor(static_cast<DataIDType>(outside)), kFallbackColor);
  }
}

TEST(CGraphicsInfoArray, StandardPositions) {
  CGraphicsInfoArray g;
  // A count of 14 repeats positions 0 and 1 at the end.
  const std::vector<ULONG> fourteen = Display(g, 14);
  EXPECT_EQ(fourteen[12], fourteen[0]);
  EXPECT_EQ(fourteen[13], fourteen[1]);

  // Setting 14 stores twelve; positions 4 and 8 share an ID, so the later one wins.
  std::vector<ULONG> in(14);
  for (int i = 0; i < 14; ++i) in[size_t(i)] = ULONG(0x100 + i);
  const CGraphicsInfoArray before;
  g.SetStandardDisplayColors(in.data(), 14);
  const std::vector<ULONG> out = Display(g, 12);
  EXPECT_EQ(out[4], 0x108u);
  EXPECT_EQ(out[8], 0x108u);
  EXPECT_EQ(out[5], 0x109u);   // 5 and 9: voltage
  EXPECT_EQ(out[7], 0x10Au);   // 7 and 10: total current
  EXPECT_EQ(out[11], 0x10Bu);
  EXPECT_EQ(Print(g, 12), Print(before, 12));  // print colours untouched
  EXPECT_FALSE(g.AreDisplayColorsEqual(before));
  EXPECT_TRUE(g.ArePrintColorsEqual(before));

  // The nine pairs copy between display and print.
  g.SetPrintFromDisplay();
  EXPECT_EQ(Print(g, 12), Display(g, 12));
  EXPECT_EQ(g.GetGraphicsInfoColor(PRINTIUBID), 0x10Bu);
  g.SetStandardPrintColors(std::vector<ULONG>(12, 0x77).data(), 12);
  g.SetDisplayFromPrint();
  EXPECT_EQ(Display(g, 12), std::vector<ULONG>(12, 0x77));
  EXPECT_EQ(g.GetGraphicsInfoColor(TITLEID), 0u);  // outside the pairs

  // Scan colours: positions 0 and 1 both use SCANAID, so a set writes 1 over 0.
  CGraphicsInfoArray s;
  const ULONG scan[2] = {0xAAAAAA, 0xBBBBBB};
  s.SetScanPrintColors(scan, 2);
  EXPECT_EQ(s.GetGraphicsInfoColor(SCANAID), 0xBBBBBBu);
  EXPECT_EQ(s.GetGraphicsInfoColor(SCANBID), 0x2020FFu);
  ULONG got[3];
  s.GetScanPrintColors(got, 3);
  EXPECT_EQ(got[0], 0xBBBBBBu);
  EXPECT_EQ(got[1], 0xBBBBBBu);
  EXPECT_EQ(got[2], s.GetGraphicsInfoColor(PRINTDYEGID));
}

TEST(CGraphicsInfoArray, ChannelColours) {
  CGraphicsInfoArray g;
  for (int id = 0; id < kNumDataIDs; ++id) g.SetGraphicsInfoColor(static_cast<DataIDType>(id), COLORREF(0x1000 + id));
  struct Case {
    int seq;
    int scan;
    COLORREF color;
  };
  const auto c = [](DataIDType id) { return COLORREF(0x1000 + id); };
  const Case cases[] = {
      {8 * 11 + 0, 1, c(DYEAID)},        // the instrument ignores scan
      {0 * 11 + 0, 1, c(SCANAID)},       {0 * 11 + 0, 0, c(DYEAID)},
      {2 * 11 + 1, 1, c(SCANBID)},       {2 * 11 + 1, 0, c(DYECID)},
      {5 * 11 + 2, 1, c(DYEGID)},        {7 * 11 + 3, 0, c(DYETID)},
      {3 * 11 + 4, 0, c(CURRENT4ID)},    {7 * 11 + 8, 0, c(CURRENT8ID)},
      {1 * 11 + 5, 0, c(VOLTAGEID)},     {8 * 11 + 9, 0, c(VOLTAGEID)},
      {0 * 11 + 6, 0, c(TEMPERATUREID)}, {0 * 11 + 7, 0, kFallbackColor},
      {8 * 11 + 4, 0, kFallbackColor},   {9 * 11 + 0, 0, kFallbackColor},
      {-3, 0, kFallbackColor},
  };
  for (const auto& k : cases) {
    SCOPED_TRACE(k.seq * 10 + k.scan);
    EXPECT_EQ(g.LookUpChannelColor(k.seq, k.scan), k.color);
  }
  EXPECT_EQ(g.GetCurrentGraphicsInfoColor(8), kFallbackColor);
  EXPECT_EQ(g.GetCurrentGraphicsInfoColor(-1), kFallbackColor);
}

TEST(CGraphicsInfoArray, StoredForm) {
  CGraphicsInfoArray g;
  g.SetGraphicsInfoColor(QUALITYID, 0x123456);
  const Bytes bytes = Stored([&](CArchive& ar) { g.Serialize(ar); });
  ASSERT_EQ(bytes.size(), 12u + 34 * 16);
  EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 12), ByteBuilder().Put(LONG(210)).Put(LONG(24)).Put(LONG(34)).bytes());
  EXPECT_EQ(Bytes(bytes.end() - 16, bytes.end()),
            ByteBuilder().Put(LONG(110)).Put(LONG(12)).Put(LONG(33)).Put(DWORD(0x123456)).bytes());

  CGraphicsInfoArray back;
  back.EmptyArrayInfo();
  Loader in(bytes);
  back.Serialize(in.ar());
  EXPECT_EQ(Stored([&](CArchive& ar) { back.Serialize(ar); }), bytes);

  struct Case {
    const char* name;
    Bytes bytes;
    INT_PTR size;
    bool eof;
  };
  const Bytes good = ByteBuilder().Put(LONG(110)).Put(LONG(12)).Put(LONG(9)).Put(DWORD(0xABCDEF)).bytes();
  const Bytes badRecord = ByteBuilder().Put(LONG(111)).Put(LONG(12)).bytes();
  const Case cases[] = {
      {"bad version", ByteBuilder().Put(LONG(211)).Put(LONG(24)).Put(LONG(1)).Raw(good).bytes(), 0, false},
      {"bad size", ByteBuilder().Put(LONG(210)).Put(LONG(20)).Put(LONG(1)).Raw(good).bytes(), 0, false},
      {"negative count", ByteBuilder().Put(LONG(210)).Put(LONG(24)).Put(LONG(-4)).bytes(), 0, false},
      {"bad record keeps defaults", ByteBuilder().Put(LONG(210)).Put(LONG(24)).Put(LONG(2)).Raw(badRecord).Raw(good).bytes(),
       2, false},
      {"count beyond the data", ByteBuilder().Put(LONG(210)).Put(LONG(24)).Put(LONG(0x7FFFFFFF)).Raw(good).bytes(), 1,
       true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    CGraphicsInfoArray r;
    Loader l(c.bytes);
    const bool eof = zev::testhelp::ThrowsEndOfFile([&] { r.Serialize(l.ar()); });
    EXPECT_EQ(eof, c.eof);
    EXPECT_EQ(r.GetSize(), c.size);
  }
  CGraphicsInfoArray two;
  Loader l(ByteBuilder().Put(LONG(210)).Put(LONG(24)).Put(LONG(2)).Raw(badRecord).Raw(good).bytes());
  two.Serialize(l.ar());
  EXPECT_EQ(two.GetAt(0)->ID, TITLEID);
  EXPECT_EQ(two.GetAt(0)->Color, kFallbackColor);
  EXPECT_EQ(two.GetAt(1)->ID, static_cast<DataIDType>(9));
  EXPECT_EQ(two.GetAt(1)->Color, 0xABCDEFu);
  EXPECT_EQ(two.GetGraphicsInfoColor(DYEAID), kFallbackColor);  // no entry that far

  // Copying assigns entry by entry over a full table.
  CGraphicsInfoArray copy(two);
  EXPECT_EQ(copy.GetSize(), 34);
  EXPECT_EQ(copy.GetGraphicsInfoColor(TITLEID), kFallbackColor);
  EXPECT_EQ(copy.GetGraphicsInfoColor(XLABELID), 0xABCDEFu);
  EXPECT_EQ(copy.GetGraphicsInfoColor(QUALITYID), 0x800000u);
  two.FillArrayWithDefs();  // grows the short table back to 34
  EXPECT_EQ(two.GetSize(), 34);
  EXPECT_EQ(two.GetGraphicsInfoColor(XLABELID), 0u);
}

class GraphicsRegistry : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* base = std::getenv("ZEV_TEST_TMP");
    dir = fs::path(base && *base ? base : fs::temp_directory_path().string()) /
          ("colors_" + std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()));
    fs::create_directories(dir);
    RegSetStoreLocation(HKEY_CURRENT_USER, (dir / "user.db").c_str());
  }
  void TearDown() override {
    RegSetStoreLocation(HKEY_CURRENT_USER, nullptr);
    std::error_code ec;
    fs::remove_all(dir, ec);
  }
  static LONG ValueCount(const char* user) {
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_CURRENT_USER, CGraphicsInfoArray::GetRegistryKey(user), 0, KEY_READ, &key) != 0) return -1;
    DWORD values = 0;
    RegQueryInfoKeyA(key, nullptr, nullptr, &values, nullptr, nullptr);
    RegCloseKey(key);
    return LONG(values);
  }
  static void SetRaw(const char* user, const char* name, const void* data, DWORD size) {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, CGraphicsInfoArray::GetRegistryKey(user), 0, nullptr, 0,
                              KEY_ALL_ACCESS, nullptr, &key, nullptr),
              0);
    RegSetValueExA(key, name, 0, REG_BINARY, static_cast<const BYTE*>(data), size);
    RegCloseKey(key);
  }
  fs::path dir;
};

TEST_F(GraphicsRegistry, SystemDefaultsAreWrittenWhenIncomplete) {
  EXPECT_EQ(CGraphicsInfoArray::GetRegistryKey(nullptr), "Software\\Halvorn Instruments\\Zevatron\\SystemDefaults\\ColorInfo");
  EXPECT_EQ(ValueCount(nullptr), -1);
  const DWORD mine = 0x0A0B0C;
  SetRaw(nullptr, "gridid", &mine, 4);  // names match without regard to case
  CGraphicsInfoArray g;
  EXPECT_EQ(g.Load(nullptr), 1);
  EXPECT_EQ(g.GetGraphicsInfoColor(GRIDID), mine);
  EXPECT_EQ(ValueCount(nullptr), 34);  // the rest was filled in
  CGraphicsInfoArray again;
  again.Load(nullptr);
  EXPECT_EQ(again.GetGraphicsInfoColor(GRIDID), mine);
  EXPECT_EQ(again.GetGraphicsInfoColor(DESKID), 0xC0C0C0u);
}

TEST_F(GraphicsRegistry, UserValuesOverTheDefaults) {
  const DWORD a = 0x010203, b = 0x040506, c = 0x070809;
  const WORD tooShort = 0x1111;
  SetRaw("ann", "DYEAID", &a, 4);
  SetRaw("ann", "SCANBID", &b, 4);
  SetRaw("ann", "QUALITYID", &c, 4);
  SetRaw("ann", "TITLEID", &tooShort, 2);  // not four bytes: ignored
  CGraphicsInfoArray g;
  g.SetGraphicsInfoColor(DESKID, 0x999999);  // loading starts from the defaults
  EXPECT_EQ(g.Load("ann"), 1);
  EXPECT_EQ(g.GetGraphicsInfoColor(DYEAID), a);
  EXPECT_EQ(g.GetGraphicsInfoColor(SCANBID), b);
  EXPECT_EQ(g.GetGraphicsInfoColor(QUALITYID), c);
  EXPECT_EQ(g.GetGraphicsInfoColor(TITLEID), 0u);
  EXPECT_EQ(g.GetGraphicsInfoColor(DESKID), 0xC0C0C0u);
  EXPECT_EQ(ValueCount("ann"), 4);  // a user's load writes nothing
  EXPECT_EQ(ValueCount(nullptr), -1);

  g.SetGraphicsInfoColor(GRAPHID, 0x222222);
  EXPECT_EQ(g.Save("ann"), 0);  // always 0
  CGraphicsInfoArray back;
  back.Load("ann");
  EXPECT_EQ(back.GetGraphicsInfoColor(GRAPHID), 0x222222u);
  EXPECT_EQ(back.GetGraphicsInfoColor(TITLEID), 0u);
  EXPECT_EQ(ValueCount("ann"), 34);
}
