// VqDictionary: a small ordered map of text keys to text values carrying its own
// checksum, so that dictionaries compare cheaply and a stored one keeps the checksum it
// was written with. VqSamplePropertySet: a named dictionary, the properties of a sample.
#pragma once
#include <memory>

#include "zevutil/CCalcCRC32.h"
#include "zevutil/platform/CArchive.h"
#include "zevutil/platform/Collections.h"
#include "zevutil/platform/CString.h"

namespace zev {

class VqDictionary : public CObject {
 public:
  // The version word of the stored form.
  static constexpr LONG kVersion = 150001;

  VqDictionary();
  // Copies both arrays and the checksum, as assignment does.
  VqDictionary(const VqDictionary& other);
  ~VqDictionary() override;

  int GetCount() const;
  // For an index below the count: the key, and the value into *value (or value).
  // Null for any other index, with the value left alone. A null pointer skips the value.
  const char* GetAt(unsigned int index, CString& value) const;
  const char* GetAt(unsigned int index, CString* value) const;
  // Finds the key by exact text, first match in order: returns the stored key text and
  // puts its index into *index (unless null). Null for a null or absent key.
  const char* Lookup(const char* key, unsigned int& index) const;
  const char* Lookup(const char* key, unsigned int* index) const;
  // Replaces the value of a key that is present exactly as given, leaving the checksum
  // as it was; otherwise appends the trimmed key with the value and recalculates the
  // checksum. A null key does nothing.
  void SetEntry(const char* key, const char* value);
  // Empties the dictionary; the checksum goes back to 0xFFFFFFFF.
  VqDictionary& RemoveAll();
  ULONG GetCRC() const;

  // Equal counts and equal checksums; the texts themselves are not compared.
  bool operator==(const VqDictionary& other) const;
  bool operator!=(const VqDictionary& other) const { return !(*this == other); }
  // Copies both arrays and takes the other's checksum as it stands.
  VqDictionary& operator=(const VqDictionary& other);

  // The stored form: version 150001, count, the key/value pairs as CStrings, checksum.
  // Reading also takes the older form that began with the count (a first word below
  // 250); another first word throws "Unexpected version in VqDictionary::Serialize"
  // through the report stream with the dictionary untouched. The checksum read is kept
  // as it was written, right or wrong.
  void Serialize(CArchive& ar) override;

 protected:
  // Runs every key and then its value, in order, through the reset checksum.
  void recalcCRC();

  std::unique_ptr<CStringArray> m_pKeys;
  std::unique_ptr<CStringArray> m_pValues;
  std::unique_ptr<CCalcCRC32> m_pCRC;
};

class VqSamplePropertySet : public VqDictionary {
 public:
  VqSamplePropertySet() = default;
  VqSamplePropertySet(const VqSamplePropertySet& other) = default;
  ~VqSamplePropertySet() override = default;

  CString GetName() const { return m_strName; }
  VqSamplePropertySet& SetName(const char* name) {
    m_strName = name;
    return *this;
  }

  // The name and the dictionary.
  VqSamplePropertySet& operator=(const VqSamplePropertySet& other);
  // The dictionary only; the name stays.
  VqSamplePropertySet& operator=(const VqDictionary& other);
  // The dictionary comparison only; the name takes no part.
  bool operator==(const VqDictionary& other) const { return VqDictionary::operator==(other); }
  bool operator!=(const VqDictionary& other) const { return !VqDictionary::operator==(other); }

  // The name as a CString, then the dictionary's stored form.
  void Serialize(CArchive& ar) override;

 protected:
  CString m_strName;
};

}  // namespace zev
