// How much of the calling thread's stack is left, for code whose need of it depends on its input.

#ifndef VU_PATTERN_STACK_ROOM_H_
#define VU_PATTERN_STACK_ROOM_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace vu::detail {

/// Where the calling thread's stack lies.
struct ThreadStack {
  std::uintptr_t low;
  std::uintptr_t high;  ///< 0: not asked for yet; as `low`: the system could not tell.

  bool holds(std::uintptr_t address) const { return address > low && address <= high; }
};

// Reached on every search: the model spares the call that finds a library's thread data.
inline thread_local ThreadStack threadStack __attribute__((tls_model("initial-exec"))) = {0, 0};

/// Asks the system for `threadStack`.
__attribute__((noinline)) void findThreadStack() noexcept;

/// Bytes between here and the end of the thread's stack; `unknown` where the system cannot tell, as
/// on a stack that the program has switched to by itself. Asks the system once a thread.
inline std::size_t stackRoom(std::size_t unknown = std::size_t{16} << 10) noexcept {
  const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
  if (!threadStack.holds(here)) {
    if (threadStack.high == 0) findThreadStack();
    if (!threadStack.holds(here)) return unknown;
  }
  return here - threadStack.low;
}

/// How much of it just-in-time code may take for a pattern of so many compiled bytes. Its frame has
/// at most two words for each item of the pattern and each offset, an item has two bytes or more,
/// and no frame is larger than 64 KiB; calls, and signals on the way, need some more.
constexpr std::size_t jitFrame(std::size_t compiledBytes) {
  constexpr std::size_t kLargest = std::size_t{64} << 10;
  constexpr std::size_t kSpare = std::size_t{4} << 10;
  return std::min(compiledBytes * 2 * sizeof(void*), kLargest) + kSpare;
}

/// How much of it an engine may take to compile `pattern`, beside what it takes for any. It
/// recurses for groups inside of each other, of which neither engine allows more than 250, and less
/// deeply along a chain of references from group to group; there is room for 6000 in what compiles.
std::size_t groupStack(const char* pattern) noexcept;

}  // namespace vu::detail

#endif  // VU_PATTERN_STACK_ROOM_H_
