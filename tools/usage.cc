#include "tools/usage.h"

#include <algorithm>
#include <iostream>

#include <CLI/CLI.hpp>

#include "tools/messages.h"

namespace vu::tool {
namespace {

class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter() {
    label("Positionals", "Operands");
    label("SUBCOMMAND", "COMMAND");
  }

  /// Operands are shown without the bound that they have inside.
  std::string make_option_usage(const CLI::Option* option) const override {
    if (option->get_expected_max() <= 1) return CLI::Formatter::make_option_usage(option);
    return "[" + option->get_name(true) + "...]";
  }

  /// Names and the word for the value, then the description two blanks or a line further on.
  std::string make_option(const CLI::Option* option, bool isOperand) const override {
    std::string line = "  " + make_option_name(option, isOperand);
    if (!option->get_option_text().empty()) line += " " + option->get_option_text();
    if (line.size() + 2 > column_width_) line += "\n" + std::string(column_width_, ' ');
    line.resize(std::max(line.size(), column_width_), ' ');
    return line +
           CLI::detail::find_and_replace(option->get_description(), "\n",
                                         "\n" + std::string(column_width_, ' ')) +
           "\n";
  }
};

/// How many letters must be changed, added, left out or swapped with the next one to turn `a` into
/// `b`.
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::vector<std::size_t>> cost(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) {
    for (std::size_t j = 0; j <= b.size(); ++j) {
      std::size_t& least = cost[i][j];
      if (i == 0 || j == 0) {
        least = i + j;
        continue;
      }
      least = std::min({cost[i - 1][j] + 1, cost[i][j - 1] + 1,
                        cost[i - 1][j - 1] + (a[i - 1] != b[j - 1] ? 1 : 0)});
      const bool swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (swapped) least = std::min(least, cost[i - 2][j - 2] + 1);
    }
  }
  return cost[a.size()][b.size()];
}

/// Of a name that starts with what was typed, the rest was left out.
std::size_t mistakes(std::string_view typed, std::string_view name) {
  return name.substr(0, typed.size()) == typed ? 1 : distance(typed, name);
}

std::vector<std::string> optionNames(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::Option* option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

std::vector<std::string> commandNames(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::App* each : command.get_subcommands(nullptr)) names.push_back(each->get_name());
  return names;
}

/// How the word for a value says that it is completed.
std::string completionOf(const std::string& value) {
  const std::string word = value.substr(0, value.find("..."));
  for (const char* each : {"FILE", "LIST", "IN", "OUT", "ARGUMENT"}) {
    if (word == each) return "files";
  }
  if (word.rfind("CODE", 0) == 0) return "codes";
  return word.find('|') != std::string::npos ? "words" : "";
}

std::string helpOf(const CLI::App& command) { return "; see \"" + fullName(command) + " --help\""; }

std::string explainUnknown(const CLI::App& command, const std::string& word) {
  const bool isOption = word.size() > 1 && word[0] == '-';
  const std::vector<std::string> commands = commandNames(command);
  if (!isOption && commands.empty()) return "one operand too many: " + word + helpOf(command);

  std::string name = word.empty() ? "\"\"" : word;
  if (isOption) name.resize(std::min(name.size(), name.find('=')));
  std::string what = (isOption ? "there is no option " : "there is no command ") + name;
  const std::string hint = didYouMean(name, isOption ? optionNames(command) : commands);
  if (!hint.empty()) return what + hint;
  if (command.get_name() == "settings") {
    return what + "; a daemon's own arguments stand behind \"--\"";
  }
  if (isOption && !commands.empty()) what += " in front of a command";
  return what + helpOf(command);
}

/// An option that lacks its value, has one too many, or stands twice.
std::string explainMismatch(const CLI::App& command, const std::string& what) {
  std::string name = what.substr(0, what.find_first_of(": "));
  if (name[0] != '-') name = "--" + name;  // as flags are called there
  const CLI::Option* const option = command.get_option_no_throw(name);
  if (option == nullptr) return what;
  if (option->get_items_expected_max() == 0) return name + " takes no value";
  if (option->count() > 1) return name + " can be given once only";
  return name + " needs a value: " + option->get_option_text();
}

}  // namespace

std::shared_ptr<CLI::FormatterBase> helpFormatter() { return std::make_shared<HelpFormatter>(); }

std::string fullName(const CLI::App& command) {
  const CLI::App* const parent = command.get_parent();
  return (parent != nullptr ? fullName(*parent) + " " : "") + command.get_name();
}

std::string didYouMean(std::string_view typed, const std::vector<std::string>& names) {
  std::size_t least = std::max<std::size_t>(1, typed.size() / 3) + 1;
  std::string closest;
  for (const std::string& name : names) {
    if (typed.size() < 2 || typed.size() > 2 * name.size()) continue;
    const std::size_t count = mistakes(typed, name);
    if (count >= least) continue;
    least = count;
    closest = "; did you mean " + name + "?";
  }
  return closest;
}

std::string listing(const CLI::App& command) {
  std::string lines;
  const auto add = [&lines](const char* kind, const std::string& names, const std::string& value,
                            const std::string& description) {
    lines += std::string(kind) + "\t" + names + "\t" + value + "\t" + completionOf(value) + "\t" +
             CLI::detail::find_and_replace(description, "\n", " ") + "\n";
  };
  for (const CLI::App* each : command.get_subcommands(nullptr)) {
    add("command", each->get_name(), "", each->get_description());
  }
  for (const CLI::Option* each : command.get_options()) {
    if (each->get_positional()) {
      add("operand", each->get_name(true), each->get_name(true), each->get_description());
    } else {
      add("option", each->get_name(false, true), each->get_option_text(), each->get_description());
    }
  }
  return lines;
}

bool help(const CLI::App& app, std::vector<std::string> words, std::string& text) {
  const bool isList = !words.empty() && words.front() == "--list";
  if (isList) words.erase(words.begin());
  const CLI::App* command = &app;
  for (const std::string& word : words) {
    const auto below = command->get_subcommands(nullptr);
    const auto next = std::find_if(below.begin(), below.end(), [&word](const CLI::App* each) {
      return each->get_name() == word;
    });
    if (next == below.end()) {
      setSpeaker(fullName(*command));
      say(explainUnknown(*command, word));
      return false;
    }
    command = *next;
  }
  const CLI::App* const parent = command->get_parent();
  text = isList ? listing(*command) : command->help(parent != nullptr ? fullName(*parent) : "");
  return true;
}

void explain(const CLI::App& app, const CLI::Error& error) {
  const CLI::App* command = &app;
  while (command->remaining().empty() && !command->get_subcommands().empty()) {
    command = command->get_subcommands().front();
  }
  setSpeaker(fullName(*command));
  const std::string what = error.what();
  if (!command->remaining().empty()) {
    say(explainUnknown(*command, command->remaining().front()));
  } else if (error.get_name() == "RequiredError" && !commandNames(*command).empty()) {
    std::cerr << app.help();  // goes on to the help of the command that was reached
  } else if (error.get_name() == "RequiredError") {
    say(what + helpOf(*command));
  } else if (error.get_name() == "ExcludesError") {
    say(what + "; give one of them");
  } else if (error.get_name() == "ArgumentMismatch") {
    say(explainMismatch(*command, what));
  } else {
    say(what);
  }
}

}  // namespace vu::tool
