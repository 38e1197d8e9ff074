// Punycode (RFC 3492): the part of a label behind its "xn--".

#ifndef VU_URL_PUNYCODE_H_
#define VU_URL_PUNYCODE_H_

#include <string>
#include <string_view>

namespace vu::detail {

/// Appends a label's code. False, with something appended, for a label so long and varied that its
/// code's numbers do not fit into 31 bits.
bool encodePunycode(std::u32string_view label, std::string& code);

/// Reads a code in lower case into `label`. False, with anything there, when it is none.
bool decodePunycode(std::string_view code, std::u32string& label);

}  // namespace vu::detail

#endif  // VU_URL_PUNYCODE_H_
