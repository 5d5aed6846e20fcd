// Reading the files of an export back and comparing them with what was meant.
#pragma once
#include <string>

#include "ExportFiles.h"
#include "ExportWriters.h"
#include "zevutil/COutputDef.h"

namespace zevcli {

// The first difference found in the unit's files, or an empty text when every file
// reads back as the bases, qualities, peaks and samples it was written from.
std::string VerifyUnit(const ExportUnit& unit, const ExportRead& read, zev::EEXPORT_TYPE type);

}  // namespace zevcli
