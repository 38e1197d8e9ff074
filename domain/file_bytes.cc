#include "domain/file_bytes.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <tuple>

#include "domain/bytes.h"
#include "domain/table_format.h"
#include "vu/foundation.h"

namespace vu::detail {
namespace {

[[noreturn]] void refuse(const char* path, int error) {
  throw vu_exception(vu_failure::file, std::string("Top level domain definition file [") + path +
                                           "] open error : " + std::strerror(error));
}

class Descriptor {
 public:
  explicit Descriptor(const char* path) {
    if (path == nullptr) refuse("NULL", EFAULT);
    number_ = open(path, O_RDONLY | O_CLOEXEC);
    if (number_ < 0) refuse(path, errno);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { close(number_); }
  int number() const { return number_; }

 private:
  int number_ = -1;
};

constexpr std::size_t kFirstRoom = std::size_t{1} << 22;  // a list of 200,000 rules
constexpr std::size_t kEndlessToken = 1 << 16;  // far more than any form of a table allows

/// Whether bytes of text end in a token that no table could hold, of a file full of zeroes say.
bool isEndless(std::string_view bytes) {
  return bytes.size() > kEndlessToken && bytes.substr(0, kTableMagic.size()) != kTableMagic &&
         std::none_of(bytes.end() - kEndlessToken, bytes.end(), isSpace);
}

/// Reads to the end of the file, or of what can count; 0, or what went wrong.
int readAll(int file, std::size_t expected, std::string& bytes) {
  constexpr std::size_t kLeast = 4096;
  std::size_t filled = 0;
  // The byte more meets the end at once.
  bytes.resize(std::clamp(expected + 1, kLeast, kFirstRoom));
  ssize_t count = 0;
  bool endless = false;
  do {
    if (filled == bytes.size()) {
      endless = isEndless(bytes);
      if (endless) break;
      bytes.resize(2 * bytes.size());
    }
    count = read(file, &bytes[filled], bytes.size() - filled);
    if (count > 0) filled += static_cast<std::size_t>(count);
  } while (count > 0 || (count < 0 && errno == EINTR));
  bytes.resize(filled);
  if (endless) return EFBIG;
  return count < 0 ? errno : 0;
}

bool isSameMoment(const timespec& a, const timespec& b) {
  return std::tie(a.tv_sec, a.tv_nsec) == std::tie(b.tv_sec, b.tv_nsec);
}

}  // namespace

FileBytes readFileBytes(const char* path) {
  const Descriptor file(path);
  struct stat before {};
  struct stat after {};
  FileBytes all;
  const bool isFile = fstat(file.number(), &before) == 0 && S_ISREG(before.st_mode);
  all.error =
      readAll(file.number(), isFile ? static_cast<std::size_t>(before.st_size) : 0, all.bytes);
  // Files in memory of the kernel's own making have no size before they are read.
  all.changed = isFile && all.error == 0 && before.st_size != 0 &&
                fstat(file.number(), &after) == 0 &&
                (before.st_size != after.st_size ||
                 static_cast<std::size_t>(after.st_size) != all.bytes.size() ||
                 !isSameMoment(before.st_mtim, after.st_mtim) ||
                 !isSameMoment(before.st_ctim, after.st_ctim));
  return all;
}

MappedFile mapFileThatBegins(const char* path, std::string_view magic) {
  struct stat status {};
  // A pipe is opened once only.
  if (path == nullptr || stat(path, &status) != 0 || !S_ISREG(status.st_mode)) return {};
  const Descriptor file(path);
  char start[16] = {};
  if (fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size <= 0 ||
      pread(file.number(), start, magic.size(), 0) != static_cast<ssize_t>(magic.size()) ||
      std::string_view(start, magic.size()) != magic) {
    return {};
  }
  const auto size = static_cast<std::size_t>(status.st_size);
  void* const bytes = mmap(nullptr, size, PROT_READ, MAP_SHARED, file.number(), 0);
  if (bytes == MAP_FAILED) throw std::bad_alloc();
  const auto unmap = [size](const char* mapped) { munmap(const_cast<char*>(mapped), size); };
  return {std::shared_ptr<const char>(static_cast<const char*>(bytes), unmap), size};
}

}  // namespace vu::detail
