// Masks a byte at a time, for targets without vector instructions.

#include "tools/lines.h"

namespace vu::tool {

void findMasks(const char* text, std::size_t count, char end, const Unsafe& unsafe,
               LineMasks* masks) {
  const auto& bytes = unsafe.bytes;
  for (; count > 0; --count, ++masks) {
    *masks = {0, 0, 0};
    for (std::size_t i = 0; i < LineMasks::kBytes; ++i, ++text) {
      const char c = *text;
      const bool isUnsafe = c == bytes[0] || c == bytes[1] || c == bytes[2] || c == bytes[3] ||
                            static_cast<signed char>(c) < unsafe.below;
      masks->ends |= std::uint64_t{c == end} << i;
      masks->unsafe |= std::uint64_t{isUnsafe} << i;
      masks->count += c == end ? 1 : 0;
    }
  }
}

}  // namespace vu::tool
