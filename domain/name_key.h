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

/// The keys of one name after the other that end at the same place, each longer than the last.
class NameKey {
 public:
  explicit NameKey(const char* end) noexcept : end_(end), next_(end) {}

  std::uint64_t of(const char* begin) noexcept {
    while (next_ - begin >= 8) {
      if (next_ != end_) sum_ = foldedProduct(sum_, kStep);
      next_ -= 8;
      sum_ ^= load64(next_) | kLowerCase;
    }
    const auto size = static_cast<std::uint64_t>(end_ - begin);
    const std::uint64_t first = size >= 8 ? load64(begin) : shortWord(begin, size);
    return foldedProduct(sum_, ((first | kLowerCase) ^ kLast) + size);
  }

 private:
  // Fractional parts of square roots of primes (2, 3, 5), made odd.
  static constexpr std::uint64_t kStart = 0x6A09E667F3BCC909U;
  static constexpr std::uint64_t kStep = 0xBB67AE8584CAA73BU;
  static constexpr std::uint64_t kLast = 0x3C6EF372FE94F82BU;
  /// Set everywhere, this bit also changes other bytes, but never makes two that names may have
  /// equal.
  static constexpr std::uint64_t kLowerCase = 0x2020202020202020U;

  /// Fewer than eight bytes: the first and the last ones, which may overlap.
  static std::uint64_t shortWord(const char* begin, std::uint64_t size) noexcept {
    const char* const end = begin + size;
    if (size >= 4) return loadBytes<4>(begin) | loadBytes<4>(end - 4) << 32;
    if (size == 0) return 0;
    return loadBytes<1>(begin) | loadBytes<1>(begin + size / 2) << 8 | loadBytes<1>(end - 1) << 16;
  }

  const char* end_;
  const char* next_;  ///< The end of what has not been taken yet.
  std::uint64_t sum_ = kStart;
};

inline std::uint64_t nameKey(std::string_view name) noexcept {
  return NameKey(name.data() + name.size()).of(name.data());
}

}  // namespace vu::detail

#endif  // VU_DOMAIN_NAME_KEY_H_
