// The command line as a person meets it: the help, and what is said about a mistake.

#ifndef VU_TOOLS_USAGE_H_
#define VU_TOOLS_USAGE_H_

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
class Error;
class FormatterBase;
}  // namespace CLI

namespace vu::tool {

/// What lays out the help. The scripts for completion read it: an option's names and the word for
/// its value stand in front of two blanks or alone in their line.
std::shared_ptr<CLI::FormatterBase> helpFormatter();

/// The name of a command, its parents' in front: "vu suffixes build".
std::string fullName(const CLI::App& command);

/// Writes what is wrong with a command line, and what to do about it, to standard error.
void explain(const CLI::App& app, const CLI::Error& error);

/// "; did you mean NAME?" with the name that was most likely meant; "" when none is close.
std::string didYouMean(std::string_view typed, const std::vector<std::string>& names);

}  // namespace vu::tool

#endif  // VU_TOOLS_USAGE_H_
