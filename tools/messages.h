// What the tool tells a person: lines on standard error.

#ifndef VU_TOOLS_MESSAGES_H_
#define VU_TOOLS_MESSAGES_H_

#include <string>
#include <string_view>

namespace vu::tool {

/// Names the command that messages come from from now on, such as "vu classify".
void setSpeaker(const std::string& command);

/// Writes "vu COMMAND: ", `text` and a line end to standard error. File names and arguments may
/// stand in `text` as they are: a terminal is shown them harmless.
void say(std::string_view text);

}  // namespace vu::tool

#endif  // VU_TOOLS_MESSAGES_H_
