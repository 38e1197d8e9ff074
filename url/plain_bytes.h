// Classes of bytes for the ordinary case of reading a URL, as sets of bits.

#ifndef VU_URL_PLAIN_BYTES_H_
#define VU_URL_PLAIN_BYTES_H_

#include <cstddef>
#include <cstdint>

namespace vu::detail {

/// What the first 64 bytes of a text are, the first byte lowest. Bytes that are not there belong to
/// no class.
struct PlainBytes {
  std::uint64_t plain;  ///< Letters in lower case, digits, "-", "_" and ".".
  std::uint64_t dots;
};

/// One source file for each way to tell them; all give the same.
PlainBytes findPlainBytes(const char* text, std::size_t length) noexcept;

}  // namespace vu::detail

#endif  // VU_URL_PLAIN_BYTES_H_
