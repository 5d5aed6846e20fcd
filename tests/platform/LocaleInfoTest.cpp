// Locale items and code page 1252 case mapping.
#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <cstring>
#include <string>

#include "zevutil/platform/Host.h"
#include "zevutil/platform/Locale.h"

using namespace zev;

namespace {

std::string Item(LCID lcid, LCTYPE type) {
  char buf[64];
  int n = GetLocaleInfoA(lcid, type, buf, sizeof buf);
  return n > 0 ? std::string(buf) : "<fail>";
}

TEST(LocaleInfo, TableLocalesAndTheDefault) {
  struct Case {
    LCID lcid;
    const char* shortDate;
    const char* iDate;
    const char* sDate;
    const char* timeFormat;
    const char* sTime;
    const char* iTime;
  } cases[] = {
      {LCID_EN_US, "M/d/yyyy", "0", "/", "h:mm:ss tt", ":", "0"},
      {LCID_EN_GB, "dd/MM/yyyy", "1", "/", "HH:mm:ss", ":", "1"},
      {LCID_DE_DE, "dd.MM.yyyy", "1", ".", "HH:mm:ss", ":", "1"},
      {LCID_JA_JP, "yyyy/MM/dd", "2", "/", "H:mm:ss", ":", "1"},
      // The tests run in the "C" locale, whose defaults are the en-US values.
      {LOCALE_SYSTEM_DEFAULT, "M/d/yyyy", "0", "/", "h:mm:ss tt", ":", "0"},
      {LOCALE_USER_DEFAULT, "M/d/yyyy", "0", "/", "h:mm:ss tt", ":", "0"},
  };
  ASSERT_STREQ(std::setlocale(LC_TIME, nullptr), "C");
  for (const Case& c : cases) {
    SCOPED_TRACE(c.lcid);
    EXPECT_EQ(Item(c.lcid, LOCALE_SSHORTDATE), c.shortDate);
    EXPECT_EQ(Item(c.lcid, LOCALE_IDATE), c.iDate);
    EXPECT_EQ(Item(c.lcid, LOCALE_SDATE), c.sDate);
    EXPECT_EQ(Item(c.lcid, LOCALE_STIMEFORMAT), c.timeFormat);
    EXPECT_EQ(Item(c.lcid, LOCALE_STIME), c.sTime);
    EXPECT_EQ(Item(c.lcid, LOCALE_ITIME), c.iTime);
  }
  EXPECT_EQ(GetUserDefaultLCID(), LCID_EN_US);
}

TEST(LocaleInfo, BufferSizesAndErrors) {
  char buf[8] = "zzzzzzz";
  EXPECT_EQ(GetLocaleInfoA(LCID_EN_US, LOCALE_IDATE, nullptr, 0), 2);  // "0" and its NUL
  EXPECT_EQ(GetLocaleInfoA(LCID_EN_US, LOCALE_IDATE, buf, 2), 2);
  EXPECT_STREQ(buf, "0");
  EXPECT_EQ(GetLocaleInfoA(LCID_EN_US, LOCALE_SSHORTDATE, buf, 4), 0);
  EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
  EXPECT_EQ(GetLocaleInfoA(LCID_EN_US, 0x9999, buf, 8), 0);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_FLAGS);
  EXPECT_EQ(GetLocaleInfoA(0x040C, LOCALE_IDATE, buf, 8), 0);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST(CaseMapping, FixedCodePage1252Table) {
  char text[] = "\xE0\xE9\xEE\xF5\xFC\xFF\x9A\x9C\x9E\xDF\xB5\xF7" "abz09_";
  const char upper[] = "\xC0\xC9\xCE\xD5\xDC\x9F\x8A\x8C\x8E\xDF\xB5\xF7" "ABZ09_";
  EXPECT_EQ(CharUpperA(text), text);
  EXPECT_STREQ(text, upper);
  CharLowerA(text);
  EXPECT_STREQ(text, "\xE0\xE9\xEE\xF5\xFC\xFF\x9A\x9C\x9E\xDF\xB5\xF7" "abz09_");
  // A pointer value below 0x10000 is one character.
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(CharUpperA(reinterpret_cast<char*>(std::uintptr_t('q')))), std::uintptr_t('Q'));
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(CharLowerA(reinterpret_cast<char*>(std::uintptr_t(0xD7)))), 0xD7u);
  int changed = 0;
  for (int c = 0; c < 256; ++c) {
    char ch = char(c);
    char up = Cp1252Upper(ch);
    if (up != ch) {
      ++changed;
      EXPECT_EQ(Cp1252Lower(up), ch) << c;  // every mapping goes back
    }
  }
  EXPECT_EQ(changed, 26 + 30 + 4);
  char buf[] = "mIxEd";
  EXPECT_EQ(CharUpperBuffA(buf, 3), 3u);
  EXPECT_STREQ(buf, "MIXEd");
  EXPECT_LT(Cp1252CompareNoCase("abc", "ABD"), 0);
  EXPECT_EQ(Cp1252CompareNoCase("\xE9t\xE9", "\xC9T\xC9"), 0);
}

}  // namespace
