// The framework collections: CArray, CList and CMap templates and their typed forms.
// Behaviour follows the framework: POSITION handles stay valid until their own node
// is removed; list nodes and map entries come in blocks and are reused LIFO; maps
// hash into a fixed table (17 buckets unless set before the first insert), never
// rehash, and push new entries at the head of their chain. Out-of-range indices
// and null positions, which the framework left undefined, throw CInvalidArgException*.
#pragma once
#include <cstring>
#include <type_traits>
#include <utility>
#include <vector>

#include "zevutil/platform/CArchive.h"

namespace zev {

// ---- element helpers ----

template <class T>
void SerializeElements(CArchive& ar, T* elems, INT_PTR count) {
  static_assert(std::is_trivially_copyable_v<T>, "provide SerializeElements for this type");
  if (ar.IsStoring())
    ar.Write(elems, UINT(sizeof(T) * size_t(count)));
  else if (ar.Read(elems, UINT(sizeof(T) * size_t(count))) != sizeof(T) * size_t(count))
    AfxThrowArchiveException(CArchiveException::endOfFile);
}

template <>
inline void SerializeElements<CString>(CArchive& ar, CString* elems, INT_PTR count) {
  for (INT_PTR i = 0; i < count; ++i) {
    if (ar.IsStoring()) ar << elems[i];
    else ar >> elems[i];
  }
}

template <class T, class A>
inline bool CompareElements(const T* a, const A* b) { return *a == *b; }

// Hash of a key: integers and pointers by key >> 4; strings by h * 33 + c over signed chars.
template <class K>
inline UINT HashKey(K key) {
  if constexpr (std::is_pointer_v<K>)
    return UINT(reinterpret_cast<std::uintptr_t>(key) >> 4);
  else
    return UINT(std::uintptr_t(key) >> 4);
}
inline UINT HashKey(const char* key) {
  UINT h = 0;
  if (key)
    while (*key) h = (h << 5) + h + UINT(static_cast<int>(static_cast<signed char>(*key++)));
  return h;
}
inline UINT HashKey(const CString& key) { return HashKey(key.GetString()); }

[[noreturn]] inline void ThrowBadIndex() { AfxThrowInvalidArgException(); }

// ---- CArray ----

template <class TYPE, class ARG_TYPE = const TYPE&>
class CArray : public CObject {
 public:
  CArray() = default;
  CArray(const CArray& o) : CObject(), m_data(o.m_data), m_nGrowBy(o.m_nGrowBy) {}
  CArray& operator=(const CArray& o) { m_data = o.m_data; return *this; }
  ~CArray() override = default;

  INT_PTR GetSize() const { return INT_PTR(m_data.size()); }
  INT_PTR GetCount() const { return INT_PTR(m_data.size()); }
  bool IsEmpty() const { return m_data.empty(); }
  INT_PTR GetUpperBound() const { return INT_PTR(m_data.size()) - 1; }
  void SetSize(INT_PTR newSize, INT_PTR growBy = -1) {
    if (newSize < 0) ThrowBadIndex();
    if (growBy >= 0) m_nGrowBy = growBy;
    m_data.resize(size_t(newSize));
  }
  void FreeExtra() { m_data.shrink_to_fit(); }
  void RemoveAll() { m_data.clear(); }

  const TYPE& GetAt(INT_PTR i) const { Check(i); return m_data[size_t(i)]; }
  void SetAt(INT_PTR i, ARG_TYPE e) { Check(i); m_data[size_t(i)] = e; }
  TYPE& ElementAt(INT_PTR i) { Check(i); return m_data[size_t(i)]; }
  const TYPE& ElementAt(INT_PTR i) const { Check(i); return m_data[size_t(i)]; }
  TYPE& operator[](INT_PTR i) { return ElementAt(i); }
  const TYPE& operator[](INT_PTR i) const { return GetAt(i); }
  TYPE* GetData() { return m_data.empty() ? nullptr : m_data.data(); }
  const TYPE* GetData() const { return m_data.empty() ? nullptr : m_data.data(); }

  void SetAtGrow(INT_PTR i, ARG_TYPE e) {
    if (i < 0) ThrowBadIndex();
    if (size_t(i) >= m_data.size()) m_data.resize(size_t(i) + 1);
    m_data[size_t(i)] = e;
  }
  INT_PTR Add(ARG_TYPE e) { m_data.push_back(TYPE(e)); return INT_PTR(m_data.size()) - 1; }
  INT_PTR Append(const CArray& src) {
    INT_PTR old = GetSize();
    m_data.insert(m_data.end(), src.m_data.begin(), src.m_data.end());
    return old;
  }
  void Copy(const CArray& src) { if (this != &src) m_data = src.m_data; }
  void InsertAt(INT_PTR i, ARG_TYPE e, INT_PTR count = 1) {
    if (i < 0 || count < 0) ThrowBadIndex();
    if (size_t(i) > m_data.size()) m_data.resize(size_t(i));
    m_data.insert(m_data.begin() + i, size_t(count), TYPE(e));
  }
  void InsertAt(INT_PTR start, const CArray* src) {
    if (!src || start < 0) ThrowBadIndex();
    if (size_t(start) > m_data.size()) m_data.resize(size_t(start));
    std::vector<TYPE> copy(src->m_data);
    m_data.insert(m_data.begin() + start, copy.begin(), copy.end());
  }
  void RemoveAt(INT_PTR i, INT_PTR count = 1) {
    if (i < 0 || count < 0 || size_t(i) + size_t(count) > m_data.size()) ThrowBadIndex();
    m_data.erase(m_data.begin() + i, m_data.begin() + i + count);
  }

  void Serialize(CArchive& ar) override {
    if (ar.IsStoring()) {
      ar.WriteCount(DWORD(m_data.size()));
      if (!m_data.empty()) SerializeElements<TYPE>(ar, m_data.data(), INT_PTR(m_data.size()));
    } else {
      DWORD n = ar.ReadCount();
      // Grow as elements arrive, so a hostile count can't force a huge allocation.
      m_data.clear();
      constexpr DWORD kStep = 4096;
      for (DWORD done = 0; done < n;) {
        DWORD k = std::min(kStep, n - done);
        m_data.resize(size_t(done) + k);
        SerializeElements<TYPE>(ar, m_data.data() + done, INT_PTR(k));
        done += k;
      }
    }
  }

  // Range-for support.
  auto begin() { return m_data.begin(); }
  auto end() { return m_data.end(); }
  auto begin() const { return m_data.begin(); }
  auto end() const { return m_data.end(); }

 protected:
  void Check(INT_PTR i) const {
    if (i < 0 || size_t(i) >= m_data.size()) ThrowBadIndex();
  }
  std::vector<TYPE> m_data;
  INT_PTR m_nGrowBy = -1;
};

// ---- CList ----

template <class TYPE, class ARG_TYPE = const TYPE&>
class CList : public CObject {
 protected:
  struct CNode {
    CNode* pNext;
    CNode* pPrev;
    TYPE data;
  };

 public:
  explicit CList(INT_PTR blockSize = 10) : m_nBlockSize(blockSize > 0 ? blockSize : 10) {}
  CList(const CList&) = delete;
  CList& operator=(const CList&) = delete;
  ~CList() override { RemoveAll(); }

  INT_PTR GetCount() const { return m_nCount; }
  INT_PTR GetSize() const { return m_nCount; }
  bool IsEmpty() const { return m_nCount == 0; }

  TYPE& GetHead() { NeedNode(m_pNodeHead); return m_pNodeHead->data; }
  const TYPE& GetHead() const { NeedNode(m_pNodeHead); return m_pNodeHead->data; }
  TYPE& GetTail() { NeedNode(m_pNodeTail); return m_pNodeTail->data; }
  const TYPE& GetTail() const { NeedNode(m_pNodeTail); return m_pNodeTail->data; }

  TYPE RemoveHead() {
    CNode* old = m_pNodeHead;
    NeedNode(old);
    TYPE ret = old->data;
    m_pNodeHead = old->pNext;
    if (m_pNodeHead) m_pNodeHead->pPrev = nullptr;
    else m_pNodeTail = nullptr;
    FreeNode(old);
    return ret;
  }
  TYPE RemoveTail() {
    CNode* old = m_pNodeTail;
    NeedNode(old);
    TYPE ret = old->data;
    m_pNodeTail = old->pPrev;
    if (m_pNodeTail) m_pNodeTail->pNext = nullptr;
    else m_pNodeHead = nullptr;
    FreeNode(old);
    return ret;
  }

  POSITION AddHead(ARG_TYPE e) {
    CNode* n = NewNode(nullptr, m_pNodeHead);
    n->data = e;
    if (m_pNodeHead) m_pNodeHead->pPrev = n;
    else m_pNodeTail = n;
    m_pNodeHead = n;
    return Pos(n);
  }
  POSITION AddTail(ARG_TYPE e) {
    CNode* n = NewNode(m_pNodeTail, nullptr);
    n->data = e;
    if (m_pNodeTail) m_pNodeTail->pNext = n;
    else m_pNodeHead = n;
    m_pNodeTail = n;
    return Pos(n);
  }
  void AddHead(CList* other) {
    if (!other) return;
    for (POSITION p = other->GetTailPosition(); p;) AddHead(other->GetPrev(p));
  }
  void AddTail(CList* other) {
    if (!other) return;
    for (POSITION p = other->GetHeadPosition(); p;) AddTail(other->GetNext(p));
  }

  void RemoveAll() {
    for (CNode* n = m_pNodeHead; n; n = n->pNext) n->data.~TYPE();
    m_nCount = 0;
    m_pNodeHead = m_pNodeTail = m_pNodeFree = nullptr;
    while (m_pBlocks) {
      char* next = *reinterpret_cast<char**>(m_pBlocks);
      ::operator delete(m_pBlocks);
      m_pBlocks = next;
    }
  }

  POSITION GetHeadPosition() const { return Pos(m_pNodeHead); }
  POSITION GetTailPosition() const { return Pos(m_pNodeTail); }
  TYPE& GetNext(POSITION& pos) {
    CNode* n = Node(pos);
    pos = Pos(n->pNext);
    return n->data;
  }
  const TYPE& GetNext(POSITION& pos) const {
    CNode* n = Node(pos);
    pos = Pos(n->pNext);
    return n->data;
  }
  TYPE& GetPrev(POSITION& pos) {
    CNode* n = Node(pos);
    pos = Pos(n->pPrev);
    return n->data;
  }
  const TYPE& GetPrev(POSITION& pos) const {
    CNode* n = Node(pos);
    pos = Pos(n->pPrev);
    return n->data;
  }
  TYPE& GetAt(POSITION pos) { return Node(pos)->data; }
  const TYPE& GetAt(POSITION pos) const { return Node(pos)->data; }
  void SetAt(POSITION pos, ARG_TYPE e) { Node(pos)->data = e; }

  void RemoveAt(POSITION pos) {
    CNode* old = Node(pos);
    if (old == m_pNodeHead) m_pNodeHead = old->pNext;
    else old->pPrev->pNext = old->pNext;
    if (old == m_pNodeTail) m_pNodeTail = old->pPrev;
    else old->pNext->pPrev = old->pPrev;
    FreeNode(old);
  }
  POSITION InsertBefore(POSITION pos, ARG_TYPE e) {
    if (!pos) return AddHead(e);
    CNode* old = Node(pos);
    CNode* n = NewNode(old->pPrev, old);
    n->data = e;
    if (old->pPrev) old->pPrev->pNext = n;
    else m_pNodeHead = n;
    old->pPrev = n;
    return Pos(n);
  }
  POSITION InsertAfter(POSITION pos, ARG_TYPE e) {
    if (!pos) return AddTail(e);
    CNode* old = Node(pos);
    CNode* n = NewNode(old, old->pNext);
    n->data = e;
    if (old->pNext) old->pNext->pPrev = n;
    else m_pNodeTail = n;
    old->pNext = n;
    return Pos(n);
  }

  // Linear search starting after 'after' (or at the head); null when absent.
  POSITION Find(ARG_TYPE value, POSITION after = nullptr) const {
    CNode* n = after ? Node(after)->pNext : m_pNodeHead;
    for (; n; n = n->pNext)
      if (CompareElements(&n->data, &value)) return Pos(n);
    return nullptr;
  }
  // Null when index is negative or not below the count.
  POSITION FindIndex(INT_PTR index) const {
    if (index < 0 || index >= m_nCount) return nullptr;
    CNode* n = m_pNodeHead;
    while (index--) n = n->pNext;
    return Pos(n);
  }

  // Loading appends to what the list holds.
  void Serialize(CArchive& ar) override {
    if (ar.IsStoring()) {
      ar.WriteCount(DWORD(m_nCount));
      for (CNode* n = m_pNodeHead; n; n = n->pNext) SerializeElements<TYPE>(ar, &n->data, 1);
    } else {
      DWORD count = ar.ReadCount();
      while (count--) {
        TYPE v{};
        SerializeElements<TYPE>(ar, &v, 1);
        AddTail(v);
      }
    }
  }

 protected:
  static POSITION Pos(CNode* n) { return reinterpret_cast<POSITION>(n); }
  static CNode* Node(POSITION p) {
    if (!p) ThrowBadIndex();
    return reinterpret_cast<CNode*>(p);
  }
  static void NeedNode(CNode* n) {
    if (!n) ThrowBadIndex();
  }
  CNode* NewNode(CNode* prev, CNode* next) {
    if (!m_pNodeFree) {
      // Take a new block, chain it to the others through its header word (no side
      // table, so no bookkeeping allocations), and thread its nodes onto the free list.
      char* block = static_cast<char*>(::operator new(kBlockHeader + sizeof(CNode) * size_t(m_nBlockSize)));
      *reinterpret_cast<char**>(block) = m_pBlocks;
      m_pBlocks = block;
      CNode* nodes = reinterpret_cast<CNode*>(block + kBlockHeader);
      for (INT_PTR i = m_nBlockSize - 1; i >= 0; --i) {
        nodes[i].pNext = m_pNodeFree;
        m_pNodeFree = &nodes[i];
      }
    }
    CNode* n = m_pNodeFree;
    m_pNodeFree = m_pNodeFree->pNext;
    n->pPrev = prev;
    n->pNext = next;
    ::new (static_cast<void*>(&n->data)) TYPE();
    ++m_nCount;
    return n;
  }
  void FreeNode(CNode* n) {
    n->data.~TYPE();
    n->pNext = m_pNodeFree;
    m_pNodeFree = n;
    if (--m_nCount == 0) RemoveAll();  // blocks go back only when the list is empty
  }

  CNode* m_pNodeHead = nullptr;
  CNode* m_pNodeTail = nullptr;
  INT_PTR m_nCount = 0;
  CNode* m_pNodeFree = nullptr;
  // Each block starts with a pointer to the block allocated before it.
  static constexpr size_t kBlockHeader = (sizeof(char*) + alignof(CNode) - 1) / alignof(CNode) * alignof(CNode);
  char* m_pBlocks = nullptr;
  INT_PTR m_nBlockSize;
};

// ---- CMap ----

template <class KEY, class ARG_KEY, class VALUE, class ARG_VALUE>
class CMap : public CObject {
 protected:
  struct CAssoc {
    CAssoc* pNext;
    UINT nHashValue;
    KEY key;
    VALUE value;
  };

 public:
  explicit CMap(INT_PTR blockSize = 10) : m_nBlockSize(blockSize > 0 ? blockSize : 10) {}
  CMap(const CMap&) = delete;
  CMap& operator=(const CMap&) = delete;
  ~CMap() override { RemoveAll(); }

  INT_PTR GetCount() const { return m_nCount; }
  INT_PTR GetSize() const { return m_nCount; }
  bool IsEmpty() const { return m_nCount == 0; }
  UINT GetHashTableSize() const { return m_nHashTableSize; }

  // Sets the table size; takes effect only while the map holds no table yet.
  void InitHashTable(UINT size, BOOL allocNow = TRUE) {
    if (size == 0) size = 17;
    if (!m_table.empty()) return;
    m_nHashTableSize = size;
    if (allocNow) m_table.assign(size, nullptr);
  }

  // Leaves value unchanged when the key is absent.
  BOOL Lookup(ARG_KEY key, VALUE& value) const {
    UINT h;
    CAssoc* a = GetAssocAt(key, h);
    if (!a) return FALSE;
    value = a->value;
    return TRUE;
  }
  VALUE& operator[](ARG_KEY key) {
    UINT h;
    CAssoc* a = GetAssocAt(key, h);
    if (!a) {
      if (m_table.empty()) InitHashTable(m_nHashTableSize);
      a = NewAssoc(key);
      a->nHashValue = h;
      a->pNext = m_table[h];  // new entries go to the head of their chain
      m_table[h] = a;
    }
    return a->value;
  }
  void SetAt(ARG_KEY key, ARG_VALUE value) { (*this)[key] = value; }

  BOOL RemoveKey(ARG_KEY key) {
    if (m_table.empty()) return FALSE;
    UINT h = HashKey(key) % m_nHashTableSize;
    CAssoc** prev = &m_table[h];
    for (CAssoc* a = *prev; a; a = a->pNext) {
      if (CompareElements(&a->key, &key)) {
        *prev = a->pNext;
        FreeAssoc(a);
        return TRUE;
      }
      prev = &a->pNext;
    }
    return FALSE;
  }
  void RemoveAll() {
    for (CAssoc* bucket : m_table)
      for (CAssoc* a = bucket; a; a = a->pNext) {
        a->key.~KEY();
        a->value.~VALUE();
      }
    m_table.clear();
    m_nCount = 0;
    m_pFreeList = nullptr;
    for (char* b : m_blocks) ::operator delete(b);
    m_blocks.clear();
  }

  // Null for an empty map; iteration walks bucket 0 upward, newest first in a bucket.
  POSITION GetStartPosition() const { return m_nCount == 0 ? nullptr : BEFORE_START_POSITION; }
  void GetNextAssoc(POSITION& pos, KEY& key, VALUE& value) const {
    if (!pos) ThrowBadIndex();
    CAssoc* ret = reinterpret_cast<CAssoc*>(pos);
    if (pos == BEFORE_START_POSITION) {
      ret = nullptr;
      for (UINT b = 0; b < m_table.size() && !ret; ++b) ret = m_table[b];
      if (!ret) ThrowBadIndex();
    }
    CAssoc* next = ret->pNext;
    if (!next)
      for (UINT b = ret->nHashValue + 1; b < m_table.size() && !next; ++b) next = m_table[b];
    pos = reinterpret_cast<POSITION>(next);
    key = ret->key;
    value = ret->value;
  }

 protected:
  CAssoc* GetAssocAt(ARG_KEY key, UINT& h) const {
    h = HashKey(key) % m_nHashTableSize;
    if (m_table.empty()) return nullptr;
    for (CAssoc* a = m_table[h]; a; a = a->pNext)
      if (CompareElements(&a->key, &key)) return a;
    return nullptr;
  }
  CAssoc* NewAssoc(ARG_KEY key) {
    if (!m_pFreeList) {
      char* block = static_cast<char*>(::operator new(sizeof(CAssoc) * size_t(m_nBlockSize)));
      m_blocks.push_back(block);
      CAssoc* as = reinterpret_cast<CAssoc*>(block);
      for (INT_PTR i = m_nBlockSize - 1; i >= 0; --i) {
        as[i].pNext = m_pFreeList;
        m_pFreeList = &as[i];
      }
    }
    CAssoc* a = m_pFreeList;
    m_pFreeList = m_pFreeList->pNext;
    ::new (static_cast<void*>(&a->key)) KEY(key);
    ::new (static_cast<void*>(&a->value)) VALUE();
    ++m_nCount;
    return a;
  }
  void FreeAssoc(CAssoc* a) {
    a->key.~KEY();
    a->value.~VALUE();
    a->pNext = m_pFreeList;
    m_pFreeList = a;
    if (--m_nCount == 0) RemoveAll();
  }

  std::vector<CAssoc*> m_table;
  UINT m_nHashTableSize = 17;
  INT_PTR m_nCount = 0;
  CAssoc* m_pFreeList = nullptr;
  std::vector<char*> m_blocks;
  INT_PTR m_nBlockSize;
};

// ---- typed collections ----

using CByteArray = CArray<BYTE, BYTE>;
using CWordArray = CArray<WORD, WORD>;
using CDWordArray = CArray<DWORD, DWORD>;
using CUIntArray = CArray<UINT, UINT>;
using CPtrArray = CArray<void*, void*>;
using CObArray = CArray<CObject*, CObject*>;
using CStringArray = CArray<CString, const char*>;
using CPtrList = CList<void*, void*>;
using CObList = CList<CObject*, CObject*>;
using CStringList = CList<CString, const char*>;
using CMapWordToPtr = CMap<WORD, WORD, void*, void*>;
using CMapWordToOb = CMap<WORD, WORD, CObject*, CObject*>;
using CMapPtrToPtr = CMap<void*, void*, void*, void*>;
using CMapStringToPtr = CMap<CString, const char*, void*, void*>;
using CMapStringToOb = CMap<CString, const char*, CObject*, CObject*>;
using CMapStringToString = CMap<CString, const char*, CString, const char*>;

}  // namespace zev
