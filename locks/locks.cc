#include "vu/locks.h"

#include <cerrno>
#include <ctime>

#include "locks/deadline.h"

#include "vu/foundation.h"

vu_rwlock_t vu_rwlock::_rwlock = PTHREAD_RWLOCK_INITIALIZER;

namespace {

[[gnu::noinline]] [[noreturn]] void refuseEmpty() {
  throw vu_exception(vu_failure::lock, "Empty RW Lock");
}

template <auto timedLock>
int acquireUntil(pthread_rwlock_t* lock, int timeout) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  const timespec deadline = vu::detail::deadlineAfter(now, timeout);
  return timedLock(lock, &deadline);
}

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
// NOLINTNEXTLINE(bugprone-exception-escape): by design
vu_readlock::~vu_readlock() noexcept(false) { releaseAtEnd(); }

int vu_readlock::rwlock_func(int timeout) {
  if (_lock == nullptr) _lock = &_rwlock;
  return acquireNow(_lock, timeout);
}

int vu_readlock::acquireLater(pthread_rwlock_t* lock, int timeout) {
  return acquireUntil<pthread_rwlock_timedrdlock>(lock, timeout);
}

int vu_readlock::lock(int timeout) { return acquire(timeout); }
int vu_readlock::unlock() { return release(); }

vu_writelock::vu_writelock(int timeout) : vu_writelock(_rwlock, timeout) {}
// NOLINTNEXTLINE(bugprone-exception-escape): by design
vu_writelock::~vu_writelock() noexcept(false) { releaseAtEnd(); }

int vu_writelock::rwlock_func(int timeout) {
  if (_lock == nullptr) _lock = &_rwlock;
  return acquireNow(_lock, timeout);
}

int vu_writelock::acquireLater(pthread_rwlock_t* lock, int timeout) {
  return acquireUntil<pthread_rwlock_timedwrlock>(lock, timeout);
}

int vu_writelock::lock(int timeout) { return acquire(timeout); }
int vu_writelock::unlock() { return release(); }
