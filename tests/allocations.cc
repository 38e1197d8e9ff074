#include "tests/allocations.h"

#include <cstdlib>
#include <new>

namespace vu::test {
std::atomic<long> allocations{0};
std::atomic<long> allocationsLeft{-1};
}  // namespace vu::test

void* operator new(std::size_t size) {
  ++vu::test::allocations;
  if (vu::test::allocationsLeft >= 0 && vu::test::allocationsLeft-- == 0) throw std::bad_alloc();
  if (void* memory = std::malloc(size > 0 ? size : 1)) return memory;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
