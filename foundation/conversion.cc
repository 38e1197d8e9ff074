// Text to numbers: the forms of str2val that are not templates, and reading of a double.
//
// A stream collects the characters of a decimal number and hands them to strtod in the classic
// locale. readDouble finds the same characters without a stream and calls the same routine, so that
// every result is the stream's, rounding mode included. strtod reads more forms than a stream does
// (hexadecimal, infinities, NaN), which is why the characters are looked at first.

#include <locale.h>
#include <stdlib.h>

#include <cmath>

#include "vu/foundation.h"

using vu::detail::isDigit;

namespace {

/// The classic locale for the C functions; made of static data, it cannot fail.
locale_t classicLocale() {
  static const locale_t classic = newlocale(LC_ALL_MASK, "C", nullptr);
  return classic;
}

/// The byte forms of str2val, which differ from the general form in their messages.
int byteValue(const std::string& text, bool hex) {
  if (text.empty()) throw vu_exception(vu_failure::number, "empty string");
  int value = 0;
  if (!vu::detail::readInteger(text, hex || text.compare(0, 2, "0x") == 0, value)) {
    throw vu_exception(vu_failure::number, "bad conversion");
  }
  return value;
}

/// What a stream takes for the number in a text.
struct DecimalForm {
  const char* start;  ///< Sign or first digit.
  bool complete;      ///< A digit, and behind an "e" one more.
  bool looksHex;      ///< strtod would read on where a stream stops: "0x…".
};

/// `text` must be NUL-terminated; a NUL ends the number like any other character.
DecimalForm findDecimal(const char* text, const char* end) {
  const char* at = text;
  while (at != end && vu::detail::isSpace(*at)) ++at;
  DecimalForm form{at, false, false};
  if (*at == '-' || *at == '+') ++at;
  const char* const firstDigit = at;
  while (isDigit(*at)) ++at;
  form.complete = at != firstDigit;
  form.looksHex = at == firstDigit + 1 && *firstDigit == '0' && (*at == 'x' || *at == 'X');
  if (*at == '.') {
    ++at;
    form.complete = form.complete || isDigit(*at);
    while (isDigit(*at)) ++at;
  }
  if (form.complete && (*at == 'e' || *at == 'E')) {
    ++at;
    if (*at == '-' || *at == '+') ++at;
    form.complete = isDigit(*at);
  }
  return form;
}

}  // namespace

namespace vu::detail {

bool readDouble(const std::string& text, double& value) {
  const DecimalForm form = findDecimal(text.c_str(), text.c_str() + text.size());
  if (!form.complete) return false;
  if (form.looksHex) {
    value = *form.start == '-' ? -0.0 : 0.0;
    return true;
  }
  value = strtod_l(form.start, nullptr, classicLocale());
  return !std::isinf(value);
}

}  // namespace vu::detail

template <>
unsigned char str2val<unsigned char>(const std::string& text, bool flag) {
  return static_cast<unsigned char>(byteValue(text, flag));
}

template <>
signed char str2val<signed char>(const std::string& text, bool flag) {
  return static_cast<signed char>(byteValue(text, flag));
}

template <>
float str2val<float>(const std::string& text, bool flag) {
  char* stop = nullptr;
  const double value = strtod_l(text.c_str(), &stop, classicLocale());
  if (!flag && stop != text.c_str() + text.size()) {
    throw vu_exception(vu_failure::number, "Impure float value");
  }
  return static_cast<float>(value);
}

template <>
std::string str2val<std::string>(const std::string& text, bool /*flag*/) {
  return text;
}

bool close2Val(float reference, float value, float tolerance) {
  const double centre = reference;
  return value > centre - tolerance && centre + tolerance > value;
}
