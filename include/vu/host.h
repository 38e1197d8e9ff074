// What a host is: the words that the look-up of domains and the reading of URLs share.
//
// <vu/url.h> makes a vu_host of a URL as browsers do; vu_cctld::classify, in <vu/domain.h>, takes
// it. Neither library needs the other.

#ifndef VU_HOST_H_
#define VU_HOST_H_

#include <array>
#include <cstdint>
#include <string_view>

/// The kinds of hosts.
enum class vu_host_kind : std::uint8_t {
  none,  ///< There is no host, or it was refused.
  name,
  ipv4,
  ipv6,
  opaque  ///< Of a scheme that browsers know nothing of: any text, which need not be a name.
};

/// Why a URL is refused for its host or port. But for the last three, each is the rule of the URL
/// Standard that ends in failure; `refusalName` and `refusalText`, in <vu/url.h>, give the texts.
enum class vu_host_refusal : std::uint8_t {
  none,
  missingScheme,
  hostMissing,
  portInvalid,
  portOutOfRange,
  domainToAscii,
  domainInvalidCodePoint,
  hostInvalidCodePoint,
  ipv4TooManyParts,
  ipv4NonNumericPart,
  ipv4OutOfRangePart,
  ipv6Unclosed,
  ipv6InvalidCompression,
  ipv6TooManyPieces,
  ipv6MultipleCompression,
  ipv6InvalidCodePoint,
  ipv6TooFewPieces,
  ipv4InIpv6TooManyPieces,
  ipv4InIpv6InvalidCodePoint,
  ipv4InIpv6OutOfRangePart,
  ipv4InIpv6TooFewParts,
  noRoom,    ///< The canonical text does not fit into the caller's buffer.
  noMemory,  ///< The heap could not hold what some hosts take on the way.
  tooLong    ///< A name beyond ASCII of more than 2^28 bytes; in C, a URL of 2^32 and more.
};

/// A host as browsers see it. Trivially copyable.
struct vu_host {
  vu_host_kind kind = vu_host_kind::none;  ///< `none` when there is no host.
  /// `none`, or why there is no host; `kind` is then `none`, `text` empty and `port` -1.
  vu_host_refusal refused = vu_host_refusal::none;
  /// The port; -1 when the URL has none, or its scheme's own.
  std::int32_t port = -1;
  /// The canonical text: a name in lower case and ASCII, an IPv4 address in its four numbers, an
  /// IPv6 address in brackets and its shortest form. A view into the URL where it stands there
  /// just so, otherwise into the caller's buffer. Empty when there is no host.
  std::string_view text;
  /// Where the host stands in the URL, as far as it was found.
  std::string_view source;
  /// Of an address, in network order: an IPv4 address in the first four bytes. Otherwise zeros.
  std::array<std::uint8_t, 16> address{};
};

#endif  // VU_HOST_H_
