// vu pairs: the name/value pairs of a text.

#include <algorithm>
#include <list>
#include <memory>
#include <utility>

#include <CLI/CLI.hpp>

#include "tools/command.h"
#include "tools/input.h"
#include "tools/options.h"
#include "tools/output.h"
#include "tools/table.h"
#include "tools/text.h"
#include "vu/pattern.h"

namespace vu::tool {
namespace {

struct PairOptions {
  std::string file = "-";
  std::string pattern = R"((\w+)=(\w*))";
  RowOptions rows;
};

/// Notices matches that give no pair, which a person who wrote the pattern did not mean.
class WatchedPattern : public NvalPcre {
 public:
  explicit WatchedPattern(const std::string& pattern) : NvalPcre(pattern.c_str()) {}

  int execute(const char* subject, int length, int startOffset, int options) override {
    const int result = NvalPcre::execute(subject, length, startOffset, options);
    if (result > 0 && result < 3) matchedWithoutPair = true;
    return result;
  }

  bool matchedWithoutPair = false;
};

/// An empty value is a value, though it may lie nowhere.
Cell view(const CharSizet_t& piece) {
  return piece.size > 0 ? Cell(piece.data, piece.size) : Cell("");
}

using Pairs = std::list<std::pair<CharSizet_t, CharSizet_t>>;

/// How wide the names are in an aligned table; a few long ones do not push all values aside.
std::size_t nameWidth(const Pairs& pairs) {
  std::size_t width = 0;
  for (const auto& each : pairs) width = std::max(width, visible(view(each.first)).size());
  return std::min<std::size_t>(width, 30);
}

void writePairs(const Pairs& pairs, const RowOptions& options) {
  const bool isAligned = options.format == Format::table;
  const Table table({{"name", isAligned ? nameWidth(pairs) : 0}, {"value"}}, options);
  Buffer out;
  table.appendTitles(out);
  for (const auto& [name, value] : pairs) table.append(out, {view(name), view(value)});
  writeOut(out.text());
}

std::unique_ptr<WatchedPattern> compile(const std::string& pattern) {
  try {
    return std::make_unique<WatchedPattern>(pattern);
  } catch (const vu_exception& failure) {
    throw Refusal("--pattern: " + std::string(failure.what()));
  }
}

void run(const PairOptions& options) {
  const std::string text = readFile(options.file);
  const std::unique_ptr<WatchedPattern> pattern = compile(options.pattern);
  Pairs pairs;
  std::string refusal;
  try {
    // A length of 0 would mean that a NUL ends the text.
    if (!text.empty()) {
      insertNV2List(pairs, *pattern, text.data(), static_cast<unsigned int>(text.size()));
    }
  } catch (const vu_exception& failure) {
    refusal = failure.what();
    if (refusal == "PCRE Output vector too small") {
      refusal = "the pattern has more groups than a name and a value; write the others (?:...)";
    }
  }
  writePairs(pairs, options.rows);
  if (refusal.empty() && pairs.empty() && pattern->matchedWithoutPair) {
    refusal = "the pattern matches, but never with both of its groups, name and value";
  }
  if (!refusal.empty()) throw Refusal(refusal);
}

}  // namespace

void addPairs(CLI::App& app) {
  auto options = std::make_shared<PairOptions>();
  CLI::App* command =
      app.add_subcommand("pairs", "Print the name/value pairs of a text, a row each");
  command->add_option("FILE", options->file, "The text; - or nothing is standard input")
      ->check(isNotEmpty);
  command
      ->add_option("--pattern", options->pattern,
                   "PCRE pattern with two groups, name and value;\n(\\w+)=(\\w*) otherwise")
      ->option_text("RE");
  addRowOptions(*command, options->rows, "name, value");
  command->footer(
      "The pattern sees the whole text: \".\" matches a line end, too, and \"^\" and \"$\" those "
      "of\n"
      "lines with (?m) in front. vu-pairs(1) has patterns for query strings, logs and headers.\n"
      "In tsv a tab, line end or backslash inside a field is written \\t, \\n, \\r, \\\\.\n"
      "Exit status: 0 done, 1 something was refused, 2 wrong usage.");
  command->callback([options] { run(*options); });
}

}  // namespace vu::tool
