// dump and convert: the trace-file formats as the library reads and writes them.
// dump shows what the library read from a file, whose format is told by its content;
// convert carries bases, peak positions and traces from one format to another.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <unistd.h>
#include <vector>

#include "Commands.h"
#include "TraceRead.h"
#include "TraceWrite.h"
#include "zevutil/CAbi.h"
#include "zevutil/CCrv.h"
#include "zevutil/CEsd.h"
#include "zevutil/CScf.h"

namespace zevcli {

namespace {

using json = nlohmann::ordered_json;
namespace fs = std::filesystem;

// How many rows dump shows of each long list without --full.
constexpr std::size_t kShownBases = 20;
constexpr std::size_t kShownSamples = 10;

// ---- SCF ----

json DumpScf(zev::CScf& scf, bool full) {
  json d;
  d["format"] = "SCF";
  d["version"] = Printable(scf.GetVersion().Left(4).str());
  d["header"] = {{"samples", scf.GetSampleSize()},          {"samples offset", scf.GetSampleOffset()},
                 {"bases", scf.GetBaseSize()},              {"bases offset", scf.GetBaseOffset()},
                 {"bases left clip", scf.GetBasesLeftClip()}, {"bases right clip", scf.GetBasesRightClip()},
                 {"comments size", scf.GetCommentSize()},   {"comments offset", scf.GetCommentOffset()},
                 {"sample size", scf.GetSampleStructSize()}, {"code set", scf.GetCodeSet()},
                 {"private size", scf.GetPrivateSize()},    {"private offset", scf.GetPrivateOffset()}};
  d["comments"] = json::array();
  for (const auto& c : ScfComments(scf)) d["comments"].push_back(Printable(c));
  d["sequence"] = Printable(scf.GetBaseSequence().str());
  json bases = json::array();
  for (unsigned i = 0; i < scf.GetBaseSize() && (full || i < kShownBases); ++i) {
    unsigned int peak;
    unsigned char a, c, g, t;
    char base;
    if (!scf.GetBase(int(i), peak, a, c, g, t, base)) break;
    bases.push_back({{"index", i}, {"base", Printable(std::string(1, base))}, {"peak", peak},
                     {"A", a}, {"C", c}, {"G", g}, {"T", t}});
  }
  d["bases"] = bases;
  json ch = {{"A", json::array()}, {"C", json::array()}, {"G", json::array()}, {"T", json::array()}};
  for (unsigned i = 0; i < scf.GetSampleSize() && (full || i < kShownSamples); ++i) {
    unsigned short v[4];
    if (!scf.GetSample(int(i), v[0], v[1], v[2], v[3])) break;
    ch["A"].push_back(v[0]);
    ch["C"].push_back(v[1]);
    ch["G"].push_back(v[2]);
    ch["T"].push_back(v[3]);
  }
  d["channels"] = ch;
  json priv;
  priv["magic"] = scf.GetPrivateMagic() == zev::CScf::kPrivateMagic ? ".zev" : "none";
  priv["version"] = scf.GetScfVersion();
  priv["raw data"] = scf.GetRawDataSize();
  priv["raw scale factor"] = scf.GetRawScaleFactor();
  priv["raw sample rate"] = scf.GetRawSampleRate();
  priv["analyzed scale factor"] = scf.GetAnalyzedScaleFactor();
  priv["analyzed sample rate"] = scf.GetAnalyzedSampleRate();
  priv["cvt data"] = scf.GetCvtDataSize();
  priv["current scale factor"] = scf.GetCurrentScaleFactor();
  const char* text;
  scf.GetBarcode(text);
  priv["barcode"] = Printable(text);
  scf.GetSubjectID(text);
  priv["subject ID"] = Printable(text);
  json raw = {{"1", json::array()}, {"2", json::array()}, {"3", json::array()}, {"4", json::array()}};
  for (unsigned i = 0; i < scf.GetRawDataSize() && (full || i < kShownSamples); ++i) {
    unsigned short v[4];
    if (!scf.GetRawData(int(i), v[0], v[1], v[2], v[3])) break;
    for (int k = 0; k < 4; ++k) raw[std::to_string(k + 1)].push_back(v[k]);
  }
  priv["raw channels"] = raw;
  json cvt = json::array();
  for (unsigned i = 0; i < scf.GetCvtDataSize() && (full || i < kShownSamples); ++i) {
    unsigned char v[3];
    if (!scf.GetCvtData(int(i), v[0], v[1], v[2])) break;
    cvt.push_back({v[0], v[1], v[2]});
  }
  priv["cvt"] = cvt;
  d["private"] = priv;
  return d;
}


// ---- ESD ----

json DumpEsd(zev::CEsd& e, bool full) {
  json d;
  d["format"] = "ESD";
  d["version"] = e.GetVersion();
  d["kind"] = e.IsRawData() ? "raw" : "processed";
  d["file length"] = e.GetFileLength();
  d["lines"] = e.GetNumberOfLines();
  d["run"] = {{"sample name", Printable(e.GetSampleName().str())},
              {"operator name", Printable(e.GetOperatorName().str())},
              {"run ID", Printable(e.GetRunID().str())},
              {"plate ID", Printable(e.GetPlateID().str())},
              {"previous run ID", e.GetPrevRunID()},
              {"instrument ID", Printable(e.GetInstID().str())},
              {"parameter set", Printable(e.GetParamSetName().str())},
              {"run start", e.GetRunStartTime()},
              {"run stop", e.GetRunStopTime()},
              {"run voltage", e.GetRunVoltage()},
              {"run time", e.GetRunTime()},
              {"injection voltage", e.GetInjectionVoltage()},
              {"injection time", e.GetInjectionTime()},
              {"temperature", e.GetTemperature()},
              {"laser index", e.GetLazerIndex()},
              {"PMT voltage 1", e.GetPMTVoltage1()},
              {"PMT voltage 2", e.GetPMTVoltage2()},
              {"beam splitter A", Printable(e.GetBeamSplitterA().str())},
              {"beam splitter B", Printable(e.GetBeamSplitterB().str())},
              {"filters", {Printable(e.GetFilter1().str()), Printable(e.GetFilter2().str()),
                           Printable(e.GetFilter3().str()), Printable(e.GetFilter4().str())}},
              {"fill time", e.GetFillTime()},
              {"flush times", {e.GetFlushTime1(), e.GetFlushTime2(), e.GetFlushTime3()}},
              {"prerun voltage", e.GetPrerunVoltage()},
              {"prerun time", e.GetPrerunTime()},
              {"relaxation time", e.GetRelaxationTime()},
              {"scan rate", e.GetScanRate()},
              {"saturated", bool(e.IsSaturated())},
              {"file type", e.GetFileType()},
              {"capillaries", e.GetNumberOfCapillaries()},
              {"capillary usage", e.GetCapUsage()},
              {"current scale factor", e.GetCurrentScaleFactor()},
              {"security code", e.GetSecurityCode()}};
  json order = json::array();
  for (int i = 0; i < 4; ++i) order.push_back(Printable(e.GetBaseOrder(i).str()));
  d["run"]["base order"] = order;
  json mx = json::array();
  for (int r = 0; r < 4; ++r) mx.push_back({e.GetSpecSepMx(r, 0), e.GetSpecSepMx(r, 1), e.GetSpecSepMx(r, 2), e.GetSpecSepMx(r, 3)});
  d["run"]["spectral separation matrix"] = mx;
  json rec = json::array();
  for (zev::ULONG i = 0; i < e.GetNumberOfLines() && (full || i < kShownSamples); ++i) {
    zev::LONG v[5];
    float f[4];
    if (e.IsRawData()) {
      if (!e.GetRawData(int(i), v[0], v[1], v[2], v[3], v[4])) break;
      rec.push_back({v[0], v[1], v[2], v[3], v[4]});
    } else {
      if (!e.GetProcessedData(int(i), v[0], f[0], f[1], f[2], f[3])) break;
      rec.push_back({v[0], f[0], f[1], f[2], f[3]});
    }
  }
  d["records"] = rec;
  return d;
}


// ---- CRV ----

json DumpCrv(zev::CCrv& crv, bool full) {
  json d;
  d["format"] = "CRV";
  d["magic"] = zev::CCrv::kMagic;
  d["curves"] = crv.GetNumbCurve();
  d["curves read"] = crv.GetCurveCount(0);
  d["longest curve"] = crv.GetMaximumSampleSize();
  json curves = json::array();
  for (int j = 0; j < crv.GetCurveCount(0); ++j) {
    const zev::CrvCurve* c = crv.GetCurve(0, j);
    json values = json::array();
    for (std::size_t i = 0; i < c->values.size() && (full || i < kShownSamples); ++i) values.push_back(c->values[i]);
    curves.push_back({{"curve", j + 1}, {"points", c->Count()}, {"values", values}});
  }
  d["curve list"] = curves;
  return d;
}


// ---- ABIF ----

std::string AbifTag(const zev::Abi_flag_record& r) {
  std::string name(r.TagName, 4);
  return Printable(name) + std::to_string(r.TagNumber);
}

std::string TimeText(const zev::CTime& t) {
  if (t.GetTime() <= 0) return "";
  return t.Format("%Y-%m-%d %H:%M:%S").str();
}

json DumpAbif(zev::CAbi& abi, bool full) {
  json d;
  d["format"] = "ABIF";
  d["kind"] = abi.IsSequenceFile() ? "sequence" : abi.IsFragmentFile() ? "fragment" : "other";
  json dir = json::array();
  for (int i = 0; i < abi.GetDirectoryCount(); ++i) {
    zev::Abi_flag_record r;
    if (!abi.GetDirectoryEntry(i, r)) break;
    dir.push_back({{"tag", AbifTag(r)}, {"type", r.ElementType}, {"element size", r.ElementSize},
                   {"elements", r.NumElements}, {"bytes", r.DataSize}, {"data or offset", r.DataOffset}});
  }
  d["directory"] = dir;
  zev::CTime start, stop;
  abi.GetRunDateTime(start, stop);
  unsigned short scale[4];
  abi.GetScaleFactor(scale);
  d["run"] = {{"sample name", Printable(abi.GetSampleName().str())},
              {"machine", Printable(abi.GetMachineName().str())},
              {"run start", TimeText(start)},
              {"run stop", TimeText(stop)},
              {"lane", abi.GetLaneNumber()},
              {"scans", abi.GetScanNumber()},
              {"scan rate", abi.GetScanRate()},
              {"trace order", Printable(abi.GetTraceOrder().str())},
              {"average base spacing", abi.GetAveragebaseSpace()},
              {"scale factors", {scale[0], scale[1], scale[2], scale[3]}},
              {"dye mobility file", Printable(abi.GetDyeMobilityCorrectFile().str())}};
  if (abi.IsFragmentFile()) {
    d["fragment"] = {{"size standard", Printable(abi.GetSizeStandardFileName().str())},
                     {"parameters", Printable(abi.GetFragParameterFileName().str())},
                     {"matrix file", Printable(abi.GetMatrixFileName().str())},
                     {"gel", Printable(abi.GetGelName().str())},
                     {"standard channel", abi.GetStandardChannel()},
                     {"peaks", abi.GetPeakListCount()},
                     {"standard peaks", abi.GetStandardPeakCount()}};
  }
  d["counts"] = {{"samples", abi.GetSampleCount()}, {"raw data", abi.GetRawDataCount()},
                 {"bases", abi.GetBaseCount()}, {"voltage/current points", abi.GetVcptCount()}};
  d["sequence"] = Printable(abi.GetBaseSequence().str());
  json bases = json::array();
  for (int i = 0; i < abi.GetBaseCount() && (full || std::size_t(i) < kShownBases); ++i) {
    unsigned short pos;
    char base;
    if (!abi.GetBase(i, pos, base)) break;
    bases.push_back({{"index", i}, {"base", Printable(std::string(1, base))}, {"peak", pos}});
  }
  d["bases"] = bases;
  auto channels = [&](bool raw) {
    json ch = {{"A", json::array()}, {"C", json::array()}, {"G", json::array()}, {"T", json::array()}};
    int n = raw ? abi.GetRawDataCount() : abi.GetSampleCount();
    for (int i = 0; i < n && (full || std::size_t(i) < kShownSamples); ++i) {
      unsigned short v[4];
      if (!(raw ? abi.GetRawData(i, v[0], v[1], v[2], v[3]) : abi.GetSample(i, v[0], v[1], v[2], v[3]))) break;
      ch["A"].push_back(v[0]);
      ch["C"].push_back(v[1]);
      ch["G"].push_back(v[2]);
      ch["T"].push_back(v[3]);
    }
    return ch;
  };
  d["channels"] = channels(false);
  d["raw channels"] = channels(true);
  return d;
}


// ---- text rendering of a dump ----

std::string Scalar(const json& v) {
  if (v.is_string()) return v.get<std::string>();
  if (v.is_number_float()) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%g", v.get<double>());
    return buf;
  }
  return v.dump();
}

bool IsScalarArray(const json& v) {
  return v.is_array() && std::all_of(v.begin(), v.end(), [](const json& e) { return e.is_primitive() || IsScalarArray(e); });
}

std::string Inline(const json& v) {
  if (!v.is_array()) return Scalar(v);
  std::string s = "[";
  for (std::size_t i = 0; i < v.size(); ++i) s += (i ? ", " : "") + Inline(v[i]);
  return s + "]";
}

// Rows of objects with the same keys print as a table.
bool IsTable(const json& v) {
  if (!v.is_array() || v.empty() || !v[0].is_object()) return false;
  return std::all_of(v.begin(), v.end(), [&](const json& e) {
    return e.is_object() && e.size() == v[0].size() &&
           std::all_of(e.begin(), e.end(), [](const json& x) { return x.is_primitive() || IsScalarArray(x); });
  });
}

// An object of equally long number lists (the channels) prints as columns.
bool IsColumns(const json& v) {
  if (!v.is_object() || v.empty()) return false;
  std::size_t n = v.begin()->is_array() ? v.begin()->size() : 0;
  return std::all_of(v.begin(), v.end(), [&](const json& e) {
    return e.is_array() && e.size() == n && std::all_of(e.begin(), e.end(), [](const json& x) { return x.is_number(); });
  });
}

void PrintTable(const std::vector<std::vector<std::string>>& rows, const std::string& indent) {
  std::vector<std::size_t> width;
  for (const auto& r : rows)
    for (std::size_t c = 0; c < r.size(); ++c) {
      if (width.size() <= c) width.push_back(0);
      width[c] = std::max(width[c], r[c].size());
    }
  for (const auto& r : rows) {
    std::string line = indent;
    for (std::size_t c = 0; c < r.size(); ++c) {
      line += r[c];
      if (c + 1 < r.size()) line += std::string(width[c] - r[c].size() + 2, ' ');
    }
    std::printf("%s\n", line.c_str());
  }
}

void PrintText(const json& d, const std::string& indent) {
  for (auto it = d.begin(); it != d.end(); ++it) {
    const json& v = it.value();
    const std::string& key = it.key();
    if (IsTable(v)) {
      std::printf("%s%s (%zu shown):\n", indent.c_str(), key.c_str(), v.size());
      std::vector<std::vector<std::string>> rows(1);
      for (auto k = v[0].begin(); k != v[0].end(); ++k) rows[0].push_back(k.key());
      for (const auto& e : v) {
        rows.emplace_back();
        for (const auto& x : e) rows.back().push_back(Inline(x));
      }
      PrintTable(rows, indent + "  ");
    } else if (IsColumns(v)) {
      std::size_t n = v.begin()->size();
      std::printf("%s%s (%zu shown):\n", indent.c_str(), key.c_str(), n);
      if (n == 0) continue;
      std::vector<std::vector<std::string>> rows(1, {"index"});
      for (auto k = v.begin(); k != v.end(); ++k) rows[0].push_back(k.key());
      for (std::size_t i = 0; i < n; ++i) {
        rows.push_back({std::to_string(i)});
        for (const auto& col : v) rows.back().push_back(Scalar(col[i]));
      }
      PrintTable(rows, indent + "  ");
    } else if (v.is_object()) {
      std::printf("%s%s:\n", indent.c_str(), key.c_str());
      PrintText(v, indent + "  ");
    } else if (v.is_array() && !v.empty() && std::all_of(v.begin(), v.end(), [](const json& e) { return e.is_string(); }) &&
               key == "comments") {
      std::printf("%s%s (%zu):\n", indent.c_str(), key.c_str(), v.size());
      for (const auto& e : v) std::printf("%s  %s\n", indent.c_str(), e.get<std::string>().c_str());
    } else {
      std::printf("%s%s: %s\n", indent.c_str(), key.c_str(), Inline(v).c_str());
    }
  }
}

// ---- the commands ----

void RunDump(const std::string& path, bool asJson, bool full) {
  std::string bytes = ReadWholeFile(path);
  Kind kind = DetectFormat(bytes);
  json d;
  switch (kind) {
    case Kind::Scf: {
      zev::CScf scf;
      LoadScf(path, bytes, scf);
      d = DumpScf(scf, full);
      break;
    }
    case Kind::Esd: {
      zev::CEsd esd;
      LoadEsd(path, bytes, esd);
      d = DumpEsd(esd, full);
      break;
    }
    case Kind::Crv: {
      zev::CCrv crv;
      LoadCrv(path, bytes, crv);
      d = DumpCrv(crv, full);
      break;
    }
    case Kind::Abif: {
      zev::CAbi abi;
      LoadAbif(path, abi);
      d = DumpAbif(abi, full);
      break;
    }
    default:
      throw CommandError("'" + path + "' is not an SCF, ABIF, ESD or CRV file");
  }
  json doc;
  doc["file"] = path;
  doc["size"] = bytes.size();
  for (auto it = d.begin(); it != d.end(); ++it) doc[it.key()] = it.value();
  if (asJson) {
    std::printf("%s\n", doc.dump(2, ' ', false, json::error_handler_t::replace).c_str());
  } else {
    PrintText(doc, "");
    if (!full) std::printf("(long lists are cut; --full shows everything)\n");
  }
  std::fflush(stdout);
}

void RunConvert(const std::string& in, const std::string& out, const std::string& to) {
  Trace t = ReadTrace(in);
  std::vector<std::string> written;
  if (to == "scf2" || to == "scf3") {
    WriteFileAtomically(out, WriteScf(t, to == "scf3"));
    written.push_back(out);
  } else if (to == "esd") {
    WriteFileAtomically(out, WriteEsd(t));
    written.push_back(out);
  } else if (to == "abif") {
    WriteAbif(t, out);
    written.push_back(out);
  } else {
    written = WriteCrv(t, out);
  }
  std::printf("%s (%s): %zu bases, %zu samples -> %s\n", in.c_str(), t.format.c_str(), t.bases.size(), t.Samples(),
              to.c_str());
  for (const auto& w : written) std::printf("  wrote %s\n", w.c_str());
  std::fflush(stdout);
}

}  // namespace

void AddTraceCommands(CLI::App& app) {
  CLI::App* dump = app.add_subcommand("dump", "show what the library reads from an SCF, ABIF, ESD or CRV file");
  auto file = std::make_shared<std::string>();
  auto asJson = std::make_shared<bool>(false);
  auto full = std::make_shared<bool>(false);
  dump->add_option("FILE", *file, "the trace file; its format is told by its content")->required();
  dump->add_flag("--json", *asJson, "machine-readable output");
  dump->add_flag("--full", *full, "every base and every sample, not only the first");
  dump->callback([file, asJson, full] { RunDump(*file, *asJson, *full); });

  CLI::App* convert = app.add_subcommand("convert", "convert a trace file to another format");
  auto in = std::make_shared<std::string>();
  auto out = std::make_shared<std::string>();
  auto to = std::make_shared<std::string>();
  convert->add_option("IN", *in, "the trace file to read")->required();
  convert->add_option("OUT", *out, "the file to write (for crv, the base of the file set)")->required();
  convert->add_option("--to", *to, "the format to write")
      ->required()
      ->check(CLI::IsMember({"scf2", "scf3", "abif", "esd", "crv"}));
  convert->callback([in, out, to] { RunConvert(*in, *out, *to); });
}

}  // namespace zevcli
