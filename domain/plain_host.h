// Ordinary hosts, told at a glance.

#ifndef VU_DOMAIN_PLAIN_HOST_H_
#define VU_DOMAIN_PLAIN_HOST_H_

#include <string_view>

namespace vu::detail {

/// A host of two labels or more, joined by single dots, each beginning with a letter or digit, the
/// last with a letter: so it is neither malformed nor an address. One trailing dot is allowed.
struct PlainHost {
  std::string_view host;
  std::string_view lastTwo;  ///< Its last two labels, without the trailing dot.
  std::string_view last;     ///< Its last label.
};

/// Whether the host of `url` is a plain one. Hosts that are not are for the general way.
bool findPlainHost(std::string_view url, PlainHost& found) noexcept;

}  // namespace vu::detail

#endif  // VU_DOMAIN_PLAIN_HOST_H_
