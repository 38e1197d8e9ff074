// For targets without vector instructions.

#include "domain/byte_classes.h"

namespace vu::detail {

ByteClasses classifyBytes(const char* text, std::size_t length) noexcept {
  return classifyBytesByWords(text, length);
}

}  // namespace vu::detail
