// vu suffixes: make definition files from a Public Suffix List, and look into them.

#include <algorithm>
#include <iostream>
#include <map>
#include <memory>

#include <CLI/CLI.hpp>

#include "domain/definition_file.h"
#include "domain/host.h"
#include "tools/command.h"
#include "tools/input.h"
#include "tools/options.h"
#include "tools/output.h"
#include "tools/suffix_list.h"
#include "tools/summary.h"
#include "vu/domain.h"

namespace vu::tool {
namespace {

const Words<Section> kSections = {
    {"icann", Section::icann}, {"private", Section::privateDomains}, {"all", Section::all}};

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
};

void reportBuild(const std::vector<SuffixRule>& rules, const BuildOptions& options) {
  SuffixSet plain;
  for (const SuffixRule& rule : rules) plain.insert(rule.text);
  Kind wildcards;
  Kind exceptions;
  Kind shadowed;
  for (const SuffixRule& rule : rules) {
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
  const std::vector<SuffixRule> rules =
      parseSuffixList(readFile(options.list), displayName(options.list), options.section);
  const std::string text = definitionText(rules);
  if (options.output == "-") {
    writeOut(text);
  } else {
    writeFile(options.output, text, Existing::replaced);
  }
  reportBuild(rules, options);
}

/// What a definition file holds.
struct Contents {
  std::uint64_t records = 0;
  int largest = 2;
  std::map<std::string, long long, std::less<>> lines;  ///< Where each suffix stands first.
  Kind duplicates;
};

Contents readContents(const std::string& path) {
  const std::string bytes = readFile(path);
  if (bytes.rfind(kByteOrderMark, 0) == 0) {
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
      (parseRule(suffix).text.empty() ? misspelled : patterns).add(where);
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

void check(const std::string& path) {
  const Contents contents = readContents(path);
  writeOut("records: " + grouped(contents.records) +
           "\ndistinct suffixes: " + grouped(contents.lines.size()) +
           "\nlargest label count: " + std::to_string(contents.largest) +
           "\nduplicates: " + grouped(contents.duplicates.count) + "\n" +
           contents.duplicates.line("standing again") + unmatchable(contents));
}

}  // namespace

void addSuffixes(CLI::App& app) {
  CLI::App* suffixes =
      app.add_subcommand("suffixes", "Make and check the definition files of domain suffixes");
  suffixes->require_subcommand(1);

  auto options = std::make_shared<BuildOptions>();
  CLI::App* building = suffixes->add_subcommand(
      "build", "Turn a Public Suffix List into a definition file, every rule of it");
  building->add_option("LIST", options->list, "The list; - is standard input")->required();
  building->add_option("-o,--output", options->output, "Where to write; standard output otherwise")
      ->option_text("FILE");
  addChoice(*building, "--section", options->section, kSections,
            "Which of its rules (default: all)");
  building->callback([options] { build(*options); });

  auto path = std::make_shared<std::string>();
  CLI::App* checking = suffixes->add_subcommand(
      "check", "Tell what a definition file holds, or where its first bad record is");
  checking->add_option("FILE", *path, "The definition file; - is standard input")->required();
  checking->callback([path] { check(*path); });
}

}  // namespace vu::tool
