// What libvu-url offers, but for the ordinary way: the host of any URL, and the texts of refusals.

#include "url/browser_host.h"

#include <array>
#include <new>

#include "url/authority.h"

namespace vu::detail {
namespace {

vu_host refused(vu_host_refusal why, std::string_view source) {
  vu_host host;
  host.refused = why;
  host.source = source;
  return host;
}

/// Any bytes at all. Throws std::bad_alloc.
vu_host parse(std::string_view url, Room room, vu_url_text how) {
  const Authority authority = findAuthority(url, how);
  vu_host host;
  if (!authority.host.empty()) host = parseHost(authority.host, authority.isSpecial, room);
  if (host.refused != vu_host_refusal::none) return host;
  if (authority.refused != vu_host_refusal::none) return refused(authority.refused, host.source);
  if (authority.isFile && host.text == "localhost") host = {};
  host.port = authority.port;
  return host;
}

struct Refusal {
  const char* name;
  const char* text;
};

/// In the order of vu_host_refusal.
constexpr std::array<Refusal, 24> kRefusals{{
    {"none", "not refused"},
    {"missing-scheme-non-relative-URL", "no scheme"},
    {"host-missing", "no host"},
    {"port-invalid", "a port that is no number"},
    {"port-out-of-range", "a port above 65535"},
    {"domain-to-ASCII", "a name that cannot be put in ASCII"},
    {"domain-invalid-code-point", "a character that no name may have"},
    {"host-invalid-code-point", "a character that no host may have"},
    {"IPv4-too-many-parts", "an IPv4 address of more than four numbers"},
    {"IPv4-non-numeric-part", "a part of an IPv4 address that is no number"},
    {"IPv4-out-of-range-part", "a number too large for an IPv4 address"},
    {"IPv6-unclosed", "an IPv6 address without its closing bracket"},
    {"IPv6-invalid-compression", "an IPv6 address that begins with a single colon"},
    {"IPv6-too-many-pieces", "an IPv6 address of more than eight pieces"},
    {"IPv6-multiple-compression", "an IPv6 address with \"::\" in two places"},
    {"IPv6-invalid-code-point", "a character that no IPv6 address may have"},
    {"IPv6-too-few-pieces", "an IPv6 address of fewer than eight pieces"},
    {"IPv4-in-IPv6-too-many-pieces", "an IPv4 address behind more than six pieces of IPv6"},
    {"IPv4-in-IPv6-invalid-code-point", "an IPv4 address within IPv6 that is ill-formed"},
    {"IPv4-in-IPv6-out-of-range-part", "an IPv4 address within IPv6 with a number above 255"},
    {"IPv4-in-IPv6-too-few-parts", "an IPv4 address within IPv6 of fewer than four numbers"},
    {"no-room", "a host longer than there is room for"},
    {"no-memory", "no memory for the host"},
    {"too-long", "a host too long to be read"},
}};
static_assert(kRefusals.size() == static_cast<std::size_t>(vu_host_refusal::tooLong) + 1);

constexpr Refusal kUnknown{"unknown", "refused for an unknown reason"};

const Refusal& find(vu_host_refusal refusal) {
  const auto index = static_cast<std::size_t>(refusal);
  return index < kRefusals.size() ? kRefusals[index] : kUnknown;
}

}  // namespace

vu_host hostOfAny(std::string_view url, Room room, vu_url_text how) noexcept {
  try {
    return parse(url, room, how);
  } catch (const std::bad_alloc&) {
    return refused(vu_host_refusal::noMemory, {});
  }
}

}  // namespace vu::detail

const char* refusalName(vu_host_refusal refusal) noexcept { return vu::detail::find(refusal).name; }

const char* refusalText(vu_host_refusal refusal) noexcept { return vu::detail::find(refusal).text; }
