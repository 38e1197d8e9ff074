// 32 bytes at a time, with vector instructions that most x86-64 machines have; the machine is asked
// for them before anything here is called.
//
// A byte's class is found by its halves: each of them leaves some of eight classes, and the one
// that both leave is the byte's, or it has none.

#include <immintrin.h>

#include "domain/byte_classes.h"
#include "domain/plain_host_core.h"

namespace vu::detail {
namespace {

// Ordered so that signed comparisons tell sets of classes apart.
constexpr char kDot = -128, kHyphen = 1, kLine = 2, kDigit = 16, kUpToO = 32, kFromP = 64;
constexpr char kAny = kDigit | kUpToO | kFromP, kLetter = kUpToO | kFromP;

struct Masks {
  std::uint64_t beginnings, others, dots;
};

[[gnu::target("avx2,bmi,bmi2"), gnu::always_inline]] inline Masks masksOf(const char* text) {
  const __m256i ofLower = _mm256_broadcastsi128_si256(
      _mm_setr_epi8(kDigit | kFromP, kAny, kAny, kAny, kAny, kAny, kAny, kAny, kAny, kAny, kLetter,
                    kUpToO, kUpToO, kUpToO | kHyphen, kUpToO | kDot, kUpToO | kLine));
  const __m256i ofUpper = _mm256_broadcastsi128_si256(
      _mm_setr_epi8(0, 0, kHyphen | kDot, kDigit, kUpToO, kFromP | kLine, kUpToO, kFromP, 0, 0, 0,
                    0, 0, 0, 0, 0));
  const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text));
  // A byte beyond ASCII leaves nothing here.
  const __m256i byLower = _mm256_shuffle_epi8(ofLower, bytes);
  const __m256i upper = _mm256_and_si256(_mm256_srli_epi16(bytes, 4), _mm256_set1_epi8(15));
  const __m256i classes = _mm256_and_si256(byLower, _mm256_shuffle_epi8(ofUpper, upper));
  const auto bits = [](__m256i found) __attribute__((target("avx2,bmi,bmi2"), always_inline)) {
    return std::uint64_t{static_cast<std::uint32_t>(_mm256_movemask_epi8(found))};
  };
  return {bits(_mm256_cmpgt_epi8(classes, _mm256_set1_epi8(kDigit - 1))),
          bits(_mm256_cmpeq_epi8(classes, _mm256_setzero_si256())), bits(classes)};
}

[[gnu::target("avx2,bmi,bmi2"), gnu::always_inline]] inline ByteClasses classesOf(
    const char* text) {
  const Masks low = masksOf(text);
  const Masks high = masksOf(text + 32);
  return {low.beginnings | high.beginnings << 32, low.dots | high.dots << 32,
          low.others | high.others << 32};
}

}  // namespace

[[gnu::target("avx2,bmi,bmi2")]] ByteClasses classifyByAvx2(const char* text) noexcept {
  return classesOf(text);
}

[[gnu::target("avx2,bmi,bmi2")]] PlainHost findPlainHostByAvx2(const char* text,
                                                               std::size_t size) noexcept {
  return findIn(classesOf(text), text, size);
}

}  // namespace vu::detail
