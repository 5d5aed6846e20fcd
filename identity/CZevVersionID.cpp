// CZevVersionID, CInstrumentID and CSystemID: defaults, comparisons, version texts,
// the version read from a file or from the registry, and the firmware number.
#include "zevutil/CZevVersionID.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "IdentityText.h"
#include "VersionResource.h"

namespace zev {

using identity::CopyText;

namespace {

const char kDefaultVersionName[] = "Software Version Alpha 0";

// A file time (100-ns ticks since 1601, UTC) as local time, the way the old
// platform built a CTime from one: through the local calendar time, with years
// before 1900 giving 0 and times outside 1970 to 3000 giving -1.
CTime TimeFromFileTime(DWORD high, DWORD low) {
  std::uint64_t ticks = (std::uint64_t(high) << 32) | low;
  std::int64_t seconds = std::int64_t(ticks / 10000000u) - 11644473600LL;
  struct tm local {};
  if (!CTime(seconds).GetLocalTm(&local) || local.tm_year + 1900 < 1900) return CTime(0);
  return CTime(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
}

// The year of a copyright text: behind the first "-", blanks trimmed, up to the
// first blank. Kept: a text without a blank behind the year gives no year.
void CopyrightYear(const std::string& text, int* year) {
  CString rest(text.c_str());
  int dash = rest.Find('-');
  if (dash < 0) return;
  rest = rest.Mid(dash + 1);
  rest.Trim();
  int blank = rest.Find(' ');
  if (blank < 0) return;
  *year = std::atoi(rest.Left(blank));
}

}  // namespace

// ---- CZevVersionID ----

CZevVersionID::CZevVersionID() : CObSeqID(kDefaultVersionName, OBSEQ_SOFTWAREVERSION, OBSEQ_SOFTWAREVERSION, 0) {
  CopyText(ProductName, "Default");
  SpecialBuild[0] = '\0';
  FileTime = CTime(0);
}

CZevVersionID::CZevVersionID(LONG number, const char* name)
    : CObSeqID(name ? name : kDefaultVersionName, number, number, 0) {
  CopyText(ProductName, "Default");
  SpecialBuild[0] = '\0';
  FileTime = CTime(0);
}

CZevVersionID::CZevVersionID(const CZevVersionID& other) = default;
CZevVersionID& CZevVersionID::operator=(const CZevVersionID& other) = default;

bool CZevVersionID::operator==(const CZevVersionID& other) const {
  return ObType == other.ObType && std::strcmp(ObName, other.ObName) == 0;
}
bool CZevVersionID::operator!=(const CZevVersionID& other) const { return !(*this == other); }
bool CZevVersionID::operator>=(const CObSeqID& other) const { return CObSeqID::operator>=(other); }
bool CZevVersionID::operator>(const CObSeqID& other) const { return CObSeqID::operator>(other); }
bool CZevVersionID::operator<=(const CObSeqID& other) const { return CObSeqID::operator<(other); }
bool CZevVersionID::operator<(const CObSeqID& other) const { return CObSeqID::operator<(other); }
BOOL CZevVersionID::AreTabStopsInIDString() const { return FALSE; }
int CZevVersionID::GetIDStringTabStops(int (&tabStops)[10]) const {
  tabStops[0] = 0;
  return 0;
}

void CZevVersionID::SetDefaultValues() {
  CObSeqID::SetDefaultValues();
  SetObName(kDefaultVersionName);
  ObToken = OBSEQ_SOFTWAREVERSION;
  ObType = OBSEQ_SOFTWAREVERSION;
  CopyText(ProductName, "Default");
  SpecialBuild[0] = '\0';
  FileTime = CTime(0);  // an all-zero file time lies before 1900
}

void CZevVersionID::SetDefaultID(const char* name) {
  SetDefaultValues();
  SetObName(name ? name : kDefaultVersionName);
}

int CZevVersionID::GetVersionString(CString& out, int shortForm) const {
  if (shortForm)
    out.Format("%u.%u", unsigned(HIWORD(VersionMS)), unsigned(LOWORD(VersionMS)));
  else
    out.Format("%u.%u.%lu %s", unsigned(HIWORD(VersionMS)), unsigned(LOWORD(VersionMS)), VersionLS, SpecialBuild);
  return out.GetLength();
}

int CZevVersionID::GetIDString(CString& out) const {
  CString version;
  GetVersionString(version, 0);
  out.Format("%s Version %s", ProductName, version.GetString());
  return out.GetLength();
}

void CZevVersionID::GetToken(CString& out) const { CObSeqID::GetToken(out); }
BOOL CZevVersionID::FromToken(const char* token) { return CObSeqID::FromToken(token); }
CObSeqID* CZevVersionID::CloneID() const { return new CZevVersionID(*this); }

void CZevVersionID::CopyID(CObSeqID& to) const {
  auto* same = to.ObType == ObType ? dynamic_cast<CZevVersionID*>(&to) : nullptr;
  if (same)
    *same = *this;
  else
    to.CObSeqID::operator=(*this);
}

BOOL CZevVersionID::ReadFileVersion(char* fileName, int* year) {
  std::vector<BYTE> block;
  if (!fileName || !identity::ReadVersionBlock(fileName, block)) return FALSE;
  BOOL found = TRUE;
  identity::FixedFileInfo fixed;
  if (identity::QueryFixedFileInfo(block, fixed)) {
    VersionMS = fixed.dwProductVersionMS;
    VersionLS = fixed.dwProductVersionLS;
    FileTime = TimeFromFileTime(fixed.dwFileDateMS, fixed.dwFileDateLS);
  } else {
    found = FALSE;
  }
  ProductName[0] = '\0';
  SpecialBuild[0] = '\0';
  std::string text;
  if (identity::QueryVersionString(block, "\\StringFileInfo\\040904B0\\ProductName", text))
    CopyText(ProductName, text.c_str());
  else
    found = FALSE;
  if (identity::QueryVersionString(block, "\\StringFileInfo\\040904B0\\SpecialBuild", text))
    CopyText(SpecialBuild, text.c_str());
  if (year) {
    if (identity::QueryVersionString(block, "\\StringFileInfo\\040904B0\\LegalCopyright", text))
      CopyrightYear(text, year);
    else
      found = FALSE;
  }
  CString id;
  GetIDString(id);
  SetObName(id);
  return found;
}

// ---- CInstrumentID ----

CInstrumentID::CInstrumentID() : CObSeqID("Default", OBSEQ_INSTRUMENT, OBSEQ_INSTRUMENT, 0) { SetDefaultID("Default"); }

CInstrumentID::CInstrumentID(LONG number, const char* name) : CObSeqID(name, number, number, 0) {
  SetDefaultID(name);
  ObType = number;  // SetDefaultID set 8000
}

CInstrumentID::CInstrumentID(const CInstrumentID& other) = default;
CInstrumentID& CInstrumentID::operator=(const CInstrumentID& other) = default;

bool CInstrumentID::operator==(const CInstrumentID& other) const {
  return ObType == other.ObType && std::strcmp(ObName, other.ObName) == 0;
}
bool CInstrumentID::operator!=(const CInstrumentID& other) const { return !(*this == other); }
bool CInstrumentID::operator>=(const CObSeqID& other) const { return CObSeqID::operator>=(other); }
bool CInstrumentID::operator>(const CObSeqID& other) const { return CObSeqID::operator>(other); }
bool CInstrumentID::operator<=(const CObSeqID& other) const { return CObSeqID::operator<(other); }
bool CInstrumentID::operator<(const CObSeqID& other) const { return CObSeqID::operator<(other); }
BOOL CInstrumentID::AreTabStopsInIDString() const { return FALSE; }
int CInstrumentID::GetIDStringTabStops(int (&tabStops)[10]) const {
  tabStops[0] = 0;
  return 0;
}

void CInstrumentID::SetDefaultID(const char* name) {
  ObType = OBSEQ_INSTRUMENT;
  SetObName(name ? name : "Default");
  CopyText(InstrumentSerial, "N/A");
  CopyText(InstrumentFirmware, "N/A");
  CopyText(InstrumentInfo, "N/A");
  InstrumentTime = LONG(CTime::GetCurrentTime().GetTime());
}

void CInstrumentID::SetDefaultValues() { CObSeqID::SetDefaultValues(); }
int CInstrumentID::GetIDString(CString& out) const { return CObSeqID::GetIDString(out); }
CObSeqID* CInstrumentID::CloneID() const { return new CInstrumentID(*this); }

void CInstrumentID::CopyID(CObSeqID& to) const {
  auto* same = to.ObType == ObType ? dynamic_cast<CInstrumentID*>(&to) : nullptr;
  if (same)
    *same = *this;
  else
    to.CObSeqID::operator=(*this);
}

void CInstrumentID::GetFirmwareVersionNumber(CString& out, int* simulated) const {
  const char* firmware = InstrumentFirmware;
  const int length = int(strnlen(firmware, sizeof InstrumentFirmware));
  if (simulated) {
    std::string lower(firmware, std::size_t(length));
    for (char& c : lower)
      if (c >= 'A' && c <= 'Z') c = char(c - 'A' + 'a');
    if (lower.find("simulate") != std::string::npos) *simulated = 1;
  }
  out.Empty();
  auto digit = [](char c) { return c >= '0' && c <= '9'; };
  int i = 0;
  while (i < length - 2) {
    if (!digit(firmware[i])) {
      ++i;
      continue;
    }
    int j = i;
    bool dotDigit = false;
    while (j < length && (digit(firmware[j]) || firmware[j] == '.')) {
      if (firmware[j] == '.' && j + 1 < length && digit(firmware[j + 1])) dotDigit = true;
      ++j;
    }
    if (dotDigit) {
      out = CString(firmware + i, j - i);
      return;
    }
    i = j + 1;  // go on behind the character that ended the stretch
  }
}

// ---- CSystemID ----

CSystemID::CSystemID() : CObSeqID("Default", OBSEQ_SYSTEM, OBSEQ_SYSTEM, 0) { CSystemID::SetDefaultValues(); }

CSystemID::CSystemID(LONG number, const char* name) : CObSeqID(name, number, number, 0) { SetDefaultID(name); }

CSystemID::CSystemID(const CSystemID& other) = default;
CSystemID& CSystemID::operator=(const CSystemID& other) = default;

bool CSystemID::operator==(const CSystemID& other) const {
  return ObType == other.ObType && std::strcmp(ObName, other.ObName) == 0 && !(SystemVersion != other.SystemVersion);
}
bool CSystemID::operator!=(const CSystemID& other) const { return !(*this == other); }
bool CSystemID::operator>=(const CObSeqID& other) const { return CObSeqID::operator>=(other); }
bool CSystemID::operator>(const CObSeqID& other) const { return CObSeqID::operator>(other); }
bool CSystemID::operator<=(const CObSeqID& other) const { return CObSeqID::operator<(other); }
bool CSystemID::operator<(const CObSeqID& other) const { return CObSeqID::operator<(other); }
BOOL CSystemID::AreTabStopsInIDString() const { return FALSE; }
int CSystemID::GetIDStringTabStops(int (&tabStops)[10]) const {
  tabStops[0] = 0;
  return 0;
}

void CSystemID::SetDefaultID(const char* name) {
  ObType = OBSEQ_INSTRUMENT;
  SetObName(name ? name : "Default");
  SystemVersion.SetDefaultValues();
  CopyText(SystemVendor, "Halvorn");
  CopyText(SystemCompany, "Halvorn Ostrava, Inc.");
  CopyText(SystemOption, "None");
}

void CSystemID::SetDefaultValues() { SetDefaultID(nullptr); }
int CSystemID::GetIDString(CString& out) const { return CObSeqID::GetIDString(out); }
CObSeqID* CSystemID::CloneID() const { return new CSystemID(*this); }

void CSystemID::CopyID(CObSeqID& to) const {
  auto* same = to.ObType == ObType ? dynamic_cast<CSystemID*>(&to) : nullptr;
  if (same)
    *same = *this;
  else
    to.CObSeqID::operator=(*this);
}

}  // namespace zev
