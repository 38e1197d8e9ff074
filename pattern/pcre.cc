// The regular-expression wrapper: what is the same over every engine.

#include <algorithm>
#include <limits>
#include <new>

#include "pattern/engine.h"
#include "pattern/stack_room.h"
#include "vu/pattern.h"

namespace {

/// What is taken for granted to compile a pattern where nobody knows how large the stack is: most
/// are the first thread's, in a process that may not ask.
constexpr std::size_t kUnknownStack = std::size_t{64} << 10;

/// As many entries of a vector are cleared at once, without asking how many it has: a call that
/// fills a few bytes would cost a tenth of a short search.
constexpr int kClearedAtOnce = 12;

int vectorSize(int pairs) {
  if (pairs < 0 || pairs > std::numeric_limits<int>::max() / 3) throw std::bad_array_new_length();
  return pairs * 3;
}

[[noreturn]] void fail(const std::string& message) {
  throw vu_exception(vu_failure::pattern, message);
}

// Apart from their callers, which would make room for the texts each time.

[[noreturn]] __attribute__((noinline)) void failForWantOfPairs() {
  fail("PCRE Output vector too small");
}

[[noreturn]] __attribute__((noinline)) void failOutOfRange(int pairs) {
  fail("vu_pcre::getResult : Index out of range : 1 - " + val2str(pairs));
}

}  // namespace

vu_pcre::vu_pcre(const char* pattern, int pairs, int options) : pattern_(pattern), ovecsize_(0) {
  if (pattern_ == nullptr) fail("vu_pcre: Empty Regular Expression");
  if (options < 0) options = dotAll;
  if (vu::detail::stackRoom(kUnknownStack) <
      vu::detail::kCompileStack + vu::detail::groupStack(pattern_)) {
    fail("PCRE Compile Error [0] not enough stack");
  }
  regex_ = vu::detail::compileRegex(pattern_, options);
  extra_ = vu::detail::studyRegex(*regex_, pattern_, options);
  ovecsize_ = vectorSize(pairs);
  ovector_ = std::make_unique<int[]>(static_cast<std::size_t>(std::max(ovecsize_, kClearedAtOnce)));
}

vu_pcre::~vu_pcre() = default;

std::string vu_pcre::engine() { return vu::detail::engineName(); }

int vu_pcre::match(const char* subject, int length, int startOffset, int options, int* ovector,
                   int ovecsize) const {
  return vu::detail::searchRegex(*regex_, *extra_, subject, length, startOffset, options, ovector,
                                 ovecsize);
}

int vu_pcre::execute(const char* subject, int length, int startOffset, int options) {
  int* const vector = ovector_.get();
  std::fill_n(vector, kClearedAtOnce, 0);
  if (ovecsize_ > kClearedAtOnce) {
    std::fill(vector + kClearedAtOnce, vector + ovecsize_, 0);
  }
  const int result = vu::detail::searchRegex(*regex_, *extra_, subject, length, startOffset,
                                             options, vector, ovecsize_);
  if (result == 0) failForWantOfPairs();
  return result;
}

const char* vu_pcre::getResult(int index, const char* subject, int& length) const {
  const int pairs = ovecsize_ / 3;
  if (index < 0 || index >= pairs) failOutOfRange(pairs);
  const int start = ovector_[static_cast<std::size_t>(index) * 2];
  const int end = ovector_[static_cast<std::size_t>(index) * 2 + 1];
  if (end <= start) return nullptr;
  length = end - start;
  return subject + start;
}

std::string vu_pcre::getResultStr(int index, const char* subject) const {
  int length = 0;
  const char* start = getResult(index, subject, length);
  if (start == nullptr) {
    fail("vu_pcre::getResult : Empty result for index " + val2str(index));
  }
  return std::string(start, static_cast<std::size_t>(length));
}
