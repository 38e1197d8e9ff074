// 16 bytes at a time, with the vector instructions that every x86-64 machine has.

#include <emmintrin.h>

#include <algorithm>

#include "domain/byte_classes.h"

namespace vu::detail {
namespace {

constexpr std::size_t kBlock = 16;

/// Bytes from `low` to `high`, as all ones: moved to the lower end of the signed range, they are
/// those below a bound.
__m128i between(__m128i bytes, char low, char high) {
  const __m128i moved = _mm_add_epi8(bytes, _mm_set1_epi8(static_cast<char>(-128 - low)));
  return _mm_cmplt_epi8(moved, _mm_set1_epi8(static_cast<char>(-128 + (high - low) + 1)));
}

__m128i equal(__m128i bytes, char c) { return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(c)); }

std::uint64_t bits(__m128i found) { return static_cast<std::uint32_t>(_mm_movemask_epi8(found)); }

/// Adds the classes of 16 bytes, the first of which is at bit `place`.
void add(ByteClasses& all, const char* text, std::size_t place) {
  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
  const __m128i letters = between(_mm_or_si128(bytes, _mm_set1_epi8(0x20)), 'a', 'z');
  const __m128i marks = _mm_or_si128(equal(bytes, '-'), equal(bytes, '_'));
  const __m128i dots = equal(bytes, '.');
  const __m128i ends = _mm_or_si128(equal(bytes, '/'), equal(bytes, ':'));
  const __m128i labels = _mm_or_si128(_mm_or_si128(letters, between(bytes, '0', '9')), marks);
  all.name |= bits(_mm_or_si128(labels, dots)) << place;
  all.marks |= bits(marks) << place;
  all.dots |= bits(dots) << place;
  all.ends |= bits(ends) << place;
}

}  // namespace

ByteClasses classifyBytes(const char* text, std::size_t length) noexcept {
  ByteClasses all{};
  if (length >= kBlock) {
    // Always four blocks, which overlap in a short text: no branch depends on the length.
    const std::size_t last = std::min<std::size_t>(length, 64) - kBlock;
    for (const std::size_t at :
         {std::size_t{0}, std::min(kBlock, last), std::min(2 * kBlock, last), last}) {
      add(all, text + at, at);
    }
  } else {
    char padded[kBlock] = {};
    for (std::size_t i = 0; i < length; ++i) padded[i] = text[i];
    add(all, padded, 0);
  }
  return all;
}

}  // namespace vu::detail
