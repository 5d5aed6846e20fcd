// CScf: the stored layout of both versions, reading of hand-made and public files,
// damaged input, and agreement with io_lib in both directions.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <map>

#include "CScfTestSupport.h"
#include "examples/demo_trace.h"
#include "zevutil/CScf.h"

using namespace zev;
using zevtest::LoadBytes;
using zevtest::SaveBytes;
using zevtest::ScratchDir;

namespace {

std::filesystem::path Tmp(const std::string& name) { return ScratchDir("zev_scf") / name; }

DWORD BE32(const std::vector<BYTE>& b, size_t off) {
  return DWORD(b[off]) << 24 | DWORD(b[off + 1]) << 16 | DWORD(b[off + 2]) << 8 | b[off + 3];
}
DWORD LE32(const std::vector<BYTE>& b, size_t off) {
  return DWORD(b[off]) | DWORD(b[off + 1]) << 8 | DWORD(b[off + 2]) << 16 | DWORD(b[off + 3]) << 24;
}

// A small object with something in every part.
void Fill(CScf& s, bool comments = true) {
  if (comments) {
    s.AddComment("NAME=demo");
    s.AddComment("LANE=7");
  }
  s.InitBaseSizeAndArray(3);
  s.SetBase(0, 10, 40, 1, 2, 3, 'A');
  s.SetBase(1, 20, 4, 50, 6, 7, 'C');
  s.SetBase(2, 30, 8, 9, 60, 11, 'N');
  s.InitSampleSizeAndArray(5, 3, 9);
  const unsigned short v[5][4] = {{0, 1, 2, 3}, {65535, 0, 1, 40000}, {7, 7, 7, 7}, {1, 65535, 0, 2}, {100, 200, 300, 400}};
  for (int i = 0; i < 5; ++i) s.SetSample(i, v[i][0], v[i][1], v[i][2], v[i][3]);
  s.InitRawDataSizeAndArray(2, 4, 2);
  s.SetRawData(0, 1, 2, 3, 4);
  s.SetRawData(1, 500, 600, 700, 65535);
  s.InitCvtDataSizeAndArray(1, 6);
  s.SetCvtData(0, 9, 8, 7);
  s.SetBarcode("BC-123");
  s.SetSubjectID("subject 9");
}

// Builds a file by hand: a header, then whatever the case appends.
struct FileBuilder {
  std::vector<BYTE> b = std::vector<BYTE>(128, 0);
  void Put32(size_t off, DWORD v) {
    if (b.size() < off + 4) b.resize(off + 4);
    b[off] = BYTE(v >> 24); b[off + 1] = BYTE(v >> 16); b[off + 2] = BYTE(v >> 8); b[off + 3] = BYTE(v);
  }
  void Version(const char* v) { std::memcpy(&b[36], v, 4); }
  FileBuilder() {
    Put32(0, CScf::kMagic);
    Version("3.00");
    Put32(40, 2);
  }
};

}  // namespace

TEST(CScf, DeltaCodingRoundTripsAndWraps) {
  struct Case { const char* name; std::vector<unsigned short> in; std::vector<unsigned short> encoded; };
  const Case cases[] = {
      {"empty", {}, {}},
      {"one", {42}, {42}},
      {"quadratic", {1, 3, 6, 10}, {1, 1, 1, 1}},
      {"wraps", {65535, 0, 65535, 1}, {65535, 2, 65534, 3}},
      {"ramp down", {100, 90, 80, 70, 60}, {100, 65426, 0, 0, 0}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    auto v = c.in;
    CScf::DeltaEncode(v.data(), v.size());
    EXPECT_EQ(v, c.encoded);
    CScf::DeltaDecode(v.data(), v.size());
    EXPECT_EQ(v, c.in);
  }
  std::vector<unsigned char> bytes = {250, 5, 255, 0, 128, 1};
  auto copy = bytes;
  CScf::DeltaEncode(copy.data(), copy.size());
  CScf::DeltaDecode(copy.data(), copy.size());
  EXPECT_EQ(copy, bytes);
}

TEST(CScf, WrittenLayoutOfBothVersions) {
  for (int version : {210, 300}) {
    SCOPED_TRACE(version);
    CScf s;
    Fill(s);
    version == 210 ? s.SetVersion210() : s.SetVersion300();
    std::vector<BYTE> f;
    ASSERT_TRUE(s.WriteToMemory(f));
    // 128 header + 17 comment + 36 bases + 40 samples + (128 + 16 + 3) private + 256.
    ASSERT_EQ(f.size(), 128u + 17 + 36 + 40 + 147 + 256);
    const std::pair<size_t, DWORD> header[] = {
        {0, 0x2E736366}, {4, 5}, {8, 128 + 17 + 36}, {12, 3}, {16, 0}, {20, 0}, {24, 128 + 17},
        {28, 17}, {32, 128}, {40, 2}, {44, 2}, {48, 147}, {52, 128 + 17 + 36 + 40}};
    for (auto [off, want] : header) EXPECT_EQ(BE32(f, off), want) << "header offset " << off;
    EXPECT_EQ(std::string(f.begin() + 36, f.begin() + 40), version == 300 ? "3.00" : "2.10");
    EXPECT_EQ(std::string(f.begin() + 128, f.begin() + 145), "NAME=demo\nLANE=7\n");

    const size_t bases = 145, samples = bases + 36, priv = samples + 40;
    if (version == 300) {
      EXPECT_EQ(BE32(f, bases + 8), 30u);                                  // third peak
      EXPECT_EQ(std::string(f.begin() + bases + 12, f.begin() + bases + 15), std::string("\x28\x04\x08"));
      EXPECT_EQ(std::string(f.begin() + bases + 24, f.begin() + bases + 27), "ACN");
      // Channel A, delta-coded twice: 0, 65535, 7, 1, 100.
      std::vector<unsigned short> a = {0, 65535, 7, 1, 100};
      CScf::DeltaEncode(a.data(), a.size());
      for (size_t i = 0; i < 5; ++i) EXPECT_EQ(f[samples + 2 * i] << 8 | f[samples + 2 * i + 1], a[i]);
    } else {
      EXPECT_EQ(BE32(f, bases + 12), 20u);
      EXPECT_EQ(f[bases + 12 + 4], 4);
      EXPECT_EQ(f[bases + 12 + 8], 'C');
      EXPECT_EQ(f[samples + 8] << 8 | f[samples + 9], 65535);  // second point, A
      EXPECT_EQ(f[samples + 14] << 8 | f[samples + 15], 40000);
    }
    const std::pair<size_t, DWORD> privateWords[] = {
        {0, 0x2E7A6576}, {4, 2}, {8, 128}, {12, 1}, {16, 144}, {20, 300}, {24, 4}, {28, 2},
        {32, 3}, {36, 9}, {40, 6}, {44, 147}};
    for (auto [off, want] : privateWords) EXPECT_EQ(BE32(f, priv + off), want) << "private offset " << off;
    EXPECT_EQ(LE32(f, priv + 48), 147u + 128);  // stored unswapped
    EXPECT_EQ(f[priv + 128 + 8 + 6] << 8 | f[priv + 128 + 8 + 7], 65535);
    EXPECT_EQ(std::string(f.begin() + priv + 144, f.begin() + priv + 147), "\x09\x08\x07");
    EXPECT_STREQ(reinterpret_cast<const char*>(&f[priv + 147]), "BC-123");
    EXPECT_STREQ(reinterpret_cast<const char*>(&f[priv + 147 + 128]), "subject 9");

    // In memory only the sizes and the private offsets change.
    EXPECT_EQ(s.GetCommentSize(), 17u);
    EXPECT_EQ(s.GetPrivateSize(), 147u);
    EXPECT_EQ(s.GetMagic(), 0u);
    EXPECT_EQ(s.GetBaseOffset(), 0u);
    EXPECT_EQ(s.GetCvtDataOffset(), 144u);
    EXPECT_EQ(s.GetPrivateMagic(), 0u);
  }
}

TEST(CScf, EmptyObjectWritesZeroOffsetsAndAPrivateSection) {
  CScf s;
  std::vector<BYTE> f;
  ASSERT_TRUE(s.WriteToMemory(f));
  ASSERT_EQ(f.size(), 128u + 128 + 256);
  for (size_t off : {4, 8, 12, 24, 28, 32}) EXPECT_EQ(BE32(f, off), 0u) << off;
  EXPECT_EQ(BE32(f, 52), 128u);
  EXPECT_EQ(BE32(f, 48), 128u);
  EXPECT_EQ(BE32(f, 128 + 20), 300u);
}

TEST(CScf, WriteReadWriteIsByteIdentical) {
  for (int version : {210, 300}) {
    SCOPED_TRACE(version);
    CScf s;
    Fill(s);
    version == 210 ? s.SetVersion210() : s.SetVersion300();
    auto path = Tmp("rt" + std::to_string(version) + ".scf");
    ASSERT_TRUE(s.Write(path.c_str()));
    CFileStatus st;
    ASSERT_TRUE(s.GetFileStatus(st));
    EXPECT_EQ(st.m_size, LONGLONG(std::filesystem::file_size(path)));

    CScf r;
    ASSERT_TRUE(r.Read(path.c_str()));
    EXPECT_STREQ(r.GetFileName(), path.c_str());
    EXPECT_EQ(r.GetBaseSequence(), "ACN");
    EXPECT_EQ(r.GetVersion().Left(4), version == 300 ? "3.00" : "2.10");
    unsigned int peak;
    unsigned char a, c, g, t;
    char base;
    ASSERT_TRUE(r.GetBase(1, peak, a, c, g, t, base));
    EXPECT_EQ(peak, 20u);
    EXPECT_EQ(std::vector<int>({a, c, g, t, base}), std::vector<int>({4, 50, 6, 7, 'C'}));
    unsigned short sa, sc, sg, s4;
    ASSERT_TRUE(r.GetSample(3, sa, sc, sg, s4));
    EXPECT_EQ(std::vector<int>({sa, sc, sg, s4}), std::vector<int>({1, 65535, 0, 2}));
    ASSERT_TRUE(r.GetRawData(1, sa, sc, sg, s4));
    EXPECT_EQ(std::vector<int>({sa, sc, sg, s4}), std::vector<int>({500, 600, 700, 65535}));
    ASSERT_TRUE(r.GetCvtData(0, a, c, g));
    EXPECT_EQ(std::vector<int>({a, c, g}), std::vector<int>({9, 8, 7}));
    const char* text;
    r.GetBarcode(text);
    EXPECT_STREQ(text, "BC-123");
    r.GetSubjectID(text);
    EXPECT_STREQ(text, "subject 9");
    EXPECT_EQ(r.GetAnalyzedScaleFactor(), 3u);
    EXPECT_EQ(r.GetAnalyzedSampleRate(), 9u);
    EXPECT_EQ(r.GetCurrentScaleFactor(), 6u);

    // Comments come back without their newlines, so a rewrite runs them together.
    std::vector<std::string> comments;
    for (POSITION p = r.GetFirstCommentPosition(); p;) comments.push_back(r.GetNextComment(p).str());
    EXPECT_EQ(comments, std::vector<std::string>({"NAME=demo", "LANE=7"}));
    std::vector<BYTE> again;
    ASSERT_TRUE(r.WriteToMemory(again));
    EXPECT_EQ(std::string(again.begin() + 128, again.begin() + 143), "NAME=demoLANE=7");

    // Without comments a rewrite of what was read is the file itself.
    CScf plain;
    Fill(plain, false);
    version == 210 ? plain.SetVersion210() : plain.SetVersion300();
    std::vector<BYTE> first, second;
    ASSERT_TRUE(plain.WriteToMemory(first));
    CScf r2;
    ASSERT_TRUE(r2.ReadFromMemory(first.data(), first.size()));
    ASSERT_TRUE(r2.WriteToMemory(second));
    EXPECT_EQ(first, second);
  }
}

TEST(CScf, HandMadeFilesRead) {
  struct Case {
    const char* name;
    std::function<void(FileBuilder&)> build;
    bool ok;
    unsigned version;  // selector after the read (unchanged from 300 on a failed header)
  };
  const Case cases[] = {
      {"header only", [](FileBuilder&) {}, true, 300},
      {"version 2.10", [](FileBuilder& f) { f.Version("2.10"); }, true, 210},
      {"version 2.00", [](FileBuilder& f) { f.Version("2.00"); }, true, 210},
      {"version 3.10", [](FileBuilder& f) { f.Version("3.10"); }, true, 300},
      {"version 1.00", [](FileBuilder& f) { f.Version("1.00"); }, false, 0},
      {"version 4.00", [](FileBuilder& f) { f.Version("4.00"); }, false, 0},
      {"version text", [](FileBuilder& f) { f.Version("abcd"); }, false, 0},
      {"bad magic", [](FileBuilder& f) { f.Put32(0, 0x2E736367); }, false, 0},
      {"cut before the version", [](FileBuilder& f) { f.b.resize(36); }, false, 0},
      {"cut after the version", [](FileBuilder& f) { f.b.resize(40); }, true, 300},
      {"base count beyond the file", [](FileBuilder& f) { f.Put32(12, 11); f.Put32(24, 128); }, false, 0},
      {"sample count beyond the file", [](FileBuilder& f) { f.Put32(4, 0x40000000); }, false, 0},
      {"raw count beyond the file",
       [](FileBuilder& f) { f.Put32(48, 128); f.Put32(52, 128); f.Put32(128 + 4, 0xFFFFFFFF); }, false, 0},
      {"offsets past the end", [](FileBuilder& f) { f.Put32(12, 2); f.Put32(24, 0xFFFFFFF0); f.Put32(28, 9); f.Put32(32, 0xFFFFFFFF); }, true, 300},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    FileBuilder f;
    c.build(f);
    auto path = Tmp("hand.scf");
    SaveBytes(path, f.b);
    CScf s;
    s.SetVersion210();
    EXPECT_EQ(s.Read(path.c_str()), c.ok);
    EXPECT_STREQ(s.GetFileName(), path.c_str());
    CFileStatus st;
    EXPECT_EQ(s.GetFileStatus(st), c.ok);
    if (c.ok) {
      std::vector<BYTE> out;
      s.WriteToMemory(out);
      EXPECT_EQ(BE32(out, 36) >> 24, c.version == 300 ? unsigned('3') : unsigned('2'));
    }
  }
}

TEST(CScf, HeaderOnlyFileLeavesEveryArrayEmptyAndPrivateDefaults) {
  FileBuilder f;
  CScf s;
  ASSERT_TRUE(s.ReadFromMemory(f.b.data(), f.b.size()));
  unsigned int peak;
  unsigned char a, c, g, t;
  char base;
  unsigned short w;
  EXPECT_FALSE(s.GetBase(0, peak, a, c, g, t, base));
  EXPECT_FALSE(s.GetSample(0, w, w, w, w));
  EXPECT_FALSE(s.GetRawData(0, w, w, w, w));
  EXPECT_FALSE(s.GetCvtData(0, a, c, g));
  EXPECT_EQ(s.GetFirstCommentPosition(), nullptr);
  const DWORD defaults[] = {s.GetAnalyzedScaleFactor(), s.GetAnalyzedSampleRate(), s.GetRawScaleFactor(),
                            s.GetRawSampleRate(), s.GetCurrentScaleFactor(), s.GetScfVersion()};
  EXPECT_EQ(std::vector<DWORD>(std::begin(defaults), std::end(defaults)), std::vector<DWORD>({1, 1, 4, 2, 1, 0}));
  // kept: the version text runs on into the sample size's low byte.
  EXPECT_EQ(s.GetVersion(), CString("3.00\x02"));
}

TEST(CScf, OlderPrivateVersionsGetTheirDefaults) {
  struct Case { DWORD version; std::vector<DWORD> want; };  // rawScale, rawRate, anScale, anRate, current
  const Case cases[] = {
      {50, {4, 2, 1, 1, 1}}, {150, {11, 2, 1, 1, 1}}, {250, {11, 12, 13, 14, 1}}, {300, {11, 12, 13, 14, 15}}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.version);
    FileBuilder f;
    f.Put32(48, 128);
    f.Put32(52, 128);
    f.Put32(128 + 20, c.version);
    for (DWORD i = 0; i < 5; ++i) f.Put32(128 + 24 + 4 * i, 11 + i);
    CScf s;
    ASSERT_TRUE(s.ReadFromMemory(f.b.data(), f.b.size()));
    EXPECT_EQ(std::vector<DWORD>({s.GetRawScaleFactor(), s.GetRawSampleRate(), s.GetAnalyzedScaleFactor(),
                                  s.GetAnalyzedSampleRate(), s.GetCurrentScaleFactor()}),
              c.want);
  }
}

TEST(CScf, SampleSizesOnReading) {
  // Two points, A C G T each, 2.10 layout: size 1 widens, size 3 is read as 2 but
  // reported as unreadable.
  struct Case { DWORD size; bool get; std::vector<int> second; };
  const Case cases[] = {{1, true, {5, 6, 7, 8}}, {2, true, {0x090A, 0x0B0C, 0x0D0E, 0x0F10}}, {3, false, {0, 0, 0, 0}}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.size);
    FileBuilder f;
    f.Version("2.10");
    f.Put32(4, 2);
    f.Put32(8, 128);
    f.Put32(40, c.size);
    const BYTE data[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    f.b.insert(f.b.end(), data, data + 16);
    CScf s;
    ASSERT_TRUE(s.ReadFromMemory(f.b.data(), f.b.size()));
    unsigned short v[4] = {9, 9, 9, 9};
    EXPECT_EQ(s.GetSample(1, v[0], v[1], v[2], v[3]), c.get);
    EXPECT_EQ(std::vector<int>(v, v + 4), c.second);
    // Samples read at one byte can't be written until they are set again.
    std::vector<BYTE> out;
    EXPECT_EQ(s.WriteToMemory(out), c.size != 1);
  }
}

TEST(CScf, OneByteVersion3SamplesAreDecoded) {
  std::vector<unsigned char> chan[4] = {{10, 250, 3}, {0, 0, 255}, {1, 2, 3}, {200, 100, 50}};
  FileBuilder f;
  f.Put32(4, 3);
  f.Put32(8, 128);
  f.Put32(40, 1);
  for (auto& ch : chan) {
    auto enc = ch;
    CScf::DeltaEncode(enc.data(), enc.size());
    f.b.insert(f.b.end(), enc.begin(), enc.end());
  }
  CScf s;
  ASSERT_TRUE(s.ReadFromMemory(f.b.data(), f.b.size()));
  for (int i = 0; i < 3; ++i) {
    unsigned short v[4];
    ASSERT_TRUE(s.GetSample(i, v[0], v[1], v[2], v[3]));
    for (int k = 0; k < 4; ++k) EXPECT_EQ(v[k], chan[k][size_t(i)]) << i << "," << k;
  }
}

// Every way samples and raw data are stored, at lengths on both sides of the widths the
// decoders take at a time, with values that wrap the running sums: each value reads back.
TEST(CScf, StoredSamplesAndRawDataDecodeAtEveryLength) {
  std::uint32_t seed = 12345;
  auto next = [&seed] { return seed = seed * 1103515245u + 12345u, WORD(seed >> 12); };
  for (const char* version : {"2.10", "3.00"})
    for (DWORD width : {1u, 2u})
      for (DWORD n : {1u, 2u, 7u, 8u, 9u, 15u, 16u, 17u, 31u, 32u, 33u, 57u, 100u, 1000u}) {
        SCOPED_TRACE(std::string(version) + " width " + std::to_string(width) + " n " + std::to_string(n));
        std::vector<WORD> chan[4], raw[4];
        for (int k = 0; k < 4; ++k)
          for (DWORD i = 0; i < n; ++i) {
            chan[k].push_back(width == 1 ? WORD(next() & 0xFF) : next());
            raw[k].push_back(next());
          }
        FileBuilder f;
        f.Version(version);
        f.Put32(4, n);
        f.Put32(8, 128);
        f.Put32(40, width);
        auto put = [&f, width](WORD v) {
          if (width == 2) f.b.push_back(BYTE(v >> 8));
          f.b.push_back(BYTE(v));
        };
        if (std::strcmp(version, "3.00") == 0) {
          for (auto& ch : chan) {
            std::vector<WORD> enc = ch;
            std::vector<unsigned char> enc8(ch.begin(), ch.end());
            CScf::DeltaEncode(enc.data(), enc.size());
            CScf::DeltaEncode(enc8.data(), enc8.size());
            for (DWORD i = 0; i < n; ++i) put(width == 2 ? enc[i] : enc8[i]);
          }
        } else {
          for (DWORD i = 0; i < n; ++i)
            for (auto& ch : chan) put(ch[i]);
        }
        // A private section with the raw data right behind its 128-byte header.
        const DWORD priv = DWORD(f.b.size());
        f.Put32(48, 128 + 8 * n);
        f.Put32(52, priv);
        f.Put32(priv, CScf::kPrivateMagic);
        f.Put32(priv + 4, n);
        f.Put32(priv + 8, 128);
        f.b.resize(priv + 128);
        for (DWORD i = 0; i < n; ++i)
          for (auto& r : raw) f.b.insert(f.b.end(), {BYTE(r[i] >> 8), BYTE(r[i])});
        CScf s;
        ASSERT_TRUE(s.ReadFromMemory(f.b.data(), f.b.size()));
        for (DWORD i = 0; i < n; ++i) {
          unsigned short v[4], r[4];
          ASSERT_TRUE(s.GetSample(int(i), v[0], v[1], v[2], v[3]));
          ASSERT_TRUE(s.GetRawData(int(i), r[0], r[1], r[2], r[3]));
          for (int k = 0; k < 4; ++k) {
            ASSERT_EQ(v[k], chan[k][i]) << "sample " << i << " channel " << k;
            ASSERT_EQ(r[k], raw[k][i]) << "raw " << i << " channel " << k;
          }
        }
      }
}

// Base records of both layouts at lengths on both sides of the four records the reader
// takes at a time, with peaks using all four bytes: every field and letter reads back,
// and a rewrite of what was read is the written file (so the spare bytes stay zero).
TEST(CScf, BaseRecordsReadBackAtEveryLength) {
  std::uint32_t seed = 777;
  auto next = [&seed] { return seed = seed * 1103515245u + 12345u, seed; };
  for (int version : {210, 300})
    for (int n : {1, 3, 4, 5, 7, 8, 9, 13, 100}) {
      SCOPED_TRACE("version " + std::to_string(version) + " n " + std::to_string(n));
      struct Want { unsigned peak; unsigned char p[4]; char base; };
      std::vector<Want> want;
      CScf s;
      version == 210 ? s.SetVersion210() : s.SetVersion300();
      s.InitBaseSizeAndArray(unsigned(n));
      for (int i = 0; i < n; ++i) {
        Want w{next() ^ (next() << 16), {BYTE(next() >> 8), BYTE(next() >> 8), BYTE(next() >> 8), BYTE(next() >> 8)},
               "ACGTN-"[next() % 6]};
        ASSERT_TRUE(s.SetBase(i, w.peak, w.p[0], w.p[1], w.p[2], w.p[3], w.base));
        want.push_back(w);
      }
      std::vector<BYTE> file, again;
      ASSERT_TRUE(s.WriteToMemory(file));
      CScf r;
      ASSERT_TRUE(r.ReadFromMemory(file.data(), file.size()));
      std::string letters;
      for (int i = 0; i < n; ++i) {
        unsigned peak;
        unsigned char a, c, g, t;
        char base;
        ASSERT_TRUE(r.GetBase(i, peak, a, c, g, t, base));
        EXPECT_EQ(peak, want[i].peak) << i;
        EXPECT_EQ(std::vector<int>({a, c, g, t, base}),
                  std::vector<int>({want[i].p[0], want[i].p[1], want[i].p[2], want[i].p[3], want[i].base}))
            << i;
        letters += want[i].base;
      }
      EXPECT_EQ(r.GetBaseSequence().str(), letters);
      ASSERT_TRUE(r.WriteToMemory(again));
      EXPECT_EQ(again, file);
    }
}

TEST(CScf, CommentsSplitAtNewlinesAndStopAtNul) {
  struct Case { const char* name; std::string block; std::vector<std::string> want; };
  const Case cases[] = {
      {"plain", "A=1\nB=2\n", {"A=1", "B=2"}},
      {"no final newline", "A=1\nB=2", {"A=1", "B=2"}},
      {"final NUL", std::string("A=1\n\0", 5), {"A=1"}},
      {"NUL inside a line", std::string("A=1\0junk\nB=2\n", 13), {"A=1", "B=2"}},
      {"empty line kept", "A=1\n\nB=2\n", {"A=1", "", "B=2"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    FileBuilder f;
    f.Put32(28, DWORD(c.block.size()));
    f.Put32(32, 128);
    f.b.insert(f.b.end(), c.block.begin(), c.block.end());
    CScf s;
    ASSERT_TRUE(s.ReadFromMemory(f.b.data(), f.b.size()));
    std::vector<std::string> got;
    for (POSITION p = s.GetFirstCommentPosition(); p;) got.push_back(s.GetNextComment(p).str());
    EXPECT_EQ(got, c.want);
  }
}

TEST(CScf, AccessorBoundsAndTextFields) {
  CScf s;
  s.InitBaseSizeAndArray(2);
  s.InitSampleSizeAndArray(2, 1, 1);
  s.InitRawDataSizeAndArray(2, 4, 2);
  s.InitCvtDataSizeAndArray(2, 1);
  for (int i : {-1, 0, 1, 2}) {
    SCOPED_TRACE(i);
    bool in = i >= 0 && i < 2;
    EXPECT_EQ(s.SetBase(i, 1, 1, 1, 1, 1, 'A'), in);
    EXPECT_EQ(s.SetSample(i, 1, 1, 1, 1), in);
    EXPECT_EQ(s.SetRawData(i, 1, 1, 1, 1), in);
    EXPECT_EQ(s.SetCvtData(i, 1, 1, 1), in);
  }
  // SetBase does not feed the base sequence.
  EXPECT_EQ(s.GetBaseSequence(), "");

  const char* text;
  s.SetBarcode(std::string(200, 'x').c_str());
  s.GetBarcode(text);
  EXPECT_EQ(std::strlen(text), 127u);
  s.SetBarcode(nullptr);
  s.GetBarcode(text);
  EXPECT_STREQ(text, "");
  // A Read without a private section leaves barcode and subject ID as they were.
  s.SetSubjectID("kept");
  FileBuilder f;
  ASSERT_TRUE(s.ReadFromMemory(f.b.data(), f.b.size()));
  s.GetSubjectID(text);
  EXPECT_STREQ(text, "kept");
}

TEST(CScf, FileErrors) {
  CScf s;
  EXPECT_FALSE(s.Read("/nonexistent-dir/x.scf"));
  EXPECT_STREQ(s.GetFileName(), "/nonexistent-dir/x.scf");
  CFileStatus st;
  EXPECT_FALSE(s.GetFileStatus(st));
  EXPECT_FALSE(s.Write("/nonexistent-dir/x.scf"));
  unsigned samples = 7, raw = 7;
  EXPECT_FALSE(s.GetFileStats("/nonexistent-dir/x.scf", samples, raw));
  EXPECT_EQ(samples, 7u);
}

TEST(CScf, GetFileStatsReadsTheHeadersOnly) {
  CScf w;
  Fill(w);
  auto path = Tmp("stats.scf");
  ASSERT_TRUE(w.Write(path.c_str()));
  CScf s;
  s.AddComment("earlier");
  unsigned samples = 0, raw = 0;
  ASSERT_TRUE(s.GetFileStats(path.c_str(), samples, raw));
  EXPECT_EQ(samples, 5u);
  EXPECT_EQ(raw, 2u);
  EXPECT_EQ(s.GetFirstCommentPosition(), nullptr);
  unsigned short v;
  EXPECT_FALSE(s.GetSample(0, v, v, v, v));
}

// ---- public sample files ----

namespace {
struct SampleFile {
  std::string name;
  std::map<std::string, long long> traits;
  bool broken;
};

std::vector<SampleFile> ScfSamples() {
  std::vector<SampleFile> out;
  std::ifstream in(std::string(ZEV_SHARED_DIR) + "/testdata/traces/MANIFEST.tsv");
  std::string line;
  std::getline(in, line);
  while (std::getline(in, line)) {
    std::vector<std::string> cols;
    std::stringstream ls(line);
    std::string col;
    while (std::getline(ls, col, '\t')) cols.push_back(col);
    if (cols.size() < 10 || cols[5].rfind("SCF", 0) != 0) continue;
    SampleFile f{cols[0], {}, cols[9].find("BROKEN") != std::string::npos};
    std::stringstream ts(cols[8]);
    std::string kv;
    while (std::getline(ts, kv, ';')) {
      auto eq = kv.find('=');
      if (eq == std::string::npos) continue;
      auto key = kv.substr(kv.find_first_not_of(' '), eq - kv.find_first_not_of(' '));
      f.traits[key] = std::stoll(kv.substr(eq + 1));
    }
    out.push_back(f);
  }
  return out;
}

std::filesystem::path SamplePath(const std::string& name) {
  return std::filesystem::path(ZEV_SHARED_DIR) / "testdata/traces" / name;
}

// Everything CScf read, in scf_dump's terms.
void ExpectSameAsListing(CScf& s, const zevtest::ScfListing& l) {
  ASSERT_EQ(l.bases.size(), s.GetBaseSize());
  for (size_t i = 0; i < l.bases.size(); ++i) {
    unsigned int peak;
    unsigned char p[4];
    char base;
    ASSERT_TRUE(s.GetBase(int(i), peak, p[0], p[1], p[2], p[3], base));
    ASSERT_EQ(base, l.bases[i].letter) << "base " << i;
    ASSERT_EQ(peak, l.bases[i].peak) << "base " << i;
    for (int k = 0; k < 4; ++k) ASSERT_EQ(p[k], l.bases[i].prob[size_t(k)]) << "base " << i;
  }
  for (int k = 0; k < 4; ++k) ASSERT_EQ(l.traces[size_t(k)].size(), s.GetSampleSize());
  for (size_t i = 0; i < s.GetSampleSize(); ++i) {
    unsigned short v[4];
    ASSERT_TRUE(s.GetSample(int(i), v[0], v[1], v[2], v[3]));
    for (int k = 0; k < 4; ++k) ASSERT_EQ(v[k], l.traces[size_t(k)][i]) << "sample " << i << " channel " << k;
  }
}
}  // namespace

TEST(CScf, PublicSampleFilesReadAsTheirHeadersDescribe) {
  auto samples = ScfSamples();
  ASSERT_GE(samples.size(), 10u);
  const bool peer = zevtest::HaveProgram("scf_dump");
  for (const SampleFile& f : samples) {
    SCOPED_TRACE(f.name);
    auto path = SamplePath(f.name);
    CScf s;
    BOOL ok = s.Read(path.c_str());
    unsigned statSamples = 0, statRaw = 0;
    CScf stats;
    BOOL statsOk = stats.GetFileStats(path.c_str(), statSamples, statRaw);
    if (f.broken) continue;  // must merely survive
    ASSERT_TRUE(ok);
    ASSERT_TRUE(statsOk);
    EXPECT_EQ(statSamples, f.traits.at("samples"));
    EXPECT_EQ(statRaw, 0u);
    EXPECT_EQ(s.GetSampleSize(), f.traits.at("samples"));
    EXPECT_EQ(s.GetBaseSize(), f.traits.at("bases"));
    EXPECT_EQ(s.GetSampleStructSize(), f.traits.at("sample_size"));
    EXPECT_EQ(s.GetCodeSet(), f.traits.at("code_set"));
    EXPECT_EQ(s.GetCommentSize(), f.traits.at("comments"));
    EXPECT_EQ(s.GetBaseSequence().GetLength(), f.traits.at("bases"));
    if (!peer) continue;
    auto listing = zevtest::ScfDump(path);
    ASSERT_TRUE(listing.ok);
    ExpectSameAsListing(s, listing);
    std::vector<std::string> comments;
    for (POSITION p = s.GetFirstCommentPosition(); p;) comments.push_back(s.GetNextComment(p).str());
    EXPECT_EQ(comments, listing.comments);
  }
}

TEST(CScf, DamagedSampleFilesFailOrReadWhatIsThere) {
  struct Case { const char* name; bool ok; };
  const Case cases[] = {
      {"seqtrace_error-bad_samp_size.scf", false},   // counts far beyond its 1176 bytes
      {"seqtrace_error-wrong_version.scf", false},   // header of a 95 KB file in 622 bytes
      {"seqtrace_error-base_call_locs.scf", true},   // cut inside the bases
      {"seqtrace_error-missing_bases.scf", true},
      {"generated/gen_3730_emboss_nosamples.scf", false},  // little-endian counts
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CScf s;
    EXPECT_EQ(s.Read(SamplePath(c.name).c_str()), c.ok);
    if (!c.ok) continue;
    // The samples before the cut are whole; the bases past it read as zeros.
    CScf good;
    ASSERT_TRUE(good.Read(SamplePath("seqtrace_forward.scf").c_str()));
    for (int i : {0, 5000, 10756}) {
      unsigned short a[4], b[4];
      ASSERT_TRUE(s.GetSample(i, a[0], a[1], a[2], a[3]));
      ASSERT_TRUE(good.GetSample(i, b[0], b[1], b[2], b[3]));
      EXPECT_EQ(std::vector<int>(a, a + 4), std::vector<int>(b, b + 4));
    }
    unsigned int peak;
    unsigned char p;
    char base;
    ASSERT_TRUE(s.GetBase(0, peak, p, p, p, p, base));
    EXPECT_EQ(peak, 2u);
    ASSERT_TRUE(s.GetBase(729, peak, p, p, p, p, base));
    EXPECT_EQ(base, '\0');
  }
}

// ---- io_lib as a peer ----

TEST(CScf, IoLibReadsWhatWeWrite) {
  if (!zevtest::HaveProgram("scf_dump")) GTEST_SKIP() << "io_lib's scf_dump is not installed";
  CScf s;
  zevdemo::MakeDemoTrace(s);
  for (int version : {210, 300}) {
    SCOPED_TRACE(version);
    version == 210 ? s.SetVersion210() : s.SetVersion300();
    auto path = Tmp("ours" + std::to_string(version) + ".scf");
    ASSERT_TRUE(s.Write(path.c_str()));
    auto listing = zevtest::ScfDump(path);
    ASSERT_TRUE(listing.ok);
    EXPECT_EQ(listing.version, version == 300 ? "3.00" : "2.10");
    ExpectSameAsListing(s, listing);
    std::vector<std::string> comments;
    for (POSITION p = s.GetFirstCommentPosition(); p;) {
      std::string c = s.GetNextComment(p).str();
      comments.push_back(c.substr(0, c.size() - 1));
    }
    EXPECT_EQ(listing.comments, comments);
  }
}

TEST(CScf, WeReadWhatIoLibWrites) {
  if (!zevtest::HaveProgram("makeSCF") || !zevtest::HaveProgram("scf_dump"))
    GTEST_SKIP() << "io_lib's makeSCF and scf_dump are not installed";
  CScf demo;
  zevdemo::MakeDemoTrace(demo);
  auto src = Tmp("peer_src.scf");
  ASSERT_TRUE(demo.Write(src.c_str()));
  struct Case { const char* flags; const char* version; DWORD sampleSize; };
  const Case cases[] = {{"-2", "2.", 2}, {"-3", "3.00", 2}, {"-2 -8", "2.", 1}, {"-3 -8", "3.00", 1}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.flags);
    auto out = Tmp("peer_out.scf");
    std::filesystem::remove(out);
    int status = 0;
    zevtest::RunCommand(std::string("makeSCF -s ") + c.flags + " -scf " + zevtest::Quote(src.string()) +
                            " -output " + zevtest::Quote(out.string()) + " >/dev/null 2>&1",
                        &status);
    ASSERT_EQ(status, 0);
    CScf s;
    ASSERT_TRUE(s.Read(out.c_str()));
    EXPECT_EQ(s.GetVersion().Left(std::strlen(c.version)), c.version);
    EXPECT_EQ(s.GetSampleStructSize(), c.sampleSize);
    auto listing = zevtest::ScfDump(out);
    ASSERT_TRUE(listing.ok);
    ExpectSameAsListing(s, listing);
    EXPECT_EQ(s.GetBaseSequence(), zevdemo::kDemoSequence);
    // At two bytes io_lib keeps our values exactly.
    if (c.sampleSize == 2) {
      ASSERT_EQ(s.GetSampleSize(), demo.GetSampleSize());
      for (int i = 0; i < int(s.GetSampleSize()); i += 97) {
        unsigned short a[4], b[4];
        ASSERT_TRUE(s.GetSample(i, a[0], a[1], a[2], a[3]));
        ASSERT_TRUE(demo.GetSample(i, b[0], b[1], b[2], b[3]));
        ASSERT_EQ(std::vector<int>(a, a + 4), std::vector<int>(b, b + 4)) << i;
      }
      for (int i = 0; i < int(s.GetBaseSize()); ++i) {
        unsigned int pa, pb;
        unsigned char x;
        char ba, bb;
        ASSERT_TRUE(s.GetBase(i, pa, x, x, x, x, ba));
        ASSERT_TRUE(demo.GetBase(i, pb, x, x, x, x, bb));
        ASSERT_EQ(pa, pb);
        ASSERT_EQ(ba, bb);
      }
    }
  }
}

// The bundled demo trace is what the generator makes; ZEV_WRITE_DEMO_TRACE=1 remakes it.
TEST(CScf, BundledDemoTraceMatchesItsGenerator) {
  CScf s;
  zevdemo::MakeDemoTrace(s);
  std::vector<BYTE> bytes;
  ASSERT_TRUE(s.WriteToMemory(bytes));
  auto path = std::filesystem::path(ZEV_SOURCE_DIR) / "examples/data/demo.scf";
  if (const char* w = std::getenv("ZEV_WRITE_DEMO_TRACE"); w && *w == '1') SaveBytes(path, bytes);
  EXPECT_EQ(LoadBytes(path), bytes);
}
