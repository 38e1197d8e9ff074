// PCRE 8, by its 8-bit interface.
//
// A search goes through the just-in-time code first, unless the pattern has something that this
// code treats in its own way. Where it gives up (its stack of 32 KiB or its step count is used up)
// the interpreter does the search again from the start and decides. So it does when the caller's
// vector has no room for all groups of the pattern: a group that was set on the way and dropped
// again counts as lost for the interpreter only. The interpreter recurses on the thread's stack,
// one frame a backtracking point, so its depth is bounded by bytes of stack; 4 MiB is more than it
// needs for anything that fits the other's 32 KiB.
//
// The just-in-time code is entered directly, which saves a quarter of a short search. It is for us
// then to look at the arguments, and to bring a stack for what it saves on its way: one a thread.
// Its frame, which has a few words for each item of the pattern, is on the thread's own.

#include <pcre.h>

#include <algorithm>
#include <limits>

#include "pattern/engine.h"
#include "pattern/jit_agreement.h"
#include "pattern/per_thread.h"
#include "pattern/stack_room.h"

// A library without just-in-time code lacks its direct entry.
#pragma weak pcre_jit_exec

namespace vu::detail {

struct Regex {
  pcre* code;
};

struct Study {
  pcre_extra* data;  ///< Null when there is nothing to say.
  /// The size of vector from which on just-in-time code may run: all that the pattern could need.
  long jitVector = std::numeric_limits<long>::max();
  /// The same for entering it directly.
  long directVector = std::numeric_limits<long>::max();
  std::size_t jitFrame = 0;  ///< How much of the thread's stack that code may take.
};

const std::size_t kCompileStack = std::size_t{10} << 10;

namespace {

constexpr unsigned long kJitSteps = 1'000'000;
constexpr std::size_t kInterpreterStack = std::size_t{4} << 20;
constexpr int kJitStack = 32 << 10;

/// What pcre_exec can do in just-in-time code; with any other option it interprets.
constexpr int kJitOptions =
    PCRE_NO_UTF8_CHECK | PCRE_NOTBOL | PCRE_NOTEOL | PCRE_NOTEMPTY | PCRE_NOTEMPTY_ATSTART;

struct JitStack {
  pcre_jit_stack* stack = pcre_jit_stack_alloc(kJitStack, kJitStack);
  JitStack() = default;
  JitStack(const JitStack&) = delete;
  JitStack& operator=(const JitStack&) = delete;
  ~JitStack() { pcre_jit_stack_free(stack); }
};

bool isJitCompiled(const pcre_extra* study) {
  return study != nullptr && (study->flags & PCRE_EXTRA_EXECUTABLE_JIT) != 0;
}

bool gaveUp(int result) {
  return result == PCRE_ERROR_JIT_STACKLIMIT || result == PCRE_ERROR_MATCHLIMIT;
}

/// What just-in-time code, entered directly, takes for granted.
bool isSound(const char* subject, int length, int startOffset, const int* ovector) {
  return subject != nullptr && ovector != nullptr && startOffset >= 0 && startOffset <= length;
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

std::size_t sizeOf(const pcre* pattern) {
  std::size_t bytes = 0;
  pcre_fullinfo(pattern, nullptr, PCRE_INFO_SIZE, &bytes);
  return bytes;
}

/// How many frames of PCRE's interpreter the calling thread's stack has room for.
unsigned long recursionLimit() {
  // Asked in this way, PCRE tells the size of one frame as a negative number.
  static const int answer = pcre_exec(nullptr, nullptr, nullptr, -999, -999, 0, nullptr, 0);
  const std::size_t frame = answer < 0 ? static_cast<std::size_t>(-answer) : 1024;
  return static_cast<unsigned long>(std::min(stackRoom() / 2, kInterpreterStack) / frame);
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

__attribute__((noinline)) int interpret(const Regex& regex, const Study& study, const char* subject,
                                        int length, int startOffset, int options, int* ovector,
                                        int ovecsize) {
  const pcre_extra limits = interpreterLimits(study.data);
  return pcre_exec(regex.code, &limits, subject, length, startOffset, options, ovector, ovecsize);
}

/// By just-in-time code that may not be entered directly, else by the interpreter.
__attribute__((noinline)) int searchIndirectly(const Regex& regex, const Study& study,
                                               const char* subject, int length, int startOffset,
                                               int options, int* ovector, int ovecsize) {
  if (ovecsize >= study.jitVector && (options & ~kJitOptions) == 0 &&
      stackRoom() >= study.jitFrame + kJitStack) {
    const int result =
        pcre_exec(regex.code, study.data, subject, length, startOffset, options, ovector, ovecsize);
    if (!gaveUp(result)) return result;
  }
  return interpret(regex, study, subject, length, startOffset, options, ovector, ovecsize);
}

}  // namespace

void EngineDelete::operator()(Regex* regex) const noexcept {
  pcre_free(regex->code);
  delete regex;
}

void EngineDelete::operator()(Study* study) const noexcept {
  if (study->data != nullptr) pcre_free_study(study->data);
  delete study;
}

std::string engineName() {
  const std::string release = pcre_version();  // with its date behind it
  return "PCRE " + release.substr(0, release.find(' '));
}

RegexPtr compileRegex(const char* pattern, int options) {
  RegexPtr regex(new Regex{});
  const char* error = nullptr;
  int offset = 0;
  regex->code = pcre_compile(pattern, options, &error, &offset, nullptr);
  if (regex->code == nullptr) {
    throw vu_exception(vu_failure::pattern,
                       "PCRE Compile Error [" + val2str(offset) + "] " + error);
  }
  return regex;
}

StudyPtr studyRegex(const Regex& regex, const char* pattern, int options) {
  StudyPtr study(new Study{});
  const char* error = nullptr;
  const bool mayUseJit = jitAgrees(pattern, options);
  study->data = pcre_study(regex.code, mayUseJit ? PCRE_STUDY_JIT_COMPILE : 0, &error);
  if (study->data == nullptr && error != nullptr) {
    throw vu_exception(vu_failure::pattern, std::string("PCRE Compile Study Error ") + error);
  }
  stackRoom();
  if (!isJitCompiled(study->data)) return study;
  study->data->flags |= PCRE_EXTRA_MATCH_LIMIT;
  study->data->match_limit = kJitSteps;
  study->jitVector = 3L * pairsOf(regex.code);
  study->jitFrame = jitFrame(sizeOf(regex.code));
  if (pcre_jit_exec != nullptr && !isForUtf8(regex.code)) study->directVector = study->jitVector;
  PerThread<JitStack>::get();
  return study;
}

int searchRegex(const Regex& regex, const Study& study, const char* subject, int length,
                int startOffset, int options, int* ovector, int ovecsize) {
  const JitStack* const own = PerThread<JitStack>::get();
  if (ovecsize >= study.directVector && (options & ~kJitOptions) == 0 && own != nullptr &&
      own->stack != nullptr && isSound(subject, length, startOffset, ovector) &&
      stackRoom() >= study.jitFrame) {
    const int result = pcre_jit_exec(regex.code, study.data, subject, length, startOffset, options,
                                     ovector, ovecsize, own->stack);
    if (result >= PCRE_ERROR_NOMATCH || !gaveUp(result)) return result;
    return interpret(regex, study, subject, length, startOffset, options, ovector, ovecsize);
  }
  return searchIndirectly(regex, study, subject, length, startOffset, options, ovector, ovecsize);
}

}  // namespace vu::detail
