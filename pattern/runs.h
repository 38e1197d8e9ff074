// Where runs of the characters end that tags of XML are made of. Done in the fastest way that every
// machine of the target has: the build chooses the file.

#ifndef VU_PATTERN_RUNS_H_
#define VU_PATTERN_RUNS_H_

namespace vu::detail {

/// Where the first byte from `at` on stands that no name has; `end` when there is none.
int endOfName(const char* text, int at, int end) noexcept;
/// The same for what may stand between a tag's name and its end.
int endOfAttributes(const char* text, int at, int end) noexcept;

}  // namespace vu::detail

#endif  // VU_PATTERN_RUNS_H_
