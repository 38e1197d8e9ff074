// x86-64: SSE2 is always there, AVX2 is asked for. What the machine has is told by the compiler's
// own library when this one is loaded; before that, nothing but SSE2.

#include "domain/byte_classes.h"
#include "domain/plain_host_core.h"

namespace vu::detail {
namespace {

bool hasAvx2() {
  // Some compilers tell it as a number, others as a truth.
  return static_cast<bool>(__builtin_cpu_supports("avx2")) &&
         static_cast<bool>(__builtin_cpu_supports("bmi")) &&
         static_cast<bool>(__builtin_cpu_supports("bmi2"));
}

}  // namespace

ByteClasses classifyBytes(const char* text) noexcept {
  return hasAvx2() ? classifyByAvx2(text) : classifyBySse2(text);
}

PlainHost findPlainHostIn(const char* text, std::size_t size) noexcept {
  return hasAvx2() ? findPlainHostByAvx2(text, size) : findPlainHostBySse2(text, size);
}

std::vector<Way> everyWay() {
  std::vector<Way> all = {{classifyBySse2, findPlainHostBySse2},
                          {classifyByWords, findPlainHostByWords}};
  if (hasAvx2()) all.push_back({classifyByAvx2, findPlainHostByAvx2});
  return all;
}

}  // namespace vu::detail
