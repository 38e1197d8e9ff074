// How a text is written where some of its bytes would be taken for something else.

#ifndef VU_TOOLS_TEXT_H_
#define VU_TOOLS_TEXT_H_

#include <string>
#include <string_view>

#include "tools/buffer.h"

namespace vu::tool {

/// Adds a text as a terminal may be shown it, which obeys control characters: everything but
/// printable ASCII becomes "\xNN", and a backslash "\\".
void appendVisible(Buffer& out, std::string_view text);
std::string visible(std::string_view text);

/// Writes a text as a field between tabs, in which tabs, line ends and backslashes would end it or
/// be taken for such: "\t", "\n", "\r", "\\". Returns where it ends, which is twice the length of
/// `text` behind `at` at the most.
char* putTabSafe(char* at, std::string_view text);

/// Adds a text as a field between commas, as RFC 4180 quotes it.
void appendCommaSafe(Buffer& out, std::string_view text);

/// Adds a text as a string of JSON, its quotes included. A text is bytes and JSON is Unicode: what
/// is not UTF-8 becomes U+FFFD, one for the longest piece that a sequence could have begun with.
void appendJson(Buffer& out, std::string_view text);

}  // namespace vu::tool

#endif  // VU_TOOLS_TEXT_H_
