// What the bytes of a URL are, many at a time: a bit for each of 64 bytes, the first byte's lowest.

#ifndef VU_DOMAIN_BYTE_CLASSES_H_
#define VU_DOMAIN_BYTE_CLASSES_H_

#include <cstddef>
#include <cstdint>

namespace vu::detail {

struct ByteClasses {
  std::uint64_t name;   ///< Letters, digits, "-", "_" and ".": what ordinary hosts are made of.
  std::uint64_t marks;  ///< "-" and "_", which do not begin a label.
  std::uint64_t dots;
  std::uint64_t ends;  ///< "/" and ":", where a host ends.
};

/// The classes of the first 64 bytes at `text`, or of all `length` if they are fewer; the other
/// bits are 0. Done in the fastest way that every machine of the target has: the build chooses the
/// file.
ByteClasses classifyBytes(const char* text, std::size_t length) noexcept;
/// The same, eight bytes at a time, which any machine can.
ByteClasses classifyBytesByWords(const char* text, std::size_t length) noexcept;

}  // namespace vu::detail

#endif  // VU_DOMAIN_BYTE_CLASSES_H_
