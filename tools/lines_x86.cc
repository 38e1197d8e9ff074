// Masks with vector instructions: SSE2 is always there, for AVX2 the machine is asked.

#include <immintrin.h>

#include "tools/lines.h"

namespace vu::tool {
namespace {

void findBySse2(const char* text, std::size_t count, char end, const Unsafe& unsafe,
                LineMasks* masks) {
  const auto all = [](char c) { return _mm_set1_epi8(c); };
  const auto bits = [](__m128i found) {
    return std::uint64_t{static_cast<std::uint32_t>(_mm_movemask_epi8(found))};
  };
  const __m128i ends = all(end), below = all(unsafe.below);
  const __m128i a = all(unsafe.bytes[0]), b = all(unsafe.bytes[1]);
  const __m128i c = all(unsafe.bytes[2]), d = all(unsafe.bytes[3]);
  for (; count > 0; --count, ++masks) {
    *masks = {0, 0, 0};
    for (std::size_t i = 0; i < LineMasks::kBytes; i += 16, text += 16) {
      const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
      const __m128i ab = _mm_or_si128(_mm_cmpeq_epi8(bytes, a), _mm_cmpeq_epi8(bytes, b));
      const __m128i cd = _mm_or_si128(_mm_cmpeq_epi8(bytes, c), _mm_cmpeq_epi8(bytes, d));
      const __m128i found = _mm_or_si128(_mm_or_si128(ab, cd), _mm_cmplt_epi8(bytes, below));
      masks->ends |= bits(_mm_cmpeq_epi8(bytes, ends)) << i;
      masks->unsafe |= bits(found) << i;
    }
    masks->count = static_cast<std::size_t>(__builtin_popcountll(masks->ends));
  }
}

[[gnu::target("avx2,popcnt")]] void findByAvx2(const char* text, std::size_t count, char end,
                                               const Unsafe& unsafe, LineMasks* masks) {
  const __m256i ends = _mm256_set1_epi8(end), below = _mm256_set1_epi8(unsafe.below);
  const __m256i a = _mm256_set1_epi8(unsafe.bytes[0]), b = _mm256_set1_epi8(unsafe.bytes[1]);
  const __m256i c = _mm256_set1_epi8(unsafe.bytes[2]), d = _mm256_set1_epi8(unsafe.bytes[3]);
  for (; count > 0; --count, ++masks) {
    *masks = {0, 0, 0};
    for (std::size_t i = 0; i < LineMasks::kBytes; i += 32, text += 32) {
      const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text));
      const __m256i ab = _mm256_or_si256(_mm256_cmpeq_epi8(bytes, a), _mm256_cmpeq_epi8(bytes, b));
      const __m256i cd = _mm256_or_si256(_mm256_cmpeq_epi8(bytes, c), _mm256_cmpeq_epi8(bytes, d));
      const __m256i found =
          _mm256_or_si256(_mm256_or_si256(ab, cd), _mm256_cmpgt_epi8(below, bytes));
      const auto endBits = _mm256_movemask_epi8(_mm256_cmpeq_epi8(bytes, ends));
      masks->ends |= std::uint64_t{static_cast<std::uint32_t>(endBits)} << i;
      masks->unsafe |= std::uint64_t{static_cast<std::uint32_t>(_mm256_movemask_epi8(found))} << i;
    }
    masks->count = static_cast<std::size_t>(__builtin_popcountll(masks->ends));
  }
}

}  // namespace

void findMasks(const char* text, std::size_t count, char end, const Unsafe& unsafe,
               LineMasks* masks) {
  static const auto hasAvx2 = static_cast<bool>(__builtin_cpu_supports("avx2"));
  (hasAvx2 ? findByAvx2 : findBySse2)(text, count, end, unsafe, masks);
}

}  // namespace vu::tool
