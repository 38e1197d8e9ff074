// A 64-bit key of a short text for hash tables, the same for upper and lower case.

#ifndef VU_DOMAIN_TEXT_KEY_H_
#define VU_DOMAIN_TEXT_KEY_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vu::detail {

inline std::uint64_t mixKey(std::uint64_t value) {
  value *= 0x9E3779B97F4A7C15U;  // 2^64 divided by the golden ratio: Knuth's multiplicative hashing
  return value ^ value >> 32;
}

/// `Count` bytes, the first lowest; compilers make one load of it where the machine allows.
template <std::size_t Count>
std::uint64_t loadBytes(const char* text) {
  std::uint64_t word = 0;
  for (std::size_t i = 0; i < Count; ++i) {
    word |= std::uint64_t{static_cast<unsigned char>(text[i])} << (8 * i);
  }
  return word;
}

/// The first and the last bytes overlap where a text is no multiple of a word. Setting the bit of
/// lower case everywhere also changes other bytes, but never makes two that names may have equal.
/// A fixed hash will do: who writes the definition file is trusted not to make names collide, and
/// hosts cannot add any.
inline std::uint64_t textKey(std::string_view text) {
  constexpr std::uint64_t kLowerCase = 0x2020202020202020U;
  const char* begin = text.data();
  const char* const end = begin + text.size();
  std::uint64_t key = text.size();
  if (text.size() >= 8) {
    for (; end - begin > 8; begin += 8) key = mixKey(key ^ (loadBytes<8>(begin) | kLowerCase));
    return mixKey(key ^ (loadBytes<8>(end - 8) | kLowerCase));
  }
  std::uint64_t word = 0;
  if (text.size() >= 4) {
    word = loadBytes<4>(begin) | loadBytes<4>(end - 4) << 32;
  } else if (!text.empty()) {
    word = loadBytes<1>(begin) | loadBytes<1>(begin + text.size() / 2) << 8 |
           loadBytes<1>(end - 1) << 16;
  }
  return mixKey(key ^ (word | kLowerCase));
}

}  // namespace vu::detail

#endif  // VU_DOMAIN_TEXT_KEY_H_
