// What an analysis found about the ends of a called sequence: the quality trim range,
// one contaminant (vector or other subsequence) match, and the bounded, score-ordered
// array of matches a sequence keeps. The sequence carries them through edits and
// applies them when it is trimmed.
#pragma once
#include "zevutil/platform/CArchive.h"
#include "zevutil/platform/CString.h"
#include "zevutil/platform/Collections.h"
#include "zevutil/platform/Types.h"

namespace zev {

// The region that quality trimming keeps, in base numbers.
struct QualityTrimRange {
  enum : LONG { stateNone = 0, statePresent = 1, stateApplied = 2 };

  LONG m_lBegin = -1;  // first base to keep
  LONG m_lEnd = -1;    // last base to keep
  LONG m_lState = stateNone;

  // A range that is present and not yet applied.
  void Set(LONG begin, LONG end) {
    m_lBegin = begin;
    m_lEnd = end;
    m_lState = statePresent;
  }
  // Moves both ends. A range that falls wholly before base 0 is dropped (state 0);
  // one that straddles it begins at 0.
  void Shift(LONG delta);
  BOOL IsPresent() const { return m_lState != stateNone; }
  BOOL IsApplied() const { return m_lState == stateApplied; }
  // Toggles between present and applied; a range in state 0 stays so.
  void SetApplied(bool applied);
};

// One stretch of the sequence that matched a vector or other unwanted subsequence.
struct ContaminantMatch {
  enum : LONG { typeVoid = 0, typeLeft = 1, typeRight = 2, typeInternal = 3 };

  ContaminantMatch() = default;
  ContaminantMatch(const ContaminantMatch&) = default;
  ContaminantMatch& operator=(const ContaminantMatch&) = default;

  // 0 for a void match, else the number of bases from begin to end inclusive.
  LONG Length() const { return m_lType == typeVoid ? 0 : LONG(DWORD(m_lSeqEnd) - DWORD(m_lSeqBegin) + 1u); }
  // True when position lies between sequence begin and end, both included.
  bool InSeq(LONG position) const { return position >= m_lSeqBegin && position <= m_lSeqEnd; }
  // Moves the match along the sequence. A match that falls wholly before base 0 turns
  // void; one that straddles it begins at 0 and its trim offset loses the part cut.
  void Shift(LONG delta);

  // Version 1. Loading a version of 2 or more reads nothing further and leaves the
  // match as it was; versions 0 and below have no trim offset (it becomes -1).
  void Serialize(CArchive& ar);
  static SHORT GetLatestVersion() { return 1; }

  LONG m_lType = typeVoid;
  CString m_strName;  // name of the vector or other subsequence
  double m_dScore = 0.0;
  LONG m_lSeqBegin = -1;
  LONG m_lSeqEnd = -1;
  LONG m_lOtherBegin = -1;  // coordinates in the vector or other subsequence
  LONG m_lOtherEnd = -1;
  LONG m_lTrimOffset = -1;  // distance from sequence begin to the cut point; negative for none
  CString m_strSeqAlignment;
  CString m_strOtherAlignment;
  CString m_strAlignmentMarks;
  bool m_bEnabled = true;  // a disabled match is kept but never applied
  // Working values: copied with the record, never stored.
  double m_dWork[2] = {0.0, 0.0};
  short m_sWork = 0;
};

// The matches of one sequence, best score first, at most 'limit' of them.
class ContaminantMatchArray {
 public:
  explicit ContaminantMatchArray(LONG limit = 2);
  ContaminantMatchArray(const ContaminantMatchArray& other);
  ContaminantMatchArray& operator=(const ContaminantMatchArray& other);
  virtual ~ContaminantMatchArray();

  SHORT GetSize() const { return SHORT(m_Matches.GetSize()); }
  // The match at index, or null for an index outside the array.
  ContaminantMatch* operator[](LONG index) const { return At(index); }
  ContaminantMatch* At(LONG index) const;

  // Stores a copy in score order (a new match goes ahead of its equals), drops what
  // falls past the limit, and keeps the lowest score at the last entry's.
  void Insert(const ContaminantMatch& match);
  // Deletes every match, sets the limit, lowest score 0 and applied false.
  void Reset(LONG limit);
  // Deep copy: Reset to the source's limit, its matches in order, its score and flag.
  void Copy(const ContaminantMatchArray& source);

  bool IsApplied() const { return m_bApplied; }
  void SetApplied(bool applied) { m_bApplied = applied; }
  LONG GetLimit() const { return m_lLimit; }
  double GetLowestScore() const { return m_dLowestScore; }

  // By sequence begin ascending, then score descending, then name (strcmp) ascending.
  void SortByBegin();
  // The order in which matches are applied: internal first, then right, left, void;
  // within a type by sequence begin (right matches add a positive trim offset).
  void SortForApply();

  // Version 1. Loading a negative version or one of 2 or more reads nothing further
  // and leaves the array as it was; version 0 has no applied flag.
  void Serialize(CArchive& ar);
  static SHORT GetLatestVersion() { return 1; }

 protected:
  void DeleteAll();

  CArray<ContaminantMatch*, ContaminantMatch*> m_Matches;  // owned
  LONG m_lLimit;
  double m_dLowestScore = 0.0;
  bool m_bApplied = false;
};

}  // namespace zev
