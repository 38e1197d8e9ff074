// vu settings: what a daemon with the default option table makes of a command line.

#include <unistd.h>

#include <iostream>
#include <memory>
#include <utility>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "tools/command.h"
#include "tools/messages.h"
#include "tools/options.h"
#include "tools/output.h"
#include "tools/rows.h"
#include "tools/terminal.h"
#include "vu/config.h"

namespace vu::tool {
namespace {

enum class Format { table, tsv, jsonl };

const Words<Format> kFormats = {
    {"table", Format::table}, {"tsv", Format::tsv}, {"jsonl", Format::jsonl}};

struct SettingsOptions {
  std::vector<std::string> arguments;
  Format format = Format::table;
  bool checkOnly = false;
};

/// A setting as a daemon sees it.
struct Setting {
  std::string name;
  char type;
  std::string value;  ///< Converted, and written out again.
  std::string error;  ///< Why it does not convert; "" when it does.
  std::string origin;
};

/// The value that a daemon reads, as text.
std::string converted(const vu_config& store, const Setting& setting) {
  const config_value value = store.getConfItem(setting.name.c_str());
  return setting.type == 'd' ? val2str(value.asInt) : value.asText;
}

std::vector<Setting> readSettings(const std::vector<std::string>& arguments) {
  std::vector<std::string> owned = {"daemon"};
  owned.insert(owned.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  argv.reserve(owned.size() + 1);
  for (std::string& each : owned) argv.push_back(each.data());
  argv.push_back(nullptr);

  vu_config store(nullptr);
  const auto count = static_cast<int>(owned.size());
  store.initConfig(count, argv.data(), nullptr);
  for (int operand = optind; operand < count; ++operand) {
    say(std::string("note: a daemon ignores the operand ") +
        argv[static_cast<std::size_t>(operand)] + "; -c reads a file");
  }
  std::vector<Setting> settings;
  for (const vu_opt_helper* row = opt_helper; row->name != nullptr; ++row) {
    Setting setting{row->name, 0, "", "", store.origin(row->name)};
    store.getParam(row->name, setting.type);
    try {
      setting.value = converted(store, setting);
    } catch (const vu_exception& failure) {
      setting.error = failure.what();
    }
    settings.push_back(std::move(setting));
  }
  return settings;
}

void appendJson(std::string& out, const Setting& setting) {
  using Json = nlohmann::ordered_json;
  const Json object = {{"name", setting.name},
                       {"type", std::string(1, setting.type)},
                       {"value", setting.error.empty() ? Json(setting.value) : Json()},
                       {"origin", setting.origin}};
  out += object.dump(-1, ' ', false, Json::error_handler_t::replace);
}

void appendTabSeparated(std::string& out, const Setting& setting) {
  out += setting.name + "\t" + setting.type + "\t";
  appendTabSafe(out, setting.value);
  out += '\t';
  appendTabSafe(out, setting.origin);
}

void appendAligned(std::string& out, const Setting& setting) {
  const bool red = !setting.error.empty() && showsColours(STDOUT_FILENO);
  if (red) out += colour::red;
  appendColumn(out, setting.name, 10);
  appendColumn(out, std::string(1, setting.type), 1);
  appendColumn(out, setting.error.empty() ? visible(setting.value) : "?", 24);
  out += visible(setting.origin);
  if (red) out += colour::none;
}

void appendRow(std::string& out, const Setting& setting, Format format) {
  switch (format) {
    case Format::table:
      appendAligned(out, setting);
      break;
    case Format::tsv:
      appendTabSeparated(out, setting);
      break;
    case Format::jsonl:
      appendJson(out, setting);
      break;
  }
  out += '\n';
}

int showSettings(const SettingsOptions& options) {
  std::vector<Setting> settings;
  try {
    settings = readSettings(options.arguments);
  } catch (const vu_exception& failure) {
    // As the daemon would give it: the usage text has lines of its own.
    std::cerr << failure.what() << '\n';
    return kRefused;
  }
  int exitStatus = kDone;
  std::string out;
  for (const Setting& setting : settings) {
    appendRow(out, setting, options.format);
    if (setting.error.empty()) continue;
    exitStatus = kRefused;
    say(setting.name + ": " + setting.error + " (" + setting.origin + ")");
  }
  if (options.checkOnly) out = exitStatus == kDone ? "The settings are good.\n" : "";
  writeOut(out);
  return exitStatus;
}

}  // namespace

void addSettings(CLI::App& app, int& exitStatus) {
  auto options = std::make_shared<SettingsOptions>();
  CLI::App* command = app.add_subcommand(
      "settings", "Show the settings that a daemon would make of a command line");
  addOperands(*command, "ARGUMENT", options->arguments,
              "What the daemon is started with, behind \"--\":\nvu settings -- -v 5 -c vu.conf");
  addChoice(*command, "--format", options->format, kFormats,
            "Columns: name, type, value as converted, origin\n(default: table)");
  command->add_flag("--check", options->checkOnly, "Only say whether the settings are good");
  command->footer(
      "Exit status: 0 good, 1 refused or a value that does not convert, 2 wrong usage.");
  command->callback([options, &exitStatus] { exitStatus = showSettings(*options); });
}

}  // namespace vu::tool
