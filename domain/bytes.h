// Little-endian numbers in bytes, whatever the byte order and the alignments of the machine.

#ifndef VU_DOMAIN_BYTES_H_
#define VU_DOMAIN_BYTES_H_

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vu::detail {

constexpr bool kLittleEndian = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;

/// `Count` bytes, the first lowest.
template <std::size_t Count>
std::uint64_t loadBytes(const char* bytes) noexcept {
  std::uint64_t number = 0;
  if constexpr (kLittleEndian) {
    std::memcpy(&number, bytes, Count);
  } else {
    for (std::size_t i = 0; i < Count; ++i) {
      number |= std::uint64_t{static_cast<unsigned char>(bytes[i])} << (8 * i);
    }
  }
  return number;
}

inline std::uint32_t load32(const char* bytes) noexcept {
  return static_cast<std::uint32_t>(loadBytes<4>(bytes));
}
inline std::uint64_t load64(const char* bytes) noexcept { return loadBytes<8>(bytes); }

/// Stores the lowest `Count` bytes of a number, the lowest first.
template <std::size_t Count>
void storeBytes(char* bytes, std::uint64_t number) noexcept {
  for (std::size_t i = 0; i < Count; ++i) bytes[i] = static_cast<char>(number >> (8 * i) & 255);
}

}  // namespace vu::detail

#endif  // VU_DOMAIN_BYTES_H_
