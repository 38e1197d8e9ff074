#ifndef VU_BENCH_PCRE2_BARE_PCRE_H_
#define VU_BENCH_PCRE2_BARE_PCRE_H_

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <string>

#include "bench/support.h"

namespace vu::bench {

/// PCRE2 as a careful user has it: compiled just in time and entered directly, with room of its
/// own.
class BarePcre {
 public:
  BarePcre(const char* pattern, int options) {
    int error = 0;
    std::size_t offset = 0;
    pattern_ =
        pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern), PCRE2_ZERO_TERMINATED,
                      (options & 1) != 0 ? PCRE2_CASELESS : PCRE2_DOTALL, &error, &offset, nullptr);
    require(pattern_ != nullptr, std::string("pcre2_compile refuses ") + pattern);
    require(pcre2_jit_compile(pattern_, PCRE2_JIT_COMPLETE) == 0, "no just-in-time code");
    found_ = pcre2_match_data_create_from_pattern(pattern_, nullptr);
  }
  BarePcre(const BarePcre&) = delete;
  BarePcre& operator=(const BarePcre&) = delete;
  ~BarePcre() {
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

}  // namespace vu::bench

#endif  // VU_BENCH_PCRE2_BARE_PCRE_H_
