// Registry value data read back through CRegistryValue and its typed values, and
// (when the first byte is odd) the bytes taken as a whole store file, opened and walked.
// Typed reads must give back exactly what was stored, or leave the value alone.
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>

#include "FuzzSupport.h"
#include "zevutil/CRegistryValue.h"

using namespace zev;
using zevfuzz::Check;

namespace {

std::filesystem::path ScratchDir() {
  static const zevfuzz::ScratchFolder folder("zev_reg_fuzz_");
  static const bool pointed = RegSetStoreLocation(HKEY_CURRENT_USER, (folder.path / "values.db").c_str()) == 0;
  (void)pointed;
  return folder.path;
}

struct Record {
  BYTE bytes[12];
};

// Stores the data under one value, then reads it back every typed way.
void ReadBackValue(DWORD type, const BYTE* data, size_t size) {
  HKEY k = nullptr;
  Check(RegCreateKeyA(HKEY_CURRENT_USER, "Fuzz\\Values", &k) == 0);
  Check(RegSetValueExA(k, "v", 0, type, data, DWORD(size)) == 0);
  RegCloseKey(k);

  CRegistryDWord dw("Fuzz\\Values", "v", HKEY_CURRENT_USER, 0xDEADBEEF);
  BOOL ok = dw.Read();
  Check(ok == (size == 4));
  DWORD expect = 0xDEADBEEF;
  if (size == 4) std::memcpy(&expect, data, 4);
  Check(dw.GetValue() == expect);

  TRegistryValue<Record> rec("Fuzz\\Values", "v");
  Check(rec.Read() == (size == sizeof(Record)));

  CRegistryString str("Fuzz\\Values", "v", HKEY_CURRENT_USER, "untouched");
  ok = str.Read();
  Check(ok == (size > 0));
  if (ok) {
    size_t n = strnlen(reinterpret_cast<const char*>(data), size);
    Check(str.GetValue().GetLength() == int(n) && std::memcmp(str.GetValue().GetString(), data, n) == 0);
  } else {
    Check(str.GetValue() == "untouched");
  }

  CRegistryBinary bin("Fuzz\\Values", "v");
  ok = bin.Read();
  Check(ok == (size > 0));
  if (ok) Check(bin.GetValue().GetSize() == INT_PTR(size) && std::memcmp(bin.GetValue().GetData(), data, size) == 0);

  CRegistryValue base("Fuzz\\Values", "v");
  Check(base.Read() == (size > 0));
  // What was read saves back to the same bytes.
  if (size > 0) {
    CRegistryBinary copy(bin);
    copy.SetValueName("copy");
    Check(copy.Save());
    CRegistryBinary again("Fuzz\\Values", "copy");
    Check(again.Read() && again.GetValue().GetSize() == INT_PTR(size));
  }
}

// Opens the bytes as a store file and walks all of it; only error codes may come back.
void WalkStoreImage(const BYTE* data, size_t size) {
  std::filesystem::path file = ScratchDir() / "image.db";
  for (const char* extra : {"-wal", "-shm", "-journal"}) std::filesystem::remove(file.string() + extra);
  zevfuzz::WriteFile(file, data, size);
  RegSetStoreLocation(HKEY_LOCAL_MACHINE, file.c_str());
  RegVerifyStore(HKEY_LOCAL_MACHINE);
  HKEY stack[8] = {HKEY_LOCAL_MACHINE};
  int depth = 1;
  int visited = 0;
  while (depth > 0 && visited < 64) {
    HKEY k = stack[--depth];
    ++visited;
    char name[300];
    for (DWORD i = 0; i < 16; ++i) {
      DWORD cch = sizeof name, type = 0, cb = 0;
      if (RegEnumValueA(k, i, name, &cch, nullptr, &type, nullptr, &cb) != 0) break;
      BYTE buf[64];
      cb = sizeof buf;
      RegQueryValueExA(k, name, nullptr, &type, buf, &cb);
    }
    for (DWORD i = 0; i < 8 && depth < 8; ++i) {
      DWORD cch = sizeof name;
      if (RegEnumKeyExA(k, i, name, &cch, nullptr, nullptr, nullptr, nullptr) != 0) break;
      HKEY sub = nullptr;
      if (RegOpenKeyExA(k, name, 0, KEY_ALL_ACCESS, &sub) == 0) stack[depth++] = sub;
    }
    HKEY made = nullptr;
    if (RegCreateKeyA(k, "made", &made) == 0) {
      RegSetValueExA(made, "x", 0, REG_SZ, reinterpret_cast<const BYTE*>("y"), 2);
      RegCloseKey(made);
    }
    if (k != HKEY_LOCAL_MACHINE) RegCloseKey(k);
  }
  while (depth > 0) RegCloseKey(stack[--depth]);
  RegSetStoreLocation(HKEY_LOCAL_MACHINE, (ScratchDir() / "other.db").c_str());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > (1u << 20)) return 0;
  ScratchDir();
  if (size == 0) {
    ReadBackValue(REG_BINARY, data, 0);
    return 0;
  }
  if (data[0] & 1) {
    WalkStoreImage(data + 1, size - 1);
    return 0;
  }
  const DWORD types[] = {REG_BINARY, REG_SZ, REG_DWORD, REG_MULTI_SZ, REG_NONE, REG_QWORD, REG_EXPAND_SZ, 0x77};
  ReadBackValue(types[(data[0] >> 1) & 7], data + 1, size - 1);
  return 0;
}
