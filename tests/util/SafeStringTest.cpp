// Delimited fields: quoting on output, parsing in place, and the trim helpers.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "zevutil/SafeString.h"

using namespace zev;

namespace {

TEST(SafeString, OutputQuotesOnlyWhenNeeded) {
  struct Case {
    const char* text;
    const char* special;
    const char* want;
  } cases[] = {
      {"plain text", nullptr, "plain text"},
      {"a\"b", nullptr, "\"a\"\"b\""},
      {"line\nbreak", nullptr, "\"line break\""},
      {"cr\r\nlf", nullptr, "\"cr lf\""},
      {"a,b", ",", "\"a,b\""},
      {"a,b", nullptr, "a,b"},
      {"tab\there", nullptr, "tab\there"},
      {"", ",", ""},
      {"\"", nullptr, "\"\"\"\""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_STREQ(SafeOutputString(c.text, c.special), c.want);
  }
}

// Every field ParseSafeString returns until it stops moving.
std::vector<std::string> Fields(std::string text, const char* delimiters = nullptr) {
  std::vector<std::string> out;
  std::vector<char> buf(text.begin(), text.end());
  buf.push_back('\0');
  char* cursor = buf.data();
  for (int guard = 0; guard < 100; ++guard) {
    char* before = cursor;
    char* field = ParseSafeString(cursor, delimiters);
    if (field == before && cursor == before) break;  // at the end: the position itself
    out.push_back(field);
  }
  return out;
}

TEST(SafeString, ParseReadsFieldsInPlace) {
  using V = std::vector<std::string>;
  struct Case {
    const char* name;
    std::string text;
    const char* delimiters;
    V want;
  } cases[] = {
      {"tab separated", "a\tb", nullptr, V{"a", "b"}},
      {"blanks then tab", "  \tb", nullptr, V{"", "b"}},
      {"empty fields", "\t\tx", nullptr, V{"", "", "x"}},
      {"trailing blanks cut", "a  \tb  ", nullptr, V{"a", "b  "}},
      {"leading blanks skipped", "   a\tb", nullptr, V{"a", "b"}},
      {"quoted holds a tab", "\"x\ty\"\tz", nullptr, V{"x\ty", "z"}},
      {"doubled quote", "\"say \"\"hi\"\"\"\tn", nullptr, V{"say \"hi\"", "n"}},
      {"unterminated quote", "\"abc", nullptr, V{"abc"}},
      {"text after closing quote ignored", "\"ab\"cd\te", nullptr, V{"ab", "e"}},
      {"CRLF is one delimiter", "a\r\nb", nullptr, V{"a", "b"}},
      {"CR takes any next character", "a\rXb", nullptr, V{"a", "b"}},
      {"empty field at CRLF", "\r\nb", nullptr, V{"", "b"}},
      {"CR at the very end", "a\r", nullptr, V{"a"}},
      {"lone CR", "\r", nullptr, V{""}},
      {"extra delimiters", "a,b;c", ",;", V{"a", "b", "c"}},
      {"comma not a delimiter by default", "a,b", nullptr, V{"a,b"}},
      {"LF ends a quoted field", "\"a\nb\"", nullptr, V{"a", "b\""}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(Fields(c.text, c.delimiters), c.want);
  }
  char* null = nullptr;
  EXPECT_EQ(ParseSafeString(null, nullptr), nullptr);
  char text[] = "a\tb";
  char* cursor = text;
  EXPECT_STREQ(ParseSafeString(cursor), "a");
  EXPECT_STREQ(ParseSafeString(cursor), "b");
  char* end = cursor;
  EXPECT_EQ(ParseSafeString(cursor), end);  // at the terminator: the position itself
  EXPECT_EQ(cursor, end);
}

TEST(SafeString, OutputThenParseRoundTrips) {
  const char* texts[] = {"simple", "with \"quotes\"", "tab\tinside", "comma,inside"};
  std::string line;
  for (const char* t : texts) line += std::string(SafeOutputString(t, ",\t").GetString()) + "\t";
  std::vector<std::string> got = Fields(line);
  ASSERT_EQ(got.size(), std::size(texts));
  for (size_t i = 0; i < got.size(); ++i) EXPECT_EQ(got[i], texts[i]);
}

TEST(SafeString, TrimHelpers) {
  struct Case {
    const char* name;
    void (*fn)(CString&);
    const char* text;
    const char* want;
  } cases[] = {
      {"left and right keeps a leading tab", CSTrimLeftAndRight, "\ta\t", "\ta"},
      {"left and right", CSTrimLeftAndRight, "  a b \t ", "a b"},
      {"left and right, blanks then tab", CSTrimLeftAndRight, "  \ta", "\ta"},
      {"left spaces", CSTrimLeftSpaces, "  \t a", "\t a"},
      {"left tabs", CSTrimLeftTabs, "\t\t a\t", " a\t"},
      {"right blanks and tabs", CSTrimRightSpacesAndTabs, " a \t \t", " a"},
      {"all blanks", CSTrimLeftAndRight, " \t ", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CString s(c.text);
    c.fn(s);
    EXPECT_STREQ(s, c.want);
  }
  CString z("xxaxx");
  CSTrimLeftChar(z, 'x');
  EXPECT_STREQ(z, "axx");
}

}  // namespace
