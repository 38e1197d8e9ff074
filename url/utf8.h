// UTF-8 as the Encoding Standard reads it: what is none becomes U+FFFD, once for each longest
// beginning of a sequence.

#ifndef VU_URL_UTF8_H_
#define VU_URL_UTF8_H_

#include <algorithm>
#include <cstdint>
#include <string_view>

#include <unicode/utf8.h>

namespace vu::detail {

constexpr bool isAscii(char c) { return static_cast<unsigned char>(c) < 0x80; }

inline bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return isAscii(c); });
}

/// The code point at `at`, which is moved behind it.
inline char32_t nextCodePoint(std::string_view text, std::size_t& at) {
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data() + at);
  const int left = static_cast<int>(std::min<std::size_t>(text.size() - at, U8_MAX_LENGTH));
  int used = 0;
  UChar32 point = 0;
  U8_NEXT_OR_FFFD(bytes, used, left, point);
  at += static_cast<std::size_t>(used);
  return static_cast<char32_t>(point);
}

}  // namespace vu::detail

#endif  // VU_URL_UTF8_H_
