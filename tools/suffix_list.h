// Tables from files in any form, and the rules of a Public Suffix List.

#ifndef VU_TOOLS_SUFFIX_LIST_H_
#define VU_TOOLS_SUFFIX_LIST_H_

#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "domain/suffix_list.h"
#include "domain/suffix_table.h"
#include "vu/domain.h"

namespace vu::tool {

enum class Section { icann, privateDomains, all };

/// The rules of a list, in their order, and what its comments tell of it.
struct RuleList {
  std::vector<vu::detail::ListedRule> rules;
  std::string info;
};

/// The rules of a section of a list. `name` stands for the list in messages. Throws Refusal for a
/// line that is no rule ("NAME:LINE: ...") and for a section without rules.
RuleList parseSuffixList(std::string_view list, const std::string& name, Section section);

/// The rules as a definition file, and as a compiled table.
std::string definitionText(const RuleList& list);
std::string compiledTable(const RuleList& list);

/// Why the `shortest` rule never gets as far as `suffix`: the shortest other suffix of two labels
/// or more that it ends in. Empty when there is none.
std::string_view shorterSuffix(const std::set<std::string, std::less<>>& suffixes,
                               std::string_view suffix);

/// A rule of a table as it is spelled, with the bits of its sections.
struct SpelledRule {
  std::string text;
  unsigned sections;
};
std::vector<SpelledRule> rulesOf(const vu::detail::SuffixTable& table);

/// Says why the file at `path` gives no table, and what tells more. Throws Refusal.
[[noreturn]] void refuseSuffixes(const std::string& path, const std::string& why);

/// The table of all these files, each in any form; without any the one that VU_SUFFIXES names, the
/// one of the system, or that of the system's Public Suffix List, which is kept compiled in the
/// user's cache. Throws Refusal.
std::unique_ptr<vu_cctld> makeTable(const std::vector<std::string>& paths,
                                    const std::string& defaultDomain);

/// The file of the table that is used where none is named; "" where there is none.
std::string usualTable();

/// Whether that is the system's list, of which the tool keeps a table itself.
bool isSystemList(const std::string& path);

}  // namespace vu::tool

#endif  // VU_TOOLS_SUFFIX_LIST_H_
