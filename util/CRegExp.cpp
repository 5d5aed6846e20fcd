// CRegExp: compiler, matcher and searches. The compiler sizes the program in a first
// pass and emits it in a second. The matcher backtracks over an explicit stack instead
// of the call stack, so no text or pattern can exhaust the thread's stack, and it
// remembers calls that failed so that ambiguous loops cannot take exponential time; both
// leave every result exactly as plain recursive backtracking gives it. The searches ask
// the compiled program's search plan (RegExpPlan.h) which texts, places and tries they
// may skip, and run programs without real choices as straight steps.
#include "zevutil/CRegExp.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unordered_set>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "util/RegExpPlan.h"
#include "util/RegExpScan.h"
#include "zevutil/platform/CException.h"
#include "zevutil/platform/Locale.h"

namespace zev {

namespace {

using namespace regexplan;  // the opcodes and node accessors

// Parser flags.
constexpr int WORST = 0;
constexpr int HASWIDTH = 1;  // cannot match the empty string
constexpr int SIMPLE = 2;    // matches exactly one character
constexpr int SPSTART = 4;   // begins with a star or plus

constexpr char kMeta[] = "^$.[()|?+*\\";

// Zero bytes after the program: every operand string read from any node ends inside it.
constexpr std::size_t kGuard = 8;
// Offsets are 16 bits wide; a larger program has truncated links and gets no fast paths.
constexpr LONG kTrustedSize = 65536;
// Backtracking stack limit (frames); beyond it a search gives up with an error text.
constexpr std::size_t kMaxFrames = std::size_t(1) << 22;
// The sizing count stops here; a pattern that reaches it (tens of megabytes) is refused.
constexpr LONG kSizeLimit = 0x7FFF0000;
// Failed calls before the matcher starts to remember them.
constexpr std::uint64_t kMemoAfter = 20000;
// Largest failure record kept as a bit table (bits); larger ones use a hash set.
constexpr std::uint64_t kMemoBitsMax = std::uint64_t(1) << 28;
// Most failures a hash set records (some 150 MB); later ones are not remembered.
constexpr std::size_t kMemoHashMax = std::size_t(1) << 22;

inline bool ISMULT(char c) { return c == '*' || c == '+' || c == '?'; }
static_assert(regexplan::kGroups == CRegExp::NSUBEXP);

// Clears the ten group bounds of one side with plain stores: compilers turn the obvious
// loop over both sides into a block fill whose start-up costs more than the whole job.
inline void ClearBounds(const char** p) {
  static_assert(CRegExp::NSUBEXP == 10);
#if defined(__SSE2__)
  const __m128i zero = _mm_setzero_si128();
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p), zero);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 2), zero);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 4), zero);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 6), zero);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 8), zero);
#else
  for (int i = 0; i < 10; ++i) p[i] = nullptr;
#endif
}

// The code page's upper-case of every byte, as CharUpperBuffA gives it, in one table.
const unsigned char* UpperTable() {
  static const auto table = [] {
    std::array<unsigned char, 256> t{};
    for (int c = 0; c < 256; ++c) t[std::size_t(c)] = static_cast<unsigned char>(Cp1252Upper(static_cast<char>(c)));
    return t;
  }();
  return table.data();
}

// Whether the table changes no byte below 0x80 but 'a' to 'z', into 'A' to 'Z'.
bool AsciiUpperIsPlain() {
  static const bool plain = [] {
    const unsigned char* t = UpperTable();
    for (int c = 0; c < 0x80; ++c)
      if (t[c] != (c >= 'a' && c <= 'z' ? c - 0x20 : c)) return false;
    return true;
  }();
  return plain;
}

// Upper-cases n bytes into 'to' (which may be 'from' or lie before it).
void UpperCopy(char* to, const char* from, std::size_t n) {
  const unsigned char* table = UpperTable();
  const auto* src = reinterpret_cast<const unsigned char*>(from);
  std::size_t i = 0;
#if defined(__SSE2__)
  if (AsciiUpperIsPlain()) {
    // Sixteen plain ASCII bytes at a time; a block with any other byte goes by the table.
    const __m128i a = _mm_set1_epi8('a'), span = _mm_set1_epi8(25), bit = _mm_set1_epi8(0x20);
    for (; i + 16 <= n; i += 16) {
      __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i));
      if (_mm_movemask_epi8(v)) {
        for (std::size_t k = i; k < i + 16; ++k) to[k] = static_cast<char>(table[src[k]]);
        continue;
      }
      const __m128i d = _mm_sub_epi8(v, a);
      const __m128i lower = _mm_cmpeq_epi8(_mm_max_epu8(d, span), span);
      v = _mm_sub_epi8(v, _mm_and_si128(lower, bit));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(to + i), v);
    }
  }
#endif
  for (; i < n; ++i) to[i] = static_cast<char>(table[src[i]]);
}

#if defined(__SSE2__)
// Where the first of the plan's literals begins in the text, or -1. Out of line, so that
// the searches that never look for literals keep a short entry into RegFind.
#if defined(__GNUC__) || defined(__clang__)
__attribute__((noinline))
#endif
std::ptrdiff_t FirstProbedLiteral(const char* text, const regexplan::SearchPlan& plan) {
  std::ptrdiff_t found = -1;
  regexplan::EachProbedLiteral(text, plan.lits, plan.probes, nullptr, [&](std::size_t at) {
    found = std::ptrdiff_t(at);
    return 1;
  });
  return found;
}
#endif

void CopyError(char* buffer, const char* message) {
  if (buffer) std::strcpy(buffer, message);
}

}  // namespace

// What the compiled program implies, worked out once per compile.
struct CRegExp::Tables {
  struct CharSet {
    unsigned char has[256];
  };
  std::size_t size = 0;               // program bytes, guard excluded
  bool trusted = false;               // every link fits its 16 bits
  std::vector<std::int32_t> classAt;  // program offset -> index into classes, or -1
  std::vector<CharSet> classes;       // membership of each class string ('\0' never)
  std::vector<std::int32_t> targetAt; // program offset -> failure-record slot, or -1
  std::int32_t targets = 0;
  bool firstValid = false;  // 'first' holds every character that can begin a match
  unsigned char first[256] = {};
  std::string firstChars;   // the same as a string for strcspn when there are few (no '\0')
  bool firstAtEnd = false;  // a match may begin at the terminator
  // Every match begins with one of a few literals of two or more characters: their first
  // character and the one at pairGap (the shortest literal's last), as a bit table over
  // the pair.
  bool pairsValid = false;
  std::vector<std::uint64_t> pairs;
  std::vector<std::string> starts;  // the literals themselves
  regexplan::LiteralFilter startFilter;  // for them, when there are few
  std::string pairFirsts, pairSeconds;  // their distinct first and gap characters
  std::size_t pairGap = 1;
  // With four or fewer of each: the same, repeated to fill four places.
  bool pairsFew = false;
  char pairFirst4[4] = {}, pairGap4[4] = {};
  // The one literal that must follow the leading run is the text every match must hold.
  bool innerIsMust = false;
  // The search is a straight program tried where the scan of firstScan stops.
  bool scanSteps = false;
  // With a start character: the whole literal that every match begins with.
  std::string startText;
  // For a repeat at a program offset: the character the next node to consume must see
  // (looking through group marks), or 0 for no such test.
  std::vector<char> nextCharAt;

  // Quick rejections, the leading run and the straight program (RegExpPlan.h).
  regexplan::SearchPlan plan;

  // What every match holds, for FindCandidate: the longest literal known to be in every
  // match (empty: none), and a set of bytes of which every match holds one, as a search
  // sees the text as it is (lineSet) and upper-cased (lineSetUpper); a set with no
  // members means none is known.
  std::string lineLiteral;
  regexscan::ByteSet lineSet, lineSetUpper;
};

struct CRegExp::Frame {
  enum Kind : unsigned char { kOpen, kClose, kBranch, kStar };
  Kind kind;
  unsigned char group;
  char nextch;
  unsigned char min;
  const char* node;  // BRANCH: the alternative being tried; STAR/PLUS: the node after it
  const char* save;  // input position on entry
  std::ptrdiff_t count;
};

struct CRegExp::MatchState {
  std::vector<Frame> stack;
  std::vector<std::uint64_t> bits;
  std::unordered_set<std::uint64_t> hashed;
  // The working copy's block when no copy shares it, kept for the next stretch search.
  std::shared_ptr<char> spareTemp;
  std::size_t spareTempCapacity = 0;
  std::size_t tempCapacity = 0;
  // The found text's block when no copy shares it, kept for the next match.
  std::shared_ptr<char> spareFound;
  std::size_t spareCapacity = 0;
  std::size_t foundCapacity = 0;
  std::size_t stride = 0;  // positions per target in 'bits'
  int mode = 0;            // 0 off, 1 bit table, 2 hash set
  std::uint64_t failures = 0;
  bool aborted = false;

  void Reset() {
    stack.clear();
    mode = 0;
    failures = 0;
    aborted = false;
    if (!bits.empty()) std::vector<std::uint64_t>().swap(bits);
    if (!hashed.empty()) std::unordered_set<std::uint64_t>().swap(hashed);
  }
};

CRegExp::CRegExp() : m_pMatch(std::make_unique<MatchState>()) {
  m_achRegDummy[0] = static_cast<char>(NOTHING);
}

CRegExp::~CRegExp() = default;

CRegExp::CRegExp(const CRegExp& o) : m_pMatch(std::make_unique<MatchState>()) { *this = o; }

CRegExp& CRegExp::operator=(const CRegExp& o) {
  if (this == &o) return *this;
  // Field by field, as they stand: the two objects then share the program and buffers
  // (owned jointly, so either may go first).
  m_bEmitCode = o.m_bEmitCode;
  m_bCompiled = o.m_bCompiled;
  m_pFoundText = o.m_pFoundText;
  m_pTempText = o.m_pTempText;
  m_bTempOwned = o.m_bTempOwned;
  std::copy(std::begin(o.m_apStartp), std::end(o.m_apStartp), m_apStartp);
  std::copy(std::begin(o.m_apEndp), std::end(o.m_apEndp), m_apEndp);
  m_cRegStart = o.m_cRegStart;
  m_cRegAnchor = o.m_cRegAnchor;
  m_pRegMust = o.m_pRegMust;
  m_nRegMustLen = o.m_nRegMustLen;
  m_pProgram = o.m_pProgram;
  m_pRegParse = o.m_pRegParse;
  m_nRegNpar = o.m_nRegNpar;
  m_pRegCode = o.m_pRegCode == o.m_achRegDummy ? m_achRegDummy : o.m_pRegCode;
  std::copy(std::begin(o.m_achRegDummy), std::end(o.m_achRegDummy), m_achRegDummy);
  m_lRegSize = o.m_lRegSize;
  m_pRegInput = o.m_pRegInput;
  m_pRegBol = o.m_pRegBol;
  m_pErrorBuf = o.m_pErrorBuf;
  m_nProgSize = o.m_nProgSize;
  m_pTables = o.m_pTables;
  return *this;
}

// ---------------------------------------------------------------- compiler

char* CRegExp::Fail(const char* message) {
  CopyError(m_pErrorBuf, message);
  return nullptr;
}

void CRegExp::MatchError(const char* message) const { CopyError(m_pErrorBuf, message); }

int CRegExp::RegComp(const char* pattern, int upper, char* error) {
  m_bCompiled = 1;
  m_pErrorBuf = error;
  if (!pattern || !*pattern) return 0;

  std::string upperCopy;
  const char* exp = pattern;
  if (upper) {
    upperCopy = pattern;
    CharUpperBuffA(upperCopy.data(), DWORD(upperCopy.size()));
    exp = upperCopy.c_str();
  }

  // First pass: size the program.
  m_bEmitCode = 0;
  m_pRegParse = exp;
  m_nRegNpar = 1;
  m_lRegSize = 0;
  m_achRegDummy[0] = static_cast<char>(NOTHING);
  m_achRegDummy[1] = m_achRegDummy[2] = 0;
  m_pRegCode = m_achRegDummy;
  int flags = 0;
  if (!reg(0, flags)) return 0;
  if (m_lRegSize >= kSizeLimit) {
    CopyError(m_pErrorBuf, "Regexp too big.");
    return 0;
  }

  // Second pass: emit it into a zeroed block followed by the guard.
  m_pProgram.reset();
  m_pTables.reset();
  char* program = static_cast<char*>(std::calloc(std::size_t(m_lRegSize) + kGuard, 1));
  if (!program) AfxThrowMemoryException();
  m_pProgram = std::shared_ptr<char>(program, std::free);
  m_nProgSize = std::size_t(m_lRegSize);
  m_nodeOffsets.clear();
  m_bEmitCode = 1;
  m_pRegParse = exp;
  m_nRegNpar = 1;
  m_pRegCode = program;
  if (!reg(0, flags)) return 0;

  m_cRegStart = 0;
  m_cRegAnchor = 0;
  m_pRegMust = nullptr;
  m_nRegMustLen = 0;
  const char* next = regnext(program);
  if (next && OP(next) == END) {  // a single top-level alternative
    const char* scan = OPERAND(program);
    if (OP(scan) == EXACTLY)
      m_cRegStart = *OPERAND(scan);
    else if (OP(scan) == BOL)
      m_cRegAnchor = 1;
    // With a star or plus in front every position is a candidate; a literal that every
    // match must hold rejects most texts at once.
    if (flags & SPSTART) {
      const char* longest = nullptr;
      std::size_t len = 0;
      for (LONG steps = 0; scan && steps <= m_lRegSize; scan = regnext(scan), ++steps)
        if (OP(scan) == EXACTLY && std::strlen(OPERAND(scan)) >= len) {
          longest = OPERAND(scan);
          len = std::strlen(longest);
        }
      m_pRegMust = longest;
      m_nRegMustLen = int(len);
    }
  }
  BuildTables();
  return 1;
}

char* CRegExp::reg(int paren, int& flags) {
  flags = HASWIDTH;
  char* ret = nullptr;
  int parno = 0;
  if (paren) {
    if (m_nRegNpar >= NSUBEXP) return Fail("Too many ().");
    parno = m_nRegNpar++;
    ret = regnode(static_cast<char>(OPEN + parno));
  }

  int brFlags = 0;
  char* br = regbranch(brFlags);
  if (!br) return nullptr;
  if (ret)
    regtail(ret, br);
  else
    ret = br;
  if (!(brFlags & HASWIDTH)) flags &= ~HASWIDTH;
  flags |= brFlags & SPSTART;
  while (*m_pRegParse == '|') {
    ++m_pRegParse;
    br = regbranch(brFlags);
    if (!br) return nullptr;
    regtail(ret, br);
    if (!(brFlags & HASWIDTH)) flags &= ~HASWIDTH;
    flags |= brFlags & SPSTART;
  }

  char* ender = regnode(static_cast<char>(paren ? CLOSE + parno : END));
  regtail(ret, ender);
  LONG steps = 0;
  for (br = ret; br && steps <= m_lRegSize; br = regnext(br), ++steps) regoptail(br, ender);

  if (paren) {
    if (*m_pRegParse != ')') return Fail("Unterminated ()");
    ++m_pRegParse;
  } else if (*m_pRegParse != '\0') {
    if (*m_pRegParse == ')') return Fail("Unmatched ()");
    return Fail("Internal error: invalid characters on end.");
  }
  return ret;
}

char* CRegExp::regbranch(int& flags) {
  flags = WORST;
  char* ret = regnode(static_cast<char>(BRANCH));
  char* chain = nullptr;
  while (*m_pRegParse != '\0' && *m_pRegParse != '|' && *m_pRegParse != ')') {
    int pieceFlags = 0;
    char* latest = regpiece(pieceFlags);
    if (!latest) return nullptr;
    flags |= pieceFlags & HASWIDTH;
    if (!chain)
      flags |= pieceFlags & SPSTART;
    else
      regtail(chain, latest);
    chain = latest;
  }
  if (!chain) regnode(static_cast<char>(NOTHING));
  return ret;
}

char* CRegExp::regpiece(int& flags) {
  int atomFlags = 0;
  char* ret = regatom(atomFlags);
  if (!ret) return nullptr;
  const char op = *m_pRegParse;
  if (!ISMULT(op)) {
    flags = atomFlags;
    return ret;
  }
  if (!(atomFlags & HASWIDTH) && op != '?') return Fail("*+ operand could be empty");
  flags = op == '*' ? SPSTART : op == '+' ? (HASWIDTH | SPSTART) : WORST;

  if (op == '*' && (atomFlags & SIMPLE)) {
    reginsert(static_cast<char>(STAR), ret);
  } else if (op == '*') {
    // x* becomes (x&|): a branch that loops back to itself, or nothing.
    reginsert(static_cast<char>(BRANCH), ret);
    regoptail(ret, regnode(static_cast<char>(BACK)));
    regoptail(ret, ret);
    regtail(ret, regnode(static_cast<char>(BRANCH)));
    regtail(ret, regnode(static_cast<char>(NOTHING)));
  } else if (op == '+' && (atomFlags & SIMPLE)) {
    reginsert(static_cast<char>(PLUS), ret);
  } else if (op == '+') {
    // x+ becomes x(&|): x, then either back to x or nothing.
    char* next = regnode(static_cast<char>(BRANCH));
    regtail(ret, next);
    regtail(regnode(static_cast<char>(BACK)), ret);
    regtail(next, regnode(static_cast<char>(BRANCH)));
    regtail(ret, regnode(static_cast<char>(NOTHING)));
  } else {
    // x? becomes (x|).
    reginsert(static_cast<char>(BRANCH), ret);
    regtail(ret, regnode(static_cast<char>(BRANCH)));
    char* next = regnode(static_cast<char>(NOTHING));
    regtail(ret, next);
    regoptail(ret, next);
  }
  ++m_pRegParse;
  if (ISMULT(*m_pRegParse)) return Fail("Nested *?+");
  return ret;
}

char* CRegExp::regatom(int& flags) {
  flags = WORST;
  char* ret = nullptr;
  switch (*m_pRegParse++) {
    case '^':
      ret = regnode(static_cast<char>(BOL));
      break;
    case '$':
      ret = regnode(static_cast<char>(EOL));
      break;
    case '.':
      ret = regnode(static_cast<char>(ANY));
      flags |= HASWIDTH | SIMPLE;
      break;
    case '[': {
      if (*m_pRegParse == '^') {
        ret = regnode(static_cast<char>(ANYBUT));
        ++m_pRegParse;
      } else {
        ret = regnode(static_cast<char>(ANYOF));
      }
      if (*m_pRegParse == ']' || *m_pRegParse == '-') regc(*m_pRegParse++);
      while (*m_pRegParse != '\0' && *m_pRegParse != ']') {
        if (*m_pRegParse == '-') {
          ++m_pRegParse;
          if (*m_pRegParse == ']' || *m_pRegParse == '\0') {
            regc('-');
          } else {
            // kept: range ends compare as signed chars, so a range may not cross 0x7F/0x80
            int cls = static_cast<signed char>(m_pRegParse[-2]) + 1;
            const int clsEnd = static_cast<signed char>(*m_pRegParse);
            if (cls > clsEnd + 1) return Fail("Invalid [] range");
            for (; cls <= clsEnd; ++cls) regc(static_cast<char>(cls));
            ++m_pRegParse;
          }
        } else {
          regc(*m_pRegParse++);
        }
      }
      regc('\0');
      if (*m_pRegParse != ']') return Fail("Unmatched []");
      ++m_pRegParse;
      flags |= HASWIDTH | SIMPLE;
      break;
    }
    case '(': {
      int groupFlags = 0;
      ret = reg(1, groupFlags);
      if (!ret) return nullptr;
      flags |= groupFlags & (HASWIDTH | SPSTART);
      break;
    }
    case '\0':
    case '|':
    case ')':
      // Caught by the callers before they get here.
      return Fail("Internal error: \\0|) unexpected");
    case '?':
    case '+':
    case '*':
      return Fail("?+* follows nothing");
    case '\\':
      if (*m_pRegParse == '\0') return Fail("trailing \\");
      ret = regnode(static_cast<char>(EXACTLY));
      regc(*m_pRegParse++);
      regc('\0');
      flags |= HASWIDTH | SIMPLE;
      break;
    default: {
      --m_pRegParse;
      std::size_t len = std::strcspn(m_pRegParse, kMeta);
      if (len == 0) return Fail("Internal error: strcspn 0.");
      // A run followed by an operator gives up its last character to the operator.
      if (len > 1 && ISMULT(m_pRegParse[len])) --len;
      flags |= HASWIDTH;
      if (len == 1) flags |= SIMPLE;
      ret = regnode(static_cast<char>(EXACTLY));
      for (; len > 0; --len) regc(*m_pRegParse++);
      regc('\0');
      break;
    }
  }
  return ret;
}

char* CRegExp::regnode(char op) {
  char* ret = m_pRegCode;
  if (!m_bEmitCode) {
    GrowSize(3);
    return ret;
  }
  ret[0] = op;
  ret[1] = ret[2] = '\0';
  m_pRegCode = ret + 3;
  m_nodeOffsets.push_back(std::size_t(ret - m_pProgram.get()));
  return ret;
}

void CRegExp::regc(char b) {
  if (m_bEmitCode)
    *m_pRegCode++ = b;
  else
    GrowSize(1);
}

void CRegExp::GrowSize(LONG bytes) {
  m_lRegSize = m_lRegSize >= kSizeLimit - bytes ? kSizeLimit : m_lRegSize + bytes;
}

void CRegExp::reginsert(char op, char* opnd) {
  if (!m_bEmitCode) {
    GrowSize(3);
    return;
  }
  std::memmove(opnd + 3, opnd, std::size_t(m_pRegCode - opnd));
  m_pRegCode += 3;
  opnd[0] = op;
  opnd[1] = opnd[2] = '\0';
  const std::size_t at = std::size_t(opnd - m_pProgram.get());
  for (std::size_t& off : m_nodeOffsets)
    if (off >= at) off += 3;
  m_nodeOffsets.push_back(at);
}

void CRegExp::regtail(char* p, const char* val) {
  if (!m_bEmitCode) return;
  char* scan = p;
  // A chain visits each node at most once; the bound only matters for a program whose
  // links were truncated, where a chain may loop.
  for (LONG steps = 0; steps <= m_lRegSize; ++steps) {
    char* temp = regnext(scan);
    if (!temp) break;
    scan = temp;
  }
  const std::ptrdiff_t offset = OP(scan) == BACK ? scan - val : val - scan;
  scan[1] = static_cast<char>(offset & 0xFF);  // low byte first
  scan[2] = static_cast<char>((offset >> 8) & 0xFF);
}

void CRegExp::regoptail(char* p, const char* val) {
  if (!m_bEmitCode || !p || OP(p) != BRANCH) return;
  regtail(OPERAND(p), val);
}

inline const char* CRegExp::regnext(const char* p) const {
  if (!p) return nullptr;
  const unsigned offset = unsigned(static_cast<unsigned char>(p[1])) | (unsigned(static_cast<unsigned char>(p[2])) << 8);
  if (offset == 0) return nullptr;
  const char* target = OP(p) == BACK ? p - offset : p + offset;
  // A link that leaves the program (possible only once links are truncated) ends the
  // chain instead of reading outside it.
  const char* program = m_pProgram.get();
  if (!program || target < program || target >= program + m_nProgSize) return nullptr;
  return target;
}

inline char* CRegExp::regnext(char* p) const { return const_cast<char*>(regnext(static_cast<const char*>(p))); }

// ---------------------------------------------------------------- derived tables

void CRegExp::BuildTables() {
  auto t = std::make_shared<Tables>();
  const char* program = m_pProgram.get();
  t->size = m_nProgSize;
  t->trusted = m_lRegSize < kTrustedSize;
  t->classAt.assign(t->size + kGuard, -1);
  t->targetAt.assign(t->size + kGuard, -1);
  for (std::size_t off : m_nodeOffsets) {
    const char* node = program + off;
    const unsigned op = OP(node);
    if (op == ANYOF || op == ANYBUT) {
      // The class as strchr sees it: up to the first NUL, which a range may have put inside.
      Tables::CharSet set{};
      for (const char* c = OPERAND(node); *c; ++c) set.has[static_cast<unsigned char>(*c)] = 1;
      t->classAt[off] = std::int32_t(t->classes.size());
      t->classes.push_back(set);
    } else if (op == BRANCH) {
      // Calls that may be retried at the same place: alternatives and what follows a repeat.
      if (t->targetAt[off + 3] < 0) t->targetAt[off + 3] = t->targets++;
    } else if (op == STAR || op == PLUS) {
      if (const char* next = regnext(node)) {
        const std::size_t n = std::size_t(next - program);
        if (t->targetAt[n] < 0) t->targetAt[n] = t->targets++;
      }
    }
  }
  m_pTables = t;
  if (!t->trusted) {
    m_nodeOffsets.clear();
    return;
  }

  // What must follow each repeat, seen through group marks and empty nodes.
  t->nextCharAt.assign(t->size + kGuard, 0);
  for (std::size_t off : m_nodeOffsets) {
    const char* node = program + off;
    if (OP(node) != STAR && OP(node) != PLUS) continue;
    const char* scan = regnext(node);
    for (int steps = 0; scan && steps < 64; ++steps) {
      const unsigned op = OP(scan);
      if (op == EXACTLY) {
        t->nextCharAt[off] = *OPERAND(scan);
        break;
      }
      if (op == BRANCH) {
        const char* next = regnext(scan);
        if (next && OP(next) == BRANCH) break;  // a choice: no single character
        scan = OPERAND(scan);
      } else if (op == NOTHING || IsOpen(op) || IsClose(op)) {
        scan = regnext(scan);
      } else {
        break;
      }
    }
  }
  m_nodeOffsets.clear();

  if (m_cRegStart) {
    const char* first = OPERAND(program);  // the EXACTLY that gave the start character
    if (OP(first) == EXACTLY && std::strlen(OPERAND(first)) >= 2) t->startText = OPERAND(first);
  }
  if (!m_cRegStart && !m_cRegAnchor) {
    int budget = 4 * int(t->size) + 64;
    unsigned char first[256] = {};
    if (FirstChars(program, first, budget)) {
      std::memcpy(t->first, first, sizeof first);
      t->firstValid = true;
      t->firstAtEnd = first[0] != 0;
      for (int c = 1; c < 256; ++c)
        if (first[c]) t->firstChars += static_cast<char>(c);
      if (t->firstChars.size() > 16) t->firstChars.clear();
    }
    std::vector<std::string> starts;
    budget = 4 * int(t->size) + 64;
    if (t->firstValid && !t->firstAtEnd && LiteralStarts(program, starts, budget)) {
      t->pairsValid = true;
      t->pairs.assign(65536 / 64, 0);
      // The farther apart the two characters, the fewer places have both by chance.
      std::size_t shortest = ~std::size_t(0);
      for (const std::string& lit : starts) shortest = std::min(shortest, lit.size());
      t->pairGap = shortest >= 2 ? shortest - 1 : 1;
      const std::size_t gap = t->pairGap;
      for (const std::string& lit : starts) {
        if (lit.size() < 2) {
          t->pairsValid = false;
          break;
        }
        const unsigned pair = unsigned(static_cast<unsigned char>(lit[0])) << 8 | static_cast<unsigned char>(lit[gap]);
        t->pairs[pair >> 6] |= std::uint64_t(1) << (pair & 63);
      }
      if (t->pairsValid) {
        for (const std::string& lit : starts) {
          if (t->pairFirsts.find(lit[0]) == std::string::npos) t->pairFirsts += lit[0];
          if (t->pairSeconds.find(lit[t->pairGap]) == std::string::npos) t->pairSeconds += lit[t->pairGap];
        }
        t->starts = std::move(starts);
        if (t->starts.size() <= 8) t->startFilter.Build(t->starts);
        t->pairsFew = t->pairFirsts.size() <= 4 && t->pairSeconds.size() <= 4;
        for (std::size_t k = 0; t->pairsFew && k < 4; ++k) {
          t->pairFirst4[k] = t->pairFirsts[k % t->pairFirsts.size()];
          t->pairGap4[k] = t->pairSeconds[k % t->pairSeconds.size()];
        }
      }
      else
        t->pairs.clear();
    }
  }

  regexplan::ProgramView view;
  view.program = program;
  view.size = t->size;
  view.next = [this](const char* p) { return regnext(p); };
  view.firstChars = [this, t](const char* p, unsigned char (&set)[256]) {
    int budget = 4 * int(t->size) + 64;
    return FirstChars(p, set, budget);
  };
  view.consumes = [this](const char* node, unsigned char (&set)[256]) {
    switch (OP(node)) {
      case ANY:
        for (int c = 1; c < 256; ++c) set[c] = 1;
        return true;
      case EXACTLY:
        if (!*OPERAND(node)) return false;
        set[static_cast<unsigned char>(*OPERAND(node))] = 1;
        return true;
      case ANYOF:
      case ANYBUT:
        for (int c = 1; c < 256; ++c)
          if (InClass(node, static_cast<char>(c)) == (OP(node) == ANYOF)) set[c] = 1;
        return true;
      default:
        return false;
    }
  };
  view.anchored = m_cRegAnchor != 0;
  view.upper = UpperTable();
  if (m_cRegStart && OP(OPERAND(program)) == EXACTLY) view.leading = OPERAND(OPERAND(program));
  if (m_pRegMust) view.must = m_pRegMust;
  regexplan::BuildPlan(t->plan, view);
  t->innerIsMust = m_pRegMust && t->plan.inner.size() == 1 && t->plan.inner[0] == m_pRegMust;
  t->plan.firstScan = {};
  t->scanSteps = false;
  if (t->firstValid) {
    std::copy(std::begin(t->first), std::end(t->first), t->plan.firstScan.has);
    t->plan.firstScan.Finish();
    // A required byte set that is the first set itself: the search's own scan asks the same.
    if (t->plan.requiredSetValid && !t->firstAtEnd &&
        std::equal(std::begin(t->plan.requiredSet.has), std::end(t->plan.requiredSet.has), t->plan.firstScan.has))
      t->plan.requiredSetValid = false;
    // The general search for a straight program with a sparse first set, nothing else.
    t->scanSteps = !t->plan.steps.empty() && !m_cRegAnchor && !m_cRegStart && t->plan.inner.empty() &&
                   !t->pairsValid && t->plan.firstScan.ranges > 0 && t->plan.firstScan.members <= 16;
  }

  // For FindCandidate: every match holds the classic must text, the literal it begins
  // with, each required literal and a single inner literal; the longest is looked for.
  std::vector<std::string> held(t->plan.required.begin(), t->plan.required.end());
  if (m_pRegMust) held.emplace_back(m_pRegMust);
  if (!view.leading.empty()) held.push_back(view.leading);
  if (t->plan.inner.size() == 1) held.push_back(t->plan.inner[0]);
  for (const std::string& lit : held)
    if (lit.size() > t->lineLiteral.size()) t->lineLiteral = lit;
  // Every match holds a byte of the required set, and begins with one of the first set
  // unless it can be empty at the terminator.
  if (t->plan.requiredSetValid)
    std::copy(std::begin(t->plan.requiredSet.has), std::end(t->plan.requiredSet.has), t->lineSet.has);
  else if (t->firstValid && !t->firstAtEnd)
    std::copy(std::begin(t->first), std::end(t->first), t->lineSet.has);
  t->lineSet.Finish();
  // Upper-cased, a byte of the text counts when its upper case is the literal's first
  // byte, or else in the set.
  const unsigned char* upper = UpperTable();
  for (int c = 1; c < 256; ++c) {
    const unsigned char u = upper[c];
    const bool held = t->lineLiteral.empty() ? t->lineSet.has[u] != 0
                                             : u == static_cast<unsigned char>(t->lineLiteral[0]);
    t->lineSetUpper.has[c] = held ? 1 : 0;
  }
  t->lineSetUpper.Finish();
}

// Collects the literals that matches from this node on begin with; false when some path
// begins otherwise (or there are too many).
bool CRegExp::LiteralStarts(const char* scan, std::vector<std::string>& out, int& budget) const {
  while (scan) {
    if (--budget < 0) return false;
    const unsigned op = OP(scan);
    if (op == EXACTLY) {
      out.emplace_back(OPERAND(scan));
      return out.size() <= 64;
    }
    const char* next = regnext(scan);
    if (op == BRANCH) {
      if (!next || OP(next) != BRANCH) {
        scan = OPERAND(scan);
        continue;
      }
      for (const char* alt = scan; alt && OP(alt) == BRANCH; alt = regnext(alt))
        if (!LiteralStarts(OPERAND(alt), out, budget)) return false;
      return true;
    }
    if (op == BOL || op == NOTHING || IsOpen(op) || IsClose(op)) {
      scan = next;
      continue;
    }
    return false;
  }
  return false;
}

inline bool CRegExp::InClass(const char* node, char c) const {
  if (const Tables* t = m_pTables.get()) {
    const std::size_t off = std::size_t(node - m_pProgram.get());
    if (off < t->classAt.size() && t->classAt[off] >= 0)
      return t->classes[std::size_t(t->classAt[off])].has[static_cast<unsigned char>(c)] != 0;
  }
  return std::strchr(OPERAND(node), c) != nullptr;
}

// Adds every character that the node can consume first; false when the node can succeed
// without consuming anything (or the walk gives up), so that no position may be skipped.
bool CRegExp::FirstChars(const char* scan, unsigned char (&set)[256], int& budget) const {
  auto addOne = [&](const char* node) {
    switch (OP(node)) {
      case ANY:
        for (int c = 1; c < 256; ++c) set[c] = 1;
        return true;
      case EXACTLY:
        set[static_cast<unsigned char>(*OPERAND(node))] = 1;
        return true;
      case ANYOF:
      case ANYBUT:
        for (int c = 1; c < 256; ++c)
          if (InClass(node, static_cast<char>(c)) == (OP(node) == ANYOF)) set[c] = 1;
        return true;
      default:
        return false;
    }
  };
  while (scan) {
    if (--budget < 0) return false;
    const char* next = regnext(scan);
    const unsigned op = OP(scan);
    switch (op) {
      case EOL:
        set[0] = 1;
        return true;
      case ANY:
      case EXACTLY:
      case ANYOF:
      case ANYBUT:
        return addOne(scan);
      case BRANCH:
        if (!next || OP(next) != BRANCH) {
          scan = OPERAND(scan);
          continue;
        }
        for (const char* alt = scan; alt && OP(alt) == BRANCH; alt = regnext(alt))
          if (!FirstChars(OPERAND(alt), set, budget)) return false;
        return true;
      case STAR:
        if (!addOne(OPERAND(scan))) return false;
        scan = next;
        continue;
      case PLUS:
        return addOne(OPERAND(scan));
      case BOL:  // holds only at the start, where the rest must still match
      case NOTHING:
      case BACK:
        scan = next;
        continue;
      default:
        if (IsOpen(op) || IsClose(op)) {
          scan = next;
          continue;
        }
        return false;  // END, or a node that is not in the table
    }
  }
  return false;
}

// ---------------------------------------------------------------- matcher

inline bool CRegExp::MemoFailed(const char* node, const char* position) {
  MatchState& m = *m_pMatch;
  if (m.mode == 0 || !node) return false;
  const std::size_t off = std::size_t(node - m_pProgram.get());
  const std::size_t pos = std::size_t(position - m_pRegBol);
  if (m.mode == 1) {
    const std::int32_t id = off < m_pTables->targetAt.size() ? m_pTables->targetAt[off] : -1;
    if (id < 0) return false;
    const std::size_t bit = std::size_t(id) * m.stride + pos;
    return (m.bits[bit >> 6] >> (bit & 63)) & 1;
  }
  return m.hashed.count((std::uint64_t(off) << 40) ^ pos) != 0;
}

inline void CRegExp::MemoFail(const char* node, const char* position) {
  MatchState& m = *m_pMatch;
  if (m.mode == 0) {
    if (++m.failures < kMemoAfter || !m_pTables) return;
    // Many retries: from now on a failed call is remembered. A call's outcome depends
    // only on the node and the position (there are no back-references), so this never
    // changes a result.
    const std::uint64_t len = std::strlen(m_pRegBol) + 1;
    const std::uint64_t need = std::uint64_t(m_pTables->targets) * len;
    if (m_pTables->targets > 0 && need <= kMemoBitsMax) {
      m.stride = std::size_t(len);
      m.bits.assign(std::size_t((need + 63) / 64), 0);
      m.mode = 1;
    } else {
      m.mode = 2;
    }
  }
  if (!node) return;
  const std::size_t off = std::size_t(node - m_pProgram.get());
  const std::size_t pos = std::size_t(position - m_pRegBol);
  if (m.mode == 1) {
    const std::int32_t id = off < m_pTables->targetAt.size() ? m_pTables->targetAt[off] : -1;
    if (id < 0) return;
    const std::size_t bit = std::size_t(id) * m.stride + pos;
    m.bits[bit >> 6] |= std::uint64_t(1) << (bit & 63);
  } else if (m.hashed.size() < kMemoHashMax) {
    m.hashed.insert((std::uint64_t(off) << 40) ^ pos);
  }
}

inline int CRegExp::regtry(const char* position) {
  m_pRegInput = position;
  ClearBounds(m_apStartp);
  ClearBounds(m_apEndp);
  if (regmatch(m_pProgram.get())) {
    m_apStartp[0] = position;
    m_apEndp[0] = m_pRegInput;
    return 1;
  }
  return 0;
}

inline int CRegExp::regrepeat(const char* node) {
  const char* scan = m_pRegInput;
  const char* opnd = OPERAND(node);
  std::ptrdiff_t count = 0;
  switch (OP(node)) {
    case ANY:
      count = std::ptrdiff_t(std::strlen(scan));
      break;
    case EXACTLY:
      // '\0' never repeats: an operand is never empty in a sound program, and the
      // terminator must stop the count in any other.
      while (*scan && *opnd == *scan) ++scan;
      count = scan - m_pRegInput;
      break;
    case ANYOF:
    case ANYBUT: {
      const Tables* t = m_pTables.get();
      const std::size_t off = std::size_t(node - m_pProgram.get());
      if (t && off < t->classAt.size() && t->classAt[off] >= 0) {
        const unsigned char* cls = t->classes[std::size_t(t->classAt[off])].has;
        const unsigned char want = OP(node) == ANYOF ? 1 : 0;
        while (*scan && cls[static_cast<unsigned char>(*scan)] == want) ++scan;
        count = scan - m_pRegInput;
      } else {
        count = std::ptrdiff_t(OP(node) == ANYOF ? std::strspn(scan, opnd) : std::strcspn(scan, opnd));
      }
      break;
    }
    default:
      MatchError("Internal error: bad call of regrepeat.");
      count = 0;
      break;
  }
  m_pRegInput += count;
  return int(std::min<std::ptrdiff_t>(count, 0x7FFFFFFF));
}

int CRegExp::regmatch(const char* prog) {
  MatchState& m = *m_pMatch;
  std::vector<Frame>& stack = m.stack;
  const std::size_t base = stack.size();
  const char* const program = m_pProgram.get();
  const Tables* const tables = m_pTables.get();
  const char* scan = prog;
  const char* input = m_pRegInput;

  // Tries the repeat counts of the frame on top from its current count down; true when
  // one leaves the input where the following node may match (input set there).
  auto nextRepeat = [&](Frame& f) {
    for (; f.count >= f.min; --f.count) {
      input = f.save + f.count;
      if ((f.nextch == '\0' || *input == f.nextch) && !MemoFailed(f.node, input)) return true;
    }
    return false;
  };

  for (;;) {
    // Forward: walk the nodes until END or a mismatch. A node with a choice pushes a
    // frame and goes on with its first choice.
    bool ok = true;
    for (;;) {
      if (!scan) {
        MatchError("Corrupted pointers");
        ok = false;
        break;
      }
      const char* next = regnext(scan);
      const unsigned op = OP(scan);
      switch (op) {
        case END:
          goto matched;
        case BOL:
          ok = input == m_pRegBol;
          break;
        case EOL:
          ok = *input == '\0';
          break;
        case ANY:
          if ((ok = *input != '\0')) ++input;
          break;
        case EXACTLY: {
          const char* opnd = OPERAND(scan);
          if (*opnd != *input) {
            ok = false;
            break;
          }
          const std::size_t len = std::strlen(opnd);
          if (len > 1 && std::strncmp(opnd, input, len) != 0) {
            ok = false;
            break;
          }
          input += len;
          break;
        }
        case ANYOF:
          if ((ok = *input != '\0' && InClass(scan, *input))) ++input;
          break;
        case ANYBUT:
          if ((ok = *input != '\0' && !InClass(scan, *input))) ++input;
          break;
        case NOTHING:
        case BACK:
          break;
        case BRANCH:
          if (!next || OP(next) != BRANCH) {
            next = OPERAND(scan);  // no choice: no frame
            break;
          }
          if (stack.size() - base >= kMaxFrames) {
            m.aborted = true;
            MatchError("Internal error: match too deep.");
            m_pRegInput = input;
            stack.resize(base);
            return 0;
          }
          stack.push_back(Frame{Frame::kBranch, 0, 0, 0, scan, input, 0});
          if (MemoFailed(OPERAND(scan), input)) {
            ok = false;  // the first alternative is known to fail here
            break;
          }
          next = OPERAND(scan);
          break;
        case STAR:
        case PLUS: {
          if (stack.size() - base >= kMaxFrames) {
            m.aborted = true;
            MatchError("Internal error: match too deep.");
            m_pRegInput = input;
            stack.resize(base);
            return 0;
          }
          // The character the following node must see, if any: counts that leave another
          // character there are not tried.
          char nextch = next && OP(next) == EXACTLY ? *OPERAND(next) : '\0';
          if (!nextch && tables && !tables->nextCharAt.empty()) nextch = tables->nextCharAt[std::size_t(scan - program)];
          m_pRegInput = input;
          regrepeat(OPERAND(scan));
          stack.push_back(Frame{Frame::kStar, 0, nextch, static_cast<unsigned char>(op == STAR ? 0 : 1), next, input,
                                m_pRegInput - input});
          if (!nextRepeat(stack.back())) {
            stack.pop_back();
            ok = false;
            break;
          }
          break;
        }
        default:
          if (IsOpen(op) || IsClose(op)) {
            if (stack.size() - base >= kMaxFrames) {
              m.aborted = true;
              MatchError("Internal error: match too deep.");
              m_pRegInput = input;
              stack.resize(base);
              return 0;
            }
            stack.push_back(Frame{IsOpen(op) ? Frame::kOpen : Frame::kClose,
                                  static_cast<unsigned char>(IsOpen(op) ? op - OPEN : op - CLOSE), 0, 0, nullptr,
                                  input, 0});
            break;
          }
          MatchError("Regexp corruption.");
          ok = false;
          break;
      }
      if (!ok) break;
      scan = next;
    }

    // Backward: the latest choice takes its next option, or fails in turn.
    for (;;) {
      if (stack.size() == base) {
        m_pRegInput = input;
        return 0;
      }
      Frame& f = stack.back();
      if (f.kind == Frame::kBranch) {
        MemoFail(OPERAND(f.node), f.save);
        input = f.save;
        const char* alt = regnext(f.node);
        while (alt && OP(alt) == BRANCH && MemoFailed(OPERAND(alt), input)) alt = regnext(alt);
        if (alt && OP(alt) == BRANCH) {
          f.node = alt;
          scan = OPERAND(alt);
          break;
        }
      } else if (f.kind == Frame::kStar) {
        MemoFail(f.node, f.save + f.count);
        --f.count;
        if (nextRepeat(f)) {
          scan = f.node;
          break;
        }
      }
      stack.pop_back();
    }
  }

matched:
  // Success unwinds every call at once; the deepest sets a group bound first.
  m_pRegInput = input;
  for (std::size_t i = stack.size(); i-- > base;) {
    const Frame& f = stack[i];
    if (f.kind == Frame::kOpen) {
      if (!m_apStartp[f.group]) m_apStartp[f.group] = f.save;
    } else if (f.kind == Frame::kClose) {
      if (!m_apEndp[f.group]) m_apEndp[f.group] = f.save;
    }
  }
  stack.resize(base);
  return 1;
}

// ---------------------------------------------------------------- searches

inline void CRegExp::ReleaseTemp() {
  MatchState& m = *m_pMatch;
  if (m_bTempOwned) {
    if (m_pTempText.use_count() == 1) {
      // No copy shares the block: keep it for the next copy instead of freeing it.
      m.spareTemp = std::move(m_pTempText);
      m.spareTempCapacity = m.tempCapacity;
    }
    m_pTempText.reset();
    m_bTempOwned = 0;
  }
}

inline void CRegExp::ReleaseFound() {
  MatchState& m = *m_pMatch;
  if (m_pFoundText && m_pFoundText.use_count() == 1) {
    // No copy shares the block: keep it for the next match instead of freeing it.
    m.spareFound = std::move(m_pFoundText);
    m.spareCapacity = m.foundCapacity;
  }
  m_pFoundText.reset();
}

int CRegExp::SearchFrom(const char* text, const char* mustAt) {
  const int found = TryPositions(text, mustAt);
  // A search that fails has always tried some position last, which leaves every group
  // bound clear; positions skipped because they cannot match must not change that.
  if (found < 0) {
    ClearBounds(m_apStartp);
    ClearBounds(m_apEndp);
  }
  return found;
}

int CRegExp::TryPositions(const char* text, const char* mustAt) {
  MatchState& m = *m_pMatch;
  m_pRegBol = text;
  const Tables* t = m_pTables.get();
  const regexplan::SearchPlan* plan = t ? &t->plan : nullptr;
  const bool straight = plan && !plan->steps.empty();
  // One try at a place: the straight program when there is one, else the matcher.
  auto attempt = [&](const char* s) -> int {
    if (!straight) return regtry(s);
    ClearBounds(m_apStartp);
    ClearBounds(m_apEndp);
    const char* end = plan->Run(text, s, m_apStartp, m_apEndp);
    if (!end) return 0;
    m_apStartp[0] = s;
    m_apEndp[0] = m_pRegInput = end;
    return 1;
  };
  // After a failed try from a byte of the leading run: the place to go on from, past the
  // rest of the run (null when that leaves nothing to try).
  const unsigned char* leadRun = plan && plan->leadOp ? plan->leadRun : nullptr;
  auto pastRun = [&](const char* s) -> const char* {
    const auto* q = reinterpret_cast<const unsigned char*>(s);
    while (leadRun[*q]) ++q;
    if (plan->leadOp == PLUS) return reinterpret_cast<const char*>(q);  // q itself cannot begin a run
    // With a star the try covered q (no repeats) as well, the terminator included.
    return *q ? reinterpret_cast<const char*>(q + 1) : nullptr;
  };
  if (t && t->scanSteps) {
    // A straight program tried where the scan for its first bytes stops (the loop at the
    // end of the general search below, without the matcher's state).
    for (const char* s = text;;) {
      s = regexscan::Scan(s, plan->firstScan);
      if (!*s) return t->firstAtEnd && attempt(s) ? 0 : -1;
      if (attempt(s)) return 0;
      if (leadRun && leadRun[static_cast<unsigned char>(*s)]) {
        if (!(s = pastRun(s))) return -1;
      } else {
        ++s;
      }
    }
  }
  m.Reset();
  if (m_cRegAnchor) return attempt(text) ? 0 : -1;
  if (m_cRegStart) {
    // The text itself first, then each occurrence of the start character after it (of
    // the whole literal a match begins with, when it is longer: nothing else can match).
    if ((*text == m_cRegStart || !t) && attempt(text)) return 0;
    if (m.aborted || !*text) return -1;
    const bool literal = t && !t->startText.empty();
    for (const char* s = text + 1;; ++s) {
      s = literal ? std::strstr(s, t->startText.c_str()) : std::strchr(s, m_cRegStart);
      if (!s) return -1;
      if (attempt(s)) return 0;
      if (m.aborted) return -1;
    }
  }
  if (t && t->firstValid) {
    // Positions whose characters cannot begin a match are skipped without a try.
    const unsigned char* first = t->first;
    if (!plan->inner.empty()) {
      // Every match is a run of leadRun bytes followed by one of the inner literals, whose
      // first byte is not in the run: find the literals, and try from where the run before
      // each begins. The first try of a run speaks for every later start inside it.
      const unsigned char* run = plan->leadRun;
      const char* from = text;  // no match begins before this
      auto visit = [&](const char* q) {
        if (q > from && run[static_cast<unsigned char>(q[-1])]) {
          const char* start = q - 1;
          while (start > from && run[static_cast<unsigned char>(start[-1])]) --start;
          if (attempt(start)) return 1;
          if (m.aborted) return -1;
        }
        from = q + 1;
        return 0;
      };
      int r;
#if defined(__SSE2__)
      if (plan->innerProbes.count) {
        // When the one inner literal is the text that every match must hold, the look for
        // that text has found its first place already: none begins before it.
        const char* base = mustAt && t->innerIsMust ? mustAt : text;
        r = regexplan::EachProbedLiteral(base, plan->inner, plan->innerProbes, nullptr,
                                         [&](std::size_t at) { return visit(base + at); });
      } else
#endif
      if (plan->inner.size() == 1) {
        // One literal: the C library's search, which uses the widest vectors there are.
        r = regexplan::EachOccurrence(text, plan->inner, visit);
      } else {
        const auto* u = reinterpret_cast<const unsigned char*>(text);
        r = regexplan::EachLiteral(u, std::strlen(text), plan->inner, plan->innerFilter,
                                   [&](std::size_t at) { return visit(text + at); });
      }
      return r > 0 ? 0 : -1;
    }
    if (t->pairsValid && t->startFilter.valid) {
      // Every match begins with one of a very few literals: look for their first bytes.
      const int r = regexplan::EachLiteral(reinterpret_cast<const unsigned char*>(text), std::strlen(text), t->starts,
                                           t->startFilter, [&](std::size_t at) {
                                             if (attempt(text + at)) return 1;
                                             return m.aborted ? -1 : 0;
                                           });
      return r > 0 ? 0 : -1;
    }
    if (t->pairsValid) {
      // Every match begins with one of a few literals: look for their first character with
      // the one at the gap. The positions are tested independently of each other.
      const std::uint64_t* pairs = t->pairs.data();
      const auto* u = reinterpret_cast<const unsigned char*>(text);
      const std::size_t last = std::strlen(text);
      const std::size_t gap = t->pairGap;  // a literal at i ends at i + gap or later, before last
      // Whether one of those literals is there in full: only then is a try worth it.
      auto startsWithLiteral = [&](const char* at) {
        for (const std::string& lit : t->starts)
          if (lit[0] == at[0] && lit[1] == at[1] && std::strncmp(at + 2, lit.c_str() + 2, lit.size() - 2) == 0)
            return true;
        return false;
      };
      auto hit = [&](std::size_t i) {
        const unsigned pair = unsigned(u[i]) << 8 | u[i + gap];
        return (pairs[pair >> 6] >> (pair & 63)) & 1;
      };
      std::size_t i = 0;
#if defined(__SSE2__)
      if (t->pairsFew) {
        // Sixteen positions at a time: those whose character is one of the literals' first
        // characters and whose character at the gap is one of theirs there.
        __m128i firsts[4], seconds[4];
        for (int k = 0; k < 4; ++k) {
          firsts[k] = _mm_set1_epi8(t->pairFirst4[k]);
          seconds[k] = _mm_set1_epi8(t->pairGap4[k]);
        }
        // Tests the sixteen positions from 'at', less those below 'from'.
        auto block = [&](std::size_t at, std::size_t from) {
          const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(u + at));
          const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(u + at + gap));
          const __m128i inFirst = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(a, firsts[0]), _mm_cmpeq_epi8(a, firsts[1])),
                                               _mm_or_si128(_mm_cmpeq_epi8(a, firsts[2]), _mm_cmpeq_epi8(a, firsts[3])));
          const __m128i inSecond =
              _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(b, seconds[0]), _mm_cmpeq_epi8(b, seconds[1])),
                           _mm_or_si128(_mm_cmpeq_epi8(b, seconds[2]), _mm_cmpeq_epi8(b, seconds[3])));
          unsigned bits = unsigned(_mm_movemask_epi8(_mm_and_si128(inFirst, inSecond)));
          bits &= ~0u << (from - at);
          for (; bits; bits &= bits - 1) {
            const std::size_t pos = at + unsigned(std::countr_zero(bits));
            if (hit(pos) && startsWithLiteral(text + pos)) {
              if (attempt(text + pos)) return 1;
              if (m.aborted) return -1;
            }
          }
          return 0;
        };
        for (; i + gap + 15 < last; i += 16)
          if (const int r = block(i, i)) return r > 0 ? 0 : -1;
        if (i + gap < last && last >= gap + 16) {
          // The rest in one block that overlaps the last one, its tested places masked off.
          if (const int r = block(last - gap - 16, i)) return r > 0 ? 0 : -1;
          return -1;
        }
      }
#endif
      while (i + gap < last) {
        if (i + gap + 3 < last && !(hit(i) | hit(i + 1) | hit(i + 2) | hit(i + 3))) {
          i += 4;
          continue;
        }
        if (hit(i) && startsWithLiteral(text + i)) {
          if (attempt(text + i)) return 0;
          if (m.aborted) return -1;
        }
        ++i;
      }
      return -1;
    }
    const char* few = t->firstChars.empty() ? nullptr : t->firstChars.c_str();
    // Vector scans pay off where candidates are sparse; a dense set is met at once anyway.
    const bool ranges = plan->firstScan.ranges > 0 && plan->firstScan.members <= 16;
    for (const char* s = text;;) {
      if (ranges) {
        s = regexscan::Scan(s, plan->firstScan);
      } else if (few) {
        s += std::strcspn(s, few);
      } else {
        while (*s && !first[static_cast<unsigned char>(*s)]) ++s;
      }
      if (!*s) return t->firstAtEnd && attempt(s) ? 0 : -1;
      if (attempt(s)) return 0;
      if (m.aborted) return -1;
      if (leadRun && leadRun[static_cast<unsigned char>(*s)]) {
        if (!(s = pastRun(s))) return -1;
      } else {
        ++s;
      }
    }
  }
  const char* s = text;
  for (;;) {
    if (attempt(s)) return 0;
    if (m.aborted) return -1;
    if (leadRun && leadRun[static_cast<unsigned char>(*s)]) {
      if (!(s = pastRun(s))) return -1;
    } else if (*s++ == '\0') {
      return -1;
    }
  }
}

const char* CRegExp::FindCandidate(const char* from, const char* to, int upper) const {
  const Tables* t = m_pTables.get();
  if (!m_bCompiled || !t || !from || !to || to <= from) return from;
  if (upper) return t->lineSetUpper.members ? regexscan::ScanBounded(from, to, t->lineSetUpper) : from;
  if (!t->lineLiteral.empty()) {
    const void* at = memmem(from, std::size_t(to - from), t->lineLiteral.data(), t->lineLiteral.size());
    return at ? static_cast<const char*>(at) : to;
  }
  return t->lineSet.members ? regexscan::ScanBounded(from, to, t->lineSet) : from;
}

int CRegExp::RegFind(const char* text) {
  if (!text) return -1;
  MatchState& m = *m_pMatch;
  ReleaseFound();
  if (!m_bCompiled) return -1;
  const char* mustAt = m_pRegMust ? std::strstr(text, m_pRegMust) : nullptr;
  if (m_pRegMust && !mustAt) return -1;
  const Tables* t = m_pTables.get();
  if (t && !t->plan.Admits(text)) {
    // No match can be in the text: leave what a search that fails leaves.
    m_pRegBol = text;
    ClearBounds(m_apStartp);
    ClearBounds(m_apEndp);
    return -1;
  }
  const regexplan::SearchPlan::Shape shape = t ? t->plan.shape : regexplan::SearchPlan::kGeneral;
  if (shape == regexplan::SearchPlan::kAnchoredSteps || shape == regexplan::SearchPlan::kOneLiteral ||
      shape == regexplan::SearchPlan::kLiteralChoice) {
    // The whole search is one straight try, one look for the literal, or one look for
    // the nearest of the literals (where the first of them in order to match is the match).
    m_pRegBol = text;
    ClearBounds(m_apStartp);
    ClearBounds(m_apEndp);
    const bool groups = t->plan.groups;  // without groups a failed try leaves the bounds clear
    const char* start = text;
    const char* end = nullptr;
    if (shape == regexplan::SearchPlan::kAnchoredSteps) {
      end = t->plan.Run(text, text, m_apStartp, m_apEndp);
    } else if (shape == regexplan::SearchPlan::kLiteralChoice) {
#if defined(__SSE2__)
      if (t->plan.probes.count) {
        if (const std::ptrdiff_t at = FirstProbedLiteral(text, t->plan); at >= 0) {
          start = text + at;
          end = t->plan.Run(text, start, m_apStartp, m_apEndp);
        }
      } else
#endif
      regexplan::EachLiteral(reinterpret_cast<const unsigned char*>(text), std::strlen(text), t->plan.lits,
                             t->plan.choiceFilter, [&](std::size_t at) {
                               start = text + at;
                               end = t->plan.Run(text, start, m_apStartp, m_apEndp);
                               return 1;
                             });
    } else {
      const regexplan::Step& first = t->plan.steps[0];
      const char* lit = reinterpret_cast<const char*>(first.text);
#if defined(__SSE2__)
      if (first.len > 1 && t->plan.probes.count) {
        const std::ptrdiff_t at = FirstProbedLiteral(text, t->plan);
        start = at >= 0 ? text + at : nullptr;
      } else
#endif
      start = first.len == 1 ? std::strchr(text, lit[0]) : std::strstr(text, lit);
      if (start) end = start + first.len;
    }
    if (!end) {
      if (groups) {
        ClearBounds(m_apStartp);
        ClearBounds(m_apEndp);
      }
      return -1;
    }
    m_apStartp[0] = start;
    m_apEndp[0] = m_pRegInput = end;
  } else if (SearchFrom(text, mustAt) < 0) {
    return -1;
  }
  const std::size_t len = std::size_t(m_apEndp[0] - m_apStartp[0]);
  if (!m.spareFound || m.spareCapacity < len + 1) {
    const std::size_t capacity = std::max<std::size_t>(len + 1, 64);
    char* block = static_cast<char*>(std::malloc(capacity));
    if (!block) AfxThrowMemoryException();
    m.spareFound = std::shared_ptr<char>(block, std::free);
    m.spareCapacity = capacity;
  }
  char* found = m.spareFound.get();
  std::memcpy(found, m_apStartp[0], len);
  found[len] = '\0';
  m_pFoundText = std::move(m.spareFound);
  m.foundCapacity = m.spareCapacity;
  return int(m_apStartp[0] - text);
}

int CRegExp::CreateTempString(const char* text, int& start, int& end, int upper) {
  MatchState& m = *m_pMatch;
  ReleaseTemp();
  if (!text || !*text) return 0;
  if (start < 0) start = 0;
  const std::size_t length = std::strlen(text);
  const int last = length > 0x7FFFFFFF ? 0x7FFFFFFE : int(length) - 1;
  if (end > last) end = last;
  if (end < start) return 0;
  const std::size_t n = std::size_t(end) - std::size_t(start) + 1;
  if (!m.spareTemp || m.spareTempCapacity < n + 1) {
    const std::size_t capacity = std::max<std::size_t>(n + 1, 256);
    char* block = static_cast<char*>(std::malloc(capacity));
    if (!block) AfxThrowMemoryException();
    m.spareTemp = std::shared_ptr<char>(block, std::free);
    m.spareTempCapacity = capacity;
  }
  char* copy = m.spareTemp.get();
  if (upper) {
    UpperCopy(copy, text + start, n);
  } else {
    std::memmove(copy, text + start, n);  // the text may lie in the block being reused
  }
  copy[n] = '\0';
  m_pTempText = std::move(m.spareTemp);
  m.tempCapacity = m.spareTempCapacity;
  m_bTempOwned = 1;
  return 1;
}

int CRegExp::RegFind(const char* text, int start, int end, int upper) {
#if defined(__SSE2__)
  const Tables* t = m_pTables.get();
  if (upper && text && *text && m_bCompiled && t && !m_pRegMust && t->plan.caseProbes.count) {
    // A search for literals in an upper-cased copy: look for them in the text as it is,
    // through the upper-case table, and make the copy only when one of them begins in the
    // stretch. A stretch without any fails as the search of its copy would, without it.
    const std::size_t length = std::strlen(text);
    const std::size_t from = std::size_t(std::max(start, 0));
    if (length <= 0x7FFFFFFF && end >= 0 && from <= std::min(std::size_t(end), length - 1)) {
      const std::size_t span = std::min(std::size_t(end), length - 1) - from;  // last place in the stretch
      const int r = regexplan::EachProbedLiteral(text + from, t->plan.lits, t->plan.caseProbes, UpperTable(),
                                                 [&](std::size_t at) { return at <= span ? 1 : -1; });
      if (r != 1) {
        ReleaseTemp();
        ReleaseFound();
        m_pRegBol = nullptr;
        ClearBounds(m_apStartp);
        ClearBounds(m_apEndp);
        return -1;
      }
    }
  }
#endif
  if (!CreateTempString(text, start, end, upper)) return -1;
  const int offset = RegFind(m_pTempText.get());
  return offset >= 0 ? offset + start : offset;
}

int CRegExp::ReverseRegFind(const char* text, int start, int end, int upper) {
  if (!m_bCompiled) return -1;
  if (!CreateTempString(text, start, end, upper)) return -1;
  char* temp = m_pTempText.get();
  const int n = end - start + 1;
  int found = -1;
  int first = n / 2;
  int last = n - 1;
  int prevFirst = 0;
  char kept = temp[last + 1];
  const char* savedStart[NSUBEXP] = {};
  const char* savedEnd[NSUBEXP] = {};
  while (last >= first && last > found) {
    const int offset = RegFind(temp + first);
    if (offset < 0) {
      if (first <= found + 1 || prevFirst < 0) break;
      temp[last + 1] = kept;
      last = first - 1;  // at least -1, so last + 1 stays inside the copy
      kept = temp[last + 1];
      temp[last + 1] = '\0';
      if (found < 0) {
        first = prevFirst;
        prevFirst = -1;
      } else {
        first = std::max(found + 1, (prevFirst + last) / 2);
      }
    } else {
      found = offset + first;
      std::copy(std::begin(m_apStartp), std::end(m_apStartp), savedStart);
      std::copy(std::begin(m_apEndp), std::end(m_apEndp), savedEnd);
      prevFirst = first;
      first = std::max(found + 1, (prevFirst + last) / 2);
    }
  }
  temp[last + 1] = kept;
  if (found >= 0) {
    std::copy(std::begin(savedStart), std::end(savedStart), m_apStartp);
    std::copy(std::begin(savedEnd), std::end(savedEnd), m_apEndp);
    found += start;
  }
  return found;
}

// ---------------------------------------------------------------- results

int CRegExp::GetFindLen() const {
  return m_pFoundText ? int(std::strlen(m_pFoundText.get())) : 0;
}

void CRegExp::GetFindStartStop(const char*& start, const char*& stop) const {
  start = m_apStartp[0];
  stop = m_apEndp[0];
}

namespace {

// Where group text lies in the found text: its offset from the start of the whole match.
// Bounds recorded by a different search than the found text (after ReverseRegFind) are
// cut to the found text rather than read past it.
bool GroupSpan(const char* found, const char* const* startp, const char* const* endp, int group,
               std::size_t& offset, std::size_t& len) {
  if (!found || !startp[group] || !endp[group] || !startp[0]) return false;
  const auto s = reinterpret_cast<std::uintptr_t>(startp[group]);
  const auto e = reinterpret_cast<std::uintptr_t>(endp[group]);
  const auto s0 = reinterpret_cast<std::uintptr_t>(startp[0]);
  if (e <= s || s < s0) return false;
  const std::size_t have = std::strlen(found);
  offset = std::size_t(s - s0);
  if (offset >= have) return false;
  len = std::min<std::size_t>(std::size_t(e - s), have - offset);
  return true;
}

}  // namespace

char* CRegExp::GetTaggedString(int group) const {
  if (group < 0 || group >= NSUBEXP) return nullptr;
  std::size_t offset = 0, len = 0;
  if (!GroupSpan(m_pFoundText.get(), m_apStartp, m_apEndp, group, offset, len)) return nullptr;
  char* text = static_cast<char*>(std::malloc(len + 1));
  if (!text) AfxThrowMemoryException();
  std::memcpy(text, m_pFoundText.get() + offset, len);
  text[len] = '\0';
  return text;
}

char* CRegExp::GetReplaceString(const char* replacement) const {
  if (!replacement || !m_pFoundText) return nullptr;
  const char* found = m_pFoundText.get();
  char* out = nullptr;
  std::size_t total = 0;
  // Two passes over the template: the first measures, the second copies.
  for (int pass = 0; pass < 2; ++pass) {
    std::size_t at = 0;
    const char* src = replacement;
    char c;
    while ((c = *src++) != '\0') {
      int no;
      if (c == '&')
        no = 0;
      else if (c == '\\' && *src >= '0' && *src <= '9')
        no = *src++ - '0';
      else
        no = -1;
      if (no < 0) {
        if (c == '\\' && (*src == '\\' || *src == '&')) c = *src++;
        if (pass) out[at] = c;
        ++at;
      } else {
        std::size_t offset = 0, len = 0;
        if (GroupSpan(found, m_apStartp, m_apEndp, no, offset, len)) {
          if (pass) std::memcpy(out + at, found + offset, len);
          at += len;
        }
      }
    }
    if (pass == 0) {
      total = at;
      out = static_cast<char*>(std::malloc(total + 1));
      if (!out) AfxThrowMemoryException();
    } else {
      out[at] = '\0';
    }
  }
  return out;
}

}  // namespace zev
