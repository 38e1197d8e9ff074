// One pass over the host, and a look at the first byte of its last label: no number begins with a
// letter. Whatever is not met here is left to the general way.

#include "url/plain_url.h"

#include <algorithm>
#include <array>

namespace vu::detail {
namespace {

constexpr std::array<bool, 256> makePlainBytes() {
  std::array<bool, 256> plain{};
  for (unsigned c = 'a'; c <= 'z'; ++c) plain[c] = true;
  for (unsigned c = '0'; c <= '9'; ++c) plain[c] = true;
  plain['-'] = plain['_'] = plain['.'] = true;
  return plain;
}

constexpr std::array<bool, 256> kPlain = makePlainBytes();

bool isPlain(char c) { return kPlain[static_cast<unsigned char>(c)]; }
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
  if (url.substr(0, 7) == "http://") return {7, 80};
  if (url.substr(0, 8) == "https://") return {8, 443};
  return {0, 80};
}

bool endsInName(std::string_view host) {
  if (host.back() == '.') host.remove_suffix(1);
  std::size_t at = host.size();
  while (at > 0 && host[at - 1] != '.') --at;
  return at < host.size() && host[at] >= 'a' && host[at] <= 'z';
}

}  // namespace

bool findPlainUrl(std::string_view url, vu_url_text how, vu_host& host) noexcept {
  const Scheme scheme = readScheme(url);
  if (scheme.size == 0 && how != vu_url_text::typed) return false;
  std::size_t at = scheme.size;
  while (at < url.size() && isPlain(url[at])) ++at;
  const std::string_view name = url.substr(scheme.size, at - scheme.size);
  if (name.empty() || !endsInName(name)) return false;

  std::int32_t port = -1;
  if (at < url.size() && url[at] == ':') {
    if (scheme.size == 0) return false;  // it may be a scheme's
    const std::size_t first = ++at;
    std::int32_t number = 0;
    while (at < url.size() && isDigit(url[at]) && at - first < 5) {
      number = number * 10 + (url[at++] - '0');
    }
    if (at == first || number > 65535) return false;
    if (number != scheme.port) port = number;
  }
  if (!endsAuthority(url, at)) return false;
  host.kind = vu_host_kind::name;
  host.port = port;
  host.text = host.source = name;
  return true;
}

}  // namespace vu::detail
