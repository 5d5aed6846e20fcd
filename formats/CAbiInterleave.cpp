// The hot loop of reading a trace: four big-endian channels into four-slot records.
#include "formats/CAbiInternal.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace zev::abif {

namespace {

#if defined(__SSE2__) && (defined(__GNUC__) || defined(__clang__))
#define ZEV_ABIF_AVX2 1
// Sixteen records at a time where the processor has AVX2; gives how many it did. The
// unpacks work within each 128-bit half, which leaves records 0-1 beside 8-9 and so on;
// the last step puts the halves in order.
__attribute__((target("avx2"))) std::size_t InterleaveAvx2(const std::uint8_t* const source[4], std::size_t n,
                                                           AbiTraceRecord* out) {
  std::size_t j = 0;
  for (; j + 16 <= n; j += 16) {
#define ZEV_LOAD_SWAPPED(s)                                                                    \
  _mm256_or_si256(                                                                            \
      _mm256_slli_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(source[s] + 2 * j)), 8), \
      _mm256_srli_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(source[s] + 2 * j)), 8))
    __m256i a = ZEV_LOAD_SWAPPED(0), c = ZEV_LOAD_SWAPPED(1);
    __m256i g = ZEV_LOAD_SWAPPED(2), t = ZEV_LOAD_SWAPPED(3);
#undef ZEV_LOAD_SWAPPED
    __m256i acLo = _mm256_unpacklo_epi16(a, c), acHi = _mm256_unpackhi_epi16(a, c);
    __m256i gtLo = _mm256_unpacklo_epi16(g, t), gtHi = _mm256_unpackhi_epi16(g, t);
    __m256i r0 = _mm256_unpacklo_epi32(acLo, gtLo);  // records 0-1 | 8-9
    __m256i r1 = _mm256_unpackhi_epi32(acLo, gtLo);  // 2-3 | 10-11
    __m256i r2 = _mm256_unpacklo_epi32(acHi, gtHi);  // 4-5 | 12-13
    __m256i r3 = _mm256_unpackhi_epi32(acHi, gtHi);  // 6-7 | 14-15
    auto* dst = reinterpret_cast<__m256i*>(out + j);
    _mm256_storeu_si256(dst + 0, _mm256_permute2x128_si256(r0, r1, 0x20));
    _mm256_storeu_si256(dst + 1, _mm256_permute2x128_si256(r2, r3, 0x20));
    _mm256_storeu_si256(dst + 2, _mm256_permute2x128_si256(r0, r1, 0x31));
    _mm256_storeu_si256(dst + 3, _mm256_permute2x128_si256(r2, r3, 0x31));
  }
  return j;
}
#endif

}  // namespace

void InterleaveChannels(const std::uint8_t* const source[4], std::size_t n, AbiTraceRecord* out) {
  std::size_t j = 0;
#if defined(ZEV_ABIF_AVX2)
  static const bool hasAvx2 = __builtin_cpu_supports("avx2");
  if (hasAvx2) j = InterleaveAvx2(source, n, out);
#endif
#if defined(__SSE2__)
  // Eight records at a time: swap the bytes of each 16-bit value, then interleave.
  auto load = [](const std::uint8_t* p) {
    __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    return _mm_or_si128(_mm_slli_epi16(v, 8), _mm_srli_epi16(v, 8));
  };
  for (; j + 8 <= n; j += 8) {
    __m128i a = load(source[0] + 2 * j), c = load(source[1] + 2 * j);
    __m128i g = load(source[2] + 2 * j), t = load(source[3] + 2 * j);
    __m128i acLo = _mm_unpacklo_epi16(a, c), acHi = _mm_unpackhi_epi16(a, c);
    __m128i gtLo = _mm_unpacklo_epi16(g, t), gtHi = _mm_unpackhi_epi16(g, t);
    auto* dst = reinterpret_cast<__m128i*>(out + j);
    _mm_storeu_si128(dst + 0, _mm_unpacklo_epi32(acLo, gtLo));
    _mm_storeu_si128(dst + 1, _mm_unpackhi_epi32(acLo, gtLo));
    _mm_storeu_si128(dst + 2, _mm_unpacklo_epi32(acHi, gtHi));
    _mm_storeu_si128(dst + 3, _mm_unpackhi_epi32(acHi, gtHi));
  }
#endif
  for (; j < n; ++j)
    for (int s = 0; s < 4; ++s) out[j].Slot[s] = LoadU16(source[s] + 2 * j);
}

}  // namespace zev::abif
