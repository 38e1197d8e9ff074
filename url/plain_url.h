// The ordinary case of reading a URL: "http://", "https://" or "ftp://" in lower case, or nothing
// where the text is typed; a name that is canonical as it stands; and nothing or a port.
//
// The host is looked at as sets of bits, one for each class of bytes, of which it takes a few
// operations to tell where it ends and that it is no address: no number begins with a letter.
// Whatever is not met here is left to the general way. All of this becomes a part of the function
// that makes the sets; one source file for each way to make them defines browserHost.

#ifndef VU_URL_PLAIN_URL_H_
#define VU_URL_PLAIN_URL_H_

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "url/browser_host.h"

namespace vu::detail {

/// What the first 64 bytes of a text are, the first byte lowest. Bytes that are not there belong to
/// no class; those behind one that is not plain may be missing.
struct PlainBytes {
  std::uint64_t plain;  ///< Letters in lower case, digits, "-", "_" and ".".
  std::uint64_t dots;
};

/// A host that is canonical as it stands.
struct PlainUrl {
  std::uint32_t start;
  std::uint32_t size;  ///< 0 for a URL that is not plain.
  std::int32_t port;   ///< As in vu_host.
};

/// The length of the scheme with its slashes, and the port that it stands for.
struct PlainScheme {
  std::uint32_t size;
  std::int32_t port;
};

inline PlainScheme readPlainScheme(std::string_view url) noexcept {
  if (url.size() < 8) return {0, 80};
  if (std::memcmp(url.data(), "http", 4) == 0) {
    // No branch depends on which of the two it is: nobody can predict that.
    const std::uint32_t secure = url[4] == 's' ? 1 : 0;
    if (std::memcmp(url.data() + 4 + secure, "://", 3) != 0) return {0, 80};
    return {7 + secure, secure != 0 ? 443 : 80};
  }
  if (std::memcmp(url.data(), "ftp://", 6) == 0) return {6, 21};
  return {0, 80};
}

/// Whether the last label of a host of fewer than 64 bytes, one trailing dot aside, begins with a
/// letter. What is plain and above "9" is one, or "_".
inline bool endsInName(const char* host, std::size_t size, std::uint64_t dots) noexcept {
  const std::uint64_t inner = dots & ((std::uint64_t{1} << (size - 1)) - 1);
  const std::size_t last = inner == 0 ? 0 : 64 - static_cast<std::size_t>(__builtin_clzll(inner));
  return host[last] > '_';
}

struct PlainPort {
  std::size_t end;
  std::int32_t number;  ///< As in vu_host; too large for any port where it is no port.
};

/// Reads what stands behind a colon at a place: nothing, or up to five digits.
inline PlainPort readPlainPort(std::string_view url, std::size_t at, std::int32_t own) noexcept {
  const std::size_t first = ++at;
  std::int32_t number = 0;
  while (at < url.size() && url[at] >= '0' && url[at] <= '9' && at - first < 5) {
    number = number * 10 + (url[at++] - '0');
  }
  return {at, at > first && number != own ? number : -1};
}

/// The plain host of a URL, with a way to tell bytes apart.
template <PlainBytes (*kFind)(const char*, std::size_t) noexcept>
PlainUrl findPlainUrl(std::string_view url, vu_url_text how) noexcept {
  constexpr PlainUrl kNone{0, 0, -1};
  const PlainScheme scheme = readPlainScheme(url);
  if (scheme.size == 0 && how != vu_url_text::typed) return kNone;
  const char* const start = url.data() + scheme.size;
  const PlainBytes bytes = kFind(start, url.size() - scheme.size);
  if (~bytes.plain == 0) return kNone;
  const auto size = static_cast<std::uint32_t>(__builtin_ctzll(~bytes.plain));
  if (size == 0 || !endsInName(start, size, bytes.dots)) return kNone;

  PlainPort port{std::size_t{scheme.size} + size, -1};
  if (port.end < url.size() && url[port.end] == ':') {
    port = readPlainPort(url, port.end, scheme.port);
    // Without a scheme, what is in front may be one.
    if (scheme.size == 0 || port.number > 65535) return kNone;
  }
  const char end = port.end < url.size() ? url[port.end] : '/';
  if (end != '/' && end != '?' && end != '#' && end != '\\') return kNone;
  return {scheme.size, size, port.number};
}

/// The host of any URL, with a way to tell bytes apart. No call returns here: nothing needs saving.
template <PlainBytes (*kFind)(const char*, std::size_t) noexcept>
[[gnu::always_inline]] inline vu_host findHost(std::string_view url, Room room,
                                               vu_url_text how) noexcept {
  const PlainUrl plain = findPlainUrl<kFind>(url, how);
  if (plain.size == 0) return hostOfAny(url, room, how);
  const std::string_view text(url.data() + plain.start, plain.size);
  return {vu_host_kind::name, vu_host_refusal::none, plain.port, text, text, {}};
}

}  // namespace vu::detail

#endif  // VU_URL_PLAIN_URL_H_
