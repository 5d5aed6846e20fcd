// Where a printed report goes, shared by the commands that print: a PDF file, PNG
// pages or a printer queue, the page range, the paper and its orientation; and the
// running of a print job with the library's boxes turned into one failure line,
// progress on a terminal, and Ctrl-C cancelling the job.
#pragma once
#include <functional>
#include <string>
#include <vector>

#include "zevutil/CPrintObject.h"

namespace CLI {
class App;
}

namespace zevcli {

struct OutputChoices {
  std::string pdf, png, printer, pages, paper;
  int dpi = 150;
  bool landscape = false;
  unsigned from = 0, to = 0;  // the parsed --pages; 0: every page
};

// --pdf, --png, --dpi, --printer, --pages, --paper, --landscape.
void AddOutputChoices(CLI::App& command, OutputChoices& choices);

// Checks the combination and the values, and parses the page range. Throws
// CommandError naming the option at fault.
void CheckOutputChoices(OutputChoices& choices);

// Points the format's device at the chosen destination (the default queue when none
// is chosen), with the paper and the orientation; creates the PNG folder. Returns the
// destination's name for messages. Throws CommandError when there is no printer.
std::string SetOutputDevice(const OutputChoices& choices, zev::CPageFormatDef& format);

// The page range into a running job; for a print object's OnStartOutput.
void ApplyPageRange(const OutputChoices& choices, zev::COutputInfo* info);

// Runs job.PrintObject(format, def) and tells how it went: the files written, or
// CommandError ("<command> to '<destination>' failed: <why>", or no page in the
// range). Ctrl-C cancels the job, which leaves no file: then the result is empty,
// "<command> cancelled" is on stderr and the exit status is 130. pagesOutput counts
// the pages sent to the device when the job's own handler does not start them all
// (a job made of embedded objects); by default the job's count.
std::vector<std::string> RunPrintJob(zev::CPrintObject& job, zev::CPageFormatDef& format,
                                     const OutputChoices& choices, const std::string& destination,
                                     const std::string& command, bool progress,
                                     const std::function<long()>& pagesOutput = {});

// A cancelled job, or one whose range held no page (pagesOutput pages went to the
// device), is aborted rather than finished, so that it leaves no file behind. For a
// print object's EndPrintObject, before the library's.
void AbandonEmptyOrCancelledDocument(zev::CPrintObject& job, long pagesOutput);

}  // namespace zevcli
