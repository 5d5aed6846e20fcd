// The object header, its info block and revision records, with their stored forms.
#include "zevutil/CObjHeader.h"

#include <cstring>

#include "zevutil/CMemArchive.h"
#include "zevutil/VqeReportStream.h"

namespace zev {

namespace {

// Copies at most max characters of src into dst (which holds max + 1 bytes or more)
// and zero-fills the rest of the first max + 1 bytes.
void CopyCut(char* dst, const char* src, size_t max) {
  size_t n = src ? strnlen(src, max) : 0;
  if (n) std::memcpy(dst, src, n);
  std::memset(dst + n, 0, max + 1 - n);
}

void WriteText(CArchive& ar, const char* text, size_t capacity) {
  WriteCStringForm(ar, text, strnlen(text, capacity - 1));
}

}  // namespace

// ---- CRevisionRecord ----

CRevisionRecord::CRevisionRecord() : Revision(0) { SetDefaultValues(); }

CRevisionRecord::CRevisionRecord(const CRevisionRecord& other) : CObSeq(other) { *this = other; }

CRevisionRecord& CRevisionRecord::operator=(const CRevisionRecord& other) {
  if (this == &other) return *this;
  std::memcpy(Project, other.Project, sizeof Project);
  std::memcpy(InitialProject, other.InitialProject, sizeof InitialProject);
  std::memcpy(System, other.System, sizeof System);
  Time = other.Time;
  Revision = other.Revision;
  return *this;
}

CRevisionRecord::~CRevisionRecord() = default;

void CRevisionRecord::SetDefaultValues() {
  std::memset(Project, 0, sizeof Project);
  std::memset(InitialProject, 0, sizeof InitialProject);
  std::memset(System, 0, sizeof System);
  Revision = 0;
  Time = CTime::GetCurrentTime();
}

void CRevisionRecord::SetDefaultValues(const CTime& time) {
  SetDefaultValues();
  Time = time;
}

void CRevisionRecord::SetNames(const char* project, const char* system) {
  // 126 characters, one short of what the field and its stored form hold.
  if (project) CopyCut(Project, project, kTextSize - 2);
  std::memcpy(InitialProject, Project, sizeof InitialProject);
  if (system) CopyCut(System, system, kTextSize - 2);
}

void CRevisionRecord::Serialize(CArchive& ar) {
  if (ar.IsStoring()) {
    ar << kVersion;
    WriteText(ar, Project, kTextSize);
    WriteText(ar, InitialProject, kTextSize);
    WriteText(ar, System, kTextSize);
    ar << Time;
    ar << Revision;
    return;
  }
  SetDefaultValues();
  LONG version = 0;
  ar >> version;
  if (version != kVersion) VqErr << "Unexpected version in CRevisionRecord::Serialize " << VqeThrow;
  CSAR_extract(Project, kTextSize).Extract(ar);
  CSAR_extract(InitialProject, kTextSize).Extract(ar);
  CSAR_extract(System, kTextSize).Extract(ar);
  ar >> Time;
  ar >> Revision;
}

// ---- CObjInfo ----

CObjInfo::CObjInfo() : Edited(0), InfoFlags(0) { SetDefaultValues(); }

CObjInfo::CObjInfo(const CObjInfo& other)
    : CObSeq(other),
      Edited(other.Edited),
      Created(other.Created),
      Modified(other.Modified),
      Note(other.Note),
      InfoFlags(other.InfoFlags) {}

CObjInfo& CObjInfo::operator=(const CObjInfo& other) {
  if (this == &other) return *this;
  Edited = other.Edited;
  Created = other.Created;
  Modified = other.Modified;
  Note = other.Note;
  InfoFlags = other.InfoFlags;
  return *this;
}

CObjInfo::~CObjInfo() = default;

void CObjInfo::SetDefaultValues() {
  Edited = 0;
  Created.SetDefaultValues();
  Modified.SetDefaultValues();
  Note = " ";
  InfoFlags = 0;
}

void CObjInfo::SetDefaultValues(const CTime& time) {
  Edited = 0;
  Created.SetDefaultValues(time);
  Modified.SetDefaultValues(time);
  Note = " ";
  InfoFlags = 0;
}

void CObjInfo::SetCreateValues(const char* project, const char* system, const CTime* time) {
  const CTime when = time ? *time : CTime::GetCurrentTime();
  Edited = 0;
  Created.SetDefaultValues(when);
  Created.SetNames(project, system);
  Modified = Created;
}

void CObjInfo::SetEditValues(const char* project, const char* system, const CTime* time) {
  const CTime when = time ? *time : CTime::GetCurrentTime();
  Modified.SetDefaultValues(when);
  Modified.SetNames(project, system ? system : Created.System);
  Edited = 1;
}

void CObjInfo::Serialize(CArchive& ar) {
  if (ar.IsStoring()) {
    ar << kVersion << Edited << Note << InfoFlags;
  } else {
    SetDefaultValues();
    LONG version = 0;
    ar >> version >> Edited >> Note;
    if (version == kVersion) {
      ar >> InfoFlags;
    } else {
      InfoFlags = 0;
      if (version != kVersionNoFlags) VqErr << "Unexpected version in CObjInfo::Serialize " << VqeThrow;
    }
  }
  Created.Serialize(ar);
  Modified.Serialize(ar);
}

// ---- CObjHeader ----

CObjHeader::CObjHeader() : HeaderValue(0), HeaderState(0), ObjInfo(new CObjInfo) {
  std::memset(Barcode, 0, sizeof Barcode);
  std::memset(SubjectID, 0, sizeof SubjectID);
  SetDefaultValues();
}

CObjHeader::CObjHeader(const CObjHeader& other)
    : CObSeq(other), HeaderValue(0), HeaderState(0), ObjInfo(new CObjInfo) {
  std::memset(Barcode, 0, sizeof Barcode);
  std::memset(SubjectID, 0, sizeof SubjectID);
  *this = other;
}

CObjHeader& CObjHeader::operator=(const CObjHeader& other) {
  if (this == &other) return *this;
  HeaderValue = other.HeaderValue;
  if (other.ObjInfo)
    SetObjInfo(*other.ObjInfo);
  else
    SetObjInfo(CObjInfo());
  std::memcpy(Barcode, other.Barcode, sizeof Barcode);
  std::memcpy(SubjectID, other.SubjectID, sizeof SubjectID);
  return *this;
}

CObjHeader::~CObjHeader() { delete ObjInfo; }

void CObjHeader::SetDefaultValues(const CTime& time) {
  HeaderValue = 0;
  if (!ObjInfo) ObjInfo = new CObjInfo;
  ObjInfo->SetDefaultValues(time);
}

void CObjHeader::SetDefaultValues() {
  HeaderValue = 0;
  if (!ObjInfo) ObjInfo = new CObjInfo;
  ObjInfo->SetDefaultValues();
  HeaderState = 0;
  std::memset(Barcode, 0, sizeof Barcode);
  std::memset(SubjectID, 0, sizeof SubjectID);
}

void CObjHeader::Serialize(CArchive& ar) {
  if (ar.IsStoring()) {
    ar << kVersion << HeaderValue;
    if (ObjInfo)
      ObjInfo->Serialize(ar);
    else
      CObjInfo().Serialize(ar);
    return;
  }
  SetDefaultValues();
  LONG version = 0;
  ar >> version;
  if (version != kVersion) VqErr << "Unexpected version in CObjHeader::Serialize " << VqeThrow;
  ar >> HeaderValue;
  // A subclass's SetDefaultValues need not make the info block; reading needs one.
  if (!ObjInfo) ObjInfo = new CObjInfo;
  ObjInfo->Serialize(ar);
}

void CObjHeader::SetObjInfo(const CObjInfo& info) {
  if (!ObjInfo)
    ObjInfo = new CObjInfo(info);
  else
    *ObjInfo = info;
}

void CObjHeader::GetObjInfo(CObjInfo& info) const {
  if (ObjInfo)
    info = *ObjInfo;
  else
    info.SetDefaultValues();
}

void CObjHeader::SetCreateValues(const char* project, const char* system, const CTime* time) {
  SetDefaultValues();
  if (ObjInfo) ObjInfo->SetCreateValues(project, system, time);
}

void CObjHeader::SetEditValues(const char* project, const char* system, const CTime* time) {
  if (ObjInfo) ObjInfo->SetEditValues(project, system, time);
}

void CObjHeader::GetProjects(CString& created, CString& modified) const {
  if (!ObjInfo) {
    created.Empty();
    modified.Empty();
    return;
  }
  created = ObjInfo->Created.InitialProject;
  modified = ObjInfo->Modified.InitialProject;
}

void CObjHeader::SetBarcode(const char* barcode) { CopyCut(Barcode, barcode, kIdSize - 1); }

void CObjHeader::SetSubjectID(const char* subject) { CopyCut(SubjectID, subject, kIdSize - 1); }

}  // namespace zev
