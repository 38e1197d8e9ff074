// VU_EXPORT marks what libvu.so offers; everything else stays hidden inside it.

#ifndef VU_EXPORT_H_
#define VU_EXPORT_H_

#define VU_EXPORT __attribute__((visibility("default")))

#endif  // VU_EXPORT_H_
