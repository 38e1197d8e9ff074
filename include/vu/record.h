// What the look-up of a URL comes to as plain bytes: the same in C, in C++ and in the columns of a
// table engine. Readable as C99.

#ifndef VU_RECORD_H_
#define VU_RECORD_H_

#include <stddef.h>
#include <stdint.h>

/// A text by its place and length, in bytes. It needs no NUL, and may hold some.
typedef struct vu_text {
  const char* data;  ///< Not owned; null is no text, which is not the same as an empty one.
  size_t size;       ///< In bytes.
} vu_text;

/// The result for one URL: 48 bytes without pointers or padding. Starts count from the first byte
/// of the URL. Later releases append fields; a program tells the size that it was built with.
typedef struct vu_record {
  /// 0, or why there is no domain: 201 for no text (or offsets that run backwards), 202 for a host
  /// that is no chain of labels, 203 for a single label, 204 for a host that is a suffix itself,
  /// 1003 for a URL of more than 2^32 - 1 bytes, which nothing else is told of.
  uint32_t status;
  uint8_t kind;               ///< Of the host: 0 none, 1 name, 2 IPv4 address, 3 IPv6 address.
  uint8_t reserved_bytes[3];  ///< Zeros.
  uint32_t host_start;        ///< Where the host begins, as the rule cuts it out.
  uint32_t host_length;       ///< Its length.
  /// The registered domain or the address, without a trailing dot. Its length is 0 after a refusal,
  /// for an empty host, and for a single label that a default domain completes.
  uint32_t domain_start;
  uint32_t domain_length;  ///< See `domain_start`.
  /// Of an address, in network order; an IPv4 address is in the first four bytes.
  uint8_t address[16];
  uint32_t reserved[2];  ///< Zeros.
} vu_record;

#endif  // VU_RECORD_H_
