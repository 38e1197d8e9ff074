#include "vu/locks.h"

#include <cerrno>
#include <ctime>

#include "locks/deadline.h"

#include "vu/foundation.h"

vu_rwlock_t vu_rwlock::_rwlock = PTHREAD_RWLOCK_INITIALIZER;

namespace {

/// The POSIX calls for one kind of access.
struct Calls {
  int (*lock)(pthread_rwlock_t*);
  int (*tryLock)(pthread_rwlock_t*);
  int (*timedLock)(pthread_rwlock_t*, const timespec*);
};

int acquireWith(const Calls& calls, pthread_rwlock_t* lock, int timeout) {
  if (timeout <= 0) return calls.lock(lock);
  // A lock that is free needs no clock: POSIX has the timed call take it whatever the deadline, even
  // one that is no time at all. Whatever else the try returns, the timed call decides.
  if (calls.tryLock(lock) == 0) return 0;
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  const timespec deadline = vu::detail::deadlineAfter(now, timeout);
  return calls.timedLock(lock, &deadline);
}

}  // namespace

vu_rwlock::~vu_rwlock() noexcept(false) = default;

int vu_rwlock::acquire(int timeout) {
  if (_locked) return EDEADLK;
  _result = rwlock_func(timeout);
  _locked = _result == 0;
  return _result;
}

int vu_rwlock::release() {
  if (!_locked) return EPERM;
  _locked = false;
  return pthread_rwlock_unlock(_lock);
}

void vu_rwlock::releaseAtEnd() {
  if (_lock == nullptr) throw vu_exception(vu_failure::lock, "Empty RW Lock");
  release();
}

vu_readlock::vu_readlock(int timeout) : vu_rwlock(nullptr) { acquire(timeout); }
vu_readlock::vu_readlock(vu_rwlock_t& lock, int timeout) : vu_rwlock(&lock) { acquire(timeout); }
// NOLINTNEXTLINE(bugprone-exception-escape): by design
vu_readlock::~vu_readlock() noexcept(false) { releaseAtEnd(); }

int vu_readlock::rwlock_func(int timeout) {
  if (_lock == nullptr) _lock = &_rwlock;
  return acquireWith({pthread_rwlock_rdlock, pthread_rwlock_tryrdlock, pthread_rwlock_timedrdlock},
                     _lock, timeout);
}

int vu_readlock::lock(int timeout) { return acquire(timeout); }
int vu_readlock::unlock() { return release(); }

vu_writelock::vu_writelock(int timeout) : vu_rwlock(nullptr) { acquire(timeout); }
vu_writelock::vu_writelock(vu_rwlock_t& lock, int timeout) : vu_rwlock(&lock) { acquire(timeout); }
// NOLINTNEXTLINE(bugprone-exception-escape): by design
vu_writelock::~vu_writelock() noexcept(false) { releaseAtEnd(); }

int vu_writelock::rwlock_func(int timeout) {
  if (_lock == nullptr) _lock = &_rwlock;
  return acquireWith({pthread_rwlock_wrlock, pthread_rwlock_trywrlock, pthread_rwlock_timedwrlock},
                     _lock, timeout);
}

int vu_writelock::lock(int timeout) { return acquire(timeout); }
int vu_writelock::unlock() { return release(); }
