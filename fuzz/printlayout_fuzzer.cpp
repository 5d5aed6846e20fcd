// The text layout on any bytes: lines with tabs, breaks and binary characters, any tab
// stops, margins, indent, font size and page range, laid out on a recording test device.
// The job must end, and every drawn text must come from the input.
#include "PrintFuzzSupport.h"

using namespace zev;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > 6000) return 0;
  static const std::shared_ptr<TestDeviceLog> log = [] {
    TestDeviceOptions opts;
    RegisterTestPrinter("fuzz-layout", opts);
    return opts.log;
  }();
  log->Clear();  // one run's calls at a time
  zevfuzz::FuzzLines job(data, size);
  CPageFormatDef format;
  format.m_device.m_strPrinterName = "fuzz-layout";
  job.Prepare(format);
  job.PrintObject(format, CObjectOutputDef());
  zevfuzz::Check(job.GetPagesLaidOut() < 100000);
  return 0;
}
