// The peer oracles of the public traces and their comparison script.
#include "ExportOracle.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace zevoracle {

const std::string& SharedDir() {
  static const std::string dir = ZEV_SHARED_DIR;
  return dir;
}

std::vector<OracleRow> PrimaryOracles(const std::string& format) {
  std::vector<OracleRow> rows;
  std::ifstream in(SharedDir() + "/testdata/export-oracle/INDEX.tsv");
  std::string line;
  std::getline(in, line);  // column names
  while (std::getline(in, line)) {
    std::vector<std::string> f;
    std::stringstream s(line);
    std::string cell;
    while (std::getline(s, cell, '\t')) f.push_back(cell);
    if (f.size() >= 4 && f[1] == "primary" && f[3] == format) rows.push_back({f[0], f[2], f[3]});
  }
  return rows;
}

bool HavePython() { return std::system("python3 -c pass >/dev/null 2>&1") == 0; }

int Compare(const std::filesystem::path& ours, const std::string& oracle, const std::string& options,
            std::string& report) {
  const std::filesystem::path out = std::filesystem::path(ours).concat(".compare");
  const std::string cmd = "python3 '" + SharedDir() + "/tools/compare_export.py' '" + ours.string() + "' '" +
                          SharedDir() + "/testdata/export-oracle/" + oracle + "' " + options + " >'" + out.string() +
                          "' 2>&1";
  const int rc = std::system(cmd.c_str());
  std::ifstream in(out);
  std::stringstream s;
  s << in.rdbuf();
  report = s.str();
  return rc;
}

}  // namespace zevoracle
