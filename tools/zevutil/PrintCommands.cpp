// print: text lines as a report (header, footer, tab stops, word wrap) to a PDF file,
// PNG pages or a printer queue, through the library's print object. printers: the
// destinations there are.
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "Commands.h"
#include "DialogShots.h"
#include "OutputChoices.h"
#include "zevutil/CPrintObject.h"
#include "zevutil/platform/Host.h"
#include "zevutil/platform/Print.h"

namespace zevcli {

namespace {

using nlohmann::json;

struct PrintOptions {
  std::vector<std::string> files;
  OutputChoices output;
  std::string font, title, tabs;
  double size = 0;
  bool noHeader = false, noFooter = false, asJson = false;
  std::vector<std::string> headers, footers;
  bool dialog = false;  // the print status window with its cancel
  std::string shot;
};

// Hands out the input one line per call, reading the files (or standard input) as it
// goes, so that memory stays flat however long the input is.
class LinePrinter : public zev::CPrintObject {
 public:
  LinePrinter(const PrintOptions& o, std::string title) : m_opts(o), m_title(std::move(title)) {}

  int GetTextOutput(zev::COutputInfo* info, zev::CString& text) override {
    std::string line;
    if (!NextLine(line)) {
      // Nothing at all to print: one empty line makes a correct empty page.
      text.Empty();
      m_total = info ? info->m_nStringIndex + 1 : 0;
      return 0;
    }
    text = zev::CString(std::move(line));
    if (!HaveMore()) {
      m_total = info ? info->m_nStringIndex + 1 : 0;
      return 0;
    }
    return 1;
  }

  zev::LONG GetNumberOfTextStrings() override { return m_total; }

  zev::CString GetDefaultTitle(int& bUseDefault) override {
    bUseDefault = 1;
    return zev::CString(m_title.c_str());
  }

  void OnStartOutput(zev::COutputInfo* info, int& bNewPageFirst) override {
    CPrintObject::OnStartOutput(info, bNewPageFirst);
    if (!info) return;
    if (m_opts.noHeader) info->m_bHeaderEnabled = 0;
    if (m_opts.noFooter) info->m_bFooterEnabled = 0;
    ApplyPageRange(m_opts.output, info);
    if (!m_tabStops.empty()) SetTabStops(m_tabStops.data(), int(m_tabStops.size()));
  }

  int EndPrintObject() override {
    // A cancelled job, or a range that holds no page, leaves nothing behind.
    AbandonEmptyOrCancelledDocument(*this, GetPrintHandler() ? long(GetPrintHandler()->GetDevicePagesStarted()) : 0);
    return CPrintObject::EndPrintObject();
  }

  bool Open() {
    if (m_opts.files.empty()) {
      m_in = &std::cin;
      return true;
    }
    return OpenNext();
  }

  const std::string& FailedFile() const { return m_failed; }

  std::vector<double> m_tabStops;

 private:
  bool OpenNext() {
    while (m_next < m_opts.files.size()) {
      const std::string& name = m_opts.files[m_next++];
      if (name == "-") {
        m_in = &std::cin;
        return true;
      }
      m_file = std::make_unique<std::ifstream>(name, std::ios::binary);
      if (!*m_file) {
        m_failed = name;
        return false;
      }
      m_in = m_file.get();
      return true;
    }
    m_in = nullptr;
    return true;
  }

  bool ReadOne(std::string& line) {
    while (m_in) {
      if (std::getline(*m_in, line)) return true;
      if (m_opts.files.empty() || !OpenNext()) m_in = nullptr;
    }
    return false;
  }

  bool NextLine(std::string& line) {
    if (m_havePeek) {
      line.swap(m_peek);
      m_havePeek = false;
      return true;
    }
    return ReadOne(line);
  }

  bool HaveMore() {
    if (!m_havePeek) m_havePeek = ReadOne(m_peek);
    return m_havePeek;
  }

  const PrintOptions& m_opts;
  std::string m_title;
  std::istream* m_in = nullptr;
  std::unique_ptr<std::ifstream> m_file;
  size_t m_next = 0;
  std::string m_peek;
  bool m_havePeek = false;
  std::string m_failed;
  zev::LONG m_total = 0x7FFFFFFF;
};

std::vector<double> ParseTabs(const std::string& text) {
  std::vector<double> stops;
  std::stringstream in(text);
  std::string item;
  double last = 0;
  while (std::getline(in, item, ',')) {
    char* end = nullptr;
    const double v = std::strtod(item.c_str(), &end);
    if (item.empty() || *end != '\0' || !std::isfinite(v) || v == 0 || std::fabs(v) > 100)
      throw CommandError("bad tab stop '" + item + "' (inches, nonzero, a negative stop is right-aligned)");
    if (std::fabs(v) <= last) throw CommandError("tab stops must grow: '" + text + "'");
    last = std::fabs(v);
    stops.push_back(v);
  }
  if (stops.empty()) throw CommandError("bad tab stops '" + text + "'");
  return stops;
}

void RunPrint(PrintOptions& o) {
  CheckOutputChoices(o.output);
  if (o.size != 0 && (!(o.size >= 1) || o.size > 400)) throw CommandError("--size must lie between 1 and 400 points");
  if (o.headers.size() > 3 || o.footers.size() > 3) throw CommandError("at most three --header and three --footer");

  std::string title = o.title;
  if (title.empty()) title = o.files.empty() ? "standard input" : o.files.front();
  LinePrinter job(o, title);
  if (!o.tabs.empty()) job.m_tabStops = ParseTabs(o.tabs);

  zev::CPageFormatDef format;
  job.CreatePageFormatTitle(format, title.c_str());
  const std::string destination = SetOutputDevice(o.output, format);
  if (!o.font.empty()) format.m_fontBody.m_strFaceName = o.font.c_str();
  if (o.size != 0) format.m_fontBody.m_nSize = zev::LONG(std::lround(o.size * 10));
  if (!o.headers.empty()) {
    zev::CString* rows[3] = {&format.m_strHeader1, &format.m_strHeader2, &format.m_strHeader3};
    for (int i = 0; i < 3; ++i) *rows[i] = i < int(o.headers.size()) ? o.headers[size_t(i)].c_str() : "";
  }
  if (!o.footers.empty()) {
    zev::CString* rows[3] = {&format.m_strFooter1, &format.m_strFooter2, &format.m_strFooter3};
    for (int i = 0; i < 3; ++i) *rows[i] = i < int(o.footers.size()) ? o.footers[size_t(i)].c_str() : "";
  }
  if (!job.Open()) throw CommandError("cannot read '" + job.FailedFile() + "'");
  if (o.dialog) UsePrintStatusDialog(o.shot);

  job.SetPrintFromView(1, nullptr, title.c_str());
  const bool progress = ::isatty(2) && !o.asJson;
  const std::vector<std::string> files = RunPrintJob(job, format, o.output, destination, "print", progress);
  if (ExitStatus() == 130) return;
  if (o.asJson) {
    json j = {{"pages_laid_out", job.GetPagesLaidOut()},
              {"pages_output", job.GetPagesOutput()},
              {"destination", destination},
              {"files", files}};
    std::printf("%s\n", j.dump(2).c_str());
  }
}

void RunPrinters(bool asJson) {
  const std::vector<zev::PrintDestination> dests = zev::EnumPrintDestinations();
  if (asJson) {
    json list = json::array();
    for (const auto& d : dests)
      list.push_back({{"name", d.name.GetString()},
                      {"default", d.isDefault},
                      {"state", d.state.GetString()},
                      {"media", d.media.GetString()},
                      {"kind", d.builtin ? "built-in" : "CUPS"}});
    std::printf("%s\n", list.dump(2).c_str());
    return;
  }
  for (const auto& d : dests)
    std::printf("%s%s\t%s\t%s\t%s\n", d.name.GetString(), d.isDefault ? " (default)" : "", d.state.GetString(),
                d.media.IsEmpty() ? "-" : d.media.GetString(), d.builtin ? "built-in" : "CUPS");
}

}  // namespace

void AddPrintCommands(CLI::App& app) {
  auto o = std::make_shared<PrintOptions>();
  auto* print = app.add_subcommand(
      "print",
      "Print text lines as a report (standard input without FILE): header, footer with the page number, "
      "tab stops and word wrap; to a PDF file, PNG pages or a printer (the default queue without an option). "
      "Ctrl-C cancels, leaves no file and exits 130");
  print->add_option("FILE", o->files, "text files, printed one after the other");
  AddOutputChoices(*print, o->output);
  print->add_option("--font", o->font, "body font face (default Arial)")->type_name("FACE");
  print->add_option("--size", o->size, "body font size in points (default 10)")->type_name("POINTS");
  print->add_option("--title", o->title, "the middle of the first header line (default: the first file's name)");
  print->add_option("--header", o->headers,
                    "a header line (up to three): left, middle and right parts parted by tabs; %Date and %Page "
                    "are replaced")
      ->type_name("TEXT");
  print->add_option("--footer", o->footers, "a footer line (up to three), as --header")->type_name("TEXT");
  print->add_option("--tabs", o->tabs,
                    "tab stops in inches from the paper's edge, growing; a negative stop ends a right-aligned "
                    "column that starts at the stop before it, and the text after that column follows at its end")
      ->type_name("LIST");
  print->add_flag("--no-header", o->noHeader, "no header band");
  print->add_flag("--no-footer", o->noFooter, "no footer band");
  print->add_flag("--json", o->asJson, "print a summary: pages laid out and output, destination, files");
  print->add_flag("--dialog", o->dialog,
                  "show the print status window (title, printer, port, page) whose Cancel stops the job "
                  "(without a display: the status on the terminal)");
  print->add_option("--shot", o->shot, "with --dialog: save a picture of the status window as SHOT-status.png");
  print->callback([o] { RunPrint(*o); });

  auto asJson = std::make_shared<bool>(false);
  auto* printers = app.add_subcommand("printers", "List the print destinations: name, default, state, media, kind");
  printers->add_flag("--json", *asJson, "as a JSON array");
  printers->callback([asJson] { RunPrinters(*asJson); });
}

}  // namespace zevcli
