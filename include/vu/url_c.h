// The host that a browser goes to, for C and through it for every language: <vu/url.h> by place and
// length. In libvu-url; nothing of libvu is needed.
//
//   char buffer[256];
//   vu_host_record host;
//   const char* url = "http://google.com:80@EVIL.example/";
//   if (vu_browser_host(url, strlen(url), VU_TEXT_URL, buffer, sizeof buffer, &host,
//                       sizeof host) == 0 && host.refused == 0) {
//     const char* text = host.text_in_buffer ? buffer : url;
//     printf("%.*s\n", (int)host.text_length, text + host.text_start);  // evil.example
//   }
//
// The conventions are those of <vu/c.h>: a function that can fail returns 0 (VU_OK) or 1
// (VU_ERROR_ARGUMENT), and then has changed nothing; what a URL comes to is no failure; texts that
// come out live as long as the library; no function throws, and none keeps a pointer.

#ifndef VU_URL_C_H_
#define VU_URL_C_H_

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/// How a text is read: as a URL, or as typed into an address bar.
typedef enum vu_text_form { VU_TEXT_URL = 0, VU_TEXT_TYPED = 1 } vu_text_form;

/// A host: 48 bytes without pointers or padding. Later releases append fields; a program tells the
/// size that it was built with.
typedef struct vu_host_record {
  uint8_t kind;            ///< 0 none, 1 name, 2 IPv4 address, 3 IPv6 address, 4 opaque.
  uint8_t refused;         ///< 0, or the number of a refusal, as in vu_host_refusal.
  uint8_t text_in_buffer;  ///< 1 where the canonical text stands in the buffer, 0 in the URL.
  uint8_t reserved_byte;   ///< Zero.
  int32_t port;            ///< -1 when the URL has none, or its scheme's own.
  uint32_t source_start;   ///< Where the host stands in the URL, as far as it was found.
  uint32_t source_length;  ///< Its length there.
  uint32_t text_start;     ///< Where the canonical text begins, in the buffer or the URL.
  uint32_t text_length;    ///< Its length; 0 when there is no host.
  uint8_t address[16];     ///< In network order; an IPv4 address is in the first four bytes.
  uint32_t reserved[2];    ///< Zeros.
} vu_host_record;

/// How much room holds the canonical text of every host in a URL of so many bytes. 256 bytes hold
/// every name that the domain name system can know, and every address.
size_t vu_browser_host_bound(size_t url_length);

/// The host of the URL of `length` bytes at `url`, by `form`, into `*record`. `buffer` has room for
/// `buffer_size` bytes and may be null when that is 0; `url` may be null when `length` is 0. A URL
/// of 2^32 bytes and more is refused as too long. Returns 0; 1 when a pointer is null that may not
/// be, `form` is none, or `record_size` is less than 48.
int vu_browser_host(const char* url, size_t length, int form, char* buffer, size_t buffer_size,
                    vu_host_record* record, size_t record_size);

/// The URL Standard's name of a refusal, such as "host-missing"; "none" for 0, "unknown" for a
/// number that is none.
const char* vu_refusal_name(uint32_t refusal);

/// The same as a sentence for people.
const char* vu_refusal_text(uint32_t refusal);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif  // VU_URL_C_H_
