// Counts what operator new hands out, the library's calls included, and makes it fail.

#ifndef VU_TESTS_ALLOCATIONS_H_
#define VU_TESTS_ALLOCATIONS_H_

#include <atomic>

namespace vu::test {
extern std::atomic<long> allocations;      ///< so far
extern std::atomic<long> allocationsLeft;  ///< until one fails; negative: none does
}  // namespace vu::test

#endif  // VU_TESTS_ALLOCATIONS_H_
