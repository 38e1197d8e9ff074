// Ordinary hosts, told at a glance.

#ifndef VU_DOMAIN_PLAIN_HOST_H_
#define VU_DOMAIN_PLAIN_HOST_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vu::detail {

/// Where a URL has a host of two labels or more, joined by single dots, each beginning with a
/// letter or digit, the last with a letter: so it is neither malformed nor an address. One trailing
/// dot is allowed. Places in the URL, below 2^16; in one word, so that it is passed in a register.
class PlainHost {
 public:
  static constexpr std::size_t kMostBytes = 0xFFFF;

  /// None as `PlainHost()`; without the brackets not set, which an array of them need not be.
  PlainHost() = default;  // cppcheck-suppress uninitMemberVar
  PlainHost(std::size_t start, std::size_t end, std::size_t lastTwo, std::size_t nameEnd) noexcept
      : places_(start | std::uint64_t{end} << 16 | std::uint64_t{lastTwo} << 32 |
                std::uint64_t{nameEnd} << 48) {}

  explicit operator bool() const noexcept { return places_ != 0; }

  std::size_t start() const noexcept { return static_cast<std::size_t>(places_ & kMostBytes); }
  std::size_t end() const noexcept { return static_cast<std::size_t>(places_ >> 16 & kMostBytes); }
  /// Where the last two labels begin.
  std::size_t lastTwo() const noexcept {
    return static_cast<std::size_t>(places_ >> 32 & kMostBytes);
  }
  /// The end less a trailing dot.
  std::size_t nameEnd() const noexcept { return static_cast<std::size_t>(places_ >> 48); }

 private:
  std::uint64_t places_;
};

/// Says that a text ends at its first NUL, and that 64 bytes of it can be read.
constexpr std::size_t kUpToNul = std::string_view::npos;

/// The size of a text that ends at its first NUL: `kUpToNul` unless it has to be looked for.
std::size_t sizeUpToNul(const char* text) noexcept;

/// Looks for a plain host, told at a glance. Those that are none are for the general way.
PlainHost findPlainHost(const char* text, std::size_t size) noexcept;

}  // namespace vu::detail

#endif  // VU_DOMAIN_PLAIN_HOST_H_
