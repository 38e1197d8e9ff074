// For targets without vector instructions.

#include "pattern/characters.h"
#include "pattern/runs.h"

namespace vu::detail {

int endOfName(const char* text, int at, int end) noexcept {
  return skip(text, at, end, kNameCharacters);
}

int endOfAttributes(const char* text, int at, int end) noexcept {
  return skip(text, at, end, kAttributeCharacters);
}

}  // namespace vu::detail
