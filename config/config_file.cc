// The configuration file: lines of a name and a value.

#include <fstream>
#include <iostream>
#include <limits>

#include "vu/config.h"
#include "vu/pattern.h"

/// Lines come from a file as long as this lives, and from the program afterwards.
class vu_getopt::LinesOf {
 public:
  LinesOf(Origin& current, const Origin& file) : current_(current), before_(current) {
    current_ = file;
  }
  LinesOf(const LinesOf&) = delete;
  LinesOf& operator=(const LinesOf&) = delete;
  ~LinesOf() { current_ = before_; }

 private:
  Origin& current_;
  Origin before_;
};

int vu_getopt::setConfigFile(const char* path) {
  if (path == nullptr) {
    std::cout << "NULL" << std::endl;
    throw vu_exception("Null configuration file definition");
  }
  std::ifstream file(path);
  // A folder can be opened, but nothing of it can be read.
  if (!file || (file.peek(), file.bad())) {
    throw vu_exception(std::string("Cannot open configuration file [") + path + "]");
  }
  file.clear();
  paths_.emplace_back(path);
  const LinesOf lines(lineOrigin_, {Origin::file, paths_.size() - 1, 0});
  std::string line;
  while (file.good()) {
    std::getline(file, line);
    if (file.bad()) {
      throw vu_exception(std::string("Cannot read configuration file [") + path + "]");
    }
    ++lineOrigin_.line;
    parseConfigLine(line);
  }
  return 0;
}

void vu_getopt::parseConfigLine(const std::string& line) {
  static const vu_pcre form("^\\s*(\\w+)\\s+([\\S]+)", 3, -1);
  if (line.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) return;

  const char* text = line.data();
  auto remaining = static_cast<unsigned int>(line.size());
  skipSpace(&text, remaining);
  if (remaining == 0 || *text == '#') return;
  int pairs[9];
  if (form.match(text, static_cast<int>(remaining), 0, 0, pairs, 9) != 3) return;
  const std::string name(text + pairs[2], text + pairs[3]);

  int row = 0;
  while (row < optCount_ && name != optTable_[row].name) ++row;
  if (row == optCount_) {
    throw vu_exception("Unknown configure parameter in conf_file : " + name);
  }
  std::string& value = fileText_[static_cast<std::size_t>(row)];
  value.assign(text + pairs[4], text + pairs[5]);
  if (optTable_[row].type == 'b') {
    setFlag(row, str2val<long>(value), lineOrigin_);
  } else {
    setText(row, value.c_str(), lineOrigin_);
  }
}
