// VqDictionary and VqSamplePropertySet: ordered key/value texts with a carried checksum,
// and their stored form.
#include "zevutil/VqDictionary.h"

#include <cstring>

#include "zevutil/VqeReportStream.h"

namespace zev {

namespace {

constexpr INT_PTR kGrowBy = 10;
// A first word below this, taken as unsigned, is the count of the form without a version.
constexpr ULONG kOldFormLimit = 250;

// isspace in the "C" locale.
bool IsCSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r'; }

// The key trim of SetEntry: every isspace character at the end, and at the start only
// blank, carriage return, tab, line feed and backspace.
CString TrimKey(const char* key) {
  size_t end = std::strlen(key);
  while (end > 0 && IsCSpace(key[end - 1])) --end;
  size_t start = 0;
  while (start < end && std::strchr(" \r\t\n\b", key[start]) != nullptr) ++start;
  return CString(std::string_view(key + start, end - start));
}

// Appends the CString whole: the array's Add takes a char pointer and would stop at
// the first NUL of a text read from an archive.
void Append(CStringArray& array, CString text) {
  INT_PTR n = array.GetSize();
  array.SetSize(n + 1);
  array.ElementAt(n) = std::move(text);
}

std::unique_ptr<CStringArray> NewArray() {
  auto a = std::make_unique<CStringArray>();
  a->SetSize(0, kGrowBy);
  return a;
}

}  // namespace

VqDictionary::VqDictionary()
    : m_pKeys(NewArray()), m_pValues(NewArray()), m_pCRC(std::make_unique<CCalcCRC32>(0xFFFFFFFF)) {}

VqDictionary::VqDictionary(const VqDictionary& other) : VqDictionary() { *this = other; }

VqDictionary::~VqDictionary() = default;

int VqDictionary::GetCount() const { return int(m_pKeys->GetSize()); }

const char* VqDictionary::GetAt(unsigned int index, CString* value) const {
  if (index >= unsigned(m_pKeys->GetSize())) return nullptr;
  if (value) *value = m_pValues->GetAt(INT_PTR(index));
  return m_pKeys->GetAt(INT_PTR(index)).GetString();
}

const char* VqDictionary::GetAt(unsigned int index, CString& value) const { return GetAt(index, &value); }

const char* VqDictionary::Lookup(const char* key, unsigned int* index) const {
  if (key == nullptr) return nullptr;
  for (INT_PTR i = 0; i < m_pKeys->GetSize(); ++i) {
    const CString& stored = m_pKeys->GetAt(i);
    if (std::strcmp(stored.GetString(), key) == 0) {
      if (index) *index = unsigned(i);
      return stored.GetString();
    }
  }
  return nullptr;
}

const char* VqDictionary::Lookup(const char* key, unsigned int& index) const { return Lookup(key, &index); }

void VqDictionary::SetEntry(const char* key, const char* value) {
  if (key == nullptr) return;
  unsigned int index = 0;
  // Kept: the lookup uses the key as given, before trimming, so " a " adds a second
  // "a" next to an existing one.
  if (Lookup(key, &index) != nullptr) {
    // Kept: a new value under an existing key leaves the checksum alone; callers
    // rely on the checksum changing only when keys are added.
    m_pValues->SetAt(INT_PTR(index), value);
    return;
  }
  Append(*m_pKeys, TrimKey(key));
  Append(*m_pValues, CString(value));  // the value is stored untrimmed
  recalcCRC();
}

VqDictionary& VqDictionary::RemoveAll() {
  m_pKeys->RemoveAll();
  m_pValues->RemoveAll();
  m_pCRC->Reset();
  return *this;
}

ULONG VqDictionary::GetCRC() const { return m_pCRC->GetCRC(); }

bool VqDictionary::operator==(const VqDictionary& other) const {
  return GetCount() == other.GetCount() && GetCRC() == other.GetCRC();
}

VqDictionary& VqDictionary::operator=(const VqDictionary& other) {
  if (this == &other) return *this;
  m_pKeys->Copy(*other.m_pKeys);
  m_pValues->Copy(*other.m_pValues);
  *m_pCRC = *other.m_pCRC;
  return *this;
}

void VqDictionary::recalcCRC() {
  m_pCRC->Reset();
  for (INT_PTR i = 0; i < m_pKeys->GetSize(); ++i) {
    const CString& key = m_pKeys->GetAt(i);
    const CString& value = m_pValues->GetAt(i);
    m_pCRC->CalcBlock(key.GetString(), ULONG(key.GetLength()));
    m_pCRC->CalcBlock(value.GetString(), ULONG(value.GetLength()));
  }
}

void VqDictionary::Serialize(CArchive& ar) {
  if (ar.IsStoring()) {
    ar << kVersion;
    ar << LONG(GetCount());
    for (INT_PTR i = 0; i < m_pKeys->GetSize(); ++i) ar << m_pKeys->GetAt(i) << m_pValues->GetAt(i);
    ar << m_pCRC->GetCRC();
    return;
  }

  LONG first = 0;
  ar >> first;
  LONG count = 0;
  if (first == kVersion) {
    ar >> count;
  } else if (ULONG(first) < kOldFormLimit) {
    count = first;
  } else {
    VqErr << "Unexpected version in VqDictionary::Serialize" << VqeThrow;
    // On a thread without a report block VqeThrow returns: leave the dictionary as it was.
    return;
  }

  // Entries are added as they arrive, so a count larger than the data costs nothing
  // before the archive runs out and throws. A negative count reads no entries.
  m_pKeys->RemoveAll();
  m_pValues->RemoveAll();
  for (LONG i = 0; i < count; ++i) {
    CString key, value;
    ar >> key >> value;
    Append(*m_pKeys, std::move(key));
    Append(*m_pValues, std::move(value));
  }
  ULONG crc = 0;
  ar >> crc;
  m_pCRC->SetCRC(crc);
}

VqSamplePropertySet& VqSamplePropertySet::operator=(const VqSamplePropertySet& other) {
  m_strName = other.m_strName;
  VqDictionary::operator=(other);
  return *this;
}

VqSamplePropertySet& VqSamplePropertySet::operator=(const VqDictionary& other) {
  VqDictionary::operator=(other);
  return *this;
}

void VqSamplePropertySet::Serialize(CArchive& ar) {
  if (ar.IsStoring())
    ar << m_strName;
  else
    ar >> m_strName;
  VqDictionary::Serialize(ar);
}

}  // namespace zev
