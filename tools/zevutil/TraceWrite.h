// Writing a read trace through the library's format classes: SCF 2.10/3.00, ESD,
// ABIF and the CRV file set. Shared by convert and export.
#pragma once
#include <string>
#include <vector>

#include "TraceRead.h"

namespace zevcli {

// The SCF file's bytes: bases with their peaks and four probabilities, the channels,
// the raw data and the private section when the source had them. Throws CommandError
// when the writer refuses the data.
std::string WriteScf(const Trace& t, bool version3);
// The ESD file's bytes: the channels as processed data, with the sample name.
std::string WriteEsd(const Trace& t);
// The base the library names the CRV files after: a ".CRV" after the first character
// of the path cuts its last four characters, as the library does.
std::string CrvBase(const std::string& path);
// Writes the CRV set into a scratch folder beside the target, then renames each file
// into place; returns the names written. Throws CommandError (and removes what it
// wrote) on failure.
std::vector<std::string> WriteCrv(const Trace& t, const std::string& out);
// Writes the ABIF file through a scratch name beside the target, then renames it.
void WriteAbif(const Trace& t, const std::string& out);

}  // namespace zevcli
