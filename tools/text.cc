#include "tools/text.h"

#include <cstdint>
#include <cstring>

namespace vu::tool {
namespace {

constexpr char kDigits[] = "0123456789abcdef";

/// What follows the backslash in place of `c`; 0 for what needs none between tabs.
char tabSafeLetter(char c) {
  switch (c) {
    case '\t':
      return 't';
    case '\n':
      return 'n';
    case '\r':
      return 'r';
    case '\\':
      return '\\';
    default:
      return 0;
  }
}

/// The same in a string of JSON, where 'u' stands for the four digits that other controls get.
char jsonLetter(char c) {
  switch (c) {
    case '"':
      return '"';
    case '\b':
      return 'b';
    case '\f':
      return 'f';
    default:
      return tabSafeLetter(c) != 0 ? tabSafeLetter(c) : 'u';
  }
}

/// What JSON shows as it is: ASCII but for controls, '"' and '\\'.
bool isPlainInJson(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= 0x20 && byte < 0x80 && c != '"' && c != '\\';
}

// Of eight bytes at once. A subtraction borrows only from a byte that is looked for, so that the
// answer as a whole is exact.
constexpr std::uint64_t each = 0x0101010101010101;

std::uint64_t load(const char* at) {
  std::uint64_t eight = 0;
  std::memcpy(&eight, at, sizeof eight);
  return eight;
}

/// Whether none of them is below 16, as tabs and line ends are, or a backslash.
bool areAllTabSafe(std::uint64_t eight) {
  const std::uint64_t backslashes = eight ^ each * '\\';
  const std::uint64_t found =
      ((eight - each * 0x10) & ~eight) | ((backslashes - each) & ~backslashes);
  return (found & each * 0x80) == 0;
}

bool areAllPlainInJson(std::uint64_t eight) {
  const std::uint64_t quotes = eight ^ each * '"';
  const std::uint64_t backslashes = eight ^ each * '\\';
  const std::uint64_t found =
      eight | (eight - each * 0x20) | (quotes - each) | (backslashes - each);
  return (found & each * 0x80) == 0;
}

/// The end of the plain bytes at the front of a text.
const char* plainEnd(const char* at, const char* end) {
  while (end - at >= 8 && areAllPlainInJson(load(at))) at += 8;
  while (at != end && isPlainInJson(*at)) ++at;
  return at;
}

/// A sequence of UTF-8 at the front of a text, or the part of one that it could have begun with.
struct Sequence {
  std::size_t length;
  bool isWhole;
};

/// By the table of well-formed sequences in the Unicode Standard: only the range of the second byte
/// depends on the first one. The text begins with a byte beyond ASCII.
Sequence sequenceAtFront(std::string_view text) {
  const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned first = byte(0);
  if (first < 0xC2 || first > 0xF4) return {1, false};
  const std::size_t length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  unsigned least = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
  unsigned most = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
  std::size_t i = 1;
  for (; i < length && i < text.size() && byte(i) >= least && byte(i) <= most; ++i) {
    least = 0x80;
    most = 0xBF;
  }
  return {i, i == length};
}

void appendJsonEscape(Buffer& out, char c) {
  out += '\\';
  out += jsonLetter(c);
  if (jsonLetter(c) != 'u') return;
  out += "00";
  out += kDigits[c >> 4];
  out += kDigits[c & 15];
}

}  // namespace

void appendVisible(Buffer& out, std::string_view text) {
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '\\') {
      out += "\\\\";
    } else if (byte >= 0x20 && byte < 0x7F) {
      out += c;
    } else {
      out += "\\x";
      out += kDigits[byte >> 4];
      out += kDigits[byte & 15];
    }
  }
}

std::string visible(std::string_view text) {
  Buffer shown;
  appendVisible(shown, text);
  return std::string(shown.text());
}

char* putTabSafe(char* at, std::string_view text) {
  const auto putEach = [&at](std::string_view bytes) {
    for (const char c : bytes) {
      const char letter = tabSafeLetter(c);
      if (letter != 0) *at++ = '\\';
      *at++ = letter != 0 ? letter : c;
    }
  };
  for (; text.size() >= 8; text.remove_prefix(8)) {
    if (areAllTabSafe(load(text.data()))) {
      at = put(at, text.substr(0, 8));
    } else {
      putEach(text.substr(0, 8));
    }
  }
  putEach(text);
  return at;
}

void appendCommaSafe(Buffer& out, std::string_view text) {
  if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
    out += text;
    return;
  }
  out += '"';
  for (const char c : text) {
    if (c == '"') out += '"';
    out += c;
  }
  out += '"';
}

void appendJson(Buffer& out, std::string_view text) {
  out += '"';
  const char* at = text.data();
  const char* const end = at + text.size();
  while (true) {
    const char* const plain = plainEnd(at, end);
    out += std::string_view(at, static_cast<std::size_t>(plain - at));
    at = plain;
    if (at == end) break;
    if (static_cast<unsigned char>(*at) < 0x80) {
      appendJsonEscape(out, *at++);
      continue;
    }
    const Sequence sequence = sequenceAtFront({at, static_cast<std::size_t>(end - at)});
    out += sequence.isWhole ? std::string_view(at, sequence.length) : "\xEF\xBF\xBD";
    at += sequence.length;
  }
  out += '"';
}

}  // namespace vu::tool
