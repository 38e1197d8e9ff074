// Eight bytes at a time in one 64-bit word, for targets without vector instructions. Every byte of
// a result is 0x80 where the byte belongs to the class, and 0 elsewhere.

#include <algorithm>

#include "domain/byte_classes.h"

namespace vu::detail {
namespace {

constexpr std::size_t kBlock = sizeof(std::uint64_t);

constexpr std::uint64_t eachByte(unsigned value) { return 0x0101010101010101U * value; }

/// The first byte lowest, whatever the byte order of the machine.
std::uint64_t load(const char* text, std::size_t length) {
  std::uint64_t word = 0;
  for (std::size_t i = 0; i < length; ++i) {
    word |= std::uint64_t{static_cast<unsigned char>(text[i])} << (8 * i);
  }
  return word;
}

/// Bytes from `low` to `high`, both below 128. Without their highest bits, bytes can be compared by
/// an addition that does not reach the next byte.
std::uint64_t between(std::uint64_t word, unsigned low, unsigned high) {
  const std::uint64_t small = word & eachByte(0x7F);
  const std::uint64_t atLeastLow = small + eachByte(0x80 - low);
  const std::uint64_t aboveHigh = small + eachByte(0x7F - high);
  return atLeastLow & ~aboveHigh & ~word & eachByte(0x80);
}

std::uint64_t equal(std::uint64_t word, unsigned c) { return between(word, c, c); }

/// Brings the eight highest bits together.
std::uint64_t bits(std::uint64_t found) { return (found >> 7) * 0x0102040810204080U >> 56; }

}  // namespace

ByteClasses classifyBytesByWords(const char* text, std::size_t length) noexcept {
  ByteClasses all{};
  length = std::min<std::size_t>(length, 64);
  for (std::size_t at = 0; at < length; at += kBlock) {
    const std::size_t left = length - at;
    const std::uint64_t word = left >= kBlock ? load(text + at, kBlock) : load(text + at, left);
    const std::uint64_t letters = between(word | eachByte(0x20), 'a', 'z');
    const std::uint64_t marks = equal(word, '-') | equal(word, '_');
    const std::uint64_t dots = equal(word, '.');
    all.name |= bits(letters | between(word, '0', '9') | marks | dots) << at;
    all.marks |= bits(marks) << at;
    all.dots |= bits(dots) << at;
    all.ends |= bits(equal(word, '/') | equal(word, ':')) << at;
  }
  return all;
}

}  // namespace vu::detail
