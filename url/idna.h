// Names beyond ASCII, by Unicode Technical Standard 46.

#ifndef VU_URL_IDNA_H_
#define VU_URL_IDNA_H_

#include <memory_resource>
#include <string>
#include <string_view>

namespace vu::detail {

/// Puts a name in UTF-8 into ASCII, as the URL Standard does that of a host: deviation characters
/// stay, joiners and writing directions are checked, hyphens, lengths and other ASCII bytes are
/// not. False for a name that is refused; `ascii` may then hold anything.
///
/// Throws std::bad_alloc.
bool nameToAscii(std::string_view name, std::pmr::string& ascii);

/// The same, of an ordinary name that is not refused; false for all else, and nothing is said of
/// it. Of a host as it stands in a URL as well: a byte that is not part of the name stays.
bool ordinaryNameToAscii(std::string_view name, std::pmr::string& ascii);

/// The same, of any name, by the steps of the standard.
bool nameToAsciiInSteps(std::string_view name, std::string& ascii);

}  // namespace vu::detail

#endif  // VU_URL_IDNA_H_
