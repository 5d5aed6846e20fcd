// The bitmap command, run as a user runs it: the merge report and the sheet it writes,
// a replaced colour in BMP and PNG output, palette use, and the one-line errors that
// leave no file behind.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "RunProgram.h"
#include "platform/HostTestSupport.h"
#include "zevutil/CDib.h"

namespace fs = std::filesystem;

namespace {

using zevrun::Result;
using zev::COLORREF;
using zev::RGB;

// An image of vertical stripes, one per colour, each 'w' pixels wide.
zev::CDib Stripes(const std::vector<COLORREF>& colours, int w, int h) {
  zev::CDib dib;
  EXPECT_TRUE(dib.Create(w * int(colours.size()), h, int(colours.size())));
  for (std::size_t i = 0; i < colours.size(); ++i)
    dib.GetColorTable()[i] = zev::QRGB(zev::GetRValue(colours[i]), zev::GetGValue(colours[i]), zev::GetBValue(colours[i]));
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < dib.GetWidth(); ++x) *dib.GetPixelAddress(x, y) = zev::BYTE(x / w);
  return dib;
}

class BitmapCommand : public ::testing::Test {
 protected:
  std::string Path(const std::string& name) const { return (fs::path(dir.path()) / name).string(); }
  std::string Save(const zev::CDib& dib, const std::string& name) {
    const std::string p = Path(name);
    EXPECT_TRUE(name.ends_with(".png") ? dib.SavePng(p.c_str()) : dib.SaveBmp(p.c_str()));
    return p;
  }
  static nlohmann::json Json(const Result& r) {
    EXPECT_EQ(r.status, 0) << r.err;
    return nlohmann::json::parse(r.out, nullptr, false);
  }
  zevtest::TempDir dir;
};

// Colours chosen off the default palette's cube and stock entries, so each takes a new entry.
const COLORREF kC1 = RGB(1, 2, 3), kC2 = RGB(11, 12, 13), kC3 = RGB(21, 22, 23);

TEST_F(BitmapCommand, MergeReportsEachImageAndWritesThemSideBySideOnTheMergedPalette) {
  // A: black (a stock colour, shared in place) and two new ones. B: one of A's colours
  // (shared, but at another index than in B) and a new one.
  const std::string a = Save(Stripes({RGB(0, 0, 0), kC1, kC2}, 2, 3), "a.bmp");
  const std::string b = Save(Stripes({kC1, kC3}, 3, 5), "b.png");
  struct Row {
    int total, asked, added, moved, lost;
  };
  const Row want[] = {{22, 3, 2, 2, 0}, {23, 2, 1, 2, 0}};
  for (const char* ext : {".png", ".bmp"}) {
    SCOPED_TRACE(ext);
    const std::string out = Path(std::string("sheet") + ext);
    const nlohmann::json j = Json(zevrun::RunZev({"bitmap", "merge", a, b, "-o", out, "--json"}));
    ASSERT_EQ(j["images"].size(), 2u);
    for (int i = 0; i < 2; ++i) {
      SCOPED_TRACE(i);
      const nlohmann::json& r = j["images"][std::size_t(i)];
      EXPECT_EQ(r["total"], want[i].total);
      EXPECT_EQ(r["asked"], want[i].asked);
      EXPECT_EQ(r["added"], want[i].added);
      EXPECT_EQ(r["moved"], want[i].moved);
      EXPECT_EQ(r["lost"], want[i].lost);
    }
    EXPECT_EQ(j["next_free"], 13);

    // The sheet: A, a gap of four, then B, on the 256-entry identity palette.
    zev::CDib sheet;
    ASSERT_TRUE(sheet.Load(out.c_str()));
    EXPECT_EQ(sheet.GetWidth(), 6 + 4 + 6);
    EXPECT_EQ(sheet.GetHeight(), 5);
    EXPECT_EQ(sheet.GetNumColors(), 256);
    struct Px {
      int x, y;
      COLORREF colour;
      int index;
    };
    const Px pixels[] = {{0, 0, RGB(0, 0, 0), 0}, {2, 1, kC1, 10}, {5, 2, kC2, 11},
                         {10, 0, kC1, 10}, {13, 4, kC3, 12}, {7, 0, RGB(0, 0, 0), 0}};
    for (const Px& p : pixels) {
      SCOPED_TRACE(testing::Message() << p.x << "," << p.y);
      EXPECT_EQ(sheet.GetPixelColor(p.x, p.y), p.colour);
      EXPECT_EQ(sheet.GetPixelValue(p.x, p.y), p.index);
    }
  }

  const Result text = zevrun::RunZev({"bitmap", "merge", a, b});
  ASSERT_EQ(text.status, 0) << text.err;
  EXPECT_NE(text.out.find("    1    22     3     2     2     0  " + a + "\n"), std::string::npos) << text.out;
}

TEST_F(BitmapCommand, ReplaceChangesOneColourAndWritesByExtension) {
  const std::string in = Save(Stripes({kC1, kC2, kC3}, 4, 2), "in.bmp");
  struct Case {
    const char* out;
    const char* magic;
  } cases[] = {{"out.bmp", "BM"}, {"out.png", "\x89PNG"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.out);
    // kC3 is in the table, so the middle stripe takes its index.
    const nlohmann::json j = Json(zevrun::RunZev(
        {"bitmap", "replace", in, "--from", "0B0C0D", "--to", "#151617", "-o", Path(c.out), "--json"}));
    EXPECT_EQ(j["changed"], 8);
    // Rows and columns exchanged: left/right the stored rows 0..1, bottom from column 7;
    // the lowest column starts at the height (2), below the first changed column 4.
    EXPECT_EQ(j["rect"], nlohmann::json::parse("[0, -1, 1, -6]"));
    EXPECT_EQ(zevrun::ReadFile(Path(c.out)).substr(0, std::string(c.magic).size()), c.magic);
    zev::CDib got;
    ASSERT_TRUE(got.Load(Path(c.out).c_str()));
    for (int x : {0, 5, 9}) EXPECT_EQ(got.GetPixelColor(x, 1), x < 4 ? kC1 : kC3) << x;
  }
}

TEST_F(BitmapCommand, InfoCountsThePixelsOfEachEntry) {
  zev::CDib dib = Stripes({kC1, kC2, kC3}, 2, 2);
  *dib.GetPixelAddress(0, 0) = 2;  // one more pixel of the third colour
  const std::string in = Save(dib, "info.png");
  const nlohmann::json j = Json(zevrun::RunZev({"bitmap", "info", in, "--json"}));
  EXPECT_EQ(j["width"], 6);
  EXPECT_EQ(j["table_entries"], 3);
  EXPECT_EQ(j["entries_used"], 3);
  EXPECT_EQ(j["entries"], nlohmann::json::parse(R"([
      {"index": 0, "rgb": "010203", "in_table": true, "pixels": 3},
      {"index": 1, "rgb": "0B0C0D", "in_table": true, "pixels": 4},
      {"index": 2, "rgb": "151617", "in_table": true, "pixels": 5}])"));
}

TEST_F(BitmapCommand, FailuresSayWhatIsWrongAndLeaveNoFile) {
  const std::string in = Save(Stripes({kC1, kC2}, 2, 2), "ok.bmp");
  const std::string text = zevrun::WriteFile(fs::path(dir.path()) / "notes.txt", "not an image");
  const std::string out = Path("never.png");
  std::vector<std::string> many = {"bitmap", "merge"};
  for (int i = 0; i < 51; ++i) many.push_back(in);
  struct Case {
    std::vector<std::string> args;
    std::string message;
  } cases[] = {
      {many, "zevutil: at most 50 images can be merged, not 51\n"},
      {{"bitmap", "merge", in, text, "-o", out}, "zevutil: '" + text + "' is not an 8-bit BMP or a palette PNG\n"},
      {{"bitmap", "merge", in, "-o", Path("never.gif")}, "zevutil: output '" + Path("never.gif") +
                                                              "' must end in .bmp or .png\n"},
      {{"bitmap", "replace", in, "--from", "FFFFFF", "--to", "010203", "-o", out},
       "zevutil: colour FFFFFF is not in the colour table of '" + in + "' (--nearest takes the closest one)\n"},
      {{"bitmap", "replace", in, "--from", "010203", "--to", "FF8001", "-o", out},
       "zevutil: colour FF8001 cannot be had in '" + in + "' (--merge adds it to the palette)\n"},
      {{"bitmap", "replace", in, "--from", "12345", "--to", "010203", "-o", out},
       "zevutil: --from '12345' is not six hexadecimal digits RRGGBB\n"},
      {{"bitmap", "info", Path("missing.bmp")}, "zevutil: cannot read '" + Path("missing.bmp") + "'\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(zevrun::Joined(c.args).substr(0, 120));
    const Result r = zevrun::RunZev(c.args);
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.err, c.message);
  }
  std::vector<std::string> left;
  for (const auto& e : fs::directory_iterator(dir.path())) left.push_back(e.path().filename().string());
  std::sort(left.begin(), left.end());
  EXPECT_EQ(left, (std::vector<std::string>{"notes.txt", "ok.bmp"}));
}

}  // namespace
