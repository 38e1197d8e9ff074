// The command line and the configuration file, told plainly: getopt says which options there are,
// and lines are cut up by hand.

#ifndef VU_TESTS_PLAIN_SETTINGS_H_
#define VU_TESTS_PLAIN_SETTINGS_H_

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/plain/numbers.h"
#include "tests/support.h"
#include "vu/config.h"

namespace vu::test {

/// An argument vector of its own memory; the first argument is the program's name.
class Arguments {
 public:
  explicit Arguments(std::vector<std::string> texts) : texts_(std::move(texts)) {
    for (std::string& each : texts_) vector_.push_back(each.data());
    vector_.push_back(nullptr);
  }
  int count() const { return static_cast<int>(texts_.size()); }
  char* const* vector() const { return vector_.data(); }

 private:
  std::vector<std::string> texts_;
  std::vector<char*> vector_;
};

/// One record, as text.
inline std::string recordText(const std::string& name, const std::string& value,
                              const std::string& origin) {
  return name + "=" + value + " (" + origin + ")\n";
}

/// Every record of a parser, as text.
inline std::string recordsOf(const vu_getopt& parser) {
  std::string all;
  for (int i = 0; i < parser.optCount(); ++i) {
    const config_helper& record = parser.params()[i];
    int type = 0;
    const bool isSame = parser.getOptItem(record.name, type) == record.value;
    if (!isSame || type != static_cast<signed char>(record.type)) all += "another value of ";
    all += recordText(record.name,
                      record.type == 'b' ? val2str(flagCount(record.value)) : record.value,
                      parser.origin(i));
  }
  return all;
}

/// A setting as it is converted by its type letter; the message in brackets when it is not.
inline std::string itemOf(const vu_config& store, const char* name) {
  char type = 0;
  messageOf([&] { store.getParam(name, type); });
  config_value value{};
  const std::string message = messageOf([&] { value = store.getConfItem(name); });
  if (!message.empty()) return "<" + message + ">";
  unsigned char bytes[sizeof value];
  std::memcpy(bytes, &value, sizeof value);
  const std::size_t used = type == 'p' || type == 'u'   ? 2
                           : type == 'd' || type == 'l' ? 4
                                                        : sizeof value;
  if (std::any_of(bytes + used, bytes + sizeof value, [](auto byte) { return byte != 0; })) {
    return "more than the value";
  }
  switch (type) {
    case 'd':
      return exactly(value.asInt);
    case 'e':
      return exactly(value.asDouble);
    case 'l':
      return exactly(value.asUInt);
    case 'p':
    case 'u':
      return exactly(value.asUShort);
    case 0:
      return value.asText == nullptr ? "" : "not zero";
    default:
      return value.asText;
  }
}

/// The records that a command line leads to, or its message, "usage" for the usage text.
inline std::string recordsOf(const Arguments& arguments, vu_opt_helper* table) {
  std::string all;
  const std::string message =
      messageOf([&] { all = recordsOf(vu_getopt(arguments.count(), arguments.vector(), table)); });
  if (message.rfind("\nUsage: ", 0) == 0) return "usage";
  return message.empty() ? all : message;
}

/// The same, told plainly. Leaves getopt's state, which is the process's, as getopt leaves it.
class PlainSettings {
 public:
  explicit PlainSettings(const vu_opt_helper* table) : table_(table) {
    for (const vu_opt_helper* row = table; row->name != nullptr; ++row) {
      const bool flag = row->type == 'b';
      values_.push_back({flag ? "" : row->value, flag ? flagCount(row->value) : 0, "default"});
    }
  }

  std::string parse(const Arguments& arguments) {
    std::string letters;
    bool hasKeys = false;
    for (const vu_opt_helper* row = table_; row->name != nullptr; ++row) {
      hasKeys = hasKeys || row->option == 'x';
      if (row->option == 'x' || row->option == 'X') continue;
      letters += std::string(1, row->option) + (row->type == 'b' ? "" : ":");
    }
    if (hasKeys) letters += "x:";
    bool usage = false;
    opterr = 0;
    optind = 0;
    const std::string message = messageOf([&] {
      while (!usage) {
        const int c = getopt(arguments.count(), arguments.vector(), letters.c_str());
        if (c == -1 || c == 255) break;
        usage = c == '?' || !apply(static_cast<char>(c), optarg);
      }
    });
    return usage ? "usage" : message.empty() ? records() : message;
  }

  std::string records() const {
    std::string all;
    for (std::size_t i = 0; i < values_.size(); ++i) {
      const Value& value = values_[i];
      all += recordText(table_[i].name, table_[i].type == 'b' ? val2str(value.count) : value.text,
                        value.origin);
    }
    return all;
  }

  void readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file || (file.peek(), file.bad())) {
      throw vu_exception("Cannot open configuration file [" + path + "]");
    }
    file.clear();
    std::stringstream content;
    if (file.peek() != EOF) content << file.rdbuf();
    std::string line;
    for (long number = 1; std::getline(content, line); ++number) {
      readLine(line, path + ":" + std::to_string(number));
    }
  }

  void readLine(std::string_view line, const std::string& origin) {
    const auto isSpace = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
    const auto isWord = [](char c) { return c > 0 && (std::isalnum(c) != 0 || c == '_'); };
    std::size_t at = 0;
    const auto take = [&line, &at](const auto& isWanted) {
      const std::size_t from = at;
      while (at < line.size() && isWanted(line[at])) ++at;
      return std::string(line.substr(from, at - from));
    };
    take(isSpace);
    const std::string name = take(isWord);
    const std::string between = take(isSpace);
    const std::string value = take([&](char c) { return !isSpace(c); });
    if (name.empty() || between.empty() || value.empty()) return;
    std::size_t row = 0;
    while (row < values_.size() && name != table_[row].name) ++row;
    if (row == values_.size()) {
      throw vu_exception("Unknown configure parameter in conf_file : " + name);
    }
    values_[row] = {upToNul(value), table_[row].type == 'b' ? str2val<long>(value) : 0, origin};
  }

 private:
  struct Value {
    std::string text;
    long count;
    std::string origin;
  };

  bool apply(char letter, const char* argument) {
    const bool isKey = letter == 'x' || letter == 'X';
    const std::string text = argument != nullptr ? argument : "";
    const std::size_t equals = text.find('=');
    for (std::size_t i = 0; i < values_.size(); ++i) {
      const vu_opt_helper& row = table_[i];
      if (row.option != letter) continue;
      if (isKey && (equals == std::string::npos ||
                    std::string(row.name).rfind(text.substr(0, equals), 0) != 0)) {
        continue;
      }
      if (letter == 'c') readFile(text);
      Value value{isKey ? text.substr(equals + 1) : text, values_[i].count, "command line"};
      if (row.type == 'b') {
        value.count = isKey                     ? static_cast<long>(str2val<unsigned>(value.text))
                      : value.count == LONG_MAX ? LONG_MAX
                                                : value.count + 1;
      } else if (argument == nullptr) {
        return false;
      }
      values_[i] = value;
      return true;
    }
    return false;
  }

  const vu_opt_helper* table_;
  std::vector<Value> values_;
};

}  // namespace vu::test

#endif  // VU_TESTS_PLAIN_SETTINGS_H_
