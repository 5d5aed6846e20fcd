// CRegistryValue: save and read through the typed values, what a failed read
// leaves, and the local key's life.
#include <gtest/gtest.h>

#include <cstring>

#include "platform/HostTestSupport.h"
#include "zevutil/CRegistryValue.h"

using namespace zev;

namespace {

struct Rgb {
  BYTE r, g, b, pad;
};

class RegistryValue : public ::testing::Test {
 protected:
  void SetUp() override { RegSetStoreLocation(HKEY_CURRENT_USER, (dir / "user.db").c_str()); }
  static void Raw(const char* key, const char* name, DWORD type, const std::string& data) {
    HKEY k = nullptr;
    ASSERT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, key, &k), 0);
    ASSERT_EQ(RegSetValueExA(k, name, 0, type, reinterpret_cast<const BYTE*>(data.data()), DWORD(data.size())), 0);
    RegCloseKey(k);
  }
  zevtest::TempDir dir;
};

TEST_F(RegistryValue, TypedValuesRoundTrip) {
  const char* key = "Software\\Halvorn Instruments\\Zevatron\\SystemDefaults\\ColorInfo";
  CRegistryDWord count(key, "Count", HKEY_CURRENT_USER, 42);
  CRegistryString name(key, "Name", HKEY_CURRENT_USER, "caf\xE9");
  TRegistryValue<Rgb> colour(key, "Colour", HKEY_CURRENT_USER, Rgb{1, 2, 3, 0});
  CRegistryBinary blob(key, "Blob");
  const BYTE bytes[] = {0, 0xFF, 0x0A};
  blob.SetValue(bytes, 3);
  EXPECT_TRUE(count.Save());
  EXPECT_TRUE(name.Save());
  EXPECT_TRUE(colour.Save());
  EXPECT_TRUE(blob.Save());

  CRegistryDWord count2(key, "count");
  CRegistryString name2(key, "NAME");
  TRegistryValue<Rgb> colour2(key, "colour");
  CRegistryBinary blob2(key, "blob");
  EXPECT_TRUE(count2.Read());
  EXPECT_TRUE(name2.Read());
  EXPECT_TRUE(colour2.Read());
  EXPECT_TRUE(blob2.Read());
  EXPECT_EQ(count2.GetValue(), 42u);
  EXPECT_STREQ(name2.GetValue(), "caf\xE9");
  EXPECT_EQ(colour2.GetValue().b, 3);
  ASSERT_EQ(blob2.GetValue().GetSize(), 3);
  EXPECT_EQ(std::memcmp(blob2.GetValue().GetData(), bytes, 3), 0);

  HKEY k = nullptr;
  ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, key, 0, KEY_READ, &k), 0);
  DWORD type = 0, size = 0;
  EXPECT_EQ(RegQueryValueExA(k, "Colour", nullptr, &type, nullptr, &size), 0);
  EXPECT_EQ(type, REG_BINARY);
  EXPECT_EQ(size, 4u);
  EXPECT_EQ(RegQueryValueExA(k, "Name", nullptr, &type, nullptr, &size), 0);
  EXPECT_EQ(type, REG_SZ);
  EXPECT_EQ(size, 5u);  // with its NUL
  RegCloseKey(k);
}

TEST_F(RegistryValue, FailedReadsLeaveTheValueAlone) {
  Raw("K", "short", REG_DWORD, "ab");
  Raw("K", "long", REG_BINARY, "abcdefgh");
  Raw("K", "empty", REG_BINARY, "");
  Raw("K", "wrongtype", REG_SZ, "abcd");
  struct Case {
    const char* key;
    const char* value;
    BOOL result;
    DWORD after;
  } cases[] = {
      {"K", "missing", FALSE, 7},   {"Missing\\Key", "v", FALSE, 7}, {"K", "short", FALSE, 7},
      {"K", "long", FALSE, 7},      {"K", "empty", FALSE, 7},
      {"K", "wrongtype", TRUE, 0x64636261},  // the type is not checked, only the size
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.value);
    CRegistryDWord v(c.key, c.value, HKEY_CURRENT_USER, 7);
    EXPECT_EQ(v.Read(), c.result);
    EXPECT_EQ(v.GetValue(), c.after);
  }
  HKEY k = nullptr;
  EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Missing", 0, KEY_READ, &k), LONG(ERROR_FILE_NOT_FOUND));  // Read never creates
  CRegistryString s("K", "long", HKEY_CURRENT_USER, "x");
  EXPECT_TRUE(s.Read());
  EXPECT_STREQ(s.GetValue(), "abcdefgh");  // no NUL in the data: all of it
}

TEST_F(RegistryValue, SaveNeedsDataAKeyNameAndARoot) {
  CRegistryValue base("K", "v");  // the base class has no data
  EXPECT_FALSE(base.Save());
  EXPECT_EQ(base.GetType(), REG_BINARY);
  EXPECT_EQ(base.GetRootKey(), HKEY_CURRENT_USER);
  CRegistryBinary empty("K", "v");
  EXPECT_FALSE(empty.Save());
  CRegistryDWord noKey(nullptr, "v");
  EXPECT_FALSE(noKey.Save());
  CRegistryDWord noRoot("K", "v", nullptr);
  EXPECT_FALSE(noRoot.Save());
  CRegistryDWord chained;
  chained.SetKeyName("Chained\\Key").SetValueName("v").SetRootKey(HKEY_CURRENT_USER);
  chained.SetValue(9);
  EXPECT_TRUE(chained.Save());
  EXPECT_TRUE(CRegistryDWord("Chained\\Key", "v").Read());
}

TEST_F(RegistryValue, CopiesOpenTheirOwnKey) {
  CRegistryDWord a("Copy", "v", HKEY_CURRENT_USER, 5);
  EXPECT_TRUE(a.Save());
  ASSERT_NE(a.GetLocalKey(), nullptr);
  CRegistryDWord b(a);
  ASSERT_NE(b.GetLocalKey(), nullptr);
  EXPECT_NE(b.GetLocalKey(), a.GetLocalKey());
  EXPECT_EQ(b.GetValue(), 5u);
  HKEY aKey = a.GetLocalKey();
  a.SetLocalKey(nullptr);  // closes a's key
  EXPECT_EQ(RegCloseKey(aKey), LONG(ERROR_INVALID_HANDLE));
  b.SetValue(6);
  EXPECT_TRUE(b.Save());  // b's own key still works
  CRegistryDWord c;
  c = b;
  EXPECT_EQ(c.GetKeyName(), CString("Copy"));
  EXPECT_TRUE(c.Read());
  EXPECT_EQ(c.GetValue(), 6u);
  c = c;
  EXPECT_NE(c.GetLocalKey(), nullptr);
}

}  // namespace
