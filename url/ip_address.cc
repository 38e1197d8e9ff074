#include "url/ip_address.h"

#include <algorithm>
#include <utility>

namespace vu::detail {
namespace {

/// The value of a digit; 16 for what is none, hexadecimal or not.
unsigned digitOf(char c) noexcept {
  if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
  const char lower = static_cast<char>(c | 0x20);
  return lower >= 'a' && lower <= 'f' ? static_cast<unsigned>(lower - 'a') + 10 : 16;
}

bool isDecimal(char c) noexcept { return digitOf(c) < 10; }

constexpr std::uint64_t kTooLarge = std::uint64_t{1} << 32;

/// A number of an IPv4 address, decimal, octal or hexadecimal; what is too large for any address
/// becomes kTooLarge. False for what is no number.
bool parseNumber(std::string_view text, std::uint64_t& value) noexcept {
  if (text.empty()) return false;
  unsigned base = 10;
  if (text.substr(0, 2) == "0x") {
    base = 16;
    text.remove_prefix(2);
  } else if (text.size() > 1 && text[0] == '0') {
    base = 8;
    text.remove_prefix(1);
  }
  value = 0;
  for (const char c : text) {
    if (digitOf(c) >= base) return false;
    value = std::min(value * base + digitOf(c), kTooLarge);
  }
  return true;
}

/// Takes the first part off a text that is split at its dots.
std::string_view takePart(std::string_view& rest) noexcept {
  const std::size_t dot = std::min(rest.find('.'), rest.size());
  const std::string_view part = rest.substr(0, dot);
  rest.remove_prefix(std::min(dot + 1, rest.size()));
  return part;
}

/// The pieces of an IPv6 address, filled from the left, and where "::" stands among them.
class Ipv6Reader {
 public:
  explicit Ipv6Reader(std::string_view text) noexcept : rest_(text) {}

  vu_host_refusal read(AddressBytes& address) noexcept {
    const vu_host_refusal refused = readPieces();
    if (refused != vu_host_refusal::none) return refused;
    if (compress_ == kNone) {
      if (piece_ != 8) return vu_host_refusal::ipv6TooFewPieces;
    } else {
      auto* const all = pieces_.data();
      std::rotate(all + compress_, all + piece_, all + pieces_.size());
    }
    for (std::size_t i = 0; i < 16; ++i) {
      address[i] = static_cast<std::uint8_t>(pieces_[i / 2] >> (i % 2 == 0 ? 8 : 0));
    }
    return vu_host_refusal::none;
  }

 private:
  static constexpr std::size_t kNone = 9;

  bool startsWith(char c) const noexcept { return !rest_.empty() && rest_[0] == c; }
  void skip() noexcept { rest_.remove_prefix(1); }

  vu_host_refusal readPieces() noexcept {
    if (startsWith(':')) {
      skip();
      if (!startsWith(':')) return vu_host_refusal::ipv6InvalidCompression;
      skip();
      compress_ = ++piece_;
    }
    while (!rest_.empty()) {
      if (piece_ == 8) return vu_host_refusal::ipv6TooManyPieces;
      if (startsWith(':')) {
        if (compress_ != kNone) return vu_host_refusal::ipv6MultipleCompression;
        skip();
        compress_ = ++piece_;
        continue;
      }
      const std::string_view piece = rest_;
      unsigned value = 0;
      std::size_t length = 0;
      for (; length < 4 && !rest_.empty() && digitOf(rest_[0]) < 16; ++length, skip()) {
        value = value * 16 + digitOf(rest_[0]);
      }
      if (startsWith('.')) {
        if (length == 0) return vu_host_refusal::ipv4InIpv6InvalidCodePoint;
        rest_ = piece;
        return readIpv4();
      }
      if (startsWith(':')) {
        skip();
        if (rest_.empty()) return vu_host_refusal::ipv6InvalidCodePoint;
      } else if (!rest_.empty()) {
        return vu_host_refusal::ipv6InvalidCodePoint;
      }
      pieces_[piece_++] = value;
    }
    return vu_host_refusal::none;
  }

  /// The four decimal numbers that may stand in place of the last two pieces.
  vu_host_refusal readIpv4() noexcept {
    if (piece_ > 6) return vu_host_refusal::ipv4InIpv6TooManyPieces;
    std::size_t numbers = 0;
    for (; !rest_.empty(); ++numbers) {
      if (numbers > 0) {
        if (!startsWith('.') || numbers == 4) return vu_host_refusal::ipv4InIpv6InvalidCodePoint;
        skip();
      }
      if (rest_.empty() || !isDecimal(rest_[0])) return vu_host_refusal::ipv4InIpv6InvalidCodePoint;
      unsigned value = digitOf(rest_[0]);
      for (skip(); !rest_.empty() && isDecimal(rest_[0]); skip()) {
        if (value == 0) return vu_host_refusal::ipv4InIpv6InvalidCodePoint;
        value = value * 10 + digitOf(rest_[0]);
        if (value > 255) return vu_host_refusal::ipv4InIpv6OutOfRangePart;
      }
      unsigned& piece = pieces_[piece_ + numbers / 2];
      piece = piece << 8 | value;
    }
    piece_ += 2;
    return numbers == 4 ? vu_host_refusal::none : vu_host_refusal::ipv4InIpv6TooFewParts;
  }

  std::string_view rest_;
  std::array<unsigned, 8> pieces_{};
  std::size_t piece_ = 0;
  std::size_t compress_ = kNone;
};

}  // namespace

bool endsInNumber(std::string_view name) noexcept {
  if (!name.empty() && name.back() == '.') name.remove_suffix(1);
  const std::string_view last = name.substr(name.rfind('.') + 1);
  std::uint64_t value = 0;
  return (!last.empty() && std::all_of(last.begin(), last.end(), isDecimal)) ||
         parseNumber(last, value);
}

vu_host_refusal parseIpv4(std::string_view text, AddressBytes& address) noexcept {
  if (text.size() > 1 && text.back() == '.') text.remove_suffix(1);
  std::size_t last = 0;
  for (const char c : text) last += c == '.' ? 1 : 0;
  if (last > 3) return vu_host_refusal::ipv4TooManyParts;
  std::array<std::uint64_t, 4> numbers{};
  for (std::size_t i = 0; i <= last; ++i) {
    if (!parseNumber(takePart(text), numbers[i])) return vu_host_refusal::ipv4NonNumericPart;
  }
  std::uint64_t result = numbers[last];
  if (result >= kTooLarge >> 8 * last) return vu_host_refusal::ipv4OutOfRangePart;
  for (std::size_t i = 0; i < last; ++i) {
    if (numbers[i] > 255) return vu_host_refusal::ipv4OutOfRangePart;
    result |= numbers[i] << (24 - 8 * i);
  }
  for (std::size_t i = 0; i < 4; ++i) {
    address[i] = static_cast<std::uint8_t>(result >> (24 - 8 * i));
  }
  return vu_host_refusal::none;
}

vu_host_refusal parseIpv6(std::string_view text, AddressBytes& address) noexcept {
  return Ipv6Reader(text).read(address);
}

void AddressText::add(unsigned value, unsigned base) noexcept {
  if (value >= base) add(value / base, base);
  add("0123456789abcdef"[value % base]);
}

AddressText AddressText::ofIpv4(const AddressBytes& address) noexcept {
  AddressText text;
  for (std::size_t i = 0; i < 4; ++i) {
    if (i > 0) text.add('.');
    text.add(address[i], 10);
  }
  return text;
}

AddressText AddressText::ofIpv6(const AddressBytes& address) noexcept {
  const auto piece = [&address](std::size_t i) {
    return unsigned{address[2 * i]} << 8 | address[2 * i + 1];
  };
  std::size_t zeros = 8;  // where the pieces begin that are left out
  std::size_t count = 1;
  for (std::size_t i = 0; i < 8; ++i) {
    std::size_t end = i;
    while (end < 8 && piece(end) == 0) ++end;
    if (end - i > count) {
      zeros = i;
      count = end - i;
    }
  }
  AddressText text;
  text.add('[');
  for (std::size_t i = 0; i < 8; ++i) {
    if (i == zeros) {
      text.add(':');
      if (i == 0) text.add(':');
      i += count - 1;
      continue;
    }
    text.add(piece(i), 16);
    if (i < 7) text.add(':');
  }
  text.add(']');
  return text;
}

}  // namespace vu::detail
