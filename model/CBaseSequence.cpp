// The base sequence: searches in both number directions, the edits that carry the trim
// range and matches along, reverse complement, text and ranges, and the two trims.
#include "zevutil/CBaseSequence.h"

#include <cstdint>
#include <memory>
#include <utility>

namespace zev {

namespace {

// Numbers and coordinates wrap as the old 32-bit arithmetic did, instead of overflowing.
LONG AddWrap(LONG a, LONG b) { return LONG(DWORD(a) + DWORD(b)); }
LONG NegateWrap(LONG a) { return LONG(0u - DWORD(a)); }

char LowerAscii(char c) { return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c; }

}  // namespace

CBaseSequence::CBaseSequence() : BaseList(10) {}

CBaseSequence::CBaseSequence(const CBaseSequence& other)
    : BaseList(10), CSeqList(),
      m_lFirstValidBase(other.m_lFirstValidBase),
      m_lLastValidBase(other.m_lLastValidBase),
      m_QualityTrimRange(other.m_QualityTrimRange),
      m_ContaminantMatches(other.m_ContaminantMatches) {
  other.CloneList(this);
}

CBaseSequence& CBaseSequence::operator=(const CBaseSequence& other) {
  if (this == &other) return *this;
  m_lFirstValidBase = other.m_lFirstValidBase;
  m_lLastValidBase = other.m_lLastValidBase;
  m_QualityTrimRange = other.m_QualityTrimRange;
  m_ContaminantMatches.Copy(other.m_ContaminantMatches);
  other.CloneList(this);
  return *this;
}

CBaseSequence::~CBaseSequence() { CBaseSequence::Destroy(); }

// ---- the owning-list protocol ----

void* CBaseSequence::CloneSeqElement(const void* element) const {
  return element ? new CCalledBase(*static_cast<const CCalledBase*>(element)) : nullptr;
}

void CBaseSequence::DeleteSeqElement(void* element) const { delete static_cast<CCalledBase*>(element); }

void CBaseSequence::Destroy() {
  for (POSITION pos = GetHeadPosition(); pos;) DeleteSeqElement(BaseList::GetNext(pos));
  RemoveAll();
}

void CBaseSequence::DeleteAt(POSITION pos) {
  CCalledBase* base = GetAt(pos);
  RemoveAt(pos);
  DeleteSeqElement(base);
}

void CBaseSequence::Serialize(CArchive& ar) {
  if (ar.IsStoring()) {
    // The list's own form: the count and each element's (32-bit) pointer value.
    ar.WriteCount(DWORD(GetCount()));
    for (POSITION pos = GetHeadPosition(); pos;)
      ar << DWORD(reinterpret_cast<std::uintptr_t>(BaseList::GetNext(pos)));
    return;
  }
  // Stored pointer values name nothing: they are consumed and no base is made of them.
  for (DWORD count = ar.ReadCount(); count > 0; --count) {
    DWORD ignored;
    ar >> ignored;
  }
}

// ---- searches ----

bool CBaseSequence::IsReverseSequence() const {
  if (GetCount() < 2) return false;
  POSITION pos = GetHeadPosition();
  const CCalledBase* head = BaseList::GetNext(pos);
  return head->m_lBaseNumber > GetAt(pos)->m_lBaseNumber;
}

CCalledBase* CBaseSequence::FindBaseIndex(int index, POSITION& pos) const {
  pos = FindIndex(index);
  return pos ? GetAt(pos) : nullptr;
}

CCalledBase* CBaseSequence::FindBaseNumber(int number, POSITION& pos) const {
  for (pos = GetHeadPosition(); pos; BaseList::GetNext(pos))
    if (GetAt(pos)->m_lBaseNumber == number) return GetAt(pos);
  return nullptr;
}

CCalledBase* CBaseSequence::FindCeilBaseNumber(int number, POSITION& pos) const {
  const bool reversed = IsReverseSequence();
  for (pos = reversed ? GetTailPosition() : GetHeadPosition(); pos;) {
    POSITION at = pos;
    CCalledBase* base = reversed ? BaseList::GetPrev(pos) : BaseList::GetNext(pos);
    if (base->m_lBaseNumber >= number) {
      pos = at;
      return base;
    }
  }
  return nullptr;
}

CCalledBase* CBaseSequence::FindFloorBaseNumber(int number, POSITION& pos) const {
  const bool reversed = IsReverseSequence();
  for (pos = reversed ? GetHeadPosition() : GetTailPosition(); pos;) {
    POSITION at = pos;
    CCalledBase* base = reversed ? BaseList::GetNext(pos) : BaseList::GetPrev(pos);
    if (base->m_lBaseNumber <= number) {
      pos = at;
      return base;
    }
  }
  return nullptr;
}

int CBaseSequence::GetIndexFromBaseNumber(int number) const {
  int index = 0;
  for (POSITION pos = GetHeadPosition(); pos; ++index)
    if (BaseList::GetNext(pos)->m_lBaseNumber == number) return index;
  return -1;
}

namespace {
bool Qualifies(const CCalledBase* base, IUBCODE code, int exact) {
  return exact ? base->m_Code == code : base->m_Code.Matches(code.code);
}
}  // namespace

CCalledBase* CBaseSequence::FindNextCode(POSITION& pos, IUBCODE code, int exact) const {
  if (!pos)
    pos = GetHeadPosition();
  else
    BaseList::GetNext(pos);
  while (pos) {
    CCalledBase* base = BaseList::GetNext(pos);
    if (Qualifies(base, code, exact)) return base;
  }
  return nullptr;
}

CCalledBase* CBaseSequence::FindPrevCode(POSITION& pos, IUBCODE code, int exact) const {
  if (!pos)
    pos = GetTailPosition();
  else
    BaseList::GetPrev(pos);
  while (pos) {
    CCalledBase* base = BaseList::GetPrev(pos);
    if (Qualifies(base, code, exact)) return base;
  }
  return nullptr;
}

// ---- editing ----

POSITION CBaseSequence::Insert(const CCalledBase& base, int renumber) {
  const LONG number = base.m_lBaseNumber;
  const bool reversed = IsReverseSequence();
  POSITION found = nullptr;
  CCalledBase* existing = FindCeilBaseNumber(number, found);
  if (existing && existing->m_lBaseNumber == number) {
    if (!renumber) {
      *existing = base;
      return found;
    }
    Renumber(found, 1);
  }
  auto copy = std::make_unique<CCalledBase>(base);
  POSITION at;
  if (existing)
    at = reversed ? InsertAfter(found, copy.get()) : InsertBefore(found, copy.get());
  else
    at = reversed ? AddHead(copy.get()) : AddTail(copy.get());
  copy.release();

  // Insert moves what starts at the new number; Delete (below) what starts above it.
  QualityTrimRange& range = m_QualityTrimRange;
  if (range.IsPresent() && !range.IsApplied()) {
    if (number <= range.m_lBegin)
      range.Shift(1);
    else if (number <= range.m_lEnd)
      range.m_lEnd = AddWrap(range.m_lEnd, 1);
  }
  if (!m_ContaminantMatches.IsApplied()) {
    for (LONG i = m_ContaminantMatches.GetSize() - 1; i >= 0; --i) {
      ContaminantMatch* m = m_ContaminantMatches.At(i);
      if (number <= m->m_lSeqBegin)
        m->Shift(1);
      else if (number <= m->m_lSeqEnd)
        m->m_lSeqEnd = AddWrap(m->m_lSeqEnd, 1);
    }
  }
  return at;
}

POSITION CBaseSequence::Delete(int number, int renumber) {
  const bool reversed = IsReverseSequence();
  POSITION pos = nullptr;
  if (!FindBaseNumber(number, pos)) return nullptr;

  POSITION result = pos;  // the neighbour on the low-number side
  if (reversed)
    BaseList::GetNext(result);
  else
    BaseList::GetPrev(result);
  DeleteAt(pos);

  bool renumberAfter = renumber != 0;
  if (result) {
    const POSITION highEnd = reversed ? GetHeadPosition() : GetTailPosition();
    if (result == highEnd) {
      renumberAfter = false;  // nothing followed the deleted base
    } else if (reversed) {
      BaseList::GetPrev(result);
    } else {
      BaseList::GetNext(result);
    }
  }
  if (renumberAfter) Renumber(result, -1);

  QualityTrimRange& range = m_QualityTrimRange;
  if (range.IsPresent() && !range.IsApplied()) {
    if (number < range.m_lBegin)
      range.Shift(-1);
    else if (number <= range.m_lEnd)
      range.m_lEnd = AddWrap(range.m_lEnd, -1);
  }
  if (!m_ContaminantMatches.IsApplied()) {
    for (LONG i = m_ContaminantMatches.GetSize() - 1; i >= 0; --i) {
      ContaminantMatch* m = m_ContaminantMatches.At(i);
      if (number < m->m_lSeqBegin)
        m->Shift(-1);
      else if (number <= m->m_lSeqEnd)
        m->m_lSeqEnd = AddWrap(m->m_lSeqEnd, -1);
    }
  }
  return result;
}

void CBaseSequence::Renumber(POSITION pos, int delta) {
  const bool reversed = IsReverseSequence();
  if (!pos) pos = reversed ? GetTailPosition() : GetHeadPosition();
  while (pos) {
    CCalledBase* base = reversed ? BaseList::GetPrev(pos) : BaseList::GetNext(pos);
    base->m_lBaseNumber = AddWrap(base->m_lBaseNumber, delta);
  }
}

void CBaseSequence::Renumber(int number, int delta) {
  POSITION pos = nullptr;
  if (FindBaseNumber(number, pos)) Renumber(pos, delta);
}

void CBaseSequence::MakeReverseCompliment(LONG dataCount, float) {
  BaseList copy(10);
  try {
    for (POSITION pos = GetHeadPosition(); pos;)
      copy.AddTail(static_cast<CCalledBase*>(CloneSeqElement(BaseList::GetNext(pos))));
  } catch (...) {
    while (!copy.IsEmpty()) DeleteSeqElement(copy.RemoveHead());
    throw;
  }
  Destroy();
  const double mirror = double(static_cast<long long>(dataCount) - 1);
  while (!copy.IsEmpty()) {
    CCalledBase* base = copy.RemoveTail();
    base->m_Code.MakeCompliment();
    std::swap(base->m_fScore[0], base->m_fScore[3]);
    std::swap(base->m_fScore[1], base->m_fScore[2]);
    base->m_Peak.x = float(mirror - double(base->m_Peak.x));
    base->m_lDataPoint = TruncateToLong(base->m_Peak.x);
    try {
      AddTail(base);
    } catch (...) {
      DeleteSeqElement(base);
      while (!copy.IsEmpty()) DeleteSeqElement(copy.RemoveHead());
      throw;
    }
  }
}

// ---- text and ranges ----

int CBaseSequence::GetBaseSequenceText(CString& text) const {
  std::string out;
  out.reserve(size_t(GetCount()));
  for (POSITION pos = GetHeadPosition(); pos;) {
    const CCalledBase* base = BaseList::GetNext(pos);
    const char c = base->m_Code.code;
    // The C library's tolower in its default locale: ASCII letters only.
    out += (base->m_lInserted || base->m_lEdited) ? LowerAscii(c) : c;
  }
  text = CString(std::move(out));
  return 1;
}

int CBaseSequence::GetBaseSequenceText(char* buffer, int size) const {
  if (!buffer) return 0;
  CString text;
  GetBaseSequenceText(text);
  const int n = size <= 0 ? 0 : (text.GetLength() < size ? text.GetLength() : size);
  for (int i = 0; i < n; ++i) buffer[i] = text.str()[size_t(i)];
  buffer[n] = '\0';
  return 1;
}

int CBaseSequence::GetFirstValidBase() const {
  const INT_PTR count = GetCount();
  return (m_lFirstValidBase >= 1 && m_lFirstValidBase <= count - 1) ? int(m_lFirstValidBase) : 0;
}

int CBaseSequence::GetLastValidBase() const {
  const INT_PTR count = GetCount();
  if (m_lLastValidBase >= 1 && m_lLastValidBase <= count - 1 && m_lLastValidBase >= GetFirstValidBase())
    return int(m_lLastValidBase);
  return int(count - 1);
}

void CBaseSequence::ComputeQualityValues(int first, int last, double& callScore, double* const scores) const {
  const INT_PTR count = GetCount();
  if (last > count - 1) last = int(count - 1);
  callScore = 0.0;
  for (int i = 0; i < 4; ++i) scores[i] = 0.0;
  if (first < 0) first = 0;
  if (last < first || count == 0) return;
  int counted = 0;
  POSITION pos = FindIndex(first);
  for (int index = first; pos && index <= last; ++index) {
    const CCalledBase* base = BaseList::GetNext(pos);
    callScore += base->m_fCallScore;
    for (int i = 0; i < 4; ++i) scores[i] += base->m_fScore[i];
    ++counted;
  }
  if (counted > 1) {
    callScore /= counted;
    for (int i = 0; i < 4; ++i) scores[i] /= counted;
  }
}

// ---- trimming ----

int CBaseSequence::GetNumContaminantMatches(bool enabledOnly) const {
  const LONG size = m_ContaminantMatches.GetSize();
  if (!enabledOnly) return int(size);
  int count = 0;
  for (LONG i = 0; i < size; ++i)
    if (m_ContaminantMatches.At(i)->m_bEnabled) ++count;
  return count;
}

const ContaminantMatch* CBaseSequence::GetContaminantMatch(LONG index) const { return m_ContaminantMatches.At(index); }

POSITION CBaseSequence::TrimToRange(LONG first, LONG last) {
  for (long long i = GetCount() - 1; !IsEmpty() && i > last; --i) DeleteSeqElement(RemoveTail());
  for (long long j = 0; !IsEmpty() && j < first; ++j) DeleteSeqElement(RemoveHead());
  return IsReverseSequence() ? GetTailPosition() : GetHeadPosition();
}

POSITION CBaseSequence::DeleteRange(LONG first, LONG last) {
  const bool reversed = IsReverseSequence();
  POSITION pos = GetHeadPosition();
  long long index = 0;
  for (; pos && index < first; ++index) BaseList::GetNext(pos);
  for (; pos && index <= last; ++index) {
    POSITION doomed = pos;
    BaseList::GetNext(pos);
    DeleteAt(doomed);
  }
  if (!reversed) return pos;
  // A deletion that ran to the tail leaves no position to step back from.
  if (!pos) return nullptr;
  BaseList::GetPrev(pos);
  return pos;
}

int CBaseSequence::ApplyQualityTrimming() {
  QualityTrimRange& range = m_QualityTrimRange;
  if (!range.IsPresent() || range.IsApplied()) return 1;
  POSITION pos = TrimToRange(range.m_lBegin, range.m_lEnd);
  const LONG begin = range.m_lBegin;
  if (begin > 0) {
    Renumber(pos, -begin);
    if (!m_ContaminantMatches.IsApplied())
      for (LONG i = m_ContaminantMatches.GetSize() - 1; i >= 0; --i) m_ContaminantMatches.At(i)->Shift(-begin);
  }
  range.SetApplied(true);
  return 1;
}

int CBaseSequence::ApplyContaminantTrimming(char mask) {
  ApplyQualityTrimming();
  if (m_ContaminantMatches.GetSize() == 0 || m_ContaminantMatches.IsApplied()) return 1;

  // The working copy is sorted and moved along as bases go; the sequence's own
  // matches keep their coordinates.
  ContaminantMatchArray work(m_ContaminantMatches);
  work.SortForApply();
  LONG last = LONG(GetCount() - 1);
  const LONG size = work.GetSize();
  for (LONG i = 0; i < size; ++i) {
    ContaminantMatch& m = *work.At(i);
    if (m.m_lType < ContaminantMatch::typeLeft || !m.m_bEnabled) continue;
    if (m.m_lType == ContaminantMatch::typeInternal) {
      POSITION pos = GetHeadPosition();
      long long index = 0;
      for (; pos && index < m.m_lSeqBegin; ++index) BaseList::GetNext(pos);
      for (; pos && index <= m.m_lSeqEnd; ++index) BaseList::GetNext(pos)->m_Code = mask;
      continue;
    }
    const bool left = m.m_lType == ContaminantMatch::typeLeft;
    if (!left && m.m_lType != ContaminantMatch::typeRight) continue;
    if (left) {
      if (m.m_lTrimOffset >= 0) m.m_lSeqEnd = AddWrap(AddWrap(m.m_lSeqBegin, m.m_lTrimOffset), -1);
      m.m_lSeqBegin = 0;
    } else {
      if (m.m_lTrimOffset >= 0) m.m_lSeqBegin = AddWrap(m.m_lSeqBegin, m.m_lTrimOffset);
      m.m_lSeqEnd = last;
    }
    POSITION pos = DeleteRange(m.m_lSeqBegin, m.m_lSeqEnd);
    const LONG removed = m.Length();
    if (pos) Renumber(pos, NegateWrap(removed));
    last = LONG(GetCount() - 1);
    for (LONG j = i + 1; j < size; ++j) {
      ContaminantMatch& later = *work.At(j);
      if (left)
        later.Shift(NegateWrap(removed));
      else if (later.m_lType == ContaminantMatch::typeRight)
        later.m_lType = ContaminantMatch::typeVoid;
    }
  }
  m_ContaminantMatches.SetApplied(true);
  return 1;
}

}  // namespace zev
