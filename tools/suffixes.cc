// vu suffixes: make definition files and compiled tables from a Public Suffix List, look into them,
// and compare them.

#include <algorithm>
#include <iostream>
#include <map>
#include <memory>
#include <utility>

#include <CLI/CLI.hpp>

#include "domain/definition_file.h"
#include "domain/host.h"
#include "domain/load.h"
#include "domain/suffix_table.h"
#include "tools/command.h"
#include "tools/input.h"
#include "tools/options.h"
#include "tools/output.h"
#include "tools/suffix_list.h"
#include "tools/summary.h"
#include "tools/text.h"
#include "vu/domain.h"

namespace vu::tool {
namespace {

const Words<Section> kSections = {
    {"icann", Section::icann}, {"private", Section::privateDomains}, {"all", Section::all}};

using vu::detail::ListedRule;
using vu::detail::LoadedTable;
using vu::detail::SuffixTable;

using SuffixSet = std::set<std::string, std::less<>>;

/// Counts things of one kind and keeps an example of them.
struct Kind {
  std::uint64_t count = 0;
  std::string example;

  void add(const std::string& each) {
    if (count++ == 0) example = each;
  }

  /// A line about them; "" when there are none.
  std::string line(const char* meaning) const {
    if (count == 0) return "";
    return std::string("  ") + meaning + ": " + grouped(count) + ", such as " + visible(example) +
           "\n";
  }
};

std::string shadowExample(std::string_view suffix, std::string_view shorter) {
  return std::string(suffix) + " (" + std::string(shorter) + " is listed)";
}

struct BuildOptions {
  std::string list;
  std::string output = "-";
  Section section = Section::all;
  bool compiled = false;
};

void reportBuild(const std::vector<ListedRule>& rules, const BuildOptions& options) {
  SuffixSet plain;
  for (const ListedRule& rule : rules) plain.insert(rule.text);
  Kind wildcards;
  Kind exceptions;
  Kind shadowed;
  for (const ListedRule& rule : rules) {
    const std::string_view shorter = shorterSuffix(plain, rule.text);
    if (rule.text[0] == '*') {
      wildcards.add(rule.text);
    } else if (rule.text[0] == '!') {
      exceptions.add(rule.text);
    } else if (!shorter.empty()) {
      shadowed.add(shadowExample(rule.text, shorter));
    }
  }
  const std::uint64_t lost = wildcards.count + exceptions.count + shadowed.count;
  std::cerr << "rules written to " << (options.output == "-" ? "standard output" : options.output)
            << ": " << grouped(rules.size()) << "; "
            << (lost == 0 ? "the shortest rule honours them all"
                          : "the shortest rule cannot honour " + grouped(lost) + ":")
            << "\n";
  std::cerr << wildcards.line("wildcards, which only public-suffix matching reads");
  std::cerr << exceptions.line("exceptions, which only public-suffix matching reads");
  std::cerr << shadowed.line("longer than another listed suffix, which wins");
}

void build(const BuildOptions& options) {
  const RuleList list =
      parseSuffixList(readFile(options.list), displayName(options.list), options.section);
  const std::string file = options.compiled ? compiledTable(list) : definitionText(list);
  if (options.output == "-") {
    writeOut(file);
  } else {
    writeFile(options.output, file, Existing::replaced);
  }
  reportBuild(list.rules, options);
}

/// What a definition file holds.
struct Contents {
  std::uint64_t records = 0;
  int largest = 2;
  std::map<std::string, long long, std::less<>> lines;  ///< Where each suffix stands first.
  Kind duplicates;
};

Contents readContents(const std::string& path, std::string_view bytes) {
  if (bytes.substr(0, vu::detail::kByteOrderMark.size()) == vu::detail::kByteOrderMark) {
    throw Refusal(
        displayName(path) +
        " begins with a byte-order mark, which would belong to its first suffix; write it "
        "without one");
  }
  vu::detail::DefinitionFile file(bytes);
  Contents contents;
  while (!file.atEnd()) {
    if (!file.read()) {
      throw Refusal(
          displayName(path) + ":" + std::to_string(file.line()) + ": bad record after " +
          grouped(contents.records) +
          " good ones; a record is a suffix of at most 1023 bytes, white space and the "
          "number of labels of a domain under it. \"vu suffixes build\" makes such a file "
          "from a Public Suffix List");
    }
    ++contents.records;
    contents.largest = std::max<int>(contents.largest, file.labels());
    const auto [place, isNew] = contents.lines.try_emplace(std::string(file.token()), file.line());
    if (!isNew) {
      contents.duplicates.add(place->first + " in lines " + std::to_string(place->second) +
                              " and " + std::to_string(file.line()));
    }
  }
  return contents;
}

std::string unmatchable(const Contents& contents) {
  SuffixSet suffixes;
  for (const auto& [suffix, line] : contents.lines) suffixes.insert(suffix);
  Kind patterns;
  Kind misspelled;
  Kind single;
  Kind tooLong;
  Kind shadowed;
  for (const auto& [suffix, line] : contents.lines) {
    const std::string where = suffix + " in line " + std::to_string(line);
    const auto labels = 1 + std::count(suffix.begin(), suffix.end(), '.');
    const std::string_view shorter = shorterSuffix(suffixes, suffix);
    if (!vu::detail::isHostName(suffix)) {
      (vu::detail::parseRule(suffix).text.empty() ? misspelled : patterns).add(where);
    } else if (labels == 1) {
      single.add(where);
    } else if (labels > contents.largest) {
      tooLong.add(where);
    } else if (!shorter.empty()) {
      shadowed.add(shadowExample(where, shorter));
    }
  }
  const std::uint64_t all =
      patterns.count + misspelled.count + single.count + tooLong.count + shadowed.count;
  std::string report = "never matched by the shortest rule: " + grouped(all) + "\n";
  report += misspelled.line("no host names, so nothing can match them");
  report += patterns.line("wildcards or exceptions, for public-suffix matching only");
  report += single.line("single labels, for public-suffix matching only");
  report += tooLong.line("more labels than the largest label count");
  report += shadowed.line("longer than another listed suffix, which wins");
  return report;
}

/// A table of a file in any form, all of whose bytes are checked. Throws Refusal.
std::unique_ptr<SuffixTable> readTable(const std::string& path, std::string bytes) {
  LoadedTable loaded = vu::detail::loadAny(std::move(bytes), displayName(path));
  if (!loaded.error.empty()) throw Refusal(loaded.error);
  return std::move(loaded.table);
}

/// The value of a line "name: value".
std::string factIn(std::string_view info, std::string_view name) {
  const std::size_t at = info.find(name);
  if (at == std::string_view::npos) return "not told";
  info.remove_prefix(at + name.size());
  return visible(std::string(info.substr(0, info.find('\n'))));
}

std::string factsOf(const SuffixTable& table, bool isList) {
  namespace header = vu::detail::header;
  const auto count = [&](std::size_t field) { return grouped(table.fact(field)); };
  std::string facts =
      "version of the list: " + factIn(table.info(), "version: ") +
      "\ncommit of the list: " + factIn(table.info(), "commit: ") +
      "\ndistinct suffixes: " + count(header::kSuffixes) + "\n  ICANN: " + count(header::kIcann) +
      "\n  private: " + count(header::kPrivate) + "\n  of no section: " + count(header::kOwn) +
      "\nlargest label count: " + count(header::kMaxLabels) + "\n";
  if (!isList) facts += "bytes: " + grouped(table.bytes().size()) + ", as they were written\n";
  return facts;
}

void check(const std::string& path) {
  std::string bytes = readFile(path);
  const bool isList = vu::detail::isSuffixList(bytes);
  if (isList || bytes.rfind(vu::detail::kTableMagic, 0) == 0) {
    writeOut(factsOf(*readTable(path, std::move(bytes)), isList));
    return;
  }
  const Contents contents = readContents(path, bytes);
  writeOut("records: " + grouped(contents.records) +
           "\ndistinct suffixes: " + grouped(contents.lines.size()) +
           "\nlargest label count: " + std::to_string(contents.largest) +
           "\nduplicates: " + grouped(contents.duplicates.count) + "\n" +
           contents.duplicates.line("standing again") + unmatchable(contents));
}

/// Every rule of a file as it is spelled, with its section.
std::map<std::string, std::string> readRules(const std::string& path) {
  const LoadedTable loaded = vu::detail::loadAny(readFile(path), displayName(path));
  if (!loaded.error.empty()) refuseSuffixes(path, loaded.error);
  std::map<std::string, std::string> rules;
  for (SpelledRule& rule : rulesOf(*loaded.table)) {
    rules[std::move(rule.text)] = (rule.sections & vu::detail::kIcannRules) != 0 ? "icann"
                                  : rule.sections != 0                           ? "private"
                                                                                 : "-";
  }
  return rules;
}

/// A line for each rule that only one of two files has, or each in another section, by name.
void diff(const std::string& before, const std::string& after) {
  const auto left = readRules(before);
  const auto right = readRules(after);
  std::string lines;
  const auto add = [&lines](const char* mark, const auto& rule) {
    lines += std::string(mark) + "\t" + visible(rule.first) + "\t" + rule.second + "\n";
  };
  auto old = left.begin();
  auto fresh = right.begin();
  while (old != left.end() || fresh != right.end()) {
    const bool goes = fresh == right.end() || (old != left.end() && old->first < fresh->first);
    const bool comes = old == left.end() || (fresh != right.end() && fresh->first < old->first);
    if (goes || (!comes && old->second != fresh->second)) add("-", *old);
    if (comes || (!goes && old->second != fresh->second)) add("+", *fresh);
    if (!comes) ++old;
    if (!goes) ++fresh;
  }
  writeOut(lines);
}

}  // namespace

void addSuffixes(CLI::App& app) {
  CLI::App* suffixes =
      app.add_subcommand("suffixes", "Make, check and compare the files of domain suffixes");
  suffixes->require_subcommand(1);

  auto options = std::make_shared<BuildOptions>();
  CLI::App* building = suffixes->add_subcommand(
      "build",
      "Turn a Public Suffix List into a definition file or a\ncompiled table, every rule of it");
  building->add_option("LIST", options->list, "The list; - is standard input")->required();
  building->add_option("-o,--output", options->output, "Where to write; standard output otherwise")
      ->option_text("FILE");
  addChoice(*building, "--section", options->section, kSections,
            "Which of its rules (default: all)");
  building->add_flag(
      "--compiled", options->compiled,
      "Write a compiled table, which is opened at once and\nknows the rules' sections");
  building->callback([options] { build(*options); });

  auto path = std::make_shared<std::string>();
  CLI::App* checking = suffixes->add_subcommand(
      "check", "Tell what a file of suffixes holds, or what is wrong with it");
  checking
      ->add_option(
          "FILE", *path,
          "A definition file, a compiled table or a list that\nbegins with a comment; - is "
          "standard input")
      ->required();
  checking->callback([path] { check(*path); });

  auto before = std::make_shared<std::string>();
  auto after = std::make_shared<std::string>();
  CLI::App* comparing = suffixes->add_subcommand(
      "diff", "Tell which rules only one of two files has, or each in\nanother section");
  comparing->add_option("FILE", *before, "A file in any form; - is standard input")->required();
  comparing->add_option("FILE2", *after, "Another one, which came later")->required();
  comparing->callback([before, after] { diff(*before, *after); });
}

}  // namespace vu::tool
