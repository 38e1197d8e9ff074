#include "tools/summary.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "tools/text.h"
#include "vu/foundation.h"

namespace vu::tool {
namespace {

constexpr std::size_t kBars = 10;  // of the chart
constexpr std::uint64_t kBarWidth = 30;

std::string padLeft(const std::string& text, std::size_t width) {
  return std::string(text.size() < width ? width - text.size() : 0, ' ') + text;
}

std::string padRight(std::string text, std::size_t width) {
  if (text.size() < width) text.resize(width, ' ');
  return text;
}

}  // namespace

void FrequentNames::add(std::string_view name, std::uint64_t times) {
  const auto [place, isNew] = counts_.try_emplace(std::string(name), 0);
  place->second += times;
  if (!isNew || counts_.size() <= places_) return;
  std::uint64_t least = place->second;
  for (const auto& [each, count] : counts_) least = std::min(least, count);
  shortfall_ += least;
  for (auto at = counts_.begin(); at != counts_.end();) {
    at->second -= least;
    at = at->second == 0 ? counts_.erase(at) : std::next(at);
  }
}

std::string grouped(std::uint64_t number) {
  std::string digits = std::to_string(number);
  for (std::size_t at = digits.size(); at > 3;) {
    at -= 3;
    digits.insert(at, 1, ',');
  }
  return digits;
}

void Summary::add(const Tally& tally) {
  urls_ += tally.urls;
  withoutDomain_ += tally.withoutDomain;
  for (std::size_t i = 0; i < byStatus_.size(); ++i) byStatus_[i] += tally.byStatus[i];
  for (const auto& [name, times] : tally.domains) domains_.add(name, times);
}

std::string Summary::text(double seconds) const {
  const double rate = seconds > 0 ? static_cast<double>(urls_) / seconds : 0;
  return statusLines() + domainLines() + "\n" + grouped(urls_) + " URLs in " + val2str(seconds, 2) +
         " s, " + grouped(static_cast<std::uint64_t>(rate)) + " a second\n";
}

std::string Summary::statusLines() const {
  if (urls_ == 0) return "";
  std::string lines = "Rows by status\n";
  for (std::size_t i = 0; i < byStatus_.size(); ++i) {
    if (byStatus_[i] == 0) continue;
    const double share = 100 * static_cast<double>(byStatus_[i]) / static_cast<double>(urls_);
    lines += padLeft(grouped(byStatus_[i]), 14) + padLeft(val2str(share, 1), 7) + " %  " +
             padLeft(std::to_string(countedStatuses[i]), 3) + " " + statusText(countedStatuses[i]) +
             "\n";
  }
  return lines + padLeft(grouped(withoutDomain_), 14) + "  without a domain\n";
}

Summary::Counts Summary::mostFrequent(std::size_t most) const {
  Counts counts(std::min(most, domains_.counts().size()));
  const auto& all = domains_.counts();
  std::partial_sort_copy(all.begin(), all.end(), counts.begin(), counts.end(),
                         [](const auto& a, const auto& b) {
                           return a.second != b.second ? a.second > b.second : a.first < b.first;
                         });
  return counts;
}

std::string Summary::domainLines() const {
  const Counts most = mostFrequent(kBars);
  if (most.empty()) return "";

  std::size_t width = 0;
  for (const auto& [name, count] : most) width = std::max(width, name.size());
  width = std::min<std::size_t>(width, 40);
  std::string lines = "\nMost frequent domains";
  if (domains_.shortfall() > 0) {
    lines += " (counts may be up to " + grouped(domains_.shortfall()) + " too low)";
  }
  lines += '\n';
  for (const auto& [name, count] : most) {
    const auto bar = std::max<std::uint64_t>(count * kBarWidth / most.front().second, 1);
    lines += padLeft(grouped(count), 14) + "  " + padRight(visible(name), width) + "  " +
             std::string(static_cast<std::size_t>(bar), '#') + "\n";
  }
  return lines;
}

}  // namespace vu::tool
