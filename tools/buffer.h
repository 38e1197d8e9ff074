// Bytes that grow at their end: what blocks of lines are read into, and rows written to.

#ifndef VU_TOOLS_BUFFER_H_
#define VU_TOOLS_BUFFER_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <string_view>

namespace vu::tool {

/// Copies `text` to `at` and returns where it ends.
inline char* put(char* at, std::string_view text) { return at + text.copy(at, text.size()); }

/// Like a string, but new bytes are not filled before they are written, and an emptied buffer keeps
/// its memory: a read or a row costs one copy and nothing else.
class Buffer {
 public:
  std::string_view text() const { return {bytes_.get(), size_}; }
  std::size_t size() const { return size_; }

  /// Room for `count` bytes behind the end, to be written by the caller; `setEnd` takes them in.
  /// The count has 64 bits everywhere, so that what is asked for can be a sum of lengths.
  char* room(std::uint64_t count) {
    if (capacity_ - size_ < count) grow(count);
    return bytes_.get() + size_;
  }
  void setEnd(const char* end) { size_ = static_cast<std::size_t>(end - bytes_.get()); }

  void operator+=(std::string_view text) { setEnd(put(room(text.size()), text)); }
  void operator+=(char c) {
    *room(1) = c;
    ++size_;
  }
  void append(std::size_t count, char c) {
    std::fill_n(room(count), count, c);
    size_ += count;
  }

  /// Keeps the first `size` bytes.
  void truncate(std::size_t size) { size_ = size; }

  /// Empties it. What a line of unusual length has needed is given back.
  void clear() {
    size_ = 0;
    if (capacity_ > kKept) *this = Buffer();
  }

 private:
  static constexpr std::size_t kKept = std::size_t{8} << 20;

  void grow(std::uint64_t count) {
    constexpr std::size_t most = std::numeric_limits<std::ptrdiff_t>::max();
    if (count > most - size_) throw std::bad_alloc();
    const std::size_t needed = size_ + static_cast<std::size_t>(count);
    const std::size_t capacity = std::max(needed, std::min(capacity_, most / 2) * 2);
    std::unique_ptr<char[]> bytes(new char[capacity]);
    put(bytes.get(), text());
    bytes_ = std::move(bytes);
    capacity_ = capacity;
  }

  std::unique_ptr<char[]> bytes_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace vu::tool

#endif  // VU_TOOLS_BUFFER_H_
