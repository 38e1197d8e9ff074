// What the bytes of a URL are, 64 at a time: a bit for each of them, the first byte's lowest.

#ifndef VU_DOMAIN_BYTE_CLASSES_H_
#define VU_DOMAIN_BYTE_CLASSES_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vu::detail {

constexpr std::size_t kStride = 64;

struct ByteClasses {
  std::uint64_t beginnings;  ///< Letters and digits, which labels begin with.
  std::uint64_t dots;
  std::uint64_t others;  ///< What no name has in it: all but those, "-" and "_".
};

/// The classes of the 64 bytes at `text`, each way for machines that have the instructions. AVX2
/// wants BMI and BMI2 beside it.
ByteClasses classifyByAvx2(const char* text) noexcept;
ByteClasses classifyBySse2(const char* text) noexcept;
ByteClasses classifyByNeon(const char* text) noexcept;
/// Eight bytes at a time, which any machine can.
ByteClasses classifyByWords(const char* text) noexcept;

/// The same by the best of these that this machine has.
ByteClasses classifyBytes(const char* text) noexcept;

/// The first bytes of a text that is shorter than a stride, and NULs behind it.
class PaddedBytes {
 public:
  PaddedBytes(const char* text, std::size_t size) noexcept {
    std::memcpy(bytes_, text, std::min(size, kStride));
  }
  const char* data() const noexcept { return bytes_; }

 private:
  char bytes_[kStride] = {};
};

}  // namespace vu::detail

#endif  // VU_DOMAIN_BYTE_CLASSES_H_
