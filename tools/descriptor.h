// A file descriptor and what goes wrong with it.

#ifndef VU_TOOLS_DESCRIPTOR_H_
#define VU_TOOLS_DESCRIPTOR_H_

#include <string>

namespace vu::tool {

/// A file descriptor, closed with the object unless it is standard input.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor();

  int number() const { return number_; }

  /// Closes it now; false with errno set when that fails, which may be the first to be heard of a
  /// write that has failed.
  bool close();

 private:
  int number_;
};

/// Throws Refusal with the system's text for errno behind `what`.
[[noreturn]] void refuse(const std::string& what);

/// After a read or write has failed: whether it is to be tried again, because a signal came or,
/// with a file that somebody has set not to block, because it was not ready. Waits until it is.
bool shouldTryAgain(int file, short event);

}  // namespace vu::tool

#endif  // VU_TOOLS_DESCRIPTOR_H_
