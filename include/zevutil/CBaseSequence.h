// CBaseSequence: the called bases of a sequence as a doubly linked list of owned
// CCalledBase objects, with the quality trim range and contaminant matches kept in
// step with base numbers through every edit, and the two trims that apply them.
//
// Base numbers and list indices differ: index 0 is the head, whatever its number.
// The list runs in ascending number order or, after MakeReverseCompliment, in
// descending order; every search and edit works in both directions. POSITION values
// are the list's node handles; null means "none".
#pragma once
#include "zevutil/CCalledBase.h"
#include "zevutil/CObSeq.h"
#include "zevutil/ContaminantMatch.h"
#include "zevutil/IUBCODE.h"
#include "zevutil/platform/CString.h"
#include "zevutil/platform/Collections.h"

namespace zev {

class CBaseSequence : public CList<CCalledBase*, CCalledBase*>, public CSeqList {
 public:
  using BaseList = CList<CCalledBase*, CCalledBase*>;

  CBaseSequence();
  // Copies the valid range, the trim range and the matches, then deep-copies the bases.
  CBaseSequence(const CBaseSequence& other);
  CBaseSequence& operator=(const CBaseSequence& other);
  ~CBaseSequence() override;

  // ---- searches: each returns the base or null and sets pos to its node or null ----

  // The base at list index 0 .. count - 1.
  CCalledBase* FindBaseIndex(int index, POSITION& pos) const;
  // The first base from the head with that number.
  CCalledBase* FindBaseNumber(int number, POSITION& pos) const;
  // Walking up the numbers, the first base numbered at or above number.
  CCalledBase* FindCeilBaseNumber(int number, POSITION& pos) const;
  // Walking down the numbers, the first base numbered at or below number.
  CCalledBase* FindFloorBaseNumber(int number, POSITION& pos) const;
  // The list index of the first base from the head with that number, or -1.
  int GetIndexFromBaseNumber(int number) const;
  // From the head (null pos) or from the base after pos, the next base whose code
  // equals code (exact) or matches it; pos is left on the base after the hit, so
  // calling again with it skips the base directly behind the hit. Null and a null
  // pos when none qualifies.
  CCalledBase* FindNextCode(POSITION& pos, IUBCODE code, int exact) const;
  // The mirror of FindNextCode, from the tail toward the head.
  CCalledBase* FindPrevCode(POSITION& pos, IUBCODE code, int exact) const;

  // ---- editing ----

  // Puts a copy of base where its number belongs and returns its position. An equal
  // number is overwritten (renumber zero: nothing else changes) or moved up with all
  // above it (renumber nonzero). The trim range and matches follow the new base.
  POSITION Insert(const CCalledBase& base, int renumber);
  // Deletes the base with that number. Returns the base that followed it (or, when it
  // was the highest, the base below it); null when the number is unknown or the lowest
  // base went. With renumber, the bases above it move down by one. The trim range and
  // matches follow.
  POSITION Delete(int number, int renumber);
  // Adds delta to the number of the base at pos and of every base above it. A null
  // pos starts at the lowest-numbered end.
  void Renumber(POSITION pos, int delta);
  // Renumbers from the base with that number; nothing if there is none.
  void Renumber(int number, int delta);
  // Reverses the list and complements each base: scores A/T and C/G swap, the peak
  // moves to dataCount - 1 minus its position. Numbers stay, so they now descend.
  // The float argument is not used.
  void MakeReverseCompliment(LONG dataCount, float unused = 0.0f);

  // ---- text and ranges ----

  // One character per base in list order, lower case for an inserted or edited base.
  // Returns 1.
  int GetBaseSequenceText(CString& text) const;
  // The same cut to size characters and terminated (the buffer holds size + 1).
  // Returns 0 for a null buffer, else 1.
  int GetBaseSequenceText(char* buffer, int size) const;
  int GetFirstValidBase() const;
  int GetLastValidBase() const;
  int GetValidCount() const { return GetLastValidBase() - GetFirstValidBase() + 1; }
  LONG GetFirstValidField() const { return m_lFirstValidBase; }
  LONG GetLastValidField() const { return m_lLastValidBase; }
  void SetFirstValidBase(LONG index) { m_lFirstValidBase = index; }
  void SetLastValidBase(LONG index) { m_lLastValidBase = index; }
  // Means of the call scores and of the four scores over list indices first .. last
  // (last limited to the final base); all zero when the range is empty.
  void ComputeQualityValues(int first, int last, double& callScore, double* const scores) const;

  // ---- trimming ----

  QualityTrimRange& GetQualityTrimRange() { return m_QualityTrimRange; }
  const QualityTrimRange& GetQualityTrimRange() const { return m_QualityTrimRange; }
  // A range present and not applied.
  void SetQualityTrimRange(LONG begin, LONG end) { m_QualityTrimRange.Set(begin, end); }
  // True once a range is set, applied or not.
  bool HasQualityTrimRange() const { return m_QualityTrimRange.IsPresent() != 0; }
  // Keeps only the range's bases and numbers them down by its begin. Once only; returns 1.
  int ApplyQualityTrimming();
  // Quality trimming first; then, once only, masks internal matches with mask and cuts
  // right and left matches away, in that order. Returns 1.
  int ApplyContaminantTrimming(char mask);

  ContaminantMatchArray& GetContaminantMatches() { return m_ContaminantMatches; }
  const ContaminantMatchArray& GetContaminantMatches() const { return m_ContaminantMatches; }
  void AddContaminantMatch(const ContaminantMatch& match) { m_ContaminantMatches.Insert(match); }
  int GetNumContaminantMatches(bool enabledOnly) const;
  // The match at index, or null.
  const ContaminantMatch* GetContaminantMatch(LONG index) const;
  // Empties the array and sets its limit to 0: it takes no further match until the
  // limit is set again.
  void RemoveContaminantMatches() { m_ContaminantMatches.Reset(0); }

  // ---- the owning-list protocol ----

  void* CloneSeqElement(const void* element) const override;
  void DeleteSeqElement(void* element) const override;
  POSITION GetSeqHeadPosition() const override { return GetHeadPosition(); }
  void* GetSeqNext(POSITION& pos) const override { return BaseList::GetNext(pos); }
  POSITION AddSeqTail(void* element) override { return AddTail(static_cast<CCalledBase*>(element)); }
  // Deletes every base and empties the list.
  void Destroy() override;

  // The list's own form: the count and each element's pointer value as 4 bytes, which
  // mean nothing in a file. Loading consumes such a form and makes no base of it.
  // Owners store the bases one by one through CCalledBase::Serialize instead.
  void Serialize(CArchive& ar) override;

 private:
  bool IsReverseSequence() const;
  // Removes the bases outside list indices first .. last; returns the lowest-numbered
  // remaining base's position.
  POSITION TrimToRange(LONG first, LONG last);
  // Removes the bases at list indices first .. last; returns the position after them
  // (or, on a reversed list, before them).
  POSITION DeleteRange(LONG first, LONG last);
  void DeleteAt(POSITION pos);

  LONG m_lFirstValidBase = 0;
  LONG m_lLastValidBase = -1;
  QualityTrimRange m_QualityTrimRange;
  ContaminantMatchArray m_ContaminantMatches{2};
};

}  // namespace zev
