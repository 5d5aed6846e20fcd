// The trim range, contaminant match and match array: shifting, the score-ordered
// insert, the two sorts and the stored forms.
#include "zevutil/ContaminantMatch.h"

#include <algorithm>
#include <cstring>

namespace zev {

namespace {
// Coordinates wrap as the old 32-bit arithmetic did, instead of overflowing.
LONG AddWrap(LONG a, LONG b) { return LONG(DWORD(a) + DWORD(b)); }
}  // namespace

// ---- QualityTrimRange ----

void QualityTrimRange::Shift(LONG delta) {
  m_lBegin = AddWrap(m_lBegin, delta);
  m_lEnd = AddWrap(m_lEnd, delta);
  if (m_lBegin < 0 && m_lEnd < 0)
    m_lState = stateNone;
  else if (m_lBegin < 0)
    m_lBegin = 0;
}

void QualityTrimRange::SetApplied(bool applied) {
  if (m_lState == stateNone) return;
  if (applied && m_lState == statePresent)
    m_lState = stateApplied;
  else if (!applied && m_lState == stateApplied)
    m_lState = statePresent;
}

// ---- ContaminantMatch ----

void ContaminantMatch::Shift(LONG delta) {
  m_lSeqBegin = AddWrap(m_lSeqBegin, delta);
  m_lSeqEnd = AddWrap(m_lSeqEnd, delta);
  if (m_lSeqBegin < 0 && m_lSeqEnd < 0) {
    m_lType = typeVoid;
    return;
  }
  if (m_lSeqBegin < 0) {
    if (m_lTrimOffset >= 0) {
      m_lTrimOffset = AddWrap(m_lTrimOffset, m_lSeqBegin);
      if (m_lTrimOffset < 0) m_lTrimOffset = 0;
    }
    m_lSeqBegin = 0;
  }
}

void ContaminantMatch::Serialize(CArchive& ar) {
  if (ar.IsStoring()) {
    ar << GetLatestVersion() << SHORT(m_lType) << m_strName << m_dScore << m_lSeqBegin << m_lSeqEnd
       << m_lOtherBegin << m_lOtherEnd << m_strSeqAlignment << m_strOtherAlignment << m_strAlignmentMarks
       << SHORT(m_bEnabled ? 1 : 0) << m_lTrimOffset;
    return;
  }
  SHORT version = 0;
  ar >> version;
  // "ContaminantMatch::Serialize: invalid version." names this case; it is not raised.
  if (version > GetLatestVersion()) return;
  SHORT type = 0;
  SHORT enabled = 0;
  ar >> type >> m_strName >> m_dScore >> m_lSeqBegin >> m_lSeqEnd >> m_lOtherBegin >> m_lOtherEnd >>
      m_strSeqAlignment >> m_strOtherAlignment >> m_strAlignmentMarks >> enabled;
  m_lType = type;
  m_bEnabled = enabled != 0;
  if (version >= 1)
    ar >> m_lTrimOffset;
  else
    m_lTrimOffset = -1;
}

// ---- ContaminantMatchArray ----

ContaminantMatchArray::ContaminantMatchArray(LONG limit) : m_lLimit(limit) {}

ContaminantMatchArray::ContaminantMatchArray(const ContaminantMatchArray& other) : m_lLimit(other.m_lLimit) {
  Copy(other);
}

ContaminantMatchArray& ContaminantMatchArray::operator=(const ContaminantMatchArray& other) {
  if (this != &other) Copy(other);
  return *this;
}

ContaminantMatchArray::~ContaminantMatchArray() { DeleteAll(); }

void ContaminantMatchArray::DeleteAll() {
  for (ContaminantMatch* m : m_Matches) delete m;
  m_Matches.RemoveAll();
}

ContaminantMatch* ContaminantMatchArray::At(LONG index) const {
  // The array takes indices unchecked; one outside it gives null instead of a stray read.
  if (index < 0 || index >= m_Matches.GetSize()) return nullptr;
  return m_Matches[index];
}

void ContaminantMatchArray::Insert(const ContaminantMatch& match) {
  const INT_PTR count = m_Matches.GetSize();
  if (match.m_dScore < m_dLowestScore) {
    if (count < m_lLimit) {
      m_Matches.Add(new ContaminantMatch(match));
      m_dLowestScore = match.m_dScore;
    }
    return;
  }
  INT_PTR at = 0;
  while (at < count && m_Matches[at]->m_dScore > match.m_dScore) ++at;
  if (at == count) {
    if (count >= m_lLimit) return;
    m_Matches.Add(new ContaminantMatch(match));
  } else {
    m_Matches.InsertAt(at, new ContaminantMatch(match));
  }
  while (m_Matches.GetSize() > std::max<INT_PTR>(m_lLimit, 0)) {
    delete m_Matches[m_Matches.GetUpperBound()];
    m_Matches.RemoveAt(m_Matches.GetUpperBound());
  }
  // A limit of 0 or below (possible after a load) can leave nothing to take the score from.
  m_dLowestScore = m_Matches.IsEmpty() ? 0.0 : m_Matches[m_Matches.GetUpperBound()]->m_dScore;
}

void ContaminantMatchArray::Reset(LONG limit) {
  m_lLimit = limit;
  m_dLowestScore = 0.0;
  m_bApplied = false;
  DeleteAll();
}

void ContaminantMatchArray::Copy(const ContaminantMatchArray& source) {
  if (this == &source) return;
  Reset(source.m_lLimit);
  for (const ContaminantMatch* m : source.m_Matches) m_Matches.Add(new ContaminantMatch(*m));
  m_dLowestScore = source.m_dLowestScore;
  m_bApplied = source.m_bApplied;
}

namespace {

// Three-way comparisons in the manner of a qsort callback.
int CompareByBegin(const ContaminantMatch& a, const ContaminantMatch& b) {
  if (a.m_lSeqBegin != b.m_lSeqBegin) return a.m_lSeqBegin < b.m_lSeqBegin ? -1 : 1;
  if (a.m_dScore != b.m_dScore) return a.m_dScore > b.m_dScore ? -1 : 1;
  return std::strcmp(a.m_strName.GetString(), b.m_strName.GetString());
}

long long ApplyKey(const ContaminantMatch& m) {
  long long key = m.m_lSeqBegin;
  if (m.m_lType == ContaminantMatch::typeRight && m.m_lTrimOffset > 0) key += m.m_lTrimOffset;
  return key;
}

int CompareForApply(const ContaminantMatch& a, const ContaminantMatch& b) {
  if (a.m_lType != b.m_lType) {
    if (a.m_lType == ContaminantMatch::typeInternal) return -1;
    if (b.m_lType == ContaminantMatch::typeInternal) return 1;
    return a.m_lType > b.m_lType ? -1 : 1;
  }
  const long long ka = ApplyKey(a), kb = ApplyKey(b);
  return ka < kb ? -1 : (ka > kb ? 1 : 0);
}

// Equal elements may come out in any order from a qsort; a stable sort is one of those
// orders and the same on every host.
template <class Compare>
void SortMatches(CArray<ContaminantMatch*, ContaminantMatch*>& matches, Compare compare) {
  std::stable_sort(matches.begin(), matches.end(),
                   [&](const ContaminantMatch* a, const ContaminantMatch* b) { return compare(*a, *b) < 0; });
}

}  // namespace

void ContaminantMatchArray::SortByBegin() { SortMatches(m_Matches, CompareByBegin); }

void ContaminantMatchArray::SortForApply() { SortMatches(m_Matches, CompareForApply); }

void ContaminantMatchArray::Serialize(CArchive& ar) {
  if (ar.IsStoring()) {
    // The stored count is a short: a larger array (only with a limit above 32767)
    // stores its first 32767 matches.
    const SHORT count = SHORT(std::min<INT_PTR>(m_Matches.GetSize(), 0x7FFF));
    ar << GetLatestVersion() << m_lLimit << m_dLowestScore << count;
    for (SHORT i = 0; i < count; ++i) m_Matches[i]->Serialize(ar);
    ar << SHORT(m_bApplied ? 1 : 0);
    return;
  }
  SHORT version = 0;
  ar >> version;
  // "ContaminantMatchArray::Serialize: invalid version." names this case; it is not raised.
  if (version < 0 || version > GetLatestVersion()) return;
  Reset(0);
  SHORT count = 0;
  ar >> m_lLimit >> m_dLowestScore >> count;
  for (SHORT i = 0; i < count; ++i) {
    ContaminantMatch* m = new ContaminantMatch;
    try {
      m->Serialize(ar);
    } catch (...) {
      delete m;
      throw;
    }
    m_Matches.Add(m);
  }
  if (version >= 1) {
    SHORT applied = 0;
    ar >> applied;
    m_bApplied = applied != 0;
  }
}

}  // namespace zev
