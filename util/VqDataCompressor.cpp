// CLZSS_Compressor: LZSS with a binary search tree over a 4096-byte ring. The stream is
// fixed byte for byte, and so is the tree (the match chosen among equals depends on its
// shape), so speed comes from the inner loops alone: a compact tree whose descent
// compares eight key bytes at once and picks the next node without a branch, and a
// decoder that copies straight from the output it has written, a group at a time.
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
constexpr int kNodes = kRingSize + 257;  // ring positions, NIL and the 256 roots
constexpr int kDadSize = kRingSize + 1;
using Link = std::uint16_t;

std::uint64_t Load64(const unsigned char* p) {
  std::uint64_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

// Eight bytes as a number whose most significant byte is the first.
inline std::uint64_t LoadBigEndian64(const unsigned char* p) {
  const std::uint64_t v = Load64(p);
  if constexpr (std::endian::native == std::endian::little)
    return __builtin_bswap64(v);
  else
    return v;
}

}  // namespace

CLZSS_Compressor::CLZSS_Compressor() {
  m_pTextBuf = static_cast<unsigned char*>(std::calloc(kTextBufSize, 1));
  m_pChildren = static_cast<Link(*)[2]>(std::calloc(kNodes, sizeof(Link[2])));
  m_pDad = static_cast<Link*>(std::calloc(kDadSize, sizeof(Link)));
  if (!m_pTextBuf || !m_pChildren || !m_pDad) {
    std::free(m_pTextBuf);
    std::free(m_pChildren);
    std::free(m_pDad);
    AfxThrowMemoryException();
  }
}

CLZSS_Compressor::~CLZSS_Compressor() {
  std::free(m_pTextBuf);
  std::free(m_pChildren);
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
  std::memset(m_pChildren, 0, sizeof(Link[2]) * kNodes);
  std::memset(m_pDad, 0, sizeof(Link) * kDadSize);
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
  for (int i = kRingSize + 1; i <= kRingSize + 256; ++i) m_pChildren[i][1] = NIL;
  for (int i = 0; i < kRingSize; ++i) m_pDad[i] = NIL;
}

namespace {

// The tree in plain pointers, so that the coder's inner loop works on locals. The
// functions have internal linkage and can be inlined into Encode.
struct Tree {
  unsigned char* text;
  Link (*kids)[2];  // [node][0] left, [node][1] right
  Link* dad;
};

// Both children of a node in one load: left in the low half, right in the high half.
inline std::uint32_t LoadChildren(const Link (*kids)[2], int node) {
  if constexpr (std::endian::native == std::endian::little) {
    std::uint32_t pair;
    std::memcpy(&pair, kids[node], sizeof pair);
    return pair;
  } else {
    return std::uint32_t(kids[node][0]) | (std::uint32_t(kids[node][1]) << 16);
  }
}

// kByteFirst settles strings that part at the first byte with a branch of their own: a
// win on incompressible data, where nearly all do and the branch is predictable, and a
// loss on text, where it is a coin toss. Both variants build the same tree.
template <bool kByteFirst>
inline void InsertString(const Tree& t, int r, int& matchPosition, int& matchLength) {
  constexpr int NIL = CLZSS_Compressor::NIL;
  const unsigned char* const text = t.text;
  Link (*const kids)[2] = t.kids;
  Link* const dad = t.dad;
  const unsigned char* key = &text[r];
  int p = kRingSize + 1 + key[0];
  kids[r][0] = kids[r][1] = NIL;
  int length = 0;
  int position = matchPosition;
  // Eight key bytes at a time, most significant first, so that one unsigned comparison
  // orders two strings by their first differing byte, as the byte-wise compare does.
  const std::uint64_t key1 = LoadBigEndian64(key + 1);
  int side = 1;  // the roots use only right links
  int q = kids[p][1];
  for (;;) {
    if (q == NIL) {
      kids[p][side] = Link(r);
      dad[r] = Link(p);
      matchLength = length;
      matchPosition = position;
      return;
    }
    p = q;
    // The children are fetched while the keys are compared; the comparison then only
    // picks one, and nothing waits on a branch whose direction is a coin toss.
    const std::uint32_t children = LoadChildren(kids, p);
    if constexpr (kByteFirst) {
      const int nodeByte = text[p + 1];
      if (nodeByte != key[1]) {
        side = key[1] > nodeByte;
        q = __builtin_expect_with_probability(side, 1, 0.5) ? int(children >> 16) : int(children & 0xFFFF);
        position = length < 1 ? p : position;
        length = length < 1 ? 1 : length;
        continue;
      }
    }
    const std::uint64_t node1 = LoadBigEndian64(&text[p + 1]);
    int i;
    if (key1 != node1) {
      i = 1 + (std::countl_zero(key1 ^ node1) >> 3);
      side = key1 > node1;
    } else {
      const std::uint64_t key2 = LoadBigEndian64(key + 9);
      const std::uint64_t node2 = LoadBigEndian64(&text[p + 9]);
      if (key2 != node2) {
        i = 9 + (std::countl_zero(key2 ^ node2) >> 3);
        side = key2 > node2;
      } else if (key[17] != text[p + 17]) {
        i = 17;
        side = key[17] > text[p + 17];
      } else {
        position = p;
        length = kLookAhead;
        break;
      }
    }
    q = __builtin_expect_with_probability(side, 1, 0.5) ? int(children >> 16) : int(children & 0xFFFF);
    const bool longer = i > length;
    position = longer ? p : position;
    length = longer ? i : length;
  }
  matchLength = length;
  matchPosition = position;
  // An equal string is present: r takes over p's place, which drops the older copy.
  const int parent = dad[p];
  dad[r] = Link(parent);
  kids[r][0] = kids[p][0];
  kids[r][1] = kids[p][1];
  dad[kids[p][0]] = Link(r);
  dad[kids[p][1]] = Link(r);
  kids[parent][kids[parent][1] == p ? 1 : 0] = Link(r);
  dad[p] = NIL;
}

inline void DeleteString(const Tree& t, int p) {
  constexpr int NIL = CLZSS_Compressor::NIL;
  Link (*const kids)[2] = t.kids;
  Link* const dad = t.dad;
  if (dad[p] == NIL) return;
  const int left = kids[p][0];
  const int right = kids[p][1];
  int q;
  if (left == NIL || right == NIL) {
    q = right == NIL ? left : right;
  } else {
    // Both children: the rightmost node of the left subtree takes p's place.
    q = left;
    if (kids[q][1] != NIL) {
      do {
        q = kids[q][1];
      } while (kids[q][1] != NIL);
      kids[dad[q]][1] = kids[q][0];
      dad[kids[q][0]] = dad[q];
      kids[q][0] = Link(left);
      dad[left] = Link(q);
    }
    kids[q][1] = Link(right);
    dad[right] = Link(q);
  }
  const int parent = dad[p];
  dad[q] = Link(parent);
  // A root's link is always a right child.
  kids[parent][kids[parent][1] == p ? 1 : 0] = Link(q);
  dad[p] = NIL;
}

}  // namespace

void CLZSS_Compressor::InsertNode(int r) {
  InsertString<false>(Tree{m_pTextBuf, m_pChildren, m_pDad}, r, m_nMatchPosition, m_nMatchLength);
}

void CLZSS_Compressor::DeleteNode(int p) { DeleteString(Tree{m_pTextBuf, m_pChildren, m_pDad}, p); }

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
  const Tree tree{m_pTextBuf, m_pChildren, m_pDad};
  int matchPosition = m_nMatchPosition;
  int matchLength = m_nMatchLength;
  for (int i = 1; i <= kLookAhead; ++i) InsertString<false>(tree, r - i, matchPosition, matchLength);
  InsertString<false>(tree, r, matchPosition, matchLength);
  // Groups of eight literals in a row mean incompressible data: then the descent that
  // settles first bytes by a branch is the faster one.
  int literalGroups = 0;
  do {
    if (matchLength > len) matchLength = len;
    if (matchLength <= THRESHOLD) {
      matchLength = 1;
      codeBuf[0] = static_cast<unsigned char>(codeBuf[0] | mask);
      codeBuf[codeBufPtr++] = text[r];
    } else {
      codeBuf[codeBufPtr++] = static_cast<unsigned char>(matchPosition);
      codeBuf[codeBufPtr++] =
          static_cast<unsigned char>(((matchPosition >> 4) & 0xF0) | (matchLength - (THRESHOLD + 1)));
    }
    if ((mask <<= 1) == 0x100) {
      literalGroups = codeBuf[0] == 0xFF ? literalGroups + 1 : 0;
      writeOut(codeBuf, ULONG(codeBufPtr));
      m_nCodeSize += ULONG(codeBufPtr);
      codeBuf[0] = 0;
      codeBufPtr = 1;
      mask = 1;
    }
    const int lastMatchLength = matchLength;
    int i = 0;
    for (; i < lastMatchLength && in != inEnd; ++i) {
      unsigned char c = *in++;
      DeleteString(tree, s);
      text[s] = c;
      // The first F - 1 bytes are mirrored after the ring so that keys never wrap.
      if (s < kLookAhead - 1) text[s + kRingSize] = c;
      s = (s + 1) & (kRingSize - 1);
      r = (r + 1) & (kRingSize - 1);
      if (literalGroups >= 4)
        InsertString<true>(tree, r, matchPosition, matchLength);
      else
        InsertString<false>(tree, r, matchPosition, matchLength);
    }
    if ((m_nTextSize += ULONG(i)) > m_nPrintCount) m_nPrintCount += 1024;
    // At the end of the input the ring keeps its old bytes: they can only extend a match
    // that is then cut back to what remains.
    while (i++ < lastMatchLength) {
      DeleteString(tree, s);
      s = (s + 1) & (kRingSize - 1);
      r = (r + 1) & (kRingSize - 1);
      if (--len) InsertString<false>(tree, r, matchPosition, matchLength);
    }
  } while (len > 0);
  m_nMatchPosition = matchPosition;
  m_nMatchLength = matchLength;
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

namespace {

// Copies a pair from the output already written (distance back); the first N bytes of a
// decode may also reach the initial ring.
inline void CopyPair(unsigned char* out, size_t done, size_t distance, int pos, int len, const unsigned char* ring) {
  if (done >= distance) {
    const unsigned char* src = out - distance;
    if (distance >= size_t(len)) {
      std::memcpy(out, src, size_t(len));
    } else {
      for (int k = 0; k < len; ++k) out[k] = src[k];  // a run: each byte may be one just written
    }
    return;
  }
  for (int k = 0; k < len; ++k) {
    if (done + size_t(k) >= distance)
      out[k] = out[k - std::ptrdiff_t(distance)];
    else
      out[k] = ring[(pos + k) & (kRingSize - 1)];
  }
}

inline size_t PairDistance(size_t done, int pos) {
  const size_t distance = size_t((int((kStart + done) & (kRingSize - 1)) - pos) & (kRingSize - 1));
  return distance == 0 ? size_t(kRingSize) : distance;
}

}  // namespace

void CLZSS_Compressor::Decode() {
  // The ring always holds the last N bytes of output, so a pair copies from the output
  // itself; only the first N bytes of a decode can reach the initial ring: blanks below
  // 4078 and, since reset zeroed the buffer, NULs from 4078 up.
  std::memset(m_pTextBuf, ' ', kStart);
  const unsigned char* in = m_bEndOfInput ? m_pInBase + m_nInSize : m_pIn;
  const unsigned char* const inEnd = m_pInBase + m_nInSize;
  const size_t startOffset = size_t(m_pOut - m_pOutBase);
  constexpr size_t kGroupIn = 1 + 16 + kLookAhead;      // a group, and slack to over-read
  constexpr size_t kGroupOut = 8 * kLookAhead + kLookAhead;  // the most a group writes, and slack
  for (;;) {
    if (in == inEnd) break;
    if (size_t(inEnd - in) >= kGroupIn && getOutbuffSpace() >= kGroupOut) {
      // A whole group with room to spare: no end tests per item, and each item copies a
      // fixed 18 bytes (from the input for a literal) of which only its length counts.
      // No growth of the output would have happened within it either.
      unsigned flags = *in++;
      unsigned char* out = m_pOut;
      if (flags == 0xFF) {
        std::memcpy(out, in, 8);
        in += 8;
        m_pOut = out + 8;
        continue;
      }
      for (int item = 0; item < 8; ++item, flags >>= 1) {
        const size_t done = size_t(out - m_pOutBase) - startOffset;
        if (flags & 1) {
          *out++ = *in++;
          continue;
        }
        const int pos = in[0] | ((in[1] & 0xF0) << 4);
        const int len = (in[1] & 0x0F) + THRESHOLD + 1;
        in += 2;
        const size_t distance = PairDistance(done, pos);
        if (distance >= size_t(kLookAhead) && done >= distance) {
          std::memcpy(out, out - distance, kLookAhead);  // apart by 18 or more: no overlap
        } else {
          CopyPair(out, done, distance, pos, len, m_pTextBuf);
        }
        out += len;
      }
      m_pOut = out;
      continue;
    }
    // Near the end of the input or of the block: item by item, exactly as the stream
    // says, growing the block as byte-by-byte output would.
    const unsigned flags = *in++;
    for (int item = 0; item < 8; ++item) {
      if (flags & (1u << item)) {
        if (in == inEnd) goto finished;
        reserveOut(1);
        *m_pOut++ = *in++;
        continue;
      }
      if (inEnd - in < 2) {
        in = inEnd;  // a pair cut short ends the stream
        goto finished;
      }
      const int pos = in[0] | ((in[1] & 0xF0) << 4);
      const int len = (in[1] & 0x0F) + THRESHOLD + 1;
      in += 2;
      reserveOut(ULONG(len));
      const size_t done = size_t(m_pOut - m_pOutBase) - startOffset;
      CopyPair(m_pOut, done, PairDistance(done, pos), pos, len, m_pTextBuf);
      m_pOut += len;
    }
  }
finished:
  m_pIn = in;
  m_bEndOfInput = in == inEnd;
}

}  // namespace zev
