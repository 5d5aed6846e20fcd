// CRegExp: the classic conformance table, every compile error text, the stretch and
// reverse searches, groups and replacement, agreement with a second backtracking engine,
// and texts and patterns built to exhaust a naive matcher.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <cctype>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "zevutil/CRegExp.h"
#include "zevutil/platform/Locale.h"

using namespace zev;

namespace {

// Owns a string returned by the engine.
std::string Take(char* s) {
  std::unique_ptr<char, decltype(&std::free)> holder(s, &std::free);
  return s ? std::string(s) : std::string("(null)");
}

std::vector<std::string> SplitTabs(const std::string& line) {
  std::vector<std::string> f;
  size_t at = 0;
  for (;;) {
    size_t tab = line.find('\t', at);
    f.push_back(line.substr(at, tab == std::string::npos ? std::string::npos : tab - at));
    if (tab == std::string::npos) return f;
    at = tab + 1;
  }
}

}  // namespace

TEST(CRegExp, ClassicConformanceTable) {
  std::ifstream table(std::string(ZEV_SHARED_DIR) + "/testdata/regex/table.tsv");
  ASSERT_TRUE(table.good());
  std::string line;
  int row = 0;
  while (std::getline(table, line)) {
    ++row;
    std::vector<std::string> f = SplitTabs(line);
    ASSERT_EQ(f.size(), 5u) << "row " << row;
    const std::string &pattern = f[0], &subject = f[1], &kind = f[2], &tmpl = f[3], &want = f[4];
    SCOPED_TRACE("row " + std::to_string(row) + ": " + pattern + " on " + subject);
    CRegExp re;
    char error[128] = "untouched";
    int compiled = re.RegComp(pattern.c_str(), 0, error);
    if (pattern.empty()) {
      // This engine refuses an empty pattern outright and says nothing about it.
      EXPECT_EQ(compiled, 0);
      EXPECT_STREQ(error, "untouched");
      continue;
    }
    if (kind == "c") {
      EXPECT_EQ(compiled, 0);
      EXPECT_STRNE(error, "untouched");
      continue;
    }
    ASSERT_EQ(compiled, 1) << error;
    int at = re.RegFind(subject.c_str());
    if (kind == "n") {
      EXPECT_EQ(at, -1);
      EXPECT_EQ(re.GetReplaceString("&"), nullptr);
      continue;
    }
    ASSERT_GE(at, 0);
    EXPECT_EQ(Take(re.GetReplaceString(tmpl.c_str())), want);
  }
  EXPECT_EQ(row, 120);
}

TEST(CRegExp, CompileErrorTexts) {
  struct Case {
    const char* pattern;
    const char* error;
  } cases[] = {
      {"(((((((((((a)))))))))))", "Too many ()."},
      {"(a)(b)(c)(d)(e)(f)(g)(h)(i)(j)", "Too many ()."},
      {"(abc", "Unterminated ()"},
      {"abc)", "Unmatched ()"},
      {"(a*)*", "*+ operand could be empty"},
      {"(^)+", "*+ operand could be empty"},
      {"a**", "Nested *?+"},
      {"a+?", "Nested *?+"},
      {"[z-a]", "Invalid [] range"},
      {"[\x7f-\x80]", "Invalid [] range"},  // the ends compare as signed chars
      {"[abc", "Unmatched []"},
      {"*a", "?+* follows nothing"},
      {"a|?", "?+* follows nothing"},
      {"abc\\", "trailing \\"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.pattern);
    CRegExp re;
    char error[128] = "";
    EXPECT_EQ(re.RegComp(c.pattern, 0, error), 0);
    EXPECT_STREQ(error, c.error);
    EXPECT_EQ(re.RegComp(c.pattern, 0, nullptr), 0);  // no buffer: just the result
  }
  CRegExp nine;
  EXPECT_EQ(nine.RegComp("(a)(b)(c)(d)(e)(f)(g)(h)(i)", 0, nullptr), 1);
  EXPECT_EQ(nine.RegFind("xabcdefghi"), 1);
  EXPECT_EQ(Take(nine.GetTaggedString(9)), "i");
  EXPECT_EQ(nine.GetTaggedString(10), nullptr);
  EXPECT_EQ(nine.GetTaggedString(-1), nullptr);
}

TEST(CRegExp, ClassesAndLiteralRuns) {
  struct Case {
    const char* pattern;
    const char* text;
    int at;
    int len;
  } cases[] = {
      {"[]a]", "x]", 1, 1},        // a leading ] is a member
      {"[a-]", "x-", 1, 1},        // a trailing - is a member
      {"[\\n]", "a\\", 1, 1},      // no escapes inside a class
      {"abc*", "xab", 1, 2},       // the star takes only the last letter
      {"abc*", "abccc", 0, 5},
      {"abc+", "abab abcc", 5, 4},
      {"ab?c", "xac", 1, 2},
      {"[^a-y]+", "abzz1", 2, 3},
      {"[\xe0-\xff]+", "ab\xe9\xff", 2, 2},
      {"a.c", "a\nc", 0, 3},       // . takes any byte but the terminator
      {"^a", "ba", -1, 0},
      {"b$", "abb", 2, 1},
      {"x*", "abc", 0, 0},         // empty match at the start
      {"$", "abc", 3, 0},          // at the terminator
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.pattern) + " on " + c.text);
    CRegExp re;
    ASSERT_EQ(re.RegComp(c.pattern), 1);
    EXPECT_EQ(re.RegFind(c.text), c.at);
    EXPECT_EQ(re.GetFindLen(), c.len);
  }
}

TEST(CRegExp, StretchSearchesAndCase) {
  struct Case {
    const char* pattern;
    int compileUpper;
    const char* text;
    int start, end, upper;
    int forward, reverse;
  } cases[] = {
      {"b", 0, "abc", 1, 1, 0, 1, 1},
      {"a", 0, "abc", 1, 1, 0, -1, -1},
      {"a", 0, "bab", 0, 2, 0, 1, 1},
      {"a", 0, "aba", 0, 2, 0, 0, 2},
      {"a", 0, "aaaaaaaaaa", 0, 99, 0, 0, 9},   // end clamped to the text
      {"a", 0, "aaaaaaaaaa", -5, 3, 0, 0, 3},   // start raised to 0
      {"a", 0, "abc", 2, 1, 0, -1, -1},         // start above end
      {"a", 0, "", 0, 0, 0, -1, -1},
      {"abc", 1, "xxABC", 0, 4, 1, 2, 2},
      {"abc", 1, "xxabc", 0, 4, 1, 2, 2},
      {"abc", 1, "xxabc", 0, 4, 0, -1, -1},     // text not upper-cased: no match
      {"\xe9t\xe9", 1, "l'\xc9T\xe9", 0, 9, 1, 2, 2},  // code page case mapping
      {"^a", 0, "aXaXa", 0, 4, 0, 0, 2},        // each probe starts the text anew: the last a is missed
      {"ab|b", 0, "abab", 0, 3, 0, 0, 3},
      {"[0-9]+", 0, "a12b345c6", 0, 8, 0, 1, 8},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.pattern) + " on " + c.text);
    CRegExp re;
    ASSERT_EQ(re.RegComp(c.pattern, c.compileUpper), 1);
    EXPECT_EQ(re.RegFind(c.text, c.start, c.end, c.upper), c.forward);
    EXPECT_EQ(re.ReverseRegFind(c.text, c.start, c.end, c.upper), c.reverse);
  }
}

TEST(CRegExp, ReverseSearchKeepsTheGroupsOfItsMatch) {
  CRegExp re;
  ASSERT_EQ(re.RegComp("([a-z]+)=([0-9]+)"), 1);
  const char* text = "a=1 bb=22 ccc=333 d";
  ASSERT_EQ(re.ReverseRegFind(text, 0, 99, 0), 10);
  const char *start = nullptr, *stop = nullptr;
  re.GetFindStartStop(start, stop);
  ASSERT_NE(start, nullptr);
  EXPECT_EQ(std::string(start, stop), "ccc=333");
}

TEST(CRegExp, ReplacementTemplates) {
  CRegExp re;
  ASSERT_EQ(re.RegComp("(a+)(b*)(x?)"), 1);
  ASSERT_EQ(re.RegFind("zaabz"), 1);
  struct Case {
    const char* tmpl;
    const char* out;
  } cases[] = {
      {"[&]", "[aab]"},       {"\\&", "&"},           {"\\q", "\\q"},      {"\\\\", "\\"},
      {"\\2\\1", "baa"},      {"<\\3>", "<>"},        {"\\0", "aab"},      {"\\9", ""},
      {"", ""},               {"a\\", "a\\"},         {"&&", "aabaab"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.tmpl);
    EXPECT_EQ(Take(re.GetReplaceString(c.tmpl)), c.out);
  }
  EXPECT_EQ(re.GetReplaceString(nullptr), nullptr);
  EXPECT_EQ(Take(re.GetTaggedString(1)), "aa");
  EXPECT_EQ(re.GetTaggedString(3), nullptr);  // set, but empty
  EXPECT_EQ(re.RegFind("nothing"), -1);
  EXPECT_EQ(re.GetReplaceString("&"), nullptr);
  EXPECT_EQ(re.GetFindLen(), 0);
}

TEST(CRegExp, FailedCompileKeepsTheOldProgram) {
  CRegExp re;
  EXPECT_EQ(re.RegFind("abc"), -1);  // never compiled
  ASSERT_EQ(re.RegComp("b"), 1);
  char error[64] = "";
  EXPECT_EQ(re.RegComp("a**", 0, error), 0);
  EXPECT_STREQ(error, "Nested *?+");
  EXPECT_EQ(re.RegFind("abc"), 1);
  EXPECT_EQ(re.RegComp(nullptr), 0);
  EXPECT_EQ(re.RegComp(""), 0);
  EXPECT_EQ(re.RegFind("abc"), 1);
  EXPECT_EQ(re.RegFind(nullptr), -1);
}

TEST(CRegExp, CopiesShareTheProgramSafely) {
  auto original = std::make_unique<CRegExp>();
  ASSERT_EQ(original->RegComp("c(d+)"), 1);
  ASSERT_EQ(original->RegFind("abcddd"), 2);
  CRegExp copy(*original);
  CRegExp assigned;
  assigned = *original;
  EXPECT_EQ(Take(copy.GetTaggedString(1)), "ddd");
  ASSERT_EQ(original->RegComp("zz"), 1);  // the copies keep the program they share
  original.reset();
  EXPECT_EQ(copy.RegFind("xcdd"), 1);
  EXPECT_EQ(copy.GetFindLen(), 3);
  EXPECT_EQ(assigned.RegFind("cd"), 0);
}

TEST(CRegExp, AgreesWithAnotherBacktrackingEngine) {
  // Without escapes, newlines or empty loops, this syntax means the same in ECMAScript,
  // whose matcher also tries the leftmost start, alternatives in order and greedy repeats.
  std::mt19937 rng(20240611);
  auto pick = [&](int n) { return int(rng() % unsigned(n)); };
  std::function<std::string(int)> gen = [&](int depth) -> std::string {
    std::string s;
    int pieces = 1 + pick(3);
    for (int i = 0; i < pieces; ++i) {
      std::string atom;
      switch (pick(depth > 0 ? 7 : 5)) {
        case 0: atom = std::string(1, "abc"[pick(3)]); break;
        case 1: atom = "."; break;
        case 2: atom = pick(2) ? "[ab]" : "[^a]"; break;
        case 3: atom = std::string(1, "abc"[pick(3)]) + std::string(1, "abc"[pick(3)]); break;
        case 4: atom = pick(4) == 0 ? "^" : pick(3) == 0 ? "$" : "b"; break;
        default: atom = "(" + gen(depth - 1) + (pick(2) ? "|" + gen(depth - 1) : "") + ")"; break;
      }
      s += atom;
      int op = pick(6);
      if (op < 3 && atom != "^" && atom != "$") s += "*+?"[op];
    }
    return s;
  };
  int compared = 0;
  for (int i = 0; i < 3000; ++i) {
    std::string pattern = gen(2);
    std::string text;
    for (int n = pick(i % 3 ? 12 : 48); n > 0; --n) text += "abcc"[pick(4)];  // long ones for the wide scans
    CRegExp re;
    if (!re.RegComp(pattern.c_str())) continue;
    std::regex peer;
    try {
      peer = std::regex(pattern, std::regex::ECMAScript);
    } catch (const std::regex_error&) {
      continue;
    }
    SCOPED_TRACE(pattern + " on '" + text + "'");
    std::cmatch m;
    const bool found = std::regex_search(text.c_str(), m, peer);
    const int at = re.RegFind(text.c_str());
    ASSERT_EQ(at, found ? int(m.position(0)) : -1);
    if (found) {
      ASSERT_EQ(re.GetFindLen(), int(m.length(0)));
    }
    ++compared;
  }
  EXPECT_GT(compared, 1500);
}

TEST(CRegExp, LongTextsAndAmbiguousLoopsStayBounded) {
  // A loop over a group runs as deep as the text is long, and nested ambiguity would take
  // exponential time; both must finish with the right answer.
  std::string ab;
  for (int i = 0; i < 200000; ++i) ab += "ab";
  std::string as(40, 'a');
  struct Case {
    const char* pattern;
    std::string text;
    int at;
    int len;
  } cases[] = {
      {"(a|b)*[cd]", ab, -1, 0},  // no literal to reject the text up front
      {"(a|b)*", ab, 0, int(ab.size())},
      {"(ab)+$", ab, 0, int(ab.size())},
      {"(a|a)*[bc]", as, -1, 0},
      {"((a|aa)(a|aa))*[bc]", as, -1, 0},
      {"(a|a)*$", as, 0, 40},
      {"(a|a)*b", as, -1, 0},     // the literal b rejects it at once
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.pattern);
    CRegExp re;
    ASSERT_EQ(re.RegComp(c.pattern), 1);
    EXPECT_EQ(re.RegFind(c.text.c_str()), c.at);
    EXPECT_EQ(re.GetFindLen(), c.len);
  }
}

TEST(CRegExp, BlockScansAtThePageEndAgreeWithReferences) {
  // Texts that end right before a page the process may not read, at every distance from
  // a block boundary: the scans that read whole blocks must stop at the terminator, and
  // each fast path must find what std::regex finds, and a case-blind stretch search what
  // a search of an upper-cased copy of the stretch finds.
  const long page = sysconf(_SC_PAGESIZE);
  void* mem = mmap(nullptr, std::size_t(2 * page), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(mem, MAP_FAILED);
  ASSERT_EQ(mprotect(static_cast<char*>(mem) + page, std::size_t(page), PROT_NONE), 0);
  char* const edge = static_cast<char*>(mem) + page;
  const char* const patterns[] = {"capillary",       "ab",        "ladder|allele|marker", "cat|dog|bird",
                                  "[0-9]+",          "[a-z]+ing", "^[a-z]+ [0-9]+",       "[0-9]+\\.[0-9]+",
                                  "([a-z]+) (of|at)", "Q"};
  const char* const words[] = {"capillary", "capillar", "ladder", "allele", "marker", "cat", "dog", "bird",
                               "sing",      "of",       "at",     "12.5",   "7",      "ab"};
  std::mt19937 rng(7);
  for (const char* pattern : patterns) {
    SCOPED_TRACE(pattern);
    CRegExp re, blind;
    ASSERT_EQ(re.RegComp(pattern), 1);
    ASSERT_EQ(blind.RegComp(pattern, 1), 1);
    const std::regex reference(pattern);
    for (int trial = 0; trial < 300; ++trial) {
      std::string text;
      const std::size_t want = rng() % 48;
      while (text.size() < want) {
        if (rng() % 3 == 0) {
          text += words[rng() % (sizeof words / sizeof words[0])];
        } else {
          static const char kBytes[] = "abcdeilmnrty019 .:";
          text += kBytes[rng() % (sizeof kBytes - 1)];
        }
        if (rng() % 8 == 0) text.back() = static_cast<char>(std::toupper(static_cast<unsigned char>(text.back())));
      }
      SCOPED_TRACE(text);
      char* t = edge - text.size() - 1;
      std::memcpy(t, text.c_str(), text.size() + 1);
      std::cmatch m;
      const bool found = std::regex_search(static_cast<const char*>(t), m, reference);
      EXPECT_EQ(re.RegFind(t), found ? int(m.position(0)) : -1);
      EXPECT_EQ(re.GetFindLen(), found ? int(m.length(0)) : 0);

      if (text.empty()) continue;
      const int start = int(rng() % text.size());
      const int end = start + int(rng() % (text.size() - std::size_t(start)));
      std::string stretch = text.substr(std::size_t(start), std::size_t(end - start + 1));
      CharUpperBuffA(stretch.data(), DWORD(stretch.size()));
      CRegExp copy;
      ASSERT_EQ(copy.RegComp(pattern, 1), 1);
      const int inCopy = copy.RegFind(stretch.c_str());
      EXPECT_EQ(blind.RegFind(t, start, end, 1), inCopy < 0 ? -1 : inCopy + start);
      EXPECT_EQ(blind.GetFindLen(), copy.GetFindLen());
    }
  }
  munmap(mem, std::size_t(2 * page));
}
