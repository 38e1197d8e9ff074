// vu settings: what a daemon with the default option table makes of a command line.

#include <sys/stat.h>
#include <unistd.h>

#include <iostream>
#include <memory>
#include <utility>

#include <CLI/CLI.hpp>

#include "tools/buffer.h"
#include "tools/command.h"
#include "tools/input.h"
#include "tools/messages.h"
#include "tools/options.h"
#include "tools/output.h"
#include "tools/table.h"
#include "tools/terminal.h"
#include "vu/config.h"

namespace vu::tool {
namespace {

struct SettingsOptions {
  std::vector<std::string> arguments;
  RowOptions rows;
  bool checkOnly = false;
};

/// A setting as a daemon sees it.
struct Setting {
  std::string name;
  char type;
  std::string value;  ///< Converted, and written out again.
  std::string error;  ///< Which one does not convert, and why; "" when it does.
  std::string origin;
};

/// The value that a daemon reads, as text.
std::string converted(const vu_config& store, const Setting& setting) {
  const config_value value = store.getConfItem(setting.name.c_str());
  return setting.type == 'd' ? val2str(value.asInt) : value.asText;
}

/// The argument vector of a daemon.
class DaemonArguments {
 public:
  explicit DaemonArguments(const std::vector<std::string>& arguments) : words_(arguments) {
    words_.insert(words_.begin(), "daemon");
    for (std::string& each : words_) pointers_.push_back(each.data());
    pointers_.push_back(nullptr);
  }
  int count() const { return static_cast<int>(words_.size()); }
  char** vector() { return pointers_.data(); }

 private:
  std::vector<std::string> words_;
  std::vector<char*> pointers_;
};

/// What getopt has left over. A person may have meant a configuration file.
void noteOperands(DaemonArguments& arguments) {
  for (int operand = optind; operand < arguments.count(); ++operand) {
    say(std::string("note: a daemon ignores the operand ") + arguments.vector()[operand] +
        "; -c reads a file");
  }
}

/// The configuration files on a daemon's command line that can be read again: pipes cannot.
std::vector<std::string> filesOf(const SettingsOptions& options) {
  DaemonArguments arguments(options.arguments);
  std::string letters;
  for (const vu_opt_helper* row = opt_helper; row->name != nullptr; ++row) {
    letters += std::string(1, row->option) + (row->type == 'b' ? "" : ":");
  }
  std::vector<std::string> files;
  opterr = 0;
  optind = 0;
  for (int letter = 0; letter != -1;) {
    letter = getopt(arguments.count(), arguments.vector(), letters.c_str());
    struct stat status {};
    if (letter == 'c' && stat(optarg, &status) == 0 && S_ISREG(status.st_mode)) {
      files.emplace_back(optarg);
    }
  }
  return files;
}

/// What a daemon makes of a line: whether it takes a setting from it. Throws as the daemon would.
bool takesLine(std::string_view line) {
  vu_getopt parser(0, nullptr, nullptr);
  parser.parseConfigLine(std::string(line));
  for (int i = 0; i < parser.optCount(); ++i) {
    if (parser.origin(i) != "default") return true;
  }
  return false;
}

/// Calls `look` with each line that says something, and where it stands, until that returns false.
template <typename Look>
void eachLine(const std::vector<std::string>& files, Look look) {
  for (const std::string& path : files) {
    LineBlocks blocks(path);
    long number = 0;
    for (Buffer block; blocks.next(block);) {
      for (std::string_view rest = block.text(); !rest.empty();) {
        const std::string_view line = takeLine(rest);
        ++number;
        const std::size_t first = line.find_first_not_of(" \t\v\f\r");
        if (first == std::string_view::npos || line[first] == '#') continue;
        if (!look(line, path + ":" + val2str(number))) return;
      }
    }
  }
}

/// Where in the files a failure comes from, as " (PATH:LINE)"; "" when that is nowhere in them.
std::string placeOf(const std::string& failure, const std::vector<std::string>& files) {
  std::string found;
  eachLine(files, [&](std::string_view line, const std::string& place) {
    try {
      takesLine(line);
    } catch (const vu_exception& problem) {
      if (problem.what() == failure) found = " (" + place + ")";
      return false;
    }
    return true;
  });
  return found;
}

/// A daemon says nothing about a line with "=" between name and value, for one.
void noteSkippedLines(const std::vector<std::string>& files) {
  eachLine(files, [](std::string_view line, const std::string& place) {
    if (!takesLine(line)) {
      say("note: " + place + ": skipped by a daemon, for it is no \"name value\"");
    }
    return true;
  });
}

/// Throws Refusal for what the daemon would refuse, but for wrong usage, of which it tells itself.
std::vector<Setting> readSettings(const SettingsOptions& options) {
  vu_config store;
  DaemonArguments arguments(options.arguments);
  try {
    store.initConfig(arguments.count(), arguments.vector(), nullptr);
    noteOperands(arguments);
    if (options.checkOnly) noteSkippedLines(filesOf(options));
  } catch (const vu_exception& failure) {
    if (failure.kind() == vu_failure::usage) throw;
    const std::string what = failure.what();
    throw Refusal(what +
                  (failure.kind() != vu_failure::file ? placeOf(what, filesOf(options)) : ""));
  }
  std::vector<Setting> settings;
  for (const vu_opt_helper* row = opt_helper; row->name != nullptr; ++row) {
    Setting setting{row->name, 0, "", "", store.origin(row->name)};
    store.getParam(row->name, setting.type);
    try {
      store.check(row->name);
      setting.value = converted(store, setting);
    } catch (const vu_exception& failure) {
      setting.error = failure.what();
    }
    settings.push_back(std::move(setting));
  }
  return settings;
}

void appendRow(Buffer& out, const Table& table, const Setting& setting) {
  const bool isGood = setting.error.empty();
  const bool isRed = !isGood && showsColours(STDOUT_FILENO);
  table.append(
      out,
      {setting.name, Cell(&setting.type, 1), isGood ? Cell(setting.value) : Cell(), setting.origin},
      isRed ? colour::red : "");
}

int showSettings(const SettingsOptions& options) {
  std::vector<Setting> settings;
  try {
    settings = readSettings(options);
  } catch (const vu_exception& usage) {
    // As the daemon would give it, which has lines of its own.
    std::cerr << usage.what() << '\n';
    return kRefused;
  }
  int exitStatus = kDone;
  const Table table({{"name", 10}, {"type", 1}, {"value", 24}, {"origin"}}, options.rows);
  Buffer out;
  table.appendTitles(out);
  for (const Setting& setting : settings) {
    appendRow(out, table, setting);
    if (setting.error.empty()) continue;
    exitStatus = kRefused;
    say(setting.error);
  }
  if (!options.checkOnly) {
    writeOut(out.text());
  } else if (exitStatus == kDone) {
    writeOut("The settings are good.\n");
  }
  return exitStatus;
}

}  // namespace

void addSettings(CLI::App& app, int& exitStatus) {
  auto options = std::make_shared<SettingsOptions>();
  CLI::App* command = app.add_subcommand(
      "settings", "Show the settings that a daemon would make of a command line");
  addOperands(*command, "ARGUMENT", options->arguments,
              "What the daemon is started with, behind \"--\":\nvu settings -- -v 5 -c vu.conf");
  addRowOptions(*command, options->rows, "name, type, value as converted,\norigin");
  command->add_flag("--check", options->checkOnly, "Only say whether the settings are good");
  command->footer(
      "Exit status: 0 good, 1 refused or a value that does not convert, 2 wrong usage.");
  command->callback([options, &exitStatus] { exitStatus = showSettings(*options); });
}

}  // namespace vu::tool
