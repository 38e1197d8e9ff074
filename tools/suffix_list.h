// A Public Suffix List as rules for a definition file, and tables made from either.

#ifndef VU_TOOLS_SUFFIX_LIST_H_
#define VU_TOOLS_SUFFIX_LIST_H_

#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "vu/domain.h"

namespace vu::tool {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

enum class Section { icann, privateDomains, all };

/// A rule as a definition file has it.
struct SuffixRule {
  std::string text;  ///< In ASCII, "*." or "!" in front included.
  int labels;        ///< Of a domain registered under it.
};

/// The rule that a line's text means; its text is empty when it is none.
SuffixRule parseRule(std::string_view text);

/// The rules of a section of a list, in their order. `name` stands for the list in messages. Throws
/// Refusal for a line that is no rule ("NAME:LINE: ...") and for a section without rules.
std::vector<SuffixRule> parseSuffixList(std::string_view list, const std::string& name,
                                        Section section);

/// The definition file of some rules.
std::string definitionText(const std::vector<SuffixRule>& rules);

/// Why the `shortest` rule never gets as far as `suffix`: the shortest other suffix of two labels
/// or more that it ends in. Empty when there is none.
std::string_view shorterSuffix(const std::set<std::string, std::less<>>& suffixes,
                               std::string_view suffix);

/// The table of the definition file at `path`, or, with an empty path, of the system's Public
/// Suffix List. Throws Refusal.
std::unique_ptr<vu_cctld> makeTable(const std::string& path, const std::string& defaultDomain);

}  // namespace vu::tool

#endif  // VU_TOOLS_SUFFIX_LIST_H_
