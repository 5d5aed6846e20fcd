// The identifier family: one class per kind of stored object, the orderings of the
// sample results and samples, and the factory CObSeqID::CreateNewID.
#include <cstring>
#include <memory>

#include "zevutil/CObSeqID.h"
#include "zevutil/CZevVersionID.h"
#include "IdentityText.h"

namespace zev {

namespace {

// CopyID of most classes: the class's own assignment when to has the same type
// number, else the CObSeqID one. A target with the same number but another class
// gets the CObSeqID assignment too, as only that part of it exists.
template <class T>
void CopyIDAs(const T& self, CObSeqID& to) {
  if (to.ObType == self.ObType) {
    if (T* same = dynamic_cast<T*>(&to)) {
      *same = self;
      return;
    }
  }
  to.CObSeqID::operator=(self);
}

// A copy of src as class T; a source of another class gives a default T with the
// source's CObSeqID part.
template <class T>
CObSeqID* CopyAs(const CObSeqID& src) {
  if (const T* same = dynamic_cast<const T*>(&src)) return new T(*same);
  T* id = new T;
  id->CObSeqID::operator=(src);
  return id;
}

}  // namespace

// ---- the simple kinds ----

CAnalysisParametersID::CAnalysisParametersID() : CObSeqID("DefaultSequenceAnalysisParameters") {
  ObType = OBSEQ_ANALYSISPARAMETERS;
}
CAnalysisParametersID::CAnalysisParametersID(const char* name) : CObSeqID(name) { ObType = OBSEQ_ANALYSISPARAMETERS; }
CAnalysisParametersID::CAnalysisParametersID(const char* name, LONG index) : CObSeqID(name, int(index)) {
  ObType = OBSEQ_ANALYSISPARAMETERS;
}

CTemplateID::CTemplateID() { CTemplateID::SetDefaultValues(); }
CTemplateID::CTemplateID(const char* name) : CObSeqID(name) { ObType = OBSEQ_TEMPLATE; }
void CTemplateID::SetDefaultValues() {
  ObName[0] = '\0';
  ObAttrFlags = 0;
  ObToken = -1;
  ObType = OBSEQ_TEMPLATE;
}

CMethodID::CMethodID() : CObSeqID("Default") { ObType = OBSEQ_METHOD; }
CMethodID::CMethodID(const char* name) : CObSeqID(name) { ObType = OBSEQ_METHOD; }
CMethodID::CMethodID(const char* name, LONG index) : CObSeqID(name, int(index)) { ObType = OBSEQ_METHOD; }
CObSeqID* CMethodID::CloneID() const { return new CMethodID(*this); }
void CMethodID::CopyID(CObSeqID& to) const { CopyIDAs(*this, to); }

CColorCalibID::CColorCalibID() {
  CColorCalibID::SetDefaultValues();
  ObType = OBSEQ_COLORCALIB;
}
CColorCalibID::CColorCalibID(const char* name) : CObSeqID(name) { ObType = OBSEQ_COLORCALIB; }
CColorCalibID::CColorCalibID(const char* name, LONG index) : CObSeqID(name, int(index)) { ObType = OBSEQ_COLORCALIB; }
void CColorCalibID::SetDefaultValues() {
  SetObName("DefaultColorCalibration");
  ObAttrFlags = 0;
  ObToken = -1;
}

CMobilityCalibID::CMobilityCalibID() {
  CMobilityCalibID::SetDefaultValues();
  ObType = OBSEQ_MOBILITYCALIB;
}
CMobilityCalibID::CMobilityCalibID(const char* name) : CObSeqID(name) { ObType = OBSEQ_MOBILITYCALIB; }
CMobilityCalibID::CMobilityCalibID(const char* name, LONG index) : CObSeqID(name, int(index)) {
  ObType = OBSEQ_MOBILITYCALIB;
}
void CMobilityCalibID::SetDefaultValues() {
  SetObName("DefaultMobilityCalibration");
  ObAttrFlags = 0;
  ObToken = -1;
}

CSampleTableID::CSampleTableID() : CObSeqID("Default") { ObType = OBSEQ_SAMPLETABLE; }
CSampleTableID::CSampleTableID(const char* name) : CObSeqID(name) { ObType = OBSEQ_SAMPLETABLE; }
CSampleTableID::CSampleTableID(const char* name, LONG index) : CObSeqID(name, int(index)) { ObType = OBSEQ_SAMPLETABLE; }
CSampleTableID::CSampleTableID(const char* barCode, const char* subject) : CObSeqID(barCode, subject) {
  ObType = OBSEQ_SAMPLETABLE;
}
CSampleTableID::CSampleTableID(const char* name, const char* barCode, const char* subject)
    : CObSeqID(name, barCode, subject) {
  ObType = OBSEQ_SAMPLETABLE;
}
CSampleTableID::CSampleTableID(const char* name, LONG index, const char* barCode, const char* subject)
    : CObSeqID(name, int(index), barCode, subject) {
  ObType = OBSEQ_SAMPLETABLE;
}
void CSampleTableID::SetDefaultID(const char* name) {
  ObType = OBSEQ_SAMPLETABLE;
  SetObName(name ? name : "Default");
}
CObSeqID* CSampleTableID::CloneID() const { return new CSampleTableID(*this); }
void CSampleTableID::CopyID(CObSeqID& to) const { CopyIDAs(*this, to); }

CSampleTableResultID::CSampleTableResultID() : CObSeqID("Default") { ObType = OBSEQ_SAMPLETABLERESULT; }
CSampleTableResultID::CSampleTableResultID(const char* name) : CObSeqID(name) { ObType = OBSEQ_SAMPLETABLERESULT; }
CSampleTableResultID::CSampleTableResultID(const char* name, LONG index) : CObSeqID(name, int(index)) {
  ObType = OBSEQ_SAMPLETABLERESULT;
}
CSampleTableResultID::CSampleTableResultID(const char* barCode, const char* subject) : CObSeqID(barCode, subject) {
  ObType = OBSEQ_SAMPLETABLERESULT;
}
CSampleTableResultID::CSampleTableResultID(const char* name, const char* barCode, const char* subject)
    : CObSeqID(name, barCode, subject) {
  ObType = OBSEQ_SAMPLETABLERESULT;
}
CSampleTableResultID::CSampleTableResultID(const char* name, LONG index, const char* barCode, const char* subject)
    : CObSeqID(name, int(index), barCode, subject) {
  ObType = OBSEQ_SAMPLETABLERESULT;
}
CSampleTableResultID::CSampleTableResultID(const CSampleTableID& table) {
  CObSeqID::operator=(table);
  ObType = OBSEQ_SAMPLETABLERESULT;
}
CObSeqID* CSampleTableResultID::CloneID() const { return new CSampleTableResultID(*this); }
void CSampleTableResultID::CopyID(CObSeqID& to) const { CopyIDAs(*this, to); }

CSamplePropertySetID::CSamplePropertySetID() { ObType = OBSEQ_SAMPLEPROPERTYSET; }
CSamplePropertySetID::CSamplePropertySetID(const char* name) : CObSeqID(name) { ObType = OBSEQ_SAMPLEPROPERTYSET; }
CObSeqID* CSamplePropertySetID::CloneID() const { return new CSamplePropertySetID(*this); }
void CSamplePropertySetID::CopyID(CObSeqID& to) const { CopyIDAs(*this, to); }

CProjectID::CProjectID() { ObType = OBSEQ_PROJECT; }
CProjectID::CProjectID(const char* name) : CObSeqID(name) { ObType = OBSEQ_PROJECT; }
CObSeqID* CProjectID::CloneID() const { return new CProjectID(*this); }
void CProjectID::CopyID(CObSeqID& to) const { CopyIDAs(*this, to); }

// ---- CSampleResultID ----

CSampleResultID::CSampleResultID(LONG type) { ObType = type; }
CSampleResultID::CSampleResultID(LONG type, const char* name) : CObSeqID(name) { ObType = type; }
CSampleResultID::CSampleResultID(LONG type, const char* name, LONG index) : CObSeqID(name, int(index)) {
  ObType = type;
}
CSampleResultID::CSampleResultID(LONG type, const char* barCode, const char* subject) : CObSeqID(barCode, subject) {
  ObType = type;
}
CSampleResultID::CSampleResultID(LONG type, const char* name, const char* barCode, const char* subject)
    : CObSeqID(name, barCode, subject) {
  ObType = type;
}
CSampleResultID::CSampleResultID(LONG type, const char* name, LONG index, const char* barCode, const char* subject)
    : CObSeqID(name, int(index), barCode, subject) {
  ObType = type;
}

void CSampleResultID::SetDefaultValues() {
  CObSeqID::SetDefaultValues();
  ResultMinor = 0;
  ResultMajor = 0;
}

void CSampleResultID::Serialize(CArchive& ar) {
  CObSeqID::Serialize(ar);
  if (ar.IsStoring())
    ar << ResultMajor << ResultMinor;
  else
    ar >> ResultMajor >> ResultMinor;
}

namespace {
// The other identifier as a sample result when it has this one's type number; null
// for another number (and for an identifier of another class holding the number).
const CSampleResultID* SameResultType(const CSampleResultID& self, const CObSeqID& other) {
  return other.ObType == self.ObType ? dynamic_cast<const CSampleResultID*>(&other) : nullptr;
}
}  // namespace

bool CSampleResultID::operator>=(const CObSeqID& other) const {
  const CSampleResultID* r = SameResultType(*this, other);
  return r ? operator>=(*r) : CObSeqID::operator>=(other);
}
bool CSampleResultID::operator>(const CObSeqID& other) const {
  const CSampleResultID* r = SameResultType(*this, other);
  return r ? operator>(*r) : CObSeqID::operator>(other);
}
bool CSampleResultID::operator<=(const CObSeqID& other) const {
  const CSampleResultID* r = SameResultType(*this, other);
  return r ? operator<=(*r) : CObSeqID::operator<=(other);
}
bool CSampleResultID::operator<(const CObSeqID& other) const {
  const CSampleResultID* r = SameResultType(*this, other);
  return r ? operator<(*r) : CObSeqID::operator<(other);
}

bool CSampleResultID::operator>=(const CSampleResultID& other) const {
  if (CObSeqID::operator!=(other)) return CObSeqID::operator>=(other);
  if (ResultMajor != other.ResultMajor) return ResultMajor > other.ResultMajor;
  return ResultMinor >= other.ResultMinor;
}
bool CSampleResultID::operator>(const CSampleResultID& other) const {
  if (CObSeqID::operator!=(other)) return CObSeqID::operator>(other);
  if (ResultMajor != other.ResultMajor) return ResultMajor > other.ResultMajor;
  return ResultMinor > other.ResultMinor;
}
bool CSampleResultID::operator<=(const CSampleResultID& other) const {
  // kept: callers rely on identifiers that differ answering <= as <
  if (CObSeqID::operator!=(other)) return CObSeqID::operator<(other);
  if (ResultMajor != other.ResultMajor) return ResultMajor < other.ResultMajor;
  return ResultMinor <= other.ResultMinor;
}
bool CSampleResultID::operator<(const CSampleResultID& other) const {
  if (CObSeqID::operator!=(other)) return CObSeqID::operator<(other);
  if (ResultMajor != other.ResultMajor) return ResultMajor < other.ResultMajor;
  return ResultMinor < other.ResultMinor;
}

// ---- the result classes ----

CSampleDataID::CSampleDataID() : CSampleResultID(OBSEQ_SAMPLEDATA) {}
CSampleDataID::CSampleDataID(const char* name) : CSampleResultID(OBSEQ_SAMPLEDATA, name) {}
CSampleDataID::CSampleDataID(const char* name, LONG index) : CSampleResultID(OBSEQ_SAMPLEDATA, name, index) {}
CSampleDataID::CSampleDataID(const char* barCode, const char* subject)
    : CSampleResultID(OBSEQ_SAMPLEDATA, barCode, subject) {}
CSampleDataID::CSampleDataID(const char* name, const char* barCode, const char* subject)
    : CSampleResultID(OBSEQ_SAMPLEDATA, name, barCode, subject) {}
CSampleDataID::CSampleDataID(const char* name, LONG index, const char* barCode, const char* subject)
    : CSampleResultID(OBSEQ_SAMPLEDATA, name, index, barCode, subject) {}
CObSeqID* CSampleDataID::CloneID() const { return new CSampleDataID(*this); }
void CSampleDataID::CopyID(CObSeqID& to) const { CopyIDAs(*this, to); }

CSequenceResultID::CSequenceResultID() : CSampleResultID(OBSEQ_SEQUENCERESULT) {}
CSequenceResultID::CSequenceResultID(const char* name) : CSampleResultID(OBSEQ_SEQUENCERESULT, name) {}
CSequenceResultID::CSequenceResultID(const char* name, const char* barCode, const char* subject)
    : CSampleResultID(OBSEQ_SEQUENCERESULT, name, barCode, subject) {}
CSequenceResultID::CSequenceResultID(const CSampleResultID& result) : CSampleResultID(OBSEQ_SEQUENCERESULT) {
  CSampleResultID::operator=(result);
}
CObSeqID* CSequenceResultID::CloneID() const { return new CSequenceResultID(*this); }
void CSequenceResultID::CopyID(CObSeqID& to) const {
  CopyIDAs(*this, to);
  to.ObType = ObType;
}

CGalvoScanDataID::CGalvoScanDataID() : CSampleResultID(OBSEQ_GALVOSCANDATA) {}
CGalvoScanDataID::CGalvoScanDataID(const char* name) : CSampleResultID(OBSEQ_GALVOSCANDATA, name) {}
CObSeqID* CGalvoScanDataID::CloneID() const { return new CGalvoScanDataID(*this); }
void CGalvoScanDataID::CopyID(CObSeqID& to) const { CopyIDAs(*this, to); }

// ---- CSampleID ----

CSampleID::CSampleID() : CSampleResultID(OBSEQ_SAMPLE) {}
CSampleID::CSampleID(const char* name) : CSampleResultID(OBSEQ_SAMPLE, name) {}
CSampleID::CSampleID(const char* name, LONG index) : CSampleResultID(OBSEQ_SAMPLE, name, index) {}
CSampleID::CSampleID(const char* barCode, const char* subject) : CSampleResultID(OBSEQ_SAMPLE, barCode, subject) {}
CSampleID::CSampleID(const char* name, const char* barCode, const char* subject)
    : CSampleResultID(OBSEQ_SAMPLE, name, barCode, subject) {}
CSampleID::CSampleID(const char* name, LONG index, const char* barCode, const char* subject)
    : CSampleResultID(OBSEQ_SAMPLE, name, index, barCode, subject) {}
CSampleID::CSampleID(const CSampleDataID& data) : CSampleID() { *this = data; }
CSampleID::CSampleID(const CSequenceResultID& result) : CSampleID() { *this = result; }

CSampleID& CSampleID::operator=(const CSampleDataID& data) {
  CSampleResultID::operator=(data);
  ObType = OBSEQ_SAMPLE;
  ResultType = data.ObType;
  SampleData = data;
  return *this;
}

CSampleID& CSampleID::operator=(const CSequenceResultID& result) {
  CSampleResultID::operator=(result);
  ObType = OBSEQ_SAMPLE;
  ResultType = result.ObType;
  SampleData.CSampleResultID::operator=(result);
  SampleData.ObType = OBSEQ_SAMPLEDATA;
  return *this;
}

void CSampleID::SetDefaultValues() {
  CSampleResultID::SetDefaultValues();
  ObType = OBSEQ_SAMPLE;
  ResultType = 0;
  SampleData.SetDefaultValues();
}

void CSampleID::SetResultIDs(const CSequenceResultID& result, const CSampleDataID& data) {
  CObSeqID::operator=(result);
  ObType = OBSEQ_SAMPLE;
  ResultType = result.ObType;
  SampleData = data;
}

CSampleDataID* CSampleID::CreateSampleDataID() const { return new CSampleDataID(SampleData); }
CSampleID::operator CSampleDataID() const { return SampleData; }

CSequenceResultID* CSampleID::CreateSequenceResultID() const {
  auto* result = new CSequenceResultID;
  // kept: the whole result part is copied, the sample's type number with it
  result->CSampleResultID::operator=(*this);
  return result;
}

CSampleID::operator CSequenceResultID() const {
  CSequenceResultID result;
  result.CSampleResultID::operator=(*this);
  return result;
}

CObSeqID* CSampleID::CloneID() const { return new CSampleID(*this); }

void CSampleID::CopyID(CObSeqID& to) const {
  if (to.ObType != ObType) return;
  if (CSampleID* same = dynamic_cast<CSampleID*>(&to))
    *same = *this;
  else
    to.CObSeqID::operator=(*this);
}

namespace {
// The comparison op of a against b in the reversed sense used for result types:
// a higher type sorts first.
bool Reversed(LONG a, LONG b, int op) {
  switch (op) {
    case 0: return a <= b;  // >=
    case 1: return a < b;   // >
    case 2: return a >= b;  // <=
    default: return a > b;  // <
  }
}
}  // namespace

bool CSampleID::Order(const CObSeqID& other, Cmp op) const {
  const int o = int(op);
  const LONG t = other.ObType;
  auto base = [&] {
    switch (op) {
      case Cmp::GE: return CObSeqID::operator>=(other);
      case Cmp::GT: return CObSeqID::operator>(other);
      case Cmp::LE: return CObSeqID::operator<=(other);
      default: return CObSeqID::operator<(other);
    }
  };
  if (t / 1000 != 10) return base();
  if (t != OBSEQ_SAMPLE) return Reversed(ResultType, t, o);
  const CSampleID* sample = dynamic_cast<const CSampleID*>(&other);
  if (!sample) return base();  // a 10000 that is no CSampleID has no sample data to compare
  auto results = [&](const CSampleResultID& a, const CSampleResultID& b) {
    switch (op) {
      case Cmp::GE: return a >= b;
      case Cmp::GT: return a > b;
      case Cmp::LE: return a <= b;
      default: return a < b;
    }
  };
  if (SampleData != sample->SampleData) return results(SampleData, sample->SampleData);
  // kept: both sides of this test are this object, as the list views expect
  if (std::strcmp(SampleData.ObName, ObName) == 0) return op == Cmp::LE || op == Cmp::LT;
  if (ResultType != sample->ResultType) return Reversed(ResultType, sample->ResultType, o);
  return results(*this, *sample);
}

bool CSampleID::operator>=(const CObSeqID& other) const { return Order(other, Cmp::GE); }
bool CSampleID::operator>(const CObSeqID& other) const { return Order(other, Cmp::GT); }
bool CSampleID::operator<=(const CObSeqID& other) const { return Order(other, Cmp::LE); }
bool CSampleID::operator<(const CObSeqID& other) const { return Order(other, Cmp::LT); }

// ---- factory ----

CObSeqID* CObSeqID::CreateNewID(LONG type) {
  switch (type) {
    case OBSEQ_ANALYSISPARAMETERS: return new CAnalysisParametersID;
    case OBSEQ_TEMPLATE: return new CTemplateID;
    case OBSEQ_METHOD: return new CMethodID;
    case OBSEQ_SAMPLE: return new CSampleID;
    case OBSEQ_SAMPLEDATA: return new CSampleDataID;
    case OBSEQ_SEQUENCERESULT: return new CSequenceResultID;
    case OBSEQ_GALVOSCANDATA: return new CGalvoScanDataID;
    case OBSEQ_COLORCALIB: return new CColorCalibID;
    case OBSEQ_MOBILITYCALIB: return new CMobilityCalibID;
    case OBSEQ_SAMPLETABLE: return new CSampleTableID;
    case OBSEQ_SAMPLETABLERESULT: return new CSampleTableResultID;
    case OBSEQ_PROJECT: return new CProjectID;
    default: break;
  }
  if (type / 1000 == 8) {
    auto* instrument = new CInstrumentID;
    instrument->ObType = type;
    return instrument;
  }
  auto* id = new CObSeqID;
  id->ObType = type;
  return id;
}

CObSeqID* CObSeqID::CreateNewID(const CObSeqID* id) {
  if (!id) return nullptr;
  switch (id->ObType) {
    case OBSEQ_ANALYSISPARAMETERS: return CopyAs<CAnalysisParametersID>(*id);
    case OBSEQ_TEMPLATE: return CopyAs<CTemplateID>(*id);
    case OBSEQ_METHOD: return CopyAs<CMethodID>(*id);
    case OBSEQ_SAMPLE: return CopyAs<CSampleID>(*id);
    case OBSEQ_SAMPLEDATA: return CopyAs<CSampleDataID>(*id);
    case OBSEQ_SEQUENCERESULT: return CopyAs<CSequenceResultID>(*id);
    case OBSEQ_GALVOSCANDATA: return CopyAs<CGalvoScanDataID>(*id);
    case OBSEQ_SEQUENCERESULT2: {
      CObSeqID* copy;
      if (const auto* result = dynamic_cast<const CSampleResultID*>(id))
        copy = new CSequenceResultID(*result);
      else
        copy = CopyAs<CSequenceResultID>(*id);
      copy->ObType = OBSEQ_SEQUENCERESULT2;
      return copy;
    }
    case OBSEQ_COLORCALIB: return CopyAs<CColorCalibID>(*id);
    case OBSEQ_MOBILITYCALIB: return CopyAs<CMobilityCalibID>(*id);
    case OBSEQ_SAMPLETABLE: return CopyAs<CSampleTableID>(*id);
    case OBSEQ_SAMPLETABLERESULT: return CopyAs<CSampleTableResultID>(*id);
    case OBSEQ_PROJECT: return CopyAs<CProjectID>(*id);
    default: break;
  }
  if (id->ObType / 1000 == 8) return CopyAs<CInstrumentID>(*id);
  return new CObSeqID(*id);
}

CObSeqID* CObSeqID::CreateNewID(const char* token) {
  if (!token) return nullptr;
  LONG type = identity::LeadingNumber(token);
  if (type == 0) return nullptr;
  CObSeqID* id = CreateNewID(type);
  // The result of FromToken is not looked at: a token without a name gives an empty name.
  id->FromToken(token);
  return id;
}

CObSeqID* CObSeqID::CreateNewID(CArchive& ar) {
  if (!ar.IsLoading()) return new CObSeqID;
  LONG type = 0;
  ar >> type;
  std::unique_ptr<CObSeqID> id(CreateNewID(type));
  id->Serialize(ar);
  return id.release();
}

}  // namespace zev
