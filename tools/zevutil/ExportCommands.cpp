// export: trace files, folders and lists of files into the library's export formats, in
// one process, named as the library names export files, every input reported.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <unistd.h>
#include <vector>

#include "Commands.h"
#include "ExportDialog.h"
#include "ExportFiles.h"
#include "ExportVerify.h"
#include "ExportWriters.h"
#include "Progress.h"
#include "ReadTrimming.h"
#include "TraceWrite.h"
#include "zevutil/COutputObject.h"
#include "zevutil/platform/Profile.h"

namespace zevcli {

namespace {

using json = nlohmann::ordered_json;
namespace fs = std::filesystem;

struct ExportOptions {
  std::vector<std::string> inputs;
  std::string format;
  std::string outDir = ".";
  bool recursive = false;
  std::string profile;
  bool resolve = false;
  bool overwrite = false;
  bool applyTrimming = false;
  ReadTrimmingOptions trimming;
  int minLength = -1;
  std::string eol;  // empty: each format's own line ends
  bool dryRun = false;
  bool verify = false;
  bool asJson = false;
  bool dialog = false;  // choose format and options in the export dialog, under a progress window
  std::string shot;     // with --dialog, unattended: pictures, then OK
};

struct Input {
  std::string path;
  bool fromFolder = false;  // found by -r: a file that is no trace is passed over
};

// The formats, their export type and whether they need called bases.
struct FormatInfo {
  const char* name;
  zev::EEXPORT_TYPE type;
  bool needsBases;
};

constexpr FormatInfo kFormats[] = {
    {"txt", zev::EXPORT_TEXT, true},   {"seq", zev::EXPORT_SEQ, true},   {"fasta", zev::EXPORT_FASTA, true},
    {"phred", zev::EXPORT_PHRED, true}, {"scf2", zev::EXPORT_SCF2, false}, {"scf3", zev::EXPORT_SCF3, false},
    {"abi", zev::EXPORT_ABI, false},   {"esd", zev::EXPORT_ESD, false},  {"crv", zev::EXPORT_CRV, false},
    {"ori", zev::EXPORT_ORI, false},
};

const FormatInfo& Format(const std::string& name) {
  for (const auto& f : kFormats)
    if (name == f.name) return f;
  throw CommandError("unknown format '" + name + "'");
}

bool TraceExtension(const fs::path& p) {
  std::string e = p.extension().string();
  std::transform(e.begin(), e.end(), e.begin(), [](unsigned char c) { return char(std::tolower(c)); });
  for (const char* known : {".ab1", ".abi", ".ab", ".fsa", ".scf", ".esd", ".crv"})
    if (e == known) return true;
  return false;
}

// Files named on the command line, in folders (-r) and in list files (@list.txt).
std::vector<Input> GatherInputs(const ExportOptions& o) {
  std::vector<Input> out;
  std::function<void(const std::string&, int)> add = [&](const std::string& arg, int depth) {
    if (arg.size() > 1 && arg[0] == '@') {
      if (depth > 8) throw CommandError("list files nest too deeply at '" + arg + "'");
      std::ifstream in(arg.substr(1));
      if (!in) throw CommandError("cannot read the list file '" + arg.substr(1) + "'");
      std::string line;
      while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty() || line[0] == '#') continue;
        add(line, depth + 1);
      }
      return;
    }
    std::error_code ec;
    if (fs::is_directory(arg, ec)) {
      if (!o.recursive) throw CommandError("'" + arg + "' is a folder; -r exports the trace files in it");
      std::vector<std::string> found;
      for (auto it = fs::recursive_directory_iterator(arg, fs::directory_options::skip_permission_denied, ec);
           !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
        if (it->is_regular_file(ec) && it->path().filename().string()[0] != '.') found.push_back(it->path().string());
      }
      std::sort(found.begin(), found.end());
      for (auto& f : found) out.push_back({f, true});
      return;
    }
    out.push_back({arg, false});
  };
  for (const auto& a : o.inputs) add(a, 0);
  return out;
}

std::string StemOf(const std::string& path) {
  std::string stem = fs::path(path).stem().string();
  if (stem.empty()) stem = fs::path(path).filename().string();
  zev::CString s(stem.c_str());
  zev::COutputObject::UnIllegalifyTheFilename(s);
  return s.str();
}

std::string Ext(zev::EEXPORT_TYPE t) { return zev::COutputObject::GetExportExtension(t, 1).str(); }

// The unit of files one input gives in a format.
ExportUnit PlanUnit(const std::string& outDir, const std::string& stem, const FormatInfo& f, std::size_t samples) {
  ExportUnit u;
  u.stem = (fs::path(outDir) / stem).string();
  switch (f.type) {
    case zev::EXPORT_FASTA:
      u.primaryExt = Ext(zev::EXPORT_FASTA);
      // The name assemblers look for beside a FASTA.
      u.files = {{"fasta", u.primaryExt, "", ""}, {"qual", u.primaryExt + ".qual", "", ""}};
      break;
    case zev::EXPORT_PHRED:
      u.primaryExt = Ext(zev::EXPORT_PHRED);
      u.files = {{"phd", u.primaryExt, "", ""}, {"scf", Ext(zev::EXPORT_SCF3), "", ""}};
      break;
    case zev::EXPORT_CRV:
      u.crv = true;
      u.primaryExt = Ext(zev::EXPORT_CRV);
      // The names the CRV writer gives its set.
      u.files = {{"crv trace order", "_CRV_TRACE_ORDER.txt", "", ""}};
      if (samples)
        for (int d = 1; d <= 4; ++d) u.files.push_back({"crv", "_D" + std::to_string(d) + ".CRV", "", ""});
      break;
    default:
      u.primaryExt = Ext(f.type);
      u.files = {{f.name, u.primaryExt, "", ""}};
      break;
  }
  return u;
}

void WriteTemp(UnitFile& f, const std::string& bytes) {
  f.temp = TemporaryName(f.path);
  std::ofstream out(f.temp, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), std::streamsize(bytes.size()));
  out.flush();
  if (!out) throw CommandError("cannot write '" + f.path + "'");
}

// A file the library wrote, with its line ends changed when asked.
void FixLineEnds(const UnitFile& f, const std::string& eol) {
  if (eol.empty()) return;
  std::string text = ReadWholeFile(f.temp);
  std::string fixed = WithLineEnds(text, eol);
  if (fixed == text) return;
  std::ofstream out(f.temp, std::ios::binary | std::ios::trunc);
  out.write(fixed.data(), std::streamsize(fixed.size()));
  if (!out) throw CommandError("cannot write '" + f.path + "'");
}

// Writes every file of the unit under its temporary name.
void WriteUnit(ExportUnit& u, ExportRead& read, const FormatInfo& f, const ExportOptions& o) {
  const std::string crlf = o.eol.empty() ? "\r\n" : o.eol;  // the library's text export: CR LF
  const std::string lf = o.eol.empty() ? "\n" : o.eol;
  switch (f.type) {
    case zev::EXPORT_TEXT: {
      UnitFile& file = u.files[0];
      // The library completes the name with the table's extension if it lacks it.
      const std::string tmp = TemporaryName(file.path) + u.primaryExt;
      file.temp = tmp;
      const std::string wrote = WriteBaseTable(read, tmp);
      if (wrote.empty()) throw CommandError("cannot write '" + file.path + "'");
      file.temp = wrote;
      FixLineEnds(file, o.eol);
      break;
    }
    case zev::EXPORT_SEQ:
      WriteTemp(u.files[0], SeqText(read, crlf));
      break;
    case zev::EXPORT_FASTA: {
      WriteTemp(u.files[0], FastaText(read, crlf));
      UnitFile& q = u.files[1];
      q.temp = TemporaryName(q.path);
      if (!WriteQuality(read, q.temp, ">" + read.title)) throw CommandError("cannot write '" + q.path + "'");
      FixLineEnds(q, o.eol);
      break;
    }
    case zev::EXPORT_PHRED: {
      WriteTemp(u.files[1], WriteScf(ExportedTrace(read), true));
      WriteTemp(u.files[0], PhdText(read, fs::path(u.files[1].path).filename().string(), lf));
      break;
    }
    case zev::EXPORT_SCF2:
    case zev::EXPORT_SCF3:
      WriteTemp(u.files[0], WriteScf(ExportedTrace(read), f.type == zev::EXPORT_SCF3));
      break;
    case zev::EXPORT_ESD:
      WriteTemp(u.files[0], WriteEsd(read.trace));
      break;
    case zev::EXPORT_ORI:
      WriteTemp(u.files[0], OriText(read.trace, crlf));
      break;
    case zev::EXPORT_ABI:
      u.files[0].temp = TemporaryName(u.files[0].path);
      WriteAbif(ExportedTrace(read), u.files[0].temp);
      break;
    case zev::EXPORT_CRV: {
      const std::string base = TemporaryName(u.stem);
      for (UnitFile& file : u.files) file.temp = base + file.ext;
      WriteCrv(read.trace, base);
      break;
    }
    default:
      throw CommandError("format not written");
  }
}

// One input: read, trim, name, write, verify; the report goes into r.
void ExportOne(const Input& in, const FormatInfo& f, const ExportOptions& o, const std::vector<VectorRecord>& vectors,
               std::set<std::string>& claimed, json& r) {
  r["input"] = in.path;
  ExportRead read;
  LoadExportRead(in.path, read);
  r["format"] = read.trace.format;
  r["sample name"] = Printable(read.trace.name);
  r["bases before trimming"] = read.basesBefore;
  json warnings = json::array();
  for (const auto& w : read.trace.warnings) warnings.push_back(w);
  const bool anyQuality =
      std::any_of(read.trace.quality.begin(), read.trace.quality.end(), [](std::uint8_t q) { return q != 0; });
  if (read.basesBefore && !anyQuality) warnings.push_back("every quality value is 0 (the file holds none)");
  if (read.basesBefore == 0 && f.needsBases)
    throw CommandError("no called bases (a fragment or raw-data file): nothing to export as " + std::string(f.name));

  const bool writesBases = f.needsBases || f.type == zev::EXPORT_SCF2 || f.type == zev::EXPORT_SCF3 ||
                          f.type == zev::EXPORT_ABI;
  for (std::size_t i = 0; writesBases && i < read.trace.bases.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(read.trace.bases[i]);
    if (!std::isgraph(c)) {
      char hex[8];
      std::snprintf(hex, sizeof hex, "0x%02X", c);
      throw CommandError("base " + std::to_string(i + 1) + " of " + std::to_string(read.basesBefore) + " is the byte " +
                         hex + ", not a base letter: the file's base calls are damaged");
    }
  }

  if (o.applyTrimming && read.basesBefore) {
    ReadTrimmingResult t = SetReadTrimming(read.sequence, o.trimming, vectors);
    read.sequence.ApplyContaminantTrimming(kContaminantMask);
    CollectBases(read);
    read.trimmed = true;
    read.trimCutoff = o.trimming.trimCutoff;
    if (!t.qualityRange) warnings.push_back("no quality values: no quality trimming");
    if (t.matches) warnings.push_back(std::to_string(t.matches) + " vector match(es) trimmed or masked");
    if (read.bases.empty()) warnings.push_back("trimming kept no base");
    r["trim"] = {{"first", read.trimFirst}, {"last", read.trimLast}, {"cutoff", read.trimCutoff}};
  }
  r["bases after trimming"] = read.bases.size();
  if (f.type == zev::EXPORT_ABI && read.basesBefore) warnings.push_back("ABIF as written here carries no quality values");
  r["warnings"] = warnings;
  if (o.minLength >= 0 && long(read.bases.size()) <= o.minLength) {
    r["skipped"] = "the read has " + std::to_string(read.bases.size()) + " bases, not more than " +
                   std::to_string(o.minLength);
    return;
  }

  ExportUnit u = PlanUnit(o.outDir, StemOf(in.path), f, read.trace.Samples());
  NameUnit(u, o.overwrite ? ClashPolicy::Overwrite : o.resolve ? ClashPolicy::Resolve : ClashPolicy::Refuse,
           claimed);
  for (const auto& file : u.files) {
    std::error_code ec;
    if (fs::equivalent(file.path, in.path, ec))
      throw CommandError("'" + file.path + "' is the input itself; not overwritten");
  }
  if (!u.renamedFrom.empty()) r["renames"] = json::array({{{"from", u.renamedFrom}, {"to", u.files[0].path}}});
  json files = json::array();
  for (const auto& file : u.files) files.push_back({{"kind", file.kind}, {"path", file.path}});
  r["files"] = files;
  for (const auto& file : u.files) claimed.insert(file.path);
  if (o.dryRun) return;
  try {
    WriteUnit(u, read, f, o);
  } catch (...) {
    DiscardUnit(u);
    throw;
  }
  CommitUnit(u, o.overwrite);
  if (o.verify) {
    std::string problem = VerifyUnit(u, read, f.type);
    if (!problem.empty()) throw CommandError("verify: " + problem);
    r["verified"] = true;
  }
}

void RunExport(ExportOptions& o) {
  if (o.dialog) {
    ExportDialogChoice c{o.format.empty() ? zev::EXPORT_NONE : Format(o.format).type, o.outDir, o.minLength,
                         o.resolve, o.applyTrimming};
    if (!ChooseExportInDialog(c, o.shot)) {
      std::printf("export cancelled in the dialog\n");
      return;
    }
    for (const auto& f : kFormats)
      if (f.type == c.type) o.format = f.name;
    o.outDir = c.outDir, o.minLength = c.minLength, o.resolve = c.resolve && !o.overwrite;
    o.applyTrimming = c.applyTrimming;
  }
  if (o.format.empty()) throw CommandError("--format is required (or --dialog to choose it)");
  if (o.resolve && o.overwrite) throw CommandError("--resolve-conflicts and --overwrite exclude each other");
  const FormatInfo& f = Format(o.format);
  if (!o.profile.empty()) {
    if (!fs::is_regular_file(o.profile)) throw CommandError("cannot read the profile '" + o.profile + "'");
    zev::SetApplicationProfile(fs::absolute(o.profile).c_str());
  }
  if (o.eol == "lf") o.eol = "\n";
  else if (o.eol == "crlf") o.eol = "\r\n";
  std::error_code ec;
  if (!fs::is_directory(o.outDir, ec)) throw CommandError("the output folder '" + o.outDir + "' does not exist");
  if (!o.dryRun) {
    // A folder that takes no file fails once here rather than once per input.
    const std::string probe = TemporaryName((fs::path(o.outDir) / "probe").string());
    std::ofstream test(probe);
    if (!test) throw CommandError("cannot write into the output folder '" + o.outDir + "'");
    test.close();
    std::remove(probe.c_str());
  }
  if (o.applyTrimming) CheckReadTrimmingOptions(o.trimming);
  const std::vector<VectorRecord> vectors = o.applyTrimming ? LoadVectors(o.trimming) : std::vector<VectorRecord>{};
  const std::vector<Input> inputs = GatherInputs(o);
  if (inputs.empty()) throw CommandError("no input files");

  json report = json::array();
  std::set<std::string> claimed;
  std::size_t exported = 0, failed = 0, skipped = 0, written = 0;
  Progress progress(inputs.size(), "export");
  std::unique_ptr<ExportProgressWindow> window;
  if (o.dialog) window = std::make_unique<ExportProgressWindow>(inputs.size(), o.shot);
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    const Input& in = inputs[i];
    if (window && !window->Next(in.path)) {
      std::printf("export cancelled after %zu of %zu inputs\n", i, inputs.size());
      break;
    }
    progress.Step(i, in.path);
    json r;
    try {
      if (in.fromFolder && !TraceExtension(in.path) && DetectFormat(ReadWholeFile(in.path)) == Kind::Unknown) {
        r["input"] = in.path;
        r["skipped"] = "not a trace file";
      } else {
        ExportOne(in, f, o, vectors, claimed, r);
      }
    } catch (const CommandError& e) {
      r["input"] = in.path;
      r["error"] = e.what();
    } catch (const std::exception& e) {
      r["input"] = in.path;
      r["error"] = e.what();
    }
    progress.Clear();
    if (r.contains("error")) {
      ++failed;
      const std::string msg = r["error"].get<std::string>();
      // Messages of the readers name the file already.
      if (msg.find(in.path) != std::string::npos)
        std::fprintf(stderr, "zevutil: export: %s\n", msg.c_str());
      else
        std::fprintf(stderr, "zevutil: export: %s: %s\n", in.path.c_str(), msg.c_str());
    } else if (r.contains("skipped")) {
      ++skipped;
      if (!o.asJson) std::printf("%s: skipped: %s\n", in.path.c_str(), r["skipped"].get<std::string>().c_str());
    } else {
      ++exported;
      written += r["files"].size();
      if (!o.asJson) {
        std::string line = in.path + (o.dryRun ? " would write" : " ->");
        for (const auto& file : r["files"]) line += " " + file["path"].get<std::string>();
        if (r.contains("renames")) line += " (numbered: " + r["renames"][0]["from"].get<std::string>() + " exists)";
        std::printf("%s\n", line.c_str());
        for (const auto& w : r["warnings"]) std::printf("  warning: %s\n", w.get<std::string>().c_str());
      }
    }
    report.push_back(r);
  }
  progress.Finish();
  if (o.asJson) {
    json doc;
    doc["format"] = f.name;
    doc["output folder"] = o.outDir;
    doc["dry run"] = o.dryRun;
    doc["inputs"] = report;
    doc["summary"] = {{"inputs", inputs.size()}, {"exported", exported}, {"skipped", skipped},
                      {"failed", failed},        {"files", written}};
    std::printf("%s\n", doc.dump(2, ' ', false, json::error_handler_t::replace).c_str());
  } else {
    std::printf("%zu exported, %zu skipped, %zu failed; %zu files %s\n", exported, skipped, failed, written,
                o.dryRun ? "would be written" : "written");
  }
  std::fflush(stdout);
  if (failed) ExitStatus() = 2;
}

}  // namespace

void AddExportCommands(CLI::App& app) {
  auto o = std::make_shared<ExportOptions>();
  CLI::App* cmd = app.add_subcommand(
      "export", "export trace files (ABIF, SCF, ESD, CRV) into the library's export formats, named as the library "
                "names export files");
  cmd->add_option("INPUT", o->inputs, "trace files, folders (with -r) and @LIST files of paths, one a line")
      ->required();
  std::vector<std::string> names;
  for (const auto& f : kFormats) names.push_back(f.name);
  cmd->add_option("--format", o->format,
                  "txt: the base table; seq: the bases; fasta: FASTA and its QUAL (NAME.fasta.qual); phred: SCF and "
                  "phred's NAME.scf.phd.1; scf2, scf3, abi, esd, crv: the trace formats; ori: the raw data as text")
      ->check(CLI::IsMember(names));
  cmd->add_option("--out", o->outDir, "the folder the files go into (default: the current folder)");
  cmd->add_flag("-r,--recursive", o->recursive, "export the trace files in folders and their subfolders");
  cmd->add_option("--profile", o->profile, "take the extensions from section EXPORT of this profile");
  cmd->add_flag("--resolve-conflicts", o->resolve,
                "number new files whose names exist (run_1.fasta; a FASTA and its QUAL, a PHD and its SCF, a CRV "
                "set keep one number)");
  cmd->add_flag("--overwrite", o->overwrite, "replace existing files (never one written earlier in the same run)");
  cmd->add_flag("--apply-trimming", o->applyTrimming,
                "cut every output to the quality (Mott) range and the vector matches (--vector)");
  AddReadTrimmingOptions(*cmd, o->trimming);
  cmd->add_option("--min-length", o->minLength, "export only reads longer than N bases (after trimming)")
      ->type_name("N")
      ->check(CLI::Range(-1, 1000000));
  cmd->add_option("--eol", o->eol,
                  "line ends of the text files (default: CR LF for txt, seq, fasta, QUAL and ori as the library "
                  "writes them, LF for phred's PHD)")
      ->check(CLI::IsMember({"lf", "crlf"}));
  cmd->add_flag("--dry-run", o->dryRun, "print the names it would write and write nothing");
  cmd->add_flag("--verify", o->verify, "read every written file back and compare it with what was meant");
  cmd->add_flag("--json", o->asJson, "a JSON report: per input its format, sample, bases, files, renames, warnings");
  cmd->add_flag("--dialog", o->dialog,
                "choose the format and options in the export dialog, then export under a progress window whose "
                "cancel stops between files (without a display: as the command line says)");
  cmd->add_option("--shot", o->shot, "with --dialog, unattended: save pictures as SHOT-options.png and "
                                     "SHOT-progress.png and press OK (for demonstrations)");
  cmd->callback([o] { RunExport(*o); });
}

}  // namespace zevcli
