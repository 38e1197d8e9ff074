// 64-bit ARM, where NEON is always there.

#include "domain/byte_classes.h"
#include "domain/plain_host_core.h"

namespace vu::detail {

ByteClasses classifyBytes(const char* text) noexcept { return classifyByNeon(text); }

PlainHost findPlainHostIn(const char* text, std::size_t size) noexcept {
  return findPlainHostByNeon(text, size);
}

std::vector<Way> everyWay() {
  return {{classifyByNeon, findPlainHostByNeon}, {classifyByWords, findPlainHostByWords}};
}

}  // namespace vu::detail
