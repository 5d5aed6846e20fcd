// CObSeqID: fields, comparisons, tokens, the name grammar and its extensions, the
// persistence hand-over and the stored form.
#include "zevutil/CObSeqID.h"

#include <climits>
#include <cstdlib>
#include <cstring>

#include "zevutil/platform/StringCompare.h"
#include "IdentityText.h"

namespace zev {

using identity::CopyText;
using identity::LeadingNumber;

namespace {

bool IsAsciiDigit(char c) { return c >= '0' && c <= '9'; }
bool IsAsciiAlpha(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool IsAsciiAlnum(char c) { return IsAsciiDigit(c) || IsAsciiAlpha(c); }

// The two digits at i - 1 and i as a number, or -1 when either is no digit.
int TwoDigits(const char* s, int i) {
  if (!IsAsciiDigit(s[i - 1]) || !IsAsciiDigit(s[i])) return -1;
  return (s[i - 1] - '0') * 10 + (s[i] - '0');
}

bool InRange(int v, int lo, int hi) { return v >= lo && v <= hi; }

const char kOldExtension[] = "::old";
constexpr int kOldExtensionLength = 5;

// The position of a trailing "::old", if it stands at a position greater than 0; else -1.
int OldExtensionPosition(const char* name) {
  int n = int(std::strlen(name));
  if (n <= kOldExtensionLength) return -1;
  return std::strcmp(name + n - kOldExtensionLength, kOldExtension) == 0 ? n - kOldExtensionLength : -1;
}

// Characters a name may not hold; Validate replaces them by "_". None at present.
const char kForbiddenNameChars[] = "";

// The wide text buffer of SetIPersistenceParameters: a length word and up to 512
// 16-bit characters, shared by the whole library.
struct PseudoBstr {
  DWORD length;
  OLECHAR text[513];
};
PseudoBstr g_persistenceText;

BSTR ToPseudoBstr(const char* text) {
  std::size_t n = strnlen(text, 512);
  for (std::size_t i = 0; i < n; ++i) g_persistenceText.text[i] = OLECHAR(BYTE(text[i]));
  g_persistenceText.text[n] = 0;
  // kept: the database component reads the length word as a count of characters
  g_persistenceText.length = DWORD(n);
  return g_persistenceText.text;
}

}  // namespace

// ---- construction and assignment ----

void CObSeqID::InitFields() {
  std::memset(DatabaseName, 0, sizeof DatabaseName);
  std::memset(ObName, 0, sizeof ObName);
  std::memset(ObBarCode, 0, sizeof ObBarCode);
  std::memset(ObSubjectID, 0, sizeof ObSubjectID);
  ObToken = -1;
  ObType = -1;
  DatabaseIndex = 0;
  ObAttrFlags = 0;
  ObTime = CTime(1972, 1, 1, 0, 0, 0);
  SetDefaultValues();
}

CObSeqID::CObSeqID() { InitFields(); }

CObSeqID::CObSeqID(const char* name) {
  InitFields();
  SetObName(name ? name : "Default");
}

CObSeqID::CObSeqID(const char* name, int index) : CObSeqID(name) { DatabaseIndex = index; }

CObSeqID::CObSeqID(const char* name, LONG token, LONG type, LONG attrFlags) {
  InitFields();
  ObToken = token;
  ObType = type;
  ObAttrFlags = attrFlags;
  SetObName(name);
}

CObSeqID::CObSeqID(const char* barCode, const char* subject) {
  InitFields();
  SetObBarCode(barCode);
  SetObSubjectID(subject);
}

CObSeqID::CObSeqID(const char* name, const char* barCode, const char* subject) : CObSeqID(name) {
  SetObBarCode(barCode);
  SetObSubjectID(subject);
}

CObSeqID::CObSeqID(const char* name, int index, const char* barCode, const char* subject)
    : CObSeqID(name, index) {
  SetObBarCode(barCode);
  SetObSubjectID(subject);
}

CObSeqID::CObSeqID(const char* name, LONG token, LONG type, LONG attrFlags, const char* barCode,
                   const char* subject)
    : CObSeqID(name, token, type, attrFlags) {
  SetObBarCode(barCode);
  SetObSubjectID(subject);
}

CObSeqID::CObSeqID(const CObSeqID& other) : CObSeq(other) { *this = other; }

CObSeqID& CObSeqID::operator=(const CObSeqID& other) {
  if (this == &other) return *this;
  std::memcpy(DatabaseName, other.DatabaseName, sizeof DatabaseName);
  std::memcpy(ObName, other.ObName, sizeof ObName);
  ObToken = other.ObToken;
  ObType = other.ObType;
  DatabaseIndex = other.DatabaseIndex;
  ObAttrFlags = other.ObAttrFlags;
  std::memcpy(ObBarCode, other.ObBarCode, sizeof ObBarCode);
  std::memcpy(ObSubjectID, other.ObSubjectID, sizeof ObSubjectID);
  ObTime = other.ObTime;
  return *this;
}

CObSeqID::~CObSeqID() = default;

void CObSeqID::SetDefaultValues() {
  ObAttrFlags = 0;
  ObToken = -1;
  ObName[0] = '\0';
  ObBarCode[0] = '\0';
  ObSubjectID[0] = '\0';
  DatabaseIndex = 0;
}

void CObSeqID::SetObName(const char* name) { CopyText(ObName, sizeof ObName, name); }
void CObSeqID::SetObBarCode(const char* barCode) { CopyText(ObBarCode, sizeof ObBarCode, barCode); }
void CObSeqID::SetObSubjectID(const char* subject) { CopyText(ObSubjectID, sizeof ObSubjectID, subject); }

// ---- comparison ----

int CObSeqID::CompareText(const char* a, const char* b) { return CollateTotalA(a, b); }

bool CObSeqID::operator==(const CObSeqID& other) const {
  // The text order is total, so its equality is byte equality.
  return std::strcmp(DatabaseName, other.DatabaseName) == 0 && ObType == other.ObType &&
         (ObAttrFlags & OBATTR_INDEXMASK) == (other.ObAttrFlags & OBATTR_INDEXMASK) &&
         std::strcmp(ObName, other.ObName) == 0 && std::strcmp(ObBarCode, other.ObBarCode) == 0 &&
         std::strcmp(ObSubjectID, other.ObSubjectID) == 0 && DatabaseIndex == other.DatabaseIndex;
}

bool CObSeqID::operator!=(const CObSeqID& other) const { return !(*this == other); }

namespace {
// -1, 0 or +1 by the identifier ordering: object index, type, name.
int OrderKeys(const CObSeqID& a, const CObSeqID& b) {
  LONG ia = a.ObAttrFlags & OBATTR_INDEXMASK, ib = b.ObAttrFlags & OBATTR_INDEXMASK;
  if (ia != ib) return ia < ib ? -1 : 1;
  if (a.ObType != b.ObType) return a.ObType < b.ObType ? -1 : 1;
  return CObSeqID::CompareText(a.ObName, b.ObName);
}
}  // namespace

bool CObSeqID::operator>=(const CObSeqID& other) const { return OrderKeys(*this, other) >= 0; }
bool CObSeqID::operator>(const CObSeqID& other) const { return OrderKeys(*this, other) > 0; }
bool CObSeqID::operator<=(const CObSeqID& other) const { return OrderKeys(*this, other) <= 0; }
bool CObSeqID::operator<(const CObSeqID& other) const { return OrderKeys(*this, other) < 0; }

BOOL CObSeqID::CompareDatabase(const CObSeqID& other) const {
  return DatabaseIndex == other.DatabaseIndex && lstrcmpiA(DatabaseName, other.DatabaseName) == 0;
}

// ---- texts and tokens ----

BOOL CObSeqID::AreTabStopsInIDString() const { return FALSE; }

int CObSeqID::GetIDStringTabStops(int (&tabStops)[10]) const {
  tabStops[0] = 0;
  return 0;
}

int CObSeqID::GetIDString(CString& out) const {
  out = ObName;
  return out.GetLength();
}

LONG CObSeqID::ObSeqType() const { return 0; }

void CObSeqID::GetToken(CString& out) const { out.Format("%ld %s", ObType, ObName); }

BOOL CObSeqID::FromToken(const char* token) {
  if (!token) return FALSE;
  const char* rest = token;
  if (LeadingNumber(token, &rest) != ObType) return FALSE;
  if (*rest == ' ')
    SetObName(rest + 1);
  else
    ObName[0] = '\0';
  return TRUE;
}

// ---- copies ----

CObSeqID* CObSeqID::CloneID() const {
  CObSeqID* id = CreateNewID(ObType);
  if (id) CopyID(*id);
  return id;
}

void CObSeqID::CopyID(CObSeqID& to) const { to.CObSeqID::operator=(*this); }

BOOL ValidateComName(CObSeqID& id) { return id.Validate(); }

BOOL CObSeqID::Validate() {
  BOOL clean = TRUE;
  for (char* p = ObName; *p; ++p) {
    if (std::strchr(kForbiddenNameChars, *p)) {
      *p = '_';
      clean = FALSE;
    }
  }
  return clean;
}

// ---- the name grammar ----

int CObSeqID::ParseName(const char* name, int& cell, int& unique) {
  cell = -1;
  unique = -1;
  if (!name) return 0;
  const int length = int(strnlen(name, INT_MAX));
  if (length < 4) return 0;
  int found = 0;
  int i = length - 1;
  int state = length < 11 ? 6 : 0;
  while (i >= 1) {
    bool ok = true;
    switch (state) {
      case 0:  // two alphanumeric characters
        ok = IsAsciiAlnum(name[i - 1]) && IsAsciiAlnum(name[i]);
        if (ok) { i -= 2; state = 1; }
        break;
      case 1:  // hour
        ok = InRange(TwoDigits(name, i), 0, 23);
        if (ok) { i -= 2; state = 2; }
        break;
      case 2:  // day
        ok = InRange(TwoDigits(name, i), 1, 31);
        if (ok) { i -= 2; state = 3; }
        break;
      case 3:  // month
        ok = InRange(TwoDigits(name, i), 1, 12);
        if (ok) { i -= 2; state = 4; }
        break;
      case 4:  // "_" of the form without a year, or the year
        if (name[i] == '_') {
          unique = i;
          found = 1;
          i -= 1;
          state = 6;
        } else {
          ok = InRange(TwoDigits(name, i), 0, 99);
          if (ok) { i -= 2; state = 5; }
        }
        break;
      case 5:
        ok = name[i] == '_';
        if (ok) {
          unique = i;
          found = 1;
          i -= 1;
          state = 6;
        }
        break;
      default:  // 6: the cell location in front of what was read, then stop
        if (i >= 3 && name[i - 3] == '.' && IsAsciiAlpha(name[i - 2]) && IsAsciiDigit(name[i - 1]) &&
            IsAsciiDigit(name[i]))
          cell = i - 3;
        else if (i >= 2 && name[i - 2] == '.' && IsAsciiAlpha(name[i - 1]) && IsAsciiDigit(name[i]))
          cell = i - 2;
        return found;
    }
    if (!ok) {
      i = length - 1;
      state = 6;
    }
  }
  return found;
}

int CObSeqID::ParseName(int& cell, int& unique) const { return ParseName(ObName, cell, unique); }

BOOL CObSeqID::IsCellLocationExtensionPresent(const char* name) {
  int cell, unique;
  ParseName(name, cell, unique);
  return cell >= 0;
}

BOOL CObSeqID::IsCellLocationExtensionPresent() const { return IsCellLocationExtensionPresent(ObName); }

void CObSeqID::RemoveCellLocationExtension(char* name) {
  int cell, unique;
  ParseName(name, cell, unique);
  if (cell >= 0) name[cell] = '\0';
}

void CObSeqID::RemoveCellLocationExtension(CString& name) {
  int cell, unique;
  ParseName(name, cell, unique);
  if (cell >= 0) name = name.Left(cell);
}

void CObSeqID::RemoveCellLocationExtension() {
  int cell, unique;
  ParseName(ObName, cell, unique);
  // kept: callers rely on a name that is only a cell location staying whole here
  if (cell > 0) ObName[cell] = '\0';
}

BOOL CObSeqID::IsUniqueExtensionPresent() const {
  int cell, unique;
  if (ParseName(ObName, cell, unique)) return TRUE;
  return OldExtensionPosition(ObName) > 0;
}

void CObSeqID::RemoveUniqueExtension() {
  int cell, unique;
  if (ParseName(ObName, cell, unique) && unique >= 1) {
    ObName[unique] = '\0';
    return;
  }
  int old = OldExtensionPosition(ObName);
  if (old > 0) ObName[old] = '\0';
}

void CObSeqID::AddOldExtension() {
  if (!IsUniqueExtensionPresent()) AddExtension(kOldExtension);
}

void CObSeqID::RemoveOldExtension() {
  int old = OldExtensionPosition(ObName);
  if (old > 0) ObName[old] = '\0';
}

void CObSeqID::CreateAndAddExtension() {
  if (IsUniqueExtensionPresent()) return;
  CString ext;
  CreateUniqueExtension(ext);
  AddExtension(ext);
}

void CObSeqID::MakeUniqueExtension(CString& ext, const CTime& when) {
  static const char kDigits[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  int minute = when.GetMinute(), second = when.GetSecond();
  if (minute < 0) minute = 0;  // an unconvertible time counts as the start of the hour
  if (second < 0) second = 0;
  int step = (60 * minute + second) * 10 / 28;
  ext = CString('_') + when.Format("%y%m%d%H");
  ext += kDigits[(step / 36) % 36];
  ext += kDigits[step % 36];
}

void CObSeqID::CreateUniqueExtension(CString& ext) const { MakeUniqueExtension(ext, CTime::GetCurrentTime()); }

void CObSeqID::AddExtension(const char* ext) {
  ValidateComName(*this);
  if (!ext || ObName[0] == '\0') return;
  const int n = int(std::strlen(ObName));
  const int extLength = int(strnlen(ext, INT_MAX / 2));
  int over = n - (kTextSize - 1 - extLength);
  if (over > 0) {
    if (over < n) {
      int cell, unique;
      ParseName(ObName, cell, unique);
      // Keep the cell location: move it (and what follows it) left over the plain name.
      if (cell >= 0 && cell > over) std::memmove(ObName + cell - over, ObName + cell, std::size_t(n - cell) + 1);
    } else {
      over = n;
    }
    ObName[n - over] = '\0';
  }
  // An extension longer than the field is cut at the field's end instead of
  // running past it.
  std::size_t used = std::strlen(ObName);
  std::size_t room = std::size_t(kTextSize - 1) - used;
  std::size_t take = std::size_t(extLength) < room ? std::size_t(extLength) : room;
  std::memcpy(ObName + used, ext, take);
  ObName[used + take] = '\0';
  ObName[kTextSize - 1] = '\0';
}

void CObSeqID::GetReducedIDString(CString& out, const char* text, int size) {
  out.Empty();
  if (size < 1 || !text || !*text) return;
  if (size > 128) size = 128;
  const int length = int(strnlen(text, INT_MAX));
  if (size >= length + 1) {
    out = text;
    return;
  }
  if (size < 24) {
    // Sizes below 4 leave no room for a head; the head is then empty.
    int head = size - 4 > 0 ? size - 4 : 0;
    out = CString(text, head);
    out += "...";
    return;
  }
  int cell, unique;
  int tailStart;
  if (!ParseName(text, cell, unique))
    tailStart = length - 10;
  else
    tailStart = cell >= 0 ? cell : unique;
  int tailLength = length - tailStart;
  // A tail longer than the field leaves no head (and a longer result) rather than a
  // negative head.
  int head = size - tailLength - 4;
  if (head < 0) head = 0;
  out = CString(text, head);
  out += "...";
  out += CString(text + tailStart, tailLength);
}

void CObSeqID::GetReducedIDString(CString& out, int size) const { GetReducedIDString(out, ObName, size); }

// ---- persistence and stored form ----

void CObSeqID::SetIPersistenceParameters(IPersistence* persistence) const {
  if (!persistence) return;
  persistence->put_DatabaseName(ToPseudoBstr(DatabaseName));
  persistence->put_ObName(ToPseudoBstr(ObName));
  persistence->put_ObToken(ObToken);
  persistence->put_ObType(ObType);
  persistence->put_ObAttrFlags(ObAttrFlags);
  persistence->put_DatabaseIndex(DatabaseIndex);
  persistence->put_ObBarCode(ToPseudoBstr(ObBarCode));
  persistence->put_ObSubjectID(ToPseudoBstr(ObSubjectID));
}

void CObSeqID::Serialize(CArchive& ar) {
  if (ar.IsStoring()) {
    ar << ObType;
    ar << CString(ObName);
    ar << ObToken;
    ar << ObAttrFlags;
  } else {
    // The type was read by CreateNewID(CArchive&).
    CString name;
    ar >> name;
    SetObName(name);
    ar >> ObToken;
    ar >> ObAttrFlags;
  }
}

}  // namespace zev
