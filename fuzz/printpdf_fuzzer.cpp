// What `zevutil print` does with any bytes, to a real PDF file: the print object with
// the input's lines on the built-in PDF destination. The job must end and leave a file
// or fail cleanly.
#include "PrintFuzzSupport.h"

using namespace zev;

// fontconfig keeps its one-time configuration for the life of the process; the
// library's own leak-check suppression (platform/host/FontFace.cpp) covers it here too.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > 4000) return 0;
  static zevfuzz::ScratchFolder scratch("zevfuzz-printpdf");
  const std::string pdf = (scratch.path / "out.pdf").string();
  zevfuzz::FuzzLines job(data, size);
  CPageFormatDef format;
  format.m_device.m_strPrinterName = kPrintToPdfName;
  format.m_device.m_strFileName = pdf.c_str();
  format.m_device.m_nPaperSize = short(data && size ? 1 + data[0] % 12 : 9);
  format.m_device.m_nOrientation = short(size > 1 ? data[1] % 4 : 1);
  job.Prepare(format);
  job.PrintObject(format, CObjectOutputDef());
  return 0;
}
