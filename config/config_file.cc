// The configuration file: lines of a name and a value, ^\s*(\w+)\s+([\S]+) as a regular expression.

#include <fstream>
#include <iostream>
#include <string_view>

#include "config/sources.h"
#include "vu/config.h"

namespace {

using vu::detail::isDigit;
using vu::detail::isSpace;

bool isWord(char c) {
  return isDigit(c) || c == '_' || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool isNoSpace(char c) { return !isSpace(c); }

/// Cuts the bytes of one kind off the front of a text.
std::string_view take(std::string_view& text, bool (*isOfKind)(char)) {
  std::size_t length = 0;
  while (length < text.size() && isOfKind(text[length])) ++length;
  const std::string_view front = text.substr(0, length);
  text.remove_prefix(length);
  return front;
}

}  // namespace

int vu_getopt::setConfigFile(const char* path) {
  if (path == nullptr) {
    std::cout << "NULL" << std::endl;
    throw vu_exception(vu_failure::file, "Null configuration file definition");
  }
  const auto failure = [path](const char* what) {
    return vu_exception(vu_failure::file,
                        std::string("Cannot ") + what + " configuration file [" + path + "]");
  };
  std::ifstream file(path);
  // A folder can be opened, but nothing of it can be read.
  if (!file || (file.peek(), file.bad())) throw failure("open");
  file.clear();
  vu::detail::Sources::LinesOf lines(*sources_, path);
  std::string line;
  while (file.good()) {
    std::getline(file, line);
    if (file.bad()) throw failure("read");
    lines.next();
    parseConfigLine(line);
  }
  return 0;
}

void vu_getopt::parseConfigLine(const std::string& line) {
  std::string_view rest = line;
  take(rest, isSpace);
  const std::string_view name = take(rest, isWord);  // none where a comment starts
  const std::string_view between = take(rest, isSpace);
  const std::string_view value = take(rest, isNoSpace);
  if (name.empty() || between.empty() || value.empty()) return;

  int row = 0;
  while (row < optCount_ && name != optTable_[row].name) ++row;
  if (row == optCount_) {
    throw vu_exception(vu_failure::settings,
                       "Unknown configure parameter in conf_file : " + std::string(name));
  }
  if (fileText_ == nullptr) {
    fileText_ = std::make_unique<std::string[]>(static_cast<unsigned int>(optCount_));
  }
  std::string& text = fileText_[static_cast<std::size_t>(row)];
  text.assign(value);
  const bool isFlag = optTable_[row].type == 'b';
  params_[static_cast<std::size_t>(row)].value =
      isFlag ? flagValue(str2val<long>(text)) : text.c_str();
  sources_->set(row, sources_->line());
}
