// The output choices of the printing commands and the running of their print jobs.
#include "OutputChoices.h"

#include "DialogShots.h"

#include <signal.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <sstream>

#include "Commands.h"
#include "zevutil/platform/Host.h"
#include "zevutil/platform/Print.h"

namespace zevcli {

namespace {

// Ctrl-C sets the running job's cancel flag; before the job has one, it is remembered.
volatile sig_atomic_t g_interrupted = 0;
zev::LONG* volatile g_cancelFlag = nullptr;

extern "C" void OnInterrupt(int) {
  g_interrupted = 1;
  zev::LONG* flag = g_cancelFlag;
  if (flag) *flag = 1;
}

short PaperCode(const std::string& name) {
  const struct {
    const char* name;
    short code;
  } papers[] = {{"a4", zev::DMPAPER_A4}, {"letter", zev::DMPAPER_LETTER}, {"legal", zev::DMPAPER_LEGAL},
                {"a3", zev::DMPAPER_A3}, {"a5", zev::DMPAPER_A5}};
  for (const auto& p : papers)
    if (zev::CString(name.c_str()).CompareNoCase(p.name) == 0) return p.code;
  throw CommandError("unknown paper '" + name + "' (a4, letter, legal, a3, a5)");
}

void ParsePages(const std::string& text, unsigned& from, unsigned& to) {
  unsigned long a = 0, b = 0;
  char dash = 0, extra = 0;
  std::istringstream in(text);
  if (!(in >> a >> dash >> b) || dash != '-' || (in >> extra) || a < 1 || b < a || b > 0xFFFF)
    throw CommandError("bad page range '" + text + "' (FROM-TO, 1 <= FROM <= TO <= 65535)");
  from = unsigned(a);
  to = unsigned(b);
}

}  // namespace

void AddOutputChoices(CLI::App& command, OutputChoices& o) {
  command.add_option("--pdf", o.pdf, "write the report to this PDF file")->type_name("FILE");
  command.add_option("--png", o.png, "write one PNG per page (page-N.png) into this folder")->type_name("DIR");
  command.add_option("--dpi", o.dpi, "resolution of the PNG pages (default 150)");
  command.add_option("--printer", o.printer, "print on this queue (see `zevutil printers`)")->type_name("NAME");
  command.add_option("--pages", o.pages, "print only these pages; the others are laid out, not drawn")
      ->type_name("FROM-TO");
  command.add_option("--paper", o.paper, "a4, letter, legal, a3 or a5 (default: the system's paper)");
  command.add_flag("--landscape", o.landscape, "turn the paper");
}

void CheckOutputChoices(OutputChoices& o) {
  if (!o.pdf.empty() && !o.png.empty()) throw CommandError("--pdf and --png exclude each other");
  if ((!o.pdf.empty() || !o.png.empty()) && !o.printer.empty())
    throw CommandError("--printer excludes --pdf and --png");
  if (o.dpi < 10 || o.dpi > 2400) throw CommandError("--dpi must lie between 10 and 2400");
  if (!o.paper.empty()) PaperCode(o.paper);
  if (!o.pages.empty()) ParsePages(o.pages, o.from, o.to);
}

std::string SetOutputDevice(const OutputChoices& o, zev::CPageFormatDef& format) {
  std::string destination;
  if (!o.pdf.empty()) {
    format.m_device.m_strPrinterName = zev::kPrintToPdfName;
    format.m_device.m_strFileName = o.pdf.c_str();
    destination = zev::kPrintToPdfName;
  } else if (!o.png.empty()) {
    std::error_code ec;
    std::filesystem::create_directories(o.png, ec);
    format.m_device.m_strPrinterName = zev::kPrintToPngName;
    format.m_device.m_strFileName = o.png.c_str();
    zev::SetPngOutputDpi(o.dpi);
    destination = zev::kPrintToPngName;
  } else {
    zev::CString name(o.printer.c_str());
    if (name.IsEmpty() && !zev::GetDefaultPrinterName(name))
      throw CommandError("no default printer (give --pdf, --png or --printer)");
    format.m_device.m_strPrinterName = name;
    destination = name.GetString();
  }
  format.m_device.m_nPaperSize = o.paper.empty() ? zev::GetSystemDefaultPaper() : PaperCode(o.paper);
  format.m_device.m_nOrientation = o.landscape ? 2 : 1;
  return destination;
}

void ApplyPageRange(const OutputChoices& o, zev::COutputInfo* info) {
  if (!o.from || !info || !info->m_pPrintInfo) return;
  info->m_pPrintInfo->SetFromPage(o.from);
  info->m_pPrintInfo->SetToPage(o.to);
}

void AbandonEmptyOrCancelledDocument(zev::CPrintObject& job, long pagesOutput) {
  if ((job.IsOutputCancelled() || pagesOutput == 0) && job.GetPrintDC()) job.GetPrintDC()->AbortDoc();
}

std::vector<std::string> RunPrintJob(zev::CPrintObject& job, zev::CPageFormatDef& format, const OutputChoices& o,
                                     const std::string& destination, const std::string& command, bool progress,
                                     const std::function<long()>& pagesOutput) {
  // The library's boxes become the failure line; nobody is asked anything.
  std::string boxText;
  auto oldBox = zev::SetMessageBoxHandler([&boxText](zev::HWND, const char* text, const char*, zev::UINT style) {
    if (boxText.empty() && text) boxText = text;
    return zev::DefaultMessageBoxAnswer(style);
  });
  auto oldStatus = zev::SetPrintStatusHandler([progress, &command](const zev::PrintStatusInfo& s) {
    if (const auto& window = PrintStatusDialogHandler()) window(s);  // print --dialog
    if (s.event == zev::PrintStatusEvent::Open) {
      g_cancelFlag = s.cancelFlag;
      if (g_interrupted && s.cancelFlag) *s.cancelFlag = 1;
    } else if (s.event == zev::PrintStatusEvent::Page) {
      if (g_interrupted && s.cancelFlag) *s.cancelFlag = 1;
      if (progress) std::fprintf(stderr, "\rzevutil %s: %s", command.c_str(), s.page);
    } else {
      g_cancelFlag = nullptr;
      if (progress) std::fprintf(stderr, "\n");
    }
  });
  struct sigaction sa {}, oldSa{};
  sa.sa_handler = OnInterrupt;
  sigemptyset(&sa.sa_mask);
  sigaction(SIGINT, &sa, &oldSa);

  const int ok = job.PrintObject(format, zev::CObjectOutputDef());

  sigaction(SIGINT, &oldSa, nullptr);
  g_cancelFlag = nullptr;
  zev::SetPrintStatusHandler(oldStatus);
  zev::SetMessageBoxHandler(oldBox);

  std::vector<std::string> files;
  const long pages = pagesOutput ? pagesOutput() : long(job.GetPagesOutput());
  if (g_interrupted) {
    std::fprintf(stderr, "zevutil: %s cancelled\n", command.c_str());
    ExitStatus() = 130;
    return files;
  }
  if (pages == 0 && o.from)
    throw CommandError("no page in the range " + o.pages + ": the report has " +
                       std::to_string(job.GetPagesLaidOut()) + " page(s)");
  if (!ok) {
    std::string why = boxText;
    for (char& c : why)
      if (c == '\n') c = ' ';
    if (why.empty()) why = job.GetLastErrorMsg().GetString();
    if (why.empty()) why = "the printer failed";
    throw CommandError(command + " to '" + destination + "' failed: " + why);
  }
  if (!o.pdf.empty()) files.push_back(o.pdf);
  if (!o.png.empty())
    for (long i = 1; i <= pages; ++i)
      files.push_back((std::filesystem::path(o.png) / ("page-" + std::to_string(i) + ".png")).string());
  return files;
}

}  // namespace zevcli
