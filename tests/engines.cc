// Both engines side by side: generated patterns and subjects through vu_pcre over PCRE2, and
// through PCRE 8's interpreter. Of ordinary syntax nothing may differ; of all syntax what differs
// must be of a kind that docs/patterns.md lists, and is counted by kinds.
//
// Usage: engines [--all] [COUNT]     how many pairs; of all syntax

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <map>
#include <random>

#include "fuzz/pattern.h"
#include "fuzz/support.h"
#include "tests/plain/pattern.h"
#include "vu/pattern.h"

namespace {

using namespace vu::fuzz;

std::mt19937 random_;
bool allSyntax_ = false;

std::size_t below(std::size_t count) { return random_() % count; }

template <typename T, std::size_t N>
T oneOf(const T (&choices)[N]) {
  return choices[below(N)];
}

/// What ordinary patterns have not.
constexpr const char* kRare[] = {
    "\\1",       "\\2",        "\\k<n>",  "(?1)",     "(?R)",         "(?&n)",
    "(*COMMIT)", "(*PRUNE)",   "(*SKIP)", "(*THEN)",  "(*ACCEPT)",    "(*FAIL)",
    "\\K",       "\\R",        "\\X",     "\\C",      "\\p{L}",       "\\P{Lu}",
    "\\p{Han}",  "[\\p{L}-a]", "a*+",     "b?+",      "(a|ab)++",     "\\w++",
    "(?(1)a|b)", "(?(<n>)a)",  "(?i)",    "(?#a)",    "(?(?=a)ab|b)", "(?C1)",
    "(?=\\w)",   "(?!b)",      "(?=a|)",  "(?>a|ab)", "(?|(a)|(b))",  "[[:^alpha:]]"};

std::string makePattern() {
  constexpr const char* kPieces[] = {
      "a",      "b",           "c",        "0",      "=",      " ",   "ab",       ".",
      "\\w",    "\\d",         "\\s",      "\\W",    "\\D",    "\\S", "[ab]",     "[^a]",
      "[\\w=]", "\\.",         "\\n",      "\\x61",  "é",      "\\h", "\\N",      "^",
      "$",      "\\b",         "\\B",      "\\A",    "\\z",    "\\Z", "\\G",      "|",
      "|",      "[[:alpha:]]", "\\Qa+\\E", "(?<=a)", "(?<!b)", "\\y", "(ab|a)c*b"};
  constexpr const char* kOpen[] = {"(", "(", "(?:", "(?i:", "(?<n>"};
  constexpr const char* kRepeats[] = {"*", "+", "?", "*?", "+?", "??", "{2}", "{1,3}", "{0,2}?"};
  std::string text;
  std::size_t open = 0;
  for (std::size_t n = below(12) + 1; n > 0; --n) {
    const std::size_t kind = below(8);
    open += kind == 0 ? 1 : 0;
    if (kind == 1 && open == 0) continue;
    open -= kind == 1 ? 1 : 0;
    const bool isRare = allSyntax_ && below(4) == 0;
    text += kind == 0 ? oneOf(kOpen) : kind == 1 ? ")" : isRare ? oneOf(kRare) : oneOf(kPieces);
    if (kind != 0 && text.back() != '|' && below(3) == 0) text += oneOf(kRepeats);
  }
  return text + std::string(open, ')');
}

std::string makeSubject() {
  constexpr const char* kPieces[] = {"a", "b", "c", "0",  "=",    " ",    "ab", "\n",
                                     "A", "é", "_", "aa", "\xff", "\xc3", "\v"};
  std::string text;
  for (std::size_t n = below(12); n > 0; --n) text += oneOf(kPieces);
  return text;
}

struct Case {
  std::string pattern, subject;
  int compileOptions, searchOptions, pairs;
};

/// What differs: "" for nothing.
std::string difference(const Case& c) {
  const vu::test::Interpreter theirs(c.pattern.c_str(), c.compileOptions);
  std::unique_ptr<vu_pcre> ours;
  const std::string refusal = vu::test::messageOf(
      [&] { ours = std::make_unique<vu_pcre>(c.pattern.c_str(), c.pairs, c.compileOptions); });
  if (refusal.empty() != theirs.refusal().empty()) return "refused: " + refusal + theirs.refusal();
  if (ours == nullptr) return "";
  std::vector<int> expected(static_cast<std::size_t>(c.pairs) * 3);
  std::vector<int> got = expected;
  const int result = theirs.search(c.subject, 0, c.searchOptions, expected, 100000);
  if (result == vu_pcre::stepLimit || result == vu_pcre::depthLimit) return "";
  const vu::test::ExactCopy copy(c.subject);
  const int matched = ours->match(copy.view().data(), static_cast<int>(c.subject.size()), 0,
                                  c.searchOptions, got.data(), c.pairs * 3);
  // An attempt in front of the match had more groups, which PCRE 8 does not forget.
  if (result == 0 && matched == c.pairs) return "";
  const std::string want = written(result, expected.data(), c.pairs);
  const std::string have = written(matched, got.data(), c.pairs);
  if (want == have) return "";
  const bool isOfRoom = std::min(result, matched) == 0 && std::max(result, matched) > 0;
  return (isOfRoom ? "room, 8: " : "8: ") + want + "; 2: " + have;
}

/// The kind of difference that the docs list, by what the pattern has; empty for none.
std::string kindOf(const std::string& pattern, const std::string& what) {
  struct {
    const char *text, *kind;
  } constexpr kKinds[] = {{"(*", "verbs"},
                          {"(?R)", "recursion"},
                          {"(?1)", "recursion"},
                          {"(?&", "recursion"},
                          {"++", "possessive and atomic groups"},
                          {"(?>", "possessive and atomic groups"},
                          {"\\1", "references"},
                          {"\\2", "references"},
                          {"\\k", "references"},
                          {"(?(", "references"},
                          {"(?=", "look-aheads"},
                          {"\\X", "Unicode"},
                          {"\\p", "Unicode"}};
  if (what.rfind("refused", 0) == 0) return "what compiles";
  if (what.rfind("room", 0) == 0) return "vectors with fewer pairs than groups";
  for (const auto& each : kKinds) {
    if (pattern.find(each.text) != std::string::npos) return each.kind;
  }
  return "";
}

}  // namespace

int main(int argc, char** argv) {
  allSyntax_ = argc > 1 && argv[1] == std::string("--all");
  const long count = argc > (allSyntax_ ? 2 : 1) ? std::atol(argv[argc - 1]) : 20000;
  long bad = 0;
  std::map<std::string, long> known;
  for (long i = 0; i < count; ++i) {
    random_.seed(static_cast<unsigned int>(i));
    const Case c{makePattern(), makeSubject(),
                 kCompileOptions[below(std::size(kCompileOptions) - 1)],
                 kSearchOptions[below(std::size(kSearchOptions) - 2)],
                 static_cast<int>(below(6) * below(6))};
    const std::string what = difference(c);
    if (what.empty()) continue;
    const std::string kind = allSyntax_ ? kindOf(c.pattern, what) : "";
    if (!kind.empty()) {
      ++known[kind];
      continue;
    }
    if (++bad <= 10) {
      std::cout << i << ": /" << c.pattern << "/ " << c.compileOptions << " of \"" << c.subject
                << "\" " << c.searchOptions << " with " << c.pairs << " pairs: " << what << "\n";
    }
  }
  std::cout << count << " pairs by " << vu_pcre::engine() << " and PCRE " << pcre_version() << ": "
            << bad << " differ\n";
  for (const auto& [kind, times] : known) std::cout << "  " << kind << ": " << times << "\n";
  return bad == 0 ? 0 : 1;
}
