// The identifiers of what a result was made on: CZevVersionID (a software version,
// read from a file's version resource or from the suite's registry entry),
// CInstrumentID (an instrument) and CSystemID (the whole system, with a version).
// All three store only the CObSeqID form; their extra fields live in memory.
//
// Version resources. ReadFileVersion reads the file's own bytes: the version
// resource (VS_VERSIONINFO) of a PE file, or, in an ELF file, the note our own build
// embeds in libzevutil and in the zevutil program (owner "ZevUtil", section
// ".note.zevutil.version": product name, file and product versions, special build,
// legal copyright and file date), so that it answers the same questions for both.
#pragma once
#include "zevutil/CObSeqID.h"

namespace zev {

class CZevVersionID : public CObSeqID {
 public:
  static constexpr int kFieldSize = 50;

  CZevVersionID();  // "Software Version Alpha 0", token and type 5006
  // number as token and type; a null name gives "Software Version Alpha 0".
  CZevVersionID(LONG number, const char* name);
  CZevVersionID(const CZevVersionID& other);
  CZevVersionID& operator=(const CZevVersionID& other);

  // Equal when ObType and ObName are. Not virtual: through a CObSeqID reference the
  // CObSeqID operator answers.
  using CObSeqID::operator==;
  using CObSeqID::operator!=;
  bool operator==(const CZevVersionID& other) const;
  bool operator!=(const CZevVersionID& other) const;
  // Forward to CObSeqID; kept: callers rely on <= answering as <.
  bool operator>=(const CObSeqID& other) const override;
  bool operator>(const CObSeqID& other) const override;
  bool operator<=(const CObSeqID& other) const override;
  bool operator<(const CObSeqID& other) const override;
  BOOL AreTabStopsInIDString() const override;
  int GetIDStringTabStops(int (&tabStops)[10]) const override;

  // The base's, the default name, token and type 5006, ProductName "Default", no
  // SpecialBuild and FileTime 0; VersionMS and VersionLS keep their values.
  void SetDefaultValues() override;
  // SetDefaultValues, then the name (null gives "Software Version Alpha 0").
  void SetDefaultID(const char* name);
  // "major.minor" when shortForm is non-zero, else "major.minor.build special";
  // returns the length.
  int GetVersionString(CString& out, int shortForm) const;
  // "<ProductName> Version <long version string>"; returns the length.
  int GetIDString(CString& out) const override;
  void GetToken(CString& out) const override;
  BOOL FromToken(const char* token) override;
  CObSeqID* CloneID() const override;
  // The full assignment for an equal ObType, else the CObSeqID one.
  void CopyID(CObSeqID& to) const override;

  // Fills the version from the file's version resource: product version, file date
  // (as local time), ProductName (required), SpecialBuild (optional) and, when year
  // is given, the year behind the "-" of LegalCopyright (required then), after which
  // the name becomes the GetIDString text. Returns 1 when every required item was
  // found; 0 for a null or unreadable file or one without a version resource, which
  // leaves the identifier as it was.
  BOOL ReadFileVersion(char* fileName, int* year);
  // Reads the installed suite's version from the registry (local machine,
  // "SOFTWARE\Halvorn Ostrava, Inc.\ZEV 5500": the subkey named by
  // "LastInstallVersion", its "FullVersion" "major.minor.build"). Returns 1 and sets
  // VersionMS and VersionLS, or 0 leaving them alone.
  BOOL GetZevMainVersion();

  char ProductName[kFieldSize] = {};
  char SpecialBuild[kFieldSize] = {};
  CTime FileTime;
  DWORD VersionMS = 0;  // major in the high 16 bits, minor in the low
  DWORD VersionLS = 0;  // build number
};

class CInstrumentID : public CObSeqID {
 public:
  static constexpr int kFieldSize = 50;

  CInstrumentID();  // "Default", token and type 8000
  // number as token and type (any number with 8 thousands is an instrument).
  CInstrumentID(LONG number, const char* name);
  CInstrumentID(const CInstrumentID& other);
  CInstrumentID& operator=(const CInstrumentID& other);

  using CObSeqID::operator==;
  using CObSeqID::operator!=;
  bool operator==(const CInstrumentID& other) const;
  bool operator!=(const CInstrumentID& other) const;
  bool operator>=(const CObSeqID& other) const override;
  bool operator>(const CObSeqID& other) const override;
  bool operator<=(const CObSeqID& other) const override;  // kept: answers as <
  bool operator<(const CObSeqID& other) const override;
  BOOL AreTabStopsInIDString() const override;
  int GetIDStringTabStops(int (&tabStops)[10]) const override;

  // ObType 8000, the name (null gives "Default"), the texts "N/A" and the current time.
  void SetDefaultID(const char* name);
  void SetDefaultValues() override;
  int GetIDString(CString& out) const override;
  CObSeqID* CloneID() const override;
  void CopyID(CObSeqID& to) const override;

  // The first "d.d" stretch of digits and dots in InstrumentFirmware ("2.13" of
  // "X 2.13b"), or empty; sets *simulated to 1 (never to 0) when the firmware text
  // holds "simulate" in any case.
  void GetFirmwareVersionNumber(CString& out, int* simulated) const;

  char InstrumentSerial[kFieldSize] = {};
  char InstrumentFirmware[kFieldSize] = {};
  char InstrumentInfo[kFieldSize] = {};
  LONG InstrumentTime = 0;  // seconds as in CTime
};

class CSystemID : public CObSeqID {
 public:
  static constexpr int kFieldSize = 50;

  CSystemID();  // "Default"
  CSystemID(LONG number, const char* name);
  CSystemID(const CSystemID& other);
  CSystemID& operator=(const CSystemID& other);

  // Equal when ObType, ObName and the embedded versions are.
  using CObSeqID::operator==;
  using CObSeqID::operator!=;
  bool operator==(const CSystemID& other) const;
  bool operator!=(const CSystemID& other) const;
  bool operator>=(const CObSeqID& other) const override;
  bool operator>(const CObSeqID& other) const override;
  bool operator<=(const CObSeqID& other) const override;  // kept: answers as <
  bool operator<(const CObSeqID& other) const override;
  BOOL AreTabStopsInIDString() const override;
  int GetIDStringTabStops(int (&tabStops)[10]) const override;

  // ObType 8000 (kept: a system identifier has always carried the instrument
  // number), the name (null gives "Default"), the version's defaults and the three
  // texts "Halvorn", "Halvorn Ostrava, Inc.", "None".
  void SetDefaultID(const char* name);
  void SetDefaultValues() override;  // SetDefaultID(null)
  int GetIDString(CString& out) const override;
  CObSeqID* CloneID() const override;
  void CopyID(CObSeqID& to) const override;

  CZevVersionID SystemVersion;
  char SystemVendor[kFieldSize] = {};
  char SystemCompany[kFieldSize] = {};
  char SystemOption[kFieldSize] = {};
};

}  // namespace zev
