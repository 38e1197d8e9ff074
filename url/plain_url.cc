// The host is looked at as sets of bits, one for each class of bytes, of which it takes a few
// operations to tell where it ends and that it is no address: no number begins with a letter.
// Whatever is not met here is left to the general way.

#include "url/plain_url.h"

#include <cstring>

#include "url/plain_bytes.h"

namespace vu::detail {
namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool endsAuthority(std::string_view url, std::size_t at) {
  return at == url.size() || url[at] == '/' || url[at] == '?' || url[at] == '#' || url[at] == '\\';
}

/// The length of the scheme with its slashes, and the port that it stands for.
struct Scheme {
  std::size_t size;
  std::int32_t port;
};

Scheme readScheme(std::string_view url) {
  if (url.size() < 8) return {0, 80};
  if (std::memcmp(url.data(), "http", 4) == 0) {
    // No branch depends on which of the two it is: nobody can predict that.
    const std::size_t secure = url[4] == 's' ? 1 : 0;
    if (std::memcmp(url.data() + 4 + secure, "://", 3) != 0) return {0, 80};
    return {7 + secure, secure != 0 ? 443 : 80};
  }
  if (std::memcmp(url.data(), "ftp://", 6) == 0) return {6, 21};
  return {0, 80};
}

/// All members of a set below a place.
std::uint64_t below(std::size_t place) { return (std::uint64_t{1} << place) - 1; }

/// Whether the last label of a host of fewer than 64 bytes, one trailing dot aside, begins with a
/// letter. What is plain and above "9" is one, or "_".
bool endsInName(const char* host, std::size_t size, std::uint64_t dots) {
  const std::uint64_t inner = dots & below(size - 1);
  const std::size_t last = inner == 0 ? 0 : 64 - static_cast<std::size_t>(__builtin_clzll(inner));
  return host[last] > '_';
}

}  // namespace

bool findPlainUrl(std::string_view url, vu_url_text how, vu_host& host) noexcept {
  const Scheme scheme = readScheme(url);
  if (scheme.size == 0 && how != vu_url_text::typed) return false;
  const char* const start = url.data() + scheme.size;
  const PlainBytes bytes = findPlainBytes(start, url.size() - scheme.size);
  if (~bytes.plain == 0) return false;
  const auto size = static_cast<std::size_t>(__builtin_ctzll(~bytes.plain));
  if (size == 0 || !endsInName(start, size, bytes.dots)) return false;

  std::int32_t port = -1;
  std::size_t at = scheme.size + size;
  if (at < url.size() && url[at] == ':') {
    if (scheme.size == 0) return false;  // it may be a scheme's
    const std::size_t first = ++at;
    std::int32_t number = 0;
    while (at < url.size() && isDigit(url[at]) && at - first < 5) {
      number = number * 10 + (url[at++] - '0');
    }
    if (number > 65535) return false;
    if (at > first && number != scheme.port) port = number;
  }
  if (!endsAuthority(url, at)) return false;
  host.kind = vu_host_kind::name;
  host.port = port;
  host.text = host.source = {start, size};
  return true;
}

}  // namespace vu::detail
