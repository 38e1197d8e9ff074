// How a name is matched with a table: the one algorithm of each rule.

#ifndef VU_DOMAIN_MATCH_H_
#define VU_DOMAIN_MATCH_H_

#include <cstddef>
#include <string_view>

#include "domain/suffix_table.h"
#include "vu/foundation.h"

namespace vu::detail {

/// Two labels or more, joined by single dots, without one at the end.
struct Chain {
  std::string_view name;
  const char* lastTwo;  ///< Where the last two labels begin.
};

/// Where in a chain its registered domain begins, or why there is none; and what decided.
struct Cut {
  vu_status status;
  const char* start;
  RuleView rule;         ///< None: nothing is listed.
  Listing kind = kRule;  ///< Which of the rule's listings.
};

/// Whether a kind of rule is listed there in one of these sections; 0 for all.
inline bool isListed(RuleView rule, Listing kind, unsigned sections) noexcept {
  return (rule.listings() & kind) != 0 && (sections == 0 || (rule.sections(kind) & sections) != 0);
}

/// The label in front of the shortest listed suffix of two labels or more, among the last
/// `maxLabels` labels; the last two labels where none is listed.
Cut cutShortest(const SuffixTable& table, int maxLabels, const Chain& chain) noexcept;

/// The label in front of the public suffix, which is the longest matching rule, or what an
/// exception leaves of it, or the last label where no rule matches. `sections` of SectionBits
/// chooses rules; 0 for all. A rule of one label need only be told when `tellsTop`.
Cut cutPublicSuffix(const SuffixTable& table, const Chain& chain, unsigned sections,
                    bool tellsTop) noexcept;

/// A host's labels joined to a chain: what the table can know of one in which they are not.
class JoinedLabels {
 public:
  explicit JoinedLabels(std::string_view host) noexcept;

  std::string_view chain() const noexcept { return {begin_, std::size_t(bytes_ + kRoom - begin_)}; }
  /// Where a label of the chain begins in the host.
  const char* inHost(const char* label) const noexcept;

 private:
  static constexpr std::size_t kRoom = kLongestToken + 1;  ///< More than any name of a table has.

  std::string_view host_;
  char bytes_[kRoom];  ///< Filled from its end.
  const char* begin_;
};

}  // namespace vu::detail

#endif  // VU_DOMAIN_MATCH_H_
