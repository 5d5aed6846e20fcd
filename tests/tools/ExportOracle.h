// The peer oracles of the public traces (testdata/export-oracle/INDEX.tsv) and the
// comparison of an exported file with one of them by compare_export.py.
#pragma once
#include <filesystem>
#include <string>
#include <vector>

namespace zevoracle {

struct OracleRow {
  std::string oracle, trace, format;
};

// The folder of the shared test data and tools.
const std::string& SharedDir();

// The primary oracles of the given format ("phd", "qual", ...), in INDEX.tsv order.
std::vector<OracleRow> PrimaryOracles(const std::string& format);

bool HavePython();

// Runs compare_export.py OURS ORACLE with the options; its report lands in report.
// 0 when the files agree.
int Compare(const std::filesystem::path& ours, const std::string& oracle, const std::string& options,
            std::string& report);

}  // namespace zevoracle
