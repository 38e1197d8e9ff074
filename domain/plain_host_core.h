// Most hosts end within the first 64 bytes of their URL, and then a few operations on sets of bits,
// one for each class of bytes, tell all there is to know. They are the same whatever instructions
// the sets were made with, and become a part of the function that makes them.

#ifndef VU_DOMAIN_PLAIN_HOST_CORE_H_
#define VU_DOMAIN_PLAIN_HOST_CORE_H_

#include <algorithm>
#include <vector>

#include "domain/byte_classes.h"
#include "domain/bytes.h"
#include "domain/host.h"
#include "domain/plain_host.h"

namespace vu::detail {

/// The lowest member of a set, 64 for none, and the highest of one that is not empty.
inline std::size_t lowest(std::uint64_t set) noexcept {
  return set != 0 ? static_cast<std::size_t>(__builtin_ctzll(set)) : kStride;
}
inline std::size_t highest(std::uint64_t set) noexcept {
  return 63 - static_cast<std::size_t>(__builtin_clzll(set));
}
/// The members below a place, of at most 63.
inline std::uint64_t below(std::uint64_t set, std::size_t place) noexcept {
  return set & ((std::uint64_t{1} << place) - 1);
}

inline bool isLetter(char c) noexcept { return (static_cast<unsigned char>(c) | 0x20U) - 'a' < 26; }

/// findPlainHost with the first 64 bytes of the text, or a copy of them with anything behind their
/// end. Each way of classifying bytes has one.
PlainHost findPlainHostByAvx2(const char* text, std::size_t size) noexcept;
PlainHost findPlainHostBySse2(const char* text, std::size_t size) noexcept;
PlainHost findPlainHostByNeon(const char* text, std::size_t size) noexcept;
PlainHost findPlainHostByWords(const char* text, std::size_t size) noexcept;
/// The best of them that this machine has.
PlainHost findPlainHostIn(const char* text, std::size_t size) noexcept;

struct Way {
  ByteClasses (*classify)(const char* text) noexcept;
  PlainHost (*find)(const char* text, std::size_t size) noexcept;
};

/// All of them that this machine has, to be compared.
std::vector<Way> everyWay();

/// Goes on where a host that begins at `start` does not end in the first stride.
PlainHost findLongHost(const char* text, std::size_t size, std::size_t start) noexcept;

/// Where the host begins: behind the first "://" that begins early enough, or at once.
inline std::size_t findStart(std::uint64_t others, const char* text, std::size_t size) noexcept {
  for (std::uint64_t set = below(others, kLastSchemeStart + 1); set != 0; set &= set - 1) {
    const std::size_t at = lowest(set);
    if (at + 3 > size || (size == kUpToNul && text[at] == '\0')) break;
    if ((load32(text + at) & 0xFFFFFF) == 0x2F2F3A) return at + 3;
  }
  return 0;
}

/// findPlainHost with the classes of those bytes.
[[gnu::always_inline]] inline PlainHost findIn(const ByteClasses& bytes, const char* text,
                                               std::size_t size) noexcept {
  // What is behind the text's end is nothing to stop at, or to guess about; nor is its size.
  const std::uint64_t others =
      bytes.others & ~std::uint64_t{0} >> (kStride - 1 - std::min(size - 1, kStride - 1));
  const std::size_t start = findStart(others, text, size);
  std::size_t end = start + lowest(others >> start);
  if (end >= kStride && size >= kStride) return findLongHost(text, size, start);
  if (end >= size) {
    end = size;
  } else if (text[end] != '/' && text[end] != ':' && (text[end] != '\0' || size != kUpToNul)) {
    return {};
  }
  // From the host's beginning on.
  const std::size_t length = end - start;
  const std::uint64_t dots = below(bytes.dots, end) >> start;
  const std::uint64_t inner = below(dots, (length - 1) % kStride);  // one at its end joins nothing
  if (inner == 0 || ((inner << 1 | 1) & ~(bytes.beginnings >> start)) != 0) return {};
  const std::size_t lastDot = highest(inner);
  if (!isLetter(text[start + lastDot + 1])) return {};
  const std::uint64_t before = inner ^ std::uint64_t{1} << lastDot;
  const auto dotAtEnd = static_cast<std::size_t>(dots >> (length - 1));
  return {start, end, start + highest(before << 1 | 1), end - dotAtEnd};
}

}  // namespace vu::detail

#endif  // VU_DOMAIN_PLAIN_HOST_CORE_H_
