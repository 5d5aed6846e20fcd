// Lists of identifiers: CObSeqIDList (owning, with searches by every field and a
// sorted insert), the typed lists that clone one identifier class, CSampleIDList
// with its tree levels, CObSeqIDArray, and CMethodQuery.
//
// A list owns its identifiers: Insert, ReplaceAtToken and CloneList store clones
// (the caller keeps its own object), Destroy and the destructor delete them.
// Copying or assigning a list clones its elements. Searches over a list give the
// first match from the head; searches over an array the last one.
#pragma once
#include "zevutil/CObSeq.h"
#include "zevutil/CObSeqID.h"
#include "zevutil/CZevVersionID.h"

namespace zev {

class CObSeqIDList : public CList<CObSeqID*, CObSeqID*>, public CSeqList {
 public:
  explicit CObSeqIDList(INT_PTR blockSize = 10);
  CObSeqIDList(const CObSeqIDList& other);
  CObSeqIDList& operator=(const CObSeqIDList& other);
  ~CObSeqIDList() override;

  // Copies ListParam1, ListParam2 and ListID when the target is an identifier list,
  // then the elements (see CSeqList::CloneList).
  void CloneList(CSeqList* target) const override;
  void* CloneSeqElement(const void* element) const override;
  void DeleteSeqElement(void* element) const override;
  POSITION GetSeqHeadPosition() const override;
  void* GetSeqNext(POSITION& pos) const override;
  POSITION AddSeqTail(void* element) override;
  // From the head: removes each element and deletes the non-null ones.
  void Destroy() override;

  // A new copy of one identifier in its own class (null for null).
  virtual CObSeqID* CloneElement(const CObSeqID* id) const;
  virtual void DeleteElement(CObSeqID* id) const;

  // First element from the head whose field matches; null when there is none.
  POSITION FindToken(LONG token) const;
  POSITION FindObIndex(int attrFlags) const;  // the whole ObAttrFlags
  POSITION FindType(LONG type) const;
  POSITION FindName(const char* name) const;   // locale-aware, case-sensitive
  POSITION FindNameI(const char* name) const;  // locale-aware, case-insensitive
  // exact 0: every bit of flags set in ObAttrFlags; otherwise ObAttrFlags == flags.
  POSITION FindAttrFlags(LONG flags, int exact) const;
  // DatabaseName (bytes), ObType, the low 24 bits of ObAttrFlags, ObName and
  // DatabaseIndex all equal.
  POSITION FindMatch(const CObSeqID* id) const;
  // The same, going on behind pos; a null pos finds nothing, except for
  // FindNextAttrFlags, which then starts at the head.
  POSITION FindNextType(POSITION pos, LONG type) const;
  POSITION FindNextName(POSITION pos, const char* name) const;
  POSITION FindNextNameI(POSITION pos, const char* name) const;
  POSITION FindNextAttrFlags(POSITION pos, LONG flags, int exact) const;

  CObSeqID* GetAtName(const char* name) const;
  CObSeqID* GetAtToken(LONG token) const;
  // Replaces the element holding token by a clone of id (deleting the old one): 1;
  // 0 when the token is not there.
  BOOL ReplaceAtToken(LONG token, const CObSeqID* id);
  // Kept as it always answered: 0 (and nothing removed) when the token is there,
  // 1 when it is not.
  BOOL RemoveAtToken(LONG token);

  // Inserts a clone of id in front of the first element that is greater (by the
  // virtual >), or at the tail: ascending order, equal keys in order of arrival.
  // Returns the clone's position (null for a null id).
  POSITION Insert(const CObSeqID* id);

  // The indent of an element in a tree view: 10000 for a null position; the low
  // byte of ObToken when bit 24 of ObAttrFlags is set; otherwise 1.
  int GetNodeLevel(const CObSeqID* id);
  virtual int GetNodeLevel(POSITION pos);

  LONG ListParam1 = 0;
  LONG ListParam2 = 0;
  CObSeqID ListID;  // what the list is a list of

 protected:
  template <class Match>
  POSITION FindFrom(POSITION start, Match match) const;
};

// A list whose elements are T: CloneElement copies by T's copy constructor.
template <class T>
class TObSeqIDList : public CObSeqIDList {
 public:
  explicit TObSeqIDList(INT_PTR blockSize = 10) : CObSeqIDList(blockSize) {}
  TObSeqIDList(const TObSeqIDList& other) : CObSeqIDList() { other.CloneList(this); }
  TObSeqIDList& operator=(const TObSeqIDList& other) {
    if (this != &other) other.CloneList(this);
    return *this;
  }
  // An identifier of another class becomes a T with that identifier's CObSeqID part.
  CObSeqID* CloneElement(const CObSeqID* id) const override {
    if (!id) return nullptr;
    if (const T* same = dynamic_cast<const T*>(id)) return new T(*same);
    T* copy = new T;
    copy->CObSeqID::operator=(*id);
    return copy;
  }
};

class CInstrumentIDList : public TObSeqIDList<CInstrumentID> {
 public:
  using TObSeqIDList::TObSeqIDList;
};

class CMethodIDList : public TObSeqIDList<CMethodID> {
 public:
  using TObSeqIDList::TObSeqIDList;
};

class CSampleDataIDList : public TObSeqIDList<CSampleDataID> {
 public:
  using TObSeqIDList::TObSeqIDList;
};

class CSampleTableIDList : public TObSeqIDList<CSampleTableID> {
 public:
  using TObSeqIDList::TObSeqIDList;
};

// Samples shown with their results in a tree.
class CSampleIDList : public TObSeqIDList<CSampleID> {
 public:
  using TObSeqIDList::TObSeqIDList;
  using CObSeqIDList::GetNodeLevel;

  // 10000 for a null position or element; the CObSeqIDList level for an element
  // that is no sample; the low byte of ObToken when bit 24 is set. Otherwise it
  // sets bit 24 and gives 1, or 2 when the next element's SampleData differs.
  int GetNodeLevel(POSITION pos) override;
  // The next sample from pos (the head for null) whose SampleData equals *id; pos
  // is left behind it. Null (and pos null) at the end, or for a null id.
  CSampleID* FindNextSampleData(POSITION& pos, const CSampleDataID* id) const;
};

// An owning array of identifiers.
class CObSeqIDArray : public CObSeqArray {
 public:
  CObSeqIDArray() = default;
  CObSeqIDArray(const CObSeqIDArray&) = default;
  CObSeqIDArray& operator=(const CObSeqIDArray&) = default;
  ~CObSeqIDArray() override = default;

  // The element as an identifier (null when the slot holds something else).
  CObSeqID* GetAt(INT_PTR i) const;
  CObSeqID* ElementAt(INT_PTR i) const { return GetAt(i); }
  CObSeqID* operator[](INT_PTR i) const { return GetAt(i); }

  // From the upper bound down: the index of the last match, or -1.
  INT_PTR FindToken(LONG token) const;
  INT_PTR FindName(const char* name) const;  // byte-wise
  CObSeqID* GetAtToken(LONG token) const;
  CObSeqID* GetAtName(const char* name) const;
};

// A query for methods. The database component answers it; here DoQuery only
// empties the list.
class CMethodQuery : public CObSeq {
 public:
  // Destroys the list's elements; returns 0.
  int DoQuery(CMethodIDList& list);

  CObSeqID QueryID;
  CMethodID MethodID;
};

}  // namespace zev
