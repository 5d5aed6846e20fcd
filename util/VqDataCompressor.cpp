// CLZSS_Compressor: LZSS with a binary search tree over a 4096-byte ring. The stream is
// fixed byte for byte, so speed comes from the inner loops: word-wide key comparison in
// the tree walk, and a decoder that copies straight from the output it has written.
#include "zevutil/VqDataCompressor.h"

#include <bit>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "zevutil/platform/CException.h"
#include "zevutil/platform/CString.h"

namespace zev {

IMPLEMENT_DYNAMIC(VqDataCompressor, CObject)
IMPLEMENT_DYNCREATE(CLZSS_Compressor, VqDataCompressor)

namespace {

constexpr int kRingSize = CLZSS_Compressor::N;
constexpr int kLookAhead = CLZSS_Compressor::F;
constexpr int kStart = kRingSize - kLookAhead;  // 4078
constexpr int kTextBufSize = kRingSize + kLookAhead - 1;
constexpr int kRsonSize = kRingSize + 257;
constexpr int kLsonSize = kRingSize + 1;

std::uint64_t Load64(const unsigned char* p) {
  std::uint64_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

// Index of the first byte where a[0..16] and b[0..16] differ, or 17 when they agree.
inline int FirstDifference17(const unsigned char* a, const unsigned char* b) {
  if constexpr (std::endian::native == std::endian::little) {
    std::uint64_t x = Load64(a) ^ Load64(b);
    if (x) return std::countr_zero(x) >> 3;
    x = Load64(a + 8) ^ Load64(b + 8);
    if (x) return 8 + (std::countr_zero(x) >> 3);
    return a[16] != b[16] ? 16 : 17;
  } else {
    int i = 0;
    while (i < 17 && a[i] == b[i]) ++i;
    return i;
  }
}

}  // namespace

CLZSS_Compressor::CLZSS_Compressor() {
  m_pTextBuf = static_cast<unsigned char*>(std::calloc(kTextBufSize, 1));
  m_pLson = static_cast<int*>(std::calloc(kLsonSize, sizeof(int)));
  m_pRson = static_cast<int*>(std::calloc(kRsonSize, sizeof(int)));
  m_pDad = static_cast<int*>(std::calloc(kLsonSize, sizeof(int)));
  if (!m_pTextBuf || !m_pLson || !m_pRson || !m_pDad) {
    std::free(m_pTextBuf);
    std::free(m_pLson);
    std::free(m_pRson);
    std::free(m_pDad);
    AfxThrowMemoryException();
  }
}

CLZSS_Compressor::~CLZSS_Compressor() {
  std::free(m_pTextBuf);
  std::free(m_pLson);
  std::free(m_pRson);
  std::free(m_pDad);
  std::free(m_pOutBase);
}

int CLZSS_Compressor::CompressBlock(void*& out, ULONG& outSize, const void* in, ULONG inSize) {
  reset(in, inSize, 1);
  Encode();
  out = m_pOutBase;
  outSize = ULONG(m_pOut - m_pOutBase);
  m_pOutBase = m_pOut = nullptr;
  m_nOutCapacity = 0;
  return 1;
}

int CLZSS_Compressor::DecompressBlock(void*& out, ULONG& outSize, const void* in, ULONG inSize) {
  reset(in, inSize, 0);
  Decode();
  out = m_pOutBase;
  outSize = ULONG(m_pOut - m_pOutBase);
  m_pOutBase = m_pOut = nullptr;
  m_nOutCapacity = 0;
  return 1;
}

void CLZSS_Compressor::reset(const void* in, ULONG size, int compressing) {
  std::memset(m_pTextBuf, 0, kTextBufSize);
  std::memset(m_pLson, 0, sizeof(int) * kLsonSize);
  std::memset(m_pRson, 0, sizeof(int) * kRsonSize);
  std::memset(m_pDad, 0, sizeof(int) * kLsonSize);
  m_nTextSize = m_nCodeSize = m_nPrintCount = 0;

  m_pInBase = m_pIn = static_cast<const unsigned char*>(in);
  m_nInSize = size;
  m_bEndOfInput = size == 0;

  double estimate = double(size) * (compressing ? 0.45 : 2.5);
  ULONG expected = estimate >= 4294967295.0 ? 0xFFFFFFFFu : ULONG(estimate);
  if (expected < 256) expected = 256;
  if (m_nOutCapacity < expected) {
    void* block = m_pOutBase ? std::realloc(m_pOutBase, expected) : std::malloc(expected);
    if (!block) AfxThrowMemoryException();
    m_pOutBase = static_cast<unsigned char*>(block);
    m_nOutCapacity = expected;
    // kept: the cursor restarts only when the block is (re)allocated; a reused block
    // with room enough goes on after what it already holds.
    m_pOut = m_pOutBase;
  }
}

int CLZSS_Compressor::getByte() {
  if (m_bEndOfInput) return -1;
  int c = *m_pIn++;
  if (m_pIn == m_pInBase + m_nInSize) m_bEndOfInput = 1;
  return c;
}

void CLZSS_Compressor::putByte(int c) {
  if (getOutbuffSpace() == 0) expandOutbuff();
  *m_pOut++ = static_cast<unsigned char>(c);
}

void CLZSS_Compressor::writeOut(const unsigned char* bytes, ULONG count) {
  reserveOut(count);
  std::memcpy(m_pOut, bytes, count);
  m_pOut += count;
}

void CLZSS_Compressor::expandOutbuff() {
  ULONG grow = m_nOutCapacity / 4 > 256 ? m_nOutCapacity / 4 : 256;
  if (m_nOutCapacity > 0xFFFFFFFFu - grow) AfxThrowMemoryException();
  ULONG used = ULONG(m_pOut - m_pOutBase);
  void* block = std::realloc(m_pOutBase, size_t(m_nOutCapacity) + grow);
  if (!block) AfxThrowMemoryException();
  m_pOutBase = static_cast<unsigned char*>(block);
  m_pOut = m_pOutBase + used;
  m_nOutCapacity += grow;
  lzPrintf("CLZSS_Compressor::expandOutBuff()\n");
}

void CLZSS_Compressor::lzPrintf(const char* format, ...) {
  va_list args;
  va_start(args, format);
  CString text;
  text.FormatV(format, args);
  va_end(args);
}

void CLZSS_Compressor::InitTree() {
  for (int i = kRingSize + 1; i <= kRingSize + 256; ++i) m_pRson[i] = NIL;
  for (int i = 0; i < kRingSize; ++i) m_pDad[i] = NIL;
}

void CLZSS_Compressor::InsertNode(int r) {
  unsigned char* const text = m_pTextBuf;
  int* const lson = m_pLson;
  int* const rson = m_pRson;
  int* const dad = m_pDad;
  const unsigned char* key = &text[r];
  int p = kRingSize + 1 + key[0];
  rson[r] = lson[r] = NIL;
  int matchLength = 0;
  int matchPosition = m_nMatchPosition;
  int cmp = 1;
  for (;;) {
    int* link = cmp >= 0 ? &rson[p] : &lson[p];
    if (*link == NIL) {
      *link = r;
      dad[r] = p;
      m_nMatchLength = matchLength;
      m_nMatchPosition = matchPosition;
      return;
    }
    p = *link;
    int i = 1 + FirstDifference17(key + 1, &text[p + 1]);
    if (i < kLookAhead) cmp = int(key[i]) - int(text[p + i]);
    if (i > matchLength) {
      matchPosition = p;
      matchLength = i;
      if (i >= kLookAhead) break;
    }
  }
  m_nMatchLength = matchLength;
  m_nMatchPosition = matchPosition;
  // An equal string is present: r takes over p's place, which drops the older copy.
  dad[r] = dad[p];
  lson[r] = lson[p];
  rson[r] = rson[p];
  dad[lson[p]] = r;
  dad[rson[p]] = r;
  if (rson[dad[p]] == p)
    rson[dad[p]] = r;
  else
    lson[dad[p]] = r;
  dad[p] = NIL;
}

void CLZSS_Compressor::DeleteNode(int p) {
  int* const lson = m_pLson;
  int* const rson = m_pRson;
  int* const dad = m_pDad;
  if (dad[p] == NIL) return;
  int q;
  if (rson[p] == NIL) {
    q = lson[p];
  } else if (lson[p] == NIL) {
    q = rson[p];
  } else {
    q = lson[p];
    if (rson[q] != NIL) {
      do {
        q = rson[q];
      } while (rson[q] != NIL);
      rson[dad[q]] = lson[q];
      dad[lson[q]] = dad[q];
      lson[q] = lson[p];
      dad[lson[p]] = q;
    }
    rson[q] = rson[p];
    dad[rson[p]] = q;
  }
  dad[q] = dad[p];
  // A root's link is always a right child, so lson is never indexed past its end here.
  if (rson[dad[p]] == p)
    rson[dad[p]] = q;
  else
    lson[dad[p]] = q;
  dad[p] = NIL;
}

void CLZSS_Compressor::Encode() {
  InitTree();
  unsigned char codeBuf[17];
  codeBuf[0] = 0;
  int codeBufPtr = 1;
  unsigned mask = 1;
  int s = 0;
  int r = kStart;
  unsigned char* const text = m_pTextBuf;
  std::memset(text, ' ', size_t(r));

  const unsigned char* in = m_pIn;
  const unsigned char* const inEnd = m_pInBase + m_nInSize;
  if (m_bEndOfInput) in = inEnd;

  int len = 0;
  while (len < kLookAhead && in != inEnd) text[r + len++] = *in++;
  m_nTextSize = ULONG(len);
  if (len == 0) {
    m_pIn = in;
    return;
  }
  for (int i = 1; i <= kLookAhead; ++i) InsertNode(r - i);
  InsertNode(r);
  do {
    if (m_nMatchLength > len) m_nMatchLength = len;
    if (m_nMatchLength <= THRESHOLD) {
      m_nMatchLength = 1;
      codeBuf[0] = static_cast<unsigned char>(codeBuf[0] | mask);
      codeBuf[codeBufPtr++] = text[r];
    } else {
      codeBuf[codeBufPtr++] = static_cast<unsigned char>(m_nMatchPosition);
      codeBuf[codeBufPtr++] =
          static_cast<unsigned char>(((m_nMatchPosition >> 4) & 0xF0) | (m_nMatchLength - (THRESHOLD + 1)));
    }
    if ((mask <<= 1) == 0x100) {
      writeOut(codeBuf, ULONG(codeBufPtr));
      m_nCodeSize += ULONG(codeBufPtr);
      codeBuf[0] = 0;
      codeBufPtr = 1;
      mask = 1;
    }
    const int lastMatchLength = m_nMatchLength;
    int i = 0;
    for (; i < lastMatchLength && in != inEnd; ++i) {
      unsigned char c = *in++;
      DeleteNode(s);
      text[s] = c;
      // The first F - 1 bytes are mirrored after the ring so that keys never wrap.
      if (s < kLookAhead - 1) text[s + kRingSize] = c;
      s = (s + 1) & (kRingSize - 1);
      r = (r + 1) & (kRingSize - 1);
      InsertNode(r);
    }
    if ((m_nTextSize += ULONG(i)) > m_nPrintCount) m_nPrintCount += 1024;
    // At the end of the input the ring keeps its old bytes: they can only extend a match
    // that is then cut back to what remains.
    while (i++ < lastMatchLength) {
      DeleteNode(s);
      s = (s + 1) & (kRingSize - 1);
      r = (r + 1) & (kRingSize - 1);
      if (--len) InsertNode(r);
    }
  } while (len > 0);
  if (codeBufPtr > 1) {
    writeOut(codeBuf, ULONG(codeBufPtr));
    m_nCodeSize += ULONG(codeBufPtr);
  }
  m_pIn = in;
  m_bEndOfInput = in == inEnd;
  lzPrintf("In : %ld bytes\n", LONG(m_nTextSize));
  lzPrintf("Out: %ld bytes\n", LONG(m_nCodeSize));
  lzPrintf("Out/In: %.3f\n", double(m_nCodeSize) / double(m_nTextSize ? m_nTextSize : 1));
}

void CLZSS_Compressor::Decode() {
  // The ring is the last N bytes of output, so a pair copies from the output itself;
  // only the first N bytes can reach the initial ring: blanks below 4078 and, since
  // reset zeroed the buffer, NULs from 4078 up.
  std::memset(m_pTextBuf, ' ', kStart);
  const unsigned char* in = m_bEndOfInput ? m_pInBase + m_nInSize : m_pIn;
  const unsigned char* const inEnd = m_pInBase + m_nInSize;
  unsigned flags = 0;
  for (;;) {
    if (((flags >>= 1) & 256) == 0) {
      if (in == inEnd) break;
      flags = unsigned(*in++) | 0xFF00u;
      if (flags == 0xFFFFu && inEnd - in >= 8) {  // eight literals in a row
        reserveOut(8);
        std::memcpy(m_pOut, in, 8);
        m_pOut += 8;
        in += 8;
        flags = 0;
        continue;
      }
    }
    if (flags & 1) {
      if (in == inEnd) break;
      reserveOut(1);
      *m_pOut++ = *in++;
      continue;
    }
    if (inEnd - in < 2) {
      in = inEnd;  // a pair cut short ends the stream
      break;
    }
    const int i = in[0];
    const int j = in[1];
    in += 2;
    const int pos = i | ((j & 0xF0) << 4);
    const int len = (j & 0x0F) + THRESHOLD + 1;
    reserveOut(ULONG(len));
    unsigned char* out = m_pOut;
    const size_t done = size_t(out - m_pOutBase);
    const int ringWrite = int((kStart + done) & (kRingSize - 1));
    size_t distance = size_t((ringWrite - pos) & (kRingSize - 1));
    if (distance == 0) distance = kRingSize;
    if (done >= distance) {
      const unsigned char* src = out - distance;
      if (distance >= size_t(len)) {
        std::memcpy(out, src, size_t(len));
      } else {
        for (int k = 0; k < len; ++k) out[k] = src[k];
      }
    } else {
      for (int k = 0; k < len; ++k) {
        if (done + size_t(k) >= distance)
          out[k] = out[k - std::ptrdiff_t(distance)];
        else
          out[k] = m_pTextBuf[(pos + k) & (kRingSize - 1)];
      }
    }
    m_pOut = out + len;
  }
  m_pIn = in;
  m_bEndOfInput = in == inEnd;
}

}  // namespace zev
