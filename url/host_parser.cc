#include "url/host_parser.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory_resource>
#include <string>

#include "url/authority.h"
#include "url/idna.h"
#include "url/ip_address.h"
#include "url/utf8.h"

namespace vu::detail {
namespace {

using Text = std::pmr::string;

/// Lengths of what a longer name is mapped to may not fit an int, in which ICU counts.
constexpr std::size_t kLongestBeyondAscii = std::size_t{1} << 28;

struct Forbidden {
  std::array<bool, 256> inHost{};
  std::array<bool, 256> inName{};
};

constexpr Forbidden makeForbidden() {
  Forbidden all;
  for (const char c : std::string_view("\0\t\n\r #/:<>?@[\\]^|", 17)) {
    all.inHost[static_cast<unsigned char>(c)] = true;
  }
  all.inName = all.inHost;
  for (unsigned c = 0; c <= ' '; ++c) all.inName[c] = true;
  all.inName['%'] = all.inName['\x7F'] = true;
  return all;
}

constexpr Forbidden kForbidden = makeForbidden();

bool isForbiddenInHost(char c) { return kForbidden.inHost[static_cast<unsigned char>(c)]; }
bool isForbiddenInName(char c) { return kForbidden.inName[static_cast<unsigned char>(c)]; }

/// The source as the parser sees it: without ignored bytes, and in UTF-8.
void readSource(std::string_view source, Text& text) {
  constexpr char32_t kReplacement = 0xFFFD;
  text.reserve(source.size());
  std::size_t taken = 0;
  for (std::size_t at = 0; at < source.size();) {
    const std::size_t start = at;
    const bool isWide = !isAscii(source[at]);
    if (isWide ? nextCodePoint(source, at) != kReplacement : !isIgnored(source[at++])) continue;
    text.append(source, taken, start - taken);
    if (isWide) text.append("\xEF\xBF\xBD");
    taken = at;
  }
  text.append(source.substr(taken));
}

/// The value of two hexadecimal digits, or -1.
int hexValue(char high, char low) {
  constexpr std::string_view kDigits = "0123456789abcdef0123456789ABCDEF";
  const std::size_t first = kDigits.find(high);
  const std::size_t second = kDigits.find(low);
  if (first == std::string_view::npos || second == std::string_view::npos) return -1;
  return static_cast<int>(first % 16 * 16 + second % 16);
}

/// Decodes percent signs and puts ASCII in lower case, in place.
void decodeName(Text& text) {
  std::size_t size = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    char c = text[at];
    if (c == '%' && text.size() - at > 2) {
      const int value = hexValue(text[at + 1], text[at + 2]);
      if (value >= 0) {
        c = static_cast<char>(value);
        at += 2;
      }
    }
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c | 0x20);
    text[size++] = c;
  }
  text.resize(size);
}

/// One host on its way from source to record.
class HostParser {
 public:
  HostParser(std::string_view source, Room room) : room_(room) { host_.source = source; }

  vu_host parse(bool isSpecial) {
    if (isSpecial && parseOrdinary()) return host_;
    readSource(host_.source, text_);
    if (text_.front() == '[') {
      parseBrackets();
    } else if (isSpecial) {
      parseName();
    } else {
      parseOpaque();
    }
    return host_;
  }

 private:
  void refuse(vu_host_refusal why) {
    host_.refused = why;
    host_.kind = vu_host_kind::none;
    host_.address = {};
  }

  /// Ends with a host of that kind, unless there is no room for its text.
  void accept(vu_host_kind kind, std::string_view canonical) {
    host_.kind = kind;
    if (canonical == host_.source) {
      host_.text = host_.source;
    } else if (canonical.size() <= room_.size) {
      std::memcpy(room_.data, canonical.data(), canonical.size());
      host_.text = {room_.data, canonical.size()};
    } else {
      refuse(vu_host_refusal::noRoom);
    }
  }

  /// A name beyond ASCII at once. One that has bytes to be left out or decoded has them still when
  /// it is in ASCII, and is left to the steps, as what is refused is.
  bool parseOrdinary() {
    Text name(&memory_);
    if (isAscii(host_.source) || !ordinaryNameToAscii(host_.source, name) || name.empty() ||
        std::any_of(name.begin(), name.end(), isForbiddenInName) || endsInNumber(name)) {
      return false;
    }
    accept(vu_host_kind::name, name);
    return true;
  }

  void parseBrackets() {
    if (text_.back() != ']') return refuse(vu_host_refusal::ipv6Unclosed);
    const std::string_view inner = std::string_view(text_).substr(1, text_.size() - 2);
    const vu_host_refusal refused = parseIpv6(inner, host_.address);
    if (refused != vu_host_refusal::none) return refuse(refused);
    accept(vu_host_kind::ipv6, AddressText::ofIpv6(host_.address).view());
  }

  void parseName() {
    decodeName(text_);
    Text ascii(&memory_);
    std::string_view name = text_;
    if (!isAscii(name)) {
      if (name.size() > kLongestBeyondAscii) return refuse(vu_host_refusal::tooLong);
      if (!nameToAscii(name, ascii) || ascii.empty()) return refuse(vu_host_refusal::domainToAscii);
      name = ascii;
    }
    if (std::any_of(name.begin(), name.end(), isForbiddenInName)) {
      return refuse(vu_host_refusal::domainInvalidCodePoint);
    }
    if (!endsInNumber(name)) return accept(vu_host_kind::name, name);
    const vu_host_refusal refused = parseIpv4(name, host_.address);
    if (refused != vu_host_refusal::none) return refuse(refused);
    accept(vu_host_kind::ipv4, AddressText::ofIpv4(host_.address).view());
  }

  void parseOpaque() {
    if (std::any_of(text_.begin(), text_.end(), isForbiddenInHost)) {
      return refuse(vu_host_refusal::hostInvalidCodePoint);
    }
    std::string encoded;
    for (const char c : text_) {
      if (c >= ' ' && c < '\x7F') {
        encoded += c;
      } else {
        constexpr char kDigits[] = "0123456789ABCDEF";
        const auto byte = static_cast<unsigned char>(c);
        encoded += '%';
        encoded += kDigits[byte >> 4];
        encoded += kDigits[byte & 15];
      }
    }
    accept(vu_host_kind::opaque, encoded);
  }

  vu_host host_;
  Room room_;
  // Hosts of ordinary length need no heap. Nothing is read that was not written.
  std::array<char, 512> stack_;
  std::pmr::monotonic_buffer_resource memory_{stack_.data(), stack_.size()};
  Text text_{&memory_};
};

}  // namespace

vu_host parseHost(std::string_view source, bool isSpecial, Room room) {
  return HostParser(source, room).parse(isSpecial);
}

}  // namespace vu::detail
