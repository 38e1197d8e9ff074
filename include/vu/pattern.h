// Matching text: a compiled regular expression with the offsets of its last match.
//
//   vu_pcre pair("(\\w+)=(\\w*)", 3, -1);               // the whole match and two groups
//   const char* text = "colour=blue";
//   if (pair.execute(text, 11, 0, 0) > 0) {
//     std::string name = pair.getResultStr(1, text);    // "colour"
//     int length = 0;
//     const char* value = pair.getResult(2, text, length);  // "blue", 4 bytes inside `text`
//   }
//
// Threads:  `execute` and the readers of its result belong to one thread at a time. `match` is
//           const and keeps nothing: any number of threads may call it on one object at once.
// Errors:   vu_exception with the texts given below. No match, and what PCRE itself reports, are
//           results.
// Lifetime: nothing is copied: results point into the caller's subject. An object owns its compiled
//           pattern and is not copied.
// Limits:   a hostile pattern or subject ends in a negative PCRE code, not in a crash: see `match`.

#ifndef VU_PATTERN_H_
#define VU_PATTERN_H_

#include <memory>
#include <string>

#include "vu/export.h"
#include "vu/foundation.h"

struct real_pcre;
struct pcre_extra;

namespace vu::detail {

struct PcreDelete {
  void operator()(real_pcre* pattern) const noexcept;
  void operator()(pcre_extra* study) const noexcept;
};

}  // namespace vu::detail

/// A compiled PCRE pattern (bytes, not characters) with the offsets of its last match.
class VU_EXPORT vu_pcre {
 public:
  /// Compiles and studies `pattern`, a NUL-terminated text that is not copied.
  /// `pairs`: how many pairs of offsets a match may report, the whole match included. With 0 every
  /// match throws; a negative or absurd number is the allocation's own exception.
  /// `options`: PCRE's compile options; a negative value means PCRE_DOTALL.
  ///
  /// Throws vu_exception (no object exists then, and nothing is held):
  ///   "vu_pcre: Empty Regular Expression"                              for a null pattern;
  ///   "PCRE Compile Error [" + offset + "] " + PCRE's own text         when it does not compile;
  ///   "PCRE Compile Study Error " + PCRE's own text                    when it cannot be studied.
  vu_pcre(const char* pattern, int pairs, int options);
  vu_pcre(const vu_pcre&) = delete;
  vu_pcre& operator=(const vu_pcre&) = delete;
  virtual ~vu_pcre();

  /// Searches `length` bytes at `subject`, from byte `startOffset` on, and keeps the offsets of the
  /// match for the readers below. `options` are PCRE's run-time options.
  /// The result is what PCRE returns: the number of the highest group that took part plus one, -1
  /// when nothing matches, or another negative PCRE code. After those the offsets mean nothing.
  ///
  /// Throws vu_exception "PCRE Output vector too small" when the match has more groups than the
  /// object has pairs for; it stays usable, with the pairs that fitted.
  virtual int execute(const char* subject, int length, int startOffset, int options);

  /// The bytes that pair `index` of the last match covers: pair 0 is the whole match, pair i group
  /// i. Null, with `length` as it was, when it is empty or took no part.
  ///
  /// Throws vu_exception "vu_pcre::getResult : Index out of range : 1 - " + pair count.
  const char* getResult(int index, const char* subject, int& length) const;

  /// The same as a string of its own.
  ///
  /// Throws as `getResult`, and "vu_pcre::getResult : Empty result for index " + index where that
  /// returns null.
  std::string getResultStr(int index, const char* subject) const;

  /// PCRE's vector of offsets from the last `execute`: start and end of pair i at 2i and 2i + 1, -1
  /// for a group that took no part, 0 before the first call. The last third is working space.
  int* results() { return ovector_.get(); }
  const int* results() const { return ovector_.get(); }

  /// One past the end of the last match: where a scan goes on. Needs at least one pair.
  int getContextOffset() const { return ovector_[1]; }

  /// The search of `execute` without any state: offsets go to `ovector`, the caller's vector of
  /// `ovecsize` entries, three a pair. The result is PCRE's own, also 0 when the vector is too
  /// small.
  ///
  /// Results are those of PCRE's interpreter. PCRE's just-in-time code runs first where the machine
  /// has it, and whatever it gives up is done again by the interpreter. That one may take a million
  /// matching steps at each starting position and 16 more for each byte, ten million at the most
  /// (-8, PCRE_ERROR_MATCHLIMIT, beyond), and half of what is left of its thread's stack, 4 MiB at the
  /// most (-21, PCRE_ERROR_RECURSIONLIMIT, beyond).
  int match(const char* subject, int length, int startOffset, int options, int* ovector,
            int ovecsize) const;

 private:
  std::unique_ptr<real_pcre, vu::detail::PcreDelete> regex_;
  std::unique_ptr<pcre_extra, vu::detail::PcreDelete> extra_;
  const char* pattern_;
  int ovecsize_;
  std::unique_ptr<int[]> ovector_;
  int patternPairs_ = 0;  // what the whole match and every group take
};

#endif  // VU_PATTERN_H_
