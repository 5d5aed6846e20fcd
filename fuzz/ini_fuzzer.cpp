// Parses any bytes as an INI file: lists its sections and keys, reads every value as
// text and as an integer, then writes, deletes and re-reads in the same file. A write
// must read back and leave every other value as it was.
#include <cstdint>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "zevutil/platform/Locale.h"
#include "zevutil/platform/Profile.h"

using namespace zev;
using zevfuzz::Check;

namespace {

const std::string& ScratchFile() {
  static const zevfuzz::ScratchFolder folder("zev_ini_fuzz_");
  static const std::string path = (folder.path / "fuzz.ini").string();
  return path;
}

std::vector<std::string> Names(const char* section, const std::string& file) {
  std::vector<char> buf(1 << 16);
  DWORD n = GetPrivateProfileStringA(section, nullptr, "", buf.data(), DWORD(buf.size()), file.c_str());
  std::vector<std::string> out;
  for (size_t pos = 0; pos < n && out.size() < 64;) {
    std::string s(buf.data() + pos);
    out.push_back(s);
    pos += s.size() + 1;
  }
  return out;
}

std::string Value(const std::string& sec, const std::string& key, const std::string& file) {
  std::vector<char> buf(1 << 16);
  DWORD n = GetPrivateProfileStringA(sec.c_str(), key.c_str(), "\x01", buf.data(), DWORD(buf.size()), file.c_str());
  return std::string(buf.data(), n);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > (1u << 16)) return 0;
  const std::string& file = ScratchFile();
  zevfuzz::WriteFile(file, data, size);
  struct Entry {
    std::string sec, key, value;
  };
  std::vector<Entry> before;
  for (const std::string& sec : Names(nullptr, file)) {
    for (const std::string& key : Names(sec.c_str(), file)) {
      std::string v = Value(sec, key, file);
      GetPrivateProfileIntA(sec.c_str(), key.c_str(), 7, file.c_str());
      if (before.size() < 32) before.push_back({sec, key, v});
    }
  }
  // Short buffers of every size give a NUL-terminated prefix.
  char small[8];
  for (DWORD n = 0; n <= sizeof small; ++n) {
    DWORD got = GetPrivateProfileStringA(nullptr, nullptr, "", small, n, file.c_str());
    Check(n == 0 || got < n);
  }

  const char* kSec = "FuzzSection";
  const char* kKey = "fuzzkey";
  Check(WritePrivateProfileStringA(kSec, kKey, "v1", file.c_str()) != 0);
  Check(Value(kSec, kKey, file) == "v1");
  for (const Entry& e : before) {
    if (Cp1252CompareNoCase(e.sec.c_str(), kSec) == 0 && Cp1252CompareNoCase(e.key.c_str(), kKey) == 0) continue;
    // Names with blanks or a ';' at their ends read back differently by design.
    if (e.sec.empty() || e.key.empty() || e.key[0] == ';' || e.sec.front() == ' ' || e.sec.back() == ' ' ||
        e.key.front() == ' ' || e.key.back() == ' ')
      continue;
    Check(Value(e.sec, e.key, file) == e.value);
  }
  // Each delete removes the first key of the name; later duplicates then show.
  int deletes = 0;
  do {
    Check(WritePrivateProfileStringA(kSec, kKey, nullptr, file.c_str()) != 0);
    Check(++deletes <= 1 + int(size));
  } while (Value(kSec, kKey, file) != "\x01");
  if (size > 0) {
    // Delete whatever section comes first, then read everything again.
    std::vector<std::string> sections = Names(nullptr, file);
    if (!sections.empty()) WritePrivateProfileStringA(sections[0].c_str(), nullptr, nullptr, file.c_str());
    for (const std::string& sec : Names(nullptr, file))
      for (const std::string& key : Names(sec.c_str(), file)) Value(sec, key, file);
  }
  return 0;
}
