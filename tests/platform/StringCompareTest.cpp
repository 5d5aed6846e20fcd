// lstrcmpA and lstrcmpiA: the word-sort order of code page 1252 text, pinned by
// pairs seen on the old platform, and the total order built on it.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "zevutil/platform/StringCompare.h"

using namespace zev;

TEST(StringCompare, WordSortPairs) {
  struct Case {
    const char *a, *b;
    int order;
  };
  const Case cases[] = {
      {"EndDialog", "_Property", 1}, {"r", "\\", 1},      {"a", "{", 1},
      {".AAA", "A.ab", -1},          {"aB", "Aab", 1},      {"Ba", "bab", -1},
      {"3.520.4403.2", "4.0.2927.10", -1},                 {"-o", "/m", 1},
      {"'o", "/m", 1},               {"'o", "-o", -1},      {"'", "-", -1},
      {"`o", "-m", -1},              {"a-", "a", 1},        {"Salut", "Salute", -1},
      {"a", "B", -1},                {"Zebra", "apple", 1}, {"coop", "co-op", -1},
      {"co-op", "cop", -1},          {"a1", "a_", 1},       {"~", "+", -1},
      {"\xE9", "f", -1},             {"a", "A", -1},        {"A", "\xE0", -1},
      {"\xE0", "\xC0", -1},          {"aA", "Aa", -1},      {"file10", "file9", -1},
      {"-b", "a", 1},                {"abc", "abc", 0},     {"", "", 0},
      {"a\xAD" "b", "ab", 0},        {"\xC6", "AE", 0},     {"stra\xDF" "e", "strasse", 0},
      {"\t", " ", 1},                {"\xA0", "\t", -1},    {"1", "a", -1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.a) + " | " + c.b);
    EXPECT_EQ(lstrcmpA(c.a, c.b), c.order);
    EXPECT_EQ(lstrcmpA(c.b, c.a), -c.order);
  }
}

TEST(StringCompare, IgnoringCaseNullsAndTheTotalOrder) {
  struct Case {
    const char *a, *b;
    int ignoringCase, total;
  };
  const Case cases[] = {
      {"a", "A", 0, -1},      {"#", ".", -1, -1},      {"_", ".", 1, 1},
      {"\xE0", "\xC0", 0, -1}, {"ab", "a\xAD" "b", 0, -1}, {"\xC6", "AE", 0, 1},
      {nullptr, nullptr, 0, 0}, {nullptr, "", -1, -1},  {"", nullptr, 1, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.a ? c.a : "(null)") + " | " + (c.b ? c.b : "(null)"));
    EXPECT_EQ(lstrcmpiA(c.a, c.b), c.ignoringCase);
    EXPECT_EQ(CollateTotalA(c.a, c.b), c.total);
  }
  std::vector<std::string> words = {"b", "A", "a", "B", "-a", "a-", "_x", "1"};
  std::sort(words.begin(), words.end(),
            [](const std::string& x, const std::string& y) { return lstrcmpA(x.c_str(), y.c_str()) < 0; });
  EXPECT_EQ(words, (std::vector<std::string>{"_x", "1", "a", "a-", "-a", "A", "b", "B"}));
}
