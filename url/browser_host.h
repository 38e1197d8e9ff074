// The host of any URL, for what is no ordinary one.

#ifndef VU_URL_BROWSER_HOST_H_
#define VU_URL_BROWSER_HOST_H_

#include <string_view>

#include "url/host_parser.h"
#include "vu/url.h"

namespace vu::detail {

/// browserHost in the general way.
vu_host hostOfAny(std::string_view url, Room room, vu_url_text how) noexcept;

}  // namespace vu::detail

#endif  // VU_URL_BROWSER_HOST_H_
