// A search by PCRE's interpreter alone: what `vu_pcre` must agree with.

#ifndef VU_TESTS_PLAIN_PATTERN_H_
#define VU_TESTS_PLAIN_PATTERN_H_

#include <pcre.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vu::test {

class Interpreter {
 public:
  Interpreter(const char* pattern, int options) {
    const char* text = nullptr;
    int offset = 0;
    pattern_.reset(pcre_compile(pattern, options, &text, &offset, nullptr));
    if (pattern_ == nullptr) {
      refusal_ = "PCRE Compile Error [" + std::to_string(offset) + "] " + text;
    }
  }

  /// Why the pattern does not compile; empty when it does.
  const std::string& refusal() const { return refusal_; }

  /// PCRE's result, with the offsets of the vector's pairs in `ovector`. A search that takes more
  /// than `steps` at one of its beginnings is given up.
  int search(std::string_view subject, int start, int options, std::vector<int>& ovector,
             unsigned long steps = 10'000'000) const {
    pcre_extra limits{};
    limits.flags = PCRE_EXTRA_MATCH_LIMIT | PCRE_EXTRA_MATCH_LIMIT_RECURSION;
    limits.match_limit = steps;
    limits.match_limit_recursion = 5000;
    return pcre_exec(pattern_.get(), &limits, subject.data(), static_cast<int>(subject.size()),
                     start, options, ovector.data(), static_cast<int>(ovector.size()));
  }

 private:
  std::unique_ptr<pcre, void (*)(void*)> pattern_{nullptr, pcre_free};
  std::string refusal_;
};

}  // namespace vu::test

#endif  // VU_TESTS_PLAIN_PATTERN_H_
