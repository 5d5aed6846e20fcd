// crc: the library's checksum of files. iub: what the library knows about IUB codes.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Commands.h"
#include "zevutil/CCalcCRC32.h"
#include "zevutil/IUBCODE.h"

namespace zevcli {

namespace {

// Runs a stream through the checksum in blocks, so that files of any size fit.
zev::ULONG ChecksumStream(std::istream& in) {
  zev::CCalcCRC32 crc(0xFFFFFFFF);
  std::vector<char> block(1 << 20);
  while (in) {
    in.read(block.data(), std::streamsize(block.size()));
    crc.CalcBlock(block.data(), zev::ULONG(in.gcount()));
  }
  if (in.bad()) throw CommandError("read error");
  return crc.GetCRC();
}

std::string OpenFailure() { return errno != 0 ? std::strerror(errno) : "cannot open"; }

// One line per file: 8 upper case hex digits, two blanks, the name. An unreadable file
// gives one error line and exit status 2, and the other files are still done.
void RunCrc(const std::vector<std::string>& files) {
  for (const auto& name : files) {
    zev::ULONG value = 0;
    try {
      if (name == "-") {
        value = ChecksumStream(std::cin);
      } else {
        errno = 0;
        std::error_code ec;
        if (std::filesystem::is_directory(name, ec)) throw CommandError("is a directory");
        std::ifstream in(name, std::ios::binary);
        if (!in) throw CommandError(OpenFailure());
        value = ChecksumStream(in);
      }
    } catch (const CommandError& e) {
      std::fprintf(stderr, "zevutil: crc: cannot read '%s': %s\n", name.c_str(), e.what());
      ExitStatus() = 2;
      continue;
    }
    std::printf("%08X  %s\n", unsigned(value), name.c_str());
  }
  std::fflush(stdout);
}

// How a code byte is shown: the character itself when printable, else its hex value.
std::string ShowByte(char c) {
  unsigned char u = static_cast<unsigned char>(c);
  if (u > 0x20 && u < 0x7F) return std::string(1, c);
  char buf[8];
  std::snprintf(buf, sizeof buf, "0x%02X", u);
  return buf;
}

// The plain bases a code stands for, in A C G T order.
std::string BasesOf(char c) {
  std::string out;
  int map = zev::IUBCODE::GetCodeMap(c);
  if (map < 0) return out;
  for (int i = 0; i < 4; ++i)
    if (map & zev::IUBCODE::GetCodeMapForIndex(i)) out += zev::IUBCODE::GetBaseChar(i);
  return out;
}

struct IubFacts {
  char code;
  bool valid;
  bool hetero;
  int map;
  int index;
  std::string bases;
  char complement;
  std::string matching;
};

IubFacts Describe(char c) {
  zev::IUBCODE code(c);
  zev::IUBCODE complement(c);
  complement.MakeCompliment();
  return {c,
          code.IsValidCode() != 0,
          code.IsHetroCode() != 0,
          code.GetCodeMap(),
          code.GetBaseIndex(),
          BasesOf(c),
          complement.code,
          code.GetMatchingString(1).str()};
}

// Each argument is one code: a single character, or "" for the empty (NUL) code.
std::vector<char> ParseCodes(const std::vector<std::string>& args) {
  std::vector<char> codes;
  for (const auto& a : args) {
    if (a.size() > 1) throw CommandError("iub: '" + a + "' is not a single character (give one code per argument)");
    codes.push_back(a.empty() ? '\0' : a[0]);
  }
  return codes;
}

void RunIub(const std::vector<std::string>& args, bool json) {
  std::vector<IubFacts> facts;
  for (char c : ParseCodes(args)) facts.push_back(Describe(c));

  if (json) {
    nlohmann::json out = nlohmann::json::array();
    for (const auto& f : facts) {
      out.push_back({{"code", std::string(1, f.code)},
                     {"byte", int(static_cast<unsigned char>(f.code))},
                     {"valid", f.valid},
                     {"heterozygous", f.hetero},
                     {"map", f.map},
                     {"baseIndex", f.index},
                     {"bases", f.bases},
                     {"complement", std::string(1, f.complement)},
                     {"matching", f.matching}});
    }
    std::printf("%s\n", out.dump(2, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
    return;
  }

  std::printf("%-6s %-6s %-6s %-5s %-6s %-10s %s\n", "code", "valid", "hetero", "map", "bases", "complement",
              "matching");
  for (const auto& f : facts) {
    std::string map = f.map < 0 ? std::to_string(f.map) : "0x" + std::string(1, "0123456789ABCDEF"[f.map & 0xF]);
    std::printf("%-6s %-6s %-6s %-5s %-6s %-10s %s\n", ShowByte(f.code).c_str(), f.valid ? "yes" : "no",
                f.hetero ? "yes" : "no", map.c_str(), f.bases.empty() ? "-" : f.bases.c_str(),
                ShowByte(f.complement).c_str(), f.matching.empty() ? "-" : f.matching.c_str());
  }
}

}  // namespace

void AddCoreCommands(CLI::App& app) {
  auto files = std::make_shared<std::vector<std::string>>();
  CLI::App* crc = app.add_subcommand(
      "crc", "Checksum of each file as the library computes it (reflected CRC-32 from FFFFFFFF, no final inversion)");
  crc->add_option("FILE", *files, "files to checksum; - is standard input")->required();
  crc->callback([files] { RunCrc(*files); });

  auto codes = std::make_shared<std::vector<std::string>>();
  auto json = std::make_shared<bool>(false);
  CLI::App* iub = app.add_subcommand(
      "iub", "What each IUB code means: validity, heterozygosity, base map, complement, matching codes");
  iub->add_option("CODE", *codes, "one code per argument (upper or lower case; \"\" is the empty code)")
      ->required()
      ->allow_extra_args();
  iub->add_flag("--json", *json, "machine-readable output");
  iub->callback([codes, json] { RunIub(*codes, *json); });
}

}  // namespace zevcli
