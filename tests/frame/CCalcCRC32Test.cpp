// The running checksum: check values, chaining, and every kernel against a bit-at-a-time
// reference over many lengths, alignments and start values.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "frame/CCalcCRC32Kernels.h"
#include "zevutil/CCalcCRC32.h"

using namespace zev;

namespace {

// The definition, one bit at a time, with no table: shift right, XOR the polynomial
// when a 1 drops out; no inversion anywhere.
ULONG ReferenceCrc(ULONG crc, const BYTE* p, size_t n) {
  for (size_t i = 0; i < n; ++i) {
    crc ^= p[i];
    for (int k = 0; k < 8; ++k) crc = (crc & 1) ? (crc >> 1) ^ 0xEDB88320u : crc >> 1;
  }
  return crc;
}

std::vector<BYTE> RandomBytes(size_t n, unsigned seed) {
  std::mt19937 gen(seed);
  std::vector<BYTE> v(n);
  for (auto& b : v) b = BYTE(gen());
  return v;
}

using KernelFn = ULONG (*)(ULONG, const BYTE*, size_t);
struct NamedKernel {
  const char* name;
  KernelFn fn;
};

// Every kernel the machine can run, and CalcBlock itself as the dispatcher's result.
std::vector<NamedKernel> Kernels() {
  std::vector<NamedKernel> ks = {
      {"bytewise", &crc32_kernels::Bytewise},
      {"slicing16", &crc32_kernels::Slicing16},
      {"CalcBlock", [](ULONG crc, const BYTE* p, size_t n) {
         return CCalcCRC32(crc).CalcBlock(p, ULONG(n)).GetCRC();
       }},
  };
  if (crc32_kernels::HaveClmul()) ks.push_back({"clmul", &crc32_kernels::Clmul});
  return ks;
}

}  // namespace

TEST(CCalcCRC32, CheckValues) {
  struct Case {
    std::string data;
    ULONG initial;
    ULONG expected;
  } cases[] = {
      {"123456789", 0xFFFFFFFF, 0x340BC6D9},  // complement of the published 0xCBF43926
      {"123456789", 0, 0x2DFD2D88},
      {"a", 0xFFFFFFFF, 0x174841BC},
      {"", 0x12345678, 0x12345678},
      {std::string(32, '\0'), 0xFFFFFFFF, 0xE6F5AA52},
      {std::string(32, '\0'), 0, 0},
      {std::string(4, '\xFF'), 0xFFFFFFFF, 0},
      {"The quick brown fox jumps over the lazy dog", 0xFFFFFFFF, 0xBEB05CC6},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << '"' << c.data.substr(0, 12) << "\" len " << c.data.size()
                                    << " from " << std::hex << c.initial);
    EXPECT_EQ(CCalcCRC32(c.initial).CalcBlock(c.data.data(), ULONG(c.data.size())).GetCRC(), c.expected);
    EXPECT_EQ(ReferenceCrc(c.initial, reinterpret_cast<const BYTE*>(c.data.data()), c.data.size()), c.expected);
  }
}

TEST(CCalcCRC32, ClassTableIsTheByteTable) {
  CCalcCRC32 any;
  EXPECT_TRUE(CCalcCRC32::sm_bTableInit);
  for (ULONG i = 0; i < 256; ++i) {
    BYTE b = BYTE(i);
    ASSERT_EQ(CCalcCRC32::sm_CRCTable[i], ReferenceCrc(0, &b, 1)) << "entry " << i;
  }
}

TEST(CCalcCRC32, StateOperations) {
  const char* text = "123456789";
  EXPECT_EQ(CCalcCRC32().GetCRC(), 0xFFFFFFFFu);
  CCalcCRC32 a(0x1234);
  a.CalcBlock(text, 9);
  CCalcCRC32 copy(a);  // both fields travel: Reset goes back to the source's initial value
  EXPECT_TRUE(copy == a.GetCRC());
  EXPECT_EQ(copy.Reset().GetCRC(), 0x1234u);
  // Zero bytes, with or without a pointer, leave the value alone.
  const ULONG before = a.GetCRC();
  EXPECT_EQ(a.CalcBlock(text, 0).CalcBlock(nullptr, 0).GetCRC(), before);
  // SetCRC replaces only the current value, and equality looks only at that.
  CCalcCRC32 b;
  EXPECT_TRUE(b.SetCRC(before) == a);
  EXPECT_EQ(b.Reset().GetCRC(), 0xFFFFFFFFu);
  EXPECT_EQ(CCalcCRC32(0).SetCRC(7).CalcBlock(text, 9), CCalcCRC32(7).CalcBlock(text, 9));
}

TEST(CCalcCRC32, ChainingAcrossEverySplit) {
  auto data = RandomBytes(300, 1);
  ULONG whole = ReferenceCrc(0xFFFFFFFF, data.data(), data.size());
  for (size_t cut = 0; cut <= data.size(); ++cut) {
    SCOPED_TRACE(cut);
    CCalcCRC32 crc;
    crc.CalcBlock(data.data(), ULONG(cut)).CalcBlock(data.data() + cut, ULONG(data.size() - cut));
    ASSERT_EQ(crc.GetCRC(), whole);
  }
}

// Every kernel over all lengths 0..300 (every tail after 0..4 folding blocks), longer
// lengths around the block sizes, 16 misalignments and three start values, on random
// bytes and on uniform ones (zeros and 0xFF give empty and full carry-less products).
TEST(CCalcCRC32, KernelsAgreeWithTheDefinition) {
  std::vector<size_t> lengths;
  for (size_t n = 0; n <= 300; ++n) lengths.push_back(n);
  for (size_t n : {511u, 512u, 513u, 1024u, 4096u + 7, 65536u + 13}) lengths.push_back(n);
  const std::vector<BYTE> buffers[] = {RandomBytes(70000, 2), std::vector<BYTE>(70000, 0x00),
                                       std::vector<BYTE>(70000, 0xFF)};
  for (const auto& buffer : buffers)
    for (const auto& k : Kernels())
      for (size_t offset = 0; offset < 16; ++offset)
        for (size_t n : lengths)
          for (ULONG start : {0xFFFFFFFFu, 0u, 0x9E3779B9u}) {
            const BYTE* p = buffer.data() + offset;
            ULONG want = ReferenceCrc(start, p, n), got = k.fn(start, p, n);
            if (got != want)
              FAIL() << k.name << " fill " << int(buffer[0]) << " offset " << offset << " length " << n
                     << " start " << std::hex << start << ": got " << got << " want " << want;
          }
}
