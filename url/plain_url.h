// The ordinary case of reading a URL.

#ifndef VU_URL_PLAIN_URL_H_
#define VU_URL_PLAIN_URL_H_

#include <string_view>

#include "vu/host.h"
#include "vu/url.h"

namespace vu::detail {

/// Reads "http://", "https://" or "ftp://" in lower case, or nothing where the text is typed, a
/// name that is canonical as it stands, and nothing or a port. False for all else, with `host`
/// untouched.
bool findPlainUrl(std::string_view url, vu_url_text how, vu_host& host) noexcept;

}  // namespace vu::detail

#endif  // VU_URL_PLAIN_URL_H_
