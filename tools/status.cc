// vu status: the service's result codes, both ways.

#include <algorithm>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

#include "tools/command.h"
#include "vu/foundation.h"

namespace vu::tool {
namespace {

constexpr unsigned int kAllCodes = VU_WEB_UNKNOWN_ERROR + 1;

void printRow(unsigned int code, const char* text) { std::cout << code << '\t' << text << '\n'; }

bool isCode(const std::string& text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

void explain(const std::string& what) {
  try {
    if (isCode(what)) {
      const auto code = str2val<unsigned int>(what);
      printRow(code, findStringByValue(code, statusTable, kAllCodes));
    } else {
      printRow(findValueByString(what, statusTable, kAllCodes), what.c_str());
    }
  } catch (const vu_exception&) {
    throw Refusal("no such status: " + what + "; \"vu status\" lists them all");
  }
}

}  // namespace

void addStatus(CLI::App& app, int& /*exitStatus*/) {
  auto what = std::make_shared<std::string>();
  CLI::App* status = app.add_subcommand("status", "Explain a status code, or find a text's code");
  CLI::Option* asked =
      status->add_option("CODE|TEXT", *what, "A code or its exact text; without it, all of them")
          ->option_text(" ");
  status->callback([what, asked] {
    if (asked->count() > 0) {
      explain(*what);
      return;
    }
    for (const sizeT_string_pair* row = statusTable; row->string != nullptr; ++row) {
      printRow(row->value, row->string);
    }
  });
}

}  // namespace vu::tool
