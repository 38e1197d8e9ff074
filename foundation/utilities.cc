// White space, hexadecimal text, time differences, digit counts.

#include <algorithm>
#include <cstddef>
#include <limits>

#include "vu/foundation.h"

namespace {

/// `end` minus `start`, held within the range of the type.
std::int64_t subtract(std::int64_t end, std::int64_t start) {
  std::int64_t result = 0;
  if (!__builtin_sub_overflow(end, start, &result)) return result;
  return end < 0 ? std::numeric_limits<std::int64_t>::min()
                 : std::numeric_limits<std::int64_t>::max();
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

double vu::detail::differenceOf(const Moment& end, const Moment& start, int perSecond,
                                bool microseconds) {
  std::int64_t seconds = subtract(end.seconds, start.seconds);
  std::int64_t fraction = subtract(end.fraction, start.fraction);
  if (fraction < 0) {
    fraction += perSecond;
    seconds = subtract(seconds, 1);
  }
  const auto wholeSeconds = static_cast<double>(std::max<std::int64_t>(seconds, 0));
  if (!microseconds) {
    return wholeSeconds + static_cast<double>(fraction) / static_cast<double>(perSecond);
  }
  const std::int64_t wholeMicroseconds = fraction / (perSecond / 1000000);
  return wholeSeconds * 1e6 + static_cast<double>(wholeMicroseconds);
}

unsigned int numericLength(unsigned int value) {
  unsigned int digits = 1;
  for (; value > 9; value /= 10) ++digits;
  return digits;
}

// The header has these functions inline, so that no other code here would make the library export
// them; a program that takes their address without inlining them needs those that stand here.
template <typename Time>
using Difference = double (*)(const Time&, const Time&, bool);
[[gnu::used]] static const Difference<timeval> ofTimeval = TimeDifference;
[[gnu::used]] static const Difference<timespec> ofTimespec = TimeDifference;
