// PCRE2 as a careful user has it: compiled just in time and entered directly, with room of its own.

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include "bench/pattern.h"

namespace vu::bench {
namespace {

class Pcre2 {
 public:
  Pcre2(const char* pattern, int options) {
    int error = 0;
    std::size_t offset = 0;
    const std::uint32_t theirs = options == vu_pcre::caseless ? PCRE2_CASELESS : PCRE2_DOTALL;
    pattern_ = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern), PCRE2_ZERO_TERMINATED, theirs,
                             &error, &offset, nullptr);
    require(pattern_ != nullptr, std::string("pcre2_compile refuses ") + pattern);
    require(pcre2_jit_compile(pattern_, PCRE2_JIT_COMPLETE) == 0, "no just-in-time code");
    found_ = pcre2_match_data_create_from_pattern(pattern_, nullptr);
  }
  Pcre2(const Pcre2&) = delete;
  Pcre2& operator=(const Pcre2&) = delete;
  ~Pcre2() {
    pcre2_match_data_free(found_);
    pcre2_code_free(pattern_);
  }

  int execute(const char* subject, int length, int start) {
    return pcre2_jit_match(pattern_, reinterpret_cast<PCRE2_SPTR>(subject),
                           static_cast<std::size_t>(length), static_cast<std::size_t>(start), 0,
                           found_, nullptr);
  }
  int end() const { return static_cast<int>(results()[1]); }
  const PCRE2_SIZE* results() const { return pcre2_get_ovector_pointer(found_); }

 private:
  pcre2_code* pattern_;
  pcre2_match_data* found_;
};

[[maybe_unused]] const bool isRegistered = registerEngine<Pcre2>("pcre2_jit_match");

}  // namespace
}  // namespace vu::bench
