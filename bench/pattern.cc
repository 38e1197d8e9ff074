// Regular expressions and name/value pairs, beside RE2 and the standard library. What goes through
// the library's engine has that engine in its name: this program runs with the library of either.

#include "bench/pattern.h"

#include <algorithm>
#include <random>
#include <regex>

#include <re2/re2.h>

namespace vu::bench {
namespace {

/// Exponential for a matcher that goes back; the subject has no match.
constexpr char kHostile[] = "(a+)+$";
const std::string kHostileText = std::string(64, 'a') + 'b';

/// vu_pcre in the same words.
struct OurPcre {
  vu_pcre pattern;
  int execute(const char* subject, int length, int start) {
    return pattern.execute(subject, length, start, 0);
  }
  int end() const { return pattern.getContextOffset(); }
};

int countLabelsByRe2(const re2::RE2& label, const std::string& host) {
  re2::StringPiece groups[2];
  std::size_t at = 0;
  int count = 0;
  while (label.Match(host, at, host.size(), re2::RE2::UNANCHORED, groups, 2)) {
    at = static_cast<std::size_t>(groups[0].data() - host.data()) + groups[0].size();
    ++count;
  }
  return count;
}

int countLabelsByStd(const std::regex& label, const std::string& host) {
  std::smatch groups;
  int count = 0;
  for (auto at = host.cbegin(); std::regex_search(at, host.cend(), groups, label);) {
    at = groups[0].second;
    ++count;
  }
  return count;
}

/// A pattern that takes a matcher which goes back exponential time: ours must end, by its bound.
void hostile(benchmark::State& state) {
  vu_pcre pattern(kHostile, 2, 0);
  const int length = static_cast<int>(kHostileText.size());
  const auto search = [&] { return pattern.execute(kHostileText.data(), length, 0, 0); };
  require(search() < 0, "the hostile text has no match");
  measureCall(state, search);
}

void hostileByRe2(benchmark::State& state) {
  const re2::RE2 pattern(kHostile);
  const auto search = [&] { return re2::RE2::PartialMatch(kHostileText, pattern); };
  require(!search(), "the hostile text has no match");
  measureCall(state, search);
}

Pairs collect(NvalPcre& pattern) {
  Pairs found;
  insertNV2List(found, pattern, log().data(), static_cast<unsigned>(log().size()));
  return found;
}

CharSizet_t viewOf(const re2::StringPiece& piece) {
  return {piece.data(), static_cast<unsigned>(piece.size())};
}

Pairs collectByRe2(const re2::RE2& pattern) {
  Pairs found;
  re2::StringPiece rest = log();
  re2::StringPiece name;
  re2::StringPiece value;
  while (re2::RE2::FindAndConsume(&rest, pattern, &name, &value)) {
    found.emplace_back(viewOf(name), viewOf(value));
  }
  return found;
}

/// "vu-pcre8" or "vu-pcre2".
std::string ourName() {
  return vu_pcre::engine().substr(0, 5) == "PCRE2" ? "vu-pcre2" : "vu-pcre8";
}

}  // namespace

const std::string& log() {
  static const std::string text = [] {
    const std::vector<std::string> pieces = {
        "level=info ", "user=ann_7 ",  "ms=",     "msg=\"logged ",       "in at ",
        "host=web12 ", "status=204\n", "retry= ", "2026-11-23 10:15:00 "};
    std::mt19937 random(3);
    std::string made;
    while (made.size() < (std::size_t{1} << 20)) {
      made += pieces[random() % pieces.size()];
      if (made.back() == '=') made += std::to_string(random() % 100000) + ' ';
    }
    return made;
  }();
  return text;
}

void requireAllPairs(const Pairs& found) {
  const re2::RE2 pattern(kPair);
  const Pairs expected = collectByRe2(pattern);
  require(expected.size() > 10000 && found.size() == expected.size(), "wrong number of pairs");
  require(std::equal(found.begin(), found.end(), expected.begin(),
                     [](const auto& a, const auto& b) {
                       return a.first.view() == b.first.view() &&
                              a.second.view() == b.second.view();
                     }),
          "wrong pairs");
}

void registerPattern() {
  add("pattern/labels/" + ourName(), [](benchmark::State& state) {
    OurPcre pattern{{kLabel, 2, vu_pcre::caseless}};
    labels(state, [&](const std::string& host) { return countLabels(pattern, host); });
  });
  add("pattern/labels/re2", [](benchmark::State& state) {
    const re2::RE2 pattern(std::string("(?i)") + kLabel);
    labels(state, [&](const std::string& host) { return countLabelsByRe2(pattern, host); });
  });
  add("pattern/labels/std-regex", [](benchmark::State& state) {
    const std::regex pattern(kLabel, std::regex::icase | std::regex::optimize);
    labels(state, [&](const std::string& host) { return countLabelsByStd(pattern, host); });
  });
  add("pattern/hostile/" + ourName(), hostile);
  add("pattern/hostile/re2", hostileByRe2);
  add("pattern/pairs/" + ourName(), [](benchmark::State& state) {
    NvalPcre pattern(kPair);
    pairs(state, [&] { return collect(pattern); });
  });
  add("pattern/pairs/re2", [](benchmark::State& state) {
    const re2::RE2 pattern(kPair);
    pairs(state, [&] { return collectByRe2(pattern); });
  });
}

}  // namespace vu::bench
