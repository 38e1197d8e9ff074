// A whole file in memory, with what happened to it on the way.

#ifndef VU_DOMAIN_FILE_BYTES_H_
#define VU_DOMAIN_FILE_BYTES_H_

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace vu::detail {

struct FileBytes {
  std::string bytes;     ///< All of it, or what stands in front of an error.
  int error = 0;         ///< What went wrong while it was read, as errno; 0 when nothing did.
  bool changed = false;  ///< Whether it had another size or time afterwards; false for a pipe.
};

/// Throws vu_exception when the file cannot be opened: "Top level domain definition file [" + path
/// + "] open error : " + the system's text, a null path being written "NULL"; and std::bad_alloc.
FileBytes readFileBytes(const char* path);

/// A file that is mapped read-only.
struct MappedFile {
  std::shared_ptr<const char> bytes;  ///< Null when there is none.
  std::size_t size = 0;
};

/// Maps the file at `path` if it is an ordinary one that begins with `magic`. Throws as above.
MappedFile mapFileThatBegins(const char* path, std::string_view magic);

}  // namespace vu::detail

#endif  // VU_DOMAIN_FILE_BYTES_H_
