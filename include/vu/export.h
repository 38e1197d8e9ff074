// What libvu.so offers to others.

#ifndef VU_EXPORT_H_
#define VU_EXPORT_H_

/// Marks what libvu.so offers; everything else stays hidden inside it.
#define VU_EXPORT [[gnu::visibility("default")]]

#endif  // VU_EXPORT_H_
