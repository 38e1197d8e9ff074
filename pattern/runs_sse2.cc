// 16 bytes at a time, with the vector instructions that every x86-64 machine has.

#include <emmintrin.h>

#include "pattern/characters.h"
#include "pattern/runs.h"

namespace vu::detail {
namespace {

constexpr int kBlock = 16;

/// Bytes from `low` to `high`, as all ones: moved to the lower end of the signed range, they are
/// those below a bound.
__m128i between(__m128i bytes, char low, char high) {
  const __m128i moved = _mm_add_epi8(bytes, _mm_set1_epi8(static_cast<char>(-128 - low)));
  return _mm_cmplt_epi8(moved, _mm_set1_epi8(static_cast<char>(-128 + (high - low) + 1)));
}

__m128i equal(__m128i bytes, char c) { return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(c)); }

__m128i either(__m128i a, __m128i b) { return _mm_or_si128(a, b); }

struct OfNames {
  static constexpr const CharacterSet& set = kNameCharacters;
  static __m128i in(__m128i bytes) {
    const __m128i letters = between(either(bytes, _mm_set1_epi8(0x20)), 'a', 'z');
    return either(either(letters, between(bytes, '0', '9')), equal(bytes, '_'));
  }
};

struct OfAttributes {
  static constexpr const CharacterSet& set = kAttributeCharacters;
  static __m128i in(__m128i bytes) {
    const __m128i blanks = either(equal(bytes, ' '), between(bytes, '\t', '\r'));
    const __m128i marks = either(either(equal(bytes, '-'), equal(bytes, '\'')), equal(bytes, '='));
    return either(either(blanks, marks), OfNames::in(bytes));
  }
};

template <typename Class>
int endOf(const char* text, int at, int end) noexcept {
  for (; end - at >= kBlock; at += kBlock) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + at));
    const int others = _mm_movemask_epi8(Class::in(bytes)) ^ 0xFFFF;
    if (others != 0) return at + __builtin_ctz(static_cast<unsigned int>(others));
  }
  return skip(text, at, end, Class::set);
}

}  // namespace

int endOfName(const char* text, int at, int end) noexcept { return endOf<OfNames>(text, at, end); }

int endOfAttributes(const char* text, int at, int end) noexcept {
  return endOf<OfAttributes>(text, at, end);
}

}  // namespace vu::detail
