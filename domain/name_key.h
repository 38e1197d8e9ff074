// The 64-bit key of a name, the same in upper and lower case. It belongs to the table's format
// (docs/table-file.md): it may not change without the format's version.
//
// A name is taken eight bytes at a time from its right end, so that the key of a name that goes on
// to the left costs only what is new; its first bytes, which may overlap with what was taken, and
// its length come last. Names of 8 to 15 bytes, as most are, cost two loads and one multiplication.

#ifndef VU_DOMAIN_NAME_KEY_H_
#define VU_DOMAIN_NAME_KEY_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "domain/bytes.h"

namespace vu::detail {

/// The halves of a product of 128 bits, added without carries.
inline std::uint64_t foldedProduct(std::uint64_t a, std::uint64_t b) noexcept {
#ifdef __SIZEOF_INT128__
  __extension__ using Wide = unsigned __int128;
  const Wide product = Wide{a} * b;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
#else
  constexpr std::uint64_t kLow = 0xFFFFFFFFU;
  const std::uint64_t low = (a & kLow) * (b & kLow);
  const std::uint64_t cross = (a >> 32) * (b & kLow) + (low >> 32);  // cannot overflow
  const std::uint64_t other = (a & kLow) * (b >> 32) + (cross & kLow);
  const std::uint64_t high = (a >> 32) * (b >> 32) + (cross >> 32) + (other >> 32);
  return (other << 32 | (low & kLow)) ^ high;
#endif
}

// Fractional parts of square roots of primes (2, 3, 5), made odd.
constexpr std::uint64_t kKeyStart = 0x6A09E667F3BCC909U;
constexpr std::uint64_t kKeyStep = 0xBB67AE8584CAA73BU;
constexpr std::uint64_t kKeyLast = 0x3C6EF372FE94F82BU;
/// Set everywhere, this bit changes more than letters, but makes no two bytes of names equal but
/// those that differ by their case.
constexpr std::uint64_t kLowerCase = 0x2020202020202020U;

/// A text of fewer than eight bytes as a number; nothing outside of it is read.
inline std::uint64_t shortWord(const char* begin, std::size_t size) noexcept {
  const char* const end = begin + size;
  std::uint64_t word = 0;
  if (size >= 4) {
    word = loadBytes<4>(begin) | loadBytes<4>(end - 4) << 8 * (size - 4);
  } else if (size > 0) {
    word = loadBytes<1>(begin) | loadBytes<1>(begin + size / 2) << 8 * (size / 2) |
           loadBytes<1>(end - 1) << 8 * (size - 1);
  }
  return word;
}

/// A key of a name's first and last eight bytes, which may overlap, and its length.
inline std::uint64_t keyOfEnds(std::uint64_t first, std::uint64_t last, std::size_t size) noexcept {
  return foldedProduct(kKeyStart ^ last, (kKeyLast ^ first) + size);
}

/// The same of a name of fewer than eight bytes.
inline std::uint64_t shortKey(std::uint64_t word, std::size_t size) noexcept {
  if (size != 0) word |= kLowerCase >> (64 - 8 * size);
  return keyOfEnds(word, word, size);
}

/// The key of a name's ends: all of it when it has 16 bytes or less. Eight bytes in front of `end`
/// can be read.
inline std::uint64_t endsKey(const char* begin, const char* end) noexcept {
  const auto size = static_cast<std::size_t>(end - begin);
  const std::size_t missing =
      (8 - size) & (0 - static_cast<std::size_t>(size < 8));  // without a branch
  const std::uint64_t last = (load64(end - 8) | kLowerCase) >> 8 * missing;
  const std::uint64_t first = (load64(begin - missing) | kLowerCase) >> 8 * missing;
  return keyOfEnds(first, last, size);
}

/// The same of a name by itself.
inline std::uint64_t endsKey(std::string_view name) noexcept {
  if (name.size() >= 8) return endsKey(name.data(), name.data() + name.size());
  return shortKey(shortWord(name.data(), name.size()), name.size());
}

/// The keys of one name after the other that end at the same place, each longer than the last.
class NameKey {
 public:
  explicit NameKey(const char* end) noexcept : end_(end), next_(end) {}

  std::uint64_t of(const char* begin) noexcept {
    const auto size = static_cast<std::size_t>(end_ - begin);
    if (size <= 16) return endsKey({begin, size});
    while (next_ - begin >= 8) {
      if (next_ != end_) sum_ = foldedProduct(sum_, kKeyStep);
      next_ -= 8;
      sum_ ^= load64(next_) | kLowerCase;
    }
    return foldedProduct(sum_, (kKeyLast ^ (load64(begin) | kLowerCase)) + size);
  }

 private:
  const char* end_;
  const char* next_;  ///< The end of what has not been taken yet.
  std::uint64_t sum_ = kKeyStart;
};

inline std::uint64_t nameKey(std::string_view name) noexcept {
  return NameKey(name.data() + name.size()).of(name.data());
}

}  // namespace vu::detail

#endif  // VU_DOMAIN_NAME_KEY_H_
