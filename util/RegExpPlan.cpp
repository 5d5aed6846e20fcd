// Builds a SearchPlan by walking the compiled program the way the matcher would.
#include "util/RegExpPlan.h"

#include <algorithm>

namespace zev::regexplan {

namespace {

// How common a byte is in text: space and the most frequent letters first. Rarer
// required bytes reject more texts.
int Commonness(unsigned char c) {
  static const char kCommon[] = " etaoinsrhldcu,.mfpgwybv0123456789";
  const char* at = std::strchr(kCommon, c);
  return c && at ? int(sizeof kCommon) - int(at - kCommon) : 0;
}

// Roughly how often a byte turns up in report text (share of all bytes).
double TextShare(unsigned char c) {
  static const double kLetters[26] = {.065, .012, .025, .03,  .1,   .02,  .016, .04,  .06,
                                      .001, .007, .035, .02,  .06,  .06,  .017, .001, .05,
                                      .055, .07,  .025, .008, .015, .002, .015, .001};
  if (c == ' ') return .15;
  if (c >= 'a' && c <= 'z') return kLetters[c - 'a'];
  if (c >= 'A' && c <= 'Z') return kLetters[c - 'A'] / 20;
  if (c >= '0' && c <= '9') return .006;
  if (c == ',' || c == '.') return .01;
  if (c < 0x80 && c >= 0x20) return .002;
  return .0005;
}

// Steps along the path every match takes: the successor of a choice is where all its
// alternatives meet again. 'visit' sees each node on that path; it returns false to stop.
template <typename Visit>
void WalkMandatory(const ProgramView& v, Visit visit) {
  const char* scan = v.program;
  for (std::size_t guard = 0; scan && guard <= v.size; ++guard) {
    const unsigned op = OP(scan);
    const char* next = v.next(scan);
    if (op == BRANCH) {
      if (!next || OP(next) != BRANCH) {
        scan = OPERAND(scan);  // no choice: the matcher goes straight in
        continue;
      }
      if (!visit(scan)) return;  // the choice itself
      while (scan && OP(scan) == BRANCH && guard++ <= v.size) scan = v.next(scan);
      continue;
    }
    if (op == END || op == BACK || !visit(scan)) return;
    scan = next;
  }
}

// Whatever follows a repeat, when it can only be the end of the match (group ends and
// empty nodes on the way).
bool EndsMatch(const ProgramView& v, const char* scan) {
  for (std::size_t guard = 0; scan && guard <= v.size; ++guard) {
    const unsigned op = OP(scan);
    if (op == END) return true;
    if (!IsClose(op) && op != NOTHING) return false;
    scan = v.next(scan);
  }
  return false;
}

bool BuildSteps(SearchPlan& plan, const ProgramView& v) {
  std::vector<Step> steps;
  auto addSet = [&](const unsigned char (&set)[256]) {
    std::array<unsigned char, 256> a{};
    std::copy(std::begin(set), std::end(set), a.begin());
    a[0] = 0;
    plan.sets.push_back(a);
    return std::int32_t(plan.sets.size() - 1);
  };
  const char* scan = v.program;
  for (std::size_t guard = 0; scan && guard <= v.size; ++guard) {
    const unsigned op = OP(scan);
    const char* next = v.next(scan);
    Step step;
    switch (op) {
      case BRANCH: {
        if (!next || OP(next) != BRANCH) {
          scan = OPERAND(scan);
          continue;
        }
        // A choice: decided by the text only when each alternative is one literal and no
        // literal begins another, so that at most one of them can match at any place.
        const char* meet = nullptr;
        const char* alt = scan;
        step.kind = Step::kAlt;
        step.lit = std::int32_t(plan.lits.size());
        for (; alt && OP(alt) == BRANCH; alt = v.next(alt)) {
          const char* body = OPERAND(alt);
          if (OP(body) != EXACTLY || !*OPERAND(body)) return false;
          const char* after = v.next(body);
          if (!after || (meet && after != meet)) return false;
          meet = after;
          const std::string lit = OPERAND(body);
          for (std::size_t i = std::size_t(step.lit); i < plan.lits.size(); ++i) {
            const std::string& other = plan.lits[i];
            if (other.compare(0, lit.size(), lit) == 0 || lit.compare(0, other.size(), other) == 0) return false;
          }
          plan.lits.push_back(lit);
          ++step.count;
        }
        if (alt != meet) return false;  // the last alternative leads where they all meet
        steps.push_back(step);
        scan = meet;
        continue;
      }
      case NOTHING:
        scan = next;
        continue;
      case BOL:
        step.kind = Step::kBol;
        break;
      case EOL:
        step.kind = Step::kEol;
        break;
      case ANY:
      case ANYOF:
      case ANYBUT: {
        unsigned char set[256] = {};
        if (!v.consumes(scan, set)) return false;
        step.kind = Step::kOne;
        step.set = addSet(set);
        break;
      }
      case EXACTLY:
        if (!*OPERAND(scan)) return false;
        step.kind = Step::kLit;
        step.lit = std::int32_t(plan.lits.size());
        plan.lits.emplace_back(OPERAND(scan));
        break;
      case STAR:
      case PLUS: {
        unsigned char set[256] = {};
        if (!v.consumes(OPERAND(scan), set)) return false;
        // The greedy count is the only one worth trying when what follows ends the match,
        // or cannot begin with a byte of the run: any fewer repeats leave such a byte next.
        if (!EndsMatch(v, next)) {
          unsigned char follow[256] = {};
          if (!next || !v.firstChars(next, follow)) return false;
          for (int c = 1; c < 256; ++c)
            if (set[c] && follow[c]) return false;
        }
        step.kind = Step::kRun;
        step.min = op == PLUS ? 1 : 0;
        step.set = addSet(set);
        break;
      }
      case END:
        step.kind = Step::kEnd;
        steps.push_back(step);
        plan.steps = std::move(steps);
        return true;
      default:
        if (IsOpen(op)) {
          step.kind = Step::kOpen;
          step.group = static_cast<unsigned char>(op - OPEN);
        } else if (IsClose(op)) {
          step.kind = Step::kClose;
          step.group = static_cast<unsigned char>(op - CLOSE);
        } else {
          return false;  // BACK: a loop
        }
        break;
    }
    steps.push_back(step);
    scan = next;
  }
  return false;
}

}  // namespace

bool BuildProbes(regexscan::Probes& probes, const std::vector<std::string>& lits, const unsigned char* upper) {
  probes = {};
  if (lits.empty()) return false;
  std::size_t shortest = lits[0].size();
  for (const std::string& l : lits) shortest = std::min(shortest, l.size());
  struct Place {
    std::size_t at;
    double share;
    std::string values;
  };
  std::vector<Place> places;
  for (std::size_t k = 0; k < std::min<std::size_t>(shortest, 17); ++k) {
    std::string values;
    for (const std::string& l : lits) {
      const auto want = static_cast<unsigned char>(l[k]);
      for (int c = 1; c < 256; ++c) {
        const bool stands = upper ? upper[c] == want : c == want;
        if (stands && values.find(static_cast<char>(c)) == std::string::npos) values += static_cast<char>(c);
      }
    }
    if (values.empty() || values.size() > 4) continue;
    double share = 0;
    for (unsigned char c : values) share += TextShare(c);
    places.push_back({k, share, values});
  }
  if (places.empty()) return false;
  // The chance that a place passes by accident: the product of the probes' shares, with
  // neighbouring places counted as strongly related (common pairs of letters).
  auto score = [&](std::initializer_list<std::size_t> pick) {
    double chance = 1;
    const Place* prev = nullptr;
    for (std::size_t i : pick) {
      chance *= places[i].share;
      if (prev && places[i].at == prev->at + 1) chance *= 3;
      prev = &places[i];
    }
    return chance;
  };
  std::vector<std::size_t> best{0};
  double bestScore = score({0});
  for (std::size_t a = 0; a < places.size(); ++a) {
    if (const double sc = score({a}); sc < bestScore) best = {a}, bestScore = sc;
  }
  if (places.size() >= 2) {
    bestScore = 2;
    for (std::size_t a = 0; a < places.size(); ++a)
      for (std::size_t b = a + 1; b < places.size(); ++b)
        if (const double sc = score({a, b}); sc < bestScore) best = {a, b}, bestScore = sc;
  }
  // A third probe costs a little on every block; worth it when two still pass often.
  if (places.size() >= 3 && bestScore > 1e-3) {
    bestScore = 2;
    for (std::size_t a = 0; a < places.size(); ++a)
      for (std::size_t b = a + 1; b < places.size(); ++b)
        for (std::size_t c = b + 1; c < places.size(); ++c)
          if (const double sc = score({a, b, c}); sc < bestScore) best = {a, b, c}, bestScore = sc;
  }
  for (std::size_t i : best) {
    const Place& p = places[i];
    probes.Set(probes.count++, static_cast<unsigned char>(p.at), reinterpret_cast<const unsigned char*>(p.values.data()),
               int(p.values.size()));
    if (p.values.size() > std::size_t(probes.values)) probes.values = p.values.size() > 2 ? 4 : 2;
  }
  return true;
}

void BuildPlan(SearchPlan& plan, const ProgramView& v) {
  const char* program = v.program;
  if (!program || OP(program) != BRANCH) return;

  if (v.anchored) {
    unsigned char first[256] = {};
    if (v.firstChars(program, first)) {
      std::copy(std::begin(first), std::end(first), plan.anchoredFirst);
      plan.anchoredFirstValid = true;
    }
    // BOL, then (through group starts) a literal.
    const char* scan = v.next(program) ? OPERAND(program) : nullptr;
    if (scan && OP(scan) == BOL) {
      scan = v.next(scan);
      for (std::size_t guard = 0; scan && guard <= v.size; ++guard) {
        const unsigned op = OP(scan);
        if (op == EXACTLY) {
          plan.anchoredPrefix = OPERAND(scan);
          break;
        }
        if (IsOpen(op)) {
          scan = v.next(scan);
        } else if (op == BRANCH) {
          const char* next = v.next(scan);
          if (next && OP(next) == BRANCH) break;
          scan = OPERAND(scan);
        } else {
          break;
        }
      }
    }
  }

  // What every match contains: literals, and the byte sets of single-character nodes.
  std::vector<std::string> literals;
  bool haveSet = false;
  regexscan::ByteSet best;
  auto offerSet = [&](const unsigned char (&set)[256]) {
    regexscan::ByteSet s;
    std::copy(std::begin(set), std::end(set), s.has);
    s.Finish();
    if (s.ranges == 0 || s.members == 0 || s.members > 128) return;  // dense or slow to scan
    if (!haveSet || s.members < best.members) {
      best = s;
      haveSet = true;
    }
  };
  std::vector<std::string> choice;  // the first choice of nothing but literals
  WalkMandatory(v, [&](const char* node) {
    const unsigned op = OP(node);
    unsigned char set[256] = {};
    if (op == BRANCH) {
      if (!choice.empty()) return true;
      std::vector<std::string> lits;
      const char* meet = nullptr;
      const char* alt = node;
      for (; alt && OP(alt) == BRANCH && lits.size() <= SearchPlan::kMaxInner; alt = v.next(alt)) {
        const char* body = OPERAND(alt);
        const char* after = OP(body) == EXACTLY && *OPERAND(body) ? v.next(body) : nullptr;
        if (!after || (meet && after != meet)) return true;
        meet = after;
        lits.emplace_back(OPERAND(body));
      }
      if (alt == meet && lits.size() <= SearchPlan::kMaxInner) choice = std::move(lits);
    } else if (op == EXACTLY && *OPERAND(node)) {
      literals.emplace_back(OPERAND(node));
    } else if ((op == ANYOF || op == ANYBUT) && v.consumes(node, set)) {
      offerSet(set);
    } else if (op == PLUS) {
      const char* opnd = OPERAND(node);
      if (OP(opnd) == EXACTLY && *OPERAND(opnd))
        literals.emplace_back(1, *OPERAND(opnd));
      else if (v.consumes(opnd, set) && OP(opnd) != ANY)
        offerSet(set);
    }
    return true;
  });
  // Longest first, then rarest; at most two, none that the search already looks for,
  // none inside another chosen one.
  auto score = [](const std::string& s) {
    int rare = 0;
    for (unsigned char c : s) rare = std::max(rare, 64 - Commonness(c));
    return int(s.size()) * 100 + rare;
  };
  std::stable_sort(literals.begin(), literals.end(),
                   [&](const std::string& a, const std::string& b) { return score(a) > score(b); });
  for (const std::string& lit : literals) {
    if (plan.required.size() == 2) break;
    if (lit == v.leading || lit == v.must || lit == plan.anchoredPrefix) continue;
    if (v.leading.find(lit) != std::string::npos || v.must.find(lit) != std::string::npos ||
        plan.anchoredPrefix.find(lit) != std::string::npos)
      continue;
    bool inside = false;
    for (const std::string& kept : plan.required) inside |= kept.find(lit) != std::string::npos;
    if (!inside) plan.required.push_back(lit);
  }
  if (haveSet) {
    plan.requiredSet = best;
    plan.requiredSetValid = true;
  }

  // The greedy run a match begins with, behind group starts only.
  if (!v.anchored && v.leading.empty()) {
    const char* scan = program;
    for (std::size_t guard = 0; scan && guard <= v.size; ++guard) {
      const unsigned op = OP(scan);
      if (op == BRANCH) {
        const char* next = v.next(scan);
        if (next && OP(next) == BRANCH) break;
        scan = OPERAND(scan);
      } else if (IsOpen(op)) {
        scan = v.next(scan);
      } else {
        unsigned char set[256] = {};
        if ((op == STAR || op == PLUS) && v.consumes(OPERAND(scan), set)) {
          std::copy(std::begin(set), std::end(set), plan.leadRun);
          plan.leadRun[0] = 0;
          plan.leadOp = static_cast<unsigned char>(op);
        }
        break;
      }
    }
  }

  if (!BuildSteps(plan, v)) {
    plan.steps.clear();
    plan.sets.clear();
    plan.lits.clear();
  }
  // The texts that can follow a leading run.
  if (!plan.steps.empty() && plan.leadOp == PLUS && !v.anchored) {
    std::size_t i = 0;
    while (i < plan.steps.size() && plan.steps[i].kind == Step::kOpen) ++i;
    if (i < plan.steps.size() && plan.steps[i].kind == Step::kRun && plan.steps[i].min == 1) {
      ++i;
      while (i < plan.steps.size() && plan.steps[i].kind == Step::kClose) ++i;
      // Literals and choices of literals in a row (group marks between them do not count)
      // join into the texts that must follow the run, as long as there are few.
      std::vector<std::string> heads{std::string()};
      for (; i < plan.steps.size(); ++i) {
        const Step& step = plan.steps[i];
        if (step.kind == Step::kOpen || step.kind == Step::kClose) continue;
        if (step.kind == Step::kLit) {
          for (std::string& h : heads) h += plan.lits[std::size_t(step.lit)];
          continue;
        }
        if (step.kind != Step::kAlt || heads.size() * std::size_t(step.count) > SearchPlan::kMaxInner) break;
        std::vector<std::string> joined;
        for (const std::string& h : heads)
          for (int k = 0; k < step.count; ++k) joined.push_back(h + plan.lits[std::size_t(step.lit + k)]);
        heads = std::move(joined);
      }
      if (!heads[0].empty()) {
        plan.inner = std::move(heads);
        plan.innerFilter.Build(plan.inner);
        BuildProbes(plan.innerProbes, plan.inner);
        // The search looks for a single inner literal first thing: no need to ask before.
        if (plan.inner.size() == 1)
          plan.required.erase(std::remove(plan.required.begin(), plan.required.end(), plan.inner[0]),
                              plan.required.end());
      }
    }
  }
  // A choice of literals that every match passes through rejects texts without any of
  // them; worth a look through the text only where the search itself is not straight.
  if (plan.steps.empty() && !choice.empty()) {
    plan.requiredChoiceFilter.Build(choice);
    if (plan.requiredChoiceFilter.valid) plan.requiredChoice = std::move(choice);
  }
  // An anchored straight program is one short try: cheaper than looking through the
  // whole text for what it must contain.
  if (v.anchored && !plan.steps.empty()) {
    plan.required.clear();
    plan.requiredSetValid = false;
  }
  if (!plan.steps.empty()) {
    if (v.anchored)
      plan.shape = SearchPlan::kAnchoredSteps;
    else if (plan.steps.size() == 2 && plan.steps[0].kind == Step::kLit)
      plan.shape = SearchPlan::kOneLiteral;
    else if (plan.steps.size() == 2 && plan.steps[0].kind == Step::kAlt) {
      plan.choiceFilter.Build(plan.lits);  // the choice's literals are all there are
      if (plan.choiceFilter.valid) plan.shape = SearchPlan::kLiteralChoice;
    }
  }
  if (plan.shape == SearchPlan::kOneLiteral || plan.shape == SearchPlan::kLiteralChoice) {
    BuildProbes(plan.probes, plan.lits);
    if (v.upper) BuildProbes(plan.caseProbes, plan.lits, v.upper);
  }
  // Runs of a set of one or two ranges of bytes are measured sixteen bytes at a time,
  // when the set is wide enough (letters, say) for its runs to be long: a short run, as
  // of digits, ends sooner in the byte loop than the vector scan is set up.
  plan.runSets.clear();
  for (const Step& step : plan.steps) {
    if (step.kind != Step::kRun) continue;
    regexscan::ByteSet r;
    std::copy(plan.sets[std::size_t(step.set)].begin(), plan.sets[std::size_t(step.set)].end(), r.has);
    r.Finish();
    plan.runSets.push_back(r);
  }
  std::size_t runs = 0;
  for (Step& step : plan.steps) {
    plan.groups |= step.kind == Step::kOpen || step.kind == Step::kClose;
    if (step.kind == Step::kRun) {
      const regexscan::ByteSet& r = plan.runSets[runs++];
      step.ranges = r.ranges > 0 && r.ranges <= 2 && r.members >= 16 ? &r : nullptr;
    }
    if (step.set >= 0) step.table = plan.sets[std::size_t(step.set)].data();
    if (step.kind == Step::kLit) {
      const std::string& lit = plan.lits[std::size_t(step.lit)];
      step.text = reinterpret_cast<const unsigned char*>(lit.data());
      step.len = std::uint32_t(lit.size());
    }
    if (step.kind == Step::kAlt) step.alts = &plan.lits[std::size_t(step.lit)];
  }
}

}  // namespace zev::regexplan
