// The host that a browser goes to.
//
//   char buffer[256];
//   const vu_host host = browserHost("http://google.com:80@EVIL.example:8080/", buffer);
//   if (host.refused != vu_host_refusal::none) {
//     std::cout << refusalText(host.refused) << '\n';
//   } else if (host.kind != vu_host_kind::none) {
//     std::cout << host.text << ' ' << host.port << '\n';     // "evil.example 8080"
//   }
//
// The rules are those of the URL Standard (WHATWG) as of the middle of 2026, for URLs that stand
// alone. Any bytes may be given; what is not UTF-8 is read as U+FFFD. Names beyond ASCII go through
// UTS 46, by ICU's tables and therefore by the Unicode version of the ICU that is installed.
//
// Threads:  everything here may run in any number of threads at once.
// Errors:   nothing throws; a refusal is a value.
// Lifetime: results are views into the caller's URL and buffer.
// Cost:     in proportion to the URL up to the end of its host and port, but for names beyond
//           ASCII, which cost n log n. The heap is used for hosts beyond ASCII, and for hosts of
//           more than 500 bytes that are no plain names; at most some 60 bytes for one of the host.
//
// This is a library of its own, libvu-url (CMake target vu::url, pkg-config vu-url).

#ifndef VU_URL_H_
#define VU_URL_H_

#include <cstddef>
#include <string_view>

#include "vu/export.h"
#include "vu/host.h"

/// How a text is read.
enum class vu_url_text {
  /// As a URL: without a scheme it is refused.
  url,
  /// As typed into an address bar. What begins with a special scheme (http, https, ws, wss, ftp,
  /// file) and ":", or with any scheme and "://", is a URL. A scheme followed by ":", digits and
  /// the end, "/", "?" or "#" is a host with its port: "localhost:8080". Any other "scheme:", such
  /// as "mailto:", has no host. All else is read as if "http://" stood in front of it.
  typed
};

/// A buffer of so many bytes holds the canonical text of every host in a URL of `urlSize` bytes.
/// 256 bytes hold every name that the domain name system can know, and every address.
constexpr std::size_t browserHostBound(std::size_t urlSize) { return 20 * urlSize + 64; }

/// The host of `url`. Its text is written to `buffer`, which has room for `size` bytes, unless it
/// stands in the URL just so, as ordinary hosts do; what does not fit is refused with `noRoom`. The
/// buffer may be null when `size` is 0. No more is written than the text, and nothing at its end.
VU_EXPORT vu_host browserHost(std::string_view url, char* buffer, std::size_t size,
                              vu_url_text how = vu_url_text::url) noexcept;

/// The same with an array.
template <std::size_t kSize>
vu_host browserHost(std::string_view url, char (&buffer)[kSize],
                    vu_url_text how = vu_url_text::url) noexcept {
  return browserHost(url, buffer, kSize, how);
}

/// The name that the URL Standard gives a refusal, such as "IPv4-out-of-range-part"; "none" for
/// none, "unknown" for a value that is no refusal. Never null, never freed.
VU_EXPORT const char* refusalName(vu_host_refusal refusal) noexcept;

/// The same as a sentence for people, without a full stop.
VU_EXPORT const char* refusalText(vu_host_refusal refusal) noexcept;

#endif  // VU_URL_H_
