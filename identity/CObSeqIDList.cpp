// Identifier lists and arrays: ownership, searches, sorted insert and tree levels.
#include "zevutil/CObSeqIDList.h"

#include <cstring>

#include "zevutil/platform/StringCompare.h"

namespace zev {

// ---- CObSeqIDList ----

CObSeqIDList::CObSeqIDList(INT_PTR blockSize) : CList(blockSize) {}

CObSeqIDList::CObSeqIDList(const CObSeqIDList& other) : CList(10), CSeqList() { other.CloneList(this); }

CObSeqIDList& CObSeqIDList::operator=(const CObSeqIDList& other) {
  if (this != &other) other.CloneList(this);
  return *this;
}

CObSeqIDList::~CObSeqIDList() { CObSeqIDList::Destroy(); }

void CObSeqIDList::CloneList(CSeqList* target) const {
  if (auto* list = dynamic_cast<CObSeqIDList*>(target)) {
    list->ListParam1 = ListParam1;
    list->ListParam2 = ListParam2;
    list->ListID = ListID;
  }
  CSeqList::CloneList(target);
}

void* CObSeqIDList::CloneSeqElement(const void* element) const {
  return CloneElement(static_cast<const CObSeqID*>(element));
}
void CObSeqIDList::DeleteSeqElement(void* element) const { DeleteElement(static_cast<CObSeqID*>(element)); }
POSITION CObSeqIDList::GetSeqHeadPosition() const { return GetHeadPosition(); }
void* CObSeqIDList::GetSeqNext(POSITION& pos) const { return GetNext(pos); }
POSITION CObSeqIDList::AddSeqTail(void* element) { return AddTail(static_cast<CObSeqID*>(element)); }

void CObSeqIDList::Destroy() {
  while (!IsEmpty()) {
    CObSeqID* id = RemoveHead();
    if (id) DeleteElement(id);
  }
}

CObSeqID* CObSeqIDList::CloneElement(const CObSeqID* id) const { return id ? id->CloneID() : nullptr; }

void CObSeqIDList::DeleteElement(CObSeqID* id) const { delete id; }

// ---- searches ----

template <class Match>
POSITION CObSeqIDList::FindFrom(POSITION pos, Match match) const {
  while (pos) {
    POSITION at = pos;
    const CObSeqID* id = GetNext(pos);
    if (id && match(*id)) return at;
  }
  return nullptr;
}

namespace {
// The position behind pos; null for a null pos.
template <class List>
POSITION Behind(const List& list, POSITION pos) {
  if (pos) list.GetNext(pos);
  return pos;
}
bool FlagsMatch(LONG have, LONG want, int exact) { return exact ? have == want : (have & want) == want; }
}  // namespace

POSITION CObSeqIDList::FindToken(LONG token) const {
  return FindFrom(GetHeadPosition(), [&](const CObSeqID& id) { return id.ObToken == token; });
}

POSITION CObSeqIDList::FindObIndex(int attrFlags) const {
  return FindFrom(GetHeadPosition(), [&](const CObSeqID& id) { return id.ObAttrFlags == attrFlags; });
}

POSITION CObSeqIDList::FindType(LONG type) const {
  return FindFrom(GetHeadPosition(), [&](const CObSeqID& id) { return id.ObType == type; });
}

POSITION CObSeqIDList::FindName(const char* name) const {
  return FindFrom(GetHeadPosition(), [&](const CObSeqID& id) { return CObSeqID::CompareText(id.ObName, name) == 0; });
}

POSITION CObSeqIDList::FindNameI(const char* name) const {
  return FindFrom(GetHeadPosition(), [&](const CObSeqID& id) { return lstrcmpiA(id.ObName, name) == 0; });
}

POSITION CObSeqIDList::FindAttrFlags(LONG flags, int exact) const {
  return FindFrom(GetHeadPosition(), [&](const CObSeqID& id) { return FlagsMatch(id.ObAttrFlags, flags, exact); });
}

POSITION CObSeqIDList::FindMatch(const CObSeqID* match) const {
  if (!match) return nullptr;
  return FindFrom(GetHeadPosition(), [&](const CObSeqID& id) {
    return std::strcmp(id.DatabaseName, match->DatabaseName) == 0 && id.ObType == match->ObType &&
           (id.ObAttrFlags & OBATTR_INDEXMASK) == (match->ObAttrFlags & OBATTR_INDEXMASK) &&
           std::strcmp(id.ObName, match->ObName) == 0 && id.DatabaseIndex == match->DatabaseIndex;
  });
}

POSITION CObSeqIDList::FindNextType(POSITION pos, LONG type) const {
  return FindFrom(Behind(*this, pos), [&](const CObSeqID& id) { return id.ObType == type; });
}

POSITION CObSeqIDList::FindNextName(POSITION pos, const char* name) const {
  return FindFrom(Behind(*this, pos),
                  [&](const CObSeqID& id) { return CObSeqID::CompareText(id.ObName, name) == 0; });
}

POSITION CObSeqIDList::FindNextNameI(POSITION pos, const char* name) const {
  return FindFrom(Behind(*this, pos), [&](const CObSeqID& id) { return lstrcmpiA(id.ObName, name) == 0; });
}

POSITION CObSeqIDList::FindNextAttrFlags(POSITION pos, LONG flags, int exact) const {
  return FindFrom(pos ? Behind(*this, pos) : GetHeadPosition(),
                  [&](const CObSeqID& id) { return FlagsMatch(id.ObAttrFlags, flags, exact); });
}

CObSeqID* CObSeqIDList::GetAtName(const char* name) const {
  POSITION pos = FindName(name);
  return pos ? GetAt(pos) : nullptr;
}

CObSeqID* CObSeqIDList::GetAtToken(LONG token) const {
  POSITION pos = FindToken(token);
  return pos ? GetAt(pos) : nullptr;
}

BOOL CObSeqIDList::ReplaceAtToken(LONG token, const CObSeqID* id) {
  POSITION pos = FindToken(token);
  if (!pos) return FALSE;
  CObSeqID* old = GetAt(pos);
  SetAt(pos, CloneElement(id));
  if (old) DeleteElement(old);
  return TRUE;
}

BOOL CObSeqIDList::RemoveAtToken(LONG token) {
  // kept: the test is reversed, as callers have always seen it. The removal of the
  // null position it would then ask for is skipped, as it would touch no element.
  if (FindToken(token)) return FALSE;
  return TRUE;
}

POSITION CObSeqIDList::Insert(const CObSeqID* id) {
  CObSeqID* clone = CloneElement(id);
  if (!clone) return nullptr;
  for (POSITION pos = GetHeadPosition(); pos;) {
    POSITION at = pos;
    const CObSeqID* element = GetNext(pos);
    if (element && *element > *clone) return InsertBefore(at, clone);
  }
  return AddTail(clone);
}

int CObSeqIDList::GetNodeLevel(const CObSeqID* id) { return GetNodeLevel(Find(const_cast<CObSeqID*>(id))); }

int CObSeqIDList::GetNodeLevel(POSITION pos) {
  if (!pos) return 10000;
  const CObSeqID* id = GetAt(pos);
  if (id && (id->ObAttrFlags & OBATTR_NODELEVEL)) return id->ObToken & 0xFF;
  return 1;
}

// ---- CSampleIDList ----

int CSampleIDList::GetNodeLevel(POSITION pos) {
  if (!pos) return 10000;
  CObSeqID* element = GetAt(pos);
  if (!element) return 10000;
  auto* sample = dynamic_cast<CSampleID*>(element);
  if (element->ObType != OBSEQ_SAMPLE || !sample) return CObSeqIDList::GetNodeLevel(pos);
  if (sample->ObAttrFlags & OBATTR_NODELEVEL) return sample->ObToken & 0xFF;
  // kept: the first look marks the sample, so every later look reads the token's low byte
  sample->ObAttrFlags |= OBATTR_NODELEVEL;
  POSITION next = pos;
  GetNext(next);
  if (next) {
    // Only a sample has sample data to compare; any other element leaves the level at 1.
    const auto* following = dynamic_cast<const CSampleID*>(GetAt(next));
    if (following && sample->SampleData != following->SampleData) return 2;
  }
  return 1;
}

CSampleID* CSampleIDList::FindNextSampleData(POSITION& pos, const CSampleDataID* id) const {
  if (!id) return nullptr;
  if (!pos) pos = GetHeadPosition();
  while (pos) {
    auto* sample = dynamic_cast<CSampleID*>(GetNext(pos));
    if (sample && sample->SampleData == *id) return sample;
  }
  return nullptr;
}

// ---- CObSeqIDArray ----

CObSeqID* CObSeqIDArray::GetAt(INT_PTR i) const { return dynamic_cast<CObSeqID*>(CObSeqArray::GetAt(i)); }

INT_PTR CObSeqIDArray::FindToken(LONG token) const {
  for (INT_PTR i = GetUpperBound(); i >= 0; --i) {
    const CObSeqID* id = GetAt(i);
    if (id && id->ObToken == token) return i;
  }
  return -1;
}

INT_PTR CObSeqIDArray::FindName(const char* name) const {
  if (!name) return -1;
  for (INT_PTR i = GetUpperBound(); i >= 0; --i) {
    const CObSeqID* id = GetAt(i);
    if (id && std::strcmp(id->ObName, name) == 0) return i;
  }
  return -1;
}

CObSeqID* CObSeqIDArray::GetAtToken(LONG token) const {
  INT_PTR i = FindToken(token);
  return i >= 0 ? GetAt(i) : nullptr;
}

CObSeqID* CObSeqIDArray::GetAtName(const char* name) const {
  INT_PTR i = FindName(name);
  return i >= 0 ? GetAt(i) : nullptr;
}

// ---- CMethodQuery ----

int CMethodQuery::DoQuery(CMethodIDList& list) {
  list.Destroy();
  return 0;
}

}  // namespace zev
