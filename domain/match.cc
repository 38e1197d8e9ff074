#include "domain/match.h"

#include <algorithm>

#include "domain/host.h"

namespace vu::detail {
namespace {

/// Where the label in front of the one at `label` begins; `label` is not the first.
const char* labelBefore(const char* begin, const char* label) noexcept {
  const char* at = label - 1;
  while (at != begin && at[-1] != '.') --at;
  return at;
}

std::string_view between(const char* begin, const char* end) noexcept {
  return {begin, static_cast<std::size_t>(end - begin)};
}

/// The longest public suffix so far.
struct Suffix {
  const char* start;
  RuleView rule;
  Listing kind = kRule;

  /// Takes in what is listed at the name that begins at `name`.
  void extend(RuleView at, const char* name, const char* begin, unsigned sections) noexcept {
    if (isListed(at, kRule, sections)) *this = {name, at, kRule};
    if (isListed(at, kWildcard, sections) && name != begin) {
      *this = {labelBefore(begin, name), at, kWildcard};
    }
  }
};

}  // namespace

Cut cutShortest(const SuffixTable& table, int maxLabels, const Chain& chain) noexcept {
  const char* const begin = chain.name.data();
  const char* const end = begin + chain.name.size();
  const char* name = chain.lastTwo;
  NameKey keys(end);
  for (int kept = 2;; ++kept) {
    const RuleView rule = table.find(keys.of(name), between(name, end));
    if (!rule) break;
    const bool another = kept < maxLabels && name != begin;
    if ((rule.listings() & kSuffix) != 0) {
      if (!another) return {VU_COUNTRY_CODE_PURE_DOMAIN, nullptr, rule};
      return {VU_SUCCESS, labelBefore(begin, name), rule};
    }
    if (!another || (rule.listings() & kDeeper) == 0) break;
    name = labelBefore(begin, name);
  }
  return {VU_SUCCESS, chain.lastTwo, {}};
}

Cut cutPublicSuffix(const SuffixTable& table, const Chain& chain, unsigned sections,
                    bool tellsTop) noexcept {
  const char* const begin = chain.name.data();
  const char* const end = begin + chain.name.size();
  const char* last = end;
  while (last[-1] != '.') --last;
  Suffix suffix{last, {}};
  const auto extendByTop = [&] {
    const RuleView top = table.findFolded(nameKey(between(last, end)), between(last, end));
    if (top) suffix.extend(top, last, begin, sections);
  };
  const bool mayBeWild = table.mayHaveWildcard(end);
  if (mayBeWild) extendByTop();
  const char* name = chain.lastTwo;
  NameKey keys(end);
  while (true) {
    const RuleView rule = table.findFolded(keys.of(name), between(name, end));
    if (!rule) break;
    if (isListed(rule, kException, sections)) return {VU_SUCCESS, name, rule, kException};
    suffix.extend(rule, name, begin, sections);
    if ((rule.listings() & kDeeper) == 0 || name == begin) break;
    name = labelBefore(begin, name);
  }
  if (tellsTop && !mayBeWild && !suffix.rule) extendByTop();
  if (suffix.start == begin) {
    return {VU_COUNTRY_CODE_PURE_DOMAIN, nullptr, suffix.rule, suffix.kind};
  }
  return {VU_SUCCESS, labelBefore(begin, suffix.start), suffix.rule, suffix.kind};
}

JoinedLabels::JoinedLabels(std::string_view host) noexcept : host_(host), begin_(bytes_ + kRoom) {
  LabelsFromRight labels(host);
  char* to = bytes_ + kRoom;
  for (std::string_view label; to != bytes_ && labels.next(label);) {
    if (to != bytes_ + kRoom) *--to = '.';
    // What has no room makes the name longer than any that is listed, and so need not be there, but
    // for the dot between the last two.
    const std::size_t size =
        std::min({label.size(), kLongestToken, static_cast<std::size_t>(to - bytes_)});
    to -= size;
    std::copy(label.end() - static_cast<std::ptrdiff_t>(size), label.end(), to);
  }
  begin_ = to;
}

const char* JoinedLabels::inHost(const char* label) const noexcept {
  LabelsFromRight labels(host_);
  std::string_view found;
  for (auto dots = std::count(label, bytes_ + kRoom, '.'); dots >= 0; --dots) labels.next(found);
  return found.data();
}

}  // namespace vu::detail
