// CObSeq, the element base of the library's owning containers, and the containers:
// the typed-list protocol CSeqList with its template TSeqList, and CObSeqArray,
// CObSeqList, CObSeqStack and the word- and string-keyed maps.
//
// Ownership. A container owns its members: destroying it destroys them, and
// CloneList/CloneMap duplicate them through the virtual CloneElement. Copying a
// container object (copy constructor or assignment) shares the platform container
// with the source, as it always did; the members are destroyed when the last
// sharer goes, so that a shared container is never destroyed twice.
#pragma once
#include <memory>

#include "zevutil/platform/Collections.h"

namespace zev {

// Empty base with a virtual destructor: identifiers, revision records and the
// containers' elements.
class CObSeq {
 public:
  virtual ~CObSeq() = default;
};

// The protocol of a typed owning list, whatever its element class: elements travel
// as void* and only the list knows how to copy or delete them.
class CSeqList {
 public:
  virtual ~CSeqList() = default;
  // Empties target by its Destroy, then adds at its tail a copy, made by the target's
  // CloneSeqElement, of each non-null element of this list, in order.
  virtual void CloneList(CSeqList* target) const;
  virtual void* CloneSeqElement(const void* element) const = 0;  // a new copy of one element
  virtual void DeleteSeqElement(void* element) const = 0;        // deletes one element
  virtual POSITION GetSeqHeadPosition() const = 0;                // null when empty
  virtual void* GetSeqNext(POSITION& pos) const = 0;              // element at pos; pos moves on
  virtual POSITION AddSeqTail(void* element) = 0;                 // takes ownership
  // Deletes every element and empties the list.
  virtual void Destroy() = 0;
};

// CSeqList on the framework list, for an element class T with a copy constructor.
// Copying or assigning a TSeqList clones its elements.
template <class T>
class TSeqList : public CList<T*, T*>, public CSeqList {
  using Base = CList<T*, T*>;

 public:
  explicit TSeqList(INT_PTR blockSize = 10) : Base(blockSize) {}
  TSeqList(const TSeqList& other) : Base(10) { other.CloneList(this); }
  TSeqList& operator=(const TSeqList& other) {
    if (this != &other) other.CloneList(this);
    return *this;
  }
  ~TSeqList() override { TSeqList::Destroy(); }

  void* CloneSeqElement(const void* element) const override {
    return element ? new T(*static_cast<const T*>(element)) : nullptr;
  }
  void DeleteSeqElement(void* element) const override { delete static_cast<T*>(element); }
  POSITION GetSeqHeadPosition() const override { return Base::GetHeadPosition(); }
  void* GetSeqNext(POSITION& pos) const override { return Base::GetNext(pos); }
  POSITION AddSeqTail(void* element) override { return Base::AddTail(static_cast<T*>(element)); }
  void Destroy() override {
    while (!Base::IsEmpty()) {
      T* element = Base::RemoveHead();
      if (element) DeleteSeqElement(element);
    }
  }
};

// An owning array of CObSeq pointers.
class CObSeqArray {
 public:
  using Container = CArray<CObSeq*, CObSeq*>;

  CObSeqArray() : m_pArray(std::make_shared<Container>()) {}
  CObSeqArray(const CObSeqArray&) = default;             // shares the members
  CObSeqArray& operator=(const CObSeqArray&) = default;  // shares the members
  virtual ~CObSeqArray();

  INT_PTR Add(CObSeq* element) { return m_pArray->Add(element); }
  CObSeq* GetAt(INT_PTR i) const { return m_pArray->GetAt(i); }
  CObSeq*& ElementAt(INT_PTR i) { return m_pArray->ElementAt(i); }
  CObSeq*& operator[](INT_PTR i) { return m_pArray->ElementAt(i); }
  CObSeq* operator[](INT_PTR i) const { return m_pArray->GetAt(i); }
  void SetAt(INT_PTR i, CObSeq* element) { m_pArray->SetAt(i, element); }
  void SetAtGrow(INT_PTR i, CObSeq* element) { m_pArray->SetAtGrow(i, element); }
  INT_PTR GetSize() const { return m_pArray->GetSize(); }
  INT_PTR GetUpperBound() const { return m_pArray->GetUpperBound(); }
  void InsertAt(INT_PTR i, CObSeq* element, INT_PTR count = 1) { m_pArray->InsertAt(i, element, count); }
  // Removes slots without deleting what they hold.
  void RemoveAt(INT_PTR i, INT_PTR count = 1) { m_pArray->RemoveAt(i, count); }
  void RemoveAll() { m_pArray->RemoveAll(); }
  void FreeExtra() { m_pArray->FreeExtra(); }

  // From the upper bound down: deletes each non-null element and removes its slot.
  virtual void Destroy();

 protected:
  bool IsLastOwner() const { return m_pArray.use_count() == 1; }
  std::shared_ptr<Container> m_pArray;
};

// An owning list of CObSeq pointers. Subclasses supply CloneElement; the default
// DeleteElement deletes through the virtual destructor.
class CObSeqList {
 public:
  using Container = CList<CObSeq*, CObSeq*>;

  explicit CObSeqList(INT_PTR blockSize = 10) : m_pList(std::make_shared<Container>(blockSize)) {}
  CObSeqList(const CObSeqList&) = default;             // shares the members
  CObSeqList& operator=(const CObSeqList&) = default;  // shares the members
  virtual ~CObSeqList();

  POSITION AddHead(CObSeq* e) { return m_pList->AddHead(e); }
  POSITION AddTail(CObSeq* e) { return m_pList->AddTail(e); }
  CObSeq*& GetHead() { return m_pList->GetHead(); }
  CObSeq* GetHead() const { return m_pList->GetHead(); }
  CObSeq*& GetTail() { return m_pList->GetTail(); }
  CObSeq* GetTail() const { return m_pList->GetTail(); }
  CObSeq* RemoveHead() { return m_pList->RemoveHead(); }
  CObSeq* RemoveTail() { return m_pList->RemoveTail(); }
  POSITION GetHeadPosition() const { return m_pList->GetHeadPosition(); }
  POSITION GetTailPosition() const { return m_pList->GetTailPosition(); }
  CObSeq*& GetNext(POSITION& pos) { return m_pList->GetNext(pos); }
  CObSeq* GetNext(POSITION& pos) const { return m_pList->GetNext(pos); }
  CObSeq*& GetPrev(POSITION& pos) { return m_pList->GetPrev(pos); }
  CObSeq* GetPrev(POSITION& pos) const { return m_pList->GetPrev(pos); }
  CObSeq*& GetAt(POSITION pos) { return m_pList->GetAt(pos); }
  CObSeq* GetAt(POSITION pos) const { return m_pList->GetAt(pos); }
  void SetAt(POSITION pos, CObSeq* e) { m_pList->SetAt(pos, e); }
  void RemoveAt(POSITION pos) { m_pList->RemoveAt(pos); }
  POSITION InsertBefore(POSITION pos, CObSeq* e) { return m_pList->InsertBefore(pos, e); }
  POSITION InsertAfter(POSITION pos, CObSeq* e) { return m_pList->InsertAfter(pos, e); }
  POSITION Find(CObSeq* e, POSITION after = nullptr) const { return m_pList->Find(e, after); }
  POSITION FindIndex(INT_PTR index) const { return m_pList->FindIndex(index); }
  INT_PTR GetCount() const { return m_pList->GetCount(); }
  bool IsEmpty() const { return m_pList->IsEmpty(); }

  // A new copy of one element; null here, as only a subclass knows its elements.
  virtual CObSeq* CloneElement(const CObSeq* element) const;
  virtual void DeleteElement(CObSeq* element) const;
  // Empties target by Destroy, then adds target->CloneElement of each non-null element.
  virtual void CloneList(CObSeqList* target) const;
  // From the tail: removes each element and deletes the non-null ones.
  virtual void Destroy();

 protected:
  bool IsLastOwner() const { return m_pList.use_count() == 1; }
  std::shared_ptr<Container> m_pList;
};

// A stack on an owning list: the top is the head.
class CObSeqStack {
 public:
  explicit CObSeqStack(INT_PTR blockSize = 10) : m_pList(std::make_shared<CObSeqList>(blockSize)) {}
  CObSeqStack(const CObSeqStack&) = default;
  CObSeqStack& operator=(const CObSeqStack&) = default;
  virtual ~CObSeqStack() = default;

  void Push(CObSeq* e) { m_pList->AddHead(e); }
  // The top element, removed from the stack (the caller owns it); null when empty.
  CObSeq* Pop() { return m_pList->IsEmpty() ? nullptr : m_pList->RemoveHead(); }
  // The top element, left on the stack; null when empty.
  CObSeq* Peek() const { return m_pList->IsEmpty() ? nullptr : m_pList->GetHead(); }
  // Deletes every element.
  void DeleteContents() { m_pList->Destroy(); }
  INT_PTR GetCount() const { return m_pList->GetCount(); }
  bool IsEmpty() const { return m_pList->IsEmpty(); }
  CObSeqList& GetList() { return *m_pList; }

 protected:
  std::shared_ptr<CObSeqList> m_pList;
};

// The maps: the same shape for 16-bit and string keys, owning CObSeq values or
// holding untyped pointers whose deletion a subclass supplies.
template <class KEY, class ARG_KEY, class VALUE>
class TObSeqMapBase {
 public:
  using Container = CMap<KEY, ARG_KEY, VALUE, VALUE>;

  explicit TObSeqMapBase(INT_PTR blockSize = 10) : m_pMap(std::make_shared<Container>(blockSize)) {}
  TObSeqMapBase(const TObSeqMapBase&) = default;
  TObSeqMapBase& operator=(const TObSeqMapBase&) = default;
  virtual ~TObSeqMapBase() = default;

  BOOL Lookup(ARG_KEY key, VALUE& value) const { return m_pMap->Lookup(key, value); }
  void SetAt(ARG_KEY key, VALUE value) { m_pMap->SetAt(key, value); }
  VALUE& operator[](ARG_KEY key) { return (*m_pMap)[key]; }
  BOOL RemoveKey(ARG_KEY key) { return m_pMap->RemoveKey(key); }
  void RemoveAll() { m_pMap->RemoveAll(); }
  POSITION GetStartPosition() const { return m_pMap->GetStartPosition(); }
  void GetNextAssoc(POSITION& pos, KEY& key, VALUE& value) const { m_pMap->GetNextAssoc(pos, key, value); }
  INT_PTR GetCount() const { return m_pMap->GetCount(); }
  bool IsEmpty() const { return m_pMap->IsEmpty(); }

  // A new copy of one value: null here; subclasses supply it.
  virtual VALUE CloneElement(const VALUE) const { return nullptr; }
  virtual void DeleteElement(VALUE) const = 0;
  // Empties target by Destroy, then sets each non-null value's clone under its key.
  virtual void CloneMap(TObSeqMapBase* target) const {
    if (!target) return;
    target->Destroy();
    KEY key{};
    VALUE value{};
    for (POSITION p = GetStartPosition(); p;) {
      GetNextAssoc(p, key, value);
      if (value) target->SetAt(key, target->CloneElement(value));
    }
  }
  // Deletes every non-null value and empties the map.
  virtual void Destroy() {
    KEY key{};
    VALUE value{};
    for (POSITION p = GetStartPosition(); p;) {
      GetNextAssoc(p, key, value);
      if (value) DeleteElement(value);
    }
    m_pMap->RemoveAll();
  }

 protected:
  bool IsLastOwner() const { return m_pMap.use_count() == 1; }
  std::shared_ptr<Container> m_pMap;
};

// CObSeq values by 16-bit key.
class CObSeqWordMap : public TObSeqMapBase<WORD, WORD, CObSeq*> {
 public:
  using TObSeqMapBase::TObSeqMapBase;
  CObSeqWordMap(const CObSeqWordMap&) = default;
  CObSeqWordMap& operator=(const CObSeqWordMap&) = default;
  ~CObSeqWordMap() override;
  void DeleteElement(CObSeq* element) const override { delete element; }
  // Returns 1 at once when the map is empty or key is free. Otherwise tries key,
  // key + 1, ... below 16000; at the first free value v it stores v + 1 in key and
  // returns 1; 0 when it reaches 16000.
  BOOL FindUniqueKey(WORD& key) const;
};

// Untyped pointers by 16-bit key. A subclass that owns its values supplies
// DeleteElement and calls Destroy in its own destructor when IsLastOwner().
class CObSeqWordPtrMap : public TObSeqMapBase<WORD, WORD, void*> {
 public:
  using TObSeqMapBase::TObSeqMapBase;
  CObSeqWordPtrMap(const CObSeqWordPtrMap&) = default;
  CObSeqWordPtrMap& operator=(const CObSeqWordPtrMap&) = default;
  ~CObSeqWordPtrMap() override = default;
  void DeleteElement(void*) const override {}
};

// CObSeq values by string key (case-sensitive).
class CObSeqStringMap : public TObSeqMapBase<CString, const char*, CObSeq*> {
 public:
  using TObSeqMapBase::TObSeqMapBase;
  CObSeqStringMap(const CObSeqStringMap&) = default;
  CObSeqStringMap& operator=(const CObSeqStringMap&) = default;
  ~CObSeqStringMap() override;
  void DeleteElement(CObSeq* element) const override { delete element; }
  // Returns 1 at once when the map is empty or key is free. Otherwise appends ":"
  // and the first number from 1 to 999 that makes a free key, and returns 1; if
  // none does, removes the ":" again and returns 0. key needs room for 4 more
  // characters and the NUL.
  BOOL FindUniqueKey(char* key) const;
  // The same on a buffer of the string's length plus 21.
  BOOL FindUniqueKey(CString& key) const;
};

// Untyped pointers by string key; owned values as for CObSeqWordPtrMap.
class CObSeqStringPtrMap : public TObSeqMapBase<CString, const char*, void*> {
 public:
  using TObSeqMapBase::TObSeqMapBase;
  CObSeqStringPtrMap(const CObSeqStringPtrMap&) = default;
  CObSeqStringPtrMap& operator=(const CObSeqStringPtrMap&) = default;
  ~CObSeqStringPtrMap() override = default;
  void DeleteElement(void*) const override {}
  BOOL FindUniqueKey(char* key) const;
  BOOL FindUniqueKey(CString& key) const;
};

}  // namespace zev
