// Asks the system once per thread where its stack lies, and keeps a failure as well: for the first
// thread the answer is in /proc, which a process that has locked itself in may not even try to
// open. Stacks grow downwards on every platform that the library runs on.

#include "pattern/stack_room.h"

#include <pthread.h>

#include <string_view>

namespace vu::detail {

void findThreadStack() noexcept {
  threadStack = {UINTPTR_MAX, UINTPTR_MAX};
  pthread_attr_t attributes;
  if (pthread_getattr_np(pthread_self(), &attributes) != 0) return;
  void* base = nullptr;
  std::size_t size = 0;
  if (pthread_attr_getstack(&attributes, &base, &size) == 0) {
    threadStack.low = reinterpret_cast<std::uintptr_t>(base);
    threadStack.high = threadStack.low + size;
  }
  pthread_attr_destroy(&attributes);
}

std::size_t groupStack(const char* pattern) noexcept {
  constexpr std::size_t kDeepest = 250, kLevel = 1024, kLongest = 6000, kReference = 512;
  const std::string_view text = pattern;
  const auto groups = static_cast<std::size_t>(std::count(text.begin(), text.end(), '('));
  return std::min(groups, kDeepest) * kLevel + std::min(groups, kLongest) * kReference;
}

}  // namespace vu::detail
