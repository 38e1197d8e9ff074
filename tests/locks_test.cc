// The lock guards with real threads.

#include "vu/locks.h"

#include <cerrno>
#include <chrono>
#include <functional>
#include <future>
#include <thread>

#include "locks/deadline.h"
#include <gtest/gtest.h>

#include "tests/support.h"

namespace vu::test {
namespace {

/// What `action` returns in a thread of its own.
template <typename Action>
int elsewhere(Action action) {
  return std::async(std::launch::async, action).get();
}

/// Whether a lock is free for writing, or, held for reading, for further readers.
enum class State { free, read, written };
State stateOf(pthread_rwlock_t& lock) {
  if (elsewhere([&] { return vu_writelock(lock, 1).result(); }) == 0) return State::free;
  return elsewhere([&] { return vu_readlock(lock, 1).result(); }) == 0 ? State::read
                                                                       : State::written;
}

TEST(Locks, DeadlinesCarry) {
  const struct {
    timespec now;
    int timeout;
    timespec expected;
  } rows[] = {{{5, 1000000}, 999, {6, 0}},
              {{5, 999999}, 999, {5, 999999999}},
              {{5, 999999999}, 1999, {7, 998999999}},
              {{2147483647, 1}, 2000, {2147483649, 1}}};
  for (const auto& row : rows) {
    const timespec deadline = detail::deadlineAfter(row.now, row.timeout);
    EXPECT_EQ(row.expected.tv_sec, deadline.tv_sec) << row.timeout;
    EXPECT_EQ(row.expected.tv_nsec, deadline.tv_nsec) << row.timeout;
  }
}

/// The whole life of a guard on `lock`, which is free before and afterwards.
template <typename Guard>
void checkLife(pthread_rwlock_t& lock, State held, Guard&& guard, Guard&& waiting) {
  EXPECT_EQ(-1, guard.result());
  EXPECT_FALSE(guard.owns_lock());
  EXPECT_EQ(EPERM, guard.unlock());
  EXPECT_EQ(State::free, stateOf(lock));
  EXPECT_EQ(0, guard.lock(-5));
  EXPECT_EQ(EDEADLK, guard.lock());
  EXPECT_EQ(0, guard.result());
  EXPECT_TRUE(guard.owns_lock());
  EXPECT_EQ(held, stateOf(lock));
  EXPECT_EQ(0, guard.unlock());
  EXPECT_FALSE(guard.owns_lock());
  EXPECT_EQ(State::free, stateOf(lock));

  // An acquisition through the virtual operation is the caller's, not the guard's.
  EXPECT_EQ(0, guard.rwlock_func(5));
  EXPECT_FALSE(guard.owns_lock());
  EXPECT_EQ(held, stateOf(lock));
  EXPECT_EQ(0, pthread_rwlock_unlock(&lock));

  {
    const vu_writelock other(lock);
    const auto start = std::chrono::system_clock::now();
    EXPECT_EQ(ETIMEDOUT, elsewhere([&] { return waiting.lock(30); }));
    EXPECT_LE(std::chrono::milliseconds(30), std::chrono::system_clock::now() - start);
  }
  EXPECT_EQ(ETIMEDOUT, waiting.result());
  EXPECT_FALSE(waiting.owns_lock());

  // What is not free is waited for, with a long time-out and without any.
  const std::function<int()> waits[] = {
      [&] { return waiting.lock(); }, [&] { return waiting.lock(-1); },
      [&] { return waiting.lock(20000); }, [&] { return Guard(lock).result(); },
      [&] { return &lock == &vu_rwlock::_rwlock ? Guard().result() : 0; }};
  for (const auto& wait : waits) {
    std::promise<void> isHeld;
    const auto other = std::async(std::launch::async, [&] {
      const vu_writelock writing(lock);
      isHeld.set_value();
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    });
    isHeld.get_future().wait();
    EXPECT_EQ(0, wait()) << &wait - waits;
    if (!waiting.owns_lock()) continue;
    EXPECT_EQ(held, stateOf(lock)) << &wait - waits;
    EXPECT_EQ(0, waiting.unlock());
  }
  EXPECT_EQ(0, waiting.lock(1));
}

TEST(Locks, HoldAndRelease) {
  pthread_rwlock_t own = PTHREAD_RWLOCK_INITIALIZER;
  const auto defer = std::defer_lock;
  checkLife(own, State::read, vu_readlock(own, defer), vu_readlock(own, defer));
  checkLife(own, State::written, vu_writelock(own, defer), vu_writelock(own, defer));
  pthread_rwlock_t& shared = vu_rwlock::_rwlock;
  checkLife(shared, State::read, vu_readlock(defer), vu_readlock(defer));
  checkLife(shared, State::written, vu_writelock(defer), vu_writelock(defer));
  EXPECT_EQ(State::free, stateOf(own));
  EXPECT_EQ(State::free, stateOf(shared));
  const vu_writelock guard;
  EXPECT_EQ(State::written, stateOf(shared));
  EXPECT_EQ(EDEADLK, vu_writelock(0).result());
  EXPECT_EQ(EDEADLK, vu_readlock(50).result());
  EXPECT_EQ(State::written, stateOf(shared));
  EXPECT_EQ(State::free, stateOf(own));
}

TEST(Locks, OnlyGuardsWithoutALockThrow) {
  EXPECT_EQ("Empty RW Lock", messageOf([] { const vu_readlock guard(std::defer_lock); }));
  EXPECT_EQ("Empty RW Lock", messageOf([] { const vu_writelock guard(std::defer_lock); }));
  EXPECT_EQ(vu_failure::lock, kindOf([] { const vu_readlock guard(std::defer_lock); }));
  pthread_rwlock_t own = PTHREAD_RWLOCK_INITIALIZER;
  const vu_writelock held;
  EXPECT_EQ("other", messageOf([&] {
              const vu_readlock chosen(own, std::defer_lock);
              const vu_writelock reading(own, 5);
              vu_readlock timedOut(std::defer_lock);
              elsewhere([&] { return timedOut.lock(1); });
              throw vu_exception("other");
            }));
  EXPECT_EQ(State::free, stateOf(own));
}

}  // namespace
}  // namespace vu::test
