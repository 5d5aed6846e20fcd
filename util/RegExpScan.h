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
#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#include <immintrin.h>
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
  int values = 1;  // values of the probe with the most: 1, 2 or 4
  unsigned char off[kMax] = {};
  int n[kMax] = {};  // values of each probe: 1, 2 or 4 (fewer repeated to fill)
  // Each value repeated sixteen times, ready for a vector compare.
  alignas(16) unsigned char v[kMax][4][16] = {};

  void Set(int probe, unsigned char at, const unsigned char* bytes, int n) {
    off[probe] = at;
    this->n[probe] = n > 2 ? 4 : n;
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
  // Probes with fewer values than K skip the compares they do not need (the same way on
  // every block, so the branches are well predicted).
  int few[N];
  for (int j = 0; j < N; ++j) few[j] = pr.n[j];
  auto probe = [&](__m128i b, int j) {
    const auto* v = reinterpret_cast<const __m128i*>(pr.v[j]);
    __m128i m = _mm_cmpeq_epi8(b, _mm_load_si128(v));
    if constexpr (K > 1) {
      if (few[j] > 1) m = _mm_or_si128(m, _mm_cmpeq_epi8(b, _mm_load_si128(v + 1)));
    }
    if constexpr (K > 2) {
      if (few[j] > 2) {
        m = _mm_or_si128(m, _mm_cmpeq_epi8(b, _mm_load_si128(v + 2)));
        m = _mm_or_si128(m, _mm_cmpeq_epi8(b, _mm_load_si128(v + 3)));
      }
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

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define ZEV_REGEX_AVX2 1
// ScanProbesN with 32-byte blocks, for processors that have AVX2 (asked at run time).
// Aligned 32-byte blocks never cross a page either; the hits come in 32-place blocks.
// Bit k: byte k of the block is one of the probe's values (of its first 'few').
template <int K>
__attribute__((target("avx2"), always_inline)) inline std::uint64_t WideProbe(__m256i b, const __m256i* val, int few) {
  __m256i m = _mm256_cmpeq_epi8(b, val[0]);
  if constexpr (K > 1) {
    if (few > 1) m = _mm256_or_si256(m, _mm256_cmpeq_epi8(b, val[1]));
  }
  if constexpr (K > 2) {
    if (few > 2) {
      m = _mm256_or_si256(m, _mm256_cmpeq_epi8(b, val[2]));
      m = _mm256_or_si256(m, _mm256_cmpeq_epi8(b, val[3]));
    }
  }
  return std::uint64_t(std::uint32_t(_mm256_movemask_epi8(m)));
}

__attribute__((target("avx2"), always_inline)) inline std::uint64_t WideZeros(__m256i b) {
  return std::uint64_t(std::uint32_t(_mm256_movemask_epi8(_mm256_cmpeq_epi8(b, _mm256_setzero_si256()))));
}

template <int N, int K>
__attribute__((no_sanitize_address, no_sanitize_thread, noinline, target("avx2")))
ProbeHits ScanProbesWide(const char* from, const Probes& pr) {
  int few[N];
  __m256i val[N][K];
  for (int j = 0; j < N; ++j) {
    few[j] = pr.n[j];
    for (int k = 0; k < K; ++k)
      val[j][k] = _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(pr.v[j][k])));
  }
  const auto addr = reinterpret_cast<std::uintptr_t>(from);
  const char* block = reinterpret_cast<const char*>(addr & ~std::uintptr_t(31));
  std::uint64_t first = ~std::uint64_t(0) << (addr & 31);
  __m256i cur = _mm256_load_si256(reinterpret_cast<const __m256i*>(block));
  std::uint64_t zc = WideZeros(cur) & first;
  std::uint64_t mc[N];
  for (int j = 0; j < N; ++j) mc[j] = WideProbe<K>(cur, val[j], few[j]);
  for (;;) {
    std::uint64_t zn = 0, mn[N] = {};
    if (!zc) {
      const __m256i next = _mm256_load_si256(reinterpret_cast<const __m256i*>(block + 32));
      zn = WideZeros(next);
      for (int j = 0; j < N; ++j) mn[j] = WideProbe<K>(next, val[j], few[j]);
    }
    std::uint64_t bits = first & 0xFFFFFFFFu;
    for (int j = 0; j < N; ++j) bits &= (mc[j] | mn[j] << 32) >> pr.off[j];
    if (zc) {
      bits &= (std::uint64_t(1) << std::countr_zero(zc)) - 1;  // places before the terminator
      return {block, unsigned(bits), true};
    }
    if (bits) return {block, unsigned(bits), false};
    block += 32;
    first = ~std::uint64_t(0);
    zc = zn;
    for (int j = 0; j < N; ++j) mc[j] = mn[j];
  }
}

inline bool HasAvx2() {
  static const bool has = __builtin_cpu_supports("avx2");
  return has;
}
#endif

template <int N>
inline ProbeHits ScanProbesK(const char* from, const Probes& pr) {
#if defined(ZEV_REGEX_AVX2)
  if (HasAvx2()) {
    if (pr.values == 1) return ScanProbesWide<N, 1>(from, pr);
    if (pr.values == 2) return ScanProbesWide<N, 2>(from, pr);
    return ScanProbesWide<N, 4>(from, pr);
  }
#endif
  if (pr.values == 1) return ScanProbesN<N, 1>(from, pr);
  if (pr.values == 2) return ScanProbesN<N, 2>(from, pr);
  return ScanProbesN<N, 4>(from, pr);
}

// The same for any number of probes (one at least). The block of the hits is 16 bytes
// long, or 32 with AVX2: the caller goes on after ProbeBlock() bytes.
inline ProbeHits ScanProbes(const char* from, const Probes& pr) {
  if (pr.count == 1) return ScanProbesK<1>(from, pr);
  if (pr.count == 2) return ScanProbesK<2>(from, pr);
  return ScanProbesK<3>(from, pr);
}

inline std::size_t ProbeBlock() {
#if defined(ZEV_REGEX_AVX2)
  if (HasAvx2()) return 32;
#endif
  return 16;
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

// The first byte of s..end that is in the set, or end: the bounded form of Scan, for
// text that need not be terminated.
inline const char* ScanBounded(const char* s, const char* end, const ByteSet& set) {
#if defined(__SSE2__)
  if (set.ranges > 0) {
    __m128i lo[ByteSet::kMaxRanges], span[ByteSet::kMaxRanges];
    for (int i = 0; i < set.ranges; ++i) {
      lo[i] = _mm_set1_epi8(static_cast<char>(set.lo[i]));
      span[i] = _mm_set1_epi8(static_cast<char>(set.span[i]));
    }
    for (; end - s >= 16; s += 16) {
      const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s));
      __m128i in = _mm_setzero_si128();
      for (int i = 0; i < set.ranges; ++i) {
        const __m128i d = _mm_sub_epi8(v, lo[i]);
        in = _mm_or_si128(in, _mm_cmpeq_epi8(_mm_min_epu8(d, span[i]), d));
      }
      if (const int mask = _mm_movemask_epi8(in)) return s + std::countr_zero(unsigned(mask));
    }
  }
#endif
  for (; s < end; ++s)
    if (set.has[static_cast<unsigned char>(*s)]) return s;
  return end;
}

}  // namespace zev::regexscan
