// The string hash, told plainly: what the fast one is compared and timed with.

#ifndef VU_TESTS_PLAIN_LOOKUP2_H_
#define VU_TESTS_PLAIN_LOOKUP2_H_

#include <cstdint>
#include <string_view>

namespace vu::test {

/// Bob Jenkins' lookup2 as its author tells it for any machine: byte by byte.
inline std::uint32_t plainHash(std::string_view key) {
  if (key.empty()) return 0;
  std::uint32_t a = 0x9e3779b9U, b = a, c = 0;  // the golden ratio: any value without a pattern
  const auto mix = [&] {
    a = (a - b - c) ^ (c >> 13);
    b = (b - c - a) ^ (a << 8);
    c = (c - a - b) ^ (b >> 13);
    a = (a - b - c) ^ (c >> 12);
    b = (b - c - a) ^ (a << 16);
    c = (c - a - b) ^ (b >> 5);
    a = (a - b - c) ^ (c >> 3);
    b = (b - c - a) ^ (a << 10);
    c = (c - a - b) ^ (b >> 15);
  };
  const auto word = [&key](std::size_t from) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4 && from + i < key.size(); ++i) {
      value |= std::uint32_t{static_cast<unsigned char>(key[from + i])} << 8 * i;
    }
    return value;
  };
  std::size_t at = 0;
  for (; key.size() - at >= 12; at += 12) {
    a += word(at);
    b += word(at + 4);
    c += word(at + 8);
    mix();
  }
  a += word(at);
  b += word(at + 4);
  // The lowest byte of c is kept for the length.
  c += (word(at + 8) << 8) + static_cast<std::uint32_t>(key.size());
  mix();
  return c;
}

}  // namespace vu::test

#endif  // VU_TESTS_PLAIN_LOOKUP2_H_
