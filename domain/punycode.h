// International labels in the form of DNS.

#ifndef VU_DOMAIN_PUNYCODE_H_
#define VU_DOMAIN_PUNYCODE_H_

#include <string>
#include <string_view>

namespace vu::detail {

/// A name in UTF-8 with each label beyond ASCII as "xn--" and its Punycode (RFC 3492), the others
/// as they are; "" when it is no UTF-8. Nothing is mapped but ASCII capitals in such labels: a name
/// has to be in the normal form, in lower case, as those of the Public Suffix List are.
std::string asciiName(std::string_view name);

}  // namespace vu::detail

#endif  // VU_DOMAIN_PUNYCODE_H_
