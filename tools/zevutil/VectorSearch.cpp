// Local alignment of vector sequences against a read. A striped, saturating 16-bit
// Smith-Waterman pass (eight lanes) finds the best score and where it ends; a second
// pass over the reversed prefixes finds where it begins; a plain affine alignment of
// that box gives the rows. Hits are masked in the read and searched again.
#include "VectorSearch.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <fstream>
#include <iterator>

#include "Commands.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace zevcli {

// ---- letters ----

unsigned char IubBits(char letter) {
  switch (letter) {
    case 'A': case 'a': return 1;
    case 'C': case 'c': return 2;
    case 'G': case 'g': return 4;
    case 'T': case 't': case 'U': case 'u': return 8;
    case 'M': case 'm': return 1 | 2;
    case 'R': case 'r': return 1 | 4;
    case 'W': case 'w': return 1 | 8;
    case 'S': case 's': return 2 | 4;
    case 'Y': case 'y': return 2 | 8;
    case 'K': case 'k': return 4 | 8;
    case 'V': case 'v': return 1 | 2 | 4;
    case 'H': case 'h': return 1 | 2 | 8;
    case 'D': case 'd': return 1 | 4 | 8;
    case 'B': case 'b': return 2 | 4 | 8;
    case 'N': case 'n': return 15;
    default: return 0;
  }
}

namespace {

char Complement(char c) {
  static const std::string from = "ACGTUMRWSYKVHDBNacgtumrwsykvhdbn";
  static const std::string to = "TGCAAKYWSRMBDHVNtgcaakywsrmbdhvn";
  std::size_t at = from.find(c);
  return at == std::string::npos ? c : to[at];
}

std::string ReverseComplement(const std::string& s) {
  std::string out(s.rbegin(), s.rend());
  for (char& c : out) c = Complement(c);
  return out;
}

bool SingleBase(unsigned char bits) { return bits == 1 || bits == 2 || bits == 4 || bits == 8; }

// Score of two 4-bit codes: a match for the same plain base, 0 for IUB codes that
// share a base, a mismatch otherwise (and for the 0 of a masked or unknown letter).
int PairScore(unsigned char a, unsigned char b, const AlignmentScores& s) {
  if (a == 0 || b == 0 || (a & b) == 0) return s.mismatch;
  return a == b && SingleBase(a) ? s.match : 0;
}

std::vector<unsigned char> Codes(const std::string& s) {
  std::vector<unsigned char> out(s.size());
  for (std::size_t i = 0; i < s.size(); ++i) out[i] = IubBits(s[i]);
  return out;
}

constexpr int kMinusInfinity = INT_MIN / 4;

LocalScore PlainLocal(const std::vector<unsigned char>& q, const std::vector<unsigned char>& d,
                      const AlignmentScores& s) {
  LocalScore best;
  const int open = s.gapOpen + s.gapExtend, ext = s.gapExtend;
  std::vector<int> h(q.size() + 1, 0), e(q.size() + 1, kMinusInfinity);
  for (std::size_t j = 0; j < d.size(); ++j) {
    int diag = 0, f = kMinusInfinity, left = 0;  // left: H of the cell above in this column
    for (std::size_t i = 1; i <= q.size(); ++i) {
      // e: gap in the read (vector letters against '-'), carried along a row of q.
      e[i] = std::max(e[i] - ext, h[i] - open);
      f = std::max(f - ext, left - open);
      int v = std::max({0, diag + PairScore(q[i - 1], d[j], s), e[i], f});
      diag = h[i];
      h[i] = v;
      left = v;
      if (v > best.score) best = {v, long(i) - 1, long(j)};
    }
  }
  return best;
}

#if defined(__SSE2__)
// A register's worth of lanes, wrapped so that containers keep its alignment.
struct Lanes {
  __m128i v;
};

// Striped Smith-Waterman (Farrar) over eight 16-bit lanes; the read is the query.
LocalScore StripedLocal(const std::vector<unsigned char>& q, const std::vector<unsigned char>& d,
                        const AlignmentScores& s) {
  const std::size_t m = q.size();
  if (m == 0 || d.empty()) return {};
  const std::size_t seg = (m + 7) / 8;
  std::vector<Lanes> profile(16 * seg);
  for (unsigned c = 0; c < 16; ++c)
    for (std::size_t k = 0; k < seg; ++k) {
      alignas(16) std::int16_t lanes[8];
      for (std::size_t l = 0; l < 8; ++l) {
        std::size_t i = k + l * seg;
        lanes[l] = std::int16_t(i < m ? PairScore(q[i], static_cast<unsigned char>(c), s) : s.mismatch);
      }
      profile[c * seg + k].v = _mm_load_si128(reinterpret_cast<const __m128i*>(lanes));
    }
  const __m128i zero = _mm_setzero_si128();
  const __m128i low = _mm_set1_epi16(SHRT_MIN);
  const __m128i lowLane0 = _mm_set_epi16(0, 0, 0, 0, 0, 0, 0, SHRT_MIN);
  const __m128i gapO = _mm_set1_epi16(std::int16_t(s.gapOpen + s.gapExtend));
  const __m128i gapE = _mm_set1_epi16(std::int16_t(s.gapExtend));
  std::vector<Lanes> hStore(seg, {zero}), hLoad(seg, {zero}), e(seg, {low});
  auto horizontalMax = [](__m128i v) {
    v = _mm_max_epi16(v, _mm_srli_si128(v, 8));
    v = _mm_max_epi16(v, _mm_srli_si128(v, 4));
    v = _mm_max_epi16(v, _mm_srli_si128(v, 2));
    return int(std::int16_t(_mm_extract_epi16(v, 0)));
  };
  LocalScore best;
  for (std::size_t j = 0; j < d.size(); ++j) {
    const Lanes* p = &profile[std::size_t(d[j] & 15) * seg];
    __m128i vF = low, vMax = zero;
    __m128i vH = _mm_slli_si128(hStore[seg - 1].v, 2);
    std::swap(hLoad, hStore);
    for (std::size_t k = 0; k < seg; ++k) {
      vH = _mm_max_epi16(_mm_adds_epi16(vH, p[k].v), zero);
      __m128i vE = e[k].v;
      vH = _mm_max_epi16(vH, vE);
      vH = _mm_max_epi16(vH, vF);
      vMax = _mm_max_epi16(vMax, vH);
      hStore[k].v = vH;
      vH = _mm_subs_epi16(vH, gapO);
      e[k].v = _mm_max_epi16(_mm_subs_epi16(vE, gapE), vH);
      vF = _mm_max_epi16(_mm_subs_epi16(vF, gapE), vH);
      vH = hLoad[k].v;
    }
    // The vertical gaps that run from one lane into the next, put right lazily.
    vF = _mm_or_si128(_mm_slli_si128(vF, 2), lowLane0);
    std::size_t k = 0;
    for (int wraps = 0; wraps < 8;) {
      __m128i h = hStore[k].v;
      if (!_mm_movemask_epi8(_mm_cmpgt_epi16(vF, _mm_subs_epi16(h, gapO)))) break;
      h = _mm_max_epi16(h, vF);
      hStore[k].v = h;
      vMax = _mm_max_epi16(vMax, h);
      e[k].v = _mm_max_epi16(e[k].v, _mm_subs_epi16(h, gapO));
      vF = _mm_subs_epi16(vF, gapE);
      if (++k == seg) {
        k = 0;
        ++wraps;
        vF = _mm_or_si128(_mm_slli_si128(vF, 2), lowLane0);
      }
    }
    int colMax = horizontalMax(vMax);
    if (colMax > best.score) {
      best.score = colMax;
      best.otherEnd = long(j);
      best.readEnd = -1;
      for (std::size_t kk = 0; kk < seg; ++kk) {
        alignas(16) std::int16_t lanes[8];
        _mm_store_si128(reinterpret_cast<__m128i*>(lanes), hStore[kk].v);
        for (std::size_t l = 0; l < 8; ++l) {
          std::size_t i = kk + l * seg;
          if (i < m && lanes[l] == colMax && (best.readEnd < 0 || long(i) < best.readEnd)) best.readEnd = long(i);
        }
      }
    }
  }
  return best;
}
#endif

LocalScore FastLocal(const std::vector<unsigned char>& q, const std::vector<unsigned char>& d,
                     const AlignmentScores& s) {
#if defined(__SSE2__)
  // Sixteen bits hold any score the read can reach.
  if (std::int64_t(q.size()) * std::max(s.match, 0) < 30000 && s.mismatch > -30000 && s.gapOpen + s.gapExtend < 30000)
    return StripedLocal(q, d, s);
#endif
  return PlainLocal(q, d, s);
}

// Global affine alignment of two stretches that the local hit spans end to end.
struct Rows {
  std::string a, b, marks;
  int score = 0;
};

Rows AlignBox(const std::string& a, const std::string& b, const AlignmentScores& s) {
  const std::size_t n = a.size(), m = b.size(), w = m + 1;
  const int open = s.gapOpen + s.gapExtend, ext = s.gapExtend;
  std::vector<int> M((n + 1) * w, kMinusInfinity), X((n + 1) * w, kMinusInfinity), Y((n + 1) * w, kMinusInfinity);
  // X: a letter of a against a gap; Y: a gap against a letter of b.
  M[0] = 0;
  for (std::size_t i = 1; i <= n; ++i) X[i * w] = -(s.gapOpen + int(i) * ext);
  for (std::size_t j = 1; j <= m; ++j) Y[j] = -(s.gapOpen + int(j) * ext);
  std::vector<unsigned char> ca = Codes(a), cb = Codes(b);
  for (std::size_t i = 1; i <= n; ++i)
    for (std::size_t j = 1; j <= m; ++j) {
      std::size_t c = i * w + j, dg = (i - 1) * w + j - 1, up = (i - 1) * w + j, lf = i * w + j - 1;
      M[c] = std::max({M[dg], X[dg], Y[dg]}) + PairScore(ca[i - 1], cb[j - 1], s);
      X[c] = std::max({M[up] - open, X[up] - ext, Y[up] - open});
      Y[c] = std::max({M[lf] - open, Y[lf] - ext, X[lf] - open});
    }
  Rows r;
  std::size_t i = n, j = m, c = n * w + m;
  int state = M[c] >= X[c] && M[c] >= Y[c] ? 0 : X[c] >= Y[c] ? 1 : 2;
  r.score = std::max({M[c], X[c], Y[c]});
  while (i > 0 || j > 0) {
    c = i * w + j;
    if (state == 0 && i > 0 && j > 0) {
      std::size_t dg = (i - 1) * w + j - 1;
      int want = M[c] - PairScore(ca[i - 1], cb[j - 1], s);
      r.a += a[i - 1];
      r.b += b[j - 1];
      unsigned char x = ca[i - 1], y = cb[j - 1];
      r.marks += x && y && (x & y) ? (x == y && SingleBase(x) ? '|' : ':') : ' ';
      state = M[dg] == want ? 0 : X[dg] == want ? 1 : 2;
      --i;
      --j;
    } else if (state == 1 && i > 0) {
      std::size_t up = (i - 1) * w + j;
      r.a += a[i - 1];
      r.b += '-';
      r.marks += ' ';
      state = X[c] == X[up] - ext ? 1 : M[up] - open == X[c] ? 0 : 2;
      --i;
    } else if (j > 0) {
      std::size_t lf = i * w + j - 1;
      r.a += '-';
      r.b += b[j - 1];
      r.marks += ' ';
      state = Y[c] == Y[lf] - ext ? 2 : M[lf] - open == Y[c] ? 0 : 1;
      --j;
    } else {
      r.a += a[--i];
      r.b += '-';
      r.marks += ' ';
    }
  }
  std::reverse(r.a.begin(), r.a.end());
  std::reverse(r.b.begin(), r.b.end());
  std::reverse(r.marks.begin(), r.marks.end());
  return r;
}

// The best hit of the vector on the query whose masked letters are 0, or score 0.
VectorHit BestHit(const std::string& query, const std::vector<unsigned char>& q, const std::string& vector,
                  const std::vector<unsigned char>& d, const AlignmentScores& s) {
  VectorHit hit;
  LocalScore end = FastLocal(q, d, s);
  if (end.score <= 0 || end.readEnd < 0) return hit;
  // The start: the best alignment of the reversed prefixes, over as much of the vector
  // as an alignment of that score can span.
  long qLen = end.readEnd + 1;
  long span = qLen + (std::max(s.match, 1) * qLen - end.score) / std::max(s.gapExtend, 1) + 1;
  long dLow = std::max(0L, end.otherEnd + 1 - span);
  std::vector<unsigned char> rq(q.rend() - qLen, q.rend());
  std::vector<unsigned char> rd(d.rend() - (end.otherEnd + 1), d.rend() - dLow);
  LocalScore start = FastLocal(rq, rd, s);
  hit.readBegin = end.readEnd - start.readEnd;
  hit.readEnd = end.readEnd;
  hit.otherBegin = end.otherEnd - start.otherEnd;
  hit.otherEnd = end.otherEnd;
  Rows rows = AlignBox(query.substr(std::size_t(hit.readBegin), std::size_t(hit.readEnd - hit.readBegin + 1)),
                       vector.substr(std::size_t(hit.otherBegin), std::size_t(hit.otherEnd - hit.otherBegin + 1)), s);
  hit.score = end.score;
  hit.readRow = rows.a;
  hit.otherRow = rows.b;
  hit.marks = rows.marks;
  return hit;
}

}  // namespace

LocalScore BestLocalScorePlain(const std::string& read, const std::string& other, const AlignmentScores& scores) {
  return PlainLocal(Codes(read), Codes(other), scores);
}

LocalScore BestLocalScore(const std::string& read, const std::string& other, const AlignmentScores& scores) {
  return FastLocal(Codes(read), Codes(other), scores);
}

// ---- FASTA ----

std::vector<VectorRecord> ParseFasta(const std::string& text, const std::string& source) {
  std::vector<VectorRecord> out;
  std::size_t pos = 0, lineNo = 0;
  bool any = false;
  auto finish = [&] {
    if (!out.empty() && out.back().letters.empty())
      throw CommandError("'" + source + "': the sequence '" + out.back().name + "' holds no bases");
  };
  while (pos < text.size()) {
    std::size_t nl = text.find('\n', pos);
    std::string line = text.substr(pos, nl == std::string::npos ? std::string::npos : nl - pos);
    pos = nl == std::string::npos ? text.size() : nl + 1;
    ++lineNo;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.find_first_not_of(" \t") == std::string::npos) continue;
    if (line[0] == ';') continue;
    if (line[0] == '>') {
      finish();
      std::string title = line.substr(1);
      std::size_t b = title.find_first_not_of(" \t");
      title = b == std::string::npos ? "" : title.substr(b);
      std::size_t blank = title.find_first_of(" \t");
      VectorRecord r;
      r.name = title.substr(0, blank);
      if (r.name.empty()) r.name = "sequence " + std::to_string(out.size() + 1);
      out.push_back(r);
      any = true;
      continue;
    }
    if (!any) throw CommandError("'" + source + "' is not FASTA: its first line does not begin with '>'");
    for (char c : line) {
      if (c == ' ' || c == '\t' || c == '-' || c == '*' || (c >= '0' && c <= '9')) continue;
      if (!IubBits(c)) {
        std::string shown = (unsigned char)c >= 0x20 && (unsigned char)c < 0x7F ? std::string(1, c) : "\\x" + std::to_string((unsigned char)c);
        throw CommandError("'" + source + "' line " + std::to_string(lineNo) + ": '" + shown + "' is not a base letter");
      }
      char u = char(c >= 'a' && c <= 'z' ? c - 32 : c);
      out.back().letters += u == 'U' ? 'T' : u;
    }
  }
  if (!any) throw CommandError("'" + source + "' holds no sequence: it is empty");
  finish();
  return out;
}

std::vector<VectorRecord> ReadVectorFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw CommandError("cannot read '" + path + "'");
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad()) throw CommandError("cannot read '" + path + "'");
  return ParseFasta(text, path);
}

// ---- hits ----

std::vector<VectorHit> FindVectorHits(const std::string& read, const VectorRecord& vector,
                                      const VectorSearchOptions& options) {
  std::vector<VectorHit> hits;
  const long m = long(read.size());
  if (m == 0 || vector.letters.empty()) return hits;
  const std::string reverse = ReverseComplement(read);
  const std::vector<unsigned char> d = Codes(vector.letters);
  std::vector<unsigned char> forwardCodes = Codes(read), reverseCodes = Codes(reverse);
  bool strandDone[2] = {false, !options.bothStrands};
  while (int(hits.size()) < options.maxHitsPerVector && !(strandDone[0] && strandDone[1])) {
    VectorHit best;
    for (int strand = 0; strand < 2; ++strand) {
      if (strandDone[strand]) continue;
      VectorHit h = strand == 0 ? BestHit(read, forwardCodes, vector.letters, d, options.scores)
                                : BestHit(reverse, reverseCodes, vector.letters, d, options.scores);
      if (h.score < options.minScore) {
        strandDone[strand] = true;
        continue;
      }
      if (strand == 1) {
        // Back to the read's own orientation: the vector's reverse complement.
        long L = long(vector.letters.size());
        h.reverse = true;
        long rb = m - 1 - h.readEnd, re = m - 1 - h.readBegin;
        long ob = L - 1 - h.otherEnd, oe = L - 1 - h.otherBegin;
        h.readBegin = rb, h.readEnd = re, h.otherBegin = ob, h.otherEnd = oe;
        h.readRow = ReverseComplement(h.readRow);
        h.otherRow = ReverseComplement(h.otherRow);
        std::reverse(h.marks.begin(), h.marks.end());
      }
      if (h.score > best.score) best = h;
    }
    if (best.score < options.minScore) break;
    // Mask the hit on both strands so the next round finds the next one.
    for (long i = best.readBegin; i <= best.readEnd; ++i) {
      forwardCodes[std::size_t(i)] = 0;
      reverseCodes[std::size_t(m - 1 - i)] = 0;
    }
    hits.push_back(best);
  }
  return hits;
}

std::vector<zev::ContaminantMatch> FindContaminants(const std::string& read, const std::vector<VectorRecord>& vectors,
                                                    const VectorSearchOptions& options, long keepFirst, long keepLast) {
  std::vector<zev::ContaminantMatch> out;
  for (const VectorRecord& v : vectors)
    for (const VectorHit& h : FindVectorHits(read, v, options)) {
      zev::ContaminantMatch c;
      c.m_strName = (h.reverse ? v.name + " (reverse complement)" : v.name).c_str();
      c.m_dScore = h.score;
      c.m_lSeqBegin = zev::LONG(h.readBegin);
      c.m_lSeqEnd = zev::LONG(h.readEnd);
      c.m_lOtherBegin = zev::LONG(h.otherBegin);
      c.m_lOtherEnd = zev::LONG(h.otherEnd);
      c.m_strSeqAlignment = h.readRow.c_str();
      c.m_strOtherAlignment = h.otherRow.c_str();
      c.m_strAlignmentMarks = h.marks.c_str();
      if (h.readBegin <= keepFirst + options.endSlack) {
        c.m_lType = zev::ContaminantMatch::typeLeft;
        c.m_lTrimOffset = zev::LONG(h.readEnd - h.readBegin + 1);
      } else if (h.readEnd >= keepLast - options.endSlack) {
        c.m_lType = zev::ContaminantMatch::typeRight;
        c.m_lTrimOffset = 0;
      } else {
        c.m_lType = zev::ContaminantMatch::typeInternal;
      }
      out.push_back(c);
    }
  std::stable_sort(out.begin(), out.end(), [](const zev::ContaminantMatch& a, const zev::ContaminantMatch& b) {
    return a.m_lSeqBegin < b.m_lSeqBegin;
  });
  return out;
}

int AddVectorMatches(zev::CBaseSequence& sequence, const std::vector<VectorRecord>& vectors,
                     const VectorSearchOptions& options) {
  zev::CString text;
  sequence.GetBaseSequenceText(text);
  std::string read = text.str();
  long keepFirst = 0, keepLast = long(read.size()) - 1;
  const zev::QualityTrimRange& q = sequence.GetQualityTrimRange();
  if (q.IsPresent() && !q.IsApplied()) {
    int first = sequence.GetIndexFromBaseNumber(q.m_lBegin), last = sequence.GetIndexFromBaseNumber(q.m_lEnd);
    if (first >= 0 && last >= first) {
      keepFirst = first;
      keepLast = last;
    }
  }
  std::vector<zev::ContaminantMatch> found = FindContaminants(read, vectors, options, keepFirst, keepLast);
  sequence.GetContaminantMatches().Reset(zev::LONG(std::max<std::size_t>(2, found.size())));
  for (const auto& m : found) sequence.AddContaminantMatch(m);
  return int(found.size());
}

}  // namespace zevcli
