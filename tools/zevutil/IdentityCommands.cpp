// id and version commands: the name grammar of an identifier, an identifier built
// from a token with its stored form, and the version resource of a file.
#include <cxxabi.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "Commands.h"
#include "zevutil/CMemArchive.h"
#include "zevutil/CObSeqID.h"
#include "zevutil/CZevVersionID.h"

namespace zevcli {

namespace {

using nlohmann::json;

// A library text (8-bit) for JSON, which must be UTF-8: bytes above 127 are read as
// Latin-1, so every byte stays visible and the output stays valid.
std::string JsonText(const char* text) {
  std::string out;
  for (const unsigned char* p = reinterpret_cast<const unsigned char*>(text); *p; ++p) {
    if (*p < 0x80) {
      out += char(*p);
    } else {  // Latin-1 reading of the byte, as UTF-8
      out += char(0xC0 | (*p >> 6));
      out += char(0x80 | (*p & 0x3F));
    }
  }
  return out;
}

void Print(const json& j) { std::printf("%s\n", j.dump(2).c_str()); }

std::string ClassName(const zev::CObSeqID& id) {
  const char* mangled = typeid(id).name();
  int status = 0;
  std::unique_ptr<char, void (*)(void*)> plain(abi::__cxa_demangle(mangled, nullptr, nullptr, &status), std::free);
  std::string name = status == 0 && plain ? plain.get() : mangled;
  if (name.rfind("zev::", 0) == 0) name.erase(0, 5);
  return name;
}

std::string Hex(const zev::BYTE* data, std::size_t size) {
  static const char kDigits[] = "0123456789abcdef";
  std::string out;
  for (std::size_t i = 0; i < size; ++i) {
    if (i) out += ' ';
    out += kDigits[data[i] >> 4];
    out += kDigits[data[i] & 15];
  }
  return out;
}

void IdParse(const std::string& name, bool asJson) {
  int cell = -1, unique = -1;
  zev::CObSeqID::ParseName(name.c_str(), cell, unique);
  bool old = false;
  if (name.size() > 5 && name.compare(name.size() - 5, 5, "::old") == 0) old = true;
  json reduced = json::object();
  for (int size : {10, 24, 32}) {
    zev::CString out;
    zev::CObSeqID::GetReducedIDString(out, name.c_str(), size);
    reduced[std::to_string(size)] = JsonText(out);
  }
  if (asJson) {
    Print({{"name", JsonText(name.c_str())},
           {"cell", cell},
           {"unique", unique},
           {"old", old},
           {"reduced", reduced}});
    return;
  }
  std::printf("name     %s\n", name.c_str());
  std::printf("cell     %d\n", cell);
  std::printf("unique   %d\n", unique);
  std::printf("old      %s\n", old ? "yes" : "no");
  for (int size : {10, 24, 32}) {
    zev::CString out;
    zev::CObSeqID::GetReducedIDString(out, name.c_str(), size);
    std::printf("reduced%-2d %s\n", size, out.GetString());
  }
}

void IdToken(const std::string& token, bool asJson) {
  std::unique_ptr<zev::CObSeqID> id(zev::CObSeqID::CreateNewID(token.c_str()));
  if (!id) throw CommandError("not a token (it must start with a non-zero type number): '" + token + "'");
  zev::CMemArchive ar(zev::CArchive::store);
  id->Serialize(ar);
  std::string stored = Hex(ar.GetDataPtr(), ar.GetDataSize());
  zev::CString again;
  id->GetToken(again);
  if (asJson) {
    Print({{"class", ClassName(*id)},
           {"type", id->ObType},
           {"name", JsonText(id->ObName)},
           {"token", JsonText(again)},
           {"stored", stored}});
    return;
  }
  std::printf("class    %s\n", ClassName(*id).c_str());
  std::printf("type     %d\n", int(id->ObType));
  std::printf("name     %s\n", id->ObName);
  std::printf("token    %s\n", again.GetString());
  std::printf("stored   %s\n", stored.c_str());
}

void Version(const std::string& file, bool asJson) {
  zev::CZevVersionID version;
  const std::string before = version.ObName;
  int year = 0;
  std::string path = file;
  zev::BOOL complete = version.ReadFileVersion(path.data(), &year);
  if (!complete && before == version.ObName)
    throw CommandError("no version resource in '" + file + "'");
  zev::CString shortVersion, longVersion;
  version.GetVersionString(shortVersion, 1);
  version.GetVersionString(longVersion, 0);
  zev::CString date = version.FileTime.Format("%Y-%m-%d");
  if (asJson) {
    Print({{"file", file},
           {"complete", complete != 0},
           {"name", JsonText(version.ObName)},
           {"product", JsonText(version.ProductName)},
           {"version", JsonText(shortVersion)},
           {"full_version", JsonText(longVersion)},
           {"special_build", JsonText(version.SpecialBuild)},
           {"version_ms", version.VersionMS},
           {"version_ls", version.VersionLS},
           {"file_date", JsonText(date)},
           {"copyright_year", year}});
    return;
  }
  std::printf("%s\n", version.ObName);
  std::printf("product        %s\n", version.ProductName);
  std::printf("version        %s\n", longVersion.GetString());
  std::printf("special build  %s\n", version.SpecialBuild);
  std::printf("file date      %s\n", date.GetString());
  if (year) std::printf("copyright year %d\n", year);
  if (!complete) std::printf("(incomplete: a required item of the version resource is missing)\n");
}

}  // namespace

void AddIdentityCommands(CLI::App& app) {
  auto* id = app.add_subcommand("id", "Identifiers: the name grammar, and identifiers built from tokens");
  id->require_subcommand(1);

  auto* parse = id->add_subcommand("parse", "Show the extensions of a name and its reduced display forms");
  static std::string name;
  static bool parseJson = false;
  parse->add_option("NAME", name, "Identifier name")->required();
  parse->add_flag("--json", parseJson, "Print JSON");
  parse->callback([] { IdParse(name, parseJson); });

  auto* token = id->add_subcommand("token", "Build the identifier of a token \"<type> <name>\" and show its stored form");
  static std::string tokenText;
  static bool tokenJson = false;
  token->add_option("TOKEN", tokenText, "Token, e.g. \"10000 SAMPLE.A1\"")->required();
  token->add_flag("--json", tokenJson, "Print JSON");
  token->callback([] { IdToken(tokenText, tokenJson); });

  auto* version = app.add_subcommand("version", "Show the version resource of a file (PE, or ELF with our version note)");
  static std::string file;
  static bool versionJson = false;
  version->add_option("FILE", file, "File to read")->required();
  version->add_flag("--json", versionJson, "Print JSON");
  version->callback([] { Version(file, versionJson); });
}

}  // namespace zevcli
