// The summary of `vu classify`: what all URLs together came to.

#ifndef VU_TOOLS_SUMMARY_H_
#define VU_TOOLS_SUMMARY_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "tools/rows.h"

namespace vu::tool {

/// Counts the most frequent names of a stream in bounded memory, by the algorithm of Misra and
/// Gries
/// ("Finding repeated elements", 1982). When the places run out, all counts are lowered by the
/// least of them, and those that reach 0 make room. A count is then too low, by `shortfall` at the
/// most; until that first happens all counts are exact.
class FrequentNames {
 public:
  explicit FrequentNames(std::size_t places) : places_(places) {}

  void add(std::string_view name, std::uint64_t times);

  const std::unordered_map<std::string, std::uint64_t>& counts() const { return counts_; }
  std::uint64_t shortfall() const { return shortfall_; }

 private:
  std::size_t places_;
  std::unordered_map<std::string, std::uint64_t> counts_;
  std::uint64_t shortfall_ = 0;
};

/// A number with its thousands apart: "1,234,567".
std::string grouped(std::uint64_t number);

/// Adds up tallies and tells the result.
class Summary {
 public:
  void add(const Tally& tally);

  std::uint64_t urls() const { return urls_; }
  /// How many URLs were refused.
  std::uint64_t refused() const { return urls_ - byStatus_[0]; }

  using Counts = std::vector<std::pair<std::string, std::uint64_t>>;

  /// The most frequent domains, at most so many, each with its count, the first of the most. Counts
  /// may be too low by `shortfall`.
  Counts mostFrequent(std::size_t most) const;
  std::uint64_t shortfall() const { return domains_.shortfall(); }

  /// Rows by status, the most frequent domains as a bar chart, and URLs per second.
  std::string text(double seconds) const;

 private:
  std::string statusLines() const;
  std::string domainLines() const;

  std::uint64_t urls_ = 0;
  std::uint64_t withoutDomain_ = 0;
  std::array<std::uint64_t, countedStatuses.size()> byStatus_{};
  FrequentNames domains_{std::size_t{1} << 16};
};

}  // namespace vu::tool

#endif  // VU_TOOLS_SUMMARY_H_
