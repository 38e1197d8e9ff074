#include "tools/suffix_list.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <tuple>
#include <utility>

#include "domain/load.h"
#include "domain/table_builder.h"
#include "tools/command.h"
#include "tools/input.h"
#include "tools/output.h"
#include "vu/c.h"
#include "vu/foundation.h"

namespace vu::tool {
namespace {

constexpr char kSystemList[] = "/usr/share/publicsuffix/public_suffix_list.dat";

bool isOf(Section wanted, unsigned section) {
  if (wanted == Section::all) return true;
  return section ==
         (wanted == Section::icann ? vu::detail::kIcannRules : vu::detail::kPrivateRules);
}

/// The file that a compiled table of the user's own is kept in; "" where there is no place.
std::string cachePath() {
  const auto setTo = [](const char* name) {
    const char* const value = std::getenv(name);
    return std::string(value != nullptr && *value == '/' ? value : "");
  };
  const std::string cache = setTo("XDG_CACHE_HOME");
  if (!cache.empty()) return cache + "/vu/suffixes.vut";
  const std::string home = setTo("HOME");
  return home.empty() ? "" : home + "/.cache/vu/suffixes.vut";
}

bool isOfSameTime(const struct stat& a, const struct stat& b) {
  return a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

/// Keeps a table with the time of its list. That it cannot be kept is no failure.
void keep(const std::string& path, const std::string& table, const struct stat& list) {
  const std::string folder = path.substr(0, path.rfind('/'));
  mkdir(folder.substr(0, folder.rfind('/')).c_str(), 0777);
  mkdir(folder.c_str(), 0777);
  try {
    writeFile(path, table, Existing::replaced);
  } catch (const Refusal&) {
    return;
  }
  const timespec times[] = {list.st_mtim, list.st_mtim};
  utimensat(AT_FDCWD, path.c_str(), times, 0);
}

/// Opens the table of the system's list, which is compiled when that has changed.
void openSystemList(vu_cctld& table) {
  struct stat list {};
  if (stat(kSystemList, &list) != 0) {
    throw Refusal(
        std::string("no table of suffixes: no --suffixes, VU_SUFFIXES is not set, there is "
                    "no ") +
        vu_table_system_path() + " and no Public Suffix List at " + kSystemList +
        " (Debian package publicsuffix)");
  }
  const std::string path = cachePath();
  struct stat kept {};
  if (!path.empty() && stat(path.c_str(), &kept) == 0 && isOfSameTime(kept, list)) {
    try {
      table.open(path.c_str());
      return;
    } catch (const vu_exception&) {
      // Made again below.
    }
  }
  std::string compiled =
      compiledTable(parseSuffixList(readFile(kSystemList), kSystemList, Section::all));
  if (!path.empty()) keep(path, compiled, list);
  table.openBytes(std::move(compiled), kSystemList);
}

void openNamed(vu_cctld& table, const std::string& path) {
  checkReadable(path);
  try {
    if (path == "-") {
      table.openBytes(readFile(path), "-");
    } else {
      table.open(path.c_str());
    }
  } catch (const vu_exception& failure) {
    refuseSuffixes(path, failure.what());
  }
}

/// The rules of all files in one table, which goes by what the first one tells of its list.
void openTogether(vu_cctld& table, const std::vector<std::string>& paths) {
  vu::detail::TableBuilder builder;
  int maxLabels = 0;
  std::string info;
  for (const std::string& path : paths) {
    checkReadable(path);
    const vu::detail::LoadedTable loaded = vu::detail::loadAny(readFile(path), displayName(path));
    if (!loaded.error.empty()) refuseSuffixes(path, loaded.error);
    maxLabels = std::max(maxLabels, loaded.maxLabels);
    if (info.empty()) info = loaded.table->info();
    for (const SpelledRule& rule : rulesOf(*loaded.table)) {
      // A rule may stand in both sections of a list, or in none.
      const unsigned icann = rule.sections & vu::detail::kIcannRules;
      builder.add(rule.text, icann);
      if (icann != rule.sections) builder.add(rule.text, vu::detail::kPrivateRules);
    }
  }
  std::string block = builder.finish({maxLabels, info});
  vu::detail::seal(block);
  table.openBytes(std::move(block), "--suffixes");
}

}  // namespace

void refuseSuffixes(const std::string& path, const std::string& why) {
  throw Refusal(displayName(path) + ": " + why + "; \"vu suffixes check " + path +
                "\" tells in which line, \"vu suffixes build\" makes a good file of a list");
}

RuleList parseSuffixList(std::string_view list, const std::string& name, Section section) {
  RuleList all;
  vu::detail::SuffixList reader(list);
  for (vu::detail::ListedRule rule; reader.read(rule);) {
    if (isOf(section, rule.section)) all.rules.push_back(std::move(rule));
  }
  if (!reader.bad().empty()) {
    throw Refusal(name + ":" + std::to_string(reader.line()) +
                  ": not a suffix rule: " + std::string(reader.bad()));
  }
  if (all.rules.empty()) {
    throw Refusal(
        (section == Section::all ? "no suffix rules in " : "no rules of that section in ") + name);
  }
  all.info = reader.info();
  return all;
}

std::string definitionText(const RuleList& list) {
  std::string text;
  for (const auto& rule : list.rules) text += rule.text + " " + val2str(rule.labels) + "\n";
  return text;
}

std::string compiledTable(const RuleList& list) {
  vu::detail::TableBuilder builder;
  builder.reserve(list.rules.size());
  int maxLabels = 0;
  for (const auto& rule : list.rules) {
    builder.add(rule.text, rule.section);
    maxLabels = std::max(maxLabels, rule.labels);
  }
  std::string block = builder.finish({maxLabels, list.info});
  vu::detail::seal(block);
  return block;
}

std::string_view shorterSuffix(const std::set<std::string, std::less<>>& suffixes,
                               std::string_view suffix) {
  std::string_view found;
  std::string_view rest = suffix;
  for (std::size_t dot = rest.find('.'); dot != std::string_view::npos; dot = rest.find('.')) {
    rest.remove_prefix(dot + 1);
    if (rest.find('.') != std::string_view::npos && suffixes.count(rest) != 0) found = rest;
  }
  return found;
}

std::vector<SpelledRule> rulesOf(const vu::detail::SuffixTable& table) {
  namespace detail = vu::detail;
  static constexpr std::tuple<detail::Listing, detail::Listing, const char*> kinds[] = {
      {detail::kSuffix, detail::kRule, ""},
      {detail::kWildcardAsIs, detail::kWildcard, "*."},
      {detail::kExceptionAsIs, detail::kException, "!"},
      {detail::kOther, detail::kRule, ""}};
  std::vector<SpelledRule> rules;
  for (std::size_t i = 0; i < table.ruleCount(); ++i) {
    const detail::RuleView rule = table.rule(i);
    for (const auto& [spelled, kind, mark] : kinds) {
      if ((rule.listings() & spelled) == 0) continue;
      rules.push_back({std::string(mark).append(table.nameOf(rule)), rule.sections(kind)});
    }
  }
  return rules;
}

bool isSystemList(const std::string& path) { return path == kSystemList; }

std::string usualTable() {
  const char* const named = std::getenv("VU_SUFFIXES");
  if (named != nullptr && *named != '\0') return named;
  if (access(vu_table_system_path(), R_OK) == 0) return vu_table_system_path();
  return access(kSystemList, R_OK) == 0 ? kSystemList : "";
}

std::unique_ptr<vu_cctld> makeTable(const std::vector<std::string>& paths,
                                    const std::string& defaultDomain) {
  auto table = std::make_unique<vu_cctld>(nullptr, defaultDomain.c_str());
  const std::string usual = paths.empty() ? usualTable() : "";
  if (paths.size() > 1) {
    openTogether(*table, paths);
  } else if (!paths.empty()) {
    openNamed(*table, paths.front());
  } else if (usual.empty() || isSystemList(usual)) {
    openSystemList(*table);
  } else {
    openNamed(*table, usual);
  }
  return table;
}

}  // namespace vu::tool
