// What the fuzz targets share: inputs cut into choices and texts, and checks that end the
// process.

#ifndef VU_FUZZ_SUPPORT_H_
#define VU_FUZZ_SUPPORT_H_

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>

#include "tests/support.h"

namespace vu::fuzz {

/// Longer inputs are cut: what is quadratic in one of two ways that are compared stays fast.
constexpr std::size_t kLongest = 1024;

/// An input, taken apart from its front.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size)
      : rest_(reinterpret_cast<const char*>(data), size < kLongest ? size : kLongest) {}

  /// One byte as a number below `count`. The digit 0 means 0, so that people can write inputs.
  std::size_t choice(std::size_t count) {
    if (rest_.empty()) return 0;
    const auto byte = static_cast<unsigned char>(rest_.front() - '0');
    rest_.remove_prefix(1);
    return byte % count;
  }

  /// A text up to the next NUL.
  std::string piece() {
    const std::size_t end = rest_.find('\0');
    const std::string_view text = rest_.substr(0, end);
    rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
    return std::string(text);
  }

  /// All that is left, NULs too.
  std::string rest() {
    const std::string_view text = rest_;
    rest_ = {};
    return std::string(text);
  }

 private:
  std::string_view rest_;
};

/// Ends the process when something does not hold.
inline void check(bool good, std::string_view what) {
  if (good) return;
  std::cerr << "does not hold: " << what << std::endl;
  std::abort();
}

template <typename Expected, typename Got>
void expectEqual(const Expected& expected, const Got& got, std::string_view what) {
  if (expected == got) return;
  std::cerr << what << "\nexpected: " << expected << "\ngot:      " << got << std::endl;
  std::abort();
}

/// Whether a view of at least one byte lies inside a text.
inline bool isInside(const char* view, std::size_t size, std::string_view text) {
  return size > 0 && size <= text.size() && view >= text.data() &&
         view - text.data() <= static_cast<std::ptrdiff_t>(text.size() - size);
}

/// What every target defines: tries one input and returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

}  // namespace vu::fuzz

#endif  // VU_FUZZ_SUPPORT_H_
