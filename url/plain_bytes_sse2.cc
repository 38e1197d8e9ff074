// 16 bytes at a time.

#include <emmintrin.h>

#include "url/plain_bytes.h"

namespace vu::detail {
namespace {

constexpr std::size_t kBlock = 16;

__m128i equal(__m128i bytes, char c) { return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(c)); }

/// Bytes from `low` to `high`: moved to the lower end of the signed range, they are those below a
/// bound.
__m128i between(__m128i bytes, char low, char high) {
  const __m128i moved = _mm_add_epi8(bytes, _mm_set1_epi8(static_cast<char>(-128 - low)));
  return _mm_cmplt_epi8(moved, _mm_set1_epi8(static_cast<char>(-128 + (high - low) + 1)));
}

void add(PlainBytes& all, const char* block, std::size_t place) {
  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block));
  const __m128i dots = equal(bytes, '.');
  const __m128i marks = _mm_or_si128(equal(bytes, '-'), equal(bytes, '_'));
  const __m128i letters = _mm_or_si128(between(bytes, 'a', 'z'), between(bytes, '0', '9'));
  const __m128i plain = _mm_or_si128(_mm_or_si128(letters, marks), dots);
  all.plain |= std::uint64_t{static_cast<std::uint32_t>(_mm_movemask_epi8(plain))} << place;
  all.dots |= std::uint64_t{static_cast<std::uint32_t>(_mm_movemask_epi8(dots))} << place;
}

}  // namespace

PlainBytes findPlainBytes(const char* text, std::size_t length) noexcept {
  PlainBytes all{0, 0};
  if (length < kBlock) {
    char padded[kBlock] = {};
    for (std::size_t i = 0; i < length; ++i) padded[i] = text[i];
    add(all, padded, 0);
    return all;
  }
  // Blocks overlap in a short text: no branch depends on where a host ends, but for long ones.
  const std::size_t last = (length < 64 ? length : 64) - kBlock;
  const std::size_t second = kBlock < last ? kBlock : last;
  add(all, text, 0);
  add(all, text + second, second);
  if (all.plain + 1 < std::uint64_t{1} << 32) return all;
  const std::size_t third = 2 * kBlock < last ? 2 * kBlock : last;
  add(all, text + third, third);
  add(all, text + last, last);
  return all;
}

}  // namespace vu::detail
