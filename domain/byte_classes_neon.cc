// 64 bytes at a time, with the vector instructions that every 64-bit ARM machine has.

#include <arm_neon.h>

#include "domain/byte_classes.h"
#include "domain/plain_host_core.h"

namespace vu::detail {
namespace {

constexpr std::size_t kBlock = 16;

/// Bytes from `low` to `high`, as all ones: the distance from `low` wraps around for those below.
uint8x16_t between(uint8x16_t bytes, unsigned char low, unsigned char high) {
  return vcleq_u8(vsubq_u8(bytes, vdupq_n_u8(low)),
                  vdupq_n_u8(static_cast<unsigned char>(high - low)));
}

uint8x16_t equal(uint8x16_t bytes, char c) {
  return vceqq_u8(bytes, vdupq_n_u8(static_cast<unsigned char>(c)));
}

/// One bit of each of 64 bytes, each all ones or 0. Every byte keeps the bit of its place among
/// eight; adding neighbours three times brings eight bytes together.
std::uint64_t bits(const uint8x16_t (&found)[4]) {
  const uint8x16_t places = vreinterpretq_u8_u64(vdupq_n_u64(0x8040201008040201U));
  const uint8x16_t low = vpaddq_u8(vandq_u8(found[0], places), vandq_u8(found[1], places));
  const uint8x16_t high = vpaddq_u8(vandq_u8(found[2], places), vandq_u8(found[3], places));
  const uint8x16_t eighths = vpaddq_u8(low, high);
  return vgetq_lane_u64(vreinterpretq_u64_u8(vpaddq_u8(eighths, eighths)), 0);
}

inline ByteClasses classesOf(const char* text) {
  uint8x16_t beginnings[4];
  uint8x16_t dots[4];
  uint8x16_t others[4];
  for (std::size_t i = 0; i < 4; ++i) {
    const uint8x16_t bytes = vld1q_u8(reinterpret_cast<const unsigned char*>(text) + i * kBlock);
    const uint8x16_t letters = between(vorrq_u8(bytes, vdupq_n_u8(0x20)), 'a', 'z');
    beginnings[i] = vorrq_u8(letters, between(bytes, '0', '9'));
    dots[i] = equal(bytes, '.');
    const uint8x16_t marks = vorrq_u8(equal(bytes, '-'), equal(bytes, '_'));
    others[i] = vmvnq_u8(vorrq_u8(vorrq_u8(beginnings[i], marks), dots[i]));
  }
  return {bits(beginnings), bits(dots), bits(others)};
}

}  // namespace

ByteClasses classifyByNeon(const char* text) noexcept { return classesOf(text); }

PlainHost findPlainHostByNeon(const char* text, std::size_t size) noexcept {
  return findIn(classesOf(text), text, size);
}

}  // namespace vu::detail
