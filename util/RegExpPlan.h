// What a compiled regular expression lets a search skip, worked out once per compile:
// tests that reject a text before any try (the first byte and leading literal of an
// anchored pattern, literals and byte sets that every match contains), the greedy run a
// match begins with, and the program as a straight list of steps when it never needs to
// go back. None of them may change a result: each only drops work whose outcome is known.
#pragma once
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "util/RegExpScan.h"

namespace zev::regexplan {

// Opcodes of the node program.
enum : unsigned char {
  END = 0,
  BOL = 1,
  EOL = 2,
  ANY = 3,
  ANYOF = 4,
  ANYBUT = 5,
  BRANCH = 6,
  BACK = 7,
  EXACTLY = 8,
  NOTHING = 9,
  STAR = 10,
  PLUS = 11,
  OPEN = 20,
  CLOSE = 30,
};
constexpr unsigned kGroups = 10;

inline unsigned OP(const char* p) { return static_cast<unsigned char>(*p); }
inline const char* OPERAND(const char* p) { return p + 3; }
inline char* OPERAND(char* p) { return p + 3; }
inline bool IsOpen(unsigned op) { return op > OPEN && op < OPEN + kGroups; }
inline bool IsClose(unsigned op) { return op > CLOSE && op < CLOSE + kGroups; }

// The compiled program as the plan builder sees it.
struct ProgramView {
  const char* program = nullptr;
  std::size_t size = 0;
  std::function<const char*(const char*)> next;  // the node's successor, or null
  // Every byte the node can consume first; false when it can succeed consuming nothing.
  std::function<bool(const char*, unsigned char (&)[256])> firstChars;
  // The bytes that one step of a single-character node (ANY, ANYOF, ANYBUT, EXACTLY of
  // one character as a repeat counts it) consumes; never the terminator.
  std::function<bool(const char*, unsigned char (&)[256])> consumes;
  bool anchored = false;            // the program begins with BOL
  const unsigned char* upper = nullptr;  // the code page's upper case of each byte
  std::string leading;              // a literal the search itself looks for first
  std::string must;                 // the literal the search already requires
};

// One step of a straight program.
struct Step {
  enum Kind : unsigned char { kBol, kEol, kOne, kLit, kRun, kAlt, kOpen, kClose, kEnd };
  Kind kind = kEnd;
  unsigned char group = 0;  // kOpen, kClose
  unsigned char min = 0;    // kRun: 0 or 1
  std::int32_t set = -1;    // kOne, kRun: index into SearchPlan::sets
  std::int32_t lit = -1;    // kLit, kAlt: first index into SearchPlan::lits
  std::int32_t count = 0;   // kAlt: how many literals
  // Resolved once the plan is complete:
  const unsigned char* table = nullptr;  // kOne, kRun: membership of each byte
  const regexscan::ByteSet* ranges = nullptr;  // kRun: the same as a few ranges, or null
  const unsigned char* text = nullptr;   // kLit: the literal
  std::uint32_t len = 0;                 // kLit: its length
  const std::string* alts = nullptr;     // kAlt: the literals
};

// Places where one of a few literals may begin, tested sixteen at a time on two of their
// bytes: the first, and the one at 'gap' (as far in as the shortest literal allows, with
// at most four different bytes there); each has at most four possible values.
struct LiteralFilter {
  bool valid = false;
  std::size_t shortest = 0;  // the shortest literal's length
  std::size_t gap = 0;
  char first[4] = {}, atGap[4] = {};  // the possible bytes, repeated to fill four
  std::size_t mid = 0;                // a third place between them (0: none), and its bytes
  char atMid[4] = {};

  void Build(const std::vector<std::string>& lits) {
    valid = false;
    if (lits.empty()) return;
    shortest = lits[0].size();
    for (const std::string& l : lits) shortest = std::min(shortest, l.size());
    auto distinct = [&](std::size_t k) {
      std::string seen;
      for (const std::string& l : lits)
        if (seen.find(l[k]) == std::string::npos) seen += l[k];
      return seen;
    };
    const std::string firsts = distinct(0);
    if (shortest < 2 || firsts.size() > 4) return;
    for (gap = shortest - 1; gap > 0; --gap) {
      const std::string there = distinct(gap);
      if (there.size() > 4) continue;
      for (std::size_t j = 0; j < 4; ++j) {
        first[j] = firsts[j % firsts.size()];
        atGap[j] = there[j % there.size()];
      }
      valid = true;
      // A third place cuts the chance matches that each cost a full comparison.
      mid = 0;
      for (std::size_t k = gap / 2; k > 0 && k < gap; k = k + 1 < gap ? k + 1 : 0) {
        const std::string between = distinct(k);
        if (between.size() > 4) continue;
        mid = k;
        for (std::size_t j = 0; j < 4; ++j) atMid[j] = between[j % between.size()];
        break;
      }
      return;
    }
  }
};

// Calls visit(at) for every place, left to right, in the 'len' bytes of 'u' where one of
// the literals begins in full; visit returns 0 to go on, anything else to stop with that
// value. Returns that value, or 0 when the places run out.
template <typename Visit>
int EachLiteral(const unsigned char* u, std::size_t len, const std::vector<std::string>& lits,
                const LiteralFilter& f, Visit visit) {
  if (len < f.shortest) return 0;
  const std::size_t lastStart = len - f.shortest;  // no literal begins after this
  auto whole = [&](std::size_t at) {
    for (const std::string& l : lits) {
      std::size_t i = 0;
      while (i < l.size() && u[at + i] == static_cast<unsigned char>(l[i])) ++i;  // stops at the terminator
      if (i == l.size()) return true;
    }
    return false;
  };
  std::size_t i = 0;
#if defined(__SSE2__)
  const std::size_t gap = f.gap;
  if (f.valid && len >= gap + 16) {
    const __m128i f0 = _mm_set1_epi8(f.first[0]), f1 = _mm_set1_epi8(f.first[1]);
    const __m128i f2 = _mm_set1_epi8(f.first[2]), f3 = _mm_set1_epi8(f.first[3]);
    const __m128i g0 = _mm_set1_epi8(f.atGap[0]), g1 = _mm_set1_epi8(f.atGap[1]);
    const __m128i g2 = _mm_set1_epi8(f.atGap[2]), g3 = _mm_set1_epi8(f.atGap[3]);
    const __m128i m0 = _mm_set1_epi8(f.atMid[0]), m1 = _mm_set1_epi8(f.atMid[1]);
    const __m128i m2 = _mm_set1_epi8(f.atMid[2]), m3 = _mm_set1_epi8(f.atMid[3]);
    const std::size_t mid = f.mid;
    // Bit k: place at + k has a possible first byte, and possible bytes at the gap and mid.
    auto mask = [&](std::size_t at) {
      const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(u + at));
      const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(u + at + gap));
      const __m128i inA = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(a, f0), _mm_cmpeq_epi8(a, f1)),
                                       _mm_or_si128(_mm_cmpeq_epi8(a, f2), _mm_cmpeq_epi8(a, f3)));
      const __m128i inB = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(b, g0), _mm_cmpeq_epi8(b, g1)),
                                       _mm_or_si128(_mm_cmpeq_epi8(b, g2), _mm_cmpeq_epi8(b, g3)));
      __m128i in = _mm_and_si128(inA, inB);
      if (mid) {
        const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(u + at + mid));
        in = _mm_and_si128(in, _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(c, m0), _mm_cmpeq_epi8(c, m1)),
                                            _mm_or_si128(_mm_cmpeq_epi8(c, m2), _mm_cmpeq_epi8(c, m3))));
      }
      return unsigned(_mm_movemask_epi8(in));
    };
    bool tail = false;
    for (;;) {
      std::size_t at = i;
      unsigned bits;
      if (i + gap + 16 <= len) {
        bits = mask(at);
        i += 16;
      } else if (i <= lastStart && !tail) {
        at = len - gap - 16;  // the rest, in one block overlapping the last
        bits = mask(at) & (~0u << (i - at));
        tail = true;
        i = len;
      } else {
        return 0;
      }
      for (; bits; bits &= bits - 1) {
        const std::size_t pos = at + unsigned(std::countr_zero(bits));
        if (pos > lastStart) break;
        if (whole(pos))
          if (const int r = visit(pos)) return r;
      }
    }
  }
#endif
  for (; i <= lastStart; ++i)
    if (whole(i))
      if (const int r = visit(i)) return r;
  return 0;
}

// Chooses probes for the literals (none empty): the up to three places, among the first
// seventeen of the shortest literal, with the fewest and rarest possible bytes. With
// 'upper', a text byte c stands for the literal byte upper[c] (a case-blind search of
// the text as it is); without it, for itself. False when no place has four values or fewer.
bool BuildProbes(regexscan::Probes& probes, const std::vector<std::string>& lits,
                 const unsigned char* upper = nullptr);

#if defined(__SSE2__)
// Calls visit(at) for every place, left to right in the terminated text, where one of
// the literals begins in full (compared through 'upper' when given); visit returns 0 to
// go on, anything else to stop with that value. Returns that value, or 0 at the end.
// Never looks for the text's length first: the probes stop at the terminator.
template <typename Visit>
int EachProbedLiteral(const char* text, const std::vector<std::string>& lits, const regexscan::Probes& probes,
                      const unsigned char* upper, Visit visit) {
  const auto* u = reinterpret_cast<const unsigned char*>(text);
  auto whole = [&](std::size_t at) {
    for (const std::string& l : lits) {
      const auto* lit = reinterpret_cast<const unsigned char*>(l.data());
      std::size_t i = 0;
      // Stops at the first difference, the terminator included: a literal holds none.
      if (upper)
        while (i < l.size() && upper[u[at + i]] == lit[i]) ++i;
      else
        while (i < l.size() && u[at + i] == lit[i]) ++i;
      if (i == l.size()) return true;
    }
    return false;
  };
  const std::size_t block = regexscan::ProbeBlock();
  for (const char* from = text;;) {
    const regexscan::ProbeHits h = regexscan::ScanProbes(from, probes);
    for (unsigned bits = h.bits; bits; bits &= bits - 1) {
      const std::size_t at = std::size_t(h.block + std::countr_zero(bits) - text);
      if (whole(at))
        if (const int r = visit(at)) return r;
    }
    if (h.end) return 0;
    from = h.block + block;
  }
}
#endif

struct SearchPlan {
  // Anchored patterns: the byte a match begins with must be in anchoredFirst (entry 0:
  // an empty match at the terminator), and the text must begin with anchoredPrefix.
  bool anchoredFirstValid = false;
  unsigned char anchoredFirst[256] = {};
  std::string anchoredPrefix;
  // Literals that every match contains, and a byte set of which it contains one.
  std::vector<std::string> required;
  bool requiredSetValid = false;
  regexscan::ByteSet requiredSet;
  // A choice of literals that every match passes through: it holds one of them.
  std::vector<std::string> requiredChoice;
  LiteralFilter requiredChoiceFilter;

  // Every byte that can begin a match, for the scan to the next place worth a try.
  regexscan::ByteSet firstScan;

  // The greedy run a match begins with (STAR or PLUS over leadRun), or leadOp 0. A try
  // from a byte of the run that fails ends each of its ways at a place that any later
  // start inside the same run could only reach by fewer repeats: those fail as well.
  unsigned char leadOp = 0;
  unsigned char leadRun[256] = {};

  // Straight programs that begin with a run (PLUS) followed by literals: the literals
  // (each whole text that can follow the run, at most kMaxInner). A match's run ends right
  // before one of them, so the search looks for those and goes back to the run's start.
  static constexpr std::size_t kMaxInner = 8;
  std::vector<std::string> inner;
  LiteralFilter innerFilter;
  regexscan::Probes innerProbes;  // for them (count 0: none)

  // The straight program, when every choice in it is decided by the text at hand: runs
  // whose follower cannot begin with a byte of the run (or that end the match), and
  // alternatives of literals of which none begins another. Empty when there is none.
  std::vector<Step> steps;
  bool groups = false;  // the steps mark groups
  std::vector<std::array<unsigned char, 256>> sets;
  std::vector<regexscan::ByteSet> runSets;  // the run steps' sets as ranges
  std::vector<std::string> lits;

  // Programs whose search needs none of the general machinery: an anchored straight
  // program (one try at the start), one literal and nothing else,
  // or a choice of literals and nothing else (found through choiceFilter).
  enum Shape : unsigned char { kGeneral, kAnchoredSteps, kOneLiteral, kLiteralChoice };
  Shape shape = kGeneral;
  LiteralFilter choiceFilter;
  // For kOneLiteral and kLiteralChoice: probes for the literals (count 0: none), and
  // probes that look for them in a text that is not yet upper-cased (caseProbes, with
  // the code page's upper-case table; count 0: none).
  regexscan::Probes probes;
  regexscan::Probes caseProbes;

  // False when no match can be in the terminated text.
  bool Admits(const char* text) const {
    const auto* u = reinterpret_cast<const unsigned char*>(text);
    if (anchoredFirstValid && !anchoredFirst[u[0]]) return false;
    if (!anchoredPrefix.empty() && std::strncmp(text, anchoredPrefix.c_str(), anchoredPrefix.size()) != 0)
      return false;
    for (const std::string& lit : required) {
      if (lit.size() == 1 ? !std::strchr(text, lit[0]) : !std::strstr(text, lit.c_str())) return false;
    }
    if (requiredSetValid && !*regexscan::Scan(text, requiredSet)) return false;
    if (!requiredChoice.empty() && !EachLiteral(u, std::strlen(text), requiredChoice, requiredChoiceFilter,
                                                [](std::size_t) { return 1; }))
      return false;
    return true;
  }

  // Runs the straight program from 's' (the text began at 'bol'). On a match, returns
  // the end of it and sets the group bounds it passes; startp and endp must be clear.
  const char* Run(const char* bol, const char* s, const char** startp, const char** endp) const {
    const auto* p = reinterpret_cast<const unsigned char*>(s);
    for (const Step& step : steps) {
      switch (step.kind) {
        case Step::kBol:
          if (p != reinterpret_cast<const unsigned char*>(bol)) return nullptr;
          break;
        case Step::kEol:
          if (*p) return nullptr;
          break;
        case Step::kOne:
          if (!step.table[*p]) return nullptr;  // entry 0 is never set
          ++p;
          break;
        case Step::kLit:
          // Stops at the first difference, the terminator included: a literal holds none.
          for (std::uint32_t i = 0; i < step.len; ++i)
            if (p[i] != step.text[i]) return nullptr;
          p += step.len;
          break;
        case Step::kRun: {
          const unsigned char* from = p;
#if defined(__SSE2__)
          if (step.ranges)
            p = reinterpret_cast<const unsigned char*>(regexscan::SpanRanges(reinterpret_cast<const char*>(p), *step.ranges));
          else
#endif
            while (step.table[*p]) ++p;
          if (p - from < step.min) return nullptr;
          break;
        }
        case Step::kAlt: {
          const std::string* lit = step.alts;
          const std::string* end = lit + step.count;
          for (; lit != end; ++lit) {
            const auto* l = reinterpret_cast<const unsigned char*>(lit->data());
            std::size_t i = 0;
            while (i < lit->size() && p[i] == l[i]) ++i;
            if (i == lit->size()) break;
          }
          if (lit == end) return nullptr;
          p += lit->size();
          break;
        }
        case Step::kOpen:
          startp[step.group] = reinterpret_cast<const char*>(p);
          break;
        case Step::kClose:
          endp[step.group] = reinterpret_cast<const char*>(p);
          break;
        case Step::kEnd:
          return reinterpret_cast<const char*>(p);
      }
    }
    return nullptr;
  }
};

// Calls visit(at) for every place, left to right from 'text', where one of the literals
// (at most SearchPlan::kMaxInner, none empty) begins; visit returns 0 to go on, anything
// else to stop with that value. Returns that value, or 0 when the places run out.
template <typename Visit>
int EachOccurrence(const char* text, const std::vector<std::string>& lits, Visit visit) {
  const char* at[SearchPlan::kMaxInner];
  const std::size_t n = lits.size();
  auto find = [&](std::size_t k, const char* from) -> const char* {
    const std::string& lit = lits[k];
    return lit.size() == 1 ? std::strchr(from, lit[0]) : std::strstr(from, lit.c_str());
  };
  for (std::size_t k = 0; k < n; ++k) at[k] = find(k, text);
  for (;;) {
    const char* q = nullptr;
    for (std::size_t k = 0; k < n; ++k)
      if (at[k] && (!q || at[k] < q)) q = at[k];
    if (!q) return 0;
    if (const int r = visit(q)) return r;
    if (!*q) return 0;
    for (std::size_t k = 0; k < n; ++k)
      if (at[k] == q) at[k] = find(k, q + 1);
  }
}

// Fills the plan from the program (of a program whose links all fit their 16 bits).
void BuildPlan(SearchPlan& plan, const ProgramView& view);

}  // namespace zev::regexplan
