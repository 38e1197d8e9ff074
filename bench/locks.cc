// Lock guards, beside the bare calls.

#include "vu/locks.h"

#include <pthread.h>

#include <thread>

#include "bench/support.h"

namespace vu::bench {
namespace {

constexpr int kMilliseconds = 1000;

/// Shared by the threads of a benchmark.
vu_rwlock_t lock = PTHREAD_RWLOCK_INITIALIZER;

/// That a guard excludes whom it should, before its price is of any interest.
template <typename Guard>
void requireExcluded(int expected) {
  const Guard guard(lock);
  require(guard.owns_lock(), "a free lock is refused");
  int found = 0;
  std::thread([&] {
    found = pthread_rwlock_tryrdlock(&lock);
    if (found == 0) pthread_rwlock_unlock(&lock);
  }).join();
  require((found != 0) == (expected != 0), "a guard does not hold as it should");
}

template <typename Guard, int timeout>
void ours(benchmark::State& state) {
  if (state.threads() == 1) requireExcluded<Guard>(std::is_same_v<Guard, vu_writelock> ? 1 : 0);
  measureShort(state, [] {
    const Guard guard(lock, timeout);
    const Guard* known = &guard;  // elsewhere: the compiler has to make the guard as it is
    benchmark::DoNotOptimize(known);
    return guard.owns_lock();
  });
}

template <int (*acquire)(pthread_rwlock_t*)>
void bare(benchmark::State& state) {
  if (state.threads() == 1) {
    require(acquire(&lock) == 0 && pthread_rwlock_unlock(&lock) == 0, "a free lock is refused");
  }
  measureShort(state, [] {
    const int result = acquire(&lock);
    pthread_rwlock_unlock(&lock);
    return result;
  });
}

}  // namespace

void registerLocks() {
  add("locks/read/vu", ours<vu_readlock, 0>);
  add("locks/read-timed/vu", ours<vu_readlock, kMilliseconds>);
  add("locks/read/pthread", bare<pthread_rwlock_rdlock>);
  add("locks/write/vu", ours<vu_writelock, 0>);
  add("locks/write-timed/vu", ours<vu_writelock, kMilliseconds>);
  add("locks/write/pthread", bare<pthread_rwlock_wrlock>);
  // Readers that get in each other's way.
  add("locks/read-shared/vu", ours<vu_readlock, 0>)->ThreadRange(1, 4)->UseRealTime();
  add("locks/read-shared/pthread", bare<pthread_rwlock_rdlock>)->ThreadRange(1, 4)->UseRealTime();
}

}  // namespace vu::bench
