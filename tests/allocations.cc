#include "tests/allocations.h"

#include <cstdlib>
#include <new>

#include <openssl/crypto.h>

namespace vu::test {

std::atomic<long> allocations{0};
std::atomic<long> blocksHeld{0};
std::atomic<long> allocationsLeft{-1};
std::atomic<bool> staysEmpty{false};
std::atomic<long> failures{0};

namespace {

bool fails() {
  ++allocations;
  if (allocationsLeft < 0 || allocationsLeft-- > 0) return false;
  if (staysEmpty) allocationsLeft = 0;
  ++failures;
  return true;
}

void* allocate(std::size_t size) {
  void* const block = fails() ? nullptr : std::malloc(size > 0 ? size : 1);
  if (block != nullptr) ++blocksHeld;
  return block;
}

void release(void* block) {
  if (block != nullptr) --blocksHeld;
  std::free(block);
}

void* againForOpenSsl(void* block, std::size_t size, const char* /*file*/, int /*line*/) {
  if (block == nullptr) return allocate(size);
  if (size > 0) return fails() ? nullptr : std::realloc(block, size);
  release(block);
  return nullptr;
}

}  // namespace

bool watchLibraries() {
  if (watchPatterns != nullptr) watchPatterns(allocate, release);
  return CRYPTO_set_mem_functions(
             [](std::size_t size, const char* /*file*/, int /*line*/) { return allocate(size); },
             againForOpenSsl,
             [](void* block, const char* /*file*/, int /*line*/) { release(block); }) == 1;
}

}  // namespace vu::test

void* operator new(std::size_t size) {
  if (void* const block = vu::test::allocate(size)) return block;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
// A sanitizer's own forms would not go through the ones above, as the standard library's do.
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return vu::test::allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return vu::test::allocate(size);
}
void operator delete(void* block) noexcept { vu::test::release(block); }
void operator delete(void* block, std::size_t /*size*/) noexcept { vu::test::release(block); }
void operator delete[](void* block) noexcept { vu::test::release(block); }
void operator delete[](void* block, std::size_t /*size*/) noexcept { vu::test::release(block); }
