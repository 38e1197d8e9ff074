// The command line and the configuration file, told plainly: getopt says which options there are,
// and a regular expression what a line holds.

#ifndef VU_TESTS_PLAIN_SETTINGS_H_
#define VU_TESTS_PLAIN_SETTINGS_H_

#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/plain/numbers.h"
#include "tests/support.h"
#include "vu/config.h"
#include "vu/pattern.h"

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
  // The number in front of the value; nothing stands behind it.
  const auto number = [&value](auto kind) {
    std::memcpy(&kind, &value, sizeof kind);
    config_value alone{};
    std::memcpy(&alone, &kind, sizeof kind);
    // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): every byte counts
    return exactly(kind) + (std::memcmp(&alone, &value, sizeof value) == 0 ? "" : " and more");
  };
  if (type == 'd') return number(0);
  if (type == 'e') return number(0.0);
  if (type == 'l') return number(0U);
  if (type == 'p' || type == 'u') return number(static_cast<unsigned short>(0));
  if (type == 0) return value.asText == nullptr ? "" : "not zero";
  return value.asText;
}

/// A converted setting, told plainly.
inline std::string itemPlainly(const std::string& text, char type) {
  if (type == 'd') return convertPlainly<int>(text, false);
  if (type == 'e') return convertPlainly<double>(text, false);
  if (type == 'p') return convertPlainly<unsigned short>(text, false);
  if (type == 0) return "";
  if (type != 'l' && type != 'u') return text;
  const std::string whole = convertPlainly<unsigned int>(text, false);
  return type == 'l' || whole[0] == '<' ? whole : std::to_string(std::stoul(whole) & 0xffffU);
}

/// All that a store holds of a table.
inline std::string contentsOf(const vu_config& store, const vu_opt_helper* table = opt_helper) {
  std::string all;
  for (const vu_opt_helper* row = table; row->name != nullptr; ++row) {
    char type = 0;
    std::string text = store.getParam(row->name, type);
    const bool isSame = itemPlainly(text, type) == itemOf(store, row->name);
    if (!isSame || type != (row->type == 'b' ? 'd' : row->type)) text += ", converted wrongly,";
    all += recordText(row->name, text, store.origin(row->name));
  }
  return all;
}

/// What a command line and files lead to, told plainly. Leaves getopt's state, which is the
/// process's, as getopt leaves it.
class PlainSettings {
 public:
  explicit PlainSettings(const vu_opt_helper* table) : table_(table) {
    for (const vu_opt_helper* row = table; row->name != nullptr; ++row) {
      const bool flag = row->type == 'b';
      values_.push_back({flag ? val2str(flagCount(row->value)) : row->value, "default"});
    }
  }

  /// All records, or the message; "usage" for the usage text.
  std::string parse(const Arguments& arguments) {
    std::string letters;
    bool hasKeys = false;
    for (const vu_opt_helper* row = table_; row->name != nullptr; ++row) {
      hasKeys = hasKeys || row->option == 'x';
      if (row->option == 'x' || row->option == 'X') continue;
      letters += std::string(1, row->option) + (row->type == 'b' ? "" : ":");
    }
    if (hasKeys) letters += "x:";
    opterr = 0;
    optind = 0;
    const std::string message = messageOf([&] {
      while (true) {
        const int c = getopt(arguments.count(), arguments.vector(), letters.c_str());
        if (c == -1 || c == 255) break;
        if (c == '?' || !apply(static_cast<char>(c), optarg)) throw vu_exception("usage");
      }
    });
    return message.empty() ? records() : message;
  }

  /// All records, from row `first` on.
  std::string records(std::size_t first = 0) const {
    std::string all;
    for (std::size_t i = first; i < values_.size(); ++i) {
      all += recordText(table_[i].name, values_[i].text, values_[i].origin);
    }
    return all;
  }

  /// What nobody could read of the rows behind the first: the first complaint of a reload.
  std::string complaint() const {
    for (std::size_t i = 1; i < values_.size(); ++i) {
      const char type = table_[i].type == 'b' ? 'd' : table_[i].type;
      const std::string item = itemPlainly(values_[i].text, type);
      if (item[0] == '<' && std::strchr("delpu", type) != nullptr) {
        return table_[i].name + (" (" + values_[i].origin + "): ") +
               item.substr(1, item.size() - 2);
      }
    }
    return "";
  }

  void readFile(const std::string& path) {
    std::error_code none;
    if (!std::filesystem::is_regular_file(path, none)) {
      throw vu_exception("Cannot open configuration file [" + path + "]");
    }
    std::istringstream content(contentOf(path));
    std::string line;
    for (long number = 1; std::getline(content, line); ++number) {
      static const vu_pcre form("^\\s*(\\w+)\\s+([\\S]+)", 3, -1);
      int at[9];
      if (form.match(line.data(), static_cast<int>(line.size()), 0, 0, at, 9) != 3) continue;
      const std::string name(line.data() + at[2], line.data() + at[3]);
      const std::string value(line.data() + at[4], line.data() + at[5]);
      std::size_t row = 0;
      while (row < values_.size() && name != table_[row].name) ++row;
      if (row == values_.size()) {
        throw vu_exception("Unknown configure parameter in conf_file : " + name);
      }
      values_[row] = {table_[row].type == 'b' ? val2str(str2val<long>(value)) : upToNul(value),
                      path + ":" + std::to_string(number)};
    }
  }

 private:
  struct Value {
    std::string text;
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
      std::string value = isKey ? text.substr(equals + 1) : text;
      if (row.type == 'b') {
        const long count = str2val<long>(values_[i].text);
        value = val2str(isKey               ? static_cast<long>(str2val<unsigned>(value))
                        : count == LONG_MAX ? count
                                            : count + 1);
      } else if (argument == nullptr) {
        return false;
      }
      values_[i] = {value, "command line"};
      return true;
    }
    return false;
  }

  const vu_opt_helper* table_;
  std::vector<Value> values_;
};

}  // namespace vu::test

#endif  // VU_TESTS_PLAIN_SETTINGS_H_
