// PCRE2, by its 8-bit interface, behind the options, results and vectors of PCRE 8.
//
// A search goes through the just-in-time code first, unless the pattern has something that this
// code treats in its own way. Where it gives up (its stack of 32 KiB or its step count is used up)
// the interpreter does the search again from the start and decides. That one keeps its frames on
// the heap, as many as 4 MiB hold. What a search needs beside the pattern is made once a thread.
//
// A search without options for a pattern of bytes, which is nearly every one, enters the
// just-in-time code directly when the caller's vector has room for all groups: it looks at no more
// than that code takes for granted.
//
// For a pattern that begins with a group the just-in-time code of releases before 10.43 may deny a
// match: "(ab|a)c*b" finds nothing in "ab". It remembers where a repetition has failed, but not
// that an alternative of another length may lead in front of that place. It looks for such
// repetitions from the pattern's beginning on and gives up at the first item that it does not know:
// so those get each pattern behind a group that is repeated no times, and in one of its own, since
// it begins anew with every alternative; which changes nothing else but costs a fifth of a longer
// search. Without alternatives 10.42 needs no such guard: behind what may have several lengths,
// such as "a?", it remembers the whole range of places that have failed. Older releases differ in
// that, too.

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include "pattern/engine.h"
#include "pattern/jit_agreement.h"
#include "pattern/per_thread.h"
#include "pattern/stack_room.h"

namespace vu::detail {

struct Regex {
  pcre2_code* code;
  std::uint32_t pairs;  ///< That the whole match and all groups take.
  bool isUtf;
};

struct Study {
  /// The pattern with just-in-time code: that of the regex, or the guarded one; null when there is
  /// none.
  const pcre2_code* jit = nullptr;
  pcre2_code* guarded = nullptr;
  std::size_t jitFrame = 0;  ///< How much of the thread's stack the just-in-time code may take.
  /// The size of vector from which on that code may be entered without further questions.
  long directVector = std::numeric_limits<long>::max();
};

const std::size_t kCompileStack = std::size_t{26} << 10;

namespace {

constexpr std::uint32_t kJitSteps = 1'000'000;
constexpr std::uint32_t kHeapKiB = 4096;
constexpr std::size_t kJitStack = std::size_t{32} << 10;
constexpr std::uint32_t kPairs = 32;  ///< Patterns with more bring their own room for each search.

// -----------------------------------------------------------------------------------------------
// Options

struct Option {
  int ours;
  std::uint32_t theirs;
};

constexpr Option kCompileOptions[] = {
    {vu_pcre::caseless, PCRE2_CASELESS},
    {vu_pcre::multiline, PCRE2_MULTILINE},
    {vu_pcre::dotAll, PCRE2_DOTALL},
    {vu_pcre::extended, PCRE2_EXTENDED},
    {vu_pcre::anchored, PCRE2_ANCHORED},
    {vu_pcre::dollarEndOnly, PCRE2_DOLLAR_ENDONLY},
    {vu_pcre::extra, 0},  // unknown escapes are refused
    {vu_pcre::ungreedy, PCRE2_UNGREEDY},
    {vu_pcre::utf8, PCRE2_UTF},
    {vu_pcre::noAutoCapture, PCRE2_NO_AUTO_CAPTURE},
    {vu_pcre::noUtf8Check, PCRE2_NO_UTF_CHECK},
    {0x4000, PCRE2_AUTO_CALLOUT},
    {0x10000, PCRE2_NEVER_UTF},
    {0x20000, PCRE2_NO_AUTO_POSSESS},
    {vu_pcre::firstLine, PCRE2_FIRSTLINE},
    {vu_pcre::duplicateNames, PCRE2_DUPNAMES},
    {0x2000000, PCRE2_ALT_BSUX | PCRE2_ALLOW_EMPTY_CLASS | PCRE2_MATCH_UNSET_BACKREF},
    {0x4000000, PCRE2_NO_START_OPTIMIZE},
    {vu_pcre::unicodeProperties, PCRE2_UCP},
};

constexpr Option kSearchOptions[] = {
    {vu_pcre::anchored, PCRE2_ANCHORED},
    {vu_pcre::notBol, PCRE2_NOTBOL},
    {vu_pcre::notEol, PCRE2_NOTEOL},
    {vu_pcre::notEmpty, PCRE2_NOTEMPTY},
    {vu_pcre::notEmptyAtStart, PCRE2_NOTEMPTY_ATSTART},
    {vu_pcre::noUtf8Check, PCRE2_NO_UTF_CHECK},
    {vu_pcre::partialSoft, PCRE2_PARTIAL_SOFT},
    {vu_pcre::partialHard, PCRE2_PARTIAL_HARD},
};

/// With any other option pcre2_match interprets.
constexpr int kJitOptions = vu_pcre::noUtf8Check | vu_pcre::notBol | vu_pcre::notEol |
                            vu_pcre::notEmpty | vu_pcre::notEmptyAtStart;

// Fields of several bits.
constexpr int kNewline = 0x700000;
constexpr int kBackslashR = 0x1800000;
constexpr std::uint32_t kNewlines[] = {0,
                                       PCRE2_NEWLINE_CR,
                                       PCRE2_NEWLINE_LF,
                                       PCRE2_NEWLINE_CRLF,
                                       PCRE2_NEWLINE_ANY,
                                       PCRE2_NEWLINE_ANYCRLF};
constexpr std::uint32_t kBackslashRs[] = {0, PCRE2_BSR_ANYCRLF, PCRE2_BSR_UNICODE};

/// Moves the options that `table` knows from `options` to the result.
template <std::size_t N>
std::uint32_t take(int& options, const Option (&table)[N]) {
  std::uint32_t taken = 0;
  for (const Option& each : table) {
    if ((options & each.ours) == 0) continue;
    taken |= each.theirs;
    options &= ~each.ours;
  }
  return taken;
}

/// Moves the choice that `field` holds to the result; 0 for none. One beyond `choices` stays.
template <std::size_t N>
std::uint32_t takeChoice(int& options, int field, const std::uint32_t (&choices)[N]) {
  const auto choice = static_cast<std::size_t>((options & field) / (field & -field));
  if (choice >= N) return 0;
  options &= ~field;
  return choices[choice];
}

// -----------------------------------------------------------------------------------------------
// Memory: that of C++, so that whoever replaces its allocator has all of ours.

void* allocate(std::size_t size, void* /*data*/) { return ::operator new(size, std::nothrow); }
void release(void* block, void* /*data*/) { ::operator delete(block); }

template <typename T, void (*function)(T*)>
struct FreedBy {
  void operator()(T* object) const noexcept { function(object); }
};

using Memory = std::unique_ptr<pcre2_general_context,
                               FreedBy<pcre2_general_context, pcre2_general_context_free>>;
using CompileContext = std::unique_ptr<pcre2_compile_context,
                                       FreedBy<pcre2_compile_context, pcre2_compile_context_free>>;
using MatchContext =
    std::unique_ptr<pcre2_match_context, FreedBy<pcre2_match_context, pcre2_match_context_free>>;
using MatchData =
    std::unique_ptr<pcre2_match_data, FreedBy<pcre2_match_data, pcre2_match_data_free>>;
using JitStack = std::unique_ptr<pcre2_jit_stack, FreedBy<pcre2_jit_stack, pcre2_jit_stack_free>>;

Memory memory() { return Memory(pcre2_general_context_create(allocate, release, nullptr)); }

bool gaveUp(int result) {
  return result == PCRE2_ERROR_JIT_STACKLIMIT || result == PCRE2_ERROR_MATCHLIMIT;
}

PCRE2_SPTR bytesOf(std::string_view text) { return reinterpret_cast<PCRE2_SPTR>(text.data()); }

/// What a search needs beside the pattern.
class Searcher {
 public:
  explicit Searcher(std::uint32_t pairs = kPairs) {
    const Memory from = memory();
    if (from == nullptr) return;
    jitLimits_.reset(pcre2_match_context_create(from.get()));
    limits_.reset(pcre2_match_context_create(from.get()));
    found_.reset(pcre2_match_data_create(pairs, from.get()));
    stack_.reset(pcre2_jit_stack_create(kJitStack, kJitStack, from.get()));
    if (jitLimits_ == nullptr || limits_ == nullptr || found_ == nullptr) return;
    offsets_ = pcre2_get_ovector_pointer(found_.get());
    isReadyForJit_ = stack_ != nullptr;
    pcre2_set_match_limit(jitLimits_.get(), kJitSteps);
    pcre2_jit_stack_assign(jitLimits_.get(), nullptr, stack_.get());
    pcre2_set_heap_limit(limits_.get(), kHeapKiB);
  }

  /// Whether there was memory for all but the stack; a system without just-in-time code has none.
  bool isReady() const { return offsets_ != nullptr; }
  bool isReadyForJit() const { return isReadyForJit_; }

  /// A search by PCRE2's options, with its result.
  int search(const Regex& regex, const pcre2_code* jit, std::string_view subject, std::size_t start,
             std::uint32_t options) const {
    if (jit != nullptr && isReadyForJit_) {
      const int result = regex.isUtf ? pcre2_match(jit, bytesOf(subject), subject.size(), start,
                                                   options, found_.get(), jitLimits_.get())
                                     : enterJit(jit, subject, start, options);
      if (!gaveUp(result)) return result;
    }
    return pcre2_match(regex.code, bytesOf(subject), subject.size(), start, options | PCRE2_NO_JIT,
                       found_.get(), limits_.get());
  }

  /// The same by the direct entry alone, which does not look at the encoding.
  int enterJit(const pcre2_code* jit, std::string_view subject, std::size_t start,
               std::uint32_t options) const {
    return pcre2_jit_match(jit, bytesOf(subject), subject.size(), start, options, found_.get(),
                           jitLimits_.get());
  }

  const PCRE2_SIZE* offsets() const { return offsets_; }

 private:
  MatchContext jitLimits_;
  MatchContext limits_;
  MatchData found_;
  JitStack stack_;
  const PCRE2_SIZE* offsets_ = nullptr;  ///< Those of found_.
  bool isReadyForJit_ = false;
};

// -----------------------------------------------------------------------------------------------
// Results

/// The number that PCRE 8 has for a negative result.
int resultOf(int result, int options) {
  constexpr int kBadUtf8 = -10, kShortUtf8 = -25;
  if (result <= PCRE2_ERROR_UTF8_ERR1 && result >= PCRE2_ERROR_UTF8_ERR21) {
    const bool isCutOff = result >= PCRE2_ERROR_UTF8_ERR5;
    return isCutOff && (options & vu_pcre::partialHard) != 0 ? kShortUtf8 : kBadUtf8;
  }
  switch (result) {
    case PCRE2_ERROR_NOMATCH:
      return vu_pcre::noMatch;
    case PCRE2_ERROR_PARTIAL:
      return vu_pcre::partialMatch;
    case PCRE2_ERROR_BADOFFSET:
      return vu_pcre::badOffset;
    case PCRE2_ERROR_BADOPTION:
      return vu_pcre::badOption;
    case PCRE2_ERROR_BADUTFOFFSET:
      return vu_pcre::badUtf8Offset;
    case PCRE2_ERROR_MATCHLIMIT:
      return vu_pcre::stepLimit;
    case PCRE2_ERROR_NOMEMORY:
      return vu_pcre::noMemory;
    case PCRE2_ERROR_NULL:
      return vu_pcre::nullSubject;
    case PCRE2_ERROR_RECURSELOOP:
      return -26;
    case PCRE2_ERROR_DEPTHLIMIT:
    case PCRE2_ERROR_HEAPLIMIT:
      return vu_pcre::depthLimit;
    default:
      return -14;  // an error inside the engine
  }
}

/// A group that took no part has the largest offset there is, which becomes -1.
void copyPair(const PCRE2_SIZE* offsets, std::size_t pair, int* ovector) {
  ovector[2 * pair] = static_cast<int>(offsets[2 * pair]);
  ovector[2 * pair + 1] = static_cast<int>(offsets[2 * pair + 1]);
}

__attribute__((noinline)) void copyPairs(const PCRE2_SIZE* offsets, std::uint32_t pairs,
                                         int* ovector) {
  for (std::size_t pair = 0; pair < pairs; ++pair) copyPair(offsets, pair, ovector);
}

/// The same where there are few, as for most patterns, without a loop.
void copyFewPairs(const PCRE2_SIZE* offsets, std::uint32_t pairs, int* ovector) {
  if (pairs > 3) return copyPairs(offsets, pairs, ovector);
  copyPair(offsets, 0, ovector);
  if (pairs == 1) return;
  copyPair(offsets, 1, ovector);
  if (pairs == 3) copyPair(offsets, 2, ovector);
}

/// The offsets that fit the caller's vector, whose last third is not for them. As PCRE 8 has it,
/// what does not fit counts only when the last pair that does is set.
int report(int result, const Regex& regex, const PCRE2_SIZE* offsets, int* ovector, int ovecsize) {
  const int room = ovecsize / 3;
  copyPairs(offsets, std::min(static_cast<std::uint32_t>(room), regex.pairs), ovector);
  if (result <= room) return result;
  auto pairs = static_cast<std::size_t>(room);
  while (pairs > 0 && offsets[2 * (pairs - 1)] == PCRE2_UNSET) --pairs;
  return static_cast<int>(pairs) < room ? static_cast<int>(pairs) : 0;
}

std::string textOf(int error) {
  PCRE2_UCHAR text[256] = {};
  pcre2_get_error_message(error, text, sizeof text);
  return reinterpret_cast<const char*>(text);
}

/// What PCRE 8 takes and PCRE2 refuses unless it is asked.
std::uint32_t leniencies(bool takesUnknownEscapes) {
  std::uint32_t options = takesUnknownEscapes ? PCRE2_EXTRA_BAD_ESCAPE_IS_LITERAL : 0;
#ifdef PCRE2_EXTRA_ALLOW_LOOKAROUND_BSK
  options |= PCRE2_EXTRA_ALLOW_LOOKAROUND_BSK;
#endif
  return options;
}

/// Null, with the error, for a pattern that does not compile.
pcre2_code* compile(const std::string& pattern, int options, int& error, std::size_t& offset) {
  const bool takesUnknownEscapes = (options & vu_pcre::extra) == 0;
  const std::uint32_t newline = takeChoice(options, kNewline, kNewlines);
  const std::uint32_t backslashR = takeChoice(options, kBackslashR, kBackslashRs);
  const std::uint32_t flags = take(options, kCompileOptions);
  error = PCRE2_ERROR_BAD_OPTIONS;
  offset = 0;
  if (options != 0) return nullptr;

  const Memory from = memory();
  const CompileContext context(from != nullptr ? pcre2_compile_context_create(from.get())
                                               : nullptr);
  if (context == nullptr) throw std::bad_alloc();
  pcre2_set_compile_extra_options(context.get(), leniencies(takesUnknownEscapes));
  if (newline != 0) pcre2_set_newline(context.get(), newline);
  if (backslashR != 0) pcre2_set_bsr(context.get(), backslashR);
  return pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.data()), pattern.size(), flags, &error,
                       &offset, context.get());
}

/// Whether its just-in-time code may deny matches: see above.
bool needsGuard(const char* pattern) {
  const std::string release = engineName();
  const int minor = std::atoi(release.c_str() + release.find('.') + 1);
  return minor < 42 || (minor == 42 && std::strchr(pattern, '|') != nullptr);
}

/// The pattern as a group behind one that is repeated no times; null when that does not compile.
pcre2_code* compileGuarded(const char* pattern, int options) {
  int error = 0;
  std::size_t offset = 0;
  return compile(std::string("(?:){0}(?:") + pattern + ")", options, error, offset);
}

template <typename T>
T infoOf(const pcre2_code* code, std::uint32_t what) {
  T value{};
  pcre2_pattern_info(code, what, &value);
  return value;
}

/// Any search, by the interpreter alone when `study` is null.
__attribute__((noinline)) int search(const Regex& regex, const Study* study, const char* subject,
                                     int length, int startOffset, int options, int* ovector,
                                     int ovecsize) {
  int unknown = options;
  const std::uint32_t flags = options == 0 ? 0 : take(unknown, kSearchOptions);
  if (unknown != 0) return vu_pcre::badOption;
  if (subject == nullptr || (ovector == nullptr && ovecsize > 0)) return vu_pcre::nullSubject;
  if (ovecsize < 0) return vu_pcre::badCount;
  if (length < 0) return vu_pcre::badLength;
  if (startOffset < 0 || startOffset > length) return vu_pcre::badOffset;

  const bool byJit =
      study != nullptr && (options & ~kJitOptions) == 0 && stackRoom() >= study->jitFrame;
  const auto searchBy = [&](const Searcher& searcher) -> int {
    if (!searcher.isReady()) return vu_pcre::noMemory;
    const int result = searcher.search(regex, byJit ? study->jit : nullptr,
                                       {subject, static_cast<std::size_t>(length)},
                                       static_cast<std::size_t>(startOffset), flags);
    return result > 0 ? report(result, regex, searcher.offsets(), ovector, ovecsize)
                      : resultOf(result, options);
  };
  const Searcher* const own = PerThread<Searcher>::get();
  if (own != nullptr && own->isReady() && regex.pairs <= kPairs) return searchBy(*own);
  return searchBy(Searcher(regex.pairs));
}

}  // namespace

void EngineDelete::operator()(Regex* regex) const noexcept {
  pcre2_code_free(regex->code);
  delete regex;
}

void EngineDelete::operator()(Study* study) const noexcept {
  pcre2_code_free(study->guarded);
  delete study;
}

std::string engineName() {
  char release[64] = {};  // with its date behind it
  pcre2_config(PCRE2_CONFIG_VERSION, release);
  return "PCRE2 " + std::string(release, std::find(release, release + sizeof release, ' '));
}

RegexPtr compileRegex(const char* pattern, int options) {
  RegexPtr regex(new Regex{});
  int error = 0;
  std::size_t offset = 0;
  regex->code = compile(pattern, options, error, offset);
  if (regex->code == nullptr) {
    throw vu_exception(vu_failure::pattern,
                       "PCRE Compile Error [" + val2str(offset) + "] " + textOf(error));
  }
  regex->pairs = infoOf<std::uint32_t>(regex->code, PCRE2_INFO_CAPTURECOUNT) + 1;
  regex->isUtf = (infoOf<std::uint32_t>(regex->code, PCRE2_INFO_ALLOPTIONS) & PCRE2_UTF) != 0;
  return regex;
}

StudyPtr studyRegex(const Regex& regex, const char* pattern, int options) {
  StudyPtr study(new Study{});
  stackRoom();
  PerThread<Searcher>::get();
  if (!jitAgrees(pattern, options)) return study;
  pcre2_code* const code =
      needsGuard(pattern) ? study->guarded = compileGuarded(pattern, options) : regex.code;
  if (code == nullptr || pcre2_jit_compile(code, PCRE2_JIT_COMPLETE) != 0) return study;
  study->jit = code;
  study->jitFrame = jitFrame(infoOf<std::size_t>(study->jit, PCRE2_INFO_SIZE));
  if (!regex.isUtf && regex.pairs <= kPairs) study->directVector = 3L * regex.pairs;
  return study;
}

int searchRegex(const Regex& regex, const Study& study, const char* subject, int length,
                int startOffset, int options, int* ovector, int ovecsize) {
  const Searcher* const own = PerThread<Searcher>::get();
  if (ovecsize >= study.directVector && options == 0 && own != nullptr && own->isReadyForJit() &&
      subject != nullptr && ovector != nullptr && startOffset >= 0 && startOffset <= length &&
      stackRoom() >= study.jitFrame) {
    const int result = own->enterJit(study.jit, {subject, static_cast<std::size_t>(length)},
                                     static_cast<std::size_t>(startOffset), 0);
    if (result > 0) copyFewPairs(own->offsets(), regex.pairs, ovector);
    if (result >= PCRE2_ERROR_NOMATCH) return result;
    return search(regex, nullptr, subject, length, startOffset, options, ovector, ovecsize);
  }
  return search(regex, &study, subject, length, startOffset, options, ovector, ovecsize);
}

}  // namespace vu::detail
