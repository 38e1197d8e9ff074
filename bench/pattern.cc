// Regular expressions and name/value pairs, beside PCRE told directly, RE2 and the standard
// library.

#include "vu/pattern.h"

#include <algorithm>
#include <list>
#include <random>
#include <regex>
#include <utility>

#include "bare_pcre.h"
#include <re2/re2.h>

#include "bench/support.h"

namespace vu::bench {
namespace {

/// The label of a host name, in any case.
constexpr char kLabel[] = "([a-z0-9][-_a-z0-9]*)";
constexpr char kPair[] = "(\\w+)=(\\w*)";
/// Exponential for a matcher that goes back; the subject has no match.
constexpr char kHostile[] = "(a+)+$";
const std::string kHostileText = std::string(64, 'a') + 'b';

/// How many labels `engine` finds in a host: one search each, and the last that fails.
template <typename Engine>
int countLabels(Engine& engine, const std::string& host) {
  const int length = static_cast<int>(host.size());
  int count = 0;
  for (int at = 0; engine.execute(host.data(), length, at) > 0; at = engine.end()) ++count;
  return count;
}

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

/// The hosts have no empty label, so that there is one more label than there are dots.
template <typename Count>
void labels(benchmark::State& state, Count count) {
  for (const std::string& host : inputs().hosts) {
    require(count(host) == 1 + std::count(host.begin(), host.end(), '.'),
            "wrong number of labels in " + host);
  }
  measureEach(state, inputs().hosts, count);
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

/// A megabyte of a service's log: pairs with words between them.
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

using Pairs = std::list<std::pair<CharSizet_t, CharSizet_t>>;
using Piece = re2::StringPiece;
using PairsOfRe2 = std::list<std::pair<Piece, Piece>>;

Pairs collect(NvalPcre& pattern) {
  Pairs found;
  insertNV2List(found, pattern, log().data(), static_cast<unsigned>(log().size()));
  return found;
}

PairsOfRe2 collectByRe2(const re2::RE2& pattern) {
  PairsOfRe2 found;
  Piece rest = log();
  Piece name;
  Piece value;
  while (re2::RE2::FindAndConsume(&rest, pattern, &name, &value)) found.emplace_back(name, value);
  return found;
}

Pairs collectByPcre(BarePcre& pattern) {
  Pairs found;
  const char* const text = log().data();
  const int length = static_cast<int>(log().size());
  const auto group = [&](int i) {
    const auto* const ends = pattern.results() + 2 * std::ptrdiff_t{i};
    return CharSizet_t(text + ends[0], static_cast<unsigned>(ends[1] - ends[0]));
  };
  for (int at = 0; pattern.execute(text, length, at) == 3; at = pattern.end()) {
    found.emplace_back(group(1), group(2));
  }
  return found;
}

std::string_view viewOf(const CharSizet_t& piece) { return {piece.data, piece.size}; }
std::string_view viewOf(const Piece& piece) { return {piece.data(), piece.size()}; }

/// Pairs found by two engines are compared one by one, so that neither finds less.
template <typename Found>
void requireAllPairs(const Found& found) {
  const re2::RE2 pattern(kPair);
  const PairsOfRe2 expected = collectByRe2(pattern);
  require(expected.size() > 10000 && found.size() == expected.size(), "wrong number of pairs");
  require(std::equal(found.begin(), found.end(), expected.begin(),
                     [](const auto& a, const auto& b) {
                       return viewOf(a.first) == viewOf(b.first) &&
                              viewOf(a.second) == viewOf(b.second);
                     }),
          "wrong pairs");
}

template <typename Collect>
void pairs(benchmark::State& state, Collect collectAll) {
  requireAllPairs(collectAll());
  measureCall(state, [&] { return collectAll().size(); });
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(log().size()));
}

void registerPairs() {
  add("pattern/pairs/vu", [](benchmark::State& state) {
    NvalPcre pattern(kPair);
    pairs(state, [&] { return collect(pattern); });
  });
  add("pattern/pairs/re2", [](benchmark::State& state) {
    const re2::RE2 pattern(kPair);
    pairs(state, [&] { return collectByRe2(pattern); });
  });
  add("pattern/pairs/pcre", [](benchmark::State& state) {
    BarePcre pattern(kPair, vu_pcre::dotAll);
    pairs(state, [&] { return collectByPcre(pattern); });
  });
}

}  // namespace

void registerPattern() {
  add("pattern/labels/vu", [](benchmark::State& state) {
    OurPcre pattern{{kLabel, 2, vu_pcre::caseless}};
    labels(state, [&](const std::string& host) { return countLabels(pattern, host); });
  });
  add("pattern/labels/pcre", [](benchmark::State& state) {
    BarePcre pattern(kLabel, vu_pcre::caseless);
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
  add("pattern/hostile/vu", hostile);
  add("pattern/hostile/re2", hostileByRe2);
  registerPairs();
}

}  // namespace vu::bench
