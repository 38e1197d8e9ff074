// White space, hexadecimal text, time differences, digit counts.

#include <algorithm>
#include <cstddef>
#include <limits>

#include "vu/foundation.h"

namespace {

/// The difference of two time stamps whose fraction counts `perSecond` units.
struct Difference {
  std::int64_t seconds;
  std::int64_t fraction;
};

/// `end` minus `start`, held within the range of the type.
std::int64_t subtract(std::int64_t end, std::int64_t start) {
  std::int64_t result = 0;
  if (!__builtin_sub_overflow(end, start, &result)) return result;
  return end < 0 ? std::numeric_limits<std::int64_t>::min()
                 : std::numeric_limits<std::int64_t>::max();
}

Difference difference(std::int64_t seconds, std::int64_t fraction, std::int64_t perSecond) {
  if (fraction < 0) {
    fraction += perSecond;
    seconds = subtract(seconds, 1);
  }
  return {std::max<std::int64_t>(seconds, 0), fraction};
}

}  // namespace

void skipSpace(const char** cursor, unsigned int& remaining) {
  while (remaining != 0 && vu::detail::isSpace(**cursor)) {
    ++*cursor;
    --remaining;
  }
}

std::string printHexical(const unsigned char* bytes, int count, int perLine, bool formatted) {
  static constexpr char digits[] = "0123456789abcdef";
  std::string text;
  if (count <= 0) return text;
  const auto size = static_cast<std::size_t>(count);
  const std::size_t line = perLine > 0 ? static_cast<std::size_t>(perLine) : size + 1;
  text.reserve(size * (formatted ? 5 : 2));
  for (std::size_t written = 1; written <= size; ++written) {
    const unsigned char byte = bytes[written - 1];
    if (formatted) text += "0x";
    text += digits[byte >> 4];
    text += digits[byte & 15];
    if (!formatted) continue;
    if (written % line == 0) {
      text += '\n';
    } else if (written < size) {
      text += ' ';
    }
  }
  return text;
}

double TimeDifference(const timeval& end, const timeval& start, bool microseconds) {
  const Difference d =
      difference(subtract(end.tv_sec, start.tv_sec), subtract(end.tv_usec, start.tv_usec), 1000000);
  const auto seconds = static_cast<double>(d.seconds);
  const auto fraction = static_cast<double>(d.fraction);
  return microseconds ? seconds * 1e6 + fraction : seconds + fraction / 1e6;
}

double TimeDifference(const timespec& end, const timespec& start, bool microseconds) {
  const Difference d = difference(subtract(end.tv_sec, start.tv_sec),
                                  subtract(end.tv_nsec, start.tv_nsec), 1000000000);
  const auto seconds = static_cast<double>(d.seconds);
  const std::int64_t wholeMicroseconds = d.fraction / 1000;
  return microseconds ? seconds * 1e6 + static_cast<double>(wholeMicroseconds)
                      : seconds + static_cast<double>(d.fraction) / 1e9;
}

unsigned int numericLength(unsigned int value) {
  unsigned int digits = 1;
  for (; value > 9; value /= 10) ++digits;
  return digits;
}
