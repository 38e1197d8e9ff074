// 16 bytes at a time.

#include <emmintrin.h>

#include "url/plain_url.h"

namespace vu::detail {
namespace {

constexpr std::size_t kBlock = 16;

inline __m128i equal(__m128i bytes, char c) { return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(c)); }

/// Bytes from `low` to `high`: moved to the lower end of the signed range, they are those below a
/// bound.
inline __m128i between(__m128i bytes, char low, char high) {
  const __m128i moved = _mm_add_epi8(bytes, _mm_set1_epi8(static_cast<char>(-128 - low)));
  return _mm_cmplt_epi8(moved, _mm_set1_epi8(static_cast<char>(-128 + (high - low) + 1)));
}

inline std::uint64_t bits(__m128i found) {
  return static_cast<std::uint32_t>(_mm_movemask_epi8(found));
}

inline void add(PlainBytes& all, const char* block, std::size_t place) {
  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block));
  // "-", ".", "/" and digits stand side by side.
  const __m128i lower = _mm_andnot_si128(equal(bytes, '/'), between(bytes, '-', '9'));
  const __m128i letters = _mm_or_si128(between(bytes, 'a', 'z'), equal(bytes, '_'));
  all.plain |= bits(_mm_or_si128(lower, letters)) << place;
  all.dots |= bits(equal(bytes, '.')) << place;
}

/// The classes of the first 16 bytes, which is enough for a short URL.
inline PlainBytes findInCopy(const char* text, std::size_t length) noexcept {
  char padded[kBlock] = {};
  std::memcpy(padded, text, length < kBlock ? length : kBlock);
  PlainBytes all{0, 0};
  add(all, padded, 0);
  return all;
}

/// Those of a block or more.
inline PlainBytes findBytes(const char* text, std::size_t length) noexcept {
  // Blocks overlap in a short text: no branch depends on where a host ends, but for long ones.
  PlainBytes all{0, 0};
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

/// A URL that may have less than a block behind its scheme.
[[gnu::noinline]] vu_host findShortHost(std::string_view url, Room room, vu_url_text how) noexcept {
  return findHost<findInCopy>(url, room, how);
}

}  // namespace
}  // namespace vu::detail

vu_host browserHost(std::string_view url, char* buffer, std::size_t size,
                    vu_url_text how) noexcept {
  using namespace vu::detail;
  constexpr std::size_t kLongestScheme = 8;
  if (url.size() < kBlock + kLongestScheme) return findShortHost(url, {buffer, size}, how);
  return findHost<findBytes>(url, {buffer, size}, how);
}
