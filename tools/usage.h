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

/// What the help of a command lists, for programs: a line each of "command", "option" or "operand",
/// its names with commas between them, the word for its value, how that is completed, and the
/// description, with tabs between them. Completed by "files", by "words" (those with "|" between
/// them in the value), by "codes" or not at all. "..." ends a value that may be many.
std::string listing(const CLI::App& command);

/// What `words` behind "help" ask for: the help of the command that they name, or its listing where
/// "--list" stands in front of them. Says what is wrong and returns false when there is no such
/// one.
bool help(const CLI::App& app, std::vector<std::string> words, std::string& text);

/// Writes what is wrong with a command line, and what to do about it, to standard error.
void explain(const CLI::App& app, const CLI::Error& error);

/// "; did you mean NAME?" with the name that was most likely meant; "" when none is close.
std::string didYouMean(std::string_view typed, const std::vector<std::string>& names);

}  // namespace vu::tool

#endif  // VU_TOOLS_USAGE_H_
