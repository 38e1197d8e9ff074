// The regular-expression wrapper over PCRE's 8-bit interface.
//
// A search goes through the just-in-time code first, unless the pattern has something that this
// code treats in its own way. Where it gives up (its stack of 32 KiB or its step count is used up)
// the interpreter does the search again from the start and decides. So it does when the caller's
// vector has no room for all groups of the pattern: a group that was set on the way and dropped
// again counts as lost for the interpreter only. The interpreter recurses on the thread's stack,
// one frame a backtracking point, so its depth is bounded by bytes of stack; 4 MiB is more than it
// needs for anything that fits the other's 32 KiB.
//
// An object that searches often enters the just-in-time code directly, which saves a quarter of a
// short search. It then looks at the arguments itself, and brings a stack for that code, which
// serves one thread at a time and takes as long to make as a few hundred searches save.

#include <pcre.h>

#include <algorithm>
#include <limits>
#include <new>

#include "pattern/jit_agreement.h"
#include "pattern/stack_room.h"
#include "vu/pattern.h"

namespace {

constexpr unsigned long kJitSteps = 1'000'000;
constexpr std::size_t kInterpreterStack = std::size_t{4} << 20;
constexpr int kSearchesForStack = 100;
constexpr int kJitStackSize = 32 << 10;
constexpr std::size_t kJitStack = std::size_t{64} << 10;  // the same, and as much to spare

/// What pcre_exec can do in just-in-time code; with any other option it interprets.
constexpr int kJitOptions =
    PCRE_NO_UTF8_CHECK | PCRE_NOTBOL | PCRE_NOTEOL | PCRE_NOTEMPTY | PCRE_NOTEMPTY_ATSTART;

int vectorSize(int pairs) {
  if (pairs < 0 || pairs > std::numeric_limits<int>::max() / 3) throw std::bad_array_new_length();
  return pairs * 3;
}

bool isJitCompiled(const pcre_extra* study) {
  return study != nullptr && (study->flags & PCRE_EXTRA_EXECUTABLE_JIT) != 0;
}

bool gaveUp(int result) {
  return result == PCRE_ERROR_JIT_STACKLIMIT || result == PCRE_ERROR_MATCHLIMIT;
}

bool isForJit(int options) {
  return (options & ~kJitOptions) == 0 && vu::detail::stackRoom() >= kJitStack;
}

/// What just-in-time code, entered directly, takes for granted.
bool isSound(const char* subject, int length, int startOffset) {
  return subject != nullptr && startOffset >= 0 && startOffset <= length;
}

/// Whether PCRE looks at the encoding of a subject first.
bool isForUtf8(const pcre* pattern) {
  unsigned long options = 0;
  pcre_fullinfo(pattern, nullptr, PCRE_INFO_OPTIONS, &options);
  return (options & PCRE_UTF8) != 0;
}

/// How many pairs the whole match and all groups of a pattern take.
int pairsOf(const pcre* pattern) {
  int groups = 0;
  pcre_fullinfo(pattern, nullptr, PCRE_INFO_CAPTURECOUNT, &groups);
  return groups + 1;
}

/// How many frames of PCRE's interpreter the calling thread's stack has room for.
unsigned long recursionLimit() {
  // Asked in this way, PCRE tells the size of one frame as a negative number.
  static const int answer = pcre_exec(nullptr, nullptr, nullptr, -999, -999, 0, nullptr, 0);
  const std::size_t frame = answer < 0 ? static_cast<std::size_t>(-answer) : 1024;
  const std::size_t room = vu::detail::stackRoom();
  return static_cast<unsigned long>(std::min(room / 2, kInterpreterStack) / frame);
}

/// The study data for a search without just-in-time code: as many steps as PCRE takes by itself,
/// as deep as this thread's stack allows.
pcre_extra interpreterLimits(const pcre_extra* study) {
  pcre_extra limits{};
  if (study != nullptr) limits = *study;
  limits.flags &= ~static_cast<unsigned long>(PCRE_EXTRA_EXECUTABLE_JIT | PCRE_EXTRA_MATCH_LIMIT);
  limits.flags |= PCRE_EXTRA_MATCH_LIMIT_RECURSION;
  limits.match_limit_recursion = recursionLimit();
  return limits;
}

/// A search without just-in-time code.
int interpret(const pcre* pattern, const pcre_extra* study, const char* subject, int length,
              int startOffset, int options, int* ovector, int ovecsize) {
  const pcre_extra limits = interpreterLimits(study);
  return pcre_exec(pattern, &limits, subject, length, startOffset, options, ovector, ovecsize);
}

}  // namespace

namespace vu::detail {

void PcreDelete::operator()(real_pcre* pattern) const noexcept { pcre_free(pattern); }
void PcreDelete::operator()(pcre_extra* study) const noexcept { pcre_free_study(study); }
void PcreDelete::operator()(real_pcre_jit_stack* stack) const noexcept {
  pcre_jit_stack_free(stack);
}

}  // namespace vu::detail

vu_pcre::vu_pcre(const char* pattern, int pairs, int options) : pattern_(pattern), ovecsize_(0) {
  if (pattern_ == nullptr)
    throw vu_exception(vu_failure::pattern, "vu_pcre: Empty Regular Expression");
  const char* errorText = nullptr;
  int errorOffset = 0;
  if (options < 0) options = PCRE_DOTALL;
  regex_.reset(pcre_compile(pattern_, options, &errorText, &errorOffset, nullptr));
  if (!regex_) {
    throw vu_exception(vu_failure::pattern,
                       "PCRE Compile Error [" + val2str(errorOffset) + "] " + errorText);
  }
  errorText = nullptr;
  const bool mayUseJit = vu::detail::jitAgrees(pattern_, options);
  extra_.reset(pcre_study(regex_.get(), mayUseJit ? PCRE_STUDY_JIT_COMPILE : 0, &errorText));
  if (!extra_ && errorText != nullptr) {
    throw vu_exception(vu_failure::pattern, std::string("PCRE Compile Study Error ") + errorText);
  }
  if (extra_) {
    extra_->flags |= PCRE_EXTRA_MATCH_LIMIT;
    extra_->match_limit = kJitSteps;
  }
  if (isJitCompiled(extra_.get())) jitVector_ = 3L * pairsOf(regex_.get());
  ovecsize_ = vectorSize(pairs);
  ovector_ = std::make_unique<int[]>(static_cast<std::size_t>(ovecsize_));
  if (ovecsize_ >= jitVector_ && !isForUtf8(regex_.get())) searchesToStack_ = kSearchesForStack;
}

vu_pcre::~vu_pcre() = default;

int vu_pcre::match(const char* subject, int length, int startOffset, int options, int* ovector,
                   int ovecsize) const {
  if (ovecsize >= jitVector_ && isForJit(options)) {
    const int result = pcre_exec(regex_.get(), extra_.get(), subject, length, startOffset, options,
                                 ovector, ovecsize);
    if (!gaveUp(result)) return result;
  }
  return interpret(regex_.get(), extra_.get(), subject, length, startOffset, options, ovector,
                   ovecsize);
}

int vu_pcre::execute(const char* subject, int length, int startOffset, int options) {
  std::fill_n(ovector_.get(), ovecsize_, 0);
  int result = 0;
  if (jitStack_ != nullptr && isForJit(options) && isSound(subject, length, startOffset)) {
    result = pcre_jit_exec(regex_.get(), extra_.get(), subject, length, startOffset, options,
                           ovector_.get(), ovecsize_, jitStack_.get());
    if (gaveUp(result)) {
      result = interpret(regex_.get(), extra_.get(), subject, length, startOffset, options,
                         ovector_.get(), ovecsize_);
    }
  } else {
    result = match(subject, length, startOffset, options, ovector_.get(), ovecsize_);
    if (searchesToStack_ > 0 && --searchesToStack_ == 0) {
      jitStack_.reset(pcre_jit_stack_alloc(kJitStackSize, kJitStackSize));
    }
  }
  if (result == 0) throw vu_exception(vu_failure::pattern, "PCRE Output vector too small");
  return result;
}

const char* vu_pcre::getResult(int index, const char* subject, int& length) const {
  const int pairs = ovecsize_ / 3;
  if (index < 0 || index >= pairs) {
    throw vu_exception(vu_failure::pattern,
                       "vu_pcre::getResult : Index out of range : 1 - " + val2str(pairs));
  }
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
    throw vu_exception(vu_failure::pattern,
                       "vu_pcre::getResult : Empty result for index " + val2str(index));
  }
  return std::string(start, static_cast<std::size_t>(length));
}
