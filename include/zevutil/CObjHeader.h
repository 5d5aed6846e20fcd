// The header of every stored object: CObjHeader holds one CObjInfo, which holds the
// created and the last-modified CRevisionRecord, a note and a few flags.
//
// Stored forms (each starts with its own version number, 4-byte integers throughout):
//   CRevisionRecord  14001, Project, InitialProject, System (CString forms), Time (4 bytes),
//                    Revision (word)
//   CObjInfo         13002, Edited, Note (CString form), InfoFlags, Created, Modified;
//                    the older 13001 (no InfoFlags) is read as well
//   CObjHeader       12001, HeaderValue, ObjInfo
// Barcode, SubjectID and HeaderState are not stored.
//
// Reading an unknown version does VqErr << "Unexpected version in <Class>::Serialize "
// << VqeThrow, which throws a CException* (the caller deletes it). On a thread where
// VqeThrow does not throw, reading simply goes on with the next field. A stored text
// of 128 characters or more throws through CSAR_extract.
#pragma once
#include "zevutil/CObSeq.h"
#include "zevutil/platform/CArchive.h"
#include "zevutil/platform/CString.h"
#include "zevutil/platform/CTime.h"

namespace zev {

class CRevisionRecord : public CObSeq {
 public:
  static constexpr int kTextSize = 128;  // 127 characters and the NUL
  static constexpr LONG kVersion = 14001;

  // Defaults: empty texts, revision 0, the current time.
  CRevisionRecord();
  CRevisionRecord(const CRevisionRecord& other);
  CRevisionRecord& operator=(const CRevisionRecord& other);
  ~CRevisionRecord() override;

  virtual void Serialize(CArchive& ar);

  // Empties the three texts, Revision 0 and Time the current time.
  void SetDefaultValues();
  // The same, then Time takes the given time.
  void SetDefaultValues(const CTime& time);
  // Project takes at most 126 characters of project, InitialProject a copy of Project;
  // System the same way from system, only when system is not null. A null project
  // leaves Project as it is.
  void SetNames(const char* project, const char* system);

  char Project[kTextSize];
  char InitialProject[kTextSize];
  char System[kTextSize];
  CTime Time;
  WORD Revision;
};

class CObjInfo : public CObSeq {
 public:
  static constexpr LONG kVersion = 13002;
  static constexpr LONG kVersionNoFlags = 13001;

  CObjInfo();  // SetDefaultValues()
  CObjInfo(const CObjInfo& other);
  CObjInfo& operator=(const CObjInfo& other);
  ~CObjInfo() override;

  virtual void Serialize(CArchive& ar);

  // Edited 0, both records to their defaults (with the given time if any), Note " "
  // (its empty state is one blank) and InfoFlags 0.
  void SetDefaultValues();
  void SetDefaultValues(const CTime& time);
  // Edited 0; Created to its defaults at *time (now when null) with the names; then
  // Modified becomes a copy of Created.
  void SetCreateValues(const char* project, const char* system, const CTime* time);
  // Modified to its defaults at *time (now when null) with the names, a null system
  // meaning Created's System; Edited 1.
  void SetEditValues(const char* project, const char* system, const CTime* time);

  LONG Edited;
  CRevisionRecord Created;
  CRevisionRecord Modified;
  CString Note;
  LONG InfoFlags;
};

class CObjHeader : public CObSeq {
 public:
  static constexpr int kIdSize = 129;  // Barcode and SubjectID: 128 characters and the NUL
  static constexpr LONG kVersion = 12001;

  // Makes the CObjInfo and sets the defaults.
  CObjHeader();
  // Makes the CObjInfo and assigns; HeaderState starts at 0.
  CObjHeader(const CObjHeader& other);
  // Copies HeaderValue, the CObjInfo (defaults when other has none), Barcode and
  // SubjectID; HeaderState stays.
  CObjHeader& operator=(const CObjHeader& other);
  ~CObjHeader() override;

  // HeaderValue 0 and the CObjInfo (made if missing) to its defaults at the given
  // time; HeaderState, Barcode and SubjectID stay.
  virtual void SetDefaultValues(const CTime& time);
  // HeaderValue 0, the CObjInfo (made if missing) to its defaults, HeaderState 0,
  // Barcode and SubjectID cleared whole.
  virtual void SetDefaultValues();
  virtual void Serialize(CArchive& ar);

  // Makes ObjInfo as a copy when missing, else assigns.
  void SetObjInfo(const CObjInfo& info);
  // Assigns from ObjInfo, or gives info its defaults when there is none.
  void GetObjInfo(CObjInfo& info) const;
  // The virtual SetDefaultValues(), then CObjInfo::SetCreateValues when there is an ObjInfo.
  void SetCreateValues(const char* project, const char* system, const CTime* time);
  // CObjInfo::SetEditValues when there is an ObjInfo.
  void SetEditValues(const char* project, const char* system, const CTime* time);
  // The InitialProject of Created and of Modified; both empty without an ObjInfo.
  void GetProjects(CString& created, CString& modified) const;

  // At most 128 characters are kept; null empties the field.
  void SetBarcode(const char* barcode);
  void SetSubjectID(const char* subject);
  char* GetBarcode() { return Barcode; }
  char* GetSubjectID() { return SubjectID; }
  const char* GetBarcode() const { return Barcode; }
  const char* GetSubjectID() const { return SubjectID; }

  LONG HeaderValue;
  LONG HeaderState;
  // Owned; every operation takes a null ObjInfo as an empty one.
  CObjInfo* ObjInfo;
  char Barcode[kIdSize];
  char SubjectID[kIdSize];
};

}  // namespace zev
