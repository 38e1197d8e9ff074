// What searches of generated patterns share: options to choose from, and how a result is written.

#ifndef VU_FUZZ_PATTERN_H_
#define VU_FUZZ_PATTERN_H_

#include <string>

#include "vu/pattern.h"

namespace vu::fuzz {

/// In the last one, and in the last two of the other list, the engines differ.
constexpr int kCompileOptions[] = {
    vu_pcre::dotAll,   0,
    vu_pcre::caseless, vu_pcre::multiline,
    vu_pcre::extended, vu_pcre::ungreedy,
    vu_pcre::anchored, vu_pcre::dollarEndOnly,
    vu_pcre::utf8,     vu_pcre::utf8 | vu_pcre::unicodeProperties | vu_pcre::caseless,
    0xd00000,          vu_pcre::duplicateNames | 0x100000,
    vu_pcre::firstLine};
constexpr int kSearchOptions[] = {0,
                                  vu_pcre::anchored,
                                  vu_pcre::notEmpty,
                                  vu_pcre::notEmptyAtStart,
                                  vu_pcre::notBol,
                                  vu_pcre::notEol,
                                  vu_pcre::partialSoft,
                                  vu_pcre::partialHard};

/// What is left behind the pairs of a match is working space.
inline std::string written(int result, const int* offsets, int pairs) {
  std::string text = std::to_string(result);
  for (int i = 0; result > 0 && i < pairs * 2; ++i) text += " " + std::to_string(offsets[i]);
  return text;
}

}  // namespace vu::fuzz

#endif  // VU_FUZZ_PATTERN_H_
