// Where in a URL its host and port stand.

#ifndef VU_URL_AUTHORITY_H_
#define VU_URL_AUTHORITY_H_

#include <cstdint>
#include <string_view>

#include "vu/host.h"
#include "vu/url.h"

namespace vu::detail {

/// What precedes the parsing of a host. Views are into the URL; tabs and line ends, which are read
/// as if they were not there, still stand in them.
struct Authority {
  vu_host_refusal refused = vu_host_refusal::none;
  bool isSpecial = false;  ///< Its scheme is one whose hosts are names or addresses.
  bool isFile = false;
  std::string_view host;  ///< Empty when there is none.
  std::int32_t port = -1;
};

/// Tabs and line ends, which a URL may have anywhere.
constexpr bool isIgnored(char c) { return c == '\t' || c == '\n' || c == '\r'; }

Authority findAuthority(std::string_view url, vu_url_text how) noexcept;

}  // namespace vu::detail

#endif  // VU_URL_AUTHORITY_H_
