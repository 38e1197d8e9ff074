// Reading: whole lines in blocks, or whole files.

#ifndef VU_TOOLS_INPUT_H_
#define VU_TOOLS_INPUT_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "tools/buffer.h"
#include "tools/descriptor.h"

namespace vu::tool {

/// What ends an entry of an input: "\n" or "\r\n", or a NUL, as "find -print0" writes it.
enum class EntryEnd : char { line = '\n', null = '\0' };

/// Longer entries are skipped, so that memory has a bound.
constexpr std::size_t kLongestEntry = std::size_t{64} << 20;

/// Reads a file in blocks of whole lines, as many as can be had without waiting, up to an
/// eighth of a megabyte: rows and lines of one block then fit into a core's own cache.
class LineBlocks {
 public:
  /// `path` names the file in messages and is opened by the constructor; "-" is standard input.
  explicit LineBlocks(const std::string& path, EntryEnd end = EntryEnd::line);

  /// Puts the next block in place of `block`, each line with its line end; the last one may lack
  /// it. False at the end of the file. A line of more than `kLongestEntry` bytes is a block by
  /// itself, an empty one, and `skipped` tells its length. Throws Refusal.
  bool next(Buffer& block);

  /// The length of the line that the last block stands for in its stead; 0 for any other block.
  std::uint64_t skipped() const { return skipped_; }

  /// Whether the last block was cut at its full size, so that more is likely to be there already.
  bool wasFull() const { return wasFull_; }

 private:
  bool readMore(Buffer& block);
  void skipEntry(Buffer& block);
  bool moreIsThere() const;

  std::string path_;
  Descriptor file_;
  char end_;
  Buffer rest_;
  std::uint64_t skipped_ = 0;
  bool atEnd_ = false;
  bool wasFull_ = false;
};

/// Cuts the first line off `block` and returns it without its line end, "\n" or "\r\n", which the
/// last line may lack. Of entries that a NUL ends, all other bytes are part.
inline std::string_view takeLine(std::string_view& block, EntryEnd end = EntryEnd::line) {
  const std::size_t lineEnd = block.find(static_cast<char>(end));
  std::string_view line = block.substr(0, lineEnd);
  block.remove_prefix(lineEnd == std::string_view::npos ? block.size() : lineEnd + 1);
  if (end == EntryEnd::line && !line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

/// Blanks around a URL are taken for part of it, which is seldom meant.
inline bool hasBlankAround(std::string_view url) {
  const auto isBlank = [](char c) { return c == ' ' || c == '\t'; };
  return !url.empty() && (isBlank(url.front()) || isBlank(url.back()));
}

/// Throws Refusal when `path` names a file that cannot be opened or is a directory.
void checkReadable(const std::string& path);

/// What a path is called in messages.
std::string displayName(const std::string& path);

/// The whole of a file, which may have 2 GiB less a byte; "-" is standard input. Throws Refusal.
std::string readFile(const std::string& path);

/// The first line of a file without its line end; what follows is not waited for. Throws Refusal.
std::string readFirstLine(const std::string& path);

/// Whether two paths lead to one pipe, terminal or the like, of which only one can have the bytes.
bool isSameStream(const std::string& path, const std::string& other);

}  // namespace vu::tool

#endif  // VU_TOOLS_INPUT_H_
