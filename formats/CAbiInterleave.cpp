// The hot loop of reading a trace: four big-endian channels into four-slot records.
#include "formats/CAbiInternal.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace zev::abif {

void InterleaveChannels(const std::uint8_t* const source[4], std::size_t n, AbiTraceRecord* out) {
  std::size_t j = 0;
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
