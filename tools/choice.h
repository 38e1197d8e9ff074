// An option whose value is one of a few words.

#ifndef VU_TOOLS_CHOICE_H_
#define VU_TOOLS_CHOICE_H_

#include <map>
#include <string>

#include <CLI/CLI.hpp>

namespace vu::tool {

/// Adds the option `names` to `command`; `value` becomes what the word given stands for, and any
/// other word is wrong usage.
template <typename Value>
void addChoice(CLI::App& command, const std::string& names, Value& value,
               const std::map<std::string, Value>& words, const std::string& description) {
  command
      .add_option_function<std::string>(
          names, [&value, &words](const std::string& word) { value = words.at(word); }, description)
      ->check(CLI::IsMember(&words).description("one word"))
      ->option_text("WORD");
}

}  // namespace vu::tool

#endif  // VU_TOOLS_CHOICE_H_
