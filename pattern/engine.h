// What the library asks of a regular-expression engine. The build compiles one of pcre8.cc and
// pcre2.cc; what stands above it is the same with either, and so is what a caller sees: options,
// results and the layout of the vector are those of PCRE 8.

#ifndef VU_PATTERN_ENGINE_H_
#define VU_PATTERN_ENGINE_H_

#include <cstddef>
#include <memory>

#include "vu/pattern.h"

namespace vu::detail {

using RegexPtr = std::unique_ptr<Regex, EngineDelete>;
using StudyPtr = std::unique_ptr<Study, EngineDelete>;

/// Name and release, "PCRE 8.39".
std::string engineName();

/// Bytes of stack that it takes to compile a pattern without groups.
extern const std::size_t kCompileStack;

/// Throws vu_exception "PCRE Compile Error [" + offset + "] " + the engine's text.
RegexPtr compileRegex(const char* pattern, int options);

/// What searches for a compiled pattern go by; never null. Gets ready what the calling thread needs
/// for its searches. Throws vu_exception "PCRE Compile Study Error " + the engine's text.
StudyPtr studyRegex(const Regex& regex, const char* pattern, int options);

/// A search, by any number of threads at once: fast where the result is sure to be that of the
/// engine's interpreter, by that one elsewhere. The result is what pcre_exec returns.
int searchRegex(const Regex& regex, const Study& study, const char* subject, int length,
                int startOffset, int options, int* ovector, int ovecsize);

}  // namespace vu::detail

#endif  // VU_PATTERN_ENGINE_H_
