// The steps are the standard's own, with ICU's tables: map every code point, normalise, split at
// the dots, decode what has an ACE prefix, check every label, encode. ICU's own call for whole
// names takes time that is quadratic in a hostile one, refuses labels of more than 1000 units, and
// in older releases accepts ACE labels that stand for nothing. It is ten times as fast, and asked
// first where none of that can be.

#include "url/idna.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <vector>

#include <unicode/uchar.h>
#include <unicode/uidna.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>

#include "url/punycode.h"
#include "url/utf8.h"

namespace vu::detail {
namespace {

using Label = std::u32string;

constexpr std::u32string_view kAcePrefix = U"xn--";
constexpr char32_t kReplacement = 0xFFFD;  // also what the tables make of a disallowed code point

bool isAcePrefixed(std::u32string_view label) {
  return label.substr(0, kAcePrefix.size()) == kAcePrefix;
}

bool isAscii(std::u32string_view text) {
  return std::all_of(text.begin(), text.end(), [](char32_t c) { return c < 0x80; });
}

// ---------------------------------------------------------------------------------------------
// Mapping and normalisation

/// ICU's tables; null where its data cannot be loaded.
struct Tables {
  UErrorCode error = U_ZERO_ERROR;
  const UNormalizer2* mapping = unorm2_getInstance(nullptr, "uts46", UNORM2_COMPOSE, &error);
  const UNormalizer2* nfc = unorm2_getNFCInstance(&error);
};

const Tables& tables() {
  static const Tables loaded;
  return loaded;
}

bool failed(UErrorCode error) { return error > U_ZERO_ERROR; }

UChar32 toIcu(char32_t point) { return static_cast<UChar32>(point); }

/// Appends what a code point is mapped to, decomposed.
void appendMapped(char32_t point, Label& mapped) {
  if (point < 0x80) {
    mapped += point >= 'A' && point <= 'Z' ? point | 0x20 : point;
    return;
  }
  constexpr int kRoom = 64;  // the longest mapping has 18 units
  UChar units[kRoom];
  UErrorCode error = U_ZERO_ERROR;
  const int size = unorm2_getDecomposition(tables().mapping, toIcu(point), units, kRoom, &error);
  if (size < 0) {
    mapped += point;
    return;
  }
  for (int at = 0; !failed(error) && at < size;) {
    UChar32 each = 0;
    U16_NEXT(units, at, size, each);
    mapped += static_cast<char32_t>(each);
  }
}

/// Puts combining marks in canonical order. ICU would do so, too, by insertion.
void orderMarks(Label& text) {
  struct Mark {
    unsigned char order;
    char32_t point;
  };
  std::vector<Mark> marks;
  for (std::size_t at = 0; at < text.size(); ++at) {
    marks.clear();
    for (std::size_t end = at; end < text.size(); ++end) {
      const unsigned char order = u_getCombiningClass(toIcu(text[end]));
      if (order == 0) break;
      marks.push_back({order, text[end]});
    }
    std::stable_sort(marks.begin(), marks.end(),
                     [](const Mark& a, const Mark& b) { return a.order < b.order; });
    for (const Mark& mark : marks) text[at++] = mark.point;
  }
}

std::u16string toUtf16(std::u32string_view text) {
  std::u16string units;
  units.reserve(text.size());
  for (const char32_t point : text) {
    if (U_IS_BMP(point)) {
      units += static_cast<char16_t>(point);
    } else {
      units += static_cast<char16_t>(U16_LEAD(point));
      units += static_cast<char16_t>(U16_TRAIL(point));
    }
  }
  return units;
}

bool compose(Label& text) {
  const std::u16string units = toUtf16(text);
  std::u16string composed(units.size(), u'\0');  // composing never makes a text longer
  UErrorCode error = U_ZERO_ERROR;
  const int size = unorm2_normalize(tables().nfc, units.data(), static_cast<int>(units.size()),
                                    composed.data(), static_cast<int>(composed.size()), &error);
  if (error == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
  if (failed(error)) return false;
  text.clear();
  for (int at = 0; at < size;) {
    UChar32 point = 0;
    U16_NEXT(composed, at, size, point);
    text += static_cast<char32_t>(point);
  }
  return true;
}

/// Maps and normalises.
bool mapText(const Label& text, Label& mapped) {
  mapped.clear();
  for (const char32_t point : text) appendMapped(point, mapped);
  orderMarks(mapped);
  return compose(mapped);
}

// ---------------------------------------------------------------------------------------------
// What a label must be

bool isVirama(char32_t point) { return u_getCombiningClass(toIcu(point)) == 9; }

int joiningType(char32_t point) { return u_getIntPropertyValue(toIcu(point), UCHAR_JOINING_TYPE); }

/// Whether the next code point in one direction, transparent ones aside, joins to that side.
template <typename Iterator>
bool joins(Iterator at, Iterator end, int type) {
  at = std::find_if(at, end, [](char32_t c) { return joiningType(c) != U_JT_TRANSPARENT; });
  return at != end && (joiningType(*at) == type || joiningType(*at) == U_JT_DUAL_JOINING);
}

/// The rules for the two joiners (RFC 5892, appendix A).
bool hasGoodJoiners(std::u32string_view label) {
  constexpr char32_t kNonJoiner = 0x200C;
  constexpr char32_t kJoiner = 0x200D;
  for (std::size_t i = 0; i < label.size(); ++i) {
    if (label[i] != kJoiner && label[i] != kNonJoiner) continue;
    if (i > 0 && isVirama(label[i - 1])) continue;
    const auto* const at = label.begin() + static_cast<std::ptrdiff_t>(i);
    if (label[i] == kJoiner ||
        !joins(std::make_reverse_iterator(at), label.rend(), U_JT_LEFT_JOINING) ||
        !joins(at + 1, label.end(), U_JT_RIGHT_JOINING)) {
      return false;
    }
  }
  return true;
}

/// A set of writing directions, as bits.
using Directions = std::uint32_t;
constexpr Directions set(UCharDirection direction) { return Directions{1} << direction; }
template <typename... More>
constexpr Directions set(UCharDirection first, More... more) {
  return set(first) | set(more...);
}

Directions directionOf(char32_t point) { return set(u_charDirection(toIcu(point))); }

constexpr Directions kRightToLeft = set(U_RIGHT_TO_LEFT, U_RIGHT_TO_LEFT_ARABIC);
constexpr Directions kMakesBidi = kRightToLeft | set(U_ARABIC_NUMBER);
constexpr Directions kAnywhere =
    set(U_EUROPEAN_NUMBER, U_EUROPEAN_NUMBER_SEPARATOR, U_COMMON_NUMBER_SEPARATOR,
        U_EUROPEAN_NUMBER_TERMINATOR, U_OTHER_NEUTRAL, U_BOUNDARY_NEUTRAL, U_DIR_NON_SPACING_MARK);

bool isBidi(std::u32string_view label) {
  return std::any_of(label.begin(), label.end(),
                     [](char32_t c) { return (directionOf(c) & kMakesBidi) != 0; });
}

/// The rule for every label of a name with one that is written from right to left (RFC 5893, 2).
bool hasGoodDirections(std::u32string_view label) {
  if (label.empty()) return true;
  const Directions first = directionOf(label[0]);
  const bool rightToLeft = (first & kRightToLeft) != 0;
  if (!rightToLeft && first != set(U_LEFT_TO_RIGHT)) return false;
  Directions seen = 0;
  Directions last = 0;  // marks aside
  for (const char32_t point : label) {
    const Directions direction = directionOf(point);
    seen |= direction;
    if (direction != set(U_DIR_NON_SPACING_MARK)) last = direction;
  }
  const Directions ending = set(U_EUROPEAN_NUMBER) | (rightToLeft ? kMakesBidi : first);
  const Directions allowed = kAnywhere | (rightToLeft ? kMakesBidi : first);
  const Directions bothNumbers = set(U_EUROPEAN_NUMBER, U_ARABIC_NUMBER);
  return (last & ending) != 0 && (seen & ~allowed) == 0 && (seen & bothNumbers) != bothNumbers;
}

/// What holds for a label whatever the others are.
bool isGoodLabel(std::u32string_view label) {
  if (label.empty()) return true;
  return label.find(kReplacement) == std::u32string_view::npos && !isAcePrefixed(label) &&
         (U_GET_GC_MASK(toIcu(label[0])) & U_GC_M_MASK) == 0 && hasGoodJoiners(label);
}

/// What an ACE label stands for; false when it should not have been written so.
bool decodeLabel(std::u32string_view ace, Label& label) {
  if (!isAscii(ace)) return false;
  ace.remove_prefix(kAcePrefix.size());
  Label again;
  return decodePunycode(std::string(ace.begin(), ace.end()), label) && !isAscii(label) &&
         label.find(U'.') == Label::npos && mapText(label, again) && again == label;
}

bool appendAscii(std::u32string_view label, std::string& ascii) {
  if (isAscii(label)) {
    ascii.append(label.begin(), label.end());
    return true;
  }
  ascii.append(kAcePrefix.begin(), kAcePrefix.end());
  return encodePunycode(label, ascii);
}

// ---------------------------------------------------------------------------------------------
// ICU's own call

/// Null where ICU cannot have it.
const UIDNA* icu() {
  constexpr unsigned kOptions =
      UIDNA_CHECK_BIDI | UIDNA_CHECK_CONTEXTJ | UIDNA_NONTRANSITIONAL_TO_ASCII;
  static UErrorCode error = U_ZERO_ERROR;
  static const UIDNA* const opened = uidna_openUTS46(kOptions, &error);
  return opened;
}

/// Whether some label may have an ACE prefix once the name is mapped: two hyphens with nothing but
/// bytes beyond ASCII between them, which may go, or one of those that are mapped to hyphens.
bool mayHaveAce(std::string_view name) {
  constexpr char kFirstOfHyphens = '\xEF';
  char last = '.';
  for (const char c : name) {
    if (c == kFirstOfHyphens || (c == '-' && last == '-')) return true;
    if (vu::detail::isAscii(c)) last = c;
  }
  return false;
}

}  // namespace

bool ordinaryNameToAscii(std::string_view name, std::pmr::string& ascii) {
  constexpr std::size_t kLongest = 255;
  if (name.size() > kLongest || mayHaveAce(name) || icu() == nullptr) return false;
  char text[4 * kLongest];
  UErrorCode error = U_ZERO_ERROR;
  UIDNAInfo info = UIDNA_INFO_INITIALIZER;
  const int size = uidna_nameToASCII_UTF8(icu(), name.data(), static_cast<int>(name.size()), text,
                                          sizeof text, &info, &error);
  if (error != U_ZERO_ERROR || info.errors != 0) return false;
  ascii.assign(text, static_cast<std::size_t>(size));
  return true;
}

bool nameToAscii(std::string_view name, std::pmr::string& ascii) {
  if (ordinaryNameToAscii(name, ascii)) return true;
  std::string text;
  const bool isGood = nameToAsciiInSteps(name, text);
  ascii = text;
  return isGood;
}

bool nameToAsciiInSteps(std::string_view name, std::string& ascii) {
  if (failed(tables().error)) return false;
  Label text;
  for (std::size_t at = 0; at < name.size();) text += nextCodePoint(name, at);
  Label mapped;
  if (!mapText(text, mapped)) return false;

  bool bidi = false;
  bool goodDirections = true;
  std::u32string_view rest(mapped);
  while (true) {
    const std::u32string_view label = rest.substr(0, rest.find(U'.'));
    const bool encoded = isAcePrefixed(label);
    if (encoded && !decodeLabel(label, text)) return false;
    const std::u32string_view meant = encoded ? std::u32string_view(text) : label;
    if (!isGoodLabel(meant) || !appendAscii(label, ascii)) return false;
    bidi = bidi || isBidi(meant);
    goodDirections = goodDirections && hasGoodDirections(meant);
    if (label.size() == rest.size()) break;
    rest.remove_prefix(label.size() + 1);
    ascii += '.';
  }
  return goodDirections || !bidi;
}

}  // namespace vu::detail
