// The string hash, told plainly: what the fast one is compared and timed with.

#ifndef VU_TESTS_PLAIN_LOOKUP2_H_
#define VU_TESTS_PLAIN_LOOKUP2_H_

#include <cstdint>
#include <string_view>

namespace vu::test {

/// Bob Jenkins' lookup2 as its author tells it for any machine: byte by byte.
class Lookup2 {
 public:
  std::uint32_t operator()(const unsigned char* key, std::uint32_t length) {
    a_ = b_ = 0x9e3779b9U;  // the golden ratio: any value without a pattern
    c_ = 0;
    std::uint32_t left = length;
    for (; left >= 12; left -= 12, key += 12) {
      a_ += word(key);
      b_ += word(key + 4);
      c_ += word(key + 8);
      mix();
    }
    // The lowest byte of c is kept for the length.
    c_ += length;
    switch (left) {
      case 11:
        c_ += std::uint32_t{key[10]} << 24;
        [[fallthrough]];
      case 10:
        c_ += std::uint32_t{key[9]} << 16;
        [[fallthrough]];
      case 9:
        c_ += std::uint32_t{key[8]} << 8;
        [[fallthrough]];
      case 8:
        b_ += std::uint32_t{key[7]} << 24;
        [[fallthrough]];
      case 7:
        b_ += std::uint32_t{key[6]} << 16;
        [[fallthrough]];
      case 6:
        b_ += std::uint32_t{key[5]} << 8;
        [[fallthrough]];
      case 5:
        b_ += key[4];
        [[fallthrough]];
      case 4:
        a_ += std::uint32_t{key[3]} << 24;
        [[fallthrough]];
      case 3:
        a_ += std::uint32_t{key[2]} << 16;
        [[fallthrough]];
      case 2:
        a_ += std::uint32_t{key[1]} << 8;
        [[fallthrough]];
      case 1:
        a_ += key[0];
        break;
      default:
        break;
    }
    mix();
    return c_;
  }

 private:
  static std::uint32_t word(const unsigned char* at) {
    return std::uint32_t{at[0]} + (std::uint32_t{at[1]} << 8) + (std::uint32_t{at[2]} << 16) +
           (std::uint32_t{at[3]} << 24);
  }

  void mix() {
    a_ = (a_ - b_ - c_) ^ (c_ >> 13);
    b_ = (b_ - c_ - a_) ^ (a_ << 8);
    c_ = (c_ - a_ - b_) ^ (b_ >> 13);
    a_ = (a_ - b_ - c_) ^ (c_ >> 12);
    b_ = (b_ - c_ - a_) ^ (a_ << 16);
    c_ = (c_ - a_ - b_) ^ (b_ >> 5);
    a_ = (a_ - b_ - c_) ^ (c_ >> 3);
    b_ = (b_ - c_ - a_) ^ (a_ << 10);
    c_ = (c_ - a_ - b_) ^ (b_ >> 15);
  }

  std::uint32_t a_ = 0;
  std::uint32_t b_ = 0;
  std::uint32_t c_ = 0;
};

inline std::uint32_t plainHash(std::string_view key) {
  if (key.empty()) return 0;
  return Lookup2()(reinterpret_cast<const unsigned char*>(key.data()),
                   static_cast<std::uint32_t>(key.size()));
}

}  // namespace vu::test

#endif  // VU_TESTS_PLAIN_LOOKUP2_H_
