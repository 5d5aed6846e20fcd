// VqDataCompressor: the abstract block compressor that stored data names by run-time
// class, and CLZSS_Compressor, LZSS over a 4096-byte ring with a binary search tree.
#pragma once
#include <cstdint>

#include "zevutil/platform/CObject.h"
#include "zevutil/platform/Types.h"

namespace zev {

class VqDataCompressor : public CObject {
  DECLARE_DYNAMIC(VqDataCompressor)

 public:
  // Both hand a newly allocated block (malloc) to the caller, who frees it with free().
  virtual int CompressBlock(void*& out, ULONG& outSize, const void* in, ULONG inSize) = 0;
  virtual int DecompressBlock(void*& out, ULONG& outSize, const void* in, ULONG inSize) = 0;
};

// The stream: groups of a flag byte (least significant bit first, set = literal) and up
// to eight items; a pair is a 12-bit ring position and the length less 3 in 4 bits. No
// header, no end mark, no length. The ring starts as blanks with the write position at
// 4078, so streams are interchangeable with the classic public LZSS (N 4096, F 18).
class CLZSS_Compressor : public VqDataCompressor {
  DECLARE_DYNCREATE(CLZSS_Compressor)

 public:
  static constexpr int N = 4096;        // ring size
  static constexpr int F = 18;          // look-ahead, and the longest match
  static constexpr int THRESHOLD = 2;   // matches this long or shorter go out as literals
  static constexpr int NIL = N;         // the tree's null index

  CLZSS_Compressor();
  ~CLZSS_Compressor() override;
  CLZSS_Compressor(const CLZSS_Compressor&) = delete;
  CLZSS_Compressor& operator=(const CLZSS_Compressor&) = delete;

  // Always return 1; an empty input gives an empty (but allocated) block. A truncated or
  // foreign stream decodes as far as it goes. Throws CMemoryException* when the output
  // block cannot be allocated.
  int CompressBlock(void*& out, ULONG& outSize, const void* in, ULONG inSize) override;
  int DecompressBlock(void*& out, ULONG& outSize, const void* in, ULONG inSize) override;

  // The working parts, public as they always were.
  void reset(const void* in, ULONG size, int compressing);
  void InitTree();
  void InsertNode(int r);
  void DeleteNode(int p);
  void Encode();
  void Decode();
  int getByte();
  void putByte(int c);
  ULONG getOutbuffSpace() const { return m_nOutCapacity - ULONG(m_pOut - m_pOutBase); }
  void expandOutbuff();
  // Tracing hook: formats into a buffer of its own and goes no further.
  void lzPrintf(const char* format, ...);

 protected:
  // Room for 'count' more bytes, growing the block exactly as byte-by-byte putByte would.
  void reserveOut(ULONG count) {
    if (getOutbuffSpace() < count) expandOutbuff();
  }
  void writeOut(const unsigned char* bytes, ULONG count);

  const unsigned char* m_pInBase = nullptr;
  const unsigned char* m_pIn = nullptr;
  ULONG m_nInSize = 0;
  unsigned char* m_pOutBase = nullptr;
  unsigned char* m_pOut = nullptr;
  ULONG m_nOutCapacity = 0;
  ULONG m_nTextSize = 0;
  ULONG m_nCodeSize = 0;
  ULONG m_nPrintCount = 0;
  unsigned char* m_pTextBuf = nullptr;  // N + F - 1 bytes: the ring and a copy of its first F - 1
  int m_nMatchPosition = 0;
  int m_nMatchLength = 0;
  // The tree. Indices are ring positions or NIL, so 16 bits hold them, and each node's
  // left and right child sit side by side: the tree then fits the first-level cache and
  // one load fetches both children while the keys are compared.
  using Link = std::uint16_t;
  Link (*m_pChildren)[2] = nullptr;  // N + 257 pairs (left, right); the roots of the 256
                                     // trees, one per first byte, are the right links at N + 1 + byte
  Link* m_pDad = nullptr;            // N + 1 parents
  int m_bEndOfInput = 0;
};

}  // namespace zev
