// What the targets of command lines and configuration files share.

#ifndef VU_FUZZ_SETTINGS_H_
#define VU_FUZZ_SETTINGS_H_

#include <deque>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "fuzz/support.h"
#include "tests/plain/numbers.h"
#include "tests/plain/settings.h"

namespace vu::fuzz {

/// An option table made of words: an option letter, a type letter and a name each.
class OptionTable {
 public:
  explicit OptionTable(const std::string& words) {
    std::istringstream stream(words);
    std::set<std::string> names;
    for (std::string word; rows_.size() < 20 && stream >> word;) {
      const bool isFlag = word.size() > 1 && word[1] == 'b';
      // A file for a flag would be one without a path.
      if (word.size() < 3 || !names.insert(word.substr(2)).second || (isFlag && word[0] == 'c')) {
        continue;
      }
      words_.push_back(word);
      const long count = static_cast<long>(rows_.size()) - 2;
      rows_.push_back({words_.back().c_str() + 2, word[0], word[1],
                       isFlag ? flagValue(count) : "7.5", "what it is"});
    }
    if (rows_.empty()) rows_.push_back({"level", 'l', 'd', "1", "never empty"});
    rows_.push_back({nullptr, 0, 0, nullptr, nullptr});
  }

  vu_opt_helper* rows() { return rows_.data(); }

 private:
  std::deque<std::string> words_;
  std::vector<vu_opt_helper> rows_;
};

/// A converted setting, told plainly.
inline std::string itemPlainly(const std::string& text, char type) {
  switch (type) {
    case 'd':
      return test::convertPlainly<int>(text, false);
    case 'e':
      return test::convertPlainly<double>(text, false);
    case 'l':
      return test::convertPlainly<unsigned int>(text, false);
    case 'p':
      return test::convertPlainly<unsigned short>(text, false);
    case 'u': {
      const std::string whole = test::convertPlainly<unsigned int>(text, false);
      return whole[0] == '<' ? whole : std::to_string(std::stoul(whole) & 0xffffU);
    }
    case 0:
      return "";
    default:
      return text;
  }
}

/// All that a store holds of a table: its values and where they come from.
inline std::string contentsOf(const vu_config& store, const vu_opt_helper* table) {
  std::string all;
  for (const vu_opt_helper* row = table; row->name != nullptr; ++row) {
    char type = 0;
    const std::string& text = store.getParam(row->name, type);
    expectEqual(row->type == 'b' ? 'd' : row->type, type, "a type letter");
    expectEqual(itemPlainly(text, type), test::itemOf(store, row->name), "a converted value");
    all += test::recordText(row->name, text, store.origin(row->name));
  }
  return all;
}

}  // namespace vu::fuzz

#endif  // VU_FUZZ_SETTINGS_H_
