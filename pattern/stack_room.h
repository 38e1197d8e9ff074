// How much of the calling thread's stack is left, for code that recurses by its input.

#ifndef VU_PATTERN_STACK_ROOM_H_
#define VU_PATTERN_STACK_ROOM_H_

#include <cstddef>

namespace vu::detail {

/// Bytes between here and the end of the thread's stack; a cautious guess where that is not known,
/// as on a stack that the program has switched to by itself.
std::size_t stackRoom() noexcept;

}  // namespace vu::detail

#endif  // VU_PATTERN_STACK_ROOM_H_
