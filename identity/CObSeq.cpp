// The owning containers of CObSeq elements: cloning, destruction and unique map keys.
#include "zevutil/CObSeq.h"

#include <cstdio>
#include <cstring>
#include <vector>

namespace zev {

void CSeqList::CloneList(CSeqList* target) const {
  if (!target) return;
  target->Destroy();
  for (POSITION pos = GetSeqHeadPosition(); pos;) {
    void* element = GetSeqNext(pos);
    if (element) target->AddSeqTail(target->CloneSeqElement(element));
  }
}

// ---- CObSeqArray ----

CObSeqArray::~CObSeqArray() {
  if (IsLastOwner()) CObSeqArray::Destroy();
}

void CObSeqArray::Destroy() {
  for (INT_PTR i = m_pArray->GetUpperBound(); i >= 0; --i) {
    CObSeq* element = m_pArray->GetAt(i);
    m_pArray->RemoveAt(i);
    delete element;
  }
  m_pArray->RemoveAll();
}

// ---- CObSeqList ----

CObSeqList::~CObSeqList() {
  if (IsLastOwner()) CObSeqList::Destroy();
}

CObSeq* CObSeqList::CloneElement(const CObSeq*) const { return nullptr; }

void CObSeqList::DeleteElement(CObSeq* element) const { delete element; }

void CObSeqList::CloneList(CObSeqList* target) const {
  if (!target) return;
  target->Destroy();
  for (POSITION pos = GetHeadPosition(); pos;) {
    const CObSeq* element = GetNext(pos);
    if (element) target->AddTail(target->CloneElement(element));
  }
}

void CObSeqList::Destroy() {
  while (!m_pList->IsEmpty()) {
    CObSeq* element = m_pList->RemoveTail();
    if (element) DeleteElement(element);
  }
}

// ---- maps ----

CObSeqWordMap::~CObSeqWordMap() {
  if (IsLastOwner()) Destroy();
}

CObSeqStringMap::~CObSeqStringMap() {
  if (IsLastOwner()) Destroy();
}

BOOL CObSeqWordMap::FindUniqueKey(WORD& key) const {
  CObSeq* value = nullptr;
  if (IsEmpty() || !Lookup(key, value)) return TRUE;
  for (unsigned candidate = key; candidate < 16000; ++candidate) {
    if (!Lookup(WORD(candidate), value)) {
      // kept: callers rely on getting the value behind the free one
      key = WORD(candidate + 1);
      return TRUE;
    }
  }
  return FALSE;
}

namespace {

// Shared by both string maps: appends ":n" for the first free n from 1 to 999.
template <class Value, class Map>
BOOL UniqueStringKey(const Map& map, char* key) {
  if (!key) return FALSE;
  Value value{};
  if (map.IsEmpty() || !map.Lookup(key, value)) return TRUE;
  std::size_t base = std::strlen(key);
  key[base] = ':';
  for (int n = 1; n <= 999; ++n) {
    std::snprintf(key + base + 1, 4, "%d", n);
    if (!map.Lookup(key, value)) return TRUE;
  }
  key[base] = '\0';
  return FALSE;
}

template <class Value, class Map>
BOOL UniqueStringKey(const Map& map, CString& key) {
  std::vector<char> buffer(std::size_t(key.GetLength()) + 21, '\0');
  std::memcpy(buffer.data(), key.GetString(), std::size_t(key.GetLength()));
  BOOL result = UniqueStringKey<Value>(map, buffer.data());
  key = buffer.data();
  return result;
}

}  // namespace

BOOL CObSeqStringMap::FindUniqueKey(char* key) const { return UniqueStringKey<CObSeq*>(*this, key); }
BOOL CObSeqStringMap::FindUniqueKey(CString& key) const { return UniqueStringKey<CObSeq*>(*this, key); }
BOOL CObSeqStringPtrMap::FindUniqueKey(char* key) const { return UniqueStringKey<void*>(*this, key); }
BOOL CObSeqStringPtrMap::FindUniqueKey(CString& key) const { return UniqueStringKey<void*>(*this, key); }

}  // namespace zev
