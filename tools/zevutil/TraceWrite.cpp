// Writing a read trace through the library's format classes.
#include "TraceWrite.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <unistd.h>

#include "Commands.h"
#include "zevutil/CAbi.h"
#include "zevutil/CCrv.h"
#include "zevutil/CEsd.h"
#include "zevutil/CScf.h"

namespace zevcli {

namespace fs = std::filesystem;

std::string WriteScf(const Trace& t, bool version3) {
  zev::CScf scf;
  version3 ? scf.SetVersion300() : scf.SetVersion210();
  if (!t.comments.empty()) {
    for (const auto& c : t.comments) scf.AddComment(c.c_str());
  } else if (!t.name.empty()) {
    scf.AddComment(("NAME=" + t.name).c_str());
  }
  scf.InitBaseSizeAndArray(unsigned(t.bases.size()));
  for (std::size_t i = 0; i < t.bases.size(); ++i) {
    const auto& p = t.probs[i];
    scf.SetBase(int(i), t.peaks[i], p[0], p[1], p[2], p[3], t.bases[i]);
  }
  scf.InitSampleSizeAndArray(unsigned(t.Samples()), t.analyzedScale, t.analyzedRate);
  for (std::size_t i = 0; i < t.Samples(); ++i)
    scf.SetSample(int(i), t.channels[0][i], t.channels[1][i], t.channels[2][i], t.channels[3][i]);
  if (!t.raw[0].empty()) {
    scf.InitRawDataSizeAndArray(unsigned(t.raw[0].size()), t.rawScale, t.rawRate);
    for (std::size_t i = 0; i < t.raw[0].size(); ++i)
      scf.SetRawData(int(i), t.raw[0][i], t.raw[1][i], t.raw[2][i], t.raw[3][i]);
  }
  if (t.scfPrivate) {
    scf.InitCvtDataSizeAndArray(unsigned(t.cvt.size()), t.currentScale);
    for (std::size_t i = 0; i < t.cvt.size(); ++i) scf.SetCvtData(int(i), t.cvt[i][0], t.cvt[i][1], t.cvt[i][2]);
    scf.SetBarcode(t.barcode.c_str());
    scf.SetSubjectID(t.subject.c_str());
  }
  std::vector<zev::BYTE> out;
  if (!scf.WriteToMemory(out)) throw CommandError("the SCF writer refused the data");
  return std::string(out.begin(), out.end());
}

std::string WriteEsd(const Trace& t) {
  zev::CEsd e;
  e.InitProcessedDataSizeAndArray(zev::ULONG(t.Samples()), 0);
  e.SetSampleName(t.name.c_str());
  for (std::size_t i = 0; i < t.Samples(); ++i)
    e.SetProcessedData(int(i), zev::LONG(i), t.channels[0][i], t.channels[1][i], t.channels[2][i], t.channels[3][i]);
  std::vector<zev::BYTE> out;
  if (!e.WriteToMemory(out)) throw CommandError("the ESD writer refused the data");
  return std::string(out.begin(), out.end());
}

// The library names the files after the base it keeps; a ".CRV" after the first
// character of the path cuts its last four characters, as the library does.
std::string CrvBase(const std::string& path) {
  std::size_t at = path.find(".CRV");
  return at != std::string::npos && at > 0 ? path.substr(0, path.size() - 4) : path;
}

// Writes the set into a scratch folder beside the target, then renames each file.
std::vector<std::string> WriteCrv(const Trace& t, const std::string& out) {
  zev::CCrv crv;
  int dyes[4] = {1, 1, 1, 1};
  if (!crv.SetSamplesize(unsigned(t.Samples()), dyes)) throw CommandError("cannot allocate the CRV curves");
  for (std::size_t i = 0; i < t.Samples(); ++i)
    crv.SetSample(int(i), t.channels[0][i], t.channels[1][i], t.channels[2][i], t.channels[3][i]);
  crv.AppendDataArrays();
  crv.AppendResultNames((t.name.empty() ? std::string("trace") : t.name).c_str());

  std::string finalBase = CrvBase(out);
  fs::path scratch = fs::path(finalBase).parent_path() / (".zevutil-crv-" + std::to_string(::getpid()));
  std::error_code ec;
  // Only the scratch folder itself is made: a target in a missing folder fails.
  if (!fs::create_directory(scratch, ec) || ec) throw CommandError("cannot write '" + out + "'");
  std::vector<std::string> suffixes = {"_CRV_TRACE_ORDER.txt"};
  if (t.Samples())
    for (int d = 1; d <= 4; ++d) suffixes.push_back("_D" + std::to_string(d) + ".CRV");
  std::vector<std::string> written;
  bool ok = crv.Write((scratch / "set").c_str());
  std::string made = crv.GetFileName().str();
  if (ok) {
    for (const auto& s : suffixes) {
      if (fs::rename(made + s, finalBase + s, ec); ec) {
        ok = false;
        break;
      }
      written.push_back(finalBase + s);
    }
  }
  if (!ok)
    for (const auto& w : written) fs::remove(w, ec);
  fs::remove_all(scratch, ec);
  if (!ok) throw CommandError("cannot write '" + out + "'");
  return written;
}

// Writes through a scratch file beside the target, then renames it.
void WriteAbif(const Trace& t, const std::string& out) {
  zev::CAbi abi;
  abi.SetSequenceFile(1);
  abi.InitialSeqFlagRecords();
  abi.SetSampleName(t.name.c_str());
  // The channels go in as A, C, G, T and the trace order says so.
  abi.SetTraceOrder("ACGT");
  abi.SetScanNumber(static_cast<unsigned short>(std::min<std::size_t>(t.Samples(), 65535)));
  abi.InitSampleSizeAndArray(unsigned(t.Samples()));
  for (std::size_t i = 0; i < t.Samples(); ++i)
    abi.SetSample(int(i), t.channels[0][i], t.channels[1][i], t.channels[2][i], t.channels[3][i]);
  if (!t.raw[0].empty()) {
    abi.InitRawDataSizeAndArray(unsigned(t.raw[0].size()));
    for (std::size_t i = 0; i < t.raw[0].size(); ++i)
      abi.SetRawData(int(i), t.raw[0][i], t.raw[1][i], t.raw[2][i], t.raw[3][i]);
  }
  abi.InitBaseSizeAndArray(unsigned(t.bases.size()));
  for (std::size_t i = 0; i < t.bases.size(); ++i)
    abi.SetBase(int(i), static_cast<unsigned short>(std::min<std::uint32_t>(t.peaks[i], 65535)), t.bases[i]);
  std::string tmp = out + ".tmp" + std::to_string(::getpid());
  if (!abi.Write(tmp.c_str())) {
    std::remove(tmp.c_str());
    throw CommandError("cannot write '" + out + "'");
  }
  if (std::rename(tmp.c_str(), out.c_str()) != 0) {
    std::remove(tmp.c_str());
    throw CommandError("cannot write '" + out + "'");
  }
}
}  // namespace zevcli
