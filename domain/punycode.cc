#include "domain/punycode.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

namespace vu::detail {
namespace {

using Points = std::vector<std::uint32_t>;

bool isContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80; }

/// Takes one code point from the front of a text; false when there is none, or a forbidden form of
/// one.
bool takePoint(std::string_view& text, std::uint32_t& point) {
  const auto lead = static_cast<unsigned char>(text[0]);
  const std::size_t more = lead < 0x80 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
  constexpr std::uint32_t kLeast[] = {0, 0x80, 0x800, 0x10000};
  if ((lead >= 0x80 && lead < 0xC2) || lead > 0xF4 || text.size() <= more) return false;
  point = more == 0 ? lead : lead & (0x3FU >> more);
  for (std::size_t i = 1; i <= more; ++i) {
    if (!isContinuation(text[i])) return false;
    point = point << 6 | (static_cast<unsigned char>(text[i]) & 0x3FU);
  }
  text.remove_prefix(more + 1);
  return point >= kLeast[more] && point <= 0x10FFFF && (point < 0xD800 || point > 0xDFFF);
}

constexpr std::uint32_t kBase = 36;
constexpr std::uint32_t kLeastDigits = 1;  // tmin
constexpr std::uint32_t kMostDigits = 26;  // tmax

std::uint32_t adapted(std::uint32_t delta, std::uint32_t points, bool first) {
  constexpr std::uint32_t kSkew = 38;
  constexpr std::uint32_t kDamp = 700;
  delta = first ? delta / kDamp : delta / 2;
  delta += delta / points;
  std::uint32_t bias = 0;
  for (; delta > (kBase - kLeastDigits) * kMostDigits / 2; bias += kBase) {
    delta /= kBase - kLeastDigits;
  }
  return bias + (kBase - kLeastDigits + 1) * delta / (delta + kSkew);
}

char digit(std::uint32_t value) {
  return static_cast<char>(value < 26 ? 'a' + value : '0' + (value - 26));
}

void appendNumber(std::string& text, std::uint32_t number, std::uint32_t bias) {
  for (std::uint32_t weight = kBase;; weight += kBase) {
    const std::uint32_t threshold =
        weight <= bias ? kLeastDigits : std::min(weight - bias, kMostDigits);
    if (number < threshold) break;
    text += digit(threshold + (number - threshold) % (kBase - threshold));
    number = (number - threshold) / (kBase - threshold);
  }
  text += digit(number);
}

/// Code points in their order, each as the number of steps from the one before.
void appendEncoded(std::string& text, const Points& points) {
  const auto basic = static_cast<std::uint32_t>(
      std::count_if(points.begin(), points.end(), [](std::uint32_t each) { return each < 0x80; }));
  for (const std::uint32_t each : points) {
    if (each < 0x80) text += static_cast<char>(each);
  }
  if (basic > 0) text += '-';
  std::uint32_t bias = 72;
  std::uint32_t delta = 0;
  std::uint32_t reached = 0x80;
  for (std::uint32_t done = basic; done < points.size(); ++delta, ++reached) {
    std::uint32_t next = std::numeric_limits<std::uint32_t>::max();
    for (const std::uint32_t each : points) {
      if (each >= reached) next = std::min(next, each);
    }
    delta += (next - reached) * (done + 1);
    reached = next;
    for (const std::uint32_t each : points) {
      if (each < reached) ++delta;
      if (each != reached) continue;
      appendNumber(text, delta, bias);
      bias = adapted(delta, done + 1, done == basic);
      delta = 0;
      ++done;
    }
  }
}

/// False when the label is no UTF-8, or longer than any that DNS has.
bool appendLabel(std::string& name, std::string_view label) {
  constexpr std::size_t kLongest = 255;
  const auto isAscii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
  if (std::all_of(label.begin(), label.end(), isAscii)) {
    name += label;
    return true;
  }
  if (label.size() > kLongest) return false;
  Points points;
  while (!label.empty()) {
    std::uint32_t point = 0;
    if (!takePoint(label, point)) return false;
    points.push_back(point >= 'A' && point <= 'Z' ? point + ('a' - 'A') : point);
  }
  name += "xn--";
  appendEncoded(name, points);
  return true;
}

}  // namespace

std::string asciiName(std::string_view name) {
  std::string ascii;
  while (true) {
    const std::size_t dot = name.find('.');
    if (!appendLabel(ascii, name.substr(0, dot))) return "";
    if (dot == std::string_view::npos) return ascii;
    ascii += '.';
    name.remove_prefix(dot + 1);
  }
}

}  // namespace vu::detail
