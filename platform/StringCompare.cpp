// The old platform's word-sort string order over code page 1252, from the default
// sort table: four keys (primary, accent, case, special) compared in turn.
#include "zevutil/platform/StringCompare.h"

#include <cstring>

namespace zev {

namespace {

// Sort weights of one CP1252 byte: script, alpha, diacritic and case weight. A
// script of 0 is ignorable; 6 marks hyphens, apostrophes and controls, which go to
// the special key. A byte with expansion letters sorts as those two letters.
struct SortWeight {
  BYTE sm, aw, dw, cw;
  BYTE exp1, exp2;
};

constexpr SortWeight kWeights[256] = {
    {0, 0, 0, 0, 0, 0}, {6, 3, 2, 2, 0, 0}, {6, 4, 2, 2, 0, 0}, {6, 5, 2, 2, 0, 0},  // 0x00
    {6, 6, 2, 2, 0, 0}, {6, 7, 2, 2, 0, 0}, {6, 8, 2, 2, 0, 0}, {6, 9, 2, 2, 0, 0},  // 0x04
    {6, 10, 2, 2, 0, 0}, {7, 5, 2, 2, 0, 0}, {7, 6, 2, 2, 0, 0}, {7, 7, 2, 2, 0, 0},  // 0x08
    {7, 8, 2, 2, 0, 0}, {7, 9, 2, 2, 0, 0}, {6, 11, 2, 2, 0, 0}, {6, 12, 2, 2, 0, 0},  // 0x0C
    {6, 13, 2, 2, 0, 0}, {6, 14, 2, 2, 0, 0}, {6, 15, 2, 2, 0, 0}, {6, 16, 2, 2, 0, 0},  // 0x10
    {6, 17, 2, 2, 0, 0}, {6, 18, 2, 2, 0, 0}, {6, 19, 2, 2, 0, 0}, {6, 20, 2, 2, 0, 0},  // 0x14
    {6, 21, 2, 2, 0, 0}, {6, 22, 2, 2, 0, 0}, {6, 23, 2, 2, 0, 0}, {6, 24, 2, 2, 0, 0},  // 0x18
    {6, 25, 2, 2, 0, 0}, {6, 26, 2, 2, 0, 0}, {6, 27, 2, 2, 0, 0}, {6, 28, 2, 2, 0, 0},  // 0x1C
    {7, 2, 2, 2, 0, 0}, {7, 28, 2, 2, 0, 0}, {7, 29, 2, 2, 0, 0}, {7, 31, 2, 2, 0, 0},  // 0x20
    {7, 33, 2, 2, 0, 0}, {7, 35, 2, 2, 0, 0}, {7, 37, 2, 2, 0, 0}, {6, 128, 2, 2, 0, 0},  // 0x24
    {7, 39, 2, 2, 0, 0}, {7, 42, 2, 2, 0, 0}, {7, 45, 2, 2, 0, 0}, {8, 3, 2, 2, 0, 0},  // 0x28
    {7, 47, 2, 2, 0, 0}, {6, 130, 2, 2, 0, 0}, {7, 51, 2, 2, 0, 0}, {7, 53, 2, 2, 0, 0},  // 0x2C
    {13, 3, 2, 2, 0, 0}, {13, 26, 2, 2, 0, 0}, {13, 28, 2, 2, 0, 0}, {13, 30, 2, 2, 0, 0},  // 0x30
    {13, 32, 2, 2, 0, 0}, {13, 34, 2, 2, 0, 0}, {13, 36, 2, 2, 0, 0}, {13, 38, 2, 2, 0, 0},  // 0x34
    {13, 40, 2, 2, 0, 0}, {13, 42, 2, 2, 0, 0}, {7, 55, 2, 2, 0, 0}, {7, 58, 2, 2, 0, 0},  // 0x38
    {8, 14, 2, 2, 0, 0}, {8, 18, 2, 2, 0, 0}, {8, 20, 2, 2, 0, 0}, {7, 60, 2, 2, 0, 0},  // 0x3C
    {7, 62, 2, 2, 0, 0}, {14, 2, 2, 18, 0, 0}, {14, 9, 2, 18, 0, 0}, {14, 10, 2, 18, 0, 0},  // 0x40
    {14, 26, 2, 18, 0, 0}, {14, 33, 2, 18, 0, 0}, {14, 35, 2, 18, 0, 0}, {14, 37, 2, 18, 0, 0},  // 0x44
    {14, 44, 2, 18, 0, 0}, {14, 50, 2, 18, 0, 0}, {14, 53, 2, 18, 0, 0}, {14, 54, 2, 18, 0, 0},  // 0x48
    {14, 72, 2, 18, 0, 0}, {14, 81, 2, 18, 0, 0}, {14, 112, 2, 18, 0, 0}, {14, 124, 2, 18, 0, 0},  // 0x4C
    {14, 126, 2, 18, 0, 0}, {14, 137, 2, 18, 0, 0}, {14, 138, 2, 18, 0, 0}, {14, 145, 2, 18, 0, 0},  // 0x50
    {14, 153, 2, 18, 0, 0}, {14, 159, 2, 18, 0, 0}, {14, 162, 2, 18, 0, 0}, {14, 164, 2, 18, 0, 0},  // 0x54
    {14, 166, 2, 18, 0, 0}, {14, 167, 2, 18, 0, 0}, {14, 169, 2, 18, 0, 0}, {7, 63, 2, 2, 0, 0},  // 0x58
    {7, 65, 2, 2, 0, 0}, {7, 66, 2, 2, 0, 0}, {7, 67, 2, 2, 0, 0}, {7, 68, 2, 2, 0, 0},  // 0x5C
    {7, 72, 2, 2, 0, 0}, {14, 2, 2, 2, 0, 0}, {14, 9, 2, 2, 0, 0}, {14, 10, 2, 2, 0, 0},  // 0x60
    {14, 26, 2, 2, 0, 0}, {14, 33, 2, 2, 0, 0}, {14, 35, 2, 2, 0, 0}, {14, 37, 2, 2, 0, 0},  // 0x64
    {14, 44, 2, 2, 0, 0}, {14, 50, 2, 2, 0, 0}, {14, 53, 2, 2, 0, 0}, {14, 54, 2, 2, 0, 0},  // 0x68
    {14, 72, 2, 2, 0, 0}, {14, 81, 2, 2, 0, 0}, {14, 112, 2, 2, 0, 0}, {14, 124, 2, 2, 0, 0},  // 0x6C
    {14, 126, 2, 2, 0, 0}, {14, 137, 2, 2, 0, 0}, {14, 138, 2, 2, 0, 0}, {14, 145, 2, 2, 0, 0},  // 0x70
    {14, 153, 2, 2, 0, 0}, {14, 159, 2, 2, 0, 0}, {14, 162, 2, 2, 0, 0}, {14, 164, 2, 2, 0, 0},  // 0x74
    {14, 166, 2, 2, 0, 0}, {14, 167, 2, 2, 0, 0}, {14, 169, 2, 2, 0, 0}, {7, 74, 2, 2, 0, 0},  // 0x78
    {7, 76, 2, 2, 0, 0}, {7, 78, 2, 2, 0, 0}, {7, 80, 2, 2, 0, 0}, {6, 29, 2, 2, 0, 0},  // 0x7C
    {7, 169, 2, 2, 0, 0}, {12, 250, 30, 2, 0, 0}, {7, 123, 2, 2, 0, 0}, {14, 35, 67, 2, 0, 0},  // 0x80
    {7, 127, 2, 2, 0, 0}, {10, 16, 2, 2, 0, 0}, {11, 37, 2, 2, 0, 0}, {11, 38, 2, 2, 0, 0},  // 0x84
    {7, 67, 2, 2, 0, 0}, {11, 44, 12, 2, 0, 0}, {14, 145, 20, 18, 0, 0}, {7, 136, 2, 2, 0, 0},  // 0x88
    {0, 0, 0, 0, 0x4F, 0x45}, {12, 250, 42, 2, 0, 0}, {14, 169, 20, 18, 0, 0}, {12, 250, 44, 2, 0, 0},  // 0x8C
    {12, 250, 45, 2, 0, 0}, {7, 121, 2, 2, 0, 0}, {7, 122, 2, 2, 0, 0}, {7, 125, 2, 2, 0, 0},  // 0x90
    {7, 126, 2, 2, 0, 0}, {11, 39, 2, 2, 0, 0}, {6, 137, 2, 2, 0, 0}, {6, 144, 2, 2, 0, 0},  // 0x94
    {7, 93, 2, 2, 0, 0}, {14, 156, 2, 18, 0, 0}, {14, 145, 20, 2, 0, 0}, {7, 137, 2, 2, 0, 0},  // 0x98
    {0, 0, 0, 0, 0x6F, 0x65}, {12, 250, 58, 2, 0, 0}, {14, 169, 20, 2, 0, 0}, {14, 167, 19, 18, 0, 0},  // 0x9C
    {7, 4, 2, 2, 0, 0}, {7, 81, 2, 2, 0, 0}, {7, 151, 2, 2, 0, 0}, {7, 152, 2, 2, 0, 0},  // 0xA0
    {7, 153, 2, 2, 0, 0}, {7, 154, 2, 2, 0, 0}, {7, 82, 2, 2, 0, 0}, {10, 6, 2, 2, 0, 0},  // 0xA4
    {7, 83, 2, 2, 0, 0}, {10, 7, 2, 2, 0, 0}, {14, 2, 3, 14, 0, 0}, {8, 24, 2, 2, 0, 0},  // 0xA8
    {10, 8, 2, 2, 0, 0}, {0, 0, 0, 0, 0, 0}, {10, 9, 2, 2, 0, 0}, {7, 84, 2, 2, 0, 0},  // 0xAC
    {10, 10, 2, 2, 0, 0}, {8, 23, 2, 2, 0, 0}, {13, 28, 2, 14, 0, 0}, {13, 30, 2, 14, 0, 0},  // 0xB0
    {7, 85, 2, 2, 0, 0}, {10, 11, 2, 2, 0, 0}, {10, 12, 2, 2, 0, 0}, {10, 13, 2, 2, 0, 0},  // 0xB4
    {7, 86, 2, 2, 0, 0}, {13, 26, 2, 14, 0, 0}, {14, 124, 3, 14, 0, 0}, {8, 26, 2, 2, 0, 0},  // 0xB8
    {13, 13, 2, 2, 0, 0}, {13, 17, 2, 2, 0, 0}, {13, 21, 2, 2, 0, 0}, {7, 87, 2, 2, 0, 0},  // 0xBC
    {14, 2, 15, 18, 0, 0}, {14, 2, 14, 18, 0, 0}, {14, 2, 18, 18, 0, 0}, {14, 2, 25, 18, 0, 0},  // 0xC0
    {14, 2, 19, 18, 0, 0}, {14, 2, 26, 18, 0, 0}, {0, 0, 0, 0, 0x41, 0x45}, {14, 10, 28, 18, 0, 0},  // 0xC4
    {14, 33, 15, 18, 0, 0}, {14, 33, 14, 18, 0, 0}, {14, 33, 18, 18, 0, 0}, {14, 33, 19, 18, 0, 0},  // 0xC8
    {14, 50, 15, 18, 0, 0}, {14, 50, 14, 18, 0, 0}, {14, 50, 18, 18, 0, 0}, {14, 50, 19, 18, 0, 0},  // 0xCC
    {14, 26, 104, 18, 0, 0}, {14, 112, 25, 18, 0, 0}, {14, 124, 15, 18, 0, 0}, {14, 124, 14, 18, 0, 0},  // 0xD0
    {14, 124, 18, 18, 0, 0}, {14, 124, 25, 18, 0, 0}, {14, 124, 19, 18, 0, 0}, {8, 28, 2, 2, 0, 0},  // 0xD4
    {14, 124, 33, 18, 0, 0}, {14, 159, 15, 18, 0, 0}, {14, 159, 14, 18, 0, 0}, {14, 159, 18, 18, 0, 0},  // 0xD8
    {14, 159, 19, 18, 0, 0}, {14, 167, 14, 18, 0, 0}, {0, 0, 0, 0, 0x54, 0x48}, {0, 0, 0, 0, 0x73, 0x73},  // 0xDC
    {14, 2, 15, 2, 0, 0}, {14, 2, 14, 2, 0, 0}, {14, 2, 18, 2, 0, 0}, {14, 2, 25, 2, 0, 0},  // 0xE0
    {14, 2, 19, 2, 0, 0}, {14, 2, 26, 2, 0, 0}, {0, 0, 0, 0, 0x61, 0x65}, {14, 10, 28, 2, 0, 0},  // 0xE4
    {14, 33, 15, 2, 0, 0}, {14, 33, 14, 2, 0, 0}, {14, 33, 18, 2, 0, 0}, {14, 33, 19, 2, 0, 0},  // 0xE8
    {14, 50, 15, 2, 0, 0}, {14, 50, 14, 2, 0, 0}, {14, 50, 18, 2, 0, 0}, {14, 50, 19, 2, 0, 0},  // 0xEC
    {14, 26, 104, 2, 0, 0}, {14, 112, 25, 2, 0, 0}, {14, 124, 15, 2, 0, 0}, {14, 124, 14, 2, 0, 0},  // 0xF0
    {14, 124, 18, 2, 0, 0}, {14, 124, 25, 2, 0, 0}, {14, 124, 19, 2, 0, 0}, {8, 29, 2, 2, 0, 0},  // 0xF4
    {14, 124, 33, 2, 0, 0}, {14, 159, 15, 2, 0, 0}, {14, 159, 14, 2, 0, 0}, {14, 159, 18, 2, 0, 0},  // 0xF8
    {14, 159, 19, 2, 0, 0}, {14, 167, 14, 2, 0, 0}, {0, 0, 0, 0, 0x74, 0x68}, {14, 167, 19, 2, 0, 0},  // 0xFC
};

constexpr BYTE kScriptIgnorable = 0;
constexpr BYTE kScriptSpecial = 6;
constexpr BYTE kUpperCaseBit = 0x10;

// Walks the primary characters of a text (expansions give two), skipping the
// ignorable and special ones.
class PrimaryCursor {
 public:
  explicit PrimaryCursor(const char* text) : m_p(reinterpret_cast<const BYTE*>(text)) {}
  const SortWeight* Next() {
    if (m_pending) {
      const SortWeight* w = &kWeights[m_pending];
      m_pending = 0;
      return w;
    }
    while (*m_p) {
      const SortWeight& w = kWeights[*m_p++];
      if (w.exp1) {
        m_pending = w.exp2;
        return &kWeights[w.exp1];
      }
      if (w.sm == kScriptIgnorable || w.sm == kScriptSpecial) continue;
      return &w;
    }
    return nullptr;
  }

 private:
  const BYTE* m_p;
  BYTE m_pending = 0;
};

// Walks the special characters with their weight: the position counted down from
// 0xFFFF by the primary characters in front, the alpha weight, then case and diacritic.
class SpecialCursor {
 public:
  explicit SpecialCursor(const char* text) : m_p(reinterpret_cast<const BYTE*>(text)) {}
  bool Next(unsigned& position, BYTE& aw, BYTE& extra, BYTE caseMask) {
    while (*m_p) {
      const SortWeight& w = kWeights[*m_p++];
      if (w.exp1) {
        m_primaries += 2;
      } else if (w.sm == kScriptSpecial) {
        position = 0xFFFFu - (m_primaries & 0xFFFFu);
        aw = w.aw;
        extra = BYTE((w.cw & caseMask) | (w.dw << 3));
        return true;
      } else if (w.sm != kScriptIgnorable) {
        ++m_primaries;
      }
    }
    return false;
  }

 private:
  const BYTE* m_p;
  unsigned m_primaries = 0;
};

int Sign(int v) { return v < 0 ? -1 : (v > 0 ? 1 : 0); }

int WordSortCompare(const char* a, const char* b, bool ignoreCase) {
  if (!a || !b) return a == b ? 0 : (a ? 1 : -1);
  const BYTE caseMask = ignoreCase ? BYTE(~kUpperCaseBit) : BYTE(0xFF);

  // Primary key: a text that ends first is smaller.
  {
    PrimaryCursor ca(a), cb(b);
    for (;;) {
      const SortWeight* wa = ca.Next();
      const SortWeight* wb = cb.Next();
      if (!wa || !wb) {
        if (wa || wb) return wa ? 1 : -1;
        break;
      }
      if (wa->sm != wb->sm) return Sign(int(wa->sm) - int(wb->sm));
      if (wa->aw != wb->aw) return Sign(int(wa->aw) - int(wb->aw));
    }
  }
  // Equal primary keys have as many characters, and every diacritic and case weight
  // is at least 2, so comparing them in step is comparing the keys without their
  // trailing minimum weights.
  {
    PrimaryCursor ca(a), cb(b);
    for (const SortWeight *wa = ca.Next(), *wb = cb.Next(); wa && wb; wa = ca.Next(), wb = cb.Next())
      if (wa->dw != wb->dw) return Sign(int(wa->dw) - int(wb->dw));
  }
  {
    PrimaryCursor ca(a), cb(b);
    for (const SortWeight *wa = ca.Next(), *wb = cb.Next(); wa && wb; wa = ca.Next(), wb = cb.Next()) {
      int da = wa->cw & caseMask, db = wb->cw & caseMask;
      if (da != db) return Sign(da - db);
    }
  }
  // Special key.
  SpecialCursor sa(a), sb(b);
  for (;;) {
    unsigned pa = 0, pb = 0;
    BYTE awa = 0, awb = 0, xa = 0, xb = 0;
    bool ha = sa.Next(pa, awa, xa, caseMask);
    bool hb = sb.Next(pb, awb, xb, caseMask);
    if (!ha || !hb) return ha == hb ? 0 : (ha ? 1 : -1);
    if (pa != pb) return pa < pb ? -1 : 1;
    if (awa != awb) return awa < awb ? -1 : 1;
    if (xa != xb) return xa < xb ? -1 : 1;
  }
}

}  // namespace

int lstrcmpA(const char* a, const char* b) { return WordSortCompare(a, b, false); }

int lstrcmpiA(const char* a, const char* b) { return WordSortCompare(a, b, true); }

int CollateTotalA(const char* a, const char* b) {
  int r = WordSortCompare(a, b, false);
  if (r != 0 || !a || !b) return r;
  return Sign(std::strcmp(a, b));
}

}  // namespace zev
