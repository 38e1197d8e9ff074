// Guards that hold a POSIX reader/writer lock for the length of a scope.
//
//   vu_rwlock_t lock = PTHREAD_RWLOCK_INITIALIZER;
//   std::map<int, int> table VU_GUARDED_BY(lock);
//
//   vu_readlock reading(lock, 250);                  // wait at most 250 milliseconds
//   if (!reading.owns_lock()) return reading.result();  // ETIMEDOUT
//   use(table);                                      // released at the end of the scope
//
// A guard without a lock of its own works on one lock of the whole process, `vu_rwlock::_rwlock`.
//
// Threads:  one guard serves one thread, which also destroys it.
// Errors:   acquisitions report the POSIX call's result, as an error number; they throw nothing.
//           The destructor of a guard for which no lock was ever chosen throws vu_exception
//           "Empty RW Lock"; while another exception is in flight, that ends the process. A lock
//           is chosen by every constructor but `vu_readlock(std::defer_lock)` and its like for
//           writing, and by the first acquisition: no guard that has acquired, or tried to, ever
//           throws.
// Lifetime: a guard does not own its lock, which must outlive it.
// Time-outs: in milliseconds; 0 and below wait without limit. They run by CLOCK_REALTIME, so that
//           setting the system's clock moves them. What is free is taken whatever the time-out, and
//           the clock is not even read.
// Fairness: a lock made with PTHREAD_RWLOCK_INITIALIZER, the shared one too, lets readers pass
//           writers that wait: readers that hardly ever leave it keep a writer out for seconds. One
//           of the caller's own, made with PTHREAD_RWLOCK_WRITER_NONRECURSIVE_INITIALIZER_NP, lets
//           writers go first.
//
// Clang's -Wthread-safety follows the guards. It takes a guard that is constructed with a time-out
// for one that holds: whether it does is for `owns_lock` to tell. It needs to know a lock as such,
// hence `vu_rwlock_t`; an ordinary pthread_rwlock_t serves as well, but is not analysed.

#ifndef VU_LOCKS_H_
#define VU_LOCKS_H_

#include <pthread.h>

#include <mutex>

#include "vu/export.h"
#include "vu/thread_annotations.h"

/// pthread_rwlock_t under a name that the analysis knows.
typedef pthread_rwlock_t vu_rwlock_t VU_ANNOTATE(capability("rwlock"));

/// What both guards have in common.
class VU_EXPORT VU_ANNOTATE(scoped_lockable) vu_rwlock {
 public:
  vu_rwlock(const vu_rwlock&) = delete;
  vu_rwlock& operator=(const vu_rwlock&) = delete;

  /// Acquires the guard's lock, the shared one when none is chosen yet. Returns what the POSIX call
  /// returns: 0, or an error number such as ETIMEDOUT, EDEADLK, EAGAIN. For use by the guard
  /// itself: a caller that gets 0 owns the lock, not the guard; see `lock`.
  virtual int rwlock_func(int timeout) = 0;
  virtual ~vu_rwlock() noexcept(false);

  /// Whether the guard holds its lock.
  [[nodiscard]] bool owns_lock() const { return _locked; }
  /// What the last acquisition returned: 0, an error number, or -1 when there was none.
  int result() const { return _result; }

  /// The lock that guards share when they have none of their own.
  static vu_rwlock_t _rwlock;

 protected:
  /// Chooses `lock`, none when that is null; acquires nothing.
  explicit vu_rwlock(pthread_rwlock_t* lock) : _lock(lock) {}

  /// What the constructors do with the result of their acquisition.
  void begin(int result) {
    _result = result;
    _locked = result == 0;
  }
  /// What `lock` of the guards does.
  int acquire(int timeout);
  /// What `unlock` of the guards does.
  int release();
  /// What the guards' destructors do. Throws vu_exception "Empty RW Lock" when no lock was chosen.
  void releaseAtEnd();

  pthread_rwlock_t* _lock;  ///< The guard's lock, not owned; null when none was chosen yet.
  bool _locked = false;     ///< Whether the guard holds it.

 private:
  int _result = -1;
};

/// Holds a lock for reading, beside other readers.
class VU_EXPORT VU_ANNOTATE(scoped_lockable) vu_readlock : public vu_rwlock {
 public:
  /// Acquires the process's shared lock, `_rwlock`, within `timeout` milliseconds. Whether that
  /// succeeded is told by `owns_lock` and `result`.
  [[nodiscard]] explicit vu_readlock(int timeout = 0)
      VU_ANNOTATE(acquire_shared_capability(_rwlock));
  /// Acquires `lock`, which must outlive the guard; all else as above.
  [[nodiscard]] explicit vu_readlock(vu_rwlock_t& lock, int timeout = 0)
      VU_ANNOTATE(acquire_shared_capability(lock)) VU_ANNOTATE(no_thread_safety_analysis)
      : vu_rwlock(&lock) {
    begin(acquireNow(&lock, timeout));
  }
  /// Acquires nothing yet, nor is a lock chosen: the first acquisition takes the shared one.
  [[nodiscard]] explicit vu_readlock(std::defer_lock_t /*defer*/)
      VU_ANNOTATE(locks_excluded(_rwlock))
      : vu_rwlock(nullptr) {}
  /// Chooses `lock` and acquires nothing yet.
  [[nodiscard]] vu_readlock(vu_rwlock_t& lock, std::defer_lock_t /*defer*/)
      VU_ANNOTATE(locks_excluded(lock))
      : vu_rwlock(&lock) {}
  /// Releases what the guard holds. Throws vu_exception "Empty RW Lock" when no lock was chosen.
  // NOLINTNEXTLINE(bugprone-exception-escape): by design
  ~vu_readlock() noexcept(false) override VU_ANNOTATE(release_generic_capability());

  /// Acquires for reading, as told at the base class.
  int rwlock_func(int timeout) override;

  /// Acquires through `rwlock_func`, and holds when that returns 0. Returns its result, and
  /// EDEADLK, without a try, when the guard holds already.
  int lock(int timeout = 0) VU_ANNOTATE(try_acquire_shared_capability(false));
  /// Releases before the end of the scope. Returns 0, or EPERM when the guard holds nothing.
  int unlock() VU_ANNOTATE(release_generic_capability());

 private:
  // What both ways to acquire do, where they are called. A lock that is free needs no clock: POSIX
  // has the timed call take it whatever the deadline, even one that is no time at all. Whatever
  // else the try returns, the timed call decides.
  static int acquireNow(pthread_rwlock_t* lock, int timeout) {
    if (timeout <= 0) return pthread_rwlock_rdlock(lock);
    return pthread_rwlock_tryrdlock(lock) == 0 ? 0 : acquireLater(lock, timeout);
  }
  static int acquireLater(pthread_rwlock_t* lock, int timeout);
};

/// Holds a lock for writing, alone. All as for reading.
class VU_EXPORT VU_ANNOTATE(scoped_lockable) vu_writelock : public vu_rwlock {
 public:
  /// Acquires the process's shared lock, `_rwlock`, within `timeout` milliseconds.
  [[nodiscard]] explicit vu_writelock(int timeout = 0) VU_ANNOTATE(acquire_capability(_rwlock));
  /// Acquires `lock`, which must outlive the guard.
  [[nodiscard]] explicit vu_writelock(vu_rwlock_t& lock, int timeout = 0)
      VU_ANNOTATE(acquire_capability(lock)) VU_ANNOTATE(no_thread_safety_analysis)
      : vu_rwlock(&lock) {
    begin(acquireNow(&lock, timeout));
  }
  /// Acquires nothing yet, nor is a lock chosen: the first acquisition takes the shared one.
  [[nodiscard]] explicit vu_writelock(std::defer_lock_t /*defer*/)
      VU_ANNOTATE(locks_excluded(_rwlock))
      : vu_rwlock(nullptr) {}
  /// Chooses `lock` and acquires nothing yet.
  [[nodiscard]] vu_writelock(vu_rwlock_t& lock, std::defer_lock_t /*defer*/)
      VU_ANNOTATE(locks_excluded(lock))
      : vu_rwlock(&lock) {}
  /// Releases what the guard holds. Throws vu_exception "Empty RW Lock" when no lock was chosen.
  // NOLINTNEXTLINE(bugprone-exception-escape): by design
  ~vu_writelock() noexcept(false) override VU_ANNOTATE(release_generic_capability());

  /// Acquires for writing, as told at the base class.
  int rwlock_func(int timeout) override;

  /// Acquires through `rwlock_func`, and holds when that returns 0. Returns its result, and
  /// EDEADLK, without a try, when the guard holds already.
  int lock(int timeout = 0) VU_ANNOTATE(try_acquire_capability(false));
  /// Releases before the end of the scope. Returns 0, or EPERM when the guard holds nothing.
  int unlock() VU_ANNOTATE(release_generic_capability());

 private:
  // What both ways to acquire do, where they are called. As for reading.
  static int acquireNow(pthread_rwlock_t* lock, int timeout) {
    if (timeout <= 0) return pthread_rwlock_wrlock(lock);
    return pthread_rwlock_trywrlock(lock) == 0 ? 0 : acquireLater(lock, timeout);
  }
  static int acquireLater(pthread_rwlock_t* lock, int timeout);
};

#endif  // VU_LOCKS_H_
