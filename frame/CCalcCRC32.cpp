// CCalcCRC32: the running reflected CRC-32 (polynomial 0xEDB88320, no final inversion).
// CalcBlock picks the fastest kernel the CPU offers once: carry-less multiplication
// folding on x86 with PCLMULQDQ, slicing-by-16 elsewhere; both give the bytewise result.
#include "zevutil/CCalcCRC32.h"

#include <array>
#include <cstring>
#include <mutex>

#include "frame/CCalcCRC32Kernels.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define ZEV_CRC_HAVE_X86 1
#endif

namespace zev {

namespace {

constexpr ULONG kPoly = 0xEDB88320u;

// Table entry for byte i: i shifted right eight times, with the polynomial XORed in
// after every shift that drops a 1.
constexpr ULONG TableEntry(ULONG i) {
  ULONG c = i;
  for (int k = 0; k < 8; ++k) c = (c & 1) ? (c >> 1) ^ kPoly : c >> 1;
  return c;
}

// Slicing tables: row 0 is the byte table; row k advances a byte through k further
// zero bytes, so sixteen look-ups cover sixteen input bytes at once.
using SliceTables = std::array<std::array<ULONG, 256>, 16>;
constexpr SliceTables MakeSliceTables() {
  SliceTables t{};
  for (ULONG i = 0; i < 256; ++i) t[0][i] = TableEntry(i);
  for (std::size_t k = 1; k < 16; ++k)
    for (std::size_t i = 0; i < 256; ++i) t[k][i] = (t[k - 1][i] >> 8) ^ t[0][t[k - 1][i] & 0xFF];
  return t;
}
constexpr SliceTables kSlice = MakeSliceTables();
static_assert(kSlice[0][1] == 0x77073096u && kSlice[0][255] == 0x2D02EF8Du);

inline ULONG Load32(const BYTE* p) {
  ULONG v;
  std::memcpy(&v, p, 4);  // the stored and host orders are both little-endian
  return v;
}

inline ULONG Step(ULONG crc, BYTE b) { return (crc >> 8) ^ kSlice[0][(crc ^ b) & 0xFF]; }

#ifdef ZEV_CRC_HAVE_X86

// Folding constants for the reflected polynomial: x^n mod P, bit-reflected and
// shifted left by one so that the carry-less products line up with the register.
constexpr unsigned long long FoldConstant(int n) {
  unsigned long long r = 1;  // x^0 in the plain (non-reflected) bit order
  for (int i = 0; i < n; ++i) {
    r <<= 1;
    if (r >> 32) r ^= 0x104C11DB7ull;
  }
  unsigned long long rev = 0;
  for (int i = 0; i < 32; ++i)
    if (r & (1ull << i)) rev |= 1ull << (31 - i);
  return rev << 1;
}
constexpr unsigned long long kFold512Lo = FoldConstant(4 * 128 + 32);
constexpr unsigned long long kFold512Hi = FoldConstant(4 * 128 - 32);
constexpr unsigned long long kFold128Lo = FoldConstant(128 + 32);
constexpr unsigned long long kFold128Hi = FoldConstant(128 - 32);
constexpr unsigned long long kFold64 = FoldConstant(64);
// Barrett reduction: the polynomial and floor(x^64 / P), both reflected to 33 bits.
constexpr unsigned long long kPolyReflected = 0x1DB710641ull;
constexpr unsigned long long kBarrettMu = 0x1F7011641ull;
static_assert(kFold512Lo == 0x154442BD4ull && kFold512Hi == 0x1C6E41596ull);
static_assert(kFold128Lo == 0x1751997D0ull && kFold128Hi == 0x0CCAA009Eull && kFold64 == 0x163CD6124ull);

// One fold: the two 64-bit halves of acc multiplied by the constants, XORed with data.
__attribute__((target("pclmul,sse4.1"))) inline __m128i Fold(__m128i acc, __m128i k, __m128i data) {
  __m128i lo = _mm_clmulepi64_si128(acc, k, 0x00);
  __m128i hi = _mm_clmulepi64_si128(acc, k, 0x11);
  return _mm_xor_si128(_mm_xor_si128(lo, hi), data);
}

// Folds whole 16-byte blocks (at least four of them); returns the register after them.
__attribute__((target("pclmul,sse4.1"))) ULONG FoldBlocks(ULONG crc, const BYTE* p, std::size_t n) {
  auto load = [](const BYTE* q) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(q)); };
  __m128i x0 = _mm_xor_si128(load(p), _mm_cvtsi32_si128(int(crc)));
  __m128i x1 = load(p + 16);
  __m128i x2 = load(p + 32);
  __m128i x3 = load(p + 48);
  p += 64;
  n -= 64;

  // Four independent lanes, each folded 512 bits forward per step.
  const __m128i k512 = _mm_set_epi64x(static_cast<long long>(kFold512Hi), static_cast<long long>(kFold512Lo));
  while (n >= 64) {
    x0 = Fold(x0, k512, load(p));
    x1 = Fold(x1, k512, load(p + 16));
    x2 = Fold(x2, k512, load(p + 32));
    x3 = Fold(x3, k512, load(p + 48));
    p += 64;
    n -= 64;
  }

  // Lanes into one, then any remaining 16-byte blocks.
  const __m128i k128 = _mm_set_epi64x(static_cast<long long>(kFold128Hi), static_cast<long long>(kFold128Lo));
  x0 = Fold(x0, k128, x1);
  x0 = Fold(x0, k128, x2);
  x0 = Fold(x0, k128, x3);
  while (n >= 16) {
    x0 = Fold(x0, k128, load(p));
    p += 16;
    n -= 16;
  }

  // 128 bits to 64: the low half times x^(128-32) into the high half.
  const __m128i mask32 = _mm_setr_epi32(-1, 0, -1, 0);
  __m128i t = _mm_clmulepi64_si128(x0, k128, 0x10);
  x0 = _mm_xor_si128(_mm_srli_si128(x0, 8), t);
  // 64 bits to 32 more: the low word times x^64.
  const __m128i k64 = _mm_set_epi64x(0, static_cast<long long>(kFold64));
  t = _mm_srli_si128(x0, 4);
  x0 = _mm_xor_si128(_mm_clmulepi64_si128(_mm_and_si128(x0, mask32), k64, 0x00), t);
  // Barrett reduction of the remaining 64 bits to the 32-bit register.
  const __m128i barrett = _mm_set_epi64x(static_cast<long long>(kBarrettMu), static_cast<long long>(kPolyReflected));
  t = _mm_and_si128(x0, mask32);
  t = _mm_clmulepi64_si128(t, barrett, 0x10);
  t = _mm_and_si128(t, mask32);
  t = _mm_clmulepi64_si128(t, barrett, 0x00);
  x0 = _mm_xor_si128(x0, t);
  return ULONG(_mm_extract_epi32(x0, 1));
}

#endif  // ZEV_CRC_HAVE_X86

using Kernel = ULONG (*)(ULONG, const BYTE*, std::size_t);

// Chosen at first use rather than at load, so that a checksum taken by another
// global object's constructor already finds its kernel.
Kernel ActiveKernel() {
  static const Kernel kernel =
      crc32_kernels::HaveClmul() ? &crc32_kernels::Clmul : &crc32_kernels::Slicing16;
  return kernel;
}

std::once_flag g_tableOnce;

}  // namespace

namespace crc32_kernels {

ULONG Bytewise(ULONG crc, const BYTE* p, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) crc = Step(crc, p[i]);
  return crc;
}

ULONG Slicing16(ULONG crc, const BYTE* p, std::size_t n) {
  const auto& t = kSlice;
  while (n >= 16) {
    ULONG a = Load32(p) ^ crc;
    ULONG b = Load32(p + 4);
    ULONG c = Load32(p + 8);
    ULONG d = Load32(p + 12);
    crc = t[15][a & 0xFF] ^ t[14][(a >> 8) & 0xFF] ^ t[13][(a >> 16) & 0xFF] ^ t[12][a >> 24] ^
          t[11][b & 0xFF] ^ t[10][(b >> 8) & 0xFF] ^ t[9][(b >> 16) & 0xFF] ^ t[8][b >> 24] ^
          t[7][c & 0xFF] ^ t[6][(c >> 8) & 0xFF] ^ t[5][(c >> 16) & 0xFF] ^ t[4][c >> 24] ^
          t[3][d & 0xFF] ^ t[2][(d >> 8) & 0xFF] ^ t[1][(d >> 16) & 0xFF] ^ t[0][d >> 24];
    p += 16;
    n -= 16;
  }
  return Bytewise(crc, p, n);
}

bool HaveClmul() {
#ifdef ZEV_CRC_HAVE_X86
  __builtin_cpu_init();  // may run before the run-time's own initialisation
  return __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse4.1");
#else
  return false;
#endif
}

ULONG Clmul(ULONG crc, const BYTE* p, std::size_t n) {
#ifdef ZEV_CRC_HAVE_X86
  // Below four blocks the set-up and reduction cost more than the tables.
  if (n >= 64) {
    std::size_t whole = n & ~std::size_t(15);
    crc = FoldBlocks(crc, p, whole);
    p += whole;
    n -= whole;
  }
#endif
  return Slicing16(crc, p, n);
}

}  // namespace crc32_kernels

ULONG CCalcCRC32::sm_CRCTable[256];
BOOL CCalcCRC32::sm_bTableInit = FALSE;

CCalcCRC32::CCalcCRC32(ULONG initial) : m_crc(initial), m_initial(initial) {
  // The class table is filled by the first construction and not before.
  std::call_once(g_tableOnce, [] { initCRC_table(); });
}

void CCalcCRC32::initCRC_table() {
  for (ULONG i = 0; i < 256; ++i) sm_CRCTable[i] = TableEntry(i);
  sm_bTableInit = TRUE;
}

CCalcCRC32& CCalcCRC32::CalcBlock(const void* data, ULONG bytes) {
  if (bytes != 0 && data != nullptr) m_crc = ActiveKernel()(m_crc, static_cast<const BYTE*>(data), bytes);
  return *this;
}

}  // namespace zev
