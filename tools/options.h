// Kinds of options that several commands have.

#ifndef VU_TOOLS_OPTIONS_H_
#define VU_TOOLS_OPTIONS_H_

#include <algorithm>
#include <charconv>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "tools/input.h"
#include "tools/table.h"
#include "tools/usage.h"

namespace vu::tool {

/// The words that an option takes, in the order in which they are shown, with what they stand for.
template <typename Value>
using Words = std::vector<std::pair<std::string, Value>>;

/// What the word typed stands for; null when it is none of them.
template <typename Value>
const Value* findWord(const Words<Value>& words, std::string_view typed) {
  const auto found = std::find_if(words.begin(), words.end(),
                                  [typed](const auto& each) { return each.first == typed; });
  return found != words.end() ? &found->second : nullptr;
}

template <typename Value>
std::vector<std::string> namesOf(const Words<Value>& words) {
  std::vector<std::string> names;
  for (const auto& each : words) names.push_back(each.first);
  return names;
}

/// Why a word is not taken; "" when it is.
template <typename Value>
std::string whyNot(const Words<Value>& words, const std::string& typed) {
  if (findWord(words, typed) != nullptr) return "";
  const std::vector<std::string> names = namesOf(words);
  return typed + " is none of " + CLI::detail::join(names, ", ") + didYouMean(typed, names);
}

/// Adds the option `names` to `command`; `value` becomes what the word given stands for, and any
/// other word is wrong usage.
template <typename Value>
void addChoice(CLI::App& command, const std::string& names, Value& value, const Words<Value>& words,
               const std::string& description) {
  const auto check = [&words](const std::string& typed) { return whyNot(words, typed); };
  const auto take = [&value, &words](const std::string& word) { value = *findWord(words, word); };
  command.add_option_function<std::string>(names, take, description)
      ->check(check)
      ->option_text(CLI::detail::join(namesOf(words), "|"));
}

/// The same for words with commas between them, each once at the most, in the order given.
template <typename Value>
CLI::Option* addList(CLI::App& command, const std::string& names, std::vector<Value>& values,
                     const Words<Value>& words, const std::string& description) {
  const auto check = [&words](const std::string& typed) {
    std::string why;
    const std::vector<std::string> all = CLI::detail::split(typed, ',');
    for (const std::string& each : all) {
      if (why.empty()) why = whyNot(words, each);
      if (why.empty() && std::count(all.begin(), all.end(), each) > 1) why = each + " stands twice";
    }
    return why;
  };
  const auto take = [&values, &words](const std::string& typed) {
    values.clear();
    for (const std::string& each : CLI::detail::split(typed, ',')) {
      values.push_back(*findWord(words, each));
    }
  };
  return command.add_option_function<std::string>(names, take, description)
      ->check(check)
      ->option_text("COLUMNS");
}

/// Adds --format and --header to a command. `columns` names what a row holds.
inline void addRowOptions(CLI::App& command, RowOptions& options, const std::string& columns) {
  static const Words<Format> formats = {{"table", Format::table},
                                        {"tsv", Format::tsv},
                                        {"csv", Format::csv},
                                        {"jsonl", Format::jsonl}};
  addChoice(command, "--format", options.format, formats,
            "Columns: " + columns + "\n(default: table on a terminal, tsv elsewhere)");
  command.add_flag("--header", options.header, "Titles above the rows, but for jsonl");
}

/// Adds --null to a command that reads entries.
inline void addNull(CLI::App& command, EntryEnd& end) {
  command.add_flag_callback(
      "-0,--null", [&end] { end = EntryEnd::null; },
      "A NUL ends an entry of the input, not a line end");
}

/// Reads a number in decimal digits, nothing else; false beyond `most`. CLI11's own way would take
/// "010" for 8.
template <typename Number>
bool readDecimal(std::string_view text, Number most, Number& number) {
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  return read.ec == std::errc() && read.ptr == end && number >= 0 && number <= most;
}

/// Adds the option `names`, a number from `least` to `most`; any other is wrong usage.
template <typename Number>
CLI::Option* addNumber(CLI::App& command, const std::string& names, Number& value, Number least,
                       Number most, const std::string& description) {
  const auto read = [&value](const std::string& text) {
    readDecimal(text, std::numeric_limits<Number>::max(), value);
  };
  const auto check = [least, most](const std::string& text) {
    Number number{};
    if (readDecimal(text, most, number) && number >= least) return std::string();
    return text + " is no number from " + std::to_string(least) + " to " + std::to_string(most);
  };
  return command.add_option_function<std::string>(names, read, description)
      ->check(check)
      ->option_text("N");
}

/// The check of an option that names a file: an empty name is a variable that was not set.
inline std::string isNotEmpty(const std::string& path) {
  return path.empty() ? "the name is empty" : "";
}

/// Adds operands: any number of arguments that are no options, each taken as it was typed. The
/// ordinary way of CLI11 would take "[a,b]" apart.
inline void addOperands(CLI::App& command, const std::string& name,
                        std::vector<std::string>& operands, const std::string& description) {
  command.add_option(name, operands, description)
      ->expected(1 << 20)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->allow_extra_args(false);
}

/// Whether a text is pairs of hexadecimal digits, in either case; none at all is, too.
inline bool isHex(std::string_view text) {
  return text.size() % 2 == 0 &&
         text.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
}

/// The bytes that such a text stands for.
inline std::string fromHex(std::string_view text) {
  std::string bytes;
  for (; !text.empty(); text.remove_prefix(2)) {
    unsigned char byte = 0;
    std::from_chars(text.data(), text.data() + 2, byte, 16);
    bytes += static_cast<char>(byte);
  }
  return bytes;
}

}  // namespace vu::tool

#endif  // VU_TOOLS_OPTIONS_H_
