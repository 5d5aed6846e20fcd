// report: the called bases of trace files as the library's sequence reports, through
// the print engine (base table, trimming report, a summary of each trace) or as the
// tab-delimited text export of the base table. Several traces make one document, each
// from a new page with its file and sample name in the page header.
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Commands.h"
#include "DialogShots.h"
#include "OutputChoices.h"
#include "ReadTrimming.h"
#include "TraceModel.h"
#include "zevutil/CBaseSequenceOutputObject.h"

namespace zevcli {

namespace {

struct ReportOptions {
  std::vector<std::string> traces;
  bool table = false, trimming = false, header = false;
  std::string exportFile;
  OutputChoices output;
  ReadTrimmingOptions trim;
  bool dialog = false;  // the print status window with its cancel
  std::string shot;
};

// Fixed pitch, so that the table's columns and the alignment rows line up. At 9 points
// an alignment line (90 columns) fits the narrowest paper, A5 aside, upright.
constexpr const char* kReportFace = "Courier New";
constexpr zev::LONG kReportSize = 90;  // tenths of a point

// One loaded trace and what its reports need.
struct ReportedTrace {
  TraceSequence trace;
  ReadTrimmingResult trimming;
  zev::CBaseSequence trimmed;  // the read as the library's trimming leaves it
  int originalLength = 0;
};

// The summary printed before a trace's reports: where it comes from and what the
// trimming kept.
class TraceSummary : public zev::COutputObject {
 public:
  TraceSummary(const ReportedTrace& t, const ReportOptions& o) {
    auto add = [this](const std::string& label, const std::string& value) { m_lines.push_back(label + ":\t" + value); };
    add("File", t.trace.path);
    add("Format", t.trace.format);
    add("Sample", t.trace.sampleName.empty() ? "(none)" : t.trace.sampleName);
    add("Bases", std::to_string(t.originalLength));
    add("Quality values", t.trace.hasQuality ? "from the file" : "none (every quality is 0)");
    if (t.trimming.qualityRange) {
      char cutoff[32];
      std::snprintf(cutoff, sizeof cutoff, "%g", o.trim.trimCutoff);
      const MottRange& m = t.trimming.mott;
      add("Quality trimming",
          m.Length() ? "bases " + std::to_string(m.first + 1) + " to " + std::to_string(m.last + 1) + " kept (" +
                           std::to_string(m.Length()) + "), cutoff " + cutoff
                     : std::string("no base kept, cutoff ") + cutoff);
    } else {
      add("Quality trimming", "not computed");
    }
    add("Vector file", o.trim.vectorFile.empty() ? "(none)" : o.trim.vectorFile);
    if (!o.trim.vectorFile.empty()) add("Vector matches", std::to_string(t.trimming.matches));
    m_lines.push_back("");
  }

  int GetTextOutput(zev::COutputInfo* info, zev::CString& text) override {
    if (!info) return 0;
    if (m_next == 0) {
      const double stops[] = {1.75};
      SetTabStops(stops, 1);
    }
    if (m_next < m_lines.size()) text = m_lines[m_next++].c_str();
    if (m_next >= m_lines.size()) {
      SetTabStops(nullptr, 0);
      SignalStopOutput();
    }
    return 1;
  }

 private:
  std::vector<std::string> m_lines;
  std::size_t m_next = 0;
};

// The whole document: each part is an object of its own, printed embedded in this job
// with the page format that names its trace.
class ReportDocument : public zev::CPrintObject {
 public:
  explicit ReportDocument(const OutputChoices& output) : m_output(output) {}

  struct Part {
    std::unique_ptr<zev::COutputObject> object;
    zev::CPageFormatDef format;
    bool newPage = false;
  };
  std::vector<Part> m_parts;

  int GetTextOutput(zev::COutputInfo*, zev::CString& text) override {
    text.Empty();
    return 0;
  }

  void OnStartOutput(zev::COutputInfo* info, int& bNewPageFirst) override {
    CPrintObject::OnStartOutput(info, bNewPageFirst);
    ApplyPageRange(m_output, info);
  }

  int DoObjectPrintout() override {
    zev::COutputInfo* info = GetOutputInfoPtr();
    if (!info || IsOutputCancelled()) return 0;
    for (Part& part : m_parts) {
      if (part.newPage) info->m_bNewPageNeeded = 1;
      const int ok = part.object->PrintEmbeddedObject(part.format, zev::CObjectOutputDef(), info);
      // Each part starts the device pages of its own pages through its own handler.
      if (part.object->GetPrintHandler()) m_devicePages += part.object->GetPrintHandler()->GetDevicePagesStarted();
      if (!ok) return 0;
      // Past the last page of a range: the rest would only be laid out.
      if (IsPastLastPage(info) || info->m_bFailed) break;
    }
    return IsOutputCancelled() ? 0 : 1;
  }

  // Pages sent to the device by the parts and by the document's own handler.
  long DevicePages() const {
    return m_devicePages + (GetPrintHandler() ? long(GetPrintHandler()->GetDevicePagesStarted()) : 0);
  }

  int EndPrintObject() override {
    AbandonEmptyOrCancelledDocument(*this, DevicePages());
    return CPrintObject::EndPrintObject();
  }

 private:
  const OutputChoices& m_output;
  long m_devicePages = 0;
};

// The base tables of the traces, one after the other, in one text file.
class TableExport : public zev::COutputObject {
 public:
  explicit TableExport(std::vector<ReportedTrace>& traces) : m_traces(traces) {}

  int GetTextOutput(zev::COutputInfo*, zev::CString& text) override {
    text.Empty();
    return 0;
  }

 protected:
  int DoObjectExport() override {
    zev::COutputInfo* info = GetOutputInfoPtr();
    if (!info) return 0;
    for (ReportedTrace& t : m_traces) {
      zev::CBaseSequenceOutputObject table(t.trace.sequence);
      if (!table.ExportEmbeddedObject(zev::CObjectOutputDef(), info)) return 0;
    }
    return 1;
  }

 private:
  std::vector<ReportedTrace>& m_traces;
};

// The page format of a part: its trace's file name (the summary has the whole path)
// on the left of the header, what the part is in the middle, the sample on the right.
zev::CPageFormatDef PartFormat(const zev::CPageFormatDef& base, const ReportedTrace& t, const char* what) {
  zev::CPageFormatDef f = base;
  const std::string sample = t.trace.sampleName.empty() ? "" : "Sample: " + t.trace.sampleName;
  const std::string file = std::filesystem::path(t.trace.path).filename().string();
  f.m_strHeader1 = (file + "\t" + what + "\t" + sample).c_str();
  return f;
}

void WriteExport(std::vector<ReportedTrace>& traces, const std::string& path) {
  // The tables go to a temporary name first, so that a failure leaves no partial file.
  // It ends in the text extension: the export names a file without it by adding it.
  const std::string temp = path + ".part" + std::to_string(::getpid()) + ".txt";
  TableExport job(traces);
  int ok = 0;
  try {
    ok = job.ExportObject(zev::EXPORT_TEXT, temp.c_str(), zev::CObjectOutputDef());
  } catch (zev::CException* e) {
    e->Delete();
    ok = 0;
  }
  // The library completes the name with the text export's extension when it lacks it.
  const std::string wrote = ok ? job.GetTransferFile().str() : temp;
  if (!ok || std::rename(wrote.c_str(), path.c_str()) != 0) {
    std::remove(wrote.c_str());
    std::string why = job.GetExportHandler() ? job.GetExportHandler()->GetLastErrorMsg().GetString() : "";
    throw CommandError("cannot write '" + path + "'" + (why.empty() ? "" : ": " + why));
  }
}

void PrintReport(std::vector<ReportedTrace>& traces, ReportOptions& o) {
  ReportDocument doc(o.output);
  const std::string title = traces.size() == 1 ? traces.front().trace.path : "Trace report";
  zev::CPageFormatDef format;
  doc.CreatePageFormatTitle(format, title.c_str());
  const std::string destination = SetOutputDevice(o.output, format);
  format.m_fontBody.m_strFaceName = kReportFace;
  format.m_fontBody.m_nSize = kReportSize;
  const bool table = o.table || !(o.trimming || o.header);
  for (ReportedTrace& t : traces) {
    bool first = true;
    auto add = [&](std::unique_ptr<zev::COutputObject> object, const char* what) {
      doc.m_parts.push_back({std::move(object), PartFormat(format, t, what), first});
      first = false;
    };
    if (o.header) add(std::make_unique<TraceSummary>(t, o), "Trace");
    if (o.trimming)
      add(std::make_unique<zev::CBaseSequenceTrimmingOutputObject>(t.trimmed, t.originalLength), "Trimming report");
    if (table) add(std::make_unique<zev::CBaseSequenceOutputObject>(t.trace.sequence), "Base table");
  }
  doc.SetPrintFromView(1, nullptr, title.c_str());
  if (o.dialog) UsePrintStatusDialog(o.shot);
  RunPrintJob(doc, format, o.output, destination, "report", ::isatty(2) != 0, [&doc] { return doc.DevicePages(); });
}

void RunReport(ReportOptions& o) {
  const bool paper = !o.output.pdf.empty() || !o.output.png.empty() || !o.output.printer.empty();
  if (!o.exportFile.empty()) {
    if (paper) throw CommandError("--export writes a text file instead of paper: no --pdf, --png or --printer with it");
    if (o.trimming || o.header)
      throw CommandError("--export writes the base table; --trimming and --header are reports on paper");
  } else {
    CheckOutputChoices(o.output);
  }
  CheckReadTrimmingOptions(o.trim);
  const std::vector<VectorRecord> vectors = LoadVectors(o.trim);

  // Each trace that cannot be reported gets its line; the others are still reported.
  std::vector<ReportedTrace> traces;
  bool anyFailed = false;
  for (const std::string& path : o.traces) {
    ReportedTrace t;
    std::error_code ec;
    if (std::filesystem::is_regular_file(path, ec) && std::filesystem::file_size(path, ec) == 0 && !ec) {
      std::fprintf(stderr, "zevutil: '%s' is empty\n", path.c_str());
      anyFailed = true;
      continue;
    }
    try {
      t.trace = LoadTraceSequence(path);
    } catch (const CommandError& e) {
      std::fprintf(stderr, "zevutil: %s\n", e.what());
      anyFailed = true;
      continue;
    }
    if (t.trace.sequence.IsEmpty()) {
      std::fprintf(stderr, "zevutil: '%s': no called bases, nothing to report\n", path.c_str());
      anyFailed = true;
      continue;
    }
    for (const std::string& w : t.trace.warnings) std::fprintf(stderr, "zevutil: '%s': %s\n", path.c_str(), w.c_str());
    t.originalLength = int(t.trace.sequence.GetCount());
    if (o.trimming || o.header) {
      t.trimming = SetReadTrimming(t.trace.sequence, o.trim, vectors);
      t.trimmed = t.trace.sequence;
      t.trimmed.ApplyContaminantTrimming(kContaminantMask);
    }
    traces.push_back(std::move(t));
  }
  if (!traces.empty()) {
    if (!o.exportFile.empty())
      WriteExport(traces, o.exportFile);
    else
      PrintReport(traces, o);
  }
  if (anyFailed && ExitStatus() == 0) ExitStatus() = 2;
}

}  // namespace

void AddReportCommands(CLI::App& app) {
  auto o = std::make_shared<ReportOptions>();
  auto* report = app.add_subcommand(
      "report",
      "Report the called bases of trace files (ABIF, SCF, ESD, CRV) through the print engine: the base table "
      "(the default), the trimming report and a summary of each trace, every trace from a new page; or, with "
      "--export, the base table as tab-delimited text. A trace that cannot be read is named on stderr, the "
      "others are still reported, and the exit status is 2");
  report->add_option("TRACE", o->traces, "trace files")->required();
  report->add_flag("--table", o->table, "the base table: letter, scores, quality, migration time, data point");
  report->add_flag("--trimming", o->trimming,
                   "the trimming report: lengths after quality and sequence-based trimming, and each vector "
                   "match with its alignment");
  report->add_flag("--header", o->header, "a summary of each trace before its reports");
  report->add_option("--export", o->exportFile, "write the base tables as tab-delimited text to this file instead")
      ->type_name("FILE");
  AddOutputChoices(*report, o->output);
  AddReadTrimmingOptions(*report, o->trim);
  report->add_flag("--dialog", o->dialog,
                   "show the print status window (title, printer, port, page) whose Cancel stops the job "
                   "(without a display: the status on the terminal)");
  report->add_option("--shot", o->shot, "with --dialog: save a picture of the status window as SHOT-status.png");
  report->callback([o] { RunReport(*o); });
}

}  // namespace zevcli
