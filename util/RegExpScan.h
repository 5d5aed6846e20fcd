// Byte-set scans for the regular expression engine: the first byte of a terminated text
// that belongs to a set, or the terminator. A set that is a few ranges of byte values is
// scanned sixteen bytes at a time with SSE2 on x86-64; any other set, and every set on
// other machines, goes through its 256-entry table four bytes at a time.
#pragma once
#include <bit>
#include <cstddef>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace zev::regexscan {

// A set of bytes 1..255 as a membership table, with its ranges when there are few.
struct ByteSet {
  static constexpr int kMaxRanges = 4;
  unsigned char has[256] = {};  // has[0] is always 0
  int members = 0;
  int ranges = 0;  // number of ranges, or 0 when there are more than kMaxRanges
  unsigned char lo[kMaxRanges] = {};
  unsigned char span[kMaxRanges] = {};  // hi - lo

  // Call after filling 'has' (entry 0 is ignored and cleared).
  void Finish() {
    has[0] = 0;
    members = 0;
    ranges = 0;
    int count = 0;
    for (int c = 1; c < 256; ++c) {
      if (!has[c]) continue;
      ++members;
      if (c == 1 || !has[c - 1]) {
        if (count < kMaxRanges) {
          lo[count] = static_cast<unsigned char>(c);
          span[count] = 0;
        }
        ++count;
      } else if (count <= kMaxRanges) {
        ++span[count - 1];
      }
    }
    ranges = count <= kMaxRanges ? count : 0;
  }
};

// Portable: the table, four bytes a step.
inline const char* ScanTable(const char* s, const unsigned char* has) {
  const auto* p = reinterpret_cast<const unsigned char*>(s);
  for (;;) {
    if (has[p[0]] || !p[0]) return reinterpret_cast<const char*>(p);
    if (has[p[1]] || !p[1]) return reinterpret_cast<const char*>(p + 1);
    if (has[p[2]] || !p[2]) return reinterpret_cast<const char*>(p + 2);
    if (has[p[3]] || !p[3]) return reinterpret_cast<const char*>(p + 3);
    p += 4;
  }
}

#if defined(__SSE2__)
// Reads whole aligned 16-byte blocks, which never cross a page, so the bytes after the
// terminator that it may read are never outside mapped memory; the address sanitizer
// and thread sanitizers would still count them as overreads (of a freed neighbour, at
// times), so this function is not instrumented.
#if defined(__clang__) || defined(__GNUC__)
__attribute__((no_sanitize_address, no_sanitize_thread, noinline))
#endif
inline const char* ScanRanges(const char* s, const ByteSet& set) {
  __m128i lo[ByteSet::kMaxRanges], span[ByteSet::kMaxRanges];
  const int n = set.ranges;
  for (int i = 0; i < n; ++i) {
    lo[i] = _mm_set1_epi8(static_cast<char>(set.lo[i]));
    span[i] = _mm_set1_epi8(static_cast<char>(set.span[i]));
  }
  const __m128i zero = _mm_setzero_si128();
  auto hits = [&](__m128i v) {
    __m128i m = _mm_cmpeq_epi8(v, zero);
    for (int i = 0; i < n; ++i) {
      // v - lo <= span, unsigned: max(v - lo, span) == span
      const __m128i d = _mm_sub_epi8(v, lo[i]);
      m = _mm_or_si128(m, _mm_cmpeq_epi8(_mm_max_epu8(d, span[i]), span[i]));
    }
    return unsigned(_mm_movemask_epi8(m));
  };
  const auto addr = reinterpret_cast<std::uintptr_t>(s);
  const char* block = reinterpret_cast<const char*>(addr & ~std::uintptr_t(15));
  unsigned mask = hits(_mm_load_si128(reinterpret_cast<const __m128i*>(block))) & (~0u << (addr & 15));
  while (!mask) {
    block += 16;
    mask = hits(_mm_load_si128(reinterpret_cast<const __m128i*>(block)));
  }
  return block + std::countr_zero(mask);
}
#endif

// Where a literal, or one of a few, may begin: up to three probes, each a place inside
// the literal (0 to 16 bytes from its start) and the one to four byte values that the
// text may hold there. A place passes when every probe finds one of its values.
struct Probes {
  static constexpr int kMax = 3;
  int count = 0;   // 0: no probes
  int values = 1;  // values per probe: 1, 2 or 4 (fewer repeated to fill)
  unsigned char off[kMax] = {};
  // Each value repeated sixteen times, ready for a vector compare.
  alignas(16) unsigned char v[kMax][4][16] = {};

  void Set(int probe, unsigned char at, const unsigned char* bytes, int n) {
    off[probe] = at;
    for (int k = 0; k < 4; ++k)
      for (int b = 0; b < 16; ++b) v[probe][k][b] = bytes[k % n];
  }
};

#if defined(__SSE2__)
// One block of places that pass the probes: the aligned block, a bit for each place in
// it that passes (never one at or after the terminator), and whether the terminator is in
// the block (then no later block holds a place).
struct ProbeHits {
  const char* block;
  unsigned bits;
  bool end;
};

// The first block at or after the one holding 'from' with a passing place at or after
// 'from', or with the terminator. Reads whole aligned 16-byte blocks only, and the block
// after the current one only when the current one has no terminator: like ScanRanges it
// never leaves mapped memory, and is not instrumented for the same reason.
template <int N, int K>
#if defined(__clang__) || defined(__GNUC__)
__attribute__((no_sanitize_address, no_sanitize_thread, noinline))
#endif
ProbeHits ScanProbesN(const char* from, const Probes& pr) {
  const __m128i zero = _mm_setzero_si128();
  auto probe = [&](__m128i b, int j) {
    const auto* v = reinterpret_cast<const __m128i*>(pr.v[j]);
    __m128i m = _mm_cmpeq_epi8(b, _mm_load_si128(v));
    if constexpr (K > 1) m = _mm_or_si128(m, _mm_cmpeq_epi8(b, _mm_load_si128(v + 1)));
    if constexpr (K > 2) {
      m = _mm_or_si128(m, _mm_cmpeq_epi8(b, _mm_load_si128(v + 2)));
      m = _mm_or_si128(m, _mm_cmpeq_epi8(b, _mm_load_si128(v + 3)));
    }
    return unsigned(_mm_movemask_epi8(m));
  };
  const auto addr = reinterpret_cast<std::uintptr_t>(from);
  const char* block = reinterpret_cast<const char*>(addr & ~std::uintptr_t(15));
  unsigned first = ~0u << (addr & 15);
  __m128i cur = _mm_load_si128(reinterpret_cast<const __m128i*>(block));
  unsigned zc = unsigned(_mm_movemask_epi8(_mm_cmpeq_epi8(cur, zero))) & first;
  unsigned mc[N];
  for (int j = 0; j < N; ++j) mc[j] = probe(cur, j);
  for (;;) {
    unsigned zn = 0, mn[N] = {};
    if (!zc) {
      const __m128i next = _mm_load_si128(reinterpret_cast<const __m128i*>(block + 16));
      zn = unsigned(_mm_movemask_epi8(_mm_cmpeq_epi8(next, zero)));
      for (int j = 0; j < N; ++j) mn[j] = probe(next, j);
    }
    unsigned bits = first & 0xFFFFu;
    for (int j = 0; j < N; ++j) bits &= (mc[j] | mn[j] << 16) >> pr.off[j];
    if (zc) {
      bits &= (1u << std::countr_zero(zc)) - 1;  // places before the terminator
      return {block, bits, true};
    }
    if (bits) return {block, bits, false};
    block += 16;
    first = ~0u;
    zc = zn;
    for (int j = 0; j < N; ++j) mc[j] = mn[j];
  }
}

template <int N>
inline ProbeHits ScanProbesK(const char* from, const Probes& pr) {
  if (pr.values == 1) return ScanProbesN<N, 1>(from, pr);
  if (pr.values == 2) return ScanProbesN<N, 2>(from, pr);
  return ScanProbesN<N, 4>(from, pr);
}

// The same for any number of probes (one at least).
inline ProbeHits ScanProbes(const char* from, const Probes& pr) {
  if (pr.count == 1) return ScanProbesK<1>(from, pr);
  if (pr.count == 2) return ScanProbesK<2>(from, pr);
  return ScanProbesK<3>(from, pr);
}
#endif

#if defined(__SSE2__)
// The first byte at or after 's' that is outside the set's ranges (the terminator is):
// the end of a run of the set. Aligned blocks as in ScanRanges, and not instrumented for
// the same reason; short runs, the common case, cost one block.
#if defined(__clang__) || defined(__GNUC__)
__attribute__((no_sanitize_address, no_sanitize_thread, noinline))
#endif
inline const char* SpanRanges(const char* s, const ByteSet& set) {
  __m128i lo[ByteSet::kMaxRanges], span[ByteSet::kMaxRanges];
  const int n = set.ranges;
  for (int i = 0; i < n; ++i) {
    lo[i] = _mm_set1_epi8(static_cast<char>(set.lo[i]));
    span[i] = _mm_set1_epi8(static_cast<char>(set.span[i]));
  }
  auto outside = [&](__m128i v) {
    __m128i m = _mm_setzero_si128();
    for (int i = 0; i < n; ++i) {
      const __m128i d = _mm_sub_epi8(v, lo[i]);
      m = _mm_or_si128(m, _mm_cmpeq_epi8(_mm_max_epu8(d, span[i]), span[i]));
    }
    return unsigned(_mm_movemask_epi8(m)) ^ 0xFFFFu;
  };
  const auto addr = reinterpret_cast<std::uintptr_t>(s);
  const char* block = reinterpret_cast<const char*>(addr & ~std::uintptr_t(15));
  unsigned mask = outside(_mm_load_si128(reinterpret_cast<const __m128i*>(block))) & (~0u << (addr & 15));
  while (!mask) {
    block += 16;
    mask = outside(_mm_load_si128(reinterpret_cast<const __m128i*>(block)));
  }
  return block + std::countr_zero(mask);
}
#endif

// The first byte at or after 's' that is in the set, or the terminator.
inline const char* Scan(const char* s, const ByteSet& set) {
#if defined(__SSE2__)
  if (set.ranges > 0) return ScanRanges(s, set);
#endif
  return ScanTable(s, set.has);
}

}  // namespace zev::regexscan
