// vu status: the service's result codes, both ways.

#include <algorithm>
#include <memory>

#include <CLI/CLI.hpp>

#include "tools/command.h"
#include "tools/messages.h"
#include "tools/options.h"
#include "tools/output.h"
#include "tools/table.h"
#include "vu/foundation.h"

namespace vu::tool {
namespace {

struct StatusOptions {
  std::vector<std::string> wanted;
  RowOptions rows;
};

bool isCode(const std::string& text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// Throws vu_exception for what is no code and no text.
unsigned int codeOf(const std::string& wanted) {
  if (!isCode(wanted)) return findValueByString(wanted, statusTable, VU_STATUS_BOUND);
  const auto code = str2val<unsigned int>(wanted);
  findStringByValue(code, statusTable, VU_STATUS_BOUND);
  return code;
}

int run(const StatusOptions& options) {
  const Table table({{"code", 6, true}, {"text"}}, options.rows);
  Buffer out;
  table.appendTitles(out);
  const auto add = [&](unsigned int code) { table.append(out, {val2str(code), statusText(code)}); };
  std::vector<std::string> unknown;
  for (const std::string& each : options.wanted) {
    try {
      add(codeOf(each));
    } catch (const vu_exception&) {
      unknown.push_back(each);
    }
  }
  if (options.wanted.empty()) {
    for (const sizeT_string_pair* each = statusTable; each->string != nullptr; ++each) {
      add(each->value);
    }
  }
  writeOut(out.text());
  for (const std::string& each : unknown) {
    say("no such status: " + each + "; \"vu status\" lists them all");
  }
  return unknown.empty() ? kDone : kRefused;
}

}  // namespace

void addStatus(CLI::App& app, int& exitStatus) {
  auto options = std::make_shared<StatusOptions>();
  CLI::App* command =
      app.add_subcommand("status", "Explain status codes, or find the codes of texts");
  addOperands(*command, "CODE|TEXT", options->wanted,
              "Codes or their exact texts; without any, all of\nthem");
  addRowOptions(*command, options->rows, "code, text");
  command->callback([options, &exitStatus] { exitStatus = run(*options); });
}

}  // namespace vu::tool
