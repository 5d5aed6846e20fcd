// CLZSS_Compressor: the reference streams, round trips across the group, look-ahead and
// ring boundaries, agreement with the classic coder, and decoding of foreign bytes.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "bench/classic_lzss.h"
#include "zevutil/VqDataCompressor.h"

using namespace zev;

namespace {

using Bytes = std::vector<unsigned char>;

Bytes ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in.good()) << path;
  return Bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

// Runs one direction through the compressor and takes ownership of the block.
Bytes Code(CLZSS_Compressor& lz, bool compress, const Bytes& in) {
  void* out = nullptr;
  ULONG outSize = 12345;
  int rc = compress ? lz.CompressBlock(out, outSize, in.data(), ULONG(in.size()))
                    : lz.DecompressBlock(out, outSize, in.data(), ULONG(in.size()));
  EXPECT_EQ(rc, 1);
  EXPECT_NE(out, nullptr);  // even an empty result is a block to free
  Bytes result(static_cast<unsigned char*>(out), static_cast<unsigned char*>(out) + outSize);
  std::free(out);
  return result;
}

// Text with long and short repeats, as traces and reports have.
Bytes TextLike(size_t n, unsigned seed) {
  static const char* words[] = {"the ", "base ", "called ", "trace ", "peak ", "signal ", "A", "C", "G", "T",
                                "quality ", "\n", "capillary ", "run ", "0.25 ", "sample "};
  std::mt19937 rng(seed);
  Bytes b;
  while (b.size() < n) {
    const char* w = words[rng() % 16];
    b.insert(b.end(), w, w + std::strlen(w));
  }
  b.resize(n);
  return b;
}

Bytes Random(size_t n, unsigned seed, unsigned alphabet = 256) {
  std::mt19937 rng(seed);
  Bytes b(n);
  for (auto& c : b) c = static_cast<unsigned char>(rng() % alphabet);
  return b;
}

}  // namespace

TEST(LZSSCompressor, ReferenceStreams) {
  const std::string dir = std::string(ZEV_SHARED_DIR) + "/testdata/lzss/";
  std::ifstream manifest(dir + "MANIFEST.tsv");
  ASSERT_TRUE(manifest.good());
  std::string line;
  std::getline(manifest, line);  // header
  CLZSS_Compressor shared;       // one instance for every vector: a reset leaves nothing behind
  int rows = 0;
  while (std::getline(manifest, line)) {
    std::vector<std::string> f;
    std::stringstream ss(line);
    for (std::string cell; std::getline(ss, cell, '\t');) f.push_back(cell);
    ASSERT_GE(f.size(), 9u) << line;
    SCOPED_TRACE(f[0]);
    Bytes plain = ReadFile(dir + f[1]);
    Bytes packed = ReadFile(dir + f[4]);
    ASSERT_EQ(plain.size(), std::stoul(f[2]));
    ASSERT_EQ(packed.size(), std::stoul(f[5]));
    const bool decodeOnly = f[8].find("decode(.lzss) == .bin only") != std::string::npos;
    if (!decodeOnly) {
      EXPECT_TRUE(Code(shared, true, plain) == packed);
    }
    EXPECT_TRUE(Code(shared, false, packed) == plain);
    ++rows;
  }
  EXPECT_GE(rows, 20);
}

TEST(LZSSCompressor, SmallStreamsExactly) {
  struct Case {
    const char* name;
    Bytes in;
    Bytes out;
  } cases[] = {
      {"single byte is one literal", {'X'}, {0x01, 'X'}},
      {"empty input, empty block", {}, {}},
      // 3 literals (abc) then a pair at 4078 of length 15: flag 0b0111
      {"repeat of abc", Bytes{'a', 'b', 'c', 'a', 'b', 'c', 'a', 'b', 'c', 'a', 'b', 'c', 'a', 'b', 'c', 'a', 'b', 'c'},
       {0x07, 'a', 'b', 'c', 0xEE, 0xFC}},
  };
  CLZSS_Compressor lz;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_TRUE(Code(lz, true, c.in) == c.out);
    EXPECT_TRUE(Code(lz, false, c.out) == c.in);
  }
}

TEST(LZSSCompressor, RoundTripsAcrossBoundaries) {
  // Sizes around 8 items per group, the 18-byte look-ahead and the 4096-byte ring.
  const size_t sizes[] = {1, 2, 3, 7, 8, 9, 15, 16, 17, 18, 19, 35, 36, 37, 4077, 4078, 4079,
                          4095, 4096, 4097, 8191, 8192, 8193, 12289, 70000};
  struct Kind {
    const char* name;
    Bytes (*make)(size_t, unsigned);
  } kinds[] = {
      {"text", [](size_t n, unsigned s) { return TextLike(n, s); }},
      {"random", [](size_t n, unsigned s) { return Random(n, s); }},
      {"two letters", [](size_t n, unsigned s) { return Random(n, s, 2); }},
      {"blanks and NULs", [](size_t n, unsigned s) {
         Bytes b = Random(n, s, 2);
         for (auto& c : b) c = c ? ' ' : 0;
         return b;
       }},
      {"one byte repeated", [](size_t n, unsigned) { return Bytes(n, 'z'); }},
      // Neighbouring positions often start alike, so the coder's batched tree work has to
      // fall back to one position at a time now and then.
      {"sixteen letters", [](size_t n, unsigned s) { return Random(n, s, 16); }},
      // Records sharing a long head and parting anywhere in the look-ahead: keys agree
      // with the nodes they meet in eight, nine to sixteen, seventeen or all eighteen bytes.
      {"records with long shared heads", [](size_t n, unsigned s) {
         std::mt19937 rng(s);
         Bytes b;
         while (b.size() < n) {
           static const char head[] = "well A01 run 0017 peak ";
           b.insert(b.end(), head, head + 6 + rng() % 17);
           for (unsigned i = rng() % 6; i > 0; --i) b.push_back(static_cast<unsigned char>('0' + rng() % 3));
         }
         b.resize(n);
         return b;
       }},
      // Incompressible stretches switch the coder to its descent for random data and back.
      {"random and text in turns", [](size_t n, unsigned s) {
         Bytes b;
         for (unsigned part = 0; b.size() < n; ++part) {
           Bytes piece = part % 2 ? TextLike(3000, s + part) : Random(2500, s + part);
           b.insert(b.end(), piece.begin(), piece.end());
         }
         b.resize(n);
         return b;
       }},
  };
  CLZSS_Compressor lz;
  classic_lzss::Coder classic;
  for (const auto& k : kinds)
    for (size_t n : sizes) {
      SCOPED_TRACE(std::string(k.name) + " " + std::to_string(n));
      Bytes in = k.make(n, unsigned(n));
      Bytes packed = Code(lz, true, in);
      EXPECT_TRUE(packed == classic.Encode(in.data(), in.size()));
      EXPECT_TRUE(Code(lz, false, packed) == in);
    }
}

TEST(LZSSCompressor, IncompressibleInputGrowsTheBlock) {
  // Nine bytes for every eight literals, far past the first estimate of 0.45 times the input.
  CLZSS_Compressor lz;
  for (size_t n : {1000u, 65536u, 300001u}) {
    SCOPED_TRACE(n);
    Bytes in = Random(n, 99);
    Bytes packed = Code(lz, true, in);
    EXPECT_GE(packed.size(), n + n / 10);
    EXPECT_LE(packed.size(), n + n / 8 + 2);
    EXPECT_TRUE(Code(lz, false, packed) == in);
  }
}

TEST(LZSSCompressor, ForeignBytesDecodeAsClassicDoes) {
  // Any bytes are a stream: the result must be what the classic decoder makes of them,
  // whatever pairs reach back into the initial ring or cut the input short.
  CLZSS_Compressor lz;
  classic_lzss::Coder classic;
  for (unsigned seed = 0; seed < 60; ++seed) {
    SCOPED_TRACE(seed);
    Bytes in = Random(seed * 37 % 5000, seed);
    if (seed % 3 == 0)
      for (size_t i = 0; i < in.size(); i += 17) in[i] = 0;  // all-pair groups
    Bytes out = Code(lz, false, in);
    EXPECT_TRUE(out == classic.Decode(in.data(), in.size()));
    EXPECT_LE(out.size(), in.size() * 144 / 17 + 144);
  }
}

TEST(LZSSCompressor, IsACompressorByRuntimeClass) {
  CObject* obj = RUNTIME_CLASS(CLZSS_Compressor)->CreateObject();
  ASSERT_NE(obj, nullptr);
  EXPECT_TRUE(obj->IsKindOf(RUNTIME_CLASS(VqDataCompressor)));
  EXPECT_STREQ(obj->GetRuntimeClass()->m_lpszClassName, "CLZSS_Compressor");
  auto* codec = static_cast<VqDataCompressor*>(obj);
  Bytes in = TextLike(5000, 3);
  void* packed = nullptr;
  void* back = nullptr;
  ULONG packedSize = 0, backSize = 0;
  codec->CompressBlock(packed, packedSize, in.data(), ULONG(in.size()));
  codec->DecompressBlock(back, backSize, packed, packedSize);
  ASSERT_EQ(backSize, in.size());
  EXPECT_EQ(std::memcmp(back, in.data(), in.size()), 0);
  std::free(packed);
  std::free(back);
  delete obj;
}
