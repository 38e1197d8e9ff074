// What the tags of XML fragments look like, by offsets into a text.

#ifndef VU_PATTERN_XML_TAG_H_
#define VU_PATTERN_XML_TAG_H_

#include <cstring>
#include <string_view>

#include "pattern/characters.h"
#include "pattern/runs.h"

namespace vu::detail {

/// A piece of the text.
struct Span {
  int begin;
  int end;
  int length() const { return end - begin; }
  std::string_view of(const char* text) const {
    return {text + begin, static_cast<std::size_t>(length())};
  }
};

/// "<name attributes>" or "<name attributes/>".
struct OpeningTag {
  Span name;
  Span attrs;
  bool isEmpty;  ///< Whether it is an element of its own.
  int end;       ///< 0: it is no tag.
  bool isThere() const { return end != 0; }
};

/// Where the first "<" stands; `end` when there is none.
inline int findSign(const char* text, int begin, int end) {
  if (begin == end) return end;
  const void* const found = std::memchr(text + begin, '<', static_cast<std::size_t>(end - begin));
  return found != nullptr ? static_cast<int>(static_cast<const char*>(found) - text) : end;
}

/// The tag whose "<" stands at `at`.
inline OpeningTag readOpeningTag(const char* text, int at, int end) {
  const Span name{at + 1, endOfName(text, at + 1, end)};
  const int attrs = skip(text, name.end, end, kBlanks);
  const bool hasAttrs = attrs < end && text[attrs] != '>' && text[attrs] != '/';
  const int mark = hasAttrs ? endOfAttributes(text, attrs, end) : attrs;
  const bool isEmpty = end - mark >= 2 && text[mark] == '/' && text[mark + 1] == '>';
  const bool isThere = name.length() > 0 && (isEmpty || (mark < end && text[mark] == '>'));
  return {name, {attrs, mark}, isEmpty, isThere ? mark + (isEmpty ? 2 : 1) : 0};
}

/// Whether "</name>" stands at `at` and ends before `end`.
inline bool isClosingTag(const char* text, int at, int end, std::string_view name) {
  if (end - at < static_cast<int>(name.size()) + 3 || text[at] != '<' || text[at + 1] != '/') {
    return false;
  }
  const char* const found = text + at + 2;
  return found[name.size()] == '>' && std::memcmp(found, name.data(), name.size()) == 0;
}

/// Where the blanks, declarations and comments end that stand in front of a text's elements.
inline int endOfProlog(const char* text, int length) {
  const std::string_view all(text, static_cast<std::size_t>(length));
  for (int at = 0;;) {
    at = skip(text, at, length, kBlanks);
    const std::string_view rest = all.substr(static_cast<std::size_t>(at));
    const bool isComment = rest.substr(0, 4) == "<!--";
    if (!isComment && rest.substr(0, 2) != "<?") return at;
    const std::string_view close = isComment ? "-->" : "?>";
    const std::size_t end = rest.find(close, isComment ? 4 : 2);
    if (end == std::string_view::npos) return at;
    at += static_cast<int>(end + close.size());
  }
}

}  // namespace vu::detail

#endif  // VU_PATTERN_XML_TAG_H_
