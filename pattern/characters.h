// The classes of characters that tags of XML are made of, in a table: it is asked for every byte.

#ifndef VU_PATTERN_CHARACTERS_H_
#define VU_PATTERN_CHARACTERS_H_

#include <array>

#include "vu/foundation.h"

namespace vu::detail {

using CharacterSet = std::array<bool, 256>;

template <typename Contains>
constexpr CharacterSet characterSet(Contains contains) {
  CharacterSet set{};
  for (int c = 0; c < 256; ++c) {
    set[static_cast<std::size_t>(c)] = contains(static_cast<char>(c));
  }
  return set;
}

constexpr bool contains(const CharacterSet& set, char c) {
  return set[static_cast<unsigned char>(c)];
}

inline int skip(const char* text, int at, int end, const CharacterSet& which) {
  while (at < end && contains(which, text[at])) ++at;
  return at;
}

/// Letters, digits and "_": what names are made of.
inline constexpr CharacterSet kNameCharacters = characterSet([](char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || isDigit(c) || c == '_';
});

inline constexpr CharacterSet kBlanks = characterSet(isSpace);

/// What may stand between a tag's name and its end.
inline constexpr CharacterSet kAttributeCharacters = characterSet([](char c) {
  return contains(kNameCharacters, c) || isSpace(c) || c == '-' || c == '\'' || c == '=';
});

}  // namespace vu::detail

#endif  // VU_PATTERN_CHARACTERS_H_
