#include "vu/locks.h"

#include <cerrno>
#include <ctime>

#include "locks/deadline.h"

#include "vu/foundation.h"

vu_rwlock_t vu_rwlock::_rwlock = PTHREAD_RWLOCK_INITIALIZER;

namespace {

// What is rare stands apart, so that the common way needs no room of its own on the stack.

template <auto timedLock>
[[gnu::noinline]] int acquireUntil(pthread_rwlock_t* lock, int timeout) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  const timespec deadline = vu::detail::deadlineAfter(now, timeout);
  return timedLock(lock, &deadline);
}

[[gnu::noinline]] [[noreturn]] void refuseEmpty() {
  throw vu_exception(vu_failure::lock, "Empty RW Lock");
}

/// The POSIX calls for one kind of access.
template <auto untimedLock, auto tryLock, auto timedLock>
struct Calls {
  static int acquire(pthread_rwlock_t* lock, int timeout) {
    if (timeout <= 0) return untimedLock(lock);
    // A lock that is free needs no clock: POSIX has the timed call take it whatever the deadline,
    // even one that is no time at all. Whatever else the try returns, the timed call decides.
    return tryLock(lock) == 0 ? 0 : acquireUntil<timedLock>(lock, timeout);
  }
};

using Reading = Calls<pthread_rwlock_rdlock, pthread_rwlock_tryrdlock, pthread_rwlock_timedrdlock>;
using Writing = Calls<pthread_rwlock_wrlock, pthread_rwlock_trywrlock, pthread_rwlock_timedwrlock>;

}  // namespace

vu_rwlock::~vu_rwlock() noexcept(false) = default;

int vu_rwlock::acquire(int timeout) {
  if (_locked) return EDEADLK;
  const int result = rwlock_func(timeout);
  begin(result);
  return result;
}

int vu_rwlock::release() {
  if (!_locked) return EPERM;
  _locked = false;
  return pthread_rwlock_unlock(_lock);
}

void vu_rwlock::releaseAtEnd() {
  if (_lock == nullptr) refuseEmpty();
  release();
}

// The constructors do what `rwlock_func` of their class does: there is no other while they run.

vu_readlock::vu_readlock(int timeout) : vu_readlock(_rwlock, timeout) {}
vu_readlock::vu_readlock(vu_rwlock_t& lock, int timeout) : vu_rwlock(&lock) {
  begin(Reading::acquire(&lock, timeout));
}
// NOLINTNEXTLINE(bugprone-exception-escape): by design
vu_readlock::~vu_readlock() noexcept(false) { releaseAtEnd(); }

int vu_readlock::rwlock_func(int timeout) {
  if (_lock == nullptr) _lock = &_rwlock;
  return Reading::acquire(_lock, timeout);
}

int vu_readlock::lock(int timeout) { return acquire(timeout); }
int vu_readlock::unlock() { return release(); }

vu_writelock::vu_writelock(int timeout) : vu_writelock(_rwlock, timeout) {}
vu_writelock::vu_writelock(vu_rwlock_t& lock, int timeout) : vu_rwlock(&lock) {
  begin(Writing::acquire(&lock, timeout));
}
// NOLINTNEXTLINE(bugprone-exception-escape): by design
vu_writelock::~vu_writelock() noexcept(false) { releaseAtEnd(); }

int vu_writelock::rwlock_func(int timeout) {
  if (_lock == nullptr) _lock = &_rwlock;
  return Writing::acquire(_lock, timeout);
}

int vu_writelock::lock(int timeout) { return acquire(timeout); }
int vu_writelock::unlock() { return release(); }
