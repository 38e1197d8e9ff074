// Addresses as the URL Standard reads and writes them.

#ifndef VU_URL_IP_ADDRESS_H_
#define VU_URL_IP_ADDRESS_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "vu/host.h"

namespace vu::detail {

using AddressBytes = std::array<std::uint8_t, 16>;

/// Whether a name in lower case is to be read as an IPv4 address: its last label, one trailing dot
/// aside, is a number.
bool endsInNumber(std::string_view name) noexcept;

/// Reads a name in lower case as an IPv4 address, into the first four bytes.
vu_host_refusal parseIpv4(std::string_view text, AddressBytes& address) noexcept;

/// Reads an IPv6 address without its brackets.
vu_host_refusal parseIpv6(std::string_view text, AddressBytes& address) noexcept;

/// An address as text.
class AddressText {
 public:
  /// Four decimal numbers.
  static AddressText ofIpv4(const AddressBytes& address) noexcept;
  /// In brackets: hexadecimal pieces without leading zeros, the first of the longest runs of two or
  /// more zero pieces left out.
  static AddressText ofIpv6(const AddressBytes& address) noexcept;

  std::string_view view() const noexcept { return {text_.data(), size_}; }

 private:
  void add(char c) noexcept { text_[size_++] = c; }
  void add(unsigned value, unsigned base) noexcept;

  std::array<char, 41> text_{};
  std::size_t size_ = 0;
};

}  // namespace vu::detail

#endif  // VU_URL_IP_ADDRESS_H_
