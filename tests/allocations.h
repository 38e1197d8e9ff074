// Counts what the allocators under the library hand out, and makes them fail: operator new, and
// those of PCRE and OpenSSL.

#ifndef VU_TESTS_ALLOCATIONS_H_
#define VU_TESTS_ALLOCATIONS_H_

#include <atomic>

namespace vu::test {

extern std::atomic<long> allocations;      ///< so far
extern std::atomic<long> blocksHeld;       ///< not given back yet
extern std::atomic<long> allocationsLeft;  ///< until one fails; negative: none does
extern std::atomic<bool> staysEmpty;       ///< whether all fail behind the one that does
extern std::atomic<long> failures;         ///< allocations that were made to fail so far

/// Puts PCRE and OpenSSL under the counters; before they allocate anything. False: too late.
bool watchLibraries();

}  // namespace vu::test

#endif  // VU_TESTS_ALLOCATIONS_H_
