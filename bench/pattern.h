// The jobs that engines of regular expressions are measured by. An engine has `execute`, a search
// of `length` bytes from byte `start` on with the result of `vu_pcre::execute`, `end`, where the
// match ended, and `results`, the offsets of the match and its groups.

#ifndef VU_BENCH_PATTERN_H_
#define VU_BENCH_PATTERN_H_

#include <algorithm>
#include <cstddef>
#include <list>
#include <string>
#include <utility>

#include "bench/support.h"
#include "vu/pattern.h"

namespace vu::bench {

/// The label of a host name, in any case.
constexpr char kLabel[] = "([a-z0-9][-_a-z0-9]*)";
constexpr char kPair[] = "(\\w+)=(\\w*)";

using Pairs = std::list<std::pair<CharSizet_t, CharSizet_t>>;

/// How many labels `engine` finds in a host: one search each, and the last that fails.
template <typename Engine>
int countLabels(Engine& engine, const std::string& host) {
  const int length = static_cast<int>(host.size());
  int count = 0;
  for (int at = 0; engine.execute(host.data(), length, at) > 0; at = engine.end()) ++count;
  return count;
}

/// A megabyte of a service's log: pairs with words between them.
const std::string& log();

/// Every pair that `engine` finds in the log.
template <typename Engine>
Pairs collectPairs(Engine& engine) {
  Pairs found;
  const char* const text = log().data();
  const int length = static_cast<int>(log().size());
  const auto group = [&](int i) {
    const auto* const ends = engine.results() + 2 * std::ptrdiff_t{i};
    return CharSizet_t(text + ends[0], static_cast<unsigned>(ends[1] - ends[0]));
  };
  for (int at = 0; engine.execute(text, length, at) == 3; at = engine.end()) {
    found.emplace_back(group(1), group(2));
  }
  return found;
}

/// Compares pairs with RE2's one by one, so that no engine finds less.
void requireAllPairs(const Pairs& found);

/// Measures the search for pairs.
template <typename Collect>
void pairs(benchmark::State& state, Collect collect) {
  requireAllPairs(collect());
  measureCall(state, [&] { return collect().size(); });
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(log().size()));
}

/// Measures `count`, the number of labels in a host. The hosts have no empty one, so that there is
/// one more than there are dots.
template <typename Count>
void labels(benchmark::State& state, Count count) {
  for (const std::string& host : inputs().hosts) {
    require(count(host) == 1 + std::count(host.begin(), host.end(), '.'),
            "wrong number of labels in " + host);
  }
  measureEach(state, inputs().hosts, count);
}

/// Registers both jobs of an engine by itself, made of a pattern and vu_pcre's options, as `name`.
/// The program has those of which there is a library, in files of their own.
template <typename Engine>
bool registerEngine(const std::string& name) {
  add("pattern/labels/" + name, [](benchmark::State& state) {
    Engine pattern(kLabel, vu_pcre::caseless);
    labels(state, [&](const std::string& host) { return countLabels(pattern, host); });
  });
  add("pattern/pairs/" + name, [](benchmark::State& state) {
    Engine pattern(kPair, vu_pcre::dotAll);
    pairs(state, [&] { return collectPairs(pattern); });
  });
  return true;
}

}  // namespace vu::bench

#endif  // VU_BENCH_PATTERN_H_
