// The registry store: key and value semantics, persistence, damaged files,
// concurrent writers and writers killed mid-run.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "platform/HostTestSupport.h"
#include "zevutil/platform/Registry.h"

using namespace zev;
using zevtest::TempDir;

namespace {

class RegistryStore : public ::testing::Test {
 protected:
  void SetUp() override { PointStores(); }
  void TearDown() override { PointStores(); }
  // Re-points both roots at the scratch stores; also drops open connections, so
  // what follows reads from the files.
  void PointStores() {
    RegSetStoreLocation(HKEY_CURRENT_USER, (dir / "user.db").c_str());
    RegSetStoreLocation(HKEY_LOCAL_MACHINE, (dir / "machine.db").c_str());
  }
  HKEY Create(HKEY root, const char* path, DWORD* disposition = nullptr) {
    HKEY k = nullptr;
    EXPECT_EQ(RegCreateKeyExA(root, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &k, disposition), 0) << path;
    return k;
  }
  static std::string Query(HKEY k, const char* name, DWORD* type = nullptr) {
    DWORD size = 0;
    if (RegQueryValueExA(k, name, nullptr, type, nullptr, &size) != 0) return "<missing>";
    std::string data(size, '\0');
    EXPECT_EQ(RegQueryValueExA(k, name, nullptr, type, reinterpret_cast<BYTE*>(data.data()), &size), 0);
    return data;
  }
  static void Set(HKEY k, const char* name, DWORD type, const std::string& data) {
    EXPECT_EQ(RegSetValueExA(k, name, 0, type, reinterpret_cast<const BYTE*>(data.data()), DWORD(data.size())), 0);
  }
  TempDir dir;
};

TEST_F(RegistryStore, CreateMakesEveryMissingKeyAndReportsDisposition) {
  DWORD disp = 0;
  HKEY abc = Create(HKEY_CURRENT_USER, "A\\B\\C", &disp);
  EXPECT_EQ(disp, REG_CREATED_NEW_KEY);
  HKEY ab = nullptr;
  EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "A\\B", 0, KEY_READ | KEY_CREATE_SUB_KEY, &ab), 0);
  HKEY again = Create(HKEY_CURRENT_USER, "a\\b\\c\\", &disp);  // case and a trailing '\' do not matter
  EXPECT_EQ(disp, REG_OPENED_EXISTING_KEY);
  HKEY below = Create(ab, "C\\D", &disp);
  EXPECT_EQ(disp, REG_CREATED_NEW_KEY);
  for (HKEY k : {abc, ab, again, below}) EXPECT_EQ(RegCloseKey(k), 0);
  HKEY k = nullptr;
  EXPECT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, "X", 1, nullptr, 0, KEY_ALL_ACCESS, nullptr, &k, nullptr),
            LONG(ERROR_INVALID_PARAMETER));
  EXPECT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, "\\X", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &k, nullptr),
            LONG(ERROR_BAD_PATHNAME));
  EXPECT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, std::string(256, 'n').c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                            &k, nullptr),
            LONG(ERROR_INVALID_PARAMETER));
}

TEST_F(RegistryStore, OpenFollowsTheRulesForRootsAndPaths) {
  HKEY sw = Create(HKEY_CURRENT_USER, "Software");
  struct Case {
    const char* name;
    HKEY base;
    const char* sub;
    LONG result;
    bool sameAsBase;
  } cases[] = {
      {"leading backslash", HKEY_CURRENT_USER, "\\Software", LONG(ERROR_BAD_PATHNAME), false},
      {"missing key", HKEY_CURRENT_USER, "Nope\\Nothing", LONG(ERROR_FILE_NOT_FOUND), false},
      {"null on a root", HKEY_CURRENT_USER, nullptr, 0, true},
      {"empty on a root", HKEY_LOCAL_MACHINE, "", 0, true},
      {"backslash alone on a root", HKEY_CURRENT_USER, "\\", 0, false},
      {"empty on an open key", sw, "", 0, false},
      {"unsupported root", HKEY_CLASSES_ROOT, "x", LONG(ERROR_INVALID_HANDLE), false},
      {"not a handle", reinterpret_cast<HKEY>(std::uintptr_t(0x77)), "x", LONG(ERROR_INVALID_HANDLE), false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    HKEY out = reinterpret_cast<HKEY>(std::uintptr_t(1));
    EXPECT_EQ(RegOpenKeyExA(c.base, c.sub, 0, KEY_READ, &out), c.result);
    if (c.result != 0) {
      EXPECT_EQ(out, nullptr);
    } else {
      EXPECT_EQ(out == c.base, c.sameAsBase);
      EXPECT_EQ(RegCloseKey(out), 0);
    }
  }
  EXPECT_EQ(RegCloseKey(sw), 0);
  EXPECT_EQ(RegCloseKey(sw), LONG(ERROR_INVALID_HANDLE));
}

TEST_F(RegistryStore, ValuesKeepTypeBytesAndNameAcrossReopen) {
  struct Case {
    const char* name;
    DWORD type;
    std::string data;
  } cases[] = {
      {"Bin", REG_BINARY, std::string("\x00\xFF\x0A", 3)},
      {"quote\"and\\slash", REG_SZ, std::string("caf\xE9\0", 5)},
      {"", REG_SZ, std::string("default value\0", 14)},
      {"Count", REG_DWORD, std::string("\x2A\x00\x00\x00", 4)},
      {"Empty", REG_BINARY, std::string()},
      {"Big", REG_BINARY, std::string(200000, '\xA5')},
      {"Odd type", 0x1234, "x"},
      {"\xC9t\xE9", REG_MULTI_SZ, std::string("a\0b\0\0", 5)},
  };
  HKEY k = Create(HKEY_CURRENT_USER, "Software\\Test");
  for (const Case& c : cases) Set(k, c.name, c.type, c.data);
  RegCloseKey(k);
  PointStores();  // a fresh connection reads what the file holds
  ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "SOFTWARE\\test", 0, KEY_READ, &k), 0);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    DWORD type = 0;
    EXPECT_EQ(Query(k, c.name, &type), c.data);
    EXPECT_EQ(type, c.type);
  }
  DWORD values = 0, maxData = 0;
  EXPECT_EQ(RegQueryInfoKeyA(k, nullptr, nullptr, &values, nullptr, &maxData), 0);
  EXPECT_EQ(values, std::size(cases));
  EXPECT_EQ(maxData, 200000u);
  RegCloseKey(k);
}

TEST_F(RegistryStore, QueryReportsSizesAndShortBuffers) {
  HKEY k = Create(HKEY_CURRENT_USER, "Q");
  Set(k, "Ten", REG_BINARY, "0123456789");
  DWORD size = 0, type = 0;
  EXPECT_EQ(RegQueryValueExA(k, "ten", nullptr, &type, nullptr, &size), 0);
  EXPECT_EQ(size, 10u);
  EXPECT_EQ(type, REG_BINARY);
  BYTE small[4] = {'z', 'z', 'z', 'z'};
  size = sizeof small;
  EXPECT_EQ(RegQueryValueExA(k, "Ten", nullptr, nullptr, small, &size), LONG(ERROR_MORE_DATA));
  EXPECT_EQ(size, 10u);
  EXPECT_EQ(std::memcmp(small, "zzzz", 4), 0);
  size = 55;
  EXPECT_EQ(RegQueryValueExA(k, "Missing", nullptr, nullptr, nullptr, &size), LONG(ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(size, 0u);
  size = 4;
  EXPECT_EQ(RegQueryValueExA(k, "Missing", nullptr, nullptr, small, &size), LONG(ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(size, 4u);
  EXPECT_EQ(RegQueryValueExA(k, "Ten", nullptr, nullptr, small, nullptr), LONG(ERROR_INVALID_PARAMETER));
  EXPECT_EQ(RegSetValueExA(k, "x", 0, REG_BINARY, nullptr, 3), LONG(ERROR_INVALID_PARAMETER));
  RegCloseKey(k);
}

TEST_F(RegistryStore, NamesAreCaseInsensitiveAndKeepTheirSpelling) {
  HKEY k = Create(HKEY_CURRENT_USER, "Case\\MixedKey");
  Set(k, "Foo", REG_SZ, std::string("1\0", 2));
  Set(k, "FOO", REG_SZ, std::string("2\0", 2));  // replaces, keeps the first spelling
  Set(k, "\xE9t\xE9", REG_DWORD, "abcd");         // é folds to É (code page 1252)
  EXPECT_EQ(Query(k, "foo"), std::string("2\0", 2));
  EXPECT_EQ(Query(k, "\xC9T\xC9"), "abcd");
  char name[64];
  DWORD cch = sizeof name;
  EXPECT_EQ(RegEnumValueA(k, 0, name, &cch, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_STREQ(name, "Foo");
  EXPECT_EQ(cch, 3u);
  HKEY parent = nullptr;
  ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "CASE", 0, KEY_READ, &parent), 0);
  cch = sizeof name;
  EXPECT_EQ(RegEnumKeyExA(parent, 0, name, &cch, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_STREQ(name, "MixedKey");
  RegCloseKey(parent);
  RegCloseKey(k);
}

TEST_F(RegistryStore, EnumerationOrdersKeysByNameAndValuesByCreation) {
  HKEY k = Create(HKEY_CURRENT_USER, "Enum");
  for (const char* sub : {"delta", "Alpha", "charlie", "Bravo"}) RegCloseKey(Create(k, sub));
  for (const char* v : {"z", "y", "x"}) Set(k, v, REG_SZ, v);
  std::vector<std::string> keys, values;
  char name[32];
  for (DWORD i = 0;; ++i) {
    DWORD cch = sizeof name;
    LONG e = RegEnumKeyExA(k, i, name, &cch, nullptr, nullptr, nullptr, nullptr);
    if (e == LONG(ERROR_NO_MORE_ITEMS)) break;
    ASSERT_EQ(e, 0);
    keys.push_back(name);
  }
  for (DWORD i = 0;; ++i) {
    DWORD cch = sizeof name, type = 0, size = 0;
    LONG e = RegEnumValueA(k, i, name, &cch, nullptr, &type, nullptr, &size);
    if (e == LONG(ERROR_NO_MORE_ITEMS)) break;
    ASSERT_EQ(e, 0);
    EXPECT_EQ(size, 1u);
    values.push_back(name);
  }
  EXPECT_EQ(keys, (std::vector<std::string>{"Alpha", "Bravo", "charlie", "delta"}));
  EXPECT_EQ(values, (std::vector<std::string>{"z", "y", "x"}));
  DWORD cch = 3;
  EXPECT_EQ(RegEnumKeyExA(k, 2, name, &cch, nullptr, nullptr, nullptr, nullptr), LONG(ERROR_MORE_DATA));
  RegCloseKey(k);
}

TEST_F(RegistryStore, AccessRightsAndDeletedKeysAreEnforced) {
  RegCloseKey(Create(HKEY_CURRENT_USER, "Acc\\Sub"));
  HKEY readOnly = nullptr;
  ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Acc", 0, KEY_READ, &readOnly), 0);
  EXPECT_EQ(RegSetValueExA(readOnly, "v", 0, REG_SZ, reinterpret_cast<const BYTE*>("x"), 2), LONG(ERROR_ACCESS_DENIED));
  HKEY k = nullptr;
  EXPECT_EQ(RegCreateKeyExA(readOnly, "New", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &k, nullptr),
            LONG(ERROR_ACCESS_DENIED));
  HKEY writeOnly = nullptr;
  ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Acc", 0, KEY_SET_VALUE, &writeOnly), 0);
  DWORD size = 0;
  EXPECT_EQ(RegQueryValueExA(writeOnly, "v", nullptr, nullptr, nullptr, &size), LONG(ERROR_ACCESS_DENIED));

  EXPECT_EQ(RegDeleteKeyA(HKEY_CURRENT_USER, "Acc"), LONG(ERROR_ACCESS_DENIED));  // it has a subkey
  EXPECT_EQ(RegDeleteKeyA(HKEY_CURRENT_USER, "Acc\\Sub"), 0);
  EXPECT_EQ(RegDeleteTreeA(HKEY_CURRENT_USER, "Acc"), 0);
  EXPECT_EQ(RegSetValueExA(writeOnly, "v", 0, REG_SZ, reinterpret_cast<const BYTE*>("x"), 2), LONG(ERROR_KEY_DELETED));
  EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Acc", 0, KEY_READ, &k), LONG(ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(RegDeleteKeyA(HKEY_CURRENT_USER, "Acc"), LONG(ERROR_FILE_NOT_FOUND));
  RegCloseKey(readOnly);
  RegCloseKey(writeOnly);
}

TEST_F(RegistryStore, DeleteTreeAndValues) {
  HKEY k = Create(HKEY_LOCAL_MACHINE, "T\\a\\b\\c");
  Set(k, "deep", REG_SZ, "1");
  RegCloseKey(k);
  k = Create(HKEY_LOCAL_MACHINE, "T");
  Set(k, "top", REG_SZ, "1");
  EXPECT_EQ(RegDeleteValueA(k, "TOP"), 0);
  EXPECT_EQ(RegDeleteValueA(k, "top"), LONG(ERROR_FILE_NOT_FOUND));
  Set(k, "top", REG_SZ, "1");
  EXPECT_EQ(RegDeleteTreeA(k, nullptr), 0);  // empties T, keeps it
  DWORD subKeys = 9, values = 9;
  EXPECT_EQ(RegQueryInfoKeyA(k, &subKeys, nullptr, &values, nullptr, nullptr), 0);
  EXPECT_EQ(subKeys, 0u);
  EXPECT_EQ(values, 0u);
  RegCloseKey(k);
  // The other root's store is a different file.
  EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "T", 0, KEY_READ, &k), LONG(ERROR_FILE_NOT_FOUND));
  EXPECT_FALSE(std::filesystem::exists(dir / "user.db"));  // never written, never created
  EXPECT_EQ(RegVerifyStore(HKEY_LOCAL_MACHINE), 0);
}

TEST_F(RegistryStore, DamagedAndForeignFilesGiveErrorCodes) {
  // A sound store to damage.
  HKEY k = Create(HKEY_CURRENT_USER, "Good");
  for (int i = 0; i < 300; ++i) Set(k, ("v" + std::to_string(i)).c_str(), REG_BINARY, std::string(200, char(i)));
  RegCloseKey(k);
  std::string good = zevtest::ReadBytes(dir / "user.db");
  ASSERT_GT(good.size(), 8192u);
  std::string smashed = good;
  for (size_t i = 4096; i < good.size(); i += 7) smashed[i] = char(i * 31);
  std::string foreign;
  {
    TempDir other;
    RegSetStoreLocation(HKEY_LOCAL_MACHINE, (other / "x.db").c_str());
    RegCloseKey(Create(HKEY_LOCAL_MACHINE, "x"));
    foreign = zevtest::ReadBytes(other / "x.db");
    foreign.replace(68, 4, "\0\0\0\1", 4);  // another application's id
  }
  struct Case {
    const char* name;
    std::string bytes;
    LONG open;  // what opening a key gives
  } cases[] = {
      {"text file", "[Section]\nkey=value\n", LONG(ERROR_BADDB)},
      {"header only", good.substr(0, 100), LONG(ERROR_BADDB)},
      {"cut short", good.substr(0, good.size() / 2), LONG(ERROR_BADDB)},
      {"pages overwritten", smashed, LONG(ERROR_BADDB)},
      {"another application's database", foreign, LONG(ERROR_BADDB)},
      {"empty file", "", LONG(ERROR_FILE_NOT_FOUND)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::string path = dir / "damaged.db";
    zevtest::WriteBytes(path, c.bytes);
    RegSetStoreLocation(HKEY_CURRENT_USER, path.c_str());
    HKEY out = nullptr;
    LONG e = RegOpenKeyExA(HKEY_CURRENT_USER, "Good", 0, KEY_READ, &out);
    if (c.open == LONG(ERROR_BADDB) && e == 0) {
      // Damage the first pages did not show: reading the values must then report it.
      std::string data;
      LONG q = 0;
      for (int i = 0; i < 300 && q == 0; ++i) {
        DWORD size = 0;
        q = RegQueryValueExA(out, ("v" + std::to_string(i)).c_str(), nullptr, nullptr, nullptr, &size);
      }
      RegCloseKey(out);
      EXPECT_TRUE(q == LONG(ERROR_BADDB) || RegVerifyStore(HKEY_CURRENT_USER) == LONG(ERROR_BADDB));
    } else {
      EXPECT_EQ(e, c.open);
    }
    HKEY w = nullptr;
    LONG ce = RegCreateKeyExA(HKEY_CURRENT_USER, "New", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &w, nullptr);
    if (c.bytes.empty()) {
      EXPECT_EQ(ce, 0);  // an empty file becomes a store
      RegCloseKey(w);
    } else if (ce == 0) {
      RegCloseKey(w);
    } else {
      EXPECT_EQ(ce, LONG(ERROR_BADDB));
    }
  }
  EXPECT_EQ(RegSetStoreLocation(HKEY_CURRENT_USER, (dir / "plainfile/sub/user.db").c_str()), 0);
  zevtest::WriteBytes(dir / "plainfile", "x");
  HKEY w = nullptr;
  EXPECT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, "x", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &w, nullptr),
            LONG(ERROR_CANTOPEN));
}

// Processes that find no store and create it at the same moment all succeed: whoever
// lays out the store first, the others see either no store or all of it.
TEST_F(RegistryStore, ProcessesCreatingOneStoreTogetherAllSucceed) {
  constexpr int kRounds = 25, kProcesses = 4;
  for (int round = 0; round < kRounds; ++round) {
    const std::string store = dir / ("race" + std::to_string(round) + ".db");
    const auto start = std::chrono::steady_clock::now() + std::chrono::milliseconds(30);
    std::vector<pid_t> children;
    for (int p = 0; p < kProcesses; ++p) {
      children.push_back(zevtest::RunChild([&store, start, p] {
        RegSetStoreLocation(HKEY_CURRENT_USER, store.c_str());
        while (std::chrono::steady_clock::now() < start) {
        }
        HKEY key = nullptr;
        const std::string path = "Race\\P" + std::to_string(p);
        const LONG e = RegCreateKeyExA(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                                       nullptr);
        if (e == 0) RegCloseKey(key);
        return e == 0 ? 0 : 1 + int(e % 250);
      }));
    }
    for (pid_t c : children) EXPECT_EQ(zevtest::WaitChild(c), 0) << "round " << round;
  }
}

// Several processes write distinct keys of one store at the same time; afterwards
// every key holds the last value its writer gave it.
TEST_F(RegistryStore, ConcurrentWritersLoseNothing) {
  constexpr int kProcesses = 6, kKeys = 10, kRounds = 100;
  auto started = std::chrono::steady_clock::now();
  std::vector<pid_t> children;
  for (int p = 0; p < kProcesses; ++p) {
    children.push_back(zevtest::RunChild([p] {
      for (int r = 0; r < kRounds; ++r) {
        for (int k = 0; k < kKeys; ++k) {
          HKEY key = nullptr;
          std::string path = "Conc\\P" + std::to_string(p);
          if (RegCreateKeyExA(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr))
            return 10;
          DWORD v = DWORD(r * 1000 + k);
          std::string name = "k" + std::to_string(k);
          if (RegSetValueExA(key, name.c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&v), 4)) return 11;
          RegCloseKey(key);
        }
      }
      return 0;
    }));
  }
  for (pid_t c : children) EXPECT_EQ(zevtest::WaitChild(c), 0);
  double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
  PointStores();
  int lost = 0;
  for (int p = 0; p < kProcesses; ++p) {
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, ("Conc\\P" + std::to_string(p)).c_str(), 0, KEY_READ, &key), 0);
    for (int k = 0; k < kKeys; ++k) {
      DWORD v = 0, size = 4;
      if (RegQueryValueExA(key, ("k" + std::to_string(k)).c_str(), nullptr, nullptr, reinterpret_cast<BYTE*>(&v),
                           &size) != 0 ||
          v != DWORD((kRounds - 1) * 1000 + k))
        ++lost;
    }
    RegCloseKey(key);
  }
  EXPECT_EQ(lost, 0);
  EXPECT_EQ(RegVerifyStore(HKEY_CURRENT_USER), 0);
  std::printf("[registry concurrency] %d processes, %d writes, %d keys, %d lost, %.2f s\n", kProcesses,
              kProcesses * kKeys * kRounds, kProcesses * kKeys, lost, seconds);
}

// A writer killed with SIGKILL in the middle of its loop leaves a store that opens
// and holds a consistent state: each round adds key "k<i>" and then sets the counter
// to i, so the counter's keys all exist and at most one more does.
TEST_F(RegistryStore, WriterKilledMidLoopLeavesConsistentStore) {
  int totalWrites = 0;
  for (int round = 0; round < 3; ++round) {
    SCOPED_TRACE(round);
    std::string path = dir / ("crash" + std::to_string(round) + ".db");
    RegSetStoreLocation(HKEY_CURRENT_USER, path.c_str());
    zevtest::KillMidLoop(
        [](int round) {
          const DWORD i = DWORD(round);
          HKEY k = nullptr;
          std::string sub = "Crash\\k" + std::to_string(i);
          if (RegCreateKeyExA(HKEY_CURRENT_USER, sub.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &k, nullptr))
            return 1;
          RegSetValueExA(k, "pad", 0, REG_BINARY, reinterpret_cast<const BYTE*>(sub.data()), DWORD(sub.size()));
          RegCloseKey(k);
          if (RegCreateKeyExA(HKEY_CURRENT_USER, "Crash", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &k, nullptr)) return 1;
          RegSetValueExA(k, "counter", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&i), 4);
          RegCloseKey(k);
          return 0;
        },
        std::chrono::milliseconds(20 + 40 * round));

    RegSetStoreLocation(HKEY_CURRENT_USER, path.c_str());
    EXPECT_EQ(RegVerifyStore(HKEY_CURRENT_USER), 0);
    HKEY crash = nullptr;
    ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Crash", 0, KEY_READ, &crash), 0);
    DWORD counter = 0, size = 4, subKeys = 0;
    ASSERT_EQ(RegQueryValueExA(crash, "counter", nullptr, nullptr, reinterpret_cast<BYTE*>(&counter), &size), 0);
    EXPECT_GE(counter, 10u);
    EXPECT_EQ(RegQueryInfoKeyA(crash, &subKeys, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_TRUE(subKeys == counter + 1 || subKeys == counter + 2) << subKeys << " keys, counter " << counter;
    for (DWORD i = 0; i <= counter; ++i) {
      HKEY k = nullptr;
      ASSERT_EQ(RegOpenKeyExA(crash, ("k" + std::to_string(i)).c_str(), 0, KEY_READ, &k), 0) << i;
      RegCloseKey(k);
    }
    RegCloseKey(crash);
    totalWrites += int(counter) + 1;
    // The store takes writes again.
    HKEY k = nullptr;
    EXPECT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, "After", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &k, nullptr), 0);
    RegCloseKey(k);
  }
  std::printf("[registry crash] 3 writers killed after %d committed rounds in all; every store consistent\n",
              totalWrites);
}

}  // namespace
