// vu status: the service's result codes, both ways.

#include <algorithm>
#include <memory>

#include <CLI/CLI.hpp>

#include "tools/command.h"
#include "tools/output.h"
#include "vu/foundation.h"

namespace vu::tool {
namespace {

constexpr unsigned int kAllCodes = VU_WEB_UNKNOWN_ERROR + 1;

std::string row(unsigned int code, const std::string& text) {
  return val2str(code) + "\t" + text + "\n";
}

bool isCode(const std::string& text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::string explain(const std::string& what) {
  try {
    if (isCode(what)) {
      const auto code = str2val<unsigned int>(what);
      return row(code, findStringByValue(code, statusTable, kAllCodes));
    }
    return row(findValueByString(what, statusTable, kAllCodes), what);
  } catch (const vu_exception&) {
    throw Refusal("no such status: " + what + "; \"vu status\" lists them all");
  }
}

}  // namespace

void addStatus(CLI::App& app) {
  auto what = std::make_shared<std::string>();
  CLI::App* status = app.add_subcommand("status", "Explain a status code, or find a text's code");
  CLI::Option* asked =
      status->add_option("CODE|TEXT", *what, "A code or its exact text; without it, all of them");
  status->callback([what, asked] {
    if (asked->count() > 0) {
      writeOut(explain(*what));
      return;
    }
    std::string all;
    for (const sizeT_string_pair* each = statusTable; each->string != nullptr; ++each) {
      all += row(each->value, each->string);
    }
    writeOut(all);
  });
}

}  // namespace vu::tool
