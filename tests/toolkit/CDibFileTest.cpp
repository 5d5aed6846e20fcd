// Bitmap files: hand-made BMP files of every layout read to known pixels, damaged
// ones refused, BMP and palette PNG round trips byte for byte, and gdk-pixbuf as an
// independent reader of what we read and write.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "zevutil/CDib.h"

using namespace zev;

namespace {

using Bytes = std::vector<BYTE>;
using Grid = std::vector<std::vector<int>>;  // rows from the top

void Put16(Bytes& b, unsigned v) {
  b.push_back(BYTE(v));
  b.push_back(BYTE(v >> 8));
}
void Put32(Bytes& b, unsigned v) {
  Put16(b, v & 0xFFFF);
  Put16(b, v >> 16);
}

const std::vector<COLORREF> kTable = {RGB(0, 0, 0), RGB(255, 0, 0), RGB(0, 255, 0), RGB(0, 0, 255)};

// A BMP with the 40-byte header (or the 12-byte one, whose table always has 256
// entries), the table and the given data.
Bytes MakeBmp(int width, int height, const Bytes& bits, DWORD compression = BI_RGB, bool core = false,
              int bitCount = 8, int clrUsed = 4) {
  Bytes b;
  const unsigned header = core ? 12 : 40, entry = core ? 3 : 4;
  const unsigned entries = core ? 256 : unsigned(kTable.size());
  const unsigned off = 14 + header + entry * entries;
  b.push_back('B');
  b.push_back('M');
  Put32(b, off + unsigned(bits.size()));
  Put32(b, 0);
  Put32(b, off);
  Put32(b, header);
  if (core) {
    Put16(b, unsigned(width));
    Put16(b, unsigned(height));
    Put16(b, 1);
    Put16(b, unsigned(bitCount));
  } else {
    Put32(b, unsigned(width));
    Put32(b, unsigned(height));
    Put16(b, 1);
    Put16(b, unsigned(bitCount));
    Put32(b, compression);
    Put32(b, unsigned(bits.size()));
    Put32(b, 0);
    Put32(b, 0);
    Put32(b, unsigned(clrUsed));
    Put32(b, 0);
  }
  for (COLORREF c : kTable) {
    b.push_back(GetBValue(c));
    b.push_back(GetGValue(c));
    b.push_back(GetRValue(c));
    if (!core) b.push_back(0);
  }
  b.resize(off, 0);
  b.insert(b.end(), bits.begin(), bits.end());
  return b;
}

Grid PixelsOf(const CDib& dib) {
  Grid g(std::size_t(dib.GetHeight()));
  for (int y = 0; y < dib.GetHeight(); ++y)
    for (int x = 0; x < dib.GetWidth(); ++x) g[std::size_t(y)].push_back(dib.GetPixelValue(x, y));
  return g;
}

std::filesystem::path Scratch(const std::string& name) {
  const char* base = std::getenv("ZEV_TEST_TMP");
  std::filesystem::path dir = std::filesystem::path(base ? base : "/tmp") / "dib";
  std::filesystem::create_directories(dir);
  return dir / name;
}

void WriteFile(const std::filesystem::path& p, const Bytes& b) {
  std::ofstream(p, std::ios::binary).write(reinterpret_cast<const char*>(b.data()), std::streamsize(b.size()));
}

Bytes ReadFile(const std::filesystem::path& p) {
  std::ifstream in(p, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), {});
}

// A random image: width x height, numColors table entries, pixels below numColors.
CDib RandomDib(int width, int height, int numColors, unsigned seed) {
  std::mt19937 rng(seed);
  CDib dib;
  EXPECT_TRUE(dib.Create(width, height, numColors));
  for (int i = 0; i < numColors; ++i) dib.GetColorTable()[i] = QRGB(BYTE(rng()), BYTE(rng()), BYTE(rng()));
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) *dib.GetPixelAddress(x, y) = BYTE(rng() % unsigned(numColors));
  return dib;
}

// Runs the gdk-pixbuf peer on a file; the expected RGB comes from our own reading.
// Returns the exit code (77: the peer is not installed).
int PeerCompare(const std::filesystem::path& image, const CDib& dib) {
  Bytes rgb;
  for (int y = 0; y < dib.GetHeight(); ++y)
    for (int x = 0; x < dib.GetWidth(); ++x) {
      COLORREF c = dib.GetPixelColor(x, y);
      rgb.insert(rgb.end(), {GetRValue(c), GetGValue(c), GetBValue(c)});
    }
  std::filesystem::path expected = image;
  expected += ".rgb";
  WriteFile(expected, rgb);
  std::string cmd = "/usr/bin/python3 " ZEV_SOURCE_DIR "/tests/toolkit/dib_peer.py '" + image.string() + "' '" +
                    expected.string() + "' " + std::to_string(dib.GetWidth()) + " " +
                    std::to_string(dib.GetHeight());
  int status = std::system(cmd.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

TEST(CDibFile, ReadsEveryBmpLayoutToTheSamePixels) {
  const Bytes plain = {1, 2, 3, 0, 3, 2, 1, 0};  // bottom row first
  // RLE8: run of 3; end of line; absolute run of 3 (padded); end of line; delta
  // (1, 1); run of 1; end of bitmap.
  const Bytes rle = {3, 1, 0, 0, 0, 3, 2, 3, 1, 0, 0, 0, 0, 2, 1, 1, 1, 2, 0, 1};
  struct Case {
    const char* name;
    Bytes file;
    Grid pixels;
  } cases[] = {
      {"bottom up", MakeBmp(3, 2, plain), {{3, 2, 1}, {1, 2, 3}}},
      {"top down", MakeBmp(3, -2, plain), {{1, 2, 3}, {3, 2, 1}}},
      {"12-byte header", MakeBmp(3, 2, plain, BI_RGB, true), {{3, 2, 1}, {1, 2, 3}}},
      {"last row's padding missing", MakeBmp(3, 2, Bytes(plain.begin(), plain.end() - 1)), {{3, 2, 1}, {1, 2, 3}}},
      {"RLE8", MakeBmp(4, 4, rle, BI_RLE8), {{0, 2, 0, 0}, {0, 0, 0, 0}, {2, 3, 1, 0}, {1, 1, 1, 0}}},
      {"RLE8 run cut at the right edge", MakeBmp(2, 2, {5, 1, 0, 0, 1, 3, 0, 1}, BI_RLE8), {{3, 0}, {1, 1}}},
      {"RLE8 ending early", MakeBmp(2, 2, {1, 2}, BI_RLE8), {{0, 0}, {2, 0}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CDib dib;
    ASSERT_TRUE(dib.ReadBmp(c.file.data(), c.file.size()));
    EXPECT_EQ(PixelsOf(dib), c.pixels);
    ASSERT_EQ(dib.GetNumColors(), std::string(c.name) == "12-byte header" ? 256 : 4);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(dib.GetTableColor(i), kTable[std::size_t(i)]);
    // gdk-pixbuf reads the same file to the same colours.
    auto path = Scratch(std::string("layout_") + std::to_string(&c - cases) + ".bmp");
    WriteFile(path, c.file);
    // Damaged files are left out: gdk-pixbuf blanks a row it did not get whole.
    if (std::string(c.name).find("missing") == std::string::npos) {
      int peer = PeerCompare(path, dib);
      if (peer != 77) {
        EXPECT_EQ(peer, 0);
      }
    }
  }
}

TEST(CDibFile, RefusesDamagedBmpFiles) {
  const Bytes plain = {1, 2, 3, 0, 3, 2, 1, 0};
  auto patched = [&](std::size_t at, std::vector<BYTE> with) {
    Bytes b = MakeBmp(3, 2, plain);
    std::copy(with.begin(), with.end(), b.begin() + std::ptrdiff_t(at));
    return b;
  };
  Bytes truncatedTable = MakeBmp(3, 2, plain);
  truncatedTable.resize(14 + 40 + 6);
  struct Case {
    const char* name;
    Bytes file;
  } cases[] = {
      {"empty", {}},
      {"magic only", {'B', 'M'}},
      {"not BM", patched(0, {'M', 'B'})},
      {"24 bits a pixel", MakeBmp(3, 2, plain, BI_RGB, false, 24)},
      {"two planes", patched(26, {2, 0})},
      {"unknown header size", patched(14, {20, 0, 0, 0})},
      {"zero width", MakeBmp(0, 2, plain)},
      {"pixels cut short", MakeBmp(3, 2, Bytes(plain.begin(), plain.begin() + 4))},
      {"table cut short", truncatedTable},
      {"bit fields", MakeBmp(3, 2, plain, 3)},
      {"RLE8 top down", MakeBmp(2, -2, {0, 1}, BI_RLE8)},
      {"RLE8 far larger than its data", MakeBmp(60000, 60000, {0, 1}, BI_RLE8)},
      {"huge uncompressed", MakeBmp(0x7FFFFFFF, 0x7FFFFFFF, plain)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CDib dib;
    ASSERT_TRUE(dib.Create(1, 1, 1));
    EXPECT_FALSE(dib.ReadBmp(c.file.data(), c.file.size()));
    EXPECT_TRUE(dib.IsEmpty());
  }
}

TEST(CDibFile, WritesBmpAndPngThatReadBackByteForByte) {
  struct Case {
    int width, height, colours;
  } cases[] = {{1, 1, 1}, {2, 3, 2}, {3, 2, 16}, {4, 4, 256}, {5, 1, 7}, {17, 9, 200}};
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.width << "x" << c.height << ", " << c.colours << " colours");
    CDib dib = RandomDib(c.width, c.height, c.colours, unsigned(c.width * 31 + c.colours));
    dib.m_nXPelsPerMeter = 2835;
    for (const char* kind : {"bmp", "png"}) {
      SCOPED_TRACE(kind);
      const bool bmp = kind[0] == 'b';
      Bytes first, second;
      ASSERT_TRUE(bmp ? dib.WriteBmp(first) : dib.WritePng(first));
      CDib back;
      ASSERT_TRUE(back.LoadFromMemory(first.data(), first.size()));
      EXPECT_EQ(PixelsOf(back), PixelsOf(dib));
      ASSERT_EQ(back.GetNumColors(), c.colours);
      for (int i = 0; i < c.colours; ++i) EXPECT_EQ(back.GetTableColor(i), dib.GetTableColor(i));
      ASSERT_TRUE(bmp ? back.WriteBmp(second) : back.WritePng(second));
      EXPECT_EQ(second, first);
      // Through files, and read by gdk-pixbuf.
      auto path = Scratch("rt_" + std::to_string(c.width) + "x" + std::to_string(c.height) + "." + kind);
      ASSERT_TRUE(bmp ? dib.SaveBmp(path.c_str()) : dib.SavePng(path.c_str()));
      EXPECT_EQ(ReadFile(path), first);
      CDib loaded;
      ASSERT_TRUE(loaded.Load(path.c_str()));
      EXPECT_EQ(PixelsOf(loaded), PixelsOf(dib));
    }
  }
  // A BMP file header of 14 bytes and an info header of 40, table of 4-byte entries.
  CDib small = RandomDib(3, 2, 4, 1);
  Bytes out;
  ASSERT_TRUE(small.WriteBmp(out));
  EXPECT_EQ(out.size(), 14u + 40u + 16u + 8u);
  EXPECT_EQ(out[10], 14 + 40 + 16);
  CDib noTable;
  ASSERT_TRUE(noTable.Create(2, 2, 0));
  EXPECT_FALSE(noTable.WritePng(out));
  EXPECT_FALSE(CDib().WriteBmp(out));
}

// gdk-pixbuf, an independent reader, decodes what we write to the colours we mean:
// odd widths (row padding), short and full tables, and the built-in logo.
TEST(CDibFile, GdkPixbufReadsOurBmpAndPngToTheSameColours) {
  struct Case {
    int width, height, colours;
  } cases[] = {{1, 1, 1}, {3, 2, 16}, {5, 7, 7}, {17, 9, 256}};
  std::vector<std::pair<std::string, CDib>> images;
  for (const Case& c : cases)
    images.emplace_back(std::to_string(c.width) + "x" + std::to_string(c.height),
                        RandomDib(c.width, c.height, c.colours, unsigned(c.width * 7 + c.height)));
  CDib logo;
  ASSERT_TRUE(logo.LoadResource(IDB_ZEV_LOGO));
  images.emplace_back("logo", std::move(logo));
  for (const auto& [name, dib] : images) {
    for (const char* kind : {"bmp", "png"}) {
      SCOPED_TRACE(name + "." + kind);
      auto path = Scratch("peer_" + name + "." + kind);
      ASSERT_TRUE(kind[0] == 'b' ? dib.SaveBmp(path.c_str()) : dib.SavePng(path.c_str()));
      const int peer = PeerCompare(path, dib);
      if (peer == 77) GTEST_SKIP() << "gdk-pixbuf for Python is not installed (python3-gi, gir1.2-gdkpixbuf-2.0)";
      EXPECT_EQ(peer, 0);
    }
  }
}

TEST(CDibFile, ReadsPalettePngOfEveryDepthKeepingIndices) {
  struct Case {
    const char* file;
    Grid pixels;
    int colours;
  } cases[] = {
      {"depth8_3x2.png", {{1, 2, 3}, {3, 2, 1}}, 4},
      {"depth2_5x2.png", {{0, 1, 2, 3, 1}, {3, 2, 1, 0, 3}}, 4},
      {"depth1_9x1.png", {{1, 0, 1, 1, 0, 0, 1, 1, 1}}, 2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.file);
    Bytes png = ReadFile(std::filesystem::path(ZEV_SOURCE_DIR) / "fuzz/corpus/png" / c.file);
    ASSERT_FALSE(png.empty());
    CDib dib;
    ASSERT_TRUE(dib.ReadPng(png.data(), png.size()));
    EXPECT_EQ(PixelsOf(dib), c.pixels);
    EXPECT_EQ(dib.GetNumColors(), c.colours);
    // Damaged copies are refused: cut short, or a changed byte under a CRC.
    Bytes cut(png.begin(), png.begin() + std::ptrdiff_t(png.size() / 2));
    Bytes flipped = png;
    flipped[20] ^= 0x40;
    CDib bad;
    EXPECT_FALSE(bad.ReadPng(cut.data(), cut.size()));
    EXPECT_FALSE(bad.ReadPng(flipped.data(), flipped.size()));
    EXPECT_TRUE(bad.IsEmpty());
  }
}

TEST(CPaletteMerge, MergesBitmapsFromFiles) {
  std::vector<std::string> names;
  for (int i = 0; i < 3; ++i) {
    CDib dib = RandomDib(4, 4, 8, unsigned(100 + i));
    auto path = Scratch("merge_" + std::to_string(i) + (i == 1 ? ".png" : ".bmp"));
    ASSERT_TRUE(i == 1 ? dib.SavePng(path.c_str()) : dib.SaveBmp(path.c_str()));
    names.push_back(path.string());
  }
  const char* paths[] = {names[0].c_str(), names[1].c_str(), names[2].c_str()};
  CPaletteMerge merge;
  ASSERT_TRUE(merge.AddBitmaps(paths, 3));
  ASSERT_EQ(merge.GetBitmapCount(), 3);
  int asked = 0, added = 0;
  for (int i = 0; i < 3; ++i) {
    asked += merge.GetResult(i)->asked;
    added += merge.GetResult(i)->added;
    EXPECT_EQ(merge.GetResult(i)->lost, 0);
  }
  EXPECT_EQ(merge.GetResult(2)->total, 20 + added);
  EXPECT_LE(added, asked);
}

TEST(CDibFile, PngKeepsIndicesBeyondTheTable) {
  // Found by fuzzing: a damaged IDAT decodes to indices past the palette, which a PNG
  // writer must not leave uncovered. The palette grows with black entries.
  struct Case {
    const char* name;
    Bytes file;
  } cases[] = {
      {"regression_index_beyond_palette",
       ReadFile(std::filesystem::path(ZEV_SOURCE_DIR) / "fuzz/corpus/png/regression_index_beyond_palette.png")},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CDib dib;
    ASSERT_TRUE(dib.ReadPng(c.file.data(), c.file.size()));
    Bytes first, second;
    ASSERT_TRUE(dib.WritePng(first));
    CDib back;
    ASSERT_TRUE(back.ReadPng(first.data(), first.size()));
    EXPECT_EQ(PixelsOf(back), PixelsOf(dib));
    ASSERT_TRUE(back.WritePng(second));
    EXPECT_EQ(second, first);
  }
  CDib dib = RandomDib(3, 1, 2, 5);
  *dib.GetPixelAddress(2, 0) = 5;
  Bytes png;
  ASSERT_TRUE(dib.WritePng(png));
  CDib back;
  ASSERT_TRUE(back.ReadPng(png.data(), png.size()));
  EXPECT_EQ(back.GetPixelValue(2, 0), 5);
  ASSERT_EQ(back.GetNumColors(), 6);
  EXPECT_EQ(back.GetTableColor(1), dib.GetTableColor(1));
  EXPECT_EQ(back.GetTableColor(5), 0u);
}
