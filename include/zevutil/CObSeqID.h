// CObSeqID, the typed identifier of every stored object, and its family: one class
// per kind of object, told apart by the type number in ObType, with the factory
// CObSeqID::CreateNewID that builds the right class from a number, an identifier, a
// token or an archive.
//
// Names carry generated extensions, read from the right:
//   unique extension  "_" + YYMMDDHH + two base-36 characters ("_04031214AB"); the
//                     form without the year digits ("_031214AB") is read as well
//   old extension     "::old" at the end of the name
//   cell location     "." + letter + one or two digits ("SAMPLE.A1"), directly in
//                     front of the unique extension or at the end of the name
//
// Stored form: ObType, ObName (CString form), ObToken and ObAttrFlags as 4-byte
// integers; the sample-result classes add ResultMajor and ResultMinor. Serialize
// reads everything but the type, which CreateNewID(CArchive&) reads first to choose
// the class: readers call CreateNewID(CArchive&), never Serialize alone.
//
// Texts compare with the old platform's locale-aware order (lstrcmpA), made total by
// the bytes, so that only identical names are equal.
#pragma once
#include "zevutil/CObSeq.h"
#include "zevutil/IPersistence.h"
#include "zevutil/platform/CArchive.h"
#include "zevutil/platform/CString.h"
#include "zevutil/platform/CTime.h"

namespace zev {

// The type numbers of stored objects. The thousands carry meaning: 8 for an
// instrument (8000 to 8999), 10 for the results of a sample.
enum OBSEQTYPE : LONG {
  OBSEQ_UNKNOWN = -1,
  OBSEQ_ANALYSISPARAMETERS = 1002,
  OBSEQ_TEMPLATE = 1007,
  OBSEQ_METHOD = 3001,
  OBSEQ_SYSTEM = 5002,
  OBSEQ_SOFTWAREVERSION = 5006,
  OBSEQ_INSTRUMENT = 8000,
  OBSEQ_SAMPLE = 10000,
  OBSEQ_SAMPLEDATA = 10001,
  OBSEQ_SEQUENCERESULT = 10002,
  OBSEQ_GALVOSCANDATA = 10006,
  OBSEQ_SEQUENCERESULT2 = 10008,  // a second result kind, held in a CSequenceResultID
  OBSEQ_COLORCALIB = 11001,
  OBSEQ_MOBILITYCALIB = 11002,
  OBSEQ_SAMPLETABLE = 14000,
  OBSEQ_SAMPLETABLERESULT = 14010,
  OBSEQ_SAMPLEPROPERTYSET = 16001,
  OBSEQ_PROJECT = 41001,
};

// Bit 24 of ObAttrFlags: the low byte of ObToken holds a tree level.
inline constexpr LONG OBATTR_NODELEVEL = 0x01000000;
// The low 24 bits of ObAttrFlags: the object index, the first key of the ordering.
inline constexpr LONG OBATTR_INDEXMASK = 0x00FFFFFF;

class CObSeqID : public CObSeq {
 public:
  static constexpr int kDatabaseNameSize = 256;
  static constexpr int kTextSize = 128;  // ObName, ObBarCode, ObSubjectID: 127 characters

  // Every constructor first sets the defaults of SetDefaultValues, clears
  // DatabaseName and sets ObTime to 1972-01-01 00:00:00 local time.
  CObSeqID();                                            // ObType -1
  explicit CObSeqID(const char* name);                   // null gives "Default"
  CObSeqID(const char* name, int index);                 // and DatabaseIndex
  CObSeqID(const char* name, LONG token, LONG type, LONG attrFlags);  // null name gives ""
  CObSeqID(const char* barCode, const char* subject);    // the name stays empty
  CObSeqID(const char* name, const char* barCode, const char* subject);
  CObSeqID(const char* name, int index, const char* barCode, const char* subject);
  CObSeqID(const char* name, LONG token, LONG type, LONG attrFlags, const char* barCode, const char* subject);
  CObSeqID(const CObSeqID& other);
  // Copies every field, the whole of ObAttrFlags and ObTime included.
  CObSeqID& operator=(const CObSeqID& other);
  ~CObSeqID() override;

  // Equal when DatabaseName (bytes), ObType, the low 24 bits of ObAttrFlags, ObName,
  // ObBarCode, ObSubjectID and DatabaseIndex are: ObToken, ObTime and the flag bits
  // take no part.
  virtual bool operator==(const CObSeqID& other) const;
  virtual bool operator!=(const CObSeqID& other) const;
  // Null empties the field; otherwise at most 127 characters are kept.
  virtual void SetObName(const char* name);
  virtual void SetObBarCode(const char* barCode);
  virtual void SetObSubjectID(const char* subject);
  // The ordering: the low 24 bits of ObAttrFlags, then ObType, then ObName. It sees
  // neither database nor token, so it is coarser than ==.
  virtual bool operator>=(const CObSeqID& other) const;
  virtual bool operator>(const CObSeqID& other) const;
  virtual bool operator<=(const CObSeqID& other) const;
  virtual bool operator<(const CObSeqID& other) const;
  virtual BOOL AreTabStopsInIDString() const;                  // 0
  virtual int GetIDStringTabStops(int (&tabStops)[10]) const;  // tabStops[0] = 0; returns 0
  // The text shown for the identifier (here the name); returns its length.
  virtual int GetIDString(CString& out) const;
  // A new identifier of the class for ObType with this one's fields.
  virtual CObSeqID* CloneID() const;
  // Assigns this identifier to to.
  virtual void CopyID(CObSeqID& to) const;
  // ObAttrFlags 0, ObToken -1, texts empty, DatabaseIndex 0; ObType and DatabaseName stay.
  virtual void SetDefaultValues();
  // 0 in every class: the type number is ObType.
  virtual LONG ObSeqType() const;
  // "<type> <name>".
  virtual void GetToken(CString& out) const;
  // Takes a token: 0 (object unchanged) when its number is not ObType; otherwise the
  // name is what follows the blank behind the number, or empty without a blank; 1.
  virtual BOOL FromToken(const char* token);
  virtual void Serialize(CArchive& ar);
  // Adds a new unique extension unless one (or an old extension) is present.
  virtual void CreateAndAddExtension();
  // Appends ext, first cutting the name so that the result fits in 127 characters;
  // a cell location in the part that would be cut moves left and survives.
  virtual void AddExtension(const char* ext);
  // 1 when a unique extension is present, or the name ends in "::old".
  virtual BOOL IsUniqueExtensionPresent() const;
  // Cuts a unique extension (and what follows it), else a trailing "::old".
  virtual void RemoveUniqueExtension();
  // Appends "::old" unless IsUniqueExtensionPresent.
  virtual void AddOldExtension();
  virtual void RemoveOldExtension();
  // "_" + the local time as YYMMDDHH + two base-36 characters counting the hour in
  // steps of 2.8 seconds.
  virtual void CreateUniqueExtension(CString& ext) const;
  // Replaces forbidden name characters by "_"; 0 if it replaced any, else 1. The set
  // of forbidden characters is empty.
  virtual BOOL Validate();
  // GetReducedIDString of the name.
  virtual void GetReducedIDString(CString& out, int size) const;

  // ---- the name grammar on plain strings ----
  // Finds the extensions of name: cell and unique get their positions, or -1.
  // Returns 1 when a unique extension was found.
  static int ParseName(const char* name, int& cell, int& unique);
  static BOOL IsCellLocationExtensionPresent(const char* name);
  // Cut the name at the cell location (with what follows it), if there is one.
  static void RemoveCellLocationExtension(char* name);
  static void RemoveCellLocationExtension(CString& name);
  // Shortens text for a display field of size bytes (NUL included, at most 128):
  // the head, "..." and the distinguishing tail, size - 1 characters in all.
  static void GetReducedIDString(CString& out, const char* text, int size);
  // The extension CreateUniqueExtension makes at the given time.
  static void MakeUniqueExtension(CString& ext, const CTime& when);

  // The same on ObName. The member RemoveCellLocationExtension cuts only a cell
  // location after the first character, so a name that is only a cell location stays.
  int ParseName(int& cell, int& unique) const;
  BOOL IsCellLocationExtensionPresent() const;
  void RemoveCellLocationExtension();

  // DatabaseIndex equal and DatabaseName equal without regard to case.
  BOOL CompareDatabase(const CObSeqID& other) const;
  // Hands the fields to the database component by its eight put operations, in slot
  // order. The texts share one library-wide buffer: not for two threads at once.
  void SetIPersistenceParameters(IPersistence* persistence) const;

  // ---- factory ----
  // A new default identifier of the class for type; unknown numbers give a plain
  // CObSeqID holding them, 8000 to 8999 a CInstrumentID.
  static CObSeqID* CreateNewID(LONG type);
  // A copy of id in its own class (10008 gives a CSequenceResultID); null for null.
  static CObSeqID* CreateNewID(const CObSeqID* id);
  // From a token "<type> <name>"; null when the leading number is 0 (or missing).
  static CObSeqID* CreateNewID(const char* token);
  // Loading: reads the type, builds its class and lets it read the rest. Storing: a
  // new default CObSeqID. Archive exceptions pass through; nothing leaks.
  static CObSeqID* CreateNewID(CArchive& ar);

  // The library's text comparison: locale-aware, made total by the bytes.
  static int CompareText(const char* a, const char* b);

  char DatabaseName[kDatabaseNameSize];
  char ObName[kTextSize];
  LONG ObToken;
  LONG ObType;
  LONG DatabaseIndex;
  LONG ObAttrFlags;
  char ObBarCode[kTextSize];
  char ObSubjectID[kTextSize];
  CTime ObTime;

 protected:
  void InitFields();
};

// Calls Validate on the identifier and returns its result.
BOOL ValidateComName(CObSeqID& id);

// ---- the simple kinds ----

class CAnalysisParametersID : public CObSeqID {
 public:
  CAnalysisParametersID();  // "DefaultSequenceAnalysisParameters"
  explicit CAnalysisParametersID(const char* name);
  CAnalysisParametersID(const char* name, LONG index);
  CAnalysisParametersID(const CAnalysisParametersID&) = default;
  CAnalysisParametersID& operator=(const CAnalysisParametersID&) = default;
};

class CTemplateID : public CObSeqID {
 public:
  CTemplateID();
  explicit CTemplateID(const char* name);
  CTemplateID(const CTemplateID&) = default;
  CTemplateID& operator=(const CTemplateID&) = default;
  // Empty name, ObAttrFlags 0, ObToken -1, ObType 1007.
  void SetDefaultValues() override;
};

class CMethodID : public CObSeqID {
 public:
  CMethodID();  // "Default"
  explicit CMethodID(const char* name);
  CMethodID(const char* name, LONG index);
  CMethodID(const CMethodID&) = default;
  CMethodID& operator=(const CMethodID&) = default;
  CObSeqID* CloneID() const override;
  void CopyID(CObSeqID& to) const override;
};

class CColorCalibID : public CObSeqID {
 public:
  CColorCalibID();  // "DefaultColorCalibration"
  explicit CColorCalibID(const char* name);
  CColorCalibID(const char* name, LONG index);
  CColorCalibID(const CColorCalibID&) = default;
  CColorCalibID& operator=(const CColorCalibID&) = default;
  // The default name, ObAttrFlags 0, ObToken -1.
  void SetDefaultValues() override;
};

class CMobilityCalibID : public CObSeqID {
 public:
  CMobilityCalibID();  // "DefaultMobilityCalibration"
  explicit CMobilityCalibID(const char* name);
  CMobilityCalibID(const char* name, LONG index);
  CMobilityCalibID(const CMobilityCalibID&) = default;
  CMobilityCalibID& operator=(const CMobilityCalibID&) = default;
  void SetDefaultValues() override;
};

class CSampleTableID : public CObSeqID {
 public:
  CSampleTableID();  // "Default"
  explicit CSampleTableID(const char* name);
  CSampleTableID(const char* name, LONG index);
  CSampleTableID(const char* barCode, const char* subject);
  CSampleTableID(const char* name, const char* barCode, const char* subject);
  CSampleTableID(const char* name, LONG index, const char* barCode, const char* subject);
  CSampleTableID(const CSampleTableID&) = default;
  CSampleTableID& operator=(const CSampleTableID&) = default;
  // ObType 14000 and the name, or "Default" for null.
  void SetDefaultID(const char* name);
  CObSeqID* CloneID() const override;
  void CopyID(CObSeqID& to) const override;
};

class CSampleTableResultID : public CObSeqID {
 public:
  CSampleTableResultID();  // "Default"
  explicit CSampleTableResultID(const char* name);
  CSampleTableResultID(const char* name, LONG index);
  CSampleTableResultID(const char* barCode, const char* subject);
  CSampleTableResultID(const char* name, const char* barCode, const char* subject);
  CSampleTableResultID(const char* name, LONG index, const char* barCode, const char* subject);
  // The sample table's identifier with the number 14010.
  explicit CSampleTableResultID(const CSampleTableID& table);
  CSampleTableResultID(const CSampleTableResultID&) = default;
  CSampleTableResultID& operator=(const CSampleTableResultID&) = default;
  CObSeqID* CloneID() const override;
  void CopyID(CObSeqID& to) const override;
};

// Not built by the factory: CreateNewID(16001) gives a plain CObSeqID.
class CSamplePropertySetID : public CObSeqID {
 public:
  CSamplePropertySetID();
  explicit CSamplePropertySetID(const char* name);
  CSamplePropertySetID(const CSamplePropertySetID&) = default;
  CSamplePropertySetID& operator=(const CSamplePropertySetID&) = default;
  CObSeqID* CloneID() const override;
  void CopyID(CObSeqID& to) const override;
};

class CProjectID : public CObSeqID {
 public:
  CProjectID();
  explicit CProjectID(const char* name);
  CProjectID(const CProjectID&) = default;
  CProjectID& operator=(const CProjectID&) = default;
  CObSeqID* CloneID() const override;
  void CopyID(CObSeqID& to) const override;
};

// ---- the results of a sample ----

// Common base of the results of one sample; the number is the first argument of
// every constructor. Adds two keys, stored behind the base form (major, then minor).
class CSampleResultID : public CObSeqID {
 public:
  explicit CSampleResultID(LONG type);
  CSampleResultID(LONG type, const char* name);
  CSampleResultID(LONG type, const char* name, LONG index);
  CSampleResultID(LONG type, const char* barCode, const char* subject);
  CSampleResultID(LONG type, const char* name, const char* barCode, const char* subject);
  CSampleResultID(LONG type, const char* name, LONG index, const char* barCode, const char* subject);
  CSampleResultID(const CSampleResultID&) = default;
  CSampleResultID& operator=(const CSampleResultID&) = default;

  // Against an identifier of another type, the CObSeqID ordering; of the same type,
  // the result ordering below.
  bool operator>=(const CObSeqID& other) const override;
  bool operator>(const CObSeqID& other) const override;
  bool operator<=(const CObSeqID& other) const override;
  bool operator<(const CObSeqID& other) const override;
  // The result ordering: identifiers that differ by the base != go by the base
  // ordering (<= by the base <); equal ones by ResultMajor, then ResultMinor.
  bool operator>=(const CSampleResultID& other) const;
  bool operator>(const CSampleResultID& other) const;
  bool operator<=(const CSampleResultID& other) const;
  bool operator<(const CSampleResultID& other) const;

  CObSeqID* CloneID() const override = 0;
  void CopyID(CObSeqID& to) const override = 0;
  // The base's defaults and both keys 0.
  void SetDefaultValues() override;
  void Serialize(CArchive& ar) override;

  LONG ResultMinor = 0;
  LONG ResultMajor = 0;
};

class CSampleDataID : public CSampleResultID {
 public:
  CSampleDataID();
  explicit CSampleDataID(const char* name);
  CSampleDataID(const char* name, LONG index);
  CSampleDataID(const char* barCode, const char* subject);
  CSampleDataID(const char* name, const char* barCode, const char* subject);
  CSampleDataID(const char* name, LONG index, const char* barCode, const char* subject);
  CSampleDataID(const CSampleDataID&) = default;
  CSampleDataID& operator=(const CSampleDataID&) = default;
  CObSeqID* CloneID() const override;
  void CopyID(CObSeqID& to) const override;
};

class CSequenceResultID : public CSampleResultID {
 public:
  CSequenceResultID();
  explicit CSequenceResultID(const char* name);
  CSequenceResultID(const char* name, const char* barCode, const char* subject);
  // Keeps the number of its source, which is how a CSequenceResultID holds 10008.
  explicit CSequenceResultID(const CSampleResultID& result);
  CSequenceResultID(const CSequenceResultID&) = default;
  CSequenceResultID& operator=(const CSequenceResultID&) = default;
  CObSeqID* CloneID() const override;
  // As the others, and to's ObType becomes this one's in either case.
  void CopyID(CObSeqID& to) const override;
};

class CGalvoScanDataID : public CSampleResultID {
 public:
  CGalvoScanDataID();
  explicit CGalvoScanDataID(const char* name);
  CGalvoScanDataID(const CGalvoScanDataID&) = default;
  CGalvoScanDataID& operator=(const CGalvoScanDataID&) = default;
  CObSeqID* CloneID() const override;
  void CopyID(CObSeqID& to) const override;
};

// A sample, with the type of the result it was built from and its raw data's
// identifier. Neither extra field is stored.
class CSampleID : public CSampleResultID {
 public:
  CSampleID();
  explicit CSampleID(const char* name);
  CSampleID(const char* name, LONG index);
  CSampleID(const char* barCode, const char* subject);
  CSampleID(const char* name, const char* barCode, const char* subject);
  CSampleID(const char* name, LONG index, const char* barCode, const char* subject);
  CSampleID(const CSampleID&) = default;
  CSampleID(const CSampleDataID& data);           // NOLINT: converts, as assignment does
  CSampleID(const CSequenceResultID& result);     // NOLINT
  CSampleID& operator=(const CSampleID&) = default;
  // The result part of data, ObType 10000, ResultType data's number, SampleData data.
  CSampleID& operator=(const CSampleDataID& data);
  // The result part of result, ObType 10000, ResultType result's number, and
  // SampleData the result part with ObType 10001.
  CSampleID& operator=(const CSequenceResultID& result);

  // Against a non-result, the CObSeqID ordering. Against another result kind,
  // ResultType against its number, reversed (a higher type sorts first). Against a
  // sample: differing SampleData decide; a sample whose SampleData carries its own
  // name sorts first; then ResultType, reversed; then the result keys.
  bool operator>=(const CObSeqID& other) const override;
  bool operator>(const CObSeqID& other) const override;
  bool operator<=(const CObSeqID& other) const override;
  bool operator<(const CObSeqID& other) const override;

  CObSeqID* CloneID() const override;
  // The full assignment for an equal ObType; nothing at all otherwise.
  void CopyID(CObSeqID& to) const override;
  void SetDefaultValues() override;

  // The identifier part of result, ObType 10000, ResultType result's number, and data.
  void SetResultIDs(const CSequenceResultID& result, const CSampleDataID& data);
  CSampleDataID* CreateSampleDataID() const;  // a copy of SampleData
  operator CSampleDataID() const;              // NOLINT
  // A CSequenceResultID holding the result part of this sample (ObType included).
  CSequenceResultID* CreateSequenceResultID() const;
  operator CSequenceResultID() const;  // NOLINT

  LONG ResultType = 0;
  CSampleDataID SampleData;

 private:
  enum class Cmp { GE, GT, LE, LT };
  bool Order(const CObSeqID& other, Cmp op) const;
};

}  // namespace zev
