// Identifiers read from any bytes: a stream of stored identifiers through
// CreateNewID(CArchive&), and the same bytes through the reading Serialize of every
// class of the family. What was read is then put through the name grammar, tokens,
// orderings and lists, and must write and read back to the same identifier.
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>

#include "FuzzSupport.h"
#include "zevutil/CMemArchive.h"
#include "zevutil/CObSeqID.h"
#include "zevutil/CObSeqIDList.h"
#include "zevutil/CZevVersionID.h"

using namespace zev;
using zevfuzz::Check;

namespace {

// Every identifier reads the local time zone when it is built; a fixed zone keeps
// that cheap and the runs repeatable.
const int kFixedZone = (setenv("TZ", "UTC", 1), tzset(), 0);

// Store and load again: the stored fields come back.
void CheckRoundTrip(CObSeqID& id) {
  CMemArchive out(CArchive::store);
  id.Serialize(out);
  CMemArchive in(CArchive::load);
  in.SetData(out.GetDataPtr(), out.GetDataSize());
  std::unique_ptr<CObSeqID> back(CObSeqID::CreateNewID(in));
  Check(back->ObType == id.ObType && std::strcmp(back->ObName, id.ObName) == 0 &&
        back->ObToken == id.ObToken && back->ObAttrFlags == id.ObAttrFlags);
  Check(in.GetSizeOfDataRemaining() == 0);
}

void Exercise(CObSeqID& id) {
  CheckRoundTrip(id);

  // A token builds an identifier of the same type and name.
  CString token;
  id.GetToken(token);
  std::unique_ptr<CObSeqID> fromToken(CObSeqID::CreateNewID(token.GetString()));
  if (id.ObType != 0) Check(fromToken && fromToken->ObType == id.ObType && std::strcmp(fromToken->ObName, id.ObName) == 0);

  int cell = 0, unique = 0;
  CObSeqID::ParseName(id.ObName, cell, unique);
  const int length = int(std::strlen(id.ObName));
  Check(cell < length && unique < length);
  for (int size = -1; size <= 130; size += 7) {
    CString reduced;
    CObSeqID::GetReducedIDString(reduced, id.ObName, size);
    if (size >= 4 && size <= length) Check(reduced.GetLength() == (size > 128 ? 128 : size) - 1);
  }

  std::unique_ptr<CObSeqID> copy(id.CloneID());
  copy->AddOldExtension();
  copy->RemoveUniqueExtension();
  copy->CreateAndAddExtension();
  copy->AddExtension(id.ObName);
  Check(std::strlen(copy->ObName) <= 127);
  copy->RemoveCellLocationExtension();
  copy->IsUniqueExtensionPresent();

  CObSeqID plain("x", 1, 10000, 0);
  CSampleID sample("y");
  sample.ResultType = 10002;
  for (const CObSeqID* other : {static_cast<const CObSeqID*>(&plain), static_cast<const CObSeqID*>(&sample),
                                static_cast<const CObSeqID*>(copy.get())}) {
    (void)(id < *other);
    (void)(id <= *other);
    (void)(id > *other);
    (void)(id >= *other);
    (void)(*other < id);
    (void)(id == *other);
  }
}

const std::function<CObSeqID*()> kClasses[] = {
    [] { return new CObSeqID; },           [] { return new CAnalysisParametersID; },
    [] { return new CTemplateID; },        [] { return new CMethodID; },
    [] { return new CColorCalibID; },      [] { return new CMobilityCalibID; },
    [] { return new CSampleTableID; },     [] { return new CSampleTableResultID; },
    [] { return new CSamplePropertySetID; }, [] { return new CProjectID; },
    [] { return new CSampleDataID; },      [] { return new CSequenceResultID; },
    [] { return new CGalvoScanDataID; },   [] { return new CSampleID; },
    [] { return new CInstrumentID; },      [] { return new CZevVersionID; },
    [] { return new CSystemID; },
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // A stream of identifiers through the factory, gathered in sorted lists.
  {
    CMemArchive ar(CArchive::load);
    ar.SetData(data, ULONG(size));
    CObSeqIDList all;
    CSampleIDList samples;
    try {
      for (int i = 0; i < 64 && ar.GetSizeOfDataRemaining() > 0; ++i) {
        std::unique_ptr<CObSeqID> id(CObSeqID::CreateNewID(ar));
        Exercise(*id);
        all.Insert(id.get());
        samples.Insert(id.get());
      }
    } catch (CException* e) {
      e->Delete();
    }
    // The orderings of the family are not all consistent (a sample and its data can
    // each sort after the other), so the list is walked, not checked for order.
    for (POSITION p = all.GetHeadPosition(); p;) all.GetNodeLevel(all.GetNext(p));
    for (POSITION p = samples.GetHeadPosition(); p; samples.GetNext(p)) samples.GetNodeLevel(p);
    // A null position starts at the head again, so the walk ends when pos does.
    POSITION pos = nullptr;
    CSampleDataID data;
    while (samples.FindNextSampleData(pos, &data) && pos) {
    }
    CObSeqIDList copy(all);
    Check(copy.GetCount() == all.GetCount());
  }
  // The same bytes through each class's own reading Serialize.
  for (const auto& make : kClasses) {
    CMemArchive ar(CArchive::load);
    ar.SetData(data, ULONG(size));
    std::unique_ptr<CObSeqID> id(make());
    try {
      id->Serialize(ar);
      Exercise(*id);
    } catch (CException* e) {
      e->Delete();
    }
  }
  return 0;
}
