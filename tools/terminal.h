// What may be written to a terminal and nowhere else.

#ifndef VU_TOOLS_TERMINAL_H_
#define VU_TOOLS_TERMINAL_H_

#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace vu::tool {

/// A variable of the environment; one that is not set is empty.
inline std::string_view environment(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

/// Whether `file` is a terminal that obeys escape sequences.
inline bool obeysEscapes(int file) {
  const std::string_view terminal = environment("TERM");
  return isatty(file) == 1 && !terminal.empty() && terminal != "dumb";
}

/// Whether a person wants colours there, too; see no-color.org.
inline bool showsColours(int file) { return obeysEscapes(file) && environment("NO_COLOR").empty(); }

namespace colour {
inline constexpr std::string_view bold = "\033[1m";
inline constexpr std::string_view red = "\033[31m";
inline constexpr std::string_view green = "\033[32m";
inline constexpr std::string_view none = "\033[0m";
}  // namespace colour

}  // namespace vu::tool

#endif  // VU_TOOLS_TERMINAL_H_
