// When a time-out ends.

#ifndef VU_LOCKS_DEADLINE_H_
#define VU_LOCKS_DEADLINE_H_

#include <ctime>

namespace vu::detail {

/// `timeout` milliseconds, 1 or more, after `now`.
inline timespec deadlineAfter(timespec now, int timeout) {
  constexpr long kNanosecondsPerSecond = 1000000000;
  now.tv_sec += timeout / 1000;
  now.tv_nsec += timeout % 1000 * 1000000L;
  if (now.tv_nsec >= kNanosecondsPerSecond) {
    now.tv_nsec -= kNanosecondsPerSecond;
    ++now.tv_sec;
  }
  return now;
}

}  // namespace vu::detail

#endif  // VU_LOCKS_DEADLINE_H_
