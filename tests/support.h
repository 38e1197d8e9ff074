// What the tests share.

#ifndef VU_TESTS_SUPPORT_H_
#define VU_TESTS_SUPPORT_H_

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "vu/foundation.h"

namespace vu::test {

/// The text of the vu_exception that `action` throws, or "" when it throws nothing.
template <typename Action>
std::string messageOf(Action action) {
  try {
    action();
  } catch (const vu_exception& failure) {
    return failure.what();
  }
  return "";
}

/// The kind of that exception, which must come.
template <typename Action>
vu_failure kindOf(Action action) {
  try {
    action();
  } catch (const vu_exception& failure) {
    return failure.kind();
  }
  throw std::runtime_error("nothing was thrown");
}

/// By how much less is done under a sanitizer, where it takes longer.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kLess = 5;
#else
constexpr int kLess = 1;
#endif

inline std::string repeated(std::string_view text, int times) {
  std::string all;
  while (times-- > 0) all += text;
  return all;
}

using Byte = unsigned char;

inline const Byte* bytes(std::string_view text) {
  return reinterpret_cast<const Byte*>(text.data());
}

/// What a C string leaves of a text, such as what `what` gives of a message.
inline std::string upToNul(const std::string& text) { return text.substr(0, text.find('\0')); }

/// A file with the given content; gone with the object, but not with a child process's copy of it.
class TemporaryFile {
 public:
  explicit TemporaryFile(std::string_view content = "") {
    const int file = mkstemp(path_.data());
    if (file < 0) throw std::runtime_error("no temporary file");
    close(file);
    rewrite(content);
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (getpid() == owner_) unlink(path_.c_str());
  }

  /// Never empty in between: some file systems wait for the disk then.
  void rewrite(std::string_view content) const {
    const int file = open(path_.c_str(), O_WRONLY | O_CLOEXEC);
    const auto size = static_cast<off_t>(content.size());
    const bool good = pwrite(file, content.data(), content.size(), 0) == size;
    if (ftruncate(file, size) + close(file) != 0 || !good) throw std::runtime_error(path_);
  }
  const char* path() const { return path_.c_str(); }

 private:
  std::string path_ = "/tmp/vu-test-XXXXXX";
  pid_t owner_ = getpid();
};

inline std::string contentOf(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

/// A copy of a text on the heap without a byte to spare, so that the address sanitizer sees every
/// read outside of it.
class ExactCopy {
 public:
  explicit ExactCopy(std::string_view text) : bytes_(new char[text.size()]), size_(text.size()) {
    if (!text.empty()) std::memcpy(bytes_.get(), text.data(), text.size());
  }
  std::string_view view() const { return {bytes_.get(), size_}; }

 private:
  std::unique_ptr<char[]> bytes_;
  std::size_t size_;
};

}  // namespace vu::test

#endif  // VU_TESTS_SUPPORT_H_
