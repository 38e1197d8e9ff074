// Writing: every failure is noticed, and files appear whole or not at all.

#ifndef VU_TOOLS_OUTPUT_H_
#define VU_TOOLS_OUTPUT_H_

#include <string>
#include <string_view>

namespace vu::tool {

/// Thrown when whoever reads our output has gone away: not a failure.
struct ReaderGone {};

/// Writes all of `text` to standard output. Throws ReaderGone or Refusal.
void writeOut(std::string_view text);

/// What happens to a file that is there already.
enum class Existing { replaced, refused };

/// Throws Refusal for what can be told before anything is written: that a file is there and may not
/// be replaced, a link to nothing, a folder that is missing or may not be written.
void checkPlace(const std::string& path, Existing existing);

/// Makes the file at `path` with `text`: beside its place first, then there in one step, so that a
/// failure or a signal leaves what was there. A replaced file keeps its permissions. What is no
/// file (a device, a pipe, /dev/stdout) is written directly. Throws Refusal.
void writeFile(const std::string& path, std::string_view text, Existing existing);

}  // namespace vu::tool

#endif  // VU_TOOLS_OUTPUT_H_
