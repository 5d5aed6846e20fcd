// colors: the display and print colours of a user (or the system defaults) as the
// registry keeps them, and setting one. calib: the dead-time calibration an
// instrument INI file gives.
#include <cctype>
#include <cstring>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Commands.h"
#include "zevutil/CGraphicsInfoArray.h"
#include "zevutil/CInstrumentCalib.h"
#include "zevutil/CRegistryValue.h"
#include "zevutil/platform/Profile.h"
#include "zevutil/platform/Registry.h"

namespace zevcli {

namespace {

using nlohmann::json;

void PrintJson(const json& j) { std::printf("%s\n", j.dump(2).c_str()); }

// Points the registry at --store (or $ZEVUTIL_REGISTRY_DIR) when given, as `reg` does.
void ApplyStore(const std::string& store) {
  std::string dir = store;
  if (dir.empty()) {
    const char* env = std::getenv("ZEVUTIL_REGISTRY_DIR");
    if (env && *env) dir = env;
  }
  if (dir.empty()) return;
  std::error_code ec;
  std::filesystem::create_directories(dir, ec);
  zev::RegSetStoreLocation(zev::HKEY_CURRENT_USER, (dir + "/user.db").c_str());
  zev::RegSetStoreLocation(zev::HKEY_LOCAL_MACHINE, (dir + "/machine.db").c_str());
}

// The colour as the web writes it, red first: COLORREF 0x2020FF is "FF2020".
std::string RgbText(zev::COLORREF c) {
  char buf[8];
  std::snprintf(buf, sizeof buf, "%02X%02X%02X", zev::GetRValue(c), zev::GetGValue(c), zev::GetBValue(c));
  return buf;
}

std::string ColorRefText(zev::COLORREF c) {
  char buf[12];
  std::snprintf(buf, sizeof buf, "0x%06X", unsigned(c));
  return buf;
}

zev::DataIDType IdByName(const std::string& name) {
  for (int id = 0; id < zev::kNumDataIDs; ++id) {
    const auto dataId = static_cast<zev::DataIDType>(id);
    const char* n = zev::CGraphicsInfoArray::GetDataIDName(dataId);
    if (name.size() == std::strlen(n) && zev::CString(n).CompareNoCase(name.c_str()) == 0) return dataId;
  }
  throw CommandError("unknown colour name '" + name + "' (see `zevutil colors` for the 34 names)");
}

// "NAME=RRGGBB" (an optional '#' before the digits) into an ID and a COLORREF.
std::pair<zev::DataIDType, zev::COLORREF> ParseSetting(const std::string& setting) {
  const auto eq = setting.find('=');
  if (eq == std::string::npos) throw CommandError("--set needs NAME=RRGGBB, not '" + setting + "'");
  const zev::DataIDType id = IdByName(setting.substr(0, eq));
  std::string hex = setting.substr(eq + 1);
  if (!hex.empty() && hex[0] == '#') hex.erase(0, 1);
  if (hex.size() != 6 || hex.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
    throw CommandError("colour '" + setting.substr(eq + 1) + "' is not six hexadecimal digits RRGGBB");
  const unsigned long rgb = std::strtoul(hex.c_str(), nullptr, 16);
  return {id, zev::RGB(zev::BYTE(rgb >> 16), zev::BYTE(rgb >> 8), zev::BYTE(rgb))};
}

// Whether the user's key holds a colour value of that name (four bytes).
bool IsStored(const zev::CString& key, zev::DataIDType id) {
  zev::TRegistryValue<zev::DWORD, zev::REG_BINARY> value(key, zev::CGraphicsInfoArray::GetDataIDName(id));
  return value.Read() != 0;
}

struct ColorsOptions {
  std::string user;
  std::vector<std::string> settings;
  std::string store;
  bool asJson = false;
};

void RunColors(const ColorsOptions& o) {
  ApplyStore(o.store);
  const char* user = o.user.empty() ? nullptr : o.user.c_str();
  // Settings are checked before anything is written.
  std::vector<std::pair<zev::DataIDType, zev::COLORREF>> changes;
  for (const auto& s : o.settings) changes.push_back(ParseSetting(s));

  zev::CGraphicsInfoArray colors;
  colors.Load(user);
  if (!changes.empty()) {
    for (const auto& [id, color] : changes) colors.SetGraphicsInfoColor(id, color);
    colors.Save(user);  // its result says nothing: read back to check
    zev::CGraphicsInfoArray check;
    check.Load(user);
    for (const auto& [id, color] : changes)
      if (check.GetGraphicsInfoColor(id) != color)
        throw CommandError(std::string("the registry did not keep ") + zev::CGraphicsInfoArray::GetDataIDName(id) +
                           " (store " + zev::RegGetStoreLocation(zev::HKEY_CURRENT_USER) + ")");
  }

  const zev::CString key = zev::CGraphicsInfoArray::GetRegistryKey(user);
  if (o.asJson) {
    json j;
    j["user"] = user ? json(o.user) : json(nullptr);
    j["key"] = std::string("HKEY_CURRENT_USER\\") + key.GetString();
    j["colors"] = json::array();
    for (int id = 0; id < zev::kNumDataIDs; ++id) {
      const auto dataId = static_cast<zev::DataIDType>(id);
      const zev::COLORREF c = colors.GetGraphicsInfoColor(dataId);
      j["colors"].push_back({{"id", id},
                             {"name", zev::CGraphicsInfoArray::GetDataIDName(dataId)},
                             {"rgb", RgbText(c)},
                             {"colorref", c},
                             {"stored", IsStored(key, dataId)}});
    }
    PrintJson(j);
    return;
  }
  std::printf("Colours of %s, HKEY_CURRENT_USER\\%s\n", user ? user : "the system defaults", key.GetString());
  std::printf("(RRGGBB is red, green, blue; COLORREF is the stored value, red in the low byte)\n");
  std::printf("%3s  %-20s %-6s  %-8s  %s\n", "ID", "NAME", "RRGGBB", "COLORREF", "SOURCE");
  for (int id = 0; id < zev::kNumDataIDs; ++id) {
    const auto dataId = static_cast<zev::DataIDType>(id);
    const zev::COLORREF c = colors.GetGraphicsInfoColor(dataId);
    std::printf("%3d  %-20s %-6s  %-8s  %s\n", id, zev::CGraphicsInfoArray::GetDataIDName(dataId), RgbText(c).c_str(),
                ColorRefText(c).c_str(), IsStored(key, dataId) ? "stored" : "default");
  }
}

struct CalibOptions {
  std::string file;
  bool asJson = false;
};

void RunCalib(const CalibOptions& o) {
  std::error_code ec;
  if (!std::filesystem::is_regular_file(o.file, ec)) throw CommandError("cannot read '" + o.file + "'");
  // A bare file name would be looked up in the profile folder: name the current one.
  std::string path = o.file;
  if (path.find('/') == std::string::npos && path.find('\\') == std::string::npos) path = "./" + path;

  zev::CDeadtimeCalib d;
  d.LoadINIFileValues(path.c_str());

  // What the file holds, for telling a value that was read from one that was refused.
  const char* keys[] = {"Deadtime", "DeadtimeThreshold", "Saturation"};
  json raw = json::object();
  for (const char* k : keys) {
    char buf[255];
    const char* absent = "\x01";
    zev::GetPrivateProfileStringA("INSTRUMENT", k, absent, buf, sizeof buf, path.c_str());
    raw[k] = std::string(buf) == absent ? json(nullptr) : json(std::string(buf));
  }

  const int in = d.SaturationIndex();
  if (o.asJson) {
    json j;
    j["file"] = o.file;
    j["in_file"] = raw;
    j["deadtime"] = d.Deadtime;
    j["deadtime_threshold"] = d.DeadtimeThreshold;
    j["values"] = {d.Value2, d.Value3, d.Value4, d.Value5, d.Value6};
    j["saturation_lower"] = {d.SaturationLower[0], d.SaturationLower[1]};
    j["saturation_upper"] = {d.SaturationUpper[0], d.SaturationUpper[1]};
    j["saturation_in_use"] = in;
    PrintJson(j);
    return;
  }
  std::printf("Dead-time calibration from %s, section INSTRUMENT\n", o.file.c_str());
  for (const char* k : keys) {
    const std::string shown = raw[k].is_null() ? "(absent)" : "\"" + raw[k].get<std::string>() + "\"";
    std::printf("  file %-18s %s\n", k, shown.c_str());
  }
  std::printf("Deadtime            %.10g\n", d.Deadtime);
  std::printf("DeadtimeThreshold   %.10g\n", d.DeadtimeThreshold);
  std::printf("Values 2 to 6       %.10g %.10g %.10g %.10g %.10g\n", d.Value2, d.Value3, d.Value4, d.Value5, d.Value6);
  std::printf("Saturation [0]      lower %.10g  upper %.10g   (dead time below the threshold)\n", d.SaturationLower[0],
              d.SaturationUpper[0]);
  std::printf("Saturation [1]      lower %.10g  upper %.10g   (dead time at or above it)\n", d.SaturationLower[1],
              d.SaturationUpper[1]);
  std::printf("In use              [%d]\n", in);
}

}  // namespace

void AddObjectCommands(CLI::App& app) {
  auto colorsOpts = std::make_shared<ColorsOptions>();
  CLI::App* colors = app.add_subcommand(
      "colors", "List the 34 display and print colours of a user (or the system defaults), or set some");
  colors->add_option("--user", colorsOpts->user, "User name; without it, the system defaults");
  colors->add_option("--set", colorsOpts->settings, "NAME=RRGGBB (red, green, blue); may be repeated");
  colors->add_option("--store", colorsOpts->store,
                     "Folder of the registry stores; default $ZEVUTIL_REGISTRY_DIR, else the user's own");
  colors->add_flag("--json", colorsOpts->asJson, "Print JSON");
  colors->callback([colorsOpts] { RunColors(*colorsOpts); });

  auto calibOpts = std::make_shared<CalibOptions>();
  CLI::App* calib = app.add_subcommand("calib", "Print the dead-time calibration an instrument INI file gives");
  calib->add_option("file", calibOpts->file, "The INI file (section INSTRUMENT)")->required();
  calib->add_flag("--json", calibOpts->asJson, "Print JSON");
  calib->callback([calibOpts] { RunCalib(*calibOpts); });
}

}  // namespace zevcli
