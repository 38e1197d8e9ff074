// 16 bytes at a time, with the vector instructions that every x86-64 machine has.

#include <emmintrin.h>

#include "domain/byte_classes.h"
#include "domain/plain_host_core.h"

namespace vu::detail {
namespace {

constexpr std::size_t kBlock = 16;

/// Bytes from `low` to `high`, as all ones: moved to the lower end of the signed range, they are
/// those below a bound.
inline __m128i between(__m128i bytes, char low, char high) {
  const __m128i moved = _mm_add_epi8(bytes, _mm_set1_epi8(static_cast<char>(-128 - low)));
  return _mm_cmplt_epi8(moved, _mm_set1_epi8(static_cast<char>(-128 + (high - low) + 1)));
}

inline __m128i equal(__m128i bytes, char c) { return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(c)); }

inline std::uint64_t bits(__m128i found) {
  return static_cast<std::uint32_t>(_mm_movemask_epi8(found));
}

inline ByteClasses classesOf(const char* text) {
  ByteClasses all{};
  for (std::size_t at = 0; at < kStride; at += kBlock) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + at));
    const __m128i letters = between(_mm_or_si128(bytes, _mm_set1_epi8(0x20)), 'a', 'z');
    const __m128i beginnings = _mm_or_si128(letters, between(bytes, '0', '9'));
    const __m128i marks = _mm_or_si128(equal(bytes, '-'), equal(bytes, '_'));
    const __m128i dots = equal(bytes, '.');
    all.beginnings |= bits(beginnings) << at;
    const __m128i name = _mm_or_si128(_mm_or_si128(beginnings, marks), dots);
    all.others |= (bits(name) ^ 0xFFFF) << at;
    all.dots |= bits(dots) << at;
  }
  return all;
}

}  // namespace

ByteClasses classifyBySse2(const char* text) noexcept { return classesOf(text); }

PlainHost findPlainHostBySse2(const char* text, std::size_t size) noexcept {
  return findIn(classesOf(text), text, size);
}

}  // namespace vu::detail
