// CRegExp against a recorded run: thousands of generated patterns (random ones over a
// small alphabet, the classic table's, and word patterns over report-like lines), each
// with its compile result or error text and, per subject, the forward, stretch and
// reverse search results with lengths and group texts. The record pins every result, so
// that work on the search's speed cannot change one.
//
// ZEV_REGEX_GOLDEN_WRITE=<file> writes the record from the current engine instead.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "bench/text_corpus.h"
#include "zevutil/CRegExp.h"

using namespace zev;

namespace {

const char* const kGolden = ZEV_SOURCE_DIR "/tests/data/regex_golden.txt";

// Printable ASCII and space stay as they are; backslash, and bytes outside 0x20..0x7E,
// become \xx (so a tab always separates fields).
std::string Escape(const std::string& s) {
  static const char hex[] = "0123456789abcdef";
  std::string out;
  for (unsigned char c : s) {
    if (c >= 0x20 && c < 0x7F && c != '\\') {
      out += char(c);
    } else {
      out += '\\';
      out += hex[c >> 4];
      out += hex[c & 15];
    }
  }
  return out;
}

struct Case {
  std::string pattern;
  int upper = 0;
  std::vector<std::string> subjects;
};

class Rng {
 public:
  explicit Rng(std::uint32_t seed) : m_gen(seed) {}
  int Pick(int n) { return int(m_gen() % std::uint32_t(n)); }
  bool Chance(int percent) { return Pick(100) < percent; }

 private:
  std::mt19937 m_gen;  // its sequence is fixed by the standard
};

// Patterns over a small alphabet with every construct of the syntax, some of them
// malformed on purpose.
std::string RandomPattern(Rng& r, int depth) {
  static const char kLit[] = "abcxyzABC019 -.,";
  auto lit = [&] { return kLit[r.Pick(int(sizeof kLit) - 1)]; };
  std::string s;
  const int pieces = 1 + r.Pick(4);
  for (int i = 0; i < pieces; ++i) {
    std::string atom;
    switch (r.Pick(depth > 0 ? 12 : 10)) {
      case 0:
      case 1:
        atom = std::string(1, "abcxyz"[r.Pick(6)]);
        break;
      case 2:
        for (int n = 2 + r.Pick(3); n > 0; --n) atom += "abcxyz"[r.Pick(6)];
        break;
      case 3:
        atom = ".";
        break;
      case 4: {
        atom = r.Chance(30) ? "[^" : "[";
        if (r.Chance(10)) atom += r.Chance(50) ? "]" : "-";
        for (int n = 1 + r.Pick(3); n > 0; --n) {
          atom += lit();
          if (r.Chance(30)) {
            atom += '-';
            atom += r.Chance(90) ? "bcyz9Z"[r.Pick(6)] : ']';
          }
        }
        if (r.Chance(5)) atom += '-';
        if (r.Chance(97)) atom += ']';
        break;
      }
      case 5:
        atom = r.Chance(50) ? "^" : "$";
        break;
      case 6:
        atom = std::string("\\") + "a.*[(\\|$^)x"[r.Pick(11)];
        break;
      case 7:
        atom = std::string(1, lit());
        break;
      case 8:
        atom = r.Chance(50) ? "[a-c]" : "[^ab]";
        break;
      case 9:
        atom = std::string(1, "abc"[r.Pick(3)]) + std::string(1, "xyz"[r.Pick(3)]);
        break;
      default: {
        atom = "(" + RandomPattern(r, depth - 1);
        for (int n = r.Pick(3); n > 0; --n) atom += "|" + (r.Chance(10) ? std::string() : RandomPattern(r, depth - 1));
        if (r.Chance(97)) atom += ")";
        break;
      }
    }
    s += atom;
    const int op = r.Pick(10);
    if (op < 4) s += "*+?"[r.Pick(3)];
    if (op == 4 && r.Chance(15)) s += "*+?"[r.Pick(3)];  // nested: a compile error
  }
  if (r.Chance(2)) s = "*" + s;
  if (r.Chance(2)) s += r.Chance(50) ? ")" : "\\";
  return s;
}

// Subjects drawn mostly from the pattern's own characters, so that many match.
std::string RandomSubject(Rng& r, const std::string& pattern, int maxLen) {
  static const char kMix[] = "abcxyzABC019 -.,]^$\\";
  std::string s;
  for (int n = r.Pick(maxLen + 1); n > 0; --n) {
    if (!pattern.empty() && r.Chance(60))
      s += pattern[size_t(r.Pick(int(pattern.size())))];
    else
      s += kMix[r.Pick(int(sizeof kMix) - 1)];
  }
  if (r.Chance(3)) s += char(0xC0 + r.Pick(64));
  return s;
}

// Word patterns of the kinds a user types over run reports, with lines of such reports.
std::string WordPattern(Rng& r) {
  static const char* const kWords[] = {"the", "trace", "peak", "signal", "capillary", "run", "sample", "data",
                                       "scan", "ladder", "allele", "marker", "edited", "called", "a", "base"};
  static const char* const kClasses[] = {"[a-z]", "[0-9]", "[A-Za-z]", "[^ ]", "[aeiou]", "[a-z0-9]", "."};
  auto word = [&] { return std::string(kWords[r.Pick(int(sizeof kWords / sizeof *kWords))]); };
  auto cls = [&] { return std::string(kClasses[r.Pick(int(sizeof kClasses / sizeof *kClasses))]); };
  auto rep = [&] { return std::string(1, "*+"[r.Pick(2)]); };
  switch (r.Pick(14)) {
    case 0: return word();
    case 1: return "^" + word();
    case 2: return "^" + cls() + rep() + " " + word();
    case 3: return ".*" + word();
    case 4: return cls() + rep();
    case 5: return cls() + rep() + word();
    case 6: return word() + "|" + word() + (r.Chance(50) ? "|" + word() : "");
    case 7: return "(" + cls() + rep() + ")(" + word() + "|" + word() + ")";
    case 8: return "[0-9]+\\.[0-9]+";
    case 9: return cls() + "*" + std::string(1, "aet,."[r.Pick(5)]) + (r.Chance(50) ? "$" : "");
    case 10: return "^[^ ]* " + cls() + "+" + (r.Chance(50) ? " " + word() : "");
    case 11: return "(" + word() + "|" + word() + ") " + cls() + "+";
    case 12: return word() + " (" + cls() + rep() + ") " + (r.Chance(50) ? word() : cls());
    default: return cls() + rep() + "[.,]" + (r.Chance(50) ? "$" : " ");
  }
}

// Patterns of the shapes the search takes shortcuts on: leading runs followed by
// literals or choices, anchored ones, alternations of literals (some a prefix of another),
// literals in the middle, over a small alphabet so that runs and literals recur.
std::string ShortcutPattern(Rng& r) {
  static const char* const kRuns[] = {"[a-c]", "[^ ]", "[abc ]", "a", ".", "[0-9]", "[^a]", "[xy]", "[a-y]"};
  static const char kLit[] = "abcxy .,01";
  auto run = [&] { return std::string(kRuns[r.Pick(int(sizeof kRuns / sizeof *kRuns))]) + "*+"[r.Pick(2)]; };
  auto lit = [&] {
    std::string s;
    for (int n = 1 + r.Pick(3); n > 0; --n) s += kLit[r.Pick(int(sizeof kLit) - 1)];
    if (s.size() > 1 && s.back() == ' ' && r.Chance(50)) s.back() = 'c';
    return s;
  };
  auto alt = [&] {
    std::string s = lit();
    for (int n = 1 + r.Pick(3); n > 0; --n) s += "|" + (r.Chance(20) ? s.substr(0, 1) : lit());
    return s;
  };
  switch (r.Pick(13)) {
    case 0: return run() + lit();
    case 1: return "(" + run() + ")" + lit() + "(" + alt() + ")";
    case 2: return run() + "(" + alt() + ")";
    case 3: return "^" + run() + lit();
    case 4: return "^" + lit() + run() + (r.Chance(50) ? lit() : "");
    case 5: return alt();
    case 6: return run() + lit() + run();
    case 7: return "(" + run() + ") (" + alt() + ") (" + run() + ")";
    case 8: return lit() + run() + lit() + "$";
    case 9: return run() + lit() + "$";
    case 10: return "(" + alt() + ")" + run();
    case 11: return run() + "(" + lit() + ")*" + lit();
    default: return "^(" + alt() + ")" + (r.Chance(50) ? run() : lit());
  }
}

std::string ShortcutSubject(Rng& r, int maxLen) {
  static const char kMix[] = "abcxy .,01aab  c";
  std::string s;
  for (int n = r.Pick(maxLen + 1); n > 0; --n) s += kMix[r.Pick(int(sizeof kMix) - 1)];
  return s;
}

std::vector<Case> MakeCases() {
  std::vector<Case> cases;
  Rng r(17011);
  // The classic table: each pattern on its own subject and on changed ones.
  std::ifstream table(std::string(ZEV_SHARED_DIR) + "/testdata/regex/table.tsv");
  std::string line;
  while (std::getline(table, line)) {
    const size_t tab = line.find('\t');
    if (tab == std::string::npos) continue;
    Case c;
    c.pattern = line.substr(0, tab);
    const std::string subject = line.substr(tab + 1, line.find('\t', tab + 1) - tab - 1);
    c.subjects = {subject, subject + subject, "x" + subject.substr(subject.size() / 2), RandomSubject(r, c.pattern, 20)};
    cases.push_back(c);
  }
  // Random patterns in every construct.
  for (int i = 0; i < 4000; ++i) {
    Case c;
    c.pattern = RandomPattern(r, 2);
    c.upper = r.Chance(10);
    c.subjects = {RandomSubject(r, c.pattern, 12), RandomSubject(r, c.pattern, 24),
                  RandomSubject(r, c.pattern, i % 4 ? 40 : 160)};
    cases.push_back(c);
  }
  // Word patterns over report lines (and a case-blind few).
  const std::string text = bench_text::Make(120000, 23);
  std::vector<std::string> lines;
  for (size_t at = 0; at < text.size();) {
    size_t nl = text.find('\n', at);
    if (nl == std::string::npos) nl = text.size();
    lines.push_back(text.substr(at, nl - at));
    at = nl + 1;
  }
  for (int i = 0; i < 750; ++i) {
    Case c;
    c.pattern = WordPattern(r);
    c.upper = r.Chance(10);
    for (int n = 0; n < 3; ++n) c.subjects.push_back(lines[size_t(r.Pick(int(lines.size())))]);
    cases.push_back(c);
  }
  for (int i = 0; i < 1500; ++i) {
    Case c;
    c.pattern = ShortcutPattern(r);
    c.upper = r.Chance(5);
    c.subjects = {ShortcutSubject(r, 20), ShortcutSubject(r, 40), ShortcutSubject(r, 80)};
    cases.push_back(c);
  }
  return cases;
}

// Group texts 1..n after a search, each after a "|", "-" for none.
std::string Groups(const CRegExp& re, int count) {
  std::string out;
  for (int g = 1; g <= count; ++g) {
    std::unique_ptr<char, decltype(&std::free)> s(re.GetTaggedString(g), &std::free);
    out += '|';
    out += s ? Escape(s.get()) : std::string("-");
  }
  return out;
}

int GroupCount(const std::string& pattern) {
  int n = 0;
  for (size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] == '\\') ++i;
    else if (pattern[i] == '(') ++n;
  }
  return n > 9 ? 9 : n;
}

// What the engine does with one subject: a forward search, a stretch search and a reverse
// search over bounds drawn from the subject, each with its length and groups.
std::string Outcome(CRegExp& re, const Case& c, const std::string& subject, std::uint32_t salt) {
  const int groups = GroupCount(c.pattern);
  std::ostringstream out;
  const char* text = subject.c_str();
  int at = re.RegFind(text);
  out << at << ' ' << re.GetFindLen() << Groups(re, groups);
  // The bounds left behind, a failed search's too: none, in this text, or elsewhere.
  const char *s = nullptr, *e = nullptr;
  re.GetFindStartStop(s, e);
  const auto in = [&](const char* p) { return p >= text && p <= text + subject.size(); };
  if (!s)
    out << " -";
  else if (in(s) && e && in(e))
    out << ' ' << (s - text) << ':' << (e - text);
  else
    out << " o";
  const int n = int(subject.size());
  const int start = int(salt % 5) - 1;
  const int end = n - 1 - int((salt / 5) % 4) + int((salt / 20) % 2) * 3;
  at = re.RegFind(text, start, end, c.upper);
  out << '\t' << at << ' ' << re.GetFindLen() << Groups(re, groups);
  at = re.ReverseRegFind(text, start / 2, end, c.upper);
  re.GetFindStartStop(s, e);
  out << '\t' << at << ' ' << (at >= 0 && s && e ? int(e - s) : -1) << Groups(re, groups);
  return out.str();
}

// The record line of a pattern: its compile result, or the error text.
std::string CompileLine(CRegExp& re, const Case& c, bool& ok) {
  char error[128] = "";
  ok = re.RegComp(c.pattern.c_str(), c.upper, error) == 1;
  return "P\t" + std::to_string(c.upper) + '\t' + Escape(c.pattern) + '\t' + (ok ? "ok" : "E " + Escape(error));
}

}  // namespace

TEST(CRegExpGolden, EveryRecordedResultStands) {
  const std::vector<Case> cases = MakeCases();
  if (const char* out = std::getenv("ZEV_REGEX_GOLDEN_WRITE")) {
    std::ofstream file(out, std::ios::binary);
    for (const Case& c : cases) {
      CRegExp re;
      bool ok = false;
      file << CompileLine(re, c, ok) << '\n';
      if (!ok) continue;
      for (size_t i = 0; i < c.subjects.size(); ++i)
        file << "S\t" << Escape(c.subjects[i]) << '\t' << Outcome(re, c, c.subjects[i], std::uint32_t(i * 7 + c.pattern.size()))
             << '\n';
    }
    ASSERT_TRUE(file.good());
    GTEST_SKIP() << "record written to " << out;
  }

  std::ifstream file(kGolden, std::ios::binary);
  ASSERT_TRUE(file.good()) << kGolden;
  std::string line;
  int compiled = 0, failed = 0, subjects = 0, mismatches = 0;
  for (const Case& c : cases) {
    SCOPED_TRACE("pattern " + Escape(c.pattern));
    CRegExp re;
    bool ok = false;
    ASSERT_TRUE(std::getline(file, line));
    ASSERT_EQ(CompileLine(re, c, ok), line);
    (ok ? compiled : failed)++;
    if (!ok) continue;
    for (size_t i = 0; i < c.subjects.size(); ++i) {
      ASSERT_TRUE(std::getline(file, line));
      const std::string want = line;
      const std::string got = "S\t" + Escape(c.subjects[i]) + '\t' +
                              Outcome(re, c, c.subjects[i], std::uint32_t(i * 7 + c.pattern.size()));
      ++subjects;
      if (got != want && ++mismatches <= 20) {
        ADD_FAILURE() << "subject " << Escape(c.subjects[i]) << "\n  got  " << got << "\n  want " << want;
      }
    }
  }
  EXPECT_FALSE(std::getline(file, line)) << "record has more lines than cases";
  EXPECT_EQ(mismatches, 0);
  // The record must keep covering both outcomes of compiling, and many searches.
  EXPECT_GT(compiled, 3000);
  EXPECT_GT(failed, 300);
  EXPECT_GT(subjects, 10000);
}

TEST(CRegExpGolden, EquivalentSearchesAgree) {
  // The same pattern inside a group, or with an alternative that cannot match, leaves the
  // search fewer shortcuts; without '^', a search from a later start up to the match
  // finds the same match. All must agree with the plain search.
  int compared = 0;
  for (const Case& c : MakeCases()) {
    CRegExp re;
    if (!re.RegComp(c.pattern.c_str(), c.upper)) continue;
    std::vector<std::unique_ptr<CRegExp>> variants;
    for (const std::string& v : {"(" + c.pattern + ")", c.pattern + "|\x01\x02"}) {
      auto other = std::make_unique<CRegExp>();
      if (other->RegComp(v.c_str(), c.upper)) variants.push_back(std::move(other));
    }
    const bool anchors = c.pattern.find('^') != std::string::npos;
    for (const std::string& subject : c.subjects) {
      SCOPED_TRACE("pattern " + Escape(c.pattern) + " on " + Escape(subject));
      const int at = re.RegFind(subject.c_str());
      const int len = re.GetFindLen();
      for (auto& other : variants) {
        ASSERT_EQ(other->RegFind(subject.c_str()), at);
        ASSERT_EQ(other->GetFindLen(), len);
      }
      if (!anchors && at > 0) {
        for (int skip : {1, at / 2, at}) {
          ASSERT_EQ(re.RegFind(subject.c_str() + skip), at - skip) << "from " << skip;
          ASSERT_EQ(re.GetFindLen(), len);
        }
      }
      ++compared;
    }
  }
  EXPECT_GT(compared, 15000);
}

TEST(CRegExpGolden, CandidatesNeverPassOverAMatchingLine) {
  // Each pattern's subjects as the lines of one text, walked as a line search walks it:
  // from each place FindCandidate gives, back to its line's start, search that line, go
  // on after it. Every line that matches must be searched, both case-blind and not.
  long searched = 0, passed = 0, matching = 0;
  for (const Case& c : MakeCases()) {
    CRegExp re;
    if (!re.RegComp(c.pattern.c_str(), c.upper)) continue;
    std::string text;
    for (const std::string& subject : c.subjects) text += subject + '\n';
    std::vector<std::string> lines;
    for (std::size_t at = 0, nl; (nl = text.find('\n', at)) != std::string::npos; at = nl + 1)
      lines.push_back(text.substr(at, nl - at));
    auto matches = [&](const std::string& line) {
      return c.upper ? re.RegFind(line.c_str(), 0, int(line.size()) - 1, 1) >= 0 : re.RegFind(line.c_str()) >= 0;
    };
    std::vector<bool> visited(lines.size());
    const char* begin = text.data();
    const char* end = begin + text.size();
    std::size_t index = 0;
    const char* p = begin;
    while (p < end) {
      const char* next = re.FindCandidate(p, end, c.upper);
      ASSERT_TRUE(next >= p && next <= end);
      if (next == end) break;
      while (const char* nl = static_cast<const char*>(std::memchr(p, '\n', std::size_t(next - p)))) {
        p = nl + 1;
        ++index;
      }
      visited[index] = true;
      p = static_cast<const char*>(std::memchr(p, '\n', std::size_t(end - p))) + 1;
      ++index;
    }
    for (std::size_t i = 0; i < lines.size(); ++i) {
      const bool m = matches(lines[i]);
      matching += m;
      (visited[i] ? searched : passed)++;
      ASSERT_TRUE(visited[i] || !m) << "pattern " << Escape(c.pattern) << " upper " << c.upper << " passed over "
                                    << Escape(lines[i]);
    }
  }
  // The walk must both pass over many lines and search every matching one.
  EXPECT_GT(passed, 5000);
  EXPECT_GT(matching, 1000);
  EXPECT_GE(searched, matching);
}
