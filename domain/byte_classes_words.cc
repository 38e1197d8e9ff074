// Eight bytes at a time in one 64-bit word, for targets without vector instructions. Every byte of
// a result is 0x80 where the byte belongs to the class, and 0 elsewhere.

#include "domain/byte_classes.h"
#include "domain/bytes.h"
#include "domain/plain_host_core.h"

namespace vu::detail {
namespace {

constexpr std::size_t kBlock = sizeof(std::uint64_t);

constexpr std::uint64_t eachByte(unsigned value) { return 0x0101010101010101U * value; }

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

ByteClasses classifyByWords(const char* text) noexcept {
  ByteClasses all{};
  for (std::size_t at = 0; at < kStride; at += kBlock) {
    const std::uint64_t word = load64(text + at);
    const std::uint64_t letters = between(word | eachByte(0x20), 'a', 'z');
    const std::uint64_t beginnings = letters | between(word, '0', '9');
    const std::uint64_t marks = equal(word, '-') | equal(word, '_');
    const std::uint64_t dots = equal(word, '.');
    all.beginnings |= bits(beginnings) << at;
    all.others |= bits(~(beginnings | marks | dots) & eachByte(0x80)) << at;
    all.dots |= bits(dots) << at;
  }
  return all;
}

PlainHost findPlainHostByWords(const char* text, std::size_t size) noexcept {
  return findIn(classifyByWords(text), text, size);
}

}  // namespace vu::detail
