// Targets without vector instructions.

#include "domain/byte_classes.h"
#include "domain/plain_host_core.h"

namespace vu::detail {

ByteClasses classifyBytes(const char* text) noexcept { return classifyByWords(text); }

PlainHost findPlainHostIn(const char* text, std::size_t size) noexcept {
  return findPlainHostByWords(text, size);
}

std::vector<Way> everyWay() { return {{classifyByWords, findPlainHostByWords}}; }

}  // namespace vu::detail
