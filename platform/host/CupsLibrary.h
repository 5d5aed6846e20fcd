// CUPS, loaded the first time a print destination is looked up rather than with the
// library: most programs never print, and CUPS brings about twenty libraries of its
// own (TLS, Kerberos, service discovery) that every start would otherwise load and
// relocate. Without libcups at run time only the built-in destinations exist.
#pragma once

#if ZEVUTIL_HAVE_CUPS
#include <cups/cups.h>

namespace zev::gdi {

// The CUPS calls the print code makes, each with its own signature.
#define ZEV_CUPS_FUNCTIONS(X)                                                                               \
  X(cupsGetNamedDest) X(cupsGetDests2) X(cupsFreeDests) X(cupsGetOption) X(cupsCopyDestInfo)                 \
  X(cupsFreeDestInfo) X(cupsFindDestDefault) X(cupsGetDestMediaByName) X(cupsGetDestMediaBySize)             \
  X(ippGetString) X(cupsServer) X(ippPort) X(cupsEncryption) X(httpConnect2) X(httpClose) X(cupsAddOption)   \
  X(cupsFreeOptions) X(cupsCreateJob) X(cupsStartDocument) X(cupsWriteRequestData) X(cupsFinishDocument)     \
  X(cupsCancelJob2)

struct CupsLibrary {
#define ZEV_CUPS_POINTER(name) decltype(&::name) name = nullptr;
  ZEV_CUPS_FUNCTIONS(ZEV_CUPS_POINTER)
#undef ZEV_CUPS_POINTER
};

// The loaded library with every call found, or null when it cannot be loaded. Loaded
// once, on the first call, and kept for the life of the process.
const CupsLibrary* Cups();

}  // namespace zev::gdi
#endif
