// Which patterns an engine's just-in-time code may search for.

#ifndef VU_PATTERN_JIT_AGREEMENT_H_
#define VU_PATTERN_JIT_AGREEMENT_H_

namespace vu::detail {

/// Whether a NUL-terminated pattern that compiles has only what just-in-time code treats as the
/// interpreter does. False is always safe.
bool jitAgrees(const char* pattern, int compileOptions) noexcept;

}  // namespace vu::detail

#endif  // VU_PATTERN_JIT_AGREEMENT_H_
