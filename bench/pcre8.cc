// PCRE 8 as a careful user has it: studied for the just-in-time compiler, one vector, cleared
// before each search.

#include <pcre.h>

#include <algorithm>
#include <iterator>

#include "bench/pattern.h"

namespace vu::bench {
namespace {

class Pcre8 {
 public:
  Pcre8(const char* pattern, int options) {
    const char* error = nullptr;
    int offset = 0;
    pattern_ = pcre_compile(pattern, options, &error, &offset, nullptr);
    require(pattern_ != nullptr, std::string("pcre_compile refuses ") + pattern);
    study_ = pcre_study(pattern_, PCRE_STUDY_JIT_COMPILE, &error);
  }
  Pcre8(const Pcre8&) = delete;
  Pcre8& operator=(const Pcre8&) = delete;
  ~Pcre8() {
    pcre_free_study(study_);
    pcre_free(pattern_);
  }

  int execute(const char* subject, int length, int start) {
    std::fill(std::begin(vector_), std::end(vector_), 0);
    return pcre_exec(pattern_, study_, subject, length, start, 0, vector_, 9);
  }
  int end() const { return vector_[1]; }
  const int* results() const { return vector_; }

 private:
  pcre* pattern_;
  pcre_extra* study_;
  int vector_[9];
};

[[maybe_unused]] const bool isRegistered = registerEngine<Pcre8>("pcre_exec");

}  // namespace
}  // namespace vu::bench
