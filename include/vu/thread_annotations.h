// What Clang's thread-safety analysis (-Wthread-safety) is told; nothing to other compilers.

#ifndef VU_THREAD_ANNOTATIONS_H_
#define VU_THREAD_ANNOTATIONS_H_

/// One attribute of the analysis, to put behind a declaration.
#ifdef __clang__
#define VU_ANNOTATE(attribute) __attribute__((attribute))
#else
#define VU_ANNOTATE(attribute)
#endif

/// On data: it is read under `lock` held for reading or writing, and written under `lock` held for
/// writing.
#define VU_GUARDED_BY(lock) VU_ANNOTATE(guarded_by(lock))
/// On a function: the caller holds `lock` for writing.
#define VU_REQUIRES(lock) VU_ANNOTATE(requires_capability(lock))
/// On a function: the caller holds `lock` for reading or writing.
#define VU_REQUIRES_SHARED(lock) VU_ANNOTATE(requires_shared_capability(lock))

#endif  // VU_THREAD_ANNOTATIONS_H_
