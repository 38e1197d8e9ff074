// Counts what the allocators under the library hand out, and makes them fail: operator new, and
// those of PCRE and OpenSSL.

#ifndef VU_TESTS_ALLOCATIONS_H_
#define VU_TESTS_ALLOCATIONS_H_

#include <atomic>
#include <cstddef>

namespace vu::test {

extern std::atomic<long> allocations;      ///< so far
extern std::atomic<long> blocksHeld;       ///< not given back yet
extern std::atomic<long> allocationsLeft;  ///< until one fails; negative: none does
extern std::atomic<bool> staysEmpty;       ///< whether all fail behind the one that does
extern std::atomic<long> failures;         ///< allocations that were made to fail so far

/// Puts an engine of patterns under the counters that does not allocate by operator new; it is
/// there with such an engine only.
[[gnu::weak]] void watchPatterns(void* (*allocate)(std::size_t), void (*release)(void*));

/// Puts the engine and OpenSSL under the counters; before they allocate anything. False: too late.
bool watchLibraries();

}  // namespace vu::test

#endif  // VU_TESTS_ALLOCATIONS_H_
