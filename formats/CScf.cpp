// CScf: reading and writing SCF files. Reading takes the whole file into memory and
// walks it with a big-endian ByteCursor; writing builds the file in memory and
// writes it in one go.
#include "zevutil/CScf.h"

#include <charconv>
#include <cstddef>
#include <cstring>
#include <limits>
#include <new>

#include "formats/ByteCursor.h"
#include "formats/ByteOrder.h"
#include "formats/TraceFile.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif
#if defined(__SSE2__) && (defined(__GNUC__) || defined(__clang__))
#define ZEV_SCF_AVX2 1
#endif

namespace zev {

namespace {

// Counts come from the file: an array is made only when its stored records could
// fit in the file at all, so a damaged count never drives a large allocation.
void CheckCount(std::uint64_t count, std::size_t storedRecordSize, std::size_t fileSize) {
  if (count > fileSize / storedRecordSize) throw new CMemoryException;
}

// The version text as the C library's atof reads it: leading blanks, an optional
// sign, then a decimal number; anything unreadable is 0.
double VersionNumber(const char (&text)[4]) {
  char buf[5] = {};
  std::memcpy(buf, text, 4);
  const char* p = buf;
  const char* end = buf + std::strlen(buf);
  while (p < end && (*p == ' ' || (*p >= '\t' && *p <= '\r'))) ++p;
  if (p < end && *p == '+') ++p;
  double v = 0;
  if (std::from_chars(p, end, v, std::chars_format::general).ec != std::errc()) return 0;
  return v;
}

// The need bytes at offset, with zeros for whatever lies past the end of the data;
// the cursor moves as reading them would. The caller has bounded need by the data's
// size, so the padded copy made for a cut file stays small.
const BYTE* Block(ByteCursor& cur, std::uint64_t offset, std::size_t need, std::vector<BYTE>& scratch) {
  cur.Seek(offset);
  if (const BYTE* p = cur.Peek(need); p && need) {
    cur.Skip(need);
    return p;
  }
  scratch.assign(need + 1, 0);
  std::size_t have = cur.Remaining() < need ? cur.Remaining() : need;
  if (have) std::memcpy(scratch.data(), cur.Peek(have), have);
  cur.Skip(need);
  return scratch.data();
}

// Stores that return where the next value goes.
inline BYTE* PutU32(BYTE* p, DWORD v) {
  StoreU32(p, v);
  return p + 4;
}
inline BYTE* PutU32LE(BYTE* p, DWORD v) {
  StoreU32LE(p, v);
  return p + 4;
}
inline BYTE* PutU16(BYTE* p, WORD v) {
  StoreU16(p, v);
  return p + 2;
}

template <class T>
void DeltaEncodeT(T* s, std::size_t n) {
  for (int pass = 0; pass < 2; ++pass) {
    T prev = 0;
    for (std::size_t i = 0; i < n; ++i) {
      T cur = s[i];
      s[i] = T(s[i] - prev);
      prev = cur;
    }
  }
}

template <class T>
void DeltaDecodeT(T* s, std::size_t n) {
  for (int pass = 0; pass < 2; ++pass) {
    T prev = 0;
    for (std::size_t i = 0; i < n; ++i) {
      s[i] = T(s[i] + prev);
      prev = s[i];
    }
  }
}


// ---- The sample decoders: the hot loops of reading ----
// Samples of 3.00 files are four channels one after the other, each delta-encoded
// twice; two running sums per channel undo that, wrapping at the value's width. With
// SSE2 the channels are first interleaved into records, so that one register holds
// the same sample of all four channels and the sums run down the records. Each decoder
// writes every record of out.

#if defined(__SSE2__)
inline __m128i LoadSwapped16(const BYTE* p) {
  __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  return _mm_or_si128(_mm_slli_epi16(v, 8), _mm_srli_epi16(v, 8));
}
#endif

#if defined(ZEV_SCF_AVX2)
// One lane-wise add of 16-bit or 8-bit values.
template <int kValueBytes>
__attribute__((target("avx2"))) inline __m256i Add(__m256i l, __m256i r) {
  return kValueBytes == 2 ? _mm256_add_epi16(l, r) : _mm256_add_epi8(l, r);
}

// Running sums over the records of four registers as the unpacks leave them: with R
// records a half, v[r] holds records R*r to R*r+R-1 in its low half and the R after
// the first 4*R in its high half (R is 2 for 16-bit values, 4 for 8-bit ones). carry
// holds, in every record slot, the sum of all records before these; on return v holds
// the sums up to each record and carry the sum up to the last of them. Each half is
// summed on its own first (within each register, then the totals of the registers
// before), so the only step that waits on the previous block is the carry's.
template <int kValueBytes>
__attribute__((target("avx2"))) inline void RunningSums(__m256i (&v)[4], __m256i& carry) {
  constexpr auto add = Add<kValueBytes>;
  __m256i total;  // per half: the sum of all its records, in every slot
  if constexpr (kValueBytes == 2) {
    // Two records a register: summed down the registers, slot by slot, w[r] holds the
    // sums of the records 2q + s for q up to r. Record 2r then also needs record
    // 2r - 1 and what came before it (slot 1 of w[r-1]), and record 2r + 1 needs
    // record 2r and what came before it (slot 0 of w[r]): one byte shift each.
    __m256i w = v[0];
    v[0] = add(w, _mm256_bslli_epi128(w, 8));
    for (int r = 1; r < 4; ++r) {
      const __m256i prev = w;
      w = add(w, v[r]);
      v[r] = add(w, _mm256_alignr_epi8(w, prev, 8));
    }
    total = _mm256_unpackhi_epi64(v[3], v[3]);
    // The high half also follows the low half's records.
    const __m256i start = add(carry, _mm256_permute2x128_si256(total, total, 0x08));
    for (int r = 0; r < 4; ++r) v[r] = add(v[r], start);
    carry = _mm256_permute4x64_epi64(v[3], 0xFF);
  } else {
    // Four records a register: summed within each register first, then the totals of
    // the registers before each one added.
    __m256i before[4];
    total = _mm256_setzero_si256();
    for (int r = 0; r < 4; ++r) {
      v[r] = add(v[r], _mm256_bslli_epi128(v[r], 4));
      v[r] = add(v[r], _mm256_bslli_epi128(v[r], 8));
      before[r] = total;
      total = add(total, _mm256_shuffle_epi32(v[r], 0xFF));
    }
    const __m256i start = add(carry, _mm256_permute2x128_si256(total, total, 0x08));
    for (int r = 0; r < 4; ++r) v[r] = add(v[r], add(before[r], start));
    carry = _mm256_permutevar8x32_epi32(v[3], _mm256_set1_epi32(7));
  }
}

// 3.00 samples where the processor has AVX2, a block of 4 * 32 bytes of input at a
// time (sixteen 16-bit or thirty-two 8-bit records); gives how many records it did,
// with the running sums after the last of them in x and y. Each channel's bytes are
// loaded (and swapped to little-endian when 16-bit), interleaved within each 128-bit
// half into records, summed twice and stored with the halves put in order.
template <class Sample>
__attribute__((target("avx2"))) std::size_t DecodeSamples300Avx2(const BYTE* const q[4], std::size_t n, Sample* out,
                                                                 std::uint32_t (&x)[4], std::uint32_t (&y)[4]) {
  constexpr int kBytes = int(sizeof(Sample) / 4);
  constexpr std::size_t kBlock = 32 / kBytes;
  const __m256i swap = _mm256_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14,  //
                                        1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14);
  __m256i sx = _mm256_setzero_si256(), sy = _mm256_setzero_si256();
  const BYTE* const from[4] = {q[0], q[1], q[2], q[3]};
  std::size_t i = 0;
  for (; i + kBlock <= n; i += kBlock) {
    __m256i ch[4];
    for (int k = 0; k < 4; ++k) {
      ch[k] = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from[k] + kBytes * i));
      if constexpr (kBytes == 2) ch[k] = _mm256_shuffle_epi8(ch[k], swap);
    }
    __m256i v[4];
    if constexpr (kBytes == 2) {
      const __m256i acLo = _mm256_unpacklo_epi16(ch[0], ch[1]), acHi = _mm256_unpackhi_epi16(ch[0], ch[1]);
      const __m256i gtLo = _mm256_unpacklo_epi16(ch[2], ch[3]), gtHi = _mm256_unpackhi_epi16(ch[2], ch[3]);
      v[0] = _mm256_unpacklo_epi32(acLo, gtLo), v[1] = _mm256_unpackhi_epi32(acLo, gtLo);
      v[2] = _mm256_unpacklo_epi32(acHi, gtHi), v[3] = _mm256_unpackhi_epi32(acHi, gtHi);
    } else {
      const __m256i acLo = _mm256_unpacklo_epi8(ch[0], ch[1]), acHi = _mm256_unpackhi_epi8(ch[0], ch[1]);
      const __m256i gtLo = _mm256_unpacklo_epi8(ch[2], ch[3]), gtHi = _mm256_unpackhi_epi8(ch[2], ch[3]);
      v[0] = _mm256_unpacklo_epi16(acLo, gtLo), v[1] = _mm256_unpackhi_epi16(acLo, gtLo);
      v[2] = _mm256_unpacklo_epi16(acHi, gtHi), v[3] = _mm256_unpackhi_epi16(acHi, gtHi);
    }
    RunningSums<kBytes>(v, sx);
    RunningSums<kBytes>(v, sy);
    auto* dst = reinterpret_cast<__m256i*>(out + i);
    _mm256_storeu_si256(dst + 0, _mm256_permute2x128_si256(v[0], v[1], 0x20));
    _mm256_storeu_si256(dst + 1, _mm256_permute2x128_si256(v[2], v[3], 0x20));
    _mm256_storeu_si256(dst + 2, _mm256_permute2x128_si256(v[0], v[1], 0x31));
    _mm256_storeu_si256(dst + 3, _mm256_permute2x128_si256(v[2], v[3], 0x31));
  }
  Sample lastX, lastY;
  std::memcpy(&lastX, &sx, sizeof lastX);
  std::memcpy(&lastY, &sy, sizeof lastY);
  x[0] = lastX.a, x[1] = lastX.c, x[2] = lastX.g, x[3] = lastX.t;
  y[0] = lastY.a, y[1] = lastY.c, y[2] = lastY.g, y[3] = lastY.t;
  return i;
}

// Records of four big-endian 16-bit values, four records at a time; gives how many.
__attribute__((target("avx2"))) std::size_t SwapRecords16Avx2(const BYTE* p, std::size_t n, void* out) {
  const __m256i swap = _mm256_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14,  //
                                        1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14);
  std::size_t i = 0;
  for (; i + 4 <= n; i += 4)
    _mm256_storeu_si256(static_cast<__m256i*>(out) + i / 4,
                        _mm256_shuffle_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + 8 * i)), swap));
  return i;
}

// 3.00 base records, four at a time; gives how many. p holds n big-endian peaks, then
// n bytes each of the four probabilities and of the letters. Each record is twelve
// bytes: the peak, the four probabilities, the letter and three zero bytes.
__attribute__((target("avx2"))) std::size_t DecodeBases300Avx2(const BYTE* p, std::size_t n, ScfBase* out) {
  static_assert(sizeof(ScfBase) == 12 && offsetof(ScfBase, probA) == 4 && offsetof(ScfBase, base) == 8);
  const __m128i swap32 = _mm_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12);
  const BYTE* prob = p + 4 * n;
  auto* dst = reinterpret_cast<BYTE*>(out);
  std::size_t i = 0;
  for (; i + 4 <= n; i += 4, dst += 48) {
    auto four = [&](std::size_t k) {
      std::uint32_t v;
      std::memcpy(&v, prob + k * n + i, 4);
      return _mm_cvtsi32_si128(int(v));
    };
    const __m128i peaks = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 4 * i)), swap32);
    const __m128i probs = _mm_unpacklo_epi16(_mm_unpacklo_epi8(four(0), four(1)), _mm_unpacklo_epi8(four(2), four(3)));
    const __m128i letters = _mm_cvtepu8_epi32(four(4));
    const __m128i lo = _mm_unpacklo_epi32(peaks, probs);  // peak 0, probs 0, peak 1, probs 1
    const __m128i hi = _mm_unpackhi_epi32(peaks, probs);  // peak 2, probs 2, peak 3, probs 3
    // peak 0, probs 0, letter 0, peak 1
    const __m128i r0 = _mm_blend_epi32(_mm_shuffle_epi32(lo, 0x84), _mm_shuffle_epi32(letters, 0x00), 0x4);
    // probs 1, letter 1, peak 2, probs 2
    const __m128i r1 = _mm_blend_epi32(_mm_shuffle_epi32(_mm_alignr_epi8(hi, lo, 12), 0x90),
                                       _mm_shuffle_epi32(letters, 0x55), 0x2);
    // letter 2, peak 3, probs 3, letter 3
    const __m128i r2 = _mm_blend_epi32(_mm_shuffle_epi32(hi, 0x38), _mm_shuffle_epi32(letters, 0xC2), 0x9);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), r0);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 16), r1);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 32), r2);
  }
  return i;
}

bool HasAvx2() {
  static const bool has = __builtin_cpu_supports("avx2");
  return has;
}
#endif

// 3.00, 16-bit: channel k holds n big-endian values at p + 2 * k * n.
void DecodeSamples300(const BYTE* p, std::size_t n, ScfSample2* out) {
  const BYTE* q[4] = {p, p + 2 * n, p + 4 * n, p + 6 * n};
  std::uint32_t x[4] = {}, y[4] = {};
  std::size_t i = 0;
#if defined(ZEV_SCF_AVX2)
  if (HasAvx2()) i = DecodeSamples300Avx2(q, n, out, x, y);
#endif
#if defined(__SSE2__)
  // Two records a register: x and y hold the running sums of the last record in both
  // halves.
  __m128i sx = _mm_setr_epi16(short(x[0]), short(x[1]), short(x[2]), short(x[3]), short(x[0]), short(x[1]),
                              short(x[2]), short(x[3]));
  __m128i sy = _mm_setr_epi16(short(y[0]), short(y[1]), short(y[2]), short(y[3]), short(y[0]), short(y[1]),
                              short(y[2]), short(y[3]));
  auto sums = [&sx, &sy](__m128i d) {
    __m128i vx = _mm_add_epi16(_mm_add_epi16(d, _mm_slli_si128(d, 8)), sx);
    sx = _mm_unpackhi_epi64(vx, vx);
    __m128i vy = _mm_add_epi16(_mm_add_epi16(vx, _mm_slli_si128(vx, 8)), sy);
    sy = _mm_unpackhi_epi64(vy, vy);
    return vy;
  };
  for (; i + 8 <= n; i += 8) {
    __m128i a = LoadSwapped16(q[0] + 2 * i), c = LoadSwapped16(q[1] + 2 * i);
    __m128i g = LoadSwapped16(q[2] + 2 * i), t = LoadSwapped16(q[3] + 2 * i);
    __m128i acLo = _mm_unpacklo_epi16(a, c), acHi = _mm_unpackhi_epi16(a, c);
    __m128i gtLo = _mm_unpacklo_epi16(g, t), gtHi = _mm_unpackhi_epi16(g, t);
    auto* dst = reinterpret_cast<__m128i*>(out + i);
    _mm_storeu_si128(dst + 0, sums(_mm_unpacklo_epi32(acLo, gtLo)));
    _mm_storeu_si128(dst + 1, sums(_mm_unpackhi_epi32(acLo, gtLo)));
    _mm_storeu_si128(dst + 2, sums(_mm_unpacklo_epi32(acHi, gtHi)));
    _mm_storeu_si128(dst + 3, sums(_mm_unpackhi_epi32(acHi, gtHi)));
  }
  alignas(16) WORD lastX[8], lastY[8];
  _mm_store_si128(reinterpret_cast<__m128i*>(lastX), sx);
  _mm_store_si128(reinterpret_cast<__m128i*>(lastY), sy);
  for (int k = 0; k < 4; ++k) x[k] = lastX[k], y[k] = lastY[k];
#endif
  for (; i < n; ++i) {
    for (std::size_t k = 0; k < 4; ++k) {
      x[k] += LoadU16(q[k] + 2 * i);
      y[k] += x[k];
    }
    out[i] = {WORD(y[0]), WORD(y[1]), WORD(y[2]), WORD(y[3])};
  }
}

// 3.00, 8-bit: channel k holds n bytes at p + k * n.
void DecodeSamples300(const BYTE* p, std::size_t n, ScfSample1* out) {
  const BYTE* q[4] = {p, p + n, p + 2 * n, p + 3 * n};
  std::uint32_t x[4] = {}, y[4] = {};
  std::size_t i = 0;
#if defined(ZEV_SCF_AVX2)
  if (HasAvx2()) i = DecodeSamples300Avx2(q, n, out, x, y);
#endif
#if defined(__SSE2__)
  // Four records a register; the running sums of the last record fill all four.
  __m128i sx = _mm_set1_epi32(int(x[0] | x[1] << 8 | x[2] << 16 | x[3] << 24));
  __m128i sy = _mm_set1_epi32(int(y[0] | y[1] << 8 | y[2] << 16 | y[3] << 24));
  auto sums = [&sx, &sy](__m128i d) {
    d = _mm_add_epi8(d, _mm_slli_si128(d, 4));
    __m128i vx = _mm_add_epi8(_mm_add_epi8(d, _mm_slli_si128(d, 8)), sx);
    sx = _mm_shuffle_epi32(vx, 0xFF);
    __m128i e = _mm_add_epi8(vx, _mm_slli_si128(vx, 4));
    __m128i vy = _mm_add_epi8(_mm_add_epi8(e, _mm_slli_si128(e, 8)), sy);
    sy = _mm_shuffle_epi32(vy, 0xFF);
    return vy;
  };
  for (; i + 16 <= n; i += 16) {
    auto load = [i](const BYTE* c) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(c + i)); };
    __m128i a = load(q[0]), c = load(q[1]), g = load(q[2]), t = load(q[3]);
    __m128i acLo = _mm_unpacklo_epi8(a, c), acHi = _mm_unpackhi_epi8(a, c);
    __m128i gtLo = _mm_unpacklo_epi8(g, t), gtHi = _mm_unpackhi_epi8(g, t);
    auto* dst = reinterpret_cast<__m128i*>(out + i);
    _mm_storeu_si128(dst + 0, sums(_mm_unpacklo_epi16(acLo, gtLo)));
    _mm_storeu_si128(dst + 1, sums(_mm_unpackhi_epi16(acLo, gtLo)));
    _mm_storeu_si128(dst + 2, sums(_mm_unpacklo_epi16(acHi, gtHi)));
    _mm_storeu_si128(dst + 3, sums(_mm_unpackhi_epi16(acHi, gtHi)));
  }
  alignas(16) BYTE lastX[16], lastY[16];
  _mm_store_si128(reinterpret_cast<__m128i*>(lastX), sx);
  _mm_store_si128(reinterpret_cast<__m128i*>(lastY), sy);
  for (int k = 0; k < 4; ++k) x[k] = lastX[k], y[k] = lastY[k];
#endif
  for (; i < n; ++i) {
    for (std::size_t k = 0; k < 4; ++k) {
      x[k] = BYTE(x[k] + q[k][i]);
      y[k] = BYTE(y[k] + x[k]);
    }
    out[i] = {BYTE(y[0]), BYTE(y[1]), BYTE(y[2]), BYTE(y[3])};
  }
}

// Records of four big-endian 16-bit values, as 2.10 samples and raw data are stored.
template <class Record>
void DecodeRecords16(const BYTE* p, std::size_t n, Record* out) {
  static_assert(sizeof(Record) == 8);
  std::size_t i = 0;
#if defined(ZEV_SCF_AVX2)
  if (HasAvx2()) i = SwapRecords16Avx2(p, n, out);
#endif
#if defined(__SSE2__)
  for (; i + 2 <= n; i += 2)
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), LoadSwapped16(p + 8 * i));
#endif
  for (; i < n; ++i) {
    const BYTE* r = p + 8 * i;
    WORD v[4] = {LoadU16(r), LoadU16(r + 2), LoadU16(r + 4), LoadU16(r + 6)};
    std::memcpy(&out[i], v, 8);
  }
}

}  // namespace

void CScf::DeltaEncode(unsigned short* s, std::size_t n) { DeltaEncodeT(s, n); }
void CScf::DeltaDecode(unsigned short* s, std::size_t n) { DeltaDecodeT(s, n); }
void CScf::DeltaEncode(unsigned char* s, std::size_t n) { DeltaEncodeT(s, n); }
void CScf::DeltaDecode(unsigned char* s, std::size_t n) { DeltaDecodeT(s, n); }

CScf::CScf() : m_pFileStatus(std::make_unique<CFileStatus>()) {
  std::memset(&m_Header, 0, sizeof m_Header);
  std::memset(&m_PrivateHeader, 0, sizeof m_PrivateHeader);
  m_PrivateHeader.version = 300;
  std::memset(m_szBarcode, 0, sizeof m_szBarcode);
  std::memset(m_szSubjectID, 0, sizeof m_szSubjectID);
}

CScf::~CScf() = default;

void CScf::InitMemberData() {
  std::memset(&m_Header, 0, sizeof m_Header);
  std::memset(&m_PrivateHeader, 0, sizeof m_PrivateHeader);
  m_strBaseSequence.Empty();
  m_strCommentText.Empty();
  m_Comments.RemoveAll();
  m_Bases = {};
  m_Samples1 = {};
  m_Samples2 = {};
  m_RawData = {};
  m_CvtData = {};
  // Barcode and subject ID stay: a file without them leaves the previous values.
}

CString CScf::GetVersion() const {
  // kept: the text runs from the version field up to the first NUL, so after a Read
  // it carries the low byte of the sample size; callers take four characters. The
  // scan stops at the end of the header.
  BYTE image[sizeof(ScfHeader)];
  std::memcpy(image, &m_Header, sizeof image);
  std::size_t from = offsetof(ScfHeader, version), to = from;
  while (to < sizeof image && image[to] != 0) ++to;
  return CString(reinterpret_cast<const char*>(image + from), int(to - from));
}

// ---- reading ----

void CScf::Parse(const BYTE* data, std::size_t size, bool statsOnly) {
  InitMemberData();
  ByteCursor cur(data, size, true);

  // Header.
  cur.Seek(0);
  m_Header.magic = cur.U32();
  m_Header.samples = cur.U32();
  m_Header.samplesOffset = cur.U32();
  m_Header.bases = cur.U32();
  m_Header.basesLeftClip = cur.U32();
  m_Header.basesRightClip = cur.U32();
  m_Header.basesOffset = cur.U32();
  m_Header.commentsSize = cur.U32();
  m_Header.commentsOffset = cur.U32();
  cur.Read(m_Header.version, 4);
  m_Header.sampleSize = cur.U32();
  m_Header.codeSet = cur.U32();
  m_Header.privateSize = cur.U32();
  m_Header.privateOffset = cur.U32();
  cur.Read(m_Header.spare, sizeof m_Header.spare);
  if (m_Header.magic != kMagic) throw CScfException("Incorrect Magic Number");
  double version = VersionNumber(m_Header.version);
  if (version >= 2.0 && version < 3.0) {
    m_nVersion = 210;
  } else if (version >= 3.0 && version < 4.0) {
    m_nVersion = 300;
  } else {
    CString msg;
    msg.Format("Unknown version: %s", CString(m_Header.version, 4).GetString());
    throw CScfException(msg);
  }

  auto readPrivateHeader = [&] {
    ScfPrivateHeader& p = m_PrivateHeader;
    if (m_Header.privateSize < sizeof(ScfPrivateHeader)) {
      p.analyzedScaleFactor = 1;
      p.analyzedSampleRate = 1;
      p.rawScaleFactor = 4;
      p.rawSampleRate = 2;
      p.currentScaleFactor = 1;
      p.barcodeOffset = 0;
      return;
    }
    cur.Seek(m_Header.privateOffset);
    // kept: the private magic is not checked.
    p.magic = cur.U32();
    p.rawDataSize = cur.U32();
    p.rawDataOffset = cur.U32();
    p.cvtDataSize = cur.U32();
    p.cvtDataOffset = cur.U32();
    p.version = cur.U32();
    p.rawScaleFactor = cur.U32();
    p.rawSampleRate = cur.U32();
    p.analyzedScaleFactor = cur.U32();
    p.analyzedSampleRate = cur.U32();
    p.currentScaleFactor = cur.U32();
    p.barcodeOffset = cur.U32();
    // kept: this one word is stored little-endian; readers of older files rely on it.
    cur.SetBigEndian(false);
    p.subjectIdOffset = cur.U32();
    cur.SetBigEndian(true);
    cur.Read(p.spare, sizeof p.spare);
    if (p.version < 100) p.rawScaleFactor = 4;
    if (p.version < 200) {
      p.rawSampleRate = 2;
      p.analyzedScaleFactor = 1;
      p.analyzedSampleRate = 1;
    }
    if (p.version < 300) p.currentScaleFactor = 1;
  };

  if (statsOnly) {
    readPrivateHeader();
    return;
  }

  // Bases.
  std::vector<BYTE> scratch;
  if (DWORD n = m_Header.bases) {
    CheckCount(n, sizeof(ScfBase), size);
    m_Bases.resize(n);
    std::string letters;
    letters.resize(n);
    ScfBase* bases = m_Bases.data();
    if (m_nVersion == 210) {
      // The stored records are laid out as ScfBase is; only the peak needs its order.
      const BYTE* p = Block(cur, m_Header.basesOffset, std::size_t(n) * 12, scratch);
      std::memcpy(bases, p, std::size_t(n) * sizeof(ScfBase));
      char* letter = letters.data();
      for (DWORD i = 0; i < n; ++i, p += 12) {
        bases[i].peakIndex = LoadU32(p);
        letter[i] = char(p[8]);
      }
    } else {
      // Peaks, four probabilities, letters; the spare array after them is not read.
      const BYTE* p = Block(cur, m_Header.basesOffset, std::size_t(n) * 9, scratch);
      const BYTE* prob = p + std::size_t(n) * 4;
      std::memcpy(letters.data(), prob + 4 * std::size_t(n), n);
      std::size_t i = 0;
#if defined(ZEV_SCF_AVX2)
      if (HasAvx2()) i = DecodeBases300Avx2(p, n, bases);
#endif
      for (; i < n; ++i)
        bases[i] = ScfBase{LoadU32(p + 4 * i), prob[i], prob[n + i], prob[2 * std::size_t(n) + i],
                           prob[3 * std::size_t(n) + i], letters[i], {0, 0, 0}};
    }
    m_strBaseSequence = CString(std::move(letters));
  }

  // Samples: 1 byte per value only when the header says exactly 1, else 2. In 3.00
  // the four channels are decoded side by side; two running sums undo the two
  // delta passes, wrapping at the value's width.
  if (DWORD n = m_Header.samples) {
    const bool oneByte = m_Header.sampleSize == 1;
    const std::size_t width = oneByte ? 1 : 2;
    CheckCount(n, 4 * width, size);
    const BYTE* p = Block(cur, m_Header.samplesOffset, std::size_t(n) * 4 * width, scratch);
    if (oneByte) {
      m_Samples1.resize(n);
      if (m_nVersion == 210)
        std::memcpy(m_Samples1.data(), p, std::size_t(n) * 4);
      else
        DecodeSamples300(p, n, m_Samples1.data());
    } else {
      m_Samples2.resize(n);
      if (m_nVersion == 210)
        DecodeRecords16(p, n, m_Samples2.data());
      else
        DecodeSamples300(p, n, m_Samples2.data());
    }
  }

  // Comments: one element per line, without its newline, up to any NUL inside it.
  if (DWORD n = m_Header.commentsSize) {
    cur.Seek(m_Header.commentsOffset);
    std::size_t have = n <= cur.Remaining() ? n : cur.Remaining();
    const char* text = reinterpret_cast<const char*>(cur.Peek(have));
    for (std::size_t start = 0; start <= have;) {
      const void* newline = have > start ? std::memchr(text + start, '\n', have - start) : nullptr;
      const std::size_t end = newline ? std::size_t(static_cast<const char*>(newline) - text) : have;
      const void* nul = end > start ? std::memchr(text + start, '\0', end - start) : nullptr;
      const std::size_t len = (nul ? static_cast<const char*>(nul) - text : end) - start;
      // A last piece without a newline counts only when it holds text.
      if (newline || len > 0) m_Comments.AddTail(CString(text + start, int(len)));
      start = end + 1;
    }
    cur.Skip(have);
  }

  // Private section.
  readPrivateHeader();
  if (DWORD n = m_PrivateHeader.rawDataSize) {
    CheckCount(n, sizeof(ScfRawData), size);
    m_RawData.resize(n);
    const BYTE* p =
        Block(cur, std::uint64_t(m_Header.privateOffset) + m_PrivateHeader.rawDataOffset, std::size_t(n) * 8, scratch);
    DecodeRecords16(p, n, m_RawData.data());
  }
  if (DWORD n = m_PrivateHeader.cvtDataSize) {
    CheckCount(n, sizeof(ScfCvtData), size);
    m_CvtData.resize(n);
    cur.Seek(std::uint64_t(m_Header.privateOffset) + m_PrivateHeader.cvtDataOffset);
    cur.Read(m_CvtData.data(), std::size_t(n) * sizeof(ScfCvtData));
  }
  // kept: only whether the offsets are non-zero counts; barcode and subject ID are
  // read from wherever the data stands, which in files written here is right after
  // the cvt data.
  if (m_PrivateHeader.barcodeOffset != 0) cur.Read(m_szBarcode, 128);
  if (m_PrivateHeader.subjectIdOffset != 0) cur.Read(m_szSubjectID, 128);
}

BOOL CScf::ReadFromMemory(const void* data, std::size_t size) {
  m_bStatusValid = FALSE;
  return tracefile::Guarded<CScfException>([&] {
    Parse(static_cast<const BYTE*>(data), size, false);
    return TRUE;
  });
}

BOOL CScf::GetFileStatsFromMemory(const void* data, std::size_t size, unsigned int& samples,
                                  unsigned int& rawData) {
  m_bStatusValid = FALSE;
  return tracefile::Guarded<CScfException>([&] {
    Parse(static_cast<const BYTE*>(data), size, true);
    samples = m_Header.samples;
    rawData = m_PrivateHeader.rawDataSize;
    return TRUE;
  });
}

BOOL CScf::ReadFile(const CString& path, bool statsOnly) {
  m_strFileName = path;
  m_bStatusValid = FALSE;
  CFileStatus status;
  BOOL ok = tracefile::Guarded<CScfException>([&] {
    tracefile::FileInMemory file;
    if (!file.Load(path, &status)) {
      // The open is not tested: the failure shows at the first seek, after the
      // member data has been released.
      InitMemberData();
      return FALSE;
    }
    Parse(file.Data(), file.Size(), statsOnly);
    return TRUE;
  });
  if (ok) {
    *m_pFileStatus = status;
    m_bStatusValid = TRUE;
  }
  return ok;
}

BOOL CScf::Read(const CString& path) { return ReadFile(path, false); }

BOOL CScf::GetFileStats(const CString& path, unsigned int& samples, unsigned int& rawData) {
  if (!ReadFile(path, true)) return FALSE;
  samples = m_Header.samples;
  rawData = m_PrivateHeader.rawDataSize;
  return TRUE;
}

BOOL CScf::GetFileStatus(CFileStatus& status) const {
  if (!m_bStatusValid) return FALSE;
  status = *m_pFileStatus;
  return TRUE;
}

// ---- writing ----

void CScf::Serialize(std::vector<BYTE>& out) {
  const DWORD nBases = m_Header.bases;
  const DWORD nSamples = m_Header.samples;
  const DWORD nRaw = m_PrivateHeader.rawDataSize;
  const DWORD nCvt = m_PrivateHeader.cvtDataSize;
  // A count with no array behind it (samples read at 1 byte, or a failed Read)
  // cannot be written.
  if (nBases > m_Bases.size() || nSamples > m_Samples2.size() || nRaw > m_RawData.size() ||
      nCvt > m_CvtData.size())
    throw new CMemoryException;

  m_strCommentText.Empty();
  for (POSITION pos = m_Comments.GetHeadPosition(); pos;) m_strCommentText += m_Comments.GetNext(pos);
  const std::uint64_t commentBytes = std::uint64_t(m_strCommentText.GetLength());
  const std::uint64_t baseBytes = 12ull * nBases;
  const std::uint64_t sampleBytes = 8ull * nSamples;
  const std::uint64_t privateSize = 128ull + 8ull * nRaw + 3ull * nCvt;
  const std::uint64_t total = 128 + commentBytes + baseBytes + sampleBytes + privateSize + 256;
  if (total > std::numeric_limits<DWORD>::max()) throw new CMemoryException;

  m_Header.commentsSize = DWORD(commentBytes);
  m_Header.privateSize = DWORD(privateSize);

  out.resize(std::size_t(total));
  BYTE* p = out.data();

  // Header: a swapped copy; the in-memory one keeps only the sizes set above.
  p = PutU32(p, kMagic);
  p = PutU32(p, nSamples);
  p = PutU32(p, nSamples ? DWORD(128 + commentBytes + baseBytes) : 0);
  p = PutU32(p, nBases);
  p = PutU32(p, 0);
  p = PutU32(p, 0);
  p = PutU32(p, nBases ? DWORD(128 + commentBytes) : 0);
  p = PutU32(p, DWORD(commentBytes));
  p = PutU32(p, commentBytes ? 128 : 0);
  std::memcpy(p, m_nVersion == 300 ? "3.00" : "2.10", 4);
  p += 4;
  p = PutU32(p, 2);
  p = PutU32(p, 2);
  p = PutU32(p, DWORD(privateSize));
  p = PutU32(p, DWORD(128 + commentBytes + baseBytes + sampleBytes));
  std::memcpy(p, m_Header.spare, sizeof m_Header.spare);
  p += sizeof m_Header.spare;

  // Comments: the texts run together, no terminator.
  if (commentBytes) std::memcpy(p, m_strCommentText.GetString(), std::size_t(commentBytes));
  p += commentBytes;

  // Bases.
  if (m_nVersion == 300) {
    for (DWORD i = 0; i < nBases; ++i) p = PutU32(p, m_Bases[i].peakIndex);
    for (DWORD i = 0; i < nBases; ++i) *p++ = m_Bases[i].probA;
    for (DWORD i = 0; i < nBases; ++i) *p++ = m_Bases[i].probC;
    for (DWORD i = 0; i < nBases; ++i) *p++ = m_Bases[i].probG;
    for (DWORD i = 0; i < nBases; ++i) *p++ = m_Bases[i].probT;
    for (DWORD i = 0; i < nBases; ++i) *p++ = BYTE(m_Bases[i].base);
    for (DWORD i = 0; i < nBases; ++i, p += 3) std::memcpy(p, m_Bases[i].spare, 3);
  } else {
    for (DWORD i = 0; i < nBases; ++i) {
      const ScfBase& b = m_Bases[i];
      p = PutU32(p, b.peakIndex);
      p[0] = b.probA; p[1] = b.probC; p[2] = b.probG; p[3] = b.probT;
      p[4] = BYTE(b.base);
      std::memcpy(p + 5, b.spare, 3);
      p += 8;
    }
  }

  // Samples, from the 16-bit array only.
  if (m_nVersion == 300) {
    std::vector<WORD> channel(nSamples);
    const WORD ScfSample2::*fields[4] = {&ScfSample2::a, &ScfSample2::c, &ScfSample2::g, &ScfSample2::t};
    for (auto field : fields) {
      for (DWORD i = 0; i < nSamples; ++i) channel[i] = m_Samples2[i].*field;
      DeltaEncode(channel.data(), nSamples);
      for (DWORD i = 0; i < nSamples; ++i) p = PutU16(p, channel[i]);
    }
  } else {
    for (DWORD i = 0; i < nSamples; ++i) {
      const ScfSample2& s = m_Samples2[i];
      p = PutU16(p, s.a);
      p = PutU16(p, s.c);
      p = PutU16(p, s.g);
      p = PutU16(p, s.t);
    }
  }

  // Private section.
  ScfPrivateHeader& ph = m_PrivateHeader;
  ph.rawDataOffset = 128;
  ph.cvtDataOffset = 128 + 8 * nRaw;
  ph.barcodeOffset = 128 + 8 * nRaw + 3 * nCvt;
  ph.subjectIdOffset = ph.barcodeOffset + 128;
  p = PutU32(p, kPrivateMagic);
  p = PutU32(p, nRaw);
  p = PutU32(p, ph.rawDataOffset);
  p = PutU32(p, nCvt);
  p = PutU32(p, ph.cvtDataOffset);
  p = PutU32(p, ph.version);
  p = PutU32(p, ph.rawScaleFactor);
  p = PutU32(p, ph.rawSampleRate);
  p = PutU32(p, ph.analyzedScaleFactor);
  p = PutU32(p, ph.analyzedSampleRate);
  p = PutU32(p, ph.currentScaleFactor);
  p = PutU32(p, ph.barcodeOffset);
  // kept: the subject ID offset goes out unswapped, as readers expect.
  p = PutU32LE(p, ph.subjectIdOffset);
  std::memcpy(p, ph.spare, sizeof ph.spare);
  p += sizeof ph.spare;
  for (DWORD i = 0; i < nRaw; ++i)
    for (WORD v : m_RawData[i].v) p = PutU16(p, v);
  if (nCvt) std::memcpy(p, m_CvtData.data(), std::size_t(nCvt) * 3);
  p += std::size_t(nCvt) * 3;
  std::memcpy(p, m_szBarcode, 128);
  std::memcpy(p + 128, m_szSubjectID, 128);
}

BOOL CScf::WriteToMemory(std::vector<BYTE>& out) {
  m_bStatusValid = FALSE;
  return tracefile::SerializeToMemory<CScfException>(out, [this](std::vector<BYTE>& bytes) { Serialize(bytes); });
}

BOOL CScf::Write(const CString& path) {
  m_strFileName = path;
  return tracefile::SerializeToFile<CScfException>(path, *m_pFileStatus, m_bStatusValid,
                                                   [this](std::vector<BYTE>& bytes) { Serialize(bytes); });
}

// ---- building ----

POSITION CScf::AddComment(CString text) {
  text += "\n";
  return m_Comments.AddTail(text);
}

int CScf::InitBaseSizeAndArray(unsigned int count) {
  m_Header.bases = count;
  m_Bases = {};
  m_Bases.assign(count, ScfBase{});
  return 1;
}

BOOL CScf::SetBase(int i, unsigned int peak, unsigned char a, unsigned char c, unsigned char g,
                   unsigned char t, char base) {
  if (i < 0 || unsigned(i) >= m_Header.bases || unsigned(i) >= m_Bases.size()) return FALSE;
  ScfBase& b = m_Bases[unsigned(i)];
  b.peakIndex = peak;
  b.probA = a;
  b.probC = c;
  b.probG = g;
  b.probT = t;
  b.base = base;
  return TRUE;
}

BOOL CScf::GetBase(int i, unsigned int& peak, unsigned char& a, unsigned char& c, unsigned char& g,
                   unsigned char& t, char& base) const {
  if (i < 0 || unsigned(i) >= m_Header.bases || unsigned(i) >= m_Bases.size()) return FALSE;
  const ScfBase& b = m_Bases[unsigned(i)];
  peak = b.peakIndex;
  a = b.probA;
  c = b.probC;
  g = b.probG;
  t = b.probT;
  base = b.base;
  return TRUE;
}

int CScf::InitSampleSizeAndArray(unsigned int count, unsigned int analyzedScale, unsigned int analyzedRate) {
  m_Header.samples = count;
  m_Header.sampleSize = 2;
  m_PrivateHeader.analyzedScaleFactor = analyzedScale;
  m_PrivateHeader.analyzedSampleRate = analyzedRate;
  m_Samples1 = {};
  m_Samples2 = {};
  m_Samples2.assign(count, ScfSample2{});
  return 1;
}

BOOL CScf::SetSample(int i, unsigned short a, unsigned short c, unsigned short g, unsigned short t) {
  if (i < 0 || unsigned(i) >= m_Header.samples || unsigned(i) >= m_Samples2.size()) return FALSE;
  m_Samples2[unsigned(i)] = {a, c, g, t};
  return TRUE;
}

BOOL CScf::GetSample(int i, unsigned short& a, unsigned short& c, unsigned short& g,
                     unsigned short& t) const {
  if (i < 0 || unsigned(i) >= m_Header.samples) return FALSE;
  if (m_Header.sampleSize == 1) {
    if (unsigned(i) >= m_Samples1.size()) return FALSE;
    const ScfSample1& s = m_Samples1[unsigned(i)];
    a = s.a; c = s.c; g = s.g; t = s.t;
    return TRUE;
  }
  if (m_Header.sampleSize == 2) {
    if (unsigned(i) >= m_Samples2.size()) return FALSE;
    const ScfSample2& s = m_Samples2[unsigned(i)];
    a = s.a; c = s.c; g = s.g; t = s.t;
    return TRUE;
  }
  a = c = g = t = 0;
  return FALSE;
}

int CScf::InitRawDataSizeAndArray(unsigned int count, unsigned int rawScale, unsigned int rawRate) {
  m_PrivateHeader.rawDataSize = count;
  m_PrivateHeader.rawScaleFactor = rawScale;
  m_PrivateHeader.rawSampleRate = rawRate;
  m_RawData = {};
  m_RawData.assign(count, ScfRawData{});
  return 1;
}

BOOL CScf::SetRawData(int i, unsigned short v1, unsigned short v2, unsigned short v3, unsigned short v4) {
  if (i < 0 || unsigned(i) >= m_PrivateHeader.rawDataSize || unsigned(i) >= m_RawData.size()) return FALSE;
  m_RawData[unsigned(i)] = {{v1, v2, v3, v4}};
  return TRUE;
}

BOOL CScf::GetRawData(int i, unsigned short& v1, unsigned short& v2, unsigned short& v3,
                      unsigned short& v4) const {
  if (i < 0 || unsigned(i) >= m_PrivateHeader.rawDataSize || unsigned(i) >= m_RawData.size()) return FALSE;
  const ScfRawData& r = m_RawData[unsigned(i)];
  v1 = r.v[0]; v2 = r.v[1]; v3 = r.v[2]; v4 = r.v[3];
  return TRUE;
}

int CScf::InitCvtDataSizeAndArray(unsigned int count, unsigned int currentScale) {
  m_PrivateHeader.cvtDataSize = count;
  m_PrivateHeader.currentScaleFactor = currentScale;
  m_CvtData = {};
  m_CvtData.resize(count);
  return 1;
}

BOOL CScf::SetCvtData(int i, unsigned char v1, unsigned char v2, unsigned char v3) {
  if (i < 0 || unsigned(i) >= m_PrivateHeader.cvtDataSize || unsigned(i) >= m_CvtData.size()) return FALSE;
  m_CvtData[unsigned(i)] = {{v1, v2, v3}};
  return TRUE;
}

BOOL CScf::GetCvtData(int i, unsigned char& v1, unsigned char& v2, unsigned char& v3) const {
  if (i < 0 || unsigned(i) >= m_PrivateHeader.cvtDataSize || unsigned(i) >= m_CvtData.size()) return FALSE;
  const ScfCvtData& r = m_CvtData[unsigned(i)];
  v1 = r.v[0]; v2 = r.v[1]; v3 = r.v[2];
  return TRUE;
}

namespace {
void CopyField(char* field, const char* text) {
  if (!text) {
    field[0] = '\0';
    return;
  }
  std::strncpy(field, text, 127);
  field[127] = '\0';
}
}  // namespace

void CScf::SetBarcode(const char* text) { CopyField(m_szBarcode, text); }
void CScf::SetSubjectID(const char* text) { CopyField(m_szSubjectID, text); }

}  // namespace zev
