// How often the test program has allocated memory so far, the library included.

#ifndef VU_TESTS_ALLOCATIONS_H_
#define VU_TESTS_ALLOCATIONS_H_

#include <atomic>

namespace vu::test {
extern std::atomic<long> allocations;
}  // namespace vu::test

#endif  // VU_TESTS_ALLOCATIONS_H_
