// The files of one export unit (a FASTA with its QUAL, a PHD with its SCF, a CRV set,
// or a single file): naming them as the library does, numbering them as one, writing
// them under temporary names and putting them in place only when all are complete.
#pragma once
#include <set>
#include <string>
#include <vector>

namespace zevcli {

struct UnitFile {
  std::string kind;   // "fasta", "qual", "phd", "scf", ...
  std::string ext;    // what follows the unit's stem: ".fasta", ".fasta.qual", "_D1.CRV", ...
  std::string path;   // the final name
  std::string temp;   // where it is written first
};

struct ExportUnit {
  std::string stem;          // folder and cleaned file stem, before numbering
  std::string primaryExt;    // the dotted extension NameClashResolve numbers by
  std::vector<UnitFile> files;  // the first is the primary
  bool crv = false;
  std::string renamedFrom;   // the primary's name before numbering, when it was numbered

  // Sets every file's path from a stem (numbered or not).
  void SetStem(const std::string& s);
};

// How existing names are treated.
enum class ClashPolicy { Refuse, Resolve, Overwrite };

// Names the unit's files; claimed holds the names earlier inputs of this run wrote.
// Refuse: an existing name is an error (for CRV the library's overwrite question,
// answered Cancel, gives the text). Resolve: the library's numbering, one number for
// the whole unit. Overwrite: existing files are replaced, but never one this run wrote.
// Throws CommandError with one line when the unit can't be named.
void NameUnit(ExportUnit& unit, ClashPolicy policy, const std::set<std::string>& claimed);

// A temporary name in the final file's folder.
std::string TemporaryName(const std::string& finalPath);

// Moves every temporary file into place; without overwrite an existing name is never
// replaced (what appeared since naming is an error). On failure what was put in place
// is taken back, the temporaries are removed and CommandError is thrown.
void CommitUnit(ExportUnit& unit, bool overwrite);
// Removes the temporaries of a unit that failed.
void DiscardUnit(const ExportUnit& unit);

}  // namespace zevcli
