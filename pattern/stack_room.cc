// Asks the system once per thread where its stack lies, and keeps a failure as well: for the first
// thread the answer is in /proc, which a process that has locked itself in may not even try to
// open. Stacks grow downwards on every platform that the library runs on.

#include "pattern/stack_room.h"

#include <pthread.h>

#include <cstdint>
#include <string_view>

namespace vu::detail {
namespace {

struct Stack {
  std::uintptr_t low;
  std::uintptr_t high;  // 0: not asked for yet; as `low`: the system could not tell
};

// Reached on every search: the model spares the call that finds a library's thread data.
thread_local Stack stack __attribute__((tls_model("initial-exec"))) = {0, 0};

__attribute__((noinline)) void findStack() noexcept {
  stack.low = stack.high = UINTPTR_MAX;
  pthread_attr_t attributes;
  if (pthread_getattr_np(pthread_self(), &attributes) != 0) return;
  void* base = nullptr;
  std::size_t size = 0;
  if (pthread_attr_getstack(&attributes, &base, &size) == 0) {
    stack.low = reinterpret_cast<std::uintptr_t>(base);
    stack.high = stack.low + size;
  }
  pthread_attr_destroy(&attributes);
}

}  // namespace

std::size_t stackRoom(std::size_t unknown) noexcept {
  if (stack.high == 0) findStack();
  const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
  return here > stack.low && here <= stack.high ? here - stack.low : unknown;
}

std::size_t groupStack(const char* pattern) noexcept {
  constexpr std::size_t kDeepest = 250, kLevel = 1024, kLongest = 6000, kReference = 512;
  const std::string_view text = pattern;
  const auto groups = static_cast<std::size_t>(std::count(text.begin(), text.end(), '('));
  return std::min(groups, kDeepest) * kLevel + std::min(groups, kLongest) * kReference;
}

}  // namespace vu::detail
