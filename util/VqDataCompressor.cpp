// CLZSS_Compressor: LZSS with a binary search tree over a 4096-byte ring. The stream is
// fixed byte for byte, and so is the tree (the match chosen among equals depends on its
// shape), so speed comes from the inner loops alone: a compact tree whose descent
// compares eight key bytes at once and picks the next node without a branch, tree work
// that runs ahead of the output so that two positions' descents and deletions go down
// together, and a decoder that copies straight from the output it has written, a group
// at a time.
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

// c ? x : y without a branch, for conditions that are coin tosses a branch would
// mispredict. On x86-64 a conditional move is pinned down: the compiler turns some of
// these into branches, and the masking form costs four instructions for one.
inline int Select(bool c, int x, int y) {
#if defined(__x86_64__) && defined(__GNUC__)
  asm("test %[c], %[c]\n\tcmovne %[x], %[y]" : [y] "+r"(y) : [c] "r"(c), [x] "r"(x) : "cc");
  return y;
#else
  return y ^ ((x ^ y) & -int(c));
#endif
}

// The child of a node on the key's side when key and node part at this byte: right when
// the key's byte is greater.
inline int PickChild(std::uint32_t children, int keyByte, int nodeByte) {
#if defined(__x86_64__) && defined(__GNUC__)
  int child = int(children & 0xFFFF);
  asm("cmpl %[n], %[k]\n\tcmova %[hi], %[lo]"
      : [lo] "+r"(child)
      : [k] "r"(keyByte), [n] "r"(nodeByte), [hi] "r"(int(children >> 16))
      : "cc");
  return child;
#else
  return keyByte > nodeByte ? int(children >> 16) : int(children & 0xFFFF);
#endif
}

// q, or p when q is NIL: a descent or walk that has reached its end stays where it is.
inline int StayAtEnd(int q, int p) {
#if defined(__x86_64__) && defined(__GNUC__)
  asm("cmpl %[nil], %[q]\n\tcmove %[p], %[q]" : [q] "+r"(q) : [p] "r"(p), [nil] "i"(CLZSS_Compressor::NIL) : "cc");
  return q;
#else
  return q == CLZSS_Compressor::NIL ? p : q;
#endif
}

// Both children of a node in one load: left in the low half, right in the high half.
inline std::uint32_t LoadChildren(const Link (*kids)[2], std::size_t node) {
  if constexpr (std::endian::native == std::endian::little) {
    std::uint32_t pair;
    std::memcpy(&pair, kids[node], sizeof pair);
    return pair;
  } else {
    return std::uint32_t(kids[node][0]) | (std::uint32_t(kids[node][1]) << 16);
  }
}

// One descent through a tree: where it stands, the best match seen so far, and the key.
struct Descent {
  int p;         // the node reached
  int q;         // its child on the key's side: the next node, or NIL
  int side;      // which child q is
  int length;    // the longest match met on the way
  int position;  // where it starts
  const unsigned char* key;
  std::uint64_t key1;  // key bytes 1 to 8, most significant first
};

inline void BeginDescent(const Tree& t, int r, Descent& d) {
  d.key = &t.text[r];
  d.p = kRingSize + 1 + d.key[0];
  t.kids[r][0] = t.kids[r][1] = CLZSS_Compressor::NIL;
  d.side = 1;  // the roots use only right links
  d.q = t.kids[d.p][1];
  d.length = 0;
  d.position = 0;
  // Eight key bytes at a time, most significant first, so that one unsigned comparison
  // orders two strings by their first differing byte, as the byte-wise compare does.
  d.key1 = LoadBigEndian64(d.key + 1);
}

// Moves one node down. Returns false when that node holds the whole key (F bytes).
inline bool StepDown(const Tree& t, Descent& d) {
  const unsigned char* const text = t.text;
  const int p = d.q;
  d.p = p;
  // The children are fetched while the keys are compared; the comparison then only
  // picks one, and nothing waits on a branch whose direction is a coin toss.
  const std::uint32_t children = LoadChildren(t.kids, p);
  const std::uint64_t node1 = LoadBigEndian64(&text[p + 1]);
  int i;
  int side;
  if (d.key1 != node1) {
    i = 1 + (std::countl_zero(d.key1 ^ node1) >> 3);
    side = d.key1 > node1;
  } else {
    const std::uint64_t key2 = LoadBigEndian64(d.key + 9);
    const std::uint64_t node2 = LoadBigEndian64(&text[p + 9]);
    if (key2 != node2) {
      i = 9 + (std::countl_zero(key2 ^ node2) >> 3);
      side = key2 > node2;
    } else if (d.key[17] != text[p + 17]) {
      i = 17;
      side = d.key[17] > text[p + 17];
    } else {
      d.position = p;
      d.length = kLookAhead;
      return false;
    }
  }
  d.side = side;
  d.q = __builtin_expect_with_probability(side, 1, 0.5) ? int(children >> 16) : int(children & 0xFFFF);
  const bool longer = i > d.length;
  d.position = longer ? p : d.position;
  d.length = longer ? i : d.length;
  return true;
}

// An equal string is present at p: r takes over p's place, which drops the older copy.
inline void TakeOver(const Tree& t, int r, int p) {
  Link (*const kids)[2] = t.kids;
  Link* const dad = t.dad;
  const int parent = dad[p];
  dad[r] = Link(parent);
  kids[r][0] = kids[p][0];
  kids[r][1] = kids[p][1];
  dad[kids[p][0]] = Link(r);
  dad[kids[p][1]] = Link(r);
  kids[parent][kids[parent][1] == p ? 1 : 0] = Link(r);
  dad[p] = CLZSS_Compressor::NIL;
}

// Runs a descent to its end and links r in: as a new leaf, or in place of its equal.
inline void FinishDescent(const Tree& t, int r, Descent& d) {
  while (d.q != CLZSS_Compressor::NIL) {
    if (!StepDown(t, d)) {
      TakeOver(t, r, d.p);
      return;
    }
  }
  t.kids[d.p][d.side] = Link(r);
  t.dad[r] = Link(d.p);
}

inline void InsertString(const Tree& t, int r, int& matchPosition, int& matchLength) {
  Descent d;
  BeginDescent(t, r, d);
  FinishDescent(t, r, d);
  matchLength = d.length;
  // A descent that met no match leaves the position as it was.
  if (d.length > 0) matchPosition = d.position;
}

inline void FinishTwo(const Tree& t, int r1, Descent& a, int r2, Descent& b) {
  FinishDescent(t, r1, a);
  FinishDescent(t, r2, b);
}

// Starts two descents. False when a tree is empty: both insertions are then done.
inline bool BeginTwo(const Tree& t, int r1, Descent& a, int r2, Descent& b) {
  BeginDescent(t, r1, a);
  BeginDescent(t, r2, b);
  if (a.q != CLZSS_Compressor::NIL && b.q != CLZSS_Compressor::NIL) return true;
  FinishTwo(t, r1, a, r2, b);
  return false;
}

// Runs a descent to its end as FinishDescent does, for a key that has met a node agreeing
// with it in nine bytes or more, so that the nodes below likely do as well: a level at a
// time in a loop that compares key bytes 1 to 16 as two words without a branch, leaving only
// the nodes agreeing with the key in all sixteen to StepDown.
inline void FinishLong(const Tree& t, int r, Descent& d) {
  constexpr std::uint32_t NIL = CLZSS_Compressor::NIL;
  const unsigned char* const text = t.text;
  Link (*const kids)[2] = t.kids;
  std::uint32_t p = std::uint32_t(d.q);
  if (p != NIL) {
    const std::uint64_t k1 = d.key1, k2 = LoadBigEndian64(d.key + 9);
    std::uint32_t best = (std::uint32_t(d.length) << 16) | std::uint32_t(d.position);
    for (;;) {
      const std::uint32_t c = LoadChildren(kids, p);
      const std::uint64_t n1 = LoadBigEndian64(&text[std::size_t(p) + 1]);
      const std::uint64_t n2 = LoadBigEndian64(&text[std::size_t(p) + 9]);
      const std::uint64_t x1 = k1 ^ n1, x2 = k2 ^ n2;
      if (__builtin_expect((x1 | x2) == 0, 0)) {
        d.q = int(p);
        d.length = int(best >> 16), d.position = int(best & 0xFFFF);
        FinishDescent(t, r, d);
        return;
      }
      // The first differing byte: in bytes 1 to 8, or else in bytes 9 to 16.
      const bool low = x1 == 0;
      const std::uint64_t x = low ? x2 : x1;
      const std::uint32_t l = std::uint32_t((low ? 9 : 1) + (std::countl_zero(x) >> 3)) << 16;
      best = l > best ? l | p : best;
      const bool side = low ? k2 > n2 : k1 > n1;
      const std::uint32_t q = __builtin_expect_with_probability(side, 1, 0.5) ? c >> 16 : c & 0xFFFF;
      if (q == NIL) {
        d.p = int(p), d.side = side, d.q = int(NIL);
        break;
      }
      p = q;
    }
    d.length = int(best >> 16), d.position = int(best & 0xFFFF);
  }
  t.kids[d.p][d.side] = Link(r);
  t.dad[r] = Link(d.p);
}

// The index (0 to 7, from the least significant) of the highest nonzero byte of x, which
// is not 0: for x the difference of two big-endian words, 7 less the number of bytes in
// which they agree. A smaller index is a longer match.
inline std::uint32_t TopByte(std::uint64_t x) { return std::uint32_t(63 ^ std::countl_zero(x)) >> 3; }

// Makes (nodeTop, node) the best match (top, at) when its match is strictly longer, so
// that the first node met with the longest match is the one kept: one compare for both
// moves.
inline void KeepBest(std::uint32_t nodeTop, std::uint32_t node, std::uint32_t& top, std::uint32_t& at) {
#if defined(__x86_64__) && defined(__GNUC__)
  asm("cmpl %[t], %[top]\n\tcmova %[n], %[at]\n\tcmova %[t], %[top]"
      : [top] "+r"(top), [at] "+r"(at)
      : [t] "r"(nodeTop), [n] "r"(node)
      : "cc");
#else
  const bool better = nodeTop < top;
  at = better ? node : at;
  top = better ? nodeTop : top;
#endif
}

// Runs a descent to its end as FinishDescent does, a level at a time in a tight loop that
// hands a key agreeing with a node in nine bytes or more to FinishLong.
inline void FinishQuick(const Tree& t, int r, Descent& d) {
  constexpr std::uint32_t NIL = CLZSS_Compressor::NIL;
  const unsigned char* const text = t.text;
  Link (*const kids)[2] = t.kids;
  std::uint32_t p = std::uint32_t(d.q);
  if (p != NIL) {
    const std::uint64_t k = d.key1;
    // The best match so far as the top byte index of its difference: 8 for none yet, or
    // a match in more than eight bytes, which nothing in this loop can beat.
    std::uint32_t bestTop = d.length > 8 ? 0 : 8 - std::uint32_t(d.length);
    std::uint32_t bestAt = std::uint32_t(d.position);
    const bool already = d.length > 8;
    for (;;) {
      // Each child in a load of its own: loads are cheaper here than the operations
      // that would take one pair apart.
      const std::uint32_t c = LoadChildren(kids, p), left = c & 0xFFFF, right = c >> 16;
      const std::uint64_t n = LoadBigEndian64(&text[std::size_t(p) + 1]);
      const std::uint64_t x = k ^ n;
      if (__builtin_expect(x == 0, 0)) {
        d.q = int(p);
        if (!already) d.length = int(8 - bestTop), d.position = int(bestAt);
        FinishLong(t, r, d);
        return;
      }
      KeepBest(TopByte(x), p, bestTop, bestAt);
      const bool side = k > n;
      const std::uint32_t q = __builtin_expect_with_probability(side, 1, 0.5) ? right : left;
      if (q == NIL) {
        d.p = int(p), d.side = side, d.q = int(NIL);
        break;
      }
      p = q;
    }
    if (!already) d.length = int(8 - bestTop), d.position = int(bestAt);
  }
  t.kids[d.p][d.side] = Link(r);
  t.dad[r] = Link(d.p);
}

// Inserts two strings that belong to different trees (their first bytes differ), going
// down both in step: each level of one waits on its loads while the other's go on. The
// loop holds each descent in a few registers (node, key bytes 1 to 8, best match) and
// runs until one of them ends or is to compare a node that agrees with its key in nine
// bytes or more; each then goes on alone.
inline void InsertTwo(const Tree& t, int r1, Descent& a, int r2, Descent& b) {
  constexpr std::uint32_t NIL = CLZSS_Compressor::NIL;
  const unsigned char* const text = t.text;
  Link (*const kids)[2] = t.kids;
  if (!BeginTwo(t, r1, a, r2, b)) return;
  // Unsigned indices: no sign extension between a load and the next address.
  std::uint32_t pa = std::uint32_t(a.q), pb = std::uint32_t(b.q);  // the nodes to compare next
  const std::uint64_t ka = a.key1, kb = b.key1;
  std::uint32_t topA = 8, topB = 8, atA = 0, atB = 0;  // the best matches, as in FinishQuick
  for (;;) {
    const std::uint32_t ca = LoadChildren(kids, pa), leftA = ca & 0xFFFF, rightA = ca >> 16;
    const std::uint32_t cb = LoadChildren(kids, pb), leftB = cb & 0xFFFF, rightB = cb >> 16;
    const std::uint64_t na = LoadBigEndian64(&text[std::size_t(pa) + 1]);
    const std::uint64_t nb = LoadBigEndian64(&text[std::size_t(pb) + 1]);
    const std::uint64_t xa = ka ^ na, xb = kb ^ nb;
    if (__builtin_expect(xa == 0, 0)) break;
    if (__builtin_expect(xb == 0, 0)) break;
    KeepBest(TopByte(xa), pa, topA, atA);
    KeepBest(TopByte(xb), pb, topB, atB);
    const bool sa = ka > na, sb = kb > nb;
    const std::uint32_t qa = __builtin_expect_with_probability(sa, 1, 0.5) ? rightA : leftA;
    const std::uint32_t qb = __builtin_expect_with_probability(sb, 1, 0.5) ? rightB : leftB;
    if (((qa | qb) & NIL) != 0) {  // NIL is the only index with bit 12 set
      a.p = int(pa), a.side = sa;
      b.p = int(pb), b.side = sb;
      pa = qa, pb = qb;
      break;
    }
    pa = qa, pb = qb;
  }
  a.q = int(pa), b.q = int(pb);
  a.length = int(8 - topA), a.position = int(atA);
  b.length = int(8 - topB), b.position = int(atB);
  FinishQuick(t, r1, a);
  FinishQuick(t, r2, b);
}

// InsertTwo for incompressible data, where nearly every key parts from every node at
// its second byte (the first is the tree's): a level then costs a byte load, a compare
// and a pick. Every node met gives a match of length 1, so the first one met is the best
// until a node agrees in the second byte too, and those rare nodes go to StepDown.
inline void InsertTwoSparse(const Tree& t, int r1, Descent& a, int r2, Descent& b) {
  constexpr int NIL = CLZSS_Compressor::NIL;
  const unsigned char* const text = t.text;
  Link (*const kids)[2] = t.kids;
  if (!BeginTwo(t, r1, a, r2, b)) return;
  int pa = a.q, pb = b.q;
  a.length = b.length = 1;
  a.position = pa, b.position = pb;
  const int ka = a.key[1], kb = b.key[1];
  // Each descent goes on to NIL, whose links the coder keeps NIL, and remembers the last
  // node it met; so the next level waits only on the loads of this one. A descent past
  // its end compares NIL's byte: should that agree with its key, the loop hands over to
  // StepDown early, which still links it in at its last node.
  int lastA = pa, lastB = pb;
  for (;;) {
    const std::uint32_t ca = LoadChildren(kids, pa), cb = LoadChildren(kids, pb);
    const int na = text[pa + 1], nb = text[pb + 1];  // NIL + 1 lies inside the buffer
    if (__builtin_expect((na == ka) | (nb == kb), 0)) break;
    lastA = StayAtEnd(pa, lastA);
    lastB = StayAtEnd(pb, lastB);
    pa = PickChild(ca, ka, na);
    pb = PickChild(cb, kb, nb);
    if ((pa & pb & NIL) != 0) {  // NIL is the only index with bit 12 set
      kids[lastA][ka > text[lastA + 1]] = Link(r1);
      t.dad[r1] = Link(lastA);
      kids[lastB][kb > text[lastB + 1]] = Link(r2);
      t.dad[r2] = Link(lastB);
      return;
    }
  }
  // A node agrees with its key in the second byte: both descents go on one step at a time,
  // each from the node it was about to compare or, past the end, from its last node.
  a.q = pa, a.p = lastA, a.side = ka > text[lastA + 1];
  b.q = pb, b.p = lastB, b.side = kb > text[lastB + 1];
  FinishTwo(t, r1, a, r2, b);
}

inline void Unlink(const Tree& t, int p, int left, int right, int q) {
  constexpr int NIL = CLZSS_Compressor::NIL;
  Link (*const kids)[2] = t.kids;
  Link* const dad = t.dad;
  if (left != NIL && right != NIL) {
    if (q != left) {
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

inline void DeleteString(const Tree& t, int p) {
  constexpr int NIL = CLZSS_Compressor::NIL;
  Link (*const kids)[2] = t.kids;
  if (t.dad[p] == NIL) return;
  const int left = kids[p][0];
  const int right = kids[p][1];
  int q;
  if (left == NIL || right == NIL) {
    q = right == NIL ? left : right;
  } else {
    q = left;
    while (kids[q][1] != NIL) q = kids[q][1];
  }
  Unlink(t, p, left, right, q);
}

// Deletes two nodes of different trees. The walks down to the rightmost node of each
// left subtree go in step, as the descents of InsertTwo do; a node without two children
// walks nowhere (it starts at NIL, whose right link the coder keeps NIL).
inline void DeleteTwo(const Tree& t, int p1, int p2) {
  constexpr int NIL = CLZSS_Compressor::NIL;
  Link (*const kids)[2] = t.kids;
  Link* const dad = t.dad;
  if (dad[p1] == NIL || dad[p2] == NIL) {
    DeleteString(t, p1);
    DeleteString(t, p2);
    return;
  }
  const std::uint32_t c1 = LoadChildren(kids, p1), c2 = LoadChildren(kids, p2);
  const int left1 = int(c1 & 0xFFFF), right1 = int(c1 >> 16);
  const int left2 = int(c2 & 0xFFFF), right2 = int(c2 >> 16);
  const bool both1 = left1 != NIL && right1 != NIL;
  const bool both2 = left2 != NIL && right2 != NIL;
  // Each walk goes on to NIL, which leads to NIL again, and remembers the last node it
  // met; so the next step waits only on the load before it.
  int w1 = Select(both1, left1, NIL), q1 = w1;
  int w2 = Select(both2, left2, NIL), q2 = w2;
  for (;;) {
    w1 = kids[w1][1];
    w2 = kids[w2][1];
    if ((w1 & w2 & NIL) != 0) break;  // NIL is the only index with bit 12 set
    q1 = StayAtEnd(w1, q1);
    q2 = StayAtEnd(w2, q2);
  }
  Unlink(t, p1, left1, right1, Select(both1, q1, Select(right1 == NIL, left1, right1)));
  Unlink(t, p2, left2, right2, Select(both2, q2, Select(right2 == NIL, left2, right2)));
}

}  // namespace

void CLZSS_Compressor::InsertNode(int r) {
  InsertString(Tree{m_pTextBuf, m_pChildren, m_pDad}, r, m_nMatchPosition, m_nMatchLength);
}

void CLZSS_Compressor::DeleteNode(int p) { DeleteString(Tree{m_pTextBuf, m_pChildren, m_pDad}, p); }

// The coder works in two parts. The tree work is the same whatever the output: for every
// input position k, the node N - F behind is deleted, the byte F - 1 ahead is read into
// its place, and the string at k is inserted, which yields the longest match there. So
// the tree part runs ahead of the output in batches and keeps each position's match, and
// the output part walks the positions, taking a match where one pays and skipping the
// positions it covers. Running ahead lets two consecutive insertions into different trees
// go down together (see InsertTwo); which positions may pair is settled in Advance.
namespace {

// A position's match: length in the low 5 bits, ring position above.
using MatchCode = std::uint32_t;
constexpr int kMatchRing = 256;  // matches kept ahead of the output: a batch and a match more
constexpr std::uint64_t kBatch = 128;

struct TreeRunner {
  Tree tree;
  const unsigned char* in;  // the input
  std::uint64_t size;
  std::uint64_t read;       // bytes read into the ring so far
  std::uint64_t next;       // the next position whose match is wanted
  int s;                    // the ring node to delete next, and the place of the next byte read
  int r;                    // the ring node of the last position inserted
  MatchCode matches[kMatchRing];
  bool sparse = false;      // the data looks incompressible: use InsertTwoSparse

  static MatchCode Code(const Descent& d) { return MatchCode(d.length) | (MatchCode(d.position) << 5); }

  // Reads the next input byte (if any) into ring place s, whose node has been deleted.
  void Fill() {
    if (read < size) {
      const unsigned char c = in[read++];
      tree.text[s] = c;
      // The first F - 1 bytes are mirrored after the ring so that keys never wrap.
      if (s < kLookAhead - 1) tree.text[s + kRingSize] = c;
    }
    s = (s + 1) & (kRingSize - 1);
    r = (r + 1) & (kRingSize - 1);
  }

  // One step: deletes node s, reads the next byte into its place and moves on.
  void Slide() {
    DeleteString(tree, s);
    Fill();
  }

  void InsertOne(std::uint64_t k) {
    Descent d;
    BeginDescent(tree, r, d);
    FinishQuick(tree, r, d);
    matches[k % kMatchRing] = Code(d);
  }

  // Computes the matches of the positions from 'next' up to at least 'until' (exclusive,
  // and at most the input size).
  void Advance(std::uint64_t until) {
    if (until > size) until = size;
    constexpr int kMask = kRingSize - 1;
    unsigned char* const text = tree.text;
    while (next < until) {
      const std::uint64_t k = next;
      // Steps k and k + 1 may be done together when insert k and the deletion and insertion
      // of step k + 1 touch different trees: the first byte at k against the first byte at
      // k + 1 and against the first byte of the node step k + 1 deletes. Nothing insert k
      // compares is changed by step k + 1's byte: the nodes whose strings cover it lie
      // between k and that byte, and none of them is in a tree. The two deletions go
      // together as well when their nodes lie in different trees.
      const int rk = (r + 1) & kMask;
      const int first = text[rk];
      const int following = text[(rk + 1) & kMask];
      const int deletedFirst = text[s];
      const int deletedSecond = text[(s + 1) & kMask];
      if (k + 1 >= size || first == following || first == deletedSecond) {
        Slide();  // r is now position k
        InsertOne(k);
        next = k + 1;
        continue;
      }
      if (deletedFirst != deletedSecond) {
        DeleteTwo(tree, s, (s + 1) & kMask);
      } else {
        DeleteString(tree, s);
        DeleteString(tree, (s + 1) & kMask);
      }
      Fill();
      Fill();  // r is now position k + 1
      Descent a, b;
      if (sparse)
        InsertTwoSparse(tree, rk, a, r, b);
      else
        InsertTwo(tree, rk, a, r, b);
      matches[k % kMatchRing] = Code(a);
      matches[(k + 1) % kMatchRing] = Code(b);
      next = k + 2;
    }
  }
};

}  // namespace

void CLZSS_Compressor::Encode() {
  InitTree();
  m_pChildren[NIL][0] = m_pChildren[NIL][1] = NIL;  // where DeleteTwo's idle walk waits
  unsigned char* const text = m_pTextBuf;
  std::memset(text, ' ', size_t(kStart));

  const unsigned char* in = m_bEndOfInput ? m_pInBase + m_nInSize : m_pIn;
  const unsigned char* const inEnd = m_pInBase + m_nInSize;
  const std::uint64_t size = std::uint64_t(inEnd - in);
  const int firstLength = size < std::uint64_t(kLookAhead) ? int(size) : kLookAhead;
  m_nTextSize = ULONG(firstLength);
  if (firstLength == 0) {
    m_pIn = in;
    return;
  }
  std::memcpy(text + kStart, in, size_t(firstLength));

  TreeRunner run;
  run.tree = Tree{m_pTextBuf, m_pChildren, m_pDad};
  run.in = in;
  run.size = size;
  run.read = std::uint64_t(firstLength);
  run.s = 0;
  run.r = kStart;
  int matchPosition = m_nMatchPosition;
  int matchLength = m_nMatchLength;
  for (int i = 1; i <= kLookAhead; ++i) InsertString(run.tree, kStart - i, matchPosition, matchLength);
  {
    Descent d;
    BeginDescent(run.tree, kStart, d);
    FinishDescent(run.tree, kStart, d);
    run.matches[0] = TreeRunner::Code(d);
  }
  run.next = 1;

  unsigned char codeBuf[17];
  codeBuf[0] = 0;
  int codeBufPtr = 1;
  unsigned mask = 1;
  std::uint64_t read = std::uint64_t(firstLength);
  // Groups of eight literals in a row mean incompressible data: the tree part then takes
  // the descent made for it. Both descents build the same tree.
  int literalGroups = 0;
  for (std::uint64_t pos = 0; pos < size;) {
    if (pos + 8 > run.next && run.next < size) {
      run.sparse = literalGroups >= 4;
      run.Advance(pos + kBatch);
    }
    // A whole group of literals at once: in incompressible data nearly every group is one.
    if (mask == 1 && pos + 8 <= size) {
      bool pays = false;
      for (std::uint64_t i = 0; i < 8; ++i) pays |= (run.matches[(pos + i) % kMatchRing] & 31) > THRESHOLD;
      if (!pays) {
        unsigned char group[9];
        group[0] = 0xFF;
        std::memcpy(group + 1, in + pos, 8);
        writeOut(group, 9);
        m_nCodeSize += 9;
        ++literalGroups;
        matchLength = 1;
        for (int i = 0; i < 8; ++i) {
          const ULONG taken = read < size ? 1 : 0;
          read += taken;
          if ((m_nTextSize += taken) > m_nPrintCount) m_nPrintCount += 1024;
        }
        pos += 8;
        continue;
      }
    }
    const MatchCode match = run.matches[pos % kMatchRing];
    const std::uint64_t left = size - pos;  // what the look-ahead still holds
    int length = int(match & 31);
    if (std::uint64_t(length) > left) length = int(left);
    if (length <= THRESHOLD) {
      length = 1;
      codeBuf[0] = static_cast<unsigned char>(codeBuf[0] | mask);
      codeBuf[codeBufPtr++] = in[pos];
    } else {
      const int position = int(match >> 5);
      matchPosition = position;
      codeBuf[codeBufPtr++] = static_cast<unsigned char>(position);
      codeBuf[codeBufPtr++] = static_cast<unsigned char>(((position >> 4) & 0xF0) | (length - (THRESHOLD + 1)));
    }
    matchLength = length;
    if ((mask <<= 1) == 0x100) {
      literalGroups = codeBuf[0] == 0xFF ? literalGroups + 1 : 0;
      writeOut(codeBuf, ULONG(codeBufPtr));
      m_nCodeSize += ULONG(codeBufPtr);
      codeBuf[0] = 0;
      codeBufPtr = 1;
      mask = 1;
    }
    // The bytes read while the positions of this item are passed.
    const std::uint64_t unread = size - read;
    const std::uint64_t taken = std::uint64_t(length) < unread ? std::uint64_t(length) : unread;
    read += taken;
    if ((m_nTextSize += ULONG(taken)) > m_nPrintCount) m_nPrintCount += 1024;
    pos += std::uint64_t(length);
  }
  m_nMatchPosition = matchPosition;
  m_nMatchLength = matchLength;
  if (codeBufPtr > 1) {
    writeOut(codeBuf, ULONG(codeBufPtr));
    m_nCodeSize += ULONG(codeBufPtr);
  }
  m_pIn = inEnd;
  m_bEndOfInput = 1;
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
