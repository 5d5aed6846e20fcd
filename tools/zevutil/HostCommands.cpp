// reg: look at and change the registry stores. ini: read and write INI profiles.
// ps: is a process of a given name running?
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Commands.h"
#include "zevutil/SysProcessChk.h"
#include "zevutil/platform/Host.h"
#include "zevutil/platform/Profile.h"
#include "zevutil/platform/Registry.h"

namespace zevcli {

namespace {

using json = nlohmann::json;

// ---- shared helpers ----

// The system's text for an error code, without its line end.
std::string ErrorText(zev::LONG code) {
  std::string t = zev::SystemErrorText(zev::DWORD(code));
  while (!t.empty() && (t.back() == '\n' || t.back() == '\r')) t.pop_back();
  return t.empty() ? "error " + std::to_string(code) : t;
}

// Code page 1252 text as UTF-8, for JSON output.
std::string ToUtf8(const std::string& s) {
  static const char16_t kHigh[32] = {0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                     0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x8D,   0x017D, 0x8F,
                                     0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                     0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};
  std::string out;
  for (unsigned char c : s) {
    unsigned cp = c >= 0x80 && c < 0xA0 ? kHigh[c - 0x80] : c;
    if (cp < 0x80) {
      out += char(cp);
    } else if (cp < 0x800) {
      out += char(0xC0 | (cp >> 6));
      out += char(0x80 | (cp & 0x3F));
    } else {
      out += char(0xE0 | (cp >> 12));
      out += char(0x80 | ((cp >> 6) & 0x3F));
      out += char(0x80 | (cp & 0x3F));
    }
  }
  return out;
}

void PrintJson(const json& j) { std::printf("%s\n", j.dump(2).c_str()); }

// ---- reg ----

struct RegOptions {
  std::string root = "user";
  std::string store;
  bool asJson = false;
};

struct TypeName {
  zev::DWORD type;
  const char* name;
  const char* option;
};
constexpr TypeName kTypes[] = {
    {zev::REG_NONE, "REG_NONE", "none"},           {zev::REG_SZ, "REG_SZ", "sz"},
    {zev::REG_EXPAND_SZ, "REG_EXPAND_SZ", "expand_sz"}, {zev::REG_BINARY, "REG_BINARY", "binary"},
    {zev::REG_DWORD, "REG_DWORD", "dword"},        {zev::REG_MULTI_SZ, "REG_MULTI_SZ", "multi_sz"},
    {zev::REG_QWORD, "REG_QWORD", "qword"},
};

std::string TypeToName(zev::DWORD type) {
  for (const TypeName& t : kTypes)
    if (t.type == type) return t.name;
  return "REG_TYPE_" + std::to_string(type);
}

std::string Hex(const std::string& data) {
  std::string out;
  char buf[4];
  for (unsigned char c : data) {
    std::snprintf(buf, sizeof buf, "%02x", c);
    if (!out.empty()) out += ' ';
    out += buf;
  }
  return out;
}

std::string UpToNul(const std::string& data) { return data.substr(0, data.find('\0')); }

std::vector<std::string> MultiStrings(const std::string& data) {
  std::vector<std::string> out;
  size_t pos = 0;
  while (pos < data.size()) {
    size_t end = data.find('\0', pos);
    if (end == std::string::npos) end = data.size();
    if (end == pos) break;  // the empty string that ends the list
    out.push_back(data.substr(pos, end - pos));
    pos = end + 1;
  }
  return out;
}

template <class T>
bool FixedWidth(const std::string& data, T& out) {
  if (data.size() != sizeof(T)) return false;
  std::memcpy(&out, data.data(), sizeof(T));
  return true;
}

// A value's data as one text line (binary as hex, numbers in decimal).
std::string ShowData(zev::DWORD type, const std::string& data) {
  zev::DWORD d;
  unsigned long long q;
  switch (type) {
    case zev::REG_SZ:
    case zev::REG_EXPAND_SZ:
      return UpToNul(data);
    case zev::REG_MULTI_SZ: {
      std::string out;
      for (const std::string& s : MultiStrings(data)) out += (out.empty() ? "" : "\n") + s;
      return out;
    }
    case zev::REG_DWORD:
      if (FixedWidth(data, d)) return std::to_string(d);
      break;
    case zev::REG_QWORD:
      if (FixedWidth(data, q)) return std::to_string(q);
      break;
    default:
      break;
  }
  return Hex(data);
}

json DataJson(zev::DWORD type, const std::string& data) {
  zev::DWORD d;
  unsigned long long q;
  switch (type) {
    case zev::REG_SZ:
    case zev::REG_EXPAND_SZ:
      return ToUtf8(UpToNul(data));
    case zev::REG_MULTI_SZ: {
      json a = json::array();
      for (const std::string& s : MultiStrings(data)) a.push_back(ToUtf8(s));
      return a;
    }
    case zev::REG_DWORD:
      if (FixedWidth(data, d)) return d;
      break;
    case zev::REG_QWORD:
      if (FixedWidth(data, q)) return q;
      break;
    default:
      break;
  }
  std::string compact = Hex(data);
  compact.erase(std::remove(compact.begin(), compact.end(), ' '), compact.end());
  return compact;
}

zev::HKEY RootOf(const RegOptions& o) {
  return o.root == "machine" ? zev::HKEY_LOCAL_MACHINE : zev::HKEY_CURRENT_USER;
}

std::string RootName(const RegOptions& o) { return o.root == "machine" ? "HKEY_LOCAL_MACHINE" : "HKEY_CURRENT_USER"; }

// Points the roots at --store (or $ZEVUTIL_REGISTRY_DIR) when given.
void ApplyStore(const RegOptions& o) {
  std::string dir = o.store;
  if (dir.empty()) {
    const char* env = std::getenv("ZEVUTIL_REGISTRY_DIR");
    if (env && *env) dir = env;
  }
  if (dir.empty()) return;
  zev::RegSetStoreLocation(zev::HKEY_CURRENT_USER, (dir + "/user.db").c_str());
  zev::RegSetStoreLocation(zev::HKEY_LOCAL_MACHINE, (dir + "/machine.db").c_str());
}

[[noreturn]] void RegFail(const RegOptions& o, const std::string& what, zev::LONG code) {
  std::string msg = what + ": " + ErrorText(code);
  if (code == zev::LONG(zev::ERROR_BADDB) || code == zev::LONG(zev::ERROR_CANTOPEN) ||
      code == zev::LONG(zev::ERROR_ACCESS_DENIED))
    msg += " (store " + zev::RegGetStoreLocation(RootOf(o)) + ")";
  throw CommandError(msg);
}

// An open key that closes itself.
class Key {
 public:
  Key(const RegOptions& o, const std::string& path, bool create) {
    zev::LONG e = create ? zev::RegCreateKeyExA(RootOf(o), path.c_str(), 0, nullptr, 0, zev::KEY_ALL_ACCESS, nullptr,
                                                &m_key, nullptr)
                         : zev::RegOpenKeyExA(RootOf(o), path.c_str(), 0, zev::KEY_READ, &m_key);
    if (e == zev::LONG(zev::ERROR_FILE_NOT_FOUND)) throw CommandError("no key '" + path + "' under " + RootName(o));
    if (e != 0) RegFail(o, "cannot open key '" + path + "'", e);
  }
  ~Key() { zev::RegCloseKey(m_key); }
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;
  zev::HKEY get() const { return m_key; }

 private:
  zev::HKEY m_key = nullptr;
};

struct Value {
  std::string name;
  zev::DWORD type = 0;
  std::string data;
};

void RegGet(const RegOptions& o, const std::string& path, const std::string& name) {
  Key k(o, path, false);
  zev::DWORD type = 0, size = 0;
  zev::LONG e = zev::RegQueryValueExA(k.get(), name.c_str(), nullptr, &type, nullptr, &size);
  if (e == zev::LONG(zev::ERROR_FILE_NOT_FOUND))
    throw CommandError("no value '" + name + "' in key '" + path + "'");
  std::string data(size, '\0');
  if (e == 0) e = zev::RegQueryValueExA(k.get(), name.c_str(), nullptr, &type, reinterpret_cast<zev::BYTE*>(data.data()), &size);
  if (e != 0) RegFail(o, "cannot read value '" + name + "'", e);
  data.resize(size);
  if (o.asJson) {
    PrintJson({{"key", ToUtf8(path)}, {"name", ToUtf8(name)}, {"type", TypeToName(type)}, {"data", DataJson(type, data)}});
  } else {
    std::printf("%s\n", ShowData(type, data).c_str());
  }
}

unsigned long long ParseNumber(const std::string& text, unsigned long long max) {
  if (text.empty() || text[0] == '-') throw CommandError("'" + text + "' is not a number");
  char* end = nullptr;
  errno = 0;
  unsigned long long v = std::strtoull(text.c_str(), &end, 0);
  if (errno || !end || *end || v > max) throw CommandError("'" + text + "' is not a number that fits the type");
  return v;
}

std::string ParseHex(const std::string& text) {
  std::string digits;
  for (char c : text) {
    if (c == ' ' || c == ',' || c == ':' || c == '-') continue;
    if (!std::isxdigit(static_cast<unsigned char>(c))) throw CommandError("'" + text + "' is not hex data");
    digits += c;
  }
  if (digits.size() % 2) throw CommandError("hex data needs two digits per byte");
  std::string out;
  for (size_t i = 0; i < digits.size(); i += 2) out += char(std::stoi(digits.substr(i, 2), nullptr, 16));
  return out;
}

void RegSet(const RegOptions& o, const std::string& path, const std::string& name, const std::string& typeName,
            const std::vector<std::string>& data) {
  const TypeName* type = nullptr;
  for (const TypeName& t : kTypes)
    if (typeName == t.option) type = &t;
  if (!type) throw CommandError("unknown type '" + typeName + "'");
  if (type->type != zev::REG_MULTI_SZ && data.size() != 1)
    throw CommandError(std::string("a ") + type->option + " value takes one DATA argument");
  std::string bytes;
  switch (type->type) {
    case zev::REG_SZ:
    case zev::REG_EXPAND_SZ:
      bytes = data[0] + '\0';
      break;
    case zev::REG_MULTI_SZ:
      for (const std::string& s : data) bytes += s + '\0';
      bytes += '\0';
      break;
    case zev::REG_DWORD: {
      zev::DWORD d = zev::DWORD(ParseNumber(data[0], 0xFFFFFFFFull));
      bytes.assign(reinterpret_cast<const char*>(&d), 4);
      break;
    }
    case zev::REG_QWORD: {
      unsigned long long q = ParseNumber(data[0], ~0ull);
      bytes.assign(reinterpret_cast<const char*>(&q), 8);
      break;
    }
    default:
      bytes = ParseHex(data[0]);
      break;
  }
  Key k(o, path, true);
  zev::LONG e = zev::RegSetValueExA(k.get(), name.c_str(), 0, type->type,
                                    reinterpret_cast<const zev::BYTE*>(bytes.data()), zev::DWORD(bytes.size()));
  if (e != 0) RegFail(o, "cannot set value '" + name + "'", e);
}

void RegDelete(const RegOptions& o, const std::string& path, const std::string* name) {
  zev::LONG e;
  if (name) {
    Key k(o, path, false);
    zev::HKEY writable = nullptr;
    e = zev::RegOpenKeyExA(k.get(), "", 0, zev::KEY_ALL_ACCESS, &writable);
    if (e == 0) {
      e = zev::RegDeleteValueA(writable, name->c_str());
      zev::RegCloseKey(writable);
    }
    if (e == zev::LONG(zev::ERROR_FILE_NOT_FOUND))
      throw CommandError("no value '" + *name + "' in key '" + path + "'");
    if (e != 0) RegFail(o, "cannot delete value '" + *name + "'", e);
    return;
  }
  if (path.find_first_not_of('\\') == std::string::npos) throw CommandError("refusing to delete a whole root");
  e = zev::RegDeleteTreeA(RootOf(o), path.c_str());
  if (e == zev::LONG(zev::ERROR_FILE_NOT_FOUND)) throw CommandError("no key '" + path + "' under " + RootName(o));
  if (e != 0) RegFail(o, "cannot delete key '" + path + "'", e);
}

void RegList(const RegOptions& o, const std::string& path) {
  Key k(o, path, false);
  std::vector<std::string> subKeys;
  std::vector<Value> values;
  zev::DWORD maxKey = 0, maxName = 0, maxData = 0;
  zev::LONG e = zev::RegQueryInfoKeyA(k.get(), nullptr, &maxKey, nullptr, &maxName, &maxData);
  if (e != 0) RegFail(o, "cannot read key '" + path + "'", e);
  std::vector<char> name(std::max(maxKey, maxName) + 1);
  for (zev::DWORD i = 0;; ++i) {
    zev::DWORD cch = zev::DWORD(name.size());
    e = zev::RegEnumKeyExA(k.get(), i, name.data(), &cch, nullptr, nullptr, nullptr, nullptr);
    if (e == zev::LONG(zev::ERROR_NO_MORE_ITEMS)) break;
    if (e != 0) RegFail(o, "cannot list key '" + path + "'", e);
    subKeys.emplace_back(name.data(), cch);
  }
  for (zev::DWORD i = 0;; ++i) {
    zev::DWORD cch = zev::DWORD(name.size()), type = 0, size = maxData;
    std::string data(maxData, '\0');
    e = zev::RegEnumValueA(k.get(), i, name.data(), &cch, nullptr, &type, reinterpret_cast<zev::BYTE*>(data.data()), &size);
    if (e == zev::LONG(zev::ERROR_NO_MORE_ITEMS)) break;
    if (e != 0) RegFail(o, "cannot list key '" + path + "'", e);
    data.resize(size);
    values.push_back({std::string(name.data(), cch), type, data});
  }
  if (o.asJson) {
    json keys = json::array(), vals = json::array();
    for (const std::string& s : subKeys) keys.push_back(ToUtf8(s));
    for (const Value& v : values)
      vals.push_back({{"name", ToUtf8(v.name)}, {"type", TypeToName(v.type)}, {"data", DataJson(v.type, v.data)}});
    PrintJson({{"key", ToUtf8(path)}, {"subkeys", keys}, {"values", vals}});
    return;
  }
  for (const std::string& s : subKeys) std::printf("%s\\\n", s.c_str());
  for (const Value& v : values) {
    std::string shown = ShowData(v.type, v.data);
    for (char& c : shown)
      if (c == '\n') c = ' ';
    std::printf("%s\t%s\t%s\n", v.name.empty() ? "(default)" : v.name.c_str(), TypeToName(v.type).c_str(),
                shown.c_str());
  }
}

void AddReg(CLI::App& app) {
  auto opts = std::make_shared<RegOptions>();
  CLI::App* reg = app.add_subcommand("reg", "Look at and change the registry stores");
  reg->require_subcommand(1);
  reg->fallthrough();
  reg->add_option("--root", opts->root, "Root key: user (HKEY_CURRENT_USER) or machine (HKEY_LOCAL_MACHINE)")
      ->check(CLI::IsMember({"user", "machine"}))
      ->capture_default_str();
  reg->add_option("--store", opts->store,
                  "Folder of the stores (user.db, machine.db); default $ZEVUTIL_REGISTRY_DIR, else the "
                  "XDG location ~/.config/zevutil/registry");
  reg->add_flag("--json", opts->asJson, "Print JSON");

  auto key = std::make_shared<std::string>();
  auto name = std::make_shared<std::string>();
  auto type = std::make_shared<std::string>("sz");
  auto data = std::make_shared<std::vector<std::string>>();

  CLI::App* get = reg->add_subcommand("get", "Print a value (binary data as hex; the default value without VALUE)");
  get->add_option("KEY", *key, "Key path, parts separated by '\\'")->required();
  get->add_option("VALUE", *name, "Value name");
  get->callback([=] {
    ApplyStore(*opts);
    RegGet(*opts, *key, *name);
  });

  CLI::App* set = reg->add_subcommand("set", "Set a value, creating the key");
  set->add_option("KEY", *key, "Key path")->required();
  set->add_option("VALUE", *name, "Value name (\"\" for the default value)")->required();
  set->add_option("DATA", *data, "Data: text, a number, or hex bytes; one per string for multi_sz")->required();
  set->add_option("--type", *type, "sz, expand_sz, multi_sz, dword, qword, binary or none")->capture_default_str();
  set->callback([=] {
    ApplyStore(*opts);
    RegSet(*opts, *key, *name, *type, *data);
  });

  CLI::App* del = reg->add_subcommand("delete", "Delete a value, or a key with everything below it");
  del->add_option("KEY", *key, "Key path")->required();
  CLI::Option* delName = del->add_option("VALUE", *name, "Value name");
  del->callback([=] {
    ApplyStore(*opts);
    RegDelete(*opts, *key, delName->count() ? name.get() : nullptr);
  });

  CLI::App* list = reg->add_subcommand("list", "List a key's subkeys (ending in '\\') and values");
  list->add_option("KEY", *key, "Key path (\"\" for the root)")->required();
  list->callback([=] {
    ApplyStore(*opts);
    RegList(*opts, *key);
  });
}

// ---- ini ----

// A path as given: a bare name means the current folder here, not the profile folder.
std::string IniPath(const std::string& file) {
  return file.find_first_of("/\\") == std::string::npos ? "./" + file : file;
}

// Whether the key exists, and its value: two different defaults tell a missing key apart.
bool IniLookUp(const std::string& file, const std::string& section, const std::string& key, std::string& value) {
  std::vector<char> buf(1 << 16);
  const char* marks[2] = {"\x01missing\x01", "\x02missing\x02"};
  std::string got[2];
  for (int i = 0; i < 2; ++i) {
    zev::DWORD n = zev::GetPrivateProfileStringA(section.c_str(), key.c_str(), marks[i], buf.data(),
                                                 zev::DWORD(buf.size()), file.c_str());
    got[i].assign(buf.data(), n);
  }
  value = got[0];
  return got[0] == got[1];
}

// All names of a list query (sections, or the keys of a section).
std::vector<std::string> IniNames(const std::string& file, const char* section) {
  std::vector<char> buf(4096);
  for (;;) {
    zev::DWORD n = zev::GetPrivateProfileStringA(section, nullptr, "", buf.data(), zev::DWORD(buf.size()), file.c_str());
    if (n + 2 < buf.size() || buf.size() >= (size_t(64) << 20)) {
      std::vector<std::string> out;
      for (size_t pos = 0; pos < n;) {
        std::string s(buf.data() + pos);
        out.push_back(s);
        pos += s.size() + 1;
      }
      return out;
    }
    buf.resize(buf.size() * 4);
  }
}

// Fails with one line when the file can't be read (a missing file reads as empty otherwise).
void CheckReadable(const std::string& file) {
  if (FILE* f = std::fopen(IniPath(file).c_str(), "rb")) {
    std::fclose(f);
    return;
  }
  throw CommandError("cannot read '" + file + "': " + std::strerror(errno));
}

void AddIni(CLI::App& app) {
  CLI::App* ini = app.add_subcommand("ini", "Read and write INI profiles with the old platform's rules");
  ini->require_subcommand(1);
  ini->fallthrough();
  auto asJson = std::make_shared<bool>(false);
  ini->add_flag("--json", *asJson, "Print JSON");
  auto file = std::make_shared<std::string>();
  auto section = std::make_shared<std::string>();
  auto key = std::make_shared<std::string>();
  auto value = std::make_shared<std::string>();

  CLI::App* get = ini->add_subcommand("get", "Print a key's value");
  get->add_option("FILE", *file, "INI file")->required();
  get->add_option("SECTION", *section, "Section name")->required();
  get->add_option("KEY", *key, "Key name")->required();
  get->callback([=] {
    std::string path = IniPath(*file);
    CheckReadable(*file);
    std::string v;
    if (!IniLookUp(path, *section, *key, v))
      throw CommandError("no key '" + *key + "' in section [" + *section + "] of '" + *file + "'");
    if (*asJson) PrintJson({{"file", *file}, {"section", ToUtf8(*section)}, {"key", ToUtf8(*key)}, {"value", ToUtf8(v)}});
    else std::printf("%s\n", v.c_str());
  });

  CLI::App* set = ini->add_subcommand("set", "Set a key's value, keeping every other line of the file");
  set->add_option("FILE", *file, "INI file (created if missing)")->required();
  set->add_option("SECTION", *section, "Section name")->required();
  set->add_option("KEY", *key, "Key name")->required();
  set->add_option("VALUE", *value, "Value")->required();
  set->callback([=] {
    if (!zev::WritePrivateProfileStringA(section->c_str(), key->c_str(), value->c_str(), IniPath(*file).c_str()))
      throw CommandError("cannot write '" + *file + "': " + ErrorText(zev::LONG(zev::GetLastError())));
  });

  CLI::App* del = ini->add_subcommand("delete", "Delete a key, or a whole section");
  del->add_option("FILE", *file, "INI file")->required();
  del->add_option("SECTION", *section, "Section name")->required();
  CLI::Option* delKey = del->add_option("KEY", *key, "Key name");
  del->callback([=] {
    std::string path = IniPath(*file);
    CheckReadable(*file);
    if (!zev::WritePrivateProfileStringA(section->c_str(), delKey->count() ? key->c_str() : nullptr, nullptr,
                                         path.c_str()))
      throw CommandError("cannot write '" + *file + "': " + ErrorText(zev::LONG(zev::GetLastError())));
  });

  CLI::App* list = ini->add_subcommand("list", "List the sections, or a section's keys and values");
  list->add_option("FILE", *file, "INI file")->required();
  CLI::Option* listSection = list->add_option("SECTION", *section, "Section name");
  list->callback([=] {
    std::string path = IniPath(*file);
    CheckReadable(*file);
    if (!listSection->count()) {
      std::vector<std::string> names = IniNames(path, nullptr);
      if (*asJson) {
        json a = json::array();
        for (const std::string& n : names) a.push_back(ToUtf8(n));
        PrintJson({{"file", *file}, {"sections", a}});
      } else {
        for (const std::string& n : names) std::printf("[%s]\n", n.c_str());
      }
      return;
    }
    json obj = json::array();
    for (const std::string& k : IniNames(path, section->c_str())) {
      std::string v;
      IniLookUp(path, *section, k, v);
      if (*asJson) obj.push_back({{"key", ToUtf8(k)}, {"value", ToUtf8(v)}});
      else std::printf("%s=%s\n", k.c_str(), v.c_str());
    }
    if (*asJson) PrintJson({{"file", *file}, {"section", ToUtf8(*section)}, {"keys", obj}});
  });
}

// ---- ps ----

void AddPs(CLI::App& app) {
  CLI::App* ps = app.add_subcommand("ps", "Is a process of this name running? Exit status 0 if so, 1 if not");
  auto name = std::make_shared<std::string>();
  auto asJson = std::make_shared<bool>(false);
  auto shortNames = std::make_shared<bool>(false);
  ps->add_option("NAME", *name, "Program name (a \".exe\" ending is cut)")->required();
  ps->add_flag("--json", *asJson, "Print JSON");
  ps->add_flag("--short-names", *shortNames, "Compare only the first 15 characters, as systems without long names did");
  ps->callback([=] {
    zev::SysProcessChk chk;
    if (!*shortNames && !chk.Init()) throw CommandError(chk.GetLastError().GetString());
    bool running = chk.IsProcessExist(name->c_str()) != 0;
    if (!running && !chk.GetLastError().IsEmpty()) throw CommandError(chk.GetLastError().GetString());
    if (*asJson) PrintJson({{"name", ToUtf8(*name)}, {"running", running}});
    else std::printf("%s is %s\n", name->c_str(), running ? "running" : "not running");
    ExitStatus() = running ? 0 : 1;
  });
}

}  // namespace

void AddHostCommands(CLI::App& app) {
  AddReg(app);
  AddIni(app);
  AddPs(app);
}

}  // namespace zevcli
