// Reading trace files for the commands: the format told by content, each format's
// reader, and the qualities that the ABIF class leaves in the file.
#include "TraceRead.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

#include "Commands.h"
#include "formats/ByteCursor.h"

namespace zevcli {

namespace fs = std::filesystem;

// Defined here rather than beside main() so that the trace bridge library carries it.
std::string ReadWholeFile(const std::string& path) {
  if (path == "-") {
    std::ostringstream ss;
    ss << std::cin.rdbuf();
    return ss.str();
  }
  std::ifstream in(path, std::ios::binary);
  if (!in) throw CommandError("cannot read '" + path + "'");
  // One read of the known size; a file that is not seekable (a pipe) is read to its end.
  std::string data;
  in.seekg(0, std::ios::end);
  const std::streamoff size = in.tellg();
  in.seekg(0, std::ios::beg);
  if (size > 0 && in) {
    data.resize(static_cast<std::size_t>(size));
    in.read(data.data(), size);
    data.resize(static_cast<std::size_t>(in.gcount()));
    if (in.eof() || in.fail()) in.clear(in.rdstate() & std::ios::badbit);
  } else {
    in.clear();
    std::ostringstream ss;
    ss << in.rdbuf();
    data = ss.str();
  }
  if (in.bad()) throw CommandError("cannot read '" + path + "'");
  return data;
}

namespace {

// The whole file ("-" is standard input); a folder gets its own message.
std::string ReadTraceBytes(const std::string& path) {
  std::error_code ec;
  if (path != "-" && fs::is_directory(path, ec)) throw CommandError("cannot read '" + path + "': it is a folder");
  return ReadWholeFile(path);
}

// The quality of an SCF call: the probability of the called base, the largest of the
// four for a call other than A, C, G or T.
std::uint8_t ScfQuality(char base, const std::array<std::uint8_t, 4>& p) {
  switch (base) {
    case 'A': case 'a': return p[0];
    case 'C': case 'c': return p[1];
    case 'G': case 'g': return p[2];
    case 'T': case 't': return p[3];
    default: return *std::max_element(p.begin(), p.end());
  }
}

void AddAbifRunData(const std::string& bytes, zev::CAbi& abi, Trace& t) {
  // The run's length over its scans gives each scan's time, and so a peak's migration time.
  zev::CTime start, stop;
  abi.GetRunDateTime(start, stop);
  if (start.GetTime() > 0 && stop.GetTime() > start.GetTime() && abi.GetScanNumber() > 0)
    t.secondsPerScan = double(stop.GetTime() - start.GetTime()) / abi.GetScanNumber();
  t.quality = ReadAbifQualities(bytes, abi);
  if (!t.quality.empty() && t.quality.size() != t.bases.size()) {
    t.warnings.push_back("PCON2 holds " + std::to_string(t.quality.size()) + " quality values for " +
                         std::to_string(t.bases.size()) + " bases; the missing ones are 0");
    t.quality.resize(t.bases.size(), 0);
  }
}

}  // namespace

std::vector<std::uint8_t> ReadAbifQualities(const std::string& bytes, zev::CAbi& abi) {
  for (int i = 0; i < abi.GetDirectoryCount(); ++i) {
    zev::Abi_flag_record r;
    if (!abi.GetDirectoryEntry(i, r)) break;
    if (std::string(r.TagName, 4) != "PCON" || r.TagNumber != 2) continue;
    if (r.NumElements <= 0 || r.ElementSize != 1 || r.DataSize < r.NumElements) return {};
    std::size_t n = std::size_t(r.NumElements);
    std::vector<std::uint8_t> q(n);
    if (r.DataSize <= 4) {
      // Four bytes or fewer stand in the entry itself, first byte at the top.
      std::uint32_t word = std::uint32_t(r.DataOffset);
      for (std::size_t k = 0; k < n; ++k) q[k] = std::uint8_t(word >> (24 - 8 * k));
      return q;
    }
    zev::ByteCursor in(bytes.data(), bytes.size(), true);
    if (r.DataOffset < 0 || !in.RangeInside(std::uint64_t(r.DataOffset), n)) return {};
    in.Seek(std::size_t(r.DataOffset));
    in.Read(q.data(), n);
    return q;
  }
  return {};
}


namespace {

std::uint32_t LE32(const std::string& b, std::size_t off) {
  auto u = [&](std::size_t i) { return std::uint32_t(static_cast<unsigned char>(b[off + i])); };
  return u(0) | u(1) << 8 | u(2) << 16 | u(3) << 24;
}

}  // namespace

// The format from the content: the magic words of SCF, ABIF and CRV, and for ESD,
// which has none, a trailer whose number of lines accounts for the whole file.
Kind DetectFormat(const std::string& b) {
  if (b.compare(0, 4, ".scf") == 0) return Kind::Scf;
  if (b.compare(0, 4, "ABIF") == 0) return Kind::Abif;
  if (b.size() >= 15 && LE32(b, 0) == 11 && b.compare(4, 11, zev::CCrv::kMagic) == 0) return Kind::Crv;
  if (b.size() >= std::size_t(zev::CEsd::kTrailerSize)) {
    std::size_t t = b.size() - std::size_t(zev::CEsd::kTrailerSize);
    std::uint64_t lines = LE32(b, t + 616);
    bool sizeFits = lines * 20 + std::uint64_t(zev::CEsd::kTrailerSize) == b.size();
    bool marked = LE32(b, t + 454) == LE32(b, t + 458) + 632 || b.compare(t + 450, 4, "ESD1") == 0 ||
                  LE32(b, t + 596) == 1;
    if (sizeFits && marked) return Kind::Esd;
  }
  return Kind::Unknown;
}


std::uint16_t ClampSample(double v) {
  if (!(v > 0)) return 0;
  if (v >= 65535) return 65535;
  return std::uint16_t(std::lround(v));
}


std::string Printable(const std::string& s) {
  std::string out;
  for (unsigned char c : s) {
    if (c >= 0x20 && c != 0x7F) {
      out += char(c);
    } else {
      char buf[8];
      std::snprintf(buf, sizeof buf, "\\x%02X", c);
      out += buf;
    }
  }
  return out;
}

void LoadScf(const std::string& path, const std::string& bytes, zev::CScf& scf) {
  if (!scf.ReadFromMemory(bytes.data(), bytes.size()))
    throw CommandError("cannot read '" + path + "' as SCF: bad version, or counts that do not fit the file");
}

std::vector<std::string> ScfComments(const zev::CScf& scf) {
  std::vector<std::string> out;
  for (zev::POSITION p = scf.GetFirstCommentPosition(); p;) out.push_back(scf.GetNextComment(p).str());
  return out;
}


Trace ScfTrace(zev::CScf& scf) {
  Trace t;
  t.format = "SCF " + Printable(scf.GetVersion().Left(4).str());
  t.comments = ScfComments(scf);
  for (const auto& c : t.comments)
    if (c.rfind("NAME=", 0) == 0) t.name = c.substr(5);
  for (unsigned i = 0; i < scf.GetBaseSize(); ++i) {
    unsigned int peak;
    unsigned char a, c, g, tt;
    char base;
    if (!scf.GetBase(int(i), peak, a, c, g, tt, base)) break;
    t.bases += base;
    t.peaks.push_back(peak);
    t.probs.push_back({a, c, g, tt});
    t.quality.push_back(ScfQuality(base, t.probs.back()));
  }
  for (unsigned i = 0; i < scf.GetSampleSize(); ++i) {
    unsigned short v[4];
    if (!scf.GetSample(int(i), v[0], v[1], v[2], v[3])) break;
    for (int k = 0; k < 4; ++k) t.channels[size_t(k)].push_back(v[k]);
  }
  for (unsigned i = 0; i < scf.GetRawDataSize(); ++i) {
    unsigned short v[4];
    if (!scf.GetRawData(int(i), v[0], v[1], v[2], v[3])) break;
    for (int k = 0; k < 4; ++k) t.raw[size_t(k)].push_back(v[k]);
  }
  t.scfPrivate = true;
  t.rawScale = scf.GetRawScaleFactor();
  t.rawRate = scf.GetRawSampleRate();
  t.analyzedScale = scf.GetAnalyzedScaleFactor();
  t.analyzedRate = scf.GetAnalyzedSampleRate();
  t.currentScale = scf.GetCurrentScaleFactor();
  for (unsigned i = 0; i < scf.GetCvtDataSize(); ++i) {
    std::array<unsigned char, 3> v;
    if (!scf.GetCvtData(int(i), v[0], v[1], v[2])) break;
    t.cvt.push_back(v);
  }
  const char* text;
  scf.GetBarcode(text);
  t.barcode = text;
  scf.GetSubjectID(text);
  t.subject = text;
  return t;
}


void LoadEsd(const std::string& path, const std::string& bytes, zev::CEsd& esd) {
  if (!esd.ReadFromMemory(bytes.data(), bytes.size()))
    throw CommandError("cannot read '" + path + "' as ESD: its records do not fit the file");
}


Trace EsdTrace(zev::CEsd& e) {
  Trace t;
  t.format = e.IsRawData() ? "ESD raw" : "ESD processed";
  t.name = e.GetSampleName().str();
  for (zev::ULONG i = 0; i < e.GetNumberOfLines(); ++i) {
    zev::LONG v[5];
    float f[4];
    // The four dye values: the last four of a raw record, the floats of a processed one.
    if (e.IsRawData()) {
      if (!e.GetRawData(int(i), v[0], v[1], v[2], v[3], v[4])) break;
      for (int k = 0; k < 4; ++k) t.channels[size_t(k)].push_back(ClampSample(v[k + 1]));
    } else {
      if (!e.GetProcessedData(int(i), v[0], f[0], f[1], f[2], f[3])) break;
      for (int k = 0; k < 4; ++k) t.channels[size_t(k)].push_back(ClampSample(f[k]));
    }
  }
  return t;
}


void LoadCrv(const std::string& path, const std::string& bytes, zev::CCrv& crv) {
  if (!crv.ReadFromMemory(bytes.data(), bytes.size()))
    throw CommandError("cannot read '" + path + "' as CRV: a curve is longer than the file");
}


void AddCurve(Trace& t, int channel, const zev::CrvCurve& c) {
  for (zev::LONG v : c.values) t.channels[size_t(channel)].push_back(ClampSample(v));
}

// A dye file of a set (<base>_D1.CRV to _D4.CRV) gives the four channels from the
// first curve of each sibling; any other curve file gives its first four curves.
Trace CrvTrace(const std::string& path, zev::CCrv& crv) {
  Trace t;
  t.format = "CRV";
  // <base>_Dn.CRV: "_D", a digit from 1 to 4, ".CRV".
  std::string base = path;
  bool dyeSet = path.size() > 7 && path.compare(path.size() - 7, 2, "_D") == 0 && path[path.size() - 5] >= '1' &&
                path[path.size() - 5] <= '4' && path.compare(path.size() - 4, 4, ".CRV") == 0;
  if (dyeSet) {
    base = path.substr(0, path.size() - 7);
    t.name = fs::path(base).filename().string();
    for (int d = 0; d < 4; ++d) {
      std::string sibling = base + "_D" + std::to_string(d + 1) + ".CRV";
      zev::CCrv dye;
      if (!fs::exists(sibling) || !dye.Read(sibling.c_str()) || dye.GetCurveCount(0) == 0) continue;
      AddCurve(t, d, *dye.GetCurve(0, 0));
    }
  } else {
    t.name = fs::path(path).stem().string();
    for (int d = 0; d < 4 && d < crv.GetCurveCount(0); ++d) AddCurve(t, d, *crv.GetCurve(0, d));
  }
  // Channels of different lengths are padded to the longest.
  std::size_t n = 0;
  for (const auto& c : t.channels) n = std::max(n, c.size());
  for (auto& c : t.channels) c.resize(n, 0);
  return t;
}


void LoadAbif(const std::string& path, zev::CAbi& abi) {
  if (path == "-") throw CommandError("ABIF input must be a file, not standard input");
  if (!abi.Read(path.c_str())) throw CommandError("cannot read '" + path + "' as ABIF: damaged or unsupported");
}


Trace AbifTrace(zev::CAbi& abi) {
  Trace t;
  t.format = "ABIF";
  t.name = abi.GetSampleName().str();
  for (int i = 0; i < abi.GetBaseCount(); ++i) {
    unsigned short pos;
    char base;
    if (!abi.GetBase(i, pos, base)) break;
    t.bases += base;
    t.peaks.push_back(pos);
    t.probs.push_back({0, 0, 0, 0});
  }
  for (int i = 0; i < abi.GetSampleCount(); ++i) {
    unsigned short v[4];
    if (!abi.GetSample(i, v[0], v[1], v[2], v[3])) break;
    for (int k = 0; k < 4; ++k) t.channels[size_t(k)].push_back(v[k]);
  }
  for (int i = 0; i < abi.GetRawDataCount(); ++i) {
    unsigned short v[4];
    if (!abi.GetRawData(i, v[0], v[1], v[2], v[3])) break;
    for (int k = 0; k < 4; ++k) t.raw[size_t(k)].push_back(v[k]);
  }
  if (!t.name.empty()) t.comments.push_back("NAME=" + t.name);
  return t;
}


Trace ReadTrace(const std::string& path) {
  std::string bytes = ReadTraceBytes(path);
  switch (DetectFormat(bytes)) {
    case Kind::Scf: {
      zev::CScf scf;
      LoadScf(path, bytes, scf);
      return ScfTrace(scf);
    }
    case Kind::Esd: {
      zev::CEsd esd;
      LoadEsd(path, bytes, esd);
      return EsdTrace(esd);
    }
    case Kind::Crv: {
      zev::CCrv crv;
      LoadCrv(path, bytes, crv);
      return CrvTrace(path, crv);
    }
    case Kind::Abif: {
      zev::CAbi abi;
      LoadAbif(path, abi);
      Trace t = AbifTrace(abi);
      AddAbifRunData(bytes, abi, t);
      return t;
    }
    default:
      throw CommandError("'" + path + "' is not an SCF, ABIF, ESD or CRV file");
  }
}


}  // namespace zevcli
